#include "editor/DisplayStrings.h"
#include "editor/ValueMapping.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

namespace {

using Display = void (*)(float, char*);

std::string Show(Display f, float x) {
    char text[256];
    std::memset(text, 'X', sizeof text);
    f(x, text);
    return text;
}

// Position of a frequency on a 20 Hz .. 26 kHz control, written out here.
float At20_26000(double hz) {
    return static_cast<float>(std::log(hz / 20.0) / std::log(1300.0));
}

TEST(DisplayStrings, ThreeWayFrequencyFormatAtItsBoundaries) {
    EXPECT_EQ(Show(frequency2string20_26000, 0.f), "20 Hz");
    EXPECT_EQ(Show(frequency2string20_26000, At20_26000(999.0)), "999 Hz");
    EXPECT_EQ(Show(frequency2string20_26000, At20_26000(1000.001)), "1.00 kHz");
    EXPECT_EQ(Show(frequency2string20_26000, At20_26000(9990.0)), "9.99 kHz");
    // The format is chosen before rounding: just below 10 kHz stays two decimals.
    EXPECT_EQ(Show(frequency2string20_26000, At20_26000(9996.0)), "10.00 kHz");
    EXPECT_EQ(Show(frequency2string20_26000, At20_26000(10000.01)), "10.0 kHz");
    EXPECT_EQ(Show(frequency2string20_26000, 1.f), "26.0 kHz");
    EXPECT_EQ(Show(frequency2string400_26000, 0.f), "400 Hz");
    EXPECT_EQ(Show(frequency2string40_200, 0.5f), "89 Hz");
    EXPECT_EQ(Show(frequency2string40_200, 1.f), "200 Hz");
    EXPECT_EQ(Show(frequency2string20_1000, 0.f), "20 Hz");
    EXPECT_EQ(Show(frequency2string20_1000, 1.f), "1.00 kHz");
    EXPECT_EQ(Show(frequency2string8000_20000, 0.f), "8.00 kHz");
    EXPECT_EQ(Show(frequency2string8000_20000, zk10::ConvertToVSTValue(12600.f, 35)), "12.6 kHz");
    EXPECT_EQ(Show(frequency2string8000_20000, 1.f), "20.0 kHz");
}

TEST(DisplayStrings, OffEndsOfTheCutFilters) {
    EXPECT_EQ(Show(frequency2stringOff_26000, 0.f), "off");
    EXPECT_EQ(Show(frequency2stringOff_26000, 1e-7f), "20 Hz");
    EXPECT_EQ(Show(frequency2stringOff_26000, 1.f), "26.0 kHz");
    EXPECT_EQ(Show(frequency2string20_Off, 1.f), "off");
    EXPECT_EQ(Show(frequency2string20_Off, 0.f), "20 Hz");
}

TEST(DisplayStrings, GainTexts) {
    EXPECT_EQ(Show(dB2string, 0.f), "-oo dB");
    EXPECT_EQ(Show(dB2string, -0.5f), "-oo dB");
    EXPECT_EQ(Show(dB2string, 0.5f), "0.0 dB");
    EXPECT_EQ(Show(dB2string, 1.f), "12.0 dB");
    EXPECT_EQ(Show(dB2string, 0.25f), "-12.0 dB");
    EXPECT_EQ(Show(dB2string, 0.75f), "7.0 dB");
    EXPECT_EQ(Show(dB2string, 0.1f), "-27.6 dB");
    EXPECT_EQ(Show(dB2stringEq, 0.f), "-12.0 dB");
    EXPECT_EQ(Show(dB2stringEq, 0.5f), "0.0 dB");
    EXPECT_EQ(Show(dB2stringEq, 0.75f), "6.0 dB");
    EXPECT_EQ(Show(dB2stringIs, 0.25f), "-6.0");
    EXPECT_EQ(Show(dB2stringIs, 1.f), "12.0");
}

TEST(DisplayStrings, QualityAndSlopeTexts) {
    EXPECT_EQ(Show(quality2string, 0.f), "0.3");
    EXPECT_EQ(Show(quality2string, 0.5f), "2.1"); // sqrt(4.5)
    EXPECT_EQ(Show(quality2string, 1.f), "15.0");
    EXPECT_EQ(Show(quality2stringHiLoPass, 0.f), "0.3");
    EXPECT_EQ(Show(quality2stringHiLoPass, 0.25f), "2.1");
    EXPECT_EQ(Show(quality2stringHiLoPass, 0.5f), "15.0");
    EXPECT_EQ(Show(quality2stringHiLoPass, 0.52f), "15.0");
    EXPECT_EQ(Show(quality2stringHiLoPass, 0.6f), "6 dB/oct.");
    EXPECT_EQ(Show(quality2stringHiLoPass, 0.65f), "6 dB/oct.");
    EXPECT_EQ(Show(quality2stringHiLoPass, 0.7f), "12 dB/oct.");
    EXPECT_EQ(Show(quality2stringHiLoPass, 0.8f), "18 dB/oct.");
    EXPECT_EQ(Show(quality2stringHiLoPass, 0.9f), "24 dB/oct.");
    EXPECT_EQ(Show(quality2stringHiLoPass, 1.f), "30 dB/oct.");
    EXPECT_EQ(Show(quality2stringLoShelv, 0.f), "Lo-Shelv");
    EXPECT_EQ(Show(quality2stringHiShelv, 0.01f), "Hi-Shelv");
    EXPECT_EQ(Show(quality2stringHiShelv, 0.02f), "0.3"); // Q 0.302
    EXPECT_EQ(Show(quality2stringLoShelv, 1.f), "15.0");
}

TEST(DisplayStrings, StereoWidth) {
    EXPECT_EQ(Show(percent2stringStWi, 0.f), "Mono");
    EXPECT_EQ(Show(percent2stringStWi, 0.001f), "0 %");
    EXPECT_EQ(Show(percent2stringStWi, 0.25f), "50 %");
    EXPECT_EQ(Show(percent2stringStWi, 0.5f), "100 %");
    EXPECT_EQ(Show(percent2stringStWi, 0.625f), "150 %");
    EXPECT_EQ(Show(percent2stringStWi, 0.75f), "200 %");
    EXPECT_EQ(Show(percent2stringStWi, 1.f), "400 %");
}

TEST(DisplayStrings, AnyInputStaysInsideTheBuffer) {
    for (float x : {1e30f, -1e30f, 180.f, INFINITY, -INFINITY, NAN}) {
        for (Display f :
             {dB2string, dB2stringEq, quality2string, quality2stringHiLoPass, quality2stringLoShelv,
              frequency2string20_26000, frequency2string8000_20000, percent2stringStWi}) {
            char text[kDisplayTextSize + 8];
            std::memset(text, 'X', sizeof text);
            f(x, text);
            EXPECT_LT(std::strlen(text), static_cast<std::size_t>(kDisplayTextSize));
        }
    }
    EXPECT_EQ(Show(quality2string, 180.f).size(), static_cast<std::size_t>(kDisplayTextSize - 1));
}

} // namespace
