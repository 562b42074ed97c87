#include "resources/SkinTable.h"

#include "resources/SkinIds.h"
#include "resources/SkinPainters.h"

#include <array>

namespace skin {

namespace {

constexpr int kJoystickSide = kJoystickSteps * kJoystickCell;

constexpr std::array<CBitmapDescription, 19> kSkin{{
    {kBackground10, "background-1", 1024, 283, 1, 1, PaintBackground10},
    {kRateIndicator10, "rate-indicator-1", 85, 3 * 255, 3, 1, PaintRateIndicator10},
    {kBackground20, "background-2", 1024, 530, 1, 1, PaintBackground20},
    {kPanelHandle10, "panel-handle-1", 32, 2 * 283, 2, 1, PaintPanelHandle10},
    {kSmallKnob, "knob-30", kSmallKnobSize, kKnobFrames* kSmallKnobSize, kKnobFrames, 1,
     PaintSmallKnob},
    {kGainKnob, "knob-50", kGainKnobSize, kKnobFrames* kGainKnobSize, kKnobFrames, 1,
     PaintGainKnob},
    {kJoystick, "joystick-64", kJoystickSide, kJoystickSide, kJoystickSteps, kJoystickSteps,
     PaintJoystick},
    {kSwitchSheet, "switch-sheet", kSwitchSheetWidth, 2 * kSwitchSheetHalf, 2, 1, PaintSwitchSheet},
    {kPanelHandle20, "panel-handle-2", 83, 2 * 242, 2, 1, PaintPanelHandle20},
    {kLedButton, "led-button", 12, 24, 2, 1, PaintLedButton},
    {kMeter52, "meter-52", kMeterWidth, MeterHeight(52), 1, 1, PaintMeter52},
    {kMeter76, "meter-76", kMeterWidth, MeterHeight(76), 1, 1, PaintMeter76},
    {kBalanceDisplay, "balance", kDisplayWidth, kDisplayFrames* kDisplayHeight, kDisplayFrames, 1,
     PaintBalanceDisplay},
    {kCorrelationDisplay, "correlation", kDisplayWidth, kDisplayFrames* kDisplayHeight,
     kDisplayFrames, 1, PaintCorrelationDisplay},
    {kHelpPage10, "help-1-eq10", kHelpPageWidth, kHelpPageHeight, 1, 1, PaintHelpPage10},
    {kRateIndicator20, "rate-indicator-2", 85, 3 * 195, 3, 1, PaintRateIndicator20},
    {kHelpPageMouse, "help-2-mouse", kHelpPageWidth, kHelpPageHeight, 1, 1, PaintHelpPageMouse},
    {kHelpPageTextEntry, "help-3-text-entry", kHelpPageWidth, kHelpPageHeight, 1, 1,
     PaintHelpPageTextEntry},
    {kHelpPage20, "help-1-eq20", kHelpPageWidth, kHelpPageHeight, 1, 1, PaintHelpPage20},
}};

} // namespace

std::span<const CBitmapDescription> SkinTable() {
    return kSkin;
}

void installSkin() {
    CBitmap::setBitmapTable(kSkin);
}

} // namespace skin
