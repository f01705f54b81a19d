// The chunk list of a stream: data attached by generators, newest first,
// either private to the chunk or shared through the read-only table.
#include <cstring>

#include "qor/qor_rng.h"
#include "qor/qor_serv.h"
#include "rng/stream/ro_data_table.h"
#include "rng/stream/stream_layout.h"

namespace {

using qor::rng::key_is_empty;

// Frees a chunk and either its private data or its reference to a shared
// block.
void release_chunk(qor_rng_chunk* chunk) {
    if (!qor::rng::ro_table_release(chunk->key)) qor_serv_deallocate(chunk->data);
    qor_serv_deallocate(chunk);
}

}  // namespace

namespace qor::rng {

int32_t add_chunk(qor_rng_stream* stream, uint32_t id, const uint64_t* key, void* data, uint32_t size,
                  ChunkSource source) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    auto* chunk = static_cast<qor_rng_chunk*>(qor_serv_allocate(sizeof(qor_rng_chunk), kBlockAlignment));
    if (!chunk) return QOR_RNG_STATUS_NO_MEMORY;
    chunk->id = id;
    chunk->size = size;
    chunk->key[0] = key ? key[0] : 0;
    chunk->key[1] = key ? key[1] : 0;
    const RoAttachment shared = ro_table_attach(chunk->key, data, size, source);
    chunk->data = shared.data;
    if (!shared.keep_key) chunk->key[0] = chunk->key[1] = 0;
    chunk->next = stream->chunks;
    stream->chunks = chunk;
    return QOR_RNG_STATUS_OK;
}

}  // namespace qor::rng

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixAddChunk(qor_rng_stream* stream, uint32_t id, const uint64_t* key, void* data,
                                 uint32_t size) {
    return qor::rng::add_chunk(stream, id, key, data, size, qor::rng::ChunkSource::program);
}

QOR_EXPORT void* __rixSearchChunk(const qor_rng_stream* stream, uint32_t id) {
    for (const qor_rng_chunk* c = stream ? stream->chunks : nullptr; c; c = c->next)
        if (c->id == id) return c->data;
    return nullptr;
}

QOR_EXPORT int32_t __rixGetNumChunks(const qor_rng_stream* stream) {
    int32_t count = 0;
    for (const qor_rng_chunk* c = stream ? stream->chunks : nullptr; c; c = c->next) ++count;
    return count;
}

QOR_EXPORT int32_t __rixDeleteChunks(qor_rng_stream* stream) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    for (qor_rng_chunk* c = stream->chunks; c;) {
        qor_rng_chunk* next = c->next;
        release_chunk(c);
        c = next;
    }
    stream->chunks = nullptr;
    return QOR_RNG_STATUS_OK;
}

// Removed chunks are unlinked from their kept predecessor; the list head is
// then set to the last chunk kept in the walk.  With more than one chunk
// kept, the ones before that last kept chunk are no longer reachable: this
// is the established behaviour of the call and is kept.
QOR_EXPORT int32_t __rixDeleteChunksById(qor_rng_stream* stream, uint32_t id) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    qor_rng_chunk* last_kept = nullptr;
    for (qor_rng_chunk* c = stream->chunks; c;) {
        qor_rng_chunk* next = c->next;
        if (c->id == id) {
            if (last_kept) last_kept->next = next;
            release_chunk(c);
        } else {
            last_kept = c;
        }
        c = next;
    }
    stream->chunks = last_kept;
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixCopyChunks(qor_rng_stream* destination, const qor_rng_stream* source) {
    if (!destination || !source) return QOR_RNG_STATUS_BAD_ARGUMENT;
    for (const qor_rng_chunk* c = source->chunks; c; c = c->next) {
        void* data = c->data;
        const bool shared = !key_is_empty(c->key) && qor::rng::ro_table_contains(c->key);
        if (!shared && c->size > 0) {
            data = qor_serv_allocate(c->size, qor::rng::kBlockAlignment);
            if (!data) {
                __rixDeleteChunks(destination);
                return QOR_RNG_STATUS_NO_MEMORY;
            }
            std::memcpy(data, c->data, c->size);
        } else if (!shared) {
            data = nullptr;
        }
        const int32_t status = __rixAddChunk(destination, c->id, c->key, data, c->size);
        if (status != QOR_RNG_STATUS_OK) {
            if (!shared) qor_serv_deallocate(data);
            __rixDeleteChunks(destination);
            return status;
        }
    }
    return QOR_RNG_STATUS_OK;
}

}  // extern "C"
