// Complex Add and Sub: the IEEE sum or difference of each part.  A part
// that becomes infinite from finite parts of the arguments reports
// overflow; NaNs and infinities in the arguments never report.  LA and HA
// share the screened kernel; EP is the same arithmetic with no screen.
#pragma once

#include <cmath>

#include "../complex_driver.h"

namespace qor::vm::complex {

template <class Complex, bool Subtract, bool Screened>
struct ComplexAddOp {
    using C = Complex;
    using S = simd::CSimd<C>;
    using V = typename S::V;
    using Real = typename S::R;
    static constexpr bool reads_mode = true;
    static constexpr bool screens = Screened;

    V operator()(V a, V b) const { return Subtract ? S::sub(a, b) : S::add(a, b); }

    // Any part that is not finite; the scalar routine tells overflow from
    // infinities and NaNs that came with the arguments.  (One compare per
    // register keeps the common, finite case at the speed of EP.)
    V special(V, V, V r) const { return S::isnonfinite(r); }

    static bool overflowed(Real x, Real y, Real sum) { return std::isinf(sum) && std::isfinite(x) && std::isfinite(y); }

    int fix(C a, C b, C& r) const {
        r.re = Subtract ? a.re - b.re : a.re + b.re;
        r.im = Subtract ? a.im - b.im : a.im + b.im;
        bool overflow = overflowed(a.re, b.re, r.re) || overflowed(a.im, b.im, r.im);
        return overflow ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::complex
