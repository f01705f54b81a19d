// Cubic spline construction: every kind under every boundary condition
// checked against its defining equations in long double (interpolation,
// continuity at the inner breakpoints, the end conditions, the kind's
// derivative rule); cubics and parabolas reproduced; Hyman's spline keeps
// monotone data monotone; every storage class, partition form and path
// (serial, blocked, threaded) gives the same coefficients.
#include <algorithm>
#include <cmath>

#include <cstring>

#include "construct_spline.h"

namespace {

using namespace spline_test;

struct Kind {
    const char* name;
    Entry entry, single;
    bool c2;        // second derivative continuous
    bool exact_bc;  // the end conditions hold exactly (Hyman's filter may move them)
};
#define KIND(name, Name, c2, exact) {name, qor_kp_kernel_dKP##Name##CubicSpline1D, qor_kp_kernel_sKP##Name##CubicSpline1D, c2, exact}
const Kind kKinds[] = {KIND("natural", Natural, true, true), KIND("default", Default, true, true),
                       KIND("hermite", Hermite, false, true), KIND("bessel", Bessel, false, true),
                       KIND("hyman", Hyman, false, false),    KIND("akima", Akima, false, true)};
#undef KIND
// Kinds are told apart by name: the address of an imported function in a
// static table need not equal the one taken in code (a DLL's import thunk).
bool is(const Kind& kind, const char* name) { return std::strcmp(kind.name, name) == 0; }
const int64_t kCodes[] = {1, 2, 12, 36, 24, 48, 64};

// Function j's pieces against the equations every cubic kind satisfies and
// the boundary condition bcType with values bc.
template <class T>
void check_equations(const Data<T>& d, int64_t j, const T* c, const Kind& kind, int64_t bcType, const T* bc,
                     long double tol) {
    const int64_t n = d.nx;
    const T* y = d.values(j);
    auto piece = [&](int64_t i) { return c + 4 * i; };
    auto h = [&](int64_t i) { return (long double)d.x[i + 1] - d.x[i]; };
    for (int64_t i = 0; i + 1 < n; ++i) {
        ASSERT_EQ(c[4 * i], y[i]) << i;
        ASSERT_TRUE(close(derivative(piece(i), 4, 0, h(i)), y[i + 1], tol)) << i;
        for (int k = 1; i > 0 && k <= (kind.c2 ? 2 : 1); ++k)
            ASSERT_TRUE(close(derivative(piece(i - 1), 4, k, h(i - 1)), derivative(piece(i), 4, k, 0), tol))
                << "derivative " << k << " at " << i;
    }
    if (!kind.exact_bc) return;
    auto at_left = [&](int k) { return derivative(piece(0), 4, k, 0); };
    auto at_right = [&](int k) { return derivative(piece(n - 2), 4, k, h(n - 2)); };
    switch (bcType) {
        case 1: EXPECT_TRUE(close(at_left(2), 0, tol) && close(at_right(2), 0, tol)); break;
        case 2:
            EXPECT_TRUE(close(derivative(piece(0), 4, 3, 0), derivative(piece(1), 4, 3, 0), tol));
            EXPECT_TRUE(close(derivative(piece(n - 3), 4, 3, 0), derivative(piece(n - 2), 4, 3, 0), tol));
            break;
        case 64:
            EXPECT_TRUE(close(at_left(1), at_right(1), tol));
            EXPECT_TRUE(!kind.c2 || close(at_left(2), at_right(2), tol));
            break;
        default:
            EXPECT_TRUE(close(at_left(bcType & 4 ? 1 : 2), bc[0], tol));
            EXPECT_TRUE(close(at_right(bcType & 8 ? 1 : 2), bc[1], tol));
    }
}

// The kind's own derivative at inner breakpoint i, where the equations
// above leave it free.
template <class T>
void check_rule(const Data<T>& d, int64_t j, const T* c, const Kind& kind, const T* ic, long double tol) {
    const T* y = d.values(j);
    for (int64_t i = 1; i + 1 < d.nx; ++i) {
        if (is(kind, "hermite")) {
            ASSERT_EQ(c[4 * i + 1], ic[j * (d.nx - 2) + i - 1]);
        }
        if (!is(kind, "bessel")) continue;
        const long double h0 = (long double)d.x[i] - d.x[i - 1], h1 = (long double)d.x[i + 1] - d.x[i];
        const long double m0 = (y[i] - (long double)y[i - 1]) / h0, m1 = (y[i + 1] - (long double)y[i]) / h1;
        ASSERT_TRUE(close(c[4 * i + 1], (h1 * m0 + h0 * m1) / (h0 + h1), tol)) << i;
    }
}

template <class T>
void check_every_kind_and_condition(long double tol) {
    std::mt19937_64 rng(16);
    const T bc[2] = {T(0.3), T(-0.7)};
    for (auto [nx, ny] : {std::pair<int64_t, int64_t>{5, 1}, {9, 2}, {3000, 20}}) {
        Data<T> d(nx, ny, rng);
        std::vector<T> ic(ny * (nx - 2));
        for (T& v : ic) v = T(std::uniform_real_distribution<double>(-1, 1)(rng));
        for (int64_t j = 0; j < ny; ++j) d.y[j * nx + nx - 1] = d.y[j * nx];  // periodic too
        for (const Kind& kind : kKinds)
            for (int64_t code : kCodes) {
                SCOPED_TRACE(testing::Message() << kind.name << " nx " << nx << " bcType " << code);
                Params<T> p;
                p.bcType = code;
                p.bc = bc;
                p.icType = is(kind, "hermite") ? 1 : 0;
                p.ic = p.icType ? ic.data() : nullptr;
                std::vector<T> c;
                const Entry entry = sizeof(T) == sizeof(double) ? kind.entry : kind.single;
                ASSERT_EQ(construct(d, hintValuesDefault, false, p, entry, c, &kFourThreads), 0);
                for (int64_t j = 0; j < ny; ++j) {
                    check_equations(d, j, c.data() + 4 * (nx - 1) * j, kind, code, bc, tol);
                    check_rule(d, j, c.data() + 4 * (nx - 1) * j, kind, ic.data(), tol);
                }
            }
    }
}

}  // namespace

TEST(FitCubic, EveryKindMeetsItsEquationsUnderEveryBoundaryCondition) {
    check_every_kind_and_condition<double>(1e-11L);
    check_every_kind_and_condition<float>(2e-3L);
}

TEST(FitCubic, ReproducesThePolynomialsItsConditionsAllow) {
    // A cubic through every kind that takes its exact derivatives (Hermite
    // given them inside) or solves for them (natural, default); a parabola
    // through Bessel's three-point rule.  Coefficients are the Taylor
    // coefficients at each breakpoint.
    std::mt19937_64 rng(3);
    Data<> d(12, 1, rng);
    for (int degree : {3, 2}) {
        const long double p[4] = {0.4L, -1.1L, 0.7L, degree == 3 ? -0.3L : 0.0L};
        for (int64_t i = 0; i < d.nx; ++i) d.y[i] = double(derivative(p, 4, 0, d.x[i]));
        std::vector<double> ic;
        for (int64_t i = 1; i + 1 < d.nx; ++i) ic.push_back(double(derivative(p, 4, 1, d.x[i])));
        const double first[2] = {double(derivative(p, 4, 1, d.x[0])), double(derivative(p, 4, 1, d.x.back()))};
        const double second[2] = {double(derivative(p, 4, 2, d.x[0])), double(derivative(p, 4, 2, d.x.back()))};
        for (const Kind& kind : kKinds) {
            const bool bessel = is(kind, "bessel");
            if ((degree == 3 && bessel) || is(kind, "akima") || !kind.exact_bc) continue;
            for (int64_t code : {2, 12, 48}) {
                SCOPED_TRACE(testing::Message() << kind.name << " degree " << degree << " bcType " << code);
                Params<> q;
                q.bcType = code;
                q.bc = code == 12 ? first : second;
                q.icType = is(kind, "hermite") ? 1 : 0;
                q.ic = q.icType ? ic.data() : nullptr;
                std::vector<double> c;
                ASSERT_EQ(construct(d, hintValuesDefault, false, q, kind.entry, c), 0);
                for (int64_t i = 0; i + 1 < d.nx; ++i)
                    for (int k = 0; k < 4; ++k)
                        ASSERT_TRUE(close(c[4 * i + k], derivative(p, 4, k, d.x[i]) / std::tgamma(k + 1), 1e-11L))
                            << "interval " << i << " coefficient " << k << ": " << c[4 * i + k];
            }
        }
    }
}

TEST(FitCubic, HymanKeepsMonotoneDataMonotone) {
    std::mt19937_64 rng(11);
    std::uniform_real_distribution<double> jump(0, 1);
    for (double sign : {1.0, -1.0})
        for (int64_t code : {1, 2, 12, 48}) {
            Data<> d(200, 1, rng);
            for (int64_t i = 1; i < d.nx; ++i)  // steps of very different sizes, some flat
                d.y[i] = d.y[i - 1] + sign * (i % 7 == 0 ? 0.0 : std::pow(jump(rng), 4) * 10);
            const double bc[2] = {-5 * sign, -5 * sign};  // conditions that would break monotonicity
            Params<> p;
            p.bcType = code;
            p.bc = bc;
            std::vector<double> c;
            ASSERT_EQ(construct(d, hintValuesDefault, false, p, qor_kp_kernel_dKPHymanCubicSpline1D, c), 0);
            for (int64_t i = 0; i + 1 < d.nx; ++i) {
                long double prev = d.y[i];
                for (int s = 1; s <= 16; ++s) {
                    const long double v = derivative(c.data() + 4 * i, 4, 0, (d.x[i + 1] - d.x[i]) * s / 16.0L);
                    ASSERT_GE(sign * (v - prev), -1e-12L) << "interval " << i << " bcType " << code;
                    prev = v;
                }
            }
        }
}

TEST(FitCubic, EveryStorageClassPartitionFormAndPathGivesTheSameCoefficients) {
    // Values by function on one thread (serial or blocks in turn) against
    // values breakpoint by breakpoint on four threads: the same bits.  A
    // partition given by its two ends against the same breakpoints given
    // one by one: the same to rounding.
    std::mt19937_64 rng(8);
    const double bc[2] = {0.25, -0.5};
    for (auto [nx, ny] : {std::pair<int64_t, int64_t>{9, 3}, {2500, 9}, {300, 40}}) {
        Data<> d(nx, ny, rng, true);
        std::vector<double> ic(ny * (nx - 2), 0.5);
        for (const Kind& kind : kKinds) {
            SCOPED_TRACE(testing::Message() << kind.name << " " << nx << "x" << ny);
            Params<> p;
            p.bcType = 36;
            p.bc = bc;
            p.icType = is(kind, "hermite") ? 1 : 0;
            p.ic = p.icType ? ic.data() : nullptr;
            std::vector<double> by_function, whole, uniform;
            ASSERT_EQ(construct(d, hintValuesDefault, false, p, kind.entry, by_function, &kOneThread), 0);
            ASSERT_EQ(construct(d, hintValuesWhole, false, p, kind.entry, whole, &kFourThreads), 0);
            ASSERT_EQ(construct(d, hintValuesByFunction, true, p, kind.entry, uniform, &kFourThreads), 0);
            ASSERT_EQ(by_function, whole);
            for (size_t k = 0; k < whole.size(); ++k) ASSERT_TRUE(close(uniform[k], whole[k], 1e-9L)) << k;
        }
    }
}

TEST(FitCubic, PeriodicConditionRefusesUnequalEndsBeforeWritingAnything) {
    std::mt19937_64 rng(12);
    Data<> d(600, 3, rng);
    for (int64_t j = 0; j < d.ny; ++j) d.y[j * d.nx + d.nx - 1] = j == 1 ? std::nan("") : d.y[j * d.nx];
    const std::vector<double> ic(d.ny * (d.nx - 2)), bc(2);
    for (const Kind& kind : kKinds)
        for (int64_t yhint : {hintValuesDefault, hintValuesWhole}) {
            Params<> p;
            p.bcType = 64;
            p.bc = bc.data();
            p.icType = is(kind, "hermite") ? 1 : 0;
            p.ic = p.icType ? ic.data() : nullptr;
            std::vector<double> c;
            EXPECT_EQ(construct(d, yhint, false, p, kind.entry, c, &kFourThreads), -1018) << kind.name;
            EXPECT_TRUE(std::all_of(c.begin(), c.end(), [](double v) { return v == 7; })) << kind.name;
        }
}
