// PluginCore's side of the editor link: editor events in, auto-listen display out.

#include "plugins/core/EditorLink.h"
#include "plugins/core/PluginCore.h"
#include "units/ZkmorvaAU.h"

#include <algorithm>

namespace zkplug {

bool PluginCore::HandleEditorEvent(std::string_view message) {
    const std::optional<EditorEvent> event = ParseEditorEvent(message);
    if (!unit || !event) {
        return false;
    }
    if (event->kind == EditorEvent::Kind::kTextBox) {
        const UInt8 on = 1;
        return unit->SetProperty(CZkmorvaAU::kTextBoxCurrentControlProperty, kAudioUnitScope_Global,
                                 0, &on, sizeof on) == noErr;
    }
    const bool isInput = std::any_of(parameters.begin(), parameters.end(),
                                     [&](const auto& p) { return p.id == event->id && !p.output; });
    if (!isInput) {
        return false;
    }
    AudioUnitEvent gesture;
    gesture.mEventType = event->kind == EditorEvent::Kind::kBeginGesture
                             ? kAudioUnitEvent_BeginParameterChangeGesture
                             : kAudioUnitEvent_EndParameterChangeGesture;
    gesture.mArgument.mParameter = {unit.get(), event->id, kAudioUnitScope_Global, 0};
    return AUEventListenerNotify(nullptr, nullptr, &gesture) == noErr;
}

float PluginCore::AutoListenDisplayValue() const {
    CZkmorvaAU::AutoListenDisplay display{};
    if (!unit || unit->GetProperty(CZkmorvaAU::kAutoListenDisplayProperty, kAudioUnitScope_Global,
                                   0, &display) != noErr) {
        return EncodeAutoListen({});
    }
    return EncodeAutoListen({display.on != 0, display.parameterId});
}

} // namespace zkplug
