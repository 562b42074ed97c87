#include "WidgetTestSupport.h"

#include "widgets/CFrame.h"
#include "widgets/CMovieBitmap.h"
#include "widgets/COnOffButton.h"
#include "widgets/CTextLabel.h"
#include "widgets/CVuMeter.h"

#include <gtest/gtest.h>

namespace {

using zktest::MakeStrip;
using zktest::StripColor;

// The last frame of a strip drawn at 2x, as the editors' knobs draw theirs.
TEST(ControlDraw, TwiceTheScaleGivesTwiceTheImageWithFlatFrames) {
    auto strip = MakeStrip(30, 30, 11);
    COffscreenContext ctx(30, 30, 2.0);
    strip->draw(&ctx, CRect(0, 0, 30, 30), CPoint(0, 300));
    ASSERT_EQ(ctx.getDeviceWidth(), 60);
    ASSERT_EQ(ctx.getDeviceHeight(), 60);
    // Every device pixel is the last frame's colour: no blur from a neighbour frame.
    for (int y = 0; y < 60; ++y) {
        EXPECT_EQ(ctx.getPixel(0, y), StripColor(10)) << "row " << y;
        EXPECT_EQ(ctx.getPixel(59, y), StripColor(10)) << "row " << y;
    }
}

TEST(ControlDraw, OnOffButtonShowsLowerHalfWhenOn) {
    auto strip = MakeStrip(12, 12, 2);
    COnOffButton button(CRect(0, 0, 12, 12), nullptr, 2, strip.get());
    COffscreenContext off(12, 12), on(12, 12);
    button.setValue(0.f);
    button.draw(&off);
    button.setValue(1.f);
    button.draw(&on);
    EXPECT_EQ(off.getPixel(6, 6), StripColor(0));
    EXPECT_EQ(on.getPixel(6, 6), StripColor(1));
}

TEST(ControlDraw, MovieBitmapRoundsToTheNearestFrame) {
    auto strip = MakeStrip(10, 4, 3);
    CMovieBitmap movie(CRect(0, 0, 10, 4), nullptr, 200, strip.get());
    const std::pair<float, int> cases[] = {{0.f, 0}, {0.24f, 0}, {0.26f, 1}, {0.5f, 1}, {1.f, 2}};
    for (auto [value, frame] : cases) {
        movie.setValue(value);
        EXPECT_EQ(movie.frameIndex(), frame) << value;
        COffscreenContext ctx(10, 4);
        movie.draw(&ctx);
        EXPECT_EQ(ctx.getPixel(5, 2), StripColor(frame)) << value;
    }
}

// 76 LEDs, 1 px high with 1 px gaps from the bottom up: 151 px.
std::unique_ptr<CBitmap> MakeLedStrip(int leds) {
    const int height = 2 * leds - 1;
    return std::make_unique<CBitmap>(7, height, [leds, height](cairo_t* cr, double) {
        cairo_set_source_rgb(cr, 0, 1, 0);
        for (int k = 1; k <= leds; ++k) {
            cairo_rectangle(cr, 0, height - 2 * k + 1, 7, 1);
        }
        cairo_fill(cr);
    });
}

int CountLitLeds(const COffscreenContext& ctx, int height) {
    int lit = 0;
    for (int y = 0; y < height; ++y) {
        lit += ctx.getPixel(3, y).green == 255;
    }
    return lit;
}

TEST(ControlDraw, VuMeterLightsTheQuantisedNumberOfLeds) {
    for (int leds : {76, 52}) {
        auto on = MakeLedStrip(leds);
        const int height = 2 * leds - 1;
        for (bool offscreen : {false, true}) {
            CVuMeter meter(CRect(0, 0, 7, height), on.get(), nullptr, leds, kVertical);
            meter.setUseOffscreen(offscreen);
            meter.setDecreaseStepValue(1.f); // no decay in this test
            for (float value : {0.f, 0.25f, 0.5f, 0.9936f, 1.f}) {
                meter.setValue(value);
                COffscreenContext ctx(7, height);
                meter.draw(&ctx);
                const int expected = leds - static_cast<int>(leds * (1.f - value) + 0.5f);
                EXPECT_EQ(CountLitLeds(ctx, height), expected)
                    << leds << " LEDs, value " << value << (offscreen ? " off-screen" : "");
            }
        }
    }
}

TEST(ControlDraw, VuMeterFallsBackByTheDecreaseStep) {
    auto on = MakeLedStrip(76);
    CVuMeter meter(CRect(0, 0, 7, 151), on.get(), nullptr, 76, kVertical);
    meter.setDecreaseStepValue(0.1f);
    meter.setValue(1.f);
    COffscreenContext first(7, 151);
    meter.draw(&first);
    EXPECT_EQ(CountLitLeds(first, 151), 76);
    meter.setValue(0.f);
    EXPECT_TRUE(meter.isDirty());
    COffscreenContext second(7, 151);
    meter.draw(&second);
    EXPECT_EQ(CountLitLeds(second, 151), 76 - static_cast<int>(76 * 0.1f + 0.5f));
    EXPECT_TRUE(meter.isDirty()) << "still decaying";
}

TEST(ControlDraw, TextLabelDrawsInFontColorOverNothingWhenTransparent) {
    CTextLabel label(CRect(0, 0, 40, 14), "EQ");
    label.setTransparency(true);
    label.setFontColor(kYellowCColor);
    label.setFont(kNormalFont);
    COffscreenContext ctx(40, 14, 1.0, kBlueCColor);
    label.draw(&ctx);
    int yellow = 0;
    for (int y = 0; y < 14; ++y) {
        for (int x = 0; x < 40; ++x) {
            yellow += ctx.getPixel(x, y).red > 200 && ctx.getPixel(x, y).green > 200;
        }
    }
    EXPECT_GT(yellow, 5);
    EXPECT_EQ(ctx.getPixel(1, 1), kBlueCColor); // no background fill
}

} // namespace
