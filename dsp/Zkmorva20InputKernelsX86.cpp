// The input stage and the work-buffer conversions with 256- and 512-bit
// registers, chosen at run time (Zkmorva20MeterDispatch.cpp and
// Zkmorva20InputBlocks.cpp dispatch). Every value sees the operations of the
// per-sample loops in their order, so results are identical bit for bit.
#include "Zkmorva20MeterBlocks.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include "NoiseLanes.h"

#include <immintrin.h>

#include <array>

// GCC 12's 512-bit intrinsics start from a self-initialised "undefined"
// register, which its own uninitialised-use warnings flag where they inline.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#define ZK_AVX2 __attribute__((target("avx2")))
#define ZK_AVX512 __attribute__((target("avx2,avx512f,avx512vl,avx512dq,avx512bw")))

namespace zk20 {
namespace meterkernels {

namespace {

// The noise recurrence taken n times, as one multiply and add.
struct Jump {
    std::uint32_t mul, add;
};
constexpr Jump NoiseJump(int n) {
    Jump j{1u, 0u};
    for (int i = 0; i < n; ++i) {
        j = {j.mul * zk::kNoiseMul, j.add * zk::kNoiseMul + zk::kNoiseAdd};
    }
    return j;
}

// Per lane of channel 1 the state its sample takes, and of channel 2 the one
// after: lane k of a round of L samples holds states 2k + 1 and 2k + 2 on from seed.
// Each one jump from seed (the recurrence taken n times, modulo 2^32), so that the
// lanes need not wait on each other: stepping one after another took 2 L
// dependent multiplies at every block's start.
template <int L> struct NoiseStates {
    std::uint32_t first[L], second[L];
    explicit NoiseStates(std::uint32_t seed) {
        for (int k = 0; k < L; ++k) {
            first[k] = kJumps[2 * k].mul * seed + kJumps[2 * k].add;
            second[k] = kJumps[2 * k + 1].mul * seed + kJumps[2 * k + 1].add;
        }
    }

private:
    static constexpr std::array<Jump, 2 * L> kJumps = [] {
        std::array<Jump, 2 * L> j{};
        for (int n = 0; n < 2 * L; ++n) {
            j[static_cast<std::size_t>(n)] = NoiseJump(n + 1);
        }
        return j;
    }();
};

template <bool Doubled>
ZK_AVX2 void InputAvx2(double* b1, double* b2, long count, double gain1, double gain2,
                       float* magnitudes, std::uint32_t& seed) {
    constexpr int L = 4;
    long i = 0;
    if (count >= L) {
        const NoiseStates<L> start(seed);
        __m128i state1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(start.first));
        __m128i state2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(start.second));
        constexpr Jump jump = NoiseJump(2 * L);
        const __m128i jumpMul = _mm_set1_epi32(static_cast<int>(jump.mul));
        const __m128i jumpAdd = _mm_set1_epi32(static_cast<int>(jump.add));
        const __m128i keep = _mm_set1_epi32(static_cast<int>(0x807F0000u));
        const __m128i exponent = _mm_set1_epi32(0x1E000000);
        const __m256d g1 = _mm256_set1_pd(gain1), g2 = _mm256_set1_pd(gain2);
        const __m256d sign = _mm256_set1_pd(-0.0);
        __m128i last = state2;
        for (; i + L <= count; i += L) {
            __m256d a = _mm256_mul_pd(_mm256_loadu_pd(b1 + i), g1);
            __m256d b = _mm256_mul_pd(_mm256_loadu_pd(b2 + i), g2);
            const __m128 m1 = _mm256_cvtpd_ps(_mm256_andnot_pd(sign, a));
            const __m128 m2 = _mm256_cvtpd_ps(_mm256_andnot_pd(sign, b));
            _mm_storeu_ps(magnitudes + 2 * i, _mm_unpacklo_ps(m1, m2));
            _mm_storeu_ps(magnitudes + 2 * i + 4, _mm_unpackhi_ps(m1, m2));
            const __m128 n1 = _mm_castsi128_ps(_mm_or_si128(_mm_and_si128(state1, keep), exponent));
            const __m128 n2 = _mm_castsi128_ps(_mm_or_si128(_mm_and_si128(state2, keep), exponent));
            a = _mm256_add_pd(a, _mm256_cvtps_pd(n1));
            b = _mm256_add_pd(b, _mm256_cvtps_pd(n2));
            if constexpr (Doubled) {
                a = _mm256_mul_pd(a, _mm256_set1_pd(2.0));
                b = _mm256_mul_pd(b, _mm256_set1_pd(2.0));
            }
            _mm256_storeu_pd(b1 + i, a);
            _mm256_storeu_pd(b2 + i, b);
            last = state2;
            state1 = _mm_add_epi32(_mm_mullo_epi32(state1, jumpMul), jumpAdd);
            state2 = _mm_add_epi32(_mm_mullo_epi32(state2, jumpMul), jumpAdd);
        }
        seed = static_cast<std::uint32_t>(_mm_extract_epi32(last, 3));
    }
    RunInputPlain(b1 + i, b2 + i, count - i, gain1, gain2, Doubled, magnitudes + 2 * i, seed);
}

template <bool Doubled>
ZK_AVX512 void InputAvx512(double* b1, double* b2, long count, double gain1, double gain2,
                           float* magnitudes, std::uint32_t& seed) {
    constexpr int L = 8;
    long i = 0;
    if (count >= L) {
        const NoiseStates<L> start(seed);
        __m256i state1 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(start.first));
        __m256i state2 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(start.second));
        constexpr Jump jump = NoiseJump(2 * L);
        const __m256i jumpMul = _mm256_set1_epi32(static_cast<int>(jump.mul));
        const __m256i jumpAdd = _mm256_set1_epi32(static_cast<int>(jump.add));
        const __m256i keep = _mm256_set1_epi32(static_cast<int>(0x807F0000u));
        const __m256i exponent = _mm256_set1_epi32(0x1E000000);
        const __m512d g1 = _mm512_set1_pd(gain1), g2 = _mm512_set1_pd(gain2);
        // Pairs [|channel 1|, |channel 2|] from the two rows.
        const __m512i pairs =
            _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
        __m256i last = state2;
        for (; i + L <= count; i += L) {
            __m512d a = _mm512_mul_pd(_mm512_loadu_pd(b1 + i), g1);
            __m512d b = _mm512_mul_pd(_mm512_loadu_pd(b2 + i), g2);
            const __m256 m1 = _mm512_cvtpd_ps(_mm512_abs_pd(a));
            const __m256 m2 = _mm512_cvtpd_ps(_mm512_abs_pd(b));
            _mm512_storeu_ps(magnitudes + 2 * i,
                             _mm512_permutex2var_ps(_mm512_castps256_ps512(m1), pairs,
                                                    _mm512_castps256_ps512(m2)));
            const __m256 n1 =
                _mm256_castsi256_ps(_mm256_or_si256(_mm256_and_si256(state1, keep), exponent));
            const __m256 n2 =
                _mm256_castsi256_ps(_mm256_or_si256(_mm256_and_si256(state2, keep), exponent));
            a = _mm512_add_pd(a, _mm512_cvtps_pd(n1));
            b = _mm512_add_pd(b, _mm512_cvtps_pd(n2));
            if constexpr (Doubled) {
                a = _mm512_mul_pd(a, _mm512_set1_pd(2.0));
                b = _mm512_mul_pd(b, _mm512_set1_pd(2.0));
            }
            _mm512_storeu_pd(b1 + i, a);
            _mm512_storeu_pd(b2 + i, b);
            last = state2;
            state1 = _mm256_add_epi32(_mm256_mullo_epi32(state1, jumpMul), jumpAdd);
            state2 = _mm256_add_epi32(_mm256_mullo_epi32(state2, jumpMul), jumpAdd);
        }
        seed = static_cast<std::uint32_t>(_mm256_extract_epi32(last, 7));
    }
    RunInputPlain(b1 + i, b2 + i, count - i, gain1, gain2, Doubled, magnitudes + 2 * i, seed);
}

// ------------------------------------------------------------------ work buffers

// Eight frames per round: one conversion, and for the zero-stuffing two
// permutes that place the samples at the even positions between zeros.
ZK_AVX512 inline __m512d EightFrames(const float* in) {
    return _mm512_cvtps_pd(_mm256_loadu_ps(in));
}
ZK_AVX512 inline __m512d EightFrames(const double* in) {
    return _mm512_loadu_pd(in);
}
ZK_AVX512 inline void StoreEight(float* out, __m512d x) {
    _mm256_storeu_ps(out, _mm512_cvtpd_ps(x));
}
ZK_AVX512 inline void StoreEight(double* out, __m512d x) {
    _mm512_storeu_pd(out, x);
}

template <typename Sample>
ZK_AVX512 void FillWork512(const Sample* in, double* b, long frames, bool stuffed) {
    long i = 0;
    const __m512d zero = _mm512_setzero_pd();
    const __m512i first = _mm512_setr_epi64(0, 8, 1, 8, 2, 8, 3, 8);
    const __m512i second = _mm512_setr_epi64(4, 8, 5, 8, 6, 8, 7, 8);
    for (; i + 8 <= frames; i += 8) {
        const __m512d x = EightFrames(in + i);
        if (stuffed) {
            _mm512_storeu_pd(b + 2 * i, _mm512_permutex2var_pd(x, first, zero));
            _mm512_storeu_pd(b + 2 * i + 8, _mm512_permutex2var_pd(x, second, zero));
        } else {
            _mm512_storeu_pd(b + i, x);
        }
    }
    FillWork(Isa::Plain, in + i, b + (stuffed ? 2 * i : i), frames - i, stuffed);
}

template <typename Sample>
ZK_AVX512 void TakeWork512(const double* b, Sample* out, long frames, bool stuffed) {
    long i = 0;
    const __m512i even = _mm512_setr_epi64(0, 2, 4, 6, 8, 10, 12, 14);
    for (; i + 8 <= frames; i += 8) {
        StoreEight(out + i, stuffed ? _mm512_permutex2var_pd(_mm512_loadu_pd(b + 2 * i), even,
                                                             _mm512_loadu_pd(b + 2 * i + 8))
                                    : _mm512_loadu_pd(b + i));
    }
    TakeWork(Isa::Plain, b + (stuffed ? 2 * i : i), out + i, frames - i, stuffed);
}

} // namespace

void FillWorkAvx512(const float* in, double* b, long frames, bool stuffed) {
    FillWork512(in, b, frames, stuffed);
}
void FillWorkAvx512(const double* in, double* b, long frames, bool stuffed) {
    FillWork512(in, b, frames, stuffed);
}
void TakeWorkAvx512(const double* b, float* out, long frames, bool stuffed) {
    TakeWork512(b, out, frames, stuffed);
}
void TakeWorkAvx512(const double* b, double* out, long frames, bool stuffed) {
    TakeWork512(b, out, frames, stuffed);
}

void RunInputAvx2(double* b1, double* b2, long count, double gain1, double gain2, bool doubled,
                  float* magnitudes, std::uint32_t& seed) {
    if (doubled) {
        InputAvx2<true>(b1, b2, count, gain1, gain2, magnitudes, seed);
    } else {
        InputAvx2<false>(b1, b2, count, gain1, gain2, magnitudes, seed);
    }
}

void RunInputAvx512(double* b1, double* b2, long count, double gain1, double gain2, bool doubled,
                    float* magnitudes, std::uint32_t& seed) {
    if (doubled) {
        InputAvx512<true>(b1, b2, count, gain1, gain2, magnitudes, seed);
    } else {
        InputAvx512<false>(b1, b2, count, gain1, gain2, magnitudes, seed);
    }
}

} // namespace meterkernels
} // namespace zk20

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

#endif
