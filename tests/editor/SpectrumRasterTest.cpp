// The spectrum view's drawing at device resolution: the areas' pixels against an
// independent compositing of their colours, lines' coverage, and where a trace
// lands at 1x and 2x.

#include "editor/SpectrumRaster.h"
#include "editor/CZkmorvaSpectrumView.h"
#include "widgets/CDrawContext.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

namespace {

namespace raster = zkeditor::raster;

struct Rgba {
    double a = 0, r = 0, g = 0, b = 0; // premultiplied, 0..255
};

Rgba Channels(std::uint32_t p) {
    return {double(p >> 24), double(p >> 16 & 0xff), double(p >> 8 & 0xff), double(p & 0xff)};
}

// Porter-Duff over of a colour at opacity alpha.
Rgba Over(const Rgba& dst, CColor c, double alpha) {
    return {255 * alpha + dst.a * (1 - alpha), c.red * alpha + dst.r * (1 - alpha),
            c.green * alpha + dst.g * (1 - alpha), c.blue * alpha + dst.b * (1 - alpha)};
}

void ExpectPixel(std::uint32_t got, const Rgba& want, const char* what, int x, int y) {
    const Rgba g = Channels(got);
    EXPECT_NEAR(g.a, want.a, 1.0) << what << " at " << x << "," << y;
    EXPECT_NEAR(g.r, want.r, 1.0) << what << " at " << x << "," << y;
    EXPECT_NEAR(g.g, want.g, 1.0) << what << " at " << x << "," << y;
    EXPECT_NEAR(g.b, want.b, 1.0) << what << " at " << x << "," << y;
}

TEST(SpectrumRaster, DeviceColumnsAndInterpolation) {
    for (double scale : {1.0, 1.5, 2.0}) {
        for (int d : {0, 1, 7, 300}) {
            EXPECT_DOUBLE_EQ(
                raster::DeviceColumnOfPosition(raster::PositionOfDeviceColumn(d, scale), scale), d)
                << "scale " << scale;
        }
    }
    // At 2x two device columns share a column, a quarter to each side of its centre.
    EXPECT_DOUBLE_EQ(raster::PositionOfDeviceColumn(6, 2.0), 2.75);
    EXPECT_DOUBLE_EQ(raster::PositionOfDeviceColumn(7, 2.0), 3.25);
    const std::vector<float> v{10.f, 20.f, 40.f};
    EXPECT_FLOAT_EQ(raster::Interpolate(v, 1.25), 25.f);
    EXPECT_FLOAT_EQ(raster::Interpolate(v, -0.25), 10.f);
    EXPECT_FLOAT_EQ(raster::Interpolate(v, 2.75), 40.f);
}

// Two overlapping areas in a 3 x 12 image: transparent above both, the first alone,
// the second over the first, and the rows their tops cross in proportion.
TEST(SpectrumRaster, AreasCompositeInOrder) {
    constexpr int kW = 3, kH = 12;
    std::vector<std::uint32_t> pixels(kW * kH, 0x12345678u);
    const raster::Image image{pixels.data(), kW, kH, kW};
    const std::vector<float> lowTops{6.f, 6.5f, 13.f}, highTops{3.f, 4.25f, NAN};
    const CColor grey{170, 200, 190, 255}, amber{255, 191, 0, 255};
    const raster::Area areas[] = {{lowTops, grey, 0.22f, 0.04f}, {highTops, amber, 0.3f, 0.06f}};
    raster::TracePainter painter;
    painter.Areas(image, areas);

    auto alpha = [](double top, double bottom, int y) {
        return top + (bottom - top) * (y + 0.5) / kH;
    };
    for (int x = 0; x < kW; ++x) {
        for (int y = 0; y < kH; ++y) {
            const double low = std::clamp(y + 1.0 - lowTops[x], 0.0, 1.0);
            const double high =
                std::isnan(highTops[x]) ? 0.0 : std::clamp(y + 1.0 - highTops[x], 0.0, 1.0);
            Rgba want;
            want = Over(want, grey, alpha(0.22, 0.04, y) * low);
            want = Over(want, amber, alpha(0.3, 0.06, y) * high);
            ExpectPixel(pixels[y * kW + x], want, "area pixel", x, y);
        }
    }
}

// Pictures drawn one after another into the same image, where only what changed
// is written again, come out as each drawn afresh: tops that move up and down,
// cross each other and leave the image, edges and lines that come and go, and
// areas whose colours change.
TEST(SpectrumRaster, EachPictureAsIfDrawnAfresh) {
    constexpr int kW = 40, kH = 30;
    std::mt19937 random(7);
    std::uniform_real_distribution<float> y(-3.f, kH + 3.f);
    std::vector<std::uint32_t> kept(kW * kH), fresh(kW * kH);
    const raster::Image keptImage{kept.data(), kW, kH, kW}, freshImage{fresh.data(), kW, kH, kW};
    raster::TracePainter painter;
    std::array<std::vector<float>, 4> tops;
    std::vector<float> lineTops(kW), lineBottoms(kW);
    for (int picture = 0; picture < 40; ++picture) {
        std::vector<raster::Area> areas;
        for (std::size_t k = 0; k < tops.size(); ++k) {
            tops[k].resize(kW);
            for (float& t : tops[k]) {
                // Mostly small steps, some jumps, some whole rows.
                t = picture == 0 || random() % 4 == 0 ? y(random) : t + (y(random) - 15.f) / 8.f;
                t = random() % 7 == 0 ? std::round(t) : t;
            }
            const CColor colour{static_cast<unsigned char>(60 * k), 200,
                                static_cast<unsigned char>(picture >= 30 ? 90 : 30), 255};
            areas.push_back({tops[k], colour, 0.2f + 0.1f * k, 0.05f});
        }
        raster::TracePainter afresh;
        afresh.Areas(freshImage, areas);
        painter.Areas(keptImage, areas);
        for (int l = 0; l < picture % 3; ++l) {
            for (int d = 0; d < kW; ++d) {
                lineTops[d] = y(random);
                lineBottoms[d] = lineTops[d] + 1.5f;
            }
            afresh.Line(lineTops, lineBottoms, {255, 255, 255, 255}, 0.6f);
            painter.Line(lineTops, lineBottoms, {255, 255, 255, 255}, 0.6f);
        }
        ASSERT_EQ(kept, fresh) << "picture " << picture;
    }
}

TEST(SpectrumRaster, LinesCoverRowsInProportion) {
    constexpr int kW = 2, kH = 8;
    std::vector<std::uint32_t> pixels(kW * kH, 0xff000000u); // opaque black
    const raster::Image image{pixels.data(), kW, kH, kW};
    const std::vector<float> tops{3.25f, 1.f}, bottoms{4.75f, 2.f};
    const CColor c{255, 128, 0, 255};
    raster::DrawLine(image, tops, bottoms, c, 0.8f);
    const Rgba black{255, 0, 0, 0};
    for (int y = 0; y < kH; ++y) {
        const double first = y == 3 || y == 4 ? 0.75 : 0.0;
        const double second = y == 1 ? 1.0 : 0.0;
        ExpectPixel(pixels[y * kW], Over(black, c, 0.8 * first), "line", 0, y);
        ExpectPixel(pixels[y * kW + 1], Over(black, c, 0.8 * second), "line", 1, y);
    }
}

// A trace one level left of column 100 and another right of it, drawn by the view
// on a transparent image at 1x and 2x: each column's first painted row is where
// the level's row falls at that scale, and the step between the two sits halfway
// between the column centres (logical 100, device 200 at 2x).
TEST(SpectrumRaster, ViewPlacesTracesAtEveryScale) {
    const CRect rect(10, 20, 210, 120);
    CZkmorvaSpectrumView view(rect);
    CZkmorvaSpectrumView::Trace trace;
    for (int c = 0; c < rect.width(); ++c) {
        trace.levels.push_back(c < 100 ? -20.f : -50.f);
    }
    trace.colour = {255, 191, 0, 255};
    view.setTraces(std::span(&trace, 1));
    for (double scale : {1.0, 2.0}) {
        COffscreenContext image(220, 130, scale, kTransparentCColor);
        view.draw(&image);
        auto firstPainted = [&](int x) {
            for (int y = 0; y < image.getDeviceHeight(); ++y) {
                if (image.getPixel(x, y).alpha != 0) {
                    return y;
                }
            }
            return -1;
        };
        const auto device = [&](double v) { return static_cast<int>(std::floor(v * scale)); };
        const int left = device(rect.left);
        EXPECT_EQ(firstPainted(left + device(50)), device(view.yOfLevel(-20.0))) << scale << "x";
        EXPECT_EQ(firstPainted(left + device(150)), device(view.yOfLevel(-50.0))) << scale << "x";
        EXPECT_EQ(firstPainted(left - 1), -1) << "left of the view at " << scale << "x";
        EXPECT_EQ(firstPainted(device(rect.right)), -1) << "right of the view at " << scale << "x";
        // The first column of the lower level: logical 100 at 1x; at 2x device
        // column 200 lies mostly on it.
        const int step = left + device(100);
        EXPECT_LT(firstPainted(step - 1), device(view.yOfLevel(-35.0))) << scale << "x";
        EXPECT_GT(firstPainted(step), device(view.yOfLevel(-35.0))) << scale << "x";
    }
}

} // namespace
