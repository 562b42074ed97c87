#pragma once

#include "SectionCascade.h"

// The fixed band-limiting low-pass run after 2x zero-stuffing: twenty poles at
// 21000 Hz (two identical tenth-order cascades in series). It has no settings.
class CZkmorvaAiFilter final : public CSectionCascade<10> {
public:
    static constexpr double kCornerHz = 21000.0;

    // Damping of sections 2k and 2k+1. Close to, but not, the ideal tenth-order
    // Butterworth values; the oversampled output depends on these exact numbers.
    static constexpr std::array<double, kSectionCount / 2> kDamping = {
        1.97550375346, 1.78189593728, 1.4142135381698608, 0.90801779715, 0.31280302793};

    explicit CZkmorvaAiFilter(double sampleRate);
};
