// Complex Ln and Log10, principal branch: ln|z| + i arg z, arg in
// (-pi, pi], the cut along the negative real axis (the sign of a zero y
// picks its side).  Log10 is Ln times log10(e).
//
// ln|z| = ln(x^2 + y^2)/2 with x^2 + y^2 as an exact pair (Dekker's
// squares) and the logarithm of Pow's double-double method (about 2^-70
// relative) applied to its high part, the low part joining as l/h: the
// real part keeps its relative accuracy next to |z| = 1, where it
// cancels.  arg z is the HA method of Atan2 (about 0.51 ulp), for Log10 as
// a pair.  Log10 multiplies pairs by log10(e) in two parts and rounds once.
// Both: about 0.5 ulp per part plus 2^-60 relative.
//
// The vector path takes operands whose larger part lies in [2^-450, 2^450]
// and the angles Atan2's vector path takes; the scalar routine scales the
// rest by a power of two (ln|z| = ln|2^-e z| + e ln 2) and gives C's
// special values: ln(+-0 + i0) = -inf + i(0 or pi) with a singularity
// reported, an infinite part gives +inf + i arg (the angles of atan2), NaN
// elsewhere.  Single precision is the same in double, rounded once; one
// kernel per row serves every accuracy slot.
#pragma once

#include "../invtrig/atan2_ops.h"
#include "../pow/pow_core.h"
#include "complex_planar.h"

namespace qor::vm::complex {

inline constexpr double kLog10EHi = dbl(0x3FDBCB7B1526E50Eull);
inline constexpr double kLog10ELo = dbl(0x3C695355BAAAFAD3ull);
inline constexpr double kLn2Hi = dbl(0x3FE62E42FEFA3800ull);  // trailing bits zero
inline constexpr double kLn2Lo = dbl(0x3D2EF35793C76730ull);

// ln|z| as a pair for operands whose larger part lies in [2^-450, 2^450],
// plus e ln 2.
QOR_KERNEL_INLINE Pair ln_abs(vd x, vd y, vd e = SD::set1(0.0)) {
    const Pair xx = pair::two_prod(x, x), yy = pair::two_prod(y, y);
    const vd big = SD::max(xx.hi, yy.hi), small = SD::min(xx.hi, yy.hi);
    const Pair s = pair::fast_two_sum(big, small);
    const vd sl = SD::add(s.lo, SD::add(xx.lo, yy.lo));
    const pow_core::DD l = pow_core::log_dd<Variant::HA>(s.hi, SD::set1(1023.0));
    const vd half = SD::set1(0.5);
    const Pair h = pair::fast_two_sum(SD::mul(e, SD::set1(kLn2Hi)), SD::mul(l.hi, half));
    const vd lo = SD::add(SD::mul(SD::add(l.lo, SD::div(sl, s.hi)), half), SD::mul(e, SD::set1(kLn2Lo)));
    return {h.hi, SD::add(h.lo, lo)};
}

// |x| + |y| tests: the larger part outside the range or a NaN.
QOR_KERNEL_INLINE vd ln_outside(vd x, vd y) {
    const vd ax = SD::abs(x), ay = SD::abs(y);
    return SD::bit_or(outside_binades(SD::max(ax, ay), -450, 450), _mm_cmpunord_pd(ax, ay));
}

using Atan2HA = invtrig::DoubleArctan2<false, Variant::HA>;

// arg z as a pair, on lanes Atan2's vector path takes.
QOR_KERNEL_INLINE Pair arg_pair(vd x, vd y) {
    const Pair p = invtrig::atan_exact(SD::abs(y), SD::abs(x), sign_of<double>(x), invtrig::negative_rows(x),
                                       invtrig::kAtanP6);
    const vd s = sign_of<double>(y);
    return {SD::bit_xor(p.hi, s), SD::bit_xor(p.lo, s)};
}

// Lanes Atan2's vector path leaves to its scalar routine (zeros, magnitudes
// outside [2^-900, 2^1000] and tiny angles).
QOR_KERNEL_INLINE vd arg_outside(vd x, vd y, vd angle) {
    const vd a = SD::abs(y), b = SD::abs(x);
    const vd m = SD::abs(angle);
    return SD::bit_or(SD::bit_or(Atan2HA::outside(a), Atan2HA::outside(b)),
                      SD::bit_or(SD::eq(SD::bit_or(a, b), SD::set1(0.0)),
                                 SD::bit_and(Bits<double>::int_greater(SD::set1(0x1p-1000), m),
                                             Bits<double>::int_greater(m, SD::set1(0.0)))));
}

template <bool Base10>
QOR_KERNEL_INLINE ZD log_lanes(ZD z, vd& mark) {
    vd x = z.re, y = z.im;
    const vd far = ln_outside(x, y);
    const vd one = SD::set1(1.0);
    x = SD::select(far, one, x);
    y = SD::select(far, one, y);
    const Pair re = ln_abs(x, y);
    if constexpr (Base10) {
        const Pair im = arg_pair(x, y);
        mark = SD::bit_or(far, arg_outside(x, y, im.hi));
        const Pair c{SD::set1(kLog10EHi), SD::set1(kLog10ELo)};
        return {mul_round(re, c), mul_round(im, c)};
    } else {
        vd m;
        const vd im = Atan2HA{}(y, x, m);
        mark = SD::bit_or(far, m);
        return {sum(re), im};
    }
}

template <bool Base10>
inline int log_scalar(double x, double y, double& u, double& v) {
    Atan2HA{}.fix(y, x, v);
    int code = QOR_VM_STATUS_OK;
    const double ax = std::fabs(x), ay = std::fabs(y);
    if (std::isinf(ax) || std::isinf(ay)) {
        u = std::numeric_limits<double>::infinity();
    } else if (std::isnan(ax) || std::isnan(ay)) {
        u = ax + ay;
    } else if (ax == 0 && ay == 0) {
        u = -std::numeric_limits<double>::infinity();
        code = QOR_VM_STATUS_SING;
    } else {
        const int e = std::ilogb(std::fmax(ax, ay));
        const Pair l = ln_abs(splat(std::ldexp(ax, -e)), splat(std::ldexp(ay, -e)), splat(double(e)));
        if (!Base10) {
            u = lane0(sum(l));
            return code;
        }
        const Pair c{splat(kLog10EHi), splat(kLog10ELo)};
        u = lane0(mul_round(l, c));
        const Pair a = arg_pair(splat(std::ldexp(x, -e)), splat(std::ldexp(y, -e)));
        if (std::fabs(v) >= 0x1p-1000 && lane0(arg_outside(splat(std::ldexp(x, -e)), splat(std::ldexp(y, -e)), a.hi)) == 0)
            v = lane0(mul_round(a, c));
        else
            v *= kLog10EHi;
        return code;
    }
    if (Base10) {
        u *= kLog10EHi;
        v *= kLog10EHi;
    }
    return code;
}

template <class Real, bool Base10>
struct LogOp {
    using C = PlanarOf<Real>;
    using Mask = Real;
    static constexpr bool reads_mode = true;
    CV<Real> operator()(CV<Real> a, RV<Real>& m) const { return map_cc<Real>(a, m, log_lanes<Base10>); }
    int fix(const C& a, C& r) const { return fix_cc(a, r, log_scalar<Base10>); }
};

}  // namespace qor::vm::complex
