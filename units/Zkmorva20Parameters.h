#pragma once

#include "units/ParameterTable.h"
#include "units/ValueTexts.h"

#include <array>

namespace zk {

// Parameter ids of the two-channel EQ: global controls, then channel 1 (18..58) and
// channel 2 (59..99) with the same layout, then the meters and the panel state.
inline constexpr AudioUnitParameterID kZ20Ch1Solo = 0;
inline constexpr AudioUnitParameterID kZ20Ch2Solo = 1;
inline constexpr AudioUnitParameterID kZ20AutoListenOn = 2;
inline constexpr AudioUnitParameterID kZ20AutoListenMode = 3;
inline constexpr AudioUnitParameterID kZ20MasterLink = 4;
inline constexpr AudioUnitParameterID kZ20EqOn = 5;
inline constexpr AudioUnitParameterID kZ20Input1Gain = 6;
inline constexpr AudioUnitParameterID kZ20Input1Link = 7;
inline constexpr AudioUnitParameterID kZ20Output1Gain = 8;
inline constexpr AudioUnitParameterID kZ20Output1Link = 9;
inline constexpr AudioUnitParameterID kZ20Input2Gain = 10;
inline constexpr AudioUnitParameterID kZ20Input2Link = 11;
inline constexpr AudioUnitParameterID kZ20Output2Gain = 12;
inline constexpr AudioUnitParameterID kZ20Output2Link = 13;
inline constexpr AudioUnitParameterID kZ20MonoMaker = 14;
inline constexpr AudioUnitParameterID kZ20MonoMakerOn = 15;
inline constexpr AudioUnitParameterID kZ20StereoWidth = 16;
inline constexpr AudioUnitParameterID kZ20StereoWidthOn = 17;
inline constexpr AudioUnitParameterID kZ20Channel1First = 18;
inline constexpr AudioUnitParameterID kZ20Channel2First = 59;
inline constexpr AudioUnitParameterID kZ20BalanceMeter = 100;
inline constexpr AudioUnitParameterID kZ20CorrelationMeter = 101;
inline constexpr AudioUnitParameterID kZ20Input1Meter = 102;
inline constexpr AudioUnitParameterID kZ20Input2Meter = 103;
inline constexpr AudioUnitParameterID kZ20OutputMMeter = 104;
inline constexpr AudioUnitParameterID kZ20OutputSMeter = 105;
inline constexpr AudioUnitParameterID kZ20Output1Meter = 106;
inline constexpr AudioUnitParameterID kZ20Output2Meter = 107;
inline constexpr AudioUnitParameterID kZ20HidePanel = 108;
inline constexpr AudioUnitParameterID kZ20ParameterCount = 109;
// Meters and panel state are never pushed into the processor.
inline constexpr AudioUnitParameterID kZ20LastDispatched = 99;

// Offsets of a channel's controls from its first id (18 or 59).
inline constexpr AudioUnitParameterID kZ20HpQ = 0;
inline constexpr AudioUnitParameterID kZ20HpFreq = 1;
inline constexpr AudioUnitParameterID kZ20HpLink = 2;
inline constexpr AudioUnitParameterID kZ20HpOn = 3;
inline constexpr AudioUnitParameterID kZ20LfQ = 4;
inline constexpr AudioUnitParameterID kZ20LfFreq = 5;
inline constexpr AudioUnitParameterID kZ20LfGain = 6;
inline constexpr AudioUnitParameterID kZ20LfLink = 7;
inline constexpr AudioUnitParameterID kZ20LfOn = 8;
inline constexpr AudioUnitParameterID kZ20LmfQ = 9;
inline constexpr AudioUnitParameterID kZ20LmfFreq = 10;
inline constexpr AudioUnitParameterID kZ20LmfGain = 11;
inline constexpr AudioUnitParameterID kZ20LmfLink = 12;
inline constexpr AudioUnitParameterID kZ20LmfOn = 13;
inline constexpr AudioUnitParameterID kZ20MfQ = 14;
inline constexpr AudioUnitParameterID kZ20MfFreq = 15;
inline constexpr AudioUnitParameterID kZ20MfGain = 16;
inline constexpr AudioUnitParameterID kZ20MfLink = 17;
inline constexpr AudioUnitParameterID kZ20MfOn = 18;
inline constexpr AudioUnitParameterID kZ20HmfQ = 19;
inline constexpr AudioUnitParameterID kZ20HmfFreq = 20;
inline constexpr AudioUnitParameterID kZ20HmfGain = 21;
inline constexpr AudioUnitParameterID kZ20HmfLink = 22;
inline constexpr AudioUnitParameterID kZ20HmfOn = 23;
inline constexpr AudioUnitParameterID kZ20HfQ = 24;
inline constexpr AudioUnitParameterID kZ20HfFreq = 25;
inline constexpr AudioUnitParameterID kZ20HfGain = 26;
inline constexpr AudioUnitParameterID kZ20HfLink = 27;
inline constexpr AudioUnitParameterID kZ20HfOn = 28;
inline constexpr AudioUnitParameterID kZ20LpQ = 29;
inline constexpr AudioUnitParameterID kZ20LpFreq = 30;
inline constexpr AudioUnitParameterID kZ20LpLink = 31;
inline constexpr AudioUnitParameterID kZ20LpOn = 32;
inline constexpr AudioUnitParameterID kZ20BsFreq = 33;
inline constexpr AudioUnitParameterID kZ20BsGain = 34;
inline constexpr AudioUnitParameterID kZ20BsLink = 35;
inline constexpr AudioUnitParameterID kZ20BsOn = 36;
inline constexpr AudioUnitParameterID kZ20PsFreq = 37;
inline constexpr AudioUnitParameterID kZ20PsGain = 38;
inline constexpr AudioUnitParameterID kZ20PsLink = 39;
inline constexpr AudioUnitParameterID kZ20PsOn = 40;
inline constexpr AudioUnitParameterID kZ20ChannelSpan = 41;

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

// Rows outside the channels, in id order: 0..17, then 100..108.
inline constexpr std::array<ParameterDef, 18> kGlobalRows{{
    {0, "Solo L on/off", "Ch1Solo", kUnitBool, 0, 1, 0, z20flags::kMeta},
    {1, "Solo R on/off", "Ch2Solo", kUnitBool, 0, 1, 0, z20flags::kMeta},
    {2, "Auto listen on/off", "AutoListenOn", kUnitBool, 0, 1, 1, z20flags::kBase},
    {3, "Auto listen mode", "AutoListenMode", kUnitIndexed, 0, 6, 6, z20flags::kBase},
    {4, "Master Link on/off", "MasterLink", kUnitBool, 0, 1, 1, z20flags::kMeta},
    {5, "EQ on/off", "EqOn", kUnitBool, 0, 1, 1, z20flags::kBase},
    {6, "Input L Gain", "Input1Gain", kUnitDb, -100, 12, 0, z20flags::kGain},
    {7, "Input L Gain Link on/off", "Input1Link", kUnitBool, 0, 1, 1, z20flags::kMeta},
    {8, "Output L Gain", "Output1Gain", kUnitDb, -100, 12, 0, z20flags::kGain},
    {9, "Output L Gain Link on/off", "Output1Link", kUnitBool, 0, 1, 1, z20flags::kMeta},
    {10, "Input R Gain", "Input2Gain", kUnitDb, -100, 12, 0, z20flags::kGain},
    {11, "Input R Gain Link on/off", "Input2Link", kUnitBool, 0, 1, 1, z20flags::kMeta},
    {12, "Output R Gain", "Output2Gain", kUnitDb, -100, 12, 0, z20flags::kGain},
    {13, "Output R Gain Link on/off", "Output2Link", kUnitBool, 0, 1, 1, z20flags::kMeta},
    {14, "Mono-Maker", "MonoMaker", kUnitHz, 20, 26000, 20, z20flags::kLogStrings},
    {15, "Mono-Maker on/off", "MonoMakerOn", kUnitBool, 0, 1, 1, z20flags::kBase},
    {16, "Stereo-Width", "StereoWidth", kUnitPercent, 0, 400, 100, z20flags::kSqrtStrings},
    {17, "Stereo-Width on/off", "StereoWidthOn", kUnitBool, 0, 1, 1, z20flags::kBase},
}};

inline constexpr std::array<ParameterDef, 9> kMeterAndPanelRows{{
    {100, "Balance", "BalanceMeter", kUnitGeneric, 0, 1, 0.5f, z20flags::kBase},
    {101, "Correlation", "CorrelationMeter", kUnitGeneric, -1, 1, 0, z20flags::kBase},
    {102, "In L", "Input1Meter", kUnitDb, -61, 0, -61, z20flags::kBase},
    {103, "In R", "Input2Meter", kUnitDb, -61, 0, -61, z20flags::kBase},
    {104, "Out M", "OutputMMeter", kUnitDb, -61, 0, -61, z20flags::kBase},
    {105, "Out S", "OutputSMeter", kUnitDb, -61, 0, -61, z20flags::kBase},
    {106, "Out L", "Output1Meter", kUnitDb, -61, 0, -61, z20flags::kBase},
    {107, "Out R", "Output2Meter", kUnitDb, -61, 0, -61, z20flags::kBase},
    {108, "", "HidePanel", kUnitBool, 0, 1, 0, z20flags::kBase},
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
// band gains, and the LF/HF Q ranges reach down to 0.28 for the shelves, as on
// the channel EQ.
inline constexpr std::array<ChannelRow, kZ20ChannelSpan> kChannelRows{{
    {{"HP L Q", "HP R Q"},
     {"Eq1HpQuality", "Eq2HpQuality"},
     kUnitGeneric,
     0.3f,
     25,
     18,
     z20flags::kMetaLogStrings},
    {{"HP L f", "HP R f"},
     {"Eq1HpFrequency", "Eq2HpFrequency"},
     kUnitHz,
     20,
     26000,
     20,
     z20flags::kMetaLog},
    {{"HP L Link on/off", "HP R Link on/off"},
     {"Eq1HpLink", "Eq2HpLink"},
     kUnitBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"HP L on/off", "HP R on/off"}, {"Eq1HpOn", "Eq2HpOn"}, kUnitBool, 0, 1, 1, z20flags::kMeta},

    {{"LF L Q", "LF R Q"},
     {"Eq1LfQuality", "Eq2LfQuality"},
     kUnitGeneric,
     0.28f,
     15,
     0.29f,
     z20flags::kMetaLogStrings},
    {{"LF L f", "LF R f"},
     {"Eq1LfFrequency", "Eq2LfFrequency"},
     kUnitHz,
     20,
     1000,
     100,
     z20flags::kMetaLog},
    {{"LF L Gain", "LF R Gain"}, {"Eq1LfGain", "Eq2LfGain"}, kUnitDb, -12, 12, 0, z20flags::kMeta},
    {{"LF L Link on/off", "LF R Link on/off"},
     {"Eq1LfLink", "Eq2LfLink"},
     kUnitBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"LF L on/off", "LF R on/off"}, {"Eq1LfOn", "Eq2LfOn"}, kUnitBool, 0, 1, 1, z20flags::kMeta},

    {{"LMF L Q", "LMF R Q"},
     {"Eq1LmfQuality", "Eq2LmfQuality"},
     kUnitGeneric,
     0.3f,
     15,
     1,
     z20flags::kMetaLog},
    {{"LMF L f", "LMF R f"},
     {"Eq1LmfFrequency", "Eq2LmfFrequency"},
     kUnitHz,
     20,
     1000,
     315,
     z20flags::kMetaLog},
    {{"LMF L Gain", "LMF R Gain"},
     {"Eq1LmfGain", "Eq2LmfGain"},
     kUnitDb,
     -12,
     12,
     0,
     z20flags::kMeta},
    {{"LMF L Link on/off", "LMF R Link on/off"},
     {"Eq1LmfLink", "Eq2LmfLink"},
     kUnitBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"LMF L on/off", "LMF R on/off"},
     {"Eq1LmfOn", "Eq2LmfOn"},
     kUnitBool,
     0,
     1,
     1,
     z20flags::kMeta},

    {{"MF L Q", "MF R Q"},
     {"Eq1MfQuality", "Eq2MfQuality"},
     kUnitGeneric,
     0.3f,
     15,
     2,
     z20flags::kMetaLog},
    {{"MF L f", "MF R f"},
     {"Eq1MfFrequency", "Eq2MfFrequency"},
     kUnitHz,
     20,
     26000,
     3150,
     z20flags::kMetaLog},
    {{"MF L Gain", "MF R Gain"}, {"Eq1MfGain", "Eq2MfGain"}, kUnitDb, -12, 12, 0, z20flags::kMeta},
    {{"MF L Link on/off", "MF R Link on/off"},
     {"Eq1MfLink", "Eq2MfLink"},
     kUnitBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"MF L on/off", "MF R on/off"}, {"Eq1MfOn", "Eq2MfOn"}, kUnitBool, 0, 1, 1, z20flags::kMeta},

    {{"HMF L Q", "HMF R Q"},
     {"Eq1HmfQuality", "Eq2HmfQuality"},
     kUnitGeneric,
     0.3f,
     15,
     3,
     z20flags::kMetaLog},
    {{"HMF L f", "HMF R f"},
     {"Eq1HmfFrequency", "Eq2HmfFrequency"},
     kUnitHz,
     400,
     26000,
     5800,
     z20flags::kMetaLog},
    {{"HMF L Gain", "HMF R Gain"},
     {"Eq1HmfGain", "Eq2HmfGain"},
     kUnitDb,
     -12,
     12,
     0,
     z20flags::kMeta},
    {{"HMF L Link on/off", "HMF R Link on/off"},
     {"Eq1HmfLink", "Eq2HmfLink"},
     kUnitBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"HMF L on/off", "HMF R on/off"},
     {"Eq1HmfOn", "Eq2HmfOn"},
     kUnitBool,
     0,
     1,
     1,
     z20flags::kMeta},

    {{"HF L Q", "HF R Q"},
     {"Eq1HfQuality", "Eq2HfQuality"},
     kUnitGeneric,
     0.28f,
     15,
     0.29f,
     z20flags::kMetaLogStrings},
    {{"HF L f", "HF R f"},
     {"Eq1HfFrequency", "Eq2HfFrequency"},
     kUnitHz,
     400,
     26000,
     12000,
     z20flags::kMetaLog},
    {{"HF L Gain", "HF R Gain"}, {"Eq1HfGain", "Eq2HfGain"}, kUnitDb, -12, 12, 0, z20flags::kMeta},
    {{"HF L Link on/off", "HF R Link on/off"},
     {"Eq1HfLink", "Eq2HfLink"},
     kUnitBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"HF L on/off", "HF R on/off"}, {"Eq1HfOn", "Eq2HfOn"}, kUnitBool, 0, 1, 1, z20flags::kMeta},

    {{"LP L Q", "LP R Q"},
     {"Eq1LpQuality", "Eq2LpQuality"},
     kUnitGeneric,
     0.3f,
     25,
     18,
     z20flags::kMetaLogStrings},
    {{"LP L f", "LP R f"},
     {"Eq1LpFrequency", "Eq2LpFrequency"},
     kUnitHz,
     20,
     26000,
     26000,
     z20flags::kMetaLog},
    {{"LP L Link on/off", "LP R Link on/off"},
     {"Eq1LpLink", "Eq2LpLink"},
     kUnitBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"LP L on/off", "LP R on/off"}, {"Eq1LpOn", "Eq2LpOn"}, kUnitBool, 0, 1, 1, z20flags::kMeta},

    {{"Bass Shift L f", "Bass Shift R f"},
     {"Bs1Frequency", "Bs2Frequency"},
     kUnitHz,
     40,
     200,
     89,
     z20flags::kMeta},
    {{"Bass Shift L Gain", "Bass Shift R Gain"},
     {"Bs1Gain", "Bs2Gain"},
     kUnitGeneric,
     -12,
     12,
     0,
     z20flags::kMeta},
    {{"Bass Shift L Link on/off", "Bass Shift R Link on/off"},
     {"Bs1Link", "Bs2Link"},
     kUnitBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"Bass Shift L on/off", "Bass Shift R on/off"},
     {"Bs1On", "Bs2On"},
     kUnitBool,
     0,
     1,
     1,
     z20flags::kMeta},

    {{"Pres Shift L f", "Pres Shift R f"},
     {"Ps1Frequency", "Ps2Frequency"},
     kUnitHz,
     8000,
     20000,
     12600,
     z20flags::kMeta},
    {{"Pres Shift L Gain", "Pres Shift R Gain"},
     {"Ps1Gain", "Ps2Gain"},
     kUnitGeneric,
     -12,
     12,
     0,
     z20flags::kMeta},
    {{"Pres Shift L Link on/off", "Pres Shift R Link on/off"},
     {"Ps1Link", "Ps2Link"},
     kUnitBool,
     0,
     1,
     1,
     z20flags::kMeta},
    {{"Pres Shift L on/off", "Pres Shift R on/off"},
     {"Ps1On", "Ps2On"},
     kUnitBool,
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

// Host-visible texts for special values. A level meter at its floor of -61 reads
// "-60", as on the channel EQ: the scale ends at -60 dB.
inline constexpr auto kZkmorva20ValueTexts = JoinRules(
    std::array<ValueTextRule, 3>{{
        {{kZ20Input1Gain, kZ20Output1Gain, kZ20Input2Gain, kZ20Output2Gain},
         AtMost(-100.0f),
         "-oo",
         -100.0f},
        {{kZ20MonoMaker, kNoParameter, kNoParameter, kNoParameter}, AtMost(20.0f), "off", 20.0f},
        {{kZ20StereoWidth, kNoParameter, kNoParameter, kNoParameter}, AtMost(0.0f), "Mono", 0.0f},
    }},
    SlopeTextRules({18, 47, 59, 88}),
    std::array<ValueTextRule, 8>{{
        {{22, 63, kNoParameter, kNoParameter}, Below(0.3f), "lo-shelf", 0.29f},
        {{42, 83, kNoParameter, kNoParameter}, Below(0.3f), "hi-shelf", 0.29f},
        {{kZ20BalanceMeter, kNoParameter, kNoParameter, kNoParameter}, AtMost(0.0f), "L", 0.0f},
        {{kZ20BalanceMeter, kNoParameter, kNoParameter, kNoParameter}, AtLeast(1.0f), "R", 1.0f},
        {{102, 103, 104, 105}, AtMost(-61.0f), "-60", -61.0f},
        {{106, 107, kNoParameter, kNoParameter}, AtMost(-61.0f), "-60", -61.0f},
        {{102, 103, 104, 105}, AtLeast(0.0f), "0", 0.0f},
        {{106, 107, kNoParameter, kNoParameter}, AtLeast(0.0f), "0", 0.0f},
    }});
static_assert(RuleValuesHold(kZkmorva20ValueTexts, kZkmorva20Parameters));

} // namespace zk
