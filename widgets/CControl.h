#pragma once

#include "widgets/CControlListener.h"
#include "widgets/CView.h"

// A view with a value in [vmin, vmax] (0..1 unless set), a default value, a tag
// identifying the parameter it edits and a listener told of changes.
class CControl : public CView {
public:
    CControl(const CRect& size, CControlListener* listener = nullptr, long tag = 0,
             CBitmap* background = nullptr);

    virtual void setValue(float val);
    virtual float getValue() const { return value; }
    virtual void setMin(float val) { vmin = val; }
    virtual float getMin() const { return vmin; }
    virtual void setMax(float val) { vmax = val; }
    virtual float getMax() const { return vmax; }
    virtual void setOldValue(float val) { oldValue = val; }
    virtual float getOldValue() const { return oldValue; }
    virtual void setDefaultValue(float val) { defaultValue = val; }
    virtual float getDefaultValue() const { return defaultValue; }
    // Clamps the value into [vmin, vmax].
    virtual void bounceValue();
    // A left press with kControl resets to the default value and reports it.
    virtual bool checkDefaultValue(long button);

    void setTag(long val) { tag = val; }
    long getTag() const { return tag; }
    void setListener(CControlListener* l) { listener = l; }
    CControlListener* getListener() const { return listener; }
    virtual void setWheelInc(float val) { wheelInc = val; }
    virtual float getWheelInc() const { return wheelInc; }
    void setOffset(const CPoint& val) { offset = val; }
    const CPoint& getOffset() const { return offset; }

    // Gesture brackets: tell the listener and the frame's editor (by tag).
    virtual void beginEdit();
    virtual void endEdit();

    // Dirty also when the value moved since the last draw.
    bool isDirty() const override;
    void setDirty(bool val = true) override;

    // A plain press: offered to mouse() once; controls with drags override the
    // onMouse* state machine instead.
    CMouseEventResult onMouseDown(CPoint& where, const long& buttons) override;
    virtual void mouse(CPoint& where, long buttons);

protected:
    void notifyValueChanged();

    CControlListener* listener;
    long tag;
    float value = 0.f;
    float oldValue = 1.f;
    float defaultValue = 0.5f;
    float vmin = 0.f;
    float vmax = 1.f;
    float wheelInc = 0.1f;
    CPoint offset;
};
