// MCG59: x' = a * x mod 2^59, a = 13^13, outputs x before each step.  The
// multiplier is part of the state because leapfrog replaces it with a power
// of itself.
#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/mcg_lanes.h"
#include "rng/brng/mcg_methods.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

struct Mcg59State {
    uint64_t x;  // next output, 1 to 2^59 - 1
    uint64_t a;  // current multiplier
};
static_assert(sizeof(Mcg59State) + kStreamHeaderBytes == 32);

constexpr uint64_t kMultiplier = 0x113769B23C5FD;  // 13^13 = 302875106592253
constexpr double kInverseModulus = 0x1p-59;

// x, x * a, ..., x * a^(2 * count - 1) into count two-lane registers.
void powers(uint64_t x, uint64_t a, __m128i* v, int count) {
    for (int j = 0; j < count; ++j) {
        const uint64_t x1 = mul_mod59(x, a);
        v[j] = _mm_set_epi64x(static_cast<int64_t>(x1), static_cast<int64_t>(x));
        x = mul_mod59(x1, a);
    }
}

// Blocks of 16 outputs for the part of n that is a multiple of 16, as
// `chains` interleaved chains (4 for integers, 8 for reals) in two-lane
// registers; every group of a block derives from the block's first group by
// a power of a, and the next block's first group is the previous one times
// a^16.  The remainder follows the serial recurrence.  Every output equals
// the serial one.
template <int kChains, class Sink>
void fill(Mcg59State& s, int32_t n, const Sink& out) {
    if (n <= 0) return;
    uint64_t x = s.x;
    const uint64_t a = s.a;
    int32_t i = 0;
    if (n >= 16) {
        constexpr int kRegs = kChains / 2, kGroups = 16 / kChains;
        __m128i first[kRegs];
        powers(x, a, first, kRegs);
        const Mul64Constant step16(pow_mod59(a, 16));
        Mul64Constant group_step[kGroups];
        for (int g = 1; g < kGroups; ++g) group_step[g] = Mul64Constant(pow_mod59(a, uint64_t{kChains} * g));
        const int32_t blocked = n & ~15;
        for (i = 0; i < blocked; i += 16) {
            for (int j = 0; j < kRegs; ++j) out.vec(i + 2 * j, first[j]);
            for (int g = 1; g < kGroups; ++g)
                for (int j = 0; j < kRegs; ++j) out.vec(i + kChains * g + 2 * j, mul_mod59_x2(first[j], group_step[g]));
            for (int j = 0; j < kRegs; ++j) first[j] = mul_mod59_x2(first[j], step16);
        }
        x = static_cast<uint64_t>(_mm_cvtsi128_si64(first[0]));
    }
    for (; i < n; ++i) {
        out.one(i, x);
        x = mul_mod59(a, x);
    }
    s.x = x;
}

int32_t init(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return mcg_method<Mod59>(method, *state_of<Mcg59State>(stream), n, params,
                           [](auto& s, int32_t count, const uint32_t* seed) {
                               // one word, or two words as low and high halves, never 0
                               uint64_t x = 1;
                               if (count == 1) x = seed[0];
                               if (count >= 2) x = (seed[0] | (uint64_t{seed[1]} << 32)) & kMask59;
                               s.x = x ? x : 1;
                               s.a = kMultiplier;
                           });
}

}  // namespace
}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngMCG59InitStream(uint32_t method, qor_rng_stream* stream, int32_t n,
                                            const uint32_t* params) {
    return init(method, stream, n, params);
}

QOR_EXPORT int32_t __rixiBRngMCG59(qor_rng_stream* stream, int32_t n, void* r) {
    fill<4>(*state_of<Mcg59State>(stream), n, IntSink<uint64_t>{static_cast<uint64_t*>(r)});
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixdBRngMCG59(qor_rng_stream* stream, int32_t n, double* r, double a, double b) {
    fill<8>(*state_of<Mcg59State>(stream), n, Double59Sink{r, Affine(a, b, kInverseModulus)});
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixsBRngMCG59(qor_rng_stream* stream, int32_t n, float* r, float a, float b) {
    fill<8>(*state_of<Mcg59State>(stream), n, Single59Sink{r, Affine(a, b, kInverseModulus)});
    return QOR_RNG_STATUS_OK;
}

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kMcg59Row = {
    32, 1, 0, 8, 59, __rixBRngMCG59InitStream, __rixsBRngMCG59, __rixdBRngMCG59, __rixiBRngMCG59};

// Multipliers are powers a^n of 13^13 = 5 (mod 8) with n below 2^31, so
// a = 1 (mod 4) and a - 1 has at most 2 + 30 trailing zero bits (the power
// of two in a^n - 1 is that of a - 1 times that of n).  A multiplier with
// more, 1 included, could hold x fixed: x·(a - 1) = 0 modulo 2^59.
extern const StateCheck kMcg59StateCheck = [](const qor_rng_stream* stream) {
    const Mcg59State& s = *state_of<Mcg59State>(stream);
    constexpr uint64_t kLow33 = (uint64_t{1} << 33) - 1;
    return s.x >= 1 && s.x <= kMask59 && (s.a & 3) == 1 && ((s.a - 1) & kLow33) != 0 && s.a <= kMask59;
};


}  // namespace qor::rng
