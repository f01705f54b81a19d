// Sobol against the first 1024 points of Joe and Kuo's own program (point 0,
// all zeros, is not output); the default tables of every dimension against
// the (0,1)-sequence property; user polynomials and direction numbers
// against the default tables; skip-ahead and leapfrog against drawing and
// discarding, the wrap after point 2^32 - 1; refusals; copy, save and load,
// and the table shared between streams.
#include <fstream>
#include <set>

#include "rng_test_support.h"

using namespace rng_test;

namespace {

constexpr int32_t kDims = 10, kPoints = 1023;

std::vector<uint32_t> ints(qor_rng_stream* s, int32_t n) {
    std::vector<uint32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(__rixiBRngSobol(s, n, r.data()), 0);
    return r;
}

// Points 1 to 1023 of the published table, as 32-bit words.
std::vector<uint32_t> published_words() {
    std::ifstream in(QOR_TEST_VECTORS_DIR "/sobol_joe_kuo_points_1024x10.txt");
    EXPECT_TRUE(in) << "missing reference file";
    std::vector<uint32_t> words;
    double x;
    for (int32_t i = 0; i < (kPoints + 1) * kDims && in >> x; ++i)
        if (i >= kDims) words.push_back(static_cast<uint32_t>(x * 0x1p32));
    EXPECT_EQ(words.size(), size_t{kPoints * kDims});
    return words;
}

Stream sobol(uint32_t dims) { return make_stream(QOR_RNG_BRNG_SOBOL, {dims}); }

TEST(Sobol, PublishedPointsInEveryOutputKindAndSplitFills) {
    const auto expected = published_words();
    Stream s = sobol(kDims);
    EXPECT_EQ(ints(s.get(), kPoints * kDims), expected);
    Stream pieces = sobol(kDims);
    std::vector<uint32_t> got;
    for (int32_t i = 0, n = 1; i < kPoints * kDims; i += n, n = n % 23 + 3) {
        n = std::min(n, kPoints * kDims - i);
        const auto part = ints(pieces.get(), n);
        got.insert(got.end(), part.begin(), part.end());
    }
    EXPECT_EQ(got, expected);
    Stream d = sobol(kDims), f = sobol(kDims);
    std::vector<double> reals(expected.size());
    std::vector<float> singles(expected.size());
    ASSERT_EQ(__rixdBRngSobol(d.get(), kPoints * kDims, reals.data(), 0.0, 1.0), 0);
    ASSERT_EQ(__rixsBRngSobol(f.get(), kPoints * kDims, singles.data(), 0.0f, 1.0f), 0);
    for (size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(reals[i], expected[i] * 0x1p-32) << i;
        ASSERT_EQ(singles[i], static_cast<float>(expected[i] * 0x1p-32)) << i;
    }
}

// Every coordinate of every default dimension: the top k bits of points 1
// to 2^k - 1 are the 2^k - 1 nonzero values, each once.
TEST(Sobol, EveryDefaultCoordinateIsAZeroOneSequence) {
    constexpr int32_t kDimsAll = 1112, kBits = 10;
    Stream s = sobol(kDimsAll);
    const auto w = ints(s.get(), ((1 << kBits) - 1) * kDimsAll);
    for (int32_t j = 0; j < kDimsAll; ++j) {
        std::set<uint32_t> tops;
        for (int32_t i = 0; i < (1 << kBits) - 1; ++i) tops.insert(w[size_t(i) * kDimsAll + j] >> (32 - kBits));
        ASSERT_EQ(tops.size(), size_t{(1 << kBits) - 1}) << "coordinate " << j;
        ASSERT_EQ(*tops.begin(), 1u) << "coordinate " << j;
    }
    qor_rng_stream* raw = nullptr;
    for (uint32_t bad : {0u, 1113u}) {
        EXPECT_EQ(__rixNewStreamEx(&raw, QOR_RNG_BRNG_SOBOL, 1, &bad), QOR_RNG_STATUS_BAD_ARGUMENT);
        __rixDeleteStream(&raw);
    }
}

TEST(Sobol, UserPolynomialsAndDirectionNumbersReproduceTheDefaults) {
    // Joe and Kuo's records of coordinates 2 to 10, coordinate 1 as s = 0.
    std::ifstream in(QOR_TEST_VECTORS_DIR "/new-joe-kuo-6.21201.first1111.txt");
    std::string header;
    std::getline(in, header);
    std::vector<uint32_t> poly = {kDims, 1, 0, 0};
    for (int32_t j = 1; j < kDims; ++j) {
        uint32_t d, s, a, m;
        ASSERT_TRUE(in >> d >> s >> a);
        poly.insert(poly.end(), {s, a});
        for (uint32_t k = 0; k < s && in >> m; ++k) poly.push_back(m);
    }
    const auto expected = published_words();
    EXPECT_EQ(ints(make_stream(QOR_RNG_BRNG_SOBOL, poly).get(), kPoints * kDims), expected);
    // V_(b+1) is point 2^(b+1) - 1, whose Gray code is bit b alone.
    std::vector<uint32_t> dirs(2 + 32 * kDims);
    dirs[0] = kDims;
    dirs[1] = 2;
    for (int32_t b = 0; b < 32; ++b) {
        Stream s = sobol(kDims);
        ASSERT_EQ(__rixSkipAheadStream(s.get(), ((uint64_t{2} << b) - 2) * kDims), 0);
        const auto v = ints(s.get(), kDims);
        for (int32_t j = 0; j < kDims; ++j) dirs[2 + size_t(j) * 32 + size_t(b)] = v[size_t(j)];
    }
    EXPECT_EQ(ints(make_stream(QOR_RNG_BRNG_SOBOL, dirs).get(), kPoints * kDims), expected);

    // Refusals: an even m, an m of k + 1 bits, a too wide, missing words,
    // dependent direction numbers, an unknown kind.
    auto refused = [](std::vector<uint32_t> words) {
        qor_rng_stream* raw = nullptr;
        const int32_t status = __rixNewStreamEx(&raw, QOR_RNG_BRNG_SOBOL, int32_t(words.size()), words.data());
        __rixDeleteStream(&raw);
        return status == QOR_RNG_STATUS_BAD_ARGUMENT;
    };
    EXPECT_TRUE(refused({1, 1, 2, 1, 1, 2}));
    EXPECT_TRUE(refused({1, 1, 2, 1, 1, 5}));
    EXPECT_TRUE(refused({1, 1, 2, 2, 1, 1}));
    EXPECT_TRUE(refused({1, 1, 3, 1, 1, 3}));
    EXPECT_TRUE(refused({2, 1, 0, 0}));
    std::vector<uint32_t> dependent(dirs.begin(), dirs.begin() + 34);
    dependent[0] = 1;
    dependent[33] = dependent[32];
    EXPECT_TRUE(refused(dependent));
    EXPECT_TRUE(refused({1, 3}));
    EXPECT_FALSE(refused({1, 1, 2, 1, 1, 3}));
}

TEST(Sobol, SkipAheadEqualsDrawAndDiscardAndWrapsAfterTheLastPoint) {
    const auto all = ints(sobol(kDims).get(), 2000);
    for (int32_t drawn : {0, 7, 10})
        for (uint64_t count : {0, 1, 9, 10, 11, 1234}) {
            Stream s = sobol(kDims);
            ints(s.get(), drawn);
            ASSERT_EQ(__rixSkipAheadStream(s.get(), count), 0);
            const auto got = ints(s.get(), 50);
            ASSERT_TRUE(std::equal(got.begin(), got.end(), all.begin() + drawn + int64_t(count)))
                << drawn << " " << count;
        }
    // Point 2^32 - 1 is V_32 of each coordinate, then point 1 follows; the
    // whole period, and a count of many words, reduce modulo the period.
    const uint64_t period = 0xFFFFFFFFull * kDims;
    Stream s = sobol(kDims);
    ASSERT_EQ(__rixSkipAheadStream(s.get(), period - kDims), 0);
    const auto last = ints(s.get(), 3 * kDims);
    EXPECT_EQ(last[0], 1u);  // coordinate 1: the van der Corput V_32
    EXPECT_TRUE(std::equal(last.begin() + kDims, last.end(), all.begin()));
    const uint64_t words[2] = {12345, 3};
    const uint64_t reduced = uint64_t(((static_cast<unsigned __int128>(3) << 64) + 12345) % period);
    Stream many = sobol(kDims), one = sobol(kDims);
    ASSERT_EQ(__rixSkipAheadStreamEx(many.get(), 2, words), 0);
    ASSERT_EQ(__rixSkipAheadStream(one.get(), reduced), 0);
    EXPECT_EQ(ints(many.get(), 40), ints(one.get(), 40));
}

TEST(Sobol, LeapfrogGivesOneCoordinateOfEachPoint) {
    const auto all = ints(sobol(kDims).get(), 3000);
    for (int32_t drawn : {0, 13})
        for (uint32_t k : {0u, 4u, 9u}) {
            Stream s = sobol(kDims);
            ints(s.get(), drawn);
            ASSERT_EQ(__rixLeapfrogStream(s.get(), k, kDims), 0);
            auto got = ints(s.get(), 100);
            ASSERT_EQ(__rixSkipAheadStream(s.get(), 7), 0);
            got.push_back(ints(s.get(), 1)[0]);
            for (size_t i = 0; i < got.size(); ++i) {
                const size_t at = size_t(drawn) + k + kDims * (i < 100 ? i : 107);
                ASSERT_EQ(got[i], all[at]) << drawn << " " << k << " " << i;
            }
        }
    // One coordinate through the wrap: point 2^32 - 1, then points 1 and 2.
    Stream wrap = sobol(kDims);
    ASSERT_EQ(__rixLeapfrogStream(wrap.get(), 4, kDims), 0);
    ASSERT_EQ(__rixSkipAheadStream(wrap.get(), 0xFFFFFFFEull), 0);
    const auto around = ints(wrap.get(), 3);
    EXPECT_EQ(around[1], all[4]);
    EXPECT_EQ(around[2], all[4 + kDims]);
    Stream s = sobol(kDims);
    EXPECT_EQ(__rixLeapfrogStream(s.get(), 0, kDims - 1), QOR_RNG_STATUS_NO_LEAPFROG);
    EXPECT_EQ(ints(s.get(), 20), std::vector<uint32_t>(all.begin(), all.begin() + 20));
}

TEST(Sobol, CopiesAndImagesContinueAndDefaultTablesAreShared) {
    Stream s = sobol(kDims);
    ints(s.get(), 17);
    Stream copy = copy_of(s);
    std::vector<char> image(size_t(__rixGetStreamSize(s.get())));
    ASSERT_EQ(__rixSaveStreamM(s.get(), image.data()), 0);
    qor_rng_stream* raw = nullptr;
    ASSERT_EQ(__rixLoadStreamM(&raw, image.data()), 0);
    Stream loaded(raw);
    Stream other = sobol(3);
    ASSERT_EQ(__rixCopyStreamState(other.get(), s.get()), 0);
    const auto expected = ints(s.get(), 500);
    EXPECT_EQ(ints(copy.get(), 500), expected);
    EXPECT_EQ(ints(loaded.get(), 500), expected);
    EXPECT_EQ(ints(other.get(), 500), expected);

    Stream a = sobol(kDims);
    EXPECT_EQ(__rixSearchChunk(a.get(), 0x4C424F53), __rixSearchChunk(copy.get(), 0x4C424F53));
    copy.reset();
    s.reset();
    const auto published = published_words();
    EXPECT_EQ(ints(a.get(), 20), std::vector<uint32_t>(published.begin(), published.begin() + 20));
    // Without its table (a damaged image) a stream writes nothing.
    ASSERT_EQ(__rixDeleteChunks(a.get()), 0);
    uint32_t word = 9;
    EXPECT_EQ(__rixiBRngSobol(a.get(), 1, &word), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixSkipAheadStream(a.get(), 1), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(word, 9u);
}

}  // namespace
