// The LV2 entry hosts see. It forwards to DPF's and gives DPF's instantiate the
// features it insists on when the host has none of its own: an empty options
// list, a URID map, and a worker that does the work at once on the calling
// thread. An equaliser needs none of them to process audio, and a host that
// passes no feature list at all (command-line renderers do) gets a working
// plug-in instead of a refusal or a crash. The generated TTL declares these
// features optional.
//
// The editor's event ports fall back to stand-in buffers whenever the host
// leaves them unconnected (GStreamer handles no atom ports, and lilv connects
// every port to nothing first); DPF would read and write through null.
//
// The handle the host holds is this wrapper's; every function DPF offers,
// including its options, state and worker interfaces, is forwarded with DPF's.
//
// A host's control-input-port change request is passed on with the port index
// the host expects: DPF gives it the parameter's index, which counts the ports
// before the first control port out.

#include "DistrhoPluginInfo.h"
#include "src/lv2/atom.h"
#include "src/lv2/control-input-port-change-request.h"
#include "src/lv2/lv2.h"
#include "src/lv2/options.h"
#include "src/lv2/state.h"
#include "src/lv2/urid.h"
#include "src/lv2/worker.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <vector>

extern "C" const LV2_Descriptor* zk_dpf_lv2_descriptor(uint32_t index);

namespace {

#if defined(DISTRHO_PLUGIN_WANT_MIDI_INPUT) || defined(DISTRHO_PLUGIN_WANT_MIDI_OUTPUT) ||         \
    defined(DISTRHO_PLUGIN_WANT_TIMEPOS)
#error "kFirstParameterPort counts no MIDI or time-position ports"
#endif
// The ports before the first parameter's, in DPF's order: audio inputs and
// outputs, the event ports the state needs, the latency port.
constexpr uint32_t kFirstParameterPort = DISTRHO_PLUGIN_NUM_INPUTS + DISTRHO_PLUGIN_NUM_OUTPUTS +
                                         (DISTRHO_PLUGIN_WANT_STATE ? 2 : 0) +
                                         (DISTRHO_PLUGIN_WANT_LATENCY ? 1 : 0);

// The editor's event ports, right after the audio ports.
constexpr uint32_t kEventsInPort = DISTRHO_PLUGIN_NUM_INPUTS + DISTRHO_PLUGIN_NUM_OUTPUTS;
constexpr uint32_t kEventsOutPort = kEventsInPort + 1;
static_assert(DISTRHO_PLUGIN_WANT_STATE, "the event ports exist for the state");

const LV2_Descriptor* Dpf() {
    return zk_dpf_lv2_descriptor(0);
}

// URIs to numbers, for a host without a map. DPF maps while it is created and
// when it saves or restores a state, never in run().
class UridMap {
public:
    UridMap() {
        map.handle = this;
        map.map = &Map;
    }
    LV2_URID_Map map{};

private:
    static LV2_URID Map(LV2_URID_Map_Handle handle, const char* uri) {
        auto* self = static_cast<UridMap*>(handle);
        if (uri == nullptr) {
            return 0;
        }
        const std::lock_guard<std::mutex> lock(self->mutex);
        const auto it = std::find(self->uris.begin(), self->uris.end(), uri);
        if (it != self->uris.end()) {
            return static_cast<LV2_URID>(it - self->uris.begin()) + 1;
        }
        self->uris.emplace_back(uri);
        return static_cast<LV2_URID>(self->uris.size());
    }

    std::mutex mutex;
    std::vector<std::string> uris;
};

// A worker for a host without one: the work is done at once on the thread that
// schedules it, and the response delivered at once. DPF schedules the editor's
// messages this way, which a host without a worker never sends.
class ImmediateWorker {
public:
    ImmediateWorker() {
        schedule.handle = this;
        schedule.schedule_work = &Schedule;
    }
    LV2_Worker_Schedule schedule{};
    LV2_Handle dpf = nullptr; // DPF's handle

private:
    static LV2_Worker_Status Schedule(LV2_Worker_Schedule_Handle handle, uint32_t size,
                                      const void* data) {
        auto* self = static_cast<ImmediateWorker*>(handle);
        const auto* worker =
            static_cast<const LV2_Worker_Interface*>(Dpf()->extension_data(LV2_WORKER__interface));
        if (self->dpf == nullptr || worker == nullptr || worker->work == nullptr) {
            return LV2_WORKER_ERR_UNKNOWN;
        }
        return worker->work(self->dpf, &Respond, self, size, data);
    }
    static LV2_Worker_Status Respond(LV2_Worker_Respond_Handle handle, uint32_t size,
                                     const void* data) {
        auto* self = static_cast<ImmediateWorker*>(handle);
        const auto* worker =
            static_cast<const LV2_Worker_Interface*>(Dpf()->extension_data(LV2_WORKER__interface));
        if (worker == nullptr || worker->work_response == nullptr) {
            return LV2_WORKER_ERR_UNKNOWN;
        }
        return worker->work_response(self->dpf, size, data);
    }
};

// The host's change request, with DPF's parameter index made a port index.
class ChangeRequest {
public:
    explicit ChangeRequest(const LV2_ControlInputPort_Change_Request* host) : host(host) {
        request.handle = this;
        request.request_change = &Request;
    }
    LV2_ControlInputPort_Change_Request request{};

private:
    static LV2_ControlInputPort_Change_Status Request(LV2_ControlInputPort_Change_Request_Handle h,
                                                      uint32_t index, float value) {
        const auto* host = static_cast<ChangeRequest*>(h)->host;
        return host->request_change(host->handle, index + kFirstParameterPort, value);
    }
    const LV2_ControlInputPort_Change_Request* host;
};

// One instance: DPF's handle and what it was given in place of the host's
// missing features and ports; lives until cleanup, as DPF keeps the pointers.
struct Instance {
    LV2_Handle dpf = nullptr;
    LV2_Options_Option noOptions[1]{};
    UridMap uridMap;
    ImmediateWorker worker;
    LV2_Feature optionsFeature{LV2_OPTIONS__options, noOptions};
    LV2_Feature mapFeature{LV2_URID__map, &uridMap.map};
    LV2_Feature workerFeature{LV2_WORKER__schedule, &worker.schedule};
    std::unique_ptr<ChangeRequest> changeRequest;
    LV2_Feature changeRequestFeature{LV2_CONTROL_INPUT_PORT_CHANGE_REQUEST_URI, nullptr};
    std::vector<const LV2_Feature*> features;
    // Stand-ins for the event ports: no events in, room for a few out (DPF writes
    // no more than the size it finds in the buffer's header).
    LV2_Atom_Sequence eventsIn{{sizeof(LV2_Atom_Sequence_Body), 0}, {0, 0}};
    alignas(8) unsigned char eventsOut[4096]{};
};

LV2_Handle DpfOf(LV2_Handle instance) {
    return static_cast<Instance*>(instance)->dpf;
}

bool Is(const LV2_Feature* f, const char* uri) {
    return f != nullptr && f->URI != nullptr && std::strcmp(f->URI, uri) == 0;
}

void ConnectPort(LV2_Handle handle, uint32_t port, void* data) {
    auto* instance = static_cast<Instance*>(handle);
    if (data == nullptr && port == kEventsInPort) {
        instance->eventsIn = {{sizeof(LV2_Atom_Sequence_Body), 0}, {0, 0}};
        data = &instance->eventsIn;
    } else if (data == nullptr && port == kEventsOutPort) {
        auto* out = reinterpret_cast<LV2_Atom_Sequence*>(instance->eventsOut);
        out->atom.size = sizeof instance->eventsOut - sizeof(LV2_Atom);
        data = out;
    }
    Dpf()->connect_port(instance->dpf, port, data);
}

LV2_Handle Instantiate(const LV2_Descriptor*, double rate, const char* bundle,
                       const LV2_Feature* const* hostFeatures) {
    auto self = std::unique_ptr<Instance>(new (std::nothrow) Instance);
    if (self == nullptr) {
        return nullptr;
    }
    // The host's features, except the three DPF reads when they carry no data.
    bool options = false, map = false, worker = false;
    for (const LV2_Feature* const* f = hostFeatures; f != nullptr && *f != nullptr; ++f) {
        if ((*f)->URI == nullptr) {
            continue;
        }
        const bool needed =
            Is(*f, LV2_OPTIONS__options) || Is(*f, LV2_URID__map) || Is(*f, LV2_WORKER__schedule);
        if (needed && (*f)->data == nullptr) {
            continue;
        }
        if (Is(*f, LV2_CONTROL_INPUT_PORT_CHANGE_REQUEST_URI)) {
            const auto* host = static_cast<const LV2_ControlInputPort_Change_Request*>((*f)->data);
            if (host != nullptr && host->request_change != nullptr && !self->changeRequest) {
                self->changeRequest = std::make_unique<ChangeRequest>(host);
                self->changeRequestFeature.data = &self->changeRequest->request;
                self->features.push_back(&self->changeRequestFeature);
            }
            continue;
        }
        options = options || Is(*f, LV2_OPTIONS__options);
        map = map || Is(*f, LV2_URID__map);
        worker = worker || Is(*f, LV2_WORKER__schedule);
        self->features.push_back(*f);
    }
    if (!options) {
        self->features.push_back(&self->optionsFeature);
    }
    if (!map) {
        self->features.push_back(&self->mapFeature);
    }
    if (!worker) {
        self->features.push_back(&self->workerFeature);
    }
    self->features.push_back(nullptr);

    LV2_Handle dpf =
        Dpf()->instantiate(Dpf(), rate, bundle != nullptr ? bundle : "", self->features.data());
    if (dpf == nullptr) {
        std::fprintf(stderr, "zkmorva: the LV2 plug-in %s could not be created\n", Dpf()->URI);
        return nullptr;
    }
    self->dpf = dpf;
    self->worker.dpf = dpf;
    ConnectPort(self.get(), kEventsInPort, nullptr);
    ConnectPort(self.get(), kEventsOutPort, nullptr);
    return self.release();
}

void Cleanup(LV2_Handle instance) {
    if (instance == nullptr) {
        return;
    }
    Dpf()->cleanup(DpfOf(instance));
    delete static_cast<Instance*>(instance);
}

void Activate(LV2_Handle instance) {
    Dpf()->activate(DpfOf(instance));
}
void Run(LV2_Handle instance, uint32_t frames) {
    Dpf()->run(DpfOf(instance), frames);
}
void Deactivate(LV2_Handle instance) {
    Dpf()->deactivate(DpfOf(instance));
}

uint32_t GetOptions(LV2_Handle instance, LV2_Options_Option* options) {
    const auto* dpf =
        static_cast<const LV2_Options_Interface*>(Dpf()->extension_data(LV2_OPTIONS__interface));
    return options != nullptr ? dpf->get(DpfOf(instance), options)
                              : static_cast<uint32_t>(LV2_OPTIONS_ERR_UNKNOWN);
}
uint32_t SetOptions(LV2_Handle instance, const LV2_Options_Option* options) {
    const auto* dpf =
        static_cast<const LV2_Options_Interface*>(Dpf()->extension_data(LV2_OPTIONS__interface));
    return options != nullptr ? dpf->set(DpfOf(instance), options)
                              : static_cast<uint32_t>(LV2_OPTIONS_ERR_UNKNOWN);
}

LV2_State_Status Save(LV2_Handle instance, LV2_State_Store_Function store, LV2_State_Handle handle,
                      uint32_t flags, const LV2_Feature* const* features) {
    const auto* dpf =
        static_cast<const LV2_State_Interface*>(Dpf()->extension_data(LV2_STATE__interface));
    return store != nullptr ? dpf->save(DpfOf(instance), store, handle, flags, features)
                            : LV2_STATE_ERR_UNKNOWN;
}
LV2_State_Status Restore(LV2_Handle instance, LV2_State_Retrieve_Function retrieve,
                         LV2_State_Handle handle, uint32_t flags,
                         const LV2_Feature* const* features) {
    const auto* dpf =
        static_cast<const LV2_State_Interface*>(Dpf()->extension_data(LV2_STATE__interface));
    return retrieve != nullptr ? dpf->restore(DpfOf(instance), retrieve, handle, flags, features)
                               : LV2_STATE_ERR_UNKNOWN;
}

LV2_Worker_Status Work(LV2_Handle instance, LV2_Worker_Respond_Function respond,
                       LV2_Worker_Respond_Handle handle, uint32_t size, const void* data) {
    const auto* dpf =
        static_cast<const LV2_Worker_Interface*>(Dpf()->extension_data(LV2_WORKER__interface));
    return data != nullptr ? dpf->work(DpfOf(instance), respond, handle, size, data)
                           : LV2_WORKER_ERR_UNKNOWN;
}
LV2_Worker_Status WorkResponse(LV2_Handle instance, uint32_t size, const void* body) {
    const auto* dpf =
        static_cast<const LV2_Worker_Interface*>(Dpf()->extension_data(LV2_WORKER__interface));
    return dpf->work_response(DpfOf(instance), size, body);
}

const LV2_Options_Interface kOptions{&GetOptions, &SetOptions};
const LV2_State_Interface kState{&Save, &Restore};
const LV2_Worker_Interface kWorker{&Work, &WorkResponse, nullptr};

const void* ExtensionData(const char* uri) {
    if (uri == nullptr || Dpf()->extension_data(uri) == nullptr) {
        return nullptr;
    }
    if (std::strcmp(uri, LV2_OPTIONS__interface) == 0) {
        return &kOptions;
    }
    if (std::strcmp(uri, LV2_STATE__interface) == 0) {
        return &kState;
    }
    if (std::strcmp(uri, LV2_WORKER__interface) == 0) {
        return &kWorker;
    }
    return nullptr; // an interface this wrapper does not forward
}

const LV2_Descriptor* Descriptor() {
    static const LV2_Descriptor descriptor{Dpf()->URI, &Instantiate, &ConnectPort, &Activate,
                                           &Run,       &Deactivate,  &Cleanup,     &ExtensionData};
    return &descriptor;
}

} // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
    return index == 0 ? Descriptor() : nullptr;
}
