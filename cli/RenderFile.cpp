#include "cli/AudioFile.h"
#include "cli/CliError.h"
#include "cli/Commands.h"
#include "cli/DemoSignal.h"
#include "cli/HostedUnit.h"
#include "cli/OutputPath.h"

#include <sndfile.h>

#include <memory>

namespace zkcli {

namespace {

std::string InputName(const RenderRequest& request) {
    return request.input.empty() ? std::string("the demo signal") : request.input.string();
}

std::string NonFiniteWarning(const RenderStats& s) {
    const bool one = s.nonFiniteSamples == 1;
    return std::to_string(s.nonFiniteSamples) + " input sample" + (one ? " is" : "s are") +
           " not a number or infinite, replaced by silence (the first at frame " +
           std::to_string(s.firstNonFiniteFrame) + " of channel " +
           std::to_string(s.firstNonFiniteChannel + 1) + ", frames counted from 0)";
}

} // namespace

RenderReport RenderFile(const RenderRequest& request, const ProgressFunction& progress) {
    const UnitKind& kind = *request.unit;
    // The output first: nothing is read or rendered for a file that cannot be written.
    CheckOutputTarget(request.output);
    if (!request.input.empty()) {
        CheckNotInput(request.output, request.input);
    }
    std::unique_ptr<BlockSource> source;
    int inputFormat = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    if (request.input.empty()) {
        source = std::make_unique<DemoSource>();
    } else {
        auto reader = std::make_unique<SoundFileReader>(request.input);
        inputFormat = reader->Format().format;
        source = std::move(reader);
    }
    const unsigned channels = UnitChannels(kind, source->Channels());
    const int outputFormat =
        ChooseOutputFormat(inputFormat, request.output, request.formatName, request.typeName);

    HostedUnit host(kind, source->SampleRate(), channels, kMaxRenderBlock);
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
    RenderOptions options = request.options;
    options.listen = listen;
    RenderReport report;
    report.stats = RenderStream(host, *source, writer, options, progress);
    const RenderStats& s = report.stats;
    // libsndfile reads a file cut short without complaint: only the count tells.
    const bool isShort = s.announcedFrames > 0 && s.inputFrames < s.announcedFrames;
    if (isShort && !request.allowShort) {
        throw CliError("input file " + InputName(request) + " is shorter than its header says: " +
                       std::to_string(s.inputFrames) + " of " + std::to_string(s.announcedFrames) +
                       " frames (--allow-short renders what is there)");
    }
    writer.Commit();
    if (isShort) {
        report.warnings.push_back("the file holds " + std::to_string(s.inputFrames) +
                                  " frames, its header says " + std::to_string(s.announcedFrames) +
                                  "; rendered what is there");
    }
    if (s.nonFiniteSamples > 0) {
        report.warnings.push_back(NonFiniteWarning(s));
    }
    report.format = outputFormat;
    report.channels = channels;
    report.sampleRate = source->SampleRate();
    report.clippedSamples = writer.ClippedSamples();
    return report;
}

} // namespace zkcli
