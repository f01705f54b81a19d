// Uniform partitions: the cell of a site is computed, not searched.  Only
// x[0] and x[nx-1] are given (as x[0], x[1]); scale is (nx-1) / (x[nx-1] - x[0]).
// The 32-bit forms take four sites per step (one vector of floats, two of
// doubles); the 64 form converts one site at a time, eight-way unrolled.
#include "fit/search/search_common.h"

namespace qor::kp::search {
namespace {

// The rule for one site: the last breakpoint is cell nx-1; a site at or
// above x[0] is in cell min(nx, trunc((t - x[0]) * scale) + 1); else (below,
// NaN) cell 0.
template <class I, class T>
I uniform_cell(T t, T x0, T xl, T scale, T cap, I nx) {
    if (t == xl) return nx - 1;
    if (!(x0 <= t)) return 0;
    return std::min<I>(truncate<I>(clamp_guess((t - x0) * scale, cap)), nx - 1) + 1;
}

// Four guesses, clamped and truncated, in the 32-bit lanes of one vector,
// with the lane masks of t >= x[0] and t == x[nx-1].
struct Four {
    __m128i guess, at_or_above, last;
};
inline Four four(const float* t, float x0, float xl, float scale, float cap) {
    const __m128 v = _mm_loadu_ps(t);
    const __m128 pos = _mm_min_ps(_mm_mul_ps(_mm_sub_ps(v, _mm_set1_ps(x0)), _mm_set1_ps(scale)), _mm_set1_ps(cap));
    return {_mm_cvttps_epi32(pos), _mm_castps_si128(_mm_cmple_ps(_mm_set1_ps(x0), v)),
            _mm_castps_si128(_mm_cmpeq_ps(v, _mm_set1_ps(xl)))};
}
inline Four four(const double* t, double x0, double xl, double scale, double cap) {
    const __m128d a = _mm_loadu_pd(t), b = _mm_loadu_pd(t + 2);
    const __m128d vx0 = _mm_set1_pd(x0), vxl = _mm_set1_pd(xl), vs = _mm_set1_pd(scale), vc = _mm_set1_pd(cap);
    const __m128i ga = _mm_cvttpd_epi32(_mm_min_pd(_mm_mul_pd(_mm_sub_pd(a, vx0), vs), vc));
    const __m128i gb = _mm_cvttpd_epi32(_mm_min_pd(_mm_mul_pd(_mm_sub_pd(b, vx0), vs), vc));
    // 64-bit lane masks narrowed to 32-bit lanes.
    auto narrow = [](__m128d ma, __m128d mb) {
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castpd_ps(ma), _mm_castpd_ps(mb), _MM_SHUFFLE(2, 0, 2, 0)));
    };
    return {_mm_unpacklo_epi64(ga, gb), narrow(_mm_cmple_pd(vx0, a), _mm_cmple_pd(vx0, b)),
            narrow(_mm_cmpeq_pd(a, vxl), _mm_cmpeq_pd(b, vxl))};
}

inline void store4(int32_t* out, __m128i c) { _mm_storeu_si128(reinterpret_cast<__m128i*>(out), c); }
inline void store4(int64_t* out, __m128i c) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_cvtepi32_epi64(c));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2), _mm_cvtepi32_epi64(_mm_srli_si128(c, 8)));
}

template <class T, class I, class O>
int32_t uniform_search(int64_t nx, const T* x, int64_t nsite, const T* site, T scale, O* cell) {
    if (nsite < 1) return 0;
    const T x0 = x[0], xl = x[1], cap = guess_cap<I, T>(nx);
    int64_t i = 0;
    if constexpr (sizeof(I) == 4) {
        const __m128i n = _mm_set1_epi32(static_cast<int32_t>(nx)), last = _mm_set1_epi32(static_cast<int32_t>(nx - 1));
        const __m128i one = _mm_set1_epi32(1);
        for (; i + 4 <= nsite; i += 4) {
            const Four f = four(site + i, x0, xl, scale, cap);
            const __m128i c = _mm_and_si128(_mm_min_epi32(_mm_add_epi32(f.guess, one), n), f.at_or_above);
            store4(cell + i, _mm_blendv_epi8(c, last, f.last));
        }
    }
#pragma GCC unroll 8
    for (; i < nsite; ++i) cell[i] = static_cast<O>(uniform_cell<I>(site[i], x0, xl, scale, cap, static_cast<I>(nx)));
    return 0;
}

}  // namespace
}  // namespace qor::kp::search

using qor::kp::search::uniform_search;
QOR_KP_DEFINE_SEARCH(s, float, Uniform, uniform_search, (float scale), (scale))
QOR_KP_DEFINE_SEARCH(d, double, Uniform, uniform_search, (double scale), (scale))
