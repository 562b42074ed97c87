#pragma once

// A small LV2 host on lilv, offering what most DAWs offer: a URID map and unmap,
// the sample rate and block length as options (the block length bounded), a
// worker that works at once inside schedule_work as an offline host may (its
// responses delivered after the run), and no control-port change request. Each
// instance has a buffer on every port; audio runs in the host's blocks.

#include <lilv/lilv.h>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>
#include <lv2/parameters/parameters.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace zktest {

using Lv2Channels = std::vector<std::vector<float>>;

class Lv2Host {
public:
    // Loads every bundle in LV2_PATH.
    Lv2Host(double rate, uint32_t block)
        : world(lilv_world_new()), rate(rate), block(block), rateOption(float(rate)),
          blockOption(int32_t(block)) {
        lilv_world_load_all(world);
        const LV2_URID floatType = Map(LV2_ATOM__Float), intType = Map(LV2_ATOM__Int);
        options[0] = {LV2_OPTIONS_INSTANCE, 0,         Map(LV2_PARAMETERS__sampleRate),
                      sizeof(float),        floatType, &rateOption};
        options[1] = {LV2_OPTIONS_INSTANCE, 0,       Map(LV2_BUF_SIZE__maxBlockLength),
                      sizeof(int32_t),      intType, &blockOption};
        options[2] = {LV2_OPTIONS_INSTANCE, 0,       Map(LV2_BUF_SIZE__nominalBlockLength),
                      sizeof(int32_t),      intType, &blockOption};
    }
    ~Lv2Host() { lilv_world_free(world); }
    Lv2Host(const Lv2Host&) = delete;
    Lv2Host& operator=(const Lv2Host&) = delete;

    const LilvPlugin* Find(const std::string& uri) const {
        LilvNode* node = lilv_new_uri(world, uri.c_str());
        const LilvPlugin* p = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), node);
        lilv_node_free(node);
        return p;
    }
    LV2_URID Map(const char* uri) {
        for (std::size_t i = 0; i < uris.size(); ++i) {
            if (uris[i] == uri) {
                return static_cast<LV2_URID>(i + 1);
            }
        }
        uris.emplace_back(uri);
        return static_cast<LV2_URID>(uris.size());
    }

    LilvWorld* world;
    const double rate;
    const uint32_t block;
    LV2_URID_Map map{this, [](LV2_URID_Map_Handle h, const char* uri) {
                         return static_cast<Lv2Host*>(h)->Map(uri);
                     }};
    LV2_URID_Unmap unmap{this, [](LV2_URID_Unmap_Handle h, LV2_URID id) {
                             const auto& uris = static_cast<Lv2Host*>(h)->uris;
                             return id >= 1 && id <= uris.size() ? uris[id - 1].c_str() : nullptr;
                         }};
    LV2_Options_Option options[4] = {};
    LV2_Feature mapFeature{LV2_URID__map, &map};
    LV2_Feature unmapFeature{LV2_URID__unmap, &unmap};
    LV2_Feature optionsFeature{LV2_OPTIONS__options, options};
    LV2_Feature boundedFeature{LV2_BUF_SIZE__boundedBlockLength, nullptr};

private:
    std::vector<std::string> uris;
    float rateOption;
    int32_t blockOption;
};

class Lv2Instance {
public:
    Lv2Instance(Lv2Host& host, const LilvPlugin* plugin) : host(host), plugin(plugin) {
        features = {&host.mapFeature,     &host.unmapFeature, &host.optionsFeature,
                    &host.boundedFeature, &scheduleFeature,   nullptr};
        instance = lilv_plugin_instantiate(plugin, host.rate, features.data());
        if (instance == nullptr) {
            return;
        }
        worker.handle = lilv_instance_get_handle(instance);
        worker.iface = static_cast<const LV2_Worker_Interface*>(
            lilv_instance_get_extension_data(instance, LV2_WORKER__interface));
        const uint32_t n = lilv_plugin_get_num_ports(plugin);
        controls.resize(n);
        lilv_plugin_get_port_ranges_float(plugin, nullptr, nullptr, controls.data());
        LilvNode* audio = lilv_new_uri(host.world, LV2_CORE__AudioPort);
        LilvNode* atom = lilv_new_uri(host.world, LV2_ATOM__AtomPort);
        LilvNode* input = lilv_new_uri(host.world, LV2_CORE__InputPort);
        atoms.resize(n);
        for (uint32_t i = 0; i < n; ++i) {
            const LilvPort* port = lilv_plugin_get_port_by_index(plugin, i);
            const bool in = lilv_port_is_a(plugin, port, input);
            if (lilv_port_is_a(plugin, port, audio)) {
                (in ? audioIn : audioOut).push_back(i);
            } else if (lilv_port_is_a(plugin, port, atom)) {
                atoms[i].assign(kAtomWords, 0);
                atomIn.push_back(in);
                lilv_instance_connect_port(instance, i, atoms[i].data());
            } else {
                controls[i] = std::isnan(controls[i]) ? 0.0f : controls[i];
                lilv_instance_connect_port(instance, i, &controls[i]);
            }
        }
        for (LilvNode* node : {audio, atom, input}) {
            lilv_node_free(node);
        }
    }
    ~Lv2Instance() {
        if (instance != nullptr) {
            if (active) {
                lilv_instance_deactivate(instance);
            }
            lilv_instance_free(instance);
        }
    }
    Lv2Instance(const Lv2Instance&) = delete;
    Lv2Instance& operator=(const Lv2Instance&) = delete;

    bool Valid() const { return instance != nullptr; }
    std::size_t Channels() const { return audioIn.size(); }

    // The value of the control port `symbol`, input or output; null when none.
    float* Control(const std::string& symbol) {
        LilvNode* s = lilv_new_string(host.world, symbol.c_str());
        const LilvPort* port = lilv_plugin_get_port_by_symbol(plugin, s);
        lilv_node_free(s);
        return port == nullptr || instance == nullptr
                   ? nullptr
                   : &controls[lilv_port_get_index(plugin, port)];
    }

    // As a host loads a preset or a saved state: the plug-in's state, then the ports.
    void Restore(const LilvState* state) {
        lilv_state_restore(
            state, instance,
            [](const char* symbol, void* self, const void* value, uint32_t size, uint32_t type) {
                auto* me = static_cast<Lv2Instance*>(self);
                if (float* c = me->Control(symbol); c != nullptr && size == sizeof(float) &&
                                                    type == me->host.Map(LV2_ATOM__Float)) {
                    *c = *static_cast<const float*>(value);
                }
            },
            this, 0, features.data());
    }

    // As jalv and Ardour save a preset: the ports and the plug-in's state.
    LilvState* Save(const std::string& label) {
        LilvState* state = lilv_state_new_from_instance(
            plugin, instance, &host.map, nullptr, nullptr, nullptr, nullptr,
            [](const char* symbol, void* self, uint32_t* size, uint32_t* type) -> const void* {
                auto* me = static_cast<Lv2Instance*>(self);
                *size = sizeof(float);
                *type = me->host.Map(LV2_ATOM__Float);
                return me->Control(symbol);
            },
            this, LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE, features.data());
        lilv_state_set_label(state, label.c_str());
        return state;
    }

    // Runs `input` through in the host's blocks (the last one may be shorter);
    // `beforeBlock(b)` may set controls first. Paced, each block waits for its
    // deadline as in a real-time host; else as fast as possible (an export).
    Lv2Channels Play(const Lv2Channels& input,
                     const std::function<void(std::size_t)>& beforeBlock = {}, bool paced = false) {
        if (!active) {
            lilv_instance_activate(instance);
            active = true;
        }
        const uint32_t block = host.block;
        Lv2Channels in(audioIn.size(), std::vector<float>(block));
        Lv2Channels out(audioOut.size(), std::vector<float>(input[0].size()));
        const auto start = std::chrono::steady_clock::now();
        for (std::size_t b = 0, pos = 0; pos < input[0].size(); ++b, pos += block) {
            if (paced) {
                std::this_thread::sleep_until(
                    start + std::chrono::duration<double>(double(pos) / host.rate));
            }
            if (beforeBlock) {
                beforeBlock(b);
            }
            const auto n =
                static_cast<uint32_t>(std::min<std::size_t>(block, input[0].size() - pos));
            for (std::size_t c = 0; c < in.size(); ++c) {
                std::memcpy(in[c].data(), input[c].data() + pos, n * sizeof(float));
                lilv_instance_connect_port(instance, audioIn[c], in[c].data());
                lilv_instance_connect_port(instance, audioOut[c], out[c].data() + pos);
            }
            ResetAtoms();
            lilv_instance_run(instance, n);
            worker.AfterRun();
        }
        return out;
    }

private:
    // Work is done at once; responses are delivered after run().
    struct SyncWorker {
        const LV2_Worker_Interface* iface = nullptr;
        LV2_Handle handle = nullptr;
        std::vector<std::vector<char>> responses;

        static LV2_Worker_Status Respond(LV2_Worker_Respond_Handle h, uint32_t size,
                                         const void* data) {
            const auto* bytes = static_cast<const char*>(data);
            static_cast<SyncWorker*>(h)->responses.emplace_back(bytes, bytes + size);
            return LV2_WORKER_SUCCESS;
        }
        static LV2_Worker_Status Schedule(LV2_Worker_Schedule_Handle h, uint32_t size,
                                          const void* data) {
            auto* self = static_cast<SyncWorker*>(h);
            return self->iface != nullptr
                       ? self->iface->work(self->handle, &Respond, self, size, data)
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

    // An empty sequence in, the whole buffer as room out.
    void ResetAtoms() {
        for (std::size_t i = 0, k = 0; i < atoms.size(); ++i) {
            if (atoms[i].empty()) {
                continue;
            }
            auto* seq = reinterpret_cast<LV2_Atom_Sequence*>(atoms[i].data());
            const bool in = atomIn[k++];
            seq->atom.type = host.Map(in ? LV2_ATOM__Sequence : LV2_ATOM__Chunk);
            seq->atom.size = in ? sizeof(LV2_Atom_Sequence_Body)
                                : static_cast<uint32_t>(kAtomWords * 8 - sizeof(LV2_Atom));
            seq->body = {0, 0};
        }
    }

    Lv2Host& host;
    const LilvPlugin* plugin;
    SyncWorker worker;
    LV2_Worker_Schedule schedule{&worker, &SyncWorker::Schedule};
    LV2_Feature scheduleFeature{LV2_WORKER__schedule, &schedule};
    std::vector<const LV2_Feature*> features;
    LilvInstance* instance = nullptr;
    bool active = false;
    std::vector<float> controls;
    static constexpr std::size_t kAtomWords = 512; // 8-byte aligned, as atoms need
    std::vector<std::vector<std::uint64_t>> atoms;
    std::vector<bool> atomIn;
    std::vector<uint32_t> audioIn, audioOut;
};

} // namespace zktest
