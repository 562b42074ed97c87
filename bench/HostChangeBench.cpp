// What a host change every block costs: Zkmorva 20 as a plug-in runs it (the
// plug-in core, 48 kHz stereo noise, every section active), in blocks of 64 and
// 256 frames, with the settings unchanged and with channel 1's LF gain swept one
// step every block (links on, so the unit answers with channel 2's and hands that
// back as a host would hear it). Goal: the swept run at most 10 % above the
// unchanged one.
#include "BenchSupport.h"
#include "UnitSettings.h"
#include "plugins/core/PluginCore.h"
#include "plugins/core/UnitDescriptor.h"

#include <cmath>
#include <string>
#include <vector>

namespace {

using namespace zkbench;

constexpr double kRate = 48000.0;

// Takes the unit's own changes as a format wrapper would.
class CountingSink : public zkplug::OwnChangeSink {
public:
    void ParameterSetByUnit(std::uint32_t, float value) override { last = value; }
    float last = 0.0f;
};

// Host parameter indices by unit id, through the core's table.
class CoreHost {
public:
    explicit CoreHost(zkplug::PluginCore& core) : core(core) {}
    void Set(AudioUnitParameterID id, float value) {
        for (std::size_t i = 0; i < core.Parameters().size(); ++i) {
            if (core.Parameters()[i].id == id) {
                core.SetParameter(i, value);
                return;
            }
        }
    }

private:
    zkplug::PluginCore& core;
};

void Run(benchmark::State& state, UInt32 block, bool swept) {
    zkplug::PluginCore core(zkplug::Zkmorva20());
    core.Activate(kRate, block);
    CoreHost host(core);
    SetAllActive20(host);
    CountingSink sink;
    const long noiseFrames = static_cast<long>(block) * 256;
    std::vector<double> l = Noise(noiseFrames, 1), r = Noise(noiseFrames, 2);
    std::vector<float> lf(l.begin(), l.end()), rf(r.begin(), r.end());
    std::vector<float> ol(lf.size()), orr(rf.size());
    std::size_t gainIndex = 0;
    for (std::size_t i = 0; i < core.Parameters().size(); ++i) {
        if (core.Parameters()[i].id == Z20ChannelId(0, kZ20LfGain)) {
            gainIndex = i;
        }
    }
    long pos = 0;
    long step = 0;
    for (auto _ : state) {
        if (swept) {
            core.SetParameter(gainIndex, 6.0f * std::sin(0.01f * static_cast<float>(step++)));
        }
        const float* in[2] = {lf.data() + pos, rf.data() + pos};
        float* out[2] = {ol.data() + pos, orr.data() + pos};
        core.Process(in, out, block, &sink);
        benchmark::DoNotOptimize(out[0][0]);
        pos = (pos + block) % noiseFrames;
    }
    benchmark::DoNotOptimize(sink.last);
    SetFrameCounters(state, block, kRate, 0.0);
}

const bool registered = [] {
    for (UInt32 block : {64u, 256u}) {
        for (bool swept : {false, true}) {
            const std::string name = "HostChange/Zkmorva20/all/" + std::to_string(block) +
                                     (swept ? "/gain-swept" : "/unchanged");
            benchmark::RegisterBenchmark(
                name.c_str(), [block, swept](benchmark::State& s) { Run(s, block, swept); });
        }
    }
    return true;
}();

} // namespace
