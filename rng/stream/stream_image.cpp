// Decoding and validating the header of a saved stream.
#include "rng/stream/stream_image.h"

#include <cstring>

#include "rng/brng/brng_rows.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

template <class T>
T load_le(const unsigned char* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

constexpr uint32_t kSignatureMask = 0x00FFFFFF;

}  // namespace

ImageHeader parse_image_header(const unsigned char* b) {
    ImageHeader h{};
    h.version_byte = b[0];
    h.word0 = load_le<uint32_t>(b);
    h.word4 = load_le<uint32_t>(b + 4);
    if (h.version_byte == kImageVersion) {
        h.header_size = load_le<uint16_t>(b + 8);
        h.state_bytes = load_le<uint32_t>(b + 12);
        h.chunk_count = load_le<uint16_t>(b + 16);
        h.brng = load_le<uint32_t>(b + 20);
    } else {
        // The earlier layout has no header-size field; its fixed header is
        // taken as acceptable.
        h.header_size = kImageHeaderBytes;
        h.state_bytes = load_le<uint16_t>(b + 10);
        h.chunk_count = load_le<uint16_t>(b + 12);
        h.brng = load_le<uint32_t>(b + 16);
    }
    return h;
}

int32_t validate_image_header(const ImageHeader& h, int32_t bad_image, int32_t bad_version) {
    if ((h.word4 & kSignatureMask) != kImageSignature && (h.word0 & kSignatureMask) != kImageSignature)
        return bad_image;
    if (h.version_byte >= 3 && h.word4 > 2) return bad_version;
    const BrngLocation at = locate_brng(h.brng);
    if (__rixIsBrngValid(at.table, at.row, at.member) != QOR_RNG_STATUS_OK) return bad_image;
    // An abstract stream's state is the addresses of its owner's buffer and
    // callback: an image of one (under any identifier of its rows) would
    // hand the loader foreign addresses to read and call.
    const qor_rng_init_fn init = at.table[at.row].init_stream;
    if (init == kIAbstractRow.init_stream || init == kDAbstractRow.init_stream || init == kSAbstractRow.init_stream)
        return bad_image;
    if (int64_t{h.state_bytes} != int64_t{at.table[at.row].state_size} - kStreamHeaderBytes) return bad_image;
    if (h.header_size < kImageHeaderBytes) return bad_image;
    return QOR_RNG_STATUS_OK;
}

int32_t processor_supports_image(uint32_t brng) {
    if (brng == QOR_RNG_BRNG_NONDETERM && !__rixCPUisRDRAND()) return QOR_RNG_STATUS_NO_RDRAND;
    if (brng == QOR_RNG_BRNG_ARS5 && !__rixCPUisAES()) return QOR_RNG_STATUS_NO_AES;
    return QOR_RNG_STATUS_OK;
}

int64_t image_bytes(const qor_rng_stream* stream, int32_t state_size) {
    int64_t bytes = int64_t{state_size} + (kImageHeaderBytes - kStreamHeaderBytes);
    for (const qor_rng_chunk* c = stream->chunks; c; c = c->next) bytes += kChunkRecordBytes + c->size;
    return bytes;
}

}  // namespace qor::rng
