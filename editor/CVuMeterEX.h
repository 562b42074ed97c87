#pragma once

#include "widgets/CVuMeter.h"

// The editors' meter: LEDs only (no off bitmap). Drawn off-screen with
// transparency, it first takes the screen under it into its image, so the
// transparent LED strip composes over the real panel instead of black.
class CVuMeterEX : public CVuMeter {
public:
    CVuMeterEX(const CRect& size, CBitmap* onBitmap, long nbLed, long style = kVertical);

protected:
    void prepareOffscreen(CDrawContext* screen, COffscreenContext* image) override;
};
