// Extremes against std::min/max_element (layouts, selection, infinities,
// NaNs, threads, portions); correlation repair against known answers and its
// invariants; the statuses of both, with every output left as it was.
#include <Eigen/Dense>

#include <algorithm>
#include <cstring>
#include <limits>

#include "basic_support.h"
#include "qor/qor.h"
#include "qor/qor_vm.h"

using namespace ss_test;

namespace {

template <class T>
struct Extremes : Task<T> {
    std::vector<T> lo, hi;
    Extremes(const Data& d, bool rows) : Task<T>(d, rows), lo(d.p, T(-7)), hi(d.p, T(-7)) {
        EXPECT_EQ(Task<T>::edit(this->task, SS_PARAM_MIN, lo.data()) | Task<T>::edit(this->task, SS_PARAM_MAX, hi.data()), 0);
    }
    int32_t run(uint64_t est, int method, const qor_threading* threading = &kOneThread) {
        return (Task<T>::kDouble ? _rixdSSMinmax : _rixsSSMinmax)(this->task, est, method, threading);
    }
};

template <class T>
void expect_extremes(const Data& d, const Extremes<T>& t, int64_t first, int64_t count, const std::string& what) {
    for (int64_t i = 0; i < d.p; ++i) {
        const std::vector<T> x(d.x.begin() + i * d.n + first, d.x.begin() + i * d.n + first + count);
        const bool nan = std::any_of(x.begin(), x.end(), [](T v) { return v != v; });
        if (!d.selected(i)) EXPECT_TRUE(t.lo[i] == T(-7) && t.hi[i] == T(-7)) << what << i << " written";
        else if (nan) EXPECT_TRUE(t.lo[i] != t.lo[i] && t.hi[i] != t.hi[i]) << what << i << " NaN lost";
        else EXPECT_TRUE(t.lo[i] == *std::min_element(x.begin(), x.end()) &&
                         t.hi[i] == *std::max_element(x.begin(), x.end())) << what << i;
    }
}

template <class T>
void check_extremes() {
    // Counts around the vector group and 19 variables around the tiles of
    // vectors; a variable with infinities, NaNs last in variables 3 and 17
    // and first in 4; 40000 observations take several threads.
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    for (int64_t n : {1, 7, 17, 1001, 40000}) {
        Data d = make_data(19, n, false, 1.0, 2.0, 11u + static_cast<unsigned>(n));
        d.indices.assign(19, 1), d.indices[2] = 0;
        d.x[1 * n + n / 2] = inf, d.x[1 * n + n / 3] = -inf, d.x[3 * n + n - 1] = nan, d.x[17 * n + n - 1] = nan;
        if (n > 1) d.x[4 * n] = nan;
        for (bool rows : {true, false})
            for (const qor_threading* threading : {&kOneThread, &kFourThreads}) {
                const std::string what = "n " + std::to_string(n) + (rows ? " rows" : " columns") + " variable ";
                Extremes<T> t(d, rows);
                ASSERT_EQ(t.run(SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1, threading), SS_OK);
                expect_extremes(d, t, 0, n, what);
                // One result alone; the other array is left as it was.
                Extremes<T> u(d, rows);
                ASSERT_EQ(u.run(SS_EST_MAX, SS_METHOD_OBS_2, threading), SS_OK);
                EXPECT_EQ(std::memcmp(u.hi.data(), t.hi.data(), 19 * sizeof(T)), 0) << what;
                EXPECT_EQ(u.lo, std::vector<T>(19, T(-7)));
            }
    }
    // Portions: with W1 > 0 a call continues the extremes held, else starts afresh.
    const Data d = make_data(3, 300, false, 0.0, 1.0, 5u);
    Extremes<T> t(d, false);
    t.set_observations(d, 0, 100);
    ASSERT_EQ(t.run(SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1), SS_OK);
    t.acc[0] = 100;
    t.set_observations(d, 100, 200);
    ASSERT_EQ(t.run(SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1), SS_OK);
    expect_extremes(d, t, 0, 300, "portions ");
    t.acc[0] = 0;
    ASSERT_EQ(t.run(SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1), SS_OK);
    expect_extremes(d, t, 100, 200, "afresh ");
}

TEST(Minmax, MatchesTheStandardAlgorithms) {
    check_extremes<double>(), check_extremes<float>();
}

TEST(Minmax, FailuresWriteNothing) {
    Extremes<double> t(make_data(2, 10, false, 0.0, 1.0, 3u), true);
    int64_t bad_storage = 0x40000;
    t.task->obs_storage = &bad_storage;
    EXPECT_EQ(t.run(SS_EST_MIN, SS_METHOD_OBS_1), SS_ERR_OBS_STORAGE);
    t.task->obs_storage = &t.storage;
    EXPECT_EQ(t.run(SS_EST_MIN | SS_EST_MAX, 4), SS_ERR_METHOD);
    t.task->max = nullptr;
    EXPECT_EQ(t.run(SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1), SS_ERR_MAX);
    t.task->min = nullptr;
    EXPECT_EQ(t.run(SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1), SS_ERR_MIN);
    EXPECT_TRUE(t.lo == std::vector<double>(2, -7) && t.hi == t.lo);
}

// Where (i, j) of a p × p matrix is stored in each form; -1 when not.
int64_t stored_at(int64_t code, int64_t p, int64_t i, int64_t j) {
    if (code == 0) return i * p + j;
    if ((code == 1) != (i <= j)) return -1;
    return code == 1 ? i * p - i * (i - 1) / 2 + j - i : i * (i + 1) / 2 + j;
}

// Correlation repair of the p × p matrix m (full) on a task of type T.
template <class T>
int32_t repair(std::vector<double>& m, int64_t p, int64_t in_code, int64_t out_code, std::vector<T>& out,
               int method = SS_METHOD_PARAMETRIZE, bool in_place = false) {
    std::vector<T> in(p * p, T(-7));
    for (int64_t k = 0; k < p * p; ++k)
        if (const int64_t at = stored_at(in_code, p, k / p, k % p); at >= 0) in[at] = T(m[k]);
    if (in_place) out = in;
    T* source = in_place ? out.data() : in.data();
    SSTask* task = nullptr;
    EXPECT_EQ(Task<T>::new_task(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 1), SS_OK);
    if constexpr (Task<T>::kDouble) EXPECT_EQ(__rixdSSEditMtxParametrz(task, source, &in_code, out.data(), &out_code), SS_OK);
    else EXPECT_EQ(__rixsSSEditMtxParametrz(task, source, &in_code, out.data(), &out_code), SS_OK);
    const int32_t status = (Task<T>::kDouble ? _rixdSSCorParametrization : _rixsSSCorParametrization)(task, 0, method, &kPool);
    __rixSSDeleteTask(&task);
    return status;
}

// The smallest eigenvalue of the full symmetric matrix m.
// Eigen's solver: an oracle independent of the LAPACK behind the library.
double least_eigenvalue(const std::vector<double>& m, int p) {
    const Eigen::Map<const Eigen::MatrixXd> a(m.data(), p, p);
    return Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd>(a, Eigen::EigenvaluesOnly).eigenvalues().minCoeff();
}

TEST(CorParametrization, KnownAnswersAndInvariants) {
    // A valid matrix: the correlation of random data.
    const auto ref = reference(make_data(6, 50, false, 0.0, 1.0, 9u));
    std::vector<double> valid(ref[8].begin(), ref[8].end()), out(36);
    ASSERT_EQ(repair(valid, 6, 0, 0, out), SS_OK);
    for (int k = 0; k < 36; ++k) EXPECT_NEAR(out[k], valid[k], 1e-12) << k;

    // 2×2 with off-diagonal 1.5: eigenvalues 2.5 and -0.5, floored to 1e-14.
    std::vector<double> two = {1, 1.5, 1.5, 1}, out2(4);
    std::vector<float> out2f(4);
    ASSERT_TRUE(repair(two, 2, 0, 0, out2) == SS_OK && repair(two, 2, 0, 0, out2f) == SS_OK);
    const double off = (2.5 - 1e-14) / (2.5 + 1e-14);
    for (int k = 0; k < 4; ++k) EXPECT_NEAR(out2[k], k % 3 ? off : 1.0, 1e-15) << k;
    EXPECT_NEAR(out2f[1], off, 1e-7);

    // Indefinite matrices come back with a unit diagonal and no eigenvalue
    // below rounding; every storage form in and out gives the same matrix.
    std::mt19937_64 g(4);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int p : {5, 30}) {
        std::vector<double> m(p * p, 1.0), full(p * p);
        for (int i = 0; i < p; ++i)
            for (int j = 0; j < i; ++j) m[i * p + j] = m[j * p + i] = u(g);
        ASSERT_LT(least_eigenvalue(m, p), -0.1);
        ASSERT_EQ(repair(m, p, 0, 0, full), SS_OK);
        EXPECT_GT(least_eigenvalue(full, p), -1e-12);
        for (int i = 0; i < p; ++i) EXPECT_NEAR(full[i * p + i], 1.0, 1e-13);
        for (int64_t in : {0, 1, 2})
            for (int64_t code : {0, 1, 2}) {
                std::vector<double> got(p * p, -7);
                ASSERT_EQ(repair(m, p, in, code, got, SS_METHOD_PARAMETRIZE, in == code), SS_OK);
                for (int k = 0; k < p * p; ++k)
                    if (const int64_t at = stored_at(code, p, k / p, k % p); at >= 0) {
                        ASSERT_EQ(got[at], full[k]) << in << " -> " << code;
                    }
            }
    }
}

TEST(CorParametrization, FailuresWriteNothingAndTheModeStays) {
    constexpr uint32_t kCallerMode = QOR_VM_EP | QOR_VM_ERRMODE_ERRNO | QOR_VM_FTZDAZ_ON;
    const uint32_t saved = qor_lum_kernel_RestoreMode(kCallerMode);
    std::vector<double> two = {1, 1.5, 1.5, 1}, out(4, -7);
    EXPECT_EQ(repair(two, 2, 0, 0, out, SS_METHOD_OBS_1), SS_ERR_METHOD);
    EXPECT_EQ(repair(two, 2, 0, 3, out), SS_ERR_OBS_STORAGE);
    EXPECT_EQ(repair(two, 2, 3, 0, out), SS_ERR_OBS_STORAGE);
    EXPECT_EQ(out, std::vector<double>(4, -7));
    EXPECT_EQ(repair(two, 2, 1, 0, out, SS_METHOD_PARAMETRIZE, true), SS_ERR_OBS_STORAGE);
    EXPECT_EQ(repair(two, 2, 0, 0, out), SS_OK);
    EXPECT_EQ(qor_lum_kernel_RestoreMode(saved), kCallerMode);
}

// The public calls reach the kernels, with the task checked first.
TEST(StatsCalls, ExtremesAndRepairEndToEnd) {
    ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail();
    int64_t p = 2, n = 3, rows = SS_OBS_VARIABLES_IN_ROWS, full = 0;
    double x[6] = {2, -1, 5, 1, 1.5, 1}, lo[2], hi[2], c[4] = {1, 1.5, 1.5, 1}, out[4] = {};
    qor_ss_task* task = nullptr;
    ASSERT_EQ(qor_dss_new_task(&task, &p, &n, &rows, x, nullptr, nullptr), SS_OK);
    ASSERT_EQ(qor_dss_edit_task(task, SS_PARAM_MIN, lo) | qor_dss_edit_task(task, SS_PARAM_MAX, hi), SS_OK);
    ASSERT_EQ(qor_dss_minmax(task, SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1), SS_OK);
    EXPECT_TRUE(lo[0] == -1 && hi[0] == 5 && lo[1] == 1 && hi[1] == 1.5);
    ASSERT_EQ(qor_dss_edit_mtx_parametrz(task, c, &full, out, &full) |
                  qor_dss_cor_parametrization(task, 0, SS_METHOD_PARAMETRIZE), SS_OK);
    EXPECT_NEAR(out[1], (2.5 - 1e-14) / (2.5 + 1e-14), 1e-15);
    EXPECT_EQ(qor_sss_minmax(task, SS_EST_MIN, SS_METHOD_OBS_1), SS_ERR_TASK);
    for (auto call : {qor_dss_quantiles, qor_dss_sort, qor_dss_mad, qor_sss_cor_parametrization})
        EXPECT_EQ(call(nullptr, 0, 1), SS_ERR_TASK);
    qor_ss_delete_task(&task);
}

}  // namespace
