#pragma once

// CAAUParameter: a parameter address plus its information, fetched once from the unit
// at construction (what editors use for names, ranges and defaults).

#include "framework/AUBase.h"
#include "framework/AUEvents.h"

#include <string>
#include <vector>

class CAAUParameter : public AudioUnitParameter {
public:
    CAAUParameter() = default;
    CAAUParameter(AudioUnit unit, AudioUnitParameterID id, AudioUnitScope scope,
                  AudioUnitElement element);

    bool IsValid() const { return mValid; } // GetParameterInfo succeeded
    const AudioUnitParameterInfo& ParamInfo() const { return mInfo; }
    const std::string& GetName() const { return mInfo.cfNameString; }
    AudioUnitParameterValue DefaultValue() const { return mInfo.defaultValue; }
    bool ValuesHaveStrings() const {
        return (mInfo.flags & kAudioUnitParameterFlag_ValuesHaveStrings) != 0;
    }
    bool IsIndexedParam() const {
        return mInfo.unit == kAudioUnitParameterUnit_Indexed ||
               mInfo.unit == kAudioUnitParameterUnit_Boolean;
    }
    // The indexed value names (empty when the unit has none).
    const std::vector<std::string>& ValueStrings() const { return mValueStrings; }

    // Current value through the unit's GetParameter (0 on error).
    AudioUnitParameterValue GetValue() const;
    // AUParameterSet: stores and notifies listeners.
    OSStatus SetValue(AUEventListenerRef sendingListener, void* sendingObject,
                      AudioUnitParameterValue value) const;

private:
    AudioUnitParameterInfo mInfo{};
    std::vector<std::string> mValueStrings;
    bool mValid = false;
};
