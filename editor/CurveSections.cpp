#include "editor/CurveSections.h"

#include <array>
#include <cmath>

namespace zkeditor::curve {

double SnapRatio(double r) {
    return (r > 0.98 && r < 1.02) ? 1.0 : r;
}

double calcPeak(double g, double q, double r, double s) {
    const double d = 1.0 - r * r;
    if (g > 1.0) {
        return s * std::log10(std::sqrt((g * r / q) * (g * r / q) + d * d) /
                              std::sqrt((r / q) * (r / q) + d * d));
    }
    if (g < 1.0) {
        return s * std::log10(std::sqrt((r / q) * (r / q) + d * d) /
                              std::sqrt((r / (g * q)) * (r / (g * q)) + d * d));
    }
    return 0.0;
}

double calcHiPass(double r, int n, double s) {
    const double rn = std::pow(r, n);
    return s * std::log10(rn / std::sqrt(rn * rn + 1.0));
}

double calcLoPass(double r, int n, double s) {
    const double rn = std::pow(r, n);
    return s * std::log10(1.0 / std::sqrt(rn * rn + 1.0));
}

double calcNotch(double q, double r, double s) {
    const double d = 1.0 - r * r;
    const double den = std::sqrt(d * d + (r / q) * (r / q));
    if (r < 1.0) {
        return s * std::log10(d / den);
    }
    if (r > 1.0) {
        return s * std::log10(-d / den);
    }
    return s * std::log10(1e-15);
}

// The shelf terms are rounded to single precision before the square roots.
double calcLoShelv(double g, double r, double s) {
    const double r2 = r * r;
    const float flat = static_cast<float>((1.0 - r2) * (1.0 - r2) + 2.0 * r2);
    if (g > 1.0) {
        const float boosted = static_cast<float>((g - r2) * (g - r2) + 2.0 * g * r2);
        return s * std::log10(std::sqrt(boosted) / std::sqrt(flat));
    }
    if (g < 1.0) {
        const double v = 1.0 / g;
        const float cut = static_cast<float>((v - r2) * (v - r2) + 2.0 * v * r2);
        return s * std::log10(std::sqrt(flat) / std::sqrt(cut));
    }
    return 0.0;
}

double calcHiShelv(double g, double r, double s) {
    const double r2 = r * r;
    const float flat = static_cast<float>((1.0 - r2) * (1.0 - r2) + 2.0 * r2);
    if (g > 1.0) {
        const float boosted = static_cast<float>((1.0 - g * r2) * (1.0 - g * r2) + 2.0 * g * r2);
        return s * std::log10(std::sqrt(boosted) / std::sqrt(flat));
    }
    if (g < 1.0) {
        const double v = 1.0 / g;
        const float cut = static_cast<float>((1.0 - r2 * v) * (1.0 - r2 * v) + 2.0 * v * r2);
        return s * std::log10(std::sqrt(flat) / std::sqrt(cut));
    }
    return 0.0;
}

int SlopeOrder(double code) {
    static constexpr std::array<double, 4> kBelow{65, 75, 85, 95};
    int order = 1;
    for (double limit : kBelow) {
        if (code < limit) {
            return order;
        }
        ++order;
    }
    return order;
}

} // namespace zkeditor::curve
