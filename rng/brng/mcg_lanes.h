// SSE4.2 lane arithmetic of the congruential generators and the output
// "sinks" that turn generator values into integers, doubles or singles.
// A sink takes one value at a time or one vector at a time (four 32-bit
// values for MCG31m1, two 64-bit values for MCG59), so one fill loop serves
// all three output kinds.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "rng/brng/mod_arith.h"

namespace qor::rng {

// ---- Four products modulo 2^31 - 1 ------------------------------------------

// m holds the multiplier in the low dword of each 64-bit lane.
inline __m128i mul_mod31_x4(__m128i v, __m128i m) {
    const __m128i low31 = _mm_set1_epi64x(kMod31);
    __m128i even = _mm_mul_epu32(v, m);                     // dwords 0 and 2
    __m128i odd = _mm_mul_epu32(_mm_srli_epi64(v, 32), m);  // dwords 1 and 3
    // Fold the bits above 31 onto the low 31; each sum is below 2^32.
    even = _mm_add_epi64(_mm_and_si128(even, low31), _mm_srli_epi64(even, 31));
    odd = _mm_add_epi64(_mm_and_si128(odd, low31), _mm_srli_epi64(odd, 31));
    const __m128i t = _mm_blend_epi16(even, _mm_slli_epi64(odd, 32), 0xCC);
    // t - M wraps above t exactly when t < M, so the unsigned minimum is the
    // reduced value.
    return _mm_min_epu32(t, _mm_sub_epi32(t, _mm_set1_epi32(static_cast<int>(kMod31))));
}

// ---- Two products modulo 2^64, then masked to 59 bits ------------------------

// Low 64 bits of v * m per lane from three 32x32 products: lo*lo plus the
// two cross products shifted up 32 (the high*high product is shifted out).
struct Mul64Constant {
    __m128i lo = _mm_setzero_si128(), hi = _mm_setzero_si128();
    Mul64Constant() = default;
    explicit Mul64Constant(uint64_t m)
        : lo(_mm_set1_epi64x(static_cast<int64_t>(m))), hi(_mm_set1_epi64x(static_cast<int64_t>(m >> 32))) {}
};

inline __m128i mul_mod59_x2(__m128i v, const Mul64Constant& m) {
    const __m128i ll = _mm_mul_epu32(v, m.lo);
    const __m128i hl = _mm_mul_epu32(_mm_srli_epi64(v, 32), m.lo);
    const __m128i lh = _mm_mul_epu32(v, m.hi);
    const __m128i p = _mm_add_epi64(ll, _mm_slli_epi64(_mm_add_epi64(hl, lh), 32));
    return _mm_and_si128(p, _mm_set1_epi64x(static_cast<int64_t>(kMask59)));
}

// Two values below 2^59 to double, rounded to nearest: the high and low
// 32-bit halves are placed in the mantissas of 2^84 and 2^52, the offsets
// removed exactly, and the one rounding happens in the final addition.
inline __m128d u59_to_double_x2(__m128i v) {
    const __m128i exp52 = _mm_set1_epi64x(0x4330000000000000);  // 2^52
    const __m128i exp84 = _mm_set1_epi64x(0x4530000000000000);  // 2^84
    const __m128d offset = _mm_set1_pd(0x1.00000001p84);        // 2^84 + 2^52
    const __m128d hi = _mm_sub_pd(_mm_castsi128_pd(_mm_or_si128(_mm_srli_epi64(v, 32), exp84)), offset);
    const __m128d lo = _mm_castsi128_pd(_mm_blend_epi16(v, exp52, 0xCC));
    return _mm_add_pd(hi, lo);
}

// ---- Sinks ------------------------------------------------------------------

template <class Word>
struct IntSink {
    Word* r;
    void one(int32_t i, Word x) const { r[i] = x; }
    void vec(int32_t i, __m128i v) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(r + i), v); }
};

// value * scale + shift, in double precision, for scale = (b - a) * c and
// shift = a.
struct Affine {
    double scale, shift;
    __m128d vscale, vshift;
    Affine(double a, double b, double c)
        : scale((b - a) * c), shift(a), vscale(_mm_set1_pd(scale)), vshift(_mm_set1_pd(shift)) {}
    double apply(double v) const { return v * scale + shift; }
    __m128d apply(__m128d v) const { return _mm_add_pd(_mm_mul_pd(v, vscale), vshift); }
};

// The low two of four 32-bit lanes as doubles, exactly: read as signed
// (values below 2^31, as MCG31m1's), or as unsigned (whole 32-bit words:
// the top bit flipped, converted as signed, 2^31 added back).
inline __m128d low_i32_to_double(__m128i v) { return _mm_cvtepi32_pd(v); }
inline __m128d low_u32_to_double(__m128i v) {
    return _mm_add_pd(_mm_cvtepi32_pd(_mm_xor_si128(v, _mm_set1_epi32(INT32_MIN))), _mm_set1_pd(2147483648.0));
}

// Double and single outputs of generators of 32-bit values, four per
// vector, converted by ToDouble.
template <__m128d (*ToDouble)(__m128i)>
struct Double32Sink {
    double* r;
    Affine f;
    void one(int32_t i, uint32_t x) const { r[i] = f.apply(static_cast<double>(x)); }
    void vec(int32_t i, __m128i v) const {
        _mm_storeu_pd(r + i, f.apply(ToDouble(v)));
        _mm_storeu_pd(r + i + 2, f.apply(ToDouble(_mm_unpackhi_epi64(v, v))));
    }
};

template <__m128d (*ToDouble)(__m128i)>
struct Single32Sink {
    float* r;
    Affine f;
    void one(int32_t i, uint32_t x) const { r[i] = static_cast<float>(f.apply(static_cast<double>(x))); }
    void vec(int32_t i, __m128i v) const {
        const __m128 lo = _mm_cvtpd_ps(f.apply(ToDouble(v)));
        const __m128 hi = _mm_cvtpd_ps(f.apply(ToDouble(_mm_unpackhi_epi64(v, v))));
        _mm_storeu_ps(r + i, _mm_movelh_ps(lo, hi));
    }
};

using Double31Sink = Double32Sink<low_i32_to_double>;
using Single31Sink = Single32Sink<low_i32_to_double>;

// The three fill exports of a generator of 32-bit words, each handing the
// file's fill(stream, n, sink) the sink of its output: the words, or
// a + (b - a) * word * 2^-32 in double or single (kTwoPowMinus32, the file's).
#define QOR_RNG_WORD32_FILL_EXPORTS(Name)                                                                  \
    QOR_EXPORT int32_t __rixiBRng##Name(qor_rng_stream* stream, int32_t n, void* r) {                      \
        return fill(stream, n, IntSink<uint32_t>{static_cast<uint32_t*>(r)});                              \
    }                                                                                                      \
    QOR_EXPORT int32_t __rixdBRng##Name(qor_rng_stream* stream, int32_t n, double* r, double a, double b) { \
        return fill(stream, n, Double32Sink<low_u32_to_double>{r, Affine(a, b, kTwoPowMinus32)});          \
    }                                                                                                      \
    QOR_EXPORT int32_t __rixsBRng##Name(qor_rng_stream* stream, int32_t n, float* r, float a, float b) {   \
        return fill(stream, n, Single32Sink<low_u32_to_double>{r, Affine(a, b, kTwoPowMinus32)});          \
    }

// Double and single outputs of MCG59 (two 64-bit values per vector).
struct Double59Sink {
    double* r;
    Affine f;
    void one(int32_t i, uint64_t x) const { r[i] = f.apply(static_cast<double>(static_cast<int64_t>(x))); }
    void vec(int32_t i, __m128i v) const { _mm_storeu_pd(r + i, f.apply(u59_to_double_x2(v))); }
};

struct Single59Sink {
    float* r;
    Affine f;
    void one(int32_t i, uint64_t x) const {
        r[i] = static_cast<float>(f.apply(static_cast<double>(static_cast<int64_t>(x))));
    }
    void vec(int32_t i, __m128i v) const {
        _mm_storel_pi(reinterpret_cast<__m64*>(r + i), _mm_cvtpd_ps(f.apply(u59_to_double_x2(v))));
    }
};

}  // namespace qor::rng
