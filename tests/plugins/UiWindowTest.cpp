// A plug-in UI in a real window: Xvfb, jackd's dummy driver, and jalv showing the
// LV2 UI (its own module, talking to the DSP module only through jalv). xdotool
// drags knobs and clicks the panel toggle; the test checks what the DSP did:
//   - a band gain drag changes the sound (a sine at the band's frequency through
//     jalv, measured by a JACK client of ours),
//   - holding a band Q knob turns the DSP's auto-listen display on, releasing it
//     turns it off (jalv prints the output parameter),
//   - Zkmorva 20: that drag, on a linked control, moves the partner knob too and
//     both values reach the DSP through jalv's ports (each channel rises alike),
//   - Zkmorva 20's spectrum analyser, switched on, shows the sine,
//   - the window follows the panel fold.
// Screenshots of the window go to SHOT_DIR. Everything started here is ended
// here (child processes are killed when they go out of scope).
//
// zk_ui_window_test URI LV2_DIR UNIT(10|20) CHANNELS SHOT_DIR [SCALE]

#include "editor/SpectrumLayout.h"
#include "editor/Zkmorva10Layout.h"
#include "editor/Zkmorva20Layout.h"
#include "editor/spectrum/SpectrumMath.h"
#include "plugins/core/EditorLink.h"
#include "plugins/core/UnitDescriptor.h"
#include "tests/plugins/HostChecks.h"
#include "tests/plugins/JackRig.h"
#include "tests/plugins/PngCompare.h"

#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using zktest::ChildProcess;

zktest::HostChecks check;

bool Xdo(const std::string& args) {
    return std::system(("xdotool " + args + " >/dev/null 2>&1").c_str()) == 0;
}

// Plays a sine into the plug-in and keeps each channel's output energy of recent blocks.
struct Probe {
    static constexpr std::size_t kBlocks = 32;
    static constexpr std::size_t kMaxChannels = 2;
    std::vector<jack_port_t*>* outs = nullptr;
    std::vector<jack_port_t*>* ins = nullptr;
    double frequency = 100.0;
    double phase = 0.0;
    std::array<std::array<std::atomic<float>, kBlocks>, kMaxChannels> energy{};
    std::atomic<std::size_t> written{0};

    static int Process(jack_nframes_t n, void* arg) {
        auto* self = static_cast<Probe*>(arg);
        const double step = 2.0 * M_PI * self->frequency / 48000.0;
        const std::size_t k = self->written.load(std::memory_order_relaxed);
        for (std::size_t c = 0; c < self->outs->size(); ++c) {
            auto* out = static_cast<float*>(jack_port_get_buffer((*self->outs)[c], n));
            const auto* in = static_cast<const float*>(jack_port_get_buffer((*self->ins)[c], n));
            double p = self->phase, sum = 0.0;
            for (jack_nframes_t i = 0; i < n; ++i) {
                out[i] = static_cast<float>(0.1 * std::sin(p));
                p += step;
                sum += double(in[i]) * in[i];
            }
            self->energy[c][k % kBlocks].store(static_cast<float>(sum / n),
                                               std::memory_order_relaxed);
        }
        self->phase = std::fmod(self->phase + step * n, 2.0 * M_PI);
        self->written.store(k + 1, std::memory_order_release);
        return 0;
    }
    // Output level of each channel over the last kBlocks blocks, after letting
    // `settle` pass.
    std::vector<double> ChannelLevelsDb(std::chrono::milliseconds settle) {
        std::this_thread::sleep_for(settle);
        std::vector<double> levels;
        for (std::size_t c = 0; c < outs->size(); ++c) {
            double sum = 0.0;
            for (const auto& e : energy[c]) {
                sum += e.load(std::memory_order_relaxed);
            }
            levels.push_back(10.0 * std::log10(sum / kBlocks + 1e-20));
        }
        return levels;
    }
    // Over all channels.
    static double LevelDb(const std::vector<double>& channelLevels) {
        double sum = 0.0;
        for (double db : channelLevels) {
            sum += std::pow(10.0, db / 10.0);
        }
        return 10.0 * std::log10(sum / channelLevels.size());
    }
};

struct Window {
    std::string id;
    int width = 0;
    int height = 0;
};

std::optional<Window> FindWindow() {
    std::istringstream ids(
        zktest::CommandOutput("xdotool search --onlyvisible --name Zkmorva 2>/dev/null"));
    std::string id;
    if (!(ids >> id)) {
        return std::nullopt;
    }
    Window w{id};
    std::istringstream geometry(zktest::CommandOutput("xdotool getwindowgeometry --shell " + id));
    std::string line;
    while (std::getline(geometry, line)) {
        if (line.rfind("WIDTH=", 0) == 0) {
            w.width = std::atoi(line.c_str() + 6);
        } else if (line.rfind("HEIGHT=", 0) == 0) {
            w.height = std::atoi(line.c_str() + 7);
        }
    }
    return w;
}

// Polls until the window has the size wanted (the host applies it asynchronously).
std::optional<Window> WaitForSize(int width, int height) {
    std::optional<Window> w;
    for (int i = 0; i < 100; ++i) {
        w = FindWindow();
        if (w && w->width == width && w->height == height) {
            break;
        }
        std::this_thread::sleep_for(50ms);
    }
    return w;
}

// Waits until jalv, from `from` on in its log, prints the auto-listen display with
// one of the values wanted.
bool WaitForAutoListen(const std::string& log, std::size_t from, const std::vector<int>& values) {
    for (int i = 0; i < 100; ++i) {
        std::ifstream in(log);
        in.seekg(static_cast<std::streamoff>(from));
        std::string line;
        while (std::getline(in, line)) {
            if (line.rfind("auto_listen_display = ", 0) == 0) {
                const int v = static_cast<int>(std::lround(std::atof(line.c_str() + 22)));
                for (int want : values) {
                    if (v == want) {
                        return true;
                    }
                }
            }
        }
        std::this_thread::sleep_for(50ms);
    }
    return false;
}

std::size_t FileSize(const std::string& path) {
    std::error_code error;
    const auto n = std::filesystem::file_size(path, error);
    return error ? 0 : static_cast<std::size_t>(n);
}

template <std::size_t N> CRect KnobRect(const std::array<zkeditor::KnobDef, N>& knobs, long tag) {
    for (const auto& k : knobs) {
        if (k.tag == tag) {
            return k.rect;
        }
    }
    std::fprintf(stderr, "no knob %ld\n", tag);
    std::exit(2);
}

// Share of the pixels inside `r` (frame pixels) that differ between two pictures.
double ChangedShare(const std::string& a, const std::string& b, const CRect& r,
                    const std::function<int(CCoord)>& device) {
    return zktest::ChangedShare(a, b, device(r.left), device(r.top), device(r.right),
                                device(r.bottom))
        .value_or(-1.0);
}

// A free X display number: no lock file, and Xvfb comes up on it.
std::unique_ptr<ChildProcess> StartXvfb(int& display, const std::string& dir, double scale) {
    const std::string screen = scale > 1.0 ? "2400x1400x24" : "1280x1024x24";
    for (int n = 90 + getpid() % 300, tries = 0; tries < 20; ++n, ++tries) {
        if (std::filesystem::exists("/tmp/.X" + std::to_string(n) + "-lock")) {
            continue;
        }
        auto x = std::make_unique<ChildProcess>(
            std::vector<std::string>{"Xvfb", ":" + std::to_string(n), "-screen", "0", screen,
                                     "-nolisten", "tcp"},
            false, dir + "/xvfb.log");
        for (int i = 0; i < 100 && x->Running(); ++i) {
            if (std::filesystem::exists("/tmp/.X11-unix/X" + std::to_string(n))) {
                display = n;
                return x;
            }
            std::this_thread::sleep_for(20ms);
        }
    }
    return nullptr;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 6) {
        std::fprintf(stderr, "usage: %s URI LV2_DIR UNIT CHANNELS SHOT_DIR [SCALE]\n", argv[0]);
        return 2;
    }
    for (const char* tool : {"Xvfb", "xdotool", "import", "jalv", "jackd"}) {
        if (std::system(("command -v " + std::string(tool) + " >/dev/null").c_str()) != 0) {
            std::printf("SKIPPED: %s not installed (scripts/packages.txt)\n", tool);
            return 0;
        }
    }
    const std::string uri = argv[1];
    const std::string lv2Dir = std::filesystem::absolute(argv[2]).string();
    const bool z20 = std::string(argv[3]) == "20";
    const auto channels = static_cast<std::size_t>(std::atoi(argv[4]));
    const std::string shotDir = argv[5];
    const double scale = argc > 6 ? std::atof(argv[6]) : 1.0;
    const zkplug::UnitDescriptor& unit = z20             ? zkplug::Zkmorva20()
                                         : channels == 1 ? zkplug::Zkmorva10Mono()
                                                         : zkplug::Zkmorva10Stereo();
    const std::string plugin = uri.substr(uri.rfind(':') + 1);
    const std::string shotBase =
        shotDir + "/" + plugin + (scale > 1.0 ? "-x" + std::to_string(int(scale)) : "");
    std::filesystem::create_directories(shotDir);

    // Controls: channel 1's LF band (Zkmorva 20 moves channel 2 along, linked).
    const long gainTag = z20 ? zk20layout::kChannelFirst[0] + 6 : 11;
    const long freqId = z20 ? zk20layout::kChannelFirst[0] + 5 : 10;
    const long qTag = z20 ? zk20layout::kChannelFirst[0] + 14 : 17; // the MF band's Q
    const CRect gainRect =
        z20 ? KnobRect(zk20layout::kBandKnobs, gainTag) : KnobRect(zk10layout::kBandKnobs, gainTag);
    const CRect qRect =
        z20 ? KnobRect(zk20layout::kBandKnobs, qTag) : KnobRect(zk10layout::kBandKnobs, qTag);
    const CRect toggle = z20 ? zk20layout::kPanelToggleRect : zk10layout::PanelToggleRect(1024);
    const int fullW = 1024, fullH = z20 ? 530 : 283;
    const int foldedW = z20 ? 1024 : 585, foldedH = 283;
    const auto device = [&](CCoord v) { return static_cast<int>(std::lround(v * scale)); };
    const auto centre = [&](const CRect& r) {
        return std::to_string(device((r.left + r.right) / 2)) + " " +
               std::to_string(device((r.top + r.bottom) / 2));
    };

    char tmpl[] = "/tmp/zk-ui-XXXXXX";
    const std::string dir = mkdtemp(tmpl);
    int display = -1;
    std::unique_ptr<ChildProcess> xvfb = StartXvfb(display, dir, scale);
    if (!xvfb) {
        std::printf("FAILED: Xvfb did not start (%s)\n0 passed, 1 failed\n", dir.c_str());
        return 1;
    }
    setenv("DISPLAY", (":" + std::to_string(display)).c_str(), 1);
    setenv("LV2_PATH", lv2Dir.c_str(), 1);
    if (scale > 1.0) {
        setenv("DPF_SCALE_FACTOR", std::to_string(scale).c_str(), 1);
    }

    zktest::JackRig jack(dir, "zk-probe");
    if (!jack.Up()) {
        std::printf("FAILED: jackd did not start (%s)\n0 passed, 1 failed\n", dir.c_str());
        return 1;
    }

    const std::string name = "zkui";
    const std::string jalvLog = dir + "/jalv.log";
    ChildProcess jalv({"stdbuf", "-oL", "jalv", "-s", "-p", "-x", "-n", name, uri}, true, jalvLog);

    std::optional<Window> window;
    for (int i = 0; i < 200 && !window; ++i) {
        std::this_thread::sleep_for(50ms);
        window = FindWindow();
    }
    check(window.has_value(), "jalv shows the UI of " + uri);
    if (!window) {
        std::printf("logs in %s\n", dir.c_str());
        return check.Finish();
    }
    window = WaitForSize(device(fullW), device(fullH));
    check(window && window->width == device(fullW) && window->height == device(fullH),
          "window is " + std::to_string(device(fullW)) + "x" + std::to_string(device(fullH)) +
              " at scale " + std::to_string(scale) + " (got " +
              (window ? std::to_string(window->width) + "x" + std::to_string(window->height)
                      : std::string("none")) +
              ")");
    const std::string win = window->id;
    // Without a window manager the window may hang over the screen's edge.
    Xdo("windowmove " + win + " 0 0");

    Probe probe;
    probe.frequency = zk::FindParameter(unit.parameters, freqId)->defaultValue;
    jack.RegisterPorts(channels);
    probe.outs = &jack.outs;
    probe.ins = &jack.ins;
    jack_set_process_callback(jack.client, &Probe::Process, &probe);
    jack_activate(jack.client);
    check(jack.ConnectThrough(name), "our client plays through jalv");
    const std::vector<double> channelsBefore = probe.ChannelLevelsDb(600ms);
    const double before = Probe::LevelDb(channelsBefore);

    // Auto-listen: held on a band Q knob, the DSP reports it; released, it ends.
    // Zkmorva 20 reports the linked partner's band last, so either may show.
    const int qId = static_cast<int>(qTag);
    std::vector<int> listenOn{qId * 2 + 1}, listenOff{qId * 2};
    if (z20) {
        listenOn.push_back((qId + 41) * 2 + 1);
        listenOff.push_back((qId + 41) * 2);
    }
    std::size_t mark = FileSize(jalvLog);
    Xdo("mousemove --window " + win + " " + centre(qRect) + " mousedown 1");
    for (int i = 0; i < 3; ++i) {
        Xdo("mousemove_relative -- 0 " + std::to_string(-device(4)));
        std::this_thread::sleep_for(40ms);
    }
    check(WaitForAutoListen(jalvLog, mark, listenOn),
          "holding the Q knob turns the DSP's auto-listen on (output parameter)");
    mark = FileSize(jalvLog);
    Xdo("mouseup 1");
    check(WaitForAutoListen(jalvLog, mark, listenOff), "releasing it turns auto-listen off");

    // A band gain drag upwards: the DSP raises the band.
    const std::string beforeDrag = dir + "/before-drag.png";
    if (z20) {
        check(std::system(("import -window " + win + " '" + beforeDrag + "'").c_str()) == 0,
              "screenshot before the drag");
    }
    Xdo("mousemove --window " + win + " " + centre(gainRect) + " mousedown 1");
    for (int i = 0; i < 12; ++i) {
        Xdo("mousemove_relative -- 0 " + std::to_string(-device(5)));
        std::this_thread::sleep_for(30ms);
    }
    Xdo("mouseup 1");
    const std::vector<double> channelsAfter = probe.ChannelLevelsDb(600ms);
    const double after = Probe::LevelDb(channelsAfter);
    char levels[128];
    std::snprintf(levels, sizeof levels, "%.1f dB -> %.1f dB at %.0f Hz", before, after,
                  probe.frequency);
    check(after > before + 3.0 && before > -60.0,
          std::string("dragging the band gain up raises the DSP's output: ") + levels);
    check(std::system(("import -window " + win + " '" + shotBase + ".png'").c_str()) == 0,
          "screenshot " + shotBase + ".png");
    if (z20) {
        // The drag on channel 1's LF gain, linked (the default), moves channel 2's
        // knob too.
        const CRect partnerRect = KnobRect(zk20layout::kBandKnobs, gainTag + 41);
        const double moved = ChangedShare(beforeDrag, shotBase + ".png", gainRect, device);
        const double partnerMoved =
            ChangedShare(beforeDrag, shotBase + ".png", partnerRect, device);
        check(moved > 0.02 && partnerMoved > 0.02,
              "the dragged LF knob and its linked partner both move (" +
                  std::to_string(100 * moved) + " % and " + std::to_string(100 * partnerMoved) +
                  " % of their pixels changed)");
        // jalv reads no commands and prints no input control while a plug-in UI
        // is shown, so its port values are read where it delivers them: the DSP.
        // jalv cannot hear of a partner the unit moves, so the unit moves none on
        // a host's change there: the right channel rises only through jalv's
        // Eq2LfGain port.
        const double leftRise = channelsAfter[0] - channelsBefore[0];
        const double rightRise = channelsAfter[1] - channelsBefore[1];
        char rises[96];
        std::snprintf(rises, sizeof rises, "left %+.2f dB, right %+.2f dB", leftRise, rightRise);
        check(leftRise > 3.0 && std::abs(leftRise - rightRise) < 0.1,
              std::string("both LF gains reach the DSP through jalv's ports: ") + rises);
    }

    if (z20) {
        // The spectrum analyser, switched on, reads this instance's samples (the UI
        // module finds the audio module's ring): the sine shows at its frequency,
        // and no note says the audio is out of reach.
        const zkeditor::SpectrumLayout& spectrum = zkeditor::kZkmorva20Spectrum;
        const CRect& v = spectrum.view;
        Xdo("mousemove --window " + win + " " + centre(spectrum.onSwitch) + " click 1");
        std::this_thread::sleep_for(1500ms);
        const std::string onShot = shotBase + "-spectrum.png";
        check(std::system(("import -window " + win + " '" + onShot + "'").c_str()) == 0,
              "screenshot " + onShot);
        const double column =
            v.left + zkspectrum::ColumnOfFrequency(probe.frequency, v.width(), 20.0, 40000.0);
        const auto atSine =
            zktest::ChangedShare(shotBase + ".png", onShot, device(column - 3), device(v.top),
                                 device(column + 4), device(v.bottom));
        const auto note =
            zktest::ChangedShare(shotBase + ".png", onShot, device(v.left + 24), device(v.top + 4),
                                 device(v.right - 24), device(v.top + 16));
        char shares[128];
        std::snprintf(shares, sizeof shares,
                      "%.0f %% changed at the sine, %.1f %% in the note line",
                      atSine ? 100 * *atSine : -1.0, note ? 100 * *note : -1.0);
        check(atSine && note && *atSine > 0.2 && *note < 0.01,
              std::string("the analyser shows the instance's spectrum: ") + shares);
    }

    // The panel toggle folds the panel; the host window follows.
    Xdo("mousemove --window " + win + " " + centre(toggle) + " click 1");
    window = WaitForSize(device(foldedW), device(foldedH));
    check(window && window->width == device(foldedW) && window->height == device(foldedH),
          "folded window is " + std::to_string(device(foldedW)) + "x" +
              std::to_string(device(foldedH)) + " (got " +
              (window ? std::to_string(window->width) + "x" + std::to_string(window->height)
                      : std::string("none")) +
              ")");
    check(std::system(("import -window " + win + " '" + shotBase + "-folded.png'").c_str()) == 0,
          "screenshot " + shotBase + "-folded.png");

    // jackd first: jalv showing a UI does not end on SIGTERM, and a jackd that
    // outlives a killed client is killed in turn and leaves its registration.
    jack.Stop();
    jalv.Stop();
    xvfb->Stop();
    zktest::JackRig::RemoveLeftovers(); // what the killed jalv left
    if (check.failed == 0) {
        std::filesystem::remove_all(dir);
    } else {
        std::printf("logs in %s\n", dir.c_str());
    }
    return check.Finish();
}
