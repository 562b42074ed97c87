#pragma once

#include <array>

// Font numbers 0..5. All map to the sans toy font of Cairo ("DejaVu Sans" on our
// machines) at fixed sizes in logical pixels; the sizes suit the 11 to 14 pixel
// high labels and text boxes of the editors.
enum CFont {
    kSystemFont = 0,
    kNormalFontVeryBig = 1,
    kNormalFontBig = 2,
    kNormalFont = 3,
    kNormalFontSmall = 4,
    kNormalFontSmaller = 5,
};

inline constexpr int kNumFonts = 6;

struct CFontDescription {
    double size; // logical pixels (em size)
    bool bold;
};

inline constexpr std::array<CFontDescription, kNumFonts> kFontTable{{
    {12.0, true},  // kSystemFont
    {18.0, true},  // kNormalFontVeryBig
    {14.0, false}, // kNormalFontBig
    {10.0, false}, // kNormalFont
    {9.5, false},  // kNormalFontSmall
    {9.0, false},  // kNormalFontSmaller
}};

inline constexpr const char* kFontFamily = "DejaVu Sans";

// Font number clamped into the table, so an out-of-range number shows the system font.
inline constexpr CFontDescription FontDescription(int font) {
    return (font >= 0 && font < kNumFonts) ? kFontTable[static_cast<unsigned>(font)]
                                           : kFontTable[kSystemFont];
}
