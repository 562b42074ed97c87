#pragma once

#include "units/ParameterTable.h"
#include "units/ValueTexts.h"

#include <array>

namespace zk {

// Parameter ids of the channel EQ. Each band has Q, f, Gain, on/off in that order.
inline constexpr AudioUnitParameterID kZ10AutoListenOn = 0;
inline constexpr AudioUnitParameterID kZ10AutoListenMode = 1;
inline constexpr AudioUnitParameterID kZ10EqOn = 2;
inline constexpr AudioUnitParameterID kZ10InputGain = 3;
inline constexpr AudioUnitParameterID kZ10OutputGain = 4;
inline constexpr AudioUnitParameterID kZ10PhaseRev = 5;
inline constexpr AudioUnitParameterID kZ10HpQ = 6;
inline constexpr AudioUnitParameterID kZ10HpFreq = 7;
inline constexpr AudioUnitParameterID kZ10HpOn = 8;
inline constexpr AudioUnitParameterID kZ10LfQ = 9;
inline constexpr AudioUnitParameterID kZ10LfFreq = 10;
inline constexpr AudioUnitParameterID kZ10LfGain = 11;
inline constexpr AudioUnitParameterID kZ10LfOn = 12;
inline constexpr AudioUnitParameterID kZ10LmfQ = 13;
inline constexpr AudioUnitParameterID kZ10LmfFreq = 14;
inline constexpr AudioUnitParameterID kZ10LmfGain = 15;
inline constexpr AudioUnitParameterID kZ10LmfOn = 16;
inline constexpr AudioUnitParameterID kZ10MfQ = 17;
inline constexpr AudioUnitParameterID kZ10MfFreq = 18;
inline constexpr AudioUnitParameterID kZ10MfGain = 19;
inline constexpr AudioUnitParameterID kZ10MfOn = 20;
inline constexpr AudioUnitParameterID kZ10HmfQ = 21;
inline constexpr AudioUnitParameterID kZ10HmfFreq = 22;
inline constexpr AudioUnitParameterID kZ10HmfGain = 23;
inline constexpr AudioUnitParameterID kZ10HmfOn = 24;
inline constexpr AudioUnitParameterID kZ10HfQ = 25;
inline constexpr AudioUnitParameterID kZ10HfFreq = 26;
inline constexpr AudioUnitParameterID kZ10HfGain = 27;
inline constexpr AudioUnitParameterID kZ10HfOn = 28;
inline constexpr AudioUnitParameterID kZ10LpQ = 29;
inline constexpr AudioUnitParameterID kZ10LpFreq = 30;
inline constexpr AudioUnitParameterID kZ10LpOn = 31;
inline constexpr AudioUnitParameterID kZ10BassShiftFreq = 32;
inline constexpr AudioUnitParameterID kZ10BassShiftGain = 33;
inline constexpr AudioUnitParameterID kZ10BassShiftOn = 34;
inline constexpr AudioUnitParameterID kZ10PresShiftFreq = 35;
inline constexpr AudioUnitParameterID kZ10PresShiftGain = 36;
inline constexpr AudioUnitParameterID kZ10PresShiftOn = 37;
inline constexpr AudioUnitParameterID kZ10InputMeter = 38;
inline constexpr AudioUnitParameterID kZ10OutputMeter = 39;
inline constexpr AudioUnitParameterID kZ10HidePanel = 40;
inline constexpr AudioUnitParameterID kZ10ParameterCount = 41;
// Ids above are meters and panel state, never pushed into the processor.
inline constexpr AudioUnitParameterID kZ10LastDispatched = 37;

namespace z10flags {
inline constexpr AudioUnitParameterOptions kBase =
    kReadWrite | kAudioUnitParameterFlag_HasCFNameString;
inline constexpr AudioUnitParameterOptions kLog =
    kBase | kAudioUnitParameterFlag_DisplayLogarithmic;
inline constexpr AudioUnitParameterOptions kLogStrings =
    kLog | kAudioUnitParameterFlag_ValuesHaveStrings;
inline constexpr AudioUnitParameterOptions kGainStrings =
    kBase | kAudioUnitParameterFlag_ValuesHaveStrings | kAudioUnitParameterFlag_DisplayCubed;
inline constexpr AudioUnitParameterOptions kMeter =
    kAudioUnitParameterFlag_IsReadable | kAudioUnitParameterFlag_HasCFNameString |
    kAudioUnitParameterFlag_ValuesHaveStrings | kAudioUnitParameterFlag_MeterReadOnly;
inline constexpr AudioUnitParameterOptions kPanel = kAudioUnitParameterFlag_IsReadable |
                                                    kAudioUnitParameterFlag_HasCFNameString |
                                                    kAudioUnitParameterFlag_ExpertMode;
} // namespace z10flags

// The shifter gains are of unit Generic though they are decibels like the band
// gains, so hosts show and save them as plain numbers, as they always have. The
// LF/HF Q ranges start at 0.28 so that a Q below 0.3, which selects the shelf, can
// be set.
inline constexpr std::array<ParameterDef, kZ10ParameterCount> kZkmorva10Parameters{{
    {0, "Auto listen on/off", "AutoListenOn", kUnitBool, 0, 1, 1, z10flags::kBase},
    {1, "Auto listen mode", "AutoListenMode", kUnitIndexed, 0, 6, 6, z10flags::kBase},
    {2, "EQ on/off", "EqOn", kUnitBool, 0, 1, 1, z10flags::kBase},
    {3, "Input Gain", "InputGain", kUnitDb, -100, 12, 0, z10flags::kGainStrings},
    {4, "Output Gain", "OutputGain", kUnitDb, -100, 12, 0, z10flags::kGainStrings},
    {5, "Phase Rev. on/off", "PhaseRev", kUnitBool, 0, 1, 0, z10flags::kBase},
    {6, "HP Q", "HpQuality", kUnitGeneric, 0.3f, 25, 18, z10flags::kLogStrings},
    {7, "HP f", "HpFrequency", kUnitHz, 20, 26000, 20, z10flags::kLog},
    {8, "HP on/off", "HpOn", kUnitBool, 0, 1, 1, z10flags::kBase},
    {9, "LF Q", "LfQuality", kUnitGeneric, 0.28f, 15, 0.29f, z10flags::kLogStrings},
    {10, "LF f", "LfFrequency", kUnitHz, 20, 1000, 100, z10flags::kLog},
    {11, "LF Gain", "LfGain", kUnitDb, -12, 12, 0, z10flags::kBase},
    {12, "LF on/off", "LfOn", kUnitBool, 0, 1, 1, z10flags::kBase},
    {13, "LMF Q", "LmfQuality", kUnitGeneric, 0.3f, 15, 1, z10flags::kLog},
    {14, "LMF f", "LmfFrequency", kUnitHz, 20, 1000, 315, z10flags::kLog},
    {15, "LMF Gain", "LmfGain", kUnitDb, -12, 12, 0, z10flags::kBase},
    {16, "LMF on/off", "LmfOn", kUnitBool, 0, 1, 1, z10flags::kBase},
    {17, "MF Q", "MfQuality", kUnitGeneric, 0.3f, 15, 2, z10flags::kLog},
    {18, "MF f", "MfFrequency", kUnitHz, 20, 26000, 3150, z10flags::kLog},
    {19, "MF Gain", "MfGain", kUnitDb, -12, 12, 0, z10flags::kBase},
    {20, "MF on/off", "MfOn", kUnitBool, 0, 1, 1, z10flags::kBase},
    {21, "HMF Q", "HmfQuality", kUnitGeneric, 0.3f, 15, 3, z10flags::kLog},
    {22, "HMF f", "HmfFrequency", kUnitHz, 400, 26000, 5800, z10flags::kLog},
    {23, "HMF Gain", "HmfGain", kUnitDb, -12, 12, 0, z10flags::kBase},
    {24, "HMF on/off", "HmfOn", kUnitBool, 0, 1, 1, z10flags::kBase},
    {25, "HF Q", "HfQuality", kUnitGeneric, 0.28f, 15, 0.29f, z10flags::kLogStrings},
    {26, "HF f", "HfFrequency", kUnitHz, 400, 26000, 12000, z10flags::kLog},
    {27, "HF Gain", "HfGain", kUnitDb, -12, 12, 0, z10flags::kBase},
    {28, "HF on/off", "HfOn", kUnitBool, 0, 1, 1, z10flags::kBase},
    {29, "LP Q", "LpQuality", kUnitGeneric, 0.3f, 25, 18, z10flags::kLogStrings},
    {30, "LP f", "LpFrequency", kUnitHz, 20, 26000, 26000, z10flags::kLog},
    {31, "LP on/off", "LpOn", kUnitBool, 0, 1, 1, z10flags::kBase},
    {32, "Bass Shift f", "BsFrequency", kUnitHz, 40, 200, 89, z10flags::kBase},
    {33, "Bass Shift Gain", "BsGain", kUnitGeneric, -12, 12, 0, z10flags::kBase},
    {34, "Bass Shift on/off", "BsOn", kUnitBool, 0, 1, 1, z10flags::kBase},
    {35, "Pres Shift f", "PsFrequency", kUnitHz, 8000, 20000, 12600, z10flags::kBase},
    {36, "Pres Shift Gain", "PsGain", kUnitGeneric, -12, 12, 0, z10flags::kBase},
    {37, "Pres Shift on/off", "PsOn", kUnitBool, 0, 1, 1, z10flags::kBase},
    {38, "Input", "InputMeter", kUnitDb, -61, 0, -61, z10flags::kMeter},
    {39, "Output", "OutputMeter", kUnitDb, -61, 0, -61, z10flags::kMeter},
    {40, "Panel on/off", "HidePanel", kUnitBool, 0, 1, 0, z10flags::kPanel},
}};

// Host-visible texts for special values. A meter at its floor of -61 reads "-60":
// the meters' scale ends at -60 dB (the editor's meters are dark below it), so the
// floor says "at or under the scale's end" rather than a level of its own.
inline constexpr auto kZkmorva10ValueTexts = JoinRules(
    std::array<ValueTextRule, 1>{
        {{{3, 4, kNoParameter, kNoParameter}, AtMost(-100.0f), "-oo", -100.0f}}},
    SlopeTextRules({6, 29, kNoParameter, kNoParameter}),
    std::array<ValueTextRule, 4>{{
        {{9, kNoParameter, kNoParameter, kNoParameter}, Below(0.3f), "lo-shelf", 0.29f},
        {{25, kNoParameter, kNoParameter, kNoParameter}, Below(0.3f), "hi-shelf", 0.29f},
        {{38, 39, kNoParameter, kNoParameter}, AtMost(-61.0f), "-60", -61.0f},
        {{38, 39, kNoParameter, kNoParameter}, AtLeast(0.0f), "0", 0.0f},
    }});
static_assert(RuleValuesHold(kZkmorva10ValueTexts, kZkmorva10Parameters));

} // namespace zk
