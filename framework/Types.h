#pragma once

// Basic types and constants of the framework: scalar types, result codes,
// property ids, parameter units and flags, component descriptions, audio buffers,
// parameter and event records. Numeric values are the classic ones the units rely on.

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

// Constant C strings stand in for Core Foundation strings where the units hand out
// literals (property 33's outString, run-loop modes). They must have static lifetime.
using CFStringRef = const char*;

// 'abcd' as a big-endian four-char code, without multi-character literals.
constexpr FourCharCode MakeFourCC(const char (&s)[5]) {
    return (UInt32(UInt8(s[0])) << 24) | (UInt32(UInt8(s[1])) << 16) | (UInt32(UInt8(s[2])) << 8) |
           UInt32(UInt8(s[3]));
}
std::string FourCCToString(FourCharCode code); // "aufx"; non-printable bytes as '?'

// ---------------------------------------------------------------------------
// Result codes
enum : OSStatus {
    noErr = 0,
    kAudio_UnimplementedError = -4,
    kAudio_ParamError = -50,
    kAudio_MemFullError = -108,
    kAudioUnitErr_InvalidProperty = -10879,
    kAudioUnitErr_InvalidParameter = -10878,
    kAudioUnitErr_InvalidElement = -10877,
    kAudioUnitErr_NoConnection = -10876,
    kAudioUnitErr_FailedInitialization = -10875,
    kAudioUnitErr_TooManyFramesToProcess = -10874,
    kAudioUnitErr_InvalidFile = -10871,
    kAudioUnitErr_FormatNotSupported = -10868,
    kAudioUnitErr_Uninitialized = -10867,
    kAudioUnitErr_InvalidScope = -10866,
    kAudioUnitErr_PropertyNotWritable = -10865,
    kAudioUnitErr_CannotDoInCurrentContext = -10863,
    kAudioUnitErr_InvalidPropertyValue = -10851,
    kAudioUnitErr_PropertyNotInUse = -10850,
    kAudioUnitErr_Initialized = -10849,
    kAudioComponentErr_InstanceInvalidated = -66749, // no component for a description
};

// ---------------------------------------------------------------------------
// Scopes
enum : AudioUnitScope {
    kAudioUnitScope_Global = 0,
    kAudioUnitScope_Input = 1,
    kAudioUnitScope_Output = 2,
};

// ---------------------------------------------------------------------------
// Property ids (the ones the framework answers are marked *)
enum : AudioUnitPropertyID {
    kAudioUnitProperty_ClassInfo = 0,                 // saved state: see AUBase::SaveState
    kAudioUnitProperty_SampleRate = 2,                // * Float64, input/output scope
    kAudioUnitProperty_ParameterList = 3,             // * AudioUnitParameterID[]
    kAudioUnitProperty_ParameterInfo = 4,             // * AudioUnitParameterInfo, element = id
    kAudioUnitProperty_StreamFormat = 8,              // * AudioStreamBasicDescription
    kAudioUnitProperty_ElementCount = 11,             // * UInt32
    kAudioUnitProperty_Latency = 12,                  // * Float64 seconds, global
    kAudioUnitProperty_SupportedNumChannels = 13,     // * AUChannelInfo[], global
    kAudioUnitProperty_MaximumFramesPerSlice = 14,    // * UInt32, global, writable
    kAudioUnitProperty_ParameterValueStrings = 16,    // * std::vector<std::string>, element = id
    kAudioUnitProperty_GetUIComponentList = 18,       // * AudioComponentDescription[]
    kAudioUnitProperty_TailTime = 20,                 // * Float64 seconds, when SupportsTail()
    kAudioUnitProperty_BypassEffect = 21,             // * UInt32, AUEffectBase, writable
    kAudioUnitProperty_InPlaceProcessing = 29,        // * UInt32
    kAudioUnitProperty_ParameterStringFromValue = 33, // * AudioUnitParameterStringFromValue
    kAudioUnitProperty_ParameterValueFromString = 38, // * AudioUnitParameterValueFromString
    kAudioUnitProperty_DependentParameters = 45,      // AUDependentParameter[] (unit-defined)
};
inline constexpr AudioUnitPropertyID kAudioUnitProperty_ParameterValueName =
    kAudioUnitProperty_ParameterStringFromValue;

// ---------------------------------------------------------------------------
// Parameter units
enum : AudioUnitParameterUnit {
    kAudioUnitParameterUnit_Generic = 0,
    kAudioUnitParameterUnit_Indexed = 1,
    kAudioUnitParameterUnit_Boolean = 2,
    kAudioUnitParameterUnit_Percent = 3,
    kAudioUnitParameterUnit_Seconds = 4,
    kAudioUnitParameterUnit_SampleFrames = 5,
    kAudioUnitParameterUnit_Phase = 6,
    kAudioUnitParameterUnit_Rate = 7,
    kAudioUnitParameterUnit_Hertz = 8,
    kAudioUnitParameterUnit_Cents = 9,
    kAudioUnitParameterUnit_RelativeSemiTones = 10,
    kAudioUnitParameterUnit_MIDINoteNumber = 11,
    kAudioUnitParameterUnit_MIDIController = 12,
    kAudioUnitParameterUnit_Decibels = 13,
    kAudioUnitParameterUnit_LinearGain = 14,
    kAudioUnitParameterUnit_Degrees = 15,
    kAudioUnitParameterUnit_EqualPowerCrossfade = 16,
    kAudioUnitParameterUnit_MixerFaderCurve1 = 17,
    kAudioUnitParameterUnit_Pan = 18,
    kAudioUnitParameterUnit_Meters = 19,
    kAudioUnitParameterUnit_AbsoluteCents = 20,
    kAudioUnitParameterUnit_Octaves = 21,
    kAudioUnitParameterUnit_BPM = 22,
    kAudioUnitParameterUnit_Beats = 23,
    kAudioUnitParameterUnit_Milliseconds = 24,
    kAudioUnitParameterUnit_Ratio = 25,
    kAudioUnitParameterUnit_CustomUnit = 26,
};

// ---------------------------------------------------------------------------
// Parameter flags
enum : AudioUnitParameterOptions {
    kAudioUnitParameterFlag_CFNameRelease = 1u << 4,
    kAudioUnitParameterFlag_OmitFromPresets = 1u << 13,
    kAudioUnitParameterFlag_PlotHistory = 1u << 14,
    kAudioUnitParameterFlag_MeterReadOnly = 1u << 15,
    kAudioUnitParameterFlag_DisplayMask = (7u << 16) | (1u << 22),
    kAudioUnitParameterFlag_DisplaySquareRoot = 1u << 16,
    kAudioUnitParameterFlag_DisplaySquared = 2u << 16,
    kAudioUnitParameterFlag_DisplayCubed = 3u << 16,
    kAudioUnitParameterFlag_DisplayCubeRoot = 4u << 16,
    kAudioUnitParameterFlag_DisplayExponential = 5u << 16,
    kAudioUnitParameterFlag_HasClump = 1u << 20,
    kAudioUnitParameterFlag_ValuesHaveStrings = 1u << 21,
    kAudioUnitParameterFlag_DisplayLogarithmic = 1u << 22,
    kAudioUnitParameterFlag_IsHighResolution = 1u << 23,
    kAudioUnitParameterFlag_NonRealTime = 1u << 24,
    kAudioUnitParameterFlag_CanRamp = 1u << 25,
    kAudioUnitParameterFlag_ExpertMode = 1u << 26,
    kAudioUnitParameterFlag_HasCFNameString = 1u << 27,
    kAudioUnitParameterFlag_IsGlobalMeta = 1u << 28,
    kAudioUnitParameterFlag_IsElementMeta = 1u << 29,
    kAudioUnitParameterFlag_IsReadable = 1u << 30,
    kAudioUnitParameterFlag_IsWritable = 1u << 31,
};

// Render action flags (only what the framework sets).
enum : AudioUnitRenderActionFlags {
    kAudioUnitRenderAction_OutputIsSilence = 1u << 4,
};

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
    char name[52] = {};
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
enum : UInt32 {
    kAudioFormatLinearPCM = MakeFourCC("lpcm"),
    kAudioFormatFlagIsFloat = 1u << 0,
    kAudioFormatFlagIsPacked = 1u << 3,
    kAudioFormatFlagIsNonInterleaved = 1u << 5,
    kAudioFormatFlagsNativeFloatPacked = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked,
};
struct AudioStreamBasicDescription {
    Float64 mSampleRate = 44100.0;
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
// mBuffers points at mNumberBuffers buffers (owned by an AUBufferList); index it
// as in the classic layout: list.mBuffers[i].mData.
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
