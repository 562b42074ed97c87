#pragma once

#include "framework/Types.h"
#include "units/CutSlopes.h"
#include "units/ParameterTable.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <string_view>

namespace zk {

// A range of parameter values; each end open or closed.
struct ValueRange {
    float lo = -std::numeric_limits<float>::infinity();
    bool loClosed = false;
    float hi = std::numeric_limits<float>::infinity();
    bool hiClosed = false;

    constexpr bool Contains(float v) const {
        const bool aboveLo = loClosed ? v >= lo : v > lo;
        const bool belowHi = hiClosed ? v <= hi : v < hi;
        return aboveLo && belowHi;
    }
};
constexpr ValueRange AtMost(float x) {
    return {-std::numeric_limits<float>::infinity(), false, x, true};
}
constexpr ValueRange Below(float x) {
    return {-std::numeric_limits<float>::infinity(), false, x, false};
}
constexpr ValueRange AtLeast(float x) {
    return {x, true, std::numeric_limits<float>::infinity(), false};
}
constexpr ValueRange Above(float x) {
    return {x, false, std::numeric_limits<float>::infinity(), false};
}
constexpr ValueRange AboveUpTo(float lo, float hi) {
    return {lo, false, hi, true};
}

// A host-visible text for special values of some parameters, and the value that
// stands for it: what reading the text back sets, and the value hosts show labelled
// with it. Up to four ids share a rule; unused slots hold kNoParameter.
inline constexpr AudioUnitParameterID kNoParameter = 0xFFFFFFFFu;
struct ValueTextRule {
    std::array<AudioUnitParameterID, 4> ids;
    ValueRange range;
    const char* text;
    float value;
};

constexpr bool NamesParameter(const ValueTextRule& rule, AudioUnitParameterID id) {
    return std::find(rule.ids.begin(), rule.ids.end(), id) != rule.ids.end();
}

// The five slope texts of a cut filter's Q control, for up to four ids.
constexpr std::array<ValueTextRule, kCutSlopes.size()>
SlopeTextRules(std::array<AudioUnitParameterID, 4> ids) {
    std::array<ValueTextRule, kCutSlopes.size()> rules{};
    for (std::size_t i = 0; i < kCutSlopes.size(); ++i) {
        const CutSlope& s = kCutSlopes[i];
        const ValueRange range = s.upTo == std::numeric_limits<float>::infinity()
                                     ? Above(s.above)
                                     : AboveUpTo(s.above, s.upTo);
        rules[i] = {ids, range, s.text, s.value};
    }
    return rules;
}

// Joins rule arrays into one table.
template <std::size_t... N> constexpr auto JoinRules(const std::array<ValueTextRule, N>&... parts) {
    std::array<ValueTextRule, (N + ...)> out{};
    std::size_t i = 0;
    ((std::copy(parts.begin(), parts.end(), out.begin() + i), i += N), ...);
    return out;
}

// Whether each rule's value lies in its own range and in the range of every
// parameter it names, and reads back as the rule's own text there (no earlier rule
// of that parameter claims it): checked at compile time for each unit's table.
constexpr bool RuleValuesHold(std::span<const ValueTextRule> rules,
                              std::span<const ParameterDef> table) {
    for (std::size_t r = 0; r < rules.size(); ++r) {
        const ValueTextRule& rule = rules[r];
        if (!rule.range.Contains(rule.value)) {
            return false;
        }
        for (AudioUnitParameterID id : rule.ids) {
            if (id == kNoParameter) {
                continue;
            }
            if (id >= table.size() || table[id].id != id || rule.value < table[id].minValue ||
                rule.value > table[id].maxValue) {
                return false;
            }
            for (std::size_t e = 0; e < r; ++e) {
                const ValueTextRule& earlier = rules[e];
                if (NamesParameter(earlier, id) && earlier.range.Contains(rule.value) &&
                    std::string_view(earlier.text) != rule.text) {
                    return false;
                }
            }
        }
    }
    return true;
}

// The text of the first rule that names `id` and contains `value`, or null.
const char* FindValueText(std::span<const ValueTextRule> rules, AudioUnitParameterID id,
                          float value);
// Whether any rule names `id` (ids no rule names are refused as invalid).
bool HasValueTexts(std::span<const ValueTextRule> rules, AudioUnitParameterID id);

} // namespace zk
