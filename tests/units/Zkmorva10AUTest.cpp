// The channel EQ through the host interface: parameters reach the right sections
// on every channel, auto-listen follows gestures, and what hosts read and save.
#include "units/Zkmorva10AU.h"
#include "support/Measure.h"
#include "support/UnitHost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {

using namespace zk;
using zktest::ButterworthDb;
using zktest::UnitHost;

std::unique_ptr<UnitHost> MakeHost(double rate, UInt32 channels = 2) {
    return std::make_unique<UnitHost>(OpenZkmorva10(), rate, channels);
}

// Level change in dB of a tone through the unit, on every channel; the first
// channel's figure is returned and the others must agree.
double ToneGainDb(UnitHost& host, double frequency, double rate, UInt32 channels = 2) {
    const long n = static_cast<long>(std::max(0.5, 400.0 / frequency) * rate);
    const std::vector<double> tone = zktest::Sine(frequency, rate, n, 0.5);
    const auto out =
        host.Render(std::vector<std::vector<float>>(channels, {tone.begin(), tone.end()}));
    double first = 0.0;
    for (UInt32 c = 0; c < channels; ++c) {
        const std::vector<double> y(out[c].begin(), out[c].end());
        const double db = zktest::ToDb(zktest::ToneAmplitude(y, n / 2, frequency, rate) / 0.5);
        if (c == 0) {
            first = db;
        } else if (first > -200.0) { // far below that only the noise floor differs
            EXPECT_NEAR(db, first, 1e-4) << "channel " << c << " at " << frequency << " Hz";
        }
    }
    return first;
}

// Oversampled rates report the four frames of the band-limiting filter; the
// defaults are flat but for that filter's and the denormal guard's traces.
TEST(Zkmorva10AU, LatencyAndDefaults) {
    EXPECT_DOUBLE_EQ(MakeHost(48000.0)->Unit().GetLatency(), 4.0 / 48000.0);
    EXPECT_EQ(MakeHost(64000.0)->Unit().GetLatency(), 0.0);
    auto host = MakeHost(44100.0);
    EXPECT_DOUBLE_EQ(host->Unit().GetLatency(), 4.0 / 44100.0);
    for (double f : {50.0, 1000.0, 10000.0}) {
        EXPECT_NEAR(ToneGainDb(*host, f, 44100.0), 0.0, 0.002) << "at " << f << " Hz";
    }
}

// Each channel of a bus runs the same chain with its own filter memory: a step on
// the left must not ring into the right, on mono, stereo and wider buses.
TEST(Zkmorva10AU, EveryChannelRunsTheChainWithItsOwnMemory) {
    for (UInt32 channels : {1u, 3u}) {
        auto host = MakeHost(48000.0, channels);
        host->Set(kZ10MfGain, -6.0f);
        EXPECT_NEAR(ToneGainDb(*host, 3150.0, 48000.0, channels), -6.0, 0.01)
            << channels << " channels at 3150 Hz";
    }
    auto host = MakeHost(48000.0);
    host->Set(kZ10LmfGain, 12.0f);
    host->Set(kZ10HpFreq, 200.0f);
    std::vector<float> step(4800, 0.0f), silence(4800, 0.0f);
    std::fill(step.begin() + 100, step.end(), 1.0f);
    const auto out = host->Render({step, silence}, 256);
    EXPECT_GT(*std::max_element(out[0].begin(), out[0].end()), 0.5f);
    for (float y : out[1]) {
        ASSERT_LT(std::abs(y), 1e-12f) << "the left step rang into the right channel";
    }
}

// Each band's controls reach that band: measured at its own frequency.
TEST(Zkmorva10AU, BandsBoostAndCutAtTheirFrequencies) {
    struct Band {
        AudioUnitParameterID q, f, gain;
        float frequency, gainDb;
    };
    const Band bands[] = {{kZ10LfQ, kZ10LfFreq, kZ10LfGain, 100.0f, 6.0f},
                          {kZ10LmfQ, kZ10LmfFreq, kZ10LmfGain, 400.0f, -9.0f},
                          {kZ10MfQ, kZ10MfFreq, kZ10MfGain, 2500.0f, 6.0f},
                          {kZ10HmfQ, kZ10HmfFreq, kZ10HmfGain, 6000.0f, -9.0f},
                          {kZ10HfQ, kZ10HfFreq, kZ10HfGain, 11000.0f, 6.0f}};
    for (const Band& b : bands) {
        auto host = MakeHost(44100.0);
        host->Set(b.q, 1.0f);
        host->Set(b.f, b.frequency);
        host->Set(b.gain, b.gainDb);
        EXPECT_NEAR(ToneGainDb(*host, b.frequency, 44100.0), b.gainDb, 0.02)
            << "band gain id " << b.gain << " at " << b.frequency << " Hz";
    }
}

// Below 0.3 the LF Q control selects a shelf; the high-pass takes a slope code
// from its Q control, the low-pass the raw value (Q 18 is 12 dB/oct on the
// high-pass and 30 dB/oct on the low-pass).
TEST(Zkmorva10AU, ShelvesAndCutFilterSlopes) {
    const double rate = 96000.0;
    auto host = MakeHost(rate);
    host->Set(kZ10LfGain, 6.0f); // LF Q defaults to 0.29: a low shelf at 100 Hz
    EXPECT_NEAR(ToneGainDb(*host, 20.0, rate), 6.0, 0.3) << "low shelf at 20 Hz";
    EXPECT_NEAR(ToneGainDb(*host, 5000.0, rate), 0.0, 0.05) << "low shelf at 5000 Hz";
    host->Set(kZ10LfQ, 0.3f); // from 0.3 up a bell; applied with the next block
    host->Render({std::vector<float>(16, 0.0f), std::vector<float>(16, 0.0f)});
    EXPECT_EQ(host->As<CZkmorva10AU>().GetBandFilter(0).GetParameters().type, Peak);
    EXPECT_EQ(host->As<CZkmorva10AU>().GetBandFilter(0).GetParameters().q, 0.3f);
    host->Set(kZ10LfGain, 0.0f);

    host->Set(kZ10HpFreq, 1000.0f);
    EXPECT_NEAR(ToneGainDb(*host, 250.0, rate), ButterworthDb(2, 250.0, 1000.0, rate, true), 0.02)
        << "high-pass at 250 Hz";
    host->Set(kZ10HpQ, 24.0f);
    EXPECT_NEAR(ToneGainDb(*host, 500.0, rate), ButterworthDb(5, 500.0, 1000.0, rate, true), 0.05)
        << "30 dB/oct high-pass at 500 Hz";
    host->Set(kZ10HpOn, 0.0f);
    EXPECT_NEAR(ToneGainDb(*host, 500.0, rate), 0.0, 0.002) << "high-pass off at 500 Hz";

    host->Set(kZ10LpFreq, 4000.0f);
    for (float q : {18.0f, 16.0f}) { // raw 16: still the 30 dB/oct cascade
        host->Set(kZ10LpQ, q);
        EXPECT_NEAR(ToneGainDb(*host, 8000.0, rate), ButterworthDb(5, 8000.0, 4000.0, rate, false),
                    0.05)
            << "low-pass with Q " << q << " at 8000 Hz";
    }
}

TEST(Zkmorva10AU, ShiftersGainsAndPhase) {
    const double rate = 48000.0;
    auto host = MakeHost(rate);
    host->Set(kZ10BassShiftGain, 9.0f);
    EXPECT_GT(ToneGainDb(*host, 89.0, rate), 5.0) << "bass shift at 89 Hz";
    EXPECT_LT(ToneGainDb(*host, 400.0, rate), -3.0) << "bass shift at 400 Hz";
    host->Set(kZ10BassShiftOn, 0.0f);
    host->Set(kZ10PresShiftGain, 6.0f);
    // The counter-bell's skirt takes part of the lift away at the presence frequency.
    EXPECT_GT(ToneGainDb(*host, 12600.0, rate), 2.5) << "presence shift at 12600 Hz";
    EXPECT_LT(ToneGainDb(*host, 7857.0, rate), -2.0) << "presence counter-bell at 7857 Hz";
    host->Set(kZ10PresShiftOn, 0.0f);
    EXPECT_NEAR(ToneGainDb(*host, 89.0, rate), 0.0, 0.002) << "shifters off, at 89 Hz";

    host->Set(kZ10InputGain, -6.0f);
    host->Set(kZ10OutputGain, 3.0f);
    EXPECT_NEAR(ToneGainDb(*host, 1000.0, rate), -3.0, 0.002) << "at 1000 Hz";
    host->Set(kZ10InputGain, -100.0f);
    EXPECT_LT(ToneGainDb(*host, 1000.0, rate), -300.0) << "input gain at its floor";
    host->Set(kZ10InputGain, 0.0f);
    host->Set(kZ10OutputGain, 0.0f);
    host->Set(kZ10PhaseRev, 1.0f);
    const auto out =
        host->Render({std::vector<float>(2000, 0.25f), std::vector<float>(2000, 0.25f)});
    EXPECT_NEAR(out[0].back(), -0.25f, 1e-6f);
    EXPECT_NEAR(out[1].back(), -0.25f, 1e-6f);
}

// Gestures reach auto-listen: on a frequency control a narrow band plays and
// follows the control; a foreign end is ignored; the display property follows;
// mode and switch choose; the text-box property blocks one gesture.
TEST(Zkmorva10AU, AutoListenFollowsGestures) {
    const double rate = 48000.0;
    auto host = MakeHost(rate);
    auto& unit = host->As<CZkmorva10AU>();
    host->Gesture(kZ10LmfFreq, true);
    EXPECT_NEAR(ToneGainDb(*host, 315.0, rate), 0.0, 0.05) << "listened band at 315 Hz";
    EXPECT_LT(ToneGainDb(*host, 3000.0, rate), -20.0) << "outside the listened band at 3000 Hz";
    EXPECT_EQ(unit.GetAutoListenDisplay().on, 1u);
    EXPECT_EQ(unit.GetAutoListenDisplay().parameterId, static_cast<SInt32>(kZ10LmfFreq));
    host->Set(kZ10LmfFreq, 1000.0f);
    EXPECT_NEAR(ToneGainDb(*host, 1000.0, rate), 0.0, 0.05) << "moved listened band at 1000 Hz";
    host->Gesture(kZ10MfFreq, false); // not the listened control
    EXPECT_LT(ToneGainDb(*host, 3000.0, rate), -20.0) << "after a foreign end, at 3000 Hz";
    host->Gesture(kZ10LmfFreq, false);
    EXPECT_NEAR(ToneGainDb(*host, 3000.0, rate), 0.0, 0.002) << "after the end, at 3000 Hz";
    EXPECT_EQ(unit.GetAutoListenDisplay().on, 0u);

    host->Set(kZ10AutoListenMode, 2.0f); // gains only
    host->Gesture(kZ10LmfFreq, true);
    EXPECT_NEAR(ToneGainDb(*host, 3000.0, rate), 0.0, 0.002) << "frequency ignored in mode 2";
    host->Gesture(kZ10LmfFreq, false);
    host->Set(kZ10AutoListenOn, 0.0f);
    host->Set(kZ10AutoListenMode, 6.0f);
    host->Gesture(kZ10LmfFreq, true);
    EXPECT_NEAR(ToneGainDb(*host, 3000.0, rate), 0.0, 0.002) << "auto-listen switched off";
    host->Gesture(kZ10LmfFreq, false);
    host->Set(kZ10AutoListenOn, 1.0f);

    const UInt8 zero = 0; // any call with data sets the flag, even a zero byte
    ASSERT_EQ(AudioUnitSetProperty(&host->Unit(), CZkmorvaAU::kTextBoxCurrentControlProperty,
                                   kAudioUnitScope_Global, 0, &zero, 1),
              noErr);
    UInt8 flag = 0;
    UInt32 size = 1;
    ASSERT_EQ(AudioUnitGetProperty(&host->Unit(), CZkmorvaAU::kTextBoxCurrentControlProperty,
                                   kAudioUnitScope_Global, 0, &flag, &size),
              noErr);
    EXPECT_EQ(flag, 1);
    host->Gesture(kZ10LmfFreq, true);
    EXPECT_NEAR(ToneGainDb(*host, 3000.0, rate), 0.0, 0.002) << "first gesture blocked";
    host->Gesture(kZ10LmfFreq, false);
    host->Gesture(kZ10LmfFreq, true);
    EXPECT_LT(ToneGainDb(*host, 3000.0, rate), -20.0) << "second gesture listens";
}

const char* StringFor(AUBase& unit, AudioUnitParameterID id, const float* value, OSStatus* status) {
    AudioUnitParameterStringFromValue request{id, value, "stale"};
    UInt32 size = sizeof request;
    *status = AudioUnitGetProperty(&unit, kAudioUnitProperty_ParameterStringFromValue,
                                   kAudioUnitScope_Global, 0, &request, &size);
    return request.outString;
}

TEST(Zkmorva10AU, HostStringsForSpecialValues) {
    auto host = MakeHost(48000.0);
    struct Case {
        AudioUnitParameterID id;
        float value;
        const char* text; // null: no special text
    };
    const Case cases[] = {
        {3, -100.0f, "-oo"},      {4, -100.0f, "-oo"},      {3, -99.9f, nullptr},
        {6, 15.0f, nullptr},      {6, 15.5f, "6dB/oct."},   {6, 17.0f, "6dB/oct."},
        {29, 18.0f, "12dB/oct."}, {29, 20.0f, "18dB/oct."}, {6, 23.0f, "24dB/oct."},
        {6, 23.5f, "30dB/oct."},  {9, 0.29f, "lo-shelf"},   {9, 0.3f, nullptr},
        {25, 0.28f, "hi-shelf"},  {38, -61.0f, "-60"},      {39, -70.0f, "-60"},
        {38, 0.0f, "0"},          {39, -30.0f, nullptr},
    };
    OSStatus status = -1;
    for (const Case& c : cases) {
        const char* text = StringFor(host->Unit(), c.id, &c.value, &status);
        EXPECT_EQ(status, noErr) << "id " << c.id;
        EXPECT_STREQ(text ? text : "(none)", c.text ? c.text : "(none)")
            << "id " << c.id << " value " << c.value;
    }
    for (AudioUnitParameterID id : {0u, 2u, 5u, 7u, 11u, 40u}) {
        const float zero = 0.0f;
        StringFor(host->Unit(), id, &zero, &status);
        EXPECT_EQ(status, kAudioUnitErr_InvalidParameter) << "id " << id;
    }
    // Without a value the text follows parameter 33 (bass shift gain), whatever id
    // is asked for, as it always has: LF Q at 1.0 reads "lo-shelf" while 33 is below 0.3.
    host->Set(kZ10LfQ, 1.0f);
    for (const auto& [shift, text] : {std::pair<float, const char*>{0.0f, "lo-shelf"},
                                      std::pair<float, const char*>{6.0f, nullptr}}) {
        host->Set(kZ10BassShiftGain, shift);
        const char* got = StringFor(host->Unit(), kZ10LfQ, nullptr, &status);
        ASSERT_EQ(status, noErr);
        EXPECT_STREQ(got ? got : "(none)", text ? text : "(none)") << "parameter 33 at " << shift;
    }
}

TEST(Zkmorva10AU, ParameterInfoAndValueStrings) {
    auto host = MakeHost(48000.0);
    for (const ParameterDef& p : kZkmorva10Parameters) {
        AudioUnitParameterInfo info;
        ASSERT_EQ(host->Unit().GetParameterInfo(kAudioUnitScope_Global, p.id, info), noErr);
        EXPECT_STREQ(info.name, p.name) << p.id;
        EXPECT_EQ(info.cfNameString, p.name) << p.id;
        EXPECT_EQ(info.unit, p.unit) << p.id;
        EXPECT_EQ(info.minValue, p.minValue) << p.id;
        EXPECT_EQ(info.maxValue, p.maxValue) << p.id;
        EXPECT_EQ(info.defaultValue, p.defaultValue) << p.id;
        EXPECT_EQ(info.flags, p.flags) << p.id;
        if (!IsMeter(p)) { // the defaults are what a fresh unit holds
            EXPECT_EQ(host->Get(p.id), p.defaultValue) << p.name;
        }
    }
    EXPECT_STREQ(kZkmorva10Parameters[33].name, "Bass Shift Gain");
    EXPECT_EQ(kZkmorva10Parameters[9].minValue, 0.28f);
    EXPECT_NE(kZkmorva10Parameters[9].flags & kAudioUnitParameterFlag_DisplayLogarithmic, 0u);
    EXPECT_EQ(kZkmorva10Parameters[38].flags & kAudioUnitParameterFlag_IsWritable, 0u);
    EXPECT_NE(kZkmorva10Parameters[38].flags & kAudioUnitParameterFlag_MeterReadOnly, 0u);
    AudioUnitParameterInfo info;
    EXPECT_EQ(host->Unit().GetParameterInfo(kAudioUnitScope_Global, 41, info),
              kAudioUnitErr_InvalidParameter);
    EXPECT_EQ(host->Unit().GetParameterInfo(kAudioUnitScope_Input, 3, info),
              kAudioUnitErr_InvalidParameter);
    std::vector<std::string> strings;
    ASSERT_EQ(host->Unit().GetParameterValueStrings(kAudioUnitScope_Global, 1, &strings), noErr);
    EXPECT_EQ(strings, (std::vector<std::string>{"Q - -", "- f -", "- - G", "Q f -", "Q - G",
                                                 "- f G", "Q f G"}));
    EXPECT_EQ(host->Unit().GetParameterValueStrings(kAudioUnitScope_Global, 2, &strings),
              kAudioUnitErr_InvalidParameter);
}

TEST(Zkmorva10AU, MetersReadTheFloorAtSilenceAndJumpOnOvers) {
    auto host = MakeHost(48000.0);
    host->Render({std::vector<float>(4800, 0.0f), std::vector<float>(4800, 0.0f)});
    EXPECT_EQ(host->Get(kZ10InputMeter), -61.0f);
    EXPECT_LE(host->Get(kZ10OutputMeter), -61.0f);
    std::vector<float> over(64, 0.0f);
    over.back() = 1.5f;
    host->Render({over, over}, 64);
    // One release step follows on the zero-stuffed sample after it.
    EXPECT_NEAR(host->Get(kZ10InputMeter), 20.0 * std::log10(1.5), 1e-3);
}

TEST(Zkmorva10AU, SavedStateRoundTripReachesTheFilters) {
    auto host = MakeHost(48000.0);
    host->Set(kZ10MfGain, 4.5f);
    host->Set(kZ10HpFreq, 123.0f);
    host->Set(kZ10AutoListenMode, 3.0f);
    const std::string saved = host->Unit().SaveState();

    auto other = MakeHost(48000.0);
    std::string error;
    ASSERT_EQ(other->Unit().RestoreState(saved, &error), noErr) << error;
    other->Pump();
    for (const ParameterDef& p : kZkmorva10Parameters) {
        if (!IsMeter(p)) {
            EXPECT_EQ(other->Get(p.id), host->Get(p.id)) << p.name;
        }
    }
    // The restored values reached the processor too.
    EXPECT_NEAR(ToneGainDb(*other, 3150.0, 48000.0), 4.5, 0.01) << "restored MF gain at 3150 Hz";
}

// Host bypass is the latency-matched dry path, with its own delay ring per channel.
TEST(Zkmorva10AU, BypassDelaysEveryChannelByTheLatency) {
    auto host = MakeHost(48000.0, 2);
    UInt32 on = 1;
    ASSERT_EQ(AudioUnitSetProperty(&host->Unit(), kAudioUnitProperty_BypassEffect,
                                   kAudioUnitScope_Global, 0, &on, sizeof on),
              noErr);
    std::vector<float> left(1000), right(1000);
    for (std::size_t i = 0; i < left.size(); ++i) {
        left[i] = static_cast<float>(i + 1);
        right[i] = -static_cast<float>(i + 1);
    }
    const auto out = host->Render({left, right}, 37);
    for (std::size_t i = 0; i < left.size(); ++i) {
        ASSERT_EQ(out[0][i], i < 4 ? 0.0f : left[i - 4]) << "left frame " << i;
        ASSERT_EQ(out[1][i], i < 4 ? 0.0f : right[i - 4]) << "right frame " << i;
    }
}

} // namespace
