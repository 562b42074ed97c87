#pragma once

// A small VST3 host for the tests: loads a .vst3 module with dlopen, creates the
// component through the factory, takes its audio processor and runs blocks with
// input parameter points, collecting the output parameter changes.

#include "src/travesty/audio_processor.h"
#include "src/travesty/component.h"
#include "src/travesty/factory.h"

#include <dlfcn.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace zktest {

// One parameter point, as a host sends or receives it.
struct Vst3Point {
    v3_param_id id;
    int32_t offset;
    double value; // normalised
};

// The host's parameter changes: one queue per id, read by the plug-in (input)
// or filled by it (output). COM objects with fixed addresses: not copyable.
class Vst3Changes {
public:
    explicit Vst3Changes(const std::vector<Vst3Point>& points = {}) {
        queues.reserve(1024); // queue addresses must stay put
        for (const Vst3Point& p : points) {
            Queue(p.id).points.push_back(p);
        }
    }
    Vst3Changes(const Vst3Changes&) = delete;
    Vst3Changes& operator=(const Vst3Changes&) = delete;

    v3_param_changes** Com() { return reinterpret_cast<v3_param_changes**>(&self); }
    // Every point, queue by queue.
    std::vector<Vst3Point> Points() const {
        std::vector<Vst3Point> out;
        for (const QueueObject& q : queues) {
            out.insert(out.end(), q.points.begin(), q.points.end());
        }
        return out;
    }

private:
    struct QueueObject {
        const v3_param_value_queue_cpp* table;
        v3_param_id id = 0;
        std::vector<Vst3Point> points;
    };
    struct Self {
        const v3_param_changes_cpp* table;
        Vst3Changes* owner;
    };

    QueueObject& Queue(v3_param_id id) {
        for (QueueObject& q : queues) {
            if (q.id == id) {
                return q;
            }
        }
        if (queues.size() == queues.capacity()) {
            throw std::runtime_error("too many parameter queues");
        }
        queues.push_back({&QueueTable(), id, {}});
        return queues.back();
    }

    static v3_result V3_API Query(void* self, const v3_tuid, void** obj) {
        *obj = self;
        return V3_OK;
    }
    static uint32_t V3_API Ref(void*) { return 1; }

    static const v3_param_value_queue_cpp& QueueTable() {
        static const v3_param_value_queue_cpp t = [] {
            v3_param_value_queue_cpp q{};
            q.query_interface = &Query;
            q.ref = &Ref;
            q.unref = &Ref;
            q.queue.get_param_id = [](void* s) { return static_cast<QueueObject*>(s)->id; };
            q.queue.get_point_count = [](void* s) {
                return static_cast<int32_t>(static_cast<QueueObject*>(s)->points.size());
            };
            q.queue.get_point = [](void* s, int32_t i, int32_t* offset, double* value) {
                auto& points = static_cast<QueueObject*>(s)->points;
                if (i < 0 || i >= static_cast<int32_t>(points.size())) {
                    return static_cast<v3_result>(V3_INVALID_ARG);
                }
                *offset = points[i].offset;
                *value = points[i].value;
                return static_cast<v3_result>(V3_OK);
            };
            q.queue.add_point = [](void* s, int32_t offset, double value, int32_t* index) {
                auto* queue = static_cast<QueueObject*>(s);
                queue->points.push_back({queue->id, offset, value});
                *index = static_cast<int32_t>(queue->points.size()) - 1;
                return static_cast<v3_result>(V3_OK);
            };
            return q;
        }();
        return t;
    }
    static const v3_param_changes_cpp& ChangesTable() {
        static const v3_param_changes_cpp t = [] {
            v3_param_changes_cpp c{};
            c.query_interface = &Query;
            c.ref = &Ref;
            c.unref = &Ref;
            c.changes.get_param_count = [](void* s) {
                return static_cast<int32_t>(static_cast<Self*>(s)->owner->queues.size());
            };
            c.changes.get_param_data = [](void* s, int32_t i) -> v3_param_value_queue** {
                auto& queues = static_cast<Self*>(s)->owner->queues;
                return i >= 0 && i < static_cast<int32_t>(queues.size())
                           ? reinterpret_cast<v3_param_value_queue**>(&queues[i])
                           : nullptr;
            };
            c.changes.add_param_data = [](void* s, v3_param_id* id,
                                          int32_t* index) -> v3_param_value_queue** {
                Vst3Changes* owner = static_cast<Self*>(s)->owner;
                QueueObject& q = owner->Queue(*id);
                *index = static_cast<int32_t>(&q - owner->queues.data());
                return reinterpret_cast<v3_param_value_queue**>(&q);
            };
            return c;
        }();
        return t;
    }

    Self self{&ChangesTable(), this};
    std::vector<QueueObject> queues;
};

// A loaded module with one component and its audio processor, set up and
// processing.
class Vst3Instance {
public:
    Vst3Instance(const std::string& path, double rate, int32_t maxFrames) {
        handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) {
            throw std::runtime_error("dlopen " + path + ": " + dlerror());
        }
        auto entry = reinterpret_cast<bool (*)(void*)>(dlsym(handle, "ModuleEntry"));
        auto getFactory = reinterpret_cast<const void* (*)()>(dlsym(handle, "GetPluginFactory"));
        if (entry == nullptr || getFactory == nullptr || !entry(handle)) {
            throw std::runtime_error("no VST3 entry in " + path);
        }
        factory = static_cast<v3_plugin_factory**>(const_cast<void*>(getFactory()));
        v3_class_info info{};
        if (factory == nullptr || v3_cpp_obj(factory)->get_class_info(factory, 0, &info) != V3_OK ||
            v3_cpp_obj(factory)->create_instance(factory, info.class_id, v3_component_iid,
                                                 reinterpret_cast<void**>(&component)) != V3_OK ||
            v3_cpp_obj_initialize(component, nullptr) != V3_OK ||
            v3_cpp_obj_query_interface(component, v3_audio_processor_iid, &processor) != V3_OK) {
            throw std::runtime_error("cannot create the component of " + path);
        }
        v3_process_setup setup{V3_OFFLINE, V3_SAMPLE_32, maxFrames, rate};
        if (v3_cpp_obj(processor)->setup_processing(processor, &setup) != V3_OK ||
            v3_cpp_obj(component)->set_active(component, 1) != V3_OK ||
            v3_cpp_obj(processor)->set_processing(processor, 1) != V3_OK) {
            throw std::runtime_error("cannot start processing in " + path);
        }
    }
    ~Vst3Instance() {
        v3_cpp_obj(processor)->set_processing(processor, 0);
        v3_cpp_obj(component)->set_active(component, 0);
        v3_cpp_obj_unref(processor);
        v3_cpp_obj_terminate(component);
        v3_cpp_obj_unref(component);
        v3_cpp_obj_unref(factory);
        if (auto exit = reinterpret_cast<bool (*)()>(dlsym(handle, "ModuleExit"))) {
            exit();
        }
        dlclose(handle);
    }
    Vst3Instance(const Vst3Instance&) = delete;
    Vst3Instance& operator=(const Vst3Instance&) = delete;

    // One block; in and out hold one pointer per channel. Returns the output
    // parameter points.
    std::vector<Vst3Point> Process(std::vector<float*> in, std::vector<float*> out, int32_t frames,
                                   const std::vector<Vst3Point>& points = {}) {
        Vst3Changes input(points);
        Vst3Changes output;
        v3_audio_bus_buffers inBus{};
        inBus.num_channels = static_cast<int32_t>(in.size());
        inBus.channel_buffers_32 = in.data();
        v3_audio_bus_buffers outBus{};
        outBus.num_channels = static_cast<int32_t>(out.size());
        outBus.channel_buffers_32 = out.data();
        v3_process_data data{};
        data.process_mode = V3_OFFLINE;
        data.symbolic_sample_size = V3_SAMPLE_32;
        data.nframes = frames;
        data.num_input_buses = 1;
        data.num_output_buses = 1;
        data.inputs = &inBus;
        data.outputs = &outBus;
        data.input_params = input.Com();
        data.output_params = output.Com();
        if (v3_cpp_obj(processor)->process(processor, &data) != V3_OK) {
            throw std::runtime_error("process failed");
        }
        return output.Points();
    }

private:
    void* handle = nullptr;
    v3_plugin_factory** factory = nullptr;
    v3_component** component = nullptr;
    v3_audio_processor** processor = nullptr;
};

} // namespace zktest
