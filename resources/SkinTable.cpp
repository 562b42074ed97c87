#include "resources/SkinTable.h"

#include "resources/SkinIds.h"
#include "resources/SkinPainters.h"

#include <array>

namespace skin {

namespace {

constexpr int kJoystickSide = kJoystickSteps * kJoystickCell;

constexpr std::array<CBitmapDescription, 19> kSkin{{
    {kBackground10, "background-1", 1024, 283, 1, 1, paintBackground10},
    {kRateIndicator10, "rate-indicator-1", 85, 3 * 255, 3, 1, paintRateIndicator10},
    {kBackground20, "background-2", 1024, 530, 1, 1, paintBackground20},
    {kPanelHandle10, "panel-handle-1", 32, 2 * 283, 2, 1, paintPanelHandle10},
    {kSmallKnob, "knob-30", kSmallKnobSize, kKnobFrames* kSmallKnobSize, kKnobFrames, 1,
     paintSmallKnob},
    {kGainKnob, "knob-50", kGainKnobSize, kKnobFrames* kGainKnobSize, kKnobFrames, 1,
     paintGainKnob},
    {kJoystick, "joystick-64", kJoystickSide, kJoystickSide, kJoystickSteps, kJoystickSteps,
     paintJoystick},
    {kSwitchSheet, "switch-sheet", kSwitchSheetWidth, 2 * kSwitchSheetHalf, 2, 1, paintSwitchSheet},
    {kPanelHandle20, "panel-handle-2", 83, 2 * 242, 2, 1, paintPanelHandle20},
    {kLedButton, "led-button", 12, 24, 2, 1, paintLedButton},
    {kMeter52, "meter-52", kMeterWidth, meterHeight(52), 1, 1, paintMeter52},
    {kMeter76, "meter-76", kMeterWidth, meterHeight(76), 1, 1, paintMeter76},
    {kBalanceDisplay, "balance", kDisplayWidth, kDisplayFrames* kDisplayHeight, kDisplayFrames, 1,
     paintBalanceDisplay},
    {kCorrelationDisplay, "correlation", kDisplayWidth, kDisplayFrames* kDisplayHeight,
     kDisplayFrames, 1, paintCorrelationDisplay},
    {kHelpPage10, "help-1-eq10", kHelpPageWidth, kHelpPageHeight, 1, 1, paintHelpPage10},
    {kRateIndicator20, "rate-indicator-2", 85, 3 * 195, 3, 1, paintRateIndicator20},
    {kHelpPageMouse, "help-2-mouse", kHelpPageWidth, kHelpPageHeight, 1, 1, paintHelpPageMouse},
    {kHelpPageTextEntry, "help-3-text-entry", kHelpPageWidth, kHelpPageHeight, 1, 1,
     paintHelpPageTextEntry},
    {kHelpPage20, "help-1-eq20", kHelpPageWidth, kHelpPageHeight, 1, 1, paintHelpPage20},
}};

} // namespace

std::span<const CBitmapDescription> skinTable() {
    return kSkin;
}

void installSkin() {
    CBitmap::setBitmapTable(kSkin);
}

} // namespace skin
