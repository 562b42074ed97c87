#pragma once

// The magnitude response of a setting, measured through the unit's real render path:
// a steady sine per frequency, rendered in host-sized blocks after a reset, its output
// level fitted once the filters have settled.
#include "cli/Parameters.h"
#include "cli/UnitCatalog.h"

#include <span>
#include <string>
#include <vector>

namespace zkcli {

struct Response {
    std::vector<double> frequencies;
    std::vector<std::vector<double>> gainDb; // [channel][frequency]
};

// `count` log-spaced frequencies from `lo` to `hi`, merged with `extra`, ascending.
std::vector<double> LogFrequencies(double lo, double hi, unsigned count,
                                   std::span<const double> extra = {});

struct ResponseSetup {
    double sampleRate = 48000.0;
    unsigned blockFrames = 512;
    const std::string* presetDocument = nullptr; // applied before the settings
    std::string presetSource;
};

// Units with a fixed channel count are measured on each channel with the tone on all
// of them (a centred source); other units on one channel.
Response MeasureResponse(const UnitKind& unit, std::span<const Setting> settings,
                         std::span<const double> frequencies, const ResponseSetup& setup);

// The level of a sine of known frequency in `signal`, by a least-squares fit of a
// sine and a cosine: exact for a steady tone whatever its phase.
double ToneAmplitude(std::span<const float> signal, double frequency, double sampleRate,
                     std::size_t offset);

} // namespace zkcli
