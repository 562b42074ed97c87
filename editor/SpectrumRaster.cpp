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

// dst moved towards the opaque colour by weight/256: the colour at opacity
// weight/256 over dst, two channels per step.
std::uint32_t Blend(std::uint32_t dst, std::uint32_t opaque, std::uint32_t weight) {
    constexpr std::uint32_t kMask = 0x00ff00ff;
    const std::uint32_t keep = 256 - weight;
    const std::uint32_t rb = ((dst & kMask) * keep + (opaque & kMask) * weight) >> 8;
    const std::uint32_t ag = ((dst >> 8 & kMask) * keep + (opaque >> 8 & kMask) * weight) >> 8;
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

void AreaPainter::PrepareTable(std::span<const Area> areas, int height) {
    std::vector<CColor> colours;
    std::vector<float> alphas;
    for (const Area& a : areas) {
        colours.push_back(a.colour);
        alphas.push_back(a.topAlpha);
        alphas.push_back(a.bottomAlpha);
    }
    if (height == tableHeight && colours == tableColours && alphas == tableAlphas) {
        return;
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
}

void AreaPainter::Draw(const Image& image, std::span<const Area> areas, int firstRow) {
    areas = areas.first(std::min(areas.size(), kMaxAreas));
    const int height = image.height;
    firstRow = std::clamp(firstRow, 0, height);
    PrepareTable(areas, height);
    const std::size_t count = areas.size();
    for (int d = 0; d < image.width; ++d) {
        // Each area's top and its first fully covered row, in the order of those rows.
        std::array<float, kMaxAreas> top{};
        std::array<int, kMaxAreas> full{};
        std::array<std::size_t, kMaxAreas> order{};
        for (std::size_t k = 0; k < count; ++k) {
            const std::span<const float> tops = areas[k].tops;
            top[k] = ClampY(static_cast<std::size_t>(d) < tops.size() ? tops[d] : NAN, height);
            full[k] = static_cast<int>(std::ceil(top[k]));
            order[k] = k;
            for (std::size_t i = k; i > 0 && full[order[i]] < full[order[i - 1]]; --i) {
                std::swap(order[i], order[i - 1]);
            }
        }
        std::uint32_t* column = image.pixels + d;
        auto fill = [&](int from, int to, std::size_t set) {
            const std::uint32_t* colours = table[set].data();
            std::uint32_t* p = column + static_cast<std::ptrdiff_t>(from) * image.stride;
            for (int y = from; y < to; ++y, p += image.stride) {
                *p = colours[y];
            }
        };
        int y = firstRow;
        std::size_t set = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t k = order[i];
            if (full[k] > y) {
                fill(y, full[k], set);
                y = full[k];
            }
            set |= std::size_t{1} << k;
        }
        fill(y, height, set);
        // The rows an area's top crosses: every area with its coverage there.
        for (std::size_t k = 0; k < count; ++k) {
            const int row = full[k] - 1;
            if (static_cast<float>(full[k]) == top[k] || row < firstRow) {
                continue;
            }
            Pixel p;
            for (std::size_t j = 0; j < count; ++j) {
                const float coverage = std::clamp(static_cast<float>(row + 1) - top[j], 0.f, 1.f);
                p = Over(p, areas[j].colour, AreaAlpha(areas[j], row, height) * coverage);
            }
            column[static_cast<std::ptrdiff_t>(row) * image.stride] = Pack(p);
        }
    }
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
