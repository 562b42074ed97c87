// AUBase render: checks the host's block, points the preallocated buffer lists at its
// channels and hands them to the unit. Nothing here allocates, locks or logs.

#include "framework/AUBase.h"

#include <cstring>

void AUBufferList::Allocate(UInt32 channels) {
    mBuffers.assign(channels, AudioBuffer{});
    mList.mNumberBuffers = 0;
    mList.mBuffers = mBuffers.data();
}

OSStatus AUBase::Render(AudioUnitRenderActionFlags& ioActionFlags, UInt32 frames,
                        std::span<const float* const> inputs, std::span<float* const> outputs) {
    if (!IsInitialized()) {
        return kAudioUnitErr_Uninitialized;
    }
    if (frames > mMaxFramesPerSlice) {
        return kAudioUnitErr_TooManyFramesToProcess;
    }
    if (frames == 0) {
        return noErr;
    }
    if (inputs.size() != mInList.Capacity() || outputs.size() != mOutList.Capacity()) {
        return kAudio_ParamError;
    }
    for (const float* p : inputs) {
        if (!p) {
            return kAudio_ParamError;
        }
    }
    for (float* p : outputs) {
        if (!p) {
            return kAudio_ParamError;
        }
    }
    const AudioBufferList& in =
        mInList.Prepare(inputs.data(), static_cast<UInt32>(inputs.size()), frames);
    AudioBufferList& out =
        mOutList.Prepare(outputs.data(), static_cast<UInt32>(outputs.size()), frames);
    return RenderBufferLists(ioActionFlags, in, out, frames);
}

OSStatus AUBase::RenderBufferLists(AudioUnitRenderActionFlags&, const AudioBufferList&,
                                   AudioBufferList& out, UInt32 frames) {
    for (UInt32 c = 0; c < out.mNumberBuffers; ++c) {
        std::memset(out.mBuffers[c].mData, 0, frames * sizeof(float));
    }
    return noErr;
}
