#pragma once

#include "widgets/CView.h"

class COptionMenu;

// The open list of a COptionMenu. It covers the whole frame so that a press
// anywhere reaches it (and closes it when outside the list); the frame owns it
// while it is shown.
class COptionMenuPopup : public CView {
public:
    COptionMenuPopup(const CRect& frameSize, COptionMenu* menu, const CRect& listRect,
                     CCoord entryHeight);

    void draw(CDrawContext* context) override;
    CMouseEventResult onMouseDown(CPoint& where, const long& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const long& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const long& buttons) override;
    long onKeyDown(VstKeyCode& keyCode) override;

    const CRect& getListRect() const { return listRect; }
    // Rectangle of one entry, in frame coordinates.
    CRect entryRect(long index) const;
    long getHighlighted() const { return highlighted; }
    void menuGone() { menu = nullptr; }
    // The frame may delete the open list before its menu; the menu must not keep
    // a dangling pointer to it then.
    ~COptionMenuPopup() override;

private:
    long entryAt(const CPoint& where) const;
    void choose(long index);

    COptionMenu* menu;
    CRect listRect;
    CCoord entryHeight;
    long highlighted;
    bool pressed = false;
};
