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
    pairKept = false; // its histories are cleared with the rest
    for (UInt32 c = 0; c < historyChannels; ++c) {
        SaveChannelHistory(c, ActiveHistorySlots()); // every channel starts from the cleared ring
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

// The slots whose sections' history is swapped now, one bit each; the
// conditions are evaluated afresh on every call.
std::uint32_t CZkmorva10AU::ActiveHistorySlots() const {
    std::uint32_t slots = 0;
    auto mark = [&slots](bool active, HistorySlot slot) {
        slots |= active ? 1u << static_cast<unsigned>(slot) : 0u;
    };
    mark(IsHighPassActive(), HistorySlot::HighPass);
    for (int b = 0; b < kBandCount; ++b) {
        mark(IsBandActive(b), BandSlot(b));
    }
    // Swapped below 26000 Hz though the chain runs it only up to 25999 Hz; harmless.
    mark(lpOn && lpFrequency < 26000.0, HistorySlot::LowPass);
    mark(IsBassShifterActive(), HistorySlot::BassShifter);
    mark(IsPresenceShifterActive(), HistorySlot::PresenceShifter);
    mark(IsAutoListenActive(), HistorySlot::AutoListen);
    mark(IsOversampling(), HistorySlot::Oversampling);
    return slots;
}

// Visits the sections of the given slots, in order, with their slot and state size.
template <class Visit> void CZkmorva10AU::ForEachHistorySlot(std::uint32_t slots, Visit&& visit) {
    for (std::size_t index = 0; index < kHistorySlotCount; ++index) {
        if ((slots & (1u << index)) == 0) {
            continue;
        }
        const auto slot = static_cast<HistorySlot>(index);
        switch (slot) {
        case HistorySlot::HighPass:
            visit(slot, GetHpFilter(), CZkmorvaHpLpFilter::kStateSize);
            break;
        case HistorySlot::LowPass:
            visit(slot, GetLpFilter(), CZkmorvaHpLpFilter::kStateSize);
            break;
        case HistorySlot::BassShifter:
            visit(slot, GetBassShifter(), CZkmorvaShifter::kStateSize);
            break;
        case HistorySlot::PresenceShifter:
            visit(slot, GetPresenceShifter(), CZkmorvaShifter::kStateSize);
            break;
        case HistorySlot::AutoListen:
            visit(slot, GetAutoListenFilter(), CBiquad::kStateSize);
            break;
        case HistorySlot::Oversampling:
            visit(slot, GetAiFilter(), CZkmorvaAiFilter::kStateSize);
            break;
        default:
            visit(slot,
                  GetBandFilter(static_cast<int>(index) - static_cast<int>(HistorySlot::Band1)),
                  CBiquad::kStateSize);
            break;
        }
    }
}

void CZkmorva10AU::LoadChannelHistory(UInt32 channel, std::uint32_t slots) {
    ForEachHistorySlot(slots, [&](HistorySlot slot, auto& section, int size) {
        section.StoreBuffers(history[static_cast<std::size_t>(slot)].data() +
                             static_cast<std::size_t>(size) * channel);
    });
    const double* ring = bypassHistory.data() + kBypassStateSize * channel;
    std::copy(ring, ring + kBypassRingSamples, bypassDelay.begin());
    bypassDelayIndex = static_cast<std::int32_t>(ring[kRingPositionSlot]);
    noiseSeed = static_cast<std::uint32_t>(ring[kNoiseSeedSlot]);
}

void CZkmorva10AU::SaveChannelHistory(UInt32 channel, std::uint32_t slots) {
    ForEachHistorySlot(slots, [&](HistorySlot slot, auto& section, int size) {
        section.GetBuffers(history[static_cast<std::size_t>(slot)].data() +
                           static_cast<std::size_t>(size) * channel);
    });
    double* ring = bypassHistory.data() + kBypassStateSize * channel;
    std::copy(bypassDelay.begin(), bypassDelay.begin() + kBypassRingSamples, ring);
    ring[kRingPositionSlot] = static_cast<double>(bypassDelayIndex);
    ring[kNoiseSeedSlot] = static_cast<double>(noiseSeed); // exact: any 32-bit value fits
}

// The end of the pair of channels first and first + 1, as their swaps leave it.
void CZkmorva10AU::ReleasePair(UInt32 first) {
    SaveChannelHistory(first, keptSlots);
    LoadChannelHistory(first + 1, keptSlots);
    EndSecondChannel();
    SaveChannelHistory(first + 1, keptSlots);
    pairKept = false;
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
    // copies of the sections. A stereo bus's pair goes on from block to block
    // while its chain and swapped slots stay as they were.
    const bool pairs = swap && CanProcessPair(static_cast<long>(frames));
    const bool stereo = pairs && channels == 2;
    if (pairKept && !(stereo && ActiveHistorySlots() == keptSlots && KeepPair())) {
        ReleasePair();
    }
    UInt32 i = 0;
    for (; pairs && i + 1 < channels; i += 2) {
        float* in[2] = {static_cast<float*>(inBuffers.mBuffers[i].mData),
                        static_cast<float*>(inBuffers.mBuffers[i + 1].mData)};
        float* out[2] = {static_cast<float*>(outBuffers.mBuffers[i].mData),
                         static_cast<float*>(outBuffers.mBuffers[i + 1].mData)};
        if (!pairKept) {
            const std::uint32_t slots = ActiveHistorySlots();
            LoadChannelHistory(i + 1, slots);
            BeginSecondChannel();
            LoadChannelHistory(i, slots);
            keptSlots = slots;
            pairKept = true;
        }
        ProcessFloatsPair(in, out, static_cast<long>(frames));
        if (!stereo || !PairEndedFinite()) {
            ReleasePair(i);
        }
    }
    for (; i < channels; ++i) {
        auto* in = static_cast<float*>(inBuffers.mBuffers[i].mData);
        auto* out = static_cast<float*>(outBuffers.mBuffers[i].mData);
        const std::uint32_t slots = swap ? ActiveHistorySlots() : 0;
        if (swap) {
            LoadChannelHistory(i, slots);
        }
        ProcessFloats(&in, &out, static_cast<long>(frames));
        if (swap) {
            SaveChannelHistory(i, slots);
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
