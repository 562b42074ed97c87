#pragma once

// The format-independent body of a plug-in: it owns one unit and the unit's
// parameter thread, and turns host calls into unit calls.
//
// Threads: the constructor, Activate, Deactivate, SaveState and RestoreState run
// on the host's main thread; Process, SetParameter, SetBypass and GetParameter
// may run on the audio thread and never allocate, lock or log. The unit's
// parameter-event listener runs on a framework-owned run loop thread, installed
// as the current run loop while the unit initialises.

#include "framework/AUBase.h"
#include "framework/Component.h"
#include "framework/RunLoop.h"
#include "plugins/core/HostParameters.h"
#include "plugins/core/UnitDescriptor.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zkplug {

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

    // Host parameter index (table order) -> value. Inputs are stored in the unit and
    // a value-change event is posted to its parameter thread; non-finite values
    // are ignored, others clamped to the range. Outputs (meters) are ignored.
    void SetParameter(std::size_t index, float value);
    // Inputs: the stored value. Meters: the unit's reading.
    float GetParameter(std::size_t index) const;
    // Host bypass: the unit's latency-matched dry path.
    void SetBypass(bool on);
    bool IsBypassed() const;

    // Editor events from the plug-in UI (EditorLink.h). A gesture is posted to the
    // unit's listener as begin/end events, as the editor does in process, so the
    // unit starts and ends auto-listen; "textbox" sets property 65536. Malformed
    // messages and ids that are not input parameters are ignored (false). Any
    // thread; never allocates, locks or logs.
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

    // Any number of frames, in place or not. Before activation, or if the unit
    // refuses a block, input is copied to output.
    void Process(const float* const* inputs, float* const* outputs, UInt32 frames);

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

private:
    void PassThrough(const float* const* inputs, float* const* outputs, UInt32 frames);
    void LogOnce(std::atomic<bool>& flag, const std::string& message) const;

    const UnitDescriptor& descriptor;
    AudioUnitPtr unit;
    std::shared_ptr<CFRunLoop> parameterThread; // created at first activation
    std::vector<HostParameter> parameters;
    bool active = false;
    UInt32 latencyFrames = 0;
    UInt32 unitMaxFrames = kMinUnitFrames;
    std::atomic<std::uint64_t> refusedBlocks{0};
    mutable std::atomic<bool> loggedActivation{false};
    mutable std::atomic<bool> loggedState{false};
};

} // namespace zkplug
