#include "editor/CAnimJoystick.h"

#include "editor/FilmStrip.h"
#include "editor/ResetClick.h"
#include "widgets/CFrame.h"

#include <algorithm>

namespace {
constexpr long kStateMask = kLButton | kMButton | kRButton | kModifierMask;
} // namespace

CAnotherControlListener::CAnotherControlListener(const CRect& size_, CControlListener* l, long tag_,
                                                 CBitmap* background)
    : CControl(size_, l, tag_, background) {
    bMouseEnabled = false;
}

void CAnotherControlListener::setValue(CDrawContext*, float val) {
    value = val;
    notifyValueChanged();
}

void CAnotherControlListener::draw(CDrawContext*) {
    setDirty(false);
}

CAnimJoystick::CAnimJoystick(const CRect& size_, CControlListener* l, long tagX, long tagY,
                             CBitmap* background, const CPoint& offset_)
    : CControl(size_, l, tagX, background),
      partner(std::make_unique<CAnotherControlListener>(size_, l, tagY, background)),
      columns(background && size_.width() > 0 ? background->getWidth() / size_.width() : 1),
      rows(background && size_.height() > 0 ? background->getHeight() / size_.height() : 1),
      viewWidth(size_.width()), viewHeight(size_.height()) {
    offset = offset_;
    bWantsFocus = true;
}

CAnimJoystick::~CAnimJoystick() = default;

long CAnimJoystick::getTagY() const {
    return partner->getTag();
}

// The partner lives in the same frame without being one of its views, so that
// its gestures reach the editor under the Y tag.
void CAnimJoystick::attached(CView* parent, CFrame* frame) {
    CControl::attached(parent, frame);
    partner->attached(this, frame);
}

void CAnimJoystick::removed() {
    partner->removed();
    CControl::removed();
}

void CAnimJoystick::valueFromPoint(CPoint& where, float& x) const {
    const CCoord width = size.right - size.left;
    x = width > 0 ? std::clamp(static_cast<float>(where.h - size.left) / width, 0.f, 1.f) : 0.f;
}

void CAnimJoystick::yValueFromPoint(CPoint& where, float& y) const {
    const CCoord height = size.bottom - size.top;
    y = height > 0 ? std::clamp(1.f - static_cast<float>(where.v - size.top) / height, 0.f, 1.f)
                   : 0.f;
}

void CAnimJoystick::valuesToPoint(CPoint& point) const {
    point.h = size.left + static_cast<CCoord>(static_cast<float>(size.width()) * value);
    point.v = size.top + static_cast<CCoord>((1.f - yValue) * static_cast<float>(size.height()));
}

void CAnimJoystick::setYValue(float val) {
    yValue = val;
    setDirty();
}

void CAnimJoystick::setDefaultYValue(float val) {
    yDefault = val;
    partner->setDefaultValue(val);
}

bool CAnimJoystick::isDirty() const {
    if (CControl::isDirty()) {
        return true;
    }
    CPoint now;
    valuesToPoint(now);
    return now != lastDrawn;
}

void CAnimJoystick::beginEdit() {
    if (CFrame* frame = getFrame()) {
        frame->setFocusView(this);
    }
    CControl::beginEdit();
    partner->beginEdit();
}

void CAnimJoystick::endEdit() {
    CControl::endEdit();
    partner->endEdit();
}

void CAnimJoystick::reportY() {
    setDirty();
    partner->setValue(nullptr, yValue);
}

void CAnimJoystick::follow(CPoint& where, long buttons) {
    const bool shift = buttons & kShift;
    const bool alt = buttons & kAlt;
    if (!shift || alt) {
        float x = value;
        valueFromPoint(where, x);
        if (x != value) {
            value = x;
            notifyValueChanged();
        }
    }
    if (!(shift && alt)) {
        yValueFromPoint(where, yValue);
        reportY();
    }
    lastPointer = where;
}

CMouseEventResult CAnimJoystick::onMouseDown(CPoint& where, const long& pressed) {
    const long buttons = pressed & kStateMask;
    if (!bMouseEnabled || !(buttons & kLButton)) {
        return kMouseEventNotHandled;
    }
    if (zkeditor::IsResetClick(pressed)) {
        beginEdit();
        yValue = yDefault;
        reportY();
        endEdit();
        if (listener && listener->controlModifierClicked(this, buttons)) {
            return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
        }
        checkDefaultValue(kLButton | kControl); // and X
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    beginEdit();
    tracking = true;
    follow(where, buttons);
    return kMouseEventHandled;
}

CMouseEventResult CAnimJoystick::onMouseMoved(CPoint& where, const long& buttons) {
    if (!tracking) {
        return kMouseEventNotHandled;
    }
    if (where != lastPointer) {
        follow(where, buttons & kStateMask);
    }
    if (CFrame* frame = getFrame()) {
        frame->doIdleStuff();
    }
    return kMouseEventHandled;
}

CMouseEventResult CAnimJoystick::onMouseUp(CPoint&, const long&) {
    if (!tracking) {
        return kMouseEventNotHandled;
    }
    tracking = false;
    endEdit();
    return kMouseEventHandled;
}

bool CAnimJoystick::onWheel(const CPoint&, float distance, const long& buttons) {
    if (!bMouseEnabled) {
        return false;
    }
    const float step = distance * wheelInc * ((buttons & kControl) ? 0.1f : 1.f);
    if (buttons & kShift) {
        const float before = value;
        value += step;
        bounceValue();
        if (value != before) {
            beginEdit();
            notifyValueChanged();
            endEdit();
        }
    } else {
        const float before = yValue;
        yValue = std::clamp(yValue + step, vmin, yMax);
        if (yValue != before) {
            beginEdit();
            reportY();
            endEdit();
        }
    }
    return true;
}

long CAnimJoystick::onKeyDown(VstKeyCode& keyCode) {
    float direction;
    switch (keyCode.virt) {
    case VKEY_UP:
    case VKEY_RIGHT:
        direction = 1.f;
        break;
    case VKEY_DOWN:
    case VKEY_LEFT:
        direction = -1.f;
        break;
    default:
        return -1;
    }
    const float step = wheelInc * ((keyCode.modifier & MODIFIER_SHIFT) ? 0.1f : 1.f);
    const float before = value;
    value += direction * step;
    bounceValue();
    if (value != before) {
        beginEdit();
        notifyValueChanged();
        endEdit();
    }
    return 1;
}

CPoint CAnimJoystick::stripOffset() const {
    const CCoord xSpan = (columns - 1) * viewWidth;
    const CCoord ySpan = (rows - 1) * viewHeight;
    const CCoord x = zkeditor::StripPosition(inverse ? 1.f - value : value, xSpan);
    const CCoord y = zkeditor::StripPosition(inverse ? yValue : 1.f - yValue, ySpan);
    return CPoint(zkeditor::SnapToFrame(x, viewWidth, xSpan),
                  zkeditor::SnapToFrame(y, viewHeight, ySpan));
}

void CAnimJoystick::draw(CDrawContext* context) {
    if (value < 0.f && yValue < 0.f) {
        setDirty(false);
        return;
    }
    if (pBackground) {
        const CPoint cell = stripOffset();
        const CPoint where(offset.h + cell.h, offset.v + cell.v);
        if (bTransparencyEnabled) {
            pBackground->drawTransparent(context, size, where);
        } else {
            pBackground->draw(context, size, where);
        }
    }
    valuesToPoint(lastDrawn);
    setDirty(false);
}
