#pragma once

// The two settings every processor and unit suite runs with: the defaults (every
// band flat, cut filters out of range: only the anti-imaging path filters) and
// every section active with non-zero gain, 30 dB/oct cut filters, mono maker and
// stereo width on. Plus the count of multiplies and adds each one costs.
#include "BenchSupport.h"
#include "dsp/Zkmorva10SignalProcessing.h"
#include "dsp/Zkmorva20SignalProcessing.h"

#include <cmath>

namespace zkbench {

inline double Db(double db) {
    return std::pow(10.0, db / 20.0);
}

// Band gains (dB), frequencies, Qs for LF, LMF, MF, HMF, HF.
inline constexpr double kBandDb[] = {3.0, -4.0, 2.5, -3.0, 4.0};
inline constexpr double kBandHz[] = {100.0, 300.0, 2000.0, 5000.0, 12000.0};
inline constexpr double kBandQ[] = {0.7, 1.0, 2.0, 3.0, 0.7};
inline constexpr double kHpHz = 60.0, kLpHz = 18000.0, kSlope30 = 130.0;
inline constexpr double kBassShiftDb = 2.0, kPresenceShiftDb = -2.0;

template <class Settings> void SetBandSettings(Settings& s, double db, double hz, double q) {
    s.gain = Db(db);
    s.frequency = hz;
    s.q = q;
    s.on = true;
}

inline void ActivateAll(CZkmorva20SignalProcessing& p) {
    for (int ch = 0; ch < 2; ++ch) {
        ChannelSettings& s = p.GetChannelSettings(ch);
        CZkmorva20ChannelFilters& f = p.GetChannelFilters(ch);
        BandSettings* bands[] = {&s.lf, &s.lmf, &s.mf, &s.hmf, &s.hf};
        for (int b = 0; b < 5; ++b) {
            SetBandSettings(*bands[b], kBandDb[b], kBandHz[b], kBandQ[b]);
            f.bandFilter[static_cast<std::size_t>(b)].Update(
                filterParameters{Peak, bands[b]->gain, kBandHz[b], kBandQ[b]});
        }
        s.hp = {kSlope30, kHpHz, true};
        s.lp = {kSlope30, kLpHz, true};
        for (CZkmorvaHpLpFilter* cut : {&f.hpFilter, &f.lpFilter}) {
            cut->Update(cut == &f.hpFilter ? kHpHz : kLpHz, CZkmorvaHpLpFilter::kFrequency);
            cut->Update(kSlope30, CZkmorvaHpLpFilter::kSlope);
        }
        SetBandSettings(s.bassShift, kBassShiftDb, 89.0, 2.14);
        SetBandSettings(s.presShift, kPresenceShiftDb, 12600.0, 1.13);
        f.bassShifter.Update(89.0, CZkmorvaShifter::kFrequency);
        f.bassShifter.Update(s.bassShift.gain, CZkmorvaShifter::kGain);
        f.presenceShifter.Update(12600.0, CZkmorvaShifter::kFrequency);
        f.presenceShifter.Update(s.presShift.gain, CZkmorvaShifter::kGain);
    }
    p.monoMakerOn = true;
    p.monoMakerFrequency = 120.0;
    p.GetMonoMaker().Update(120.0, 120.0);
    p.stereoWidthOn = true;
    p.stereoWidth = 1.3;
}

inline void ActivateAll(CZkmorva10SignalProcessing& p) {
    for (int b = 0; b < 5; ++b) {
        SetBandSettings(p.band[static_cast<std::size_t>(b)], kBandDb[b], kBandHz[b], kBandQ[b]);
        p.GetBandFilter(b).Update(filterParameters{Peak, p.band[static_cast<std::size_t>(b)].gain,
                                                   kBandHz[b], kBandQ[b]});
    }
    p.hpOn = p.lpOn = true;
    p.hpFrequency = kHpHz;
    p.lpFrequency = kLpHz;
    p.hpSlope = p.lpSlope = kSlope30;
    p.GetHpFilter().Update(kHpHz, CZkmorvaHpLpFilter::kFrequency);
    p.GetHpFilter().Update(kSlope30, CZkmorvaHpLpFilter::kSlope);
    p.GetLpFilter().Update(kLpHz, CZkmorvaHpLpFilter::kFrequency);
    p.GetLpFilter().Update(kSlope30, CZkmorvaHpLpFilter::kSlope);
    p.bassShift = {Db(kBassShiftDb), 2.14, 89.0, true};
    p.presenceShift = {Db(kPresenceShiftDb), 1.13, 12600.0, true};
    p.GetBassShifter().Update(89.0, CZkmorvaShifter::kFrequency);
    p.GetBassShifter().Update(p.bassShift.gain, CZkmorvaShifter::kGain);
    p.GetPresenceShifter().Update(12600.0, CZkmorvaShifter::kFrequency);
    p.GetPresenceShifter().Update(p.presenceShift.gain, CZkmorvaShifter::kGain);
}

template <class Cascade> int ActiveSections(Cascade& c) {
    int n = 0;
    for (int i = 0; i < Cascade::kSectionCount; ++i) {
        n += c.GetBiquad(i)->IsIdentity() ? 0 : 1;
    }
    return n;
}

// Sections one channel runs per internal sample in the normal chain.
inline int ChainSections(const ChannelSettings& s, CZkmorva20ChannelFilters& f) {
    auto band = [](const BandSettings& b, int sections) {
        return b.on && b.gain != 1.0 ? sections : 0;
    };
    int n = 0;
    n += s.hp.on && s.hp.frequency > 20.0 ? ActiveSections(f.hpFilter) : 0;
    n += band(s.lf, 1) + band(s.lmf, 1) + band(s.mf, 1) + band(s.hmf, 1) + band(s.hf, 1);
    n += band(s.bassShift, ActiveSections(f.bassShifter));
    n += band(s.presShift, ActiveSections(f.presenceShifter));
    n += s.lp.on && s.lp.frequency <= 25999.0 ? ActiveSections(f.lpFilter) : 0;
    return n;
}

// Double multiplies and adds per host frame (both channels). Divisions of the
// mid/side matrix count as one operation each; meters (single precision,
// branches) and the noise generator (integer) are not counted.
inline double OpsPerFrame(CZkmorva20SignalProcessing& p) {
    const double perFrame = p.IsOversampling() ? 2.0 : 1.0;
    double perSample = 0.0;
    for (int ch = 0; ch < 2; ++ch) {
        perSample += 3.0; // input gain, noise, output gain
        if (p.IsOversampling()) {
            perSample += 1.0 + kSectionOps * CZkmorvaAiFilter::kSectionCount;
        }
        if (p.eqOn) {
            perSample +=
                kSectionOps * ChainSections(p.GetChannelSettings(ch), p.GetChannelFilters(ch));
        }
    }
    const bool mono = p.monoMakerOn && p.monoMakerFrequency > 20.0;
    if (mono || (p.stereoWidthOn && p.stereoWidth != 1.0)) {
        perSample += 2.0 * 4.0;                      // two matrix passes: two sums, two quotients
        perSample += p.stereoWidthOn ? 1.0 : 0.0;    // side width
        perSample += mono ? 2.0 * kSectionOps : 0.0; // mid shelf and side high-pass
    }
    return perSample * perFrame;
}

// Per host frame of one channel.
inline double OpsPerFrame(CZkmorva10SignalProcessing& p) {
    const double perFrame = p.IsOversampling() ? 2.0 : 1.0;
    double perSample = 4.0; // input gain, polarity, noise, output gain
    if (p.IsOversampling()) {
        perSample += 1.0 + kSectionOps * CZkmorvaAiFilter::kSectionCount;
    }
    if (p.eqOn) {
        int n = p.IsHighPassActive() ? ActiveSections(p.GetHpFilter()) : 0;
        for (int b = 0; b < 5; ++b) {
            n += p.IsBandActive(b) ? 1 : 0;
        }
        n += p.IsBassShifterActive() ? ActiveSections(p.GetBassShifter()) : 0;
        n += p.IsPresenceShifterActive() ? ActiveSections(p.GetPresenceShifter()) : 0;
        n += p.IsLowPassActive() ? ActiveSections(p.GetLpFilter()) : 0;
        perSample += kSectionOps * n;
    }
    return perSample * perFrame;
}

} // namespace zkbench
