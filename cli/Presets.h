#pragma once

// Presets: the saved-state document of the units (the same one the plug-ins store),
// made from settings, read back and checked, and listed by parameter name.
#include "cli/Parameters.h"
#include "cli/UnitCatalog.h"

#include <filesystem>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace zkcli {

struct Preset {
    const UnitKind* unit = nullptr;
    std::string document;
    std::string name;
    std::string source; // the file it came from, for messages
};

// The document of the unit at its defaults with `settings` applied.
std::string MakePresetDocument(const UnitKind& unit, std::span<const Setting> settings,
                               const std::string& name);

// Reads and fully checks a preset file: it must be a saved state of one of our units
// that the unit accepts. Throws CliError naming the file.
Preset ReadPreset(const std::filesystem::path& path);
// The same for a document already in memory.
Preset ParsePreset(std::string document, const std::string& source);

// The preset's value of every settable parameter, in table order.
std::vector<std::pair<const zk::ParameterDef*, float>> PresetValues(const Preset& preset);

} // namespace zkcli
