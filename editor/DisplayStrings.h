#pragma once

// Display functions: a normalised control value to the text a display or text
// box shows. Each writes a NUL-terminated string of at most
// kDisplayTextSize - 1 characters into the control's buffer. The numbers are
// formatted without the process locale: the decimal point is always '.'.
inline constexpr int kDisplayTextSize = 64;

void dB2string(float x, char* text);
void dB2stringEq(float x, char* text);
void dB2stringIs(float x, char* text);
void quality2string(float x, char* text);
void quality2stringHiLoPass(float x, char* text);
void quality2stringLoShelv(float x, char* text);
void quality2stringHiShelv(float x, char* text);
void frequency2string20_1000(float x, char* text);
void frequency2string20_26000(float x, char* text);
void frequency2string400_26000(float x, char* text);
void frequency2string40_200(float x, char* text);
void frequency2string8000_20000(float x, char* text);
void frequency2stringOff_26000(float x, char* text);
void frequency2string20_Off(float x, char* text);
void percent2stringStWi(float x, char* text);
