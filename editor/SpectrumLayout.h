#pragma once

#include "widgets/CColor.h"
#include "widgets/CRect.h"

// Where each editor puts its spectrum analyser: behind its response curve, with
// a row of switches in free space next to it, and the colours of its traces.
namespace zkeditor {

struct SpectrumLayout {
    CRect view;      // the curve's rectangle
    CRect onSwitch;  // "Spectrum"
    CRect inSwitch;  // "in": the spectrum before the equaliser
    CRect outSwitch; // "out": after it
    CRect lrSwitch;  // "L/R" and "M/S": the two-channel EQ only (empty: none)
    CRect msSwitch;
    CRect holdSwitch; // "hold": peak hold
    // Trace colours: per channel (one for the channel EQ), the input drawn paler.
    CColor channelColour[2];
    CColor inputColour;
};

// Channel EQ: the row under the frequency scale.
inline constexpr SpectrumLayout kZkmorva10Spectrum{{596, 24, 969, 249},
                                                   {606, 268, 656, 280},
                                                   {662, 268, 676, 280},
                                                   {680, 268, 700, 280},
                                                   {},
                                                   {},
                                                   {706, 268, 730, 280},
                                                   {{255, 191, 0, 255}, {255, 191, 0, 255}},
                                                   {170, 200, 190, 255}};

// Two-channel EQ: the row above the curves, channel colours as their curves'.
inline constexpr SpectrumLayout kZkmorva20Spectrum{
    {44, 317, 582, 502},  {86, 297, 136, 309},
    {142, 297, 156, 309}, {160, 297, 180, 309},
    {186, 297, 206, 309}, {210, 297, 232, 309},
    {240, 297, 264, 309}, {{255, 191, 0, 255}, {120, 200, 255, 255}},
    {170, 200, 190, 255}};

} // namespace zkeditor
