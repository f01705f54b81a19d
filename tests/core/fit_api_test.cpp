// The public data-fitting interface seen from an application: the checks
// the core makes before the kernels see a call, and one linear spline built,
// searched, interpolated and integrated end to end.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "qor/qor.h"

namespace {

class FitApi : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail(); }
};

TEST_F(FitApi, ArgumentsAreCheckedBeforeTheKernelsSeeThem) {
    double x[3] = {0, 1, 3}, y[3] = {1, 2, 0}, c[4];
    float xf[3] = {0, 1, 3};
    int64_t cell[1], value = 0;
    const double* p = nullptr;
    qor_fit_task* const poison = reinterpret_cast<qor_fit_task*>(&value);

    qor_fit_task* task = poison;  // a failed creation leaves the handle null
    EXPECT_EQ(qor_dfit_new_task(&task, 1, x, 1, 1, y, 0), statusBadBreakpointCount);
    EXPECT_EQ(task, nullptr);
    task = poison;
    EXPECT_EQ(qor_dfit_new_task(&task, 3, x, 1, -1, y, 0), statusBadFunctionCount);
    EXPECT_EQ(task, nullptr);
    EXPECT_EQ(qor_sfit_new_task(nullptr, 3, xf, 1, 0, nullptr, 0), statusNullTask);

    EXPECT_EQ(qor_fit_delete_task(nullptr), statusNullTask);
    EXPECT_EQ(qor_fit_delete_task(&task), statusNullTask);
    EXPECT_EQ(qor_dfit_edit_pp_spline(nullptr, 2, 0, 0, nullptr, 0, nullptr, c, 0), statusNullTask);
    EXPECT_EQ(qor_fit_edit_value(nullptr, attrSplineOrder, 2), statusNullTask);
    EXPECT_EQ(qor_fit_query_value(nullptr, attrSplineOrder, &value), statusNullTask);
    EXPECT_EQ(qor_dfit_construct(nullptr, QOR_FIT_LINEAR, 0), statusNullTask);
    EXPECT_EQ(qor_sfit_search(nullptr, 0, 1, xf, 0, nullptr, cell), statusNullTask);

    ASSERT_EQ(qor_dfit_new_task(&task, 3, x, 1, 1, y, 0), 0);
    // The other precision.
    EXPECT_EQ(qor_sfit_edit_ptr(task, attrBreakpoints, xf), statusWrongPrecision);
    EXPECT_EQ(qor_sfit_edit_idx_ptr(task, attrFunctionValues, 0, xf), statusWrongPrecision);
    EXPECT_EQ(qor_sfit_edit_pp_spline(task, 2, 0, 0, nullptr, 0, nullptr, nullptr, 0), statusWrongPrecision);
    EXPECT_EQ(qor_sfit_construct(task, QOR_FIT_LINEAR, 0), statusWrongPrecision);
    EXPECT_EQ(qor_sfit_search(task, 0, 1, xf, 0, nullptr, cell), statusWrongPrecision);
    // Outputs, counts and kinds.
    EXPECT_EQ(qor_dfit_query_ptr(task, attrBreakpoints, nullptr), statusNullOutput);
    EXPECT_EQ(qor_dfit_query_idx_ptr(task, attrFunctionValues, 0, nullptr), statusNullOutput);
    EXPECT_EQ(qor_fit_query_value(task, attrSplineOrder, nullptr), statusNullOutput);
    EXPECT_EQ(qor_dfit_search(task, 0, -1, x, 0, nullptr, cell), statusBadSiteCount);
    EXPECT_EQ(qor_dfit_search(task, 0, 1, nullptr, 0, nullptr, cell), statusNullSites);
    EXPECT_EQ(qor_dfit_search(task, 0, 1, x, 0, nullptr, nullptr), statusNullOutput);
    for (int kind : {-1, int{QOR_FIT_KIND_COUNT}}) EXPECT_EQ(qor_dfit_construct(task, kind, 0), statusUnsupportedMethod);
    // Edits and queries reach the kernels; integers come back 64-bit.
    ASSERT_EQ(qor_dfit_edit_pp_spline(task, 2, 0, 0, nullptr, 0, nullptr, c, 0), 0);
    EXPECT_EQ(qor_fit_edit_value(task, attrSplineOrder, -1), statusBadSplineOrder);
    value = -1;
    EXPECT_TRUE(qor_fit_query_value(task, attrSplineOrder, &value) == 0 && value == 2);
    EXPECT_TRUE(qor_dfit_query_ptr(task, attrCoefficients, &p) == 0 && p == c);
    EXPECT_TRUE(qor_dfit_edit_idx_ptr(task, attrFunctionValues, 0, x) == 0 &&
                qor_dfit_query_idx_ptr(task, attrFunctionValues, 0, &p) == 0 && p == x);
    EXPECT_EQ(qor_dfit_construct(task, QOR_FIT_AKIMA_CUBIC, 0), statusBadBreakpointCount);
    EXPECT_TRUE(qor_fit_delete_task(&task) == 0 && task == nullptr);
}

TEST_F(FitApi, LinearSplineBuiltAndSearchedEndToEnd) {
    const double x[5] = {0, 1, 3, 4, 8}, y[10] = {1, 2, 0, 0, 4, /* second function */ 0, 1, 2, 3, 4};
    std::vector<double> c(16, -1);
    qor_fit_task* task = nullptr;
    ASSERT_EQ(qor_dfit_new_task(&task, 5, x, hintPartitionNonUniform, 2, y, hintValuesDefault), 0);
    ASSERT_EQ(qor_dfit_edit_pp_spline(task, 2, 0, 0, nullptr, 0, nullptr, c.data(), hintValuesDefault), 0);
    ASSERT_EQ(qor_dfit_construct(task, QOR_FIT_LINEAR, 0), 0);
    EXPECT_EQ(c, (std::vector<double>{1, 1, 2, -1, 0, 0, 0, 1, 0, 1, 1, 0.5, 2, 1, 3, 0.25}));

    const double site[7] = {-1, 0, 0.5, 1, 3.5, 8, 9};
    int64_t cell[7] = {};
    const int status = qor_dfit_search(task, 0, 7, site, 0, nullptr, cell);
    qor_fit_delete_task(&task);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(std::vector<int64_t>(cell, cell + 7), (std::vector<int64_t>{0, 1, 1, 2, 3, 4, 5}));
}

TEST_F(FitApi, InterpolationAndIntegrationOfALinearSpline) {
    // y = 2t - 1 and y = |t - 1| - t on {0, 1, 3}: the first reproduced everywhere, outside too.
    const double x[3] = {0, 1, 3}, y[6] = {-1, 1, 5, 1, -1, -1};
    double c[8];
    qor_fit_task* task = nullptr;
    ASSERT_EQ(qor_dfit_new_task(&task, 3, x, hintPartitionNonUniform, 2, y, hintValuesDefault), 0);
    ASSERT_EQ(qor_dfit_edit_pp_spline(task, 2, 0, 0, nullptr, 0, nullptr, c, hintValuesDefault), 0);
    ASSERT_EQ(qor_dfit_construct(task, QOR_FIT_LINEAR, 0), 0);
    const double site[3] = {-1, 2, 4};
    const int64_t dorder[3] = {1, 1, 1};
    double r[18];
    int64_t cell[3] = {};
    ASSERT_EQ(qor_dfit_interpolate(task, computeValues | computeCells, 0, 3, site, 0, 3, dorder, nullptr, r,
                                   hintResultBySite, cell), 0);
    EXPECT_EQ(std::vector<double>(r, r + 18),  // site by site: value, slope, 0 for each function
              (std::vector<double>{-3, 2, 0, 3, -2, 0, 3, 2, 0, -1, 0, 0, 7, 2, 0, -1, 0, 0}));
    EXPECT_EQ(std::vector<int64_t>(cell, cell + 3), (std::vector<int64_t>{0, 2, 3}));
    const double a[3] = {-1, 4, 0.5}, b[3] = {4, -1, 0.5};
    ASSERT_EQ(qor_dfit_integrate(task, 0, 3, a, 0, b, 0, nullptr, nullptr, r, hintResultByFunction), 0);
    EXPECT_EQ(std::vector<double>(r, r + 6), (std::vector<double>{10, -10, 0, -1, 1, 0}));

    // The core's checks, before any kernel and with nothing written.
    std::fill(r, r + 18, -7.0);
    const int64_t bad_order[2] = {0, 2};
    float fsite[1] = {0};
    EXPECT_EQ(qor_sfit_interpolate(task, 1, 0, 1, fsite, 0, 1, dorder, nullptr, nullptr, 0, nullptr),
              statusWrongPrecision);
    EXPECT_EQ(qor_dfit_interpolate(task, 0, 0, 1, site, 0, 1, dorder, nullptr, r, 0, cell), statusBadComputeType);
    EXPECT_EQ(qor_dfit_interpolate(task, 1, 0, -1, site, 0, 1, dorder, nullptr, r, 0, cell), statusBadSiteCount);
    EXPECT_EQ(qor_dfit_interpolate(task, 1, 0, 1, nullptr, 0, 1, dorder, nullptr, r, 0, cell), statusNullSites);
    EXPECT_EQ(qor_dfit_interpolate(task, 1, 0, 1, site, 0, 2, bad_order, nullptr, r, 0, cell),
              statusBadDerivativeOrder);
    EXPECT_EQ(qor_dfit_interpolate(task, 1, 0, 1, site, 0, 1, dorder, nullptr, r, 7, cell), statusBadResultHint);
    EXPECT_EQ(qor_dfit_interpolate(task, 1, 0, 1, site, 0, 1, dorder, nullptr, nullptr, 0, cell), statusNullOutput);
    EXPECT_EQ(qor_dfit_interpolate(task, 2, 0, 1, site, 0, 0, nullptr, nullptr, r, 0, nullptr), statusNullOutput);
    EXPECT_EQ(qor_dfit_integrate(task, 0, -1, a, 0, b, 0, nullptr, nullptr, r, 0), statusBadSiteCount);
    EXPECT_EQ(qor_dfit_integrate(task, 0, 1, a, 0, nullptr, 0, nullptr, nullptr, r, 0), statusNullSites);
    EXPECT_EQ(qor_dfit_integrate(task, 0, 1, a, 0, b, 0, nullptr, nullptr, r, 3), statusBadResultHint);
    EXPECT_EQ(qor_dfit_integrate(task, 0, 1, a, 0, b, 0, nullptr, nullptr, nullptr, 0), statusNullOutput);
    EXPECT_EQ(r[0], -7.0);
    qor_fit_delete_task(&task);
}

}  // namespace
