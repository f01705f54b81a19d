// The public data-fitting calls: each checks what it is handed (the kernels
// usable, a task of its own precision, outputs present, counts not
// negative) and forwards to the kernel set.  Tasks made here hand back
// 64-bit integers (cells, attribute values), the library's convention.
#include <cstdint>

#include "loader.h"
#include "qor/qor.h"

using qor::core::FitKernels;

namespace {

constexpr uint32_t kWideIndices = 1;

// The threading services the construction and interpolation entries split
// their work with.
constexpr qor_threading kThreading = {qor_rix_serv_threader_for, qor_rix_serv_threader_get_num_threads_limit};

// The precision field of a task of each kind.
constexpr uint32_t kDouble = 1;
constexpr uint32_t kSingle = 0;

// The construction entries by public kind code.
using Construct = decltype(&qor_kp_kernel_dKPLinearSpline1D);
#define QOR_CORE_FIT_KIND_FIELD_d(Kind) &FitKernels::d##Kind,
#define QOR_CORE_FIT_KIND_FIELD_s(Kind) &FitKernels::s##Kind,
constexpr Construct FitKernels::* kConstructD[] = {QOR_CORE_FIT_KINDS(QOR_CORE_FIT_KIND_FIELD_d)};
constexpr Construct FitKernels::* kConstructS[] = {QOR_CORE_FIT_KINDS(QOR_CORE_FIT_KIND_FIELD_s)};
static_assert(sizeof kConstructD / sizeof kConstructD[0] == QOR_FIT_KIND_COUNT);

// The qor_init status, which no data-fitting status equals.
int unavailable_status() { return qor::core::process_kernels().status; }

const FitKernels* usable_fit() {
    const qor::core::KernelSet* k = qor::core::kernels_for_call();
    return k ? &k->fit : nullptr;
}

// The derivative-order flags of an interpolation: at least one order, each
// flag 0 or 1, one of them set.
int check_orders(int64_t ndorder, const int64_t* dorder) {
    if (ndorder < 1 || !dorder) return statusBadDerivativeOrder;
    bool any = false;
    for (int64_t q = 0; q < ndorder; ++q) {
        if (dorder[q] != 0 && dorder[q] != 1) return statusBadDerivativeOrder;
        any |= dorder[q] == 1;
    }
    return any ? 0 : statusBadDerivativeOrder;
}

bool is_result_hint(int64_t hint) {
    return hint == hintResultDefault || hint == hintResultByFunction || hint == hintResultBySite;
}

int check_task(const qor_fit_task* task, uint32_t precision) {
    if (!task) return statusNullTask;
    return task->precision == precision ? 0 : statusWrongPrecision;
}

}  // namespace

// Availability first, then the task and its precision.
#define QOR_CORE_FIT_ENTER(prec)                                            \
    const FitKernels* fit = usable_fit();                                   \
    if (!fit) return unavailable_status();                                  \
    if (const int status = check_task(task, prec); status != 0) return status;

#define QOR_CORE_FIT_DEFS(p, T, prec, construct_table)                                                            \
    QOR_EXPORT int qor_##p##fit_new_task(qor_fit_task** task, int64_t nx, const T* x, int64_t xhint, int64_t ny,  \
                                         const T* y, int64_t yhint) {                                             \
        if (task) *task = nullptr;                                                                                \
        const FitKernels* fit = usable_fit();                                                                     \
        if (!fit) return unavailable_status();                                                                    \
        if (!task) return statusNullTask;                                                                         \
        if (ny < 0) return statusBadFunctionCount;                                                                \
        qor_fit_task* made = nullptr;                                                                             \
        const int status = fit->p##NewTask(&made, nx, x, xhint, ny, y, yhint, kWideIndices);                      \
        if (status != 0) {                                                                                        \
            if (made) fit->DeleteTask(&made);                                                                     \
            return status;                                                                                        \
        }                                                                                                         \
        *task = made;                                                                                             \
        return 0;                                                                                                 \
    }                                                                                                             \
    QOR_EXPORT int qor_##p##fit_edit_pp_spline(qor_fit_task* task, int64_t order, int64_t type, int64_t bc_type,  \
                                               const T* bc, int64_t ic_type, const T* ic, T* coeff,               \
                                               int64_t coeff_hint) {                                              \
        QOR_CORE_FIT_ENTER(prec)                                                                                  \
        return fit->p##EditPPSpline(task, order, type, bc_type, bc, ic_type, ic, coeff, coeff_hint);              \
    }                                                                                                             \
    QOR_EXPORT int qor_##p##fit_edit_ptr(qor_fit_task* task, int64_t attribute, const T* pointer) {               \
        QOR_CORE_FIT_ENTER(prec)                                                                                  \
        return fit->p##EditPtr(task, attribute, pointer);                                                         \
    }                                                                                                             \
    QOR_EXPORT int qor_##p##fit_edit_idx_ptr(qor_fit_task* task, int64_t attribute, int64_t index,                \
                                             const T* pointer) {                                                  \
        QOR_CORE_FIT_ENTER(prec)                                                                                  \
        return fit->p##EditIdxPtr(task, attribute, index, pointer);                                               \
    }                                                                                                             \
    QOR_EXPORT int qor_##p##fit_query_ptr(const qor_fit_task* task, int64_t attribute, const T** out) {           \
        QOR_CORE_FIT_ENTER(prec)                                                                                  \
        if (!out) return statusNullOutput;                                                                        \
        return fit->p##QueryPtr(task, attribute, out);                                                            \
    }                                                                                                             \
    QOR_EXPORT int qor_##p##fit_query_idx_ptr(const qor_fit_task* task, int64_t attribute, int64_t index,         \
                                              const T** out) {                                                    \
        QOR_CORE_FIT_ENTER(prec)                                                                                  \
        if (!out) return statusNullOutput;                                                                        \
        return fit->p##QueryIdxPtr(task, attribute, index, out);                                                  \
    }                                                                                                             \
    QOR_EXPORT int qor_##p##fit_construct(qor_fit_task* task, int kind, int64_t method) {                         \
        QOR_CORE_FIT_ENTER(prec)                                                                                  \
        if (kind < 0 || kind >= QOR_FIT_KIND_COUNT) return statusUnsupportedMethod;                               \
        return (fit->*construct_table[kind])(task, 0, method, &kThreading);                                       \
    }                                                                                                             \
    QOR_EXPORT int qor_##p##fit_search(qor_fit_task* task, int64_t method, int64_t nsite, const T* site,          \
                                       int64_t site_hint, const T* data_hint, int64_t* cell) {                    \
        QOR_CORE_FIT_ENTER(prec)                                                                                  \
        if (nsite < 0) return statusBadSiteCount;                                                                 \
        if (nsite > 0 && !site) return statusNullSites;                                                           \
        if (nsite > 0 && !cell) return statusNullOutput;                                                          \
        return fit->p##Search(task, method, nsite, site, site_hint, data_hint, cell);                             \
    }                                                                                                             \
    QOR_EXPORT int qor_##p##fit_interpolate(qor_fit_task* task, int64_t type, int64_t method, int64_t nsite,      \
                                            const T* site, int64_t site_hint, int64_t ndorder,                    \
                                            const int64_t* dorder, const T* data_hint, T* r, int64_t rhint,       \
                                            int64_t* cell) {                                                      \
        QOR_CORE_FIT_ENTER(prec)                                                                                  \
        if (type < 1 || type > (computeValues | computeCells)) return statusBadComputeType;                       \
        if (nsite < 0) return statusBadSiteCount;                                                                 \
        if (nsite > 0 && !site) return statusNullSites;                                                           \
        if (type & computeValues) {                                                                               \
            if (const int status = check_orders(ndorder, dorder); status != 0) return status;                     \
            if (!is_result_hint(rhint)) return statusBadResultHint;                                               \
            if (nsite > 0 && !r) return statusNullOutput;                                                         \
        }                                                                                                         \
        if ((type & computeCells) && nsite > 0 && !cell) return statusNullOutput;                                 \
        return fit->p##Interpolate(task, type, method, nsite, site, site_hint, ndorder, dorder, data_hint, r,     \
                                   rhint, cell, &kThreading);                                                     \
    }                                                                                                             \
    QOR_EXPORT int qor_##p##fit_integrate(qor_fit_task* task, int64_t method, int64_t nlim, const T* llim,        \
                                          int64_t llim_hint, const T* rlim, int64_t rlim_hint,                    \
                                          const T* ldata_hint, const T* rdata_hint, T* r, int64_t rhint) {        \
        QOR_CORE_FIT_ENTER(prec)                                                                                  \
        if (nlim < 0) return statusBadSiteCount;                                                                  \
        if (nlim > 0 && (!llim || !rlim)) return statusNullSites;                                                 \
        if (!is_result_hint(rhint)) return statusBadResultHint;                                                   \
        if (nlim > 0 && !r) return statusNullOutput;                                                              \
        return fit->p##Integrate(task, method, nlim, llim, llim_hint, rlim, rlim_hint, ldata_hint, rdata_hint, r, \
                                 rhint);                                                                          \
    }

QOR_EXTERN_C {

QOR_CORE_FIT_DEFS(d, double, kDouble, kConstructD)
QOR_CORE_FIT_DEFS(s, float, kSingle, kConstructS)

QOR_EXPORT int qor_fit_delete_task(qor_fit_task** task) {
    const FitKernels* fit = usable_fit();
    if (!fit) return unavailable_status();
    if (!task || !*task) return statusNullTask;
    return fit->DeleteTask(task);
}

QOR_EXPORT int qor_fit_edit_value(qor_fit_task* task, int64_t attribute, int64_t value) {
    const FitKernels* fit = usable_fit();
    if (!fit) return unavailable_status();
    if (!task) return statusNullTask;
    return fit->iEditVal(task, attribute, value);
}

QOR_EXPORT int qor_fit_query_value(const qor_fit_task* task, int64_t attribute, int64_t* out) {
    const FitKernels* fit = usable_fit();
    if (!fit) return unavailable_status();
    if (!task) return statusNullTask;
    if (!out) return statusNullOutput;
    return fit->iQueryVal(task, attribute, out);
}

}  // extern "C"
