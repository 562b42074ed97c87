#pragma once

// The event record and the one posting entry: all a unit needs to tell listeners of a
// change, without the listener machinery or run loops (AUEvents.h has those).

#include "framework/Types.h"

using AudioUnitEventType = UInt32;
inline constexpr AudioUnitEventType kAudioUnitEvent_ParameterValueChange = 0;
inline constexpr AudioUnitEventType kAudioUnitEvent_BeginParameterChangeGesture = 1;
inline constexpr AudioUnitEventType kAudioUnitEvent_EndParameterChangeGesture = 2;
inline constexpr AudioUnitEventType kAudioUnitEvent_PropertyChange = 3;

struct AudioUnitEvent {
    AudioUnitEventType mEventType = kAudioUnitEvent_ParameterValueChange;
    union Argument {
        AudioUnitParameter mParameter; // types 0..2
        AudioUnitProperty mProperty;   // type 3
        Argument() : mParameter() {}
    } mArgument;
};
static_assert(sizeof(AudioUnitParameter) == sizeof(AudioUnitProperty));

struct OpaqueAUListener;
using AUEventListenerRef = OpaqueAUListener*;
using AUParameterListenerRef = AUEventListenerRef;

namespace zkfw {
// Queues `event` for every listener subscribed to it, except the (sendingListener,
// sendingObject) pair when sendingListener is non-null. `value` is what value-change
// callbacks receive. Never blocks, never allocates: callable on the audio thread.
// Events without a unit or of an unknown type are ignored.
void PostEvent(AUEventListenerRef sendingListener, void* sendingObject, const AudioUnitEvent& event,
               AudioUnitParameterValue value);
} // namespace zkfw
