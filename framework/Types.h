#pragma once

// Basic types and constants of the framework: scalar types, result codes,
// property ids, parameter units and flags, component descriptions, audio buffers,
// parameter and event records. The numeric values never change: the units' tables,
// the plug-in adapters and saved presets depend on them.

#include <cstddef>
#include <cstdint>
#include <string>

class AUBase;

// ---------------------------------------------------------------------------
// Scalars
using UInt8 = std::uint8_t;
using SInt16 = std::int16_t;
using UInt16 = std::uint16_t;
using SInt32 = std::int32_t;
using UInt32 = std::uint32_t;
using SInt64 = std::int64_t;
using UInt64 = std::uint64_t;
using Float32 = float;
using Float64 = double;
using Boolean = bool;
using OSStatus = std::int32_t;
using FourCharCode = UInt32;
using OSType = FourCharCode;

using AudioUnitPropertyID = UInt32;
using AudioUnitParameterID = UInt32;
using AudioUnitScope = UInt32;
using AudioUnitElement = UInt32;
using AudioUnitParameterValue = Float32;
using AudioUnitParameterUnit = UInt32;
using AudioUnitParameterOptions = UInt32;
using AudioUnitRenderActionFlags = UInt32;

// The handle of an opened unit. In this framework the handle is the unit itself
// (AUBase::GetComponentInstance() returns `this`); in a plug-in UI it is a remote
// unit, itself an AUBase subclass that mirrors the DSP side.
using AudioComponentInstance = AUBase*;
using ComponentInstance = AudioComponentInstance;
using AudioUnit = AudioComponentInstance;

// A constant C string, for texts the units hand out as literals (property 33's
// outString, run-loop modes). It must have static lifetime.
using CFStringRef = const char*;

// 'abcd' as a big-endian four-char code, without multi-character literals.
constexpr FourCharCode MakeFourCC(const char (&s)[5]) {
    return (UInt32(UInt8(s[0])) << 24) | (UInt32(UInt8(s[1])) << 16) | (UInt32(UInt8(s[2])) << 8) |
           UInt32(UInt8(s[3]));
}
std::string FourCCToString(FourCharCode code); // "aufx"; non-printable bytes as '?'

// ---------------------------------------------------------------------------
// Result codes
inline constexpr OSStatus noErr = 0;
inline constexpr OSStatus kAudio_UnimplementedError = -4;
inline constexpr OSStatus kAudio_ParamError = -50;
inline constexpr OSStatus kAudio_MemFullError = -108;
inline constexpr OSStatus kAudioUnitErr_InvalidProperty = -10879;
inline constexpr OSStatus kAudioUnitErr_InvalidParameter = -10878;
inline constexpr OSStatus kAudioUnitErr_InvalidElement = -10877;
inline constexpr OSStatus kAudioUnitErr_NoConnection = -10876;
inline constexpr OSStatus kAudioUnitErr_FailedInitialization = -10875;
inline constexpr OSStatus kAudioUnitErr_TooManyFramesToProcess = -10874;
inline constexpr OSStatus kAudioUnitErr_InvalidFile = -10871;
inline constexpr OSStatus kAudioUnitErr_FormatNotSupported = -10868;
inline constexpr OSStatus kAudioUnitErr_Uninitialized = -10867;
inline constexpr OSStatus kAudioUnitErr_InvalidScope = -10866;
inline constexpr OSStatus kAudioUnitErr_PropertyNotWritable = -10865;
inline constexpr OSStatus kAudioUnitErr_CannotDoInCurrentContext = -10863;
inline constexpr OSStatus kAudioUnitErr_InvalidPropertyValue = -10851;
inline constexpr OSStatus kAudioUnitErr_PropertyNotInUse = -10850;
inline constexpr OSStatus kAudioUnitErr_Initialized = -10849;
inline constexpr OSStatus kAudioComponentErr_InstanceInvalidated =
    -66749; // no component for a description

// ---------------------------------------------------------------------------
// Scopes
inline constexpr AudioUnitScope kAudioUnitScope_Global = 0;
inline constexpr AudioUnitScope kAudioUnitScope_Input = 1;
inline constexpr AudioUnitScope kAudioUnitScope_Output = 2;

// ---------------------------------------------------------------------------
// Property ids (the ones the framework answers are marked *)
inline constexpr AudioUnitPropertyID kAudioUnitProperty_ClassInfo =
    0; // saved state: see AUBase::SaveState
inline constexpr AudioUnitPropertyID kAudioUnitProperty_SampleRate =
    2; // * Float64, input/output scope
inline constexpr AudioUnitPropertyID kAudioUnitProperty_ParameterList =
    3; // * AudioUnitParameterID[]
inline constexpr AudioUnitPropertyID kAudioUnitProperty_ParameterInfo =
    4; // * AudioUnitParameterInfo, element = id
inline constexpr AudioUnitPropertyID kAudioUnitProperty_StreamFormat =
    8; // * AudioStreamBasicDescription
inline constexpr AudioUnitPropertyID kAudioUnitProperty_ElementCount = 11; // * UInt32
inline constexpr AudioUnitPropertyID kAudioUnitProperty_Latency = 12; // * Float64 seconds, global
inline constexpr AudioUnitPropertyID kAudioUnitProperty_SupportedNumChannels =
    13; // * AUChannelInfo[], global
inline constexpr AudioUnitPropertyID kAudioUnitProperty_MaximumFramesPerSlice =
    14; // * UInt32, global, writable
inline constexpr AudioUnitPropertyID kAudioUnitProperty_ParameterValueStrings =
    16; // * std::vector<std::string>, element = id
inline constexpr AudioUnitPropertyID kAudioUnitProperty_GetUIComponentList =
    18; // * AudioComponentDescription[]
inline constexpr AudioUnitPropertyID kAudioUnitProperty_TailTime =
    20; // * Float64 seconds, when SupportsTail()
inline constexpr AudioUnitPropertyID kAudioUnitProperty_BypassEffect =
    21; // * UInt32, AUEffectBase, writable
inline constexpr AudioUnitPropertyID kAudioUnitProperty_InPlaceProcessing = 29; // * UInt32
inline constexpr AudioUnitPropertyID kAudioUnitProperty_ParameterStringFromValue =
    33; // * AudioUnitParameterStringFromValue
inline constexpr AudioUnitPropertyID kAudioUnitProperty_ParameterValueFromString =
    38; // * AudioUnitParameterValueFromString
inline constexpr AudioUnitPropertyID kAudioUnitProperty_DependentParameters =
    45; // AUDependentParameter[] (unit-defined)
inline constexpr AudioUnitPropertyID kAudioUnitProperty_ParameterValueName =
    kAudioUnitProperty_ParameterStringFromValue;

// ---------------------------------------------------------------------------
// Parameter units
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Generic = 0;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Indexed = 1;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Boolean = 2;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Percent = 3;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Seconds = 4;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_SampleFrames = 5;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Phase = 6;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Rate = 7;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Hertz = 8;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Cents = 9;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_RelativeSemiTones = 10;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_MIDINoteNumber = 11;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_MIDIController = 12;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Decibels = 13;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_LinearGain = 14;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Degrees = 15;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_EqualPowerCrossfade = 16;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_MixerFaderCurve1 = 17;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Pan = 18;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Meters = 19;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_AbsoluteCents = 20;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Octaves = 21;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_BPM = 22;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Beats = 23;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Milliseconds = 24;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_Ratio = 25;
inline constexpr AudioUnitParameterUnit kAudioUnitParameterUnit_CustomUnit = 26;

// ---------------------------------------------------------------------------
// Parameter flags
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_CFNameRelease = 1u << 4;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_OmitFromPresets = 1u << 13;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_PlotHistory = 1u << 14;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_MeterReadOnly = 1u << 15;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_DisplayMask =
    (7u << 16) | (1u << 22);
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_DisplaySquareRoot = 1u << 16;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_DisplaySquared = 2u << 16;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_DisplayCubed = 3u << 16;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_DisplayCubeRoot = 4u << 16;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_DisplayExponential = 5u << 16;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_HasClump = 1u << 20;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_ValuesHaveStrings = 1u << 21;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_DisplayLogarithmic = 1u << 22;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_IsHighResolution = 1u << 23;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_NonRealTime = 1u << 24;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_CanRamp = 1u << 25;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_ExpertMode = 1u << 26;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_HasCFNameString = 1u << 27;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_IsGlobalMeta = 1u << 28;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_IsElementMeta = 1u << 29;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_IsReadable = 1u << 30;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_IsWritable = 1u << 31;

// Render action flags (only what the framework sets).
inline constexpr AudioUnitRenderActionFlags kAudioUnitRenderAction_OutputIsSilence = 1u << 4;

// ---------------------------------------------------------------------------
// Records

struct AudioComponentDescription {
    OSType componentType = 0; // e.g. MakeFourCC("aufx")
    OSType componentSubType = 0;
    OSType componentManufacturer = 0;
    UInt32 componentFlags = 0;
    UInt32 componentFlagsMask = 0;
};
inline bool SameComponent(const AudioComponentDescription& a, const AudioComponentDescription& b) {
    return a.componentType == b.componentType && a.componentSubType == b.componentSubType &&
           a.componentManufacturer == b.componentManufacturer;
}

// Parameter information. `name` is a UTF-8 copy of cfNameString (truncated to fit);
// fill both with AUBase::FillInParameterName.
struct AudioUnitParameterInfo {
    static constexpr std::size_t kNameCapacity = 52; // bytes, terminating zero included
    char name[kNameCapacity] = {};
    std::string cfNameString;
    std::string unitName; // for kAudioUnitParameterUnit_CustomUnit
    UInt32 clumpID = 0;
    AudioUnitParameterUnit unit = kAudioUnitParameterUnit_Generic;
    AudioUnitParameterValue minValue = 0.0f;
    AudioUnitParameterValue maxValue = 1.0f;
    AudioUnitParameterValue defaultValue = 0.0f;
    AudioUnitParameterOptions flags = 0;
};

// Property 33. inValue null: use the parameter's current value. outString null: no
// special text (the host formats the number). outString must be a static string.
struct AudioUnitParameterStringFromValue {
    AudioUnitParameterID inParamID = 0;
    const AudioUnitParameterValue* inValue = nullptr;
    CFStringRef outString = nullptr;
};

// Property 38.
struct AudioUnitParameterValueFromString {
    AudioUnitParameterID inParamID = 0;
    const char* inString = nullptr;
    AudioUnitParameterValue outValue = 0.0f;
};

// Property 45 entry (8 bytes).
struct AUDependentParameter {
    AudioUnitScope mScope;
    AudioUnitParameterID mParameterID;
};
static_assert(sizeof(AUDependentParameter) == 8);

// Property 13 entry. -1 means "any"; {-1,-1}: any count, outputs = inputs.
struct AUChannelInfo {
    SInt16 inChannels;
    SInt16 outChannels;
};

// Stream format: always 32-bit float, non-interleaved (one buffer per channel).
inline constexpr UInt32 kAudioFormatLinearPCM = MakeFourCC("lpcm");
inline constexpr UInt32 kAudioFormatFlagIsFloat = 1u << 0;
inline constexpr UInt32 kAudioFormatFlagIsPacked = 1u << 3;
inline constexpr UInt32 kAudioFormatFlagIsNonInterleaved = 1u << 5;
inline constexpr UInt32 kAudioFormatFlagsNativeFloatPacked =
    kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
struct AudioStreamBasicDescription {
    static constexpr Float64 kDefaultSampleRate = 44100.0; // until the host sets one
    Float64 mSampleRate = kDefaultSampleRate;
    UInt32 mFormatID = kAudioFormatLinearPCM;
    UInt32 mFormatFlags = kAudioFormatFlagsNativeFloatPacked | kAudioFormatFlagIsNonInterleaved;
    UInt32 mBytesPerPacket = 4;
    UInt32 mFramesPerPacket = 1;
    UInt32 mBytesPerFrame = 4;
    UInt32 mChannelsPerFrame = 2;
    UInt32 mBitsPerChannel = 32;
    UInt32 mReserved = 0;
};
// A canonical float, non-interleaved format.
AudioStreamBasicDescription MakeCanonicalFormat(Float64 sampleRate, UInt32 channels);

struct AudioBuffer {
    UInt32 mNumberChannels = 1; // always 1: non-interleaved
    UInt32 mDataByteSize = 0;
    void* mData = nullptr; // float samples
};
// mBuffers points at mNumberBuffers buffers (owned by an AUBufferList), one per
// channel: list.mBuffers[i].mData holds channel i.
struct AudioBufferList {
    UInt32 mNumberBuffers = 0;
    AudioBuffer* mBuffers = nullptr;
};

// Parameter and property addresses used by events and AUParameterSet.
struct AudioUnitParameter {
    AudioUnit mAudioUnit = nullptr;
    AudioUnitParameterID mParameterID = 0;
    AudioUnitScope mScope = kAudioUnitScope_Global;
    AudioUnitElement mElement = 0;
};
struct AudioUnitProperty {
    AudioUnit mAudioUnit = nullptr;
    AudioUnitPropertyID mPropertyID = 0;
    AudioUnitScope mScope = kAudioUnitScope_Global;
    AudioUnitElement mElement = 0;
};
