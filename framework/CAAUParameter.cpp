#include "framework/CAAUParameter.h"

CAAUParameter::CAAUParameter(AudioUnit unit, AudioUnitParameterID id, AudioUnitScope scope,
                             AudioUnitElement element)
    : AudioUnitParameter{unit, id, scope, element} {
    if (!unit) {
        return;
    }
    mValid = unit->GetParameterInfo(scope, id, mInfo) == noErr;
    if (mValid && (IsIndexedParam() || ValuesHaveStrings())) {
        std::vector<std::string> strings;
        if (unit->GetParameterValueStrings(scope, id, &strings) == noErr) {
            mValueStrings = std::move(strings);
        }
    }
}

AudioUnitParameterValue CAAUParameter::GetValue() const {
    AudioUnitParameterValue v = 0.0f;
    if (!mAudioUnit || mAudioUnit->GetParameter(mParameterID, mScope, mElement, v) != noErr) {
        return 0.0f;
    }
    return v;
}

OSStatus CAAUParameter::SetValue(AUEventListenerRef sendingListener, void* sendingObject,
                                 AudioUnitParameterValue value) const {
    return AUParameterSet(sendingListener, sendingObject, this, value, 0);
}
