#pragma once

#include <cairo.h>

// One painter per skin bitmap; each draws the whole image in logical pixels.
namespace skin {

void PaintBackground10(cairo_t* cr, double scale);
void PaintBackground20(cairo_t* cr, double scale);
void PaintRateIndicator10(cairo_t* cr, double scale);
void PaintRateIndicator20(cairo_t* cr, double scale);
void PaintPanelHandle10(cairo_t* cr, double scale);
void PaintPanelHandle20(cairo_t* cr, double scale);
void PaintSmallKnob(cairo_t* cr, double scale);
void PaintGainKnob(cairo_t* cr, double scale);
void PaintJoystick(cairo_t* cr, double scale);
void PaintSwitchSheet(cairo_t* cr, double scale);
void PaintLedButton(cairo_t* cr, double scale);
void PaintMeter52(cairo_t* cr, double scale);
void PaintMeter76(cairo_t* cr, double scale);
void PaintBalanceDisplay(cairo_t* cr, double scale);
void PaintCorrelationDisplay(cairo_t* cr, double scale);
void PaintHelpPage10(cairo_t* cr, double scale);
void PaintHelpPage20(cairo_t* cr, double scale);
void PaintHelpPageMouse(cairo_t* cr, double scale);
void PaintHelpPageTextEntry(cairo_t* cr, double scale);

} // namespace skin
