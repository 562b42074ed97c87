#include "EditorRig.h"

#include "editor/CAnimKnobEX.h"
#include "editor/CZkmorvaEqCurve.h"
#include "editor/CZkmorvaHelpPages.h"
#include "editor/ProductAddresses.h"
#include "editor/ValueMapping.h"
#include "editor/Zkmorva10Layout.h"
#include "widgets/CMovieBitmap.h"
#include "widgets/COnOffButton.h"
#include "widgets/COptionMenu.h"
#include "widgets/CTextEdit.h"
#include "widgets/CTextLabel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace zk10layout;
using zktest::Rig10;

constexpr AudioUnitParameterID kParameterCount = 41;

// The one parameter that differs between two snapshots, or -1 (none or several).
long OnlyChanged(const std::vector<float>& before, const std::vector<float>& after) {
    long changed = -1;
    for (std::size_t id = 0; id < before.size(); ++id) {
        if (before[id] != after[id]) {
            if (changed >= 0) {
                return -2;
            }
            changed = static_cast<long>(id);
        }
    }
    return changed;
}

const zkeditor::KnobDef& Knob(long tag) {
    for (const auto& def : kBandKnobs) {
        if (def.tag == tag) {
            return def;
        }
    }
    return kGainKnobs[0];
}

CRect BoxOf(long tag) {
    return zkeditor::TextBox(Knob(tag));
}

struct Zkmorva10EditorTest : ::testing::Test {
    std::unique_ptr<Rig10> rig = zktest::MakeRig10();
};

// Every knob and pad axis answers the wheel at the centre of its layout
// rectangle by changing its own parameter and no other: tags and rectangles
// agree with the unit's parameter ids.
TEST_F(Zkmorva10EditorTest, WheelOnEveryKnobAndPadChangesExactlyItsParameter) {
    auto wheel = [&](const CRect& rect, long expected, long buttons) {
        const std::vector<float> before = rig->AllParams(kParameterCount);
        // Away from the end the value sits at.
        const float value = rig->editor->GetValue(expected);
        rig->frame->dispatchWheel(Rig10::Centre(rect), value > 0.5f ? -3.f : 3.f, buttons);
        EXPECT_EQ(OnlyChanged(before, rig->AllParams(kParameterCount)), expected)
            << "control at " << rect.left << "," << rect.top;
    };
    for (const auto& def : kGainKnobs) {
        wheel(def.rect, def.tag, 0);
    }
    for (const auto& def : kBandKnobs) {
        wheel(def.rect, def.tag, 0);
    }
    for (const auto& def : kPads) {
        wheel(def.rect, def.tagY, 0);
        wheel(def.rect, def.tagX, kShift);
    }
}

// Clicks on the switches toggle their parameter only (and back with a second click).
TEST_F(Zkmorva10EditorTest, EverySwitchTogglesItsParameter) {
    std::vector<std::pair<CRect, long>> switches;
    for (const auto& def : kNames) {
        switches.emplace_back(def.rect, def.tag);
    }
    for (const auto& def : kLeds) {
        switches.emplace_back(def.rect, def.tag);
    }
    for (const auto& [rect, tag] : switches) {
        const std::vector<float> before = rig->AllParams(kParameterCount);
        rig->Click(Rig10::Centre(rect));
        const std::vector<float> after = rig->AllParams(kParameterCount);
        EXPECT_EQ(OnlyChanged(before, after), tag);
        EXPECT_EQ(after[static_cast<std::size_t>(tag)],
                  before[static_cast<std::size_t>(tag)] != 0.f ? 0.f : 1.f);
        rig->Click(Rig10::Centre(rect));
        EXPECT_EQ(rig->Param(static_cast<AudioUnitParameterID>(tag)),
                  before[static_cast<std::size_t>(tag)]);
    }
}

TEST_F(Zkmorva10EditorTest, DraggingAGainKnobSetsTheParameterInsideOneGesture) {
    zktest::GestureRecorder gestures(&rig->host.Unit(), 40);
    rig->Drag(Rig10::Centre(Knob(11).rect), 0, -40); // up 40 px of 200
    EXPECT_NEAR(rig->Param(11), 24.f * (0.5f + 0.2f) - 12.f, 1e-4);
    EXPECT_THAT(gestures.Take(), ::testing::ElementsAre("begin 11", "end 11"));
    // The knob's own text box follows at once.
    auto* box =
        dynamic_cast<CTextEdit*>(rig->editor->getControls().first(11, zkeditor::Role::TextBox));
    ASSERT_NE(box, nullptr);
    EXPECT_STREQ(box->getText(), "4.8 dB");
}

TEST_F(Zkmorva10EditorTest, TypedTextGoesThroughTheTagsParseFunction) {
    const CRect mfFrequencyBox = BoxOf(18);
    rig->Type(mfFrequencyBox, "2,5k");
    EXPECT_NEAR(rig->Param(18), 2500.f, 0.5f);
    // The unit was told a text box is being edited.
    UInt8 flag = 0;
    UInt32 size = 1;
    ASSERT_EQ(
        AudioUnitGetProperty(&rig->host.Unit(), 65536, kAudioUnitScope_Global, 0, &flag, &size),
        noErr);
    EXPECT_EQ(flag, 1);
    // The knob moved with it, without being touched.
    EXPECT_FLOAT_EQ(rig->editor->getControls().first(18, zkeditor::Role::Knob)->getValue(),
                    zk10::ConvertToVSTValue(rig->Param(18), 18));

    // Beyond the range: clamped to the ends. Letters only read as 0 Hz: the bottom.
    rig->Type(mfFrequencyBox, "99k");
    EXPECT_NEAR(rig->Param(18), 26000.f, 1.f);
    rig->Type(mfFrequencyBox, "abc");
    EXPECT_NEAR(rig->Param(18), 20.f, 0.01f);
    // Gain boxes: "1k" dB is clamped to +12.
    const CRect lfGainBox = BoxOf(11);
    rig->Type(lfGainBox, "1k");
    EXPECT_FLOAT_EQ(rig->Param(11), 12.f);
    // A typed Q can only reach the resonant range of a slope control.
    const CRect hpQBox = BoxOf(6);
    rig->Type(hpQBox, "30");
    EXPECT_NEAR(rig->Param(6), 15.f, 1e-3);
}

TEST_F(Zkmorva10EditorTest, BadTextNeverCrashesAndNoNumberChangesNothing) {
    const CRect box = BoxOf(18);
    const float before = rig->Param(18);
    rig->Type(box, "nan");
    EXPECT_EQ(rig->Param(18), before);
    std::string junk;
    for (int i = 0; i < 600; ++i) {
        junk.push_back(static_cast<char>(32 + (i * 37) % 95));
    }
    rig->Type(box, junk);
    rig->Type(box, std::string(300, '9'));
    EXPECT_NEAR(rig->Param(18), 26000.f, 1.f);
    rig->Type(box, "-1e309");
    EXPECT_GE(rig->Param(18), 20.f);
    EXPECT_LE(rig->Param(18), 26000.f);
}

TEST_F(Zkmorva10EditorTest, SlopeKnobReleasedBetweenDetentsSnaps) {
    auto* knob =
        dynamic_cast<CAnimKnobEX*>(rig->editor->getControls().first(6, zkeditor::Role::Knob));
    ASSERT_NE(knob, nullptr);
    const float start = knob->getValue();
    const auto pixels = static_cast<CCoord>((0.62f - start) * 200.f);
    rig->Drag(Rig10::Centre(Knob(6).rect), pixels, 0);
    EXPECT_FLOAT_EQ(knob->getValue(), 0.6f);
    EXPECT_FLOAT_EQ(rig->Param(6), 16.f); // 6 dB/oct.
}

TEST_F(Zkmorva10EditorTest, AutoListenMenuSendsIndexOverSix) {
    COptionMenu* menu = rig->editor->getAutoListenMenu();
    EXPECT_EQ(menu->getCurrent(), static_cast<long>(rig->Param(1)));
    menu->selectEntry(2);
    EXPECT_FLOAT_EQ(rig->Param(1), 2.f);
    EXPECT_STREQ(menu->getEntry(4), "Q - G");
}

TEST_F(Zkmorva10EditorTest, PanelToggleFoldsTheFrameAndMovesTheCornerButtons) {
    ASSERT_EQ(rig->view->GetWidth(), 1024);
    rig->Click(Rig10::Centre(PanelToggleRect(1024)));
    EXPECT_EQ(rig->frame->getWidth(), 585);
    EXPECT_EQ(rig->Param(40), 1.f);
    EXPECT_EQ(rig->editor->getPanelToggle()->getViewSize(), CRect(560, 259, 585, 283));
    EXPECT_EQ(rig->editor->getHelpOpenButton()->getViewSize(), CRect(560, 0, 585, 25));
    EXPECT_EQ(rig->editor->getPanelHandle()->getValue(), 0.f);
    // The host window follows on the next tick.
    rig->view->Tick();
    ASSERT_FALSE(rig->resizes.empty());
    EXPECT_EQ(rig->resizes.back(), std::make_pair(585, 283));
    rig->Click(CPoint(572, 270));
    EXPECT_EQ(rig->frame->getWidth(), 1024);
    rig->view->Tick();
    EXPECT_EQ(rig->resizes.back(), std::make_pair(1024, 283));
    EXPECT_EQ(rig->Param(40), 0.f);
}

TEST(Zkmorva10EditorOpen, HiddenPanelStateOpensNarrow) {
    skin::installSkin();
    AudioUnitPtr unit = OpenZkmorva10();
    unit->SetParameter(40, kAudioUnitScope_Global, 0, 1.f, 0);
    Rig10 rig(std::move(unit));
    EXPECT_EQ(rig.view->GetWidth(), 585);
    EXPECT_EQ(rig.resizes.front(), std::make_pair(585, 283));
    EXPECT_EQ(rig.editor->getPanelToggle()->getViewSize().left, 560);
    EXPECT_EQ(rig.editor->getPanelToggle()->getValue(), 1.f);
}

TEST(Zkmorva10EditorRate, IndicatorAndScaleFollowTheSampleRateClass) {
    const std::array<std::tuple<double, float, CCoord>, 4> cases{{
        {44100.0, 1.0f, 944},
        {32000.0, 1.0f, 944},
        {48000.0, 0.5f, 951},
        {96000.0, 0.0f, 972},
    }};
    for (const auto& [rate, value, left] : cases) {
        auto rig = zktest::MakeRig10(rate);
        EXPECT_EQ(rig->editor->getRateIndicator()->getValue(), value) << rate;
        // The 22-pixel columns, 2 pixels wider each side for "+12".
        EXPECT_EQ(rig->editor->getRateScaleLabel(0)->getViewSize(),
                  CRect(left - 2, 17, left + 24, 29));
        EXPECT_EQ(rig->editor->getRateScaleLabel(2)->getViewSize().top, 17 + 224);
    }
}

TEST_F(Zkmorva10EditorTest, HelpPagesTabsKnobModeAndAddresses) {
    zktest::CapturedUrls captured;
    auto* pages = rig->editor->getHelpPages();
    rig->Click(Rig10::Centre(HelpOpenRect(1024)));
    ASSERT_EQ(pages->shownPage(), 0);
    EXPECT_EQ(rig->frame->getModalView(), pages->page(0));
    EXPECT_EQ(pages->page(0)->getViewSize(), CRect(325, 12, 699, 270));

    auto tabPoint = [&](CZkmorvaHelpPages::Tab tab) {
        CRect r = CZkmorvaHelpPages::TabRect(tab);
        const CRect page = pages->page(0)->getViewSize();
        r.offset(page.left, page.top);
        return Rig10::Centre(r);
    };
    // Switches to the mouse page; the knob-mode switch shows linear dragging.
    rig->Click(tabPoint(CZkmorvaHelpPages::Tab::Page2));
    ASSERT_EQ(pages->shownPage(), 1);
    EXPECT_EQ(pages->knobModeSwitch()->getValue(), 0.f);
    CRect knobMode = CZkmorvaHelpPages::kKnobModeRect;
    knobMode.offset(325, 12);
    rig->Click(Rig10::Centre(knobMode));
    EXPECT_EQ(rig->frame->getKnobMode(), kCircularMode);
    EXPECT_EQ(pages->knobModeSwitch()->getValue(), 1.f);
    rig->Click(Rig10::Centre(knobMode));
    EXPECT_EQ(rig->frame->getKnobMode(), kLinearMode);

    rig->Click(tabPoint(CZkmorvaHelpPages::Tab::Manual));
    rig->Click(tabPoint(CZkmorvaHelpPages::Tab::Web));
    EXPECT_THAT(captured.urls,
                ::testing::ElementsAre(zkeditor::ManualUrl(), zkeditor::kProductPageUrl));
    // While a page is shown, nothing under it reacts.
    const float gain = rig->Param(11);
    rig->frame->dispatchWheel(Rig10::Centre(Knob(11).rect), 3.f, 0);
    EXPECT_EQ(rig->Param(11), gain);

    rig->Click(tabPoint(CZkmorvaHelpPages::Tab::Close));
    EXPECT_EQ(pages->shownPage(), -1);
    EXPECT_EQ(rig->frame->getModalView(), nullptr);
    // A folded panel centres the pages on the narrow frame.
    rig->Click(Rig10::Centre(PanelToggleRect(1024)));
    EXPECT_EQ(pages->page(2)->getViewSize(), CRect(106, 12, 480, 270));
}

TEST_F(Zkmorva10EditorTest, MetersShowTheUnitsOutputLevels) {
    std::vector<std::vector<float>> signal(2, std::vector<float>(4096));
    for (std::size_t i = 0; i < signal[0].size(); ++i) {
        signal[0][i] = signal[1][i] =
            0.5f * static_cast<float>(std::sin(0.05 * static_cast<double>(i)));
    }
    rig->host.Render(signal);
    rig->editor->idle();
    float level = 0.f;
    AudioUnitGetParameter(&rig->host.Unit(), 39, kAudioUnitScope_Global, 0, &level);
    EXPECT_GT(level, -12.f);
    EXPECT_FLOAT_EQ(rig->editor->getMeter(1)->getValue(), rig->editor->CalcMeters(level, true));
    EXPECT_GT(rig->editor->getMeter(0)->getValue(), 0.5f);
}

// Every control draws something of its own where the layout puts it; the folded
// frame leaves the curve out and shows the handle's keys instead.
TEST_F(Zkmorva10EditorTest, PictureShowsEveryControlAndTheFoldedPanel) {
    float levels[2] = {0.f, 0.f}; // 0 dB: lit meters
    rig->editor->SetMeters(levels, true);
    auto shown = rig->Picture();
    auto background = zktest::Background(skin::kBackground10, 1024, 283);
    std::vector<CRect> rects;
    for (const auto& def : kGainKnobs) {
        rects.push_back(def.rect);
        rects.push_back(zkeditor::TextBox(def));
    }
    for (const auto& def : kBandKnobs) {
        rects.push_back(def.rect);
        rects.push_back(zkeditor::TextBox(def));
    }
    for (const auto& def : kPads) {
        rects.push_back(def.rect);
        rects.push_back(zkeditor::PadTextBoxX(def));
        rects.push_back(zkeditor::PadTextBoxY(def));
    }
    for (const auto& def : kNames) {
        rects.push_back(def.rect);
    }
    for (const auto& def : kLeds) {
        rects.push_back(def.rect);
    }
    rects.push_back(kAutoListenMenuRect);
    rects.push_back(kMeterRects[0]);
    rects.push_back(kMeterRects[1]);
    for (const CRect& r : rects) {
        EXPECT_GT(zktest::DifferentPixels(*shown, *background, r), zktest::DrawnThreshold(r))
            << "nothing drawn at " << r.left << "," << r.top;
    }
    // The curve: its red line lies inside the screen.
    int red = 0;
    for (int y = kCurveRect.top; y < kCurveRect.bottom; ++y) {
        for (int x = kCurveRect.left; x < kCurveRect.right; ++x) {
            const CColor c = shown->getPixel(x, y);
            red += c.red > 200 && c.green < 80 && c.blue < 80;
        }
    }
    EXPECT_GT(red, kCurveRect.width());
    ASSERT_TRUE(shown->writePNG(ZK_SHOTS_DIR "/zkmorva10-panel-shown.png"));

    rig->Click(Rig10::Centre(PanelToggleRect(1024)));
    auto folded = rig->Picture();
    ASSERT_EQ(folded->getWidth(), 585);
    EXPECT_GT(zktest::DifferentPixels(*shown, *folded, kPanelHandleRect), 200);
    EXPECT_EQ(zktest::DifferentPixels(*shown, *folded, CRect(0, 0, 550, 283)), 0);
    ASSERT_TRUE(folded->writePNG(ZK_SHOTS_DIR "/zkmorva10-panel-hidden.png"));
}

} // namespace
