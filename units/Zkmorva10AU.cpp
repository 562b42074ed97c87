#include "units/Zkmorva10AU.h"

#include "units/Decibels.h"

#include <algorithm>

using namespace zk;

CZkmorva10AU::CZkmorva10AU(AudioComponentInstance instance) : CZkmorvaAU(instance) {
    CreateElements();
    Globals()->UseIndexedParameters(kZ10ParameterCount);
    for (const ParameterDef& p : kZkmorva10Parameters) {
        if (!IsMeter(p)) {
            AUBase::SetParameter(p.id, kAudioUnitScope_Global, 0, p.defaultValue, 0);
        }
    }
}

CZkmorva10AU::~CZkmorva10AU() {
    RemoveParameterListener();
}

OSStatus CZkmorva10AU::Initialize() {
    const OSStatus result = AUEffectBase::Initialize();
    UpdateSampleRate(GetSampleRate());
    AllocateWorkBuffer(static_cast<long>(GetMaxFramesPerSlice()));
    const UInt32 channels = GetNumberOfChannels();
    historyChannels = channels > 1 ? channels : 0;
    const std::array<std::size_t, kHistorySlotCount> slotSize{CZkmorvaHpLpFilter::kStateSize,
                                                              CBiquad::kStateSize,
                                                              CBiquad::kStateSize,
                                                              CBiquad::kStateSize,
                                                              CBiquad::kStateSize,
                                                              CBiquad::kStateSize,
                                                              CZkmorvaHpLpFilter::kStateSize,
                                                              CZkmorvaShifter::kStateSize,
                                                              CZkmorvaShifter::kStateSize,
                                                              CBiquad::kStateSize,
                                                              CZkmorvaAiFilter::kStateSize};
    for (std::size_t s = 0; s < history.size(); ++s) {
        history[s].assign(slotSize[s] * historyChannels, 0.0);
    }
    bypassHistory.assign(kBypassStateSize * historyChannels, 0.0);
    if (result != noErr) {
        return result;
    }
    PrepareParameterEvents(kZ10LastDispatched);
    Reset(kAudioUnitScope_Global, 0);
    return result;
}

OSStatus CZkmorva10AU::Reset(AudioUnitScope scope, AudioUnitElement element) {
    InitBuffers();
    for (auto& h : history) {
        std::fill(h.begin(), h.end(), 0.0);
    }
    for (UInt32 c = 0; c < historyChannels; ++c) {
        SaveChannelHistory(c); // every channel starts from the cleared bypass ring
    }
    UpdateAllParameters();
    return AUBase::Reset(scope, element);
}

Float64 CZkmorva10AU::GetLatency() {
    return IsOversampling() ? kOversamplingLatency / GetHostSampleRate() : 0.0;
}

void CZkmorva10AU::GetUIComponentDescs(AudioComponentDescription* outDescs) {
    if (outDescs != nullptr) {
        *outDescs = {MakeFourCC("auvw"), MakeFourCC("zkm1"), kManufacturer, 0, 0};
    }
}

OSStatus CZkmorva10AU::GetParameter(AudioUnitParameterID id, AudioUnitScope scope,
                                    AudioUnitElement element, AudioUnitParameterValue& outValue) {
    if (id == kZ10InputMeter || id == kZ10OutputMeter) {
        const float level = id == kZ10InputMeter ? GetInputMeter() : GetOutputMeter();
        outValue = static_cast<float>(ConvertFactorToDecibels(level, kMeterFloorDb));
        return noErr;
    }
    return AUEffectBase::GetParameter(id, scope, element, outValue);
}

// Without a value the text is that of the bass shift gain's current value
// (parameter 33), whatever was asked for, as it always has been.
OSStatus CZkmorva10AU::GetValueForText(AudioUnitParameterID /*id*/, AudioUnitParameterValue& out) {
    PeekParameter(kAudioUnitScope_Global, 0, kZ10BassShiftGain, out);
    return noErr;
}

void CZkmorva10AU::DrawAutoListen(bool on, long parameterId) {
    SetAutoListenDisplay(on, parameterId);
}

void CZkmorva10AU::HandleGesture(AudioUnitEventType type, AudioUnitParameterID id) {
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

// Visits the sections whose history is swapped, in order, with their slot; the
// conditions are evaluated afresh on every call.
template <class Visit> void CZkmorva10AU::ForEachActiveSection(Visit&& visit) {
    if (IsHighPassActive()) {
        visit(HistorySlot::HighPass, GetHpFilter(), CZkmorvaHpLpFilter::kStateSize);
    }
    for (int b = 0; b < kBandCount; ++b) {
        if (IsBandActive(b)) {
            visit(BandSlot(b), GetBandFilter(b), CBiquad::kStateSize);
        }
    }
    if (lpOn && lpFrequency < 26000.0) {
        // Swapped below 26000 Hz though the chain runs it only up to 25999 Hz; harmless.
        visit(HistorySlot::LowPass, GetLpFilter(), CZkmorvaHpLpFilter::kStateSize);
    }
    if (IsBassShifterActive()) {
        visit(HistorySlot::BassShifter, GetBassShifter(), CZkmorvaShifter::kStateSize);
    }
    if (IsPresenceShifterActive()) {
        visit(HistorySlot::PresenceShifter, GetPresenceShifter(), CZkmorvaShifter::kStateSize);
    }
    if (IsAutoListenActive()) {
        visit(HistorySlot::AutoListen, GetAutoListenFilter(), CBiquad::kStateSize);
    }
    if (IsOversampling()) {
        visit(HistorySlot::Oversampling, GetAiFilter(), CZkmorvaAiFilter::kStateSize);
    }
}

void CZkmorva10AU::LoadChannelHistory(UInt32 channel) {
    ForEachActiveSection([&](HistorySlot slot, auto& section, int size) {
        section.StoreBuffers(history[static_cast<std::size_t>(slot)].data() +
                             static_cast<std::size_t>(size) * channel);
    });
    const double* ring = bypassHistory.data() + kBypassStateSize * channel;
    std::copy(ring, ring + kBypassRingSamples, bypassDelay.begin());
    bypassDelayIndex = static_cast<std::int32_t>(ring[kRingPositionSlot]);
    noiseSeed = static_cast<std::uint32_t>(ring[kNoiseSeedSlot]);
}

void CZkmorva10AU::SaveChannelHistory(UInt32 channel) {
    ForEachActiveSection([&](HistorySlot slot, auto& section, int size) {
        section.GetBuffers(history[static_cast<std::size_t>(slot)].data() +
                           static_cast<std::size_t>(size) * channel);
    });
    double* ring = bypassHistory.data() + kBypassStateSize * channel;
    std::copy(bypassDelay.begin(), bypassDelay.begin() + kBypassRingSamples, ring);
    ring[kRingPositionSlot] = static_cast<double>(bypassDelayIndex);
    ring[kNoiseSeedSlot] = static_cast<double>(noiseSeed); // exact: any 32-bit value fits
}

OSStatus CZkmorva10AU::ProcessBufferLists(AudioUnitRenderActionFlags& /*ioActionFlags*/,
                                          const AudioBufferList& inBuffers,
                                          AudioBufferList& outBuffers, UInt32 frames) {
    ApplyPendingCommands();
    bypass = IsBypassEffect();
    const UInt32 channels = std::min(inBuffers.mNumberBuffers, outBuffers.mNumberBuffers);
    const bool swap = historyChannels >= 2 && channels <= historyChannels;
    // Channels two by two through one two-channel pass (a lone last channel on
    // its own); the second channel's histories ride along in the processor's
    // copies of the sections.
    const bool pairs = swap && CanProcessPair(static_cast<long>(frames));
    UInt32 i = 0;
    for (; pairs && i + 1 < channels; i += 2) {
        float* in[2] = {static_cast<float*>(inBuffers.mBuffers[i].mData),
                        static_cast<float*>(inBuffers.mBuffers[i + 1].mData)};
        float* out[2] = {static_cast<float*>(outBuffers.mBuffers[i].mData),
                         static_cast<float*>(outBuffers.mBuffers[i + 1].mData)};
        LoadChannelHistory(i + 1);
        BeginSecondChannel();
        LoadChannelHistory(i);
        ProcessFloatsPair(in, out, static_cast<long>(frames));
        SaveChannelHistory(i);
        LoadChannelHistory(i + 1);
        EndSecondChannel();
        SaveChannelHistory(i + 1);
    }
    for (; i < channels; ++i) {
        auto* in = static_cast<float*>(inBuffers.mBuffers[i].mData);
        auto* out = static_cast<float*>(outBuffers.mBuffers[i].mData);
        if (swap) {
            LoadChannelHistory(i);
        }
        ProcessFloats(&in, &out, static_cast<long>(frames));
        if (swap) {
            SaveChannelHistory(i);
        }
    }
    return noErr;
}

// Host bypass runs the processor's own latency-matched dry path.
OSStatus CZkmorva10AU::ProcessBypass(AudioUnitRenderActionFlags& ioActionFlags,
                                     const AudioBufferList& inBuffers, AudioBufferList& outBuffers,
                                     UInt32 frames) {
    return ProcessBufferLists(ioActionFlags, inBuffers, outBuffers, frames);
}

AudioUnitPtr OpenZkmorva10() {
    return CZkmorva10AUEntry::Open(kZkmorva10Description);
}
