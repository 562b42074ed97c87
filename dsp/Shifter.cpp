#include "Shifter.h"

#include "Truncate.h"

#include <cmath>

CZkmorvaShifter::CZkmorvaShifter(double sampleRate, int mode)
    : CSectionCascade(sampleRate), mode(mode) {}

// The bell shapes below (the q laws and the counter-bell frequencies) make the
// shifters' sound; every output bit depends on their constants as they stand.
void CZkmorvaShifter::Update(double value, int index) {
    switch (index) {
    case kMode:
        zk::TruncateToInt32(value, &mode);
        break;
    case kGain:
        gain = value;
        break;
    case kFrequency:
        frequency = value;
        break;
    default:
        break;
    }
    const double g = gain;
    const double f = frequency;
    if (mode == kBass) {
        section[0].Update(filterParameters{Peak, g, f, 61.91284196352159 / std::pow(f, 0.75)});
        section[1].Update(
            filterParameters{Peak, 1.0 / g, f * std::sqrt(f) / 2.8, std::pow(f, 0.25) * 0.37});
    } else if (mode == kPresence) {
        section[1].Update(filterParameters{Peak, g, f, 100000.0 / (7.0 * f)});
        section[0].Update(
            filterParameters{Peak, 1.0 / g, 70.0 * std::sqrt(f), 180.0 / std::sqrt(f)});
    }
}
