// One thread renders blocks of any length while another automates parameters and
// gestures through the event service, reading meters and the auto-listen display
// meanwhile, with the unit's listener on a threaded run loop as inside a plug-in.
// For the two-channel EQ, solo, master link (snap values too) and the link switches
// come up often. Run under ThreadSanitizer in CI; ZK_SOAK_SECONDS makes it longer.
#include "framework/RunLoop.h"
#include "units/Zkmorva10AU.h"
#include "units/Zkmorva20AU.h"
#include "units/Zkmorva20Links.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

namespace {

using namespace zk;

struct Kind {
    const char* name;
    AudioUnitPtr (*open)();
    std::span<const ParameterDef> parameters;
    AudioUnitParameterID firstMeter, lastMeter;
    std::vector<AudioUnitParameterID> favoured;
};

const Kind kKinds[] = {
    {"Zkmorva10", OpenZkmorva10, kZkmorva10Parameters, kZ10InputMeter, kZ10OutputMeter, {}},
    {"Zkmorva20", OpenZkmorva20, kZkmorva20Parameters, kZ20BalanceMeter, kZ20Output2Meter, [] {
         std::vector<AudioUnitParameterID> ids(z20links::kLinkParameters.begin(),
                                               z20links::kLinkParameters.end());
         ids.insert(ids.end(), {kZ20Ch1Solo, kZ20Ch2Solo, kZ20MasterLink, kZ20MasterLink});
         return ids;
     }()}};

class UnitThreads : public testing::TestWithParam<const Kind*> {};

TEST_P(UnitThreads, RenderWhileAutomatingGesturingAndReading) {
    const Kind& kind = *GetParam();
    const char* soak = std::getenv("ZK_SOAK_SECONDS");
    const double seconds = soak != nullptr ? std::max(0.1, std::atof(soak)) : 2.0;
    auto loop = CFRunLoop::CreateThreaded();
    AudioUnitPtr unit = kind.open();
    ASSERT_EQ(unit->SetSampleRateAndChannels(44100.0, 2, 2), noErr);
    ASSERT_EQ(unit->SetMaxFramesPerSlice(512), noErr);
    {
        ScopedCurrentRunLoop scope(loop);
        ASSERT_EQ(unit->DoInitialize(), noErr);
    }
    std::atomic<bool> stop{false};
    std::atomic<long> faults{0}, blocks{0};
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
            faults.fetch_add(unit->Render(flags, frames, in, out) != noErr ? 1000 : 0);
            for (UInt32 i = 0; i < frames; ++i) {
                faults.fetch_add(std::isfinite(ol[i]) && std::isfinite(orr[i]) ? 0 : 1);
            }
            blocks.fetch_add(1);
        }
    });

    std::mt19937 rng(2);
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    long changes = 0;
    while (std::chrono::steady_clock::now() < end) {
        const bool favoured = !kind.favoured.empty() && rng() % 2 == 0;
        const ParameterDef& p = *FindParameter(
            kind.parameters, favoured ? kind.favoured[rng() % kind.favoured.size()]
                                      : static_cast<AudioUnitParameterID>(rng() % kind.firstMeter));
        AudioUnitEvent e;
        e.mArgument.mParameter = {unit.get(), p.id, kAudioUnitScope_Global, 0};
        const bool gesture = rng() % 3 == 0;
        if (gesture) {
            e.mEventType = kAudioUnitEvent_BeginParameterChangeGesture;
            AUEventListenerNotify(nullptr, nullptr, &e);
        }
        if (IsAutomatable(p)) {
            static constexpr float kSwitchValues[] = {0.0f, 1.0f, 0.1f, 0.9f, 0.5f};
            const float value =
                p.unit != kAudioUnitParameterUnit_Boolean
                    ? std::uniform_real_distribution<float>(p.minValue, p.maxValue)(rng)
                    : kSwitchValues[rng() % (p.id == kZ20MasterLink && favoured ? 5 : 2)];
            AUParameterSet(nullptr, nullptr, &e.mArgument.mParameter, value, 0);
            ++changes;
        }
        AudioUnitParameterValue meter = 0;
        unit->GetParameter(kind.firstMeter + rng() % (kind.lastMeter - kind.firstMeter + 1),
                           kAudioUnitScope_Global, 0, meter);
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
    EXPECT_EQ(faults.load(), 0) << "render errors count 1000, non-finite samples 1";
}

INSTANTIATE_TEST_SUITE_P(Units, UnitThreads, testing::Values(&kKinds[0], &kKinds[1]),
                         [](const auto& info) { return std::string(info.param->name); });

} // namespace
