#pragma once

// The units the renderer can drive, as data: how each is named on the command line,
// opened, described and fed with channels.
#include "framework/Component.h"
#include "units/FactoryPreset.h"
#include "units/ParameterTable.h"
#include "units/ValueTexts.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zkcli {

struct UnitKind {
    const char* name;  // "10", "20"
    const char* title; // "Zkmorva 10"
    AudioUnitPtr (*open)();
    AudioComponentDescription description;
    std::span<const zk::ParameterDef> parameters;
    std::span<const zk::ValueTextRule> valueTexts;
    // 0: as many channels as the file has; otherwise exactly this many (a mono file
    // is duplicated onto each).
    unsigned fixedChannels;
    // Meters read after a render for the summary; -1 when the unit has none.
    long balanceMeter;
    long correlationMeter;
    // Output parameters the unit computes (never set, never shown as preset values).
    bool (*isMeter)(AudioUnitParameterID id);
    std::span<const zk::FactoryPreset> factoryPresets;
    // The LV2 plug-ins built from the unit (their URIs, as plugins/CMakeLists.txt
    // names them): the plug-ins its LV2 presets apply to.
    std::span<const char* const> lv2Uris;
};

bool IsMeter(const UnitKind& unit, const zk::ParameterDef& def);

std::span<const UnitKind> AllUnits();
// Accepts "10", "zkmorva10", "Zkmorva 10", "zkmorva-10"...; null when unknown.
const UnitKind* FindUnit(std::string_view name);
// The unit a saved-state document's component description names, or null.
const UnitKind* FindUnit(const AudioComponentDescription& description);
// "10, 20": for messages.
std::string UnitNames();
// A name as the renderer matches it: lower-case letters and digits only
// ("Zkmorva-10" -> "zkmorva10", "Vocal Presence" -> "vocalpresence").
std::string SqueezeName(std::string_view s);

// The channel count the unit runs for a file of `fileChannels`; throws CliError when
// the unit cannot take that many.
unsigned UnitChannels(const UnitKind& unit, unsigned fileChannels);

} // namespace zkcli
