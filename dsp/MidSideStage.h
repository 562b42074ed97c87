#pragma once

#include "Biquad.h"

// The two-channel processor's mid/side stage in one pass over the samples:
// left/right to mid/side, the mono maker's mid and side sections (if given),
// the stereo width on the side (if width), back to left/right. Per sample the
// same operations in the same order as the stage's separate loops, so the
// results and the sections' histories are identical; one pass instead of three
// or four, and the divisions of the matrix overlap the sections' feedback.
//
// A pass of its own on purpose. Run on each sample as it leaves the chain's last
// pass it measured no faster (that pass is then bound by its ports instead), and
// run in the meters' loop about a fifth slower (both then queue for the one
// divider: four divisions per sample here, the balance quotients there).
namespace zk {

inline constexpr double kMidSideDivisor = 1.4142135623730951;

// mid and side: both null (no mono maker) or both present; identity sections are
// skipped as FilterBuffer skips them.
void RunMidSideStage(double* b1, double* b2, long count, CBiquad* mid, CBiquad* side, bool width,
                     double widthFactor);

} // namespace zk
