#pragma once

// Shared by the preset format readers (PresetFormats.cpp, PresetTurtle.cpp,
// PresetStateBlob.cpp); not for other callers.
#include "cli/PresetFormats.h"

#include <optional>
#include <string>
#include <string_view>

namespace zkcli::presetformats {

// Throws CliError "preset <source> <what>".
[[noreturn]] void Fail(const std::string& source, const std::string& what);
// A number written out whole ("+" allowed); none for anything else.
std::optional<float> ParseNumber(std::string_view text);

PresetFile DecodeTurtle(std::string_view bytes, const std::string& source);
PresetFile DecodeStateBlob(std::string_view bytes, const std::string& source);
PresetFile DecodeVstPreset(std::string_view bytes, const std::string& source);

} // namespace zkcli::presetformats
