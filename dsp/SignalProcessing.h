#pragma once

#include <array>
#include <atomic>
#include <cstdint>

// What both equalisers' processors share: host and processing rates and the 2x
// oversampling decision, the latency-matched bypass storage, meter ballistics and
// the denormal-guard noise.
//
// Threading: a processor is driven by one thread at a time (the unit applies
// parameter changes on the render thread). Values that other threads read while
// rendering runs (meters, the text-box flag) are relaxed atomics.
class CZkmorvaSignalProcessing {
public:
    static constexpr double kOversamplingBelowHz = 64000.0;
    static constexpr int kBypassDelaySize = 8;

    CZkmorvaSignalProcessing() = default;
    virtual ~CZkmorvaSignalProcessing() = default;
    CZkmorvaSignalProcessing(const CZkmorvaSignalProcessing&) = delete;
    CZkmorvaSignalProcessing& operator=(const CZkmorvaSignalProcessing&) = delete;

    // While set, the next BeginAutoListen does nothing (typing into a box is not
    // a drag); every BeginAutoListen clears it.
    virtual void SetTextBoxAsCurrentControl() {
        textBoxActive.store(true, std::memory_order_relaxed);
    }
    // Overridden by the unit to tell its editor that auto-listen started/ended.
    virtual void DrawAutoListen(bool /*on*/, long /*paramId*/) {}
    // Returns 0 when the rate is unchanged, else stores it, decides oversampling,
    // derives the meter coefficients and returns 1.
    virtual int UpdateSampleRate(double rate);
    // Adds a random value of magnitude about 2^-67 to *sample.
    virtual void add_white_noise(double* sample);
    // The next n values add_white_noise would add, in call order, and the seed
    // advanced past them: a block's noise at once instead of a call per sample.
    void NextNoise(double* out, long n);
    // True when the dynamic type has its own add_white_noise: block paths then
    // keep calling it once per sample. Where this cannot be told, true.
    bool HasOwnNoise() const;

    double GetHostSampleRate() const { return hostSampleRate; }
    double GetProcessSampleRate() const { return processSampleRate; }
    bool IsOversampling() const { return oversampling; }
    float GetMeterAttack() const { return meterAttack; }
    float GetMeterRelease() const { return meterRelease; }

    // Meter rule: overs show at once, rises and falls follow the ballistics.
    static float FollowMeter(float level, float meter, float attack, float release) {
        if (level > 1.0f) {
            return level;
        }
        if (level > meter) {
            return meter * (1.0f - attack) + attack * level;
        }
        if (meter > level) {
            return meter * (1.0f - release);
        }
        return meter;
    }

    // Fused filter passes and block-wise meters and noise by default; the plain
    // per-section and per-sample loops give the same samples and meter values bit
    // for bit and stay selectable to check that and to measure it.
    void SetPlainFilterLoops(bool plain) { plainFilterLoops = plain; }
    bool UsesPlainFilterLoops() const { return plainFilterLoops; }

    bool bypass = false; // owners that need a latency-matched dry path set it

protected:
    std::atomic<bool> textBoxActive{false};
    double hostSampleRate = 0.0;
    double processSampleRate = 0.0;
    bool oversampling = true;
    std::array<double, kBypassDelaySize> bypassDelay{};
    std::int32_t bypassDelayIndex = 3;
    float meterAttack = 0.0f;
    float meterRelease = 0.0f;
    std::uint32_t noiseSeed = 1;
    bool plainFilterLoops = false;
};

// Flush-to-zero and denormals-are-zero for the life of the object; the previous
// floating-point control state comes back on every path out of a block.
class CDenormalGuard {
public:
    CDenormalGuard();
    ~CDenormalGuard();
    CDenormalGuard(const CDenormalGuard&) = delete;
    CDenormalGuard& operator=(const CDenormalGuard&) = delete;

private:
    unsigned int saved = 0;
};
