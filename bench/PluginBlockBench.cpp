// What a block costs the plug-ins at a host's block lengths, from 16 to 1024
// frames: Zkmorva 20 and Zkmorva 10 on a stereo bus, every section active and
// flat, through the plug-in core as the formats drive it (48 kHz stereo noise,
// every meter read after every block). The fixed cost of a block shows as the
// rise of ns/frame at short blocks. Goals: every section active, ns/frame at
// 64 frames at most 1.15 times that at 1024 frames, at 16 frames at most 1.6.
#include "PluginRig.h"

#include <string>

namespace {

using namespace zkbench;

void Run(benchmark::State& state, PluginSetup setup, UInt32 block) {
    PluginRig rig(setup, block);
    for (int i = 0; i < 64; ++i) { // settled, as a host's plays after its first blocks
        rig.RunBlock();
    }
    for (auto _ : state) {
        rig.RunBlock();
    }
    benchmark::DoNotOptimize(rig.meters);
    SetFrameCounters(state, block, kPluginRate, 0.0);
}

const bool registered = [] {
    for (PluginSetup setup : kPluginSetups) {
        for (long block : kBlockSizes) {
            const std::string name =
                "PluginBlock/" + SetupName(setup) + "/" + std::to_string(block);
            benchmark::RegisterBenchmark(name.c_str(), [setup, block](benchmark::State& s) {
                Run(s, setup, static_cast<UInt32>(block));
            });
        }
    }
    return true;
}();

} // namespace
