// qor for C++: the header-only C++20 layer over the C interface of qor.h.
//
//   qor::vm      element-wise functions over spans (vm.hpp)
//   qor::random  streams, distributions, a <random> bit generator (random.hpp)
//   qor::stats   summary-statistics tasks (stats.hpp)
//   qor::fit     splines (fit.hpp)
//   qor::error   the exception every failed call throws (error.hpp)
//
// Link with qor::core (CMake) or `pkg-config --libs qor`, as for C.
#ifndef QOR_HPP
#define QOR_HPP

#include "error.hpp"
#include "fit.hpp"
#include "random.hpp"
#include "stats.hpp"
#include "vm.hpp"

namespace qor {

// Loads the kernels now rather than at the first call; throws when they
// cannot be used, with the loader's detail in the text.
inline void init() {
    const int status = qor_init();
    if (status != QOR_STATUS_OK) throw error(0, status, qor_init_detail());
}

}  // namespace qor

#endif
