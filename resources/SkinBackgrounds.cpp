#include "resources/SkinPainters.h"
#include "resources/SkinPainting.h"

#include <array>
#include <initializer_list>
#include <utility>

namespace skin {

namespace {

struct PlateRect {
    double x, y, w, h;
};

// Band plates of one channel, left to right: HP, LF, LMF, MF, HMF, HF, LP, then the
// bass-shift and presence-shift plates under the HP and LP columns.
constexpr std::array<PlateRect, 9> kBandPlates1{{
    {22, 54, 48, 126},
    {86, 54, 62, 214},
    {153, 54, 62, 214},
    {220, 54, 62, 214},
    {286, 54, 62, 214},
    {353, 54, 62, 214},
    {433, 54, 48, 126},
    {8, 184, 76, 84},
    {418, 184, 76, 84},
}};

constexpr std::array<PlateRect, 9> kBandPlates2Right{{
    {543, 54, 48, 126},
    {609, 54, 62, 214},
    {676, 54, 62, 214},
    {743, 54, 62, 214},
    {809, 54, 62, 214},
    {876, 54, 62, 214},
    {954, 54, 48, 126},
    {530, 184, 76, 84},
    {940, 184, 76, 84},
}};

template <std::size_t N> void Plates(cairo_t* cr, const std::array<PlateRect, N>& list) {
    for (const PlateRect& p : list) {
        Plate(cr, p.x, p.y, p.w, p.h);
    }
}

void Title(cairo_t* cr, double x, double y, const char* model) {
    Text(cr, "ZKMORVA", x, y, 15, kText, Align::Left, true);
    Text(cr, model, x + 92, y, 11, kAmber, Align::Left, true);
    Text(cr, "STUDIO EQUALISER", x, y + 12, 7.5, kLabelGrey);
}

// Help button (question mark) and panel toggle drawn as small keys.
void CornerKey(cairo_t* cr, double x, double y, const char* glyph) {
    RoundedRect(cr, x, y, 21, 20, 3);
    cairo_set_source_rgb(cr, 0.11, 0.115, 0.125);
    cairo_fill_preserve(cr);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.12);
    cairo_set_line_width(cr, 1);
    cairo_stroke(cr);
    Text(cr, glyph, x + 10.5, y + 14.5, 11, kText, Align::Centre, true);
}

void GrooveLine(cairo_t* cr, double x0, double y, double x1) {
    cairo_set_line_width(cr, 1);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.7);
    cairo_move_to(cr, x0, y + 0.5);
    cairo_line_to(cr, x1, y + 0.5);
    cairo_stroke(cr);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.07);
    cairo_move_to(cr, x0, y + 1.5);
    cairo_line_to(cr, x1, y + 1.5);
    cairo_stroke(cr);
}

} // namespace

void PaintBackground10(cairo_t* cr, double) {
    PanelFinish(cr, 0, 0, 1024, 283);
    Title(cr, 20, 26, "EQ 10");
    Plate(cr, 324, 6, 172, 44); // input, output, phase
    Plates(cr, kBandPlates1);
    Well(cr, 512, 20, 24, 160);  // output meters
    Plate(cr, 500, 198, 52, 66); // auto listen and EQ switches
    // Right panel: curve screen between screws.
    cairo_set_source_rgba(cr, 0, 0, 0, 0.35);
    cairo_rectangle(cr, 553, 0, 32, 283);
    cairo_fill(cr);
    CurveScreen(cr, 596, 24, 373, 225);
    for (auto [x, y] : {std::pair{592.0, 10.0}, {592.0, 272.0}, {986.0, 272.0}, {986.0, 40.0}}) {
        Screw(cr, x, y);
    }
    Screw(cr, 8, 8);
    Screw(cr, 8, 275);
    CornerKey(cr, 1001, 2, "?");
    CornerKey(cr, 1001, 261, "\xe2\x97\x82"); // collapse to the left
}

void PaintBackground20(cairo_t* cr, double) {
    PanelFinish(cr, 0, 0, 1024, 530);
    Title(cr, 20, 26, "EQ 20");
    Plate(cr, 258, 6, 118, 44); // channel 1 input and output
    Plate(cr, 642, 6, 118, 44); // channel 2 input and output
    Plate(cr, 458, 6, 108, 44); // mono maker and stereo width
    Plates(cr, kBandPlates1);
    Plates(cr, kBandPlates2Right);
    Well(cr, 496, 66, 22, 112);  // output meters of the upper panel
    Plate(cr, 486, 208, 52, 62); // solo, link and EQ switches
    CornerKey(cr, 1001, 2, "?");
    CornerKey(cr, 1001, 27, "\xe2\x96\xb4"); // collapse the lower panel
    // Lower panel: curves, meter bank, balance and correlation.
    GrooveLine(cr, 0, 283, 1024);
    CurveScreen(cr, 44, 317, 538, 185);
    Well(cr, 640, 318, 222, 172);
    Well(cr, 868, 392, 124, 30);
    Well(cr, 868, 430, 124, 30);
    for (double x : {877.0, 929.5, 982.0}) { // scale marks: -1, 0, +1
        for (double y : {396.0, 434.0}) {
            SetColor(cr, kLabelGrey, 0.6);
            cairo_rectangle(cr, x - 0.5, y, 1, 3);
            cairo_fill(cr);
        }
    }
    for (auto [x, y] : {std::pair{8.0, 291.0}, {8.0, 522.0}, {1016.0, 291.0}, {1016.0, 522.0}}) {
        Screw(cr, x, y);
    }
}

} // namespace skin
