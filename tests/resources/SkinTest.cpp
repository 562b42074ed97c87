#include "resources/SkinIds.h"
#include "resources/SkinSheet.h"
#include "resources/SkinTable.h"
#include "widgets/CAnimKnob.h"
#include "widgets/CFrame.h"
#include "widgets/COnOffButton.h"
#include "widgets/CVuMeter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

namespace {

int CountOpaque(const COffscreenContext& ctx) {
    int n = 0;
    for (int y = 0; y < ctx.getDeviceHeight(); ++y) {
        for (int x = 0; x < ctx.getDeviceWidth(); ++x) {
            n += ctx.getPixel(x, y).alpha > 0;
        }
    }
    return n;
}

TEST(Skin, EveryBitmapRendersAtItsStatedSizeAndScale) {
    skin::installSkin();
    std::set<int> ids;
    for (const CBitmapDescription& d : skin::SkinTable()) {
        EXPECT_TRUE(ids.insert(d.id).second) << "duplicate id " << d.id;
        CBitmap bitmap(d.id);
        ASSERT_TRUE(bitmap.isLoaded()) << d.id;
        EXPECT_EQ(d.height % d.frames, 0) << d.name << ": frames must tile the height";
        EXPECT_EQ(d.width % d.columns, 0) << d.name;
        for (double scale : {1.0, 2.0}) {
            cairo_surface_t* s = bitmap.getSurface(scale);
            ASSERT_NE(s, nullptr);
            EXPECT_EQ(cairo_surface_status(s), CAIRO_STATUS_SUCCESS) << d.name;
            EXPECT_EQ(cairo_image_surface_get_width(s), static_cast<int>(d.width * scale));
            EXPECT_EQ(cairo_image_surface_get_height(s), static_cast<int>(d.height * scale));
        }
        COffscreenContext ctx(d.width, d.height, 1.0, kTransparentCColor);
        bitmap.drawTransparent(&ctx, CRect(0, 0, d.width, d.height));
        EXPECT_GT(CountOpaque(ctx), 0) << d.name << " draws nothing";
    }
    for (int id : {10, 12, 13, 14, 20, 21, 22, 23, 24, 25, 30, 31, 32, 33, 40, 41, 46, 47, 48}) {
        EXPECT_TRUE(ids.count(id)) << "editors load bitmap " << id;
    }
}

TEST(Skin, SizesMatchTheControlsThatShowThem) {
    skin::installSkin();
    const struct {
        int id;
        CCoord frameWidth, frameHeight;
        int frames;
    } expected[] = {
        {10, 1024, 283, 1}, {13, 1024, 530, 1}, {20, 30, 30, 101}, {21, 50, 50, 101},
        {22, 64, 64, 21},   {25, 12, 12, 2},    {30, 7, 103, 1},   {31, 7, 151, 1},
        {40, 374, 258, 1},  {12, 85, 255, 3},   {14, 32, 283, 2},
    };
    for (const auto& e : expected) {
        CBitmap b(e.id);
        EXPECT_EQ(b.getWidth() / b.getNumColumns(), e.frameWidth) << e.id;
        EXPECT_EQ(b.getHeight() / b.getNumFrames(), e.frameHeight) << e.id;
        EXPECT_EQ(b.getNumFrames(), e.frames) << e.id;
    }
}

TEST(Skin, KnobFramesDifferAndTheArcGrowsWithTheValue) {
    skin::installSkin();
    CBitmap strip(skin::kSmallKnob);
    CAnimKnob knob(CRect(0, 0, 30, 30), nullptr, 3, &strip);
    auto amberPixels = [&](float value) {
        knob.setValue(value);
        COffscreenContext ctx(30, 30, 2.0);
        knob.draw(&ctx);
        int n = 0;
        for (int y = 0; y < 60; ++y) {
            for (int x = 0; x < 60; ++x) {
                const CColor c = ctx.getPixel(x, y);
                n += c.red > 200 && c.green > 120 && c.green < 190 && c.blue < 90;
            }
        }
        return n;
    };
    const int low = amberPixels(0.1f), mid = amberPixels(0.5f), high = amberPixels(1.f);
    EXPECT_LT(low, mid);
    EXPECT_LT(mid, high);
}

TEST(Skin, LedButtonAndMeterShowTheirStates) {
    skin::installSkin();
    CBitmap led(skin::kLedButton);
    COnOffButton button(CRect(0, 0, 12, 12), nullptr, 0, &led);
    button.setTransparency(true);
    COffscreenContext off(12, 12), on(12, 12);
    button.draw(&off);
    button.setValue(1.f);
    button.draw(&on);
    EXPECT_LT(off.getPixel(6, 6).red + 100, on.getPixel(6, 6).red);

    CBitmap leds(skin::kMeter76);
    CVuMeter meter(CRect(0, 0, 7, 151), &leds, nullptr, 76, kVertical);
    meter.setValue(0.5f);
    COffscreenContext ctx(7, 151);
    meter.draw(&ctx);
    int lit = 0;
    for (int y = 0; y < 151; ++y) {
        lit += ctx.getPixel(3, y).green > 100;
    }
    EXPECT_EQ(lit, 38);
    EXPECT_GT(ctx.getPixel(3, 150).green, 150) << "bottom LED is green";
    meter.setValue(1.f);
    meter.draw(&ctx);
    EXPECT_GT(ctx.getPixel(3, 0).red, 200) << "top LED is red";
    EXPECT_LT(ctx.getPixel(3, 0).green, 100);
}

TEST(Skin, SheetToolWritesEveryBitmapAndAContactSheet) {
    const auto folder = std::filesystem::temp_directory_path() / "zk_skin_sheet_test";
    std::filesystem::remove_all(folder);
    std::vector<std::string> errors;
    const auto written = skin::WriteSkinSheet(folder.string(), 1.0, errors);
    EXPECT_TRUE(errors.empty()) << errors.front();
    EXPECT_EQ(written.size(), skin::SkinTable().size() + 1);
    EXPECT_TRUE(std::filesystem::exists(folder / "contact-sheet@1x.png"));
    EXPECT_TRUE(std::filesystem::exists(folder / "22-joystick-64@1x.png"));
    std::filesystem::remove_all(folder);

    errors.clear();
    skin::WriteSkinSheet("/proc/zk-no-such-place", 1.0, errors);
    ASSERT_FALSE(errors.empty());
    EXPECT_NE(errors.front().find("/proc/zk-no-such-place"), std::string::npos);
}

} // namespace
