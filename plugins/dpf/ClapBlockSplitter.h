#pragma once

// Sample-accurate CLAP automation on top of a process call that applies every
// event before it renders: the host block is cut at the frame of each parameter
// value event, and the process call behind (DPF's) runs once per piece with only
// that piece's events, at times counted from the piece's start.
//
// Around each piece a ProcessReport is installed; the parameters the unit set
// itself during that piece (a linked partner, the master link's switches, the
// other solo) go to the host as parameter value events at the piece's first
// frame, after the events the process call pushed there and before its later
// ones (meter readings at the piece's last frame), so the output list stays in
// time order.
//
// Events the process call behind only logs about (gestures, modulation,
// transport: it reads the transport from the process record) and values for
// parameters it does not have are withheld from it.
//
// The audio thread never allocates, locks or waits here: every buffer is a
// fixed array in this object. A block with more events or pieces than fit is
// processed in several passes (the held events of an unfinished piece applied
// by a call of zero frames), so no event is moved off its frame; such passes
// are counted.

#include "plugins/core/ProcessReport.h"
#include "src/clap/events.h"
#include "src/clap/process.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace zkplug {

class ClapBlockSplitter {
public:
    // The process call behind, and the parameter flush behind.
    using Downstream = clap_process_status (*)(void* context, const clap_process_t* piece);
    using FlushDownstream = void (*)(void* context, const clap_input_events_t* in,
                                     const clap_output_events_t* out);

    static constexpr std::uint32_t kMaxEvents = 256;   // events held for one pass
    static constexpr std::uint32_t kMaxPieces = 64;    // pieces of one pass
    static constexpr std::uint32_t kMaxDeferred = 256; // output events held back in one piece
    static constexpr std::uint32_t kMaxPorts = 4;
    static constexpr std::uint32_t kMaxChannels = 8;

    // Parameter ids at or above this count are not passed on.
    explicit ClapBlockSplitter(std::uint32_t parameterCount);
    ClapBlockSplitter(const ClapBlockSplitter&) = delete;
    ClapBlockSplitter& operator=(const ClapBlockSplitter&) = delete;

    clap_process_status Process(const clap_process_t& block, Downstream next, void* context);
    // params.flush: values outside processing, with the report installed too; the
    // unit's own changes follow as output events at time 0.
    void Flush(const clap_input_events_t* in, const clap_output_events_t* out, FlushDownstream next,
               void* context);

    // Diagnostics, read off the audio thread.
    std::uint64_t ExtraPasses() const { return extraPasses; } // blocks too busy for one pass
    std::uint64_t UnsplitBlocks() const {
        return unsplitBlocks;
    }                                                       // buffers beyond kMaxPorts/Channels
    std::uint64_t OutOfOrder() const { return outOfOrder; } // output pushed early (deferral full)
    std::uint64_t DroppedReports() const { return report.Dropped(); }

private:
    struct alignas(8) EventCopy {
        unsigned char bytes[64];
    };
    struct Held {
        const clap_event_header_t* event = nullptr; // into copy, or the host's own
        EventCopy copy;
    };
    struct Piece {
        std::uint32_t start = 0; // frame in the block
        std::uint32_t first = 0; // held events [first, end)
        std::uint32_t end = 0;
    };

    bool PassedOn(const clap_event_header_t* e) const;
    void Hold(const clap_event_header_t* e, std::uint32_t time);
    bool BuffersFit(const clap_process_t& block) const;
    clap_process_status RunPiece(const clap_process_t& block, const Piece& piece,
                                 std::uint32_t frames, Downstream next, void* context);
    void OffsetBuffers(const clap_process_t& block, clap_process_t& piece, std::uint32_t start);
    void PushReport(const clap_output_events_t* out, std::uint32_t time);

    static std::uint32_t CLAP_ABI InSize(const clap_input_events_t* list);
    static const clap_event_header_t* CLAP_ABI InGet(const clap_input_events_t* list,
                                                     std::uint32_t index);
    static bool CLAP_ABI OutPush(const clap_output_events_t* list, const clap_event_header_t* e);

    const std::uint32_t parameterCount;

    std::array<Held, kMaxEvents> held{};
    std::uint32_t heldCount = 0;
    std::array<Piece, kMaxPieces> pieces{};

    // The piece being run: its events, where its output goes, what it holds back.
    clap_input_events_t inList{};
    std::uint32_t inFirst = 0;
    std::uint32_t inEnd = 0;
    clap_output_events_t outList{};
    const clap_output_events_t* hostOut = nullptr;
    std::uint32_t outOffset = 0;
    std::array<EventCopy, kMaxDeferred> deferred{};
    std::uint32_t deferredCount = 0;

    std::array<clap_audio_buffer_t, kMaxPorts> inPorts{};
    std::array<clap_audio_buffer_t, kMaxPorts> outPorts{};
    std::array<std::array<float*, kMaxChannels>, kMaxPorts> in32{}, out32{};
    std::array<std::array<double*, kMaxChannels>, kMaxPorts> in64{}, out64{};

    ProcessReport report;

    std::uint64_t extraPasses = 0;
    std::uint64_t unsplitBlocks = 0;
    std::uint64_t outOfOrder = 0;
};

} // namespace zkplug
