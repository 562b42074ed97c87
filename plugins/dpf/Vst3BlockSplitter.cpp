#include "plugins/dpf/Vst3BlockSplitter.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace zkplug {

namespace {

// The COM objects below are referenced only for the length of one process call:
// counting references would change nothing.
uint32_t V3_API NoRef(void*) {
    return 1;
}

template <class Object> Object* Self(void* self) {
    return static_cast<Object*>(self);
}

bool AnyOf(const v3_tuid iid, const v3_tuid a, const v3_tuid b) {
    return v3_tuid_match(iid, a) || v3_tuid_match(iid, b);
}

} // namespace

// --- the changes handed to DPF: one point at offset 0 per parameter ---------

const v3_param_value_queue_cpp Vst3BlockSplitter::kInQueueTable = [] {
    v3_param_value_queue_cpp t{};
    t.query_interface = [](void* self, const v3_tuid iid, void** obj) -> v3_result {
        const bool ok = AnyOf(iid, v3_funknown_iid, v3_param_value_queue_iid);
        *obj = ok ? self : nullptr;
        return ok ? V3_OK : V3_NO_INTERFACE;
    };
    t.ref = &NoRef;
    t.unref = &NoRef;
    t.queue.get_param_id = [](void* self) -> v3_param_id { return Self<InQueue>(self)->id; };
    t.queue.get_point_count = [](void*) -> int32_t { return 1; };
    t.queue.get_point = [](void* self, int32_t idx, int32_t* offset, double* value) -> v3_result {
        if (idx != 0 || offset == nullptr || value == nullptr) {
            return V3_INVALID_ARG;
        }
        *offset = 0;
        *value = Self<InQueue>(self)->value;
        return V3_OK;
    };
    t.queue.add_point = [](void*, int32_t, double, int32_t*) -> v3_result {
        return V3_INVALID_ARG;
    };
    return t;
}();

const v3_param_changes_cpp Vst3BlockSplitter::kInChangesTable = [] {
    v3_param_changes_cpp t{};
    t.query_interface = [](void* self, const v3_tuid iid, void** obj) -> v3_result {
        const bool ok = AnyOf(iid, v3_funknown_iid, v3_param_changes_iid);
        *obj = ok ? self : nullptr;
        return ok ? V3_OK : V3_NO_INTERFACE;
    };
    t.ref = &NoRef;
    t.unref = &NoRef;
    t.changes.get_param_count = [](void* self) -> int32_t {
        return Self<InChanges>(self)->owner->inCount;
    };
    t.changes.get_param_data = [](void* self, int32_t idx) -> v3_param_value_queue** {
        Vst3BlockSplitter* owner = Self<InChanges>(self)->owner;
        return idx >= 0 && idx < owner->inCount
                   ? reinterpret_cast<v3_param_value_queue**>(&owner->inQueues[idx])
                   : nullptr;
    };
    t.changes.add_param_data = [](void*, v3_param_id*, int32_t*) -> v3_param_value_queue** {
        return nullptr;
    };
    return t;
}();

// --- the host's output changes, offsets moved by the piece's start ----------

const v3_param_value_queue_cpp Vst3BlockSplitter::kOutQueueTable = [] {
    v3_param_value_queue_cpp t{};
    t.query_interface = [](void* self, const v3_tuid iid, void** obj) -> v3_result {
        const bool ok = AnyOf(iid, v3_funknown_iid, v3_param_value_queue_iid);
        *obj = ok ? self : nullptr;
        return ok ? V3_OK : V3_NO_INTERFACE;
    };
    t.ref = &NoRef;
    t.unref = &NoRef;
    t.queue.get_param_id = [](void* self) -> v3_param_id {
        v3_param_value_queue** host = Self<OutQueue>(self)->host;
        return v3_cpp_obj(host)->get_param_id(host);
    };
    t.queue.get_point_count = [](void* self) -> int32_t {
        v3_param_value_queue** host = Self<OutQueue>(self)->host;
        return v3_cpp_obj(host)->get_point_count(host);
    };
    t.queue.get_point = [](void* self, int32_t idx, int32_t* offset, double* value) -> v3_result {
        const OutQueue* q = Self<OutQueue>(self);
        const v3_result r = v3_cpp_obj(q->host)->get_point(q->host, idx, offset, value);
        if (r == V3_OK && offset != nullptr) {
            *offset -= q->owner->outOffset;
        }
        return r;
    };
    t.queue.add_point = [](void* self, int32_t offset, double value, int32_t* idx) -> v3_result {
        const OutQueue* q = Self<OutQueue>(self);
        return v3_cpp_obj(q->host)->add_point(q->host, offset + q->owner->outOffset, value, idx);
    };
    return t;
}();

const v3_param_changes_cpp Vst3BlockSplitter::kOutChangesTable = [] {
    v3_param_changes_cpp t{};
    t.query_interface = [](void* self, const v3_tuid iid, void** obj) -> v3_result {
        const bool ok = AnyOf(iid, v3_funknown_iid, v3_param_changes_iid);
        *obj = ok ? self : nullptr;
        return ok ? V3_OK : V3_NO_INTERFACE;
    };
    t.ref = &NoRef;
    t.unref = &NoRef;
    t.changes.get_param_count = [](void* self) -> int32_t {
        v3_param_changes** host = Self<OutChanges>(self)->owner->hostOut;
        return host != nullptr ? v3_cpp_obj(host)->get_param_count(host) : 0;
    };
    t.changes.get_param_data = [](void* self, int32_t idx) -> v3_param_value_queue** {
        Vst3BlockSplitter* owner = Self<OutChanges>(self)->owner;
        v3_param_changes** host = owner->hostOut;
        return host != nullptr ? owner->WrapOut(v3_cpp_obj(host)->get_param_data(host, idx))
                               : nullptr;
    };
    t.changes.add_param_data = [](void* self, v3_param_id* id,
                                  int32_t* index) -> v3_param_value_queue** {
        Vst3BlockSplitter* owner = Self<OutChanges>(self)->owner;
        v3_param_changes** host = owner->hostOut;
        return host != nullptr ? owner->WrapOut(v3_cpp_obj(host)->add_param_data(host, id, index))
                               : nullptr;
    };
    return t;
}();

Vst3BlockSplitter::Vst3BlockSplitter(v3_param_id idOffset,
                                     std::vector<std::pair<float, float>> ranges)
    : idOffset(idOffset), ranges(std::move(ranges)) {
    for (InQueue& q : inQueues) {
        q.table = &kInQueueTable;
    }
    for (OutQueue& q : outQueues) {
        q.table = &kOutQueueTable;
        q.owner = this;
    }
}

double Vst3BlockSplitter::Normalised(double plain, float min, float max) {
    if (!(max > min)) {
        return 0.0;
    }
    const double n = (plain - min) / (static_cast<double>(max) - min);
    return std::clamp(n, 0.0, 1.0);
}

v3_param_value_queue** Vst3BlockSplitter::WrapOut(v3_param_value_queue** host) {
    if (host == nullptr || outOffset == 0) {
        return host;
    }
    for (std::int32_t i = 0; i < outCount; ++i) {
        if (outQueues[i].host == host) {
            return reinterpret_cast<v3_param_value_queue**>(&outQueues[i]);
        }
    }
    if (outCount == kMaxOutQueues) {
        ++unshiftedOutQueues;
        return host;
    }
    outQueues[outCount].host = host;
    return reinterpret_cast<v3_param_value_queue**>(&outQueues[outCount++]);
}

bool Vst3BlockSplitter::BuffersFit(const v3_process_data& block) const {
    auto fits = [](const v3_audio_bus_buffers* buses, int32_t count) {
        if (count < 0 || count > kMaxBuses || (count > 0 && buses == nullptr)) {
            return false;
        }
        for (int32_t i = 0; i < count; ++i) {
            if (buses[i].num_channels < 0 || buses[i].num_channels > kMaxChannels) {
                return false;
            }
        }
        return true;
    };
    return block.symbolic_sample_size == V3_SAMPLE_32 &&
           fits(block.inputs, block.num_input_buses) && fits(block.outputs, block.num_output_buses);
}

// A point's offset within the block; out-of-range offsets are clamped, an
// unreadable point counts as one at the block's start.
void Vst3BlockSplitter::Advance(Followed& f) {
    if (f.next >= f.count) {
        return;
    }
    int32_t offset = 0;
    double value = 0.0;
    if (v3_cpp_obj(f.queue)->get_point(f.queue, f.next, &offset, &value) != V3_OK) {
        offset = 0;
    }
    f.nextOffset = std::clamp(offset, 0, std::max(blockFrames - 1, 0));
}

void Vst3BlockSplitter::Follow(const v3_process_data& block, std::int32_t frames) {
    blockFrames = frames;
    followedCount = 0;
    v3_param_changes** in = block.input_params;
    const int32_t count = in != nullptr ? v3_cpp_obj(in)->get_param_count(in) : 0;
    for (int32_t i = 0; i < count; ++i) {
        v3_param_value_queue** queue = v3_cpp_obj(in)->get_param_data(in, i);
        if (queue == nullptr) {
            continue;
        }
        if (followedCount == kMaxQueues) {
            ++ignoredQueues;
            continue;
        }
        Followed& f = followed[followedCount++];
        f.queue = queue;
        f.id = v3_cpp_obj(queue)->get_param_id(queue);
        f.count = std::max(v3_cpp_obj(queue)->get_point_count(queue), 0);
        f.next = 0;
        Advance(f);
    }
}

std::int32_t Vst3BlockSplitter::NextStart(std::int32_t frames) const {
    int32_t next = frames;
    for (int32_t i = 0; i < followedCount; ++i) {
        const Followed& f = followed[i];
        if (f.next < f.count) {
            next = std::min(next, f.nextOffset);
        }
    }
    return next;
}

// Every point up to `start` becomes a change at offset 0 of its own, in queue
// order, so that DPF applies each value (several for one parameter at one frame
// as well: DPF reads only a queue's first point). Values held back from a call
// of zero frames, which DPF does not apply, come first.
void Vst3BlockSplitter::Collect(std::int32_t start) {
    inCount = 0;
    if (blockFrames > 0) {
        for (std::int32_t i = 0; i < heldCount; ++i) {
            Pass(held[i].id, held[i].value);
        }
        heldCount = 0;
    }
    for (int32_t i = 0; i < followedCount; ++i) {
        Followed& f = followed[i];
        while (f.next < f.count && f.nextOffset <= start) {
            int32_t offset = 0;
            double value = 0.0;
            if (v3_cpp_obj(f.queue)->get_point(f.queue, f.next, &offset, &value) == V3_OK) {
                Pass(f.id, value);
            }
            ++f.next;
            Advance(f);
        }
    }
}

void Vst3BlockSplitter::Pass(v3_param_id id, double value) {
    if (inCount == kMaxQueues) {
        ++droppedPoints;
        return;
    }
    inQueues[inCount].id = id;
    inQueues[inCount].value = value;
    ++inCount;
}

// DPF applies no input parameter in a call of zero frames (hosts make them to
// pass values while stopped): such values wait for the next call with frames.
void Vst3BlockSplitter::HoldBack() {
    for (std::int32_t i = 0; i < inCount; ++i) {
        if (heldCount == kMaxQueues) {
            ++droppedPoints;
            continue;
        }
        held[heldCount++] = {inQueues[i].id, inQueues[i].value};
    }
    inCount = 0;
}

void Vst3BlockSplitter::OffsetBuffers(const v3_process_data& block, v3_process_data& piece,
                                      std::int32_t start) {
    auto offset = [start](const v3_audio_bus_buffers* from, int32_t count, v3_audio_bus_buffers* to,
                          auto& ptr) {
        for (int32_t i = 0; i < count; ++i) {
            to[i] = from[i];
            if (from[i].channel_buffers_32 != nullptr) {
                for (int32_t c = 0; c < from[i].num_channels; ++c) {
                    float* p = from[i].channel_buffers_32[c];
                    ptr[i][c] = p != nullptr ? p + start : nullptr;
                }
                to[i].channel_buffers_32 = ptr[i].data();
            }
        }
    };
    offset(block.inputs, block.num_input_buses, inBuses.data(), in32);
    offset(block.outputs, block.num_output_buses, outBuses.data(), out32);
    piece.inputs = block.num_input_buses > 0 ? inBuses.data() : block.inputs;
    piece.outputs = block.num_output_buses > 0 ? outBuses.data() : block.outputs;
}

void Vst3BlockSplitter::PushReport(v3_param_changes** out, std::int32_t offset) {
    if (out == nullptr) {
        return;
    }
    for (std::size_t i = 0; i < report.Size(); ++i) {
        const ReportedChange& c = report[i];
        if (c.index >= ranges.size()) {
            continue;
        }
        v3_param_id id = idOffset + c.index;
        int32_t index = 0;
        v3_param_value_queue** queue = v3_cpp_obj(out)->add_param_data(out, &id, &index);
        if (queue != nullptr) {
            int32_t point = 0;
            const auto [min, max] = ranges[c.index];
            v3_cpp_obj(queue)->add_point(queue, offset, Normalised(c.value, min, max), &point);
        }
    }
}

v3_result Vst3BlockSplitter::RunPiece(const v3_process_data& block, std::int32_t start,
                                      std::int32_t frames, Downstream next, void* ctx) {
    v3_process_data piece = block;
    piece.nframes = frames;
    if (start > 0) {
        OffsetBuffers(block, piece, start);
        if (block.ctx != nullptr) {
            context = *block.ctx;
            context.project_time_in_samples += start;
            context.continuous_time_in_samples += start;
            piece.ctx = &context;
        }
    }
    piece.input_params = reinterpret_cast<v3_param_changes**>(&inChanges);
    hostOut = block.output_params;
    outOffset = start;
    outCount = 0;
    // DPF adds its readings to the output changes in every call; a host that
    // gave none gets them dropped here instead of an assertion in DPF.
    piece.output_params = reinterpret_cast<v3_param_changes**>(&outChanges);

    report.Clear();
    v3_result result;
    {
        ScopedProcessReport scope(report);
        result = next(ctx, &piece);
    }
    PushReport(hostOut, start);
    hostOut = nullptr;
    return result;
}

v3_result Vst3BlockSplitter::Process(const v3_process_data& block, Downstream next, void* context) {
    const int32_t frames = std::max(block.nframes, 0);
    const bool splittable = BuffersFit(block);
    if (!splittable) {
        ++unsplitBlocks;
    }
    Follow(block, frames);
    int32_t start = 0;
    for (;;) {
        // A block whose buffers do not fit takes every value at its start.
        Collect(splittable ? start : std::numeric_limits<int32_t>::max());
        if (frames == 0) {
            HoldBack();
        }
        const int32_t end = splittable ? NextStart(frames) : frames;
        const v3_result result = RunPiece(block, start, end - start, next, context);
        if (result != V3_OK || end >= frames) {
            return result;
        }
        start = end;
    }
}

} // namespace zkplug
