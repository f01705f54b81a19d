// Jn, Yn, real: J and Y of an integer order b, the scalar of the call, one
// kernel per precision (all three slots).  The order picks the method once
// per call:
//   b not an integer, or not finite:  NaN with code 1 for every element
//                                     (NaN elements: NaN, no code);
//   |b| = 0, 1:                       the J0, J1, Y0, Y1 kernels;
//   |b| >= 2:                         each element on its own, in extended
//                                     precision (64-bit significands):
//     Y:  forward recurrence Y_{k+1} = (2k/x) Y_k - Y_{k-1} from the pairs
//         of Y0 and Y1 (stable: Y grows with k);
//     J:  x^2 <= n + 1: the power series (x/2)^n/n! sum (-x^2/4)^k/(k! (n+1)_k);
//         x < n:        backward recurrence (Miller) from an order
//                       n + sqrt(160 n) down to 0, scaled by J0 or J1,
//                       whichever is larger;
//         x >= n:       forward recurrence from J0 and J1.
//     Each step rounds at 2^-64, so that n steps stay below an ulp of the
//     double result; near the zeros of the result the error is absolute
//     (the recurrences cancel there).
// J_{-n} = (-1)^n J_n, Y_{-n} = (-1)^n Y_n, J_n(-x) = (-1)^n J_n(x).
// J_n(+-0) = 0 (n >= 1), J_n(+-inf) = +0 (-0 for negative odd orders); a J value below the smallest
// normal has code 4.  Y_n of a negative argument: NaN, code 1; of +-0:
// -inf (times (-1)^n for negative odd orders), code 2; a
// Y value beyond the largest finite: infinity, code 3; Y_n(+inf) as J_n.
#pragma once

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "../pow_loop.h"
#include "bessel_ops.h"

namespace qor::vm::bessel {

using Ext = long double;

inline Ext extended(Pair p) { return Ext(simd::vget0_d_vd(p.hi)) + Ext(simd::vget0_d_vd(p.lo)); }

template <Kind K>
inline Ext start_value(double x) {
    return extended(x < 0x1p19 ? value<K>(SD::set1(x)) : huge_pair<K>(x));
}

// J_n(x) for n >= 2, x > 0 finite and normal, from J0(x) and J1(x).
inline Ext jn_positive(int64_t n, double x, Ext j0, Ext j1) {
    const Ext xe = x;
    if (xe * xe <= Ext(n + 1)) {
        // (x/2)^n/n!: stops once below every double.
        Ext pre = 1;
        const Ext half = xe / 2;
        for (int64_t k = 1; k <= n; ++k) {
            pre *= half / Ext(k);
            if (pre < Ext(0x1p-1100L)) return 0;
        }
        const Ext q = -half * half;
        Ext term = 1, sum = 1;
        for (int k = 1; k < 60; ++k) {
            term *= q / (Ext(k) * Ext(n + k));
            sum += term;
            if (std::fabs(term) < Ext(0x1p-68L) * std::fabs(sum)) break;
        }
        return pre * sum;
    }
    const Ext two_over_x = Ext(2) / xe;
    if (x >= double(n)) {
        Ext a = j0, b = j1;
        for (int64_t k = 1; k < n; ++k) {
            const Ext c = Ext(k) * two_over_x * b - a;
            a = b;
            b = c;
        }
        return b;
    }
    // |J_n(x)| <= (x/2)^n/n! <= (e x/(2n))^n/sqrt(2 pi n) for x >= 0 (with
    // Stirling's lower bound of n!): past half the smallest subnormal
    // (e^-745.1) the result rounds to zero, and the O(n) recurrence below
    // need not run (it would for an order of 10^9 at x = 10^5).
    const double dn = double(n);
    if (dn * std::log(2.718281828459045 * x / (2 * dn)) - 0.5 * std::log(6.283185307179586 * dn) < -746.0) return 0;
    const int64_t top = n + int64_t(std::sqrt(160.0 * double(n))) + 16;
    Ext above = 0, f = Ext(0x1p-200L), at_n = 0;
    for (int64_t k = top; k > 0; --k) {
        const Ext below = Ext(k) * two_over_x * f - above;  // f_{k-1}
        above = f;
        f = below;
        if (k - 1 == n) at_n = f;
        if (std::fabs(f) > Ext(0x1p8000L)) {  // rescale, far below the range's end
            f *= Ext(0x1p-8000L);
            above *= Ext(0x1p-8000L);
            at_n *= Ext(0x1p-8000L);
        }
    }
    // f = f_0, above = f_1.
    return std::fabs(j0) >= std::fabs(j1) ? at_n * (j0 / f) : at_n * (j1 / above);
}

// Y_n(x) for n >= 2, x > 0 finite and normal, from Y0(x) and Y1(x);
// infinite beyond the extended range.
inline Ext yn_positive(int64_t n, double x, Ext y0, Ext y1) {
    const Ext two_over_x = Ext(2) / Ext(x);
    Ext a = y0, b = y1;
    for (int64_t k = 1; k < n; ++k) {
        const Ext c = Ext(k) * two_over_x * b - a;
        a = b;
        b = c;
        if (std::fabs(b) > Ext(0x1p2000L)) return b < 0 ? -std::numeric_limits<Ext>::infinity() : std::numeric_limits<Ext>::infinity();
    }
    return b;
}

// The scalar routine of an integer order b = +-n, n >= 2, in double.
template <bool IsJ>
int order_n(int64_t n, bool negative_order, double x, double& y) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    const double odd = (n & 1) ? -1.0 : 1.0;
    const double order_sign = negative_order ? odd : 1.0;
    x = flush_subnormal(x);
    if (std::isnan(x)) {
        y = x + x;
        return QOR_VM_STATUS_OK;
    }
    if constexpr (IsJ) {
        const double sign = order_sign * (std::signbit(x) ? odd : 1.0);
        const double ax = std::fabs(x);
        if (ax == inf) {
            y = order_sign * 0.0;
            return QOR_VM_STATUS_OK;
        }
        if (ax == 0.0) {
            y = sign * 0.0;
            return QOR_VM_STATUS_OK;
        }
        if (ax < DBL_MIN) {  // (x/2)^n/n! with n >= 2
            y = sign * 0.0;
            return QOR_VM_STATUS_UNDERFLOW;
        }
        y = sign * double(jn_positive(n, ax, start_value<Kind::J0>(ax), start_value<Kind::J1>(ax)));
        return std::fabs(y) < DBL_MIN ? QOR_VM_STATUS_UNDERFLOW : QOR_VM_STATUS_OK;
    } else {
        if (x < 0.0) {
            y = std::numeric_limits<double>::quiet_NaN();
            return QOR_VM_STATUS_DOMAIN;
        }
        if (x == 0.0) {
            y = -inf * order_sign;
            return QOR_VM_STATUS_SING;
        }
        if (x == inf) {
            y = order_sign * 0.0;
            return QOR_VM_STATUS_OK;
        }
        if (x < DBL_MIN) {  // beyond the largest finite for every n >= 2
            y = -inf * order_sign;
            return QOR_VM_STATUS_OVERFLOW;
        }
        y = order_sign * double(yn_positive(n, x, start_value<Kind::Y0>(x), start_value<Kind::Y1>(x)));
        return std::isinf(y) ? QOR_VM_STATUS_OVERFLOW : QOR_VM_STATUS_OK;
    }
}

// ---- the Ops of one call ----------------------------------------------------------
template <class Real>
struct OrderBase {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    T b;
    T exponent() const { return b; }
};

// A non-integer or non-finite order: every element to the scalar routine.
template <class Real>
struct NoOrder : OrderBase<Real> {
    using typename OrderBase<Real>::V;
    using S = typename OrderBase<Real>::S;
    [[gnu::always_inline]] V operator()(V, V& mark) const {
        mark = S::eq(S::set1(Real(0)), S::set1(Real(0)));
        return S::set1(std::numeric_limits<Real>::quiet_NaN());
    }
    int fix(Real x, Real& r) const {
        r = std::numeric_limits<Real>::quiet_NaN();
        return std::isnan(x) ? QOR_VM_STATUS_OK : QOR_VM_STATUS_DOMAIN;
    }
};

// Orders 0 and +-1: the kernels of J0, J1, Y0, Y1, negated for order -1.
template <class Inner>
struct LowOrder : OrderBase<typename Inner::T> {
    using Real = typename Inner::T;
    using typename OrderBase<Real>::V;
    using S = typename OrderBase<Real>::S;
    bool negate;
    [[gnu::always_inline]] V operator()(V x, V& mark) const {
        const Inner inner{};
        mark = inner.special(x);
        const V y = inner(S::bit_andnot(mark, x));
        return negate ? S::neg(y) : y;
    }
    int fix(Real x, Real& r) const {
        const int code = Inner{}.fix(x, r);
        if (negate) r = -r;
        return code;
    }
};

// |b| >= 2: each element by the scalar routine in the vector loop; the
// lanes with a code are marked and computed again by fix.
template <class Real, bool IsJ>
struct HighOrder : OrderBase<Real> {
    using typename OrderBase<Real>::V;
    using S = typename OrderBase<Real>::S;
    int64_t n;
    bool negative_order;
    int one(Real x, Real& r) const {
        double y;
        const int code = order_n<IsJ>(n, negative_order, double(flush_subnormal(x)), y);
        r = Real(y);
        if constexpr (std::is_same_v<Real, float>) {
            if (code != QOR_VM_STATUS_OK) return code;
            if (std::isinf(r) && std::isfinite(y)) return QOR_VM_STATUS_OVERFLOW;
            if (r == r && std::fabs(r) < FLT_MIN && std::isfinite(x) && x != 0) return QOR_VM_STATUS_UNDERFLOW;
        }
        return code;
    }
    // Positive normal x below 2^19 (|x| for J): both lanes' starting values
    // in one vector evaluation, the recurrences lane by lane; other lanes
    // through the scalar routine.
    QOR_KERNEL_INLINE vd ordinary(vd x, vd& mark) const {
        const vd ax = IsJ ? SD::abs(x) : x;
        const vd odd = lanes::not_positive_normal(ax);
        const vd clear = SD::bit_or(odd, lanes::upper_word_above(ax, kVectorLimitUpper));
        const vd safe = SD::select(clear, SD::set1(1.0), ax);
        constexpr Kind K0 = IsJ ? Kind::J0 : Kind::Y0, K1 = IsJ ? Kind::J1 : Kind::Y1;
        const Pair p0 = value<K0>(safe), p1 = value<K1>(safe);
        double in[2], out[2], m[2], h0[2], l0[2], h1[2], l1[2], c[2];
        SD::store(in, x);
        SD::store(c, clear);
        SD::store(h0, p0.hi), SD::store(l0, p0.lo), SD::store(h1, p1.hi), SD::store(l1, p1.lo);
        const double odd_order = (n & 1) ? -1.0 : 1.0;
        for (int i = 0; i < 2; ++i) {
            int code;
            if (std::bit_cast<uint64_t>(c[i])) {
                code = order_n<IsJ>(n, negative_order, in[i], out[i]);
            } else {
                const double a = std::fabs(in[i]);
                const Ext s0 = Ext(h0[i]) + Ext(l0[i]), s1 = Ext(h1[i]) + Ext(l1[i]);
                double sign = negative_order ? odd_order : 1.0;
                if (IsJ && in[i] < 0) sign *= odd_order;
                out[i] = sign * double(IsJ ? jn_positive(n, a, s0, s1) : yn_positive(n, a, s0, s1));
                code = IsJ ? (std::fabs(out[i]) < DBL_MIN ? QOR_VM_STATUS_UNDERFLOW : 0)
                           : (std::isinf(out[i]) ? QOR_VM_STATUS_OVERFLOW : 0);
            }
            m[i] = std::bit_cast<double>(code ? ~uint64_t(0) : uint64_t(0));
        }
        mark = SD::load(m);
        return SD::load(out);
    }
    V operator()(V x, V& mark) const {
        if constexpr (std::is_same_v<Real, double>) {
            return ordinary(x, mark);
        } else {
            vd m0, m1;
            const vd y0 = ordinary(lanes::low_half(x), m0), y1 = ordinary(lanes::high_half(x), m1);
            V y = lanes::narrow(y0, y1);
            mark = SF::bit_or(simd::vnarrowmask_vf_vd_vd(m0, m1), SF::bit_or(lanes::not_positive_normal(SF::abs(y)),
                                                                             SF::isnonfinite(y)));
            // Marks of float results that are normal and finite come from
            // double underflow (a zero J): both are fixed by the scalar routine.
            return y;
        }
    }
    int fix(Real x, Real& r) const { return one(x, r); }
};

// The method of the kernels: picks the Op for the order b.
template <class Real, bool IsJ>
struct OrderMethod {
    static constexpr bool kSingle = std::is_same_v<Real, float>;
    template <Kind K>
    using Low = std::conditional_t<kSingle, SingleBessel<K>, DoubleBessel<K>>;

    template <class Go>
    void operator()(Go&& go, Real b) const {
        if (!std::isfinite(b) || std::trunc(b) != b) return go(NoOrder<Real>{{b}});
        const Real a = std::fabs(b);
        if (a == 0) {
            if constexpr (IsJ) return go(LowOrder<Low<Kind::J0>>{{b}, false});
            else return go(LowOrder<Low<Kind::Y0>>{{b}, false});
        }
        if (a == 1) {
            if constexpr (IsJ) return go(LowOrder<Low<Kind::J1>>{{b}, b < 0});
            else return go(LowOrder<Low<Kind::Y1>>{{b}, b < 0});
        }
        // Orders beyond 2^62 behave as the largest even one (every value
        // underflows or overflows long before).
        const int64_t n = a < Real(0x1p62) ? int64_t(a) : (int64_t(1) << 62);
        go(HighOrder<Real, IsJ>{{b}, n, b < 0});
    }
};

}  // namespace qor::vm::bessel
