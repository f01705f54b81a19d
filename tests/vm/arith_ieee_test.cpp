// Mul, Div, Inv, Sqr, Sqrt and LinearFrac: division in place, LinearFrac
// against the C expression in every entry point and form, and the codes
// they report (correct rounding of every slot: accuracy_test.cpp).
#include <functional>

#include "arith_support.h"

namespace {

using namespace arith_test;

// Edge pairs, then random pairs: wide-range values, and products and
// quotients that land near overflow and in the subnormal range.
template <class T>
void binary_inputs(std::vector<T>& a, std::vector<T>& b) {
    edge_pairs(a, b);
    auto x = random_mixed<T>(4000, 11), y = random_mixed<T>(4000, 12);
    a.insert(a.end(), x.begin(), x.end());
    b.insert(b.end(), y.begin(), y.end());
    const int e = std::numeric_limits<T>::max_exponent;
    auto big = random_log_uniform<T>(2000, e / 2 - 8, e / 2 + 8, 13),
         small = random_log_uniform<T>(2000, -e / 2 - 16, -e / 2 + 8, 14);
    a.insert(a.end(), big.begin(), big.end());
    b.insert(b.end(), big.rbegin(), big.rend());
    a.insert(a.end(), small.begin(), small.end());
    b.insert(b.end(), small.rbegin(), small.rend());
}

// ---- LinearFrac -------------------------------------------------------------------
template <class T>
T linear_frac(T a, T b, const T* p) {
    volatile T num = p[0] * a;  // one rounding per operation, as C evaluates it
    num = num + p[1];
    volatile T den = p[2] * b;
    den = den + p[3];
    return num / den;
}

template <class T>
using LinearFrac = void (*)(int, const T*, const T*, T, T, T, T, T*);
template <class T>
using LinearFracI = void (*)(int, const T*, int, const T*, int, T, T, T, T, T*, int);

// The kernels with their four parameters bound, as a row of binary entries.
template <class T>
void check_linear_frac(const Entries<LinearFrac<T>>& k, const Entries<LinearFracI<T>>& ki) {
    using C = std::function<void(int, const T*, const T*, T*)>;
    using S = std::function<void(int, const T*, int, const T*, int, T*, int)>;
    std::vector<T> a, b;
    binary_inputs(a, b);
    const T params[][4] = {{T(2), T(3), T(4), T(5)}, {T(1), T(0), T(1), T(0)}, {T(-0.5), T(1e3), T(0), T(1)},
                           {T(0), T(1), T(1), T(0)}, {T(1.25), T(-7), T(-3), T(0.1)}};
    ReportLog log;
    for (const auto& p : params) {
        auto bind = [&](LinearFrac<T> f) {
            return C([=](int n, const T* x, const T* y, T* r) { f(n, x, y, p[0], p[1], p[2], p[3], r); });
        };
        auto bind_i = [&](LinearFracI<T> f) {
            return S([=](int n, const T* x, int incx, const T* y, int incy, T* r, int incr) {
                f(n, x, incx, y, incy, p[0], p[1], p[2], p[3], r, incr);
            });
        };
        Row<C, S> row{{k.name, {bind(k.slot[0]), bind(k.slot[1]), bind(k.slot[2]), bind(k.slot[3])}},
                      {ki.name, {bind_i(ki.slot[0]), bind_i(ki.slot[1]), bind_i(ki.slot[2]), bind_i(ki.slot[3])}}};
        check_binary(row, a, b, [&](T x, T y) { return linear_frac(x, y, p); }, Exact{});
    }
}

TEST(ArithLinearFrac, MatchesTheCExpression) {
    check_linear_frac<double>(ARITH_ENTRIES(d, LinearFrac), ARITH_ENTRIES(d, LinearFracI));
    check_linear_frac<float>(ARITH_ENTRIES(s, LinearFrac), ARITH_ENTRIES(s, LinearFracI));
}

// ---- reported codes ----------------------------------------------------------------
struct Case {
    double a, b;
    int code;  // 0: no report
};

// Each case sits at element 5 of a run of 21 harmless values; run(a, b, r,
// inc) calls the kernel on n = 21 elements spaced inc apart.
template <class T, class Run>
void expect_codes(const char* name, const std::vector<Case>& cases, Run run, int inc = 1) {
    for (const Case& c : cases) {
        std::vector<T> a(21 * inc, T(1.5)), b(21 * inc, T(2)), r(21 * inc);
        a[5 * inc] = T(c.a);
        b[5 * inc] = T(c.b);
        ReportLog log;
        run(a, b, r, inc);
        const auto& rec = ReportLog::records();
        if (c.code == 0) {
            EXPECT_TRUE(rec.empty()) << name << "(" << c.a << ", " << c.b << ") reported " << rec.front().code;
            continue;
        }
        ASSERT_EQ(rec.size(), 1u) << name << "(" << c.a << ", " << c.b << ")";
        EXPECT_EQ(rec[0].code, c.code) << name << "(" << c.a << ", " << c.b << ")";
        EXPECT_EQ(rec[0].index, 5);
        EXPECT_STREQ(rec[0].name, name);
        EXPECT_TRUE(same(T(rec[0].arg1), a[5 * inc]));
        EXPECT_TRUE(same(T(rec[0].res1), r[5 * inc])) << "the record holds the stored result";
        EXPECT_EQ(_lumGetErrStatus(), c.code);
    }
}

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kMax = DBL_MAX;

TEST(ArithIeeeCodes, DivisionAndInverse) {
    const std::vector<Case> div = {{1, 0, 2},       {-1, 0, 2},     {1, -0.0, 2}, {0, 0, 1},
                                   {kInf, kInf, 1}, {kMax, 0.5, 3}, {kInf, 0, 0}, {kNaN, 0, 0},
                                   {0, kNaN, 0},    {0, kInf, 0},   {1, kInf, 0}, {3, 4, 0}};
    expect_codes<double>("vdDiv", div,
                         [](auto& a, auto& b, auto& r, int inc) { _lumdDiv(21, a.data(), b.data(), r.data()); });
    expect_codes<double>("vdDivI", div, [](auto& a, auto& b, auto& r, int inc) {
        _lumdDivI_50(21, a.data(), 1, b.data(), 1, r.data(), 1);
    });
    const std::vector<Case> divf = {{1, 0, 2}, {0, -0.0, 1}, {FLT_MAX, 0.5, 3}, {kInf, 0, 0}, {1, 1e-45, 3}};
    expect_codes<float>(
        "vsDivI", divf,
        [](auto& a, auto& b, auto& r, int inc) { _lumsDivI(21, a.data(), inc, b.data(), inc, r.data(), inc); }, 3);
    const std::vector<Case> inv = {{0, 0, 2},    {-0.0, 0, 2},     {kNaN, 0, 0},
                                   {kInf, 0, 0}, {4.9e-324, 0, 3}, {-4.9e-324, 0, 3}};
    expect_codes<double>("vdInv", inv, [](auto& a, auto&, auto& r, int inc) { _lumdInv(21, a.data(), r.data()); });
    const std::vector<Case> invf = {{0, 0, 2}, {-0.0, 0, 2}, {1.4e-45, 0, 3}, {kInf, 0, 0}};
    expect_codes<float>("vsInv", invf, [](auto& a, auto&, auto& r, int inc) { _lumsInv_11(21, a.data(), r.data()); });
}

TEST(ArithIeeeCodes, ProductsAndRoots) {
    const std::vector<Case> mul = {{kMax, 2, 3}, {-kMax, 2, 3}, {kInf, 0, 1},       {0, -kInf, 1},
                                   {kNaN, 0, 0}, {kInf, 2, 0},  {1e-300, 1e-300, 0}};
    expect_codes<double>("vdMul", mul,
                         [](auto& a, auto& b, auto& r, int inc) { _lumdMul(21, a.data(), b.data(), r.data()); });
    expect_codes<float>("vsMul", {{3e38, 2, 3}, {kInf, 0, 1}, {kInf, 2, 0}},
                        [](auto& a, auto& b, auto& r, int inc) { _lumsMul_21(21, a.data(), b.data(), r.data()); });
    expect_codes<double>("vdSqr", {{kMax, 0, 3}, {-1e200, 0, 3}, {kInf, 0, 0}, {kNaN, 0, 0}},
                         [](auto& a, auto&, auto& r, int inc) { _lumdSqr(21, a.data(), r.data()); });
    const std::vector<Case> sqrt = {{-1, 0, 1},   {-kInf, 0, 1}, {-4.9e-324, 0, 1},
                                    {-0.0, 0, 0}, {kNaN, 0, 0},  {kInf, 0, 0}};
    expect_codes<double>("vdSqrt", sqrt, [](auto& a, auto&, auto& r, int inc) { _lumdSqrt(21, a.data(), r.data()); });
    expect_codes<double>(
        "vdSqrtI", sqrt, [](auto& a, auto&, auto& r, int inc) { _lumdSqrtI(21, a.data(), inc, r.data(), inc); }, 2);
    expect_codes<float>("vsSqrt", {{-1, 0, 1}, {-0.0, 0, 0}},
                        [](auto& a, auto&, auto& r, int inc) { _lumsSqrt(21, a.data(), r.data()); });
}

TEST(ArithIeeeCodes, LinearFrac) {
    auto plain = [](auto& a, auto& b, auto& r, int inc) {
        _lumdLinearFrac(21, a.data(), b.data(), 1, 0, 1, 0, r.data());
    };
    expect_codes<double>(
        "vdLinearFrac",
        {{1, 0, 2}, {-3, -0.0, 2}, {0, 0, 1}, {kMax, 0.5, 3}, {kInf, 0, 0}, {kNaN, 0, 0}, {kInf, kInf, 1}, {2, 4, 0}},
        plain);
    // inf * 0 in the numerator; an overflowing numerator over a finite denominator.
    expect_codes<double>("vdLinearFrac", {{kInf, 1, 1}, {1, 1, 0}}, [](auto& a, auto& b, auto& r, int inc) {
        _lumdLinearFrac(21, a.data(), b.data(), 0, 1, 1, 0, r.data());
    });
    expect_codes<double>(
        "vdLinearFracI", {{kMax, 1, 3}, {1, 1, 0}},
        [](auto& a, auto& b, auto& r, int inc) {
            _lumdLinearFracI(21, a.data(), inc, b.data(), inc, 1, kMax, 1, 0, r.data(), inc);
        },
        2);
    expect_codes<float>(
        "vsLinearFrac", {{1, 0, 2}, {0, 0, 1}, {3e38f, 0.5f, 3}},
        [](auto& a, auto& b, auto& r, int inc) { _lumsLinearFrac(21, a.data(), b.data(), 1, 0, 1, 0, r.data()); });
}

}  // namespace
