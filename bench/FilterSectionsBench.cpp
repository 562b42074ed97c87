// Filter sections over 4096-sample buffers; the "ns/sample" counter is the figure
// to compare.
#include "dsp/AiFilter.h"
#include "dsp/Biquad.h"
#include "dsp/HpLpFilter.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace {

constexpr long kBlock = 4096;

std::vector<double> Noise() {
    std::mt19937 rng(1);
    std::uniform_real_distribution<double> d(-1.0, 1.0);
    std::vector<double> v(kBlock);
    for (double& x : v) {
        x = d(rng);
    }
    return v;
}

template <class Filter> void Run(benchmark::State& state, Filter& filter) {
    const std::vector<double> input = Noise();
    std::vector<double> buffer = input;
    for (auto _ : state) {
        filter.FilterBuffer(buffer.data(), kBlock);
        benchmark::DoNotOptimize(buffer.data());
        benchmark::ClobberMemory();
        // Keep the signal alive without letting it grow or decay forever.
        buffer[0] = input[0];
    }
    state.SetItemsProcessed(state.iterations() * kBlock);
    state.counters["ns/sample"] =
        benchmark::Counter(static_cast<double>(state.iterations() * kBlock),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_BiquadPeak(benchmark::State& state) {
    CBiquad b(96000.0, filterParameters{Peak, 2.0, 1000.0, 1.0});
    Run(state, b);
}
BENCHMARK(BM_BiquadPeak);

void BM_AiFilter20Pole(benchmark::State& state) {
    CZkmorvaAiFilter ai(88200.0);
    Run(state, ai);
}
BENCHMARK(BM_AiFilter20Pole);

void BM_HpLpFilter5thOrder(benchmark::State& state) {
    CZkmorvaHpLpFilter f(96000.0, CZkmorvaHpLpFilter::kHighPass);
    f.Update(100.0, CZkmorvaHpLpFilter::kFrequency);
    f.Update(130.0, CZkmorvaHpLpFilter::kSlope);
    Run(state, f);
}
BENCHMARK(BM_HpLpFilter5thOrder);

} // namespace
