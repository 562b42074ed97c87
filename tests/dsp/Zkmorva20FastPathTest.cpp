// The two-channel processor with both channels in one fused pass, block-wise
// meters and block-wise noise against the same processor on the plain
// per-section and per-sample loops: random settings (different per channel, so
// that stages run on one channel only), rates, block lengths, mid/side stage,
// solo and auto-listen, signals that reach every branch of the meter rules;
// outputs, every meter value and sum, correlation results and histories equal
// bit for bit.
#include "FastPathRig.h"
#include "dsp/Zkmorva20SignalProcessing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
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

::testing::AssertionResult SameMeters(const zk20::CZkmorva20MeterState& a,
                                      const zk20::CZkmorva20MeterState& b) {
    constexpr int kFields = sizeof(zk20::CZkmorva20MeterState) / sizeof(float);
    float fa[kFields], fb[kFields];
    std::memcpy(fa, &a, sizeof fa);
    std::memcpy(fb, &b, sizeof fb);
    for (int i = 0; i < kFields; ++i) {
        if (std::bit_cast<std::uint32_t>(fa[i]) != std::bit_cast<std::uint32_t>(fb[i])) {
            return ::testing::AssertionFailure()
                   << "meter field " << i << ": " << fa[i] << " vs " << fb[i];
        }
    }
    return ::testing::AssertionSuccess();
}

// Input pairs that reach the meters' branches: overs, silence on one or both
// channels, equal and opposite channels, a ratio near the balance's end, the
// correlation gate's edge, and plain random signal.
void FillSignal(Rng& rng, std::vector<double>& l, std::vector<double>& r) {
    const int kind = Pick(rng, 7);
    for (std::size_t i = 0; i < l.size(); ++i) {
        const double a = l[i];
        switch (kind) {
        case 0:
            l[i] = std::clamp(a, -1.0, 1.0);
            r[i] = std::clamp(r[i], -1.0, 1.0);
            break;
        case 1: // overs
            l[i] = a * 3.0;
            r[i] = std::clamp(r[i], -1.0, 1.0) * 1.5;
            break;
        case 2: // one channel or both silent now and then
            l[i] = Pick(rng, 3) == 0 ? 0.0 : std::clamp(a, -1.0, 1.0);
            r[i] = Pick(rng, 2) == 0 ? 0.0 : std::clamp(r[i], -1.0, 1.0);
            break;
        case 3: // equal, opposite
            l[i] = std::clamp(a, -1.0, 1.0);
            r[i] = Pick(rng, 2) == 0 ? l[i] : -l[i];
            break;
        case 4: // ratios around 1/4 and levels around the gate
            l[i] = Uniform(rng, -1.0, 1.0) * 0.001;
            r[i] = l[i] * (Pick(rng, 2) == 0 ? 0.25 : Uniform(rng, 0.2, 0.3));
            break;
        case 5: // silence
            l[i] = r[i] = 0.0;
            break;
        default: // the rig's awkward values, magnitudes kept below 4
            l[i] = std::clamp(a, -4.0, 4.0);
            r[i] = std::clamp(r[i], -4.0, 4.0);
            break;
        }
    }
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
            p->AllocateWorkBuffers(1100);
            p->InitBuffers();
            RandomSettings(*p, seed);
            if (listenId >= 0) {
                p->BeginAutoListen(listenId);
            }
        }
        for (int block = 0; block < 6; ++block) {
            const long n = RandomBlock(rng);
            std::vector<double> l = RandomSignal(rng, n), r = RandomSignal(rng, n);
            FillSignal(rng, l, r);
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
            ASSERT_TRUE(SameMeters(plain.GetMeterState(), fused.GetMeterState())) << where;
        }
        ASSERT_TRUE(SameBits(Histories(plain), Histories(fused))) << "histories, trial " << trial;
    }
}

// Float host buffers, in place as hosts may pass them, every rate (with and
// without zero-stuffing) and odd and even block lengths: the fast path's
// conversions into and out of the work buffers equal the plain per-frame loops.
TEST(Zkmorva20FastPath, FloatBlocksEqualPlainLoops) {
    Rng rng(57);
    constexpr double kRates[] = {44100.0, 48000.0, 88200.0, 96000.0};
    for (int trial = 0; trial < 16; ++trial) {
        CZkmorva20SignalProcessing fused, plain;
        plain.SetPlainFilterLoops(true);
        const double rate = kRates[trial % 4];
        const std::uint32_t seed = static_cast<std::uint32_t>(rng());
        for (CZkmorva20SignalProcessing* p : {&fused, &plain}) {
            p->UpdateSampleRate(rate);
            p->AllocateWorkBuffers(1100);
            p->InitBuffers();
            RandomSettings(*p, seed);
        }
        for (int block = 0; block < 4; ++block) {
            const long n = RandomBlock(rng);
            std::vector<double> l = RandomSignal(rng, n), r = RandomSignal(rng, n);
            FillSignal(rng, l, r);
            std::vector<float> la(l.begin(), l.end()), ra(r.begin(), r.end());
            std::vector<float> lb = la, rb = ra;
            float* a[2] = {la.data(), ra.data()};
            float* b[2] = {lb.data(), rb.data()};
            plain.ProcessFloats(a, a, n);
            fused.ProcessFloats(b, b, n);
            const std::string where = "trial " + std::to_string(trial) + " at " +
                                      std::to_string(rate) + " Hz, block of " + std::to_string(n);
            for (long i = 0; i < n; ++i) {
                ASSERT_EQ(std::bit_cast<std::uint32_t>(la[static_cast<std::size_t>(i)]),
                          std::bit_cast<std::uint32_t>(lb[static_cast<std::size_t>(i)]))
                    << "channel 1 frame " << i << ", " << where;
                ASSERT_EQ(std::bit_cast<std::uint32_t>(ra[static_cast<std::size_t>(i)]),
                          std::bit_cast<std::uint32_t>(rb[static_cast<std::size_t>(i)]))
                    << "channel 2 frame " << i << ", " << where;
            }
            ASSERT_TRUE(SameBits(plain.GetWorkBuffer(0), fused.GetWorkBuffer(0),
                                 fused.IsOversampling() ? 2 * n : n))
                << "work buffer 1, " << where;
            ASSERT_TRUE(SameMeters(plain.GetMeterState(), fused.GetMeterState())) << where;
        }
    }
}

// Long enough for correlation results: half a second of internal samples between
// reads, results taken by a reading thread's CalcCorrelation and applied at the
// next block, as the unit does.
TEST(Zkmorva20FastPath, CorrelationResultsEqualPlainLoops) {
    Rng rng(77);
    for (const double rate : {44100.0, 96000.0}) {
        CZkmorva20SignalProcessing fused, plain;
        plain.SetPlainFilterLoops(true);
        const std::uint32_t seed = static_cast<std::uint32_t>(rng());
        for (CZkmorva20SignalProcessing* p : {&fused, &plain}) {
            p->UpdateSampleRate(rate);
            p->AllocateWorkBuffers(4096);
            p->InitBuffers();
            RandomSettings(*p, seed);
            p->eqOn = true;
        }
        int results = 0;
        for (int block = 0; block < 40; ++block) {
            const long n = block % 7 == 3 ? 1 + Pick(rng, 4095) : 4096;
            std::vector<double> l = RandomSignal(rng, n), r = RandomSignal(rng, n);
            FillSignal(rng, l, r);
            std::vector<double> la = l, ra = r, lb = l, rb = r;
            double* in[2] = {l.data(), r.data()};
            double* outa[2] = {la.data(), ra.data()};
            double* outb[2] = {lb.data(), rb.data()};
            plain.ProcessDoubles(in, outa, n);
            fused.ProcessDoubles(in, outb, n);
            ASSERT_TRUE(SameBits(la, lb)) << "block " << block;
            ASSERT_TRUE(SameBits(ra, rb)) << "block " << block;
            const float before = plain.GetMeterState().sampleCount;
            plain.CalcCorrelation();
            fused.CalcCorrelation();
            const zk20::CZkmorva20MeterReadings ma = plain.ReadMeters(), mb = fused.ReadMeters();
            ASSERT_EQ(std::bit_cast<std::uint32_t>(ma.correlationValue),
                      std::bit_cast<std::uint32_t>(mb.correlationValue))
                << "block " << block;
            ASSERT_EQ(std::bit_cast<std::uint32_t>(ma.correlationSmoothed),
                      std::bit_cast<std::uint32_t>(mb.correlationSmoothed))
                << "block " << block;
            ASSERT_TRUE(SameMeters(plain.GetMeterState(), fused.GetMeterState()))
                << "block " << block;
            results += before >= plain.GetProcessSampleRate() * 0.5;
        }
        EXPECT_GE(results, 2) << "correlation results formed at " << rate << " Hz";
    }
}

// The block-wise noise makes exactly the values of the per-sample calls and
// leaves the seed where they would.
TEST(Zkmorva20FastPath, BlockNoiseEqualsPerSampleCalls) {
    Rng rng(5);
    for (long n : {0L, 1L, 2L, 3L, 4L, 5L, 7L, 8L, 9L, 63L, 256L, 257L}) {
        CZkmorvaSignalProcessing a, b;
        const int skip = Pick(rng, 50); // start from some other seed
        for (int i = 0; i < skip; ++i) {
            double v = 0.0, w = 0.0;
            a.add_white_noise(&v);
            b.add_white_noise(&w);
        }
        std::vector<double> block(static_cast<std::size_t>(n)), calls(block.size(), 0.0);
        a.NextNoise(block.data(), n);
        for (double& v : calls) {
            b.add_white_noise(&v);
        }
        ASSERT_TRUE(SameBits(block, calls)) << n << " values";
        double nextA = 0.0, nextB = 0.0;
        a.add_white_noise(&nextA);
        b.add_white_noise(&nextB);
        ASSERT_EQ(Bits(nextA), Bits(nextB)) << "seed after " << n << " values";
    }
}

// A unit with a noise or a mid/side matrix of its own gets it called as the
// plain loops call it (the noise once per sample, channel 1 first; the matrix
// twice per block with the mid/side stage on), with the block-wise paths too.
class COwnNoiseAndMatrix : public CZkmorva20SignalProcessing {
public:
    void add_white_noise(double* sample) override {
        ++noiseCalls;
        *sample += 1e-3 * static_cast<double>(noiseCalls % 7);
    }
    void ConvertBetweenMsAndLr(long count) override {
        ++matrixCalls;
        CZkmorva20SignalProcessing::ConvertBetweenMsAndLr(count);
    }
    long noiseCalls = 0;
    long matrixCalls = 0;
};

TEST(Zkmorva20FastPath, OwnNoiseAndMatrixAreCalled) {
    CZkmorva20SignalProcessing base;
    COwnNoiseAndMatrix fused, plain;
    EXPECT_TRUE(fused.HasOwnNoise());
#if defined(__GNUC__) && !defined(__clang__)
    EXPECT_FALSE(base.HasOwnNoise()) << "the block-wise noise serves the processor itself";
#endif
    plain.SetPlainFilterLoops(true);
    Rng rng(9);
    for (COwnNoiseAndMatrix* p : {&fused, &plain}) {
        p->UpdateSampleRate(44100.0);
        p->AllocateWorkBuffers(64);
        p->InitBuffers();
        RandomSettings(*p, 1234);
        p->stereoWidthOn = true;
        p->stereoWidth = 1.25;
    }
    for (long n : {1L, 5L, 64L}) {
        std::vector<double> l = RandomSignal(rng, n), r = RandomSignal(rng, n);
        FillSignal(rng, l, r);
        std::vector<double> la = l, ra = r, lb = l, rb = r;
        double* in[2] = {l.data(), r.data()};
        double* outa[2] = {la.data(), ra.data()};
        double* outb[2] = {lb.data(), rb.data()};
        const long noiseBefore = fused.noiseCalls, matrixBefore = fused.matrixCalls;
        plain.ProcessDoubles(in, outa, n);
        fused.ProcessDoubles(in, outb, n);
        EXPECT_EQ(fused.noiseCalls - noiseBefore, 4 * n) << "two channels, two samples a frame";
        EXPECT_EQ(fused.matrixCalls - matrixBefore, 2) << "into mid/side and back";
        ASSERT_TRUE(SameBits(la, lb));
        ASSERT_TRUE(SameBits(ra, rb));
        ASSERT_TRUE(SameMeters(plain.GetMeterState(), fused.GetMeterState()));
    }
}

} // namespace
