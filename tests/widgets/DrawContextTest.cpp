#include "widgets/CDrawContext.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

namespace {

bool IsWhite(const CColor& c) {
    return c.red == 255 && c.green == 255 && c.blue == 255;
}
bool IsBlack(const CColor& c) {
    return c.red == 0 && c.green == 0 && c.blue == 0;
}

TEST(DrawContext, OnePixelLineIsSharpAtOneAndTwoTimesScale) {
    for (double scale : {1.0, 2.0}) {
        COffscreenContext ctx(20, 20, scale);
        ctx.setFrameColor(kWhiteCColor);
        ctx.drawLine(CPoint(2, 5), CPoint(17, 5));
        const int s = static_cast<int>(scale);
        for (int dy = 0; dy < s; ++dy) {
            EXPECT_TRUE(IsWhite(ctx.getPixel(10 * s, 5 * s + dy))) << "scale " << scale;
        }
        EXPECT_TRUE(IsBlack(ctx.getPixel(10 * s, 5 * s - 1))) << "scale " << scale;
        EXPECT_TRUE(IsBlack(ctx.getPixel(10 * s, 6 * s))) << "scale " << scale;
        EXPECT_EQ(ctx.getDeviceWidth(), 20 * s);
    }
}

TEST(DrawContext, DashedLineHasGapsAndSolidLineHasNone) {
    COffscreenContext ctx(40, 10);
    ctx.setFrameColor(kWhiteCColor);
    ctx.setLineStyle(kLineOnOffDash);
    ctx.drawLine(CPoint(0, 2), CPoint(39, 2));
    ctx.setLineStyle(kLineSolid);
    ctx.drawLine(CPoint(0, 6), CPoint(39, 6));
    int dashedLit = 0, solidLit = 0;
    for (int x = 0; x < 40; ++x) {
        dashedLit += IsWhite(ctx.getPixel(x, 2));
        solidLit += IsWhite(ctx.getPixel(x, 6));
    }
    EXPECT_EQ(solidLit, 40);
    EXPECT_GT(dashedLit, 10);
    EXPECT_LT(dashedLit, 30);
}

TEST(DrawContext, AntialiasModeBlendsEdgesAndCopyModeDoesNot) {
    auto countGreys = [](CDrawMode mode) {
        COffscreenContext ctx(30, 30);
        ctx.setDrawMode(mode);
        ctx.setFrameColor(kWhiteCColor);
        ctx.drawLine(CPoint(0, 0), CPoint(29, 17));
        int greys = 0;
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 30; ++x) {
                const CColor c = ctx.getPixel(x, y);
                greys += !IsWhite(c) && !IsBlack(c);
            }
        }
        return greys;
    };
    EXPECT_EQ(countGreys(kCopyMode), 0);
    EXPECT_GT(countGreys(kAntialias), 10);
}

TEST(DrawContext, PolygonAndRectFillOnlyTheirInside) {
    COffscreenContext ctx(20, 20);
    ctx.setFillColor(kRedCColor);
    const CPoint triangle[] = {{0, 0}, {19, 0}, {0, 19}};
    ctx.drawPolygon(triangle, 3, kDrawFilled);
    EXPECT_EQ(ctx.getPixel(3, 3), kRedCColor);
    EXPECT_TRUE(IsBlack(ctx.getPixel(17, 17)));

    ctx.setFillColor(kGreenCColor);
    ctx.fillRect(CRect(10, 10, 14, 12));
    EXPECT_EQ(ctx.getPixel(10, 10), kGreenCColor);
    EXPECT_EQ(ctx.getPixel(13, 11), kGreenCColor);
    EXPECT_TRUE(IsBlack(ctx.getPixel(14, 11))); // right edge is exclusive
    EXPECT_TRUE(IsBlack(ctx.getPixel(13, 12)));
}

TEST(DrawContext, TextStaysInItsRect) {
    COffscreenContext ctx(80, 30);
    ctx.setFont(kNormalFontSmaller);
    ctx.setFontColor(kWhiteCColor);
    const CRect box(10, 5, 60, 20);
    ctx.drawString("Gain 88", box);
    int inside = 0, outside = 0;
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 80; ++x) {
            const bool lit = ctx.getPixel(x, y).red > 60;
            (box.pointInside(CPoint(x, y)) ? inside : outside) += lit;
        }
    }
    EXPECT_GT(inside, 20);
    EXPECT_EQ(outside, 0);
}

TEST(DrawContext, PngIsWrittenAndABadPathIsReportedByName) {
    COffscreenContext ctx(8, 8, 1.5);
    EXPECT_EQ(ctx.getDeviceWidth(), 12);
    const auto path = std::filesystem::temp_directory_path() / "zk_draw_context_test.png";
    std::string error;
    ASSERT_TRUE(ctx.writePNG(path.string(), &error)) << error;
    EXPECT_GT(std::filesystem::file_size(path), 0u);
    EXPECT_FALSE(std::filesystem::exists(path.string() + ".part")) << "renamed into place";
    std::filesystem::remove(path);

    EXPECT_FALSE(ctx.writePNG("/no/such/folder/x.png", &error));
    EXPECT_NE(error.find("/no/such/folder/x.png"), std::string::npos) << error;
}

TEST(DrawContext, OffscreenCopiesBothWays) {
    COffscreenContext screen(20, 20, 2.0);
    screen.setFillColor(kBlueCColor);
    screen.fillRect(CRect(5, 5, 10, 10));

    COffscreenContext image(5, 5, 2.0, kRedCColor);
    image.copyTo(&screen, CRect(5, 5, 10, 10)); // screen -> image
    EXPECT_EQ(image.getPixel(0, 0), kBlueCColor);
    EXPECT_EQ(image.getPixel(9, 9), kBlueCColor);

    image.setFillColor(kGreenCColor);
    image.fillRect(CRect(0, 0, 2, 2));
    image.copyFrom(&screen, CRect(12, 12, 17, 17)); // image -> screen
    EXPECT_EQ(screen.getPixel(24, 24), kGreenCColor);
    EXPECT_EQ(screen.getPixel(33, 33), kBlueCColor);
    EXPECT_TRUE(IsBlack(screen.getPixel(35, 35)));
}

} // namespace
