// Base-2 digital sequences in Gray-code order: tables in chunks, the direct
// computation of any point, skip-ahead and leapfrog.
#include "rng/brng/digital_sequence.h"

#include <cstring>

#include "qor/qor_serv.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

constexpr uint64_t kPointsPerPeriod = 0xFFFFFFFF;  // points 1 to 2^32 - 1

uint64_t period_words(const DigitalHeader& h) { return kPointsPerPeriod * h.width; }

uint32_t direction_bytes(uint32_t dimension) { return dimension * kDirectionBits * sizeof(uint32_t); }

// Words output so far, modulo the period (a spent point k ends at k * width).
uint64_t position(const DigitalHeader& h) {
    return (uint64_t{h.index} * h.width + h.coordinate - h.width) % period_words(h);
}

// Sets the stream to `pos` words after its start: point pos / width + 1,
// computed directly from the Gray code of its index.
void seek(DigitalHeader& h, uint32_t* point, const uint32_t* v, uint64_t pos) {
    pos %= period_words(h);
    h.index = static_cast<uint32_t>(pos / h.width + 1);
    h.coordinate = static_cast<uint32_t>(pos % h.width);
    uint32_t* x = point + h.first;
    std::memset(x, 0, h.width * sizeof(uint32_t));
    for (uint32_t g = h.index ^ (h.index >> 1), b = 0; g; g >>= 1, ++b) {
        if (!(g & 1)) continue;
        const uint32_t* row = v + static_cast<size_t>(b) * h.dimension + h.first;
        for (uint32_t j = 0; j < h.width; ++j) x[j] ^= row[j];
    }
}

// c mod the period, c in `words` 64-bit words, least significant first.
uint64_t reduce_count(const DigitalHeader& h, const uint64_t* c, int32_t words) {
    const uint64_t period = period_words(h);  // below 2^64 / 2^20: the shifted remainder fits 128 bits
    unsigned __int128 r = 0;
    for (int32_t i = words - 1; i >= 0; --i) r = ((r << 64) | c[i]) % period;
    return static_cast<uint64_t>(r);
}

// Stream k of nstreams interleaved: the outputs at positions p + k,
// p + k + nstreams, ...; with nstreams equal to the width these are one
// coordinate, (p + k) mod width, of successive points.
int32_t leapfrog(DigitalHeader& h, uint32_t* point, const uint32_t* v, uint32_t k, int32_t nstreams) {
    if (nstreams != static_cast<int32_t>(h.width) || k >= h.width) return QOR_RNG_STATUS_NO_LEAPFROG;
    const uint64_t q = position(h) + k;
    h.first += static_cast<uint32_t>(q % h.width);
    const uint64_t points_before = q / h.width;
    h.width = 1;
    seek(h, point, v, points_before);
    return QOR_RNG_STATUS_OK;
}

}  // namespace

void digital_start(DigitalHeader& h, uint32_t* point, uint32_t dimension) {
    h = DigitalHeader{dimension, 0, dimension, dimension, 0};
    std::memset(point, 0, dimension * sizeof(uint32_t));
}

int32_t attach_directions(qor_rng_stream* stream, uint32_t id, const uint64_t* key, uint32_t dimension,
                          DirectionBuilder build, const void* context) {
    const uint32_t bytes = direction_bytes(dimension);
    if (key) {
        // Holding a reference while the chunk is added keeps the block alive.
        void* shared = nullptr;
        __rixRegisterGlobRODataReference(&shared, key);
        if (shared) {
            const int32_t status = __rixAddChunk(stream, id, key, shared, bytes);
            __rixUnregisterGlobRODataReference(key);
            return status;
        }
    }
    auto* block = static_cast<uint32_t*>(qor_serv_allocate(bytes, kBlockAlignment));
    if (!block) return QOR_RNG_STATUS_NO_MEMORY;
    int32_t status = build(block, dimension, context);
    if (status == QOR_RNG_STATUS_OK) status = __rixAddChunk(stream, id, key, block, bytes);
    if (status != QOR_RNG_STATUS_OK) {
        qor_serv_deallocate(block);
        return status;
    }
    // Another stream may have entered the same table meanwhile: then its
    // block is the one attached.
    if (stream->chunks->data != block) qor_serv_deallocate(block);
    return QOR_RNG_STATUS_OK;
}

const uint32_t* find_directions(const qor_rng_stream* stream, uint32_t id, uint32_t dimension) {
    for (const qor_rng_chunk* c = stream->chunks; c; c = c->next)
        if (c->id == id) return c->size == direction_bytes(dimension) ? static_cast<const uint32_t*>(c->data) : nullptr;
    return nullptr;
}

bool directions_independent(const uint32_t* v, uint32_t stride) {
    uint32_t basis[kDirectionBits] = {};  // basis[b]: a vector whose top bit is b
    for (int32_t k = 0; k < kDirectionBits; ++k) {
        uint32_t x = v[static_cast<size_t>(k) * stride];
        while (x) {
            const int top = 31 - __builtin_clz(x);
            if (!basis[top]) {
                basis[top] = x;
                break;
            }
            x ^= basis[top];
        }
        if (!x) return false;
    }
    return true;
}

int32_t build_user_directions(uint32_t* v, uint32_t dimension, const void* context) {
    const auto& in = *static_cast<const UserWords*>(context);
    if (in.count < int64_t{dimension} * kDirectionBits) return QOR_RNG_STATUS_BAD_ARGUMENT;
    for (uint32_t j = 0; j < dimension; ++j)
        for (int32_t k = 0; k < kDirectionBits; ++k)
            v[static_cast<size_t>(k) * dimension + j] = in.words[int64_t{j} * kDirectionBits + k];
    for (uint32_t j = 0; j < dimension; ++j)
        if (!directions_independent(v + j, dimension)) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return QOR_RNG_STATUS_OK;
}

int32_t digital_method(uint32_t method, qor_rng_stream* stream, DigitalHeader& h, uint32_t* point, uint32_t id,
                       uint32_t capacity, int32_t n, const uint32_t* params) {
    if (method > 3) return QOR_RNG_STATUS_BAD_METHOD;
    const uint32_t* v = digital_valid(h, capacity) ? find_directions(stream, id, h.dimension) : nullptr;
    if (!v) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (method == 3 && n < 1) return QOR_RNG_STATUS_OK;
    if (!params) return QOR_RNG_STATUS_BAD_ARGUMENT;
    switch (method) {
    case 1:
        return leapfrog(h, point, v, params[0], n);
    case 2: {  // the 64-bit count in params[0..1]
        const uint64_t count[1] = {params[0] | (uint64_t{params[1]} << 32)};
        seek(h, point, v, position(h) + reduce_count(h, count, 1));
        return QOR_RNG_STATUS_OK;
    }
    default:  // n 64-bit words, least significant first
        seek(h, point, v, position(h) + reduce_count(h, reinterpret_cast<const uint64_t*>(params), n));
        return QOR_RNG_STATUS_OK;
    }
}

}  // namespace qor::rng
