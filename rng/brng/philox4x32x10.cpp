// Philox4x32-10, the counter-based generator of Salmon, Moraes, Dror and
// Shaw: each block of four 32-bit outputs is ten rounds of two 32x32->64-bit
// products and xors applied to a 128-bit counter under a 64-bit key, the
// key bumped by two Weyl constants between rounds.  Seeding takes the key
// from the first two words and the counter from the next four (missing
// words zero); the outputs are the blocks of counters c, c + 1, ... in
// order, word 0 first.  Skip-ahead is exact counter arithmetic; there is no
// leapfrog.
#include <immintrin.h>

#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/counter_blocks.h"
#include "rng/brng/mcg_lanes.h"
#include "rng/brng/philox_rounds.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

constexpr uint32_t kMul0 = 0xD2511F53, kMul1 = 0xCD9E8D57;  // round multipliers
constexpr uint32_t kWeyl0 = 0x9E3779B9, kWeyl1 = 0xBB67AE85;  // key bumps
constexpr int kRounds = 10;
// 2^-32.
constexpr uint64_t kTwoPowMinus32Bits = 0x3DF0000000000000;
const double kTwoPowMinus32 = __builtin_bit_cast(double, kTwoPowMinus32Bits);

struct PhiloxState {
    uint32_t key[2];
    CounterBlock cb;
};
static_assert(sizeof(PhiloxState) == 11 * 4);
static_assert(sizeof(PhiloxState) + kStreamHeaderBytes <= 64);

// The round keys of one key, as scalars and broadcast for the vector rounds.
struct Philox {
    static constexpr int32_t kGroup = kPhiloxGroupBlocks;
    uint32_t k0[kRounds], k1[kRounds];
    __m128i v0[kRounds], v1[kRounds];

    explicit Philox(const uint32_t* key) {
        for (int r = 0; r < kRounds; ++r) {
            k0[r] = key[0] + static_cast<uint32_t>(r) * kWeyl0;
            k1[r] = key[1] + static_cast<uint32_t>(r) * kWeyl1;
            v0[r] = _mm_set1_epi32(static_cast<int>(k0[r]));
            v1[r] = _mm_set1_epi32(static_cast<int>(k1[r]));
        }
    }

    void block(Counter128 c, uint32_t* out) const {
        uint32_t x0 = static_cast<uint32_t>(c), x1 = static_cast<uint32_t>(c >> 32);
        uint32_t x2 = static_cast<uint32_t>(c >> 64), x3 = static_cast<uint32_t>(c >> 96);
        for (int r = 0; r < kRounds; ++r) {
            const uint64_t p0 = uint64_t{kMul0} * x0, p1 = uint64_t{kMul1} * x2;
            x0 = static_cast<uint32_t>(p1 >> 32) ^ x1 ^ k0[r];
            x1 = static_cast<uint32_t>(p1);
            x2 = static_cast<uint32_t>(p0 >> 32) ^ x3 ^ k1[r];
            x3 = static_cast<uint32_t>(p0);
        }
        out[0] = x0, out[1] = x1, out[2] = x2, out[3] = x3;
    }

    // Eight blocks as two passes over four, two blocks per register: each
    // 32-bit word sits in the low half of a 64-bit lane, where
    // _mm_mul_epu32 reads it and leaves the full product, low half in place
    // and high half one shift away.  The high halves of the lanes carry
    // leftovers that no product or output reads.
    void group(Counter128 c, __m128i* out) const {
        for (int pass = 0; pass < 2; ++pass) quad(c + static_cast<unsigned>(4 * pass), out + 4 * pass);
    }

private:
    void quad(Counter128 c, __m128i* out) const {
        __m128i x[4][2];  // [word][pair of blocks]
#pragma GCC unroll 4
        for (int w = 0; w < 4; ++w) {
            const int shift = 32 * w;
            x[w][0] = _mm_set_epi64x(static_cast<uint32_t>((c + 1) >> shift), static_cast<uint32_t>(c >> shift));
            x[w][1] = _mm_set_epi64x(static_cast<uint32_t>((c + 3) >> shift), static_cast<uint32_t>((c + 2) >> shift));
        }
        const __m128i m0 = _mm_set1_epi64x(kMul0), m1 = _mm_set1_epi64x(kMul1);
#pragma GCC unroll 10
        for (int r = 0; r < kRounds; ++r) {
#pragma GCC unroll 2
            for (int q = 0; q < 2; ++q) {
                const __m128i p0 = _mm_mul_epu32(x[0][q], m0), p1 = _mm_mul_epu32(x[2][q], m1);
                x[0][q] = _mm_xor_si128(_mm_xor_si128(_mm_srli_epi64(p1, 32), x[1][q]), v0[r]);
                x[1][q] = p1;
                x[2][q] = _mm_xor_si128(_mm_xor_si128(_mm_srli_epi64(p0, 32), x[3][q]), v1[r]);
                x[3][q] = p0;
            }
        }
#pragma GCC unroll 2
        for (int q = 0; q < 2; ++q) {
            const __m128i w01 = _mm_blend_epi16(x[0][q], _mm_slli_epi64(x[1][q], 32), 0xCC);
            const __m128i w23 = _mm_blend_epi16(x[2][q], _mm_slli_epi64(x[3][q], 32), 0xCC);
            out[2 * q] = _mm_unpacklo_epi64(w01, w23);
            out[2 * q + 1] = _mm_unpackhi_epi64(w01, w23);
        }
    }
};

template <class Sink>
int32_t fill(qor_rng_stream* stream, int32_t n, const Sink& out) {
    PhiloxState& s = *state_of<PhiloxState>(stream);
    fill_blocks(s.cb, Philox(s.key), n, out);
    return QOR_RNG_STATUS_OK;
}

int32_t init(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    PhiloxState& s = *state_of<PhiloxState>(stream);
    switch (method) {
    case 0:
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        s.key[0] = n >= 1 ? params[0] : 0;
        s.key[1] = n >= 2 ? params[1] : 0;
        seed_counter(s.cb, n - 2, n > 2 ? params + 2 : nullptr, 0);
        return QOR_RNG_STATUS_OK;
    case 1:
        return QOR_RNG_STATUS_NO_LEAPFROG;
    case 2:
    case 3: {
        const Philox p(s.key);
        return counter_skip_method(method, s.cb, n, params, [&](Counter128 c, uint32_t* b) { p.block(c, b); });
    }
    default:
        return QOR_RNG_STATUS_BAD_METHOD;
    }
}

}  // namespace

void philox_group(const uint32_t* key, const uint32_t* counter, uint32_t* out) {
    __m128i blocks[Philox::kGroup];
    Philox(key).group(load_counter(counter), blocks);
    for (int32_t b = 0; b < Philox::kGroup; ++b) _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * b), blocks[b]);
}

}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngPHILOX4X32X10InitStream(uint32_t method, qor_rng_stream* stream, int32_t n,
                                                    const uint32_t* params) {
    return init(method, stream, n, params);
}

QOR_RNG_WORD32_FILL_EXPORTS(PHILOX4X32X10)

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kPhilox4x32x10Row = {
    64, 11, 1, 4, 32, __rixBRngPHILOX4X32X10InitStream, __rixsBRngPHILOX4X32X10, __rixdBRngPHILOX4X32X10,
    __rixiBRngPHILOX4X32X10};

extern const StateCheck kPhilox4x32x10StateCheck = [](const qor_rng_stream* stream) {
    return block_position_valid(state_of<PhiloxState>(stream)->cb);
};


}  // namespace qor::rng
