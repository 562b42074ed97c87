#include "Zkmorva20SignalProcessing.h"

#include "CascadeKernels.h"
#include "MidSideStage.h"
#include "Zkmorva20Controls.h"

#include <algorithm>
#include <cmath>

namespace {

// The sections of both channels at each point of the chain, in chain order.
struct StageList {
    static constexpr int kCapacity = 32; // 10 band-limit + at most 15 chain stages
    zk::StereoStage stage[kCapacity];
    int count = 0;

    template <class Cascade> void AddCascade(Cascade& c1, Cascade& c2, bool on1, bool on2) {
        for (int i = 0; i < Cascade::kSectionCount; ++i) {
            stage[count++] = {{on1 ? c1.GetBiquad(i) : nullptr, on2 ? c2.GetBiquad(i) : nullptr}};
        }
    }
    void AddBand(CBiquad& b1, CBiquad& b2, bool on1, bool on2) {
        stage[count++] = {{on1 ? &b1 : nullptr, on2 ? &b2 : nullptr}};
    }
};

// A band at exactly unity gain would pass the signal unchanged, so it is skipped;
// its history freezes until the gain moves.
bool BandRuns(const BandSettings& b) {
    return b.on && b.gain != 1.0;
}

// Per channel: high-pass, LF, bass shifter, LMF, MF, HMF, presence shifter, HF,
// low-pass, each under its condition.
void CollectChain(StageList& list, const ChannelSettings& s1, const ChannelSettings& s2,
                  CZkmorva20ChannelFilters& f1, CZkmorva20ChannelFilters& f2) {
    auto hpRuns = [](const ChannelSettings& s) { return s.hp.on && s.hp.frequency > 20.0; };
    auto lpRuns = [](const ChannelSettings& s) { return s.lp.on && s.lp.frequency <= 25999.0; };
    auto band = [&](int b, const BandSettings ChannelSettings::*field) {
        list.AddBand(f1.bandFilter[static_cast<std::size_t>(b)],
                     f2.bandFilter[static_cast<std::size_t>(b)], BandRuns(s1.*field),
                     BandRuns(s2.*field));
    };
    list.AddCascade(f1.hpFilter, f2.hpFilter, hpRuns(s1), hpRuns(s2));
    band(0, &ChannelSettings::lf);
    list.AddCascade(f1.bassShifter, f2.bassShifter, BandRuns(s1.bassShift), BandRuns(s2.bassShift));
    band(1, &ChannelSettings::lmf);
    band(2, &ChannelSettings::mf);
    band(3, &ChannelSettings::hmf);
    list.AddCascade(f1.presenceShifter, f2.presenceShifter, BandRuns(s1.presShift),
                    BandRuns(s2.presShift));
    band(4, &ChannelSettings::hf);
    list.AddCascade(f1.lpFilter, f2.lpFilter, lpRuns(s1), lpRuns(s2));
}

} // namespace

CZkmorva20ChannelFilters::CZkmorva20ChannelFilters(double sampleRate)
    : aiFilter(sampleRate), autoListenFilter(sampleRate),
      hpFilter(sampleRate, CZkmorvaHpLpFilter::kHighPass), bandFilter{CBiquad(sampleRate),
                                                                      CBiquad(sampleRate),
                                                                      CBiquad(sampleRate),
                                                                      CBiquad(sampleRate),
                                                                      CBiquad(sampleRate)},
      bassShifter(sampleRate, CZkmorvaShifter::kBass),
      presenceShifter(sampleRate, CZkmorvaShifter::kPresence),
      lpFilter(sampleRate, CZkmorvaHpLpFilter::kLowPass) {}

void CZkmorva20ChannelFilters::SetSampleRate(double sr) {
    aiFilter.SetSampleRate(sr);
    autoListenFilter.SetSampleRate(sr);
    hpFilter.SetSampleRate(sr);
    for (CBiquad& b : bandFilter) {
        b.SetSampleRate(sr);
    }
    bassShifter.SetSampleRate(sr);
    presenceShifter.SetSampleRate(sr);
    lpFilter.SetSampleRate(sr);
}

void CZkmorva20ChannelFilters::InitBuffers() {
    aiFilter.InitBuffers();
    autoListenFilter.InitBuffers();
    hpFilter.InitBuffers();
    for (CBiquad& b : bandFilter) {
        b.InitBuffers();
    }
    bassShifter.InitBuffers();
    presenceShifter.InitBuffers();
    lpFilter.InitBuffers();
}

CZkmorva20SignalProcessing::CZkmorva20SignalProcessing()
    : filters{CZkmorva20ChannelFilters(processSampleRate),
              CZkmorva20ChannelFilters(processSampleRate)},
      monoMaker(processSampleRate) {
    CZkmorva20SignalProcessing::InitParameters();
}

void CZkmorva20SignalProcessing::InitParameters() {
    textBoxActive.store(false, std::memory_order_relaxed);
    soloMode = 0;
    eqOn = true;
    autoListenOn = true;
    autoListenMode = 6;
    autoListenActive = false;
    autoListenControl = 999;
    listenGain = 1.0;
    inputGain1 = outputGain1 = inputGain2 = outputGain2 = 1.0;
    monoMakerFrequency = 20.0;
    monoMakerOn = true;
    stereoWidth = 1.0;
    stereoWidthOn = true;
    channel1 = kDefaultChannelSettings;
    channel2 = kDefaultChannelSettings;
    nyquist = static_cast<float>(processSampleRate * 0.5);
    meters = {};
    meterBoard.Reset(meters);
}

int CZkmorva20SignalProcessing::UpdateSampleRate(double hostRate) {
    if (CZkmorvaSignalProcessing::UpdateSampleRate(hostRate) == 0) {
        return 0;
    }
    nyquist = static_cast<float>(processSampleRate * 0.5);
    for (CZkmorva20ChannelFilters& f : filters) {
        f.SetSampleRate(processSampleRate);
    }
    monoMaker.SetSampleRate(processSampleRate);
    return 1;
}

void CZkmorva20SignalProcessing::InitBuffers() {
    bypassDelay.fill(0.0);
    bypassDelayIndex = 3;
    noiseSeed = 1; // a reset unit sounds exactly like a fresh one
    ClearFilterHistory();
}

void CZkmorva20SignalProcessing::ClearFilterHistory() {
    for (CZkmorva20ChannelFilters& f : filters) {
        f.InitBuffers();
    }
    monoMaker.InitBuffers();
}

void CZkmorva20SignalProcessing::AllocateWorkBuffers(long maxFrames) {
    const long n = maxFrames > 0 ? (oversampling ? 2 * maxFrames : maxFrames) : 0;
    workBuffer1.assign(static_cast<size_t>(n), 0.0);
    workBuffer2.assign(static_cast<size_t>(n), 0.0);
    inputMagnitudes.assign(static_cast<size_t>(2 * n), 0.0f);
}

const double* CZkmorva20SignalProcessing::GetWorkBuffer(int channel) const {
    const std::vector<double>& b = channel == 0 ? workBuffer1 : workBuffer2;
    return b.empty() ? nullptr : b.data();
}

bool CZkmorva20SignalProcessing::HasWorkBuffers(long count) const {
    return !workBuffer1.empty() && !workBuffer2.empty() && count <= GetWorkBufferCapacity();
}

long CZkmorva20SignalProcessing::GetLinkStatus(long /*id*/) {
    return 0;
}

long CZkmorva20SignalProcessing::GetLinkedControl(long /*id*/) {
    return 0;
}

// ---------------------------------------------------------------- block entry

void CZkmorva20SignalProcessing::ProcessFloats(float** in, float** out, long frames) {
    ProcessBlock(in, out, frames);
}

void CZkmorva20SignalProcessing::ProcessDoubles(double** in, double** out, long frames) {
    ProcessBlock(in, out, frames);
}

template <typename Sample>
void CZkmorva20SignalProcessing::ProcessBlock(Sample** in, Sample** out, long frames) {
    const long count = oversampling ? 2 * frames : frames;
    if (frames < 1 || !HasWorkBuffers(count)) {
        return;
    }
    if (bypass) {
        ProcessBypass(in, out, frames);
        return;
    }
    double* b1 = workBuffer1.data();
    double* b2 = workBuffer2.data();
    if (plainFilterLoops) {
        if (oversampling) {
            for (long i = 0; i < frames; ++i) {
                b1[2 * i] = static_cast<double>(in[0][i]);
                b1[2 * i + 1] = 0.0;
                b2[2 * i] = static_cast<double>(in[1][i]);
                b2[2 * i + 1] = 0.0;
            }
        } else {
            for (long i = 0; i < frames; ++i) {
                b1[i] = static_cast<double>(in[0][i]);
                b2[i] = static_cast<double>(in[1][i]);
            }
        }
    } else {
        zk20::FillWorkBlock(in[0], b1, frames, oversampling);
        zk20::FillWorkBlock(in[1], b2, frames, oversampling);
    }
    CDenormalGuard guard;
    ProcessSampleBuffer(count);
    // Plain decimation: the band limit ran before the equaliser.
    if (plainFilterLoops) {
        const long step = oversampling ? 2 : 1;
        for (long i = 0; i < frames; ++i) {
            out[0][i] = static_cast<Sample>(b1[i * step]);
            out[1][i] = static_cast<Sample>(b2[i * step]);
        }
    } else {
        zk20::TakeWorkBlock(b1, out[0], frames, oversampling);
        zk20::TakeWorkBlock(b2, out[1], frames, oversampling);
    }
}

template <typename Sample>
void CZkmorva20SignalProcessing::ProcessBypass(Sample** in, Sample** out, long frames) {
    constexpr int kRing = 4; // channel 1 uses entries 0..3, channel 2 entries 4..7
    if (!oversampling) {
        for (long i = 0; i < frames; ++i) {
            out[0][i] = in[0][i];
            out[1][i] = in[1][i];
        }
    } else {
        // Four samples of delay match the latency of the oversampled path.
        for (long i = 0; i < frames; ++i) {
            const double x1 = static_cast<double>(in[0][i]);
            const double x2 = static_cast<double>(in[1][i]);
            bypassDelayIndex = (bypassDelayIndex + 1) % kRing;
            const size_t p = static_cast<size_t>(bypassDelayIndex);
            out[0][i] = static_cast<Sample>(bypassDelay[p]);
            out[1][i] = static_cast<Sample>(bypassDelay[p + kRing]);
            bypassDelay[p] = x1;
            bypassDelay[p + kRing] = x2;
        }
    }
    ApplyCorrelationClaim();
    zk20::SetIdle(meters);
    meterBoard.Publish(meters, meterRelease, processSampleRate);
}

void CZkmorva20SignalProcessing::ApplyCorrelationClaim() {
    if (meterBoard.TakeCorrelationClaim()) {
        zk20::CalcCorrelationStep(meters, meterRelease, processSampleRate);
    }
}

void CZkmorva20SignalProcessing::CalcCorrelation() {
    meterBoard.CalcCorrelation();
}

// ---------------------------------------------------------------- the chain

void CZkmorva20SignalProcessing::ProcessSampleBuffer(long count) {
    if (!HasWorkBuffers(count)) {
        return;
    }
    double* b1 = workBuffer1.data();
    double* b2 = workBuffer2.data();
    ApplyCorrelationClaim();
    const float attack = meterAttack;
    const float release = meterRelease;

    // A noise of the unit's own is called once per sample, as the per-sample
    // loops do; otherwise the block form makes the same values.
    const bool blockWise = !plainFilterLoops;
    const bool blockInput = blockWise && !HasOwnNoise();
    if (blockInput) {
        RunInputStage(count);
    } else {
        // Input gains and meters, then the denormal guard noise (channel 1 first).
        for (long i = 0; i < count; ++i) {
            b1[i] *= inputGain1;
            meters.inputLevel1 = zk20::FollowLevel(
                meters.inputLevel1, static_cast<float>(std::abs(b1[i])), attack, release);
            b2[i] *= inputGain2;
            meters.inputLevel2 = zk20::FollowLevel(
                meters.inputLevel2, static_cast<float>(std::abs(b2[i])), attack, release);
            add_white_noise(&b1[i]);
            add_white_noise(&b2[i]);
        }
        if (oversampling) {
            // Zero-stuffing halved the level; the band limit removes the image.
            for (long i = 0; i < count; ++i) {
                b1[i] *= 2.0;
                b2[i] *= 2.0;
            }
        }
    }
    const bool monoMakerActive = monoMakerOn && monoMakerFrequency > 20.0;
    const bool widthActive = stereoWidthOn && stereoWidth != 1.0;
    const bool midSideStage =
        (monoMakerActive || widthActive) && blockWise && !HasOwnMsConversion();
    const bool listened = eqOn && autoListenActive;
    // The mid/side stage joins the chain's pass unless the listened section
    // comes between them.
    const bool midSideInChain = midSideStage && !listened;
    const zk::MidSideTail tail{monoMakerActive ? monoMaker.GetBiquad(true) : nullptr,
                               monoMakerActive ? monoMaker.GetBiquad(false) : nullptr,
                               stereoWidthOn, stereoWidth};
    if (plainFilterLoops) {
        // One section after another over each buffer: what the fused pass equals.
        if (oversampling) {
            filters[0].aiFilter.FilterBufferReference(b1, count);
            filters[1].aiFilter.FilterBufferReference(b2, count);
        }
        if (eqOn && !autoListenActive) {
            RunPlainChain(channel1, filters[0], b1, count);
            RunPlainChain(channel2, filters[1], b2, count);
        }
    } else {
        // The band limit and the chain of both channels as one fused pass.
        StageList stages;
        if (oversampling) {
            stages.AddCascade(filters[0].aiFilter, filters[1].aiFilter, true, true);
        }
        if (eqOn && !autoListenActive) {
            CollectChain(stages, channel1, channel2, filters[0], filters[1]);
        }
        zk::FilterCascadeStereo(stages.stage, stages.count, midSideInChain ? &tail : nullptr, b1,
                                b2, count, &chainPlan);
    }
    if (listened) {
        RunListenedSection(count);
    }

    if (midSideStage) {
        if (!midSideInChain) {
            zk::RunMidSideStage(b1, b2, count, tail.mid, tail.side, tail.width, tail.widthFactor);
        }
    } else if (monoMakerActive || widthActive) {
        ConvertBetweenMsAndLr(count);
        if (monoMakerActive) {
            if (plainFilterLoops) {
                monoMaker.FilterMSBuffers(b1, b2, count);
            } else {
                // Mid shelf and side high-pass side by side in one register.
                const zk::StereoStage stage{
                    {monoMaker.GetBiquad(true), monoMaker.GetBiquad(false)}};
                zk::FilterCascadeStereo(&stage, 1, b1, b2, count);
            }
        }
        if (stereoWidthOn) {
            for (long i = 0; i < count; ++i) {
                b2[i] *= stereoWidth;
            }
        }
        ConvertBetweenMsAndLr(count);
    }

    // Output gains, balance and correlation, routing, output levels (and with the
    // block-wise input stage the input levels).
    const double gain1 = outputGain1 * listenGain;
    const double gain2 = outputGain2 * listenGain;
    const zk20::Route route = CurrentRoute();
    if (blockWise) {
        zk20::FollowOutputBlock(meters, b1, b2, count, gain1, gain2, route,
                                blockInput ? inputMagnitudes.data() : nullptr, attack, release);
    } else {
        zk20::FollowOutputPlain(meters, b1, b2, count, gain1, gain2, route, nullptr, attack,
                                release);
    }
    // A NaN or infinity from the input stays in every running section's history
    // for good, so a block that ends non-finite clears the history; the meters
    // drop what is not finite. Finite blocks are not touched.
    if (count > 0 && !(std::isfinite(b1[count - 1]) && std::isfinite(b2[count - 1]))) {
        ClearFilterHistory();
    }
    zk20::ClearNonFinite(meters);
    meterBoard.Publish(meters, release, processSampleRate);
}

void CZkmorva20SignalProcessing::RunPlainChain(const ChannelSettings& s,
                                               CZkmorva20ChannelFilters& f, double* buffer,
                                               long count) {
    // A band at exactly unity gain is skipped, its history frozen (see BandRuns).
    auto band = [buffer, count](const BandSettings& b, CBiquad& filter) {
        if (b.on && b.gain != 1.0) {
            filter.FilterBuffer(buffer, count);
        }
    };
    auto shifter = [buffer, count](const BandSettings& b, CZkmorvaShifter& filter) {
        if (b.on && b.gain != 1.0) {
            filter.FilterBufferReference(buffer, count);
        }
    };
    if (s.hp.on && s.hp.frequency > 20.0) {
        f.hpFilter.FilterBufferReference(buffer, count);
    }
    band(s.lf, f.bandFilter[0]);
    shifter(s.bassShift, f.bassShifter);
    band(s.lmf, f.bandFilter[1]);
    band(s.mf, f.bandFilter[2]);
    band(s.hmf, f.bandFilter[3]);
    shifter(s.presShift, f.presenceShifter);
    band(s.hf, f.bandFilter[4]);
    if (s.lp.on && s.lp.frequency <= 25999.0) {
        f.lpFilter.FilterBufferReference(buffer, count);
    }
}

// While listening only the listened control's section runs, on both channels,
// whatever its switch and gain.
void CZkmorva20SignalProcessing::RunListenedSection(long count) {
    const zk20::ControlRole role = zk20::LocateControl(autoListenControl).role;
    double* buffers[2] = {workBuffer1.data(), workBuffer2.data()};
    for (int ch = 0; ch < 2; ++ch) {
        CZkmorva20ChannelFilters& f = filters[static_cast<size_t>(ch)];
        double* b = buffers[ch];
        switch (role.kind) {
        case zk20::ListenKind::CutQ: {
            CZkmorvaHpLpFilter& cut = role.section == zk20::Section::Hp ? f.hpFilter : f.lpFilter;
            if (plainFilterLoops) {
                cut.FilterBufferReference(b, count);
            } else {
                cut.FilterBuffer(b, count);
            }
            break;
        }
        case zk20::ListenKind::Frequency:
            f.autoListenFilter.FilterBufferAndInvert(b, count);
            break;
        case zk20::ListenKind::BandQ:
        case zk20::ListenKind::BandGain:
            f.bandFilter[static_cast<size_t>(zk20::BandIndex(role.section))].FilterBuffer(b, count);
            break;
        case zk20::ListenKind::None:
            break;
        }
    }
}

zk20::Route CZkmorva20SignalProcessing::CurrentRoute() {
    if (autoListenActive) {
        // A linked control is heard on both channels; otherwise the listened
        // channel plays on both outputs.
        if (GetLinkStatus(autoListenControl) != 0) {
            return zk20::Route::None;
        }
        return autoListenControl >= zk20::kChannelFirstId[0] &&
                       autoListenControl <= zk20::kLastChannel1ListenId
                   ? zk20::Route::FirstOnBoth
                   : zk20::Route::SecondOnBoth;
    }
    if (soloMode == 1) {
        return zk20::Route::FirstOnBoth;
    }
    if (soloMode == 2) {
        return zk20::Route::SecondOnBoth;
    }
    return zk20::Route::None;
}

void CZkmorva20SignalProcessing::RunInputStage(long count) {
    zk20::RunInputBlock(workBuffer1.data(), workBuffer2.data(), count, inputGain1, inputGain2,
                        oversampling, inputMagnitudes.data(), noiseSeed);
}

// GCC resolves a virtual member function for an object to its address, so an
// override shows as a different address. Elsewhere overriding is assumed.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpmf-conversions"
bool CZkmorva20SignalProcessing::HasOwnMsConversion() {
    using Conversion = void (*)(CZkmorva20SignalProcessing*, long);
    return reinterpret_cast<Conversion>(
               this->*(&CZkmorva20SignalProcessing::ConvertBetweenMsAndLr)) !=
           reinterpret_cast<Conversion>(&CZkmorva20SignalProcessing::ConvertBetweenMsAndLr);
}
#pragma GCC diagnostic pop
#else
bool CZkmorva20SignalProcessing::HasOwnMsConversion() {
    return true;
}
#endif

void CZkmorva20SignalProcessing::ConvertBetweenMsAndLr(long count) {
    if (count < 1 || !HasWorkBuffers(count)) {
        return;
    }
    double* b1 = workBuffer1.data();
    double* b2 = workBuffer2.data();
    for (long i = 0; i < count; ++i) {
        const double a = b1[i];
        const double b = b2[i];
        b1[i] = (a + b) / zk::kMidSideDivisor;
        b2[i] = (a - b) / zk::kMidSideDivisor;
    }
}

// ---------------------------------------------------------------- auto-listen

void CZkmorva20SignalProcessing::BeginAutoListen(long id) {
    if (autoListenOn && !textBoxActive.load(std::memory_order_relaxed) && !autoListenActive) {
        autoListenControl = id;
        listenGain = 1.0;
        // A linked control is set up on both channels: the second pass works on
        // the counterpart. The bound is re-read each pass, as the unit may change it.
        long passId = id;
        for (long k = 0; k <= (GetLinkStatus(id) & 255); ++k) {
            if (k == 1) {
                passId = GetLinkedControl(id);
            }
            BeginListenPass(passId);
        }
        // The display names the control touched; the editor lights its partner
        // too while the section is linked.
        if (autoListenActive) {
            DrawAutoListen(true, id);
        }
    }
    textBoxActive.store(false, std::memory_order_relaxed);
}

void CZkmorva20SignalProcessing::BeginListenPass(long id) {
    const zk20::LocatedControl c = zk20::LocateControl(id);
    const std::uint8_t kinds = zk20::ModeKinds(autoListenMode);
    ChannelSettings& s = GetChannelSettings(c.channel);
    CZkmorva20ChannelFilters& f = filters[static_cast<size_t>(c.channel)];
    const int band = zk20::BandIndex(c.role.section);

    if (kinds & zk20::kListenQ) {
        if (c.role.kind == zk20::ListenKind::CutQ) {
            autoListenActive = true;
        } else if (c.role.kind == zk20::ListenKind::BandQ) {
            // Exaggerate the band so its shape is heard; a boost is compensated.
            const double gain = (s.*zk20::kBandSettings[static_cast<size_t>(band)]).gain;
            CBiquad& filter = f.bandFilter[static_cast<size_t>(band)];
            if (gain >= 1.0) {
                listenGain = gain * 0.25;
                filter.Update(4.0, CBiquad::kGain);
            } else {
                filter.Update(0.25, CBiquad::kGain);
            }
            autoListenActive = true;
        }
    }
    if ((kinds & zk20::kListenFrequency) && c.role.kind == zk20::ListenKind::Frequency) {
        double frequency = 0.0;
        if (c.role.section == zk20::Section::Hp) {
            frequency = s.hp.frequency;
        } else if (c.role.section == zk20::Section::Lp) {
            frequency = s.lp.frequency;
        } else {
            frequency = (s.*zk20::kBandSettings[static_cast<size_t>(band)]).frequency;
        }
        f.autoListenFilter.Update(filterParameters{Notch, 0.0, frequency, 10.0});
        autoListenActive = true;
    }
    if ((kinds & zk20::kListenGain) && c.role.kind == zk20::ListenKind::BandGain) {
        autoListenActive = true;
    }
}

void CZkmorva20SignalProcessing::EndAutoListen(long id) {
    if (!autoListenOn || autoListenControl != id) {
        return;
    }
    DrawAutoListen(false, id);
    long passId = id;
    for (long k = 0; k <= (GetLinkStatus(id) & 255); ++k) {
        if (k == 1) {
            passId = GetLinkedControl(id);
        }
        EndListenPass(passId);
    }
    if (autoListenActive) {
        autoListenActive = false;
        listenGain = 1.0;
    }
}

void CZkmorva20SignalProcessing::EndListenPass(long id) {
    const zk20::LocatedControl c = zk20::LocateControl(id);
    if (c.role.kind == zk20::ListenKind::BandQ) {
        const size_t band = static_cast<size_t>(zk20::BandIndex(c.role.section));
        const double gain = (GetChannelSettings(c.channel).*zk20::kBandSettings[band]).gain;
        filters[static_cast<size_t>(c.channel)].bandFilter[band].Update(gain, CBiquad::kGain);
    }
}
