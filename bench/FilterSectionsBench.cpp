// Every filter section and composite filter over 4096-sample buffers at the
// processing rates of 44.1, 48 and 96 kHz hosts (88.2, 96 and 96 kHz). The
// "ns/sample" counter is the figure to compare.
#include "BenchSupport.h"
#include "dsp/AiFilter.h"
#include "dsp/Biquad.h"
#include "dsp/CascadeKernels.h"
#include "dsp/HpLpFilter.h"
#include "dsp/MidSideStage.h"
#include "dsp/MonoMaker.h"
#include "dsp/Shifter.h"
#include "dsp/SignalProcessing.h"

#include <cmath>
#include <string>
#include <vector>

namespace {

using namespace zkbench;

constexpr long kBlock = 4096;

double ProcessRate(double hostRate) {
    return hostRate < 64000.0 ? 2.0 * hostRate : hostRate;
}

std::string HostName(double rate) {
    return "/" + std::to_string(static_cast<int>(rate)) + "Hz";
}

void SetSampleCounters(benchmark::State& state, long samples) {
    const double n = static_cast<double>(state.iterations()) * samples;
    state.SetItemsProcessed(static_cast<std::int64_t>(n));
    state.counters["ns/sample"] =
        benchmark::Counter(n * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

template <class Filter> void Run(benchmark::State& state, Filter& filter) {
    const std::vector<double> input = Noise(kBlock);
    std::vector<double> buffer = input;
    for (auto _ : state) {
        filter.FilterBuffer(buffer.data(), kBlock);
        benchmark::DoNotOptimize(buffer.data());
        benchmark::ClobberMemory();
        // Keep the signal alive without letting it grow or decay forever.
        buffer[0] = input[0];
    }
    SetSampleCounters(state, kBlock);
}

struct TypeCase {
    const char* name;
    filterParameters p;
};
constexpr TypeCase kTypes[] = {
    {"Peak", {Peak, 2.0, 1000.0, 1.0}},
    {"LowShelf", {LowShelf, 0.5, 200.0, 0.0}},
    {"HighShelf", {HighShelf, 2.0, 8000.0, 0.0}},
    {"HighPass1", {HighPass1, 0.0, 100.0, 0.0}},
    {"HighPass2", {HighPass2, 0.0, 100.0, 1.4142135381698608}},
    {"LowPass1", {LowPass1, 0.0, 12000.0, 0.0}},
    {"LowPass2", {LowPass2, 0.0, 12000.0, 1.4142135381698608}},
    {"Notch", {Notch, 0.0, 1000.0, 10.0}},
    {"BandPass", {BandPass, 0.0, 1000.0, 2.0}},
};

// The two-channel fused pass on each instruction set, over 512-sample blocks
// (a 256-frame host block at twice the rate) through 10 sections (the band
// limit alone) and 24 or 25 (the band limit and a full chain); 24 also with the
// mid/side stage (mono maker and width) at its end, in the chain's last pass or
// after it in a loop of its own. The wide kernels keep their set-up in a plan from
// block to block, as the processors do.
using StereoKernel = void (*)(const zk::StereoStage*, int, const zk::MidSideTail*, double*, double*,
                              long, zk::CascadePlan*);

void Baseline(const zk::StereoStage* stages, int count, const zk::MidSideTail* tail, double* l,
              double* r, long n, zk::CascadePlan*) {
    zk::kernels::FilterCascadeStereoBaseline(stages, count, tail, l, r, n);
}

enum class MidSide { None, InPass, After };

void RunStereoKernel(benchmark::State& state, StereoKernel kernel, int sections, MidSide midSide) {
    constexpr long kSamples = 2 * kHostBlock;
    std::vector<CBiquad> left, right;
    for (int k = 0; k < sections; ++k) {
        // Bells spread over the band, as a full chain is.
        const double f = 40.0 * std::pow(2.0, 0.4 * k);
        left.emplace_back(96000.0, filterParameters{Peak, 1.5, f, 1.0});
        right.emplace_back(96000.0, filterParameters{Peak, 0.7, f, 1.0});
    }
    std::vector<zk::StereoStage> stages;
    for (int k = 0; k < sections; ++k) {
        stages.push_back({&left[static_cast<std::size_t>(k)], &right[static_cast<std::size_t>(k)]});
    }
    CBiquad mid(96000.0, filterParameters{LowShelf, 1.06, 120.0, 1.0});
    CBiquad side(96000.0, filterParameters{HighPass2, 0.0, 120.0, 1.4142135381698608});
    const zk::MidSideTail tail{&mid, &side, true, 1.3};
    const std::vector<double> input = Noise(kSamples);
    std::vector<double> l = input, r = Noise(kSamples, 5);
    zk::CascadePlan plan;
    for (auto _ : state) {
        kernel(stages.data(), sections, midSide == MidSide::InPass ? &tail : nullptr, l.data(),
               r.data(), kSamples, &plan);
        if (midSide == MidSide::After) {
            zk::RunMidSideStage(l.data(), r.data(), kSamples, tail.mid, tail.side, tail.width,
                                tail.widthFactor);
        }
        benchmark::DoNotOptimize(l.data());
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
        l[0] = input[0];
    }
    SetSampleCounters(state, kSamples);
}

// The mid/side stage on its own (mono maker and width), over 512-sample blocks.
void RunMidSideStageAlone(benchmark::State& state) {
    constexpr long kSamples = 2 * kHostBlock;
    CBiquad mid(96000.0, filterParameters{LowShelf, 1.06, 120.0, 1.0});
    CBiquad side(96000.0, filterParameters{HighPass2, 0.0, 120.0, 1.4142135381698608});
    std::vector<double> l = Noise(kSamples), r = Noise(kSamples, 5);
    CDenormalGuard guard; // as the processor runs it: the decaying side would go denormal
    for (auto _ : state) {
        zk::RunMidSideStage(l.data(), r.data(), kSamples, &mid, &side, true, 1.0);
        benchmark::DoNotOptimize(l.data());
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
    SetSampleCounters(state, kSamples);
}
BENCHMARK(RunMidSideStageAlone)->Name("MidSideStage");

void RegisterStereoKernels() {
    struct Named {
        const char* name;
        StereoKernel kernel;
        bool available;
    };
    const Named kernels[] = {
        {"Sse2", Baseline, true},
        {"Avx", zk::kernels::FilterCascadeStereoAvx, zk::kernels::HaveAvx()},
        {"Avx512", zk::kernels::FilterCascadeStereoAvx512, zk::kernels::HaveAvx512()},
    };
    struct Chain {
        int sections;
        MidSide midSide;
        const char* name;
    };
    for (const Chain& c : {Chain{10, MidSide::None, "10"}, Chain{24, MidSide::None, "24"},
                           Chain{25, MidSide::None, "25"}, Chain{24, MidSide::InPass, "24+midside"},
                           Chain{25, MidSide::InPass, "25+midside"},
                           Chain{24, MidSide::After, "24+midside-after"}}) {
        for (const Named& k : kernels) {
            if (k.available) {
                benchmark::RegisterBenchmark(
                    ("StereoCascade/" + std::string(c.name) + "/" + k.name).c_str(),
                    RunStereoKernel, k.kernel, c.sections, c.midSide);
            }
        }
    }
}

constexpr double kSlopes[] = {8.0, 106.0, 112.0, 118.0, 124.0, 130.0};

const bool registered = [] {
    for (double host : kRates) {
        const double fs = ProcessRate(host);
        const std::string at = HostName(host);
        for (const TypeCase& t : kTypes) {
            benchmark::RegisterBenchmark(("Biquad/" + std::string(t.name) + at).c_str(),
                                         [fs, t](benchmark::State& s) {
                                             CBiquad b(fs, t.p);
                                             Run(s, b);
                                         });
        }
        for (double slope : kSlopes) {
            for (int mode : {0, 1}) {
                const std::string name = std::string(mode == 0 ? "HighPass" : "LowPass") + "/code" +
                                         std::to_string(static_cast<int>(slope));
                benchmark::RegisterBenchmark(
                    (name + at).c_str(), [fs, slope, mode](benchmark::State& s) {
                        CZkmorvaHpLpFilter f(fs, mode);
                        f.Update(mode == 0 ? 80.0 : 15000.0, CZkmorvaHpLpFilter::kFrequency);
                        f.Update(slope, CZkmorvaHpLpFilter::kSlope);
                        Run(s, f);
                    });
            }
        }
        for (int mode : {0, 1}) {
            benchmark::RegisterBenchmark(
                ((mode == 0 ? "BassShifter" : "PresenceShifter") + at).c_str(),
                [fs, mode](benchmark::State& s) {
                    CZkmorvaShifter f(fs, mode);
                    f.Update(mode == 0 ? 89.0 : 12600.0, CZkmorvaShifter::kFrequency);
                    f.Update(1.6, CZkmorvaShifter::kGain);
                    Run(s, f);
                });
        }
        if (host < 64000.0) {
            benchmark::RegisterBenchmark(("AiFilter20Pole" + at).c_str(),
                                         [fs](benchmark::State& s) {
                                             CZkmorvaAiFilter f(fs);
                                             Run(s, f);
                                         });
        }
        benchmark::RegisterBenchmark(("MonoMaker" + at).c_str(), [fs](benchmark::State& s) {
            CMonoMaker m(fs);
            m.Update(120.0, 120.0);
            const std::vector<double> input = Noise(kBlock);
            std::vector<double> mid = input, side = Noise(kBlock, 9);
            for (auto _ : s) {
                m.FilterMSBuffers(mid.data(), side.data(), kBlock);
                benchmark::DoNotOptimize(mid.data());
                benchmark::DoNotOptimize(side.data());
                benchmark::ClobberMemory();
                mid[0] = input[0];
            }
            SetSampleCounters(s, kBlock);
        });
    }
    RegisterStereoKernels();
    return true;
}();

} // namespace
