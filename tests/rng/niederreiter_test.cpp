// Niederreiter against GSL's gsl_qrng_niederreiter_2 (the same construction
// with 31-bit digits, up to 12 dimensions; its first point is point 0, which
// is not output here); every default coordinate against the (0,1)-sequence
// (t,1)-sequence property and the vanishing coordinates; user polynomials; skip-ahead, leapfrog and copies through the
// machinery shared with Sobol.
#include <set>

#include "rng_test_support.h"

#ifdef QOR_TEST_HAVE_GSL
#include <gsl/gsl_qrng.h>
#endif

using namespace rng_test;

namespace {

std::vector<uint32_t> ints(qor_rng_stream* s, int32_t n) {
    std::vector<uint32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(__rixiBRngNiederr(s, n, r.data()), 0);
    return r;
}

Stream niederr(std::vector<uint32_t> words) { return make_stream(QOR_RNG_BRNG_NIEDERR, std::move(words)); }

#ifdef QOR_TEST_HAVE_GSL
TEST(Niederreiter, FirstPointsEqualGslsBaseTwoSequence) {
    constexpr int32_t kDims = 12, kPoints = 5000;
    gsl_qrng* q = gsl_qrng_alloc(gsl_qrng_niederreiter_2, kDims);
    ASSERT_NE(q, nullptr);
    double x[kDims];
    gsl_qrng_get(q, x);  // point 0
    Stream s = niederr({kDims});
    const auto got = ints(s.get(), kPoints * kDims);
    for (int32_t i = 0; i < kPoints; ++i) {
        gsl_qrng_get(q, x);
        for (int32_t j = 0; j < kDims; ++j)
            ASSERT_EQ(got[size_t(i) * kDims + size_t(j)] >> 1, static_cast<uint32_t>(x[j] * 0x1p31))
                << "point " << i + 1 << " coordinate " << j;
    }
    gsl_qrng_free(q);
}
#endif

// Degrees of the first n irreducible polynomials over GF(2), in numeric
// order, by a sieve: every product of two polynomials of degree 1 or more
// below 2^12 is marked reducible.
std::vector<int> irreducible_degrees(size_t n) {
    constexpr uint32_t kLimit = 1 << 12;
    std::vector<bool> reducible(kLimit);
    auto deg = [](uint32_t p) { return 31 - __builtin_clz(p); };
    for (uint32_t a = 2; a < kLimit; ++a)
        for (uint32_t b = 2; deg(a) + deg(b) < 12; ++b) {
            uint32_t product = 0;
            for (int k = 0; k < 12; ++k)
                if ((b >> k) & 1) product ^= a << k;
            reducible[product] = true;
        }
    std::vector<int> degrees;
    for (uint32_t p = 2; p < kLimit && degrees.size() < n; ++p)
        if (!reducible[p]) degrees.push_back(deg(p));
    return degrees;
}

// A coordinate of polynomial degree e is a (t,1)-sequence with t = e - 1:
// among points 0 to 2^k - 1 each value of the top k - t bits appears 2^t
// times.  The polynomials x, x + 1, x^2 + x + 1 given as words reproduce
// the first three coordinates.
TEST(Niederreiter, EveryDefaultCoordinateIsATOneSequence) {
    constexpr int32_t kDims = 318, kBits = 14;
    const auto degrees = irreducible_degrees(kDims);
    ASSERT_EQ(degrees.size(), size_t{kDims});
    const auto w = ints(niederr({kDims}).get(), ((1 << kBits) - 1) * kDims);
    for (int32_t j = 0; j < kDims; ++j) {
        const int t = degrees[size_t(j)] - 1, top = kBits - t;
        std::vector<int> count(size_t{1} << top);
        count[0] = 1;  // point 0
        for (int32_t i = 0; i < (1 << kBits) - 1; ++i) ++count[w[size_t(i) * kDims + size_t(j)] >> (32 - top)];
        for (int c : count) ASSERT_EQ(c, 1 << t) << "coordinate " << j;
    }
    const auto three = ints(niederr({3}).get(), 300);
    EXPECT_EQ(ints(niederr({3, 1, 0b10, 0b11, 0b111}).get(), 300), three);
    // Refused: x^2 + 1 = (x + 1)^2, a repeated polynomial, degree 0, too few
    // words, dimension 319 of the defaults.
    for (std::vector<uint32_t> bad :
         {std::vector<uint32_t>{1, 1, 0b101}, {2, 1, 0b11, 0b11}, {1, 1, 1}, {2, 1, 0b11}, {319}}) {
        qor_rng_stream* raw = nullptr;
        EXPECT_EQ(__rixNewStreamEx(&raw, QOR_RNG_BRNG_NIEDERR, int32_t(bad.size()), bad.data()),
                  QOR_RNG_STATUS_BAD_ARGUMENT);
        __rixDeleteStream(&raw);
    }
}

// Coordinate 4 (x^3 + x + 1) has 32 dependent direction numbers: at the index
// whose Gray code combines them to 0, its word is output as 1, not 0.
TEST(Niederreiter, ACoordinateWhoseDigitsVanishIsOutputAsOne) {
    constexpr uint32_t kDims = 4, kCoordinate = 3;
    uint32_t basis[32] = {}, combination[32] = {}, kernel = 0;
    for (int b = 0; b < 32 && !kernel; ++b) {
        Stream s = niederr({kDims});
        ASSERT_EQ(__rixSkipAheadStream(s.get(), ((uint64_t{2} << b) - 2) * kDims + kCoordinate), 0);
        uint32_t x = ints(s.get(), 1)[0], used = 1u << b;  // V_b: Gray code bit b alone
        while (x && basis[31 - __builtin_clz(x)]) {
            const int top = 31 - __builtin_clz(x);
            x ^= basis[top];
            used ^= combination[top];
        }
        if (x) {
            basis[31 - __builtin_clz(x)] = x;
            combination[31 - __builtin_clz(x)] = used;
        } else {
            kernel = used;
        }
    }
    ASSERT_NE(kernel, 0u);
    uint64_t index = 0;  // the inverse Gray code
    for (uint32_t g = kernel; g; g >>= 1) index ^= g;
    Stream s = niederr({kDims});
    ASSERT_EQ(__rixSkipAheadStream(s.get(), (index - 1) * kDims + kCoordinate), 0);
    EXPECT_EQ(ints(s.get(), 1)[0], 1u);
}

TEST(Niederreiter, SkipLeapfrogAndCopyFollowTheSequence) {
    constexpr uint32_t kDims = 5;
    const auto all = ints(niederr({kDims}).get(), 4000);
    Stream s = niederr({kDims});
    ints(s.get(), 3);
    ASSERT_EQ(__rixSkipAheadStream(s.get(), 1001), 0);
    Stream copy = copy_of(s);
    const auto got = ints(s.get(), 100);
    EXPECT_TRUE(std::equal(got.begin(), got.end(), all.begin() + 1004));
    EXPECT_EQ(ints(copy.get(), 100), got);
    Stream one = niederr({kDims});
    ASSERT_EQ(__rixLeapfrogStream(one.get(), 2, kDims), 0);
    const auto coordinate = ints(one.get(), 100);
    for (size_t i = 0; i < coordinate.size(); ++i) ASSERT_EQ(coordinate[i], all[2 + kDims * i]);
    std::vector<double> reals(10);
    ASSERT_EQ(__rixdBRngNiederr(niederr({kDims}).get(), 10, reals.data(), -1.0, 1.0), 0);
    for (size_t i = 0; i < reals.size(); ++i) EXPECT_EQ(reals[i], all[i] * 0x1p-31 - 1.0);
}

}  // namespace
