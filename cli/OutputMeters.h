#pragma once

// The output's correlation and balance over a render, from the unit's own meters.
//
// The meters are read after every block, as an editor polling them would: each read
// lets the correlation meter form a result once it has gathered half a second of
// audio, so a render forms every result it can. Over the whole render this means:
// - correlation: the mean of every result the meter formed. Each result is the
//   correlation of the half second (or a little more) since the one before; the
//   results are not smoothed, so the mean carries nothing of the meter's starting
//   value. Output after the last result (under half a second) forms none.
// - balance: the meter forms no results, only a value smoothed per sample with the
//   unit's 1.5 s release, starting hard left. Its reading at the end of the render
//   is the report; a mean of its readings would lean towards its starting value by
//   about 0.3 s over the render's length. Short renders are marked as settling.
//   The smoothing runs in single precision, and near the right end its steps fall
//   below the float grid: it comes to rest up to about 0.001 short of its target
//   (a signal on the right only reads 0.9992). Two decimals are what it resolves.
// Both meters measure the channels after the output gains, before solo and
// auto-listen route them; the summary says when such a routing was on.
#include "cli/HostedUnit.h"

#include <cstdint>

class CZkmorva20SignalProcessing;

namespace zkcli {

inline constexpr int kCorrelationDecimals = 3;
inline constexpr int kBalanceDecimals = 2;

struct MeterSummary {
    bool available = false; // false: the unit has no balance or correlation meter
    std::uint32_t correlationResults = 0;
    double correlation = 0.0; // -1..+1, the mean of the results (when there are any)
    double balance = 0.5;     // 0 channel 1 only, 0.5 centre, 1 channel 2 only
    // The balance meter's starting value no longer shows in the decimals given.
    bool balanceSettled = false;
    double balanceSettleSeconds = 0.0; // how much output that takes
    bool routedAfterMeters = false;    // solo or auto-listen was on in some block
};

class OutputMeters {
public:
    // `unit` is set up for the render (settings applied, reset).
    explicit OutputMeters(HostedUnit& unit);
    // After each block of `frames` host frames; allocates nothing.
    void AfterBlock(unsigned frames);
    MeterSummary Summary() const;

private:
    HostedUnit& unit;
    const CZkmorva20SignalProcessing* meters = nullptr; // null: no such meters
    std::uint64_t frames = 0;
    std::uint32_t results = 0; // the meter's count at the last read
    std::uint32_t formed = 0;  // results formed during this render
    double resultSum = 0.0;    // of the results as formed, 0..1
    float balance = 0.5f;
    bool routed = false;
};

} // namespace zkcli
