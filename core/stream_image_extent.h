// How far a saved-stream image in memory reaches, read within a bound: the
// loader reads an image as far as its header says, so a buffer of known
// size is checked against that first.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::core {

// Bytes the loader reads from the image at `image` (the header, the state
// and the chunk records it announces, or as far as the loader goes before
// refusing an unknown layout), or -1 when that passes `size` bytes.  Only
// bytes below `size` are looked at.
int64_t stream_image_extent(const unsigned char* image, std::size_t size);

}  // namespace qor::core
