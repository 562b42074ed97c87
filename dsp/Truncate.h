#pragma once

#include <cstdint>
#include <limits>

namespace zk {

// Truncates toward zero into *out and returns true, or returns false and leaves
// *out alone when the value has no int32 representation (NaN, infinities, huge
// values), where a plain cast would be undefined.
inline bool TruncateToInt32(double value, std::int32_t* out) {
    constexpr double lo = static_cast<double>(std::numeric_limits<std::int32_t>::min()) - 1.0;
    constexpr double hi = static_cast<double>(std::numeric_limits<std::int32_t>::max()) + 1.0;
    if (!(value > lo && value < hi)) {
        return false;
    }
    *out = static_cast<std::int32_t>(value);
    return true;
}

} // namespace zk
