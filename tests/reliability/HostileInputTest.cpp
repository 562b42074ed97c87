// What a misbehaving host or upstream plug-in feeds a unit: NaN and infinity in
// the audio, and automation at every block and every sample with values inside
// and far outside the ranges (NaN, infinity, huge). The output must stay finite
// and bounded, and a non-finite input must not poison the unit for good.
#include "tests/reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace zkrel;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

class HostileInput : public testing::TestWithParam<const UnitKind*> {
protected:
    const UnitKind& Kind() const { return *GetParam(); }
};

// Meters are read by hosts and editors: they must come back too.
bool MetersFinite(Rig& rig, const UnitKind& kind) {
    for (const zk::ParameterDef& p : kind.parameters) {
        if (p.id <= kind.lastDispatched) {
            continue;
        }
        AudioUnitParameterValue v = 0.0f;
        rig.Unit().GetParameter(p.id, kAudioUnitScope_Global, 0, v);
        if (!std::isfinite(v)) {
            return false;
        }
    }
    return true;
}

TEST_P(HostileInput, NonFiniteSamplesDoNotPoisonTheUnit) {
    const UInt32 block = 256;
    for (double rate : {44100.0, 96000.0}) {
        for (const Settings& settings : {AllActive(Kind()), Settings{}}) {
            for (float bad : {kNaN, kInf, -kInf}) {
                Rig rig(Kind(), rate, block, settings);
                rig.Render(Noise(Kind().channels, 4 * block, 1), block);
                Channels poisoned = Noise(Kind().channels, block, 2);
                poisoned[0][block / 2] = bad;
                rig.Render(poisoned, block);
                // The very next block is finite again, and so is what follows.
                const Channels after = rig.Render(Noise(Kind().channels, 8 * block, 3), block);
                AudioCheck check;
                check.Add(after);
                EXPECT_EQ(check.nonFinite, 0)
                    << "rate " << rate << ", input " << bad << ": " << check.Describe();
                EXPECT_TRUE(MetersFinite(rig, Kind())) << "rate " << rate << ", input " << bad;
            }
        }
    }
}

// Values a host may send: inside the range, at and past its ends, and garbage.
float HostileValue(std::mt19937& rng, const zk::ParameterDef& p) {
    switch (rng() % 10) {
    case 0:
        return kNaN;
    case 1:
        return rng() % 2 ? kInf : -kInf;
    case 2:
        return rng() % 2 ? 3.0e38f : -3.0e38f;
    case 3:
        return rng() % 2 ? p.minValue : p.maxValue;
    case 4:
        return std::uniform_real_distribution<float>(-1e6f, 1e6f)(rng);
    case 5:
        return rng() % 2 ? 1e-40f : -0.0f;
    default:
        return RandomInRange(rng, p);
    }
}

// Settable ids, and now and then the gestures that start auto-listen and links.
void Automate(Rig& rig, const UnitKind& kind, std::mt19937& rng, int changes) {
    for (int i = 0; i < changes; ++i) {
        const zk::ParameterDef& p = kind.parameters[rng() % (kind.lastDispatched + 1)];
        const bool gesture = rng() % 8 == 0;
        if (gesture) {
            rig.Gesture(p.id, true);
        }
        rig.Automate(p.id, HostileValue(rng, p));
        if (gesture && rng() % 2 == 0) {
            rig.Gesture(p.id, false);
        }
    }
    rig.Pump();
}

// Audio within +-1 stays below this: the static gains in series reach about
// +130 dB (every gain at +12 dB, a resonant cut filter), and coefficients that
// change every sample add transients on top.
constexpr float kBound = 1e8f;

// Changes before every block of random size, and before every single frame.
TEST_P(HostileInput, AutomationAtEveryBlockAndSampleStaysFiniteAndBounded) {
    struct Run {
        double rate;
        UInt32 maxBlock; // 1: a change before every frame
        double seconds;
    };
    for (const Run& run :
         {Run{8000.0, 2048, 1.0}, Run{44100.0, 2048, 1.0}, Run{96000.0, 2048, 1.0},
          Run{12345.678, 2048, 1.0}, Run{22050.0, 1, 0.25}, Run{48000.0, 1, 0.25}}) {
        Rig rig(Kind(), run.rate, run.maxBlock == 1 ? 64 : run.maxBlock);
        std::mt19937 rng(static_cast<std::uint32_t>(run.rate) + run.maxBlock);
        const Channels in = Noise(Kind().channels,
                                  static_cast<std::size_t>(run.rate * SoakSeconds(run.seconds)), 5);
        const Channels out = rig.RenderBlocks(in, [&] {
            Automate(rig, Kind(), rng, run.maxBlock == 1 ? 1 : 1 + static_cast<int>(rng() % 6));
            return 1 + static_cast<UInt32>(rng() % run.maxBlock);
        });
        AudioCheck check;
        check.Add(out);
        EXPECT_EQ(check.nonFinite, 0) << "rate " << run.rate << ": " << check.Describe();
        EXPECT_LT(check.worst, kBound) << "rate " << run.rate << ", blocks up to " << run.maxBlock;
    }
}

// After the garbage, valid settings bring the unit back to normal audio.
TEST_P(HostileInput, ValidSettingsAfterGarbageRenderLikeAFreshUnit) {
    Rig rig(Kind(), 48000.0, 512);
    std::mt19937 rng(77);
    for (int round = 0; round < 50; ++round) {
        Automate(rig, Kind(), rng, 20);
        rig.Render(Noise(Kind().channels, 512, round), 512);
    }
    // Gestures left open end (an end gesture is ignored while auto-listen is
    // switched off, so it is switched on first); a last touch on a plain switch
    // leaves no control linked through the touch.
    rig.Automate(zk::FindParameter(Kind().parameters, "AutoListenOn")->id, 1.0f);
    rig.Pump();
    rig.Render(Silence(Kind().channels, 64), 64);
    for (AudioUnitParameterID id = 0; id <= Kind().lastDispatched; ++id) {
        rig.Gesture(id, false);
    }
    if (const zk::ParameterDef* solo = zk::FindParameter(Kind().parameters, "Ch1Solo")) {
        // Solo only follows a touched control: release it by touch.
        rig.Gesture(solo->id, true);
        rig.Automate(solo->id, 0.0f);
        rig.Pump();
        rig.Render(Silence(Kind().channels, 64), 64);
        rig.Gesture(solo->id, false);
    }
    rig.Gesture(2, true);
    rig.Gesture(2, false);
    rig.Pump();
    rig.Render(Silence(Kind().channels, 64), 64);
    const Settings settings = RandomSettings(Kind(), 8);
    for (const auto& [id, v] : settings) {
        rig.Automate(id, v);
    }
    rig.Pump();
    rig.Reset();
    Rig fresh(Kind(), 48000.0, 512, settings);
    const Channels in = Noise(Kind().channels, 4096, 12);
    const Channels a = rig.Render(in, 512);
    const Channels b = fresh.Render(in, 512);
    AudioCheck check;
    check.Add(a);
    EXPECT_EQ(check.nonFinite, 0) << check.Describe();
    for (std::size_t c = 0; c < a.size(); ++c) {
        for (std::size_t i = 0; i < a[c].size(); ++i) {
            ASSERT_NEAR(a[c][i], b[c][i], 1e-4f) << "channel " << c << " sample " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Units, HostileInput, testing::ValuesIn(KindPointers()), KindName());

} // namespace
