// The passes the robust estimators (FAST-MCD, the translated-biweight
// S-estimate, BACON) make over their data: a copy of the selected variables
// as doubles, weighted means and scatter matrices, squared Mahalanobis
// distances, the h smallest of them, and random draws from the library's
// own generator.  Matrices are q x q, column-major, both triangles filled.
// The passes over many observations run on the caller's threading
// services; the matrix work goes through the core's BLAS and LAPACK.
#pragma once

#include <cstdint>

#include "qor/qor_rng.h"
#include "qor/qor_ss.h"

namespace qor::ss {

// n observations of q variables, observation j at x + j*q.
struct Sample {
    const double* x = nullptr;
    int64_t n = 0, q = 0;
    const qor_threading* threading = nullptr;
    const double* row(int64_t j) const { return x + j * q; }
};

// Copies the selected variables (listed in `vars`, q of them)
// of its n observations into `out`, observation-major.
template <class T>
void copy_selected(const T* obs, int64_t p, int64_t n, bool variables_in_rows, const int64_t* vars,
                   int64_t q, double* out);

// mean = sum a_j x_j / sum a_j and scatter = sum b_j (x_j - mean)(x_j - mean)'
// (b = a when null) over the observations of positive a_j; sum a_j goes
// to `total`.  SS_ERR_NO_MEMORY when the per-thread sums cannot be had.
int32_t weighted_scatter(const Sample& s, const double* a, const double* b, double* mean, double* scatter,
                         double& total);

// d2[j] = (x_j - mean)' cov^-1 (x_j - mean) (d2 may be null) and the log
// determinant of cov.  SS_ERR_NOT_POSITIVE_DEFINITE when the Cholesky
// factorisation fails or leaves a squared pivot below 1e-13 of its
// diagonal entry (singular up to rounding), SS_ERR_NO_MEMORY.
int32_t squared_distances(const Sample& s, const double* mean, const double* cov, double* d2, double& log_det);

// Marks with 1 in `flags` the h observations of smallest d2 and the others
// with 0; `order` is room for n indices.
void mark_smallest(const double* d2, int64_t n, int64_t h, int64_t* order, double* flags);

// Uniform indices from an MCG59 stream seeded with `seed`, drawn in blocks.
class Draws {
public:
    explicit Draws(uint32_t seed);
    ~Draws();
    Draws(const Draws&) = delete;
    Draws& operator=(const Draws&) = delete;
    bool ok() const { return stream_ != nullptr; }
    // Uniform in [0, m).
    int64_t below(int64_t m);

private:
    static constexpr int kBlock = 512;
    qor_rng_stream* stream_ = nullptr;
    double block_[kBlock];
    int left_ = 0;
};

}  // namespace qor::ss
