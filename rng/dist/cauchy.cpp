// Cauchy variates with location a and scale beta by inversion:
// a + beta tan(u) over uniforms u on [-pi/2, pi/2), the tangent over the
// whole array.  There is one method and no accurate variant: the method
// number is not looked at.  The double form uses the EP tangent, the single
// form the LA one.
#include <bit>

#include "rng/dist/transforms.h"
#include "rng/dist/vm_calls.h"

namespace {

using namespace qor::rng::dist;

constexpr double kHalfPi = std::bit_cast<double>(uint64_t{0x3FF921FB54442D18});
constexpr float kHalfPiSingle = std::bit_cast<float>(uint32_t{0x3FC90FDB});

template <class T>
int32_t cauchy(qor_rng_stream* stream, int32_t n, T* r, T a, T beta, T half_pi, Slot tangent) {
    const int32_t status = uniforms(stream, n, r, -half_pi, half_pi);
    if (status < 0) return status;
    vm_tan(n, r, r, tangent);
    scale_shift(r, n, beta, a);
    return status;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixdRngCauchy(int32_t, qor_rng_stream* stream, int32_t n, double* r, double a, double beta) {
    return cauchy(stream, n, r, a, beta, kHalfPi, kEP);
}

QOR_EXPORT int32_t _rixsRngCauchy(int32_t, qor_rng_stream* stream, int32_t n, float* r, float a, float beta) {
    return cauchy(stream, n, r, a, beta, kHalfPiSingle, kLA);
}

}  // extern "C"
