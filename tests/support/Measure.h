#pragma once

// Measuring filters from the outside: a sine goes in, the level of the settled
// second half comes out, fitted as a sine plus a cosine so that the filter's
// phase shift does not matter.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <numbers>
#include <vector>

namespace zktest {

inline std::vector<double> Sine(double frequency, double sampleRate, long count,
                                double amplitude = 1.0) {
    std::vector<double> v(static_cast<size_t>(count));
    for (long i = 0; i < count; ++i) {
        v[static_cast<size_t>(i)] = amplitude * std::sin(2.0 * std::numbers::pi * frequency *
                                                         static_cast<double>(i) / sampleRate);
    }
    return v;
}

// Amplitude of the tone at `frequency` in v[begin, end): a least-squares fit of
// a sine and a cosine, exact for a pure tone whatever the window length.
inline double ToneAmplitude(const std::vector<double>& v, long begin, double frequency,
                            double sampleRate) {
    double ss = 0.0, cc = 0.0, sc = 0.0, ys = 0.0, yc = 0.0;
    for (size_t i = static_cast<size_t>(begin); i < v.size(); ++i) {
        const double phase =
            2.0 * std::numbers::pi * frequency * static_cast<double>(i) / sampleRate;
        const double sn = std::sin(phase), cs = std::cos(phase);
        ss += sn * sn;
        cc += cs * cs;
        sc += sn * cs;
        ys += v[i] * sn;
        yc += v[i] * cs;
    }
    const double det = ss * cc - sc * sc;
    const double a = (ys * cc - yc * sc) / det;
    const double b = (yc * ss - ys * sc) / det;
    return std::sqrt(a * a + b * b);
}

// A repeatable signal of values within +-0.8.
inline std::vector<double> RandomSignal(long count, std::uint32_t seed = 7) {
    std::vector<double> v(static_cast<std::size_t>(count));
    for (double& x : v) {
        seed = seed * 1664525u + 1013904223u;
        x = static_cast<double>(static_cast<float>(seed) / 4294967296.0f) * 1.6 - 0.8;
    }
    return v;
}

inline double ToDb(double ratio) {
    return 20.0 * std::log10(ratio);
}

// Gain in dB of a buffer-filtering callable at one frequency. The tone runs long
// enough for at least `minPeriods` periods and a settling time of `settleSeconds`;
// only the second half is measured.
inline double MeasureGainDb(const std::function<void(double*, long)>& filter, double frequency,
                            double sampleRate, double settleSeconds = 0.25,
                            double minPeriods = 200) {
    const double seconds = std::max(2.0 * settleSeconds, 2.0 * minPeriods / frequency);
    const long count = static_cast<long>(seconds * sampleRate);
    std::vector<double> buffer = Sine(frequency, sampleRate, count);
    filter(buffer.data(), count);
    return ToDb(ToneAmplitude(buffer, count / 2, frequency, sampleRate));
}

// Magnitude in dB of an ideal prewarped-bilinear Butterworth high-pass (or
// low-pass) of the given order: the independent reference for the cut filters.
inline double ButterworthDb(int order, double frequency, double corner, double sampleRate,
                            bool highPass) {
    const double t = std::tan(std::numbers::pi * frequency / sampleRate) /
                     std::tan(std::numbers::pi * corner / sampleRate);
    const double r = highPass ? 1.0 / t : t;
    return -10.0 * std::log10(1.0 + std::pow(r, 2.0 * order));
}

} // namespace zktest
