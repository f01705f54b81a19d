// Multivariate Gaussian variates x = a + T z of dimension dimen: z standard
// Gaussian by the Gaussian's method of the same number, drawn for many
// variates at once (blocks of about 1024 values, a whole number of
// variates), T lower triangular stored full (by rows), packed (the lower
// triangle by rows) or as its diagonal.  Full and packed storage share one
// row product, so the same factor gives the same bits in either; a
// diagonal factor gives them too, its zero products adding nothing.  Each
// form computes in its own precision.
#include <emmintrin.h>

#include "qor/qor_rng.h"
#include "qor/qor_serv.h"

namespace {

constexpr int32_t kBlock = 1024;

int32_t gaussians(int32_t method, qor_rng_stream* s, int32_t n, double* z) {
    return _rixdRngGaussian(method, s, n, z, 0.0, 1.0);
}
int32_t gaussians(int32_t method, qor_rng_stream* s, int32_t n, float* z) {
    return _rixsRngGaussian(method, s, n, z, 0.0f, 1.0f);
}

// sum of t[j] z[j] over j < n, a vector register's lanes at a time.
double dot(const double* t, const double* z, int32_t n) {
    __m128d acc = _mm_setzero_pd();
    int32_t j = 0;
    for (; j + 2 <= n; j += 2) acc = _mm_add_pd(acc, _mm_mul_pd(_mm_loadu_pd(t + j), _mm_loadu_pd(z + j)));
    double sum = _mm_cvtsd_f64(acc) + _mm_cvtsd_f64(_mm_unpackhi_pd(acc, acc));
    for (; j < n; ++j) sum += t[j] * z[j];
    return sum;
}

float dot(const float* t, const float* z, int32_t n) {
    __m128 acc = _mm_setzero_ps();
    int32_t j = 0;
    for (; j + 4 <= n; j += 4) acc = _mm_add_ps(acc, _mm_mul_ps(_mm_loadu_ps(t + j), _mm_loadu_ps(z + j)));
    acc = _mm_add_ps(acc, _mm_movehl_ps(acc, acc));
    float sum = _mm_cvtss_f32(acc) + _mm_cvtss_f32(_mm_shuffle_ps(acc, acc, 1));
    for (; j < n; ++j) sum += t[j] * z[j];
    return sum;
}

// x = a + T z for one variate.
template <class T>
void transform(int32_t dimen, int32_t storage, const T* a, const T* t, const T* z, T* x) {
    if (storage == QOR_RNG_MATRIX_DIAGONAL) {
        for (int32_t i = 0; i < dimen; ++i) x[i] = a[i] + t[i] * z[i];
        return;
    }
    const T* row = t;
    for (int32_t i = 0; i < dimen; ++i) {
        x[i] = a[i] + dot(row, z, i + 1);
        row += storage == QOR_RNG_MATRIX_FULL ? dimen : i + 1;
    }
}

template <class T>
int32_t gaussian_mv(int32_t method, qor_rng_stream* stream, int32_t n, T* r, int32_t dimen, int32_t storage,
                    const T* a, const T* t) {
    if (n <= 0) return QOR_RNG_STATUS_OK;
    T local[kBlock];
    T* z = local;
    if (dimen > kBlock) {  // one variate's Gaussians do not fit the stack buffer
        z = static_cast<T*>(qor_serv_allocate(sizeof(T) * static_cast<size_t>(dimen), 64));
        if (!z) return QOR_RNG_STATUS_NO_MEMORY;
    }
    const int32_t per_block = dimen > kBlock ? 1 : kBlock / dimen;
    int32_t status = QOR_RNG_STATUS_OK;
    for (int32_t done = 0; done < n;) {
        const int32_t m = n - done < per_block ? n - done : per_block;
        status = gaussians(method, stream, m * dimen, z);
        if (status < 0) break;
        for (int32_t v = 0; v < m; ++v)
            transform(dimen, storage, a, t, z + static_cast<size_t>(v) * dimen,
                      r + static_cast<size_t>(done + v) * dimen);
        done += m;
    }
    if (z != local) qor_serv_deallocate(z);
    return status < 0 ? status : QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngGaussianMV(int32_t method, qor_rng_stream* stream, int32_t n, double* r, int32_t dimen,
                                      int32_t mstorage, const double* a, const double* t) {
    return gaussian_mv(method, stream, n, r, dimen, mstorage, a, t);
}

QOR_EXPORT int32_t _rixsRngGaussianMV(int32_t method, qor_rng_stream* stream, int32_t n, float* r, int32_t dimen,
                                      int32_t mstorage, const float* a, const float* t) {
    return gaussian_mv(method, stream, n, r, dimen, mstorage, a, t);
}

}  // extern "C"
