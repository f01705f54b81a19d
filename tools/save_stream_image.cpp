// Writes the saved-stream test image of this platform:
//   save_stream_image FILE
// The stream is the one described in tests/rng/portable_stream.h; the
// images of each platform are committed under tests/data/streams, and the
// test suites of every platform load them all.
#include <cstdio>

#include "tests/rng/portable_stream.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    int32_t status = 0;
    qor_rng_stream* s = portable_stream::make(&status);
    if (s) status = __rixSaveStreamF(s, argv[1], -1);
    __rixDeleteStream(&s);
    if (status != QOR_RNG_STATUS_OK) {
        std::fprintf(stderr, "save_stream_image: status %d\n", status);
        return 1;
    }
    return 0;
}
