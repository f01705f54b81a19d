// The numerics under the robust estimators, white-box: the chi-square
// functions against Boost.Math, the MCD coverage against the published
// "Half" of each data set, the weighted scatter and the distances against
// Eigen's direct formulas on several threads, and the random draws.
#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <random>
#include <vector>

#include "qor/qor_threading.h"
#include "stats/chi_square.h"
#include "stats/robust_fits.h"
#include "stats/robust_passes.h"

namespace {

using namespace qor::ss;

int limit_four() { return 4; }
const qor_threading kFourThreads{qor_rix_serv_threader_for, limit_four};

TEST(RobustNumerics, ChiSquareAgainstBoost) {
    for (double a : {0.5, 1.0, 1.5, 2.5, 5.0, 12.0, 40.0})
        for (double x : {1e-3, 0.1, 0.9, 2.0, 5.5, 13.0, 60.0, 200.0})
            EXPECT_NEAR(gamma_p(a, x), boost::math::gamma_p(a, x), 2e-14) << a << " " << x;
    for (double k : {1.0, 3.0, 10.0, 57.0}) {
        const boost::math::chi_squared chi(k);
        for (double prob : {1e-4, 0.025, 0.5, 0.975, 0.999, 1 - 1e-7}) {
            const double want = boost::math::quantile(chi, prob);
            // Far in the upper tail the lower-tail function's rounding near 1
            // (1e-16 over a density of 1e-8) bounds the quantile's accuracy.
            EXPECT_NEAR(chi_square_quantile(prob, k), want, (prob > 0.9999 ? 1e-10 : 1e-12) * want) << k << " " << prob;
        }
        const double q = boost::math::quantile(chi, 0.975);
        EXPECT_NEAR(truncation_consistency(0.975, k), 0.975 / boost::math::cdf(boost::math::chi_squared(k + 2), q),
                    1e-12);
    }
}

TEST(RobustNumerics, CoverageIsThePublishedHalf) {
    EXPECT_EQ(mcd_coverage(75, 3, 0.5), 39);   // hbk
    EXPECT_EQ(mcd_coverage(21, 3, 0.5), 12);   // stackloss
    EXPECT_EQ(mcd_coverage(75, 3, 0.25), 57);  // floor(2*39 - 75 + 1.5*36)
    EXPECT_EQ(mcd_coverage(10, 3, 0.01), 9);    // floor(4 + 1.98*3)
}

// Weighted scatter and squared distances of 20000 x 6 observations on four
// threads, against Eigen in the same double arithmetic up to summation order.
TEST(RobustNumerics, ScatterAndDistancesAgainstDirectFormulas) {
    const int64_t n = 20000, q = 6;
    std::mt19937_64 g(3);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform(0, 2);
    Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor> x(n, q);
    Eigen::VectorXd a(n), b(n);
    for (int64_t j = 0; j < n; ++j) {
        for (int64_t i = 0; i < q; ++i) x(j, i) = normal(g) * (i + 1) + (i == 0 ? 0.5 * x(j, q - 1 - i) : 3.0 * i);
        a(j) = j % 5 == 0 ? 0 : uniform(g);
        b(j) = j % 3 == 0 ? 0 : uniform(g);
    }
    const Sample s{x.data(), n, q, &kFourThreads};
    Eigen::VectorXd mean(q);
    Eigen::MatrixXd scatter(q, q);
    double total = 0;
    ASSERT_EQ(weighted_scatter(s, a.data(), b.data(), mean.data(), scatter.data(), total), SS_OK);
    const Eigen::VectorXd want_mean = x.transpose() * a / a.sum();
    const Eigen::MatrixXd centred = x.rowwise() - want_mean.transpose();
    const Eigen::MatrixXd want = centred.transpose() * b.asDiagonal() * centred;
    EXPECT_NEAR(total, a.sum(), 1e-9 * total);
    EXPECT_LT((mean - want_mean).norm(), 1e-12 * want_mean.norm());
    EXPECT_LT((scatter - want).norm(), 1e-12 * want.norm());

    Eigen::VectorXd d2(n);
    double log_det = 0;
    const Eigen::MatrixXd cov = want / b.sum();
    ASSERT_EQ(squared_distances(s, mean.data(), cov.data(), d2.data(), log_det), SS_OK);
    EXPECT_NEAR(log_det, std::log(cov.determinant()), 1e-10);
    const Eigen::MatrixXd inverse = cov.inverse();
    for (int64_t j = 0; j < n; j += 97) {
        const Eigen::VectorXd c = centred.row(j).transpose();
        EXPECT_NEAR(d2(j), c.dot(inverse * c), 1e-10 * (1 + d2(j)));
    }
    Eigen::MatrixXd singular = cov;
    singular.row(2) = singular.row(1), singular.col(2) = singular.col(1);
    EXPECT_EQ(squared_distances(s, mean.data(), singular.data(), d2.data(), log_det), SS_ERR_NOT_POSITIVE_DEFINITE);

    // The h smallest marked, whatever the order.
    std::vector<int64_t> order(n);
    std::vector<double> flags(n);
    mark_smallest(d2.data(), n, 1000, order.data(), flags.data());
    std::vector<double> sorted(d2.data(), d2.data() + n);
    std::nth_element(sorted.begin(), sorted.begin() + 999, sorted.end());
    int64_t marked = 0;
    for (int64_t j = 0; j < n; ++j) {
        marked += flags[j] == 1;
        EXPECT_EQ(flags[j] == 1, d2(j) <= sorted[999]) << j;
    }
    EXPECT_EQ(marked, 1000);
}

// The same seed gives the same draws, each in range, about uniform.
TEST(RobustNumerics, DrawsRepeatAndCoverTheRange) {
    Draws first(7), again(7), other(8);
    ASSERT_TRUE(first.ok());
    std::vector<int64_t> counts(10);
    bool differs = false;
    for (int k = 0; k < 20000; ++k) {
        const int64_t v = first.below(10);
        ASSERT_EQ(v, again.below(10));
        differs |= v != other.below(10);
        ASSERT_GE(v, 0);
        ASSERT_LT(v, 10);
        ++counts[v];
    }
    EXPECT_TRUE(differs);
    for (int64_t c : counts) EXPECT_NEAR(double(c), 2000.0, 200.0);
}

}  // namespace
