#include "Biquad.h"

#include "FilterConstants.h"
#include "Truncate.h"

#include <atomic>
#include <cmath>
#include <numbers>

namespace {
// Shared by every section of the process, so that no two settings ever get the
// same generation, whichever sections and threads they belong to.
std::atomic<std::uint64_t> lastGeneration{0};

std::uint64_t NextGeneration() {
    return lastGeneration.fetch_add(1, std::memory_order_relaxed) + 1;
}
} // namespace

CBiquad::CBiquad(double sampleRate) : sampleRate(sampleRate) {}

CBiquad::CBiquad(double sampleRate, filterParameters p) : sampleRate(sampleRate) {
    CBiquad::Update(p);
}

void CBiquad::SetSampleRate(double sr) {
    if (sr == sampleRate) {
        return;
    }
    sampleRate = sr;
    Update(params);
}

void CBiquad::Update(double value, int index) {
    switch (index) {
    case kType: {
        std::int32_t type = params.type;
        if (!zk::TruncateToInt32(value, &type) || type == params.type) {
            return;
        }
        params.type = type;
        break;
    }
    case kGain:
        if (value == params.gain) {
            return;
        }
        params.gain = value;
        break;
    case kFrequency:
        if (value == params.frequency) {
            return;
        }
        params.frequency = value;
        break;
    case kQ:
        if (value == params.q) {
            return;
        }
        params.q = value;
        break;
    default:
        return;
    }
    Update(params);
}

void CBiquad::Update(filterParameters p) {
    params = p;
    generation = NextGeneration();
    if (IsIdentityGain(params.gain)) {
        InitCoeffs();
        return;
    }
    ComputeCoeffs();
}

// Prewarped bilinear transform. The operation order of every expression is part
// of the result (bit-exact outputs), so the formulas are written out as they are
// evaluated, left to right.
void CBiquad::ComputeCoeffs() {
    const double g = params.gain;
    // A corner at or past half the rate (a 26 kHz band at 22.05 kHz, the band
    // limit at 8 kHz) would wrap the prewarping tangent into an unstable section:
    // such a corner runs at kNyquistFraction of the rate. Only then: every corner
    // below half the rate keeps its exact coefficients.
    const double f =
        params.frequency < 0.5 * sampleRate ? params.frequency : kNyquistFraction * sampleRate;
    const double q = params.q;
    const double w = f * std::numbers::pi / sampleRate;
    const double c = std::cos(w);
    const double K = std::sin(w) / c;
    const double K2 = K * K;
    constexpr double S = zk::kSqrt2Single;
    double& b0 = coeffs.b0;
    double& b1 = coeffs.b1;
    double& b2 = coeffs.b2;
    double& a1 = coeffs.a1;
    double& a2 = coeffs.a2;

    switch (params.type) {
    case Peak: {
        // Dividing by q*cos(w) narrows the bell towards half the rate; every band's
        // sound depends on it bit for bit.
        const double D = K / (q * c);
        if (g > 1.0) {
            const double n = 1.0 + D + K2;
            b0 = (1.0 + g * D + K2) / n;
            b1 = 2.0 * (K2 - 1.0) / n;
            b2 = (1.0 - g * D + K2) / n;
            a1 = 2.0 * (K2 - 1.0) / n;
            a2 = (1.0 - D + K2) / n;
        } else {
            const double V = 1.0 / g;
            const double n = 1.0 + V * D + K2;
            b0 = (1.0 + D + K2) / n;
            b1 = 2.0 * (K2 - 1.0) / n;
            b2 = (1.0 - D + K2) / n;
            a1 = 2.0 * (K2 - 1.0) / n;
            a2 = (1.0 - V * D + K2) / n;
        }
        break;
    }
    case LowShelf:
        if (g > 1.0) {
            const double r = std::sqrt(2.0 * g);
            const double n = 1.0 + S * K + K2;
            b0 = (1.0 + r * K + g * K2) / n;
            b1 = 2.0 * (g * K2 - 1.0) / n;
            b2 = (1.0 - r * K + g * K2) / n;
            a1 = 2.0 * (K2 - 1.0) / n;
            a2 = (1.0 - S * K + K2) / n;
        } else {
            const double V = 1.0 / g;
            const double r = std::sqrt(2.0 * V);
            const double n = 1.0 + r * K + V * K2;
            b0 = (1.0 + S * K + K2) / n;
            b1 = 2.0 * (K2 - 1.0) / n;
            b2 = (1.0 - S * K + K2) / n;
            a1 = 2.0 * (V * K2 - 1.0) / n;
            a2 = (1.0 - r * K + V * K2) / n;
        }
        break;
    case HighShelf:
        if (g > 1.0) {
            const double r = std::sqrt(2.0 * g);
            const double n = 1.0 + S * K + K2;
            b0 = (g + r * K + K2) / n;
            b1 = 2.0 * (K2 - g) / n;
            b2 = (g - r * K + K2) / n;
            a1 = 2.0 * (K2 - 1.0) / n;
            a2 = (1.0 - S * K + K2) / n;
        } else {
            const double V = 1.0 / g;
            const double r = std::sqrt(2.0 * V);
            const double n = V + r * K + K2;
            b0 = (1.0 + S * K + K2) / n;
            b1 = 2.0 * (K2 - 1.0) / n;
            b2 = (1.0 - S * K + K2) / n;
            a1 = 2.0 * (K2 - V) / n;
            a2 = (V - r * K + K2) / n;
        }
        break;
    case HighPass1:
        b0 = 1.0 / (K + 1.0);
        b1 = -1.0 / (K + 1.0);
        b2 = 0.0;
        a1 = (K - 1.0) / (K + 1.0);
        a2 = 0.0;
        break;
    case HighPass2: {
        const double n = 1.0 + q * K + K2;
        b0 = 1.0 / n;
        b1 = -2.0 / n;
        b2 = 1.0 / n;
        a1 = 2.0 * (K2 - 1.0) / n;
        a2 = (1.0 - q * K + K2) / n;
        break;
    }
    case LowPass1:
        b0 = K / (K + 1.0);
        b1 = K / (K + 1.0);
        b2 = 0.0;
        a1 = (K - 1.0) / (K + 1.0);
        a2 = 0.0;
        break;
    case LowPass2: {
        const double n = 1.0 + q * K + K2;
        b0 = K2 / n;
        b1 = 2.0 * K2 / n;
        b2 = K2 / n;
        a1 = 2.0 * (K2 - 1.0) / n;
        a2 = (1.0 - q * K + K2) / n;
        break;
    }
    case Notch: {
        const double D = K / (q * c);
        const double n = 1.0 + D + K2;
        b0 = (1.0 + K2) / n;
        b1 = 2.0 * (K2 - 1.0) / n;
        b2 = (1.0 + K2) / n;
        a1 = 2.0 * (K2 - 1.0) / n;
        a2 = (1.0 - D + K2) / n;
        break;
    }
    case BandPass: {
        // The bell's D term: a peak gain of q*cos(w) rather than unity.
        const double D = K / (q * c);
        const double n = 1.0 + D + K2;
        b0 = K / n;
        b1 = 0.0;
        b2 = -K / n;
        a1 = 2.0 * (K2 - 1.0) / n;
        a2 = (1.0 - D + K2) / n;
        break;
    }
    default:
        // Unknown types keep the coefficients they had.
        break;
    }
}

double CBiquad::FilterSample(double x) {
    if (IsIdentityGain(params.gain)) {
        return x;
    }
    const BiquadCoeffs& c = coeffs;
    BiquadState& s = state;
    const double y = c.b0 * x + c.b1 * s.x1 + c.b2 * s.x2 - c.a1 * s.y1 - c.a2 * s.y2;
    s.y2 = s.y1;
    s.y1 = y;
    s.x2 = s.x1;
    s.x1 = x;
    return y;
}

// One loop serves the plain and the complement output; coefficients and state
// stay in locals so that they live in registers for the whole block.
template <bool Complement> void CBiquad::RunBuffer(double* buffer, long count) {
    if (IsIdentityGain(params.gain) || count < 1) {
        return;
    }
    const double c0 = coeffs.b0, c1 = coeffs.b1, c2 = coeffs.b2, d1 = coeffs.a1, d2 = coeffs.a2;
    double sx1 = state.x1, sx2 = state.x2, sy1 = state.y1, sy2 = state.y2;
    for (long i = 0; i < count; ++i) {
        const double x = buffer[i];
        const double y = c0 * x + c1 * sx1 + c2 * sx2 - d1 * sy1 - d2 * sy2;
        sy2 = sy1;
        sy1 = y;
        sx2 = sx1;
        sx1 = x;
        buffer[i] = Complement ? x - y : y;
    }
    state = {sx1, sx2, sy1, sy2};
}

void CBiquad::FilterBuffer(double* buffer, long count) {
    RunBuffer<false>(buffer, count);
}

void CBiquad::FilterBufferAndInvert(double* buffer, long count) {
    RunBuffer<true>(buffer, count);
}

int CBiquad::InitBuffers() {
    state = {};
    return 0;
}

int CBiquad::InitCoeffs() {
    coeffs = {};
    generation = NextGeneration();
    return 0;
}

void CBiquad::GetBuffers(double* out) const {
    out[0] = state.x1;
    out[1] = state.x2;
    out[2] = state.y1;
    out[3] = state.y2;
}

void CBiquad::StoreBuffers(const double* in) {
    state = {in[0], in[1], in[2], in[3]};
}

void CBiquad::GetCoeffs(double* out) const {
    out[0] = coeffs.b0;
    out[1] = coeffs.b1;
    out[2] = coeffs.b2;
    out[3] = coeffs.a1;
    out[4] = coeffs.a2;
}
