// Saved streams: the byte layout of an image, bit-identical continuation
// after a round trip through a file or memory, chunk order, the earlier
// 20-byte layout, and every refusal with nothing left behind.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "qor/qor_serv.h"
#include "rng_test_support.h"

using namespace rng_test;

namespace {

class SavedStreams : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ =
            std::filesystem::temp_directory_path() / ("qor_rng_" + std::to_string(process_id()) + "_" +
                                                      ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    std::string path(const char* name) const { return (dir_ / name).string(); }

    static std::vector<unsigned char> read_file(const std::string& p) {
        std::ifstream in(p, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    static void write_file(const std::string& p, const std::vector<unsigned char>& bytes) {
        std::ofstream out(p, std::ios::binary);
        out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

    std::filesystem::path dir_;
};

void* block_with(size_t n, unsigned char first) {
    auto* p = static_cast<unsigned char*>(qor_serv_allocate(n, 128));
    for (size_t i = 0; i < n; ++i) p[i] = static_cast<unsigned char>(first + i);
    return p;
}

template <class T>
T at(const std::vector<unsigned char>& b, size_t offset) {
    T v;
    std::memcpy(&v, b.data() + offset, sizeof v);
    return v;
}

template <class T>
void put(std::vector<unsigned char>& b, size_t offset, T v) {
    std::memcpy(b.data() + offset, &v, sizeof v);
}

std::vector<unsigned char> memory_image(const qor_rng_stream* s) {
    const int32_t n = __rixGetStreamSize(s);
    EXPECT_GT(n, 0);
    std::vector<unsigned char> b(static_cast<size_t>(n));
    EXPECT_EQ(__rixSaveStreamM(s, reinterpret_cast<char*>(b.data())), 0);
    return b;
}

// Next outputs of two streams of the same generator agree.
void expect_same_continuation(qor_rng_stream* a, qor_rng_stream* b, int32_t n) {
    std::vector<double> x(n), y(n);
    ASSERT_EQ(_rixdRngUniform(0, a, n, x.data(), 0, 1), 0);
    ASSERT_EQ(_rixdRngUniform(0, b, n, y.data(), 0, 1), 0);
    EXPECT_EQ(x, y);
}

// A stream with two private chunks: id 1 (10 bytes) added first, then id 2
// (3 bytes), so the list is 2, 1.
Stream stream_with_two_chunks() {
    Stream s = make_stream(QOR_RNG_BRNG_MCG59, {0xDEADBEEF, 0x1234});
    uint64_t skip[5];
    __rixiBRngMCG59(s.get(), 5, skip);
    __rixAddChunk(s.get(), 1, nullptr, block_with(10, 0x10), 10);
    const uint64_t key[2] = {0x5A5A000000000001ull, 0x77};
    __rixAddChunk(s.get(), 2, key, block_with(3, 0x20), 3);
    return s;
}

Stream load_memory(const std::vector<unsigned char>& b, int32_t expected_status = 0) {
    qor_rng_stream* s = reinterpret_cast<qor_rng_stream*>(uintptr_t{0x99});
    EXPECT_EQ(__rixLoadStreamM(&s, reinterpret_cast<const char*>(b.data())), expected_status);
    if (expected_status != 0) {
        EXPECT_EQ(s, nullptr);
    }
    return Stream(s);
}

Stream load_file(const std::string& p, int32_t expected_status = 0) {
    qor_rng_stream* s = reinterpret_cast<qor_rng_stream*>(uintptr_t{0x99});
    EXPECT_EQ(__rixLoadStreamF(&s, p.c_str(), -1), expected_status) << p;
    if (expected_status != 0) {
        EXPECT_EQ(s, nullptr);
    }
    return Stream(s);
}

}  // namespace

TEST_F(SavedStreams, FileImageHasTheVersionTwoLayout) {
    Stream s = stream_with_two_chunks();
    const std::string p = path("two.rng");
    ASSERT_EQ(__rixSaveStreamF(s.get(), p.c_str(), -1), 0);
    const auto b = read_file(p);
    // state_size + 8 + two chunk records of 24 bytes + data.
    ASSERT_EQ(b.size(), size_t{32 + 8 + 48 + 10 + 3});
    EXPECT_EQ(__rixGetStreamSize(s.get()), 32 + 8 + 48 + 10 + 3);
    EXPECT_EQ(at<uint32_t>(b, 0), 2u);  // version byte then three zero bytes
    EXPECT_EQ(at<uint32_t>(b, 4), 0x00474E52u);
    EXPECT_EQ(at<uint32_t>(b, 8), 24u);
    EXPECT_EQ(at<uint32_t>(b, 12), 16u);
    EXPECT_EQ(at<uint32_t>(b, 16), 2u);  // chunk count, written as 4 bytes
    EXPECT_EQ(at<uint32_t>(b, 20), uint32_t{QOR_RNG_BRNG_MCG59});
    EXPECT_EQ(std::memcmp(b.data() + 24, reinterpret_cast<const char*>(s.get()) + 16, 16), 0);
    // Chunk records from the head of the list: id 2 first.
    EXPECT_EQ(at<uint32_t>(b, 40), 2u);
    EXPECT_EQ(at<uint64_t>(b, 44), 0x5A5A000000000001ull);
    EXPECT_EQ(at<uint64_t>(b, 52), 0x77u);
    EXPECT_EQ(at<uint32_t>(b, 60), 3u);
    EXPECT_EQ(b[64], 0x20);
    EXPECT_EQ(at<uint32_t>(b, 67), 1u);
    EXPECT_EQ(at<uint32_t>(b, 87), 10u);
    EXPECT_EQ(b[91], 0x10);
    // The memory image is the same bytes.
    EXPECT_EQ(memory_image(s.get()), b);
}

TEST_F(SavedStreams, MemorySaverLeavesThePaddingBytesAlone) {
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {5});
    std::vector<unsigned char> b(static_cast<size_t>(__rixGetStreamSize(s.get())), 0xAB);
    ASSERT_EQ(b.size(), 32u);
    ASSERT_EQ(__rixSaveStreamM(s.get(), reinterpret_cast<char*>(b.data())), 0);
    for (size_t i : {1, 2, 3, 10, 11, 18, 19}) EXPECT_EQ(b[i], 0xAB) << i;
    EXPECT_EQ(b[0], 2);
    EXPECT_EQ(at<uint16_t>(b, 8), 24u);
    EXPECT_EQ(at<uint32_t>(b, 12), 8u);
    EXPECT_EQ(at<uint16_t>(b, 16), 0u);
    EXPECT_EQ(at<uint32_t>(b, 24), 5u);           // x
    EXPECT_EQ(at<uint32_t>(b, 28), 1132489760u);  // a
}

TEST_F(SavedStreams, FileRoundTripContinuesBitForBit) {
    for (int32_t brng : {int32_t{QOR_RNG_BRNG_MCG31M1}, int32_t{QOR_RNG_BRNG_MCG59}, 0, 3}) {
        Stream s = make_stream(brng, {777, 3});
        ASSERT_EQ(__rixLeapfrogStream(s.get(), 1, 3), 0);
        std::vector<double> skip(13);
        _rixdRngUniform(0, s.get(), 13, skip.data(), 0, 1);
        const std::string p = path("round.rng");
        ASSERT_EQ(__rixSaveStreamF(s.get(), p.c_str(), -1), 0);
        Stream t = load_file(p);
        ASSERT_NE(t, nullptr);
        EXPECT_EQ(t->brng, static_cast<uint32_t>(brng));
        EXPECT_EQ(t->header_flag, 1);
        expect_same_continuation(s.get(), t.get(), 10000);
    }
}

TEST_F(SavedStreams, MemoryRoundTripContinuesAndReversesTheChunks) {
    Stream s = stream_with_two_chunks();
    Stream t = load_memory(memory_image(s.get()));
    ASSERT_NE(t, nullptr);
    expect_same_continuation(s.get(), t.get(), 10000);
    ASSERT_EQ(__rixGetNumChunks(t.get()), 2);
    EXPECT_EQ(t->chunks->id, 1u);
    EXPECT_EQ(t->chunks->next->id, 2u);
    EXPECT_EQ(t->chunks->next->key[0], 0x5A5A000000000001ull);
    EXPECT_EQ(t->chunks->next->key[1], 0x77u);
    // The keyed chunk is shared with the original through the table.
    EXPECT_EQ(__rixSearchChunk(t.get(), 2), __rixSearchChunk(s.get(), 2));
    const auto* one = static_cast<const unsigned char*>(__rixSearchChunk(t.get(), 1));
    EXPECT_NE(one, __rixSearchChunk(s.get(), 1));
    for (int i = 0; i < 10; ++i) EXPECT_EQ(one[i], 0x10 + i);
    // Saving the loaded stream gives the chunks back in the first order.
    Stream u = load_memory(memory_image(t.get()));
    EXPECT_EQ(u->chunks->id, 2u);
}

TEST_F(SavedStreams, NamesOfGivenLengthNeedNoTerminator) {
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {31});
    const std::string full = path("named.rng");
    const std::string padded = full + "XYZ";  // only the first full.size() bytes count
    ASSERT_EQ(__rixSaveStreamF(s.get(), padded.c_str(), static_cast<int32_t>(full.size())), 0);
    EXPECT_TRUE(std::filesystem::exists(full));
    EXPECT_FALSE(std::filesystem::exists(padded));
    qor_rng_stream* t = nullptr;
    ASSERT_EQ(__rixLoadStreamF(&t, padded.c_str(), static_cast<int32_t>(full.size())), 0);
    Stream owned(t);
    expect_same_continuation(s.get(), t, 100);
    EXPECT_EQ(__rixSaveStreamF(s.get(), padded.c_str(), 0), QOR_RNG_STATUS_FILE_OPEN);
}

TEST_F(SavedStreams, OpenFailuresAndBadArguments) {
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {31});
    EXPECT_EQ(__rixSaveStreamF(s.get(), path("no/such/dir/x.rng").c_str(), -1), QOR_RNG_STATUS_FILE_OPEN);
    load_file(path("missing.rng"), QOR_RNG_STATUS_FILE_OPEN);
    qor_rng_stream* t = nullptr;
    EXPECT_EQ(__rixSaveStreamF(nullptr, "x", -1), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixSaveStreamF(s.get(), nullptr, -1), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixLoadStreamF(nullptr, "x", -1), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixLoadStreamF(&t, nullptr, -1), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixSaveStreamM(nullptr, reinterpret_cast<char*>(&t)), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixSaveStreamM(s.get(), nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixLoadStreamM(nullptr, "x"), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixLoadStreamM(&t, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixGetStreamSize(nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
}

TEST_F(SavedStreams, AFailedCloseIsReported) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {31});
    EXPECT_EQ(__rixSaveStreamF(s.get(), "/dev/full", -1), QOR_RNG_STATUS_FILE_CLOSE);
}

TEST_F(SavedStreams, HeaderRefusals) {
    Stream s = stream_with_two_chunks();
    const auto good = memory_image(s.get());
    struct Case {
        const char* what;
        size_t offset;
        uint32_t value;
        int width;
        int32_t file_status;
    } cases[] = {
        {"signature", 4, 0x00474E53, 4, QOR_RNG_STATUS_BAD_STREAM_IMAGE},
        {"newer version", 0, 3, 1, QOR_RNG_STATUS_STREAM_IMAGE_VERSION},
        {"state size", 12, 8, 4, QOR_RNG_STATUS_BAD_STREAM_IMAGE},
        {"unknown generator", 20, 0x7FF00000, 4, QOR_RNG_STATUS_BAD_STREAM_IMAGE},
        {"generator of another state size", 20, QOR_RNG_BRNG_MCG31M1, 4, QOR_RNG_STATUS_BAD_STREAM_IMAGE},
        {"family member out of range", 20, 0x500111, 4, QOR_RNG_STATUS_BAD_STREAM_IMAGE},
        {"empty legacy slot", 20, 280, 4, QOR_RNG_STATUS_BAD_STREAM_IMAGE},
        {"header size", 8, 23, 2, QOR_RNG_STATUS_BAD_STREAM_IMAGE},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        auto b = good;
        if (c.width == 1) b[c.offset] = static_cast<unsigned char>(c.value);
        if (c.width == 2) put<uint16_t>(b, c.offset, static_cast<uint16_t>(c.value));
        if (c.width == 4) put<uint32_t>(b, c.offset, c.value);
        load_memory(b, QOR_RNG_STATUS_BAD_MEMORY_IMAGE);
        const std::string p = path("bad.rng");
        write_file(p, b);
        load_file(p, c.file_status);
    }
}

// States that the generators' own operations never reach: a value at or
// above its modulus, an MCG59 multiplier that is even or too close to 1, an all-zero
// linear state, a block position past the block.  An MCG31m1 image with x
// above the modulus, and an MCG59 one with multiplier 1, once sent the
// Poisson sampler into an endless loop.
TEST_F(SavedStreams, UnreachableStatesAreRefused) {
    constexpr size_t kState = 24;  // the state follows the image header
    struct Case {
        const char* what;
        int32_t brng;
        size_t offset, bytes;  // within the state: set to `value` (4 or 8 bytes), or zero when bytes > 8
        uint64_t value;
    } cases[] = {
        {"MCG31m1 x = modulus", QOR_RNG_BRNG_MCG31M1, 0, 4, 0x7FFFFFFF},
        {"MCG31m1 x = 0", QOR_RNG_BRNG_MCG31M1, 0, 4, 0},
        {"MCG31m1 a above the modulus", QOR_RNG_BRNG_MCG31M1, 4, 4, 0xFF5390C8},
        {"MCG59 even multiplier", QOR_RNG_BRNG_MCG59, 8, 4, 2},
        {"MCG59 multiplier 1", QOR_RNG_BRNG_MCG59, 8, 8, 1},
        {"MCG59 multiplier 1 + 2^57", QOR_RNG_BRNG_MCG59, 8, 8, 0x0200000000000001},
        {"MRG32k3a first component zero", QOR_RNG_BRNG_MRG32K3A, 0, 12, 0},
        {"MRG32k3a word at m2", QOR_RNG_BRNG_MRG32K3A, 12, 4, 4294944443u},
        {"Wichmann-Hill x = 0", QOR_RNG_BRNG_WH, 0, 4, 0},
        {"R250 all zero", QOR_RNG_BRNG_R250, 0, 1000, 0},
        {"MT19937 all zero", QOR_RNG_BRNG_MT19937, 0, 2496, 0},
        {"MT2203 all zero", QOR_RNG_BRNG_MT2203, 0, 276, 0},
        {"SFMT19937 all zero", QOR_RNG_BRNG_SFMT19937, 0, 2496, 0},
        {"Philox block position", QOR_RNG_BRNG_PHILOX4X32X10, 40, 4, 5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Stream s = make_stream(c.brng, {7, 8});
        auto b = memory_image(s.get());
        EXPECT_NE(load_memory(b), nullptr);
        if (c.bytes > 8) std::memset(b.data() + kState + c.offset, 0, c.bytes);
        else if (c.bytes == 8) put<uint64_t>(b, kState + c.offset, c.value);
        else put<uint32_t>(b, kState + c.offset, static_cast<uint32_t>(c.value));
        load_memory(b, QOR_RNG_STATUS_BAD_MEMORY_IMAGE);
        const std::string p = path("unreachable.rng");
        write_file(p, b);
        load_file(p, QOR_RNG_STATUS_BAD_STREAM_IMAGE);
    }
}

// A chunk read from an image joins a shared block only when the table
// holds that key with the very same bytes; otherwise it stays the stream's
// own, and it never enters the table.  An image once named a shared key
// with a longer chunk, and saving the loaded stream read past the block.
TEST_F(SavedStreams, ImageChunksShareOnlyIdenticalBlocks) {
    constexpr size_t kChunkKey = 24 + 16 + 4;  // header, MCG59 state, chunk id
    const uint64_t shared_key[2] = {0x5A5A0000000000A1ull, 1}, fresh_key[2] = {0x5A5A0000000000A2ull, 1};
    Stream owner = make_stream(QOR_RNG_BRNG_MCG59, {1});
    ASSERT_EQ(__rixAddChunk(owner.get(), 9, shared_key, block_with(3, 0x20), 3), 0);
    const void* shared = __rixSearchChunk(owner.get(), 9);
    EXPECT_EQ(__rixSearchChunk(load_memory(memory_image(owner.get())).get(), 9), shared);  // identical: shared

    Stream other = make_stream(QOR_RNG_BRNG_MCG59, {1});
    ASSERT_EQ(__rixAddChunk(other.get(), 9, fresh_key, block_with(5, 0x30), 5), 0);
    auto image = memory_image(other.get());
    other.reset();  // the fresh key leaves the table
    for (const auto* key : {shared_key, fresh_key}) {
        put<uint64_t>(image, kChunkKey, key[0]);
        put<uint64_t>(image, kChunkKey + 8, key[1]);
        Stream t = load_memory(image);
        const auto* data = static_cast<const unsigned char*>(__rixSearchChunk(t.get(), 9));
        ASSERT_NE(data, nullptr);
        EXPECT_NE(data, shared);
        EXPECT_EQ(data[4], 0x34);
        const auto again = memory_image(t.get());  // its own five bytes, its key dropped
        ASSERT_EQ(again.size(), image.size());
        EXPECT_TRUE(std::equal(again.begin() + kChunkKey + 16, again.end(), image.begin() + kChunkKey + 16));
        EXPECT_EQ(__rixFindGlobRODataTableEntry(nullptr, fresh_key), QOR_RNG_STATUS_RO_DATA_TABLE);
    }
}

TEST_F(SavedStreams, ShortFilesAreRefusedAtEveryLength) {
    Stream s = stream_with_two_chunks();
    const auto good = memory_image(s.get());
    const std::string p = path("short.rng");
    for (size_t len = 0; len < good.size(); ++len) {
        write_file(p, std::vector<unsigned char>(good.begin(), good.begin() + static_cast<long>(len)));
        SCOPED_TRACE(len);
        load_file(p, QOR_RNG_STATUS_FILE_READ);
    }
    write_file(p, good);
    EXPECT_NE(load_file(p), nullptr);
}

TEST_F(SavedStreams, GeneratorsNeedingProcessorFeatures) {
    // Hand-made images of the hardware generator and ARS5: accepted only
    // where the processor has the instruction the generator needs.
    struct Case {
        uint32_t brng;
        int32_t state_size, needed, refusal;
    } cases[] = {{QOR_RNG_BRNG_NONDETERM, 24, __rixCPUisRDRAND(), QOR_RNG_STATUS_NO_RDRAND},
                 {QOR_RNG_BRNG_ARS5, 72, __rixCPUisAES(), QOR_RNG_STATUS_NO_AES}};
    for (const Case& c : cases) {
        std::vector<unsigned char> b(24 + static_cast<size_t>(c.state_size - 16), 0);
        b[0] = 2;
        put<uint32_t>(b, 4, 0x00474E52);
        put<uint16_t>(b, 8, 24);
        put<uint32_t>(b, 12, static_cast<uint32_t>(c.state_size - 16));
        put<uint32_t>(b, 20, c.brng);
        Stream t = load_memory(b, c.needed ? 0 : c.refusal);
        EXPECT_EQ(t != nullptr, c.needed == 1);
        const std::string p = path("hw.rng");
        write_file(p, b);
        load_file(p, c.needed ? 0 : c.refusal);
    }
}

TEST_F(SavedStreams, EarlierLayoutLoads) {
    // 20-byte header: version byte, signature at 4, state bytes at 10 and
    // chunk count at 12 (16-bit), generator at 16, state from 20.
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {4321});
    for (uint8_t version : {0, 1}) {
        SCOPED_TRACE(int(version));
        std::vector<unsigned char> b(20 + 8, 0);
        b[0] = version;
        put<uint32_t>(b, 4, 0x00474E52);
        put<uint16_t>(b, 10, 8);
        put<uint16_t>(b, 12, 1);
        put<uint32_t>(b, 16, QOR_RNG_BRNG_MCG31M1);
        std::memcpy(b.data() + 20, reinterpret_cast<const char*>(s.get()) + 16, 8);
        // One chunk record: id, key only in version 1, size, data.
        auto append = [&b](const void* p, size_t n) {
            b.insert(b.end(), static_cast<const unsigned char*>(p), static_cast<const unsigned char*>(p) + n);
        };
        const uint32_t id = 6, size = 2;
        const uint64_t key[2] = {0, 0};
        const unsigned char data[2] = {0xCA, 0xFE};
        append(&id, 4);
        if (version == 1) append(key, 16);
        append(&size, 4);
        append(data, 2);
        Stream t = load_memory(b);
        ASSERT_NE(t, nullptr);
        Stream ref = copy_of(s);
        expect_same_continuation(ref.get(), t.get(), 1000);
        ASSERT_EQ(__rixGetNumChunks(t.get()), 1);
        EXPECT_EQ(static_cast<const unsigned char*>(__rixSearchChunk(t.get(), 6))[1], 0xFE);
        const std::string p = path("old.rng");
        write_file(p, b);
        Stream f = load_file(p);
        EXPECT_NE(f, nullptr);
        // Chunk records of an unknown earlier version cannot be read.
        put<uint32_t>(b, 0, 0x00474E52);  // signature in the first word, version byte "R"
        put<uint32_t>(b, 4, version);
        load_memory(b, QOR_RNG_STATUS_FILE_READ);
        put<uint16_t>(b, 12, 0);  // without chunks the image is fine
        EXPECT_NE(load_memory(b), nullptr);
    }
}

TEST_F(SavedStreams, ZeroSizeChunksAndTheLastMt2203Member) {
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {8});
    ASSERT_EQ(__rixAddChunk(s.get(), 4, nullptr, nullptr, 0), 0);
    Stream t = load_memory(memory_image(s.get()));
    ASSERT_EQ(__rixGetNumChunks(t.get()), 1);
    EXPECT_EQ(__rixSearchChunk(t.get(), 4), nullptr);
    // The last MT2203 member (the end of its parameter table) saves and
    // loads like any other, and the copy continues the stream.
    const uint32_t seed = 1;
    qor_rng_stream* raw = nullptr;
    __rixNewStreamEx(&raw, QOR_RNG_BRNG_MT2203 + 6023, 1, &seed);
    Stream mt(raw);
    EXPECT_EQ(__rixGetStreamSize(mt.get()), 312 + 8);
    Stream back = load_memory(memory_image(mt.get()));
    ASSERT_NE(back, nullptr);
    double d = 0, e = 1;
    EXPECT_EQ(_rixdRngUniform(0, back.get(), 1, &d, 0, 1), QOR_RNG_STATUS_OK);
    EXPECT_EQ(_rixdRngUniform(0, mt.get(), 1, &e, 0, 1), QOR_RNG_STATUS_OK);
    EXPECT_EQ(d, e);
}
