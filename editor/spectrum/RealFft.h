#pragma once

// The forward real FFT of one frame size (KissFFT), giving the power |X_k|^2 of
// bins 0..n/2. Plans and buffers are made in the constructor.

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

struct kiss_fftr_state;

namespace zkspectrum {

class RealFft {
public:
    // n: even, at least 2.
    explicit RealFft(std::size_t n);
    ~RealFft();
    RealFft(const RealFft&) = delete;
    RealFft& operator=(const RealFft&) = delete;

    std::size_t Size() const { return size; }
    std::size_t Bins() const { return size / 2 + 1; }

    // Adds |X_k|^2 * scale of the frame (n samples) to power (Bins() values).
    void AddPower(const float* frame, double scale, std::span<double> power);

private:
    struct PlanDeleter {
        void operator()(kiss_fftr_state* plan) const;
    };
    std::size_t size;
    std::unique_ptr<kiss_fftr_state, PlanDeleter> plan;
    std::vector<float> spectrum; // re, im of bins 0..n/2
};

} // namespace zkspectrum
