// The public distribution calls, generated from QOR_RNG_DISTRIBUTIONS.  The
// kernels' distribution functions take their method, count, output array
// and parameters as given, so each call checks them here and forwards only
// a call that passes.
#include <cmath>
#include <cstdint>

#include "qor/qor.h"
#include "rng_access.h"

namespace {

// The parameters each kind of QOR_RNG_DIST_PARAMS_<kind> accepts.
template <class T>
bool parameters_valid_a_b(T a, T b) {
    return a < b && std::isfinite(b - a);  // also refuses NaN and infinite bounds
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
// qor_random.h lacks its written-out declaration.
#define QOR_CORE_RNG_DIST_DEF(p, T, Name, kind, methods, accurate)                                          \
    static_assert(sizeof(&qor_v##p##Rng##Name) != 0, "declare qor_v" #p "Rng" #Name " in qor_random.h");   \
    QOR_EXPORT int qor_v##p##Rng##Name(int method, qor_rng_stream* stream, int64_t n, T* r,                 \
                                       QOR_RNG_DIST_PARAMS_##kind(T)) {                                     \
        const qor::core::RngKernels* rng = qor::core::usable_rng();                                         \
        if (!rng) return qor::core::unavailable_status();                                                   \
        const int status = common_checks(method, methods, accurate != 0, stream, n, r);                     \
        if (status != QOR_RNG_STATUS_OK) return status;                                                     \
        if (!parameters_valid_##kind(QOR_RNG_DIST_ARGS_##kind)) return QOR_RNG_STATUS_BAD_ARGUMENT;        \
        return in_kernel_pieces(n, [&](int64_t done, int count) {                                           \
            return rng->p##Name(method, stream, count, r + done, QOR_RNG_DIST_ARGS_##kind);                 \
        });                                                                                                  \
    }
#define QOR_CORE_RNG_DIST_DEFS(Name, kind, methods, accurate)       \
    QOR_CORE_RNG_DIST_DEF(d, double, Name, kind, methods, accurate) \
    QOR_CORE_RNG_DIST_DEF(s, float, Name, kind, methods, accurate)

QOR_EXTERN_C {
QOR_RNG_DISTRIBUTIONS(QOR_CORE_RNG_DIST_DEFS)
}
