#include "GainUnit.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

namespace {

using namespace zktest;

// Reads a property of the given element into `value`, sized as `value`.
template <class T>
OSStatus Get(AUBase& u, AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
             T& value) {
    UInt32 size = sizeof value;
    return AudioUnitGetProperty(&u, id, scope, element, &value, &size);
}

TEST(Types, NumericValuesHostsAndPresetsRelyOn) {
    EXPECT_EQ(kAudioUnitErr_InvalidParameter, -10878);
    EXPECT_EQ(kAudioUnitErr_InvalidProperty, -10879);
    EXPECT_EQ(kAudioUnitErr_InvalidScope, -10866);
    EXPECT_EQ(kAudioUnitErr_TooManyFramesToProcess, -10874);
    EXPECT_EQ(kAudioUnitProperty_ParameterStringFromValue, 33u);
    EXPECT_EQ(kAudioUnitProperty_ParameterValueFromString, 38u);
    EXPECT_EQ(kAudioUnitProperty_DependentParameters, 45u);
    EXPECT_EQ(kAudioUnitParameterUnit_Hertz, 8u);
    EXPECT_EQ(kAudioUnitParameterUnit_Decibels, 13u);
    EXPECT_EQ(kAudioUnitParameterFlag_IsWritable, 0x80000000u);
    EXPECT_EQ(kAudioUnitParameterFlag_IsReadable, 0x40000000u);
    EXPECT_EQ(kAudioUnitParameterFlag_DisplayLogarithmic, 0x00400000u);
    EXPECT_EQ(kAudioUnitParameterFlag_DisplayCubed, 0x00030000u);
    EXPECT_EQ(MakeFourCC("aufx"), 0x61756678u);
    EXPECT_EQ(FourCCToString(MakeFourCC("Vnqe")), "Vnqe");
}

TEST(ParameterStore, DefaultsGetSetAndInfo) {
    GainUnit u(nullptr);
    EXPECT_EQ(u.GetComponentInstance(), &u);
    AudioUnitParameterValue v = -1.0f;
    ASSERT_EQ(u.GetParameter(kMode, kAudioUnitScope_Global, 0, v), noErr);
    EXPECT_EQ(v, 1.0f);
    EXPECT_EQ(u.SetParameter(kGain, kAudioUnitScope_Global, 0, -6.5f, 0), noErr);
    EXPECT_EQ(u.Globals()->GetParameter(kGain), -6.5f);
    EXPECT_EQ(AudioUnitSetParameter(&u, kMix, kAudioUnitScope_Global, 0, 50.0f, 0), noErr);
    EXPECT_EQ(AudioUnitGetParameter(&u, kMix, kAudioUnitScope_Global, 0, &v), noErr);
    EXPECT_EQ(v, 50.0f);

    EXPECT_EQ(u.GetParameter(7, kAudioUnitScope_Global, 0, v), kAudioUnitErr_InvalidParameter);
    EXPECT_EQ(u.SetParameter(7, kAudioUnitScope_Global, 0, 1.0f, 0),
              kAudioUnitErr_InvalidParameter);
    EXPECT_EQ(u.GetParameter(0, 9, 0, v), kAudioUnitErr_InvalidScope);
    EXPECT_EQ(u.GetParameter(0, kAudioUnitScope_Global, 1, v), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(u.GetParameter(0, kAudioUnitScope_Input, 0, v), kAudioUnitErr_InvalidParameter);

    CAAUParameter p(&u, kGain, kAudioUnitScope_Global, 0);
    ASSERT_TRUE(p.IsValid());
    EXPECT_EQ(p.GetName(), "Gain");
    EXPECT_STREQ(p.ParamInfo().name, "Gain");
    EXPECT_EQ(p.ParamInfo().unit, kAudioUnitParameterUnit_Decibels);
    EXPECT_EQ(p.ParamInfo().minValue, -60.0f);
    EXPECT_TRUE(p.ParamInfo().flags & kAudioUnitParameterFlag_HasCFNameString);
    EXPECT_EQ(p.GetValue(), -6.5f);
    CAAUParameter mode(&u, kMode, kAudioUnitScope_Global, 0);
    EXPECT_EQ(mode.ValueStrings(), (std::vector<std::string>{"Soft", "Medium", "Hard"}));
    EXPECT_FALSE(CAAUParameter(&u, 9, kAudioUnitScope_Global, 0).IsValid());
}

TEST(Properties, StandardPropertiesAndErrors) {
    GainUnit u(nullptr);
    UInt32 size = 0;
    Boolean writable = true;
    EXPECT_EQ(AudioUnitGetPropertyInfo(&u, 12345, kAudioUnitScope_Global, 0, &size, &writable),
              kAudioUnitErr_InvalidProperty);
    EXPECT_EQ(AudioUnitGetPropertyInfo(&u, kAudioUnitProperty_Latency, kAudioUnitScope_Input, 0,
                                       &size, &writable),
              kAudioUnitErr_InvalidScope);
    EXPECT_EQ(AudioUnitGetPropertyInfo(&u, kAudioUnitProperty_Latency, 7, 0, &size, &writable),
              kAudioUnitErr_InvalidScope);

    ASSERT_EQ(AudioUnitGetPropertyInfo(&u, kAudioUnitProperty_ParameterList, kAudioUnitScope_Global,
                                       0, &size, &writable),
              noErr);
    EXPECT_EQ(size, 3 * sizeof(AudioUnitParameterID));
    EXPECT_FALSE(writable);
    std::array<AudioUnitParameterID, 3> ids{};
    ASSERT_EQ(AudioUnitGetProperty(&u, kAudioUnitProperty_ParameterList, kAudioUnitScope_Global, 0,
                                   ids.data(), &size),
              noErr);
    EXPECT_EQ(ids, (std::array<AudioUnitParameterID, 3>{0, 1, 2}));

    AudioUnitParameterInfo info;
    ASSERT_EQ(Get(u, kAudioUnitProperty_ParameterInfo, kAudioUnitScope_Global, kMix, info), noErr);
    EXPECT_EQ(info.cfNameString, "Mix");
    EXPECT_EQ(Get(u, kAudioUnitProperty_ParameterInfo, kAudioUnitScope_Global, 9, info),
              kAudioUnitErr_InvalidParameter);

    std::vector<std::string> strings;
    ASSERT_EQ(
        Get(u, kAudioUnitProperty_ParameterValueStrings, kAudioUnitScope_Global, kMode, strings),
        noErr);
    EXPECT_EQ(strings.size(), 3u);

    // Property 38 falls to the framework: value strings first, then numbers.
    AudioUnitParameterValueFromString fromString;
    fromString.inParamID = kMode;
    fromString.inString = "Hard";
    ASSERT_EQ(
        Get(u, kAudioUnitProperty_ParameterValueFromString, kAudioUnitScope_Global, 0, fromString),
        noErr);
    EXPECT_EQ(fromString.outValue, 2.0f);
    fromString.inParamID = kGain;
    fromString.inString = " -3.25 ";
    ASSERT_EQ(u.GetProperty(kAudioUnitProperty_ParameterValueFromString, kAudioUnitScope_Global, 0,
                            &fromString),
              noErr);
    EXPECT_EQ(fromString.outValue, -3.25f);
    fromString.inString = "loud";
    EXPECT_EQ(u.GetProperty(kAudioUnitProperty_ParameterValueFromString, kAudioUnitScope_Global, 0,
                            &fromString),
              kAudioUnitErr_InvalidPropertyValue);

    // Latency, tail and read-only enforcement.
    Float64 latency = -1.0;
    ASSERT_EQ(Get(u, kAudioUnitProperty_Latency, kAudioUnitScope_Global, 0, latency), noErr);
    EXPECT_EQ(latency, 0.0);
    UInt32 tooSmall = sizeof latency - 1; // never written past the caller's buffer
    EXPECT_EQ(AudioUnitGetProperty(&u, kAudioUnitProperty_Latency, kAudioUnitScope_Global, 0,
                                   &latency, &tooSmall),
              kAudio_ParamError);
    EXPECT_EQ(AudioUnitGetPropertyInfo(&u, kAudioUnitProperty_TailTime, kAudioUnitScope_Global, 0,
                                       &size, &writable),
              kAudioUnitErr_InvalidProperty);
    EXPECT_EQ(AudioUnitSetProperty(&u, kAudioUnitProperty_Latency, kAudioUnitScope_Global, 0,
                                   &latency, sizeof latency),
              kAudioUnitErr_PropertyNotWritable);

    // Maximum frames per slice: default, settable before Initialize only.
    UInt32 maxFrames = 0;
    ASSERT_EQ(
        Get(u, kAudioUnitProperty_MaximumFramesPerSlice, kAudioUnitScope_Global, 0, maxFrames),
        noErr);
    EXPECT_EQ(maxFrames, AUBase::kDefaultMaxFramesPerSlice);
    maxFrames = 512;
    EXPECT_EQ(AudioUnitSetProperty(&u, kAudioUnitProperty_MaximumFramesPerSlice,
                                   kAudioUnitScope_Global, 0, &maxFrames, sizeof maxFrames),
              noErr);
    EXPECT_EQ(u.GetMaxFramesPerSlice(), 512u);
    ASSERT_EQ(u.DoInitialize(), noErr);
    EXPECT_EQ(u.SetMaxFramesPerSlice(256), kAudioUnitErr_Initialized);

    // Sample rate and stream format.
    Float64 sr = 0.0;
    ASSERT_EQ(Get(u, kAudioUnitProperty_SampleRate, kAudioUnitScope_Output, 0, sr), noErr);
    EXPECT_EQ(sr, 44100.0);
    EXPECT_EQ(AudioUnitGetPropertyInfo(&u, kAudioUnitProperty_StreamFormat, kAudioUnitScope_Output,
                                       3, &size, &writable),
              kAudioUnitErr_InvalidElement);
}

TEST(Lifecycle, InitializeResetCleanupOrder) {
    AUComponentRegistry::Register(kGainDesc, "Gain", &AUComponentEntry<GainUnit>::Open);
    AudioUnitPtr opened = AUComponentRegistry::Open(kGainDesc);
    ASSERT_TRUE(opened);
    auto* u = static_cast<GainUnit*>(opened.get());
    EXPECT_TRUE(SameComponent(u->GetComponentDescription(), kGainDesc));
    EXPECT_FALSE(AUComponentRegistry::Open({MakeFourCC("aufx"), MakeFourCC("None"), 0, 0, 0}));

    ASSERT_EQ(u->SetSampleRateAndChannels(48000.0, 2, 2), noErr);
    EXPECT_EQ(u->GetSampleRate(), 48000.0);
    EXPECT_EQ(AudioUnitInitialize(u), noErr);
    EXPECT_TRUE(u->IsInitialized());
    EXPECT_EQ(u->GetNumberOfChannels(), 2u);
    EXPECT_EQ(u->SetSampleRateAndChannels(44100.0, 2, 2), kAudioUnitErr_Initialized);
    EXPECT_EQ(AudioUnitInitialize(u), noErr); // already initialised: no second Initialize
    EXPECT_EQ(AudioUnitReset(u, kAudioUnitScope_Global, 0), noErr);
    EXPECT_EQ(AudioUnitUninitialize(u), noErr);
    EXPECT_FALSE(u->IsInitialized());
    EXPECT_EQ(u->log, (std::vector<std::string>{"PostConstructor", "Initialize", "Reset", "Reset",
                                                "Cleanup"}));
}

TEST(Lifecycle, ChannelConfigurations) {
    GainUnit any(nullptr);
    ASSERT_EQ(any.SetSampleRateAndChannels(44100.0, 5, 5), noErr);
    EXPECT_EQ(any.DoInitialize(), noErr);
    GainUnit mismatch(nullptr);
    ASSERT_EQ(mismatch.SetSampleRateAndChannels(44100.0, 1, 2), noErr);
    EXPECT_EQ(mismatch.DoInitialize(), kAudioUnitErr_FormatNotSupported);
    EXPECT_FALSE(mismatch.IsInitialized());

    StereoGainUnit stereo(nullptr);
    ASSERT_EQ(stereo.SetSampleRateAndChannels(44100.0, 1, 1), noErr);
    EXPECT_EQ(stereo.DoInitialize(), kAudioUnitErr_FormatNotSupported);
    ASSERT_EQ(stereo.SetSampleRateAndChannels(44100.0, 2, 2), noErr);
    EXPECT_EQ(stereo.DoInitialize(), noErr);
    AUChannelInfo cfg{};
    ASSERT_EQ(Get(stereo, kAudioUnitProperty_SupportedNumChannels, kAudioUnitScope_Global, 0, cfg),
              noErr);
    EXPECT_EQ(cfg.inChannels, 2);
    EXPECT_EQ(cfg.outChannels, 2);
}

TEST(Render, CallsProcessBufferListsWithHostPointers) {
    GainUnit u(nullptr);
    ASSERT_EQ(u.SetMaxFramesPerSlice(64), noErr);
    ASSERT_EQ(u.SetSampleRateAndChannels(48000.0, 2, 2), noErr);
    std::vector<float> inL(64, 1.0f), inR(64, 0.5f), outL(64), outR(64);
    const float* ins[] = {inL.data(), inR.data()};
    float* outs[] = {outL.data(), outR.data()};
    AudioUnitRenderActionFlags flags = 0;

    EXPECT_EQ(u.Render(flags, 16, ins, outs), kAudioUnitErr_Uninitialized);
    ASSERT_EQ(u.DoInitialize(), noErr);
    EXPECT_EQ(u.Render(flags, 0, ins, outs), noErr);
    EXPECT_EQ(u.processCalls, 0);
    EXPECT_EQ(u.Render(flags, 65, ins, outs), kAudioUnitErr_TooManyFramesToProcess);
    EXPECT_EQ(u.processCalls, 0);

    ASSERT_EQ(u.Render(flags, 64, ins, outs), noErr);
    EXPECT_EQ(u.processCalls, 1);
    EXPECT_EQ(u.lastFrames, 64u);
    EXPECT_EQ(u.lastIn, (std::vector<void*>{inL.data(), inR.data()}));
    EXPECT_EQ(u.lastOut, (std::vector<void*>{outL.data(), outR.data()}));
    EXPECT_EQ(outL[10], 2.0f);
    EXPECT_EQ(outR[63], 1.0f);

    // In place.
    float* inplace[] = {inL.data(), inR.data()};
    ASSERT_EQ(u.Render(flags, 8, ins, inplace), noErr);
    EXPECT_EQ(u.lastOut[0], inL.data());
    EXPECT_EQ(inL[0], 2.0f);
    EXPECT_EQ(inL[8], 1.0f);

    // Wrong channel count.
    const float* oneIn[] = {inL.data()};
    EXPECT_EQ(u.Render(flags, 8, oneIn, outs), kAudio_ParamError);

    // Host bypass: default copies input to output, ProcessBufferLists is not called.
    const UInt32 on = 1;
    ASSERT_EQ(AudioUnitSetProperty(&u, kAudioUnitProperty_BypassEffect, kAudioUnitScope_Global, 0,
                                   &on, sizeof on),
              noErr);
    EXPECT_TRUE(u.IsBypassEffect());
    std::fill(inR.begin(), inR.end(), 0.25f);
    const int calls = u.processCalls;
    ASSERT_EQ(u.Render(flags, 32, ins, outs), noErr);
    EXPECT_EQ(u.processCalls, calls);
    EXPECT_EQ(outR[5], 0.25f);
}

} // namespace
