// The two posting calls that go through the unit: AUParameterSet stores the value
// first, AUEventListenerNotify reads it. Kept beside the unit so that the event
// service itself never reaches into AUBase.

#include "framework/AUBase.h"
#include "framework/AUEvents.h"

OSStatus AUEventListenerNotify(AUEventListenerRef sendingListener, void* sendingObject,
                               const AudioUnitEvent* event) {
    if (!event || event->mEventType > kAudioUnitEvent_PropertyChange) {
        return kAudio_ParamError;
    }
    AudioUnitParameterValue value = 0.0f;
    if (event->mEventType == kAudioUnitEvent_PropertyChange) {
        if (!event->mArgument.mProperty.mAudioUnit) {
            return kAudio_ParamError;
        }
    } else {
        const AudioUnitParameter& p = event->mArgument.mParameter;
        if (!p.mAudioUnit) {
            return kAudio_ParamError;
        }
        if (event->mEventType == kAudioUnitEvent_ParameterValueChange) {
            p.mAudioUnit->PeekParameter(p.mScope, p.mElement, p.mParameterID, value);
        }
    }
    zkfw::PostEvent(sendingListener, sendingObject, *event, value);
    return noErr;
}

OSStatus AUParameterSet(AUEventListenerRef sendingListener, void* sendingObject,
                        const AudioUnitParameter* parameter, AudioUnitParameterValue value,
                        UInt32 bufferOffsetInFrames) {
    if (!parameter || !parameter->mAudioUnit) {
        return kAudio_ParamError;
    }
    const OSStatus r =
        parameter->mAudioUnit->SetParameter(parameter->mParameterID, parameter->mScope,
                                            parameter->mElement, value, bufferOffsetInFrames);
    if (r != noErr) {
        return r;
    }
    AudioUnitEvent e;
    e.mEventType = kAudioUnitEvent_ParameterValueChange;
    e.mArgument.mParameter = *parameter;
    zkfw::PostEvent(sendingListener, sendingObject, e, value);
    return noErr;
}
