#include "dsp/AiFilter.h"
#include "dsp/Shifter.h"
#include "support/Measure.h"

#include <gtest/gtest.h>

namespace {

using zktest::MeasureGainDb;

double SectionGainDb(CBiquad section, double f) {
    section.InitBuffers();
    return MeasureGainDb([&section](double* b, long n) { section.FilterBuffer(b, n); }, f,
                         section.GetSampleRate());
}

TEST(Shifter, UnityGainPassesSignalUnchanged) {
    for (int mode : {0, 1}) {
        CZkmorvaShifter s(88200.0, mode);
        s.Update(mode == 0 ? 89.0 : 12600.0, CZkmorvaShifter::kFrequency);
        s.Update(1.0, CZkmorvaShifter::kGain);
        std::vector<double> in = zktest::Sine(440.0, 88200.0, 1000), buf = in;
        s.FilterBuffer(buf.data(), 1000);
        EXPECT_EQ(buf, in) << "mode " << mode;
    }
}

// Bass shift at 89 Hz, +6 dB: a bell of +6.02 dB at 89 Hz with q about 2.137 and
// a counter-bell of -6.02 dB at about 299.9 Hz with q about 1.136.
TEST(Shifter, BassShiftBellsSitWhereTheyShould) {
    CZkmorvaShifter s(88200.0, CZkmorvaShifter::kBass);
    s.Update(89.0, CZkmorvaShifter::kFrequency);
    s.Update(2.0, CZkmorvaShifter::kGain);
    const filterParameters boost = s.GetBiquad(0)->GetParameters();
    const filterParameters counter = s.GetBiquad(1)->GetParameters();
    EXPECT_EQ(boost.frequency, 89.0);
    EXPECT_NEAR(boost.q, 2.137, 0.001);
    EXPECT_NEAR(counter.frequency, 299.9, 0.05);
    EXPECT_NEAR(counter.q, 1.136, 0.001);
    EXPECT_NEAR(SectionGainDb(*s.GetBiquad(0), 89.0), 6.0206, 0.002) << "boost bell at 89 Hz";
    EXPECT_NEAR(SectionGainDb(*s.GetBiquad(1), counter.frequency), -6.0206, 0.002)
        << "counter bell at 299.9 Hz";
    // Together: a lift at the bass frequency, a dip above it, flat far away.
    auto whole = [&s](double f) {
        s.InitBuffers();
        return MeasureGainDb([&s](double* b, long n) { s.FilterBuffer(b, n); }, f, 88200.0);
    };
    EXPECT_GT(whole(89.0), 3.0) << "at 89 Hz";
    EXPECT_LT(whole(400.0), -2.0) << "at 400 Hz";
    EXPECT_NEAR(whole(15000.0), 0.0, 0.05) << "at 15000 Hz";
}

TEST(Shifter, PresenceShiftBellsSitWhereTheyShould) {
    CZkmorvaShifter s(88200.0, CZkmorvaShifter::kPresence);
    s.Update(12600.0, CZkmorvaShifter::kFrequency);
    s.Update(0.5, CZkmorvaShifter::kGain);
    const filterParameters main = s.GetBiquad(1)->GetParameters();
    const filterParameters counter = s.GetBiquad(0)->GetParameters();
    EXPECT_NEAR(main.q, 1.134, 0.001);
    EXPECT_EQ(main.gain, 0.5);
    EXPECT_NEAR(counter.frequency, 7857.0, 1.0);
    EXPECT_NEAR(counter.q, 1.60, 0.01);
    EXPECT_EQ(counter.gain, 2.0);
    EXPECT_NEAR(SectionGainDb(*s.GetBiquad(1), 12600.0), -6.0206, 0.002) << "cut bell at 12600 Hz";
    EXPECT_NEAR(SectionGainDb(*s.GetBiquad(0), counter.frequency), 6.0206, 0.002)
        << "counter bell at 7857 Hz";
}

// The oversampling low-pass at 88.2 kHz: flat in the audio band, steep above
// 21 kHz. Reference: two ideal tenth-order Butterworth filters in series.
TEST(AiFilter, FlatInBandAndSteepAboveTheHostBand) {
    constexpr double fs = 88200.0;
    for (double f : {1000.0, 10000.0, 18000.0, 21000.0, 22050.0, 24000.0, 30000.0}) {
        CZkmorvaAiFilter ai(fs);
        const double got =
            MeasureGainDb([&ai](double* b, long n) { ai.FilterBuffer(b, n); }, f, fs, 0.25, 2000);
        const double ideal = 2.0 * zktest::ButterworthDb(10, f, 21000.0, fs, false);
        EXPECT_NEAR(got, ideal, 0.05 + std::abs(ideal) * 0.01) << "at " << f << " Hz";
        if (f == 1000.0) {
            EXPECT_NEAR(got, 0.0, 1e-4) << "at 1000 Hz";
        }
        if (f >= 24000.0) {
            EXPECT_LT(got, -35.0) << "at " << f << " Hz";
        }
    }
}

TEST(AiFilter, SectionsUseTheFixedDampingPairs) {
    CZkmorvaAiFilter ai(96000.0);
    const double expected[] = {1.97550375346, 1.78189593728, 1.4142135381698608, 0.90801779715,
                               0.31280302793};
    for (int i = 0; i < 10; ++i) {
        const filterParameters p = ai.GetBiquad(i)->GetParameters();
        EXPECT_EQ(p.type, LowPass2);
        EXPECT_EQ(p.frequency, 21000.0);
        EXPECT_EQ(p.q, expected[i / 2]) << "section " << i;
    }
    ai.SetSampleRate(88200.0);
    EXPECT_EQ(ai.GetBiquad(9)->GetSampleRate(), 88200.0);
}

} // namespace
