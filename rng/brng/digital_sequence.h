// Base-2 digital sequences in Gray-code order: the machinery the Sobol and
// Niederreiter generators share.
//
// Coordinate j of point k is the XOR of the direction numbers v[b][j] over
// the set bits b of the Gray code g(k) = k ^ (k >> 1).  Points k and k + 1
// differ in one bit of g, the lowest zero bit of k, so each point is the
// previous one XOR one direction number per coordinate.  The 32 direction
// numbers of a coordinate are linearly independent, so only point 0 is all
// zeros: the outputs start at point 1 (no output word is 0), and as bit 32 of
// the index has no direction number, they run through points 1 to 2^32 - 1
// and then start again at point 1.
//
// A point is `width` consecutive 32-bit words, its coordinates in order;
// the real fills give word * 2^-32 scaled to [a, b).  The position of a
// stream is the number of words output so far, modulo width * (2^32 - 1).
//
// The direction numbers live in a chunk of the stream as 32 rows of
// `dimension` words (row b: bit b's numbers of every coordinate), so the
// fill reads four coordinates per vector.  A generator's default tables are
// shared between streams through the read-only data table, keyed by
// generator and dimension; user-supplied ones stay private to the stream.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "qor/qor_rng.h"

namespace qor::rng {

constexpr int32_t kDirectionBits = 32;

// The generator state ahead of the point words.
struct DigitalHeader {
    uint32_t dimension;   // coordinates per point
    uint32_t first;       // first coordinate output: 0, or the leapfrog coordinate
    uint32_t width;       // coordinates output per point: dimension, or 1 after a leapfrog
    uint32_t coordinate;  // next coordinate of the current point to output; width: the point is spent
    uint32_t index;       // the current point; 0 only before the first output
};

// True when the header describes a sequence of at most `capacity`
// coordinates (a loaded image is checked before use).
inline bool digital_valid(const DigitalHeader& h, uint32_t capacity) {
    return h.dimension >= 1 && h.dimension <= capacity && h.width >= 1 && h.first < h.dimension &&
           h.width <= h.dimension - h.first && h.coordinate <= h.width;
}

// Sets a fresh sequence of `dimension` coordinates: point 0, spent.
void digital_start(DigitalHeader& h, uint32_t* point, uint32_t dimension);

// Builds the direction rows of `dimension` coordinates into v, or returns
// a status (user data that fails its checks).
using DirectionBuilder = int32_t (*)(uint32_t* v, uint32_t dimension, const void* context);

// Attaches the direction rows as chunk `id`.  With a key, a block already
// in the read-only table is shared and `build` is not called; otherwise the
// built block enters the table (or stays private, key null).
int32_t attach_directions(qor_rng_stream* stream, uint32_t id, const uint64_t* key, uint32_t dimension,
                          DirectionBuilder build, const void* context);

// The direction rows of the stream, or null when chunk `id` is missing or
// of the wrong size (a damaged image).
const uint32_t* find_directions(const qor_rng_stream* stream, uint32_t id, uint32_t dimension);

// True when the 32 numbers (stride apart) are linearly independent.
bool directions_independent(const uint32_t* v, uint32_t stride);

// Seeding words that follow the dimension and the kind.
struct UserWords {
    const uint32_t* words;
    int64_t count;
};

// A builder from UserWords holding each coordinate's 32 direction numbers
// in turn (bit b's first); refuses too few words or dependent numbers.
int32_t build_user_directions(uint32_t* v, uint32_t dimension, const void* context);

// Methods 1 to 3 of the initialiser: leapfrog (nstreams must equal the
// width, and the stream then gives one coordinate of each point), skip-ahead
// by one 64-bit count, and by a count of many 64-bit words.
int32_t digital_method(uint32_t method, qor_rng_stream* stream, DigitalHeader& h, uint32_t* point, uint32_t id,
                       uint32_t capacity, int32_t n, const uint32_t* params);

// ---- The fill ------------------------------------------------------------------

// Moves to the next point and returns the bit whose numbers it adds; after
// point 2^32 - 1 comes point 0 (so point 1 follows).
inline uint32_t next_point_bit(DigitalHeader& h, uint32_t* x, const uint32_t* v) {
    if (h.index == UINT32_MAX) {  // point 2^32 - 1 is bit 31's numbers alone
        const uint32_t* top = v + static_cast<size_t>(kDirectionBits - 1) * h.dimension + h.first;
        for (uint32_t j = 0; j < h.width; ++j) x[j] ^= top[j];
        h.index = 0;
    }
    const uint32_t bit = static_cast<uint32_t>(__builtin_ctz(~h.index));
    ++h.index;
    return bit;
}

// Writes n words (through the sink, as in the other generators) and leaves
// the current point complete: a point output in part is updated whole.
template <class Sink>
void digital_fill(DigitalHeader& h, uint32_t* point, const uint32_t* v, int32_t n, const Sink& out) {
    const int32_t w = static_cast<int32_t>(h.width);
    uint32_t* x = point + h.first;
    const uint32_t* vfirst = v + h.first;
    int32_t i = 0;
    int32_t c = static_cast<int32_t>(h.coordinate);
    if (c < w) {
        const int32_t take = n < w - c ? n : w - c;
        for (int32_t j = 0; j < take; ++j) out.one(j, x[c + j]);
        c += take;
        i = take;
    }
    while (i < n) {
        const uint32_t* dv = vfirst + static_cast<size_t>(next_point_bit(h, x, v)) * h.dimension;
        const int32_t take = n - i < w ? n - i : w;
        int32_t j = 0;
        for (; j + 4 <= take; j += 4) {
            const __m128i y = _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(x + j)),
                                            _mm_loadu_si128(reinterpret_cast<const __m128i*>(dv + j)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(x + j), y);
            out.vec(i + j, y);
        }
        for (; j < take; ++j) out.one(i + j, x[j] ^= dv[j]);
        for (; j < w; ++j) x[j] ^= dv[j];
        c = take;
        i += take;
    }
    h.coordinate = static_cast<uint32_t>(c);
}

}  // namespace qor::rng
