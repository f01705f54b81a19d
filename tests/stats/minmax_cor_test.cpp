// Extremes against std::min_element/max_element in both layouts, with a
// selection, infinities, NaNs, threads and portions; correlation repair
// against known answers (a valid matrix unchanged, the 2×2 case in closed
// form) and its invariants (unit diagonal, no negative eigenvalue); the
// statuses of both with every output left as it was.
#include <algorithm>
#include <cstring>
#include <limits>

#include "basic_support.h"
#include "qor/qor_linalg.h"
#include "qor/qor_vm.h"

using namespace ss_test;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

template <class T>
struct Extremes : Task<T> {
    std::vector<T> lo, hi;
    Extremes(const Data& d, bool rows) : Task<T>(d, rows), lo(d.p, T(-7)), hi(d.p, T(-7)) {
        EXPECT_EQ(Task<T>::edit(this->task, SS_PARAM_MIN, lo.data()), SS_OK);
        EXPECT_EQ(Task<T>::edit(this->task, SS_PARAM_MAX, hi.data()), SS_OK);
    }
    int32_t run(uint64_t est, int method, const qor_threading* threading = &kOneThread) {
        return Task<T>::kDouble ? _rixdSSMinmax(this->task, est, method, threading)
                                : _rixsSSMinmax(this->task, est, method, threading);
    }
};

template <class T>
void expect_extremes(const Data& d, const Extremes<T>& t, int64_t first, int64_t count, const std::string& what) {
    for (int64_t i = 0; i < d.p; ++i) {
        if (!d.selected(i)) {
            EXPECT_EQ(t.lo[i], T(-7)) << what << i;
            EXPECT_EQ(t.hi[i], T(-7)) << what << i;
            continue;
        }
        std::vector<T> x(d.x.begin() + i * d.n + first, d.x.begin() + i * d.n + first + count);
        if (std::any_of(x.begin(), x.end(), [](T v) { return v != v; })) {
            EXPECT_TRUE(t.lo[i] != t.lo[i] && t.hi[i] != t.hi[i]) << what << " NaN lost, variable " << i;
            continue;
        }
        EXPECT_EQ(t.lo[i], *std::min_element(x.begin(), x.end())) << what << i;
        EXPECT_EQ(t.hi[i], *std::max_element(x.begin(), x.end())) << what << i;
    }
}

template <class T>
void check_extremes() {
    // Counts around the vector group, a variable with infinities, one with a
    // NaN in its tail and one with a NaN up front; 40000 observations take
    // several threads.
    for (int64_t n : {1, 7, 17, 1001, 40000}) {
        Data d = make_data(6, n, false, 1.0, 2.0, 11u + static_cast<unsigned>(n));
        d.indices = {1, 1, 0, 1, 1, 1};
        d.x[1 * n + n / 2] = kInf, d.x[1 * n + n / 3] = -kInf;
        d.x[3 * n + n - 1] = std::numeric_limits<double>::quiet_NaN();
        if (n > 1) d.x[4 * n] = std::numeric_limits<double>::quiet_NaN();
        for (bool rows : {true, false})
            for (const qor_threading* threading : {&kOneThread, &kFourThreads}) {
                const std::string what = "n " + std::to_string(n) + (rows ? " rows" : " columns") + " variable ";
                Extremes<T> t(d, rows);
                ASSERT_EQ(t.run(SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1, threading), SS_OK);
                expect_extremes(d, t, 0, n, what);
                // One result alone; the other array is left as it was.
                Extremes<T> u(d, rows);
                ASSERT_EQ(u.run(SS_EST_MAX, SS_METHOD_OBS_2, threading), SS_OK);
                EXPECT_EQ(std::memcmp(u.hi.data(), t.hi.data(), 6 * sizeof(T)), 0) << what;
                EXPECT_EQ(u.lo, std::vector<T>(6, T(-7)));
            }
    }
    // Portions: with W1 > 0 a call continues the extremes held; with W1 = 0
    // it starts afresh.
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
    check_extremes<double>();
    check_extremes<float>();
}

TEST(Minmax, FailuresWriteNothing) {
    const Data d = make_data(2, 10, false, 0.0, 1.0, 3u);
    Extremes<double> t(d, true);
    const std::vector<double> before = t.lo;
    int64_t bad_storage = 0x40000;
    t.task->obs_storage = &bad_storage;
    EXPECT_EQ(t.run(SS_EST_MIN, SS_METHOD_OBS_1), SS_ERR_OBS_STORAGE);
    t.task->obs_storage = &t.storage;
    EXPECT_EQ(t.run(SS_EST_MIN | SS_EST_MAX, 4), SS_ERR_METHOD);
    t.task->max = nullptr;
    EXPECT_EQ(t.run(SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1), SS_ERR_MAX);
    t.task->min = nullptr;
    EXPECT_EQ(t.run(SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1), SS_ERR_MIN);
    EXPECT_EQ(std::memcmp(before.data(), t.lo.data(), 16) | std::memcmp(before.data(), t.hi.data(), 16), 0);
}

// Correlation repair of the p × p matrix m (full) on a task of type T.
template <class T>
int32_t repair(std::vector<double>& m, int64_t p, int64_t in_code, int64_t out_code, std::vector<T>& out,
               int method = SS_METHOD_PARAMETRIZE, bool in_place = false) {
    std::vector<T> in(p * p, T(-7));
    for (int64_t i = 0; i < p; ++i)
        for (int64_t j = 0; j < p; ++j)
            if (in_code == 0 || (in_code == 1) == (i <= j)) {
                const int64_t at = in_code == 0 ? i * p + j : in_code == 1 ? i * p - i * (i - 1) / 2 + j - i : i * (i + 1) / 2 + j;
                in[at] = T(m[i * p + j]);
            }
    if (in_place) out = in;
    T* source = in_place ? out.data() : in.data();
    SSTask* task = nullptr;
    EXPECT_EQ(Task<T>::new_task(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 1), SS_OK);
    if constexpr (Task<T>::kDouble) EXPECT_EQ(__rixdSSEditMtxParametrz(task, source, &in_code, out.data(), &out_code), SS_OK);
    else EXPECT_EQ(__rixsSSEditMtxParametrz(task, source, &in_code, out.data(), &out_code), SS_OK);
    const int32_t status = Task<T>::kDouble ? _rixdSSCorParametrization(task, 0, method, &kPool)
                                            : _rixsSSCorParametrization(task, 0, method, &kPool);
    __rixSSDeleteTask(&task);
    return status;
}

// The smallest eigenvalue of the full symmetric matrix m.
double least_eigenvalue(std::vector<double> m, int p) {
    std::vector<double> w(p), work(3 * p);
    const int lwork = 3 * p;
    int info = 0;
    qor_dsyev("N", "U", &p, m.data(), &p, w.data(), work.data(), &lwork, &info);
    EXPECT_EQ(info, 0);
    return w[0];
}

TEST(CorParametrization, KnownAnswersAndInvariants) {
    // A valid matrix: the correlation of random data.
    const Data d = make_data(6, 50, false, 0.0, 1.0, 9u);
    const auto ref = reference(d);
    std::vector<double> valid(ref[8].begin(), ref[8].end()), out(36);
    ASSERT_EQ(repair(valid, 6, 0, 0, out), SS_OK);
    for (int k = 0; k < 36; ++k) EXPECT_NEAR(out[k], valid[k], 1e-12) << k;

    // 2×2 with off-diagonal 1.5: eigenvalues 2.5 and -0.5, floored to 1e-14.
    std::vector<double> two = {1, 1.5, 1.5, 1}, out2(4);
    std::vector<float> out2f(4);
    ASSERT_EQ(repair(two, 2, 0, 0, out2), SS_OK);
    ASSERT_EQ(repair(two, 2, 0, 0, out2f), SS_OK);
    const double off = (2.5 - 1e-14) / (2.5 + 1e-14);
    for (double e : {out2[1], out2[2]}) EXPECT_NEAR(e, off, 1e-15);
    for (double e : {out2[0], out2[3]}) EXPECT_NEAR(e, 1.0, 1e-15);
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
                for (int i = 0; i < p; ++i)
                    for (int j = 0; j < p; ++j) {
                        if (code != 0 && (code == 1) != (i <= j)) continue;
                        const int64_t at = code == 0 ? i * p + j : code == 1 ? i * p - i * (i - 1) / 2 + j - i : i * (i + 1) / 2 + j;
                        ASSERT_EQ(got[at], full[i * p + j]) << in << " -> " << code;
                    }
            }
    }
}

TEST(CorParametrization, FailuresWriteNothingAndTheModeStays) {
    std::vector<double> two = {1, 1.5, 1.5, 1}, out(4, -7);
    EXPECT_EQ(repair(two, 2, 0, 0, out, SS_METHOD_OBS_1), SS_ERR_METHOD);
    EXPECT_EQ(repair(two, 2, 0, 3, out), SS_ERR_OBS_STORAGE);
    EXPECT_EQ(repair(two, 2, 3, 0, out), SS_ERR_OBS_STORAGE);
    EXPECT_EQ(out, std::vector<double>(4, -7));
    EXPECT_EQ(repair(two, 2, 1, 0, out, SS_METHOD_PARAMETRIZE, true), SS_ERR_OBS_STORAGE);

    constexpr uint32_t kCallerMode = QOR_VM_EP | QOR_VM_ERRMODE_ERRNO | QOR_VM_FTZDAZ_ON;
    const uint32_t saved = qor_lum_kernel_RestoreMode(kCallerMode);
    EXPECT_EQ(repair(two, 2, 0, 0, out), SS_OK);
    EXPECT_EQ(qor_lum_kernel_RestoreMode(saved), kCallerMode);
}

}  // namespace
