#include "SignalProcessing.h"

#include <bit>
#include <cmath>

#if defined(__SSE__) || defined(__x86_64__)
#include <xmmintrin.h>
#define ZK_HAVE_MXCSR 1
#endif
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// The noise recurrence and its four-step jump (modulo 2^32), so that four
// consecutive states come out of one vector step.
constexpr std::uint32_t kNoiseMul = 1234567u;
constexpr std::uint32_t kNoiseAdd = 890123u;
constexpr std::uint32_t kNoiseMul4 = kNoiseMul * kNoiseMul * kNoiseMul * kNoiseMul;
constexpr std::uint32_t kNoiseAdd4 =
    kNoiseAdd * (kNoiseMul * kNoiseMul * kNoiseMul + kNoiseMul * kNoiseMul + kNoiseMul + 1u);
// Random sign, exponent fixed at 2^-67, seven random mantissa bits.
constexpr std::uint32_t kNoiseKeep = 0x807F0000u;
constexpr std::uint32_t kNoiseExponent = 0x1E000000u;

inline double NoiseValue(std::uint32_t seed) {
    return static_cast<double>(std::bit_cast<float>((seed & kNoiseKeep) | kNoiseExponent));
}

} // namespace

int CZkmorvaSignalProcessing::UpdateSampleRate(double rate) {
    if (rate == hostSampleRate) {
        return 0;
    }
    hostSampleRate = rate;
    if (rate >= kOversamplingBelowHz || std::isnan(rate)) {
        oversampling = false;
        processSampleRate = rate;
    } else {
        oversampling = true;
        processSampleRate = 2.0 * rate;
    }
    // Quotients in single precision, powers in double, results stored as float:
    // the ballistics depend on this mix of precisions.
    const float r = static_cast<float>(processSampleRate);
    const float t = -2.2f / r;
    meterAttack = static_cast<float>(1.0 - std::pow(10.0, static_cast<double>(t / 0.0001f)));
    meterRelease = static_cast<float>(1.0 - std::pow(10.0, static_cast<double>(t / 1.5f)));
    return 1;
}

void CZkmorvaSignalProcessing::add_white_noise(double* sample) {
    noiseSeed = noiseSeed * kNoiseMul + kNoiseAdd;
    *sample += NoiseValue(noiseSeed);
}

void CZkmorvaSignalProcessing::NextNoise(double* out, long n) {
    std::uint32_t seed = noiseSeed;
    long i = 0;
#if defined(__SSE2__)
    if (n >= 4) {
        // Lanes hold four consecutive states; one jump moves all four on by four.
        alignas(16) std::uint32_t first[4];
        for (std::uint32_t& s : first) {
            seed = seed * kNoiseMul + kNoiseAdd;
            s = seed;
        }
        __m128i lanes = _mm_load_si128(reinterpret_cast<const __m128i*>(first));
        const __m128i mul = _mm_set1_epi32(static_cast<int>(kNoiseMul4));
        const __m128i add = _mm_set1_epi32(static_cast<int>(kNoiseAdd4));
        const __m128i keep = _mm_set1_epi32(static_cast<int>(kNoiseKeep));
        const __m128i exponent = _mm_set1_epi32(static_cast<int>(kNoiseExponent));
        for (;;) {
            const __m128 f = _mm_castsi128_ps(_mm_or_si128(_mm_and_si128(lanes, keep), exponent));
            _mm_storeu_pd(out + i, _mm_cvtps_pd(f));
            _mm_storeu_pd(out + i + 2, _mm_cvtps_pd(_mm_movehl_ps(f, f)));
            i += 4;
            if (i + 4 > n) {
                seed =
                    static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_shuffle_epi32(lanes, 0xFF)));
                break;
            }
            // 32-bit products of the even and the odd lanes (SSE2 has no 32-bit mullo).
            const __m128i even = _mm_mul_epu32(lanes, mul);
            const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(lanes, 32), mul);
            const __m128i product =
                _mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)),
                                   _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0)));
            lanes = _mm_add_epi32(product, add);
        }
    }
#endif
    for (; i < n; ++i) {
        seed = seed * kNoiseMul + kNoiseAdd;
        out[i] = NoiseValue(seed);
    }
    noiseSeed = seed;
}

// GCC resolves a virtual member function for an object to its address, so an
// override shows as a different address. Elsewhere overriding is assumed.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpmf-conversions"
bool CZkmorvaSignalProcessing::HasOwnNoise() const {
    using Noise = void (*)(CZkmorvaSignalProcessing*, double*);
    auto* self = const_cast<CZkmorvaSignalProcessing*>(this);
    return reinterpret_cast<Noise>(self->*(&CZkmorvaSignalProcessing::add_white_noise)) !=
           reinterpret_cast<Noise>(&CZkmorvaSignalProcessing::add_white_noise);
}
#pragma GCC diagnostic pop
#else
bool CZkmorvaSignalProcessing::HasOwnNoise() const {
    return true;
}
#endif

CDenormalGuard::CDenormalGuard() {
#ifdef ZK_HAVE_MXCSR
    saved = _mm_getcsr();
    _mm_setcsr(saved | 0x8040u);
#endif
}

CDenormalGuard::~CDenormalGuard() {
#ifdef ZK_HAVE_MXCSR
    _mm_setcsr(saved);
#endif
}
