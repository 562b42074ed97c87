#include "resources/SkinPainting.h"

#include <cmath>
#include <initializer_list>

namespace skin {

namespace {
constexpr double kPi = 3.14159265358979323846;
constexpr double kLowFrequency = 20.0;
constexpr double kHighFrequency = 40000.0;
// Knob travel: from 7:30 clockwise to 4:30 (Cairo angles grow clockwise).
constexpr double kKnobStart = 0.75 * kPi;
constexpr double kKnobSweep = 1.5 * kPi;
} // namespace

void SetColor(cairo_t* cr, Rgb c, double alpha) {
    cairo_set_source_rgba(cr, c.r, c.g, c.b, alpha);
}

void RoundedRect(cairo_t* cr, double x, double y, double w, double h, double r) {
    cairo_new_sub_path(cr);
    cairo_arc(cr, x + w - r, y + r, r, -kPi / 2, 0);
    cairo_arc(cr, x + w - r, y + h - r, r, 0, kPi / 2);
    cairo_arc(cr, x + r, y + h - r, r, kPi / 2, kPi);
    cairo_arc(cr, x + r, y + r, r, kPi, 1.5 * kPi);
    cairo_close_path(cr);
}

void PanelFinish(cairo_t* cr, double x, double y, double w, double h) {
    cairo_pattern_t* g = cairo_pattern_create_linear(0, y, 0, y + h);
    cairo_pattern_add_color_stop_rgb(g, 0, 0.165, 0.170, 0.182);
    cairo_pattern_add_color_stop_rgb(g, 1, 0.105, 0.108, 0.116);
    cairo_set_source(cr, g);
    cairo_rectangle(cr, x, y, w, h);
    cairo_fill(cr);
    cairo_pattern_destroy(g);
    // Fine horizontal brushing: a deterministic pattern of faint lines.
    cairo_set_line_width(cr, 0.5);
    for (int i = 0; i < static_cast<int>(h); i += 2) {
        const double a = 0.012 + 0.012 * ((i * 7919) % 5) / 4.0;
        cairo_set_source_rgba(cr, 1, 1, 1, a);
        cairo_move_to(cr, x, y + i + 0.25);
        cairo_line_to(cr, x + w, y + i + 0.25);
        cairo_stroke(cr);
    }
}

void Plate(cairo_t* cr, double x, double y, double w, double h) {
    RoundedRect(cr, x + 1, y + 2, w, h, 4); // drop shadow
    cairo_set_source_rgba(cr, 0, 0, 0, 0.45);
    cairo_fill(cr);
    cairo_pattern_t* g = cairo_pattern_create_linear(0, y, 0, y + h);
    cairo_pattern_add_color_stop_rgb(g, 0, 0.215, 0.222, 0.238);
    cairo_pattern_add_color_stop_rgb(g, 1, 0.150, 0.155, 0.168);
    RoundedRect(cr, x, y, w, h, 4);
    cairo_set_source(cr, g);
    cairo_fill_preserve(cr);
    cairo_pattern_destroy(g);
    cairo_set_line_width(cr, 1);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.7);
    cairo_stroke(cr);
    RoundedRect(cr, x + 1, y + 1, w - 2, h - 2, 3);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.06);
    cairo_stroke(cr);
}

void Well(cairo_t* cr, double x, double y, double w, double h) {
    RoundedRect(cr, x, y, w, h, 2);
    cairo_set_source_rgb(cr, 0.045, 0.048, 0.052);
    cairo_fill(cr);
    cairo_set_line_width(cr, 1);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.8); // shadow on the upper edge
    cairo_move_to(cr, x + 0.5, y + h);
    cairo_line_to(cr, x + 0.5, y + 0.5);
    cairo_line_to(cr, x + w, y + 0.5);
    cairo_stroke(cr);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.10); // light on the lower edge
    cairo_move_to(cr, x + w + 0.5, y + 1);
    cairo_line_to(cr, x + w + 0.5, y + h + 0.5);
    cairo_line_to(cr, x + 1, y + h + 0.5);
    cairo_stroke(cr);
}

void Screw(cairo_t* cr, double cx, double cy) {
    cairo_pattern_t* g = cairo_pattern_create_radial(cx - 1, cy - 1, 0, cx, cy, 4);
    cairo_pattern_add_color_stop_rgb(g, 0, 0.55, 0.56, 0.58);
    cairo_pattern_add_color_stop_rgb(g, 1, 0.22, 0.23, 0.25);
    cairo_arc(cr, cx, cy, 3.5, 0, 2 * kPi);
    cairo_set_source(cr, g);
    cairo_fill(cr);
    cairo_pattern_destroy(g);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.7);
    cairo_set_line_width(cr, 1);
    cairo_move_to(cr, cx - 2.4, cy + 1.2);
    cairo_line_to(cr, cx + 2.4, cy - 1.2);
    cairo_stroke(cr);
}

void Text(cairo_t* cr, const char* s, double x, double y, double size, Rgb color, Align align,
          bool bold) {
    cairo_select_font_face(cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, size);
    cairo_text_extents_t e;
    cairo_text_extents(cr, s, &e);
    double left = x;
    if (align == Align::Centre) {
        left = x - e.x_advance / 2;
    } else if (align == Align::Right) {
        left = x - e.x_advance;
    }
    SetColor(cr, color);
    cairo_move_to(cr, left, y);
    cairo_show_text(cr, s);
}

double FrequencyToX(double frequency, double x, double w) {
    return x +
           w * std::log10(frequency / kLowFrequency) / std::log10(kHighFrequency / kLowFrequency);
}

void CurveScreen(cairo_t* cr, double x, double y, double w, double h) {
    Well(cr, x - 2, y - 2, w + 4, h + 4);
    cairo_pattern_t* g = cairo_pattern_create_linear(0, y, 0, y + h);
    cairo_pattern_add_color_stop_rgb(g, 0, 0.035, 0.075, 0.065);
    cairo_pattern_add_color_stop_rgb(g, 1, 0.020, 0.045, 0.040);
    cairo_rectangle(cr, x, y, w, h);
    cairo_set_source(cr, g);
    cairo_fill(cr);
    cairo_pattern_destroy(g);
    cairo_save(cr);
    cairo_rectangle(cr, x, y, w, h);
    cairo_clip(cr);
    cairo_set_line_width(cr, 1);
    for (double decade : {10.0, 100.0, 1000.0, 10000.0}) {
        for (int m = 1; m <= 9; ++m) {
            const double f = decade * m;
            if (f < kLowFrequency || f > kHighFrequency) {
                continue;
            }
            const double gx = std::round(FrequencyToX(f, x, w)) + 0.5;
            cairo_set_source_rgba(cr, 0.35, 0.75, 0.60, m == 1 ? 0.30 : 0.11);
            cairo_move_to(cr, gx, y);
            cairo_line_to(cr, gx, y + h);
            cairo_stroke(cr);
        }
    }
    // The display spans 24.08 dB over its height: 0 dB in the middle.
    const double pxPerDb = h / 24.082866;
    for (int db = -12; db <= 12; db += 6) {
        const double gy = std::round(y + h / 2 - db * pxPerDb) + 0.5;
        cairo_set_source_rgba(cr, 0.35, 0.75, 0.60, db == 0 ? 0.40 : 0.14);
        cairo_move_to(cr, x, gy);
        cairo_line_to(cr, x + w, gy);
        cairo_stroke(cr);
    }
    cairo_restore(cr);
}

void KnobFace(cairo_t* cr, double cx, double cy, double radius, double value, bool bipolar) {
    const double track = radius - 1.6;
    const double trackWidth = radius > 20 ? 2.6 : 2.0;
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_width(cr, trackWidth);
    cairo_set_source_rgb(cr, 0.06, 0.062, 0.068);
    cairo_arc(cr, cx, cy, track, kKnobStart, kKnobStart + kKnobSweep);
    cairo_stroke(cr);
    const double angle = kKnobStart + value * kKnobSweep;
    const double from = bipolar ? 1.5 * kPi : kKnobStart;
    if (std::abs(angle - from) > 1e-6) {
        SetColor(cr, kAmber);
        cairo_arc(cr, cx, cy, track, std::min(from, angle), std::max(from, angle));
        cairo_stroke(cr);
    }
    // Body: dark skirt and a lighter cap lit from above.
    const double body = radius - trackWidth - 2.2;
    cairo_arc(cr, cx, cy + 0.8, body, 0, 2 * kPi);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.6);
    cairo_fill(cr);
    cairo_pattern_t* skirt = cairo_pattern_create_linear(0, cy - body, 0, cy + body);
    cairo_pattern_add_color_stop_rgb(skirt, 0, 0.30, 0.31, 0.33);
    cairo_pattern_add_color_stop_rgb(skirt, 1, 0.09, 0.09, 0.10);
    cairo_arc(cr, cx, cy, body, 0, 2 * kPi);
    cairo_set_source(cr, skirt);
    cairo_fill(cr);
    cairo_pattern_destroy(skirt);
    const double cap = body * 0.78;
    cairo_pattern_t* top =
        cairo_pattern_create_radial(cx - cap * 0.3, cy - cap * 0.4, 0, cx, cy, cap);
    cairo_pattern_add_color_stop_rgb(top, 0, 0.36, 0.37, 0.40);
    cairo_pattern_add_color_stop_rgb(top, 1, 0.16, 0.165, 0.18);
    cairo_arc(cr, cx, cy, cap, 0, 2 * kPi);
    cairo_set_source(cr, top);
    cairo_fill(cr);
    cairo_pattern_destroy(top);
    // Pointer line.
    cairo_set_line_width(cr, radius > 20 ? 2.2 : 1.6);
    cairo_set_source_rgb(cr, 0.95, 0.95, 0.93);
    cairo_move_to(cr, cx + std::cos(angle) * body * 0.30, cy + std::sin(angle) * body * 0.30);
    cairo_line_to(cr, cx + std::cos(angle) * body * 0.92, cy + std::sin(angle) * body * 0.92);
    cairo_stroke(cr);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
}

void NyquistShade(cairo_t* cr, double fromX, double toX, double top, double bottom) {
    if (toX <= fromX) {
        return;
    }
    cairo_save(cr);
    cairo_rectangle(cr, fromX, top, toX - fromX, bottom - top);
    cairo_clip(cr);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.45);
    cairo_paint(cr);
    cairo_set_line_width(cr, 1);
    SetColor(cr, kAmber, 0.35);
    for (double d = -(bottom - top); d < toX - fromX; d += 5) {
        cairo_move_to(cr, fromX + d, bottom);
        cairo_line_to(cr, fromX + d + (bottom - top), top);
    }
    cairo_stroke(cr);
    cairo_restore(cr);
    SetColor(cr, kAmber, 0.9);
    cairo_move_to(cr, std::round(fromX) + 0.5, top);
    cairo_line_to(cr, std::round(fromX) + 0.5, bottom);
    cairo_stroke(cr);
}

} // namespace skin
