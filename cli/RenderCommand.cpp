#include "cli/AudioFile.h"
#include "cli/BatchRender.h"
#include "cli/CliError.h"
#include "cli/Commands.h"
#include "cli/Json.h"
#include "cli/OutputPath.h"
#include "cli/Progress.h"

#include <filesystem>
#include <thread>

namespace zkcli {

namespace {

namespace fs = std::filesystem;

// Files shorter than this (10 s at 48 kHz) render too fast for a progress bar to help.
constexpr std::uint64_t kProgressFrames = 480000;

bool IsFolder(const fs::path& p) {
    std::error_code ec;
    return fs::is_directory(p, ec);
}

// Settings, the listened control and format names are checked on a unit of the
// kind before any file is opened, so that a typing error stops the whole run.
void CheckSettings(const RenderRequest& request) {
    AudioUnitPtr unit = request.unit->open();
    if (!unit) {
        throw CliError(std::string(request.unit->title) + " could not be opened");
    }
    const ParameterCatalog catalog(*request.unit, *unit);
    catalog.ParseSettings(request.assignments);
    if (!request.listen.empty()) {
        catalog.FindSettable(request.listen);
    }
    CheckFormatNames(request.formatName, request.typeName);
}

int RenderOne(const RenderRequest& request, bool json, bool showProgress, Console console) {
    ProgressBar bar(console.err, showProgress);
    const RenderReport report = RenderFile(request, [&](std::uint64_t done, std::uint64_t total) {
        if (total > kProgressFrames) {
            bar.Update(done, total);
        }
    });
    bar.Finish();
    PrintRenderWarnings(request, report, console.err);
    if (json) {
        console.out << "{\n  \"renders\": [\n    " << RenderJson(request, report, 4)
                    << "\n  ],\n  \"failed\": []\n}\n";
    } else {
        PrintRenderSummary(request, report, console.out);
    }
    return 0;
}

int RenderMany(const RenderRequest& common, std::span<const RenderJob> jobs, unsigned threads,
               bool json, bool showProgress, Console console) {
    ProgressBar bar(console.err, showProgress);
    const BatchOutcome outcome =
        RenderBatch(common, jobs, threads,
                    [&](std::uint64_t done, std::uint64_t total) { bar.Update(done, total); });
    bar.Finish();

    std::size_t failed = 0;
    std::string renders, failures;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        RenderRequest request = common;
        request.input = jobs[i].input;
        request.output = jobs[i].output;
        if (outcome.reports[i]) {
            PrintRenderWarnings(request, *outcome.reports[i], console.err);
            if (json) {
                renders += std::string(renders.empty() ? "" : ",\n") + "    " +
                           RenderJson(request, *outcome.reports[i], 4);
            } else {
                PrintRenderSummary(request, *outcome.reports[i], console.out);
            }
        } else {
            ++failed;
            failures += std::string(failures.empty() ? "" : ",\n") +
                        "    {\"input\": " + JsonString(jobs[i].input.string()) +
                        ", \"error\": " + JsonString(outcome.errors[i]) + "}";
        }
    }
    if (json) {
        console.out << "{\n  \"renders\": [" << (renders.empty() ? "" : "\n" + renders + "\n  ")
                    << "],\n  \"failed\": [" << (failures.empty() ? "" : "\n" + failures + "\n  ")
                    << "]\n}\n";
    } else {
        console.out << "rendered " << jobs.size() - failed << " of " << jobs.size() << " file"
                    << (jobs.size() == 1 ? "" : "s") << " into " << common.output.string() << "\n";
    }
    if (failed == 0) {
        return 0;
    }
    // Named at the end, after everything that did render.
    console.err << "zkmorva: " << failed << " of " << jobs.size() << " file"
                << (jobs.size() == 1 ? "" : "s") << " failed:\n";
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (!outcome.reports[i]) {
            console.err << "  " << jobs[i].input.string() << ": " << outcome.errors[i] << "\n";
        }
    }
    return 1;
}

} // namespace

int RenderCommand(std::span<const std::string> args, Console console) {
    static const OptionSpec specs[] = {
        {"unit", 'u', true},       {"preset", 'p', true},      {"set", 's', true},
        {"listen", 'l', true},     {"keep-latency", 0, false}, {"block", 'b', true},
        {"format", 'f', true},     {"type", 't', true},        {"quiet", 'q', false},
        {"allow-short", 0, false}, {"jobs", 'j', true},        {"json", 0, false},
    };
    const Arguments a = ParseArguments(args, specs);
    if (a.positional.empty()) {
        throw CliError("render takes [INPUT] OUTPUT, or INPUT... FOLDER (no files given)");
    }
    const fs::path target = a.positional.back();
    const std::vector<fs::path> inputs(a.positional.begin(), a.positional.end() - 1);
    bool batch = !inputs.empty() && (inputs.size() > 1 || IsFolder(target));
    for (const fs::path& in : inputs) {
        batch = batch || IsFolder(in);
    }
    const fs::path preset = a.Has("preset") ? fs::path(a.Value("preset")) : fs::path();

    // Every output is checked before anything else is read or rendered.
    std::vector<RenderJob> jobs;
    if (batch) {
        if (!IsFolder(target)) {
            std::error_code ec;
            const std::string why = inputs.size() > 1
                                        ? "several inputs render into a folder"
                                        : "input " + inputs[0].string() +
                                              " is a folder: its files render into a folder";
            throw CliError("output folder " + target.string() +
                           (fs::exists(target, ec) ? " is not a folder" : " does not exist") +
                           " (" + why + ")");
        }
        jobs = PlanBatch(inputs, target, a.Value("format"), preset);
    } else {
        CheckOutputTarget(target);
        if (!inputs.empty()) {
            CheckNotInput(target, inputs[0]);
        }
        if (!preset.empty()) {
            CheckNotInput(target, preset); // the preset is an input too
        }
    }

    RenderRequest request;
    request.output = target;
    request.preset = LoadPresetOption(a);
    request.unit = &ResolveUnit(a, request.preset ? &*request.preset : nullptr);
    request.assignments = a.Values("set");
    request.listen = a.Value("listen");
    request.options.compensateLatency = !a.Has("keep-latency");
    if (a.Has("block")) {
        request.options.blockFrames = ParseCount("block", a.Value("block"), 1, kMaxRenderBlock);
    }
    request.formatName = a.Value("format");
    request.typeName = a.Value("type");
    request.allowShort = a.Has("allow-short");
    const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
    const unsigned threads = a.Has("jobs") ? ParseCount("jobs", a.Value("jobs"), 1, 1024) : cores;
    const bool showProgress = console.errIsTerminal && !a.Has("quiet");
    CheckSettings(request);

    if (!batch) {
        if (!inputs.empty()) {
            request.input = inputs[0];
        }
        return RenderOne(request, a.Has("json"), showProgress, console);
    }
    return RenderMany(request, jobs, threads, a.Has("json"), showProgress, console);
}

} // namespace zkcli
