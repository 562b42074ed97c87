// The effect units as a host drives them: stereo float blocks of 256 frames
// through Render, parameters set through the host interface, at 44.1, 48 and
// 96 kHz with the defaults and with every section active.
#include "BenchSupport.h"
#include "Configurations.h"
#include "UnitSettings.h"
#include "support/UnitHost.h"
#include "units/Zkmorva10AU.h"
#include "units/Zkmorva10Parameters.h"
#include "units/Zkmorva20AU.h"
#include "units/Zkmorva20Parameters.h"

#include <string>
#include <vector>

namespace {

using namespace zkbench;
using namespace zk;

constexpr long kNoiseFrames = kHostBlock * 64;

template <class Setup>
void RunUnit(benchmark::State& state, AudioUnitPtr unit, double rate, Setup setup,
             double opsPerFrame) {
    zktest::UnitHost host(std::move(unit), rate, 2, static_cast<UInt32>(kHostBlock));
    setup(host);
    std::vector<double> l = Noise(kNoiseFrames, 1), r = Noise(kNoiseFrames, 2);
    std::vector<float> lf(l.begin(), l.end()), rf(r.begin(), r.end());
    std::vector<float> ol(lf.size()), orr(rf.size());
    std::vector<const float*> in(2);
    std::vector<float*> out(2);
    long pos = 0;
    for (auto _ : state) {
        in = {lf.data() + pos, rf.data() + pos};
        out = {ol.data() + pos, orr.data() + pos};
        AudioUnitRenderActionFlags flags = 0;
        host.Unit().Render(flags, static_cast<UInt32>(kHostBlock), in, out);
        benchmark::DoNotOptimize(out[0][0]);
        pos = (pos + kHostBlock) % kNoiseFrames;
    }
    SetFrameCounters(state, kHostBlock, rate, opsPerFrame);
}

std::string RateName(double rate) {
    return std::to_string(static_cast<int>(rate)) + "Hz";
}

const bool registered = [] {
    for (double rate : kRates) {
        for (bool all : {false, true}) {
            const std::string name = "Zkmorva10Unit/" + RateName(rate) + (all ? "/all" : "/flat");
            benchmark::RegisterBenchmark(name.c_str(), [rate, all](benchmark::State& s) {
                // Two channels through one processor: twice the mono count.
                CZkmorva10SignalProcessing probe;
                probe.UpdateSampleRate(rate);
                if (all) {
                    zkbench::ActivateAll(probe);
                }
                RunUnit(
                    s, OpenZkmorva10(), rate,
                    [all](zktest::UnitHost& h) {
                        if (all) {
                            SetAllActive10(h);
                        }
                    },
                    2.0 * OpsPerFrame(probe));
            });
            const std::string name20 = "Zkmorva20Unit/" + RateName(rate) + (all ? "/all" : "/flat");
            benchmark::RegisterBenchmark(name20.c_str(), [rate, all](benchmark::State& s) {
                CZkmorva20SignalProcessing probe;
                probe.UpdateSampleRate(rate);
                if (all) {
                    zkbench::ActivateAll(probe);
                }
                RunUnit(
                    s, OpenZkmorva20(), rate,
                    [all](zktest::UnitHost& h) {
                        if (all) {
                            SetAllActive20(h);
                        }
                    },
                    OpsPerFrame(probe));
            });
        }
    }
    return true;
}();

} // namespace
