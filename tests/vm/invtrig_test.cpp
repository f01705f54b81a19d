// Asin, Acos, Atan, Atan2 and their pi-scaled forms in both precisions,
// every slot and both layouts: special values bit for bit with their codes
// (the domain error of |x| > 1, C's table of signed zeros and infinities
// for atan2, nothing reported there), and against MPFR the arguments the
// random sweep rarely meets: the arctangent's breakpoints, pairs of far
// apart magnitudes and pi-scaled results in the subnormal range.
#include "explog_support.h"

namespace explog_test {
namespace {

template <class T>
using Unary = UnaryKernel<T>;
template <class T>
using Binary = qor::test::BinaryKernel<T>;
template <class T>
using StridedBinary = void (*)(int, const T*, int, const T*, int, T*, int);

// The kernels of one row in slot order LA, HA, EP, contiguous and strided.
template <class K, class KI>
struct Row {
    const char* name;
    K k[3];
    KI ki[3];
};
#define QOR_ROW(p, Fn, la, ep) \
    {"v" #p #Fn, {_lum##p##Fn##la, _lum##p##Fn, _lum##p##Fn##ep}, {_lum##p##Fn##I##la, _lum##p##Fn##I, _lum##p##Fn##I##ep}}

template <class T>
bool same(T a, T b) { return (std::isnan(a) && std::isnan(b)) || bits_of(a) == bits_of(b); }

// Special values give the same bits in every slot.
template <class T>
struct Case {
    T x, want;
    int code;
};
template <class T>
struct Case2 {
    T y, x, want;
};

template <class T>
void expect_cases(const Row<Unary<T>, Strided<T>>& row, const std::vector<Case<T>>& cases) {
    const int n = int(cases.size());
    std::vector<T> x(n), xs(2 * n), r(n), rs(3 * n);
    for (int i = 0; i < n; ++i) x[i] = xs[2 * i] = cases[i].x;
    for (int s = 0; s < 3; ++s) {
        for (int layout = 0; layout < 2; ++layout) {
            Reports reports;
            if (layout == 0) row.k[s](n, x.data(), r.data());
            else row.ki[s](n, xs.data(), 2, rs.data(), 3);
            int reported = 0;
            for (int i = 0; i < n; ++i) {
                const T got = layout == 0 ? r[i] : rs[3 * i];
                EXPECT_TRUE(same(got, cases[i].want)) << row.name << (layout ? "I" : "") << " slot " << s << " x = "
                                                      << cases[i].x << ": " << got << ", want " << cases[i].want;
                EXPECT_EQ(Reports::code_at(i), cases[i].code) << row.name << " slot " << s << " x = " << cases[i].x;
                reported += cases[i].code != 0;
            }
            EXPECT_EQ(int(Reports::log().size()), reported) << row.name;
        }
    }
}

template <class T>
void expect_cases(const Row<Binary<T>, StridedBinary<T>>& row, const std::vector<Case2<T>>& cases) {
    const int n = int(cases.size());
    std::vector<T> y(n), x(n), ys(2 * n), xs(3 * n), r(n), rs(2 * n);
    for (int i = 0; i < n; ++i) y[i] = ys[2 * i] = cases[i].y, x[i] = xs[3 * i] = cases[i].x;
    for (int s = 0; s < 3; ++s) {
        for (int layout = 0; layout < 2; ++layout) {
            Reports reports;
            if (layout == 0) row.k[s](n, y.data(), x.data(), r.data());
            else row.ki[s](n, ys.data(), 2, xs.data(), 3, rs.data(), 2);
            for (int i = 0; i < n; ++i) {
                const T got = layout == 0 ? r[i] : rs[2 * i];
                EXPECT_TRUE(same(got, cases[i].want)) << row.name << (layout ? "I" : "") << " slot " << s << " ("
                                                      << cases[i].y << ", " << cases[i].x << "): " << got;
            }
            EXPECT_TRUE(Reports::log().empty()) << row.name << ": atan2 reports nothing";
        }
    }
}

// asin(2), acos(-inf), ... are domain errors with a NaN; NaN is quiet.
template <class T>
std::vector<Case<T>> with_domain(std::vector<Case<T>> v) {
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    for (T x : {T(2), next_down(T(-1)), next_up(T(1)), inf, -inf, std::numeric_limits<T>::max()}) v.push_back({x, nan, 1});
    v.push_back({nan, nan, 0});
    return v;
}

template <class T>
void expect_arcsine_specials(const Row<Unary<T>, Strided<T>>& asin, const Row<Unary<T>, Strided<T>>& acos,
                             const Row<Unary<T>, Strided<T>>& asinpi, const Row<Unary<T>, Strided<T>>& acospi) {
    const T half_pi = T(M_PI_2), pi = T(M_PI), z = T(0);
    expect_cases(asin, with_domain<T>({{z, z, 0}, {-z, -z, 0}, {T(1), half_pi, 0}, {T(-1), -half_pi, 0}}));
    expect_cases(acos, with_domain<T>({{z, half_pi, 0}, {-z, half_pi, 0}, {T(1), z, 0}, {T(-1), pi, 0}}));
    expect_cases(asinpi, with_domain<T>({{z, z, 0}, {-z, -z, 0}, {T(1), T(0.5), 0}, {T(-1), T(-0.5), 0}}));
    expect_cases(acospi, with_domain<T>({{z, T(0.5), 0}, {-z, T(0.5), 0}, {T(1), z, 0}, {T(-1), T(1), 0}}));
}

template <class T>
void expect_arctan_specials(const Row<Unary<T>, Strided<T>>& atan, const Row<Unary<T>, Strided<T>>& atanpi) {
    using L = std::numeric_limits<T>;
    const T inf = L::infinity(), nan = L::quiet_NaN(), z = T(0), half_pi = T(M_PI_2);
    expect_cases<T>(atan, {{z, z, 0}, {-z, -z, 0}, {inf, half_pi, 0}, {-inf, -half_pi, 0}, {nan, nan, 0},
                           {L::max(), half_pi, 0}, {-L::max(), -half_pi, 0}, {L::denorm_min(), L::denorm_min(), 0}});
    expect_cases<T>(atanpi, {{z, z, 0}, {-z, -z, 0}, {inf, T(0.5), 0}, {-inf, T(-0.5), 0}, {nan, nan, 0},
                             {T(1), T(0.25), 0}, {T(-1), T(-0.25), 0}, {L::max(), T(0.5), 0}});
}

// C's table: the angle of each signed zero and infinity, NaN for NaN.
template <class T>
std::vector<Case2<T>> atan2_table(T quarter, T three_quarters) {
    using L = std::numeric_limits<T>;
    const T inf = L::infinity(), nan = L::quiet_NaN(), z = T(0), q = quarter, h = 2 * q, w = 4 * q, t = three_quarters;
    std::vector<Case2<T>> v;
    for (T s : {T(1), T(-1)}) {
        const T p = s * z;  // +-0 with the sign of s
        for (Case2<T> c : std::initializer_list<Case2<T>>{
                 {p, z, p}, {p, -z, s * w}, {p, T(2), p}, {p, T(-2), s * w}, {p, inf, p}, {p, -inf, s * w},
                 {s, z, s * h}, {s, -z, s * h}, {s * L::denorm_min(), -z, s * h}, {s, inf, p}, {s, -inf, s * w},
                 {s * inf, T(3), s * h}, {s * inf, -z, s * h}, {s * inf, inf, s * q}, {s * inf, -inf, s * t},
                 {s * L::max(), L::min(), s * h}, {s * L::min(), -L::max(), s * w}})
            v.push_back(c);
    }
    for (Case2<T> c : std::initializer_list<Case2<T>>{{nan, T(1), nan}, {T(1), nan, nan}, {nan, inf, nan}, {-inf, nan, nan}})
        v.push_back(c);
    return v;
}

TEST(InvTrigSpecial, ArcsineDouble) {
    expect_arcsine_specials<double>(QOR_ROW(d, Asin, _50, _26), QOR_ROW(d, Acos, _50, _26),
                                    QOR_ROW(d, Asinpi, _50, _26), QOR_ROW(d, Acospi, _50, _26));
}
TEST(InvTrigSpecial, ArcsineSingle) {
    expect_arcsine_specials<float>(QOR_ROW(s, Asin, _21, _11), QOR_ROW(s, Acos, _21, _11),
                                   QOR_ROW(s, Asinpi, _21, _11), QOR_ROW(s, Acospi, _21, _11));
}
TEST(InvTrigSpecial, ArctanDouble) { expect_arctan_specials<double>(QOR_ROW(d, Atan, _50, _26), QOR_ROW(d, Atanpi, _50, _26)); }
TEST(InvTrigSpecial, ArctanSingle) { expect_arctan_specials<float>(QOR_ROW(s, Atan, _21, _11), QOR_ROW(s, Atanpi, _21, _11)); }
TEST(InvTrigSpecial, Atan2SignedZerosAndInfinities) {
    const double three_quarter_pi = 0x1.2d97c7f3321d2p+1;  // 3 pi/4 rounded
    expect_cases<double>(QOR_ROW(d, Atan2, _50, _26), atan2_table<double>(M_PI_4, three_quarter_pi));
    expect_cases<double>(QOR_ROW(d, Atan2pi, _50, _26), atan2_table<double>(0.25, 0.75));
    expect_cases<float>(QOR_ROW(s, Atan2, _21, _11), atan2_table<float>(float(M_PI_4), float(three_quarter_pi)));
    expect_cases<float>(QOR_ROW(s, Atan2pi, _21, _11), atan2_table<float>(0.25f, 0.75f));
}

// The error bound of each slot, as the row list gives it.
template <class T>
double bound(int slot, double ha) {
    return slot == 0 ? 4.0 : slot == 1 ? ha : bits_limit<T>(sizeof(T) == 8 ? 26 : 11);
}

// Arguments on and around every breakpoint of the arctangent's table (each
// in [1/2, 2] of its neighbours' centres, where t changes sign), for atan
// and for atan2 with the ratio at the breakpoint and x of either sign.
TEST(InvTrigAccuracy, ArctanBreakpoints) {
    const std::initializer_list<double> breaks = {0.1, 0x1.36ap-2, 0x1.11ap-1, 0x1.a44p-1, 0x1.37ep+0, 0x1.dfp+0, 0x1.a6p+1, 10.0};
    const std::vector<double> xs = around<double>(breaks, 4);
    std::vector<float> fs;
    for (double x : xs) fs.push_back(float(x)), fs.push_back(next_up(float(x))), fs.push_back(-float(x));
    const Row<Unary<double>, Strided<double>> datan = QOR_ROW(d, Atan, _50, _26);
    const Row<Unary<float>, Strided<float>> satan = QOR_ROW(s, Atan, _21, _11);
    for (int s = 0; s < 3; ++s) {
        EXPECT_EQ(qor::test::measure_unary<double>(datan.k[s], mpfr_atan, xs, bound<double>(s, 0.6)).above, 0u) << s;
        EXPECT_EQ(qor::test::measure_unary<float>(satan.k[s], mpfr_atan, fs, bound<float>(s, 0.6)).above, 0u) << s;
    }
    const Row<Binary<double>, StridedBinary<double>> datan2 = QOR_ROW(d, Atan2, _50, _26);
    for (double b : {1e-300, 3.0, -0.7, -1e300}) {
        for (double c : breaks) {
            std::vector<double> y = around<double>({c * std::fabs(b)}, 3), x(y.size(), b), r(y.size());
            for (int s = 0; s < 3; ++s) {
                datan2.k[s](int(y.size()), y.data(), x.data(), r.data());
                for (std::size_t i = 0; i < y.size(); ++i)
                    EXPECT_LE(qor::test::binary_error<double>(mpfr_atan2, y[i], x[i], r[i]), bound<double>(s, 1))
                        << "slot " << s << " atan2(" << y[i] << ", " << x[i] << ")";
            }
        }
    }
}

// Far apart magnitudes (no spurious overflow or underflow, results down in
// the subnormal range rounded once) and the pi-scaled forms of tiny
// arguments, whose results are subnormal.
TEST(InvTrigAccuracy, FarApartAndSubnormalResults) {
    using L = std::numeric_limits<double>;
    const std::vector<std::pair<double, double>> pairs = {
        {1e-300, 1e300}, {-1e-300, 1e300}, {L::denorm_min(), 1.0}, {3 * L::denorm_min(), 0.7}, {1e-310, 3e-300},
        {0x1.8p-1000, 1.0}, {0x1.3p-960, 1.0}, {1e-320, -1e-300}, {L::max(), 1e-300}, {1e-200, L::max()},
        {0x1.5p-1022, 0x1.1p-60}, {-7e-310, 2e-5}, {L::max(), -L::max()}, {L::min(), L::min()},
        {1e-310, 0.3}, {-0x1.23456789p-1030, 1.7}, {0x1.fedcbap-1001, 1.3}, {1e-300, 3e10}};
    const Row<Binary<double>, StridedBinary<double>> atan2 = QOR_ROW(d, Atan2, _50, _26), atan2pi = QOR_ROW(d, Atan2pi, _50, _26);
    for (const auto& [y, x] : pairs) {
        for (int s = 0; s < 3; ++s) {
            double r, rp;
            atan2.k[s](1, &y, &x, &r);
            atan2pi.k[s](1, &y, &x, &rp);
            // HA and the pi-scaled form round these once.
            EXPECT_LE(qor::test::binary_error<double>(mpfr_atan2, y, x, r), bound<double>(s, 0.501)) << "atan2(" << y << ", " << x << ")";
            EXPECT_LE(qor::test::binary_error<double>(mpfr_atan2pi, y, x, rp), 0.501) << "atan2pi(" << y << ", " << x << ")";
        }
    }
    std::vector<double> tiny = {L::denorm_min(), -3 * L::denorm_min(), 1e-310,          -0x1.fffffp-1022,       0x1p-1000,
                                0x1.9p-901,      0x1p-899,              -0x1.828e204a3ec95p-1021, -0x1.0142deeb711ep-1021};
    EXPECT_EQ(qor::test::measure_unary<double>(_lumdAsinpi, mpfr_asinpi, tiny, 0.5001).above, 0u);
    EXPECT_EQ(qor::test::measure_unary<double>(_lumdAtanpi, mpfr_atanpi, tiny, 0.5001).above, 0u);
    std::vector<float> tiny_f = {std::numeric_limits<float>::denorm_min(), -1e-40f, 1e-39f, 0x1p-126f};
    EXPECT_EQ(qor::test::measure_unary<float>(_lumsAsinpi, mpfr_asinpi, tiny_f, 0.5001).above, 0u);
    EXPECT_EQ(qor::test::measure_unary<float>(_lumsAtanpi, mpfr_atanpi, tiny_f, 0.5001).above, 0u);
}

// Under the flush-to-zero mode a subnormal argument counts as a zero of its
// sign, also where the scalar routine takes it.
TEST(InvTrigSpecial, FlushedSubnormalsKeepTheirSign) {
    Reports reports(QOR_VM_ERRMODE_CALLBACK | QOR_VM_HA | QOR_VM_FTZDAZ_ON);
    const double x[3] = {-1e-310, 4.9e-324, -0x1p-1030}, one[3] = {1.0, 1.0, 1.0};
    double r[3];
    for (Unary<double> k : {_lumdAsin, _lumdAsinpi, _lumdAtan, _lumdAtanpi}) {
        k(3, x, r);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(bits_of(r[i]), bits_of(x[i] < 0 ? -0.0 : 0.0)) << i;
    }
    for (Binary<double> k : {_lumdAtan2, _lumdAtan2pi}) {
        k(3, x, one, r);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(bits_of(r[i]), bits_of(x[i] < 0 ? -0.0 : 0.0)) << i;
    }
    EXPECT_TRUE(Reports::log().empty());
}

}  // namespace
}  // namespace explog_test
