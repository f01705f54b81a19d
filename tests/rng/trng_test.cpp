// The hardware generator: creation and refusals by processor and method,
// and outputs that look like entropy (no repeats among 4096 words, balanced
// bits, reals inside their interval); never more written than asked.
#include <bit>
#include <cmath>
#include <set>

#include "rng_test_support.h"

using namespace rng_test;

namespace {

TEST(Trng, RefusalsAndOutputsThatLookRandomWithinBounds) {
    qor_rng_stream* raw = nullptr;
    const int32_t status = __rixNewStreamEx(&raw, QOR_RNG_BRNG_NONDETERM, 0, nullptr);
    Stream s(raw);
    ASSERT_EQ(status, __rixCPUisRDRAND() ? QOR_RNG_STATUS_OK : QOR_RNG_STATUS_NO_RDRAND);
    if (status) GTEST_SKIP() << "no RDRAND";
    EXPECT_EQ(__rixLeapfrogStream(s.get(), 0, 2), QOR_RNG_STATUS_NO_LEAPFROG);
    EXPECT_EQ(__rixSkipAheadStream(s.get(), 5), QOR_RNG_STATUS_NO_SKIP_AHEAD_EX);
    const uint64_t count = 5;
    EXPECT_EQ(__rixSkipAheadStreamEx(s.get(), 1, &count), QOR_RNG_STATUS_NO_SKIP_AHEAD_EX);
    EXPECT_EQ(__rixBRngTRNGInitStream(4, s.get(), 0, nullptr), QOR_RNG_STATUS_BAD_METHOD);
    const int32_t n = 4097;  // odd: the last 64-bit request is half used
    std::vector<uint32_t> w(n + 1, 0xDEADBEEF);
    ASSERT_EQ(__rixiBRngTRNG(s.get(), n, w.data()), 0);
    EXPECT_EQ(w.back(), 0xDEADBEEF);
    w.pop_back();
    EXPECT_GE(std::set<uint32_t>(w.begin(), w.end()).size(), size_t(n - 2));
    long ones = 0;
    for (uint32_t x : w) ones += std::popcount(x);
    EXPECT_NEAR(double(ones), 16.0 * n, 6 * std::sqrt(8.0 * n));  // 6 standard deviations
    std::vector<double> d(1001);
    std::vector<float> f(1001);
    ASSERT_EQ(__rixdBRngTRNG(s.get(), 1001, d.data(), -1.0, 2.0), 0);
    ASSERT_EQ(__rixsBRngTRNG(s.get(), 1001, f.data(), -1.0f, 2.0f), 0);
    for (size_t i = 0; i < d.size(); ++i) {
        ASSERT_TRUE(d[i] >= -1.0 && d[i] < 2.0) << d[i];
        ASSERT_TRUE(f[i] >= -1.0f && f[i] <= 2.0f) << f[i];
    }
    EXPECT_EQ(__rixiBRngTRNG(s.get(), 0, nullptr), 0);
}

}  // namespace
