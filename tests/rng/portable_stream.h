// The stream held by the committed saved-stream images (tests/data/streams):
// MCG59 (a 64-bit state word, so the layout's byte order shows) seeded with
// 0x0123456789ABCDEF, 1000 outputs drawn, and two chunks of private data,
// id 3 (two 32-bit words) added before id 7 (the bytes 0 to 15).
// tools/save_stream_image writes it.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "qor/qor_rng.h"
#include "qor/qor_serv.h"

namespace portable_stream {

constexpr uint32_t kSeed[2] = {0x89ABCDEF, 0x01234567};  // low word first
constexpr int kDrawn = 1000;
constexpr uint32_t kFirstChunkId = 3, kSecondChunkId = 7;
constexpr uint32_t kFirstChunkWords[2] = {0x01020304, 0xA0B0C0D0};
constexpr int kSecondChunkSize = 16;

// Chunk data is adopted by the stream, so it comes from the core's allocator.
inline void* chunk_data(const void* bytes, uint32_t size) {
    void* data = qor_serv_allocate(size, 128);
    if (data) std::memcpy(data, bytes, size);
    return data;
}

// The stream, or null with the failing status in *status.
inline qor_rng_stream* make(int32_t* status) {
    qor_rng_stream* s = nullptr;
    *status = __rixNewStreamEx(&s, QOR_RNG_BRNG_MCG59, 2, kSeed);
    if (*status != QOR_RNG_STATUS_OK) return nullptr;
    std::vector<uint64_t> drawn(kDrawn);
    *status = __rixiBRngMCG59(s, kDrawn, drawn.data());
    unsigned char bytes[kSecondChunkSize];
    for (int i = 0; i < kSecondChunkSize; ++i) bytes[i] = static_cast<unsigned char>(i);
    if (*status == QOR_RNG_STATUS_OK)
        *status = __rixAddChunk(s, kFirstChunkId, nullptr, chunk_data(kFirstChunkWords, sizeof kFirstChunkWords),
                                sizeof kFirstChunkWords);
    if (*status == QOR_RNG_STATUS_OK)
        *status = __rixAddChunk(s, kSecondChunkId, nullptr, chunk_data(bytes, kSecondChunkSize), kSecondChunkSize);
    if (*status != QOR_RNG_STATUS_OK) __rixDeleteStream(&s);
    return s;
}

}  // namespace portable_stream
