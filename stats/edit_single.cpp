// Editing one task field by its parameter code.
#include <iterator>
#include <variant>

#include "stats/task_internal.h"

namespace qor::ss {
namespace {

// A code's form is the type of its field: integer settings are const void*
// (edited by __rixiSSEditTask), real arrays void* (__rixdSSEditTask and
// __rixsSSEditTask).
using IntegerField = const void* SSTask::*;
using RealField = void* SSTask::*;

struct Param {
    int32_t code;
    std::variant<IntegerField, RealField> field;
    int32_t null_status;  // returned for a null address
};

constexpr Param kParams[] = {
    {SS_PARAM_DIM, &SSTask::dim, SS_ERR_DIM},
    {SS_PARAM_OBS_COUNT, &SSTask::obs_count, SS_ERR_OBS_COUNT},
    {SS_PARAM_OBS, &SSTask::obs, SS_ERR_OBS},
    {SS_PARAM_OBS_STORAGE, &SSTask::obs_storage, SS_ERR_STORAGE},
    {SS_PARAM_INDICES, &SSTask::indices, SS_ERR_INDICES},
    {SS_PARAM_WEIGHTS, &SSTask::weights, SS_ERR_WEIGHTS},
    {SS_PARAM_MEAN, &SSTask::mean, SS_ERR_MEAN},
    {SS_PARAM_RAW_MOMENT2, &SSTask::raw_moment2, SS_ERR_RAW_MOMENT2},
    {SS_PARAM_RAW_MOMENT3, &SSTask::raw_moment3, SS_ERR_RAW_MOMENT3},
    {SS_PARAM_RAW_MOMENT4, &SSTask::raw_moment4, SS_ERR_RAW_MOMENT4},
    {SS_PARAM_CENTRAL_MOMENT2, &SSTask::central_moment2, SS_ERR_CENTRAL_MOMENT2},
    {SS_PARAM_CENTRAL_MOMENT3, &SSTask::central_moment3, SS_ERR_CENTRAL_MOMENT3},
    {SS_PARAM_CENTRAL_MOMENT4, &SSTask::central_moment4, SS_ERR_CENTRAL_MOMENT4},
    {SS_PARAM_KURTOSIS, &SSTask::kurtosis, SS_ERR_KURTOSIS},
    {SS_PARAM_SKEWNESS, &SSTask::skewness, SS_ERR_SKEWNESS},
    {SS_PARAM_MIN, &SSTask::min, SS_ERR_MIN},
    {SS_PARAM_MAX, &SSTask::max, SS_ERR_MAX},
    {SS_PARAM_VARIATION, &SSTask::variation, SS_ERR_VARIATION},
    {SS_PARAM_COV, &SSTask::cov, SS_ERR_COV},
    {SS_PARAM_COV_STORAGE, &SSTask::cov_storage, SS_ERR_STORAGE},
    {SS_PARAM_COR, &SSTask::cor, SS_ERR_COR},
    {SS_PARAM_COR_STORAGE, &SSTask::cor_storage, SS_ERR_STORAGE},
    {SS_PARAM_ACC_WEIGHTS, &SSTask::acc_weights, SS_ERR_ACC_WEIGHTS},
    {SS_PARAM_QUANT_ORDER_COUNT, &SSTask::quant_order_count, SS_ERR_QUANT_ORDER_COUNT},
    {SS_PARAM_QUANT_ORDERS, &SSTask::quant_orders, SS_ERR_QUANT_ORDERS},
    {SS_PARAM_QUANTILES, &SSTask::quantiles, SS_ERR_QUANTILES},
    {SS_PARAM_ORDER_STATS, &SSTask::order_stats, SS_ERR_ORDER_STATS},
    {SS_PARAM_GROUP_INDICES, &SSTask::group_indices, SS_ERR_GROUP_INDICES},
    {SS_PARAM_POOLED_COV_STORAGE, &SSTask::pooled_cov_storage, SS_ERR_STORAGE},
    {SS_PARAM_POOLED_MEAN, &SSTask::pooled_mean, SS_ERR_POOLED_MEAN},
    {SS_PARAM_POOLED_COV, &SSTask::pooled_cov, SS_ERR_POOLED_COV},
    {SS_PARAM_REQUESTED_GROUPS, &SSTask::requested_groups, SS_ERR_GROUP_INDICES},  // shared with code 28
    {SS_PARAM_GROUP_MEANS, &SSTask::group_means, SS_ERR_GROUP_MEANS},
    {SS_PARAM_GROUP_COV_STORAGE, &SSTask::group_cov_storage, SS_ERR_STORAGE},
    {SS_PARAM_GROUP_COVS, &SSTask::group_covs, SS_ERR_GROUP_COVS},
    {SS_PARAM_ROBUST_COV_STORAGE, &SSTask::robust_cov_storage, SS_ERR_STORAGE},
    {SS_PARAM_RCOV_PARAM_COUNT, &SSTask::rcov_param_count, SS_ERR_RCOV_PARAM_COUNT},
    {SS_PARAM_RCOV_PARAMS, &SSTask::rcov_params, SS_ERR_RCOV_PARAMS},
    {SS_PARAM_ROBUST_MEAN, &SSTask::robust_mean, SS_ERR_ROBUST_MEAN},
    {SS_PARAM_ROBUST_COV, &SSTask::robust_cov, SS_ERR_ROBUST_COV},
    {SS_PARAM_OUTLIER_PARAM_COUNT, &SSTask::outlier_param_count, SS_ERR_OUTLIER_PARAM_COUNT},
    {SS_PARAM_OUTLIER_PARAMS, &SSTask::outlier_params, SS_ERR_OUTLIER_PARAMS},
    {SS_PARAM_OUTLIER_WEIGHTS, &SSTask::outlier_weights, SS_ERR_OUTLIER_WEIGHTS},
    {SS_PARAM_ORDER_STATS_STORAGE, &SSTask::order_stats_storage, SS_ERR_STORAGE},
    {SS_PARAM_PARTIAL_INDEX, &SSTask::partial_index, SS_ERR_PARTIAL_INDEX},
    {SS_PARAM_PARTIAL_COV, &SSTask::partial_cov, SS_ERR_PARTIAL_COV},
    {SS_PARAM_PARTIAL_COV_STORAGE, &SSTask::partial_cov_storage, SS_ERR_STORAGE},
    {SS_PARAM_PARTIAL_COR, &SSTask::partial_cor, SS_ERR_PARTIAL_COR},
    {SS_PARAM_PARTIAL_COR_STORAGE, &SSTask::partial_cor_storage, SS_ERR_STORAGE},
    {SS_PARAM_MV_PARAM_COUNT, &SSTask::mv_param_count, SS_ERR_MV_PARAM_COUNT},
    {SS_PARAM_MV_PARAMS, &SSTask::mv_params, SS_ERR_MV_PARAMS},
    {SS_PARAM_MV_INIT_COUNT, &SSTask::mv_init_count, SS_ERR_MV_INIT_COUNT},
    {SS_PARAM_MV_INIT, &SSTask::mv_init, SS_ERR_MV_INIT},
    {SS_PARAM_MV_SIM_COUNT, &SSTask::mv_sim_count, SS_ERR_MV_SIM_COUNT},
    {SS_PARAM_MV_SIM, &SSTask::mv_sim, SS_ERR_MV_SIM},
    {SS_PARAM_MV_EST_COUNT, &SSTask::mv_est_count, SS_ERR_MV_EST_COUNT},
    {SS_PARAM_MV_EST, &SSTask::mv_est, SS_ERR_MV_EST},
    {SS_PARAM_MV_PRIOR_COUNT, &SSTask::mv_prior_count, SS_ERR_MV_PRIOR_COUNT},
    {SS_PARAM_MV_PRIOR, &SSTask::mv_prior, SS_ERR_MV_PRIOR},
    {SS_PARAM_PARAM_COR, &SSTask::param_cor, SS_ERR_PARAM_COR},
    {SS_PARAM_PARAM_COR_STORAGE, &SSTask::param_cor_storage, SS_ERR_STORAGE},
    // The compute entries report a missing count as SS_ERR_SQ_PARAM_COUNT_PTR.
    {SS_PARAM_SQ_PARAM_COUNT, &SSTask::sq_param_count, SS_ERR_SQ_PARAM_COUNT},
    {SS_PARAM_SQ_PARAMS, &SSTask::sq_params, SS_ERR_SQ_PARAMS},
    {SS_PARAM_SQ_ORDER_COUNT, &SSTask::sq_order_count, SS_ERR_SQ_ORDER_COUNT},
    {SS_PARAM_SQ_ORDERS, &SSTask::sq_orders, SS_ERR_SQ_ORDERS},
    {SS_PARAM_SQ_QUANTILES, &SSTask::sq_quantiles, SS_ERR_SQ_QUANTILES},
    // A null sum is reported as a null mean; the compute entries use SS_ERR_SUM.
    {SS_PARAM_SUM, &SSTask::sum, SS_ERR_MEAN},
    {SS_PARAM_RAW_SUM2, &SSTask::raw_sum2, SS_ERR_RAW_SUM2},
    {SS_PARAM_RAW_SUM3, &SSTask::raw_sum3, SS_ERR_RAW_SUM3},
    {SS_PARAM_RAW_SUM4, &SSTask::raw_sum4, SS_ERR_RAW_SUM4},
    {SS_PARAM_CENTRAL_SUM2, &SSTask::central_sum2, SS_ERR_CENTRAL_SUM2},
    {SS_PARAM_CENTRAL_SUM3, &SSTask::central_sum3, SS_ERR_CENTRAL_SUM3},
    {SS_PARAM_CENTRAL_SUM4, &SSTask::central_sum4, SS_ERR_CENTRAL_SUM4},
    {SS_PARAM_CP, &SSTask::cp, SS_ERR_CP},
    {SS_PARAM_CP_STORAGE, &SSTask::cp_storage, SS_ERR_STORAGE},
    {SS_PARAM_MEDIAN_ABS_DEV, &SSTask::median_abs_dev, SS_ERR_MEDIAN_ABS_DEV},
    {SS_PARAM_MEAN_ABS_DEV, &SSTask::mean_abs_dev, SS_ERR_MEAN_ABS_DEV},
    {SS_PARAM_SORTED, &SSTask::sorted, SS_ERR_SORTED},
    {SS_PARAM_SORTED_STORAGE, &SSTask::sorted_storage, SS_ERR_STORAGE},
};

// Row i holds code i + 1, so a code finds its row by index.
constexpr bool codes_in_order() {
    for (size_t i = 0; i < std::size(kParams); ++i)
        if (kParams[i].code != static_cast<int32_t>(i + 1)) return false;
    return true;
}
static_assert(std::size(kParams) == SS_PARAM_SORTED_STORAGE && codes_in_order());

// Stores `value` in the field of `code` when the code belongs to the form
// whose fields are of type Field; a failure leaves the task as it was.
template <class Field, class Value>
int32_t edit(SSTask* task, int32_t code, const Value* value) {
    if (!task) return SS_ERR_TASK;
    if (code < 1 || code > static_cast<int32_t>(std::size(kParams))) return SS_ERR_BAD_PARAM_CODE;
    const Param& row = kParams[code - 1];
    const Field* field = std::get_if<Field>(&row.field);
    if (!field) return SS_ERR_BAD_PARAM_CODE;
    if (!value) return row.null_status;
    // The task keeps the caller's address; output arrays are written through it.
    task->*(*field) = const_cast<Value*>(value);
    return SS_OK;
}

}  // namespace
}  // namespace qor::ss

using namespace qor::ss;

QOR_EXTERN_C {

QOR_SS_API int32_t __rixiSSEditTask(SSTask* task, int32_t code, const void* value) {
    return edit<IntegerField>(task, code, value);
}

QOR_SS_API int32_t __rixdSSEditTask(SSTask* task, int32_t code, const double* value) {
    return edit<RealField>(task, code, value);
}

QOR_SS_API int32_t __rixsSSEditTask(SSTask* task, int32_t code, const float* value) {
    return edit<RealField>(task, code, value);
}

}  // extern "C"
