// The counter-based generators Philox4x32-10 and ARS5 (their blocks are
// checked against Random123's published answers by the internal tests):
// the vector fills against the one-block path across counter carries,
// split fills, the three output kinds, skip-ahead against draw-and-discard
// and against counter arithmetic.
#include "rng_test_support.h"

using namespace rng_test;
using Counter128 = unsigned __int128;

namespace {

struct Philox {
    static constexpr int32_t brng = QOR_RNG_BRNG_PHILOX4X32X10;
    static constexpr int32_t key_words = 2;
    static bool available() { return true; }
};

struct Ars5 {
    static constexpr int32_t brng = QOR_RNG_BRNG_ARS5;
    static constexpr int32_t key_words = 4;
    static bool available() { return __rixCPUisAES() == 1; }
};

template <class G>
class CounterBased : public ::testing::Test {
protected:
    void SetUp() override {
        if (!G::available()) GTEST_SKIP() << "no AES instructions";
        __rixGetBrngProperties(G::brng, &row);
    }
    // A stream seeded with key words then counter words.
    Stream stream(std::vector<uint32_t> key, std::vector<uint32_t> counter) {
        key.resize(G::key_words);
        key.insert(key.end(), counter.begin(), counter.end());
        return make_stream(G::brng, key);
    }
    std::vector<uint32_t> ints(qor_rng_stream* s, int32_t n) {
        std::vector<uint32_t> r(static_cast<size_t>(n) + 1, 0xDEADBEEF);
        EXPECT_EQ(row.fill_int(s, n, r.data()), 0);
        EXPECT_EQ(r.back(), 0xDEADBEEF);  // nothing written past n
        r.pop_back();
        return r;
    }
    qor_rng_brng_properties row{};
};

using Generators = ::testing::Types<Philox, Ars5>;
TYPED_TEST_SUITE(CounterBased, Generators);

TYPED_TEST(CounterBased, VectorFillsEqualOneBlockAtATime) {
    // Counters whose low word, and then the low 64 bits, carry inside a fill.
    for (const std::vector<uint32_t>& start : {std::vector<uint32_t>{0, 0, 0, 0}, {0xFFFFFFF5, 7, 8, 9},
                                               {0xFFFFFFFE, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}}) {
        Stream s = this->stream({0x12345678, 0x9ABCDEF0, 3, 4}, start);
        const auto all = this->ints(s.get(), 4 * 40 + 3);
        Counter128 c = 0;
        for (int w = 3; w >= 0; --w) c = (c << 32) | start[static_cast<size_t>(w)];
        for (int b = 0; b < 41; ++b, ++c) {
            Stream one = this->stream({0x12345678, 0x9ABCDEF0, 3, 4},
                                      {uint32_t(c), uint32_t(c >> 32), uint32_t(c >> 64), uint32_t(c >> 96)});
            const auto block = this->ints(one.get(), 4);
            for (int j = 0; j < 4 && 4 * b + j < int(all.size()); ++j)
                ASSERT_EQ(all[size_t(4 * b + j)], block[size_t(j)]) << "block " << b;
        }
    }
}

TYPED_TEST(CounterBased, SplitFillsAndOutputKindsAgree) {
    Stream whole = this->stream({5}, {}), d = copy_of(whole), f = copy_of(whole), split = copy_of(whole);
    const int32_t n = 1000;
    const auto words = this->ints(whole.get(), n);
    std::vector<double> dv(n);
    std::vector<float> fv(n);
    std::vector<uint32_t> pieces(n);
    int32_t at = 0;
    for (int32_t piece : {1, 2, 3, 5, 31, 32, 33, n - 107}) {
        ASSERT_EQ(this->row.fill_double(d.get(), piece, dv.data() + at, -1.0, 3.0), 0);
        ASSERT_EQ(this->row.fill_single(f.get(), piece, fv.data() + at, 0.0f, 1.0f), 0);
        ASSERT_EQ(this->row.fill_int(split.get(), piece, pieces.data() + at), 0);
        at += piece;
    }
    EXPECT_EQ(pieces, words);
    for (size_t i = 0; i < words.size(); ++i) {
        ASSERT_EQ(dv[i], words[i] * (4.0 * 0x1p-32) - 1.0) << i;
        ASSERT_EQ(fv[i], static_cast<float>(words[i] * 0x1p-32)) << i;
    }
    EXPECT_EQ(this->row.fill_int(whole.get(), 0, nullptr), 0);
}

TYPED_TEST(CounterBased, SkipsEqualDrawingAndCounterArithmetic) {
    for (int32_t drawn : {0, 1, 3, 4, 6}) {
        for (uint64_t count : {0ull, 1ull, 2ull, 3ull, 4ull, 5ull, 17ull, 1001ull}) {
            Stream a = this->stream({9, 8, 7, 6}, {1, 2, 3, 4}), b = copy_of(a);
            this->ints(a.get(), drawn);
            this->ints(b.get(), drawn + static_cast<int32_t>(count));
            ASSERT_EQ(__rixSkipAheadStream(a.get(), count), 0);
            ASSERT_EQ(this->ints(a.get(), 9), this->ints(b.get(), 9)) << drawn << " + " << count;
        }
    }
    // 4 * 2^64 outputs are 2^64 blocks: counter word 2 plus one (with the
    // carry into word 3); 2^130 outputs are the whole counter period.
    Stream base = this->stream({1, 1, 1, 1}, {7, 0, 0xFFFFFFFF, 0}), moved = this->stream({1, 1, 1, 1}, {7, 0, 0, 1});
    this->ints(base.get(), 2);
    this->ints(moved.get(), 2);
    Stream ex = copy_of(base), wrapped = copy_of(base), twice = copy_of(base);
    const uint64_t four_2_64[2] = {0, 4}, period_and_3[3] = {3, 0, 4};
    ASSERT_EQ(__rixSkipAheadStreamEx(ex.get(), 2, four_2_64), 0);
    EXPECT_EQ(this->ints(ex.get(), 12), this->ints(moved.get(), 12));
    ASSERT_EQ(__rixSkipAheadStreamEx(wrapped.get(), 3, period_and_3), 0);
    ASSERT_EQ(__rixSkipAheadStream(twice.get(), 3), 0);
    EXPECT_EQ(this->ints(wrapped.get(), 12), this->ints(twice.get(), 12));
    EXPECT_EQ(__rixLeapfrogStream(base.get(), 0, 2), QOR_RNG_STATUS_NO_LEAPFROG);
    EXPECT_EQ(this->row.init_stream(4, base.get(), 0, nullptr), QOR_RNG_STATUS_BAD_METHOD);
}

}  // namespace
