// Activation as hosts do it: deactivate and reactivate, a rate change (refused
// while running, taken on reactivation), reset in the middle of a stream, and
// long silence after noise. A reactivated or reset unit sounds exactly like a
// fresh one; after a reset silence in gives silence out (below 1e-15, which
// leaves room for the denormal guard's noise of about 1e-20); silence never
// gives subnormal output.
#include "tests/reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

namespace {

using namespace zkrel;

constexpr float kSilence = 1e-15f;

class Lifecycle : public testing::TestWithParam<const UnitKind*> {
protected:
    const UnitKind& Kind() const { return *GetParam(); }
};

float Loudest(const Channels& c) {
    float m = 0.0f;
    for (const auto& ch : c) {
        for (float v : ch) {
            m = std::max(m, std::isfinite(v) ? std::fabs(v) : INFINITY);
        }
    }
    return m;
}

// Rate changes as hosts make them: refused while running (the unit keeps playing
// at the old rate), taken on reactivation; silence in gives silence out, and the
// probe then sounds exactly as on a fresh unit at the new rate.
TEST_P(Lifecycle, ReactivationAtAnyRateEqualsAFreshUnit) {
    const Settings settings = AllActive(Kind());
    const Channels probe = Noise(Kind().channels, 5000, 1);
    Rig cycled(Kind(), 44100.0, 1024, settings);
    for (double rate : {8000.0, 96000.0, 44100.0}) {
        cycled.Render(Noise(Kind().channels, 3000, 2), 700);
        EXPECT_NE(cycled.Unit().SetSampleRateAndChannels(rate, Kind().channels, Kind().channels),
                  noErr);
        AudioCheck check;
        check.Add(cycled.Render(Noise(Kind().channels, 2000, 6), 512));
        EXPECT_TRUE(check.Clean()) << check.Describe();

        cycled.Unit().DoCleanup();
        ASSERT_EQ(cycled.Unit().SetSampleRateAndChannels(rate, Kind().channels, Kind().channels),
                  noErr);
        ASSERT_EQ(cycled.Unit().DoInitialize(), noErr);
        EXPECT_LT(Loudest(cycled.Render(Silence(Kind().channels, 4096), 512)), kSilence);
        cycled.Unit().DoCleanup();
        ASSERT_EQ(cycled.Unit().DoInitialize(), noErr);
        Rig fresh(Kind(), rate, 1024, settings);
        EXPECT_TRUE(Identical(cycled.Render(probe, 1024), fresh.Render(probe, 1024)))
            << "rate " << rate;
    }
}

void SetBypass(Rig& rig, bool on) {
    const UInt32 value = on ? 1 : 0;
    ASSERT_EQ(AudioUnitSetProperty(&rig.Unit(), kAudioUnitProperty_BypassEffect,
                                   kAudioUnitScope_Global, 0, &value, sizeof value),
              noErr);
}

// A reset clears what a stream leaves behind: the filter histories, the bypass's
// latency ring (a bypassed stream after a reset starts from silence) and the
// denormal guard's noise, which starts over (silence after a reset gives a fresh
// unit's output bit for bit, tiny noise included).
TEST_P(Lifecycle, ResetInTheMiddleOfAStreamEqualsAFreshUnit) {
    const Settings settings = RandomSettings(Kind(), 31);
    const Channels probe = Noise(Kind().channels, 5000, 3);
    for (double rate : {22050.0, 48000.0, 192000.0}) {
        Rig fresh(Kind(), rate, 1024, settings);
        const Channels expected = fresh.Render(probe, 333);
        Rig quiet(Kind(), rate, 1024, settings);
        const Channels freshSilence = quiet.Render(Silence(Kind().channels, 2048), 256);
        Rig used(Kind(), rate, 1024, settings);
        used.Render(Noise(Kind().channels, 2500, 4), 1024);
        used.Reset();
        const Channels silence = used.Render(Silence(Kind().channels, 2048), 256);
        EXPECT_LT(Loudest(silence), kSilence) << "rate " << rate;
        EXPECT_TRUE(Identical(silence, freshSilence)) << "noise after a reset, rate " << rate;
        SetBypass(used, true);
        used.Render(Noise(Kind().channels, 1000, 5), 256);
        used.Reset();
        EXPECT_EQ(Loudest(used.Render(Silence(Kind().channels, 64), 64)), 0.0f)
            << "bypassed after a reset, rate " << rate;
        SetBypass(used, false);
        used.Reset();
        EXPECT_TRUE(Identical(used.Render(probe, 333), expected)) << "rate " << rate;
    }
}

// Through the plug-ins' core: activating again at another rate while active,
// deactivation and reset by reactivation, each time equal to a fresh plug-in.
TEST_P(Lifecycle, PluginCoreReactivationAtAnyRateEqualsAFreshPlugin) {
    const zkplug::UnitDescriptor& d = DescriptorOf(Kind());
    const Channels probe = Noise(Kind().channels, 3000, 8);
    auto run = [&](zkplug::PluginCore& core) { return ProcessCore(core, probe); };
    zkplug::PluginCore cycled(d);
    ASSERT_TRUE(cycled.Activate(44100.0, 512));
    run(cycled);
    for (double rate : {96000.0, 8000.0, 48000.0}) {
        ASSERT_TRUE(cycled.Activate(rate, 512)); // no deactivation in between
        zkplug::PluginCore fresh(d);
        ASSERT_TRUE(fresh.Activate(rate, 512));
        EXPECT_TRUE(Identical(run(cycled), run(fresh))) << "rate " << rate;
        cycled.Deactivate();
        ASSERT_TRUE(cycled.Activate(rate, 512));
        zkplug::PluginCore fresh2(d);
        ASSERT_TRUE(fresh2.Activate(rate, 512));
        EXPECT_TRUE(Identical(run(cycled), run(fresh2))) << "rate " << rate << ", reactivated";
    }
}

// Noise, then ten seconds of silence: no subnormal ever reaches the output (the
// CPU-time side of this is measured by zk_denormal_report).
TEST_P(Lifecycle, SilenceAfterNoiseNeverGivesSubnormals) {
    const double seconds = SoakSeconds(10.0);
    for (double rate : {44100.0, 96000.0}) {
        Rig rig(Kind(), rate, 512, AllActive(Kind()));
        rig.Render(Noise(Kind().channels, static_cast<std::size_t>(rate * 0.5), 9), 512);
        const Channels silence =
            rig.Render(Silence(Kind().channels, static_cast<std::size_t>(rate * seconds)), 512);
        AudioCheck check;
        check.Add(silence);
        EXPECT_TRUE(check.Clean()) << "rate " << rate << ": " << check.Describe();
    }
}

INSTANTIATE_TEST_SUITE_P(Units, Lifecycle, testing::ValuesIn(KindPointers()), KindName());

} // namespace
