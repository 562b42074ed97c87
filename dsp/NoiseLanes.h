#pragma once

// The denormal-guard noise recurrence, one value at a time or four at once.
#include <bit>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zk {

inline constexpr std::uint32_t kNoiseMul = 1234567u;
inline constexpr std::uint32_t kNoiseAdd = 890123u;

inline std::uint32_t NextNoiseSeed(std::uint32_t seed) {
    return seed * kNoiseMul + kNoiseAdd;
}

// Random sign, exponent fixed at 2^-67, seven random mantissa bits.
inline float NoiseFloat(std::uint32_t seed) {
    return std::bit_cast<float>((seed & 0x807F0000u) | 0x1E000000u);
}

#if defined(__SSE2__)

// Four consecutive states per register; one jump (the recurrence taken four
// times, modulo 2^32) moves all four on. Integer arithmetic, so the values are
// those of the one-at-a-time recurrence exactly.
class CNoiseLanes {
public:
    explicit CNoiseLanes(std::uint32_t seed) : last(_mm_set1_epi32(static_cast<int>(seed))) {
        alignas(16) std::uint32_t first[4];
        for (std::uint32_t& s : first) {
            seed = NextNoiseSeed(seed);
            s = seed;
        }
        lanes = _mm_load_si128(reinterpret_cast<const __m128i*>(first));
    }

    // The next four values, in the order the recurrence gives them.
    __m128 Next() {
        last = lanes;
        // 32-bit products of the even and the odd lanes (SSE2 has no 32-bit mullo).
        const __m128i mul = _mm_set1_epi32(static_cast<int>(kMul4));
        const __m128i even = _mm_mul_epu32(lanes, mul);
        const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(lanes, 32), mul);
        lanes = _mm_add_epi32(_mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)),
                                                 _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0))),
                              _mm_set1_epi32(static_cast<int>(kAdd4)));
        const __m128i bits = _mm_or_si128(_mm_and_si128(last, _mm_set1_epi32(0x807F0000)),
                                          _mm_set1_epi32(0x1E000000));
        return _mm_castsi128_ps(bits);
    }

    // The state after the last value handed out.
    std::uint32_t Seed() const {
        return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_shuffle_epi32(last, 0xFF)));
    }

private:
    static constexpr std::uint32_t kMul4 = kNoiseMul * kNoiseMul * kNoiseMul * kNoiseMul;
    static constexpr std::uint32_t kAdd4 =
        kNoiseAdd * (kNoiseMul * kNoiseMul * kNoiseMul + kNoiseMul * kNoiseMul + kNoiseMul + 1u);

    __m128i lanes;
    __m128i last;
};

#endif

} // namespace zk
