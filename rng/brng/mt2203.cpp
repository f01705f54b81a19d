// MT2203, a family of Mersenne twisters of period 2^2203 - 1: 69 32-bit
// words (the low 5 bits of the oldest unused) regenerated 69 words at a
// time, middle distance 34, each output one word through MT19937's
// tempering.  The members differ only by their twist matrices, a read-only
// table compiled into the library (tools/gen_mt2203_params.cpp documents the
// search that produced it) and indexed by the member number of the stream's
// identifier, so no stream holds a copy.  Members beyond the table answer
// QOR_RNG_STATUS_BAD_BRNG to seeding and fills.
//
// Seeding takes the parameter words as a key, as MT19937's seeding by an
// array does.  Skip-ahead steps for short distances and uses the polynomial
// method beyond, with the member's characteristic polynomial found at the
// time of the skip by the Berlekamp-Massey algorithm; counts of more than
// 64 bits are refused.  There is no leapfrog.
#include <smmintrin.h>

#include <cstring>

#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/mcg_lanes.h"
#include "rng/brng/mt_seeding.h"
#include "rng/brng/mt2203_params.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

constexpr int32_t kN = 69, kM = 34, kNM = kN - kM;  // kNM = 35
constexpr int32_t kDegree = 2203;                   // 69 * 32 - 5
constexpr uint32_t kUpper = 0xFFFFFFE0, kLower = 0x0000001F;
constexpr uint32_t kTemperB = 0x9D2C5680, kTemperC = 0xEFC60000;
constexpr uint64_t kShortSkipLimit = uint64_t{1} << 20;
// 2^-32.
constexpr uint64_t kTwoPowMinus32Bits = 0x3DF0000000000000;
const double kTwoPowMinus32 = __builtin_bit_cast(double, kTwoPowMinus32Bits);

struct MtState {
    uint32_t mt[kN];
    uint32_t mti;  // next word to output; kN: regenerate first
};
static_assert(sizeof(MtState) + kStreamHeaderBytes <= 312);  // the row reserves 312

// The member's twist matrix, or 0 for a member beyond the table (every
// matrix in the table has its top half set).
uint32_t matrix_of(const qor_rng_stream* stream) {
    const int32_t member = locate_brng(stream->brng).member;
    return member < kMt2203ParamCount ? kMt2203Matrix[member] : 0;
}

// ---- The twist ---------------------------------------------------------------

inline uint32_t twist_word(uint32_t far, uint32_t cur, uint32_t next, uint32_t a) {
    const uint32_t y = (cur & kUpper) | (next & kLower);
    return far ^ (y >> 1) ^ ((0u - (y & 1)) & a);
}

inline __m128i twist_x4(__m128i far, __m128i cur, __m128i next, __m128i a) {
    const __m128i y = _mm_or_si128(_mm_and_si128(cur, _mm_set1_epi32(static_cast<int>(kUpper))),
                                   _mm_and_si128(next, _mm_set1_epi32(kLower)));
    const __m128i odd = _mm_srai_epi32(_mm_slli_epi32(y, 31), 31);
    return _mm_xor_si128(_mm_xor_si128(far, _mm_srli_epi32(y, 1)), _mm_and_si128(odd, a));
}

inline __m128i load(const uint32_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store(uint32_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Regenerates all 69 words, four per register: words k < 35 read the old
// word k + 34, words from 35 the new word k - 35 (written before it is read).
void twist(uint32_t* mt, uint32_t a) {
    const __m128i va = _mm_set1_epi32(static_cast<int>(a));
    int32_t k = 0;
    for (; k + 4 <= kNM; k += 4) store(mt + k, twist_x4(load(mt + k + kM), load(mt + k), load(mt + k + 1), va));
    for (; k < kNM; ++k) mt[k] = twist_word(mt[k + kM], mt[k], mt[k + 1], a);
    for (; k + 4 <= kN - 1; k += 4) store(mt + k, twist_x4(load(mt + k - kNM), load(mt + k), load(mt + k + 1), va));
    for (; k < kN - 1; ++k) mt[k] = twist_word(mt[k - kNM], mt[k], mt[k + 1], a);
    mt[kN - 1] = twist_word(mt[kM - 1], mt[kN - 1], mt[0], a);
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
int32_t fill(qor_rng_stream* stream, int32_t n, const Sink& out) {
    MtState& s = *state_of<MtState>(stream);
    const uint32_t a = matrix_of(stream);
    if (!a) return QOR_RNG_STATUS_BAD_BRNG;
    int32_t i = 0;
    uint32_t mti = s.mti;
    while (i < n) {
        if (mti >= kN) {
            twist(s.mt, a);
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
    return QOR_RNG_STATUS_OK;
}

// ---- Seeding -----------------------------------------------------------------

void seed_by_array(MtState& s, const uint32_t* key, int32_t length) {
    mt_seed_by_array<kN>(s.mt, key, length);
}

// ---- Skip-ahead --------------------------------------------------------------

constexpr int32_t kPolyWords = kDegree / 64 + 1;  // 35

// The characteristic polynomial of the member's recurrence, degree 2203,
// by the Berlekamp-Massey algorithm over the lowest bit of 2 * 2203 words
// from a fixed start.  The polynomial is irreducible, so any nonzero bit
// sequence of the recurrence has it as its shortest recurrence.
void characteristic_polynomial(uint32_t a, uint64_t* p) {
    constexpr int32_t kCount = 2 * kDegree, kRevWords = kCount / 64 + 2;
    // The sequence reversed, rev bit (kCount - 1 - n) = s_n, so that each
    // discrepancy is a word-wise product of the connection polynomial with rev.
    uint64_t rev[kRevWords] = {};
    uint32_t mt[kN];
    mt[0] = 5489u;
    for (int32_t k = 1; k < kN; ++k) mt[k] = 1812433253u * (mt[k - 1] ^ (mt[k - 1] >> 30)) + static_cast<uint32_t>(k);
    for (int32_t n = 0; n < kCount; n += kN) {
        twist(mt, a);
        for (int32_t k = 0; k < kN && n + k < kCount; ++k)
            rev[(kCount - 1 - n - k) / 64] |= uint64_t{mt[k] & 1} << ((kCount - 1 - n - k) % 64);
    }
    auto bits64 = [&](int32_t at) {
        const int32_t q = at >> 6, r = at & 63;
        const uint64_t lo = rev[q], hi = q + 1 < kRevWords ? rev[q + 1] : 0;
        return r ? (lo >> r) | (hi << (64 - r)) : lo;
    };
    // c ^= b * x^m over kPolyWords + 1 words.
    auto add_shifted = [](uint64_t* c, const uint64_t* b, int32_t m) {
        const int32_t q = m >> 6, r = m & 63;
        for (int32_t k = kPolyWords - q; k >= 0; --k) {
            c[k + q] ^= b[k] << r;
            if (r && k + q + 1 <= kPolyWords) c[k + q + 1] ^= b[k] >> (64 - r);
        }
    };
    uint64_t c[kPolyWords + 1] = {1}, b[kPolyWords + 1] = {1}, t[kPolyWords + 1];
    int32_t length = 0, m = 1;
    for (int32_t n = 0; n < kCount; ++n) {
        uint64_t d = 0;
        for (int32_t k = 0; k <= length; k += 64) {
            uint64_t cw = c[k / 64];
            if (length - k < 63) cw &= (uint64_t{2} << (length - k)) - 1;
            d ^= cw & bits64(kCount - 1 - n + k);
        }
        if (!(__builtin_popcountll(d) & 1)) {
            ++m;
        } else if (2 * length <= n) {
            std::memcpy(t, c, sizeof c);
            add_shifted(c, b, m);
            length = n + 1 - length;
            std::memcpy(b, t, sizeof b);
            m = 1;
        } else {
            add_shifted(c, b, m);
            ++m;
        }
    }
    // The characteristic polynomial is the reversal x^2203 c(1/x).
    std::memset(p, 0, sizeof(uint64_t) * kPolyWords);
    for (int32_t k = 0; k <= kDegree; ++k)
        if ((c[k / 64] >> (k % 64)) & 1) p[(kDegree - k) / 64] |= uint64_t{1} << ((kDegree - k) % 64);
}

// The word recurrence as a linear map on a circular vector: head is the
// oldest word, which the step replaces by the next word of the sequence.
struct LinearState {
    uint32_t w[kN];
    uint32_t head;
    uint32_t a;
};

void linear_step(void* p) {
    auto& s = *static_cast<LinearState*>(p);
    const uint32_t k = s.head;
    const uint32_t k1 = k + 1 == kN ? 0 : k + 1;
    const uint32_t km = k + kM < kN ? k + kM : k + kM - kN;
    s.w[k] = twist_word(s.w[km], s.w[k], s.w[k1], s.a);
    s.head = k1;
}

void linear_copy(void* dst, const void* src) { std::memcpy(dst, src, sizeof(LinearState)); }

// The sum also carries the matrix over, so that a zeroed accumulator steps
// with the member's matrix once a state has been added to it.
void linear_add(void* dst, const void* src) {
    auto& d = *static_cast<LinearState*>(dst);
    const auto& s = *static_cast<const LinearState*>(src);
    for (uint32_t k = 0; k < kN; ++k) d.w[(d.head + k) % kN] ^= s.w[(s.head + k) % kN];
    d.a = s.a;
}

// Advances by `twists` regenerations of the vector.  Only the 2203 bits that
// determine the sequence are exact: the low 5 bits of word 0 never reach an
// output.
int32_t advance_twists(MtState& s, uint32_t a, uint64_t twists, bool long_skip) {
    if (!long_skip) {
        for (uint64_t t = 0; t < twists; ++t) twist(s.mt, a);
        return QOR_RNG_STATUS_OK;
    }
    uint64_t poly[kPolyWords];
    characteristic_polynomial(a, poly);
    LinearState lin;
    std::memcpy(lin.w, s.mt, sizeof lin.w);
    lin.head = 0;
    lin.a = a;
    const unsigned __int128 steps = static_cast<unsigned __int128>(twists) * kN;
    const uint64_t count[2] = {static_cast<uint64_t>(steps), static_cast<uint64_t>(steps >> 64)};
    const int32_t status = __rix_SkipAheadSWin(&lin, sizeof lin, count, count[1] ? 2 : 1, poly, kDegree,
                                               linear_step, linear_copy, linear_add);
    if (status < 0) return status;
    for (uint32_t k = 0; k < kN; ++k) s.mt[k] = lin.w[(lin.head + k) % kN];
    return QOR_RNG_STATUS_OK;
}

// Skipping c outputs moves the output position from mti to mti + c; the
// vector is regenerated only as often as drawing the outputs would.
int32_t skip_ahead(MtState& s, uint32_t a, uint64_t count) {
    if (count == 0) return QOR_RNG_STATUS_OK;
    const unsigned __int128 target = static_cast<unsigned __int128>(s.mti) + count;
    uint64_t twists = static_cast<uint64_t>(target / kN);
    uint32_t mti = static_cast<uint32_t>(target % kN);
    if (mti == 0) {  // the last vector used is fully drawn
        --twists;
        mti = kN;
    }
    const int32_t status = advance_twists(s, a, twists, count > kShortSkipLimit);
    if (status < 0) return status;
    s.mti = mti;
    return QOR_RNG_STATUS_OK;
}

int32_t init(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const uint32_t a = matrix_of(stream);
    if (!a) return QOR_RNG_STATUS_BAD_BRNG;
    MtState& s = *state_of<MtState>(stream);
    switch (method) {
    case 0: {
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        static constexpr uint32_t kDefaultKey[1] = {1};
        if (n < 1)
            seed_by_array(s, kDefaultKey, 1);
        else
            seed_by_array(s, params, n);
        s.mti = kN;
        return QOR_RNG_STATUS_OK;
    }
    case 1:
        return QOR_RNG_STATUS_NO_LEAPFROG;
    case 2:  // the 64-bit count in params[0..1]
        if (!params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        return skip_ahead(s, a, params[0] | (uint64_t{params[1]} << 32));
    case 3: {  // n 64-bit words, least significant first; one significant word at most
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        const auto* c = reinterpret_cast<const uint64_t*>(params);
        for (int32_t k = 1; k < n; ++k)
            if (c[k]) return QOR_RNG_STATUS_NO_SKIP_AHEAD_EX;
        return skip_ahead(s, a, n >= 1 ? c[0] : 0);
    }
    default:
        return QOR_RNG_STATUS_BAD_METHOD;
    }
}

}  // namespace
}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngMT2203InitStream(uint32_t method, qor_rng_stream* stream, int32_t n,
                                             const uint32_t* params) {
    return init(method, stream, n, params);
}

QOR_RNG_WORD32_FILL_EXPORTS(MT2203)

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kMt2203Row = {
    312, 70, 1, 4, 32, __rixBRngMT2203InitStream, __rixsBRngMT2203, __rixdBRngMT2203, __rixiBRngMT2203};

// A member of the table, and not the state whose 2203 recurrence bits are
// all zero.
extern const StateCheck kMt2203StateCheck = [](const qor_rng_stream* stream) {
    if (matrix_of(stream) == 0) return false;
    const MtState& s = *state_of<MtState>(stream);
    uint32_t any = s.mt[0] & kUpper;
    for (int32_t i = 1; i < kN; ++i) any |= s.mt[i];
    return any != 0;
};


}  // namespace qor::rng
