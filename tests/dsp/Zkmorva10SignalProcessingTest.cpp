#include "Zkmorva10Rig.h"

#include <gtest/gtest.h>

#include <cmath>

#if defined(__SSE__) || defined(__x86_64__)
#include <xmmintrin.h>
#define ZK_TEST_MXCSR 1
#endif

namespace {

using zktest::Zkmorva10Rig;

TEST(Zkmorva10Processing, FiltersRunAtTwiceTheHostRateBelow64k) {
    struct Case {
        double host, process;
        bool oversampling;
    };
    for (const Case c :
         {Case{44100.0, 88200.0, true}, Case{48000.0, 96000.0, true}, Case{63999.0, 127998.0, true},
          Case{64000.0, 64000.0, false}, Case{96000.0, 96000.0, false}}) {
        Zkmorva10Rig rig(c.host, 300);
        CZkmorva10SignalProcessing& p = rig.p;
        EXPECT_EQ(p.GetProcessSampleRate(), c.process) << c.host;
        EXPECT_EQ(p.IsOversampling(), c.oversampling) << c.host;
        EXPECT_EQ(p.GetWorkBufferFrames(), 300) << c.host;
        for (const CBiquad* s :
             {&p.GetBandFilter(0), &p.GetBandFilter(4), &p.GetAutoListenFilter(),
              p.GetHpFilter().GetBiquad(2), p.GetLpFilter().GetBiquad(0),
              p.GetBassShifter().GetBiquad(1), p.GetPresenceShifter().GetBiquad(0)}) {
            EXPECT_EQ(s->GetSampleRate(), c.process) << c.host;
        }
        if (c.oversampling) {
            EXPECT_EQ(p.GetAiFilter().GetBiquad(9)->GetSampleRate(), c.process) << c.host;
        }
        EXPECT_EQ(p.UpdateSampleRate(c.host), 0) << "same rate again, " << c.host;
    }
}

// With every default the path is transparent: at 96 kHz bit for bit but for the
// 2^-67 noise; when oversampling, apart from the band-limiting filter's tiny
// pass-band deviation (the doubling makes up for the zero-stuffing).
TEST(Zkmorva10Processing, DefaultsPassTheSignal) {
    Zkmorva10Rig direct(96000.0);
    std::vector<float> in;
    for (double v : zktest::RandomSignal(2000)) {
        in.push_back(static_cast<float>(v));
    }
    const std::vector<float> out = direct.RunFloats(in);
    for (std::size_t i = 0; i < in.size(); ++i) {
        ASSERT_LE(std::fabs(static_cast<double>(out[i]) - in[i]), std::ldexp(1.0, -66)) << i;
    }
    for (double host : {44100.0, 48000.0}) {
        Zkmorva10Rig rig(host);
        EXPECT_NEAR(rig.GainDb(1000.0), 0.0, 0.001) << "1000 Hz at " << host;
        EXPECT_NEAR(rig.GainDb(100.0), 0.0, 0.001) << "100 Hz at " << host;
        rig.p.eqOn = false;
        EXPECT_NEAR(rig.GainDb(1000.0), 0.0, 0.001) << "1000 Hz, EQ off, at " << host;
    }
}

// The chain against the sections run by hand in the fixed order. Cascades of
// linear filters commute in exact arithmetic only, so the last bits reveal the
// order; the swapped order is checked to differ, proving the test can tell.
TEST(Zkmorva10Processing, ChainRunsInItsFixedOrderBitExactly) {
    Zkmorva10Rig rig(96000.0);
    CZkmorva10SignalProcessing& p = rig.p;
    p.inputGain = 0.7;
    p.phase = -1.0;
    p.outputGain = 1.3;
    p.hpFrequency = 30.0;
    zktest::SetCut(p.GetHpFilter(), 30.0, 124.0);
    p.lpFrequency = 20000.0;
    zktest::SetCut(p.GetLpFilter(), 20000.0, 112.0);
    const double gains[] = {1.9, 0.6, 1.4, 0.8, 1.2};
    const double freqs[] = {100.0, 315.0, 3150.0, 5800.0, 12000.0};
    for (int b = 0; b < 5; ++b) {
        rig.SetBand(b, gains[b], freqs[b], 1.0);
    }
    p.bassShift.gain = 1.5;
    zktest::SetShift(p.GetBassShifter(), 89.0, 1.5);
    p.presenceShift.gain = 0.7;
    zktest::SetShift(p.GetPresenceShifter(), 12600.0, 0.7);

    const std::vector<double> in = zktest::RandomSignal(4096);
    std::vector<double> x = in;
    zktest::NoiseReference noise;
    for (double& v : x) {
        v = v * 0.7 * -1.0 + noise.Next();
    }
    auto chain = [&](bool bassFirst) {
        std::vector<double> y = x;
        const long n = static_cast<long>(y.size());
        CZkmorvaHpLpFilter hp = p.GetHpFilter(), lp = p.GetLpFilter();
        CZkmorvaShifter bass = p.GetBassShifter(), presence = p.GetPresenceShifter();
        std::array<CBiquad, 5> bands = {p.GetBandFilter(0), p.GetBandFilter(1), p.GetBandFilter(2),
                                        p.GetBandFilter(3), p.GetBandFilter(4)};
        hp.FilterBuffer(y.data(), n);
        if (bassFirst) {
            bass.FilterBuffer(y.data(), n);
            bands[0].FilterBuffer(y.data(), n);
        } else {
            bands[0].FilterBuffer(y.data(), n);
            bass.FilterBuffer(y.data(), n);
        }
        for (int b = 1; b < 4; ++b) {
            bands[static_cast<std::size_t>(b)].FilterBuffer(y.data(), n);
        }
        presence.FilterBuffer(y.data(), n);
        bands[4].FilterBuffer(y.data(), n);
        lp.FilterBuffer(y.data(), n);
        for (double& v : y) {
            v = v * 1.3;
        }
        return y;
    };
    const std::vector<double> expected = chain(false);
    ASSERT_NE(chain(true), expected) << "the order must be visible in the bits";
    EXPECT_EQ(rig.Run(in, 300), expected);
}

// Sections whose switch is off, whose gain field is 1.0 or whose corner is out
// of range are skipped, although configured; the corners at the limits count.
TEST(Zkmorva10Processing, ChainSkipsSwitchedOffFlatAndOutOfRangeSections) {
    Zkmorva10Rig rig(96000.0);
    CZkmorva10SignalProcessing& p = rig.p;
    for (CZkmorvaHpLpFilter* f : {&p.GetHpFilter(), &p.GetLpFilter()}) {
        zktest::SetCut(*f, 1000.0, 112.0);
    }
    p.GetBandFilter(3).Update(2.0, CBiquad::kGain);
    zktest::SetShift(p.GetBassShifter(), 89.0, 2.0);
    zktest::SetShift(p.GetPresenceShifter(), 12600.0, 2.0);
    rig.SetBand(1, 2.0, 315.0, 1.0, false);
    p.hpFrequency = 20.0;
    p.lpFrequency = 25999.5;
    p.bassShift = {2.0, 2.14, 89.0, false};
    p.presenceShift.gain = 1.0; // field flat, section not
    const std::vector<double> in = zktest::RandomSignal(3000);
    std::vector<double> expected = in;
    zktest::NoiseReference noise;
    for (double& v : expected) {
        v += noise.Next();
    }
    EXPECT_EQ(rig.Run(in), expected);

    p.hpFrequency = 20.001;
    EXPECT_LT(rig.GainDb(300.0), -10.0) << "high-pass just above 20 Hz, at 300 Hz";
    p.hpOn = false;
    p.lpFrequency = 25999.0;
    EXPECT_LT(rig.GainDb(3000.0), -10.0) << "low-pass at 25999 Hz, at 3000 Hz";
    p.lpOn = false;
    EXPECT_NEAR(rig.GainDb(3000.0), 0.0, 0.001) << "all off, at 3000 Hz";
}

// The input meter sits after input gain and polarity, the output meter after the
// output gain; the output is inverted.
TEST(Zkmorva10Processing, PhaseInvertsAndMetersFollowTheGainedInput) {
    Zkmorva10Rig rig(96000.0);
    rig.p.phase = -1.0;
    rig.p.inputGain = 4.0;
    rig.p.outputGain = 0.5;
    const std::vector<double> out = rig.Run({0.25, -0.2, 0.75});
    EXPECT_NEAR(out[0], -0.5, 1e-15);
    EXPECT_NEAR(out[1], 0.4, 1e-15);
    EXPECT_NEAR(out[2], -1.5, 1e-15);
    EXPECT_EQ(rig.p.GetInputPeak(), 3.0f);
    EXPECT_EQ(rig.p.GetInputMeter(), 3.0f) << "an over shows at once";
    EXPECT_EQ(rig.p.GetOutputMeter(), 1.5f);

    Zkmorva10Rig plain(96000.0);
    plain.Run({1.5});
    EXPECT_EQ(plain.p.GetInputMeter(), 1.5f);
    EXPECT_EQ(plain.p.GetOutputPeak(), 1.5f);
}

// Rise to 1 - 10^-2.2 of a step in 0.1 ms; fall by 44 dB (10^-2.2) in 1.5 s,
// with the coefficients of the rate the chain runs at.
TEST(Zkmorva10Processing, MetersRiseFastAndFallOverOneAndAHalfSeconds) {
    const double fall = std::pow(10.0, -2.2);
    Zkmorva10Rig rig(96000.0);
    rig.Run({0.5});
    EXPECT_NEAR(rig.p.GetInputMeter(), 0.5 * (1.0 - std::pow(10.0, -2.2 / 9.6)), 1e-6)
        << "one sample at 96 kHz";
    rig.Run(std::vector<double>(9, 0.5));
    EXPECT_NEAR(rig.p.GetInputMeter(), 0.5 * (1.0 - std::pow(10.0, -2.2 * 10.0 / 9.6)), 1e-5)
        << "after ten samples, 0.1 ms being 9.6";
    rig.Run(std::vector<double>(960, 0.5));
    EXPECT_NEAR(rig.p.GetInputMeter(), 0.5f, 1e-6f);
    EXPECT_NEAR(rig.p.GetOutputMeter(), 0.5f, 1e-6f);
    rig.Run(std::vector<double>(144000, 0.0));
    EXPECT_NEAR(rig.p.GetInputMeter(), 0.5 * fall, 0.02 * 0.5 * fall);
    EXPECT_NEAR(rig.p.GetOutputMeter(), 0.5 * fall, 0.02 * 0.5 * fall);
    EXPECT_EQ(rig.p.GetInputPeak(), 0.0f) << "metered before the noise is added";

    // At 44.1 kHz the meter runs on the 88.2 kHz samples: still 1.5 s.
    Zkmorva10Rig slow(44100.0);
    slow.Run(std::vector<double>(441, 0.5));
    const float top = slow.p.GetInputMeter();
    slow.Run(std::vector<double>(66150, 0.0));
    EXPECT_NEAR(slow.p.GetInputMeter() / top, fall, 0.02 * fall);
}

TEST(Zkmorva10Processing, BypassIsLatencyMatchedAndSilencesTheMeters) {
    Zkmorva10Rig rig(48000.0);
    rig.Run(std::vector<double>(100, 0.5));
    ASSERT_GT(rig.p.GetInputMeter(), 0.4f);
    rig.p.bypass = true;
    std::vector<float> ramp(20);
    for (std::size_t i = 0; i < ramp.size(); ++i) {
        ramp[i] = static_cast<float>(i + 1);
    }
    const std::vector<float> delayed = rig.RunFloats(ramp, 7);
    for (std::size_t i = 0; i < ramp.size(); ++i) {
        EXPECT_EQ(delayed[i], i < 4 ? 0.0f : ramp[i - 4]) << "sample " << i;
    }
    EXPECT_EQ(rig.p.GetInputMeter(), 0.0f);
    EXPECT_EQ(rig.p.GetOutputMeter(), 0.0f);
    rig.p.InitBuffers();
    EXPECT_EQ(rig.RunFloats({9.0f, 9.0f, 9.0f, 9.0f, 9.0f}),
              (std::vector<float>{0.0f, 0.0f, 0.0f, 0.0f, 9.0f}))
        << "a reset empties the delay";

    Zkmorva10Rig direct(96000.0);
    direct.p.bypass = true;
    EXPECT_EQ(direct.RunFloats(ramp), ramp);
}

TEST(Zkmorva10Processing, WorkBufferBoundsTheBlockNotTheResult) {
    CZkmorva10SignalProcessing none;
    none.UpdateSampleRate(48000.0);
    std::vector<double> x(8, 7.0);
    double* px = x.data();
    none.ProcessDoubles(&px, &px, 8);
    EXPECT_EQ(x, std::vector<double>(8, 7.0)) << "no work buffer, nothing written";

    // A block longer than the buffer is processed in passes, seamlessly.
    Zkmorva10Rig small(44100.0, 64), large(44100.0, 2048);
    small.SetBand(1, 2.0, 315.0, 1.0);
    large.SetBand(1, 2.0, 315.0, 1.0);
    const std::vector<double> in = zktest::RandomSignal(2000);
    EXPECT_EQ(small.Run(in, 2000), large.Run(in, 2000));
}

TEST(Zkmorva10Processing, NoiseFollowsItsRecurrence) {
    CZkmorva10SignalProcessing p;
    // By hand: seed 1 -> 0x00206B92 (k 32, +), 0xBB565B09 (k 86, -),
    // 0x61531CCA (k 83, +), 0xD3269F91 (k 38, -).
    const double byHand[] = {1.25, -1.671875, 1.6484375, -1.296875};
    for (double expected : byHand) {
        double v = 0.0;
        p.add_white_noise(&v);
        EXPECT_EQ(v, std::ldexp(expected, -67));
    }
    zktest::NoiseReference reference;
    for (int i = 0; i < 4; ++i) {
        reference.Next();
    }
    int negative = 0;
    for (int i = 0; i < 1000; ++i) {
        double v = 0.0;
        p.add_white_noise(&v);
        ASSERT_EQ(v, reference.Next()) << "value " << i + 4;
        ASSERT_GE(std::fabs(v), std::ldexp(1.0, -67));
        ASSERT_LT(std::fabs(v), std::ldexp(1.0, -66));
        negative += v < 0.0;
    }
    EXPECT_GT(negative, 400);
    EXPECT_LT(negative, 600);

    // Every input sample gets the next value.
    Zkmorva10Rig rig(96000.0);
    zktest::NoiseReference fresh;
    for (double v : rig.Run(std::vector<double>(6, 0.0))) {
        EXPECT_EQ(v, fresh.Next());
    }
}

#ifdef ZK_TEST_MXCSR
class CMxcsrProbe : public CZkmorva10SignalProcessing {
public:
    void add_white_noise(double* sample) override {
        during = _mm_getcsr();
        CZkmorva10SignalProcessing::add_white_noise(sample);
    }
    unsigned int during = 0;
};

TEST(Zkmorva10Processing, DenormalGuardHoldsForTheBlockOnly) {
    CMxcsrProbe p;
    p.UpdateSampleRate(44100.0);
    p.AllocateWorkBuffer(64);
    const unsigned int before = _mm_getcsr() & ~0x8040u;
    _mm_setcsr(before);
    std::vector<float> x(64, 0.25f);
    float* px = x.data();
    p.ProcessFloats(&px, &px, 64);
    EXPECT_EQ(p.during & 0x8040u, 0x8040u) << "flush-to-zero and denormals-are-zero in the block";
    EXPECT_EQ(_mm_getcsr(), before);
    p.bypass = true;
    p.ProcessFloats(&px, &px, 64);
    EXPECT_EQ(_mm_getcsr(), before) << "bypass path";
}
#endif

} // namespace
