// The cell search of a task: checks the task and the batch, picks a strategy
// from the method, the partition hint and the site hint (plan_search tells
// the rules), and writes the cells in the task's integer width.
//
// A batch of fewer than kSmallBatch sites is searched here, straight into
// the caller's cells by the strategy's kernel; a larger one goes to the
// strategy's batch worker (search_batch.cpp), which may need a work buffer
// whose allocation only a larger batch amortises.
//
// Statuses: statusNullTask for a null task; statusBadBreakpoints when the
// task has no breakpoints; statusBadBreakpointCount when nx is below 2;
// statusUnsupportedMethod when the entry's precision is not the task's;
// statusBadIndex when nsite is negative; statusNullOutput when sites or
// cells are null for a non-empty batch; statusUnsupportedMethod for a method
// the plan refuses; statusNoMemory when a worker's buffer cannot be had.
#include "fit/search_batch.h"

namespace qor::kp {
namespace {

constexpr int64_t kSmallBatch = 32;

template <class T>
const SearchBatchWorker<T>* batch_workers() {
    if constexpr (sizeof(T) == sizeof(double)) return kSearchBatchWorkersD;
    else return kSearchBatchWorkersS;
}

template <class T>
int32_t search(FitTask* task, int64_t method, int64_t nsite, const T* site, int64_t site_hint, const T* data_hint,
               void* cell) {
    if (!task) return statusNullTask;
    if (!task->x) return statusBadBreakpoints;
    if (task->nx < 2) return statusBadBreakpointCount;
    if (task->precision != (sizeof(T) == sizeof(double))) return statusUnsupportedMethod;
    if (nsite < 0) return statusBadIndex;
    if (nsite == 0) return 0;
    if (!site || !cell) return statusNullOutput;
    SearchPlan<T> plan;
    if (const int32_t status = plan_search(*task, method, site_hint, data_hint, plan); status != 0) return status;
    if (nsite >= kSmallBatch)
        return batch_workers<T>()[static_cast<int>(plan.strategy)](plan, nsite, site, task->indexWidth, cell);
    int32_t flag[kSmallBatch] = {};
    if (task->indexWidth) {
        int64_t start = 0;
        return search_sites(plan, nsite, site, static_cast<int64_t*>(cell), &start, flag);
    }
    int32_t start = 0;
    return search_sites(plan, nsite, site, static_cast<int32_t*>(cell), &start, flag);
}

}  // namespace
}  // namespace qor::kp

using namespace qor::kp;

QOR_EXTERN_C {

QOR_KP_API int32_t qor_kp_kernel_sKPSearch1D(FitTask* task, int64_t method, int64_t nsite, const float* site,
                                             int64_t siteHint, const float* dataHint, void* cell) {
    return search(task, method, nsite, site, siteHint, dataHint, cell);
}

QOR_KP_API int32_t qor_kp_kernel_dKPSearch1D(FitTask* task, int64_t method, int64_t nsite, const double* site,
                                             int64_t siteHint, const double* dataHint, void* cell) {
    return search(task, method, nsite, site, siteHint, dataHint, cell);
}

}  // extern "C"
