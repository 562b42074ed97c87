// Many instances in one process, as a mixing session runs them: 64 Zkmorva 10
// plug-ins on stereo buses, one thread, each on its own buffers, every section
// active, 64-frame blocks, one block of each in turn; against a single instance.
// ns/frame is per frame of one instance. Goal: 64 instances at most 1.2 times
// the single instance's cost per instance. "heap bytes" is the memory one
// instance of the plug-in core takes once activated (unit, processor, queues),
// without the host's buffers.
#include "PluginRig.h"

#include <malloc.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace zkbench;

constexpr UInt32 kBlock = 64;

std::size_t HeapInUse() {
    const struct mallinfo2 m = mallinfo2();
    return m.uordblks + m.hblkhd;
}

double InstanceHeapBytes() {
    constexpr int kCount = 8;
    std::vector<std::unique_ptr<zkplug::PluginCore>> cores;
    cores.reserve(kCount);
    const std::size_t before = HeapInUse();
    for (int i = 0; i < kCount; ++i) {
        cores.push_back(std::make_unique<zkplug::PluginCore>(zkplug::Zkmorva10Stereo()));
        cores.back()->Activate(kPluginRate, kBlock);
    }
    return static_cast<double>(HeapInUse() - before) / kCount;
}

void Run(benchmark::State& state, int instances) {
    std::vector<std::unique_ptr<PluginRig>> rigs;
    for (int i = 0; i < instances; ++i) {
        rigs.push_back(std::make_unique<PluginRig>(PluginSetup::Zkmorva10StereoAll, kBlock,
                                                   static_cast<std::uint32_t>(2 * i + 1)));
    }
    for (int round = 0; round < 64; ++round) {
        for (auto& rig : rigs) {
            rig->RunBlock();
        }
    }
    for (auto _ : state) {
        for (auto& rig : rigs) {
            rig->RunBlock();
        }
    }
    for (auto& rig : rigs) {
        benchmark::DoNotOptimize(rig->meters);
    }
    SetFrameCounters(state, static_cast<long>(kBlock) * instances, kPluginRate, 0.0);
    state.counters["instances"] = instances;
    state.counters["heap bytes"] = InstanceHeapBytes();
}

const bool registered = [] {
    for (int instances : {1, 64}) {
        const std::string name = "ManyInstances/Zkmorva10Stereo/all/" + std::to_string(kBlock) +
                                 "/" + std::to_string(instances);
        benchmark::RegisterBenchmark(name.c_str(),
                                     [instances](benchmark::State& s) { Run(s, instances); });
    }
    return true;
}();

} // namespace
