#include "resources/SkinIds.h"
#include "resources/SkinPainters.h"
#include "resources/SkinPainting.h"

#include <array>
#include <span>

namespace skin {

namespace {

struct Tab {
    double left, right;
    const char* label;
};

// Tab keys along the top of every page, where the editors put their buttons.
constexpr std::array<Tab, 6> kTabs{{
    {11, 55, "Controls"},
    {59, 143, "Mouse & keys"},
    {147, 219, "Text entry"},
    {223, 278, "Manual"},
    {282, 344, "Web site"},
    {348, 364, "\xc3\x97"}, // close
}};

// A line of help text: a bold key (may be empty) and its explanation.
struct HelpLine {
    const char* key;
    const char* text;
};

constexpr double kLineHeight = 11.5;
constexpr double kTextSize = 8.6;

void PageFrame(cairo_t* cr, int activeTab, const char* heading, const char* subtitle) {
    RoundedRect(cr, 0.5, 0.5, kHelpPageWidth - 1, kHelpPageHeight - 1, 5);
    cairo_set_source_rgb(cr, 0.085, 0.09, 0.098);
    cairo_fill_preserve(cr);
    SetColor(cr, kAmber, 0.6);
    cairo_set_line_width(cr, 1);
    cairo_stroke(cr);
    for (int i = 0; i < static_cast<int>(kTabs.size()); ++i) {
        const Tab& t = kTabs[static_cast<std::size_t>(i)];
        RoundedRect(cr, t.left, 10, t.right - t.left, 17, 3);
        if (i == activeTab) {
            SetColor(cr, kAmber);
        } else {
            cairo_set_source_rgb(cr, 0.17, 0.175, 0.19);
        }
        cairo_fill(cr);
        Text(cr, t.label, (t.left + t.right) / 2, 22, i == 5 ? 11 : 8,
             i == activeTab ? Rgb{0.08, 0.08, 0.08} : kText, Align::Centre, i == 5);
    }
    Text(cr, heading, 14, 50, 13, kText, Align::Left, true);
    Text(cr, subtitle, 14, 64, 8.5, kLabelGrey);
    // The editors show the version number at (65, 75, 112, 87).
    Text(cr, "Version", 60, 84, 8.5, kLabelGrey, Align::Right);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.1);
    cairo_rectangle(cr, 14, 92, kHelpPageWidth - 28, 1);
    cairo_fill(cr);
}

void HelpLines(cairo_t* cr, double x, double y, std::span<const HelpLine> lines) {
    for (const HelpLine& line : lines) {
        if (line.key[0] != '\0') {
            Text(cr, line.key, x, y, kTextSize, kAmber, Align::Left, true);
        }
        Text(cr, line.text, x + 78, y, kTextSize, kText);
        y += kLineHeight;
    }
}

constexpr HelpLine kControls1[] = {
    {"HP / LP", "High- and low-pass: Q or slope (6 to 30 dB/oct.), frequency."},
    {"LF ... HF", "Five bands: Q (upper knob), frequency (f) and gain (G)."},
    {"", "LF and HF turn into shelves when their Q is below 0.3."},
    {"BS / PS", "Bass and presence shifters: drag the pad, frequency"},
    {"", "left to right, gain bottom to top."},
    {"Band names", "Click a band's name to switch the band on or off."},
    {"in / out", "Input and output gain; Phase Rev. inverts the polarity."},
    {"Auto listen", "While a knob is dragged, hear that band alone; the menu"},
    {"", "picks which knobs do it: Q, f, G or a combination."},
    {"Meters", "Output level per channel, 0 dB at the top LED."},
    {"Panel", "The key in the lower right corner hides the curve panel."},
    {"EQ", "Bypasses the whole equaliser when off."},
    {"Curve", "Response of all bands; the hatched area lies above half"},
    {"", "the sample rate and cannot be reached."},
};

constexpr HelpLine kControls2[] = {
    {"Channels", "Left (1) and right (2) each have a full band set."},
    {"Link", "Links a control to its partner on the other channel;"},
    {"", "the master link sets every link at once."},
    {"Solo", "Plays one channel on both outputs."},
    {"Mono-Maker", "Folds the lows below its frequency to mono."},
    {"Stereo-Width", "Narrows or widens the side signal."},
    {"BS / PS", "Bass and presence shifters, one pad per channel."},
    {"Meters", "Input and output per channel; 0 dB at the top LED."},
    {"Balance", "Left against right level, centre = equal."},
    {"Correlation", "-1 out of phase, 0 unrelated, +1 mono."},
    {"Auto listen", "Hear the band being dragged alone (menu: which knobs)."},
    {"Panel", "The key under the ? key folds the lower panel."},
    {"Curves", "One curve per channel; hatching above half the rate."},
};

constexpr HelpLine kMouse[] = {
    {"Drag", "Up or right turns a knob up, down or left turns it down."},
    {"Ctrl + drag", "Fine adjustment; it stays fine for the next drag."},
    {"Double-click", "Returns a knob or pad to its default value;"},
    {"", "Alt + click does too, where the desktop leaves it free."},
    {"Shift + click", "Switches all knobs between linear and circular drag."},
    {"Wheel", "Turns the knob under the pointer; Ctrl: finer steps."},
};

constexpr HelpLine kPad[] = {
    {"Pad", "Drag: both axes; Shift: gain only; Shift + Alt:"},
    {"", "frequency only. Wheel: gain; Shift + wheel: frequency."},
    {"", "Arrow keys move the frequency; Shift: finer steps."},
};

constexpr HelpLine kKnobMode[] = {
    {"", "Knob mode switch: off = linear dragging,"},
    {"", "lit = circular dragging (follow the knob's edge)."},
    {"", "Shift-click on any knob toggles it as well."},
};

constexpr HelpLine kTextEntry[] = {
    {"Open", "Click a value box under a knob to type a value."},
    {"Return", "Accepts the value; Escape restores the old one."},
    {"Units", "Type the number only: 2.5k or 2500 for 2.5 kHz."},
    {"Comma", "A decimal comma works like a point: 1,5 = 1.5."},
    {"Range", "Values beyond a control's range are limited to it."},
    {"Keys", "Left/Right move the caret, Shift selects, Home/End"},
    {"", "jump; Backspace and Delete remove characters."},
    {"Menu", "Auto-listen modes: Q - -  - f -  - - G  Q f -"},
    {"", "Q - G  - f G  Q f G (knobs that start listening)."},
    {"Help", "Manual and Web site open in your browser; \xc3\x97 closes."},
};

} // namespace

void PaintHelpPage10(cairo_t* cr, double) {
    PageFrame(cr, 0, "Zkmorva EQ 10", "One equaliser path for every channel of the insert.");
    HelpLines(cr, 14, 106, kControls1);
}

void PaintHelpPage20(cairo_t* cr, double) {
    PageFrame(cr, 0, "Zkmorva EQ 20", "Two-channel equaliser with link, solo and mid/side tools.");
    HelpLines(cr, 14, 106, kControls2);
}

void PaintHelpPageMouse(cairo_t* cr, double) {
    PageFrame(cr, 1, "Mouse and keys", "How knobs, pads and switches respond.");
    HelpLines(cr, 14, 106, std::span(kMouse).first(2));
    // Slot of the knob-mode switch the editors place at (20, 126, 32, 171), with
    // its explanation beside it.
    Well(cr, 20, 126, 12, 45);
    HelpLines(cr, 40 - 78, 137, kKnobMode);
    constexpr double kBelowSwitch = 180;
    HelpLines(cr, 14, kBelowSwitch, std::span(kMouse).subspan(2));
    HelpLines(cr, 14, kBelowSwitch + 4 * kLineHeight, kPad);
}

void PaintHelpPageTextEntry(cairo_t* cr, double) {
    PageFrame(cr, 2, "Text entry", "Every knob has a value box for exact settings.");
    HelpLines(cr, 14, 106, kTextEntry);
}

} // namespace skin
