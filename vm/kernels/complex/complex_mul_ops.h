// Complex Mul and MulByConj (a times the conjugate of b).
//
// Every element is first computed by the textbook formula
//   (ar + i ai)(br + i bi) = (ar br - ai bi) + i (ar bi + ai br)
// with each product rounded once (no fused multiply-add).  LA and HA then
// send every element with a part that is not finite to the scalar routine,
// which recovers the infinite result that the formula loses to NaN + i NaN
// when an argument is infinite (the rule of C's complex multiplication), and
// reports overflow when finite arguments give a part that is not finite.
// NaN arguments never report.  EP keeps the plain formula: no screen, no
// recovery, no reports.  Conjugating b flips the sign of bi exactly, so
// MulByConj is Mul on (a, conj b), bit for bit.
#pragma once

#include <cmath>
#include <limits>

#include "../complex_driver.h"

namespace qor::vm::complex {

template <class Real>
Real unit_or_zero(Real x) {  // +-1 for an infinity, +-0 otherwise, sign kept
    return std::copysign(std::isinf(x) ? Real(1) : Real(0), x);
}

template <class Real>
void zero_if_nan(Real& x) {
    if (std::isnan(x)) x = std::copysign(Real(0), x);
}

// (a + ib)(c + id) with the infinities that the plain formula loses to
// NaN + i NaN put back.
template <class Real>
void multiply_recovering(Real a, Real b, Real c, Real d, Real& x, Real& y) {
    Real ac = a * c, bd = b * d, ad = a * d, bc = b * c;
    x = ac - bd;
    y = ad + bc;
    if (!(std::isnan(x) && std::isnan(y))) return;
    bool recompute = false;
    if (std::isinf(a) || std::isinf(b)) {  // first factor infinite
        a = unit_or_zero(a);
        b = unit_or_zero(b);
        zero_if_nan(c);
        zero_if_nan(d);
        recompute = true;
    }
    if (std::isinf(c) || std::isinf(d)) {  // second factor infinite
        c = unit_or_zero(c);
        d = unit_or_zero(d);
        zero_if_nan(a);
        zero_if_nan(b);
        recompute = true;
    }
    if (!recompute && (std::isinf(ac) || std::isinf(bd) || std::isinf(ad) || std::isinf(bc))) {
        // A product overflowed while another part was NaN.
        zero_if_nan(a);
        zero_if_nan(b);
        zero_if_nan(c);
        zero_if_nan(d);
        recompute = true;
    }
    if (recompute) {
        const Real inf = std::numeric_limits<Real>::infinity();
        x = inf * (a * c - b * d);
        y = inf * (a * d + b * c);
    }
}

template <class Complex, bool Conjugate, bool Screened>
struct ComplexMulOp {
    using C = Complex;
    using S = simd::CSimd<C>;
    using V = typename S::V;
    using Real = typename S::R;
    static constexpr bool reads_mode = true;
    static constexpr bool screens = Screened;

    V operator()(V a, V b) const {
        if (Conjugate) b = S::bit_xor(b, S::im_sign());
        // [ar br, ai br] -+ [ai bi, ar bi]
        return S::addsub(S::mul(a, S::dup_re(b)), S::mul(S::swap_parts(a), S::dup_im(b)));
    }

    V special(V, V, V r) const { return S::isnonfinite(r); }

    int fix(C a, C b, C& r) const {
        Real bi = Conjugate ? -b.im : b.im;
        multiply_recovering(a.re, a.im, b.re, bi, r.re, r.im);
        bool finite_args = std::isfinite(a.re) && std::isfinite(a.im) && std::isfinite(b.re) && std::isfinite(b.im);
        bool finite_result = std::isfinite(r.re) && std::isfinite(r.im);
        return finite_args && !finite_result ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
    }
};

}  // namespace qor::vm::complex
