#pragma once

#include "Zkmorva20Metering.h"

// The two-channel processor's per-sample meter rules run a block at a time.
//
// Per sample the meters are a few float recurrences (levels, smoothed balance and
// correlation, sums) plus work that depends on the sample alone (magnitudes, the
// balance quotient, the gate). The block forms split the two: the sample-only
// work runs several samples per register, and the recurrences of all meters
// advance side by side, branch-free (both candidate updates formed, one chosen by
// mask). Every meter sees the same float operations in the same order as with
// the per-sample functions of Zkmorva20Metering.h, so the values are identical.
namespace zk20 {

// Which output a channel's samples are copied to after the meters of the
// balance and correlation have seen them (solo and auto-listen).
enum class Route { None, FirstOnBoth, SecondOnBoth };

// Output gains, balance and correlation sums (on the gained samples), routing,
// output levels (on the routed samples) and, when inputMagnitudes is given, the
// input levels from its count pairs [|channel 1|, |channel 2|] in sample order.
// b1/b2 end up gained and routed.
void FollowOutputBlock(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
                       double gain2, Route route, const float* inputMagnitudes, float attack,
                       float release);

// The same with the per-sample functions, one sample after another: the
// reference the block form equals (and the path where SSE2 is missing).
void FollowOutputPlain(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
                       double gain2, Route route, const float* inputMagnitudes, float attack,
                       float release);

} // namespace zk20
