#pragma once

#include "Biquad.h"

// The two-channel processor's mid/side stage in one pass over the samples:
// left/right to mid/side, the mono maker's mid and side sections (if given),
// the stereo width on the side (if width), back to left/right. Per sample the
// same operations in the same order as the stage's separate loops, so the
// results and the sections' histories are identical; one pass instead of three
// or four, and the divisions of the matrix overlap the sections' feedback.
namespace zk {

inline constexpr double kMidSideDivisor = 1.4142135623730951;

// mid and side: both null (no mono maker) or both present; identity sections are
// skipped as FilterBuffer skips them.
void RunMidSideStage(double* b1, double* b2, long count, CBiquad* mid, CBiquad* side, bool width,
                     double widthFactor);

} // namespace zk
