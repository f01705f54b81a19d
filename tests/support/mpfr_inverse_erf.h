// MPFR references for the inverse error functions and the normal quantile,
// which MPFR lacks.
#pragma once

#include <mpfr.h>

#include <cmath>

namespace qor::test {

// The inverses of erf, erfc and the normal distribution, which MPFR lacks:
// the equations solved by Newton's method at 40 bits beyond the result's
// precision, from a start refined in double.  Below 1/2 erf(y) = x itself;
// in the tails ln erfc(y) = ln q, nearly linear in y^2, so that q down to
// the smallest subnormal converges as fast as the rest.
inline void solve_erf(mpfr_ptr y, mpfr_srcptr x) {  // 0 <= x <= 1/2
    const double xd = mpfr_get_d(x, MPFR_RNDN);
    double y0 = xd * 0.886226925452758;
    for (int i = 0; i < 4; ++i) y0 -= (std::erf(y0) - xd) / (1.1283791670955126 * std::exp(-y0 * y0));
    const mpfr_prec_t w = mpfr_get_prec(y) + 40;
    mpfr_t t, f, d;
    mpfr_inits2(w, t, f, d, (mpfr_ptr)nullptr);
    mpfr_set_d(t, y0, MPFR_RNDN);
    for (int i = 0; i < 60; ++i) {
        mpfr_erf(f, t, MPFR_RNDN);
        mpfr_sub(f, f, x, MPFR_RNDN);
        mpfr_sqr(d, t, MPFR_RNDN);
        mpfr_neg(d, d, MPFR_RNDN);
        mpfr_exp(d, d, MPFR_RNDN);
        mpfr_mul_d(d, d, 1.1283791670955126, MPFR_RNDN);  // 2/sqrt(pi): the step's slope need not be exact
        mpfr_div(f, f, d, MPFR_RNDN);
        mpfr_sub(t, t, f, MPFR_RNDN);
        if (mpfr_zero_p(f) || mpfr_get_exp(f) < mpfr_get_exp(t) - mpfr_exp_t(w)) break;
    }
    mpfr_set(y, t, MPFR_RNDN);
    mpfr_clears(t, f, d, (mpfr_ptr)nullptr);
}

inline void solve_erfc(mpfr_ptr y, mpfr_srcptr q) {  // 0 < q <= 1/2
    const mpfr_prec_t w = mpfr_get_prec(y) + 40;
    mpfr_t t, f, d, lq;
    mpfr_inits2(w, t, f, d, lq, (mpfr_ptr)nullptr);
    mpfr_log(lq, q, MPFR_RNDN);
    const double lqd = mpfr_get_d(lq, MPFR_RNDN);
    double y0 = std::sqrt(-lqd);
    for (int i = 0; i < 6; ++i) {
        const double e = std::erfc(y0);
        if (!(e > 0x1p-1000)) break;
        y0 += (std::log(e) - lqd) * e / (1.1283791670955126 * std::exp(-y0 * y0));
    }
    mpfr_set_d(t, y0, MPFR_RNDN);
    for (int i = 0; i < 60; ++i) {  // t += (ln erfc t - ln q) erfc(t) e^(t^2) sqrt(pi)/2
        mpfr_erfc(d, t, MPFR_RNDN);
        mpfr_log(f, d, MPFR_RNDN);
        mpfr_sub(f, f, lq, MPFR_RNDN);
        mpfr_mul(f, f, d, MPFR_RNDN);
        mpfr_sqr(d, t, MPFR_RNDN);
        mpfr_exp(d, d, MPFR_RNDN);
        mpfr_mul(f, f, d, MPFR_RNDN);
        mpfr_mul_d(f, f, 0.886226925452758, MPFR_RNDN);
        mpfr_add(t, t, f, MPFR_RNDN);
        if (mpfr_zero_p(f) || mpfr_get_exp(f) < mpfr_get_exp(t) - mpfr_exp_t(w)) break;
    }
    mpfr_set(y, t, MPFR_RNDN);
    mpfr_clears(t, f, d, lq, (mpfr_ptr)nullptr);
}

// erfcinv r for 0 < r <= 1 into y (positive).
inline void erfcinv_upper(mpfr_ptr y, mpfr_srcptr r) {
    if (mpfr_cmp_d(r, 0.5) < 0) return solve_erfc(y, r);
    mpfr_t x;
    mpfr_init2(x, 128);
    mpfr_ui_sub(x, 1, r, MPFR_RNDN);  // exact
    solve_erf(y, x);
    mpfr_clear(x);
}

inline int mpfr_erfinv(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t rnd) {
    if (mpfr_nan_p(x) || mpfr_cmpabs_ui(x, 1) > 0) return mpfr_set_nan(y), 0;
    if (mpfr_cmpabs_ui(x, 1) == 0) return mpfr_set_inf(y, mpfr_sgn(x)), 0;
    if (mpfr_zero_p(x)) return mpfr_set(y, x, rnd);
    mpfr_t a, t;
    mpfr_init2(a, 128);
    mpfr_init2(t, mpfr_get_prec(y) + 8);
    mpfr_abs(a, x, MPFR_RNDN);
    if (mpfr_cmp_d(a, 0.5) < 0) {
        solve_erf(t, a);
    } else {
        mpfr_ui_sub(a, 1, a, MPFR_RNDN);  // exact
        solve_erfc(t, a);
    }
    if (mpfr_sgn(x) < 0) mpfr_neg(t, t, MPFR_RNDN);
    const int r = mpfr_set(y, t, rnd);
    mpfr_clears(a, t, (mpfr_ptr)nullptr);
    return r;
}

inline int mpfr_erfcinv(mpfr_ptr y, mpfr_srcptr q, mpfr_rnd_t rnd) {
    if (mpfr_nan_p(q) || mpfr_sgn(q) < 0 || mpfr_cmp_ui(q, 2) > 0) return mpfr_set_nan(y), 0;
    if (mpfr_zero_p(q)) return mpfr_set_inf(y, 1), 0;
    if (mpfr_cmp_ui(q, 2) == 0) return mpfr_set_inf(y, -1), 0;
    if (mpfr_cmp_ui(q, 1) == 0) return mpfr_set_zero(y, 1), 0;
    mpfr_t r, t;
    mpfr_init2(r, 128);
    mpfr_init2(t, mpfr_get_prec(y) + 8);
    const bool upper = mpfr_cmp_ui(q, 1) > 0;
    if (upper) mpfr_ui_sub(r, 2, q, MPFR_RNDN);  // exact
    else mpfr_set(r, q, MPFR_RNDN);
    erfcinv_upper(t, r);
    if (upper) mpfr_neg(t, t, MPFR_RNDN);
    const int s = mpfr_set(y, t, rnd);
    mpfr_clears(r, t, (mpfr_ptr)nullptr);
    return s;
}

// The normal quantile: -sqrt 2 erfcinv(2p), +0 at p = 1/2.
inline int mpfr_cdfnorminv(mpfr_ptr y, mpfr_srcptr p, mpfr_rnd_t rnd) {
    if (mpfr_nan_p(p) || mpfr_sgn(p) < 0 || mpfr_cmp_ui(p, 1) > 0) return mpfr_set_nan(y), 0;
    if (mpfr_zero_p(p) || mpfr_cmp_ui(p, 1) == 0) return mpfr_set_inf(y, mpfr_zero_p(p) ? -1 : 1), 0;
    mpfr_t q, t, s;
    mpfr_init2(q, 128);
    mpfr_inits2(mpfr_get_prec(y) + 16, t, s, (mpfr_ptr)nullptr);
    mpfr_mul_2ui(q, p, 1, MPFR_RNDN);
    mpfr_erfcinv(t, q, MPFR_RNDN);
    mpfr_sqrt_ui(s, 2, MPFR_RNDN);
    mpfr_mul(t, t, s, MPFR_RNDN);
    const int r = mpfr_zero_p(t) ? mpfr_set_zero(y, 1), 0 : mpfr_neg(y, t, rnd);
    mpfr_clears(q, t, s, (mpfr_ptr)nullptr);
    return r;
}

}  // namespace qor::test
