#include "cli/Commands.h"

#include "cli/CliError.h"

#include <cmath>
#include <cstdio>

namespace zkcli {

namespace {

void PrintUsage(std::ostream& out) {
    out << "zkmorva: render audio through the Zkmorva EQ units\n"
           "\n"
           "  zkmorva render [INPUT] OUTPUT [--unit 10|20] [--preset PRESET] [--set "
           "NAME=VALUE]...\n"
           "                 [--listen NAME] [--keep-latency] [--block N] [--format F] [--type T]\n"
           "                 [--quiet]\n"
           "      Without INPUT the built-in demo signal is rendered.\n"
           "  zkmorva params [10|20] [--json]\n"
           "  zkmorva preset write OUTPUT [--unit 10|20] [--from PRESET] [--set NAME=VALUE]...\n"
           "                 [--name NAME] [--format aupreset|lv2|state]\n"
           "  zkmorva preset show PRESET [--unit 10|20] [--json]\n"
           "  zkmorva presets [10|20] [--json]\n"
           "  zkmorva presets export FOLDER [--unit 10|20] [--format aupreset|lv2|state]\n"
           "  zkmorva response [--unit 10|20] [--preset PRESET] [--set NAME=VALUE]... [--points "
           "N]\n"
           "                 [--freq HZ]... [--rate HZ] [--png FILE] [--json]\n"
           "  zkmorva demo [FOLDER]\n"
           "\n"
           "NAME is a parameter's name (\"LF Gain\"), symbol (LfGain) or id (11); VALUE is in\n"
           "its own unit (6, -3.5 dB, 2.5 kHz, on, \"Q f G\"). zkmorva params lists them.\n"
           "PRESET (and --preset) is a file (.aupreset, an LV2 preset .ttl, a plug-in .state,\n"
           "a .vstpreset) or the name of a factory preset (\"Vocal Presence\"); zkmorva presets\n"
           "lists them.\n";
}

} // namespace

std::string PeakText(float peak) {
    if (!(peak > 0.0f)) {
        return "-inf dBFS";
    }
    char buf[32];
    std::snprintf(buf, sizeof buf, "%+.2f dBFS", 20.0 * std::log10(static_cast<double>(peak)));
    return buf;
}

std::optional<Preset> LoadPresetOption(const Arguments& args) {
    if (!args.Has("preset")) {
        return std::nullopt;
    }
    const UnitKind* unit = args.Has("unit") ? FindUnit(args.Value("unit")) : nullptr;
    return LoadPreset(args.Value("preset"), unit);
}

const UnitKind& ResolveUnit(const Arguments& args, const Preset* preset) {
    if (args.Has("unit")) {
        const std::string name = args.Value("unit");
        const UnitKind* unit = FindUnit(name);
        if (unit == nullptr) {
            throw CliError("unknown unit \"" + name + "\" (known: " + UnitNames() + ")");
        }
        if (preset != nullptr && preset->unit != unit) {
            throw CliError("preset " + preset->source + " is for " + preset->unit->title +
                           ", not " + unit->title);
        }
        return *unit;
    }
    if (preset != nullptr) {
        return *preset->unit;
    }
    return AllUnits().front();
}

int RunCommandLine(std::span<const std::string> args, Console console) {
    try {
        if (args.empty() || args[0] == "help" || args[0] == "--help" || args[0] == "-h") {
            PrintUsage(console.out);
            return args.empty() ? 2 : 0;
        }
        const std::string& command = args[0];
        const auto rest = args.subspan(1);
        if (command == "render") {
            return RenderCommand(rest, console);
        }
        if (command == "params") {
            return ParamsCommand(rest, console);
        }
        if (command == "preset") {
            return PresetCommand(rest, console);
        }
        if (command == "presets") {
            return PresetsCommand(rest, console);
        }
        if (command == "response") {
            return ResponseCommand(rest, console);
        }
        if (command == "demo") {
            return DemoCommand(rest, console);
        }
        throw CliError("unknown command \"" + command +
                       "\" (commands: render, params, preset, presets, response, demo, help)");
    } catch (const CliError& e) {
        console.err << "zkmorva: " << e.what() << "\n";
        return 1;
    } catch (const std::bad_alloc&) {
        console.err << "zkmorva: out of memory\n";
        return 1;
    }
}

} // namespace zkcli
