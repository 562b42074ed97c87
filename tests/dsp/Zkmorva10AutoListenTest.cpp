#include "Zkmorva10Rig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using Draw = std::pair<bool, long>;
using Draws = std::vector<Draw>;
using zktest::Zkmorva10Rig;

using zktest::kSixDb;

// The mode's display string names the kinds of control it listens to.
TEST(Zkmorva10AutoListen, ModeDecidesWhichControlsListenAndWhenTheEditorIsTold) {
    const char* const modeNames[] = {"Q - -", "- f -", "- - G", "Q f -", "Q - G", "- f G", "Q f G"};
    struct Control {
        long id;
        char letter; // 0: never listens
    };
    const Control controls[] = {{6, 'Q'},  {13, 'Q'}, {29, 'Q'}, {7, 'f'}, {14, 'f'}, {30, 'f'},
                                {15, 'G'}, {27, 'G'}, {12, 0},   {5, 0},   {31, 0},   {40, 0}};
    for (int mode = 0; mode < 7; ++mode) {
        const std::string name = modeNames[mode];
        for (const Control c : controls) {
            zktest::CRecordingProcessor p;
            p.autoListenMode = mode;
            p.BeginAutoListen(c.id);
            const bool listens = c.letter != 0 && name.find(c.letter) != std::string::npos;
            const std::string what = "mode \"" + name + "\", id " + std::to_string(c.id);
            EXPECT_EQ(p.IsAutoListenActive(), listens) << what;
            EXPECT_EQ(p.GetAutoListenParam(), c.id) << what;
            // Only modes covering gains tell the editor that a listen started.
            const bool told = listens && name.find('G') != std::string::npos;
            EXPECT_EQ(p.draws, (told ? Draws{{true, c.id}} : Draws{})) << what;
            p.draws.clear();
            p.EndAutoListen(c.id);
            EXPECT_FALSE(p.IsAutoListenActive()) << what;
            EXPECT_EQ(p.draws, (Draws{{false, c.id}})) << "the end is always told, " << what;
        }
    }
}

TEST(Zkmorva10AutoListen, FrequencyControlsPlayANarrowBandAtTheirFrequency) {
    zktest::CRecordingProcessor p;
    p.hpFrequency = 45.0;
    p.lpFrequency = 17000.0;
    const double bandFrequency[] = {110.0, 320.0, 3000.0, 6000.0, 11000.0};
    for (int b = 0; b < 5; ++b) {
        p.band[static_cast<std::size_t>(b)].frequency = bandFrequency[b];
    }
    const std::pair<long, double> cases[] = {{7, 45.0},    {10, 110.0},  {14, 320.0},
                                             {18, 3000.0}, {22, 6000.0}, {26, 11000.0},
                                             {30, 17000.0}};
    for (const auto& [id, frequency] : cases) {
        p.BeginAutoListen(id);
        const filterParameters f = p.GetAutoListenFilter().GetParameters();
        EXPECT_EQ(f.type, Notch) << id;
        EXPECT_EQ(f.gain, 0.0) << id;
        EXPECT_EQ(f.frequency, frequency) << id;
        EXPECT_EQ(f.q, 10.0) << id;
        p.EndAutoListen(id);
    }
    // Mode 6, band 1 frequency: only the narrow band around 100 Hz is heard, and
    // band 1's own boost is not.
    Zkmorva10Rig rig(96000.0);
    rig.SetBand(0, 2.0, 100.0, 1.0);
    rig.p.BeginAutoListen(10);
    EXPECT_EQ(rig.p.draws, (Draws{{true, 10}}));
    EXPECT_NEAR(rig.GainDb(100.0), 0.0, 0.01) << "at 100 Hz";
    EXPECT_LT(rig.GainDb(1000.0), -25.0) << "at 1000 Hz";
    EXPECT_LT(rig.GainDb(30.0), -15.0) << "at 30 Hz";
    rig.p.EndAutoListen(10);
    EXPECT_FALSE(rig.p.IsAutoListenActive());
    EXPECT_NEAR(rig.GainDb(100.0), kSixDb, 0.001) << "band 1 back at 100 Hz";
}

// Listening to a band's Q exaggerates its boost to 4.0 and takes back the
// extra at the output; a cut goes to 0.25 with no compensation.
TEST(Zkmorva10AutoListen, BandQListenExaggeratesTheBandAndEndRestoresIt) {
    Zkmorva10Rig rig(96000.0);
    CZkmorva10SignalProcessing& p = rig.p;
    rig.SetBand(0, 2.0, 1000.0, 1.0);
    p.BeginAutoListen(9);
    EXPECT_TRUE(p.IsAutoListenActive());
    EXPECT_EQ(p.GetBandFilter(0).GetParameters().gain, 4.0);
    EXPECT_EQ(p.band[0].gain, 2.0) << "the stored gain stays";
    EXPECT_EQ(p.GetAutoListenGain(), 0.5);
    EXPECT_NEAR(rig.GainDb(1000.0), 2.0 * kSixDb - kSixDb, 0.001) << "at 1000 Hz";
    EXPECT_NEAR(rig.GainDb(30000.0), -kSixDb, 0.05) << "at 30000 Hz";
    p.EndAutoListen(9);
    EXPECT_EQ(p.GetBandFilter(0).GetParameters().gain, 2.0);
    EXPECT_EQ(p.GetAutoListenGain(), 1.0);
    EXPECT_EQ(rig.p.draws, (Draws{{true, 9}, {false, 9}}));
    EXPECT_NEAR(rig.GainDb(1000.0), kSixDb, 0.001) << "at 1000 Hz after the end";

    rig.SetBand(4, 0.5, 12000.0, 1.0);
    p.BeginAutoListen(25);
    EXPECT_EQ(p.GetBandFilter(4).GetParameters().gain, 0.25);
    EXPECT_EQ(p.GetAutoListenGain(), 1.0);
    p.EndAutoListen(25);
    EXPECT_EQ(p.GetBandFilter(4).GetParameters().gain, 0.5);
}

// The output factor is the product of output gain and listen gain, applied
// once: bit-exact against the band run by hand.
TEST(Zkmorva10AutoListen, ListenGainMultipliesTheOutputGainFirst) {
    Zkmorva10Rig rig(96000.0);
    CZkmorva10SignalProcessing& p = rig.p;
    p.outputGain = 1.1;
    rig.SetBand(2, 1.7, 3150.0, 2.0);
    p.BeginAutoListen(17);
    const double factor = 1.1 * (1.7 * 0.25);
    CBiquad band = p.GetBandFilter(2);
    const std::vector<double> in = zktest::RandomSignal(3000);
    std::vector<double> expected = in;
    zktest::NoiseReference noise;
    for (double& v : expected) {
        v = v + noise.Next();
    }
    band.FilterBuffer(expected.data(), static_cast<long>(expected.size()));
    for (double& v : expected) {
        v = v * factor;
    }
    EXPECT_EQ(rig.Run(in), expected);
}

TEST(Zkmorva10AutoListen, OnlyTheListenedFilterRunsWhateverItsSwitch) {
    Zkmorva10Rig rig(96000.0);
    CZkmorva10SignalProcessing& p = rig.p;
    rig.SetBand(1, 2.0, 315.0, 1.0);
    p.hpOn = false;
    p.hpFrequency = 1000.0;
    zktest::SetCut(p.GetHpFilter(), 1000.0, 112.0);
    p.BeginAutoListen(6);
    for (double f : {315.0, 2000.0}) {
        EXPECT_NEAR(rig.GainDb(f), zktest::ButterworthDb(2, f, 1000.0, 96000.0, true), 0.01)
            << "high-pass alone at " << f << " Hz";
    }
    p.EndAutoListen(6);

    p.band[1].on = false;
    p.BeginAutoListen(15);
    EXPECT_NEAR(rig.GainDb(315.0), kSixDb, 0.001) << "band 2 although off, at 315 Hz";
    p.EndAutoListen(15);
    EXPECT_NEAR(rig.GainDb(315.0), 0.0, 0.001) << "band 2 off again, at 315 Hz";
}

TEST(Zkmorva10AutoListen, RunningListenIgnoresOtherBeginsAndEnds) {
    zktest::CRecordingProcessor p;
    p.band[0].gain = 2.0;
    p.BeginAutoListen(9);
    const filterParameters before = p.GetAutoListenFilter().GetParameters();
    p.BeginAutoListen(10);
    EXPECT_EQ(p.GetAutoListenParam(), 9);
    EXPECT_EQ(p.GetAutoListenFilter().GetParameters().type, before.type);
    p.EndAutoListen(10);
    EXPECT_TRUE(p.IsAutoListenActive());
    EXPECT_EQ(p.GetAutoListenGain(), 0.5);
    EXPECT_EQ(p.draws, (Draws{{true, 9}}));
    p.EndAutoListen(9);
    EXPECT_FALSE(p.IsAutoListenActive());
}

TEST(Zkmorva10AutoListen, TextBoxOrDisabledListenBlocksBegin) {
    zktest::CRecordingProcessor p;
    p.SetTextBoxAsCurrentControl();
    p.BeginAutoListen(10);
    EXPECT_FALSE(p.IsAutoListenActive());
    EXPECT_EQ(p.GetAutoListenParam(), 999);
    EXPECT_FALSE(p.IsTextBoxActive()) << "one Begin only";
    p.BeginAutoListen(10);
    EXPECT_TRUE(p.IsAutoListenActive());
    p.SetTextBoxAsCurrentControl();
    p.BeginAutoListen(11);
    EXPECT_FALSE(p.IsTextBoxActive()) << "cleared by an ignored Begin too";

    p.autoListenEnabled = false;
    p.EndAutoListen(10);
    EXPECT_TRUE(p.IsAutoListenActive()) << "End ignored while disabled";
    p.autoListenEnabled = true;
    p.EndAutoListen(10);
    p.autoListenEnabled = false;
    p.draws.clear();
    p.BeginAutoListen(14);
    EXPECT_FALSE(p.IsAutoListenActive());
    EXPECT_EQ(p.GetAutoListenParam(), 10);
    EXPECT_TRUE(p.draws.empty());
}

// EQ off: gains and the band-limiting filter stay, no equaliser filter runs,
// not even the one being listened to.
TEST(Zkmorva10AutoListen, EqOffRunsNoFilterEvenWhileListening) {
    Zkmorva10Rig rig(44100.0);
    CZkmorva10SignalProcessing& p = rig.p;
    rig.SetBand(1, 2.0, 315.0, 1.0);
    p.eqOn = false;
    p.inputGain = 0.5;
    EXPECT_NEAR(rig.GainDb(315.0), -kSixDb, 0.001) << "at 315 Hz";
    p.BeginAutoListen(13);
    ASSERT_TRUE(p.IsAutoListenActive());
    EXPECT_NEAR(rig.GainDb(315.0), -2.0 * kSixDb, 0.001) << "listen gain only, at 315 Hz";
    p.EndAutoListen(13);
    p.BeginAutoListen(14);
    ASSERT_TRUE(p.IsAutoListenActive());
    EXPECT_NEAR(rig.GainDb(2000.0), -kSixDb, 0.001) << "no narrow band, at 2000 Hz";
}

} // namespace
