#pragma once

// Shared pieces of the benchmark suites: the noise every suite filters, the
// per-frame counters and the arithmetic count the machine limit is formed from.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

namespace zkbench {

// Host rates every suite runs at.
inline constexpr double kRates[] = {44100.0, 48000.0, 96000.0};
// Host block length of the processor and unit suites (as the peer host uses).
inline constexpr long kHostBlock = 256;
// Host block lengths the plug-in suites measure the cost of a block at: live
// tracking's short blocks up to a mix's long ones.
inline constexpr long kBlockSizes[] = {16, 32, 64, 256, 1024};

// Uniform noise in [-0.5, 0.5), float-representable, reproducible.
inline std::vector<double> Noise(long count, std::uint32_t seed = 1) {
    std::vector<double> v(static_cast<std::size_t>(count));
    for (double& x : v) {
        seed = seed * 1664525u + 1013904223u;
        x = static_cast<double>(static_cast<float>(seed) / 4294967296.0f) - 0.5;
    }
    return v;
}

// ns/frame: CPU time per host frame. rtf: seconds of audio per second of CPU.
// ops/frame: double-precision multiplies and adds per host frame, for the limit.
inline void SetFrameCounters(benchmark::State& state, long framesPerIteration, double hostRate,
                             double opsPerFrame) {
    const double frames = static_cast<double>(state.iterations()) * framesPerIteration;
    state.SetItemsProcessed(static_cast<std::int64_t>(frames));
    state.counters["ns/frame"] = benchmark::Counter(frames * 1e-9, benchmark::Counter::kIsRate |
                                                                       benchmark::Counter::kInvert);
    state.counters["rtf"] = benchmark::Counter(frames / hostRate, benchmark::Counter::kIsRate);
    state.counters["ops/frame"] = opsPerFrame;
}

// Multiplies and adds of one second-order section on one sample (five products,
// four sums).
inline constexpr double kSectionOps = 9.0;

} // namespace zkbench
