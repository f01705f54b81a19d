// MPFR references for the roots MPFR has no single function for, composed
// at 32 extra bits so that the final rounding is the only one that counts.
#pragma once

#include <mpfr.h>

namespace qor::test {

inline int mpfr_inv_cbrt(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    mpfr_t t;
    mpfr_init2(t, mpfr_get_prec(r) + 32);
    mpfr_cbrt(t, x, MPFR_RNDN);
    const int s = mpfr_ui_div(r, 1, t, rnd);
    mpfr_clear(t);
    return s;
}

inline int mpfr_pow2o3(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    mpfr_t t;
    mpfr_init2(t, mpfr_get_prec(r) + 32);
    mpfr_cbrt(t, x, MPFR_RNDN);
    const int s = mpfr_sqr(r, t, rnd);
    mpfr_clear(t);
    return s;
}

inline int mpfr_pow3o2(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    mpfr_t e;
    mpfr_init2(e, 8);
    mpfr_set_d(e, 1.5, MPFR_RNDN);
    const int s = mpfr_pow(r, x, e, rnd);
    mpfr_clear(e);
    return s;
}

}  // namespace qor::test
