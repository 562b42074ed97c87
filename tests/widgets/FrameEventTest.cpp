#include "WidgetTestSupport.h"

#include "widgets/AEffGUIEditor.h"
#include "widgets/CFrame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;

// Remembers what reached it, with positions in its own coordinates.
class ProbeControl : public CControl {
public:
    using CControl::CControl;
    CMouseEventResult onMouseDown(CPoint& where, const long& buttons) override {
        log.push_back("down " + std::to_string(where.h) + "," + std::to_string(where.v));
        lastButtons = buttons;
        return capture ? kMouseEventHandled : kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    CMouseEventResult onMouseMoved(CPoint& where, const long&) override {
        log.push_back("move " + std::to_string(where.h) + "," + std::to_string(where.v));
        return kMouseEventHandled;
    }
    CMouseEventResult onMouseUp(CPoint& where, const long&) override {
        log.push_back("up " + std::to_string(where.h) + "," + std::to_string(where.v));
        return kMouseEventHandled;
    }
    long onKeyDown(VstKeyCode& k) override {
        log.push_back("key " + std::to_string(k.character));
        return 1;
    }
    void takeFocus() override { log.push_back("focus"); }
    void looseFocus() override { log.push_back("unfocus"); }
    std::vector<std::string> log;
    long lastButtons = 0;
    bool capture = true;
};

TEST(Frame, ChildOfAContainerGetsLocalCoordinatesAndKeepsTheDrag) {
    CFrame frame(CRect(0, 0, 400, 300));
    auto* page = new CViewContainer(CRect(100, 50, 300, 250));
    auto* probe = new ProbeControl(CRect(10, 10, 40, 40));
    page->addView(probe);
    frame.addView(page);
    EXPECT_TRUE(frame.dispatchMouseDown(CPoint(115, 65), kLButton, 0));
    frame.dispatchMouseMoved(CPoint(390, 290), kLButton); // far outside: still the probe's
    frame.dispatchMouseUp(CPoint(0, 0), 0);
    frame.dispatchMouseMoved(CPoint(115, 65), 0); // no capture any more
    EXPECT_THAT(probe->log, ElementsAre("down 15,15", "move 290,240", "up -100,-50"));
}

TEST(Frame, DoubleClickNeedsSameButtonShortTimeAndNearbyPoint) {
    CFrame frame(CRect(0, 0, 100, 100));
    auto* probe = new ProbeControl(CRect(0, 0, 100, 100));
    probe->capture = false;
    frame.addView(probe);
    struct Press {
        CPoint where;
        long buttons;
        double time;
        bool doubleClick;
    };
    const Press presses[] = {
        {{10, 10}, kLButton, 0, false},
        {{12, 11}, kLButton, 300, true},
        {{12, 11}, kLButton, 400, false},  // a third press starts a new pair
        {{12, 11}, kLButton, 1000, false}, // too late
        {{30, 30}, kLButton, 1100, false}, // too far
        {{30, 30}, kRButton, 1200, false}, // other button
        {{30, 30}, kRButton | kShift, 1300, true},
    };
    for (const Press& p : presses) {
        frame.dispatchMouseDown(p.where, p.buttons, p.time);
        EXPECT_EQ(frame.isDoubleClick(), p.doubleClick) << "press at " << p.time;
        EXPECT_EQ((probe->lastButtons & kDoubleClick) != 0, p.doubleClick) << p.time;
        EXPECT_EQ(probe->lastButtons & ~kDoubleClick, p.buttons) << "modifiers reach the view";
    }
}

TEST(Frame, ModalViewTakesAllPressesAndFocusViewGetsKeys) {
    CFrame frame(CRect(0, 0, 200, 200));
    auto* below = new ProbeControl(CRect(0, 0, 200, 200));
    auto* modal = new ProbeControl(CRect(50, 50, 100, 100));
    modal->capture = false;
    frame.addView(below);
    frame.addView(modal);
    frame.setModalView(modal);
    frame.dispatchMouseDown(CPoint(10, 10), kLButton, 0); // outside the modal view
    frame.dispatchMouseDown(CPoint(60, 60), kLButton, 1000);
    EXPECT_TRUE(below->log.empty());
    EXPECT_THAT(modal->log, ElementsAre("down 60,60"));

    frame.setFocusView(below);
    frame.dispatchKeyDown(VstKeyCode{'x', VKEY_NONE, 0});
    frame.setFocusView(modal);
    EXPECT_THAT(below->log, ElementsAre("focus", "key 120", "unfocus"));

    frame.removeView(modal); // removing forgets modal and focus
    EXPECT_EQ(frame.getModalView(), nullptr);
    EXPECT_EQ(frame.getFocusView(), nullptr);
    frame.dispatchMouseDown(CPoint(10, 10), kLButton, 5000);
    EXPECT_EQ(below->log.back(), "down 10,10");
}

TEST(Frame, OnlyDirtyViewsAreRedrawn) {
    CFrame frame(CRect(0, 0, 100, 100));
    frame.setBackgroundColor(kBlueCColor);
    auto* control = new CControl(CRect(20, 30, 40, 50));
    frame.addView(control);
    COffscreenContext ctx(100, 100);
    frame.draw(&ctx);
    EXPECT_TRUE(frame.getDirtyRegion().isEmpty());
    control->setValue(0.3f);
    EXPECT_EQ(frame.getDirtyRegion(), CRect(20, 30, 40, 50));

    std::vector<CRect> asked;
    frame.setInvalidateCallback([&asked](const CRect& r) { asked.push_back(r); });
    frame.idle();
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0], CRect(20, 30, 40, 50));

    COffscreenContext second(100, 100, 1.0, kRedCColor);
    EXPECT_EQ(frame.redrawDirty(&second), CRect(20, 30, 40, 50));
    EXPECT_EQ(second.getPixel(25, 35), kBlueCColor); // redrawn
    EXPECT_EQ(second.getPixel(5, 5), kRedCColor);    // left alone
    EXPECT_TRUE(frame.getDirtyRegion().isEmpty());
}

class CountingEditor : public AEffGUIEditor {
public:
    void idle() override { ++idles; }
    bool open(void* parent) override {
        AEffGUIEditor::open(parent);
        frame = std::make_unique<CFrame>(CRect(0, 0, 50, 50), parent, this);
        return true;
    }
    void beginEdit(long index) override { edits.push_back("begin " + std::to_string(index)); }
    void endEdit(long index) override { edits.push_back("end " + std::to_string(index)); }
    int idles = 0;
    std::vector<std::string> edits;
};

TEST(Editor, IdleWorkRunsAtMostEveryHundredMilliseconds) {
    CountingEditor editor;
    for (double t = 0; t < 1000; t += 1000.0 / 24.0) { // a 24 Hz timer for one second
        editor.doIdleStuff(t);
    }
    EXPECT_EQ(editor.idles, 9); // 0, 125, 250, ... 875 ms: the first tick at or after each 100 ms
}

TEST(Editor, ControlsReportGesturesToTheEditorByTagAndShareItsKnobMode) {
    CountingEditor editor;
    editor.open(nullptr);
    auto* control = new CControl(CRect(0, 0, 10, 10), nullptr, 33);
    editor.getFrame()->addView(control);
    control->checkDefaultValue(kLButton | kControl);
    EXPECT_THAT(editor.edits, ElementsAre("begin 33", "end 33"));
    editor.setKnobMode(kLinearMode);
    EXPECT_EQ(editor.getFrame()->getKnobMode(), kLinearMode);
    editor.close();
    EXPECT_EQ(editor.getFrame(), nullptr);
}

} // namespace
