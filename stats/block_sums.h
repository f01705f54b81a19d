// Sums over one block of a variable's observations, the inner loops of the
// basic statistics.  A block is short enough to stay in cache (a 256 KiB
// working set), so the central sums take a second pass over it around the
// block's own mean: exact centring, no cancellation between large raw sums.
// The loops run two double lanes with independent partial sums (floats are
// widened to double on load); weights are optional (null: each counts 1).
#pragma once

#include <cstdint>

namespace qor::ss {

// Σ w_j x_j (Σ x_j without weights).
template <class T>
double block_sum(const T* x, const T* w, int64_t count);

// Σ w_j (x_j − centre)^k for k = 1 .. max_order (1 to 4), stored in
// sums[k − 1].
template <class T>
void block_central_sums(const T* x, const T* w, int64_t count, double centre, int max_order, double* sums);

// One variable over a block: Σ w, Σ w·x, the mean and the central sums
// S_k = Σ w (x − mean)^k, k = 2 .. max_order (0 to 4).  Two passes over
// each chunk of 1024 values (the sum, then the powers of the deviations from
// the nearest double to the chunk mean, moved onto the mean itself),
// chunks merged pairwise.
struct VariableSums {
    double weight, sum, mean, mean_tail, central[3];  // the mean is mean + mean_tail
};
template <class T>
void block_moments(const T* x, const T* w, int64_t count, int max_order, VariableSums& out);

// Σ w_j and Σ w_j²; (count, count) without weights.
template <class T>
void block_weights(const T* w, int64_t count, double& w1, double& w2);

}  // namespace qor::ss
