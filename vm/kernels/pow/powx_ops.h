// Powx, real: x^b with one exponent b for the whole vector, three kernels
// per precision.  The exponent picks the method once per call:
//   b = 0          1 everywhere (also for NaN x);
//   b = 1          x (zeros, subnormals, infinities and NaN through the
//                  scalar routine);
//   b = 1/2        the square root, correctly rounded; zeros, negatives,
//                  infinities and NaN go to the scalar routine, since
//                  pow(-0, 1/2) = +0 and pow(-inf, 1/2) = +inf;
//   b an integer   repeated squaring: in double HA and LA a double-double
//                  product chain (a handful of steps, each with an exact
//                  Dekker product, and an exact-residual reciprocal for
//                  negative b), where it is cheaper than the general path;
//                  in double EP plain double; in single plain double, which
//                  is exact to about 2^-45 for |b| up to 2^20;
//   otherwise      the general path of Pow with b broadcast.
// Lanes whose result leaves the safe range go to the scalar routine of Pow,
// which also gives the status codes; a report carries b as its second
// argument.
#pragma once

#include <cstdlib>
#include <type_traits>

#include "../pow_loop.h"
#include "pow_ops.h"

namespace qor::vm::pow_core {

template <class Real>
struct PowxBase {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    T b;
    T exponent() const { return b; }
    int fix(T x, T& r) const { return pow_special<Kind::Pow>(x, b, r); }
};

template <class Real>
struct PowxOne : PowxBase<Real> {
    using typename PowxBase<Real>::V;
    using S = typename PowxBase<Real>::S;
    [[gnu::always_inline]] V operator()(V, V& mark) const {
        mark = S::from_bits(simd::vzero_vi());
        return S::set1(Real(1));
    }
};

template <class Real>
struct PowxIdentity : PowxBase<Real> {
    using typename PowxBase<Real>::V;
    using S = typename PowxBase<Real>::S;
    // Subnormal lanes go to the scalar routine, which reports them as
    // underflow like every result below the smallest normal.
    [[gnu::always_inline]] V operator()(V x, V& mark) const {
        mark = lanes::not_positive_normal(S::abs(x));
        return flush_subnormal<Real>(x);  // quiets a signalling NaN
    }
};

template <class Real>
struct PowxSqrt : PowxBase<Real> {
    using typename PowxBase<Real>::V;
    using S = typename PowxBase<Real>::S;
    [[gnu::always_inline]] V operator()(V x, V& mark) const {
        // Positive finite x: the pattern, read as a signed integer, lies in
        // [1, pattern of the largest finite]; zeros, negatives, +inf and NaN
        // go to the scalar routine.
        using B = Bits<Real>;
        mark = S::bit_or(B::int_greater(B::pattern(B::kSmallestSubnormal), x),
                         B::int_greater(x, S::set1(std::numeric_limits<Real>::max())));
        return S::sqrt(x);
    }
};

// ---- integer exponents --------------------------------------------------------
// Squarings and multiplications of left-to-right binary powering.
constexpr int power_steps(uint64_t e) { return 63 - __builtin_clzll(e) + __builtin_popcountll(e) - 1; }

struct DD2 {
    vd h, l;
};

QOR_KERNEL_INLINE DD2 fast_two_sum(vd a, vd b) {
    vd s = SD::add(a, b);
    return {s, SD::sub(b, SD::sub(s, a))};
}

// x^e (e >= 1) as a double-double, then its reciprocal when asked, rounded
// once.  Each step keeps the exact product of the heads (Dekker), so the
// chain loses about 2^-100 per step.
QOR_KERNEL_INLINE vd power_dd(vd x, uint64_t e, bool reciprocal) {
    const vd xh = head26(x), xl = SD::sub(x, xh);
    DD2 a{x, SD::from_bits(simd::vzero_vi())};
    for (int bit = 62 - __builtin_clzll(e); bit >= 0; --bit) {
        vd hh = head26(a.h), hl = SD::sub(a.h, hh);
        vd p = SD::mul(a.h, a.h);
        vd err = SD::add(SD::add(SD::sub(SD::mul(hh, hh), p), SD::mul(SD::add(hh, hh), hl)), SD::mul(hl, hl));
        a = fast_two_sum(p, SD::add(err, SD::mul(SD::add(a.h, a.h), a.l)));
        if ((e >> bit) & 1) {
            hh = head26(a.h);
            hl = SD::sub(a.h, hh);
            p = SD::mul(a.h, x);
            err = SD::add(SD::add(SD::add(SD::sub(SD::mul(hh, xh), p), SD::mul(hh, xl)), SD::mul(hl, xh)), SD::mul(hl, xl));
            a = fast_two_sum(p, SD::add(err, SD::mul(a.l, x)));
        }
    }
    if (!reciprocal) return a.h;
    const vd one = SD::set1(1.0);
    const vd q = SD::div(one, a.h);
    const vd qh = head26(q), ql = SD::sub(q, qh);
    const vd hh = head26(a.h), hl = SD::sub(a.h, hh);
    const vd p = SD::mul(q, a.h);
    const vd pe = SD::add(SD::add(SD::add(SD::sub(SD::mul(qh, hh), p), SD::mul(qh, hl)), SD::mul(ql, hh)), SD::mul(ql, hl));
    const vd rho = SD::sub(SD::sub(SD::sub(one, p), pe), SD::mul(q, a.l));  // 1 - p is exact
    return SD::add(q, SD::mul(q, rho));
}

QOR_KERNEL_INLINE vd power_plain(vd x, uint64_t e, bool reciprocal) {
    vd h = x;
    for (int bit = 62 - __builtin_clzll(e); bit >= 0; --bit) {
        h = SD::mul(h, h);
        if ((e >> bit) & 1) h = SD::mul(h, x);
    }
    return reciprocal ? SD::div(SD::set1(1.0), h) : h;
}

// Results of the double-double chain are trusted in [2^-968, 2^968], where
// no head, square or tail leaves the normal range.
struct DoublePowIntDD : PowxBase<double> {
    uint64_t e;
    bool reciprocal;
    [[gnu::always_inline]] vd operator()(vd x, vd& mark) const {
        const vd res = power_dd(x, e, reciprocal);
        const vd ar = SD::abs(res);
        mark = SD::bit_or(lanes::not_positive_normal(SD::abs(x)),
                          SD::bit_or(Bits<double>::int_greater(ar, SD::set1(0x1p968)),
                                     Bits<double>::int_greater(SD::set1(0x1p-968), ar)));
        return res;
    }
};

struct DoublePowIntPlain : PowxBase<double> {
    uint64_t e;
    bool reciprocal;
    [[gnu::always_inline]] vd operator()(vd x, vd& mark) const {
        const vd res = power_plain(x, e, reciprocal);
        mark = SD::bit_or(lanes::not_positive_normal(SD::abs(x)), lanes::not_positive_normal(SD::abs(res)));
        return res;
    }
};

struct SinglePowInt : PowxBase<float> {
    uint64_t e;
    bool reciprocal;
    [[gnu::always_inline]] vf operator()(vf x, vf& mark) const {
        const vf res = lanes::narrow(power_plain(lanes::low_half(x), e, reciprocal),
                                     power_plain(lanes::high_half(x), e, reciprocal));
        mark = SF::bit_or(zero_or_nonfinite(SF::abs(x)), lanes::not_positive_normal(SF::abs(res)));
        return res;
    }
};

template <Acc A>
struct DoublePowxGeneral : PowxBase<double> {
    [[gnu::always_inline]] vd operator()(vd x, vd& mark) const { return DoublePow<Kind::Pow, A>{}(x, SD::set1(b), mark); }
};

template <Acc A>
struct SinglePowxGeneral : PowxBase<float> {
    [[gnu::always_inline]] vf operator()(vf x, vf& mark) const { return SinglePow<Kind::Pow, A>{}(x, SF::set1(b), mark); }
};

inline constexpr double kMaxPlainPower = 0x1p20;
inline constexpr int kMaxDoubleDoubleSteps = 6;

// The method of the kernels: picks the Op for the exponent b and hands it
// to go.
template <class Real, Acc A>
struct PowxMethod {
    static constexpr bool kSingle = std::is_same_v<Real, float>;

    template <class Go>
    void operator()(Go&& go, Real b) const {
        if (b == Real(0)) return go(PowxOne<Real>{{b}});
        if (b == Real(1)) return go(PowxIdentity<Real>{{b}});
        if (b == Real(0.5)) return go(PowxSqrt<Real>{{b}});
        if (std::trunc(b) == b && std::fabs(b) <= Real(kMaxPlainPower)) {
            const uint64_t e = uint64_t(std::fabs(b));
            if constexpr (kSingle) {
                return go(SinglePowInt{{b}, e, b < 0});
            } else {
                if (A == Acc::EP) return go(DoublePowIntPlain{{b}, e, b < 0});
                if (power_steps(e) + (b < 0) <= kMaxDoubleDoubleSteps) return go(DoublePowIntDD{{b}, e, b < 0});
            }
        }
        if constexpr (kSingle) go(SinglePowxGeneral<A>{{b}});
        else go(DoublePowxGeneral<A>{{b}});
    }
};

}  // namespace qor::vm::pow_core
