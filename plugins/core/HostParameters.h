#pragma once

// The host-facing description of a unit's parameters, derived from its table:
// what every plug-in format shows (name, symbol, unit, range, default, hints and
// labelled values). Nothing here knows about a plug-in format.

#include "framework/AUBase.h"
#include "plugins/core/UnitDescriptor.h"
#include "units/ParameterTable.h"
#include "units/ValueTexts.h"

#include <span>
#include <string>
#include <vector>

namespace zkplug {

struct ScalePoint {
    float value;
    std::string label;
};

struct HostParameter {
    AudioUnitParameterID id = 0;
    std::string name;      // the table's name; the symbol when that is empty
    std::string symbol;    // stable across versions: hosts save sessions by it
    std::string unitLabel; // "dB", "Hz", "%" or empty
    float minValue = 0.0f;
    float maxValue = 1.0f;
    float defaultValue = 0.0f;
    bool output = false;      // a meter: written by the unit, read by the host
    bool automatable = false; // false for the panel state: saved, never automated
    bool boolean = false;
    bool integer = false;
    bool logarithmic = false;
    bool enumeration = false; // only the scale points are valid values
    // Values with a text of their own. Texts the unit gives to a whole range of
    // values are shown at the one value that stands for the range in the unit's
    // texts, since the formats label single values only.
    std::vector<ScalePoint> scalePoints;
};

// One entry per row of the descriptor's table, in table order. `unit` answers
// the value strings of indexed parameters.
std::vector<HostParameter> DescribeParameters(AUBase& unit, const UnitDescriptor& descriptor);

// Whether `s` is usable as an LV2 symbol: [A-Za-z_][A-Za-z0-9_]*.
bool IsValidSymbol(const std::string& s);

} // namespace zkplug
