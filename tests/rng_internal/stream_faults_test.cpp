// Failures that real files and memory rarely produce on demand: the C
// runtime's fwrite, fread and fclose, and the core's allocator, are wrapped
// at link time (-Wl,--wrap) so that the n-th call from here on fails.
// Every path must return its status and leave nothing allocated (the
// sanitizer build checks for leaks).
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "qor/qor_rng.h"
#include "qor/qor_serv.h"

extern "C" {
size_t __real_fwrite(const void* p, size_t size, size_t n, FILE* f);
size_t __real_fread(void* p, size_t size, size_t n, FILE* f);
int __real_fclose(FILE* f);
void* __real_qor_serv_allocate(size_t size, int alignment);
}

namespace {

// Calls left before the armed one fails; negative: never fail.
struct Fault {
    long countdown = -1;
    bool fire() {
        if (countdown < 0) return false;
        return countdown-- == 0;
    }
};

Fault g_fwrite, g_fread, g_fclose, g_allocate;

void disarm() { g_fwrite = g_fread = g_fclose = g_allocate = Fault{}; }

}  // namespace

extern "C" {
size_t __wrap_fwrite(const void* p, size_t size, size_t n, FILE* f) {
    return g_fwrite.fire() ? 0 : __real_fwrite(p, size, n, f);
}
size_t __wrap_fread(void* p, size_t size, size_t n, FILE* f) {
    if (g_fread.fire()) return 0;
    return __real_fread(p, size, n, f);
}
int __wrap_fclose(FILE* f) {
    const int status = __real_fclose(f);
    return g_fclose.fire() ? EOF : status;
}
void* __wrap_qor_serv_allocate(size_t size, int alignment) {
    return g_allocate.fire() ? nullptr : __real_qor_serv_allocate(size, alignment);
}
}

namespace {

struct StreamDeleter {
    void operator()(qor_rng_stream* s) const { __rixDeleteStream(&s); }
};
using Stream = std::unique_ptr<qor_rng_stream, StreamDeleter>;

class StreamFaults : public ::testing::Test {
protected:
    void SetUp() override {
        disarm();
        file_ = (std::filesystem::temp_directory_path() / ("qor_rng_faults_" + std::to_string(getpid()) + "_" +
                                                            ::testing::UnitTest::GetInstance()->current_test_info()->name()))
                    .string();
    }
    void TearDown() override {
        disarm();
        std::remove(file_.c_str());
    }

    // An MCG59 stream with three private chunks (ids 3, 2, 1 from the head).
    static Stream stream_with_chunks() {
        qor_rng_stream* s = nullptr;
        const uint32_t seed = 99;
        EXPECT_EQ(__rixNewStreamEx(&s, QOR_RNG_BRNG_MCG59, 1, &seed), 0);
        for (uint32_t id = 1; id <= 3; ++id) {
            void* data = qor_serv_allocate(8 * id, 128);
            std::memset(data, int(id), 8 * id);
            EXPECT_EQ(__rixAddChunk(s, id, nullptr, data, 8 * id), 0);
        }
        return Stream(s);
    }

    std::string file_;
};

}  // namespace

// Save writes: header (1), state (2), then per chunk id, key, size, data.
TEST_F(StreamFaults, HeaderOrStateWriteFailureStopsTheSave) {
    Stream s = stream_with_chunks();
    for (long call : {0, 1}) {
        g_fwrite.countdown = call;
        EXPECT_EQ(__rixSaveStreamF(s.get(), file_.c_str(), -1), QOR_RNG_STATUS_FILE_WRITE) << call;
    }
}

TEST_F(StreamFaults, OnlyTheLastChunkDataWriteDecidesTheStatus) {
    Stream s = stream_with_chunks();
    // First chunk record's data write (call 2 + 3) fails: not examined.
    g_fwrite.countdown = 5;
    EXPECT_EQ(__rixSaveStreamF(s.get(), file_.c_str(), -1), QOR_RNG_STATUS_OK);
    // Last chunk's data write (calls 2 + 4 + 4 + 3).
    g_fwrite.countdown = 13;
    EXPECT_EQ(__rixSaveStreamF(s.get(), file_.c_str(), -1), QOR_RNG_STATUS_FILE_WRITE);
    // A close failure wins over everything before it.
    g_fwrite.countdown = 13;
    g_fclose.countdown = 0;
    EXPECT_EQ(__rixSaveStreamF(s.get(), file_.c_str(), -1), QOR_RNG_STATUS_FILE_CLOSE);
}

TEST_F(StreamFaults, LoadReportsShortReadsAndCloseFailuresWithoutAStream) {
    Stream s = stream_with_chunks();
    ASSERT_EQ(__rixSaveStreamF(s.get(), file_.c_str(), -1), 0);
    // Reads: 8 + 16 header bytes, state, then id, key, size, data per chunk.
    for (long call = 0; call < 2 + 1 + 3 * 4; ++call) {
        g_fread.countdown = call;
        qor_rng_stream* t = nullptr;
        EXPECT_EQ(__rixLoadStreamF(&t, file_.c_str(), -1), QOR_RNG_STATUS_FILE_READ) << call;
        EXPECT_EQ(t, nullptr);
    }
    g_fread = Fault{};
    g_fclose.countdown = 0;
    qor_rng_stream* t = nullptr;
    EXPECT_EQ(__rixLoadStreamF(&t, file_.c_str(), -1), QOR_RNG_STATUS_FILE_CLOSE);
    EXPECT_EQ(t, nullptr);
}

TEST_F(StreamFaults, AllocationFailuresInCreationAndCopying) {
    const uint32_t seed = 5;
    qor_rng_stream* s = reinterpret_cast<qor_rng_stream*>(uintptr_t{0x40});
    g_allocate.countdown = 0;
    EXPECT_EQ(__rixNewStreamEx(&s, QOR_RNG_BRNG_MCG31M1, 1, &seed), QOR_RNG_STATUS_NO_MEMORY);
    EXPECT_EQ(s, nullptr);
    uint32_t buf[2] = {1, 2};
    g_allocate.countdown = 0;
    EXPECT_EQ(__rixiNewAbstractStream(&s, 2, buf, [](qor_rng_stream*, int32_t, uint32_t*) { return 0; }),
              QOR_RNG_STATUS_NO_MEMORY);
    EXPECT_EQ(s, nullptr);

    Stream src = stream_with_chunks();
    // The record itself, then each chunk's data and chunk record in turn.
    for (long call = 0; call < 1 + 3 * 2; ++call) {
        g_allocate.countdown = call;
        qor_rng_stream* c = reinterpret_cast<qor_rng_stream*>(uintptr_t{0x40});
        EXPECT_EQ(__rixCopyStream(&c, src.get()), QOR_RNG_STATUS_NO_MEMORY) << call;
        EXPECT_EQ(c, nullptr);
    }
    // A failed chunk copy leaves the destination without chunks.
    qor_rng_stream* raw = nullptr;
    g_allocate = Fault{};
    ASSERT_EQ(__rixNewStreamEx(&raw, QOR_RNG_BRNG_MCG59, 1, &seed), 0);
    Stream dst(raw);
    g_allocate.countdown = 3;
    EXPECT_EQ(__rixCopyChunks(dst.get(), src.get()), QOR_RNG_STATUS_NO_MEMORY);
    EXPECT_EQ(__rixGetNumChunks(dst.get()), 0);
    g_allocate.countdown = 2;
    EXPECT_EQ(__rixCopyStreamState(dst.get(), src.get()), QOR_RNG_STATUS_NO_MEMORY);
    EXPECT_EQ(__rixGetNumChunks(dst.get()), 0);
    g_allocate.countdown = 0;
    void* data = __real_qor_serv_allocate(4, 128);
    EXPECT_EQ(__rixAddChunk(dst.get(), 1, nullptr, data, 4), QOR_RNG_STATUS_NO_MEMORY);
    qor_serv_deallocate(data);
}

TEST_F(StreamFaults, AllocationFailuresInSavingAndLoading) {
    Stream s = stream_with_chunks();
    g_allocate.countdown = 0;  // the copy of an unterminated name
    EXPECT_EQ(__rixSaveStreamF(s.get(), file_.c_str(), static_cast<int32_t>(file_.size())),
              QOR_RNG_STATUS_NO_MEMORY);
    ASSERT_EQ(__rixSaveStreamF(s.get(), file_.c_str(), -1), 0);
    g_allocate.countdown = 0;
    qor_rng_stream* t = nullptr;
    EXPECT_EQ(__rixLoadStreamF(&t, file_.c_str(), static_cast<int32_t>(file_.size())), QOR_RNG_STATUS_NO_MEMORY);
    // The record, then each chunk's data and chunk record.
    std::vector<char> image(static_cast<size_t>(__rixGetStreamSize(s.get())));
    ASSERT_EQ(__rixSaveStreamM(s.get(), image.data()), 0);
    for (long call = 0; call < 1 + 3 * 2; ++call) {
        g_allocate.countdown = call;
        t = reinterpret_cast<qor_rng_stream*>(uintptr_t{0x40});
        EXPECT_EQ(__rixLoadStreamF(&t, file_.c_str(), -1), QOR_RNG_STATUS_NO_MEMORY) << call;
        EXPECT_EQ(t, nullptr);
        g_allocate.countdown = call;
        EXPECT_EQ(__rixLoadStreamM(&t, image.data()), QOR_RNG_STATUS_NO_MEMORY) << call;
        EXPECT_EQ(t, nullptr);
    }
}
