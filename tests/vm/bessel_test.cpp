// J0, J1, Y0, Y1, Jn, Yn in both precisions: special values with their
// codes, the Wronskians (which tie J to Y across every method and catch a
// wrong branch or quadrant), the three-term recurrence, the order and
// argument parities and the orders the low-order kernels serve (accuracy
// against MPFR: accuracy_test.cpp).
#include <algorithm>
#include <numbers>
#include <random>

#include "explog_support.h"

namespace explog_test {
namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr int kDomain = QOR_VM_STATUS_DOMAIN, kSing = QOR_VM_STATUS_SING, kOver = QOR_VM_STATUS_OVERFLOW,
              kUnder = QOR_VM_STATUS_UNDERFLOW;

template <class T>
using OrderKernel = void (*)(int, const T*, T, T*);

struct Special {
    double x, want;  // want NaN: any NaN; otherwise bit for bit
    int code;
};

template <class T, class Call>
void expect_specials(Call call, const std::vector<Special>& cases, const char* what) {
    std::vector<T> x, y(cases.size());
    for (const auto& c : cases) x.push_back(T(c.x));
    Reports reports;
    call(int(x.size()), x.data(), y.data());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const auto& c = cases[i];
        if (std::isnan(c.want)) EXPECT_TRUE(std::isnan(y[i])) << what << " x = " << c.x;
        else EXPECT_EQ(bits_of(y[i]), bits_of(T(c.want))) << what << " x = " << c.x << " got " << y[i];
        EXPECT_EQ(Reports::code_at(int(i)), c.code) << what << " x = " << c.x;
    }
}

TEST(BesselSpecial, ZerosInfinitiesNaNAndRangeEnds) {
    const std::vector<Special> j0 = {{0.0, 1.0, 0}, {-0.0, 1.0, 0}, {inf, 0.0, 0}, {-inf, 0.0, 0}, {nan, nan, 0}};
    const std::vector<Special> j1 = {{0.0, 0.0, 0}, {-0.0, -0.0, 0}, {inf, 0.0, 0}, {-inf, 0.0, 0}, {nan, nan, 0}};
    const std::vector<Special> y = {{0.0, -inf, kSing}, {-0.0, -inf, kSing}, {-1.0, nan, kDomain},
                                    {-inf, nan, kDomain}, {inf, 0.0, 0},      {nan, nan, 0}};
    expect_specials<double>(_lumdJ0, j0, "dJ0");
    expect_specials<float>(_lumsJ0, j0, "sJ0");
    expect_specials<double>(_lumdJ1, j1, "dJ1");
    expect_specials<float>(_lumsJ1, j1, "sJ1");
    for (auto k : {_lumdY0, _lumdY1}) expect_specials<double>(k, y, "dY");
    for (auto k : {_lumsY0, _lumsY1}) expect_specials<float>(k, y, "sY");
    // J1 = x/2 below the normal range; Y1 = -2/(pi x) beyond the finite one.
    expect_specials<double>(_lumdJ1, {{0x1p-1060, 0x1p-1061, kUnder}, {-0x1p-1021, -0x1p-1022, 0}}, "dJ1 tiny");
    expect_specials<float>(_lumsJ1, {{0x1p-140, 0x1p-141, kUnder}, {-0x1p-125, -0x1p-126, 0}}, "sJ1 tiny");
    expect_specials<double>(_lumdY1, {{0x1p-1074, -inf, kOver}}, "dY1 tiny");
    expect_specials<float>(_lumsY1, {{0x1p-149, -inf, kOver}}, "sY1 tiny");
}

// J1 Y0 - J0 Y1 = 2/(pi x) and J_{n+1} Y_n - J_n Y_{n+1} = 2/(pi x): x over
// the series, the pieces (edges included), the Hankel form and the
// scalar routine's reduction.
std::vector<double> wronskian_points() {
    std::vector<double> x = around<double>({0.25, 64.0, 0x1p19, 2.0, 4.0, 32.0}, 2);
    for (double v : {1e-300, 1e-8, 0.1, 0.7, 2.404825557695773, 3.8317, 5.5201, 7.0156, 10.0, 30.0, 31.9, 100.0,
                     1e4, 5e5, 1e6, 1e10, 1e22, 1e300})
        x.push_back(v);
    std::mt19937_64 gen(13);
    std::uniform_real_distribution<double> e(-3, 12);
    for (int i = 0; i < 200; ++i) x.push_back(std::exp2(e(gen)));
    return x;
}

TEST(BesselIdentity, WronskiansOfTheLowAndHighOrders) {
    const std::vector<double> x = wronskian_points();
    const int n = int(x.size());
    auto check = [&](const std::vector<double>& j, const std::vector<double>& jn, const std::vector<double>& yv,
                     const std::vector<double>& yn, const char* what) {
        for (int i = 0; i < n; ++i) {
            const double want = 2 / (std::numbers::pi * x[i]);
            const double scale = std::max(std::fabs(jn[i] * yv[i]), std::fabs(j[i] * yn[i]));
            if (!std::isfinite(scale)) continue;
            EXPECT_NEAR(jn[i] * yv[i] - j[i] * yn[i], want, 4e-16 * std::max(want, scale)) << what << " x = " << x[i];
        }
    };
    std::vector<double> j0(n), j1(n), y0(n), y1(n);
    _lumdJ0(n, x.data(), j0.data());
    _lumdJ1(n, x.data(), j1.data());
    _lumdY0(n, x.data(), y0.data());
    _lumdY1(n, x.data(), y1.data());
    check(j0, j1, y0, y1, "J0 J1 Y0 Y1");
    for (double order : {2.0, 7.0, 40.0, 150.0}) {
        std::vector<double> ja(n), jb(n), ya(n), yb(n);
        _lumdJn(n, x.data(), order, ja.data());
        _lumdJn(n, x.data(), order + 1, jb.data());
        _lumdYn(n, x.data(), order, ya.data());
        _lumdYn(n, x.data(), order + 1, yb.data());
        for (int i = 0; i < n; ++i) {  // where J_n underflows or Y_n overflows the check says nothing
            if (std::fabs(ja[i]) < 1e-280 || std::fabs(yb[i]) > 1e280) ja[i] = jb[i] = ya[i] = yb[i] = nan;
        }
        Reports reports;
        check(ja, jb, ya, yb, "Jn Yn");
    }
}

// J_{n-1} + J_{n+1} = (2n/x) J_n in each of the methods of J (the series,
// the backward and the forward recurrence), and the same for Y.
TEST(BesselIdentity, ThreeTermRecurrence) {
    const std::vector<double> x = {0.5, 3.0, 9.5, 12.0, 40.0, 99.0, 101.0, 300.0, 1e5};
    const int n = int(x.size());
    for (auto k : {_lumdJn, _lumdYn})
        for (double order : {5.0, 20.0, 100.0}) {
            std::vector<double> a(n), b(n), c(n);
            k(n, x.data(), order - 1, a.data());
            k(n, x.data(), order, b.data());
            k(n, x.data(), order + 1, c.data());
            for (int i = 0; i < n; ++i) {
                const double rhs = 2 * order / x[i] * b[i];
                if (!std::isfinite(rhs) || std::fabs(rhs) < 1e-290) continue;
                const double scale = std::max({std::fabs(a[i]), std::fabs(c[i]), std::fabs(rhs)});
                EXPECT_NEAR(a[i] + c[i], rhs, 1e-14 * scale) << "n = " << order << " x = " << x[i];
            }
        }
}

TEST(BesselOrders, LowOrdersParitiesAndOrderErrors) {
    const std::vector<double> x = {-7.5, -0.3, 0.0, 0.3, 2.0, 33.0, 1e6, inf, nan};
    const int n = int(x.size());
    auto same = [](double a, double b) { return bits_of(a) == bits_of(b) || (std::isnan(a) && std::isnan(b)); };
    std::vector<double> want(n), got(n), neg(n);
    // Orders 0 and +-1 are the low-order kernels; J_-1 = -J1.
    _lumdJ0(n, x.data(), want.data());
    _lumdJn(n, x.data(), 0.0, got.data());
    for (int i = 0; i < n; ++i) EXPECT_TRUE(same(got[i], want[i])) << "J_0 x = " << x[i];
    _lumdJ1(n, x.data(), want.data());
    _lumdJn(n, x.data(), -1.0, got.data());
    for (int i = 0; i < n; ++i) EXPECT_TRUE(same(got[i], -want[i])) << "J_-1 x = " << x[i];
    // J_{-n} = (-1)^n J_n, J_n(-x) = (-1)^n J_n(x).
    for (double order : {2.0, 3.0, 45.0}) {
        _lumdJn(n, x.data(), order, got.data());
        _lumdJn(n, x.data(), -order, neg.data());
        const double s = std::fmod(order, 2) ? -1 : 1;
        for (int i = 0; i < n; ++i) EXPECT_TRUE(same(neg[i], s * got[i])) << "J_-n n = " << order << " x = " << x[i];
        EXPECT_TRUE(same(got[0], s * [&] {
            double r, p = 7.5;
            _lumdJn(1, &p, order, &r);
            return r;
        }()));
    }
    // Non-integer and non-finite orders: NaN, code 1 for every element but NaN.
    for (double order : {0.5, -2.25, inf, nan}) {
        Reports reports;
        _lumdYn(n, x.data(), order, got.data());
        for (int i = 0; i < n; ++i) {
            EXPECT_TRUE(std::isnan(got[i]));
            EXPECT_EQ(Reports::code_at(i), std::isnan(x[i]) ? 0 : kDomain) << "order " << order << " x = " << x[i];
        }
    }
}

TEST(BesselOrders, HighOrderSpecialsAndCodes) {
    for (double order : {2.0, -3.0, 100.0}) {
        const double s = order < 0 && std::fmod(order, 2) ? -1 : 1;
        const auto jn = [order](int n, const double* a, double* r) { _lumdJn(n, a, order, r); };
        const auto yn = [order](int n, const double* a, double* r) { _lumdYn(n, a, order, r); };
        const auto sjn = [order](int n, const float* a, float* r) { _lumsJn(n, a, float(order), r); };
        const auto syn = [order](int n, const float* a, float* r) { _lumsYn(n, a, float(order), r); };
        const double odd = std::fmod(order, 2) ? -1 : 1;
        expect_specials<double>(jn, {{0.0, 0.0 * s, 0}, {-0.0, s * odd * 0.0, 0},
                                     {inf, s * 0.0, 0}, {nan, nan, 0}, {1e-300, s * 0.0, kUnder}},
                                "dJn");
        expect_specials<double>(yn, {{0.0, -inf * s, kSing}, {-2.0, nan, kDomain}, {inf, s * 0.0, 0}, {nan, nan, 0},
                                     {1e-300, -inf * s, kOver}},
                                "dYn");
        expect_specials<float>(sjn, {{1e-30, s * 0.0, kUnder}, {nan, nan, 0}}, "sJn");
        expect_specials<float>(syn, {{0.0, -inf * s, kSing}, {-2.0, nan, kDomain}, {1e-30, -inf * s, kOver}}, "sYn");
    }
}

TEST(BesselForms, StridedMatchesContiguous) {
    const std::vector<double> x = wronskian_points();
    expect_strided_matches<double>(_lumdJ0, _lumdJ0I, x);
    expect_strided_matches<double>(_lumdY1, _lumdY1I, x);
    std::vector<float> xf;
    for (double v : x) xf.push_back(float(v));
    expect_strided_matches<float>(_lumsJ1, _lumsJ1I, xf);
    expect_strided_matches<float>(_lumsY0, _lumsY0I, xf);
}

}  // namespace
}  // namespace explog_test
