// AUBase parameters: the indexed store of each element and the host-facing access.

#include "framework/AUBase.h"

#include <algorithm>
#include <cstring>

void AUElement::UseIndexedParameters(UInt32 count) {
    mParameters = std::make_unique<std::atomic<float>[]>(count);
    for (UInt32 i = 0; i < count; ++i) {
        mParameters[i].store(0.0f, std::memory_order_relaxed);
    }
    mParameterCount = count;
}

OSStatus AUBase::GetParameter(AudioUnitParameterID id, AudioUnitScope scope,
                              AudioUnitElement element, AudioUnitParameterValue& outValue) {
    if (OSStatus r = CheckScopeElement(scope, element)) {
        return r;
    }
    AUElement* el = GetElement(scope, element);
    if (!el->HasParameter(id)) {
        return kAudioUnitErr_InvalidParameter;
    }
    outValue = el->GetParameter(id);
    return noErr;
}

OSStatus AUBase::SetParameter(AudioUnitParameterID id, AudioUnitScope scope,
                              AudioUnitElement element, AudioUnitParameterValue value, UInt32) {
    if (OSStatus r = CheckScopeElement(scope, element)) {
        return r;
    }
    return GetElement(scope, element)->SetParameter(id, value);
}

bool AUBase::PeekParameter(AudioUnitScope scope, AudioUnitElement element, AudioUnitParameterID id,
                           AudioUnitParameterValue& out) const {
    if (CheckScopeElement(scope, element) != noErr) {
        return false;
    }
    const AUElement* el = GetScope(scope).GetElement(element);
    if (!el->HasParameter(id)) {
        return false;
    }
    out = el->GetParameter(id);
    return true;
}

OSStatus AUBase::GetParameterInfo(AudioUnitScope, AudioUnitParameterID, AudioUnitParameterInfo&) {
    return kAudioUnitErr_InvalidParameter;
}

OSStatus AUBase::GetParameterValueStrings(AudioUnitScope, AudioUnitParameterID,
                                          std::vector<std::string>*) {
    return kAudioUnitErr_InvalidProperty;
}

void AUBase::FillInParameterName(AudioUnitParameterInfo& info, std::string_view name,
                                 bool release) {
    info.cfNameString.assign(name);
    const std::size_t n = std::min(name.size(), sizeof(info.name) - 1);
    std::memcpy(info.name, name.data(), n);
    info.name[n] = '\0';
    info.flags |= kAudioUnitParameterFlag_HasCFNameString;
    if (release) {
        info.flags |= kAudioUnitParameterFlag_CFNameRelease;
    }
}
