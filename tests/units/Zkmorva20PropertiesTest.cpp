// What hosts read from the two-channel EQ: dependent parameters, special value
// texts, parameter info, value strings and the view component.
#include "Zkmorva20TestSupport.h"
#include "units/Zkmorva20Links.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using namespace zk;
using zktest::MakeHost20;
using Ids = std::vector<AudioUnitParameterID>;

// The dependents of `id` as hosts read them: size first (not writable), then the list.
Ids Dependents(AUBase& unit, AudioUnitParameterID id) {
    UInt32 size = 12345;
    Boolean writable = true;
    EXPECT_EQ(AudioUnitGetPropertyInfo(&unit, kAudioUnitProperty_DependentParameters,
                                       kAudioUnitScope_Global, id, &size, &writable),
              noErr);
    EXPECT_FALSE(writable);
    std::vector<AUDependentParameter> entries(size / sizeof(AUDependentParameter) + 1);
    UInt32 ioSize = static_cast<UInt32>(entries.size() * sizeof(AUDependentParameter));
    EXPECT_EQ(AudioUnitGetProperty(&unit, kAudioUnitProperty_DependentParameters,
                                   kAudioUnitScope_Global, id, entries.data(), &ioSize),
              noErr);
    EXPECT_EQ(ioSize, size) << "id " << id;
    Ids ids;
    for (UInt32 i = 0; i < size / sizeof(AUDependentParameter); ++i) {
        EXPECT_EQ(entries[i].mScope, kAudioUnitScope_Global);
        ids.push_back(entries[i].mParameterID);
    }
    return ids;
}

TEST(Zkmorva20AUProperties, DependentParameters) {
    auto host = MakeHost20();
    AUBase& unit = host->Unit();
    const Ids master = Dependents(unit, kZ20MasterLink);
    EXPECT_TRUE(std::equal(z20links::kLinkParameters.begin(), z20links::kLinkParameters.end(),
                           master.begin()))
        << "the master link lists every switch first";
    EXPECT_EQ(master.size(), 56u) << "the switches, channel 2's gains and controls";
    for (AudioUnitParameterID id = kZ20Channel1First + kZ20ChannelSpan;
         id < kZ20Channel1First + 2 * kZ20ChannelSpan; ++id) {
        EXPECT_NE(std::find(master.begin(), master.end(), id), master.end()) << "id " << id;
    }
    for (AudioUnitParameterID id : {kZ20Input2Gain, kZ20Output2Gain}) {
        EXPECT_NE(std::find(master.begin(), master.end(), id), master.end()) << "id " << id;
    }
    struct Case {
        AudioUnitParameterID id;
        Ids expected;
    };
    const Case cases[] = {
        {kZ20Ch1Solo, {1}},
        {kZ20Ch2Solo, {0}},
        {kZ20Output2Gain, {8}},        // a gain
        {kZ20Input1Link, {4, 11, 10}}, // gain links
        {kZ20Output2Link, {4, 9, 8}},
        {20, {4, 61, 59, 60, 62}}, // cut-filter links
        {90, {4, 49, 47, 48, 50}},
        {53, {4, 94, 92, 93, 95}},     // shifter link
        {25, {4, 66, 63, 64, 65, 67}}, // band links
        {81, {4, 40, 37, 38, 39, 41}},
        {18, {59}}, // plain channel controls
        {99, {58}},
        {63, {22}},
        {kZ20AutoListenMode, {}}, // unlisted
        {kZ20StereoWidthOn, {}},
        {kZ20BalanceMeter, {}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Dependents(unit, c.id), c.expected) << "id " << c.id;
    }
    UInt32 bytes = 0;
    EXPECT_EQ(AudioUnitGetPropertyInfo(&unit, kAudioUnitProperty_DependentParameters,
                                       kAudioUnitScope_Input, 7, &bytes, nullptr),
              kAudioUnitErr_InvalidProperty);
}

const char* StringFor(AUBase& unit, AudioUnitParameterID id, const float* value, OSStatus* status) {
    AudioUnitParameterStringFromValue request{id, value, "stale"};
    UInt32 size = sizeof request;
    *status = AudioUnitGetProperty(&unit, kAudioUnitProperty_ParameterStringFromValue,
                                   kAudioUnitScope_Global, 0, &request, &size);
    return request.outString;
}

// Each kind of text at the edges of its range, on both channels.
TEST(Zkmorva20AUProperties, TextsForSpecialValues) {
    auto host = MakeHost20();
    AUBase& unit = host->Unit();
    struct Case {
        AudioUnitParameterID id;
        float value;
        const char* text; // null: the host formats the number
    };
    const Case cases[] = {
        {6, -100.0f, "-oo"},      {12, -100.0f, "-oo"},     {8, -99.0f, nullptr},
        {14, 20.0f, "off"},       {14, 25.0f, nullptr},     {16, 0.0f, "Mono"},
        {16, 1.0f, nullptr},      {18, 15.0f, nullptr},     {18, 15.5f, "6dB/oct."},
        {47, 17.5f, "12dB/oct."}, {59, 19.0f, "12dB/oct."}, {88, 20.0f, "18dB/oct."},
        {18, 23.0f, "24dB/oct."}, {88, 25.0f, "30dB/oct."}, {22, 0.29f, "lo-shelf"},
        {63, 0.28f, "lo-shelf"},  {22, 0.3f, nullptr},      {42, 0.29f, "hi-shelf"},
        {83, 0.3f, nullptr},      {100, 0.0f, "L"},         {100, 1.0f, "R"},
        {100, 0.5f, nullptr},     {102, -61.0f, "-60"},     {107, -80.0f, "-60"},
        {105, 0.0f, "0"},         {106, -30.0f, nullptr},
    };
    for (const Case& c : cases) {
        OSStatus status = -1;
        const char* text = StringFor(unit, c.id, &c.value, &status);
        EXPECT_EQ(status, noErr) << "id " << c.id;
        EXPECT_STREQ(text ? text : "(none)", c.text ? c.text : "(none)")
            << "id " << c.id << " value " << c.value;
    }
    // Without a value the parameter's own current value counts.
    host->Set(kZ20StereoWidth, 0.0f);
    OSStatus status = -1;
    EXPECT_STREQ(StringFor(unit, kZ20StereoWidth, nullptr, &status), "Mono");
    EXPECT_STREQ(StringFor(unit, kZ20Input1Meter, nullptr, &status), "-60") << "silent meter";
    for (AudioUnitParameterID id : {0u, 5u, 7u, 15u, 17u, 19u, 24u, 101u, 108u, 109u, 500u}) {
        const float v = 0.0f;
        EXPECT_EQ(StringFor(unit, id, &v, &status), nullptr) << "id " << id;
        EXPECT_EQ(status, kAudioUnitErr_InvalidParameter) << "id " << id;
    }
}

TEST(Zkmorva20AUProperties, ParameterInfoValueStringsAndView) {
    auto host = MakeHost20();
    AUBase& unit = host->Unit();
    AudioUnitParameterInfo info; // filled from the table as the channel EQ's
    ASSERT_EQ(unit.GetParameterInfo(kAudioUnitScope_Global, 108, info), noErr);
    EXPECT_EQ(info.flags & kReadWrite, kReadWrite);
    EXPECT_EQ(unit.GetParameterInfo(kAudioUnitScope_Global, 109, info),
              kAudioUnitErr_InvalidParameter);
    EXPECT_EQ(unit.GetParameterInfo(kAudioUnitScope_Output, 5, info),
              kAudioUnitErr_InvalidParameter);
    // Flags and names the table must carry: linked controls are global meta,
    // controls with texts say so, frequencies show logarithmic.
    constexpr AudioUnitParameterOptions M = kAudioUnitParameterFlag_IsGlobalMeta;
    constexpr AudioUnitParameterOptions S = kAudioUnitParameterFlag_ValuesHaveStrings;
    constexpr AudioUnitParameterOptions Log = kAudioUnitParameterFlag_DisplayLogarithmic;
    constexpr AudioUnitParameterOptions kChecked = M | S | kAudioUnitParameterFlag_DisplayMask;
    const std::tuple<AudioUnitParameterID, const char*, AudioUnitParameterOptions> spots[] = {
        {0, "Solo L on/off", M},
        {10, "Input R Gain", M | S | kAudioUnitParameterFlag_DisplayCubed},
        {16, "Stereo-Width", S | kAudioUnitParameterFlag_DisplaySquareRoot},
        {63, "LF R Q", M | S | Log},
        {79, "HMF R f", M | Log},
        {101, "Correlation", 0}};
    for (const auto& [id, name, flags] : spots) {
        EXPECT_STREQ(kZkmorva20Parameters[id].name, name) << id;
        EXPECT_EQ(kZkmorva20Parameters[id].flags & kChecked, flags) << id;
    }
    // Channel 2 mirrors channel 1 with "R" for "L"; symbols are stable identifiers.
    for (AudioUnitParameterID offset = 0; offset < kZ20ChannelSpan; ++offset) {
        const ParameterDef& l = kZkmorva20Parameters[18 + offset];
        const ParameterDef& r = kZkmorva20Parameters[59 + offset];
        std::string expected = l.name;
        expected[expected.find(" L") + 1] = 'R';
        EXPECT_EQ(expected, r.name) << offset;
        EXPECT_EQ(l.minValue, r.minValue);
        EXPECT_EQ(l.defaultValue, r.defaultValue);
        EXPECT_EQ(l.flags, r.flags);
    }
    EXPECT_EQ(FindParameter(kZkmorva20Parameters, "Eq1LfGain"), &kZkmorva20Parameters[24]);
    EXPECT_EQ(FindParameter(kZkmorva20Parameters, "Ps2On"), &kZkmorva20Parameters[99]);
    EXPECT_EQ(FindParameter(kZkmorva20Parameters, "LF R Gain"), &kZkmorva20Parameters[65]);

    std::vector<std::string> strings;
    ASSERT_EQ(unit.GetParameterValueStrings(kAudioUnitScope_Global, 3, &strings), noErr);
    EXPECT_EQ(strings, (std::vector<std::string>{"Q - -", "- f -", "- - G", "Q f -", "Q - G",
                                                 "- f G", "Q f G"}));
    EXPECT_EQ(unit.GetParameterValueStrings(kAudioUnitScope_Global, 2, &strings),
              kAudioUnitErr_InvalidParameter);
    ASSERT_EQ(unit.GetNumCustomUIComponents(), 1);
    AudioComponentDescription view;
    unit.GetUIComponentDescs(&view);
    EXPECT_EQ(FourCCToString(view.componentType) + FourCCToString(view.componentSubType) +
                  FourCCToString(view.componentManufacturer) +
                  FourCCToString(unit.GetComponentDescription().componentSubType),
              "auvwzkm2VnqeZk20");
}

// The display state follows a listened gesture; 8 bytes, not writable.
TEST(Zkmorva20AUProperties, AutoListenDisplayState) {
    auto host = MakeHost20();
    host->Gesture(23, true); // LF L f
    zktest::Settle(*host);
    CZkmorvaAU::AutoListenDisplay d{};
    UInt32 size = sizeof d;
    ASSERT_EQ(AudioUnitGetProperty(&host->Unit(), CZkmorvaAU::kAutoListenDisplayProperty,
                                   kAudioUnitScope_Global, 0, &d, &size),
              noErr);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(d.on, 1u);
    EXPECT_EQ(d.parameterId, 23) << "the control touched, linked or not";
    EXPECT_EQ(AudioUnitSetProperty(&host->Unit(), CZkmorvaAU::kAutoListenDisplayProperty,
                                   kAudioUnitScope_Global, 0, &d, size),
              kAudioUnitErr_PropertyNotWritable);
}

} // namespace
