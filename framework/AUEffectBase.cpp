// AUEffectBase: one input bus and one output bus, the channel configuration check and
// host bypass (property 21).

#include "framework/AUBase.h"

#include <cstring>

AUEffectBase::AUEffectBase(AudioComponentInstance instance, bool inProcessesInPlace)
    : AUBase(instance, 1, 1), mProcessesInPlace(inProcessesInPlace) {}

OSStatus AUEffectBase::Initialize() {
    CreateElements();
    const UInt32 inCh = Input()->NumberChannels();
    const UInt32 outCh = Output()->NumberChannels();
    const AUChannelInfo* info = nullptr;
    const UInt32 n = SupportedNumChannels(&info);
    if (n == 0 || !info) {
        return inCh == outCh ? noErr : kAudioUnitErr_FormatNotSupported;
    }
    for (UInt32 i = 0; i < n; ++i) {
        const int ci = info[i].inChannels;
        const int co = info[i].outChannels;
        const bool inOk = ci < 0 ? true : static_cast<UInt32>(ci) == inCh;
        bool outOk = co < 0 ? true : static_cast<UInt32>(co) == outCh;
        if (ci == -1 && co == -1) {
            outOk = inCh == outCh; // "as many outputs as inputs"
        }
        if (inOk && outOk) {
            return noErr;
        }
    }
    return kAudioUnitErr_FormatNotSupported;
}

UInt32 AUEffectBase::GetNumberOfChannels() {
    CreateElements();
    return Output()->NumberChannels();
}

OSStatus AUEffectBase::ProcessBufferLists(AudioUnitRenderActionFlags& flags,
                                          const AudioBufferList& in, AudioBufferList& out,
                                          UInt32 frames) {
    return AUEffectBase::ProcessBypass(flags, in, out, frames);
}

OSStatus AUEffectBase::ProcessBypass(AudioUnitRenderActionFlags&, const AudioBufferList& in,
                                     AudioBufferList& out, UInt32 frames) {
    for (UInt32 c = 0; c < out.mNumberBuffers; ++c) {
        float* dst = static_cast<float*>(out.mBuffers[c].mData);
        if (c < in.mNumberBuffers) {
            const float* src = static_cast<const float*>(in.mBuffers[c].mData);
            if (src != dst) {
                std::memmove(dst, src, frames * sizeof(float));
            }
        } else {
            std::memset(dst, 0, frames * sizeof(float));
        }
    }
    return noErr;
}

OSStatus AUEffectBase::RenderBufferLists(AudioUnitRenderActionFlags& flags,
                                         const AudioBufferList& in, AudioBufferList& out,
                                         UInt32 frames) {
    if (IsBypassEffect()) {
        return ProcessBypass(flags, in, out, frames);
    }
    return ProcessBufferLists(flags, in, out, frames);
}

OSStatus AUEffectBase::GetPropertyInfo(AudioUnitPropertyID id, AudioUnitScope scope,
                                       AudioUnitElement element, UInt32& outDataSize,
                                       Boolean& outWritable) {
    if (id == kAudioUnitProperty_BypassEffect) {
        if (scope != kAudioUnitScope_Global) {
            return kAudioUnitErr_InvalidScope;
        }
        outDataSize = sizeof(UInt32);
        outWritable = true;
        return noErr;
    }
    return AUBase::GetPropertyInfo(id, scope, element, outDataSize, outWritable);
}

OSStatus AUEffectBase::GetProperty(AudioUnitPropertyID id, AudioUnitScope scope,
                                   AudioUnitElement element, void* outData) {
    if (id == kAudioUnitProperty_BypassEffect) {
        if (scope != kAudioUnitScope_Global) {
            return kAudioUnitErr_InvalidScope;
        }
        if (!outData) {
            return kAudio_ParamError;
        }
        const UInt32 v = IsBypassEffect() ? 1 : 0;
        std::memcpy(outData, &v, sizeof v);
        return noErr;
    }
    return AUBase::GetProperty(id, scope, element, outData);
}

OSStatus AUEffectBase::SetProperty(AudioUnitPropertyID id, AudioUnitScope scope,
                                   AudioUnitElement element, const void* inData,
                                   UInt32 inDataSize) {
    if (id == kAudioUnitProperty_BypassEffect) {
        if (scope != kAudioUnitScope_Global) {
            return kAudioUnitErr_InvalidScope;
        }
        if (!inData || inDataSize < sizeof(UInt32)) {
            return kAudio_ParamError;
        }
        UInt32 v = 0;
        std::memcpy(&v, inData, sizeof v);
        const bool on = v != 0;
        if (on != IsBypassEffect()) {
            SetBypassEffect(on);
            PropertyChanged(kAudioUnitProperty_BypassEffect, kAudioUnitScope_Global, 0);
        }
        return noErr;
    }
    return AUBase::SetProperty(id, scope, element, inData, inDataSize);
}
