#include "cli/CliError.h"
#include "cli/Commands.h"
#include "cli/Json.h"
#include "cli/OutputPath.h"

#include <set>

namespace zkcli {

namespace {

const UnitKind* UnitOption(const Arguments& a) {
    if (!a.Has("unit")) {
        return nullptr;
    }
    const UnitKind* unit = FindUnit(a.Value("unit"));
    if (unit == nullptr) {
        throw CliError("unknown unit \"" + a.Value("unit") + "\" (known: " + UnitNames() + ")");
    }
    return unit;
}

std::string Description(const Preset& preset) {
    if (const auto* p = FindFactoryPreset(*preset.unit, preset.name)) {
        return p->description;
    }
    return "";
}

int WritePreset(const Arguments& a, Console console) {
    if (a.positional.size() != 2) {
        throw CliError("preset write takes one output file");
    }
    const std::filesystem::path output = a.positional[1];
    const PresetFormat format = ChoosePresetFormat(a.Value("format"), output.string());
    const std::optional<Preset> base =
        a.Has("from") ? std::optional<Preset>(LoadPreset(a.Value("from"), UnitOption(a)))
                      : std::nullopt;
    if (base) {
        CheckNotInput(output, a.Value("from"));
    }
    const UnitKind& kind = ResolveUnit(a, base ? &*base : nullptr);
    AudioUnitPtr unit = kind.open();
    const ParameterCatalog catalog(kind, *unit);
    std::vector<Setting> settings;
    if (base) {
        for (const auto& [def, value] : PresetValues(*base)) {
            settings.push_back({def->id, value});
        }
    }
    for (const Setting& s : catalog.ParseSettings(a.Values("set"))) {
        settings.push_back(s);
    }
    const std::string name = a.Value("name", base ? base->name : output.stem().string());
    const Preset preset{&kind, MakePresetDocument(kind, settings, name), name, output.string()};
    WriteTextFile(output, EncodePreset(preset, format, base ? Description(*base) : ""));
    console.out << "wrote " << kind.title << " preset \"" << name << "\" ("
                << PresetFormatName(format) << ") to " << output.string() << "\n";
    return 0;
}

int ShowPreset(const Arguments& a, Console console) {
    if (a.positional.size() != 2) {
        throw CliError("preset show takes one preset file or factory preset name");
    }
    const Preset preset = LoadPreset(a.positional[1], UnitOption(a));
    AudioUnitPtr unit = preset.unit->open();
    const ParameterCatalog catalog(*preset.unit, *unit);
    const auto values = PresetValues(preset);
    if (a.Has("json")) {
        console.out << "{\n  \"unit\": " << JsonString(preset.unit->title)
                    << ",\n  \"name\": " << JsonString(preset.name) << ",\n  \"values\": {\n";
        for (std::size_t i = 0; i < values.size(); ++i) {
            const auto& [def, v] = values[i];
            console.out << "    " << JsonString(def->name) << ": {\"value\": " << JsonNumber(v)
                        << ", \"text\": " << JsonString(FormatValue(catalog.Context(*def), v))
                        << "}" << (i + 1 < values.size() ? ",\n" : "\n");
        }
        console.out << "  }\n}\n";
        return 0;
    }
    console.out << preset.unit->title << " preset \"" << preset.name << "\"\n";
    for (const auto& [def, v] : values) {
        const ValueContext context = catalog.Context(*def);
        const std::string special = SpecialText(context, v);
        console.out << (v != def->defaultValue ? "* " : "  ") << def->name << " = "
                    << FormatValue(context, v) << (special.empty() ? "" : " (" + special + ")")
                    << "\n";
    }
    console.out << "(* differs from the default)\n";
    return 0;
}

// Every factory preset of the chosen units as files of one format, one folder per unit.
int ExportPresets(const Arguments& a, std::span<const UnitKind* const> units, Console console) {
    if (a.positional.size() != 2) {
        throw CliError("presets export takes one folder");
    }
    const std::filesystem::path folder = a.positional[1];
    const PresetFormat format = ChoosePresetFormat(a.Value("format", "aupreset"), "");
    const char* extension = format == PresetFormat::AuPreset ? ".aupreset"
                            : format == PresetFormat::Lv2    ? ".ttl"
                                                             : ".state";
    int written = 0;
    for (const UnitKind* unit : units) {
        const std::filesystem::path dir = folder / unit->title;
        std::error_code ec;
        std::filesystem::create_directories(dir, ec);
        if (ec) {
            throw CliError("cannot make folder " + dir.string() + ": " + ec.message());
        }
        for (const zk::FactoryPreset& p : unit->factoryPresets) {
            WriteTextFile(dir / (PresetSlug(p.name) + extension),
                          EncodePreset(FactoryPresetFor(*unit, p), format, p.description));
            ++written;
        }
    }
    console.out << "wrote " << written << " factory presets (" << PresetFormatName(format)
                << ") to " << folder.string() << "\n";
    return 0;
}

} // namespace

int PresetCommand(std::span<const std::string> args, Console console) {
    static const OptionSpec specs[] = {{"unit", 'u', true},   {"set", 's', true},
                                       {"name", 'n', true},   {"from", 0, true},
                                       {"format", 'f', true}, {"json", 0, false}};
    const Arguments a = ParseArguments(args, specs);
    const std::string action = a.positional.empty() ? "" : a.positional[0];
    if (action == "write") {
        return WritePreset(a, console);
    }
    if (action == "show") {
        return ShowPreset(a, console);
    }
    throw CliError("preset needs an action: write OUTPUT or show FILE");
}

int PresetsCommand(std::span<const std::string> args, Console console) {
    static const OptionSpec specs[] = {
        {"unit", 'u', true}, {"format", 'f', true}, {"json", 0, false}};
    const Arguments a = ParseArguments(args, specs);
    std::vector<const UnitKind*> units;
    const bool exporting = !a.positional.empty() && a.positional[0] == "export";
    if (const UnitKind* u = UnitOption(a)) {
        units.push_back(u);
    } else if (!exporting && !a.positional.empty()) {
        const UnitKind* unit = FindUnit(a.positional[0]);
        if (unit == nullptr || a.positional.size() > 1) {
            throw CliError("presets takes a unit (" + UnitNames() + ") or export FOLDER");
        }
        units.push_back(unit);
    } else {
        for (const UnitKind& u : AllUnits()) {
            units.push_back(&u);
        }
    }
    if (exporting) {
        return ExportPresets(a, units, console);
    }
    if (a.Has("json")) {
        console.out << "{\n";
        for (std::size_t i = 0; i < units.size(); ++i) {
            console.out << "  " << JsonString(units[i]->title) << ": [\n";
            const auto presets = units[i]->factoryPresets;
            for (std::size_t k = 0; k < presets.size(); ++k) {
                console.out << "    {\"name\": " << JsonString(presets[k].name)
                            << ", \"description\": " << JsonString(presets[k].description) << "}"
                            << (k + 1 < presets.size() ? ",\n" : "\n");
            }
            console.out << "  ]" << (i + 1 < units.size() ? ",\n" : "\n");
        }
        console.out << "}\n";
        return 0;
    }
    for (const UnitKind* unit : units) {
        std::size_t width = 0;
        for (const zk::FactoryPreset& p : unit->factoryPresets) {
            width = std::max(width, std::string_view(p.name).size());
        }
        console.out << unit->title << " factory presets:\n";
        for (const zk::FactoryPreset& p : unit->factoryPresets) {
            console.out << "  " << p.name
                        << std::string(width + 2 - std::string_view(p.name).size(), ' ')
                        << p.description << "\n";
        }
    }
    return 0;
}

} // namespace zkcli
