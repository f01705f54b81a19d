// Arbitrary breakpoints with the task's search table: the site's bin gives a
// bracket (lo, hi) of its cell; a wide bracket is bisected down to at most 20
// candidates, which are counted two at a time.
#include "fit/search/search_common.h"

namespace qor::kp::search {
namespace {

constexpr int64_t kCountLimit = 20;

template <class T, class I>
I hybrid_cell(const T* x, I nx, T t, T bin_scale, const int64_t* table) {
    const T xl = x[nx - 1];
    if (t == xl) return nx - 1;
    if (!(t >= x[0])) return 0;  // below the partition, or NaN
    if (t > xl) return nx;
    const int64_t b = truncate64((t - x[0]) * bin_scale);
    I lo = static_cast<I>(table[2 * b]), hi = static_cast<I>(table[2 * b + 1]);
    if (hi - lo <= 1) return hi;  // the bracket alone decides
    while (lo < hi - kCountLimit) {
        const I mid = lo + (hi - lo) / 2;
        if (x[mid] > t) hi = mid;
        else lo = mid;
    }
    // x[lo] <= t < x[hi]: the first breakpoint above t from lo on.
    return walk_up(x, hi, lo, t);
}

template <class T, class I, class O>
int32_t hybrid_search(int64_t nx, const T* x, int64_t nsite, const T* site, T bin_scale, const int64_t* table,
                      O* cell) {
    for (int64_t i = 0; i < nsite; ++i)
        cell[i] = static_cast<O>(hybrid_cell(x, static_cast<I>(nx), site[i], bin_scale, table));
    return 0;
}

}  // namespace
}  // namespace qor::kp::search

using qor::kp::search::hybrid_search;
QOR_KP_DEFINE_SEARCH(s, float, Hybrid, hybrid_search, (float binScale, const int64_t* binTable),
                     (binScale, binTable))
QOR_KP_DEFINE_SEARCH(d, double, Hybrid, hybrid_search, (double binScale, const int64_t* binTable),
                     (binScale, binTable))
