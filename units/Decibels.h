#pragma once

#include <cmath>

namespace zk {

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
