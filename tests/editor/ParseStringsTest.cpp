#include "editor/ParseStrings.h"
#include "editor/DisplayStrings.h"
#include "widgets/CTextEdit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using zkeditor::ReadTypedNumber;

// The text box a parse function reads from.
struct Typed {
    explicit Typed(const char* text) : box(CRect(0, 0, 40, 14), nullptr, 7, text) {}
    CTextEdit box;
};

float Parse(float (*f)(CControl*), const char* text) {
    Typed t(text);
    return f(&t.box);
}

double Position20_26000(double hz) {
    return std::log(hz / 20.0) / std::log(1300.0);
}

TEST(ParseStrings, DecimalCommaAndKiloSuffix) {
    EXPECT_NEAR(Parse(string2frequency20_26000, "2,5k"), Position20_26000(2500), 1e-6);
    EXPECT_NEAR(Parse(string2frequency20_26000, "2.5K"), Position20_26000(2500), 1e-6);
    EXPECT_NEAR(Parse(string2frequency20_26000, " 2,5 kHz"), Position20_26000(2500), 1e-6);
    EXPECT_NEAR(Parse(string2frequency20_26000, "440 Hz"), Position20_26000(440), 1e-6);
    EXPECT_DOUBLE_EQ(ReadTypedNumber("1,25"), 1.25);
    EXPECT_DOUBLE_EQ(ReadTypedNumber("3k5"), 3000.0); // the number ends at the k
    EXPECT_DOUBLE_EQ(ReadTypedNumber("+7.5dB"), 7.5);
    EXPECT_DOUBLE_EQ(ReadTypedNumber("1e3"), 1000.0);
    EXPECT_DOUBLE_EQ(ReadTypedNumber("0x10"), 16.0);
    // A kilo applies to every kind: "1k" in a gain box is 1000 dB, not limited.
    EXPECT_NEAR(Parse(string2dBEq, "1k"), (1000.0 + 12.0) / 24.0, 1e-4);
}

TEST(ParseStrings, OnlyTheFirstTenCharactersCount) {
    EXPECT_DOUBLE_EQ(ReadTypedNumber("000000002k"), 2000.0); // k is the 10th
    EXPECT_DOUBLE_EQ(ReadTypedNumber("0000000002k"), 2.0);   // k is the 11th
    EXPECT_DOUBLE_EQ(ReadTypedNumber("12345678901234"), 1234567890.0);
    EXPECT_DOUBLE_EQ(ReadTypedNumber("         5"), 5.0);
    EXPECT_DOUBLE_EQ(ReadTypedNumber("          5"), 0.0);
}

TEST(ParseStrings, LettersAndOddInputGiveZero) {
    EXPECT_EQ(Parse(string2frequency20_26000, "abc"), -INFINITY);
    EXPECT_EQ(Parse(string2frequency400_26000, ""), -INFINITY);
    EXPECT_EQ(Parse(string2quality, "Q"), -INFINITY);
    EXPECT_FLOAT_EQ(Parse(string2dBEq, "loud"), 0.5f);
    EXPECT_NEAR(Parse(string2dB, "x"), 0.5f, 1e-6); // 0 dB
    EXPECT_FLOAT_EQ(Parse(string2percentStWi, "wide"), 0.f);
    for (const char* text : {"--5", "-+5", "+", "-", ",", "k", "e5", ".", "0x"}) {
        EXPECT_EQ(ReadTypedNumber(text), 0.0) << text;
    }
    EXPECT_EQ(ReadTypedNumber("1e999"), INFINITY);
    EXPECT_EQ(ReadTypedNumber("-1e999"), -INFINITY);
    EXPECT_EQ(ReadTypedNumber("1e-999"), 0.0);
    EXPECT_EQ(ReadTypedNumber("inf"), INFINITY);
}

TEST(ParseStrings, NegativeNumbersCountByMagnitudeExceptForGains) {
    EXPECT_FLOAT_EQ(Parse(string2frequency20_26000, "-100"),
                    Parse(string2frequency20_26000, "100"));
    EXPECT_FLOAT_EQ(Parse(string2frequency40_200, "-89"), Parse(string2frequency40_200, "89"));
    EXPECT_FLOAT_EQ(Parse(string2qualityShelv, "-1"), Parse(string2qualityShelv, "1"));
    EXPECT_FLOAT_EQ(Parse(string2percentStWi, "-150"), 0.625f);
    EXPECT_FLOAT_EQ(Parse(string2dBEq, "-6"), 0.25f);
    EXPECT_FLOAT_EQ(Parse(string2dBEq, "6"), 0.75f);
}

TEST(ParseStrings, LawsOfEachKind) {
    EXPECT_NEAR(Parse(string2frequency20_1000, "1000"), 1.0, 1e-6);
    EXPECT_NEAR(Parse(string2frequency400_26000, "400"), 0.0, 1e-6);
    EXPECT_NEAR(Parse(string2frequency8000_20000, "20k"), 1.0, 1e-6);
    EXPECT_NEAR(Parse(string2frequency40_200, "89,44"), 0.5, 1e-4);
    EXPECT_NEAR(Parse(string2quality, "15"), 1.0, 1e-6);
    EXPECT_NEAR(Parse(string2qualityShelv, "0,28"), 0.0, 1e-6);
    EXPECT_FLOAT_EQ(Parse(string2percentStWi, "100"), 0.5f);
    EXPECT_FLOAT_EQ(Parse(string2percentStWi, "200"), 0.75f);
    EXPECT_FLOAT_EQ(Parse(string2percentStWi, "400"), 1.f);
    // Slopes cannot be typed: the resonant half is the limit.
    EXPECT_NEAR(Parse(string2qualityHiLoPass, "2,1213"), 0.25, 1e-4);
    EXPECT_FLOAT_EQ(Parse(string2qualityHiLoPass, "15"), 0.5f);
    EXPECT_FLOAT_EQ(Parse(string2qualityHiLoPass, "24"), 0.5f);
    EXPECT_FLOAT_EQ(Parse(string2qualityHiLoPass, "1k"), 0.5f);
}

TEST(ParseStrings, LevelGainTextReadsBackToItsPosition) {
    EXPECT_NEAR(Parse(string2dB, "0"), 0.5, 1e-6);
    EXPECT_NEAR(Parse(string2dB, "12"), 1.0, 1e-6);
    // What dB2string shows must read back to (nearly) the same knob position.
    for (int i = 5; i <= 100; ++i) {
        const float x = static_cast<float>(i) / 100.f;
        char text[kDisplayTextSize];
        dB2string(x, text);
        const float back = Parse(string2dB, text);
        EXPECT_NEAR(back, x, 0.006f * x) << text; // one displayed decimal of a dB
    }
}

TEST(ParseStrings, AnyTextIsSafe) {
    std::string longText(5000, '9');
    EXPECT_DOUBLE_EQ(ReadTypedNumber(longText), 9999999999.0);
    std::string bytes;
    for (int c = 1; c < 256; ++c) {
        bytes.push_back(static_cast<char>(c));
    }
    EXPECT_EQ(ReadTypedNumber(bytes), 0.0);
    Typed t(longText.c_str());
    EXPECT_TRUE(std::isfinite(string2percentStWi(&t.box)));
    EXPECT_EQ(string2dBEq(nullptr), 0.5f); // no text box: nothing typed
    CControl notABox(CRect(0, 0, 10, 10));
    EXPECT_EQ(string2frequency20_1000(&notABox), -INFINITY);
}

} // namespace
