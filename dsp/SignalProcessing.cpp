#include "SignalProcessing.h"

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
    noiseSeed = noiseSeed * 1234567u + 890123u;
    // Random sign, exponent fixed at 2^-67, seven random mantissa bits.
    const std::uint32_t bits = (noiseSeed & 0x807F0000u) | 0x1E000000u;
    *sample += static_cast<double>(std::bit_cast<float>(bits));
}

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
