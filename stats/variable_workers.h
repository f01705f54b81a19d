// Per-variable work of the statistics estimators on the caller's threading
// services: the list of selected variables, the number of threads, and one
// call of a body per worker, each worker with its own slice of one buffer.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "qor/qor_ss.h"
#include "stats/task_internal.h"

namespace qor::ss {

// The thread limit of the services; 1 without them.
inline int thread_limit(const qor_threading* threading) {
    if (!threading || !threading->parallel_for || !threading->get_num_threads_limit) return 1;
    return std::max(1, threading->get_num_threads_limit());
}

// Writes the numbers of the selected variables among p to `vars`; returns
// how many there are.
inline int64_t list_selected(const SSTask& task, int64_t p, int64_t* vars) {
    int64_t q = 0;
    for (int64_t i = 0; i < p; ++i)
        if (variable_selected(task, i)) vars[q++] = i;
    return q;
}

// Bytes of `count` elements of `size` bytes rounded up to the alignment of
// the family's buffers; false when that does not fit in a size_t.
inline bool aligned_bytes(int64_t count, size_t size, size_t& bytes) {
    if (count < 0 || __builtin_mul_overflow(static_cast<size_t>(count), size, &bytes)) return false;
    if (bytes > SIZE_MAX - kTaskAlignment) return false;
    bytes = (bytes + kTaskAlignment - 1) / kTaskAlignment * kTaskAlignment;
    return true;
}

// body(w) for every worker w in [0, workers), through the parallel-for when
// there are several.
template <class Body>
void run_workers(const qor_threading* threading, int workers, Body& body) {
    if (workers <= 1) {
        body(0);
        return;
    }
    threading->parallel_for(workers, workers, &body,
                            [](int w, int, void* context) { (*static_cast<Body*>(context))(w); });
}

}  // namespace qor::ss
