// Gaussian variates with mean a and standard deviation sigma, by three
// methods over uniform variates, their transcendental work done by the
// vector-math EP kernels on whole blocks:
//   0  Box-Muller, one variate per pair:  sqrt(-2 ln u1) sin(2 pi u2)
//   1  Box-Muller, both variates of a pair (sin and cos), the second of a
//      last pair kept on the stream for the next call
//   2  inverse distribution function:  sqrt(2) erfinv(u), u on [-1, 1)
// A uniform of 0 or -1 would give an infinite logarithm or inverse; the
// error callback replaces it with a large finite value instead.
#include <cmath>

#include "qor/qor_rng.h"
#include "qor/qor_serv.h"
#include "rng/dist/transforms.h"
#include "rng/dist/vm_calls.h"

namespace {

using namespace qor::rng::dist;

constexpr double kTwoPi = 6.283185307179586;  // 0x401921FB54442D18
constexpr double kSqrt2 = 1.4142135623730951;  // 0x3FF6A09E667F3BCD
// erfinv of the largest double below 1: where the inverse saturates.
constexpr double kErfInvEdge = 5.8635847487551676;  // 0x4017744F8F74E94A

constexpr int32_t kBlock = 1024;

int32_t gaussian_callback(qor_vm_error_record* e) {
    double replacement;
    if (e->code == QOR_VM_STATUS_DOMAIN)
        replacement = e->arg1 >= 0 ? kErfInvEdge : -kErfInvEdge;
    else if (e->code == QOR_VM_STATUS_SING)
        replacement = e->arg1 == 0 ? kLnOfTiniest : std::copysign(kErfInvEdge, e->arg1);
    else
        return 0;
    e->res1 = e->res2 = replacement;
    return 0;
}

// Method 0: block by block, 2m uniforms give m variates.
template <class T>
int32_t box_muller(qor_rng_stream* stream, int32_t n, T* r, T a, T sigma) {
    T u[2 * kBlock], radius[kBlock], angle[kBlock];
    for (int32_t done = 0; done < n;) {
        const int32_t m = n - done < kBlock ? n - done : kBlock;
        const int32_t status = uniforms(stream, 2 * m, u, T(0), T(1));
        if (status < 0) return status;
        for (int32_t i = 0; i < m; ++i) {
            radius[i] = u[2 * i];
            angle[i] = u[2 * i + 1] * T(kTwoPi);
        }
        vm_sin(m, angle, angle);
        vm_ln(m, radius, radius);
        for (int32_t i = 0; i < m; ++i) radius[i] *= T(-2);
        vm_sqrt(m, radius, radius);
        for (int32_t i = 0; i < m; ++i) r[done + i] = radius[i] * sigma * angle[i] + a;
        done += m;
    }
    return QOR_RNG_STATUS_OK;
}

// Method 1's pending variate, attached to the stream so that copies, saved
// images and later calls see it: a marker (-1 when empty) and the standard
// variate, kept in double for both precisions.
constexpr uint32_t kPendingChunk = 0x47415532;  // "GAU2"
struct Pending {
    double marker;
    double z;
};

Pending* pending_of(qor_rng_stream* stream, bool create) {
    auto* p = static_cast<Pending*>(__rixSearchChunk(stream, kPendingChunk));
    if (p || !create) return p;
    p = static_cast<Pending*>(qor_serv_allocate(sizeof(Pending), 16));
    if (!p) return nullptr;
    *p = {-1.0, 0.0};
    if (__rixAddChunk(stream, kPendingChunk, nullptr, p, sizeof(Pending)) != QOR_RNG_STATUS_OK) {
        qor_serv_deallocate(p);
        return nullptr;
    }
    return p;
}

// Method 1: a pending variate first, then pairs in blocks of 512: output
// 2i is rho sin(2 pi u2), output 2i + 1 rho cos(2 pi u2).  An odd count
// keeps the last cosine as the pending variate.
template <class T>
int32_t box_muller_pairs(qor_rng_stream* stream, int32_t n, T* r, T a, T sigma) {
    if (n <= 0) return QOR_RNG_STATUS_OK;
    Pending* pending = pending_of(stream, false);
    int32_t done = 0;
    if (pending && pending->marker != -1.0) {
        r[done++] = static_cast<T>(pending->z) * sigma + a;
        pending->marker = -1.0;
    }
    constexpr int32_t kPairs = kBlock / 2;
    T u[kBlock], radius[kPairs], s[kPairs], c[kPairs];
    while (done < n) {
        const int32_t wanted = n - done;
        const int32_t pairs = wanted >= 2 * kPairs ? kPairs : (wanted + 1) / 2;
        const int32_t status = uniforms(stream, 2 * pairs, u, T(0), T(1));
        if (status < 0) return status;
        for (int32_t i = 0; i < pairs; ++i) {
            radius[i] = u[2 * i];
            s[i] = u[2 * i + 1] * T(kTwoPi);
        }
        vm_sincos(pairs, s, s, c);
        vm_ln(pairs, radius, radius);
        for (int32_t i = 0; i < pairs; ++i) radius[i] *= T(-2);
        vm_sqrt(pairs, radius, radius);
        const int32_t whole = wanted < 2 * pairs ? pairs - 1 : pairs;
        for (int32_t i = 0; i < whole; ++i) {
            r[done + 2 * i] = radius[i] * s[i] * sigma + a;
            r[done + 2 * i + 1] = radius[i] * c[i] * sigma + a;
        }
        done += 2 * whole;
        if (whole < pairs) {  // one output left: the sine; the cosine waits
            const int32_t last = pairs - 1;
            r[done++] = radius[last] * s[last] * sigma + a;
            pending = pending_of(stream, true);
            if (!pending) return QOR_RNG_STATUS_NO_MEMORY;
            *pending = {1.0, static_cast<double>(radius[last] * c[last])};
        }
    }
    return QOR_RNG_STATUS_OK;
}

// Method 2: one uniform on [-1, 1) per output, through erfinv in place.
template <class T>
int32_t inverse(qor_rng_stream* stream, int32_t n, T* r, T a, T sigma) {
    const int32_t status = uniforms(stream, n, r, T(-1), T(1));
    if (status < 0) return status;
    vm_erfinv(n, r, r);
    const T scale = sigma * T(kSqrt2);
    int32_t i = 0;
    for (; i + 2 <= n; i += 2) {
        r[i] = r[i] * scale + a;
        r[i + 1] = r[i + 1] * scale + a;
    }
    if (i < n) r[i] = r[i] * scale + a;
    return status;
}

template <class T>
using Method = int32_t (*)(qor_rng_stream*, int32_t, T*, T, T);

template <class T>
constexpr Method<T> kMethods[3] = {box_muller<T>, box_muller_pairs<T>, inverse<T>};

template <class T>
int32_t gaussian(int32_t method, qor_rng_stream* stream, int32_t n, T* r, T a, T sigma) {
    const GuardedCalls guard(gaussian_callback);
    return kMethods<T>[method & ~QOR_RNG_METHOD_ACCURATE](stream, n, r, a, sigma);
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngGaussian(int32_t method, qor_rng_stream* stream, int32_t n, double* r, double a,
                                    double sigma) {
    return gaussian(method, stream, n, r, a, sigma);
}

QOR_EXPORT int32_t _rixsRngGaussian(int32_t method, qor_rng_stream* stream, int32_t n, float* r, float a,
                                    float sigma) {
    return gaussian(method, stream, n, r, a, sigma);
}

}  // extern "C"
