#pragma once

#include "framework/Types.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>

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

// A host-visible text for special values of some parameters.
// Up to four ids share a rule; unused slots hold kNoParameter.
inline constexpr AudioUnitParameterID kNoParameter = 0xFFFFFFFFu;
struct ValueTextRule {
    std::array<AudioUnitParameterID, 4> ids;
    ValueRange range;
    const char* text;
};

// The five slope texts of a cut filter's Q control, for up to four ids.
constexpr std::array<ValueTextRule, 5> SlopeTextRules(std::array<AudioUnitParameterID, 4> ids) {
    return {{{ids, AboveUpTo(15.0f, 17.0f), "6dB/oct."},
             {ids, AboveUpTo(17.0f, 19.0f), "12dB/oct."},
             {ids, AboveUpTo(19.0f, 21.0f), "18dB/oct."},
             {ids, AboveUpTo(21.0f, 23.0f), "24dB/oct."},
             {ids, Above(23.0f), "30dB/oct."}}};
}

// Joins rule arrays into one table.
template <std::size_t... N> constexpr auto JoinRules(const std::array<ValueTextRule, N>&... parts) {
    std::array<ValueTextRule, (N + ...)> out{};
    std::size_t i = 0;
    ((std::copy(parts.begin(), parts.end(), out.begin() + i), i += N), ...);
    return out;
}

// The text of the first rule that names `id` and contains `value`, or null.
const char* FindValueText(std::span<const ValueTextRule> rules, AudioUnitParameterID id,
                          float value);
// Whether any rule names `id` (ids no rule names are refused as invalid).
bool HasValueTexts(std::span<const ValueTextRule> rules, AudioUnitParameterID id);

} // namespace zk
