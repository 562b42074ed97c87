#pragma once

#include "editor/DisplayStrings.h"
#include "editor/EditorLayout.h"
#include "editor/ParseStrings.h"

#include <array>

// The two-channel EQ's panel: the top row (gains, mono maker, stereo width), one
// band set per channel side by side (channel 2's tag = channel 1's + 41), the
// global switches between them, and a lower panel with the curves and meters
// that folds away (the frame is then 283 instead of 530 high).
namespace zk20layout {

using zkeditor::DisplayFunction;
using zkeditor::KnobDef;
using zkeditor::KnobSize;
using zkeditor::LabelDef;
using zkeditor::LedDef;
using zkeditor::NameDef;
using zkeditor::PadDef;
using zkeditor::ParseFunction;

inline constexpr CCoord kWidth = 1024;
inline constexpr CCoord kFullHeight = 530;
inline constexpr CCoord kCollapsedHeight = 283;

inline constexpr long kAutoListenModeTag = 3;
inline constexpr long kChannelSpan = 41;
inline constexpr std::array<long, 2> kChannelFirst{18, 59};
inline constexpr long kLastChannelTag = 99;
inline constexpr long kBalanceTag = 100;
inline constexpr long kCorrelationTag = 101;
inline constexpr long kFirstLevelMeterTag = 102; // 102..107: meter values 0..5
inline constexpr long kHidePanelTag = 108;
inline constexpr long kLastParameter = 108;
inline constexpr long kInternalTag = 110; // help tabs, help-open, indicator, panel handle
inline constexpr long kDisplayTag = 200;  // balance and correlation displays

inline constexpr CRect kCurveRect{44, 317, 582, 502}; // both channels' curves, overlaid
inline constexpr CRect kRateIndicatorRect{535, 312, 620, 507};
inline constexpr CRect kPanelHandleRect{538, 288, 621, 530};
// Under the help key: the bottom right corner belongs to channel 2's presence pad.
inline constexpr CRect kPanelToggleRect{999, 25, 1024, 49};
inline constexpr CRect kHelpOpenRect{999, 0, 1024, 25};
// Auto listen sits in the free space of the top row, right of the stereo width.
inline constexpr CRect kAutoListenMenuRect{596, 14, 624, 25};
inline constexpr CRect kBalanceRect{877, 406, 982, 413};
inline constexpr CRect kCorrelationRect{877, 444, 982, 451};

struct MeterDef {
    CRect rect;
    int value; // index into the meter values
};
inline constexpr int kUpperMeterLeds = 52;
inline constexpr int kLowerMeterLeds = 76;
// Upper panel: the output pair (values 4, 5).
inline constexpr std::array<MeterDef, 2> kUpperMeters{{
    {{500, 71, 507, 174}, 4},
    {{509, 71, 516, 174}, 5},
}};
// Lower panel: input 1/2, centre/side, output 1/2 (values 0..5).
inline constexpr std::array<MeterDef, 6> kLowerMeters{{
    {{650, 328, 657, 479}, 0},
    {{660, 328, 667, 479}, 1},
    {{720, 328, 727, 479}, 2},
    {{730, 328, 737, 479}, 3},
    {{790, 328, 797, 479}, 4},
    {{800, 328, 807, 479}, 5},
}};

inline constexpr CCoord kLevelScaleStepX = 14;
inline constexpr CCoord kLevelScaleStepY = 92;
inline constexpr CRect kLevelScaleLeft{15, 310, 41, 322};
inline constexpr zkeditor::RateScaleLayout kRateScale{{542, 551, 583},  310, kLevelScaleStepX,
                                                      kLevelScaleStepY, 26,  12};

// --- the top row and the global switches -------------------------------------

// The gains sit high enough that their boxes stay above the band names; the
// mono maker's and stereo width's boxes fit between the LP and HP names of the
// two channels.
inline constexpr std::array<KnobDef, 6> kTopKnobs{{
    {6, {269, 8, 299, 38}, KnobSize::Small, dB2string, string2dB, nullptr, zkeditor::kTopBoxWidth},
    {8, {335, 8, 365, 38}, KnobSize::Small, dB2string, string2dB, nullptr, zkeditor::kTopBoxWidth},
    {10, {653, 8, 683, 38}, KnobSize::Small, dB2string, string2dB, nullptr, zkeditor::kTopBoxWidth},
    {12, {719, 8, 749, 38}, KnobSize::Small, dB2string, string2dB, nullptr, zkeditor::kTopBoxWidth},
    {14,
     {478, 19, 508, 49},
     KnobSize::Small,
     frequency2stringOff_26000,
     string2frequency20_26000,
     nullptr,
     zkeditor::kTopBoxWidth},
    {16,
     {523, 19, 553, 49},
     KnobSize::Small,
     percent2stringStWi,
     string2percentStWi,
     nullptr,
     zkeditor::kWidthBoxWidth},
}};

inline constexpr std::array<NameDef, 2> kTopNames{{
    {15, {452, 7, 512, 18}, "Mono-Maker", kNormalFontSmaller},
    {17, {512, 7, 576, 18}, "Stereo-Width", kNormalFontSmaller},
}};

inline constexpr std::array<LedDef, 9> kTopLeds{{
    {0, {492, 217, 504, 229}}, // solo channel 1
    {1, {519, 217, 531, 229}}, // solo channel 2
    {2, {580, 14, 592, 26}},   // auto listen
    {4, {519, 249, 531, 261}}, // master link
    {5, {492, 249, 504, 261}}, // EQ
    {7, {302, 17, 314, 29}},   // gain links, right of their knobs
    {9, {368, 17, 380, 29}},
    {11, {686, 17, 698, 29}},
    {13, {752, 17, 764, 29}},
}};

inline constexpr std::array<const char*, 7> kAutoListenModes{"Q - -", "- f -", "- - G", "Q f -",
                                                             "Q - G", "- f G", "Q f G"};

// --- one band set per channel ----------------------------------------------

// A band column: offsets from the channel's first tag, x of the knobs per channel.
struct BandColumn {
    const char* name;
    CFont nameFont;
    CCoord nameWidth; // HP and LP narrow: the top row's boxes reach over their plates
    long q, frequency, gain, link, on; // gain -1: none (HP, LP)
    std::array<CCoord, 2> upperX;
    std::array<CCoord, 2> lowerX;
    std::array<CCoord, 2> gainX;
    DisplayFunction qDisplay;
    ParseFunction qParse;
    DisplayFunction fDisplay;
    ParseFunction fParse;
};

inline constexpr std::array<BandColumn, 7> kBands{{
    {"HP",
     kNormalFontSmaller,
     20,
     0,
     1,
     -1,
     2,
     3,
     {31, 552},
     {31, 552},
     {0, 0},
     quality2stringHiLoPass,
     string2qualityHiLoPass,
     frequency2stringOff_26000,
     string2frequency20_26000},
    {"LF",
     kNormalFont,
     50,
     4,
     5,
     6,
     7,
     8,
     {102, 625},
     {102, 625},
     {92, 615},
     quality2stringLoShelv,
     string2qualityShelv,
     frequency2string20_1000,
     string2frequency20_1000},
    {"LMF",
     kNormalFont,
     50,
     9,
     10,
     11,
     12,
     13,
     {169, 692},
     {169, 692},
     {159, 682},
     quality2string,
     string2quality,
     frequency2string20_1000,
     string2frequency20_1000},
    {"MF",
     kNormalFont,
     50,
     14,
     15,
     16,
     17,
     18,
     {236, 758},
     {235, 757},
     {226, 749},
     quality2string,
     string2quality,
     frequency2string20_26000,
     string2frequency20_26000},
    {"HMF",
     kNormalFont,
     50,
     19,
     20,
     21,
     22,
     23,
     {302, 825},
     {302, 825},
     {292, 815},
     quality2string,
     string2quality,
     frequency2string400_26000,
     string2frequency400_26000},
    {"HF",
     kNormalFont,
     50,
     24,
     25,
     26,
     27,
     28,
     {369, 892},
     {369, 892},
     {359, 882},
     quality2stringHiShelv,
     string2qualityShelv,
     frequency2string400_26000,
     string2frequency400_26000},
    {"LP",
     kNormalFontSmaller,
     20,
     29,
     30,
     -1,
     31,
     32,
     {442, 963},
     {442, 963},
     {0, 0},
     quality2stringHiLoPass,
     string2qualityHiLoPass,
     frequency2string20_Off,
     string2frequency20_26000},
}};

// The shifter pads: X frequency, Y gain, a link switch and the on/off name.
struct ShifterColumn {
    const char* name;
    long x, y, link, on;
    std::array<CRect, 2> pad;
    std::array<CCoord, 2> boxLeft; // clear of the switches between the channels
    std::array<CRect, 2> linkRect; // beside the pad, clear of it
    DisplayFunction xDisplay;
    ParseFunction xParse;
};

inline constexpr std::array<ShifterColumn, 2> kShifters{{
    {"BS",
     33,
     34,
     35,
     36,
     {{{15, 186, 79, 250}, {535, 186, 599, 250}}},
     {7, 537},
     {{{3, 233, 15, 245}, {599, 233, 611, 245}}},
     frequency2string40_200,
     string2frequency40_200},
    {"PS",
     37,
     38,
     39,
     40,
     {{{425, 186, 489, 250}, {946, 186, 1010, 250}}},
     {408, 938},
     {{{413, 233, 425, 245}, {1010, 233, 1022, 245}}},
     frequency2string8000_20000,
     string2frequency8000_20000},
}};

inline constexpr CCoord kUpperTop = 70;
inline constexpr CCoord kLowerTop = 128;
inline constexpr CCoord kGainTop = 193;

constexpr CRect SmallKnobAt(CCoord x, CCoord top) {
    return {x, top, x + 30, top + 30};
}
constexpr CRect GainKnobAt(CCoord x) {
    return {x, kGainTop, x + 50, kGainTop + 50};
}
// A band's name centred above its upper knob; its link switch right of the upper knob.
constexpr CRect BandNameRect(CCoord upperX, CCoord width) {
    const CCoord left = upperX + 15 - width / 2;
    return {left, 56, left + width, 68};
}
constexpr CRect BandLinkRect(CCoord upperX) {
    return {upperX + 33, 79, upperX + 45, 91};
}
// A shifter's name above the right part of its pad.
constexpr CRect ShifterNameRect(const CRect& pad) {
    return {pad.left + 37, 175, pad.left + 67, 186};
}

// Every knob of both band sets.
constexpr std::array<KnobDef, 38> MakeBandKnobs() {
    std::array<KnobDef, 38> knobs{};
    std::size_t n = 0;
    for (std::size_t c = 0; c < 2; ++c) {
        const long first = kChannelFirst[c];
        for (const BandColumn& band : kBands) {
            knobs[n++] = {first + band.q,
                          SmallKnobAt(band.upperX[c], kUpperTop),
                          KnobSize::Small,
                          band.qDisplay,
                          band.qParse,
                          "Q",
                          zkeditor::kBandBoxWidth};
            knobs[n++] = {first + band.frequency,
                          SmallKnobAt(band.lowerX[c], kLowerTop),
                          KnobSize::Small,
                          band.fDisplay,
                          band.fParse,
                          "f",
                          zkeditor::kBandBoxWidth};
            if (band.gain >= 0) {
                knobs[n++] = {first + band.gain,
                              GainKnobAt(band.gainX[c]),
                              KnobSize::Gain,
                              dB2stringEq,
                              string2dBEq,
                              "G",
                              zkeditor::kGainBoxWidth};
            }
        }
    }
    return knobs;
}
inline constexpr std::array<KnobDef, 38> kBandKnobs = MakeBandKnobs();

constexpr std::array<PadDef, 4> MakePads() {
    std::array<PadDef, 4> pads{};
    std::size_t n = 0;
    for (std::size_t c = 0; c < 2; ++c) {
        for (const ShifterColumn& s : kShifters) {
            pads[n++] = {kChannelFirst[c] + s.x,
                         kChannelFirst[c] + s.y,
                         s.pad[c],
                         s.boxLeft[c],
                         s.xDisplay,
                         s.xParse,
                         dB2stringIs,
                         string2dBEq};
        }
    }
    return pads;
}
inline constexpr std::array<PadDef, 4> kPads = MakePads();

constexpr std::array<NameDef, 18> MakeBandNames() {
    std::array<NameDef, 18> names{};
    std::size_t n = 0;
    for (std::size_t c = 0; c < 2; ++c) {
        for (const BandColumn& band : kBands) {
            names[n++] = {kChannelFirst[c] + band.on, BandNameRect(band.upperX[c], band.nameWidth),
                          band.name, band.nameFont};
        }
        for (const ShifterColumn& s : kShifters) {
            names[n++] = {kChannelFirst[c] + s.on, ShifterNameRect(s.pad[c]), s.name, kNormalFont};
        }
    }
    return names;
}
inline constexpr std::array<NameDef, 18> kBandNames = MakeBandNames();

constexpr std::array<LedDef, 18> MakeBandLinks() {
    std::array<LedDef, 18> links{};
    std::size_t n = 0;
    for (std::size_t c = 0; c < 2; ++c) {
        for (const BandColumn& band : kBands) {
            links[n++] = {kChannelFirst[c] + band.link, BandLinkRect(band.upperX[c])};
        }
        for (const ShifterColumn& s : kShifters) {
            links[n++] = {kChannelFirst[c] + s.link, s.linkRect[c]};
        }
    }
    return links;
}
inline constexpr std::array<LedDef, 18> kBandLinks = MakeBandLinks();

// Fixed labels, all white.
inline constexpr std::array<LabelDef, 29> kLabels{{
    // frequency scale under the curves
    {{81, 504, 105, 516}, "40", kNormalFont},
    {{146, 504, 170, 516}, "100", kNormalFont},
    {{195, 504, 219, 516}, "200", kNormalFont},
    {{309, 504, 333, 516}, "1k", kNormalFont},
    {{358, 504, 382, 516}, "2k", kNormalFont},
    {{472, 504, 496, 516}, "10k", kNormalFont},
    {{521, 504, 545, 516}, "20k", kNormalFont},
    // global switches
    {{489, 206, 514, 216}, "Solo", kNormalFontSmaller},
    {{516, 206, 534, 216}, "R", kNormalFontSmaller},
    {{486, 262, 510, 272}, "EQ", kNormalFontSmaller},
    {{513, 262, 537, 272}, "Link", kNormalFontSmaller},
    {{574, 29, 630, 40}, "Auto listen", kNormalFontSmaller},
    // gains of the top row
    {{254, 17, 268, 29}, "in", kNormalFont},
    {{314, 17, 335, 29}, "out", kNormalFont},
    {{638, 17, 652, 29}, "in", kNormalFont},
    {{698, 17, 719, 29}, "out", kNormalFont},
    // lower meter bank
    {{636, 481, 681, 492}, "input", kNormalFontSmaller},
    {{717, 481, 728, 492}, "C", kNormalFontSmaller},
    {{728, 481, 739, 492}, "S", kNormalFontSmaller},
    {{776, 481, 821, 492}, "output", kNormalFontSmaller},
    {{808, 328, 838, 340}, "over", kNormalFontSmaller},
    {{808, 359, 838, 371}, "15", kNormalFontSmaller},
    {{808, 396, 838, 408}, "30", kNormalFontSmaller},
    {{808, 432, 838, 444}, "45", kNormalFontSmaller},
    {{808, 468, 838, 480}, "60", kNormalFontSmaller},
    // balance and correlation
    {{868, 380, 992, 391}, "balance", kNormalFontSmaller},
    {{888, 462, 972, 473}, "correlation", kNormalFontSmaller},
    {{866, 462, 886, 473}, "-1", kNormalFontSmaller},
    {{974, 462, 994, 473}, "+1", kNormalFontSmaller},
}};

// The channels' names beside their outer band plates, in the name colour.
inline constexpr std::array<LabelDef, 2> kChannelNames{{
    {{2, 70, 16, 84}, "L", kSystemFont},
    {{1008, 70, 1022, 84}, "R", kSystemFont},
}};

} // namespace zk20layout
