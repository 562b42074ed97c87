#include "editor/spectrum/SpectrumAnalyser.h"

#include "editor/spectrum/SpectrumMath.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zkspectrum {

SpectrumAnalyser::SpectrumAnalyser(double sampleRate, std::span<const double> columnHz,
                                   int channels, double hopFraction)
    : rate(sampleRate > 0.0 && std::isfinite(sampleRate) ? sampleRate : 48000.0),
      fft(FrameSizeForRate(rate)),
      hop(std::clamp<std::size_t>(
          static_cast<std::size_t>(std::lround(static_cast<double>(fft.Size()) * hopFraction)), 1,
          fft.Size())),
      window(HannWindow(fft.Size())), windowed(fft.Size()), power(fft.Bins()),
      cumulative(fft.Bins() + 1), average(columnHz.size(), 0.0),
      levels(columnHz.size(), static_cast<float>(kNoLevel)),
      peaks(columnHz.size(), static_cast<float>(kNoLevel)) {
    const std::size_t n = fft.Size();
    double sumOfSquares = 0.0;
    for (float w : window) {
        sumOfSquares += static_cast<double>(w) * w;
    }
    // Mean square of a component from the bins of the positive half: twice the
    // bins' share of the windowed frame's energy (Parseval).
    const std::size_t count = static_cast<std::size_t>(std::max(channels, 1));
    powerScale = 2.0 / (static_cast<double>(n) * sumOfSquares * static_cast<double>(count));
    weight = AverageWeight(kFallDbPerSecond, static_cast<double>(hop) / rate);
    history.assign(count, std::vector<float>(n, 0.f));

    const double binHz = rate / static_cast<double>(n);
    const double nyquist = rate / 2.0;
    for (double hz : columnHz) {
        const BandEdges band = SixthOctave(hz);
        lowBin.push_back(band.low / binHz);
        highBin.push_back(std::min(band.high, nyquist) / binHz);
        if (hz < nyquist) {
            ++readable;
        }
    }
}

void SpectrumAnalyser::Push(std::span<const float* const> channels, std::size_t n) {
    if (channels.size() != history.size()) {
        return;
    }
    const std::size_t size = fft.Size();
    std::size_t done = 0;
    while (done < n) {
        const std::size_t take = std::min(n - done, size - filled);
        for (std::size_t c = 0; c < history.size(); ++c) {
            std::memcpy(history[c].data() + filled, channels[c] + done, take * sizeof(float));
        }
        filled += take;
        done += take;
        if (filled == size) {
            AnalyseFrame();
            // Keep the overlap for the next frame.
            for (auto& h : history) {
                std::memmove(h.data(), h.data() + hop, (size - hop) * sizeof(float));
            }
            filled = size - hop;
        }
    }
}

void SpectrumAnalyser::AnalyseFrame() {
    std::fill(power.begin(), power.end(), 0.0);
    for (const auto& h : history) {
        for (std::size_t i = 0; i < h.size(); ++i) {
            windowed[i] = h[i] * window[i];
        }
        fft.AddPower(windowed.data(), powerScale, power);
    }
    // DC and the top bin have no mirror image in the other half.
    power.front() *= 0.5;
    power.back() *= 0.5;
    cumulative[0] = 0.0;
    for (std::size_t k = 0; k < power.size(); ++k) {
        cumulative[k + 1] = cumulative[k] + power[k];
    }
    for (std::size_t c = 0; c < readable; ++c) {
        const double band = BandPower(cumulative, power, lowBin[c], highBin[c]);
        average[c] += weight * (band - average[c]);
        levels[c] = static_cast<float>(LevelOfPower(average[c]));
        peaks[c] = std::max(peaks[c], levels[c]);
    }
    ++frames;
}

void SpectrumAnalyser::ResetPeaks() {
    std::copy(levels.begin(), levels.end(), peaks.begin());
}

void SpectrumAnalyser::Reset() {
    for (auto& h : history) {
        std::fill(h.begin(), h.end(), 0.f);
    }
    filled = 0;
    std::fill(average.begin(), average.end(), 0.0);
    std::fill(levels.begin(), levels.end(), static_cast<float>(kNoLevel));
    std::fill(peaks.begin(), peaks.end(), static_cast<float>(kNoLevel));
    frames = 0;
}

} // namespace zkspectrum
