#pragma once

// What the editor's spectrum analyser shows. The plug-ins keep it in their state
// beside the settings document (never as a host parameter), so a session brings
// the analyser back as it was; an older session without it leaves it off.
//
// The editor reaches it through two custom properties of its unit handle:
//   kSpectrumSettingsProperty  SpectrumSettings, read and write
//   kSpectrumRingProperty      SampleRing* of the instance's samples, read only;
//                              not in use while the audio side cannot be reached
//                              (another process)

#include "framework/Types.h"

#include <string>
#include <string_view>

namespace zk {

inline constexpr AudioUnitPropertyID kSpectrumSettingsProperty = 65538;
inline constexpr AudioUnitPropertyID kSpectrumRingProperty = 65539;

struct SpectrumSettings {
    bool on = false;
    bool input = true;    // the spectrum before the equaliser
    bool output = true;   // and after it
    bool midSide = false; // two-channel EQ: mid and side instead of left and right
    bool peakHold = false;

    bool operator==(const SpectrumSettings&) const = default;
};

// As saved: words such as "on pre post ms hold". Reading takes the words in any
// order and ignores unknown ones, so later additions load here; a setting whose
// words are missing keeps its default, and at least one of pre and post stays on.
std::string FormatSpectrumSettings(const SpectrumSettings& settings);
SpectrumSettings ParseSpectrumSettings(std::string_view text);

} // namespace zk
