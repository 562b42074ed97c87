#pragma once

#include "widgets/CAnimKnob.h"

// The editors' film-strip knob. Linear drags go up/right over 200 px for the
// whole range; Control makes the drag three times finer, and the finer range is
// kept for later drags until the modifiers change during a drag, so that a fine
// adjustment can be continued with a plain drag. Shift on the press switches
// every knob of the editor between linear and circular dragging. A double click
// or Alt-click resets to the default (Control-click does not). A modifier press is
// first offered to the listener.
class CAnimKnobEX : public CAnimKnob {
public:
    static constexpr float kDragRange = 200.f;
    static constexpr float kFineFactor = 3.f;
    static constexpr float kWheelIncrement = 0.01667f;

    CAnimKnobEX(const CRect& size, CControlListener* listener, long tag, CBitmap* background,
                const CPoint& offset = CPoint(0, 0));

    CMouseEventResult onMouseDown(CPoint& where, const long& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const long& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const long& buttons) override;
    bool onWheel(const CPoint& where, float distance, const long& buttons) override;
    void draw(CDrawContext* context) override;

    // True only while a drag is in progress: the editor leaves the knob alone then.
    bool isEditing() const { return editing; }
    void setForceLinear(bool val) { forceLinear = val; }
    bool getForceLinear() const { return forceLinear; }
    float getDragRange() const { return dragRange; }
    // Offset into the strip of the frame drawn for the current value. A value
    // exactly on a frame boundary shows the upper frame and 1.0 the last one.
    CCoord stripOffset() const;

private:
    float dragRange = kDragRange;
    bool editing = false;
    bool forceLinear = false;
    float halfRange = 0.5f;
    float circularPrevious = 0.f;
};
