// The two-channel EQ through the host interface: mid/side stage, meters, latency,
// channel configuration and saved state.
#include "Zkmorva20TestSupport.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>

namespace {

using namespace zk;
using zktest::MakeHost20;
using zktest::Settle;
using zktest::Sine;
using zktest::UnitHost;

constexpr double kRate = 48000.0;

zktest::StereoLevels Through(UnitHost& host, double frequency, double left, double right,
                             double seconds = 0.5) {
    const long n = static_cast<long>(seconds * kRate);
    return zktest::ToneLevels(host, Sine(frequency, kRate, n, left),
                              Sine(frequency, kRate, n, right), frequency, kRate);
}

// In-phase tones of 0.5 and 0.3: mid 0.4, side 0.1 on each output.
TEST(Zkmorva20AUMidSide, StereoWidthScalesTheSide) {
    auto host = MakeHost20(kRate);
    struct Case {
        float width;
        double left, right;
    };
    for (const Case& c : {Case{0.0f, 0.4, 0.4}, Case{150.0f, 0.55, 0.25}}) {
        host->Set(kZ20StereoWidth, c.width);
        const zktest::StereoLevels out = Through(*host, 1000.0, 0.5, 0.3);
        EXPECT_NEAR(out.left, c.left, 5e-4) << "width " << c.width << " %";
        EXPECT_NEAR(out.right, c.right, 5e-4) << "width " << c.width << " %";
    }
    host->Set(kZ20StereoWidth, 0.0f);
    host->Set(kZ20StereoWidthOn, 0.0f);
    const zktest::StereoLevels off = Through(*host, 1000.0, 0.5, 0.3);
    EXPECT_NEAR(off.left, 0.5, 5e-4) << "width switched off";
    EXPECT_NEAR(off.right, 0.3, 5e-4) << "width switched off";
}

TEST(Zkmorva20AUMidSide, MonoMakerRemovesLowAntiphaseContent) {
    auto host = MakeHost20(kRate);
    host->Set(kZ20MonoMaker, 200.0f);
    const zktest::StereoLevels anti = Through(*host, 50.0, 0.5, -0.5, 1.0);
    // Second-order high-pass on the side at 200 Hz: about -24 dB at 50 Hz.
    EXPECT_LT(zktest::ToDb(anti.left / 0.5), -20.0);
    EXPECT_LT(zktest::ToDb(anti.right / 0.5), -20.0);
    host->Set(kZ20MonoMakerOn, 0.0f);
    const zktest::StereoLevels off = Through(*host, 50.0, 0.5, -0.5, 1.0);
    EXPECT_NEAR(zktest::ToDb(off.left / 0.5), 0.0, 0.01) << "mono maker switched off";
}

// ---------------------------------------------------------------- meters

// Renders in blocks and reads a plain parameter after each, as an editor polling on
// a timer would: any read lets the correlation form.
void PlayReading(UnitHost& host, const std::vector<double>& l, const std::vector<double>& r) {
    const std::vector<float> lf = zktest::ToFloat(l), rf = zktest::ToFloat(r);
    constexpr std::size_t kBlock = 512;
    for (std::size_t pos = 0; pos < lf.size(); pos += kBlock) {
        const std::size_t n = std::min(kBlock, lf.size() - pos);
        host.Render({std::vector<float>(lf.begin() + static_cast<long>(pos),
                                        lf.begin() + static_cast<long>(pos + n)),
                     std::vector<float>(rf.begin() + static_cast<long>(pos),
                                        rf.begin() + static_cast<long>(pos + n))},
                    kBlock);
        host.Get(kZ20EqOn);
    }
}

TEST(Zkmorva20AUMeters, CorrelationThroughGetParameter) {
    const long n = static_cast<long>(3.0 * kRate);
    const std::vector<double> tone = Sine(997.0, kRate, n, 0.5);
    std::vector<double> inverted(tone);
    for (double& x : inverted) {
        x = -x;
    }
    auto reading = MakeHost20(kRate);
    PlayReading(*reading, tone, inverted);
    EXPECT_NEAR(reading->Get(kZ20CorrelationMeter), -1.0, 0.01) << "inverted";
    // Without reads no correlation result forms: identical channels would read 1.
    auto host = MakeHost20(kRate);
    host->Render({zktest::ToFloat(tone), zktest::ToFloat(tone)});
    EXPECT_NEAR(host->As<CZkmorva20AU>().ReadMeters().correlationValue, 0.0f, 1e-9);
}

// Each meter id reads what the processor's meters hold, singly and all at once.
TEST(Zkmorva20AUMeters, MeterIdsReadTheProcessorsMeters) {
    auto host = MakeHost20(kRate);
    const long n = static_cast<long>(kRate);
    host->Render({zktest::ToFloat(Sine(997.0, kRate, n, 0.5)),
                  zktest::ToFloat(Sine(300.0, kRate, n, 0.05))});
    auto& unit = host->As<CZkmorva20AU>();
    EXPECT_LT(host->Get(kZ20BalanceMeter), 0.1f) << "left much louder";
    std::vector<AudioUnitParameterID> ids;
    for (AudioUnitParameterID id = kZ20BalanceMeter; id <= kZ20Output2Meter; ++id) {
        ids.push_back(id);
    }
    std::vector<float> together(ids.size());
    unit.GetParameters(ids, together);
    for (std::size_t i = 0; i < ids.size(); ++i) {
        EXPECT_EQ(together[i], host->Get(ids[i])) << "meter " << ids[i];
        EXPECT_EQ(together[i], static_cast<float>(unit.GetMeterParameter(ids[i])))
            << "meter " << ids[i];
    }
}

// ---------------------------------------------------------------- shelves

// The second-order shelves as analogue prototypes, prewarped onto the processing
// rate: low shelf (s^2 + sqrt(2g) s + g) / (s^2 + sqrt(2) s + 1), high shelf with
// the numerator reversed, a cut (g < 1) the inverse of the boost by 1/g.
double ShelfDb(bool low, double gainDb, double f, double corner, double rate) {
    const double g = std::pow(10.0, std::abs(gainDb) / 20.0);
    const double w =
        std::tan(std::numbers::pi * f / rate) / std::tan(std::numbers::pi * corner / rate);
    const double w2 = w * w;
    const double numerator =
        low ? (g - w2) * (g - w2) + 2.0 * g * w2 : (1.0 - g * w2) * (1.0 - g * w2) + 2.0 * g * w2;
    const double denominator = (1.0 - w2) * (1.0 - w2) + 2.0 * w2;
    const double boostDb = 10.0 * std::log10(numerator / denominator);
    return gainDb < 0.0 ? -boostDb : boostDb;
}

// LF and HF with their Q below 0.3 (the default 0.29) are shelves on both
// channels, as their host texts "lo-shelf" and "hi-shelf" and the editor's curve
// say: measured through the unit at 48 kHz (filters at 96 kHz) at the corner and
// about a factor of three either side, against the shelf formula, within 0.01 dB (the
// oversampling filter takes 0.008 dB at 16 kHz).
TEST(Zkmorva20AUBands, LfAndHfBelowQ03AreShelves) {
    struct Case {
        AudioUnitParameterID gain;
        bool low;
        float gainDb;
        double corner;
        std::array<double, 3> frequencies;
    };
    const Case cases[] = {{kZ20LfGain, true, 6.0f, 100.0, {30.0, 100.0, 300.0}},
                          {kZ20HfGain, false, -9.0f, 12000.0, {3000.0, 12000.0, 16000.0}}};
    for (const Case& c : cases) {
        auto host = MakeHost20(kRate);
        for (int channel : {0, 1}) {
            ASSERT_EQ(host->Get(Z20ChannelId(channel, c.gain - 2)), 0.29f); // the Q's default
            host->Set(Z20ChannelId(channel, c.gain), c.gainDb);
        }
        for (double f : c.frequencies) {
            const double expected = ShelfDb(c.low, c.gainDb, f, c.corner, 2.0 * kRate);
            const zktest::StereoLevels out = Through(*host, f, 0.5, 0.25);
            EXPECT_NEAR(zktest::ToDb(out.left / 0.5), expected, 0.01)
                << (c.low ? "LF" : "HF") << " L at " << f << " Hz";
            EXPECT_NEAR(zktest::ToDb(out.right / 0.25), expected, 0.01)
                << (c.low ? "LF" : "HF") << " R at " << f << " Hz";
        }
    }
}

// ---------------------------------------------------------------- host interface

TEST(Zkmorva20AU, LatencyBoundaryAt50kHz) {
    // 50..64 kHz run oversampled but report no latency, as they always have.
    struct Case {
        double rate, latency;
        bool oversampled;
    };
    for (const Case& c : {Case{44100.0, 4.0 / 44100.0, true}, Case{48000.0, 4.0 / 48000.0, true},
                          Case{49999.0, 4.0 / 49999.0, true}, Case{50000.0, 0.0, true},
                          Case{63999.0, 0.0, true}, Case{96000.0, 0.0, false}}) {
        auto host = MakeHost20(c.rate);
        EXPECT_DOUBLE_EQ(host->Unit().GetLatency(), c.latency) << c.rate;
        EXPECT_EQ(host->As<CZkmorva20AU>().IsOversampling(), c.oversampled) << c.rate;
    }
}

TEST(Zkmorva20AU, OnlyTwoInTwoOut) {
    const AUChannelInfo* info = nullptr;
    AudioUnitPtr unit = OpenZkmorva20();
    ASSERT_EQ(unit->SupportedNumChannels(&info), 1u);
    EXPECT_EQ(info[0].inChannels, 2);
    EXPECT_EQ(info[0].outChannels, 2);
    for (UInt32 channels : {1u, 3u}) {
        AudioUnitPtr u = OpenZkmorva20();
        ASSERT_EQ(u->SetSampleRateAndChannels(48000.0, channels, channels), noErr);
        EXPECT_EQ(u->DoInitialize(), kAudioUnitErr_FormatNotSupported) << channels;
    }
}

// With every control at its default both channels pass unchanged apart from the
// oversampling filter's and the denormal guard's traces.
TEST(Zkmorva20AU, DefaultsAreTransparentOnBothChannels) {
    auto host = MakeHost20(kRate);
    for (double f : {40.0, 1000.0, 15000.0}) {
        const zktest::StereoLevels out = Through(*host, f, 0.5, 0.25);
        EXPECT_NEAR(zktest::ToDb(out.left / 0.5), 0.0, 0.002) << f << " Hz";
        EXPECT_NEAR(zktest::ToDb(out.right / 0.25), 0.0, 0.002) << f << " Hz";
    }
    AudioUnitParameterValue v = -1.0f;
    ASSERT_EQ(host->Unit().GetParameter(kZ20Output2Gain, kAudioUnitScope_Global, 0, v), noErr);
    EXPECT_EQ(v, 0.0f);
}

TEST(Zkmorva20AU, HostBypassIsTheLatencyMatchedDryPath) {
    auto host = MakeHost20(kRate);
    host->Set(kZ20Input1Gain, -20.0f); // would be heard if the chain ran
    const UInt32 on = 1;
    ASSERT_EQ(AudioUnitSetProperty(&host->Unit(), kAudioUnitProperty_BypassEffect,
                                   kAudioUnitScope_Global, 0, &on, sizeof on),
              noErr);
    std::vector<float> impulse(32, 0.0f);
    impulse[0] = 1.0f;
    const auto out = host->Render({impulse, impulse}, 32);
    for (std::size_t i = 0; i < impulse.size(); ++i) {
        EXPECT_EQ(out[0][i], i == 4 ? 1.0f : 0.0f) << "sample " << i;
        EXPECT_EQ(out[1][i], i == 4 ? 1.0f : 0.0f) << "sample " << i;
    }
}

TEST(Zkmorva20AU, SavedStateRoundTrip) {
    auto host = MakeHost20(kRate);
    host->Set(kZ20MasterLink, 0.0f); // every switch off, as the master link demands
    Settle(*host);
    const std::pair<AudioUnitParameterID, float> changes[] = {{kZ20AutoListenMode, 3.0f},
                                                              {kZ20MonoMaker, 150.0f},
                                                              {kZ20StereoWidth, 250.0f},
                                                              {kZ20Input1Gain, -4.0f},
                                                              {kZ20Output2Gain, 2.5f},
                                                              {19, 80.0f},
                                                              {24, 5.5f},
                                                              {65, -2.0f},
                                                              {88, 24.0f},
                                                              {93, 3.0f},
                                                              {kZ20HidePanel, 1.0f},
                                                              {kZ20EqOn, 0.0f}};
    for (const auto& [id, value] : changes) {
        host->Set(id, value);
    }
    Settle(*host);
    const std::string saved = host->Unit().SaveState();

    auto other = MakeHost20(kRate);
    std::string error;
    ASSERT_EQ(other->Unit().RestoreState(saved, &error), noErr) << error;
    Settle(*other);
    for (const ParameterDef& p : kZkmorva20Parameters) {
        if (!IsZkmorva20Meter(p.id)) {
            EXPECT_EQ(other->Get(p.id), host->Get(p.id)) << p.name;
        }
    }
    auto& unit = other->As<CZkmorva20AU>();
    EXPECT_EQ(unit.autoListenMode, 3);
    EXPECT_DOUBLE_EQ(unit.stereoWidth, 2.5);
    EXPECT_EQ(unit.GetChannelSettings(1).lp.slope, 130.0);
    EXPECT_FALSE(unit.eqOn);
}

} // namespace
