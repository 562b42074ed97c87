#pragma once

// The unit classes: ComponentBase -> AUBase -> AUEffectBase, with their scopes
// (AUScope), elements (AUElement, AUIOElement) and render buffer lists (AUBufferList).
//
// Life cycle (host side, through AudioUnitInitialize & co. or the Do* members):
//   construct (unit ctor: CreateElements, Globals()->UseIndexedParameters(n), defaults)
//   -> PostConstructor() -> [set formats / max frames] -> DoInitialize() -> Initialize()
//   -> Render(...) -> ProcessBufferLists(...) ... DoReset() -> Reset() ...
//   -> DoCleanup() -> Cleanup() -> PreDestructor() (calls DoCleanup) -> destroy.
// Units override the virtuals (Initialize, Reset, Cleanup, GetParameterInfo, ...);
// hosts call the Do* members, Render and the AudioUnit* free functions.

#include "framework/Types.h"

#include <atomic>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// ---------------------------------------------------------------------------
// AUElement: one element of a scope, with an optional indexed parameter store.
// Parameter values are 32-bit floats in preallocated relaxed atomics, so any thread
// may read and write them without a data race (no ordering between parameters).
class AUElement {
public:
    AUElement() = default;
    virtual ~AUElement() = default;
    AUElement(const AUElement&) = delete;
    AUElement& operator=(const AUElement&) = delete;

    // Allocates `count` slots (ids 0..count-1), all 0.0. Call from the unit's
    // constructor only (never while other threads use the unit).
    void UseIndexedParameters(UInt32 count);
    UInt32 GetNumberOfParameters() const { return mParameterCount; }
    bool HasParameter(AudioUnitParameterID id) const { return id < mParameterCount; }

    // Unknown id: GetParameter returns 0.0, SetParameter returns -10878 and stores nothing.
    AudioUnitParameterValue GetParameter(AudioUnitParameterID id) const {
        return id < mParameterCount ? mParameters[id].load(std::memory_order_relaxed) : 0.0f;
    }
    OSStatus SetParameter(AudioUnitParameterID id, AudioUnitParameterValue value) {
        if (id >= mParameterCount) {
            return kAudioUnitErr_InvalidParameter;
        }
        mParameters[id].store(value, std::memory_order_relaxed);
        return noErr;
    }

private:
    std::unique_ptr<std::atomic<float>[]> mParameters;
    UInt32 mParameterCount = 0;
};

// An input or output bus: an element with a stream format.
class AUIOElement : public AUElement {
public:
    const AudioStreamBasicDescription& GetStreamFormat() const { return mFormat; }
    void SetStreamFormat(const AudioStreamBasicDescription& f) { mFormat = f; }
    Float64 GetSampleRate() const { return mFormat.mSampleRate; }
    UInt32 NumberChannels() const { return mFormat.mChannelsPerFrame; }

private:
    AudioStreamBasicDescription mFormat{};
};

// AUScope: the elements of one scope (global: 1 element; input/output: the buses).
class AUScope {
public:
    AudioUnitScope GetScope() const { return mScope; }
    UInt32 GetNumberOfElements() const { return static_cast<UInt32>(mElements.size()); }
    AUElement* GetElement(AudioUnitElement i) const {
        return i < mElements.size() ? mElements[i].get() : nullptr;
    }
    AUIOElement* GetIOElement(AudioUnitElement i) const {
        return mScope == kAudioUnitScope_Global ? nullptr
                                                : static_cast<AUIOElement*>(GetElement(i));
    }

private:
    friend class AUBase;
    AudioUnitScope mScope = kAudioUnitScope_Global;
    std::vector<std::unique_ptr<AUElement>> mElements;
};

// AUBufferList: an AudioBufferList whose buffer array is allocated once (Allocate,
// not on the audio thread) and then pointed at the host's channels per block.
class AUBufferList {
public:
    void Allocate(UInt32 channels);
    UInt32 Capacity() const { return static_cast<UInt32>(mBuffers.size()); }
    // Real-time safe: points the list at `count` channels of `frames` samples.
    template <class P> AudioBufferList& Prepare(P* const* channels, UInt32 count, UInt32 frames) {
        mList.mNumberBuffers = count;
        mList.mBuffers = mBuffers.data();
        for (UInt32 c = 0; c < count; ++c) {
            mBuffers[c].mNumberChannels = 1;
            mBuffers[c].mDataByteSize = frames * sizeof(float);
            mBuffers[c].mData = const_cast<float*>(channels[c]);
        }
        return mList;
    }
    AudioBufferList& GetBufferList() { return mList; }

private:
    std::vector<AudioBuffer> mBuffers;
    AudioBufferList mList{};
};

// ---------------------------------------------------------------------------
// ComponentBase: identity and construction hooks of an opened component.
class ComponentBase {
public:
    explicit ComponentBase(AudioComponentInstance) {}
    virtual ~ComponentBase() = default;
    ComponentBase(const ComponentBase&) = delete;
    ComponentBase& operator=(const ComponentBase&) = delete;

    // Called by the component entry right after / before construction / destruction.
    virtual void PostConstructor() {}
    virtual void PreDestructor() {}
    // The unit's own version (e.g. 0x00010009 for 1.0.9).
    virtual UInt32 Version() { return 0; }

    const AudioComponentDescription& GetComponentDescription() const { return mDescription; }
    void SetComponentDescription(const AudioComponentDescription& d) { mDescription = d; }

private:
    AudioComponentDescription mDescription{};
};

// ---------------------------------------------------------------------------
class AUBase : public ComponentBase {
public:
    static constexpr UInt32 kDefaultMaxFramesPerSlice = 1156;
    static constexpr UInt32 kMaxChannels = 64;

    // `instance` is accepted because the component entry constructs every unit as
    // T(nullptr), and otherwise ignored: the handle of a unit is always the unit
    // itself, see GetComponentInstance().
    AUBase(AudioComponentInstance instance, UInt32 numInputs, UInt32 numOutputs);
    ~AUBase() override;

    AudioComponentInstance GetComponentInstance() { return this; }

    // ----- elements and scopes
    // Creates the global element and numInputs/numOutputs buses (idempotent).
    virtual void CreateElements();
    AUScope& GetScope(AudioUnitScope scope);                               // precondition: 0..2
    const AUScope& GetScope(AudioUnitScope scope) const;                   // precondition: 0..2
    AUElement* GetElement(AudioUnitScope scope, AudioUnitElement element); // null if none
    AUElement* Globals() { return mGlobal.GetElement(0); }
    const AUElement* Globals() const { return mGlobal.GetElement(0); }
    AUIOElement* Input(UInt32 bus = 0) { return mInputs.GetIOElement(bus); }
    AUIOElement* Output(UInt32 bus = 0) { return mOutputs.GetIOElement(bus); }
    // Checks scope and element: noErr, -10866 (scope) or -10877 (element).
    OSStatus CheckScopeElement(AudioUnitScope scope, AudioUnitElement element) const;

    // ----- life cycle (hosts call the Do* members; units override the virtuals)
    OSStatus DoInitialize(); // no-op when initialised; allocates buffer lists, Initialize()
    void DoCleanup();        // Cleanup() when initialised; then uninitialised
    OSStatus DoReset(AudioUnitScope scope, AudioUnitElement element); // Reset()
    bool IsInitialized() const { return mInitialized.load(std::memory_order_acquire); }
    virtual OSStatus Initialize() { return noErr; }
    virtual void Cleanup() {}
    virtual OSStatus Reset(AudioUnitScope scope, AudioUnitElement element);
    void PreDestructor() override; // DoCleanup()

    // ----- formats and sizes
    Float64 GetSampleRate(); // output bus 0 (44100 until set)
    // Sets input and output bus 0 formats; not while initialised (-10849).
    OSStatus SetSampleRateAndChannels(Float64 sampleRate, UInt32 inChannels, UInt32 outChannels);
    OSStatus SetStreamFormat(AudioUnitScope scope, AudioUnitElement element,
                             const AudioStreamBasicDescription& format);
    UInt32 GetMaxFramesPerSlice() const { return mMaxFramesPerSlice; }
    OSStatus SetMaxFramesPerSlice(UInt32 frames); // not while initialised (-10849)
    // Channel configurations: returns the count and points *outInfo at them; 0 (the
    // default) means any count with as many outputs as inputs.
    virtual UInt32 SupportedNumChannels(const AUChannelInfo** outInfo);
    virtual Float64 GetLatency() { return 0.0; } // seconds
    virtual bool SupportsTail() { return false; }
    virtual Float64 GetTailTime() { return 0.0; } // seconds
    virtual bool ProcessesInPlace() const { return false; }

    // ----- parameters
    // Host-facing parameter access (virtual; units override for meters etc.).
    // Validates scope (-10866), element (-10877) and id (-10878). Neither notifies
    // listeners: use AUParameterSet for a change that listeners must see.
    virtual OSStatus GetParameter(AudioUnitParameterID id, AudioUnitScope scope,
                                  AudioUnitElement element, AudioUnitParameterValue& outValue);
    virtual OSStatus SetParameter(AudioUnitParameterID id, AudioUnitScope scope,
                                  AudioUnitElement element, AudioUnitParameterValue value,
                                  UInt32 bufferOffsetInFrames);
    // Reads the store directly (no virtual call; safe on any thread). False if none.
    bool PeekParameter(AudioUnitScope scope, AudioUnitElement element, AudioUnitParameterID id,
                       AudioUnitParameterValue& out) const;
    // Default: -10878 for every id.
    virtual OSStatus GetParameterInfo(AudioUnitScope scope, AudioUnitParameterID id,
                                      AudioUnitParameterInfo& outInfo);
    // Null out pointer: only tells whether the parameter has strings (noErr) or not.
    // Default: -10879 (no value strings).
    virtual OSStatus GetParameterValueStrings(AudioUnitScope scope, AudioUnitParameterID id,
                                              std::vector<std::string>* outStrings);
    // Sets cfNameString, the fixed name field and kAudioUnitParameterFlag_HasCFNameString.
    static void FillInParameterName(AudioUnitParameterInfo& info, std::string_view name,
                                    bool release = false);

    // ----- properties
    // Size and writability, read, write. Unknown id -> -10879;
    // wrong scope -> -10866; not writable -> -10865.
    virtual OSStatus GetPropertyInfo(AudioUnitPropertyID id, AudioUnitScope scope,
                                     AudioUnitElement element, UInt32& outDataSize,
                                     Boolean& outWritable);
    virtual OSStatus GetProperty(AudioUnitPropertyID id, AudioUnitScope scope,
                                 AudioUnitElement element, void* outData);
    virtual OSStatus SetProperty(AudioUnitPropertyID id, AudioUnitScope scope,
                                 AudioUnitElement element, const void* inData, UInt32 inDataSize);
    // Posts a property-change event (type 3) to every listener subscribed to it.
    // Real-time safe (may be called from the render thread).
    void PropertyChanged(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element);

    // ----- view components
    virtual int GetNumCustomUIComponents() { return 0; }
    virtual void GetUIComponentDescs(AudioComponentDescription* /*outDescs*/) {}

    // ----- render (host side)
    // inputs/outputs: one non-interleaved float channel each (in == out allowed).
    // Errors: -10867 not initialised, -10874 frames > max frames per slice, -50 channel
    // count different from the bus formats or null pointers. 0 frames: noErr, no call.
    // Never allocates or locks.
    OSStatus Render(AudioUnitRenderActionFlags& ioActionFlags, UInt32 frames,
                    std::span<const float* const> inputs, std::span<float* const> outputs);

    // ----- saved state (class-information dictionary as a plist XML document)
    // Keys: version (saved-state format, 0), type, subtype, manufacturer (four-char
    // codes as integers), name (preset name), data (base64 of the global-scope store:
    // for each parameter id in ascending order 8 bytes: id as big-endian UInt32, then the
    // IEEE-754 float bits as big-endian UInt32).
    static constexpr SInt64 kCurrentSavedStateVersion = 0;
    std::string SaveState();
    // Parses and validates the whole document before touching the unit. On error the
    // unit is unchanged and *outError (if given) names the problem. Non-finite values
    // and unknown ids are refused; values outside [min, max] of GetParameterInfo are
    // clamped. On success every restored parameter posts a value-change event, and a
    // property-change event of kAudioUnitProperty_ClassInfo follows.
    OSStatus RestoreState(std::string_view document, std::string* outError = nullptr);
    const std::string& GetPresetName() const { return mPresetName; }
    // Called by RestoreState once the values are stored, before listeners hear of them.
    virtual void StateRestored() {}
    void SetPresetName(std::string name) { mPresetName = std::move(name); }

protected:
    // Called by Render once the buffer lists are built. AUEffectBase implements it.
    virtual OSStatus RenderBufferLists(AudioUnitRenderActionFlags& ioActionFlags,
                                       const AudioBufferList& inBuffers,
                                       AudioBufferList& outBuffers, UInt32 frames);

private:
    AUScope mGlobal, mInputs, mOutputs;
    UInt32 mNumInputs, mNumOutputs;
    bool mElementsCreated = false;
    std::atomic<bool> mInitialized{false};
    UInt32 mMaxFramesPerSlice = kDefaultMaxFramesPerSlice;
    AUBufferList mInList, mOutList;
    std::string mPresetName = "Untitled";
};

// ---------------------------------------------------------------------------
// AUEffectBase: one input bus, one output bus, same channel count on both unless the
// unit's SupportedNumChannels says otherwise; host bypass (property 21).
class AUEffectBase : public AUBase {
public:
    explicit AUEffectBase(AudioComponentInstance instance, bool inProcessesInPlace = true);

    // Checks the channel configuration: -10868 when the formats match none.
    OSStatus Initialize() override;
    bool ProcessesInPlace() const override { return mProcessesInPlace; }
    UInt32 GetNumberOfChannels(); // output bus 0 channel count

    // The unit's block processing. Default: like ProcessBypass.
    virtual OSStatus ProcessBufferLists(AudioUnitRenderActionFlags& ioActionFlags,
                                        const AudioBufferList& inBuffers,
                                        AudioBufferList& outBuffers, UInt32 frames);

    // Host bypass. SetBypassEffect is called when property 21 is set (any thread but
    // render); override to tell the processor. While bypassed Render calls
    // ProcessBypass instead of ProcessBufferLists; override it to run the processor's
    // own latency-matched bypass. Default: copies input to output (extra outputs 0).
    bool IsBypassEffect() const { return mBypass.load(std::memory_order_relaxed); }
    virtual void SetBypassEffect(bool on) { mBypass.store(on, std::memory_order_relaxed); }
    virtual OSStatus ProcessBypass(AudioUnitRenderActionFlags& ioActionFlags,
                                   const AudioBufferList& inBuffers, AudioBufferList& outBuffers,
                                   UInt32 frames);

    OSStatus GetPropertyInfo(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                             UInt32& outDataSize, Boolean& outWritable) override;
    OSStatus GetProperty(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                         void* outData) override;
    OSStatus SetProperty(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                         const void* inData, UInt32 inDataSize) override;

protected:
    OSStatus RenderBufferLists(AudioUnitRenderActionFlags& ioActionFlags,
                               const AudioBufferList& inBuffers, AudioBufferList& outBuffers,
                               UInt32 frames) override;

private:
    bool mProcessesInPlace;
    std::atomic<bool> mBypass{false};
};

// ---------------------------------------------------------------------------
// Host-side calls on a unit handle, for callers that hold only an AudioUnit (editors,
// the renderer, tests). A null handle gives -50.
OSStatus AudioUnitInitialize(AudioUnit unit);
OSStatus AudioUnitUninitialize(AudioUnit unit);
OSStatus AudioUnitReset(AudioUnit unit, AudioUnitScope scope, AudioUnitElement element);
OSStatus AudioUnitGetParameter(AudioUnit unit, AudioUnitParameterID id, AudioUnitScope scope,
                               AudioUnitElement element, AudioUnitParameterValue* outValue);
// Stores only; listeners are not told (use AUParameterSet for that).
OSStatus AudioUnitSetParameter(AudioUnit unit, AudioUnitParameterID id, AudioUnitScope scope,
                               AudioUnitElement element, AudioUnitParameterValue value,
                               UInt32 bufferOffsetInFrames);
OSStatus AudioUnitGetPropertyInfo(AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                                  AudioUnitElement element, UInt32* outDataSize,
                                  Boolean* outWritable);
// *ioDataSize must be at least the property's size; it is set to the size written.
OSStatus AudioUnitGetProperty(AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                              AudioUnitElement element, void* outData, UInt32* ioDataSize);
// Refused with -10865 when GetPropertyInfo says not writable.
OSStatus AudioUnitSetProperty(AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                              AudioUnitElement element, const void* inData, UInt32 inDataSize);
