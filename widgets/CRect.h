#pragma once

#include "widgets/CPoint.h"

#include <algorithm>

// Rectangle in logical pixels; right and bottom are exclusive, so width = right - left.
struct CRect {
    CCoord left = 0;
    CCoord top = 0;
    CCoord right = 0;
    CCoord bottom = 0;

    constexpr CRect() = default;
    constexpr CRect(CCoord l, CCoord t, CCoord r, CCoord b)
        : left(l), top(t), right(r), bottom(b) {}

    constexpr CCoord width() const { return right - left; }
    constexpr CCoord height() const { return bottom - top; }
    constexpr bool isEmpty() const { return right <= left || bottom <= top; }
    constexpr CPoint topLeft() const { return {left, top}; }

    constexpr CRect& offset(CCoord dh, CCoord dv) {
        left += dh;
        right += dh;
        top += dv;
        bottom += dv;
        return *this;
    }
    constexpr CRect& moveTo(CCoord h, CCoord v) { return offset(h - left, v - top); }
    constexpr CRect& inset(CCoord dh, CCoord dv) {
        left += dh;
        right -= dh;
        top += dv;
        bottom -= dv;
        return *this;
    }
    constexpr CRect& setWidth(CCoord w) {
        right = left + w;
        return *this;
    }
    constexpr CRect& setHeight(CCoord h) {
        bottom = top + h;
        return *this;
    }
    constexpr bool pointInside(const CPoint& p) const {
        return p.h >= left && p.h < right && p.v >= top && p.v < bottom;
    }
    constexpr bool rectOverlap(const CRect& r) const {
        return r.left < right && r.right > left && r.top < bottom && r.bottom > top;
    }
    constexpr CRect& bound(const CRect& r) {
        left = std::max(left, r.left);
        top = std::max(top, r.top);
        right = std::max(left, std::min(right, r.right));
        bottom = std::max(top, std::min(bottom, r.bottom));
        return *this;
    }
    // Smallest rectangle holding both; an empty rectangle contributes nothing.
    constexpr CRect& unite(const CRect& r) {
        if (r.isEmpty()) {
            return *this;
        }
        if (isEmpty()) {
            return *this = r;
        }
        left = std::min(left, r.left);
        top = std::min(top, r.top);
        right = std::max(right, r.right);
        bottom = std::max(bottom, r.bottom);
        return *this;
    }
    constexpr bool operator==(const CRect&) const = default;
};
