#include "cli/Commands.h"

#include "cli/CliError.h"
#include "cli/HelpText.h"

#include <cmath>
#include <cstdio>

namespace zkcli {

namespace {

struct CommandEntry {
    const char* name;
    int (*run)(std::span<const std::string> args, Console console);
};

const CommandEntry kCommands[] = {
    {"render", &RenderCommand},   {"params", &ParamsCommand},     {"preset", &PresetCommand},
    {"presets", &PresetsCommand}, {"response", &ResponseCommand}, {"demo", &DemoCommand},
};

std::string CommandNames() {
    std::string out;
    for (const CommandHelp& c : AllCommandHelp()) {
        out += (out.empty() ? "" : ", ") + std::string(c.name);
    }
    return out;
}

const CommandHelp& HelpFor(std::string_view name) {
    const CommandHelp* help = FindCommandHelp(name);
    if (help == nullptr) {
        throw CliError("unknown command \"" + std::string(name) +
                       "\" (commands: " + CommandNames() + ")");
    }
    return *help;
}

bool IsHelpOption(std::string_view arg) {
    return arg == "--help" || arg == "-h";
}

// `zkmorva help [COMMAND]`
int HelpCommand(std::span<const std::string> args, Console console) {
    if (args.size() > 1) {
        throw CliError("help takes at most one command name");
    }
    if (args.empty() || IsHelpOption(args[0])) {
        PrintOverview(console.out);
    } else {
        PrintCommandHelp(HelpFor(args[0]), console.out);
    }
    return 0;
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
        if (args.empty()) {
            PrintOverview(console.out);
            return 2;
        }
        const std::string& command = args[0];
        const auto rest = args.subspan(1);
        if (command == "help" || IsHelpOption(command)) {
            return HelpCommand(rest, console);
        }
        for (const CommandEntry& c : kCommands) {
            if (command != c.name) {
                continue;
            }
            // Help wins over everything else on the line, up to a "--".
            for (const std::string& arg : rest) {
                if (arg == "--") {
                    break;
                }
                if (IsHelpOption(arg)) {
                    PrintCommandHelp(HelpFor(command), console.out);
                    return 0;
                }
            }
            return c.run(rest, console);
        }
        HelpFor(command); // throws: unknown command
        return 2;
    } catch (const CliError& e) {
        console.err << "zkmorva: " << e.what() << "\n";
        return 1;
    } catch (const std::bad_alloc&) {
        console.err << "zkmorva: out of memory\n";
        return 1;
    }
}

} // namespace zkcli
