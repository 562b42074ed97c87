// Both editors on real units, driven through the frame as a user drives them:
// every control of the layout reaches its own parameter, the panel folds, the
// help pages, the meters and the pictures. What only one editor has follows the
// typed tests.
#include "EditorRig.h"

#include "editor/CAnimKnobEX.h"
#include "editor/CZkmorvaHelpPages.h"
#include "editor/ProductAddresses.h"
#include "editor/ValueMapping.h"
#include "editor/Zkmorva10Layout.h"
#include "editor/Zkmorva20Layout.h"
#include "units/Zkmorva20Parameters.h"
#include "widgets/CMovieBitmap.h"
#include "widgets/COnOffButton.h"
#include "widgets/COptionMenu.h"
#include "widgets/CTextEdit.h"
#include "widgets/CTextLabel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

using ::testing::ElementsAre;
using zktest::Rig10;
using zktest::Rig20;

struct Wheel {
    CRect rect;
    long tag;
    long buttons;
};
struct Switch {
    CRect rect;
    long tag;
};
// A panel as its layout tables place it: what the wheel moves, what a click
// toggles, and every rectangle where something of its own is drawn.
struct Panel {
    std::vector<Wheel> wheels;
    std::vector<Switch> switches;
    std::vector<CRect> drawn;

    template <class Defs> void Knobs(const Defs& defs, bool boxes) {
        for (const auto& def : defs) {
            wheels.push_back({def.rect, def.tag, 0});
            drawn.push_back(def.rect);
            if (boxes) {
                drawn.push_back(zkeditor::TextBox(def));
            }
        }
    }
    template <class Defs> void Pads(const Defs& defs, bool boxes) {
        for (const auto& def : defs) {
            wheels.push_back({def.rect, def.tagY, 0});
            wheels.push_back({def.rect, def.tagX, kShift});
            drawn.push_back(def.rect);
            if (boxes) {
                drawn.push_back(zkeditor::PadTextBoxX(def));
                drawn.push_back(zkeditor::PadTextBoxY(def));
            }
        }
    }
    template <class Defs> void Switches(const Defs& defs, bool isDrawn = true) {
        for (const auto& def : defs) {
            switches.push_back({def.rect, def.tag});
            if (isDrawn) {
                drawn.push_back(def.rect);
            }
        }
    }
};

struct Ten {
    using Rig = Rig10;
    static std::unique_ptr<Rig> Make() { return zktest::MakeRig10(); }
    static constexpr AudioUnitParameterID kCount = 41;
    static constexpr bool kSwitchesAlone = true; // no links, no solo
    static constexpr long kSlopeTags[] = {6, 29};
    static constexpr float kSlopeDrop = 0.62f, kDetent = 0.6f, kDetentQ = 16.f; // 6 dB/oct.
    static constexpr int kBackground = skin::kBackground10, kHelpPage = skin::kHelpPage10;
    static constexpr long kHidePanel = 40;
    static constexpr std::pair<CCoord, CCoord> kFull{1024, 283}, kFolded{585, 283};
    static constexpr CRect kFoldedToggle{560, 259, 585, 283}, kFoldedHelp{560, 0, 585, 25};
    static void Unlink(Rig&) {}
    static Panel Layout() {
        using namespace zk10layout;
        Panel p;
        p.Knobs(kGainKnobs, true);
        p.Knobs(kBandKnobs, true);
        p.Pads(kPads, true);
        p.Switches(kNames);
        p.Switches(kLeds);
        p.drawn.insert(p.drawn.end(), {kAutoListenMenuRect, kMeterRects[0], kMeterRects[1]});
        return p;
    }
};

struct Twenty {
    using Rig = Rig20;
    static std::unique_ptr<Rig> Make() { return zktest::MakeRig20(); }
    static constexpr AudioUnitParameterID kCount = 100; // the meters and panel state follow
    static constexpr bool kSwitchesAlone = false;       // links and solo move partners
    static constexpr long kSlopeTags[] = {18, 88};
    static constexpr float kSlopeDrop = 0.83f, kDetent = 0.8f, kDetentQ = 20.f; // 18 dB/oct.
    static constexpr int kBackground = skin::kBackground20, kHelpPage = skin::kHelpPage20;
    static constexpr long kHidePanel = 108;
    static constexpr std::pair<CCoord, CCoord> kFull{1024, 530}, kFolded{1024, 283};
    static constexpr CRect kFoldedToggle = zk20layout::kPanelToggleRect;
    static constexpr CRect kFoldedHelp = zk20layout::kHelpOpenRect;
    // Master link off: every control then moves its own parameter alone.
    static void Unlink(Rig& rig) {
        rig.Click(Rig::Centre(zk20layout::kTopLeds[3].rect));
        ASSERT_EQ(rig.Param(zk::kZ20MasterLink), 0.f);
    }
    static Panel Layout() {
        using namespace zk20layout;
        Panel p;
        p.Knobs(kTopKnobs, false);
        p.Knobs(kBandKnobs, true);
        p.Pads(kPads, false);
        p.Switches(kTopNames, false);
        p.Switches(kBandNames);
        p.Switches(kTopLeds);
        p.Switches(kBandLinks);
        for (const auto& def : kUpperMeters) {
            p.drawn.push_back(def.rect);
        }
        for (const auto& def : kLowerMeters) {
            p.drawn.push_back(def.rect);
        }
        p.drawn.insert(p.drawn.end(), {kBalanceRect, kCorrelationRect});
        return p;
    }
};

// The ids whose values differ between two snapshots.
std::vector<long> Changed(const std::vector<float>& before, const std::vector<float>& after) {
    std::vector<long> ids;
    for (std::size_t id = 0; id < before.size(); ++id) {
        if (before[id] != after[id]) {
            ids.push_back(static_cast<long>(id));
        }
    }
    return ids;
}

template <class Unit> struct Editors : ::testing::Test {
    std::unique_ptr<typename Unit::Rig> rig = Unit::Make();
    std::vector<float> Snapshot() { return rig->AllParams(Unit::kCount); }
};
using Units = ::testing::Types<Ten, Twenty>;
TYPED_TEST_SUITE(Editors, Units);

// Tags and rectangles agree with the unit's ids: the wheel at the centre of every
// knob and pad axis changes that parameter and no other.
TYPED_TEST(Editors, WheelOnEveryKnobAndPadChangesExactlyItsParameter) {
    auto& rig = *this->rig;
    TypeParam::Unlink(rig);
    for (const Wheel& w : TypeParam::Layout().wheels) {
        const std::vector<float> before = this->Snapshot();
        const float value = rig.editor->GetValue(w.tag); // away from the end it sits at
        rig.frame->dispatchWheel(rig.Centre(w.rect), value > 0.5f ? -3.f : 3.f, w.buttons);
        EXPECT_THAT(Changed(before, this->Snapshot()), ElementsAre(w.tag))
            << "control at " << w.rect.left << "," << w.rect.top;
    }
}

// A click toggles the switch's parameter, a second click brings it back.
TYPED_TEST(Editors, EverySwitchTogglesItsParameter) {
    auto& rig = *this->rig;
    for (const auto& [rect, tag] : TypeParam::Layout().switches) {
        const auto id = static_cast<AudioUnitParameterID>(tag);
        const std::vector<float> before = this->Snapshot();
        rig.Click(rig.Centre(rect));
        EXPECT_EQ(rig.Param(id), before[id] != 0.f ? 0.f : 1.f) << "switch " << tag;
        if (TypeParam::kSwitchesAlone) {
            EXPECT_THAT(Changed(before, this->Snapshot()), ElementsAre(tag));
        }
        rig.Click(rig.Centre(rect));
        EXPECT_EQ(rig.Param(id), before[id]) << "switch " << tag;
    }
}

// A slope knob released between detents snaps to the nearer one.
TYPED_TEST(Editors, SlopeKnobsSnapToTheirDetents) {
    auto& rig = *this->rig;
    TypeParam::Unlink(rig);
    for (long tag : TypeParam::kSlopeTags) {
        CControl* knob = rig.editor->getControls().first(tag, zkeditor::Role::Knob);
        ASSERT_NE(knob, nullptr);
        const auto pixels = static_cast<CCoord>((TypeParam::kSlopeDrop - knob->getValue()) * 200.f);
        rig.Drag(rig.Centre(knob->getViewSize()), pixels, 0);
        EXPECT_FLOAT_EQ(knob->getValue(), TypeParam::kDetent) << tag;
        EXPECT_FLOAT_EQ(rig.Param(static_cast<AudioUnitParameterID>(tag)), TypeParam::kDetentQ)
            << tag;
    }
}

// The toggle folds the frame, stores the state, moves the corner keys where the
// folded frame has them, and the host window follows on the next tick.
TYPED_TEST(Editors, PanelToggleFoldsTheFrameAndTheWindowFollows) {
    auto& rig = *this->rig;
    const auto size = [&] { return std::make_pair(rig.frame->getWidth(), rig.frame->getHeight()); };
    ASSERT_EQ(size(), TypeParam::kFull);
    rig.Click(rig.Centre(rig.editor->getPanelToggle()->getViewSize()));
    EXPECT_EQ(size(), TypeParam::kFolded);
    EXPECT_EQ(rig.Param(TypeParam::kHidePanel), 1.f);
    EXPECT_EQ(rig.editor->getPanelToggle()->getViewSize(), TypeParam::kFoldedToggle);
    EXPECT_EQ(rig.editor->getHelpOpenButton()->getViewSize(), TypeParam::kFoldedHelp);
    EXPECT_EQ(rig.editor->getPanelHandle()->getValue(), 0.f);
    rig.view->Tick();
    ASSERT_FALSE(rig.resizes.empty());
    EXPECT_EQ(rig.resizes.back(), size());
    // Back through the view, the plug-in window's path for input.
    const CPoint toggle = rig.Centre(TypeParam::kFoldedToggle);
    EXPECT_TRUE(rig.view->MouseDown(toggle, kLButton, rig.clock += 1000.0));
    rig.view->MouseUp(toggle, 0);
    rig.view->Tick();
    EXPECT_EQ(rig.resizes.back(), TypeParam::kFull);
    EXPECT_EQ(rig.Param(TypeParam::kHidePanel), 0.f);
    EXPECT_EQ(rig.editor->getPanelHandle()->getValue(), 1.f);
}

// The help key opens the unit's first page as the modal view; the tabs switch
// pages, flip the knob mode and open the manual and the product page; nothing
// under a page reacts and no tab writes a parameter; closed, the frame is free
// again. Folded, the pages sit centred on the narrower frame.
TYPED_TEST(Editors, HelpPagesTabsKnobModeAndAddresses) {
    auto& rig = *this->rig;
    zktest::CapturedUrls captured;
    const std::vector<float> before = this->Snapshot();
    auto* pages = rig.editor->getHelpPages();
    rig.Click(rig.Centre(rig.editor->getHelpOpenButton()->getViewSize()));
    ASSERT_EQ(pages->shownPage(), 0);
    EXPECT_EQ(rig.frame->getModalView(), pages->page(0));
    EXPECT_EQ(pages->page(0)->getBackground()->getResourceID(), TypeParam::kHelpPage);
    const CRect page = pages->page(0)->getViewSize();
    EXPECT_EQ(page, CRect(325, 12, 699, 270));
    auto at = [&](CRect r) {
        r.offset(page.left, page.top);
        return rig.Centre(r);
    };
    using Tab = CZkmorvaHelpPages::Tab;
    rig.Click(at(CZkmorvaHelpPages::TabRect(Tab::Page2)));
    ASSERT_EQ(pages->shownPage(), 1);
    EXPECT_EQ(pages->knobModeSwitch()->getValue(), 0.f);
    rig.Click(at(CZkmorvaHelpPages::kKnobModeRect));
    EXPECT_EQ(rig.frame->getKnobMode(), kCircularMode);
    EXPECT_EQ(pages->knobModeSwitch()->getValue(), 1.f);
    rig.Click(at(CZkmorvaHelpPages::kKnobModeRect));
    EXPECT_EQ(rig.frame->getKnobMode(), kLinearMode);

    rig.Click(at(CZkmorvaHelpPages::TabRect(Tab::Manual)));
    rig.Click(at(CZkmorvaHelpPages::TabRect(Tab::Web)));
    EXPECT_THAT(captured.urls, ElementsAre(zkeditor::ManualUrl(), zkeditor::kProductPageUrl));
    for (const Wheel& w : TypeParam::Layout().wheels) {
        rig.frame->dispatchWheel(rig.Centre(w.rect), 3.f, w.buttons);
    }
    rig.Click(at(CZkmorvaHelpPages::TabRect(Tab::Close)));
    EXPECT_EQ(pages->shownPage(), -1);
    EXPECT_EQ(rig.frame->getModalView(), nullptr);
    EXPECT_EQ(this->Snapshot(), before) << "a parameter changed while the pages were shown";
    rig.Click(rig.Centre(rig.editor->getPanelToggle()->getViewSize()));
    const CRect folded = pages->page(2)->getViewSize();
    EXPECT_NEAR(folded.left, (rig.frame->getWidth() - folded.width()) / 2.0, 0.5);
}

// Every control draws something of its own where the layout puts it (meters lit
// at 0 dB); folding changes nothing of the part that stays.
TYPED_TEST(Editors, PictureShowsEveryControlAndTheFoldedPanel) {
    auto& rig = *this->rig;
    std::array<float, 8> levels{0, 0, 0, 0, 0, 0, 0.9f, 0.5f};
    rig.editor->SetMeters(levels.data(), true);
    auto shown = rig.Picture();
    auto background =
        zktest::Background(TypeParam::kBackground, shown->getWidth(), shown->getHeight());
    for (const CRect& r : TypeParam::Layout().drawn) {
        EXPECT_GT(zktest::DifferentPixels(*shown, *background, r), zktest::DrawnThreshold(r))
            << "nothing drawn at " << r.left << "," << r.top;
    }
    const std::string name = std::is_same_v<TypeParam, Ten> ? "zkmorva10" : "zkmorva20";
    ASSERT_TRUE(shown->writePNG(ZK_SHOTS_DIR "/" + name + "-panel-shown.png"));
    rig.Click(rig.Centre(rig.editor->getPanelToggle()->getViewSize()));
    auto folded = rig.Picture();
    ASSERT_EQ(folded->getWidth(), TypeParam::kFolded.first);
    ASSERT_EQ(folded->getHeight(), TypeParam::kFolded.second);
    // The folded keys sit in the last 35 pixels of either editor.
    const CRect kept(0, 0, TypeParam::kFolded.first - 35, TypeParam::kFolded.second);
    EXPECT_EQ(zktest::DifferentPixels(*shown, *folded, kept), 0);
    ASSERT_TRUE(folded->writePNG(ZK_SHOTS_DIR "/" + name + "-panel-hidden.png"));
}

// Channel EQ only from here.

using Zkmorva10Editor = Editors<Ten>;

template <std::size_t N>
const zkeditor::KnobDef& KnobOf(const std::array<zkeditor::KnobDef, N>& defs, long tag) {
    const auto def =
        std::find_if(defs.begin(), defs.end(), [&](const auto& d) { return d.tag == tag; });
    EXPECT_NE(def, defs.end()) << "no knob " << tag;
    return def == defs.end() ? defs.front() : *def;
}
CRect BoxOf(long tag) {
    return zkeditor::TextBox(KnobOf(zk10layout::kBandKnobs, tag));
}

TEST_F(Zkmorva10Editor, DraggingAGainKnobSetsTheParameterInsideOneGesture) {
    zktest::GestureRecorder gestures(&rig->host.Unit(), 40);
    rig->Drag(Rig10::Centre(KnobOf(zk10layout::kBandKnobs, 11).rect), 0, -40); // 40 px of 200
    EXPECT_NEAR(rig->Param(11), 24.f * (0.5f + 0.2f) - 12.f, 1e-4);
    EXPECT_THAT(gestures.Take(), ElementsAre("begin 11", "end 11"));
    // The knob's own text box follows at once.
    auto* box =
        dynamic_cast<CTextEdit*>(rig->editor->getControls().first(11, zkeditor::Role::TextBox));
    ASSERT_NE(box, nullptr);
    EXPECT_STREQ(box->getText(), "4.8 dB");
}

TEST_F(Zkmorva10Editor, TypedTextGoesThroughTheTagsParseFunction) {
    rig->Type(BoxOf(18), "2,5k");
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
    // Beyond the range: clamped to the ends; letters read as 0 Hz: the bottom; a
    // gain of "1k" dB is +12; a typed Q only reaches a slope's resonant range.
    // "nan" is no number at all: nothing changes.
    const std::string nines(300, '9');
    const std::tuple<long, const char*, float, float> cases[] = {
        {18, "99k", 26000.f, 1.f},         {18, "nan", 26000.f, 1.f}, {18, "abc", 20.f, 0.01f},
        {18, nines.c_str(), 26000.f, 1.f}, {11, "1k", 12.f, 0.f},     {6, "30", 15.f, 1e-3f}};
    for (const auto& [tag, text, value, tolerance] : cases) {
        rig->Type(BoxOf(tag), text);
        EXPECT_NEAR(rig->Param(static_cast<AudioUnitParameterID>(tag)), value, tolerance) << text;
    }
    std::string junk;
    for (int i = 0; i < 600; ++i) {
        junk.push_back(static_cast<char>(32 + (i * 37) % 95));
    }
    for (const std::string& text : {junk, std::string("-1e309")}) {
        rig->Type(BoxOf(18), text);
        EXPECT_GE(rig->Param(18), 20.f);
        EXPECT_LE(rig->Param(18), 26000.f);
    }
}

TEST_F(Zkmorva10Editor, AutoListenMenuSendsTheModeIndex) {
    COptionMenu* menu = rig->editor->getAutoListenMenu();
    EXPECT_EQ(menu->getCurrent(), static_cast<long>(rig->Param(1)));
    menu->selectEntry(2);
    EXPECT_FLOAT_EQ(rig->Param(1), 2.f);
    EXPECT_STREQ(menu->getEntry(4), "Q - G");
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
    const std::tuple<double, float, CCoord> cases[] = {
        {44100.0, 1.0f, 944}, {32000.0, 1.0f, 944}, {48000.0, 0.5f, 951}, {96000.0, 0.0f, 972}};
    for (const auto& [rate, value, left] : cases) {
        auto rig = zktest::MakeRig10(rate);
        EXPECT_EQ(rig->editor->getRateIndicator()->getValue(), value) << rate;
        // The 22-pixel columns, 2 pixels wider each side for "+12".
        EXPECT_EQ(rig->editor->getRateScaleLabel(0)->getViewSize(),
                  CRect(left - 2, 17, left + 24, 29));
        EXPECT_EQ(rig->editor->getRateScaleLabel(2)->getViewSize().top, 17 + 224);
    }
}

TEST_F(Zkmorva10Editor, MetersShowTheUnitsOutputLevels) {
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
    // The curve: its red line lies inside the screen.
    const auto shown = rig->Picture();
    const CRect& curve = zk10layout::kCurveRect;
    int red = 0;
    for (int y = curve.top; y < curve.bottom; ++y) {
        for (int x = curve.left; x < curve.right; ++x) {
            const CColor c = shown->getPixel(x, y);
            red += c.red > 200 && c.green < 80 && c.blue < 80;
        }
    }
    EXPECT_GT(red, curve.width());
}

// Two-channel EQ only from here.

using Zkmorva20Editor = Editors<Twenty>;

TEST_F(Zkmorva20Editor, ChannelTwoControlsUseChannelOneTagPlus41) {
    Twenty::Unlink(*rig);
    const float channel1 = rig->Param(33);
    rig->Type(zkeditor::TextBox(KnobOf(zk20layout::kBandKnobs, 33 + 41)), "2,5k");
    EXPECT_NEAR(rig->Param(74), 2500.f, 0.5f);
    EXPECT_EQ(rig->Param(33), channel1);
    // The stereo width box reads percent.
    rig->Type(zkeditor::TextBox(zk20layout::kTopKnobs[5]), "200");
    EXPECT_NEAR(rig->Param(16), 200.f, 1e-3);
    // Channel 2's bass-shift frequency box.
    rig->Type(zkeditor::PadTextBoxX(zk20layout::kPads[2]), "150");
    EXPECT_NEAR(rig->Param(51 + 41), 150.f, 0.01f);
}

// The editor writes both sides of a linked pair, each inside a gesture, and the
// other solo and the master link's switches, so that a host hearing only the
// editor stores them all; and its controls show them at once, before any audio.
TEST_F(Zkmorva20Editor, LinkedChangesAreWrittenAndShownOnBothSides) {
    zktest::GestureRecorder gestures(&rig->host.Unit(), 108);
    CControl* left = rig->editor->getControls().first(24, zkeditor::Role::Knob);
    CControl* right = rig->editor->getControls().first(65, zkeditor::Role::Knob);
    ASSERT_TRUE(left && right);
    rig->Drag(Rig20::Centre(left->getViewSize()), 0, -40);
    EXPECT_NE(rig->Param(24), 0.f);
    EXPECT_EQ(rig->Param(65), rig->Param(24));
    EXPECT_EQ(right->getValue(), left->getValue());
    EXPECT_THAT(gestures.Take(), ElementsAre("begin 24", "begin 65", "end 24", "end 65"));

    rig->Click(Rig20::Centre(zk20layout::kTopLeds[0].rect)); // solo L
    rig->Click(Rig20::Centre(zk20layout::kTopLeds[1].rect)); // solo R switches solo L off
    EXPECT_EQ(rig->Param(0), 0.f);
    EXPECT_EQ(rig->editor->getControls().first(0, zkeditor::Role::Value)->getValue(), 0.f);
    gestures.Take();
    Twenty::Unlink(*rig); // every lamp goes out
    for (const auto& link : zk20layout::kBandLinks) {
        EXPECT_EQ(rig->Param(static_cast<AudioUnitParameterID>(link.tag)), 0.f) << link.tag;
        EXPECT_EQ(rig->editor->getControls().first(link.tag, zkeditor::Role::Value)->getValue(),
                  0.f)
            << link.tag;
    }
    const std::vector<std::string> g = gestures.Take();
    EXPECT_EQ(std::count(g.begin(), g.end(), "begin 20"), 1) << "each switch in a gesture";
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
TEST_F(Zkmorva20Editor, MetersRestWhereTheParametersStart) {
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

} // namespace
