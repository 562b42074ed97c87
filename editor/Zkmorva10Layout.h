#pragma once

#include "editor/DisplayStrings.h"
#include "editor/EditorLayout.h"
#include "editor/ParseStrings.h"

#include <array>

// The channel EQ's panel: every control, its tag (= parameter id), rectangle,
// display and parse function. Frame pixels, (left, top, right, bottom).
namespace zk10layout {

using zkeditor::KnobDef;
using zkeditor::KnobSize;
using zkeditor::LabelDef;
using zkeditor::LedDef;
using zkeditor::NameDef;
using zkeditor::PadDef;

inline constexpr CCoord kFullWidth = 1024;
inline constexpr CCoord kCollapsedWidth = 585;
inline constexpr CCoord kHeight = 283;

inline constexpr long kAutoListenModeTag = 1;
inline constexpr long kHidePanelTag = 40;
inline constexpr long kInternalTag = 42; // help tabs, help-open, rate indicator
inline constexpr long kLastParameter = 40;
inline constexpr long kFirstBandTag = 6; // curve input = tag - 6 for tags 6..37
inline constexpr long kLastBandTag = 37;
inline constexpr long kInputMeterTag = 38;
inline constexpr long kOutputMeterTag = 39;

inline constexpr CRect kCurveRect{596, 24, 969, 249};
inline constexpr CRect kRateIndicatorRect{939, 0, 1024, 255};
inline constexpr CRect kPanelHandleRect{553, 0, 585, 283};
// Inside its plate, left of the panel handle (553).
inline constexpr CRect kAutoListenMenuRect{524, 207, 552, 218};
inline constexpr std::array<CRect, 2> kMeterRects{{{516, 24, 523, 175}, {525, 24, 532, 175}}};
inline constexpr int kMeterLeds = 76;

// Corner buttons: panel toggle 25 x 24 at the bottom and help-open 25 x 25 at the
// top of the right edge, wherever that edge is.
constexpr CRect PanelToggleRect(CCoord frameWidth) {
    return {frameWidth - 25, 259, frameWidth, 283};
}
constexpr CRect HelpOpenRect(CCoord frameWidth) {
    return {frameWidth - 25, 0, frameWidth, 25};
}

// Level-scale labels beside the curve (hidden with the panel), each 14 px right of
// and 112 px below the one before.
inline constexpr CCoord kLevelScaleStepX = 14;
inline constexpr CCoord kLevelScaleStepY = 112;
inline constexpr CRect kLevelScaleLeft{567, 17, 593, 29};
inline constexpr zkeditor::RateScaleLayout kRateScale{{942, 949, 970},  17, kLevelScaleStepX,
                                                      kLevelScaleStepY, 26, 12};

// Input and output, high enough that their boxes stay above the band names.
inline constexpr std::array<KnobDef, 2> kGainKnobs{{
    {3, {336, 8, 366, 38}, KnobSize::Small, dB2string, string2dB, nullptr, zkeditor::kTopBoxWidth},
    {4, {402, 8, 432, 38}, KnobSize::Small, dB2string, string2dB, nullptr, zkeditor::kTopBoxWidth},
}};

inline constexpr std::array<KnobDef, 19> kBandKnobs{{
    {6,
     {31, 70, 61, 100},
     KnobSize::Small,
     quality2stringHiLoPass,
     string2qualityHiLoPass,
     "Q",
     zkeditor::kBandBoxWidth},
    {7,
     {31, 128, 61, 158},
     KnobSize::Small,
     frequency2stringOff_26000,
     string2frequency20_26000,
     "f",
     zkeditor::kBandBoxWidth},
    {9,
     {102, 70, 132, 100},
     KnobSize::Small,
     quality2stringLoShelv,
     string2qualityShelv,
     "Q",
     zkeditor::kBandBoxWidth},
    {10,
     {102, 128, 132, 158},
     KnobSize::Small,
     frequency2string20_1000,
     string2frequency20_1000,
     "f",
     zkeditor::kBandBoxWidth},
    {11,
     {92, 193, 142, 243},
     KnobSize::Gain,
     dB2stringEq,
     string2dBEq,
     "G",
     zkeditor::kGainBoxWidth},
    {13,
     {169, 70, 199, 100},
     KnobSize::Small,
     quality2string,
     string2quality,
     "Q",
     zkeditor::kBandBoxWidth},
    {14,
     {169, 128, 199, 158},
     KnobSize::Small,
     frequency2string20_1000,
     string2frequency20_1000,
     "f",
     zkeditor::kBandBoxWidth},
    {15,
     {159, 193, 209, 243},
     KnobSize::Gain,
     dB2stringEq,
     string2dBEq,
     "G",
     zkeditor::kGainBoxWidth},
    {17,
     {236, 70, 266, 100},
     KnobSize::Small,
     quality2string,
     string2quality,
     "Q",
     zkeditor::kBandBoxWidth},
    {18,
     {235, 128, 265, 158},
     KnobSize::Small,
     frequency2string20_26000,
     string2frequency20_26000,
     "f",
     zkeditor::kBandBoxWidth},
    {19,
     {226, 193, 276, 243},
     KnobSize::Gain,
     dB2stringEq,
     string2dBEq,
     "G",
     zkeditor::kGainBoxWidth},
    {21,
     {302, 70, 332, 100},
     KnobSize::Small,
     quality2string,
     string2quality,
     "Q",
     zkeditor::kBandBoxWidth},
    {22,
     {302, 128, 332, 158},
     KnobSize::Small,
     frequency2string400_26000,
     string2frequency400_26000,
     "f",
     zkeditor::kBandBoxWidth},
    {23,
     {292, 193, 342, 243},
     KnobSize::Gain,
     dB2stringEq,
     string2dBEq,
     "G",
     zkeditor::kGainBoxWidth},
    {25,
     {369, 70, 399, 100},
     KnobSize::Small,
     quality2stringHiShelv,
     string2qualityShelv,
     "Q",
     zkeditor::kBandBoxWidth},
    {26,
     {369, 128, 399, 158},
     KnobSize::Small,
     frequency2string400_26000,
     string2frequency400_26000,
     "f",
     zkeditor::kBandBoxWidth},
    {27,
     {359, 193, 409, 243},
     KnobSize::Gain,
     dB2stringEq,
     string2dBEq,
     "G",
     zkeditor::kGainBoxWidth},
    {29,
     {442, 70, 472, 100},
     KnobSize::Small,
     quality2stringHiLoPass,
     string2qualityHiLoPass,
     "Q",
     zkeditor::kBandBoxWidth},
    {30,
     {442, 128, 472, 158},
     KnobSize::Small,
     frequency2string20_Off,
     string2frequency20_26000,
     "f",
     zkeditor::kBandBoxWidth},
}};

inline constexpr std::array<PadDef, 2> kPads{{
    {32,
     33,
     {15, 186, 79, 250},
     7,
     frequency2string40_200,
     string2frequency40_200,
     dB2stringIs,
     string2dBEq},
    {35,
     36,
     {425, 186, 489, 250},
     417,
     frequency2string8000_20000,
     string2frequency8000_20000,
     dB2stringIs,
     string2dBEq},
}};

// Band on/off switches, above the band's upper knob (shifters: above the pad).
inline constexpr std::array<NameDef, 9> kNames{{
    {8, {21, 56, 71, 68}, "HP", kNormalFontSmaller},
    {12, {92, 56, 142, 68}, "LF", kNormalFont},
    {16, {159, 56, 209, 68}, "LMF", kNormalFont},
    {20, {226, 56, 276, 68}, "MF", kNormalFont},
    {24, {292, 56, 342, 68}, "HMF", kNormalFont},
    {28, {359, 56, 409, 68}, "HF", kNormalFont},
    {31, {432, 56, 482, 68}, "LP", kNormalFontSmaller},
    {34, {52, 175, 82, 186}, "BS", kNormalFont},
    {37, {462, 175, 492, 186}, "PS", kNormalFont},
}};

inline constexpr std::array<LedDef, 3> kLeds{{
    {0, {511, 207, 523, 219}}, // auto listen
    {2, {528, 238, 540, 250}}, // EQ
    {5, {470, 19, 482, 31}},   // phase reverse
}};

inline constexpr std::array<const char*, 7> kAutoListenModes{"Q - -", "- f -", "- - G", "Q f -",
                                                             "Q - G", "- f G", "Q f G"};

// Fixed labels; font 3 unless given, all white.
inline constexpr std::array<LabelDef, 17> kLabels{{
    {{618, 255, 642, 267}, "40", kNormalFont},
    {{663, 255, 687, 267}, "100", kNormalFont},
    {{697, 255, 721, 267}, "200", kNormalFont},
    {{776, 255, 800, 267}, "1k", kNormalFont},
    {{810, 255, 834, 267}, "2k", kNormalFont},
    {{889, 255, 913, 267}, "10k", kNormalFont},
    {{923, 255, 947, 267}, "20k", kNormalFont},
    {{497, 196, 553, 206}, "Auto listen", kNormalFontSmaller},
    {{506, 238, 526, 250}, "EQ", kNormalFont},
    {{320, 17, 334, 29}, "in", kNormalFont},
    {{380, 17, 401, 29}, "out", kNormalFont},
    {{440, 6, 500, 18}, "Phase Rev.", kNormalFont},
    // Meter scale, beside the LEDs at the meter law's positions.
    {{484, 24, 512, 36}, "over", kNormalFontSmaller},
    {{484, 55, 512, 67}, "15", kNormalFontSmaller},
    {{484, 92, 512, 104}, "30", kNormalFontSmaller},
    {{484, 128, 512, 140}, "45", kNormalFontSmaller},
    {{484, 163, 512, 175}, "60", kNormalFontSmaller},
}};

} // namespace zk10layout
