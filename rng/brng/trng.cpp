// The non-deterministic generator: every output is a 32-bit word from the
// processor's RDRAND instruction.  RDRAND may report that its entropy
// source is momentarily drained; each 64-bit request is retried up to ten
// times, and a fill that still gets nothing stops there and returns
// QOR_RNG_STATUS_NO_RDRAND (the processor's generator did not deliver): the
// outputs written before are real, the rest are left untouched, and no
// number is ever made up.  Seeding takes no words and refuses on a
// processor without RDRAND; there is no sequence to skip along or split,
// so leapfrog and both skip-aheads are refused.
//
// RDRAND lies outside the library's baseline: the function that uses it is
// compiled for it alone and reached only after the processor test, which
// a stream records in its state word once it has passed.
#include <immintrin.h>

#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/brng/mcg_lanes.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

constexpr int kRetries = 10;
constexpr uint32_t kRdrandChecked = 1;
// 2^-32.
constexpr uint64_t kTwoPowMinus32Bits = 0x3DF0000000000000;
const double kTwoPowMinus32 = __builtin_bit_cast(double, kTwoPowMinus32Bits);
// Outputs converted to reals per batch of hardware words.
constexpr int32_t kBatch = 256;

struct TrngState {
    uint32_t checked;  // kRdrandChecked once the processor test has passed
};
static_assert(sizeof(TrngState) + kStreamHeaderBytes <= 24);

// n words from RDRAND, two per request; false if a request failed
// kRetries times (the words before it are written).
__attribute__((target("rdrnd"))) bool hardware_words(uint32_t* r, int32_t n) {
    int32_t i = 0;
    for (; i < n; i += 2) {
        unsigned long long w = 0;
        int tries = 0;
        while (!_rdrand64_step(&w))
            if (++tries == kRetries) return false;
        r[i] = static_cast<uint32_t>(w);
        if (i + 1 < n) r[i + 1] = static_cast<uint32_t>(w >> 32);
    }
    return true;
}

bool rdrand_usable(TrngState& s) {
    if (s.checked == kRdrandChecked) return true;
    if (!__rixCPUisRDRAND()) return false;
    s.checked = kRdrandChecked;
    return true;
}

int32_t fill_int(qor_rng_stream* stream, int32_t n, uint32_t* r) {
    if (!rdrand_usable(*state_of<TrngState>(stream))) return QOR_RNG_STATUS_NO_RDRAND;
    if (n <= 0) return QOR_RNG_STATUS_OK;
    return hardware_words(r, n) ? QOR_RNG_STATUS_OK : QOR_RNG_STATUS_NO_RDRAND;
}

template <class Sink>
int32_t fill_real(qor_rng_stream* stream, int32_t n, const Sink& out) {
    if (!rdrand_usable(*state_of<TrngState>(stream))) return QOR_RNG_STATUS_NO_RDRAND;
    alignas(16) uint32_t words[kBatch];
    for (int32_t i = 0; i < n; i += kBatch) {
        const int32_t count = n - i < kBatch ? n - i : kBatch;
        // A failed batch converts nothing of itself: only whole batches of
        // delivered words reach the output.
        if (!hardware_words(words, count)) return QOR_RNG_STATUS_NO_RDRAND;
        int32_t j = 0;
        for (; j + 4 <= count; j += 4) out.vec(i + j, _mm_load_si128(reinterpret_cast<const __m128i*>(words + j)));
        for (; j < count; ++j) out.one(i + j, words[j]);
    }
    return QOR_RNG_STATUS_OK;
}

int32_t init(uint32_t method, qor_rng_stream* stream, int32_t, const uint32_t*) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    switch (method) {
    case 0:
        if (!__rixCPUisRDRAND()) return QOR_RNG_STATUS_NO_RDRAND;
        state_of<TrngState>(stream)->checked = kRdrandChecked;
        return QOR_RNG_STATUS_OK;
    case 1:
        return QOR_RNG_STATUS_NO_LEAPFROG;
    case 2:
    case 3:
        return QOR_RNG_STATUS_NO_SKIP_AHEAD_EX;
    default:
        return QOR_RNG_STATUS_BAD_METHOD;
    }
}

}  // namespace
}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixBRngTRNGInitStream(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params) {
    return init(method, stream, n, params);
}

QOR_EXPORT int32_t __rixiBRngTRNG(qor_rng_stream* stream, int32_t n, void* r) {
    return fill_int(stream, n, static_cast<uint32_t*>(r));
}

QOR_EXPORT int32_t __rixdBRngTRNG(qor_rng_stream* stream, int32_t n, double* r, double a, double b) {
    return fill_real(stream, n, Double32Sink<low_u32_to_double>{r, Affine(a, b, kTwoPowMinus32)});
}

QOR_EXPORT int32_t __rixsBRngTRNG(qor_rng_stream* stream, int32_t n, float* r, float a, float b) {
    return fill_real(stream, n, Single32Sink<low_u32_to_double>{r, Affine(a, b, kTwoPowMinus32)});
}

}  // extern "C"

namespace qor::rng {

extern const qor_rng_brng_properties kTrngRow = {24, 1, 1, 4, 32, __rixBRngTRNGInitStream, __rixsBRngTRNG,
                                                 __rixdBRngTRNG, __rixiBRngTRNG};

}  // namespace qor::rng
