#include "Zkmorva20Rig.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace zktest;

constexpr double kFs = 96000.0;

// Ids of channel 1 controls (channel 2: + 41).
constexpr long kHpQ = 18, kLfQ = 22, kLfFreq = 23, kLfGain = 24, kLfLink = 25, kLpQ = 47;

// Channel 1 carries 100 Hz through a +12 dB LF bell and a +6 dB MF bell at the
// same frequency; channel 2 carries 3000 Hz through flat bands.
struct ListenScene {
    CTestProcessor20 p;
    std::vector<double> l = Sine(100.0, kFs, 48000, 0.1);
    std::vector<double> r = Sine(3000.0, kFs, 48000, 0.1);

    ListenScene() {
        Prepare(p, kFs);
        SetPeak(p, 0, kLf, 12.0, 100.0, 1.0);
        SetPeak(p, 0, kMf, 6.0, 100.0, 1.0);
    }
    Stereo Play() {
        p.InitBuffers();
        return RunStereo(p, l, r);
    }
};

TEST(Zkmorva20AutoListen, UnlinkedControlPlaysItsChannelOnBothOutputs) {
    ListenScene s;
    s.p.BeginAutoListen(kLfGain);
    ASSERT_TRUE(s.p.IsAutoListenActive());
    Stereo y = s.Play();
    // Only the LF band runs: +12 dB, not the +18 dB of LF and MF together.
    EXPECT_NEAR(LevelDb(y.l, 100.0, kFs) - ToDb(0.1), 12.0, 0.05) << "left at 100 Hz";
    EXPECT_EQ(y.r, y.l);
    EXPECT_LT(Level(y.l, 3000.0, kFs), 1e-6) << "left at 3000 Hz";
    s.p.EndAutoListen(kLfGain);
    EXPECT_FALSE(s.p.IsAutoListenActive());

    s.p.BeginAutoListen(kLfGain + 41);
    ASSERT_TRUE(s.p.IsAutoListenActive());
    y = s.Play();
    EXPECT_NEAR(LevelDb(y.l, 3000.0, kFs) - ToDb(0.1), 0.0, 0.01) << "left at 3000 Hz";
    EXPECT_EQ(y.l, y.r);
    EXPECT_LT(Level(y.r, 100.0, kFs), 1e-6) << "right at 100 Hz";
    s.p.EndAutoListen(kLfGain + 41);
}

TEST(Zkmorva20AutoListen, LinkedControlKeepsBothChannels) {
    ListenScene s;
    s.p.Link(kLfGain);
    s.p.BeginAutoListen(kLfGain);
    ASSERT_TRUE(s.p.IsAutoListenActive());
    const Stereo y = s.Play();
    EXPECT_NEAR(LevelDb(y.l, 100.0, kFs) - ToDb(0.1), 12.0, 0.05) << "left at 100 Hz";
    EXPECT_LT(Level(y.l, 3000.0, kFs), 1e-6) << "left at 3000 Hz";
    EXPECT_NEAR(LevelDb(y.r, 3000.0, kFs) - ToDb(0.1), 0.0, 0.01) << "right at 3000 Hz";
    EXPECT_LT(Level(y.r, 100.0, kFs), 1e-6) << "right at 100 Hz";

    s.p.EndAutoListen(kLfGain);
    // The display names the control touched, once (the editor lights its partner).
    const std::vector<std::pair<bool, long>> expected = {{true, kLfGain}, {false, kLfGain}};
    EXPECT_EQ(s.p.draws, expected);
    EXPECT_FALSE(s.p.IsAutoListenActive());
}

TEST(Zkmorva20AutoListen, BandQExaggeratesTheBandAndCompensatesABoost) {
    ListenScene s;
    // Boosted band: played at 4x, output at gain/4 (x0.5 here): +6 dB at its centre.
    SetPeak(s.p, 0, kLf, ToDb(2.0), 100.0, 1.0);
    s.p.BeginAutoListen(kLfQ);
    ASSERT_TRUE(s.p.IsAutoListenActive());
    EXPECT_EQ(s.p.GetListenGain(), 0.5);
    EXPECT_EQ(s.p.GetChannelFilters(0).bandFilter[kLf].GetParameters().gain, 4.0);
    const Stereo y = s.Play();
    EXPECT_NEAR(LevelDb(y.l, 100.0, kFs) - ToDb(0.1), ToDb(4.0 * 0.5), 0.05) << "left at 100 Hz";
    EXPECT_EQ(y.r, y.l);
    s.p.EndAutoListen(kLfQ);
    EXPECT_FALSE(s.p.IsAutoListenActive());
    EXPECT_EQ(s.p.GetListenGain(), 1.0);
    EXPECT_EQ(s.p.GetChannelFilters(0).bandFilter[kLf].GetParameters().gain, 2.0);

    // Linked, with a cut on channel 2: that band is played at 1/4, the factor
    // set by channel 1 stays.
    s.p.Link(kLfQ);
    SetPeak(s.p, 1, kLf, ToDb(0.5), 100.0, 1.0);
    s.p.BeginAutoListen(kLfQ);
    EXPECT_EQ(s.p.GetListenGain(), 0.5);
    EXPECT_EQ(s.p.GetChannelFilters(0).bandFilter[kLf].GetParameters().gain, 4.0);
    EXPECT_EQ(s.p.GetChannelFilters(1).bandFilter[kLf].GetParameters().gain, 0.25);
    s.p.EndAutoListen(kLfQ);
    EXPECT_EQ(s.p.GetChannelFilters(0).bandFilter[kLf].GetParameters().gain, 2.0);
    EXPECT_EQ(s.p.GetChannelFilters(1).bandFilter[kLf].GetParameters().gain, 0.5);
    EXPECT_EQ(s.p.GetListenGain(), 1.0);
}

TEST(Zkmorva20AutoListen, FrequencyControlPlaysANarrowBandAroundIt) {
    ListenScene s;
    s.p.BeginAutoListen(kLfFreq);
    ASSERT_TRUE(s.p.IsAutoListenActive());
    const filterParameters notch = s.p.GetChannelFilters(0).autoListenFilter.GetParameters();
    EXPECT_EQ(notch.type, Notch);
    EXPECT_EQ(notch.frequency, 100.0);
    EXPECT_EQ(notch.q, 10.0);

    auto leftDb = [&](double f) {
        s.p.InitBuffers();
        const Stereo y = RunStereo(s.p, Sine(f, kFs, 96000), Silence(96000));
        return LevelDb(y.l, f, kFs);
    };
    // The complement of a Q 10 notch is a Q 10 band-pass: unity at its centre,
    // about 1/(10 (f/f0 - f0/f)) a decade away (-39.9 dB at 1000 Hz).
    EXPECT_NEAR(leftDb(100.0), 0.0, 0.05) << "at 100 Hz";
    EXPECT_NEAR(leftDb(1000.0), -39.9, 1.0) << "at 1000 Hz";
}

TEST(Zkmorva20AutoListen, CutFilterQPlaysTheCutFilter) {
    CTestProcessor20 p;
    Prepare(p, kFs);
    CZkmorva20ChannelFilters& f = p.GetChannelFilters(1);
    f.lpFilter.Update(1000.0, CZkmorvaHpLpFilter::kFrequency);
    f.lpFilter.Update(112.0, CZkmorvaHpLpFilter::kSlope);
    p.BeginAutoListen(kLpQ + 41); // the low-pass is off by its settings, yet it runs
    ASSERT_TRUE(p.IsAutoListenActive());
    const Stereo y = RunStereo(p, Silence(48000), Sine(5000.0, kFs, 48000));
    EXPECT_NEAR(LevelDb(y.l, 5000.0, kFs), ButterworthDb(2, 5000.0, 1000.0, kFs, false), 0.05)
        << "at 5000 Hz";
}

// The mode's name says which of Q, f and G start listening; links, switches,
// shifters, the global controls and ids past the low-pass never do.
TEST(Zkmorva20AutoListen, ModeSelectsTheKindsOfControl) {
    const std::string names[7] = {"Q - -", "- f -", "- - G", "Q f -", "Q - G", "- f G", "Q f G"};
    const std::pair<long, char> controls[] = {
        {kHpQ, 'Q'}, {kLfQ, 'Q'}, {kLfFreq, 'f'}, {kLfGain, 'G'}, {kLpQ + 41, 'Q'},
        {19, 'f'},   {48, 'f'},   {89, 'f'},      {85, 'G'},      {kLfLink, 0},
        {21, 0},     {49, 0},     {51, 0},        {52, 0},        {56, 0},
        {90, 0},     {92, 0},     {6, 0},         {14, 0},        {100, 0}};
    for (int mode = 0; mode < 7; ++mode) {
        for (const auto& [id, letter] : controls) {
            CTestProcessor20 p;
            Prepare(p, kFs);
            p.autoListenMode = mode;
            p.BeginAutoListen(id);
            const bool expected = letter != 0 && names[mode].find(letter) != std::string::npos;
            EXPECT_EQ(p.IsAutoListenActive(), expected) << "mode " << mode << ", id " << id;
            EXPECT_EQ(p.draws.size(), expected ? 1u : 0u) << "mode " << mode << ", id " << id;
            if (letter != 0) {
                EXPECT_EQ(p.GetAutoListenControl(), id);
            }
        }
    }
}

TEST(Zkmorva20AutoListen, StartIsRefusedWhileTypingDisabledOrBusy) {
    CTestProcessor20 p;
    Prepare(p, kFs);
    p.SetTextBoxAsCurrentControl();
    p.BeginAutoListen(kLfGain);
    EXPECT_FALSE(p.IsAutoListenActive());
    EXPECT_FALSE(p.IsTextBoxActive()) << "the refused start clears the flag";
    p.BeginAutoListen(kLfGain);
    EXPECT_TRUE(p.IsAutoListenActive());

    // Busy: a second start and an end for another id change nothing.
    p.BeginAutoListen(kLfFreq);
    EXPECT_EQ(p.GetAutoListenControl(), kLfGain);
    p.EndAutoListen(kLfFreq);
    EXPECT_TRUE(p.IsAutoListenActive());
    p.EndAutoListen(kLfGain);
    EXPECT_FALSE(p.IsAutoListenActive());
    EXPECT_EQ(p.GetAutoListenControl(), kLfGain) << "the id is kept after the end";

    p.autoListenOn = false;
    p.SetTextBoxAsCurrentControl();
    p.BeginAutoListen(kLfGain);
    EXPECT_FALSE(p.IsAutoListenActive());
    EXPECT_FALSE(p.IsTextBoxActive());
}

} // namespace
