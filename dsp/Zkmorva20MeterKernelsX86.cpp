// The two-channel meters with 256- and 512-bit registers, chosen at run time
// (Zkmorva20MeterDispatch.cpp dispatches).
//
// Meters, eight samples per group. The sample-only work runs on rows (a register
// per quantity, eight samples in it); a transposition then makes one register
// per sample holding every value its recurrences take:
//   [|mid|, |side|, |out 1|, |out 2|, |in 1|, |in 2|, release x balance,
//    release x correlation value].
// One register advances the six levels and both smoothed values at once: the
// smoothing is a level's rise (x (1 - k) + addend) with other coefficients, so
// those two lanes always take the rise. The four correlation sums advance in one
// 128-bit register from transposed rows, the product sum as a scalar (the
// 512-bit kernel: all five in one 256-bit register), and the sample count is one
// addition. The next group's sample-only work is issued before this group's
// chain steps, so that the two overlap. With 512-bit registers the kernel is
// bound by its shuffles and arithmetic rather than by the chains (an extra
// operation per step costs more than a shorter chain saves), so
// that kernel makes its per-sample registers with two-source permutations.
//
// Every value sees the float and double operations of the per-sample rules in
// their order (no FMA: the build turns contraction off), so results are
// identical bit for bit, NaN and infinities included.
#include "Zkmorva20MeterBlocks.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <immintrin.h>

#include <cstring>

// GCC 12's 512-bit intrinsics start from a self-initialised "undefined"
// register, which its own uninitialised-use warnings flag where they inline.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#define ZK_AVX2 __attribute__((target("avx2")))
// The outer functions of a kernel: everything they call inlined into them, with
// their instruction set.
#define ZK_AVX2_FLAT __attribute__((target("avx2"), flatten))
#define ZK_AVX512_FLAT __attribute__((target("avx2,avx512f,avx512vl,avx512dq,avx512bw"), flatten))
#define ZK_AVX512 __attribute__((target("avx2,avx512f,avx512vl,avx512dq,avx512bw")))

namespace zk20 {
namespace meterkernels {

bool HaveX86Kernels() {
    return true;
}

namespace {

constexpr int kGroup = 8;

// What the sample-only work hands to the recurrences. Register j of each array
// holds sample j in its lower half and sample j + 4 in its upper half.
struct alignas(64) Group {
    __m256 levels[4]; // |mid|, |side|, |out 1|, |out 2|
    __m256 others[4]; // |in 1|, |in 2|, release x balance, release x correlation value
    __m256 sums[4];   // s1, s1 s1, s2, s2 s2
    alignas(32) float product[kGroup]; // s1 s2
    // The 512-bit kernel's forms: sample k's eight values of levels and others,
    // and its sums and product (s1, s1 s1, s2, s2 s2, s1 s2, then zeros).
    alignas(64) float records[kGroup][8];
    alignas(64) float sumRecords[kGroup][8];
};

struct Chains {
    __m256 levels; // mid, side, out 1, out 2, in 1, in 2, balance, correlation
    __m128 sums;   // s1, s1 s1, s2, s2 s2
    float product;
    __m256 sumsAndProduct; // the 512-bit kernel's: sums, product, zeros
};

// Lanes 6 and 7 hold the smoothed balance and correlation.
constexpr int kSmoothLanes = 0xC0;

ZK_AVX2 inline __m256 Abs(__m256 x) {
    return _mm256_andnot_ps(_mm256_set1_ps(-0.0f), x);
}

ZK_AVX2 inline __m256 UnpackLo64(__m256 a, __m256 b) {
    return _mm256_castpd_ps(_mm256_unpacklo_pd(_mm256_castps_pd(a), _mm256_castps_pd(b)));
}
ZK_AVX2 inline __m256 UnpackHi64(__m256 a, __m256 b) {
    return _mm256_castpd_ps(_mm256_unpackhi_pd(_mm256_castps_pd(a), _mm256_castps_pd(b)));
}

// Input magnitude pairs of samples 0, 1, 4, 5 (which = 0) or 2, 3, 6, 7 (which = 1)
// of a group, in the order the transposition's second step wants them.
ZK_AVX2 inline __m256 InputPairs(const float* pairs, int which) {
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(pairs + 4 * which)),
                                _mm_loadu_ps(pairs + 8 + 4 * which), 1);
}

// Rows of eight samples to registers of two samples (the rows of the inputs come
// as pairs, inputs01 / inputs23 from InputPairs); Step joins a sample's halves.
ZK_AVX2 inline void Transpose(Group& g, __m256 mid, __m256 side, __m256 out1, __m256 out2,
                              __m256 inputs01, __m256 inputs23, __m256 balance,
                              __m256 correlation) {
    const __m256 a0 = _mm256_unpacklo_ps(mid, side), a1 = _mm256_unpackhi_ps(mid, side);
    const __m256 a2 = _mm256_unpacklo_ps(out1, out2), a3 = _mm256_unpackhi_ps(out1, out2);
    const __m256 a6 = _mm256_unpacklo_ps(balance, correlation);
    const __m256 a7 = _mm256_unpackhi_ps(balance, correlation);
    g.levels[0] = UnpackLo64(a0, a2);
    g.levels[1] = UnpackHi64(a0, a2);
    g.levels[2] = UnpackLo64(a1, a3);
    g.levels[3] = UnpackHi64(a1, a3);
    g.others[0] = UnpackLo64(inputs01, a6);
    g.others[1] = UnpackHi64(inputs01, a6);
    g.others[2] = UnpackLo64(inputs23, a7);
    g.others[3] = UnpackHi64(inputs23, a7);
}

// The recurrence inputs of sample k: its half of levels and of others.
ZK_AVX2 inline __m256 SampleInputs(const Group& g, int k) {
    const float* levels = reinterpret_cast<const float*>(&g.levels[k & 3]) + 4 * (k >> 2);
    const float* others = reinterpret_cast<const float*>(&g.others[k & 3]) + 4 * (k >> 2);
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_load_ps(levels)), _mm_load_ps(others),
                                1);
}

ZK_AVX2 inline void StepSums(Chains& c, const Group& g, int k) {
    c.sums = _mm_add_ps(c.sums,
                        _mm_load_ps(reinterpret_cast<const float*>(&g.sums[k & 3]) + 4 * (k >> 2)));
    c.product += g.product[k];
}

ZK_AVX2 inline void StoreSums(Group& g, __m256 s1, __m256 s2) {
    _mm256_store_ps(g.product, _mm256_mul_ps(s1, s2));
    const __m256 p0 = _mm256_unpacklo_ps(s1, _mm256_mul_ps(s1, s1));
    const __m256 p1 = _mm256_unpackhi_ps(s1, _mm256_mul_ps(s1, s1));
    const __m256 q0 = _mm256_unpacklo_ps(s2, _mm256_mul_ps(s2, s2));
    const __m256 q1 = _mm256_unpackhi_ps(s2, _mm256_mul_ps(s2, s2));
    g.sums[0] = UnpackLo64(p0, q0);
    g.sums[1] = UnpackHi64(p0, q0);
    g.sums[2] = UnpackLo64(p1, q1);
    g.sums[3] = UnpackHi64(p1, q1);
}

// Per-block constants of the recurrences.
struct Coefficients {
    __m256 attack;     // lanes 0..5
    __m256 keepOnRise; // 1 - attack; lanes 6 and 7: 1 - release
    __m256 keepOnFall; // 1 - release
};

// The loads and stores of a group: in place, or for the last, short group in
// local copies (zero beyond the block).
struct GroupData {
    double* b1;
    double* b2;
    const float* magnitudes;
};

struct ShortGroup {
    alignas(64) double b1[kGroup] = {};
    alignas(64) double b2[kGroup] = {};
    alignas(64) float magnitudes[2 * kGroup] = {};
};

// Runs Prepare over every group and Step over its samples, the preparation one
// group ahead (issued in the same round as a group's steps, it overlaps them).
template <class Kernel>
inline void RunGroups(const Kernel& kernel, Chains& c, double* b1, double* b2, long count,
                      const float* magnitudes) {
    if (count <= 0) {
        return;
    }
    const long fullGroups = count / kGroup;
    const int rest = static_cast<int>(count % kGroup);
    const long groups = fullGroups + (rest > 0 ? 1 : 0);
    ShortGroup local;
    const long at = fullGroups * kGroup;
    if (rest > 0) {
        std::memcpy(local.b1, b1 + at, sizeof(double) * static_cast<std::size_t>(rest));
        std::memcpy(local.b2, b2 + at, sizeof(double) * static_cast<std::size_t>(rest));
        if (magnitudes != nullptr) {
            std::memcpy(local.magnitudes, magnitudes + 2 * at,
                        sizeof(float) * static_cast<std::size_t>(2 * rest));
        }
    }
    auto data = [&](long group) {
        if (group < fullGroups) {
            const long i = group * kGroup;
            return GroupData{b1 + i, b2 + i, magnitudes != nullptr ? magnitudes + 2 * i : nullptr};
        }
        return GroupData{local.b1, local.b2, local.magnitudes};
    };
    Group g[2];
    kernel.Prepare(g[0], data(0));
    for (long group = 0; group + 1 < groups; ++group) {
        kernel.Prepare(g[(group + 1) & 1], data(group + 1));
#pragma GCC unroll 8
        for (int k = 0; k < kGroup; ++k) {
            kernel.Step(c, g[group & 1], k);
        }
    }
    const int last = rest > 0 ? rest : kGroup;
    for (int k = 0; k < last; ++k) {
        kernel.Step(c, g[(groups - 1) & 1], k);
    }
    if (rest > 0) {
        std::memcpy(b1 + at, local.b1, sizeof(double) * static_cast<std::size_t>(rest));
        std::memcpy(b2 + at, local.b2, sizeof(double) * static_cast<std::size_t>(rest));
    }
}

ZK_AVX2 Chains LoadChains(const CZkmorva20MeterState& s) {
    Chains c;
    c.levels =
        _mm256_setr_ps(s.outputLevelMid, s.outputLevelSide, s.outputLevel1, s.outputLevel2,
                       s.inputLevel1, s.inputLevel2, s.balanceSmoothed, s.correlationSmoothed);
    c.sums = _mm_setr_ps(s.sum1, s.sumSquares1, s.sum2, s.sumSquares2);
    c.product = s.sumProduct;
    return c;
}

ZK_AVX2 void StoreChains(CZkmorva20MeterState& s, const Chains& c, bool inputs, long count) {
    alignas(32) float l[8];
    _mm256_store_ps(l, c.levels);
    s.outputLevelMid = l[0];
    s.outputLevelSide = l[1];
    s.outputLevel1 = l[2];
    s.outputLevel2 = l[3];
    if (inputs) { // otherwise lanes 4 and 5 followed zeros
        s.inputLevel1 = l[4];
        s.inputLevel2 = l[5];
    }
    s.balanceSmoothed = l[6];
    s.correlationSmoothed = l[7];
    alignas(16) float sums[4];
    _mm_store_ps(sums, c.sums);
    s.sum1 = sums[0];
    s.sumSquares1 = sums[1];
    s.sum2 = sums[2];
    s.sumSquares2 = sums[3];
    s.sumProduct = c.product;
    s.sampleCount = AdvanceSampleCount(s.sampleCount, count);
}

ZK_AVX2 Coefficients MakeCoefficients(float attack, float release) {
    const float rise = 1.0f - attack, fall = 1.0f - release;
    return {_mm256_set1_ps(attack), _mm256_setr_ps(rise, rise, rise, rise, rise, rise, fall, fall),
            _mm256_set1_ps(fall)};
}

// ------------------------------------------------------------------ AVX2

struct Avx2Constants {
    __m256d gain1, gain2;
    __m256 release, correlation; // release and release x correlation value
};

// Four doubles of each register narrowed to eight floats.
ZK_AVX2 inline __m256 Narrow(__m256d lo, __m256d hi) {
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm256_cvtpd_ps(lo)), _mm256_cvtpd_ps(hi),
                                1);
}

// The double part of Balance() on four values: scaling, clamp (min and max with t
// second let a NaN through as Balance()'s comparisons do), centre.
ZK_AVX2 inline __m128 BalanceHalf(__m128 tf) {
    const __m256d t = _mm256_mul_pd(_mm256_mul_pd(_mm256_cvtps_pd(tf), _mm256_set1_pd(4.0)),
                                    _mm256_set1_pd(kOneThird));
    const __m256d clamped =
        _mm256_max_pd(_mm256_set1_pd(-1.0), _mm256_min_pd(_mm256_set1_pd(1.0), t));
    return _mm256_cvtpd_ps(
        _mm256_mul_pd(_mm256_add_pd(clamped, _mm256_set1_pd(1.0)), _mm256_set1_pd(0.5)));
}

template <Route R, bool Inputs> struct Avx2Kernel {
    Avx2Constants k;
    Coefficients m;

    ZK_AVX2 void Prepare(Group& g, const GroupData& d) const {
        const __m256d c1a = _mm256_mul_pd(_mm256_loadu_pd(d.b1), k.gain1);
        const __m256d c1b = _mm256_mul_pd(_mm256_loadu_pd(d.b1 + 4), k.gain1);
        const __m256d c2a = _mm256_mul_pd(_mm256_loadu_pd(d.b2), k.gain2);
        const __m256d c2b = _mm256_mul_pd(_mm256_loadu_pd(d.b2 + 4), k.gain2);
        const __m256d r1a = R == Route::SecondOnBoth ? c2a : c1a;
        const __m256d r1b = R == Route::SecondOnBoth ? c2b : c1b;
        const __m256d r2a = R == Route::FirstOnBoth ? c1a : c2a;
        const __m256d r2b = R == Route::FirstOnBoth ? c1b : c2b;
        _mm256_storeu_pd(d.b1, r1a);
        _mm256_storeu_pd(d.b1 + 4, r1b);
        _mm256_storeu_pd(d.b2, r2a);
        _mm256_storeu_pd(d.b2 + 4, r2b);

        const __m256 f1 = Narrow(c1a, c1b), f2 = Narrow(c2a, c2b);
        const __m256 x = Abs(f1), y = Abs(f2);

        // Balance(): 1 - x/y where y > x, else y/x - 1 (min and max choose the
        // operands per lane as Balance() does, NaN included); t = 0 where
        // Balance() keeps raw = 1.
        const __m256 one = _mm256_set1_ps(1.0f);
        const __m256 q = _mm256_div_ps(_mm256_min_ps(x, y), _mm256_max_ps(y, x));
        const __m256 floor = _mm256_set1_ps(kBalanceFloor);
        const __m256 moving = _mm256_and_ps(
            _mm256_or_ps(_mm256_cmp_ps(x, floor, _CMP_GT_OQ), _mm256_cmp_ps(y, floor, _CMP_GT_OQ)),
            _mm256_cmp_ps(x, y, _CMP_NEQ_UQ));
        const __m256 t =
            _mm256_and_ps(moving, _mm256_blendv_ps(_mm256_sub_ps(q, one), _mm256_sub_ps(one, q),
                                                   _mm256_cmp_ps(y, x, _CMP_GT_OQ)));
        const __m256 balance =
            _mm256_insertf128_ps(_mm256_castps128_ps256(BalanceHalf(_mm256_castps256_ps128(t))),
                                 BalanceHalf(_mm256_extractf128_ps(t, 1)), 1);

        const __m256 gate = _mm256_set1_ps(kGate);
        StoreSums(g, _mm256_and_ps(_mm256_cmp_ps(x, gate, _CMP_GE_OQ), f1),
                  _mm256_and_ps(_mm256_cmp_ps(y, gate, _CMP_GE_OQ), f2));

        const __m256 half = _mm256_set1_ps(0.5f);
        const __m256 mid =
            Abs(_mm256_mul_ps(Narrow(_mm256_add_pd(r1a, r2a), _mm256_add_pd(r1b, r2b)), half));
        const __m256 side =
            Abs(_mm256_mul_ps(Narrow(_mm256_sub_pd(r1a, r2a), _mm256_sub_pd(r1b, r2b)), half));
        // |float(r)| is float(|r|): rounding is symmetric.
        const __m256 out1 = R == Route::SecondOnBoth ? y : x;
        const __m256 out2 = R == Route::FirstOnBoth ? x : y;
        __m256 inputs01 = _mm256_setzero_ps(), inputs23 = _mm256_setzero_ps();
        if constexpr (Inputs) {
            inputs01 = InputPairs(d.magnitudes, 0);
            inputs23 = InputPairs(d.magnitudes, 1);
        }
        Transpose(g, mid, side, out1, out2, inputs01, inputs23, _mm256_mul_ps(k.release, balance),
                  k.correlation);
    }

    // FollowLevel on lanes 0..5 (an over, else a rise, else a fall), the
    // smoothing's rise on lanes 6 and 7.
    ZK_AVX2 void Step(Chains& c, const Group& g, int i) const {
        const __m256 v = SampleInputs(g, i);
        const __m256 addend = _mm256_blend_ps(_mm256_mul_ps(v, m.attack), v, kSmoothLanes);
        const __m256 notOver = _mm256_cmp_ps(v, _mm256_set1_ps(1.0f), _CMP_NGT_UQ);
        const __m256 takeRise =
            _mm256_or_ps(_mm256_and_ps(notOver, _mm256_cmp_ps(v, c.levels, _CMP_GT_OQ)),
                         _mm256_castsi256_ps(_mm256_setr_epi32(0, 0, 0, 0, 0, 0, -1, -1)));
        const __m256 overOrFall =
            _mm256_blendv_ps(v, _mm256_mul_ps(c.levels, m.keepOnFall), notOver);
        const __m256 rise = _mm256_add_ps(_mm256_mul_ps(c.levels, m.keepOnRise), addend);
        c.levels = _mm256_blendv_ps(overOrFall, rise, takeRise);
        StepSums(c, g, i);
    }
};

template <Route R, bool Inputs>
ZK_AVX2_FLAT void RunAvx2(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
                          double gain2, const float* magnitudes, float attack, float release) {
    Avx2Kernel<R, Inputs> kernel{{_mm256_set1_pd(gain1), _mm256_set1_pd(gain2),
                                  _mm256_set1_ps(release),
                                  _mm256_set1_ps(release * s.correlationValue)},
                                 MakeCoefficients(attack, release)};
    Chains c = LoadChains(s);
    RunGroups(kernel, c, b1, b2, count, magnitudes);
    StoreChains(s, c, Inputs, count);
}

// ------------------------------------------------------------------ AVX-512

// Permutation indices of Records (lane L of the result takes lane idx[L] of the
// first source, or idx[L] - 16 of the second).
struct RecordIndices {
    alignas(64) int quads[2][16];  // sources z0 | z1: samples 4h..4h+3, quantities 0..3
    alignas(64) int inputs[2][16]; // sources z2 | z3: samples 4h..4h+3, quantities 4..7
    alignas(64) int pairs[2][16];  // sources quads | inputs: samples 2j, 2j + 1, all eight
    // SumRecords: sources s | s s: samples 4h..4h+3, [s1, s1 s1, s2, s2 s2] each;
    // then sources those | products: samples 4h + 2j, 4h + 2j + 1, with s1 s2.
    alignas(64) int sumQuads[2][16];
    alignas(64) int sumPairs[2][2][16];
};
constexpr RecordIndices MakeRecordIndices() {
    RecordIndices r{};
    for (int h = 0; h < 2; ++h) {
        for (int l = 0; l < 16; ++l) {
            const int s = 4 * h + l / 4, q = l % 4;
            r.quads[h][l] = q == 0 ? s : q == 1 ? 8 + s : q == 2 ? 16 + s : 24 + s;
            r.inputs[h][l] = q == 0 ? 2 * s : q == 1 ? 2 * s + 1 : q == 2 ? 16 + s : 24 + s;
            const int local = 2 * h + l / 8, quantity = l % 8;
            r.pairs[h][l] = quantity < 4 ? 4 * local + quantity : 16 + 4 * local + quantity - 4;
            r.sumQuads[h][l] = q == 0 ? s : q == 1 ? 16 + s : q == 2 ? 8 + s : 24 + s;
            for (int j = 0; j < 2; ++j) {
                const int at = 2 * j + l / 8; // the sample's place among the four
                r.sumPairs[h][j][l] = quantity < 4    ? 4 * at + quantity
                                      : quantity == 4 ? 16 + 4 * h + at
                                                      : 16 + 8; // a zero lane
            }
        }
    }
    return r;
}
constexpr RecordIndices kRecordIndices = MakeRecordIndices();

// Each sample's eight values into g.records from four registers of two rows
// each: z0 [|mid| | |side|], z1 [|out 1| | |out 2|], z2 the input magnitude
// pairs in sample order, z3 [release x balance | release x correlation value].
// Eight two-source permutations (the 256-bit transposition takes 22 shuffles).
ZK_AVX512 inline void Records(Group& g, __m512 z0, __m512 z1, __m512 z2, __m512 z3) {
    const RecordIndices& k = kRecordIndices;
    for (int h = 0; h < 2; ++h) {
        const __m512 quads = _mm512_permutex2var_ps(
            z0, _mm512_load_si512(reinterpret_cast<const __m512i*>(k.quads[h])), z1);
        const __m512 inputs = _mm512_permutex2var_ps(
            z2, _mm512_load_si512(reinterpret_cast<const __m512i*>(k.inputs[h])), z3);
        for (int j = 0; j < 2; ++j) {
            _mm512_store_ps(g.records[4 * h + 2 * j],
                            _mm512_permutex2var_ps(
                                quads,
                                _mm512_load_si512(reinterpret_cast<const __m512i*>(k.pairs[j])),
                                inputs));
        }
    }
}

ZK_AVX512 inline __m512 Rows(__m256 low, __m256 high) {
    return _mm512_insertf32x8(_mm512_castps256_ps512(low), high, 1);
}

// The gated samples' sums of one group into g.sumRecords: squares and products
// as StoreSums makes them, six two-source permutations.
ZK_AVX512 inline void SumRecords(Group& g, __m256 s1, __m256 s2) {
    const RecordIndices& k = kRecordIndices;
    const __m512 both = Rows(s1, s2);
    const __m512 squares = _mm512_mul_ps(both, both);
    const __m512 products = _mm512_zextps256_ps512(_mm256_mul_ps(s1, s2));
    for (int h = 0; h < 2; ++h) {
        const __m512 quads = _mm512_permutex2var_ps(
            both, _mm512_load_si512(reinterpret_cast<const __m512i*>(k.sumQuads[h])), squares);
        for (int j = 0; j < 2; ++j) {
            _mm512_store_ps(
                g.sumRecords[4 * h + 2 * j],
                _mm512_permutex2var_ps(
                    quads, _mm512_load_si512(reinterpret_cast<const __m512i*>(k.sumPairs[h][j])),
                    products));
        }
    }
}

struct Avx512Constants {
    __m512d gain1, gain2;
    __m256 release, correlation;
};

template <Route R, bool Inputs> struct Avx512Kernel {
    Avx512Constants k;
    Coefficients m;

    ZK_AVX512 void Prepare(Group& g, const GroupData& d) const {
        const __m512d c1 = _mm512_mul_pd(_mm512_loadu_pd(d.b1), k.gain1);
        const __m512d c2 = _mm512_mul_pd(_mm512_loadu_pd(d.b2), k.gain2);
        const __m512d r1 = R == Route::SecondOnBoth ? c2 : c1;
        const __m512d r2 = R == Route::FirstOnBoth ? c1 : c2;
        _mm512_storeu_pd(d.b1, r1);
        _mm512_storeu_pd(d.b2, r2);

        const __m256 f1 = _mm512_cvtpd_ps(c1), f2 = _mm512_cvtpd_ps(c2);
        const __m256 x = Abs(f1), y = Abs(f2);

        // Balance() as in the AVX2 kernel, the choices as masks.
        const __m256 one = _mm256_set1_ps(1.0f);
        const __m256 q = _mm256_div_ps(_mm256_min_ps(x, y), _mm256_max_ps(y, x));
        const __m256 floor = _mm256_set1_ps(kBalanceFloor);
        const __mmask8 moving =
            _mm256_mask_cmp_ps_mask(_kor_mask8(_mm256_cmp_ps_mask(x, floor, _CMP_GT_OQ),
                                               _mm256_cmp_ps_mask(y, floor, _CMP_GT_OQ)),
                                    x, y, _CMP_NEQ_UQ);
        const __mmask8 rising = _mm256_mask_cmp_ps_mask(moving, y, x, _CMP_GT_OQ);
        const __m256 t = _mm256_mask_sub_ps(_mm256_maskz_sub_ps(moving, q, one), rising, one, q);
        const __m512d scaled = _mm512_mul_pd(_mm512_mul_pd(_mm512_cvtps_pd(t), _mm512_set1_pd(4.0)),
                                             _mm512_set1_pd(kOneThird));
        const __m512d clamped =
            _mm512_max_pd(_mm512_set1_pd(-1.0), _mm512_min_pd(_mm512_set1_pd(1.0), scaled));
        const __m256 balance = _mm512_cvtpd_ps(
            _mm512_mul_pd(_mm512_add_pd(clamped, _mm512_set1_pd(1.0)), _mm512_set1_pd(0.5)));

        const __m256 gate = _mm256_set1_ps(kGate);
        SumRecords(g, _mm256_maskz_mov_ps(_mm256_cmp_ps_mask(x, gate, _CMP_GE_OQ), f1),
                   _mm256_maskz_mov_ps(_mm256_cmp_ps_mask(y, gate, _CMP_GE_OQ), f2));

        // |mid| and |side| side by side: per lane the conversion, the halving
        // and the magnitude as one at a time.
        const __m512 midSide = _mm512_abs_ps(_mm512_mul_ps(
            Rows(_mm512_cvtpd_ps(_mm512_add_pd(r1, r2)), _mm512_cvtpd_ps(_mm512_sub_pd(r1, r2))),
            _mm512_set1_ps(0.5f)));
        const __m256 out1 = R == Route::SecondOnBoth ? y : x;
        const __m256 out2 = R == Route::FirstOnBoth ? x : y;
        __m512 inputs = _mm512_setzero_ps();
        if constexpr (Inputs) {
            inputs = _mm512_loadu_ps(d.magnitudes);
        }
        Records(g, midSide, Rows(out1, out2), inputs,
                Rows(_mm256_mul_ps(k.release, balance), k.correlation));
    }

    // As the AVX2 step; the fall or over is one masked multiply and the rise a
    // masked add onto it, so a level waits on a multiply and an add only.
    ZK_AVX512 void Step(Chains& c, const Group& g, int i) const {
        const __m256 v = _mm256_load_ps(g.records[i]);
        const __m256 addend = _mm256_mask_mul_ps(v, ~kSmoothLanes & 0xFF, v, m.attack);
        const __mmask8 notOver = _mm256_cmp_ps_mask(v, _mm256_set1_ps(1.0f), _CMP_NGT_UQ);
        const __mmask8 takeRise =
            _kor_mask8(_mm256_mask_cmp_ps_mask(notOver, v, c.levels, _CMP_GT_OQ), kSmoothLanes);
        const __m256 overOrFall = _mm256_mask_mul_ps(v, notOver, c.levels, m.keepOnFall);
        c.levels =
            _mm256_mask_add_ps(overOrFall, takeRise, _mm256_mul_ps(c.levels, m.keepOnRise), addend);
        c.sumsAndProduct = _mm256_add_ps(c.sumsAndProduct, _mm256_load_ps(g.sumRecords[i]));
    }
};

template <Route R, bool Inputs>
ZK_AVX512_FLAT void RunAvx512(CZkmorva20MeterState& s, double* b1, double* b2, long count,
                              double gain1, double gain2, const float* magnitudes, float attack,
                              float release) {
    Avx512Kernel<R, Inputs> kernel{{_mm512_set1_pd(gain1), _mm512_set1_pd(gain2),
                                    _mm256_set1_ps(release),
                                    _mm256_set1_ps(release * s.correlationValue)},
                                   MakeCoefficients(attack, release)};
    Chains c = LoadChains(s);
    c.sumsAndProduct =
        _mm256_insertf128_ps(_mm256_castps128_ps256(c.sums), _mm_set_ss(c.product), 1);
    RunGroups(kernel, c, b1, b2, count, magnitudes);
    c.sums = _mm256_castps256_ps128(c.sumsAndProduct);
    c.product = _mm_cvtss_f32(_mm256_extractf128_ps(c.sumsAndProduct, 1));
    StoreChains(s, c, Inputs, count);
}

// One instantiation per route and input choice.
template <template <Route, bool> class Run>
void Dispatch(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
              double gain2, Route route, const float* magnitudes, float attack, float release) {
    const bool inputs = magnitudes != nullptr;
    switch (route) {
    case Route::None:
        (inputs ? Run<Route::None, true>::f : Run<Route::None, false>::f)(
            s, b1, b2, count, gain1, gain2, magnitudes, attack, release);
        return;
    case Route::FirstOnBoth:
        (inputs ? Run<Route::FirstOnBoth, true>::f : Run<Route::FirstOnBoth, false>::f)(
            s, b1, b2, count, gain1, gain2, magnitudes, attack, release);
        return;
    case Route::SecondOnBoth:
        (inputs ? Run<Route::SecondOnBoth, true>::f : Run<Route::SecondOnBoth, false>::f)(
            s, b1, b2, count, gain1, gain2, magnitudes, attack, release);
        return;
    }
}

template <Route R, bool Inputs> struct Avx2Run { static constexpr auto f = RunAvx2<R, Inputs>; };
template <Route R, bool Inputs> struct Avx512Run {
    static constexpr auto f = RunAvx512<R, Inputs>;
};

} // namespace

void FollowOutputAvx2(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
                      double gain2, Route route, const float* inputMagnitudes, float attack,
                      float release) {
    Dispatch<Avx2Run>(s, b1, b2, count, gain1, gain2, route, inputMagnitudes, attack, release);
}

void FollowOutputAvx512(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
                        double gain2, Route route, const float* inputMagnitudes, float attack,
                        float release) {
    Dispatch<Avx512Run>(s, b1, b2, count, gain1, gain2, route, inputMagnitudes, attack, release);
}

} // namespace meterkernels
} // namespace zk20

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

#else

namespace zk20::meterkernels {

bool HaveX86Kernels() {
    return false;
}

} // namespace zk20::meterkernels

#endif
