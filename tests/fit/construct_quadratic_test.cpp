// Quadratic spline construction against its defining equations in long
// double: type 0 (knots at the breakpoints, fixed by the value at the middle
// of the first interval) and type 1 (knots between the breakpoints, one
// piece around each breakpoint) under every boundary condition; a parabola
// reproduced by both.
#include "construct_spline.h"

namespace {

using namespace spline_test;

constexpr Entry kQuadratic = qor_kp_kernel_dKPQuadraticSpline1D;

// Knot k inside (x[k], x[k+1]), 0.2 to 0.8 of the way.
std::vector<double> knots_of(const Data<>& d, std::mt19937_64& rng) {
    std::uniform_real_distribution<double> at(0.2, 0.8);
    std::vector<double> t;
    for (int64_t k = 0; k + 1 < d.nx; ++k) t.push_back(d.x[k] + at(rng) * (d.x[k + 1] - d.x[k]));
    return t;
}

// Type 1: piece i around x[i] from knot i-1 to knot i.
void check_between(const Data<>& d, int64_t j, const double* c, const std::vector<double>& t, int64_t bcType,
                   const double* bc) {
    const int64_t n = d.nx;
    const double* y = d.values(j);
    auto at = [&](int64_t i, int k, long double site) { return derivative(c + 3 * i, 3, k, site - d.x[i]); };
    for (int64_t i = 0; i < n; ++i) ASSERT_EQ(c[3 * i], y[i]);
    for (int64_t k = 0; k + 1 < n; ++k)
        for (int q = 0; q < 2; ++q) ASSERT_TRUE(close(at(k, q, t[k]), at(k + 1, q, t[k]), 1e-11L)) << k;
    const long double l1 = c[1], l2 = 2 * c[2], r1 = c[3 * n - 2], r2 = 2 * c[3 * n - 1];
    switch (bcType) {
        case 1: EXPECT_TRUE(l2 == 0 && r2 == 0); break;
        case 2: EXPECT_TRUE(close(c[2], c[5], 1e-11L) && close(c[3 * n - 1], c[3 * n - 4], 1e-11L)); break;
        case 64: EXPECT_TRUE(close(l1, r1, 1e-11L) && close(l2, r2, 1e-11L)); break;
        default:
            EXPECT_TRUE(close(bcType & 4 ? l1 : l2, bc[0], 1e-11L));
            EXPECT_TRUE(close(bcType & 8 ? r1 : r2, bc[1], 1e-11L));
    }
}

}  // namespace

TEST(FitQuadratic, KnotsBetweenBreakpointsMeetTheirEquationsUnderEveryBoundaryCondition) {
    std::mt19937_64 rng(21);
    const double bc[2] = {0.4, -1.2};
    for (auto [nx, ny] : {std::pair<int64_t, int64_t>{2, 1}, {3, 1}, {9, 2}, {2000, 5}}) {
        Data<> d(nx, ny, rng);
        for (int64_t j = 0; j < ny; ++j) d.y[j * nx + nx - 1] = d.y[j * nx];
        const std::vector<double> t = knots_of(d, rng);
        for (int64_t code : {1, 2, 12, 36, 24, 48, 64}) {
            SCOPED_TRACE(testing::Message() << nx << "x" << ny << " bcType " << code);
            Params<> p{3, 1, code, bc, 8, t.data()};
            std::vector<double> c;
            ASSERT_EQ(construct(d, hintValuesWhole, false, p, kQuadratic, c, &kFourThreads, nx), 0);
            for (int64_t j = 0; j < ny; ++j) check_between(d, j, c.data() + 3 * nx * j, t, code, bc);
        }
    }
}

TEST(FitQuadratic, KnotsAtBreakpointsInterpolateWithContinuousSlopeThroughTheGivenMiddleValue) {
    std::mt19937_64 rng(22);
    Data<> d(300, 2, rng);
    const double middle = 0.8;
    Params<> p{3, 0, 128, &middle};
    std::vector<double> c;
    ASSERT_EQ(construct(d, hintValuesDefault, false, p, kQuadratic, c, &kFourThreads), 0);
    for (int64_t j = 0; j < d.ny; ++j) {
        const double* cj = c.data() + 3 * (d.nx - 1) * j;
        EXPECT_TRUE(close(derivative(cj, 3, 0, (d.x[1] - d.x[0]) / 2.0L), middle, 1e-12L));
        for (int64_t i = 0; i + 1 < d.nx; ++i) {
            const long double h = (long double)d.x[i + 1] - d.x[i];
            ASSERT_EQ(cj[3 * i], d.values(j)[i]);
            ASSERT_TRUE(close(derivative(cj + 3 * i, 3, 0, h), d.values(j)[i + 1], 1e-9L)) << i;
            const long double slope_before = i ? derivative(cj + 3 * (i - 1), 3, 1, (long double)d.x[i] - d.x[i - 1]) : cj[1];
            ASSERT_TRUE(close(slope_before, cj[3 * i + 1], 1e-9L)) << i;
        }
    }
}

TEST(FitQuadratic, BothTypesReproduceAParabola) {
    std::mt19937_64 rng(23);
    Data<> d(12, 1, rng);
    const long double q[3] = {0.3L, -0.9L, 0.6L};
    for (int64_t i = 0; i < d.nx; ++i) d.y[i] = double(derivative(q, 3, 0, d.x[i]));
    const double first[2] = {double(derivative(q, 3, 1, d.x[0])), double(derivative(q, 3, 1, d.x.back()))};
    const double middle = double(derivative(q, 3, 0, (d.x[0] + (long double)d.x[1]) / 2));
    const std::vector<double> t = knots_of(d, rng);
    for (const Params<>& p : {Params<>{3, 0, 128, &middle}, Params<>{3, 1, 2, nullptr, 8, t.data()},
                              Params<>{3, 1, 12, first, 8, t.data()}}) {
        SCOPED_TRACE(testing::Message() << "type " << p.type << " bcType " << p.bcType);
        std::vector<double> c;
        const int64_t pieces = p.type == 1 ? d.nx : d.nx - 1;
        ASSERT_EQ(construct(d, hintValuesDefault, false, p, kQuadratic, c, &kOneThread, pieces), 0);
        for (int64_t i = 0; i < pieces; ++i)
            for (int k = 0; k < 3; ++k)
                ASSERT_TRUE(close(c[3 * i + k], derivative(q, 3, k, d.x[i]) / (k == 2 ? 2 : 1), 1e-10L)) << i << " " << k;
    }
}
