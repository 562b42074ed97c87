#pragma once

#include <cairo.h>

// Drawing helpers shared by the skin's painters: the panel finish, plates, wells,
// screws, engraved text and knob faces. Coordinates are logical pixels.
namespace skin {

struct Rgb {
    double r, g, b;
};

inline constexpr Rgb kAmber{0.94, 0.63, 0.16};
inline constexpr Rgb kLabelGrey{0.62, 0.64, 0.67};
inline constexpr Rgb kText{0.86, 0.87, 0.88};

void SetColor(cairo_t* cr, Rgb c, double alpha = 1.0);
void RoundedRect(cairo_t* cr, double x, double y, double w, double h, double radius);

// Brushed dark aluminium over the whole area.
void PanelFinish(cairo_t* cr, double x, double y, double w, double h);
// A raised plate grouping controls.
void Plate(cairo_t* cr, double x, double y, double w, double h);
// A recessed, nearly black area (meters, screens).
void Well(cairo_t* cr, double x, double y, double w, double h);
void Screw(cairo_t* cr, double cx, double cy);

enum class Align { Left, Centre, Right };
// Text with its baseline at y; size in pixels.
void Text(cairo_t* cr, const char* s, double x, double y, double size, Rgb color,
          Align align = Align::Left, bool bold = false);

// Response-curve screen: well plus a log-frequency grid (20 Hz to 40 kHz) and
// dB lines every 6 dB of the +-12 dB range.
void CurveScreen(cairo_t* cr, double x, double y, double w, double h);
// x of a frequency on a 20 Hz to 40 kHz log axis of width w starting at x.
double FrequencyToX(double frequency, double x, double w);

// A knob face at value 0..1 (bipolar knobs light the arc from the top).
void KnobFace(cairo_t* cr, double cx, double cy, double radius, double value, bool bipolar);

// Hatching of the part of the curve screen above half the sample rate.
void NyquistShade(cairo_t* cr, double fromX, double toX, double top, double bottom);

} // namespace skin
