// Abs, CopySign, NextAfter, Fdim, Fmax, Fmin, MaxMag and MinMag against
// glibc's scalar functions (and, where glibc leaves the choice open, the
// preference of +0 for fmax and -0 for fmin) on all pairs of edge values and
// wide random sweeps; Fdim's overflow report; no other reports.
#include "arith_support.h"

namespace {

using namespace arith_test;

// A NaN, signalling or quiet, gives way to a number (glibc would return a
// NaN for a signalling one).
template <class T>
T fmax_ref(T a, T b) {
    if (std::isnan(a)) return b;
    if (std::isnan(b)) return a;
    if (a == 0 && b == 0) return std::signbit(a) ? b : a;
    return std::fmax(a, b);
}

template <class T>
T fmin_ref(T a, T b) {
    if (std::isnan(a)) return b;
    if (std::isnan(b)) return a;
    if (a == 0 && b == 0) return std::signbit(a) ? a : b;
    return std::fmin(a, b);
}

template <class T>
T maxmag_ref(T a, T b) {
    if (std::fabs(a) > std::fabs(b)) return a;
    if (std::fabs(b) > std::fabs(a)) return b;
    return fmax_ref(a, b);
}

template <class T>
T minmag_ref(T a, T b) {
    if (std::fabs(a) < std::fabs(b)) return a;
    if (std::fabs(b) < std::fabs(a)) return b;
    return fmin_ref(a, b);
}

// All edge pairs; random pairs; pairs of equal magnitude and of neighbours.
template <class T>
void pair_inputs(std::vector<T>& a, std::vector<T>& b) {
    edge_pairs(a, b);
    auto x = random_mixed<T>(30000, 41), y = random_mixed<T>(30000, 42);
    a.insert(a.end(), x.begin(), x.end());
    b.insert(b.end(), y.begin(), y.end());
    for (size_t i = 0; i < 4000; ++i) {
        a.push_back(x[i]);
        b.push_back(i % 2 ? -x[i] : std::nextafter(x[i], y[i]));
    }
}

template <class T>
struct SignRows {
    Row<Unary<T>, UnaryI<T>> abs;
    Row<Binary<T>, BinaryI<T>> copysign, nextafter, fdim, fmax, fmin, maxmag, minmag;
};

template <class T>
void check_sign_minmax(const SignRows<T>& rows) {
    std::vector<T> a, b;
    pair_inputs(a, b);
    ReportLog log;
    check_unary(
        rows.abs, a, [](T x) { return std::fabs(x); }, Exact{});
    check_binary(
        rows.copysign, a, b, [](T x, T y) { return std::copysign(x, y); }, Exact{});
    check_binary(
        rows.nextafter, a, b, [](T x, T y) { return std::nextafter(x, y); }, Exact{});
    check_binary(rows.fmax, a, b, fmax_ref<T>, Exact{});
    check_binary(rows.fmin, a, b, fmin_ref<T>, Exact{});
    check_binary(rows.maxmag, a, b, maxmag_ref<T>, Exact{});
    check_binary(rows.minmag, a, b, minmag_ref<T>, Exact{});
    EXPECT_TRUE(ReportLog::records().empty()) << "first report: " << ReportLog::records().front().name;
    // Fdim reports its overflows; the expected results are still C's.
    check_binary(
        rows.fdim, a, b, [](T x, T y) { return std::fdim(x, y); }, Exact{});
}

TEST(ArithSignMinMax, DoubleMatchesLibm) {
    ARITH_NEEDS_EXACT_LIBM();
    check_sign_minmax<double>({ARITH_UNARY_ROW(d, Abs), ARITH_BINARY_ROW(d, CopySign), ARITH_BINARY_ROW(d, NextAfter),
                               ARITH_BINARY_ROW(d, Fdim), ARITH_BINARY_ROW(d, Fmax), ARITH_BINARY_ROW(d, Fmin),
                               ARITH_BINARY_ROW(d, MaxMag), ARITH_BINARY_ROW(d, MinMag)});
}

TEST(ArithSignMinMax, SingleMatchesLibm) {
    ARITH_NEEDS_EXACT_LIBM();
    check_sign_minmax<float>({ARITH_UNARY_ROW(s, Abs), ARITH_BINARY_ROW(s, CopySign), ARITH_BINARY_ROW(s, NextAfter),
                              ARITH_BINARY_ROW(s, Fdim), ARITH_BINARY_ROW(s, Fmax), ARITH_BINARY_ROW(s, Fmin),
                              ARITH_BINARY_ROW(s, MaxMag), ARITH_BINARY_ROW(s, MinMag)});
}

TEST(ArithSignMinMax, KnownValues) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    const double a[] = {-0.0, 0.0, nan, 3, -5, 5, nan, -inf, 0.0, DBL_MAX};
    const double b[] = {0.0, -0.0, 2, nan, 5, -5, nan, 1, -0.0, inf};
    const double maxmag[] = {0.0, 0.0, 2, 3, 5, 5, nan, -inf, 0.0, inf};
    const double minmag[] = {-0.0, -0.0, 2, 3, -5, -5, nan, 1, -0.0, DBL_MAX};
    const double next[] = {0.0, -0.0, nan, nan, -0x1.3ffffffffffffp+2, 0x1.3ffffffffffffp+2, nan, -DBL_MAX, -0.0, inf};
    double r[10];
    _lumdMaxMag(10, a, b, r);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(same(r[i], maxmag[i])) << "MaxMag(" << a[i] << ", " << b[i] << ") = " << r[i];
    _lumdMinMag(10, a, b, r);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(same(r[i], minmag[i])) << "MinMag(" << a[i] << ", " << b[i] << ") = " << r[i];
    _lumdNextAfter(10, a, b, r);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(same(r[i], next[i])) << "NextAfter(" << a[i] << ", " << b[i] << ") = " << r[i];
    const double zero = 0, up = 1;
    _lumdNextAfter(1, &zero, &up, r);
    EXPECT_EQ(r[0], denorm_min<double>());
}

TEST(ArithSignMinMax, FdimReportsOverflowOnly) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    double a[6] = {DBL_MAX, inf, 1, nan, -DBL_MAX, 3}, b[6] = {-DBL_MAX, 1, 2, 1, DBL_MAX, -inf}, r[6];
    ReportLog log;
    _lumdFdim(6, a, b, r);
    ASSERT_EQ(ReportLog::records().size(), 1u);
    EXPECT_EQ(ReportLog::records()[0].code, QOR_VM_STATUS_OVERFLOW);
    EXPECT_EQ(ReportLog::records()[0].index, 0);
    EXPECT_STREQ(ReportLog::records()[0].name, "vdFdim");
    EXPECT_EQ(r[0], inf);
    EXPECT_EQ(r[1], inf);
    EXPECT_TRUE(same(r[2], 0.0));
    EXPECT_TRUE(std::isnan(r[3]));
    EXPECT_TRUE(same(r[4], 0.0));
    EXPECT_EQ(r[5], inf);
}

}  // namespace
