// R250, Kirkpatrick and Stoll's generalised feedback shift register:
// x[n] = x[n-103] XOR x[n-250] on 32-bit words, each new word an output.
// The state is the last 250 words in a circular buffer, oldest at `head`.
//
// Seeding follows Kirkpatrick and Stoll: an auxiliary congruential
// generator fills the 250 words oldest first; then words 3, 10, ..., 220 (every
// seventh) get their bit 31, 30, ..., 0 set and the bits above it cleared,
// a diagonal that makes the 32 bit columns linearly independent so the
// register cannot sit in a short cycle.  The auxiliary generator is
// s' = 69069 s + 1 mod 2^32 from the seed word, of period 2^32 from any
// seed, and each word takes the high halves of two successive states: the
// low bits of a congruential generator are poor (a multiplicative one keeps
// them fixed), and a bit column that starts nearly all zero stays sparse
// for millions of outputs under this sparse recurrence.  Each of the 32 bit columns is a
// linear recurrence with characteristic polynomial x^250 + x^147 + 1, so
// skip-ahead is exact by the polynomial method for any count; there is no
// leapfrog.
#include <smmintrin.h>

#include <cstring>

#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/mcg_lanes.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

constexpr int32_t kLong = 250, kShort = 103;  // the two lags
constexpr uint32_t kSeedMultiplier = 69069;
constexpr int32_t kDiagonalStride = 7, kDiagonalStart = 3;
constexpr int32_t kChunk = 1024;  // outputs per pass through the work buffer
// 2^-32.
constexpr uint64_t kTwoPowMinus32Bits = 0x3DF0000000000000;
const double kTwoPowMinus32 = __builtin_bit_cast(double, kTwoPowMinus32Bits);

struct R250State {
    uint32_t x[kLong];
    uint32_t head;  // index of the oldest word, the next one replaced
    uint32_t reserved;
};
static_assert(sizeof(R250State) == 252 * 4);
static_assert(sizeof(R250State) + kStreamHeaderBytes == 1024);

inline __m128i load(const uint32_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// The words run oldest first through a linear work buffer, so four new
// words at a time read only words at least 103 places older.
template <class Sink>
void fill(R250State& s, int32_t n, const Sink& out) {
    if (n <= 0) return;
    alignas(16) uint32_t w[kLong + kChunk];
    const uint32_t head = s.head % kLong;
    std::memcpy(w, s.x + head, (kLong - head) * sizeof(uint32_t));
    std::memcpy(w + (kLong - head), s.x, head * sizeof(uint32_t));
    for (int32_t i = 0; i < n;) {
        const int32_t m = n - i < kChunk ? n - i : kChunk;
        int32_t k = kLong;
        for (; k + 4 <= kLong + m; k += 4) {
            const __m128i v = _mm_xor_si128(load(w + k - kShort), load(w + k - kLong));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(w + k), v);
            out.vec(i + k - kLong, v);
        }
        for (; k < kLong + m; ++k) {
            w[k] = w[k - kShort] ^ w[k - kLong];
            out.one(i + k - kLong, w[k]);
        }
        std::memmove(w, w + m, kLong * sizeof(uint32_t));
        i += m;
    }
    std::memcpy(s.x, w, sizeof s.x);
    s.head = 0;
}

void seed(R250State& s, uint32_t word) {
    uint32_t v = word;
    for (auto& x : s.x) {
        const uint32_t high = (v = v * kSeedMultiplier + 1) >> 16;
        x = high << 16 | (v = v * kSeedMultiplier + 1) >> 16;
    }
    uint32_t bit = 0x80000000u, keep = 0xFFFFFFFFu;
    for (int32_t j = 0; j < 32; ++j, bit >>= 1, keep >>= 1) {
        uint32_t& x = s.x[kDiagonalStride * j + kDiagonalStart];
        x = (x & keep) | bit;
    }
    s.head = 0;
    s.reserved = 0;
}

// ---- Skip-ahead ----------------------------------------------------------------

// x^250 + x^147 + 1: x[n+250] = x[n+147] + x[n].
struct Polynomial {
    uint64_t w[4] = {};
    constexpr Polynomial() {
        w[0] = 1;
        w[147 / 64] |= uint64_t{1} << (147 % 64);
        w[kLong / 64] |= uint64_t{1} << (kLong % 64);
    }
};
constexpr Polynomial kR250CharPoly;

void linear_step(void* p) {
    auto& s = *static_cast<R250State*>(p);
    const uint32_t h = s.head;
    const uint32_t shortlag = h + (kLong - kShort) < static_cast<uint32_t>(kLong) ? h + (kLong - kShort)
                                                                                   : h + (kLong - kShort) - kLong;
    s.x[h] ^= s.x[shortlag];
    s.head = h + 1 == kLong ? 0 : h + 1;
}

void linear_copy(void* dst, const void* src) { std::memcpy(dst, src, sizeof(R250State)); }

// Adds two states word by word in sequence order, whatever their heads.
void linear_add(void* dst, const void* src) {
    auto& d = *static_cast<R250State*>(dst);
    const auto& s = *static_cast<const R250State*>(src);
    for (uint32_t k = 0, di = d.head, si = s.head; k < kLong; ++k) {
        d.x[di] ^= s.x[si];
        di = di + 1 == kLong ? 0 : di + 1;
        si = si + 1 == kLong ? 0 : si + 1;
    }
}

int32_t skip(R250State& s, const uint64_t* count, int32_t words) {
    s.head %= kLong;
    return __rix_SkipAheadSWin(&s, sizeof s, count, words, kR250CharPoly.w, kLong, linear_step, linear_copy,
                               linear_add);
}

int32_t init(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    R250State& s = *state_of<R250State>(stream);
    switch (method) {
    case 0:
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        seed(s, n >= 1 ? params[0] : 1);
        return QOR_RNG_STATUS_OK;
    case 1:
        return QOR_RNG_STATUS_NO_LEAPFROG;
    case 2: {  // the 64-bit count in params[0..1]
        if (!params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        const uint64_t count = params[0] | (uint64_t{params[1]} << 32);
        return count ? skip(s, &count, 1) : QOR_RNG_STATUS_OK;
    }
    case 3:  // n 64-bit words, least significant first
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        return n >= 1 ? skip(s, reinterpret_cast<const uint64_t*>(params), n) : QOR_RNG_STATUS_OK;
    default:
        return QOR_RNG_STATUS_BAD_METHOD;
    }
}

// The fill of a stream, for the shared exports.
template <class Sink>
int32_t fill(qor_rng_stream* stream, int32_t n, const Sink& out) {
    fill(*state_of<R250State>(stream), n, out);
    return QOR_RNG_STATUS_OK;
}

}  // namespace
}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngR250InitStream(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    return init(method, stream, n, params);
}

QOR_RNG_WORD32_FILL_EXPORTS(R250)

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kR250Row = {1024, 252, 1, 4, 32, __rixBRngR250InitStream, __rixsBRngR250,
                                                 __rixdBRngR250, __rixiBRngR250};

// Any head (it is taken modulo 250), but not the all-zero buffer.
extern const StateCheck kR250StateCheck = [](const qor_rng_stream* stream) {
    const R250State& s = *state_of<R250State>(stream);
    uint32_t any = 0;
    for (uint32_t w : s.x) any |= w;
    return any != 0;
};


}  // namespace qor::rng
