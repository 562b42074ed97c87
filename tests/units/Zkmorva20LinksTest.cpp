// Links, master link, solo and auto-listen routing of the two-channel EQ, driven
// through the event service as a host and the editor drive it.
#include "units/Zkmorva20Links.h"
#include "Zkmorva20TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace zk;
using zktest::MakeHost20;
using zktest::Settle;
using zktest::UnitHost;

constexpr AudioUnitParameterID kLfGainL = 24, kLfGainR = 65;
constexpr AudioUnitParameterID kLmfGainL = 29, kLmfGainR = 70, kLmfLinkL = 30;
constexpr AudioUnitParameterID kLmfFreqL = 28, kLmfFreqR = 69, kLmfLinkR = 71;
constexpr AudioUnitParameterID kMfGainL = 33, kMfLinkL = 35, kMfGainR = 74, kMfLinkR = 76;
constexpr AudioUnitParameterID kBsFreqL = 51, kBsGainL = 52, kBsOnL = 54;
constexpr AudioUnitParameterID kBsFreqR = 92, kBsGainR = 93, kBsOnR = 95;

// Sets a value the way the editor does: begin gesture, set, end gesture.
void Touch(UnitHost& host, AudioUnitParameterID id, float value) {
    host.Gesture(id, true);
    host.Set(id, value);
    Settle(host);
    host.Gesture(id, false);
}

TEST(Zkmorva20AULinks, AGestureOnALinkedControlMovesItsPartner) {
    auto host = MakeHost20();
    auto& unit = host->As<CZkmorva20AU>();

    Touch(*host, kLfGainL, 6.0f);
    EXPECT_EQ(host->Get(kLfGainR), 6.0f);
    // The partner's change went through the listener into channel 2's band.
    EXPECT_NEAR(unit.GetChannelSettings(1).lf.gain, std::pow(10.0, 6.0 / 20.0), 1e-12);
    EXPECT_EQ(unit.GetChannelFilters(1).bandFilter[0].GetParameters().gain,
              unit.GetChannelSettings(1).lf.gain);

    // Channel 2 controls follow their own channel's switch when they are touched.
    host->Set(kMfLinkL, 0.0f);
    Touch(*host, kMfGainR, 5.0f);
    EXPECT_EQ(host->Get(kMfGainL), 5.0f) << "channel 2's MF link is on";
    host->Set(kMfLinkR, 0.0f);
    Touch(*host, kMfGainR, 2.0f);
    EXPECT_EQ(host->Get(kMfGainL), 5.0f) << "channel 2's MF link is off";

    // The gains pair 6 with 10.
    Touch(*host, kZ20Input1Gain, -6.0f);
    EXPECT_EQ(host->Get(kZ20Input2Gain), -6.0f);
    EXPECT_NEAR(unit.inputGain2, std::pow(10.0, -6.0 / 20.0), 1e-12);
    EXPECT_EQ(host->Get(kZ20Output2Gain), 0.0f) << "the output gains are a separate pair";
}

TEST(Zkmorva20AULinks, AutomationOrAnOpenLinkMovesOneChannelOnly) {
    auto host = MakeHost20();
    auto& unit = host->As<CZkmorva20AU>();

    host->Set(kLmfGainL, -3.0f); // no gesture: automation
    Settle(*host);
    EXPECT_EQ(host->Get(kLmfGainR), 0.0f);
    EXPECT_EQ(unit.GetChannelSettings(1).lmf.gain, 1.0);
    EXPECT_NEAR(unit.GetChannelSettings(0).lmf.gain, std::pow(10.0, -3.0 / 20.0), 1e-12);

    host->Set(kLmfLinkL, 0.0f);
    Touch(*host, kLmfGainL, 4.0f);
    EXPECT_EQ(host->Get(kLmfGainR), 0.0f) << "link off";
    EXPECT_EQ(host->Get(kLmfGainL), 4.0f);
}

// The shifter's frequency and gain are one two-axis control: a gesture begun on
// the frequency carries the gain across too, but not the section's switch.
TEST(Zkmorva20AULinks, AShifterMovesAsOneTwoAxisControl) {
    auto host = MakeHost20();
    host->Gesture(kBsFreqL, true);
    host->Set(kBsFreqL, 120.0f);
    host->Set(kBsGainL, 6.0f);
    host->Set(kBsOnL, 0.0f);
    Settle(*host);
    host->Gesture(kBsFreqL, false);
    EXPECT_EQ(host->Get(kBsFreqR), 120.0f);
    EXPECT_EQ(host->Get(kBsGainR), 6.0f);
    EXPECT_EQ(host->Get(kBsOnR), 1.0f);
    auto& unit = host->As<CZkmorva20AU>();
    EXPECT_EQ(unit.GetChannelSettings(1).bassShift.frequency, 120.0);
    EXPECT_NEAR(unit.GetChannelSettings(1).bassShift.gain, std::pow(10.0, 6.0 / 20.0), 1e-12);
}

bool AllLinksAre(UnitHost& host, float value) {
    bool all = true;
    for (AudioUnitParameterID link : z20links::kLinkParameters) {
        if (host.Get(link) != value) {
            ADD_FAILURE() << "link " << link << " is " << host.Get(link) << ", expected " << value;
            all = false;
        }
    }
    return all;
}

TEST(Zkmorva20AULinks, MasterLinkSetsAllTwentyTwoSwitches) {
    auto host = MakeHost20();
    ASSERT_EQ(z20links::kLinkParameters.size(), 22u);
    EXPECT_TRUE(AllLinksAre(*host, 1.0f));
    host->Set(kZ20MasterLink, 0.0f);
    Settle(*host);
    EXPECT_TRUE(AllLinksAre(*host, 0.0f));
    EXPECT_EQ(host->Get(kZ20Ch1Solo), 0.0f);
    EXPECT_EQ(host->Get(18), 18.0f) << "a control next to a switch is untouched";
    // With every switch off a gesture moves one channel only.
    Touch(*host, kLfGainL, 3.0f);
    EXPECT_EQ(host->Get(kLfGainR), 0.0f);
    host->Set(kZ20MasterLink, 1.0f);
    Settle(*host);
    EXPECT_TRUE(AllLinksAre(*host, 1.0f));
}

// 0.1 and 0.9 are requests to snap the master link itself; the switches follow
// only from the snapped value, one dispatch later.
TEST(Zkmorva20AULinks, MasterLinkSnapValues) {
    auto host = MakeHost20();
    const std::vector<float> block(16, 0.0f);

    host->Set(kZ20MasterLink, 0.1f);
    host->Render({block, block}, 16);
    EXPECT_EQ(host->Get(kZ20MasterLink), 0.0f);
    EXPECT_TRUE(AllLinksAre(*host, 1.0f)) << "0.1 itself is not copied";
    Settle(*host);
    EXPECT_TRUE(AllLinksAre(*host, 0.0f));

    host->Set(kZ20MasterLink, 0.9f);
    host->Render({block, block}, 16);
    EXPECT_EQ(host->Get(kZ20MasterLink), 1.0f);
    EXPECT_TRUE(AllLinksAre(*host, 0.0f)) << "0.9 itself is not copied";
    Settle(*host);
    EXPECT_TRUE(AllLinksAre(*host, 1.0f));

    // Only the exact single-precision values snap.
    const float nearSnap = std::nextafter(0.1f, 1.0f);
    host->Set(kZ20MasterLink, nearSnap);
    Settle(*host);
    EXPECT_EQ(host->Get(kZ20MasterLink), nearSnap);
    EXPECT_TRUE(AllLinksAre(*host, nearSnap));
}

// ---------------------------------------------------------------- solo

// Left and right carry the same tone at different levels, so each output tells
// which channel it plays.
constexpr double kRate = 48000.0;
constexpr double kLeftLevel = 0.5, kRightLevel = 0.1;

zktest::StereoLevels Heard(UnitHost& host, double frequency = 1000.0) {
    const long n = static_cast<long>(0.25 * kRate);
    return zktest::ToneLevels(host, zktest::Sine(frequency, kRate, n, kLeftLevel),
                              zktest::Sine(frequency, kRate, n, kRightLevel), frequency, kRate);
}

void ExpectHeard(UnitHost& host, double left, double right, const char* what,
                 double frequency = 1000.0) {
    const zktest::StereoLevels h = Heard(host, frequency);
    EXPECT_NEAR(h.left, left, 2e-3 * left) << what << ": left output";
    EXPECT_NEAR(h.right, right, 2e-3 * right) << what << ": right output";
}

TEST(Zkmorva20AUSolo, SoloActsOnlyUnderAGesture) {
    auto host = MakeHost20(kRate);
    ExpectHeard(*host, kLeftLevel, kRightLevel, "no solo");

    // As from a saved state or automation: stored, without effect.
    host->Set(kZ20Ch1Solo, 1.0f);
    ExpectHeard(*host, kLeftLevel, kRightLevel, "solo L without a gesture");
    EXPECT_EQ(host->Get(kZ20Ch1Solo), 1.0f);

    Touch(*host, kZ20Ch2Solo, 1.0f);
    ExpectHeard(*host, kRightLevel, kRightLevel, "solo R");
    EXPECT_EQ(host->Get(kZ20Ch1Solo), 0.0f) << "solo R clears solo L";

    Touch(*host, kZ20Ch1Solo, 1.0f);
    ExpectHeard(*host, kLeftLevel, kLeftLevel, "solo L");
    EXPECT_EQ(host->Get(kZ20Ch2Solo), 0.0f) << "solo L clears solo R";

    Touch(*host, kZ20Ch1Solo, 0.0f);
    ExpectHeard(*host, kLeftLevel, kRightLevel, "solo L off");
}

// A listened control plays on both outputs: as two channels when its section is
// linked, else the listened channel on both. Only channel 1's switch decides,
// also for channel 2's controls (intended).
TEST(Zkmorva20AUSolo, AutoListenRoutingFollowsChannel1Link) {
    auto host = MakeHost20(kRate);
    auto& unit = host->As<CZkmorva20AU>();
    constexpr double f = 315.0; // LMF frequency of both channels

    host->Gesture(kLmfFreqL, true);
    Settle(*host);
    ASSERT_TRUE(unit.IsAutoListenActive());
    EXPECT_EQ(unit.GetAutoListenDisplay().on, 1u);
    ExpectHeard(*host, kLeftLevel, kRightLevel, "linked, listening to L", f);
    EXPECT_LT(Heard(*host, 3000.0).left, 0.05 * kLeftLevel) << "outside the listened band";
    host->Gesture(kLmfFreqL, false);
    Settle(*host);
    EXPECT_FALSE(unit.IsAutoListenActive());

    host->Set(kLmfLinkL, 0.0f);
    host->Gesture(kLmfFreqL, true);
    ExpectHeard(*host, kLeftLevel, kLeftLevel, "unlinked, listening to L", f);
    host->Gesture(kLmfFreqL, false);

    host->Gesture(kLmfFreqR, true);
    ExpectHeard(*host, kRightLevel, kRightLevel, "unlinked, listening to R", f);
    host->Gesture(kLmfFreqR, false);

    host->Set(kLmfLinkL, 1.0f);
    host->Set(kLmfLinkR, 0.0f);
    host->Gesture(kLmfFreqR, true);
    ExpectHeard(*host, kLeftLevel, kRightLevel, "channel 1 linked, R unlinked, listening to R", f);
    host->Gesture(kLmfFreqR, false);
    EXPECT_EQ(unit.GetLinkStatus(kLmfFreqR), 1);
}

} // namespace
