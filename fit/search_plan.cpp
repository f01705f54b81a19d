// The search entry's choice of strategy, and the search of a stretch of
// sites through the kernel the choice names.
#include "fit/search_plan.h"

#include <algorithm>

#include "fit/search/search_common.h"

namespace qor::kp {
namespace {

// The exported kernels of one precision, in the two integer forms used.
#define QOR_FIT_PLAN_KERNELS(p)                                                                                  \
    static constexpr auto uniform32 = qor_kp_kernel_##p##KPUniformSearch1D32;                                    \
    static constexpr auto uniform64 = qor_kp_kernel_##p##KPUniformSearch1D64;                                    \
    static constexpr auto quasi32 = qor_kp_kernel_##p##KPQuasiUniformSearch1D32;                                 \
    static constexpr auto quasi64 = qor_kp_kernel_##p##KPQuasiUniformSearch1D64;                                 \
    static constexpr auto sorted32 = qor_kp_kernel_##p##KPSortedSearch1D32;                                      \
    static constexpr auto sorted64 = qor_kp_kernel_##p##KPSortedSearch1D64;                                      \
    static constexpr auto peak32 = qor_kp_kernel_##p##KPPeakSearch1D32;                                          \
    static constexpr auto peak64 = qor_kp_kernel_##p##KPPeakSearch1D64;                                          \
    static constexpr auto hybrid32 = qor_kp_kernel_##p##KPHybridSearch1D32;                                      \
    static constexpr auto hybrid64 = qor_kp_kernel_##p##KPHybridSearch1D64;                                      \
    static constexpr auto user32 = qor_kp_kernel_##p##KPUserDefSearch1D32;                                       \
    static constexpr auto user64 = qor_kp_kernel_##p##KPUserDefSearch1D64;                                       \
    static constexpr auto uni_user32 = qor_kp_kernel_##p##KPUniUserDefSearch1D32;                                \
    static constexpr auto uni_user64 = qor_kp_kernel_##p##KPUniUserDefSearch1D64;

template <class T>
struct Kernels;
template <>
struct Kernels<float> { QOR_FIT_PLAN_KERNELS(s) };
template <>
struct Kernels<double> { QOR_FIT_PLAN_KERNELS(d) };

// The form of integer width C of a kernel pair.
template <class C, class K32, class K64>
auto form(K32 k32, K64 k64) {
    if constexpr (sizeof(C) == 4) return k32;
    else return k64;
}

}  // namespace

template <class T>
int32_t plan_search(const FitTask& task, int64_t method, int64_t site_hint, const T* data_hint, SearchPlan<T>& plan) {
    const int64_t nx = task.nx;
    const T* x = breakpoints<T>(task);
    const bool uniform = task.xhint == hintPartitionUniform;
    plan = SearchPlan<T>{};
    plan.nx = nx;
    plan.x = x;
    if (method == searchMethodUserDefined) {
        if (!data_hint) return statusUnsupportedMethod;
        plan.user = *reinterpret_cast<const typename UserSearchOf<T>::type*>(data_hint);
        if (!plan.user.search) return statusUnsupportedMethod;
        plan.strategy = uniform ? Strategy::UniUserDef : Strategy::UserDef;
        return 0;
    }
    if (method != searchMethodDefault) return statusUnsupportedMethod;
    if (uniform) {
        plan.strategy = Strategy::Uniform;
        plan.scale = static_cast<T>(nx - 1) / (x[1] - x[0]);
    } else if (site_hint == hintSitesSorted) {
        plan.strategy = Strategy::Sorted;
    } else if (site_hint == hintSitesClustered && data_hint) {
        plan.strategy = Strategy::Peak;
        plan.scale = data_hint[0];
    } else if (task.xhint == hintPartitionQuasiUniform) {
        plan.strategy = Strategy::QuasiUniform;
        plan.scale = static_cast<T>(nx - 1) / (x[nx - 1] - x[0]);
    } else {
        plan.strategy = Strategy::Hybrid;
        // The table serves the breakpoints it was built from.  A scale that
        // is not positive and finite (equal, unordered or NaN breakpoints),
        // or one that no longer spans binCount bins over the breakpoints'
        // range (their values changed since), would send a site to a bin
        // outside the table: such a task searches from one bin instead.
        const T scale = task.binTable ? bin_scale<T>(task) : T(0);
        const T span = scale * (x[nx - 1] - x[0]);
        const bool fits = scale > T(0) && span >= T(0) && span <= static_cast<T>(task.binCount) + T(0.5);
        plan.bins = fits ? task.binTable : nullptr;
        plan.scale = fits ? scale : T(0);
    }
    return 0;
}

template <class T, class C>
int32_t search_sites(const SearchPlan<T>& plan, int64_t n, const T* site, C* cell, C* start, int32_t* flag) {
    using K = Kernels<T>;
    const int64_t nx = plan.nx;
    const T* x = plan.x;
    switch (plan.strategy) {
        case Strategy::Uniform: return form<C>(K::uniform32, K::uniform64)(nx, x, n, site, plan.scale, cell);
        case Strategy::QuasiUniform: return form<C>(K::quasi32, K::quasi64)(nx, x, n, site, plan.scale, cell);
        case Strategy::Sorted: return form<C>(K::sorted32, K::sorted64)(nx, x, n, site, start, cell);
        case Strategy::Peak: return form<C>(K::peak32, K::peak64)(nx, x, n, site, plan.scale, cell);
        case Strategy::Hybrid:
            if (!plan.bins) {
                const int64_t whole[4] = {0, nx - 1, 0, nx - 1};  // one bin: every site in bin 0
                return form<C>(K::hybrid32, K::hybrid64)(nx, x, n, site, T(0), whole, cell);
            }
            return form<C>(K::hybrid32, K::hybrid64)(nx, x, n, site, plan.scale, plan.bins, cell);
        case Strategy::UserDef:
            return form<C>(K::user32, K::user64)(nx, x, n, site, plan.user.search, plan.user.params, flag, cell);
        case Strategy::UniUserDef:
            return form<C>(K::uni_user32, K::uni_user64)(nx, x, n, site, plan.user.search, plan.user.params, flag,
                                                         cell);
    }
    return statusUnsupportedMethod;
}

template <class T, class C>
int32_t locate_block(const SearchPlan<T>& plan, int64_t first, int64_t n, const T* site, C* cell) {
    C start = 0;
    if (plan.strategy == Strategy::Sorted && first > 0 && site[0] == site[0])
        start = static_cast<C>(std::lower_bound(plan.x, plan.x + plan.nx, site[0]) - plan.x);
    int32_t flag[kLocateBlock];  // for a user-defined search only, which needs them zeroed
    if (is_user_defined(plan.strategy)) std::fill(flag, flag + n, 0);
    return search_sites(plan, n, site, cell, &start, flag);
}

bool fits_32bit_cells(int64_t nx) { return nx <= search::kMaxNx32; }

template int32_t plan_search(const FitTask&, int64_t, int64_t, const float*, SearchPlan<float>&);
template int32_t plan_search(const FitTask&, int64_t, int64_t, const double*, SearchPlan<double>&);
template int32_t search_sites(const SearchPlan<float>&, int64_t, const float*, int32_t*, int32_t*, int32_t*);
template int32_t search_sites(const SearchPlan<float>&, int64_t, const float*, int64_t*, int64_t*, int32_t*);
template int32_t search_sites(const SearchPlan<double>&, int64_t, const double*, int32_t*, int32_t*, int32_t*);
template int32_t search_sites(const SearchPlan<double>&, int64_t, const double*, int64_t*, int64_t*, int32_t*);
template int32_t locate_block(const SearchPlan<float>&, int64_t, int64_t, const float*, int32_t*);
template int32_t locate_block(const SearchPlan<float>&, int64_t, int64_t, const float*, int64_t*);
template int32_t locate_block(const SearchPlan<double>&, int64_t, int64_t, const double*, int32_t*);
template int32_t locate_block(const SearchPlan<double>&, int64_t, int64_t, const double*, int64_t*);

}  // namespace qor::kp
