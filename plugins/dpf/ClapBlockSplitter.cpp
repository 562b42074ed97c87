#include "plugins/dpf/ClapBlockSplitter.h"

#include <algorithm>
#include <cstring>

namespace zkplug {

namespace {

bool IsParameterValue(const clap_event_header_t* e) {
    return e->space_id == CLAP_CORE_EVENT_SPACE_ID && e->type == CLAP_EVENT_PARAM_VALUE;
}

clap_event_param_value_t ValueEvent(std::uint32_t time, std::uint32_t id, double value) {
    clap_event_param_value_t e{};
    e.header.size = sizeof e;
    e.header.time = time;
    e.header.space_id = CLAP_CORE_EVENT_SPACE_ID;
    e.header.type = CLAP_EVENT_PARAM_VALUE;
    e.header.flags = 0;
    e.param_id = id;
    e.note_id = -1;
    e.port_index = -1;
    e.channel = -1;
    e.key = -1;
    e.value = value;
    return e;
}

} // namespace

ClapBlockSplitter::ClapBlockSplitter(std::uint32_t parameterCount)
    : parameterCount(parameterCount) {
    inList.ctx = this;
    inList.size = &InSize;
    inList.get = &InGet;
    outList.ctx = this;
    outList.try_push = &OutPush;
}

bool ClapBlockSplitter::PassedOn(const clap_event_header_t* e) const {
    if (e == nullptr || e->space_id != CLAP_CORE_EVENT_SPACE_ID) {
        return false;
    }
    switch (e->type) {
    case CLAP_EVENT_PARAM_VALUE: {
        if (e->size != sizeof(clap_event_param_value_t)) {
            return false;
        }
        clap_event_param_value_t v;
        std::memcpy(&v, e, sizeof v);
        return v.param_id < parameterCount;
    }
    case CLAP_EVENT_PARAM_MOD:
    case CLAP_EVENT_PARAM_GESTURE_BEGIN:
    case CLAP_EVENT_PARAM_GESTURE_END:
    case CLAP_EVENT_TRANSPORT:
        return false;
    default:
        return true;
    }
}

void ClapBlockSplitter::Hold(const clap_event_header_t* e, std::uint32_t time) {
    Held& h = held[heldCount++];
    if (e->size <= sizeof h.copy.bytes && e->size >= sizeof(clap_event_header_t)) {
        std::memcpy(h.copy.bytes, e, e->size);
        auto* copy = reinterpret_cast<clap_event_header_t*>(h.copy.bytes);
        copy->time = time;
        h.event = copy;
    } else {
        h.event = e; // too large to copy: it keeps the host's time
    }
}

bool ClapBlockSplitter::BuffersFit(const clap_process_t& block) const {
    auto fits = [](const clap_audio_buffer_t* ports, std::uint32_t count) {
        if (count > kMaxPorts || (count > 0 && ports == nullptr)) {
            return false;
        }
        for (std::uint32_t i = 0; i < count; ++i) {
            if (ports[i].channel_count > kMaxChannels) {
                return false;
            }
        }
        return true;
    };
    return fits(block.audio_inputs, block.audio_inputs_count) &&
           fits(block.audio_outputs, block.audio_outputs_count);
}

clap_process_status ClapBlockSplitter::Process(const clap_process_t& block, Downstream next,
                                               void* context) {
    const std::uint32_t frames = block.frames_count;
    const clap_input_events_t* in = block.in_events;
    const std::uint32_t total = (in != nullptr && in->size != nullptr) ? in->size(in) : 0;
    const bool splittable = BuffersFit(block);
    if (!splittable) {
        ++unsplitBlocks;
    }
    const std::uint32_t lastFrame = frames > 0 ? frames - 1 : 0;

    clap_process_status status = CLAP_PROCESS_CONTINUE;
    std::uint32_t nextEvent = 0;
    std::uint32_t passStart = 0;
    for (;;) {
        heldCount = 0;
        std::uint32_t pieceCount = 1;
        pieces[0] = {passStart, 0, 0};
        std::uint32_t passEnd = frames;
        bool morePieces = false;     // the pass ends before the block does
        bool unfinishedLast = false; // the last piece's events did not all fit
        while (nextEvent < total) {
            const clap_event_header_t* e = in->get(in, nextEvent);
            if (!PassedOn(e)) {
                ++nextEvent;
                continue;
            }
            Piece& current = pieces[pieceCount - 1];
            // Late or unsorted events join the current piece; none lies past the block.
            const std::uint32_t time =
                splittable ? std::max(current.start, std::min(e->time, lastFrame)) : current.start;
            if (IsParameterValue(e) && time > current.start) {
                if (pieceCount == kMaxPieces) {
                    passEnd = time;
                    morePieces = true;
                    break;
                }
                current.end = heldCount;
                pieces[pieceCount++] = {time, heldCount, heldCount};
            }
            if (heldCount == kMaxEvents) {
                unfinishedLast = true;
                break;
            }
            Hold(e, time - pieces[pieceCount - 1].start);
            ++nextEvent;
        }
        pieces[pieceCount - 1].end = heldCount;

        for (std::uint32_t i = 0; i < pieceCount; ++i) {
            const bool last = i + 1 == pieceCount;
            const std::uint32_t end = last ? passEnd : pieces[i + 1].start;
            const std::uint32_t length = (last && unfinishedLast) ? 0 : end - pieces[i].start;
            status = RunPiece(block, pieces[i], length, next, context);
            if (status == CLAP_PROCESS_ERROR) {
                return status;
            }
        }
        if (!morePieces && !unfinishedLast) {
            return status;
        }
        ++extraPasses;
        passStart = unfinishedLast ? pieces[pieceCount - 1].start : passEnd;
    }
}

void ClapBlockSplitter::OffsetBuffers(const clap_process_t& block, clap_process_t& piece,
                                      std::uint32_t start) {
    auto offset = [start](const clap_audio_buffer_t* from, std::uint32_t count,
                          clap_audio_buffer_t* to, auto& ptr32, auto& ptr64) {
        for (std::uint32_t i = 0; i < count; ++i) {
            to[i] = from[i];
            if (from[i].data32 != nullptr) {
                for (std::uint32_t c = 0; c < from[i].channel_count; ++c) {
                    float* p = from[i].data32[c];
                    ptr32[i][c] = p != nullptr ? p + start : nullptr;
                }
                to[i].data32 = ptr32[i].data();
            }
            if (from[i].data64 != nullptr) {
                for (std::uint32_t c = 0; c < from[i].channel_count; ++c) {
                    double* p = from[i].data64[c];
                    ptr64[i][c] = p != nullptr ? p + start : nullptr;
                }
                to[i].data64 = ptr64[i].data();
            }
        }
    };
    offset(block.audio_inputs, block.audio_inputs_count, inPorts.data(), in32, in64);
    offset(block.audio_outputs, block.audio_outputs_count, outPorts.data(), out32, out64);
    piece.audio_inputs = block.audio_inputs_count > 0 ? inPorts.data() : block.audio_inputs;
    piece.audio_outputs = block.audio_outputs_count > 0 ? outPorts.data() : block.audio_outputs;
}

clap_process_status ClapBlockSplitter::RunPiece(const clap_process_t& block, const Piece& p,
                                                std::uint32_t frames, Downstream next,
                                                void* context) {
    clap_process_t piece = block;
    piece.frames_count = frames;
    if (block.steady_time >= 0) {
        piece.steady_time = block.steady_time + p.start;
    }
    if (p.start > 0) {
        OffsetBuffers(block, piece, p.start);
    }
    inFirst = p.first;
    inEnd = p.end;
    piece.in_events = &inList;
    hostOut = block.out_events;
    outOffset = p.start;
    deferredCount = 0;
    piece.out_events = hostOut != nullptr ? &outList : nullptr;

    report.Clear();
    clap_process_status status;
    {
        ScopedProcessReport scope(report);
        status = next(context, &piece);
    }
    PushReport(hostOut, p.start);
    for (std::uint32_t i = 0; i < deferredCount; ++i) {
        hostOut->try_push(hostOut, reinterpret_cast<const clap_event_header_t*>(deferred[i].bytes));
    }
    deferredCount = 0;
    hostOut = nullptr;
    return status;
}

void ClapBlockSplitter::PushReport(const clap_output_events_t* out, std::uint32_t time) {
    if (out == nullptr || out->try_push == nullptr) {
        return;
    }
    for (std::size_t i = 0; i < report.Size(); ++i) {
        const clap_event_param_value_t e = ValueEvent(time, report[i].index, report[i].value);
        out->try_push(out, &e.header);
    }
}

void ClapBlockSplitter::Flush(const clap_input_events_t* in, const clap_output_events_t* out,
                              FlushDownstream next, void* context) {
    const std::uint32_t total = (in != nullptr && in->size != nullptr) ? in->size(in) : 0;
    std::uint32_t nextEvent = 0;
    do {
        heldCount = 0;
        for (; nextEvent < total && heldCount < kMaxEvents; ++nextEvent) {
            const clap_event_header_t* e = in->get(in, nextEvent);
            if (PassedOn(e) && IsParameterValue(e)) {
                Hold(e, 0);
            }
        }
        inFirst = 0;
        inEnd = heldCount;
        report.Clear();
        {
            ScopedProcessReport scope(report);
            next(context, &inList, out);
        }
        PushReport(out, 0);
    } while (nextEvent < total);
}

std::uint32_t CLAP_ABI ClapBlockSplitter::InSize(const clap_input_events_t* list) {
    const auto* self = static_cast<const ClapBlockSplitter*>(list->ctx);
    return self->inEnd - self->inFirst;
}

const clap_event_header_t* CLAP_ABI ClapBlockSplitter::InGet(const clap_input_events_t* list,
                                                             std::uint32_t index) {
    const auto* self = static_cast<const ClapBlockSplitter*>(list->ctx);
    return index < self->inEnd - self->inFirst ? self->held[self->inFirst + index].event : nullptr;
}

bool CLAP_ABI ClapBlockSplitter::OutPush(const clap_output_events_t* list,
                                         const clap_event_header_t* e) {
    auto* self = static_cast<ClapBlockSplitter*>(list->ctx);
    const clap_output_events_t* out = self->hostOut;
    if (e == nullptr || out == nullptr || out->try_push == nullptr) {
        return false;
    }
    EventCopy copy;
    if (e->size > sizeof copy.bytes || e->size < sizeof(clap_event_header_t)) {
        ++self->outOfOrder;
        return out->try_push(out, e);
    }
    std::memcpy(copy.bytes, e, e->size);
    auto* header = reinterpret_cast<clap_event_header_t*>(copy.bytes);
    header->time += self->outOffset;
    if (header->time == self->outOffset) {
        return out->try_push(out, header);
    }
    if (self->deferredCount == kMaxDeferred) {
        ++self->outOfOrder;
        return out->try_push(out, header);
    }
    self->deferred[self->deferredCount++] = copy;
    return true;
}

} // namespace zkplug
