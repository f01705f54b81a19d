// MCG31m1 and MCG59 against plain 128-bit recurrences: seeding, the three
// output kinds across every blocking boundary, splitting a fill into odd
// pieces, skip-ahead against draw-and-discard, leapfrog against
// interleaving, and the modular powers against number-theoretic facts.
#include <algorithm>
#include <cstring>
#include <numeric>

#include "rng_test_support.h"

using namespace rng_test;

namespace {

// One generator under test: identifier, integer word, reference and the
// conversion constant.
struct Mcg31 {
    static constexpr int32_t brng = QOR_RNG_BRNG_MCG31M1;
    using Word = uint32_t;
    static ReferenceMcg reference(uint64_t x) { return reference_mcg31(x); }
    static double c() { return mcg31_inverse_modulus(); }
    static uint64_t modulus() { return kMod31; }
};

struct Mcg59 {
    static constexpr int32_t brng = QOR_RNG_BRNG_MCG59;
    using Word = uint64_t;
    static ReferenceMcg reference(uint64_t x) { return reference_mcg59(x); }
    static double c() { return kMcg59InverseModulus; }
    static uint64_t modulus() { return uint64_t{1} << 59; }
};

template <class G>
class McgTest : public ::testing::Test {};
using Generators = ::testing::Types<Mcg31, Mcg59>;
TYPED_TEST_SUITE(McgTest, Generators);

template <class G>
std::vector<typename G::Word> ints(qor_rng_stream* s, int32_t n) {
    std::vector<typename G::Word> r(static_cast<size_t>(std::max(n, 0)) + 1, 0);
    qor_rng_brng_properties p;
    __rixGetBrngProperties(G::brng, &p);
    EXPECT_EQ(p.fill_int(s, n, r.data()), 0);
    r.pop_back();
    return r;
}

template <class G>
std::vector<double> doubles(qor_rng_stream* s, int32_t n, double a, double b) {
    std::vector<double> r(static_cast<size_t>(n));
    qor_rng_brng_properties p;
    __rixGetBrngProperties(G::brng, &p);
    EXPECT_EQ(p.fill_double(s, n, r.data(), a, b), 0);
    return r;
}

template <class G>
std::vector<float> singles(qor_rng_stream* s, int32_t n, float a, float b) {
    std::vector<float> r(static_cast<size_t>(n));
    qor_rng_brng_properties p;
    __rixGetBrngProperties(G::brng, &p);
    EXPECT_EQ(p.fill_single(s, n, r.data(), a, b), 0);
    return r;
}

// The next integer output of a stream, to compare states.
template <class G>
uint64_t peek(qor_rng_stream* s) {
    Stream c(nullptr);
    qor_rng_stream* raw = nullptr;
    __rixCopyStream(&raw, s);
    c.reset(raw);
    return ints<G>(c.get(), 1)[0];
}

// Counts on both sides of every blocking boundary (8 and 16) and a few
// long ones.
const int32_t kCounts[] = {1, 2, 7, 8, 9, 15, 16, 17, 23, 24, 31, 32, 33, 47, 48, 63, 64, 65, 1000, 4099};

}  // namespace

TEST(McgSeeding, Mcg31ReducesTheSeedAndNeverStartsAtZero) {
    const std::pair<uint32_t, uint64_t> cases[] = {{0, 1}, {2147483647u, 1},           {2147483648u, 1},
                                                   {5, 5}, {2147483646u, 2147483646u}, {0xFFFFFFFFu, 1}};
    for (auto [seed, first] : cases) {
        Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {seed, 12345});  // extra words are ignored
        EXPECT_EQ(peek<Mcg31>(s.get()), first) << seed;
    }
    Stream unseeded = make_stream(QOR_RNG_BRNG_MCG31M1, {});
    EXPECT_EQ(peek<Mcg31>(unseeded.get()), 1u);
}

TEST(McgSeeding, Mcg59TakesOneOrTwoWordsAndNeverStartsAtZero) {
    EXPECT_EQ(peek<Mcg59>(make_stream(QOR_RNG_BRNG_MCG59, {0, 0x08000000}).get()), 1u);  // 2^59
    EXPECT_EQ(peek<Mcg59>(make_stream(QOR_RNG_BRNG_MCG59, {0xFFFFFFFFu}).get()), 4294967295u);
    EXPECT_EQ(peek<Mcg59>(make_stream(QOR_RNG_BRNG_MCG59, {0}).get()), 1u);
    EXPECT_EQ(peek<Mcg59>(make_stream(QOR_RNG_BRNG_MCG59, {}).get()), 1u);
    EXPECT_EQ(peek<Mcg59>(make_stream(QOR_RNG_BRNG_MCG59, {0x89ABCDEF, 0xFFFFFFFF, 7}).get()), 0x07FFFFFF89ABCDEFull);
}

TYPED_TEST(McgTest, IntegerFillsFollowTheRecurrenceAcrossBlockBoundaries) {
    using G = TypeParam;
    for (int32_t n : kCounts) {
        Stream s = make_stream(G::brng, {977, 3});
        ReferenceMcg ref = G::reference(G::brng == QOR_RNG_BRNG_MCG31M1 ? 977 : (977 | (uint64_t{3} << 32)));
        const auto got = ints<G>(s.get(), n);
        for (int32_t i = 0; i < n; ++i) ASSERT_EQ(got[i], ref.next()) << "n " << n << " i " << i;
        EXPECT_EQ(peek<G>(s.get()), ref.next()) << "state after n " << n;
    }
}

TYPED_TEST(McgTest, RealFillsAreTheConvertedRecurrence) {
    using G = TypeParam;
    const std::pair<double, double> bounds[] = {{0.0, 1.0}, {-3.5, 11.25}, {1e6, 1e6 + 1}};
    for (int32_t n : kCounts) {
        for (auto [a, b] : bounds) {
            Stream sd = make_stream(G::brng, {123456789});
            Stream sf = make_stream(G::brng, {123456789});
            ReferenceMcg ref = G::reference(123456789);
            const auto d = doubles<G>(sd.get(), n, a, b);
            const auto f = singles<G>(sf.get(), n, static_cast<float>(a), static_cast<float>(b));
            const double fa = static_cast<float>(a), fb = static_cast<float>(b);
            for (int32_t i = 0; i < n; ++i) {
                const uint64_t v = ref.next();
                ASSERT_EQ(d[i], to_real(v, a, b, G::c())) << "n " << n << " i " << i;
                ASSERT_EQ(f[i], static_cast<float>(to_real(v, fa, fb, G::c()))) << "n " << n << " i " << i;
            }
            EXPECT_EQ(peek<G>(sd.get()), peek<G>(sf.get()));
        }
    }
}

TYPED_TEST(McgTest, NonPositiveCountsWriteNothingAndKeepTheState) {
    using G = TypeParam;
    Stream s = make_stream(G::brng, {99});
    const uint64_t before = peek<G>(s.get());
    qor_rng_brng_properties p;
    ASSERT_EQ(__rixGetBrngProperties(G::brng, &p), 0);
    typename G::Word w = 7;
    double d = 7;
    float f = 7;
    for (int32_t n : {0, -1, -1000}) {
        EXPECT_EQ(p.fill_int(s.get(), n, &w), 0);
        EXPECT_EQ(p.fill_double(s.get(), n, &d, 0, 1), 0);
        EXPECT_EQ(p.fill_single(s.get(), n, &f, 0, 1), 0);
    }
    EXPECT_EQ(w, 7u);
    EXPECT_EQ(d, 7.0);
    EXPECT_EQ(f, 7.0f);
    EXPECT_EQ(peek<G>(s.get()), before);
}

TYPED_TEST(McgTest, OutputsStayInsideTheirRanges) {
    using G = TypeParam;
    // Seeds next to the ends of the range, so that the values near 1 and
    // m - 1 turn up.
    for (uint32_t seed : {1u, 2147483646u, 0xFFFFFFF0u}) {
        Stream si = make_stream(G::brng, {seed, 0x07FFFFFF});
        for (auto v : ints<G>(si.get(), 20000)) {
            ASSERT_GE(v, 1u);
            ASSERT_LT(v, G::modulus());
        }
        Stream sd = make_stream(G::brng, {seed, 0x07FFFFFF});
        for (double v : doubles<G>(sd.get(), 20000, 0.0, 1.0)) {
            ASSERT_GE(v, 0.0);
            ASSERT_LE(v, 1.0);
        }
    }
    // MCG31m1 values lie in 1 .. 2^31 - 2, so its doubles avoid both ends.
    Stream s31 = make_stream(QOR_RNG_BRNG_MCG31M1, {2147483646u});
    for (double v : doubles<Mcg31>(s31.get(), 4096, 2.0, 3.0)) {
        ASSERT_GT(v, 2.0);
        ASSERT_LT(v, 3.0);
    }
}

TYPED_TEST(McgTest, SkipAheadEqualsDrawingAndDiscarding) {
    using G = TypeParam;
    for (uint64_t skip :
         {uint64_t{0}, uint64_t{1}, uint64_t{7}, uint64_t{8}, uint64_t{16}, uint64_t{1000}, uint64_t{123457}}) {
        Stream drawn = make_stream(G::brng, {31337});
        Stream skipped = make_stream(G::brng, {31337});
        ints<G>(drawn.get(), static_cast<int32_t>(skip));
        ASSERT_EQ(__rixSkipAheadStream(skipped.get(), skip), 0);
        EXPECT_EQ(ints<G>(skipped.get(), 40), ints<G>(drawn.get(), 40)) << skip;
    }
    // A count beyond any loop: x * a^s against a 128-bit power.
    const uint64_t far = (uint64_t{1} << 40) + 12345;
    const unsigned __int128 m = G::brng == QOR_RNG_BRNG_MCG31M1 ? kMod31 : kMod59;
    const uint64_t a = G::brng == QOR_RNG_BRNG_MCG31M1 ? kMcg31Multiplier : kMcg59Multiplier;
    Stream s = make_stream(G::brng, {31337});
    ASSERT_EQ(__rixSkipAheadStream(s.get(), far), 0);
    EXPECT_EQ(peek<G>(s.get()),
              static_cast<uint64_t>(31337 * static_cast<unsigned __int128>(reference_pow_mod(a, far, m)) % m));
}

TYPED_TEST(McgTest, LeapfrogStreamsInterleaveIntoTheBaseSequence) {
    using G = TypeParam;
    constexpr int32_t kStreams = 3, kEach = 50;
    Stream base = make_stream(G::brng, {2024});
    const auto all = ints<G>(base.get(), kStreams * kEach);
    for (int32_t k = 0; k < kStreams; ++k) {
        Stream s = make_stream(G::brng, {2024});
        ASSERT_EQ(__rixLeapfrogStream(s.get(), k, kStreams), 0);
        const auto mine = ints<G>(s.get(), kEach);
        for (int32_t i = 0; i < kEach; ++i) ASSERT_EQ(mine[i], all[i * kStreams + k]) << k << " " << i;
    }
    // Leapfrog changes the multiplier for good: a later skip-ahead moves by
    // whole strides, and every output kind follows the strided sequence.
    Stream s = make_stream(G::brng, {2024});
    ASSERT_EQ(__rixLeapfrogStream(s.get(), 1, kStreams), 0);
    ASSERT_EQ(__rixSkipAheadStream(s.get(), 10), 0);
    Stream sd = copy_of(s);
    EXPECT_EQ(ints<G>(s.get(), 1)[0], all[10 * kStreams + 1]);
    EXPECT_EQ(doubles<G>(sd.get(), 20, 0.0, 1.0)[0], to_real(all[10 * kStreams + 1], 0.0, 1.0, G::c()));
}

TYPED_TEST(McgTest, LeapfrogOfOneStreamLeavesTheStreamUnchanged) {
    using G = TypeParam;
    Stream s = make_stream(G::brng, {55});
    Stream t = make_stream(G::brng, {55});
    ASSERT_EQ(__rixLeapfrogStream(s.get(), 0, 1), 0);
    EXPECT_EQ(ints<G>(s.get(), 100), ints<G>(t.get(), 100));
}

TYPED_TEST(McgTest, InitialiserRefusesMethodsItLacks) {
    using G = TypeParam;
    Stream s = make_stream(G::brng, {55});
    qor_rng_brng_properties p;
    ASSERT_EQ(__rixGetBrngProperties(G::brng, &p), 0);
    const uint64_t words[1] = {5};
    EXPECT_EQ(__rixSkipAheadStreamEx(s.get(), 1, words), QOR_RNG_STATUS_NO_SKIP_AHEAD_EX);
    EXPECT_EQ(p.init_stream(4, s.get(), 0, nullptr), QOR_RNG_STATUS_BAD_METHOD);
    EXPECT_EQ(p.init_stream(0xFFFFFFFF, s.get(), 0, nullptr), QOR_RNG_STATUS_BAD_METHOD);
    EXPECT_EQ(p.init_stream(1, s.get(), 2, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(p.init_stream(2, s.get(), 2, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(peek<G>(s.get()), 55u);
}

TEST(McgConstants, InverseModulusIsTheNearestDouble) {
    EXPECT_EQ(mcg31_inverse_modulus(), 1.0 / 2147483647.0);
    EXPECT_EQ(mcg31_inverse_modulus(), 4.656612875245797e-10);
}

TEST(PowMod, Mcg31MultiplierIsAPrimitiveRoot) {
    // 2^31 - 2 = 2 * 3^2 * 7 * 11 * 31 * 151 * 331: a full-period
    // multiplier has a^((m-1)/p) != 1 for each prime p, and a^(m-1) = 1.
    const uint32_t a = 1132489760;
    EXPECT_EQ(__rixiPowMod2P31M1(a, 2147483646u), 1u);
    for (uint64_t p : {2, 3, 7, 11, 31, 151, 331}) EXPECT_NE(__rixiPowMod2P31M1(a, 2147483646u / p), 1u) << p;
}

TEST(PowMod, Mcg59MultiplierHasTheLargestOrder) {
    uint64_t thirteen13 = 1;
    for (int i = 0; i < 13; ++i) thirteen13 *= 13;
    EXPECT_EQ(thirteen13, kMcg59Multiplier);
    EXPECT_EQ(__rixiPowMod2P59(13, 13), kMcg59Multiplier);
    // Units congruent to 5 mod 8 have order 2^57 modulo 2^59.
    EXPECT_EQ(__rixiPowMod2P59(kMcg59Multiplier, uint64_t{1} << 57), 1u);
    EXPECT_NE(__rixiPowMod2P59(kMcg59Multiplier, uint64_t{1} << 56), 1u);
}

TEST(PowMod, AgreesWithA128BitPowerAndHandlesEdges) {
    const uint64_t exps[] = {0, 1, 2, 3, 31, 64, 1000003, 0xFFFFFFFFFFFFFFFFull};
    const uint32_t bases[] = {0, 1, 2, 48271, 2147483646u, 2147483647u, 0xFFFFFFFFu};
    for (uint64_t e : exps) {
        for (uint32_t b : bases) {
            const uint64_t want31 = e == 0 ? 1 : reference_pow_mod(b, e, kMod31);
            EXPECT_EQ(__rixiPowMod2P31M1(b, e), want31) << b << "^" << e;
            EXPECT_EQ(__rixiPowMod2P59(uint64_t{b} * 0x1234567, e),
                      e == 0 ? 1 : reference_pow_mod(uint64_t{b} * 0x1234567, e, kMod59));
            for (uint32_t m : {2u, 97u, 65521u, 4294967291u}) {
                const uint64_t want = e == 0 ? 1 : reference_pow_mod(b, e, m);
                EXPECT_EQ(__rixiPowMod(b, e, m), want) << b << "^" << e << " mod " << m;
            }
        }
        EXPECT_EQ(__rixiPowMod(7, e, 0), 0u);
    }
}
