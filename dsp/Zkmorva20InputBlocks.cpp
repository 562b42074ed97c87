// The input stage and the work-buffer conversions a block at a time: the
// per-sample loops (the reference) and the SSE2 forms, and the choice of the
// widest the machine runs.
#include "Zkmorva20MeterBlocks.h"

#include "NoiseLanes.h"

#include <cmath>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zk20 {

namespace {

// One sample of both channels: gain, magnitudes, the next two noise values
// (channel 1 first), the zero-stuffing compensation.
inline void InputSample(double& x1, double& x2, double gain1, double gain2, bool doubled,
                        float* magnitudes, std::uint32_t& seed) {
    double a = x1 * gain1;
    double b = x2 * gain2;
    magnitudes[0] = static_cast<float>(std::abs(a));
    magnitudes[1] = static_cast<float>(std::abs(b));
    seed = zk::NextNoiseSeed(seed);
    a += static_cast<double>(zk::NoiseFloat(seed));
    seed = zk::NextNoiseSeed(seed);
    b += static_cast<double>(zk::NoiseFloat(seed));
    if (doubled) {
        a *= 2.0;
        b *= 2.0;
    }
    x1 = a;
    x2 = b;
}

#if defined(__SSE2__)

// Two samples per round: registers hold one sample of both channels, and one
// step of the noise lanes gives the four values they take.
template <bool Doubled>
void InputSse2(double* b1, double* b2, long count, double gain1, double gain2, float* magnitudes,
               std::uint32_t& seed) {
    long i = 0;
    if (count >= 2) {
        zk::CNoiseLanes lanes(seed);
        const __m128d gains = _mm_setr_pd(gain1, gain2);
        const __m128d sign = _mm_set1_pd(-0.0);
        for (; i + 2 <= count; i += 2) {
            const __m128d c1 = _mm_loadu_pd(b1 + i), c2 = _mm_loadu_pd(b2 + i);
            __m128d first = _mm_mul_pd(_mm_unpacklo_pd(c1, c2), gains);
            __m128d second = _mm_mul_pd(_mm_unpackhi_pd(c1, c2), gains);
            _mm_storeu_ps(magnitudes + 2 * i,
                          _mm_movelh_ps(_mm_cvtpd_ps(_mm_andnot_pd(sign, first)),
                                        _mm_cvtpd_ps(_mm_andnot_pd(sign, second))));
            const __m128 noise = lanes.Next();
            first = _mm_add_pd(first, _mm_cvtps_pd(noise));
            second = _mm_add_pd(second, _mm_cvtps_pd(_mm_movehl_ps(noise, noise)));
            if constexpr (Doubled) {
                first = _mm_mul_pd(first, _mm_set1_pd(2.0));
                second = _mm_mul_pd(second, _mm_set1_pd(2.0));
            }
            _mm_storeu_pd(b1 + i, _mm_unpacklo_pd(first, second));
            _mm_storeu_pd(b2 + i, _mm_unpackhi_pd(first, second));
        }
        seed = lanes.Seed();
    }
    for (; i < count; ++i) {
        InputSample(b1[i], b2[i], gain1, gain2, Doubled, magnitudes + 2 * i, seed);
    }
}

#endif

// Host samples into a work buffer and back, two frames per round (the per-frame
// loops of the plain path, which the compiler leaves scalar, cost as much as the
// whole input stage). Conversions are exact one way and the same rounding the
// other; with stuffed, every second work sample is a zero and the output takes
// the even ones.
#if defined(__SSE2__)
inline __m128d TwoFrames(const float* in) {
    return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(in))));
}
inline __m128d TwoFrames(const double* in) {
    return _mm_loadu_pd(in);
}
inline void StoreTwo(float* out, __m128d x) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_castps_si128(_mm_cvtpd_ps(x)));
}
inline void StoreTwo(double* out, __m128d x) {
    _mm_storeu_pd(out, x);
}
#endif

// The per-frame loops of the plain path.
template <typename Sample>
void FillWorkPlain(const Sample* in, double* b, long frames, bool stuffed) {
    if (stuffed) {
        for (long i = 0; i < frames; ++i) {
            b[2 * i] = static_cast<double>(in[i]);
            b[2 * i + 1] = 0.0;
        }
    } else {
        for (long i = 0; i < frames; ++i) {
            b[i] = static_cast<double>(in[i]);
        }
    }
}

template <typename Sample>
void TakeWorkPlain(const double* b, Sample* out, long frames, bool stuffed) {
    const long step = stuffed ? 2 : 1;
    for (long i = 0; i < frames; ++i) {
        out[i] = static_cast<Sample>(b[i * step]);
    }
}

template <typename Sample>
void FillWorkSse2(const Sample* in, double* b, long frames, bool stuffed) {
    long i = 0;
#if defined(__SSE2__)
    const __m128d zero = _mm_setzero_pd();
    for (; i + 2 <= frames; i += 2) {
        const __m128d x = TwoFrames(in + i);
        if (stuffed) {
            _mm_storeu_pd(b + 2 * i, _mm_unpacklo_pd(x, zero));
            _mm_storeu_pd(b + 2 * i + 2, _mm_unpackhi_pd(x, zero));
        } else {
            _mm_storeu_pd(b + i, x);
        }
    }
#endif
    FillWorkPlain(in + i, b + (stuffed ? 2 * i : i), frames - i, stuffed);
}

template <typename Sample>
void TakeWorkSse2(const double* b, Sample* out, long frames, bool stuffed) {
    long i = 0;
#if defined(__SSE2__)
    for (; i + 2 <= frames; i += 2) {
        StoreTwo(out + i,
                 stuffed ? _mm_unpacklo_pd(_mm_loadu_pd(b + 2 * i), _mm_loadu_pd(b + 2 * i + 2))
                         : _mm_loadu_pd(b + i));
    }
#endif
    TakeWorkPlain(b + (stuffed ? 2 * i : i), out + i, frames - i, stuffed);
}

template <typename Sample>
void FillWorkAny(meterkernels::Isa isa, const Sample* in, double* b, long frames, bool stuffed) {
    switch (isa) {
#if defined(__x86_64__) && defined(__GNUC__)
    case meterkernels::Isa::Avx512:
        meterkernels::FillWorkAvx512(in, b, frames, stuffed);
        return;
#endif
    case meterkernels::Isa::Avx2:
    case meterkernels::Isa::Sse2:
        FillWorkSse2(in, b, frames, stuffed);
        return;
    default:
        FillWorkPlain(in, b, frames, stuffed);
        return;
    }
}

template <typename Sample>
void TakeWorkAny(meterkernels::Isa isa, const double* b, Sample* out, long frames, bool stuffed) {
    switch (isa) {
#if defined(__x86_64__) && defined(__GNUC__)
    case meterkernels::Isa::Avx512:
        meterkernels::TakeWorkAvx512(b, out, frames, stuffed);
        return;
#endif
    case meterkernels::Isa::Avx2:
    case meterkernels::Isa::Sse2:
        TakeWorkSse2(b, out, frames, stuffed);
        return;
    default:
        TakeWorkPlain(b, out, frames, stuffed);
        return;
    }
}

} // namespace

void RunInputPlain(double* b1, double* b2, long count, double gain1, double gain2, bool doubled,
                   float* magnitudes, std::uint32_t& seed) {
    for (long i = 0; i < count; ++i) {
        InputSample(b1[i], b2[i], gain1, gain2, doubled, magnitudes + 2 * i, seed);
    }
}

#if defined(__SSE2__)
void meterkernels::RunInputSse2(double* b1, double* b2, long count, double gain1, double gain2,
                                bool doubled, float* magnitudes, std::uint32_t& seed) {
    if (doubled) {
        InputSse2<true>(b1, b2, count, gain1, gain2, magnitudes, seed);
    } else {
        InputSse2<false>(b1, b2, count, gain1, gain2, magnitudes, seed);
    }
}
#endif

void FillWorkBlock(const float* in, double* b, long frames, bool stuffed) {
    FillWorkAny(meterkernels::Best(), in, b, frames, stuffed);
}
void FillWorkBlock(const double* in, double* b, long frames, bool stuffed) {
    FillWorkAny(meterkernels::Best(), in, b, frames, stuffed);
}
void TakeWorkBlock(const double* b, float* out, long frames, bool stuffed) {
    TakeWorkAny(meterkernels::Best(), b, out, frames, stuffed);
}
void TakeWorkBlock(const double* b, double* out, long frames, bool stuffed) {
    TakeWorkAny(meterkernels::Best(), b, out, frames, stuffed);
}

namespace meterkernels {

void FillWork(Isa isa, const float* in, double* b, long frames, bool stuffed) {
    FillWorkAny(isa, in, b, frames, stuffed);
}
void FillWork(Isa isa, const double* in, double* b, long frames, bool stuffed) {
    FillWorkAny(isa, in, b, frames, stuffed);
}
void TakeWork(Isa isa, const double* b, float* out, long frames, bool stuffed) {
    TakeWorkAny(isa, b, out, frames, stuffed);
}
void TakeWork(Isa isa, const double* b, double* out, long frames, bool stuffed) {
    TakeWorkAny(isa, b, out, frames, stuffed);
}

} // namespace meterkernels

} // namespace zk20
