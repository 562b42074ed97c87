#pragma once

#include "AiFilter.h"
#include "Biquad.h"
#include "CascadeKernels.h"
#include "HpLpFilter.h"
#include "MonoMaker.h"
#include "Shifter.h"
#include "SignalProcessing.h"
#include "Zkmorva20MeterBlocks.h"
#include "Zkmorva20Metering.h"
#include "Zkmorva20Settings.h"

#include <array>
#include <vector>

// The filters of one channel of the two-channel equaliser, in chain order.
struct CZkmorva20ChannelFilters {
    explicit CZkmorva20ChannelFilters(double sampleRate);

    void SetSampleRate(double sr);
    void InitBuffers();

    CZkmorvaAiFilter aiFilter; // band limit after zero-stuffing
    CBiquad autoListenFilter;  // notch whose complement plays a band around a frequency
    CZkmorvaHpLpFilter hpFilter;
    std::array<CBiquad, 5> bandFilter; // LF, LMF, MF, HMF, HF
    CZkmorvaShifter bassShifter;
    CZkmorvaShifter presenceShifter;
    CZkmorvaHpLpFilter lpFilter;
};

// The two-channel equaliser: a complete chain per channel, a mid/side stage with
// mono maker and stereo width, output gains, solo and auto-listen routing, and
// meters.
//
// Threading: one thread at a time drives it (processing, settings, filter
// updates, auto-listen). Meter values are read from other threads while
// rendering runs: they are published as relaxed atomics at the end of each block
// and CalcCorrelation only touches that published state (see
// zk20::CZkmorva20MeterBoard).
//
// The owner sizes the work buffers with AllocateWorkBuffers outside rendering,
// after UpdateSampleRate, for the largest block it will pass.
class CZkmorva20SignalProcessing : public CZkmorvaSignalProcessing {
public:
    CZkmorva20SignalProcessing();
    ~CZkmorva20SignalProcessing() override = default;

    // Returns 0 when the rate is unchanged; otherwise moves every filter to the
    // new processing rate and returns 1.
    int UpdateSampleRate(double hostRate) override;

    virtual void BeginAutoListen(long id);
    virtual void EndAutoListen(long id);
    virtual void InitParameters();
    // Overridden by the unit: nonzero when control id is linked to its
    // counterpart on the other channel, and that counterpart's id.
    virtual long GetLinkStatus(long id);
    virtual long GetLinkedControl(long id);
    // in[0]/out[0] channel 1, in[1]/out[1] channel 2. In-place use is allowed.
    virtual void ProcessFloats(float** in, float** out, long frames);
    virtual void ProcessDoubles(double** in, double** out, long frames);
    // Runs the whole chain over the first count samples of the work buffers.
    virtual void ProcessSampleBuffer(long count);
    // Left/right <-> mid/side on the work buffers; its own inverse.
    virtual void ConvertBetweenMsAndLr(long count);
    // Forms a correlation result when half a second has been accumulated. Safe
    // to call from a reading thread while rendering runs.
    virtual void CalcCorrelation();
    // Clears the bypass delay and every filter's history, and restarts the
    // denormal-guard noise.
    virtual void InitBuffers();
    // Every filter's history only.
    void ClearFilterHistory();

    // Allocates both work buffers for blocks of up to maxFrames host frames at
    // the current oversampling choice, zeroed. Not for the render thread.
    void AllocateWorkBuffers(long maxFrames);
    long GetWorkBufferCapacity() const { return static_cast<long>(workBuffer1.size()); }
    // Inspection of the internal-rate signal after a block.
    const double* GetWorkBuffer(int channel) const;
    // Inspection of the render thread's meter state between blocks (sums included).
    const zk20::CZkmorva20MeterState& GetMeterState() const { return meters; }

    ChannelSettings& GetChannelSettings(int channel) { return channel == 0 ? channel1 : channel2; }
    CZkmorva20ChannelFilters& GetChannelFilters(int channel) {
        return filters[channel == 0 ? 0 : 1];
    }
    CMonoMaker& GetMonoMaker() { return monoMaker; }

    bool IsAutoListenActive() const { return autoListenActive; }
    long GetAutoListenControl() const { return autoListenControl; }
    double GetListenGain() const { return listenGain; }
    float GetNyquist() const { return nyquist; }
    bool IsTextBoxActive() const { return textBoxActive.load(std::memory_order_relaxed); }

    // Meter values as last published; any thread.
    zk20::CZkmorva20MeterReadings ReadMeters() const { return meterBoard.Read(); }
    // Value of meter parameter 100..107 as handed to the host.
    double GetMeterParameter(long id) const {
        return zk20::MeterParameterValue(id, meterBoard.Read());
    }

    // Settings, written by the unit's parameter dispatch.
    int soloMode = 0; // 0 none, 1 channel 1 on both outputs, 2 channel 2
    bool eqOn = true;
    bool autoListenOn = true;
    int autoListenMode = 6;
    double inputGain1 = 1.0, outputGain1 = 1.0, inputGain2 = 1.0, outputGain2 = 1.0;
    double monoMakerFrequency = 20.0; // the mono maker runs only above 20 Hz
    bool monoMakerOn = true;
    double stereoWidth = 1.0; // factor on the side signal
    bool stereoWidthOn = true;
    ChannelSettings channel1 = kDefaultChannelSettings;
    ChannelSettings channel2 = kDefaultChannelSettings;

private:
    template <typename Sample> void ProcessBlock(Sample** in, Sample** out, long frames);
    template <typename Sample> void ProcessBypass(Sample** in, Sample** out, long frames);
    bool HasWorkBuffers(long count) const;
    void ApplyCorrelationClaim();
    // The chain of one channel with the plain per-section loops.
    void RunPlainChain(const ChannelSettings& s, CZkmorva20ChannelFilters& f, double* buffer,
                       long count);
    void RunListenedSection(long count);
    // Input gains, input meter magnitudes, noise and the zero-stuffing
    // compensation, a block at a time (the magnitudes go to inputMagnitudes).
    void RunInputStage(long count);
    // True when the dynamic type has its own ConvertBetweenMsAndLr: the mid/side
    // stage then calls it rather than running as one pass.
    bool HasOwnMsConversion();
    // Where solo or auto-listen sends the channels this block.
    zk20::Route CurrentRoute();
    // One pass of auto-listen start or end for control id.
    void BeginListenPass(long id);
    void EndListenPass(long id);

    bool autoListenActive = false;
    long autoListenControl = 999;
    double listenGain = 1.0;
    float nyquist = 0.0f;

    std::array<CZkmorva20ChannelFilters, 2> filters;
    CMonoMaker monoMaker;
    std::vector<double> workBuffer1, workBuffer2;
    std::vector<float> inputMagnitudes; // pairs [|channel 1|, |channel 2|] per sample

    zk20::CZkmorva20MeterState meters;
    zk20::CZkmorva20MeterBoard meterBoard;
    // The fused pass's set-up of the chain, kept between blocks.
    zk::CascadePlan chainPlan;
};
