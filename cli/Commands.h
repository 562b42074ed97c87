#pragma once

// The zkmorva commands. Each takes the arguments after its name, writes results to
// `out` and progress and warnings to `err`, and returns the exit status; CliError
// escapes to RunCommandLine, which prints it as one line.
#include "cli/Arguments.h"
#include "cli/Parameters.h"
#include "cli/Presets.h"
#include "cli/RenderDriver.h"
#include "cli/UnitCatalog.h"

#include <filesystem>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <vector>

namespace zkcli {

struct Console {
    std::ostream& out;
    std::ostream& err;
    bool errIsTerminal = false;
};

int RunCommandLine(std::span<const std::string> args, Console console);

int ParamsCommand(std::span<const std::string> args, Console console);
int RenderCommand(std::span<const std::string> args, Console console);
int PresetCommand(std::span<const std::string> args, Console console);
int PresetsCommand(std::span<const std::string> args, Console console);
int ResponseCommand(std::span<const std::string> args, Console console);
int DemoCommand(std::span<const std::string> args, Console console);

// Frames per block the renderer may be asked for (the unit's buffers are this big).
inline constexpr unsigned kMaxRenderBlock = 8192;

// One render from a file (or the demo signal when `input` is empty) to a file.
struct RenderRequest {
    std::filesystem::path input;
    std::filesystem::path output;
    const UnitKind* unit = nullptr;
    std::optional<Preset> preset;
    std::vector<std::string> assignments; // NAME=VALUE, applied after the preset
    std::string listen;                   // control whose gesture is held, or empty
    RenderOptions options;
    std::string formatName; // empty: follow the input / the output's extension
    std::string typeName;
    bool allowShort = false; // a file shorter than its header says: render it, warn
};
struct RenderReport {
    RenderStats stats;
    int format = 0;
    unsigned channels = 0;
    double sampleRate = 0.0;
    std::uint64_t clippedSamples = 0;
    std::vector<std::string> warnings; // about the input: damaged, short
};
// Checks the output before anything else; throws CliError naming the file at fault.
// A file shorter than its header says is an error unless allowed; nothing is written
// then.
RenderReport RenderFile(const RenderRequest& request, const ProgressFunction& progress = {});
void PrintRenderSummary(const RenderRequest& request, const RenderReport& report,
                        std::ostream& out);
// Each warning as one line "zkmorva: warning: INPUT: ...".
void PrintRenderWarnings(const RenderRequest& request, const RenderReport& report,
                         std::ostream& err);
// One render as a JSON object (no trailing newline), `indent` spaces deep.
std::string RenderJson(const RenderRequest& request, const RenderReport& report, int indent);

// The response command's measurement and plot, also used by the demo.
struct Response;
Response MeasureForCommand(const UnitKind& kind, const std::optional<Preset>& preset,
                           std::span<const std::string> assignments,
                           std::span<const double> frequencies, double rate);
void PlotForCommand(const UnitKind& kind, const Response& response,
                    const std::filesystem::path& png, const std::string& title);

// Shared by the commands: the unit named by --unit, else the preset's, else Zkmorva 10.
const UnitKind& ResolveUnit(const Arguments& args, const Preset* preset);
std::optional<Preset> LoadPresetOption(const Arguments& args);
// "-6.02 dBFS" for a linear peak.
std::string PeakText(float peak);

} // namespace zkcli
