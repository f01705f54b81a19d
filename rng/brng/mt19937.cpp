// MT19937, the Mersenne twister of period 2^19937 - 1: a vector of 624
// 32-bit words regenerated 624 words at a time (the twist), each output one
// word of the vector passed through the tempering.  Skip-ahead steps the
// recurrence for short distances and uses the polynomial method for long
// ones; a count of many words is first reduced modulo the period.
#include <smmintrin.h>

#include <cstring>

#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/mcg_lanes.h"
#include "rng/brng/mt_seeding.h"
#include "rng/brng/mt19937_charpoly.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

constexpr int32_t kN = 624, kM = 397, kNM = kN - kM;  // kNM = 227
constexpr uint32_t kMatrixA = 0x9908B0DF;             // 2567483615
constexpr uint32_t kUpper = 0x80000000, kLower = 0x7FFFFFFF;
constexpr uint32_t kTemperB = 0x9D2C5680, kTemperC = 0xEFC60000;
constexpr uint64_t kShortSkipLimit = 0x1FFFFF;
// 2^-32.
constexpr uint64_t kTwoPowMinus32Bits = 0x3DF0000000000000;
const double kTwoPowMinus32 = __builtin_bit_cast(double, kTwoPowMinus32Bits);

struct MtState {
    uint32_t mt[kN];
    uint32_t mti;  // next word to output; kN: regenerate first
};
static_assert(sizeof(MtState) + kStreamHeaderBytes <= 2520);  // the row reserves 2520

// ---- The twist ---------------------------------------------------------------

inline uint32_t twist_word(uint32_t far, uint32_t cur, uint32_t next) {
    const uint32_t y = (cur & kUpper) | (next & kLower);
    return far ^ (y >> 1) ^ ((0u - (y & 1)) & kMatrixA);
}

inline __m128i twist_x4(__m128i far, __m128i cur, __m128i next) {
    const __m128i y = _mm_or_si128(_mm_and_si128(cur, _mm_set1_epi32(static_cast<int>(kUpper))),
                                   _mm_and_si128(next, _mm_set1_epi32(kLower)));
    const __m128i odd = _mm_srai_epi32(_mm_slli_epi32(y, 31), 31);
    return _mm_xor_si128(_mm_xor_si128(far, _mm_srli_epi32(y, 1)),
                         _mm_and_si128(odd, _mm_set1_epi32(static_cast<int>(kMatrixA))));
}

inline __m128i load(const uint32_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store(uint32_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Regenerates all 624 words, four per register: words k < 227 read the old
// word k + 397, words from 227 the new word k - 227 (written before it is
// read, as four words from k - 227 end before k).
void twist(uint32_t* mt) {
    int32_t k = 0;
    for (; k + 4 <= kNM; k += 4) store(mt + k, twist_x4(load(mt + k + kM), load(mt + k), load(mt + k + 1)));
    for (; k < kNM; ++k) mt[k] = twist_word(mt[k + kM], mt[k], mt[k + 1]);
    for (; k + 4 <= kN - 1; k += 4) store(mt + k, twist_x4(load(mt + k - kNM), load(mt + k), load(mt + k + 1)));
    for (; k < kN - 1; ++k) mt[k] = twist_word(mt[k - kNM], mt[k], mt[k + 1]);
    mt[kN - 1] = twist_word(mt[kM - 1], mt[kN - 1], mt[0]);
}

// ---- Tempering and the fills -------------------------------------------------

inline uint32_t temper(uint32_t y) {
    y ^= y >> 11;
    y ^= (y << 7) & kTemperB;
    y ^= (y << 15) & kTemperC;
    return y ^ (y >> 18);
}

inline __m128i temper_x4(__m128i y) {
    y = _mm_xor_si128(y, _mm_srli_epi32(y, 11));
    y = _mm_xor_si128(y, _mm_and_si128(_mm_slli_epi32(y, 7), _mm_set1_epi32(static_cast<int>(kTemperB))));
    y = _mm_xor_si128(y, _mm_and_si128(_mm_slli_epi32(y, 15), _mm_set1_epi32(static_cast<int>(kTemperC))));
    return _mm_xor_si128(y, _mm_srli_epi32(y, 18));
}

template <class Sink>
void fill(MtState& s, int32_t n, const Sink& out) {
    int32_t i = 0;
    uint32_t mti = s.mti;
    while (i < n) {
        if (mti >= kN) {
            twist(s.mt);
            mti = 0;
        }
        const int32_t run = n - i < kN - static_cast<int32_t>(mti) ? n - i : kN - static_cast<int32_t>(mti);
        const uint32_t* src = s.mt + mti;
        int32_t j = 0;
        for (; j + 4 <= run; j += 4) out.vec(i + j, temper_x4(load(src + j)));
        for (; j < run; ++j) out.one(i + j, temper(src[j]));
        i += run;
        mti += static_cast<uint32_t>(run);
    }
    s.mti = mti;
}

// ---- Seeding -----------------------------------------------------------------

void seed_by_array(MtState& s, const uint32_t* key, int32_t length) {
    mt_seed_by_array<kN>(s.mt, key, length);
    s.mti = kN;
}

// ---- Skip-ahead --------------------------------------------------------------

// The word recurrence as a linear map on a circular vector: head is the
// oldest word, which the step replaces by the next word of the sequence.
// Two such states add word by word in sequence order, whatever their heads.
struct LinearState {
    uint32_t w[kN];
    uint32_t head;
};

void linear_step(void* p) {
    auto& s = *static_cast<LinearState*>(p);
    const uint32_t k = s.head;
    const uint32_t k1 = k + 1 == kN ? 0 : k + 1;
    const uint32_t km = k + kM < kN ? k + kM : k + kM - kN;
    s.w[k] = twist_word(s.w[km], s.w[k], s.w[k1]);
    s.head = k1;
}

void linear_copy(void* dst, const void* src) { std::memcpy(dst, src, sizeof(LinearState)); }

void linear_add(void* dst, const void* src) {
    auto& d = *static_cast<LinearState*>(dst);
    const auto& s = *static_cast<const LinearState*>(src);
    // At most three runs in which neither index wraps.
    for (uint32_t done = 0; done < kN;) {
        const uint32_t di = (d.head + done) % kN, si = (s.head + done) % kN;
        uint32_t len = kN - done;
        if (kN - di < len) len = kN - di;
        if (kN - si < len) len = kN - si;
        uint32_t* to = d.w + di;
        const uint32_t* from = s.w + si;
        uint32_t k = 0;
        for (; k + 4 <= len; k += 4) store(to + k, _mm_xor_si128(load(to + k), load(from + k)));
        for (; k < len; ++k) to[k] ^= from[k];
        done += len;
    }
}

// Advances by `twists` regenerations of the vector.  Short distances twist
// in place; long ones apply x^(624 twists) modulo the characteristic
// polynomial to the vector.  Only the 19937 bits that determine the
// sequence are exact: the low 31 bits of word 0 never reach an output.
int32_t advance_twists(MtState& s, uint64_t twists, bool long_skip) {
    if (!long_skip) {
        for (uint64_t t = 0; t < twists; ++t) twist(s.mt);
        return QOR_RNG_STATUS_OK;
    }
    LinearState lin;
    std::memcpy(lin.w, s.mt, sizeof lin.w);
    lin.head = 0;
    const unsigned __int128 steps = static_cast<unsigned __int128>(twists) * kN;
    const uint64_t count[2] = {static_cast<uint64_t>(steps), static_cast<uint64_t>(steps >> 64)};
    const int32_t status = __rix_SkipAheadSWin(&lin, sizeof lin, count, 2, kMt19937CharPoly, kMt19937Degree,
                                               linear_step, linear_copy, linear_add);
    if (status < 0) return status;
    for (int32_t k = 0; k < kN; ++k) s.mt[k] = lin.w[(lin.head + static_cast<uint32_t>(k)) % kN];
    return QOR_RNG_STATUS_OK;
}

// Skipping s outputs moves the output position from mti to mti + s; the
// vector is regenerated only as often as drawing the outputs would.
int32_t skip_ahead(MtState& s, uint64_t count) {
    if (count == 0) return QOR_RNG_STATUS_OK;
    const unsigned __int128 target = static_cast<unsigned __int128>(s.mti) + count;
    uint64_t twists = static_cast<uint64_t>(target / kN);
    uint32_t mti = static_cast<uint32_t>(target % kN);
    if (mti == 0) {  // the last vector used is fully drawn
        --twists;
        mti = kN;
    }
    const int32_t status = advance_twists(s, twists, count > kShortSkipLimit);
    if (status < 0) return status;
    s.mti = mti;
    return QOR_RNG_STATUS_OK;
}

// ---- Skip-ahead by a count of many words ---------------------------------------

constexpr int32_t kPeriodBits = kMt19937Degree;                  // the period is 2^19937 - 1
constexpr int32_t kPeriodWords = (kPeriodBits + 63) / 64;        // 312

// c mod 624 for c in `words` 64-bit words, least significant first.
uint32_t mod_vector_length(const uint64_t* c, int32_t words) {
    const uint64_t word_mod = static_cast<uint64_t>((static_cast<unsigned __int128>(1) << 64) % kN);
    uint64_t r = 0;
    for (int32_t i = words - 1; i >= 0; --i) r = (r * word_mod + c[i] % kN) % kN;
    return static_cast<uint32_t>(r);
}

// Bits [at, at + 64) of c (words 64-bit words), zero beyond its end.
uint64_t bits_at(const uint64_t* c, int32_t words, int64_t at) {
    const int64_t w = at >> 6;
    const int shift = static_cast<int>(at & 63);
    const uint64_t lo = w < words ? c[w] : 0;
    const uint64_t hi = w + 1 < words ? c[w + 1] : 0;
    return shift ? (lo >> shift) | (hi << (64 - shift)) : lo;
}

// r = c mod 2^19937 - 1 (r has kPeriodWords words): the 19937-bit pieces of
// c summed with end-around carry.  x^c and x^r agree modulo the primitive
// characteristic polynomial, so a skip by any count costs at most 19937
// squarings.
void mod_period(uint64_t* r, const uint64_t* c, int32_t words) {
    constexpr uint64_t kTopMask = (uint64_t{1} << (kPeriodBits % 64)) - 1;
    std::memset(r, 0, kPeriodWords * sizeof(uint64_t));
    const int64_t bits = int64_t{words} * 64;
    auto fold_carry = [&] {  // 2^19937 = 1: move the bits above into bit 0
        while (r[kPeriodWords - 1] >> (kPeriodBits % 64)) {
            uint64_t carry = r[kPeriodWords - 1] >> (kPeriodBits % 64);
            r[kPeriodWords - 1] &= kTopMask;
            for (int32_t i = 0; i < kPeriodWords && carry; ++i) {
                r[i] += carry;
                carry = r[i] < carry;
            }
        }
    };
    for (int64_t at = 0; at < bits; at += kPeriodBits) {
        unsigned __int128 carry = 0;
        for (int32_t i = 0; i < kPeriodWords; ++i) {
            uint64_t piece = bits_at(c, words, at + int64_t{i} * 64);
            if (i == kPeriodWords - 1) piece &= kTopMask;  // the piece ends at bit 19937
            carry += static_cast<unsigned __int128>(r[i]) + piece;
            r[i] = static_cast<uint64_t>(carry);
            carry >>= 64;
        }
        fold_carry();
    }
    // The all-ones value is the period itself: zero.
    bool all_ones = r[kPeriodWords - 1] == kTopMask;
    for (int32_t i = 0; all_ones && i < kPeriodWords - 1; ++i) all_ones = r[i] == ~uint64_t{0};
    if (all_ones) std::memset(r, 0, kPeriodWords * sizeof(uint64_t));
}

// Skipping c outputs, c in `words` 64-bit words: as skip_ahead, with the
// number of word steps (c + mti - new mti, a multiple of 624) reduced
// modulo the period before the polynomial method.
int32_t skip_ahead_words(MtState& s, const uint64_t* c, int32_t words) {
    int32_t used = words;
    while (used > 0 && c[used - 1] == 0) --used;
    if (used <= 1) return skip_ahead(s, used ? c[0] : 0);
    uint32_t mti = (mod_vector_length(c, used) + s.mti) % kN;
    if (mti == 0) mti = kN;
    // The word steps are c + delta with delta = s.mti - mti in (-624, 624].
    // Modulo the period that is r + delta, with r = c mod (2^19937 - 1);
    // when that is negative, the period is added once more.  The sum stays
    // below 2^19938, inside kPeriodWords words.
    uint64_t steps[kPeriodWords];
    mod_period(steps, c, used);
    const int64_t delta = static_cast<int64_t>(s.mti) - static_cast<int64_t>(mti);
    bool small = steps[0] < 624;
    for (int32_t i = 1; small && i < kPeriodWords; ++i) small = steps[i] == 0;
    const bool add_period = small && static_cast<int64_t>(steps[0]) + delta < 0;
    // steps += delta (+ 2^19937 - 1): a signed low word, its sign extended.
    const int64_t low = delta - (add_period ? 1 : 0);
    const uint64_t high_fill = low < 0 ? ~uint64_t{0} : 0;
    unsigned __int128 sum = 0;
    for (int32_t i = 0; i < kPeriodWords; ++i) {
        const uint64_t term = i == 0 ? static_cast<uint64_t>(low) : high_fill;
        const uint64_t period_bit = add_period && i == kPeriodWords - 1 ? uint64_t{1} << (kPeriodBits % 64) : 0;
        sum += static_cast<unsigned __int128>(steps[i]) + term + period_bit;
        steps[i] = static_cast<uint64_t>(sum);
        sum >>= 64;  // the carry out of the top word is the sign's wrap-around
    }
    int32_t step_words = kPeriodWords;
    while (step_words > 1 && steps[step_words - 1] == 0) --step_words;
    LinearState lin;
    std::memcpy(lin.w, s.mt, sizeof lin.w);
    lin.head = 0;
    const int32_t status = __rix_SkipAheadSWin(&lin, sizeof lin, steps, step_words, kMt19937CharPoly,
                                               kMt19937Degree, linear_step, linear_copy, linear_add);
    if (status < 0) return status;
    for (int32_t k = 0; k < kN; ++k) s.mt[k] = lin.w[(lin.head + static_cast<uint32_t>(k)) % kN];
    s.mti = mti;
    return QOR_RNG_STATUS_OK;
}

int32_t init(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    MtState& s = *state_of<MtState>(stream);
    switch (method) {
    case 0: {
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        static constexpr uint32_t kDefaultKey[1] = {1};
        if (n < 1)
            seed_by_array(s, kDefaultKey, 1);
        else
            seed_by_array(s, params, n);
        return QOR_RNG_STATUS_OK;
    }
    case 1:
        return QOR_RNG_STATUS_NO_LEAPFROG;
    case 2:  // the 64-bit count in params[0..1]
        if (!params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        return skip_ahead(s, params[0] | (uint64_t{params[1]} << 32));
    case 3:  // n 64-bit words, least significant first
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        return n >= 1 ? skip_ahead_words(s, reinterpret_cast<const uint64_t*>(params), n) : QOR_RNG_STATUS_OK;
    default:
        return QOR_RNG_STATUS_BAD_METHOD;
    }
}

// The fill of a stream, for the shared exports.
template <class Sink>
int32_t fill(qor_rng_stream* stream, int32_t n, const Sink& out) {
    fill(*state_of<MtState>(stream), n, out);
    return QOR_RNG_STATUS_OK;
}

}  // namespace
}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngMT19937InitStream(uint32_t method, qor_rng_stream* stream, int32_t n,
                                              const uint32_t* params) {
    return init(method, stream, n, params);
}

QOR_RNG_WORD32_FILL_EXPORTS(MT19937)

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kMt19937Row = {
    2520, 625, 1, 4, 32, __rixBRngMT19937InitStream, __rixsBRngMT19937, __rixdBRngMT19937, __rixiBRngMT19937};

// Any position (a larger one regenerates first), but not the state whose
// 19937 recurrence bits are all zero.
extern const StateCheck kMt19937StateCheck = [](const qor_rng_stream* stream) {
    const MtState& s = *state_of<MtState>(stream);
    uint32_t any = s.mt[0] & kUpper;
    for (int32_t i = 1; i < kN; ++i) any |= s.mt[i];
    return any != 0;
};


}  // namespace qor::rng
