#pragma once

#include <cstdint>

// Filter shapes of a second-order section; stored as a plain int in
// filterParameters so that any value can be carried (unknown values are inert).
enum FilterType : int {
    Peak = 0,
    LowShelf = 1,
    HighShelf = 2,
    HighPass1 = 3,
    HighPass2 = 4,
    LowPass1 = 5,
    LowPass2 = 6,
    Notch = 7,
    BandPass = 8,
};

// Coefficients, normalised by a0: y = b0 x + b1 x1 + b2 x2 - a1 y1 - a2 y2.
struct BiquadCoeffs {
    double b0 = 1.0, b1 = 0.0, b2 = 0.0, a1 = 0.0, a2 = 0.0;
};

// History: previous two inputs and previous two outputs.
struct BiquadState {
    double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0;
};

// Settings of one section. gain is a linear factor: 1.0 or anything below 0.0
// makes the section an identity; pass, notch and band-pass types use 0.0 for "on".
// q is a quality factor for Peak, Notch and BandPass and the damping term (1/Q)
// for HighPass2 and LowPass2.
struct filterParameters {
    std::int32_t type = Peak;
    double gain = 1.0;
    double frequency = 0.0;
    double q = 0.0;
};

// The one second-order IIR section every filter is built from: bilinear
// transform with prewarping, direct form I, double precision, filtering in place.
// Parameters change one at a time through Update(value, which) and coefficients
// are recomputed only on a real change. The state can be saved and restored so
// that one section serves several channels in turn.
class CBiquad final {
public:
    // Indexes of Update(double, int).
    static constexpr int kType = 0;
    static constexpr int kGain = 1;
    static constexpr int kFrequency = 2;
    static constexpr int kQ = 3;
    static constexpr int kStateSize = 4;  // x1, x2, y1, y2
    static constexpr int kCoeffCount = 5; // b0, b1, b2, a1, a2
    // Where a corner at or past half the rate is moved to, as a fraction of the rate.
    static constexpr double kNyquistFraction = 0.45;

    explicit CBiquad(double sampleRate);
    CBiquad(double sampleRate, filterParameters p);

    void SetSampleRate(double sr);
    void FilterBuffer(double* buffer, long count);
    // Writes input minus filtered value (the complement); a flat section leaves
    // the buffer as it is rather than emptying it.
    void FilterBufferAndInvert(double* buffer, long count);
    double FilterSample(double x);
    void Update(double value, int index);
    void Update(filterParameters p);
    int InitBuffers();
    void GetBuffers(double* out) const;
    void StoreBuffers(const double* in);
    void GetCoeffs(double* out) const;
    filterParameters GetParameters() const { return params; }
    int InitCoeffs();

    // For the kernels that run many sections in one pass (CascadeKernels.h).
    const BiquadCoeffs& Coeffs() const { return coeffs; }
    BiquadState& State() { return state; }

    double GetSampleRate() const { return sampleRate; }
    bool IsIdentity() const { return IsIdentityGain(params.gain); }
    static bool IsIdentityGain(double gain) { return gain < 0.0 || gain == 1.0; }
    // Names the section's settings and coefficients: a new number on every change,
    // handed on by copies. Sections with the same number filter alike, so a kernel
    // that keeps coefficients from one block to the next reloads only when it changes.
    std::uint64_t Generation() const { return generation; }

private:
    void ComputeCoeffs();
    template <bool Complement> void RunBuffer(double* buffer, long count);

    double sampleRate;
    filterParameters params;
    BiquadCoeffs coeffs;
    BiquadState state;
    std::uint64_t generation = 0; // 0: as constructed, flat
};
