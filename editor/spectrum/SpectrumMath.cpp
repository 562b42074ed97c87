#include "editor/spectrum/SpectrumMath.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zkspectrum {

namespace {

constexpr double kBaseRate = 48000.0;
constexpr std::size_t kBaseFrame = 4096;
constexpr std::size_t kSmallestFrame = 1024;
constexpr std::size_t kLargestFrame = 32768;
constexpr double kFullScaleSinePower = 0.5;

} // namespace

std::size_t FrameSizeForRate(double sampleRate) {
    if (!(sampleRate > 0.0) || !std::isfinite(sampleRate)) {
        return kBaseFrame;
    }
    // 44.1 kHz rounds to the same octave as 48 kHz.
    const double octaves = std::round(std::log2(sampleRate / kBaseRate));
    const double size = static_cast<double>(kBaseFrame) * std::exp2(octaves);
    return static_cast<std::size_t>(
        std::clamp(size, static_cast<double>(kSmallestFrame), static_cast<double>(kLargestFrame)));
}

std::vector<float> HannWindow(std::size_t n) {
    std::vector<float> w(n);
    for (std::size_t i = 0; i < n; ++i) {
        const double phase =
            2.0 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(n);
        w[i] = static_cast<float>(0.5 - 0.5 * std::cos(phase));
    }
    return w;
}

double FrequencyOfColumn(double column, int columns, double lowHz, double highHz) {
    const double low = std::log10(lowHz);
    const double high = std::log10(highHz);
    return std::pow(10.0, low + column * (high - low) / columns);
}

double ColumnOfFrequency(double hz, int columns, double lowHz, double highHz) {
    const double low = std::log10(lowHz);
    const double high = std::log10(highHz);
    return (std::log10(hz) - low) * columns / (high - low);
}

double LevelOfPower(double power) {
    if (!(power > 0.0)) {
        return kNoLevel;
    }
    return std::max(10.0 * std::log10(power / kFullScaleSinePower), kNoLevel);
}

double PowerOfLevel(double level) {
    return kFullScaleSinePower * std::pow(10.0, level / 10.0);
}

double AverageWeight(double fallDbPerSecond, double hopSeconds) {
    return 1.0 - std::pow(10.0, -fallDbPerSecond * hopSeconds / 10.0);
}

BandEdges SixthOctave(double hz) {
    const double half = std::exp2(1.0 / 12.0);
    return {hz / half, hz * half};
}

double BandPower(std::span<const double> cumulative, std::span<const double> bins, double lowBin,
                 double highBin) {
    if (bins.empty() || cumulative.size() != bins.size() + 1) {
        return 0.0;
    }
    const double last = static_cast<double>(bins.size()) - 0.5;
    // Power from the bottom of bin 0 up to x.
    auto below = [&](double x) {
        if (x <= -0.5) {
            return 0.0;
        }
        if (x >= last) {
            return cumulative.back();
        }
        const auto k = static_cast<std::size_t>(std::floor(x + 0.5));
        return cumulative[k] + (x + 0.5 - static_cast<double>(k)) * bins[k];
    };
    return std::max(0.0, below(highBin) - below(lowBin));
}

} // namespace zkspectrum
