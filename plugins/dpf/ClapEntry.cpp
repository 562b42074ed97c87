// The CLAP entry hosts see. It forwards to DPF's entry and adds the checks DPF
// leaves out: a plug-in id other than ours is refused, and a state is loaded only
// when it is a complete DPF blob holding a document this unit accepts, so an
// empty, foreign or broken state changes nothing. Each plug-in's process and
// parameter flush run through a ClapBlockSplitter, so automation lands on its
// frame and the unit's own parameter changes reach the host.

#include "DistrhoPluginInfo.h"
#include "plugins/core/PluginCore.h"
#include "plugins/dpf/ClapBlockSplitter.h"
#include "plugins/dpf/StateBlob.h"
#include "src/clap/entry.h"
#include "src/clap/ext/params.h"
#include "src/clap/ext/state.h"
#include "src/clap/plugin-factory.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>

extern "C" const clap_plugin_entry_t zk_dpf_clap_entry;

namespace {

constexpr std::size_t kMaxStateBytes = std::size_t(16) << 20;

const clap_plugin_factory_t* dpfFactory = nullptr;
const void*(CLAP_ABI* dpfGetExtension)(const clap_plugin_t*, const char*) = nullptr;
const clap_plugin_params_t* dpfParams = nullptr;

void LogOnce(const char* message) {
    static std::atomic<bool> logged{false};
    if (!logged.exchange(true)) {
        std::fprintf(stderr, "zkmorva: %s\n", message);
    }
}

const clap_plugin_state_t* DpfState(const clap_plugin_t* plugin) {
    return dpfGetExtension != nullptr
               ? static_cast<const clap_plugin_state_t*>(dpfGetExtension(plugin, CLAP_EXT_STATE))
               : nullptr;
}

bool CLAP_ABI StateSave(const clap_plugin_t* plugin, const clap_ostream_t* stream) {
    const clap_plugin_state_t* state = DpfState(plugin);
    return state != nullptr && stream != nullptr && state->save(plugin, stream);
}

// Hands a blob already read to DPF's loader.
struct MemoryStream {
    clap_istream_t stream{};
    std::string_view data;
    std::size_t pos = 0;

    explicit MemoryStream(std::string_view d) : data(d) {
        stream.ctx = this;
        stream.read = &Read;
    }
    static int64_t CLAP_ABI Read(const clap_istream_t* s, void* buffer, uint64_t size) {
        auto* self = static_cast<MemoryStream*>(s->ctx);
        const std::size_t n =
            static_cast<std::size_t>(std::min<uint64_t>(size, self->data.size() - self->pos));
        std::memcpy(buffer, self->data.data() + self->pos, n);
        self->pos += n;
        return static_cast<int64_t>(n);
    }
};

bool CLAP_ABI StateLoad(const clap_plugin_t* plugin, const clap_istream_t* stream) {
    const clap_plugin_state_t* state = DpfState(plugin);
    if (state == nullptr || stream == nullptr || stream->read == nullptr) {
        return false;
    }
    std::string blob;
    char buffer[4096];
    for (;;) {
        const int64_t n = stream->read(stream, buffer, sizeof buffer);
        if (n < 0) {
            LogOnce("refusing a state: the host's stream failed");
            return false;
        }
        if (n == 0) {
            break;
        }
        if (blob.size() + static_cast<std::size_t>(n) > kMaxStateBytes) {
            LogOnce("refusing a state: too large");
            return false;
        }
        blob.append(buffer, static_cast<std::size_t>(n));
    }
    if (blob.empty()) {
        LogOnce("refusing an empty state");
        return false;
    }
    const auto document = zkplug::FindDpfStateValue(blob, "ClassInfo");
    if (!document) {
        LogOnce("refusing a state that is not this plug-in's");
        return false;
    }
    if (!zkplug::PluginCore::IsAcceptableState(zkplug::ZK_PLUGIN_UNIT(), *document)) {
        LogOnce("refusing a state whose settings document is foreign or broken");
        return false;
    }
    MemoryStream memory(blob);
    return state->load(plugin, &memory.stream);
}

const clap_plugin_state_t kState{&StateSave, &StateLoad};

// One plug-in as the host holds it: a copy of DPF's record (its plugin_data is
// DPF's instance, which is all DPF's functions read) with process, flush and
// destroy passing through this wrapper first.
struct WrappedPlugin {
    struct Record {
        clap_plugin_t plugin; // first: the host's pointer is this record's
        WrappedPlugin* owner;
    };

    WrappedPlugin(const clap_plugin_t* dpf, std::uint32_t parameterCount)
        : record{*dpf, this}, dpf(dpf), splitter(parameterCount) {}

    static WrappedPlugin* Of(const clap_plugin_t* plugin) {
        return reinterpret_cast<const Record*>(plugin)->owner;
    }

    Record record;
    const clap_plugin_t* const dpf;
    zkplug::ClapBlockSplitter splitter;
};

clap_process_status DpfProcess(void* context, const clap_process_t* piece) {
    const clap_plugin_t* dpf = static_cast<WrappedPlugin*>(context)->dpf;
    return dpf->process(dpf, piece);
}

clap_process_status CLAP_ABI Process(const clap_plugin_t* plugin, const clap_process_t* process) {
    if (process == nullptr) {
        return CLAP_PROCESS_ERROR;
    }
    WrappedPlugin* self = WrappedPlugin::Of(plugin);
    return self->splitter.Process(*process, &DpfProcess, self);
}

void DpfFlush(void* context, const clap_input_events_t* in, const clap_output_events_t* out) {
    dpfParams->flush(static_cast<WrappedPlugin*>(context)->dpf, in, out);
}

void CLAP_ABI Flush(const clap_plugin_t* plugin, const clap_input_events_t* in,
                    const clap_output_events_t* out) {
    WrappedPlugin* self = WrappedPlugin::Of(plugin);
    self->splitter.Flush(in, out, &DpfFlush, self);
}

uint32_t CLAP_ABI ParamCount(const clap_plugin_t* p) {
    return dpfParams->count(p);
}
bool CLAP_ABI ParamInfo(const clap_plugin_t* p, uint32_t index, clap_param_info_t* info) {
    return info != nullptr && index < ParamCount(p) && dpfParams->get_info(p, index, info);
}
bool CLAP_ABI ParamValue(const clap_plugin_t* p, clap_id id, double* value) {
    return value != nullptr && id < ParamCount(p) && dpfParams->get_value(p, id, value);
}
bool CLAP_ABI ParamText(const clap_plugin_t* p, clap_id id, double value, char* text,
                        uint32_t size) {
    return text != nullptr && size > 0 && id < ParamCount(p) &&
           dpfParams->value_to_text(p, id, value, text, size);
}
bool CLAP_ABI ParamFromText(const clap_plugin_t* p, clap_id id, const char* text, double* value) {
    return text != nullptr && value != nullptr && id < ParamCount(p) &&
           dpfParams->text_to_value(p, id, text, value);
}

const clap_plugin_params_t kParams{&ParamCount, &ParamInfo,     &ParamValue,
                                   &ParamText,  &ParamFromText, &Flush};

void CLAP_ABI Destroy(const clap_plugin_t* plugin) {
    WrappedPlugin* self = WrappedPlugin::Of(plugin);
    const clap_plugin_t* dpf = self->dpf;
    delete self;
    dpf->destroy(dpf);
}

const void* CLAP_ABI GetExtension(const clap_plugin_t* plugin, const char* id) {
    if (id == nullptr || dpfGetExtension == nullptr) {
        return nullptr;
    }
    if (std::strcmp(id, CLAP_EXT_STATE) == 0) {
        return &kState;
    }
    if (std::strcmp(id, CLAP_EXT_PARAMS) == 0) {
        return dpfParams != nullptr ? &kParams : nullptr;
    }
    return dpfGetExtension(plugin, id);
}

uint32_t CLAP_ABI PluginCount(const clap_plugin_factory_t*) {
    return dpfFactory->get_plugin_count(dpfFactory);
}

const clap_plugin_descriptor_t* CLAP_ABI Descriptor(const clap_plugin_factory_t*, uint32_t index) {
    return index < PluginCount(nullptr) ? dpfFactory->get_plugin_descriptor(dpfFactory, index)
                                        : nullptr;
}

const clap_plugin_t* CLAP_ABI CreatePlugin(const clap_plugin_factory_t*, const clap_host_t* host,
                                           const char* pluginId) {
    const clap_plugin_descriptor_t* d = Descriptor(nullptr, 0);
    if (host == nullptr || pluginId == nullptr || d == nullptr ||
        std::strcmp(pluginId, d->id) != 0) {
        LogOnce("refusing to create a plug-in with an unknown id");
        return nullptr;
    }
    const clap_plugin_t* dpf = dpfFactory->create_plugin(dpfFactory, host, pluginId);
    if (dpf == nullptr) {
        return nullptr;
    }
    dpfGetExtension = dpf->get_extension;
    dpfParams = static_cast<const clap_plugin_params_t*>(dpf->get_extension(dpf, CLAP_EXT_PARAMS));
    const std::uint32_t parameterCount = dpfParams != nullptr ? dpfParams->count(dpf) : 0;
    auto* self = new (std::nothrow) WrappedPlugin(dpf, parameterCount);
    if (self == nullptr) {
        dpf->destroy(dpf);
        return nullptr;
    }
    clap_plugin_t& record = self->record.plugin;
    record.destroy = &Destroy;
    record.process = &Process;
    record.get_extension = &GetExtension;
    return &record;
}

const clap_plugin_factory_t kFactory{&PluginCount, &Descriptor, &CreatePlugin};

bool CLAP_ABI EntryInit(const char* path) {
    return zk_dpf_clap_entry.init(path);
}

void CLAP_ABI EntryDeinit() {
    zk_dpf_clap_entry.deinit();
}

const void* CLAP_ABI EntryGetFactory(const char* id) {
    if (id == nullptr || std::strcmp(id, CLAP_PLUGIN_FACTORY_ID) != 0) {
        return nullptr;
    }
    dpfFactory = static_cast<const clap_plugin_factory_t*>(zk_dpf_clap_entry.get_factory(id));
    return dpfFactory != nullptr ? &kFactory : nullptr;
}

} // namespace

extern "C" CLAP_EXPORT const clap_plugin_entry_t clap_entry{CLAP_VERSION_INIT, &EntryInit,
                                                            &EntryDeinit, &EntryGetFactory};
