#pragma once

#include <array>
#include <cstdint>

// Which controls of the channel EQ can be auto-listened, and what is
// heard while they are: data only, indexed by parameter id.
namespace zk10 {

// The kind of control a parameter is, as a bit so that modes can be masks.
enum ListenKind : std::uint8_t {
    kNotListenable = 0,
    kShapeControl = 1,     // Q or slope
    kFrequencyControl = 2, // heard as a narrow band around the frequency
    kGainControl = 4,
};

// The section a control belongs to; bands first so that the value is the index.
enum ListenSection : std::int8_t {
    kBand1 = 0,
    kBand2,
    kBand3,
    kBand4,
    kBand5,
    kHighPassSection,
    kLowPassSection,
    kNoSection,
};

struct ListenControl {
    ListenKind kind;
    ListenSection section;
};

inline constexpr ListenControl kNone{kNotListenable, kNoSection};

// Parameter ids 0 to 30; every other id is not listenable.
inline constexpr std::array<ListenControl, 31> kListenControls = {{
    kNone,
    kNone,
    kNone,
    kNone,
    kNone,
    kNone,                                 // 0-5 global switches and gains
    {kShapeControl, kHighPassSection},     // 6 HP slope
    {kFrequencyControl, kHighPassSection}, // 7 HP f
    kNone,                                 // 8 HP on
    {kShapeControl, kBand1},               // 9 LF Q
    {kFrequencyControl, kBand1},           // 10 LF f
    {kGainControl, kBand1},                // 11 LF gain
    kNone,                                 // 12 LF on
    {kShapeControl, kBand2},               // 13 LMF Q
    {kFrequencyControl, kBand2},           // 14
    {kGainControl, kBand2},                // 15
    kNone,                                 // 16
    {kShapeControl, kBand3},               // 17 MF Q
    {kFrequencyControl, kBand3},           // 18
    {kGainControl, kBand3},                // 19
    kNone,                                 // 20
    {kShapeControl, kBand4},               // 21 HMF Q
    {kFrequencyControl, kBand4},           // 22
    {kGainControl, kBand4},                // 23
    kNone,                                 // 24
    {kShapeControl, kBand5},               // 25 HF Q
    {kFrequencyControl, kBand5},           // 26
    {kGainControl, kBand5},                // 27
    kNone,                                 // 28
    {kShapeControl, kLowPassSection},      // 29 LP slope
    {kFrequencyControl, kLowPassSection},  // 30 LP f
}};

inline constexpr ListenControl ListenControlFor(long paramId) {
    return paramId >= 0 && paramId < static_cast<long>(kListenControls.size())
               ? kListenControls[static_cast<std::size_t>(paramId)]
               : kNone;
}

// Auto-listen mode (parameter 1) to the kinds of control it covers:
// "Q - -", "- f -", "- - G", "Q f -", "Q - G", "- f G", "Q f G".
inline constexpr std::array<std::uint8_t, 7> kModeKinds = {
    kShapeControl,
    kFrequencyControl,
    kGainControl,
    kShapeControl | kFrequencyControl,
    kShapeControl | kGainControl,
    kFrequencyControl | kGainControl,
    kShapeControl | kFrequencyControl | kGainControl,
};

inline constexpr std::uint8_t ModeKinds(std::int32_t mode) {
    return mode >= 0 && mode < static_cast<std::int32_t>(kModeKinds.size())
               ? kModeKinds[static_cast<std::size_t>(mode)]
               : std::uint8_t{0};
}

} // namespace zk10
