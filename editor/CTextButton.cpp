#include "editor/CTextButton.h"

#include "widgets/CFrame.h"

#include <cmath>

namespace {
CColor Halved(const CColor& c) {
    return CColor{static_cast<unsigned char>(c.red >> 1), static_cast<unsigned char>(c.green >> 1),
                  static_cast<unsigned char>(c.blue >> 1), c.alpha};
}
} // namespace

CTextButton::CTextButton(const CRect& size_, CControlListener* l, long tag_, const char* text_,
                         const CColor& on, CBitmap* background, long style_)
    : CTextLabel(size_, text_, background, style_), onColor(on), offColor(Halved(on)) {
    listener = l;
    tag = tag_;
    fontColor = on;
    bMouseEnabled = true;
}

void CTextButton::setOnColor(const CColor& color) {
    if (color != onColor) {
        setDirty();
    }
    onColor = color;
    if (!useCustomOffColor) {
        offColor = Halved(color);
    }
}

void CTextButton::setOffColor(const CColor& color) {
    offColor = color;
    useCustomOffColor = true;
    setDirty();
}

void CTextButton::draw(CDrawContext* context) {
    const CColor wanted = value != 0.f ? onColor : offColor;
    if (fontColor != wanted) {
        fontColor = wanted;
    }
    CTextLabel::draw(context);
}

void CTextButton::report() {
    if (listener) {
        beginEdit();
        notifyValueChanged();
        endEdit();
    }
}

void CTextButton::mouse(CPoint&, long buttons) {
    if (!bMouseEnabled || !(buttons & kLButton)) {
        return;
    }
    if (listener && (buttons & kModifierMask) && listener->controlModifierClicked(this, buttons)) {
        return;
    }
    value = std::trunc(value) == 0.f ? 1.f : 0.f;
    setDirty();
    if (style == 1) {
        report();
    }
    if (CFrame* frame = getFrame()) {
        frame->doIdleStuff();
    }
    if (style != 1) {
        report();
    }
}
