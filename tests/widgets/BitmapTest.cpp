#include "WidgetTestSupport.h"

#include <gtest/gtest.h>

namespace {

void PaintHalfRedHalfClear(cairo_t* cr, double) {
    cairo_set_source_rgb(cr, 1, 0, 0);
    cairo_rectangle(cr, 0, 0, 4, 8);
    cairo_fill(cr);
    cairo_set_source_rgb(cr, 0, 0, 0); // exactly the transparent colour
    cairo_rectangle(cr, 4, 0, 2, 8);
    cairo_fill(cr);
    // x 6..7 stays clear
}

constexpr CBitmapDescription kTable[] = {
    {501, "test", 8, 8, 1, 1, PaintHalfRedHalfClear},
};

TEST(Bitmap, UnknownIdIsReportedByNumberAndDrawsNothing) {
    CBitmap::setBitmapTable(kTable);
    testing::internal::CaptureStderr();
    CBitmap missing(999);
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_FALSE(missing.isLoaded());
    EXPECT_NE(message.find("999"), std::string::npos) << message;
    COffscreenContext ctx(4, 4, 1.0, kWhiteCColor);
    missing.draw(&ctx, CRect(0, 0, 4, 4));
    EXPECT_EQ(ctx.getPixel(1, 1), kWhiteCColor);
    CBitmap::setBitmapTable({});
}

TEST(Bitmap, TableEntryIsFoundAndRenderedAtEachScale) {
    CBitmap::setBitmapTable(kTable);
    CBitmap bitmap(501);
    ASSERT_TRUE(bitmap.isLoaded());
    EXPECT_EQ(bitmap.getWidth(), 8);
    for (double scale : {1.0, 1.5, 2.0}) {
        cairo_surface_t* s = bitmap.getSurface(scale);
        EXPECT_EQ(cairo_image_surface_get_width(s), static_cast<int>(8 * scale));
        EXPECT_EQ(cairo_image_surface_get_height(s), static_cast<int>(8 * scale));
    }
    CBitmap::setBitmapTable({});
}

TEST(Bitmap, TransparentDrawLeavesKeyedAndClearPixelsOut) {
    CBitmap bitmap(8, 8, [](cairo_t* cr, double s) { PaintHalfRedHalfClear(cr, s); });
    COffscreenContext opaque(8, 8, 2.0, kWhiteCColor);
    bitmap.draw(&opaque, CRect(0, 0, 8, 8));
    EXPECT_EQ(opaque.getPixel(2, 2), kRedCColor);
    EXPECT_EQ(opaque.getPixel(9, 2), kBlackCColor);  // keyed black shows as black
    EXPECT_EQ(opaque.getPixel(13, 2), kBlackCColor); // clear shows the transparent colour

    COffscreenContext keyed(8, 8, 2.0, kWhiteCColor);
    bitmap.drawTransparent(&keyed, CRect(0, 0, 8, 8));
    EXPECT_EQ(keyed.getPixel(2, 2), kRedCColor);
    EXPECT_EQ(keyed.getPixel(9, 2), kWhiteCColor);
    EXPECT_EQ(keyed.getPixel(13, 2), kWhiteCColor);

    bitmap.setTransparentColor(kRedCColor); // now the red half is the key
    COffscreenContext rekeyed(8, 8, 1.0, kWhiteCColor);
    bitmap.drawTransparent(&rekeyed, CRect(0, 0, 8, 8));
    EXPECT_EQ(rekeyed.getPixel(1, 1), kWhiteCColor);
    EXPECT_EQ(rekeyed.getPixel(4, 1), kBlackCColor);
}

TEST(Bitmap, OffsetSelectsTheFrameOfAStrip) {
    auto strip = zktest::MakeStrip(6, 5, 4);
    COffscreenContext ctx(6, 5, 1.5);
    strip->draw(&ctx, CRect(0, 0, 6, 5), CPoint(0, 10));
    for (int y = 0; y < 7; ++y) { // 7.5 device rows: the last one is half covered
        EXPECT_EQ(ctx.getPixel(4, y), zktest::StripColor(2)) << "device row " << y;
    }
}

} // namespace
