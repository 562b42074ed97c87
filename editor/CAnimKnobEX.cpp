#include "editor/CAnimKnobEX.h"

#include "editor/FilmStrip.h"
#include "editor/ResetClick.h"
#include "widgets/CFrame.h"

#include <algorithm>

namespace {
// Buttons and modifiers; the double-click flag plays no part here.
constexpr long kStateMask = kLButton | kMButton | kRButton | kModifierMask;
} // namespace

CAnimKnobEX::CAnimKnobEX(const CRect& size_, CControlListener* l, long tag_, CBitmap* background,
                         const CPoint& offset_)
    : CAnimKnob(size_, l, tag_, background, offset_) {
    setWheelInc(kWheelIncrement);
}

CMouseEventResult CAnimKnobEX::onMouseDown(CPoint& where, const long& pressed) {
    const long buttons = pressed & kStateMask;
    if (!bMouseEnabled || !(buttons & kLButton)) {
        return kMouseEventNotHandled;
    }
    if (listener && (buttons & kModifierMask) && listener->controlModifierClicked(this, buttons)) {
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if (zkeditor::IsResetClick(pressed)) {
        checkDefaultValue(kLButton | kControl);
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    setZoomFactor(3.f);
    entryValue = value;
    halfRange = (vmax - vmin) * 0.5f;
    CFrame* frame = getFrame();
    bool linear = true;
    if (!forceLinear) {
        int mode = frame ? frame->getKnobMode() : kLinearMode;
        if (buttons & kShift) {
            mode = mode == kLinearMode ? kCircularMode : kLinearMode;
            if (frame) {
                frame->setKnobMode(mode);
            }
        }
        linear = mode == kLinearMode || (buttons & kControl);
    }
    if (linear) {
        if (buttons & kControl) {
            dragRange *= kFineFactor;
        }
        firstPoint = where;
    } else {
        circularPrevious = valueFromPoint(CPoint(where.h - size.left, where.v - size.top));
    }
    dragCoef = (vmax - vmin) / dragRange;
    linearDrag = linear;
    dragButtons = buttons;
    dragging = true;
    editing = true;
    beginEdit();
    return kMouseEventHandled;
}

CMouseEventResult CAnimKnobEX::onMouseMoved(CPoint& where, const long& moved) {
    if (!dragging) {
        return kMouseEventNotHandled;
    }
    const long buttons = moved & kStateMask;
    float next;
    if (linearDrag) {
        const auto diff = static_cast<float>((firstPoint.v - where.v) + (where.h - firstPoint.h));
        if (buttons != dragButtons) {
            // New modifiers: new range, and the entry value moves so the knob does not jump.
            dragRange = (buttons & kControl) ? kDragRange * kFineFactor : kDragRange;
            const float newCoef = (vmax - vmin) / dragRange;
            entryValue += diff * (dragCoef - newCoef);
            dragCoef = newCoef;
            dragButtons = buttons;
        }
        next = std::clamp(entryValue + diff * dragCoef, vmin, vmax);
    } else {
        next = valueFromPoint(CPoint(where.h - size.left, where.v - size.top));
        // A jump across the dead zone pins the value to the end it came from.
        if (circularPrevious - next > halfRange) {
            next = vmax;
        } else if (next - circularPrevious > halfRange) {
            next = vmin;
        } else {
            circularPrevious = next;
        }
    }
    if (next != value) {
        value = next;
        notifyValueChanged();
    }
    if (CFrame* frame = getFrame()) {
        frame->doIdleStuff();
    }
    return kMouseEventHandled;
}

CMouseEventResult CAnimKnobEX::onMouseUp(CPoint&, const long&) {
    if (!dragging) {
        return kMouseEventNotHandled;
    }
    dragging = false;
    endEdit();
    editing = false;
    return kMouseEventHandled;
}

bool CAnimKnobEX::onWheel(const CPoint&, float distance, const long& buttons) {
    if (!bMouseEnabled) {
        return false;
    }
    const float step = (buttons & kControl) ? wheelInc * 0.025f : wheelInc;
    const float before = value;
    value += distance * step;
    bounceValue();
    if (value != before && listener) {
        beginEdit();
        notifyValueChanged();
        endEdit();
    }
    return true;
}

CCoord CAnimKnobEX::stripOffset() const {
    if (!(value >= 0.f)) {
        return 0;
    }
    const CCoord span = (subPixmaps - 1) * heightOfOneImage;
    // The +1 puts a value exactly on a boundary into the upper frame, and 1.0 into
    // the last one.
    const CCoord y =
        std::min(zkeditor::StripPosition(bInverseBitmap ? 1.f - value : value, span) + 1, span);
    return zkeditor::SnapToFrame(y, heightOfOneImage, span);
}

void CAnimKnobEX::draw(CDrawContext* context) {
    if (pBackground) {
        const CPoint where(offset.h, offset.v + stripOffset());
        if (bTransparencyEnabled) {
            pBackground->drawTransparent(context, size, where);
        } else {
            pBackground->draw(context, size, where);
        }
    }
    setDirty(false);
}
