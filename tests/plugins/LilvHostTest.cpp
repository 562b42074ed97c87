// A lilv host driving each LV2 bundle the way DAWs do: 48 kHz noise in 64-frame
// blocks, control ports written between blocks. Checked:
//   - a gain stepped at block 300 is heard from that block on: every frame before
//     it equals a run that never changes the gain, and the first frame that differs
//     lies in block 300; later the output settles on a run that had the new gain
//     from the start (which also shows that a batch host, setting its controls and
//     rendering at once, is heard from the first block);
//   - a per-block sweep of the gains gives the same bits run as fast as possible
//     (an export or a bounce) and paced like a real-time host (each block waits
//     for its deadline).
#include "tests/plugins/LilvHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

using zktest::Lv2Channels;

constexpr uint32_t kBlock = 64;
constexpr std::size_t kBlocks = 600;
constexpr std::size_t kStepBlock = 300;

struct Bundle {
    const char* uri;
    std::vector<const char*> gains; // the gain controls to step and sweep
};

// Uniform noise of about -9 dBFS RMS, different on every channel.
Lv2Channels Noise(std::size_t channels) {
    Lv2Channels out(channels, std::vector<float>(kBlocks * kBlock));
    std::uint32_t seed = 2024;
    for (auto& channel : out) {
        for (float& v : channel) {
            seed = seed * 1664525u + 1013904223u;
            v = static_cast<float>((double(seed >> 8) / 16777216.0 - 0.5) * 1.2);
        }
    }
    return out;
}

// The first frame at which two runs differ at all (the length when none does).
std::size_t FirstDifference(const Lv2Channels& a, const Lv2Channels& b) {
    std::size_t first = a[0].size();
    for (std::size_t c = 0; c < a.size(); ++c) {
        for (std::size_t i = 0; i < first; ++i) {
            if (std::memcmp(&a[c][i], &b[c][i], sizeof(float)) != 0) {
                first = i;
                break;
            }
        }
    }
    return first;
}

class LilvHost : public testing::TestWithParam<Bundle> {
protected:
    // One run from a fresh instance, `set(block, instance)` before every block.
    Lv2Channels Run(const std::function<void(std::size_t, zktest::Lv2Instance&)>& set,
                    bool paced = false) {
        zktest::Lv2Instance instance(host, host.Find(GetParam().uri));
        EXPECT_TRUE(instance.Valid()) << "instantiates with URID map, options and a worker";
        for (const char* g : GetParam().gains) {
            EXPECT_NE(instance.Control(g), nullptr) << "control port " << g;
        }
        if (!instance.Valid()) {
            return Lv2Channels(noise.size(), std::vector<float>(noise[0].size()));
        }
        return instance.Play(
            noise, [&](std::size_t b) { set(b, instance); }, paced);
    }

    zktest::Lv2Host host{48000.0, kBlock};
    const Lv2Channels noise =
        Noise(GetParam().uri == std::string("urn:zkmorva:zkmorva10-mono") ? 1 : 2);
};

TEST_P(LilvHost, AGainSteppedBetweenBlocksIsHeardFromItsBlock) {
    ASSERT_NE(host.Find(GetParam().uri), nullptr) << "not in LV2_PATH";
    const Lv2Channels held0 = Run([](std::size_t, zktest::Lv2Instance&) {});
    for (const char* g : GetParam().gains) {
        const auto set = [g](zktest::Lv2Instance& i, float v) {
            if (float* c = i.Control(g)) {
                *c = v;
            }
        };
        const Lv2Channels held12 = Run([&](std::size_t, zktest::Lv2Instance& i) { set(i, 12); });
        EXPECT_LT(FirstDifference(held12, held0), kBlock) << g << " +12 dB before the first block";
        const Lv2Channels step = Run(
            [&](std::size_t b, zktest::Lv2Instance& i) { set(i, b < kStepBlock ? 0.0f : 12.0f); });
        EXPECT_EQ(FirstDifference(step, held0) / kBlock, kStepBlock) << g;
        // The step block starts from the 0 dB run's filter history; 100 blocks later
        // the LF shelf has forgotten it (its time constant is a few milliseconds).
        double settled = 0.0;
        for (std::size_t c = 0; c < step.size(); ++c) {
            for (std::size_t i = (kStepBlock + 100) * kBlock; i < step[c].size(); ++i) {
                settled = std::max(settled, std::abs(double(step[c][i]) - held12[c][i]));
            }
        }
        EXPECT_LT(settled, 1e-6) << g << ": 100 blocks after the step, against the +12 dB run";
    }
}

// Every gain swept together over its range and back, a new value every block.
TEST_P(LilvHost, ASweepRunFastOrPacedGivesTheSameBits) {
    ASSERT_NE(host.Find(GetParam().uri), nullptr) << "not in LV2_PATH";
    const auto sweep = [&](std::size_t b, zktest::Lv2Instance& i) {
        for (const char* g : GetParam().gains) {
            if (float* c = i.Control(g)) {
                *c = static_cast<float>(-12.0 + 24.0 * std::abs(double(b % 100) - 50.0) / 50.0);
            }
        }
    };
    const Lv2Channels fast = Run(sweep);
    const Lv2Channels paced = Run(sweep, true);
    EXPECT_LT(FirstDifference(fast, Run([](std::size_t, zktest::Lv2Instance&) {})), kBlock)
        << "the sweep is heard from its first block";
    const std::size_t first = FirstDifference(fast, paced);
    EXPECT_EQ(first, fast[0].size()) << "first difference at frame " << first;
}

INSTANTIATE_TEST_SUITE_P(
    Zkmorva, LilvHost,
    testing::Values(Bundle{"urn:zkmorva:zkmorva10-mono", {"LfGain", "OutputGain"}},
                    Bundle{"urn:zkmorva:zkmorva10-stereo", {"LfGain", "OutputGain"}},
                    Bundle{"urn:zkmorva:zkmorva20", {"Eq1LfGain"}}),
    [](const testing::TestParamInfo<Bundle>& info) {
        std::string n = std::string(info.param.uri).substr(12);
        std::replace(n.begin(), n.end(), '-', '_');
        return n;
    });

} // namespace
