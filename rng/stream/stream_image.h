// The saved form of a stream, shared by the file and memory savers and
// loaders.
//
// Format version 2 (little-endian):
//   0  u8   version (2)                 12  u32  state bytes S
//   4  u32  signature "RNG\0"           16  u16  chunk count C
//   8  u16  header size (24)            20  u32  generator identifier
//   24 S bytes of state, then C chunk records:
//   id u32, key 2 x u64, data size D u32, D bytes of data.
// The earlier layout has a 20-byte header: version byte 0 or 1, S as u16 at
// 10, C as u16 at 12, the identifier at 16 and the state from 20; its
// version-0 chunk records carry no key.
#pragma once

#include <cstddef>
#include <cstdint>

#include "qor/qor_rng.h"
#include "qor/qor_serv.h"
#include "rng/brng/brng_rows.h"
#include "rng/stream/ro_data_table.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {

constexpr uint32_t kImageVersion = 2;
constexpr uint32_t kImageSignature = 0x00474E52;  // "RNG\0"
constexpr uint32_t kImageHeaderBytes = 24;
constexpr uint32_t kEarlierHeaderBytes = 20;
constexpr uint32_t kChunkRecordBytes = 24;  // id, key, data size

// Header fields in their version-2 meaning, plus the raw words the
// validation looks at.
struct ImageHeader {
    uint8_t version_byte;
    uint32_t word0, word4;
    uint32_t header_size;
    uint32_t state_bytes;
    uint32_t chunk_count;
    uint32_t brng;
};

// Bytes of the header that starts with this version byte.
inline uint32_t header_bytes_for(uint8_t version_byte) {
    return version_byte == kImageVersion ? kImageHeaderBytes : kEarlierHeaderBytes;
}

// Decodes a header of header_bytes_for(bytes[0]) bytes.
ImageHeader parse_image_header(const unsigned char* bytes);

// 0, or bad_image / bad_version as the header fails the checks of
// signature, version, generator and state size, and header size.
int32_t validate_image_header(const ImageHeader& h, int32_t bad_image, int32_t bad_version);

// Chunk records carry a key in versions 1 and 2, none in version 0.
enum class ChunkKeys { present, absent, unknown };
inline ChunkKeys chunk_keys_of(uint8_t version_byte) {
    if (version_byte == 1 || version_byte == 2) return ChunkKeys::present;
    return version_byte == 0 ? ChunkKeys::absent : ChunkKeys::unknown;
}

// Refusals that depend on the generator, after the state is read: the hardware
// generator without RDRAND, ARS5 without AES.
int32_t processor_supports_image(uint32_t brng);

// Total image bytes of a stream whose row has this state_size.
int64_t image_bytes(const qor_rng_stream* stream, int32_t state_size);

// Reads the chunk records into the stream through `read`, a callable
// bool(void* dst, size_t bytes) that is false on a short read; with a null
// dst it only tells whether that many bytes are still there, so that a
// record announcing more data than its source holds is refused before its
// block is allocated.  Each
// record's data is read into a fresh block and attached at the head,
// so the loaded list is the reverse of the image's.
template <class Read>
int32_t read_chunks(qor_rng_stream* stream, const ImageHeader& h, Read&& read) {
    const ChunkKeys keys = chunk_keys_of(h.version_byte);
    for (uint32_t c = 0; c < h.chunk_count; ++c) {
        uint32_t id = 0, size = 0;
        uint64_t key[2] = {0, 0};
        if (!read(&id, sizeof id)) return QOR_RNG_STATUS_FILE_READ;
        if (keys == ChunkKeys::unknown) return QOR_RNG_STATUS_FILE_READ;
        if (keys == ChunkKeys::present && !read(key, sizeof key)) return QOR_RNG_STATUS_FILE_READ;
        if (!read(&size, sizeof size)) return QOR_RNG_STATUS_FILE_READ;
        void* data = nullptr;
        if (size > 0) {
            if (!read(nullptr, size)) return QOR_RNG_STATUS_FILE_READ;
            data = qor_serv_allocate(size, kBlockAlignment);
            if (!data) return QOR_RNG_STATUS_NO_MEMORY;
            if (!read(data, size)) {
                qor_serv_deallocate(data);
                return QOR_RNG_STATUS_FILE_READ;
            }
        }
        const int32_t status = add_chunk(stream, id, key, data, size, ChunkSource::image);
        if (status != QOR_RNG_STATUS_OK) {
            qor_serv_deallocate(data);
            return status;
        }
        // A key already in the read-only table with these very bytes lends
        // its shared block; the copy just read is then not needed.
        if (stream->chunks->data != data) qor_serv_deallocate(data);
    }
    return QOR_RNG_STATUS_OK;
}

// Builds a stream from an image read through `read` (as for read_chunks).
// On success *out receives the stream; on failure nothing is left behind.
// bad_image and bad_version are the header refusals of the caller's form.
template <class Read>
int32_t load_stream(qor_rng_stream** out, Read&& read, int32_t bad_image, int32_t bad_version) {
    unsigned char head[kImageHeaderBytes] = {};
    constexpr uint32_t kFirstRead = 8;  // enough to tell the layouts apart
    if (!read(head, kFirstRead)) return QOR_RNG_STATUS_FILE_READ;
    if (!read(head + kFirstRead, header_bytes_for(head[0]) - kFirstRead)) return QOR_RNG_STATUS_FILE_READ;
    const ImageHeader h = parse_image_header(head);
    int32_t status = validate_image_header(h, bad_image, bad_version);
    if (status != QOR_RNG_STATUS_OK) return status;
    const BrngLocation at = locate_brng(h.brng);
    qor_rng_stream* s = nullptr;
    status = __rixAllocateStream(&s, at.table, static_cast<int32_t>(h.brng), at.row, at.member);
    if (status != QOR_RNG_STATUS_OK) return status;
    if (!read(state_of<char>(s), h.state_bytes)) status = QOR_RNG_STATUS_FILE_READ;
    if (status == QOR_RNG_STATUS_OK) {
        const StateCheck check = state_check_of(at.table[at.row].init_stream);
        if (check && !check(s)) status = bad_image;
    }
    if (status == QOR_RNG_STATUS_OK) status = processor_supports_image(h.brng);
    if (status == QOR_RNG_STATUS_OK) status = read_chunks(s, h, read);
    if (status != QOR_RNG_STATUS_OK) {
        __rixDeleteStream(&s);
        return status;
    }
    *out = s;
    return QOR_RNG_STATUS_OK;
}

}  // namespace qor::rng
