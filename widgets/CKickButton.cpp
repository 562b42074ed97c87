#include "widgets/CKickButton.h"

CKickButton::CKickButton(const CRect& size_, CControlListener* l, long tag_, CBitmap* background,
                         const CPoint& offset_)
    : CControl(size_, l, tag_, background), heightOfOneImage(size_.height()) {
    offset = offset_;
}

void CKickButton::draw(CDrawContext* context) {
    if (pBackground) {
        const CPoint where(offset.h, offset.v + (value == vmax ? heightOfOneImage : 0));
        if (bTransparencyEnabled) {
            pBackground->drawTransparent(context, size, where);
        } else {
            pBackground->draw(context, size, where);
        }
    }
    setDirty(false);
}

void CKickButton::setPressed(bool pressed) {
    const float wanted = pressed ? vmax : vmin;
    if (value != wanted) {
        value = wanted;
        notifyValueChanged();
    }
}

CMouseEventResult CKickButton::onMouseDown(CPoint&, const long& buttons) {
    if (!bMouseEnabled || !(buttons & kLButton)) {
        return kMouseEventNotHandled;
    }
    tracking = true;
    beginEdit();
    setPressed(true);
    return kMouseEventHandled;
}

CMouseEventResult CKickButton::onMouseMoved(CPoint& where, const long&) {
    if (!tracking) {
        return kMouseEventNotHandled;
    }
    setPressed(size.pointInside(where));
    return kMouseEventHandled;
}

CMouseEventResult CKickButton::onMouseUp(CPoint&, const long&) {
    if (!tracking) {
        return kMouseEventNotHandled;
    }
    tracking = false;
    setPressed(false);
    endEdit();
    return kMouseEventHandled;
}
