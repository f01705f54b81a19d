// Uniform integers on [a, b), every one of the b - a values (up to
// 2^32 - 1) equally likely, by rejection on uniform 32-bit words
// (UniformBits32): with r = b - a, a word w gives a + floor(w r / 2^32)
// unless the low half of w r is below t = 2^32 mod r, in which case w is
// rejected and a fresh word drawn.  Of the 2^32 words, exactly
// floor(2^32 / r) give each value (Lemire, "Fast random integer generation
// in an interval", 2019), so the method is exact as far as the words are
// uniform; a power-of-two r never rejects, the worst r (just above 2^31)
// rejects almost half the words.  A real uniform could not do this: MCG31m1
// has only 2^31 - 2 values, which no r that does not divide it can share
// out evenly.
#include "qor/qor_rng.h"

namespace {

constexpr int32_t kBlock = 1024;

int32_t uniform_int(qor_rng_stream* stream, int32_t n, int32_t* r, int32_t a, int32_t b) {
    const uint32_t range = static_cast<uint32_t>(int64_t{b} - int64_t{a});
    const uint32_t threshold = (0u - range) % range;  // 2^32 mod range
    uint32_t words[kBlock];
    for (int32_t done = 0; done < n;) {
        const int32_t m = n - done < kBlock ? n - done : kBlock;
        const int32_t status = _rixiRngUniformBits32(0, stream, m, words);
        if (status < 0) return status;
        for (int32_t i = 0; i < m; ++i) {
            const uint64_t product = uint64_t{words[i]} * range;
            // Written first, then counted only when accepted.
            r[done] = static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(product >> 32));
            done += static_cast<uint32_t>(product) >= threshold;
        }
    }
    return QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixiRngUniform(int32_t, qor_rng_stream* stream, int32_t n, int32_t* r, int32_t a, int32_t b) {
    return uniform_int(stream, n, r, a, b);
}

}  // extern "C"
