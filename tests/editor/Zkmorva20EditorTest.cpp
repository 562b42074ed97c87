#include "EditorRig.h"

#include "editor/CZkmorvaEqCurve.h"
#include "editor/CZkmorvaHelpPages.h"
#include "editor/ValueMapping.h"
#include "editor/Zkmorva20Layout.h"
#include "units/Zkmorva20Parameters.h"
#include "widgets/CMovieBitmap.h"
#include "widgets/COnOffButton.h"
#include "widgets/CTextEdit.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace zk20layout;
using zktest::Rig20;

constexpr AudioUnitParameterID kParameterCount = 109;

struct Zkmorva20EditorTest : ::testing::Test {
    std::unique_ptr<Rig20> rig = zktest::MakeRig20();

    // What the unit holds for every id, set by the editor only.
    std::vector<float> Snapshot() { return rig->AllParams(100); }
};

// The unit links channels: a change on one side may move its partner. So a
// control counts as right when its own id moved, whatever the links did.
TEST_F(Zkmorva20EditorTest, WheelOnEveryKnobAndPadMovesItsOwnParameter) {
    // Links off, so each control moves its own parameter alone.
    rig->Click(Rig20::Centre(kTopLeds[3].rect)); // master link
    ASSERT_EQ(rig->Param(4), 0.f);
    auto wheel = [&](const CRect& rect, long expected, long buttons) {
        const std::vector<float> before = Snapshot();
        const float value = rig->editor->GetValue(expected);
        rig->frame->dispatchWheel(Rig20::Centre(rect), value > 0.5f ? -3.f : 3.f, buttons);
        const std::vector<float> after = Snapshot();
        std::vector<long> changed;
        for (std::size_t id = 0; id < after.size(); ++id) {
            if (after[id] != before[id]) {
                changed.push_back(static_cast<long>(id));
            }
        }
        EXPECT_THAT(changed, ::testing::ElementsAre(expected))
            << "control at " << rect.left << "," << rect.top;
    };
    for (const auto& def : kTopKnobs) {
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

TEST_F(Zkmorva20EditorTest, EverySwitchTogglesItsParameter) {
    std::vector<std::pair<CRect, long>> switches;
    for (const auto& def : kTopNames) {
        switches.emplace_back(def.rect, def.tag);
    }
    for (const auto& def : kBandNames) {
        switches.emplace_back(def.rect, def.tag);
    }
    for (const auto& def : kTopLeds) {
        switches.emplace_back(def.rect, def.tag);
    }
    for (const auto& def : kBandLinks) {
        switches.emplace_back(def.rect, def.tag);
    }
    ASSERT_EQ(switches.size(), 2u + 18u + 9u + 18u);
    for (const auto& [rect, tag] : switches) {
        const auto id = static_cast<AudioUnitParameterID>(tag);
        const float before = rig->Param(id);
        rig->Click(Rig20::Centre(rect));
        EXPECT_EQ(rig->Param(id), before != 0.f ? 0.f : 1.f) << "switch " << tag;
        rig->Click(Rig20::Centre(rect));
        EXPECT_EQ(rig->Param(id), before) << "switch " << tag;
    }
}

TEST_F(Zkmorva20EditorTest, ChannelTwoControlsUseChannelOneTagPlus41) {
    rig->Click(Rig20::Centre(kTopLeds[3].rect)); // master link off
    // Channel 2's MF frequency box (channel 1's tag 33).
    const auto& mf2 = *std::find_if(kBandKnobs.begin(), kBandKnobs.end(),
                                    [](const zkeditor::KnobDef& d) { return d.tag == 33 + 41; });
    const float channel1 = rig->Param(33);
    rig->Type(zkeditor::TextBox(mf2), "2,5k");
    EXPECT_NEAR(rig->Param(74), 2500.f, 0.5f);
    EXPECT_EQ(rig->Param(33), channel1);
    // The stereo width box reads percent.
    rig->Type(zkeditor::TextBox(kTopKnobs[5]), "200");
    EXPECT_NEAR(rig->Param(16), 200.f, 1e-3);
    // Channel 2's bass-shift frequency box.
    rig->Type(zkeditor::PadTextBoxX(kPads[2]), "150");
    EXPECT_NEAR(rig->Param(51 + 41), 150.f, 0.01f);
}

// The editor writes both sides of a linked pair, each inside a gesture, and the
// other solo and the master link's switches, so that a host hearing only the
// editor stores them all; and its controls show them at once, before any audio.
TEST_F(Zkmorva20EditorTest, LinkedChangesAreWrittenAndShownOnBothSides) {
    zktest::GestureRecorder gestures(&rig->host.Unit(), 108);
    CControl* left = rig->editor->getControls().first(24, zkeditor::Role::Knob);
    CControl* right = rig->editor->getControls().first(65, zkeditor::Role::Knob);
    ASSERT_TRUE(left && right);
    rig->Drag(Rig20::Centre(left->getViewSize()), 0, -40);
    EXPECT_NE(rig->Param(24), 0.f);
    EXPECT_EQ(rig->Param(65), rig->Param(24));
    EXPECT_EQ(right->getValue(), left->getValue());
    EXPECT_THAT(gestures.Take(),
                ::testing::ElementsAre("begin 24", "begin 65", "end 24", "end 65"));

    rig->Click(Rig20::Centre(kTopLeds[0].rect)); // solo L
    rig->Click(Rig20::Centre(kTopLeds[1].rect)); // solo R switches solo L off
    EXPECT_EQ(rig->Param(0), 0.f);
    EXPECT_EQ(rig->editor->getControls().first(0, zkeditor::Role::Value)->getValue(), 0.f);
    gestures.Take();
    rig->Click(Rig20::Centre(kTopLeds[3].rect)); // master link off: every lamp goes out
    for (const auto& link : kBandLinks) {
        EXPECT_EQ(rig->Param(static_cast<AudioUnitParameterID>(link.tag)), 0.f) << link.tag;
        EXPECT_EQ(rig->editor->getControls().first(link.tag, zkeditor::Role::Value)->getValue(),
                  0.f)
            << link.tag;
    }
    const std::vector<std::string> g = gestures.Take();
    EXPECT_EQ(std::count(g.begin(), g.end(), "begin 20"), 1) << "each switch in a gesture";
}

TEST_F(Zkmorva20EditorTest, SlopeKnobsOfBothChannelsSnap) {
    rig->Click(Rig20::Centre(kTopLeds[3].rect));
    for (long tag : {18L, 88L}) {
        CControl* knob = rig->editor->getControls().first(tag, zkeditor::Role::Knob);
        ASSERT_NE(knob, nullptr);
        const auto pixels = static_cast<CCoord>((0.83f - knob->getValue()) * 200.f);
        rig->Drag(Rig20::Centre(knob->getViewSize()), pixels, 0);
        EXPECT_FLOAT_EQ(knob->getValue(), 0.8f) << tag;
        EXPECT_FLOAT_EQ(rig->Param(static_cast<AudioUnitParameterID>(tag)), 20.f) << tag;
    }
}

TEST_F(Zkmorva20EditorTest, PanelFoldsVerticallyAndNothingElseMoves) {
    const CRect toggle = rig->editor->getPanelToggle()->getViewSize();
    ASSERT_EQ(toggle, kPanelToggleRect);
    rig->Click(Rig20::Centre(toggle));
    EXPECT_EQ(rig->frame->getWidth(), 1024);
    EXPECT_EQ(rig->frame->getHeight(), 283);
    EXPECT_EQ(rig->Param(108), 1.f);
    EXPECT_EQ(rig->editor->getPanelToggle()->getViewSize(), kPanelToggleRect);
    rig->view->Tick();
    EXPECT_EQ(rig->resizes.back(), std::make_pair(1024, 283));
    rig->Click(Rig20::Centre(toggle));
    rig->view->Tick();
    EXPECT_EQ(rig->resizes.back(), std::make_pair(1024, 530));
}

std::vector<std::vector<float>> Sine(float left, float right, std::size_t frames) {
    std::vector<std::vector<float>> signal(2, std::vector<float>(frames));
    for (std::size_t i = 0; i < frames; ++i) {
        const auto s = static_cast<float>(std::sin(0.03 * static_cast<double>(i)));
        signal[0][i] = left * s;
        signal[1][i] = right * s;
    }
    return signal;
}

// Before any audio (and through silence) the displays rest where the unit's
// parameters start: balance centred, correlation 0 (shown at 0.5), every meter
// dark; not at the hard left and -1 that the unit's smoothed values start from.
TEST_F(Zkmorva20EditorTest, MetersRestWhereTheParametersStart) {
    const float balance = zk::kZkmorva20Parameters[zk::kZ20BalanceMeter].defaultValue;
    const float correlation = zk::kZkmorva20Parameters[zk::kZ20CorrelationMeter].defaultValue;
    for (int pass = 0; pass < 2; ++pass) {
        rig->editor->idle();
        EXPECT_EQ(rig->editor->getBalanceDisplay()->getValue(), balance) << "pass " << pass;
        EXPECT_EQ(rig->editor->getCorrelationDisplay()->getValue(), correlation * 0.5f + 0.5f)
            << "pass " << pass;
        for (int m = 0; m < 8; ++m) {
            EXPECT_EQ(rig->editor->getMeter(m)->getValue(), 0.f) << "meter " << m;
        }
        rig->host.Render(std::vector<std::vector<float>>(2, std::vector<float>(4410)));
    }
}

// Correlation -1..+1 is shown as 0..1; the output pair drives two meter pairs.
TEST(Zkmorva20EditorMeters, CorrelationBalanceAndMetersFollowTheAudio) {
    for (const auto& [right, shown] : {std::pair{0.5f, 1.f}, std::pair{-0.5f, 0.f}}) {
        auto rig = zktest::MakeRig20();
        // The unit forms a reading per half second that a read has claimed, and
        // smooths the readings: a few seconds, read as the editor's timer would.
        for (int block = 0; block < 200; ++block) {
            rig->host.Render(Sine(0.5f, right, 2205));
            rig->editor->idle();
        }
        EXPECT_NEAR(rig->editor->getCorrelationDisplay()->getValue(), shown, 0.02f) << right;
        EXPECT_NEAR(rig->editor->getBalanceDisplay()->getValue(), rig->Param(100), 1e-6);
        // Upper pair and the lower output pair show the same values 4 and 5.
        EXPECT_GT(rig->editor->getMeter(0)->getValue(), 0.5f);
        EXPECT_EQ(rig->editor->getMeter(0)->getValue(), rig->editor->getMeter(6)->getValue());
        EXPECT_EQ(rig->editor->getMeter(1)->getValue(), rig->editor->getMeter(7)->getValue());
        // Input meters: value 0 and 1.
        EXPECT_GT(rig->editor->getMeter(2)->getValue(), 0.5f);
    }
}

TEST_F(Zkmorva20EditorTest, HelpPagesUseTheUnitsFirstPageAndTag) {
    rig->Click(Rig20::Centre(kHelpOpenRect));
    auto* pages = rig->editor->getHelpPages();
    ASSERT_EQ(pages->shownPage(), 0);
    EXPECT_EQ(pages->page(0)->getBackground()->getResourceID(), skin::kHelpPage20);
    EXPECT_EQ(pages->tab(0, CZkmorvaHelpPages::Tab::Close)->getTag(), kInternalTag);
    CRect close = CZkmorvaHelpPages::TabRect(CZkmorvaHelpPages::Tab::Close);
    close.offset(325, 12);
    rig->Click(Rig20::Centre(close));
    EXPECT_EQ(pages->shownPage(), -1);
}

TEST_F(Zkmorva20EditorTest, PictureShowsEveryControlAndTheFoldedPanel) {
    std::array<float, 8> levels{0, 0, 0, 0, 0, 0, 0.9f, 0.5f};
    rig->editor->SetMeters(levels.data(), true);
    auto shown = rig->Picture();
    auto background = zktest::Background(skin::kBackground20, 1024, 530);
    std::vector<CRect> rects;
    for (const auto& def : kTopKnobs) {
        rects.push_back(def.rect);
    }
    for (const auto& def : kBandKnobs) {
        rects.push_back(def.rect);
        rects.push_back(zkeditor::TextBox(def));
    }
    for (const auto& def : kPads) {
        rects.push_back(def.rect);
    }
    for (const auto& def : kBandNames) {
        rects.push_back(def.rect);
    }
    for (const auto& def : kTopLeds) {
        rects.push_back(def.rect);
    }
    for (const auto& def : kBandLinks) {
        rects.push_back(def.rect);
    }
    for (const auto& def : kUpperMeters) {
        rects.push_back(def.rect);
    }
    for (const auto& def : kLowerMeters) {
        rects.push_back(def.rect);
    }
    rects.push_back(kBalanceRect);
    rects.push_back(kCorrelationRect);
    for (const CRect& r : rects) {
        EXPECT_GT(zktest::DifferentPixels(*shown, *background, r), zktest::DrawnThreshold(r))
            << "nothing drawn at " << r.left << "," << r.top;
    }
    ASSERT_TRUE(shown->writePNG(ZK_SHOTS_DIR "/zkmorva20-panel-shown.png"));
    rig->Click(Rig20::Centre(kPanelToggleRect));
    auto folded = rig->Picture();
    ASSERT_EQ(folded->getHeight(), 283);
    EXPECT_EQ(zktest::DifferentPixels(*shown, *folded, CRect(0, 0, 990, 283)), 0);
    ASSERT_TRUE(folded->writePNG(ZK_SHOTS_DIR "/zkmorva20-panel-hidden.png"));
}

} // namespace
