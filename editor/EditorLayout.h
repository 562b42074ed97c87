#pragma once

#include "widgets/CFont.h"
#include "widgets/CRect.h"

class CControl;

// Building blocks of the editors' layout tables: every control of a panel is one
// row of constexpr data, and the editors build them in loops.
namespace zkeditor {

using DisplayFunction = void (*)(float x, char* text);
using ParseFunction = float (*)(CControl* control);

enum class KnobSize : unsigned char {
    kSmall, // 30 x 30, bitmap 20
    kGain,  // 50 x 50, bitmap 21
};

// A film-strip knob with its text box (centred under it) and its one-letter label.
struct KnobDef {
    long tag;
    CRect rect;
    KnobSize size;
    DisplayFunction display;
    ParseFunction parse;
    const char* letter; // null: no label
};

// A two-axis pad: X and Y tags, each axis with its own text box under the pad.
struct PadDef {
    long tagX;
    long tagY;
    CRect rect;
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

// A small on/off button (LED, bitmap 25).
struct LedDef {
    long tag;
    CRect rect;
};

struct LabelDef {
    CRect rect;
    const char* text;
    CFont font;
};

// Text box of a knob: 14 high, centred under it, 3 px below; 40 wide under the
// gain knobs of the top row, 52 in the band columns (room for "24 dB/oct.").
inline constexpr CCoord kTopBoxWidth = 40;
inline constexpr CCoord kBandBoxWidth = 52;
constexpr CRect TextBoxUnder(const CRect& knob, CCoord width) {
    const CCoord left = (knob.left + knob.right - width) / 2;
    return {left, knob.bottom + 3, left + width, knob.bottom + 17};
}

// Text boxes of a pad: side by side under it, X (the wider texts) on the left.
constexpr CRect PadTextBoxX(const CRect& pad) {
    return {pad.left - 8, pad.bottom + 3, pad.left + 34, pad.bottom + 17};
}
constexpr CRect PadTextBoxY(const CRect& pad) {
    return {pad.left + 36, pad.bottom + 3, pad.right + 6, pad.bottom + 17};
}

// One-letter label of a knob: left of a small knob, above the left edge of a gain knob.
constexpr CRect LetterLabel(const CRect& knob, KnobSize size) {
    return size == KnobSize::kSmall
               ? CRect{knob.left - 11, knob.top + 9, knob.left - 1, knob.top + 21}
               : CRect{knob.left, knob.top - 13, knob.left + 10, knob.top - 2};
}

} // namespace zkeditor
