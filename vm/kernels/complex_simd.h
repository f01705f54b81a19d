// SSE4.2 registers holding complex numbers, real part in the even lane:
// a double complex fills one __m128d, two single complex fill one __m128.
// CSimd<C> maps one complex kernel source over both element types; its
// members are the moves and the lane shuffles complex arithmetic needs.
#pragma once

#include <pmmintrin.h>
#include <smmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "qor/qor_types.h"
#include "simd.h"

namespace qor::simd {

template <class C> struct CSimd;

template <> struct CSimd<qor_complex16> {
    using C = qor_complex16;
    using R = double;
    using V = vd;
    static constexpr int per_vector = 1;  // elements in one register

    static V load(const C* p) { return _mm_loadu_pd(&p->re); }
    static void store(C* p, V x) { _mm_storeu_pd(&p->re, x); }
    static V gather(const C* p, std::ptrdiff_t) { return load(p); }
    static void scatter(C* p, std::ptrdiff_t, V x) { store(p, x); }
    static V load_one(const C* p) { return load(p); }
    static void store_one(C* p, V x) { store(p, x); }

    static V add(V x, V y) { return _mm_add_pd(x, y); }
    static V sub(V x, V y) { return _mm_sub_pd(x, y); }
    static V mul(V x, V y) { return _mm_mul_pd(x, y); }
    // Even lane x - y, odd lane x + y.
    static V addsub(V x, V y) { return _mm_addsub_pd(x, y); }
    static V swap_parts(V x) { return _mm_shuffle_pd(x, x, 1); }
    static V dup_re(V x) { return _mm_movedup_pd(x); }
    static V dup_im(V x) { return _mm_unpackhi_pd(x, x); }
    // Sign bit of every imaginary lane.
    static V im_sign() { return _mm_set_pd(-0.0, 0.0); }
    static V bit_or(V x, V y) { return _mm_or_pd(x, y); }
    static V bit_xor(V x, V y) { return _mm_xor_pd(x, y); }
    static V bit_andnot(V x, V y) { return _mm_andnot_pd(x, y); }
    static V isnonfinite(V x) { return visnonfinite_vd_vd(x); }
    static bool any(V m) { return _mm_movemask_pd(m) != 0; }
    // One bit per element: set when any lane of the element is set.
    static unsigned element_bits(V m) { return _mm_movemask_pd(m) != 0; }
};

template <> struct CSimd<qor_complex8> {
    using C = qor_complex8;
    using R = float;
    using V = vf;
    static constexpr int per_vector = 2;

    static V load(const C* p) { return _mm_loadu_ps(&p->re); }
    static void store(C* p, V x) { _mm_storeu_ps(&p->re, x); }
    // Elements are moved as 8-byte units, through integers so that no
    // type-punned floating-point access is made.
    static V gather(const C* p, std::ptrdiff_t inc) {
        return _mm_castsi128_ps(_mm_set_epi64x(bits_of(p + inc), bits_of(p)));
    }
    static void scatter(C* p, std::ptrdiff_t inc, V x) {
        vi w = _mm_castps_si128(x);
        put_bits(p, _mm_cvtsi128_si64(w));
        put_bits(p + inc, _mm_extract_epi64(w, 1));
    }
    // A lone element fills both halves, so the spare half raises no flag of
    // its own.
    static V load_one(const C* p) { return _mm_castsi128_ps(_mm_set1_epi64x(bits_of(p))); }
    static void store_one(C* p, V x) { put_bits(p, _mm_cvtsi128_si64(_mm_castps_si128(x))); }

    static V add(V x, V y) { return _mm_add_ps(x, y); }
    static V sub(V x, V y) { return _mm_sub_ps(x, y); }
    static V mul(V x, V y) { return _mm_mul_ps(x, y); }
    static V addsub(V x, V y) { return _mm_addsub_ps(x, y); }
    static V swap_parts(V x) { return _mm_shuffle_ps(x, x, _MM_SHUFFLE(2, 3, 0, 1)); }
    static V dup_re(V x) { return _mm_moveldup_ps(x); }
    static V dup_im(V x) { return _mm_movehdup_ps(x); }
    static V im_sign() { return _mm_set_ps(-0.0f, 0.0f, -0.0f, 0.0f); }
    static V bit_or(V x, V y) { return _mm_or_ps(x, y); }
    static V bit_xor(V x, V y) { return _mm_xor_ps(x, y); }
    static V bit_andnot(V x, V y) { return _mm_andnot_ps(x, y); }
    static V isnonfinite(V x) { return visnonfinite_vf_vf(x); }
    static bool any(V m) { return _mm_movemask_ps(m) != 0; }
    static unsigned element_bits(V m) {
        unsigned lanes = static_cast<unsigned>(_mm_movemask_ps(m));
        unsigned either = lanes | lanes >> 1;  // bit 0: element 0, bit 2: element 1
        return (either & 1u) | (either >> 1 & 2u);
    }

private:
    static int64_t bits_of(const C* p) {
        int64_t b;
        std::memcpy(&b, p, sizeof b);
        return b;
    }
    static void put_bits(C* p, int64_t b) { std::memcpy(p, &b, sizeof b); }
};

}  // namespace qor::simd
