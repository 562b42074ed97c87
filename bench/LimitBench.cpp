// The machine's limit for our work: how many double-precision multiplies and
// adds one core completes per nanosecond when nothing waits on anything.
// Independent chains (8 multiplying, 6 adding: close to a section's 5:4 mix) keep
// every multiplier and adder busy. The "ops/ns" counter of each width divides a
// configuration's ops/frame into its lowest possible ns/frame.
//
// The SSE2 width (two doubles) is what the portable build may use; the wider
// kernels run only where the processor has them and show how far the core goes.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>

namespace {

constexpr long kRounds = 4096;
constexpr int kMulChains = 8; // m0..m7 below
constexpr int kAddChains = 6; // a0..a5

// Named chains rather than arrays: the compiler keeps every one in a register.
#define ZK_MUL(x)                                                                                  \
    x = x * c;                                                                                     \
    asm volatile("" : "+x"(x))
#define ZK_ADD(x)                                                                                  \
    x = x + d;                                                                                     \
    asm volatile("" : "+x"(x))
#define ZK_LIMIT_KERNEL(NAME, TARGET, V, LANES)                                                    \
    TARGET double NAME(long rounds, double seed) {                                                 \
        /* scalar + V{} broadcasts */                                                              \
        const V c = V{} + (1.0 + seed * 1e-12);                                                    \
        const V d = V{} + seed * 1e-9;                                                             \
        V m0 = V{} + 1.0, m1 = V{} + 2.0, m2 = V{} + 3.0, m3 = V{} + 4.0;                          \
        V m4 = V{} + 5.0, m5 = V{} + 6.0, m6 = V{} + 7.0, m7 = V{} + 8.0;                          \
        V a0 = V{} + 0.5, a1 = V{} + 1.5, a2 = V{} + 2.5, a3 = V{} + 3.5;                          \
        V a4 = V{} + 4.5, a5 = V{} + 5.5;                                                          \
        for (long r = 0; r < rounds; ++r) {                                                        \
            ZK_MUL(m0);                                                                            \
            ZK_MUL(m1);                                                                            \
            ZK_ADD(a0);                                                                            \
            ZK_MUL(m2);                                                                            \
            ZK_MUL(m3);                                                                            \
            ZK_ADD(a1);                                                                            \
            ZK_MUL(m4);                                                                            \
            ZK_ADD(a2);                                                                            \
            ZK_MUL(m5);                                                                            \
            ZK_ADD(a3);                                                                            \
            ZK_MUL(m6);                                                                            \
            ZK_ADD(a4);                                                                            \
            ZK_MUL(m7);                                                                            \
            ZK_ADD(a5);                                                                            \
        }                                                                                          \
        const V sum = m0 + m1 + m2 + m3 + m4 + m5 + m6 + m7 + a0 + a1 + a2 + a3 + a4 + a5;         \
        double lanes[LANES];                                                                       \
        std::memcpy(lanes, &sum, sizeof lanes);                                                    \
        return lanes[0];                                                                           \
    }

typedef double V2 __attribute__((vector_size(16)));
ZK_LIMIT_KERNEL(Scalar, , double, 1)
ZK_LIMIT_KERNEL(Sse2, , V2, 2)
#if defined(__x86_64__)
typedef double V4 __attribute__((vector_size(32)));
typedef double V8 __attribute__((vector_size(64)));
ZK_LIMIT_KERNEL(Avx2, __attribute__((target("avx2"))), V4, 4)
ZK_LIMIT_KERNEL(Avx512, __attribute__((target("avx512f"))), V8, 8)
#endif

template <double (*Kernel)(long, double), int Lanes>
void Run(benchmark::State& state, bool supported) {
    if (!supported) {
        state.SkipWithError("not supported by this processor");
        return;
    }
    double seed = 1.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Kernel(kRounds, seed));
        benchmark::ClobberMemory();
    }
    const double ops =
        static_cast<double>(state.iterations()) * kRounds * (kMulChains + kAddChains) * Lanes;
    state.counters["ops/ns"] = benchmark::Counter(ops * 1e-9, benchmark::Counter::kIsRate);
}

void BM_Limit_Scalar(benchmark::State& s) {
    Run<Scalar, 1>(s, true);
}
void BM_Limit_Sse2(benchmark::State& s) {
    Run<Sse2, 2>(s, true);
}
BENCHMARK(BM_Limit_Scalar);
BENCHMARK(BM_Limit_Sse2);
#if defined(__x86_64__)
void BM_Limit_Avx2(benchmark::State& s) {
    Run<Avx2, 4>(s, __builtin_cpu_supports("avx2"));
}
void BM_Limit_Avx512(benchmark::State& s) {
    Run<Avx512, 8>(s, __builtin_cpu_supports("avx512f"));
}
BENCHMARK(BM_Limit_Avx2);
BENCHMARK(BM_Limit_Avx512);
#endif

} // namespace
