#include "WidgetTestSupport.h"

#include "widgets/CAnimKnob.h"
#include "widgets/CFrame.h"
#include "widgets/CKickButton.h"
#include "widgets/COnOffButton.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;

struct KnobFixture : ::testing::Test {
    KnobFixture() {
        knob = new CAnimKnob(CRect(100, 100, 130, 130), &listener, 7, strip.get());
        knob->setValue(0.5f);
        frame.addView(knob);
    }
    std::unique_ptr<CBitmap> strip = zktest::MakeStrip(30, 30, 61);
    zktest::RecordingListener listener;
    CFrame frame{CRect(0, 0, 300, 300)};
    CAnimKnob* knob;
};

TEST_F(KnobFixture, LinearDragReportsBeginChangesEndInOrder) {
    frame.setKnobMode(kLinearMode);
    ASSERT_TRUE(frame.dispatchMouseDown(CPoint(115, 115), kLButton, 0));
    frame.dispatchMouseMoved(CPoint(115, 105), kLButton); // 10 px up
    frame.dispatchMouseMoved(CPoint(125, 105), kLButton); // and 10 px right
    frame.dispatchMouseMoved(CPoint(125, 105), kLButton); // no movement: no report
    frame.dispatchMouseUp(CPoint(125, 105), 0);
    EXPECT_THAT(listener.events, ElementsAre("begin 7", "changed 7", "changed 7", "end 7"));
    EXPECT_NEAR(listener.values[0], 0.55f, 1e-6);
    EXPECT_NEAR(knob->getValue(), 0.6f, 1e-6);
}

TEST_F(KnobFixture, DragKeepsGoingOutsideTheKnobAndStopsAtTheEnds) {
    frame.setKnobMode(kLinearMode);
    frame.dispatchMouseDown(CPoint(115, 115), kLButton, 0);
    frame.dispatchMouseMoved(CPoint(115, -250), kLButton); // far outside, above the frame
    EXPECT_FLOAT_EQ(knob->getValue(), 1.f);
    frame.dispatchMouseUp(CPoint(115, -250), 0);
    EXPECT_EQ(listener.events.back(), "end 7");
    // After the release moves go nowhere.
    frame.dispatchMouseMoved(CPoint(115, 290), kLButton);
    EXPECT_FLOAT_EQ(knob->getValue(), 1.f);
}

TEST_F(KnobFixture, ShiftMakesTheDragFinerWithoutAJump) {
    frame.setKnobMode(kLinearMode);
    frame.dispatchMouseDown(CPoint(115, 115), kLButton | kShift, 0);
    frame.dispatchMouseMoved(CPoint(115, 85), kLButton | kShift); // 30 px at 300 px range
    EXPECT_NEAR(knob->getValue(), 0.6f, 1e-5);
    frame.dispatchMouseMoved(CPoint(115, 85), kLButton); // Shift released: no jump
    EXPECT_NEAR(knob->getValue(), 0.6f, 1e-5);
    frame.dispatchMouseMoved(CPoint(115, 75), kLButton); // 10 px more at 200 px range
    EXPECT_NEAR(knob->getValue(), 0.65f, 1e-5);
    frame.dispatchMouseUp(CPoint(115, 75), 0);
}

TEST_F(KnobFixture, CircularDragFollowsTheAngleAndPinsAtTheEnds) {
    frame.setKnobMode(kCircularMode);
    frame.dispatchMouseDown(CPoint(115, 101), kLButton, 0); // straight up: the middle
    frame.dispatchMouseMoved(CPoint(115, 101), kLButton);
    EXPECT_NEAR(knob->getValue(), 0.5f, 0.02f);
    frame.dispatchMouseMoved(CPoint(129, 115), kLButton); // 3 o'clock: 0.5 + 90/270
    EXPECT_NEAR(knob->getValue(), 0.5f + 1.f / 3.f, 0.02f);
    frame.dispatchMouseMoved(CPoint(120, 129), kLButton); // past the end, into the dead zone
    EXPECT_FLOAT_EQ(knob->getValue(), 1.f);
    frame.dispatchMouseMoved(CPoint(110, 129), kLButton); // across the gap: stays at the end
    EXPECT_FLOAT_EQ(knob->getValue(), 1.f);
    frame.dispatchMouseUp(CPoint(110, 129), 0);
}

TEST_F(KnobFixture, ControlClickResetsToDefaultAsOneGesture) {
    knob->setDefaultValue(0.25f);
    frame.dispatchMouseDown(CPoint(115, 115), kLButton | kControl, 0);
    frame.dispatchMouseUp(CPoint(115, 115), kControl);
    EXPECT_THAT(listener.events, ElementsAre("begin 7", "changed 7", "end 7"));
    EXPECT_FLOAT_EQ(knob->getValue(), 0.25f);
}

TEST_F(KnobFixture, WheelStepsAndShiftWheelStepsFiner) {
    knob->setWheelInc(0.1f);
    frame.dispatchWheel(CPoint(115, 115), 1.f, 0);
    EXPECT_NEAR(knob->getValue(), 0.6f, 1e-6);
    frame.dispatchWheel(CPoint(115, 115), -1.f, kShift);
    EXPECT_NEAR(knob->getValue(), 0.59f, 1e-6);
    EXPECT_THAT(listener.events,
                ElementsAre("begin 7", "changed 7", "end 7", "begin 7", "changed 7", "end 7"));
    EXPECT_FALSE(frame.dispatchWheel(CPoint(10, 10), 1.f, 0)) << "no view under the pointer";
}

TEST_F(KnobFixture, MouseDisabledKnobIgnoresPresses) {
    knob->setMouseEnabled(false);
    EXPECT_FALSE(frame.dispatchMouseDown(CPoint(115, 115), kLButton, 0));
    EXPECT_TRUE(listener.events.empty());
}

TEST(Buttons, OnOffButtonTogglesAndKickButtonReportsPressAndRelease) {
    zktest::RecordingListener listener;
    CFrame frame(CRect(0, 0, 100, 100));
    auto* onOff = new COnOffButton(CRect(0, 0, 12, 12), &listener, 2, nullptr);
    auto* kick = new CKickButton(CRect(50, 50, 70, 70), &listener, 3, nullptr);
    frame.addView(onOff);
    frame.addView(kick);

    frame.dispatchMouseDown(CPoint(5, 5), kLButton, 0);
    EXPECT_FLOAT_EQ(onOff->getValue(), 1.f);
    frame.dispatchMouseDown(CPoint(5, 5), kLButton, 1000);
    EXPECT_FLOAT_EQ(onOff->getValue(), 0.f);
    frame.dispatchMouseDown(CPoint(5, 5), kRButton, 2000); // right button: no toggle
    EXPECT_FLOAT_EQ(onOff->getValue(), 0.f);
    listener.events.clear();
    listener.values.clear();

    frame.dispatchMouseDown(CPoint(60, 60), kLButton, 3000);
    EXPECT_FLOAT_EQ(kick->getValue(), 1.f);
    frame.dispatchMouseMoved(CPoint(90, 90), kLButton); // slid off: released look
    EXPECT_FLOAT_EQ(kick->getValue(), 0.f);
    frame.dispatchMouseMoved(CPoint(60, 60), kLButton);
    frame.dispatchMouseUp(CPoint(60, 60), 0);
    EXPECT_FLOAT_EQ(kick->getValue(), 0.f);
    EXPECT_THAT(listener.events, ElementsAre("begin 3", "changed 3", "changed 3", "changed 3",
                                             "changed 3", "end 3"));
    EXPECT_THAT(listener.values, ElementsAre(1.f, 0.f, 1.f, 0.f));
}

} // namespace
