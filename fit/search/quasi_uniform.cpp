// Nearly evenly spaced breakpoints: a guess from the uniform formula, then a
// short walk to the cell.  Guesses are computed 32 at a time (four floats or
// two doubles per vector), then each site of the block is finished alone.
#include "fit/search/search_common.h"

namespace qor::kp::search {
namespace {

constexpr int64_t kBlock = 32;

// guess[k] = trunc(min((t - x[0]) * scale, cap)) for the n sites of a block.
template <class T, class I>
void guesses(const T* site, int64_t n, T x0, T scale, T cap, I* guess) {
    int64_t k = 0;
    if constexpr (sizeof(I) == 4 && sizeof(T) == 4) {
        for (; k + 4 <= n; k += 4) {
            const __m128 pos = _mm_mul_ps(_mm_sub_ps(_mm_loadu_ps(site + k), _mm_set1_ps(x0)), _mm_set1_ps(scale));
            const __m128i g = _mm_cvttps_epi32(_mm_min_ps(pos, _mm_set1_ps(cap)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(guess + k), g);
        }
    } else if constexpr (sizeof(I) == 4) {
        for (; k + 2 <= n; k += 2) {
            const __m128d pos = _mm_mul_pd(_mm_sub_pd(_mm_loadu_pd(site + k), _mm_set1_pd(x0)), _mm_set1_pd(scale));
            const __m128i g = _mm_cvttpd_epi32(_mm_min_pd(pos, _mm_set1_pd(cap)));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(guess + k), g);
        }
    }
    for (; k < n; ++k) guess[k] = truncate<I>(clamp_guess((site[k] - x0) * scale, cap));
}

// The cell of t from its guess g (0 <= g <= nx once t >= x[0]).
template <class T, class I>
I finish(const T* x, I nx, T t, I g) {
    if (!(t >= x[0])) return 0;  // below the partition, or NaN
    if (t == x[nx - 1]) return nx - 1;
    using U = std::make_unsigned_t<I>;
    if (static_cast<U>(g) >= static_cast<U>(nx)) return walk_down(x, nx, t);
    if (t >= x[g]) return walk_up(x, nx, g, t);
    return walk_down(x, g, t);
}

template <class T, class I, class O>
int32_t quasi_uniform_search(int64_t nx, const T* x, int64_t nsite, const T* site, T scale, O* cell) {
    if (nsite < 1) return 0;
    const T x0 = x[0], cap = guess_cap<I, T>(nx);
    alignas(16) I guess[kBlock];
    for (int64_t b = 0; b < nsite; b += kBlock) {
        const int64_t n = std::min(kBlock, nsite - b);
        guesses(site + b, n, x0, scale, cap, guess);
        for (int64_t k = 0; k < n; ++k)
            cell[b + k] = static_cast<O>(finish(x, static_cast<I>(nx), site[b + k], guess[k]));
    }
    return 0;
}

}  // namespace
}  // namespace qor::kp::search

using qor::kp::search::quasi_uniform_search;
QOR_KP_DEFINE_SEARCH(s, float, QuasiUniform, quasi_uniform_search, (float scale), (scale))
QOR_KP_DEFINE_SEARCH(d, double, QuasiUniform, quasi_uniform_search, (double scale), (scale))
