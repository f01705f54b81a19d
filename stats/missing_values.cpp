// _rixdSSMissingValues and _rixsSSMissingValues: EM for the mean and
// covariance of normal data with values missing (NaN), and data
// augmentation drawing imputed data sets (the methods in qor_ss.h).
//
// The observations are grouped by pattern once (missing_patterns.h); every
// EM iteration and every data-augmentation iteration is one pass over the
// groups under the current estimates, split among the threads.  All
// arithmetic is in double for either precision; the results are written
// only when everything has succeeded, the imputed sets as they are drawn.
#include <algorithm>
#include <cmath>

#include "qor/qor_linalg.h"
#include "qor/qor_rng.h"
#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/missing_patterns.h"
#include "stats/missing_posterior.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

// Generator calls fill at most this many values at once.
constexpr int64_t kFillChunk = int64_t{1} << 30;

// The whole number v in [lo, hi], or false.
bool whole(double v, double lo, double hi, int64_t& out) {
    if (!(v >= lo && v <= hi) || v != std::floor(v)) return false;
    out = static_cast<int64_t>(v);
    return true;
}

template <class T>
struct Settings {
    int64_t em_iterations = 0, da_iterations = 1, sets = 0, start = SS_MV_START_COMPLETE_CASES, seed = 0;
    double accuracy = 0;
    const T* init = nullptr;
    const T* prior = nullptr;  // null: the non-informative prior
    T* est = nullptr;
    T* sim = nullptr;
};

template <class T>
int32_t read_params(const SSTask& task, bool da, Settings<T>& s) {
    int64_t count = 0;
    if (!read_int(task, task.mv_param_count, count) || count < 4) return SS_ERR_MV_PARAM_COUNT;
    const T* v = static_cast<const T*>(task.mv_params);
    if (!v) return SS_ERR_MV_PARAMS;
    const auto at = [&](int i) { return static_cast<double>(v[i]); };
    bool ok = whole(at(SS_MV_EM_ITERATIONS), 0, 0x1p31, s.em_iterations);
    s.accuracy = at(SS_MV_ACCURACY);
    ok = ok && s.accuracy >= 0 && s.accuracy <= HUGE_VAL;
    if (da)
        ok = ok && whole(at(SS_MV_DA_ITERATIONS), 1, 0x1p31, s.da_iterations) &&
             whole(at(SS_MV_SETS), 1, 0x1p31, s.sets);
    if (count > SS_MV_START) ok = ok && whole(at(SS_MV_START), 0, 2, s.start);
    s.seed = SS_MV_DEFAULT_SEED;
    if (count > SS_MV_SEED) ok = ok && whole(at(SS_MV_SEED), 0, 0x1p32 - 1, s.seed);
    return ok ? SS_OK : SS_ERR_MV_PARAMS;
}

// Every input and output of the call, in the order of the checks.
template <class T>
int32_t read_settings(const SSTask& task, const Shape& shape, bool da, Settings<T>& s) {
    if (const int32_t status = read_params(task, da, s); status != SS_OK) return status;
    const int64_t p = shape.p, n = shape.n, l = p + p * (p + 1) / 2;
    int64_t count = 0;
    if (s.start == SS_MV_START_GIVEN) {
        if (!read_int(task, task.mv_init_count, count) || count < l) return SS_ERR_MV_INIT_COUNT;
        if (!(s.init = static_cast<const T*>(task.mv_init))) return SS_ERR_MV_INIT;
    }
    if (da) {
        if (!read_int(task, task.mv_prior_count, count) || count < 0 || (count > 0 && count < 2 + l))
            return SS_ERR_MV_PRIOR_COUNT;
        if (count == 0) {
            if (n <= p) return SS_ERR_OBS_COUNT;
        } else {
            if (!(s.prior = static_cast<const T*>(task.mv_prior))) return SS_ERR_MV_PRIOR;
            const double tau = static_cast<double>(s.prior[0]), nu = static_cast<double>(s.prior[1]);
            if (!(tau >= 0 && tau < HUGE_VAL && nu + static_cast<double>(n) > static_cast<double>(p - 1) &&
                  nu < HUGE_VAL))
                return SS_ERR_MV_PRIOR;
        }
    }
    int64_t need = 0;
    if (__builtin_mul_overflow(s.sets, l, &need) || __builtin_add_overflow(need, 1 + l, &need))
        return SS_ERR_MV_EST_COUNT;
    if (!read_int(task, task.mv_est_count, count) || count < need) return SS_ERR_MV_EST_COUNT;
    if (!(s.est = static_cast<T*>(task.mv_est))) return SS_ERR_MV_EST;
    if (da) {
        if (__builtin_mul_overflow(s.sets, n, &need) || __builtin_mul_overflow(need, p, &need))
            return SS_ERR_MV_SIM_COUNT;
        if (!read_int(task, task.mv_sim_count, count) || count < need) return SS_ERR_MV_SIM_COUNT;
        if (!(s.sim = static_cast<T*>(task.mv_sim))) return SS_ERR_MV_SIM;
    }
    return SS_OK;
}

// A mean and covariance in the packed form of mv_init / mv_est and back.
template <class T>
void unpack(const T* in, int64_t p, double* mean, double* cov) {
    for (int64_t i = 0; i < p; ++i) mean[i] = static_cast<double>(in[i]);
    for (int64_t i = 0, at = p; i < p; ++i)
        for (int64_t k = i; k < p; ++k) cov[i + k * p] = cov[k + i * p] = static_cast<double>(in[at++]);
}
template <class T>
void pack(const double* mean, const double* cov, int64_t p, T* out) {
    for (int64_t i = 0; i < p; ++i) out[i] = static_cast<T>(mean[i]);
    for (int64_t i = 0, at = p; i < p; ++i)
        for (int64_t k = i; k < p; ++k) out[at++] = static_cast<T>(cov[i + k * p]);
}

bool positive_definite(const double* cov, int64_t p, double* scratch) {
    std::copy(cov, cov + p * p, scratch);
    const int pi = static_cast<int>(p);
    int info = 0;
    qor_dpotrf("L", &pi, scratch, &pi, &info);
    return info == 0;
}

// The mean and covariance (divisor the count) of the observations without
// missing values; false when there are none.
template <class T>
bool complete_cases(const MissingData<T>& data, const Patterns& pat, double* mean, double* cov) {
    const int64_t p = data.p;
    if (pat.complete_run < 0) return false;
    const int64_t a = pat.start[pat.complete_run], b = pat.start[pat.complete_run + 1];
    const double count = static_cast<double>(b - a);
    std::fill(mean, mean + p, 0.0);
    std::fill(cov, cov + p * p, 0.0);
    for (int64_t r = a; r < b; ++r)
        for (int64_t i = 0; i < p; ++i) mean[i] += static_cast<double>(data.at(pat.order[r], i));
    for (int64_t i = 0; i < p; ++i) mean[i] /= count;
    for (int64_t r = a; r < b; ++r)
        for (int64_t k = 0; k < p; ++k) {
            const double dk = static_cast<double>(data.at(pat.order[r], k)) - mean[k];
            for (int64_t i = 0; i <= k; ++i)
                cov[i + k * p] += (static_cast<double>(data.at(pat.order[r], i)) - mean[i]) * dk;
        }
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = 0; i <= k; ++i) cov[i + k * p] = cov[k + i * p] = cov[i + k * p] / count;
    return true;
}

// Each mean and variance over the values present, each covariance over the
// pairs present (centred at those means); false when a variable has no
// value.  `pairs` holds p x p counts.
template <class T>
bool available_cases(const MissingData<T>& data, double* mean, double* cov, double* pairs) {
    const int64_t p = data.p, n = data.n;
    std::fill(mean, mean + p, 0.0);
    std::fill(cov, cov + p * p, 0.0);
    std::fill(pairs, pairs + p * p, 0.0);
    for (int64_t j = 0; j < n; ++j)
        for (int64_t i = 0; i < p; ++i)
            if (const double x = static_cast<double>(data.at(j, i)); !std::isnan(x))
                mean[i] += x, pairs[i + i * p] += 1;
    for (int64_t i = 0; i < p; ++i) {
        if (pairs[i + i * p] == 0) return false;
        mean[i] /= pairs[i + i * p];
        pairs[i + i * p] = 0;
    }
    for (int64_t j = 0; j < n; ++j)
        for (int64_t k = 0; k < p; ++k) {
            const double dk = static_cast<double>(data.at(j, k)) - mean[k];
            if (std::isnan(dk)) continue;
            for (int64_t i = 0; i <= k; ++i)
                if (const double di = static_cast<double>(data.at(j, i)) - mean[i]; !std::isnan(di))
                    cov[i + k * p] += di * dk, pairs[i + k * p] += 1;
        }
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = 0; i <= k; ++i)
            cov[i + k * p] = cov[k + i * p] = pairs[i + k * p] > 0 ? cov[i + k * p] / pairs[i + k * p] : 0.0;
    if (!positive_definite(cov, p, pairs))
        for (int64_t k = 0; k < p; ++k)
            for (int64_t i = 0; i < p; ++i)
                if (i != k) cov[i + k * p] = 0;
    return true;
}

// The call's buffers, in doubles: estimates, the next ones, the pass's
// sums, a scratch matrix, the prior, the image of mv_est and the I-step's
// normal values.
struct Buffers {
    double *mean, *cov, *next_mean, *next_cov, *s1, *s2, *k, *scratch, *mu0, *lambda_inv, *draws, *normals;
    void* block = nullptr;
    bool allocate(int64_t p, int64_t draw_count, int64_t normal_count) {
        size_t bytes;
        int64_t doubles = 4 * p + 7 * p * p + draw_count;
        if (__builtin_add_overflow(doubles, normal_count, &doubles) || !aligned_bytes(doubles, sizeof(double), bytes))
            return false;
        auto* d = static_cast<double*>(qor_serv_allocate(bytes, kTaskAlignment));
        if (!(block = d)) return false;
        mean = d, cov = mean + p, next_mean = cov + p * p, next_cov = next_mean + p, s1 = next_cov + p * p;
        s2 = s1 + p, k = s2 + p * p, scratch = k + p * p, mu0 = scratch + p * p, lambda_inv = mu0 + p;
        draws = lambda_inv + p * p, normals = draws + draw_count;
        return true;
    }
    ~Buffers() { qor_serv_deallocate(block); }
};

// EM from the estimates in b.mean, b.cov; the number of iterations done.
template <class T>
int32_t run_em(const MissingData<T>& data, const Patterns& pat, int64_t iterations, double accuracy,
               const qor_threading* threading, Buffers& b, int64_t& done) {
    const int64_t p = data.p;
    const double n = static_cast<double>(data.n);
    for (done = 0; done < iterations;) {
        if (const int32_t status =
                sweep_patterns<T>(data, pat, b.mean, b.cov, nullptr, nullptr, threading, {b.s1, b.s2, b.k});
            status != SS_OK)
            return status;
        ++done;
        for (int64_t i = 0; i < p; ++i) b.s1[i] /= n, b.next_mean[i] = b.mean[i] + b.s1[i];
        for (int64_t c = 0; c < p; ++c)
            for (int64_t i = 0; i <= c; ++i)
                b.next_cov[i + c * p] = b.next_cov[c + i * p] =
                    (b.s2[i + c * p] + b.k[i + c * p]) / n - b.s1[i] * b.s1[c];
        double change = 0;
        for (int64_t c = 0; c < p; ++c) {
            change = std::max(change, std::fabs(b.s1[c]) / std::sqrt(b.next_cov[c + c * p]));
            for (int64_t i = 0; i <= c; ++i)
                change = std::max(change, std::fabs(b.next_cov[i + c * p] - b.cov[i + c * p]) /
                                              std::sqrt(b.next_cov[i + i * p] * b.next_cov[c + c * p]));
        }
        std::swap(b.mean, b.next_mean);
        std::swap(b.cov, b.next_cov);
        if (!(change > accuracy)) break;
    }
    return SS_OK;
}

// Data augmentation from the estimates in b.mean, b.cov; each set's draw
// goes to b.draws after the EM part.
template <class T>
int32_t run_da(const MissingData<T>& data, const Patterns& pat, const Settings<T>& s, const qor_threading* threading,
               Buffers& b) {
    const int64_t p = data.p, n = data.n, l = p + p * (p + 1) / 2;
    NormalWishartPrior prior;
    if (s.prior) {
        prior.tau = static_cast<double>(s.prior[0]), prior.nu = static_cast<double>(s.prior[1]);
        unpack(s.prior + 2, p, b.mu0, b.lambda_inv);
        prior.mu0 = b.mu0, prior.lambda_inv = b.lambda_inv;
    }
    qor_rng_stream* stream = nullptr;
    const uint32_t seed = static_cast<uint32_t>(s.seed);
    if (__rixNewStreamEx(&stream, QOR_RNG_BRNG_MT19937, 1, &seed) != 0) {
        if (stream) __rixDeleteStream(&stream);
        return SS_ERR_NO_MEMORY;
    }
    int32_t status = SS_OK;
    for (int64_t set = 0; set < s.sets && status == SS_OK; ++set) {
        for (int64_t it = 0; it < s.da_iterations && status == SS_OK; ++it) {
            for (int64_t at = 0; at < pat.total_missing() && status == SS_OK; at += kFillChunk) {
                const auto count = static_cast<int32_t>(std::min(kFillChunk, pat.total_missing() - at));
                if (_rixdRngGaussian(0, stream, count, b.normals + at, 0.0, 1.0) != 0) status = SS_ERR_NO_MEMORY;
            }
            if (status != SS_OK) break;
            T* out = it + 1 == s.da_iterations ? s.sim + set * n * p : nullptr;
            status = sweep_patterns<T>(data, pat, b.mean, b.cov, b.normals, out, threading, {b.s1, b.s2, nullptr});
            if (status != SS_OK) break;
            // The completed data's mean and centred cross-products.
            const double nd = static_cast<double>(n);
            for (int64_t i = 0; i < p; ++i) b.next_mean[i] = b.mean[i] + b.s1[i] / nd;
            for (int64_t c = 0; c < p; ++c)
                for (int64_t i = 0; i <= c; ++i)
                    b.next_cov[i + c * p] = b.next_cov[c + i * p] = b.s2[i + c * p] - b.s1[i] * b.s1[c] / nd;
            status = draw_posterior(stream, p, n, b.next_mean, b.next_cov, prior, b.mean, b.cov);
        }
        if (status == SS_OK) pack(b.mean, b.cov, p, b.draws + 1 + l + set * l);
    }
    __rixDeleteStream(&stream);
    return status;
}

template <class T>
int32_t missing_values(SSTask* task, uint64_t estimates, int32_t method, const qor_threading* threading) {
    Shape shape;
    if (const int32_t status = read_shape(task, shape); status != SS_OK) return status;
    if (!(estimates & SS_EST_MISSING_VALUES)) return SS_OK;
    if (!task->obs) return SS_ERR_OBS;
    const bool em = method & SS_METHOD_MI_EM, da = method & SS_METHOD_MI_DA;
    if (em == da) return SS_ERR_METHOD;
    Settings<T> s;
    if (const int32_t status = read_settings(*task, shape, da, s); status != SS_OK) return status;

    const int64_t p = shape.p, l = p + p * (p + 1) / 2;
    const MissingData<T> data{static_cast<const T*>(task->obs), p, shape.n, shape.variables_in_rows};
    Patterns pat;
    if (const int32_t status = group_patterns(data, pat); status != SS_OK) return status;
    Buffers b;
    const int64_t est_count = 1 + l + s.sets * l;
    if (!b.allocate(p, est_count, da ? pat.total_missing() : 0)) {
        release_patterns(pat);
        return SS_ERR_NO_MEMORY;
    }
    bool started = true;
    if (s.start == SS_MV_START_GIVEN)
        unpack(s.init, p, b.mean, b.cov);
    else if (s.start == SS_MV_START_COMPLETE_CASES)
        started = complete_cases(data, pat, b.mean, b.cov);
    else
        started = available_cases(data, b.mean, b.cov, b.scratch);
    int32_t status = started && positive_definite(b.cov, p, b.scratch) ? SS_OK : SS_ERR_NOT_POSITIVE_DEFINITE;
    int64_t done = 0;
    if (status == SS_OK) status = run_em(data, pat, s.em_iterations, s.accuracy, threading, b, done);
    if (status == SS_OK) {
        b.draws[0] = static_cast<double>(done);
        pack(b.mean, b.cov, p, b.draws + 1);
        if (da) status = run_da(data, pat, s, threading, b);
    }
    if (status == SS_OK)
        for (int64_t i = 0; i < (da ? est_count : 1 + l); ++i) s.est[i] = static_cast<T>(b.draws[i]);
    release_patterns(pat);
    return status;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSMissingValues, qor::ss::missing_values)
