// Activation as hosts do it: deactivate and reactivate, a rate change (refused
// while running, taken on reactivation), reset in the middle of a stream, and
// long silence after noise. A reactivated or reset unit sounds exactly like a
// fresh one; after a reset silence in gives silence out (below 1e-15, which
// leaves room for the denormal guard's noise of about 1e-20); silence never
// gives subnormal output.
#include "plugins/core/PluginCore.h"
#include "plugins/core/UnitDescriptor.h"
#include "tests/reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace zkrel;

constexpr float kSilence = 1e-15f;

class Lifecycle : public testing::TestWithParam<const UnitKind*> {
protected:
    const UnitKind& Kind() const { return *GetParam(); }
};

bool Identical(const Channels& a, const Channels& b) {
    for (std::size_t c = 0; c < a.size(); ++c) {
        if (std::memcmp(a[c].data(), b[c].data(), a[c].size() * sizeof(float)) != 0) {
            return false;
        }
    }
    return true;
}

float Loudest(const Channels& c) {
    float m = 0.0f;
    for (const auto& ch : c) {
        for (float v : ch) {
            m = std::max(m, std::isfinite(v) ? std::fabs(v) : INFINITY);
        }
    }
    return m;
}

TEST_P(Lifecycle, ReactivatedUnitEqualsAFreshOne) {
    const Settings settings = AllActive(Kind());
    const Channels probe = Noise(Kind().channels, 5000, 1);
    for (double rate : {8000.0, 44100.0, 96000.0}) {
        Rig fresh(Kind(), rate, 1024, settings);
        const Channels expected = fresh.Render(probe, 1024);

        Rig cycled(Kind(), rate, 1024, settings);
        cycled.Render(Noise(Kind().channels, 3000, 2), 700);
        cycled.Unit().DoCleanup();
        ASSERT_EQ(cycled.Unit().DoInitialize(), noErr);
        // Silence in, silence out.
        EXPECT_LT(Loudest(cycled.Render(Silence(Kind().channels, 4096), 512)), kSilence);
        cycled.Unit().DoCleanup();
        ASSERT_EQ(cycled.Unit().DoInitialize(), noErr);
        EXPECT_TRUE(Identical(cycled.Render(probe, 1024), expected)) << "rate " << rate;
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

TEST_P(Lifecycle, RateChangeIsRefusedWhileRunningAndTakenOnReactivation) {
    const Settings settings = AllActive(Kind());
    Rig rig(Kind(), 44100.0, 1024, settings);
    rig.Render(Noise(Kind().channels, 2000, 5), 512);
    EXPECT_NE(rig.Unit().SetSampleRateAndChannels(96000.0, Kind().channels, Kind().channels),
              noErr);
    // Still running at the old rate.
    AudioCheck check;
    check.Add(rig.Render(Noise(Kind().channels, 2000, 6), 512));
    EXPECT_TRUE(check.Clean()) << check.Describe();

    rig.Unit().DoCleanup();
    ASSERT_EQ(rig.Unit().SetSampleRateAndChannels(96000.0, Kind().channels, Kind().channels),
              noErr);
    ASSERT_EQ(rig.Unit().DoInitialize(), noErr);
    Rig fresh(Kind(), 96000.0, 1024, settings);
    const Channels probe = Noise(Kind().channels, 3000, 7);
    EXPECT_TRUE(Identical(rig.Render(probe, 1024), fresh.Render(probe, 1024)));
}

// Through the plug-ins' core: activating again at another rate while active,
// deactivation and reset by reactivation, each time equal to a fresh plug-in.
TEST_P(Lifecycle, PluginCoreReactivationAtAnyRateEqualsAFreshPlugin) {
    const zkplug::UnitDescriptor& d = Kind().channels == 1 ? zkplug::Zkmorva10Mono()
                                      : Kind().lastDispatched == zk::kZ10LastDispatched
                                          ? zkplug::Zkmorva10Stereo()
                                          : zkplug::Zkmorva20();
    const Channels probe = Noise(Kind().channels, 3000, 8);
    auto run = [&](zkplug::PluginCore& core) {
        Channels out = probe;
        std::vector<const float*> ip;
        std::vector<float*> op;
        for (std::size_t c = 0; c < probe.size(); ++c) {
            ip.push_back(probe[c].data());
            op.push_back(out[c].data());
        }
        core.Process(ip.data(), op.data(), static_cast<UInt32>(probe[0].size()));
        return out;
    };
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

std::vector<const UnitKind*> AllKinds() {
    std::vector<const UnitKind*> k;
    for (const UnitKind& u : Kinds()) {
        k.push_back(&u);
    }
    return k;
}

INSTANTIATE_TEST_SUITE_P(Units, Lifecycle, testing::ValuesIn(AllKinds()),
                         [](const testing::TestParamInfo<const UnitKind*>& info) {
                             return std::string(info.param->name);
                         });

} // namespace
