// The two-channel processor with both channels in one fused pass against the
// same processor on the plain per-section loops: random settings (different per
// channel, so that stages run on one channel only), rates, block lengths, mid/side
// stage and auto-listen; outputs, meters and histories equal bit for bit.
#include "FastPathRig.h"
#include "dsp/Zkmorva20SignalProcessing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace {

using namespace zktest;

void RandomBand(Rng& r, BandSettings& s, CBiquad& b, int type) {
    s.gain = Pick(r, 4) == 0 ? 1.0 : std::pow(10.0, Uniform(r, -12.0, 12.0) / 20.0);
    s.q = Uniform(r, 0.3, 8.0);
    s.frequency = Uniform(r, 30.0, 18000.0);
    s.on = Pick(r, 5) != 0;
    b.Update(filterParameters{type, s.gain, s.frequency, s.q});
}

void RandomCut(Rng& r, CutSettings& s, CZkmorvaHpLpFilter& f, double lo, double hi) {
    constexpr double kSlopes[] = {4.0, 106.0, 112.0, 118.0, 124.0, 130.0};
    s = {kSlopes[Pick(r, 6)], Uniform(r, lo, hi), Pick(r, 4) != 0};
    f.Update(s.frequency, CZkmorvaHpLpFilter::kFrequency);
    f.Update(s.slope, CZkmorvaHpLpFilter::kSlope);
}

void RandomShifter(Rng& r, BandSettings& s, CZkmorvaShifter& f, double lo, double hi) {
    s.gain = Pick(r, 4) == 0 ? 1.0 : std::pow(10.0, Uniform(r, -12.0, 12.0) / 20.0);
    s.frequency = Uniform(r, lo, hi);
    s.on = Pick(r, 5) != 0;
    f.Update(s.frequency, CZkmorvaShifter::kFrequency);
    f.Update(s.gain, CZkmorvaShifter::kGain);
}

// Settings as the unit's dispatch leaves them: fields and the sections behind them.
void RandomSettings(CZkmorva20SignalProcessing& p, std::uint32_t seed) {
    Rng r(seed);
    p.eqOn = Pick(r, 6) != 0;
    p.inputGain1 = Uniform(r, 0.2, 2.0);
    p.inputGain2 = Uniform(r, 0.2, 2.0);
    p.outputGain1 = Uniform(r, 0.2, 2.0);
    p.outputGain2 = Uniform(r, 0.2, 2.0);
    p.soloMode = Pick(r, 3);
    p.monoMakerOn = Pick(r, 2) != 0;
    p.monoMakerFrequency = Pick(r, 3) == 0 ? 20.0 : Uniform(r, 30.0, 300.0);
    p.GetMonoMaker().Update(p.monoMakerFrequency, Uniform(r, 30.0, 300.0));
    p.stereoWidthOn = Pick(r, 2) != 0;
    p.stereoWidth = Pick(r, 3) == 0 ? 1.0 : Uniform(r, 0.0, 2.0);
    // One channel a copy of the other now and then (every stage on both lanes).
    const bool same = Pick(r, 3) == 0;
    const std::uint32_t channelSeed = static_cast<std::uint32_t>(r());
    for (int ch = 0; ch < 2; ++ch) {
        Rng c(same ? channelSeed : channelSeed + static_cast<std::uint32_t>(ch));
        ChannelSettings& s = p.GetChannelSettings(ch);
        CZkmorva20ChannelFilters& f = p.GetChannelFilters(ch);
        RandomCut(c, s.hp, f.hpFilter, 10.0, 500.0);
        RandomCut(c, s.lp, f.lpFilter, 2000.0, 26500.0);
        BandSettings* bands[] = {&s.lf, &s.lmf, &s.mf, &s.hmf, &s.hf};
        for (int b = 0; b < 5; ++b) {
            const int type = b == 0 || b == 4 ? Pick(c, 3) : Peak; // shelves at the ends
            RandomBand(c, *bands[b], f.bandFilter[static_cast<std::size_t>(b)], type);
        }
        RandomShifter(c, s.bassShift, f.bassShifter, 40.0, 200.0);
        RandomShifter(c, s.presShift, f.presenceShifter, 8000.0, 20000.0);
    }
}

std::vector<double> Histories(CZkmorva20SignalProcessing& p) {
    std::vector<double> h;
    auto add = [&h](auto& filter, int size) {
        const std::size_t at = h.size();
        h.resize(at + static_cast<std::size_t>(size));
        filter.GetBuffers(h.data() + at);
    };
    for (int ch = 0; ch < 2; ++ch) {
        CZkmorva20ChannelFilters& f = p.GetChannelFilters(ch);
        add(f.aiFilter, CZkmorvaAiFilter::kStateSize);
        add(f.hpFilter, CZkmorvaHpLpFilter::kStateSize);
        add(f.lpFilter, CZkmorvaHpLpFilter::kStateSize);
        add(f.bassShifter, CZkmorvaShifter::kStateSize);
        add(f.presenceShifter, CZkmorvaShifter::kStateSize);
        for (CBiquad& b : f.bandFilter) {
            add(b, CBiquad::kStateSize);
        }
        add(f.autoListenFilter, CBiquad::kStateSize);
    }
    add(*p.GetMonoMaker().GetBiquad(true), CBiquad::kStateSize);
    add(*p.GetMonoMaker().GetBiquad(false), CBiquad::kStateSize);
    return h;
}

TEST(Zkmorva20FastPath, TwoChannelPassEqualsPlainLoops) {
    Rng rng(31);
    constexpr double kRates[] = {44100.0, 48000.0, 88200.0, 96000.0};
    for (int trial = 0; trial < 40; ++trial) {
        CZkmorva20SignalProcessing fused, plain;
        plain.SetPlainFilterLoops(true);
        const double rate = kRates[Pick(rng, 4)];
        const std::uint32_t seed = static_cast<std::uint32_t>(rng());
        // Listen to a control now and then: ids 18..99 cover every listened kind.
        const long listenId = Pick(rng, 3) == 0 ? 18 + Pick(rng, 82) : -1;
        for (CZkmorva20SignalProcessing* p : {&fused, &plain}) {
            p->UpdateSampleRate(rate);
            p->AllocateWorkBuffers(512);
            p->InitBuffers();
            RandomSettings(*p, seed);
            if (listenId >= 0) {
                p->BeginAutoListen(listenId);
            }
        }
        for (int block = 0; block < 6; ++block) {
            const long n = RandomBlock(rng);
            std::vector<double> l = RandomSignal(rng, n), r = RandomSignal(rng, n);
            for (std::vector<double>* v : {&l, &r}) {
                for (double& x : *v) {
                    x = std::clamp(x, -1.0, 1.0);
                }
            }
            std::vector<double> la = l, ra = r, lb = l, rb = r;
            double* ina[2] = {l.data(), r.data()};
            double* outa[2] = {la.data(), ra.data()};
            double* outb[2] = {lb.data(), rb.data()};
            plain.ProcessDoubles(ina, outa, n);
            fused.ProcessDoubles(ina, outb, n);
            const std::string where = "trial " + std::to_string(trial) + " at " +
                                      std::to_string(rate) + " Hz, block of " + std::to_string(n);
            ASSERT_TRUE(SameBits(la, lb)) << "channel 1, " << where;
            ASSERT_TRUE(SameBits(ra, rb)) << "channel 2, " << where;
            const zk20::CZkmorva20MeterReadings ma = plain.ReadMeters(), mb = fused.ReadMeters();
            ASSERT_EQ(ma.outputLevel1, mb.outputLevel1) << where;
            ASSERT_EQ(ma.outputLevel2, mb.outputLevel2) << where;
            ASSERT_EQ(ma.balanceSmoothed, mb.balanceSmoothed) << where;
        }
        ASSERT_TRUE(SameBits(Histories(plain), Histories(fused))) << "histories, trial " << trial;
    }
}

} // namespace
