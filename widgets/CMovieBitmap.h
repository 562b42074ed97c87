#pragma once

#include "widgets/CControl.h"

// Shows one frame of a film strip chosen by the value: vmin the first frame,
// vmax the last, rounded to the nearest frame. Takes no mouse input.
class CMovieBitmap : public CControl {
public:
    // Frame count = bitmap height / view height.
    CMovieBitmap(const CRect& size, CControlListener* listener, long tag, CBitmap* background,
                 const CPoint& offset = CPoint(0, 0));
    CMovieBitmap(const CRect& size, CControlListener* listener, long tag, int subPixmaps,
                 CCoord heightOfOneImage, CBitmap* background, const CPoint& offset = CPoint(0, 0));

    void draw(CDrawContext* context) override;
    int getSubPixmaps() const { return subPixmaps; }
    // Index of the frame shown for the current value.
    int frameIndex() const;

protected:
    int subPixmaps;
    CCoord heightOfOneImage;
};
