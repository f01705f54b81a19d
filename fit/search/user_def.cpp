// The caller's own search: the caller's function suggests a cell for every
// site and flags the final ones; the kernel refines the others.  UserDef
// refines against the breakpoints; UniUserDef, on a uniform partition given
// by its ends x[0], x[nx-1], against the breakpoints x[0] + j*h,
// h = (x[nx-1] - x[0]) / (nx-1).
//
// Sites go to the function in batches of at most kBatch, one call per batch,
// since the suggestions live in a fixed buffer.  A negative return ends the
// search with that status; 1000 makes every suggestion of the batch final.
#include "fit/search/search_common.h"

namespace qor::kp::search {
namespace {

constexpr int64_t kBatch = 1024;
constexpr int32_t kAllFinal = 1000;

// The breakpoints of a uniform partition, computed.
template <class T>
struct UniformPoints {
    T x0, xl, step, scale;
    int64_t nx;
    UniformPoints(const T* ends, int64_t n)
        : x0(ends[0]), xl(ends[1]), step((ends[1] - ends[0]) / T(n - 1)), scale(T(n - 1) / (ends[1] - ends[0])),
          nx(n) {}
    T operator[](int64_t j) const { return j == nx - 1 ? xl : x0 + T(j) * step; }
    // The number of breakpoints not greater than t (t >= x[0], not NaN),
    // from the uniform guess and a short walk either way.
    int64_t count(T t) const {
        int64_t g = std::clamp<int64_t>(truncate64(clamp_guess((t - x0) * scale, T(nx))), 0, nx);
        while (g < nx && !((*this)[g] > t)) ++g;
        while (g > 0 && (*this)[g - 1] > t) --g;
        return g;
    }
};
// The walks of the cell rule over the breakpoints given, and over computed
// ones: the same answers, found from the guess rather than step by step.
using qor::kp::search::walk_down;
using qor::kp::search::walk_up;
template <class T, class I>
I walk_up(const UniformPoints<T>& x, I end, I j, T t) { return std::min<I>(std::max<I>(j, x.count(t)), end); }
template <class T, class I>
I walk_down(const UniformPoints<T>& x, I j, T t) { return std::min<I>(j, x.count(t)); }

// The suggestion c refined: as the cell rule, except that a site equal to
// x[c] keeps c (x[c-1] <= t <= x[c] is accepted).
template <class T, class I, class Points>
I refine(const Points& x, I nx, T t, int64_t suggestion) {
    const T xl = x[nx - 1];
    const I c = static_cast<I>(std::clamp<int64_t>(suggestion, 0, nx));
    if (t == xl) return nx - 1;
    if (!(t >= x[0])) return 0;  // below the partition, or NaN
    if (c >= nx) return t > xl ? nx : walk_down(x, static_cast<I>(nx - 1), t);
    if (t > x[c]) return walk_up(x, nx, c, t);
    if (c >= 1 && x[c - 1] > t) return walk_down(x, c, t);
    return c;
}

template <class T, class I, class O, class Points, class Fn>
int32_t user_search(const Points& x, int64_t nx, int64_t nsite, const T* site, Fn search, FitSearchParams params,
                    int32_t* flag, O* cell) {
    int32_t status = 0;
    int64_t suggested[kBatch];
    for (int64_t b = 0; b < nsite; b += kBatch) {
        int64_t n = std::min(kBatch, nsite - b);
        const int32_t r = search(&n, site + b, suggested, flag + b, params);
        if (r < 0) return r;
        n = std::min(kBatch, nsite - b);
        for (int64_t k = 0; k < n; ++k)
            cell[b + k] = static_cast<O>(r == kAllFinal || flag[b + k]
                                             ? suggested[k]
                                             : refine(x, static_cast<I>(nx), site[b + k], suggested[k]));
        status = r == kAllFinal ? 0 : r;
    }
    return status;
}

template <class T, class I, class O, class Fn>
int32_t user_def_search(int64_t nx, const T* x, int64_t nsite, const T* site, Fn search, FitSearchParams params,
                        int32_t* flag, O* cell) {
    return user_search<T, I>(x, nx, nsite, site, search, params, flag, cell);
}

template <class T, class I, class O, class Fn>
int32_t uni_user_def_search(int64_t nx, const T* x, int64_t nsite, const T* site, Fn search, FitSearchParams params,
                            int32_t* flag, O* cell) {
    if (nsite < 1) return 0;
    return user_search<T, I>(UniformPoints<T>(x, nx), nx, nsite, site, search, params, flag, cell);
}

}  // namespace
}  // namespace qor::kp::search

using qor::kp::search::uni_user_def_search;
using qor::kp::search::user_def_search;
QOR_KP_DEFINE_SEARCH(s, float, UserDef, user_def_search, (FitSearchFnS search, FitSearchParams params, int32_t* flag),
                     (search, params, flag))
QOR_KP_DEFINE_SEARCH(d, double, UserDef, user_def_search,
                     (FitSearchFnD search, FitSearchParams params, int32_t* flag), (search, params, flag))
QOR_KP_DEFINE_SEARCH(s, float, UniUserDef, uni_user_def_search,
                     (FitSearchFnS search, FitSearchParams params, int32_t* flag), (search, params, flag))
QOR_KP_DEFINE_SEARCH(d, double, UniUserDef, uni_user_def_search,
                     (FitSearchFnD search, FitSearchParams params, int32_t* flag), (search, params, flag))
