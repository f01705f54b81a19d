#include "vm_accuracy.h"

#include <mpfr.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "mpfr_inverse_erf.h"
#include "mpfr_roots.h"
#include "qor/qor_vm.h"

namespace qor::test {
namespace {

// ---- references that MPFR lacks or defines otherwise -----------------------
// logb(x) = floor(log2 |x|), exact: MPFR's exponent less one.
int mpfr_logb(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t) {
    if (mpfr_nan_p(x)) return mpfr_set_nan(y), 0;
    if (mpfr_inf_p(x)) return mpfr_set_inf(y, 1), 0;
    if (mpfr_zero_p(x)) return mpfr_set_inf(y, -1), 0;
    return mpfr_set_si(y, long(mpfr_get_exp(x)) - 1, MPFR_RNDN);
}

// E1(x) = -Ei(-x) for x > 0.
int mpfr_e1(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t rnd) {
    if (mpfr_nan_p(x) || mpfr_sgn(x) < 0) return mpfr_set_nan(y), 0;
    if (mpfr_zero_p(x)) return mpfr_set_inf(y, 1), 0;
    if (mpfr_inf_p(x)) return mpfr_set_zero(y, 1), 0;
    mpfr_t t;
    mpfr_init2(t, mpfr_get_prec(y) + 32);
    mpfr_neg(t, x, MPFR_RNDN);
    mpfr_eint(t, t, MPFR_RNDN);
    const int r = mpfr_neg(y, t, rnd);
    mpfr_clear(t);
    return r;
}

// ln|Gamma(x)|: +inf at the poles.
int mpfr_ln_abs_gamma(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t rnd) {
    int sign;
    return mpfr_lgamma(y, &sign, x, rnd);
}

// I0 and I1 by the power series sum (x^2/4)^k / (k! (k + nu)!), times x/2
// for I1: every term positive, so no cancellation, and guard bits cover the
// rounding of a thousand terms.
int mpfr_bessel_i(mpfr_ptr y, mpfr_srcptr x, int nu, mpfr_rnd_t rnd) {
    if (mpfr_nan_p(x)) return mpfr_set_nan(y), 0;
    if (mpfr_inf_p(x)) return nu == 0 ? (mpfr_set_inf(y, 1), 0) : mpfr_set(y, x, rnd);
    if (mpfr_zero_p(x)) return nu == 0 ? mpfr_set_ui(y, 1, rnd) : mpfr_set(y, x, rnd);
    if (mpfr_cmpabs_ui(x, 1000) > 0) return mpfr_set_inf(y, nu == 0 ? 1 : mpfr_sgn(x)), 0;  // past every format
    const mpfr_prec_t prec = mpfr_get_prec(y) + 40;
    mpfr_t t, term, sum;
    mpfr_inits2(prec, t, term, sum, (mpfr_ptr)nullptr);
    mpfr_sqr(t, x, MPFR_RNDN);
    mpfr_div_2ui(t, t, 2, MPFR_RNDN);
    mpfr_set_ui(term, 1, MPFR_RNDN);
    mpfr_set_ui(sum, 1, MPFR_RNDN);
    for (unsigned long k = 1;; ++k) {
        mpfr_mul(term, term, t, MPFR_RNDN);
        mpfr_div_ui(term, term, k * (k + unsigned(nu)), MPFR_RNDN);
        mpfr_add(sum, sum, term, MPFR_RNDN);
        if (mpfr_cmp_ui(t, k * k) < 0 && mpfr_get_exp(term) < mpfr_get_exp(sum) - prec) break;
    }
    if (nu == 1) {
        mpfr_mul(sum, sum, x, MPFR_RNDN);
        mpfr_div_2ui(sum, sum, 1, MPFR_RNDN);
    }
    const int r = mpfr_set(y, sum, rnd);
    mpfr_clears(t, term, sum, (mpfr_ptr)nullptr);
    return r;
}

// 1/sqrt(x) with 1/sqrt(-0) = -inf.
int mpfr_inv_sqrt(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t rnd) {
    if (mpfr_zero_p(x)) return mpfr_set_inf(y, mpfr_signbit(x) ? -1 : 1), 0;
    return mpfr_rec_sqrt(y, x, rnd);
}

// powr: pow on x >= 0; NaN for a negative or NaN base, a NaN exponent,
// 0^0, inf^0 and 1^inf; powr(-0, y) is powr(+0, y).
int mpfr_powr(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y, mpfr_rnd_t rnd) {
    if (mpfr_nan_p(x) || mpfr_nan_p(y) || mpfr_sgn(x) < 0 || (mpfr_zero_p(x) && mpfr_zero_p(y)) ||
        (mpfr_inf_p(x) && mpfr_zero_p(y)) || (mpfr_cmp_ui(x, 1) == 0 && mpfr_inf_p(y)))
        return mpfr_set_nan(r), 0;
    if (!mpfr_zero_p(x)) return mpfr_pow(r, x, y, rnd);
    mpfr_t z;
    mpfr_init2(z, 2);
    mpfr_set_zero(z, 1);
    const int t = mpfr_pow(r, z, y, rnd);
    mpfr_clear(z);
    return t;
}

// Degree forms: the period-360 functions of MPFR.
int mpfr_sind(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_sinu(r, x, 360, m); }
int mpfr_cosd(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_cosu(r, x, 360, m); }
int mpfr_tand(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_tanu(r, x, 360, m); }

// Degree and pi-scaled forms in double for the sweep over every float: the
// argument is folded exactly to |r| <= 90 (or 1/2), where a zero of the
// sine lies only at r = 0 and the rounding of r pi/180 stays relative.
double sin_folded(double x, double half_turn) {
    double r = std::remainder(x, 2 * half_turn);  // exact, |r| <= half_turn
    if (r > half_turn / 2) r = half_turn - r;
    else if (r < -half_turn / 2) r = -half_turn - r;
    return std::sin(r * (M_PI / half_turn));
}
double cos_folded(double x, double half_turn) {  // cos t = sin(quarter - |t|)
    return sin_folded(half_turn / 2 - std::fabs(std::remainder(x, 2 * half_turn)), half_turn);
}

// erfcx(x) = e^(x^2) erfc(x); past 10^4, where erfc would leave MPFR's
// exponent range, by its asymptotic series 1/(x sqrt pi) sum (-1)^k
// (2k-1)!!/(2x^2)^k, whose terms there fall by 10^-7 and more each.
int mpfr_erfcx(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t rnd) {
    if (mpfr_nan_p(x)) return mpfr_set_nan(y), 0;
    if (mpfr_inf_p(x)) return mpfr_sgn(x) > 0 ? (mpfr_set_zero(y, 1), 0) : (mpfr_set_inf(y, 1), 0);
    const mpfr_prec_t p = mpfr_get_prec(y) + 64;
    mpfr_t a, b;
    mpfr_inits2(p, a, b, (mpfr_ptr)nullptr);
    if (mpfr_cmp_ui(x, 10000) > 0) {
        mpfr_sqr(b, x, MPFR_RNDN);
        mpfr_mul_2ui(b, b, 1, MPFR_RNDN);  // 2 x^2
        mpfr_set_ui(a, 1, MPFR_RNDN);
        mpfr_t term;
        mpfr_init2(term, p);
        mpfr_set_ui(term, 1, MPFR_RNDN);
        for (unsigned k = 1; k <= 16; ++k) {
            mpfr_mul_si(term, term, -long(2 * k - 1), MPFR_RNDN);
            mpfr_div(term, term, b, MPFR_RNDN);
            mpfr_add(a, a, term, MPFR_RNDN);
        }
        mpfr_const_pi(b, MPFR_RNDN);
        mpfr_sqrt(b, b, MPFR_RNDN);
        mpfr_mul(b, b, x, MPFR_RNDN);
        mpfr_clear(term);
        const int r = mpfr_div(y, a, b, rnd);
        mpfr_clears(a, b, (mpfr_ptr)nullptr);
        return r;
    }
    mpfr_sqr(a, x, MPFR_RNDN);
    mpfr_exp(a, a, MPFR_RNDN);
    mpfr_erfc(b, x, MPFR_RNDN);
    const int r = mpfr_mul(y, a, b, rnd);
    mpfr_clears(a, b, (mpfr_ptr)nullptr);
    return r;
}

// The normal distribution function erfc(-x/sqrt 2)/2.
int mpfr_cdfnorm(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t rnd) {
    mpfr_t t;
    mpfr_init2(t, mpfr_get_prec(y) + 64);
    mpfr_sqrt_ui(t, 2, MPFR_RNDN);
    mpfr_div(t, x, t, MPFR_RNDN);
    mpfr_neg(t, t, MPFR_RNDN);
    mpfr_erfc(t, t, MPFR_RNDN);
    const int r = mpfr_div_2ui(y, t, 1, rnd);
    mpfr_clear(t);
    return r;
}

// A function whose zeros lie at irrational points (Bessel functions, lgamma
// left of 1) cannot be held to ulps of the result right at a zero: where the
// exact value is smaller than `floor` (per precision: float, double), errors
// count in ulps of the floor instead, an absolute bound there.  Zero keeps
// every error relative.  The floor applies only to arguments below
// `floor_below` (lgamma's zeros left of 0, not those at 1 and 2).
struct Reference {
    MpfrUnary unary = nullptr;
    MpfrBinary binary = nullptr;
    double floor[2] = {0, 0};
    double floor_below = std::numeric_limits<double>::infinity();
    double floor_at(bool is_double, double x) const { return x < floor_below ? floor[is_double] : 0.0; }
};

// J and Y of an integer order b (by |b|, with J_-n = (-1)^n J_n, where
// MPFR is far quicker); NaN for any other order.
template <int (*F)(mpfr_ptr, long, mpfr_srcptr, mpfr_rnd_t)>
int mpfr_bessel_order(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr b, mpfr_rnd_t rnd) {
    if (!mpfr_integer_p(b)) return mpfr_set_nan(r), 0;
    const long n = mpfr_get_si(b, MPFR_RNDN);
    const int t = F(r, n < 0 ? -n : n, x, rnd);
    if (n < 0 && (n & 1)) mpfr_neg(r, r, rnd);
    return t;
}

const std::map<std::string_view, Reference>& references() {
    static const std::map<std::string_view, Reference> table = {
        {"Exp", {mpfr_exp}},         {"Exp2", {mpfr_exp2}},       {"Exp10", {mpfr_exp10}},
        {"Expm1", {mpfr_expm1}},     {"Ln", {mpfr_log}},          {"Log2", {mpfr_log2}},
        {"Log10", {mpfr_log10}},     {"Log1p", {mpfr_log1p}},     {"Logb", {mpfr_logb}},
        {"ExpInt1", {mpfr_e1}},      {"Cbrt", {mpfr_cbrt}},       {"InvCbrt", {mpfr_inv_cbrt}},
        // Zeros of the Bessel functions: absolute below 2^-30 (float), 2^-20 (double).
        {"J0", {mpfr_j0, nullptr, {0x1p-30, 0x1p-20}}}, {"J1", {mpfr_j1, nullptr, {0x1p-30, 0x1p-20}}},
        {"Y0", {mpfr_y0, nullptr, {0x1p-30, 0x1p-20}}}, {"Y1", {mpfr_y1, nullptr, {0x1p-30, 0x1p-20}}},
        {"Jn", {nullptr, mpfr_bessel_order<mpfr_jn>, {0x1p-30, 0x1p-8}}},
        {"Yn", {nullptr, mpfr_bessel_order<mpfr_yn>, {0x1p-30, 0x1p-8}}},
        {"Pow2o3", {mpfr_pow2o3}},   {"Pow3o2", {mpfr_pow3o2}},   {"InvSqrt", {mpfr_inv_sqrt}},
        {"Sqrt", {mpfr_sqrt}},       {"Sqr", {mpfr_sqr}},
        {"Inv", {[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_ui_div(r, 1, x, m); }}},
        {"Ceil", {[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t) { return mpfr_ceil(r, x); }}},
        {"Floor", {[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t) { return mpfr_floor(r, x); }}},
        {"Trunc", {[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t) { return mpfr_trunc(r, x); }}},
        {"Round", {[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t) { return mpfr_round(r, x); }}},
        {"Rint", {[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t) { return mpfr_rint(r, x, MPFR_RNDN); }}},
        {"NearbyInt", {[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t) { return mpfr_rint(r, x, MPFR_RNDN); }}},
        {"Add", {nullptr, mpfr_add}}, {"Sub", {nullptr, mpfr_sub}}, {"Mul", {nullptr, mpfr_mul}},
        {"Div", {nullptr, mpfr_div}}, {"Fmod", {nullptr, mpfr_fmod}}, {"Remainder", {nullptr, mpfr_remainder}},
        {"Hypot", {nullptr, mpfr_hypot}}, {"Pow", {nullptr, mpfr_pow}}, {"Powx", {nullptr, mpfr_pow}},
        {"Powr", {nullptr, mpfr_powr}},
        {"Sin", {mpfr_sin}},         {"Cos", {mpfr_cos}},         {"Tan", {mpfr_tan}},
        {"Sind", {mpfr_sind}},       {"Cosd", {mpfr_cosd}},       {"Tand", {mpfr_tand}},
        {"Sinpi", {mpfr_sinpi}},     {"Cospi", {mpfr_cospi}},     {"Tanpi", {mpfr_tanpi}},
        {"Sinh", {mpfr_sinh}},       {"Cosh", {mpfr_cosh}},       {"Tanh", {mpfr_tanh}},
        {"Asin", {mpfr_asin}},       {"Acos", {mpfr_acos}},       {"Atan", {mpfr_atan}},
        {"Asinpi", {mpfr_asinpi}},   {"Acospi", {mpfr_acospi}},   {"Atanpi", {mpfr_atanpi}},
        {"Asinh", {mpfr_asinh}},     {"Acosh", {mpfr_acosh}},     {"Atanh", {mpfr_atanh}},
        {"Atan2", {nullptr, mpfr_atan2}}, {"Atan2pi", {nullptr, mpfr_atan2pi}},
        {"Erf", {mpfr_erf}},         {"Erfc", {mpfr_erfc}},       {"Erfcx", {mpfr_erfcx}},
        {"CdfNorm", {mpfr_cdfnorm}},
        {"ErfInv", {mpfr_erfinv}},   {"ErfcInv", {mpfr_erfcinv}}, {"CdfNormInv", {mpfr_cdfnorminv}},
        {"I0", {[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_bessel_i(r, x, 0, m); }}},
        {"I1", {[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_bessel_i(r, x, 1, m); }}},
        {"TGamma", {mpfr_gamma}},    {"LGamma", {mpfr_ln_abs_gamma, nullptr, {0, 0x1p-2}, 0.0}},
    };
    return table;
}

// Double-precision references for the sweep over every float: each within
// about a double ulp of the exact value (the C library's functions, exact
// double operations, and the double kernels of the functions the C library
// lacks, whose own sweeps hold them to one ulp against MPFR).
using DoubleReference = double (*)(double);

double double_kernel(void (*k)(int, const double*, double*), double x) {
    double r;
    k(1, &x, &r);
    return r;
}

const std::map<std::string_view, DoubleReference>& double_references() {
    static const std::map<std::string_view, DoubleReference> table = {
        {"Exp", [](double x) { return std::exp(x); }},       {"Exp2", [](double x) { return std::exp2(x); }},
        {"Exp10", [](double x) { return std::pow(10.0, x); }}, {"Expm1", [](double x) { return std::expm1(x); }},
        {"Ln", [](double x) { return std::log(x); }},        {"Log2", [](double x) { return std::log2(x); }},
        {"Log10", [](double x) { return std::log10(x); }},   {"Log1p", [](double x) { return std::log1p(x); }},
        {"Logb", [](double x) { return std::logb(x); }},     {"Cbrt", [](double x) { return std::cbrt(x); }},
        {"InvCbrt", [](double x) { return 1 / std::cbrt(x); }},
        {"Pow2o3", [](double x) { return std::cbrt(x * x); }},  // x * x is exact for a float x
        {"Pow3o2", [](double x) { return std::pow(x, 1.5); }},
        {"InvSqrt", [](double x) { return 1 / std::sqrt(x); }}, {"Sqrt", [](double x) { return std::sqrt(x); }},
        {"Sqr", [](double x) { return x * x; }},             {"Inv", [](double x) { return 1 / x; }},
        {"J0", [](double x) { return ::j0(x); }},            {"J1", [](double x) { return ::j1(x); }},
        {"Y0", [](double x) { return ::y0(x); }},            {"Y1", [](double x) { return ::y1(x); }},
        {"Ceil", [](double x) { return std::ceil(x); }},     {"Floor", [](double x) { return std::floor(x); }},
        {"Trunc", [](double x) { return std::trunc(x); }},   {"Round", [](double x) { return std::round(x); }},
        {"Rint", [](double x) { return std::nearbyint(x); }}, {"NearbyInt", [](double x) { return std::nearbyint(x); }},
        {"ExpInt1", [](double x) {
             double r;
             QOR_VM_HA_ENTRY(d, ExpInt1)(1, &x, &r);
             return r;
         }},
        {"Sin", [](double x) { return std::sin(x); }},     {"Cos", [](double x) { return std::cos(x); }},
        {"Tan", [](double x) { return std::tan(x); }},
        {"Sind", [](double x) { return sin_folded(x, 180); }}, {"Cosd", [](double x) { return cos_folded(x, 180); }},
        {"Tand", [](double x) { return sin_folded(x, 180) / cos_folded(x, 180); }},
        {"Sinpi", [](double x) { return sin_folded(x, 1); }}, {"Cospi", [](double x) { return cos_folded(x, 1); }},
        {"Tanpi", [](double x) { return sin_folded(x, 1) / cos_folded(x, 1); }},
        {"Sinh", [](double x) { return std::sinh(x); }},   {"Cosh", [](double x) { return std::cosh(x); }},
        {"Tanh", [](double x) { return std::tanh(x); }},   {"Asin", [](double x) { return std::asin(x); }},
        {"Acos", [](double x) { return std::acos(x); }},   {"Atan", [](double x) { return std::atan(x); }},
        {"Asinpi", [](double x) { return std::asin(x) / M_PI; }}, {"Acospi", [](double x) { return std::acos(x) / M_PI; }},
        {"Atanpi", [](double x) { return std::atan(x) / M_PI; }}, {"Asinh", [](double x) { return std::asinh(x); }},
        {"Acosh", [](double x) { return std::acosh(x); }}, {"Atanh", [](double x) { return std::atanh(x); }},
        {"Erf", [](double x) { return std::erf(x); }},     {"Erfc", [](double x) { return std::erfc(x); }},
        {"Erfcx", [](double x) { return double_kernel(QOR_VM_HA_ENTRY(d, Erfcx), x); }},
        {"CdfNorm", [](double x) { return double_kernel(QOR_VM_HA_ENTRY(d, CdfNorm), x); }},
        {"ErfInv", [](double x) { return double_kernel(QOR_VM_HA_ENTRY(d, ErfInv), x); }},
        {"ErfcInv", [](double x) { return double_kernel(QOR_VM_HA_ENTRY(d, ErfcInv), x); }},
        {"CdfNormInv", [](double x) { return double_kernel(QOR_VM_HA_ENTRY(d, CdfNormInv), x); }},
        {"TGamma", [](double x) { return double_kernel(QOR_VM_HA_ENTRY(d, TGamma), x); }},
        {"I0", [](double x) { return double_kernel(QOR_VM_HA_ENTRY(d, I0), x); }},
        {"I1", [](double x) { return double_kernel(QOR_VM_HA_ENTRY(d, I1), x); }},
        {"LGamma", [](double x) { return double_kernel(QOR_VM_HA_ENTRY(d, LGamma), x); }},
    };
    return table;
}

// ---- running an entry point -------------------------------------------------
template <class T>
bool same_bits(T a, T b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Calls kernel k on the n arguments; strided forms read x at increment 2,
// y at 3 and write at 2 (scalar kind: x at 2, r at 3), and a scalar kernel
// is called once per run of equal exponents.
template <class T, class K>
void call(K k, std::size_t n, const T* x, const T* y, T* r) {
    using Unary = void (*)(int, const T*, T*);
    using UnaryI = void (*)(int, const T*, int, T*, int);
    using Binary = void (*)(int, const T*, const T*, T*);
    using BinaryI = void (*)(int, const T*, int, const T*, int, T*, int);
    using Scalar = void (*)(int, const T*, T, T*);
    using ScalarI = void (*)(int, const T*, int, T, T*, int);
    constexpr bool strided = std::is_same_v<K, UnaryI> || std::is_same_v<K, BinaryI> || std::is_same_v<K, ScalarI>;
    std::vector<T> xs(strided ? 2 * n + 1 : 0), ys(strided ? 3 * n + 1 : 0), rs(strided ? 3 * n + 1 : 0);
    if constexpr (strided)
        for (std::size_t i = 0; i < n; ++i) xs[2 * i] = x[i];
    if constexpr (std::is_same_v<K, Unary>) {
        k(int(n), x, r);
    } else if constexpr (std::is_same_v<K, UnaryI>) {
        k(int(n), xs.data(), 2, rs.data(), 2);
        for (std::size_t i = 0; i < n; ++i) r[i] = rs[2 * i];
    } else if constexpr (std::is_same_v<K, Binary>) {
        k(int(n), x, y, r);
    } else if constexpr (std::is_same_v<K, BinaryI>) {
        for (std::size_t i = 0; i < n; ++i) ys[3 * i] = y[i];
        k(int(n), xs.data(), 2, ys.data(), 3, rs.data(), 2);
        for (std::size_t i = 0; i < n; ++i) r[i] = rs[2 * i];
    } else {
        static_assert(std::is_same_v<K, Scalar> || std::is_same_v<K, ScalarI>);
        for (std::size_t at = 0, end; at < n; at = end) {
            for (end = at + 1; end < n && same_bits(y[end], y[at]);) ++end;
            if constexpr (std::is_same_v<K, Scalar>) k(int(end - at), x + at, y[at], r + at);
            else k(int(end - at), xs.data() + 2 * at, 2, y[at], rs.data() + 3 * at, 3);
        }
        if constexpr (std::is_same_v<K, ScalarI>)
            for (std::size_t i = 0; i < n; ++i) r[i] = rs[3 * i];
    }
}

template <class T, auto La, auto Ha, auto Ep, auto LaI, auto HaI, auto EpI>
void run_row(int slot, bool strided, std::size_t n, const void* x, const void* y, void* r) {
    const T* a = static_cast<const T*>(x);
    const T* b = static_cast<const T*>(y);
    T* out = static_cast<T*>(r);
    switch (slot + (strided ? 3 : 0)) {
        case 0: call<T>(La, n, a, b, out); break;
        case 1: call<T>(Ha, n, a, b, out); break;
        case 2: call<T>(Ep, n, a, b, out); break;
        case 3: call<T>(LaI, n, a, b, out); break;
        case 4: call<T>(HaI, n, a, b, out); break;
        default: call<T>(EpI, n, a, b, out); break;
    }
}

// ---- the table, generated from the row list ---------------------------------
struct RowBounds {
    std::string_view name;
    double bound[3];
};

constexpr RowBounds kBounds[] = {
#define QOR_VM_ROW(p, Fn, kind, share, on, cost, la, ha, ep, domain) {#p #Fn, {la, ha, ep}},
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
};

constexpr RowBounds bounds_of(std::string_view row) {
    for (const RowBounds& b : kBounds)
        if (b.name == row) return b;
    return {row, {-1, -1, -1}};
}

#define QOR_ACC_REAL_s 1
#define QOR_ACC_REAL_d 1
#define QOR_ACC_REAL_c 0
#define QOR_ACC_REAL_z 0
#define QOR_ACC_IF_REAL(p, ...) QOR_ACC_IF_REAL_(QOR_ACC_REAL_##p, __VA_ARGS__)
#define QOR_ACC_IF_REAL_(c, ...) QOR_VM_IF_ON(c, __VA_ARGS__)
// Kinds swept, and whether they take a second argument.
#define QOR_ACC_SWEPT_unary 1
#define QOR_ACC_SWEPT_binary 1
#define QOR_ACC_SWEPT_scalar 1
#define QOR_ACC_SWEPT_unary_i 0
#define QOR_ACC_SWEPT_binary_i 0
#define QOR_ACC_SWEPT_scalar_i 0
#define QOR_ACC_SWEPT_two_out 0
#define QOR_ACC_SWEPT_two_out_i 0
#define QOR_ACC_SWEPT_linfrac 0
#define QOR_ACC_SWEPT_linfrac_i 0
#define QOR_ACC_SWEPT_c2r 0
#define QOR_ACC_SWEPT_c2r_i 0
#define QOR_ACC_SWEPT_r2c 0
#define QOR_ACC_SWEPT_r2c_i 0
#define QOR_ACC_SWEPT_pack_i 0
#define QOR_ACC_SWEPT_pack_v 0
#define QOR_ACC_SWEPT_pack_m 0
#define QOR_ACC_SWEPT_unpack_i 0
#define QOR_ACC_SWEPT_unpack_v 0
#define QOR_ACC_SWEPT_unpack_m 0
#define QOR_ACC_IF_SWEPT(kind, ...) QOR_ACC_IF_SWEPT_(QOR_ACC_SWEPT_##kind, __VA_ARGS__)
#define QOR_ACC_IF_SWEPT_(c, ...) QOR_VM_IF_ON(c, __VA_ARGS__)
#define QOR_ACC_TWO_unary false
#define QOR_ACC_TWO_binary true
#define QOR_ACC_TWO_scalar true

#define QOR_ACC_ENTRY(p, Fn, kind, la, ha, ep, domain)                                                      \
    {#p #Fn, #Fn, #p[0], Domain::domain, QOR_ACC_TWO_##kind, {la, ha, ep}, {QOR_ACC_STRIDED_BOUNDS(p, Fn)}, \
     &run_row<QOR_VM_T_##p, &QOR_VM_LA_ENTRY(p, Fn), &QOR_VM_HA_ENTRY(p, Fn), &QOR_VM_EP_ENTRY(p, Fn),      \
              &QOR_VM_LA_ENTRY(p, Fn##I), &QOR_VM_HA_ENTRY(p, Fn##I), &QOR_VM_EP_ENTRY(p, Fn##I)>},
#define QOR_ACC_STRIDED_BOUNDS(p, Fn) \
    bounds_of(#p #Fn "I").bound[0], bounds_of(#p #Fn "I").bound[1], bounds_of(#p #Fn "I").bound[2]

const AccuracyRow kRows[] = {
#define QOR_VM_ROW(p, Fn, kind, share, on, cost, la, ha, ep, domain) \
    QOR_VM_IF_ON(on, QOR_ACC_IF_REAL(p, QOR_ACC_IF_SWEPT(kind, QOR_ACC_ENTRY(p, Fn, kind, la, ha, ep, domain))))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
};

// ---- measuring --------------------------------------------------------------
template <class T>
void set_value(mpfr_ptr v, T x) {
    if constexpr (sizeof(T) == 4) mpfr_set_flt(v, x, MPFR_RNDN);
    else mpfr_set_d(v, x, MPFR_RNDN);
}

void note(WorstCase& w, double err, double bound, double x, double y, double got, double want) {
    if (std::isnan(err)) err = std::numeric_limits<double>::infinity();
    ++w.count;
    if (err > bound) ++w.above;
    if (w.count == 1 || err > w.ulps) {
        w.ulps = err;
        w.arg = x;
        w.arg2 = y;
        w.got = got;
        w.want = want;
    }
}

// |got - exact| in ulps of T at the magnitude `floor`.
template <class T>
double floored_error(T got, mpfr_srcptr exact, double floor) {
    mpfr_t d;
    mpfr_init2(d, 256);
    mpfr_sub_d(d, exact, double(got), MPFR_RNDN);
    const double err = std::fabs(std::ldexp(mpfr_get_d(d, MPFR_RNDN), std::numeric_limits<T>::digits - std::ilogb(floor) - 1));
    mpfr_clear(d);
    return err;
}

// Error of a result against the exact value; against correct rounding
// (bound 0.5) a tie must go to the even neighbour.
template <class T>
double judged_error(T got, mpfr_srcptr exact, double bound, double floor = 0) {
    if (floor > 0 && mpfr_number_p(exact) && std::isfinite(got) && std::fabs(mpfr_get_d(exact, MPFR_RNDN)) < floor)
        return floored_error<T>(got, exact, floor);
    const double err = ulp_error<T>(got, exact);
    if (bound != 0.5 || err != 0.5 || mpfr_nan_p(exact) || mpfr_min_prec(exact) > std::numeric_limits<T>::digits + 1)
        return err;
    return (std::bit_cast<domain_detail::Bits<T>>(got) & 1) ? 1.0 : err;
}

template <class T>
RowWorst sweep_as(const AccuracyRow& row, const Reference& ref, std::size_t count, uint64_t seed) {
    const Args<T> args = draw<T>(row.domain, row.two_arguments, count, seed);
    const std::size_t n = args.x.size();
    std::vector<T> out[6];
    for (int k = 0; k < 6; ++k) {
        out[k].resize(n);
        row.run(k % 3, k >= 3, n, args.x.data(), args.y.data(), out[k].data());
    }
    RowWorst worst{};
    mpfr_t mx, my, exact;
    mpfr_init2(mx, std::numeric_limits<T>::digits);
    mpfr_init2(my, std::numeric_limits<T>::digits);
    mpfr_init2(exact, 160);
    for (std::size_t i = 0; i < n; ++i) {
        set_value(mx, args.x[i]);
        if (row.two_arguments) {
            set_value(my, args.y[i]);
            ref.binary(exact, mx, my, MPFR_RNDN);
        } else {
            ref.unary(exact, mx, MPFR_RNDN);
        }
        const double y = row.two_arguments ? double(args.y[i]) : 0.0;
        const double want = mpfr_get_d(exact, MPFR_RNDN);
        for (int k = 0; k < 6; ++k) {
            const int slot = k % 3;
            WorstCase& w = k < 3 ? worst[slot].contiguous : worst[slot].strided;
            const double bound = k < 3 ? row.bound[slot] : row.strided_bound[slot];
            note(w, judged_error<T>(out[k][i], exact, bound, ref.floor_at(sizeof(T) == 8, double(args.x[i]))), bound, double(args.x[i]), y, double(out[k][i]), want);
        }
    }
    mpfr_clears(mx, my, exact, (mpfr_ptr)nullptr);
    return worst;
}

// The error of one single-precision result measured against MPFR; the
// exact value rounded to double goes to `want`.
double exact_error(const Reference& f, float x, float got, double bound, double& want) {
    mpfr_t mx, exact;
    mpfr_init2(mx, std::numeric_limits<float>::digits);
    mpfr_init2(exact, 160);
    mpfr_set_flt(mx, x, MPFR_RNDN);
    f.unary(exact, mx, MPFR_RNDN);
    const double err = judged_error<float>(got, exact, bound, f.floor_at(false, x));
    want = mpfr_get_d(exact, MPFR_RNDN);
    mpfr_clears(mx, exact, (mpfr_ptr)nullptr);
    return err;
}

}  // namespace

std::span<const AccuracyRow> accuracy_rows() {
    static const std::vector<AccuracyRow> rows = [] {
        std::vector<AccuracyRow> v;
        for (const AccuracyRow& r : kRows)
            if (r.domain != Domain::none) v.push_back(r);
        return v;
    }();
    return rows;
}

bool has_reference(const AccuracyRow& row) {
    const auto it = references().find(row.function);
    return it != references().end() && (row.two_arguments ? it->second.binary != nullptr : it->second.unary != nullptr);
}

RowWorst sweep(const AccuracyRow& row, std::size_t count, uint64_t seed) {
    if (!has_reference(row)) {
        RowWorst none{};
        for (auto& s : none) s.contiguous.above = s.strided.above = 1;
        return none;
    }
    const auto it = references().find(row.function);
    return row.precision == 's' ? sweep_as<float>(row, it->second, count, seed)
                                : sweep_as<double>(row, it->second, count, seed);
}

bool has_double_reference(const AccuracyRow& row) {
    return row.precision == 's' && !row.two_arguments && has_reference(row) &&
           double_references().contains(row.function);
}

std::array<WorstCase, 3> sweep_every_float(const AccuracyRow& row, uint64_t first, uint64_t last) {
    // Reference errors up to a few double ulps move a float error by less
    // than this; results that close to the bound or past it go to MPFR.
    constexpr double kDoubt = 0x1p-26;
    const Reference& exact = references().at(row.function);
    const DoubleReference in_double = double_references().at(row.function);
    const std::size_t n = last - first;
    std::vector<float> x(n), r(n);
    std::vector<double> want(n);
    for (std::size_t i = 0; i < n; ++i) {
        x[i] = std::bit_cast<float>(uint32_t(first + i));
        want[i] = in_double(x[i]);
    }
    std::array<WorstCase, 3> worst{};
    for (int slot = 0; slot < 3; ++slot) {
        row.run(slot, false, n, x.data(), nullptr, r.data());
        const double bound = row.bound[slot], screen = bound > 0 ? bound - kDoubt : 0;
        WorstCase& w = worst[slot];
        for (std::size_t i = 0; i < n; ++i) {
            const double floor = exact.floor_at(false, x[i]);
            double err = std::fabs(want[i]) < floor && std::isfinite(r[i])
                             ? std::fabs((double(r[i]) - want[i]) * std::ldexp(1.0, 23 - std::ilogb(floor)))
                             : ulp_error_vs_double(r[i], want[i]);
            double wanted = want[i];
            if (err > screen) err = exact_error(exact, x[i], r[i], bound, wanted);
            note(w, err, bound, x[i], 0.0, r[i], wanted);
        }
        // The worst case as MPFR measures it.
        w.ulps = exact_error(exact, float(w.arg), float(w.got), bound, w.want);
    }
    return worst;
}

}  // namespace qor::test
