#pragma once

#include "SectionCascade.h"

// Variable-slope high-pass or low-pass: a fixed cascade of three sections whose
// types and damping values follow a slope code (Butterworth orders 1 to 5), or a
// single notch for codes below 16 (the slope control's resonant range).
class CZkmorvaHpLpFilter final : public CSectionCascade<3> {
public:
    enum Mode : int { kHighPass = 0, kLowPass = 1 };
    // Update(double, int) indexes; 1 is accepted and only recomputes.
    static constexpr int kMode = 0;
    static constexpr int kFrequency = 2;
    static constexpr int kSlope = 3;

    CZkmorvaHpLpFilter(double sampleRate, int mode);

    // The first section only; the chains run the whole cascade in blocks.
    double FilterSample(double x);
    void Update(double value, int index);
    // type = mode, gain = the sections' on-gain (0.0), q = slope code.
    void Update(filterParameters p);

    int GetMode() const { return mode; }
    double GetFrequency() const { return frequency; }
    double GetSlope() const { return slope; }

private:
    std::int32_t mode;
    double frequency = 0.0;
    double slope = 0.0;
};
