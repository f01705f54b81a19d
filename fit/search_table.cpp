// The search table over the breakpoints: for each of binCount equal bins of
// [x[0], x[nx-1]], two breakpoint indexes (lo, hi) between which the cell of
// any site in the bin lies, so that a search starts from a short bracket.
#include <algorithm>

#include "fit/task_internal.h"
#include "qor/qor_serv.h"

namespace qor::kp {
namespace {

constexpr int64_t kUnset = -1;  // all bits set
constexpr int64_t kMinBins = 16, kMaxBins = 1024, kBreakpointsPerBin = 16;

// Fills pairs 0 .. binCount of `pairs` (binCount + 2 pairs) for breakpoints x
// and the bin scale binCount / (x[nx-1] - x[0]), both in precision T.
template <class T>
void fill_bins(int64_t* pairs, int64_t bins, const T* x, int64_t nx, T scale) {
    auto lo = [pairs](int64_t k) -> int64_t& { return pairs[2 * k]; };
    auto hi = [pairs](int64_t k) -> int64_t& { return pairs[2 * k + 1]; };
    std::fill(pairs, pairs + 2 * (bins + 2), kUnset);
    lo(0) = 0;
    for (int64_t i = 1; i < nx; ++i) {
        const T position = (x[i] - x[0]) * scale;
        // Bin 0 records nothing.  A breakpoint exactly at x[nx-1] falls in
        // bin binCount and writes the spare pair binCount + 1; positions
        // outside [1, binCount + 1) (breakpoints out of order, NaN) are not
        // recorded, so that the table is never written out of bounds.
        if (!(position >= T(1) && position < static_cast<T>(bins + 1))) continue;
        const auto b = static_cast<int64_t>(position);
        if (hi(b - 1) == kUnset) hi(b - 1) = i;  // the first breakpoint of bin b
        lo(b + 1) = i;                           // ends as the last breakpoint of bin b
    }
    hi(bins - 1) = nx - 1;
    for (int64_t k = 1; k < bins; ++k)
        if (lo(k) == kUnset) lo(k) = lo(k - 1);
    for (int64_t k = bins - 2; k >= 0; --k)
        if (hi(k) == kUnset) hi(k) = hi(k + 1);
    lo(bins) = lo(bins - 1);
    hi(bins) = hi(bins - 1);
}

}  // namespace

int32_t rebuild_search_table(FitTask& task) {
    qor_serv_deallocate(task.binTable);
    task.binTable = nullptr;
    task.binCount = 0;
    const int64_t bins = std::clamp(task.nx / kBreakpointsPerBin, kMinBins, kMaxBins);
    auto* pairs = static_cast<int64_t*>(qor_serv_allocate((bins + 2) * 2 * sizeof(int64_t), kTaskAlignment));
    if (!pairs) return statusNoMemory;
    with_precision(task, [&](auto zero) {
        using T = decltype(zero);
        const T* x = breakpoints<T>(task);
        const T scale = static_cast<T>(bins) / (x[task.nx - 1] - x[0]);
        if constexpr (sizeof(T) == sizeof(double)) task.binScale.d = scale;
        else task.binScale.s = scale;
        fill_bins(pairs, bins, x, task.nx, scale);
    });
    task.binTable = pairs;
    task.binCount = bins;
    return 0;
}

}  // namespace qor::kp
