// The summary-statistics exports of the kernel library that the core
// forwards to.  One list names them; their types come from the kernel
// library's own declarations (qor_ss.h).
#pragma once

#include "qor/qor_ss.h"

// QOR_CORE_STATS_EXPORT(field, symbol) for every export: task creation,
// edits and deletion, then the compute entries.  Define
// QOR_CORE_STATS_EXPORT, expand QOR_CORE_STATS_EXPORTS, undefine it.
#define QOR_CORE_STATS_EXPORTS                             \
    QOR_CORE_STATS_EXPORT(dNewTask, __rixdSSNewTask)       \
    QOR_CORE_STATS_EXPORT(sNewTask, __rixsSSNewTask)       \
    QOR_CORE_STATS_EXPORT(iEditTask, __rixiSSEditTask)     \
    QOR_CORE_STATS_EXPORT(dEditTask, __rixdSSEditTask)     \
    QOR_CORE_STATS_EXPORT(sEditTask, __rixsSSEditTask)     \
    QOR_CORE_STATS_GROUPED_EDIT_EXPORTS(d)                 \
    QOR_CORE_STATS_GROUPED_EDIT_EXPORTS(s)                 \
    QOR_CORE_STATS_EXPORT(DeleteTask, __rixSSDeleteTask)   \
    QOR_CORE_STATS_EXPORT(dBasic, _rixdSSBasic)            \
    QOR_CORE_STATS_EXPORT(sBasic, _rixsSSBasic)            \
    QOR_CORE_STATS_COMPUTE_EXPORTS(d)                      \
    QOR_CORE_STATS_COMPUTE_EXPORTS(s)

// The compute entries besides the basic statistics, by the name of their
// public call and of their export: field <p>_<name>, symbol _rix<p>SS<Export>.
#define QOR_CORE_STATS_COMPUTE_ENTRIES(X)                                                    \
    X(quantiles, Quantiles) X(sort, Sort) X(minmax, Minmax) X(mad, MAD)                      \
    X(cor_parametrization, CorParametrization)                                               \
    X(wmedian, WMedian) X(stream_quantiles, StreamQuantiles) X(pooled_covariance, PooledCovariance)          \
    X(partial_covariance, PartialCovariance) X(mah_distance, MahDistance)                    \
    X(missing_values, MissingValues)                                                         \
    X(robust_covariance, RobustCovariance) X(outlier_detection, OutlierDetection)
#define QOR_CORE_STATS_COMPUTE_EXPORTS(p) QOR_CORE_STATS_COMPUTE_ENTRIES(QOR_CORE_STATS_COMPUTE_EXPORT_##p)
#define QOR_CORE_STATS_COMPUTE_EXPORT_d(name, Export) QOR_CORE_STATS_EXPORT(d_##name, _rixdSS##Export)
#define QOR_CORE_STATS_COMPUTE_EXPORT_s(name, Export) QOR_CORE_STATS_EXPORT(s_##name, _rixsSS##Export)

// The grouped edits, by the name of their public call and of their export:
// field <p>_edit_<name>, symbol __rix<p>SSEdit<Export>.
#define QOR_CORE_STATS_GROUPED_EDITS(X)                                                                  \
    X(moments, Moments) X(sums, Sums) X(cov_cor, CovCor) X(cp, CP) X(partial_cov_cor, PartialCovCor)    \
    X(quantiles, Quantiles) X(stream_quantiles, StreamQuantiles) X(pooled_covariance, PooledCovariance) \
    X(rcov, RCov) X(out_detect, OutDetect) X(missing_vals, MissingVals) X(mtx_parametrz, MtxParametrz)
#define QOR_CORE_STATS_GROUPED_EDIT_EXPORTS(p) QOR_CORE_STATS_GROUPED_EDITS(QOR_CORE_STATS_GROUPED_EDIT_EXPORT_##p)
#define QOR_CORE_STATS_GROUPED_EDIT_EXPORT_d(name, Export) QOR_CORE_STATS_EXPORT(d_edit_##name, __rixdSSEdit##Export)
#define QOR_CORE_STATS_GROUPED_EDIT_EXPORT_s(name, Export) QOR_CORE_STATS_EXPORT(s_edit_##name, __rixsSSEdit##Export)

namespace qor::core {

// One member per export, named by the list's field (dNewTask, s_edit_sums).
struct StatsKernels {
#define QOR_CORE_STATS_EXPORT(field, symbol) decltype(&symbol) field = nullptr;
    QOR_CORE_STATS_EXPORTS
#undef QOR_CORE_STATS_EXPORT
};

}  // namespace qor::core
