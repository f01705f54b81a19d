// Saved-stream images from memory: any bytes, with their size, must load or
// be refused with a status; a stream that loads must draw numbers, save
// and load again to the same continuation, and be deleted.
#include <cstdint>
#include <cstring>
#include <vector>

#include "qor/qor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    qor_rng_stream* s = nullptr;
    // A copy of exactly `size` bytes, so that a read past the image is seen.
    std::vector<char> image(data, data + size);
    if (qor_rng_load_stream_memory_sized(&s, image.data(), image.size()) != QOR_RNG_STATUS_OK) {
        if (s) __builtin_trap();  // a refused image leaves no stream
        return 0;
    }
    const int bytes = qor_rng_get_stream_image_size(s);
    if (bytes > 0) {
        std::vector<char> again(static_cast<std::size_t>(bytes));
        qor_rng_stream* t = nullptr;
        if (qor_rng_save_stream_memory(s, again.data(), again.size()) == QOR_RNG_STATUS_OK &&
            qor_rng_load_stream_memory_sized(&t, again.data(), again.size()) == QOR_RNG_STATUS_OK) {
            double a[8], b[8];
            const int sa = qor_vdRngUniform(0, s, 8, a, 0.0, 1.0);
            const int sb = qor_vdRngUniform(0, t, 8, b, 0.0, 1.0);
            const bool deterministic = qor_rng_get_stream_brng(s) != QOR_RNG_BRNG_NONDETERM;
            if (sa != sb || (deterministic && sa == QOR_RNG_STATUS_OK && std::memcmp(a, b, sizeof a) != 0))
                __builtin_trap();
        }
        qor_rng_delete_stream(&t);
    }
    uint32_t bits[4];
    qor_viRngUniformBits(0, s, 4, bits);
    qor_rng_delete_stream(&s);
    return 0;
}
