#pragma once

// Presets: the saved-state document of the units (the same one the plug-ins store),
// made from settings or from the factory library, read from any of the files a
// preset travels in (PresetFormats.h), checked whole, and written out again.
#include "cli/Parameters.h"
#include "cli/PresetFormats.h"
#include "cli/UnitCatalog.h"

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zkcli {

struct Preset {
    const UnitKind* unit = nullptr;
    std::string document;
    std::string name;
    std::string source; // the file it came from, or "factory preset NAME", for messages
};

// The document of the unit at its defaults with `settings` applied.
std::string MakePresetDocument(const UnitKind& unit, std::span<const Setting> settings,
                               const std::string& name);

// Reads and fully checks a preset file in any format: it must be for one of our
// units, name only parameters the unit has, and hold every value in its range.
// Nothing is taken from a file that fails. Throws CliError naming the file.
Preset ReadPreset(const std::filesystem::path& path);
// The same for a saved-state document already in memory.
Preset ParsePreset(std::string document, const std::string& source);
// A file if one exists at `fileOrName`, else a factory preset of `unit` (of any
// unit when null) by name; throws CliError when it is neither.
Preset LoadPreset(const std::string& fileOrName, const UnitKind* unit);

// The factory library. Names match ignoring case, spaces and punctuation.
const zk::FactoryPreset* FindFactoryPreset(const UnitKind& unit, std::string_view name);
// The preset's values as settings of the unit; throws CliError on a name the
// unit's table lacks.
std::vector<Setting> FactorySettings(const UnitKind& unit, const zk::FactoryPreset& preset);
Preset FactoryPresetFor(const UnitKind& unit, const zk::FactoryPreset& preset);
// "vocal-presence": the preset's part of its LV2 URI and of file names.
std::string PresetSlug(std::string_view name);

// The preset's value of every settable parameter, in table order.
std::vector<PortValue> PresetValues(const Preset& preset);

// The preset as a file of `format`; `comment` is the LV2 preset's description.
std::string EncodePreset(const Preset& preset, PresetFormat format,
                         const std::string& comment = "");

} // namespace zkcli
