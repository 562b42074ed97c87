#pragma once

#include "widgets/CFont.h"
#include "widgets/CRect.h"

#include <array>

class CControl;

// Building blocks of the editors' layout tables: every control of a panel is one
// row of constexpr data, and the editors build them in loops.
namespace zkeditor {

using DisplayFunction = void (*)(float x, char* text);
using ParseFunction = float (*)(CControl* control);

enum class KnobSize : unsigned char {
    Small, // 30 x 30, skin::kSmallKnob
    Gain,  // 50 x 50, skin::kGainKnob
};

// Text box widths, each wide enough for the longest text its display shows in
// font 5 plus the 2-pixel inset on both sides (checked by the layout test):
// top row "-106.3 dB" and "10.00 kHz", band columns "24 dB/oct.", band gains
// "-10.0 dB", the stereo width "400 %", pads "10.00 kHz" and "-10.0".
inline constexpr CCoord kTopBoxWidth = 50;
inline constexpr CCoord kWidthBoxWidth = 36;
inline constexpr CCoord kBandBoxWidth = 52;
inline constexpr CCoord kGainBoxWidth = 46;
inline constexpr CCoord kPadBoxWidthX = 50;
inline constexpr CCoord kPadBoxWidthY = 28;

// A film-strip knob with its text box (centred under it, boxWidth wide) and its
// one-letter label.
struct KnobDef {
    long tag;
    CRect rect;
    KnobSize size;
    DisplayFunction display;
    ParseFunction parse;
    const char* letter; // null: no label
    CCoord boxWidth;
};

// A two-axis pad: X and Y tags, each axis with its own text box under the pad,
// side by side from boxLeft (X, the wider texts, first).
struct PadDef {
    long tagX;
    long tagY;
    CRect rect;
    CCoord boxLeft;
    DisplayFunction displayX;
    ParseFunction parseX;
    DisplayFunction displayY;
    ParseFunction parseY;
};

// A band's on/off switch: its name as a text button.
struct NameDef {
    long tag;
    CRect rect;
    const char* text;
    CFont font;
};

// A small on/off button (skin::kLedButton).
struct LedDef {
    long tag;
    CRect rect;
};

struct LabelDef {
    CRect rect;
    const char* text;
    CFont font;
};

// The frequency span of the curve views: from the lowest corner any control
// reaches (20 Hz) to well above the highest (26 kHz).
inline constexpr float kCurveLowHz = 20.f;
inline constexpr float kCurveHighHz = 40000.f;

// The level labels beside the curves and at the sample-rate indicator.
inline constexpr std::array<const char*, 3> kLevelScale{"+12", "0", "-12"};

// Where the level labels at the sample-rate indicator stand: a left edge per rate
// class (up to 44.1 kHz, 48 kHz, other), beside the shading above half the rate;
// each label stepX right of and stepY below the one before.
struct RateScaleLayout {
    std::array<CCoord, 3> left;
    CCoord top;
    CCoord stepX;
    CCoord stepY;
    CCoord width;
    CCoord height;
};

// Text box of a knob: 14 high, centred under it, 3 px below.
constexpr CRect TextBoxUnder(const CRect& knob, CCoord width) {
    const CCoord left = (knob.left + knob.right - width) / 2;
    return {left, knob.bottom + 3, left + width, knob.bottom + 17};
}
constexpr CRect TextBox(const KnobDef& knob) {
    return TextBoxUnder(knob.rect, knob.boxWidth);
}

// Text boxes of a pad, 3 px below it.
constexpr CRect PadTextBoxX(const PadDef& pad) {
    return {pad.boxLeft, pad.rect.bottom + 3, pad.boxLeft + kPadBoxWidthX, pad.rect.bottom + 17};
}
constexpr CRect PadTextBoxY(const PadDef& pad) {
    const CCoord left = pad.boxLeft + kPadBoxWidthX;
    return {left, pad.rect.bottom + 3, left + kPadBoxWidthY, pad.rect.bottom + 17};
}

// One-letter label of a knob (13 wide: "Q" and the inset): left of a small knob,
// above the left edge of a gain knob.
constexpr CRect LetterLabel(const CRect& knob, KnobSize size) {
    return size == KnobSize::Small
               ? CRect{knob.left - 14, knob.top + 9, knob.left - 1, knob.top + 21}
               : CRect{knob.left, knob.top - 13, knob.left + 13, knob.top - 2};
}

} // namespace zkeditor
