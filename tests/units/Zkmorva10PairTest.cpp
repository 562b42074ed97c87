// The channel EQ runs a bus's channels two by two in one two-channel pass, and a
// lone channel through the fused filter passes. Either must sound, remember and
// meter exactly as the plain per-section loops running the channels one after the
// other: random settings, rates, block lengths, a NaN now and then in one channel,
// and gestures on every kind of listened control that switch auto-listen (and
// with it the pairing) on and off between blocks.
#include "support/UnitHost.h"
#include "units/Zkmorva10AU.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

namespace {

using namespace zk;
using zktest::UnitHost;

constexpr UInt32 kMaxFrames = 512;

bool SameBits(float a, float b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

void SetRandomParameters(std::mt19937& rng, UnitHost& paired, UnitHost& plain) {
    for (const ParameterDef& p : kZkmorva10Parameters) {
        if (p.id > kZ10LastDispatched || rng() % 3 != 0) {
            continue;
        }
        const bool toggle = p.maxValue - p.minValue == 1.0f;
        float v = toggle ? static_cast<float>(rng() % 2)
                         : std::uniform_real_distribution<float>(p.minValue, p.maxValue)(rng);
        if (p.id == kZ10EqOn) {
            v = rng() % 5 != 0 ? 1.0f : 0.0f; // mostly on: the chain is what pairs
        }
        paired.Set(p.id, v);
        plain.Set(p.id, v);
    }
}

TEST(Zkmorva10Pair, BothChannelsInOnePassEqualOneAfterTheOther) {
    std::mt19937 rng(10);
    struct Bus {
        double rate;
        UInt32 channels; // three: a pair and a lone channel
    };
    for (const Bus bus :
         {Bus{44100.0, 2}, Bus{48000.0, 3}, Bus{88200.0, 1}, Bus{96000.0, 2}, Bus{48000.0, 4}}) {
        const double rate = bus.rate;
        UnitHost paired(OpenZkmorva10(), rate, bus.channels, kMaxFrames);
        UnitHost plain(OpenZkmorva10(), rate, bus.channels, kMaxFrames);
        plain.As<CZkmorva10AU>().SetPlainFilterLoops(true);
        ASSERT_TRUE(paired.As<CZkmorva10AU>().CanProcessPair(256)) << "at " << rate << " Hz";
        ASSERT_FALSE(plain.As<CZkmorva10AU>().CanProcessPair(256));
        std::normal_distribution<float> noise(0.0f, 0.3f);
        AudioUnitParameterID listened = 0;
        for (int block = 0; block < 120; ++block) {
            if (block % 10 == 0) {
                SetRandomParameters(rng, paired, plain);
            }
            if (block % 7 == 3) { // a gesture on a listened control begins or ends
                const bool begin = listened == 0;
                if (begin) {
                    listened = kZ10HpQ + rng() % (kZ10LpFreq - kZ10HpQ + 1); // every kind
                }
                for (UnitHost* h : {&paired, &plain}) {
                    h->Gesture(listened, begin);
                }
                listened = begin ? listened : 0;
            }
            const UInt32 n = block % 5 == 0 ? 1 + rng() % 7 : 1 + rng() % kMaxFrames;
            std::vector<std::vector<float>> in(bus.channels, std::vector<float>(n));
            for (auto& ch : in) {
                for (float& v : ch) {
                    v = noise(rng);
                }
            }
            if (block % 13 == 12) { // that channel's histories start again
                in[(block / 13) % bus.channels][n - 1] = NAN;
            }
            const auto a = paired.Render(in, kMaxFrames);
            const auto b = plain.Render(in, kMaxFrames);
            for (UInt32 ch = 0; ch < bus.channels; ++ch) {
                for (UInt32 i = 0; i < n; ++i) {
                    ASSERT_TRUE(SameBits(a[ch][i], b[ch][i]))
                        << "channel " << ch + 1 << " of " << bus.channels << ", frame " << i
                        << " of block " << block << " at " << rate << " Hz: " << a[ch][i] << " vs "
                        << b[ch][i];
                }
            }
            auto& pa = paired.As<CZkmorva10AU>();
            auto& pb = plain.As<CZkmorva10AU>();
            ASSERT_TRUE(SameBits(pa.GetInputMeter(), pb.GetInputMeter())) << "block " << block;
            ASSERT_TRUE(SameBits(pa.GetOutputMeter(), pb.GetOutputMeter())) << "block " << block;
            ASSERT_TRUE(SameBits(pa.GetInputPeak(), pb.GetInputPeak())) << "block " << block;
            ASSERT_TRUE(SameBits(pa.GetOutputPeak(), pb.GetOutputPeak())) << "block " << block;
        }
    }
}

} // namespace
