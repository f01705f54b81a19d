// ARS5, the counter-based generator of Salmon, Moraes, Dror and Shaw over
// AES rounds: the 128-bit counter is xored with the key, then passed
// through four AES rounds and a last AES round whose round keys are the key
// plus 1 to 5 times a pair of 64-bit Weyl constants.  Seeding takes the key
// from the first four words and the counter from the next four (missing
// words zero); the outputs are the blocks of counters c, c + 1, ... in
// order, word 0 (the block's least significant 32 bits) first.  Skip-ahead
// is exact counter arithmetic; there is no leapfrog.
//
// The AES instructions lie outside the library's baseline, so every
// function using them is compiled for AES alone and reached only after the
// processor test: seeding refuses with QOR_RNG_STATUS_NO_AES, and a stream
// records in its position word that the test passed, so the fills check a
// bit rather than the processor (a stream that lacks the bit, such as a
// hand-made image, is tested once).
#include <wmmintrin.h>

#include "qor/qor_rng.h"
#include "rng/brng/ars_rounds.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/counter_blocks.h"
#include "rng/brng/mcg_lanes.h"
#include "rng/stream/stream_layout.h"

#define QOR_AES_TARGET __attribute__((target("aes,sse4.2")))

namespace qor::rng {
namespace {

constexpr int kArs5Rounds = 5;
constexpr int kMaxRounds = 10;
// The Weyl increments of the two 64-bit halves of the round key: the
// fractional parts of the golden ratio and of sqrt(3), times 2^64.
constexpr uint64_t kWeylLow = 0x9E3779B97F4A7C15, kWeylHigh = 0xBB67AE8584CAA73B;
constexpr uint32_t kAesChecked = 0x100;  // position flag: the processor has AES
// 2^-32.
constexpr uint64_t kTwoPowMinus32Bits = 0x3DF0000000000000;
const double kTwoPowMinus32 = __builtin_bit_cast(double, kTwoPowMinus32Bits);

struct Ars5State {
    uint32_t key[4];
    CounterBlock cb;
};
static_assert(sizeof(Ars5State) == 13 * 4);
static_assert(sizeof(Ars5State) + kStreamHeaderBytes <= 72);

inline __m128i counter_vector(Counter128 c) {
    return _mm_set_epi64x(static_cast<int64_t>(static_cast<uint64_t>(c >> 64)), static_cast<int64_t>(static_cast<uint64_t>(c)));
}

// The round keys k_0 = key, k_r = k_{r-1} + Weyl in each 64-bit half.
struct Ars {
    static constexpr int32_t kGroup = 8;
    int rounds;
    __m128i k[kMaxRounds + 1];

    Ars(int r, const uint32_t* key) : rounds(r) {
        const __m128i weyl = _mm_set_epi64x(static_cast<int64_t>(kWeylHigh), static_cast<int64_t>(kWeylLow));
        k[0] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(key));
        for (int j = 1; j <= r; ++j) k[j] = _mm_add_epi64(k[j - 1], weyl);
    }

    QOR_AES_TARGET __m128i encrypt(__m128i v) const {
        v = _mm_xor_si128(v, k[0]);
        for (int j = 1; j < rounds; ++j) v = _mm_aesenc_si128(v, k[j]);
        return _mm_aesenclast_si128(v, k[rounds]);
    }

    QOR_AES_TARGET void block(Counter128 c, uint32_t* out) const {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), encrypt(counter_vector(c)));
    }

    // Eight independent blocks, interleaved round by round to cover the
    // latency of the AES unit.
    QOR_AES_TARGET void group(Counter128 c, __m128i* out) const {
        __m128i v[kGroup];
#pragma GCC unroll 8
        for (int b = 0; b < kGroup; ++b) v[b] = _mm_xor_si128(counter_vector(c + static_cast<unsigned>(b)), k[0]);
#pragma GCC unroll 4
        for (int j = 1; j < kArs5Rounds; ++j) {
#pragma GCC unroll 8
            for (int b = 0; b < kGroup; ++b) v[b] = _mm_aesenc_si128(v[b], k[j]);
        }
#pragma GCC unroll 8
        for (int b = 0; b < kGroup; ++b) out[b] = _mm_aesenclast_si128(v[b], k[kArs5Rounds]);
    }
};

bool aes_usable(CounterBlock& cb) {
    if (cb.position & kAesChecked) return true;
    if (!__rixCPUisAES()) return false;
    cb.position |= kAesChecked;
    return true;
}

template <class Sink>
int32_t fill(qor_rng_stream* stream, int32_t n, const Sink& out) {
    Ars5State& s = *state_of<Ars5State>(stream);
    if (!aes_usable(s.cb)) return QOR_RNG_STATUS_NO_AES;
    fill_blocks(s.cb, Ars(kArs5Rounds, s.key), n, out);
    return QOR_RNG_STATUS_OK;
}

int32_t init(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (method > 3) return QOR_RNG_STATUS_BAD_METHOD;
    Ars5State& s = *state_of<Ars5State>(stream);
    switch (method) {
    case 0:
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        if (!__rixCPUisAES()) return QOR_RNG_STATUS_NO_AES;
        for (int32_t j = 0; j < 4; ++j) s.key[j] = j < n ? params[j] : 0;
        seed_counter(s.cb, n - 4, n > 4 ? params + 4 : nullptr, kAesChecked);
        return QOR_RNG_STATUS_OK;
    case 1:
        return QOR_RNG_STATUS_NO_LEAPFROG;
    default: {
        if (!aes_usable(s.cb)) return QOR_RNG_STATUS_NO_AES;
        const Ars ars(kArs5Rounds, s.key);
        return counter_skip_method(method, s.cb, n, params, [&](Counter128 c, uint32_t* b) { ars.block(c, b); });
    }
    }
}

}  // namespace

void ars_block(int rounds, const uint32_t* counter, const uint32_t* key, uint32_t* out) {
    Ars(rounds < 1 ? 1 : rounds > kMaxRounds ? kMaxRounds : rounds, key).block(load_counter(counter), out);
}

}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngARS5InitStream(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    return init(method, stream, n, params);
}

QOR_RNG_WORD32_FILL_EXPORTS(ARS5)

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kArs5Row = {72, 13, 1, 4, 32, __rixBRngARS5InitStream, __rixsBRngARS5,
                                                 __rixdBRngARS5, __rixiBRngARS5};

extern const StateCheck kArs5StateCheck = [](const qor_rng_stream* stream) {
    return block_position_valid(state_of<Ars5State>(stream)->cb);
};


}  // namespace qor::rng
