// SFMT19937, Saito and Matsumoto's SIMD-oriented fast Mersenne twister of
// period a multiple of 2^19937 - 1: 156 128-bit words regenerated all at
// once, each new word a linear recursion of the word it replaces, the word
// 122 places on and the two newest words, done on whole SSE2 registers.
// The outputs are the 32-bit words of the vector in order, untempered.
//
// Seeding (method 0) follows the authors' two procedures: one parameter
// word is a 32-bit seed for their single-word seeding, two or more words
// are a key for their seeding by an array; no words seed as the single word
// 1.  Both end with the period certification, which flips one state bit
// when the state lies in the subspace of short periods.
//
// Skip-ahead steps the recurrence for short distances and uses the
// polynomial method beyond; counts below 2^127 are taken, longer ones
// refused.  There is no leapfrog.
#include <smmintrin.h>

#include <cstring>
#include <type_traits>
#include <utility>

#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/mcg_lanes.h"
#include "rng/brng/sfmt19937_tables.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

// The parameters of the authors' identification string
// SFMT-19937:122-18-1-11-1:dfffffef-ddfecb7f-bffaffff-bffffff6:
// POS1, SL1, SL2 (bytes), SR1, SR2 (bytes), and the mask words, lowest first.
constexpr int32_t kN = 156, kN32 = 4 * kN, kPos1 = 122;
constexpr int kSl1 = 18, kSl2Bytes = 1, kSr1 = 11, kSr2Bytes = 1;
constexpr uint32_t kMask1 = 0xDFFFFFEF, kMask2 = 0xDDFECB7F, kMask3 = 0xBFFAFFFF, kMask4 = 0xBFFFFFF6;
constexpr uint64_t kShortSkipLimit = uint64_t{1} << 26;  // stepping and the polynomial cost about the same here
// 2^-32.
constexpr uint64_t kTwoPowMinus32Bits = 0x3DF0000000000000;
const double kTwoPowMinus32 = __builtin_bit_cast(double, kTwoPowMinus32Bits);

struct SfmtState {
    uint32_t w[kN32];  // 128-bit word k in w[4k .. 4k + 3], lowest first
    uint32_t idx;      // next word to output; kN32: regenerate first
};
static_assert(sizeof(SfmtState) + kStreamHeaderBytes <= 2536);  // the row reserves 2536

inline __m128i load(const uint32_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store(uint32_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// ---- The recursion -------------------------------------------------------------

// a ^ (a << 8 bits) ^ ((b >> 11 per word) & mask) ^ (c >> 8 bits) ^ (d << 18 per word),
// the 8-bit shifts across the whole 128-bit word.  d is the word made just
// before, so its term is added last: the chain from one new word to the
// next is then one shift and one exclusive or.  The empty asm keeps the
// compiler from reassociating the terms (it would otherwise put d's first).
inline __m128i recursion(__m128i a, __m128i b, __m128i c, __m128i d) {
    const __m128i mask = _mm_set_epi32(static_cast<int>(kMask4), static_cast<int>(kMask3),
                                       static_cast<int>(kMask2), static_cast<int>(kMask1));
    const __m128i x = _mm_slli_si128(a, kSl2Bytes);
    const __m128i y = _mm_and_si128(_mm_srli_epi32(b, kSr1), mask);
    const __m128i z = _mm_srli_si128(c, kSr2Bytes);
    __m128i t = _mm_xor_si128(_mm_xor_si128(a, x), _mm_xor_si128(y, z));
    asm("" : "+x"(t));
    return _mm_xor_si128(t, _mm_slli_epi32(d, kSl1));
}

// Regenerates the vector; each new word is also handed to emit(k, word)
// for 128-bit word k.  Words below kN - kPos1 read the old word k + 122,
// the rest the new word k + 122 - 156.
template <class Emit>
inline void regenerate(uint32_t* w, const Emit& emit) {
    __m128i r1 = load(w + 4 * (kN - 2)), r2 = load(w + 4 * (kN - 1));
    int32_t k = 0;
    for (; k < kN - kPos1; ++k) {
        const __m128i r = recursion(load(w + 4 * k), load(w + 4 * (k + kPos1)), r1, r2);
        store(w + 4 * k, r);
        emit(k, r);
        r1 = r2;
        r2 = r;
    }
    for (; k < kN; ++k) {
        const __m128i r = recursion(load(w + 4 * k), load(w + 4 * (k + kPos1 - kN)), r1, r2);
        store(w + 4 * k, r);
        emit(k, r);
        r1 = r2;
        r2 = r;
    }
}

inline void regenerate(uint32_t* w) {
    regenerate(w, [](int32_t, __m128i) {});
}

// ---- The fills ---------------------------------------------------------------------

// Outputs left in the vector from an earlier call are read from it; a new
// vector hands the whole 128-bit words the request needs to the output as
// they are computed, and only a request's last few outputs, or the rest of
// a vector, are read back later.  The sink is copied so that its pointer
// stays in a register (the output stores could alias the caller's sink).
template <class Sink>
void fill(SfmtState& s, int32_t n, const Sink& sink) {
    const Sink out = sink;
    int32_t i = 0;
    uint32_t idx = s.idx;
    while (i < n) {
        if (idx >= kN32) {
            const int32_t at = i, words = (n - i < kN32 ? n - i : kN32) / 4;
            regenerate(s.w, [&](int32_t k, __m128i r) {
                if (k < words) out.vec(at + 4 * k, r);
            });
            i += 4 * words;
            idx = static_cast<uint32_t>(4 * words);
            if (i == n) break;
        }
        const int32_t left = kN32 - static_cast<int32_t>(idx);
        const int32_t run = n - i < left ? n - i : left;
        const uint32_t* src = s.w + idx;
        int32_t j = 0;
        for (; j + 4 <= run; j += 4) out.vec(i + j, load(src + j));
        for (; j < run; ++j) out.one(i + j, src[j]);
        i += run;
        idx += static_cast<uint32_t>(run);
    }
    s.idx = idx;
}

// Integer fills of at least two whole vectors are generated in the output
// itself, each new word reading the words 156 and 34 places back there (as
// the regeneration reads the old vector), so no word passes through the
// state; the last vector is then copied back to the state.
void fill_ints(SfmtState& s, int32_t n, uint32_t* r) {
    const IntSink<uint32_t> out{r};
    int32_t i = 0;
    if (s.idx < kN32) {
        const int32_t first = n < kN32 - static_cast<int32_t>(s.idx) ? n : kN32 - static_cast<int32_t>(s.idx);
        fill(s, first, out);
        i = first;
    }
    const int32_t blocks = (n - i) / kN32;
    if (blocks >= 2) {
        uint32_t* a = r + i;
        const int32_t words = blocks * kN;  // 128-bit words
        __m128i r1 = load(s.w + 4 * (kN - 2)), r2 = load(s.w + 4 * (kN - 1));
        auto put = [&](int32_t k, __m128i v) {
            store(a + 4 * k, v);
            r1 = r2;
            r2 = v;
        };
        int32_t k = 0;
        for (; k < kN - kPos1; ++k) put(k, recursion(load(s.w + 4 * k), load(s.w + 4 * (k + kPos1)), r1, r2));
        for (; k < kN; ++k) put(k, recursion(load(s.w + 4 * k), load(a + 4 * (k + kPos1 - kN)), r1, r2));
        // Two words a turn, so the two newest words trade places without copies.
        for (; k + 2 <= words; k += 2) {
            const __m128i x0 = recursion(load(a + 4 * (k - kN)), load(a + 4 * (k + kPos1 - kN)), r1, r2);
            store(a + 4 * k, x0);
            r1 = recursion(load(a + 4 * (k + 1 - kN)), load(a + 4 * (k + 1 + kPos1 - kN)), r2, x0);
            store(a + 4 * k + 4, r1);
            std::swap(r1, r2);
            r1 = x0;
        }
        for (; k < words; ++k) put(k, recursion(load(a + 4 * (k - kN)), load(a + 4 * (k + kPos1 - kN)), r1, r2));
        std::memcpy(s.w, a + 4 * (words - kN), sizeof s.w);
        s.idx = kN32;
        i += blocks * kN32;
    }
    fill(s, n - i, IntSink<uint32_t>{r + i});
}

// ---- Seeding --------------------------------------------------------------------

// Makes the period a multiple of 2^19937 - 1: a state whose first 128 bits
// have even parity against the certification vector lies possibly in the
// subspace of short periods, and flipping the lowest bit the vector holds
// moves it out.
void certify_period(uint32_t* w) {
    uint32_t inner = 0;
    for (int k = 0; k < 4; ++k) inner ^= w[k] & kSfmt19937Parity[k];
    if (__builtin_popcount(inner) & 1) return;
    for (int k = 0; k < 4; ++k)
        if (kSfmt19937Parity[k]) {
            w[k] ^= kSfmt19937Parity[k] & (0u - kSfmt19937Parity[k]);
            return;
        }
}

void seed_by_word(SfmtState& s, uint32_t seed) {
    s.w[0] = seed;
    for (int32_t i = 1; i < kN32; ++i)
        s.w[i] = 1812433253u * (s.w[i - 1] ^ (s.w[i - 1] >> 30)) + static_cast<uint32_t>(i);
    s.idx = kN32;
    certify_period(s.w);
}

inline uint32_t mix1(uint32_t x) { return (x ^ (x >> 27)) * 1664525u; }
inline uint32_t mix2(uint32_t x) { return (x ^ (x >> 27)) * 1566083941u; }

// The key is spread over a vector of 0x8B bytes by additions at distance
// `mid` and `mid + lag`, then the vector is mixed once more by exclusive or.
void seed_by_array(SfmtState& s, const uint32_t* key, int32_t length) {
    constexpr int32_t kLag = 11, kMid = (kN32 - kLag) / 2;  // the lag of vectors of 623 words or more
    uint32_t* w = s.w;
    std::memset(w, 0x8B, sizeof s.w);
    const int32_t count = (length + 1 > kN32 ? length + 1 : kN32) - 1;
    uint32_t r = mix1(w[0] ^ w[kMid] ^ w[kN32 - 1]);
    w[kMid] += r;
    r += static_cast<uint32_t>(length);
    w[kMid + kLag] += r;
    w[0] = r;
    int32_t i = 1;
    for (int32_t j = 0; j < count; ++j) {
        r = mix1(w[i] ^ w[(i + kMid) % kN32] ^ w[(i + kN32 - 1) % kN32]);
        w[(i + kMid) % kN32] += r;
        r += (j < length ? key[j] : 0u) + static_cast<uint32_t>(i);
        w[(i + kMid + kLag) % kN32] += r;
        w[i] = r;
        i = (i + 1) % kN32;
    }
    for (int32_t j = 0; j < kN32; ++j) {
        r = mix2(w[i] + w[(i + kMid) % kN32] + w[(i + kN32 - 1) % kN32]);
        w[(i + kMid) % kN32] ^= r;
        r -= static_cast<uint32_t>(i);
        w[(i + kMid + kLag) % kN32] ^= r;
        w[i] = r;
        i = (i + 1) % kN32;
    }
    s.idx = kN32;
    certify_period(w);
}

// ---- Skip-ahead --------------------------------------------------------------------

// The recursion as a linear map on a circular vector of 128-bit words: head
// is the oldest word, which the step replaces.  Two such states add word by
// word in sequence order, whatever their heads.
struct LinearState {
    uint32_t w[kN32];
    int32_t head;
};

void linear_step(void* p) {
    auto& s = *static_cast<LinearState*>(p);
    const int32_t k = s.head;
    auto at = [&](int32_t offset) { return s.w + 4 * ((k + offset) % kN); };
    store(at(0), recursion(load(at(0)), load(at(kPos1)), load(at(kN - 2)), load(at(kN - 1))));
    s.head = k + 1 == kN ? 0 : k + 1;
}

void linear_copy(void* dst, const void* src) { std::memcpy(dst, src, sizeof(LinearState)); }

void linear_add(void* dst, const void* src) {
    auto& d = *static_cast<LinearState*>(dst);
    const auto& s = *static_cast<const LinearState*>(src);
    for (int32_t k = 0; k < kN; ++k) {
        uint32_t* to = d.w + 4 * ((d.head + k) % kN);
        store(to, _mm_xor_si128(load(to), load(s.w + 4 * ((s.head + k) % kN))));
    }
}

// Advances by `steps` 128-bit words (steps in two 64-bit words), a whole
// number of regenerations: by regenerating for short distances, else by
// x^steps modulo the characteristic polynomial applied to the vector.  The
// polynomial is that of the whole 19968-bit state, so the result is exact
// for every state.
int32_t advance(SfmtState& s, const uint64_t steps[2], bool long_skip) {
    if (!long_skip) {
        for (uint64_t t = steps[0] / kN; t; --t) regenerate(s.w);
        return QOR_RNG_STATUS_OK;
    }
    LinearState lin;
    std::memcpy(lin.w, s.w, sizeof lin.w);
    lin.head = 0;
    const int32_t status = __rix_SkipAheadSWin(&lin, sizeof lin, steps, steps[1] ? 2 : 1, kSfmt19937CharPoly,
                                               kSfmt19937Degree, linear_step, linear_copy, linear_add);
    if (status < 0) return status;
    for (int32_t k = 0; k < kN; ++k) std::memcpy(s.w + 4 * k, lin.w + 4 * ((lin.head + k) % kN), 16);
    return QOR_RNG_STATUS_OK;
}

// Skipping c outputs (c below 2^127, in two 64-bit words) moves the output position from
// idx to idx + c; the vector is regenerated only as often as drawing the
// outputs would, (idx + c - new idx) / 624 times.
int32_t skip_ahead(SfmtState& s, uint64_t c_lo, uint64_t c_hi) {
    if (!c_lo && !c_hi) return QOR_RNG_STATUS_OK;
    const unsigned __int128 target = ((static_cast<unsigned __int128>(c_hi) << 64) | c_lo) + s.idx;
    uint32_t idx = static_cast<uint32_t>(target % kN32);
    if (idx == 0) idx = kN32;  // the last vector used is fully drawn
    const unsigned __int128 steps = (target - idx) >> 2;  // 128-bit words
    const uint64_t words[2] = {static_cast<uint64_t>(steps), static_cast<uint64_t>(steps >> 64)};
    const int32_t status = advance(s, words, c_hi || c_lo > kShortSkipLimit);
    if (status < 0) return status;
    s.idx = idx;
    return QOR_RNG_STATUS_OK;
}

int32_t init(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    SfmtState& s = *state_of<SfmtState>(stream);
    switch (method) {
    case 0:
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        if (n >= 2)
            seed_by_array(s, params, n);
        else
            seed_by_word(s, n == 1 ? params[0] : 1u);
        return QOR_RNG_STATUS_OK;
    case 1:
        return QOR_RNG_STATUS_NO_LEAPFROG;
    case 2:  // the 64-bit count in params[0..1]
        if (!params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        return skip_ahead(s, params[0] | (uint64_t{params[1]} << 32), 0);
    case 3: {  // n 64-bit words, least significant first; counts below 2^127
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        const auto* c = reinterpret_cast<const uint64_t*>(params);
        int32_t used = n;
        while (used > 0 && c[used - 1] == 0) --used;
        if (used > 2 || (used == 2 && c[1] >> 63)) return QOR_RNG_STATUS_NO_SKIP_AHEAD_EX;
        return skip_ahead(s, used >= 1 ? c[0] : 0, used == 2 ? c[1] : 0);
    }
    default:
        return QOR_RNG_STATUS_BAD_METHOD;
    }
}

// The fill of a stream, for the shared exports.
template <class Sink>
int32_t fill(qor_rng_stream* stream, int32_t n, const Sink& out) {
    if constexpr (std::is_same_v<Sink, IntSink<uint32_t>>)
        fill_ints(*state_of<SfmtState>(stream), n, out.r);
    else
        fill(*state_of<SfmtState>(stream), n, out);
    return QOR_RNG_STATUS_OK;
}

}  // namespace
}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngSFMT19937InitStream(uint32_t method, qor_rng_stream* stream, int32_t n,
                                                const uint32_t* params) {
    return init(method, stream, n, params);
}

QOR_RNG_WORD32_FILL_EXPORTS(SFMT19937)

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kSfmt19937Row = {
    2536, 625, 1, 4, 32, __rixBRngSFMT19937InitStream, __rixsBRngSFMT19937, __rixdBRngSFMT19937, __rixiBRngSFMT19937};

extern const StateCheck kSfmt19937StateCheck = [](const qor_rng_stream* stream) {
    const SfmtState& s = *state_of<SfmtState>(stream);
    uint32_t any = 0;
    for (uint32_t w : s.w) any |= w;
    return any != 0;
};


}  // namespace qor::rng
