// The public summary-statistics interface seen from an application: the
// task checks the core makes before the kernels see a call, one small data
// set end to end, the per-thread thread cap, and every call without kernels.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "qor/qor.h"

namespace {

class StatsApi : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail(); }
};

TEST_F(StatsApi, TasksAreCheckedBeforeTheKernelsSeeThem) {
    int64_t p = 1, n = 2, rows = SS_OBS_VARIABLES_IN_ROWS, bad_storage = 7, zero = 0;
    double x[2] = {1, 2}, w[2] = {-1, -1}, mean = -1;
    float xf[2] = {1, 2}, wf[2] = {-1, -1};
    qor_ss_task* const poison = reinterpret_cast<qor_ss_task*>(&p);

    // A failed creation leaves the handle null.
    qor_ss_task* task = poison;
    EXPECT_EQ(qor_dss_new_task(&task, &zero, &n, &rows, x, nullptr, nullptr), SS_ERR_DIM);
    EXPECT_EQ(task, nullptr);
    task = poison;
    EXPECT_EQ(qor_sss_new_task(&task, &p, &n, &bad_storage, xf, nullptr, nullptr), SS_ERR_OBS_STORAGE);
    EXPECT_EQ(task, nullptr);
    EXPECT_EQ(qor_dss_new_task(nullptr, &p, &n, &rows, x, nullptr, nullptr), SS_ERR_TASK);

    // No task, or no handle address.
    EXPECT_EQ(qor_ss_edit_task_i(nullptr, SS_PARAM_DIM, &p), SS_ERR_TASK);
    EXPECT_EQ(qor_dss_edit_task(nullptr, SS_PARAM_MEAN, &mean), SS_ERR_TASK);
    EXPECT_EQ(qor_sss_edit_sums(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), SS_ERR_TASK);
    EXPECT_EQ(qor_dss_basic(nullptr, SS_EST_MEAN, SS_METHOD_OBS_1), SS_ERR_TASK);
    EXPECT_EQ(qor_ss_delete_task(nullptr), SS_ERR_TASK);
    task = nullptr;
    EXPECT_EQ(qor_ss_delete_task(&task), SS_ERR_TASK);

    // A task of the other precision is refused and left as it was: the
    // double task's results stay unset, the float task's weights unwritten.
    qor_ss_task* d = nullptr;
    qor_ss_task* s = nullptr;
    ASSERT_EQ(qor_dss_new_task(&d, &p, &n, &rows, x, nullptr, nullptr), SS_OK);
    ASSERT_EQ(qor_sss_new_task(&s, &p, &n, &rows, xf, nullptr, nullptr), SS_OK);
    ASSERT_EQ(qor_sss_edit_task(s, SS_PARAM_ACC_WEIGHTS, wf), SS_OK);
    EXPECT_EQ(qor_sss_edit_task(d, SS_PARAM_ACC_WEIGHTS, wf), SS_ERR_TASK);
    EXPECT_EQ(qor_sss_edit_moments(d, wf, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), SS_ERR_TASK);
    EXPECT_EQ(qor_dss_edit_task(s, SS_PARAM_ACC_WEIGHTS, w), SS_ERR_TASK);
    EXPECT_EQ(qor_dss_edit_moments(s, &mean, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), SS_ERR_TASK);
    EXPECT_EQ(qor_dss_basic(s, SS_EST_MEAN, SS_METHOD_OBS_1), SS_ERR_TASK);
    EXPECT_EQ(qor_sss_basic(d, SS_EST_MEAN, SS_METHOD_OBS_1), SS_ERR_TASK);
    EXPECT_EQ(d->mean, nullptr);
    EXPECT_EQ(d->acc_weights, nullptr);
    EXPECT_EQ(s->mean, nullptr);
    EXPECT_EQ(wf[0], -1.0f);
    EXPECT_EQ(w[0], -1.0);
    EXPECT_EQ(qor_ss_delete_task(&d), SS_OK);
    EXPECT_EQ(qor_ss_delete_task(&s), SS_OK);
    EXPECT_EQ(d, nullptr);
}

// Two variables in observation rows, both selected through 64-bit indices
// (read as 32-bit words, the second entry would be 0): x = 0..4, y = 2x.
TEST_F(StatsApi, MeanAndCovarianceOfASmallDataSet) {
    int64_t p = 2, n = 5, storage = SS_OBS_OBSERVATIONS_IN_ROWS, full = SS_MATRIX_STORAGE_FULL;
    const int64_t indices[2] = {1, 1};
    const double obs[10] = {0, 0, 1, 2, 2, 4, 3, 6, 4, 8};
    double mean[2] = {}, cov[4] = {}, w[2] = {0, 0};
    qor_ss_task* task = nullptr;
    ASSERT_EQ(qor_dss_new_task(&task, &p, &n, &storage, obs, nullptr, indices), SS_OK);
    ASSERT_EQ(qor_dss_edit_task(task, SS_PARAM_ACC_WEIGHTS, w), SS_OK);
    ASSERT_EQ(qor_dss_edit_cov_cor(task, mean, cov, &full, nullptr, nullptr), SS_OK);
    ASSERT_EQ(qor_dss_basic(task, SS_EST_MEAN | SS_EST_COV, SS_METHOD_OBS_1), SS_OK);
    EXPECT_DOUBLE_EQ(mean[0], 2.0);
    EXPECT_DOUBLE_EQ(mean[1], 4.0);
    // Sums of squared deviations 10, 20 and 40 over W1 - W2/W1 = 4.
    EXPECT_DOUBLE_EQ(cov[0], 2.5);
    EXPECT_DOUBLE_EQ(cov[1], 5.0);
    EXPECT_DOUBLE_EQ(cov[2], 5.0);
    EXPECT_DOUBLE_EQ(cov[3], 10.0);
    EXPECT_EQ(w[0], 5.0);
    EXPECT_EQ(w[1], 5.0);
    // Central sums around a supplied mean need the mean array (a fuzzing
    // find: the sums were taken around a null pointer).
    EXPECT_EQ(qor_ss_delete_task(&task), SS_OK);
    double sums[2] = {-1, -1};
    ASSERT_EQ(qor_dss_new_task(&task, &p, &n, &storage, obs, nullptr, indices), SS_OK);
    ASSERT_EQ(qor_dss_edit_task(task, SS_PARAM_ACC_WEIGHTS, w), SS_OK);
    ASSERT_EQ(qor_dss_edit_task(task, SS_PARAM_CENTRAL_SUM3, sums), SS_OK);
    EXPECT_EQ(qor_dss_basic(task, SS_EST_CENTRAL_SUM3, SS_METHOD_OBS_3), SS_ERR_MEAN);
    EXPECT_EQ(sums[0], -1.0);
    EXPECT_EQ(qor_ss_delete_task(&task), SS_OK);
}

// EM through the public calls of both precisions on the same data with one
// value missing; the call of the other precision is refused.
TEST_F(StatsApi, MissingValuesByEMInBothPrecisions) {
    int64_t p = 2, n = 6, storage = SS_OBS_OBSERVATIONS_IN_ROWS, count = 4, prior = 0, sim = 0, room = 6;
    const double x[12] = {0, 1, 1, 2.5, 2, 3.5, 3, NAN, 4, 9, 5, 10};
    const float xf[12] = {0, 1, 1, 2.5, 2, 3.5, 3, NAN, 4, 9, 5, 10};
    double params[4] = {200, 1, 1e-12, 0}, est[6] = {};
    float params_f[4] = {200, 1, 1e-6f, 0}, est_f[6] = {};
    qor_ss_task *d = nullptr, *s = nullptr;
    ASSERT_EQ(qor_dss_new_task(&d, &p, &n, &storage, x, nullptr, nullptr), SS_OK);
    ASSERT_EQ(qor_sss_new_task(&s, &p, &n, &storage, xf, nullptr, nullptr), SS_OK);
    ASSERT_EQ(qor_dss_edit_missing_vals(d, &count, params, nullptr, nullptr, &prior, nullptr, &sim, nullptr, &room,
                                        est), SS_OK);
    ASSERT_EQ(qor_sss_edit_missing_vals(s, &count, params_f, nullptr, nullptr, &prior, nullptr, &sim, nullptr, &room,
                                        est_f), SS_OK);
    EXPECT_EQ(qor_dss_missing_values(s, SS_EST_MISSING_VALUES, SS_METHOD_MI_EM), SS_ERR_TASK);
    ASSERT_EQ(qor_dss_missing_values(d, SS_EST_MISSING_VALUES, SS_METHOD_MI_EM), SS_OK);
    ASSERT_EQ(qor_sss_missing_values(s, SS_EST_MISSING_VALUES, SS_METHOD_MI_EM), SS_OK);
    EXPECT_DOUBLE_EQ(est[1], 2.5);  // the first variable is complete
    for (int i = 1; i < 6; ++i) EXPECT_NEAR(est_f[i], est[i], 1e-4 * (1 + std::fabs(est[i]))) << i;
    EXPECT_EQ(qor_ss_delete_task(&d), SS_OK);
    EXPECT_EQ(qor_ss_delete_task(&s), SS_OK);
}

TEST_F(StatsApi, ThreadCapIsPerThreadAndBoundedByTheProcessLimit) {
    const int limit = qor_get_max_threads();
    qor_set_num_threads(1);
    EXPECT_EQ(qor_get_max_threads(), 1);
    EXPECT_EQ(qor_rix_serv_threader_get_num_threads_limit(), 1);
    int other = 0;
    std::thread([&] { other = qor_get_max_threads(); }).join();
    EXPECT_EQ(other, limit);
    // A loop asking for every thread runs on the calling thread alone.
    std::vector<std::thread::id> ran(16);
    qor_rix_serv_threader_for(16, 0, &ran, [](int i, int, void* c) {
        (*static_cast<std::vector<std::thread::id>*>(c))[i] = std::this_thread::get_id();
    });
    for (const std::thread::id& id : ran) EXPECT_EQ(id, std::this_thread::get_id());
    qor_set_num_threads(limit + 5);
    EXPECT_EQ(qor_get_max_threads(), limit);
    qor_set_num_threads(0);
    EXPECT_EQ(qor_rix_serv_threader_get_num_threads_limit(), limit);
}

// Run in a fresh process: the kernel directory points where there is no
// kernel library.
void exercise_without_kernels(const std::string& empty_dir) {
    setenv("QOR_KERNEL_DIR", empty_dir.c_str(), 1);
    int64_t p = 1;
    double x = -7;
    qor_ss_task* task = reinterpret_cast<qor_ss_task*>(&p);
    int failures = 0;
    auto check = [&](int status) { failures += status == QOR_STATUS_KERNEL_NOT_FOUND ? 0 : 1; };
    check(qor_dss_new_task(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr));
    failures += task == nullptr ? 0 : 1;
    check(qor_ss_delete_task(&task));
    check(qor_ss_edit_task_i(task, SS_PARAM_DIM, &p));
    check(qor_dss_edit_task(task, SS_PARAM_MEAN, &x));
    check(qor_sss_edit_cp(task, nullptr, nullptr, nullptr, nullptr));
    check(qor_dss_basic(task, SS_EST_MEAN, SS_METHOD_OBS_1));
    std::fprintf(stderr, "%d failed checks\n", failures);
    std::exit(failures == 0 ? 0 : 1);
}

TEST(StatsApiDeathTest, WithoutKernelsEveryCallReturnsTheInitStatus) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::string dir = ::testing::TempDir() + "qor_no_kernels";
    EXPECT_EXIT(exercise_without_kernels(dir), ::testing::ExitedWithCode(0), "0 failed checks");
}

}  // namespace
