#include "resources/SkinPainters.h"
#include "resources/SkinPainting.h"

#include <array>
#include <initializer_list>
#include <utility>

namespace skin {

namespace {

struct Plate {
    double x, y, w, h;
};

// Band plates of one channel, left to right: HP, LF, LMF, MF, HMF, HF, LP, then the
// bass-shift and presence-shift plates under the HP and LP columns.
constexpr std::array<Plate, 9> kBandPlates1{{
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

constexpr std::array<Plate, 9> kBandPlates2Right{{
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

template <std::size_t N> void plates(cairo_t* cr, const std::array<Plate, N>& list) {
    for (const Plate& p : list) {
        plate(cr, p.x, p.y, p.w, p.h);
    }
}

void title(cairo_t* cr, double x, double y, const char* model) {
    text(cr, "ZKMORVA", x, y, 15, kText, Align::Left, true);
    text(cr, model, x + 92, y, 11, kAmber, Align::Left, true);
    text(cr, "STUDIO EQUALISER", x, y + 12, 7.5, kLabelGrey);
}

// Help button (question mark) and panel toggle drawn as small keys.
void cornerKey(cairo_t* cr, double x, double y, const char* glyph) {
    roundedRect(cr, x, y, 21, 20, 3);
    cairo_set_source_rgb(cr, 0.11, 0.115, 0.125);
    cairo_fill_preserve(cr);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.12);
    cairo_set_line_width(cr, 1);
    cairo_stroke(cr);
    text(cr, glyph, x + 10.5, y + 14.5, 11, kText, Align::Centre, true);
}

void grooveLine(cairo_t* cr, double x0, double y, double x1) {
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

void paintBackground10(cairo_t* cr, double) {
    panelFinish(cr, 0, 0, 1024, 283);
    title(cr, 20, 26, "EQ 10");
    plate(cr, 324, 6, 172, 44); // input, output, phase
    plates(cr, kBandPlates1);
    well(cr, 512, 20, 24, 160);  // output meters
    plate(cr, 500, 198, 52, 66); // auto listen and EQ switches
    // Right panel: curve screen between screws.
    cairo_set_source_rgba(cr, 0, 0, 0, 0.35);
    cairo_rectangle(cr, 553, 0, 32, 283);
    cairo_fill(cr);
    curveScreen(cr, 596, 24, 373, 225);
    for (auto [x, y] : {std::pair{592.0, 10.0}, {592.0, 272.0}, {986.0, 272.0}, {986.0, 40.0}}) {
        screw(cr, x, y);
    }
    screw(cr, 8, 8);
    screw(cr, 8, 275);
    cornerKey(cr, 1001, 2, "?");
    cornerKey(cr, 1001, 261, "\xe2\x97\x82"); // collapse to the left
}

void paintBackground20(cairo_t* cr, double) {
    panelFinish(cr, 0, 0, 1024, 530);
    title(cr, 20, 26, "EQ 20");
    plate(cr, 258, 6, 118, 44); // channel 1 input and output
    plate(cr, 642, 6, 118, 44); // channel 2 input and output
    plate(cr, 458, 6, 108, 44); // mono maker and stereo width
    plates(cr, kBandPlates1);
    plates(cr, kBandPlates2Right);
    well(cr, 496, 66, 22, 112);  // output meters of the upper panel
    plate(cr, 486, 208, 52, 62); // solo, link and EQ switches
    cornerKey(cr, 1001, 2, "?");
    cornerKey(cr, 1001, 27, "\xe2\x96\xb4"); // collapse the lower panel
    // Lower panel: curves, meter bank, balance and correlation.
    grooveLine(cr, 0, 283, 1024);
    curveScreen(cr, 44, 317, 538, 185);
    well(cr, 640, 318, 222, 172);
    well(cr, 868, 392, 124, 30);
    well(cr, 868, 430, 124, 30);
    for (double x : {877.0, 929.5, 982.0}) { // scale marks: -1, 0, +1
        for (double y : {396.0, 434.0}) {
            setColor(cr, kLabelGrey, 0.6);
            cairo_rectangle(cr, x - 0.5, y, 1, 3);
            cairo_fill(cr);
        }
    }
    for (auto [x, y] : {std::pair{8.0, 291.0}, {8.0, 522.0}, {1016.0, 291.0}, {1016.0, 522.0}}) {
        screw(cr, x, y);
    }
}

} // namespace skin
