#include "cli/ResponsePlot.h"

#include "cli/CliError.h"
#include "cli/OutputPath.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace zkcli {

namespace {

constexpr double kLoHz = 20.0;
constexpr double kHiHz = 20000.0;

struct SurfaceCloser {
    void operator()(cairo_surface_t* s) const { cairo_surface_destroy(s); }
};
struct ContextCloser {
    void operator()(cairo_t* c) const { cairo_destroy(c); }
};

cairo_status_t AppendToString(void* closure, const unsigned char* data, unsigned int length) {
    static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

std::string HzLabel(double f) {
    if (f >= 1000.0) {
        const double k = f / 1000.0;
        return (k == std::floor(k) ? std::to_string(static_cast<int>(k)) : "?") + "k";
    }
    return std::to_string(static_cast<int>(f));
}

} // namespace

std::pair<double, double> PlotRange(const Response& response) {
    double lo = -12.0, hi = 12.0;
    for (const auto& curve : response.gainDb) {
        for (double v : curve) {
            if (std::isfinite(v)) {
                lo = std::min(lo, std::max(v, -60.0));
                hi = std::max(hi, v);
            }
        }
    }
    return {6.0 * std::floor(lo / 6.0), 6.0 * std::ceil(hi / 6.0)};
}

void WriteResponsePlot(const std::filesystem::path& target, const Response& response,
                       const PlotStyle& style) {
    std::unique_ptr<cairo_surface_t, SurfaceCloser> surface(
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, style.width, style.height));
    std::unique_ptr<cairo_t, ContextCloser> cr(cairo_create(surface.get()));
    cairo_t* c = cr.get();

    const double left = 70, right = style.width - 20.0, top = 50, bottom = style.height - 50.0;
    const auto [dbLo, dbHi] = PlotRange(response);
    auto x = [&](double f) {
        return left + (right - left) * std::log(f / kLoHz) / std::log(kHiHz / kLoHz);
    };
    auto y = [&](double db) {
        return bottom - (bottom - top) * (std::clamp(db, dbLo, dbHi) - dbLo) / (dbHi - dbLo);
    };

    cairo_set_source_rgb(c, 0.09, 0.10, 0.12);
    cairo_paint(c);
    cairo_select_font_face(c, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(c, 13);
    cairo_set_line_width(c, 1.0);

    // Grid: decades and their 2 and 5, every 6 dB; 0 dB brighter.
    for (double decade = 10.0; decade <= 10000.0; decade *= 10.0) {
        for (double m : {1.0, 2.0, 5.0}) {
            const double f = decade * m;
            if (f < kLoHz || f > kHiHz) {
                continue;
            }
            cairo_set_source_rgb(c, 0.25, 0.27, 0.30);
            cairo_move_to(c, std::round(x(f)) + 0.5, top);
            cairo_line_to(c, std::round(x(f)) + 0.5, bottom);
            cairo_stroke(c);
            cairo_set_source_rgb(c, 0.75, 0.77, 0.80);
            const std::string label = HzLabel(f);
            cairo_text_extents_t ext;
            cairo_text_extents(c, label.c_str(), &ext);
            cairo_move_to(c, x(f) - ext.width / 2, bottom + 18);
            cairo_show_text(c, label.c_str());
        }
    }
    cairo_move_to(c, x(20000.0) + 0.5, top);
    cairo_line_to(c, x(20000.0) + 0.5, bottom);
    cairo_stroke(c);
    for (double db = dbLo; db <= dbHi + 1e-9; db += 6.0) {
        const bool zero = std::fabs(db) < 1e-9;
        cairo_set_source_rgb(c, zero ? 0.55 : 0.25, zero ? 0.57 : 0.27, zero ? 0.60 : 0.30);
        cairo_move_to(c, left, std::round(y(db)) + 0.5);
        cairo_line_to(c, right, std::round(y(db)) + 0.5);
        cairo_stroke(c);
        cairo_set_source_rgb(c, 0.75, 0.77, 0.80);
        const std::string label = (db > 0 ? "+" : "") + std::to_string(static_cast<int>(db));
        cairo_text_extents_t ext;
        cairo_text_extents(c, label.c_str(), &ext);
        cairo_move_to(c, left - 8 - ext.width, y(db) + ext.height / 2);
        cairo_show_text(c, label.c_str());
    }
    cairo_move_to(c, left - 60, top - 12);
    cairo_show_text(c, "dB");
    cairo_move_to(c, right - 20, bottom + 38);
    cairo_show_text(c, "Hz");

    cairo_set_font_size(c, 16);
    cairo_set_source_rgb(c, 0.92, 0.93, 0.95);
    cairo_move_to(c, left, 30);
    cairo_show_text(c, style.title.c_str());

    // Curves, clipped to the plot area.
    const double colours[][3] = {{0.35, 0.75, 1.0}, {1.0, 0.55, 0.30}, {0.5, 0.9, 0.5}};
    cairo_save(c);
    cairo_rectangle(c, left, top, right - left, bottom - top);
    cairo_clip(c);
    cairo_set_line_width(c, 2.0);
    cairo_set_line_join(c, CAIRO_LINE_JOIN_ROUND);
    for (std::size_t ch = 0; ch < response.gainDb.size(); ++ch) {
        const double* rgb = colours[ch % 3];
        cairo_set_source_rgba(c, rgb[0], rgb[1], rgb[2], 0.9);
        bool started = false;
        for (std::size_t i = 0; i < response.frequencies.size(); ++i) {
            const double f = response.frequencies[i];
            if (f < kLoHz || f > kHiHz) {
                continue;
            }
            (started ? cairo_line_to : cairo_move_to)(c, x(f), y(response.gainDb[ch][i]));
            started = true;
        }
        cairo_stroke(c);
    }
    cairo_restore(c);

    // Legend.
    cairo_set_font_size(c, 13);
    for (std::size_t ch = 0; ch < style.curveNames.size() && ch < response.gainDb.size(); ++ch) {
        const double* rgb = colours[ch % 3];
        const double lx = right - 90.0 * (style.curveNames.size() - ch);
        cairo_set_source_rgb(c, rgb[0], rgb[1], rgb[2]);
        cairo_rectangle(c, lx, 22, 18, 4);
        cairo_fill(c);
        cairo_set_source_rgb(c, 0.92, 0.93, 0.95);
        cairo_move_to(c, lx + 24, 29);
        cairo_show_text(c, style.curveNames[ch].c_str());
    }

    cairo_surface_flush(surface.get());
    std::string png;
    if (cairo_surface_write_to_png_stream(surface.get(), &AppendToString, &png) !=
        CAIRO_STATUS_SUCCESS) {
        throw CliError("cannot draw the plot for " + target.string());
    }
    WriteTextFile(target, png);
}

} // namespace zkcli
