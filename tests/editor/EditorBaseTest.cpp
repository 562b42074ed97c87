#include "EditorRig.h"
#include "widgets/WidgetTestSupport.h"

#include "editor/CAnimJoystick.h"
#include "editor/CAnimKnobEX.h"
#include "editor/CTextButton.h"
#include "editor/CVuMeterEX.h"
#include "editor/CZkTextEdit.h"
#include "editor/CZkmorvaEditor.h"
#include "editor/ValueMapping.h"
#include "units/Zkmorva10AU.h"
#include "widgets/COnOffButton.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;

// The base with the channel EQ's conversions and a bare frame, as a unit's
// editor will have them.
class TestEditor : public CZkmorvaEditor {
public:
    using CZkmorvaEditor::CZkmorvaEditor;
    bool open(void* parent) override {
        CZkmorvaEditor::open(parent);
        frame = std::make_unique<CFrame>(CRect(0, 0, 600, 300), parent, this);
        return true;
    }
    float ConvertToVSTValue(float value, long id) override {
        return zk10::ConvertToVSTValue(value, id);
    }
    float ConvertToAUValue(float value, long id) override {
        return zk10::ConvertToAUValue(value, id);
    }
    void valueChanged(CControl* control) override {
        changes.push_back("changed " + std::to_string(control->getTag()));
    }
    void SetTextBoxAsCurrentControl() override { ++textBoxes; }

    std::vector<std::string> changes;
    int textBoxes = 0;
};

struct EditorFixture : ::testing::Test {
    EditorFixture() { editor.open(nullptr); }
    ~EditorFixture() override { editor.close(); }
    CFrame* frame() { return editor.getFrame(); }

    zktest::UnitHost host{OpenZkmorva10(), 44100.0, 1};
    TestEditor editor{&host.Unit()};
    std::unique_ptr<CBitmap> strip = zktest::MakeStrip(30, 30, 101);
};

double Position20_26000(double hz) {
    return std::log(hz / 20.0) / std::log(1300.0);
}

TEST_F(EditorFixture, KnobsStartLinearShowTheUnitsValueAndResetToItsDefault) {
    EXPECT_EQ(frame()->getKnobMode(), kLinearMode);
    host.Set(zk::kZ10MfFreq, 1000.f);
    CAnimKnobEX* knob = editor.NewCAnimKnobEX(CRect(235, 128, 265, 158), zk::kZ10MfFreq,
                                              strip.get(), true, 0.f, frame());
    ASSERT_NE(knob, nullptr);
    EXPECT_EQ(frame()->getView(frame()->getNbViews() - 1), knob);
    EXPECT_NEAR(knob->getValue(), Position20_26000(1000.0), 1e-6);
    EXPECT_NEAR(knob->getDefaultValue(), Position20_26000(3150.0), 1e-6); // the unit's default
    EXPECT_TRUE(knob->getTransparency());
    // Alt-click returns there, reported to the editor and to the unit as a gesture.
    zktest::GestureRecorder gestures(&host.Unit(), zk::kZ10MfFreq);
    frame()->dispatchMouseDown(CPoint(250, 140), kLButton | kAlt, 0);
    EXPECT_NEAR(knob->getValue(), Position20_26000(3150.0), 1e-6);
    EXPECT_THAT(editor.changes, ElementsAre("changed 18"));
    EXPECT_THAT(gestures.Take(), ElementsAre("begin 18", "end 18"));
}

TEST_F(EditorFixture, JoystickFactoryAndResetReachBothParameters) {
    zktest::GestureRecorder gestures(&host.Unit(), zk::kZ10BassShiftGain);
    host.Set(zk::kZ10BassShiftFreq, 150.f);
    host.Set(zk::kZ10BassShiftGain, 6.f);
    CAnimJoystick* stick = editor.NewCAnimJoystick(CRect(15, 186, 79, 250), zk::kZ10BassShiftFreq,
                                                   zk::kZ10BassShiftGain, nullptr, true, frame());
    EXPECT_NEAR(stick->getValue(), std::log(150.0 / 40.0) / std::log(5.0), 1e-6);
    EXPECT_FLOAT_EQ(stick->getYValue(), 0.75f);
    EXPECT_EQ(stick->getDefaultValue(), 0.5f); // 89 Hz sits exactly in the middle
    EXPECT_FLOAT_EQ(stick->getDefaultYValue(), 0.5f);
    frame()->dispatchMouseDown(CPoint(20, 200), kLButton | kAlt, 0);
    EXPECT_THAT(editor.changes, ElementsAre("changed 33", "changed 32"));
    EXPECT_THAT(gestures.Take(), ElementsAre("begin 32", "begin 33", "end 32", "end 33", "begin 32",
                                             "begin 33", "end 32", "end 33"));
}

TEST_F(EditorFixture, TextBoxAndButtonFactories) {
    host.Set(zk::kZ10InputGain, -100.f);
    CZkTextEdit* box = editor.NewCZkTextEdit(CRect(331, 50, 371, 64), zk::kZ10InputGain, frame(),
                                             kNormalFontVeryBig, kWhiteCColor);
    EXPECT_EQ(box->getValue(), 0.f);
    EXPECT_FLOAT_EQ(box->getDefaultValue(), 0.5f);
    // A click opens the box and tells the editor first.
    frame()->dispatchMouseDown(CPoint(340, 55), kLButton, 0);
    EXPECT_EQ(editor.textBoxes, 1);
    EXPECT_TRUE(box->isEditing());
    frame()->dispatchMouseDown(CPoint(340, 55), kLButton, 1000); // already open
    EXPECT_EQ(editor.textBoxes, 1);

    host.Set(zk::kZ10MfOn, 0.f);
    CTextButton* button = editor.NewCTextButton(CRect(230, 260, 270, 272), zk::kZ10MfOn, "MF",
                                                frame(), kYellowCColor, kNormalFont);
    EXPECT_EQ(button->getValue(), 0.f);
    EXPECT_EQ(button->getDefaultValue(), 1.f);
    COnOffButton* onOff = editor.NewCOnOffButton(CRect(528, 238, 540, 250), zk::kZ10EqOn, nullptr,
                                                 false, 0.f, frame());
    EXPECT_EQ(onOff->getValue(), 1.f);
    EXPECT_EQ(editor.NewCTextLabel(CRect(), "lost", nullptr, kNormalFont, kWhiteCColor), nullptr);
}

TEST(EditorBase, MeterLaw) {
    TestEditor editor(nullptr);
    EXPECT_NEAR(editor.CalcMeters(0.f, true), 3.1 / 3.12, 1e-6); // 0.99359
    EXPECT_EQ(editor.CalcMeters(0.5f, true), 1.f);
    EXPECT_EQ(editor.CalcMeters(-61.f, true), 0.f);
    EXPECT_NEAR(editor.CalcMeters(-60.f, true), 0.1 / 3.12, 1e-6); // 0.0321
    EXPECT_NEAR(editor.CalcMeters(0.001f, false), 0.1 / 3.12, 1e-6);
    EXPECT_NEAR(editor.CalcMeters(0.1f, false), 2.1 / 3.12, 1e-6); // -20 dB
    EXPECT_EQ(editor.CalcMeters(NAN, false), 0.f);
    EXPECT_EQ(editor.CalcMeters(-1.f, false), 0.f);
    // Without a unit nothing is read and nothing is sent.
    EXPECT_EQ(editor.GetValue(3), zk10::ConvertToVSTValue(0.f, 3));
    editor.beginEdit(3);
    editor.endEdit(3);
}

} // namespace
