#pragma once

#include "dsp/AiFilter.h"
#include "dsp/Biquad.h"
#include "dsp/CascadeKernels.h"
#include "dsp/HpLpFilter.h"
#include "dsp/Shifter.h"
#include "dsp/SignalProcessing.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

// The whole audio path of the channel EQ, one channel per call: input
// gain and polarity, input meter, 2x oversampling below 64 kHz, a fixed chain of
// high-pass, five bands, two shifters and low-pass (or the auto-listen of one
// control), output gain and output meter, all in double precision.
//
// One set of filters serves every channel: the owner swaps each channel's
// history in and out of the sections (GetBuffers/StoreBuffers) around each
// ProcessFloats call, for the sections whose Is...Active() condition holds.
//
// Threading: one thread at a time drives the processor (parameter fields,
// auto-listen calls and processing). The meters are relaxed atomics written
// once per block, so any thread may read them.
class CZkmorva10SignalProcessing : public CZkmorvaSignalProcessing {
public:
    static constexpr int kBandCount = 5;
    // The chain skips the high-pass at or below this corner ...
    static constexpr double kHighPassOffAtOrBelowHz = 20.0;
    // ... and the low-pass above this one.
    static constexpr double kLowPassOnAtOrBelowHz = 25999.0;

    struct CBandSettings {
        double gain; // linear factor
        double q;
        double frequency; // Hz
        bool on;
    };
    struct CShifterSettings {
        double gain;  // linear factor
        double shape; // fixed per shifter; not read by the chain
        double frequency;
        bool on;
    };

    CZkmorva10SignalProcessing();
    ~CZkmorva10SignalProcessing() override = default;

    int UpdateSampleRate(double rate) override;

    // Start and end of a gesture on the control of paramId.
    virtual void BeginAutoListen(long paramId);
    virtual void EndAutoListen(long paramId);
    virtual void InitParameters();
    // in[0] to out[0]; in place is allowed. Frames beyond the work buffer's room
    // are processed in several passes.
    virtual void ProcessFloats(float** in, float** out, long frames);
    virtual void ProcessDoubles(double** in, double** out, long frames);
    // Runs the chain over the first count values of workBuffer.
    virtual void ProcessSampleBuffer(long count);
    // Clears the bypass ring and the history of every filter, and restarts the
    // denormal-guard noise.
    virtual void InitBuffers();
    // The history of every filter only.
    void ClearFilterHistory();

    // Work buffer, sized by the owner outside rendering and after
    // UpdateSampleRate: room for maxFrames host frames (twice as many samples
    // while oversampling), zeroed. Without one, processing writes nothing.
    void AllocateWorkBuffer(long maxFrames);
    void ReleaseWorkBuffer();
    // Host frames one pass can hold at the current oversampling setting.
    long GetWorkBufferFrames() const;

    // Two channels side by side in one fused two-channel pass (about twice as
    // fast as one after the other), for an owner that keeps each channel's
    // histories and swaps them into the processor. Outputs, histories, noise and
    // meters are those of running the channels one after the other. With the
    // second channel's histories swapped in, BeginSecondChannel(); with the
    // first's, ProcessFloatsPair(); with the second's again, EndSecondChannel().
    // Only where CanProcessPair(frames) holds (not while bypassed, listening or
    // on the plain loops, and for at most the work buffer's room); nothing may
    // change the settings between the three calls.
    bool CanProcessPair(long frames) const;
    void BeginSecondChannel();
    void ProcessFloatsPair(float** in, float** out, long frames);
    void ProcessDoublesPair(double** in, double** out, long frames);
    void EndSecondChannel();
    // A pair may also go on for more blocks before it ends: the first channel's
    // histories stay in the processor, the second's in the pair (a stereo owner
    // then swaps nothing per block). Between blocks the settings may change:
    // KeepPair() takes the sections' new coefficients into the pair (its
    // histories kept) and is false when the chain is no longer the one the pair
    // began with; the pair must then end. A block whose second channel ended not
    // finite (PairEndedFinite() false) ends it too: EndSecondChannel clears it.
    bool KeepPair();
    bool PairEndedFinite() const { return pairEndsFinite; }

    // Chain conditions, also the owner's test for whose history to swap.
    bool IsHighPassActive() const { return hpOn && hpFrequency > kHighPassOffAtOrBelowHz; }
    bool IsBandActive(int b) const { return band[b].on && band[b].gain != 1.0; }
    bool IsBassShifterActive() const { return bassShift.on && bassShift.gain != 1.0; }
    bool IsPresenceShifterActive() const { return presenceShift.on && presenceShift.gain != 1.0; }
    bool IsLowPassActive() const { return lpOn && lpFrequency <= kLowPassOnAtOrBelowHz; }
    bool IsAutoListenActive() const { return autoListenActive; }
    std::int32_t GetAutoListenParam() const { return autoListenParam; }
    double GetAutoListenGain() const { return autoListenGain; }
    bool IsTextBoxActive() const { return textBoxActive.load(std::memory_order_relaxed); }

    CZkmorvaAiFilter& GetAiFilter() { return aiFilter; }
    CBiquad& GetAutoListenFilter() { return autoListenFilter; }
    CBiquad& GetBandFilter(int b) { return bandFilter[static_cast<std::size_t>(b)]; }
    CZkmorvaHpLpFilter& GetHpFilter() { return hpFilter; }
    CZkmorvaHpLpFilter& GetLpFilter() { return lpFilter; }
    CZkmorvaShifter& GetBassShifter() { return bassShifter; }
    CZkmorvaShifter& GetPresenceShifter() { return presenceShifter; }

    float GetInputMeter() const { return inputMeter.load(std::memory_order_relaxed); }
    float GetOutputMeter() const { return outputMeter.load(std::memory_order_relaxed); }
    float GetInputPeak() const { return inputPeak.load(std::memory_order_relaxed); }
    float GetOutputPeak() const { return outputPeak.load(std::memory_order_relaxed); }

    // Written by the owner's parameter dispatch; gains are linear factors,
    // frequencies Hz. The dispatch also pushes them into the sections. The
    // constructor's InitParameters() gives the defaults.
    bool autoListenEnabled;
    std::int32_t autoListenMode; // index into the auto-listen mode table
    bool eqOn;
    double inputGain;
    double outputGain;
    double phase; // +1 or -1
    double hpSlope;
    double hpFrequency;
    bool hpOn;
    std::array<CBandSettings, kBandCount> band;
    double lpSlope;
    double lpFrequency;
    bool lpOn;
    CShifterSettings bassShift;
    CShifterSettings presenceShift;
    bool shifterSpare;

private:
    template <typename Sample> void ProcessBlock(const Sample* in, Sample* out, long frames);
    template <typename Sample> void RunBypass(const Sample* in, Sample* out, long frames);
    template <typename Sample> void ProcessPair(Sample** in, Sample** out, long frames);
    // Input gain, polarity and noise (and the zero-stuffing's make-up); output
    // gain, false where the block ends non-finite. Both write the levels their
    // meters follow.
    void RunInputStage(double* x, long count, float* levels);
    bool RunOutputStage(double* x, long count, float* levels);
    void FollowMeters(const float* in, const float* out, long count);
    // The sections one block runs, in order: band limit, then the chain.
    struct SectionList {
        static constexpr int kCapacity = 32; // 10 band-limit + at most 15 chain sections
        std::array<CBiquad*, kCapacity> section{};
        int count = 0;
        void Add(CBiquad& b) { section[static_cast<std::size_t>(count++)] = &b; }
        template <class Cascade> void AddAll(Cascade& c) {
            for (int i = 0; i < Cascade::kSectionCount; ++i) {
                Add(*c.GetBiquad(i));
            }
        }
    };
    void CollectChain(SectionList& list);
    void CollectNormalChain(SectionList& list);
    void CollectAutoListenChain(SectionList& list);
    void RunSections(const SectionList& list, double* x, long count);
    void RunPlainChain(double* x, long count);
    double ListenFrequency(int section) const;

    bool autoListenActive;
    std::int32_t autoListenParam; // the running or last auto-listen
    double autoListenGain;        // extra output factor while listening

    std::atomic<float> inputPeak{0.0f};
    std::atomic<float> outputPeak{0.0f};
    std::atomic<float> inputMeter{0.0f};
    std::atomic<float> outputMeter{0.0f};

    std::vector<double> workStorage;
    std::vector<float> meterLevels; // a block's levels for the meters, per stage and channel
    double* workBuffer = nullptr;

    // Created at the processing rate of construction time; UpdateSampleRate
    // moves them along.
    CZkmorvaAiFilter aiFilter;
    CBiquad autoListenFilter;
    std::array<CBiquad, kBandCount> bandFilter;
    CZkmorvaHpLpFilter hpFilter;
    CZkmorvaHpLpFilter lpFilter;
    CZkmorvaShifter bassShifter;
    CZkmorvaShifter presenceShifter;

    // A pair's sections (the processor's own, for the first channel) and copies
    // of them carrying the second channel's histories through the block.
    SectionList pairList;
    std::vector<CBiquad> pairSections;
    std::uint32_t pairNoiseSeed = 1;
    bool pairEndsFinite = true;
    // The fused passes' set-up of the chain and of a pair, kept between blocks.
    zk::CascadePlan chainPlan;
    zk::CascadePlan pairPlan;
};
