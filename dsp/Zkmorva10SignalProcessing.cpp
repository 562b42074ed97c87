#include "dsp/Zkmorva10SignalProcessing.h"

#include "dsp/CascadeKernels.h"
#include "dsp/Zkmorva10AutoListen.h"
#include "dsp/Zkmorva20MeterBlocks.h"

#include <algorithm>
#include <cmath>

namespace {

using CBand = CZkmorva10SignalProcessing::CBandSettings;
using CShift = CZkmorva10SignalProcessing::CShifterSettings;

constexpr std::array<CBand, CZkmorva10SignalProcessing::kBandCount> kDefaultBands = {{
    {1.0, 0.29, 100.0, true},
    {1.0, 1.0, 315.0, true},
    {1.0, 2.0, 3150.0, true},
    {1.0, 3.0, 5800.0, true},
    {1.0, 0.29, 12000.0, true},
}};
constexpr CShift kDefaultBassShift = {1.0, 2.14, 89.0, true};
constexpr CShift kDefaultPresenceShift = {1.0, 1.13, 12600.0, true};

constexpr std::int32_t kNoAutoListenParam = 999;
constexpr long kBypassRingSize = 4; // the oversampled path's latency
constexpr double kNarrowBandQ = 10.0;
// A band's Q is heard with its boost or cut exaggerated to +-12 dB; a boost is
// compensated at the output so that the band's surroundings do not get louder.
constexpr double kListenBoost = 4.0;
constexpr double kListenCut = 0.25;

} // namespace

CZkmorva10SignalProcessing::CZkmorva10SignalProcessing()
    : aiFilter(processSampleRate), autoListenFilter(processSampleRate),
      bandFilter{CBiquad(processSampleRate), CBiquad(processSampleRate), CBiquad(processSampleRate),
                 CBiquad(processSampleRate), CBiquad(processSampleRate)},
      hpFilter(processSampleRate, CZkmorvaHpLpFilter::kHighPass),
      lpFilter(processSampleRate, CZkmorvaHpLpFilter::kLowPass),
      bassShifter(processSampleRate, CZkmorvaShifter::kBass),
      presenceShifter(processSampleRate, CZkmorvaShifter::kPresence),
      pairSections(SectionList::kCapacity, CBiquad(processSampleRate)) {
    CZkmorva10SignalProcessing::InitParameters();
}

void CZkmorva10SignalProcessing::InitParameters() {
    textBoxActive.store(false, std::memory_order_relaxed);
    autoListenEnabled = true;
    autoListenMode = 6;
    eqOn = true;
    inputGain = 1.0;
    outputGain = 1.0;
    phase = 1.0;
    autoListenActive = false;
    autoListenParam = kNoAutoListenParam;
    autoListenGain = 1.0;
    hpSlope = 112.0;
    hpFrequency = 0.0;
    hpOn = true;
    band = kDefaultBands;
    lpSlope = 112.0;
    lpFrequency = 27000.0;
    lpOn = true;
    bassShift = kDefaultBassShift;
    presenceShift = kDefaultPresenceShift;
    shifterSpare = false;
    inputPeak.store(0.0f, std::memory_order_relaxed);
    outputPeak.store(0.0f, std::memory_order_relaxed);
    inputMeter.store(0.0f, std::memory_order_relaxed);
    outputMeter.store(0.0f, std::memory_order_relaxed);
}

int CZkmorva10SignalProcessing::UpdateSampleRate(double rate) {
    if (CZkmorvaSignalProcessing::UpdateSampleRate(rate) == 0) {
        return 0;
    }
    const double sr = processSampleRate;
    if (hostSampleRate < kOversamplingBelowHz) {
        aiFilter.SetSampleRate(sr);
    }
    autoListenFilter.SetSampleRate(sr);
    for (CBiquad& b : bandFilter) {
        b.SetSampleRate(sr);
    }
    hpFilter.SetSampleRate(sr);
    lpFilter.SetSampleRate(sr);
    bassShifter.SetSampleRate(sr);
    presenceShifter.SetSampleRate(sr);
    return 1;
}

void CZkmorva10SignalProcessing::InitBuffers() {
    bypassDelay.fill(0.0);
    bypassDelayIndex = 3;
    noiseSeed = 1; // a reset unit sounds exactly like a fresh one
    ClearFilterHistory();
}

void CZkmorva10SignalProcessing::ClearFilterHistory() {
    aiFilter.InitBuffers();
    autoListenFilter.InitBuffers();
    for (CBiquad& b : bandFilter) {
        b.InitBuffers();
    }
    hpFilter.InitBuffers();
    lpFilter.InitBuffers();
    bassShifter.InitBuffers();
    presenceShifter.InitBuffers();
}

void CZkmorva10SignalProcessing::AllocateWorkBuffer(long maxFrames) {
    if (maxFrames < 1) {
        ReleaseWorkBuffer();
        return;
    }
    const long perFrame = oversampling ? 2 : 1;
    // Two channels' room: a pair of channels runs side by side.
    workStorage.assign(static_cast<std::size_t>(2 * maxFrames * perFrame), 0.0);
    meterLevels.assign(static_cast<std::size_t>(4 * maxFrames * perFrame), 0.0f);
    workBuffer = workStorage.data();
}

void CZkmorva10SignalProcessing::ReleaseWorkBuffer() {
    workStorage.clear();
    workStorage.shrink_to_fit();
    meterLevels.clear();
    meterLevels.shrink_to_fit();
    workBuffer = nullptr;
}

long CZkmorva10SignalProcessing::GetWorkBufferFrames() const {
    return static_cast<long>(workStorage.size()) / 2 / (oversampling ? 2 : 1);
}

void CZkmorva10SignalProcessing::ProcessFloats(float** in, float** out, long frames) {
    ProcessBlock(in[0], out[0], frames);
}

void CZkmorva10SignalProcessing::ProcessDoubles(double** in, double** out, long frames) {
    ProcessBlock(in[0], out[0], frames);
}

template <typename Sample>
void CZkmorva10SignalProcessing::ProcessBlock(const Sample* in, Sample* out, long frames) {
    if (workBuffer == nullptr) {
        return;
    }
    CDenormalGuard guard;
    if (bypass) {
        RunBypass(in, out, frames);
        inputMeter.store(0.0f, std::memory_order_relaxed);
        outputMeter.store(0.0f, std::memory_order_relaxed);
        return;
    }
    const long room = GetWorkBufferFrames();
    if (room < 1) {
        return;
    }
    double* x = workBuffer;
    for (long done = 0; done < frames;) {
        const long n = std::min(room, frames - done);
        const Sample* src = in + done;
        Sample* dst = out + done;
        // Zero-stuffed while oversampling (the chain doubles the samples to make
        // up for it); back by plain decimation: the band limit runs first in the
        // chain, so no filter is needed before it.
        zk20::FillWorkBlock(src, x, n, oversampling);
        ProcessSampleBuffer(oversampling ? 2 * n : n);
        zk20::TakeWorkBlock(x, dst, n, oversampling);
        done += n;
    }
}

template <typename Sample>
void CZkmorva10SignalProcessing::RunBypass(const Sample* in, Sample* out, long frames) {
    if (!oversampling) {
        std::copy(in, in + std::max(frames, 0L), out);
        return;
    }
    // Delayed as long as the oversampled path takes.
    for (long i = 0; i < frames; ++i) {
        const double x = static_cast<double>(in[i]);
        bypassDelayIndex = (bypassDelayIndex + 1) % kBypassRingSize;
        double& slot = bypassDelay[static_cast<std::size_t>(bypassDelayIndex)];
        out[i] = static_cast<Sample>(slot);
        slot = x;
    }
}

void CZkmorva10SignalProcessing::ProcessSampleBuffer(long count) {
    if (workBuffer == nullptr) {
        return;
    }
    double* x = workBuffer;
    float* levelsIn = meterLevels.data();
    float* levelsOut = levelsIn + count;
    RunInputStage(x, count, levelsIn);
    if (plainFilterLoops) {
        RunPlainChain(x, count);
    } else {
        // The band limit and the chain as one list of sections in a fused pass.
        SectionList list;
        if (!autoListenActive) {
            CollectChain(list);
        } else {
            if (oversampling) {
                list.AddAll(aiFilter);
            }
            if (eqOn && zk10::ListenControlFor(autoListenParam).kind == zk10::kFrequencyControl) {
                RunSections(list, x, count);
                list.count = 0;
                autoListenFilter.FilterBufferAndInvert(x, count);
            } else if (eqOn) {
                CollectAutoListenChain(list);
            }
        }
        RunSections(list, x, count);
    }
    // A NaN or infinity from the input stays in every running section's history
    // for good, so a block that ends non-finite clears the history (and the meters
    // it reached); finite blocks are not touched.
    if (!RunOutputStage(x, count, levelsOut)) {
        ClearFilterHistory();
    }
    FollowMeters(levelsIn, levelsOut, count);
}

void CZkmorva10SignalProcessing::RunInputStage(double* x, long count, float* levels) {
    const double gainIn = inputGain;
    const double polarity = phase;
    if (plainFilterLoops || HasOwnNoise()) {
        // The unit's own noise, or the plain loops: a call per sample.
        for (long i = 0; i < count; ++i) {
            double v = x[i] * gainIn * polarity;
            levels[i] = std::fabs(static_cast<float>(v));
            add_white_noise(&v);
            x[i] = v;
        }
    } else {
        // The same noise a round at a time (and the sample kept in a register).
        constexpr long kNoiseRound = 256;
        double noise[kNoiseRound];
        for (long start = 0; start < count; start += kNoiseRound) {
            const long n = std::min(kNoiseRound, count - start);
            NextNoise(noise, n);
            for (long i = 0; i < n; ++i) {
                const double v = x[start + i] * gainIn * polarity;
                levels[start + i] = std::fabs(static_cast<float>(v));
                x[start + i] = v + noise[i];
            }
        }
    }
    if (oversampling) {
        for (long i = 0; i < count; ++i) {
            x[i] = x[i] * 2.0;
        }
    }
}

bool CZkmorva10SignalProcessing::RunOutputStage(double* x, long count, float* levels) {
    const double gainOut = outputGain * autoListenGain;
    for (long i = 0; i < count; ++i) {
        const double v = x[i] * gainOut;
        x[i] = v;
        levels[i] = std::fabs(static_cast<float>(v));
    }
    return count < 1 || std::isfinite(x[count - 1]);
}

// The input and output meters over one channel's levels in one loop: two
// independent chains that each wait on a multiply per sample overlap. What is
// not finite at the end starts again from zero.
void CZkmorva10SignalProcessing::FollowMeters(const float* in, const float* out, long count) {
    const float attack = meterAttack;
    const float release = meterRelease;
    float inMeter = inputMeter.load(std::memory_order_relaxed);
    float outMeter = outputMeter.load(std::memory_order_relaxed);
    float inPeak = inputPeak.load(std::memory_order_relaxed);
    float outPeak = outputPeak.load(std::memory_order_relaxed);
    for (long i = 0; i < count; ++i) {
        inMeter = FollowMeter(in[i], inMeter, attack, release);
        outMeter = FollowMeter(out[i], outMeter, attack, release);
    }
    if (count > 0) {
        inPeak = in[count - 1];
        outPeak = out[count - 1];
    }
    inputPeak.store(std::isfinite(inPeak) ? inPeak : 0.0f, std::memory_order_relaxed);
    inputMeter.store(std::isfinite(inMeter) ? inMeter : 0.0f, std::memory_order_relaxed);
    outputPeak.store(std::isfinite(outPeak) ? outPeak : 0.0f, std::memory_order_relaxed);
    outputMeter.store(std::isfinite(outMeter) ? outMeter : 0.0f, std::memory_order_relaxed);
}

// ---------------------------------------------------------------- channel pairs

bool CZkmorva10SignalProcessing::CanProcessPair(long frames) const {
    return workBuffer != nullptr && !bypass && !plainFilterLoops && !autoListenActive &&
           !HasOwnNoise() && frames >= 1 && frames <= GetWorkBufferFrames();
}

void CZkmorva10SignalProcessing::BeginSecondChannel() {
    pairList.count = 0;
    CollectChain(pairList);
    for (int k = 0; k < pairList.count; ++k) {
        pairSections[static_cast<std::size_t>(k)] = *pairList.section[static_cast<std::size_t>(k)];
    }
    pairNoiseSeed = noiseSeed;
    pairEndsFinite = true;
}

void CZkmorva10SignalProcessing::ProcessFloatsPair(float** in, float** out, long frames) {
    ProcessPair(in, out, frames);
}

void CZkmorva10SignalProcessing::ProcessDoublesPair(double** in, double** out, long frames) {
    ProcessPair(in, out, frames);
}

template <typename Sample>
void CZkmorva10SignalProcessing::ProcessPair(Sample** in, Sample** out, long frames) {
    if (!CanProcessPair(frames)) {
        return;
    }
    CDenormalGuard guard;
    const long count = oversampling ? 2 * frames : frames;
    double* x[2] = {workBuffer, workBuffer + count};
    for (int ch = 0; ch < 2; ++ch) {
        zk20::FillWorkBlock(in[ch], x[ch], frames, oversampling);
    }
    // Each channel's input stage in turn, with its own noise (the meters follow
    // channel 1, then channel 2, as when the channels run one after the other).
    float* levels[4];
    for (int k = 0; k < 4; ++k) {
        levels[k] = meterLevels.data() + k * count; // in 1, in 2, out 1, out 2
    }
    RunInputStage(x[0], count, levels[0]);
    std::swap(noiseSeed, pairNoiseSeed);
    RunInputStage(x[1], count, levels[1]);
    std::swap(noiseSeed, pairNoiseSeed);

    std::array<zk::StereoStage, SectionList::kCapacity> stages;
    for (int k = 0; k < pairList.count; ++k) {
        const auto i = static_cast<std::size_t>(k);
        stages[i] = {{pairList.section[i], &pairSections[i]}};
    }
    zk::FilterCascadeStereo(stages.data(), pairList.count, nullptr, x[0], x[1], count, &pairPlan);

    if (!RunOutputStage(x[0], count, levels[2])) {
        ClearFilterHistory();
    }
    pairEndsFinite = RunOutputStage(x[1], count, levels[3]);
    FollowMeters(levels[0], levels[2], count);
    FollowMeters(levels[1], levels[3], count);
    for (int ch = 0; ch < 2; ++ch) {
        zk20::TakeWorkBlock(x[ch], out[ch], frames, oversampling);
    }
}

bool CZkmorva10SignalProcessing::KeepPair() {
    SectionList now;
    CollectChain(now);
    if (now.count != pairList.count ||
        !std::equal(now.section.begin(), now.section.begin() + now.count,
                    pairList.section.begin())) {
        return false;
    }
    for (int k = 0; k < pairList.count; ++k) {
        const auto i = static_cast<std::size_t>(k);
        if (pairSections[i].Generation() != pairList.section[i]->Generation()) {
            const BiquadState history = pairSections[i].State();
            pairSections[i] = *pairList.section[i];
            pairSections[i].State() = history;
        }
    }
    return true;
}

void CZkmorva10SignalProcessing::EndSecondChannel() {
    noiseSeed = pairNoiseSeed;
    if (!pairEndsFinite) {
        ClearFilterHistory();
        return;
    }
    for (int k = 0; k < pairList.count; ++k) {
        const auto i = static_cast<std::size_t>(k);
        pairList.section[i]->State() = pairSections[i].State();
    }
}

void CZkmorva10SignalProcessing::RunSections(const SectionList& list, double* x, long count) {
    zk::FilterCascade(list.section.data(), list.count, x, count, &chainPlan);
}

// What the fused pass equals: each filter with the plain per-section loops, in
// the chain's order.
void CZkmorva10SignalProcessing::RunPlainChain(double* x, long count) {
    if (oversampling) {
        aiFilter.FilterBufferReference(x, count);
    }
    if (!eqOn) {
        return;
    }
    if (autoListenActive) {
        const zk10::ListenControl control = zk10::ListenControlFor(autoListenParam);
        if (control.kind == zk10::kFrequencyControl) {
            autoListenFilter.FilterBufferAndInvert(x, count);
        } else if (control.kind != zk10::kNotListenable) {
            if (control.section == zk10::kHighPassSection) {
                hpFilter.FilterBufferReference(x, count);
            } else if (control.section == zk10::kLowPassSection) {
                lpFilter.FilterBufferReference(x, count);
            } else if (control.section != zk10::kNoSection) {
                bandFilter[static_cast<std::size_t>(control.section)].FilterBuffer(x, count);
            }
        }
        return;
    }
    if (IsHighPassActive()) {
        hpFilter.FilterBufferReference(x, count);
    }
    if (IsBandActive(0)) {
        bandFilter[0].FilterBuffer(x, count);
    }
    if (IsBassShifterActive()) {
        bassShifter.FilterBufferReference(x, count);
    }
    for (int b = 1; b <= 3; ++b) {
        if (IsBandActive(b)) {
            bandFilter[static_cast<std::size_t>(b)].FilterBuffer(x, count);
        }
    }
    if (IsPresenceShifterActive()) {
        presenceShifter.FilterBufferReference(x, count);
    }
    if (IsBandActive(4)) {
        bandFilter[4].FilterBuffer(x, count);
    }
    if (IsLowPassActive()) {
        lpFilter.FilterBufferReference(x, count);
    }
}

// The band limit and, with the EQ on, the normal chain.
void CZkmorva10SignalProcessing::CollectChain(SectionList& list) {
    if (oversampling) {
        list.AddAll(aiFilter);
    }
    if (eqOn) {
        CollectNormalChain(list);
    }
}

// The bass shifter follows band 1 and the presence shifter sits between bands 4
// and 5; the order is fixed.
void CZkmorva10SignalProcessing::CollectNormalChain(SectionList& list) {
    if (IsHighPassActive()) {
        list.AddAll(hpFilter);
    }
    if (IsBandActive(0)) {
        list.Add(bandFilter[0]);
    }
    if (IsBassShifterActive()) {
        list.AddAll(bassShifter);
    }
    for (int b = 1; b <= 3; ++b) {
        if (IsBandActive(b)) {
            list.Add(bandFilter[static_cast<std::size_t>(b)]);
        }
    }
    if (IsPresenceShifterActive()) {
        list.AddAll(presenceShifter);
    }
    if (IsBandActive(4)) {
        list.Add(bandFilter[4]);
    }
    if (IsLowPassActive()) {
        list.AddAll(lpFilter);
    }
}

// Only the listened control's filter runs, whatever its switch and gain (the
// frequency controls' narrow band is run by the caller).
void CZkmorva10SignalProcessing::CollectAutoListenChain(SectionList& list) {
    const zk10::ListenControl control = zk10::ListenControlFor(autoListenParam);
    if (control.kind != zk10::kShapeControl && control.kind != zk10::kGainControl) {
        return;
    }
    switch (control.section) {
    case zk10::kHighPassSection:
        list.AddAll(hpFilter);
        break;
    case zk10::kLowPassSection:
        list.AddAll(lpFilter);
        break;
    case zk10::kNoSection:
        break;
    default:
        list.Add(bandFilter[static_cast<std::size_t>(control.section)]);
        break;
    }
}

double CZkmorva10SignalProcessing::ListenFrequency(int section) const {
    switch (section) {
    case zk10::kHighPassSection:
        return hpFrequency;
    case zk10::kLowPassSection:
        return lpFrequency;
    default:
        return band[static_cast<std::size_t>(section)].frequency;
    }
}

void CZkmorva10SignalProcessing::BeginAutoListen(long paramId) {
    if (!autoListenEnabled || textBoxActive.load(std::memory_order_relaxed) || autoListenActive) {
        textBoxActive.store(false, std::memory_order_relaxed);
        return;
    }
    autoListenGain = 1.0;
    autoListenParam = static_cast<std::int32_t>(paramId);
    const std::uint8_t kinds = zk10::ModeKinds(autoListenMode);
    const zk10::ListenControl control = zk10::ListenControlFor(autoListenParam);

    if ((kinds & zk10::kShapeControl) != 0 && control.kind == zk10::kShapeControl) {
        if (control.section <= zk10::kBand5) {
            // The band's gain field stays as it is; EndAutoListen restores from it.
            const double gain = band[static_cast<std::size_t>(control.section)].gain;
            CBiquad& section = bandFilter[static_cast<std::size_t>(control.section)];
            if (gain >= 1.0) {
                autoListenGain = gain * 0.25;
                section.Update(kListenBoost, CBiquad::kGain);
            } else {
                section.Update(kListenCut, CBiquad::kGain);
            }
        }
        autoListenActive = true;
    }
    if ((kinds & zk10::kFrequencyControl) != 0 && control.kind == zk10::kFrequencyControl) {
        autoListenFilter.Update(
            filterParameters{Notch, 0.0, ListenFrequency(control.section), kNarrowBandQ});
        autoListenActive = true;
    }
    if ((kinds & zk10::kGainControl) != 0) {
        if (control.kind == zk10::kGainControl) {
            autoListenActive = true;
        }
        // Only modes covering gains tell the editor, so its curve lights only
        // then; in the others a listen sounds without it.
        if (autoListenActive) {
            DrawAutoListen(true, paramId);
        }
    }
    textBoxActive.store(false, std::memory_order_relaxed);
}

void CZkmorva10SignalProcessing::EndAutoListen(long paramId) {
    if (!autoListenEnabled || autoListenParam != paramId) {
        return;
    }
    // Told even when nothing was sounding.
    DrawAutoListen(false, paramId);
    const zk10::ListenControl control = zk10::ListenControlFor(paramId);
    if (control.kind == zk10::kShapeControl && control.section <= zk10::kBand5) {
        const std::size_t b = static_cast<std::size_t>(control.section);
        bandFilter[b].Update(band[b].gain, CBiquad::kGain);
    }
    if (autoListenActive) {
        autoListenActive = false;
        autoListenGain = 1.0;
    }
}
