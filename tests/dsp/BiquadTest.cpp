#include "dsp/Biquad.h"
#include "dsp/HpLpFilter.h"
#include "dsp/Shifter.h"
#include "support/Measure.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <random>

namespace {

using zktest::MeasureGainDb;

constexpr double kFs = 48000.0;
constexpr double kSqrt2f = 1.4142135381698608;

std::vector<double> Noise(long n, unsigned seed = 7) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(-1.0, 1.0);
    std::vector<double> v(static_cast<size_t>(n));
    for (double& x : v) {
        x = d(rng);
    }
    return v;
}

std::array<double, 5> Coeffs(const CBiquad& b) {
    std::array<double, 5> c{};
    b.GetCoeffs(c.data());
    return c;
}

std::array<double, 4> State(const CBiquad& b) {
    std::array<double, 4> s{};
    b.GetBuffers(s.data());
    return s;
}

auto Through(CBiquad& b) {
    return [&b](double* buf, long n) { b.FilterBuffer(buf, n); };
}

// A flat section (gain exactly 1.0, or any negative gain) must leave every bit of
// the buffer and its own history alone, whatever its type; the complement output
// of a flat section is the input, not silence.
TEST(Biquad, FlatSectionLeavesBufferAndStateUntouched) {
    for (int type = Peak; type <= BandPass; ++type) {
        for (double gain : {1.0, -1.0, -0.001}) {
            SCOPED_TRACE("type " + std::to_string(type) + " gain " + std::to_string(gain));
            CBiquad b(kFs, filterParameters{type, 2.0, 1000.0, 0.7});
            std::vector<double> warm = Noise(64, 3);
            b.FilterBuffer(warm.data(), 64); // non-zero history
            b.Update(gain, CBiquad::kGain);
            const auto before = State(b);
            std::vector<double> in = Noise(512), buf = in;
            b.FilterBuffer(buf.data(), 512);
            EXPECT_EQ(0, std::memcmp(buf.data(), in.data(), in.size() * sizeof(double)));
            b.FilterBufferAndInvert(buf.data(), 512);
            EXPECT_EQ(0, std::memcmp(buf.data(), in.data(), in.size() * sizeof(double)));
            EXPECT_EQ(b.FilterSample(0.3), 0.3);
            EXPECT_EQ(State(b), before);
            EXPECT_EQ(Coeffs(b), (std::array<double, 5>{1.0, 0.0, 0.0, 0.0, 0.0}));
        }
    }
    CBiquad fresh(kFs); // a new section is flat too
    EXPECT_EQ(Coeffs(fresh), (std::array<double, 5>{1.0, 0.0, 0.0, 0.0, 0.0}));
    EXPECT_EQ(fresh.FilterSample(0.25), 0.25);
    // A zero or negative count touches neither buffer nor history.
    CBiquad peak(kFs, filterParameters{Peak, 2.0, 1000.0, 1.0});
    double x = 0.5;
    peak.FilterBuffer(&x, 0);
    peak.FilterBufferAndInvert(&x, -3);
    EXPECT_EQ(x, 0.5);
    EXPECT_EQ(State(peak), (std::array<double, 4>{}));
}

TEST(Biquad, FirstAndSecondOrderCutsAtCornerAndSlope) {
    struct Case {
        int type;
        int order;
        bool highPass;
        double q;
    };
    for (const Case& k : {Case{HighPass1, 1, true, 0.0}, Case{LowPass1, 1, false, 0.0},
                          Case{HighPass2, 2, true, kSqrt2f}, Case{LowPass2, 2, false, kSqrt2f}}) {
        for (double f : {50.0, 125.0, 500.0, 1000.0, 2000.0, 4000.0, 8000.0}) {
            CBiquad b(kFs, filterParameters{k.type, 0.0, 1000.0, k.q});
            EXPECT_NEAR(MeasureGainDb(Through(b), f, kFs),
                        zktest::ButterworthDb(k.order, f, 1000.0, kFs, k.highPass), 0.002)
                << "type " << k.type << " at " << f << " Hz";
        }
        const auto c = Coeffs(CBiquad(kFs, filterParameters{k.type, 0.0, 1000.0, k.q}));
        EXPECT_NEAR(c[0] + c[1] + c[2], k.highPass ? 0.0 : 1.0 + c[3] + c[4], 1e-15)
            << "type " << k.type << " at DC";
    }
}

TEST(Biquad, PeakBoostAtCentreAndCutIsMirrorImage) {
    const double fc = 2000.0, q = 1.5;
    CBiquad centre(kFs, filterParameters{Peak, 2.0, fc, q});
    EXPECT_NEAR(MeasureGainDb(Through(centre), fc, kFs), 6.0206, 0.002)
        << "boost at " << fc << " Hz";
    for (double f : {100.0, 700.0, 1500.0, 2000.0, 3100.0, 9000.0, 18000.0}) {
        CBiquad boost(kFs, filterParameters{Peak, 2.0, fc, q});
        CBiquad cut(kFs, filterParameters{Peak, 0.5, fc, q});
        const double up = MeasureGainDb(Through(boost), f, kFs);
        const double down = MeasureGainDb(Through(cut), f, kFs);
        EXPECT_NEAR(up, -down, 1e-6) << "at " << f << " Hz";
        EXPECT_GE(up, -1e-9) << "a boost never cuts, at " << f << " Hz";
    }
}

// The bandwidth term divides by q*cos(w), so the band-pass peaks at q*cos(w)
// rather than at unity, shrinking towards half the rate.
TEST(Biquad, BandPassPeakGainIsQTimesCos) {
    for (double fc : {1000.0, 8000.0, 16000.0}) {
        const double q = 2.0;
        CBiquad b(kFs, filterParameters{BandPass, 0.0, fc, q});
        const double expected = zktest::ToDb(q * std::cos(std::numbers::pi * fc / kFs));
        EXPECT_NEAR(MeasureGainDb(Through(b), fc, kFs), expected, 0.002) << "at " << fc << " Hz";
    }
}

TEST(Biquad, ShelvesReachTheirPlateausAndMirror) {
    for (int type : {LowShelf, HighShelf}) {
        const double inBand = type == LowShelf ? 20.0 : 20000.0;
        const double outBand = type == LowShelf ? 20000.0 : 20.0;
        CBiquad boost(kFs, filterParameters{type, 4.0, 1000.0, 0.0});
        EXPECT_NEAR(MeasureGainDb(Through(boost), inBand, kFs), 12.04, 0.1)
            << "type " << type << " at " << inBand << " Hz";
        boost.InitBuffers();
        EXPECT_NEAR(MeasureGainDb(Through(boost), outBand, kFs), 0.0, 0.1)
            << "type " << type << " at " << outBand << " Hz";
        for (double f : {200.0, 1000.0, 5000.0}) {
            CBiquad up(kFs, filterParameters{type, 4.0, 1000.0, 0.0});
            CBiquad down(kFs, filterParameters{type, 0.25, 1000.0, 0.0});
            EXPECT_NEAR(MeasureGainDb(Through(up), f, kFs), -MeasureGainDb(Through(down), f, kFs),
                        1e-6)
                << "type " << type << " at " << f << " Hz";
        }
    }
}

TEST(Biquad, NotchAndItsComplement) {
    const double fc = 3000.0;
    CBiquad notch(kFs, filterParameters{Notch, 0.0, fc, 10.0});
    EXPECT_LT(MeasureGainDb(Through(notch), fc, kFs), -80.0) << "at " << fc << " Hz";
    notch.InitBuffers();
    EXPECT_NEAR(MeasureGainDb(Through(notch), 300.0, kFs), 0.0, 0.01) << "at 300 Hz";

    auto complement = [](double f) {
        CBiquad b(kFs, filterParameters{Notch, 0.0, 3000.0, 10.0});
        return MeasureGainDb([&b](double* buf, long n) { b.FilterBufferAndInvert(buf, n); }, f,
                             kFs);
    };
    EXPECT_NEAR(complement(fc), 0.0, 0.01) << "complement at " << fc << " Hz";
    EXPECT_LT(complement(300.0), -30.0) << "complement at 300 Hz";
    EXPECT_LT(complement(20000.0), -20.0) << "complement at 20000 Hz";
}

// A corner at or past half the rate runs at 0.45 of the rate (the prewarping
// tangent would wrap there); one just below half keeps its own coefficients.
TEST(Biquad, CornersFromHalfTheRateRunAtPoint45OfIt) {
    for (int type : {Peak, LowShelf, HighShelf, LowPass2, HighPass1}) {
        const std::array<double, 5> atCorner =
            Coeffs(CBiquad(kFs, filterParameters{type, 2.0, 0.45 * kFs, 0.7}));
        for (double f : {0.5 * kFs, 0.6 * kFs, 2.0 * kFs}) {
            EXPECT_EQ(Coeffs(CBiquad(kFs, filterParameters{type, 2.0, f, 0.7})), atCorner)
                << "type " << type << " at " << f << " Hz";
        }
        const std::array<double, 5> below =
            Coeffs(CBiquad(kFs, filterParameters{type, 2.0, 0.499 * kFs, 0.7}));
        EXPECT_NE(below, atCorner) << "type " << type;
        for (double c : below) {
            EXPECT_TRUE(std::isfinite(c)) << "type " << type;
        }
    }
}

TEST(Biquad, SingleValueUpdateRules) {
    CBiquad b(kFs);
    b.Update(5.7, CBiquad::kType);
    EXPECT_EQ(b.GetParameters().type, LowPass1);
    b.Update(-2.9, CBiquad::kType);
    EXPECT_EQ(b.GetParameters().type, -2);
    b.Update(std::nan(""), CBiquad::kType); // no integer: ignored
    EXPECT_EQ(b.GetParameters().type, -2);

    b.Update(filterParameters{Peak, 2.0, 1000.0, 1.0});
    const auto peak = Coeffs(b);
    b.Update(123.0, 4); // unknown index
    EXPECT_EQ(b.GetParameters().frequency, 1000.0);
    EXPECT_EQ(Coeffs(b), peak);

    // An equal value must not recompute: identity coefficients loaded behind the
    // section's back survive an update with the same gain, and go on a new one.
    b.InitCoeffs();
    b.Update(2.0, CBiquad::kGain);
    EXPECT_EQ(Coeffs(b), (std::array<double, 5>{1.0, 0.0, 0.0, 0.0, 0.0}));
    b.Update(1000.0, CBiquad::kFrequency);
    b.Update(1.0, CBiquad::kQ);
    b.Update(0.0, CBiquad::kType);
    EXPECT_EQ(Coeffs(b), (std::array<double, 5>{1.0, 0.0, 0.0, 0.0, 0.0}));
    b.Update(2000.0, CBiquad::kFrequency);
    EXPECT_NE(Coeffs(b)[0], 1.0);
    b.SetSampleRate(kFs); // same rate: no recompute
    b.InitCoeffs();
    b.SetSampleRate(kFs);
    EXPECT_EQ(Coeffs(b)[0], 1.0);
}

TEST(Biquad, UnknownTypesKeepPreviousCoefficients) {
    for (double unknown : {9.0, -1.0, 1000.0}) {
        CBiquad b(kFs, filterParameters{HighShelf, 3.0, 5000.0, 0.0});
        const auto before = Coeffs(b);
        b.Update(unknown, CBiquad::kType);
        EXPECT_EQ(Coeffs(b), before) << "type " << unknown;
        b.Update(7000.0, CBiquad::kFrequency);
        EXPECT_EQ(Coeffs(b), before) << "type " << unknown;
    }
}

TEST(Biquad, RateChangeRecomputesAndKeepsState) {
    CBiquad b(44100.0, filterParameters{LowPass2, 0.0, 1000.0, kSqrt2f});
    std::vector<double> warm = Noise(100);
    b.FilterBuffer(warm.data(), 100);
    const auto state = State(b);
    const auto before = Coeffs(b);
    b.SetSampleRate(96000.0);
    EXPECT_EQ(State(b), state);
    EXPECT_NE(Coeffs(b), before);
    CBiquad fresh(96000.0, filterParameters{LowPass2, 0.0, 1000.0, kSqrt2f});
    EXPECT_EQ(Coeffs(b), Coeffs(fresh));
}

// One section (or cascade) serving two channels in turn, its history swapped
// between blocks, must give each channel exactly what one of its own would; and
// sample by sample it must give what it gives block by block.
template <class Section> void ExpectServesTwoChannels(const Section& prototype, bool bySample) {
    Section shared = prototype, ownLeft = prototype, ownRight = prototype;
    std::array<double, 4 * 3> leftState{}, rightState{};
    std::vector<double> left = Noise(4096, 1), right = Noise(4096, 2);
    std::vector<double> sharedLeft = left, sharedRight = right;
    for (long pos = 0; pos < 4096; pos += 137) {
        const long n = std::min(137L, 4096 - pos);
        shared.StoreBuffers(leftState.data());
        shared.FilterBuffer(sharedLeft.data() + pos, n);
        shared.GetBuffers(leftState.data());
        shared.StoreBuffers(rightState.data());
        shared.FilterBuffer(sharedRight.data() + pos, n);
        shared.GetBuffers(rightState.data());
    }
    std::vector<double> bySampleLeft = left;
    ownLeft.FilterBuffer(left.data(), 4096);
    ownRight.FilterBuffer(right.data(), 4096);
    EXPECT_EQ(sharedLeft, left);
    EXPECT_EQ(sharedRight, right);
    if (bySample) {
        Section single = prototype;
        for (double& x : bySampleLeft) {
            x = single.FilterSample(x);
        }
        EXPECT_EQ(bySampleLeft, left) << "sample by sample";
    }
}

TEST(Biquad, SectionsAndCascadesServeTwoChannelsExactly) {
    ExpectServesTwoChannels(CBiquad(kFs, filterParameters{Peak, 3.0, 700.0, 0.8}), true);
    ExpectServesTwoChannels(CBiquad(kFs, filterParameters{HighShelf, 0.3, 4000.0, 0.0}), true);
    CZkmorvaHpLpFilter cut(kFs, CZkmorvaHpLpFilter::kHighPass);
    cut.Update(300.0, CZkmorvaHpLpFilter::kFrequency);
    cut.Update(130.0, CZkmorvaHpLpFilter::kSlope);
    ExpectServesTwoChannels(cut, false); // its FilterSample runs the first section only
    CZkmorvaShifter shift(kFs, CZkmorvaShifter::kBass);
    shift.Update(120.0, CZkmorvaShifter::kFrequency);
    shift.Update(3.0, CZkmorvaShifter::kGain);
    ExpectServesTwoChannels(shift, true);
}

} // namespace
