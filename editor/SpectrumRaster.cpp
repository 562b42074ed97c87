#include "editor/SpectrumRaster.h"

#include <algorithm>
#include <cmath>

namespace zkeditor::raster {

namespace {

// A premultiplied pixel, channels from 0 to 1.
struct Pixel {
    float a = 0.f, r = 0.f, g = 0.f, b = 0.f;
};

std::uint32_t Pack(const Pixel& p) {
    auto byte = [](float v) {
        return static_cast<std::uint32_t>(std::clamp(v, 0.f, 1.f) * 255.f + 0.5f);
    };
    return byte(p.a) << 24 | byte(p.r) << 16 | byte(p.g) << 8 | byte(p.b);
}

// from moved towards to by weight/256 (0 to 256), two channels per step. With
// an opaque colour as `to` it is that colour at opacity weight/256 over `from`.
std::uint32_t Blend(std::uint32_t from, std::uint32_t to, std::uint32_t weight) {
    constexpr std::uint32_t kMask = 0x00ff00ff;
    const std::uint32_t keep = 256 - weight;
    const std::uint32_t rb = ((from & kMask) * keep + (to & kMask) * weight) >> 8;
    const std::uint32_t ag = ((from >> 8 & kMask) * keep + (to >> 8 & kMask) * weight) >> 8;
    return (rb & kMask) | (ag & kMask) << 8;
}

// The colour at opacity `alpha` over dst.
Pixel Over(const Pixel& dst, CColor colour, float alpha) {
    constexpr float k = 1.f / 255.f;
    const float keep = 1.f - alpha;
    return {alpha + dst.a * keep, colour.red * k * alpha + dst.r * keep,
            colour.green * k * alpha + dst.g * keep, colour.blue * k * alpha + dst.b * keep};
}

// A device y kept within [0, height]; not a number counts as below the image.
float ClampY(float y, int height) {
    if (std::isnan(y)) {
        return static_cast<float>(height);
    }
    return std::clamp(y, 0.f, static_cast<float>(height));
}

} // namespace

double PositionOfDeviceColumn(int d, double scale) {
    return (d + 0.5) / scale - 0.5;
}

double DeviceColumnOfPosition(double position, double scale) {
    return (position + 0.5) * scale - 0.5;
}

float Interpolate(std::span<const float> values, double position) {
    if (values.empty()) {
        return 0.f;
    }
    if (!(position > 0.0)) {
        return values.front();
    }
    const double last = static_cast<double>(values.size() - 1);
    if (position >= last) {
        return values.back();
    }
    const auto i = static_cast<std::size_t>(position);
    const auto f = static_cast<float>(position - static_cast<double>(i));
    return values[i] + (values[i + 1] - values[i]) * f;
}

float AreaAlpha(const Area& area, int y, int height) {
    const float t = height > 0 ? (static_cast<float>(y) + 0.5f) / static_cast<float>(height) : 0.f;
    return area.topAlpha + (area.bottomAlpha - area.topAlpha) * t;
}

int FirstRow(std::span<const float> tops, int height) {
    float top = static_cast<float>(height);
    for (float t : tops) {
        top = std::min(top, ClampY(t, height));
    }
    return static_cast<int>(std::floor(top));
}

bool TracePainter::PrepareTable(std::span<const Area> areas, int height) {
    std::vector<CColor> colours;
    std::vector<float> alphas;
    for (const Area& a : areas) {
        colours.push_back(a.colour);
        alphas.push_back(a.topAlpha);
        alphas.push_back(a.bottomAlpha);
    }
    if (height == tableHeight && colours == tableColours && alphas == tableAlphas) {
        return false;
    }
    const std::size_t sets = std::size_t{1} << areas.size();
    for (std::size_t set = 0; set < sets; ++set) {
        std::vector<std::uint32_t>& rows = table[set];
        rows.resize(static_cast<std::size_t>(height));
        for (int y = 0; y < height; ++y) {
            Pixel p;
            for (std::size_t k = 0; k < areas.size(); ++k) {
                if (set & (std::size_t{1} << k)) {
                    p = Over(p, areas[k].colour, AreaAlpha(areas[k], y, height));
                }
            }
            rows[static_cast<std::size_t>(y)] = Pack(p);
        }
    }
    tableColours = std::move(colours);
    tableAlphas = std::move(alphas);
    tableHeight = height;
    return true;
}

void TracePainter::FillRows(int d, int from, int to, const std::array<int, kMaxAreas>& fullNow) {
    from = std::max(from, 0);
    to = std::min(to, image.height);
    std::uint32_t* p = image.pixels + d + static_cast<std::ptrdiff_t>(from) * image.stride;
    for (int y = from; y < to;) {
        std::size_t set = 0;
        int next = to;
        for (std::size_t k = 0; k < areaCount; ++k) {
            if (fullNow[k] <= y) {
                set |= std::size_t{1} << k;
            } else {
                next = std::min(next, fullNow[k]);
            }
        }
        const std::uint32_t* colours = table[set].data();
        for (; y < next; ++y, p += image.stride) {
            *p = colours[y];
        }
    }
}

void TracePainter::Areas(const Image& target, std::span<const Area> areas) {
    areas = areas.first(std::min(areas.size(), kMaxAreas));
    const bool newTable = PrepareTable(areas, target.height);
    const bool whole = newTable || target.pixels != image.pixels || target.width != image.width ||
                       target.height != image.height || target.stride != image.stride ||
                       areas.size() != areaCount || lines > kMaxLines;
    image = target;
    areaCount = areas.size();
    const auto width = static_cast<std::size_t>(std::max(image.width, 0));
    if (whole) {
        for (std::size_t k = 0; k < kMaxAreas; ++k) {
            full[k].assign(width, image.height);
            edge[k].assign(width, -1);
        }
        for (std::size_t l = 0; l < kMaxLines; ++l) {
            lineFrom[l].assign(width, 0);
            lineTo[l].assign(width, 0);
        }
    }
    for (std::size_t d = 0; d < width; ++d) {
        const int column = static_cast<int>(d);
        std::array<float, kMaxAreas> top{};
        std::array<int, kMaxAreas> now{};
        for (std::size_t k = 0; k < areaCount; ++k) {
            const std::span<const float> tops = areas[k].tops;
            top[k] = ClampY(d < tops.size() ? tops[d] : NAN, image.height);
            now[k] = static_cast<int>(std::ceil(top[k]));
        }
        if (whole) {
            FillRows(column, 0, image.height, now);
        } else {
            // Where a top moved, and what edges and lines left on the last picture.
            for (std::size_t k = 0; k < areaCount; ++k) {
                FillRows(column, std::min(full[k][d], now[k]), std::max(full[k][d], now[k]), now);
                FillRows(column, edge[k][d], edge[k][d] + 1, now);
            }
            for (std::size_t l = 0; l < lines; ++l) {
                FillRows(column, lineFrom[l][d], lineTo[l][d], now);
            }
        }
        // The row an area's top crosses, in proportion. With no other top in that
        // row, the pixel lies between the ones with and without the area.
        for (std::size_t k = 0; k < areaCount; ++k) {
            full[k][d] = now[k];
            const int row = now[k] - 1;
            edge[k][d] = -1;
            if (static_cast<float>(now[k]) == top[k] || row < 0) {
                continue;
            }
            edge[k][d] = row;
            std::size_t under = 0;
            bool shared = false;
            for (std::size_t j = 0; j < areaCount; ++j) {
                if (j != k && now[j] <= row) {
                    under |= std::size_t{1} << j;
                }
                shared = shared || (j != k && now[j] - 1 == row && top[j] != row + 1.f);
            }
            std::uint32_t& pixel =
                image.pixels[static_cast<std::ptrdiff_t>(row) * image.stride + column];
            const float coverage = static_cast<float>(row + 1) - top[k];
            if (!shared) {
                const auto y = static_cast<std::size_t>(row);
                pixel = Blend(table[under][y], table[under | std::size_t{1} << k][y],
                              static_cast<std::uint32_t>(coverage * 256.f + 0.5f));
                continue;
            }
            Pixel p;
            for (std::size_t j = 0; j < areaCount; ++j) {
                const float c = std::clamp(static_cast<float>(row + 1) - top[j], 0.f, 1.f);
                p = Over(p, areas[j].colour, AreaAlpha(areas[j], row, image.height) * c);
            }
            pixel = Pack(p);
        }
    }
    lines = 0;
}

void TracePainter::Line(std::span<const float> tops, std::span<const float> bottoms, CColor colour,
                        float alpha) {
    DrawLine(image, tops, bottoms, colour, alpha);
    if (lines < kMaxLines) {
        const std::size_t columns = std::min({lineFrom[lines].size(), tops.size(), bottoms.size()});
        for (std::size_t d = 0; d < columns; ++d) {
            lineFrom[lines][d] = static_cast<int>(std::floor(ClampY(tops[d], image.height)));
            lineTo[lines][d] = static_cast<int>(std::ceil(ClampY(bottoms[d], image.height)));
        }
    }
    ++lines; // more than kMaxLines: the next picture is drawn whole
}

void DrawLine(const Image& image, std::span<const float> tops, std::span<const float> bottoms,
              CColor colour, float alpha) {
    const int columns =
        std::min({image.width, static_cast<int>(tops.size()), static_cast<int>(bottoms.size())});
    const std::uint32_t opaque = 0xff000000u | std::uint32_t{colour.red} << 16 |
                                 std::uint32_t{colour.green} << 8 | colour.blue;
    const float scale = 256.f * std::clamp(alpha, 0.f, 1.f);
    for (int d = 0; d < columns; ++d) {
        const float top = ClampY(tops[d], image.height);
        const float bottom = ClampY(bottoms[d], image.height);
        const int end = static_cast<int>(std::ceil(bottom));
        for (int y = static_cast<int>(std::floor(top)); y < end; ++y) {
            const float coverage =
                std::min(static_cast<float>(y + 1), bottom) - std::max(static_cast<float>(y), top);
            std::uint32_t& p = image.pixels[static_cast<std::ptrdiff_t>(y) * image.stride + d];
            p = Blend(p, opaque, static_cast<std::uint32_t>(coverage * scale + 0.5f));
        }
    }
}

} // namespace zkeditor::raster
