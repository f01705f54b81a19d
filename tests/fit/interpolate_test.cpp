// Interpolation and integration over coefficients set by hand: piecewise
// polynomials of orders 1 to 6, different on every interval, against direct
// evaluation in long double (powers, not Horner's rule) and against
// Gauss-Legendre quadrature of the pieces; every result layout, site hint,
// partition form, integer width and the threaded path; the checks that
// leave the outputs untouched.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "qor/qor_kp.h"

namespace {

int limit_four() { return 4; }
const qor_threading kFourThreads{qor_rix_serv_threader_for, limit_four};

template <class T>
struct Spline {
    static constexpr bool kDouble = sizeof(T) == 8;
    int64_t nx, ny, order;
    bool uniform;
    std::vector<T> x, ends, y, c;
    FitTask* task = nullptr;

    Spline(int64_t nx_, int64_t ny_, int64_t order_, bool uniform_, uint32_t width, std::mt19937_64& rng)
        : nx(nx_), ny(ny_), order(order_), uniform(uniform_) {
        std::uniform_real_distribution<double> u(-1, 1);
        for (int64_t i = 0; i < nx; ++i)
            x.push_back(uniform ? T(-2 + 0.25 * i) : T(i ? x.back() + 0.3 + u(rng) / 4 : -2));
        ends = {x[0], x.back()};
        y.assign(nx * ny, T(0));
        for (int64_t k = 0; k < ny * order * (nx - 1); ++k) c.push_back(T(u(rng)));
        int32_t s;
        const T* points = uniform ? ends.data() : x.data();
        const int64_t xhint = uniform ? hintPartitionUniform : hintPartitionNonUniform;
        if constexpr (kDouble) s = qor_kp_kernel_dNewTask1D(&task, nx, points, xhint, ny, y.data(), 0, width);
        else s = qor_kp_kernel_sNewTask1D(&task, nx, points, xhint, ny, y.data(), 0, width);
        EXPECT_EQ(s, 0);
        if constexpr (kDouble) s = qor_kp_kernel_dEditPPSpline1D(task, order, 0, 0, nullptr, 0, nullptr, c.data(), 0);
        else s = qor_kp_kernel_sEditPPSpline1D(task, order, 0, 0, nullptr, 0, nullptr, c.data(), 0);
        EXPECT_EQ(s, 0);
    }
    ~Spline() { qor_kp_kernel_DeleteTask(&task); }

    int64_t interval(T t) const {  // the end polynomials continue outside
        const int64_t cell = t == x.back() ? nx - 1 : std::upper_bound(x.begin(), x.end(), t) - x.begin();
        return std::clamp<int64_t>(cell - 1, 0, nx - 2);
    }
    // Derivative q of function j's spline at t, from the powers of t - x[i],
    // and the sum of the terms' magnitudes.
    long double at(int64_t j, T t, int64_t q, long double* size) const {
        const int64_t i = interval(t);
        long double v = 0, d = (long double)t - x[i];
        *size = 0;
        for (int64_t m = q; m < order; ++m) {
            long double f = c[(j * (nx - 1) + i) * order + m];
            for (int64_t r = 0; r < q; ++r) f *= m - r;
            v += f * std::pow(d, (long double)(m - q));
            *size += std::fabs(f * std::pow(d, (long double)(m - q)));
        }
        return v;
    }
    int64_t cell(T t) const { return interval(t) + (t >= x[0]) + (t > x.back()); }
    // The integral from a to b by 4-point Gauss-Legendre on every piece.
    long double integral(int64_t j, T a, T b) const {
        if (a > b) return -integral(j, b, a);
        std::vector<long double> cut = {a, b};
        for (T p : x) if (p > a && p < b) cut.push_back(p);
        std::sort(cut.begin(), cut.end());
        const long double node[2] = {0.3399810435848562648L, 0.8611363115940525752L},
                          weight[2] = {0.6521451548625461426L, 0.3478548451374538574L};
        long double sum = 0, size;
        for (size_t k = 0; k + 1 < cut.size(); ++k) {
            const long double mid = (cut[k] + cut[k + 1]) / 2, half = (cut[k + 1] - cut[k]) / 2;
            for (int s = 0; s < 4; ++s)
                sum += weight[s / 2] * half * at(j, T(mid + (s % 2 ? half : -half) * node[s / 2]), 0, &size);
        }
        return sum;
    }
    int32_t interpolate(int64_t n, const T* s, int64_t hint, std::vector<int64_t> dorder, T* r, int64_t rhint,
                        void* cell) {
        const int64_t type = computeValues | computeCells, nd = dorder.size();
        if constexpr (kDouble)
            return qor_kp_kernel_dInterpolate1D(task, type, 0, n, s, hint, nd, dorder.data(), nullptr, r, rhint, cell,
                                                &kFourThreads);
        else
            return qor_kp_kernel_sInterpolate1D(task, type, 0, n, s, hint, nd, dorder.data(), nullptr, r, rhint, cell,
                                                &kFourThreads);
    }
    int32_t integrate(int64_t n, const T* a, int64_t ha, const T* b, T* r, int64_t rhint) {
        if constexpr (kDouble) return qor_kp_kernel_dIntegrate1D(task, 0, n, a, ha, b, 0, nullptr, nullptr, r, rhint);
        else return qor_kp_kernel_sIntegrate1D(task, 0, n, a, ha, b, 0, nullptr, nullptr, r, rhint);
    }
};

template <class T>
bool near(long double got, long double want, long double scale) {
    const long double eps = sizeof(T) == 8 ? 1e-13L : 2e-5L;
    return std::fabs(got - want) <= eps * (1 + std::fabs(scale));
}

template <class T>
void expect_values_and_derivatives() {
    std::mt19937_64 rng(16);
    for (int64_t order : {1, 2, 3, 4, 5, 6})
        for (bool uniform : {false, true})
            for (int64_t nsite : {7, 5000}) {
                Spline<T> sp(order == 4 ? 1500 : 40, 3, order, uniform, order % 2, rng);
                std::uniform_real_distribution<double> u(sp.x[0] - 1, sp.x.back() + 1);
                std::vector<T> site(nsite);
                for (auto& t : site) t = T(u(rng));
                for (int64_t i = 0; i < std::min<int64_t>(nsite, sp.nx); i += 3) site[i] = sp.x[i];  // on breakpoints
                site.back() = sp.x.back();
                const int64_t hint = order % 2 ? 0 : hintSitesSorted;
                if (hint) std::sort(site.begin(), site.end());
                // Values alone (the vector path), then orders 0, 1, 2 and one beyond the order, by site.
                for (auto dorder : {std::vector<int64_t>{1}, std::vector<int64_t>{1, 1, 1, 0, 0, 0, 1}}) {
                    const int64_t nd = std::count(dorder.begin(), dorder.end(), 1), ny = sp.ny;
                    for (int64_t rhint : {hintResultByFunction, hintResultBySite}) {
                        std::vector<T> r(ny * nsite * nd, T(-7));
                        std::vector<int64_t> cell(nsite, -7);
                        ASSERT_EQ(sp.interpolate(nsite, site.data(), hint, dorder, r.data(), rhint, cell.data()), 0);
                        for (int64_t j = 0; j < ny; ++j)
                            for (int64_t i = 0; i < nsite; ++i)
                                for (int64_t q = 0, k = 0; q < int64_t(dorder.size()); ++q) {
                                    if (!dorder[q]) continue;
                                    const bool by_site = rhint == hintResultBySite;
                                    const T got = r[(by_site ? i * ny + j : j * nsite + i) * nd + k++];
                                    long double size;
                                    const long double want = sp.at(j, site[i], q, &size);
                                    ASSERT_TRUE(near<T>(got, want, size))
                                        << "order " << order << " q " << q << " site " << site[i] << ": " << got;
                                }
                        const int64_t wide = sp.task->indexWidth;  // cells in the task's width
                        for (int64_t i = 0; i < nsite; ++i)
                            ASSERT_EQ(wide ? cell[i] : reinterpret_cast<int32_t*>(cell.data())[i], sp.cell(site[i]));
                    }
                }
            }
}

TEST(FitInterpolate, PiecewisePolynomialsAndTheirDerivatives) {
    expect_values_and_derivatives<double>(), expect_values_and_derivatives<float>();
}

template <class T>
void expect_integrals() {
    std::mt19937_64 rng(61);
    for (int64_t order : {1, 2, 4, 6})
        for (bool uniform : {false, true}) {
            Spline<T> sp(30, 2, order, uniform, 0, rng);
            std::uniform_real_distribution<double> u(sp.x[0] - 2, sp.x.back() + 2);
            std::vector<T> a(1100), b(1100);  // more pairs than one block
            for (size_t k = 0; k < a.size(); ++k) a[k] = T(u(rng)), b[k] = k % 5 ? T(u(rng)) : a[k] + T(0.01);
            a[0] = b[0], a[1] = sp.x[0], b[1] = sp.x.back(), b[2] = sp.x[0], a[2] = sp.x.back();
            for (int64_t rhint : {hintResultByFunction, hintResultBySite}) {
                std::vector<T> r(2 * a.size(), T(-7));
                ASSERT_EQ(sp.integrate(int64_t(a.size()), a.data(), 0, b.data(), r.data(), rhint), 0);
                for (int64_t j = 0; j < 2; ++j)
                    for (size_t k = 0; k < a.size(); ++k) {
                        const long double want = sp.integral(j, a[k], b[k]);
                        const T got = r[rhint == hintResultBySite ? k * 2 + j : j * a.size() + k];
                        ASSERT_TRUE(near<T>(got, want, 30))
                            << "order " << order << " from " << a[k] << " to " << b[k];
                    }
                EXPECT_EQ(r[0], T(0));  // equal limits
            }
        }
}

TEST(FitIntegrate, PiecewisePolynomialsInAnyOrderAndOutside) { expect_integrals<double>(), expect_integrals<float>(); }

// A cubic spline whose end conditions hold for every cubic (third
// derivative continuous at x[1] and x[nx-2]) reproduces cubics: values and
// derivatives everywhere, integrals against the antiderivative.  Skipped
// where the kernel set builds no cubic splines.
TEST(FitInterpolate, ConstructedCubicReproducesCubics) {
    const double p[2][4] = {{1, -2, 0.5, 0.25}, {-3, 0, 1, -0.5}};  // coefficients of t^0 .. t^3
    auto poly = [&](int j, double t, int q) {  // derivative q of p[j], and the antiderivative for q = -1
        double v = 0;
        for (int m = std::max(q, 0); m < 4; ++m) {
            double f = p[j][m];
            for (int r = 0; r < q; ++r) f *= m - r;
            v += (q < 0 ? f / (m + 1) * t : f) * std::pow(t, m - std::max(q, 0));
        }
        return v;
    };
    std::vector<double> x, y(100), c(2 * 4 * 49);
    for (int i = 0; i < 50; ++i) x.push_back(-1 + 4 * std::pow(i / 49.0, 1.3));
    for (int j = 0; j < 2; ++j)
        for (int i = 0; i < 50; ++i) y[j * 50 + i] = poly(j, x[i], 0);
    FitTask* task = nullptr;
    ASSERT_EQ(qor_kp_kernel_dNewTask1D(&task, 50, x.data(), 1, 2, y.data(), 0, 1), 0);
    ASSERT_EQ(qor_kp_kernel_dEditPPSpline1D(task, 4, 0, 2, nullptr, 0, nullptr, c.data(), 0), 0);
    const int32_t built = qor_kp_kernel_dKPDefaultCubicSpline1D(task, 0, 0, nullptr);
    if (built == statusUnsupportedMethod) {
        qor_kp_kernel_DeleteTask(&task);
        GTEST_SKIP() << "no cubic construction in this kernel set";
    }
    ASSERT_EQ(built, 0);
    std::vector<double> site = {-3, -1, 0.3, 1, 2.5, 3, 4.5}, r(2 * 7 * 5);
    const int64_t dorder[5] = {1, 1, 1, 1, 1};
    ASSERT_EQ(qor_kp_kernel_dInterpolate1D(task, computeValues, 0, 7, site.data(), 0, 5, dorder, nullptr, r.data(),
                                           hintResultBySite, nullptr, nullptr), 0);
    for (int j = 0; j < 2; ++j)
        for (int i = 0; i < 7; ++i)
            for (int q = 0; q < 5; ++q)
                EXPECT_NEAR(r[(i * 2 + j) * 5 + q], poly(j, site[i], q), 1e-9) << j << " " << site[i] << " " << q;
    const std::vector<double> a = {-1, 3, -3, 0.5}, b = {3, -1, 4.5, 0.7};
    ASSERT_EQ(qor_kp_kernel_dIntegrate1D(task, 0, 4, a.data(), 0, b.data(), 0, nullptr, nullptr, r.data(), 0), 0);
    for (int j = 0; j < 2; ++j)
        for (int k = 0; k < 4; ++k)
            EXPECT_NEAR(r[j * 4 + k], poly(j, b[k], -1) - poly(j, a[k], -1), 1e-9) << a[k] << " " << b[k];
    qor_kp_kernel_DeleteTask(&task);
}

TEST(FitInterpolate, ChecksLeaveTheOutputsUntouched) {
    std::mt19937_64 rng(3);
    Spline<double> sp(10, 2, 4, false, 1, rng);
    const double site[2] = {-3, 100}, user_null[4] = {};
    double r[4] = {-7, -7, -7, -7};
    int64_t cell[2] = {-7, -7};
    auto call = [&](FitTask* t, int64_t type, int64_t n, const double* s, std::vector<int64_t> dorder, double* out,
                    int64_t rhint, int64_t* c, int64_t method = 0) {
        return qor_kp_kernel_dInterpolate1D(t, type, method, n, s, 0, dorder.size(), dorder.data(), user_null, out,
                                            rhint, c, nullptr);
    };
    EXPECT_EQ(call(nullptr, 1, 2, site, {1}, r, 0, cell), statusNullTask);
    EXPECT_EQ(qor_kp_kernel_sInterpolate1D(sp.task, 1, 0, 2, nullptr, 0, 0, nullptr, nullptr, nullptr, 0, nullptr,
                                           nullptr),
              statusUnsupportedMethod);
    for (int64_t type : {0, 4}) EXPECT_EQ(call(sp.task, type, 2, site, {1}, r, 0, cell), statusBadComputeType);
    EXPECT_EQ(call(sp.task, 1, -1, site, {1}, r, 0, cell), statusBadIndex);
    for (auto dorder : {std::vector<int64_t>{}, {0, 0}, {1, 2}})
        EXPECT_EQ(call(sp.task, 1, 2, site, dorder, r, 0, cell), statusBadDerivativeOrder);
    EXPECT_EQ(call(sp.task, 1, 2, site, {1}, r, 3, cell), statusBadResultHint);
    EXPECT_EQ(call(sp.task, 1, 2, nullptr, {1}, r, 0, cell), statusNullOutput);
    EXPECT_EQ(call(sp.task, 1, 2, site, {1}, nullptr, 0, cell), statusNullOutput);
    EXPECT_EQ(call(sp.task, 2, 2, site, {1}, r, 0, nullptr), statusNullOutput);
    EXPECT_EQ(call(sp.task, 3, 2, site, {1}, r, 0, cell, 9), statusUnsupportedMethod);
    EXPECT_EQ(call(sp.task, 3, 2, site, {1}, r, 0, cell, searchMethodUserDefined), statusUnsupportedMethod);
    EXPECT_EQ(qor_kp_kernel_dIntegrate1D(sp.task, 0, -1, site, 0, site, 0, nullptr, nullptr, r, 0), statusBadIndex);
    EXPECT_EQ(qor_kp_kernel_dIntegrate1D(sp.task, 0, 2, site, 0, nullptr, 0, nullptr, nullptr, r, 0), statusNullOutput);
    EXPECT_EQ(qor_kp_kernel_dIntegrate1D(sp.task, 0, 2, site, 0, site, 0, nullptr, nullptr, r, 5), statusBadResultHint);
    void** table = sp.task->coeffTable;  // no coefficients; then an order below 1
    sp.task->coeffTable[1] = nullptr;
    EXPECT_EQ(call(sp.task, 1, 2, site, {1}, r, 0, cell), statusBadCoefficients);
    EXPECT_EQ(qor_kp_kernel_dIntegrate1D(sp.task, 0, 2, site, 0, site, 0, nullptr, nullptr, r, 0),
              statusBadCoefficients);
    sp.task->coeffTable = table;
    ASSERT_EQ(qor_kp_kernel_iEditVal(sp.task, attrSplineOrder, 0), 0);
    EXPECT_EQ(call(sp.task, 1, 2, site, {1}, r, 0, cell), statusBadSplineOrder);
    EXPECT_EQ(call(sp.task, 2, 2, site, {5}, r, 0, cell), 0);  // cells alone need no coefficients
    EXPECT_EQ(std::vector<double>(r, r + 4), std::vector<double>(4, -7));
    EXPECT_TRUE(cell[0] == 0 && cell[1] == 10);
}

}  // namespace

// A quadratic spline whose knots lie between the breakpoints changes piece
// at each knot: it interpolates at every breakpoint (the last one and the
// sites just below each breakpoint included), is continuous at the knots,
// and its integral equals Simpson's rule over the stretches between knots
// and breakpoints, on each of which it is one parabola.
TEST(FitInterpolate, QuadraticWithKnotsBetweenBreakpointsUsesThePieceOfEachSite) {
    constexpr int n = 30;
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> unit(0, 1);
    std::vector<double> x(n), y(n), knot(n - 1), c(3 * n);
    for (int i = 0; i < n; ++i) x[i] = i + 0.5 * unit(rng), y[i] = unit(rng);
    for (int i = 0; i + 1 < n; ++i) knot[i] = x[i] + (0.3 + 0.4 * unit(rng)) * (x[i + 1] - x[i]);
    FitTask* task = nullptr;
    ASSERT_EQ(qor_kp_kernel_dNewTask1D(&task, n, x.data(), 1, 1, y.data(), 0, 1), 0);
    ASSERT_EQ(qor_kp_kernel_dEditPPSpline1D(task, 3, 1, 1, nullptr, 8, knot.data(), c.data(), 0), 0);
    const int32_t built = qor_kp_kernel_dKPQuadraticSpline1D(task, 0, 0, nullptr);
    if (built == statusUnsupportedMethod) {
        qor_kp_kernel_DeleteTask(&task);
        GTEST_SKIP() << "no quadratic construction in this kernel set";
    }
    ASSERT_EQ(built, 0);
    auto values = [&](std::vector<double> site) {
        const int64_t dorder[1] = {1};
        std::vector<double> r(site.size());
        EXPECT_EQ(qor_kp_kernel_dInterpolate1D(task, computeValues, 0, int64_t(site.size()), site.data(), 0, 1, dorder,
                                               nullptr, r.data(), 0, nullptr, nullptr), 0);
        return r;
    };
    std::vector<double> at_breaks = values(x), below, above_knot, below_knot;
    for (int i = 0; i + 1 < n; ++i) {
        below.push_back(std::nextafter(x[i + 1], 0.0));
        below_knot.push_back(std::nextafter(knot[i], 0.0));
        above_knot.push_back(knot[i]);
    }
    const std::vector<double> v_below = values(below), v_lk = values(below_knot), v_k = values(above_knot);
    for (int i = 0; i < n; ++i) EXPECT_NEAR(at_breaks[i], y[i], 1e-14) << i;
    for (int i = 0; i + 1 < n; ++i) {
        EXPECT_NEAR(v_below[i], y[i + 1], 1e-12) << i;
        EXPECT_NEAR(v_lk[i], v_k[i], 1e-12) << i;
    }
    // Simpson over [x0, k0], [k0, x1], [x1, k1], ...: exact for each parabola.
    std::vector<double> ends = {x[0]};
    for (int i = 0; i + 1 < n; ++i) ends.push_back(knot[i]), ends.push_back(x[i + 1]);
    std::vector<double> mids;
    for (size_t s = 0; s + 1 < ends.size(); ++s) mids.push_back(0.5 * (ends[s] + ends[s + 1]));
    const std::vector<double> fe = values(ends), fm = values(mids);
    double simpson = 0;
    for (size_t s = 0; s + 1 < ends.size(); ++s) simpson += (ends[s + 1] - ends[s]) / 6 * (fe[s] + 4 * fm[s] + fe[s + 1]);
    const double a[3] = {x[0], x[n - 1], x[3]}, b[3] = {x[n - 1], x[0], knot[3]};
    double r[3];
    ASSERT_EQ(qor_kp_kernel_dIntegrate1D(task, 0, 3, a, 0, b, 0, nullptr, nullptr, r, 0), 0);
    EXPECT_NEAR(r[0], simpson, 1e-11);
    EXPECT_NEAR(r[1], -simpson, 1e-11);
    EXPECT_NEAR(r[2], (knot[3] - x[3]) / 6 * (fe[6] + 4 * fm[6] + fe[7]), 1e-13);
    qor_kp_kernel_DeleteTask(&task);
}
