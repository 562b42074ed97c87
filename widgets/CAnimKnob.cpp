#include "widgets/CAnimKnob.h"

#include <cmath>

CAnimKnob::CAnimKnob(const CRect& size_, CControlListener* l, long tag_, CBitmap* background,
                     const CPoint& offset_)
    : CKnob(size_, l, tag_, background, nullptr, offset_),
      subPixmaps(background && size_.height() > 0
                     ? std::max(1, background->getHeight() / size_.height())
                     : 1),
      heightOfOneImage(size_.height()) {}

CAnimKnob::CAnimKnob(const CRect& size_, CControlListener* l, long tag_, int frames,
                     CCoord frameHeight, CBitmap* background, const CPoint& offset_)
    : CKnob(size_, l, tag_, background, nullptr, offset_), subPixmaps(std::max(1, frames)),
      heightOfOneImage(frameHeight) {}

CCoord CAnimKnob::frameOffset() const {
    const float range = vmax - vmin;
    float normalized = range != 0.f ? (value - vmin) / range : 0.f;
    if (!(normalized >= 0.f)) { // negative or NaN
        return 0;
    }
    normalized = std::min(normalized, 1.f);
    const CCoord span = heightOfOneImage * (subPixmaps - 1);
    const float position = bInverseBitmap ? (1.f - normalized) : normalized;
    // The frame whose top lies at or just above the position.
    const auto y = static_cast<CCoord>(position * static_cast<float>(span));
    return heightOfOneImage > 0 ? std::min(span, (y / heightOfOneImage) * heightOfOneImage) : 0;
}

void CAnimKnob::draw(CDrawContext* context) {
    if (pBackground) {
        const CPoint where(offset.h, offset.v + frameOffset());
        if (bTransparencyEnabled) {
            pBackground->drawTransparent(context, size, where);
        } else {
            pBackground->draw(context, size, where);
        }
    }
    setDirty(false);
}
