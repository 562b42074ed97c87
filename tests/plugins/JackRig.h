#pragma once

// What the real-host tests that play through JACK share: jackd with its dummy
// driver, a client of ours with one output and one input port per channel, and
// the connection through a plug-in that jalv hosts.
//
// One name for every test's server (the tests that start one run one at a time):
// jackd reclaims a registration of its own name whose process is gone, so a
// server killed in an earlier run leaves nothing behind for long. Unique names
// filled jackd's eight registry places on a long-lived machine.

#include "tests/plugins/ChildProcess.h"

#include <jack/jack.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace zktest {

class JackRig {
public:
    static constexpr const char* kServer = "zk-test-server";

    // Starts jackd at 48 kHz, 256-frame periods (log in `dir`), and opens our
    // client; Up() tells whether it came up.
    JackRig(const std::string& dir, const char* clientName)
        : jackd(
              {"jackd", "--no-realtime", "-n", kServer, "-d", "dummy", "-r", "48000", "-p", "256"},
              false, dir + "/jackd.log") {
        jack_set_error_function([](const char*) {}); // quiet while jackd comes up
        for (int i = 0; i < 100 && client == nullptr; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            client = jack_client_open(clientName, JackNoStartServer, nullptr);
        }
    }
    ~JackRig() { Stop(); }
    JackRig(const JackRig&) = delete;
    JackRig& operator=(const JackRig&) = delete;

    bool Up() const { return client != nullptr; }

    // outN and inN for N = 1..channels.
    void RegisterPorts(std::size_t channels) {
        for (std::size_t c = 1; c <= channels; ++c) {
            const std::string n = std::to_string(c);
            outs.push_back(jack_port_register(client, ("out" + n).c_str(), JACK_DEFAULT_AUDIO_TYPE,
                                              JackPortIsOutput, 0));
            ins.push_back(jack_port_register(client, ("in" + n).c_str(), JACK_DEFAULT_AUDIO_TYPE,
                                             JackPortIsInput, 0));
        }
    }

    // Our outputs into the plug-in `name` hosted by jalv, its outputs into our
    // inputs. A busy server may time a request out: tried again for a while.
    bool ConnectThrough(const std::string& name) {
        const auto connected = [&] {
            bool all = true;
            for (std::size_t c = 0; c < outs.size(); ++c) {
                all = all && jack_port_connected(outs[c]) == 1 && jack_port_connected(ins[c]) == 1;
            }
            return all;
        };
        for (int i = 0; i < 50 && !connected(); ++i) {
            for (std::size_t c = 0; c < outs.size(); ++c) {
                const std::string n = std::to_string(c + 1);
                jack_connect(client, jack_port_name(outs[c]),
                             (name + ":lv2_audio_in_" + n).c_str());
                jack_connect(client, (name + ":lv2_audio_out_" + n).c_str(),
                             jack_port_name(ins[c]));
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(i == 0 ? 0 : 100));
        }
        return connected();
    }

    void CloseClient() {
        if (client != nullptr) {
            jack_deactivate(client);
            jack_client_close(client);
            client = nullptr;
        }
    }
    // Closes our client and ends jackd.
    void Stop() {
        CloseClient();
        jackd.Stop();
        RemoveLeftovers();
    }
    // What a killed client left of our server in /dev/shm (no other runs at the
    // same time).
    static void RemoveLeftovers() {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", error)) {
            const std::string file = entry.path().filename().string();
            if (file.find(std::string("_") + kServer + "_") != std::string::npos) {
                std::filesystem::remove(entry.path(), error);
            }
        }
    }

    jack_client_t* client = nullptr;
    std::vector<jack_port_t*> outs, ins;

private:
    static bool ServerEnvironment() {
        setenv("JACK_DEFAULT_SERVER", kServer, 1);
        setenv("JACK_NO_AUDIO_RESERVATION", "1", 1);
        return true;
    }
    bool environment = ServerEnvironment(); // set before jackd starts
    ChildProcess jackd;
};

} // namespace zktest
