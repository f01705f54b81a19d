// Continuous uniform variates on [a, b): the generator's own real fill,
// optionally clamped into [a, b] (the accurate variant) for generators
// whose rounding can step just outside the bounds.
#include <smmintrin.h>

#include "qor/qor_rng.h"
#include "rng/stream/stream_layout.h"

namespace {

using qor::rng::row_of;

// Eight outputs per step in vector registers, then the remainder.
void clamp(double* r, int32_t n, double a, double b) {
    const __m128d lo = _mm_set1_pd(a), hi = _mm_set1_pd(b);
    int32_t i = 0;
    for (; i + 8 <= n; i += 8)
        for (int j = 0; j < 8; j += 2)
            _mm_storeu_pd(r + i + j, _mm_max_pd(_mm_min_pd(_mm_loadu_pd(r + i + j), hi), lo));
    for (; i < n; ++i) r[i] = r[i] < a ? a : (r[i] > b ? b : r[i]);
}

void clamp(float* r, int32_t n, float a, float b) {
    const __m128 lo = _mm_set1_ps(a), hi = _mm_set1_ps(b);
    int32_t i = 0;
    for (; i + 8 <= n; i += 8)
        for (int j = 0; j < 8; j += 4)
            _mm_storeu_ps(r + i + j, _mm_max_ps(_mm_min_ps(_mm_loadu_ps(r + i + j), hi), lo));
    for (; i < n; ++i) r[i] = r[i] < a ? a : (r[i] > b ? b : r[i]);
}

int32_t fill(const qor_rng_brng_properties& row, qor_rng_stream* s, int32_t n, double* r, double a, double b) {
    return row.fill_double(s, n, r, a, b);
}

int32_t fill(const qor_rng_brng_properties& row, qor_rng_stream* s, int32_t n, float* r, float a, float b) {
    return row.fill_single(s, n, r, a, b);
}

template <class T>
int32_t uniform(int32_t method, qor_rng_stream* stream, int32_t n, T* r, T a, T b) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const qor_rng_brng_properties* row = row_of(stream);
    if (!row) return QOR_RNG_STATUS_BAD_BRNG;
    const int32_t status = fill(*row, stream, n, r, a, b);
    if (status < 0) return status;
    if ((method & QOR_RNG_METHOD_ACCURATE) && n >= 1) clamp(r, n, a, b);
    return status;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngUniform(int32_t method, qor_rng_stream* stream, int32_t n, double* r, double a,
                                   double b) {
    return uniform(method, stream, n, r, a, b);
}

QOR_EXPORT int32_t _rixsRngUniform(int32_t method, qor_rng_stream* stream, int32_t n, float* r, float a, float b) {
    return uniform(method, stream, n, r, a, b);
}

}  // extern "C"
