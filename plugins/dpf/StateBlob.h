#pragma once

// The state blob DPF writes for CLAP and VST3: NUL-separated strings, a state
// section of key/value pairs, a parameter section of symbol/value pairs, and a
// terminator. Reading it lets the CLAP entry check our document before DPF
// applies anything.

#include <optional>
#include <string>
#include <string_view>

namespace zkplug {

// The value saved under `key` in the state section of a complete blob; none when
// the blob is not one DPF wrote or has no such key.
std::optional<std::string_view> FindDpfStateValue(std::string_view blob, std::string_view key);

} // namespace zkplug
