#pragma once

#include "widgets/CControl.h"

#include <memory>

enum CVuMeterStyle : long { kHorizontal = 1, kVertical = 2 };

// A level meter of nbLed LEDs from two bitmaps of the view's size: the lit part
// shows onBitmap, the unlit part offBitmap (or nothing). The value is quantised
// to whole LEDs (rounding to the nearest) and falls back by at most the decrease
// step per redraw, so peaks decay smoothly. Vertical meters fill from the bottom,
// horizontal ones from the left. Off-screen drawing composes the meter in an
// image first (black where nothing is drawn) and copies it in one go.
class CVuMeter : public CControl {
public:
    CVuMeter(const CRect& size, CBitmap* onBitmap, CBitmap* offBitmap, long nbLed,
             long style = kVertical);
    ~CVuMeter() override;

    void draw(CDrawContext* context) override;
    bool isDirty() const override;

    void setDecreaseStepValue(float val) { decreaseValue = val; }
    float getDecreaseStepValue() const { return decreaseValue; }
    void setUseOffscreen(bool val) { bUseOffscreen = val; }
    bool getUseOffscreen() const { return bUseOffscreen; }
    long getNbLed() const { return nbLed; }
    long getStyle() const { return style; }
    void setOnBitmap(CBitmap* bitmap) {
        onBitmap = bitmap;
        setDirty();
    }
    void setOffBitmap(CBitmap* bitmap) {
        offBitmap = bitmap;
        setDirty();
    }
    // Number of LEDs lit for a displayed value.
    long litLeds(float displayed) const;
    float getDisplayedValue() const { return displayedValue; }

protected:
    // The value to show now: the value, or the last shown one minus the decrease step.
    float nextDisplayedValue();
    // Lit and unlit rectangles (in the coordinates of area) and the matching
    // bitmap offsets for a displayed value.
    void computeRects(float displayed, const CRect& area, CRect& rectOn, CPoint& pointOn,
                      CRect& rectOff, CPoint& pointOff) const;
    void drawLeds(CDrawContext* context, float displayed, const CRect& area);
    // The meter's image for off-screen drawing, made on first use at the
    // context's scale (black).
    COffscreenContext* offscreenFor(CDrawContext* screen);
    // Hook between clearing the off-screen image and drawing the LEDs into it.
    virtual void prepareOffscreen(CDrawContext* /*screen*/, COffscreenContext* /*image*/) {}

    CBitmap* onBitmap;
    CBitmap* offBitmap;
    long nbLed;
    long style;
    float decreaseValue = 0.1f;
    float displayedValue = 0.f;
    bool bUseOffscreen = false;
    std::unique_ptr<COffscreenContext> offscreen;
};
