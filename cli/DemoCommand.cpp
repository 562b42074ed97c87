#include "cli/AudioFile.h"
#include "cli/CliError.h"
#include "cli/Commands.h"
#include "cli/DemoSignal.h"
#include "cli/OutputPath.h"
#include "cli/Response.h"

#include <sndfile.h>

#include <filesystem>

namespace zkcli {

namespace {

namespace fs = std::filesystem;

// A setting per unit that gives every section something audible to do.
struct Showcase {
    const char* unit;
    const char* title;
    std::vector<std::string> settings;
};

const Showcase kShowcases[] = {
    {"10",
     "Zkmorva 10: HP 30 Hz, LF shelf +3 dB, LMF -4 dB, MF +3 dB, HF shelf +2 dB, LP 18 kHz",
     {"HP f=30", "HP Q=12dB/oct.", "LF Q=lo-shelf", "LF f=90", "LF Gain=3", "LMF f=315",
      "LMF Q=1.4", "LMF Gain=-4", "MF f=2500", "MF Q=1.2", "MF Gain=3", "HF Q=hi-shelf",
      "HF f=10000", "HF Gain=2", "LP f=18000", "LP Q=24dB/oct.", "Pres Shift Gain=1.5"}},
    {"20",
     "Zkmorva 20: L and R set apart, mono maker 120 Hz, width 140 %",
     {"Mono-Maker=120", "Stereo-Width=140", "HP L f=30", "LF L Q=lo-shelf", "LF L Gain=2",
      "MF L f=2000", "MF L Gain=4", "MF R f=3000", "MF R Gain=-3", "HF L Q=hi-shelf",
      "HF L Gain=2.5", "LP L f=19000"}},
};

} // namespace

int DemoCommand(std::span<const std::string> args, Console console) {
    static const OptionSpec specs[] = {{"quiet", 'q', false}};
    const Arguments a = ParseArguments(args, specs);
    if (a.positional.size() > 1) {
        throw CliError("demo takes at most one output folder");
    }
    const fs::path folder =
        a.positional.empty() ? fs::path("zkmorva-demo") : fs::path(a.positional[0]);
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (ec || !fs::is_directory(folder)) {
        throw CliError("cannot create output folder " + folder.string() +
                       (ec ? ": " + ec.message() : ""));
    }
    CheckOutputFolder(folder); // before anything is rendered

    // The dry signal, for comparison.
    {
        DemoSource source;
        std::vector<std::vector<float>> dry(2, std::vector<float>(DemoSource::kFrames));
        float* ptrs[] = {dry[0].data(), dry[1].data()};
        source.Read(ptrs, static_cast<unsigned>(DemoSource::kFrames));
        WriteSoundFile(
            folder / "demo-input.wav",
            {SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, static_cast<int>(DemoSource::kSampleRate)}, dry);
    }
    std::vector<fs::path> written{folder / "demo-input.wav"};

    for (const Showcase& show : kShowcases) {
        const UnitKind* kind = FindUnit(show.unit);
        if (kind == nullptr) {
            continue;
        }
        const std::string stem = std::string("zkmorva") + kind->name;
        RenderRequest request;
        request.output = folder / (stem + ".wav");
        request.unit = kind;
        request.assignments = show.settings;
        request.typeName = "float";
        const RenderReport report = RenderFile(request);
        PrintRenderWarnings(request, report, console.err);
        PrintRenderSummary(request, report, console.out);

        const std::vector<double> freqs = LogFrequencies(20.0, 20000.0, 61);
        const Response response =
            MeasureForCommand(*kind, std::nullopt, show.settings, freqs, DemoSource::kSampleRate);
        PlotForCommand(*kind, response, folder / (stem + "-response.png"), show.title);

        AudioUnitPtr unit = kind->open();
        const ParameterCatalog catalog(*kind, *unit);
        WriteTextFile(folder / (stem + "-showcase.aupreset"),
                      MakePresetDocument(*kind, catalog.ParseSettings(show.settings),
                                         std::string(kind->title) + " showcase"));
        written.push_back(request.output);
        written.push_back(folder / (stem + "-response.png"));
        written.push_back(folder / (stem + "-showcase.aupreset"));
    }

    console.out << "\nDemo written to " << fs::absolute(folder).lexically_normal().string()
                << ":\n";
    for (const fs::path& p : written) {
        console.out << "  " << p.filename().string() << "\n";
    }
    return 0;
}

} // namespace zkcli
