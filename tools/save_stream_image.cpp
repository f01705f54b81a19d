// Writes saved-stream images:
//   save_stream_image FILE          the saved-stream test image of this platform
//   save_stream_image --corpus DIR  seed images for the stream fuzz targets
// The test image's stream is the one described in tests/rng/portable_stream.h;
// the images of each platform are committed under tests/data/streams, and
// the test suites of every platform load them all.  The seed corpus holds
// one version-2 image per generator the processor can run, after a few
// draws, the test image, and images in the earlier layout (versions 0 and
// 1, with one chunk record).
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tests/rng/portable_stream.h"

namespace {

bool write(const std::string& path, const std::vector<char>& bytes) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && ok;
}

std::vector<char> image_of(const qor_rng_stream* s) {
    std::vector<char> bytes(static_cast<std::size_t>(__rixGetStreamSize(s)));
    __rixSaveStreamM(s, bytes.data());
    return bytes;
}

template <class T>
void append(std::vector<char>& b, T v) {
    const char* p = reinterpret_cast<const char*>(&v);
    b.insert(b.end(), p, p + sizeof v);
}

// An MCG31m1 stream in the earlier layout: a 20-byte header, the state,
// one chunk record (a key only in version 1).
std::vector<char> earlier_image(uint8_t version, const qor_rng_stream* s) {
    const std::vector<char> v2 = image_of(s);
    const uint16_t state = 8;
    std::vector<char> b(20, 0);
    b[0] = static_cast<char>(version);
    const uint32_t signature = 0x00474E52;
    std::memcpy(&b[4], &signature, 4);
    std::memcpy(&b[10], &state, 2);
    const uint16_t chunks = 1;
    std::memcpy(&b[12], &chunks, 2);
    const uint32_t brng = QOR_RNG_BRNG_MCG31M1;
    std::memcpy(&b[16], &brng, 4);
    b.insert(b.end(), v2.begin() + 24, v2.begin() + 24 + state);
    append<uint32_t>(b, 6);
    if (version == 1) append<uint64_t>(b, 0), append<uint64_t>(b, 0);
    append<uint32_t>(b, 2);
    b.push_back('\xCA'), b.push_back('\xFE');
    return b;
}

int write_corpus(const std::string& dir) {
    const struct {
        const char* name;
        int32_t brng;
    } generators[] = {{"mcg31m1", QOR_RNG_BRNG_MCG31M1}, {"r250", QOR_RNG_BRNG_R250},
                      {"mrg32k3a", QOR_RNG_BRNG_MRG32K3A}, {"mcg59", QOR_RNG_BRNG_MCG59},
                      {"wh", QOR_RNG_BRNG_WH}, {"wh_member_7", QOR_RNG_BRNG_WH + 7},
                      {"sobol", QOR_RNG_BRNG_SOBOL}, {"niederreiter", QOR_RNG_BRNG_NIEDERR},
                      {"mt19937", QOR_RNG_BRNG_MT19937}, {"mt2203_member_5", QOR_RNG_BRNG_MT2203 + 5},
                      {"sfmt19937", QOR_RNG_BRNG_SFMT19937}, {"nondeterministic", QOR_RNG_BRNG_NONDETERM},
                      {"ars5", QOR_RNG_BRNG_ARS5}, {"philox4x32x10", QOR_RNG_BRNG_PHILOX4X32X10}};
    int written = 0;
    for (const auto& g : generators) {
        qor_rng_stream* s = nullptr;
        const uint32_t seed = 7;  // also a valid dimension for the quasi-random generators
        if (__rixNewStreamEx(&s, g.brng, 1, &seed) != QOR_RNG_STATUS_OK) {
            std::fprintf(stderr, "save_stream_image: no %s stream here, left out\n", g.name);
            continue;
        }
        std::vector<double> drawn(7);
        qor_rng_brng_properties p;
        if (__rixGetBrngProperties(g.brng, &p) == QOR_RNG_STATUS_OK && p.fill_double)
            p.fill_double(s, static_cast<int32_t>(drawn.size()), drawn.data(), 0.0, 1.0);
        written += write(dir + "/" + g.name + ".img", image_of(s));
        __rixDeleteStream(&s);
    }
    int32_t status = 0;
    if (qor_rng_stream* s = portable_stream::make(&status)) {
        written += write(dir + "/portable_chunks.img", image_of(s));
        __rixDeleteStream(&s);
    }
    qor_rng_stream* s = nullptr;
    const uint32_t seed = 4321;
    if (__rixNewStreamEx(&s, QOR_RNG_BRNG_MCG31M1, 1, &seed) == QOR_RNG_STATUS_OK) {
        written += write(dir + "/earlier_layout_v0.img", earlier_image(0, s));
        written += write(dir + "/earlier_layout_v1.img", earlier_image(1, s));
        __rixDeleteStream(&s);
    }
    std::printf("%d images written to %s\n", written, dir.c_str());
    return written > 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--corpus") == 0) return write_corpus(argv[2]);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FILE | --corpus DIR\n", argv[0]);
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
