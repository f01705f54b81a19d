/* qor: summary statistics, as applications call them through the core library.
 *
 * A task (qor_ss_task) describes a data set and the results wanted from it.
 * It holds addresses, never copies: the dimension p, the observation count
 * n, the storage codes and the arrays are read when a compute call runs, so
 * a caller may change them between two calls without editing the task.  A
 * task is made for one precision (qor_dss_ for double, qor_sss_ for float),
 * used by one thread at a time and ended by qor_ss_delete_task:
 *   int64_t p = 1, n = 4, storage = SS_OBS_VARIABLES_IN_ROWS, full = SS_MATRIX_STORAGE_FULL;
 *   double x[4] = {1, 2, 3, 4}, mean, variance, w[2] = {0, 0};
 *   qor_ss_task* task;
 *   qor_dss_new_task(&task, &p, &n, &storage, x, NULL, NULL);
 *   qor_dss_edit_task(task, SS_PARAM_ACC_WEIGHTS, w);
 *   qor_dss_edit_cov_cor(task, &mean, &variance, &full, NULL, NULL);
 *   qor_dss_basic(task, SS_EST_MEAN | SS_EST_COV, SS_METHOD_OBS_1);
 *   qor_ss_delete_task(&task);   then mean = 2.5, variance = 5/3, w = {4, 4}
 *
 * Integers: every integer a task points to (p, n, storage codes, indices,
 * counts) is an int64_t, the library's count convention.
 *
 * Layouts
 * - Observations: SS_OBS_VARIABLES_IN_ROWS (p rows of n observations;
 *   observation j of variable i at i*n + j) or SS_OBS_OBSERVATIONS_IN_ROWS
 *   (n rows of p values; at j*p + i).
 * - Per-variable results (mean, moments, sums, ...): p values, the result of
 *   variable i at index i; variables left out by the indices (an entry of 0)
 *   are not written.
 * - Matrices (covariance, correlation, cross-product, parametrized
 *   correlation): p x p in the form that their storage code names,
 *     SS_MATRIX_STORAGE_FULL          all p*p entries, element (i, j) at i*p + j;
 *     SS_MATRIX_STORAGE_UPPER_PACKED  the upper triangle row by row:
 *                                     (0,0) (0,1) ... (0,p-1) (1,1) ... (p-1,p-1);
 *     SS_MATRIX_STORAGE_LOWER_PACKED  the lower triangle row by row:
 *                                     (0,0) (1,0) (1,1) (2,0) ... (p-1,p-1).
 *   Entries that pair a variable left out are not written.
 *
 * Basic statistics (qor_dss_basic): the estimate mask is a sum of SS_EST_
 * bits: mean, raw and central moments of orders 2 to 4, excess kurtosis,
 * skewness, variation coefficient, sums, raw and central sums of orders 2 to
 * 4, covariance, correlation and cross-product.  Each estimate needs its
 * result array registered, and some need others (a central moment needs the
 * mean and the raw moments up to its order, which are then filled too); the
 * first one missing is named by its status (SS_ERR_MEAN, ...).  The running state is
 * the accumulated weights (SS_PARAM_ACC_WEIGHTS, two reals: W1 the sum of
 * the weights so far, W2 the sum of their squares), registered before the
 * first call: results accumulate across calls, so a data set may be fed in
 * portions; set both to 0 to start over.
 * Without weights every observation weighs 1.  Methods:
 *   SS_METHOD_OBS_1, SS_METHOD_OBS_2  from the observations;
 *   SS_METHOD_OBS_3                   central quantities around the mean the
 *                                     caller supplied in the mean array;
 *   SS_METHOD_SUMS_1, SS_METHOD_SUMS_2  means, moments and matrices from sums
 *                                     and cross-products accumulated before,
 *                                     without reading observations.
 * With W1, W2 and N = W1 - W2/W1 (n - 1 without weights), the mean m, the
 * raw sums R_k = sum w x^k and the central sums S_k = sum w (x - m)^k:
 *   raw moment k = R_k / W1;  central moment 2 = S2 / N (the unbiased
 *   variance); central moments 3, 4 = S_k / W1;  skewness = (S3/W1) /
 *   (S2/W1)^1.5;  kurtosis = (S4/W1) / (S2/W1)^2 - 3 (excess);  variation
 *   = sqrt(S2/N) / m;  cross-product C = sum w (x - m)(x - m)';  covariance
 *   = C / N;  correlation C_ij / sqrt(C_ii C_jj), diagonal 1.  A variance or
 *   covariance over a single weighted observation (N = 0) is written as 0.
 * SS_METHOD_SUMS_2 normalises the variance and covariance by W1 instead
 * (population moments).  The exact running sums stay in the task between
 * calls; a task that did not make the earlier results rebuilds them from
 * the result arrays (a correlation alone cannot be continued that way:
 * SS_ERR_COV).
 *
 * Status: every call returns 0 or a negative code, SS_ERR_ of qor_ss.h.  The
 * core checks the task first and touches nothing when it fails: a null task
 * or handle address (or a null *task to delete) gives SS_ERR_TASK, and so
 * does a task of the other precision (a float task handed to a qor_dss_
 * call, or the reverse).  When the kernels cannot be used (see qor_init in
 * qor.h) every call returns the qor_init status (-901 to -904, apart from
 * every SS_ERR_ code).  A call that creates a task sets *task to null when
 * it fails. */
#ifndef QOR_STATS_H
#define QOR_STATS_H

#include "qor_ss.h"
#include "qor_types.h"


QOR_BEGIN_C

typedef SSTask qor_ss_task;

/* ---- Tasks --------------------------------------------------------------------
 * p is required (at least 1); n and storage are read only when obs is given;
 * weights and indices may be null (every weight 1, every variable). */
QOR_CORE_API int qor_dss_new_task(qor_ss_task** task, const int64_t* p, const int64_t* n, const int64_t* obs_storage,
                                  const double* obs, const double* weights, const int64_t* indices);
QOR_CORE_API int qor_sss_new_task(qor_ss_task** task, const int64_t* p, const int64_t* n, const int64_t* obs_storage,
                                  const float* obs, const float* weights, const int64_t* indices);
/* Frees the task and sets *task to null. */
QOR_CORE_API int qor_ss_delete_task(qor_ss_task** task);

/* ---- Edits ----------------------------------------------------------------------
 * One address per SS_PARAM_ code: qor_ss_edit_task_i for the integer codes
 * (dimension, count, storage codes, indices), the real forms for arrays.  A
 * code of the other form gives SS_ERR_BAD_PARAM_CODE, a null address the
 * code's own status; a failed edit changes nothing. */
QOR_CORE_API int qor_ss_edit_task_i(qor_ss_task* task, int code, const int64_t* value);
QOR_CORE_API int qor_dss_edit_task(qor_ss_task* task, int code, double* value);
QOR_CORE_API int qor_sss_edit_task(qor_ss_task* task, int code, float* value);

/* Grouped edits: several addresses in one call; a null argument leaves its
 * field as it was.  The list holds one line per edit,
 *   X(name, (parameters after the task), (their names))
 * with T the real type and I the integer type of the precision. */
#define QOR_STATS_GROUPED_EDITS(X, T, I)                                                                        \
    X(moments, (T* mean, T* raw_moment2, T* raw_moment3, T* raw_moment4, T* central_moment2,                    \
                T* central_moment3, T* central_moment4),                                                        \
      (mean, raw_moment2, raw_moment3, raw_moment4, central_moment2, central_moment3, central_moment4))         \
    X(sums, (T* sum, T* raw_sum2, T* raw_sum3, T* raw_sum4, T* central_sum2, T* central_sum3, T* central_sum4), \
      (sum, raw_sum2, raw_sum3, raw_sum4, central_sum2, central_sum3, central_sum4))                            \
    X(cov_cor, (T* mean, T* cov, I* cov_storage, T* cor, I* cor_storage),                                       \
      (mean, cov, cov_storage, cor, cor_storage))                                                               \
    X(cp, (T* mean, T* sum, T* cp, I* cp_storage), (mean, sum, cp, cp_storage))                                  \
    X(partial_cov_cor,                                                                                          \
      (I* partial_index, T* cov, I* cov_storage, T* cor, I* cor_storage, T* partial_cov,                        \
       I* partial_cov_storage, T* partial_cor, I* partial_cor_storage),                                         \
      (partial_index, cov, cov_storage, cor, cor_storage, partial_cov, partial_cov_storage, partial_cor,        \
       partial_cor_storage))                                                                                    \
    X(quantiles, (I* quant_order_count, T* quant_orders, T* quantiles, T* order_stats, I* order_stats_storage), \
      (quant_order_count, quant_orders, quantiles, order_stats, order_stats_storage))                           \
    X(stream_quantiles, (I* sq_order_count, T* sq_orders, T* sq_quantiles, I* sq_param_count, T* sq_params),   \
      (sq_order_count, sq_orders, sq_quantiles, sq_param_count, sq_params))                                     \
    X(pooled_covariance,                                                                                        \
      (I* group_indices, T* pooled_mean, T* pooled_cov, I* requested_groups, T* group_means, T* group_covs),    \
      (group_indices, pooled_mean, pooled_cov, requested_groups, group_means, group_covs))                      \
    X(rcov, (I* robust_cov_storage, I* rcov_param_count, T* rcov_params, T* robust_mean, T* robust_cov),        \
      (robust_cov_storage, rcov_param_count, rcov_params, robust_mean, robust_cov))                             \
    X(out_detect, (I* outlier_param_count, T* outlier_params, T* outlier_weights),                              \
      (outlier_param_count, outlier_params, outlier_weights))                                                   \
    X(missing_vals,                                                                                             \
      (I* mv_param_count, T* mv_params, I* mv_init_count, T* mv_init, I* mv_prior_count, T* mv_prior,           \
       I* mv_sim_count, T* mv_sim, I* mv_est_count, T* mv_est),                                                 \
      (mv_param_count, mv_params, mv_init_count, mv_init, mv_prior_count, mv_prior, mv_sim_count, mv_sim,       \
       mv_est_count, mv_est))                                                                                   \
    X(mtx_parametrz, (T* cor, I* cor_storage, T* param_cor, I* param_cor_storage),                              \
      (cor, cor_storage, param_cor, param_cor_storage))

/* Written out for readers and binding generators; the core's definitions are
 * generated from the list. */
QOR_CORE_API int qor_dss_edit_moments(qor_ss_task* task, double* mean, double* raw_moment2, double* raw_moment3,
                                      double* raw_moment4, double* central_moment2, double* central_moment3,
                                      double* central_moment4);
QOR_CORE_API int qor_dss_edit_sums(qor_ss_task* task, double* sum, double* raw_sum2, double* raw_sum3,
                                   double* raw_sum4, double* central_sum2, double* central_sum3,
                                   double* central_sum4);
QOR_CORE_API int qor_dss_edit_cov_cor(qor_ss_task* task, double* mean, double* cov, const int64_t* cov_storage,
                                      double* cor, const int64_t* cor_storage);
QOR_CORE_API int qor_dss_edit_cp(qor_ss_task* task, double* mean, double* sum, double* cp,
                                 const int64_t* cp_storage);
QOR_CORE_API int qor_dss_edit_partial_cov_cor(qor_ss_task* task, const int64_t* partial_index, double* cov,
                                              const int64_t* cov_storage, double* cor, const int64_t* cor_storage,
                                              double* partial_cov, const int64_t* partial_cov_storage,
                                              double* partial_cor, const int64_t* partial_cor_storage);
QOR_CORE_API int qor_dss_edit_quantiles(qor_ss_task* task, const int64_t* quant_order_count, double* quant_orders,
                                        double* quantiles, double* order_stats, const int64_t* order_stats_storage);
QOR_CORE_API int qor_dss_edit_stream_quantiles(qor_ss_task* task, const int64_t* sq_order_count, double* sq_orders,
                                               double* sq_quantiles, const int64_t* sq_param_count,
                                               double* sq_params);
QOR_CORE_API int qor_dss_edit_pooled_covariance(qor_ss_task* task, const int64_t* group_indices,
                                                double* pooled_mean, double* pooled_cov,
                                                const int64_t* requested_groups, double* group_means,
                                                double* group_covs);
QOR_CORE_API int qor_dss_edit_rcov(qor_ss_task* task, const int64_t* robust_cov_storage,
                                   const int64_t* rcov_param_count, double* rcov_params, double* robust_mean,
                                   double* robust_cov);
QOR_CORE_API int qor_dss_edit_out_detect(qor_ss_task* task, const int64_t* outlier_param_count,
                                         double* outlier_params, double* outlier_weights);
QOR_CORE_API int qor_dss_edit_missing_vals(qor_ss_task* task, const int64_t* mv_param_count, double* mv_params,
                                           const int64_t* mv_init_count, double* mv_init,
                                           const int64_t* mv_prior_count, double* mv_prior,
                                           const int64_t* mv_sim_count, double* mv_sim,
                                           const int64_t* mv_est_count, double* mv_est);
QOR_CORE_API int qor_dss_edit_mtx_parametrz(qor_ss_task* task, double* cor, const int64_t* cor_storage,
                                            double* param_cor, const int64_t* param_cor_storage);

QOR_CORE_API int qor_sss_edit_moments(qor_ss_task* task, float* mean, float* raw_moment2, float* raw_moment3,
                                      float* raw_moment4, float* central_moment2, float* central_moment3,
                                      float* central_moment4);
QOR_CORE_API int qor_sss_edit_sums(qor_ss_task* task, float* sum, float* raw_sum2, float* raw_sum3, float* raw_sum4,
                                   float* central_sum2, float* central_sum3, float* central_sum4);
QOR_CORE_API int qor_sss_edit_cov_cor(qor_ss_task* task, float* mean, float* cov, const int64_t* cov_storage,
                                      float* cor, const int64_t* cor_storage);
QOR_CORE_API int qor_sss_edit_cp(qor_ss_task* task, float* mean, float* sum, float* cp, const int64_t* cp_storage);
QOR_CORE_API int qor_sss_edit_partial_cov_cor(qor_ss_task* task, const int64_t* partial_index, float* cov,
                                              const int64_t* cov_storage, float* cor, const int64_t* cor_storage,
                                              float* partial_cov, const int64_t* partial_cov_storage,
                                              float* partial_cor, const int64_t* partial_cor_storage);
QOR_CORE_API int qor_sss_edit_quantiles(qor_ss_task* task, const int64_t* quant_order_count, float* quant_orders,
                                        float* quantiles, float* order_stats, const int64_t* order_stats_storage);
QOR_CORE_API int qor_sss_edit_stream_quantiles(qor_ss_task* task, const int64_t* sq_order_count, float* sq_orders,
                                               float* sq_quantiles, const int64_t* sq_param_count,
                                               float* sq_params);
QOR_CORE_API int qor_sss_edit_pooled_covariance(qor_ss_task* task, const int64_t* group_indices, float* pooled_mean,
                                                float* pooled_cov, const int64_t* requested_groups,
                                                float* group_means, float* group_covs);
QOR_CORE_API int qor_sss_edit_rcov(qor_ss_task* task, const int64_t* robust_cov_storage,
                                   const int64_t* rcov_param_count, float* rcov_params, float* robust_mean,
                                   float* robust_cov);
QOR_CORE_API int qor_sss_edit_out_detect(qor_ss_task* task, const int64_t* outlier_param_count,
                                         float* outlier_params, float* outlier_weights);
QOR_CORE_API int qor_sss_edit_missing_vals(qor_ss_task* task, const int64_t* mv_param_count, float* mv_params,
                                           const int64_t* mv_init_count, float* mv_init,
                                           const int64_t* mv_prior_count, float* mv_prior,
                                           const int64_t* mv_sim_count, float* mv_sim,
                                           const int64_t* mv_est_count, float* mv_est);
QOR_CORE_API int qor_sss_edit_mtx_parametrz(qor_ss_task* task, float* cor, const int64_t* cor_storage,
                                            float* param_cor, const int64_t* param_cor_storage);

/* ---- Compute -------------------------------------------------------------------
 * Basic statistics (see the head of this file).  The observations are split
 * among at most qor_get_max_threads() threads (qor_set_num_threads lowers
 * that for the calling thread). */
QOR_CORE_API int qor_dss_basic(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_basic(qor_ss_task* task, uint64_t estimates, int method);

/* The calls below take the same arguments, check the task the same way and
 * split their work the same way as the basic statistics.  Each checks p,
 * n and the observation storage (SS_ERR_DIM, SS_ERR_OBS_COUNT,
 * SS_ERR_STORAGE, SS_ERR_OBS_STORAGE), the correlation repair p alone; a
 * requested result without its array gives that result's status, a method
 * without the flag the call needs SS_ERR_METHOD, and nothing is written
 * then.
 *
 * Quantiles and order statistics (SS_EST_QUANTILES with
 * qor_dss_edit_quantiles' count m, orders in [0, 1] and results; and/or
 * SS_EST_ORDER_STATS into order_stats, laid out by its storage code like
 * observations: SS_OBS_VARIABLES_IN_ROWS gives p rows of n sorted values);
 * method SS_METHOD_OBS_1.  For a variable's values sorted as
 * x(0) <= ... <= x(n-1) and order q: h = q(n - 1), k = floor(h), the
 * result is x(k) + (x(k+1) - x(k))(h - k), x(n-1) at q = 1; variable v's
 * quantile of order j goes to quantiles[v*m + j].  An order outside [0, 1] or a negative count gives
 * SS_ERR_QUANT_ORDER_COUNT. */
QOR_CORE_API int qor_dss_quantiles(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_quantiles(qor_ss_task* task, uint64_t estimates, int method);

/* Sort (method SS_METHOD_SORT): each selected variable's observations
 * ascending into `sorted` (SS_PARAM_SORTED), laid out as
 * SS_PARAM_SORTED_STORAGE says (one of the two observation layouts).  NaNs
 * go last, after +inf, and -0.0 before +0.0.  `sorted` may be the
 * observation matrix itself: then both storage codes must name the same
 * layout (else SS_ERR_STORAGE) and every variable must take part (indices
 * set: SS_ERR_INPLACE_INDICES). */
QOR_CORE_API int qor_dss_sort(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_sort(qor_ss_task* task, uint64_t estimates, int method);

/* Minimum and maximum (SS_EST_MIN into min, SS_EST_MAX into max; method
 * SS_METHOD_OBS_1 or SS_METHOD_OBS_2): per selected variable the smallest
 * and largest observation.  A variable with a NaN among its values gets NaN
 * for both; -0.0 and +0.0 count as equal, either may come out.  When the
 * accumulated weights (SS_PARAM_ACC_WEIGHTS) are registered and W1 > 0,
 * the call continues from what min and max hold (data fed in portions);
 * otherwise it starts afresh.  When feeding portions, call this before the
 * basic statistics of the first portion, or fill min with +inf and max with
 * -inf beforehand. */
QOR_CORE_API int qor_dss_minmax(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_minmax(qor_ss_task* task, uint64_t estimates, int method);

/* Absolute deviations: SS_EST_MEDIAN_ABS_DEV into median_abs_dev (the
 * median of |x - median|, both medians by the quantile rule at order 0.5;
 * method SS_METHOD_OBS_1) and SS_EST_MEAN_ABS_DEV into mean_abs_dev (the
 * weighted mean of |x - mean|; SS_METHOD_OBS_1 computes the mean,
 * SS_METHOD_OBS_3 takes it from the task's mean array, SS_ERR_MEAN when that
 * is missing).  When both are requested and the method suits only the mean
 * absolute deviation, that one is computed and its status returned. */
QOR_CORE_API int qor_dss_mad(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_mad(qor_ss_task* task, uint64_t estimates, int method);

/* Correlation repair (method SS_METHOD_PARAMETRIZE; the mask and the
 * indices are not read): the symmetric p x p matrix in `cor`, stored as
 * its storage code says (a full matrix is read by its upper triangle, the
 * diagonal taken as 1), made a valid correlation matrix in `param_cor`
 * (qor_dss_edit_mtx_parametrz): eigenvalues below 1e-14 are raised to
 * 1e-14 and the result is scaled back to a unit diagonal.  A valid matrix
 * comes back as it was, up to rounding.  `param_cor` may be `cor` itself
 * unless a full output would overwrite a packed input (SS_ERR_OBS_STORAGE,
 * as for a storage code other than 0, 1, 2); a failed eigen-decomposition
 * gives SS_ERR_EIGEN.  Float tasks are computed in double.  The caller's
 * vector-math mode is left as it was. */
QOR_CORE_API int qor_dss_cor_parametrization(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_cor_parametrization(qor_ss_task* task, uint64_t estimates, int method);

/* Weighted median (SS_EST_WEIGHTED_MEDIAN; SS_METHOD_OBS_1) of each selected
 * variable into quantiles[v]: the smallest value whose cumulative weight,
 * in ascending order, reaches half the total weight; the mean of it and the
 * next larger value when it meets half exactly, so that unit weights give
 * the ordinary median.  Observations of weight 0 or less take no part. */
QOR_CORE_API int qor_dss_wmedian(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_wmedian(qor_ss_task* task, uint64_t estimates, int method);

/* Streaming quantiles (SS_EST_STREAM_QUANTILES) at the orders of
 * qor_dss_edit_stream_quantiles, of all observations fed so far, into
 * sq_quantiles[v*m + j]; one parameter (count exactly 1), eps in (0, 1):
 * each result is an observed value whose rank among the n observations so
 * far is within eps*n of q(n - 1) (streams of up to 2^40 observations), and
 * exact by the quantile rule while fewer than 2*ceil(12/eps) have come.
 * SS_METHOD_STREAM_1 adds this call's n observations (n may be 0) to the
 * stream kept in the task; SS_METHOD_STREAM_2 alone starts a new one, as
 * does a change of p or eps.  The weights are not read.  Checks, in order:
 * n (null or negative), with n > 0 the observations and their storage, the
 * results (SS_ERR_SQ_QUANTILES), orders (SS_ERR_SQ_ORDERS), their count
 * (SS_ERR_SQ_ORDER_COUNT), the parameter count's pointer
 * (SS_ERR_SQ_PARAM_COUNT_PTR) and value (SS_ERR_SQ_PARAM_COUNT), the orders'
 * range (SS_ERR_SQ_ORDER_COUNT), the parameters (SS_ERR_SQ_PARAMS, also for
 * an eps outside (0, 1)), the method. */
QOR_CORE_API int qor_dss_stream_quantiles(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_stream_quantiles(qor_ss_task* task, uint64_t estimates, int method);

/* Pooled and group covariance (method SS_METHOD_OBS_1) over the group
 * number of each observation (qor_dss_edit_pooled_covariance's
 * group_indices, n integers; a negative number leaves the observation out;
 * G = the largest number + 1).  With weights w (1 each without), per group
 * W1 = sum w, W2 = sum w^2, mean m and C = sum w (x - m)(x - m)':
 * SS_EST_GROUP_COV writes, for each group g with requested_groups[g] (G
 * entries) non-zero, numbered r = 0, 1, ... in order of g, the mean to
 * group_means[r*p + i] and C / (W1 - W2/W1) to group_covs + r*S, in the form
 * of SS_PARAM_GROUP_COV_STORAGE (S = p*p full, p(p+1)/2 packed);
 * SS_EST_POOLED_COV writes the mean of every grouped observation to
 * pooled_mean and sum C / sum (W1 - W2/W1) to pooled_cov, in the form of
 * SS_PARAM_POOLED_COV_STORAGE.  A group of one observation has covariance
 * 0, an empty group NaNs.  Missing arrays: SS_ERR_GROUP_INDICES (group
 * numbers or requested groups), SS_ERR_POOLED_MEAN, SS_ERR_POOLED_COV,
 * SS_ERR_GROUP_MEANS, SS_ERR_GROUP_COVS, SS_ERR_STORAGE; a storage code
 * other than 0, 1, 2 gives SS_ERR_OBS_STORAGE. */
QOR_CORE_API int qor_dss_pooled_covariance(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_pooled_covariance(qor_ss_task* task, uint64_t estimates, int method);

/* Partial covariance and correlation (SS_EST_PARTIAL_COV into partial_cov,
 * SS_EST_PARTIAL_COR into partial_cor, each in the form of its storage
 * code) of the a variables whose partial_index entry is 1, in their order,
 * given those whose entry is -1; other entries take no part.  With the
 * covariance S split by these roles: P = S_xx - S_xz S_zz^-1 S_zx, a x a,
 * and R_ij = P_ij / sqrt(P_ii P_jj).  S is computed from the observations
 * with SS_METHOD_OBS_1 (weighted, normalised by W1 - W2/W1), or read from
 * cov in the form of cov_storage with SS_METHOD_SUMS_1 (both registered by
 * qor_dss_edit_partial_cov_cor).  S_zz not positive definite gives
 * SS_ERR_NOT_POSITIVE_DEFINITE; a missing array its own status
 * (SS_ERR_PARTIAL_INDEX, SS_ERR_PARTIAL_COV, SS_ERR_PARTIAL_COR, SS_ERR_COV,
 * SS_ERR_STORAGE). */
QOR_CORE_API int qor_dss_partial_covariance(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_partial_covariance(qor_ss_task* task, uint64_t estimates, int method);

/* Mahalanobis distances (SS_EST_MAHALANOBIS; SS_METHOD_OBS_1): for each of
 * n observations sqrt((x - m)' S^-1 (x - m)), into the output array named
 * by task->mahal_inputs[SS_MAHAL_DISTANCES] with its length at
 * mahal_inputs[SS_MAHAL_DISTANCE_COUNT] (addresses stored as integers).
 * The other words of mahal_inputs may name other inputs (p, n, the
 * observations and their storage, m, S as a full p x p matrix); a word left
 * 0 takes the task's own: p, n, observations, storage, mean and cov in the
 * form of cov_storage.  Missing output or count: SS_ERR_MAHAL_DISTANCES;
 * a count below n: SS_ERR_OBS_COUNT; S not positive definite:
 * SS_ERR_NOT_POSITIVE_DEFINITE. */
QOR_CORE_API int qor_dss_mah_distance(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_mah_distance(qor_ss_task* task, uint64_t estimates, int method);

/* Missing values (SS_EST_MISSING_VALUES; NaN marks a missing value) of
 * multivariate normal data, with the arrays of qor_dss_edit_missing_vals:
 * SS_METHOD_MI_EM estimates the mean and covariance by EM, SS_METHOD_MI_DA
 * goes on from there with data augmentation and writes imputed data sets.
 * The parameters (SS_MV_ indices into mv_params), the layouts of mv_init,
 * mv_prior, mv_est and mv_sim, and the statuses are those of
 * _rixdSSMissingValues in qor_ss.h. */
QOR_CORE_API int qor_dss_missing_values(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_missing_values(qor_ss_task* task, uint64_t estimates, int method);
/* Robust mean and covariance (SS_EST_ROBUST_COV) of the selected variables
 * into robust_mean and robust_cov in the form of robust_cov_storage (all
 * registered by qor_dss_edit_rcov, with the parameters): FAST-MCD
 * (SS_METHOD_FAST_MCD; raw minimum covariance determinant over h
 * observations, consistency factor, reweighting at the chi-square 0.975
 * cut) or Rocke's translated-biweight S-estimate started from it
 * (SS_METHOD_TBS).  Up to SS_RCOV_PARAM_ROOM parameters, indexed by
 * SS_RCOV_ (defaults in brackets): breakdown point (0, 0.5] [0.5],
 * asymptotic rejection probability (0, 1) [0.001], accuracy [1e-6],
 * maximum iterations [100], random subsets [500], reweighting on [1],
 * seed [1], the S-estimate's start (0: FAST-MCD, 1: the values robust_mean
 * and robust_cov hold) [0]; the random subsets are reproducible from the
 * seed.  Missing
 * arrays give SS_ERR_ROBUST_COV, SS_ERR_ROBUST_MEAN, SS_ERR_STORAGE,
 * SS_ERR_RCOV_PARAM_COUNT (also a count above the room), SS_ERR_RCOV_PARAMS
 * (also a value out of range); a storage code other than 0, 1, 2
 * SS_ERR_OBS_STORAGE; data without a regular h-subset
 * SS_ERR_NOT_POSITIVE_DEFINITE.  Afterwards the task's
 * mahal_inputs[SS_MAHAL_DISTANCES] names the robust distances of the n
 * observations (count at mahal_inputs[SS_MAHAL_DISTANCE_COUNT]), held by
 * the task until it is deleted; leave those two words as they are. */
QOR_CORE_API int qor_dss_robust_covariance(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_robust_covariance(qor_ss_task* task, uint64_t estimates, int method);

/* Outlier detection (SS_EST_OUTLIERS; SS_METHOD_BACON) by BACON over the
 * selected variables: outlier_weights[j] = 0 for an outlier, 1 otherwise
 * (registered by qor_dss_edit_out_detect with the parameters).  Up to
 * SS_BACON_PARAM_ROOM parameters, indexed by SS_BACON_ (defaults in
 * brackets): initial subset by Mahalanobis distances from the classical
 * fit or by distances to the median [SS_BACON_INIT_MAHALANOBIS], alpha
 * (0, 1) [0.05], accuracy [0: stop when no observation changes sides].
 * Missing arrays give SS_ERR_OUTLIER_WEIGHTS, SS_ERR_OUTLIER_PARAM_COUNT,
 * SS_ERR_OUTLIER_PARAMS; the final distances stay in the task as after
 * qor_dss_robust_covariance. */
QOR_CORE_API int qor_dss_outlier_detection(qor_ss_task* task, uint64_t estimates, int method);
QOR_CORE_API int qor_sss_outlier_detection(qor_ss_task* task, uint64_t estimates, int method);

QOR_END_C

#endif
