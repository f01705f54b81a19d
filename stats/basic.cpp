// _rixdSSBasic and _rixsSSBasic: moments, sums and matrices of the
// observations a task points to, accumulated across calls.
//
// Order of work: the method and requirement checks (basic_plan), the inputs
// (p, n, observations, their storage, acc_weights, the storage codes of the
// matrices), the running sums (continued from the task's state or rebuilt
// from the result arrays), the observations on T threads, the merge, and
// finally the writes.  Nothing the caller owns is written before the last
// step, so a call that fails leaves every array as it was.
//
// Each thread takes n/T consecutive observations (the last one the rest) in
// blocks of min(max(64, ⌊262144 / R⌋), n/T) observations, R being the bytes
// of one observation across the p variables (doubled with weights): a block
// stays in a 256 KiB working set.  Per block and variable: the mean and
// central sums by two passes over each cached chunk of it (block_sums.h);
// raw sums from the central ones; cross sums by a BLAS rank-k update of the
// block centred on its means (one variable's cross sum is its central sum).
// Blocks merge into the thread's running sums, threads into the task's
// (moments.h).  Sums are kept in double for both precisions.
#include <algorithm>
#include <new>
#include <type_traits>

#include "qor/qor_linalg.h"
#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/basic_from_sums.h"
#include "stats/basic_rebuild.h"
#include "stats/basic_state.h"
#include "stats/block_sums.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

constexpr int64_t kWorkingSetBytes = 262144;
constexpr int64_t kLeastBlock = 64;
// A thread is worth starting for this many values or more.
constexpr int64_t kLeastValuesPerThread = 32768;
constexpr size_t kAlignDoubles = 16;  // 128 bytes

size_t aligned(size_t doubles) { return (doubles + kAlignDoubles - 1) / kAlignDoubles * kAlignDoubles; }

// One thread's scratch, carved out of the call's buffer.
struct Scratch {
    Moments block;        // the current block's sums
    double* gathered;     // q × b, the block by variable, when the layout or a cross sum needs it
    double* weighted;     // q × b, the centred block times the weights, for weighted cross sums
    double* weights;      // b weights as double, for float data that is gathered
};

template <class T>
struct Job {
    const T* obs;
    const T* weights;
    int64_t p, n;
    bool variables_in_rows;
    const int64_t* vars;
    int64_t q;
    Tracked tracked;
    bool mean_supplied;
    bool gather;
    int64_t block;
    int threads;
    Scratch* scratch;
    Moments* running;  // per thread
};

// The sums of one variable's values over a block, into slot k of the
// block's sums: around the block's own mean (block_sums.h), or around the
// supplied mean, where the first-order sum S1 stays.  The raw sums follow
// from the central ones around the mean m:
//   R2 = W·m² + 2m·S1 + S2,  R3 = W·m³ + 3m²·S1 + 3m·S2 + S3,
//   R4 = W·m⁴ + 4m³·S1 + 6m²·S2 + 4m·S3 + S4.
template <class T, class X>
void block_variable(const Job<T>& job, Scratch& s, int64_t k, const X* x, const X* w, int64_t count, double w1) {
    const Tracked& t = job.tracked;
    const Moments& b = s.block;
    // One variable's cross sum is its central sum of order 2.
    const bool lone_cross = t.cross && job.q == 1;
    const int order = std::max({t.central_order, t.raw_order, lone_cross ? 2 : 0});
    double sum = 0, mean, tail = 0, p[4] = {};  // S1 .. S4 around the mean
    if (job.mean_supplied) {
        mean = job.running[0].mean()[k];
        if (t.raw_order >= 1) sum = block_sum(x, w, count);
        if (order >= 1) block_central_sums(x, w, count, mean, order, p);
    } else {
        VariableSums v;
        block_moments(x, w, count, order, v);
        sum = v.sum;
        mean = v.mean;
        tail = v.mean_tail;
        std::copy(v.central, v.central + 3, p + 1);
    }
    b.mean()[k] = mean;
    b.mean_tail()[k] = tail;
    for (int o = 2; o <= t.central_order; ++o) b.central(o)[k] = p[o - 1];
    if (lone_cross) b.cross()[0] = p[1];
    const double m = mean, m2 = m * m;
    if (t.raw_order >= 1) b.raw(1)[k] = sum;
    if (t.raw_order >= 2) b.raw(2)[k] = w1 * m2 + 2 * m * p[0] + p[1];
    if (t.raw_order >= 3) b.raw(3)[k] = w1 * m2 * m + 3 * m2 * p[0] + 3 * m * p[1] + p[2];
    if (t.raw_order >= 4) b.raw(4)[k] = w1 * m2 * m2 + 4 * m2 * m * p[0] + 6 * m2 * p[1] + 4 * m * p[2] + p[3];
}

// Cross sums of the gathered block around the block means: Dᵀ·D, or
// Dᵀ·(w∘D) with weights, D the centred columns.
void block_cross(const Scratch& s, int64_t q, int64_t count, const double* w) {
    const Moments& b = s.block;
    for (int64_t k = 0; k < q; ++k) {
        double* column = s.gathered + k * count;
        const double centre = b.mean()[k];
        for (int64_t j = 0; j < count; ++j) column[j] -= centre;
    }
    const int n = static_cast<int>(q), kk = static_cast<int>(count);
    const double one = 1.0, zero = 0.0;
    if (!w) {
        qor_dsyrk("U", "T", &n, &kk, &one, s.gathered, &kk, &zero, b.cross(), &n);
        return;
    }
    for (int64_t k = 0; k < q; ++k)
        for (int64_t j = 0; j < count; ++j) s.weighted[k * count + j] = s.gathered[k * count + j] * w[j];
    qor_dgemm("T", "N", &n, &n, &kk, &one, s.gathered, &kk, s.weighted, &kk, &zero, b.cross(), &n);
}

template <class T>
void run_block(const Job<T>& job, Scratch& s, const Moments& running, int64_t first, int64_t count) {
    const T* w = job.weights ? job.weights + first : nullptr;
    double w1, w2;
    block_weights(w, count, w1, w2);
    s.block.w1() = w1;
    s.block.w2() = w2;
    if (w1 != 0) {
        if (!job.gather) {
            for (int64_t k = 0; k < job.q; ++k)
                block_variable(job, s, k, job.obs + job.vars[k] * job.n + first, w, count, w1);
        } else {
            double* g = s.gathered;
            if (job.variables_in_rows) {
                for (int64_t k = 0; k < job.q; ++k) {
                    const T* x = job.obs + job.vars[k] * job.n + first;
                    for (int64_t j = 0; j < count; ++j) g[k * count + j] = x[j];
                }
            } else {
                // Transposed in tiles of eight rows, so that each variable's
                // writes fill whole cache lines.
                constexpr int64_t kTile = 8;
                for (int64_t j0 = 0; j0 < count; j0 += kTile) {
                    const int64_t rows = std::min(kTile, count - j0);
                    const T* tile = job.obs + (first + j0) * job.p;
                    for (int64_t k = 0; k < job.q; ++k) {
                        const T* x = tile + job.vars[k];
                        double* out = g + k * count + j0;
                        for (int64_t r = 0; r < rows; ++r) out[r] = x[r * job.p];
                    }
                }
            }
            const double* wd = nullptr;
            if constexpr (std::is_same_v<T, double>) {
                wd = w;
            } else if (w) {
                for (int64_t j = 0; j < count; ++j) s.weights[j] = w[j];
                wd = s.weights;
            }
            for (int64_t k = 0; k < job.q; ++k) block_variable(job, s, k, g + k * count, wd, count, w1);
            if (job.tracked.cross && job.q > 1) block_cross(s, job.q, count, wd);
        }
    }
    merge(running, s.block, job.tracked);
}

template <class T>
void run_thread(int t, int, void* context) {
    const Job<T>& job = *static_cast<const Job<T>*>(context);
    const int64_t share = job.n / job.threads;
    const int64_t first = t * share, last = t == job.threads - 1 ? job.n : first + share;
    for (int64_t j = first; j < last; j += job.block)
        run_block(job, job.scratch[t], job.running[t], j, std::min(job.block, last - j));
}

int thread_count(const qor_threading* threading, int64_t n, int64_t q) {
    const int limit = thread_limit(threading);
    const int64_t worth = std::max<int64_t>(1, n * q / kLeastValuesPerThread);
    return static_cast<int>(std::min<int64_t>(limit, worth));
}

template <class T>
int32_t basic_from_observations(SSTask& task, const BasicPlan& plan, const qor_threading* threading) {
    int64_t p, n, storage;
    if (!read_int(task, task.dim, p) || p < 1) return SS_ERR_DIM;
    if (!read_int(task, task.obs_count, n) || n < 1) return SS_ERR_OBS_COUNT;
    if (!task.obs) return SS_ERR_OBS;
    if (!read_int(task, task.obs_storage, storage)) return SS_ERR_STORAGE;
    bool variables_in_rows;
    if (storage & SS_OBS_VARIABLES_IN_ROWS) variables_in_rows = true;
    else if (storage & SS_OBS_OBSERVATIONS_IN_ROWS) variables_in_rows = false;
    else return SS_ERR_OBS_STORAGE;
    if (!task.acc_weights) return SS_ERR_ACC_WEIGHTS;
    // Central sums around a supplied mean read it, whatever else is asked.
    if (plan.method == MethodClass::kSuppliedMean && !task.mean) return SS_ERR_MEAN;
    if (p == 1) variables_in_rows = true;  // one variable: the layouts coincide

    Results<T> results(task, p);
    if (const int32_t status = results.read_storage(plan.needed); status != SS_OK) return status;

    int64_t q = 0;
    for (int64_t i = 0; i < p; ++i) q += variable_selected(task, i);
    if (q == 0) return SS_OK;

    const Tracked tracked = tracked_for(plan.needed);
    const bool weighted = task.weights != nullptr;
    const bool gather = !variables_in_rows || (tracked.cross && q > 1);
    const int threads = thread_count(threading, n, q);
    const int64_t row_bytes = static_cast<int64_t>(sizeof(T)) * p * (weighted ? 2 : 1);
    const int64_t fitting = row_bytes > kWorkingSetBytes ? 0 : kWorkingSetBytes / row_bytes;
    const int64_t block = std::max<int64_t>(1, std::min(std::max(kLeastBlock, fitting), n / threads));

    // One buffer for the call: the variable numbers, then per thread its
    // block sums, running sums (all but thread 0), gathered block, weighted
    // block and widened weights.
    const size_t sums = aligned(Moments::doubles(q, tracked.cross));
    const size_t matrix = gather ? aligned(static_cast<size_t>(q * block)) : 0;
    const size_t per_thread = 2 * sums + matrix * (tracked.cross && weighted ? 2 : 1) +
                              (gather && weighted && !std::is_same_v<T, double> ? aligned(block) : 0);
    const size_t head = aligned(static_cast<size_t>(q)) + aligned((sizeof(Scratch) + sizeof(Moments)) * threads / 8 + 1);
    auto* buffer = static_cast<double*>(qor_serv_allocate(sizeof(double) * (head + per_thread * threads), 128));
    if (!buffer) return SS_ERR_NO_MEMORY;
    auto* vars = reinterpret_cast<int64_t*>(buffer);
    list_selected(task, p, vars);
    results.select(vars);
    auto* scratch = reinterpret_cast<Scratch*>(buffer + aligned(static_cast<size_t>(q)));
    auto* running = reinterpret_cast<Moments*>(scratch + threads);
    for (int t = 0; t < threads; ++t) {
        new (&scratch[t]) Scratch{};
        new (&running[t]) Moments{};
    }

    StateShape shape{p, q, vars, task.precision, plan.method, tracked.cross};
    BasicState state;
    if (!state.open(task, shape)) {
        qor_serv_deallocate(buffer);
        return SS_ERR_NO_MEMORY;
    }
    const T* acc = static_cast<const T*>(task.acc_weights);
    const double w1 = acc[0], w2 = acc[1];
    const Moments total = state.moments();
    const bool continues = state.continues(w1, w2);
    if (!continues) total.clear();
    total.w1() = w1;
    total.w2() = w2;
    int32_t status = SS_OK;
    if (w1 != 0) status = rebuild_sums(results, plan.needed, continues ? state.tracked() : Tracked{}, tracked, total);
    if (plan.method == MethodClass::kSuppliedMean)
        for (int64_t k = 0; k < q; ++k) total.mean()[k] = results.get(kMean, k);
    if (status != SS_OK) {
        state.abandon();
        qor_serv_deallocate(buffer);
        return status;
    }

    double* next = buffer + head;
    for (int t = 0; t < threads; ++t) {
        Scratch& s = scratch[t];
        s.block = Moments(next, q, tracked.cross);
        next += sums;
        running[t] = t == 0 ? total : Moments(next, q, tracked.cross);
        if (t > 0) {
            running[t].clear();
            if (plan.method == MethodClass::kSuppliedMean) std::copy(total.mean(), total.mean() + q, running[t].mean());
        }
        next += sums;
        s.gathered = gather ? next : nullptr;
        next += matrix;
        s.weighted = tracked.cross && weighted ? next : nullptr;
        next += tracked.cross && weighted ? matrix : 0;
        s.weights = gather && weighted && !std::is_same_v<T, double> ? next : nullptr;
        next += s.weights ? aligned(block) : 0;
    }
    const Job<T> job{static_cast<const T*>(task.obs), static_cast<const T*>(task.weights), p, n, variables_in_rows,
                     vars, q, tracked, plan.method == MethodClass::kSuppliedMean, gather, block, threads, scratch,
                     running};
    if (threads > 1)
        threading->parallel_for(threads, threads, const_cast<Job<T>*>(&job), run_thread<T>);
    else
        run_thread<T>(0, 1, const_cast<Job<T>*>(&job));
    for (int t = 1; t < threads; ++t) merge(total, running[t], tracked);

    write_estimates(results, plan.needed, plan.method == MethodClass::kSuppliedMean, total);
    T* acc_out = static_cast<T*>(task.acc_weights);
    acc_out[0] = static_cast<T>(total.w1());
    acc_out[1] = static_cast<T>(total.w2());
    state.install(task, tracked, acc_out[0], acc_out[1]);
    qor_serv_deallocate(buffer);
    return SS_OK;
}

template <class T>
int32_t basic(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading) {
    if (!task) return SS_ERR_TASK;
    BasicPlan plan;
    if (const int32_t status = plan_basic(*task, estimates, method, plan); status != SS_OK) return status;
    if (plan.method == MethodClass::kSums) return basic_from_sums<T>(*task, plan);
    return basic_from_observations<T>(*task, plan, threading);
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSBasic, qor::ss::basic)
