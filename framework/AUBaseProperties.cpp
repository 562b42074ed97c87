// AUBase properties: sizes and writability, reads and writes of the properties the
// framework answers itself, and property-change events.

#include "framework/AUBase.h"
#include "framework/EventPosting.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace {
bool IsIOScope(AudioUnitScope s) {
    return s == kAudioUnitScope_Input || s == kAudioUnitScope_Output;
}

// The number of a property 38 request without a matching value string: optional
// spaces, optional '+', a decimal number (locale-independent), optional spaces.
bool ParseFloatStrict(std::string_view s, float& out) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) {
        s.remove_prefix(1);
    }
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) {
        s.remove_suffix(1);
    }
    if (!s.empty() && s.front() == '+') {
        s.remove_prefix(1);
    }
    if (s.empty()) {
        return false;
    }
    double v = 0.0;
    const auto res = std::from_chars(s.data(), s.data() + s.size(), v);
    if (res.ec != std::errc() || res.ptr != s.data() + s.size() || !std::isfinite(v)) {
        return false;
    }
    out = static_cast<float>(v);
    return std::isfinite(out);
}
} // namespace

OSStatus AUBase::GetPropertyInfo(AudioUnitPropertyID id, AudioUnitScope scope,
                                 AudioUnitElement element, UInt32& outDataSize,
                                 Boolean& outWritable) {
    CreateElements();
    outWritable = false;
    if (scope > kAudioUnitScope_Output) {
        return kAudioUnitErr_InvalidScope;
    }
    switch (id) {
    case kAudioUnitProperty_SampleRate:
    case kAudioUnitProperty_StreamFormat:
        if (!IsIOScope(scope)) {
            return kAudioUnitErr_InvalidScope;
        }
        if (!GetScope(scope).GetElement(element)) {
            return kAudioUnitErr_InvalidElement;
        }
        outDataSize = id == kAudioUnitProperty_SampleRate ? sizeof(Float64)
                                                          : sizeof(AudioStreamBasicDescription);
        outWritable = true;
        return noErr;
    case kAudioUnitProperty_ParameterList: {
        AUElement* el = GetScope(scope).GetElement(0);
        outDataSize = el ? el->GetNumberOfParameters() * sizeof(AudioUnitParameterID) : 0;
        return noErr;
    }
    case kAudioUnitProperty_ParameterInfo: {
        AudioUnitParameterInfo info;
        if (OSStatus r = GetParameterInfo(scope, element, info)) {
            return r;
        }
        outDataSize = sizeof(AudioUnitParameterInfo);
        return noErr;
    }
    case kAudioUnitProperty_ParameterValueStrings:
        if (OSStatus r = GetParameterValueStrings(scope, element, nullptr)) {
            return r;
        }
        outDataSize = sizeof(std::vector<std::string>);
        return noErr;
    case kAudioUnitProperty_ElementCount:
        outDataSize = sizeof(UInt32);
        return noErr;
    case kAudioUnitProperty_Latency:
    case kAudioUnitProperty_TailTime:
    case kAudioUnitProperty_MaximumFramesPerSlice:
    case kAudioUnitProperty_SupportedNumChannels:
    case kAudioUnitProperty_GetUIComponentList:
    case kAudioUnitProperty_InPlaceProcessing:
    case kAudioUnitProperty_ParameterStringFromValue:
    case kAudioUnitProperty_ParameterValueFromString:
        if (scope != kAudioUnitScope_Global) {
            return kAudioUnitErr_InvalidScope;
        }
        break;
    default:
        return kAudioUnitErr_InvalidProperty;
    }
    switch (id) {
    case kAudioUnitProperty_Latency:
        outDataSize = sizeof(Float64);
        return noErr;
    case kAudioUnitProperty_TailTime:
        if (!SupportsTail()) {
            return kAudioUnitErr_InvalidProperty;
        }
        outDataSize = sizeof(Float64);
        return noErr;
    case kAudioUnitProperty_MaximumFramesPerSlice:
        outDataSize = sizeof(UInt32);
        outWritable = true;
        return noErr;
    case kAudioUnitProperty_SupportedNumChannels: {
        const UInt32 n = SupportedNumChannels(nullptr);
        if (n == 0) {
            return kAudioUnitErr_InvalidProperty;
        }
        outDataSize = n * sizeof(AUChannelInfo);
        return noErr;
    }
    case kAudioUnitProperty_GetUIComponentList: {
        const int n = GetNumCustomUIComponents();
        if (n <= 0) {
            return kAudioUnitErr_InvalidProperty;
        }
        outDataSize = static_cast<UInt32>(n) * sizeof(AudioComponentDescription);
        return noErr;
    }
    case kAudioUnitProperty_InPlaceProcessing:
        outDataSize = sizeof(UInt32);
        return noErr;
    case kAudioUnitProperty_ParameterStringFromValue:
        outDataSize = sizeof(AudioUnitParameterStringFromValue);
        return noErr;
    case kAudioUnitProperty_ParameterValueFromString:
        outDataSize = sizeof(AudioUnitParameterValueFromString);
        return noErr;
    default:
        return kAudioUnitErr_InvalidProperty;
    }
}

OSStatus AUBase::GetProperty(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                             void* outData) {
    UInt32 size = 0;
    Boolean writable = false;
    if (OSStatus r = GetPropertyInfo(id, scope, element, size, writable)) {
        return r;
    }
    if (!outData) {
        return kAudio_ParamError;
    }
    switch (id) {
    case kAudioUnitProperty_SampleRate: {
        const Float64 sr = GetScope(scope).GetIOElement(element)->GetSampleRate();
        std::memcpy(outData, &sr, sizeof sr);
        return noErr;
    }
    case kAudioUnitProperty_StreamFormat: {
        const AudioStreamBasicDescription f =
            GetScope(scope).GetIOElement(element)->GetStreamFormat();
        std::memcpy(outData, &f, sizeof f);
        return noErr;
    }
    case kAudioUnitProperty_ParameterList: {
        AUElement* el = GetScope(scope).GetElement(0);
        const UInt32 n = el ? el->GetNumberOfParameters() : 0;
        for (UInt32 i = 0; i < n; ++i) {
            std::memcpy(static_cast<char*>(outData) + i * sizeof(UInt32), &i, sizeof i);
        }
        return noErr;
    }
    case kAudioUnitProperty_ParameterInfo:
        return GetParameterInfo(scope, element, *static_cast<AudioUnitParameterInfo*>(outData));
    case kAudioUnitProperty_ParameterValueStrings:
        return GetParameterValueStrings(scope, element,
                                        static_cast<std::vector<std::string>*>(outData));
    case kAudioUnitProperty_ElementCount: {
        const UInt32 n = GetScope(scope).GetNumberOfElements();
        std::memcpy(outData, &n, sizeof n);
        return noErr;
    }
    case kAudioUnitProperty_Latency:
    case kAudioUnitProperty_TailTime: {
        const Float64 t = id == kAudioUnitProperty_Latency ? GetLatency() : GetTailTime();
        std::memcpy(outData, &t, sizeof t);
        return noErr;
    }
    case kAudioUnitProperty_MaximumFramesPerSlice:
        std::memcpy(outData, &mMaxFramesPerSlice, sizeof(UInt32));
        return noErr;
    case kAudioUnitProperty_SupportedNumChannels: {
        const AUChannelInfo* info = nullptr;
        const UInt32 n = SupportedNumChannels(&info);
        std::memcpy(outData, info, n * sizeof(AUChannelInfo));
        return noErr;
    }
    case kAudioUnitProperty_GetUIComponentList:
        GetUIComponentDescs(static_cast<AudioComponentDescription*>(outData));
        return noErr;
    case kAudioUnitProperty_InPlaceProcessing: {
        const UInt32 v = ProcessesInPlace() ? 1 : 0;
        std::memcpy(outData, &v, sizeof v);
        return noErr;
    }
    case kAudioUnitProperty_ParameterStringFromValue: {
        // Default: no special text (null outString); units override for their texts.
        auto* req = static_cast<AudioUnitParameterStringFromValue*>(outData);
        req->outString = nullptr;
        if (!Globals()->HasParameter(req->inParamID)) {
            return kAudioUnitErr_InvalidParameter;
        }
        return noErr;
    }
    case kAudioUnitProperty_ParameterValueFromString: {
        auto* req = static_cast<AudioUnitParameterValueFromString*>(outData);
        if (!Globals()->HasParameter(req->inParamID)) {
            return kAudioUnitErr_InvalidParameter;
        }
        if (!req->inString) {
            return kAudioUnitErr_InvalidPropertyValue;
        }
        std::vector<std::string> strings;
        if (GetParameterValueStrings(kAudioUnitScope_Global, req->inParamID, &strings) == noErr) {
            for (std::size_t i = 0; i < strings.size(); ++i) {
                if (strings[i] == req->inString) {
                    req->outValue = static_cast<float>(i);
                    return noErr;
                }
            }
        }
        float v = 0.0f;
        if (!ParseFloatStrict(req->inString, v)) {
            return kAudioUnitErr_InvalidPropertyValue;
        }
        req->outValue = v;
        return noErr;
    }
    default:
        return kAudioUnitErr_InvalidProperty;
    }
}

OSStatus AUBase::SetProperty(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                             const void* inData, UInt32 inDataSize) {
    UInt32 size = 0;
    Boolean writable = false;
    if (OSStatus r = GetPropertyInfo(id, scope, element, size, writable)) {
        return r;
    }
    if (!writable) {
        return kAudioUnitErr_PropertyNotWritable;
    }
    if (!inData || inDataSize < size) {
        return kAudio_ParamError;
    }
    switch (id) {
    case kAudioUnitProperty_SampleRate: {
        Float64 sr = 0.0;
        std::memcpy(&sr, inData, sizeof sr);
        AudioStreamBasicDescription f = GetScope(scope).GetIOElement(element)->GetStreamFormat();
        f.mSampleRate = sr;
        return SetStreamFormat(scope, element, f);
    }
    case kAudioUnitProperty_StreamFormat: {
        AudioStreamBasicDescription f;
        std::memcpy(&f, inData, sizeof f);
        return SetStreamFormat(scope, element, f);
    }
    case kAudioUnitProperty_MaximumFramesPerSlice: {
        UInt32 n = 0;
        std::memcpy(&n, inData, sizeof n);
        return SetMaxFramesPerSlice(n);
    }
    default:
        return kAudioUnitErr_InvalidProperty;
    }
}

void AUBase::PropertyChanged(AudioUnitPropertyID id, AudioUnitScope scope,
                             AudioUnitElement element) {
    AudioUnitEvent e;
    e.mEventType = kAudioUnitEvent_PropertyChange;
    e.mArgument.mProperty = AudioUnitProperty{this, id, scope, element};
    zkfw::PostEvent(nullptr, nullptr, e, 0.0f);
}
