// The two-channel fused pass with 256-bit AVX registers, chosen at run time.
//
// A register holds two consecutive sections of the chain for both channels:
// lanes [section k ch 1, section k ch 2, section k+1 ch 1, section k+1 ch 2].
// The sections are staggered in time: at step n section s works on sample
// n - 2s, so a section's input is what the section before it produced two steps
// earlier (its second-latest output, already in a register) and no lane waits on
// another lane of the same step. Two steps rather than one keep the hand-over
// off the critical path: a section's own feedback (one multiply and two
// subtractions per sample) is then the longest wait.
//
// Each lane does exactly the arithmetic of CBiquad::FilterBuffer in the same
// order (no FMA, no reassociation), so samples and histories are those of the
// per-section loops bit for bit. While the pipeline fills, lanes whose section
// has not started keep their history; while it drains, a section's history is
// taken at its last sample.
#include "CascadeKernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <immintrin.h>

#define ZK_AVX __attribute__((target("avx")))

namespace zk {
namespace kernels {
namespace {

constexpr int kMaxPairs = 3; // six sections per pass: twelve history registers
constexpr int kStagger = 2;  // steps between a section and the next
constexpr long kChunk = 512; // frames interleaved per round, on the stack (8 KB)

bool Runs(const CBiquad* b) {
    return b != nullptr && !b->IsIdentity();
}

// Coefficients of a register's two sections; run marks the lanes whose section
// runs (the others pass their input through).
struct Pair {
    __m256d b0, b1, b2, a1, a2, run;
};

template <int G> struct Pipe { __m256d x1[G], x2[G], y1[G], y2[G]; };

// The histories of one section when it took its last sample: [field][channel].
struct Taken {
    double h[4][2];
};

ZK_AVX inline __m256d Mask(bool a, bool b, bool c, bool d) {
    return _mm256_castsi256_pd(_mm256_setr_epi64x(a ? -1 : 0, b ? -1 : 0, c ? -1 : 0, d ? -1 : 0));
}

// Lanes of one register from the stages s and s + 1 (null: a stage that passes
// everything through).
ZK_AVX void LoadPair(const StereoStage* lo, const StereoStage* hi, Pair& p, __m256d& x1,
                     __m256d& x2, __m256d& y1, __m256d& y2) {
    double c[5][4] = {}, h[4][4] = {};
    bool on[4];
    const StereoStage* half[2] = {lo, hi};
    for (int l = 0; l < 4; ++l) {
        CBiquad* b = half[l / 2] != nullptr ? half[l / 2]->channel[l % 2] : nullptr;
        on[l] = Runs(b);
        if (on[l]) {
            const BiquadCoeffs& k = b->Coeffs();
            const BiquadState& s = b->State();
            c[0][l] = k.b0;
            c[1][l] = k.b1;
            c[2][l] = k.b2;
            c[3][l] = k.a1;
            c[4][l] = k.a2;
            h[0][l] = s.x1;
            h[1][l] = s.x2;
            h[2][l] = s.y1;
            h[3][l] = s.y2;
        }
    }
    p = {_mm256_loadu_pd(c[0]), _mm256_loadu_pd(c[1]), _mm256_loadu_pd(c[2]),
         _mm256_loadu_pd(c[3]), _mm256_loadu_pd(c[4]), Mask(on[0], on[1], on[2], on[3])};
    x1 = _mm256_loadu_pd(h[0]);
    x2 = _mm256_loadu_pd(h[1]);
    y1 = _mm256_loadu_pd(h[2]);
    y2 = _mm256_loadu_pd(h[3]);
}

// The difference equation in CBiquad's order: (((b0 x + b1 x1) + b2 x2) - a1 y1) - a2 y2.
template <bool Masked>
ZK_AVX inline __m256d Output(const Pair& p, __m256d x, __m256d x1, __m256d x2, __m256d y1,
                             __m256d y2) {
    const __m256d y = _mm256_sub_pd(
        _mm256_sub_pd(_mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(p.b0, x), _mm256_mul_pd(p.b1, x1)),
                                    _mm256_mul_pd(p.b2, x2)),
                      _mm256_mul_pd(p.a1, y1)),
        _mm256_mul_pd(p.a2, y2));
    if constexpr (Masked) {
        return _mm256_blendv_pd(x, y, p.run);
    }
    return y;
}

// One step: section s of the pass works on sample n - kStagger s; in is the
// pass's input sample n. Returns the last section's output (for sample
// n - kStagger (2G - 1)). Filling: lanes of sections not started keep their state.
template <int G, bool Masked, bool Filling>
ZK_AVX inline __m128d Step(Pipe<G>& q, const Pair* p, __m128d in, long n) {
    __m256d last = _mm256_setzero_pd();
    // From the last register down, so that each reads its predecessor's
    // outputs of two steps ago before they move on.
#pragma GCC unroll 4
    for (int j = G - 1; j >= 0; --j) {
        const __m256d x = j == 0 ? _mm256_insertf128_pd(_mm256_castpd128_pd256(in),
                                                        _mm256_castpd256_pd128(q.y2[0]), 1)
                                 : _mm256_permute2f128_pd(q.y2[j > 0 ? j - 1 : 0], q.y2[j], 0x21);
        const __m256d y = Output<Masked>(p[j], x, q.x1[j], q.x2[j], q.y1[j], q.y2[j]);
        if constexpr (Filling) {
            const __m256d go = Mask(n >= kStagger * 2 * j, n >= kStagger * 2 * j,
                                    n >= kStagger * (2 * j + 1), n >= kStagger * (2 * j + 1));
            q.x2[j] = _mm256_blendv_pd(q.x2[j], q.x1[j], go);
            q.x1[j] = _mm256_blendv_pd(q.x1[j], x, go);
            q.y2[j] = _mm256_blendv_pd(q.y2[j], q.y1[j], go);
            q.y1[j] = _mm256_blendv_pd(q.y1[j], y, go);
        } else {
            q.x2[j] = q.x1[j];
            q.x1[j] = x;
            q.y2[j] = q.y1[j];
            q.y1[j] = y;
        }
        if (j == G - 1) {
            last = y;
        }
    }
    return _mm256_extractf128_pd(last, 1);
}

template <int G> ZK_AVX void Take(const Pipe<G>& q, int section, Taken& t) {
    const int j = section / 2, half = section % 2;
    const __m256d* field[4] = {&q.x1[j], &q.x2[j], &q.y1[j], &q.y2[j]};
    for (int f = 0; f < 4; ++f) {
        double lanes[4];
        _mm256_storeu_pd(lanes, *field[f]);
        t.h[f][0] = lanes[2 * half];
        t.h[f][1] = lanes[2 * half + 1];
    }
}

// Runs the stages pass[0..sections) (sections <= 2G) over buf[0..count).
template <int G, bool Masked>
ZK_AVX void RunPass(__m128d* buf, long count, const StereoStage* const* pass, int sections) {
    constexpr long kLatency = kStagger * (2 * G - 1); // steps from input to output
    Pair p[G];
    Pipe<G> q;
    for (int j = 0; j < G; ++j) {
        LoadPair(pass[2 * j], 2 * j + 1 < sections ? pass[2 * j + 1] : nullptr, p[j], q.x1[j],
                 q.x2[j], q.y1[j], q.y2[j]);
    }
    Taken taken[2 * G];
    const long total = count + kLatency;
    for (long n = 0; n < total;) {
        if (n >= kLatency && n < count - 1) {
            // Every section inside the block: the steady state.
            for (; n < count - 1; ++n) {
                buf[n - kLatency] = Step<G, Masked, false>(q, p, buf[n], n);
            }
            continue;
        }
        const __m128d in = n < count ? buf[n] : _mm_setzero_pd();
        const __m128d out =
            n < kLatency ? Step<G, Masked, true>(q, p, in, n) : Step<G, Masked, false>(q, p, in, n);
        if (n >= kLatency) {
            buf[n - kLatency] = out;
        }
        // Section s takes its last sample at step count - 1 + kStagger s.
        const long since = n - (count - 1);
        if (since >= 0 && since % kStagger == 0 && since / kStagger < 2 * G) {
            Take(q, static_cast<int>(since / kStagger), taken[since / kStagger]);
        }
        ++n;
    }
    for (int s = 0; s < sections; ++s) {
        for (int ch = 0; ch < 2; ++ch) {
            CBiquad* b = pass[s]->channel[ch];
            if (Runs(b)) {
                const Taken& t = taken[s];
                b->State() = {t.h[0][ch], t.h[1][ch], t.h[2][ch], t.h[3][ch]};
            }
        }
    }
}

template <int G>
ZK_AVX void RunPass(__m128d* buf, long count, const StereoStage* const* pass, int sections,
                    bool masked) {
    if (masked) {
        RunPass<G, true>(buf, count, pass, sections);
    } else {
        RunPass<G, false>(buf, count, pass, sections);
    }
}

} // namespace

ZK_AVX void FilterCascadeStereoAvx(const StereoStage* stages, int stageCount, double* left,
                                   double* right, long count) {
    if (count < 1) {
        return;
    }
    alignas(32) __m128d chunk[kChunk];
    for (long start = 0; start < count; start += kChunk) {
        const long n = count - start < kChunk ? count - start : kChunk;
        for (long i = 0; i < n; ++i) {
            chunk[i] = _mm_set_pd(right[start + i], left[start + i]);
        }
        for (int next = 0; next < stageCount;) {
            // The next stages that run on at least one channel (a stage on one
            // channel only passes the other lane through by mask).
            constexpr int kList = 48;
            const StereoStage* run[kList];
            bool oneChannel[kList];
            int listed = 0;
            for (; next < stageCount && listed < kList; ++next) {
                const bool on1 = Runs(stages[next].channel[0]);
                const bool on2 = Runs(stages[next].channel[1]);
                if (on1 || on2) {
                    oneChannel[listed] = on1 != on2;
                    run[listed++] = &stages[next];
                }
            }
            // Registers spread evenly over the fewest passes, so that no pass is
            // left with a lone register (its feedback would set the pace).
            const int pairs = (listed + 1) / 2;
            const int passes = (pairs + kMaxPairs - 1) / kMaxPairs;
            for (int p = 0, first = 0; p < passes; ++p) {
                const int g = pairs / passes + (p < pairs % passes ? 1 : 0);
                const int sections = 2 * g < listed - first ? 2 * g : listed - first;
                bool masked = sections % 2 != 0; // the odd one gets a pass-through partner
                for (int k = first; k < first + sections; ++k) {
                    masked = masked || oneChannel[k];
                }
                switch (g) {
                case 1:
                    RunPass<1>(chunk, n, run + first, sections, masked);
                    break;
                case 2:
                    RunPass<2>(chunk, n, run + first, sections, masked);
                    break;
                default:
                    RunPass<3>(chunk, n, run + first, sections, masked);
                    break;
                }
                first += sections;
            }
        }
        for (long i = 0; i < n; ++i) {
            _mm_storel_pd(left + start + i, chunk[i]);
            _mm_storeh_pd(right + start + i, chunk[i]);
        }
    }
}

} // namespace kernels
} // namespace zk

#endif
