#pragma once

#include "widgets/CControl.h"

#include <memory>

// The invisible second half of a CAnimJoystick: a control with the Y tag whose
// reporting setValue tells the listener, so the Y axis reaches the editor like
// any other control. It is never shown and never takes a press.
class CAnotherControlListener : public CControl {
public:
    CAnotherControlListener(const CRect& size, CControlListener* listener, long tag,
                            CBitmap* background);

    using CControl::setValue;
    // Stores the value and always reports it.
    void setValue(CDrawContext* context, float val);
    void draw(CDrawContext* context) override;
};

// A two-axis control drawn from a two-dimensional film strip (columns for X,
// rows for Y, each cell the view's size). X is the control's own value and tag,
// Y is carried by an owned CAnotherControlListener with the Y tag. The handle
// jumps to the pointer; Shift moves Y only, Shift+Alt X only. A double click or
// Alt-click resets Y, then X. The wheel moves Y (with Shift: X), the arrow keys X.
class CAnimJoystick : public CControl {
public:
    CAnimJoystick(const CRect& size, CControlListener* listener, long tagX, long tagY,
                  CBitmap* background, const CPoint& offset = CPoint(0, 0));
    ~CAnimJoystick() override;

    // Values for a point in parent coordinates (up is larger for Y), clamped to [0, 1].
    void valueFromPoint(CPoint& where, float& x) const;
    void yValueFromPoint(CPoint& where, float& y) const;
    // The point of the current values.
    void valuesToPoint(CPoint& point) const;

    void setYValue(float val);
    float getYValue() const { return yValue; }
    void setDefaultYValue(float val);
    float getDefaultYValue() const { return yDefault; }
    long getTagY() const;
    CAnotherControlListener* getPartner() const { return partner.get(); }
    void setInverseBitmap(bool val) { inverse = val; }
    // Cell drawn for the current values.
    CPoint stripOffset() const;

    bool isDirty() const override;
    void beginEdit() override;
    void endEdit() override;
    CMouseEventResult onMouseDown(CPoint& where, const long& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const long& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const long& buttons) override;
    bool onWheel(const CPoint& where, float distance, const long& buttons) override;
    long onKeyDown(VstKeyCode& keyCode) override;
    void draw(CDrawContext* context) override;
    void attached(CView* parent, CFrame* frame) override;
    void removed() override;

private:
    void follow(CPoint& where, long buttons);
    void reportY();

    std::unique_ptr<CAnotherControlListener> partner;
    float yValue = 0.f;
    float yDefault = 0.5f;
    float yMax = 1.f;
    bool inverse = false;
    int columns;
    int rows;
    CCoord viewWidth;
    CCoord viewHeight;
    CPoint lastDrawn{-1, -1};
    CPoint lastPointer;
    bool tracking = false;
};
