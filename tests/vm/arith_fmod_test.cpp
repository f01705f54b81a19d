// Fmod and Remainder are exact: checked against MPFR on all pairs of edge
// values and on sweeps of some 10^5 pairs each: wide random pairs (mostly
// large quotients, the scalar path), moderate quotients (the vector path),
// quotients within a few ulps of an integer or a half-integer (where the
// rounded quotient is off by one), tiny and subnormal divisors, and pairs at
// the top of the range.  Then the domain reports.
#include "arith_support.h"

namespace {

using namespace arith_test;

template <class T>
void reduce_inputs(std::vector<T>& a, std::vector<T>& b, uint64_t seed) {
    edge_pairs(a, b);
    auto x = random_mixed<T>(30000, seed), y = random_mixed<T>(30000, seed + 1);
    a.insert(a.end(), x.begin(), x.end());
    b.insert(b.end(), y.begin(), y.end());
    std::mt19937_64 g(seed + 2);
    const int digits = std::numeric_limits<T>::digits;
    const int lowest = std::numeric_limits<T>::min_exponent - digits;
    auto mag = random_log_uniform<T>(40000, -8, 8, seed + 3);
    for (size_t i = 0; i < 40000; ++i) {
        T y0 = mag[i];
        // A quotient of up to 2^(digits/2 + 4) that is k or k + 1/2, nudged by a few ulps.
        T k = T(g() % (uint64_t(1) << (digits / 2 + 4))) + ((g() & 1) ? T(0.5) : T(0));
        T x0 = k * y0;
        for (int step = int(g() % 7) - 3; step != 0; step += step > 0 ? -1 : 1)
            x0 = std::nextafter(x0, step > 0 ? std::numeric_limits<T>::infinity() : T(0));
        a.push_back(x0);
        b.push_back(y0);
    }
    // Near the top of the range, where 2|y| overflows or nearly does.
    const int top = std::numeric_limits<T>::max_exponent - 1;
    auto huge_x = random_log_uniform<T>(5000, top - 3, top, seed + 6),
         huge_y = random_log_uniform<T>(5000, top - 5, top, seed + 7);
    a.insert(a.end(), huge_x.begin(), huge_x.end());
    b.insert(b.end(), huge_y.begin(), huge_y.end());
    auto num = random_log_uniform<T>(20000, lowest, lowest + 120, seed + 4);
    auto den = random_log_uniform<T>(20000, lowest, lowest + 60, seed + 5);
    a.insert(a.end(), num.begin(), num.end());
    b.insert(b.end(), den.begin(), den.end());
}

template <class T>
void check_reduce(const Row<Binary<T>, BinaryI<T>>& fmod, const Row<Binary<T>, BinaryI<T>>& remainder) {
    MpfrFormat<T> format;
    std::vector<T> a, b;
    reduce_inputs(a, b, 51);
    ReportLog log;
    check_binary(
        fmod, a, b, [](T x, T y) { return mpfr_apply<T>(mpfr_fmod, x, y); }, Exact{});
    check_binary(
        remainder, a, b, [](T x, T y) { return mpfr_apply<T>(mpfr_remainder, x, y); }, Exact{});
}

TEST(ArithFmod, DoubleIsExact) { check_reduce<double>(ARITH_BINARY_ROW(d, Fmod), ARITH_BINARY_ROW(d, Remainder)); }

TEST(ArithFmod, SingleIsExact) { check_reduce<float>(ARITH_BINARY_ROW(s, Fmod), ARITH_BINARY_ROW(s, Remainder)); }

TEST(ArithFmod, KnownValues) {
    const double inf = std::numeric_limits<double>::infinity();
    const double x[] = {5.5, -5.5, 6, -6, 0x1.805dfa0f8p+94, 7.5, 1e300, -0.0, 3, 0x1p-1074};
    const double y[] = {2, 2, 3, 3, 0x1.a4p+68, -2, 3, 1, inf, 0x1p-1073};
    const double fmod[] = {1.5, -1.5, 0, -0.0, 0x1.a4p+67, 1.5, 0, -0.0, 3, 0x1p-1074};
    // 5.5/2 = 2.75 -> 3; 7.5/2 = 3.75 -> 4; the exact tie x/y = 61415331.5 goes to the even 61415332.
    const double remainder[] = {-0.5, 0.5, 0, -0.0, -0x1.a4p+67, -0.5, 0, -0.0, 3, 0x1p-1074};
    double r[10];
    _lumdFmod(10, x, y, r);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(same(r[i], fmod[i])) << "Fmod(" << x[i] << ", " << y[i] << ") = " << show(r[i]);
    _lumdRemainder(10, x, y, r);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(same(r[i], remainder[i])) << "Remainder(" << x[i] << ", " << y[i] << ") = " << show(r[i]);
}

TEST(ArithFmod, DomainReports) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    const double x[] = {1, 2, inf, -inf, nan, 1, 0, 7};
    const double y[] = {3, 0, 1, 0, 0, nan, -0.0, inf};
    const int domain_at[] = {1, 2, 3, 6};
    for (auto k : {_lumdFmod, _lumdRemainder}) {
        ReportLog log;
        double r[8];
        k(8, x, y, r);
        ASSERT_EQ(ReportLog::records().size(), 4u);
        for (int j = 0; j < 4; ++j) {
            EXPECT_EQ(ReportLog::records()[j].code, QOR_VM_STATUS_DOMAIN);
            EXPECT_EQ(ReportLog::records()[j].index, domain_at[j]);
            EXPECT_TRUE(std::isnan(r[domain_at[j]]));
        }
        EXPECT_TRUE(std::isnan(r[4]) && std::isnan(r[5]));
        EXPECT_EQ(r[7], 7.0);
    }
    float xf[5] = {1, 2, 3, 4, 5}, yf[5 * 3] = {}, rf[5 * 2];
    for (int i = 0; i < 5; ++i) yf[i * 3] = i == 3 ? 0.0f : 2.0f;
    ReportLog log;
    _lumsRemainderI(5, xf, 1, yf, 3, rf, 2);
    ASSERT_EQ(ReportLog::records().size(), 1u);
    EXPECT_EQ(ReportLog::records()[0].index, 3);
    EXPECT_STREQ(ReportLog::records()[0].name, "vsRemainderI");
    EXPECT_EQ(rf[0], 1.0f);
    EXPECT_EQ(rf[2], 0.0f);
}

}  // namespace
