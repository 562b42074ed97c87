#pragma once

// Parameter values as text, in each parameter's own unit, and back. Pure functions in
// inverse pairs: ParseValue(FormatValue(v)) == v for every value in a parameter's
// range. Locale-independent: '.' is written, '.' and ',' are read as decimal marks.
#include "units/ParameterTable.h"
#include "units/ValueTexts.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace zkcli {

// What a parameter's values mean beside its table row: the names of an indexed
// parameter (index = value) and the unit's texts for special values.
struct ValueContext {
    const zk::ParameterDef& def;
    std::span<const std::string> valueStrings;
    std::span<const zk::ValueTextRule> valueTexts;
};

// The whole text as a number ("1.5", "1,5", "-3", "2e3"); nullopt otherwise.
std::optional<double> ParseNumber(std::string_view text);
// The shortest text that reads back as the same float ("0.29", "3150", "-100").
std::string FormatNumber(float value);

// "3150 Hz", "-2.5 dB", "0.7", "on", "Q f G".
std::string FormatValue(const ValueContext& context, float value);
// Reads what FormatValue writes, plus: "3.15 kHz", "6dB", "1,5", "true"/"1", a
// mode's index, and the unit's special texts ("-oo", "lo-shelf", "12dB/oct.").
// Throws CliError naming the parameter; a number outside the range names the range.
float ParseValue(const ValueContext& context, std::string_view text);

// The unit's special text for a value ("12dB/oct."), or empty.
std::string SpecialText(const ValueContext& context, float value);
// "-12 dB .. 12 dB", "on/off", "Q - - | - f - | ...".
std::string DescribeRange(const ValueContext& context);

} // namespace zkcli
