// Missing values: EM against the maximum-likelihood estimates of monotone
// data (the likelihood factored into regressions, by Eigen), data
// augmentation's imputed sets and draws against the conditional and
// posterior moments of the normal model.
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
using Vector = Eigen::VectorXd;
const double kNaN = std::nan("");

// n draws of N(mu, sigma) in an n x p matrix.
Matrix normal_data(int64_t n, const Vector& mu, const Matrix& sigma, unsigned seed) {
    std::mt19937_64 g(seed);
    std::normal_distribution<double> normal;
    const Matrix factor = sigma.llt().matrixL();
    Matrix x(n, mu.size());
    for (int64_t j = 0; j < n; ++j) {
        Vector z(mu.size());
        for (auto& v : z) v = normal(g);
        x.row(j) = (mu + factor * z).transpose();
    }
    return x;
}

const Vector kMu = Vector{{1.0, -2.0, 5.0}};
const Matrix kSigma = Matrix{{4.0, 1.2, -0.8}, {1.2, 2.0, 0.6}, {-0.8, 0.6, 1.5}};

// A task over x (NaN where missing) with every missing-value array.
template <class T>
struct MvTask {
    int64_t p, n, storage, param_count = 6, init_count, prior_count = 0, est_count = 1000, sim_count;
    std::vector<T> obs, params, init, prior, est, sim;
    SSTask* task = nullptr;
    MvTask(const Matrix& x, bool rows, std::vector<T> parameters, int64_t sets = 0)
        : p(x.cols()),
          n(x.rows()),
          storage(rows ? SS_OBS_OBSERVATIONS_IN_ROWS : SS_OBS_VARIABLES_IN_ROWS),
          init_count(p + p * (p + 1) / 2),
          sim_count(sets * x.size()),
          obs(x.size()),
          params(parameters),
          init(init_count),
          est(1000, T(-7)),
          sim(sim_count, T(-7)) {
        for (int64_t j = 0; j < n; ++j)
            for (int64_t i = 0; i < p; ++i) obs[rows ? j * p + i : i * n + j] = T(x(j, i));
        if constexpr (sizeof(T) == 8)
            __rixdSSNewTask(&task, &p, &n, &storage, obs.data(), nullptr, nullptr, 1);
        else
            __rixsSSNewTask(&task, &p, &n, &storage, obs.data(), nullptr, nullptr, 1);
        task->mv_param_count = &param_count, task->mv_params = params.data();
        task->mv_init_count = &init_count, task->mv_init = init.data();
        task->mv_prior_count = &prior_count, task->mv_prior = nullptr;
        task->mv_est_count = &est_count, task->mv_est = est.data();
        task->mv_sim_count = &sim_count, task->mv_sim = sim.data();
    }
    ~MvTask() { __rixSSDeleteTask(&task); }
    int32_t run(int method) {
        return sizeof(T) == 8 ? _rixdSSMissingValues(task, SS_EST_MISSING_VALUES, method, &kFourThreads)
                              : _rixsSSMissingValues(task, SS_EST_MISSING_VALUES, method, &kFourThreads);
    }
    T at(int64_t set, int64_t j, int64_t i) const {
        return sim[set * n * p + (storage == SS_OBS_OBSERVATIONS_IN_ROWS ? j * p + i : i * n + j)];
    }
    // The estimates at est + offset: the mean and the packed upper covariance.
    void estimates(int64_t offset, Vector& mean, Matrix& cov) const {
        mean.resize(p), cov.resize(p, p);
        for (int64_t i = 0; i < p; ++i) mean(i) = double(est[offset + i]);
        for (int64_t i = 0, at = offset + p; i < p; ++i)
            for (int64_t k = i; k < p; ++k) cov(i, k) = cov(k, i) = double(est[at++]);
    }
};

// Parameters: EM iterations, DA iterations, accuracy, sets, start, seed.
template <class T>
std::vector<T> params(double em, double da, double accuracy, double sets, double start,
                      double seed = SS_MV_DEFAULT_SEED) {
    return {T(em), T(da), T(accuracy), T(sets), T(start), T(seed)};
}

template <class T>
void check_complete_data(bool rows, double tolerance) {
    const Matrix x = normal_data(5000, kMu, kSigma, 3);
    MvTask<T> t(x, rows, params<T>(50, 1, 1e-10, 0, SS_MV_START_AVAILABLE_CASES));
    ASSERT_EQ(t.run(SS_METHOD_MI_EM), 0);
    Vector mean;
    Matrix cov;
    t.estimates(1, mean, cov);
    const Vector want_mean = x.colwise().mean();
    const Matrix centred = x.rowwise() - want_mean.transpose();
    const Matrix want_cov = centred.transpose() * centred / double(x.rows());
    EXPECT_LE(t.est[0], 2);
    EXPECT_LT((mean - want_mean).cwiseAbs().maxCoeff(), tolerance);
    EXPECT_LT((cov - want_cov).cwiseAbs().maxCoeff(), tolerance);
}
TEST(MissingValuesEM, WithoutMissingValuesGivesThePlainMeanAndCovariance) {
    for (bool rows : {false, true}) check_complete_data<double>(rows, 1e-12);
    check_complete_data<float>(true, 1e-4);
}

// Monotone data (observation j has its first c_j variables) factor the
// likelihood into the regression of each variable on the ones before it,
// over the observations that have it: the estimates in closed form.
void monotone_ml(const Matrix& x, const std::vector<int64_t>& c, Vector& mu, Matrix& sigma) {
    const int64_t p = x.cols();
    mu.resize(p), sigma.resize(p, p);
    for (int64_t k = 0; k < p; ++k) {
        std::vector<int64_t> rows;
        for (int64_t j = 0; j < x.rows(); ++j)
            if (c[j] > k) rows.push_back(j);
        Matrix design(rows.size(), k + 1);
        Vector y(rows.size());
        for (size_t r = 0; r < rows.size(); ++r) {
            design(r, 0) = 1, y(r) = x(rows[r], k);
            for (int64_t i = 0; i < k; ++i) design(r, i + 1) = x(rows[r], i);
        }
        const Vector coef = design.colPivHouseholderQr().solve(y);
        const double residual = (y - design * coef).squaredNorm() / double(rows.size());
        const Vector beta = coef.tail(k);
        mu(k) = coef(0) + beta.dot(mu.head(k));
        const Vector cross = sigma.topLeftCorner(k, k) * beta;
        sigma.block(0, k, k, 1) = cross, sigma.block(k, 0, 1, k) = cross.transpose();
        sigma(k, k) = residual + beta.dot(cross);
    }
}

TEST(MissingValuesEM, MonotoneDataGiveTheClosedFormMaximumLikelihood) {
    Matrix x = normal_data(600, kMu, kSigma, 11);
    std::vector<int64_t> c(x.rows());
    for (int64_t j = 0; j < x.rows(); ++j) {  // at random given the observed values
        c[j] = x(j, 0) > 2.5 ? 1 : j % 3 == 0 ? 2 : 3;
        for (int64_t i = c[j]; i < 3; ++i) x(j, i) = kNaN;
    }
    Vector want_mu;
    Matrix want_sigma;
    monotone_ml(x, c, want_mu, want_sigma);
    for (int start : {SS_MV_START_COMPLETE_CASES, SS_MV_START_AVAILABLE_CASES, SS_MV_START_GIVEN})
        for (bool rows : {false, true}) {
            MvTask<double> t(x, rows, params<double>(2000, 1, 1e-13, 0, start));
            t.init = {0, 0, 0, 1, 0, 0, 1, 0, 1}, t.task->mv_init = t.init.data();
            ASSERT_EQ(t.run(SS_METHOD_MI_EM), 0) << start;
            Vector mu;
            Matrix sigma;
            t.estimates(1, mu, sigma);
            EXPECT_GT(t.est[0], 5);
            EXPECT_LT(t.est[0], 2000);
            EXPECT_LT((mu - want_mu).cwiseAbs().maxCoeff(), 1e-9) << start;
            EXPECT_LT((sigma - want_sigma).cwiseAbs().maxCoeff(), 1e-9) << start;
        }
    // Float data: the same estimates within single precision.
    MvTask<float> t(x, true, params<float>(500, 1, 1e-6, 0, SS_MV_START_COMPLETE_CASES));
    ASSERT_EQ(t.run(SS_METHOD_MI_EM), 0);
    Vector mu;
    Matrix sigma;
    t.estimates(1, mu, sigma);
    EXPECT_LT((mu - want_mu).cwiseAbs().maxCoeff(), 1e-4);
    EXPECT_LT((sigma - want_sigma).cwiseAbs().maxCoeff(), 1e-4);
}

// More than 64 variables (masks of two words, several radix passes) and
// enough observations for several threads: reversing the variables
// reverses the estimates, and one thread gives what four give.
TEST(MissingValuesEM, ReversedVariablesGiveReversedEstimatesOnAnyThreadCount) {
    const int64_t p = 70, n = 20000;
    Matrix x = normal_data(n, Vector::LinSpaced(p, 0, 7), Matrix::Identity(p, p) * 2 + Matrix::Ones(p, p), 2);
    for (int64_t j = 0; j < n; ++j)
        for (int64_t i : {1, 40, 65, 69})
            if ((j * 7 + i) % 13 == 0) x(j, i) = kNaN;
    const Matrix reversed = x.rowwise().reverse();
    MvTask<double> forward(x, true, params<double>(4, 1, 0, 0, SS_MV_START_AVAILABLE_CASES));
    MvTask<double> backward(reversed, false, params<double>(4, 1, 0, 0, SS_MV_START_AVAILABLE_CASES));
    forward.est.assign(1 + p + p * (p + 1) / 2, -7), forward.task->mv_est = forward.est.data();
    backward.est = forward.est, backward.task->mv_est = backward.est.data();
    forward.est_count = backward.est_count = int64_t(forward.est.size());
    ASSERT_EQ(forward.run(SS_METHOD_MI_EM), 0);
    ASSERT_EQ(_rixdSSMissingValues(backward.task, SS_EST_MISSING_VALUES, SS_METHOD_MI_EM, nullptr), 0);
    Vector mf, mb;
    Matrix cf, cb;
    forward.estimates(1, mf, cf), backward.estimates(1, mb, cb);
    EXPECT_EQ(forward.est[0], 4);
    EXPECT_LT((mf - mb.reverse()).cwiseAbs().maxCoeff(), 1e-12);
    EXPECT_LT((cf - cb.reverse()).cwiseAbs().maxCoeff(), 1e-11);
}

// A prior so concentrated at (kMu, kSigma) that every P-step draws them up to
// about 1e-4: the imputed values must then follow the conditional normal
// law of the missing given the observed values under (kMu, kSigma).
template <class T>
void check_imputation(bool rows) {
    const int64_t sets = 4;
    Matrix x = normal_data(3000, kMu, kSigma, 5);
    for (int64_t j = 0; j < x.rows(); ++j) {
        if (j % 2 == 0) x(j, 2) = kNaN;             // pattern {0, 1} observed
        if (j % 10 == 1) x(j, 0) = x(j, 1) = kNaN;  // pattern {2}
    }
    MvTask<T> t(x, rows, params<T>(20, 3, 1e-8, sets, SS_MV_START_COMPLETE_CASES), sets);
    const double strength = 1e8;
    t.prior = {T(strength), T(strength), T(kMu(0)), T(kMu(1)), T(kMu(2))};
    for (int64_t i = 0; i < 3; ++i)
        for (int64_t k = i; k < 3; ++k) t.prior.push_back(T(strength * kSigma(i, k)));
    t.prior_count = int64_t(t.prior.size()), t.task->mv_prior = t.prior.data();
    ASSERT_EQ(t.run(SS_METHOD_MI_DA), 0);

    const Eigen::Vector2d b = kSigma.topLeftCorner(2, 2).inverse() * kSigma.block(0, 2, 2, 1);
    const double c = kSigma(2, 2) - b.dot(kSigma.block(0, 2, 2, 1).col(0));
    double sum = 0, sum2 = 0, cross = 0, count = 0;
    for (int64_t s = 0; s < sets; ++s)
        for (int64_t j = 0; j < x.rows(); ++j) {
            for (int64_t i = 0; i < 3; ++i)
                if (!std::isnan(x(j, i))) {
                    ASSERT_EQ(t.at(s, j, i), T(x(j, i))) << s << " " << j;
                }
            if (j % 2 != 0 || j % 10 == 1) continue;
            const double r = double(t.at(s, j, 2)) - kMu(2) - b(0) * (x(j, 0) - kMu(0)) - b(1) * (x(j, 1) - kMu(1));
            sum += r, sum2 += r * r, cross += r * (x(j, 0) - kMu(0)), count += 1;
        }
    const double se = std::sqrt(c / count);
    EXPECT_NEAR(sum / count, 0, 4 * se);
    EXPECT_NEAR(sum2 / count, c, 4 * c * std::sqrt(2 / count));
    EXPECT_NEAR(cross / count, 0, 4 * std::sqrt(c * kSigma(0, 0) / count));
    Vector mu;
    Matrix sigma;
    t.estimates(1 + 9 + 9 * (sets - 1), mu, sigma);  // the last draw
    EXPECT_LT((mu - kMu).cwiseAbs().maxCoeff(), 1e-3);
    EXPECT_LT((sigma - kSigma).cwiseAbs().maxCoeff(), 1e-2);

    // The same seed repeats the sets; another one changes every imputed value.
    const std::vector<T> first = t.sim;
    ASSERT_EQ(t.run(SS_METHOD_MI_DA), 0);
    EXPECT_EQ(t.sim, first);
    t.params[SS_MV_SEED] = 99;
    ASSERT_EQ(t.run(SS_METHOD_MI_DA), 0);
    for (int64_t j = 0; j < x.rows(); j += 2) EXPECT_NE(t.at(0, j, 2), first[rows ? j * 3 + 2 : 2 * x.rows() + j]);
}
TEST(MissingValuesDA, ImputedSetsKeepTheObservedValuesAndFollowTheConditionalLaw) {
    check_imputation<double>(true);
    check_imputation<float>(false);
}

// Complete data and the non-informative prior: the draws of the mean and
// covariance average to ybar and nS / (n - p - 2), the posterior means.
TEST(MissingValuesDA, PosteriorDrawsHaveThePosteriorMeans) {
    const int64_t sets = 6000, n = 12;
    const Matrix x = normal_data(n, kMu.head(2), kSigma.topLeftCorner(2, 2), 8);
    MvTask<double> t(x, false, params<double>(0, 1, 0, sets, SS_MV_START_COMPLETE_CASES), sets);
    t.est.assign(1 + 5 * (sets + 1), -7), t.est_count = int64_t(t.est.size()), t.task->mv_est = t.est.data();
    ASSERT_EQ(t.run(SS_METHOD_MI_DA), 0);
    const Vector ybar = x.colwise().mean();
    const Matrix centred = x.rowwise() - ybar.transpose();
    const Matrix want = centred.transpose() * centred / double(n - 2 - 2);
    Vector mean_sum = Vector::Zero(2);
    Matrix cov_sum = Matrix::Zero(2, 2);
    for (int64_t s = 0; s < sets; ++s) {
        Vector mu;
        Matrix sigma;
        t.estimates(1 + 5 * (s + 1), mu, sigma);
        mean_sum += mu, cov_sum += sigma;
    }
    for (int64_t i = 0; i < 2; ++i) {
        EXPECT_NEAR(mean_sum(i) / sets, ybar(i), 4 * std::sqrt(want(i, i) / n / sets));
        for (int64_t k = 0; k < 2; ++k) EXPECT_NEAR(cov_sum(i, k) / sets, want(i, k), 0.05 * want(i, i)) << i << k;
    }
}

// Each case breaks one thing: the call returns its status and writes nothing.
TEST(MissingValues, StatusPathsWriteNothing) {
    static const int64_t small = 3, zero = 0;
    static double no_variance[] = {0, 0, 0, 0, 0, 0, 0, 0, 0}, bad_prior[] = {-1, 10, 0, 0, 0, 1, 0, 0, 1, 0, 1};
    struct Case {
        int method;
        int32_t status;
        void (*edit)(MvTask<double>&);
    };
    const Case cases[] = {
        {SS_METHOD_MI_EM | SS_METHOD_MI_DA, SS_ERR_METHOD, [](MvTask<double>&) {}},
        {SS_METHOD_OBS_1, SS_ERR_METHOD, [](MvTask<double>&) {}},
        {SS_METHOD_MI_EM, SS_ERR_OBS, [](MvTask<double>& t) { t.task->obs = nullptr; }},
        {SS_METHOD_MI_EM, SS_ERR_MV_PARAM_COUNT, [](MvTask<double>& t) { t.task->mv_param_count = &small; }},
        {SS_METHOD_MI_EM, SS_ERR_MV_PARAMS, [](MvTask<double>& t) { t.task->mv_params = nullptr; }},
        {SS_METHOD_MI_EM, SS_ERR_MV_PARAMS, [](MvTask<double>& t) { t.params[SS_MV_EM_ITERATIONS] = 1.5; }},
        {SS_METHOD_MI_EM, SS_ERR_MV_PARAMS, [](MvTask<double>& t) { t.params[SS_MV_START] = 3; }},
        {SS_METHOD_MI_DA, SS_ERR_MV_PARAMS, [](MvTask<double>& t) { t.params[SS_MV_SETS] = 0; }},
        {SS_METHOD_MI_EM, SS_ERR_MV_INIT_COUNT, [](MvTask<double>& t) { t.init_count = 8; }},
        {SS_METHOD_MI_EM, SS_ERR_MV_INIT, [](MvTask<double>& t) { t.task->mv_init = nullptr; }},
        {SS_METHOD_MI_EM, SS_ERR_NOT_POSITIVE_DEFINITE, [](MvTask<double>& t) { t.task->mv_init = no_variance; }},
        {SS_METHOD_MI_DA, SS_ERR_MV_PRIOR_COUNT, [](MvTask<double>& t) { t.task->mv_prior_count = nullptr; }},
        {SS_METHOD_MI_DA, SS_ERR_MV_PRIOR_COUNT, [](MvTask<double>& t) { t.prior_count = 5; }},
        {SS_METHOD_MI_DA, SS_ERR_MV_PRIOR, [](MvTask<double>& t) { t.prior_count = 11; }},
        {SS_METHOD_MI_DA, SS_ERR_MV_PRIOR, [](MvTask<double>& t) { t.prior_count = 11, t.task->mv_prior = bad_prior; }},
        {SS_METHOD_MI_EM, SS_ERR_MV_EST_COUNT, [](MvTask<double>& t) { t.task->mv_est_count = &small; }},
        {SS_METHOD_MI_DA, SS_ERR_MV_EST_COUNT, [](MvTask<double>& t) { t.est_count = 10 + 9; }},
        {SS_METHOD_MI_EM, SS_ERR_MV_EST, [](MvTask<double>& t) { t.task->mv_est = nullptr; }},
        {SS_METHOD_MI_DA, SS_ERR_MV_SIM_COUNT, [](MvTask<double>& t) { t.task->mv_sim_count = &zero; }},
        {SS_METHOD_MI_DA, SS_ERR_MV_SIM, [](MvTask<double>& t) { t.task->mv_sim = nullptr; }},
        {SS_METHOD_MI_DA, SS_ERR_OBS_COUNT, [](MvTask<double>& t) { t.n = 3; }},
    };
    Matrix x = normal_data(8, kMu, kSigma, 1);
    x(0, 1) = x(3, 2) = kNaN;
    for (const Case& c : cases) {
        MvTask<double> t(x, true, params<double>(5, 1, 0, 2, SS_MV_START_GIVEN), 2);
        t.init = {0, 0, 0, 1, 0, 0, 1, 0, 1}, t.task->mv_init = t.init.data();
        c.edit(t);
        EXPECT_EQ(t.run(c.method), c.status);
        EXPECT_EQ(t.est, std::vector<double>(1000, -7)) << c.status;
        EXPECT_EQ(t.sim, std::vector<double>(t.sim.size(), -7)) << c.status;
    }
    // Without the estimate bit nothing is checked beyond p, n and the storage.
    MvTask<double> t(x, true, params<double>(5, 1, 0, 2, SS_MV_START_GIVEN));
    t.task->mv_params = nullptr;
    EXPECT_EQ(_rixdSSMissingValues(t.task, SS_EST_MEAN, SS_METHOD_MI_EM, &kFourThreads), 0);
}

}  // namespace
