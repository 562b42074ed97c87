#include "Zkmorva20Rig.h"

#include <gtest/gtest.h>

namespace {

using namespace zktest;

// Every sample of `got` within `tolerance` of expected(i); names the first miss.
template <class Expected>
void ExpectEach(const std::vector<double>& got, Expected expected, double tolerance,
                const char* what) {
    for (size_t i = 0; i < got.size(); ++i) {
        ASSERT_NEAR(got[i], expected(i), tolerance) << what << ", sample " << i;
    }
}

// ------------------------------------------------------------------ chains

TEST(Zkmorva20Chains, ABandOnOneChannelLeavesTheOtherAlone) {
    constexpr double fs = 48000.0; // runs oversampled at 96000
    CZkmorva20SignalProcessing p;
    Prepare(p, fs);
    SetPeak(p, 0, kMf, 12.0, 1000.0, 2.0);
    SetPeak(p, 1, kLf, -12.0, 100.0, 1.0);

    for (double f : {100.0, 1000.0}) {
        p.InitBuffers();
        const std::vector<double> x = Sine(f, fs, 48000, 0.25);
        const Stereo y = RunStereo(p, x, x);
        // Bells of q 2 and 1 still reach a little way a decade from their centre.
        const double expectL = BellDb(12.0, f, 1000.0, 2.0, 2.0 * fs);
        const double expectR = BellDb(-12.0, f, 100.0, 1.0, 2.0 * fs);
        EXPECT_NEAR(LevelDb(y.l, f, fs) - ToDb(0.25), expectL, 0.02) << "left at " << f << " Hz";
        EXPECT_NEAR(LevelDb(y.r, f, fs) - ToDb(0.25), expectR, 0.02) << "right at " << f << " Hz";
    }
}

TEST(Zkmorva20Chains, FlatDefaultsPassTheInputUnchanged) {
    constexpr double fs = 96000.0; // no oversampling: nothing but gains and noise
    CZkmorva20SignalProcessing p;
    Prepare(p, fs);
    const std::vector<double> l = RandomSignal(2000, 1), r = RandomSignal(2000, 2);
    std::vector<float> lf(l.begin(), l.end()), rf(r.begin(), r.end());
    std::vector<float> ol(lf.size()), orr(rf.size());
    float* in[2] = {lf.data(), rf.data()};
    float* out[2] = {ol.data(), orr.data()};
    p.ProcessFloats(in, out, 500);
    for (long i = 0; i < 500; ++i) {
        ASSERT_EQ(ol[static_cast<size_t>(i)], lf[static_cast<size_t>(i)]) << "left " << i;
        ASSERT_EQ(orr[static_cast<size_t>(i)], rf[static_cast<size_t>(i)]) << "right " << i;
    }
}

// The run conditions read the settings: a configured filter stays out of the
// chain while its settings say it is off or flat.
TEST(Zkmorva20Chains, SectionsRunOnlyInsideTheirActiveRanges) {
    constexpr double fs = 96000.0;
    CZkmorva20SignalProcessing p;
    Prepare(p, fs);
    CZkmorva20ChannelFilters& f = p.GetChannelFilters(0);
    f.hpFilter.Update(1000.0, CZkmorvaHpLpFilter::kFrequency);
    f.hpFilter.Update(112.0, CZkmorvaHpLpFilter::kSlope);
    f.lpFilter.Update(1000.0, CZkmorvaHpLpFilter::kFrequency);
    f.lpFilter.Update(112.0, CZkmorvaHpLpFilter::kSlope);

    auto leftDb = [&](double freq) {
        p.InitBuffers();
        const Stereo y = RunStereo(p, Sine(freq, fs, 24000), Silence(24000));
        return LevelDb(y.l, freq, fs);
    };
    const double hp100 = ButterworthDb(2, 100.0, 1000.0, fs, true);    // about -40 dB
    const double lp5000 = ButterworthDb(2, 5000.0, 1000.0, fs, false); // about -28 dB

    p.channel1.hp.frequency = 20.0;
    EXPECT_NEAR(leftDb(100.0), 0.0, 0.01) << "100 Hz, high-pass at its 20 Hz floor";
    p.channel1.hp.frequency = 20.01;
    EXPECT_NEAR(leftDb(100.0), hp100, 0.05) << "100 Hz, high-pass above the floor";
    p.channel1.hp.on = false;
    EXPECT_NEAR(leftDb(100.0), 0.0, 0.01) << "100 Hz, high-pass switched off";
    p.channel1.hp.on = true;
    p.eqOn = false;
    EXPECT_NEAR(leftDb(100.0), 0.0, 0.01) << "100 Hz, equaliser off";
    p.eqOn = true;
    p.channel1.hp.frequency = 20.0;

    p.channel1.lp.frequency = 26000.0;
    EXPECT_NEAR(leftDb(5000.0), 0.0, 0.01) << "5000 Hz, low-pass at its ceiling";
    p.channel1.lp.frequency = 25999.0;
    EXPECT_NEAR(leftDb(5000.0), lp5000, 0.05) << "5000 Hz, low-pass below the ceiling";
    p.channel1.lp.frequency = 26000.0;

    // The band filter is set to +12 dB, the settings say unity or off.
    SetPeak(p, 0, kMf, 12.0, 1000.0, 2.0);
    p.channel1.mf.gain = 1.0;
    EXPECT_NEAR(leftDb(1000.0), 0.0, 0.01) << "1000 Hz, band at unity";
    p.channel1.mf.gain = DbToFactor(12.0);
    p.channel1.mf.on = false;
    EXPECT_NEAR(leftDb(1000.0), 0.0, 0.01) << "1000 Hz, band off";
    p.channel1.mf.on = true;
    EXPECT_NEAR(leftDb(1000.0), 12.0, 0.02) << "1000 Hz, band on";
}

// --------------------------------------------------------- mid/side stage

TEST(Zkmorva20MidSide, MonoMakerRemovesAntiphaseLowsAndKeepsMono) {
    constexpr double fs = 48000.0, internal = 96000.0, corner = 150.0;
    CZkmorva20SignalProcessing p;
    Prepare(p, fs);
    p.monoMakerFrequency = corner;
    p.GetMonoMaker().Update(corner, 400.0);

    auto measure = [&](double f, bool antiphase) {
        p.InitBuffers();
        const std::vector<double> x = Sine(f, fs, 96000, 0.3);
        const Stereo y = RunStereo(p, x, antiphase ? Scaled(x, -1.0) : x);
        return std::pair{LevelDb(y.l, f, fs) - ToDb(0.3), LevelDb(y.r, f, fs) - ToDb(0.3)};
    };
    // Antiphase content is all side: a second-order Butterworth high-pass.
    for (double f : {40.0, 3000.0}) {
        const double expect = ButterworthDb(2, f, corner, internal, true);
        const auto [l, r] = measure(f, true);
        EXPECT_NEAR(l, expect, 0.05) << "antiphase left at " << f << " Hz";
        EXPECT_NEAR(r, expect, 0.05) << "antiphase right at " << f << " Hz";
    }
    // Mono content is all mid: kept, with half a dB of shelf lift in the lows.
    const auto [l40, r40] = measure(40.0, false);
    EXPECT_GT(l40, 0.3) << "mono left at 40 Hz";
    EXPECT_LT(l40, 0.55) << "mono left at 40 Hz";
    EXPECT_NEAR(r40, l40, 1e-9) << "mono right at 40 Hz";
    const auto [l3k, r3k] = measure(3000.0, false);
    EXPECT_NEAR(l3k, 0.0, 0.02) << "mono left at 3000 Hz";
    EXPECT_NEAR(r3k, 0.0, 0.02) << "mono right at 3000 Hz";

    // At its 20 Hz floor the mono maker is out: antiphase lows pass.
    p.monoMakerFrequency = 20.0;
    const auto [lOff, rOff] = measure(40.0, true);
    EXPECT_NEAR(lOff, 0.0, 0.01) << "antiphase left at 40 Hz, mono maker at 20 Hz";
    EXPECT_NEAR(rOff, 0.0, 0.01) << "antiphase right at 40 Hz, mono maker at 20 Hz";
}

TEST(Zkmorva20MidSide, StereoWidthScalesTheSide) {
    constexpr double fs = 96000.0;
    CZkmorva20SignalProcessing p;
    Prepare(p, fs);
    const std::vector<double> l = RandomSignal(1000, 3), r = RandomSignal(1000, 4);

    p.stereoWidth = 0.0; // mono: both outputs are the average
    Stereo y = RunStereo(p, l, r);
    const auto mono = [&](size_t i) { return 0.5 * (l[i] + r[i]); };
    ExpectEach(y.l, mono, 1e-12, "width 0, left");
    ExpectEach(y.r, mono, 1e-12, "width 0, right");

    // 150 %: with the right silent, mid = side = l/sqrt2, so the outputs are
    // (1 + 1.5)/2 l and (1 - 1.5)/2 l.
    p.stereoWidth = 1.5;
    y = RunStereo(p, l, Silence(1000));
    ExpectEach(
        y.l, [&](size_t i) { return 1.25 * l[i]; }, 1e-12, "width 1.5, left");
    ExpectEach(
        y.r, [&](size_t i) { return -0.25 * l[i]; }, 1e-12, "width 1.5, right");

    // Switched off, the width is not applied.
    p.stereoWidthOn = false;
    y = RunStereo(p, l, r);
    ExpectEach(
        y.l, [&](size_t i) { return l[i]; }, 1e-15, "width off, left");
    ExpectEach(
        y.r, [&](size_t i) { return r[i]; }, 1e-15, "width off, right");
}

TEST(Zkmorva20MidSide, ConversionIsOrthonormalAndItsOwnInverse) {
    CZkmorva20SignalProcessing p;
    Prepare(p, 96000.0);
    const std::vector<double> l = RandomSignal(400, 5), r = RandomSignal(400, 6);
    RunStereo(p, l, r); // the work buffers now hold the (flat) output
    const double* b1 = p.GetWorkBuffer(0);
    const double* b2 = p.GetWorkBuffer(1);
    const std::vector<double> a(b1, b1 + 400), b(b2, b2 + 400);

    p.ConvertBetweenMsAndLr(400);
    const double s = std::sqrt(2.0);
    for (size_t i = 0; i < a.size(); ++i) {
        ASSERT_NEAR(b1[i], (a[i] + b[i]) / s, 1e-15) << "mid " << i;
        ASSERT_NEAR(b2[i], (a[i] - b[i]) / s, 1e-15) << "side " << i;
    }
    p.ConvertBetweenMsAndLr(400);
    for (size_t i = 0; i < a.size(); ++i) {
        ASSERT_NEAR(b1[i], a[i], 1e-15) << "round trip left " << i;
        ASSERT_NEAR(b2[i], b[i], 1e-15) << "round trip right " << i;
    }
}

// ------------------------------------------------------- gains and solo

TEST(Zkmorva20Routing, GainsAndSoloPickTheChannels) {
    constexpr double fs = 96000.0;
    CZkmorva20SignalProcessing p;
    Prepare(p, fs);
    const std::vector<double> l = RandomSignal(1000, 7), r = RandomSignal(1000, 8);
    p.inputGain1 = 0.5;
    p.outputGain2 = 2.0;

    const auto left = [&](size_t i) { return 0.5 * l[i]; };
    const auto right = [&](size_t i) { return 2.0 * r[i]; };
    Stereo y = RunStereo(p, l, r);
    ExpectEach(y.l, left, 1e-15, "no solo, left");
    ExpectEach(y.r, right, 1e-15, "no solo, right");
    p.soloMode = 1;
    y = RunStereo(p, l, r);
    ExpectEach(y.l, left, 1e-15, "solo 1, left");
    EXPECT_EQ(y.r, y.l) << "solo 1";
    p.soloMode = 2;
    y = RunStereo(p, l, r);
    ExpectEach(y.r, right, 1e-15, "solo 2, right");
    EXPECT_EQ(y.l, y.r) << "solo 2";
}

// ------------------------------------------------ block entry and bypass

TEST(Zkmorva20Block, BypassIsLatencyMatched) {
    std::vector<double> l(40), r(40);
    for (size_t i = 0; i < l.size(); ++i) {
        l[i] = static_cast<double>(i + 1);
        r[i] = -0.5 * static_cast<double>(i + 1);
    }
    {
        CZkmorva20SignalProcessing p; // oversampled: four samples of delay per channel
        Prepare(p, 44100.0);
        p.bypass = true;
        const Stereo y = RunStereo(p, l, r, 3);
        for (size_t i = 0; i < l.size(); ++i) {
            ASSERT_EQ(y.l[i], i < 4 ? 0.0 : l[i - 4]) << "44.1 kHz left " << i;
            ASSERT_EQ(y.r[i], i < 4 ? 0.0 : r[i - 4]) << "44.1 kHz right " << i;
        }
    }
    {
        CZkmorva20SignalProcessing p;
        Prepare(p, 96000.0);
        p.bypass = true;
        const Stereo y = RunStereo(p, l, r, 3);
        EXPECT_EQ(y.l, l) << "96 kHz left";
        EXPECT_EQ(y.r, r) << "96 kHz right";
    }
}

TEST(Zkmorva20Block, OversamplingBelow64kWithPlainDecimation) {
    {
        CZkmorva20SignalProcessing p;
        Prepare(p, 63999.0);
        ASSERT_TRUE(p.IsOversampling());
        EXPECT_EQ(p.GetNyquist(), 63999.0f);
        EXPECT_EQ(p.GetWorkBufferCapacity(), 2 * kMaxBlock);
        const std::vector<double> l = RandomSignal(300, 9), r = RandomSignal(300, 10);
        const Stereo y = RunStereo(p, l, r);
        for (size_t i = 0; i < l.size(); ++i) {
            ASSERT_EQ(y.l[i], p.GetWorkBuffer(0)[2 * i]) << "left " << i;
            ASSERT_EQ(y.r[i], p.GetWorkBuffer(1)[2 * i]) << "right " << i;
        }
    }
    {
        CZkmorva20SignalProcessing p;
        Prepare(p, 64000.0);
        EXPECT_FALSE(p.IsOversampling());
        EXPECT_EQ(p.GetNyquist(), 32000.0f);
        EXPECT_EQ(p.GetWorkBufferCapacity(), kMaxBlock);
    }
    {
        // In band the oversampled path is flat: zero-stuffing, x2, band limit.
        constexpr double fs = 44100.0;
        CZkmorva20SignalProcessing p;
        Prepare(p, fs);
        for (double f : {100.0, 1000.0, 10000.0}) {
            p.InitBuffers();
            const std::vector<double> x = Sine(f, fs, 22050, 0.5);
            const Stereo y = RunStereo(p, x, x);
            EXPECT_NEAR(LevelDb(y.l, f, fs), ToDb(0.5), 0.05) << "left at " << f << " Hz";
            EXPECT_NEAR(LevelDb(y.r, f, fs), ToDb(0.5), 0.05) << "right at " << f << " Hz";
        }
    }
}

TEST(Zkmorva20Block, BlocksTooLargeOrWithoutBuffersLeaveTheOutputAlone) {
    CZkmorva20SignalProcessing p;
    p.UpdateSampleRate(44100.0);
    std::vector<float> l(600, 0.5f), r(600, 0.5f), ol(600, 7.0f), orr(600, 7.0f);
    float* in[2] = {l.data(), r.data()};
    float* out[2] = {ol.data(), orr.data()};
    p.ProcessFloats(in, out, 100); // no work buffers yet
    EXPECT_EQ(ol[0], 7.0f);
    p.AllocateWorkBuffers(kMaxBlock);
    p.ProcessFloats(in, out, kMaxBlock + 1);
    EXPECT_EQ(ol[0], 7.0f);
    p.ProcessFloats(in, out, kMaxBlock);
    EXPECT_NE(ol[0], 7.0f);
}

} // namespace
