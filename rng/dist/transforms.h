// Pieces shared by the distributions that transform a whole array of
// uniform or Gaussian variates in place: the fills of both precisions, the
// error callbacks that turn a logarithm of 0 into a finite value, and the
// final scale-and-shift passes.  Both precisions take the logarithm,
// exponential, square root and power from the EP slot of their kernel
// tables (the single-precision Cauchy alone takes the LA tangent).
#pragma once

#include <cstdint>

#include "qor/qor_rng.h"
#include "qor/qor_vm.h"

namespace qor::rng::dist {

// ln of the smallest subnormal double, standing in for ln 0.
constexpr double kLnOfTiniest = -744.4400719213812;  // 0xC0874385446D71C3

// For logarithms of uniforms: whatever the error, the result becomes
// kLnOfTiniest.
inline int32_t ln_zero_any_error(qor_vm_error_record* e) {
    e->res1 = e->res2 = kLnOfTiniest;
    return 0;
}

// As ln_zero_any_error, but for a singularity (the logarithm of 0) alone;
// any other error keeps the kernel's result.
inline int32_t ln_zero_singularity(qor_vm_error_record* e) {
    if (e->code == QOR_VM_STATUS_SING) e->res1 = e->res2 = kLnOfTiniest;
    return 0;
}

// Uniforms on [a, b) and Gaussians by the standard methods of the form's
// precision.
inline int32_t uniforms(qor_rng_stream* s, int32_t n, double* r, double a, double b) {
    return _rixdRngUniform(0, s, n, r, a, b);
}
inline int32_t uniforms(qor_rng_stream* s, int32_t n, float* r, float a, float b) {
    return _rixsRngUniform(0, s, n, r, a, b);
}
inline int32_t gaussians(int32_t method, qor_rng_stream* s, int32_t n, double* r, double a, double sigma) {
    return _rixdRngGaussian(method, s, n, r, a, sigma);
}
inline int32_t gaussians(int32_t method, qor_rng_stream* s, int32_t n, float* r, float a, float sigma) {
    return _rixsRngGaussian(method, s, n, r, a, sigma);
}

inline bool accurate(int32_t method) { return (method & QOR_RNG_METHOD_ACCURATE) != 0; }

// r[i] = r[i] * scale + shift.
template <class T>
void scale_shift(T* r, int32_t n, T scale, T shift) {
    for (int32_t i = 0; i < n; ++i) r[i] = r[i] * scale + shift;
}

// The same, never below the shift: rounding in a kernel must not carry a
// variate under its distribution's lower end.
template <class T>
void scale_shift_at_least(T* r, int32_t n, T scale, T shift) {
    for (int32_t i = 0; i < n; ++i) {
        const T v = r[i] * scale + shift;
        r[i] = v < shift ? shift : v;
    }
}

// scale_shift_at_least when `floor` is set, scale_shift otherwise.
template <class T>
void scale_shift(T* r, int32_t n, T scale, T shift, bool floor) {
    if (floor)
        scale_shift_at_least(r, n, scale, shift);
    else
        scale_shift(r, n, scale, shift);
}

}  // namespace qor::rng::dist
