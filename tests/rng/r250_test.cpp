// R250 against a plain reference written from its definition (the
// congruential seeding with its diagonal, then x[n] = x[n-103] ^ x[n-250]
// on a growing array), split fills and output kinds, skip-ahead against
// drawing and discarding, and a skip by the period of the bit columns.
#include "rng_test_support.h"

using namespace rng_test;

namespace {

std::vector<uint32_t> reference(uint32_t seed, size_t outputs) {
    std::vector<uint32_t> x;
    for (uint32_t v = seed; x.size() < 250;) {
        const uint32_t first = v = 69069u * v + 1, second = v = 69069u * v + 1;
        x.push_back((first & 0xFFFF0000u) | second >> 16);
    }
    for (int j = 0; j < 32; ++j) {
        uint32_t& w = x[size_t(7 * j + 3)];
        w = (w & (0xFFFFFFFFu >> j)) | (0x80000000u >> j);
    }
    for (size_t n = 250; n < 250 + outputs; ++n) x.push_back(x[n - 103] ^ x[n - 250]);
    return {x.begin() + 250, x.end()};
}

std::vector<uint32_t> ints(qor_rng_stream* s, int32_t n) {
    std::vector<uint32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(__rixiBRngR250(s, n, r.data()), 0);
    return r;
}

TEST(R250, EqualsTheDefinitionAcrossSplitFillsAndKinds) {
    for (uint32_t seed : {0u, 1u, 12345u, 0xFFFFFFFFu}) {
        Stream s = make_stream(QOR_RNG_BRNG_R250, {seed});
        ASSERT_EQ(ints(s.get(), 5000), reference(seed, 5000)) << seed;
    }
    Stream unseeded = make_stream(QOR_RNG_BRNG_R250, {});
    EXPECT_EQ(ints(unseeded.get(), 300), reference(1, 300));
    const int32_t n = 3000;
    const auto words = reference(77, n);
    Stream d = make_stream(QOR_RNG_BRNG_R250, {77}), f = copy_of(d), i = copy_of(d);
    std::vector<double> dv(n);
    std::vector<float> fv(n);
    std::vector<uint32_t> iv(n);
    int32_t at = 0;
    for (int32_t piece : {1, 3, 249, 250, 251, 1023, 1024, n - 2801}) {
        ASSERT_EQ(__rixdBRngR250(d.get(), piece, dv.data() + at, 2.0, 3.0), 0);
        ASSERT_EQ(__rixsBRngR250(f.get(), piece, fv.data() + at, 0.0f, 1.0f), 0);
        ASSERT_EQ(__rixiBRngR250(i.get(), piece, iv.data() + at), 0);
        at += piece;
    }
    EXPECT_EQ(iv, words);
    for (size_t k = 0; k < words.size(); ++k) {
        ASSERT_EQ(dv[k], words[k] * 0x1p-32 + 2.0) << k;
        ASSERT_EQ(fv[k], float(words[k] * 0x1p-32)) << k;
    }
}

TEST(R250, SkipsEqualDrawingAndTheColumnsPeriod) {
    for (int32_t drawn : {0, 7, 250}) {
        for (uint64_t count : {0ull, 1ull, 102ull, 249ull, 250ull, 251ull, 5000ull, 100000ull}) {
            Stream a = make_stream(QOR_RNG_BRNG_R250, {31}), b = copy_of(a);
            ints(a.get(), drawn);
            ints(b.get(), drawn + int32_t(count));
            ASSERT_EQ(__rixSkipAheadStream(a.get(), count), 0);
            ASSERT_EQ(ints(a.get(), 600), ints(b.get(), 600)) << drawn << " + " << count;
        }
    }
    Stream base = make_stream(QOR_RNG_BRNG_R250, {5});
    // Each bit column has the period 2^250 - 1 of its primitive trinomial.
    Stream period = copy_of(base), start = copy_of(base);
    const uint64_t full[4] = {~0ull, ~0ull, ~0ull, (1ull << 58) - 1};
    ASSERT_EQ(__rixSkipAheadStreamEx(period.get(), 4, full), 0);
    EXPECT_EQ(ints(period.get(), 600), ints(start.get(), 600));
    EXPECT_EQ(__rixLeapfrogStream(base.get(), 0, 2), QOR_RNG_STATUS_NO_LEAPFROG);
    EXPECT_EQ(__rixBRngR250InitStream(4, base.get(), 0, nullptr), QOR_RNG_STATUS_BAD_METHOD);
}

}  // namespace
