#pragma once

#include "framework/AUBase.h"
#include "framework/AUEvents.h"
#include "framework/LockFreeQueue.h"
#include "units/ParameterTable.h"
#include "units/ValueTexts.h"

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

namespace zk {
// A parameter event handed from the listener to the render thread.
struct ParameterCommand {
    AudioUnitEventType type = 0;
    AudioUnitParameterID id = 0;
};
// A host's parameter event: a value change (with its value) or a gesture.
struct ParameterEvent {
    AudioUnitEventType type = kAudioUnitEvent_ParameterValueChange;
    AudioUnitParameterID id = 0;
    float value = 0.0f;
};
// A parameter the unit set itself, in answer to a change from outside.
struct ParameterChange {
    AudioUnitParameterID id = 0;
    float value = 0.0f;
};
} // namespace zk

// The effect-unit base both equalisers share: version, tail, the view component
// count, the two custom properties, decibel conversions, and the hand-over of
// parameter events to the render thread.
//
// Parameter events reach the processor on the render thread only, so the filters
// are only ever changed by the thread that runs them. Two ways lead there:
// - Hosts of ours (plug-ins, renderer): UseDirectEvents() before initialising; the
//   host hands every event to ApplyParameterEvents on its audio thread before the
//   frames it governs. No listener, no run loop, nothing depends on timing.
// - Framework hosts (an editor in the same process): the unit's parameter-event
//   listener runs on the run loop of the thread that initialised the unit and
//   queues (event, parameter) commands that the render thread applies at the start
//   of the next block.
//
// Value changes that arrive together (one block start, one frame, up to a gesture)
// form a batch: each that differs from what the processor has is stored and
// dispatched in order; then the unit answers the changes it must (a linked
// partner, the master link's switches, the other solo), never overriding a value
// of the same batch. Gestures begin and end auto-listen in their place among the
// values. The unit answers only while its own changes reach its host
// (SetOwnChangesReachHost): a host that cannot hear them would show other values
// than the unit plays. The answers are listed by OwnChanges() and, for framework
// hosts, posted to every listener but the unit's own.
class CZkmorvaAU : public AUEffectBase {
public:
    static constexpr AudioUnitPropertyID kTextBoxCurrentControlProperty = 65536;
    static constexpr AudioUnitPropertyID kAutoListenDisplayProperty = 65537;
    static constexpr UInt32 kVersion = 0x00010009; // 1.0.9
    static constexpr Float32 kListenerInterval = 0.05f;
    // The oversampled path's latency, in host samples.
    static constexpr UInt32 kOversamplingLatency = 4;

    explicit CZkmorvaAU(AudioComponentInstance instance);
    ~CZkmorvaAU() override;

    UInt32 Version() override { return kVersion; }
    bool SupportsTail() override { return true; }
    int GetNumCustomUIComponents() override { return 1; }
    OSStatus GetPropertyInfo(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                             UInt32& outDataSize, Boolean& outWritable) override;
    // Answers the text-box flag, the auto-listen display and the host strings of
    // special values; everything else goes to the effect base.
    OSStatus GetProperty(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                         void* outData) override;
    OSStatus SetProperty(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                         const void* inData, UInt32 inDataSize) override;
    // From the unit's parameter table; only the auto-listen mode has value strings.
    OSStatus GetParameterInfo(AudioUnitScope scope, AudioUnitParameterID id,
                              AudioUnitParameterInfo& outInfo) override;
    OSStatus GetParameterValueStrings(AudioUnitScope scope, AudioUnitParameterID id,
                                      std::vector<std::string>* outStrings) override;

    // Pushes the stored value of one parameter into the processor (no answers).
    virtual void UpdateParameters(AudioUnitParameterID /*id*/) {}
    // Several parameters read at once, as GetParameter reads each (meters
    // included); a host that reads every meter after every block reads them here
    // in one go.
    virtual void GetParameters(std::span<const AudioUnitParameterID> ids, std::span<float> values);

    // Before initialising: events come only through ApplyParameterEvents.
    void UseDirectEvents() { directEvents = true; }
    bool UsesDirectEvents() const { return directEvents; }
    // Render thread, between blocks (or while rendering cannot run): one batch.
    // Value changes carry their value, which is stored. Never allocates or locks.
    void ApplyParameterEvents(std::span<const zk::ParameterEvent> events);
    // Whether the unit may answer changes by setting parameters itself. On by default.
    void SetOwnChangesReachHost(bool on) { ownChangesReachHost = on; }
    // What the unit set itself while applying the last batch.
    std::span<const zk::ParameterChange> OwnChanges() const { return ownChanges; }
    // Any thread: the store was rewritten behind the render thread; the next block
    // re-dispatches every parameter, without answers.
    void RequestFullUpdate() { resyncNeeded.store(true, std::memory_order_release); }
    // A restored state is the whole picture: taken in as it is, never answered.
    void StateRestored() override { RequestFullUpdate(); }
    virtual double ConvertDecibelsToFactor(double dB, float floor);
    virtual double ConvertFactorToDecibels(double factor, float floor);

    // The auto-listen display state (property 65537): on, then the parameter id.
    struct AutoListenDisplay {
        UInt32 on;
        SInt32 parameterId;
    };
    static_assert(sizeof(AutoListenDisplay) == 8);
    AutoListenDisplay GetAutoListenDisplay() const;

    // Listener commands that could not be queued (the render thread then re-pushes
    // every parameter); for diagnostics.
    std::uint64_t GetDroppedCommandCount() const {
        return droppedCommands.load(std::memory_order_relaxed);
    }

protected:
    // While initialising: sizes the batch records and, unless events come directly,
    // subscribes the listener to value changes, then begin gestures, then end
    // gestures of parameters 0..lastId. False when no listener could be made.
    bool PrepareParameterEvents(AudioUnitParameterID lastId);
    void RemoveParameterListener();
    // Render thread: a requested full update, then the queued commands as one batch.
    void ApplyPendingCommands();
    // Dispatches every parameter of the table and records what the processor has.
    void UpdateAllParameters();
    // The processor's text-box flag (the processor is the unit's other base).
    virtual bool GetTextBoxFlag() const = 0;
    virtual void RaiseTextBoxFlag() = 0;
    // The unit's parameter table and the id of its auto-listen mode parameter.
    virtual std::span<const zk::ParameterDef> GetParameterTable() const = 0;
    virtual AudioUnitParameterID GetAutoListenModeParameter() const = 0;
    // The unit's host strings for special values.
    virtual std::span<const zk::ValueTextRule> GetValueTexts() const = 0;
    // The value a string request without a value is answered for.
    virtual OSStatus GetValueForText(AudioUnitParameterID id, AudioUnitParameterValue& out) = 0;
    // A begin or end gesture, on the render thread.
    virtual void HandleGesture(AudioUnitEventType type, AudioUnitParameterID id) = 0;
    // The unit's answer to a change of `id` from outside (after its batch), made
    // through SetOwnParameter. Default: none.
    virtual void AnswerChange(AudioUnitParameterID /*id*/) {}
    // Sets, dispatches and reports a parameter as the unit's own change, unless the
    // current batch set it (`overrideBatch`: also then).
    void SetOwnParameter(AudioUnitParameterID id, float value, bool overrideBatch = false);
    float StoredParameter(AudioUnitParameterID id) const;
    void SetAutoListenDisplay(bool on, long parameterId);

    AUEventListenerRef eventListener = nullptr;

private:
    static void EventListenerDispatcher(void* userData, void* object, const AudioUnitEvent* event,
                                        UInt64 hostTime, AudioUnitParameterValue value);

    void ApplyBatch(std::span<const zk::ParameterEvent> events, bool storeValues);
    void AnswerBatch();
    void Dispatch(AudioUnitParameterID id);

    AudioUnitParameterID subscribedLastId = 0;
    bool directEvents = false;
    bool ownChangesReachHost = true;
    // Render thread only, sized when the unit is constructed (never grow later).
    std::vector<float> dispatched;                 // by id: the value the processor has
    std::vector<std::uint8_t> inBatch;             // by id: set by the current batch
    std::vector<AudioUnitParameterID> batchValues; // ids changed by the batch, in order
    std::vector<zk::ParameterChange> ownChanges;
    std::vector<zk::ParameterEvent> pendingBatch; // the listener's commands, as events
    LockFreeQueue<zk::ParameterCommand, 4096> commands;
    std::atomic<bool> resyncNeeded{false};
    std::atomic<std::uint64_t> droppedCommands{0};
    // on in the high word, parameter id in the low word: one atomic, never torn.
    std::atomic<std::uint64_t> autoListenDisplay{0};
};
