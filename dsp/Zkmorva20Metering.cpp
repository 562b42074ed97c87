#include "Zkmorva20Metering.h"

#include <cmath>

namespace zk20 {

float Balance(double c1, double c2) {
    const float x = static_cast<float>(std::abs(c1));
    const float y = static_cast<float>(std::abs(c2));
    double raw = 1.0;
    if ((x > 1e-10 || y > 1e-10) && x != y) {
        // Quotient in single precision, scaling in double.
        const double t = y > x ? (1.0f - x / y) * 4.0 / 3.0 : (y / x - 1.0f) * 4.0 / 3.0;
        raw = t > 1.0 ? 2.0 : (t < -1.0 ? 0.0 : t + 1.0);
    }
    return static_cast<float>(raw * 0.5);
}

void AccumulateBalanceAndCorrelation(CZkmorva20MeterState& s, double c1, double c2, float release) {
    const float balance = Balance(c1, c2);
    s.balanceSmoothed = s.balanceSmoothed * (1.0f - release) + release * balance;

    float s1 = static_cast<float>(c1);
    float s2 = static_cast<float>(c2);
    if (!(std::abs(s1) >= 0.0002)) {
        s1 = 0.0f;
    }
    if (!(std::abs(s2) >= 0.0002)) {
        s2 = 0.0f;
    }
    s.sum1 += s1;
    s.sumSquares1 += s1 * s1;
    s.sum2 += s2;
    s.sumSquares2 += s2 * s2;
    s.sumProduct += s1 * s2;
    // Stops counting at 2^24 without reads; the float sums stopped taking in new
    // terms long before, and a read after half a second of audio starts it again.
    s.sampleCount += 1.0f;
    s.correlationSmoothed = s.correlationSmoothed * (1.0f - release) + release * s.correlationValue;
}

void FollowOutputLevels(CZkmorva20MeterState& s, double c1, double c2, float attack,
                        float release) {
    const float mid = std::abs(static_cast<float>(c1 + c2) * 0.5f);
    const float side = std::abs(static_cast<float>(c1 - c2) * 0.5f);
    s.outputLevelMid = FollowLevel(s.outputLevelMid, mid, attack, release);
    s.outputLevelSide = FollowLevel(s.outputLevelSide, side, attack, release);
    s.outputLevel1 = FollowLevel(s.outputLevel1, static_cast<float>(std::abs(c1)), attack, release);
    s.outputLevel2 = FollowLevel(s.outputLevel2, static_cast<float>(std::abs(c2)), attack, release);
}

bool CalcCorrelationStep(CZkmorva20MeterState& s, float release, double processRate) {
    if (s.sampleCount < processRate * 0.5) {
        return false;
    }
    if (std::abs(s.sumSquares1) < 1e-10 || std::abs(s.sumSquares2) < 1e-10) {
        s.correlationValue = 0.5f;
    } else {
        const float n = s.sampleCount;
        const float covariance = n * s.sumProduct - s.sum1 * s.sum2;
        const float variance1 = n * s.sumSquares1 - s.sum1 * s.sum1;
        const float variance2 = n * s.sumSquares2 - s.sum2 * s.sum2;
        const double rho = covariance / (std::sqrt(static_cast<double>(variance1)) *
                                         std::sqrt(static_cast<double>(variance2)));
        s.correlationValue = std::abs(static_cast<float>((rho + 1.0) * 0.5));
    }
    if (s.correlationValue > 1.0f) {
        s.correlationValue = 1.0f;
    }
    if (s.correlationValue < -1.0f) {
        s.correlationValue = -1.0f;
    }
    s.sumProduct = s.sum1 = s.sum2 = s.sumSquares1 = s.sumSquares2 = 0.0f;
    s.sampleCount = 0.0f;
    s.correlationSmoothed = s.correlationSmoothed * (1.0f - release) + release * s.correlationValue;
    return true;
}

void SetIdle(CZkmorva20MeterState& s) {
    s.inputLevel1 = s.inputLevel2 = 0.0f;
    s.outputLevelMid = s.outputLevelSide = 0.0f;
    s.outputLevel1 = s.outputLevel2 = 0.0f;
    s.balanceSmoothed = 0.5f;
    s.correlationSmoothed = 0.5f;
}

void ClearNonFinite(CZkmorva20MeterState& s) {
    for (float* level : {&s.inputLevel1, &s.inputLevel2, &s.outputLevelMid, &s.outputLevelSide,
                         &s.outputLevel1, &s.outputLevel2}) {
        if (!std::isfinite(*level)) {
            *level = 0.0f;
        }
    }
    for (float* centred : {&s.balanceSmoothed, &s.correlationSmoothed, &s.correlationValue}) {
        if (!std::isfinite(*centred)) {
            *centred = 0.5f;
        }
    }
    if (!std::isfinite(s.sumProduct + s.sum1 + s.sum2 + s.sumSquares1 + s.sumSquares2)) {
        s.sumProduct = s.sum1 = s.sum2 = s.sumSquares1 = s.sumSquares2 = 0.0f;
        s.sampleCount = 0.0f;
    }
}

void CZkmorva20MeterBoard::PublishLevels(const CZkmorva20MeterState& s) {
    constexpr auto relaxed = std::memory_order_relaxed;
    inputLevel1.store(s.inputLevel1, relaxed);
    inputLevel2.store(s.inputLevel2, relaxed);
    outputLevelMid.store(s.outputLevelMid, relaxed);
    outputLevelSide.store(s.outputLevelSide, relaxed);
    outputLevel1.store(s.outputLevel1, relaxed);
    outputLevel2.store(s.outputLevel2, relaxed);
    balanceSmoothed.store(s.balanceSmoothed, relaxed);
    correlationSmoothed.store(s.correlationSmoothed, relaxed);
    correlationValue.store(s.correlationValue, relaxed);
}

void CZkmorva20MeterBoard::Reset(const CZkmorva20MeterState& s) {
    preparedGeneration.store(0, std::memory_order_relaxed);
    correlationResults.store(0, std::memory_order_relaxed);
    lastTakenClaim = claimedGeneration.load(std::memory_order_relaxed);
    PublishLevels(s);
}

bool CZkmorva20MeterBoard::TakeCorrelationClaim() {
    const std::uint32_t claim = claimedGeneration.load(std::memory_order_acquire);
    if (claim == lastTakenClaim) {
        return false;
    }
    lastTakenClaim = claim;
    return true;
}

void CZkmorva20MeterBoard::Publish(const CZkmorva20MeterState& s, float release,
                                   double processRate) {
    if (++blockGeneration == 0) {
        blockGeneration = 1; // 0 stands for "nothing prepared"
    }
    CZkmorva20MeterState next = s;
    const bool ready = CalcCorrelationStep(next, release, processRate);

    // Sequence-locked without fences: a reader that sees a new value through its
    // acquire load also sees the generation leave the one it started with.
    preparedGeneration.store(0, std::memory_order_relaxed);
    if (ready) {
        preparedValue.store(next.correlationValue, std::memory_order_release);
        preparedSmoothed.store(next.correlationSmoothed, std::memory_order_release);
        preparedGeneration.store(blockGeneration, std::memory_order_release);
    }
    PublishLevels(s);
}

void CZkmorva20MeterBoard::CalcCorrelation() {
    for (int attempt = 0; attempt < 4; ++attempt) {
        const std::uint32_t generation = preparedGeneration.load(std::memory_order_acquire);
        std::uint32_t claimed = claimedGeneration.load(std::memory_order_relaxed);
        if (generation == 0 || generation == claimed) {
            return; // not enough samples yet, or this result has been taken
        }
        const float value = preparedValue.load(std::memory_order_acquire);
        const float smoothed = preparedSmoothed.load(std::memory_order_acquire);
        if (preparedGeneration.load(std::memory_order_relaxed) != generation) {
            continue; // a block ended meanwhile; look at the newer result
        }
        if (!claimedGeneration.compare_exchange_strong(claimed, generation,
                                                       std::memory_order_acq_rel)) {
            return;
        }
        correlationValue.store(value, std::memory_order_relaxed);
        correlationSmoothed.store(smoothed, std::memory_order_relaxed);
        correlationResults.fetch_add(1, std::memory_order_relaxed);
        return;
    }
}

CZkmorva20MeterReadings CZkmorva20MeterBoard::Read() const {
    constexpr auto relaxed = std::memory_order_relaxed;
    return {inputLevel1.load(relaxed),      inputLevel2.load(relaxed),
            outputLevelMid.load(relaxed),   outputLevelSide.load(relaxed),
            outputLevel1.load(relaxed),     outputLevel2.load(relaxed),
            balanceSmoothed.load(relaxed),  correlationSmoothed.load(relaxed),
            correlationValue.load(relaxed), correlationResults.load(relaxed)};
}

double CorrelationParameterValue(float correlationSmoothed) {
    if (correlationSmoothed >= 0.0f && correlationSmoothed <= 1.0f) {
        return (correlationSmoothed - 0.5) * 2.0;
    }
    return 0.0;
}

double LevelParameterValue(float level) {
    constexpr float floorDb = -61.0f;
    if (level <= 0.0f) {
        return floorDb;
    }
    return 20.0 * std::log10(static_cast<double>(level));
}

double MeterParameterValue(long id, const CZkmorva20MeterReadings& r) {
    // Level meters 102..107 in parameter order.
    constexpr float CZkmorva20MeterReadings::*kLevels[] = {
        &CZkmorva20MeterReadings::inputLevel1,    &CZkmorva20MeterReadings::inputLevel2,
        &CZkmorva20MeterReadings::outputLevelMid, &CZkmorva20MeterReadings::outputLevelSide,
        &CZkmorva20MeterReadings::outputLevel1,   &CZkmorva20MeterReadings::outputLevel2};
    if (id == kFirstMeterParameter) {
        return BalanceParameterValue(r.balanceSmoothed);
    }
    if (id == kFirstMeterParameter + 1) {
        return CorrelationParameterValue(r.correlationSmoothed);
    }
    if (id >= kFirstMeterParameter + 2 && id <= kLastMeterParameter) {
        return LevelParameterValue(r.*kLevels[id - (kFirstMeterParameter + 2)]);
    }
    return 0.0;
}

} // namespace zk20
