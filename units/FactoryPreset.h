#pragma once

#include <span>

namespace zk {

// One setting of a factory preset: a parameter by its name in the unit's table and
// a value in that parameter's own unit (dB, Hz, Q, 0/1 for a switch). Parameters a
// preset does not name keep their defaults.
struct PresetValue {
    const char* parameter;
    float value;
};

// A preset of the factory library: what the preset menus of the hosts, the LV2
// bundles and `zkmorva presets` show, all made from this one record.
struct FactoryPreset {
    const char* name;        // unique within the unit's library
    const char* description; // one line
    std::span<const PresetValue> values;
};

} // namespace zk
