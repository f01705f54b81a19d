// Integer words straight from the generator's integer fill:
//   UniformBits    the raw words, as 32-bit units: a generator of 4-byte
//                  words gives its words; one of 8- or 16-byte words gives
//                  each word as two or four units, least significant first
//                  (its fill's bytes, in order); an odd count ends with the
//                  low half of a word
//   UniformBits32  words whose 32 bits are all uniform, whatever the generator
//   UniformBits64  words of 64 uniform bits: two 32-bit words, low first
// For the 32-bit words every generator word gives its top
// t = min(bit_count, 32) significant bits (the low bits of a power-of-two
// modulus are the weak ones); these pieces are concatenated, most
// significant first, and cut into 32-bit words.  A call uses
// ceil(32 n / t) generator words and drops the bits left over.  When a
// generator's words are not uniform over all 2^bit_count values (MCG31m1
// never gives 0 or 2^31 - 1) each bit is biased by about 2^-bit_count.
#include <cstring>

#include "qor/qor_rng.h"
#include "rng/stream/stream_layout.h"

namespace {

using qor::rng::row_of;

constexpr int32_t kRawBytes = 8192;

// The top `take` of the word's `bits` significant bits.
template <class Word>
uint32_t top_bits(Word w, int32_t bits, int32_t take) {
    return static_cast<uint32_t>(w >> (bits - take)) & static_cast<uint32_t>((uint64_t{1} << take) - 1);
}

template <class Word>
int32_t fill_bits32(const qor_rng_brng_properties& row, qor_rng_stream* stream, int32_t n, uint32_t* r) {
    const int32_t bits = row.bit_count < 8 * int32_t{sizeof(Word)} ? row.bit_count : 8 * int32_t{sizeof(Word)};
    const int32_t take = bits < 32 ? bits : 32;
    constexpr int32_t kWords = kRawBytes / sizeof(Word);
    Word raw[kWords];
    uint64_t pending = 0;  // the low `held` bits are not yet written
    int32_t held = 0, done = 0;
    while (done < n) {
        const int64_t bits_wanted = 32 * int64_t{n - done} - held;
        const int64_t wanted = (bits_wanted + take - 1) / take;
        const int32_t m = wanted < kWords ? static_cast<int32_t>(wanted) : kWords;
        const int32_t status = row.fill_int(stream, m, raw);
        if (status < 0) return status;
        for (int32_t i = 0; i < m; ++i) {
            pending = (pending << take) | top_bits(raw[i], bits, take);
            held += take;
            if (held >= 32) {
                held -= 32;
                r[done++] = static_cast<uint32_t>(pending >> held);
            }
        }
    }
    return QOR_RNG_STATUS_OK;
}

int32_t bits32(qor_rng_stream* stream, int32_t n, uint32_t* r) {
    const qor_rng_brng_properties* row = row_of(stream);
    if (!row) return QOR_RNG_STATUS_BAD_BRNG;
    switch (row->word_size) {
        case 4: return fill_bits32<uint32_t>(*row, stream, n, r);
        case 8: return fill_bits32<uint64_t>(*row, stream, n, r);
        default: return fill_bits32<unsigned __int128>(*row, stream, n, r);
    }
}

int32_t raw(qor_rng_stream* stream, int32_t n, uint32_t* r) {
    const qor_rng_brng_properties* row = row_of(stream);
    if (!row) return QOR_RNG_STATUS_BAD_BRNG;
    if (row->word_size == 4) return n > 0 ? row->fill_int(stream, n, r) : QOR_RNG_STATUS_OK;
    const int32_t units = row->word_size / 4;
    alignas(16) unsigned char block[kRawBytes];
    for (int32_t done = 0; done < n;) {
        const int32_t left = n - done;
        const int32_t words = left / units < kRawBytes / row->word_size ? (left + units - 1) / units
                                                                         : kRawBytes / row->word_size;
        const int32_t status = row->fill_int(stream, words, block);
        if (status < 0) return status;
        const int32_t copied = words * units < left ? words * units : left;
        std::memcpy(r + done, block, sizeof(uint32_t) * copied);
        done += copied;
    }
    return QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixiRngUniformBits(int32_t, qor_rng_stream* stream, int32_t n, uint32_t* r) {
    return raw(stream, n, r);
}

QOR_EXPORT int32_t _rixiRngUniformBits32(int32_t, qor_rng_stream* stream, int32_t n, uint32_t* r) {
    return bits32(stream, n, r);
}

QOR_EXPORT int32_t _rixiRngUniformBits64(int32_t, qor_rng_stream* stream, int32_t n, uint64_t* r) {
    constexpr int32_t kBlock = 1024;
    uint32_t half[2 * kBlock];
    for (int32_t done = 0; done < n;) {
        const int32_t m = n - done < kBlock ? n - done : kBlock;
        const int32_t status = bits32(stream, 2 * m, half);
        if (status < 0) return status;
        for (int32_t i = 0; i < m; ++i) r[done + i] = uint64_t{half[2 * i]} | uint64_t{half[2 * i + 1]} << 32;
        done += m;
    }
    return QOR_RNG_STATUS_OK;
}

}  // extern "C"
