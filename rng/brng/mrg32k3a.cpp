// MRG32k3a, L'Ecuyer's combined multiple recursive generator: two
// third-order recurrences modulo m1 = 2^32 - 209 and m2 = 2^32 - 22853,
// output x1 - x2 mod m1 after each step.  Skip-ahead multiplies each
// component's state by a power of its matrix; there is no leapfrog.
#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/mrg32k3a_lanes.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng::mrg {
namespace {

static_assert(sizeof(State) + kStreamHeaderBytes == 40);

// The double nearest 1 / m1.
constexpr uint64_t kInverseM1Bits = 0x3DF000000D10000B;
constexpr double kInverseM1 = __builtin_bit_cast(double, kInverseM1Bits);
static_assert(kInverseM1 == 1.0 / kM1);

constexpr Matrix kA1Pow16 = pow(kA1, 16, kM1);
constexpr Matrix kA2Pow16 = pow(kA2, 16, kM2);

// The first 16 outputs serially, then blocks of 16 from the lag-16 form
// (n rounded down to a multiple of 16), then the rest serially.  Every
// output equals the serial recurrence's.
template <class Sink>
void fill(State& s, int32_t n, const Sink& out) {
    if (n <= 0) return;
    int32_t i = 0;
    const int32_t blocked = n & ~15;
    if (blocked >= 32) {
        // The last 18 values of each component: the two newest of the
        // state, then the 16 serial outputs.
        alignas(16) uint32_t h1[18], h2[18];
        h1[0] = s.x1[1], h1[1] = s.x1[2];
        h2[0] = s.x2[1], h2[1] = s.x2[2];
        for (; i < 16; ++i) {
            out.one(i, step(s));
            h1[i + 2] = s.x1[2];
            h2[i + 2] = s.x2[2];
        }
        const LagSixteen k1(kA1Pow16, kM1), k2(kA2Pow16, kM2);
        __m128i r1[9], r2[9];
        for (int j = 0; j < 9; ++j) {
            r1[j] = _mm_cvtepu32_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(h1 + 2 * j)));
            r2[j] = _mm_cvtepu32_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(h2 + 2 * j)));
        }
        for (; i < blocked; i += 16) {
            __m128i n1[8], n2[8];
            for (int j = 0; j < 8; j += 2) {
                n1[j] = lag16_step(k1, r1[j], r1[j + 1]);
                n2[j] = lag16_step(k2, r2[j], r2[j + 1]);
                n1[j + 1] = lag16_step(k1, r1[j + 1], r1[j + 2]);
                n2[j + 1] = lag16_step(k2, r2[j + 1], r2[j + 2]);
                out.quad(i + 2 * j, combine(n1[j], n2[j], k1.m), combine(n1[j + 1], n2[j + 1], k1.m));
            }
            r1[0] = r1[8];
            r2[0] = r2[8];
            for (int j = 0; j < 8; ++j) r1[j + 1] = n1[j], r2[j + 1] = n2[j];
        }
        s.x1[0] = static_cast<uint32_t>(_mm_extract_epi32(r1[7], 2));
        s.x1[1] = static_cast<uint32_t>(_mm_extract_epi32(r1[8], 0));
        s.x1[2] = static_cast<uint32_t>(_mm_extract_epi32(r1[8], 2));
        s.x2[0] = static_cast<uint32_t>(_mm_extract_epi32(r2[7], 2));
        s.x2[1] = static_cast<uint32_t>(_mm_extract_epi32(r2[8], 0));
        s.x2[2] = static_cast<uint32_t>(_mm_extract_epi32(r2[8], 2));
    }
    for (; i < n; ++i) out.one(i, step(s));
}

// Words beyond the modulus lose one modulus; an all-zero component (the
// recurrence's fixed point) starts from (1, 0, 0).
void seed(State& s, int32_t n, const uint32_t* words) {
    uint32_t w[6] = {1, 1, 1, 1, 1, 1};
    for (int32_t j = 0; j < n && j < 6; ++j) w[j] = words[j];
    for (int j = 0; j < 3; ++j) {
        s.x1[j] = w[j] >= kM1 ? w[j] - kM1 : w[j];
        s.x2[j] = w[3 + j] >= kM2 ? w[3 + j] - kM2 : w[3 + j];
    }
    if ((s.x1[0] | s.x1[1] | s.x1[2]) == 0) s.x1[0] = 1;
    if ((s.x2[0] | s.x2[1] | s.x2[2]) == 0) s.x2[0] = 1;
}

void advance(State& s, const Matrix& p1, const Matrix& p2) {
    const auto x1 = apply(p1, s.x1, kM1);
    const auto x2 = apply(p2, s.x2, kM2);
    for (int j = 0; j < 3; ++j) s.x1[j] = x1[j], s.x2[j] = x2[j];
}

// A count of `words` 64-bit words: below 2^192 from the tables, otherwise
// by the general power.
void skip_words(State& s, int32_t words, const uint64_t* count) {
    bool high = false;
    for (int32_t j = kTableWords; j < words; ++j) high |= count[j] != 0;
    Matrix p1, p2;
    if (!high) {
        const int32_t used = words < kTableWords ? words : kTableWords;
        __rixiVect3PowArrayMod_M1(p1.data(), count, used);
        __rixiVect3PowArrayMod_M2(p2.data(), count, used);
    } else {
        __rixiVect3PowArrayMod(p1.data(), kA1.data(), count, words, kM1);
        __rixiVect3PowArrayMod(p2.data(), kA2.data(), count, words, kM2);
    }
    advance(s, p1, p2);
}

int32_t init(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    State& s = *state_of<State>(stream);
    switch (method) {
    case 0:
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        seed(s, n, params);
        return QOR_RNG_STATUS_OK;
    case 1:
        return QOR_RNG_STATUS_NO_LEAPFROG;
    case 2: {  // the 64-bit count in params[0..1]
        if (!params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        const uint64_t count = params[0] | (uint64_t{params[1]} << 32);
        Matrix p1, p2;
        __rixiVect3PowMod(p1.data(), kA1.data(), count, kM1);
        __rixiVect3PowMod(p2.data(), kA2.data(), count, kM2);
        advance(s, p1, p2);
        return QOR_RNG_STATUS_OK;
    }
    case 3:  // n 64-bit words, least significant first
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        if (n >= 1) skip_words(s, n, reinterpret_cast<const uint64_t*>(params));
        return QOR_RNG_STATUS_OK;
    default:
        return QOR_RNG_STATUS_BAD_METHOD;
    }
}

}  // namespace
}  // namespace qor::rng::mrg

using namespace qor::rng::mrg;
using qor::rng::state_of;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngMRG32K3AInitStream(uint32_t method, qor_rng_stream* stream, int32_t n,
                                               const uint32_t* params) {
    return init(method, stream, n, params);
}

QOR_EXPORT int32_t __rixiBRngMRG32K3A(qor_rng_stream* stream, int32_t n, void* r) {
    fill(*state_of<State>(stream), n, IntPairSink{static_cast<uint32_t*>(r)});
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixdBRngMRG32K3A(qor_rng_stream* stream, int32_t n, double* r, double a, double b) {
    fill(*state_of<State>(stream), n, DoublePairSink{r, qor::rng::Affine(a, b, kInverseM1)});
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixsBRngMRG32K3A(qor_rng_stream* stream, int32_t n, float* r, float a, float b) {
    fill(*state_of<State>(stream), n, SinglePairSink{r, qor::rng::Affine(a, b, kInverseM1)});
    return QOR_RNG_STATUS_OK;
}

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kMrg32k3aRow = {
    40, 6, 1, 4, 32, __rixBRngMRG32K3AInitStream, __rixsBRngMRG32K3A, __rixdBRngMRG32K3A, __rixiBRngMRG32K3A};

extern const StateCheck kMrg32k3aStateCheck = [](const qor_rng_stream* stream) {
    const mrg::State& s = *state_of<mrg::State>(stream);
    const auto component_ok = [](const uint32_t* x, uint32_t m) {
        return x[0] < m && x[1] < m && x[2] < m && (x[0] | x[1] | x[2]) != 0;
    };
    return component_ok(s.x1, kM1) && component_ok(s.x2, kM2);
};


}  // namespace qor::rng
