#include "EditorRig.h"

#include "editor/CZkmorvaEqCurve.h"
#include "editor/ValueMapping.h"
#include "editor/Zkmorva10Layout.h"
#include "editor/Zkmorva20Layout.h"
#include "widgets/CTextEdit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
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

TEST(AUView, AutomationReachesTheControlsOfBothEditorsOnTheNextTick) {
    auto rig = zktest::MakeRig10();
    CControl* knob = rig->editor->getControls().first(19, zkeditor::Role::Knob);
    auto* box =
        dynamic_cast<CTextEdit*>(rig->editor->getControls().first(19, zkeditor::Role::TextBox));
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
    EXPECT_FLOAT_EQ(rig->editor->getControls().first(33, zkeditor::Role::TextBox)->getValue(), 1.f);
    // The two-channel EQ's channel 2 (links off) moves its own control only.
    auto rig20 = zktest::MakeRig20();
    Automate(rig20->host, 4, 0.f);
    Automate(rig20->host, 75, 6.f);
    rig20->view->Tick();
    EXPECT_FLOAT_EQ(rig20->editor->getControls().first(75, zkeditor::Role::Knob)->getValue(),
                    0.75f);
    EXPECT_EQ(rig20->editor->getControls().first(34, zkeditor::Role::Knob)->getValue(), 0.5f);
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

// A drag on a band's Q knob starts auto-listen in the unit (begin gesture), the
// unit publishes it through property 65537 and the curve highlights that band.
template <class Rig>
void CheckAutoListenReachesTheCurve(Rig& rig, long qTag, int channel, long curveInput,
                                    bool linked = false, double timeMs = 0.0) {
    CControl* knob = rig.editor->getControls().first(qTag, zkeditor::Role::Knob);
    ASSERT_NE(knob, nullptr);
    const CPoint centre = Rig::Centre(knob->getViewSize());
    rig.frame->dispatchMouseDown(centre, kLButton, timeMs);
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
    // A second press, long after the first (not a double-click, which resets).
    CheckAutoListenReachesTheCurve(*rig20, 32 + 41, 1, 11, false, 10000.0);
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
    EXPECT_EQ(rig->editor->getControls().first(19, zkeditor::Role::Knob)->getValue(), 0.5f);
    EXPECT_TRUE(rig->view->TickIfDue(101.1));
    EXPECT_FLOAT_EQ(rig->editor->getControls().first(19, zkeditor::Role::Knob)->getValue(), 0.75f);
}

TEST(AUView, WithoutAUnitNothingIsBuilt) {
    CZkmorva10AUView view(nullptr);
    EXPECT_EQ(view.CreateUI(), noErr);
    EXPECT_EQ(view.GetEditor(), nullptr);
    view.Tick();
    EXPECT_FALSE(view.MouseDown(CPoint(10, 10), kLButton));
    EXPECT_EQ(view.GetWidth(), 0);
}

// Mean red, green and blue of a logical rectangle of a picture drawn at `scale`.
std::array<double, 3> MeanColour(const COffscreenContext& image, const CRect& r, int scale) {
    std::array<double, 3> sum{};
    for (int y = r.top * scale; y < r.bottom * scale; ++y) {
        for (int x = r.left * scale; x < r.right * scale; ++x) {
            const CColor p = image.getPixel(x, y);
            sum[0] += p.red;
            sum[1] += p.green;
            sum[2] += p.blue;
        }
    }
    for (double& s : sum) {
        s /= r.width() * r.height() * scale * scale;
    }
    return sum;
}

// A picture at 2x (the plug-in window's and the screenshot tool's path) shows the
// frame of the 1x picture, sharper: twice the pixels each way and every 16 x 16
// region the same colour on average. A picture scaled twice shows a quarter of
// the frame at 4x and fails nearly everywhere.
template <class Rig> void CheckTwiceTheScale(Rig& rig) {
    const auto one = rig.view->Picture(1.0);
    const auto two = rig.view->Picture(2.0);
    ASSERT_EQ(two->getDeviceWidth(), 2 * one->getDeviceWidth());
    ASSERT_EQ(two->getDeviceHeight(), 2 * one->getDeviceHeight());
    // Sharper edges and text move a region's mean by up to 9 levels (of 255).
    constexpr double kTolerance = 16.0;
    constexpr CCoord kTile = 16;
    for (CCoord top = 0; top + kTile <= one->getHeight(); top += kTile) {
        for (CCoord left = 0; left + kTile <= one->getWidth(); left += kTile) {
            const CRect tile(left, top, left + kTile, top + kTile);
            const auto a = MeanColour(*one, tile, 1);
            const auto b = MeanColour(*two, tile, 2);
            for (std::size_t c = 0; c < 3; ++c) {
                ASSERT_NEAR(a[c], b[c], kTolerance) << "region at " << left << "," << top;
            }
        }
    }
}

TEST(AUView, PicturesAtTwiceTheScaleShowTheSameFrame) {
    CheckTwiceTheScale(*zktest::MakeRig10());
    CheckTwiceTheScale(*zktest::MakeRig20());
}

} // namespace
