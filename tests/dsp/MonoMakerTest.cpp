#include "dsp/MonoMaker.h"
#include "support/Measure.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using zktest::MeasureGainDb;

constexpr double kFs = 88200.0;

TEST(MonoMaker, MidGetsHalfADbBelowTheFrequencyAndSideIsHighPassed) {
    CMonoMaker mm(kFs);
    mm.Update(120.0, 400.0);
    // Identical channels: all in the mid, nothing in the side.
    auto midGain = [&mm](double f) {
        mm.InitBuffers();
        return MeasureGainDb(
            [&mm](double* b, long n) {
                std::vector<double> side(static_cast<size_t>(n), 0.0);
                mm.FilterMSBuffers(b, side.data(), n);
                for (double s : side) {
                    ASSERT_EQ(s, 0.0);
                }
            },
            f, kFs);
    };
    EXPECT_NEAR(midGain(20.0), 0.5, 0.02) << "mid at 20 Hz";
    EXPECT_NEAR(midGain(5000.0), 0.0, 0.01) << "mid at 5000 Hz";

    // Antiphase channels: all in the side; a Butterworth high-pass at 120 Hz.
    auto sideGain = [&mm](double f) {
        mm.InitBuffers();
        return MeasureGainDb(
            [&mm](double* b, long n) {
                std::vector<double> mid(static_cast<size_t>(n), 0.0);
                mm.FilterMSBuffers(mid.data(), b, n);
            },
            f, kFs);
    };
    EXPECT_NEAR(sideGain(30.0), zktest::ButterworthDb(2, 30.0, 120.0, kFs, true), 0.01)
        << "side at 30 Hz";
    EXPECT_LT(sideGain(30.0), -23.0) << "side at 30 Hz";
    EXPECT_NEAR(sideGain(120.0), -3.01, 0.01) << "side at 120 Hz";
    EXPECT_NEAR(sideGain(4000.0), 0.0, 0.01) << "side at 4000 Hz";
}

TEST(MonoMaker, MidShelfStopsAtTheShelfFrequency) {
    CMonoMaker mm(kFs);
    mm.Update(120.0, 400.0);
    EXPECT_EQ(mm.GetBiquad(true)->GetParameters().frequency, 120.0);
    mm.Update(1000.0, 400.0);
    EXPECT_EQ(mm.GetBiquad(true)->GetParameters().frequency, 400.0);
    EXPECT_EQ(mm.GetBiquad(false)->GetParameters().frequency, 1000.0);
    EXPECT_EQ(mm.GetBiquad(false)->GetParameters().type, HighPass2);
    EXPECT_EQ(mm.GetBiquad(true)->GetParameters().type, LowShelf);
}

TEST(MonoMaker, LeftRightPathReturnsInputTimesTwoOverCSquared) {
    CMonoMaker mm(kFs);
    mm.Update(200.0, 400.0);
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> d(-1, 1);
    std::vector<double> l(1000), r(1000);
    for (size_t i = 0; i < l.size(); ++i) {
        l[i] = d(rng);
        r[i] = d(rng);
    }
    std::vector<double> lo = l, ro = r;
    mm.FilterLRBuffers(lo.data(), ro.data(), 1000);
    const double scale = 1.0000000342; // 2 / 1.4142135381698608^2, to ten digits
    for (size_t i = 0; i < l.size(); ++i) {
        ASSERT_NEAR(lo[i], l[i] * scale, 1e-15 + 1e-10 * std::abs(l[i])) << "left sample " << i;
        ASSERT_NEAR(ro[i], r[i] * scale, 1e-15 + 1e-10 * std::abs(r[i])) << "right sample " << i;
    }
    // ...but the sections were advanced with the converted samples.
    EXPECT_NE(mm.FilterSSample(0.0), 0.0);
}

} // namespace
