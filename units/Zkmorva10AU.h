#pragma once

#include "dsp/Zkmorva10SignalProcessing.h"
#include "framework/Component.h"
#include "units/Zkmorva10Parameters.h"
#include "units/ZkmorvaAU.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

// The channel EQ unit: one equaliser path run over every channel in turn. One
// set of filters serves all channels; each channel's filter history is swapped in
// before and out after its pass, for the sections that are active.
class CZkmorva10AU : public CZkmorvaAU, public CZkmorva10SignalProcessing {
public:
    static constexpr OSType kType = MakeFourCC("aufx");
    static constexpr OSType kSubType = MakeFourCC("Zk10");
    static constexpr OSType kManufacturer = MakeFourCC("Vnqe");

    explicit CZkmorva10AU(AudioComponentInstance instance);
    ~CZkmorva10AU() override;

    OSStatus Initialize() override;
    OSStatus Reset(AudioUnitScope scope, AudioUnitElement element) override;
    Float64 GetLatency() override;
    OSStatus GetParameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                          AudioUnitParameterValue& outValue) override;
    void GetUIComponentDescs(AudioComponentDescription* outDescs) override;
    OSStatus ProcessBufferLists(AudioUnitRenderActionFlags& ioActionFlags,
                                const AudioBufferList& inBuffers, AudioBufferList& outBuffers,
                                UInt32 frames) override;
    OSStatus ProcessBypass(AudioUnitRenderActionFlags& ioActionFlags,
                           const AudioBufferList& inBuffers, AudioBufferList& outBuffers,
                           UInt32 frames) override;

    void UpdateParameters(AudioUnitParameterID id) override;
    void DrawAutoListen(bool on, long parameterId) override;

protected:
    bool GetTextBoxFlag() const override { return IsTextBoxActive(); }
    void RaiseTextBoxFlag() override { SetTextBoxAsCurrentControl(); }
    std::span<const zk::ParameterDef> GetParameterTable() const override {
        return zk::kZkmorva10Parameters;
    }
    AudioUnitParameterID GetAutoListenModeParameter() const override {
        return zk::kZ10AutoListenMode;
    }
    std::span<const zk::ValueTextRule> GetValueTexts() const override {
        return zk::kZkmorva10ValueTexts;
    }
    OSStatus GetValueForText(AudioUnitParameterID id, AudioUnitParameterValue& out) override;
    void HandleGesture(AudioUnitEventType type, AudioUnitParameterID id) override;

private:
    // The sections whose history is kept per channel, in swap order.
    enum class HistorySlot : std::size_t {
        HighPass,
        Band1,
        Band5 = Band1 + 4,
        LowPass,
        BassShifter,
        PresenceShifter,
        AutoListen,
        Oversampling,
    };
    static constexpr std::size_t kHistorySlotCount =
        static_cast<std::size_t>(HistorySlot::Oversampling) + 1;
    static constexpr HistorySlot BandSlot(int band) {
        return static_cast<HistorySlot>(static_cast<std::size_t>(HistorySlot::Band1) +
                                        static_cast<std::size_t>(band));
    }
    // The slots whose sections' history is swapped now (one bit per slot).
    std::uint32_t ActiveHistorySlots() const;
    template <class Visit> void ForEachHistorySlot(std::uint32_t slots, Visit&& visit);
    void LoadChannelHistory(UInt32 channel, std::uint32_t slots);
    void SaveChannelHistory(UInt32 channel, std::uint32_t slots);
    // Ends the pair of channels first and first + 1: both channels' histories
    // back into their slots (those that were swapped when it began).
    void ReleasePair(UInt32 first = 0);
    // Per channel: the latency-matched bypass ring (as many samples as the
    // oversampled path's latency, all of the ring a channel uses, and its position)
    // and the denormal-guard noise generator, so that a channel's output does not
    // depend on how the host cuts the stream into blocks.
    static constexpr std::size_t kBypassRingSamples = kOversamplingLatency;
    static constexpr std::size_t kRingPositionSlot = kBypassRingSamples;
    static constexpr std::size_t kNoiseSeedSlot = kBypassRingSamples + 1;
    static constexpr std::size_t kBypassStateSize = kBypassRingSamples + 2;
    void UpdateSectionControl(AudioUnitParameterID id, double v);
    void Follow(AudioUnitParameterID id, double frequency);

    std::array<std::vector<double>, kHistorySlotCount> history;
    std::vector<double> bypassHistory;
    UInt32 historyChannels = 0;
    // A stereo bus's pair stays in the processor between blocks (swapping both
    // channels' histories out and in cost a sixth of a 16-frame block); the
    // slots that were swapped when it began.
    bool pairKept = false;
    std::uint32_t keptSlots = 0;
};

// The component entry of the channel EQ and its description.
using CZkmorva10AUEntry = AUComponentEntry<CZkmorva10AU>;
inline constexpr AudioComponentDescription kZkmorva10Description{
    CZkmorva10AU::kType, CZkmorva10AU::kSubType, CZkmorva10AU::kManufacturer, 0, 0};
AudioUnitPtr OpenZkmorva10();
