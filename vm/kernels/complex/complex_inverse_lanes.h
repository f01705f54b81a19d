// Complex elements as separate real and imaginary double lanes, and the Op
// of a complex function computed in double on them.
//
// A register of single complex elements {re0, im0, re1, im1} becomes the
// double vectors {re0, re1} and {im0, im1}; a double complex element fills
// both lanes of its two vectors.  The function works on (x, y) lanes and
// marks the lanes it leaves to its scalar routine; single precision results
// are the double results rounded once more.
#pragma once

#include <cmath>
#include <cstdint>

#include "../complex_driver.h"
#include "../lane_bits.h"

namespace qor::vm::complex {

template <class C> struct Parts;

template <> struct Parts<qor_complex16> {
    using V = vd;
    static void split(V a, vd& x, vd& y) {
        x = _mm_unpacklo_pd(a, a);
        y = _mm_unpackhi_pd(a, a);
    }
    static V join(vd re, vd im) { return _mm_unpacklo_pd(re, im); }
    static V mask(vd m) { return m; }
};

template <> struct Parts<qor_complex8> {
    using V = vf;
    static void split(V a, vd& x, vd& y) {
        x = _mm_cvtps_pd(_mm_shuffle_ps(a, a, _MM_SHUFFLE(2, 0, 2, 0)));
        y = _mm_cvtps_pd(_mm_shuffle_ps(a, a, _MM_SHUFFLE(3, 1, 3, 1)));
    }
    static V join(vd re, vd im) { return _mm_unpacklo_ps(_mm_cvtpd_ps(re), _mm_cvtpd_ps(im)); }
    static V mask(vd m) { return _mm_castpd_ps(m); }  // both halves of a lane's element
};

// Magnitudes that are not zero and lie outside [2^-500, 2^500] (infinities
// and NaN included): there squares and products of the formulas could
// overflow or underflow.  An integer compare, no flag.
QOR_KERNEL_INLINE vd outside_moderate(vd m) {
    constexpr uint64_t lo = 0x20B0000000000000ull, hi = 0x5F30000000000000ull;  // 2^-500, 2^500
    const vi shifted = simd::vadd_vl_vl_vl(SD::to_bits(m), simd::vset1_vl_l(int64_t(0x8000000000000000ull - lo)));
    const vi out = simd::vgt_vl_vl_vl(shifted, simd::vset1_vl_l(int64_t(hi - lo + 0x8000000000000000ull)));
    return SD::bit_andnot(SD::eq(m, SD::set1(0.0)), SD::from_bits(out));
}

// x with the sign of s flipped into it (x xor the sign bit of s).
QOR_KERNEL_INLINE vd times_sign(vd x, vd s) { return SD::bit_xor(x, SD::bit_and(s, SD::set1(-0.0))); }

// F provides
//   static void lanes(vd x, vd y, vd& re, vd& im, vd& mark);  // vector path
//   static int scalar(double x, double y, double& re, double& im);  // one element
template <class C, class F>
struct ComplexInDouble {
    using P = Parts<C>;
    using V = typename P::V;
    using Real = decltype(C::re);
    static constexpr bool reads_mode = true;

    [[gnu::always_inline]] V operator()(V a, V& mark) const {
        vd x, y, re, im, m;
        P::split(a, x, y);
        F::lanes(x, y, re, im, m);
        mark = P::mask(m);
        return P::join(re, im);
    }

    int fix(C a, C& r) const {
        double re, im;
        const int code = F::scalar(double(a.re), double(a.im), re, im);
        r.re = Real(re);
        r.im = Real(im);
        return code;
    }
};

}  // namespace qor::vm::complex
