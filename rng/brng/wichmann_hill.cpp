// Wichmann-Hill, a family of 273 combined multiplicative congruential
// generators in the manner of Wichmann and Hill (and Maclaren's extension
// to four components).  Member j has four components
//   x_c <- a_c x_c mod m_c,  c = 0 .. 3,
// with distinct primes m_c below 2^24 and primitive roots a_c (the table in
// wh_params.h, made by tools/gen_wh_params.cpp), and outputs, before each
// step,
//   u = frac(((x_0 r_0 + x_1 r_1) + x_2 r_2) + x_3 r_3),  r_c = the double nearest 1 / m_c,
// in double precision in that order, so u is in [0, 1).  The period is the
// least common multiple of the m_c - 1.
//
// The state is the four x_c and the four current multipliers a_c (leapfrog
// replaces them by powers of themselves); the moduli come from the member
// number of the stream's identifier, so the 32 state bytes are all a saved
// or copied stream needs.
//
// Outputs: doubles and singles a + (b - a) u; integers are 16-byte words of
// four 32-bit lanes, the first floor(2^24 u) (the 24 significant bits), the
// other three zero.
//
// Skip-ahead multiplies each x_c by a_c^(count mod (m_c - 1)), which takes
// counts of any number of words; leapfrog (stream k of n) multiplies x_c by
// a_c^k and makes a_c^n the multiplier.
#include <smmintrin.h>

#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/mcg_lanes.h"
#include "rng/brng/wh_params.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

static_assert(kWhParamCount == kWhMembers);

constexpr int kComponents = 4;

struct WhState {
    uint32_t x[kComponents];  // next output's values, 1 to m_c - 1
    uint32_t a[kComponents];  // current multipliers
};
static_assert(sizeof(WhState) + kStreamHeaderBytes == 48);

// 2^24, the scale of the integer output.
constexpr uint64_t kTwoPow24Bits = 0x4170000000000000;
const double kTwoPow24 = __builtin_bit_cast(double, kTwoPow24Bits);

const WhMember* member_of(const qor_rng_stream* stream) {
    const int32_t member = locate_brng(stream->brng).member;
    return member >= 0 && member < kWhParamCount ? &kWhParams[member] : nullptr;
}

uint32_t mul_mod(uint32_t x, uint32_t y, uint32_t m) { return static_cast<uint32_t>(uint64_t{x} * y % m); }

uint32_t pow_mod(uint32_t base, uint64_t exponent, uint32_t m) {
    uint32_t b = base % m, r = 1;
    for (; exponent; exponent >>= 1, b = mul_mod(b, b, m))
        if (exponent & 1) r = mul_mod(r, b, m);
    return r;
}

// ---- The recurrence in doubles ---------------------------------------------------

// x a mod m for x, a in [1, m - 1], two lanes at once.  The product p is
// exact (below 2^48), and so is the quotient q = floor(p r): p / m is below
// 2^24 and at least 1 / m > 2^-24 away from an integer (m is prime), while
// the two roundings in p r move it by less than 2^24 * 2^-52 = 2^-28.
// p - q m is then exact as well.
inline __m128d mul_mod_x2(__m128d x, __m128d a, __m128d m, __m128d r) {
    const __m128d p = _mm_mul_pd(x, a);
    const __m128d q = _mm_floor_pd(_mm_mul_pd(p, r));
    return _mm_sub_pd(p, _mm_mul_pd(q, m));
}

struct Moduli {
    double m[kComponents], r[kComponents];
    explicit Moduli(const WhMember& p) {
        for (int c = 0; c < kComponents; ++c) m[c] = p.m[c], r[c] = 1.0 / m[c];
    }
};

inline double output(const uint32_t (&x)[kComponents], const Moduli& k) {
    const double s = ((x[0] * k.r[0] + x[1] * k.r[1]) + x[2] * k.r[2]) + x[3] * k.r[3];
    return s - __builtin_floor(s);
}

inline __m128d output_x2(const __m128d (&x)[kComponents], const __m128d (&r)[kComponents]) {
    __m128d s = _mm_add_pd(_mm_mul_pd(x[0], r[0]), _mm_mul_pd(x[1], r[1]));
    s = _mm_add_pd(_mm_add_pd(s, _mm_mul_pd(x[2], r[2])), _mm_mul_pd(x[3], r[3]));
    return _mm_sub_pd(s, _mm_floor_pd(s));
}

// ---- Sinks of u ------------------------------------------------------------------

struct WordSink {
    uint32_t* r;  // four 32-bit lanes per output
    void one(int32_t i, double u) const {
        r[4 * i] = static_cast<uint32_t>(u * kTwoPow24);
        r[4 * i + 1] = r[4 * i + 2] = r[4 * i + 3] = 0;
    }
    void vec(int32_t i, __m128d u) const {
        const __m128i t = _mm_cvttpd_epi32(_mm_mul_pd(u, _mm_set1_pd(kTwoPow24)));  // (t0, t1, 0, 0)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(r + 4 * i), _mm_blend_epi16(_mm_setzero_si128(), t, 0x03));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(r + 4 * i + 4), _mm_srli_si128(t, 4));
    }
};

struct DoubleSink {
    double* r;
    Affine f;
    void one(int32_t i, double u) const { r[i] = f.apply(u); }
    void vec(int32_t i, __m128d u) const { _mm_storeu_pd(r + i, f.apply(u)); }
};

struct SingleSink {
    float* r;
    Affine f;
    void one(int32_t i, double u) const { r[i] = static_cast<float>(f.apply(u)); }
    void vec(int32_t i, __m128d u) const {
        _mm_storel_pi(reinterpret_cast<__m64*>(r + i), _mm_cvtpd_ps(f.apply(u)));
    }
};

// ---- Fill ------------------------------------------------------------------------

constexpr int32_t kLanes = 8;  // outputs per pass: four registers per component

// The serial recurrence, with the part of n that is a multiple of kLanes
// computed as kLanes chains per component stepped by a_c^kLanes (two
// chains per register).  Every output equals the serial one.
template <class Sink>
void fill(WhState& s, const WhMember& p, int32_t n, const Sink& out) {
    if (n <= 0) return;
    const Moduli k(p);
    int32_t i = 0;
    const int32_t blocked = n & ~(kLanes - 1);
    if (blocked > 0) {
        constexpr int kRegs = kLanes / 2;
        __m128d x[kRegs][kComponents], step[kComponents], m[kComponents], r[kComponents];
        for (int c = 0; c < kComponents; ++c) {
            const uint32_t a = s.a[c], mc = p.m[c];
            uint32_t v = s.x[c];
            double lane[kLanes];
            for (int j = 0; j < kLanes; ++j, v = mul_mod(v, a, mc)) lane[j] = v;
            for (int j = 0; j < kRegs; ++j) x[j][c] = _mm_loadu_pd(lane + 2 * j);
            step[c] = _mm_set1_pd(pow_mod(a, kLanes, mc));
            m[c] = _mm_set1_pd(k.m[c]);
            r[c] = _mm_set1_pd(k.r[c]);
        }
        for (; i < blocked; i += kLanes) {
            for (int j = 0; j < kRegs; ++j) out.vec(i + 2 * j, output_x2(x[j], r));
            for (int j = 0; j < kRegs; ++j)
                for (int c = 0; c < kComponents; ++c) x[j][c] = mul_mod_x2(x[j][c], step[c], m[c], r[c]);
        }
        for (int c = 0; c < kComponents; ++c) s.x[c] = static_cast<uint32_t>(_mm_cvtsd_f64(x[0][c]));
    }
    for (; i < n; ++i) {
        out.one(i, output(s.x, k));
        for (int c = 0; c < kComponents; ++c) s.x[c] = mul_mod(s.x[c], s.a[c], p.m[c]);
    }
}

// ---- Stream methods --------------------------------------------------------------

// Seed word c (1 where missing) modulo m_c, a zero raised to 1.
void seed(WhState& s, const WhMember& p, int32_t n, const uint32_t* words) {
    for (int c = 0; c < kComponents; ++c) {
        const uint32_t x = (c < n ? words[c] : 1) % p.m[c];
        s.x[c] = x ? x : 1;
        s.a[c] = p.a[c];
    }
}

// The count of `words` 64-bit words, least significant first, modulo m - 1
// (the order of every multiplier divides m - 1).
uint32_t count_mod_order(const uint64_t* count, int32_t words, uint32_t m) {
    unsigned __int128 rest = 0;
    for (int32_t j = words - 1; j >= 0; --j) rest = ((rest << 64) | count[j]) % (m - 1);
    return static_cast<uint32_t>(rest);
}

void skip(WhState& s, const WhMember& p, const uint64_t* count, int32_t words) {
    for (int c = 0; c < kComponents; ++c)
        s.x[c] = mul_mod(s.x[c], pow_mod(s.a[c], count_mod_order(count, words, p.m[c]), p.m[c]), p.m[c]);
}

int32_t init(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const WhMember* p = member_of(stream);
    if (!p) return QOR_RNG_STATUS_BAD_BRNG;
    WhState& s = *state_of<WhState>(stream);
    switch (method) {
    case 0:
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        seed(s, *p, n, params);
        return QOR_RNG_STATUS_OK;
    case 1:  // stream params[0] of n
        if (!params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        for (int c = 0; c < kComponents; ++c) {
            s.x[c] = mul_mod(s.x[c], pow_mod(s.a[c], params[0], p->m[c]), p->m[c]);
            s.a[c] = pow_mod(s.a[c], static_cast<uint32_t>(n), p->m[c]);
        }
        return QOR_RNG_STATUS_OK;
    case 2: {  // the 64-bit count in params[0..1]
        if (!params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        const uint64_t count = params[0] | (uint64_t{params[1]} << 32);
        skip(s, *p, &count, 1);
        return QOR_RNG_STATUS_OK;
    }
    case 3:  // n 64-bit words, least significant first
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        if (n >= 1) skip(s, *p, reinterpret_cast<const uint64_t*>(params), n);
        return QOR_RNG_STATUS_OK;
    default:
        return QOR_RNG_STATUS_BAD_METHOD;
    }
}

template <class Sink>
int32_t fill_stream(qor_rng_stream* stream, int32_t n, const Sink& out) {
    const WhMember* p = member_of(stream);
    if (!p) return QOR_RNG_STATUS_BAD_BRNG;
    fill(*state_of<WhState>(stream), *p, n, out);
    return QOR_RNG_STATUS_OK;
}

}  // namespace
}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngWHInitStream(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    return init(method, stream, n, params);
}

QOR_EXPORT int32_t __rixiBRngWH(qor_rng_stream* stream, int32_t n, void* r) {
    return fill_stream(stream, n, WordSink{static_cast<uint32_t*>(r)});
}

QOR_EXPORT int32_t __rixdBRngWH(qor_rng_stream* stream, int32_t n, double* r, double a, double b) {
    return fill_stream(stream, n, DoubleSink{r, Affine(a, b, 1.0)});
}

QOR_EXPORT int32_t __rixsBRngWH(qor_rng_stream* stream, int32_t n, float* r, float a, float b) {
    return fill_stream(stream, n, SingleSink{r, Affine(a, b, 1.0)});
}

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kWhRow = {48, 4, 1, 16, 24, __rixBRngWHInitStream, __rixsBRngWH, __rixdBRngWH,
                                               __rixiBRngWH};

extern const StateCheck kWhStateCheck = [](const qor_rng_stream* stream) {
    const WhMember* p = member_of(stream);
    if (!p) return false;
    const WhState& s = *state_of<WhState>(stream);
    for (int c = 0; c < kComponents; ++c)
        if (s.x[c] < 1 || s.x[c] >= p->m[c] || s.a[c] < 1 || s.a[c] >= p->m[c]) return false;
    return true;
};


}  // namespace qor::rng
