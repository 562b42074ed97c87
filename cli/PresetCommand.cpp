#include "cli/CliError.h"
#include "cli/Commands.h"
#include "cli/Json.h"
#include "cli/OutputPath.h"

namespace zkcli {

namespace {

int WritePreset(const Arguments& a, Console console) {
    if (a.positional.size() != 2) {
        throw CliError("preset write takes one output file");
    }
    const std::filesystem::path output = a.positional[1];
    const std::optional<Preset> base =
        a.Has("from") ? std::optional<Preset>(ReadPreset(a.Value("from"))) : std::nullopt;
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
    WriteTextFile(output, MakePresetDocument(kind, settings, name));
    console.out << "wrote " << kind.title << " preset \"" << name << "\" to " << output.string()
                << "\n";
    return 0;
}

int ShowPreset(const Arguments& a, Console console) {
    if (a.positional.size() != 2) {
        throw CliError("preset show takes one preset file");
    }
    const Preset preset = ReadPreset(a.positional[1]);
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

} // namespace

int PresetCommand(std::span<const std::string> args, Console console) {
    static const OptionSpec specs[] = {{"unit", 'u', true},
                                       {"set", 's', true},
                                       {"name", 'n', true},
                                       {"from", 0, true},
                                       {"json", 0, false}};
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

} // namespace zkcli
