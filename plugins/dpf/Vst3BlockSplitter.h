#pragma once

// Sample-accurate VST3 automation on top of DPF's process call, which applies a
// parameter's point at offset 0 before it renders and the queue's last point
// after, and drops the rest. The host block is cut at every point offset of
// every input parameter queue; DPF's process runs once per piece with input
// parameter changes holding one queue with one point at offset 0 for each point
// at the piece's start (several for one parameter when it has several there).
// Values sent in a call of zero frames, which DPF ignores, are applied at the
// start of the next call with frames.
//
// Around each piece a ProcessReport is installed; the parameters the unit set
// itself during that piece (a linked partner, the master link's switches, the
// other solo) go to the host's output parameter changes at the piece's first
// frame, normalised over the parameter's range as DPF normalises. What DPF adds
// to the output changes itself (meter readings at the piece's last frame) keeps
// its offset within the block.
//
// The audio thread never allocates, locks or waits here: every buffer is a
// fixed array in this object, the parameter ranges are fixed at construction.
// Queues or points beyond kMaxQueues, or output queues beyond kMaxOutQueues in
// one piece, are counted (the queues and points dropped, the output queues
// passed on unshifted).

#include "plugins/core/ProcessReport.h"
#include "src/travesty/audio_processor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace zkplug {

class Vst3BlockSplitter {
public:
    // The process call behind (DPF's).
    using Downstream = v3_result (*)(void* context, v3_process_data* piece);

    static constexpr std::int32_t kMaxQueues = 1024;    // input queues, and points in a piece
    static constexpr std::int32_t kMaxOutQueues = 1024; // output queues seen in one piece
    static constexpr std::int32_t kMaxBuses = 4;
    static constexpr std::int32_t kMaxChannels = 8;

    // `idOffset`: DPF's VST3 id of host parameter 0. `ranges`: (min, max) per
    // host parameter index, for normalising the unit's own changes.
    Vst3BlockSplitter(v3_param_id idOffset, std::vector<std::pair<float, float>> ranges);
    Vst3BlockSplitter(const Vst3BlockSplitter&) = delete;
    Vst3BlockSplitter& operator=(const Vst3BlockSplitter&) = delete;

    v3_result Process(const v3_process_data& block, Downstream next, void* context);

    // Diagnostics, read off the audio thread.
    std::uint64_t IgnoredQueues() const { return ignoredQueues; }
    std::uint64_t DroppedPoints() const { return droppedPoints; }
    std::uint64_t UnsplitBlocks() const { return unsplitBlocks; }
    std::uint64_t UnshiftedOutQueues() const { return unshiftedOutQueues; }
    std::uint64_t DroppedReports() const { return report.Dropped(); }

    // VST3's normalised value of a plain one over [min, max] (clamped).
    static double Normalised(double plain, float min, float max);

private:
    // One host queue being followed through the block.
    struct Followed {
        v3_param_value_queue** queue = nullptr;
        v3_param_id id = 0;
        std::int32_t count = 0;
        std::int32_t next = 0;       // index of the next point not applied
        std::int32_t nextOffset = 0; // its offset (valid when next < count)
    };

    // A parameter change handed to DPF: one point at offset 0.
    struct InQueue {
        const v3_param_value_queue_cpp* table;
        v3_param_id id = 0;
        double value = 0.0;
    };
    struct InChanges {
        const v3_param_changes_cpp* table;
        Vst3BlockSplitter* owner;
    };
    // A host output queue whose offsets are moved by the piece's start.
    struct OutQueue {
        const v3_param_value_queue_cpp* table;
        v3_param_value_queue** host = nullptr;
        Vst3BlockSplitter* owner = nullptr;
    };
    struct OutChanges {
        const v3_param_changes_cpp* table;
        Vst3BlockSplitter* owner;
    };

    bool BuffersFit(const v3_process_data& block) const;
    void Follow(const v3_process_data& block, std::int32_t frames);
    void Advance(Followed& f);
    std::int32_t NextStart(std::int32_t frames) const;
    void Collect(std::int32_t start);
    void Pass(v3_param_id id, double value);
    void HoldBack();
    v3_result RunPiece(const v3_process_data& block, std::int32_t start, std::int32_t frames,
                       Downstream next, void* context);
    void OffsetBuffers(const v3_process_data& block, v3_process_data& piece, std::int32_t start);
    void PushReport(v3_param_changes** out, std::int32_t offset);
    v3_param_value_queue** WrapOut(v3_param_value_queue** host);

    static const v3_param_value_queue_cpp kInQueueTable;
    static const v3_param_changes_cpp kInChangesTable;
    static const v3_param_value_queue_cpp kOutQueueTable;
    static const v3_param_changes_cpp kOutChangesTable;

    const v3_param_id idOffset;
    const std::vector<std::pair<float, float>> ranges;
    std::int32_t blockFrames = 0;

    std::array<Followed, kMaxQueues> followed{};
    std::int32_t followedCount = 0;
    std::array<InQueue, kMaxQueues> inQueues{};
    std::int32_t inCount = 0;
    InChanges inChanges{&kInChangesTable, this};
    struct Held {
        v3_param_id id;
        double value;
    };
    std::array<Held, kMaxQueues> held{};
    std::int32_t heldCount = 0;

    v3_param_changes** hostOut = nullptr;
    std::int32_t outOffset = 0;
    std::array<OutQueue, kMaxOutQueues> outQueues{};
    std::int32_t outCount = 0;
    OutChanges outChanges{&kOutChangesTable, this};

    v3_process_context context{};
    std::array<v3_audio_bus_buffers, kMaxBuses> inBuses{};
    std::array<v3_audio_bus_buffers, kMaxBuses> outBuses{};
    std::array<std::array<float*, kMaxChannels>, kMaxBuses> in32{}, out32{};

    ProcessReport report;

    std::uint64_t ignoredQueues = 0;
    std::uint64_t droppedPoints = 0;
    std::uint64_t unsplitBlocks = 0;
    std::uint64_t unshiftedOutQueues = 0;
};

} // namespace zkplug
