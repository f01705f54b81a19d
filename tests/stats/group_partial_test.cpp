// Pooled and group covariance, partial covariance and correlation, and
// Mahalanobis distances against direct matrix formulas (Eigen, long double).
#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <cmath>
#include <random>
#include <vector>

#include "basic_support.h"
#include "qor/qor_ss.h"

namespace {

using ss_test::kFourThreads;
using Matrix = Eigen::MatrixXd;

// n observations of p correlated variables, observations in rows or not.
template <class T>
struct Data {
    int64_t p, n, storage;
    std::vector<T> obs, weights;
    Matrix x;  // n x p, the same values
    Data(int64_t p_, int64_t n_, bool rows, bool weighted, unsigned seed)
        : p(p_), n(n_), storage(rows ? SS_OBS_OBSERVATIONS_IN_ROWS : SS_OBS_VARIABLES_IN_ROWS), obs(p * n), x(n, p) {
        std::mt19937_64 g(seed);
        std::normal_distribution<double> normal;
        for (int64_t j = 0; j < n; ++j) {
            const double common = normal(g);
            for (int64_t i = 0; i < p; ++i) {
                const T v = T(3 * i + common * (i + 1) + normal(g));
                obs[rows ? j * p + i : i * n + j] = v, x(j, i) = double(v);
            }
            if (weighted) weights.push_back(T(0.5 + double(g() % 4)));
        }
    }
    double w(int64_t j) const { return weights.empty() ? 1.0 : double(weights[j]); }
    SSTask* task() {
        SSTask* t = nullptr;
        if constexpr (sizeof(T) == 8) __rixdSSNewTask(&t, &p, &n, &storage, obs.data(), weights.empty() ? nullptr : weights.data(), nullptr, 1);
        else __rixsSSNewTask(&t, &p, &n, &storage, obs.data(), weights.empty() ? nullptr : weights.data(), nullptr, 1);
        return t;
    }
    // Weighted mean, C = sum w (x - m)(x - m)' and N = W1 - W2/W1 over the observations in `rows`.
    struct Sums { Eigen::VectorXd m; Matrix c; double w1 = 0, n = 0; };
    Sums sums(const std::vector<int64_t>& rows) const {
        Sums s{Eigen::VectorXd::Zero(p), Matrix::Zero(p, p)};
        double w2 = 0;
        for (int64_t j : rows) s.m += w(j) * x.row(j).transpose(), s.w1 += w(j), w2 += w(j) * w(j);
        s.m /= s.w1, s.n = s.w1 - w2 / s.w1;
        for (int64_t j : rows) s.c += w(j) * (x.row(j).transpose() - s.m) * (x.row(j) - s.m.transpose());
        return s;
    }
};

template <class T>
int32_t pooled(SSTask* t, uint64_t est, int method = SS_METHOD_OBS_1) {
    return sizeof(T) == 8 ? _rixdSSPooledCovariance(t, est, method, &kFourThreads)
                          : _rixsSSPooledCovariance(t, est, method, &kFourThreads);
}

template <class T>
void check_pooled(bool rows, bool weighted, double tolerance) {
    const int64_t p = 3, n = 20000, full = SS_MATRIX_STORAGE_FULL, upper = SS_MATRIX_STORAGE_UPPER_PACKED;
    Data<T> d(p, n, rows, weighted, 9);
    // Groups 0, 1, 3 and 4 (2 is empty), some observations left out; 0, 3 and 4 requested.
    std::vector<int64_t> group(n), requested = {1, 0, 1, 1, 1}, indices = {1, 0, 1};
    for (int64_t j = 0; j < n; ++j) group[j] = j % 7 == 6 ? -1 : j % 50 == 0 ? 4 : j % 3 == 2 ? 3 : j % 3;
    std::vector<T> means(4 * p, T(-7)), covs(4 * p * p, T(-7)), pmean(p, T(-7)), pcov(p * (p + 1) / 2, T(-7));
    SSTask* t = d.task();
    t->indices = indices.data(), t->group_indices = group.data(), t->requested_groups = requested.data();
    t->group_means = means.data(), t->group_covs = covs.data(), t->group_cov_storage = &full;
    t->pooled_mean = pmean.data(), t->pooled_cov = pcov.data(), t->pooled_cov_storage = &upper;
    ASSERT_EQ(pooled<T>(t, SS_EST_POOLED_COV | SS_EST_GROUP_COV), 0);
    __rixSSDeleteTask(&t);

    // Variable 1 is left out: its entries stay -7.  The empty group 2 gets NaN means.
    auto near = [&](T got, int64_t i, int64_t k, double want) {
        EXPECT_NEAR(got, i == 1 || k == 1 ? -7 : want, 10 * tolerance) << i << " " << k;
    };
    Matrix pooled_c = Matrix::Zero(p, p);
    double dof = 0;
    std::vector<int64_t> all;
    for (int64_t g = 0, r = 0; g < 5; ++g) {
        std::vector<int64_t> members;
        for (int64_t j = 0; j < n; ++j)
            if (group[j] == g) members.push_back(j), all.push_back(j);
        const auto s = d.sums(members);
        if (!members.empty()) pooled_c += s.c, dof += s.n;
        if (!requested[g]) continue;
        for (int64_t i = 0; i < p; ++i) {
            if (members.empty()) {
                EXPECT_TRUE(i == 1 ? means[r * p + i] == -7 : std::isnan(means[r * p + i]));
                continue;
            }
            near(means[r * p + i], i, i, s.m(i));
            for (int64_t k = 0; k < p; ++k) near(covs[r * p * p + i * p + k], i, k, s.c(i, k) / s.n);
        }
        ++r;
    }
    const auto s = d.sums(all);
    for (int64_t i = 0, at = 0; i < p; ++i) {
        near(pmean[i], i, i, s.m(i));
        for (int64_t k = i; k < p; ++k) near(pcov[at++], i, k, pooled_c(i, k) / dof);
    }
}
TEST(PooledCovariance, GroupAndPooledEstimatesByDirectFormulas) {
    for (bool rows : {false, true})
        for (bool weighted : {false, true}) check_pooled<double>(rows, weighted, 1e-12);
    check_pooled<float>(true, true, 1e-5);
}

// The weighted covariance of all observations, normalised by W1 - W2/W1.
template <class T>
Matrix covariance(const Data<T>& d) {
    std::vector<int64_t> all(d.n);
    for (int64_t j = 0; j < d.n; ++j) all[j] = j;
    const auto s = d.sums(all);
    return s.c / s.n;
}

template <class T>
int32_t partial(SSTask* t, uint64_t est, int method) {
    return sizeof(T) == 8 ? _rixdSSPartialCovariance(t, est, method, &kFourThreads)
                          : _rixsSSPartialCovariance(t, est, method, &kFourThreads);
}

// Roles 1 (x) and -1 (z); the Schur complement by Eigen's inverse, and for
// one variable given one other the textbook formula
// r_xy.z = (r_xy - r_xz r_yz) / sqrt((1 - r_xz^2)(1 - r_yz^2)).
template <class T>
void check_partial(int method, double tolerance) {
    Data<T> d(4, 3000, method == SS_METHOD_OBS_1, true, 4);
    const Matrix s = covariance(d);
    const int64_t full = SS_MATRIX_STORAGE_FULL, lower = SS_MATRIX_STORAGE_LOWER_PACKED;
    std::vector<T> cov(16);
    for (int64_t i = 0; i < 16; ++i) cov[i] = T(s(i / 4, i % 4));
    for (const std::vector<int64_t>& roles : {std::vector<int64_t>{1, -1, 1, -1}, {-1, 0, 1, 1}, {1, 0, 0, 0}}) {
        std::vector<int64_t> x, z;
        for (int64_t i = 0; i < 4; ++i)
            if (roles[i] == 1) x.push_back(i);
            else if (roles[i] == -1) z.push_back(i);
        const int64_t a = int64_t(x.size());
        std::vector<T> pcov(a * a, T(-7)), pcor(a * (a + 1) / 2, T(-7));
        SSTask* t = d.task();
        t->partial_index = roles.data(), t->cov = cov.data(), t->cov_storage = &full;
        t->partial_cov = pcov.data(), t->partial_cov_storage = &full;
        t->partial_cor = pcor.data(), t->partial_cor_storage = &lower;
        ASSERT_EQ(partial<T>(t, SS_EST_PARTIAL_COV | SS_EST_PARTIAL_COR, method), 0);
        __rixSSDeleteTask(&t);
        const Matrix sxx = s(x, x), sxz = s(x, z), szz = s(z, z);
        const Matrix want = z.empty() ? sxx : Matrix(sxx - sxz * szz.inverse() * sxz.transpose());
        for (int64_t i = 0, at = 0; i < a; ++i)
            for (int64_t k = 0; k < a; ++k) {
                EXPECT_NEAR(pcov[i * a + k], want(i, k), tolerance * std::fabs(want(i, i)));
                if (k <= i) {
                    EXPECT_NEAR(pcor[at++], want(i, k) / std::sqrt(want(i, i) * want(k, k)), tolerance);
                }
            }
        if (a == 2 && z.size() == 1) {
            auto r = [&](int64_t i, int64_t k) { return s(i, k) / std::sqrt(s(i, i) * s(k, k)); };
            const double rxy = r(x[0], x[1]), rxz = r(x[0], z[0]), ryz = r(x[1], z[0]);
            EXPECT_NEAR(pcor[1], (rxy - rxz * ryz) / std::sqrt((1 - rxz * rxz) * (1 - ryz * ryz)), tolerance);
        }
    }
}
TEST(PartialCovariance, SchurComplementFromObservationsOrFromTheCovariance) {
    for (int method : {SS_METHOD_OBS_1, SS_METHOD_SUMS_1}) check_partial<double>(method, 1e-10);
    check_partial<float>(SS_METHOD_SUMS_1, 1e-4);
}

template <class P>
uint64_t word(P* ptr) { return uint64_t(reinterpret_cast<uintptr_t>(ptr)); }

// Against (x - m)' S^-1 (x - m) by Eigen, with inputs from the task's own
// fields or from mahal_inputs.
TEST(MahDistance, AgainstTheInverseCovariance) {
    for (bool own : {true, false}) {
        Data<double> d(3, 9000, own, false, 6);
        const Matrix s = covariance(d);
        std::vector<double> cov(9), mean = {0.5, 3, 6}, out(d.n, -7);
        for (int64_t i = 0; i < 9; ++i) cov[i] = s(i / 3, i % 3);
        const int64_t upper = SS_MATRIX_STORAGE_UPPER_PACKED, room = d.n;
        Data<double> other(3, 1, true, false, 1);  // with mahal_inputs, the task's own observations are not read
        std::vector<double> packed = {cov[0], cov[1], cov[2], cov[4], cov[5], cov[8]};
        SSTask* t = d.task();
        if (own) {
            t->mean = mean.data(), t->cov = packed.data(), t->cov_storage = &upper;
        } else {
            t->obs = other.obs.data();
            t->mahal_inputs[SS_MAHAL_OBS] = word(d.obs.data()), t->mahal_inputs[SS_MAHAL_MEAN] = word(mean.data());
            t->mahal_inputs[SS_MAHAL_COV] = word(cov.data()), t->mahal_inputs[SS_MAHAL_OBS_STORAGE] = word(&d.storage);
        }
        t->mahal_inputs[SS_MAHAL_DISTANCES] = word(out.data()), t->mahal_inputs[SS_MAHAL_DISTANCE_COUNT] = word(&room);
        ASSERT_EQ(_rixdSSMahDistance(t, SS_EST_MAHALANOBIS, SS_METHOD_OBS_1, &kFourThreads), 0);
        __rixSSDeleteTask(&t);
        const Matrix inverse = s.inverse();
        const Eigen::Vector3d m(mean[0], mean[1], mean[2]);
        for (int64_t j = 0; j < d.n; ++j) {
            const Eigen::Vector3d y = d.x.row(j).transpose() - m;
            ASSERT_NEAR(out[j], std::sqrt(y.dot(inverse * y)), 1e-12 * (1 + out[j])) << j;
        }
    }
}

// One task with every input of the three entries; each case breaks one
// thing, and the call must return its status and write nothing.
TEST(GroupPartialMahalanobis, StatusPathsWriteNothing) {
    enum { kPooled, kPartial, kMahal };
    static const int64_t full = 0, bad = 7, roles[3] = {1, -1, -1}, room = 4, short_room = 3;
    static std::vector<int64_t> group(4, 0), requested = {1};
    static std::vector<double> mean = {0, 0, 0}, cov = {1, 0, 0, 0, 1, 0, 0, 0, 1}, singular = {1, 0, 0, 0, 1, 1, 0, 1, 1};
    struct Case { int entry; uint64_t est; int method; int32_t status; void (*edit)(SSTask*); };
    const uint64_t pooled = SS_EST_POOLED_COV, groups = SS_EST_GROUP_COV, partial = SS_EST_PARTIAL_COV | SS_EST_PARTIAL_COR;
    const Case cases[] = {
        {kPooled, pooled, 1, SS_ERR_GROUP_INDICES, [](SSTask* t) { t->group_indices = nullptr; }},
        {kPooled, pooled, 1, SS_ERR_POOLED_MEAN, [](SSTask* t) { t->pooled_mean = nullptr; }},
        {kPooled, pooled, 1, SS_ERR_POOLED_COV, [](SSTask* t) { t->pooled_cov = nullptr; }},
        {kPooled, pooled, 1, SS_ERR_STORAGE, [](SSTask* t) { t->pooled_cov_storage = nullptr; }},
        {kPooled, groups, 1, SS_ERR_GROUP_INDICES, [](SSTask* t) { t->requested_groups = nullptr; }},
        {kPooled, groups, 1, SS_ERR_GROUP_MEANS, [](SSTask* t) { t->group_means = nullptr; }},
        {kPooled, groups, 1, SS_ERR_GROUP_COVS, [](SSTask* t) { t->group_covs = nullptr; }},
        {kPooled, groups, 1, SS_ERR_OBS_STORAGE, [](SSTask* t) { t->group_cov_storage = &bad; }},
        {kPooled, groups, 2, SS_ERR_METHOD, [](SSTask*) {}},
        {kPartial, partial, 1, SS_ERR_PARTIAL_INDEX, [](SSTask* t) { t->partial_index = nullptr; }},
        {kPartial, partial, 1, SS_ERR_PARTIAL_COV, [](SSTask* t) { t->partial_cov = nullptr; }},
        {kPartial, partial, 1, SS_ERR_STORAGE, [](SSTask* t) { t->partial_cor_storage = nullptr; }},
        {kPartial, partial, 512, SS_ERR_COV, [](SSTask* t) { t->cov = nullptr; }},
        {kPartial, partial, 2, SS_ERR_METHOD, [](SSTask*) {}},
        {kPartial, partial, 512, SS_ERR_NOT_POSITIVE_DEFINITE, [](SSTask* t) { t->cov = singular.data(); }},
        {kMahal, SS_EST_MAHALANOBIS, 1, SS_ERR_MAHAL_DISTANCES, [](SSTask* t) { t->mahal_inputs[SS_MAHAL_DISTANCES] = 0; }},
        {kMahal, SS_EST_MAHALANOBIS, 1, SS_ERR_MAHAL_DISTANCES, [](SSTask* t) { t->mahal_inputs[SS_MAHAL_DISTANCE_COUNT] = 0; }},
        {kMahal, SS_EST_MAHALANOBIS, 1, SS_ERR_OBS_COUNT, [](SSTask* t) { t->mahal_inputs[SS_MAHAL_DISTANCE_COUNT] = word(&short_room); }},
        {kMahal, SS_EST_MAHALANOBIS, 1, SS_ERR_MEAN, [](SSTask* t) { t->mean = nullptr; }},
        {kMahal, SS_EST_MAHALANOBIS, 1, SS_ERR_COV, [](SSTask* t) { t->cov = nullptr; }},
        {kMahal, SS_EST_MAHALANOBIS, 2, SS_ERR_METHOD, [](SSTask*) {}},
        {kMahal, SS_EST_MAHALANOBIS, 1, SS_ERR_NOT_POSITIVE_DEFINITE, [](SSTask* t) { t->cov = singular.data(); }},
    };
    static constexpr decltype(&_rixdSSMahDistance) kEntries[3] = {_rixdSSPooledCovariance, _rixdSSPartialCovariance,
                                                                 _rixdSSMahDistance};
    Data<double> d(3, 4, true, false, 2);
    for (const Case& c : cases) {
        std::vector<double> out(16, -7);
        SSTask* t = d.task();
        t->group_indices = group.data(), t->requested_groups = requested.data(), t->partial_index = roles;
        t->group_means = t->pooled_mean = out.data(), t->group_covs = t->pooled_cov = out.data() + 4;
        t->partial_cov = t->partial_cor = out.data();
        t->group_cov_storage = t->pooled_cov_storage = t->partial_cov_storage = t->partial_cor_storage = &full;
        t->mean = mean.data(), t->cov = cov.data(), t->cov_storage = &full;
        t->mahal_inputs[SS_MAHAL_DISTANCES] = word(out.data()), t->mahal_inputs[SS_MAHAL_DISTANCE_COUNT] = word(&room);
        c.edit(t);
        EXPECT_EQ(kEntries[c.entry](t, c.est, c.method, &kFourThreads), c.status);
        EXPECT_EQ(out, std::vector<double>(16, -7)) << c.status;
        __rixSSDeleteTask(&t);
    }
}

}  // namespace
