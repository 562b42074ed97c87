// Links, master link, solo and auto-listen routing of the two-channel EQ, driven
// through the event service as an editor in the same process drives it, and
// through the direct entry the plug-ins and the renderer use.
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
constexpr AudioUnitParameterID kBsFreqL = 51, kBsOnL = 54;
constexpr AudioUnitParameterID kBsFreqR = 92, kBsGainR = 93, kBsOnR = 95;

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

TEST(Zkmorva20AULinks, AChangeToALinkedControlMovesItsPartner) {
    auto host = MakeHost20();
    auto& unit = host->As<CZkmorva20AU>();

    host->Set(kLfGainL, 6.0f);
    Settle(*host);
    EXPECT_EQ(host->Get(kLfGainR), 6.0f);
    EXPECT_NEAR(unit.GetChannelSettings(1).lf.gain, std::pow(10.0, 6.0 / 20.0), 1e-12);
    EXPECT_EQ(unit.GetChannelFilters(1).bandFilter[0].GetParameters().gain,
              unit.GetChannelSettings(1).lf.gain);

    // Channel 2 controls follow their own channel's switch.
    host->Set(kMfLinkL, 0.0f);
    host->Set(kMfGainR, 5.0f);
    Settle(*host);
    EXPECT_EQ(host->Get(kMfGainL), 5.0f) << "channel 2's MF link is on";
    host->Set(kMfLinkR, 0.0f);
    host->Set(kMfGainR, 2.0f);
    Settle(*host);
    EXPECT_EQ(host->Get(kMfGainL), 5.0f) << "channel 2's MF link is off";

    // The gains pair 6 with 10; a shifter's axes and switch each move their own partner.
    host->Set(kZ20Input1Gain, -6.0f);
    host->Set(kBsFreqL, 120.0f);
    Settle(*host);
    host->Set(kBsOnL, 0.0f);
    Settle(*host);
    EXPECT_EQ(host->Get(kZ20Input2Gain), -6.0f);
    EXPECT_NEAR(unit.inputGain2, std::pow(10.0, -6.0 / 20.0), 1e-12);
    EXPECT_EQ(host->Get(kZ20Output2Gain), 0.0f) << "the output gains are a separate pair";
    EXPECT_EQ(host->Get(kBsFreqR), 120.0f);
    EXPECT_EQ(unit.GetChannelSettings(1).bassShift.frequency, 120.0);
    EXPECT_EQ(host->Get(kBsOnR), 0.0f);
    EXPECT_EQ(host->Get(kBsGainR), 0.0f) << "an axis not changed stays";
}

// The unit answers only changes from outside, and never overrides a value that came
// with the same batch, so a host or preset that sets both sides keeps both.
TEST(Zkmorva20AULinks, WhatTheBatchSetsWinsAndUnchangedValuesAskNothing) {
    auto host = MakeHost20();
    host->Set(kLmfGainL, 4.0f); // one block start: both sides differ, link on
    host->Set(kLmfGainR, -2.0f);
    Settle(*host);
    EXPECT_EQ(host->Get(kLmfGainL), 4.0f);
    EXPECT_EQ(host->Get(kLmfGainR), -2.0f);

    host->Set(kLmfLinkL, 0.0f);
    Settle(*host);
    host->Set(kZ20MasterLink, 1.0f); // already on: no change, no answer
    host->Set(kLmfGainL, 1.0f);
    Settle(*host);
    EXPECT_EQ(host->Get(kLmfLinkL), 0.0f) << "a master link sent again undid a switch";
    EXPECT_EQ(host->Get(kLmfGainR), -2.0f) << "link off";
}

// Where the host cannot hear the unit's own changes, a change applies to its own
// parameter only, so that host and unit never disagree.
TEST(Zkmorva20AULinks, NoAnswersWhereTheHostCannotHearThem) {
    auto host = MakeHost20();
    auto& unit = host->As<CZkmorva20AU>();
    unit.SetOwnChangesReachHost(false);
    const zk::ParameterEvent events[] = {
        {kAudioUnitEvent_ParameterValueChange, kLfGainL, 6.0f},
        {kAudioUnitEvent_ParameterValueChange, kZ20Ch1Solo, 1.0f},
        {kAudioUnitEvent_ParameterValueChange, kZ20MasterLink, 0.0f}};
    unit.ApplyParameterEvents(events);
    EXPECT_TRUE(unit.OwnChanges().empty());
    EXPECT_EQ(host->Get(kLfGainR), 0.0f);
    EXPECT_TRUE(AllLinksAre(*host, 1.0f));
    EXPECT_EQ(unit.GetChannelSettings(0).lf.gain, std::pow(10.0, 6.0 / 20.0));
    EXPECT_EQ(unit.GetChannelSettings(1).lf.gain, 1.0);

    unit.SetOwnChangesReachHost(true);
    const zk::ParameterEvent up{kAudioUnitEvent_ParameterValueChange, kLfGainL, 7.0f};
    unit.ApplyParameterEvents({&up, 1});
    ASSERT_EQ(unit.OwnChanges().size(), 1u);
    EXPECT_EQ(unit.OwnChanges()[0].id, kLfGainR);
    EXPECT_EQ(unit.OwnChanges()[0].value, 7.0f);
}

TEST(Zkmorva20AULinks, MasterLinkSetsAllSwitchesAndSnaps) {
    auto host = MakeHost20();
    ASSERT_EQ(z20links::kLinkParameters.size(), 22u);
    EXPECT_TRUE(AllLinksAre(*host, 1.0f));
    host->Set(kZ20MasterLink, 0.0f);
    Settle(*host);
    EXPECT_TRUE(AllLinksAre(*host, 0.0f));
    EXPECT_EQ(host->Get(kZ20Ch1Solo), 0.0f);
    EXPECT_EQ(host->Get(18), 18.0f) << "a control next to a switch is untouched";
    host->Set(kLfGainL, 3.0f);
    Settle(*host);
    EXPECT_EQ(host->Get(kLfGainR), 0.0f) << "every switch off";
    host->Set(kZ20MasterLink, 1.0f);
    Settle(*host);
    EXPECT_TRUE(AllLinksAre(*host, 1.0f));

    // 0.1 and 0.9 are requests to snap the master link, and the switches take the
    // snapped value.
    host->Set(kZ20MasterLink, 0.1f);
    Settle(*host);
    EXPECT_EQ(host->Get(kZ20MasterLink), 0.0f);
    EXPECT_TRUE(AllLinksAre(*host, 0.0f));

    host->Set(kZ20MasterLink, 0.9f);
    Settle(*host);
    EXPECT_EQ(host->Get(kZ20MasterLink), 1.0f);
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

// The solo heard is always the one the switches show.
TEST(Zkmorva20AUSolo, SoloIsHeardAndExclusive) {
    auto host = MakeHost20(kRate);
    ExpectHeard(*host, kLeftLevel, kRightLevel, "no solo");
    host->Set(kZ20Ch2Solo, 1.0f);
    ExpectHeard(*host, kRightLevel, kRightLevel, "solo R");
    host->Set(kZ20Ch1Solo, 1.0f);
    ExpectHeard(*host, kLeftLevel, kLeftLevel, "solo L");
    EXPECT_EQ(host->Get(kZ20Ch2Solo), 0.0f) << "solo L clears solo R";
    host->Set(kZ20Ch1Solo, 0.0f);
    ExpectHeard(*host, kLeftLevel, kRightLevel, "solo L off");

    // Without answers both may be on: the one set last is heard.
    host->As<CZkmorva20AU>().SetOwnChangesReachHost(false);
    host->Set(kZ20Ch1Solo, 1.0f);
    host->Set(kZ20Ch2Solo, 1.0f);
    ExpectHeard(*host, kRightLevel, kRightLevel, "both on: the last one set");
}

// A listened control plays on both outputs: as two channels when its section is
// linked, else the listened channel on both. Only channel 1's switch decides,
// also for channel 2's controls.
TEST(Zkmorva20AUSolo, AutoListenRoutingFollowsChannel1Link) {
    auto host = MakeHost20(kRate);
    auto& unit = host->As<CZkmorva20AU>();
    constexpr double f = 315.0; // LMF frequency of both channels
    host->Gesture(kLmfFreqL, true);
    Settle(*host);
    ASSERT_TRUE(unit.IsAutoListenActive());
    ExpectHeard(*host, kLeftLevel, kRightLevel, "linked, listening to L", f);
    EXPECT_LT(Heard(*host, 3000.0).left, 0.05 * kLeftLevel) << "outside the listened band";
    host->Gesture(kLmfFreqL, false);
    Settle(*host);
    EXPECT_FALSE(unit.IsAutoListenActive());

    host->Set(kLmfLinkL, 0.0f);
    host->Gesture(kLmfFreqR, true);
    ExpectHeard(*host, kRightLevel, kRightLevel, "unlinked, listening to R", f);
    host->Gesture(kLmfFreqR, false);
    EXPECT_EQ(unit.GetLinkStatus(kLmfFreqL), 0);
    EXPECT_EQ(unit.GetLinkStatus(kLmfFreqR), 0) << "channel 1 unlinked";
    host->Set(kLmfLinkL, 1.0f);
    host->Set(kLmfLinkR, 0.0f);
    Settle(*host);
    EXPECT_EQ(unit.GetLinkStatus(kLmfFreqR), 1) << "channel 1 linked, R unlinked";
}

} // namespace
