#pragma once

// Checking the fused filter passes against the plain per-section loops: random
// sections, histories and signals, and comparison bit for bit.
#include "dsp/Biquad.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <random>
#include <vector>

namespace zktest {

using Rng = std::mt19937;

inline double Uniform(Rng& rng, double lo, double hi) {
    return std::uniform_real_distribution<double>(lo, hi)(rng);
}

inline int Pick(Rng& rng, int n) {
    return std::uniform_int_distribution<int>(0, n - 1)(rng);
}

// Block lengths that stress the edges: single samples, the first two samples a
// pass treats apart, odd lengths, lengths around the stereo passes' 128- and
// 512-frame chunks, and the hosts' short blocks (16 to 64 frames, twice that
// while oversampling), shorter than a full pass's pipeline.
inline long RandomBlock(Rng& rng) {
    constexpr long kSizes[] = {1,   2,   3,   4,   5,   7,   11,  16,  31,   32,  64,
                               127, 128, 129, 255, 256, 300, 511, 513, 1024, 1100};
    return kSizes[Pick(rng, static_cast<int>(std::size(kSizes)))];
}

// A section of any type, sometimes flat (gain 1.0) or off (gain below 0.0).
inline filterParameters RandomParameters(Rng& rng, double fs) {
    filterParameters p;
    p.type = Pick(rng, 9);
    const int g = Pick(rng, 8);
    p.gain = g == 0 ? 1.0 : g == 1 ? -1.0 : std::pow(10.0, Uniform(rng, -18.0, 18.0) / 20.0);
    p.frequency = std::exp(Uniform(rng, std::log(15.0), std::log(0.45 * fs)));
    p.q = Uniform(rng, 0.2, 12.0);
    return p;
}

// Signal with the awkward values mixed in: signed zeros, denormals, large values.
inline std::vector<double> RandomSignal(Rng& rng, long n) {
    std::vector<double> v(static_cast<std::size_t>(n));
    for (double& x : v) {
        const int k = Pick(rng, 40);
        x = k == 0   ? -0.0
            : k == 1 ? 0.0
            : k == 2 ? 4.9e-320 * (Pick(rng, 2) ? 1.0 : -1.0)
            : k == 3 ? Uniform(rng, -1e6, 1e6)
                     : Uniform(rng, -1.0, 1.0);
    }
    return v;
}

inline void RandomHistory(Rng& rng, CBiquad& b) {
    const double h[4] = {Uniform(rng, -1.0, 1.0), Pick(rng, 4) == 0 ? -0.0 : Uniform(rng, -1, 1),
                         Uniform(rng, -1.0, 1.0), Uniform(rng, -1.0, 1.0)};
    b.StoreBuffers(h);
}

inline std::uint64_t Bits(double x) {
    return std::bit_cast<std::uint64_t>(x);
}

// Equal bit for bit; reports the first difference.
inline ::testing::AssertionResult SameBits(const double* a, const double* b, long n) {
    for (long i = 0; i < n; ++i) {
        if (Bits(a[i]) != Bits(b[i])) {
            return ::testing::AssertionFailure()
                   << "first difference at " << i << ": " << a[i] << " vs " << b[i];
        }
    }
    return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult SameBits(const std::vector<double>& a,
                                           const std::vector<double>& b) {
    if (a.size() != b.size()) {
        return ::testing::AssertionFailure() << "sizes " << a.size() << " vs " << b.size();
    }
    return SameBits(a.data(), b.data(), static_cast<long>(a.size()));
}

inline std::vector<double> History(const CBiquad& b) {
    std::vector<double> h(4);
    b.GetBuffers(h.data());
    return h;
}

} // namespace zktest
