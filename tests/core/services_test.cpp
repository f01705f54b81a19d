// The services the kernel library imports from the core: memory, bounded
// copy, locks, environment, thread-function lookup, processor query.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "qor/qor.h"
#include "qor/qor_serv.h"
#include "qor/qor_threading.h"

namespace {

bool aligned_to(const void* p, std::size_t alignment) {
    return reinterpret_cast<std::uintptr_t>(p) % alignment == 0;
}

TEST(Allocate, HonoursEveryPowerOfTwoAlignment) {
    for (int alignment = 1; alignment <= 4096; alignment *= 2) {
        for (std::size_t size : {1u, 7u, 128u, 1000u}) {
            void* p = qor_serv_allocate(size, alignment);
            ASSERT_NE(p, nullptr) << "alignment " << alignment << " size " << size;
            EXPECT_TRUE(aligned_to(p, static_cast<std::size_t>(alignment)));
            std::memset(p, 0xA5, size);  // the whole block is writable
            qor_serv_deallocate(p);
        }
    }
}

TEST(Allocate, BuffersOfTheKernelLibraryAre128ByteAligned) {
    std::vector<void*> blocks;
    for (int i = 0; i < 64; ++i) {
        blocks.push_back(qor_serv_allocate(24 + 40 * i, 128));
        ASSERT_NE(blocks.back(), nullptr);
        EXPECT_TRUE(aligned_to(blocks.back(), 128));
    }
    for (void* p : blocks) qor_serv_deallocate(p);
}

TEST(Allocate, ZeroAlignmentMeans64) {
    void* p = qor_serv_allocate(100, 0);
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(aligned_to(p, 64));
    qor_serv_deallocate(p);
}

TEST(Allocate, RejectsZeroSizeBadAlignmentAndImpossibleSizes) {
    EXPECT_EQ(qor_serv_allocate(0, 128), nullptr);
    EXPECT_EQ(qor_serv_allocate(64, 3), nullptr);
    EXPECT_EQ(qor_serv_allocate(64, 96), nullptr);
    EXPECT_EQ(qor_serv_allocate(64, -128), nullptr);
    EXPECT_EQ(qor_serv_allocate(SIZE_MAX - 64, 128), nullptr);
    qor_serv_deallocate(nullptr);  // accepted and ignored
}

TEST(MemcpyS, CopiesWhenTheDataFits) {
    char dest[8] = "xxxxxxx";
    EXPECT_EQ(qor_serv_memcpy_s(dest, sizeof dest, "abc", 3), 0);
    EXPECT_EQ(std::string(dest, 7), "abcxxxx");
    EXPECT_EQ(qor_serv_memcpy_s(dest, sizeof dest, "01234567", 8), 0);  // exactly full
    EXPECT_EQ(std::memcmp(dest, "01234567", 8), 0);
}

TEST(MemcpyS, TooMuchDataClearsTheDestinationAndReportsRange) {
    char dest[8];
    std::memset(dest, 'x', sizeof dest);
    // Only the first dest_size bytes belong to the destination.
    EXPECT_EQ(qor_serv_memcpy_s(dest, 4, "abcdef", 6), ERANGE);
    EXPECT_EQ(std::string(dest, 8), std::string("\0\0\0\0xxxx", 8));
}

TEST(MemcpyS, NullPointersAreInvalid) {
    char dest[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(qor_serv_memcpy_s(nullptr, 4, "ab", 2), EINVAL);
    EXPECT_EQ(qor_serv_memcpy_s(dest, sizeof dest, nullptr, 2), EINVAL);
    EXPECT_EQ(std::string(dest, 4), std::string(4, '\0'));  // cleared, as for a range error
}

TEST(MemcpyS, CountZeroDoesNothingAndOverlapIsAllowed) {
    EXPECT_EQ(qor_serv_memcpy_s(nullptr, 0, nullptr, 0), 0);
    char text[] = "abcdefgh";
    EXPECT_EQ(qor_serv_memcpy_s(text + 2, 6, text, 6), 0);
    EXPECT_STREQ(text, "ababcdef");
}

TEST(Lock, ProtectsACounterUnderContention) {
    volatile int32_t lock = 0;
    long counter = 0;  // deliberately not atomic: only the lock protects it
    constexpr int kThreads = 4, kRounds = 20000;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i) {
                qor_serv_lock(&lock);
                long seen = counter;
                std::this_thread::yield();  // widen the window a broken lock would expose
                counter = seen + 1;
                qor_serv_unlock(&lock);
                if (i % 4096 == 0) std::this_thread::yield();
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(counter, long{kThreads} * kRounds);
    EXPECT_EQ(lock, 0);
}

TEST(Lock, TakesAndReleasesTheWord) {
    volatile int32_t lock = 0;
    qor_serv_lock(&lock);
    EXPECT_NE(lock, 0);
    qor_serv_unlock(&lock);
    EXPECT_EQ(lock, 0);
}

TEST(Getenv, ReturnsTheFullLengthAndTruncatesTheCopy) {
    ASSERT_EQ(setenv("QOR_TEST_GETENV", "LUM_EP,LUM_ERRMODE_STDERR", 1), 0);
    char buf[8];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(qor_serv_getenv(buf, sizeof buf, "QOR_TEST_GETENV"), 25);
    EXPECT_STREQ(buf, "LUM_EP,");  // size - 1 characters and the terminator

    char big[64];
    EXPECT_EQ(qor_serv_getenv(big, sizeof big, "QOR_TEST_GETENV"), 25);
    EXPECT_STREQ(big, "LUM_EP,LUM_ERRMODE_STDERR");

    char exact[26];
    EXPECT_EQ(qor_serv_getenv(exact, sizeof exact, "QOR_TEST_GETENV"), 25);
    EXPECT_STREQ(exact, "LUM_EP,LUM_ERRMODE_STDERR");
    unsetenv("QOR_TEST_GETENV");
}

TEST(Getenv, AbsentEmptyAndLengthOnlyQueries) {
    unsetenv("QOR_TEST_ABSENT");
    char buf[16] = "stale";
    EXPECT_EQ(qor_serv_getenv(buf, sizeof buf, "QOR_TEST_ABSENT"), 0);
    EXPECT_STREQ(buf, "");

    ASSERT_EQ(setenv("QOR_TEST_EMPTY", "", 1), 0);
    std::strcpy(buf, "stale");
    EXPECT_EQ(qor_serv_getenv(buf, sizeof buf, "QOR_TEST_EMPTY"), 0);
    EXPECT_STREQ(buf, "");
    unsetenv("QOR_TEST_EMPTY");

    ASSERT_EQ(setenv("QOR_TEST_LEN", "12345", 1), 0);
    EXPECT_EQ(qor_serv_getenv(nullptr, 0, "QOR_TEST_LEN"), 5);
    char one[1] = {'x'};
    EXPECT_EQ(qor_serv_getenv(one, 1, "QOR_TEST_LEN"), 5);
    EXPECT_EQ(one[0], '\0');
    EXPECT_EQ(qor_serv_getenv(buf, sizeof buf, nullptr), 0);
    unsetenv("QOR_TEST_LEN");
}

std::atomic<int> worker_calls{0};
void count_worker(int, int, void*) { worker_calls.fetch_add(1); }

TEST(LoadThreadFun, FindsBothThreadingServicesByName) {
    auto parallel_for =
        reinterpret_cast<qor_threader_for_fn>(qor_serv_load_thread_fun("qor_rix_serv_threader_for"));
    auto limit = reinterpret_cast<qor_threader_limit_fn>(
        qor_serv_load_thread_fun("qor_rix_serv_threader_get_num_threads_limit"));
    ASSERT_NE(parallel_for, nullptr);
    ASSERT_NE(limit, nullptr);
    EXPECT_EQ(limit(), qor_get_max_threads());
    worker_calls = 0;
    parallel_for(50, 0, nullptr, count_worker);
    EXPECT_EQ(worker_calls.load(), 50);
}

TEST(LoadThreadFun, UnknownNamesGiveNull) {
    EXPECT_EQ(qor_serv_load_thread_fun(nullptr), nullptr);
    EXPECT_EQ(qor_serv_load_thread_fun(""), nullptr);
    EXPECT_EQ(qor_serv_load_thread_fun("qor_rix_serv_threader_fo"), nullptr);
    EXPECT_EQ(qor_serv_load_thread_fun("qor_rix_serv_threader_for "), nullptr);
    EXPECT_EQ(qor_serv_load_thread_fun("qor_serv_allocate"), nullptr);
}

TEST(CpuQuery, VectorAesAgreesWithTheFeatureBits) {
    const uint32_t features = qor_cpu_features();
    EXPECT_EQ(qor_serv_cpuisicx() != 0, (features & QOR_CPU_VAES) != 0);
    if (features & QOR_CPU_VAES) {
        EXPECT_TRUE(features & QOR_CPU_AVX);
    }
}

}  // namespace
