// The saved-stream layouts as the loader walks them:
//   version 2: 24-byte header, state bytes u32 at 12, chunk count u16 at 16;
//   earlier (any other first byte): 20-byte header, state bytes u16 at 10,
//   chunk count u16 at 12;
// then the state, then the chunk records: id u32, a 16-byte key in versions
// 1 and 2 (none in version 0), data size u32, the data.  The loader reads
// the first 8 bytes alone; with a chunk record of an unknown version it
// reads the id and stops.
#include "stream_image_extent.h"

#include <cstring>

namespace qor::core {
namespace {

template <class T>
T load_le(const unsigned char* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

}  // namespace

int64_t stream_image_extent(const unsigned char* image, std::size_t size) {
    const uint64_t bound = size;
    if (bound < 8) return -1;
    const uint8_t version = image[0];
    const uint64_t header = version == 2 ? 24 : 20;
    if (bound < header) return -1;
    const uint64_t state = version == 2 ? load_le<uint32_t>(image + 12) : load_le<uint16_t>(image + 10);
    const uint32_t chunks = load_le<uint16_t>(image + (version == 2 ? 16 : 12));
    uint64_t at = header + state;
    if (at > bound) return -1;
    const bool keys_known = version <= 2;
    const uint64_t key_bytes = version == 0 ? 0 : 16;
    for (uint32_t c = 0; c < chunks; ++c) {
        at += 4;  // id
        if (at > bound) return -1;
        if (!keys_known) break;
        at += key_bytes + 4;
        if (at > bound) return -1;
        at += load_le<uint32_t>(image + at - 4);
        if (at > bound) return -1;
    }
    return static_cast<int64_t>(at);
}

}  // namespace qor::core
