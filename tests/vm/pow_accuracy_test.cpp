// Pow, Powr and Powx in both precisions and all variants against MPFR:
// random pairs over the whole range of results, thresholds of overflow and
// underflow, bases next to 1, negative bases with integer exponents, and
// for Powx every method the exponent can select.
#include "pow_support.h"

namespace pow_test {
namespace {

// The edges every base meets, and exponents that select special paths.
template <class T>
std::vector<T> edge_bases() {
    using L = std::numeric_limits<T>;
    auto v = explog_test::common_edges<T>();
    for (T b : {T(3), T(-3), T(0.1), T(-0.1), T(1e10), T(1e-10), T(-2), T(-0.5), T(1.5), T(-1.5)}) v.push_back(b);
    v.push_back(L::max() / 2);
    v.push_back(L::min() * 2);
    return v;
}

template <class T>
std::vector<T> edge_exponents() {
    using L = std::numeric_limits<T>;
    std::vector<T> v = {T(0), -T(0), T(1), T(-1), T(2), T(-2), T(3), T(-3), T(0.5), T(-0.5), T(1.5), T(2.5),
                        T(1) / 3, T(100), T(-100), T(1e6), T(-1e6), T(1e30), T(-1e30), L::max(), -L::max(),
                        L::min(), -L::min(), L::denorm_min(), -L::denorm_min(), L::infinity(), -L::infinity(),
                        L::quiet_NaN(), T(0.25), T(7), T(-7), T(1023), T(1024), T(-1074), T(-1075)};
    return v;
}

// Bases and exponents whose results sit at the overflow and underflow
// thresholds: x = 2 and 10 with y around log_max/ln x, log_min/ln x.
template <class T>
Pairs<T> threshold_pairs() {
    Pairs<T> p;
    for (T base : {T(2), T(10), T(0.5), T(3), T(1.0001), T(0.9999)}) {
        const double l = std::log(double(base));
        for (double z : {log_max<T>(), log_min<T>(), sizeof(T) == 8 ? -708.3964185322641 : -87.33654})
            for (T y : explog_test::around<T>({T(z / l)}, 6)) p.add(base, y);
    }
    return p;
}

template <class T>
Pairs<T> pow_args(std::size_t n, unsigned seed, bool negative_bases = true) {
    Pairs<T> p = grid<T>(edge_bases<T>(), edge_exponents<T>());
    p.append(threshold_pairs<T>());
    p.append(random_pairs<T>(n, seed, negative_bases));
    return p;
}

// powr: pow on x >= 0; NaN for a negative or NaN base, a NaN exponent,
// 0^0, inf^0 and 1^inf.
int powr_reference(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y, mpfr_rnd_t rnd) {
    const bool undefined = mpfr_nan_p(x) || mpfr_nan_p(y) || mpfr_sgn(x) < 0 ||
                           (mpfr_zero_p(x) && mpfr_zero_p(y)) || (mpfr_inf_p(x) && mpfr_zero_p(y)) ||
                           (mpfr_cmp_ui(x, 1) == 0 && mpfr_inf_p(y));
    if (undefined) {
        mpfr_set_nan(r);
        return 0;
    }
    if (mpfr_zero_p(x)) {  // powr(-0, y) is powr(+0, y)
        mpfr_t z;
        mpfr_init2(z, 2);
        mpfr_set_zero(z, 1);
        const int t = mpfr_pow(r, z, y, rnd);
        mpfr_clear(z);
        return t;
    }
    return mpfr_pow(r, x, y, rnd);
}

TEST(PowAccuracy, DoubleVariants) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto p = pow_args<double>(150000, 101);
    expect_variants<double>({_lumdPow, _lumdPow_50, _lumdPow_26}, mpfr_pow, p, "dPow");
}

TEST(PowAccuracy, SingleVariants) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto p = pow_args<float>(150000, 102);
    expect_variants<float>({_lumsPow, _lumsPow_21, _lumsPow_11}, mpfr_pow, p, "sPow");
}

TEST(PowAccuracy, PowrVariants) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto d = pow_args<double>(40000, 103, false);
    expect_variants<double>({_lumdPowr, _lumdPowr_50, _lumdPowr_26}, powr_reference, d, "dPowr");
    const auto s = pow_args<float>(40000, 104, false);
    expect_variants<float>({_lumsPowr, _lumsPowr_21, _lumsPowr_11}, powr_reference, s, "sPowr");
    // Negative bases give NaN whatever the exponent.
    const auto neg = pow_args<double>(4000, 105, true);
    expect_variants<double>({_lumdPowr, _lumdPowr_50, _lumdPowr_26}, powr_reference, neg, "dPowr mixed signs");
}

// Powx as a binary kernel for the oracle: the exponent is the one in the
// pairs' y (all equal), passed by value.
template <class T, int V>
struct FixedExponent {
    static inline PowxKernel<T> kernel;
    static void run(int n, const T* a, const T* b, T* r) { kernel(n, a, b[0], r); }
};

// Arguments for x^b: edges, the thresholds of this b, and random x.
template <class T>
std::vector<T> powx_args(T b, std::size_t n, unsigned seed) {
    std::vector<T> v = edge_bases<T>();
    if (b != 0 && std::isfinite(b))
        for (double z : {log_max<T>(), log_min<T>()}) {
            const double x = std::exp(z / double(b));
            if (x > 0 && std::isfinite(x) && x < double(std::numeric_limits<T>::max()))
                for (T t : explog_test::around<T>({T(x), -T(x)}, 4)) v.push_back(t);
        }
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const double span = std::min(2.0 * log_max<T>() / std::max(std::fabs(double(b)), 1e-300), 1400.0);
    for (std::size_t i = 0; i < n; ++i) {
        const double x = std::exp((2 * unit(gen) - 1) * span / 2) * (i % 4 == 3 ? -1 : 1);
        v.push_back(T(x));
    }
    return v;
}

template <class T>
void check_powx(PowxKernel<T> ha, PowxKernel<T> la, PowxKernel<T> ep, const char* name) {
    const T exponents[] = {T(0), T(1), T(-1), T(2), T(3), T(-2), T(4), T(5), T(-3), T(7), T(8), T(15), T(16),
                           T(17), T(31), T(64), T(-64), T(100), T(1000), T(-1000), T(65537), T(0.5), T(-0.5),
                           T(1.5), T(2.5), T(1) / 3, T(-1) / 3, T(0.1), T(123.456), T(-7.25), T(1e-3),
                           T(1e6), T(1e7), T(1e-7), std::numeric_limits<T>::infinity(),
                           std::numeric_limits<T>::quiet_NaN()};
    FixedExponent<T, 0>::kernel = ha;
    FixedExponent<T, 1>::kernel = la;
    FixedExponent<T, 2>::kernel = ep;
    const std::array<BinaryKernel<T>, 3> kernels = {&FixedExponent<T, 0>::run, &FixedExponent<T, 1>::run,
                                                    &FixedExponent<T, 2>::run};
    const std::array<double, 3> limits = {Limits<T>::ha, Limits<T>::la, Limits<T>::ep};
    std::array<WorstCase, 3> worst{};
    unsigned seed = 200;
    for (T b : exponents) {
        Pairs<T> p;
        for (T x : powx_args<T>(b, 4000, ++seed)) p.add(x, b);
        const auto w = measure_variants<T, 3>(kernels, mpfr_pow, p, limits);
        for (int v = 0; v < 3; ++v) {
            EXPECT_EQ(w[v].above, 0u) << name << " variant " << v << " b = " << b << ": " << w[v].describe();
            worst[v].merge(w[v]);
        }
    }
    const char* names[3] = {"HA", "LA", "EP"};
    for (int v = 0; v < 3; ++v) std::printf("%s %s: %s, b = %a\n", name, names[v], worst[v].describe().c_str(), worst[v].arg2);
}

TEST(PowAccuracy, PowxEveryMethod) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    check_powx<double>(_lumdPowx, _lumdPowx_50, _lumdPowx_26, "dPowx");
    check_powx<float>(_lumsPowx, _lumsPowx_21, _lumsPowx_11, "sPowx");
}

}  // namespace
}  // namespace pow_test
