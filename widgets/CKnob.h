#pragma once

#include "widgets/CControl.h"

// A rotary control. Dragging follows the frame's knob mode: linear (up and right
// increase; 200 px for the full range, finer by the zoom factor with kShift) or
// circular (the value follows the pointer's angle around the centre).
// kControl-click resets to the default. Each drag is one edit gesture.
class CKnob : public CControl {
public:
    CKnob(const CRect& size, CControlListener* listener, long tag, CBitmap* background,
          CBitmap* handle = nullptr, const CPoint& offset = CPoint(0, 0));

    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const long& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const long& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const long& buttons) override;
    bool onWheel(const CPoint& where, float distance, const long& buttons) override;
    long onKeyDown(VstKeyCode& keyCode) override;

    // Handle position for a value and value for a position, relative to the view.
    virtual void valueToPoint(CPoint& point) const;
    virtual float valueFromPoint(const CPoint& point) const;

    // Angles in radians, counter-clockwise from 3 o'clock; the range turns clockwise.
    void setStartAngle(float val) { startAngle = val; }
    float getStartAngle() const { return startAngle; }
    void setRangeAngle(float val) { rangeAngle = val; }
    float getRangeAngle() const { return rangeAngle; }
    void setZoomFactor(float val) { zoomFactor = val; }
    float getZoomFactor() const { return zoomFactor; }
    void setInsetValue(CCoord val) { inset = val; }
    void setColorHandle(const CColor& color) { colorHandle = color; }
    void setColorShadowHandle(const CColor& color) { colorShadowHandle = color; }
    void setHandleBitmap(CBitmap* bitmap) { pHandle = bitmap; }
    bool isDragging() const { return dragging; }

    static constexpr float kLinearDragRange = 200.f; // pixels for the full range

protected:
    virtual void drawHandle(CDrawContext* context);
    // Applies a value found while dragging: clamp, and report when it changed.
    void applyDragValue(float newValue);

    CBitmap* pHandle;
    float startAngle;
    float rangeAngle;
    float zoomFactor = 1.5f;
    CCoord inset = 3;
    CColor colorHandle = kWhiteCColor;
    CColor colorShadowHandle = kGreyCColor;

    // Drag state between press and release.
    bool dragging = false;
    bool linearDrag = false;
    CPoint firstPoint;
    float entryValue = 0.f;
    float dragCoef = 0.f;
    long dragButtons = 0;
};
