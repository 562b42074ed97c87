#pragma once

// Comparing two screenshots (PNG files) of the real-window tests and benchmarks.

#include <cairo.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

namespace zktest {

// Share of the pixels of the device rectangle [x0, x1) x [y0, y1) whose colour
// differs between two PNG files; none when either cannot be read or is smaller.
inline std::optional<double> ChangedShare(const std::string& a, const std::string& b, int x0,
                                          int y0, int x1, int y1) {
    cairo_surface_t* sa = cairo_image_surface_create_from_png(a.c_str());
    cairo_surface_t* sb = cairo_image_surface_create_from_png(b.c_str());
    std::optional<double> share;
    if (cairo_surface_status(sa) == CAIRO_STATUS_SUCCESS &&
        cairo_surface_status(sb) == CAIRO_STATUS_SUCCESS &&
        cairo_image_surface_get_format(sa) == cairo_image_surface_get_format(sb) && x0 >= 0 &&
        y0 >= 0 && x1 > x0 && y1 > y0 &&
        x1 <= std::min(cairo_image_surface_get_width(sa), cairo_image_surface_get_width(sb)) &&
        y1 <= std::min(cairo_image_surface_get_height(sa), cairo_image_surface_get_height(sb))) {
        const int strideA = cairo_image_surface_get_stride(sa);
        const int strideB = cairo_image_surface_get_stride(sb);
        const unsigned char* pa = cairo_image_surface_get_data(sa);
        const unsigned char* pb = cairo_image_surface_get_data(sb);
        long changed = 0;
        for (int y = y0; y < y1; ++y) {
            const auto* ra = reinterpret_cast<const std::uint32_t*>(pa + y * strideA);
            const auto* rb = reinterpret_cast<const std::uint32_t*>(pb + y * strideB);
            for (int x = x0; x < x1; ++x) {
                changed += (ra[x] & 0xffffff) != (rb[x] & 0xffffff);
            }
        }
        share = static_cast<double>(changed) / (static_cast<double>(x1 - x0) * (y1 - y0));
    }
    cairo_surface_destroy(sa);
    cairo_surface_destroy(sb);
    return share;
}

} // namespace zktest
