#include "plugins/ui/RemoteUnit.h"

#include "plugins/ui/RemoteSpectrum.h"

#include "units/ParameterTable.h"
#include "units/ValueTexts.h"
#include "units/ZkmorvaAU.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

namespace zkplug {

namespace {

constexpr std::uint32_t kNoIndex = 0xFFFFFFFFu;

// Both units name their indexed parameter, the auto-listen mode, by this symbol.
constexpr const char* kAutoListenModeSymbol = "AutoListenMode";

constexpr AudioUnitEventType kEditorEventTypes[] = {kAudioUnitEvent_ParameterValueChange,
                                                    kAudioUnitEvent_BeginParameterChangeGesture,
                                                    kAudioUnitEvent_EndParameterChangeGesture};

} // namespace

RemoteUnit::RemoteUnit(const UnitDescriptor& d, RemoteHost& h)
    : AUBase(nullptr, 1, 1), descriptor(d), host(h), loop(CFRunLoop::CreatePumped()),
      spectrum(std::make_unique<RemoteSpectrum>(h)) {
    CreateElements();
    AudioUnitParameterID maxId = 0;
    for (const zk::ParameterDef& p : d.parameters) {
        maxId = std::max(maxId, p.id);
    }
    Globals()->UseIndexedParameters(d.parameters.empty() ? 0 : maxId + 1);
    indexOf.assign(maxId + 1, kNoIndex);
    gestures.assign(maxId + 1, 0);
    output.reserve(d.parameters.size());
    for (std::size_t i = 0; i < d.parameters.size(); ++i) {
        const zk::ParameterDef& p = d.parameters[i];
        indexOf[p.id] = static_cast<std::uint32_t>(i);
        output.push_back(zk::IsMeter(p) || (d.isMeter != nullptr && d.isMeter(p.id)));
        Globals()->SetParameter(p.id, p.defaultValue);
    }
    SetHostSampleRate(44100.0);

    if (AUEventListenerCreate(&RemoteUnit::Forward, this, loop.get(), kCFRunLoopDefaultMode, 0.f,
                              0.f, &listener) != noErr) {
        listener = nullptr;
        return;
    }
    AudioUnitEvent event;
    for (std::size_t i = 0; i < d.parameters.size(); ++i) {
        if (output[i]) {
            continue;
        }
        for (AudioUnitEventType type : kEditorEventTypes) {
            event.mEventType = type;
            event.mArgument.mParameter = {this, d.parameters[i].id, kAudioUnitScope_Global, 0};
            AUEventListenerAddEventType(listener, nullptr, &event);
        }
    }
}

RemoteUnit::~RemoteUnit() {
    if (listener != nullptr) {
        AUListenerDispose(listener);
    }
}

std::optional<std::uint32_t> RemoteUnit::IndexOf(AudioUnitParameterID id) const {
    if (id >= indexOf.size() || indexOf[id] == kNoIndex) {
        return std::nullopt;
    }
    return indexOf[id];
}

const zk::ParameterDef* RemoteUnit::Input(AudioUnitParameterID id) const {
    const auto index = IndexOf(id);
    return index && !output[*index] ? &descriptor.parameters[*index] : nullptr;
}

void RemoteUnit::HostStateChanged(const char* key, const char* value) {
    if (spectrum->StateChanged(key, value)) {
        PropertyChanged(zk::kSpectrumSettingsProperty, kAudioUnitScope_Global, 0);
    }
}

bool RemoteUnit::IsInGesture(AudioUnitParameterID id) const {
    return id < gestures.size() && gestures[id] > 0;
}

void RemoteUnit::HostParameterChanged(std::uint32_t index, float value) {
    if (index == AutoListenIndex(descriptor)) {
        const AutoListenState state = DecodeAutoListen(value);
        if (state.on != autoListen.on || state.parameterId != autoListen.parameterId) {
            autoListen = state;
            PropertyChanged(CZkmorvaAU::kAutoListenDisplayProperty, kAudioUnitScope_Global, 0);
        }
        return;
    }
    if (index >= descriptor.parameters.size() || !std::isfinite(value)) {
        return; // the bypass, or nothing of ours
    }
    const AudioUnitParameterID id = descriptor.parameters[index].id;
    AudioUnitParameterValue stored = 0.f;
    PeekParameter(kAudioUnitScope_Global, 0, id, stored);
    if (IsInGesture(id) || stored == value) {
        return;
    }
    Globals()->SetParameter(id, value);
    // Posted as our own listener, so it is not sent back to the host.
    AudioUnitEvent event;
    event.mEventType = kAudioUnitEvent_ParameterValueChange;
    event.mArgument.mParameter = {this, id, kAudioUnitScope_Global, 0};
    AUEventListenerNotify(listener, nullptr, &event);
}

void RemoteUnit::SetHostSampleRate(double sampleRate) {
    if (std::isfinite(sampleRate) && sampleRate > 0.0) {
        SetSampleRateAndChannels(sampleRate, descriptor.channels, descriptor.channels);
    }
}

void RemoteUnit::Pump() {
    loop->Pump();
}

void RemoteUnit::Forward(void* refCon, void*, const AudioUnitEvent* event, UInt64,
                         AudioUnitParameterValue value) {
    if (refCon != nullptr && event != nullptr) {
        static_cast<RemoteUnit*>(refCon)->OnEditorEvent(*event, value);
    }
}

void RemoteUnit::OnEditorEvent(const AudioUnitEvent& event, AudioUnitParameterValue value) {
    const AudioUnitParameterID id = event.mArgument.mParameter.mParameterID;
    const auto index = IndexOf(id);
    if (!index || Input(id) == nullptr) {
        return;
    }
    switch (event.mEventType) {
    case kAudioUnitEvent_ParameterValueChange:
        host.SetParameterValue(*index, value);
        break;
    case kAudioUnitEvent_BeginParameterChangeGesture:
        ++gestures[id];
        host.EditParameter(*index, true);
        host.SendEditorEvent(FormatEditorEvent({EditorEvent::Kind::BeginGesture, id}));
        break;
    case kAudioUnitEvent_EndParameterChangeGesture:
        gestures[id] = std::max(0, gestures[id] - 1);
        host.EditParameter(*index, false);
        host.SendEditorEvent(FormatEditorEvent({EditorEvent::Kind::EndGesture, id}));
        break;
    default:
        break;
    }
}

OSStatus RemoteUnit::SetParameter(AudioUnitParameterID id, AudioUnitScope scope,
                                  AudioUnitElement element, AudioUnitParameterValue value,
                                  UInt32 bufferOffsetInFrames) {
    // Meters are the DSP's to write.
    if (scope == kAudioUnitScope_Global && Input(id) == nullptr) {
        return kAudioUnitErr_InvalidParameter;
    }
    return AUBase::SetParameter(id, scope, element, value, bufferOffsetInFrames);
}

OSStatus RemoteUnit::GetParameterInfo(AudioUnitScope scope, AudioUnitParameterID id,
                                      AudioUnitParameterInfo& outInfo) {
    const zk::ParameterDef* p = zk::FindParameter(descriptor.parameters, id);
    if (scope != kAudioUnitScope_Global || p == nullptr) {
        return kAudioUnitErr_InvalidParameter;
    }
    zk::FillParameterInfo(*p, outInfo);
    return noErr;
}

OSStatus RemoteUnit::GetParameterValueStrings(AudioUnitScope scope, AudioUnitParameterID id,
                                              std::vector<std::string>* outStrings) {
    const zk::ParameterDef* mode = zk::FindParameter(descriptor.parameters, kAutoListenModeSymbol);
    if (scope != kAudioUnitScope_Global || mode == nullptr || mode->id != id) {
        return kAudioUnitErr_InvalidParameter;
    }
    if (outStrings != nullptr) {
        outStrings->assign(std::begin(zk::kAutoListenModeNames),
                           std::end(zk::kAutoListenModeNames));
    }
    return noErr;
}

OSStatus RemoteUnit::GetPropertyInfo(AudioUnitPropertyID id, AudioUnitScope scope,
                                     AudioUnitElement element, UInt32& outDataSize,
                                     Boolean& outWritable) {
    if (scope == kAudioUnitScope_Global) {
        switch (id) {
        case kAudioUnitProperty_ParameterStringFromValue:
            outDataSize = sizeof(AudioUnitParameterStringFromValue);
            outWritable = false;
            return noErr;
        case CZkmorvaAU::kTextBoxCurrentControlProperty:
            outDataSize = 1;
            outWritable = true;
            return noErr;
        case CZkmorvaAU::kAutoListenDisplayProperty:
            outDataSize = sizeof(CZkmorvaAU::AutoListenDisplay);
            outWritable = false;
            return noErr;
        default:
            if (auto handled = spectrum->GetInfo(id, outDataSize, outWritable)) {
                return *handled;
            }
            break;
        }
    }
    return AUBase::GetPropertyInfo(id, scope, element, outDataSize, outWritable);
}

OSStatus RemoteUnit::GetProperty(AudioUnitPropertyID id, AudioUnitScope scope,
                                 AudioUnitElement element, void* outData) {
    if (scope == kAudioUnitScope_Global && outData != nullptr) {
        switch (id) {
        case CZkmorvaAU::kTextBoxCurrentControlProperty:
            *static_cast<UInt8*>(outData) = textBox ? 1 : 0;
            return noErr;
        case CZkmorvaAU::kAutoListenDisplayProperty: {
            const CZkmorvaAU::AutoListenDisplay d{autoListen.on ? 1u : 0u, autoListen.parameterId};
            std::memcpy(outData, &d, sizeof d);
            return noErr;
        }
        case kAudioUnitProperty_ParameterStringFromValue: {
            auto* request = static_cast<AudioUnitParameterStringFromValue*>(outData);
            request->outString = nullptr;
            const AudioUnitParameterID pid = request->inParamID;
            if (!zk::HasValueTexts(descriptor.valueTexts, pid)) {
                return kAudioUnitErr_InvalidParameter;
            }
            AudioUnitParameterValue value = 0.f;
            if (request->inValue != nullptr) {
                value = *request->inValue;
            } else {
                PeekParameter(kAudioUnitScope_Global, 0, pid, value);
            }
            request->outString = zk::FindValueText(descriptor.valueTexts, pid, value);
            return noErr;
        }
        default:
            if (auto handled = spectrum->Get(id, outData)) {
                return *handled;
            }
            break;
        }
    }
    return AUBase::GetProperty(id, scope, element, outData);
}

OSStatus RemoteUnit::SetProperty(AudioUnitPropertyID id, AudioUnitScope scope,
                                 AudioUnitElement element, const void* inData, UInt32 inDataSize) {
    if (id == CZkmorvaAU::kTextBoxCurrentControlProperty && scope == kAudioUnitScope_Global) {
        // As the unit: any call with data sets the flag.
        if (inData != nullptr) {
            textBox = true;
            host.SendEditorEvent(FormatEditorEvent({EditorEvent::Kind::TextBox, 0}));
        }
        return noErr;
    }
    if (scope == kAudioUnitScope_Global) {
        if (auto handled = spectrum->Set(id, inData, inDataSize)) {
            return *handled;
        }
    }
    return AUBase::SetProperty(id, scope, element, inData, inDataSize);
}

} // namespace zkplug
