#include "stats/robust_passes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "qor/qor_linalg.h"
#include "qor/qor_serv.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

// Observations gathered per triangular or rank-k product.
constexpr int64_t kBlock = 256;
constexpr int64_t kObservationsPerThread = 4096;
// A squared Cholesky pivot at most this share of its diagonal entry.
constexpr double kSingularPivot = 1e-13;

int workers_for(const Sample& s) {
    return static_cast<int>(std::clamp<int64_t>(s.n / kObservationsPerThread, 1, thread_limit(s.threading)));
}

// A buffer of `count` doubles from the core's allocator, freed on scope exit.
struct Doubles {
    double* p = nullptr;
    explicit Doubles(int64_t count) {
        size_t bytes;
        if (aligned_bytes(count, sizeof(double), bytes))
            p = static_cast<double*>(qor_serv_allocate(bytes ? bytes : kTaskAlignment, kTaskAlignment));
    }
    ~Doubles() { qor_serv_deallocate(p); }
    Doubles(const Doubles&) = delete;
    Doubles& operator=(const Doubles&) = delete;
};

struct MeanJob {
    const Sample* s;
    const double* a;
    double* partial;  // per worker: q sums, then the weight
    int workers;
    void operator()(int w) const {
        const int64_t q = s->q;
        double* sum = partial + w * (q + 1);
        std::fill(sum, sum + q + 1, 0.0);
        for (int64_t j = s->n * w / workers, end = s->n * (w + 1) / workers; j < end; ++j) {
            if (!(a[j] > 0)) continue;
            const double* x = s->row(j);
            for (int64_t i = 0; i < q; ++i) sum[i] += a[j] * x[i];
            sum[q] += a[j];
        }
    }
};

// Gathers sqrt(b_j)(x_j - mean) as the columns of a q x kBlock block and
// adds block * block' to the worker's lower triangle.
struct ScatterJob {
    const Sample* s;
    const double* b;
    const double* mean;
    double* partial;  // per worker: q*q, then q*kBlock of block
    int workers;
    void operator()(int w) const {
        const int64_t q = s->q;
        double* c = partial + w * (q * q + q * kBlock);
        double* block = c + q * q;
        std::fill(c, c + q * q, 0.0);
        const int qi = static_cast<int>(q);
        const double one = 1.0;
        int cols = 0;
        auto flush = [&] {
            if (cols) qor_dsyrk("L", "N", &qi, &cols, &one, block, &qi, &one, c, &qi);
            cols = 0;
        };
        for (int64_t j = s->n * w / workers, end = s->n * (w + 1) / workers; j < end; ++j) {
            if (!(b[j] > 0)) continue;
            const double r = std::sqrt(b[j]);
            const double* x = s->row(j);
            double* col = block + cols * q;
            for (int64_t i = 0; i < q; ++i) col[i] = r * (x[i] - mean[i]);
            if (++cols == kBlock) flush();
        }
        flush();
    }
};

struct DistanceJob {
    const Sample* s;
    const double* mean;
    const double* inverse;  // L^-1, lower
    double* d2;
    double* blocks;
    int workers;
    void operator()(int w) const {
        const int64_t q = s->q;
        double* block = blocks + w * q * kBlock;
        const int qi = static_cast<int>(q);
        const double one = 1.0;
        for (int64_t lo = s->n * w / workers, hi = s->n * (w + 1) / workers; lo < hi;) {
            const int64_t end = std::min(hi, lo + kBlock);
            for (int64_t j = lo; j < end; ++j) {
                const double* x = s->row(j);
                double* col = block + (j - lo) * q;
                for (int64_t i = 0; i < q; ++i) col[i] = x[i] - mean[i];
            }
            const int cols = static_cast<int>(end - lo);
            qor_dtrmm("L", "L", "N", "N", &qi, &cols, &one, inverse, &qi, block, &qi);
            for (int64_t j = lo; j < end; ++j) {
                const double* col = block + (j - lo) * q;
                double sum = 0;
                for (int64_t i = 0; i < q; ++i) sum += col[i] * col[i];
                d2[j] = sum;
            }
            lo = end;
        }
    }
};

}  // namespace

template <class T>
void copy_selected(const T* obs, int64_t p, int64_t n, bool variables_in_rows, const int64_t* vars,
                   int64_t q, double* out) {
    for (int64_t j = 0; j < n; ++j)
        for (int64_t k = 0; k < q; ++k)
            out[j * q + k] = static_cast<double>(variables_in_rows ? obs[vars[k] * n + j] : obs[j * p + vars[k]]);
}

template void copy_selected<double>(const double*, int64_t, int64_t, bool, const int64_t*, int64_t,
                                    double*);
template void copy_selected<float>(const float*, int64_t, int64_t, bool, const int64_t*, int64_t,
                                   double*);

int32_t weighted_scatter(const Sample& s, const double* a, const double* b, double* mean, double* scatter,
                         double& total) {
    const int64_t q = s.q;
    const int workers = workers_for(s);
    Doubles partial(workers * (q * q + q * kBlock + q + 1));
    if (!partial.p) return SS_ERR_NO_MEMORY;
    MeanJob means{&s, a, partial.p, workers};
    run_workers(s.threading, workers, means);
    std::fill(mean, mean + q, 0.0);
    total = 0;
    for (int w = 0; w < workers; ++w) {
        for (int64_t i = 0; i < q; ++i) mean[i] += partial.p[w * (q + 1) + i];
        total += partial.p[w * (q + 1) + q];
    }
    for (int64_t i = 0; i < q; ++i) mean[i] = total > 0 ? mean[i] / total : 0.0;
    ScatterJob scatters{&s, b ? b : a, mean, partial.p, workers};
    run_workers(s.threading, workers, scatters);
    std::fill(scatter, scatter + q * q, 0.0);
    for (int w = 0; w < workers; ++w) {
        const double* c = partial.p + w * (q * q + q * kBlock);
        for (int64_t k = 0; k < q * q; ++k) scatter[k] += c[k];
    }
    for (int64_t j = 0; j < q; ++j)
        for (int64_t i = j + 1; i < q; ++i) scatter[j + i * q] = scatter[i + j * q];
    return SS_OK;
}

int32_t squared_distances(const Sample& s, const double* mean, const double* cov, double* d2, double& log_det) {
    const int64_t q = s.q;
    const int workers = d2 ? workers_for(s) : 0;
    Doubles buffer(q * q + workers * q * kBlock);
    if (!buffer.p) return SS_ERR_NO_MEMORY;
    double* inverse = buffer.p;
    std::memcpy(inverse, cov, sizeof(double) * q * q);
    const int qi = static_cast<int>(q);
    int info = 0;
    qor_dpotrf("L", &qi, inverse, &qi, &info);
    if (info != 0) return SS_ERR_NOT_POSITIVE_DEFINITE;
    // A pivot lost to rounding (an exactly singular matrix rarely factors
    // to an exact zero) counts as singular too.
    for (int64_t i = 0; i < q; ++i)
        if (inverse[i + i * q] * inverse[i + i * q] <= kSingularPivot * cov[i + i * q]) return SS_ERR_NOT_POSITIVE_DEFINITE;
    log_det = 0;
    for (int64_t i = 0; i < q; ++i) log_det += 2 * std::log(inverse[i + i * q]);
    if (!d2) return SS_OK;
    qor_dtrtri("L", "N", &qi, inverse, &qi, &info);
    if (info != 0) return SS_ERR_NOT_POSITIVE_DEFINITE;
    DistanceJob job{&s, mean, inverse, d2, buffer.p + q * q, workers};
    run_workers(s.threading, workers, job);
    return SS_OK;
}

void mark_smallest(const double* d2, int64_t n, int64_t h, int64_t* order, double* flags) {
    std::iota(order, order + n, int64_t{0});
    if (h < n) std::nth_element(order, order + h, order + n, [d2](int64_t a, int64_t b) { return d2[a] < d2[b]; });
    std::fill(flags, flags + n, 0.0);
    for (int64_t k = 0; k < h; ++k) flags[order[k]] = 1.0;
}

Draws::Draws(uint32_t seed) {
    if (__rixNewStreamEx(&stream_, QOR_RNG_BRNG_MCG59, 1, &seed) != QOR_RNG_STATUS_OK && stream_)
        __rixDeleteStream(&stream_);
}

Draws::~Draws() {
    if (stream_) __rixDeleteStream(&stream_);
}

int64_t Draws::below(int64_t m) {
    if (left_ == 0) {
        __rixdBRngMCG59(stream_, kBlock, block_, 0.0, 1.0);
        left_ = kBlock;
    }
    return std::min(m - 1, static_cast<int64_t>(block_[--left_] * static_cast<double>(m)));
}

}  // namespace qor::ss
