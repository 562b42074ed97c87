#include "units/Zkmorva10AU.h"

#include "dsp/Truncate.h"
#include "units/ValueTexts.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

using namespace zk;

constexpr float kGainFloorDb = -100.0f;      // input and output gain
constexpr float kBandGainFloorDb = -1000.0f; // band and shifter gains
constexpr float kMeterFloorDb = -61.0f;

// Band of a parameter id 9..28 (four ids per band), or -1.
int BandOf(AudioUnitParameterID id) {
    return id >= kZ10LfQ && id <= kZ10HfOn ? static_cast<int>((id - kZ10LfQ) / 4) : -1;
}

// The high-pass slope code from the Q control: the top ranges select the
// Butterworth orders, lower values are a resonant Q.
double SlopeCode(double value) {
    if (value > 23.0) {
        return 130.0;
    }
    if (value > 21.0) {
        return 124.0;
    }
    if (value > 19.0) {
        return 118.0;
    }
    if (value > 17.0) {
        return 112.0;
    }
    if (value > 15.0) {
        return 106.0;
    }
    return value;
}

} // namespace

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
    return IsOversampling() ? 4.0 / GetHostSampleRate() : 0.0;
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

// Without a value the current value of parameter 33 is used, whatever was asked
// for; kept as it is.
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

// While the auto-listen of this very control sounds, its narrow band moves with it.
void CZkmorva10AU::Follow(AudioUnitParameterID id, double frequency) {
    if (IsAutoListenActive() && GetAutoListenParam() == static_cast<std::int32_t>(id)) {
        GetAutoListenFilter().Update(frequency, CBiquad::kFrequency);
    }
}

// Q values from 0.3 up are a bell of that Q; lower values select the band's shelf
// with Q root two (the stored Q keeps the raw value).
void CZkmorva10AU::ShelvingRule(int b, double q, double shelfType) {
    CBiquad& section = GetBandFilter(b);
    if (q >= 0.3 || std::isnan(q)) {
        section.Update(Peak, CBiquad::kType);
        section.Update(q, CBiquad::kQ);
    } else {
        section.Update(shelfType, CBiquad::kType);
        section.Update(1.4142135623730951, CBiquad::kQ);
    }
}

void CZkmorva10AU::UpdateParameters(AudioUnitParameterID id) {
    if (id > kZ10LastDispatched) {
        return;
    }
    AudioUnitParameterValue stored = 0.0f;
    if (!PeekParameter(kAudioUnitScope_Global, 0, id, stored)) {
        return;
    }
    stored = DispatchValue(kZkmorva10Parameters[id], stored);
    const double v = stored;
    const bool on = stored != 0.0f;
    const int b = BandOf(id);
    if (b >= 0) {
        CBandSettings& s = band[static_cast<std::size_t>(b)];
        CBiquad& section = GetBandFilter(b);
        switch ((id - kZ10LfQ) % 4) {
        case 0: // Q
            s.q = v;
            if (id == kZ10LfQ) {
                ShelvingRule(b, v, LowShelf);
            } else if (id == kZ10HfQ) {
                ShelvingRule(b, v, HighShelf);
            } else {
                section.Update(v, CBiquad::kQ);
            }
            break;
        case 1: // f
            s.frequency = v;
            section.Update(v, CBiquad::kFrequency);
            Follow(id, v);
            break;
        case 2: // Gain
            s.gain = ConvertDecibelsToFactor(v, kBandGainFloorDb);
            section.Update(s.gain, CBiquad::kGain);
            break;
        default: // on/off
            s.on = on;
            break;
        }
        return;
    }
    switch (id) {
    case kZ10AutoListenOn:
        autoListenEnabled = on;
        break;
    case kZ10AutoListenMode: {
        std::int32_t mode = autoListenMode;
        zk::TruncateToInt32(v, &mode);
        autoListenMode = mode;
        break;
    }
    case kZ10EqOn:
        eqOn = on;
        break;
    case kZ10InputGain:
        inputGain = ConvertDecibelsToFactor(v, kGainFloorDb);
        break;
    case kZ10OutputGain:
        outputGain = ConvertDecibelsToFactor(v, kGainFloorDb);
        break;
    case kZ10PhaseRev:
        phase = 1.0 - 2.0 * v;
        break;
    case kZ10HpQ:
        hpSlope = SlopeCode(v);
        GetHpFilter().Update(hpSlope, CZkmorvaHpLpFilter::kSlope);
        break;
    case kZ10HpFreq:
        hpFrequency = v;
        GetHpFilter().Update(v, CZkmorvaHpLpFilter::kFrequency);
        Follow(id, v);
        break;
    case kZ10HpOn:
        hpOn = on;
        break;
    case kZ10LpQ:
        // The low-pass gets the raw value, not the slope code the high-pass gets:
        // the asymmetry is intended.
        lpSlope = v;
        GetLpFilter().Update(v, CZkmorvaHpLpFilter::kSlope);
        break;
    case kZ10LpFreq:
        lpFrequency = v;
        GetLpFilter().Update(v, CZkmorvaHpLpFilter::kFrequency);
        Follow(id, v);
        break;
    case kZ10LpOn:
        lpOn = on;
        break;
    case kZ10BassShiftFreq:
        bassShift.frequency = v;
        GetBassShifter().Update(v, CZkmorvaShifter::kFrequency);
        break;
    case kZ10BassShiftGain:
        bassShift.gain = ConvertDecibelsToFactor(v, kBandGainFloorDb);
        GetBassShifter().Update(bassShift.gain, CZkmorvaShifter::kGain);
        break;
    case kZ10BassShiftOn:
        bassShift.on = on;
        break;
    case kZ10PresShiftFreq:
        presenceShift.frequency = v;
        GetPresenceShifter().Update(v, CZkmorvaShifter::kFrequency);
        break;
    case kZ10PresShiftGain:
        presenceShift.gain = ConvertDecibelsToFactor(v, kBandGainFloorDb);
        GetPresenceShifter().Update(presenceShift.gain, CZkmorvaShifter::kGain);
        break;
    case kZ10PresShiftOn:
        presenceShift.on = on;
        break;
    default:
        break;
    }
}

// The conditions are evaluated afresh on every call.
std::uint32_t CZkmorva10AU::ActiveHistorySlots() const {
    std::uint32_t slots = 0;
    auto mark = [&slots](bool active, int slot) { slots |= active ? 1u << slot : 0u; };
    mark(IsHighPassActive(), kHighPassHistory);
    for (int b = 0; b < kBandCount; ++b) {
        mark(IsBandActive(b), kBand1History + b);
    }
    // Swapped below 26000 Hz though the chain runs it only up to 25999 Hz; harmless.
    mark(lpOn && lpFrequency < 26000.0, kLowPassHistory);
    mark(IsBassShifterActive(), kBassShifterHistory);
    mark(IsPresenceShifterActive(), kPresenceShifterHistory);
    mark(IsAutoListenActive(), kAutoListenHistory);
    mark(IsOversampling(), kOversamplingHistory);
    return slots;
}

// Visits the sections of the given slots with their slot and state size.
template <class Visit> void CZkmorva10AU::ForEachHistorySlot(std::uint32_t slots, Visit&& visit) {
    for (int slot = 0; slot < kHistorySlotCount; ++slot) {
        if ((slots & (1u << slot)) == 0) {
            continue;
        }
        switch (slot) {
        case kHighPassHistory:
            visit(slot, GetHpFilter(), CZkmorvaHpLpFilter::kStateSize);
            break;
        case kLowPassHistory:
            visit(slot, GetLpFilter(), CZkmorvaHpLpFilter::kStateSize);
            break;
        case kBassShifterHistory:
            visit(slot, GetBassShifter(), CZkmorvaShifter::kStateSize);
            break;
        case kPresenceShifterHistory:
            visit(slot, GetPresenceShifter(), CZkmorvaShifter::kStateSize);
            break;
        case kAutoListenHistory:
            visit(slot, GetAutoListenFilter(), CBiquad::kStateSize);
            break;
        case kOversamplingHistory:
            visit(slot, GetAiFilter(), CZkmorvaAiFilter::kStateSize);
            break;
        default:
            visit(slot, GetBandFilter(slot - kBand1History), CBiquad::kStateSize);
            break;
        }
    }
}

void CZkmorva10AU::LoadChannelHistory(UInt32 channel, std::uint32_t slots) {
    ForEachHistorySlot(slots, [&](int slot, auto& section, int size) {
        section.StoreBuffers(history[static_cast<std::size_t>(slot)].data() +
                             static_cast<std::size_t>(size) * channel);
    });
    const double* ring = bypassHistory.data() + kBypassStateSize * channel;
    std::copy(ring, ring + 4, bypassDelay.begin());
    bypassDelayIndex = static_cast<std::int32_t>(ring[4]);
    noiseSeed = static_cast<std::uint32_t>(ring[5]);
}

void CZkmorva10AU::SaveChannelHistory(UInt32 channel, std::uint32_t slots) {
    ForEachHistorySlot(slots, [&](int slot, auto& section, int size) {
        section.GetBuffers(history[static_cast<std::size_t>(slot)].data() +
                           static_cast<std::size_t>(size) * channel);
    });
    double* ring = bypassHistory.data() + kBypassStateSize * channel;
    std::copy(bypassDelay.begin(), bypassDelay.begin() + 4, ring);
    ring[4] = static_cast<double>(bypassDelayIndex);
    ring[5] = static_cast<double>(noiseSeed); // exact: any 32-bit value fits a double
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
