// SFMT19937 against Saito and Matsumoto's published output for both of
// their seedings; the period certification on many seeds; reals as the
// scaled integers and split fills; skip-ahead against drawing and
// discarding on both sides of the stepping limit, long skips by doubling;
// refusals; save, load and copy.
#include <fstream>
#include <string>

#include "rng/brng/sfmt19937_tables.h"
#include "rng_test_support.h"

using namespace rng_test;

namespace {

std::vector<uint32_t> ints(qor_rng_stream* s, int32_t n) {
    std::vector<uint32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(__rixiBRngSFMT19937(s, n, r.data()), 0);
    return r;
}

void skip(qor_rng_stream* s, uint64_t count) { ASSERT_EQ(__rixSkipAheadStream(s, count), 0); }

void discard(qor_rng_stream* s, uint64_t count) {
    std::vector<uint32_t> sink(1 << 16);
    for (; count; count -= std::min<uint64_t>(count, sink.size()))
        __rixiBRngSFMT19937(s, static_cast<int32_t>(std::min<uint64_t>(count, sink.size())), sink.data());
}

Stream drawn_stream(std::vector<uint32_t> seed, int32_t drawn) {
    Stream s = make_stream(QOR_RNG_BRNG_SFMT19937, std::move(seed));
    ints(s.get(), drawn);
    return s;
}

TEST(Sfmt19937, PublishedReferenceOutputOfBothSeedings) {
    std::ifstream in(QOR_TEST_VECTORS_DIR "/SFMT.19937.out.txt");
    ASSERT_TRUE(in) << "missing reference file";
    std::string line;
    std::getline(in, line);
    ASSERT_EQ(line, "SFMT-19937:122-18-1-11-1:dfffffef-ddfecb7f-bffaffff-bffffff6");
    std::getline(in, line);
    // One word seeds by the single-word procedure, four by the array.
    for (const std::vector<uint32_t>& seed : {std::vector<uint32_t>{1234}, {0x1234, 0x5678, 0x9abc, 0xdef0}}) {
        in >> line;  // the section title
        Stream s = make_stream(QOR_RNG_BRNG_SFMT19937, seed);
        // In pieces, so that both the vector path and the direct path serve.
        std::vector<uint32_t> got = ints(s.get(), 5), rest = ints(s.get(), 995);
        got.insert(got.end(), rest.begin(), rest.end());
        for (uint32_t expected, i = 0; i < 1000; ++i) {
            ASSERT_TRUE(in >> expected);
            ASSERT_EQ(got[i], expected) << "seed of " << seed.size() << " words, output " << i;
        }
    }
}

TEST(Sfmt19937, SeededStatesPassTheCertification) {
    // About half the seeds need the certification's bit flip.
    for (uint32_t seed = 0; seed < 200; ++seed) {
        for (const std::vector<uint32_t>& key : {std::vector<uint32_t>{seed}, {seed, 7}}) {
            Stream s = make_stream(QOR_RNG_BRNG_SFMT19937, key);
            const auto* w = reinterpret_cast<const uint32_t*>(reinterpret_cast<const char*>(s.get()) + 16);
            uint32_t inner = 0;
            for (int k = 0; k < 4; ++k) inner ^= w[k] & qor::rng::kSfmt19937Parity[k];
            ASSERT_EQ(__builtin_popcount(inner) & 1, 1) << "seed " << seed;
        }
    }
}

TEST(Sfmt19937, RealsAreTheScaledIntegersAndSplitFillsEqualOneFill) {
    Stream one = make_stream(QOR_RNG_BRNG_SFMT19937, {5});
    Stream ref = copy_of(one), split_d = copy_of(one), split_f = copy_of(one), split_i = copy_of(one);
    const int32_t n = 10000;
    const auto words = ints(ref.get(), n);
    std::vector<double> d(n), d2(n);
    std::vector<float> f2(n);
    std::vector<uint32_t> i2(n);
    ASSERT_EQ(__rixdBRngSFMT19937(one.get(), n, d.data(), -2.0, 3.0), 0);
    const double c = (3.0 - -2.0) * 0x1p-32;
    for (int32_t i = 0; i < n; ++i) ASSERT_EQ(d[static_cast<size_t>(i)], words[static_cast<size_t>(i)] * c + -2.0);
    int32_t at = 0;
    for (int32_t piece : {1, 623, 624, 625, 1250, n - 3123}) {
        __rixdBRngSFMT19937(split_d.get(), piece, d2.data() + at, -2.0, 3.0);
        __rixsBRngSFMT19937(split_f.get(), piece, f2.data() + at, 0.0f, 1.0f);
        __rixiBRngSFMT19937(split_i.get(), piece, i2.data() + at);
        at += piece;
    }
    EXPECT_EQ(d2, d);
    EXPECT_EQ(i2, words);
    for (int32_t i = 0; i < n; ++i)
        ASSERT_EQ(f2[static_cast<size_t>(i)], static_cast<float>(words[static_cast<size_t>(i)] * 0x1p-32));
}

TEST(Sfmt19937, SeedingDefaultsAndRefusals) {
    Stream empty = make_stream(QOR_RNG_BRNG_SFMT19937, {}), one = make_stream(QOR_RNG_BRNG_SFMT19937, {1});
    EXPECT_EQ(ints(empty.get(), 700), ints(one.get(), 700));
    EXPECT_EQ(__rixLeapfrogStream(one.get(), 0, 2), QOR_RNG_STATUS_NO_LEAPFROG);
    EXPECT_EQ(__rixBRngSFMT19937InitStream(4, one.get(), 0, nullptr), QOR_RNG_STATUS_BAD_METHOD);
    const uint64_t three_words[3] = {1, 0, 1}, top_bit[2] = {0, 1ull << 63};
    EXPECT_EQ(__rixSkipAheadStreamEx(one.get(), 3, three_words), QOR_RNG_STATUS_NO_SKIP_AHEAD_EX);
    EXPECT_EQ(__rixSkipAheadStreamEx(one.get(), 2, top_bit), QOR_RNG_STATUS_NO_SKIP_AHEAD_EX);
}

TEST(Sfmt19937, SkipEqualsDrawingAndDiscarding) {
    // Vector boundaries, both sides of the stepping limit (2^26).
    for (uint64_t count : {1ull, 3ull, 623ull, 624ull, 625ull, 67108864ull, 67108865ull}) {
        for (int32_t drawn : {0, 101, 624}) {
            Stream a = drawn_stream({11, 12}, drawn), b = copy_of(a);
            skip(a.get(), count);
            discard(b.get(), count);
            ASSERT_EQ(ints(a.get(), 1300), ints(b.get(), 1300)) << "count " << count << " drawn " << drawn;
        }
    }
}

TEST(Sfmt19937, LongSkipsComposeByDoubling) {
    // Twice 2^k + 1 is 2^(k+1) + 2, on the polynomial path for one-word and
    // two-word counts.
    Stream base = drawn_stream({13}, 100);
    auto skip_words = [](Stream& s, unsigned __int128 c) {
        const uint64_t w[2] = {static_cast<uint64_t>(c), static_cast<uint64_t>(c >> 64)};
        ASSERT_EQ(__rixSkipAheadStreamEx(s.get(), 2, w), 0);
    };
    for (int k : {30, 64, 100}) {
        Stream twice = copy_of(base), once = copy_of(base);
        const unsigned __int128 c = (static_cast<unsigned __int128>(1) << k) + 1;
        skip_words(twice, c);
        skip_words(twice, c);
        skip_words(once, 2 * c);
        ASSERT_EQ(ints(twice.get(), 700), ints(once.get(), 700)) << "2^" << k + 1 << " + 2";
    }
    Stream a = copy_of(base), b = copy_of(base);  // one-word counts take the same path
    skip(a.get(), (1ull << 40) + 5);
    skip_words(b, (1ull << 40) + 5);
    EXPECT_EQ(ints(a.get(), 700), ints(b.get(), 700));
}

TEST(Sfmt19937, SaveLoadAndCopyContinueTheStream) {
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

}  // namespace
