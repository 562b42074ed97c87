#include "cli/HelpText.h"

namespace zkcli {

namespace {

constexpr const char* kValues =
    "NAME is a parameter's name (\"LF Gain\"), symbol (LfGain) or id (11); VALUE is in\n"
    "its own unit (6, -3.5 dB, 2.5 kHz, on, \"Q f G\"). zkmorva params lists them.\n";

const CommandHelp kCommands[] = {
    {"render",
     "  zkmorva render [INPUT] OUTPUT [options]\n"
     "  zkmorva render INPUT... FOLDER [options]\n",
     "Renders a sound file through a unit into OUTPUT; without INPUT, the built-in demo\n"
     "signal. With several inputs, an input folder (its sound files, in name order) or\n"
     "an existing FOLDER last, every file goes into FOLDER under its own name, the files\n"
     "rendered in parallel. Every output is checked before anything is rendered; an\n"
     "input is never overwritten, and each output appears whole or not at all.\n"
     "\n"
     "  -u, --unit 10|20       the unit (default: the preset's, else 10)\n"
     "  -p, --preset PRESET    start from a preset (see zkmorva help presets)\n"
     "  -s, --set NAME=VALUE   set a parameter after the preset (repeatable); on\n"
     "                         Zkmorva 20 a linked control moves its partner too\n"
     "  -l, --listen NAME      hold auto-listen on a control for the whole render\n"
     "      --keep-latency     keep the unit's latency (default: output aligned with input)\n"
     "  -b, --block N          frames per block, 1 to 8192 (default 512)\n"
     "  -f, --format F         output format: wav, aiff, flac, ogg, caf, w64, rf64, au\n"
     "                         (default: OUTPUT's extension, else the input's format)\n"
     "  -t, --type T           sample type: pcm16, pcm24, float, ... (default: the input's)\n"
     "      --allow-short      render a file shorter than its header says, with a warning\n"
     "  -j, --jobs N           files rendered at once (default: one per core)\n"
     "      --json             the summary as JSON\n"
     "  -q, --quiet            no progress bar\n"
     "\n"
     "The summary gives the peaks, the latency and, for Zkmorva 20, the output's\n"
     "correlation and balance from the unit's own meters, read after every block:\n"
     "  correlation  the mean of every result the meter formed, one per half second of\n"
     "               output (-1 opposite, 0 unrelated, +1 the same on both channels)\n"
     "  balance      the meter's reading at the end of the render (0 left only, 0.5\n"
     "               centre, 1 right only); it needs a few seconds of output to settle\n"
     "Both measure the channels before solo and auto-listen route them. Zkmorva 10 has\n"
     "no such meters, and the summary says so.\n"
     "\n"
     "Input samples that are not numbers or infinite are replaced by silence and\n"
     "reported with their count and the first one's place. A file shorter than its\n"
     "header says is an error unless --allow-short is given. The exit status is 0 when\n"
     "every file rendered; otherwise 1, and the files that failed are named at the end.\n",
     true},
    {"params", "  zkmorva params [10|20] [--json]\n",
     "Lists a unit's parameters: id, name, symbol, unit, role (control, meter, state),\n"
     "range and default, then the names of each mode's values.\n"
     "\n"
     "  -u, --unit 10|20       the unit (default 10; also as the first argument)\n"
     "      --json             as JSON\n",
     false},
    {"preset",
     "  zkmorva preset write OUTPUT [--unit 10|20] [--from PRESET] [--set NAME=VALUE]...\n"
     "                 [--name NAME] [--format aupreset|lv2|state]\n"
     "  zkmorva preset show PRESET [--unit 10|20] [--json]\n",
     "write: makes a preset from the unit's defaults (or --from PRESET) and the\n"
     "settings, as the unit itself takes them (a master link sets every link), as an\n"
     ".aupreset, an LV2 preset (.ttl, one preset as hosts save it) or the plug-ins'\n"
     "state (.state); the format follows OUTPUT's extension unless --format is given.\n"
     "show: lists a preset's values, marking those that differ from the defaults.\n"
     "\n"
     "  -u, --unit 10|20       the unit (default: the preset's, else 10)\n"
     "      --from PRESET      start from this preset\n"
     "  -s, --set NAME=VALUE   set a parameter (repeatable)\n"
     "  -n, --name NAME        the preset's name (default: OUTPUT's name)\n"
     "  -f, --format F         write: aupreset, lv2 or state\n"
     "      --json             show: as JSON\n",
     true},
    {"presets",
     "  zkmorva presets [10|20] [--json]\n"
     "  zkmorva presets export FOLDER [--unit 10|20] [--format aupreset|lv2|state]\n",
     "Lists the factory presets with a line on each, or writes them as files into FOLDER.\n"
     "A PRESET anywhere is a file (.aupreset, an LV2 preset .ttl, a plug-in .state, a\n"
     ".vstpreset) or a factory preset's name (\"Vocal Presence\"; case and punctuation\n"
     "do not matter; --unit chooses where both units have the name).\n"
     "\n"
     "  -u, --unit 10|20       the unit (default: both; also as the first argument)\n"
     "  -f, --format F         export: aupreset, lv2 or state (default aupreset)\n"
     "      --json             as JSON\n",
     true},
    {"response",
     "  zkmorva response [--unit 10|20] [--preset PRESET] [--set NAME=VALUE]... [--points N]\n"
     "                 [--freq HZ]... [--rate HZ] [--png FILE] [--json]\n",
     "Measures the magnitude response with sine tones through the unit and prints it in\n"
     "dB per frequency (Zkmorva 20: both channels).\n"
     "\n"
     "  -u, --unit 10|20       the unit (default: the preset's, else 10)\n"
     "  -p, --preset PRESET    start from a preset (see zkmorva help presets)\n"
     "  -s, --set NAME=VALUE   set a parameter after the preset (repeatable)\n"
     "      --points N         frequencies from 20 Hz to 20 kHz, 2 to 2000 (default 61)\n"
     "      --freq HZ          measure this frequency too (repeatable)\n"
     "  -r, --rate HZ          the sample rate, 44100 to 192000 (default 48000)\n"
     "      --png FILE         also draw the curves into a PNG picture (checked first)\n"
     "      --title TEXT       the picture's title\n"
     "      --json             as JSON\n",
     true},
    {"demo", "  zkmorva demo [FOLDER]\n",
     "Renders the built-in demo signal through each unit with a showcase setting and\n"
     "writes the dry signal, the renders, their response plots and presets into FOLDER\n"
     "(default: zkmorva-demo), made if missing.\n"
     "\n"
     "  -q, --quiet            accepted; the demo shows no progress bar\n",
     false},
    {"help", "  zkmorva help [COMMAND]     (or zkmorva COMMAND --help)\n",
     "Without COMMAND, the overview; with one, that command's page.\n", false},
};

} // namespace

std::span<const CommandHelp> AllCommandHelp() {
    return kCommands;
}

const CommandHelp* FindCommandHelp(std::string_view name) {
    for (const CommandHelp& c : kCommands) {
        if (name == c.name) {
            return &c;
        }
    }
    return nullptr;
}

void PrintOverview(std::ostream& out) {
    out << "zkmorva: render audio through the Zkmorva EQ units\n\n";
    for (const CommandHelp& c : kCommands) {
        out << c.synopsis;
    }
    out << "\n" << kValues;
}

void PrintCommandHelp(const CommandHelp& help, std::ostream& out) {
    out << "Usage:\n" << help.synopsis << "\n" << help.page;
    if (help.takesSettings) {
        out << "\n" << kValues;
    }
}

} // namespace zkcli
