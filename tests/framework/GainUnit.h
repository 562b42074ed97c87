#pragma once

// A small test unit: gain in dB, an indexed mode and a mix percentage.

#include "framework/Framework.h"

#include <string>
#include <vector>

namespace zktest {

inline const AudioComponentDescription kGainDesc{MakeFourCC("aufx"), MakeFourCC("Gain"),
                                                 MakeFourCC("Zkts"), 0, 0};

inline constexpr AudioUnitParameterID kGain = 0;
inline constexpr AudioUnitParameterID kMode = 1;
inline constexpr AudioUnitParameterID kMix = 2;
inline constexpr AudioUnitParameterID kNumParams = 3;

struct GainParameter {
    const char* name;
    AudioUnitParameterUnit unit;
    float minValue, maxValue, defaultValue;
    AudioUnitParameterOptions extraFlags;
};
inline constexpr GainParameter kGainParameters[kNumParams] = {
    {"Gain", kAudioUnitParameterUnit_Decibels, -60.0f, 12.0f, 0.0f, 0},
    {"Mode", kAudioUnitParameterUnit_Indexed, 0.0f, 2.0f, 1.0f,
     kAudioUnitParameterFlag_ValuesHaveStrings},
    {"Mix", kAudioUnitParameterUnit_Percent, 0.0f, 100.0f, 100.0f, 0}};

class GainUnit : public AUEffectBase {
public:
    explicit GainUnit(AudioComponentInstance inst) : AUEffectBase(inst, true) {
        CreateElements();
        Globals()->UseIndexedParameters(kNumParams);
        for (AudioUnitParameterID id = 0; id < kNumParams; ++id) {
            Globals()->SetParameter(id, kGainParameters[id].defaultValue);
        }
        SetComponentDescription(kGainDesc);
    }

    UInt32 Version() override { return 0x00010009; }

    OSStatus Initialize() override {
        log.push_back("Initialize");
        const OSStatus r = AUEffectBase::Initialize();
        if (r != noErr) {
            return r;
        }
        return Reset(kAudioUnitScope_Global, 0);
    }
    OSStatus Reset(AudioUnitScope scope, AudioUnitElement element) override {
        log.push_back("Reset");
        return AUEffectBase::Reset(scope, element);
    }
    void Cleanup() override { log.push_back("Cleanup"); }
    void PostConstructor() override { log.push_back("PostConstructor"); }
    void PreDestructor() override {
        log.push_back("PreDestructor");
        AUEffectBase::PreDestructor();
    }

    OSStatus GetParameterInfo(AudioUnitScope scope, AudioUnitParameterID id,
                              AudioUnitParameterInfo& info) override {
        if (scope != kAudioUnitScope_Global || id >= kNumParams) {
            return kAudioUnitErr_InvalidParameter;
        }
        const GainParameter& p = kGainParameters[id];
        info.flags =
            kAudioUnitParameterFlag_IsReadable | kAudioUnitParameterFlag_IsWritable | p.extraFlags;
        FillInParameterName(info, p.name); // adds its own flag
        info.unit = p.unit;
        info.minValue = p.minValue;
        info.maxValue = p.maxValue;
        info.defaultValue = p.defaultValue;
        return noErr;
    }

    OSStatus GetParameterValueStrings(AudioUnitScope scope, AudioUnitParameterID id,
                                      std::vector<std::string>* out) override {
        if (scope != kAudioUnitScope_Global || id != kMode) {
            return kAudioUnitErr_InvalidParameter;
        }
        if (out) {
            *out = {"Soft", "Medium", "Hard"};
        }
        return noErr;
    }

    OSStatus ProcessBufferLists(AudioUnitRenderActionFlags&, const AudioBufferList& in,
                                AudioBufferList& out, UInt32 frames) override {
        ++processCalls;
        lastFrames = frames;
        lastIn.assign(in.mNumberBuffers, nullptr);
        lastOut.assign(out.mNumberBuffers, nullptr);
        const float g = Globals()->GetParameter(kGain) > -60.0f ? 2.0f : 0.0f;
        for (UInt32 c = 0; c < in.mNumberBuffers; ++c) {
            lastIn[c] = in.mBuffers[c].mData;
            lastOut[c] = out.mBuffers[c].mData;
            const float* src = static_cast<const float*>(in.mBuffers[c].mData);
            float* dst = static_cast<float*>(out.mBuffers[c].mData);
            for (UInt32 i = 0; i < frames; ++i) {
                dst[i] = src[i] * g;
            }
        }
        return noErr;
    }

    std::vector<std::string> log;
    int processCalls = 0;
    UInt32 lastFrames = 0;
    std::vector<void*> lastIn, lastOut;
};

// The gain unit restricted to 2 in / 2 out.
class StereoGainUnit : public GainUnit {
public:
    using GainUnit::GainUnit;
    UInt32 SupportedNumChannels(const AUChannelInfo** outInfo) override {
        static const AUChannelInfo kConfigs[] = {{2, 2}};
        if (outInfo) {
            *outInfo = kConfigs;
        }
        return 1;
    }
};

} // namespace zktest
