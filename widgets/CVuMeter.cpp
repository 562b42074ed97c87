#include "widgets/CVuMeter.h"

#include <cmath>

CVuMeter::CVuMeter(const CRect& size_, CBitmap* on, CBitmap* off, long leds, long style_)
    : CControl(size_, nullptr, 0, nullptr), onBitmap(on), offBitmap(off), nbLed(std::max(1L, leds)),
      style(style_) {
    bMouseEnabled = false;
}

CVuMeter::~CVuMeter() = default;

bool CVuMeter::isDirty() const {
    // Still decaying towards the value: needs further redraws.
    return CControl::isDirty() || displayedValue > value;
}

float CVuMeter::nextDisplayedValue() {
    float v = value;
    if (!(v >= vmin)) { // below range or NaN
        v = vmin;
    } else if (v > vmax) {
        v = vmax;
    }
    const float decayed = displayedValue - decreaseValue;
    displayedValue = std::max(v, decayed);
    return displayedValue;
}

long CVuMeter::litLeds(float displayed) const {
    const float range = vmax - vmin;
    const float normalized = range != 0.f ? (displayed - vmin) / range : 0.f;
    return nbLed - static_cast<long>(nbLed * (1.f - normalized) + 0.5f);
}

void CVuMeter::computeRects(float displayed, const CRect& area, CRect& rectOn, CPoint& pointOn,
                            CRect& rectOff, CPoint& pointOff) const {
    const float range = vmax - vmin;
    const float normalized = range != 0.f ? (displayed - vmin) / range : 0.f;
    rectOn = area;
    rectOff = area;
    pointOn = CPoint(0, 0);
    pointOff = CPoint(0, 0);
    if (style & kHorizontal) {
        const long leds = static_cast<long>(nbLed * normalized + 0.5f);
        const auto split = static_cast<CCoord>(static_cast<float>(leds) / nbLed * area.width());
        rectOn.right = area.left + split;
        rectOff.left = area.left + split;
        pointOff = CPoint(split, 0);
    } else {
        const long unlit = static_cast<long>(nbLed * (1.f - normalized) + 0.5f);
        const auto split = static_cast<CCoord>(static_cast<float>(unlit) / nbLed * area.height());
        rectOff.bottom = area.top + split;
        rectOn.top = area.top + split;
        pointOn = CPoint(0, split);
    }
}

void CVuMeter::drawLeds(CDrawContext* context, float displayed, const CRect& area) {
    CRect rectOn, rectOff;
    CPoint pointOn, pointOff;
    computeRects(displayed, area, rectOn, pointOn, rectOff, pointOff);
    auto blit = [&](CBitmap* bitmap, const CRect& r, const CPoint& p) {
        if (bitmap == nullptr || r.isEmpty()) {
            return;
        }
        if (bTransparencyEnabled) {
            bitmap->drawTransparent(context, r, p);
        } else {
            bitmap->draw(context, r, p);
        }
    };
    blit(offBitmap, rectOff, pointOff);
    blit(onBitmap, rectOn, pointOn);
}

COffscreenContext* CVuMeter::offscreenFor(CDrawContext* screen) {
    if (!offscreen || offscreen->getScaleFactor() != screen->getScaleFactor() ||
        offscreen->getWidth() != size.width() || offscreen->getHeight() != size.height()) {
        offscreen = std::make_unique<COffscreenContext>(size.width(), size.height(),
                                                        screen->getScaleFactor(), kBlackCColor);
    }
    return offscreen.get();
}

void CVuMeter::draw(CDrawContext* context) {
    const float displayed = nextDisplayedValue();
    if (bUseOffscreen) {
        COffscreenContext* image = offscreenFor(context);
        image->setFillColor(kBlackCColor);
        image->fillRect(CRect(0, 0, size.width(), size.height()));
        prepareOffscreen(context, image);
        drawLeds(image, displayed, CRect(0, 0, size.width(), size.height()));
        image->copyFrom(context, size);
    } else {
        drawLeds(context, displayed, size);
    }
    setDirty(false);
}
