#pragma once

#include <cairo.h>

// One painter per skin bitmap; each draws the whole image in logical pixels.
namespace skin {

void paintBackground10(cairo_t* cr, double scale);
void paintBackground20(cairo_t* cr, double scale);
void paintRateIndicator10(cairo_t* cr, double scale);
void paintRateIndicator20(cairo_t* cr, double scale);
void paintPanelHandle10(cairo_t* cr, double scale);
void paintPanelHandle20(cairo_t* cr, double scale);
void paintSmallKnob(cairo_t* cr, double scale);
void paintGainKnob(cairo_t* cr, double scale);
void paintJoystick(cairo_t* cr, double scale);
void paintSwitchSheet(cairo_t* cr, double scale);
void paintLedButton(cairo_t* cr, double scale);
void paintMeter52(cairo_t* cr, double scale);
void paintMeter76(cairo_t* cr, double scale);
void paintBalanceDisplay(cairo_t* cr, double scale);
void paintCorrelationDisplay(cairo_t* cr, double scale);
void paintHelpPage10(cairo_t* cr, double scale);
void paintHelpPage20(cairo_t* cr, double scale);
void paintHelpPageMouse(cairo_t* cr, double scale);
void paintHelpPageTextEntry(cairo_t* cr, double scale);

} // namespace skin
