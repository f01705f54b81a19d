// MRG32k3a arithmetic: the serial step, the lag-16 form of each component
// that lets sixteen outputs be computed independently (two per register,
// one per 64-bit lane), and the output sinks for integers, doubles and
// singles.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "rng/brng/mcg_lanes.h"
#include "rng/brng/mrg32k3a_matrix.h"

namespace qor::rng::mrg {

// The generator state: each component oldest first.
struct State {
    uint32_t x1[3];
    uint32_t x2[3];
};

// p mod m for p below 2^53, m = 2^32 - delta: the bits above 32 are worth
// delta each, so they are folded twice onto the low 32 bits; the result is
// then below 2m and one conditional subtraction finishes.
template <uint32_t kM>
inline uint32_t reduce(uint64_t p) {
    constexpr uint64_t kDelta = (uint64_t{1} << 32) - kM;
    p = (p & 0xFFFFFFFF) + (p >> 32) * kDelta;
    p = (p & 0xFFFFFFFF) + (p >> 32) * kDelta;
    const int64_t r = static_cast<int64_t>(p) - kM;
    return static_cast<uint32_t>(r < 0 ? r + kM : r);
}

// One step of both recurrences; returns the combined output in [0, m1).
// The added multiples of the moduli keep the 64-bit sums positive.
inline uint32_t step(State& s) {
    const uint64_t p1 = uint64_t{kA12} * s.x1[1] + uint64_t{kA13} * kM1 - uint64_t{kA13} * s.x1[0];
    const uint64_t p2 = uint64_t{kA21} * s.x2[2] + uint64_t{kA23} * kM2 - uint64_t{kA23} * s.x2[0];
    const uint32_t x1 = reduce<kM1>(p1), x2 = reduce<kM2>(p2);
    s.x1[0] = s.x1[1], s.x1[1] = s.x1[2], s.x1[2] = x1;
    s.x2[0] = s.x2[1], s.x2[1] = s.x2[2], s.x2[2] = x2;
    return x1 >= x2 ? x1 - x2 : x1 - x2 + kM1;
}

// ---- Sixteen steps at once -------------------------------------------------
//
// The newest value after 16 steps is the last row of A^16 applied to the
// state, so x[j] = c0 x[j-18] + c1 x[j-17] + c2 x[j-16] (mod m) for every
// j: the sixteen values of a block depend only on the eighteen before it.
// Values sit in the low half of 64-bit lanes, two consecutive values per
// register.

struct LagSixteen {
    __m128i c0, c1, c2, delta, m;
    // p = A^16 for the component's modulus.
    LagSixteen(const Matrix& p, uint32_t modulus) {
        c0 = _mm_set1_epi64x(p[6]);
        c1 = _mm_set1_epi64x(p[7]);
        c2 = _mm_set1_epi64x(p[8]);
        delta = _mm_set1_epi64x((int64_t{1} << 32) - modulus);
        m = _mm_set1_epi64x(modulus);
    }
};

// A value of m + t for t below m to t: subtract m and keep the original
// where that went negative (the sign bit selects).
inline __m128i below_m(__m128i t, __m128i m) {
    const __m128i d = _mm_sub_epi64(t, m);
    return _mm_castpd_si128(_mm_blendv_pd(_mm_castsi128_pd(d), _mm_castsi128_pd(t), _mm_castsi128_pd(d)));
}

// p ≡ lo + hi * delta (mod m), below 2^32 + 2^32 * delta.
inline __m128i fold(__m128i p, __m128i delta) {
    return _mm_add_epi64(_mm_blend_epi16(p, _mm_setzero_si128(), 0xCC), _mm_mul_epu32(_mm_srli_epi64(p, 32), delta));
}

// (x[j], x[j+1]) from (x[j-18], x[j-17]) and (x[j-16], x[j-15]).
inline __m128i lag16_step(const LagSixteen& k, __m128i older, __m128i newer) {
    const __m128i middle = _mm_alignr_epi8(newer, older, 8);  // (x[j-17], x[j-16])
    // Three folded products sum below 2^49; a second fold brings the sum
    // below 2^32 + 2^17 * delta, which is below 2m.
    __m128i t = _mm_add_epi64(fold(_mm_mul_epu32(older, k.c0), k.delta), fold(_mm_mul_epu32(middle, k.c1), k.delta));
    t = _mm_add_epi64(t, fold(_mm_mul_epu32(newer, k.c2), k.delta));
    return below_m(fold(t, k.delta), k.m);
}

// x1 - x2 mod m1 for two lanes of values below m1.
inline __m128i combine(__m128i x1, __m128i x2, __m128i m1) {
    const __m128i d = _mm_sub_epi64(x1, x2);
    const __m128i wrapped = _mm_add_epi64(d, m1);
    return _mm_castpd_si128(_mm_blendv_pd(_mm_castsi128_pd(d), _mm_castsi128_pd(wrapped), _mm_castsi128_pd(d)));
}

// ---- Sinks: one output, or four in the low halves of two registers' lanes --

inline __m128d u32_lanes_to_double(__m128i v) {
    const __m128d two52 = _mm_set1_pd(0x1p52);
    return _mm_sub_pd(_mm_castsi128_pd(_mm_or_si128(v, _mm_castpd_si128(two52))), two52);
}

struct IntPairSink {
    uint32_t* r;
    void one(int32_t i, uint32_t z) const { r[i] = z; }
    // Four outputs: the low halves of the lanes of z01 and z23.
    void quad(int32_t i, __m128i z01, __m128i z23) const {
        const __m128 packed = _mm_shuffle_ps(_mm_castsi128_ps(z01), _mm_castsi128_ps(z23), _MM_SHUFFLE(2, 0, 2, 0));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(r + i), _mm_castps_si128(packed));
    }
};

struct DoublePairSink {
    double* r;
    Affine f;
    void one(int32_t i, uint32_t z) const { r[i] = f.apply(static_cast<double>(z)); }
    void quad(int32_t i, __m128i z01, __m128i z23) const {
        _mm_storeu_pd(r + i, f.apply(u32_lanes_to_double(z01)));
        _mm_storeu_pd(r + i + 2, f.apply(u32_lanes_to_double(z23)));
    }
};

struct SinglePairSink {
    float* r;
    Affine f;
    void one(int32_t i, uint32_t z) const { r[i] = static_cast<float>(f.apply(static_cast<double>(z))); }
    void quad(int32_t i, __m128i z01, __m128i z23) const {
        const __m128 lo = _mm_cvtpd_ps(f.apply(u32_lanes_to_double(z01)));
        const __m128 hi = _mm_cvtpd_ps(f.apply(u32_lanes_to_double(z23)));
        _mm_storeu_ps(r + i, _mm_movelh_ps(lo, hi));
    }
};

}  // namespace qor::rng::mrg
