#pragma once

// Bitmap ids the editors load, and the frame geometry of the strips.
namespace skin {

inline constexpr int kBackground10 = 10;       // Zkmorva 10 panel, 1024 x 283
inline constexpr int kRateIndicator10 = 12;    // Zkmorva 10 sample-rate strip, 3 frames
inline constexpr int kBackground20 = 13;       // Zkmorva 20 panel, 1024 x 530
inline constexpr int kPanelHandle10 = 14;      // Zkmorva 10 panel handle, 2 frames
inline constexpr int kSmallKnob = 20;          // 30 x 30 knob film strip
inline constexpr int kGainKnob = 21;           // 50 x 50 centre-detent knob film strip
inline constexpr int kJoystick = 22;           // two-axis control, 64 x 64 cells
inline constexpr int kSwitchSheet = 23;        // invisible switches: off half, on half
inline constexpr int kPanelHandle20 = 24;      // Zkmorva 20 panel handle, 2 frames
inline constexpr int kLedButton = 25;          // 12 x 12 on/off buttons
inline constexpr int kMeter52 = 30;            // 52-LED meter
inline constexpr int kMeter76 = 31;            // 76-LED meter
inline constexpr int kBalanceDisplay = 32;     // balance strip
inline constexpr int kCorrelationDisplay = 33; // correlation strip
inline constexpr int kHelpPage10 = 40;         // help page 1 of Zkmorva 10
inline constexpr int kRateIndicator20 = 41;    // Zkmorva 20 sample-rate strip, 3 frames
inline constexpr int kHelpPageMouse = 46;      // help page 2 of both editors
inline constexpr int kHelpPageTextEntry = 47;  // help page 3 of both editors
inline constexpr int kHelpPage20 = 48;         // help page 1 of Zkmorva 20

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
constexpr int MeterHeight(int leds) {
    return 2 * leds - 1;
}

} // namespace skin
