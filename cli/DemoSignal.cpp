#include "cli/DemoSignal.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zkcli {

namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;
constexpr double kTonesEnd = 2.5;
constexpr double kSweepEnd = 5.5;
constexpr double kEnd = 8.0;

// Smooth 10 ms edges at both ends of a section, so the joins do not click.
double Envelope(double t, double start, double end) {
    if (t < start || t >= end) {
        return 0.0;
    }
    const double edge = 0.01;
    const double in = std::min(1.0, (t - start) / edge);
    const double out = std::min(1.0, (end - t) / edge);
    return std::sin(0.5 * std::numbers::pi * std::min(in, out));
}

// Uniform in [-1, 1) from a xorshift generator: fixed seed, so every run matches.
double NextNoise(std::uint64_t& state) {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return static_cast<double>(state >> 11) * (2.0 / 9007199254740992.0) - 1.0;
}

} // namespace

unsigned DemoSource::Read(float* const* channels, unsigned frames) {
    const unsigned n = static_cast<unsigned>(std::min<std::uint64_t>(frames, kFrames - position));
    for (unsigned i = 0; i < n; ++i, ++position) {
        const double t = static_cast<double>(position) / kSampleRate;
        double l = 0.0;
        double r = 0.0;

        if (const double e = Envelope(t, 0.0, kTonesEnd); e > 0.0) {
            // A low fundamental, mids and highs; the upper tones sit off-centre.
            const double common =
                0.14 * std::sin(kTwoPi * 55.0 * t) + 0.10 * std::sin(kTwoPi * 220.0 * t);
            l += e * (common + 0.08 * std::sin(kTwoPi * 1000.0 * t) +
                      0.04 * std::sin(kTwoPi * 5000.0 * t) + 0.03 * std::sin(kTwoPi * 12000.0 * t));
            r += e * (common + 0.08 * std::sin(kTwoPi * 1000.0 * t + 0.6) +
                      0.05 * std::sin(kTwoPi * 5000.0 * t + 1.3) +
                      0.02 * std::sin(kTwoPi * 12000.0 * t + 2.1));
        }
        if (const double e = Envelope(t, kTonesEnd, kSweepEnd); e > 0.0) {
            // Exponential sweep 20 Hz -> 20 kHz; the right side lags by 0.3 ms.
            const double span = kSweepEnd - kTonesEnd;
            const double k = std::log(1000.0) / span;
            auto phase = [&](double tau) { return kTwoPi * 20.0 * (std::exp(k * tau) - 1.0) / k; };
            const double tau = t - kTonesEnd;
            l += e * 0.25 * std::sin(phase(tau));
            r += e * 0.25 * std::sin(phase(std::max(0.0, tau - 0.0003)));
        }
        if (const double e = Envelope(t, kSweepEnd, kEnd); e > 0.0) {
            // Partly correlated noise with a gentle low tilt.
            const double c = NextNoise(noiseState);
            const double a = NextNoise(noiseState);
            const double b = NextNoise(noiseState);
            lowL += 0.05 * ((0.7 * c + 0.3 * a) - lowL);
            lowR += 0.05 * ((0.7 * c + 0.3 * b) - lowR);
            l += e * (0.12 * (0.7 * c + 0.3 * a) + 0.5 * lowL);
            r += e * (0.12 * (0.7 * c + 0.3 * b) + 0.5 * lowR);
        }
        // Low side content everywhere: in the mono maker's range.
        const double side = 0.06 * std::sin(kTwoPi * 40.0 * t) * Envelope(t, 0.0, kEnd);
        channels[0][i] = static_cast<float>(l + side);
        channels[1][i] = static_cast<float>(r - side);
    }
    return n;
}

} // namespace zkcli
