#pragma once

#include "widgets/CKnob.h"

// A knob drawn from a film strip: frames of the view's height stacked vertically;
// value vmin shows the first frame, vmax the last.
class CAnimKnob : public CKnob {
public:
    // Frame count = bitmap height / view height.
    CAnimKnob(const CRect& size, CControlListener* listener, long tag, CBitmap* background,
              const CPoint& offset = CPoint(0, 0));
    CAnimKnob(const CRect& size, CControlListener* listener, long tag, int subPixmaps,
              CCoord heightOfOneImage, CBitmap* background, const CPoint& offset = CPoint(0, 0));

    void draw(CDrawContext* context) override;
    void setInverseBitmap(bool val) { bInverseBitmap = val; }
    bool getInverseBitmap() const { return bInverseBitmap; }
    int getSubPixmaps() const { return subPixmaps; }
    CCoord getHeightOfOneImage() const { return heightOfOneImage; }
    // Vertical offset into the strip of the frame shown for the current value.
    CCoord frameOffset() const;

protected:
    int subPixmaps;
    CCoord heightOfOneImage;
    bool bInverseBitmap = false;
};
