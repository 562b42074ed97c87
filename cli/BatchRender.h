#pragma once

// Several files through a unit at once. Each input is paired with an output of the
// same name in one folder, and every pairing is checked before anything is rendered;
// then the files are rendered in parallel, each by its own hosted unit, and a file
// that fails does not stop the others.
#include "cli/Commands.h"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zkcli {

struct RenderJob {
    std::filesystem::path input;
    std::filesystem::path output;
};

// Inputs are files, or folders whose sound files (known extensions, hidden files
// skipped) are taken in name order. An output keeps its input's name, with the
// extension of `formatName` when one is given. Throws CliError naming the path at
// fault: an output folder that is missing, not a folder or not writable; an output
// that is an input (any of them) or `protectedFile` (the preset; may be empty); two
// inputs with one output name; an input folder without sound files.
std::vector<RenderJob> PlanBatch(std::span<const std::filesystem::path> inputs,
                                 const std::filesystem::path& folder, const std::string& formatName,
                                 const std::filesystem::path& protectedFile);

struct BatchOutcome {
    std::vector<std::optional<RenderReport>> reports; // by job; empty when it failed
    std::vector<std::string> errors;                  // by job; empty when it rendered
};

// Renders every job with `common`'s unit, preset, settings and options on up to
// `threads` threads. `progress` is called on the calling thread only, with the
// frames done and the total over all files (from their headers).
BatchOutcome RenderBatch(const RenderRequest& common, std::span<const RenderJob> jobs,
                         unsigned threads, const ProgressFunction& progress);

} // namespace zkcli
