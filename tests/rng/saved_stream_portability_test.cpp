// Saved streams move between platforms: the images that the Linux and the
// Windows builds wrote (tests/data/streams, made by tools/save_stream_image)
// are byte for byte what this platform writes for the same stream, and each
// loads here into a stream that continues exactly as the original does.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "portable_stream.h"
#include "rng_test_support.h"

using rng_test::Stream;

namespace {

const char* const kImages[] = {"mcg59_linux.img", "mcg59_windows.img"};

std::string image_path(const char* name) { return std::string(QOR_TEST_DATA_DIR) + "/streams/" + name; }

std::vector<unsigned char> file_bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

Stream portable() {
    int32_t status = 0;
    Stream s(portable_stream::make(&status));
    EXPECT_EQ(status, QOR_RNG_STATUS_OK);
    return s;
}

std::vector<uint64_t> next_outputs(qor_rng_stream* s, int n) {
    std::vector<uint64_t> out(static_cast<std::size_t>(n));
    EXPECT_EQ(__rixiBRngMCG59(s, n, out.data()), QOR_RNG_STATUS_OK);
    return out;
}

}  // namespace

TEST(PortableStreamImages, EveryPlatformWritesTheSameBytes) {
    const Stream s = portable();
    ASSERT_NE(s, nullptr);
    const int32_t size = __rixGetStreamSize(s.get());
    // MCG59's state plus the header, and 24 bytes of record per chunk.
    EXPECT_EQ(size, 32 + 8 + (24 + 8) + (24 + 16));
    std::vector<unsigned char> mine(static_cast<std::size_t>(size), 0);
    ASSERT_EQ(__rixSaveStreamM(s.get(), reinterpret_cast<char*>(mine.data())), QOR_RNG_STATUS_OK);
    for (const char* name : kImages) {
        const std::vector<unsigned char> theirs = file_bytes(image_path(name));
        ASSERT_EQ(theirs.size(), mine.size()) << name;
        EXPECT_TRUE(theirs == mine) << name;
    }
    // The header as written: version 2, "RNG", header size 24, state size,
    // chunk count, generator, all little-endian.
    const unsigned char header[24] = {2, 0, 0, 0, 'R', 'N', 'G', 0, 24, 0, 0, 0,
                                      16, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0x40, 0};
    EXPECT_EQ(std::memcmp(mine.data(), header, sizeof header), 0);
}

TEST(PortableStreamImages, EachImageLoadsAndContinuesTheStream) {
    for (const char* name : kImages) {
        SCOPED_TRACE(name);
        qor_rng_stream* loaded = nullptr;
        ASSERT_EQ(__rixLoadStreamF(&loaded, image_path(name).c_str(), -1), QOR_RNG_STATUS_OK);
        const Stream owned(loaded);
        const Stream original = portable();
        EXPECT_EQ(__rixGetStreamStateBrng(loaded), QOR_RNG_BRNG_MCG59);
        EXPECT_EQ(next_outputs(loaded, 10000), next_outputs(original.get(), 10000));
        ASSERT_EQ(__rixGetNumChunks(loaded), 2);
        const auto* words = static_cast<const uint32_t*>(__rixSearchChunk(loaded, portable_stream::kFirstChunkId));
        ASSERT_NE(words, nullptr);
        EXPECT_EQ(words[0], portable_stream::kFirstChunkWords[0]);
        EXPECT_EQ(words[1], portable_stream::kFirstChunkWords[1]);
        const auto* bytes = static_cast<const unsigned char*>(__rixSearchChunk(loaded, portable_stream::kSecondChunkId));
        ASSERT_NE(bytes, nullptr);
        for (int i = 0; i < portable_stream::kSecondChunkSize; ++i) EXPECT_EQ(bytes[i], i);
    }
}
