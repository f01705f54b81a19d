#include "complex_oracle.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <type_traits>
#include <vector>

namespace qor::test {
namespace {

constexpr std::size_t kChunk = 2048;
constexpr double kInf = std::numeric_limits<double>::infinity();

template <class T>
void set_real(mpfr_ptr v, T x) {
    if constexpr (std::is_same_v<T, float>) mpfr_set_flt(v, x, MPFR_RNDN);
    else mpfr_set_d(v, x, MPFR_RNDN);
}

template <class C>
void set_complex(mpc_ptr v, const C& z) {
    set_real(mpc_realref(v), z.re);
    set_real(mpc_imagref(v), z.im);
}

template <class C>
qor_complex16 widen(const C& z) { return {double(z.re), double(z.im)}; }

// |got - exact| of one component in ulps of the magnitude m (a finite,
// non-zero exact result's |w|).
template <class T>
double magnitude_ulps(T got, mpfr_srcptr exact, mpfr_srcptr m) {
    if (!std::isfinite(got) || !mpfr_number_p(exact)) return kInf;
    constexpr int precision = std::numeric_limits<T>::digits;
    constexpr int min_exp = std::numeric_limits<T>::min_exponent;
    const mpfr_exp_t e = std::max<mpfr_exp_t>(mpfr_get_exp(m), min_exp);
    mpfr_t d;
    mpfr_init2(d, mpfr_get_prec(exact) + 64);
    set_real(d, got);
    mpfr_sub(d, d, exact, MPFR_RNDN);
    mpfr_mul_2si(d, d, precision - e, MPFR_RNDN);
    const double ulps = std::fabs(mpfr_get_d(d, MPFR_RNDN));
    mpfr_clear(d);
    return ulps;
}

}  // namespace

template <class C>
double complex_error(const C& got, mpc_srcptr exact) {
    using T = ComplexReal<C>;
    const double re = ulp_error<T>(got.re, mpc_realref(exact));
    const double im = ulp_error<T>(got.im, mpc_imagref(exact));
    if (std::max(re, im) <= 1 || !mpfr_number_p(mpc_realref(exact)) || !mpfr_number_p(mpc_imagref(exact)))
        return std::max(re, im);
    mpfr_t m;
    mpfr_init2(m, mpfr_get_prec(mpc_realref(exact)));
    mpc_abs(m, exact, MPFR_RNDN);
    double score = 0;
    if (mpfr_zero_p(m)) score = std::max(re, im);
    else {
        score = std::max(std::min(re, magnitude_ulps<T>(got.re, mpc_realref(exact), m) / 2),
                         std::min(im, magnitude_ulps<T>(got.im, mpc_imagref(exact), m) / 2));
    }
    mpfr_clear(m);
    return score;
}

void ComplexWorst::merge(const ComplexWorst& other) {
    if (other.count && (other.score > score || count == 0)) {
        score = other.score;
        arg = other.arg;
        arg2 = other.arg2;
        got = other.got;
        want = other.want;
    }
    count += other.count;
    above += other.above;
}

std::string ComplexWorst::describe() const {
    char text[320];
    std::snprintf(text, sizeof text, "%.4f at (%a, %a) [second (%a, %a)]: got (%a, %a), exact (%a, %a), over %zu", score,
                  arg.re, arg.im, arg2.re, arg2.im, got.re, got.im, want.re, want.im, count);
    return text;
}

namespace {

template <class C>
void note(ComplexWorst& w, double score, double limit, const C& a, const C& b, const C& got, mpc_srcptr exact) {
    if (std::isnan(score)) score = kInf;
    ++w.count;
    if (limit > 0 && score > limit) ++w.above;
    if (w.count == 1 || score > w.score) {
        w.score = score;
        w.arg = widen(a);
        w.arg2 = widen(b);
        w.got = widen(got);
        w.want = {mpfr_get_d(mpc_realref(exact), MPFR_RNDN), mpfr_get_d(mpc_imagref(exact), MPFR_RNDN)};
    }
}

}  // namespace

template <class C>
ComplexWorst measure_complex(ComplexUnaryKernel<C> kernel, MpcUnary f, std::span<const C> args, double limit,
                             int precision) {
    ComplexWorst w;
    mpc_t x, y;
    mpc_init2(x, std::numeric_limits<ComplexReal<C>>::digits);
    mpc_init2(y, precision);
    std::vector<C> out(std::min(args.size(), kChunk));
    for (std::size_t at = 0; at < args.size(); at += kChunk) {
        const std::size_t n = std::min(kChunk, args.size() - at);
        kernel(int(n), args.data() + at, out.data());
        for (std::size_t i = 0; i < n; ++i) {
            set_complex(x, args[at + i]);
            f(y, x, MPC_RNDNN);
            note(w, complex_error(out[i], y), limit, args[at + i], args[at + i], out[i], y);
        }
    }
    mpc_clear(x);
    mpc_clear(y);
    return w;
}

template <class C>
ComplexWorst measure_complex(ComplexBinaryKernel<C> kernel, MpcBinary f, std::span<const C> a, std::span<const C> b,
                             double limit, int precision) {
    ComplexWorst w;
    mpc_t x, z, y;
    mpc_init2(x, std::numeric_limits<ComplexReal<C>>::digits);
    mpc_init2(z, std::numeric_limits<ComplexReal<C>>::digits);
    mpc_init2(y, precision);
    const std::size_t size = std::min(a.size(), b.size());
    std::vector<C> out(std::min(size, kChunk));
    for (std::size_t at = 0; at < size; at += kChunk) {
        const std::size_t n = std::min(kChunk, size - at);
        kernel(int(n), a.data() + at, b.data() + at, out.data());
        for (std::size_t i = 0; i < n; ++i) {
            set_complex(x, a[at + i]);
            set_complex(z, b[at + i]);
            f(y, x, z, MPC_RNDNN);
            note(w, complex_error(out[i], y), limit, a[at + i], b[at + i], out[i], y);
        }
    }
    mpc_clear(x);
    mpc_clear(z);
    mpc_clear(y);
    return w;
}

template <class C>
WorstCase measure_complex_to_real(void (*kernel)(int, const C*, ComplexReal<C>*), MpcToReal f,
                                  std::span<const C> args, double limit, int precision) {
    using T = ComplexReal<C>;
    WorstCase w;
    mpc_t x;
    mpfr_t y;
    mpc_init2(x, std::numeric_limits<T>::digits);
    mpfr_init2(y, precision);
    std::vector<T> out(std::min(args.size(), kChunk));
    for (std::size_t at = 0; at < args.size(); at += kChunk) {
        const std::size_t n = std::min(kChunk, args.size() - at);
        kernel(int(n), args.data() + at, out.data());
        for (std::size_t i = 0; i < n; ++i) {
            set_complex(x, args[at + i]);
            f(y, x, MPFR_RNDN);
            WorstCase one;
            one.count = 1;
            one.ulps = ulp_error<T>(out[i], y);
            if (std::isnan(one.ulps)) one.ulps = kInf;
            one.above = limit > 0 && one.ulps > limit;
            one.arg = double(args[at + i].re);
            one.arg2 = double(args[at + i].im);
            one.got = double(out[i]);
            one.want = mpfr_get_d(y, MPFR_RNDN);
            w.merge(one);
        }
    }
    mpc_clear(x);
    mpfr_clear(y);
    return w;
}

template double complex_error<qor_complex8>(const qor_complex8&, mpc_srcptr);
template double complex_error<qor_complex16>(const qor_complex16&, mpc_srcptr);
template ComplexWorst measure_complex<qor_complex8>(ComplexUnaryKernel<qor_complex8>, MpcUnary,
                                                    std::span<const qor_complex8>, double, int);
template ComplexWorst measure_complex<qor_complex16>(ComplexUnaryKernel<qor_complex16>, MpcUnary,
                                                     std::span<const qor_complex16>, double, int);
template ComplexWorst measure_complex<qor_complex8>(ComplexBinaryKernel<qor_complex8>, MpcBinary,
                                                    std::span<const qor_complex8>, std::span<const qor_complex8>,
                                                    double, int);
template ComplexWorst measure_complex<qor_complex16>(ComplexBinaryKernel<qor_complex16>, MpcBinary,
                                                     std::span<const qor_complex16>, std::span<const qor_complex16>,
                                                     double, int);
template WorstCase measure_complex_to_real<qor_complex8>(void (*)(int, const qor_complex8*, float*), MpcToReal,
                                                         std::span<const qor_complex8>, double, int);
template WorstCase measure_complex_to_real<qor_complex16>(void (*)(int, const qor_complex16*, double*), MpcToReal,
                                                          std::span<const qor_complex16>, double, int);

}  // namespace qor::test
