// FAST-MCD: the search for the h observations of least covariance
// determinant, then its consistency factor and the reweighting step
// (robust_fits.h).
#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "qor/qor_serv.h"
#include "stats/chi_square.h"
#include "stats/robust_fits.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

constexpr int64_t kWholeDataLimit = 600;  // above it the starts run on parts
constexpr int64_t kPartSize = 300;
constexpr int64_t kMaxParts = 5;
constexpr int64_t kKeep = 10;             // fits kept after each stage
constexpr int64_t kStartSteps = 2;        // C-steps after each start
constexpr double kReweightQuantile = 0.975;

// Room from the core's allocator, carved into arrays, freed on scope exit.
class Arena {
public:
    explicit Arena(size_t bytes) : base_(static_cast<char*>(qor_serv_allocate(bytes, kTaskAlignment))) {}
    ~Arena() { qor_serv_deallocate(base_); }
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;
    bool ok() const { return base_ != nullptr; }
    template <class T>
    T* take(int64_t count) {
        size_t bytes = 0;
        aligned_bytes(count, sizeof(T), bytes);
        T* p = reinterpret_cast<T*>(base_ + used_);
        used_ += bytes;
        return p;
    }

private:
    char* base_;
    size_t used_ = 0;
};

// The per-observation arrays of the C-steps, for samples of up to n.
struct Work {
    double* d2;
    double* flags;
    int64_t* order;
    int64_t* perm;  // a permutation of the sample, partly shuffled by each start
};

// The best fits by log determinant, no two of the same determinant (many
// starts end in the same h-subset).
struct Candidates {
    int64_t q = 0, room = 0, count = 0;
    double* log_det = nullptr;
    double* fits = nullptr;  // per fit: mean (q), then cov (q*q)

    double* mean(int64_t k) const { return fits + k * (q + q * q); }
    double* cov(int64_t k) const { return mean(k) + q; }
    void offer(double ld, const double* m, const double* c) {
        int64_t slot = count;
        for (int64_t k = 0; k < count; ++k)
            if (std::fabs(log_det[k] - ld) <= 1e-10 * std::max(1.0, std::fabs(ld))) return;
        if (count == room) {
            slot = std::max_element(log_det, log_det + count) - log_det;
            if (ld >= log_det[slot]) return;
        } else {
            ++count;
        }
        log_det[slot] = ld;
        std::memcpy(mean(slot), m, sizeof(double) * q);
        std::memcpy(cov(slot), c, sizeof(double) * q * q);
    }
    int64_t best() const { return std::min_element(log_det, log_det + count) - log_det; }
};

Candidates candidates(Arena& arena, int64_t q, int64_t room) {
    Candidates c;
    c.q = q, c.room = room;
    c.log_det = arena.take<double>(room);
    c.fits = arena.take<double>(room * (q + q * q));
    return c;
}

void scale(double* m, int64_t count, double factor) {
    for (int64_t k = 0; k < count; ++k) m[k] *= factor;
}

// One C-step: the h observations nearest under (mean, cov) give the new
// mean and covariance (divisor h - 1) and its log determinant.
int32_t c_step(const Sample& s, int64_t h, Work& w, double* mean, double* cov, double& log_det) {
    double ld = 0, total = 0;
    if (const int32_t status = squared_distances(s, mean, cov, w.d2, ld)) return status;
    mark_smallest(w.d2, s.n, h, w.order, w.flags);
    if (const int32_t status = weighted_scatter(s, w.flags, nullptr, mean, cov, total)) return status;
    scale(cov, s.q * s.q, 1.0 / static_cast<double>(h - 1));
    return squared_distances(s, mean, cov, nullptr, log_det);
}

// C-steps from (mean, cov) until the determinant stops decreasing, at most
// `steps`.
int32_t iterate(const Sample& s, int64_t h, int64_t steps, Work& w, double* mean, double* cov, double& log_det) {
    if (const int32_t status = squared_distances(s, mean, cov, nullptr, log_det)) return status;
    for (int64_t k = 0; k < steps; ++k) {
        const double before = log_det;
        if (const int32_t status = c_step(s, h, w, mean, cov, log_det)) return status;
        if (log_det >= before - 1e-12 * std::max(1.0, std::fabs(before))) break;
    }
    return SS_OK;
}

// A start from q+1 random observations of s, grown by further random ones
// while their covariance is singular, up to h.
int32_t random_start(const Sample& s, int64_t h, Draws& draws, Work& w, double* mean, double* cov) {
    std::fill(w.flags, w.flags + s.n, 0.0);
    for (int64_t k = 0; k < h; ++k) {
        std::swap(w.perm[k], w.perm[k + draws.below(s.n - k)]);
        w.flags[w.perm[k]] = 1.0;
        if (k < s.q) continue;
        double total = 0, ld = 0;
        if (const int32_t status = weighted_scatter(s, w.flags, nullptr, mean, cov, total)) return status;
        scale(cov, s.q * s.q, 1.0 / static_cast<double>(k));
        const int32_t status = squared_distances(s, mean, cov, nullptr, ld);
        if (status != SS_ERR_NOT_POSITIVE_DEFINITE) return status;
    }
    return SS_ERR_NOT_POSITIVE_DEFINITE;
}

// `trials` random starts on s, two C-steps each, offered to `best`.  A
// start that stays singular is passed over.
int32_t search(const Sample& s, int64_t h, int64_t trials, Draws& draws, Work& w, double* mean, double* cov,
               Candidates& best) {
    std::iota(w.perm, w.perm + s.n, int64_t{0});
    for (int64_t t = 0; t < trials; ++t) {
        int32_t status = random_start(s, h, draws, w, mean, cov);
        double ld = 0;
        if (status == SS_OK) status = iterate(s, h, kStartSteps, w, mean, cov, ld);
        if (status == SS_ERR_NOT_POSITIVE_DEFINITE) continue;
        if (status != SS_OK) return status;
        best.offer(ld, mean, cov);
    }
    return SS_OK;
}

// Each fit of `from` improved by up to `steps` C-steps on s, offered to `to`.
int32_t refine(const Sample& s, int64_t h, int64_t steps, const Candidates& from, int64_t how_many, Work& w,
               double* mean, double* cov, Candidates& to) {
    int64_t order[kKeep * kMaxParts];
    std::iota(order, order + from.count, int64_t{0});
    std::sort(order, order + from.count, [&](int64_t a, int64_t b) { return from.log_det[a] < from.log_det[b]; });
    for (int64_t k = 0; k < std::min(how_many, from.count); ++k) {
        std::memcpy(mean, from.mean(order[k]), sizeof(double) * s.q);
        std::memcpy(cov, from.cov(order[k]), sizeof(double) * s.q * s.q);
        double ld = 0;
        const int32_t status = iterate(s, h, steps, w, mean, cov, ld);
        if (status == SS_ERR_NOT_POSITIVE_DEFINITE) continue;
        if (status != SS_OK) return status;
        to.offer(ld, mean, cov);
    }
    return SS_OK;
}

int64_t share(int64_t part_n, int64_t h, int64_t n, int64_t q) {
    return std::clamp<int64_t>((part_n * h + n - 1) / n, q + 1, part_n);
}

// The raw MCD fit: the h-subset's mean and covariance (divisor h - 1).
int32_t raw_fit(const Sample& data, int64_t h, const McdSettings& set, Arena& arena, Work& w, double* mean,
                double* cov) {
    const int64_t n = data.n, q = data.q;
    Draws draws(set.seed);
    if (!draws.ok()) return SS_ERR_NO_MEMORY;
    Candidates final_fits = candidates(arena, q, kKeep);
    int64_t carried = kKeep;
    if (n <= kWholeDataLimit) {
        if (const int32_t status = search(data, h, set.subsets, draws, w, mean, cov, final_fits)) return status;
    } else {
        // A random selection of at most 1500, in random order, cut into parts.
        const int64_t selected = std::min(n, kPartSize * kMaxParts), parts = selected / kPartSize;
        double* rows = arena.take<double>(selected * q);
        std::iota(w.perm, w.perm + n, int64_t{0});
        for (int64_t k = 0; k < selected; ++k) {
            std::swap(w.perm[k], w.perm[k + draws.below(n - k)]);
            std::memcpy(rows + k * q, data.row(w.perm[k]), sizeof(double) * q);
        }
        Candidates from_parts = candidates(arena, q, kKeep * parts), part_best = candidates(arena, q, kKeep);
        for (int64_t i = 0; i < parts; ++i) {
            const int64_t lo = selected * i / parts, hi = selected * (i + 1) / parts;
            const Sample part{rows + lo * q, hi - lo, q, nullptr};
            part_best.count = 0;
            if (const int32_t status = search(part, share(hi - lo, h, n, q), std::max<int64_t>(1, set.subsets / parts),
                                              draws, w, mean, cov, part_best))
                return status;
            for (int64_t k = 0; k < part_best.count; ++k)
                from_parts.offer(part_best.log_det[k], part_best.mean(k), part_best.cov(k));
        }
        const Sample pooled{rows, selected, q, data.threading};
        if (const int32_t status =
                refine(pooled, share(selected, h, n, q), kStartSteps, from_parts, from_parts.count, w, mean, cov, final_fits))
            return status;
        if (n > kPartSize * kMaxParts) carried = 1;
    }
    if (final_fits.count == 0) return SS_ERR_NOT_POSITIVE_DEFINITE;
    Candidates converged = candidates(arena, q, kKeep);
    if (const int32_t status = refine(data, h, set.max_steps, final_fits, carried, w, mean, cov, converged))
        return status;
    if (converged.count == 0) return SS_ERR_NOT_POSITIVE_DEFINITE;
    std::memcpy(mean, converged.mean(converged.best()), sizeof(double) * q);
    std::memcpy(cov, converged.cov(converged.best()), sizeof(double) * q * q);
    return SS_OK;
}

}  // namespace

int64_t mcd_coverage(int64_t n, int64_t q, double breakdown) {
    const int64_t n2 = (n + q + 1) / 2;
    const auto h = static_cast<int64_t>(std::floor(2.0 * n2 - n + 2.0 * (1.0 - breakdown) * (n - n2)));
    return std::min(h, n);
}

int32_t fast_mcd(const Sample& data, const McdSettings& set, double* mean, double* cov) {
    const int64_t n = data.n, q = data.q, h = mcd_coverage(n, q, set.breakdown);
    if (h < q + 1) return SS_ERR_NOT_POSITIVE_DEFINITE;
    size_t bytes = 0, room = 0;
    const int64_t fit = q + q * q, selected = std::min(n, kPartSize * kMaxParts);
    // Work arrays, the selection's rows and the four candidate lists.
    for (const int64_t count : {n, n, n, n, selected * q, kKeep, kKeep * fit, kKeep * kMaxParts,
                                kKeep * kMaxParts * fit, kKeep, kKeep * fit, kKeep, kKeep * fit}) {
        if (!aligned_bytes(count, 8, bytes)) return SS_ERR_NO_MEMORY;
        room += bytes;
    }
    Arena arena(room);
    if (!arena.ok()) return SS_ERR_NO_MEMORY;
    Work w{arena.take<double>(n), arena.take<double>(n), arena.take<int64_t>(n), arena.take<int64_t>(n)};
    double total = 0, ld = 0;
    if (h == n) {
        // Nothing to trim: the classical estimate.
        std::fill(w.flags, w.flags + n, 1.0);
        if (const int32_t status = weighted_scatter(data, w.flags, nullptr, mean, cov, total)) return status;
        scale(cov, q * q, 1.0 / static_cast<double>(n - 1));
        return squared_distances(data, mean, cov, nullptr, ld);
    }
    if (const int32_t status = raw_fit(data, h, set, arena, w, mean, cov)) return status;
    scale(cov, q * q, truncation_consistency(static_cast<double>(h) / static_cast<double>(n), static_cast<double>(q)));
    if (!set.reweight) return SS_OK;
    if (const int32_t status = squared_distances(data, mean, cov, w.d2, ld)) return status;
    const double cut = chi_square_quantile(kReweightQuantile, static_cast<double>(q));
    for (int64_t j = 0; j < n; ++j) w.flags[j] = w.d2[j] <= cut ? 1.0 : 0.0;
    if (const int32_t status = weighted_scatter(data, w.flags, nullptr, mean, cov, total)) return status;
    if (total < static_cast<double>(q + 1)) return SS_ERR_NOT_POSITIVE_DEFINITE;
    scale(cov, q * q, truncation_consistency(kReweightQuantile, static_cast<double>(q)) / (total - 1));
    return squared_distances(data, mean, cov, nullptr, ld);
}

}  // namespace qor::ss
