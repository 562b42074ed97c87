// The block-wise meters and input stage against the per-sample rules on samples
// chosen at the rules' edges: the correlation gate, the balance floor, equal and
// silent channels, a level equal to its meter, overs, infinities and NaN; every
// route, with and without input levels, block lengths around the kernels'
// groups. Every kernel the machine runs is checked on its own (the others are
// reported as skipped), with the denormal guard of the processor and without.
#include "dsp/Zkmorva20MeterBlocks.h"
#include "FastPathRig.h"
#include "dsp/SignalProcessing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
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

namespace mk = zk20::meterkernels;

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
        // Where two different NaNs meet in one addition, C++ leaves open which
        // survives (the compiler may swap the operands), for the plain rules too;
        // the processor drops non-finite meter values at the end of each block.
        if (std::isnan(fa[i]) && std::isnan(fb[i])) {
            continue;
        }
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

// Now and then a field at an awkward value: signed zeros, denormals, negative,
// huge, infinite, NaN. The kernels must follow the rules from any state.
void Disturb(Rng& rng, zk20::CZkmorva20MeterState& s) {
    constexpr float kOdd[] = {0.0f,
                              -0.0f,
                              1e-41f,
                              -0.25f,
                              3e38f,
                              1.0f,
                              std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::quiet_NaN()};
    constexpr int kFields = sizeof(s) / sizeof(float);
    float values[kFields];
    std::memcpy(values, &s, sizeof values);
    const int changes = Pick(rng, 4);
    for (int c = 0; c < changes; ++c) {
        values[Pick(rng, kFields)] = kOdd[Pick(rng, static_cast<int>(std::size(kOdd)))];
    }
    std::memcpy(&s, values, sizeof values);
}

// Counts 0..20 (every remainder of the groups, and shorter than one), odd and
// even lengths around the 256-frame block, and long blocks.
long RandomCount(Rng& rng) {
    constexpr long kLong[] = {31, 63, 64, 65, 127, 255, 256, 257, 511, 512, 513, 1100};
    return Pick(rng, 2) == 0 ? Pick(rng, 21) : kLong[Pick(rng, static_cast<int>(std::size(kLong)))];
}

class MeterKernel : public ::testing::TestWithParam<mk::Isa> {
protected:
    void SetUp() override {
        if (!mk::Supported(GetParam())) {
            GTEST_SKIP() << mk::Name(GetParam()) << " kernel: not run by this machine or build";
        }
    }
};

TEST_P(MeterKernel, OutputMetersEqualPerSampleRules) {
    const mk::Isa isa = GetParam();
    Rng rng(11 + static_cast<int>(isa));
    const std::vector<double> edges = EdgeValues();
    auto edge = [&] {
        return edges[static_cast<std::size_t>(Pick(rng, static_cast<int>(edges.size())))];
    };
    constexpr zk20::Route kRoutes[] = {zk20::Route::None, zk20::Route::FirstOnBoth,
                                       zk20::Route::SecondOnBoth};
    int compared = 0;
    for (int trial = 0; trial < 1500; ++trial) {
        const long n = RandomCount(rng);
        std::vector<double> b1(static_cast<std::size_t>(n)), b2(b1.size());
        std::vector<float> magnitudes(2 * b1.size());
        const int signal = Pick(rng, 3); // edges, plain noise, huge and tiny
        for (std::size_t i = 0; i < b1.size(); ++i) {
            const int kind = Pick(rng, 5);
            if (signal == 1) {
                b1[i] = Uniform(rng, -1.5, 1.5);
                b2[i] = Uniform(rng, -1.5, 1.5);
            } else if (signal == 2) {
                b1[i] = Pick(rng, 2) ? Uniform(rng, -1e300, 1e300) : Uniform(rng, -1e-300, 1e-300);
                b2[i] = Pick(rng, 2) ? Uniform(rng, -1e39, 1e39) : Uniform(rng, -1e-39, 1e-39);
            } else {
                b1[i] = kind == 0 ? Uniform(rng, -1.0, 1.0) : edge();
                b2[i] = kind == 1 ? b1[i] : kind == 2 ? -b1[i] : edge();
            }
            magnitudes[2 * i] = static_cast<float>(std::abs(kind == 3 ? b1[i] : edge()));
            magnitudes[2 * i + 1] = static_cast<float>(std::abs(Uniform(rng, -1.2, 1.2)));
        }
        zk20::CZkmorva20MeterState plain = RandomState(rng);
        if (Pick(rng, 4) == 0) {
            Disturb(rng, plain);
        }
        if (n > 0 && Pick(rng, 3) == 0) { // a level equal to the next sample's magnitude
            plain.outputLevel2 = static_cast<float>(std::abs(b2[0]));
            plain.inputLevel2 = magnitudes[1];
        }
        zk20::CZkmorva20MeterState kernel = plain;
        const double gain1 = Pick(rng, 2) ? 1.0 : Uniform(rng, 0.0, 3.0);
        const double gain2 = Pick(rng, 2) ? 1.0 : Uniform(rng, 0.0, 3.0);
        const zk20::Route route = kRoutes[Pick(rng, 3)];
        const float* in = Pick(rng, 2) ? magnitudes.data() : nullptr;
        const float attack = static_cast<float>(Uniform(rng, 0.05, 0.6));
        const float release =
            Pick(rng, 8) == 0 ? 1.0f : static_cast<float>(Uniform(rng, 1e-5, 1e-3));
        std::vector<double> p1 = b1, p2 = b2;
        {
            // Half the trials under the processor's denormal guard (flush to zero,
            // denormal inputs as zero), where the plain rules run too.
            const bool guarded = trial % 2 == 1;
            std::optional<CDenormalGuard> guard;
            if (guarded) {
                guard.emplace();
            }
            zk20::FollowOutputPlain(plain, p1.data(), p2.data(), n, gain1, gain2, route, in, attack,
                                    release);
            mk::FollowOutput(isa, kernel, b1.data(), b2.data(), n, gain1, gain2, route, in, attack,
                             release);
        }
        const std::string where = "trial " + std::to_string(trial) + ", " + std::to_string(n) +
                                  " samples, route " + std::to_string(static_cast<int>(route)) +
                                  (in != nullptr ? ", inputs" : "");
        ASSERT_TRUE(SameState(plain, kernel)) << where;
        ASSERT_TRUE(SameBits(p1, b1)) << "channel 1, " << where;
        ASSERT_TRUE(SameBits(p2, b2)) << "channel 2, " << where;
        compared += n > 0;
    }
    EXPECT_GT(compared, 1000);
}

TEST_P(MeterKernel, InputStageEqualsPerSampleRule) {
    const mk::Isa isa = GetParam();
    Rng rng(23 + static_cast<int>(isa));
    const std::vector<double> edges = EdgeValues();
    for (int trial = 0; trial < 600; ++trial) {
        const long n = RandomCount(rng);
        std::vector<double> b1 = RandomSignal(rng, n), b2 = RandomSignal(rng, n);
        for (std::size_t i = 0; i < b1.size(); ++i) {
            if (Pick(rng, 4) == 0) {
                b1[i] = edges[static_cast<std::size_t>(Pick(rng, static_cast<int>(edges.size())))];
            }
            if (Pick(rng, 8) == 0) {
                b2[i] = Pick(rng, 2) ? 1e300 : -1e-310;
            }
        }
        std::vector<double> p1 = b1, p2 = b2;
        // Magnitudes start as a pattern that no kernel writes, so a missed pair shows.
        std::vector<float> plainMagnitudes(2 * b1.size(), -7.0f), magnitudes = plainMagnitudes;
        const std::uint32_t start = static_cast<std::uint32_t>(rng());
        std::uint32_t plainSeed = start, seed = start;
        const double gain1 = Pick(rng, 3) == 0 ? 1.0 : Uniform(rng, 0.0, 4.0);
        const double gain2 = Pick(rng, 3) == 0 ? 1.0 : Uniform(rng, 0.0, 4.0);
        const bool doubled = Pick(rng, 2) == 0;
        {
            std::optional<CDenormalGuard> guard;
            if (trial % 2 == 1) {
                guard.emplace();
            }
            zk20::RunInputPlain(p1.data(), p2.data(), n, gain1, gain2, doubled,
                                plainMagnitudes.data(), plainSeed);
            mk::RunInput(isa, b1.data(), b2.data(), n, gain1, gain2, doubled, magnitudes.data(),
                         seed);
        }
        const std::string where = "trial " + std::to_string(trial) + ", " + std::to_string(n) +
                                  " samples" + (doubled ? ", doubled" : "");
        ASSERT_TRUE(SameBits(p1, b1)) << "channel 1, " << where;
        ASSERT_TRUE(SameBits(p2, b2)) << "channel 2, " << where;
        for (std::size_t i = 0; i < magnitudes.size(); ++i) {
            ASSERT_EQ(FloatBits(plainMagnitudes[i]), FloatBits(magnitudes[i]))
                << "magnitude " << i << ", " << where;
        }
        ASSERT_EQ(plainSeed, seed) << "noise state after the block, " << where;
    }
}

// Host samples with the awkward values: signed zeros, float and double
// denormals, values beyond float's range, infinities, NaN.
template <typename Sample> std::vector<Sample> HostSamples(Rng& rng, long n) {
    constexpr double kOdd[] = {0.0,
                               -0.0,
                               1e-40,
                               -1e-45,
                               4.9e-320,
                               1e300,
                               -1e300,
                               3e38,
                               std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()};
    std::vector<Sample> v(static_cast<std::size_t>(n));
    for (Sample& x : v) {
        x = static_cast<Sample>(Pick(rng, 6) == 0 ? kOdd[Pick(rng, 10)] : Uniform(rng, -2.0, 2.0));
    }
    return v;
}

template <typename Sample> void CheckWorkConversions(mk::Isa isa, Rng& rng, int trial) {
    const long n = RandomCount(rng);
    const bool stuffed = Pick(rng, 2) == 0;
    const std::vector<Sample> in = HostSamples<Sample>(rng, n);
    const std::size_t work = static_cast<std::size_t>(stuffed ? 2 * n : n);
    // Patterns no conversion writes, so that a missed sample shows.
    std::vector<double> plainWork(work, -7.0), kernelWork(work, -7.0);
    std::vector<double> processed = HostSamples<double>(rng, static_cast<long>(work));
    std::vector<Sample> plainOut(in.size(), Sample(-5)), kernelOut(in.size(), Sample(-5));
    std::optional<CDenormalGuard> guard;
    if (trial % 2 == 1) {
        guard.emplace();
    }
    mk::FillWork(mk::Isa::Plain, in.data(), plainWork.data(), n, stuffed);
    mk::FillWork(isa, in.data(), kernelWork.data(), n, stuffed);
    mk::TakeWork(mk::Isa::Plain, processed.data(), plainOut.data(), n, stuffed);
    mk::TakeWork(isa, processed.data(), kernelOut.data(), n, stuffed);
    const std::string where = "trial " + std::to_string(trial) + ", " + std::to_string(n) +
                              " frames" + (stuffed ? ", stuffed" : "") +
                              (sizeof(Sample) == 4 ? ", float" : ", double");
    ASSERT_TRUE(SameBits(plainWork, kernelWork)) << "work buffer, " << where;
    for (std::size_t i = 0; i < in.size(); ++i) {
        ASSERT_EQ(std::bit_cast<std::uint64_t>(static_cast<double>(plainOut[i])),
                  std::bit_cast<std::uint64_t>(static_cast<double>(kernelOut[i])))
            << "output " << i << ", " << where;
        if constexpr (sizeof(Sample) == 4) {
            ASSERT_EQ(FloatBits(plainOut[i]), FloatBits(kernelOut[i])) << "output " << i;
        }
    }
}

TEST_P(MeterKernel, WorkBufferConversionsEqualPerFrameLoops) {
    const mk::Isa isa = GetParam();
    Rng rng(41 + static_cast<int>(isa));
    for (int trial = 0; trial < 400; ++trial) {
        if (trial % 4 < 2) {
            CheckWorkConversions<float>(isa, rng, trial);
        } else {
            CheckWorkConversions<double>(isa, rng, trial);
        }
        if (HasFatalFailure()) {
            return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kernels, MeterKernel, ::testing::ValuesIn(mk::kAllIsas),
                         [](const ::testing::TestParamInfo<mk::Isa>& info) {
                             std::string name = mk::Name(info.param);
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

// The kernel the per-sample meters are checked against is the widest supported.
TEST(Zkmorva20MeterBlocks, BestKernelIsTheWidestSupported) {
    mk::Isa widest = mk::Isa::Plain;
    for (mk::Isa isa : mk::kAllIsas) {
        if (mk::Supported(isa)) {
            widest = isa;
        }
    }
    EXPECT_EQ(mk::Best(), widest) << "chosen: " << mk::Name(mk::Best());
    EXPECT_TRUE(mk::Supported(mk::Isa::Plain));
}

// The block kernels scale the balance term by 4/3 as a product with kOneThird
// where Balance() divides by 3.0. Both, through the rest of Balance(), on floats
// t spread over [-1, 1] (a prime stride through every exponent and mantissa,
// both signs) and on every float near 0.75 (where 4t/3 meets the clamp) and
// near 1: the float balance must be the same bit for bit.
TEST(Zkmorva20MeterBlocks, BalanceScalingByOneThirdEqualsTheDivision) {
    auto balance = [](double scaled) {
        const double raw = scaled > 1.0 ? 2.0 : (scaled < -1.0 ? 0.0 : scaled + 1.0);
        return static_cast<float>(raw * 0.5);
    };
    long checked = 0, differing = 0;
    float first = 0.0f;
    auto check = [&](float t) {
        const float divided = balance(static_cast<double>(t) * 4.0 / 3.0);
        const float multiplied =
            balance(static_cast<double>(t) * 4.0 * zk20::meterkernels::kOneThird);
        if (FloatBits(divided) != FloatBits(multiplied) && differing++ == 0) {
            first = t;
        }
        ++checked;
    };
    const std::uint32_t one = FloatBits(1.0f);
    for (std::uint32_t bits = 0; bits <= one; bits += 997) {
        check(std::bit_cast<float>(bits));
        check(-std::bit_cast<float>(bits));
    }
    for (const float centre : {0.75f, 1.0f}) {
        const std::uint32_t at = FloatBits(centre);
        for (std::uint32_t bits = at - 20000; bits <= std::min(at + 20000, one); ++bits) {
            check(std::bit_cast<float>(bits));
            check(-std::bit_cast<float>(bits));
        }
    }
    EXPECT_EQ(differing, 0) << "of " << checked << ", the first at t = " << first;
    EXPECT_GT(checked, 2000000);
}

// The count after n increments of 1.0f in one step, wherever that is exact,
// and one increment at a time elsewhere (2^24 and beyond, fractions, negative,
// infinite and NaN counts, denormals).
TEST(Zkmorva20MeterBlocks, SampleCountAdvancesAsIncrements) {
    const float kCounts[] = {0.0f,
                             -0.0f,
                             1.0f,
                             999.0f,
                             0.5f,
                             -3.0f,
                             -0.75f,
                             1e-41f,
                             16777216.0f - 600.0f,
                             16777216.0f - 1.0f,
                             16777216.0f,
                             16777216.0f + 2.0f,
                             3e38f,
                             std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity(),
                             std::numeric_limits<float>::quiet_NaN()};
    for (const bool guarded : {false, true}) {
        std::optional<CDenormalGuard> guard;
        if (guarded) {
            guard.emplace();
        }
        for (const float count : kCounts) {
            for (const long n : {0L, 1L, 2L, 7L, 512L, 599L, 600L, 601L, 1100L}) {
                float expected = count;
                for (long i = 0; i < n; ++i) {
                    expected += 1.0f;
                }
                EXPECT_EQ(FloatBits(expected), FloatBits(mk::AdvanceSampleCount(count, n)))
                    << count << " + " << n << (guarded ? " (guarded)" : "");
            }
        }
    }
}

} // namespace
