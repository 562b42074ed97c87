#include "cli/Presets.h"

#include "cli/CliError.h"
#include "cli/HostedUnit.h"
#include "cli/OutputPath.h"
#include "framework/PropertyList.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <charconv>
#include <cmath>

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

std::string RangeText(const zk::ParameterDef& p) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%g to %g", static_cast<double>(p.minValue),
                  static_cast<double>(p.maxValue));
    return buf;
}

std::string FloatText(float v) {
    char buf[32];
    const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, ec == std::errc() ? end : buf);
}

void CheckInRange(const zk::ParameterDef& p, float v, const std::string& source) {
    if (!(v >= p.minValue && v <= p.maxValue)) {
        throw CliError("preset " + source + " gives \"" + p.name + "\" (" + p.symbol +
                       ") the value " + FloatText(v) + ", outside its range " + RangeText(p));
    }
}

// The unit a saved-state document is for, read from its component codes; its values
// are checked against the unit's ranges here, as the unit would quietly clamp them.
const UnitKind& UnitOfDocument(const std::string& document, const std::string& source) {
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
    // "data": (id, value) pairs, big-endian 32-bit each; the unit judges the layout.
    if (const auto it = root.dict.find("data");
        it != root.dict.end() && it->second.kind == Value::Kind::Data) {
        const std::string& bytes = it->second.text;
        auto be32 = [&bytes](std::size_t at) {
            std::uint32_t v = 0;
            for (std::size_t i = 0; i < 4; ++i) {
                v = (v << 8) | static_cast<unsigned char>(bytes[at + i]);
            }
            return v;
        };
        for (std::size_t at = 0; at + 8 <= bytes.size(); at += 8) {
            const zk::ParameterDef* p = zk::FindParameter(unit->parameters, be32(at));
            if (p != nullptr && !IsMeter(*unit, *p)) {
                CheckInRange(*p, std::bit_cast<float>(be32(at + 4)), source);
            }
        }
    }
    return *unit;
}

const UnitKind& UnitOfPlugins(std::span<const std::string> uris, const std::string& source) {
    for (const std::string& uri : uris) {
        for (const UnitKind& unit : AllUnits()) {
            if (std::find(unit.lv2Uris.begin(), unit.lv2Uris.end(), uri) != unit.lv2Uris.end()) {
                return unit;
            }
        }
    }
    throw CliError("preset " + source + " applies to <" + uris.front() +
                   ">, not to a Zkmorva plug-in");
}

// Everything a file says, checked on a scratch unit: its document (if any) restored,
// then its control values set over it, as a host applies an LV2 preset or a state.
Preset FromFile(const PresetFile& file, const std::string& source) {
    const UnitKind& unit = file.format == PresetFormat::Lv2 ? UnitOfPlugins(file.appliesTo, source)
                                                            : UnitOfDocument(file.document, source);
    if (file.format == PresetFormat::Lv2 && !file.document.empty() &&
        &UnitOfDocument(file.document, source) != &unit) {
        throw CliError("preset " + source + " applies to " + unit.title +
                       " but its state is another unit's");
    }
    AudioUnitPtr u = OpenFor(unit);
    std::string error;
    if (!file.document.empty() && u->RestoreState(file.document, &error) != noErr) {
        throw CliError("preset " + source + ": " + error);
    }
    for (const auto& [symbol, value] : file.ports) {
        if (symbol == kLv2BypassSymbol || symbol == kBlobBypassSymbol) {
            continue; // the host's bypass, not a setting
        }
        const zk::ParameterDef* p = zk::FindParameter(unit.parameters, symbol);
        if (p == nullptr || p->symbol != symbol) {
            throw CliError("preset " + source + " sets \"" + symbol + "\", which " + unit.title +
                           " does not have (zkmorva params " + unit.name + " lists them)");
        }
        if (IsMeter(unit, *p)) {
            throw CliError("preset " + source + " sets the meter \"" + p->name + "\"");
        }
        CheckInRange(*p, value, source);
        u->SetParameter(p->id, kAudioUnitScope_Global, 0, value, 0);
    }
    for (const zk::ParameterDef& p : unit.parameters) {
        if (!IsMeter(unit, p)) {
            AudioUnitParameterValue v = 0.0f;
            u->PeekParameter(kAudioUnitScope_Global, 0, p.id, v);
            CheckInRange(p, v, source);
        }
    }
    if (!file.label.empty()) {
        u->SetPresetName(file.label);
    }
    return {&unit, u->SaveState(), u->GetPresetName(), source};
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
    const std::string source = path.string();
    return FromFile(DecodePresetFile(ReadTextFile(path, "preset"), source), source);
}

Preset ParsePreset(std::string document, const std::string& source) {
    PresetFile file;
    file.document = std::move(document);
    return FromFile(file, source);
}

Preset LoadPreset(const std::string& fileOrName, const UnitKind* unit) {
    std::error_code ec;
    if (std::filesystem::exists(fileOrName, ec)) {
        return ReadPreset(fileOrName);
    }
    std::vector<std::pair<const UnitKind*, const zk::FactoryPreset*>> found;
    for (const UnitKind& u : AllUnits()) {
        if (unit == nullptr || unit == &u) {
            if (const zk::FactoryPreset* p = FindFactoryPreset(u, fileOrName)) {
                found.emplace_back(&u, p);
            }
        }
    }
    if (found.size() > 1) {
        throw CliError("factory preset \"" + fileOrName + "\" exists for " + found[0].first->title +
                       " and " + found[1].first->title + ": choose one with --unit");
    }
    if (found.empty() &&
        (fileOrName.find('/') != std::string::npos || fileOrName.find('.') != std::string::npos)) {
        return ReadPreset(fileOrName); // meant as a file: says it does not exist
    }
    if (found.empty()) {
        throw CliError("preset \"" + fileOrName + "\" is neither a file nor a factory preset" +
                       (unit != nullptr ? std::string(" of ") + unit->title : std::string()) +
                       " (zkmorva presets lists them)");
    }
    return FactoryPresetFor(*found[0].first, *found[0].second);
}

const zk::FactoryPreset* FindFactoryPreset(const UnitKind& unit, std::string_view name) {
    const std::string key = SqueezeName(name);
    for (const zk::FactoryPreset& p : unit.factoryPresets) {
        if (!key.empty() && SqueezeName(p.name) == key) {
            return &p;
        }
    }
    return nullptr;
}

std::vector<Setting> FactorySettings(const UnitKind& unit, const zk::FactoryPreset& preset) {
    std::vector<Setting> out;
    for (const zk::PresetValue& v : preset.values) {
        const zk::ParameterDef* p = zk::FindParameter(unit.parameters, v.parameter);
        if (p == nullptr || std::string_view(p->name) != v.parameter) {
            throw CliError(std::string("factory preset \"") + preset.name + "\" of " + unit.title +
                           " names \"" + v.parameter + "\", which the unit does not have");
        }
        out.push_back({p->id, v.value});
    }
    return out;
}

Preset FactoryPresetFor(const UnitKind& unit, const zk::FactoryPreset& preset) {
    return {&unit, MakePresetDocument(unit, FactorySettings(unit, preset), preset.name),
            preset.name, std::string("factory preset \"") + preset.name + "\""};
}

std::string PresetSlug(std::string_view name) {
    std::string out;
    for (char c : name) {
        if (std::isalnum(static_cast<unsigned char>(c))) {
            out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        } else if (!out.empty() && out.back() != '-') {
            out += '-';
        }
    }
    while (!out.empty() && out.back() == '-') {
        out.pop_back();
    }
    return out;
}

std::vector<PortValue> PresetValues(const Preset& preset) {
    AudioUnitPtr u = OpenFor(*preset.unit);
    std::string error;
    if (u->RestoreState(preset.document, &error) != noErr) {
        throw CliError("preset " + preset.source + ": " + error);
    }
    std::vector<PortValue> out;
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

std::string EncodePreset(const Preset& preset, PresetFormat format, const std::string& comment) {
    switch (format) {
    case PresetFormat::AuPreset:
        break;
    case PresetFormat::Lv2: {
        Lv2Preset p{"<>", {}, preset.name, comment, PresetValues(preset), preset.document};
        p.appliesTo.assign(preset.unit->lv2Uris.begin(), preset.unit->lv2Uris.end());
        return Lv2Prefixes() + Lv2PresetBody(p);
    }
    case PresetFormat::StateBlob:
        return StateBlob(PresetValues(preset), preset.document);
    case PresetFormat::VstPreset:
        throw CliError("a VST3 preset is made for one plug-in, in the build (bin/vst3-presets)");
    }
    return preset.document;
}

} // namespace zkcli
