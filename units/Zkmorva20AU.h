#pragma once

#include "dsp/Zkmorva20SignalProcessing.h"
#include "framework/Component.h"
#include "units/Zkmorva20Parameters.h"
#include "units/ZkmorvaAU.h"

#include <atomic>
#include <string>
#include <vector>

// The two-channel EQ unit: a complete chain per channel, links between the
// channels, a master link, solo, mid/side stage and meters. 2 inputs, 2 outputs.
//
// Parameter events reach the processor on the render thread (see CZkmorvaAU). A
// change from outside to a linked control moves its partner, a solo switched on
// switches the other off, and the master link sets every link switch: the unit's
// own changes, made where its host hears them.
class CZkmorva20AU : public CZkmorvaAU, public CZkmorva20SignalProcessing {
public:
    static constexpr OSType kType = MakeFourCC("aufx");
    static constexpr OSType kSubType = MakeFourCC("Zk20");
    static constexpr OSType kManufacturer = MakeFourCC("Vnqe");

    explicit CZkmorva20AU(AudioComponentInstance instance);
    ~CZkmorva20AU() override;

    OSStatus Initialize() override;
    OSStatus Reset(AudioUnitScope scope, AudioUnitElement element) override;
    OSStatus GetPropertyInfo(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                             UInt32& outDataSize, Boolean& outWritable) override;
    OSStatus GetProperty(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                         void* outData) override;
    OSStatus GetParameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                          AudioUnitParameterValue& outValue) override;
    // The meters from one reading of the processor's published values.
    void GetParameters(std::span<const AudioUnitParameterID> ids, std::span<float> values) override;
    void GetUIComponentDescs(AudioComponentDescription* outDescs) override;
    Float64 GetLatency() override;
    UInt32 SupportedNumChannels(const AUChannelInfo** outInfo) override;
    OSStatus ProcessBufferLists(AudioUnitRenderActionFlags& ioActionFlags,
                                const AudioBufferList& inBuffers, AudioBufferList& outBuffers,
                                UInt32 frames) override;
    OSStatus ProcessBypass(AudioUnitRenderActionFlags& ioActionFlags,
                           const AudioBufferList& inBuffers, AudioBufferList& outBuffers,
                           UInt32 frames) override;

    void UpdateParameters(AudioUnitParameterID id) override;
    long GetLinkStatus(long id) override;
    long GetLinkedControl(long id) override;
    void DrawAutoListen(bool on, long parameterId) override;

protected:
    bool GetTextBoxFlag() const override { return IsTextBoxActive(); }
    void RaiseTextBoxFlag() override { SetTextBoxAsCurrentControl(); }
    std::span<const zk::ParameterDef> GetParameterTable() const override {
        return zk::kZkmorva20Parameters;
    }
    AudioUnitParameterID GetAutoListenModeParameter() const override {
        return zk::kZ20AutoListenMode;
    }
    std::span<const zk::ValueTextRule> GetValueTexts() const override {
        return zk::kZkmorva20ValueTexts;
    }
    // Without a value the asked parameter's own current value is used (meters too).
    OSStatus GetValueForText(AudioUnitParameterID id, AudioUnitParameterValue& out) override {
        return GetParameter(id, kAudioUnitScope_Global, 0, out);
    }
    void HandleGesture(AudioUnitEventType type, AudioUnitParameterID id) override;
    void AnswerChange(AudioUnitParameterID id) override;

private:
    void UpdateChannelControl(AudioUnitParameterID id, double v);
    void UpdateSolo(AudioUnitParameterID id, float v);
};

// The component entry of the two-channel EQ and its description.
using CZkmorva20AUEntry = AUComponentEntry<CZkmorva20AU>;
inline constexpr AudioComponentDescription kZkmorva20Description{
    CZkmorva20AU::kType, CZkmorva20AU::kSubType, CZkmorva20AU::kManufacturer, 0, 0};
AudioUnitPtr OpenZkmorva20();
