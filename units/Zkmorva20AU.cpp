#include "units/Zkmorva20AU.h"

#include "units/Zkmorva20Links.h"

#include <cstring>

namespace {

using namespace zk;

// Below this host rate the unit reports the oversampled path's four samples of
// latency. Oversampling itself runs up to 64000 Hz, so at 50000..64000 Hz the unit
// runs oversampled and reports none, as it always has: hosts' sessions at those
// rates keep the alignment they were made with.
constexpr double kLatencyBelowHz = 50000.0;

constexpr AUChannelInfo kStereoOnly[] = {{2, 2}};

} // namespace

CZkmorva20AU::CZkmorva20AU(AudioComponentInstance instance) : CZkmorvaAU(instance) {
    CreateElements();
    Globals()->UseIndexedParameters(kZ20ParameterCount);
    for (const ParameterDef& p : kZkmorva20Parameters) {
        // Parameter 12 is left at the store's 0.0: that is its default anyway.
        if (IsZkmorva20Meter(p.id) || p.id == kZ20Output2Gain) {
            continue;
        }
        AUBase::SetParameter(p.id, kAudioUnitScope_Global, 0, p.defaultValue, 0);
    }
}

CZkmorva20AU::~CZkmorva20AU() {
    RemoveParameterListener();
}

OSStatus CZkmorva20AU::Initialize() {
    const OSStatus result = AUEffectBase::Initialize();
    UpdateSampleRate(GetSampleRate());
    AllocateWorkBuffers(static_cast<long>(GetMaxFramesPerSlice()));
    if (result != noErr) {
        return result;
    }
    PrepareParameterEvents(kZ20LastDispatched);
    Reset(kAudioUnitScope_Global, 0);
    return result;
}

OSStatus CZkmorva20AU::Reset(AudioUnitScope scope, AudioUnitElement element) {
    InitBuffers();
    UpdateAllParameters();
    return AUBase::Reset(scope, element);
}

UInt32 CZkmorva20AU::SupportedNumChannels(const AUChannelInfo** outInfo) {
    if (outInfo != nullptr) {
        *outInfo = kStereoOnly;
    }
    return 1;
}

Float64 CZkmorva20AU::GetLatency() {
    const double rate = GetSampleRate();
    return rate < kLatencyBelowHz ? kOversamplingLatency / rate : 0.0;
}

void CZkmorva20AU::GetUIComponentDescs(AudioComponentDescription* outDescs) {
    if (outDescs != nullptr) {
        *outDescs = {MakeFourCC("auvw"), MakeFourCC("zkm2"), kManufacturer, 0, 0};
    }
}

// ---------------------------------------------------------------- parameters

// Any read first lets the correlation meter form a result when half a second of
// audio has been gathered.
OSStatus CZkmorva20AU::GetParameter(AudioUnitParameterID id, AudioUnitScope scope,
                                    AudioUnitElement element, AudioUnitParameterValue& outValue) {
    CalcCorrelation();
    if (IsZkmorva20Meter(id)) {
        outValue = static_cast<float>(GetMeterParameter(static_cast<long>(id)));
        return noErr;
    }
    return AUEffectBase::GetParameter(id, scope, element, outValue);
}

void CZkmorva20AU::GetParameters(std::span<const AudioUnitParameterID> ids,
                                 std::span<float> values) {
    CalcCorrelation();
    const zk20::CZkmorva20MeterReadings meters = ReadMeters();
    for (std::size_t i = 0; i < ids.size() && i < values.size(); ++i) {
        if (IsZkmorva20Meter(ids[i])) {
            values[i] = static_cast<float>(zk20::MeterParameterValue(ids[i], meters));
        } else {
            AudioUnitParameterValue v = 0.0f;
            AUEffectBase::GetParameter(ids[i], kAudioUnitScope_Global, 0, v);
            values[i] = v;
        }
    }
}

// ---------------------------------------------------------------- properties

OSStatus CZkmorva20AU::GetPropertyInfo(AudioUnitPropertyID id, AudioUnitScope scope,
                                       AudioUnitElement element, UInt32& outDataSize,
                                       Boolean& outWritable) {
    if (id == kAudioUnitProperty_DependentParameters && scope == kAudioUnitScope_Global) {
        outDataSize = z20links::Dependents(element).count * sizeof(AUDependentParameter);
        outWritable = false;
        return noErr;
    }
    return CZkmorvaAU::GetPropertyInfo(id, scope, element, outDataSize, outWritable);
}

OSStatus CZkmorva20AU::GetProperty(AudioUnitPropertyID id, AudioUnitScope scope,
                                   AudioUnitElement element, void* outData) {
    if (id == kAudioUnitProperty_DependentParameters && scope == kAudioUnitScope_Global &&
        outData != nullptr) {
        const z20links::DependentList& list = z20links::Dependents(element);
        auto* out = static_cast<AUDependentParameter*>(outData);
        for (std::size_t i = 0; i < list.count; ++i) {
            out[i] = {kAudioUnitScope_Global, list.ids[i]};
        }
        return noErr;
    }
    return CZkmorvaAU::GetProperty(id, scope, element, outData);
}

// ---------------------------------------------------------------- events and render

void CZkmorva20AU::DrawAutoListen(bool on, long parameterId) {
    SetAutoListenDisplay(on, parameterId);
}

void CZkmorva20AU::HandleGesture(AudioUnitEventType type, AudioUnitParameterID id) {
    switch (type) {
    case kAudioUnitEvent_BeginParameterChangeGesture:
        BeginAutoListen(static_cast<long>(id));
        break;
    case kAudioUnitEvent_EndParameterChangeGesture:
        EndAutoListen(static_cast<long>(id));
        break;
    default:
        break;
    }
}

OSStatus CZkmorva20AU::ProcessBufferLists(AudioUnitRenderActionFlags& /*ioActionFlags*/,
                                          const AudioBufferList& inBuffers,
                                          AudioBufferList& outBuffers, UInt32 frames) {
    ApplyPendingCommands();
    if (inBuffers.mNumberBuffers < 2 || outBuffers.mNumberBuffers < 2) {
        return noErr;
    }
    bypass = IsBypassEffect();
    float* in[2] = {static_cast<float*>(inBuffers.mBuffers[0].mData),
                    static_cast<float*>(inBuffers.mBuffers[1].mData)};
    float* out[2] = {static_cast<float*>(outBuffers.mBuffers[0].mData),
                     static_cast<float*>(outBuffers.mBuffers[1].mData)};
    ProcessFloats(in, out, static_cast<long>(frames));
    return noErr;
}

// Host bypass runs the processor's own latency-matched dry path.
OSStatus CZkmorva20AU::ProcessBypass(AudioUnitRenderActionFlags& ioActionFlags,
                                     const AudioBufferList& inBuffers, AudioBufferList& outBuffers,
                                     UInt32 frames) {
    return ProcessBufferLists(ioActionFlags, inBuffers, outBuffers, frames);
}

AudioUnitPtr OpenZkmorva20() {
    return CZkmorva20AUEntry::Open(kZkmorva20Description);
}
