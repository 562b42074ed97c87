#pragma once

#include "Biquad.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// The two-channel processor's mid/side stage in one pass over the samples:
// left/right to mid/side, the mono maker's mid and side sections (if given),
// the stereo width on the side (if width), back to left/right. Per sample the
// same operations in the same order as the stage's separate loops, so the
// results and the sections' histories are identical; one pass instead of three
// or four, and the divisions of the matrix overlap the sections' feedback.
//
// Where a mono-maker section runs, the two-channel processor runs the stage as
// the last stage of the chain's fused pass instead (FilterCascadeStereo with a
// MidSideTail): its sections take a spare slot of the pass's registers (the
// unit with every section on measured 4 per cent faster). Other ways measured
// no faster: the stage stepping each sample as it leaves the pass, outside its
// registers (the pass is then bound by its ports), the stage in the meters'
// loop (a fifth slower) and the stage's three steps a few samples apart.
namespace zk {

inline constexpr double kMidSideDivisor = 1.4142135623730951;

// mid and side: both null (no mono maker) or both present; identity sections are
// skipped as FilterBuffer skips them.
void RunMidSideStage(double* b1, double* b2, long count, CBiquad* mid, CBiquad* side, bool width,
                     double widthFactor);

#if defined(__SSE2__)
// The matrix either way: [a, b] (left and right, or mid and side) to
// [(a + b) / divisor, (a - b) / divisor].
inline __m128d MidSideMatrix(__m128d v, __m128d divisor) {
    const __m128d a = _mm_unpacklo_pd(v, v), b = _mm_unpackhi_pd(v, v);
    return _mm_div_pd(_mm_move_sd(_mm_sub_pd(a, b), _mm_add_pd(a, b)), divisor);
}

// [mid, side] to [mid, side x factor].
inline __m128d ScaleSide(__m128d v, __m128d factor) {
    return _mm_move_sd(_mm_mul_pd(v, factor), v);
}
#endif

} // namespace zk
