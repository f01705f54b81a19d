// Layout helpers shared by the stream layer and the generators: where a
// generator's state sits in the stream block, and the registry lookups the
// stream functions, loaders and distributions go through.
#pragma once

#include <cstddef>
#include <cstdint>

#include "qor/qor_rng.h"

namespace qor::rng {

// Streams and chunks are aligned so that state can be read with aligned
// vector loads.
constexpr int kBlockAlignment = 128;
// brng, header_flag and the chunk pointer.
constexpr int32_t kStreamHeaderBytes = 16;
static_assert(sizeof(qor_rng_stream) == kStreamHeaderBytes);

template <class State>
State* state_of(qor_rng_stream* stream) {
    return reinterpret_cast<State*>(reinterpret_cast<char*>(stream) + kStreamHeaderBytes);
}

template <class State>
const State* state_of(const qor_rng_stream* stream) {
    return reinterpret_cast<const State*>(reinterpret_cast<const char*>(stream) + kStreamHeaderBytes);
}

// An identifier split into its table, row and member (not yet validated).
struct BrngLocation {
    const qor_rng_brng_properties* table;
    int32_t row;
    int32_t member;
};

BrngLocation locate_brng(uint32_t brng);

// The row of a valid identifier whose row holds a generator, else null.
const qor_rng_brng_properties* usable_row(uint32_t brng);

// The row a stream was created for, or null for a null stream or an
// identifier that no longer names a usable row.
inline const qor_rng_brng_properties* row_of(const qor_rng_stream* stream) {
    return stream ? usable_row(stream->brng) : nullptr;
}

// Allocation of a stream record from its row: header set, state zeroed.
int32_t allocate_stream(qor_rng_stream** stream, const qor_rng_brng_properties& row, uint32_t brng);

}  // namespace qor::rng
