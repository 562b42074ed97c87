#include "cli/CliError.h"
#include "cli/Commands.h"
#include "cli/Json.h"
#include "cli/OutputPath.h"
#include "cli/Response.h"
#include "cli/ResponsePlot.h"

#include <cstdio>

namespace zkcli {

namespace {

std::vector<std::string> CurveNames(unsigned channels) {
    if (channels == 2) {
        return {"L", "R"};
    }
    return {"out"};
}

void PrintTable(const Response& r, std::ostream& out) {
    const auto names = CurveNames(static_cast<unsigned>(r.gainDb.size()));
    out << "    Hz";
    for (const auto& n : names) {
        char buf[32];
        std::snprintf(buf, sizeof buf, "  %8s", (n + " dB").c_str());
        out << buf;
    }
    out << "\n";
    for (std::size_t i = 0; i < r.frequencies.size(); ++i) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "%8.1f", r.frequencies[i]);
        out << buf;
        for (const auto& curve : r.gainDb) {
            std::snprintf(buf, sizeof buf, "  %8.3f", curve[i]);
            out << buf;
        }
        out << "\n";
    }
}

void PrintJson(const UnitKind& unit, const Response& r, std::ostream& out) {
    out << "{\n  \"unit\": " << JsonString(unit.title) << ",\n  \"points\": [\n";
    for (std::size_t i = 0; i < r.frequencies.size(); ++i) {
        out << "    {\"hz\": " << JsonNumber(r.frequencies[i]) << ", \"db\": [";
        for (std::size_t c = 0; c < r.gainDb.size(); ++c) {
            out << (c == 0 ? "" : ", ") << JsonNumber(r.gainDb[c][i]);
        }
        out << "]}" << (i + 1 < r.frequencies.size() ? ",\n" : "\n");
    }
    out << "  ]\n}\n";
}

} // namespace

Response MeasureForCommand(const UnitKind& kind, const std::optional<Preset>& preset,
                           std::span<const std::string> assignments,
                           std::span<const double> frequencies, double rate) {
    AudioUnitPtr unit = kind.open();
    const ParameterCatalog catalog(kind, *unit);
    const std::vector<Setting> settings = catalog.ParseSettings(assignments);
    ResponseSetup setup;
    setup.sampleRate = rate;
    if (preset) {
        setup.presetDocument = &preset->document;
        setup.presetSource = preset->source;
    }
    return MeasureResponse(kind, settings, frequencies, setup);
}

void PlotForCommand(const UnitKind& kind, const Response& response,
                    const std::filesystem::path& png, const std::string& title) {
    PlotStyle style;
    style.title = title.empty() ? std::string(kind.title) + " magnitude response" : title;
    style.curveNames = CurveNames(static_cast<unsigned>(response.gainDb.size()));
    WriteResponsePlot(png, response, style);
}

int ResponseCommand(std::span<const std::string> args, Console console) {
    static const OptionSpec specs[] = {
        {"unit", 'u', true}, {"preset", 'p', true}, {"set", 's', true},
        {"points", 0, true}, {"freq", 0, true},     {"rate", 'r', true},
        {"png", 0, true},    {"json", 0, false},    {"title", 0, true},
    };
    const Arguments a = ParseArguments(args, specs);
    if (!a.positional.empty()) {
        throw CliError("response takes no files (use --png FILE for a plot)");
    }
    const std::optional<Preset> preset = LoadPresetOption(a);
    if (a.Has("png")) {
        // Before the measuring and drawing, which would otherwise be lost.
        CheckOutputTarget(a.Value("png"));
        if (preset) {
            CheckNotInput(a.Value("png"), a.Value("preset"));
        }
    }
    const UnitKind& kind = ResolveUnit(a, preset ? &*preset : nullptr);
    const unsigned points = a.Has("points") ? ParseCount("points", a.Value("points"), 2, 2000) : 61;
    const unsigned rate =
        a.Has("rate") ? ParseCount("rate", a.Value("rate"), 44100, 192000) : 48000;
    std::vector<double> extra;
    for (const std::string& f : a.Values("freq")) {
        const auto v = ParseNumber(f);
        if (!v || *v <= 0.0 || *v >= rate / 2.0) {
            throw CliError("--freq \"" + f + "\" is not a frequency between 0 and " +
                           std::to_string(rate / 2) + " Hz");
        }
        extra.push_back(*v);
    }
    const std::vector<double> freqs = LogFrequencies(20.0, 20000.0, points, extra);
    const Response response = MeasureForCommand(kind, preset, a.Values("set"), freqs, rate);
    if (a.Has("png")) {
        PlotForCommand(kind, response, a.Value("png"), a.Value("title"));
    }
    if (a.Has("json")) {
        PrintJson(kind, response, console.out);
    } else {
        PrintTable(response, console.out);
        if (a.Has("png")) {
            console.out << "plot: " << a.Value("png") << "\n";
        }
    }
    return 0;
}

} // namespace zkcli
