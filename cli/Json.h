#pragma once

#include <string>
#include <string_view>

namespace zkcli {

// A JSON string literal, quotes included.
std::string JsonString(std::string_view s);
// A JSON number from a float (shortest round-trip text); non-finite values as null.
std::string JsonNumber(double v);

} // namespace zkcli
