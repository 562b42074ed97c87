#include "widgets/CMovieBitmap.h"

#include <cmath>

CMovieBitmap::CMovieBitmap(const CRect& size_, CControlListener* l, long tag_, CBitmap* background,
                           const CPoint& offset_)
    : CControl(size_, l, tag_, background),
      subPixmaps(background && size_.height() > 0
                     ? std::max(1, background->getHeight() / size_.height())
                     : 1),
      heightOfOneImage(size_.height()) {
    offset = offset_;
    bMouseEnabled = false;
}

CMovieBitmap::CMovieBitmap(const CRect& size_, CControlListener* l, long tag_, int frames,
                           CCoord frameHeight, CBitmap* background, const CPoint& offset_)
    : CControl(size_, l, tag_, background), subPixmaps(std::max(1, frames)),
      heightOfOneImage(frameHeight) {
    offset = offset_;
    bMouseEnabled = false;
}

int CMovieBitmap::frameIndex() const {
    const float range = vmax - vmin;
    const float normalized = range != 0.f ? (value - vmin) / range : 0.f;
    if (!(normalized > 0.f)) { // at or below the minimum, or NaN
        return 0;
    }
    const int index = static_cast<int>(std::min(normalized, 1.f) * (subPixmaps - 1) + 0.5f);
    return std::min(index, subPixmaps - 1);
}

void CMovieBitmap::draw(CDrawContext* context) {
    if (pBackground) {
        const CPoint where(offset.h, offset.v + frameIndex() * heightOfOneImage);
        if (bTransparencyEnabled) {
            pBackground->drawTransparent(context, size, where);
        } else {
            pBackground->draw(context, size, where);
        }
    }
    setDirty(false);
}
