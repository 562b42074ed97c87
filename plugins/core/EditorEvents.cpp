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
    if (event->kind == EditorEvent::Kind::TextBox) {
        Queue({kTextBoxEvent, 0, 0.0f});
        return true;
    }
    const bool isInput = std::any_of(parameters.begin(), parameters.end(),
                                     [&](const auto& p) { return p.id == event->id && !p.output; });
    if (!isInput) {
        return false;
    }
    Queue({event->kind == EditorEvent::Kind::BeginGesture
               ? kAudioUnitEvent_BeginParameterChangeGesture
               : kAudioUnitEvent_EndParameterChangeGesture,
           event->id, 0.0f});
    return true;
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
