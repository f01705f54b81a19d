#include "ulp_oracle.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <limits>
#include <type_traits>
#include <vector>

namespace qor::test {
namespace {

template <class T>
struct Format;
template <>
struct Format<float> {
    static constexpr int precision = FLT_MANT_DIG;  // 24
    static constexpr int min_exp = FLT_MIN_EXP;     // -125
    static constexpr int max_exp = FLT_MAX_EXP;     // 128
    static float round(mpfr_srcptr v) { return mpfr_get_flt(v, MPFR_RNDN); }
};
template <>
struct Format<double> {
    static constexpr int precision = DBL_MANT_DIG;  // 53
    static constexpr int min_exp = DBL_MIN_EXP;     // -1021
    static constexpr int max_exp = DBL_MAX_EXP;     // 1024
    static double round(mpfr_srcptr v) { return mpfr_get_d(v, MPFR_RNDN); }
};

// mpfr_get_flt and mpfr_get_d round into the format's subnormal range only
// when MPFR's own exponent range is that of the format; this rounds to T
// correctly whatever the range.
template <class T>
T round_to(mpfr_srcptr v) {
    if (mpfr_nan_p(v) || mpfr_inf_p(v) || mpfr_zero_p(v)) return Format<T>::round(v);
    const mpfr_exp_t e = mpfr_get_exp(v);
    if (e > Format<T>::max_exp) return mpfr_signbit(v) ? -std::numeric_limits<T>::infinity() : std::numeric_limits<T>::infinity();
    // Bits kept: the format's precision, fewer in the subnormal range.
    const long keep = e >= Format<T>::min_exp ? Format<T>::precision : Format<T>::precision - (Format<T>::min_exp - e);
    if (keep <= 0) {
        // Below half the smallest subnormal: zero; exactly half: zero (even);
        // more: the smallest subnormal.
        const T tiny = std::numeric_limits<T>::denorm_min();
        mpfr_t half;
        mpfr_init2(half, 8);
        mpfr_set_ui_2exp(half, 1, Format<T>::min_exp - Format<T>::precision - 1, MPFR_RNDN);
        const int cmp = mpfr_cmpabs(v, half);
        mpfr_clear(half);
        const T mag = cmp > 0 ? tiny : T(0);
        return mpfr_signbit(v) ? -mag : mag;
    }
    mpfr_t t;
    mpfr_init2(t, keep);
    mpfr_set(t, v, MPFR_RNDN);
    const T out = Format<T>::round(t);  // exact now
    mpfr_clear(t);
    return out;
}

}  // namespace

template <class T>
double ulp_error(T got, mpfr_srcptr exact) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    if (mpfr_nan_p(exact)) return std::isnan(got) ? 0.0 : kInf;
    if (std::isnan(got)) return kInf;
    if (mpfr_inf_p(exact)) return (std::isinf(got) && bool(std::signbit(got)) == bool(mpfr_signbit(exact))) ? 0.0 : kInf;
    if (std::isinf(got)) {
        const T correct = round_to<T>(exact);
        return correct == got ? 0.0 : kInf;
    }
    if (mpfr_zero_p(exact) && got == T(0)) return bool(std::signbit(got)) == bool(mpfr_signbit(exact)) ? 0.0 : kInf;
    mpfr_exp_t e = mpfr_zero_p(exact) ? Format<T>::min_exp : mpfr_get_exp(exact);
    e = std::clamp<mpfr_exp_t>(e, Format<T>::min_exp, Format<T>::max_exp);
    mpfr_t diff;
    mpfr_init2(diff, std::max<mpfr_prec_t>(mpfr_get_prec(exact), 64) + 8);
    if constexpr (std::is_same_v<T, float>) mpfr_set_flt(diff, got, MPFR_RNDN);
    else mpfr_set_d(diff, got, MPFR_RNDN);
    mpfr_sub(diff, diff, exact, MPFR_RNDN);
    mpfr_mul_2si(diff, diff, Format<T>::precision - e, MPFR_RNDN);
    const double ulps = std::fabs(mpfr_get_d(diff, MPFR_RNDN));
    mpfr_clear(diff);
    return ulps;
}

template double ulp_error<float>(float, mpfr_srcptr);
template double ulp_error<double>(double, mpfr_srcptr);

double ulp_error_vs_double(float got, double reference) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    if (std::isnan(reference)) return std::isnan(got) ? 0.0 : kInf;
    if (std::isnan(got)) return kInf;
    if (std::isinf(reference)) return (std::isinf(got) && std::signbit(got) == std::signbit(reference)) ? 0.0 : kInf;
    if (std::isinf(got)) return float(reference) == got ? 0.0 : kInf;
    if (reference == 0.0 && got == 0.0f) return std::signbit(got) == std::signbit(reference) ? 0.0 : kInf;
    int e = reference == 0.0 ? FLT_MIN_EXP : std::ilogb(reference) + 1;
    e = std::clamp(e, FLT_MIN_EXP, FLT_MAX_EXP);
    return std::fabs((double(got) - reference) * std::ldexp(1.0, FLT_MANT_DIG - e));
}

void WorstCase::merge(const WorstCase& other) {
    if (other.ulps > ulps || (count == 0 && other.count)) {
        ulps = other.ulps;
        arg = other.arg;
        arg2 = other.arg2;
        got = other.got;
        want = other.want;
    }
    count += other.count;
    above += other.above;
}

std::string WorstCase::describe() const {
    char text[256];
    std::snprintf(text, sizeof text, "%.4f ulp at x = %a (%.17g), got %a, exact %a, over %zu results", ulps, arg,
                  arg, got, want, count);
    return text;
}

namespace {

constexpr std::size_t kChunk = 4096;

template <class T>
void set_value(mpfr_ptr v, T x) {
    if constexpr (std::is_same_v<T, float>) mpfr_set_flt(v, x, MPFR_RNDN);
    else mpfr_set_d(v, x, MPFR_RNDN);
}

template <class T>
void note(WorstCase& w, double err, double limit, T x, T y, T got, mpfr_srcptr exact) {
    if (std::isnan(err)) err = std::numeric_limits<double>::infinity();
    ++w.count;
    if (limit > 0 && err > limit) ++w.above;
    if (w.count == 1 || err > w.ulps) {
        w.ulps = err;
        w.arg = double(x);
        w.arg2 = double(y);
        w.got = double(got);
        w.want = mpfr_get_d(exact, MPFR_RNDN);
    }
}

}  // namespace

template <class T>
WorstCase measure_unary(UnaryKernel<T> kernel, MpfrUnary f, std::span<const T> args, double limit, int precision) {
    WorstCase w;
    mpfr_t x, y;
    mpfr_init2(x, std::numeric_limits<T>::digits);
    mpfr_init2(y, precision);
    std::vector<T> out(std::min(args.size(), kChunk));
    for (std::size_t at = 0; at < args.size(); at += kChunk) {
        const std::size_t n = std::min(kChunk, args.size() - at);
        kernel(int(n), args.data() + at, out.data());
        for (std::size_t i = 0; i < n; ++i) {
            set_value(x, args[at + i]);
            f(y, x, MPFR_RNDN);
            note(w, ulp_error<T>(out[i], y), limit, args[at + i], args[at + i], out[i], y);
        }
    }
    mpfr_clear(x);
    mpfr_clear(y);
    return w;
}

template <class T>
double binary_error(MpfrBinary f, T x, T z, T got, int precision) {
    mpfr_t mx, mz, y;
    mpfr_init2(mx, std::numeric_limits<T>::digits);
    mpfr_init2(mz, std::numeric_limits<T>::digits);
    mpfr_init2(y, precision);
    set_value(mx, x);
    set_value(mz, z);
    f(y, mx, mz, MPFR_RNDN);
    const double err = ulp_error<T>(got, y);
    mpfr_clear(mx);
    mpfr_clear(mz);
    mpfr_clear(y);
    return err;
}

template WorstCase measure_unary<float>(UnaryKernel<float>, MpfrUnary, std::span<const float>, double, int);
template WorstCase measure_unary<double>(UnaryKernel<double>, MpfrUnary, std::span<const double>, double, int);
template double binary_error<float>(MpfrBinary, float, float, float, int);
template double binary_error<double>(MpfrBinary, double, double, double, int);

}  // namespace qor::test
