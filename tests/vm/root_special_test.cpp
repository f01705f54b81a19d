// Special values, status codes, exact results, strided forms and the
// flush-to-zero mode of Cbrt, InvCbrt, Pow2o3, Pow3o2 and Hypot.
#include "pow_support.h"

namespace pow_test {
namespace {

using explog_test::expect_strided_matches;

template <class T>
struct UnaryCase {
    T x, want;
    int code;
};

template <class T>
void check_unary(UnaryKernel<T> k, const std::vector<UnaryCase<T>>& cases, const char* what) {
    const int n = int(cases.size());
    std::vector<T> x(n), r(n);
    for (int i = 0; i < n; ++i) x[i] = cases[i].x;
    Reports reports;
    k(n, x.data(), r.data());
    for (int i = 0; i < n; ++i) {
        EXPECT_TRUE(same(r[i], cases[i].want)) << what << "(" << show(x[i]) << ") = " << show(r[i]) << ", want "
                                               << show(cases[i].want);
        EXPECT_EQ(Reports::code_at(i), cases[i].code) << what << "(" << show(x[i]) << ")";
    }
}

// Exact cube roots: m^3 * 8^k for small m, over the whole range.
template <class T>
std::vector<UnaryCase<T>> exact_cubes(int sign_of_power) {
    std::vector<UnaryCase<T>> v;
    constexpr int lo = (std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits) / 3 + 1;
    constexpr int hi = (std::numeric_limits<T>::max_exponent - 5) / 3;
    for (int k = lo; k <= hi; ++k)
        for (int m : {1, 3, 5, -7}) {
            const T root = std::ldexp(T(m), k);
            const T cube = std::ldexp(T(m * m * m), 3 * k);
            if (!std::isfinite(cube) || cube == 0) continue;
            if (sign_of_power > 0) v.push_back({cube, root, 0});
            else if (m == 1) v.push_back({cube, std::ldexp(T(1), -k), 0});
        }
    return v;
}

template <class T>
void check_cbrt_family(UnaryKernel<T> cbrt, UnaryKernel<T> inv, UnaryKernel<T> p2o3, UnaryKernel<T> p3o2,
                       const char* p) {
    using L = std::numeric_limits<T>;
    const T inf = kInf<T>, nan = kNaN<T>, z = T(0);
    const std::string s(p);
    check_unary<T>(cbrt, {{z, z, 0}, {-z, -z, 0}, {inf, inf, 0}, {-inf, -inf, 0}, {nan, nan, 0}, {T(-8), T(-2), 0},
                          {T(27), T(3), 0}, {T(0.125), T(0.5), 0}, {L::denorm_min() * 8, L::denorm_min() > 0 ? std::cbrt(L::denorm_min() * 8) : z, 0}},
                   (s + "Cbrt").c_str());
    check_unary<T>(cbrt, exact_cubes<T>(1), (s + "Cbrt exact").c_str());
    check_unary<T>(inv, {{z, inf, 2}, {-z, -inf, 2}, {inf, z, 0}, {-inf, -z, 0}, {nan, nan, 0}, {T(8), T(0.5), 0},
                         {T(-0.125), T(-2), 0}, {T(1) / 64, T(4), 0}},
                   (s + "InvCbrt").c_str());
    check_unary<T>(inv, exact_cubes<T>(-1), (s + "InvCbrt exact").c_str());
    check_unary<T>(p2o3, {{z, z, 0}, {-z, z, 0}, {inf, inf, 0}, {-inf, inf, 0}, {nan, nan, 0}, {T(-8), T(4), 0},
                          {T(27), T(9), 0}, {T(-0.125), T(0.25), 0}, {T(1000), T(100), 0}},
                   (s + "Pow2o3").c_str());
    // x = 2^(2k) has x^1.5 = 2^(3k): kn gives the smallest normal power of 8
    // in range, ks a subnormal one, ko an overflow.
    constexpr int kn = sizeof(T) == 8 ? -340 : -42, ks = sizeof(T) == 8 ? -345 : -45, ko = sizeof(T) == 8 ? 342 : 43;
    check_unary<T>(p3o2, {{z, z, 0}, {-z, z, 0}, {inf, inf, 0}, {-inf, inf, 0}, {nan, nan, 0}, {T(-1), nan, 1},
                          {-L::denorm_min(), nan, 1}, {T(4), T(8), 0}, {T(0.25), T(0.125), 0}, {T(9), T(27), 0},
                          {std::ldexp(T(1), 2 * ko), inf, 3}, {L::max(), inf, 3},
                          {std::ldexp(T(1), 2 * ks), std::ldexp(T(1), 3 * ks), 4}, {L::denorm_min(), z, 4},
                          {std::ldexp(T(1), 2 * kn), std::ldexp(T(1), 3 * kn), 0}},
                   (s + "Pow3o2").c_str());
}

TEST(RootSpecial, CubeRootsAndPowers) {
    check_cbrt_family<double>(_lumdCbrt, _lumdInvCbrt, _lumdPow2o3, _lumdPow3o2, "d");
    check_cbrt_family<double>(_lumdCbrt_50, _lumdInvCbrt_50, _lumdPow2o3_50, _lumdPow3o2_26, "d LA ");
    check_cbrt_family<float>(_lumsCbrt, _lumsInvCbrt, _lumsPow2o3, _lumsPow3o2, "s");
}

// The special values hold in every variant even where the finite results
// are approximate.
template <class T>
void check_cbrt_specials(UnaryKernel<T> cbrt, UnaryKernel<T> inv, const char* what) {
    const T inf = kInf<T>, nan = kNaN<T>, z = T(0);
    check_unary<T>(cbrt, {{z, z, 0}, {-z, -z, 0}, {inf, inf, 0}, {-inf, -inf, 0}, {nan, nan, 0}}, what);
    check_unary<T>(inv, {{z, inf, 2}, {-z, -inf, 2}, {inf, z, 0}, {-inf, -z, 0}, {nan, nan, 0}}, what);
    // Odd functions, also through the scalar routine (subnormals).
    std::vector<T> x = {T(2), T(1e-3), std::numeric_limits<T>::denorm_min() * 3, T(7e6)}, nx(4), r(4), nr(4);
    for (int i = 0; i < 4; ++i) nx[i] = -x[i];
    for (auto k : {cbrt, inv}) {
        k(4, x.data(), r.data());
        k(4, nx.data(), nr.data());
        for (int i = 0; i < 4; ++i) EXPECT_EQ(nr[i], -r[i]) << what << " at " << show(x[i]);
    }
}

TEST(RootSpecial, EveryVariant) {
    check_cbrt_specials<double>(_lumdCbrt_26, _lumdInvCbrt_26, "d EP");
    check_cbrt_specials<float>(_lumsCbrt_21, _lumsInvCbrt_21, "s LA");
    check_cbrt_specials<float>(_lumsCbrt_11, _lumsInvCbrt_11, "s EP");
}

template <class T>
void check_hypot(BinaryKernel<T> k, const char* what) {
    using L = std::numeric_limits<T>;
    const T inf = kInf<T>, nan = kNaN<T>, z = T(0), d = L::denorm_min();
    struct C {
        T x, y, want;
        int code;
    };
    const std::vector<C> cases = {
        {inf, nan, inf, 0}, {nan, -inf, inf, 0}, {-inf, T(1), inf, 0}, {nan, T(1), nan, 0}, {T(1), nan, nan, 0},
        {z, z, z, 0}, {-z, -z, z, 0}, {T(3), T(-4), T(5), 0}, {T(-5), T(12), T(13), 0}, {d * 3, d * 4, d * 5, 0},
        {L::max(), L::max(), inf, 3}, {L::max(), z, L::max(), 0}, {z, -L::min(), L::min(), 0},
        {std::ldexp(T(3), L::max_exponent - 3), std::ldexp(T(4), L::max_exponent - 3), std::ldexp(T(5), L::max_exponent - 3), 0},
        {std::ldexp(T(3), L::min_exponent - 10), std::ldexp(T(4), L::min_exponent - 10), std::ldexp(T(5), L::min_exponent - 10), 0},
        {T(1), d, T(1), 0}};
    const int n = int(cases.size());
    std::vector<T> x(n), y(n), r(n);
    for (int i = 0; i < n; ++i) x[i] = cases[i].x, y[i] = cases[i].y;
    Reports reports;
    k(n, x.data(), y.data(), r.data());
    for (int i = 0; i < n; ++i) {
        EXPECT_TRUE(same(r[i], cases[i].want)) << what << "(" << show(x[i]) << ", " << show(y[i]) << ") = " << show(r[i]);
        EXPECT_EQ(Reports::code_at(i), cases[i].code) << what << "(" << show(x[i]) << ", " << show(y[i]) << ")";
    }
}

TEST(RootSpecial, Hypot) {
    check_hypot<double>(_lumdHypot, "dHypot HA");
    check_hypot<double>(_lumdHypot_50, "dHypot LA");
    check_hypot<double>(_lumdHypot_26, "dHypot EP");
    check_hypot<float>(_lumsHypot, "sHypot HA");
    check_hypot<float>(_lumsHypot_21, "sHypot LA");
    check_hypot<float>(_lumsHypot_11, "sHypot EP");
}

// Strided kernels give the contiguous results, element by element.
template <class T>
std::vector<T> mixed_args(unsigned seed) {
    return qor::test::draw<T>(qor::test::Domain::root, false, 400, seed).x;
}

TEST(RootSpecial, StridedMatchesContiguous) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto d = mixed_args<double>(401);
    const auto s = mixed_args<float>(402);
    expect_strided_matches<double>(_lumdCbrt, _lumdCbrtI, d);
    expect_strided_matches<double>(_lumdCbrt_26, _lumdCbrtI_26, d);
    expect_strided_matches<double>(_lumdInvCbrt, _lumdInvCbrtI, d);
    expect_strided_matches<double>(_lumdInvCbrt_50, _lumdInvCbrtI_50, d);
    expect_strided_matches<double>(_lumdPow2o3, _lumdPow2o3I, d);
    expect_strided_matches<double>(_lumdPow3o2, _lumdPow3o2I, d);
    expect_strided_matches<float>(_lumsCbrt, _lumsCbrtI, s);
    expect_strided_matches<float>(_lumsCbrt_21, _lumsCbrtI_21, s);
    expect_strided_matches<float>(_lumsCbrt_11, _lumsCbrtI_11, s);
    expect_strided_matches<float>(_lumsInvCbrt, _lumsInvCbrtI, s);
    expect_strided_matches<float>(_lumsInvCbrt_21, _lumsInvCbrtI_21, s);
    // The strided single row has no EP kernel of its own: its EP slot is LA.
    expect_strided_matches<float>(_lumsInvCbrt_21, _lumsInvCbrtI_11, s);
    expect_strided_matches<float>(_lumsPow2o3, _lumsPow2o3I, s);
    expect_strided_matches<float>(_lumsPow3o2, _lumsPow3o2I, s);

    const auto pd = random_pairs<double>(305, 403);
    const auto ps = random_pairs<float>(305, 404);
    auto strided_binary = [](auto contiguous, auto strided, const auto& p) {
        using T = std::decay_t<decltype(p.x[0])>;
        const int n = int(p.x.size());
        std::vector<T> want(n), xs(2 * n), ys(3 * n), out(2 * n, T(-7));
        contiguous(n, p.x.data(), p.y.data(), want.data());
        for (int i = 0; i < n; ++i) xs[2 * i] = p.x[i], ys[3 * i] = p.y[i];
        strided(n, xs.data(), 2, ys.data(), 3, out.data(), 2);
        for (int i = 0; i < n; ++i) {
            EXPECT_TRUE(same(out[2 * i], want[i])) << i;
            EXPECT_EQ(out[2 * i + 1], T(-7));
        }
    };
    strided_binary(_lumdHypot, _lumdHypotI, pd);
    strided_binary(_lumdHypot_26, _lumdHypotI_26, pd);
    strided_binary(_lumsHypot, _lumsHypotI, ps);
    strided_binary(_lumsHypot_21, _lumsHypotI_21, ps);
    strided_binary(_lumdPow, _lumdPowI, pd);
    strided_binary(_lumdPow_50, _lumdPowI_50, pd);
    strided_binary(_lumsPow_11, _lumsPowI_11, ps);
    strided_binary(_lumdPowr_26, _lumdPowrI_26, pd);
    strided_binary(_lumsPowr, _lumsPowrI, ps);
}

// Under the flush-to-zero mode subnormal arguments are zeros.
TEST(RootSpecial, FlushToZeroMode) {
    using L = std::numeric_limits<double>;
    Reports reports(QOR_VM_ERRMODE_CALLBACK | QOR_VM_HA | QOR_VM_FTZDAZ_ON);
    std::vector<double> x = {L::denorm_min() * 5, -L::denorm_min(), 8.0}, r(3);
    _lumdCbrt(3, x.data(), r.data());
    EXPECT_TRUE(same(r[0], 0.0));
    EXPECT_TRUE(same(r[1], -0.0));
    EXPECT_EQ(r[2], 2.0);
    _lumdInvCbrt(3, x.data(), r.data());
    EXPECT_EQ(r[0], kInf<double>);
    EXPECT_EQ(r[1], -kInf<double>);
    EXPECT_EQ(Reports::code_at(0), 2);
    std::vector<float> xf = {std::numeric_limits<float>::denorm_min() * 9, 27.0f, 2.0f, 1.0f}, rf(4);
    _lumsCbrt(4, xf.data(), rf.data());
    EXPECT_TRUE(same(rf[0], 0.0f));
    EXPECT_EQ(rf[1], 3.0f);
    _lumsPow2o3(4, xf.data(), rf.data());
    EXPECT_TRUE(same(rf[0], 0.0f));
    EXPECT_EQ(rf[1], 9.0f);
    std::vector<float> yf = {std::numeric_limits<float>::denorm_min(), 0.0f, 0.0f, 0.0f};
    _lumsHypot(4, yf.data(), yf.data(), rf.data());
    EXPECT_TRUE(same(rf[0], 0.0f));
}

}  // namespace
}  // namespace pow_test
