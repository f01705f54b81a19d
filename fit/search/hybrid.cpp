// Arbitrary breakpoints with the task's search table: the site's bin gives a
// bracket (lo, hi) of its cell; a wide bracket is bisected down to at most 20
// candidates, which are counted with vector compares over a fixed window of
// 20 breakpoints (two doubles or four floats per compare), all of them, so
// that no branch depends on where the count stops.
#include "fit/search/search_common.h"

namespace qor::kp::search {
namespace {

constexpr int64_t kCountLimit = 20;

// The number of x[0 .. 19] not greater than t, without a branch: the lane
// masks (all bits set, that is -1) are summed.
inline int count_not_above(const double* x, double t) {
    const __m128d v = _mm_set1_pd(t);
    __m128i sum = _mm_setzero_si128();
    for (int k = 0; k < kCountLimit; k += 2)
        sum = _mm_sub_epi64(sum, _mm_castpd_si128(_mm_cmple_pd(_mm_loadu_pd(x + k), v)));
    return static_cast<int>(_mm_cvtsi128_si64(sum) + _mm_extract_epi64(sum, 1));
}
inline int count_not_above(const float* x, float t) {
    const __m128 v = _mm_set1_ps(t);
    __m128i sum = _mm_setzero_si128();
    for (int k = 0; k < kCountLimit; k += 4)
        sum = _mm_sub_epi32(sum, _mm_castps_si128(_mm_cmple_ps(_mm_loadu_ps(x + k), v)));
    sum = _mm_add_epi32(sum, _mm_srli_si128(sum, 8));
    return _mm_cvtsi128_si32(_mm_add_epi32(sum, _mm_srli_si128(sum, 4)));
}

// The bracket of t's cell from its bin: x[lo] <= t < x[hi].  The sites
// that need no search (outside the partition, the last breakpoint, NaN) get
// lo = hi = their cell.
template <class T, class I>
[[gnu::always_inline]] inline void bracket(const T* x, I nx, T t, T bin_scale, const int64_t* table, I& lo, I& hi) {
    const T xl = x[nx - 1];
    if (t == xl) lo = hi = nx - 1;
    else if (!(t >= x[0])) lo = hi = 0;  // below the partition, or NaN
    else if (t > xl) lo = hi = nx;
    else {
        // A bin index far beyond any table, or NaN, comes only from
        // breakpoints that are not finite (t - x[0] overflowing, a last
        // breakpoint NaN): such a site brackets the whole partition.
        const T u = (t - x[0]) * bin_scale;
        if (!(u < T(0x1p62))) {
            lo = 0, hi = nx - 1;
            return;
        }
        const int64_t b = truncate64(u);
        lo = static_cast<I>(table[2 * b]), hi = static_cast<I>(table[2 * b + 1]);
    }
}

// One halving of a bracket wider than the count takes; none otherwise.
// Returns whether it halved.  Without a branch: the halving's direction is
// data, a branch on it would be mispredicted half the time.
template <class T, class I>
[[gnu::always_inline]] inline bool halve(const T* x, T t, I& lo, I& hi) {
    const I wide = lo < hi - kCountLimit;             // 0 or 1
    const I half = ((hi - lo) >> 1) & -wide;
    const I mid = lo + half;
    const I above = static_cast<I>(x[mid] > t) & wide;
    hi -= (hi - mid) & -above;
    lo += half & -(wide - above);
    return wide;
}

template <class T, class I>
[[gnu::always_inline]] inline I count(const T* x, I nx, T t, I lo, I hi) {
    if (hi - lo <= 1) return hi;  // the bracket alone decides
    // hi - lo <= 20: count the breakpoints not above t in a window of 20
    // that holds x[lo .. hi-1] and stays in the partition.  Those before lo
    // are below x[lo] <= t and those from hi on above t, so the window may
    // reach past the bracket either way.
    if (nx < kCountLimit) return walk_up(x, hi, lo, t);
    const I base = std::min<I>(lo, nx - kCountLimit);
    return base + count_not_above(x + base, t);
}

// On a partition large enough for bisections (the table has at most 1024
// bins), sites go in groups of kGroup whose bisections advance in lockstep,
// so that their breakpoint loads overlap.
constexpr int kGroup = 8;
constexpr int64_t kGroupedFrom = 32768;

template <class T, class I, class O>
int32_t hybrid_search(int64_t nx, const T* x, int64_t nsite, const T* site, T bin_scale, const int64_t* table,
                      O* cell) {
    const I n = static_cast<I>(nx);
    int64_t i = 0;
    for (; nx >= kGroupedFrom && i + kGroup <= nsite; i += kGroup) {
        I lo[kGroup], hi[kGroup];
        for (int k = 0; k < kGroup; ++k) bracket(x, n, site[i + k], bin_scale, table, lo[k], hi[k]);
        for (bool wide = true; wide;) {
            wide = false;
            for (int k = 0; k < kGroup; ++k) wide |= halve(x, site[i + k], lo[k], hi[k]);
        }
        for (int k = 0; k < kGroup; ++k) cell[i + k] = static_cast<O>(count(x, n, site[i + k], lo[k], hi[k]));
    }
    for (; i < nsite; ++i) {
        I lo, hi;
        bracket(x, n, site[i], bin_scale, table, lo, hi);
        while (lo < hi - kCountLimit) halve(x, site[i], lo, hi);
        cell[i] = static_cast<O>(count(x, n, site[i], lo, hi));
    }
    return 0;
}

}  // namespace
}  // namespace qor::kp::search

using qor::kp::search::hybrid_search;
QOR_KP_DEFINE_SEARCH(s, float, Hybrid, hybrid_search, (float binScale, const int64_t* binTable),
                     (binScale, binTable))
QOR_KP_DEFINE_SEARCH(d, double, Hybrid, hybrid_search, (double binScale, const int64_t* binTable),
                     (binScale, binTable))
