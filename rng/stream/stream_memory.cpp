// Saving a stream into a caller's buffer and loading it back.
#include <cstring>

#include "qor/qor_rng.h"
#include "rng/stream/stream_image.h"
#include "rng/stream/stream_layout.h"

namespace {

using namespace qor::rng;

template <class T>
char* put(char* p, T v) {
    std::memcpy(p, &v, sizeof v);
    return p + sizeof v;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixGetStreamSize(const qor_rng_stream* stream) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const qor_rng_brng_properties* row = row_of(stream);
    if (!row) return QOR_RNG_STATUS_BAD_BRNG;
    return static_cast<int32_t>(image_bytes(stream, row->state_size));
}

// The header fields are stored one by one; the padding bytes between them
// (1-3, 10-11, 18-19) keep whatever the buffer held.
QOR_EXPORT int32_t __rixSaveStreamM(const qor_rng_stream* stream, char* buffer) {
    if (!stream || !buffer) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const qor_rng_brng_properties* row = row_of(stream);
    if (!row) return QOR_RNG_STATUS_BAD_BRNG;
    const uint32_t state_bytes = static_cast<uint32_t>(row->state_size - kStreamHeaderBytes);
    put(buffer + 0, static_cast<uint8_t>(kImageVersion));
    put(buffer + 4, kImageSignature);
    put(buffer + 8, static_cast<uint16_t>(kImageHeaderBytes));
    put(buffer + 12, state_bytes);
    put(buffer + 16, static_cast<uint16_t>(__rixGetNumChunks(stream)));
    put(buffer + 20, stream->brng);
    char* p = buffer + kImageHeaderBytes;
    std::memcpy(p, state_of<char>(stream), state_bytes);
    p += state_bytes;
    for (const qor_rng_chunk* c = stream->chunks; c; c = c->next) {
        p = put(p, c->id);
        p = put(p, c->key[0]);
        p = put(p, c->key[1]);
        p = put(p, c->size);
        if (c->size) std::memcpy(p, c->data, c->size);
        p += c->size;
    }
    return QOR_RNG_STATUS_OK;
}

// The image's size is not known here: the buffer is trusted to hold it.
QOR_EXPORT int32_t __rixLoadStreamM(qor_rng_stream** stream, const char* buffer) {
    if (!stream || !buffer) return QOR_RNG_STATUS_BAD_ARGUMENT;
    *stream = nullptr;
    const char* p = buffer;
    auto read = [&p](void* dst, size_t bytes) {
        if (!dst) return true;  // the buffer is trusted to hold the image
        if (bytes) std::memcpy(dst, p, bytes);
        p += bytes;
        return true;
    };
    return load_stream(stream, read, QOR_RNG_STATUS_BAD_MEMORY_IMAGE, QOR_RNG_STATUS_BAD_MEMORY_IMAGE);
}

}  // extern "C"
