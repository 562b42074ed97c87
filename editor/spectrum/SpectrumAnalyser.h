#pragma once

// The spectrum of one signal (one channel, or the power average of several) on
// the response curve's columns. Samples go in as they come; every hop a Hann
// frame is transformed, its power summed over each column's 1/6-octave band and
// folded into a running average whose reading falls by kFallDbPerSecond when the
// signal stops. Levels are in dB against a full-scale sine: a sine of peak
// amplitude A reads 20 log10(A) at its frequency, pink noise reads flat and white
// noise rises 3 dB per octave. Peaks hold the highest average until reset.
//
// Everything is allocated in the constructor; Push does no allocation.

#include "editor/spectrum/RealFft.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zkspectrum {

inline constexpr double kFallDbPerSecond = 20.0;

class SpectrumAnalyser {
public:
    // columnHz: the frequency of every column. hopFraction: the part of a frame
    // between two frames (0.25: 75 % overlap).
    SpectrumAnalyser(double sampleRate, std::span<const double> columnHz, int channels = 1,
                     double hopFraction = 0.25);

    // n samples of every channel (channels.size() must be the constructor's count).
    void Push(std::span<const float* const> channels, std::size_t n);
    void Push(const float* mono, std::size_t n) { Push(std::span(&mono, 1), n); }

    // dB per column; kNoLevel before the first frame. Columns at or above half
    // the sample rate have no reading (see Columns()).
    std::span<const float> Levels() const { return levels; }
    std::span<const float> Peaks() const { return peaks; }
    // Columns with a reading: those below half the sample rate.
    std::size_t Columns() const { return readable; }
    void ResetPeaks();
    // Forgets the signal: empty frame, no average, no peaks.
    void Reset();

    double SampleRate() const { return rate; }
    std::size_t FrameSize() const { return fft.Size(); }
    std::size_t Hop() const { return hop; }
    std::uint64_t Frames() const { return frames; }

private:
    void AnalyseFrame();

    double rate;
    RealFft fft;
    std::size_t hop;
    std::vector<float> window;
    double powerScale;
    double weight;
    std::vector<std::vector<float>> history; // per channel, FrameSize samples
    std::size_t filled = 0;
    std::vector<float> windowed;
    std::vector<double> power;      // per bin, this frame
    std::vector<double> cumulative; // bins + 1
    std::vector<double> lowBin, highBin;
    std::vector<double> average;
    std::vector<float> levels, peaks;
    std::size_t readable = 0;
    std::uint64_t frames = 0;
};

} // namespace zkspectrum
