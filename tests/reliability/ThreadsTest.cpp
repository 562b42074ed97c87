// Three threads on one unit, as inside a plug-in: the audio thread renders
// 32-frame blocks, an automation thread sets every parameter at random inside
// gestures, a main thread saves and restores state; the unit's listener runs on
// its own threaded run loop. Run under ThreadSanitizer by scripts/test.sh;
// ZK_SOAK_SECONDS sets the length (2 s by default).
#include "tests/reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using namespace zkrel;

class Threads : public testing::TestWithParam<const UnitKind*> {
protected:
    const UnitKind& Kind() const { return *GetParam(); }
};

long CountNonFinite(const Channels& c) {
    long n = 0;
    for (const auto& ch : c) {
        n += std::count_if(ch.begin(), ch.end(), [](float v) { return !std::isfinite(v); });
    }
    return n;
}

std::chrono::steady_clock::time_point Deadline() {
    return std::chrono::steady_clock::now() +
           std::chrono::duration_cast<std::chrono::steady_clock::duration>(
               std::chrono::duration<double>(SoakSeconds(2.0)));
}

TEST_P(Threads, RenderAutomateAndRestoreStateAtOnce) {
    auto loop = CFRunLoop::CreateThreaded();
    AudioUnitPtr unit = Kind().open();
    ASSERT_EQ(unit->SetSampleRateAndChannels(44100.0, Kind().channels, Kind().channels), noErr);
    ASSERT_EQ(unit->SetMaxFramesPerSlice(32), noErr);
    {
        ScopedCurrentRunLoop scope(loop);
        ASSERT_EQ(unit->DoInitialize(), noErr);
    }
    const auto end = Deadline();
    std::atomic<bool> stop{false};
    std::atomic<long> nonFinite{0};
    std::atomic<long> blocks{0};

    std::thread audio([&] {
        const Channels in = Noise(Kind().channels, 32, 1);
        Channels out = Silence(Kind().channels, 32);
        const Pointers p(in, out);
        while (!stop.load(std::memory_order_relaxed)) {
            AudioUnitRenderActionFlags flags = 0;
            if (unit->Render(flags, 32, p.ip, p.op) != noErr) {
                nonFinite.fetch_add(1);
            }
            nonFinite.fetch_add(CountNonFinite(out), std::memory_order_relaxed);
            blocks.fetch_add(1, std::memory_order_relaxed);
        }
    });
    std::thread automation([&] {
        std::mt19937 rng(2);
        while (!stop.load(std::memory_order_relaxed)) {
            const zk::ParameterDef& p = Kind().parameters[rng() % Kind().parameters.size()];
            AudioUnitEvent e;
            e.mArgument.mParameter = {unit.get(), p.id, kAudioUnitScope_Global, 0};
            e.mEventType = kAudioUnitEvent_BeginParameterChangeGesture;
            AUEventListenerNotify(nullptr, nullptr, &e);
            AUParameterSet(nullptr, nullptr, &e.mArgument.mParameter, RandomInRange(rng, p), 0);
            AudioUnitParameterValue v = 0.0f;
            unit->GetParameter(p.id, kAudioUnitScope_Global, 0, v);
            e.mEventType = kAudioUnitEvent_EndParameterChangeGesture;
            AUEventListenerNotify(nullptr, nullptr, &e);
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
    });
    long restores = 0;
    std::mt19937 rng(3);
    std::string previous = unit->SaveState();
    while (std::chrono::steady_clock::now() < end) {
        const std::string saved = unit->SaveState();
        std::string error;
        EXPECT_EQ(unit->RestoreState(rng() % 2 ? saved : previous, &error), noErr) << error;
        previous = saved;
        ++restores;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    stop.store(true);
    audio.join();
    automation.join();
    unit.reset();
    loop->Stop();
    EXPECT_EQ(nonFinite.load(), 0);
    EXPECT_GT(blocks.load(), 100);
    EXPECT_GT(restores, 10);
}

// The same through the plug-ins' core: Process on the audio thread, host
// parameter changes and meter reads beside it, state on the main thread.
TEST_P(Threads, PluginCoreProcessParametersAndStateAtOnce) {
    zkplug::PluginCore core(DescriptorOf(Kind()));
    ASSERT_TRUE(core.Activate(48000.0, 32));
    const auto end = Deadline();
    std::atomic<bool> stop{false};
    std::atomic<long> nonFinite{0};
    std::thread audio([&] {
        std::mt19937 rng(4);
        const Channels in = Noise(Kind().channels, 32, 5);
        Channels out = Silence(Kind().channels, 32);
        const Pointers io(in, out);
        const std::size_t count = core.Parameters().size();
        while (!stop.load(std::memory_order_relaxed)) {
            // Hosts deliver parameter changes on the audio thread, with the block.
            const std::size_t index = rng() % count;
            const zkplug::HostParameter& p = core.Parameters()[index];
            core.SetParameter(index,
                              std::uniform_real_distribution<float>(p.minValue, p.maxValue)(rng));
            core.Process(io.ip.data(), io.op.data(), 32);
            core.GetParameter(rng() % count);
            nonFinite.fetch_add(CountNonFinite(out), std::memory_order_relaxed);
        }
    });
    long restores = 0;
    while (std::chrono::steady_clock::now() < end) {
        const std::string saved = core.SaveState();
        EXPECT_TRUE(core.RestoreState(saved));
        ++restores;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    stop.store(true);
    audio.join();
    EXPECT_EQ(nonFinite.load(), 0);
    EXPECT_GT(restores, 10);
}

INSTANTIATE_TEST_SUITE_P(Units, Threads, testing::ValuesIn(KindPointers()), KindName());

} // namespace
