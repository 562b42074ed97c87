// A real host end to end: jackd with its dummy driver, jalv hosting an LV2
// bundle, and a JACK client of ours that plays a test signal into the plug-in
// and records what comes back. The recording must match the renderer's output
// (or, without the renderer, a direct drive of the unit) for the same setting,
// allowing for the block alignment, for a setting given at start-up, for one sent
// to jalv while it runs, and for a factory preset jalv lists and loads from the
// bundle (against the renderer's --preset with the preset's name).
//
// zk_jalv_roundtrip URI CHANNELS LV2_DIR UNIT [RENDERER]    (UNIT: 10 or 20)

#include "plugins/core/UnitDescriptor.h"
#include "tests/plugins/DirectDrive.h"
#include "tests/plugins/FloatWav.h"
#include "tests/plugins/HostChecks.h"
#include "tests/plugins/JackRig.h"

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace {

using namespace zktest;
using namespace std::chrono_literals;

constexpr double kRate = 48000.0;
constexpr std::size_t kPreRoll = 9600; // silence before the signal
constexpr std::size_t kSignal = 24000; // half a second
constexpr std::size_t kTail = 9600;    // room for the round trip's offset
constexpr double kTolerance = 1e-4;    // noise-floor differences only

HostChecks check;

// Plays input from frame kPreRoll on and records every frame, in the process
// callback, into buffers allocated beforehand.
struct Player {
    jack_client_t* client = nullptr;
    std::vector<jack_port_t*>* outs = nullptr;
    std::vector<jack_port_t*>* ins = nullptr;
    Channels play, record;
    std::atomic<std::size_t> position{0};
    std::atomic<bool> running{false};
    std::atomic<int> xruns{0};    // cycles the server dropped: the recording has a gap
    std::atomic<int> jumps{0};    // cycles whose start was not where the last one ended
    jack_nframes_t nextCycle = 0; // process thread only

    static int CountXrun(void* arg) {
        static_cast<Player*>(arg)->xruns.fetch_add(1);
        return 0;
    }

    static int Process(jack_nframes_t n, void* arg) {
        auto* self = static_cast<Player*>(arg);
        const jack_nframes_t cycle = jack_last_frame_time(self->client);
        if (self->nextCycle != 0 && cycle != self->nextCycle) {
            self->jumps.fetch_add(1);
        }
        self->nextCycle = cycle + n;
        if (!self->running.load()) {
            for (jack_port_t* port : *self->outs) {
                std::memset(jack_port_get_buffer(port, n), 0, n * sizeof(float));
            }
            return 0;
        }
        const std::size_t pos = self->position.load();
        for (std::size_t c = 0; c < self->outs->size(); ++c) {
            auto* out = static_cast<float*>(jack_port_get_buffer((*self->outs)[c], n));
            const auto* in = static_cast<const float*>(jack_port_get_buffer((*self->ins)[c], n));
            for (jack_nframes_t i = 0; i < n; ++i) {
                const std::size_t k = pos + i;
                out[i] = k < self->play[c].size() ? self->play[c][k] : 0.0f;
                if (k < self->record[c].size()) {
                    self->record[c][k] = in[i];
                }
            }
        }
        self->position.store(pos + n);
        return 0;
    }
};

struct Setting {
    const char* symbol;
    float value;
};

Channels Reference(const std::string& renderer, const std::string& unitName,
                   const zkplug::UnitDescriptor& unit, const std::vector<Setting>& settings,
                   const Channels& input, const std::string& dir, const std::string& preset = "") {
    if (renderer.empty()) {
        Settings s;
        for (const Setting& x : settings) {
            s.push_back({zk::FindParameter(unit.parameters, x.symbol)->id, x.value});
        }
        return DirectDrive(unit.open(), kRate, 4096, s, input, 256);
    }
    const std::string in = dir + "/in.wav", out = dir + "/out.wav";
    std::vector<float> interleaved;
    for (std::size_t i = 0; i < input[0].size(); ++i) {
        for (const auto& channel : input) {
            interleaved.push_back(channel[i]);
        }
    }
    WriteFloatWav(in, interleaved, static_cast<int>(input.size()), static_cast<int>(kRate));
    std::string cmd = "'" + renderer + "' render '" + in + "' '" + out + "' --unit " + unitName +
                      " --keep-latency --type float --quiet";
    if (!preset.empty()) {
        cmd += " --preset '" + preset + "'";
    }
    for (const Setting& x : settings) {
        cmd += std::string(" --set ") + x.symbol + "=" + std::to_string(x.value);
    }
    if (std::system(cmd.c_str()) != 0) {
        check(false, "renderer: " + cmd);
        return input;
    }
    const std::vector<float> read = ReadFloatWav(out, static_cast<int>(input.size()));
    Channels output(input.size());
    for (std::size_t i = 0; i < read.size(); ++i) {
        output[i % input.size()].push_back(read[i]);
    }
    return output;
}

// The offset of `reference` inside `recorded` (the JACK round trip), found on the
// first part of the signal, and the largest difference over the whole signal there.
std::pair<std::size_t, double> Align(const Channels& recorded, const Channels& reference) {
    std::size_t best = 0;
    double bestError = 1e30;
    for (std::size_t lag = kPreRoll; lag < kPreRoll + kTail - 1024; ++lag) {
        double e = 0;
        for (std::size_t i = 0; i < 2048 && e < bestError; ++i) {
            e = std::max(e, std::abs(double(recorded[0][lag + i]) - reference[0][i]));
        }
        if (e < bestError) {
            bestError = e, best = lag;
        }
    }
    double worst = 0;
    for (std::size_t c = 0; c < recorded.size(); ++c) {
        for (std::size_t i = 0; i < kSignal && best + i < recorded[c].size(); ++i) {
            worst = std::max(worst, std::abs(double(recorded[c][best + i]) - reference[c][i]));
        }
    }
    return {best, worst};
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr, "usage: %s URI CHANNELS LV2_DIR UNIT [RENDERER]\n", argv[0]);
        return 2;
    }
    const std::string uri = argv[1];
    const auto channels = static_cast<std::size_t>(std::atoi(argv[2]));
    char* absolute = realpath(argv[3], nullptr); // jalv needs an absolute LV2_PATH
    const std::string lv2Dir = absolute != nullptr ? absolute : argv[3];
    std::free(absolute);
    const std::string unitName = argv[4];
    std::string renderer = argc > 5 ? argv[5] : "";
    if (!renderer.empty() &&
        std::system(("'" + renderer + "' params " + unitName + " >/dev/null 2>&1").c_str()) != 0) {
        std::printf("note: the renderer has no unit %s yet; using a direct drive\n",
                    unitName.c_str());
        renderer.clear();
    }
    const bool z20 = unitName == "20";
    const zkplug::UnitDescriptor& unit = z20             ? zkplug::Zkmorva20()
                                         : channels == 1 ? zkplug::Zkmorva10Mono()
                                                         : zkplug::Zkmorva10Stereo();

    setenv("LV2_PATH", lv2Dir.c_str(), 1);
    char tmpl[] = "/tmp/zk-jalv-XXXXXX";
    const std::string dir = mkdtemp(tmpl);
    JackRig jack(dir, "zk-player");
    if (!jack.Up()) {
        std::fprintf(stderr, "jackd did not come up (log in %s)\n", dir.c_str());
        return 1;
    }
    jack_client_t* client = jack.client;

    // Setting A at start-up; setting B adds a change sent while jalv runs. Zkmorva
    // 20 links channels only during a gesture, so both channels are set.
    const std::vector<Setting> settingA =
        z20 ? std::vector<Setting>{{"Eq1LfGain", 6.0f},
                                   {"Eq2LfGain", 6.0f},
                                   {"Eq1HpFrequency", 80.0f},
                                   {"Eq2HpFrequency", 80.0f}}
            : std::vector<Setting>{{"LfGain", 6.0f}, {"HpFrequency", 80.0f}};
    const std::vector<Setting> change =
        z20 ? std::vector<Setting>{{"Eq1HfGain", -9.0f}, {"Eq2HfGain", -9.0f}}
            : std::vector<Setting>{{"HfGain", -9.0f}};
    std::vector<Setting> settingB = settingA;
    settingB.insert(settingB.end(), change.begin(), change.end());
    const std::string name = "eq";
    std::vector<std::string> jalvArgs{"jalv", "-n", name};
    for (const Setting& s : settingA) {
        jalvArgs.push_back("-c");
        jalvArgs.push_back(std::string(s.symbol) + "=" + std::to_string(s.value));
    }
    jalvArgs.push_back(uri);
    ChildProcess jalv(jalvArgs, true, dir + "/jalv.log");

    const std::string lastOut = name + ":lv2_audio_out_" + std::to_string(channels);
    for (int i = 0; i < 200 && jack_port_by_name(client, lastOut.c_str()) == nullptr; ++i) {
        std::this_thread::sleep_for(50ms);
    }
    check(jack_port_by_name(client, lastOut.c_str()) != nullptr, "jalv hosts " + uri);

    Player player;
    player.client = client;
    const Channels signal = TestSignal(channels, kSignal, kRate);
    player.play.assign(channels, std::vector<float>(kPreRoll, 0.0f));
    for (std::size_t c = 0; c < channels; ++c) {
        player.play[c].insert(player.play[c].end(), signal[c].begin(), signal[c].end());
    }
    player.record.assign(channels, std::vector<float>(kPreRoll + kSignal + kTail, 0.0f));
    jack.RegisterPorts(channels);
    player.outs = &jack.outs;
    player.ins = &jack.ins;
    jack_set_process_callback(client, &Player::Process, &player);
    jack_set_xrun_callback(client, &Player::CountXrun, &player);
    jack_activate(client);
    check(jack.ConnectThrough(name), "our client is connected to jalv's ports");
    std::this_thread::sleep_for(300ms); // let the new graph settle

    // A pass during which the server dropped a cycle (the dummy driver does when
    // the machine is busy) has a gap that is no fault of the plug-in's: such a
    // pass is played again, up to four times. Three witnesses, as none sees every
    // case: our xrun callback (notified late, or not at all when only jalv was
    // late), a jump in the cycle times our callback sees, and jackd's log.
    const std::string jackLog = dir + "/jackd.log";
    auto serverXruns = [&] {
        std::ifstream log(jackLog);
        int count = 0;
        for (std::string line; std::getline(log, line);) {
            count += line.find("XRun") != std::string::npos ? 1 : 0;
        }
        return count;
    };
    auto recordPass = [&] {
        for (int attempt = 0;; ++attempt) {
            const int xrunsBefore = player.xruns.load(), jumpsBefore = player.jumps.load();
            const int logBefore = serverXruns();
            player.running = false;
            player.position = 0;
            player.running = true;
            for (int i = 0; i < 400 && player.position.load() < player.record[0].size(); ++i) {
                std::this_thread::sleep_for(25ms);
            }
            player.running = false;
            std::this_thread::sleep_for(200ms); // late notifications and log lines
            const bool dropped = player.xruns.load() != xrunsBefore ||
                                 player.jumps.load() != jumpsBefore || serverXruns() != logBefore;
            if (!dropped || attempt == 3) {
                if (attempt > 0) {
                    std::printf("note: played %d time(s) again after dropped cycles\n", attempt);
                }
                Channels got = player.record;
                return got;
            }
        }
    };

    const Channels refA = Reference(renderer, unitName, unit, settingA, signal, dir);
    const Channels refB = Reference(renderer, unitName, unit, settingB, signal, dir);
    const std::string source = renderer.empty() ? "the direct drive" : "the renderer";

    const Channels passA = recordPass();
    const auto [lagA, errA] = Align(passA, refA);
    check(errA < kTolerance, "start-up setting: recording matches " + source + " (max diff " +
                                 std::to_string(errA) + ", offset " +
                                 std::to_string(lagA - kPreRoll) + ")");

    for (const Setting& c : change) {
        jalv.Write(std::string("set ") + c.symbol + " " + std::to_string(c.value) + "\n");
    }
    std::this_thread::sleep_for(500ms); // jalv applies it, the unit's thread delivers it
    const Channels passB = recordPass();
    const auto [lagB, errB] = Align(passB, refB);
    check(errB < kTolerance, "setting sent to jalv: recording matches " + source + " (max diff " +
                                 std::to_string(errB) + ")");
    const auto [lagX, errX] = Align(passB, refA);
    check(errX > 100 * kTolerance, "the setting sent to jalv changed the sound (diff " +
                                       std::to_string(errX) + " from before)");

    // A factory preset from the bundle, as jalv's preset menu loads it.
    if (!renderer.empty()) {
        const std::string preset = z20 ? "Left/Right Repair" : "Telephone";
        const std::string presetUri = uri + (z20 ? "#left-right-repair" : "#telephone");
        // jalv finds a preset once it has listed them, as its menu does.
        jalv.Write("presets\npreset " + presetUri + "\n");
        std::this_thread::sleep_for(500ms);
        const Channels refC = Reference(renderer, unitName, unit, {}, signal, dir, preset);
        const Channels passC = recordPass();
        const auto [lagC, errC] = Align(passC, refC);
        check(errC < kTolerance,
              "factory preset \"" + preset +
                  "\" loaded by jalv: recording matches the renderer (max diff " +
                  std::to_string(errC) + ")");
    }

    jack.CloseClient();
    jalv.CloseStdin();
    check(jalv.WaitExit(5s), "jalv quits at the end of its input");
    if (check.failed == 0) {
        std::filesystem::remove_all(dir);
    } else {
        std::printf("logs in %s\n", dir.c_str());
    }
    return check.Finish();
}
