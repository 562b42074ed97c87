#pragma once

#include "units/CutSlopes.h"
#include "units/ParameterTable.h"

#include <array>
#include <string_view>

// Mapping between parameter values (Hz, dB, Q, codes) and the normalised [0, 1]
// value every editor control works on. Pure functions; which law a parameter
// follows is a table lookup by id, one table per unit.
namespace zkeditor {

enum class MappingKind : unsigned char {
    Identity,
    ModeIndex,     // auto-listen mode 0..6
    LevelGain,     // input/output gain -100..+12 dB
    SlopeQ,        // HP/LP: Q 0.3..15 in the lower half, slope detents above
    Freq20_26000,  // logarithmic
    ShelvingQ,     // Q 0.28..15 (below 0.3 selects a shelf)
    Freq20_1000,   // logarithmic
    Gain12,        // band and shifter gains, linear in dB
    Q0_3_15,       // bell Q, logarithmic
    Freq400_26000, // logarithmic
    BassShift,     // 40..200 Hz, default 89 Hz at the centre
    PresenceShift, // 8000..20000 Hz, default 12600 Hz at the centre
    StereoWidth,   // percent 0..400 in three linear pieces
};

// Parameter value to normalised value.
float ToNormalised(MappingKind kind, float value);
// Normalised value to parameter value.
float FromNormalised(MappingKind kind, float x);

// The logarithmic laws alone (frequencies, Q, shifters), in double precision, for
// the display and parse functions and the curve view: the position of a value and
// the value at a position. Kinds without a logarithmic law give NaN.
double LogPosition(MappingKind kind, double value);
double LogValue(MappingKind kind, double x);

// An auto-listen mode control runs from mode 0 at 0.0 to the last mode at 1.0: the
// mode is the control value times this.
inline constexpr float kModeSteps = static_cast<float>(zk::kLastAutoListenMode);

// Upper half of a slope control: a position below `below` (and above the previous
// detent) is Q `q`, shown as `text`. 0.55 and 0.75 are single-precision limits,
// 0.65, 0.85 and 0.95 double, so that a knob at 0.65f (just under 0.65) still
// reads 6 dB/oct. At 0.95 and above: Q 24, "30 dB/oct.".
struct SlopeDetent {
    double below;
    double q;
    std::string_view text;
};
inline constexpr std::array<SlopeDetent, 5> kSlopeDetents{{
    {static_cast<double>(0.55f), zk::kCutSlopes[0].above, "15.0"},
    {0.65, zk::kCutSlopes[0].value, "6 dB/oct."},
    {static_cast<double>(0.75f), zk::kCutSlopes[1].value, "12 dB/oct."},
    {0.85, zk::kCutSlopes[2].value, "18 dB/oct."},
    {0.95, zk::kCutSlopes[3].value, "24 dB/oct."},
}};
inline constexpr double kTopSlopeQ = zk::kCutSlopes[4].value;
inline constexpr std::string_view kTopSlopeText = "30 dB/oct.";

} // namespace zkeditor

// Per unit: the law of each parameter id (unknown ids are identity) and the two
// conversions the editors' ConvertToVSTValue / ConvertToAUValue forward to.
namespace zk10 {
zkeditor::MappingKind KindOf(long id);
float ConvertToVSTValue(float value, long id);
float ConvertToAUValue(float value, long id);
} // namespace zk10

namespace zk20 {
zkeditor::MappingKind KindOf(long id);
float ConvertToVSTValue(float value, long id);
float ConvertToAUValue(float value, long id);
} // namespace zk20
