#pragma once

// The format-independent body of a plug-in: it owns one unit and turns host calls
// into unit calls.
//
// Host values and the editor's gestures are queued as they come (any thread) and
// applied by Process on the audio thread, all that came since the last Process, in
// order and as one batch, before its frames are rendered: a format that calls
// Process once per segment between events gets every change on its frame. The
// framework's parameter listener, with its interval and coalescing, is not used:
// what the unit plays depends only on the host's events and the block schedule.
//
// Threads: the constructor, Activate, Deactivate, SaveState and RestoreState run
// on the host's main thread; Process, SetParameter, SetBypass, GetParameter and
// HandleEditorEvent may run on any thread (Process on the audio thread) and never
// allocate, lock or log.

#include "framework/AUBase.h"
#include "framework/Component.h"
#include "framework/LockFreeQueue.h"
#include "plugins/core/HostParameters.h"
#include "plugins/core/UnitDescriptor.h"
#include "units/ZkmorvaAU.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zkplug {

// Where the unit's own parameter changes go: to the host, by the format's means.
class OwnChangeSink {
public:
    virtual void ParameterSetByUnit(std::uint32_t index, float value) = 0;

protected:
    ~OwnChangeSink() = default;
};

class PluginCore {
public:
    // The unit's block size is the host's announced one, kept within these bounds;
    // larger host blocks are processed in pieces.
    static constexpr UInt32 kMinUnitFrames = 256;
    static constexpr UInt32 kMaxUnitFrames = 8192;
    static constexpr UInt32 kMaxChannels = 8;

    explicit PluginCore(const UnitDescriptor& descriptor);
    ~PluginCore();
    PluginCore(const PluginCore&) = delete;
    PluginCore& operator=(const PluginCore&) = delete;

    // False when the unit could not be opened: the plug-in then passes audio through.
    bool IsValid() const { return unit != nullptr; }
    UInt32 Channels() const { return descriptor.channels; }
    const std::vector<HostParameter>& Parameters() const { return parameters; }

    // Host parameter index (table order) -> value. Inputs are stored in the unit
    // (so the host reads them back at once) and queued for the next Process;
    // non-finite values are ignored, others clamped to the range. Outputs (meters)
    // are ignored.
    void SetParameter(std::size_t index, float value);
    // Inputs: the stored value. Meters: the unit's reading.
    float GetParameter(std::size_t index) const;
    // Host bypass: the unit's latency-matched dry path.
    void SetBypass(bool on);
    bool IsBypassed() const;

    // Editor events from the plug-in UI (EditorLink.h), queued with the host's
    // values: a gesture begins or ends auto-listen; "textbox" sets property 65536.
    // Malformed messages and ids that are not input parameters are ignored (false).
    bool HandleEditorEvent(std::string_view message);
    // The unit's auto-listen display (property 65537), encoded for an output parameter.
    float AutoListenDisplayValue() const;

    // Initialises the unit for this rate and block size (its reset pushes every
    // stored value). Returns false, after logging, when the unit refuses.
    bool Activate(double sampleRate, UInt32 hostBlockFrames);
    void Deactivate();
    bool IsActive() const { return active; }
    // The unit's latency in frames at the activated rate (0 before activation).
    UInt32 LatencyFrames() const { return latencyFrames; }
    UInt32 UnitMaxFrames() const { return unitMaxFrames; }

    // Applies what was queued, then renders any number of frames, in place or not.
    // The unit answers changes with changes of its own (a linked partner, the
    // master link's switches, the other solo) only when `sink` takes them to the
    // host; null when the host cannot hear them. Before activation, or if the unit
    // refuses a block, input is copied to output.
    void Process(const float* const* inputs, float* const* outputs, UInt32 frames,
                 OwnChangeSink* sink = nullptr);

    // The class-information document, the same as the renderer's presets.
    std::string SaveState() const;
    // Restores every parameter from a document. A foreign or broken document is
    // refused and changes nothing; the first refusal is logged.
    bool RestoreState(std::string_view document);
    // Whether a document would be accepted by a unit of this kind (checked on a
    // scratch unit; main thread).
    static bool IsAcceptableState(const UnitDescriptor& descriptor, std::string_view document);

    // Blocks the unit refused (passed through instead); for diagnostics.
    std::uint64_t RefusedBlocks() const { return refusedBlocks.load(std::memory_order_relaxed); }
    // Events that found the queue full (every parameter was then re-read); diagnostics.
    std::uint64_t OverflowedEvents() const {
        return overflowedEvents.load(std::memory_order_relaxed);
    }

    // Text-box events travel in the queue with this type.
    static constexpr AudioUnitEventType kTextBoxEvent = 100;
    static constexpr std::size_t kQueueCapacity = 4096;

private:
    void Queue(const zk::ParameterEvent& event);
    void ApplyQueued(OwnChangeSink* sink);
    void PassThrough(const float* const* inputs, float* const* outputs, UInt32 frames);
    void LogOnce(std::atomic<bool>& flag, const std::string& message) const;

    const UnitDescriptor& descriptor;
    AudioUnitPtr unit;
    CZkmorvaAU* zkUnit = nullptr; // the same unit, for its event entry
    std::vector<HostParameter> parameters;
    std::vector<std::uint32_t> indexOfId; // host index by parameter id
    // The outputs (meters), read from the unit once per block, at the first read
    // after it (hosts read every output after every block; one by one they cost
    // as much as a quarter of the filtering of a 16-frame block).
    static constexpr std::size_t kMaxOutputs = 16;
    std::vector<AudioUnitParameterID> outputIds; // in host order
    std::vector<std::int32_t> outputOfIndex;     // by host index: place in outputIds, or -1
    mutable std::array<std::atomic<float>, kMaxOutputs> outputValues{};
    std::atomic<std::uint64_t> processedBlocks{0};
    mutable std::atomic<std::uint64_t> outputsReadAfter{UINT64_MAX};
    LockFreeQueue<zk::ParameterEvent, kQueueCapacity> queue;
    std::vector<zk::ParameterEvent> batch; // audio thread; capacity kQueueCapacity
    std::atomic<std::uint64_t> overflowedEvents{0};
    bool active = false;
    UInt32 latencyFrames = 0;
    UInt32 unitMaxFrames = kMinUnitFrames;
    std::atomic<std::uint64_t> refusedBlocks{0};
    mutable std::atomic<bool> loggedActivation{false};
    mutable std::atomic<bool> loggedState{false};
};

} // namespace zkplug
