#include "editor/spectrum/SpectrumMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

namespace {

using namespace zkspectrum;

TEST(SpectrumMath, FrameSizeFollowsTheRate) {
    EXPECT_EQ(FrameSizeForRate(44100.0), 4096u);
    EXPECT_EQ(FrameSizeForRate(48000.0), 4096u);
    EXPECT_EQ(FrameSizeForRate(88200.0), 8192u);
    EXPECT_EQ(FrameSizeForRate(96000.0), 8192u);
    EXPECT_EQ(FrameSizeForRate(192000.0), 16384u);
    EXPECT_EQ(FrameSizeForRate(22050.0), 2048u);
    EXPECT_EQ(FrameSizeForRate(0.0), 4096u);
    EXPECT_EQ(FrameSizeForRate(NAN), 4096u);
}

// The inverse pairs round-trip, and the axis is the curve's: 20 Hz at column 0,
// 40 kHz one past the last column, a factor of 2000 spread evenly in log.
TEST(SpectrumMath, AxisAndLevelsRoundTrip) {
    constexpr int kColumns = 373;
    EXPECT_DOUBLE_EQ(FrequencyOfColumn(0, kColumns, 20.0, 40000.0), 20.0);
    EXPECT_NEAR(FrequencyOfColumn(kColumns, kColumns, 20.0, 40000.0), 40000.0, 1e-8);
    EXPECT_NEAR(FrequencyOfColumn(kColumns / 2.0, kColumns, 20.0, 40000.0),
                std::sqrt(20.0 * 40000.0), 1e-9);
    for (double column : {0.0, 1.5, 100.0, 372.0}) {
        const double hz = FrequencyOfColumn(column, kColumns, 20.0, 40000.0);
        EXPECT_NEAR(ColumnOfFrequency(hz, kColumns, 20.0, 40000.0), column, 1e-9);
    }
    for (double level : {-120.0, -6.0, 0.0, 12.0}) {
        EXPECT_NEAR(LevelOfPower(PowerOfLevel(level)), level, 1e-9);
    }
    EXPECT_NEAR(LevelOfPower(0.125), -20.0 * std::log10(2.0), 1e-12) << "a half-scale sine";
    EXPECT_EQ(LevelOfPower(0.0), kNoLevel);
    // A stopped signal falls 20 dB in one second, frame by frame.
    const double w = AverageWeight(20.0, 0.01);
    EXPECT_NEAR(10.0 * std::log10(std::pow(1.0 - w, 100)), -20.0, 1e-9);
}

// Fractional band edges share a bin's power in proportion; the whole range
// holds all of it.
TEST(SpectrumMath, BandPowerSplitsBinsEvenly) {
    const std::vector<double> bins{1.0, 2.0, 4.0, 8.0};
    std::vector<double> cumulative(bins.size() + 1, 0.0);
    std::partial_sum(bins.begin(), bins.end(), cumulative.begin() + 1);
    EXPECT_DOUBLE_EQ(BandPower(cumulative, bins, -0.5, 3.5), 15.0);
    EXPECT_DOUBLE_EQ(BandPower(cumulative, bins, 0.5, 1.5), 2.0);
    EXPECT_DOUBLE_EQ(BandPower(cumulative, bins, 1.0, 1.25), 0.5);
    EXPECT_DOUBLE_EQ(BandPower(cumulative, bins, 1.25, 2.0), 0.5 + 2.0);
    EXPECT_DOUBLE_EQ(BandPower(cumulative, bins, 3.0, 99.0), 4.0);
    const BandEdges band = SixthOctave(1000.0);
    EXPECT_NEAR(std::log2(band.high / band.low), 1.0 / 6.0, 1e-12);
    EXPECT_NEAR(std::sqrt(band.low * band.high), 1000.0, 1e-9);
}

} // namespace
