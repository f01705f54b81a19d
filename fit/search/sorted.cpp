// Ascending sites: each walk starts where the previous site's ended, and the
// running start index is handed back for the next call.  The first site may
// skip to the upper half of the partition by a coarse bisection.  A site
// below the previous one keeps the previous cell when x[start] is above it:
// the walk never goes down.  The last breakpoint (cell nx-1) and NaN sites
// (cell 0) leave the start index as it is.
#include <limits>

#include "fit/search/search_common.h"

namespace qor::kp::search {
namespace {

// Whether the four sites t[0..3] are all below `bound` (false for NaN).
inline bool four_below(const float* t, float bound) {
    return _mm_movemask_ps(_mm_cmplt_ps(_mm_loadu_ps(t), _mm_set1_ps(bound))) == 0xF;
}
inline bool four_below(const double* t, double bound) {
    const __m128d b = _mm_set1_pd(bound);
    return (_mm_movemask_pd(_mm_cmplt_pd(_mm_loadu_pd(t), b)) &
            _mm_movemask_pd(_mm_cmplt_pd(_mm_loadu_pd(t + 2), b))) == 3;
}

// How many of x[0..3] are not above t (none for NaN), without a branch.
inline int count4(const float* x, float t) {
    return __builtin_popcount(_mm_movemask_ps(_mm_cmple_ps(_mm_loadu_ps(x), _mm_set1_ps(t))));
}
inline int count4(const double* x, double t) {
    const __m128d v = _mm_set1_pd(t);
    return __builtin_popcount(_mm_movemask_pd(_mm_cmple_pd(_mm_loadu_pd(x), v)) |
                              (_mm_movemask_pd(_mm_cmple_pd(_mm_loadu_pd(x + 2), v)) << 2));
}

template <class T, class I, class O, class S>
int32_t sorted_search(int64_t nx, const T* x, int64_t nsite, const T* site, S* start, O* cell) {
    if (nsite < 1) return 0;
    const I n = static_cast<I>(nx), half = n / 2;
    const T xl = x[nx - 1];
    I s = static_cast<I>(std::clamp<int64_t>(*start, 0, nx));
    // x[s] while s < nx: a site below it is in cell s, the walk would stop
    // at once.  At s == nx the walk is taken (it ends at once too), so that
    // the last breakpoint and NaN are still told apart there.
    T bound = s < n ? x[s] : -std::numeric_limits<T>::infinity();
    for (int64_t i = 0; i < nsite; ++i) {
        // Runs of sites in one cell, four at a time.
        for (; i + 4 <= nsite && four_below(site + i, bound); i += 4)
            for (int k = 0; k < 4; ++k) cell[i + k] = static_cast<O>(s);
        if (i == nsite) break;
        const T t = site[i];
        // A short step within the partition: the next four breakpoints
        // counted at once (none when t is below x[s]), a NaN site (counting
        // none) in cell 0.
        if (i > 0 && !(t >= xl) && s + 4 <= n) {
            const I c = static_cast<I>(count4(x + s, t));
            if (c < 4) {
                s += c;
                bound = x[s];
                cell[i] = static_cast<O>(t == t ? s : 0);
                continue;
            }
        }
        if (t < bound) {
            cell[i] = static_cast<O>(s);
            continue;
        }
        if (t == xl) {
            cell[i] = static_cast<O>(n - 1);
            continue;
        }
        if (t != t) {
            cell[i] = 0;
            continue;
        }
        I lo = s;
        if (i == 0 && s < n - half)
            for (I hi = n; hi - lo > half;) {
                const I mid = lo + (hi - lo) / 2;
                if (x[mid] > t) hi = mid;
                else lo = mid;
            }
        s = walk_up(x, n, lo, t);
        bound = s < n ? x[s] : -std::numeric_limits<T>::infinity();
        cell[i] = static_cast<O>(s);
    }
    *start = static_cast<S>(s);
    return 0;
}

}  // namespace
}  // namespace qor::kp::search

using qor::kp::search::kMaxNx32;
using qor::kp::search::sorted_search;

#define QOR_KP_DEFINE_SORTED_SEARCH(p, T)                                                                     \
    QOR_EXTERN_C QOR_KP_API int32_t qor_kp_kernel_##p##KPSortedSearch1D32(int64_t nx, const T* x, int64_t nsite, \
                                                                          const T* site, int32_t* start,       \
                                                                          int32_t* cell) {                     \
        return sorted_search<T, int32_t>(nx, x, nsite, site, start, cell);                                    \
    }                                                                                                         \
    QOR_EXTERN_C QOR_KP_API int32_t qor_kp_kernel_##p##KPSortedSearch1D64(int64_t nx, const T* x, int64_t nsite, \
                                                                          const T* site, int64_t* start,       \
                                                                          int64_t* cell) {                     \
        return sorted_search<T, int64_t>(nx, x, nsite, site, start, cell);                                    \
    }                                                                                                         \
    QOR_EXTERN_C QOR_KP_API int32_t qor_kp_kernel_##p##KPSortedSearch1D64Pack(                                \
        int64_t nx, const T* x, int64_t nsite, const T* site, int64_t* start, int64_t* cell) {                \
        return sorted_search<T, int32_t>(nx, x, nsite, site, start, cell);                                    \
    }                                                                                                         \
    QOR_EXTERN_C QOR_KP_API int32_t qor_kp_kernel_##p##KPSortedSearch1D(                                      \
        uint32_t indexWidth, int64_t nx, const T* x, int64_t nsite, const T* site, void* start, void* cell) { \
        if (!indexWidth)                                                                                      \
            return sorted_search<T, int32_t>(nx, x, nsite, site, (int32_t*)start, (int32_t*)cell);            \
        if (nx <= kMaxNx32) return sorted_search<T, int32_t>(nx, x, nsite, site, (int64_t*)start, (int64_t*)cell); \
        return sorted_search<T, int64_t>(nx, x, nsite, site, (int64_t*)start, (int64_t*)cell);                \
    }

QOR_KP_DEFINE_SORTED_SEARCH(s, float)
QOR_KP_DEFINE_SORTED_SEARCH(d, double)
