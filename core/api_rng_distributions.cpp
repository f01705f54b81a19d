// The public distribution calls, generated from QOR_RNG_DISTRIBUTIONS.  The
// kernels' distribution functions take their method, count, output array
// and parameters as given, so each call checks them here and forwards only
// a call that passes.
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "qor/qor.h"
#include "rng_access.h"

namespace {

inline bool positive_finite(double x) { return x > 0 && std::isfinite(x); }  // also refuses NaN

// The validators the list names, each taking the count of variates and the
// distribution's parameters.
template <class T>
bool valid_interval(int64_t, T a, T b) {
    if constexpr (std::is_floating_point_v<T>) return a < b && std::isfinite(b - a);  // refuses NaN and infinities
    return a < b;
}

template <class T>
bool valid_scale(int64_t, T location, T scale) {
    return std::isfinite(location) && positive_finite(scale);
}

template <class T>
bool valid_shape_scale(int64_t, T shape, T displacement, T scale) {
    return positive_finite(shape) && std::isfinite(displacement) && positive_finite(scale);
}

template <class T>
bool valid_log_scale(int64_t, T mean, T deviation, T displacement, T scale) {
    return std::isfinite(mean) && positive_finite(deviation) && std::isfinite(displacement) && positive_finite(scale);
}

template <class T>
bool valid_beta_shape(int64_t, T p, T q, T displacement, T scale) {
    return positive_finite(p) && positive_finite(q) && std::isfinite(displacement) && positive_finite(scale);
}

inline bool valid_degrees(int64_t, int32_t v) { return v >= 1; }

// Entries of row i of a lower-triangular factor stored as `storage` tells,
// handed to visit(column, value); false for an unknown storage.
template <class T, class Visit>
bool for_each_factor_entry(int32_t dimen, int32_t storage, const T* t, Visit visit) {
    for (int64_t i = 0, packed = 0; i < dimen; ++i) {
        for (int64_t j = 0; j <= i; ++j) {
            switch (storage) {
                case QOR_RNG_MATRIX_FULL: visit(i, j, t[i * dimen + j]); break;
                case QOR_RNG_MATRIX_PACKED: visit(i, j, t[packed++]); break;
                case QOR_RNG_MATRIX_DIAGONAL: if (i == j) visit(i, j, t[i]); break;
                default: return false;
            }
        }
    }
    return true;
}

template <class T>
bool valid_factor(int64_t, int32_t dimen, int32_t storage, const T* a, const T* t) {
    if (dimen < 1 || !a || !t) return false;
    bool ok = true;
    for (int32_t i = 0; i < dimen; ++i) ok = ok && std::isfinite(a[i]);
    const bool known = for_each_factor_entry(dimen, storage, t, [&](int64_t i, int64_t j, T v) {
        ok = ok && (i == j ? positive_finite(v) : std::isfinite(v));
    });
    return known && ok;
}

inline bool valid_none(int64_t) { return true; }

inline bool in_unit_interval(double p) { return p >= 0 && p <= 1; }  // refuses NaN

inline bool valid_probability(int64_t, double p) { return in_unit_interval(p); }
inline bool valid_success(int64_t, double p) { return p > 0 && p <= 1; }
inline bool valid_binomial(int64_t, int32_t ntrial, double p) { return ntrial >= 0 && in_unit_interval(p); }
inline bool valid_population(int64_t, int32_t l, int32_t s, int32_t m) {
    return s >= 0 && s <= l && m >= 0 && m <= l;
}
inline bool valid_mean(int64_t, double lambda) { return lambda > 0 && lambda <= QOR_RNG_POISSON_MEAN_MAX; }
inline bool valid_means(int64_t n, const double* lambda) {
    if (n > 0 && !lambda) return false;
    for (int64_t i = 0; i < n; ++i)
        if (!valid_mean(n, lambda[i])) return false;
    return true;
}
// The mixture draws a Poisson mean from a gamma of shape a and scale
// (1 - p)/p; its chance of passing a + 40 sqrt(a) + 40 times the scale is
// below e^-40, so bounding that keeps every mean in the Poisson range.
inline bool valid_neg_binomial(int64_t, double a, double p) {
    return positive_finite(a) && p > 0 && p <= 1 &&
           (1 - p) / p * (a + 40 * std::sqrt(a) + 40) <= QOR_RNG_POISSON_MEAN_MAX;
}
inline bool valid_categories(int64_t, int32_t ntrial, int32_t k, const double* p) {
    if (ntrial < 0 || k < 1 || !p) return false;
    double sum = 0;
    for (int32_t i = 0; i < k; ++i) {
        if (!in_unit_interval(p[i])) return false;
        sum += p[i];
    }
    return std::fabs(sum - 1) <= 1e-12 * k;
}

// A method number below `methods`, with QOR_RNG_METHOD_ACCURATE added only
// where the distribution has an accurate variant.
bool method_valid(int method, int methods, bool accurate) {
    if (accurate) method &= ~QOR_RNG_METHOD_ACCURATE;
    return method >= 0 && method < methods;
}

template <class T>
int common_checks(int method, int methods, bool accurate, const qor_rng_stream* stream, int64_t n, const T* r) {
    if (!method_valid(method, methods, accurate)) return QOR_RNG_STATUS_BAD_METHOD;
    if (!stream || n < 0 || (n > 0 && !r)) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return QOR_RNG_STATUS_OK;
}

// Runs draw(done, count) over [0, n) in pieces that the kernels' 32-bit
// counts accept (one call of count 0 when n is 0), stopping at the first
// status that is not OK.
template <class Draw>
int in_kernel_pieces(int64_t n, Draw draw) {
    constexpr int64_t kMostPerCall = INT32_MAX;
    int64_t done = 0;
    do {
        const int count = static_cast<int>(n - done < kMostPerCall ? n - done : kMostPerCall);
        if (const int status = draw(done, count); status != QOR_RNG_STATUS_OK) return status;
        done += count;
    } while (done < n);
    return QOR_RNG_STATUS_OK;
}

}  // namespace

// Naming the function before its definition fails to compile when
// qor_random.h lacks its written-out declaration.  A vector variate of
// `width` values advances the output by width per variate.
#define QOR_CORE_RNG_DIST_DEF(p, T, Name, params, check, methods, accurate)                                 \
    static_assert(sizeof(&qor_v##p##Rng##Name) != 0, "declare qor_v" #p "Rng" #Name " in qor_random.h");   \
    QOR_EXPORT int qor_v##p##Rng##Name(int method, qor_rng_stream* stream, int64_t n,                       \
                                       T* r QOR_RNG_DIST_PARAMS_##params(T)) {                              \
        const qor::core::RngKernels* rng = qor::core::usable_rng();                                         \
        if (!rng) return qor::core::unavailable_status();                                                   \
        const int status = common_checks(method, methods, accurate != 0, stream, n, r);                     \
        if (status != QOR_RNG_STATUS_OK) return status;                                                     \
        if (!valid_##check(n QOR_RNG_DIST_ARGS_AT_##params(0))) return QOR_RNG_STATUS_BAD_ARGUMENT;         \
        const int64_t width = QOR_RNG_DIST_WIDTH_##params;                                                  \
        return in_kernel_pieces(n, [&](int64_t done, int count) {                                           \
            return rng->p##Name(method, stream, count, r + done * width QOR_RNG_DIST_ARGS_AT_##params(done)); \
        });                                                                                                  \
    }
#define QOR_CORE_RNG_DIST_DEFS(Name, output, params, check, methods, accurate) \
    QOR_RNG_DIST_FORMS_##output(QOR_CORE_RNG_DIST_DEF, Name, params, check, methods, accurate)

QOR_EXTERN_C {
QOR_RNG_DISTRIBUTIONS(QOR_CORE_RNG_DIST_DEFS)
}
