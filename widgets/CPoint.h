#pragma once

// Logical (1x) pixel coordinate; views never see device pixels.
using CCoord = int;

struct CPoint {
    CCoord h = 0; // horizontal
    CCoord v = 0; // vertical

    constexpr CPoint() = default;
    constexpr CPoint(CCoord h_, CCoord v_) : h(h_), v(v_) {}

    constexpr CPoint& offset(CCoord dh, CCoord dv) {
        h += dh;
        v += dv;
        return *this;
    }
    constexpr bool operator==(const CPoint&) const = default;
};
