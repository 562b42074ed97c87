// Every unit configuration at every host rate, with the block sizes hosts use
// (and some they should not), in place: the output equals one render of the
// whole signal bit for bit, stays finite without subnormals, 0-frame calls write
// nothing and change nothing, and the input buffer of an out-of-place render is
// left alone.
#include "tests/reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace zkrel;

struct SweepCase {
    const UnitKind* kind;
    double rate;
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

class Sweep : public testing::TestWithParam<SweepCase> {};

TEST_P(Sweep, ChunkedInPlaceRendersEqualOneShotAndStayClean) {
    const UnitKind& kind = *GetParam().kind;
    const double rate = GetParam().rate;
    const std::size_t frames = std::min<std::size_t>(16384 + std::size_t(rate * 0.1), 65536);
    const auto maxFrames = static_cast<UInt32>(frames);
    // Fixed sizes first (one frame, odd sizes, the largest announced), then random
    // ones: mostly small and odd, now and then a long one.
    const UInt32 fixed[] = {1, 2, 17, 64, 1536, 2027, 4096, maxFrames};
    for (std::uint32_t seed : {1u, 2u, 3u}) {
        const Settings settings = seed == 1 ? AllActive(kind) : RandomSettings(kind, seed);
        const Channels in = Noise(kind.channels, frames, seed + 100);
        Rig once(kind, rate, maxFrames, settings);
        Rig chunked(kind, rate, maxFrames, settings);
        const Channels copy = in;
        const Channels a = once.Render(in, maxFrames);
        EXPECT_EQ(LargestDifference(in, copy), 0.0f) << "the input buffer was modified";
        AudioCheck check;
        check.Add(a);
        EXPECT_TRUE(check.Clean()) << "settings " << seed << ": " << check.Describe();
        EXPECT_LT(check.worst, 100.0f) << "settings " << seed;

        Channels b = in;
        std::vector<float> sentinel(16, 123.0f);
        std::vector<const float*> ip(kind.channels);
        std::vector<float*> op(kind.channels), sp(kind.channels, sentinel.data());
        std::mt19937 rng(seed);
        for (std::size_t pos = 0, block = 0; pos < frames; ++block) {
            const UInt32 size = block < std::size(fixed) ? fixed[block]
                                : rng() % 8 == 0         ? 1 + static_cast<UInt32>(rng() % 5000)
                                                         : 1 + static_cast<UInt32>(rng() % 97);
            const auto n = static_cast<UInt32>(std::min<std::size_t>(size, frames - pos));
            for (std::size_t c = 0; c < b.size(); ++c) {
                op[c] = b[c].data() + pos;
                ip[c] = op[c];
            }
            ASSERT_EQ(chunked.RenderRaw(ip, sp, 0), noErr);
            ASSERT_EQ(chunked.RenderRaw(ip, op, n), noErr);
            chunked.Pump();
            pos += n;
        }
        for (float v : sentinel) {
            ASSERT_EQ(v, 123.0f) << "a 0-frame call wrote to its output";
        }
        const float diff = LargestDifference(a, b);
        EXPECT_EQ(diff, 0.0f) << "settings " << seed << ": largest difference " << diff;
    }
}

std::vector<SweepCase> AllCases() {
    std::vector<SweepCase> cases;
    for (const UnitKind& k : Kinds()) {
        for (double r : kRates) {
            cases.push_back({&k, r});
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Units, Sweep, testing::ValuesIn(AllCases()),
                         [](const testing::TestParamInfo<SweepCase>& info) {
                             return std::string(info.param.kind->name) + "_" +
                                    RateName(info.param.rate);
                         });

} // namespace
