#include "widgets/CControl.h"

#include "widgets/AEffGUIEditor.h"
#include "widgets/CFrame.h"

CControl::CControl(const CRect& size_, CControlListener* l, long tag_, CBitmap* background)
    : CView(size_), listener(l), tag(tag_) {
    pBackground = background;
}

void CControl::setValue(float val) {
    value = val;
}

void CControl::bounceValue() {
    if (value > vmax) {
        value = vmax;
    } else if (value < vmin) {
        value = vmin;
    }
}

bool CControl::checkDefaultValue(long button) {
    if ((button & (kLButton | kControl | kShift | kAlt | kApple)) != (kLButton | kControl)) {
        return false;
    }
    beginEdit();
    setValue(defaultValue);
    notifyValueChanged();
    endEdit();
    return true;
}

void CControl::notifyValueChanged() {
    if (listener) {
        listener->valueChanged(this);
    }
}

void CControl::beginEdit() {
    if (listener) {
        listener->controlBeginEdit(this);
    }
    if (AEffGUIEditor* editor = getEditor()) {
        editor->beginEdit(tag);
    }
}

void CControl::endEdit() {
    if (listener) {
        listener->controlEndEdit(this);
    }
    if (AEffGUIEditor* editor = getEditor()) {
        editor->endEdit(tag);
    }
}

bool CControl::isDirty() const {
    return oldValue != value || CView::isDirty();
}

void CControl::setDirty(bool val) {
    CView::setDirty(val);
    if (val) {
        oldValue = (value != -1.f) ? -1.f : 0.f;
    } else {
        oldValue = value;
    }
}

CMouseEventResult CControl::onMouseDown(CPoint& where, const long& buttons) {
    if (!bMouseEnabled) {
        return kMouseEventNotHandled;
    }
    mouse(where, buttons);
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

void CControl::mouse(CPoint&, long) {}
