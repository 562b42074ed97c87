#pragma once

// A small CLAP host for the tests: loads a .clap with dlopen, creates plug-ins
// through its factory and drives them (parameters by events, audio, state).

#include "src/clap/entry.h"
#include "src/clap/events.h"
#include "src/clap/ext/audio-ports.h"
#include "src/clap/ext/latency.h"
#include "src/clap/ext/params.h"
#include "src/clap/ext/state.h"
#include "src/clap/plugin-factory.h"
#include "src/clap/process.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zktest {

// A loaded .clap file: the entry is initialised while this lives.
class ClapLibrary {
public:
    explicit ClapLibrary(const std::string& path) : path(path) {
        KeepPixmanLoaded();
        handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) {
            throw std::runtime_error("dlopen " + path + ": " + dlerror());
        }
        entry = static_cast<const clap_plugin_entry_t*>(dlsym(handle, "clap_entry"));
        if (entry == nullptr || !entry->init(path.c_str())) {
            dlclose(handle);
            throw std::runtime_error("no usable clap_entry in " + path);
        }
        factory =
            static_cast<const clap_plugin_factory_t*>(entry->get_factory(CLAP_PLUGIN_FACTORY_ID));
    }
    ~ClapLibrary() {
        entry->deinit();
        dlclose(handle);
    }
    ClapLibrary(const ClapLibrary&) = delete;
    ClapLibrary& operator=(const ClapLibrary&) = delete;

    const clap_plugin_entry_t* entry = nullptr;
    const clap_plugin_factory_t* factory = nullptr;

private:
    // pixman comes with the plug-in (its UI draws with cairo). Its load-time constructor
    // builds a chain of implementations (six blocks, 12 KB) that it never frees, so each
    // time a plug-in that was pixman's last user is unloaded those blocks are lost: the
    // leak checker then reports them from an unloaded, unnamed module. Keeping pixman
    // loaded in this process leaves them reachable; our own module is still unloaded
    // with every library, so whatever it loses is still reported.
    static void KeepPixmanLoaded() {
        static void* const pixman = dlopen("libpixman-1.so.0", RTLD_NOW | RTLD_NODELETE);
        (void)pixman;
    }

    std::string path;
    void* handle = nullptr;
};

// A parameter change to send with a process call (or a flush), or one the
// plug-in sent.
struct ParamChange {
    clap_id id;
    double value;
    uint32_t time = 0; // frame in the block
};

// The host's event lists: input events from a vector, output parameter values
// collected.
class EventLists {
public:
    explicit EventLists(const std::vector<ParamChange>& changes) {
        for (const ParamChange& c : changes) {
            clap_event_param_value_t e{};
            e.header.size = sizeof e;
            e.header.time = c.time;
            e.header.space_id = CLAP_CORE_EVENT_SPACE_ID;
            e.header.type = CLAP_EVENT_PARAM_VALUE;
            e.param_id = c.id;
            e.note_id = -1;
            e.port_index = -1;
            e.channel = -1;
            e.key = -1;
            e.value = c.value;
            events.push_back(e);
        }
        in.ctx = this;
        in.size = [](const clap_input_events_t* l) -> uint32_t {
            return static_cast<uint32_t>(static_cast<EventLists*>(l->ctx)->events.size());
        };
        in.get = [](const clap_input_events_t* l, uint32_t i) -> const clap_event_header_t* {
            return &static_cast<EventLists*>(l->ctx)->events.at(i).header;
        };
        // Room made before processing, which must not allocate.
        output.reserve(4096);
        out.ctx = this;
        out.try_push = [](const clap_output_events_t* l, const clap_event_header_t* e) {
            if (e->space_id == CLAP_CORE_EVENT_SPACE_ID && e->type == CLAP_EVENT_PARAM_VALUE) {
                const auto* v = reinterpret_cast<const clap_event_param_value_t*>(e);
                static_cast<EventLists*>(l->ctx)->output.push_back(
                    {v->param_id, v->value, e->time});
            }
            return true;
        };
    }
    clap_input_events_t in{};
    clap_output_events_t out{};
    std::vector<ParamChange> output;

private:
    std::vector<clap_event_param_value_t> events;
};

// Everything one process call needs, built beforehand: Run itself allocates
// nothing. in and out hold one pointer per channel (may alias).
struct ClapBlock {
    ClapBlock(std::vector<float*> in, std::vector<float*> out, uint32_t frames,
              const std::vector<ParamChange>& changes)
        : lists(changes), in(std::move(in)), out(std::move(out)) {
        inBuf.data32 = this->in.data();
        inBuf.channel_count = static_cast<uint32_t>(this->in.size());
        outBuf.data32 = this->out.data();
        outBuf.channel_count = static_cast<uint32_t>(this->out.size());
        process.steady_time = -1;
        process.frames_count = frames;
        process.audio_inputs = &inBuf;
        process.audio_outputs = &outBuf;
        process.audio_inputs_count = 1;
        process.audio_outputs_count = 1;
        process.in_events = &lists.in;
        process.out_events = &lists.out;
    }
    ClapBlock(const ClapBlock&) = delete;
    ClapBlock& operator=(const ClapBlock&) = delete;
    clap_process_status Run(const clap_plugin_t* plugin) {
        return plugin->process(plugin, &process);
    }

    EventLists lists;
    std::vector<float*> in, out;
    clap_audio_buffer_t inBuf{}, outBuf{};
    clap_process_t process{};
};

// One plug-in instance and the host it talks to.
class ClapInstance {
public:
    ClapInstance(const ClapLibrary& lib, const char* id) {
        host.clap_version = CLAP_VERSION;
        host.host_data = this;
        host.name = "zk-test-host";
        host.vendor = "zk";
        host.url = "";
        host.version = "1";
        hostLatency.changed = [](const clap_host_t* h) {
            ++static_cast<ClapInstance*>(h->host_data)->latencyChanges;
        };
        host.get_extension = [](const clap_host_t* h, const char* id) -> const void* {
            return std::strcmp(id, CLAP_EXT_LATENCY) == 0
                       ? &static_cast<ClapInstance*>(h->host_data)->hostLatency
                       : nullptr;
        };
        host.request_restart = [](const clap_host_t*) {};
        host.request_process = [](const clap_host_t*) {};
        host.request_callback = [](const clap_host_t*) {};
        plugin = lib.factory->create_plugin(lib.factory, &host, id);
        if (plugin == nullptr || !plugin->init(plugin)) {
            throw std::runtime_error(std::string("cannot create ") + id);
        }
        params = Extension<clap_plugin_params_t>(CLAP_EXT_PARAMS);
        state = Extension<clap_plugin_state_t>(CLAP_EXT_STATE);
        latency = Extension<clap_plugin_latency_t>(CLAP_EXT_LATENCY);
        ports = Extension<clap_plugin_audio_ports_t>(CLAP_EXT_AUDIO_PORTS);
    }
    ~ClapInstance() {
        if (active) {
            plugin->stop_processing(plugin);
            plugin->deactivate(plugin);
        }
        plugin->destroy(plugin);
    }
    ClapInstance(const ClapInstance&) = delete;
    ClapInstance& operator=(const ClapInstance&) = delete;

    template <class T> const T* Extension(const char* id) const {
        return static_cast<const T*>(plugin->get_extension(plugin, id));
    }

    void Flush(const std::vector<ParamChange>& changes) {
        EventLists lists(changes);
        params->flush(plugin, &lists.in, &lists.out);
        output = std::move(lists.output);
    }
    double Value(clap_id id) const {
        double v = 0;
        if (!params->get_value(plugin, id, &v)) {
            throw std::runtime_error("get_value failed");
        }
        return v;
    }
    std::string Text(clap_id id, double value) const {
        char buf[256] = {};
        params->value_to_text(plugin, id, value, buf, sizeof buf);
        return buf;
    }

    void Activate(double rate, uint32_t maxFrames) {
        if (!plugin->activate(plugin, rate, 1, maxFrames) || !plugin->start_processing(plugin)) {
            throw std::runtime_error("activate failed");
        }
        active = true;
    }
    void Deactivate() {
        plugin->stop_processing(plugin);
        plugin->deactivate(plugin);
        active = false;
    }

    // Processes one block; in and out hold one pointer per channel (may alias).
    bool Process(std::vector<float*> in, std::vector<float*> out, uint32_t frames,
                 const std::vector<ParamChange>& changes = {}) {
        ClapBlock block(std::move(in), std::move(out), frames, changes);
        const bool ok = block.Run(plugin) == CLAP_PROCESS_CONTINUE;
        output = std::move(block.lists.output);
        return ok;
    }

    // Runs the whole of `input` (one vector per channel) through in blocks of
    // `block` frames, in place when asked; `changesAt(frame)` gives the parameter
    // changes of the block that starts at that frame.
    std::vector<std::vector<float>>
    Play(const std::vector<std::vector<float>>& input, std::size_t block, bool inPlace = false,
         const std::function<std::vector<ParamChange>(std::size_t)>& changesAt = {}) {
        std::vector<std::vector<float>> in = input, out = input;
        std::vector<float*> ip(input.size()), op(input.size());
        for (std::size_t pos = 0; pos < input[0].size(); pos += block) {
            const auto n = static_cast<uint32_t>(std::min(block, input[0].size() - pos));
            for (std::size_t c = 0; c < input.size(); ++c) {
                op[c] = out[c].data() + pos;
                ip[c] = inPlace ? op[c] : in[c].data() + pos;
            }
            if (!Process(ip, op, n, changesAt ? changesAt(pos) : std::vector<ParamChange>{})) {
                throw std::runtime_error("process failed");
            }
        }
        return out;
    }

    std::string SaveState() const {
        std::string blob;
        clap_ostream_t s{};
        s.ctx = &blob;
        s.write = [](const clap_ostream_t* st, const void* buf, uint64_t size) -> int64_t {
            static_cast<std::string*>(st->ctx)->append(static_cast<const char*>(buf), size);
            return static_cast<int64_t>(size);
        };
        if (!state->save(plugin, &s)) {
            throw std::runtime_error("state save failed");
        }
        return blob;
    }
    // Reads in small pieces, as hosts with streamed files do.
    bool LoadState(const std::string& blob) const {
        std::pair<const std::string*, std::size_t> cursor{&blob, 0};
        clap_istream_t s{};
        s.ctx = &cursor;
        s.read = [](const clap_istream_t* st, void* buf, uint64_t size) -> int64_t {
            auto* c = static_cast<std::pair<const std::string*, std::size_t>*>(st->ctx);
            const std::size_t n = std::min<std::size_t>(
                {static_cast<std::size_t>(size), c->first->size() - c->second, 100});
            std::memcpy(buf, c->first->data() + c->second, n);
            c->second += n;
            return static_cast<int64_t>(n);
        };
        return state->load(plugin, &s);
    }

    clap_host_t host{};
    clap_host_latency_t hostLatency{};
    int latencyChanges = 0;          // the plug-in's latency-changed notifications
    std::vector<ParamChange> output; // parameter values of the last process or flush
    const clap_plugin_t* plugin = nullptr;
    const clap_plugin_params_t* params = nullptr;
    const clap_plugin_state_t* state = nullptr;
    const clap_plugin_latency_t* latency = nullptr;
    const clap_plugin_audio_ports_t* ports = nullptr;
    bool active = false;
};

} // namespace zktest
