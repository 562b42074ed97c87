#include "MidSideStage.h"

namespace zk {

#if defined(__SSE2__)

namespace {

// A mono-maker section pair in one register: lane 0 mid, lane 1 side.
struct Sections {
    __m128d b0, b1, b2, a1, a2, run;
    __m128d x1, x2, y1, y2;
};

bool Runs(const CBiquad* b) {
    return b != nullptr && !b->IsIdentity();
}

Sections Load(CBiquad* mid, CBiquad* side) {
    CBiquad* lane[2] = {mid, side};
    double c[5][2] = {}, h[4][2] = {};
    bool on[2];
    for (int l = 0; l < 2; ++l) {
        on[l] = Runs(lane[l]);
        if (on[l]) {
            const BiquadCoeffs& k = lane[l]->Coeffs();
            const BiquadState& s = lane[l]->State();
            const double ck[5] = {k.b0, k.b1, k.b2, k.a1, k.a2};
            const double hs[4] = {s.x1, s.x2, s.y1, s.y2};
            for (int i = 0; i < 5; ++i) {
                c[i][l] = ck[i];
            }
            for (int i = 0; i < 4; ++i) {
                h[i][l] = hs[i];
            }
        }
    }
    const __m128d all = _mm_castsi128_pd(_mm_set1_epi32(-1));
    const __m128d none = _mm_setzero_pd();
    return {_mm_loadu_pd(c[0]), _mm_loadu_pd(c[1]),
            _mm_loadu_pd(c[2]), _mm_loadu_pd(c[3]),
            _mm_loadu_pd(c[4]), _mm_unpacklo_pd(on[0] ? all : none, on[1] ? all : none),
            _mm_loadu_pd(h[0]), _mm_loadu_pd(h[1]),
            _mm_loadu_pd(h[2]), _mm_loadu_pd(h[3])};
}

void Store(const Sections& s, CBiquad* mid, CBiquad* side) {
    CBiquad* lane[2] = {mid, side};
    double h[4][2];
    _mm_storeu_pd(h[0], s.x1);
    _mm_storeu_pd(h[1], s.x2);
    _mm_storeu_pd(h[2], s.y1);
    _mm_storeu_pd(h[3], s.y2);
    for (int l = 0; l < 2; ++l) {
        if (Runs(lane[l])) {
            lane[l]->State() = {h[0][l], h[1][l], h[2][l], h[3][l]};
        }
    }
}

template <bool Filter, bool Masked, bool Width>
void Run(double* b1, double* b2, long count, Sections& s, double widthFactor) {
    const __m128d divisor = _mm_set1_pd(kMidSideDivisor);
    const __m128d width = _mm_set1_pd(widthFactor);
    for (long i = 0; i < count; ++i) {
        __m128d v = _mm_loadh_pd(_mm_load_sd(b1 + i), b2 + i);
        v = MidSideMatrix(v, divisor); // [mid, side]
        if constexpr (Filter) {
            // CBiquad's order: (((b0 x + b1 x1) + b2 x2) - a1 y1) - a2 y2.
            __m128d y = _mm_sub_pd(
                _mm_sub_pd(_mm_add_pd(_mm_add_pd(_mm_mul_pd(s.b0, v), _mm_mul_pd(s.b1, s.x1)),
                                      _mm_mul_pd(s.b2, s.x2)),
                           _mm_mul_pd(s.a1, s.y1)),
                _mm_mul_pd(s.a2, s.y2));
            if constexpr (Masked) {
                // One lane's section does not run: its input passes unchanged.
                y = _mm_or_pd(_mm_and_pd(s.run, y), _mm_andnot_pd(s.run, v));
            }
            s.x2 = s.x1;
            s.x1 = v;
            s.y2 = s.y1;
            s.y1 = y;
            v = y;
        }
        if constexpr (Width) {
            v = ScaleSide(v, width);
        }
        v = MidSideMatrix(v, divisor);
        _mm_storel_pd(b1 + i, v);
        _mm_storeh_pd(b2 + i, v);
    }
}

} // namespace

void RunMidSideStage(double* b1, double* b2, long count, CBiquad* mid, CBiquad* side, bool width,
                     double widthFactor) {
    if (count < 1) {
        return;
    }
    Sections s = Load(mid, side);
    const bool filter = Runs(mid) || Runs(side);
    const bool masked = Runs(mid) != Runs(side);
    if (filter && masked) {
        width ? Run<true, true, true>(b1, b2, count, s, widthFactor)
              : Run<true, true, false>(b1, b2, count, s, widthFactor);
    } else if (filter) {
        width ? Run<true, false, true>(b1, b2, count, s, widthFactor)
              : Run<true, false, false>(b1, b2, count, s, widthFactor);
    } else if (width) {
        Run<false, false, true>(b1, b2, count, s, widthFactor);
    } else {
        Run<false, false, false>(b1, b2, count, s, widthFactor);
    }
    if (filter) {
        Store(s, mid, side);
    }
}

#else

void RunMidSideStage(double* b1, double* b2, long count, CBiquad* mid, CBiquad* side, bool width,
                     double widthFactor) {
    for (long i = 0; i < count; ++i) {
        const double a = b1[i], b = b2[i];
        double m = (a + b) / kMidSideDivisor;
        double s = (a - b) / kMidSideDivisor;
        if (mid != nullptr) {
            m = mid->FilterSample(m);
            s = side->FilterSample(s);
        }
        if (width) {
            s *= widthFactor;
        }
        b1[i] = (m + s) / kMidSideDivisor;
        b2[i] = (m - s) / kMidSideDivisor;
    }
}

#endif

} // namespace zk
