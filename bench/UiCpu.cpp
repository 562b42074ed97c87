// What the editor's spectrum analyser costs in a real window: Xvfb, jackd's
// dummy driver, jalv showing our LV2 UI, pink noise from a JACK client of ours
// through the plug-in. CPU time (utime + stime from /proc) of jalv, of its main
// thread (the UI: jalv's console UI loop runs there), of its other threads (audio,
// workers) and of Xvfb, over the same number of seconds with the analyser off
// and then switched on with a click on its "Spectrum" switch. A screenshot of
// each run goes to SHOT_DIR; a run whose analyser area did not change between
// the two counts as failed (the click missed).
//
// zk_bench_ui_cpu URI LV2_DIR SHOT_DIR [SECONDS] [SCALE]
//
// Everything started here is ended here (child processes are killed when they
// go out of scope).

#include "editor/SpectrumLayout.h"
#include "plugins/ChildProcess.h"
#include "plugins/PngCompare.h"

#include <jack/jack.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using zktest::ChildProcess;

std::string Run(const std::string& command) {
    std::string out;
    if (FILE* p = popen(command.c_str(), "r")) {
        char buffer[256];
        while (std::fgets(buffer, sizeof buffer, p) != nullptr) {
            out += buffer;
        }
        pclose(p);
    }
    return out;
}

bool Xdo(const std::string& args) {
    return std::system(("xdotool " + args + " >/dev/null 2>&1").c_str()) == 0;
}

// Pink noise (Kellet's economy filter over uniform white noise), about -20 dBFS
// RMS, the same on every channel.
struct NoisePlayer {
    jack_client_t* client = nullptr;
    std::vector<jack_port_t*> outs;
    std::uint32_t seed = 12345;
    double b0 = 0.0, b1 = 0.0, b2 = 0.0;

    static int Process(jack_nframes_t n, void* arg) {
        auto* self = static_cast<NoisePlayer*>(arg);
        auto* first = static_cast<float*>(jack_port_get_buffer(self->outs[0], n));
        for (jack_nframes_t i = 0; i < n; ++i) {
            self->seed = self->seed * 1664525u + 1013904223u;
            const double white = self->seed / 4294967296.0 - 0.5;
            self->b0 = 0.99765 * self->b0 + white * 0.0990460;
            self->b1 = 0.96300 * self->b1 + white * 0.2965164;
            self->b2 = 0.57000 * self->b2 + white * 1.0526913;
            first[i] = static_cast<float>(0.1 * (self->b0 + self->b1 + self->b2 + white * 0.1848));
        }
        for (std::size_t c = 1; c < self->outs.size(); ++c) {
            auto* out = static_cast<float*>(jack_port_get_buffer(self->outs[c], n));
            std::copy(first, first + n, out);
        }
        return 0;
    }
};

struct Window {
    std::string id;
    int width = 0;
    int height = 0;
};

std::optional<Window> FindWindow() {
    std::istringstream ids(Run("xdotool search --onlyvisible --name Zkmorva 2>/dev/null"));
    Window w;
    if (!(ids >> w.id)) {
        return std::nullopt;
    }
    std::istringstream geometry(Run("xdotool getwindowgeometry --shell " + w.id));
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

std::unique_ptr<ChildProcess> StartXvfb(int& display, const std::string& dir, double scale) {
    const std::string screen = scale > 1.0 ? "2400x1400x24" : "1280x1024x24";
    for (int n = 400 + getpid() % 200, tries = 0; tries < 20; ++n, ++tries) {
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

// CPU ticks (utime + stime) of a process's threads: the main thread's and all.
struct Ticks {
    long main = 0;
    long all = 0;
};

Ticks ReadTicks(pid_t pid) {
    Ticks t;
    std::error_code error;
    const std::string tasks = "/proc/" + std::to_string(pid) + "/task";
    for (const auto& entry : std::filesystem::directory_iterator(tasks, error)) {
        std::ifstream in(entry.path() / "stat");
        std::string stat((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        const auto close = stat.rfind(')');
        if (close == std::string::npos) {
            continue;
        }
        // After the name: state (field 3) ... utime (14), stime (15).
        std::istringstream fields(stat.substr(close + 2));
        std::string field;
        long utime = 0, stime = 0;
        for (int f = 3; f <= 15 && (fields >> field); ++f) {
            if (f == 14) {
                utime = std::atol(field.c_str());
            } else if (f == 15) {
                stime = std::atol(field.c_str());
            }
        }
        t.all += utime + stime;
        if (entry.path().filename() == std::to_string(pid)) {
            t.main += utime + stime;
        }
    }
    return t;
}

struct Usage {
    double ui = 0.0;     // % of one core: jalv's main thread
    double jalv = 0.0;   // the whole jalv process
    double others = 0.0; // jalv's other threads
    double xvfb = 0.0;
};

Usage Measure(pid_t jalv, pid_t xvfb, double seconds) {
    const double tick = static_cast<double>(sysconf(_SC_CLK_TCK));
    const Ticks j0 = ReadTicks(jalv), x0 = ReadTicks(xvfb);
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    const Ticks j1 = ReadTicks(jalv), x1 = ReadTicks(xvfb);
    const double percent = 100.0 / (tick * seconds);
    Usage u;
    u.ui = (j1.main - j0.main) * percent;
    u.jalv = (j1.all - j0.all) * percent;
    u.others = u.jalv - u.ui;
    u.xvfb = (x1.all - x0.all) * percent;
    return u;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: %s URI LV2_DIR SHOT_DIR [SECONDS] [SCALE]\n", argv[0]);
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
    const std::string shotDir = argv[3];
    const double seconds = argc > 4 ? std::atof(argv[4]) : 20.0;
    const double scale = argc > 5 ? std::atof(argv[5]) : 1.0;
    if (!(seconds > 0.0) || !(scale >= 1.0 && scale <= 4.0)) {
        std::fprintf(stderr, "zk_bench_ui_cpu: SECONDS must be positive and SCALE from 1 to 4\n");
        return 2;
    }
    if (uri.find("zkmorva20") == std::string::npos) {
        std::fprintf(stderr, "zk_bench_ui_cpu: '%s' is not Zkmorva 20\n", uri.c_str());
        return 2;
    }
    const zkeditor::SpectrumLayout& layout = zkeditor::kZkmorva20Spectrum;
    const auto device = [&](CCoord v) { return static_cast<int>(std::lround(v * scale)); };
    const std::string shotBase = shotDir + "/ui-cpu" + (scale > 1.0 ? "-x2" : "");
    std::filesystem::create_directories(shotDir);

    char tmpl[] = "/tmp/zk-ui-cpu-XXXXXX";
    const std::string dir = mkdtemp(tmpl);
    int display = -1;
    std::unique_ptr<ChildProcess> xvfb = StartXvfb(display, dir, scale);
    if (!xvfb) {
        std::printf("FAILED: Xvfb did not start (%s)\n", dir.c_str());
        return 1;
    }
    // One fixed name, not the tests' (a test run at the same time keeps its own):
    // jackd reclaims a registration of its own name whose process is gone, and
    // unique names would fill its eight registry places.
    const std::string server = "zk-ui-cpu-server";
    setenv("DISPLAY", (":" + std::to_string(display)).c_str(), 1);
    setenv("JACK_DEFAULT_SERVER", server.c_str(), 1);
    setenv("JACK_NO_AUDIO_RESERVATION", "1", 1);
    setenv("LV2_PATH", lv2Dir.c_str(), 1);
    if (scale > 1.0) {
        setenv("DPF_SCALE_FACTOR", std::to_string(scale).c_str(), 1);
    }
    int failures = 0;
    {
        ChildProcess jackd(
            {"jackd", "--no-realtime", "-n", server, "-d", "dummy", "-r", "48000", "-p", "256"},
            false, dir + "/jackd.log");
        jack_set_error_function([](const char*) {});
        NoisePlayer noise;
        for (int i = 0; i < 100 && noise.client == nullptr; ++i) {
            std::this_thread::sleep_for(50ms);
            noise.client = jack_client_open("zk-noise", JackNoStartServer, nullptr);
        }
        if (noise.client == nullptr) {
            std::printf("FAILED: jackd did not start (%s)\n", dir.c_str());
            return 1;
        }
        const std::string name = "zkcpu";
        ChildProcess jalv({"jalv", "-s", "-x", "-n", name, uri}, true, dir + "/jalv.log");
        std::optional<Window> window;
        for (int i = 0; i < 200 && !(window && window->width == device(1024)); ++i) {
            std::this_thread::sleep_for(50ms);
            window = FindWindow();
        }
        if (!window || window->width != device(1024)) {
            std::printf("FAILED: no %d pixels wide window of %s (%s)\n", device(1024), uri.c_str(),
                        dir.c_str());
            jack_client_close(noise.client);
            return 1;
        }
        Xdo("windowmove " + window->id + " 0 0");
        for (int c = 1; c <= 2; ++c) {
            const std::string n = std::to_string(c);
            noise.outs.push_back(jack_port_register(noise.client, ("out" + n).c_str(),
                                                    JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0));
        }
        jack_set_process_callback(noise.client, &NoisePlayer::Process, &noise);
        jack_activate(noise.client);
        for (int c = 0; c < 2; ++c) {
            jack_connect(noise.client, jack_port_name(noise.outs[c]),
                         (name + ":lv2_audio_in_" + std::to_string(c + 1)).c_str());
        }
        // The pointer out of the window: Xvfb redraws its cursor over every
        // drawing beneath it, at a cost that would count against the first run only.
        const std::string corner = scale > 1.0 ? "2399 1399" : "1279 1023";
        Xdo("mousemove " + corner);
        std::this_thread::sleep_for(2s);

        const Usage off = Measure(jalv.Pid(), xvfb->Pid(), seconds);
        const std::string offShot = shotBase + "-off.png";
        std::system(("import -window " + window->id + " '" + offShot + "'").c_str());
        const CRect& onSwitch = layout.onSwitch;
        Xdo("mousemove --window " + window->id + " " +
            std::to_string(device((onSwitch.left + onSwitch.right) / 2)) + " " +
            std::to_string(device((onSwitch.top + onSwitch.bottom) / 2)) + " click 1");
        Xdo("mousemove " + corner);
        std::this_thread::sleep_for(1s);
        const Usage on = Measure(jalv.Pid(), xvfb->Pid(), seconds);
        const std::string onShot = shotBase + "-on.png";
        std::system(("import -window " + window->id + " '" + onShot + "'").c_str());

        const CRect& v = layout.view;
        const auto changed = zktest::ChangedShare(offShot, onShot, device(v.left), device(v.top),
                                                  device(v.right), device(v.bottom));
        const bool shown = changed && *changed > 0.2;
        failures += shown ? 0 : 1;
        std::printf("Zkmorva 20 LV2 UI in jalv under Xvfb, scale %g, pink noise, %g s each\n",
                    scale, seconds);
        std::printf("analyser area changed by the click: %s (%.0f %% of its pixels)\n",
                    shown ? "yes" : "NO", changed ? 100.0 * *changed : 0.0);
        std::printf("%% of one core          off      on    on - off\n");
        auto row = [](const char* what, double a, double b) {
            std::printf("%-20s %7.2f %7.2f %9.2f\n", what, a, b, b - a);
        };
        row("jalv UI thread", off.ui, on.ui);
        row("jalv other threads", off.others, on.others);
        row("jalv process", off.jalv, on.jalv);
        row("Xvfb", off.xvfb, on.xvfb);
        std::printf("screenshots: %s, %s\n", offShot.c_str(), onShot.c_str());
        std::fflush(stdout);

        jack_deactivate(noise.client);
        jack_client_close(noise.client);
        // jackd first: jalv showing a UI does not end on SIGTERM.
        jackd.Stop();
        jalv.Stop();
    }
    xvfb->Stop();
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", error)) {
        const std::string file = entry.path().filename().string();
        if (file.find("_" + server + "_") != std::string::npos) {
            std::filesystem::remove(entry.path(), error);
        }
    }
    if (failures == 0) {
        std::filesystem::remove_all(dir);
    } else {
        std::printf("logs in %s\n", dir.c_str());
    }
    return failures == 0 ? 0 : 1;
}
