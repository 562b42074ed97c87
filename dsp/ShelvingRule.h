#pragma once

#include "Biquad.h"

#include <cmath>

namespace zk {

// The LF and HF bands of both units read their Q control this way: from 0.3 up
// (and for NaN) the band is a bell of that Q; below 0.3 it is the band's shelf
// (LowShelf for LF, HighShelf for HF) with Q root two, which the shelf ignores.
// The owner keeps the raw Q in its settings; host text ("lo-shelf") and the
// editor's curve follow the same threshold.
inline constexpr double kShelvingBelowQ = 0.3;

inline void ApplyShelvingRule(CBiquad& section, double q, FilterType shelf) {
    if (q >= kShelvingBelowQ || std::isnan(q)) {
        section.Update(Peak, CBiquad::kType);
        section.Update(q, CBiquad::kQ);
    } else {
        section.Update(shelf, CBiquad::kType);
        section.Update(1.4142135623730951, CBiquad::kQ);
    }
}

} // namespace zk
