#include "widgets/COnOffButton.h"

COnOffButton::COnOffButton(const CRect& size_, CControlListener* l, long tag_, CBitmap* background,
                           long style_)
    : CControl(size_, l, tag_, background), style(style_) {}

void COnOffButton::draw(CDrawContext* context) {
    if (pBackground) {
        const CCoord off = (value != 0.f) ? pBackground->getHeight() / 2 : 0;
        const CPoint where(offset.h, offset.v + off);
        if (bTransparencyEnabled) {
            pBackground->drawTransparent(context, size, where);
        } else {
            pBackground->draw(context, size, where);
        }
    }
    setDirty(false);
}

void COnOffButton::mouse(CPoint&, long buttons) {
    if (!bMouseEnabled || !(buttons & kLButton)) {
        return;
    }
    beginEdit();
    value = (static_cast<long>(value) != 0) ? 0.f : 1.f;
    notifyValueChanged();
    endEdit();
}
