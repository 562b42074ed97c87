// What a host change every block costs: Zkmorva 20 as a plug-in runs it (the
// plug-in core, 48 kHz stereo noise, every section active, every meter read after
// every block), at each host block length, with the settings unchanged and with
// channel 1's LF gain swept one step every block (links on, so the unit answers
// with channel 2's and hands that back as a host would hear it). Goal: the swept
// run at most 10 % above the unchanged one.
#include "PluginRig.h"

#include <cmath>
#include <string>

namespace {

using namespace zkbench;

// Takes the unit's own changes as a format wrapper would.
class CountingSink : public zkplug::OwnChangeSink {
public:
    void ParameterSetByUnit(std::uint32_t, float value) override { last = value; }
    float last = 0.0f;
};

void Run(benchmark::State& state, UInt32 block, bool swept) {
    PluginRig rig(PluginSetup::Zkmorva20All, block);
    CountingSink sink;
    const std::size_t gain = rig.IndexOf(Z20ChannelId(0, kZ20LfGain));
    long step = 0;
    for (auto _ : state) {
        if (swept) {
            rig.core.SetParameter(gain, 6.0f * std::sin(0.01f * static_cast<float>(step++)));
        }
        rig.RunBlock(&sink);
    }
    benchmark::DoNotOptimize(sink.last);
    benchmark::DoNotOptimize(rig.meters);
    SetFrameCounters(state, block, kPluginRate, 0.0);
}

const bool registered = [] {
    for (long block : kBlockSizes) {
        for (bool swept : {false, true}) {
            const std::string name = "HostChange/Zkmorva20/all/" + std::to_string(block) +
                                     (swept ? "/gain-swept" : "/unchanged");
            benchmark::RegisterBenchmark(name.c_str(), [block, swept](benchmark::State& s) {
                Run(s, static_cast<UInt32>(block), swept);
            });
        }
    }
    return true;
}();

} // namespace
