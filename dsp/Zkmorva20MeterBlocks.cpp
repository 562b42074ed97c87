// The two-channel meters a block at a time: the per-sample rules one sample
// after another (the reference) and the SSE2 kernel.
#include "Zkmorva20MeterBlocks.h"

#include <bit>
#include <cmath>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#define ZK_METER_BLOCKS_SSE2 1
#endif

namespace zk20 {

void FollowOutputPlain(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
                       double gain2, Route route, const float* inputMagnitudes, float attack,
                       float release) {
    if (inputMagnitudes != nullptr) {
        for (long i = 0; i < count; ++i) {
            s.inputLevel1 = FollowLevel(s.inputLevel1, inputMagnitudes[2 * i], attack, release);
            s.inputLevel2 = FollowLevel(s.inputLevel2, inputMagnitudes[2 * i + 1], attack, release);
        }
    }
    for (long i = 0; i < count; ++i) {
        b1[i] *= gain1;
        b2[i] *= gain2;
    }
    for (long i = 0; i < count; ++i) {
        AccumulateBalanceAndCorrelation(s, b1[i], b2[i], release);
    }
    for (long i = 0; i < count; ++i) {
        if (route == Route::FirstOnBoth) {
            b2[i] = b1[i];
        } else if (route == Route::SecondOnBoth) {
            b1[i] = b2[i];
        }
    }
    for (long i = 0; i < count; ++i) {
        FollowOutputLevels(s, b1[i], b2[i], attack, release);
    }
}

#ifdef ZK_METER_BLOCKS_SSE2

namespace {

using meterkernels::kBalanceFloor;
using meterkernels::kGate;
using meterkernels::kOneThird;

inline __m128 Select(__m128 mask, __m128 y, __m128 x) {
    return _mm_or_ps(_mm_and_ps(mask, y), _mm_andnot_ps(mask, x));
}
inline __m128 Abs(__m128 x) {
    return _mm_andnot_ps(_mm_set1_ps(-0.0f), x);
}
// Four doubles (two registers) narrowed to four floats.
inline __m128 Narrow(__m128d lo, __m128d hi) {
    return _mm_movelh_ps(_mm_cvtpd_ps(lo), _mm_cvtpd_ps(hi));
}

// What the sample-only work hands to the recurrences, four samples at a time.
struct Four {
    __m128 levels[4];             // per sample: |mid|, |side|, |out 1|, |out 2|
    __m128 sums[4];               // per sample: s1, s1 s1, s2, s2 s2
    alignas(16) float product[4]; // s1 s2
    alignas(16) float balance[4]; // release x balance
};

// Balance of four sample pairs as in Balance(): quotients and differences in
// float, scaling and clamping in double.
inline __m128 Balance4(__m128 x, __m128 y) {
    const __m128 one = _mm_set1_ps(1.0f);
    // 1 - x/y where y > x, else y/x - 1: one division with the operands chosen
    // per lane gives each lane the quotient Balance() forms.
    const __m128 rising = _mm_cmpgt_ps(y, x);
    const __m128 q = _mm_div_ps(Select(rising, x, y), Select(rising, y, x));
    const __m128 t = Select(rising, _mm_sub_ps(one, q), _mm_sub_ps(q, one));
    const __m128 floor = _mm_set1_ps(kBalanceFloor);
    const __m128 moving =
        _mm_and_ps(_mm_or_ps(_mm_cmpgt_ps(x, floor), _mm_cmpgt_ps(y, floor)), _mm_cmpneq_ps(x, y));
    // A lane that does not move gets t = 0, whose raw value is exactly 1. The
    // clamp as min and max with t second lets a NaN through as the comparisons
    // of Balance() do: 2 above 1, 0 below -1, else t + 1.
    const __m128 tMoving = _mm_and_ps(moving, t);
    auto half = [](__m128 tf) {
        const __m128d t =
            _mm_mul_pd(_mm_mul_pd(_mm_cvtps_pd(tf), _mm_set1_pd(4.0)), _mm_set1_pd(kOneThird));
        const __m128d clamped = _mm_max_pd(_mm_set1_pd(-1.0), _mm_min_pd(_mm_set1_pd(1.0), t));
        return _mm_mul_pd(_mm_add_pd(clamped, _mm_set1_pd(1.0)), _mm_set1_pd(0.5));
    };
    return Narrow(half(tMoving), half(_mm_movehl_ps(tMoving, tMoving)));
}

// Sample-only work of four samples at i (gained and routed into b1/b2).
inline void PrepareFour(Four& r, double* b1, double* b2, long i, __m128d g1, __m128d g2,
                        Route route, __m128 release) {
    const __m128d c1a = _mm_mul_pd(_mm_loadu_pd(b1 + i), g1);
    const __m128d c1b = _mm_mul_pd(_mm_loadu_pd(b1 + i + 2), g1);
    const __m128d c2a = _mm_mul_pd(_mm_loadu_pd(b2 + i), g2);
    const __m128d c2b = _mm_mul_pd(_mm_loadu_pd(b2 + i + 2), g2);

    const __m128 f1 = Narrow(c1a, c1b), f2 = Narrow(c2a, c2b);
    const __m128 x = Abs(f1), y = Abs(f2);
    _mm_store_ps(r.balance, _mm_mul_ps(release, Balance4(x, y)));

    const __m128 gate = _mm_set1_ps(kGate);
    const __m128 s1 = _mm_and_ps(_mm_cmpge_ps(x, gate), f1);
    const __m128 s2 = _mm_and_ps(_mm_cmpge_ps(y, gate), f2);
    _mm_store_ps(r.product, _mm_mul_ps(s1, s2));
    __m128 q0 = s1, q1 = _mm_mul_ps(s1, s1), q2 = s2, q3 = _mm_mul_ps(s2, s2);
    _MM_TRANSPOSE4_PS(q0, q1, q2, q3);
    r.sums[0] = q0;
    r.sums[1] = q1;
    r.sums[2] = q2;
    r.sums[3] = q3;

    __m128d r1a = c1a, r1b = c1b, r2a = c2a, r2b = c2b;
    if (route == Route::FirstOnBoth) {
        r2a = c1a;
        r2b = c1b;
    } else if (route == Route::SecondOnBoth) {
        r1a = c2a;
        r1b = c2b;
    }
    _mm_storeu_pd(b1 + i, r1a);
    _mm_storeu_pd(b1 + i + 2, r1b);
    _mm_storeu_pd(b2 + i, r2a);
    _mm_storeu_pd(b2 + i + 2, r2b);

    const __m128 halfF = _mm_set1_ps(0.5f);
    __m128 l0 = Abs(_mm_mul_ps(Narrow(_mm_add_pd(r1a, r2a), _mm_add_pd(r1b, r2b)), halfF));
    __m128 l1 = Abs(_mm_mul_ps(Narrow(_mm_sub_pd(r1a, r2a), _mm_sub_pd(r1b, r2b)), halfF));
    __m128 l2 = Abs(Narrow(r1a, r1b));
    __m128 l3 = Abs(Narrow(r2a, r2b));
    _MM_TRANSPOSE4_PS(l0, l1, l2, l3);
    r.levels[0] = l0;
    r.levels[1] = l1;
    r.levels[2] = l2;
    r.levels[3] = l3;
}

// The same for one sample, with the scalar operations of the rules.
inline void PrepareOne(Four& r, int k, double* b1, double* b2, long i, double gain1, double gain2,
                       Route route, float release) {
    const double c1 = b1[i] * gain1;
    const double c2 = b2[i] * gain2;
    r.balance[k] = release * Balance(c1, c2);
    float s1 = static_cast<float>(c1);
    float s2 = static_cast<float>(c2);
    if (!(std::abs(s1) >= 0.0002)) {
        s1 = 0.0f;
    }
    if (!(std::abs(s2) >= 0.0002)) {
        s2 = 0.0f;
    }
    r.product[k] = s1 * s2;
    r.sums[k] = _mm_setr_ps(s1, s1 * s1, s2, s2 * s2);
    const double r1 = route == Route::SecondOnBoth ? c2 : c1;
    const double r2 = route == Route::FirstOnBoth ? c1 : c2;
    b1[i] = r1;
    b2[i] = r2;
    r.levels[k] = _mm_setr_ps(std::abs(static_cast<float>(r1 + r2) * 0.5f),
                              std::abs(static_cast<float>(r1 - r2) * 0.5f),
                              static_cast<float>(std::abs(r1)), static_cast<float>(std::abs(r2)));
}

// FollowLevel on four meters at once: both candidates, then FollowLevel's choice
// (an over, else a rise, else a fall), arranged so that the level waits on one
// selection only.
inline __m128 Follow(__m128 level, __m128 v, __m128 attack, __m128 keepOnRise, __m128 keepOnFall) {
    const __m128 rise = _mm_add_ps(_mm_mul_ps(level, keepOnRise), _mm_mul_ps(v, attack));
    const __m128 over = _mm_cmpgt_ps(v, _mm_set1_ps(1.0f));
    const __m128 overOrFall = Select(over, v, _mm_mul_ps(level, keepOnFall));
    return Select(_mm_andnot_ps(over, _mm_cmpgt_ps(v, level)), rise, overOrFall);
}

// The recurrences of every meter, advanced one sample after another.
struct Chains {
    __m128 outputLevels, inputLevels, sums, smoothed;
    float sumProduct, sampleCount;
};

struct Coefficients {
    __m128 attack, keepOnRise, keepOnFall;
    __m128 correlationAddend; // release x correlationValue: the same all block
};

template <bool Inputs>
inline void Step(Chains& c, const Four& r, int k, const float* magnitudes, const Coefficients& m) {
    c.sums = _mm_add_ps(c.sums, r.sums[k]);
    c.sumProduct += r.product[k];
    c.sampleCount += 1.0f;
    // Balance and correlation smoothing side by side.
    c.smoothed = _mm_add_ps(_mm_mul_ps(c.smoothed, m.keepOnFall),
                            _mm_move_ss(m.correlationAddend, _mm_load_ss(r.balance + k)));
    c.outputLevels = Follow(c.outputLevels, r.levels[k], m.attack, m.keepOnRise, m.keepOnFall);
    if constexpr (Inputs) {
        const __m128 v =
            _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(magnitudes + 2 * k)));
        c.inputLevels = Follow(c.inputLevels, v, m.attack, m.keepOnRise, m.keepOnFall);
    }
}

// Groups of four samples, software-pipelined: the sample-only work of the next
// group is issued before the four chain steps of this one, so that the
// throughput-bound preparation runs in the shadow of the latency-bound chains
// (and its divisions have finished when the chains need them).
template <bool Inputs>
inline void RunBlock(Chains& c, double* b1, double* b2, long count, double gain1, double gain2,
                     Route route, const float* magnitudes, float release, const Coefficients& m) {
    const __m128d g1 = _mm_set1_pd(gain1), g2 = _mm_set1_pd(gain2);
    const __m128 releaseV = _mm_set1_ps(release);
    Four r[2];
    int current = 0;
    long i = 0;
    if (count >= 4) {
        PrepareFour(r[0], b1, b2, 0, g1, g2, route, releaseV);
        for (; i + 8 <= count; i += 4) {
            PrepareFour(r[current ^ 1], b1, b2, i + 4, g1, g2, route, releaseV);
            for (int k = 0; k < 4; ++k) {
                Step<Inputs>(c, r[current], k, magnitudes + 2 * i, m);
            }
            current ^= 1;
        }
        for (int k = 0; k < 4; ++k) {
            Step<Inputs>(c, r[current], k, magnitudes + 2 * i, m);
        }
        i += 4;
    }
    const int rest = static_cast<int>(count - i);
    for (int k = 0; k < rest; ++k) {
        PrepareOne(r[0], k, b1, b2, i + k, gain1, gain2, route, release);
    }
    for (int k = 0; k < rest; ++k) {
        Step<Inputs>(c, r[0], k, magnitudes + 2 * i, m);
    }
}

} // namespace

void meterkernels::FollowOutputSse2(CZkmorva20MeterState& s, double* b1, double* b2, long count,
                                    double gain1, double gain2, Route route,
                                    const float* inputMagnitudes, float attack, float release) {
    Chains c;
    c.outputLevels =
        _mm_setr_ps(s.outputLevelMid, s.outputLevelSide, s.outputLevel1, s.outputLevel2);
    c.inputLevels = _mm_setr_ps(s.inputLevel1, s.inputLevel2, 0.0f, 0.0f);
    c.sums = _mm_setr_ps(s.sum1, s.sumSquares1, s.sum2, s.sumSquares2);
    c.smoothed = _mm_setr_ps(s.balanceSmoothed, s.correlationSmoothed, 0.0f, 0.0f);
    c.sumProduct = s.sumProduct;
    c.sampleCount = s.sampleCount;
    const Coefficients m{_mm_set1_ps(attack), _mm_set1_ps(1.0f - attack),
                         _mm_set1_ps(1.0f - release), _mm_set1_ps(release * s.correlationValue)};
    if (inputMagnitudes != nullptr) {
        RunBlock<true>(c, b1, b2, count, gain1, gain2, route, inputMagnitudes, release, m);
    } else {
        RunBlock<false>(c, b1, b2, count, gain1, gain2, route, nullptr, release, m);
    }

    alignas(16) float out[4];
    _mm_store_ps(out, c.outputLevels);
    s.outputLevelMid = out[0];
    s.outputLevelSide = out[1];
    s.outputLevel1 = out[2];
    s.outputLevel2 = out[3];
    if (inputMagnitudes != nullptr) {
        _mm_store_ps(out, c.inputLevels);
        s.inputLevel1 = out[0];
        s.inputLevel2 = out[1];
    }
    _mm_store_ps(out, c.sums);
    s.sum1 = out[0];
    s.sumSquares1 = out[1];
    s.sum2 = out[2];
    s.sumSquares2 = out[3];
    _mm_store_ps(out, c.smoothed);
    s.balanceSmoothed = out[0];
    s.correlationSmoothed = out[1];
    s.sumProduct = c.sumProduct;
    s.sampleCount = c.sampleCount;
}

#endif

namespace meterkernels {

float AdvanceSampleCount(float count, long n) {
    constexpr float kExact = 16777216.0f; // 2^24: every integer up to it is a float
    if (n <= 0) {
        return count; // -0 stays -0
    }
    if (n <= static_cast<long>(kExact) && count >= 0.0f &&
        count <= kExact - static_cast<float>(n) && std::trunc(count) == count) {
        return count + static_cast<float>(n);
    }
    for (long i = 0; i < n; ++i) {
        const float next = count + 1.0f;
        if (std::bit_cast<std::uint32_t>(next) == std::bit_cast<std::uint32_t>(count)) {
            break; // a fixed point (2^24 and above, infinities, NaN) stays one
        }
        count = next;
    }
    return count;
}

} // namespace meterkernels

} // namespace zk20
