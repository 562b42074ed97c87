#include "WidgetTestSupport.h"

#include "widgets/CFrame.h"
#include "widgets/CTextEdit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

using ::testing::ElementsAre;

VstKeyCode Typed(char c) {
    return VstKeyCode{c, VKEY_NONE, 0};
}
VstKeyCode Key(unsigned char virt, unsigned char modifier = 0) {
    return VstKeyCode{0, virt, modifier};
}

bool ParseNumber(const char* text, float& value) {
    char* end = nullptr;
    value = std::strtof(text, &end);
    return end != text;
}

struct TextEditFixture : ::testing::Test {
    TextEditFixture() {
        edit = new CTextEdit(CRect(10, 10, 70, 24), &listener, 11, "3.0");
        frame.addView(edit);
    }
    void type(const char* s) {
        for (; *s; ++s) {
            frame.dispatchKeyDown(Typed(*s));
        }
    }
    zktest::RecordingListener listener;
    CFrame frame{CRect(0, 0, 200, 100)};
    CTextEdit* edit;
};

TEST_F(TextEditFixture, ClickOpensWithAllSelectedTypingReplacesReturnCommits) {
    frame.dispatchMouseDown(CPoint(20, 15), kLButton, 0);
    frame.dispatchMouseUp(CPoint(20, 15), 0);
    ASSERT_TRUE(edit->isEditing());
    EXPECT_EQ(frame.getFocusView(), edit);
    EXPECT_EQ(edit->getSelectionStart(), 0u);
    EXPECT_EQ(edit->getSelectionEnd(), 3u);
    type("12.5");
    EXPECT_STREQ(edit->getText(), "3.0") << "the text changes only on commit";
    frame.dispatchKeyDown(Key(VKEY_RETURN));
    EXPECT_FALSE(edit->isEditing());
    EXPECT_EQ(frame.getFocusView(), nullptr);
    EXPECT_STREQ(edit->getText(), "12.5");
    EXPECT_THAT(listener.events, ElementsAre("begin 11", "changed 11", "end 11"));
}

TEST_F(TextEditFixture, EscapeRestoresTheTextAndReportsNothing) {
    frame.dispatchMouseDown(CPoint(20, 15), kLButton, 0);
    type("99");
    frame.dispatchKeyDown(Key(VKEY_ESCAPE));
    EXPECT_FALSE(edit->isEditing());
    EXPECT_STREQ(edit->getText(), "3.0");
    EXPECT_THAT(listener.events, ElementsAre("begin 11", "end 11"));
}

TEST_F(TextEditFixture, CaretKeysEditInsideTheText) {
    frame.dispatchMouseDown(CPoint(20, 15), kLButton, 0);
    frame.dispatchKeyDown(Key(VKEY_END));                   // "3.0|"
    frame.dispatchKeyDown(Key(VKEY_BACK));                  // "3.|"
    frame.dispatchKeyDown(Key(VKEY_HOME));                  // "|3."
    type("-");                                              // "-|3."
    frame.dispatchKeyDown(Key(VKEY_RIGHT, MODIFIER_SHIFT)); // select "3"
    type("7");                                              // "-7|."
    frame.dispatchKeyDown(Key(VKEY_DELETE));                // "-7|"
    type("k");
    EXPECT_EQ(edit->getEditText(), "-7k");
    frame.dispatchKeyDown(Typed('a'));                                   // plain 'a' types
    frame.dispatchKeyDown(VstKeyCode{'a', VKEY_NONE, MODIFIER_CONTROL}); // select all
    EXPECT_EQ(edit->getSelectionEnd() - edit->getSelectionStart(), 4u);
    frame.dispatchKeyDown(Key(VKEY_ENTER));
    EXPECT_STREQ(edit->getText(), "-7ka");
}

TEST_F(TextEditFixture, PressElsewhereCommitsAndValueConversionSetsTheValue) {
    edit->setValueConvert(ParseNumber);
    frame.dispatchMouseDown(CPoint(20, 15), kLButton, 0);
    type("0.75");
    frame.dispatchMouseDown(CPoint(150, 80), kLButton, 5000);
    EXPECT_FALSE(edit->isEditing());
    EXPECT_FLOAT_EQ(edit->getValue(), 0.75f);
    ASSERT_EQ(listener.values.size(), 1u);
    EXPECT_FLOAT_EQ(listener.values[0], 0.75f);

    // Unreadable text keeps the old value and text and reports nothing.
    frame.dispatchMouseDown(CPoint(20, 15), kLButton, 9000);
    type("abc");
    frame.dispatchKeyDown(Key(VKEY_RETURN));
    EXPECT_FLOAT_EQ(edit->getValue(), 0.75f);
    EXPECT_STREQ(edit->getText(), "0.75");
    EXPECT_EQ(listener.values.size(), 1u);
}

TEST_F(TextEditFixture, ClickWhileOpenMovesTheCaretAndDoubleClickSelectsAll) {
    frame.dispatchMouseDown(CPoint(20, 15), kLButton, 0);
    frame.dispatchMouseUp(CPoint(20, 15), 0);
    frame.dispatchMouseDown(CPoint(11, 15), kLButton, 1000); // far left of the centred text
    frame.dispatchMouseUp(CPoint(11, 15), 0);
    EXPECT_EQ(edit->getCaret(), 0u);
    EXPECT_EQ(edit->getSelectionEnd(), 0u);
    frame.dispatchMouseDown(CPoint(69, 15), kLButton, 3000);
    EXPECT_EQ(edit->getCaret(), 3u);
    frame.dispatchMouseUp(CPoint(69, 15), 0);
    frame.dispatchMouseDown(CPoint(69, 15), kLButton, 3100); // double click
    EXPECT_EQ(edit->getSelectionStart(), 0u);
    EXPECT_EQ(edit->getSelectionEnd(), 3u);
}

TEST_F(TextEditFixture, DoubleClickStyleOpensOnlyOnADoubleClick) {
    edit->setStyle(kDoubleClickStyle);
    frame.dispatchMouseDown(CPoint(20, 15), kLButton, 0);
    frame.dispatchMouseUp(CPoint(20, 15), 0);
    EXPECT_FALSE(edit->isEditing());
    frame.dispatchMouseDown(CPoint(21, 15), kLButton, 200);
    EXPECT_TRUE(edit->isEditing());
}

TEST_F(TextEditFixture, OpenBoxDrawsCaretAndSelection) {
    edit->setFontColor(kWhiteCColor);
    edit->setBackColor(kGreyCColor);
    COffscreenContext closed(200, 100);
    frame.draw(&closed);
    frame.dispatchMouseDown(CPoint(20, 15), kLButton, 0);
    COffscreenContext open(200, 100);
    frame.draw(&open);
    int selectionPixels = 0;
    for (int x = 10; x < 70; ++x) {
        const CColor c = open.getPixel(x, 11);
        selectionPixels += c.blue == 200 && c.red == 60;
    }
    EXPECT_GT(selectionPixels, 5);
    EXPECT_EQ(open.getPixel(12, 20), kGreyCColor) << "field shows while open";
}

// Without a string conversion a display shows two decimals (the same under a
// decimal-comma locale: see LocaleTexts).
TEST(ParamDisplay, TwoDecimalsWithoutAConversion) {
    CParamDisplay display(CRect(0, 0, 60, 14));
    EXPECT_EQ(display.valueToString(1.5f), "1.50");
    EXPECT_EQ(display.valueToString(-0.25f), "-0.25");
    EXPECT_EQ(display.valueToString(1234.567f), "1234.57");
    EXPECT_EQ(display.valueToString(0.004f), "0.00");
}

} // namespace
