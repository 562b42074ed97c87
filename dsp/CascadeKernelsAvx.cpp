// The two-channel fused pass with 256-bit AVX registers, chosen at run time:
// two sections of both channels per register (CascadeStaggered.h).
#include "CascadeKernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#define ZK_KERNEL_TARGET __attribute__((target("avx")))
#include "CascadeStaggered.h"

namespace zk {
namespace kernels {
namespace {

struct AvxLanes {
    using Reg = __m256d;
    using Mask = __m256d;
    static constexpr int kSections = 2;
    // Sixteen registers: the histories of three (twelve) stay in registers, the
    // coefficients are read from memory. Four nonetheless: a section's feedback
    // (multiply, two subtractions: nine cycles on Zen 3) needs four registers in
    // flight to keep both multipliers busy, and a few spilled histories cost
    // less than idle multipliers.
    static constexpr int kMaxRegisters = 4;
    static constexpr int SlotLane(int slot) { return 2 * slot; }

    template <int N> ZK_KERNEL_TARGET static void LoadColumns(const double* const* rows, Reg* out) {
        for (int k = 0; k < N; ++k) {
            auto at = [&](int l) { return rows[l] != nullptr ? rows[l][k] : 0.0; };
            out[k] = _mm256_setr_pd(at(0), at(1), at(2), at(3));
        }
    }
    ZK_KERNEL_TARGET static void StoreColumns4(double* const* rows, const Reg* in) {
        alignas(32) double lanes[4][4];
        for (int k = 0; k < 4; ++k) {
            _mm256_store_pd(lanes[k], in[k]);
        }
        for (int l = 0; l < 4; ++l) {
            if (rows[l] != nullptr) {
                for (int k = 0; k < 4; ++k) {
                    rows[l][k] = lanes[k][l];
                }
            }
        }
    }
    ZK_KERNEL_TARGET static Reg Mul(Reg a, Reg b) { return _mm256_mul_pd(a, b); }
    ZK_KERNEL_TARGET static Reg Add(Reg a, Reg b) { return _mm256_add_pd(a, b); }
    ZK_KERNEL_TARGET static Reg Sub(Reg a, Reg b) { return _mm256_sub_pd(a, b); }
    ZK_KERNEL_TARGET static Mask MaskOf(const bool* on) {
        return _mm256_castsi256_pd(
            _mm256_setr_epi64x(on[0] ? -1 : 0, on[1] ? -1 : 0, on[2] ? -1 : 0, on[3] ? -1 : 0));
    }
    ZK_KERNEL_TARGET static Mask SlotMask(int slot) {
        const bool on[4] = {slot == 0, slot == 0, slot == 1, slot == 1};
        return MaskOf(on);
    }
    ZK_KERNEL_TARGET static Reg Blend(Reg keep, Reg take, Mask m) {
        return _mm256_blendv_pd(keep, take, m);
    }
    ZK_KERNEL_TARGET static Reg SubWhere(Mask m, Reg a, Reg b, Reg keep) {
        return _mm256_blendv_pd(keep, _mm256_sub_pd(a, b), m);
    }
    // [in, the first slot of last]
    ZK_KERNEL_TARGET static Reg Feed(__m128d in, Reg last) {
        return _mm256_insertf128_pd(_mm256_castpd128_pd256(in), _mm256_castpd256_pd128(last), 1);
    }
    using Pick = int;
    ZK_KERNEL_TARGET static Pick PickOf(int slot) { return slot; }
    // A test rather than a mask: with sixteen registers a mask register would
    // spill a history.
    ZK_KERNEL_TARGET static __m128d Take(Reg r, Pick slot) {
        return slot == 0 ? _mm256_castpd256_pd128(r) : _mm256_extractf128_pd(r, 1);
    }
    ZK_KERNEL_TARGET static Reg Put(Reg r, __m128d v, Pick slot) {
        return slot == 0 ? _mm256_insertf128_pd(r, v, 0) : _mm256_insertf128_pd(r, v, 1);
    }
    // In the steady loop the exit slot is a template argument: one insertion or
    // extraction with an immediate, no test.
    static constexpr bool kStaticSlot = true;
    template <int K> ZK_KERNEL_TARGET static __m128d TakeSlot(Reg r) {
        return K == 0 ? _mm256_castpd256_pd128(r) : _mm256_extractf128_pd(r, 1);
    }
    template <int K> ZK_KERNEL_TARGET static Reg PutSlot(Reg r, __m128d v) {
        return _mm256_insertf128_pd(r, v, K);
    }
    ZK_KERNEL_TARGET static __m128d MidSide(__m128d v, __m128d divisor) {
        return MidSideMatrix(v, divisor);
    }
    ZK_KERNEL_TARGET static __m128d ScaleSide(__m128d v, __m128d factor) {
        return zk::ScaleSide(v, factor);
    }
    // Column loads a lane at a time: kept out of each pass (CascadeStaggered.h).
    static constexpr bool kHistoriesOutOfLine = true;
    // MidSide and ScaleSide on two frames at once: [a, b, c, d] to the matrix of
    // [a, b] and of [c, d], each lane's operands in MidSideMatrix's order.
    ZK_KERNEL_TARGET static __m256d MidSide2(__m256d v, __m256d divisor) {
        const __m256d swapped = _mm256_permute_pd(v, 0x5); // [b, a, d, c]
        const __m256d sums = _mm256_add_pd(v, swapped);
        const __m256d differences = _mm256_sub_pd(swapped, v);
        return _mm256_div_pd(_mm256_blend_pd(sums, differences, 0xA), divisor);
    }
    ZK_KERNEL_TARGET static __m256d ScaleSide2(__m256d v, __m256d factor) {
        return _mm256_blend_pd(v, _mm256_mul_pd(v, factor), 0xA);
    }
    // Two frames: the two channels' pairs unpacked.
    static constexpr int kWeave = 2;
    ZK_KERNEL_TARGET static void Weave(const double* left, const double* right, __m128d* frames) {
        const __m128d l = _mm_loadu_pd(left), r = _mm_loadu_pd(right);
        frames[0] = _mm_unpacklo_pd(l, r);
        frames[1] = _mm_unpackhi_pd(l, r);
    }
    ZK_KERNEL_TARGET static void Unweave(const __m128d* frames, double* left, double* right) {
        _mm_storeu_pd(left, _mm_unpacklo_pd(frames[0], frames[1]));
        _mm_storeu_pd(right, _mm_unpackhi_pd(frames[0], frames[1]));
    }
};

} // namespace

ZK_KERNEL_TARGET void FilterCascadeStereoAvx(const StereoStage* stages, int stageCount,
                                             const MidSideTail* tail, double* left, double* right,
                                             long count, CascadePlan* plan) {
    FilterCascadeStereoStaggered<AvxLanes>(stages, stageCount, tail, left, right, count, plan, 1);
}

} // namespace kernels
} // namespace zk

#endif
