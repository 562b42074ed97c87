// Every unit configuration at every host rate, with the block sizes hosts use
// (and some they should not): output finite with no subnormals, a 0-frame call
// changes nothing, random chunking equals one-shot rendering bit for bit, in
// place equals out of place and the input buffer is left alone.
#include "tests/reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace zkrel;

struct SweepCase {
    const UnitKind* kind;
    double rate;
};

std::vector<SweepCase> AllCases() {
    std::vector<SweepCase> cases;
    for (const UnitKind& k : Kinds()) {
        for (double r : kRates) {
            cases.push_back({&k, r});
        }
    }
    return cases;
}

std::string CaseName(const testing::TestParamInfo<SweepCase>& info) {
    return std::string(info.param.kind->name) + "_" + RateName(info.param.rate);
}

class Sweep : public testing::TestWithParam<SweepCase> {
protected:
    const UnitKind& Kind() const { return *GetParam().kind; }
    double Rate() const { return GetParam().rate; }
    std::size_t Frames() const { return 8192 + static_cast<std::size_t>(Rate() * 0.05); }
};

// Largest difference between two renders (0 when identical bit for bit).
float LargestDifference(const Channels& a, const Channels& b) {
    float d = 0.0f;
    for (std::size_t c = 0; c < a.size(); ++c) {
        for (std::size_t i = 0; i < a[c].size(); ++i) {
            if (std::memcmp(&a[c][i], &b[c][i], sizeof(float)) != 0) {
                const float diff = std::fabs(a[c][i] - b[c][i]);
                d = std::max(d, std::isnan(diff) ? INFINITY : std::max(diff, 1e-38f));
            }
        }
    }
    return d;
}

TEST_P(Sweep, EveryBlockSizeGivesFiniteOutputWithoutSubnormals) {
    const Channels in = Noise(Kind().channels, Frames(), 11);
    const UInt32 sizes[] = {1, 2, 17, 64, 1536, 2027, 4096, 0 /* random */};
    for (const Settings& settings : {AllActive(Kind()), RandomSettings(Kind(), 5)}) {
        for (UInt32 size : sizes) {
            Rig rig(Kind(), Rate(), 4096, settings);
            std::mt19937 rng(size + 3);
            const Channels out = rig.RenderBlocks(
                in, [&] { return size != 0 ? size : 1 + static_cast<UInt32>(rng() % 4096); });
            AudioCheck check;
            check.Add(out);
            EXPECT_TRUE(check.Clean()) << "block " << size << ": " << check.Describe();
            EXPECT_LT(check.worst, 100.0f) << "block " << size;
        }
    }
}

TEST_P(Sweep, ZeroFrameCallsChangeNothing) {
    const Settings settings = AllActive(Kind());
    Rig plain(Kind(), Rate(), 4096, settings);
    Rig withEmpty(Kind(), Rate(), 4096, settings);
    const Channels in = Noise(Kind().channels, 4096, 3);
    std::vector<float> sentinel(16, 123.0f);
    std::vector<const float*> ip(Kind().channels, in[0].data());
    std::vector<float*> op(Kind().channels, sentinel.data());
    Channels a = plain.Render(in, 256);
    Channels b = withEmpty.RenderBlocks(in, [&] {
        EXPECT_EQ(withEmpty.RenderRaw(ip, op, 0), noErr);
        return 256u;
    });
    for (float v : sentinel) {
        ASSERT_EQ(v, 123.0f) << "a 0-frame call wrote to its output";
    }
    EXPECT_EQ(LargestDifference(a, b), 0.0f);
}

TEST_P(Sweep, RandomChunksEqualOneShotBitForBit) {
    const std::size_t frames = std::min<std::size_t>(Frames() * 2, 65536);
    const auto maxFrames = static_cast<UInt32>(frames);
    for (std::uint32_t seed : {1u, 2u, 3u}) {
        const Settings settings = seed == 1 ? AllActive(Kind()) : RandomSettings(Kind(), seed);
        const Channels in = Noise(Kind().channels, frames, seed + 100);
        Rig once(Kind(), Rate(), maxFrames, settings);
        Rig chunked(Kind(), Rate(), maxFrames, settings);
        const Channels a = once.Render(in, maxFrames);
        std::mt19937 rng(seed);
        const Channels b = chunked.RenderBlocks(in, [&] {
            // Mostly small and odd sizes, now and then a long one.
            return rng() % 8 == 0 ? 1 + static_cast<UInt32>(rng() % 5000)
                                  : 1 + static_cast<UInt32>(rng() % 97);
        });
        const float diff = LargestDifference(a, b);
        EXPECT_EQ(diff, 0.0f) << "settings " << seed << ": largest difference " << diff;
        RecordProperty("largest_difference_" + std::to_string(seed), std::to_string(diff));
    }
}

TEST_P(Sweep, InPlaceEqualsOutOfPlaceAndLeavesTheInputAlone) {
    const Settings settings = RandomSettings(Kind(), 21);
    const Channels in = Noise(Kind().channels, 6000, 4);
    Rig separate(Kind(), Rate(), 2048, settings);
    Rig inPlace(Kind(), Rate(), 2048, settings);
    const Channels copy = in;
    const Channels a = separate.Render(in, 1000);
    EXPECT_EQ(LargestDifference(in, copy), 0.0f) << "the input buffer was modified";

    Channels buffers = in;
    std::vector<const float*> ip(Kind().channels);
    std::vector<float*> op(Kind().channels);
    for (std::size_t pos = 0; pos < buffers[0].size(); pos += 1000) {
        const auto n = static_cast<UInt32>(std::min<std::size_t>(1000, buffers[0].size() - pos));
        for (std::size_t c = 0; c < buffers.size(); ++c) {
            op[c] = buffers[c].data() + pos;
            ip[c] = op[c];
        }
        ASSERT_EQ(inPlace.RenderRaw(ip, op, n), noErr);
        inPlace.Pump();
    }
    EXPECT_EQ(LargestDifference(a, buffers), 0.0f);
}

INSTANTIATE_TEST_SUITE_P(Units, Sweep, testing::ValuesIn(AllCases()), CaseName);

} // namespace
