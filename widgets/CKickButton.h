#pragma once

#include "widgets/CControl.h"

// A momentary button: vmax while held down with the pointer over it, vmin
// otherwise; every change is reported. The bitmap holds the released frame on
// top and the pressed frame below it.
class CKickButton : public CControl {
public:
    CKickButton(const CRect& size, CControlListener* listener, long tag, CBitmap* background,
                const CPoint& offset = CPoint(0, 0));

    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const long& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const long& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const long& buttons) override;

protected:
    void setPressed(bool pressed);

    CCoord heightOfOneImage;
    bool tracking = false;
};
