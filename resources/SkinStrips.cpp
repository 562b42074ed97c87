#include "resources/SkinIds.h"
#include "resources/SkinPainters.h"
#include "resources/SkinPainting.h"

#include <cmath>

namespace skin {

namespace {

constexpr double kPi = 3.14159265358979323846;

template <int Size, bool Bipolar> void KnobStrip(cairo_t* cr) {
    for (int i = 0; i < kKnobFrames; ++i) {
        const double value = static_cast<double>(i) / (kKnobFrames - 1);
        KnobFace(cr, Size / 2.0, i * Size + Size / 2.0, Size / 2.0, value, Bipolar);
    }
}

// Meter law of the editors: position (log10(amplitude) + 3.1) / 3.12, so an LED
// threshold position maps back to decibels like this.
double LedDecibels(int led, int leds) {
    const double position = (led - 0.5) / leds;
    return 20.0 * (position * 3.12 - 3.1);
}

void LedStrip(cairo_t* cr, int leds) {
    for (int k = 1; k <= leds; ++k) {
        const double db = LedDecibels(k, leds);
        Rgb c{0.25, 0.90, 0.35};
        if (db >= -0.5) {
            c = {1.0, 0.18, 0.12};
        } else if (db >= -12.0) {
            c = {1.0, 0.78, 0.15};
        }
        const double y = 2.0 * (leds - k); // LED k counts from the bottom
        cairo_pattern_t* g = cairo_pattern_create_linear(0, 0, kMeterWidth, 0);
        cairo_pattern_add_color_stop_rgb(g, 0, c.r * 0.75, c.g * 0.75, c.b * 0.75);
        cairo_pattern_add_color_stop_rgb(g, 0.5, c.r, c.g, c.b);
        cairo_pattern_add_color_stop_rgb(g, 1, c.r * 0.75, c.g * 0.75, c.b * 0.75);
        cairo_rectangle(cr, 0, y, kMeterWidth, 1);
        cairo_set_source(cr, g);
        cairo_fill(cr);
        cairo_pattern_destroy(g);
    }
}

void DisplayTrack(cairo_t* cr, double y) {
    RoundedRect(cr, 0, y, kDisplayWidth, kDisplayHeight, 2);
    cairo_set_source_rgb(cr, 0.05, 0.055, 0.06);
    cairo_fill(cr);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.25);
    cairo_rectangle(cr, kDisplayWidth / 2.0 - 0.5, y + 1, 1, kDisplayHeight - 2);
    cairo_fill(cr);
}

double DisplayX(int frame) {
    return 2.0 + (kDisplayWidth - 4.0) * frame / (kDisplayFrames - 1);
}

// Frames: 0 for rates above 48 kHz (nothing above half the rate is on screen),
// 1 for 48 kHz, 2 for 44.1 kHz and below.
void RateIndicator(cairo_t* cr, double width, double frameHeight, double curveLeft,
                   double curveWidth, double stripLeft, double curveTop, double curveBottom) {
    const double nyquist[3] = {0.0, 24000.0, 22050.0};
    for (int frame = 1; frame < 3; ++frame) {
        const double y = frame * frameHeight;
        const double from = FrequencyToX(nyquist[frame], curveLeft, curveWidth) - stripLeft;
        const double to = curveLeft + curveWidth - stripLeft;
        NyquistShade(cr, std::max(0.0, from), std::min(width, to), y + curveTop, y + curveBottom);
    }
}

void Grip(cairo_t* cr, double x, double y, double w, double h) {
    RoundedRect(cr, x, y, w, h, 3);
    cairo_pattern_t* g = cairo_pattern_create_linear(x, 0, x + w, 0);
    cairo_pattern_add_color_stop_rgb(g, 0, 0.20, 0.205, 0.22);
    cairo_pattern_add_color_stop_rgb(g, 1, 0.12, 0.125, 0.135);
    cairo_set_source(cr, g);
    cairo_fill(cr);
    cairo_pattern_destroy(g);
    cairo_set_line_width(cr, 1);
    for (double ry = y + h / 2 - 24; ry <= y + h / 2 + 24; ry += 4) {
        cairo_set_source_rgba(cr, 0, 0, 0, 0.6);
        cairo_move_to(cr, x + 4, ry + 0.5);
        cairo_line_to(cr, x + w - 4, ry + 0.5);
        cairo_stroke(cr);
        cairo_set_source_rgba(cr, 1, 1, 1, 0.08);
        cairo_move_to(cr, x + 4, ry + 1.5);
        cairo_line_to(cr, x + w - 4, ry + 1.5);
        cairo_stroke(cr);
    }
}

void Key(cairo_t* cr, double x, double y, const char* glyph) {
    RoundedRect(cr, x, y, 21, 20, 3);
    cairo_set_source_rgb(cr, 0.11, 0.115, 0.125);
    cairo_fill_preserve(cr);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.12);
    cairo_set_line_width(cr, 1);
    cairo_stroke(cr);
    Text(cr, glyph, x + 10.5, y + 14.5, 11, kText, Align::Centre, true);
}

} // namespace

void PaintSmallKnob(cairo_t* cr, double) {
    KnobStrip<kSmallKnobSize, false>(cr);
}

void PaintGainKnob(cairo_t* cr, double) {
    KnobStrip<kGainKnobSize, true>(cr);
}

void PaintJoystick(cairo_t* cr, double) {
    constexpr double cell = kJoystickCell;
    constexpr double travel = cell - 16; // puck centre moves 8 px in from each edge
    for (int row = 0; row < kJoystickSteps; ++row) {
        for (int col = 0; col < kJoystickSteps; ++col) {
            const double x0 = col * cell;
            const double y0 = row * cell;
            RoundedRect(cr, x0 + 1, y0 + 1, cell - 2, cell - 2, 4);
            cairo_set_source_rgb(cr, 0.05, 0.055, 0.06);
            cairo_fill_preserve(cr);
            cairo_set_source_rgba(cr, 1, 1, 1, 0.10);
            cairo_set_line_width(cr, 1);
            cairo_stroke(cr);
            cairo_set_source_rgba(cr, 0.35, 0.75, 0.60, 0.18);
            for (int q = 1; q < 4; ++q) {
                const double g = std::round(8 + travel * q / 4.0) + 0.5;
                cairo_move_to(cr, x0 + g, y0 + 4);
                cairo_line_to(cr, x0 + g, y0 + cell - 4);
                cairo_move_to(cr, x0 + 4, y0 + g);
                cairo_line_to(cr, x0 + cell - 4, y0 + g);
            }
            cairo_stroke(cr);
            // Column: X (frequency) left to right; row: Y (gain) from the top down.
            const double px = x0 + 8 + travel * col / (kJoystickSteps - 1);
            const double py = y0 + 8 + travel * row / (kJoystickSteps - 1);
            SetColor(cr, kAmber, 0.35);
            cairo_move_to(cr, px + 0.5, y0 + 3);
            cairo_line_to(cr, px + 0.5, y0 + cell - 3);
            cairo_move_to(cr, x0 + 3, py + 0.5);
            cairo_line_to(cr, x0 + cell - 3, py + 0.5);
            cairo_stroke(cr);
            cairo_pattern_t* glow = cairo_pattern_create_radial(px, py, 0, px, py, 9);
            cairo_pattern_add_color_stop_rgba(glow, 0, kAmber.r, kAmber.g, kAmber.b, 0.55);
            cairo_pattern_add_color_stop_rgba(glow, 1, kAmber.r, kAmber.g, kAmber.b, 0);
            cairo_arc(cr, px, py, 9, 0, 2 * kPi);
            cairo_set_source(cr, glow);
            cairo_fill(cr);
            cairo_pattern_destroy(glow);
            cairo_arc(cr, px, py, 4.5, 0, 2 * kPi);
            cairo_set_source_rgb(cr, 1.0, 0.85, 0.55);
            cairo_fill_preserve(cr);
            cairo_set_source_rgba(cr, 0, 0, 0, 0.6);
            cairo_stroke(cr);
        }
    }
}

// Invisible switches over keys painted on the panels: the upper half is clear,
// the lower half a translucent amber that lights whatever part the switch covers.
void PaintSwitchSheet(cairo_t* cr, double) {
    SetColor(cr, kAmber, 0.32);
    cairo_rectangle(cr, 0, kSwitchSheetHalf, kSwitchSheetWidth, kSwitchSheetHalf);
    cairo_fill(cr);
}

void PaintLedButton(cairo_t* cr, double) {
    for (int on = 0; on < 2; ++on) {
        const double cx = 6, cy = 6 + 12 * on;
        cairo_arc(cr, cx, cy, 5.6, 0, 2 * kPi); // bezel
        cairo_set_source_rgb(cr, 0.06, 0.06, 0.065);
        cairo_fill(cr);
        cairo_pattern_t* lens = cairo_pattern_create_radial(cx - 1.2, cy - 1.5, 0.3, cx, cy, 4.4);
        if (on) {
            cairo_pattern_add_color_stop_rgb(lens, 0, 1.0, 0.95, 0.75);
            cairo_pattern_add_color_stop_rgb(lens, 0.45, 1.0, 0.70, 0.20);
            cairo_pattern_add_color_stop_rgb(lens, 1, 0.75, 0.38, 0.05);
        } else {
            cairo_pattern_add_color_stop_rgb(lens, 0, 0.40, 0.30, 0.18);
            cairo_pattern_add_color_stop_rgb(lens, 1, 0.17, 0.12, 0.07);
        }
        cairo_arc(cr, cx, cy, 4.4, 0, 2 * kPi);
        cairo_set_source(cr, lens);
        cairo_fill(cr);
        cairo_pattern_destroy(lens);
    }
}

void PaintMeter52(cairo_t* cr, double) {
    LedStrip(cr, 52);
}

void PaintMeter76(cairo_t* cr, double) {
    LedStrip(cr, 76);
}

// Balance: a bar from the centre to the reading.
void PaintBalanceDisplay(cairo_t* cr, double) {
    for (int f = 0; f < kDisplayFrames; ++f) {
        const double y = f * kDisplayHeight;
        DisplayTrack(cr, y);
        const double x = DisplayX(f);
        const double centre = kDisplayWidth / 2.0;
        SetColor(cr, kAmber, 0.8);
        cairo_rectangle(cr, std::min(x, centre), y + 2, std::abs(x - centre), kDisplayHeight - 4);
        cairo_fill(cr);
        cairo_set_source_rgb(cr, 1.0, 0.9, 0.7);
        cairo_rectangle(cr, x - 1, y + 1, 2, kDisplayHeight - 2);
        cairo_fill(cr);
    }
}

// Correlation: a marker coloured red (-1) through amber (0) to green (+1).
void PaintCorrelationDisplay(cairo_t* cr, double) {
    for (int f = 0; f < kDisplayFrames; ++f) {
        const double y = f * kDisplayHeight;
        DisplayTrack(cr, y);
        const double t = static_cast<double>(f) / (kDisplayFrames - 1);
        const Rgb c =
            t < 0.5 ? Rgb{1.0, 0.2 + 1.2 * t, 0.12}
                    : Rgb{1.0 - 1.5 * (t - 0.5), 0.8 + 0.2 * (t - 0.5), 0.15 + 0.3 * (t - 0.5)};
        const double x = DisplayX(f);
        SetColor(cr, c);
        cairo_rectangle(cr, x - 2, y + 1, 4, kDisplayHeight - 2);
        cairo_fill(cr);
    }
}

void PaintRateIndicator10(cairo_t* cr, double) {
    // Placed at (939, 0, 1024, 255) over the curve screen (596..969, 24..249).
    RateIndicator(cr, 85, 255, 596, 373, 939, 24, 249);
}

void PaintRateIndicator20(cairo_t* cr, double) {
    // Placed at (535, 312, 620, 507) over the curve screen (44..582, 317..502).
    RateIndicator(cr, 85, 195, 44, 538, 535, 5, 190);
}

// Frame 0: panel collapsed, the handle is the right edge and carries the help
// key and the expand key. Frame 1: panel open, a plain divider grip.
void PaintPanelHandle10(cairo_t* cr, double) {
    for (int frame = 0; frame < 2; ++frame) {
        const double y = frame * 283;
        PanelFinish(cr, 0, y, 32, 283);
        cairo_set_source_rgba(cr, 0, 0, 0, 0.35);
        cairo_rectangle(cr, 0, y, 32, 283);
        cairo_fill(cr);
        Grip(cr, 4, y + 90, 24, 103);
        if (frame == 0) {
            Key(cr, 9, y + 2, "?");
            Key(cr, 9, y + 261, "\xe2\x96\xb8");
        }
    }
}

// Divider between the curves and the meter bank; frame 1 lights its lamp.
void PaintPanelHandle20(cairo_t* cr, double) {
    for (int frame = 0; frame < 2; ++frame) {
        const double y = frame * 242;
        Grip(cr, 56, y + 40, 24, 162);
        cairo_arc(cr, 68, y + 24, 3, 0, 2 * kPi);
        if (frame == 1) {
            SetColor(cr, kAmber);
        } else {
            cairo_set_source_rgb(cr, 0.25, 0.18, 0.1);
        }
        cairo_fill(cr);
    }
}

} // namespace skin
