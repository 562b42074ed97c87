#pragma once

// Bitmap ids the editors load, and the frame geometry of the strips.
namespace skin {

inline constexpr int kBackground1 = 10;        // variant 1 panel, 1024 x 283
inline constexpr int kRateIndicator1 = 12;     // variant 1 sample-rate strip, 3 frames
inline constexpr int kBackground2 = 13;        // variant 2 panel, 1024 x 530
inline constexpr int kPanelHandle1 = 14;       // variant 1 panel handle, 2 frames
inline constexpr int kSmallKnob = 20;          // 30 x 30 knob film strip
inline constexpr int kGainKnob = 21;           // 50 x 50 centre-detent knob film strip
inline constexpr int kJoystick = 22;           // two-axis control, 64 x 64 cells
inline constexpr int kSwitchSheet = 23;        // invisible switches: off half, on half
inline constexpr int kPanelHandle2 = 24;       // variant 2 panel handle, 2 frames
inline constexpr int kLedButton = 25;          // 12 x 12 on/off buttons
inline constexpr int kMeter52 = 30;            // 52-LED meter
inline constexpr int kMeter76 = 31;            // 76-LED meter
inline constexpr int kBalanceDisplay = 32;     // balance strip
inline constexpr int kCorrelationDisplay = 33; // correlation strip
inline constexpr int kHelpPage1Variant1 = 40;  // help page 1 of variant 1
inline constexpr int kRateIndicator2 = 41;     // variant 2 sample-rate strip, 3 frames
inline constexpr int kHelpPageMouse = 46;      // help page 2 of both variants
inline constexpr int kHelpPageTextEntry = 47;  // help page 3 of both variants
inline constexpr int kHelpPage1Variant2 = 48;  // help page 1 of variant 2

inline constexpr int kKnobFrames = 101;   // value steps of 0.01
inline constexpr int kJoystickSteps = 21; // columns and rows; the centre is cell 10
inline constexpr int kJoystickCell = 64;
inline constexpr int kSmallKnobSize = 30;
inline constexpr int kGainKnobSize = 50;
inline constexpr int kMeterWidth = 7;
inline constexpr int kDisplayFrames = 53; // odd: value 0.5 has a frame of its own
inline constexpr int kDisplayWidth = 105;
inline constexpr int kDisplayHeight = 7;
inline constexpr int kHelpPageWidth = 374;
inline constexpr int kHelpPageHeight = 258;
inline constexpr int kSwitchSheetWidth = 96;
inline constexpr int kSwitchSheetHalf = 45; // tallest switch (knob-mode switch)

// Height of an n-LED strip: 1-pixel LEDs with 1-pixel gaps.
constexpr int meterHeight(int leds) {
    return 2 * leds - 1;
}

} // namespace skin
