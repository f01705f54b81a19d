// Niederreiter's sequence in base 2, in Gray-code order (see
// digital_sequence.h for the output order, the start at point 1 and the
// period), with the generator matrices of Bratley, Fox and Niederreiter
// ("Implementation and tests of low-discrepancy sequences", 1992).
//
// Coordinate j takes the j-th irreducible polynomial p over GF(2) in order
// of degree (x, x + 1, x^2 + x + 1, x^3 + x + 1, x^3 + x^2 + 1, ...; in
// numeric order within a degree), of degree e.  Output digit i (weight
// 2^-(i+1)) belongs to block t = i / e, with b = p^(t+1) of degree m =
// e (t + 1): the sequence v has v_r = 0 for r < e t, v_(et) = 1, v_r = 1 up
// to r = m - 1, and then the recurrence v_(r+m) = sum over k < m of
// b_k v_(r+k) (mod 2).  Digit i of direction number r is v_(r + i mod e).
//
// Cut to 32 digits and 32 direction numbers, the matrix of a coordinate is
// singular for many polynomials (those of degree 3 and above whose blocks
// do not end at digit 32): a few points before 2^32 then have a coordinate
// whose 32 digits are all 0.  Such a coordinate is output as 1 (2^-32), so
// that, as the registry row states, no output word is 0; the state keeps
// the true digits.
//
// Seeding words: (dimension, kind, data...).  No words: dimension 1.
//   kind 0 (or absent): the irreducible polynomials in the order above,
//     dimensions 1 to 318.
//   kind 1: one polynomial per coordinate, bit k the coefficient of x^k:
//     irreducible, of degree 1 to 31, no two equal.
//   kind 2: per coordinate its 32 direction numbers, linearly independent.
// User data serves up to kNiederrMaxDimension coordinates; missing or
// malformed data, or a dimension out of range, gives BAD_ARGUMENT.
#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/digital_sequence.h"
#include "rng/brng/mcg_lanes.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

constexpr int32_t kStateBytes = 21056 * 4;  // what a state copy moves: state_word_count words
constexpr uint32_t kNiederrMaxDimension = (kStateBytes - sizeof(DigitalHeader)) / sizeof(uint32_t);
constexpr uint32_t kDefaultDimensions = 318;
constexpr int kMaxDegree = 31;

struct NiederrState {
    DigitalHeader h;
    uint32_t point[kNiederrMaxDimension];
};
static_assert(sizeof(NiederrState) <= kStateBytes && kStateBytes + kStreamHeaderBytes <= 84288);

constexpr uint32_t kDirectionsChunk = 0x4445494E;           // "NIED"
constexpr uint64_t kDefaultKeyTag = 0x324642524445494Eull;  // "NIEDRBF2"
constexpr uint32_t kDefaultKind = 0, kPolynomialKind = 1, kDirectionKind = 2;
// 2^-32.
constexpr uint64_t kTwoPowMinus32Bits = 0x3DF0000000000000;
const double kTwoPowMinus32 = __builtin_bit_cast(double, kTwoPowMinus32Bits);

// ---- Polynomials over GF(2), bit k the coefficient of x^k ------------------------

int degree(uint64_t p) { return 63 - __builtin_clzll(p); }

uint64_t multiply(uint64_t a, uint64_t b) {
    uint64_t r = 0;
    for (; b; b &= b - 1) r ^= a << __builtin_ctzll(b);
    return r;
}

uint64_t remainder(uint64_t a, uint64_t b) {
    const int db = degree(b);
    while (a && degree(a) >= db) a ^= b << (degree(a) - db);
    return a;
}

// No factor of degree 1 to deg / 2: trial division by every polynomial of
// those degrees (at most 2^16 for degree 31, done once per coordinate).
bool irreducible(uint64_t p) {
    if (p < 2) return false;
    const int half = degree(p) / 2;
    for (uint64_t q = 2; q < (uint64_t{2} << half); ++q)
        if (remainder(p, q) == 0) return false;
    return true;
}

// ---- The generator matrices ---------------------------------------------------------

// The 32 direction numbers of the coordinate of polynomial p into v[0],
// v[stride], ...
void coordinate_directions(uint32_t* v, uint32_t stride, uint64_t p) {
    const int e = degree(p);
    uint32_t dir[kDirectionBits] = {};
    uint64_t b = 1, seq = 0;  // seq bit r: v_r of the current block
    for (int i = 0; i < kDirectionBits; ++i) {
        const int u = i % e;
        if (u == 0) {
            const int start = degree(b);
            b = multiply(b, p);
            const int m = degree(b);
            seq = ((uint64_t{1} << m) - 1) & ~((uint64_t{1} << start) - 1);  // v_start .. v_(m-1) = 1
            const uint64_t low = b & ((uint64_t{1} << m) - 1);
            for (int r = 0; r + m < 64; ++r) seq |= uint64_t(__builtin_parityll(low & (seq >> r))) << (r + m);
        }
        for (int r = 0; r < kDirectionBits; ++r) dir[r] |= uint32_t((seq >> (r + u)) & 1) << (31 - i);
    }
    for (int r = 0; r < kDirectionBits; ++r) v[static_cast<size_t>(r) * stride] = dir[r];
}

int32_t build_default(uint32_t* v, uint32_t dimension, const void*) {
    uint64_t p = 1;
    for (uint32_t j = 0; j < dimension; ++j) {
        while (!irreducible(++p)) {
        }
        coordinate_directions(v + j, dimension, p);
    }
    return QOR_RNG_STATUS_OK;
}

int32_t build_from_polynomials(uint32_t* v, uint32_t dimension, const void* context) {
    const auto& in = *static_cast<const UserWords*>(context);
    if (in.count < dimension) return QOR_RNG_STATUS_BAD_ARGUMENT;
    for (uint32_t j = 0; j < dimension; ++j) {
        const uint64_t p = in.words[j];
        if (p < 2 || degree(p) > kMaxDegree || !irreducible(p)) return QOR_RNG_STATUS_BAD_ARGUMENT;
        for (uint32_t i = 0; i < j; ++i)
            if (in.words[i] == p) return QOR_RNG_STATUS_BAD_ARGUMENT;
        coordinate_directions(v + j, dimension, p);
    }
    return QOR_RNG_STATUS_OK;
}

int32_t seed(qor_rng_stream* stream, NiederrState& s, int32_t n, const uint32_t* params) {
    if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const uint32_t dimension = n >= 1 ? params[0] : 1;
    const uint32_t kind = n >= 2 ? params[1] : kDefaultKind;
    const UserWords user{n >= 2 ? params + 2 : nullptr, n - 2};
    int32_t status = QOR_RNG_STATUS_BAD_ARGUMENT;
    if (kind == kDefaultKind) {
        if (dimension < 1 || dimension > kDefaultDimensions) return QOR_RNG_STATUS_BAD_ARGUMENT;
        const uint64_t key[2] = {kDefaultKeyTag, dimension};
        status = attach_directions(stream, kDirectionsChunk, key, dimension, build_default, nullptr);
    } else if (kind == kPolynomialKind || kind == kDirectionKind) {
        if (dimension < 1 || dimension > kNiederrMaxDimension) return QOR_RNG_STATUS_BAD_ARGUMENT;
        status = attach_directions(stream, kDirectionsChunk, nullptr, dimension,
                                   kind == kPolynomialKind ? build_from_polynomials : build_user_directions, &user);
    }
    if (status == QOR_RNG_STATUS_OK) digital_start(s.h, s.point, dimension);
    return status;
}

// Passes words to the output with 0 raised to 1.
template <class Sink>
struct NonZero {
    Sink out;
    void one(int32_t i, uint32_t x) const { out.one(i, x ? x : 1); }
    void vec(int32_t i, __m128i v) const { out.vec(i, _mm_max_epu32(v, _mm_set1_epi32(1))); }
};

// The fills of a stream whose tables are missing (a damaged image) write
// nothing.
template <class Sink>
int32_t fill(qor_rng_stream* stream, int32_t n, const Sink& out) {
    NiederrState& s = *state_of<NiederrState>(stream);
    const uint32_t* v =
        digital_valid(s.h, kNiederrMaxDimension) ? find_directions(stream, kDirectionsChunk, s.h.dimension) : nullptr;
    if (!v) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (n > 0) digital_fill(s.h, s.point, v, n, NonZero<Sink>{out});
    return QOR_RNG_STATUS_OK;
}

}  // namespace
}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngNiederrInitStream(uint32_t method, qor_rng_stream* stream, int32_t n,
                                              const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    NiederrState& s = *state_of<NiederrState>(stream);
    if (method == 0) return seed(stream, s, n, params);
    return digital_method(method, stream, s.h, s.point, kDirectionsChunk, kNiederrMaxDimension, n, params);
}

QOR_RNG_WORD32_FILL_EXPORTS(Niederr)

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kNiederrRow = {
    84288, 21056, 0, 4, 32, __rixBRngNiederrInitStream, __rixsBRngNiederr, __rixdBRngNiederr, __rixiBRngNiederr};

}  // namespace qor::rng
