// The chunk list of a stream and the process-wide read-only data table:
// private and shared data, reference counts, a full table, deletion by id
// and concurrent use of the table.
#include <array>
#include <cstring>
#include <thread>
#include <vector>

#include "qor/qor_serv.h"
#include "rng_test_support.h"

using namespace rng_test;

namespace {

void* block_of(size_t n, unsigned char fill) {
    void* p = qor_serv_allocate(n, 128);
    std::memset(p, fill, n);
    return p;
}

uint32_t ref_count(const uint64_t* key) {
    qor_rng_ro_entry* e = nullptr;
    return __rixFindGlobRODataTableEntry(&e, key) == 0 ? e->ref_count : 0;
}

}  // namespace

TEST(Chunks, NewestFirstSearchCountAndDelete) {
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {1});
    EXPECT_EQ(__rixGetNumChunks(s.get()), 0);
    void* a = block_of(16, 1);
    void* b = block_of(16, 2);
    void* c = block_of(16, 3);
    ASSERT_EQ(__rixAddChunk(s.get(), 7, nullptr, a, 16), 0);
    ASSERT_EQ(__rixAddChunk(s.get(), 8, nullptr, b, 16), 0);
    ASSERT_EQ(__rixAddChunk(s.get(), 7, nullptr, c, 16), 0);
    EXPECT_EQ(__rixGetNumChunks(s.get()), 3);
    EXPECT_EQ(__rixSearchChunk(s.get(), 7), c);
    EXPECT_EQ(__rixSearchChunk(s.get(), 8), b);
    EXPECT_EQ(__rixSearchChunk(s.get(), 9), nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(s->chunks) % 128, 0u);
    EXPECT_EQ(s->chunks->key[0] | s->chunks->key[1], 0u);
    EXPECT_EQ(__rixDeleteChunks(s.get()), 0);
    EXPECT_EQ(s->chunks, nullptr);
    EXPECT_EQ(__rixGetNumChunks(s.get()), 0);
    // A chunk without data is allowed.
    ASSERT_EQ(__rixAddChunk(s.get(), 1, nullptr, nullptr, 0), 0);
    EXPECT_EQ(__rixGetNumChunks(s.get()), 1);
}

TEST(Chunks, NullStreamsAreRefused) {
    EXPECT_EQ(__rixAddChunk(nullptr, 1, nullptr, nullptr, 0), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixDeleteChunks(nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixDeleteChunksById(nullptr, 1), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixCopyChunks(nullptr, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixSearchChunk(nullptr, 1), nullptr);
    EXPECT_EQ(__rixGetNumChunks(nullptr), 0);
}

TEST(Chunks, DeleteByIdWithOneKeptChunk) {
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {1});
    void* keep = block_of(8, 1);
    ASSERT_EQ(__rixAddChunk(s.get(), 2, nullptr, block_of(8, 0), 8), 0);
    ASSERT_EQ(__rixAddChunk(s.get(), 1, nullptr, keep, 8), 0);
    ASSERT_EQ(__rixAddChunk(s.get(), 2, nullptr, block_of(8, 0), 8), 0);
    ASSERT_EQ(__rixDeleteChunksById(s.get(), 2), 0);
    EXPECT_EQ(__rixGetNumChunks(s.get()), 1);
    EXPECT_EQ(__rixSearchChunk(s.get(), 1), keep);
    EXPECT_EQ(s->chunks->next, nullptr);
    ASSERT_EQ(__rixDeleteChunksById(s.get(), 1), 0);
    EXPECT_EQ(s->chunks, nullptr);
}

// With several chunks kept, the head becomes the last kept one and the
// kept chunks before it drop out of the list (the established behaviour);
// the test frees the dropped chunk itself.
TEST(Chunks, DeleteByIdWithSeveralKeptChunksKeepsOnlyTheLastKeptReachable) {
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {1});
    void* oldest = block_of(8, 3);
    void* newest = block_of(8, 1);
    ASSERT_EQ(__rixAddChunk(s.get(), 1, nullptr, oldest, 8), 0);
    ASSERT_EQ(__rixAddChunk(s.get(), 2, nullptr, block_of(8, 2), 8), 0);
    ASSERT_EQ(__rixAddChunk(s.get(), 1, nullptr, newest, 8), 0);
    qor_rng_chunk* first_kept = s->chunks;
    ASSERT_EQ(__rixDeleteChunksById(s.get(), 2), 0);
    EXPECT_EQ(__rixGetNumChunks(s.get()), 1);
    EXPECT_EQ(__rixSearchChunk(s.get(), 1), oldest);
    EXPECT_EQ(first_kept->data, newest);
    EXPECT_EQ(first_kept->next, s->chunks);  // relinked past the removed chunk
    qor_serv_deallocate(first_kept->data);
    qor_serv_deallocate(first_kept);
}

TEST(Chunks, CopyDuplicatesPrivateDataInReverseOrder) {
    Stream src = make_stream(QOR_RNG_BRNG_MCG31M1, {1});
    Stream dst = make_stream(QOR_RNG_BRNG_MCG31M1, {1});
    ASSERT_EQ(__rixAddChunk(src.get(), 1, nullptr, block_of(100, 0xA1), 100), 0);
    ASSERT_EQ(__rixAddChunk(src.get(), 2, nullptr, block_of(50, 0xB2), 50), 0);
    ASSERT_EQ(__rixAddChunk(src.get(), 3, nullptr, nullptr, 0), 0);
    ASSERT_EQ(__rixCopyChunks(dst.get(), src.get()), 0);
    ASSERT_EQ(__rixGetNumChunks(dst.get()), 3);
    const uint32_t order[3] = {1, 2, 3};
    int i = 0;
    for (const qor_rng_chunk* c = dst->chunks; c; c = c->next, ++i) EXPECT_EQ(c->id, order[i]);
    for (uint32_t id : {1u, 2u}) {
        const auto* a = static_cast<const unsigned char*>(__rixSearchChunk(src.get(), id));
        const auto* b = static_cast<const unsigned char*>(__rixSearchChunk(dst.get(), id));
        EXPECT_NE(a, b);
        const size_t n = id == 1 ? 100 : 50;
        EXPECT_EQ(std::memcmp(a, b, n), 0);
    }
    EXPECT_EQ(__rixSearchChunk(dst.get(), 3), nullptr);
}

TEST(ReadOnlyTable, KeyedChunksShareOneBlockUntilTheLastHolderGoes) {
    const uint64_t key[2] = {0x5EED5EED00000001ull, 0xC0FFEE};
    void* shared = block_of(64, 0x11);
    Stream a = make_stream(QOR_RNG_BRNG_MCG31M1, {1});
    Stream b = make_stream(QOR_RNG_BRNG_MCG59, {1});
    ASSERT_EQ(__rixAddChunk(a.get(), 9, key, shared, 64), 0);
    EXPECT_EQ(ref_count(key), 1u);
    // The second holder gets the table's block; its own stays the caller's.
    void* offered = block_of(64, 0x22);
    ASSERT_EQ(__rixAddChunk(b.get(), 9, key, offered, 64), 0);
    qor_serv_deallocate(offered);
    EXPECT_EQ(__rixSearchChunk(b.get(), 9), shared);
    EXPECT_EQ(ref_count(key), 2u);
    // Copies of a shared chunk share too.
    Stream c = copy_of(a);
    EXPECT_EQ(__rixSearchChunk(c.get(), 9), shared);
    EXPECT_EQ(ref_count(key), 3u);
    a.reset();
    c.reset();
    EXPECT_EQ(ref_count(key), 1u);
    EXPECT_EQ(static_cast<const unsigned char*>(__rixSearchChunk(b.get(), 9))[63], 0x11);
    b.reset();
    EXPECT_EQ(__rixFindGlobRODataTableEntry(nullptr, key), QOR_RNG_STATUS_RO_DATA_TABLE);
}

TEST(ReadOnlyTable, EntryLifecycleThroughTheExports) {
    const uint64_t key[2] = {0x5EED5EED00000002ull, 7};
    const uint64_t empty[2] = {0, 0};
    qor_rng_ro_entry* e = nullptr;
    EXPECT_EQ(__rixFindGlobRODataTableEntry(&e, nullptr), QOR_RNG_STATUS_RO_DATA_TABLE);
    EXPECT_EQ(__rixFindGlobRODataTableEntry(&e, empty), QOR_RNG_STATUS_RO_DATA_TABLE);
    EXPECT_EQ(__rixFindGlobRODataTableEntry(&e, key), QOR_RNG_STATUS_RO_DATA_TABLE);
    void* data = block_of(32, 0x33);
    ASSERT_EQ(__rixCreateGlobRODataTableEntry(&e, key, data), 0);
    EXPECT_EQ(e->key[0], key[0]);
    EXPECT_EQ(e->key[1], key[1]);
    EXPECT_EQ(e->ref_count, 1u);
    EXPECT_EQ(e->data, data);
    void* holder = nullptr;
    ASSERT_EQ(__rixRegisterGlobRODataReference(&holder, key), 0);
    EXPECT_EQ(holder, data);
    EXPECT_EQ(ref_count(key), 2u);
    const uint64_t absent[2] = {0x5EED5EED0000FFFFull, 1};
    void* untouched = &holder;
    EXPECT_EQ(__rixRegisterGlobRODataReference(&untouched, absent), 0);
    EXPECT_EQ(untouched, &holder);
    EXPECT_EQ(__rixUnregisterGlobRODataReference(absent), 0);
    EXPECT_EQ(__rixUnregisterGlobRODataReference(key), 0);
    EXPECT_EQ(ref_count(key), 1u);
    EXPECT_EQ(__rixUnregisterGlobRODataReference(key), 0);  // frees the block
    EXPECT_EQ(__rixFindGlobRODataTableEntry(&e, key), QOR_RNG_STATUS_RO_DATA_TABLE);
    EXPECT_EQ(__rixCreateGlobRODataTableEntry(&e, nullptr, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixRegisterGlobRODataReference(nullptr, key), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixUnregisterGlobRODataReference(nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
}

TEST(ReadOnlyTable, AFullTableRefusesEntriesAndKeepsNewChunksPrivate) {
    std::vector<std::array<uint64_t, 2>> keys;
    qor_rng_ro_entry* e = nullptr;
    for (uint64_t i = 1;; ++i) {
        std::array<uint64_t, 2> k = {0x5EED5EED10000000ull + i, 3};
        void* data = block_of(8, 0);
        if (__rixCreateGlobRODataTableEntry(&e, k.data(), data) != 0) {
            qor_serv_deallocate(data);
            break;
        }
        keys.push_back(k);
        ASSERT_LE(keys.size(), size_t{QOR_RNG_RO_TABLE_ROOM});
    }
    EXPECT_GE(keys.size(), 1u);
    // A chunk with a new key stays private, its key cleared.
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {1});
    const uint64_t fresh[2] = {0x5EED5EED20000000ull, 1};
    void* mine = block_of(8, 0x44);
    ASSERT_EQ(__rixAddChunk(s.get(), 1, fresh, mine, 8), 0);
    EXPECT_EQ(s->chunks->data, mine);
    EXPECT_EQ(s->chunks->key[0] | s->chunks->key[1], 0u);
    EXPECT_EQ(__rixFindGlobRODataTableEntry(nullptr, fresh), QOR_RNG_STATUS_RO_DATA_TABLE);
    // A key already in the table is still shared.
    ASSERT_EQ(__rixAddChunk(s.get(), 2, keys[0].data(), nullptr, 8), 0);
    EXPECT_EQ(ref_count(keys[0].data()), 2u);
    s.reset();
    for (const auto& k : keys) EXPECT_EQ(__rixUnregisterGlobRODataReference(k.data()), 0);
    for (const auto& k : keys)
        EXPECT_EQ(__rixFindGlobRODataTableEntry(nullptr, k.data()), QOR_RNG_STATUS_RO_DATA_TABLE);
}

TEST(ReadOnlyTable, NewIdentifierWaitsUntilTheKeyIsFree) {
    uint64_t key[2] = {0x5EED5EED30000000ull, 0};
    ASSERT_EQ(__rixGenerateNewGlobalRODataTableEntryId(key, 0xABC), 0);
    EXPECT_EQ(key[0], 0x5EED5EED30000000ull);
    EXPECT_EQ(key[1], 0xABCu);
    EXPECT_EQ(__rixGenerateNewGlobalRODataTableEntryId(nullptr, 1), QOR_RNG_STATUS_BAD_ARGUMENT);
    // Taken key: the call returns once another thread has released it.
    ASSERT_EQ(__rixCreateGlobRODataTableEntry(nullptr, key, block_of(8, 0)), 0);
    std::thread releaser([&] {
        std::this_thread::yield();
        __rixUnregisterGlobRODataReference(key);
    });
    uint64_t probe[2] = {key[0], 0};
    EXPECT_EQ(__rixGenerateNewGlobalRODataTableEntryId(probe, 0xABC), 0);
    releaser.join();
    EXPECT_EQ(__rixFindGlobRODataTableEntry(nullptr, key), QOR_RNG_STATUS_RO_DATA_TABLE);
}

TEST(ReadOnlyTable, ConcurrentHoldersLeaveNoEntryBehind) {
    const uint64_t key[2] = {0x5EED5EED40000000ull, 9};
    constexpr int kThreads = 4, kRounds = 300;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&key] {
            for (int r = 0; r < kRounds; ++r) {
                qor_rng_stream* s = nullptr;
                const uint32_t seed = 1;
                __rixNewStreamEx(&s, QOR_RNG_BRNG_MCG31M1, 1, &seed);
                void* mine = block_of(16, 0x55);
                __rixAddChunk(s, 1, key, mine, 16);
                if (s->chunks->data != mine) qor_serv_deallocate(mine);
                __rixDeleteStream(&s);
            }
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(__rixFindGlobRODataTableEntry(nullptr, key), QOR_RNG_STATUS_RO_DATA_TABLE);
}
