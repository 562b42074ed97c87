#pragma once

#include "widgets/CControl.h"

// A two-state switch: the upper half of its bitmap shows off, the lower half on.
// A left press toggles between 0 and 1 and reports it as one gesture.
class COnOffButton : public CControl {
public:
    COnOffButton(const CRect& size, CControlListener* listener, long tag, CBitmap* background,
                 long style = 0);

    void draw(CDrawContext* context) override;
    void mouse(CPoint& where, long buttons) override;
    void setStyle(long val) { style = val; }
    long getStyle() const { return style; }

protected:
    long style;
};
