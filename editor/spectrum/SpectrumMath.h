#pragma once

// The arithmetic of the spectrum analyser: frame size per rate, the window, the
// curve's logarithmic frequency axis, levels, the fall of the time average and
// the 1/6-octave band of a column. Pure functions; the inverse pairs
// (column/frequency, level/power) round-trip.

#include <cstddef>
#include <span>
#include <vector>

namespace zkspectrum {

// 4096 points at 44.1 and 48 kHz, doubled or halved with the rate so that a frame
// always spans about 85 ms.
std::size_t FrameSizeForRate(double sampleRate);

// Periodic Hann window of n points.
std::vector<float> HannWindow(std::size_t n);

// Column c of a view `columns` wide spanning lowHz..highHz on a log axis (column
// 0 at lowHz, as the response curve draws it), and back.
double FrequencyOfColumn(double column, int columns, double lowHz, double highHz);
double ColumnOfFrequency(double hz, int columns, double lowHz, double highHz);

// Level in dB of a mean-square power, referenced to a full-scale sine (mean
// square 0.5), so a sine of peak amplitude A reads 20 log10(A). Powers at or
// below zero read kNoLevel.
inline constexpr double kNoLevel = -300.0;
double LevelOfPower(double power);
double PowerOfLevel(double level);

// Weight of a new frame in the running power average that makes the reading of a
// signal that stops fall by fallDbPerSecond, with a frame every hopSeconds.
double AverageWeight(double fallDbPerSecond, double hopSeconds);

// Edges of the 1/6-octave band centred on hz.
struct BandEdges {
    double low;
    double high;
};
BandEdges SixthOctave(double hz);

// Power between two frequencies (in bins, fractional) of a spectrum whose bin k
// holds the power of [k - 0.5, k + 0.5), spread evenly over it. cumulative[k] is
// the sum of bins below k (size: bins + 1).
double BandPower(std::span<const double> cumulative, std::span<const double> bins, double lowBin,
                 double highBin);

} // namespace zkspectrum
