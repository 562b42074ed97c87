// The host-side calls on a unit handle: argument checks, then the unit's virtuals.

#include "framework/AUBase.h"

OSStatus AudioUnitInitialize(AudioUnit unit) {
    return unit ? unit->DoInitialize() : kAudio_ParamError;
}

OSStatus AudioUnitUninitialize(AudioUnit unit) {
    if (!unit) {
        return kAudio_ParamError;
    }
    unit->DoCleanup();
    return noErr;
}

OSStatus AudioUnitReset(AudioUnit unit, AudioUnitScope scope, AudioUnitElement element) {
    return unit ? unit->DoReset(scope, element) : kAudio_ParamError;
}

OSStatus AudioUnitGetParameter(AudioUnit unit, AudioUnitParameterID id, AudioUnitScope scope,
                               AudioUnitElement element, AudioUnitParameterValue* outValue) {
    if (!unit || !outValue) {
        return kAudio_ParamError;
    }
    return unit->GetParameter(id, scope, element, *outValue);
}

OSStatus AudioUnitSetParameter(AudioUnit unit, AudioUnitParameterID id, AudioUnitScope scope,
                               AudioUnitElement element, AudioUnitParameterValue value,
                               UInt32 bufferOffsetInFrames) {
    if (!unit) {
        return kAudio_ParamError;
    }
    return unit->SetParameter(id, scope, element, value, bufferOffsetInFrames);
}

OSStatus AudioUnitGetPropertyInfo(AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                                  AudioUnitElement element, UInt32* outDataSize,
                                  Boolean* outWritable) {
    if (!unit) {
        return kAudio_ParamError;
    }
    UInt32 size = 0;
    Boolean writable = false;
    const OSStatus r = unit->GetPropertyInfo(id, scope, element, size, writable);
    if (r == noErr) {
        if (outDataSize) {
            *outDataSize = size;
        }
        if (outWritable) {
            *outWritable = writable;
        }
    }
    return r;
}

OSStatus AudioUnitGetProperty(AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                              AudioUnitElement element, void* outData, UInt32* ioDataSize) {
    if (!unit || !outData || !ioDataSize) {
        return kAudio_ParamError;
    }
    UInt32 size = 0;
    Boolean writable = false;
    if (OSStatus r = unit->GetPropertyInfo(id, scope, element, size, writable)) {
        return r;
    }
    if (*ioDataSize < size) {
        return kAudio_ParamError;
    }
    const OSStatus r = unit->GetProperty(id, scope, element, outData);
    if (r == noErr) {
        *ioDataSize = size;
    }
    return r;
}

OSStatus AudioUnitSetProperty(AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                              AudioUnitElement element, const void* inData, UInt32 inDataSize) {
    if (!unit) {
        return kAudio_ParamError;
    }
    UInt32 size = 0;
    Boolean writable = false;
    if (OSStatus r = unit->GetPropertyInfo(id, scope, element, size, writable)) {
        return r;
    }
    if (!writable) {
        return kAudioUnitErr_PropertyNotWritable;
    }
    return unit->SetProperty(id, scope, element, inData, inDataSize);
}
