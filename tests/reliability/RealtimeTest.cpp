// The audio thread never allocates, locks, waits or sleeps: counted by the
// interposer of RealtimeGuard.h, armed only during the render calls of both
// units, through the CLAP plug-ins as a host loads them (DPF, the plug-ins'
// core with host values, the bypass and meter reads) and through the unit with
// gestures, across every rate, the block sizes and hostile values.
#include "tests/plugins/ClapHost.h"
#include "tests/reliability/RealtimeGuard.h"
#include "tests/reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

#include <cstdio>

#include <algorithm>
#include <chrono>
#include <limits>
#include <mutex>
#include <thread>

namespace {

using namespace zkrel;

constexpr UInt32 kBlockSizes[] = {1, 2, 17, 64, 1536, 2027, 4096, 0 /* random */};

class Realtime : public testing::TestWithParam<const UnitKind*> {
protected:
    void SetUp() override { rt::Clear(); }
    void TearDown() override { rt::Disarm(); }
    const UnitKind& Kind() const { return *GetParam(); }
    // The plug-in's file and CLAP id name: zkmorva10-mono, zkmorva10-stereo, zkmorva20.
    std::string File() const {
        const std::string name = Kind().name;
        std::string file = "zkmorva" + name.substr(7, 2);
        return name.size() > 9 ? file + (Kind().channels == 1 ? "-mono" : "-stereo") : file;
    }
};

// Values within the ranges mostly, at and past their ends, and garbage.
double AutomationValue(std::mt19937& rng, double lo, double hi) {
    switch (rng() % 8) {
    case 0:
        return std::numeric_limits<double>::quiet_NaN();
    case 1:
        return rng() % 2 ? 1e300 : -1e300;
    case 2:
        return rng() % 2 ? lo : hi;
    default:
        return std::uniform_real_distribution<double>(lo, hi)(rng);
    }
}

UInt32 NextBlock(std::mt19937& rng, std::size_t i) {
    const UInt32 size = kBlockSizes[i % std::size(kBlockSizes)];
    return size != 0 ? size : 1 + static_cast<UInt32>(rng() % 4096);
}

TEST_P(Realtime, ClapProcessNeverAllocatesLocksOrWaits) {
    zktest::ClapLibrary lib(std::string(ZK_PLUGIN_BIN) + "/" + File() + ".clap");
    const std::string id = "com.zkmorva." + File();
    const UInt32 channels = Kind().channels;
    std::mt19937 rng(1);
    for (double rate : kRates) {
        zktest::ClapInstance plugin(lib, id.c_str());
        const uint32_t count = plugin.params->count(plugin.plugin);
        plugin.Activate(rate, 4096);
        Channels in = Noise(channels, 4096, 2);
        Channels out = Silence(channels, 4096);
        std::vector<float*> ip, op;
        for (UInt32 c = 0; c < channels; ++c) {
            ip.push_back(in[c].data());
            op.push_back(out[c].data());
        }
        for (std::size_t block = 0; block < 3 * std::size(kBlockSizes); ++block) {
            const UInt32 frames = NextBlock(rng, block);
            // At frames in time order, so that the block is processed in pieces.
            std::vector<uint32_t> times;
            for (int k = 0; k < 4; ++k) {
                times.push_back(static_cast<uint32_t>(rng() % frames));
            }
            std::sort(times.begin(), times.end());
            std::vector<zktest::ParamChange> changes;
            for (uint32_t time : times) {
                clap_param_info_t info{};
                plugin.params->get_info(plugin.plugin, rng() % count, &info);
                if ((info.flags & CLAP_PARAM_IS_READONLY) == 0) {
                    changes.push_back(
                        {info.id, AutomationValue(rng, info.min_value, info.max_value), time});
                }
            }
            zktest::ClapBlock call(ip, op, frames, changes); // built before arming
            clap_process_status status;
            {
                rt::Armed armed;
                status = call.Run(plugin.plugin);
            }
            EXPECT_EQ(status, CLAP_PROCESS_CONTINUE);
            // Let the parameter thread deliver, so that the next block applies it.
            std::this_thread::sleep_for(std::chrono::milliseconds(block % 4 == 0 ? 12 : 0));
        }
    }
    const rt::Report report = rt::Take();
    EXPECT_EQ(report.Total(), 0u) << report.Describe();
    RecordProperty("counted_calls", std::to_string(report.Total()));
    RecordProperty("try_locks", std::to_string(report.Count(rt::Kind::TryLock)));
    std::printf("%s\n", report.Describe().c_str());
}

// Deterministic delivery: every event (gestures too, so auto-listen, links, solo
// and the master link run on the render thread) is applied in the next render.
TEST_P(Realtime, UnitRenderWithGesturesNeverAllocatesLocksOrWaits) {
    const UnitKind& kind = Kind();
    std::mt19937 rng(5);
    for (double rate : kRates) {
        Rig rig(kind, rate, 4096, AllActive(kind));
        const Channels in = Noise(kind.channels, 4096, 6);
        Channels out = Silence(kind.channels, 4096);
        const Pointers io(in, out);
        for (std::size_t block = 0; block < 40; ++block) {
            const zk::ParameterDef& p = kind.parameters[rng() % (kind.lastDispatched + 1)];
            rig.Gesture(p.id, true);
            rig.Automate(p.id, static_cast<float>(AutomationValue(rng, p.minValue, p.maxValue)));
            if (rng() % 3 != 0) {
                rig.Gesture(p.id, false);
            }
            rig.Pump();
            OSStatus status;
            {
                rt::Armed armed;
                status = rig.RenderRaw(io.ip, io.op, NextBlock(rng, block));
            }
            ASSERT_EQ(status, noErr);
        }
    }
    const rt::Report report = rt::Take();
    EXPECT_EQ(report.Total(), 0u) << report.Describe();
}

// The counter itself: an armed allocation, lock and sleep are seen.
TEST(RealtimeGuard, CountsWhatTheArmedThreadDoes) {
    rt::Clear();
    {
        rt::Armed armed;
        std::vector<int>* volatile p = new std::vector<int>(100);
        delete p;
        std::mutex m;
        m.lock();
        m.unlock();
        std::this_thread::sleep_for(std::chrono::microseconds(1));
    }
    const rt::Report r = rt::Take();
    EXPECT_GE(r.Count(rt::Kind::Allocate), 2u);
    EXPECT_GE(r.Count(rt::Kind::Release), 2u);
    EXPECT_GE(r.Count(rt::Kind::Lock), 1u);
    EXPECT_GE(r.Count(rt::Kind::Sleep), 1u);
    int* volatile unarmed = new int(1);
    delete unarmed;
    EXPECT_EQ(rt::Take().Total(), r.Total());
}

INSTANTIATE_TEST_SUITE_P(Plugins, Realtime, testing::ValuesIn(KindPointers()), KindName());

} // namespace
