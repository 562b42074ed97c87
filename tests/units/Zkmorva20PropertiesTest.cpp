// What hosts read from the two-channel EQ: dependent parameters, special value
// texts, parameter info, value strings and the view component.
#include "Zkmorva20TestSupport.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace zk;
using zktest::MakeHost20;

std::vector<AudioUnitParameterID> Dependents(AUBase& unit, AudioUnitParameterID id,
                                             UInt32* sizeOut = nullptr) {
    UInt32 size = 12345;
    Boolean writable = true;
    EXPECT_EQ(AudioUnitGetPropertyInfo(&unit, kAudioUnitProperty_DependentParameters,
                                       kAudioUnitScope_Global, id, &size, &writable),
              noErr);
    EXPECT_FALSE(writable);
    if (sizeOut != nullptr) {
        *sizeOut = size;
    }
    std::vector<AUDependentParameter> entries(size / sizeof(AUDependentParameter) + 1);
    UInt32 ioSize = static_cast<UInt32>(entries.size() * sizeof(AUDependentParameter));
    EXPECT_EQ(AudioUnitGetProperty(&unit, kAudioUnitProperty_DependentParameters,
                                   kAudioUnitScope_Global, id, entries.data(), &ioSize),
              noErr);
    EXPECT_EQ(ioSize, size);
    std::vector<AudioUnitParameterID> ids;
    for (UInt32 i = 0; i < size / sizeof(AUDependentParameter); ++i) {
        EXPECT_EQ(entries[i].mScope, kAudioUnitScope_Global);
        ids.push_back(entries[i].mParameterID);
    }
    return ids;
}

TEST(Zkmorva20AUProperties, DependentParameters) {
    auto host = MakeHost20();
    AUBase& unit = host->Unit();
    using Ids = std::vector<AudioUnitParameterID>;
    UInt32 size = 0;
    const Ids master = Dependents(unit, kZ20MasterLink, &size);
    EXPECT_EQ(size, 448u);
    EXPECT_EQ(master,
              (Ids{7,  9,  11, 13, 20, 25, 30, 35, 40, 45, 49, 53, 57, 61, 66, 71, 76, 81, 86,
                   90, 94, 98, 10, 12, 59, 60, 62, 63, 64, 65, 67, 68, 69, 70, 72, 73, 74, 75,
                   77, 78, 79, 80, 82, 83, 84, 85, 87, 88, 89, 91, 92, 93, 95, 96, 97, 99}));

    struct Case {
        AudioUnitParameterID id;
        Ids expected;
    };
    const Case cases[] = {
        {kZ20Ch1Solo, {1}},
        {kZ20Ch2Solo, {0}},
        {kZ20Output2Gain, {8}}, // a gain
        {kZ20Input1Gain, {10}},
        {kZ20Input1Link, {4, 11, 10}}, // gain links
        {kZ20Output2Link, {4, 9, 8}},
        {20, {4, 61, 59, 60, 62}}, // cut-filter links
        {90, {4, 49, 47, 48, 50}},
        {53, {4, 94, 92, 93, 95}}, // shifter link
        {98, {4, 57, 55, 56, 58}},
        {25, {4, 66, 63, 64, 65, 67}}, // band links
        {81, {4, 40, 37, 38, 39, 41}},
        {18, {59}}, // plain channel controls
        {58, {99}},
        {99, {58}},
        {63, {22}},
        {kZ20AutoListenMode, {}}, // unlisted
        {kZ20StereoWidthOn, {}},
        {kZ20HidePanel, {}},
        {kZ20BalanceMeter, {}},
    };
    for (const Case& c : cases) {
        UInt32 bytes = 0;
        EXPECT_EQ(Dependents(unit, c.id, &bytes), c.expected) << "id " << c.id;
        EXPECT_EQ(bytes, 8u * c.expected.size()) << "id " << c.id;
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
        if (c.text == nullptr) {
            EXPECT_EQ(text, nullptr) << "id " << c.id << " value " << c.value;
        } else {
            ASSERT_NE(text, nullptr) << "id " << c.id << " value " << c.value;
            EXPECT_STREQ(text, c.text) << "id " << c.id << " value " << c.value;
        }
    }
    // Without a value the parameter's own current value counts.
    host->Set(kZ20StereoWidth, 0.0f);
    OSStatus status = -1;
    const char* text = StringFor(unit, kZ20StereoWidth, nullptr, &status);
    ASSERT_EQ(status, noErr);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, "Mono");
    EXPECT_STREQ(StringFor(unit, kZ20Input1Meter, nullptr, &status), "-60") << "silent meter";

    for (AudioUnitParameterID id : {0u, 5u, 7u, 15u, 17u, 19u, 24u, 101u, 108u, 109u, 500u}) {
        const float v = 0.0f;
        EXPECT_EQ(StringFor(unit, id, &v, &status), nullptr) << "id " << id;
        EXPECT_EQ(status, kAudioUnitErr_InvalidParameter) << "id " << id;
    }
}

TEST(Zkmorva20AUProperties, ParameterInfo) {
    auto host = MakeHost20();
    AUBase& unit = host->Unit();
    constexpr AudioUnitParameterOptions M = kAudioUnitParameterFlag_IsGlobalMeta;
    constexpr AudioUnitParameterOptions S = kAudioUnitParameterFlag_ValuesHaveStrings;
    constexpr AudioUnitParameterOptions Log = kAudioUnitParameterFlag_DisplayLogarithmic;
    constexpr AudioUnitParameterOptions Cub = kAudioUnitParameterFlag_DisplayCubed;
    constexpr AudioUnitParameterOptions Sqrt = kAudioUnitParameterFlag_DisplaySquareRoot;
    constexpr AudioUnitParameterOptions kChecked = M | S | kAudioUnitParameterFlag_DisplayMask;
    struct Case {
        AudioUnitParameterID id;
        const char* name;
        AudioUnitParameterUnit unit;
        float min, max, def;
        AudioUnitParameterOptions flags; // of M, S and the display flags
    };
    const Case cases[] = {
        {0, "Solo L on/off", kAudioUnitParameterUnit_Boolean, 0, 1, 0, M},
        {3, "Auto listen mode", kAudioUnitParameterUnit_Indexed, 0, 6, 6, 0},
        {10, "Input R Gain", kAudioUnitParameterUnit_Decibels, -100, 12, 0, M | S | Cub},
        {14, "Mono-Maker", kAudioUnitParameterUnit_Hertz, 20, 26000, 20, S | Log},
        {16, "Stereo-Width", kAudioUnitParameterUnit_Percent, 0, 400, 100, S | Sqrt},
        {18, "HP L Q", kAudioUnitParameterUnit_Generic, 0.3f, 25, 18, M | S | Log},
        {63, "LF R Q", kAudioUnitParameterUnit_Generic, 0.28f, 15, 0.29f, M | S | Log},
        {68, "LMF R Q", kAudioUnitParameterUnit_Generic, 0.3f, 15, 1, M | Log},
        {61, "HP R Link on/off", kAudioUnitParameterUnit_Boolean, 0, 1, 1, M},
        {79, "HMF R f", kAudioUnitParameterUnit_Hertz, 400, 26000, 5800, M | Log},
        {89, "LP R f", kAudioUnitParameterUnit_Hertz, 20, 26000, 26000, M | Log},
        {52, "Bass Shift L Gain", kAudioUnitParameterUnit_Generic, -12, 12, 0, M},
        {96, "Pres Shift R f", kAudioUnitParameterUnit_Hertz, 8000, 20000, 12600, M},
        {101, "Correlation", kAudioUnitParameterUnit_Generic, -1, 1, 0, 0},
        {107, "Out R", kAudioUnitParameterUnit_Decibels, -61, 0, -61, 0},
        {108, "", kAudioUnitParameterUnit_Boolean, 0, 1, 0, 0},
    };
    for (const Case& c : cases) {
        AudioUnitParameterInfo info;
        ASSERT_EQ(unit.GetParameterInfo(kAudioUnitScope_Global, c.id, info), noErr) << c.id;
        EXPECT_STREQ(info.name, c.name) << c.id;
        EXPECT_EQ(info.unit, c.unit) << c.id;
        EXPECT_EQ(info.minValue, c.min) << c.id;
        EXPECT_EQ(info.maxValue, c.max) << c.id;
        EXPECT_EQ(info.defaultValue, c.def) << c.id;
        EXPECT_EQ(info.flags & kChecked, c.flags) << c.id;
        EXPECT_EQ(info.flags & kReadWrite, kReadWrite) << c.id;
    }
    AudioUnitParameterInfo info;
    EXPECT_EQ(unit.GetParameterInfo(kAudioUnitScope_Global, 109, info),
              kAudioUnitErr_InvalidParameter);
    EXPECT_EQ(unit.GetParameterInfo(kAudioUnitScope_Output, 5, info),
              kAudioUnitErr_InvalidParameter);

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
}

TEST(Zkmorva20AUProperties, ValueStringsViewAndDisplayState) {
    auto host = MakeHost20();
    AUBase& unit = host->Unit();
    std::vector<std::string> strings;
    ASSERT_EQ(unit.GetParameterValueStrings(kAudioUnitScope_Global, 3, &strings), noErr);
    EXPECT_EQ(strings, (std::vector<std::string>{"Q - -", "- f -", "- - G", "Q f -", "Q - G",
                                                 "- f G", "Q f G"}));
    EXPECT_EQ(unit.GetParameterValueStrings(kAudioUnitScope_Global, 2, &strings),
              kAudioUnitErr_InvalidParameter);

    ASSERT_EQ(unit.GetNumCustomUIComponents(), 1);
    AudioComponentDescription view;
    unit.GetUIComponentDescs(&view);
    EXPECT_EQ(view.componentType, MakeFourCC("auvw"));
    EXPECT_EQ(view.componentSubType, MakeFourCC("zkm2"));
    EXPECT_EQ(view.componentManufacturer, MakeFourCC("Vnqe"));
    EXPECT_EQ(unit.GetComponentDescription().componentSubType, MakeFourCC("Zk20"));

    // The display state follows a listened gesture; 8 bytes, not writable.
    host->Gesture(23, true); // LF L f
    zktest::Settle(*host);
    CZkmorvaAU::AutoListenDisplay d{};
    UInt32 size = sizeof d;
    ASSERT_EQ(AudioUnitGetProperty(&unit, CZkmorvaAU::kAutoListenDisplayProperty,
                                   kAudioUnitScope_Global, 0, &d, &size),
              noErr);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(d.on, 1u);
    EXPECT_EQ(d.parameterId, 23) << "the control touched, linked or not";
    EXPECT_EQ(AudioUnitSetProperty(&unit, CZkmorvaAU::kAutoListenDisplayProperty,
                                   kAudioUnitScope_Global, 0, &d, size),
              kAudioUnitErr_PropertyNotWritable);
}

} // namespace
