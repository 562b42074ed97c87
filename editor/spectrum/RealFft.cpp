#include "editor/spectrum/RealFft.h"

#include <kiss_fftr.h>

#include <algorithm>
#include <new>

namespace zkspectrum {

void RealFft::PlanDeleter::operator()(kiss_fftr_state* p) const {
    kiss_fftr_free(p);
}

RealFft::RealFft(std::size_t n)
    : size(std::max<std::size_t>(n & ~std::size_t{1}, 2)),
      plan(kiss_fftr_alloc(static_cast<int>(size), 0, nullptr, nullptr)),
      spectrum(2 * (size / 2 + 1)) {
    if (!plan) {
        throw std::bad_alloc();
    }
}

RealFft::~RealFft() = default;

void RealFft::AddPower(const float* frame, double scale, std::span<double> power) {
    static_assert(sizeof(kiss_fft_cpx) == 2 * sizeof(float));
    kiss_fftr(plan.get(), frame, reinterpret_cast<kiss_fft_cpx*>(spectrum.data()));
    const std::size_t bins = std::min(power.size(), Bins());
    for (std::size_t k = 0; k < bins; ++k) {
        const double re = spectrum[2 * k];
        const double im = spectrum[2 * k + 1];
        power[k] += (re * re + im * im) * scale;
    }
}

} // namespace zkspectrum
