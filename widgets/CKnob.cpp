#include "widgets/CKnob.h"

#include "widgets/CFrame.h"

#include <cmath>

namespace {
constexpr float kPi = 3.14159265358979f;
}

CKnob::CKnob(const CRect& size_, CControlListener* l, long tag_, CBitmap* background,
             CBitmap* handle, const CPoint& offset_)
    : CControl(size_, l, tag_, background), pHandle(handle), startAngle(1.25f * kPi),
      rangeAngle(1.5f * kPi) {
    offset = offset_;
}

void CKnob::draw(CDrawContext* context) {
    if (pBackground) {
        if (bTransparencyEnabled) {
            pBackground->drawTransparent(context, size, offset);
        } else {
            pBackground->draw(context, size, offset);
        }
    }
    drawHandle(context);
    setDirty(false);
}

void CKnob::drawHandle(CDrawContext* context) {
    CPoint where;
    valueToPoint(where);
    where.offset(size.left, size.top);
    const CPoint centre(size.left + size.width() / 2, size.top + size.height() / 2);
    if (pHandle) {
        const CCoord w = pHandle->getWidth() / 2;
        const CCoord h = pHandle->getHeight() / 2;
        pHandle->drawTransparent(context,
                                 CRect(where.h - w, where.v - h, where.h + w, where.v + h));
        return;
    }
    context->setDrawMode(kAntialias);
    context->setLineWidth(1);
    context->setFrameColor(colorShadowHandle);
    context->drawLine(CPoint(centre.h + 1, centre.v + 1), CPoint(where.h + 1, where.v + 1));
    context->setFrameColor(colorHandle);
    context->drawLine(centre, where);
    context->setDrawMode(kCopyMode);
}

void CKnob::valueToPoint(CPoint& point) const {
    const float range = vmax - vmin;
    const float normalized = range != 0.f ? (value - vmin) / range : 0.f;
    const float alpha = startAngle - normalized * rangeAngle;
    const float radius = std::min(size.width(), size.height()) / 2.f - static_cast<float>(inset);
    point.h = static_cast<CCoord>(std::lround(size.width() / 2.f + std::cos(alpha) * radius));
    point.v = static_cast<CCoord>(std::lround(size.height() / 2.f - std::sin(alpha) * radius));
}

float CKnob::valueFromPoint(const CPoint& point) const {
    const float dx = point.h - size.width() / 2.f;
    const float dy = size.height() / 2.f - point.v;
    float alpha = std::atan2(dy, dx);
    // Angle travelled clockwise from the start, in [0, 2 pi).
    float travelled = startAngle - alpha;
    while (travelled < 0.f) {
        travelled += 2.f * kPi;
    }
    while (travelled >= 2.f * kPi) {
        travelled -= 2.f * kPi;
    }
    float normalized = travelled / rangeAngle;
    if (normalized > 1.f) {
        // In the dead zone below the knob: the nearer end wins.
        const float past = travelled - rangeAngle;
        const float before = 2.f * kPi - travelled;
        normalized = past < before ? 1.f : 0.f;
    }
    return vmin + normalized * (vmax - vmin);
}

CMouseEventResult CKnob::onMouseDown(CPoint& where, const long& buttons) {
    if (!bMouseEnabled || !(buttons & kLButton)) {
        return kMouseEventNotHandled;
    }
    if (checkDefaultValue(buttons)) {
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    const CFrame* frame = getFrame();
    linearDrag = frame ? frame->getKnobMode() == kLinearMode : false;
    firstPoint = where;
    entryValue = value;
    dragButtons = buttons;
    float range = kLinearDragRange;
    if (buttons & kShift) {
        range *= zoomFactor;
    }
    dragCoef = (vmax - vmin) / range;
    dragging = true;
    beginEdit();
    return kMouseEventHandled;
}

void CKnob::applyDragValue(float newValue) {
    const float before = value;
    value = newValue;
    bounceValue();
    if (value != before) {
        notifyValueChanged();
    }
}

CMouseEventResult CKnob::onMouseMoved(CPoint& where, const long& buttons) {
    if (!dragging) {
        return kMouseEventNotHandled;
    }
    if (linearDrag) {
        const float diff = static_cast<float>((firstPoint.v - where.v) + (where.h - firstPoint.h));
        if ((buttons & kShift) != (dragButtons & kShift)) {
            // Changing the fine mode mid-drag keeps the value where it is.
            float range = kLinearDragRange;
            if (buttons & kShift) {
                range *= zoomFactor;
            }
            const float newCoef = (vmax - vmin) / range;
            entryValue += diff * (dragCoef - newCoef);
            dragCoef = newCoef;
            dragButtons = buttons;
        }
        applyDragValue(entryValue + diff * dragCoef);
    } else {
        CPoint local(where.h - size.left, where.v - size.top);
        float v = valueFromPoint(local);
        // A jump across the dead zone pins the value to the end it came from.
        const float half = (vmax - vmin) * 0.5f;
        if (v - value > half) {
            v = vmin;
        } else if (value - v > half) {
            v = vmax;
        }
        applyDragValue(v);
    }
    return kMouseEventHandled;
}

CMouseEventResult CKnob::onMouseUp(CPoint&, const long&) {
    if (!dragging) {
        return kMouseEventNotHandled;
    }
    dragging = false;
    endEdit();
    return kMouseEventHandled;
}

bool CKnob::onWheel(const CPoint&, float distance, const long& buttons) {
    if (!bMouseEnabled) {
        return false;
    }
    const float step = (buttons & kShift) ? wheelInc * 0.1f : wheelInc;
    const float before = value;
    value += distance * step;
    bounceValue();
    if (value != before) {
        beginEdit();
        notifyValueChanged();
        endEdit();
    }
    return true;
}

long CKnob::onKeyDown(VstKeyCode& keyCode) {
    float direction = 0.f;
    if (keyCode.virt == VKEY_UP || keyCode.virt == VKEY_RIGHT) {
        direction = 1.f;
    } else if (keyCode.virt == VKEY_DOWN || keyCode.virt == VKEY_LEFT) {
        direction = -1.f;
    } else {
        return -1;
    }
    const long buttons = (keyCode.modifier & MODIFIER_SHIFT) ? long{kShift} : 0L;
    onWheel(CPoint(), direction, buttons);
    return 1;
}
