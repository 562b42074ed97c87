// The two-channel processor's meter and input-stage kernels on their own, each
// one this machine runs, on a block of 512 samples (a 256-frame host block at
// 2x oversampling): output meters with input levels, and the input stage with
// the zero-stuffing compensation. Counter: ns/sample. The "min" aggregate is
// the least disturbed run on a shared machine.
#include "BenchSupport.h"
#include "dsp/SignalProcessing.h"
#include "dsp/Zkmorva20MeterBlocks.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace zkbench;
namespace mk = zk20::meterkernels;

constexpr long kSamples = 2 * kHostBlock;

void SetSampleCounter(benchmark::State& state) {
    const double samples = static_cast<double>(state.iterations()) * kSamples;
    state.counters["ns/sample"] = benchmark::Counter(
        samples * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void FollowOutput(benchmark::State& state, mk::Isa isa) {
    std::vector<double> b1 = Noise(kSamples, 1), b2 = Noise(kSamples, 2);
    std::vector<float> magnitudes(2 * kSamples);
    for (long i = 0; i < kSamples; ++i) {
        magnitudes[2 * i] = static_cast<float>(std::abs(b1[i]));
        magnitudes[2 * i + 1] = static_cast<float>(std::abs(b2[i]));
    }
    zk20::CZkmorva20MeterState s;
    CDenormalGuard guard; // as the processor runs them
    for (auto _ : state) {
        // Unity gains leave the signal as it is from one round to the next.
        mk::FollowOutput(isa, s, b1.data(), b2.data(), kSamples, 1.0, 1.0, zk20::Route::None,
                         magnitudes.data(), 0.3f, 1e-4f);
        benchmark::DoNotOptimize(s);
        s.sampleCount = 0.0f;
    }
    SetSampleCounter(state);
}

void Input(benchmark::State& state, mk::Isa isa) {
    std::vector<double> b1 = Noise(kSamples, 1), b2 = Noise(kSamples, 2);
    std::vector<float> magnitudes(2 * kSamples);
    std::uint32_t seed = 1;
    CDenormalGuard guard;
    for (auto _ : state) {
        // Gain 0.5 and the doubling keep the level where it is.
        mk::RunInput(isa, b1.data(), b2.data(), kSamples, 0.5, 0.5, true, magnitudes.data(), seed);
        benchmark::DoNotOptimize(magnitudes.data());
    }
    SetSampleCounter(state);
}

double Min(const std::vector<double>& v) {
    return *std::min_element(v.begin(), v.end());
}

const bool registered = [] {
    for (mk::Isa isa : mk::kAllIsas) {
        if (!mk::Supported(isa)) {
            continue;
        }
        const std::string name = mk::Name(isa);
        benchmark::RegisterBenchmark(("Zkmorva20MeterKernels/FollowOutput/" + name).c_str(),
                                     FollowOutput, isa)
            ->ComputeStatistics("min", Min);
        benchmark::RegisterBenchmark(("Zkmorva20MeterKernels/Input/" + name).c_str(), Input, isa)
            ->ComputeStatistics("min", Min);
    }
    return true;
}();

} // namespace
