#include "cli/OutputMeters.h"

#include "dsp/Zkmorva20SignalProcessing.h"

#include <cmath>

namespace zkcli {

namespace {
// A starting value weighing less than half the last decimal shown cannot show.
const double kSettledWeight = 0.5 * std::pow(10.0, -kBalanceDecimals);
} // namespace

OutputMeters::OutputMeters(HostedUnit& unit) : unit(unit) {
    if (unit.Kind().balanceMeter >= 0 && unit.Kind().correlationMeter >= 0) {
        meters = dynamic_cast<const CZkmorva20SignalProcessing*>(&unit.Unit());
    }
    if (meters != nullptr) {
        results = meters->ReadMeters().correlationResults;
    }
}

void OutputMeters::AfterBlock(unsigned blockFrames) {
    if (meters == nullptr) {
        return;
    }
    frames += blockFrames;
    // Reading the parameters is what lets the correlation meter form a result.
    balance = unit.Parameter(static_cast<AudioUnitParameterID>(unit.Kind().balanceMeter));
    unit.Parameter(static_cast<AudioUnitParameterID>(unit.Kind().correlationMeter));
    const zk20::CZkmorva20MeterReadings m = meters->ReadMeters();
    if (m.correlationResults != results) {
        results = m.correlationResults;
        resultSum += m.correlationValue;
        ++formed;
    }
    routed = routed || meters->soloMode != 0 || meters->IsAutoListenActive();
}

MeterSummary OutputMeters::Summary() const {
    MeterSummary s;
    if (meters == nullptr) {
        return s;
    }
    s.available = true;
    s.correlationResults = formed;
    if (formed > 0) {
        s.correlation = zk20::CorrelationParameterValue(static_cast<float>(resultSum / formed));
    }
    s.balance = balance;
    s.routedAfterMeters = routed;
    // The reading is the starting value times (1 - r)^n plus what the output made of it.
    const double perSample = std::log1p(-static_cast<double>(meters->GetMeterRelease()));
    if (!(perSample < 0.0)) {
        return s; // no ballistics: the unit has no rate
    }
    const double internalSamples =
        static_cast<double>(frames) * (meters->IsOversampling() ? 2.0 : 1.0);
    s.balanceSettled = internalSamples * perSample < std::log(kSettledWeight);
    s.balanceSettleSeconds = std::log(kSettledWeight) / perSample / meters->GetProcessSampleRate();
    return s;
}

} // namespace zkcli
