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
};

// The plug-ins built from the units.
const UnitDescriptor& Zkmorva10Mono();
const UnitDescriptor& Zkmorva10Stereo();

} // namespace zkplug
