#include "framework/AUBase.h"

#include "framework/AUEvents.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

std::string FourCCToString(FourCharCode code) {
    std::string s(4, '?');
    for (int i = 0; i < 4; ++i) {
        const char c = static_cast<char>((code >> (24 - 8 * i)) & 0xff);
        if (c >= 0x20 && c < 0x7f) {
            s[i] = c;
        }
    }
    return s;
}

AudioStreamBasicDescription MakeCanonicalFormat(Float64 sampleRate, UInt32 channels) {
    AudioStreamBasicDescription f;
    f.mSampleRate = sampleRate;
    f.mChannelsPerFrame = channels;
    return f;
}

// ---------------------------------------------------------------------------
void AUElement::UseIndexedParameters(UInt32 count) {
    mParameters = std::make_unique<std::atomic<float>[]>(count);
    for (UInt32 i = 0; i < count; ++i) {
        mParameters[i].store(0.0f, std::memory_order_relaxed);
    }
    mParameterCount = count;
}

void AUBufferList::Allocate(UInt32 channels) {
    mBuffers.assign(channels, AudioBuffer{});
    mList.mNumberBuffers = 0;
    mList.mBuffers = mBuffers.data();
}

// ---------------------------------------------------------------------------
AUBase::AUBase(AudioComponentInstance instance, UInt32 numInputs, UInt32 numOutputs)
    : ComponentBase(instance), mNumInputs(numInputs), mNumOutputs(numOutputs) {
    mGlobal.mScope = kAudioUnitScope_Global;
    mInputs.mScope = kAudioUnitScope_Input;
    mOutputs.mScope = kAudioUnitScope_Output;
}

AUBase::~AUBase() = default;

void AUBase::CreateElements() {
    if (mElementsCreated) {
        return;
    }
    mElementsCreated = true;
    mGlobal.mElements.push_back(std::make_unique<AUElement>());
    for (UInt32 i = 0; i < mNumInputs; ++i) {
        mInputs.mElements.push_back(std::make_unique<AUIOElement>());
    }
    for (UInt32 i = 0; i < mNumOutputs; ++i) {
        mOutputs.mElements.push_back(std::make_unique<AUIOElement>());
    }
}

AUScope& AUBase::GetScope(AudioUnitScope scope) {
    switch (scope) {
    case kAudioUnitScope_Input:
        return mInputs;
    case kAudioUnitScope_Output:
        return mOutputs;
    default:
        return mGlobal;
    }
}

AUElement* AUBase::GetElement(AudioUnitScope scope, AudioUnitElement element) {
    if (scope > kAudioUnitScope_Output) {
        return nullptr;
    }
    return GetScope(scope).GetElement(element);
}

OSStatus AUBase::CheckScopeElement(AudioUnitScope scope, AudioUnitElement element) const {
    if (scope > kAudioUnitScope_Output) {
        return kAudioUnitErr_InvalidScope;
    }
    const AUScope& s = scope == kAudioUnitScope_Global  ? mGlobal
                       : scope == kAudioUnitScope_Input ? mInputs
                                                        : mOutputs;
    return s.GetElement(element) ? noErr : kAudioUnitErr_InvalidElement;
}

// ---------------------------------------------------------------------------
OSStatus AUBase::DoInitialize() {
    if (IsInitialized()) {
        return noErr;
    }
    CreateElements();
    UInt32 inCh = 0;
    UInt32 outCh = 0;
    if (AUIOElement* in = Input()) {
        inCh = in->NumberChannels();
    }
    if (AUIOElement* out = Output()) {
        outCh = out->NumberChannels();
    }
    mInList.Allocate(inCh);
    mOutList.Allocate(outCh);
    const OSStatus result = Initialize();
    if (result == noErr) {
        mInitialized.store(true, std::memory_order_release);
    }
    return result;
}

void AUBase::DoCleanup() {
    if (IsInitialized()) {
        Cleanup();
        mInitialized.store(false, std::memory_order_release);
    }
}

OSStatus AUBase::DoReset(AudioUnitScope scope, AudioUnitElement element) {
    return Reset(scope, element);
}

OSStatus AUBase::Reset(AudioUnitScope, AudioUnitElement) {
    return noErr;
}

void AUBase::PreDestructor() {
    DoCleanup();
}

// ---------------------------------------------------------------------------
Float64 AUBase::GetSampleRate() {
    CreateElements();
    if (AUIOElement* out = Output()) {
        return out->GetSampleRate();
    }
    if (AUIOElement* in = Input()) {
        return in->GetSampleRate();
    }
    return 44100.0;
}

OSStatus AUBase::SetStreamFormat(AudioUnitScope scope, AudioUnitElement element,
                                 const AudioStreamBasicDescription& format) {
    CreateElements();
    if (scope != kAudioUnitScope_Input && scope != kAudioUnitScope_Output) {
        return kAudioUnitErr_InvalidScope;
    }
    AUIOElement* el = GetScope(scope).GetIOElement(element);
    if (!el) {
        return kAudioUnitErr_InvalidElement;
    }
    if (IsInitialized()) {
        return kAudioUnitErr_Initialized;
    }
    const bool isFloat32 = format.mFormatID == kAudioFormatLinearPCM &&
                           (format.mFormatFlags & kAudioFormatFlagIsFloat) &&
                           (format.mFormatFlags & kAudioFormatFlagIsNonInterleaved) &&
                           format.mBitsPerChannel == 32;
    if (!isFloat32 || format.mChannelsPerFrame == 0 || format.mChannelsPerFrame > kMaxChannels ||
        !(format.mSampleRate > 0.0) || !std::isfinite(format.mSampleRate)) {
        return kAudioUnitErr_FormatNotSupported;
    }
    el->SetStreamFormat(format);
    return noErr;
}

OSStatus AUBase::SetSampleRateAndChannels(Float64 sampleRate, UInt32 inChannels,
                                          UInt32 outChannels) {
    CreateElements();
    if (IsInitialized()) {
        return kAudioUnitErr_Initialized;
    }
    if (Input()) {
        if (OSStatus r = SetStreamFormat(kAudioUnitScope_Input, 0,
                                         MakeCanonicalFormat(sampleRate, inChannels))) {
            return r;
        }
    }
    if (Output()) {
        return SetStreamFormat(kAudioUnitScope_Output, 0,
                               MakeCanonicalFormat(sampleRate, outChannels));
    }
    return noErr;
}

OSStatus AUBase::SetMaxFramesPerSlice(UInt32 frames) {
    if (IsInitialized()) {
        return kAudioUnitErr_Initialized;
    }
    if (frames == 0) {
        return kAudioUnitErr_InvalidPropertyValue;
    }
    mMaxFramesPerSlice = frames;
    return noErr;
}

UInt32 AUBase::SupportedNumChannels(const AUChannelInfo** outInfo) {
    if (outInfo) {
        *outInfo = nullptr;
    }
    return 0;
}

// ---------------------------------------------------------------------------
OSStatus AUBase::GetParameter(AudioUnitParameterID id, AudioUnitScope scope,
                              AudioUnitElement element, AudioUnitParameterValue& outValue) {
    if (OSStatus r = CheckScopeElement(scope, element)) {
        return r;
    }
    AUElement* el = GetElement(scope, element);
    if (!el->HasParameter(id)) {
        return kAudioUnitErr_InvalidParameter;
    }
    outValue = el->GetParameter(id);
    return noErr;
}

OSStatus AUBase::SetParameter(AudioUnitParameterID id, AudioUnitScope scope,
                              AudioUnitElement element, AudioUnitParameterValue value, UInt32) {
    if (OSStatus r = CheckScopeElement(scope, element)) {
        return r;
    }
    return GetElement(scope, element)->SetParameter(id, value);
}

bool AUBase::PeekParameter(AudioUnitScope scope, AudioUnitElement element, AudioUnitParameterID id,
                           AudioUnitParameterValue& out) const {
    if (CheckScopeElement(scope, element) != noErr) {
        return false;
    }
    const AUScope& s = scope == kAudioUnitScope_Global  ? mGlobal
                       : scope == kAudioUnitScope_Input ? mInputs
                                                        : mOutputs;
    const AUElement* el = s.GetElement(element);
    if (!el->HasParameter(id)) {
        return false;
    }
    out = el->GetParameter(id);
    return true;
}

OSStatus AUBase::GetParameterInfo(AudioUnitScope, AudioUnitParameterID, AudioUnitParameterInfo&) {
    return kAudioUnitErr_InvalidParameter;
}

OSStatus AUBase::GetParameterValueStrings(AudioUnitScope, AudioUnitParameterID,
                                          std::vector<std::string>*) {
    return kAudioUnitErr_InvalidProperty;
}

void AUBase::FillInParameterName(AudioUnitParameterInfo& info, std::string_view name,
                                 bool release) {
    info.cfNameString.assign(name);
    const std::size_t n = std::min(name.size(), sizeof(info.name) - 1);
    std::memcpy(info.name, name.data(), n);
    info.name[n] = '\0';
    info.flags |= kAudioUnitParameterFlag_HasCFNameString;
    if (release) {
        info.flags |= kAudioUnitParameterFlag_CFNameRelease;
    }
}

// ---------------------------------------------------------------------------
// Properties

namespace {
bool IsIOScope(AudioUnitScope s) {
    return s == kAudioUnitScope_Input || s == kAudioUnitScope_Output;
}

// Parses a number the way the default property 38 does: optional spaces, optional
// '+', a decimal number (locale-independent), optional trailing spaces.
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

// ---------------------------------------------------------------------------
// Render

OSStatus AUBase::Render(AudioUnitRenderActionFlags& ioActionFlags, UInt32 frames,
                        std::span<const float* const> inputs, std::span<float* const> outputs) {
    if (!IsInitialized()) {
        return kAudioUnitErr_Uninitialized;
    }
    if (frames > mMaxFramesPerSlice) {
        return kAudioUnitErr_TooManyFramesToProcess;
    }
    if (frames == 0) {
        return noErr;
    }
    if (inputs.size() != mInList.Capacity() || outputs.size() != mOutList.Capacity()) {
        return kAudio_ParamError;
    }
    for (const float* p : inputs) {
        if (!p) {
            return kAudio_ParamError;
        }
    }
    for (float* p : outputs) {
        if (!p) {
            return kAudio_ParamError;
        }
    }
    const AudioBufferList& in =
        mInList.Prepare(inputs.data(), static_cast<UInt32>(inputs.size()), frames);
    AudioBufferList& out =
        mOutList.Prepare(outputs.data(), static_cast<UInt32>(outputs.size()), frames);
    return RenderBufferLists(ioActionFlags, in, out, frames);
}

OSStatus AUBase::RenderBufferLists(AudioUnitRenderActionFlags&, const AudioBufferList&,
                                   AudioBufferList& out, UInt32 frames) {
    for (UInt32 c = 0; c < out.mNumberBuffers; ++c) {
        std::memset(out.mBuffers[c].mData, 0, frames * sizeof(float));
    }
    return noErr;
}

// ---------------------------------------------------------------------------
// AUEffectBase

AUEffectBase::AUEffectBase(AudioComponentInstance instance, bool inProcessesInPlace)
    : AUBase(instance, 1, 1), mProcessesInPlace(inProcessesInPlace) {}

OSStatus AUEffectBase::Initialize() {
    CreateElements();
    const UInt32 inCh = Input()->NumberChannels();
    const UInt32 outCh = Output()->NumberChannels();
    const AUChannelInfo* info = nullptr;
    const UInt32 n = SupportedNumChannels(&info);
    if (n == 0 || !info) {
        return inCh == outCh ? noErr : kAudioUnitErr_FormatNotSupported;
    }
    for (UInt32 i = 0; i < n; ++i) {
        const int ci = info[i].inChannels;
        const int co = info[i].outChannels;
        const bool inOk = ci < 0 ? true : static_cast<UInt32>(ci) == inCh;
        bool outOk = co < 0 ? true : static_cast<UInt32>(co) == outCh;
        if (ci == -1 && co == -1) {
            outOk = inCh == outCh; // "as many outputs as inputs"
        }
        if (inOk && outOk) {
            return noErr;
        }
    }
    return kAudioUnitErr_FormatNotSupported;
}

UInt32 AUEffectBase::GetNumberOfChannels() {
    CreateElements();
    return Output()->NumberChannels();
}

OSStatus AUEffectBase::ProcessBufferLists(AudioUnitRenderActionFlags& flags,
                                          const AudioBufferList& in, AudioBufferList& out,
                                          UInt32 frames) {
    return AUEffectBase::ProcessBypass(flags, in, out, frames);
}

OSStatus AUEffectBase::ProcessBypass(AudioUnitRenderActionFlags&, const AudioBufferList& in,
                                     AudioBufferList& out, UInt32 frames) {
    for (UInt32 c = 0; c < out.mNumberBuffers; ++c) {
        float* dst = static_cast<float*>(out.mBuffers[c].mData);
        if (c < in.mNumberBuffers) {
            const float* src = static_cast<const float*>(in.mBuffers[c].mData);
            if (src != dst) {
                std::memmove(dst, src, frames * sizeof(float));
            }
        } else {
            std::memset(dst, 0, frames * sizeof(float));
        }
    }
    return noErr;
}

OSStatus AUEffectBase::RenderBufferLists(AudioUnitRenderActionFlags& flags,
                                         const AudioBufferList& in, AudioBufferList& out,
                                         UInt32 frames) {
    if (IsBypassEffect()) {
        return ProcessBypass(flags, in, out, frames);
    }
    return ProcessBufferLists(flags, in, out, frames);
}

OSStatus AUEffectBase::GetPropertyInfo(AudioUnitPropertyID id, AudioUnitScope scope,
                                       AudioUnitElement element, UInt32& outDataSize,
                                       Boolean& outWritable) {
    if (id == kAudioUnitProperty_BypassEffect) {
        if (scope != kAudioUnitScope_Global) {
            return kAudioUnitErr_InvalidScope;
        }
        outDataSize = sizeof(UInt32);
        outWritable = true;
        return noErr;
    }
    return AUBase::GetPropertyInfo(id, scope, element, outDataSize, outWritable);
}

OSStatus AUEffectBase::GetProperty(AudioUnitPropertyID id, AudioUnitScope scope,
                                   AudioUnitElement element, void* outData) {
    if (id == kAudioUnitProperty_BypassEffect) {
        if (scope != kAudioUnitScope_Global) {
            return kAudioUnitErr_InvalidScope;
        }
        if (!outData) {
            return kAudio_ParamError;
        }
        const UInt32 v = IsBypassEffect() ? 1 : 0;
        std::memcpy(outData, &v, sizeof v);
        return noErr;
    }
    return AUBase::GetProperty(id, scope, element, outData);
}

OSStatus AUEffectBase::SetProperty(AudioUnitPropertyID id, AudioUnitScope scope,
                                   AudioUnitElement element, const void* inData,
                                   UInt32 inDataSize) {
    if (id == kAudioUnitProperty_BypassEffect) {
        if (scope != kAudioUnitScope_Global) {
            return kAudioUnitErr_InvalidScope;
        }
        if (!inData || inDataSize < sizeof(UInt32)) {
            return kAudio_ParamError;
        }
        UInt32 v = 0;
        std::memcpy(&v, inData, sizeof v);
        const bool on = v != 0;
        if (on != IsBypassEffect()) {
            SetBypassEffect(on);
            PropertyChanged(kAudioUnitProperty_BypassEffect, kAudioUnitScope_Global, 0);
        }
        return noErr;
    }
    return AUBase::SetProperty(id, scope, element, inData, inDataSize);
}

// ---------------------------------------------------------------------------
// Host-side free functions

OSStatus AudioUnitInitialize(AudioUnit unit) {
    return unit ? unit->DoInitialize() : kAudio_ParamError;
}

OSStatus AudioUnitUninitialize(AudioUnit unit) {
    if (!unit) {
        return kAudio_ParamError;
    }
    unit->DoCleanup();
    return noErr;
}

OSStatus AudioUnitReset(AudioUnit unit, AudioUnitScope scope, AudioUnitElement element) {
    return unit ? unit->DoReset(scope, element) : kAudio_ParamError;
}

OSStatus AudioUnitGetParameter(AudioUnit unit, AudioUnitParameterID id, AudioUnitScope scope,
                               AudioUnitElement element, AudioUnitParameterValue* outValue) {
    if (!unit || !outValue) {
        return kAudio_ParamError;
    }
    return unit->GetParameter(id, scope, element, *outValue);
}

OSStatus AudioUnitSetParameter(AudioUnit unit, AudioUnitParameterID id, AudioUnitScope scope,
                               AudioUnitElement element, AudioUnitParameterValue value,
                               UInt32 bufferOffsetInFrames) {
    if (!unit) {
        return kAudio_ParamError;
    }
    return unit->SetParameter(id, scope, element, value, bufferOffsetInFrames);
}

OSStatus AudioUnitGetPropertyInfo(AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                                  AudioUnitElement element, UInt32* outDataSize,
                                  Boolean* outWritable) {
    if (!unit) {
        return kAudio_ParamError;
    }
    UInt32 size = 0;
    Boolean writable = false;
    const OSStatus r = unit->GetPropertyInfo(id, scope, element, size, writable);
    if (r == noErr) {
        if (outDataSize) {
            *outDataSize = size;
        }
        if (outWritable) {
            *outWritable = writable;
        }
    }
    return r;
}

OSStatus AudioUnitGetProperty(AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                              AudioUnitElement element, void* outData, UInt32* ioDataSize) {
    if (!unit || !outData || !ioDataSize) {
        return kAudio_ParamError;
    }
    UInt32 size = 0;
    Boolean writable = false;
    if (OSStatus r = unit->GetPropertyInfo(id, scope, element, size, writable)) {
        return r;
    }
    if (*ioDataSize < size) {
        return kAudio_ParamError;
    }
    const OSStatus r = unit->GetProperty(id, scope, element, outData);
    if (r == noErr) {
        *ioDataSize = size;
    }
    return r;
}

OSStatus AudioUnitSetProperty(AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                              AudioUnitElement element, const void* inData, UInt32 inDataSize) {
    if (!unit) {
        return kAudio_ParamError;
    }
    UInt32 size = 0;
    Boolean writable = false;
    if (OSStatus r = unit->GetPropertyInfo(id, scope, element, size, writable)) {
        return r;
    }
    if (!writable) {
        return kAudioUnitErr_PropertyNotWritable;
    }
    return unit->SetProperty(id, scope, element, inData, inDataSize);
}
