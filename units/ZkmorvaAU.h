#pragma once

#include "framework/AUBase.h"
#include "framework/AUEvents.h"
#include "framework/LockFreeQueue.h"
#include "units/ParameterTable.h"
#include "units/ValueTexts.h"

#include <atomic>
#include <cstdint>
#include <span>

namespace zk {
// A parameter event handed from the listener to the render thread.
struct ParameterCommand {
    AudioUnitEventType type = 0;
    AudioUnitParameterID id = 0;
};
} // namespace zk

// The effect-unit base both equalisers share: version, tail, the view component
// count, the two custom properties, decibel conversions, and the hand-over of
// parameter events to the render thread.
//
// Threads: the unit's parameter-event listener runs on the run loop of the thread
// that initialised the unit, never on the audio thread. It does not touch the
// processor: it queues (event, parameter) commands that the render thread applies
// at the start of the next block, so the filters are only ever changed by the
// thread that runs them. A change therefore sounds from the next block on.
class CZkmorvaAU : public AUEffectBase {
public:
    static constexpr AudioUnitPropertyID kTextBoxCurrentControlProperty = 65536;
    static constexpr AudioUnitPropertyID kAutoListenDisplayProperty = 65537;
    static constexpr UInt32 kVersion = 0x00010009; // 1.0.9
    static constexpr Float32 kListenerInterval = 0.05f;

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

    // Pushes the stored value of one parameter into the processor.
    virtual void UpdateParameters(AudioUnitParameterID /*id*/) {}
    virtual double ConvertDecibelsToFactor(double dB, float floor);
    virtual double ConvertFactorToDecibels(double factor, float floor);

    // The auto-listen display state (property 65537): on, then the parameter id.
    struct AutoListenDisplay {
        UInt32 on;
        SInt32 parameterId;
    };
    static_assert(sizeof(AutoListenDisplay) == 8);
    AutoListenDisplay GetAutoListenDisplay() const;

    // Commands that could not be queued (the render thread then re-pushes every
    // parameter); for diagnostics.
    std::uint64_t GetDroppedCommandCount() const {
        return droppedCommands.load(std::memory_order_relaxed);
    }

protected:
    // Subscribes the listener to value changes, then begin gestures, then end
    // gestures of parameters 0..lastId. Returns false when no listener could be made.
    bool CreateParameterListener(AudioUnitParameterID lastId);
    void RemoveParameterListener();
    // Render thread: applies the queued commands in order.
    void ApplyPendingCommands();
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
    // One command, on the render thread (or while rendering cannot run).
    virtual void HandleParameterEvent(AudioUnitEventType type, AudioUnitParameterID id) = 0;
    // Re-pushes every parameter after commands were lost to a full queue.
    virtual void UpdateAllParameters() = 0;
    void SetAutoListenDisplay(bool on, long parameterId);

    AUEventListenerRef eventListener = nullptr;

private:
    static void EventListenerDispatcher(void* userData, void* object, const AudioUnitEvent* event,
                                        UInt64 hostTime, AudioUnitParameterValue value);

    AudioUnitParameterID subscribedLastId = 0;
    LockFreeQueue<zk::ParameterCommand, 4096> commands;
    std::atomic<bool> resyncNeeded{false};
    std::atomic<std::uint64_t> droppedCommands{0};
    // on in the high word, parameter id in the low word: one atomic, never torn.
    std::atomic<std::uint64_t> autoListenDisplay{0};
};
