// The public summary-statistics calls: each checks the task it is handed
// (present, a task, of its own precision) and forwards to the kernel set
// with 64-bit integers.
#include <cstdint>

#include "loader.h"
#include "qor/qor.h"

using qor::core::StatsKernels;

namespace {

// The kernels read every integer a task points to as an int64_t.
constexpr uint32_t kWideInts = 1;

// The threading services the compute entries split their work with.
constexpr qor_threading kThreading = {qor_rix_serv_threader_for, qor_rix_serv_threader_get_num_threads_limit};

// The precision field of a task of each kind.
constexpr int32_t kDouble = 1;
constexpr int32_t kSingle = 0;

// The result of a call that finds the kernels unavailable: the qor_init
// status, which no statistics status equals.
int unavailable_status() { return qor::core::process_kernels().status; }

const StatsKernels* usable_stats() {
    const qor::core::KernelSet* k = qor::core::kernels_for_call();
    return k ? &k->stats : nullptr;
}

bool is_task(const qor_ss_task* task) { return task && task->task_kind == SS_TASK_KIND; }

bool is_task(const qor_ss_task* task, int32_t precision) { return is_task(task) && task->precision == precision; }

// Hands a new task to the caller on success; a task the kernels made on a
// failed call is deleted, so a failed call leaves nothing behind.
int adopt(const StatsKernels& ss, int status, qor_ss_task* made, qor_ss_task** out) {
    if (status != SS_OK) {
        if (made) ss.DeleteTask(&made);
        return status;
    }
    *out = made;
    return status;
}

}  // namespace

// A call on a task of precision `prec`: availability first, then the task.
#define QOR_CORE_SS_ENTER(prec)                       \
    const StatsKernels* ss = usable_stats();          \
    if (!ss) return unavailable_status();             \
    if (!is_task(task, prec)) return SS_ERR_TASK;

// The grouped edits, from the public list.
#define QOR_CORE_SS_UNPAREN(...) __VA_ARGS__
#define QOR_CORE_SS_GROUPED_EDIT_DEF(p, prec, name, params, args)                                   \
    QOR_EXPORT int qor_##p##ss_edit_##name(qor_ss_task* task, QOR_CORE_SS_UNPAREN params) {         \
        QOR_CORE_SS_ENTER(prec)                                                                     \
        return ss->p##_edit_##name(task, QOR_CORE_SS_UNPAREN args);                                 \
    }
#define QOR_CORE_SS_GROUPED_EDIT_d(name, params, args) QOR_CORE_SS_GROUPED_EDIT_DEF(d, kDouble, name, params, args)
#define QOR_CORE_SS_GROUPED_EDIT_s(name, params, args) QOR_CORE_SS_GROUPED_EDIT_DEF(s, kSingle, name, params, args)

#define QOR_CORE_SS_DEFS(p, T, prec)                                                                            \
    QOR_EXPORT int qor_##p##ss_new_task(qor_ss_task** task, const int64_t* dim, const int64_t* n,                \
                                        const int64_t* obs_storage, const T* obs, const T* weights,             \
                                        const int64_t* indices) {                                               \
        if (task) *task = nullptr;                                                                              \
        const StatsKernels* ss = usable_stats();                                                                \
        if (!ss) return unavailable_status();                                                                   \
        if (!task) return SS_ERR_TASK;                                                                          \
        qor_ss_task* made = nullptr;                                                                            \
        const int status = ss->p##NewTask(&made, dim, n, obs_storage, obs, weights, indices, kWideInts);        \
        return adopt(*ss, status, made, task);                                                                  \
    }                                                                                                           \
    QOR_EXPORT int qor_##p##ss_edit_task(qor_ss_task* task, int code, T* value) {                               \
        QOR_CORE_SS_ENTER(prec)                                                                                 \
        return ss->p##EditTask(task, code, value);                                                              \
    }                                                                                                           \
    QOR_EXPORT int qor_##p##ss_basic(qor_ss_task* task, uint64_t estimates, int method) {                       \
        QOR_CORE_SS_ENTER(prec)                                                                                 \
        return ss->p##Basic(task, estimates, method, &kThreading);                                              \
    }

// The other compute calls, from the kernels' list.
#define QOR_CORE_SS_COMPUTE_DEF(p, prec, name)                                              \
    QOR_EXPORT int qor_##p##ss_##name(qor_ss_task* task, uint64_t estimates, int method) { \
        QOR_CORE_SS_ENTER(prec)                                                             \
        return ss->p##_##name(task, estimates, method, &kThreading);                        \
    }
#define QOR_CORE_SS_COMPUTE_d(name, Export) QOR_CORE_SS_COMPUTE_DEF(d, kDouble, name)
#define QOR_CORE_SS_COMPUTE_s(name, Export) QOR_CORE_SS_COMPUTE_DEF(s, kSingle, name)

QOR_EXTERN_C {

QOR_CORE_SS_DEFS(d, double, kDouble)
QOR_CORE_SS_DEFS(s, float, kSingle)
QOR_STATS_GROUPED_EDITS(QOR_CORE_SS_GROUPED_EDIT_d, double, const int64_t)
QOR_STATS_GROUPED_EDITS(QOR_CORE_SS_GROUPED_EDIT_s, float, const int64_t)
QOR_CORE_STATS_COMPUTE_ENTRIES(QOR_CORE_SS_COMPUTE_d)
QOR_CORE_STATS_COMPUTE_ENTRIES(QOR_CORE_SS_COMPUTE_s)

QOR_EXPORT int qor_ss_edit_task_i(qor_ss_task* task, int code, const int64_t* value) {
    const StatsKernels* ss = usable_stats();
    if (!ss) return unavailable_status();
    if (!is_task(task)) return SS_ERR_TASK;
    return ss->iEditTask(task, code, value);
}

QOR_EXPORT int qor_ss_delete_task(qor_ss_task** task) {
    const StatsKernels* ss = usable_stats();
    if (!ss) return unavailable_status();
    if (!task || !is_task(*task)) return SS_ERR_TASK;
    return ss->DeleteTask(task);
}

}  // extern "C"
