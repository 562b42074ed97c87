// Which meter and input-stage kernel runs: the widest the machine has, found
// once at load time, and each one by name for the tests and benchmarks.
#include "Zkmorva20MeterBlocks.h"

namespace zk20 {

namespace {

struct Detected {
    bool avx2 = false, avx512 = false;
    meterkernels::Isa best = meterkernels::Isa::Plain;
};

// On first use, which the initialisation below makes load time (never the
// render thread); a function-local so that other files' initialisers (the
// benchmark registration) see it done.
const Detected& Detect() {
    static const Detected d = [] {
        Detected r;
#if defined(__x86_64__) && defined(__GNUC__)
        __builtin_cpu_init();
        r.avx2 = meterkernels::HaveX86Kernels() && __builtin_cpu_supports("avx2");
        // The 512-bit kernels use the VL, DQ and BW forms on 256-bit registers too.
        r.avx512 = r.avx2 && __builtin_cpu_supports("avx512f") &&
                   __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
                   __builtin_cpu_supports("avx512bw");
#endif
#if defined(__SSE2__)
        r.best = meterkernels::Isa::Sse2;
#endif
        if (r.avx2) {
            r.best = meterkernels::Isa::Avx2;
        }
        if (r.avx512) {
            r.best = meterkernels::Isa::Avx512;
        }
        return r;
    }();
    return d;
}
const Detected& detectedAtLoad = Detect();

} // namespace

void FollowOutputBlock(CZkmorva20MeterState& s, double* b1, double* b2, long count, double gain1,
                       double gain2, Route route, const float* inputMagnitudes, float attack,
                       float release) {
    meterkernels::FollowOutput(meterkernels::Best(), s, b1, b2, count, gain1, gain2, route,
                               inputMagnitudes, attack, release);
}

void RunInputBlock(double* b1, double* b2, long count, double gain1, double gain2, bool doubled,
                   float* magnitudes, std::uint32_t& seed) {
    meterkernels::RunInput(meterkernels::Best(), b1, b2, count, gain1, gain2, doubled, magnitudes,
                           seed);
}

namespace meterkernels {

const char* Name(Isa isa) {
    switch (isa) {
    case Isa::Plain:
        return "plain";
    case Isa::Sse2:
        return "SSE2";
    case Isa::Avx2:
        return "AVX2";
    case Isa::Avx512:
        return "AVX-512";
    }
    return "?";
}

bool Supported(Isa isa) {
    switch (isa) {
    case Isa::Plain:
        return true;
    case Isa::Sse2:
#if defined(__SSE2__)
        return true;
#else
        return false;
#endif
    case Isa::Avx2:
        return Detect().avx2;
    case Isa::Avx512:
        return Detect().avx512;
    }
    return false;
}

Isa Best() {
    return Detect().best;
}

void FollowOutput(Isa isa, CZkmorva20MeterState& s, double* b1, double* b2, long count,
                  double gain1, double gain2, Route route, const float* inputMagnitudes,
                  float attack, float release) {
    switch (isa) {
#if defined(__x86_64__) && defined(__GNUC__)
    case Isa::Avx512:
        FollowOutputAvx512(s, b1, b2, count, gain1, gain2, route, inputMagnitudes, attack, release);
        return;
    case Isa::Avx2:
        FollowOutputAvx2(s, b1, b2, count, gain1, gain2, route, inputMagnitudes, attack, release);
        return;
#endif
#if defined(__SSE2__)
    case Isa::Sse2:
        FollowOutputSse2(s, b1, b2, count, gain1, gain2, route, inputMagnitudes, attack, release);
        return;
#endif
    default:
        FollowOutputPlain(s, b1, b2, count, gain1, gain2, route, inputMagnitudes, attack, release);
        return;
    }
}

void RunInput(Isa isa, double* b1, double* b2, long count, double gain1, double gain2, bool doubled,
              float* magnitudes, std::uint32_t& seed) {
    switch (isa) {
#if defined(__x86_64__) && defined(__GNUC__)
    case Isa::Avx512:
        RunInputAvx512(b1, b2, count, gain1, gain2, doubled, magnitudes, seed);
        return;
    case Isa::Avx2:
        RunInputAvx2(b1, b2, count, gain1, gain2, doubled, magnitudes, seed);
        return;
#endif
#if defined(__SSE2__)
    case Isa::Sse2:
        RunInputSse2(b1, b2, count, gain1, gain2, doubled, magnitudes, seed);
        return;
#endif
    default:
        RunInputPlain(b1, b2, count, gain1, gain2, doubled, magnitudes, seed);
        return;
    }
}

} // namespace meterkernels

} // namespace zk20
