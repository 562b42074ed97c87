#include "units/ZkmorvaAU.h"

#include "units/Decibels.h"

#include <cstring>

CZkmorvaAU::CZkmorvaAU(AudioComponentInstance instance) : AUEffectBase(instance, true) {}

CZkmorvaAU::~CZkmorvaAU() {
    RemoveParameterListener();
}

double CZkmorvaAU::ConvertDecibelsToFactor(double dB, float floor) {
    return zk::DecibelsToFactor(dB, floor);
}

double CZkmorvaAU::ConvertFactorToDecibels(double factor, float floor) {
    return zk::FactorToDecibels(factor, floor);
}

OSStatus CZkmorvaAU::GetPropertyInfo(AudioUnitPropertyID id, AudioUnitScope scope,
                                     AudioUnitElement element, UInt32& outDataSize,
                                     Boolean& outWritable) {
    if (scope == kAudioUnitScope_Global) {
        switch (id) {
        case kAudioUnitProperty_ParameterStringFromValue:
            outDataSize = sizeof(AudioUnitParameterStringFromValue);
            outWritable = false;
            return noErr;
        case kAudioUnitProperty_ParameterValueFromString:
            outDataSize = sizeof(AudioUnitParameterValueFromString);
            outWritable = false;
            return noErr;
        case kTextBoxCurrentControlProperty:
            outDataSize = 1;
            outWritable = true;
            return noErr;
        case kAutoListenDisplayProperty:
            outDataSize = sizeof(AutoListenDisplay);
            outWritable = false;
            return noErr;
        default:
            break;
        }
    }
    return AUEffectBase::GetPropertyInfo(id, scope, element, outDataSize, outWritable);
}

OSStatus CZkmorvaAU::GetProperty(AudioUnitPropertyID id, AudioUnitScope scope,
                                 AudioUnitElement element, void* outData) {
    if (scope == kAudioUnitScope_Global && outData != nullptr) {
        switch (id) {
        case kTextBoxCurrentControlProperty:
            *static_cast<UInt8*>(outData) = GetTextBoxFlag() ? 1 : 0;
            return noErr;
        case kAutoListenDisplayProperty: {
            const AutoListenDisplay d = GetAutoListenDisplay();
            std::memcpy(outData, &d, sizeof d);
            return noErr;
        }
        case kAudioUnitProperty_ParameterStringFromValue: {
            auto* request = static_cast<AudioUnitParameterStringFromValue*>(outData);
            request->outString = nullptr;
            const AudioUnitParameterID pid = request->inParamID;
            if (!zk::HasValueTexts(GetValueTexts(), pid)) {
                return kAudioUnitErr_InvalidParameter;
            }
            AudioUnitParameterValue value = 0.0f;
            if (request->inValue != nullptr) {
                value = *request->inValue;
            } else if (const OSStatus r = GetValueForText(pid, value); r != noErr) {
                return r;
            }
            request->outString = zk::FindValueText(GetValueTexts(), pid, value);
            return noErr;
        }
        default:
            break;
        }
    }
    return AUEffectBase::GetProperty(id, scope, element, outData);
}

OSStatus CZkmorvaAU::GetParameterInfo(AudioUnitScope scope, AudioUnitParameterID id,
                                      AudioUnitParameterInfo& outInfo) {
    const zk::ParameterDef* p = zk::FindParameter(GetParameterTable(), id);
    if (scope != kAudioUnitScope_Global || p == nullptr) {
        return kAudioUnitErr_InvalidParameter;
    }
    zk::FillParameterInfo(*p, outInfo);
    return noErr;
}

OSStatus CZkmorvaAU::GetParameterValueStrings(AudioUnitScope scope, AudioUnitParameterID id,
                                              std::vector<std::string>* outStrings) {
    if (scope != kAudioUnitScope_Global || id != GetAutoListenModeParameter()) {
        return kAudioUnitErr_InvalidParameter;
    }
    if (outStrings != nullptr) {
        outStrings->assign(std::begin(zk::kAutoListenModeNames),
                           std::end(zk::kAutoListenModeNames));
    }
    return noErr;
}

OSStatus CZkmorvaAU::SetProperty(AudioUnitPropertyID id, AudioUnitScope scope,
                                 AudioUnitElement element, const void* inData, UInt32 inDataSize) {
    if (id == kTextBoxCurrentControlProperty && scope == kAudioUnitScope_Global) {
        // Any call with data sets the flag, whatever its byte says: it is only ever
        // raised this way; the next gesture's begin clears it.
        if (inData != nullptr) {
            RaiseTextBoxFlag();
        }
        return noErr;
    }
    return AUEffectBase::SetProperty(id, scope, element, inData, inDataSize);
}

void CZkmorvaAU::GetParameters(std::span<const AudioUnitParameterID> ids, std::span<float> values) {
    for (std::size_t i = 0; i < ids.size() && i < values.size(); ++i) {
        AudioUnitParameterValue v = 0.0f;
        GetParameter(ids[i], kAudioUnitScope_Global, 0, v);
        values[i] = v;
    }
}

CZkmorvaAU::AutoListenDisplay CZkmorvaAU::GetAutoListenDisplay() const {
    const std::uint64_t packed = autoListenDisplay.load(std::memory_order_relaxed);
    return {static_cast<UInt32>(packed >> 32), static_cast<SInt32>(packed & 0xFFFFFFFFu)};
}

void CZkmorvaAU::SetAutoListenDisplay(bool on, long parameterId) {
    const std::uint64_t packed = (static_cast<std::uint64_t>(on ? 1u : 0u) << 32) |
                                 static_cast<std::uint32_t>(static_cast<SInt32>(parameterId));
    autoListenDisplay.store(packed, std::memory_order_relaxed);
    PropertyChanged(kAutoListenDisplayProperty, kAudioUnitScope_Global, 0);
}

bool CZkmorvaAU::PrepareParameterEvents(AudioUnitParameterID lastId) {
    RemoveParameterListener();
    const std::size_t count = Globals()->GetNumberOfParameters();
    dispatched.assign(count, 0.0f);
    inBatch.assign(count, 0);
    batchValues.clear();
    batchValues.reserve(count);
    // Answers set one parameter each, the master link each switch; gestures
    // split a batch, so a few times the parameter count.
    ownChanges.clear();
    ownChanges.reserve(4 * count);
    pendingBatch.clear();
    pendingBatch.reserve(commands.capacity());
    if (directEvents) {
        return true;
    }
    if (AUEventListenerCreate(&CZkmorvaAU::EventListenerDispatcher, this, CFRunLoopGetCurrent(),
                              kCFRunLoopDefaultMode, kListenerInterval, kListenerInterval,
                              &eventListener) != noErr) {
        eventListener = nullptr;
        return false;
    }
    subscribedLastId = lastId;
    AudioUnitEvent event;
    for (AudioUnitEventType type :
         {kAudioUnitEvent_ParameterValueChange, kAudioUnitEvent_BeginParameterChangeGesture,
          kAudioUnitEvent_EndParameterChangeGesture}) {
        event.mEventType = type;
        for (AudioUnitParameterID id = 0; id <= lastId; ++id) {
            event.mArgument.mParameter = {GetComponentInstance(), id, kAudioUnitScope_Global, 0};
            AUEventListenerAddEventType(eventListener, this, &event);
        }
    }
    return true;
}

void CZkmorvaAU::RemoveParameterListener() {
    if (eventListener == nullptr) {
        return;
    }
    AudioUnitEvent event;
    for (AudioUnitEventType type :
         {kAudioUnitEvent_ParameterValueChange, kAudioUnitEvent_BeginParameterChangeGesture,
          kAudioUnitEvent_EndParameterChangeGesture}) {
        event.mEventType = type;
        for (AudioUnitParameterID id = 0; id <= subscribedLastId; ++id) {
            event.mArgument.mParameter = {GetComponentInstance(), id, kAudioUnitScope_Global, 0};
            AUEventListenerRemoveEventType(eventListener, this, &event);
        }
    }
    AUListenerDispose(eventListener);
    eventListener = nullptr;
}

void CZkmorvaAU::EventListenerDispatcher(void* userData, void* /*object*/,
                                         const AudioUnitEvent* event, UInt64 /*hostTime*/,
                                         AudioUnitParameterValue /*value*/) {
    if (userData == nullptr || event == nullptr) {
        return;
    }
    auto* unit = static_cast<CZkmorvaAU*>(userData);
    const AudioUnitEventType type = event->mEventType;
    if (type > kAudioUnitEvent_EndParameterChangeGesture) {
        return;
    }
    if (!unit->commands.TryPush(
            zk::ParameterCommand{type, event->mArgument.mParameter.mParameterID})) {
        unit->droppedCommands.fetch_add(1, std::memory_order_relaxed);
        unit->resyncNeeded.store(true, std::memory_order_release);
    }
}

void CZkmorvaAU::ApplyPendingCommands() {
    if (resyncNeeded.exchange(false, std::memory_order_acquire)) {
        UpdateAllParameters();
    }
    if (directEvents) {
        return;
    }
    pendingBatch.clear();
    zk::ParameterCommand command;
    while (pendingBatch.size() < pendingBatch.capacity() && commands.TryPop(command)) {
        pendingBatch.push_back({command.type, command.id, 0.0f});
    }
    // The listener's value changes were stored when they were set.
    ApplyBatch(pendingBatch, false);
}

void CZkmorvaAU::ApplyParameterEvents(std::span<const zk::ParameterEvent> events) {
    if (resyncNeeded.exchange(false, std::memory_order_acquire)) {
        UpdateAllParameters();
    }
    ApplyBatch(events, true);
}

float CZkmorvaAU::StoredParameter(AudioUnitParameterID id) const {
    AudioUnitParameterValue v = 0.0f;
    PeekParameter(kAudioUnitScope_Global, 0, id, v);
    return v;
}

void CZkmorvaAU::Dispatch(AudioUnitParameterID id) {
    UpdateParameters(id);
    dispatched[id] = StoredParameter(id);
}

void CZkmorvaAU::UpdateAllParameters() {
    const UInt32 count = Globals()->GetNumberOfParameters();
    for (AudioUnitParameterID id = 0; id < count; ++id) {
        UpdateParameters(id);
        if (id < dispatched.size()) {
            dispatched[id] = StoredParameter(id);
        }
    }
}

namespace {
// Bit for bit, so that a NaN that stays a NaN is no change.
bool SameBits(float a, float b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}
} // namespace

void CZkmorvaAU::ApplyBatch(std::span<const zk::ParameterEvent> events, bool storeValues) {
    ownChanges.clear();
    for (const zk::ParameterEvent& e : events) {
        if (e.id >= dispatched.size()) {
            continue;
        }
        if (e.type != kAudioUnitEvent_ParameterValueChange) {
            // A gesture sees the answers to the values before it.
            AnswerBatch();
            HandleGesture(e.type, e.id);
            continue;
        }
        if (storeValues) {
            AUBase::SetParameter(e.id, kAudioUnitScope_Global, 0, e.value, 0);
        }
        // A value the processor already has changes nothing and asks no answer, so
        // hosts that send every value every block, or echo the unit's own changes,
        // cost nothing and never undo a switch the master link set.
        if (SameBits(StoredParameter(e.id), dispatched[e.id])) {
            continue;
        }
        Dispatch(e.id);
        if (!inBatch[e.id]) {
            inBatch[e.id] = 1;
            batchValues.push_back(e.id);
        }
    }
    AnswerBatch();
}

void CZkmorvaAU::AnswerBatch() {
    if (ownChangesReachHost) {
        for (AudioUnitParameterID id : batchValues) {
            AnswerChange(id);
        }
    }
    for (AudioUnitParameterID id : batchValues) {
        inBatch[id] = 0;
    }
    batchValues.clear();
}

void CZkmorvaAU::SetOwnParameter(AudioUnitParameterID id, float value, bool overrideBatch) {
    if (id >= dispatched.size() || (inBatch[id] && !overrideBatch)) {
        return;
    }
    if (directEvents) {
        AUBase::SetParameter(id, kAudioUnitScope_Global, 0, value, 0);
    } else {
        // Listeners other than the unit's own hear it (an editor in this process).
        const AudioUnitParameter p{GetComponentInstance(), id, kAudioUnitScope_Global, 0};
        AUParameterSet(eventListener, this, &p, value, 0);
    }
    Dispatch(id);
    if (ownChanges.size() < ownChanges.capacity()) {
        ownChanges.push_back({id, value});
    }
}
