// AUBase: construction, elements and scopes, life cycle, stream formats and sizes.
// Parameters, properties and render live in AUBaseParameters.cpp,
// AUBaseProperties.cpp and AUBaseRender.cpp; the saved state in SavedState.cpp.

#include "framework/AUBase.h"

#include <cmath>
#include <utility>

AUBase::AUBase(AudioComponentInstance instance, UInt32 numInputs, UInt32 numOutputs)
    : ComponentBase(instance), mNumInputs(numInputs), mNumOutputs(numOutputs) {
    mGlobal.mScope = kAudioUnitScope_Global;
    mInputs.mScope = kAudioUnitScope_Input;
    mOutputs.mScope = kAudioUnitScope_Output;
}

AUBase::~AUBase() = default;

// ---------------------------------------------------------------------------
// Elements and scopes

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

const AUScope& AUBase::GetScope(AudioUnitScope scope) const {
    switch (scope) {
    case kAudioUnitScope_Input:
        return mInputs;
    case kAudioUnitScope_Output:
        return mOutputs;
    default:
        return mGlobal;
    }
}

AUScope& AUBase::GetScope(AudioUnitScope scope) {
    return const_cast<AUScope&>(std::as_const(*this).GetScope(scope));
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
    return GetScope(scope).GetElement(element) ? noErr : kAudioUnitErr_InvalidElement;
}

// ---------------------------------------------------------------------------
// Life cycle

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
    // Render only points these lists at the host's channels: allocate them here.
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
// Stream formats and sizes

Float64 AUBase::GetSampleRate() {
    CreateElements();
    if (AUIOElement* out = Output()) {
        return out->GetSampleRate();
    }
    if (AUIOElement* in = Input()) {
        return in->GetSampleRate();
    }
    return AudioStreamBasicDescription::kDefaultSampleRate;
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
    // Render hands the unit one 32-bit float buffer per channel: nothing else is taken.
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
