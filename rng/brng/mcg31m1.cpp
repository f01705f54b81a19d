// MCG31m1: x' = a * x mod (2^31 - 1), a = 1132489760, outputs x before each
// step.  The multiplier is part of the state because leapfrog replaces it
// with a power of itself.
#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/mcg_lanes.h"
#include "rng/brng/mcg_methods.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

struct Mcg31State {
    uint32_t x;  // next output, 1 to 2^31 - 2
    uint32_t a;  // current multiplier
};
static_assert(sizeof(Mcg31State) + kStreamHeaderBytes == 24);

constexpr uint32_t kMultiplier = 0x43806C20;  // 1132489760
// The double nearest 1 / (2^31 - 1).
constexpr uint64_t kInverseModulusBits = 0x3E00000000200000;
const double kInverseModulus = __builtin_bit_cast(double, kInverseModulusBits);

// The serial recurrence, with the first eight outputs widened into eight
// chains stepped by a^8 (four 32-bit lanes per register) for the part of n
// that is a multiple of 8.  Every output equals the serial one.
template <class Sink>
void fill(Mcg31State& s, int32_t n, const Sink& out) {
    if (n <= 0) return;
    uint32_t x = s.x;
    const uint32_t a = s.a;
    int32_t i = 0;
    if (n >= 8) {
        alignas(16) uint32_t head[8];
        for (int j = 0; j < 8; ++j) {
            head[j] = x;
            x = mul_mod31(a, x);
        }
        const uint32_t a2 = mul_mod31(a, a), a4 = mul_mod31(a2, a2), a8 = mul_mod31(a4, a4);
        const __m128i step = _mm_set1_epi64x(a8);
        __m128i v0 = _mm_load_si128(reinterpret_cast<const __m128i*>(head));
        __m128i v1 = _mm_load_si128(reinterpret_cast<const __m128i*>(head + 4));
        out.vec(0, v0);
        out.vec(4, v1);
        const int32_t blocked = n & ~7;
        for (i = 8; i < blocked; i += 8) {
            v0 = mul_mod31_x4(v0, step);
            v1 = mul_mod31_x4(v1, step);
            out.vec(i, v0);
            out.vec(i + 4, v1);
        }
        x = mul_mod31(a, static_cast<uint32_t>(_mm_extract_epi32(v1, 3)));
    }
    for (; i < n; ++i) {
        out.one(i, x);
        x = mul_mod31(a, x);
    }
    s.x = x;
}

int32_t init(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return mcg_method<Mod31>(method, *state_of<Mcg31State>(stream), n, params,
                           [](auto& s, int32_t count, const uint32_t* seed) {
                               // x = first word mod m, never 0
                               const uint32_t x = count >= 1 ? seed[0] % kMod31 : 1;
                               s.x = x ? x : 1;
                               s.a = kMultiplier;
                           });
}

}  // namespace
}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngMCG31M1InitStream(uint32_t method, qor_rng_stream* stream, int32_t n,
                                              const uint32_t* params) {
    return init(method, stream, n, params);
}

QOR_EXPORT int32_t __rixiBRngMCG31M1(qor_rng_stream* stream, int32_t n, void* r) {
    fill(*state_of<Mcg31State>(stream), n, IntSink<uint32_t>{static_cast<uint32_t*>(r)});
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixdBRngMCG31M1(qor_rng_stream* stream, int32_t n, double* r, double a, double b) {
    fill(*state_of<Mcg31State>(stream), n, Double31Sink{r, Affine(a, b, kInverseModulus)});
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixsBRngMCG31M1(qor_rng_stream* stream, int32_t n, float* r, float a, float b) {
    fill(*state_of<Mcg31State>(stream), n, Single31Sink{r, Affine(a, b, kInverseModulus)});
    return QOR_RNG_STATUS_OK;
}

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kMcg31m1Row = {
    24, 1, 0, 4, 31, __rixBRngMCG31M1InitStream, __rixsBRngMCG31M1, __rixdBRngMCG31M1, __rixiBRngMCG31M1};

extern const StateCheck kMcg31m1StateCheck = [](const qor_rng_stream* stream) {
    const Mcg31State& s = *state_of<Mcg31State>(stream);
    return s.x >= 1 && s.x < kMod31 && s.a >= 1 && s.a < kMod31;
};


}  // namespace qor::rng
