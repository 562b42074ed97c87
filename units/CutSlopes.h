#pragma once

#include <array>
#include <limits>

namespace zk {

// The Q control of a high- or low-pass filter: up to 15 it is a resonant Q; above,
// five ranges each select a Butterworth slope. Each range's cascade code, host text
// and the value that stands for it (the editor's detent, what a typed text sets)
// are read from here by the dispatch, the unit's texts, the renderer and the
// plug-ins alike.
struct CutSlope {
    float above; // the range starts above this value ...
    float upTo;  // ... and ends at this one, inclusive (infinity: no end)
    double code; // what the cascade is set with
    const char* text;
    float value;
};

inline constexpr std::array<CutSlope, 5> kCutSlopes{{
    {15.0f, 17.0f, 106.0, "6dB/oct.", 16.0f},
    {17.0f, 19.0f, 112.0, "12dB/oct.", 18.0f},
    {19.0f, 21.0f, 118.0, "18dB/oct.", 20.0f},
    {21.0f, 23.0f, 124.0, "24dB/oct.", 22.0f},
    {23.0f, std::numeric_limits<float>::infinity(), 130.0, "30dB/oct.", 24.0f},
}};

// The cascade code for a Q control's value: a slope's code, or a resonant Q as it is.
constexpr double SlopeCode(double q) {
    for (auto s = kCutSlopes.rbegin(); s != kCutSlopes.rend(); ++s) {
        if (q > s->above) {
            return s->code;
        }
    }
    return q;
}

} // namespace zk
