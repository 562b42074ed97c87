#pragma once

#include "SectionCascade.h"

// Bass or presence shift: a bell at the set frequency paired with the opposite,
// broader bell at a related frequency, so one gain control tilts a region.
class CZkmorvaShifter final : public CSectionCascade<2> {
public:
    enum Mode : int { kBass = 0, kPresence = 1 };
    static constexpr int kMode = 0;
    static constexpr int kGain = 1;
    static constexpr int kFrequency = 2;

    CZkmorvaShifter(double sampleRate, int mode);

    // Sets one value and always recomputes both bells (no equality test).
    void Update(double value, int index);

    int GetMode() const { return mode; }
    double GetGain() const { return gain; }
    double GetFrequency() const { return frequency; }

private:
    std::int32_t mode;
    double gain = 1.0;
    double frequency = 0.0;
};
