// The analyser's readings against signals of known spectrum: a sine, pink noise
// and white noise, at the rates the frame size is set for.

#include "editor/spectrum/SpectrumAnalyser.h"
#include "editor/spectrum/SpectrumMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

namespace {

using namespace zkspectrum;

// The response curve's axis in the Zkmorva 20 editor: 538 columns, 20 Hz to 40 kHz.
constexpr int kColumns = 538;
constexpr double kLowHz = 20.0;
constexpr double kHighHz = 40000.0;

std::vector<double> CurveAxis() {
    std::vector<double> hz(kColumns);
    for (int c = 0; c < kColumns; ++c) {
        hz[static_cast<std::size_t>(c)] = FrequencyOfColumn(c, kColumns, kLowHz, kHighHz);
    }
    return hz;
}

std::size_t ColumnNear(double hz) {
    return static_cast<std::size_t>(std::lround(ColumnOfFrequency(hz, kColumns, kLowHz, kHighHz)));
}

// Feeds a signal block by block; afterwards, the mean power of each column's
// reading over the frames after `settleSeconds`, as dB.
struct Reading {
    SpectrumAnalyser analyser;
    std::vector<double> meanPower;
    int averaged = 0;

    Reading(double rate, const std::vector<double>& axis) : analyser(rate, axis) {
        meanPower.assign(axis.size(), 0.0);
    }
    template <class Source> void Feed(Source&& next, double seconds, double settleSeconds) {
        const double rate = analyser.SampleRate();
        const auto total = static_cast<std::size_t>(seconds * rate);
        std::vector<float> block(analyser.Hop());
        for (std::size_t done = 0; done < total; done += block.size()) {
            for (float& s : block) {
                s = static_cast<float>(next());
            }
            analyser.Push(block.data(), block.size());
            if (static_cast<double>(done) >= settleSeconds * rate) {
                const auto levels = analyser.Levels();
                for (std::size_t c = 0; c < analyser.Columns(); ++c) {
                    meanPower[c] += PowerOfLevel(levels[c]);
                }
                ++averaged;
            }
        }
    }
    double MeanDb(std::size_t column) const { return LevelOfPower(meanPower[column] / averaged); }
};

// A 1 kHz sine at -6 dBFS reads -6 dB at 1 kHz within 0.5 dB, at 44.1 and 48
// kHz; an octave away it reads at least 60 dB lower. When it stops the reading
// falls by about 20 dB per second, and the held peak stays.
TEST(SpectrumCalibration, SineReadsItsLevelAndFallsTwentyDbPerSecond) {
    const auto axis = CurveAxis();
    const double amplitude = std::pow(10.0, -6.0 / 20.0);
    for (double rate : {44100.0, 48000.0}) {
        SCOPED_TRACE(rate);
        Reading run(rate, axis);
        std::uint64_t i = 0;
        auto sine = [&] {
            return amplitude *
                   std::sin(2.0 * std::numbers::pi * 1000.0 * static_cast<double>(i++) / rate);
        };
        run.Feed(sine, 3.0, 2.0);
        const std::size_t at = ColumnNear(1000.0);
        const double level = run.analyser.Levels()[at];
        EXPECT_NEAR(level, -6.0, 0.5) << "at 1 kHz";
        EXPECT_LT(run.analyser.Levels()[ColumnNear(2000.0)], level - 60.0) << "at 2 kHz";
        EXPECT_LT(run.analyser.Levels()[ColumnNear(500.0)], level - 60.0) << "at 500 Hz";

        run.Feed([] { return 0.0; }, 1.0, 99.0);
        EXPECT_NEAR(run.analyser.Levels()[at] - level, -20.0, 2.0) << "1 s after the sine stopped";
        EXPECT_NEAR(run.analyser.Peaks()[at], level, 0.05) << "held peak at 1 kHz";
        run.analyser.ResetPeaks();
        EXPECT_EQ(run.analyser.Peaks()[at], run.analyser.Levels()[at]);
    }
}

// Pink noise (white noise through a filter that is 1/f in power within 0.05 dB
// above 10 Hz) reads flat within 1.5 dB from 50 Hz to 15 kHz.
TEST(SpectrumCalibration, PinkNoiseReadsFlat) {
    const auto axis = CurveAxis();
    Reading run(48000.0, axis);
    std::mt19937 random(27);
    std::normal_distribution<double> white(0.0, 0.05);
    double b0 = 0, b1 = 0, b2 = 0, b3 = 0, b4 = 0, b5 = 0, b6 = 0;
    auto pink = [&] {
        const double w = white(random);
        b0 = 0.99886 * b0 + w * 0.0555179;
        b1 = 0.99332 * b1 + w * 0.0750759;
        b2 = 0.96900 * b2 + w * 0.1538520;
        b3 = 0.86650 * b3 + w * 0.3104856;
        b4 = 0.55000 * b4 + w * 0.5329522;
        b5 = -0.7616 * b5 - w * 0.0168980;
        const double out = b0 + b1 + b2 + b3 + b4 + b5 + b6 + w * 0.5362;
        b6 = w * 0.115926;
        return out;
    };
    run.Feed(pink, 24.0, 2.0);
    const double reference = run.MeanDb(ColumnNear(1000.0));
    for (std::size_t c = ColumnNear(50.0); c <= ColumnNear(15000.0); ++c) {
        EXPECT_NEAR(run.MeanDb(c), reference, 1.5) << "at " << axis[c] << " Hz";
    }
}

// White noise rises 3 dB per octave, octave by octave from 62.5 Hz to 16 kHz.
TEST(SpectrumCalibration, WhiteNoiseRisesThreeDbPerOctave) {
    const auto axis = CurveAxis();
    Reading run(48000.0, axis);
    std::mt19937 random(6);
    std::normal_distribution<double> white(0.0, 0.1);
    run.Feed([&] { return white(random); }, 12.0, 2.0);
    for (double hz = 62.5; hz < 16000.0; hz *= 2.0) {
        const double rise = run.MeanDb(ColumnNear(2.0 * hz)) - run.MeanDb(ColumnNear(hz));
        EXPECT_NEAR(rise, 3.01, 0.5) << "from " << hz << " Hz to " << 2.0 * hz << " Hz";
    }
}

} // namespace
