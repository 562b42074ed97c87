#pragma once

#include <atomic>
#include <cstdint>

// Meters of the two-channel processor: input and output levels, balance and the
// correlation of the two output channels.
//
// The render thread owns CZkmorva20MeterState and updates it per sample. At the
// end of every block it publishes the values into CZkmorva20MeterBoard, whose
// atomics are all other threads ever touch.
namespace zk20 {

// Render-thread meter state. All single precision, including the sample count
// (the correlation terms are formed in float from it).
struct CZkmorva20MeterState {
    float inputLevel1 = 0.0f, inputLevel2 = 0.0f;
    float outputLevelMid = 0.0f, outputLevelSide = 0.0f;
    float outputLevel1 = 0.0f, outputLevel2 = 0.0f;
    float balanceSmoothed = 0.0f;
    float correlationSmoothed = 0.0f;
    float correlationValue = 0.0f;
    float sumProduct = 0.0f, sum1 = 0.0f, sum2 = 0.0f;
    float sumSquares1 = 0.0f, sumSquares2 = 0.0f;
    float sampleCount = 0.0f;
};

// Level follower. Above full scale the level jumps to the sample, so overs show
// at once; below, it rises towards a louder sample and otherwise decays, an
// equal one included.
inline float FollowLevel(float level, float v, float attack, float release) {
    if (v > 1.0f) {
        return v;
    }
    if (v > level) {
        return level * (1.0f - attack) + v * attack;
    }
    return level * (1.0f - release);
}

// Instantaneous balance of two output samples: 0 channel 1 only, 0.5 centre,
// 1 channel 2 only; a level ratio of 4 reaches either end.
float Balance(double c1, double c2);

// Per sample after the output gains, before routing: smoothed balance and the
// correlation sums (samples under 0.0002 count as silence).
void AccumulateBalanceAndCorrelation(CZkmorva20MeterState& s, double c1, double c2, float release);

// Per sample on the routed output: mid, side, channel 1 and channel 2 levels.
void FollowOutputLevels(CZkmorva20MeterState& s, double c1, double c2, float attack, float release);

// Forms a correlation result once half a second (fs x 0.5 samples) has been
// accumulated: sets correlationValue (0..1), restarts the sums and advances the
// smoothed value. Returns false and changes nothing before that.
bool CalcCorrelationStep(CZkmorva20MeterState& s, float release, double processRate);

// Bypass: levels to 0, balance and correlation to the centre; sums kept.
void SetIdle(CZkmorva20MeterState& s);

// After a NaN or infinity in the audio: levels that are not finite go to 0,
// balance and correlation to the centre, and sums that are not finite start over.
void ClearNonFinite(CZkmorva20MeterState& s);

// Values the unit reads, all as published at the end of the last block (or as
// updated by the last CalcCorrelation).
struct CZkmorva20MeterReadings {
    float inputLevel1 = 0.0f, inputLevel2 = 0.0f;
    float outputLevelMid = 0.0f, outputLevelSide = 0.0f;
    float outputLevel1 = 0.0f, outputLevel2 = 0.0f;
    float balanceSmoothed = 0.0f;
    float correlationSmoothed = 0.0f;
    float correlationValue = 0.0f;
    // Correlation results shown since the last reset: a reader that wants every
    // result (not only the latest) sees when a new one arrives.
    std::uint32_t correlationResults = 0;
};

// Hand-off between the render thread and readers.
//
// Correlation: the algorithm makes a read of any parameter form a result from the
// sums and restart them. Here the render thread, at the end of each block, forms
// the result a read would get (on a copy) and publishes it under a generation
// number. CalcCorrelation on a reading thread claims that generation and shows
// the prepared values at once; at the start of the next block the render thread
// sees the claim and applies the same step to its own state, which has not
// changed since the block end. A reader between blocks therefore sees exactly the
// values of the plain algorithm. A claim made while a block runs is applied at
// the following block start, on the sums as they are then (a result slightly
// later than the read; acceptable for a display).
// Readers never wait for the render thread, and the render thread never waits.
class CZkmorva20MeterBoard {
public:
    // Render thread.
    void Reset(const CZkmorva20MeterState& s);
    // True once per claim made by a reader since the last call.
    bool TakeCorrelationClaim();
    void Publish(const CZkmorva20MeterState& s, float release, double processRate);

    // Any thread; CalcCorrelation from one reading thread at a time.
    void CalcCorrelation();
    CZkmorva20MeterReadings Read() const;

private:
    void PublishLevels(const CZkmorva20MeterState& s);

    std::atomic<float> inputLevel1{0.0f}, inputLevel2{0.0f};
    std::atomic<float> outputLevelMid{0.0f}, outputLevelSide{0.0f};
    std::atomic<float> outputLevel1{0.0f}, outputLevel2{0.0f};
    std::atomic<float> balanceSmoothed{0.0f};
    std::atomic<float> correlationSmoothed{0.0f};
    std::atomic<float> correlationValue{0.0f};
    std::atomic<std::uint32_t> correlationResults{0};

    // Prepared correlation result; generation 0 means none is ready.
    std::atomic<std::uint32_t> preparedGeneration{0};
    std::atomic<float> preparedValue{0.0f};
    std::atomic<float> preparedSmoothed{0.0f};
    std::atomic<std::uint32_t> claimedGeneration{0};

    // Render thread only.
    std::uint32_t blockGeneration = 0;
    std::uint32_t lastTakenClaim = 0;
};

// Values handed out as the meter parameters.
// 100 Balance: unchanged, 0..1.
inline double BalanceParameterValue(float balanceSmoothed) {
    return balanceSmoothed;
}
// 101 Correlation: -1..+1 from the 0..1 smoothed value; 0 when outside 0..1.
double CorrelationParameterValue(float correlationSmoothed);
// 102..107 levels: decibels with a floor of -61 for silence.
double LevelParameterValue(float level);

inline constexpr long kFirstMeterParameter = 100;
inline constexpr long kLastMeterParameter = 107;
// Parameter value of meter id 100..107 from the readings; 0 for other ids.
double MeterParameterValue(long id, const CZkmorva20MeterReadings& r);

} // namespace zk20
