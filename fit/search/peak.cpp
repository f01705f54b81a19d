// Sites clustered around breakpoint p: walks from p, up or down.
#include "fit/search/search_common.h"

namespace qor::kp::search {
namespace {

template <class T, class I>
I peak_cell(const T* x, I nx, I p, T t) {
    const T xl = x[nx - 1];
    if (t == xl) return nx - 1;
    if (!(t >= x[0])) return 0;  // below the partition, or NaN
    if (p >= nx) return t > xl ? nx : walk_down(x, nx - 1, t);
    if (t >= x[p]) return walk_up(x, nx, p, t);
    if (p == 0) return 0;
    if (!(x[p - 1] > t)) return p;
    return walk_down(x, p, t);
}

template <class T, class I, class O>
int32_t peak_search(int64_t nx, const T* x, int64_t nsite, const T* site, T peak, O* cell) {
    // The peak is truncated like a guess; a negative one starts at 0.
    const I p = std::max<I>(truncate<I>(clamp_guess(peak, guess_cap<I, T>(nx))), 0);
    for (int64_t i = 0; i < nsite; ++i) cell[i] = static_cast<O>(peak_cell(x, static_cast<I>(nx), p, site[i]));
    return 0;
}

}  // namespace
}  // namespace qor::kp::search

using qor::kp::search::peak_search;
QOR_KP_DEFINE_SEARCH(s, float, Peak, peak_search, (float peak), (peak))
QOR_KP_DEFINE_SEARCH(d, double, Peak, peak_search, (double peak), (peak))
