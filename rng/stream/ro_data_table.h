// The process-wide table of shared read-only blocks, as seen by the chunk
// list: blocks are shared between streams by key and reference counted.
#pragma once

#include <cstdint>

#include "qor/qor_rng.h"

namespace qor::rng {

inline bool key_is_empty(const uint64_t* key) { return !key || (key[0] == 0 && key[1] == 0); }

// True when an entry with this (non-empty) key exists.
bool ro_table_contains(const uint64_t* key);

// What a new chunk should hold after meeting the table.
struct RoAttachment {
    void* data;     // the entry's shared block, or the chunk's own
    bool keep_key;  // false: the table is full and the chunk stays private
};

// Whose block a new chunk brings: the program's (through __rixAddChunk,
// its size and contents taken on trust) or an image's (any key, any bytes).
enum class ChunkSource { program, image };

// One locked step: an existing entry gains a reference and lends its block;
// otherwise, while the table has room below its last slot, a non-empty key
// enters it with the given block of `size` bytes.  A block from an image
// never enters the table, and takes an entry's block only when that holds
// the same `size` bytes: shared blocks are trusted by every stream that
// finds them.
RoAttachment ro_table_attach(const uint64_t* key, void* data, uint32_t size, ChunkSource source);

// Adds a chunk to the front of a stream's list, sharing its key's block as
// ro_table_attach says.
int32_t add_chunk(qor_rng_stream* stream, uint32_t id, const uint64_t* key, void* data, uint32_t size,
                  ChunkSource source);

// Drops one reference to the entry with this key (freeing the block with
// the last one) and returns true, or returns false when the key is absent.
bool ro_table_release(const uint64_t* key);

}  // namespace qor::rng
