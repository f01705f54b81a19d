// Special values, status codes and exact results of Pow, Powr and Powx in
// every variant and both layouts: the IEEE cases bit for bit (signs of
// zeros included), one report per offending element with its code,
// exact powers exact, and Powx agreeing with Pow on every special base
// whatever method its exponent selects.
#include "pow_support.h"

namespace pow_test {
namespace {

template <class T>
struct Case {
    T x, y, want;
    int code;
};

template <class T>
std::vector<Case<T>> pow_cases() {
    const T inf = kInf<T>, nan = kNaN<T>, z = T(0);
    using L = std::numeric_limits<T>;
    return {
        // y = +-0 gives 1 for every x, NaN included; x = 1 gives 1 for every y.
        {nan, z, T(1), 0}, {nan, -z, T(1), 0}, {inf, z, T(1), 0}, {-inf, -z, T(1), 0}, {z, z, T(1), 0},
        {-z, z, T(1), 0}, {T(-2), z, T(1), 0}, {T(1), nan, T(1), 0}, {T(1), inf, T(1), 0},
        {T(1), -inf, T(1), 0}, {T(1), T(-2.5), T(1), 0}, {T(-1), inf, T(1), 0}, {T(-1), -inf, T(1), 0},
        // NaN otherwise, quietly.
        {nan, T(1), nan, 0}, {T(2), nan, nan, 0}, {-nan, T(-3), nan, 0},
        // Zero bases: poles for negative finite y, signed for odd y.
        {z, T(-3), inf, 2}, {-z, T(-3), -inf, 2}, {-z, T(-2), inf, 2}, {-z, T(-2.5), inf, 2},
        {z, -L::max(), inf, 2}, {-z, -L::denorm_min(), inf, 2}, {z, -inf, inf, 0}, {-z, -inf, inf, 0},
        {-z, T(3), -z, 0}, {-z, T(2), z, 0}, {-z, T(0.5), z, 0}, {z, T(3), z, 0}, {-z, inf, z, 0},
        // Infinite bases.
        {-inf, T(3), -inf, 0}, {-inf, T(-3), -z, 0}, {-inf, T(2), inf, 0}, {-inf, T(0.5), inf, 0},
        {-inf, T(-2), z, 0}, {-inf, T(-0.5), z, 0}, {inf, T(-1), z, 0}, {inf, T(2), inf, 0},
        {inf, L::denorm_min(), inf, 0}, {-inf, inf, inf, 0}, {-inf, -inf, z, 0},
        // Infinite exponents.
        {T(0.5), inf, z, 0}, {T(0.5), -inf, inf, 0}, {T(2), inf, inf, 0}, {T(2), -inf, z, 0},
        {T(-0.5), inf, z, 0}, {T(-2), -inf, z, 0}, {T(-2), inf, inf, 0}, {L::max(), inf, inf, 0},
        {L::denorm_min(), -inf, inf, 0},
        // Negative finite bases: integers only.
        {T(-2), T(0.5), nan, 1}, {T(-8), T(1) / 3, nan, 1}, {-L::max(), T(-0.5), nan, 1},
        {-L::denorm_min(), T(1.5), nan, 1}, {T(-2), T(3), T(-8), 0}, {T(-2), T(2), T(4), 0},
        {T(-2), T(-1), T(-0.5), 0}, {T(-3), T(3), T(-27), 0}, {T(-1), L::max(), T(1), 0},
        {T(-1), T(1) / L::epsilon() + 1, T(-1), 0}, {T(-0.5), T(-3), T(-8), 0},
        // Exact results.
        {T(2), T(10), T(1024), 0}, {T(10), T(2), T(100), 0}, {T(9), T(0.5), T(3), 0}, {T(4), T(1.5), T(8), 0},
        {T(0.25), T(-0.5), T(2), 0}, {T(8), T(1), T(8), 0}, {T(5), T(3), T(125), 0},
        {T(3), T(-2), T(1) / T(9), 0}, {T(1.5), T(2), T(2.25), 0},
        // Overflow and underflow.
        {T(2), T(L::max_exponent), inf, 3}, {T(-2), T(L::max_exponent + 1), -inf, 3}, {L::max(), T(2), inf, 3},
        {T(10), T(-2 * L::max_exponent), z, 4}, {T(-10), T(-2 * L::max_exponent + 1), -z, 4},
        {T(2), T(L::min_exponent - L::digits), L::denorm_min(), 4}, {T(2), T(L::min_exponent - 2), L::min() / 2, 4},
        {T(2), T(L::max_exponent - 1), std::ldexp(T(1), L::max_exponent - 1), 0},
        {T(2), T(L::min_exponent - 1), L::min(), 0}, {T(0.5), T(-L::min_exponent + L::digits + 2), z, 4},
    };
}

template <class T>
std::vector<Case<T>> powr_cases() {
    const T inf = kInf<T>, nan = kNaN<T>, z = T(0);
    return {
        {T(-2), T(2), nan, 1}, {T(-2), z, nan, 1}, {-inf, T(2), nan, 1}, {T(-1), inf, nan, 1},
        {T(-2), nan, nan, 1}, {z, z, nan, 1}, {-z, -z, nan, 1}, {inf, z, nan, 1}, {T(1), inf, nan, 1},
        {T(1), -inf, nan, 1}, {nan, z, nan, 0}, {T(1), nan, nan, 0}, {nan, T(1), nan, 0},
        {T(2), z, T(1), 0}, {T(1), T(3.5), T(1), 0}, {z, T(-3), inf, 2}, {-z, T(-3), inf, 2},
        {z, -inf, inf, 0}, {-z, T(3), z, 0}, {z, T(0.5), z, 0}, {inf, T(-1), z, 0}, {inf, T(2), inf, 0},
        {T(0.5), inf, z, 0}, {T(2), inf, inf, 0}, {T(2), -inf, z, 0}, {T(2), T(10), T(1024), 0},
        {T(9), T(0.5), T(3), 0}, {T(2), T(std::numeric_limits<T>::max_exponent), inf, 3},
        {T(2), T(std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits - 2), z, 4},
    };
}

// Distance in ulps of want (finite, non-zero).
template <class T>
double ulps_from(T got, T want) {
    const int e = std::max(std::ilogb(want), std::numeric_limits<T>::min_exponent - 1);
    return std::fabs(double(got) - double(want)) / std::ldexp(1.0, e - std::numeric_limits<T>::digits + 1);
}

// Runs the contiguous and the strided kernel over the table and checks
// every code (once per element) and every result: zeros, infinities and
// NaN bit for bit, finite results exactly or, for EP, within its limit.
template <class T>
void check_cases(BinaryKernel<T> contiguous, StridedBinary<T> strided, const std::vector<Case<T>>& cases,
                 const char* what, double tolerance = 0) {
    const int n = int(cases.size());
    std::vector<T> x(n), y(n), r(n), xs(2 * n), ys(3 * n), rs(2 * n, T(-7));
    for (int i = 0; i < n; ++i) {
        x[i] = xs[2 * i] = cases[i].x;
        y[i] = ys[3 * i] = cases[i].y;
    }
    for (int layout = 0; layout < 2; ++layout) {
        Reports reports;
        if (layout == 0) contiguous(n, x.data(), y.data(), r.data());
        else strided(n, xs.data(), 2, ys.data(), 3, rs.data(), 2);
        for (int i = 0; i < n; ++i) {
            const T got = layout == 0 ? r[i] : rs[2 * i];
            const T want = cases[i].want;
            const bool approximate = tolerance > 0 && std::isfinite(want) && want != 0;
            EXPECT_TRUE(approximate ? ulps_from(got, want) <= tolerance : same(got, want)) << what << (layout ? " strided" : "") << "(" << show(cases[i].x)
                                                  << ", " << show(cases[i].y) << ") = " << show(got) << ", want "
                                                  << show(cases[i].want);
            EXPECT_EQ(Reports::code_at(i), cases[i].code)
                << what << (layout ? " strided" : "") << "(" << show(cases[i].x) << ", " << show(cases[i].y) << ")";
        }
        int reported = 0;
        for (const auto& c : cases) reported += c.code != 0;
        EXPECT_EQ(int(Reports::log().size()), reported) << what;
    }
}

TEST(PowSpecial, PowDouble) {
    const auto c = pow_cases<double>();
    check_cases<double>(_lumdPow, _lumdPowI, c, "dPow HA");
    check_cases<double>(_lumdPow_50, _lumdPowI_50, c, "dPow LA");
    check_cases<double>(_lumdPow_26, _lumdPowI_26, c, "dPow EP", Limits<double>::ep);
}

TEST(PowSpecial, PowSingle) {
    const auto c = pow_cases<float>();
    check_cases<float>(_lumsPow, _lumsPowI, c, "sPow HA");
    check_cases<float>(_lumsPow_21, _lumsPowI_21, c, "sPow LA");
    check_cases<float>(_lumsPow_11, _lumsPowI_11, c, "sPow EP", Limits<float>::ep);
}

TEST(PowSpecial, Powr) {
    const auto d = powr_cases<double>();
    check_cases<double>(_lumdPowr, _lumdPowrI, d, "dPowr HA");
    check_cases<double>(_lumdPowr_50, _lumdPowrI_50, d, "dPowr LA");
    check_cases<double>(_lumdPowr_26, _lumdPowrI_26, d, "dPowr EP", Limits<double>::ep);
    const auto s = powr_cases<float>();
    check_cases<float>(_lumsPowr, _lumsPowrI, s, "sPowr HA");
    check_cases<float>(_lumsPowr_21, _lumsPowrI_21, s, "sPowr LA");
    check_cases<float>(_lumsPowr_11, _lumsPowrI_11, s, "sPowr EP", Limits<float>::ep);
}

// Integer powers of small integers, and of 2 over the whole exponent
// range, are exact whenever the result is representable.
template <class T>
void check_exact_powers(BinaryKernel<T> kernel, const char* what, bool negative_bases = true) {
    Pairs<T> p;
    std::vector<T> want;
    for (int b = negative_bases ? -20 : 1; b <= 20; ++b)
        for (int e = -12; e <= 40; ++e) {
            const double v = std::pow(double(b), double(e));
            if (b == 0 || !std::isfinite(v)) continue;
            const long double back = std::pow((long double)b, e);  // representable when T(v) is exact
            if ((long double)T(v) != back || std::fabs(v) < double(std::numeric_limits<T>::min())) continue;
            p.add(T(b), T(e));
            want.push_back(T(v));
        }
    for (int e = std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits;
         e < std::numeric_limits<T>::max_exponent; ++e) {
        p.add(T(2), T(e));
        want.push_back(std::ldexp(T(1), e));
        p.add(T(0.5), T(-e));
        want.push_back(std::ldexp(T(1), e));
    }
    for (T h : {T(4), T(16), T(0.25), T(64)})
        for (int k = -7; k <= 7; k += 2) {
            p.add(h, T(k) / 2);
            want.push_back(T(std::pow(double(h), k / 2.0)));
        }
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    std::vector<T> r(p.x.size());
    kernel(int(p.x.size()), p.x.data(), p.y.data(), r.data());
    for (std::size_t i = 0; i < p.x.size(); ++i)
        EXPECT_EQ(bits_of(r[i]), bits_of(want[i])) << what << "(" << show(p.x[i]) << ", " << show(p.y[i]) << ")";
}

TEST(PowSpecial, ExactPowers) {
    check_exact_powers<double>(_lumdPow, "dPow HA");
    check_exact_powers<double>(_lumdPow_50, "dPow LA");
    check_exact_powers<double>(_lumdPowr, "dPowr HA", false);
    check_exact_powers<float>(_lumsPow, "sPow HA");
    check_exact_powers<float>(_lumsPow_21, "sPow LA");
}

// Powx must agree with Pow on every special base, for exponents that select
// each of its methods, and report with b as the second argument.
template <class T>
void check_powx_against_pow(PowxKernel<T> powx, StridedPowx<T> powx_strided, BinaryKernel<T> pow, double limit,
                            const char* what) {
    using L = std::numeric_limits<T>;
    const std::vector<T> bases = {T(0), -T(0), kInf<T>, -kInf<T>, kNaN<T>, T(1), T(-1), T(2), T(-2), T(0.5),
                                  T(-0.5), L::max(), -L::max(), L::min(), -L::min(), L::denorm_min(),
                                  -L::denorm_min(), T(3), T(-3), T(1e-3), T(1e3), T(-1e-3)};
    const T exponents[] = {T(0), -T(0), T(1), T(-1), T(2), T(-2), T(3), T(-3), T(0.5), T(-0.5), T(7), T(-7),
                           T(64), T(-64), T(1000), T(-1001), T(2.5), T(-2.5), T(1e9), kInf<T>, -kInf<T>, kNaN<T>,
                           L::denorm_min()};
    const int n = int(bases.size());
    for (T b : exponents) {
        std::vector<T> ys(n, b), want(n), got(n), spread(3 * n), got_strided(2 * n);
        for (int i = 0; i < n; ++i) spread[3 * i] = bases[i];
        std::vector<int> pow_codes(n);
        {
            Reports r;
            pow(n, bases.data(), ys.data(), want.data());
            for (int i = 0; i < n; ++i) pow_codes[i] = Reports::code_at(i);
        }
        for (int layout = 0; layout < 2; ++layout) {
            Reports r;
            if (layout == 0) powx(n, bases.data(), b, got.data());
            else powx_strided(n, spread.data(), 3, b, got_strided.data(), 2);
            for (int i = 0; i < n; ++i) {
                const T g = layout == 0 ? got[i] : got_strided[2 * i];
                const bool special = !std::isfinite(bases[i]) || bases[i] == 0 || std::fabs(bases[i]) == 1 || !std::isfinite(b) || b == 0;
                if (special || pow_codes[i] != 0) {
                    EXPECT_TRUE(same(g, want[i])) << what << "(" << show(bases[i]) << ", " << show(b) << ") = " << show(g)
                                                  << ", pow gives " << show(want[i]);
                } else {
                    EXPECT_LE(qor::test::binary_error<T>(mpfr_pow, bases[i], b, g), limit)
                        << what << "(" << show(bases[i]) << ", " << show(b) << ") = " << show(g);
                }
                EXPECT_EQ(Reports::code_at(i), pow_codes[i]) << what << "(" << show(bases[i]) << ", " << show(b) << ")";
            }
            for (const auto& rec : Reports::log()) EXPECT_TRUE(same(rec.arg2, double(b))) << what << " report of b";
        }
    }
}

TEST(PowSpecial, PowxAgreesWithPow) {
    check_powx_against_pow<double>(_lumdPowx, _lumdPowxI, _lumdPow, Limits<double>::ha, "dPowx HA");
    check_powx_against_pow<double>(_lumdPowx_50, _lumdPowxI_50, _lumdPow_50, Limits<double>::la, "dPowx LA");
    check_powx_against_pow<double>(_lumdPowx_26, _lumdPowxI_26, _lumdPow_26, Limits<double>::ep, "dPowx EP");
    check_powx_against_pow<float>(_lumsPowx, _lumsPowxI, _lumsPow, Limits<float>::ha, "sPowx HA");
    check_powx_against_pow<float>(_lumsPowx_21, _lumsPowxI_21, _lumsPow_21, Limits<float>::la, "sPowx LA");
    check_powx_against_pow<float>(_lumsPowx_11, _lumsPowxI_11, _lumsPow_11, Limits<float>::ep, "sPowx EP");
}

// The error record of a Pow report: the element's index (with the base
// adjustment), both arguments and the result; a callback may replace it.
TEST(PowSpecial, ReportRecordAndCallbackResult) {
    std::vector<double> x = {2.0, -2.0, 3.0, 0.0, 5.0}, y = {2.0, 0.5, 1.0, -1.0, 2000.0}, r(5);
    Reports reports;
    qor_lum_kernel_SetInterfInputVectorPointer(x.data() - 100);
    _lumdPow(5, x.data(), y.data(), r.data());
    ASSERT_EQ(Reports::log().size(), 3u);
    const auto& dom = Reports::log()[0];
    EXPECT_EQ(dom.code, 1);
    EXPECT_EQ(dom.index, 101);
    EXPECT_EQ(dom.arg1, -2.0);
    EXPECT_EQ(dom.arg2, 0.5);
    EXPECT_TRUE(std::isnan(dom.res1));
    EXPECT_EQ(std::string(dom.name), "vdPow");
    EXPECT_EQ(Reports::log()[1].code, 2);
    EXPECT_EQ(Reports::log()[2].code, 3);
    EXPECT_EQ(r[0], 4.0);
    EXPECT_EQ(r[2], 3.0);
    EXPECT_EQ(r[4], kInf<double>);
    EXPECT_EQ(qor_lum_kernel_GetErrStatus(), 3);

    std::vector<float> xf = {-1.0f, 2.0f}, rf(2);
    Reports again;
    _lumsPowx(2, xf.data(), 0.5f, rf.data());
    ASSERT_EQ(Reports::log().size(), 1u);
    EXPECT_EQ(Reports::log()[0].arg2, 0.5);
    EXPECT_EQ(std::string(Reports::log()[0].name), "vsPowx");
    EXPECT_EQ(rf[1], std::sqrt(2.0f));
}

// In place: the output may be either input.
TEST(PowSpecial, InPlace) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto p = random_pairs<double>(203, 77);
    std::vector<double> want(p.x.size());
    _lumdPow(int(p.x.size()), p.x.data(), p.y.data(), want.data());
    auto a = p.x, b = p.y;
    _lumdPow(int(p.x.size()), a.data(), b.data(), a.data());
    auto a2 = p.x, b2 = p.y;
    _lumdPow(int(p.x.size()), a2.data(), b2.data(), b2.data());
    auto c = p.x;
    _lumdPowx(int(p.x.size()), c.data(), 2.5, c.data());
    std::vector<double> wantx(p.x.size());
    _lumdPowx(int(p.x.size()), p.x.data(), 2.5, wantx.data());
    for (std::size_t i = 0; i < p.x.size(); ++i) {
        EXPECT_TRUE(same(a[i], want[i])) << i;
        EXPECT_TRUE(same(b2[i], want[i])) << i;
        EXPECT_TRUE(same(c[i], wantx[i])) << i;
    }
}

// Under the flush-to-zero mode subnormal arguments count as zeros and
// subnormal results become zeros (still reported as underflow).
TEST(PowSpecial, FlushToZeroMode) {
    using L = std::numeric_limits<double>;
    Reports reports(QOR_VM_ERRMODE_CALLBACK | QOR_VM_HA | QOR_VM_FTZDAZ_ON);
    std::vector<double> x = {L::denorm_min(), 2.0, -L::denorm_min(), 3.0}, y = {2.0, -1070.0, 3.0, L::denorm_min()}, r(4);
    _lumdPow(4, x.data(), y.data(), r.data());
    EXPECT_TRUE(same(r[0], 0.0));
    EXPECT_TRUE(same(r[1], 0.0));
    EXPECT_TRUE(same(r[2], -0.0));
    EXPECT_EQ(r[3], 1.0);
    EXPECT_EQ(Reports::code_at(1), 4);
    std::vector<float> xf = {std::numeric_limits<float>::denorm_min(), 4.0f}, rf(2);
    _lumsPowx(2, xf.data(), -1.0f, rf.data());
    EXPECT_EQ(rf[0], kInf<float>);
    EXPECT_EQ(Reports::code_at(0), 2);
    EXPECT_EQ(rf[1], 0.25f);
}

}  // namespace
}  // namespace pow_test
