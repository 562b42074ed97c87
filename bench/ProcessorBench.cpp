// Both signal processors at 44.1, 48 and 96 kHz, with the defaults and with
// every section active, in 256-frame blocks of float noise; each also on the
// plain per-section loops ("/plain"). Counters: ns/frame
// (per stereo frame for the two-channel processor, per mono frame for the channel
// processor), rtf and ops/frame (see Configurations.h).
#include "BenchSupport.h"
#include "Configurations.h"

#include <string>
#include <vector>

namespace {

using namespace zkbench;

constexpr long kNoiseFrames = kHostBlock * 64;

std::string RateName(double rate) {
    return std::to_string(static_cast<int>(rate / 100.0) / 10) + "." +
           std::to_string(static_cast<int>(rate / 100.0) % 10) + "k";
}

std::vector<float> FloatNoise(std::uint32_t seed) {
    const std::vector<double> d = Noise(kNoiseFrames, seed);
    return std::vector<float>(d.begin(), d.end());
}

void RunZkmorva20(benchmark::State& state, double rate, bool all, bool plain) {
    CZkmorva20SignalProcessing p;
    p.SetPlainFilterLoops(plain);
    p.UpdateSampleRate(rate);
    p.AllocateWorkBuffers(kHostBlock);
    p.InitBuffers();
    if (all) {
        ActivateAll(p);
    }
    std::vector<float> l = FloatNoise(1), r = FloatNoise(2);
    std::vector<float> ol(l.size()), orr(r.size());
    long pos = 0;
    for (auto _ : state) {
        float* in[2] = {l.data() + pos, r.data() + pos};
        float* out[2] = {ol.data() + pos, orr.data() + pos};
        p.ProcessFloats(in, out, kHostBlock);
        benchmark::DoNotOptimize(out[0][0]);
        pos = (pos + kHostBlock) % kNoiseFrames;
    }
    SetFrameCounters(state, kHostBlock, rate, OpsPerFrame(p));
}

void RunZkmorva10(benchmark::State& state, double rate, bool all, bool plain) {
    CZkmorva10SignalProcessing p;
    p.SetPlainFilterLoops(plain);
    p.UpdateSampleRate(rate);
    p.AllocateWorkBuffer(kHostBlock);
    p.InitBuffers();
    if (all) {
        ActivateAll(p);
    }
    std::vector<float> x = FloatNoise(1), y(x.size());
    long pos = 0;
    for (auto _ : state) {
        float* in = x.data() + pos;
        float* out = y.data() + pos;
        p.ProcessFloats(&in, &out, kHostBlock);
        benchmark::DoNotOptimize(out[0]);
        pos = (pos + kHostBlock) % kNoiseFrames;
    }
    SetFrameCounters(state, kHostBlock, rate, OpsPerFrame(p));
}

const bool registered = [] {
    for (double rate : kRates) {
        for (bool all : {false, true}) {
            // "plain": the same processor on the per-section loops, for comparison.
            for (bool plain : {false, true}) {
                const std::string suffix =
                    "/" + RateName(rate) + (all ? "/all" : "/flat") + (plain ? "/plain" : "");
                benchmark::RegisterBenchmark(("Zkmorva20Processor" + suffix).c_str(), RunZkmorva20,
                                             rate, all, plain);
                benchmark::RegisterBenchmark(("Zkmorva10ProcessorMono" + suffix).c_str(),
                                             RunZkmorva10, rate, all, plain);
            }
        }
    }
    return true;
}();

} // namespace
