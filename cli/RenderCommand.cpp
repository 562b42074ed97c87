#include "cli/AudioFile.h"
#include "cli/CliError.h"
#include "cli/Commands.h"
#include "cli/DemoSignal.h"
#include "cli/HostedUnit.h"
#include "cli/OutputPath.h"
#include "cli/Progress.h"

#include <sndfile.h>

#include <memory>

namespace zkcli {

namespace {
// Frames per block the renderer may be asked for (the unit's buffers are this big).
constexpr unsigned kMaxBlock = 8192;
// Files shorter than this render too fast for a progress bar to help.
constexpr double kProgressSeconds = 10.0;
} // namespace

RenderReport RenderFile(const RenderRequest& request, std::ostream& progressStream) {
    const UnitKind& kind = *request.unit;
    std::unique_ptr<BlockSource> source;
    int inputFormat = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    if (request.input.empty()) {
        source = std::make_unique<DemoSource>();
    } else {
        CheckNotInput(request.output, request.input);
        auto reader = std::make_unique<SoundFileReader>(request.input);
        inputFormat = reader->Format().format;
        source = std::move(reader);
    }
    const unsigned channels = UnitChannels(kind, source->Channels());
    const int outputFormat =
        ChooseOutputFormat(inputFormat, request.output, request.formatName, request.typeName);

    HostedUnit host(kind, source->SampleRate(), channels, kMaxBlock);
    const ParameterCatalog catalog(kind, host.Unit());
    if (request.preset) {
        host.RestoreState(request.preset->document, request.preset->source);
    }
    const std::vector<Setting> settings = catalog.ParseSettings(request.assignments);
    std::optional<AudioUnitParameterID> listen;
    if (!request.listen.empty()) {
        listen = catalog.FindSettable(request.listen).id;
    }
    host.Apply(settings);
    host.Reset();

    const FileFormat format{outputFormat, channels, static_cast<int>(source->SampleRate())};
    SoundFileWriter writer(request.output, format);
    ProgressBar bar(progressStream,
                    request.showProgress && static_cast<double>(source->TotalFrames()) >
                                                kProgressSeconds * source->SampleRate());
    RenderOptions options = request.options;
    options.listen = listen;
    RenderReport report;
    report.stats =
        RenderStream(host, *source, writer, options,
                     [&](std::uint64_t done, std::uint64_t total) { bar.Update(done, total); });
    bar.Finish();
    writer.Commit();
    report.format = outputFormat;
    report.channels = channels;
    report.sampleRate = source->SampleRate();
    report.clippedSamples = writer.ClippedSamples();
    if (kind.balanceMeter >= 0 && kind.correlationMeter >= 0) {
        report.hasMeters = true;
        report.balance = host.Parameter(static_cast<AudioUnitParameterID>(kind.balanceMeter));
        report.correlation =
            host.Parameter(static_cast<AudioUnitParameterID>(kind.correlationMeter));
    }
    return report;
}

void PrintRenderSummary(const RenderRequest& request, const RenderReport& report,
                        std::ostream& out) {
    const RenderStats& s = report.stats;
    out << (request.input.empty() ? std::string("demo signal") : request.input.string()) << " -> "
        << request.output.string() << "\n"
        << "  unit         " << request.unit->title << ", " << report.channels << " channel"
        << (report.channels == 1 ? "" : "s") << " at " << report.sampleRate << " Hz\n"
        << "  output       " << MajorFormatName(report.format) << " " << SubtypeName(report.format)
        << ", " << s.outputFrames << " frames\n"
        << "  latency      " << s.latencyFrames << " frames"
        << (request.options.compensateLatency ? " (compensated)" : " (kept)") << "\n"
        << "  input peak   " << PeakText(s.inputPeak) << "\n"
        << "  output peak  " << PeakText(s.outputPeak) << "\n";
    if (report.hasMeters) {
        out << "  correlation  " << report.correlation << "\n"
            << "  balance      " << report.balance << "\n";
    }
    if (s.outputPeak > 1.0f) {
        if (report.clippedSamples > 0) {
            out << "  warning: " << report.clippedSamples
                << " samples above full scale were clipped in this integer format\n";
        } else {
            out << "  note: the output goes above full scale; the float file keeps it "
                   "unclipped\n";
        }
    }
}

int RenderCommand(std::span<const std::string> args, Console console) {
    static const OptionSpec specs[] = {
        {"unit", 'u', true},   {"preset", 'p', true},      {"set", 's', true},
        {"listen", 'l', true}, {"keep-latency", 0, false}, {"block", 'b', true},
        {"format", 'f', true}, {"type", 't', true},        {"quiet", 'q', false},
    };
    const Arguments a = ParseArguments(args, specs);
    RenderRequest request;
    if (a.positional.size() == 1) {
        request.output = a.positional[0];
    } else if (a.positional.size() == 2) {
        request.input = a.positional[0];
        request.output = a.positional[1];
    } else {
        throw CliError("render takes [INPUT] OUTPUT (" + std::to_string(a.positional.size()) +
                       " files given)");
    }
    request.preset = LoadPresetOption(a);
    if (request.preset) {
        CheckNotInput(request.output, a.Value("preset")); // the preset is an input too
    }
    request.unit = &ResolveUnit(a, request.preset ? &*request.preset : nullptr);
    request.assignments = a.Values("set");
    request.listen = a.Value("listen");
    request.options.compensateLatency = !a.Has("keep-latency");
    if (a.Has("block")) {
        request.options.blockFrames = ParseCount("block", a.Value("block"), 1, kMaxBlock);
    }
    request.formatName = a.Value("format");
    request.typeName = a.Value("type");
    request.showProgress = console.errIsTerminal && !a.Has("quiet");
    const RenderReport report = RenderFile(request, console.err);
    PrintRenderSummary(request, report, console.out);
    return 0;
}

} // namespace zkcli
