// The cell search of a task: checks the task and the batch, picks a strategy
// from the partition hint and the site hint, and writes the cells in the
// task's integer width.
//
// Choice of strategy:
//   partition hint 4 (uniform)     Uniform, whatever the sites; scale is
//                                  (nx-1) / (x[nx-1] - x[0]) from the two ends
//   site hint 4 (sorted sites)     Sorted, starting from breakpoint 0
//   site hint 64 (clustered)       Peak around breakpoint dataHint[0]; without
//                                  dataHint the site hint is ignored
//   partition hint 2 (quasi-uniform)  QuasiUniform
//   otherwise                      Hybrid with the task's search table; a task
//                                  without one (its partition hint was changed
//                                  from 4) bisects the whole partition
// Any other site hint (0: nothing known about the sites) leaves the choice to
// the partition.  The method argument is not used.  The user-defined
// strategies need the caller's function and are reached through their own
// kernels.  Every batch, however small, goes straight to the kernel: the
// kernels need no work buffer, so there is nothing to amortise.
//
// Statuses: statusNullTask for a null task; statusBadBreakpoints when the
// task has no breakpoints; statusBadBreakpointCount when nx is below 2;
// statusUnsupportedMethod when the entry's precision is not the task's;
// statusBadIndex when nsite is negative; statusNullOutput when sites or
// cells are null for a non-empty batch.
#include "fit/task_internal.h"

namespace qor::kp {
namespace {

constexpr int64_t kSitesSorted = 4, kSitesClustered = 64;

template <class T>
struct Kernels;
template <>
struct Kernels<float> {
    static constexpr auto uniform = qor_kp_kernel_sKPUniformSearch1D;
    static constexpr auto quasi_uniform = qor_kp_kernel_sKPQuasiUniformSearch1D;
    static constexpr auto sorted = qor_kp_kernel_sKPSortedSearch1D;
    static constexpr auto peak = qor_kp_kernel_sKPPeakSearch1D;
    static constexpr auto hybrid = qor_kp_kernel_sKPHybridSearch1D;
};
template <>
struct Kernels<double> {
    static constexpr auto uniform = qor_kp_kernel_dKPUniformSearch1D;
    static constexpr auto quasi_uniform = qor_kp_kernel_dKPQuasiUniformSearch1D;
    static constexpr auto sorted = qor_kp_kernel_dKPSortedSearch1D;
    static constexpr auto peak = qor_kp_kernel_dKPPeakSearch1D;
    static constexpr auto hybrid = qor_kp_kernel_dKPHybridSearch1D;
};

template <class T>
int32_t search(FitTask* task, int64_t nsite, const T* site, int64_t site_hint, const T* data_hint, void* cell) {
    using K = Kernels<T>;
    if (!task) return statusNullTask;
    if (!task->x) return statusBadBreakpoints;
    if (task->nx < 2) return statusBadBreakpointCount;
    if (task->precision != (sizeof(T) == sizeof(double))) return statusUnsupportedMethod;
    if (nsite < 0) return statusBadIndex;
    if (nsite == 0) return 0;
    if (!site || !cell) return statusNullOutput;
    const uint32_t width = task->indexWidth;
    const int64_t nx = task->nx;
    const T* x = breakpoints<T>(*task);
    if (task->xhint == hintPartitionUniform)
        return K::uniform(width, nx, x, nsite, site, static_cast<T>(nx - 1) / (x[1] - x[0]), cell);
    if (site_hint == kSitesSorted) {
        int64_t start = 0;  // read as the task's width: zero either way
        return K::sorted(width, nx, x, nsite, site, &start, cell);
    }
    if (site_hint == kSitesClustered && data_hint) return K::peak(width, nx, x, nsite, site, data_hint[0], cell);
    if (task->xhint == hintPartitionQuasiUniform)
        return K::quasi_uniform(width, nx, x, nsite, site, static_cast<T>(nx - 1) / (x[nx - 1] - x[0]), cell);
    if (!task->binTable) {
        const int64_t whole[4] = {0, nx - 1, 0, nx - 1};  // one bin: every site in bin 0
        return K::hybrid(width, nx, x, nsite, site, T(0), whole, cell);
    }
    return K::hybrid(width, nx, x, nsite, site, bin_scale<T>(*task), task->binTable, cell);
}

}  // namespace
}  // namespace qor::kp

using namespace qor::kp;

QOR_EXTERN_C {

QOR_KP_API int32_t qor_kp_kernel_sKPSearch1D(FitTask* task, int64_t method, int64_t nsite, const float* site,
                                             int64_t siteHint, const float* dataHint, void* cell) {
    return search(task, nsite, site, siteHint, dataHint, cell);
}

QOR_KP_API int32_t qor_kp_kernel_dKPSearch1D(FitTask* task, int64_t method, int64_t nsite, const double* site,
                                             int64_t siteHint, const double* dataHint, void* cell) {
    return search(task, nsite, site, siteHint, dataHint, cell);
}

}  // extern "C"
