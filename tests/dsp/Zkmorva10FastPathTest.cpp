// The channel processor with fused filter passes against the same processor on
// the plain per-section loops: random settings, rates, block lengths and
// auto-listen, output and meters equal bit for bit.
#include "FastPathRig.h"
#include "dsp/Zkmorva10SignalProcessing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace {

using namespace zktest;

// Settings as the unit's dispatch leaves them: fields and the sections behind them.
void RandomSettings(CZkmorva10SignalProcessing& p, std::uint32_t seed) {
    Rng r(seed);
    auto gain = [&r] {
        return Pick(r, 4) == 0 ? 1.0 : std::pow(10.0, Uniform(r, -12.0, 12.0) / 20.0);
    };
    constexpr double kSlopes[] = {4.0, 106.0, 112.0, 118.0, 124.0, 130.0};
    p.eqOn = Pick(r, 6) != 0;
    p.inputGain = Uniform(r, 0.2, 2.0);
    p.outputGain = Uniform(r, 0.2, 2.0);
    p.phase = Pick(r, 2) ? 1.0 : -1.0;
    p.hpOn = Pick(r, 4) != 0;
    p.hpFrequency = Uniform(r, 10.0, 500.0);
    p.hpSlope = kSlopes[Pick(r, 6)];
    p.GetHpFilter().Update(p.hpFrequency, CZkmorvaHpLpFilter::kFrequency);
    p.GetHpFilter().Update(p.hpSlope, CZkmorvaHpLpFilter::kSlope);
    p.lpOn = Pick(r, 4) != 0;
    p.lpFrequency = Uniform(r, 2000.0, 26500.0);
    p.lpSlope = kSlopes[Pick(r, 6)];
    p.GetLpFilter().Update(p.lpFrequency, CZkmorvaHpLpFilter::kFrequency);
    p.GetLpFilter().Update(p.lpSlope, CZkmorvaHpLpFilter::kSlope);
    for (int b = 0; b < CZkmorva10SignalProcessing::kBandCount; ++b) {
        auto& band = p.band[static_cast<std::size_t>(b)];
        band = {gain(), Uniform(r, 0.3, 8.0), Uniform(r, 30.0, 18000.0), Pick(r, 5) != 0};
        const int type = b == 0 || b == 4 ? Pick(r, 3) : Peak; // shelves at the ends
        p.GetBandFilter(b).Update(filterParameters{type, band.gain, band.frequency, band.q});
    }
    p.bassShift = {gain(), 2.14, Uniform(r, 40.0, 200.0), Pick(r, 5) != 0};
    p.presenceShift = {gain(), 1.13, Uniform(r, 8000.0, 20000.0), Pick(r, 5) != 0};
    p.GetBassShifter().Update(p.bassShift.frequency, CZkmorvaShifter::kFrequency);
    p.GetBassShifter().Update(p.bassShift.gain, CZkmorvaShifter::kGain);
    p.GetPresenceShifter().Update(p.presenceShift.frequency, CZkmorvaShifter::kFrequency);
    p.GetPresenceShifter().Update(p.presenceShift.gain, CZkmorvaShifter::kGain);
}

TEST(Zkmorva10FastPath, FusedChainEqualsPlainLoops) {
    Rng rng(21);
    constexpr double kRates[] = {44100.0, 48000.0, 88200.0, 96000.0};
    for (int trial = 0; trial < 40; ++trial) {
        CZkmorva10SignalProcessing fused, plain;
        plain.SetPlainFilterLoops(true);
        const double rate = kRates[Pick(rng, 4)];
        const std::uint32_t seed = static_cast<std::uint32_t>(rng());
        // Listen to one control now and then: ids 6..30 cover every listened kind.
        const long listenId = Pick(rng, 3) == 0 ? 6 + Pick(rng, 25) : -1;
        for (CZkmorva10SignalProcessing* p : {&fused, &plain}) {
            p->UpdateSampleRate(rate);
            p->AllocateWorkBuffer(512);
            p->InitBuffers();
            RandomSettings(*p, seed);
            if (listenId >= 0) {
                p->BeginAutoListen(listenId);
            }
        }
        for (int block = 0; block < 6; ++block) {
            const long n = RandomBlock(rng);
            std::vector<double> x = RandomSignal(rng, n);
            for (double& v : x) {
                v = std::clamp(v, -1.0, 1.0);
            }
            std::vector<double> a = x, b = x;
            double* pa = a.data();
            double* pb = b.data();
            plain.ProcessDoubles(&pa, &pa, n);
            fused.ProcessDoubles(&pb, &pb, n);
            ASSERT_TRUE(SameBits(a, b))
                << "trial " << trial << " at " << rate << " Hz, block " << block << " of " << n
                << (listenId >= 0 ? ", listening to " + std::to_string(listenId) : "");
            ASSERT_EQ(plain.GetOutputMeter(), fused.GetOutputMeter());
            ASSERT_EQ(plain.GetInputMeter(), fused.GetInputMeter());
        }
        // Both processors leave every section with the same history.
        std::vector<double> ha(CZkmorvaAiFilter::kStateSize), hb(ha.size());
        plain.GetAiFilter().GetBuffers(ha.data());
        fused.GetAiFilter().GetBuffers(hb.data());
        ASSERT_TRUE(SameBits(ha, hb)) << "band-limit history, trial " << trial;
        for (int k = 0; k < CZkmorva10SignalProcessing::kBandCount; ++k) {
            ASSERT_TRUE(SameBits(History(plain.GetBandFilter(k)), History(fused.GetBandFilter(k))))
                << "band " << k + 1 << " history, trial " << trial;
        }
    }
}

} // namespace
