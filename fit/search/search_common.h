// What the cell-search kernels share: the walks over the breakpoints (two
// breakpoints per step, one vector compare), the truncating conversions of a
// guess in the form's integer width, and the macros that export a strategy
// in its integer forms.  For the search kernels only; nothing here is
// exported by itself.
//
// Integer forms: a kernel is written once as a template over the element T
// (float or double), the integer I its cells are computed in and the integer
// O it writes.  Suffix 32 is <T, int32_t> writing int32_t, 64 is
// <T, int64_t> writing int64_t, 64Pack is <T, int32_t> writing int64_t.
// Without a suffix, indexWidth 0 takes the 32 form; otherwise 64Pack while
// the partition fits 32-bit indexes, else 64.
//
// A NaN site is in cell 0 in every kernel (the test x[0] <= t fails for it).
#pragma once

#include <nmmintrin.h>

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "qor/qor_kp.h"

namespace qor::kp::search {

// Two adjacent breakpoints p[0], p[1] in lanes 0 and 1.
inline __m128d load_pair(const double* p) { return _mm_loadu_pd(p); }
inline __m128 load_pair(const float* p) {
    return _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}

// Bit k set when lane k of the pair is greater than t (lanes 0 and 1 only).
inline int greater_mask(__m128d pair, double t) { return _mm_movemask_pd(_mm_cmpgt_pd(pair, _mm_set1_pd(t))); }
inline int greater_mask(__m128 pair, float t) { return _mm_movemask_ps(_mm_cmpgt_ps(pair, _mm_set1_ps(t))) & 3; }

// The first k in [j, end) with x[k] > t, else end.  Two breakpoints per
// step; on ascending breakpoints the mask of a pair is 0, 2 or 3.
template <class T, class I>
I walk_up(const T* x, I end, I j, T t) {
    for (; j + 1 < end; j += 2)
        if (const int m = greater_mask(load_pair(x + j), t)) return j + ((m & 1) ^ 1);
    return (j < end && x[j] > t) ? j : end;
}

// Going down from j, the first k with x[k-1] <= t (tested as the negation
// of x[k-1] > t), else 0.  Two breakpoints per step.
template <class T, class I>
I walk_down(const T* x, I j, T t) {
    for (; j >= 2; j -= 2)
        if (const int m = greater_mask(load_pair(x + j - 2), t) ^ 3) return (m & 2) ? j : j - 1;
    return (j == 1 && !(x[0] > t)) ? 1 : 0;
}

// Truncating conversion to the form's integer width; out of range (and NaN)
// gives the integer's minimum, as the processor does.
inline int32_t truncate32(double v) { return _mm_cvttsd_si32(_mm_set_sd(v)); }
inline int32_t truncate32(float v) { return _mm_cvttss_si32(_mm_set_ss(v)); }
inline int64_t truncate64(double v) { return _mm_cvttsd_si64(_mm_set_sd(v)); }
inline int64_t truncate64(float v) { return _mm_cvttss_si64(_mm_set_ss(v)); }
template <class I, class T>
I truncate(T v) {
    if constexpr (sizeof(I) == 4) return truncate32(v);
    else return truncate64(v);
}

// A guess (t - x[0]) * scale is first clamped to this, so that its
// conversion stays defined: nx, or the largest value below the integer's
// range.  NaN clamps to it as well (v < cap fails).
template <class I, class T>
T guess_cap(int64_t nx) {
    const T limit = sizeof(I) == 4 ? T(2147483520.0) : T(9223371487098961920.0);
    return std::min(static_cast<T>(nx), limit);
}
template <class T>
T clamp_guess(T v, T cap) { return v < cap ? v : cap; }

// Partitions up to this many breakpoints fit the 32-bit forms.
constexpr int64_t kMaxNx32 = 2147483520;

}  // namespace qor::kp::search

#define QOR_KP_UNPACK(...) __VA_ARGS__

// Exports the four integer forms of a strategy in precision p (element T)
// from the kernel template impl<T, I>(nx, x, nsite, site, ARGS..., O* cell).
// PARAMS are the strategy's parameters in parentheses, ARGS their names.
#define QOR_KP_DEFINE_SEARCH(p, T, strategy, impl, PARAMS, ARGS)                                              \
    QOR_EXTERN_C QOR_KP_API int32_t qor_kp_kernel_##p##KP##strategy##Search1D32(                              \
        int64_t nx, const T* x, int64_t nsite, const T* site, QOR_KP_UNPACK PARAMS, int32_t* cell) {          \
        return impl<T, int32_t>(nx, x, nsite, site, QOR_KP_UNPACK ARGS, cell);                                \
    }                                                                                                         \
    QOR_EXTERN_C QOR_KP_API int32_t qor_kp_kernel_##p##KP##strategy##Search1D64(                              \
        int64_t nx, const T* x, int64_t nsite, const T* site, QOR_KP_UNPACK PARAMS, int64_t* cell) {          \
        return impl<T, int64_t>(nx, x, nsite, site, QOR_KP_UNPACK ARGS, cell);                                \
    }                                                                                                         \
    QOR_EXTERN_C QOR_KP_API int32_t qor_kp_kernel_##p##KP##strategy##Search1D64Pack(                          \
        int64_t nx, const T* x, int64_t nsite, const T* site, QOR_KP_UNPACK PARAMS, int64_t* cell) {          \
        return impl<T, int32_t>(nx, x, nsite, site, QOR_KP_UNPACK ARGS, cell);                                \
    }                                                                                                         \
    QOR_EXTERN_C QOR_KP_API int32_t qor_kp_kernel_##p##KP##strategy##Search1D(                                \
        uint32_t indexWidth, int64_t nx, const T* x, int64_t nsite, const T* site, QOR_KP_UNPACK PARAMS,      \
        void* cell) {                                                                                         \
        if (!indexWidth) return impl<T, int32_t>(nx, x, nsite, site, QOR_KP_UNPACK ARGS, (int32_t*)cell);     \
        if (nx <= qor::kp::search::kMaxNx32)                                                                  \
            return impl<T, int32_t>(nx, x, nsite, site, QOR_KP_UNPACK ARGS, (int64_t*)cell);                  \
        return impl<T, int64_t>(nx, x, nsite, site, QOR_KP_UNPACK ARGS, (int64_t*)cell);                      \
    }
