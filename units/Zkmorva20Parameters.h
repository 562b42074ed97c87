#pragma once

#include "units/ParameterTable.h"
#include "units/ValueTexts.h"

#include <array>

namespace zk {

// Parameter ids of the two-channel EQ: global controls, then channel 1 (18..58) and
// channel 2 (59..99) with the same layout, then the meters and the panel state.
enum Zkmorva20Param : AudioUnitParameterID {
    kZ20Ch1Solo = 0,
    kZ20Ch2Solo = 1,
    kZ20AutoListenOn = 2,
    kZ20AutoListenMode = 3,
    kZ20MasterLink = 4,
    kZ20EqOn = 5,
    kZ20Input1Gain = 6,
    kZ20Input1Link = 7,
    kZ20Output1Gain = 8,
    kZ20Output1Link = 9,
    kZ20Input2Gain = 10,
    kZ20Input2Link = 11,
    kZ20Output2Gain = 12,
    kZ20Output2Link = 13,
    kZ20MonoMaker = 14,
    kZ20MonoMakerOn = 15,
    kZ20StereoWidth = 16,
    kZ20StereoWidthOn = 17,
    kZ20Channel1First = 18,
    kZ20Channel2First = 59,
    kZ20BalanceMeter = 100,
    kZ20CorrelationMeter = 101,
    kZ20Input1Meter = 102,
    kZ20Input2Meter = 103,
    kZ20OutputMMeter = 104,
    kZ20OutputSMeter = 105,
    kZ20Output1Meter = 106,
    kZ20Output2Meter = 107,
    kZ20HidePanel = 108,
    kZ20ParameterCount = 109,
    kZ20LastDispatched = 99, // meters and panel state are never pushed
};

// Offsets of a channel's controls from its first id (18 or 59).
enum Zkmorva20ChannelControl : AudioUnitParameterID {
    kZ20HpQ = 0,
    kZ20HpFreq = 1,
    kZ20HpLink = 2,
    kZ20HpOn = 3,
    kZ20LfQ = 4,
    kZ20LfFreq = 5,
    kZ20LfGain = 6,
    kZ20LfLink = 7,
    kZ20LfOn = 8,
    kZ20LmfQ = 9,
    kZ20LmfFreq = 10,
    kZ20LmfGain = 11,
    kZ20LmfLink = 12,
    kZ20LmfOn = 13,
    kZ20MfQ = 14,
    kZ20MfFreq = 15,
    kZ20MfGain = 16,
    kZ20MfLink = 17,
    kZ20MfOn = 18,
    kZ20HmfQ = 19,
    kZ20HmfFreq = 20,
    kZ20HmfGain = 21,
    kZ20HmfLink = 22,
    kZ20HmfOn = 23,
    kZ20HfQ = 24,
    kZ20HfFreq = 25,
    kZ20HfGain = 26,
    kZ20HfLink = 27,
    kZ20HfOn = 28,
    kZ20LpQ = 29,
    kZ20LpFreq = 30,
    kZ20LpLink = 31,
    kZ20LpOn = 32,
    kZ20BsFreq = 33,
    kZ20BsGain = 34,
    kZ20BsLink = 35,
    kZ20BsOn = 36,
    kZ20PsFreq = 37,
    kZ20PsGain = 38,
    kZ20PsLink = 39,
    kZ20PsOn = 40,
    kZ20ChannelSpan = 41,
};

// Id of a channel control on channel 0 (left) or 1 (right).
constexpr AudioUnitParameterID Z20ChannelId(int channel, AudioUnitParameterID offset) {
    return (channel == 0 ? kZ20Channel1First : kZ20Channel2First) + offset;
}

constexpr bool IsZkmorva20Meter(AudioUnitParameterID id) {
    return id >= kZ20BalanceMeter && id <= kZ20Output2Meter;
}

namespace z20flags {
inline constexpr AudioUnitParameterOptions kBase =
    kReadWrite | kAudioUnitParameterFlag_HasCFNameString;
inline constexpr AudioUnitParameterOptions kMeta = kBase | kAudioUnitParameterFlag_IsGlobalMeta;
inline constexpr AudioUnitParameterOptions kMetaLog =
    kMeta | kAudioUnitParameterFlag_DisplayLogarithmic;
inline constexpr AudioUnitParameterOptions kMetaLogStrings =
    kMetaLog | kAudioUnitParameterFlag_ValuesHaveStrings;
inline constexpr AudioUnitParameterOptions kGain =
    kMeta | kAudioUnitParameterFlag_ValuesHaveStrings | kAudioUnitParameterFlag_DisplayCubed;
inline constexpr AudioUnitParameterOptions kLogStrings =
    kBase | kAudioUnitParameterFlag_ValuesHaveStrings | kAudioUnitParameterFlag_DisplayLogarithmic;
inline constexpr AudioUnitParameterOptions kSqrtStrings =
    kBase | kAudioUnitParameterFlag_ValuesHaveStrings | kAudioUnitParameterFlag_DisplaySquareRoot;
} // namespace z20flags

namespace z20detail {

inline constexpr AudioUnitParameterUnit kBool = kAudioUnitParameterUnit_Boolean;
inline constexpr AudioUnitParameterUnit kIndexed = kAudioUnitParameterUnit_Indexed;
inline constexpr AudioUnitParameterUnit kGeneric = kAudioUnitParameterUnit_Generic;
inline constexpr AudioUnitParameterUnit kHz = kAudioUnitParameterUnit_Hertz;
inline constexpr AudioUnitParameterUnit kDb = kAudioUnitParameterUnit_Decibels;
inline constexpr AudioUnitParameterUnit kPercent = kAudioUnitParameterUnit_Percent;

// Rows outside the channels, in id order: 0..17, then 100..108.
inline constexpr std::array<ParameterDef, 18> kGlobalRows{{
    {0, "Solo L on/off", "Ch1Solo", kBool, 0, 1, 0, z20flags::kMeta},
    {1, "Solo R on/off", "Ch2Solo", kBool, 0, 1, 0, z20flags::kMeta},
    {2, "Auto listen on/off", "AutoListenOn", kBool, 0, 1, 1, z20flags::kBase},
    {3, "Auto listen mode", "AutoListenMode", kIndexed, 0, 6, 6, z20flags::kBase},
    {4, "Master Link on/off", "MasterLink", kBool, 0, 1, 1, z20flags::kMeta},
    {5, "EQ on/off", "EqOn", kBool, 0, 1, 1, z20flags::kBase},
    {6, "Input L Gain", "Input1Gain", kDb, -100, 12, 0, z20flags::kGain},
    {7, "Input L Gain Link on/off", "Input1Link", kBool, 0, 1, 1, z20flags::kMeta},
    {8, "Output L Gain", "Output1Gain", kDb, -100, 12, 0, z20flags::kGain},
    {9, "Output L Gain Link on/off", "Output1Link", kBool, 0, 1, 1, z20flags::kMeta},
    {10, "Input R Gain", "Input2Gain", kDb, -100, 12, 0, z20flags::kGain},
    {11, "Input R Gain Link on/off", "Input2Link", kBool, 0, 1, 1, z20flags::kMeta},
    {12, "Output R Gain", "Output2Gain", kDb, -100, 12, 0, z20flags::kGain},
    {13, "Output R Gain Link on/off", "Output2Link", kBool, 0, 1, 1, z20flags::kMeta},
    {14, "Mono-Maker", "MonoMaker", kHz, 20, 26000, 20, z20flags::kLogStrings},
    {15, "Mono-Maker on/off", "MonoMakerOn", kBool, 0, 1, 1, z20flags::kBase},
    {16, "Stereo-Width", "StereoWidth", kPercent, 0, 400, 100, z20flags::kSqrtStrings},
    {17, "Stereo-Width on/off", "StereoWidthOn", kBool, 0, 1, 1, z20flags::kBase},
}};

inline constexpr std::array<ParameterDef, 9> kMeterAndPanelRows{{
    {100, "Balance", "BalanceMeter", kGeneric, 0, 1, 0.5f, z20flags::kBase},
    {101, "Correlation", "CorrelationMeter", kGeneric, -1, 1, 0, z20flags::kBase},
    {102, "In L", "Input1Meter", kDb, -61, 0, -61, z20flags::kBase},
    {103, "In R", "Input2Meter", kDb, -61, 0, -61, z20flags::kBase},
    {104, "Out M", "OutputMMeter", kDb, -61, 0, -61, z20flags::kBase},
    {105, "Out S", "OutputSMeter", kDb, -61, 0, -61, z20flags::kBase},
    {106, "Out L", "Output1Meter", kDb, -61, 0, -61, z20flags::kBase},
    {107, "Out R", "Output2Meter", kDb, -61, 0, -61, z20flags::kBase},
    {108, "", "HidePanel", kBool, 0, 1, 0, z20flags::kBase},
}};

// One channel control, with its left and right names and symbols.
struct ChannelRow {
    std::array<const char*, 2> name;
    std::array<const char*, 2> symbol;
    AudioUnitParameterUnit unit;
    float minValue, maxValue, defaultValue;
    AudioUnitParameterOptions flags;
};

// By offset. The shifter gains are Generic although they are decibels like the
// band gains, and the LF/HF Q ranges reach down to 0.28 (shelf texts): intended.
inline constexpr std::array<ChannelRow, kZ20ChannelSpan> kChannelRows{{
    {{"HP L Q", "HP R Q"},
     {"Eq1HpQuality", "Eq2HpQuality"},
     kGeneric,
     0.3f,
     25,
     18,
     z20flags::kMetaLogStrings},
    {{"HP L f", "HP R f"},
     {"Eq1HpFrequency", "Eq2HpFrequency"},
     kHz,
     20,
     26000,
     20,
     z20flags::kMetaLog},
    {{"HP L Link on/off", "HP R Link on/off"},
     {"Eq1HpLink", "Eq2HpLink"},
     kBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"HP L on/off", "HP R on/off"}, {"Eq1HpOn", "Eq2HpOn"}, kBool, 0, 1, 1, z20flags::kMeta},

    {{"LF L Q", "LF R Q"},
     {"Eq1LfQuality", "Eq2LfQuality"},
     kGeneric,
     0.28f,
     15,
     0.29f,
     z20flags::kMetaLogStrings},
    {{"LF L f", "LF R f"},
     {"Eq1LfFrequency", "Eq2LfFrequency"},
     kHz,
     20,
     1000,
     100,
     z20flags::kMetaLog},
    {{"LF L Gain", "LF R Gain"}, {"Eq1LfGain", "Eq2LfGain"}, kDb, -12, 12, 0, z20flags::kMeta},
    {{"LF L Link on/off", "LF R Link on/off"},
     {"Eq1LfLink", "Eq2LfLink"},
     kBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"LF L on/off", "LF R on/off"}, {"Eq1LfOn", "Eq2LfOn"}, kBool, 0, 1, 1, z20flags::kMeta},

    {{"LMF L Q", "LMF R Q"},
     {"Eq1LmfQuality", "Eq2LmfQuality"},
     kGeneric,
     0.3f,
     15,
     1,
     z20flags::kMetaLog},
    {{"LMF L f", "LMF R f"},
     {"Eq1LmfFrequency", "Eq2LmfFrequency"},
     kHz,
     20,
     1000,
     315,
     z20flags::kMetaLog},
    {{"LMF L Gain", "LMF R Gain"}, {"Eq1LmfGain", "Eq2LmfGain"}, kDb, -12, 12, 0, z20flags::kMeta},
    {{"LMF L Link on/off", "LMF R Link on/off"},
     {"Eq1LmfLink", "Eq2LmfLink"},
     kBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"LMF L on/off", "LMF R on/off"}, {"Eq1LmfOn", "Eq2LmfOn"}, kBool, 0, 1, 1, z20flags::kMeta},

    {{"MF L Q", "MF R Q"},
     {"Eq1MfQuality", "Eq2MfQuality"},
     kGeneric,
     0.3f,
     15,
     2,
     z20flags::kMetaLog},
    {{"MF L f", "MF R f"},
     {"Eq1MfFrequency", "Eq2MfFrequency"},
     kHz,
     20,
     26000,
     3150,
     z20flags::kMetaLog},
    {{"MF L Gain", "MF R Gain"}, {"Eq1MfGain", "Eq2MfGain"}, kDb, -12, 12, 0, z20flags::kMeta},
    {{"MF L Link on/off", "MF R Link on/off"},
     {"Eq1MfLink", "Eq2MfLink"},
     kBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"MF L on/off", "MF R on/off"}, {"Eq1MfOn", "Eq2MfOn"}, kBool, 0, 1, 1, z20flags::kMeta},

    {{"HMF L Q", "HMF R Q"},
     {"Eq1HmfQuality", "Eq2HmfQuality"},
     kGeneric,
     0.3f,
     15,
     3,
     z20flags::kMetaLog},
    {{"HMF L f", "HMF R f"},
     {"Eq1HmfFrequency", "Eq2HmfFrequency"},
     kHz,
     400,
     26000,
     5800,
     z20flags::kMetaLog},
    {{"HMF L Gain", "HMF R Gain"}, {"Eq1HmfGain", "Eq2HmfGain"}, kDb, -12, 12, 0, z20flags::kMeta},
    {{"HMF L Link on/off", "HMF R Link on/off"},
     {"Eq1HmfLink", "Eq2HmfLink"},
     kBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"HMF L on/off", "HMF R on/off"}, {"Eq1HmfOn", "Eq2HmfOn"}, kBool, 0, 1, 1, z20flags::kMeta},

    {{"HF L Q", "HF R Q"},
     {"Eq1HfQuality", "Eq2HfQuality"},
     kGeneric,
     0.28f,
     15,
     0.29f,
     z20flags::kMetaLogStrings},
    {{"HF L f", "HF R f"},
     {"Eq1HfFrequency", "Eq2HfFrequency"},
     kHz,
     400,
     26000,
     12000,
     z20flags::kMetaLog},
    {{"HF L Gain", "HF R Gain"}, {"Eq1HfGain", "Eq2HfGain"}, kDb, -12, 12, 0, z20flags::kMeta},
    {{"HF L Link on/off", "HF R Link on/off"},
     {"Eq1HfLink", "Eq2HfLink"},
     kBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"HF L on/off", "HF R on/off"}, {"Eq1HfOn", "Eq2HfOn"}, kBool, 0, 1, 1, z20flags::kMeta},

    {{"LP L Q", "LP R Q"},
     {"Eq1LpQuality", "Eq2LpQuality"},
     kGeneric,
     0.3f,
     25,
     18,
     z20flags::kMetaLogStrings},
    {{"LP L f", "LP R f"},
     {"Eq1LpFrequency", "Eq2LpFrequency"},
     kHz,
     20,
     26000,
     26000,
     z20flags::kMetaLog},
    {{"LP L Link on/off", "LP R Link on/off"},
     {"Eq1LpLink", "Eq2LpLink"},
     kBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"LP L on/off", "LP R on/off"}, {"Eq1LpOn", "Eq2LpOn"}, kBool, 0, 1, 1, z20flags::kMeta},

    {{"Bass Shift L f", "Bass Shift R f"},
     {"Bs1Frequency", "Bs2Frequency"},
     kHz,
     40,
     200,
     89,
     z20flags::kMeta},
    {{"Bass Shift L Gain", "Bass Shift R Gain"},
     {"Bs1Gain", "Bs2Gain"},
     kGeneric,
     -12,
     12,
     0,
     z20flags::kMeta},
    {{"Bass Shift L Link on/off", "Bass Shift R Link on/off"},
     {"Bs1Link", "Bs2Link"},
     kBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"Bass Shift L on/off", "Bass Shift R on/off"},
     {"Bs1On", "Bs2On"},
     kBool,
     0,
     1,
     1,
     z20flags::kMeta},

    {{"Pres Shift L f", "Pres Shift R f"},
     {"Ps1Frequency", "Ps2Frequency"},
     kHz,
     8000,
     20000,
     12600,
     z20flags::kMeta},
    {{"Pres Shift L Gain", "Pres Shift R Gain"},
     {"Ps1Gain", "Ps2Gain"},
     kGeneric,
     -12,
     12,
     0,
     z20flags::kMeta},
    {{"Pres Shift L Link on/off", "Pres Shift R Link on/off"},
     {"Ps1Link", "Ps2Link"},
     kBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"Pres Shift L on/off", "Pres Shift R on/off"},
     {"Ps1On", "Ps2On"},
     kBool,
     0,
     1,
     1,
     z20flags::kMeta},
}};

constexpr std::array<ParameterDef, kZ20ParameterCount> BuildParameterTable() {
    std::array<ParameterDef, kZ20ParameterCount> table{};
    for (const ParameterDef& p : kGlobalRows) {
        table[p.id] = p;
    }
    for (int channel = 0; channel < 2; ++channel) {
        for (AudioUnitParameterID offset = 0; offset < kZ20ChannelSpan; ++offset) {
            const ChannelRow& r = kChannelRows[offset];
            const auto c = static_cast<std::size_t>(channel);
            const AudioUnitParameterID id = Z20ChannelId(channel, offset);
            table[id] = {id,         r.name[c],  r.symbol[c],    r.unit,
                         r.minValue, r.maxValue, r.defaultValue, r.flags};
        }
    }
    for (const ParameterDef& p : kMeterAndPanelRows) {
        table[p.id] = p;
    }
    return table;
}

} // namespace z20detail

// The complete table, indexed by id.
inline constexpr std::array<ParameterDef, kZ20ParameterCount> kZkmorva20Parameters =
    z20detail::BuildParameterTable();

// Host-visible texts for special values. The level meters read "-60" at or below
// -61; the mismatch is intended.
inline constexpr auto kZkmorva20ValueTexts = JoinRules(
    std::array<ValueTextRule, 3>{{
        {{kZ20Input1Gain, kZ20Output1Gain, kZ20Input2Gain, kZ20Output2Gain},
         AtMost(-100.0f),
         "-oo"},
        {{kZ20MonoMaker, kNoParameter, kNoParameter, kNoParameter}, AtMost(20.0f), "off"},
        {{kZ20StereoWidth, kNoParameter, kNoParameter, kNoParameter}, AtMost(0.0f), "Mono"},
    }},
    SlopeTextRules({18, 47, 59, 88}),
    std::array<ValueTextRule, 8>{{
        {{22, 63, kNoParameter, kNoParameter}, Below(0.3f), "lo-shelf"},
        {{42, 83, kNoParameter, kNoParameter}, Below(0.3f), "hi-shelf"},
        {{kZ20BalanceMeter, kNoParameter, kNoParameter, kNoParameter}, AtMost(0.0f), "L"},
        {{kZ20BalanceMeter, kNoParameter, kNoParameter, kNoParameter}, AtLeast(1.0f), "R"},
        {{102, 103, 104, 105}, AtMost(-61.0f), "-60"},
        {{106, 107, kNoParameter, kNoParameter}, AtMost(-61.0f), "-60"},
        {{102, 103, 104, 105}, AtLeast(0.0f), "0"},
        {{106, 107, kNoParameter, kNoParameter}, AtLeast(0.0f), "0"},
    }});

} // namespace zk
