#include "cli/Presets.h"

#include "cli/CliError.h"
#include "cli/HostedUnit.h"
#include "cli/OutputPath.h"
#include "framework/SavedState.h"

namespace zkcli {

namespace {

// Store-only access: presets are made and read without initialising the unit.
AudioUnitPtr OpenFor(const UnitKind& unit) {
    AudioUnitPtr u = unit.open();
    if (!u) {
        throw CliError(std::string(unit.title) + " could not be opened");
    }
    return u;
}

std::string CodeText(const zkfw::plist::Value& dict, const char* key) {
    const auto it = dict.dict.find(key);
    if (it == dict.dict.end() || it->second.kind != zkfw::plist::Value::Kind::Integer) {
        return "?";
    }
    return "'" + FourCCToString(static_cast<FourCharCode>(it->second.integer)) + "'";
}

} // namespace

std::string MakePresetDocument(const UnitKind& unit, std::span<const Setting> settings,
                               const std::string& name) {
    // Set as a host sets them, so that parameters the unit moves in answer (the
    // master link's switches) are saved as a render with the same settings has them.
    HostedUnit host(unit, 48000.0, unit.fixedChannels != 0 ? unit.fixedChannels : 1, 512);
    host.Apply(settings);
    host.Unit().SetPresetName(name);
    return host.Unit().SaveState();
}

Preset ReadPreset(const std::filesystem::path& path) {
    return ParsePreset(ReadTextFile(path, "preset"), path.string());
}

Preset ParsePreset(std::string document, const std::string& source) {
    using zkfw::plist::Value;
    Value root;
    std::string error;
    if (!zkfw::plist::Parse(document, root, &error)) {
        throw CliError("preset " + source + " is not a preset document: " + error);
    }
    if (root.kind != Value::Kind::Dict) {
        throw CliError("preset " + source + " is not a preset document: its root is not a dict");
    }
    AudioComponentDescription d{};
    for (auto [key, field] :
         {std::pair{"type", &d.componentType}, std::pair{"subtype", &d.componentSubType},
          std::pair{"manufacturer", &d.componentManufacturer}}) {
        const auto it = root.dict.find(key);
        if (it == root.dict.end() || it->second.kind != Value::Kind::Integer) {
            throw CliError("preset " + source + " is not a preset document: no integer \"" + key +
                           "\"");
        }
        *field = static_cast<UInt32>(it->second.integer);
    }
    const UnitKind* unit = FindUnit(d);
    if (unit == nullptr) {
        throw CliError("preset " + source + " belongs to another product (type " +
                       CodeText(root, "type") + ", subtype " + CodeText(root, "subtype") +
                       ", manufacturer " + CodeText(root, "manufacturer") + ")");
    }
    // Let the unit itself judge the rest (version, data, ids, values).
    AudioUnitPtr u = OpenFor(*unit);
    if (u->RestoreState(document, &error) != noErr) {
        throw CliError("preset " + source + ": " + error);
    }
    return {unit, std::move(document), u->GetPresetName(), source};
}

std::vector<std::pair<const zk::ParameterDef*, float>> PresetValues(const Preset& preset) {
    AudioUnitPtr u = OpenFor(*preset.unit);
    std::string error;
    if (u->RestoreState(preset.document, &error) != noErr) {
        throw CliError("preset " + preset.source + ": " + error);
    }
    std::vector<std::pair<const zk::ParameterDef*, float>> out;
    for (const zk::ParameterDef& p : preset.unit->parameters) {
        if (IsMeter(*preset.unit, p)) {
            continue;
        }
        AudioUnitParameterValue v = 0.0f;
        u->PeekParameter(kAudioUnitScope_Global, 0, p.id, v);
        out.emplace_back(&p, v);
    }
    return out;
}

} // namespace zkcli
