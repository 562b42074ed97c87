// The block-wise meters against the per-sample rules on samples chosen at the
// rules' edges: the correlation gate, the balance floor, equal and silent
// channels, a level equal to its meter, overs, infinities and NaN; every route,
// with and without input levels, block lengths around the four-sample groups.
#include "dsp/Zkmorva20MeterBlocks.h"
#include "FastPathRig.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace {

using namespace zktest;

std::uint32_t FloatBits(float x) {
    return std::bit_cast<std::uint32_t>(x);
}

// Floats around a limit given in double: the nearest float and its neighbours.
void AddAround(std::vector<double>& v, double limit) {
    const float f = static_cast<float>(limit);
    for (float x : {std::nextafter(f, 0.0f), f, std::nextafter(f, 1.0f)}) {
        v.push_back(x);
        v.push_back(-x);
    }
}

std::vector<double> EdgeValues() {
    std::vector<double> v = {0.0,
                             -0.0,
                             1.0,
                             -1.0,
                             0.5,
                             0.25,
                             2.0,
                             1.5,
                             -3.0,
                             std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN(),
                             4.9e-320,
                             1e-40};
    AddAround(v, 0.0002);
    AddAround(v, 1e-10);
    AddAround(v, 1.0);
    return v;
}

zk20::CZkmorva20MeterState RandomState(Rng& rng) {
    zk20::CZkmorva20MeterState s;
    float* f = &s.inputLevel1;
    constexpr int kFields = sizeof(s) / sizeof(float);
    float values[kFields];
    for (float& x : values) {
        x = static_cast<float>(Uniform(rng, 0.0, 1.2));
    }
    std::memcpy(f, values, sizeof values);
    s.sampleCount = static_cast<float>(Pick(rng, 1000));
    return s;
}

::testing::AssertionResult SameState(const zk20::CZkmorva20MeterState& a,
                                     const zk20::CZkmorva20MeterState& b) {
    constexpr int kFields = sizeof(a) / sizeof(float);
    float fa[kFields], fb[kFields];
    std::memcpy(fa, &a, sizeof fa);
    std::memcpy(fb, &b, sizeof fb);
    for (int i = 0; i < kFields; ++i) {
        if (FloatBits(fa[i]) != FloatBits(fb[i])) {
            return ::testing::AssertionFailure()
                   << "field " << i << ": " << fa[i] << " vs " << fb[i];
        }
    }
    return ::testing::AssertionSuccess();
}

TEST(Zkmorva20MeterBlocks, BlockEqualsPerSampleRulesAtTheEdges) {
    Rng rng(3);
    const std::vector<double> edges = EdgeValues();
    auto edge = [&] {
        return edges[static_cast<std::size_t>(Pick(rng, static_cast<int>(edges.size())))];
    };
    constexpr zk20::Route kRoutes[] = {zk20::Route::None, zk20::Route::FirstOnBoth,
                                       zk20::Route::SecondOnBoth};
    for (int trial = 0; trial < 600; ++trial) {
        const long n = trial % 3 == 0 ? Pick(rng, 10) : RandomBlock(rng);
        std::vector<double> b1(static_cast<std::size_t>(n)), b2(b1.size());
        std::vector<float> magnitudes(2 * b1.size());
        for (std::size_t i = 0; i < b1.size(); ++i) {
            const int kind = Pick(rng, 4);
            b1[i] = kind == 0 ? Uniform(rng, -1.0, 1.0) : edge();
            b2[i] = kind == 1 ? b1[i] : kind == 2 ? -b1[i] : edge();
            magnitudes[2 * i] = static_cast<float>(std::abs(edge()));
            magnitudes[2 * i + 1] = static_cast<float>(std::abs(b1[i]));
        }
        zk20::CZkmorva20MeterState plain = RandomState(rng);
        // A level equal to the next sample's magnitude now and then.
        if (n > 0 && Pick(rng, 3) == 0) {
            plain.outputLevel1 = static_cast<float>(std::abs(b1[0]));
            plain.inputLevel1 = magnitudes[0];
        }
        zk20::CZkmorva20MeterState block = plain;
        const double gain1 = Pick(rng, 2) ? 1.0 : Uniform(rng, 0.1, 3.0);
        const double gain2 = Pick(rng, 2) ? 1.0 : Uniform(rng, 0.1, 3.0);
        const zk20::Route route = kRoutes[Pick(rng, 3)];
        const float* in = Pick(rng, 2) ? magnitudes.data() : nullptr;
        const float attack = static_cast<float>(Uniform(rng, 0.05, 0.6));
        const float release = static_cast<float>(Uniform(rng, 1e-5, 1e-3));
        std::vector<double> p1 = b1, p2 = b2;
        zk20::FollowOutputPlain(plain, p1.data(), p2.data(), n, gain1, gain2, route, in, attack,
                                release);
        zk20::FollowOutputBlock(block, b1.data(), b2.data(), n, gain1, gain2, route, in, attack,
                                release);
        ASSERT_TRUE(SameState(plain, block)) << "trial " << trial << ", " << n << " samples";
        ASSERT_TRUE(SameBits(p1, b1)) << "channel 1, trial " << trial;
        ASSERT_TRUE(SameBits(p2, b2)) << "channel 2, trial " << trial;
    }
}

} // namespace
