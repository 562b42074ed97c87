#pragma once

#include "widgets/CPoint.h"

#include <cmath>

namespace zkeditor {

// Offset into a film strip for a position in [0, span] pixels: the top of the
// frame the position falls in, frames being `frameSize` apart. A position at or
// past the last frame's top stays where it is (the callers keep it <= span).
inline CCoord SnapToFrame(CCoord position, CCoord frameSize, CCoord span) {
    if (frameSize <= 0 || position <= 0) {
        return 0;
    }
    for (CCoord k = 1; k * frameSize <= span; ++k) {
        if (k * frameSize > position) {
            return (k - 1) * frameSize;
        }
    }
    return position;
}

// Integer part of fraction * span, kept inside [0, span] (NaN gives 0).
inline CCoord StripPosition(float fraction, CCoord span) {
    const float p = fraction * static_cast<float>(span);
    if (!(p > 0.f)) {
        return 0;
    }
    return p >= static_cast<float>(span) ? span : static_cast<CCoord>(p);
}

} // namespace zkeditor
