// The VST3 entry hosts see. It hands out DPF's factory with one change: the
// component it creates hands out, as its audio processor, a processor of ours
// that forwards every call to DPF's and runs process through a
// Vst3BlockSplitter, so automation lands on its frame and the unit's own
// parameter changes reach the host as output parameter changes.
//
// DPF's VST3 objects keep their function pointers in the object itself, so the
// factory's create_instance and the component's query_interface and unref are
// replaced per object; DPF's own functions are kept and called.

#include "DistrhoPluginInfo.h"
#include "plugins/core/EditorLink.h"
#include "plugins/core/UnitDescriptor.h"
#include "plugins/dpf/Vst3BlockSplitter.h"
#include "src/DistrhoPluginVST.hpp"
#include "src/travesty/component.h"
#include "src/travesty/factory.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

extern "C" const void* zk_dpf_GetPluginFactory(void);

namespace {

using FunknownQuery = v3_result(V3_API*)(void*, const v3_tuid, void**);
using FunknownRef = uint32_t(V3_API*)(void*);
using CreateInstance = v3_result(V3_API*)(void*, const v3_tuid, const v3_tuid, void**);

// DPF's functions, the same for every object of a kind.
CreateInstance dpfCreateInstance = nullptr;
FunknownQuery dpfComponentQuery = nullptr;
FunknownRef dpfComponentUnref = nullptr;

template <class T> T* Table(void* object) {
    return *static_cast<T**>(object);
}

// Host parameter index -> (min, max), as DPF normalises.
std::vector<std::pair<float, float>> Ranges() {
    const zkplug::UnitDescriptor& d = zkplug::ZK_PLUGIN_UNIT();
    std::vector<std::pair<float, float>> ranges;
    for (const zk::ParameterDef& p : d.parameters) {
        ranges.emplace_back(p.minValue, p.maxValue);
    }
    ranges.emplace_back(0.0f, 1.0f);                        // bypass
    ranges.emplace_back(0.0f, zkplug::kMaxAutoListenValue); // auto-listen display
    return ranges;
}

// The audio processor the host holds for one component.
struct Processor {
    Processor(void* component, void** dpf)
        : component(component), dpf(dpf),
          splitter(DISTRHO_NAMESPACE::kVst3InternalParameterCount, Ranges()) {}

    const v3_audio_processor_cpp* table; // first: the host's pointer is this object's
    void* const component;
    void** const dpf; // DPF's processor
    zkplug::Vst3BlockSplitter splitter;
    std::atomic<int> references{0};
    bool componentGone = false; // under registryMutex

    v3_audio_processor& Dpf() const { return Table<v3_audio_processor_cpp>(dpf)->proc; }
    static Processor* Of(void* self) { return static_cast<Processor*>(self); }
};

std::mutex registryMutex;
std::vector<std::unique_ptr<Processor>> registry;

void ForgetIfUnused(Processor* p) {
    const std::lock_guard<std::mutex> lock(registryMutex);
    if (p->componentGone && p->references.load() <= 0) {
        registry.erase(std::remove_if(registry.begin(), registry.end(),
                                      [p](const auto& entry) { return entry.get() == p; }),
                       registry.end());
    }
}

v3_result DpfProcess(void* context, v3_process_data* piece) {
    const Processor* p = static_cast<Processor*>(context);
    return p->Dpf().process(p->dpf, piece);
}

const v3_audio_processor_cpp kProcessorTable = [] {
    v3_audio_processor_cpp t{};
    t.query_interface = [](void* self, const v3_tuid iid, void** obj) -> v3_result {
        Processor* p = Processor::Of(self);
        const v3_result r = Table<v3_funknown>(p->dpf)->query_interface(p->dpf, iid, obj);
        if (r == V3_OK &&
            (v3_tuid_match(iid, v3_funknown_iid) || v3_tuid_match(iid, v3_audio_processor_iid))) {
            ++p->references;
            *obj = self;
        }
        return r;
    };
    t.ref = [](void* self) -> uint32_t {
        Processor* p = Processor::Of(self);
        ++p->references;
        return Table<v3_funknown>(p->dpf)->ref(p->dpf);
    };
    t.unref = [](void* self) -> uint32_t {
        Processor* p = Processor::Of(self);
        const uint32_t r = Table<v3_funknown>(p->dpf)->unref(p->dpf);
        --p->references;
        ForgetIfUnused(p);
        return r;
    };
    t.proc.set_bus_arrangements = [](void* self, v3_speaker_arrangement* in, int32_t inCount,
                                     v3_speaker_arrangement* out, int32_t outCount) -> v3_result {
        Processor* p = Processor::Of(self);
        return p->Dpf().set_bus_arrangements(p->dpf, in, inCount, out, outCount);
    };
    t.proc.get_bus_arrangement = [](void* self, int32_t direction, int32_t index,
                                    v3_speaker_arrangement* arrangement) -> v3_result {
        Processor* p = Processor::Of(self);
        return p->Dpf().get_bus_arrangement(p->dpf, direction, index, arrangement);
    };
    t.proc.can_process_sample_size = [](void* self, int32_t size) -> v3_result {
        Processor* p = Processor::Of(self);
        return p->Dpf().can_process_sample_size(p->dpf, size);
    };
    t.proc.get_latency_samples = [](void* self) -> uint32_t {
        Processor* p = Processor::Of(self);
        return p->Dpf().get_latency_samples(p->dpf);
    };
    t.proc.setup_processing = [](void* self, v3_process_setup* setup) -> v3_result {
        Processor* p = Processor::Of(self);
        return p->Dpf().setup_processing(p->dpf, setup);
    };
    t.proc.set_processing = [](void* self, v3_bool state) -> v3_result {
        Processor* p = Processor::Of(self);
        return p->Dpf().set_processing(p->dpf, state);
    };
    t.proc.process = [](void* self, v3_process_data* data) -> v3_result {
        if (data == nullptr) {
            return V3_INVALID_ARG;
        }
        Processor* p = Processor::Of(self);
        return p->splitter.Process(*data, &DpfProcess, p);
    };
    t.proc.get_tail_samples = [](void* self) -> uint32_t {
        Processor* p = Processor::Of(self);
        return p->Dpf().get_tail_samples(p->dpf);
    };
    return t;
}();

// The processor of this component, made on the first request (main thread).
void* ProcessorFor(void* component, void* dpfProcessor) {
    const std::lock_guard<std::mutex> lock(registryMutex);
    for (const auto& p : registry) {
        if (p->component == component && !p->componentGone) {
            ++p->references;
            return p.get();
        }
    }
    auto p = std::unique_ptr<Processor>(
        new (std::nothrow) Processor(component, static_cast<void**>(dpfProcessor)));
    if (p == nullptr) {
        return dpfProcessor; // DPF's, unsplit, rather than none
    }
    p->table = &kProcessorTable;
    p->references = 1;
    registry.push_back(std::move(p));
    return registry.back().get();
}

v3_result V3_API ComponentQuery(void* self, const v3_tuid iid, void** obj) {
    const v3_result r = dpfComponentQuery(self, iid, obj);
    if (r == V3_OK && obj != nullptr && *obj != nullptr &&
        v3_tuid_match(iid, v3_audio_processor_iid)) {
        *obj = ProcessorFor(self, *obj);
    }
    return r;
}

uint32_t V3_API ComponentUnref(void* self) {
    const uint32_t r = dpfComponentUnref(self);
    if (r == 0) {
        Processor* gone = nullptr;
        {
            const std::lock_guard<std::mutex> lock(registryMutex);
            for (const auto& p : registry) {
                if (p->component == self) {
                    p->componentGone = true;
                    gone = p.get();
                }
            }
        }
        if (gone != nullptr) {
            ForgetIfUnused(gone);
        }
    }
    return r;
}

v3_result V3_API FactoryCreateInstance(void* self, const v3_tuid classId, const v3_tuid iid,
                                       void** instance) {
    const v3_result r = dpfCreateInstance(self, classId, iid, instance);
    if (r != V3_OK || instance == nullptr || *instance == nullptr) {
        return r;
    }
    v3_class_info component{};
    auto& factory = Table<v3_plugin_factory_cpp>(self)->v1;
    if (factory.get_class_info(self, 0, &component) == V3_OK &&
        v3_tuid_match(classId, component.class_id)) {
        v3_funknown* c = Table<v3_funknown>(*instance);
        dpfComponentQuery = c->query_interface;
        dpfComponentUnref = c->unref;
        c->query_interface = &ComponentQuery;
        c->unref = &ComponentUnref;
    }
    return r;
}

} // namespace

extern "C" __attribute__((visibility("default"))) const void* GetPluginFactory(void) {
    const void* factory = zk_dpf_GetPluginFactory();
    if (factory == nullptr) {
        return nullptr;
    }
    // DPF makes a new factory object per call; only its own copy is amended.
    auto& v1 = Table<v3_plugin_factory_cpp>(const_cast<void*>(factory))->v1;
    dpfCreateInstance = v1.create_instance;
    v1.create_instance = &FactoryCreateInstance;
    return factory;
}
