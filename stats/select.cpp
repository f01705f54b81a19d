// Quickselect on keys: a branch-free Lomuto partition around the median of
// three keys (of three medians of three on large parts), narrowed to the
// side that holds place k.  A place at either end of a part is found by one scan for
// the minimum or maximum.  After 2·log2(n) partitions without an end the
// rest goes to the standard library's selection, which bounds the worst case.
//
// __rixdQSortSelect and __rixsQSortSelect run it on the caller's values,
// turned into keys in place and back, so NaNs count as the largest values
// and -0.0 as smaller than +0.0, as in the sort.
#include "stats/select.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

#include "qor/qor_ss.h"

namespace qor::ss {
namespace {

constexpr int64_t kInsertionBelow = 16;
constexpr int64_t kNintherFrom = 1024;

template <class AK>
void order3(AK* a, int64_t i, int64_t j, int64_t k) {
    if (a[j] < a[i]) std::swap(a[i], a[j]);
    if (a[k] < a[j]) std::swap(a[j], a[k]);
    if (a[j] < a[i]) std::swap(a[i], a[j]);
}

// Leaves the pivot, a median of three or a ninther, at a[lo].
template <class AK>
void place_pivot(AK* a, int64_t lo, int64_t hi) {
    const int64_t n = hi - lo, mid = lo + n / 2;
    if (n >= kNintherFrom) {
        const int64_t s = n / 8;
        order3(a, lo, lo + s, lo + 2 * s);
        order3(a, mid - s, mid, mid + s);
        order3(a, hi - 1 - 2 * s, hi - 1 - s, hi - 1);
        order3(a, lo + s, mid, hi - 1 - s);
    } else {
        order3(a, lo, mid, hi - 1);
    }
    std::swap(a[lo], a[mid]);
}

// Moves the keys of (lo, hi) for which before(key, pivot) holds ahead of
// the others, the pivot being a[lo], without a branch per key; then puts the
// pivot between the two groups and returns its place.
template <class AK, class Before>
int64_t partition(AK* a, int64_t lo, int64_t hi, Before before) {
    const AK pivot = a[lo];
    int64_t b = lo + 1;
    for (int64_t i = lo + 1; i < hi; ++i) {
        const AK x = a[i];
        a[i] = a[b];
        a[b] = x;
        b += before(x, pivot);
    }
    std::swap(a[lo], a[b - 1]);
    return b - 1;
}

// Within [lo, hi) every key is at least a[lo - 1] (when lo > 0): the keys
// before a part never exceed it.  A pivot equal to a[lo - 1] is therefore the
// part's minimum, and all keys equal to it are set aside in one partition,
// so runs of ties cost one pass.
template <class AK>
void select_in(AK* a, int64_t lo, int64_t hi, int64_t k) {
    int budget = 2 * std::bit_width(static_cast<uint64_t>(hi - lo));
    while (hi - lo > kInsertionBelow) {
        if (k == lo) {
            std::swap(a[lo], *std::min_element(a + lo, a + hi));
            return;
        }
        if (k == hi - 1) {
            std::swap(a[hi - 1], *std::max_element(a + lo, a + hi));
            return;
        }
        if (--budget < 0) {
            std::nth_element(a + lo, a + k, a + hi);
            return;
        }
        place_pivot(a, lo, hi);
        if (lo > 0 && !(a[lo - 1] < a[lo])) {
            const int64_t j = partition(a, lo, hi, [](AK x, AK pivot) { return !(pivot < x); });
            if (k <= j) return;
            lo = j + 1;
            continue;
        }
        const int64_t j = partition(a, lo, hi, [](AK x, AK pivot) { return x < pivot; });
        if (k == j) return;
        if (k < j) hi = j;
        else lo = j + 1;
    }
    for (int64_t i = lo + 1; i < hi; ++i)
        for (int64_t j = i; j > lo && a[j] < a[j - 1]; --j) std::swap(a[j], a[j - 1]);
}

template <class AK>
void select_places_in(AK* a, int64_t lo, int64_t hi, const int64_t* places, int64_t count) {
    while (count > 0) {
        const int64_t m = count / 2, k = places[m];
        select_in(a, lo, hi, k);
        select_places_in(a, lo, k, places, m);
        lo = k + 1;
        places += m + 1;
        count -= m + 1;
    }
}

template <class T>
T select_values(T* values, int64_t n, int64_t k) {
    if (!values || k < 0 || k >= n) return std::numeric_limits<T>::quiet_NaN();
    auto* keys = as_keys(values);
    for (int64_t i = 0; i < n; ++i) keys[i].v = to_key(values[i]);
    select_in(keys, 0, n, k);
    for (int64_t i = 0; i < n; ++i) values[i] = from_key<T>(keys[i].v);
    return values[k];
}

}  // namespace

void select_key(KeyCell64* keys, int64_t n, int64_t k) { select_in(keys, 0, n, k); }
void select_key(KeyCell32* keys, int64_t n, int64_t k) { select_in(keys, 0, n, k); }
void select_places(KeyCell64* keys, int64_t n, const int64_t* places, int64_t count) {
    select_places_in(keys, 0, n, places, count);
}
void select_places(KeyCell32* keys, int64_t n, const int64_t* places, int64_t count) {
    select_places_in(keys, 0, n, places, count);
}

}  // namespace qor::ss

QOR_EXTERN_C {

QOR_SS_API double __rixdQSortSelect(double* values, int64_t n, int64_t k) {
    return qor::ss::select_values(values, n, k);
}

QOR_SS_API float __rixsQSortSelect(float* values, int64_t n, int64_t k) {
    return qor::ss::select_values(values, n, k);
}

}
