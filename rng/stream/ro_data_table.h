// The process-wide table of shared read-only blocks, as seen by the chunk
// list: blocks are shared between streams by key and reference counted.
#pragma once

#include <cstdint>

namespace qor::rng {

inline bool key_is_empty(const uint64_t* key) { return !key || (key[0] == 0 && key[1] == 0); }

// True when an entry with this (non-empty) key exists.
bool ro_table_contains(const uint64_t* key);

// What a new chunk should hold after meeting the table.
struct RoAttachment {
    void* data;     // the entry's shared block, or the chunk's own
    bool keep_key;  // false: the table is full and the chunk stays private
};

// One locked step: an existing entry gains a reference and lends its block;
// otherwise, while the table has room below its last slot, a non-empty key
// enters it with the given block.
RoAttachment ro_table_attach(const uint64_t* key, void* data);

// Drops one reference to the entry with this key (freeing the block with
// the last one) and returns true, or returns false when the key is absent.
bool ro_table_release(const uint64_t* key);

}  // namespace qor::rng
