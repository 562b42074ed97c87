#include "WidgetTestSupport.h"

#include "widgets/CFrame.h"
#include "widgets/COptionMenu.h"
#include "widgets/COptionMenuPopup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;

CPoint Centre(const CRect& r) {
    return CPoint(r.left + r.width() / 2, r.top + r.height() / 2);
}

struct OptionMenuFixture : ::testing::Test {
    OptionMenuFixture() {
        menu = new COptionMenu(CRect(528, 207, 556, 218), &listener, 1);
        for (const char* e : {"Q - -", "- f -", "- - G", "Q f -", "Q - G", "- f G", "Q f G"}) {
            menu->addEntry(e);
        }
        menu->setFont(kNormalFontSmaller);
        frame.addView(menu);
    }
    zktest::RecordingListener listener;
    CFrame frame{CRect(0, 0, 600, 283)};
    COptionMenu* menu;
};

TEST_F(OptionMenuFixture, ChoosingAnEntryReportsItsIndex) {
    frame.dispatchMouseDown(CPoint(540, 212), kLButton, 0);
    frame.dispatchMouseUp(CPoint(540, 212), 0);
    ASSERT_TRUE(menu->isPopupOpen());
    COptionMenuPopup* popup = menu->getPopup();
    EXPECT_EQ(frame.getModalView(), popup);
    // The list fits in the frame although the field sits low: it opens upwards.
    EXPECT_LE(popup->getListRect().bottom, 283);
    EXPECT_GE(popup->getListRect().top, 0);

    const CPoint target = Centre(popup->entryRect(3));
    frame.dispatchMouseDown(target, kLButton, 1000);
    frame.dispatchMouseUp(target, 0);
    EXPECT_FALSE(menu->isPopupOpen());
    EXPECT_EQ(frame.getModalView(), nullptr);
    EXPECT_EQ(menu->getCurrent(), 3);
    EXPECT_THAT(listener.events, ElementsAre("begin 1", "changed 1", "end 1"));
    EXPECT_THAT(listener.values, ElementsAre(3.f));
    EXPECT_EQ(frame.getNbViews(), 1) << "the pop-up is gone after the next event";
}

TEST_F(OptionMenuFixture, PressOutsideTheListClosesWithoutAChange) {
    menu->setCurrent(2);
    frame.dispatchMouseDown(CPoint(540, 212), kLButton, 0);
    ASSERT_TRUE(menu->isPopupOpen());
    frame.dispatchMouseDown(CPoint(5, 5), kLButton, 1000);
    EXPECT_FALSE(menu->isPopupOpen());
    EXPECT_EQ(menu->getCurrent(), 2);
    EXPECT_TRUE(listener.events.empty());
}

TEST_F(OptionMenuFixture, KeyboardMovesTheHighlightAndReturnChooses) {
    menu->setCurrent(5);
    frame.dispatchMouseDown(CPoint(540, 212), kLButton, 0);
    frame.dispatchKeyDown(VstKeyCode{0, VKEY_DOWN, 0});
    frame.dispatchKeyDown(VstKeyCode{0, VKEY_DOWN, 0}); // stops at the last entry
    frame.dispatchKeyDown(VstKeyCode{0, VKEY_RETURN, 0});
    EXPECT_EQ(menu->getCurrent(), 6);
    EXPECT_THAT(listener.values, ElementsAre(6.f));
}

TEST_F(OptionMenuFixture, OpenListIsDrawnWithItsEntries) {
    frame.dispatchMouseDown(CPoint(540, 212), kLButton, 0);
    COffscreenContext ctx(600, 283, 1.0, kBlueCColor);
    frame.draw(&ctx);
    const CRect list = menu->getPopup()->getListRect();
    const CColor inside = ctx.getPixel(list.right - 3, list.top + 3);
    EXPECT_NE(inside, kBlueCColor);
    int textPixels = 0;
    for (int y = list.top; y < list.bottom; ++y) {
        for (int x = list.left + 14; x < list.right; ++x) {
            textPixels += ctx.getPixel(x, y).red > 120 && ctx.getPixel(x, y).blue > 120;
        }
    }
    EXPECT_GT(textPixels, 50);
}

TEST(OptionMenu, EntriesAreManagedByIndex) {
    COptionMenu menu(CRect(0, 0, 30, 12), nullptr, 0);
    EXPECT_FALSE(menu.addEntry(nullptr));
    menu.addEntry("b");
    menu.addEntry("a", 0);
    EXPECT_STREQ(menu.getEntry(0), "a");
    EXPECT_EQ(menu.getEntry(2), nullptr);
    EXPECT_EQ(menu.getIndex("b"), 1);
    EXPECT_FALSE(menu.setCurrent(5));
    EXPECT_FALSE(menu.openPopup()) << "not in a frame";
}

} // namespace
