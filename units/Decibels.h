#pragma once

#include <cmath>

namespace zk {

// Floors of the units' dB conversions. The input and output gains fall silent at
// their range's end (-100 dB, shown as "-oo"); band and shifter gains stop at -12 dB,
// so their floor lies far out of reach. Meters read silence one dB under their
// scale's end of -60 dB.
inline constexpr float kLevelGainFloorDb = -100.0f;
inline constexpr float kBandGainFloorDb = -1000.0f;
inline constexpr float kMeterFloorDb = -61.0f;

// dB to linear factor; at or below the floor the factor is exactly 0.
inline double DecibelsToFactor(double dB, float floor) {
    if (static_cast<double>(floor) >= dB) {
        return 0.0;
    }
    return std::pow(10.0, dB / 20.0);
}

// Linear factor to dB; a factor of 0 or less reads as the floor. A NaN factor is
// not caught and stays NaN.
inline double FactorToDecibels(double factor, float floor) {
    if (factor <= 0.0) {
        return static_cast<double>(floor);
    }
    return 20.0 * std::log10(factor);
}

} // namespace zk
