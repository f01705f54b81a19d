// MT19937 against Matsumoto and Nishimura's published reference output and
// against std::mt19937 loaded with the same state; skip-ahead against
// drawing and discarding on both sides of the stepping limit, long skips
// checked by doubling (skip 2^k twice equals skip 2^(k+1)) from a length
// verified by stepping; split fills; save, load and copy.  The generic
// polynomial routines are checked on a small field, x^c mod q.
#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "rng_test_support.h"

using namespace rng_test;

namespace {

const std::vector<uint32_t> kReferenceKey = {0x123, 0x234, 0x345, 0x456};

std::vector<uint32_t> ints(qor_rng_stream* s, int32_t n) {
    std::vector<uint32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(__rixiBRngMT19937(s, n, r.data()), 0);
    return r;
}

void skip(qor_rng_stream* s, uint64_t count) { ASSERT_EQ(__rixSkipAheadStream(s, count), 0); }

// Draws and discards count outputs in pieces.
void discard(qor_rng_stream* s, uint64_t count) {
    std::vector<uint32_t> sink(1 << 16);
    for (; count; count -= std::min<uint64_t>(count, sink.size()))
        __rixiBRngMT19937(s, static_cast<int32_t>(std::min<uint64_t>(count, sink.size())), sink.data());
}

// A stream part way through its vector, so that skips start off a boundary.
Stream drawn_stream(std::vector<uint32_t> key, int32_t drawn) {
    Stream s = make_stream(QOR_RNG_BRNG_MT19937, std::move(key));
    ints(s.get(), drawn);
    return s;
}

TEST(Mt19937, PublishedReferenceOutput) {
    std::ifstream in(QOR_TEST_VECTORS_DIR "/mt19937ar.out");
    ASSERT_TRUE(in) << "missing reference file";
    Stream s = make_stream(QOR_RNG_BRNG_MT19937, kReferenceKey);
    std::string line;
    std::getline(in, line);
    const auto got = ints(s.get(), 1000);
    for (uint32_t expected, i = 0; i < 1000; ++i) {
        ASSERT_TRUE(in >> expected);
        ASSERT_EQ(got[i], expected) << "output " << i;
    }
    EXPECT_EQ(got[0], 1067595299u);
    std::getline(in, line);
    std::getline(in, line);
    std::getline(in, line);  // the title of the reals
    std::vector<double> reals(1000);
    ASSERT_EQ(__rixdBRngMT19937(s.get(), 1000, reals.data(), 0.0, 1.0), 0);
    for (int i = 0; i < 1000; ++i) {
        std::string expected;
        ASSERT_TRUE(in >> expected);
        char printed[32];
        std::snprintf(printed, sizeof printed, "%10.8f", reals[static_cast<size_t>(i)]);
        ASSERT_EQ(printed, expected) << "real " << i;
    }
}

TEST(Mt19937, EqualsStandardTwisterFromTheSameState) {
    for (int32_t drawn : {0, 1, 623, 624, 1000}) {
        Stream s = drawn_stream({7, 8, 9}, drawn);
        // The state words, then the index of the next output.
        const auto* words = reinterpret_cast<const uint32_t*>(reinterpret_cast<const char*>(s.get()) + 16);
        std::stringstream text;
        for (int k = 0; k < 625; ++k) text << words[k] << ' ';
        std::mt19937 oracle;
        text >> oracle;
        ASSERT_FALSE(text.fail());
        const auto got = ints(s.get(), 3000);
        for (size_t i = 0; i < got.size(); ++i) ASSERT_EQ(got[i], oracle()) << "drawn " << drawn << " output " << i;
    }
}

TEST(Mt19937, RealsAreTheScaledIntegersAndSplitFillsEqualOneFill) {
    Stream one = make_stream(QOR_RNG_BRNG_MT19937, {5});
    Stream ref = copy_of(one), split_d = copy_of(one), split_f = copy_of(one), split_i = copy_of(one);
    const int32_t n = 10000;
    const auto words = ints(ref.get(), n);
    std::vector<double> d(n);
    std::vector<float> f(n);
    ASSERT_EQ(__rixdBRngMT19937(one.get(), n, d.data(), -2.0, 3.0), 0);
    const double c = (3.0 - -2.0) * 0x1p-32;
    for (int32_t i = 0; i < n; ++i) ASSERT_EQ(d[static_cast<size_t>(i)], words[static_cast<size_t>(i)] * c + -2.0);
    std::vector<double> d2(n);
    std::vector<float> f2(n);
    std::vector<uint32_t> i2(n);
    int32_t at = 0;
    for (int32_t piece : {1, 623, 624, 625, n - 1873}) {
        __rixdBRngMT19937(split_d.get(), piece, d2.data() + at, -2.0, 3.0);
        __rixsBRngMT19937(split_f.get(), piece, f2.data() + at, 0.0f, 1.0f);
        __rixiBRngMT19937(split_i.get(), piece, i2.data() + at);
        at += piece;
    }
    EXPECT_EQ(d2, d);
    EXPECT_EQ(i2, words);
    for (int32_t i = 0; i < n; ++i) ASSERT_EQ(f2[static_cast<size_t>(i)], static_cast<float>(words[static_cast<size_t>(i)] * 0x1p-32));
}

TEST(Mt19937, SeedingAndRefusedMethods) {
    Stream empty = make_stream(QOR_RNG_BRNG_MT19937, {}), one = make_stream(QOR_RNG_BRNG_MT19937, {1});
    EXPECT_EQ(ints(empty.get(), 700), ints(one.get(), 700));
    EXPECT_EQ(__rixLeapfrogStream(one.get(), 0, 2), QOR_RNG_STATUS_NO_LEAPFROG);
    EXPECT_EQ(__rixBRngMT19937InitStream(4, one.get(), 0, nullptr), QOR_RNG_STATUS_BAD_METHOD);
}

TEST(Mt19937, SkipEqualsDrawingAndDiscarding) {
    // Both sides of the stepping limit, vector boundaries, and a length
    // beyond the limit that starts the doubling chain below.
    for (uint64_t count : {0ull, 1ull, 227ull, 623ull, 624ull, 625ull, 2097151ull, 2097152ull, 1ull << 22}) {
        for (int32_t drawn : {0, 100, 624}) {
            Stream a = drawn_stream({11, 12}, drawn), b = copy_of(a);
            skip(a.get(), count);
            discard(b.get(), count);
            ASSERT_EQ(ints(a.get(), 1300), ints(b.get(), 1300)) << "count " << count << " drawn " << drawn;
        }
    }
}

TEST(Mt19937, LongSkipsComposeByDoubling) {
    // Skip 2^22 is verified by stepping above; by induction every 2^k up to
    // 2^64 is then right.
    Stream base = drawn_stream({13}, 100);
    for (int k = 22; k < 64; ++k) {
        Stream twice = copy_of(base), once = copy_of(base);
        skip(twice.get(), 1ull << k);
        skip(twice.get(), 1ull << k);
        if (k < 63) {
            skip(once.get(), 1ull << (k + 1));
        } else {  // 2^64 as 2^64 - 1 and one output
            skip(once.get(), ~0ull);
            ints(once.get(), 1);
        }
        ASSERT_EQ(ints(twice.get(), 700), ints(once.get(), 700)) << "2^" << k + 1;
    }
    // 2^40 plus a few lands the same as 2^40 and drawing the few.
    Stream a = copy_of(base), b = copy_of(base);
    skip(a.get(), (1ull << 40) + 5);
    skip(b.get(), 1ull << 40);
    ints(b.get(), 5);
    EXPECT_EQ(ints(a.get(), 700), ints(b.get(), 700));
}

TEST(Mt19937, SkipsByManyWordsEqualSkipsByOne) {
    Stream base = drawn_stream({17}, 300);
    auto after_words = [&](std::vector<uint64_t> words) {
        Stream s = copy_of(base);
        EXPECT_EQ(__rixSkipAheadStreamEx(s.get(), static_cast<int32_t>(words.size()), words.data()), 0);
        return ints(s.get(), 700);
    };
    auto after_skips = [&](std::initializer_list<uint64_t> counts) {
        Stream s = copy_of(base);
        for (uint64_t c : counts) skip(s.get(), c);
        return ints(s.get(), 700);
    };
    EXPECT_EQ(after_words({2097152, 0, 0}), after_skips({2097152}));
    EXPECT_EQ(after_words({}), after_skips({}));
    // 3 * 2^64 + 12345 as six skips of 2^63 and the rest.
    const uint64_t half = 1ull << 63;
    EXPECT_EQ(after_words({12345, 3}), after_skips({half, half, half, half, half, half, 12345}));
    // 624 periods and 5000 outputs: 624 * (2^19937 - 1) + 5000 = 624 * 2^19937 + 4376,
    // the same as 5000 outputs (the vector returns after whole periods).
    std::vector<uint64_t> periods(313, 0);
    periods[311] = 624ull << (19937 - 311 * 64);
    periods[0] = 4376;
    EXPECT_EQ(after_words(periods), after_skips({5000}));
    // 124 periods and 3 outputs, 124 * 2^19937 - 121: the count reduces to 3
    // while the vector position moves by 103 (124 * period = 100 mod 624).
    std::vector<uint64_t> wrapped(312, ~0ull);
    wrapped[311] = (124ull << (19937 - 311 * 64)) - 1;
    wrapped[0] = -121ull;
    EXPECT_EQ(after_words(wrapped), after_skips({3}));
}

TEST(Mt19937, SaveLoadAndCopyContinueTheStream) {
    Stream s = drawn_stream({21, 22}, 500);
    std::vector<char> image(static_cast<size_t>(__rixGetStreamSize(s.get())));
    ASSERT_EQ(__rixSaveStreamM(s.get(), image.data()), 0);
    qor_rng_stream* raw = nullptr;
    ASSERT_EQ(__rixLoadStreamM(&raw, image.data()), 0);
    Stream loaded(raw), copied = copy_of(s);
    const auto expected = ints(s.get(), 2000);
    EXPECT_EQ(ints(loaded.get(), 2000), expected);
    EXPECT_EQ(ints(copied.get(), 2000), expected);
}

// ---- The polynomial routines on GF(2)[x] / (x^127 + x + 1) -----------------
// A state is a polynomial below degree 127 and the step multiplies it by x,
// so applying g to state a gives g * a mod q, and skipping c steps from the
// state 1 gives x^c mod q.

struct Poly127 {
    uint64_t w[2];
};
const uint64_t kQ127[2] = {0x3, 0x8000000000000000};  // x^127 + x + 1

void times_x(void* p) {
    auto& a = *static_cast<Poly127*>(p);
    const bool top = (a.w[1] >> 62) & 1;
    a.w[1] = ((a.w[1] << 1) | (a.w[0] >> 63)) & 0x7FFFFFFFFFFFFFFF;
    a.w[0] = (a.w[0] << 1) ^ (top ? 0x3 : 0);
}
void copy127(void* d, const void* s) { *static_cast<Poly127*>(d) = *static_cast<const Poly127*>(s); }
void add127(void* d, const void* s) {
    static_cast<Poly127*>(d)->w[0] ^= static_cast<const Poly127*>(s)->w[0];
    static_cast<Poly127*>(d)->w[1] ^= static_cast<const Poly127*>(s)->w[1];
}

TEST(PolynomialSkip, RemainderHornerAndWindowsAgree) {
    for (int32_t c : {0, 1, 126, 127, 128, 300, 4099}) {
        SCOPED_TRACE(c);
        std::vector<uint64_t> monomial(static_cast<size_t>(c / 64 + 1), 0);
        monomial[static_cast<size_t>(c / 64)] = uint64_t{1} << (c % 64);
        uint64_t rem[2];
        ASSERT_EQ(__rixPolyRem(rem, monomial.data(), c, kQ127, 127), 0);
        Poly127 one = {{1, 0}}, stepped = one;
        for (int32_t k = 0; k < c; ++k) times_x(&stepped);
        EXPECT_EQ(rem[0], stepped.w[0]);
        EXPECT_EQ(rem[1], stepped.w[1]);
        const uint64_t count = static_cast<uint64_t>(c);
        ASSERT_EQ(__rix_SkipAheadSWin(&one, sizeof one, &count, 1, kQ127, 127, times_x, copy127, add127), 0);
        EXPECT_EQ(one.w[0], stepped.w[0]);
        EXPECT_EQ(one.w[1], stepped.w[1]);
        // g(F) a for g = x^c mod q and a = x^5 + 1 is x^c a mod q.
        Poly127 a = {{0x21, 0}}, work, expected = a;
        for (int32_t k = 0; k < c; ++k) times_x(&expected);
        ASSERT_EQ(__rix_SkipAheadHorner(&a, &work, sizeof a, rem, 126, times_x, copy127, add127), 0);
        EXPECT_EQ(a.w[0], expected.w[0]);
        EXPECT_EQ(a.w[1], expected.w[1]);
    }
    uint64_t r[2];
    EXPECT_EQ(__rixPolyRem(r, kQ127, 127, kQ127, 0), QOR_RNG_STATUS_BAD_ARGUMENT);
}

}  // namespace
