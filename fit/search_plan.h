// How the data-fitting entries locate sites: the strategy the search entry
// picks for a task and a batch (a plan), and the search of a stretch of
// sites by that plan through the search kernels.  Shared by the search,
// interpolation and integration entries; nothing here is exported.
#pragma once

#include <cstdint>

#include "fit/task_internal.h"

namespace qor::kp {

// The strategies, numbered as the search entry's table of batch workers.
enum class Strategy : int { Uniform, QuasiUniform, Sorted, Peak, Hybrid, UserDef, UniUserDef };
constexpr int kStrategyCount = 7;
// The strategies that ask the caller's search function.
constexpr bool is_user_defined(Strategy s) { return s == Strategy::UserDef || s == Strategy::UniUserDef; }

template <class T>
struct UserSearchOf;
template <>
struct UserSearchOf<float> { using type = FitUserSearchS; };
template <>
struct UserSearchOf<double> { using type = FitUserSearchD; };

template <class T>
struct SearchPlan {
    Strategy strategy = Strategy::Hybrid;
    int64_t nx = 0;
    const T* x = nullptr;              // every breakpoint, or the two ends of a uniform partition
    T scale = 0;                       // (nx-1) / (x[nx-1] - x[0]), binScale, or the peak breakpoint
    const int64_t* bins = nullptr;     // the task's search table; null: the whole partition is one bin
    typename UserSearchOf<T>::type user{};
};

// The plan of the search entry for a task (checked: x present, nx >= 2):
//   method searchMethodUserDefined  the caller's function from dataHint,
//                                   UniUserDef on a uniform partition;
//   partition hint 4 (uniform)      Uniform, whatever the sites; scale from
//                                   the two ends;
//   site hint 4 (sorted)            Sorted;
//   site hint 64 (clustered)        Peak around dataHint[0]; without
//                                   dataHint the site hint is ignored;
//   partition hint 2                QuasiUniform;
//   otherwise                       Hybrid with the task's search table; a
//                                   task without one (its partition hint was
//                                   changed from 4) bisects the whole
//                                   partition.
// statusUnsupportedMethod for an unknown method or a user-defined one
// without a function.
template <class T>
int32_t plan_search(const FitTask& task, int64_t method, int64_t site_hint, const T* data_hint, SearchPlan<T>& plan);

// The cells of n sites by the plan's kernel in the integer C (int32_t: the
// 32 forms; int64_t: the 64 forms).  Sorted plans start from *start and
// leave the next start there; the user-defined ones take a zeroed flag
// array of n entries.  Returns the kernel's status.
template <class T, class C>
int32_t search_sites(const SearchPlan<T>& plan, int64_t n, const T* site, C* cell, C* start, int32_t* flag);

// For the entries that evaluate at the sites: the cells of at most
// kLocateBlock sites, in blocks that may run on any thread.  A sorted plan
// starts block `first` > 0 from the count of breakpoints below its first
// site, so that every block stands alone; block 0 starts at breakpoint 0,
// as the search entry does.
constexpr int64_t kLocateBlock = 1024;
// Whether the cells of a partition of nx breakpoints fit the 32-bit forms.
bool fits_32bit_cells(int64_t nx);
template <class T, class C>
int32_t locate_block(const SearchPlan<T>& plan, int64_t first, int64_t n, const T* site, C* cell);

}  // namespace qor::kp
