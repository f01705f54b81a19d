// The interpolation entry: checks the task and the request, locates the
// sites as the search entry would, and evaluates the spline of every
// function at them.
//
// Sites go in blocks of kLocateBlock: each block finds its cells (in 32 bits
// while the partition allows, on the stack), hands them out when asked, then
// evaluates function by function.  More than kBlocksBeforeThreads blocks run
// through the threading services; a block cannot fail then, since only a
// user-defined search reports failure and that one runs in the calling
// thread, block after block (the caller's function need not be thread-safe).
#include <algorithm>

#include "fit/interpolate/evaluate.h"
#include "fit/search_plan.h"

namespace qor::kp {
namespace {

constexpr int64_t kBlocksBeforeThreads = 4;

template <class T>
struct Job {
    const FitTask* task;
    SearchPlan<T> plan;
    int64_t type, nsite;
    const T* site;
    const int64_t* dorder;
    int64_t ndorder, nd;  // nd: the orders asked for
    bool values_only;     // order 0 alone
    T* r;
    bool by_site;
    void* cell;
    const T* knots;  // a quadratic of type 1: pieces change at these
};

template <class T, class C, class X>
void evaluate_block(const Job<T>& job, const X& x, int64_t first, int64_t n, const C* cells) {
    const FitTask& task = *job.task;
    const int64_t ny = task.ny, nd = job.nd;
    // With knots the cells name pieces (see run_block): one more than intervals.
    const int64_t pieces_nx = task.nx + (job.knots ? 1 : 0);
    for (int64_t j = 0; j < ny; ++j) {
        // The results of site `first` for function j, and the distance between sites.
        T* out = job.r + (job.by_site ? first * ny + j : j * job.nsite + first) * nd;
        const int64_t stride = job.by_site ? ny * nd : nd;
        const T* c = coefficients_of<T>(task, j);
        if (job.values_only)
            evaluate_values(x, pieces_nx, task.order, c, n, job.site + first, cells, out, stride);
        else
            evaluate_derivatives(x, pieces_nx, task.order, c, n, job.site + first, cells, job.dorder, job.ndorder, out,
                                 stride);
    }
}

template <class T, class C>
int32_t run_block(const Job<T>& job, int64_t block) {
    const int64_t first = block * kLocateBlock, n = std::min(kLocateBlock, job.nsite - first);
    C cells[kLocateBlock];
    const int32_t status = locate_block(job.plan, block, n, job.site + first, cells);
    if (status < 0) return status;
    if (job.type & computeCells) {
        if (job.task->indexWidth) std::copy(cells, cells + n, static_cast<int64_t*>(job.cell) + first);
        else std::copy(cells, cells + n, static_cast<int32_t*>(job.cell) + first);
    }
    if (job.type & computeValues) {
        if (job.knots)  // cell p + 1 for piece p, so that the evaluation reads piece p
            for (int64_t k = 0; k < n; ++k)
                cells[k] = static_cast<C>(piece_of(cells[k], job.task->nx, job.knots, job.site[first + k]) + 1);
        with_breaks<T>(*job.task, [&](const auto& x) { evaluate_block(job, x, first, n, cells); });
    }
    return status;
}

template <class T, class C>
void run_thread_block(int block, int, void* context) {
    run_block<T, C>(*static_cast<const Job<T>*>(context), block);
}

template <class T, class C>
int32_t run(const Job<T>& job, const qor_threading* threading) {
    const int64_t blocks = (job.nsite + kLocateBlock - 1) / kLocateBlock;
    const bool user = is_user_defined(job.plan.strategy);
    int limit = 1;
    if (blocks > kBlocksBeforeThreads && !user && blocks <= INT32_MAX && threading && threading->parallel_for &&
        threading->get_num_threads_limit)
        limit = std::max(1, threading->get_num_threads_limit());
    if (limit > 1) {  // the blocks of a threaded run cannot fail
        threading->parallel_for(static_cast<int>(blocks), static_cast<int>(std::min<int64_t>(limit, blocks)),
                                const_cast<Job<T>*>(&job), run_thread_block<T, C>);
        return 0;
    }
    int32_t status = 0;
    for (int64_t b = 0; b < blocks; ++b)
        if ((status = run_block<T, C>(job, b)) < 0) return status;
    return status;
}

// The derivative orders asked for, or statusBadDerivativeOrder.
int64_t orders_asked(int64_t ndorder, const int64_t* dorder) {
    if (ndorder < 1 || !dorder) return statusBadDerivativeOrder;
    int64_t nd = 0;
    for (int64_t q = 0; q < ndorder; ++q) {
        if (dorder[q] != 0 && dorder[q] != 1) return statusBadDerivativeOrder;
        nd += dorder[q];
    }
    return nd ? nd : int64_t{statusBadDerivativeOrder};
}

template <class T>
int32_t interpolate(FitTask* task, int64_t type, int64_t method, int64_t nsite, const T* site, int64_t site_hint,
                    int64_t ndorder, const int64_t* dorder, const T* data_hint, T* r, int64_t rhint, void* cell,
                    const qor_threading* threading) {
    if (!task) return statusNullTask;
    if (task->precision != (sizeof(T) == sizeof(double))) return statusUnsupportedMethod;
    if (!task->x) return statusBadBreakpoints;
    if (task->nx < 2) return statusBadBreakpointCount;
    if (type < 1 || type > (computeValues | computeCells)) return statusBadComputeType;
    if (nsite < 0) return statusBadIndex;
    Job<T> job{};
    if (type & computeValues) {
        job.nd = orders_asked(ndorder, dorder);
        if (job.nd < 0) return static_cast<int32_t>(job.nd);
        if (rhint != hintResultDefault && rhint != hintResultByFunction && rhint != hintResultBySite)
            return statusBadResultHint;
        if (const int32_t status = check_coefficients(*task); status != 0) return status;
    }
    if (nsite == 0) return 0;
    if (!site || ((type & computeValues) && !r) || ((type & computeCells) && !cell)) return statusNullOutput;
    if (const int32_t status = plan_search(*task, method, site_hint, data_hint, job.plan); status != 0) return status;
    job.task = task;
    job.type = type;
    job.nsite = nsite;
    job.site = site;
    job.dorder = dorder;
    job.ndorder = ndorder;
    job.values_only = job.nd == 1 && dorder[0] == 1;
    job.r = r;
    job.by_site = rhint == hintResultBySite;
    job.cell = cell;
    job.knots = piece_knots<T>(*task);
    return fits_32bit_cells(task->nx) ? run<T, int32_t>(job, threading) : run<T, int64_t>(job, threading);
}

}  // namespace
}  // namespace qor::kp

using namespace qor::kp;

QOR_EXTERN_C {

QOR_KP_API int32_t qor_kp_kernel_sInterpolate1D(FitTask* task, int64_t type, int64_t method, int64_t nsite,
                                                const float* site, int64_t siteHint, int64_t ndorder,
                                                const int64_t* dorder, const float* dataHint, float* r,
                                                int64_t rhint, void* cell, const qor_threading* threading) {
    return interpolate(task, type, method, nsite, site, siteHint, ndorder, dorder, dataHint, r, rhint, cell,
                       threading);
}

QOR_KP_API int32_t qor_kp_kernel_dInterpolate1D(FitTask* task, int64_t type, int64_t method, int64_t nsite,
                                                const double* site, int64_t siteHint, int64_t ndorder,
                                                const int64_t* dorder, const double* dataHint, double* r,
                                                int64_t rhint, void* cell, const qor_threading* threading) {
    return interpolate(task, type, method, nsite, site, siteHint, ndorder, dorder, dataHint, r, rhint, cell,
                       threading);
}

}  // extern "C"
