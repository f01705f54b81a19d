// The grouped edits: several fields set in one call, each only when its
// argument is non-null.
#include "stats/task_internal.h"

namespace qor::ss {
namespace {

// One argument of a grouped edit and the field it goes to.
template <class Field, class Value>
struct Given {
    Field SSTask::*field;
    Value* value;
};
template <class Field, class Value>
Given(Field SSTask::*, Value*) -> Given<Field, Value>;

template <class... Field, class... Value>
int32_t edit_group(SSTask* task, Given<Field, Value>... given) {
    if (!task) return SS_ERR_TASK;
    ((given.value ? void(task->*given.field = given.value) : void()), ...);
    return SS_OK;
}

}  // namespace
}  // namespace qor::ss

using namespace qor::ss;

// The twelve grouped edits of one precision, p the letter and T the real type.
#define QOR_SS_DEFINE_GROUPED_EDITS(p, T)                                                                            \
    QOR_SS_API int32_t __rix##p##SSEditMoments(SSTask* task, T* mean, T* raw_moment2, T* raw_moment3,                \
                                               T* raw_moment4, T* central_moment2, T* central_moment3,               \
                                               T* central_moment4) {                                                 \
        return edit_group(task, Given{&SSTask::mean, mean}, Given{&SSTask::raw_moment2, raw_moment2},                \
                          Given{&SSTask::raw_moment3, raw_moment3}, Given{&SSTask::raw_moment4, raw_moment4},        \
                          Given{&SSTask::central_moment2, central_moment2},                                          \
                          Given{&SSTask::central_moment3, central_moment3},                                          \
                          Given{&SSTask::central_moment4, central_moment4});                                         \
    }                                                                                                                \
    QOR_SS_API int32_t __rix##p##SSEditSums(SSTask* task, T* sum, T* raw_sum2, T* raw_sum3, T* raw_sum4,            \
                                            T* central_sum2, T* central_sum3, T* central_sum4) {                     \
        return edit_group(task, Given{&SSTask::sum, sum}, Given{&SSTask::raw_sum2, raw_sum2},                        \
                          Given{&SSTask::raw_sum3, raw_sum3}, Given{&SSTask::raw_sum4, raw_sum4},                    \
                          Given{&SSTask::central_sum2, central_sum2}, Given{&SSTask::central_sum3, central_sum3},    \
                          Given{&SSTask::central_sum4, central_sum4});                                               \
    }                                                                                                                \
    QOR_SS_API int32_t __rix##p##SSEditCovCor(SSTask* task, T* mean, T* cov, const void* cov_storage, T* cor,        \
                                              const void* cor_storage) {                                             \
        return edit_group(task, Given{&SSTask::mean, mean}, Given{&SSTask::cov, cov},                                \
                          Given{&SSTask::cov_storage, cov_storage}, Given{&SSTask::cor, cor},                        \
                          Given{&SSTask::cor_storage, cor_storage});                                                 \
    }                                                                                                                \
    QOR_SS_API int32_t __rix##p##SSEditCP(SSTask* task, T* mean, T* sum, T* cp, const void* cp_storage) {             \
        return edit_group(task, Given{&SSTask::mean, mean}, Given{&SSTask::sum, sum}, Given{&SSTask::cp, cp},        \
                          Given{&SSTask::cp_storage, cp_storage});                                                   \
    }                                                                                                                \
    QOR_SS_API int32_t __rix##p##SSEditPartialCovCor(SSTask* task, const void* partial_index, T* cov,                \
                                                     const void* cov_storage, T* cor, const void* cor_storage,       \
                                                     T* partial_cov, const void* partial_cov_storage,                \
                                                     T* partial_cor, const void* partial_cor_storage) {              \
        return edit_group(task, Given{&SSTask::partial_index, partial_index}, Given{&SSTask::cov, cov},              \
                          Given{&SSTask::cov_storage, cov_storage}, Given{&SSTask::cor, cor},                        \
                          Given{&SSTask::cor_storage, cor_storage}, Given{&SSTask::partial_cov, partial_cov},        \
                          Given{&SSTask::partial_cov_storage, partial_cov_storage},                                  \
                          Given{&SSTask::partial_cor, partial_cor},                                                  \
                          Given{&SSTask::partial_cor_storage, partial_cor_storage});                                 \
    }                                                                                                                \
    QOR_SS_API int32_t __rix##p##SSEditQuantiles(SSTask* task, const void* quant_order_count, T* quant_orders,      \
                                                 T* quantiles, T* order_stats, const void* order_stats_storage) {    \
        return edit_group(task, Given{&SSTask::quant_order_count, quant_order_count},                                \
                          Given{&SSTask::quant_orders, quant_orders}, Given{&SSTask::quantiles, quantiles},          \
                          Given{&SSTask::order_stats, order_stats},                                                  \
                          Given{&SSTask::order_stats_storage, order_stats_storage});                                 \
    }                                                                                                                \
    QOR_SS_API int32_t __rix##p##SSEditStreamQuantiles(SSTask* task, const void* sq_order_count, T* sq_orders,      \
                                                       T* sq_quantiles, const void* sq_param_count, T* sq_params) {  \
        return edit_group(task, Given{&SSTask::sq_order_count, sq_order_count}, Given{&SSTask::sq_orders, sq_orders}, \
                          Given{&SSTask::sq_quantiles, sq_quantiles},                                                \
                          Given{&SSTask::sq_param_count, sq_param_count}, Given{&SSTask::sq_params, sq_params});     \
    }                                                                                                                \
    /* The pooled and group storage codes are set by their own edit codes. */                                        \
    QOR_SS_API int32_t __rix##p##SSEditPooledCovariance(SSTask* task, const void* group_indices, T* pooled_mean,     \
                                                        T* pooled_cov, const void* requested_groups,                \
                                                        T* group_means, T* group_covs) {                             \
        return edit_group(task, Given{&SSTask::group_indices, group_indices},                                        \
                          Given{&SSTask::pooled_mean, pooled_mean}, Given{&SSTask::pooled_cov, pooled_cov},          \
                          Given{&SSTask::requested_groups, requested_groups},                                        \
                          Given{&SSTask::group_means, group_means}, Given{&SSTask::group_covs, group_covs});          \
    }                                                                                                                \
    QOR_SS_API int32_t __rix##p##SSEditRCov(SSTask* task, const void* robust_cov_storage,                            \
                                            const void* rcov_param_count, T* rcov_params, T* robust_mean,            \
                                            T* robust_cov) {                                                         \
        return edit_group(task, Given{&SSTask::robust_cov_storage, robust_cov_storage},                              \
                          Given{&SSTask::rcov_param_count, rcov_param_count},                                        \
                          Given{&SSTask::rcov_params, rcov_params}, Given{&SSTask::robust_mean, robust_mean},        \
                          Given{&SSTask::robust_cov, robust_cov});                                                   \
    }                                                                                                                \
    QOR_SS_API int32_t __rix##p##SSEditOutDetect(SSTask* task, const void* outlier_param_count, T* outlier_params,  \
                                                 T* outlier_weights) {                                               \
        return edit_group(task, Given{&SSTask::outlier_param_count, outlier_param_count},                            \
                          Given{&SSTask::outlier_params, outlier_params},                                            \
                          Given{&SSTask::outlier_weights, outlier_weights});                                         \
    }                                                                                                                \
    QOR_SS_API int32_t __rix##p##SSEditMissingVals(SSTask* task, const void* mv_param_count, T* mv_params,          \
                                                   const void* mv_init_count, T* mv_init,                           \
                                                   const void* mv_prior_count, T* mv_prior,                         \
                                                   const void* mv_sim_count, T* mv_sim, const void* mv_est_count,   \
                                                   T* mv_est) {                                                      \
        return edit_group(task, Given{&SSTask::mv_param_count, mv_param_count}, Given{&SSTask::mv_params, mv_params}, \
                          Given{&SSTask::mv_init_count, mv_init_count}, Given{&SSTask::mv_init, mv_init},            \
                          Given{&SSTask::mv_prior_count, mv_prior_count}, Given{&SSTask::mv_prior, mv_prior},        \
                          Given{&SSTask::mv_sim_count, mv_sim_count}, Given{&SSTask::mv_sim, mv_sim},                \
                          Given{&SSTask::mv_est_count, mv_est_count}, Given{&SSTask::mv_est, mv_est});               \
    }                                                                                                                \
    QOR_SS_API int32_t __rix##p##SSEditMtxParametrz(SSTask* task, T* cor, const void* cor_storage, T* param_cor,    \
                                                    const void* param_cor_storage) {                                 \
        return edit_group(task, Given{&SSTask::cor, cor}, Given{&SSTask::cor_storage, cor_storage},                  \
                          Given{&SSTask::param_cor, param_cor},                                                      \
                          Given{&SSTask::param_cor_storage, param_cor_storage});                                     \
    }

QOR_EXTERN_C {

QOR_SS_DEFINE_GROUPED_EDITS(d, double)
QOR_SS_DEFINE_GROUPED_EDITS(s, float)

}  // extern "C"
