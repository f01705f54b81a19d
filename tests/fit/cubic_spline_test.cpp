// Cubic spline construction: every kind under every boundary condition
// checked against its defining equations in long double (interpolation,
// continuity at the inner breakpoints, the end conditions, the kind's
// derivative rule); cubics and parabolas reproduced; Hyman's spline keeps
// monotone data monotone; every storage class, partition form and path
// (serial, blocked, threaded) gives the same coefficients.
#include <algorithm>
#include <cmath>

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
        if (kind.entry == qor_kp_kernel_dKPHermiteCubicSpline1D) {
            ASSERT_EQ(c[4 * i + 1], ic[j * (d.nx - 2) + i - 1]);
        }
        if (kind.entry != qor_kp_kernel_dKPBesselCubicSpline1D) continue;
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
                p.icType = kind.entry == qor_kp_kernel_dKPHermiteCubicSpline1D ? 1 : 0;
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
