#pragma once

// Base64 (RFC 4648 alphabet, '=' padding): the text of a property list's <data>.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zkfw::plist {

std::string Base64Encode(const std::uint8_t* data, std::size_t size);
// Whitespace is ignored; anything else outside the alphabet, bad padding or a
// length that is not a multiple of 4 fails.
bool Base64Decode(std::string_view text, std::string& out);

} // namespace zkfw::plist
