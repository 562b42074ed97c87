#include "CascadeKernels.h"
#include "MidSideStage.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#define ZK_HAVE_SSE2 1
#endif

namespace zk {
namespace {

// Sections per pass. Inside a pass the input history of a section is the output
// history of the one before it, so a pass holds 2 + 2 x kGroup history values in
// registers (ten here) and reads its coefficients from memory.
constexpr int kGroup = 4;

// One lane per channel: plain doubles, or two channels in an SSE2 register.
struct ScalarLanes {
    using V = double;
    static V Mul(V a, V b) { return a * b; }
    static V Add(V a, V b) { return a + b; }
    static V Sub(V a, V b) { return a - b; }
    static V Select(V, V y, V) { return y; }
};

#ifdef ZK_HAVE_SSE2
struct Sse2Lanes {
    using V = __m128d;
    static V Mul(V a, V b) { return _mm_mul_pd(a, b); }
    static V Add(V a, V b) { return _mm_add_pd(a, b); }
    static V Sub(V a, V b) { return _mm_sub_pd(a, b); }
    // Lanes where mask is set take y, the others x (bitwise, so exact).
    static V Select(V mask, V y, V x) {
        return _mm_or_pd(_mm_and_pd(mask, y), _mm_andnot_pd(mask, x));
    }
};
#endif

// A section as a pass sees it, lane by lane.
template <class L> struct Section {
    using V = typename L::V;
    V b0, b1, b2, a1, a2;
    V x1, x2, y1, y2;
    V mask; // lanes that run the section; the others pass their samples through
};

// The difference equation in CBiquad's order: (((b0 x + b1 x1) + b2 x2) - a1 y1) - a2 y2.
template <class L>
inline typename L::V Output(const Section<L>& s, typename L::V x, typename L::V x1,
                            typename L::V x2, typename L::V y1, typename L::V y2) {
    return L::Sub(L::Sub(L::Add(L::Add(L::Mul(s.b0, x), L::Mul(s.b1, x1)), L::Mul(s.b2, x2)),
                         L::Mul(s.a1, y1)),
                  L::Mul(s.a2, y2));
}

// Runs G sections over buf[0..n) sample by sample; updates their histories.
template <class L, int G, bool Masked> void RunPass(typename L::V* buf, long n, Section<L>* s) {
    using V = typename L::V;
    long i = 0;
    // The first two samples with each section's own history; from then on a
    // section's inputs are exactly the previous section's outputs.
    for (; i < n && i < 2; ++i) {
        V x = buf[i];
        for (int k = 0; k < G; ++k) {
            V y = Output(s[k], x, s[k].x1, s[k].x2, s[k].y1, s[k].y2);
            if constexpr (Masked) {
                y = L::Select(s[k].mask, y, x);
            }
            s[k].x2 = s[k].x1;
            s[k].x1 = x;
            s[k].y2 = s[k].y1;
            s[k].y1 = y;
            x = y;
        }
        buf[i] = x;
    }
    if (i == n) {
        return;
    }
    const Section<L>* coeff = s;
    V xs1 = s[0].x1, xs2 = s[0].x2;
    V ys1[G], ys2[G];
    for (int k = 0; k < G; ++k) {
        ys1[k] = s[k].y1;
        ys2[k] = s[k].y2;
    }
    for (; i < n; ++i) {
        const V x = buf[i];
        V in = x, in1 = xs1, in2 = xs2;
#pragma GCC unroll 8
        for (int k = 0; k < G; ++k) {
            V y = Output(coeff[k], in, in1, in2, ys1[k], ys2[k]);
            if constexpr (Masked) {
                y = L::Select(coeff[k].mask, y, in);
            }
            in1 = ys1[k];
            in2 = ys2[k];
            ys2[k] = ys1[k];
            ys1[k] = y;
            in = y;
        }
        xs2 = xs1;
        xs1 = x;
        buf[i] = in;
    }
    s[0].x1 = xs1;
    s[0].x2 = xs2;
    for (int k = 0; k < G; ++k) {
        s[k].y1 = ys1[k];
        s[k].y2 = ys2[k];
        if (k > 0) {
            s[k].x1 = ys1[k - 1];
            s[k].x2 = ys2[k - 1];
        }
    }
}

template <class L, bool Masked> void RunPass(typename L::V* buf, long n, Section<L>* s, int g) {
    switch (g) {
    case 1:
        RunPass<L, 1, Masked>(buf, n, s);
        break;
    case 2:
        RunPass<L, 2, Masked>(buf, n, s);
        break;
    case 3:
        RunPass<L, 3, Masked>(buf, n, s);
        break;
    default:
        RunPass<L, kGroup, Masked>(buf, n, s);
        break;
    }
}

bool Runs(const CBiquad* b) {
    return b != nullptr && !b->IsIdentity();
}

} // namespace

static inline void MonoBody(CBiquad* const* sections, int sectionCount, double* buffer,
                            long count) {
    if (count < 1) {
        return;
    }
    for (int next = 0; next < sectionCount;) {
        CBiquad* pass[kGroup];
        int g = 0;
        for (; next < sectionCount && g < kGroup; ++next) {
            if (Runs(sections[next])) {
                pass[g++] = sections[next];
            }
        }
        if (g == 0) {
            break;
        }
        Section<ScalarLanes> s[kGroup];
        for (int k = 0; k < g; ++k) {
            const BiquadCoeffs& c = pass[k]->Coeffs();
            const BiquadState& h = pass[k]->State();
            s[k] = {c.b0, c.b1, c.b2, c.a1, c.a2, h.x1, h.x2, h.y1, h.y2, 0.0};
        }
        RunPass<ScalarLanes, false>(buffer, count, s, g);
        for (int k = 0; k < g; ++k) {
            pass[k]->State() = {s[k].x1, s[k].x2, s[k].y1, s[k].y2};
        }
    }
}

#ifdef ZK_HAVE_SSE2

namespace {

// Frames interleaved per round, on the stack.
constexpr long kChunk = 128;

using Sse2Section = Section<Sse2Lanes>;

// Lane values of one stage: the section's numbers where it runs, zeros elsewhere
// (those lanes compute on zeros and are replaced by their input).
Sse2Section LoadStage(const StereoStage& stage) {
    BiquadCoeffs c[2] = {BiquadCoeffs{0.0, 0.0, 0.0, 0.0, 0.0},
                         BiquadCoeffs{0.0, 0.0, 0.0, 0.0, 0.0}};
    BiquadState h[2];
    bool on[2];
    for (int ch = 0; ch < 2; ++ch) {
        on[ch] = Runs(stage.channel[ch]);
        if (on[ch]) {
            c[ch] = stage.channel[ch]->Coeffs();
            h[ch] = stage.channel[ch]->State();
        }
    }
    auto pair = [](double a, double b) { return _mm_set_pd(b, a); };
    const __m128d all = _mm_castsi128_pd(_mm_set1_epi32(-1));
    const __m128d none = _mm_setzero_pd();
    return {pair(c[0].b0, c[1].b0), pair(c[0].b1, c[1].b1),
            pair(c[0].b2, c[1].b2), pair(c[0].a1, c[1].a1),
            pair(c[0].a2, c[1].a2), pair(h[0].x1, h[1].x1),
            pair(h[0].x2, h[1].x2), pair(h[0].y1, h[1].y1),
            pair(h[0].y2, h[1].y2), _mm_unpacklo_pd(on[0] ? all : none, on[1] ? all : none)};
}

void StoreStage(const StereoStage& stage, const Sse2Section& s) {
    double lane[4][2];
    _mm_storeu_pd(lane[0], s.x1);
    _mm_storeu_pd(lane[1], s.x2);
    _mm_storeu_pd(lane[2], s.y1);
    _mm_storeu_pd(lane[3], s.y2);
    for (int ch = 0; ch < 2; ++ch) {
        if (Runs(stage.channel[ch])) {
            stage.channel[ch]->State() = {lane[0][ch], lane[1][ch], lane[2][ch], lane[3][ch]};
        }
    }
}

} // namespace

static inline void StereoBody(const StereoStage* stages, int stageCount, double* left,
                              double* right, long count) {
    alignas(16) __m128d chunk[kChunk];
    for (long start = 0; start < count; start += kChunk) {
        const long n = count - start < kChunk ? count - start : kChunk;
        for (long i = 0; i < n; ++i) {
            chunk[i] = _mm_set_pd(right[start + i], left[start + i]);
        }
        for (int next = 0; next < stageCount;) {
            const StereoStage* pass[kGroup];
            Sse2Section s[kGroup];
            int g = 0;
            bool masked = false;
            for (; next < stageCount && g < kGroup; ++next) {
                const StereoStage& stage = stages[next];
                const bool on1 = Runs(stage.channel[0]), on2 = Runs(stage.channel[1]);
                if (on1 || on2) {
                    masked = masked || on1 != on2;
                    pass[g] = &stage;
                    s[g++] = LoadStage(stage);
                }
            }
            if (g == 0) {
                break;
            }
            if (masked) {
                RunPass<Sse2Lanes, true>(chunk, n, s, g);
            } else {
                RunPass<Sse2Lanes, false>(chunk, n, s, g);
            }
            for (int k = 0; k < g; ++k) {
                StoreStage(*pass[k], s[k]);
            }
        }
        for (long i = 0; i < n; ++i) {
            _mm_storel_pd(left + start + i, chunk[i]);
            _mm_storeh_pd(right + start + i, chunk[i]);
        }
    }
}

#else

// Without SSE2: each channel's sections as a mono cascade, a batch at a time.
static inline void StereoBody(const StereoStage* stages, int stageCount, double* left,
                              double* right, long count) {
    double* buffers[2] = {left, right};
    for (int ch = 0; ch < 2; ++ch) {
        CBiquad* batch[kGroup];
        int n = 0;
        for (int k = 0; k < stageCount; ++k) {
            if (stages[k].channel[ch] != nullptr) {
                batch[n++] = stages[k].channel[ch];
            }
            if (n == kGroup || (k == stageCount - 1 && n > 0)) {
                MonoBody(batch, n, buffers[ch], count);
                n = 0;
            }
        }
    }
}

#endif

// The baseline passes; with AVX the chains run on the two-channel staggered
// pass (CascadeKernelsAvx.cpp, CascadeKernelsAvx512.cpp).
namespace kernels {

__attribute__((flatten)) void FilterCascadeBaseline(CBiquad* const* sections, int sectionCount,
                                                    double* buffer, long count) {
    MonoBody(sections, sectionCount, buffer, count);
}

__attribute__((flatten)) void FilterCascadeStereoBaseline(const StereoStage* stages, int stageCount,
                                                          const MidSideTail* tail, double* left,
                                                          double* right, long count) {
    StereoBody(stages, stageCount, left, right, count);
    if (tail != nullptr) {
        RunMidSideStage(left, right, count, tail->mid, tail->side, tail->width, tail->widthFactor);
    }
}

#if defined(__x86_64__) && defined(__GNUC__)

// Read each time rather than cached in a static: callers may ask while other
// libraries are still being initialised. The first call fills the processor
// model once; afterwards it is a flag test, no lock and no system call.
bool HaveAvx() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx");
}

// FilterCascadeStereoAvx: CascadeKernelsAvx.cpp (256-bit registers).

#else

bool HaveAvx() {
    return false;
}

void FilterCascadeStereoAvx(const StereoStage* stages, int stageCount, const MidSideTail* tail,
                            double* left, double* right, long count, CascadePlan*) {
    FilterCascadeStereoBaseline(stages, stageCount, tail, left, right, count);
}

#endif

} // namespace kernels

namespace kernels {

void FilterCascadeOnStereoPass(CBiquad* const* sections, int sectionCount, double* buffer,
                               long count, CascadePlan* plan) {
    using StereoPass =
        void (*)(const StereoStage*, int, const MidSideTail*, double*, double*, long, CascadePlan*);
    const StereoPass pass = HaveAvx512() ? FilterCascadeStereoAvx512
                            : HaveAvx()  ? FilterCascadeStereoAvx
                                         : nullptr;
    if (pass == nullptr) {
        FilterCascadeBaseline(sections, sectionCount, buffer, count);
        return;
    }
    constexpr int kBatch = 32;  // stages per call (a plan holds one batch)
    constexpr long kSpan = 512; // samples per call
    // The second lane: no section runs on it, so it keeps the zeros it starts with.
    alignas(64) double idle[kSpan];
    std::fill(idle, idle + (count < kSpan ? count : kSpan), 0.0);
    for (int first = 0; first < sectionCount; first += kBatch) {
        StereoStage stages[kBatch];
        const int n = sectionCount - first < kBatch ? sectionCount - first : kBatch;
        for (int k = 0; k < n; ++k) {
            stages[k] = {{sections[first + k], nullptr}};
        }
        CascadePlan* batchPlan = sectionCount <= kBatch ? plan : nullptr;
        for (long start = 0; start < count; start += kSpan) {
            pass(stages, n, nullptr, buffer + start, idle,
                 count - start < kSpan ? count - start : kSpan, batchPlan);
        }
    }
}

} // namespace kernels

void FilterCascade(CBiquad* const* sections, int sectionCount, double* buffer, long count,
                   CascadePlan* plan) {
    kernels::FilterCascadeOnStereoPass(sections, sectionCount, buffer, count, plan);
}

void FilterCascadeStereo(const StereoStage* stages, int stageCount, const MidSideTail* tail,
                         double* left, double* right, long count, CascadePlan* plan) {
    if (kernels::HaveAvx512()) {
        kernels::FilterCascadeStereoAvx512(stages, stageCount, tail, left, right, count, plan);
    } else if (kernels::HaveAvx()) {
        kernels::FilterCascadeStereoAvx(stages, stageCount, tail, left, right, count, plan);
    } else {
        kernels::FilterCascadeStereoBaseline(stages, stageCount, tail, left, right, count);
    }
}

void FilterCascadeStereo(const StereoStage* stages, int stageCount, double* left, double* right,
                         long count) {
    FilterCascadeStereo(stages, stageCount, nullptr, left, right, count);
}

} // namespace zk
