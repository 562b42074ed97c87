#pragma once

// The files a preset travels in, as text in and out: the saved-state document
// (.aupreset), an LV2 preset in Turtle (as jalv, Ardour or our bundles write it: the
// port values by symbol and the document as the plug-in's "ClassInfo" state), the
// state blob the plug-ins give VST3 and CLAP hosts (DPF's key/value strings), and a
// VST3 preset file (.vstpreset: that blob as the component's state; read only, as
// writing one needs the plug-in's class id).
// Decoding only takes a file apart; which unit it is for and whether the unit
// accepts it is decided in Presets.cpp.
#include "units/ParameterTable.h"

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zkcli {

enum class PresetFormat { AuPreset, Lv2, StateBlob, VstPreset };

// "aupreset", "lv2", "state".
const char* PresetFormatName(PresetFormat format);
// By name (as above), else by the file's extension (.aupreset, .ttl, .state);
// throws CliError naming what it could not place.
PresetFormat ChoosePresetFormat(std::string_view name, std::string_view path);

// The plug-ins' own names for their state and bypass.
inline constexpr const char* kStateKey = "ClassInfo";
inline constexpr const char* kLv2StateKeyUri = "urn:distrho:ClassInfo";
inline constexpr const char* kLv2BypassSymbol = "lv2_enabled";
inline constexpr const char* kBlobBypassSymbol = "dpf_bypass";

struct PresetFile {
    PresetFormat format = PresetFormat::AuPreset;
    std::string document;                             // may be empty in LV2 (ports only)
    std::vector<std::pair<std::string, float>> ports; // symbol, value; in file order
    std::vector<std::string> appliesTo;               // LV2 plug-in URIs
    std::string label;                                // LV2 rdfs:label
};

// Takes a file apart by its content. Throws CliError starting with "preset
// <source>" for an empty, truncated or malformed file, a file with no preset or
// several, or a state blob without our state.
PresetFile DecodePresetFile(std::string_view bytes, const std::string& source);

// A control value of a preset: the parameter's row and its value.
using PortValue = std::pair<const zk::ParameterDef*, float>;

// One LV2 preset (subject, plug-ins it applies to, label, one-line comment, every
// control port, the document as state), without the prefixes.
struct Lv2Preset {
    std::string subject; // "<>" for a file of its own, else a URI in angle brackets
    std::vector<std::string> appliesTo;
    std::string label;
    std::string comment;
    std::vector<PortValue> ports;
    std::string document;
};
// The @prefix lines the bodies use.
std::string Lv2Prefixes();
std::string Lv2PresetBody(const Lv2Preset& preset);
// The state blob as DPF writes it: the document, then every control parameter.
std::string StateBlob(std::span<const PortValue> ports, std::string_view document);
// A .vstpreset holding `state` as the component state of the plug-in whose VST3
// class id is `classId` (32 hex digits).
std::string VstPresetFile(std::string_view classId, std::string_view state);
// The class id DPF gives the VST3 plug-in with this four-character unique id.
std::string DpfVst3ClassId(std::string_view uniqueId);

// Turtle literal and number texts, shared with the bundle generator.
std::string TurtleString(std::string_view s);
std::string TurtleNumber(float v);

} // namespace zkcli
