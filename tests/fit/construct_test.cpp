// Spline construction: linear coefficients against the direct formulas in
// every storage class, partition form and path (serial, blocked, threaded,
// in place), the periodic refusal, and the entry checks of every kind.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "qor/qor_kp.h"

namespace {

int limit_one() { return 1; }
int limit_four() { return 4; }
const qor_threading kOneThread{qor_rix_serv_threader_for, limit_one};
const qor_threading kFourThreads{qor_rix_serv_threader_for, limit_four};

template <class T>
struct Linear {
    static constexpr bool kDouble = sizeof(T) == 8;
    int64_t nx, ny;
    bool uniform;
    std::vector<T> x, y;  // x: all breakpoints; y: by function, or (hint 32) by breakpoint
    T ends[2];            // x[0], x[nx-1]: a uniform task's breakpoints

    Linear(int64_t nx_, int64_t ny_, bool uniform_, std::mt19937_64& rng) : nx(nx_), ny(ny_), uniform(uniform_) {
        std::uniform_real_distribution<double> d(0.1, 2.0);
        x.assign(1, T(-3));
        for (int64_t i = 1; i < nx; ++i) x.push_back(uniform ? T(-3 + 0.5 * i) : T(x.back() + d(rng)));
        for (int64_t k = 0; k < nx * ny; ++k) y.push_back(T(d(rng) - 1));
        ends[0] = x[0];
        ends[1] = x.back();
    }
    T value(int64_t yhint, int64_t j, int64_t i) const { return yhint == 32 ? y[i * ny + j] : y[j * nx + i]; }
    // The coefficients of function j from the formula.
    std::vector<T> expected(int64_t yhint, int64_t j) const {
        const T r = T(nx - 1) / (x.back() - x[0]);
        std::vector<T> c;
        for (int64_t i = 0; i + 1 < nx; ++i) {
            const T a = value(yhint, j, i), b = value(yhint, j, i + 1);
            c.insert(c.end(), {a, uniform ? (b - a) * r : (b - a) / (x[i + 1] - x[i])});
        }
        return c;
    }
    static int32_t new_task(FitTask** t, int64_t nx, const T* x, int64_t xh, int64_t ny, const T* y, int64_t yh) {
        if constexpr (kDouble) return qor_kp_kernel_dNewTask1D(t, nx, x, xh, ny, y, yh, 1);
        else return qor_kp_kernel_sNewTask1D(t, nx, x, xh, ny, y, yh, 1);
    }
    static int32_t edit(FitTask* t, int64_t bcType, T* c) {
        if constexpr (kDouble) return qor_kp_kernel_dEditPPSpline1D(t, 2, 0, bcType, nullptr, 0, nullptr, c, 0);
        else return qor_kp_kernel_sEditPPSpline1D(t, 2, 0, bcType, nullptr, 0, nullptr, c, 0);
    }
    static int32_t build(FitTask* t, const qor_threading* threading) {
        if constexpr (kDouble) return qor_kp_kernel_dKPLinearSpline1D(t, 0, 0, threading);
        else return qor_kp_kernel_sKPLinearSpline1D(t, 0, 0, threading);
    }
    // A task over these values with coefficients in c (2*(nx-1) per function).
    FitTask* task(int64_t yhint, std::vector<T>& c, int64_t bcType = 0) const {
        FitTask* t = nullptr;
        EXPECT_EQ(new_task(&t, nx, uniform ? ends : x.data(), uniform ? 4 : 1, ny, y.data(), yhint), 0);
        c.assign(2 * (nx - 1) * ny, T(7));
        EXPECT_EQ(edit(t, bcType, c.data()), 0);
        return t;
    }
};

template <class T>
void expect_formulas(std::mt19937_64& rng) {
    for (auto [nx, ny] : {std::pair<int64_t, int64_t>{2, 1}, {127, 1}, {128, 1}, {64, 2}, {5000, 9}})
        for (bool uniform : {false, true}) {
            const Linear<T> p(nx, ny, uniform, rng);
            for (int64_t yhint : {0, 32})
                for (const qor_threading* threading : {&kOneThread, &kFourThreads}) {
                    SCOPED_TRACE(testing::Message() << nx << "x" << ny << " uniform " << uniform << " hint " << yhint
                                                    << " threads " << threading->get_num_threads_limit());
                    std::vector<T> c;
                    FitTask* t = p.task(yhint, c);
                    ASSERT_EQ(Linear<T>::build(t, threading), 0);
                    for (int64_t j = 0; j < ny; ++j)
                        ASSERT_EQ(std::vector<T>(c.begin() + j * 2 * (nx - 1), c.begin() + (j + 1) * 2 * (nx - 1)),
                                  p.expected(yhint, j));
                    qor_kp_kernel_DeleteTask(&t);
                }
        }
}

}  // namespace

TEST(FitLinear, MatchesTheFormulasOnEveryPathPrecisionAndLayout) {
    std::mt19937_64 rng(77);
    expect_formulas<double>(rng);
    expect_formulas<float>(rng);
}

TEST(FitLinear, PeriodicConditionRefusesUnequalEndsBeforeWritingAnything) {
    std::mt19937_64 rng(5);
    for (int64_t yhint : {0, 32})
        for (double odd_end : {1.5, std::nan("")}) {
            Linear<double> p(300, 3, false, rng);
            for (int64_t j = 0; j < 3; ++j) p.y[yhint == 32 ? (p.nx - 1) * 3 + j : j * p.nx + p.nx - 1] = p.value(yhint, j, 0);
            std::vector<double> c;
            FitTask* t = p.task(yhint, c, 64);
            ASSERT_EQ(Linear<double>::build(t, &kFourThreads), 0);
            p.y[yhint == 32 ? (p.nx - 1) * 3 + 1 : 2 * p.nx - 1] = odd_end;  // function 1 only
            std::fill(c.begin(), c.end(), 7.0);
            const std::vector<double> before = c;
            EXPECT_EQ(Linear<double>::build(t, &kFourThreads), -1018);
            EXPECT_EQ(std::memcmp(c.data(), before.data(), c.size() * sizeof(double)), 0);
            qor_kp_kernel_DeleteTask(&t);
        }
}

TEST(FitLinear, ValuesInTheTailOfTheirCoefficientsAreTransformedInPlace) {
    std::mt19937_64 rng(9);
    for (auto [nx, ny] : {std::pair<int64_t, int64_t>{20, 1}, {3000, 5}}) {
        Linear<double> p(nx, ny, false, rng);
        const int64_t run = 2 * (nx - 1);
        std::vector<double> c(run * ny);
        FitTask* t = nullptr;
        ASSERT_EQ(qor_kp_kernel_dNewTask1D(&t, nx, p.x.data(), 1, ny, c.data(), 128, 1), 0);
        for (int64_t j = 0; j < ny; ++j) {  // function j's values in the last nx elements of its run
            std::copy(p.y.begin() + j * nx, p.y.begin() + (j + 1) * nx, c.begin() + j * run + nx - 2);
            ASSERT_EQ(qor_kp_kernel_dEditIdxPtr(t, 2, j, c.data() + j * run + nx - 2), 0);
        }
        ASSERT_EQ(qor_kp_kernel_dEditPPSpline1D(t, 2, 0, 0, nullptr, 0, nullptr, c.data(), 0), 0);
        ASSERT_EQ(qor_kp_kernel_dKPLinearSpline1D(t, 0, 0, &kFourThreads), 0);
        for (int64_t j = 0; j < ny; ++j)
            EXPECT_EQ(std::vector<double>(c.begin() + j * run, c.begin() + (j + 1) * run), p.expected(0, j));
        qor_kp_kernel_DeleteTask(&t);
    }
}

TEST(FitConstruct, EveryKindChecksItsTaskInOrder) {
    using Entry = int32_t (*)(FitTask*, int64_t, int64_t, const qor_threading*);
    const Entry linear = qor_kp_kernel_dKPLinearSpline1D, quadratic = qor_kp_kernel_dKPQuadraticSpline1D,
                natural = qor_kp_kernel_dKPNaturalCubicSpline1D, akima = qor_kp_kernel_dKPAkimaCubicSpline1D;
    const double x[8] = {0, 1, 2, 3, 4, 5, 6, 7}, bc[2] = {};
    struct Case { Entry entry; int64_t nx, method, yhint, type, icType, bcType; bool bc; int32_t status; };
    std::vector<Case> cases = {
        {linear, 1, 1, 5, 0, 0, 0, false, -1004}, {linear, 2, 1, 5, 0, 0, 0, false, -1002},
        {linear, 2, 0, 5, 0, 0, 0, false, -1009}, {linear, 2, 0, 0, 0, 0, 0, false, -1016},  // no coefficients
        {quadratic, 1, 1, 5, 0, 0, 0, false, -1009}, {quadratic, 1, 1, 0, 0, 0, 1, true, -1014},
        {quadratic, 1, 1, 0, 0, 0, 128, false, -1015}, {quadratic, 1, 1, 0, 0, 0, 128, true, -1004},
        {quadratic, 8, 0, 0, 1, 4, 0, false, -1012}, {quadratic, 8, 0, 0, 1, 8, 3, false, -1014},
        {quadratic, 8, 0, 0, 1, 8, 12, false, -1015}, {quadratic, 8, 0, 0, 1, 12, 2, false, -1013},
        {quadratic, 8, 0, 0, 2, 8, 2, true, -1002}, {natural, 1, 0, 0, 0, 0, 2, false, -1004},
        {natural, 2, 1, 5, 0, 0, 1, false, -1004}, {natural, 2, 1, 5, 0, 0, 2, false, -1002},
        {natural, 2, 0, 5, 0, 0, 2, false, -1009}, {natural, 2, 0, 0, 0, 0, 0, false, -1014},
        {akima, 5, 0, 0, 0, 0, 0, false, -1016}, {qor_kp_kernel_dKPDefaultCubicSpline1D, 5, 1, 0, 0, 0, 1, false, -1002},
        {qor_kp_kernel_dKPHermiteCubicSpline1D, 5, 0, 0, 0, 1, 1, false, -1013},
        {qor_kp_kernel_dKPHermiteCubicSpline1D, 5, 0, 0, 0, 2, 1, false, -1012}};
    const struct { Entry entry; int64_t least; } cubic[] = {
        {natural, 2}, {qor_kp_kernel_dKPDefaultCubicSpline1D, 3}, {qor_kp_kernel_dKPHermiteCubicSpline1D, 3},
        {qor_kp_kernel_dKPBesselCubicSpline1D, 4}, {qor_kp_kernel_dKPHymanCubicSpline1D, 4}, {akima, 5}};
    for (const auto& k : cubic) {  // minimum nx, values hint, the boundary codes, then the missing coefficients
        if (k.least > 2) cases.push_back({k.entry, k.least - 1, 0, 5, 0, 0, 3, false, -1004});
        cases.push_back({k.entry, 5, 0, 5, 0, 0, 3, false, -1009});
        for (int64_t code : {-1, 3, 63, 65, 128}) cases.push_back({k.entry, 5, 0, 0, 0, 0, code, true, -1014});
        const int64_t ic = k.entry == qor_kp_kernel_dKPHermiteCubicSpline1D ? 1 : 0;
        const int32_t built = ic ? -1013 : -1016;  // values 0..7: periodic ends unequal
        for (int64_t code : {1, 2, 64}) cases.push_back({k.entry, 5, 0, 0, 2, ic, code, false, code == 64 && !ic ? -1018 : built});
        for (int64_t code : {12, 24, 36, 48}) {
            cases.push_back({k.entry, 5, 0, 0, 0, 0, code, false, -1015});
            cases.push_back({k.entry, 5, 0, 0, 0, ic, code, true, built});
        }
        for (int64_t type : {0, 3}) cases.push_back({k.entry, 5, 0, 0, type, 0, 64, false, -1015});
    }
    for (const Case& c : cases) {  // ic stays null: no Hermite derivatives, no quadratic knots
        SCOPED_TRACE(testing::Message() << "case " << (&c - cases.data()));
        FitTask* t = nullptr;
        ASSERT_EQ(qor_kp_kernel_dNewTask1D(&t, 8, x, 1, 1, x, 0, 1), 0);
        t->nx = c.nx;
        t->yhint = c.yhint;
        t->type = c.type;
        t->icType = c.icType;
        t->bcType = c.bcType;
        t->bc = c.bc ? bc : nullptr;
        EXPECT_EQ(c.entry(t, 0, c.method, &kOneThread), c.status);
        EXPECT_EQ(t->coeffTable, nullptr);
        qor_kp_kernel_DeleteTask(&t);
    }
    EXPECT_EQ(linear(nullptr, 0, 0, &kOneThread), -1000);
}
