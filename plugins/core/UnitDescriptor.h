#pragma once

// What a plug-in needs to know about the unit it wraps: how to open it, its
// channel count and its parameter table. The host-facing identity (name, URI,
// CLAP id) lives with the plug-in's build definition, because the formats need
// it at compile time.

#include "framework/Component.h"
#include "units/ParameterTable.h"
#include "units/ValueTexts.h"

#include <span>

namespace zkplug {

struct UnitDescriptor {
    AudioUnitPtr (*open)();
    UInt32 channels; // inputs = outputs
    std::span<const zk::ParameterDef> parameters;
    std::span<const zk::ValueTextRule> valueTexts;
    // Meters the table's flags do not mark as such (they become host outputs).
    bool (*isMeter)(AudioUnitParameterID) = nullptr;
    // The editor's panel state: saved with the settings, never automated.
    AudioUnitParameterID panelState = zk::kNoParameter;
};

// The plug-ins built from the units.
const UnitDescriptor& Zkmorva10Mono();
const UnitDescriptor& Zkmorva10Stereo();
const UnitDescriptor& Zkmorva20();

} // namespace zkplug
