// One thread renders while another automates every parameter and gestures through
// the event service, with the unit's listener on a threaded run loop, as inside a
// plug-in. Run under ThreadSanitizer in CI; ZK_SOAK_SECONDS makes it longer.
#include "units/Zkmorva10AU.h"

#include "framework/RunLoop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <random>
#include <thread>

namespace {

using namespace zk;

double SoakSeconds() {
    const char* s = std::getenv("ZK_SOAK_SECONDS");
    return s != nullptr ? std::max(0.1, std::atof(s)) : 2.0;
}

TEST(Zkmorva10Threads, RenderWhileAutomatingAndGesturing) {
    auto loop = CFRunLoop::CreateThreaded();
    AudioUnitPtr unit = OpenZkmorva10();
    ASSERT_EQ(unit->SetSampleRateAndChannels(44100.0, 2, 2), noErr);
    ASSERT_EQ(unit->SetMaxFramesPerSlice(512), noErr);
    {
        ScopedCurrentRunLoop scope(loop);
        ASSERT_EQ(unit->DoInitialize(), noErr);
    }
    std::atomic<bool> stop{false};
    std::atomic<long> nonFinite{0};
    std::atomic<long> blocks{0};

    std::thread render([&] {
        std::mt19937 rng(1);
        std::uniform_real_distribution<float> noise(-0.5f, 0.5f);
        std::vector<float> l(512), r(512), ol(512), orr(512);
        while (!stop.load()) {
            for (std::size_t i = 0; i < l.size(); ++i) {
                l[i] = noise(rng);
                r[i] = noise(rng);
            }
            const float* in[] = {l.data(), r.data()};
            float* out[] = {ol.data(), orr.data()};
            AudioUnitRenderActionFlags flags = 0;
            const UInt32 frames = 1 + static_cast<UInt32>(rng() % 512);
            unit->Render(flags, frames, in, out);
            for (UInt32 i = 0; i < frames; ++i) {
                if (!std::isfinite(ol[i]) || !std::isfinite(orr[i])) {
                    nonFinite.fetch_add(1);
                }
            }
            blocks.fetch_add(1);
        }
    });

    std::mt19937 rng(2);
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::duration<double>(SoakSeconds());
    long changes = 0;
    while (std::chrono::steady_clock::now() < end) {
        const ParameterDef& p = kZkmorva10Parameters[rng() % kZkmorva10Parameters.size()];
        std::uniform_real_distribution<float> value(p.minValue, p.maxValue);
        AudioUnitParameter address{unit.get(), p.id, kAudioUnitScope_Global, 0};
        const bool gesture = rng() % 4 == 0;
        AudioUnitEvent e;
        e.mArgument.mParameter = address;
        if (gesture) {
            e.mEventType = kAudioUnitEvent_BeginParameterChangeGesture;
            AUEventListenerNotify(nullptr, nullptr, &e);
        }
        if (IsAutomatable(p)) {
            AUParameterSet(nullptr, nullptr, &address, value(rng), 0);
            ++changes;
        }
        AudioUnitParameterValue meter = 0;
        unit->GetParameter(kZ10OutputMeter, kAudioUnitScope_Global, 0, meter);
        CZkmorvaAU::AutoListenDisplay display{};
        UInt32 size = sizeof display;
        AudioUnitGetProperty(unit.get(), CZkmorvaAU::kAutoListenDisplayProperty,
                             kAudioUnitScope_Global, 0, &display, &size);
        if (gesture) {
            e.mEventType = kAudioUnitEvent_EndParameterChangeGesture;
            AUEventListenerNotify(nullptr, nullptr, &e);
        }
        if (changes % 500 == 0) {
            unit->SaveState();
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    stop.store(true);
    render.join();
    loop->Stop();
    EXPECT_GT(blocks.load(), 100);
    EXPECT_GT(changes, 100);
    EXPECT_EQ(nonFinite.load(), 0);
}

} // namespace
