#include "SignalProcessing.h"

#include "NoiseLanes.h"

#include <bit>
#include <cmath>

#if defined(__SSE__) || defined(__x86_64__)
#include <xmmintrin.h>
#define ZK_HAVE_MXCSR 1
#endif

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
    noiseSeed = zk::NextNoiseSeed(noiseSeed);
    *sample += static_cast<double>(zk::NoiseFloat(noiseSeed));
}

void CZkmorvaSignalProcessing::NextNoise(double* out, long n) {
    long i = 0;
#if defined(__SSE2__)
    if (n >= 4) {
        zk::CNoiseLanes lanes(noiseSeed);
        for (; i + 4 <= n; i += 4) {
            const __m128 f = lanes.Next();
            _mm_storeu_pd(out + i, _mm_cvtps_pd(f));
            _mm_storeu_pd(out + i + 2, _mm_cvtps_pd(_mm_movehl_ps(f, f)));
        }
        noiseSeed = lanes.Seed();
    }
#endif
    for (; i < n; ++i) {
        noiseSeed = zk::NextNoiseSeed(noiseSeed);
        out[i] = static_cast<double>(zk::NoiseFloat(noiseSeed));
    }
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
