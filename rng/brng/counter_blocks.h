// The stream machinery of the counter-based generators: each output block
// of four 32-bit words is a pure function of a 128-bit counter and the key,
// so the state is the key, the counter of the next block, the last block
// computed and the position of the next output inside it.  Skip-ahead is
// counter arithmetic; the fills hand out the rest of the current block,
// then whole groups of blocks from the generator's vector code, then one
// block for the tail, which stays in the state for the next call.
#pragma once

#include <smmintrin.h>

#include <cstdint>
#include <cstring>

#include "qor/qor_rng.h"

namespace qor::rng {

using Counter128 = unsigned __int128;

// Words per block; as a position, "the block is used up".
constexpr uint32_t kBlockWords = 4;
// Bits of the position word above the index: set by the generator's
// seeding when the processor has what the fills need.
constexpr uint32_t kPositionIndexMask = 0xFF;

struct CounterBlock {
    uint32_t counter[4];  // of the next block to compute, least significant word first
    uint32_t block[4];    // the last block computed
    uint32_t position;    // index of the next output in block (low byte); kBlockWords: used up
};

// The position's index is at most kBlockWords (a saved image may say more).
inline bool block_position_valid(const CounterBlock& cb) { return (cb.position & kPositionIndexMask) <= kBlockWords; }

inline Counter128 load_counter(const uint32_t* w) {
    Counter128 c;
    std::memcpy(&c, w, sizeof c);
    return c;
}

inline void store_counter(uint32_t* w, Counter128 c) { std::memcpy(w, &c, sizeof c); }

// Seeding: the counter from `words` (missing words zero), nothing buffered.
inline void seed_counter(CounterBlock& cb, int32_t n, const uint32_t* words, uint32_t position_flags) {
    for (int32_t j = 0; j < 4; ++j) cb.counter[j] = j < n ? words[j] : 0;
    std::memset(cb.block, 0, sizeof cb.block);
    cb.position = kBlockWords | position_flags;
}

// Advances by the 130-bit count of outputs count_bits_128_129 * 2^128 +
// count; higher bits of a count are whole periods of the 2^128-block
// counter and drop out.  `block_of` computes one block.
template <class BlockOf>
void skip_outputs(CounterBlock& cb, Counter128 count, uint32_t count_bits_128_129, const BlockOf& block_of) {
    const uint32_t flags = cb.position & ~kPositionIndexMask;
    const uint32_t index = cb.position & kPositionIndexMask;
    const uint32_t left = kBlockWords - index;
    if (count_bits_128_129 == 0 && count <= left) {
        cb.position += static_cast<uint32_t>(count);
        return;
    }
    // After the rest of the current block: whole blocks, then a part block.
    // count - left, as 130 bits: the borrow from bits 128 and 129 does not
    // matter, as only bits 2 to 129 (whole blocks modulo 2^128) are used.
    const Counter128 rest = count - left;
    const uint32_t high = count_bits_128_129 - (count < left ? 1u : 0u);
    const Counter128 blocks = (rest >> 2) | (static_cast<Counter128>(high) << 126);
    const uint32_t part = static_cast<uint32_t>(rest & 3);
    Counter128 c = load_counter(cb.counter) + blocks;
    if (part) {
        block_of(c, cb.block);
        ++c;
        cb.position = part | flags;
    } else {
        cb.position = kBlockWords | flags;
    }
    store_counter(cb.counter, c);
}

// Gen supplies kGroup (blocks per vector group), group(counter, __m128i*)
// writing kGroup blocks, one per register, and block(counter, uint32_t*).
template <class Gen, class Sink>
void fill_blocks(CounterBlock& cb, const Gen& gen, int32_t n, const Sink& out) {
    if (n <= 0) return;
    int32_t i = 0;
    uint32_t index = cb.position & kPositionIndexMask;
    const uint32_t flags = cb.position & ~kPositionIndexMask;
    for (; index < kBlockWords && i < n; ++index, ++i) out.one(i, cb.block[index]);
    Counter128 c = load_counter(cb.counter);
    constexpr int32_t kGroupWords = Gen::kGroup * kBlockWords;
    __m128i blocks[Gen::kGroup];
    for (; n - i >= kGroupWords; i += kGroupWords, c += Gen::kGroup) {
        gen.group(c, blocks);
        for (int32_t j = 0; j < Gen::kGroup; ++j) out.vec(i + j * 4, blocks[j]);
    }
    for (; n - i >= 4; i += 4, ++c) {
        alignas(16) uint32_t b[4];
        gen.block(c, b);
        out.vec(i, _mm_load_si128(reinterpret_cast<const __m128i*>(b)));
    }
    if (i < n) {
        gen.block(c, cb.block);
        ++c;
        for (index = 0; i < n; ++index, ++i) out.one(i, cb.block[index]);
    }
    cb.position = index | flags;
    store_counter(cb.counter, c);
}

// The initialiser's skip-ahead methods: 2 with one 64-bit count, 3 with a
// count of n 64-bit words (only its low 130 bits move a 2^128-block
// counter).
template <class BlockOf>
int32_t counter_skip_method(uint32_t method, CounterBlock& cb, int32_t n, const uint32_t* params,
                            const BlockOf& block_of) {
    if (method == 2) {
        if (!params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        skip_outputs(cb, params[0] | (uint64_t{params[1]} << 32), 0, block_of);
        return QOR_RNG_STATUS_OK;
    }
    if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
    uint32_t words[6] = {};
    for (int32_t j = 0; j < 6 && j < 2 * n; ++j) words[j] = params[j];
    Counter128 count;
    std::memcpy(&count, words, sizeof count);
    skip_outputs(cb, count, words[4] & 3, block_of);
    return QOR_RNG_STATUS_OK;
}

}  // namespace qor::rng
