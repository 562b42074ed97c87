// The two-channel fused pass with 512-bit AVX-512 registers, chosen at run time:
// four sections of both channels per register (CascadeStaggered.h).
#include "CascadeKernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#define ZK_KERNEL_TARGET __attribute__((target("avx512f,avx512dq,avx512vl")))
#include "CascadeStaggered.h"

namespace zk {
namespace kernels {
namespace {

struct Avx512Lanes {
    using Reg = __m512d;
    using Mask = __mmask8;
    static constexpr int kSections = 4;
    // Thirty-two registers: the histories of four (sixteen) and most of their
    // coefficients stay in registers. Four rather than three: a full chain then
    // needs two passes instead of three. Six in one pass would spill histories
    // to the stack.
    static constexpr int kMaxRegisters = 4;
    // Slots from the top down: a full pass's last section (slot 3) is then in
    // the bottom lanes, where its output is taken without a shuffle.
    static constexpr int SlotLane(int slot) { return 2 * (kSections - 1 - slot); }

    // The first N doubles of each lane's row, transposed: eight masked row
    // loads and an 8 x 8 transposition (unpacks, then two rounds of 128-bit
    // shuffles; the zero-masking forms with every lane selected, as in Take):
    // cheaper than nine gathers per register.
    template <int N> ZK_KERNEL_TARGET static void LoadColumns(const double* const* rows, Reg* out) {
        static_assert(N >= 1 && N <= 8);
        alignas(64) static constexpr double kZeros[8] = {};
        Reg r[8];
        for (int l = 0; l < 8; ++l) {
            r[l] = _mm512_maskz_loadu_pd(static_cast<__mmask8>((1u << N) - 1),
                                         rows[l] != nullptr ? rows[l] : kZeros);
        }
        // t[2i] holds rows 2i and 2i + 1 at the even places, t[2i + 1] at the odd.
        Reg t[8];
        for (int i = 0; i < 4; ++i) {
            t[2 * i] = _mm512_maskz_unpacklo_pd(0xFF, r[2 * i], r[2 * i + 1]);
            t[2 * i + 1] = _mm512_maskz_unpackhi_pd(0xFF, r[2 * i], r[2 * i + 1]);
        }
        // Place k of every row: k % 2 picks the unpack, (k / 2) % 2 and k / 4
        // the 128-bit lanes of the two shuffles.
        for (int k = 0; k < N; ++k) {
            const int odd = k % 2;
            const Reg low = (k / 2) % 2 == 0
                                ? _mm512_maskz_shuffle_f64x2(0xFF, t[odd], t[2 + odd], 0x88)
                                : _mm512_maskz_shuffle_f64x2(0xFF, t[odd], t[2 + odd], 0xDD);
            const Reg high = (k / 2) % 2 == 0
                                 ? _mm512_maskz_shuffle_f64x2(0xFF, t[4 + odd], t[6 + odd], 0x88)
                                 : _mm512_maskz_shuffle_f64x2(0xFF, t[4 + odd], t[6 + odd], 0xDD);
            out[k] = k / 4 == 0 ? _mm512_maskz_shuffle_f64x2(0xFF, low, high, 0x88)
                                : _mm512_maskz_shuffle_f64x2(0xFF, low, high, 0xDD);
        }
    }
    // Four registers back into the lanes' rows of four: two unpacks and two
    // permutations make each row pair, stored a half at a time (the halves
    // taken without GCC 12's extraction intrinsics, which warn of an
    // uninitialised operand).
    ZK_KERNEL_TARGET static void StoreColumns4(double* const* rows, const Reg* in) {
        const Reg even01 = _mm512_maskz_unpacklo_pd(0xFF, in[0], in[1]),
                  odd01 = _mm512_maskz_unpackhi_pd(0xFF, in[0], in[1]);
        const Reg even23 = _mm512_maskz_unpacklo_pd(0xFF, in[2], in[3]),
                  odd23 = _mm512_maskz_unpackhi_pd(0xFF, in[2], in[3]);
        const __m512i first = _mm512_set_epi64(11, 10, 3, 2, 9, 8, 1, 0);
        const __m512i second = _mm512_set_epi64(15, 14, 7, 6, 13, 12, 5, 4);
        // Rows 0 | 2, 4 | 6, 1 | 3, 5 | 7.
        const Reg pairs[4] = {_mm512_maskz_permutex2var_pd(0xFF, even01, first, even23),
                              _mm512_maskz_permutex2var_pd(0xFF, even01, second, even23),
                              _mm512_maskz_permutex2var_pd(0xFF, odd01, first, odd23),
                              _mm512_maskz_permutex2var_pd(0xFF, odd01, second, odd23)};
        constexpr int kRow[4] = {0, 4, 1, 5};
        for (int i = 0; i < 4; ++i) {
            double* low = rows[kRow[i]];
            double* high = rows[kRow[i] + 2];
            if (low != nullptr) {
                _mm256_storeu_pd(low, __builtin_shufflevector(pairs[i], pairs[i], 0, 1, 2, 3));
            }
            if (high != nullptr) {
                _mm256_storeu_pd(high, __builtin_shufflevector(pairs[i], pairs[i], 4, 5, 6, 7));
            }
        }
    }
    ZK_KERNEL_TARGET static Reg Mul(Reg a, Reg b) { return _mm512_mul_pd(a, b); }
    ZK_KERNEL_TARGET static Reg Add(Reg a, Reg b) { return _mm512_add_pd(a, b); }
    ZK_KERNEL_TARGET static Reg Sub(Reg a, Reg b) { return _mm512_sub_pd(a, b); }
    ZK_KERNEL_TARGET static Mask MaskOf(const bool* on) {
        unsigned bits = 0;
        for (int l = 0; l < 8; ++l) {
            bits |= on[l] ? 1u << l : 0u;
        }
        return static_cast<Mask>(bits);
    }
    ZK_KERNEL_TARGET static Mask SlotMask(int slot) {
        return static_cast<Mask>(3u << SlotLane(slot));
    }
    ZK_KERNEL_TARGET static Reg Blend(Reg keep, Reg take, Mask m) {
        return _mm512_mask_blend_pd(m, keep, take);
    }
    // The subtraction with merge masking.
    ZK_KERNEL_TARGET static Reg SubWhere(Mask m, Reg a, Reg b, Reg keep) {
        return _mm512_mask_sub_pd(keep, m, a, b);
    }
    // Slot 0 in, slots 1 to 3 the first three slots of last: last moved down a
    // slot, in from a broadcast (a load, no shuffle) in the top lanes.
    ZK_KERNEL_TARGET static Reg Feed(__m128d in, Reg last) {
        return _mm512_castsi512_pd(_mm512_maskz_alignr_epi64(
            0xFF, _mm512_castpd_si512(_mm512_maskz_broadcast_f64x2(0xFF, in)),
            _mm512_castpd_si512(last), 2));
    }
    // A slot's two lanes: the bottom ones as they are, the others moved there by
    // one permutation. (Here and below the zero-masking forms with every lane
    // selected: the same work, but GCC 12's unmasked forms warn of an
    // uninitialised operand.)
    struct Pick {
        __m512i lanes;
        bool bottom;
        Mask mask;
    };
    ZK_KERNEL_TARGET static Pick PickOf(int slot) {
        const int lane = SlotLane(slot);
        return {_mm512_set_epi64(0, 0, 0, 0, 0, 0, lane + 1, lane), lane == 0, SlotMask(slot)};
    }
    ZK_KERNEL_TARGET static __m128d Take(Reg r, const Pick& pick) {
        if (pick.bottom) {
            // The cast without GCC 12's cast intrinsic, which warns of an
            // uninitialised operand.
            return __builtin_shufflevector(r, r, 0, 1);
        }
        return _mm512_maskz_extractf64x2_pd(0x3, _mm512_maskz_permutexvar_pd(0xFF, pick.lanes, r),
                                            0);
    }
    // The exit slot at run time: its one permutation serves every slot.
    static constexpr bool kStaticSlot = false;
    // v into the slot's lanes, the rest of r kept.
    ZK_KERNEL_TARGET static Reg Put(Reg r, __m128d v, const Pick& pick) {
        return _mm512_mask_broadcast_f64x2(r, pick.mask, v);
    }
    // MidSideMatrix and ScaleSide with one shuffle instead of three: the
    // shuffles share a port with the pass's arithmetic. Each lane's operands in
    // the same order: a + b in lane 0 and a - b in lane 1 of [a, b].
    ZK_KERNEL_TARGET static __m128d MidSide(__m128d v, __m128d divisor) {
        const __m128d swapped = _mm_permute_pd(v, 1); // [b, a]
        const __m128d sum = _mm_add_pd(v, swapped);
        return _mm_div_pd(_mm_mask_sub_pd(sum, 0x2, swapped, v), divisor);
    }
    // Column loads of a few instructions: inline in each pass (CascadeStaggered.h).
    static constexpr bool kHistoriesOutOfLine = false;
    // MidSide on two pairs at once: [a, b, c, d] to the matrix of [a, b] and of
    // [c, d], each lane as there.
    ZK_KERNEL_TARGET static __m256d MidSide2(__m256d v, __m256d divisor) {
        const __m256d swapped = _mm256_permute_pd(v, 0x5);
        const __m256d sum = _mm256_add_pd(v, swapped);
        return _mm256_div_pd(_mm256_mask_sub_pd(sum, 0xA, swapped, v), divisor);
    }
    ZK_KERNEL_TARGET static __m256d ScaleSide2(__m256d v, __m256d factor) {
        return _mm256_mask_mul_pd(v, 0xA, v, factor);
    }
    ZK_KERNEL_TARGET static __m128d ScaleSide(__m128d v, __m128d factor) {
        return _mm_mask_mul_pd(v, 0x2, v, factor);
    }
    // Eight frames: two two-source permutations each way.
    static constexpr int kWeave = 8;
    ZK_KERNEL_TARGET static void Weave(const double* left, const double* right, __m128d* frames) {
        const Reg l = _mm512_loadu_pd(left), r = _mm512_loadu_pd(right);
        double* out = reinterpret_cast<double*>(frames);
        _mm512_storeu_pd(out,
                         _mm512_permutex2var_pd(l, _mm512_set_epi64(11, 3, 10, 2, 9, 1, 8, 0), r));
        _mm512_storeu_pd(
            out + 8, _mm512_permutex2var_pd(l, _mm512_set_epi64(15, 7, 14, 6, 13, 5, 12, 4), r));
    }
    ZK_KERNEL_TARGET static void Unweave(const __m128d* frames, double* left, double* right) {
        const double* in = reinterpret_cast<const double*>(frames);
        const Reg low = _mm512_loadu_pd(in), high = _mm512_loadu_pd(in + 8);
        _mm512_storeu_pd(
            left, _mm512_permutex2var_pd(low, _mm512_set_epi64(14, 12, 10, 8, 6, 4, 2, 0), high));
        _mm512_storeu_pd(
            right, _mm512_permutex2var_pd(low, _mm512_set_epi64(15, 13, 11, 9, 7, 5, 3, 1), high));
    }
};

} // namespace

// Read each time, as HaveAvx is (CascadeKernels.cpp).
bool HaveAvx512() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512vl");
}

ZK_KERNEL_TARGET void FilterCascadeStereoAvx512(const StereoStage* stages, int stageCount,
                                                const MidSideTail* tail, double* left,
                                                double* right, long count, CascadePlan* plan) {
    FilterCascadeStereoStaggered<Avx512Lanes>(stages, stageCount, tail, left, right, count, plan,
                                              2);
}

} // namespace kernels
} // namespace zk

#else

namespace zk {
namespace kernels {

bool HaveAvx512() {
    return false;
}

void FilterCascadeStereoAvx512(const StereoStage* stages, int stageCount, const MidSideTail* tail,
                               double* left, double* right, long count, CascadePlan*) {
    FilterCascadeStereoBaseline(stages, stageCount, tail, left, right, count);
}

} // namespace kernels
} // namespace zk

#endif
