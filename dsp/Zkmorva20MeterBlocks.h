#pragma once

#include "Zkmorva20Metering.h"

#include <bit>
#include <cstdint>

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
// b1/b2 end up gained and routed. The widest kernel the machine runs.
void FollowOutputBlock(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
                       double gain2, Route route, const float* inputMagnitudes, float attack,
                       float release);

// The same with the per-sample functions, one sample after another: the
// reference the block form equals.
void FollowOutputPlain(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
                       double gain2, Route route, const float* inputMagnitudes, float attack,
                       float release);

// The input stage of both channels: per sample x1 *= gain1, x2 *= gain2, the
// magnitudes pair [|x1|, |x2|] (as float) to magnitudes, then the next two
// denormal-guard noise values from seed (channel 1 first) added, and with
// doubled both samples times 2 (the zero-stuffing compensation). The widest
// kernel the machine runs.
void RunInputBlock(double* b1, double* b2, long count, double gain1, double gain2, bool doubled,
                   float* magnitudes, std::uint32_t& seed);

// The same one sample after another: the reference.
void RunInputPlain(double* b1, double* b2, long count, double gain1, double gain2, bool doubled,
                   float* magnitudes, std::uint32_t& seed);

// Host samples into a work buffer (with stuffed, each followed by a zero: the
// zero-stuffing) and the work buffer's samples (with stuffed, the even ones)
// out to the host, as the per-frame loops do. The widest kernel the machine runs.
void FillWorkBlock(const float* in, double* b, long frames, bool stuffed);
void FillWorkBlock(const double* in, double* b, long frames, bool stuffed);
void TakeWorkBlock(const double* b, float* out, long frames, bool stuffed);
void TakeWorkBlock(const double* b, double* out, long frames, bool stuffed);

// Each kernel on its own, so that every one the machine can run is checked
// against the plain rules and timed.
namespace meterkernels {

enum class Isa { Plain, Sse2, Avx2, Avx512 };
inline constexpr Isa kAllIsas[] = {Isa::Plain, Isa::Sse2, Isa::Avx2, Isa::Avx512};

const char* Name(Isa isa);
// Built into this binary and run by this processor.
bool Supported(Isa isa);
// The one the block functions use: the widest supported.
Isa Best();

// Preconditions: Supported(isa).
void FollowOutput(Isa isa, CZkmorva20MeterState& s, double* b1, double* b2, long count,
                  double gain1, double gain2, Route route, const float* inputMagnitudes,
                  float attack, float release);
void RunInput(Isa isa, double* b1, double* b2, long count, double gain1, double gain2, bool doubled,
              float* magnitudes, std::uint32_t& seed);
// Plain: the per-frame loops. AVX2 uses the SSE2 form.
void FillWork(Isa isa, const float* in, double* b, long frames, bool stuffed);
void FillWork(Isa isa, const double* in, double* b, long frames, bool stuffed);
void TakeWork(Isa isa, const double* b, float* out, long frames, bool stuffed);
void TakeWork(Isa isa, const double* b, double* out, long frames, bool stuffed);

// The SSE2 kernels, present where the build targets SSE2.
void FollowOutputSse2(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
                      double gain2, Route route, const float* inputMagnitudes, float attack,
                      float release);
void RunInputSse2(double* b1, double* b2, long count, double gain1, double gain2, bool doubled,
                  float* magnitudes, std::uint32_t& seed);

// The x86 kernels with 256- and 512-bit registers (Zkmorva20MeterKernelsX86.cpp,
// Zkmorva20InputKernelsX86.cpp), present when HaveX86Kernels().
bool HaveX86Kernels();
void FollowOutputAvx2(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
                      double gain2, Route route, const float* inputMagnitudes, float attack,
                      float release);
void FollowOutputAvx512(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
                        double gain2, Route route, const float* inputMagnitudes, float attack,
                        float release);
void RunInputAvx2(double* b1, double* b2, long count, double gain1, double gain2, bool doubled,
                  float* magnitudes, std::uint32_t& seed);
void RunInputAvx512(double* b1, double* b2, long count, double gain1, double gain2, bool doubled,
                    float* magnitudes, std::uint32_t& seed);
void FillWorkAvx512(const float* in, double* b, long frames, bool stuffed);
void FillWorkAvx512(const double* in, double* b, long frames, bool stuffed);
void TakeWorkAvx512(const double* b, float* out, long frames, bool stuffed);
void TakeWorkAvx512(const double* b, double* out, long frames, bool stuffed);

// Float thresholds equivalent to the double comparisons of the rules: for every
// float x, x > kBalanceFloor exactly when double(x) > 1e-10, and
// x >= kGate exactly when double(x) >= 0.0002.
constexpr float BelowOrAt(double limit) {
    const float f = static_cast<float>(limit);
    return static_cast<double>(f) > limit
               ? std::bit_cast<float>(std::bit_cast<std::uint32_t>(f) - 1u)
               : f;
}
constexpr float AtOrAbove(double limit) {
    const float f = static_cast<float>(limit);
    return static_cast<double>(f) < limit
               ? std::bit_cast<float>(std::bit_cast<std::uint32_t>(f) + 1u)
               : f;
}
constexpr float kBalanceFloor = BelowOrAt(1e-10);
constexpr float kGate = AtOrAbove(0.0002);
static_assert(static_cast<double>(kBalanceFloor) <= 1e-10 && static_cast<double>(kGate) >= 0.0002);

// The block kernels scale the balance's quotient term by 4/3 as t * 4.0 times
// this rather than divided by 3.0: for every float t in [-1, 1] (all that
// term can be) the float balance comes out the same, checked for each of them
// once; a division costs many multiplications.
inline constexpr double kOneThird = 1.0 / 3.0;

// A sample count advanced by n sample-by-sample increments of 1.0f, as
// AccumulateBalanceAndCorrelation leaves it (exact integers: one addition).
float AdvanceSampleCount(float count, long n);

} // namespace meterkernels

} // namespace zk20
