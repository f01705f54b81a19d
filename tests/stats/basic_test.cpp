// Basic statistics against a two-pass reference in long double: every
// estimate, weighted and not, both layouts, selected variables, matrix
// storage forms, one call or uneven portions, one thread or several; the
// from-sums and supplied-mean methods; the checks and their statuses.
#include <algorithm>
#include <string>

#include "basic_support.h"

using namespace ss_test;

namespace {

int64_t matrix_offset(int64_t code, int64_t p, int64_t i, int64_t j) {
    if (code == SS_MATRIX_STORAGE_FULL) return i * p + j;
    if (code == SS_MATRIX_STORAGE_UPPER_PACKED) return i <= j ? i * p - i * (i - 1) / 2 + (j - i) : matrix_offset(code, p, j, i);
    return i >= j ? i * (i + 1) / 2 + j : matrix_offset(code, p, j, i);
}

// Compares every result of t with the reference; results of variables left
// out must still hold the fill value.
using Reference = std::array<std::vector<long double>, kResults>;

template <class T>
void expect_results(const Task<T>& t, const Data& d, const Reference& ref, uint64_t quantities, double tolerance,
                    const std::string& what) {
    const int64_t p = d.p;
    const int64_t storage[3] = {t.cov_storage, t.cor_storage, t.cp_storage};
    for (int q = 0; q < kResults; ++q) {
        if (!((quantities >> q) & 1)) continue;
        for (int64_t a = 0; a < p; ++a)
            for (int64_t b = 0; b < (is_matrix(q) ? p : 1); ++b) {
                const int64_t at = is_matrix(q) ? matrix_offset(storage[q == 7 ? 0 : q == 8 ? 1 : 2], p, a, b) : a;
                const double got = t.out[q][at];
                if (!d.selected(a) || !d.selected(b)) {
                    EXPECT_EQ(got, T(-7)) << what << " quantity " << q << " [" << a << "," << b << "] written";
                    continue;
                }
                const double want = static_cast<double>(is_matrix(q) ? ref[q][a * p + b] : ref[q][a]);
                EXPECT_LE(std::fabs(got - want), tolerance * std::fabs(want))
                    << what << " quantity " << q << " [" << a << "," << b << "] got " << got << " want " << want;
            }
    }
}

template <class T>
void check_against_reference(double tolerance) {
    int combination = 0;
    for (bool weighted : {false, true})
        for (bool select : {false, true}) {
            Data d = make_data(4, 45000, weighted, 1.0, 0.5, 11 + combination);
            if (select) d.indices = {1, 0, 1, 1};
            for (double& x : d.x) x = T(x);  // the reference sees the values the task sees
            for (double& w : d.w) w = T(w);
            const Reference ref = reference(d);
            for (bool rows : {true, false})
                for (bool portions : {false, true})
                    for (const qor_threading* threading : {&kOneThread, &kFourThreads}) {
                        Task<T> t(d, rows);
                        t.cov_storage = combination % 3, t.cor_storage = (combination + 1) % 3, t.cp_storage = (combination + 2) % 3;
                        const std::string what = std::string(sizeof(T) == 8 ? "double" : "float") + (weighted ? " weighted" : "") +
                                                 (rows ? " variables-in-rows" : " observations-in-rows") +
                                                 (select ? " selected" : "") + (portions ? " portions" : "") +
                                                 (threading == &kFourThreads ? " 4 threads" : "");
                        if (!portions) {
                            ASSERT_EQ(t.basic(kAllBasic, SS_METHOD_OBS_2, threading), SS_OK) << what;
                        } else {
                            // Down to one observation per call, then growing portions.
                            const int64_t sizes[] = {1, 1, 2, 5, 64, 999, 1 << 14};
                            int64_t first = 0;
                            for (int i = 0; first < d.n; ++i) {
                                const int64_t count = std::min(i < 7 ? sizes[i] : d.n, d.n - first);
                                t.set_observations(d, first, count);
                                ASSERT_EQ(t.basic(kAllBasic, SS_METHOD_OBS_2, threading), SS_OK) << what;
                                first += count;
                            }
                        }
                        expect_results(t, d, ref, (1u << kResults) - 1, tolerance, what);
                        ++combination;
                    }
        }
}

TEST(Basic, EveryEstimateAgreesWithTwoPassReferenceInDouble) { check_against_reference<double>(1e-13); }
TEST(Basic, EveryEstimateAgreesWithTwoPassReferenceInFloat) { check_against_reference<float>(2e-6); }

// Mean 1e9 and standard deviation 1: the spread is 1e-9 of the values.
TEST(Basic, LargeMeanSmallSpreadKeepsItsDigits) {
    for (bool portions : {false, true}) {
        const Data d = make_data(1, 200000, false, 1e9, 1.0, 5);
        Task<double> t(d, true);
        const int64_t half = portions ? 77777 : d.n;
        t.set_observations(d, 0, half);
        ASSERT_EQ(t.basic(kAllBasic, SS_METHOD_OBS_2, &kPool), SS_OK);
        if (portions) {
            t.set_observations(d, half, d.n - half);
            ASSERT_EQ(t.basic(kAllBasic, SS_METHOD_OBS_2, &kPool), SS_OK);
        }
        const auto ref = reference(d);
        EXPECT_NEAR(t.out[4][0] / double(ref[4][0]), 1.0, 1e-9) << "variance";
        EXPECT_NEAR(t.out[10][0], double(ref[10][0]), 1e-6) << "skewness";
        EXPECT_NEAR(t.out[9][0], double(ref[9][0]), 1e-6) << "kurtosis";
        EXPECT_NEAR(t.out[7][0] / double(ref[7][0]), 1.0, 1e-10) << "covariance";
        // Alone, the covariance needs only block means; they keep their digits too.
        Task<double> alone(d, true);
        ASSERT_EQ(alone.basic(SS_EST_COV, SS_METHOD_OBS_2, &kPool), SS_OK);
        EXPECT_NEAR(alone.out[7][0] / double(ref[7][0]), 1.0, 1e-10) << "covariance alone";
    }
}

// Sums accumulated by an observation method turn into the estimates.
TEST(Basic, FromSumsMethodsTurnSumsIntoEstimates) {
    const Data d = make_data(3, 5000, true, 2.0, 1.0, 7);
    const uint64_t sums = 0x1FE000000ull;  // sum, raw and central sums, cross-product
    const uint64_t estimates = 0x33FFull;  // bits 0-9, 12, 13
    Task<double> t(d, false);
    ASSERT_EQ(t.basic(sums, SS_METHOD_OBS_2, &kPool), SS_OK);
    ASSERT_EQ(t.basic(estimates, SS_METHOD_SUMS_1, &kPool), SS_OK);
    expect_results(t, d, reference(d), 0xFFFFF, 1e-13, "from sums");

    // The second form normalises by W1 alone.
    const double w1 = t.acc[0];
    ASSERT_EQ(t.basic(SS_EST_CENTRAL_MOMENT2 | SS_EST_COV, SS_METHOD_SUMS_2, &kPool), SS_OK);
    EXPECT_NEAR(t.out[4][1], t.out[16][1] / w1, 1e-14 * t.out[4][1]);
    EXPECT_NEAR(t.out[7][3 * 0 + 2], t.out[19][2] / w1, 1e-14 * std::fabs(t.out[7][2]));

    // Without acc_weights and weights, W1 = W2 = n.
    t.task->acc_weights = nullptr;
    t.task->weights = nullptr;
    ASSERT_EQ(t.basic(SS_EST_MEAN, SS_METHOD_SUMS_1, &kPool), SS_OK);
    EXPECT_NEAR(t.out[0][2], t.out[12][2] / 5000, 1e-15 * std::fabs(t.out[0][2]));
}

// Method 256: central sums around the mean the caller supplies.
TEST(Basic, SuppliedMeanCentresTheSums) {
    const Data d = make_data(2, 3000, true, 3.0, 1.0, 9);
    Task<double> t(d, true);
    t.out[0] = {2.5, 7.0};
    ASSERT_EQ(t.basic(SS_EST_CENTRAL_SUM2 | SS_EST_CENTRAL_SUM3 | SS_EST_CENTRAL_SUM4, SS_METHOD_OBS_3, &kPool), SS_OK);
    for (int64_t i = 0; i < 2; ++i)
        for (int k = 2; k <= 4; ++k) {
            long double s = 0;
            for (int64_t j = 0; j < d.n; ++j) s += d.w[j] * std::pow((long double)d.x[i * d.n + j] - t.out[0][i], k);
            EXPECT_NEAR(t.out[14 + k][i], double(s), 1e-13 * std::fabs(double(s))) << i << " " << k;
        }
    EXPECT_EQ(t.out[0][1], 7.0);  // the supplied mean is not overwritten
}

// A task that did not see the first portion continues from the arrays and
// acc_weights alone.
TEST(Basic, ContinuesFromResultArraysOfAnotherTask) {
    const Data d = make_data(3, 8000, false, 1.0, 0.5, 13);
    Task<double> first(d, false), second(d, false);
    first.set_observations(d, 0, 3000);
    ASSERT_EQ(first.basic(kAllBasic, SS_METHOD_OBS_2, &kPool), SS_OK);
    second.out = first.out;
    std::copy(first.acc, first.acc + 2, second.acc);
    second.set_observations(d, 3000, 5000);
    ASSERT_EQ(second.basic(kAllBasic, SS_METHOD_OBS_2, &kPool), SS_OK);
    expect_results(second, d, reference(d), 0xFFFFF, 1e-13, "continued");

    // A correlation alone does not say how it was scaled.
    Task<double> lone(d, false);
    lone.out = first.out;
    std::copy(first.acc, first.acc + 2, lone.acc);
    const auto before = lone.snapshot();
    EXPECT_EQ(lone.basic(SS_EST_COR, SS_METHOD_OBS_2, &kPool), SS_ERR_COV);
    EXPECT_EQ(lone.snapshot(), before);
}

// Each check with its status, the arrays untouched after a failure.
TEST(Basic, ChecksReturnTheirStatusAndWriteNothing) {
    const Data d = make_data(2, 100, false, 1.0, 1.0, 3);
    struct Case {
        const char* name;
        uint64_t estimates;
        int method;
        int32_t status;
        void (*spoil)(Task<double>&);
    };
    const Case cases[] = {
        {"two observation flags", SS_EST_MEAN, 3, SS_ERR_METHOD, nullptr},
        {"no flag", SS_EST_MEAN, 0, SS_ERR_METHOD, nullptr},
        {"sum from sums", SS_EST_SUM, SS_METHOD_SUMS_1, SS_ERR_METHOD, nullptr},
        {"skewness, lowest missing is the mean", SS_EST_SKEWNESS, 2, SS_ERR_MEAN,
         [](Task<double>& t) { t.task->mean = t.task->raw_moment2 = t.task->central_moment2 = nullptr; }},
        {"covariance from sums without cross-product", SS_EST_COV, SS_METHOD_SUMS_1, SS_ERR_CP,
         [](Task<double>& t) { t.task->cp = nullptr; }},
        {"central sum 2 with method 1 needs raw moment 2", SS_EST_CENTRAL_SUM2, 1, SS_ERR_RAW_MOMENT2,
         [](Task<double>& t) { t.task->raw_moment2 = nullptr; }},
        {"dimension 0", SS_EST_MEAN, 2, SS_ERR_DIM, [](Task<double>& t) { t.p = 0; }},
        {"no count", SS_EST_MEAN, 2, SS_ERR_OBS_COUNT, [](Task<double>& t) { t.task->obs_count = nullptr; }},
        {"count 0", SS_EST_MEAN, 2, SS_ERR_OBS_COUNT, [](Task<double>& t) { t.n = 0; }},
        {"no observations", SS_EST_MEAN, 2, SS_ERR_OBS, [](Task<double>& t) { t.task->obs = nullptr; }},
        {"no storage", SS_EST_MEAN, 2, SS_ERR_STORAGE, [](Task<double>& t) { t.task->obs_storage = nullptr; }},
        {"storage 0", SS_EST_MEAN, 2, SS_ERR_OBS_STORAGE, [](Task<double>& t) { t.storage = 0; }},
        {"no acc_weights", SS_EST_MEAN, 2, SS_ERR_ACC_WEIGHTS, [](Task<double>& t) { t.task->acc_weights = nullptr; }},
        {"no covariance storage", SS_EST_COV, 2, SS_ERR_STORAGE, [](Task<double>& t) { t.task->cov_storage = nullptr; }},
        {"covariance storage 3", SS_EST_COV, 2, SS_ERR_OBS_STORAGE, [](Task<double>& t) { t.cov_storage = 3; }},
        {"from sums, weights but no acc_weights", SS_EST_MEAN, SS_METHOD_SUMS_2, SS_ERR_ACC_WEIGHTS,
         [](Task<double>& t) { t.task->acc_weights = nullptr, t.task->weights = t.obs.data(); }},
        {"null task", SS_EST_MEAN, 2, SS_ERR_TASK, nullptr},
    };
    for (const Case& c : cases) {
        Task<double> t(d, true);
        if (c.spoil) c.spoil(t);
        const auto before = t.snapshot();
        const bool null_task = std::string(c.name) == "null task";
        EXPECT_EQ(null_task ? _rixdSSBasic(nullptr, c.estimates, c.method, &kPool) : t.basic(c.estimates, c.method, &kPool),
                  c.status)
            << c.name;
        EXPECT_EQ(t.snapshot(), before) << c.name;
    }

    // Accepted: both from-sums flags; a storage code with both layout bits
    // reads as variables in rows.
    Task<double> t(d, true);
    EXPECT_EQ(t.basic(SS_EST_MEAN, SS_METHOD_SUMS_1 | SS_METHOD_SUMS_2, &kPool), SS_OK);
    t.storage = SS_OBS_VARIABLES_IN_ROWS | SS_OBS_OBSERVATIONS_IN_ROWS;
    ASSERT_EQ(t.basic(SS_EST_MEAN, 2, &kPool), SS_OK);
    expect_results(t, d, reference(d), 1, 1e-14, "storage 196608");
}

}  // namespace
