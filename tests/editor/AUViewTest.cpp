#include "EditorRig.h"

#include "editor/CZkmorvaEqCurve.h"
#include "editor/ValueMapping.h"
#include "editor/Zkmorva10Layout.h"
#include "editor/Zkmorva20Layout.h"
#include "widgets/CTextEdit.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using zktest::Rig10;
using zktest::Rig20;

void Automate(zktest::UnitHost& host, AudioUnitParameterID id, float value) {
    const AudioUnitParameter p{&host.Unit(), id, kAudioUnitScope_Global, 0};
    ASSERT_EQ(AUParameterSet(nullptr, nullptr, &p, value, 0), noErr);
}

std::vector<std::vector<float>> Silence() {
    return std::vector<std::vector<float>>(2, std::vector<float>(256));
}

TEST(AUView, AutomationReachesTheControlsOnTheNextTick) {
    auto rig = zktest::MakeRig10();
    CControl* knob = rig->editor->getControls().first(19, zkeditor::Role::kKnob);
    auto* box =
        dynamic_cast<CTextEdit*>(rig->editor->getControls().first(19, zkeditor::Role::kTextBox));
    ASSERT_NE(box, nullptr);
    Automate(rig->host, 19, 6.f);
    Automate(rig->host, 19, -3.f); // two changes before a tick: the last one counts
    EXPECT_EQ(knob->getValue(), 0.5f);
    rig->view->Tick();
    EXPECT_FLOAT_EQ(knob->getValue(), zk10::ConvertToVSTValue(-3.f, 19));
    EXPECT_STREQ(box->getText(), "-3.0 dB");
    // Pads, Y axis.
    Automate(rig->host, 33, 12.f);
    rig->view->Tick();
    EXPECT_FLOAT_EQ(rig->editor->getControls().first(33, zkeditor::Role::kTextBox)->getValue(),
                    1.f);
}

TEST(AUView, PanelStateIsNotListenedTo) {
    auto rig = zktest::MakeRig10();
    Automate(rig->host, 40, 1.f);
    rig->view->Tick();
    EXPECT_EQ(rig->view->GetWidth(), 1024);
    // Pushed explicitly, it folds the panel and the size follows on the tick.
    rig->view->SetParameterInEditor(40);
    rig->view->Tick();
    EXPECT_EQ(rig->view->GetWidth(), 585);
    EXPECT_EQ(rig->resizes.back(), std::make_pair(585, 283));
}

TEST(AUView, ChannelTwoAutomationReachesItsControls) {
    auto rig = zktest::MakeRig20();
    Automate(rig->host, 4, 0.f);  // master link off
    Automate(rig->host, 75, 6.f); // channel 2 MF gain
    rig->view->Tick();
    EXPECT_FLOAT_EQ(rig->editor->getControls().first(75, zkeditor::Role::kKnob)->getValue(), 0.75f);
    EXPECT_EQ(rig->editor->getControls().first(34, zkeditor::Role::kKnob)->getValue(), 0.5f);
}

// A drag on a band's Q knob starts auto-listen in the unit (begin gesture), the
// unit publishes it through property 65537 and the curve highlights that band.
template <class Rig>
void CheckAutoListenReachesTheCurve(Rig& rig, long qTag, int channel, long curveInput,
                                    bool linked = false) {
    CControl* knob = rig.editor->getControls().first(qTag, zkeditor::Role::kKnob);
    ASSERT_NE(knob, nullptr);
    const CPoint centre = Rig::Centre(knob->getViewSize());
    rig.frame->dispatchMouseDown(centre, kLButton, 0.0);
    rig.frame->dispatchMouseMoved(CPoint(centre.h, centre.v - 10), kLButton);
    rig.host.Pump();            // the unit's listener queues the gesture...
    rig.host.Render(Silence()); // ...and its next block applies it
    rig.view->Tick();
    CZkmorvaEqCurve* curve = nullptr;
    if constexpr (std::is_same_v<Rig, Rig10>) {
        curve = rig.editor->getCurve();
    } else {
        curve = rig.editor->getCurve(channel);
        EXPECT_EQ(rig.editor->getCurve(1 - channel)->isHighlightEnabled(), linked)
            << "a linked section is heard, and lit, on both channels";
    }
    EXPECT_TRUE(curve->isHighlightEnabled());
    EXPECT_EQ(curve->getHighlightedInput(), curveInput);
    EXPECT_FALSE(curve->getHighlightArea().empty());

    rig.frame->dispatchMouseUp(CPoint(centre.h, centre.v - 10), 0);
    rig.host.Pump();
    rig.host.Render(Silence());
    rig.view->Tick();
    EXPECT_FALSE(curve->isHighlightEnabled());
}

TEST(AUView, AutoListenGestureShowsOnTheCurve) {
    auto rig10 = zktest::MakeRig10();
    CheckAutoListenReachesTheCurve(*rig10, 17, 0, 11);
    auto rig20 = zktest::MakeRig20();
    CheckAutoListenReachesTheCurve(*rig20, 32 + 41, 1, 11, true);
    Automate(rig20->host, 4, 0.f); // every link off
    rig20->host.Pump();
    CheckAutoListenReachesTheCurve(*rig20, 32 + 41, 1, 11);
}

TEST(AUView, TimerTicksAfterTheDelayThenAt24Hz) {
    auto rig = zktest::MakeRig10();
    EXPECT_FALSE(rig->view->TickIfDue(100.0));
    EXPECT_FALSE(rig->view->TickIfDue(100.5));
    EXPECT_TRUE(rig->view->TickIfDue(101.0));
    EXPECT_FALSE(rig->view->TickIfDue(101.02));
    EXPECT_TRUE(rig->view->TickIfDue(101.05));
    // A tick is what delivers automation.
    Automate(rig->host, 19, 6.f);
    EXPECT_FALSE(rig->view->TickIfDue(101.06));
    EXPECT_EQ(rig->editor->getControls().first(19, zkeditor::Role::kKnob)->getValue(), 0.5f);
    EXPECT_TRUE(rig->view->TickIfDue(101.1));
    EXPECT_FLOAT_EQ(rig->editor->getControls().first(19, zkeditor::Role::kKnob)->getValue(), 0.75f);
}

TEST(AUView, WithoutAUnitNothingIsBuilt) {
    CZkmorva10AUView view(nullptr);
    EXPECT_EQ(view.CreateUI(), noErr);
    EXPECT_EQ(view.GetEditor(), nullptr);
    view.Tick();
    EXPECT_FALSE(view.MouseDown(CPoint(10, 10), kLButton));
    EXPECT_EQ(view.GetWidth(), 0);
}

// The adapter's path: draw into a window's cairo_t at 2x, events through the view.
// The picture is the 1x one at twice the size (sampled every 8 pixels; edges and
// text may differ a little).
TEST(AUView, DrawsAtAScaleAndTakesEvents) {
    auto rig = zktest::MakeRig10();
    COffscreenContext image(1024, 283, 2.0);
    rig->view->Draw(image.createDeviceCairo().get(), 2.0);
    EXPECT_EQ(image.getDeviceWidth(), 2048);
    COffscreenContext small(1024, 283, 1.0);
    rig->view->Draw(small.createDeviceCairo().get(), 1.0);
    int points = 0, different = 0;
    for (int y = 4; y < 283; y += 8) {
        for (int x = 4; x < 1024; x += 8, ++points) {
            const CColor a = small.getPixel(x, y);
            const CColor b = image.getPixel(2 * x + 1, 2 * y + 1);
            different +=
                std::abs(a.red - b.red) + std::abs(a.green - b.green) + std::abs(a.blue - b.blue) >
                96;
        }
    }
    EXPECT_LT(different, points / 20) << "of " << points << " points";
    const CPoint toggle = Rig10::Centre(zk10layout::PanelToggleRect(1024));
    EXPECT_TRUE(rig->view->MouseDown(toggle, kLButton));
    rig->view->MouseUp(toggle, 0);
    rig->view->Tick();
    EXPECT_EQ(rig->view->GetWidth(), 585);
}

} // namespace
