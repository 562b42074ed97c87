#include "editor/CVuMeterEX.h"

CVuMeterEX::CVuMeterEX(const CRect& size_, CBitmap* onBitmap_, long leds, long style_)
    : CVuMeter(size_, onBitmap_, nullptr, leds, style_) {}

void CVuMeterEX::prepareOffscreen(CDrawContext* screen, COffscreenContext* image) {
    if (bTransparencyEnabled) {
        image->copyTo(screen, size);
    }
}
