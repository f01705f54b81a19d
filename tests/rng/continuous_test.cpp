// Exponential, Laplace, Weibull, Cauchy, Rayleigh, lognormal and Gumbel
// variates: the transforms recomputed from the same uniforms (or Gaussians)
// with the same kernels (bit for bit), the stream left where the uniforms
// consumed put it, the finite values a uniform of 0 gives, the floating-
// point and vector-math state kept, and goodness of fit against Boost.Math.
#include <boost/math/distributions/cauchy.hpp>
#include <boost/math/distributions/exponential.hpp>
#include <boost/math/distributions/extreme_value.hpp>
#include <boost/math/distributions/laplace.hpp>
#include <boost/math/distributions/lognormal.hpp>
#include <boost/math/distributions/rayleigh.hpp>
#include <boost/math/distributions/weibull.hpp>
#include <xmmintrin.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "goodness_of_fit.h"
#include "qor/qor_vm.h"
#include "rng_test_support.h"

using namespace rng_test;

namespace {

constexpr int32_t kAcc = QOR_RNG_METHOD_ACCURATE;
constexpr double kLnOfTiniest = -744.4400719213812;  // 0xC0874385446D71C3

// The kernel exports of either precision.
#define EXPORT(Name)                                                              \
    [] {                                                                          \
        if constexpr (std::is_same_v<T, double>) return &_rixdRng##Name;          \
        else return &_rixsRng##Name;                                              \
    }()
#define TABLE(Fn) (std::is_same_v<T, double> ? qor_lum_kernel_d##Fn##_ttab : qor_lum_kernel_s##Fn##_ttab)

// A kernel of the table's slot applied to a whole array, as distributions do.
template <class T>
std::vector<T> apply(const qor_vm_kernel* table, int slot, std::vector<T> v) {
    reinterpret_cast<void (*)(int, const T*, T*)>(table[slot])(int(v.size()), v.data(), v.data());
    return v;
}
template <class T>
std::vector<T> powx(std::vector<T> v, T e) {
    reinterpret_cast<void (*)(int, const T*, T, T*)>(TABLE(Powx)[2])(int(v.size()), v.data(), e, v.data());
    return v;
}
template <class T>
std::vector<T> affine(std::vector<T> v, T scale, T shift, bool floor = false) {
    for (T& x : v) x = floor ? std::max(shift, x * scale + shift) : x * scale + shift;
    return v;
}
template <class T>
std::vector<T> negated(std::vector<T> v) {
    for (T& x : v) x = -x;
    return v;
}
template <class T>
std::vector<T> uniforms(qor_rng_stream* s, int n, T lo, T hi) {
    std::vector<T> u(n);
    EXPECT_EQ(EXPORT(Uniform)(0, s, n, u.data(), lo, hi), 0);
    return u;
}
template <class T>
std::vector<T> gaussians(qor_rng_stream* s, int method, int n, T a, T sigma) {
    std::vector<T> g(n);
    EXPECT_EQ(EXPORT(Gaussian)(method, s, n, g.data(), a, sigma), 0);
    return g;
}

// One call of a distribution on stream s, and what it must give computed
// from a copy of s.
template <class T>
struct Known {
    const char* name;
    std::function<int32_t(qor_rng_stream*, int, T*)> draw;
    std::function<std::vector<T>(qor_rng_stream*, int)> expected;
};

template <class T>
std::vector<Known<T>> known_answers() {
    const T a = T(1.5), b = T(-0.5), beta = T(2.5), alpha = T(2.5), sigma = T(0.75);
    const auto ln_u = [](qor_rng_stream* c, int n) { return apply(TABLE(Ln), 2, uniforms<T>(c, n, 0, 1)); };
    const auto exponential = [=](bool acc) {
        return [=](qor_rng_stream* c, int n) {
            auto v = ln_u(c, n);
            for (T& x : v) x = acc ? std::max(a, a - x * beta) : a - x * beta;
            return v;
        };
    };
    const auto rayleigh = [=](qor_rng_stream* c, int n) { return apply(TABLE(Sqrt), 2, negated(ln_u(c, n))); };
    const auto lognormal = [=](int gaussian_method, bool acc) {
        return [=](qor_rng_stream* c, int n) {
            return affine(apply(TABLE(Exp), 2, gaussians<T>(c, gaussian_method, n, a, sigma)), beta, b, acc);
        };
    };
    const T half_pi = std::is_same_v<T, double> ? T(1.5707963267948966) : T(1.5707964f);
    const int tan_slot = std::is_same_v<T, double> ? 2 : 0;
    using V = std::vector<T>;
    return {
        {"exponential", [=](auto s, int n, T* r) { return EXPORT(Exponential)(0, s, n, r, a, beta); },
         exponential(false)},
        {"exponential accurate", [=](auto s, int n, T* r) { return EXPORT(Exponential)(kAcc, s, n, r, a, beta); },
         exponential(true)},
        {"rayleigh", [=](auto s, int n, T* r) { return EXPORT(Rayleigh)(0, s, n, r, a, beta); },
         [=](auto c, int n) { return affine(rayleigh(c, n), beta, a); }},
        {"rayleigh accurate", [=](auto s, int n, T* r) { return EXPORT(Rayleigh)(kAcc, s, n, r, a, beta); },
         [=](auto c, int n) { return affine(rayleigh(c, n), beta, a, true); }},
        {"weibull", [=](auto s, int n, T* r) { return EXPORT(Weibull)(0, s, n, r, alpha, a, beta); },
         [=](auto c, int n) { return affine(powx(negated(ln_u(c, n)), T(1) / alpha), beta, a); }},
        {"weibull accurate", [=](auto s, int n, T* r) { return EXPORT(Weibull)(kAcc, s, n, r, alpha, a, beta); },
         [=](auto c, int n) { return affine(powx(negated(ln_u(c, n)), T(1) / alpha), beta, a, true); }},
        {"weibull shape 1 is the exponential",
         [=](auto s, int n, T* r) { return EXPORT(Weibull)(0, s, n, r, T(1), a, beta); }, exponential(false)},
        {"gumbel, any method", [=](auto s, int n, T* r) { return EXPORT(Gumbel)(kAcc | 5, s, n, r, a, beta); },
         [=](auto c, int n) {
             V e = ln_u(c, n);
             for (T& x : e) x = T(0) - x * T(1);
             return affine(apply(TABLE(Ln), 2, e), beta, a);
         }},
        {"cauchy, any method", [=](auto s, int n, T* r) { return EXPORT(Cauchy)(kAcc | 3, s, n, r, a, beta); },
         [=](auto c, int n) {
             return affine(apply(TABLE(Tan), tan_slot, uniforms<T>(c, n, -half_pi, half_pi)), beta, a);
         }},
        {"lognormal pairs", [=](auto s, int n, T* r) { return EXPORT(Lognormal)(0, s, n, r, a, sigma, b, beta); },
         lognormal(1, false)},
        {"lognormal inverse", [=](auto s, int n, T* r) { return EXPORT(Lognormal)(1, s, n, r, a, sigma, b, beta); },
         lognormal(2, false)},
        {"lognormal accurate", [=](auto s, int n, T* r) { return EXPORT(Lognormal)(kAcc, s, n, r, a, sigma, b, beta); },
         lognormal(2, true)},
    };
}

template <class T>
void expect_known_answers(int32_t brng) {
    for (const Known<T>& k : known_answers<T>()) {
        for (int n : {1, 1001}) {
            Stream s = make_stream(brng, {20261124});
            Stream c = copy_of(s);
            std::vector<T> r(n);
            ASSERT_EQ(k.draw(s.get(), n, r.data()), 0) << k.name;
            const std::vector<T> want = k.expected(c.get(), n);
            using Bits = std::conditional_t<sizeof(T) == 8, uint64_t, uint32_t>;
            for (int i = 0; i < n; ++i)
                ASSERT_EQ(std::bit_cast<Bits>(r[i]), std::bit_cast<Bits>(want[i]))
                    << k.name << " n " << n << " i " << i << ": " << r[i] << " vs " << want[i];
            // Both streams consumed the same uniforms.
            EXPECT_EQ(uniforms<T>(s.get(), 3, 0, 1), uniforms<T>(c.get(), 3, 0, 1)) << k.name;
        }
    }
}

// Laplace against a - sign(u) beta ln(1 - |u|) computed with the C library's
// logarithm, to the EP kernel's accuracy; one uniform per variate.
template <class T>
void expect_laplace_inversion(int32_t brng) {
    const T a = T(-3), beta = T(0.5);
    const double tolerance = std::is_same_v<T, double> ? 0x1p-20 : 0x1p-9;
    Stream s = make_stream(brng, {97});
    Stream c = copy_of(s);
    std::vector<T> r(4099);
    ASSERT_EQ(EXPORT(Laplace)(0, s.get(), 4099, r.data(), a, beta), 0);
    const std::vector<T> u = uniforms<T>(c.get(), 4099, -1, 1);
    for (size_t i = 0; i < r.size(); ++i) {
        const double l = u[i] < 0 ? std::log(1.0 + u[i]) : -std::log(1.0 - u[i]);
        ASSERT_NEAR(r[i], a + beta * l, beta * (std::fabs(l) + 1) * tolerance) << i << " u " << u[i];
    }
    EXPECT_EQ(uniforms<T>(s.get(), 3, 0, 1), uniforms<T>(c.get(), 3, 0, 1));
}

TEST(Continuous, TransformsOfTheSameUniformsAndConsumption) {
    for (int32_t brng : {int32_t{QOR_RNG_BRNG_MCG31M1}, int32_t{QOR_RNG_BRNG_MCG59}}) {
        expect_known_answers<double>(brng);
        expect_known_answers<float>(brng);
        expect_laplace_inversion<double>(brng);
        expect_laplace_inversion<float>(brng);
    }
}

TEST(Continuous, LognormalPairsConsumeWholePairs) {
    // Three variates by pairs take four uniforms; by the inverse three.
    for (auto [method, used] : {std::pair{0, 4}, std::pair{1, 3}}) {
        Stream s = make_stream(QOR_RNG_BRNG_MCG59, {5});
        Stream c = copy_of(s);
        double r[3];
        ASSERT_EQ(_rixdRngLognormal(method, s.get(), 3, r, 0.0, 1.0, 0.0, 1.0), 0);
        uniforms<double>(c.get(), used, 0, 1);
        EXPECT_EQ(uniforms<double>(s.get(), 2, 0, 1), uniforms<double>(c.get(), 2, 0, 1)) << method;
    }
}

template <class T>
void expect_finite_at_zero() {
    Stream s = ScriptedGenerator::stream({0.0});
    const T a = T(2), beta = T(3), alpha = T(0.5);
    const T ln0 = T(kLnOfTiniest);  // the replacement, in the form's precision
    const auto at = [](const qor_vm_kernel* table, T x) { return apply(table, 2, std::vector<T>{x})[0]; };
    const struct {
        const char* name;
        std::function<int32_t(T*)> draw;
        T want;
    } cases[] = {
        {"exponential", [&](T* r) { return EXPORT(Exponential)(0, s.get(), 2, r, a, beta); }, a - ln0 * beta},
        {"rayleigh", [&](T* r) { return EXPORT(Rayleigh)(0, s.get(), 2, r, a, beta); },
         at(TABLE(Sqrt), -ln0) * beta + a},
        {"weibull", [&](T* r) { return EXPORT(Weibull)(0, s.get(), 2, r, alpha, a, beta); },
         powx(std::vector<T>{-ln0}, T(1) / alpha)[0] * beta + a},
        {"gumbel", [&](T* r) { return EXPORT(Gumbel)(0, s.get(), 2, r, a, beta); }, at(TABLE(Ln), -ln0) * beta + a},
        {"laplace", [&](T* r) { return EXPORT(Laplace)(0, s.get(), 2, r, a, beta); },
         at(TABLE(Ln), std::numeric_limits<T>::min()) * beta + a},
    };
    for (const auto& c : cases) {
        T r[2] = {};
        ASSERT_EQ(c.draw(r), 0) << c.name;
        EXPECT_EQ(r[0], c.want) << c.name;
        EXPECT_EQ(r[1], c.want) << c.name;
        EXPECT_TRUE(std::isfinite(r[0])) << c.name;
    }
}

TEST(Continuous, UniformOfZeroGivesFiniteValues) {
    expect_finite_at_zero<double>();
    expect_finite_at_zero<float>();
    // The written value itself, in double precision.
    Stream s = ScriptedGenerator::stream({0.0});
    double r;
    ASSERT_EQ(_rixdRngExponential(0, s.get(), 1, &r, 1.0, 2.0), 0);
    EXPECT_EQ(r, 1.0 + 744.4400719213812 * 2.0);
}

int32_t caller_callback(qor_vm_error_record*) { return 1; }

// The distributions that mask the floating-point exceptions run with the
// inexact and division-by-zero exceptions unmasked by the caller: any
// rounding inside would trap if they did not mask it.  The others only
// change the vector-math mode around their kernel call.
template <class T>
void expect_state_kept(qor_rng_stream* s, int32_t status, int n) {
    T r[4] = {T(7), T(7), T(7), T(7)};
    const struct {
        const char* name;
        bool masks;
        std::function<int32_t()> draw;
    } calls[] = {
        {"exponential", true, [&] { return EXPORT(Exponential)(kAcc, s, n, r, T(0), T(1)); }},
        {"laplace", true, [&] { return EXPORT(Laplace)(0, s, n, r, T(0), T(1)); }},
        {"weibull", true, [&] { return EXPORT(Weibull)(kAcc, s, n, r, T(3), T(0), T(1)); }},
        {"cauchy", false, [&] { return EXPORT(Cauchy)(0, s, n, r, T(0), T(1)); }},
        {"rayleigh", true, [&] { return EXPORT(Rayleigh)(0, s, n, r, T(0), T(1)); }},
        {"lognormal", false, [&] { return EXPORT(Lognormal)(1, s, n, r, T(0), T(1), T(0), T(1)); }},
        {"gumbel", true, [&] { return EXPORT(Gumbel)(0, s, n, r, T(0), T(1)); }},
    };
    const uint32_t mxcsr = _mm_getcsr();
    for (const auto& c : calls) {
        if (c.masks) _mm_setcsr(mxcsr & ~0x1200u);
        const ControlState before = ControlState::now();
        const int32_t returned = c.draw();
        const ControlState after = ControlState::now();
        _mm_setcsr(mxcsr);
        EXPECT_EQ(returned, status) << c.name;
        EXPECT_TRUE(after == before) << c.name;
        if (n == 0) {
            EXPECT_EQ(r[0], T(7)) << c.name;
        }
    }
}

TEST(Continuous, ControlStateIsKeptOnSuccessAndFailure) {
    // A caller's mode, callback, x87 precision control and flush-to-zero;
    // a real generator, one of uniforms of 0 (whose logarithms are errors),
    // one that fails.
    const uint32_t mode = qor_lum_kernel_RestoreMode(QOR_VM_LA | QOR_VM_ERRMODE_ERRNO);
    const qor_vm_error_callback callback = qor_lum_kernel_SetErrorCallBack(caller_callback);
    uint16_t x87, x87_caller = 0x027B;
    asm volatile("fnstcw %0" : "=m"(x87));
    asm volatile("fldcw %0" : : "m"(x87_caller));
    const uint32_t mxcsr = _mm_getcsr();
    _mm_setcsr(mxcsr | 0x8000u);
    Stream zeros = ScriptedGenerator::stream({0.0}), mcg = make_stream(QOR_RNG_BRNG_MCG31M1, {3});
    const struct {
        qor_rng_stream* s;
        int32_t status, n;
    } runs[] = {{mcg.get(), 0, 4}, {zeros.get(), 0, 4}, {zeros.get(), -1234, 4}, {zeros.get(), 5, 0}};
    for (const auto& run : runs) {
        ScriptedGenerator::status = run.status;
        expect_state_kept<double>(run.s, run.status, run.n);
        expect_state_kept<float>(run.s, run.status, run.n);
    }
    ScriptedGenerator::status = 0;
    _mm_setcsr(mxcsr);
    asm volatile("fldcw %0" : : "m"(x87));
    qor_lum_kernel_SetErrorCallBack(callback);
    qor_lum_kernel_RestoreMode(mode);
}

TEST(Continuous, AccurateVariantsFloorAtTheDisplacement) {
    // Uniforms of 1.5 have a positive logarithm, which carries the plain
    // transforms below the displacement; the accurate ones give it.
    Stream s = ScriptedGenerator::stream({1.5});
    double plain, acc;
    ASSERT_EQ(_rixdRngExponential(0, s.get(), 1, &plain, 2.0, 3.0), 0);
    ASSERT_EQ(_rixdRngExponential(kAcc, s.get(), 1, &acc, 2.0, 3.0), 0);
    EXPECT_LT(plain, 2.0);
    EXPECT_EQ(acc, 2.0);
    ASSERT_EQ(_rixdRngWeibull(0, s.get(), 1, &plain, 1.0, 2.0, 3.0), 0);
    ASSERT_EQ(_rixdRngWeibull(kAcc, s.get(), 1, &acc, 1.0, 2.0, 3.0), 0);
    EXPECT_LT(plain, 2.0);
    EXPECT_EQ(acc, 2.0);
}

// ---- Goodness of fit ------------------------------------------------------

template <class T>
struct Fit {
    std::string name;
    std::function<int32_t(qor_rng_stream*, int, T*)> draw;
    std::function<double(double)> cdf;
};

template <class T>
std::vector<Fit<T>> fits() {
    namespace bm = boost::math;
    std::vector<Fit<T>> f;
    const auto tag = [](const char* name, double x, double y) {
        char text[64];
        std::snprintf(text, sizeof text, "%s(%g, %g)", name, x, y);
        return std::string(text);
    };
    for (auto [a, beta] : {std::pair{0.0, 1.0}, std::pair{-3.0, 0.01}, std::pair{1e3, 250.0}}) {
        const T ta = T(a), tb = T(beta);
        f.push_back({tag("exponential", a, beta), [=](auto s, int n, T* r) { return EXPORT(Exponential)(0, s, n, r, ta, tb); },
                     [=](double x) {
                         return bm::cdf(bm::exponential_distribution<>(1 / beta), std::max(0.0, x - a));
                     }});
        f.push_back({tag("laplace", a, beta), [=](auto s, int n, T* r) { return EXPORT(Laplace)(0, s, n, r, ta, tb); },
                     [=](double x) { return bm::cdf(bm::laplace_distribution<>(a, beta), x); }});
        f.push_back({tag("cauchy", a, beta), [=](auto s, int n, T* r) { return EXPORT(Cauchy)(0, s, n, r, ta, tb); },
                     [=](double x) { return bm::cdf(bm::cauchy_distribution<>(a, beta), x); }});
        f.push_back({tag("rayleigh", a, beta), [=](auto s, int n, T* r) { return EXPORT(Rayleigh)(0, s, n, r, ta, tb); },
                     [=](double x) {
                         return bm::cdf(bm::rayleigh_distribution<>(beta / std::sqrt(2.0)), std::max(0.0, x - a));
                     }});
        // The minimum's law: the maximum's reflected.
        f.push_back({tag("gumbel", a, beta), [=](auto s, int n, T* r) { return EXPORT(Gumbel)(0, s, n, r, ta, tb); },
                     [=](double x) {
                         return bm::cdf(bm::complement(bm::extreme_value_distribution<>(-a, beta), -x));
                     }});
    }
    // Displacement 0 for the small shape, whose mass crowds next to it.
    for (auto [alpha, a] : {std::pair{0.1, 0.0}, std::pair{1.0, 1.0}, std::pair{3.5, -1.0}, std::pair{40.0, 1.0}}) {
        const T tal = T(alpha), ta = T(a);
        f.push_back({tag("weibull", alpha, a), [=](auto s, int n, T* r) { return EXPORT(Weibull)(0, s, n, r, tal, ta, T(2)); },
                     [=](double x) { return bm::cdf(bm::weibull_distribution<>(alpha, 2.0), std::max(0.0, x - a)); }});
    }
    for (int method : {0, 1})
        for (auto [a, sigma] : {std::pair{0.0, 1.0}, std::pair{-2.0, 0.05}, std::pair{3.0, 4.0}}) {
            const T ta = T(a), ts = T(sigma);
            f.push_back({tag(method ? "lognormal inverse" : "lognormal pairs", a, sigma),
                         [=](auto s, int n, T* r) { return EXPORT(Lognormal)(method, s, n, r, ta, ts, T(-1), T(3)); },
                         [=](double x) {
                             return x <= -1 ? 0.0 : bm::cdf(bm::lognormal_distribution<>(a, sigma), (x + 1) / 3);
                         }});
        }
    return f;
}

template <class T>
void expect_fits(int32_t brng, uint32_t seed) {
    Stream s = make_stream(brng, {seed});
    std::vector<T> x(100000);
    for (const Fit<T>& f : fits<T>()) {
        ASSERT_EQ(f.draw(s.get(), int(x.size()), x.data()), 0) << f.name;
        const double p = gof::ks_pvalue(x, f.cdf);
        EXPECT_GT(p, gof::kMinPValue) << f.name;
    }
}

TEST(Continuous, GoodnessOfFit) {
    expect_fits<double>(QOR_RNG_BRNG_MCG59, 1);
    expect_fits<float>(QOR_RNG_BRNG_MCG31M1, 2);
}

}  // namespace
