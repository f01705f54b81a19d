// Sobol, the quasi-random sequence in base 2, in Gray-code order (see
// digital_sequence.h for the output order, the start at point 1 and the
// period).  Coordinate j has direction numbers V_k = m_k 2^(32-k),
// k = 1 ... 32, from a primitive polynomial x^s + c_1 x^(s-1) + ... +
// c_(s-1) x + 1 and odd initial integers m_k < 2^k (k <= s); beyond s,
// V_k = c_1 V_(k-1) ^ ... ^ c_(s-1) V_(k-s+1) ^ V_(k-s) ^ (V_(k-s) >> s).
//
// Seeding words: (dimension, kind, data...).  No words: dimension 1.
//   kind 0 (or absent): Joe and Kuo's direction numbers (new-joe-kuo-6.21201),
//     dimensions 1 to 1112; coordinate 1 is the van der Corput sequence.
//   kind 1: per coordinate the words s, a, m_1 ... m_s: s up to 32 (0: the
//     van der Corput coordinate), a below 2^(s-1) holding c_1 ... c_(s-1)
//     (c_1 the most significant), each m_k odd and below 2^k.
//   kind 2: per coordinate its 32 direction numbers V_1 ... V_32, linearly
//     independent over GF(2).
// User data serves up to kSobolMaxDimension coordinates; missing or
// malformed data, or a dimension out of range, gives BAD_ARGUMENT.
#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/digital_sequence.h"
#include "rng/brng/mcg_lanes.h"
#include "rng/brng/sobol_joe_kuo_table.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

constexpr int32_t kStateBytes = 2900 * 4;  // what a state copy moves: state_word_count words
constexpr uint32_t kSobolMaxDimension = (kStateBytes - sizeof(DigitalHeader)) / sizeof(uint32_t);

struct SobolState {
    DigitalHeader h;
    uint32_t point[kSobolMaxDimension];
};
static_assert(sizeof(SobolState) <= kStateBytes && kStateBytes + kStreamHeaderBytes <= 11712);

constexpr uint32_t kDirectionsChunk = 0x4C424F53;          // "SOBL"
constexpr uint64_t kJoeKuoKeyTag = 0x3130324B4A4C4253ull;  // "SBLJK201"
constexpr uint32_t kDefaultKind = 0, kPolynomialKind = 1, kDirectionKind = 2;
// 2^-32.
constexpr uint64_t kTwoPowMinus32Bits = 0x3DF0000000000000;
const double kTwoPowMinus32 = __builtin_bit_cast(double, kTwoPowMinus32Bits);

// The 32 direction numbers of one coordinate into v[0], v[stride], ...
template <class Word>
void coordinate_directions(uint32_t* v, uint32_t stride, uint32_t s, uint32_t a, const Word* m) {
    uint32_t dir[kDirectionBits + 1];  // dir[k] = V_k
    for (uint32_t k = 1; k <= kDirectionBits; ++k) {
        if (s == 0) {
            dir[k] = 1u << (32 - k);
        } else if (k <= s) {
            dir[k] = static_cast<uint32_t>(m[k - 1]) << (32 - k);
        } else {
            uint32_t x = dir[k - s] ^ (dir[k - s] >> s);
            for (uint32_t i = 1; i < s; ++i)
                if ((a >> (s - 1 - i)) & 1) x ^= dir[k - i];
            dir[k] = x;
        }
        v[static_cast<size_t>(k - 1) * stride] = dir[k];
    }
}

int32_t build_joe_kuo(uint32_t* v, uint32_t dimension, const void*) {
    coordinate_directions<uint16_t>(v, dimension, 0, 0, nullptr);
    const uint16_t* r = kJoeKuoRecords;
    for (uint32_t j = 1; j < dimension; ++j) {
        const uint32_t s = r[0];
        coordinate_directions(v + j, dimension, s, r[1], r + 2);
        r += 2 + s;
    }
    return QOR_RNG_STATUS_OK;
}

int32_t build_from_polynomials(uint32_t* v, uint32_t dimension, const void* context) {
    const auto& in = *static_cast<const UserWords*>(context);
    int64_t at = 0;
    for (uint32_t j = 0; j < dimension; ++j) {
        if (in.count - at < 2) return QOR_RNG_STATUS_BAD_ARGUMENT;
        const uint32_t s = in.words[at], a = in.words[at + 1];
        if (s > kDirectionBits || in.count - at - 2 < s || (s == 0 ? a != 0 : (a >> (s - 1)) != 0))
            return QOR_RNG_STATUS_BAD_ARGUMENT;
        const uint32_t* m = in.words + at + 2;
        for (uint32_t k = 1; k <= s; ++k)
            if (!(m[k - 1] & 1) || (k < 32 && (m[k - 1] >> k))) return QOR_RNG_STATUS_BAD_ARGUMENT;
        coordinate_directions(v + j, dimension, s, a, m);
        at += 2 + s;
    }
    return QOR_RNG_STATUS_OK;
}

int32_t seed(qor_rng_stream* stream, SobolState& s, int32_t n, const uint32_t* params) {
    if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const uint32_t dimension = n >= 1 ? params[0] : 1;
    const uint32_t kind = n >= 2 ? params[1] : kDefaultKind;
    const UserWords user{n >= 2 ? params + 2 : nullptr, n - 2};
    int32_t status = QOR_RNG_STATUS_BAD_ARGUMENT;
    if (kind == kDefaultKind) {
        if (dimension < 1 || dimension > kJoeKuoDimensions) return QOR_RNG_STATUS_BAD_ARGUMENT;
        const uint64_t key[2] = {kJoeKuoKeyTag, dimension};
        status = attach_directions(stream, kDirectionsChunk, key, dimension, build_joe_kuo, nullptr);
    } else if (kind == kPolynomialKind || kind == kDirectionKind) {
        if (dimension < 1 || dimension > kSobolMaxDimension) return QOR_RNG_STATUS_BAD_ARGUMENT;
        status = attach_directions(stream, kDirectionsChunk, nullptr, dimension,
                                   kind == kPolynomialKind ? build_from_polynomials : build_user_directions, &user);
    }
    if (status == QOR_RNG_STATUS_OK) digital_start(s.h, s.point, dimension);
    return status;
}

// The fills of a stream whose tables are missing (a damaged image) write
// nothing.
template <class Sink>
int32_t fill(qor_rng_stream* stream, int32_t n, const Sink& out) {
    SobolState& s = *state_of<SobolState>(stream);
    const uint32_t* v =
        digital_valid(s.h, kSobolMaxDimension) ? find_directions(stream, kDirectionsChunk, s.h.dimension) : nullptr;
    if (!v) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (n > 0) digital_fill(s.h, s.point, v, n, out);
    return QOR_RNG_STATUS_OK;
}

}  // namespace
}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngSobolInitStream(uint32_t method, qor_rng_stream* stream, int32_t n,
                                            const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    SobolState& s = *state_of<SobolState>(stream);
    if (method == 0) return seed(stream, s, n, params);
    return digital_method(method, stream, s.h, s.point, kDirectionsChunk, kSobolMaxDimension, n, params);
}

QOR_RNG_WORD32_FILL_EXPORTS(Sobol)

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kSobolRow = {
    11712, 2900, 0, 4, 32, __rixBRngSobolInitStream, __rixsBRngSobol, __rixdBRngSobol, __rixiBRngSobol};

}  // namespace qor::rng
