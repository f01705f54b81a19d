#include "stats/robust_state.h"

#include <cstdint>

#include "qor/qor_serv.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

// The buffer's head.  The count comes first, so a task of either integer
// width reads it (the low half of a little-endian int64_t is the int32_t).
struct DistanceHead {
    int64_t count;
    uint64_t mark;   // kMark: the words name this library's buffer
    int64_t bytes;   // room for values after the head
    int64_t unused;
};
constexpr uint64_t kMark = 0x71726f6275737464;  // "qrobustd"
static_assert(sizeof(DistanceHead) == 32);

// The head the task's words name, if they name one of ours: the values
// right after a marked head.
DistanceHead* held(const SSTask& task) {
    const uint64_t count = task.mahal_inputs[SS_MAHAL_DISTANCE_COUNT];
    if (!count || task.mahal_inputs[SS_MAHAL_DISTANCES] != count + sizeof(DistanceHead)) return nullptr;
    auto* head = reinterpret_cast<DistanceHead*>(static_cast<uintptr_t>(count));
    return head->mark == kMark ? head : nullptr;
}

void release_distances(SSTask* task) {
    if (DistanceHead* head = held(*task)) {
        head->mark = 0;
        qor_serv_deallocate(head);
        task->mahal_inputs[SS_MAHAL_DISTANCES] = task->mahal_inputs[SS_MAHAL_DISTANCE_COUNT] = 0;
    }
}

}  // namespace

template <class T>
T* robust_distances(SSTask& task, int64_t n) {
    size_t bytes = 0;
    if (!aligned_bytes(n, sizeof(T), bytes)) return nullptr;
    DistanceHead* head = held(task);
    if (!head || head->bytes < static_cast<int64_t>(bytes)) {
        if (add_cleanup(task, release_distances) != SS_OK) return nullptr;
        auto* grown = static_cast<DistanceHead*>(qor_serv_allocate(sizeof(DistanceHead) + bytes, kTaskAlignment));
        if (!grown) return nullptr;
        release_distances(&task);
        head = grown;
        head->mark = kMark;
        head->bytes = static_cast<int64_t>(bytes);
        task.mahal_inputs[SS_MAHAL_DISTANCE_COUNT] = reinterpret_cast<uintptr_t>(head);
        task.mahal_inputs[SS_MAHAL_DISTANCES] = reinterpret_cast<uintptr_t>(head + 1);
    }
    head->count = n;
    return reinterpret_cast<T*>(head + 1);
}

template double* robust_distances<double>(SSTask&, int64_t);
template float* robust_distances<float>(SSTask&, int64_t);

}  // namespace qor::ss
