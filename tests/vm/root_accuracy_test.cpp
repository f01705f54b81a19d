// Cbrt, InvCbrt, Pow2o3, Pow3o2 and Hypot against MPFR in both precisions
// and every variant: edge sets (zeros, subnormals, powers of two and of
// eight, the overflow and underflow thresholds of Pow3o2, extremes of
// Hypot) and random arguments over the whole range.
#include "pow_support.h"
#include "tests/support/mpfr_roots.h"

namespace pow_test {
namespace {

using explog_test::around;
using explog_test::common_edges;
using explog_test::random_args;

using qor::test::mpfr_inv_cbrt;
using qor::test::mpfr_pow2o3;
using qor::test::mpfr_pow3o2;

// Edges of the roots: powers of two and eight (exact cube roots), their
// neighbours, and every sign.
template <class T>
std::vector<T> root_args(std::size_t n, unsigned seed) {
    std::vector<T> v = common_edges<T>();
    constexpr int lo = std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits;
    constexpr int hi = std::numeric_limits<T>::max_exponent - 1;
    for (int e = lo; e <= hi; e += 7) {
        const T p = std::ldexp(T(1), e);
        for (T t : around<T>({p, -p, T(p * 1.5), T(p * 3)}, 2)) v.push_back(t);
    }
    for (T c : {T(27), T(-27), T(64), T(0.125), T(1000), T(1e-3), T(3.375)}) v.push_back(c);
    for (T t : random_args<T>(n, -1e6, 1e6, lo + 1, hi, seed)) v.push_back(t);
    return v;
}

template <class T>
void expect_three(const std::array<UnaryKernel<T>, 3>& k, MpfrUnary f, const std::vector<T>& args,
                  const std::array<double, 3>& limits, const char* what) {
    const char* names[3] = {"HA", "LA", "EP"};
    for (int v = 0; v < 3; ++v) {
        auto w = explog_test::expect_within<T>(k[v], f, args, limits[v], what);
        std::printf("%s %s: %s\n", what, names[v], w.describe().c_str());
    }
}

TEST(RootAccuracy, Cbrt) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto d = root_args<double>(120000, 301);
    expect_three<double>({_lumdCbrt, _lumdCbrt_50, _lumdCbrt_26}, mpfr_cbrt, d, {0.51, Limits<double>::la, Limits<double>::ep}, "dCbrt");
    const auto s = root_args<float>(120000, 302);
    expect_three<float>({_lumsCbrt, _lumsCbrt_21, _lumsCbrt_11}, mpfr_cbrt, s, {0.51, Limits<float>::la, Limits<float>::ep}, "sCbrt");
}

TEST(RootAccuracy, InvCbrt) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto d = root_args<double>(120000, 303);
    expect_three<double>({_lumdInvCbrt, _lumdInvCbrt_50, _lumdInvCbrt_26}, mpfr_inv_cbrt, d, {0.51, Limits<double>::la, Limits<double>::la}, "dInvCbrt");
    const auto s = root_args<float>(120000, 304);
    expect_three<float>({_lumsInvCbrt, _lumsInvCbrt_21, _lumsInvCbrt_11}, mpfr_inv_cbrt, s, {0.51, Limits<float>::la, Limits<float>::ep}, "sInvCbrt");
}

TEST(RootAccuracy, Pow2o3Pow3o2) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto d = root_args<double>(120000, 305);
    const auto s = root_args<float>(120000, 306);
    for (auto w : {explog_test::expect_within<double>(_lumdPow2o3, mpfr_pow2o3, d, 0.51, "dPow2o3"),
                   explog_test::expect_within<float>(_lumsPow2o3, mpfr_pow2o3, s, 0.51, "sPow2o3")})
        std::printf("Pow2o3: %s\n", w.describe().c_str());
    // Pow3o2 around its thresholds: overflow past 2^(1024 * 2/3), subnormal
    // results below 2^(-1022 * 2/3), and the edges of the vector path.
    auto d3 = d;
    for (double t : around<double>({std::exp2(1024.0 * 2 / 3), std::exp2(-1022.0 * 2 / 3), std::exp2(-1074.0 * 2 / 3),
                                    0x1p600, 0x1p-600}, 4))
        d3.push_back(t);
    auto s3 = s;
    for (float t : around<float>({float(std::exp2(128.0 * 2 / 3)), float(std::exp2(-126.0 * 2 / 3)),
                                  float(std::exp2(-149.0 * 2 / 3)), 0x1p85f, 0x1p-84f}, 4))
        s3.push_back(t);
    for (auto w : {explog_test::expect_within<double>(_lumdPow3o2, mpfr_pow3o2, d3, 0.55, "dPow3o2"),
                   explog_test::expect_within<float>(_lumsPow3o2, mpfr_pow3o2, s3, 0.51, "sPow3o2")})
        std::printf("Pow3o2: %s\n", w.describe().c_str());
}

template <class T>
Pairs<T> hypot_args(std::size_t n, unsigned seed) {
    using L = std::numeric_limits<T>;
    const std::vector<T> edges = {T(0), -T(0), L::denorm_min(), L::min(), L::max(), -L::max(), L::infinity(),
                                  -L::infinity(), L::quiet_NaN(), T(1), T(-3), T(4), L::epsilon(),
                                  T(std::sqrt(double(L::max()))), T(1e-20), T(1e20), L::max() / 2};
    Pairs<T> p = grid<T>(edges, edges);
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const int lo = L::min_exponent - L::digits, hi = L::max_exponent;
    for (std::size_t i = 0; i < n; ++i) {
        const double e = lo + (hi - lo) * unit(gen);
        // Mostly nearby magnitudes (where the sum matters), some far apart.
        const double d = i % 4 == 0 ? (hi - lo) * (unit(gen) - 0.5) : 30 * (unit(gen) - 0.5);
        const T x = T(std::exp2(e) * (gen() & 1 ? 1 : -1));
        const T y = T(std::exp2(std::clamp(e + d, double(lo), double(hi) - 0.01)) * (gen() & 1 ? 1 : -1));
        p.add(x, y);
    }
    return p;
}

TEST(RootAccuracy, Hypot) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto d = hypot_args<double>(150000, 307);
    expect_variants<double>({_lumdHypot, _lumdHypot_50, _lumdHypot_26}, mpfr_hypot, d, "dHypot");
    const auto s = hypot_args<float>(150000, 308);
    expect_variants<float>({_lumsHypot, _lumsHypot_21, _lumsHypot_11}, mpfr_hypot, s, "sHypot");
    // Tighter than the limits of the variants: HA within 0.51 ulp.
    const auto w = measure_variants<double, 1>({_lumdHypot}, mpfr_hypot, d, {0.51});
    EXPECT_EQ(w[0].above, 0u) << w[0].describe();
    const auto ws = measure_variants<float, 1>({_lumsHypot}, mpfr_hypot, s, {0.51});
    EXPECT_EQ(ws[0].above, 0u) << ws[0].describe();
}

}  // namespace
}  // namespace pow_test
