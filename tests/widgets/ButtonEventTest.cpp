#include "WidgetTestSupport.h"

#include "widgets/CFrame.h"
#include "widgets/CKickButton.h"
#include "widgets/COnOffButton.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;

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
