/* Summary statistics: the exported interface of the kernel library.
 *
 * A task (SSTask) describes a data set and the results wanted from it.  It
 * holds addresses only, never copies: the integers it points to (dimension,
 * observation count, storage codes, indices) and the arrays (observations,
 * weights, results) are read at the moment a compute entry runs, so a caller
 * may change them between two calls without editing the task again.  With
 * wide_ints non-zero every integer the task points to is an int64_t, else an
 * int32_t.
 *
 * Layouts
 * - Observations: SS_OBS_VARIABLES_IN_ROWS (p rows of n observations;
 *   observation j of variable i at i*n + j) or SS_OBS_OBSERVATIONS_IN_ROWS
 *   (n rows of p values; at j*p + i).
 * - Per-variable results (mean, moments, sums, ...): p values, the result of
 *   variable i at index i; variables left out by `indices` are not written.
 * - Matrices (covariance, correlation, cross-product, parametrized
 *   correlation): p x p in the form that their storage code names,
 *     SS_MATRIX_STORAGE_FULL          all p*p entries, element (i, j) at i*p + j;
 *     SS_MATRIX_STORAGE_UPPER_PACKED  the upper triangle row by row:
 *                                     (0,0) (0,1) ... (0,p-1) (1,1) ... (p-1,p-1);
 *     SS_MATRIX_STORAGE_LOWER_PACKED  the lower triangle row by row:
 *                                     (0,0) (1,0) (1,1) (2,0) ... (p-1,p-1).
 *   Entries that pair a variable left out by `indices` are not written.
 *
 * Every function returns 0 or one of the negative SS_ERR_ codes. */
#ifndef QOR_SS_H
#define QOR_SS_H

#include "qor_threading.h"
#include "qor_types.h"

#ifndef QOR_SS_API
#  ifdef QOR_BUILDING_KERNELS
#    define QOR_SS_API QOR_EXPORT
#  else
#    define QOR_SS_API QOR_IMPORT
#  endif
#endif

QOR_BEGIN_C

/* ---- Status codes ---------------------------------------------------------- */

enum {
    SS_OK = 0,
    SS_ERR_BAD_PARAM_CODE = -3,
    SS_ERR_NO_MEMORY = -4000,
    SS_ERR_DIM = -4001,
    SS_ERR_OBS_COUNT = -4002,
    SS_ERR_OBS_STORAGE = -4003,
    SS_ERR_INDICES = -4004,
    SS_ERR_WEIGHTS = -4005,
    SS_ERR_MEAN = -4006,
    SS_ERR_RAW_MOMENT2 = -4007,
    SS_ERR_RAW_MOMENT3 = -4008,
    SS_ERR_RAW_MOMENT4 = -4009,
    SS_ERR_CENTRAL_MOMENT2 = -4010,
    SS_ERR_CENTRAL_MOMENT3 = -4011,
    SS_ERR_CENTRAL_MOMENT4 = -4012,
    SS_ERR_KURTOSIS = -4013,
    SS_ERR_SKEWNESS = -4014,
    SS_ERR_MIN = -4015,
    SS_ERR_MAX = -4016,
    SS_ERR_VARIATION = -4017,
    SS_ERR_COV = -4018,
    SS_ERR_COR = -4019,
    SS_ERR_ACC_WEIGHTS = -4020,
    SS_ERR_QUANT_ORDERS = -4021,
    SS_ERR_QUANT_ORDER_COUNT = -4022,
    SS_ERR_QUANTILES = -4023,
    SS_ERR_ORDER_STATS = -4024,
    SS_ERR_ROBUST_COV = -4027,
    SS_ERR_ROBUST_MEAN = -4028,
    SS_ERR_METHOD = -4029,
    SS_ERR_TASK = -4031,
    SS_ERR_OBS = -4032,
    SS_ERR_POOLED_COV = -4034,
    SS_ERR_POOLED_MEAN = -4035,
    SS_ERR_GROUP_COVS = -4036,
    SS_ERR_GROUP_MEANS = -4037,
    SS_ERR_GROUP_INDICES = -4038,
    SS_ERR_OUTLIER_PARAMS = -4039,
    SS_ERR_OUTLIER_PARAM_COUNT = -4040,
    SS_ERR_OUTLIER_WEIGHTS = -4041,
    SS_ERR_RCOV_PARAMS = -4042,
    SS_ERR_RCOV_PARAM_COUNT = -4043,
    SS_ERR_STORAGE = -4044,
    SS_ERR_PARTIAL_INDEX = -4045,
    SS_ERR_PARTIAL_COV = -4046,
    SS_ERR_PARTIAL_COR = -4047,
    SS_ERR_MV_PARAMS = -4048,
    SS_ERR_MV_PARAM_COUNT = -4049,
    SS_ERR_MV_INIT_COUNT = -4052,
    SS_ERR_MV_INIT = -4053,
    SS_ERR_MV_SIM = -4054,
    SS_ERR_MV_SIM_COUNT = -4055,
    SS_ERR_MV_EST_COUNT = -4056,
    SS_ERR_MV_EST = -4057,
    SS_ERR_MV_PRIOR_COUNT = -4061,
    SS_ERR_MV_PRIOR = -4062,
    SS_ERR_SQ_PARAM_COUNT_PTR = -4064,
    SS_ERR_SQ_PARAMS = -4065,
    SS_ERR_SQ_PARAM_COUNT = -4066,
    SS_ERR_SQ_ORDERS = -4068,
    SS_ERR_SQ_ORDER_COUNT = -4069,
    SS_ERR_SQ_QUANTILES = -4070,
    SS_ERR_PARAM_COR = -4071,
    SS_ERR_SUM = -4074,
    SS_ERR_RAW_SUM2 = -4075,
    SS_ERR_RAW_SUM3 = -4076,
    SS_ERR_RAW_SUM4 = -4077,
    SS_ERR_CENTRAL_SUM2 = -4078,
    SS_ERR_CENTRAL_SUM3 = -4079,
    SS_ERR_CENTRAL_SUM4 = -4080,
    SS_ERR_CP = -4081,
    SS_ERR_MEDIAN_ABS_DEV = -4082,
    SS_ERR_MEAN_ABS_DEV = -4083,
    SS_ERR_SORTED = -4084,
    SS_ERR_INPLACE_INDICES = -4085,
    SS_ERR_EIGEN = -5030,
    SS_ERR_NOT_POSITIVE_DEFINITE = -5031, /* a covariance to be factored is not positive definite */
    SS_ERR_MAHAL_DISTANCES = -5032        /* Mahalanobis-distance output or its count missing */
};

/* ---- Parameter codes of the edit operations --------------------------------
 * "i": __rixiSSEditTask (address of an integer or integer array);
 * "r": __rixdSSEditTask / __rixsSSEditTask (address of reals). */

enum {
    SS_PARAM_DIM = 1,                    /* i */
    SS_PARAM_OBS_COUNT = 2,              /* i */
    SS_PARAM_OBS = 3,                    /* r */
    SS_PARAM_OBS_STORAGE = 4,            /* i */
    SS_PARAM_INDICES = 5,                /* i */
    SS_PARAM_WEIGHTS = 6,                /* r */
    SS_PARAM_MEAN = 7,                   /* r */
    SS_PARAM_RAW_MOMENT2 = 8,            /* r */
    SS_PARAM_RAW_MOMENT3 = 9,            /* r */
    SS_PARAM_RAW_MOMENT4 = 10,           /* r */
    SS_PARAM_CENTRAL_MOMENT2 = 11,       /* r */
    SS_PARAM_CENTRAL_MOMENT3 = 12,       /* r */
    SS_PARAM_CENTRAL_MOMENT4 = 13,       /* r */
    SS_PARAM_KURTOSIS = 14,              /* r */
    SS_PARAM_SKEWNESS = 15,              /* r */
    SS_PARAM_MIN = 16,                   /* r */
    SS_PARAM_MAX = 17,                   /* r */
    SS_PARAM_VARIATION = 18,             /* r */
    SS_PARAM_COV = 19,                   /* r */
    SS_PARAM_COV_STORAGE = 20,           /* i */
    SS_PARAM_COR = 21,                   /* r */
    SS_PARAM_COR_STORAGE = 22,           /* i */
    SS_PARAM_ACC_WEIGHTS = 23,           /* r */
    SS_PARAM_QUANT_ORDER_COUNT = 24,     /* i */
    SS_PARAM_QUANT_ORDERS = 25,          /* r */
    SS_PARAM_QUANTILES = 26,             /* r */
    SS_PARAM_ORDER_STATS = 27,           /* r */
    SS_PARAM_GROUP_INDICES = 28,         /* i */
    SS_PARAM_POOLED_COV_STORAGE = 29,    /* i */
    SS_PARAM_POOLED_MEAN = 30,           /* r */
    SS_PARAM_POOLED_COV = 31,            /* r */
    SS_PARAM_REQUESTED_GROUPS = 32,      /* i */
    SS_PARAM_GROUP_MEANS = 33,           /* r */
    SS_PARAM_GROUP_COV_STORAGE = 34,     /* i */
    SS_PARAM_GROUP_COVS = 35,            /* r */
    SS_PARAM_ROBUST_COV_STORAGE = 36,    /* i */
    SS_PARAM_RCOV_PARAM_COUNT = 37,      /* i */
    SS_PARAM_RCOV_PARAMS = 38,           /* r */
    SS_PARAM_ROBUST_MEAN = 39,           /* r */
    SS_PARAM_ROBUST_COV = 40,            /* r */
    SS_PARAM_OUTLIER_PARAM_COUNT = 41,   /* i */
    SS_PARAM_OUTLIER_PARAMS = 42,        /* r */
    SS_PARAM_OUTLIER_WEIGHTS = 43,       /* r */
    SS_PARAM_ORDER_STATS_STORAGE = 44,   /* i */
    SS_PARAM_PARTIAL_INDEX = 45,         /* i */
    SS_PARAM_PARTIAL_COV = 46,           /* r */
    SS_PARAM_PARTIAL_COV_STORAGE = 47,   /* i */
    SS_PARAM_PARTIAL_COR = 48,           /* r */
    SS_PARAM_PARTIAL_COR_STORAGE = 49,   /* i */
    SS_PARAM_MV_PARAM_COUNT = 50,        /* i */
    SS_PARAM_MV_PARAMS = 51,             /* r */
    SS_PARAM_MV_INIT_COUNT = 52,         /* i */
    SS_PARAM_MV_INIT = 53,               /* r */
    SS_PARAM_MV_SIM_COUNT = 54,          /* i */
    SS_PARAM_MV_SIM = 55,                /* r */
    SS_PARAM_MV_EST_COUNT = 56,          /* i */
    SS_PARAM_MV_EST = 57,                /* r */
    SS_PARAM_MV_PRIOR_COUNT = 58,        /* i */
    SS_PARAM_MV_PRIOR = 59,              /* r */
    SS_PARAM_PARAM_COR = 60,             /* r */
    SS_PARAM_PARAM_COR_STORAGE = 61,     /* i */
    SS_PARAM_SQ_PARAM_COUNT = 62,        /* i */
    SS_PARAM_SQ_PARAMS = 63,             /* r */
    SS_PARAM_SQ_ORDER_COUNT = 64,        /* i */
    SS_PARAM_SQ_ORDERS = 65,             /* r */
    SS_PARAM_SQ_QUANTILES = 66,          /* r */
    SS_PARAM_SUM = 67,                   /* r */
    SS_PARAM_RAW_SUM2 = 68,              /* r */
    SS_PARAM_RAW_SUM3 = 69,              /* r */
    SS_PARAM_RAW_SUM4 = 70,              /* r */
    SS_PARAM_CENTRAL_SUM2 = 71,          /* r */
    SS_PARAM_CENTRAL_SUM3 = 72,          /* r */
    SS_PARAM_CENTRAL_SUM4 = 73,          /* r */
    SS_PARAM_CP = 74,                    /* r */
    SS_PARAM_CP_STORAGE = 75,            /* i */
    SS_PARAM_MEDIAN_ABS_DEV = 76,        /* r */
    SS_PARAM_MEAN_ABS_DEV = 77,          /* r */
    SS_PARAM_SORTED = 78,                /* r */
    SS_PARAM_SORTED_STORAGE = 79         /* i */
};

/* ---- Storage codes ----------------------------------------------------------- */

enum {
    SS_OBS_VARIABLES_IN_ROWS = 0x10000,
    SS_OBS_OBSERVATIONS_IN_ROWS = 0x20000,
    SS_MATRIX_STORAGE_FULL = 0,
    SS_MATRIX_STORAGE_UPPER_PACKED = 1,
    SS_MATRIX_STORAGE_LOWER_PACKED = 2
};

/* ---- Estimate mask bits (64-bit) ------------------------------------------- */

#define SS_EST_MEAN UINT64_C(0x1)                      /* bit 0 */
#define SS_EST_RAW_MOMENT2 UINT64_C(0x2)               /* bit 1 */
#define SS_EST_RAW_MOMENT3 UINT64_C(0x4)               /* bit 2 */
#define SS_EST_RAW_MOMENT4 UINT64_C(0x8)               /* bit 3 */
#define SS_EST_CENTRAL_MOMENT2 UINT64_C(0x10)          /* bit 4 */
#define SS_EST_CENTRAL_MOMENT3 UINT64_C(0x20)          /* bit 5 */
#define SS_EST_CENTRAL_MOMENT4 UINT64_C(0x40)          /* bit 6 */
#define SS_EST_KURTOSIS UINT64_C(0x80)                 /* bit 7 */
#define SS_EST_SKEWNESS UINT64_C(0x100)                /* bit 8 */
#define SS_EST_VARIATION UINT64_C(0x200)               /* bit 9 */
#define SS_EST_MIN UINT64_C(0x400)                     /* bit 10 */
#define SS_EST_MAX UINT64_C(0x800)                     /* bit 11 */
#define SS_EST_COV UINT64_C(0x1000)                    /* bit 12 */
#define SS_EST_COR UINT64_C(0x2000)                    /* bit 13 */
#define SS_EST_QUANTILES UINT64_C(0x10000)             /* bit 16 */
#define SS_EST_ORDER_STATS UINT64_C(0x20000)           /* bit 17 */
#define SS_EST_SUM UINT64_C(0x2000000)                 /* bit 25 */
#define SS_EST_RAW_SUM2 UINT64_C(0x4000000)            /* bit 26 */
#define SS_EST_RAW_SUM3 UINT64_C(0x8000000)            /* bit 27 */
#define SS_EST_RAW_SUM4 UINT64_C(0x10000000)           /* bit 28 */
#define SS_EST_CENTRAL_SUM2 UINT64_C(0x20000000)       /* bit 29 */
#define SS_EST_CENTRAL_SUM3 UINT64_C(0x40000000)       /* bit 30 */
#define SS_EST_CENTRAL_SUM4 UINT64_C(0x80000000)       /* bit 31 */
#define SS_EST_CP UINT64_C(0x100000000)                /* bit 32 */
#define SS_EST_MEDIAN_ABS_DEV UINT64_C(0x200000000)    /* bit 33 */
#define SS_EST_MEAN_ABS_DEV UINT64_C(0x400000000)      /* bit 34 */
#define SS_EST_POOLED_COV UINT64_C(0x4000)             /* bit 14 */
#define SS_EST_GROUP_COV UINT64_C(0x8000)              /* bit 15 */
#define SS_EST_STREAM_QUANTILES UINT64_C(0x40000)      /* bit 18 */
#define SS_EST_PARTIAL_COV UINT64_C(0x80000)           /* bit 19 */
#define SS_EST_PARTIAL_COR UINT64_C(0x100000)          /* bit 20 */
#define SS_EST_ROBUST_COV UINT64_C(0x200000)           /* bit 21 */
#define SS_EST_OUTLIERS UINT64_C(0x400000)             /* bit 22 */
#define SS_EST_WEIGHTED_MEDIAN UINT64_C(0x800000000)   /* bit 35 */
#define SS_EST_MAHALANOBIS UINT64_C(0x1000000000)      /* bit 36 */
#define SS_EST_MISSING_VALUES UINT64_C(0x800000)        /* bit 23 */

/* ---- Method codes (bit flags) -------------------------------------------- */

enum {
    SS_METHOD_OBS_1 = 1,             /* from observations */
    SS_METHOD_OBS_2 = 2,             /* from observations */
    SS_METHOD_PARAMETRIZE = 4,       /* correlation repair */
    SS_METHOD_STREAM_1 = 64,
    SS_METHOD_STREAM_2 = 128,
    SS_METHOD_OBS_3 = 256,           /* from observations around the task's supplied mean */
    SS_METHOD_SUMS_1 = 512,          /* from sums accumulated earlier */
    SS_METHOD_SUMS_2 = 1024,         /* from sums accumulated earlier */
    SS_METHOD_TBS = 0x800,           /* robust covariance: translated-biweight S-estimate */
    SS_METHOD_FAST_MCD = 0x1000,     /* robust covariance: minimum covariance determinant */
    SS_METHOD_BACON = 0x2000,        /* outlier detection */
    SS_METHOD_SORT = 0x100000,       /* bit 20 */
    SS_METHOD_MI_EM = 0x200000,      /* missing values: EM for the mean and covariance */
    SS_METHOD_MI_DA = 0x400000       /* missing values: EM, then data augmentation */
};

/* ---- The task record --------------------------------------------------------
 * Pointers are the caller's and may be null until set.  Integer pointers
 * address int32_t or, with wide_ints, int64_t values. */

enum { SS_TASK_KIND = 2, SS_CLEANUP_ROOM = 8 };

typedef struct SSTask SSTask;
typedef void (*SSCleanup)(SSTask* task);

struct SSTask {
    uint32_t wide_ints;
    int32_t task_kind;   /* SS_TASK_KIND */
    int32_t precision;   /* 1 double, 0 single */
    const void* dim;
    const void* obs_count;
    const void* indices;
    void* obs;
    void* weights;
    void* acc_weights;   /* W1 (sum of weights) and W2 (sum of squared weights) so far */
    const void* obs_storage;
    void* param_cor;
    const void* param_cor_storage;
    void* mean;
    void* raw_moment2;
    void* raw_moment3;
    void* raw_moment4;
    void* central_moment2;
    void* central_moment3;
    void* central_moment4;
    void* sum;
    void* raw_sum2;
    void* raw_sum3;
    void* raw_sum4;
    void* central_sum2;
    void* central_sum3;
    void* central_sum4;
    void* kurtosis;
    void* skewness;
    void* variation;
    void* min;
    void* max;
    const void* cov_storage;
    void* cov;
    const void* cor_storage;
    void* cor;
    const void* cp_storage;
    void* cp;
    const void* group_indices;
    const void* requested_groups;
    void* group_means;
    void* group_covs;
    const void* group_cov_storage;
    void* pooled_mean;
    void* pooled_cov;
    const void* pooled_cov_storage;
    const void* quant_order_count;
    void* quant_orders;
    void* quantiles;
    void* order_stats;
    const void* order_stats_storage;
    const void* sq_order_count;
    void* sq_orders;
    void* sq_quantiles;
    void* sq_state;
    const void* sq_param_count;
    void* sq_params;
    void* mean_abs_dev;
    void* median_abs_dev;
    const void* rcov_param_count;
    void* rcov_params;
    void* robust_mean;
    void* robust_cov;
    const void* robust_cov_storage;
    const void* outlier_param_count;
    void* outlier_params;
    void* outlier_weights;
    const void* partial_index;
    void* partial_cov;
    const void* partial_cov_storage;
    void* partial_cor;
    const void* partial_cor_storage;
    const void* mv_param_count;
    void* mv_params;
    const void* mv_init_count;
    void* mv_init;
    const void* mv_prior_count;
    void* mv_prior;
    const void* mv_sim_count;
    void* mv_sim;
    const void* mv_est_count;
    void* mv_est;
    uint64_t mahal_inputs[8];
    int64_t cleanup_count;
    SSCleanup cleanup[SS_CLEANUP_ROOM];
    void* sorted;
    const void* sorted_storage;
    void* work;          /* task-owned, released by __rixSSDeleteTask */
};

/* ---- Task operations ----------------------------------------------------------- */

/* Validates, allocates and fills a task.  The integers are read as int64_t
 * when wide_ints is non-zero.  Order of the checks: dim (-4001); with obs
 * given: storage pointer (-4044), storage code (-4003), count (-4002);
 * allocation (-4000).  On failure *task is left null. */
QOR_SS_API int32_t __rixdSSNewTask(SSTask** task, const void* dim, const void* obs_count, const void* obs_storage,
                                   const double* obs, const double* weights, const void* indices, uint32_t wide_ints);
QOR_SS_API int32_t __rixsSSNewTask(SSTask** task, const void* dim, const void* obs_count, const void* obs_storage,
                                   const float* obs, const float* weights, const void* indices, uint32_t wide_ints);

/* Registers one address.  A code of the other form, or outside 1 to 79,
 * gives -3; a null address gives the code's own status.  A failed edit
 * changes nothing. */
QOR_SS_API int32_t __rixiSSEditTask(SSTask* task, int32_t code, const void* value);
QOR_SS_API int32_t __rixdSSEditTask(SSTask* task, int32_t code, const double* value);
QOR_SS_API int32_t __rixsSSEditTask(SSTask* task, int32_t code, const float* value);

/* Grouped edits: a null argument leaves its field as it was.  Only the
 * task pointer is checked (-4031). */
#define QOR_SS_GROUPED_EDITS(p, T)                                                                                \
    QOR_SS_API int32_t __rix##p##SSEditMoments(SSTask* task, T* mean, T* raw_moment2, T* raw_moment3,             \
                                               T* raw_moment4, T* central_moment2, T* central_moment3,            \
                                               T* central_moment4);                                               \
    QOR_SS_API int32_t __rix##p##SSEditSums(SSTask* task, T* sum, T* raw_sum2, T* raw_sum3, T* raw_sum4,         \
                                            T* central_sum2, T* central_sum3, T* central_sum4);                  \
    QOR_SS_API int32_t __rix##p##SSEditCovCor(SSTask* task, T* mean, T* cov, const void* cov_storage, T* cor,     \
                                              const void* cor_storage);                                           \
    QOR_SS_API int32_t __rix##p##SSEditCP(SSTask* task, T* mean, T* sum, T* cp, const void* cp_storage);          \
    QOR_SS_API int32_t __rix##p##SSEditPartialCovCor(SSTask* task, const void* partial_index, T* cov,             \
                                                     const void* cov_storage, T* cor, const void* cor_storage,    \
                                                     T* partial_cov, const void* partial_cov_storage,             \
                                                     T* partial_cor, const void* partial_cor_storage);            \
    QOR_SS_API int32_t __rix##p##SSEditQuantiles(SSTask* task, const void* quant_order_count, T* quant_orders,   \
                                                 T* quantiles, T* order_stats, const void* order_stats_storage); \
    QOR_SS_API int32_t __rix##p##SSEditStreamQuantiles(SSTask* task, const void* sq_order_count, T* sq_orders,   \
                                                       T* sq_quantiles, const void* sq_param_count,              \
                                                       T* sq_params);                                             \
    QOR_SS_API int32_t __rix##p##SSEditPooledCovariance(SSTask* task, const void* group_indices, T* pooled_mean,  \
                                                        T* pooled_cov, const void* requested_groups,             \
                                                        T* group_means, T* group_covs);                          \
    QOR_SS_API int32_t __rix##p##SSEditRCov(SSTask* task, const void* robust_cov_storage,                         \
                                            const void* rcov_param_count, T* rcov_params, T* robust_mean,         \
                                            T* robust_cov);                                                       \
    QOR_SS_API int32_t __rix##p##SSEditOutDetect(SSTask* task, const void* outlier_param_count,                  \
                                                 T* outlier_params, T* outlier_weights);                          \
    QOR_SS_API int32_t __rix##p##SSEditMissingVals(SSTask* task, const void* mv_param_count, T* mv_params,       \
                                                   const void* mv_init_count, T* mv_init,                        \
                                                   const void* mv_prior_count, T* mv_prior,                      \
                                                   const void* mv_sim_count, T* mv_sim,                          \
                                                   const void* mv_est_count, T* mv_est);                         \
    QOR_SS_API int32_t __rix##p##SSEditMtxParametrz(SSTask* task, T* cor, const void* cor_storage, T* param_cor, \
                                                    const void* param_cor_storage);

QOR_SS_GROUPED_EDITS(d, double)
QOR_SS_GROUPED_EDITS(s, float)

/* Releases the task's own buffer, runs its clean-up routines in order of
 * registration, frees the record and nulls *task.  A null address gives
 * -4031; the record itself is not checked. */
QOR_SS_API int32_t __rixSSDeleteTask(SSTask** task);

/* ---- Compute entries ---------------------------------------------------------- */

/* Basic statistics: any combination of the SS_EST_ bits 0-9, 12, 13 and
 * 25-32, accumulated across calls through acc_weights. */
QOR_SS_API int32_t _rixdSSBasic(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading);
QOR_SS_API int32_t _rixsSSBasic(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading);

/* Every compute entry below has the arguments of the basic entries: the
 * task, the estimate mask, the method flags and the threading services. */
#define QOR_SS_COMPUTE_ENTRY(name)                                                                            \
    QOR_SS_API int32_t _rixd##name(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading); \
    QOR_SS_API int32_t _rixs##name(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading);

/* Ascending order, wherever the estimators below sort or select:
 * -inf < ... < -0.0 < +0.0 < ... < +inf < every NaN, whatever its sign.
 *
 * Quantiles at quant_orders and the order statistics (SS_EST_QUANTILES,
 * SS_EST_ORDER_STATS; method SS_METHOD_OBS_1).  The quantile of order q of
 * n sorted values x(0..n-1): h = q(n-1), k = trunc(h), k1 = min(k+1, n-1),
 * x(k) + (x(k1) - x(k))(h - k), and x(k) itself when h = k.  Quantile j of
 * variable v goes to quantiles[v*m + j]; the order statistics are one row
 * of n sorted values per variable when their storage code has bit 16 set,
 * else n rows of p. */
QOR_SS_COMPUTE_ENTRY(SSQuantiles)
/* The observations of each variable sorted ascending into `sorted`, laid
 * out as its storage code says (method SS_METHOD_SORT).  `sorted` may be
 * the observation matrix itself when no variable is left out. */
QOR_SS_COMPUTE_ENTRY(SSSort)
/* The k-th smallest (from 0) of n values, left at values[k] with the values
 * before it no greater and the ones after it no smaller; the others are
 * reordered.  Every NaN, whatever its sign, counts as larger than +inf, and
 * -0.0 as smaller than +0.0.  A k outside [0, n) returns a NaN and leaves
 * the values alone. */
QOR_SS_API double __rixdQSortSelect(double* values, int64_t n, int64_t k);
QOR_SS_API float __rixsQSortSelect(float* values, int64_t n, int64_t k);
/* Minimum and maximum (SS_EST_MIN, SS_EST_MAX; SS_METHOD_OBS_1 or _2).  A
 * NaN among a variable's values makes both its extremes NaN.  With
 * acc_weights registered and W1 > 0 the call continues from what min and
 * max hold; otherwise it starts afresh. */
QOR_SS_COMPUTE_ENTRY(SSMinmax)
/* Median and mean absolute deviations (SS_EST_MEDIAN_ABS_DEV with
 * SS_METHOD_OBS_1: the median of |x - median|, both by the quantile rule at
 * 0.5; SS_EST_MEAN_ABS_DEV with SS_METHOD_OBS_1, or SS_METHOD_OBS_3 to take
 * the centre from the task's mean: the mean of |x - centre| weighted by the
 * task's weights, each observation of weight 1 without them). */
QOR_SS_COMPUTE_ENTRY(SSMAD)
/* The nearest valid correlation matrix of `cor` into `param_cor`
 * (SS_METHOD_PARAMETRIZE). */
QOR_SS_COMPUTE_ENTRY(SSCorParametrization)
/* Weighted median (SS_EST_WEIGHTED_MEDIAN; SS_METHOD_OBS_1): per selected
 * variable, with the observations sorted ascending and W the sum of the
 * positive weights (each observation of weight 1 without weights), the
 * smallest x(k) whose cumulative weight reaches W/2; when the cumulative
 * weight equals W/2 exactly, the mean of x(k) and the next larger value of
 * positive weight (so unit weights give the median of the quantile rule).
 * Observations whose weight is not above 0 take no part; a variable without
 * any positive weight gets a NaN.  Variable v's result goes to
 * quantiles[v]. */
QOR_SS_COMPUTE_ENTRY(SSWMedian)
/* Streaming quantiles (SS_EST_STREAM_QUANTILES) at the sq_order_count
 * orders sq_orders, of every observation fed so far, into
 * sq_quantiles[v*m + j].  sq_params[0] = eps in (0, 1) bounds the error:
 * each result is an observed value whose rank among the n observations fed
 * so far (0-based, ties counted as any of their places) is within eps*n of
 * q*(n - 1), for streams of up to 2^40 observations.  The per-variable
 * sketches live in sq_state between calls and go with the task.
 * SS_METHOD_STREAM_1 adds this call's n observations (n = 0 is allowed) to
 * the stream; SS_METHOD_STREAM_2 alone starts a new stream with them.  A
 * change of p or eps also starts a new stream.  The weights are not read;
 * a variable that has seen no observation gets NaNs. */
QOR_SS_COMPUTE_ENTRY(SSStreamQuantiles)
/* Pooled and group covariance over the group numbers in group_indices (one
 * per observation; a negative number leaves its observation out; G = the
 * largest number + 1), method SS_METHOD_OBS_1.  For group g with weights
 * w_j (1 without weights), W1_g = sum w_j, W2_g = sum w_j^2, mean m_g and
 * C_g = sum w_j (x_j - m_g)(x_j - m_g)':
 *   SS_EST_GROUP_COV: for each group whose requested_groups[g] is non-zero,
 *     taken in order of g as r = 0, 1, ..., group_means[r*p + i] = m_g and
 *     the matrix C_g / (W1_g - W2_g/W1_g) at group_covs + r*S in the form of
 *     group_cov_storage (S = p*p full, p(p+1)/2 packed);
 *   SS_EST_POOLED_COV: pooled_mean = sum W1_g m_g / sum W1_g (the mean of
 *     every grouped observation) and pooled_cov = sum C_g /
 *     sum (W1_g - W2_g/W1_g), in the form of pooled_cov_storage.
 * Only selected variables are written; an empty group's entries are NaN. */
QOR_SS_COMPUTE_ENTRY(SSPooledCovariance)
/* Partial covariance and correlation (SS_EST_PARTIAL_COV, SS_EST_PARTIAL_COR)
 * of the variables whose partial_index entry is 1 given those whose entry
 * is -1 (entries 0 take no part): with the covariance S split by these
 * roles, P = S_xx - S_xz S_zz^-1 S_zx (by the Cholesky factor of S_zz) and
 * R_ij = P_ij / sqrt(P_ii P_jj).  Both are a x a matrices over the a
 * variables of role 1, in their order, in the form of their storage codes.
 * S comes from the observations with SS_METHOD_OBS_1 (weighted, normalised
 * by W1 - W2/W1 as the basic covariance), or from the task's cov in the
 * form of cov_storage with SS_METHOD_SUMS_1.  S_zz not positive definite
 * gives SS_ERR_NOT_POSITIVE_DEFINITE. */
QOR_SS_COMPUTE_ENTRY(SSPartialCovariance)
/* Mahalanobis distances (SS_EST_MAHALANOBIS; SS_METHOD_OBS_1):
 * sqrt((x_j - m)' S^-1 (x_j - m)) of each of n observations x_j to the mean
 * m under the covariance S (by the Cholesky factor of S), into the output
 * array.  The inputs are the words of mahal_inputs, indexed below; a word
 * left 0 takes the task's own field instead (dim, obs_count, obs,
 * obs_storage, mean, and cov in the form of cov_storage).  A covariance
 * given in mahal_inputs is full p x p.  The output and its count must be
 * given (SS_ERR_MAHAL_DISTANCES), the count at least n (SS_ERR_OBS_COUNT).
 * Every variable takes part; S not positive definite gives
 * SS_ERR_NOT_POSITIVE_DEFINITE. */
enum {
    SS_MAHAL_DIM = 0,             /* pointer to p */
    SS_MAHAL_OBS_COUNT = 1,       /* pointer to n */
    SS_MAHAL_OBS = 2,             /* observations */
    SS_MAHAL_MEAN = 3,            /* p reals */
    SS_MAHAL_COV = 4,             /* p x p reals, full */
    SS_MAHAL_DISTANCES = 5,       /* output, n reals */
    SS_MAHAL_DISTANCE_COUNT = 6,  /* pointer to the output's length */
    SS_MAHAL_OBS_STORAGE = 7      /* pointer to the observations' storage code */
};
QOR_SS_COMPUTE_ENTRY(SSMahDistance)
/* Missing values (SS_EST_MISSING_VALUES), NaN marking a value missing, for
 * multivariate normal data with values missing at random; every variable
 * takes part and the weights are not read.  L = p + p(p+1)/2 reals hold a
 * mean and covariance: the p means, then the covariance's upper triangle
 * packed row by row (SS_MATRIX_STORAGE_UPPER_PACKED).
 *   SS_METHOD_MI_EM: EM for the maximum-likelihood mean and covariance
 *     (divisor n).  Each iteration regresses, per pattern of missing
 *     variables, the missing on the observed coordinates under the current
 *     estimates (E-step) and takes the mean and covariance of the completed
 *     data with the conditional covariances added (M-step).  It stops after
 *     SS_MV_EM_ITERATIONS iterations or when no mean moved by more than
 *     SS_MV_ACCURACY standard deviations and no covariance entry s_ik by more
 *     than SS_MV_ACCURACY sqrt(s_ii s_kk).  mv_est receives the number of
 *     iterations done, then the L estimates (1 + L reals).
 *   SS_METHOD_MI_DA: EM as above, then Schafer's data augmentation from its
 *     result: an I-step draws every observation's missing values from their
 *     normal distribution given its observed ones, a P-step draws the mean
 *     and covariance from the normal-inverse-Wishart posterior of the
 *     completed data (Bartlett's decomposition).  After every
 *     SS_MV_DA_ITERATIONS iterations the last completed data set goes to
 *     mv_sim, SS_MV_SETS sets of n p reals each (set s at s*n*p, in the
 *     layout of the observations, observed values copied exactly), and the
 *     P-step's draw that followed it to mv_est after the EM part (1 + L +
 *     sets*L reals).  The prior: mv_prior_count 0 for the non-informative
 *     one (then n must exceed p), else at least 2 + L reals: tau >= 0, nu,
 *     the prior mean (p) and the inverse scale Lambda^-1 (packed upper),
 *     with S^-1 ~ Wishart(nu, Lambda) and m | S ~ N(prior mean, S/tau);
 *     nu + n must exceed p - 1.  The draws come from an MT19937 stream of
 *     the library's generators seeded with SS_MV_SEED (default
 *     SS_MV_DEFAULT_SEED): a call repeats its sets for the same data, seed
 *     and thread limit.
 * mv_params, at least 4 of them (SS_ERR_MV_PARAM_COUNT), hold the values
 * below; whole numbers where counts are meant, else SS_ERR_MV_PARAMS.  The
 * start (SS_MV_START; complete cases when the count is 4) is mv_init, at
 * least L reals (SS_ERR_MV_INIT_COUNT, SS_ERR_MV_INIT), the mean and
 * covariance (divisor n) of the observations without missing values, or
 * the available-case estimates (each mean and variance over the values
 * present, each covariance over the pairs present, the covariances dropped
 * when that matrix is not positive definite).  A start that is not positive
 * definite gives SS_ERR_NOT_POSITIVE_DEFINITE.  Checks, in order: p, n and
 * the storage; the estimate bit; obs; the method (exactly one of the two);
 * the parameters; the start; for DA the prior; mv_est and its count; for
 * DA mv_sim and its count.  Outputs are untouched on any status but one
 * from inside the data augmentation's draws. */
enum {
    SS_MV_EM_ITERATIONS = 0,  /* largest number of EM iterations, 0 or more */
    SS_MV_DA_ITERATIONS = 1,  /* DA iterations per imputed set, 1 or more (DA) */
    SS_MV_ACCURACY = 2,       /* EM's stopping accuracy, 0 or more */
    SS_MV_SETS = 3,           /* imputed sets, 1 or more (DA) */
    SS_MV_START = 4,          /* SS_MV_START_ values */
    SS_MV_SEED = 5,           /* the generator's seed, a whole number below 2^32 */
    SS_MV_START_GIVEN = 0,
    SS_MV_START_COMPLETE_CASES = 1,
    SS_MV_START_AVAILABLE_CASES = 2,
    SS_MV_DEFAULT_SEED = 20261124
};
QOR_SS_COMPUTE_ENTRY(SSMissingValues)
/* Robust mean and covariance (SS_EST_ROBUST_COV) of the selected variables
 * into robust_mean and robust_cov (in the form of robust_cov_storage);
 * every observation counts once, the weights are not read.
 *   SS_METHOD_FAST_MCD: the minimum covariance determinant by FAST-MCD
 *     (Rousseeuw and Van Driessen): random (q+1)-subsets improved by
 *     C-steps, nested parts of 300 of at most 1500 observations above 600,
 *     over h = floor(2 n2 - n + 2 (1 - breakdown)(n - n2)) observations,
 *     n2 = floor((n + q + 1)/2); the h-subset's covariance (divisor h - 1)
 *     times the consistency factor h/n / F_{q+2}(chi2_q quantile of h/n);
 *     reweighted (unless SS_RCOV_REWEIGHT is 0) over the observations
 *     whose squared distance is within the chi2_q 0.975-quantile, their
 *     covariance times 0.975 / F_{q+2}(chi2_q 0.975-quantile).  No
 *     small-sample correction is applied.
 *   SS_METHOD_TBS: Rocke's translated-biweight S-estimate, consistent at
 *     the normal model, with the breakdown point and the asymptotic
 *     rejection probability given (a breakdown point that the rejection
 *     probability puts out of reach becomes the largest reachable, that of
 *     the plain biweight), iterated from the reweighted FAST-MCD fit until
 *     the log determinant moves less than accuracy * q.
 * The random subsets come from an MCG59 stream seeded with SS_RCOV_SEED,
 * so results repeat.  rcov_param_count (0 to SS_RCOV_PARAM_ROOM) values
 * of rcov_params, in the order below, replace the defaults in brackets:
 * breakdown point in (0, 0.5] [0.5], rejection probability in (0, 1)
 * [0.001], accuracy > 0 [1e-6], maximum number of iterations (S-estimate
 * steps and final C-steps) >= 1 [100], number of random subsets >= 1
 * [500], reweighting on when non-zero [1], seed in [0, 2^32) [1], start
 * of the S-estimate [0: the FAST-MCD fit; 1: the values robust_mean and
 * robust_cov hold when the call starts].
 * Statuses in order: the task and data checks, SS_ERR_OBS,
 * SS_ERR_ROBUST_COV, SS_ERR_ROBUST_MEAN, SS_ERR_STORAGE, SS_ERR_OBS_STORAGE
 * (a storage code other than 0, 1, 2), SS_ERR_RCOV_PARAM_COUNT,
 * SS_ERR_RCOV_PARAMS (missing or out of range), SS_ERR_METHOD (not exactly
 * one of the two methods), then SS_ERR_NOT_POSITIVE_DEFINITE when no
 * h-subset has a regular covariance, SS_ERR_NO_MEMORY.  Nothing is written
 * on failure.
 *
 * After a successful call the task holds the robust distances
 * sqrt((x_j - m)' S^-1 (x_j - m)) of the n observations under the result,
 * in a buffer of its own named by mahal_inputs[SS_MAHAL_DISTANCES] with
 * the count n at mahal_inputs[SS_MAHAL_DISTANCE_COUNT]; it is reused by the
 * next call and released with the task.  The caller reads those two words
 * but leaves them as they are while the task holds the buffer: pointed
 * elsewhere, the buffer is no longer found and is lost. */
enum {
    SS_RCOV_BREAKDOWN = 0,
    SS_RCOV_REJECTION = 1,
    SS_RCOV_ACCURACY = 2,
    SS_RCOV_MAX_ITERATIONS = 3,
    SS_RCOV_SUBSETS = 4,
    SS_RCOV_REWEIGHT = 5,
    SS_RCOV_SEED = 6,
    SS_RCOV_START = 7,
    SS_RCOV_PARAM_ROOM = 8
};
QOR_SS_COMPUTE_ENTRY(SSRobustCovariance)
/* Outlier detection (SS_EST_OUTLIERS; SS_METHOD_BACON): BACON (Billor,
 * Hadi and Velleman) on the selected variables, 1 in outlier_weights[j]
 * for an observation of the final basic subset, 0 for an outlier.  The
 * basic subset starts with the 4q observations nearest the centre (by the
 * initial method), then is every observation whose Mahalanobis distance
 * under the subset's mean and covariance is below
 * (c_np + c_hr) sqrt(chi2_q quantile of 1 - alpha/n), with
 * c_np = 1 + (q+1)/(n-q) + 2/(n-1-3q), c_hr = max(0, (h-r)/(h+r)),
 * h = floor((n+q+1)/2) and r the subset's size; it stops when at most
 * accuracy * n observations change sides.  outlier_param_count (0 to
 * SS_BACON_PARAM_ROOM) values of outlier_params replace the defaults:
 * initial method [SS_BACON_INIT_MAHALANOBIS: distances under the mean and
 * covariance of all observations; SS_BACON_INIT_MEDIAN: Euclidean
 * distances to the coordinate-wise median], alpha in (0, 1) [0.05],
 * accuracy in [0, 1) [0].  Statuses in order: the task and data checks,
 * SS_ERR_OBS, SS_ERR_OUTLIER_WEIGHTS, SS_ERR_OUTLIER_PARAM_COUNT,
 * SS_ERR_OUTLIER_PARAMS, SS_ERR_METHOD, SS_ERR_NOT_POSITIVE_DEFINITE,
 * SS_ERR_NO_MEMORY; nothing is written on failure.  The final distances
 * are kept in the task as after a robust covariance. */
enum {
    SS_BACON_INIT = 0,
    SS_BACON_ALPHA = 1,
    SS_BACON_ACCURACY = 2,
    SS_BACON_PARAM_ROOM = 3,
    SS_BACON_INIT_MAHALANOBIS = 0,
    SS_BACON_INIT_MEDIAN = 1
};
QOR_SS_COMPUTE_ENTRY(SSOutlierDetection)

QOR_END_C

#endif
