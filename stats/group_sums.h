// Weighted sums and centred cross-products of chosen variables per group of
// observations, the common first step of the pooled, group and partial
// covariances.  For group g, with weights w_j (1 without weights):
//   W1_g = sum w_j,  W2_g = sum w_j^2,  m_g = sum w_j x_j / W1_g,
//   C_g = sum w_j (x_j - m_g)(x_j - m_g)'.
#pragma once

#include <cstdint>

#include "qor/qor_ss.h"

namespace qor::ss {

struct GroupSums {
    int64_t groups = 0, q = 0;
    double* head = nullptr;  // per group: W1, W2, then the q means (NaN for an empty group)
    double* cp = nullptr;    // per group: C, q x q, upper triangle, column-major
    void* buffer = nullptr;  // everything, from the core's allocator

    const double* of(int64_t g) const { return head + g * (q + 2); }
    const double* cp_of(int64_t g) const { return cp + g * q * q; }
    // The normaliser of the unbiased covariance, W1 - W2/W1; -1 for an
    // empty group.
    double divisor(int64_t g) const { return of(g)[0] > 0 ? of(g)[0] - of(g)[1] / of(g)[0] : -1.0; }
};

// Fills `sums` for the q variables `vars` of the observations (p variables,
// n observations, in either layout), observation j in group group_of[j]
// (left out when negative; every observation in group 0 when group_of is
// null), split among the threads.  SS_ERR_NO_MEMORY when the buffers
// cannot be had; release_group_sums frees them.
template <class T>
int32_t group_sums(const T* obs, const T* weights, int64_t p, int64_t n, bool variables_in_rows, const int64_t* vars,
                   int64_t q, const int64_t* group_of, int64_t groups, const qor_threading* threading, GroupSums& sums);
void release_group_sums(GroupSums& sums);

}  // namespace qor::ss
