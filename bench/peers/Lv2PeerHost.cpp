// Times an LV2 plug-in's run() the way a host drives an equaliser insert: stereo
// noise at 48 kHz in blocks of 256 frames (or --block N), controls set from a
// scenario file.
//
//   zk_lv2_peer_host SCENARIO [--seconds S] [--repeats R] [--block N]
//
// A scenario names the plug-in and its control values:
//   uri <plug-in URI>
//   <port symbol> <value>      (one per line; "# ..." is a comment)
// Output: one line "RESULT <label> <block> <ns per frame> <cpu % of real time>", the
// median of the repeats, measured in thread CPU time. A plug-in that is not
// installed prints "SKIP <label> <reason>" and exits 0.
//
// Features offered: URID map/unmap, options (nominal/min/max block length,
// sample rate), bounded block length and a worker that runs jobs at once.
// Plug-ins with one audio input and output run as two instances, one per channel.
#include <lilv/lilv.h>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr double kRate = 48000.0;
constexpr uint32_t kDefaultBlock = 256;
constexpr uint32_t kMaxBlock = 8192;
constexpr uint32_t kAtomCapacity = 8192;

// ------------------------------------------------------------------ URIDs

std::vector<std::string> uris;

LV2_URID Map(LV2_URID_Map_Handle, const char* uri) {
    for (std::size_t i = 0; i < uris.size(); ++i) {
        if (uris[i] == uri) {
            return static_cast<LV2_URID>(i + 1);
        }
    }
    uris.emplace_back(uri);
    return static_cast<LV2_URID>(uris.size());
}

const char* Unmap(LV2_URID_Unmap_Handle, LV2_URID urid) {
    return urid >= 1 && urid <= uris.size() ? uris[urid - 1].c_str() : nullptr;
}

// ------------------------------------------------------------------ worker

struct Worker {
    const LV2_Worker_Interface* iface = nullptr;
    LV2_Handle handle = nullptr;
    std::vector<std::vector<char>> responses;
};

LV2_Worker_Status Respond(LV2_Worker_Respond_Handle h, uint32_t size, const void* data) {
    auto* w = static_cast<Worker*>(h);
    const char* p = static_cast<const char*>(data);
    w->responses.emplace_back(p, p + size);
    return LV2_WORKER_SUCCESS;
}

// Runs the job at once (a benchmark has no separate worker thread to wait for).
LV2_Worker_Status Schedule(LV2_Worker_Schedule_Handle h, uint32_t size, const void* data) {
    auto* w = static_cast<Worker*>(h);
    if (w->iface == nullptr || w->iface->work == nullptr) {
        return LV2_WORKER_ERR_UNKNOWN;
    }
    return w->iface->work(w->handle, Respond, w, size, data);
}

void DeliverResponses(Worker& w) {
    if (w.iface != nullptr && w.iface->work_response != nullptr) {
        for (const std::vector<char>& r : w.responses) {
            w.iface->work_response(w.handle, static_cast<uint32_t>(r.size()), r.data());
        }
    }
    w.responses.clear();
    if (w.iface != nullptr && w.iface->end_run != nullptr) {
        w.iface->end_run(w.handle);
    }
}

// ------------------------------------------------------------------ scenario

struct Scenario {
    std::string label;
    std::string uri;
    std::vector<std::pair<std::string, float>> controls;
};

bool ReadScenario(const std::string& path, Scenario& s) {
    std::ifstream in(path);
    if (!in) {
        return false;
    }
    const std::size_t slash = path.find_last_of('/');
    s.label = path.substr(slash == std::string::npos ? 0 : slash + 1);
    const std::size_t dot = s.label.rfind('.');
    if (dot != std::string::npos) {
        s.label.resize(dot);
    }
    std::string line;
    while (std::getline(in, line)) {
        // '#' opens a comment at the start of a line or after a space (URIs keep theirs).
        for (std::size_t i = 0; i < line.size(); ++i) {
            if (line[i] == '#' && (i == 0 || line[i - 1] == ' ' || line[i - 1] == '\t')) {
                line.resize(i);
                break;
            }
        }
        std::istringstream words(line);
        std::string key;
        if (!(words >> key)) {
            continue;
        }
        if (key == "uri") {
            words >> s.uri;
        } else {
            float v = 0.0f;
            if (words >> v) {
                s.controls.emplace_back(key, v);
            }
        }
    }
    return !s.uri.empty();
}

// lilv crashes on a relative directory in LV2_PATH (it cannot make a URI of
// it), so such an entry is refused here by name. Empty entries are skipped.
bool FindRelativeLv2PathEntry(std::string& entry) {
    const char* path = std::getenv("LV2_PATH");
    if (path == nullptr) {
        return false;
    }
    std::stringstream list(path);
    while (std::getline(list, entry, ':')) {
        if (!entry.empty() && entry[0] != '/' && entry[0] != '~') {
            return true;
        }
    }
    return false;
}

double ThreadSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s SCENARIO [--seconds S] [--repeats R] [--block N]\n",
                     argv[0]);
        return 2;
    }
    double seconds = 2.0;
    int repeats = 5;
    uint32_t block = kDefaultBlock;
    for (int i = 2; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--seconds") == 0) {
            seconds = std::atof(argv[i + 1]);
        } else if (std::strcmp(argv[i], "--repeats") == 0) {
            repeats = std::max(1, std::atoi(argv[i + 1]));
        } else if (std::strcmp(argv[i], "--block") == 0) {
            const long b = std::atol(argv[i + 1]);
            if (b < 1 || b > static_cast<long>(kMaxBlock)) {
                std::fprintf(stderr, "--block %s: give 1 to %u frames\n", argv[i + 1], kMaxBlock);
                return 2;
            }
            block = static_cast<uint32_t>(b);
        }
    }
    Scenario sc;
    if (!ReadScenario(argv[1], sc)) {
        std::fprintf(stderr, "cannot read scenario %s\n", argv[1]);
        return 2;
    }

    std::string entry;
    if (FindRelativeLv2PathEntry(entry)) {
        std::fprintf(stderr, "LV2_PATH entry '%s' is not an absolute directory\n", entry.c_str());
        return 2;
    }

    LilvWorld* world = lilv_world_new();
    lilv_world_load_all(world);
    LilvNode* uri = lilv_new_uri(world, sc.uri.c_str());
    const LilvPlugin* plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), uri);
    if (plugin == nullptr) {
        std::printf("SKIP %s not installed (%s)\n", sc.label.c_str(), sc.uri.c_str());
        return 0;
    }

    // Features.
    LV2_URID_Map map{nullptr, Map};
    LV2_URID_Unmap unmap{nullptr, Unmap};
    const int32_t blockLength = static_cast<int32_t>(block);
    const float rate = static_cast<float>(kRate);
    const LV2_URID atomInt = Map(nullptr, LV2_ATOM__Int);
    const LV2_URID atomFloat = Map(nullptr, LV2_ATOM__Float);
    LV2_Options_Option options[] = {
        {LV2_OPTIONS_INSTANCE, 0, Map(nullptr, LV2_BUF_SIZE__nominalBlockLength), sizeof(int32_t),
         atomInt, &blockLength},
        {LV2_OPTIONS_INSTANCE, 0, Map(nullptr, LV2_BUF_SIZE__minBlockLength), sizeof(int32_t),
         atomInt, &blockLength},
        {LV2_OPTIONS_INSTANCE, 0, Map(nullptr, LV2_BUF_SIZE__maxBlockLength), sizeof(int32_t),
         atomInt, &blockLength},
        {LV2_OPTIONS_INSTANCE, 0, Map(nullptr, "http://lv2plug.in/ns/ext/parameters#sampleRate"),
         sizeof(float), atomFloat, &rate},
        {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr},
    };

    const uint32_t audioIn =
        lilv_plugin_get_num_ports_of_class(plugin, lilv_new_uri(world, LV2_CORE__AudioPort),
                                           lilv_new_uri(world, LV2_CORE__InputPort), nullptr);
    const uint32_t audioOut =
        lilv_plugin_get_num_ports_of_class(plugin, lilv_new_uri(world, LV2_CORE__AudioPort),
                                           lilv_new_uri(world, LV2_CORE__OutputPort), nullptr);
    const int instances = audioIn == 1 && audioOut == 1 ? 2 : 1;
    if (audioIn < 1 || audioOut < 1 || audioIn > 2 || audioOut > 2) {
        std::printf("SKIP %s has %u inputs and %u outputs\n", sc.label.c_str(), audioIn, audioOut);
        return 0;
    }

    // Noise, the same for every plug-in.
    const uint32_t noiseFrames = block * std::max<uint32_t>(64, 16384 / block);
    std::vector<float> noise[2];
    uint32_t seed = 1;
    for (std::vector<float>& ch : noise) {
        ch.resize(noiseFrames);
        for (float& x : ch) {
            seed = seed * 1664525u + 1013904223u;
            x = static_cast<float>(seed) / 4294967296.0f - 0.5f;
        }
    }
    std::vector<float> in[2] = {std::vector<float>(block), std::vector<float>(block)};
    std::vector<float> out[2] = {std::vector<float>(block), std::vector<float>(block)};

    struct Instance {
        LilvInstance* lilv = nullptr;
        Worker worker;
        std::vector<float> controls;
        std::vector<std::vector<uint8_t>> atoms;
        std::vector<std::vector<float>> scratch;
    };
    std::vector<std::unique_ptr<Instance>> inst;
    LilvNode* workerIface = lilv_new_uri(world, LV2_WORKER__interface);
    const uint32_t ports = lilv_plugin_get_num_ports(plugin);
    LilvNode* audioClass = lilv_new_uri(world, LV2_CORE__AudioPort);
    LilvNode* controlClass = lilv_new_uri(world, LV2_CORE__ControlPort);
    LilvNode* inputClass = lilv_new_uri(world, LV2_CORE__InputPort);
    LilvNode* atomClass = lilv_new_uri(world, LV2_ATOM__AtomPort);
    std::vector<float> mins(ports), maxs(ports), defs(ports);
    lilv_plugin_get_port_ranges_float(plugin, mins.data(), maxs.data(), defs.data());

    for (int n = 0; n < instances; ++n) {
        auto x = std::make_unique<Instance>();
        LV2_Worker_Schedule schedule{&x->worker, Schedule};
        LV2_Feature mapF{LV2_URID__map, &map};
        LV2_Feature unmapF{LV2_URID__unmap, &unmap};
        LV2_Feature optionsF{LV2_OPTIONS__options, options};
        LV2_Feature boundedF{LV2_BUF_SIZE__boundedBlockLength, nullptr};
        LV2_Feature scheduleF{LV2_WORKER__schedule, &schedule};
        const LV2_Feature* features[] = {&mapF, &unmapF, &optionsF, &boundedF, &scheduleF, nullptr};
        x->lilv = lilv_plugin_instantiate(plugin, kRate, features);
        if (x->lilv == nullptr) {
            std::printf("SKIP %s failed to instantiate\n", sc.label.c_str());
            return 0;
        }
        if (lilv_plugin_has_extension_data(plugin, workerIface)) {
            x->worker.iface = static_cast<const LV2_Worker_Interface*>(
                lilv_instance_get_extension_data(x->lilv, LV2_WORKER__interface));
            x->worker.handle = lilv_instance_get_handle(x->lilv);
        }
        x->controls.resize(ports);
        x->atoms.resize(ports);
        x->scratch.resize(ports);
        uint32_t ai = 0, ao = 0;
        for (uint32_t p = 0; p < ports; ++p) {
            const LilvPort* port = lilv_plugin_get_port_by_index(plugin, p);
            const bool isInput = lilv_port_is_a(plugin, port, inputClass);
            if (lilv_port_is_a(plugin, port, audioClass)) {
                // Mono plug-ins: instance n takes channel n.
                const uint32_t ch =
                    instances == 2 ? static_cast<uint32_t>(n) : (isInput ? ai++ : ao++);
                lilv_instance_connect_port(x->lilv, p, isInput ? in[ch].data() : out[ch].data());
            } else if (lilv_port_is_a(plugin, port, controlClass)) {
                x->controls[p] = std::isnan(defs[p]) ? 0.0f : defs[p];
                lilv_instance_connect_port(x->lilv, p, &x->controls[p]);
            } else if (lilv_port_is_a(plugin, port, atomClass)) {
                // An empty sequence in, room for a sequence out.
                x->atoms[p].assign(kAtomCapacity, 0);
                auto* seq = reinterpret_cast<LV2_Atom_Sequence*>(x->atoms[p].data());
                seq->atom.type = Map(nullptr, LV2_ATOM__Sequence);
                seq->atom.size =
                    isInput ? sizeof(LV2_Atom_Sequence_Body) : kAtomCapacity - sizeof(LV2_Atom);
                lilv_instance_connect_port(x->lilv, p, x->atoms[p].data());
            } else {
                x->scratch[p].assign(block, 0.0f); // CV and anything else
                lilv_instance_connect_port(x->lilv, p, x->scratch[p].data());
            }
        }
        inst.push_back(std::move(x));
    }

    // Scenario controls.
    for (const auto& [symbol, value] : sc.controls) {
        LilvNode* sym = lilv_new_string(world, symbol.c_str());
        const LilvPort* port = lilv_plugin_get_port_by_symbol(plugin, sym);
        lilv_node_free(sym);
        if (port == nullptr) {
            std::fprintf(stderr, "%s: no control port '%s'\n", sc.label.c_str(), symbol.c_str());
            continue;
        }
        const uint32_t p = lilv_port_get_index(plugin, port);
        for (auto& x : inst) {
            x->controls[p] = value;
        }
    }

    std::vector<uint32_t> atomOutputs;
    for (uint32_t p = 0; p < ports; ++p) {
        const LilvPort* port = lilv_plugin_get_port_by_index(plugin, p);
        if (lilv_port_is_a(plugin, port, atomClass) && !lilv_port_is_a(plugin, port, inputClass)) {
            atomOutputs.push_back(p);
        }
    }

    for (auto& x : inst) {
        lilv_instance_activate(x->lilv);
    }
    uint32_t pos = 0;
    auto runBlock = [&] {
        std::memcpy(in[0].data(), noise[0].data() + pos, block * sizeof(float));
        std::memcpy(in[1].data(), noise[1].data() + pos, block * sizeof(float));
        pos = (pos + block) % noiseFrames;
        for (auto& x : inst) {
            for (uint32_t p : atomOutputs) {
                reinterpret_cast<LV2_Atom*>(x->atoms[p].data())->size =
                    kAtomCapacity - sizeof(LV2_Atom);
            }
            lilv_instance_run(x->lilv, block);
            DeliverResponses(x->worker);
        }
    };
    // Warm-up: parameter smoothing settles, caches fill (400 blocks, at least half
    // a second).
    const long warmUp = std::max(400L, static_cast<long>(0.5 * kRate / block));
    for (long i = 0; i < warmUp; ++i) {
        runBlock();
    }
    const long blocks = std::max(1L, static_cast<long>(seconds * kRate / block));
    std::vector<double> nsPerFrame;
    for (int r = 0; r < repeats; ++r) {
        const double t0 = ThreadSeconds();
        for (long b = 0; b < blocks; ++b) {
            runBlock();
        }
        const double t1 = ThreadSeconds();
        nsPerFrame.push_back((t1 - t0) * 1e9 / (static_cast<double>(blocks) * block));
    }
    std::sort(nsPerFrame.begin(), nsPerFrame.end());
    const double median = nsPerFrame[nsPerFrame.size() / 2];
    std::printf("RESULT %s %u %.2f %.3f%s\n", sc.label.c_str(), block, median,
                median * kRate * 1e-9 * 100.0, instances == 2 ? " (two mono instances)" : "");
    for (auto& x : inst) {
        lilv_instance_deactivate(x->lilv);
        lilv_instance_free(x->lilv);
    }
    lilv_world_free(world);
    return 0;
}
