#include "dsp/HpLpFilter.h"
#include "support/Measure.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <random>

namespace {

using zktest::ButterworthDb;
using zktest::MeasureGainDb;

constexpr double kFs = 96000.0;
constexpr std::array<double, 5> kIdentity{1.0, 0.0, 0.0, 0.0, 0.0};

std::array<double, 5> Coeffs(const CZkmorvaHpLpFilter& f, int i) {
    std::array<double, 5> c{};
    f.GetCoeffs(c.data(), i);
    return c;
}

CZkmorvaHpLpFilter Make(int mode, double frequency, double slope) {
    CZkmorvaHpLpFilter f(kFs, mode);
    f.Update(frequency, CZkmorvaHpLpFilter::kFrequency);
    f.Update(slope, CZkmorvaHpLpFilter::kSlope);
    return f;
}

std::vector<double> Noise(long n, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(-1.0, 1.0);
    std::vector<double> v(static_cast<size_t>(n));
    for (double& x : v) {
        x = d(rng);
    }
    return v;
}

// Every section of every slope, both modes, against the prewarped bilinear
// sections built here from each slope's damping values: the single-precision
// root of two at 12 dB/oct, 1.0 and a first-order section at 18, 1.8477 and 0.7654
// at 24, 1.6181, 0.618 and a first-order section at 30. Responses cannot tell a
// damping value from its neighbour in the fourth decimal; coefficients can.
TEST(HpLpFilter, DampingOfEverySlopeIsPinnedThroughItsCoefficients) {
    constexpr double kFirstOrder = -1.0; // a first-order section
    constexpr double kOff = 0.0;         // a section passing the signal
    const std::array<std::pair<double, std::array<double, 3>>, 5> slopes{{
        {106.0, {kFirstOrder, kOff, kOff}},
        {112.0, {1.4142135381698608, kOff, kOff}},
        {118.0, {1.0, kFirstOrder, kOff}},
        {124.0, {1.8477, 0.7654, kOff}},
        {130.0, {1.6181, 0.618, kFirstOrder}},
    }};
    const double fc = 3000.0;
    const double k = std::tan(std::numbers::pi * fc / kFs);
    const CZkmorvaHpLpFilter fresh(kFs, CZkmorvaHpLpFilter::kHighPass);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Coeffs(fresh, i), kIdentity) << "a new filter is flat, section " << i + 1;
    }
    for (const auto& [code, damping] : slopes) {
        for (int mode : {0, 1}) {
            const bool hp = mode == 0;
            const CZkmorvaHpLpFilter f = Make(mode, fc, code);
            for (int i = 0; i < 3; ++i) {
                const double d = damping[static_cast<std::size_t>(i)];
                std::array<double, 5> expected = kIdentity;
                if (d == kFirstOrder) {
                    const double n = k + 1.0;
                    expected = {hp ? 1.0 / n : k / n, hp ? -1.0 / n : k / n, 0.0, (k - 1.0) / n,
                                0.0};
                } else if (d != kOff) {
                    const double n = 1.0 + d * k + k * k;
                    const double b0 = hp ? 1.0 / n : k * k / n;
                    expected = {b0, hp ? -2.0 * b0 : 2.0 * b0, b0, 2.0 * (k * k - 1.0) / n,
                                (1.0 - d * k + k * k) / n};
                }
                const std::array<double, 5> got = Coeffs(f, i);
                for (std::size_t c = 0; c < 5; ++c) {
                    EXPECT_NEAR(got[c], expected[c], 1e-13)
                        << "code " << code << (hp ? " high-pass" : " low-pass") << " section "
                        << i + 1 << " coefficient " << c;
                }
            }
        }
    }
}

// Each code, measured against the ideal Butterworth response of its order: at
// the corner (-3.01 dB) and well into the stop band, where the slope shows.
TEST(HpLpFilter, SlopeCodesGiveButterworthOrders) {
    const std::array<std::pair<double, int>, 5> codes{
        {{106.0, 1}, {112.0, 2}, {118.0, 3}, {124.0, 4}, {130.0, 5}}};
    const double fc = 2000.0;
    for (auto [code, order] : codes) {
        for (int mode : {0, 1}) {
            const bool hp = mode == 0;
            const std::array<double, 5> probes =
                hp ? std::array<double, 5>{125.0, 250.0, 1000.0, 2000.0, 8000.0}
                   : std::array<double, 5>{500.0, 2000.0, 4000.0, 8000.0, 16000.0};
            for (double f : probes) {
                CZkmorvaHpLpFilter filter = Make(mode, fc, code);
                const double got = MeasureGainDb(
                    [&filter](double* b, long n) { filter.FilterBuffer(b, n); }, f, kFs);
                // Four-decimal damping values: a few hundredths of a dB from ideal.
                EXPECT_NEAR(got, ButterworthDb(order, f, fc, kFs, hp), 0.03)
                    << "code " << code << (hp ? " high-pass" : " low-pass") << " at " << f << " Hz";
            }
        }
        // Octave to octave well below the corner: 6 dB per order.
        CZkmorvaHpLpFilter a = Make(0, fc, code), b = Make(0, fc, code);
        const double lo =
            MeasureGainDb([&a](double* x, long n) { a.FilterBuffer(x, n); }, 62.5, kFs);
        const double hi =
            MeasureGainDb([&b](double* x, long n) { b.FilterBuffer(x, n); }, 125.0, kFs);
        EXPECT_NEAR(hi - lo, 6.02 * order, 0.05) << "code " << code << " slope 62.5 to 125 Hz";
    }
}

TEST(HpLpFilter, LowCodesAreANotchAtTheCorner) {
    CZkmorvaHpLpFilter f = Make(0, 1000.0, 10.0);
    const filterParameters p = f.GetBiquad(0)->GetParameters();
    EXPECT_EQ(p.type, Notch);
    EXPECT_EQ(p.q, 10.0);
    EXPECT_TRUE(f.GetBiquad(1)->IsIdentity());
    EXPECT_TRUE(f.GetBiquad(2)->IsIdentity());
    EXPECT_LT(MeasureGainDb([&f](double* b, long n) { f.FilterBuffer(b, n); }, 1000.0, kFs), -80.0)
        << "at 1000 Hz";
}

TEST(HpLpFilter, UnlistedCodesFromSixteenUpAreThirtyDb) {
    const std::vector<double> in = Noise(2048, 5);
    CZkmorvaHpLpFilter ref = Make(1, 3000.0, 130.0);
    std::vector<double> expected = in;
    ref.FilterBuffer(expected.data(), 2048);
    for (double code : {131.0, 16.0, 1000.0}) {
        CZkmorvaHpLpFilter f = Make(1, 3000.0, code);
        std::vector<double> got = in;
        f.FilterBuffer(got.data(), 2048);
        EXPECT_EQ(got, expected) << "code " << code;
    }
}

TEST(HpLpFilter, UpdateAlwaysRecomputes) {
    CZkmorvaHpLpFilter f = Make(0, 1000.0, 124.0);
    const auto c0 = Coeffs(f, 0);
    f.GetBiquad(0)->InitCoeffs();
    f.Update(1000.0, CZkmorvaHpLpFilter::kFrequency); // same value: still recomputes
    EXPECT_EQ(Coeffs(f, 0), c0);
    f.GetBiquad(1)->InitCoeffs();
    f.Update(55.0, 1); // index 1 changes nothing but recomputes
    EXPECT_EQ(f.GetFrequency(), 1000.0);
    EXPECT_EQ(f.GetSlope(), 124.0);
    EXPECT_NE(Coeffs(f, 1), kIdentity);
    f.Update(1.0, CZkmorvaHpLpFilter::kMode);
    EXPECT_EQ(f.GetBiquad(0)->GetParameters().type, LowPass2);
}

TEST(HpLpFilter, FilterSampleRunsOnlyTheFirstSection) {
    CZkmorvaHpLpFilter f = Make(0, 500.0, 124.0);
    CBiquad first(kFs, filterParameters{HighPass2, 0.0, 500.0, 1.8477});
    for (double x : Noise(200, 9)) {
        EXPECT_EQ(f.FilterSample(x), first.FilterSample(x));
    }
}

} // namespace
