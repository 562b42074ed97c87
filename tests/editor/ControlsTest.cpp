#include "widgets/WidgetTestSupport.h"

#include "editor/CAnimJoystick.h"
#include "editor/CAnimKnobEX.h"
#include "editor/CTextButton.h"
#include "editor/CVuMeterEX.h"
#include "widgets/AEffGUIEditor.h"
#include "widgets/CFrame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;

// An editor that logs its idle passes into the listener's record, so that the
// order of reports and idle work is visible.
struct LoggingEditor : AEffGUIEditor {
    explicit LoggingEditor(zktest::RecordingListener& l) : log(l) { setIdleInterval(0.0); }
    void idle() override { log.events.push_back("idle"); }
    zktest::RecordingListener& log;
};

struct KnobFixture : ::testing::Test {
    KnobFixture() {
        a = new CAnimKnobEX(CRect(100, 100, 130, 130), &listener, 7, strip.get());
        b = new CAnimKnobEX(CRect(200, 100, 230, 130), &listener, 8, strip.get());
        a->setValue(0.5f);
        a->setDefaultValue(0.25f);
        b->setValue(0.5f);
        frame.addView(a);
        frame.addView(b);
        frame.setKnobMode(kLinearMode);
    }
    // Presses a second apart: never a double click.
    void Drag(CPoint from, CPoint to, long buttons) {
        frame.dispatchMouseDown(from, buttons, clock += 1000.0);
        frame.dispatchMouseMoved(to, buttons);
        frame.dispatchMouseUp(to, 0);
    }
    std::unique_ptr<CBitmap> strip = zktest::MakeStrip(30, 30, 101);
    zktest::RecordingListener listener;
    CFrame frame{CRect(0, 0, 300, 300)};
    CAnimKnobEX* a;
    CAnimKnobEX* b;
    double clock = 0.0;
};

// A click and the press of a second one 300 ms and 2 px away: a double click.
void DoubleClick(CFrame& frame, CPoint where, double timeMs) {
    frame.dispatchMouseDown(where, kLButton, timeMs);
    frame.dispatchMouseUp(where, 0);
    frame.dispatchMouseDown(CPoint(where.h + 2, where.v), kLButton, timeMs + 300.0);
}

TEST_F(KnobFixture, AltClickOrDoubleClickResetsButControlClickDoesNot) {
    frame.dispatchMouseDown(CPoint(115, 115), kLButton | kControl, 0);
    frame.dispatchMouseUp(CPoint(115, 115), 0);
    frame.dispatchMouseDown(CPoint(115, 115), kLButton | kControl, 100); // a double click
    frame.dispatchMouseUp(CPoint(115, 115), 0);
    EXPECT_FLOAT_EQ(a->getValue(), 0.5f);
    listener.events.clear();
    frame.dispatchMouseDown(CPoint(115, 115), kLButton | kAlt, 0);
    EXPECT_THAT(listener.events, ElementsAre("begin 7", "changed 7", "end 7"));
    EXPECT_FLOAT_EQ(a->getValue(), 0.25f);
    EXPECT_FALSE(a->isEditing());

    // Two plain clicks too slow for a double click leave the knob; a double click resets it.
    b->setDefaultValue(0.25f);
    frame.dispatchMouseDown(CPoint(215, 115), kLButton, 2000);
    frame.dispatchMouseUp(CPoint(215, 115), 0);
    frame.dispatchMouseDown(CPoint(215, 115), kLButton, 2500);
    frame.dispatchMouseUp(CPoint(215, 115), 0);
    EXPECT_FLOAT_EQ(b->getValue(), 0.5f);
    listener.events.clear();
    DoubleClick(frame, CPoint(215, 115), 5000);
    EXPECT_THAT(listener.events, ElementsAre("begin 8", "end 8", "begin 8", "changed 8", "end 8"));
    EXPECT_FLOAT_EQ(b->getValue(), 0.25f);
    EXPECT_FALSE(b->isEditing());
}

TEST_F(KnobFixture, ShiftClickSwitchesEveryKnobBetweenLinearAndCircular) {
    Drag(CPoint(115, 115), CPoint(115, 115), kLButton | kShift);
    EXPECT_EQ(frame.getKnobMode(), kCircularMode);
    // Knob b now follows the angle over 270 degrees: from 12 o'clock to 3 o'clock
    // is a third more; past the end, in the dead zone below, and across it, the
    // value stays pinned at the end it left.
    frame.dispatchMouseDown(CPoint(215, 101), kLButton, clock += 1000.0);
    frame.dispatchMouseMoved(CPoint(229, 115), kLButton);
    EXPECT_NEAR(b->getValue(), 0.5f + 1.f / 3.f, 0.02f);
    for (const CPoint& p : {CPoint(220, 129), CPoint(210, 129)}) {
        frame.dispatchMouseMoved(p, kLButton);
        EXPECT_FLOAT_EQ(b->getValue(), 1.f) << p.h << "," << p.v;
    }
    frame.dispatchMouseUp(CPoint(210, 129), 0);
    // Shift again: back to linear, where the same gesture moves nothing (up 0, right 14
    // from a press 14 px above centre adds up to +0 only in circular terms).
    Drag(CPoint(115, 115), CPoint(115, 115), kLButton | kShift);
    EXPECT_EQ(frame.getKnobMode(), kLinearMode);
    b->setValue(0.5f);
    Drag(CPoint(215, 115), CPoint(215, 95), kLButton);
    EXPECT_NEAR(b->getValue(), 0.6f, 1e-5);
}

TEST_F(KnobFixture, FineDragRangeIsKeptForTheNextDrag) {
    Drag(CPoint(115, 115), CPoint(115, 85), kLButton | kControl); // 30 px of 600
    EXPECT_NEAR(a->getValue(), 0.55f, 1e-5);
    EXPECT_FLOAT_EQ(a->getDragRange(), 600.f);
    Drag(CPoint(115, 115), CPoint(115, 85), kLButton); // plain, still fine
    EXPECT_NEAR(a->getValue(), 0.6f, 1e-5);
    // A modifier change during a drag sets the range again, without a jump.
    frame.dispatchMouseDown(CPoint(115, 115), kLButton, clock += 1000.0);
    frame.dispatchMouseMoved(CPoint(115, 85), kLButton);
    EXPECT_NEAR(a->getValue(), 0.65f, 1e-5);
    frame.dispatchMouseMoved(CPoint(115, 85), kLButton | kShift);
    EXPECT_NEAR(a->getValue(), 0.65f, 1e-5);
    frame.dispatchMouseMoved(CPoint(115, 75), kLButton | kShift); // 10 px of 200
    EXPECT_NEAR(a->getValue(), 0.7f, 1e-5);
    frame.dispatchMouseUp(CPoint(115, 75), 0);
    EXPECT_FLOAT_EQ(a->getDragRange(), 200.f);
}

TEST_F(KnobFixture, ForcedLinearIgnoresTheModeAndShift) {
    a->setForceLinear(true);
    frame.setKnobMode(kCircularMode);
    Drag(CPoint(115, 115), CPoint(115, 95), kLButton | kShift);
    EXPECT_NEAR(a->getValue(), 0.6f, 1e-5);
    EXPECT_EQ(frame.getKnobMode(), kCircularMode);
}

TEST_F(KnobFixture, DragReportsAsOneGestureAndIsEditingOnlyMeanwhile) {
    frame.dispatchMouseDown(CPoint(115, 115), kLButton, 0);
    EXPECT_TRUE(a->isEditing());
    frame.dispatchMouseMoved(CPoint(115, 105), kLButton);
    frame.dispatchMouseMoved(CPoint(115, 105), kLButton);
    frame.dispatchMouseUp(CPoint(115, 105), 0);
    EXPECT_FALSE(a->isEditing());
    EXPECT_THAT(listener.events, ElementsAre("begin 7", "changed 7", "end 7"));
}

TEST_F(KnobFixture, WheelStepsAndControlMakesThemFiner) {
    EXPECT_TRUE(frame.dispatchWheel(CPoint(115, 115), 1.f, 0));
    EXPECT_NEAR(a->getValue(), 0.5f + 0.01667f, 1e-6);
    EXPECT_TRUE(frame.dispatchWheel(CPoint(115, 115), -2.f, kControl));
    EXPECT_NEAR(a->getValue(), 0.5f + 0.01667f - 2 * 0.01667f * 0.025f, 1e-6);
    a->setValue(1.f);
    listener.events.clear();
    frame.dispatchWheel(CPoint(115, 115), 3.f, 0); // at the end: no report
    EXPECT_TRUE(listener.events.empty());
    EXPECT_FALSE(frame.dispatchWheel(CPoint(10, 10), 1.f, 0)) << "no view under the pointer";
}

// Frame i of 101 from value i / 100 up; out-of-range values stay on the ends;
// an inverse strip runs backwards. What is drawn is that frame.
TEST_F(KnobFixture, FilmStripFrames) {
    // 0.01 is exactly on the boundary to frame 1: the upper frame; 0.53f * 3000
    // falls just short of 1590 in floats.
    const std::pair<float, CCoord> cases[] = {{1.f, 100},  {0.f, 0},     {0.01f, 1}, {0.53f, 53},
                                              {0.005f, 0}, {0.995f, 99}, {-0.5f, 0}, {7.f, 100}};
    for (const auto& [value, frameIndex] : cases) {
        a->setValue(value);
        EXPECT_EQ(a->stripOffset(), frameIndex * 30) << value;
    }
    a->setInverseBitmap(true);
    a->setValue(1.f);
    EXPECT_EQ(a->stripOffset(), 0);
    a->setInverseBitmap(false);
    COffscreenContext image(300, 300);
    a->draw(&image);
    EXPECT_TRUE(zktest::SameColor(image.getPixel(115, 115), zktest::StripColor(100)));
}

struct JoystickFixture : ::testing::Test {
    JoystickFixture() {
        stick = new CAnimJoystick(CRect(20, 20, 84, 84), &listener, 32, 33, strip.get());
        stick->setDefaultValue(0.5f);
        stick->setDefaultYValue(0.5f);
        stick->setValue(0.9f);
        stick->setYValue(0.1f);
        frame.addView(stick);
    }
    std::unique_ptr<CBitmap> strip =
        std::make_unique<CBitmap>(64 * 21, 64 * 21, [](cairo_t*, double) {});
    zktest::RecordingListener listener;
    CFrame frame{CRect(0, 0, 200, 200)};
    CAnimJoystick* stick;
};

TEST_F(JoystickFixture, AltClickOrDoubleClickResetsYThenXThroughTheirTags) {
    for (bool alt : {true, false}) {
        stick->setValue(0.9f);
        stick->setYValue(0.1f);
        if (alt) {
            frame.dispatchMouseDown(CPoint(30, 30), kLButton | kAlt, 0);
        } else {
            DoubleClick(frame, CPoint(30, 30), 5000); // the first press moves the handle
        }
        const auto& e = listener.events;
        ASSERT_GE(e.size(), 10u);
        EXPECT_THAT(std::vector<std::string>(e.end() - 10, e.end()),
                    ElementsAre("begin 32", "begin 33", "changed 33", "end 32", "end 33",
                                "begin 32", "begin 33", "changed 32", "end 32", "end 33"))
            << (alt ? "Alt-click" : "double click");
        EXPECT_FLOAT_EQ(stick->getYValue(), 0.5f);
        EXPECT_FLOAT_EQ(stick->getValue(), 0.5f);
        EXPECT_EQ(frame.getFocusView(), stick);
        frame.dispatchMouseUp(CPoint(30, 30), 0);
        listener.events.clear();
    }
    EXPECT_FLOAT_EQ(stick->getPartner()->getDefaultValue(), 0.5f);
}

TEST_F(JoystickFixture, PointerMovesBothAxesShiftOnlyYShiftAltOnlyX) {
    frame.dispatchMouseDown(CPoint(52, 36), kLButton, 0); // handle jumps here
    EXPECT_FLOAT_EQ(stick->getValue(), 0.5f);
    EXPECT_FLOAT_EQ(stick->getYValue(), 0.75f);
    frame.dispatchMouseMoved(CPoint(84, 84), kLButton | kShift);
    EXPECT_FLOAT_EQ(stick->getValue(), 0.5f);
    EXPECT_FLOAT_EQ(stick->getYValue(), 0.f);
    frame.dispatchMouseMoved(CPoint(36, 20), kLButton | kShift | kAlt);
    EXPECT_FLOAT_EQ(stick->getValue(), 0.25f);
    EXPECT_FLOAT_EQ(stick->getYValue(), 0.f);
    frame.dispatchMouseUp(CPoint(36, 20), 0);
    EXPECT_EQ(listener.events.front(), "begin 32");
    EXPECT_EQ(listener.events.back(), "end 33");
    EXPECT_EQ(stick->getPartner()->getValue(), 0.f);
}

TEST_F(JoystickFixture, WheelMovesYAndShiftWheelOrArrowsMoveX) {
    frame.dispatchWheel(CPoint(50, 50), 1.f, 0);
    EXPECT_NEAR(stick->getYValue(), 0.2f, 1e-6);
    frame.dispatchWheel(CPoint(50, 50), 1.f, kControl);
    EXPECT_NEAR(stick->getYValue(), 0.21f, 1e-6);
    frame.dispatchWheel(CPoint(50, 50), -1.f, kShift);
    EXPECT_NEAR(stick->getValue(), 0.8f, 1e-6);
    VstKeyCode right;
    right.virt = VKEY_RIGHT;
    EXPECT_EQ(stick->onKeyDown(right), 1);
    EXPECT_NEAR(stick->getValue(), 0.9f, 1e-6);
    VstKeyCode letter;
    letter.character = 'a';
    EXPECT_EQ(stick->onKeyDown(letter), -1);
    EXPECT_THAT(listener.values,
                ElementsAre(::testing::FloatNear(0.2f, 1e-6), ::testing::FloatNear(0.21f, 1e-6),
                            ::testing::FloatNear(0.8f, 1e-6), ::testing::FloatNear(0.9f, 1e-6)));
}

TEST_F(JoystickFixture, StripCellFollowsBothValues) {
    stick->setValue(1.f);
    stick->setYValue(1.f);
    EXPECT_EQ(stick->stripOffset(), CPoint(20 * 64, 0));
    stick->setValue(0.5f);
    stick->setYValue(0.f);
    EXPECT_EQ(stick->stripOffset(), CPoint(10 * 64, 20 * 64));
    stick->setValue(0.049f); // no "+1" here: just below the first boundary
    EXPECT_EQ(stick->stripOffset().h, 0);
    COffscreenContext image(200, 200);
    stick->draw(&image);
    EXPECT_FALSE(stick->isDirty());
    stick->setYValue(0.3f);
    EXPECT_TRUE(stick->isDirty());
}

TEST(TextButton, TogglesOnTheIntegerPartAndReportsAroundTheIdleWork) {
    zktest::RecordingListener listener;
    LoggingEditor editor(listener);
    CFrame frame(CRect(0, 0, 100, 100), nullptr, &editor);
    auto* button = new CTextButton(CRect(10, 10, 60, 24), &listener, 15, "Mono-Maker",
                                   CColor{200, 100, 50, 255}, nullptr, 0);
    frame.addView(button);
    button->setValue(0.7f);
    frame.dispatchMouseDown(CPoint(20, 15), kLButton, 0);
    EXPECT_EQ(button->getValue(), 1.f);
    EXPECT_THAT(listener.events, ElementsAre("idle", "begin 15", "changed 15", "end 15"));
    listener.events.clear();
    button->setStyle(1);
    frame.dispatchMouseDown(CPoint(20, 15), kLButton, 1000);
    EXPECT_EQ(button->getValue(), 0.f);
    EXPECT_THAT(listener.events, ElementsAre("begin 15", "changed 15", "end 15", "idle"));
    // Off: half the on colour unless told otherwise.
    COffscreenContext image(100, 100);
    button->draw(&image);
    EXPECT_EQ(button->getFontColor(), (CColor{100, 50, 25, 255}));
    button->setOnColor(CColor{255, 255, 255, 255});
    EXPECT_EQ(button->getOffColor(), (CColor{127, 127, 127, 255}));
    button->setOffColor(CColor{1, 2, 3, 255});
    button->setOnColor(CColor{10, 10, 10, 255});
    EXPECT_EQ(button->getOffColor(), (CColor{1, 2, 3, 255}));
    button->setValue(1.f);
    button->draw(&image);
    EXPECT_EQ(button->getFontColor(), (CColor{10, 10, 10, 255}));
}

TEST(VuMeterEX, TransparentOffscreenMeterKeepsThePanelBehindIt) {
    CBitmap leds(7, 20, [](cairo_t* cr, double) {
        cairo_set_source_rgb(cr, 0, 1, 0);
        cairo_rectangle(cr, 0, 0, 7, 20);
        cairo_fill(cr);
    });
    CVuMeterEX meter(CRect(10, 10, 17, 30), &leds, 10);
    meter.setTransparency(true);
    meter.setUseOffscreen(true);
    meter.setValue(0.5f);
    COffscreenContext screen(40, 40, 1.0, CColor{200, 0, 0, 255}); // the panel
    meter.draw(&screen);
    EXPECT_EQ(screen.getPixel(12, 12), (CColor{200, 0, 0, 255})); // unlit: panel shows
    EXPECT_EQ(screen.getPixel(12, 28), (CColor{0, 255, 0, 255})); // lit
}

} // namespace
