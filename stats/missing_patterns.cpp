#include "stats/missing_patterns.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "qor/qor_linalg.h"
#include "qor/qor_serv.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

constexpr int64_t kBlock = 128;
constexpr int64_t kObservationsPerThread = 8192;
// Grouped by pattern, consecutive observations lie anywhere in the imputed
// set: each one's place is fetched this many observations ahead.
constexpr int64_t kAhead = 16;

// Doubles of one thread's workspace, rounded to whole alignment units.
int64_t workspace_doubles(int64_t p) {
    const int64_t d = 3 * p + 6 * p * p + 4 * p * kBlock;
    return (d + 15) / 16 * 16;
}

template <class T>
struct SweepJob {
    const MissingData<T>& data;
    const Patterns& pat;
    const double* mean;
    const double* cov;
    const double* normals;
    T* imputed;
    int threads;
    double* work;
    int32_t* status;  // one per thread

    // One thread's pieces of the workspace.
    struct Space {
        double *s1, *s2, *k, *y, *d, *xm, *z, *soo, *som, *bt, *c;
        int64_t* index;  // observed variables, then missing ones
    };
    Space space(int t) const {
        const int64_t p = data.p;
        double* w = work + t * workspace_doubles(p);
        Space s;
        s.s1 = w, s.s2 = s.s1 + p, s.k = s.s2 + p * p, s.soo = s.k + p * p, s.som = s.soo + p * p, s.bt = s.som + p * p,
        s.c = s.bt + p * p;
        s.y = s.c + p * p, s.d = s.y + p * kBlock, s.xm = s.d + p * kBlock, s.z = s.xm + p * kBlock;
        s.index = reinterpret_cast<int64_t*>(s.z + p * kBlock);
        return s;
    }

    void operator()(int t) const {
        const int64_t n = data.n, lo = n * t / threads, hi = n * (t + 1) / threads;
        if (lo >= hi) return;
        const Space s = space(t);
        const int64_t first = std::upper_bound(pat.start, pat.start + pat.runs + 1, lo) - pat.start - 1;
        for (int64_t r = first; r < pat.runs && pat.start[r] < hi; ++r) {
            const int64_t a = std::max(lo, pat.start[r]), b = std::min(hi, pat.start[r + 1]);
            const int64_t z_at = pat.normal_start[r] + (a - pat.start[r]) * pat.missing[r];
            if (const int32_t st = run(s, a, b, z_at); st != SS_OK) {
                status[t] = st;
                return;
            }
        }
    }

    // The regression of the pattern's missing on its observed variables.
    int32_t regress(const Space& s, int64_t o, int64_t m) const {
        const int64_t p = data.p;
        const int64_t *obs_i = s.index, *mis_i = s.index + o;
        for (int64_t b = 0; b < m; ++b)
            for (int64_t a = 0; a < m; ++a) s.c[a + b * m] = cov[mis_i[a] + mis_i[b] * p];
        if (o == 0) return SS_OK;
        for (int64_t b = 0; b < o; ++b)
            for (int64_t a = 0; a < o; ++a) s.soo[a + b * o] = cov[obs_i[a] + obs_i[b] * p];
        for (int64_t b = 0; b < m; ++b)
            for (int64_t a = 0; a < o; ++a) s.som[a + b * o] = cov[obs_i[a] + mis_i[b] * p];
        const int oi = static_cast<int>(o), mi = static_cast<int>(m);
        int info = 0;
        qor_dpotrf("L", &oi, s.soo, &oi, &info);
        if (info == 0) qor_dpotri("L", &oi, s.soo, &oi, &info);
        if (info != 0) return SS_ERR_NOT_POSITIVE_DEFINITE;
        const double one = 1.0, zero = 0.0, minus_one = -1.0;
        qor_dsymm("L", "L", &oi, &mi, &one, s.soo, &oi, s.som, &oi, &zero, s.bt, &oi);
        qor_dgemm("T", "N", &mi, &mi, &oi, &minus_one, s.som, &oi, s.bt, &oi, &one, s.c, &mi);
        return SS_OK;
    }

    int32_t run(const Space& s, int64_t a, int64_t b, int64_t z_at) const {
        const int64_t p = data.p;
        int64_t o = 0, m = 0;
        const T* grouped = static_cast<const T*>(pat.grouped);
        for (int64_t i = 0; i < p; ++i)
            if (!std::isnan(grouped[a * p + i])) s.index[o++] = i;
        for (int64_t i = 0; i < p; ++i)
            if (std::isnan(grouped[a * p + i])) s.index[o + m++] = i;
        const int64_t *obs_i = s.index, *mis_i = s.index + o;
        if (m > 0) {
            if (const int32_t st = regress(s, o, m); st != SS_OK) return st;
            const int mi = static_cast<int>(m);
            if (normals) {
                int info = 0;
                qor_dpotrf("L", &mi, s.c, &mi, &info);
                if (info != 0) return SS_ERR_NOT_POSITIVE_DEFINITE;
            } else {
                const double count = static_cast<double>(b - a);
                for (int64_t v = 0; v < m; ++v)
                    for (int64_t u = 0; u < m; ++u) s.k[mis_i[u] + mis_i[v] * p] += count * s.c[u + v * m];
            }
        }
        const int oi = static_cast<int>(o), mi = static_cast<int>(m), pi = static_cast<int>(p);
        const double one = 1.0, zero = 0.0;
        for (int64_t lo = a; lo < b; lo += kBlock) {
            const int64_t cols = std::min(kBlock, b - lo);
            const int ci = static_cast<int>(cols);
            for (int64_t c = 0; c < cols; ++c) {
                const T* x = grouped + (lo + c) * p;
                for (int64_t u = 0; u < o; ++u) {
                    const double v = static_cast<double>(x[obs_i[u]]) - mean[obs_i[u]];
                    s.d[u + c * o] = v;
                    s.y[obs_i[u] + c * p] = v;
                }
            }
            if (m > 0) {
                if (o > 0)
                    qor_dgemm("T", "N", &mi, &ci, &oi, &one, s.bt, &oi, s.d, &oi, &zero, s.xm, &mi);
                else
                    std::fill(s.xm, s.xm + m * cols, 0.0);
                if (normals) {
                    std::copy(normals + z_at + (lo - a) * m, normals + z_at + (lo - a + cols) * m, s.z);
                    qor_dtrmm("L", "L", "N", "N", &mi, &ci, &one, s.c, &mi, s.z, &mi);
                    for (int64_t e = 0; e < m * cols; ++e) s.xm[e] += s.z[e];
                }
                for (int64_t c = 0; c < cols; ++c)
                    for (int64_t u = 0; u < m; ++u) s.y[mis_i[u] + c * p] = s.xm[u + c * m];
            }
            for (int64_t c = 0; c < cols; ++c)
                for (int64_t i = 0; i < p; ++i) s.s1[i] += s.y[i + c * p];
            qor_dsyrk("U", "N", &pi, &ci, &one, s.y, &pi, &one, s.s2, &pi);
            if (imputed)
                for (int64_t c = 0; c < cols; ++c) {
                    const int64_t j = pat.order[lo + c];
                    if (lo + c + kAhead < b) data.prefetch(imputed, pat.order[lo + c + kAhead]);
                    const T* x = grouped + (lo + c) * p;
                    for (int64_t u = 0; u < o; ++u) data.at(imputed, j, obs_i[u]) = x[obs_i[u]];
                    for (int64_t u = 0; u < m; ++u)
                        data.at(imputed, j, mis_i[u]) = static_cast<T>(mean[mis_i[u]] + s.y[mis_i[u] + c * p]);
                }
        }
        return SS_OK;
    }
};

// Words of an observation's missing-variable mask.
int64_t mask_words(int64_t p) { return (p + 63) / 64; }

// Buffers of the core's allocator, released when the holder goes.
struct Scratch {
    void* held[2] = {};
    ~Scratch() {
        for (void* h : held) qor_serv_deallocate(h);
    }
};

// Digits of the masks that one counting pass sorts by.
constexpr int kDigitBits = 11;

}  // namespace

// The observations are ordered by their masks with a stable radix sort
// (least significant digit first, one pass per 11 bits of the p), so that
// observations of one pattern keep their order and the grouping is the
// same for every thread count.
template <class T>
int32_t group_patterns(const MissingData<T>& data, Patterns& pat) {
    const int64_t p = data.p, n = data.n, words = mask_words(p);
    size_t b_masks, b_order;
    if (!aligned_bytes(n * words, sizeof(uint64_t), b_masks) || !aligned_bytes(n, sizeof(int64_t), b_order))
        return SS_ERR_NO_MEMORY;
    Scratch scratch;
    auto* masks = static_cast<uint64_t*>(scratch.held[0] = qor_serv_allocate(b_masks, kTaskAlignment));
    auto* other = static_cast<int64_t*>(scratch.held[1] = qor_serv_allocate(b_order, kTaskAlignment));
    auto* order = static_cast<int64_t*>(qor_serv_allocate(b_order, kTaskAlignment));
    if (!masks || !other || !order) {
        qor_serv_deallocate(order);
        return SS_ERR_NO_MEMORY;
    }
    std::memset(masks, 0, b_masks);
    for (int64_t j = 0; j < n; ++j) {
        order[j] = j;
        for (int64_t i = 0; i < p; ++i)
            if (std::isnan(data.at(j, i))) masks[j * words + i / 64] |= uint64_t{1} << (i % 64);
    }
    for (int64_t w = words - 1; w >= 0; --w)
        for (int64_t shift = 0; shift < std::min<int64_t>(64, p - 64 * w); shift += kDigitBits) {
            int64_t count[(1 << kDigitBits) + 1] = {};
            const auto digit = [&](int64_t j) { return (masks[j * words + w] >> shift) & ((1 << kDigitBits) - 1); };
            for (int64_t a = 0; a < n; ++a) ++count[digit(order[a]) + 1];
            for (int64_t d = 0; d < (1 << kDigitBits); ++d) count[d + 1] += count[d];
            for (int64_t a = 0; a < n; ++a) other[count[digit(order[a])]++] = order[a];
            std::swap(order, other);
        }
    scratch.held[1] = other;  // after an odd number of passes the buffers traded places
    const auto mask_of = [&](int64_t j) { return masks + j * words; };
    const auto same = [&](int64_t a) {
        return std::memcmp(mask_of(order[a]), mask_of(order[a - 1]), static_cast<size_t>(words) * 8) == 0;
    };
    int64_t runs = 1;
    for (int64_t a = 1; a < n; ++a) runs += !same(a);
    size_t b_runs, b_grouped;
    auto* lists = aligned_bytes(4 * (runs + 1), sizeof(int64_t), b_runs)
                      ? static_cast<int64_t*>(qor_serv_allocate(b_runs, kTaskAlignment))
                      : nullptr;
    auto* grouped = aligned_bytes(n * p, sizeof(T), b_grouped)
                        ? static_cast<T*>(qor_serv_allocate(b_grouped, kTaskAlignment))
                        : nullptr;
    if (!lists || !grouped) {
        qor_serv_deallocate(order);
        qor_serv_deallocate(lists);
        qor_serv_deallocate(grouped);
        return SS_ERR_NO_MEMORY;
    }
    for (int64_t a = 0; a < n; ++a)
        for (int64_t i = 0; i < p; ++i) grouped[a * p + i] = data.at(order[a], i);
    pat.grouped = grouped;
    pat.runs = runs;
    pat.order = order;
    pat.start = lists;
    pat.missing = lists + (runs + 1);
    pat.normal_start = lists + 2 * (runs + 1);
    pat.buffer = lists;
    pat.complete_run = -1;
    for (int64_t a = 0, r = -1; a < n; ++a) {
        if (a > 0 && same(a)) continue;
        pat.start[++r] = a;
        int64_t missing = 0;
        for (int64_t w = 0; w < words; ++w) missing += __builtin_popcountll(mask_of(order[a])[w]);
        pat.missing[r] = missing;
        if (missing == 0) pat.complete_run = r;
    }
    pat.start[runs] = n;
    pat.normal_start[0] = 0;
    for (int64_t r = 0; r < runs; ++r)
        pat.normal_start[r + 1] = pat.normal_start[r] + (pat.start[r + 1] - pat.start[r]) * pat.missing[r];
    return SS_OK;
}

void release_patterns(Patterns& pat) {
    qor_serv_deallocate(pat.order);
    qor_serv_deallocate(pat.buffer);
    qor_serv_deallocate(pat.grouped);
    pat = Patterns{};
}

template <class T>
int32_t sweep_patterns(const MissingData<T>& data, const Patterns& pat, const double* mean, const double* cov,
                       const double* normals, T* imputed, const qor_threading* threading, const SweepSums& out) {
    const int64_t p = data.p;
    const int threads =
        static_cast<int>(std::clamp<int64_t>(data.n / kObservationsPerThread, 1, thread_limit(threading)));
    size_t bytes;
    if (!aligned_bytes(threads * workspace_doubles(p), sizeof(double), bytes)) return SS_ERR_NO_MEMORY;
    auto* work = static_cast<double*>(qor_serv_allocate(bytes, kTaskAlignment));
    if (!work) return SS_ERR_NO_MEMORY;
    int32_t status[64] = {};
    const int used = std::min(threads, 64);
    SweepJob<T> job{data, pat, mean, cov, normals, imputed, used, work, status};
    for (int t = 0; t < used; ++t) {
        const auto s = job.space(t);
        std::fill(s.s1, s.s1 + p + 2 * p * p, 0.0);  // s1, s2, k
    }
    run_workers(threading, used, job);
    int32_t result = SS_OK;
    for (int t = 0; t < used && result == SS_OK; ++t) result = status[t];
    if (result == SS_OK) {
        std::fill(out.s1, out.s1 + p, 0.0);
        std::fill(out.s2, out.s2 + p * p, 0.0);
        if (out.k) std::fill(out.k, out.k + p * p, 0.0);
        for (int t = 0; t < used; ++t) {
            const auto s = job.space(t);
            for (int64_t i = 0; i < p; ++i) out.s1[i] += s.s1[i];
            for (int64_t e = 0; e < p * p; ++e) out.s2[e] += s.s2[e];
            if (out.k)
                for (int64_t e = 0; e < p * p; ++e) out.k[e] += s.k[e];
        }
    }
    qor_serv_deallocate(work);
    return result;
}

#define QOR_SS_MISSING_PATTERNS(T)                                                                           \
    template int32_t group_patterns<T>(const MissingData<T>&, Patterns&);                                    \
    template int32_t sweep_patterns<T>(const MissingData<T>&, const Patterns&, const double*, const double*, \
                                       const double*, T*, const qor_threading*, const SweepSums&);
QOR_SS_MISSING_PATTERNS(double)
QOR_SS_MISSING_PATTERNS(float)

}  // namespace qor::ss
