// The batch workers of the search entry.  A batch goes to the strategy's
// kernel in blocks of kBlock sites, through a work buffer from the core's
// allocator that holds, for one block:
//   - the per-site flags of a user-defined search, zeroed before every
//     block, since the entry's caller has no flag array to hand over;
//   - the cells in 32 bits before widening, when the caller wants 64-bit
//     cells of a partition that fits 32-bit indexes: the 32-bit forms of
//     the kernels work four floats or two doubles per vector.
// A batch that needs neither (32-bit cells, or a partition too large for
// them, with a strategy of the task's own) is searched straight into the
// caller's cells.  A sorted batch carries the running start index from
// block to block, so that the blocks give what one kernel call would.
#include "fit/search_batch.h"

#include <algorithm>
#include <cstring>

#include "fit/search/search_common.h"
#include "qor/qor_serv.h"

namespace qor::kp {
namespace {

constexpr int64_t kBlock = 4096;

// The blocks in integer C, searched where `store` says (the caller's cells
// or the buffer) and finished by it.
template <class T, class C, class Store>
int32_t blocks(const SearchPlan<T>& plan, int64_t nsite, const T* site, C* buffer, int32_t* flag, Store store) {
    C start = 0;
    int32_t status = 0;
    for (int64_t b = 0; b < nsite; b += kBlock) {
        const int64_t n = std::min(kBlock, nsite - b);
        if (flag) std::memset(flag, 0, static_cast<size_t>(n) * sizeof *flag);
        status = search_sites(plan, n, site + b, store.target(buffer, b), &start, flag);
        if (status < 0) return status;
        store.finish(buffer, b, n);
    }
    return status;
}

// Cells searched straight into the caller's array.
template <class C>
struct Direct {
    C* out;
    C* target(C*, int64_t b) const { return out + b; }
    void finish(C*, int64_t, int64_t) const {}
};
// 32-bit cells in the buffer, widened into the caller's 64-bit array.
struct Widen {
    int64_t* out;
    int32_t* target(int32_t* buffer, int64_t) const { return buffer; }
    void finish(int32_t* buffer, int64_t b, int64_t n) const {
        for (int64_t k = 0; k < n; ++k) out[b + k] = buffer[k];
    }
};

template <class T, Strategy S>
int32_t batch_worker(const SearchPlan<T>& plan, int64_t nsite, const T* site, uint32_t width, void* cell) {
    constexpr bool kUser = is_user_defined(S);
    const bool widen = width && plan.nx <= search::kMaxNx32;
    const int64_t block = std::min(kBlock, nsite);
    const size_t flag_bytes = kUser ? static_cast<size_t>(block) * sizeof(int32_t) : 0;
    const size_t bytes = flag_bytes + (widen ? static_cast<size_t>(block) * sizeof(int32_t) : 0);
    void* buffer = nullptr;
    if (bytes && !(buffer = qor_serv_allocate(bytes, kTaskAlignment))) return statusNoMemory;
    auto* flag = kUser ? static_cast<int32_t*>(buffer) : nullptr;
    auto* narrow = reinterpret_cast<int32_t*>(static_cast<char*>(buffer) + flag_bytes);
    int32_t status;
    if (widen) status = blocks(plan, nsite, site, narrow, flag, Widen{static_cast<int64_t*>(cell)});
    else if (width) status = blocks<T, int64_t>(plan, nsite, site, nullptr, flag, Direct<int64_t>{(int64_t*)cell});
    else status = blocks<T, int32_t>(plan, nsite, site, nullptr, flag, Direct<int32_t>{(int32_t*)cell});
    if (buffer) qor_serv_deallocate(buffer);
    return status;
}

}  // namespace

#define QOR_FIT_BATCH_WORKERS(T)                                                                      \
    {batch_worker<T, Strategy::Uniform>, batch_worker<T, Strategy::QuasiUniform>,                       \
     batch_worker<T, Strategy::Sorted>,  batch_worker<T, Strategy::Peak>,                               \
     batch_worker<T, Strategy::Hybrid>,  batch_worker<T, Strategy::UserDef>,                            \
     batch_worker<T, Strategy::UniUserDef>}
const SearchBatchWorker<float> kSearchBatchWorkersS[kStrategyCount] = QOR_FIT_BATCH_WORKERS(float);
const SearchBatchWorker<double> kSearchBatchWorkersD[kStrategyCount] = QOR_FIT_BATCH_WORKERS(double);

}  // namespace qor::kp
