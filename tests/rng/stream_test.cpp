// Stream creation, copying, state copying and deletion; the leapfrog and
// skip-ahead dispatch; generators this build does not provide; abstract
// streams over a caller's buffer.
#include <cmath>
#include <cstring>
#include <limits>

#include "qor/qor_serv.h"
#include "rng_test_support.h"

using namespace rng_test;

namespace {

uint32_t next_int(qor_rng_stream* s) {
    uint32_t v = 0;
    EXPECT_EQ(__rixiBRngMCG31M1(s, 1, &v), 0);
    return v;
}

// Allocates a private chunk block holding `text`.
void* block_with(const char* text) {
    const size_t n = std::strlen(text) + 1;
    void* p = qor_serv_allocate(n, 128);
    std::memcpy(p, text, n);
    return p;
}

}  // namespace

TEST(NewStream, RecordsTheIdentifierHeaderAndAlignment) {
    for (int32_t id : {int32_t{QOR_RNG_BRNG_MCG31M1}, 0, int32_t{QOR_RNG_BRNG_MCG59}, 3}) {
        Stream s = make_stream(id, {17});
        ASSERT_NE(s, nullptr);
        EXPECT_EQ(s->brng, static_cast<uint32_t>(id));
        EXPECT_EQ(s->header_flag, 1);
        EXPECT_EQ(s->chunks, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(s.get()) % 128, 0u);
        EXPECT_EQ(__rixGetStreamStateBrng(s.get()), id);
    }
    // The legacy identifier 0 is MCG31m1 itself.
    Stream legacy = make_stream(0, {17}), current = make_stream(QOR_RNG_BRNG_MCG31M1, {17});
    for (int i = 0; i < 20; ++i) EXPECT_EQ(next_int(legacy.get()), next_int(current.get()));
}

TEST(NewStream, RefusesBadIdentifiersAndArgumentsWithoutAllocating) {
    const uint32_t seed = 1;
    for (int32_t id : {0xA00000, 0xB00000, 0xC00000, 0x500111, 0x100001, 279, 280, 281, 0x7FF00000, -1}) {
        qor_rng_stream* s = reinterpret_cast<qor_rng_stream*>(uintptr_t{0x1234});
        EXPECT_EQ(__rixNewStreamEx(&s, id, 1, &seed), QOR_RNG_STATUS_BAD_BRNG) << std::hex << id;
        EXPECT_EQ(s, reinterpret_cast<qor_rng_stream*>(uintptr_t{0x1234})) << std::hex << id;
    }
    EXPECT_EQ(__rixNewStreamEx(nullptr, QOR_RNG_BRNG_MCG31M1, 1, &seed), QOR_RNG_STATUS_BAD_ARGUMENT);
    qor_rng_stream* s = nullptr;
    EXPECT_EQ(__rixNewStreamEx(&s, QOR_RNG_BRNG_MCG31M1, 1, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(__rixNewStreamEx(&s, QOR_RNG_BRNG_MCG31M1, -4, nullptr), 0);
    EXPECT_EQ(next_int(s), 1u);
    __rixDeleteStream(&s);
}

TEST(DeleteStream, NullsThePointerAndRefusesNull) {
    qor_rng_stream* s = make_stream(QOR_RNG_BRNG_MCG59, {1}).release();
    EXPECT_EQ(__rixDeleteStream(&s), 0);
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(__rixDeleteStream(&s), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixDeleteStream(nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
}

TEST(CopyStream, CopiesTheWholeRecordAndTheChunks) {
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {4242});
    ASSERT_EQ(__rixLeapfrogStream(s.get(), 2, 5), 0);  // the copy must take the multiplier too
    next_int(s.get());
    ASSERT_EQ(__rixAddChunk(s.get(), 1, nullptr, block_with("first"), 6), 0);
    ASSERT_EQ(__rixAddChunk(s.get(), 2, nullptr, block_with("second"), 7), 0);
    Stream c = copy_of(s);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->brng, s->brng);
    EXPECT_EQ(c->header_flag, 1);
    for (int i = 0; i < 50; ++i) ASSERT_EQ(next_int(c.get()), next_int(s.get()));
    ASSERT_EQ(__rixGetNumChunks(c.get()), 2);
    // Private data is duplicated; the copy's list is in reverse order.
    EXPECT_STREQ(static_cast<const char*>(__rixSearchChunk(c.get(), 1)), "first");
    EXPECT_NE(__rixSearchChunk(c.get(), 1), __rixSearchChunk(s.get(), 1));
    EXPECT_EQ(c->chunks->id, 1u);
    EXPECT_EQ(s->chunks->id, 2u);
}

TEST(CopyStream, RefusesNullAndUnknownSources) {
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {1});
    qor_rng_stream* c = nullptr;
    EXPECT_EQ(__rixCopyStream(nullptr, s.get()), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixCopyStream(&c, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    const uint32_t saved = s->brng;
    s->brng = 0x7FF00000;
    EXPECT_EQ(__rixCopyStream(&c, s.get()), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(c, nullptr);
    s->brng = saved;
}

TEST(CopyStreamState, CopiesTheStateWordsAndTheChunks) {
    Stream src = make_stream(QOR_RNG_BRNG_MCG59, {1000});
    Stream dst = make_stream(QOR_RNG_BRNG_MCG59, {2000});
    uint64_t skip[3];
    ASSERT_EQ(__rixiBRngMCG59(src.get(), 3, skip), 0);
    ASSERT_EQ(__rixAddChunk(src.get(), 5, nullptr, block_with("src"), 4), 0);
    ASSERT_EQ(__rixAddChunk(dst.get(), 6, nullptr, block_with("dst"), 4), 0);
    ASSERT_EQ(__rixCopyStreamState(dst.get(), src.get()), 0);
    uint64_t a[10], b[10];
    __rixiBRngMCG59(src.get(), 10, a);
    __rixiBRngMCG59(dst.get(), 10, b);
    EXPECT_EQ(std::memcmp(a, b, sizeof a), 0);
    EXPECT_EQ(__rixGetNumChunks(dst.get()), 1);
    EXPECT_STREQ(static_cast<const char*>(__rixSearchChunk(dst.get(), 5)), "src");
    EXPECT_EQ(__rixSearchChunk(dst.get(), 6), nullptr);
}

TEST(CopyStreamState, MovesOnlyTheRegisteredStateWords) {
    // MCG31m1 registers one 4-byte word: the value, not the multiplier.
    Stream src = make_stream(QOR_RNG_BRNG_MCG31M1, {77});
    Stream dst = make_stream(QOR_RNG_BRNG_MCG31M1, {88});
    ASSERT_EQ(__rixLeapfrogStream(src.get(), 0, 2), 0);
    ASSERT_EQ(__rixCopyStreamState(dst.get(), src.get()), 0);
    Stream plain = make_stream(QOR_RNG_BRNG_MCG31M1, {77});
    for (int i = 0; i < 10; ++i) EXPECT_EQ(next_int(dst.get()), next_int(plain.get()));
}

TEST(CopyStreamState, SameStreamAndBadArguments) {
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {5});
    ASSERT_EQ(__rixAddChunk(s.get(), 1, nullptr, block_with("keep"), 5), 0);
    qor_rng_chunk* chunk = s->chunks;
    EXPECT_EQ(__rixCopyStreamState(s.get(), s.get()), 0);
    EXPECT_EQ(s->chunks, chunk);
    EXPECT_EQ(next_int(s.get()), 5u);
    EXPECT_EQ(__rixCopyStreamState(nullptr, s.get()), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixCopyStreamState(s.get(), nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
}

TEST(CopyStreamState, StaysInsideBothRecords) {
    // Wichmann-Hill registers 4 words of 16 bytes (64) in a 32-byte state;
    // copies between it and a small MCG31m1 record stay within each block
    // (the sanitizer build watches the bounds).
    const uint32_t seed = 1;
    qor_rng_stream* wh_raw = nullptr;
    __rixNewStreamEx(&wh_raw, QOR_RNG_BRNG_WH, 1, &seed);
    Stream wh(wh_raw), wh2(nullptr);
    qor_rng_stream* wh2_raw = nullptr;
    __rixNewStreamEx(&wh2_raw, QOR_RNG_BRNG_WH, 1, &seed);
    wh2.reset(wh2_raw);
    ASSERT_NE(wh, nullptr);
    std::memset(reinterpret_cast<char*>(wh.get()) + 16, 0x3C, 32);
    EXPECT_EQ(__rixCopyStreamState(wh2.get(), wh.get()), 0);
    EXPECT_EQ(std::memcmp(reinterpret_cast<char*>(wh.get()) + 16, reinterpret_cast<char*>(wh2.get()) + 16, 32), 0);
    Stream small = make_stream(QOR_RNG_BRNG_MCG31M1, {3});
    EXPECT_EQ(__rixCopyStreamState(small.get(), wh.get()), 0);
    EXPECT_EQ(__rixCopyStreamState(wh.get(), small.get()), 0);
}

TEST(Leapfrog, NegativeStreamCountIsRefusedAndTheStreamKept) {
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {99});
    EXPECT_EQ(__rixLeapfrogStream(s.get(), 0, -1), QOR_RNG_STATUS_BAD_STREAM_COUNT);
    EXPECT_EQ(__rixLeapfrogStream(nullptr, 0, 1), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixSkipAheadStream(nullptr, 1), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixSkipAheadStreamEx(nullptr, 1, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixSkipAheadStreamEx(s.get(), 1, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    Stream t = make_stream(QOR_RNG_BRNG_MCG31M1, {99});
    for (int i = 0; i < 20; ++i) EXPECT_EQ(next_int(s.get()), next_int(t.get()));
}

// ---- Abstract streams -------------------------------------------------------

namespace {

// Refills with consecutive numbers and counts its calls.
struct Counter {
    static inline int calls = 0;
    static inline uint32_t next = 100;
    static int32_t refill_ints(qor_rng_stream*, int32_t n, uint32_t* buf) {
        ++calls;
        for (int32_t i = 0; i < n; ++i) buf[i] = next++;
        return 0;
    }
    static int32_t refill_doubles(qor_rng_stream*, int32_t n, double* buf) {
        ++calls;
        for (int32_t i = 0; i < n; ++i) buf[i] = 0.125 * (next++ % 8);
        return 0;
    }
    static int32_t refill_floats(qor_rng_stream*, int32_t n, float* buf) {
        ++calls;
        for (int32_t i = 0; i < n; ++i) buf[i] = 0.25f * float(next++ % 4);
        return 0;
    }
    static int32_t refuse(qor_rng_stream*, int32_t, uint32_t*) { return -77; }
};

}  // namespace

TEST(AbstractStream, HandsOutTheBufferThenAsksForMore) {
    uint32_t buf[5] = {1, 2, 3, 4, 5};
    qor_rng_stream* raw = nullptr;
    ASSERT_EQ(__rixiNewAbstractStream(&raw, 5, buf, Counter::refill_ints), 0);
    Stream s(raw);
    EXPECT_EQ(s->brng, static_cast<uint32_t>(QOR_RNG_BRNG_IABSTRACT));
    Counter::calls = 0;
    Counter::next = 100;
    uint32_t out[12];
    ASSERT_EQ(__rixiBRngiAbstract(s.get(), 12, out), 0);
    const uint32_t want[12] = {1, 2, 3, 4, 5, 100, 101, 102, 103, 104, 105, 106};
    EXPECT_EQ(std::memcmp(out, want, sizeof out), 0);
    EXPECT_EQ(Counter::calls, 2);
    // Skip-ahead uses values up; leapfrog is not available.
    ASSERT_EQ(__rixSkipAheadStream(s.get(), 4), 0);
    ASSERT_EQ(__rixiBRngiAbstract(s.get(), 1, out), 0);
    EXPECT_EQ(out[0], 111u);  // 107-110 skipped
    EXPECT_EQ(__rixLeapfrogStream(s.get(), 0, 2), QOR_RNG_STATUS_NO_LEAPFROG);
    EXPECT_EQ(__rixSkipAheadStreamEx(s.get(), 0, nullptr), QOR_RNG_STATUS_NO_SKIP_AHEAD_EX);
    double d[2] = {7, 7};
    float f[2] = {7, 7};
    EXPECT_EQ(__rixdBRngiAbstract(s.get(), 2, d, 0, 1), QOR_RNG_STATUS_ABSTRACT_KIND);
    EXPECT_EQ(__rixsBRngiAbstract(s.get(), 2, f, 0, 1), QOR_RNG_STATUS_ABSTRACT_KIND);
    EXPECT_EQ(_rixdRngUniform(0, s.get(), 2, d, 0, 1), QOR_RNG_STATUS_ABSTRACT_KIND);
    EXPECT_EQ(d[0], 7.0);
}

TEST(AbstractStream, RealValuesAreRescaledToEachFillsBounds) {
    double buf[4] = {0.0, 0.25, 0.5, 0.75};  // on [0, 1)
    qor_rng_stream* raw = nullptr;
    ASSERT_EQ(__rixdNewAbstractStream(&raw, 4, buf, 0.0, 1.0, Counter::refill_doubles), 0);
    Stream s(raw);
    double out[4];
    ASSERT_EQ(__rixdBRngdAbstract(s.get(), 2, out, 0.0, 1.0), 0);
    EXPECT_EQ(out[0], 0.0);
    EXPECT_EQ(out[1], 0.25);
    ASSERT_EQ(_rixdRngUniform(0, s.get(), 2, out, 10.0, 14.0), 0);
    EXPECT_EQ(out[0], 12.0);
    EXPECT_EQ(out[1], 13.0);
    uint32_t w;
    EXPECT_EQ(__rixiBRngdAbstract(s.get(), 1, &w), QOR_RNG_STATUS_ABSTRACT_KIND);

    float fbuf[2] = {0.5f, 1.5f};  // on [0, 2)
    ASSERT_EQ(__rixsNewAbstractStream(&raw, 2, fbuf, 0.0f, 2.0f, Counter::refill_floats), 0);
    Stream fs(raw);
    float fout[2];
    ASSERT_EQ(_rixsRngUniform(0, fs.get(), 2, fout, -1.0f, 1.0f), 0);
    EXPECT_EQ(fout[0], -0.5f);
    EXPECT_EQ(fout[1], 0.5f);
    EXPECT_EQ(__rixdBRngsAbstract(fs.get(), 1, out, 0, 1), QOR_RNG_STATUS_ABSTRACT_KIND);
}

TEST(AbstractStream, ACallbacksRefusalIsReturned) {
    uint32_t buf[2] = {8, 9};
    qor_rng_stream* raw = nullptr;
    ASSERT_EQ(__rixiNewAbstractStream(&raw, 2, buf, Counter::refuse), 0);
    Stream s(raw);
    uint32_t out[4] = {0, 0, 0, 0};
    EXPECT_EQ(__rixiBRngiAbstract(s.get(), 4, out), -77);
    EXPECT_EQ(out[0], 8u);
    EXPECT_EQ(out[1], 9u);
    EXPECT_EQ(out[2], 0u);
}

TEST(AbstractStream, ConstructorsCheckTheirArguments) {
    uint32_t ibuf[1] = {1};
    double dbuf[1] = {0.5};
    float fbuf[1] = {0.5f};
    qor_rng_stream* s = nullptr;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(__rixiNewAbstractStream(&s, 0, ibuf, Counter::refill_ints), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixiNewAbstractStream(&s, -1, ibuf, Counter::refill_ints), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixiNewAbstractStream(&s, 1, nullptr, Counter::refill_ints), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixiNewAbstractStream(&s, 1, ibuf, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixiNewAbstractStream(nullptr, 1, ibuf, Counter::refill_ints), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixdNewAbstractStream(&s, 1, dbuf, 1.0, 1.0, Counter::refill_doubles), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixdNewAbstractStream(&s, 1, dbuf, 2.0, 1.0, Counter::refill_doubles), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixdNewAbstractStream(&s, 1, dbuf, nan, 1.0, Counter::refill_doubles), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixdNewAbstractStream(&s, 0, dbuf, 0.0, 1.0, Counter::refill_doubles), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixsNewAbstractStream(&s, 1, fbuf, 1.0f, 0.0f, Counter::refill_floats), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixsNewAbstractStream(&s, 1, fbuf, 0.0f, 1.0f, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(s, nullptr);
}
