#pragma once

#include <cairo.h>

// One painter per skin bitmap; each draws the whole image in logical pixels.
namespace skin {

void paintBackground1(cairo_t* cr, double scale);
void paintBackground2(cairo_t* cr, double scale);
void paintRateIndicator1(cairo_t* cr, double scale);
void paintRateIndicator2(cairo_t* cr, double scale);
void paintPanelHandle1(cairo_t* cr, double scale);
void paintPanelHandle2(cairo_t* cr, double scale);
void paintSmallKnob(cairo_t* cr, double scale);
void paintGainKnob(cairo_t* cr, double scale);
void paintJoystick(cairo_t* cr, double scale);
void paintSwitchSheet(cairo_t* cr, double scale);
void paintLedButton(cairo_t* cr, double scale);
void paintMeter52(cairo_t* cr, double scale);
void paintMeter76(cairo_t* cr, double scale);
void paintBalanceDisplay(cairo_t* cr, double scale);
void paintCorrelationDisplay(cairo_t* cr, double scale);
void paintHelpPage1Variant1(cairo_t* cr, double scale);
void paintHelpPage1Variant2(cairo_t* cr, double scale);
void paintHelpPageMouse(cairo_t* cr, double scale);
void paintHelpPageTextEntry(cairo_t* cr, double scale);

} // namespace skin
