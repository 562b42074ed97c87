#pragma once

#include "framework/Types.h"

#include <array>
#include <optional>
#include <span>
#include <string_view>

namespace zk {

// One row of a unit's parameter table: the single source of names, stable
// symbols, units, ranges, defaults and flags for the unit, the plug-in adapters,
// the editors and the renderer.
struct ParameterDef {
    AudioUnitParameterID id;
    const char* name;   // shown to hosts and users, exactly as it stands
    const char* symbol; // stable identifier for plug-in formats and presets
    AudioUnitParameterUnit unit;
    float minValue;
    float maxValue;
    float defaultValue;
    AudioUnitParameterOptions flags; // complete flag word reported to hosts
};

inline constexpr AudioUnitParameterOptions kReadWrite =
    kAudioUnitParameterFlag_IsReadable | kAudioUnitParameterFlag_IsWritable;

// Short names for the parameter units the tables use.
inline constexpr AudioUnitParameterUnit kUnitBool = kAudioUnitParameterUnit_Boolean;
inline constexpr AudioUnitParameterUnit kUnitIndexed = kAudioUnitParameterUnit_Indexed;
inline constexpr AudioUnitParameterUnit kUnitGeneric = kAudioUnitParameterUnit_Generic;
inline constexpr AudioUnitParameterUnit kUnitHz = kAudioUnitParameterUnit_Hertz;
inline constexpr AudioUnitParameterUnit kUnitDb = kAudioUnitParameterUnit_Decibels;
inline constexpr AudioUnitParameterUnit kUnitPercent = kAudioUnitParameterUnit_Percent;

// How values of each parameter unit are labelled: the suffix after a number ("-3 dB";
// none after plain numbers, switches and modes, which have words of their own) and
// the unit's name in parameter listings. Read by the renderer and the plug-ins.
struct UnitLabel {
    AudioUnitParameterUnit unit;
    const char* suffix;
    const char* name;
};
inline constexpr std::array<UnitLabel, 6> kUnitLabels{{
    {kUnitGeneric, "", "number"},
    {kUnitBool, "", "on/off"},
    {kUnitIndexed, "", "mode"},
    {kUnitDb, "dB", "dB"},
    {kUnitHz, "Hz", "Hz"},
    {kUnitPercent, "%", "%"},
}};

// The label of a unit; a unit without a row of its own is a plain number.
constexpr const UnitLabel& LabelOf(AudioUnitParameterUnit unit) {
    for (const UnitLabel& l : kUnitLabels) {
        if (l.unit == unit) {
            return l;
        }
    }
    return kUnitLabels[0];
}

inline bool IsMeter(const ParameterDef& p) {
    return (p.flags & kAudioUnitParameterFlag_MeterReadOnly) != 0;
}
inline bool IsAutomatable(const ParameterDef& p) {
    return (p.flags & kAudioUnitParameterFlag_IsWritable) != 0;
}

// Looks a parameter up by id, name or symbol (names compare exactly, symbols
// case-insensitively).
const ParameterDef* FindParameter(std::span<const ParameterDef> table, AudioUnitParameterID id);
const ParameterDef* FindParameter(std::span<const ParameterDef> table,
                                  std::string_view nameOrSymbol);

// Fills a framework parameter info record from a row.
void FillParameterInfo(const ParameterDef& p, AudioUnitParameterInfo& info);

// The value the dispatch pushes into the processor for a stored one. The store
// takes whatever a host or document sets (NaN, infinity, far out of range); the
// filters only ever get values of the row's range: clamped, NaN as the default.
// Values in the range pass unchanged.
inline float DispatchValue(const ParameterDef& p, float stored) {
    if (stored != stored) {
        return p.defaultValue;
    }
    return stored < p.minValue ? p.minValue : (stored > p.maxValue ? p.maxValue : stored);
}

// The auto-listen mode names, index = mode: the letters name the band controls
// (Q, frequency, gain) whose touch starts auto-listen.
inline constexpr const char* kAutoListenModeNames[] = {"Q - -", "- f -", "- - G", "Q f -",
                                                       "Q - G", "- f G", "Q f G"};
inline constexpr int kLastAutoListenMode = static_cast<int>(std::size(kAutoListenModeNames)) - 1;

} // namespace zk
