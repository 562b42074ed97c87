// A small LV2 host on lilv, driving a plug-in the way DAWs do: 48 kHz noise in
// 64-frame blocks, control ports written between blocks. Checked:
//   - a gain stepped at block 300 is heard from that block on: every frame before
//     it equals a run that never changes the gain, and the first frame that differs
//     lies in block 300; later the output settles on a run that had the new gain
//     from the start (which also shows that a batch host, setting its controls and
//     rendering at once, is heard from the first block);
//   - a per-block sweep of the gains gives the same bits run as fast as possible
//     (an export or a bounce) and paced like a real-time host (each block waits
//     for its deadline).
// The host offers what most DAWs offer (URID map, options, a worker that works at
// once) and no control-port change request.
//
// zk_lilv_host_test URI LV2_DIR SYMBOL...    (the gain controls to step and sweep)

#include "tests/plugins/HostChecks.h"

#include <lilv/lilv.h>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>
#include <lv2/parameters/parameters.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

using Channels = std::vector<std::vector<float>>;
// Sets control values (by port symbol) before a block; values stay until changed.
using Script = std::function<void(std::size_t block, std::map<std::string, float>& controls)>;

constexpr double kRate = 48000.0;
constexpr std::uint32_t kBlock = 64;
constexpr std::size_t kBlocks = 600;
constexpr std::size_t kStepBlock = 300;

zktest::HostChecks check;

class UridMap {
public:
    LV2_URID Map(const char* uri) {
        for (std::size_t i = 0; i < uris.size(); ++i) {
            if (uris[i] == uri) {
                return static_cast<LV2_URID>(i + 1);
            }
        }
        uris.emplace_back(uri);
        return static_cast<LV2_URID>(uris.size());
    }
    const char* Unmap(LV2_URID urid) const {
        return urid >= 1 && urid <= uris.size() ? uris[urid - 1].c_str() : nullptr;
    }
    static LV2_URID MapCb(LV2_URID_Map_Handle h, const char* uri) {
        return static_cast<UridMap*>(h)->Map(uri);
    }
    static const char* UnmapCb(LV2_URID_Unmap_Handle h, LV2_URID urid) {
        return static_cast<UridMap*>(h)->Unmap(urid);
    }

private:
    std::vector<std::string> uris;
};

// Work is done at once, inside schedule_work, as an offline host may; responses
// are delivered after run().
struct SyncWorker {
    const LV2_Worker_Interface* iface = nullptr;
    LV2_Handle handle = nullptr;
    std::vector<std::vector<char>> responses;

    static LV2_Worker_Status Respond(LV2_Worker_Respond_Handle h, uint32_t size, const void* data) {
        const auto* bytes = static_cast<const char*>(data);
        static_cast<SyncWorker*>(h)->responses.emplace_back(bytes, bytes + size);
        return LV2_WORKER_SUCCESS;
    }
    static LV2_Worker_Status Schedule(LV2_Worker_Schedule_Handle h, uint32_t size,
                                      const void* data) {
        auto* self = static_cast<SyncWorker*>(h);
        return self->iface != nullptr ? self->iface->work(self->handle, &Respond, self, size, data)
                                      : LV2_WORKER_ERR_UNKNOWN;
    }
    void AfterRun() {
        if (iface == nullptr) {
            return;
        }
        for (const auto& r : responses) {
            iface->work_response(handle, static_cast<uint32_t>(r.size()), r.data());
        }
        responses.clear();
        if (iface->end_run != nullptr) {
            iface->end_run(handle);
        }
    }
};

class Host {
public:
    Host(LilvWorld* world, const LilvPlugin* plugin) : plugin(plugin) {
        const uint32_t n = lilv_plugin_get_num_ports(plugin);
        defaults.resize(n);
        lilv_plugin_get_port_ranges_float(plugin, nullptr, nullptr, defaults.data());
        LilvNode* audio = lilv_new_uri(world, LV2_CORE__AudioPort);
        LilvNode* control = lilv_new_uri(world, LV2_CORE__ControlPort);
        LilvNode* input = lilv_new_uri(world, LV2_CORE__InputPort);
        LilvNode* atom = lilv_new_uri(world, LV2_ATOM__AtomPort);
        for (uint32_t i = 0; i < n; ++i) {
            const LilvPort* port = lilv_plugin_get_port_by_index(plugin, i);
            const bool in = lilv_port_is_a(plugin, port, input);
            const std::string symbol = lilv_node_as_string(lilv_port_get_symbol(plugin, port));
            if (lilv_port_is_a(plugin, port, audio)) {
                (in ? audioIns : audioOuts).push_back(i);
            } else if (lilv_port_is_a(plugin, port, control)) {
                (in ? controlIns : controlOuts)[symbol] = i;
                defaults[i] = std::isnan(defaults[i]) ? 0.0f : defaults[i];
            } else if (lilv_port_is_a(plugin, port, atom)) {
                (in ? atomIns : atomOuts).push_back(i);
            }
        }
        for (LilvNode* node : {audio, control, input, atom}) {
            lilv_node_free(node);
        }
    }

    std::size_t Channels() const { return audioIns.size(); }
    bool HasControl(const std::string& symbol) const { return controlIns.count(symbol) != 0; }

    // One run from a fresh instance; empty when the plug-in does not instantiate.
    ::Channels Run(const ::Channels& input, const Script& script, bool paced) {
        UridMap urids;
        LV2_URID_Map map{&urids, &UridMap::MapCb};
        LV2_URID_Unmap unmap{&urids, &UridMap::UnmapCb};
        const float rate = static_cast<float>(kRate);
        const int32_t blockLength = kBlock;
        const LV2_URID floatType = urids.Map(LV2_ATOM__Float);
        const LV2_URID intType = urids.Map(LV2_ATOM__Int);
        LV2_Options_Option options[] = {
            {LV2_OPTIONS_INSTANCE, 0, urids.Map(LV2_PARAMETERS__sampleRate), sizeof(float),
             floatType, &rate},
            {LV2_OPTIONS_INSTANCE, 0, urids.Map(LV2_BUF_SIZE__maxBlockLength), sizeof(int32_t),
             intType, &blockLength},
            {LV2_OPTIONS_INSTANCE, 0, urids.Map(LV2_BUF_SIZE__nominalBlockLength), sizeof(int32_t),
             intType, &blockLength},
            {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr}};
        SyncWorker worker;
        LV2_Worker_Schedule schedule{&worker, &SyncWorker::Schedule};
        LV2_Feature mapFeature{LV2_URID__map, &map};
        LV2_Feature unmapFeature{LV2_URID__unmap, &unmap};
        LV2_Feature optionsFeature{LV2_OPTIONS__options, options};
        LV2_Feature boundedFeature{LV2_BUF_SIZE__boundedBlockLength, nullptr};
        LV2_Feature scheduleFeature{LV2_WORKER__schedule, &schedule};
        const LV2_Feature* features[] = {&mapFeature,     &unmapFeature,    &optionsFeature,
                                         &boundedFeature, &scheduleFeature, nullptr};

        LilvInstance* instance = lilv_plugin_instantiate(plugin, kRate, features);
        if (instance == nullptr) {
            return {};
        }
        worker.handle = lilv_instance_get_handle(instance);
        worker.iface = static_cast<const LV2_Worker_Interface*>(
            lilv_instance_get_extension_data(instance, LV2_WORKER__interface));

        std::vector<float> ports = defaults;
        for (const auto* group : {&controlIns, &controlOuts}) {
            for (const auto& [symbol, index] : *group) {
                lilv_instance_connect_port(instance, index, &ports[index]);
            }
        }
        struct AtomBuffer {
            LV2_Atom_Sequence seq;
            char space[4096];
        };
        std::vector<AtomBuffer> atoms(atomIns.size() + atomOuts.size());
        for (std::size_t i = 0; i < atoms.size(); ++i) {
            lilv_instance_connect_port(
                instance, i < atomIns.size() ? atomIns[i] : atomOuts[i - atomIns.size()],
                &atoms[i]);
        }
        ::Channels in(Channels(), std::vector<float>(kBlock));
        ::Channels out(Channels(), std::vector<float>(input[0].size()));
        for (std::size_t c = 0; c < Channels(); ++c) {
            lilv_instance_connect_port(instance, audioIns[c], in[c].data());
        }
        lilv_instance_activate(instance);

        std::map<std::string, float> controls;
        const auto start = std::chrono::steady_clock::now();
        for (std::size_t block = 0; block * kBlock < input[0].size(); ++block) {
            if (paced) {
                std::this_thread::sleep_until(
                    start + std::chrono::duration<double>(double(block * kBlock) / kRate));
            }
            script(block, controls);
            for (const auto& [symbol, value] : controls) {
                ports[controlIns.at(symbol)] = value;
            }
            for (std::size_t i = 0; i < atoms.size(); ++i) {
                const bool isInput = i < atomIns.size();
                atoms[i].seq.atom.type = urids.Map(isInput ? LV2_ATOM__Sequence : LV2_ATOM__Chunk);
                atoms[i].seq.atom.size = isInput ? sizeof(LV2_Atom_Sequence_Body)
                                                 : sizeof(AtomBuffer) - sizeof(LV2_Atom);
                atoms[i].seq.body = {0, 0};
            }
            const std::size_t pos = block * kBlock;
            for (std::size_t c = 0; c < Channels(); ++c) {
                std::memcpy(in[c].data(), input[c].data() + pos, kBlock * sizeof(float));
                lilv_instance_connect_port(instance, audioOuts[c], out[c].data() + pos);
            }
            lilv_instance_run(instance, kBlock);
            worker.AfterRun();
        }
        lilv_instance_deactivate(instance);
        lilv_instance_free(instance);
        return out;
    }

private:
    const LilvPlugin* plugin;
    std::vector<float> defaults;
    std::vector<uint32_t> audioIns, audioOuts, atomIns, atomOuts;
    std::map<std::string, uint32_t> controlIns, controlOuts;
};

// Uniform noise of about -9 dBFS RMS, different on every channel.
Channels Noise(std::size_t channels) {
    Channels out(channels, std::vector<float>(kBlocks * kBlock));
    std::uint32_t seed = 2024;
    for (auto& channel : out) {
        for (float& v : channel) {
            seed = seed * 1664525u + 1013904223u;
            v = static_cast<float>((double(seed >> 8) / 16777216.0 - 0.5) * 1.2);
        }
    }
    return out;
}

// The first frame at which two runs differ at all, or `frames` when none does.
std::size_t FirstDifference(const Channels& a, const Channels& b, std::size_t from = 0) {
    std::size_t first = a[0].size();
    for (std::size_t c = 0; c < a.size(); ++c) {
        for (std::size_t i = from; i < first; ++i) {
            if (std::memcmp(&a[c][i], &b[c][i], sizeof(float)) != 0) {
                first = i;
                break;
            }
        }
    }
    return first;
}

std::size_t DifferingSamples(const Channels& a, const Channels& b) {
    std::size_t n = 0;
    for (std::size_t c = 0; c < a.size(); ++c) {
        for (std::size_t i = 0; i < a[c].size(); ++i) {
            n += std::memcmp(&a[c][i], &b[c][i], sizeof(float)) != 0 ? 1 : 0;
        }
    }
    return n;
}

double MaxDifference(const Channels& a, const Channels& b, std::size_t from) {
    double worst = 0.0;
    for (std::size_t c = 0; c < a.size(); ++c) {
        for (std::size_t i = from; i < a[c].size(); ++i) {
            worst = std::max(worst, std::abs(double(a[c][i]) - b[c][i]));
        }
    }
    return worst;
}

std::string BlockOf(std::size_t frame) {
    return frame >= kBlocks * kBlock ? std::string("none")
                                     : "frame " + std::to_string(frame) + " (block " +
                                           std::to_string(frame / kBlock) + ")";
}

// A per-block sweep over the whole range and back, a new value every block.
float SweepValue(std::size_t block, float low, float high) {
    const double t = std::abs(double(block % 100) - 50.0) / 50.0; // 1 at block 0
    return static_cast<float>(low + (high - low) * t);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: %s URI LV2_DIR SYMBOL...\n", argv[0]);
        return 2;
    }
    const std::string uri = argv[1];
    setenv("LV2_PATH", std::filesystem::absolute(argv[2]).c_str(), 1);
    const std::vector<std::string> gains(argv + 3, argv + argc);

    LilvWorld* world = lilv_world_new();
    lilv_world_load_all(world);
    LilvNode* uriNode = lilv_new_uri(world, uri.c_str());
    const LilvPlugin* plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), uriNode);
    lilv_node_free(uriNode);
    if (!check(plugin != nullptr, "lilv finds " + uri + " in " + argv[2])) {
        return check.Finish();
    }
    Host host(world, plugin);
    for (const std::string& g : gains) {
        if (!check(host.HasControl(g), "control port " + g)) {
            return check.Finish();
        }
    }
    const Channels noise = Noise(host.Channels());
    const Script none = [](std::size_t, std::map<std::string, float>&) {};
    const Channels held0 = host.Run(noise, none, false);
    if (!check(!held0.empty(), uri + " instantiates with URID map, options and a worker")) {
        return check.Finish();
    }

    for (const std::string& g : gains) {
        const Channels held12 = host.Run(
            noise, [&](std::size_t, std::map<std::string, float>& c) { c[g] = 12.0f; }, false);
        const std::size_t heard = FirstDifference(held12, held0);
        check(heard < kBlock,
              g + " = +12 dB set before the first block is heard in it (" + BlockOf(heard) + ")");

        const Channels step = host.Run(
            noise,
            [&](std::size_t block, std::map<std::string, float>& c) {
                c[g] = block < kStepBlock ? 0.0f : 12.0f;
            },
            false);
        const std::size_t first = FirstDifference(step, held0);
        check(first / kBlock == kStepBlock,
              g + " 0 -> +12 dB at block 300: first change at " + BlockOf(first));
        // The step block starts from the 0 dB run's filter history; 100 blocks later
        // the LF shelf has forgotten it (its time constant is a few milliseconds).
        const double settled = MaxDifference(step, held12, (kStepBlock + 100) * kBlock);
        check(settled < 1e-6, g +
                                  ": 100 blocks after the step the output is the +12 dB run's "
                                  "(max difference " +
                                  std::to_string(settled) + ")");
    }

    // Every gain swept together over its range, a new value every block.
    const Script sweep = [&](std::size_t block, std::map<std::string, float>& c) {
        for (const std::string& g : gains) {
            c[g] = SweepValue(block, -12.0f, 12.0f);
        }
    };
    const Channels fast = host.Run(noise, sweep, false);
    const Channels paced = host.Run(noise, sweep, true);
    check(FirstDifference(fast, held0) < kBlock, "the sweep is heard from its first block");
    const std::size_t differing = DifferingSamples(fast, paced);
    check(differing == 0,
          "sweep run fast and paced like a real-time host: " + std::to_string(differing) + " of " +
              std::to_string(fast.size() * fast[0].size()) + " samples differ (first at " +
              BlockOf(FirstDifference(fast, paced)) + ")");
    lilv_world_free(world);
    return check.Finish();
}
