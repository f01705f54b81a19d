// MT2203 members against a plain one-word-at-a-time twister with the
// member's matrix, started from the stream's state; the period of each
// member's recurrence checked by a second method (its characteristic
// polynomial, found from the outputs, has x^(2^2203 - 1) = 1); reals and
// split fills; skip-ahead against drawing and discarding; refusals.
#include <algorithm>
#include <cstring>

#include "rng/brng/mt2203_params.h"
#include "rng_test_support.h"

using namespace rng_test;

namespace {

constexpr int kN = 69, kM = 34, kDegree = 2203, kPolyWords = 35;
const int32_t kLastMember = qor::rng::kMt2203ParamCount - 1;

std::vector<uint32_t> ints(qor_rng_stream* s, int32_t n) {
    std::vector<uint32_t> r(static_cast<size_t>(n));
    EXPECT_EQ(__rixiBRngMT2203(s, n, r.data()), 0);
    return r;
}

Stream drawn_stream(int32_t member, std::vector<uint32_t> seed, int32_t drawn) {
    Stream s = make_stream(QOR_RNG_BRNG_MT2203 + member, std::move(seed));
    ints(s.get(), drawn);
    return s;
}

// The twister word by word with circular indices, from a state image.
struct PlainTwister {
    uint32_t mt[kN], a;
    int i;
    uint32_t next() {
        if (i == kN) {
            for (int k = 0; k < kN; ++k) {
                const uint32_t y = (mt[k] & 0xFFFFFFE0u) | (mt[(k + 1) % kN] & 0x1Fu);
                mt[k] = mt[(k + kM) % kN] ^ (y >> 1) ^ (y & 1 ? a : 0);
            }
            i = 0;
        }
        uint32_t y = mt[i++];
        y ^= y >> 11;
        y ^= (y << 7) & 0x9D2C5680u;
        y ^= (y << 15) & 0xEFC60000u;
        return y ^ (y >> 18);
    }
};

TEST(Mt2203, MembersFollowTheRecurrenceWithTheirMatrices) {
    for (int32_t member : {0, 1, kLastMember}) {
        for (int32_t drawn : {0, 30, 69}) {
            Stream s = drawn_stream(member, {7, 8}, drawn);
            PlainTwister plain{};
            std::memcpy(plain.mt, reinterpret_cast<const char*>(s.get()) + 16, sizeof plain.mt);
            std::memcpy(&plain.i, reinterpret_cast<const char*>(s.get()) + 16 + sizeof plain.mt, 4);
            plain.a = qor::rng::kMt2203Matrix[member];
            const auto got = ints(s.get(), 1000);
            for (size_t k = 0; k < got.size(); ++k) {
                ASSERT_EQ(got[k], plain.next()) << "member " << member << " output " << k;
            }
        }
    }
    EXPECT_NE(ints(drawn_stream(0, {7}, 0).get(), 100), ints(drawn_stream(kLastMember, {7}, 0).get(), 100));
}

// ---- The period, through the polynomial routines ------------------------------

struct PolyModF {
    uint64_t w[kPolyWords];
    static inline const uint64_t* f;
};
void times_x(void* p) {
    auto& a = *static_cast<PolyModF*>(p);
    for (int k = kPolyWords - 1; k > 0; --k) a.w[k] = (a.w[k] << 1) | (a.w[k - 1] >> 63);
    a.w[0] <<= 1;
    if ((a.w[kDegree / 64] >> (kDegree % 64)) & 1)
        for (int k = 0; k < kPolyWords; ++k) a.w[k] ^= PolyModF::f[k];
}
void copy_poly(void* d, const void* s) { *static_cast<PolyModF*>(d) = *static_cast<const PolyModF*>(s); }
void add_poly(void* d, const void* s) {
    for (int k = 0; k < kPolyWords; ++k) static_cast<PolyModF*>(d)->w[k] ^= static_cast<const PolyModF*>(s)->w[k];
}

// The shortest linear recurrence of the lowest output bit (tempering mixes
// the state linearly, so the bit follows the state's recurrence), by the
// Berlekamp-Massey algorithm bit by bit, as a characteristic polynomial.
std::vector<uint64_t> polynomial_of_outputs(int32_t member, int* length) {
    const auto out = ints(drawn_stream(member, {3}, 0).get(), 2 * kDegree);
    std::vector<int> c(kDegree + 2, 0), b(kDegree + 2, 0), t;
    c[0] = b[0] = 1;
    int L = 0, m = 1;
    for (int n = 0; n < 2 * kDegree; ++n) {
        int d = out[static_cast<size_t>(n)] & 1;
        for (int i = 1; i <= L; ++i) d ^= c[static_cast<size_t>(i)] & out[static_cast<size_t>(n - i)] & 1;
        if (!d) {
            ++m;
            continue;
        }
        t = c;
        for (int i = 0; i + m <= kDegree + 1; ++i) c[static_cast<size_t>(i + m)] ^= b[static_cast<size_t>(i)];
        if (2 * L <= n) {
            L = n + 1 - L;
            b = t;
            m = 1;
        } else {
            ++m;
        }
    }
    *length = L;
    std::vector<uint64_t> f(kPolyWords, 0);
    for (int k = 0; k <= L && L == kDegree; ++k)
        if (c[static_cast<size_t>(k)]) f[static_cast<size_t>((L - k) / 64)] |= uint64_t{1} << ((L - k) % 64);
    return f;
}

TEST(Mt2203, MembersHaveTheFullPeriod) {
    // x^(2^2203 - 1) = 1 modulo a polynomial of degree 2203 makes it
    // primitive (2^2203 - 1 is prime): the tool's irreducibility test
    // repeated by the library's own powering and Horner steps.
    for (int32_t member : {0, kLastMember}) {
        int length = 0;
        const std::vector<uint64_t> f = polynomial_of_outputs(member, &length);
        ASSERT_EQ(length, kDegree) << "member " << member;
        PolyModF::f = f.data();
        std::vector<uint64_t> exponent(kPolyWords, ~uint64_t{0});
        exponent[kPolyWords - 1] = (uint64_t{1} << (kDegree % 64)) - 1;
        PolyModF one{{1}};
        ASSERT_EQ(__rix_SkipAheadSWin(&one, sizeof one, exponent.data(), kPolyWords, f.data(), kDegree, times_x,
                                      copy_poly, add_poly),
                  0);
        EXPECT_EQ(one.w[0], 1u) << "member " << member;
        for (int k = 1; k < kPolyWords; ++k) EXPECT_EQ(one.w[k], 0u);
    }
}

TEST(Mt2203, RealsAreTheScaledIntegersAndSplitFillsEqualOneFill) {
    Stream one = drawn_stream(kLastMember, {5}, 0);
    Stream ref = copy_of(one), split = copy_of(one);
    const int32_t n = 1000;
    const auto words = ints(ref.get(), n);
    std::vector<double> d(n);
    std::vector<float> f(n);
    ASSERT_EQ(__rixdBRngMT2203(one.get(), n, d.data(), -2.0, 3.0), 0);
    for (int32_t i = 0; i < n; ++i)
        ASSERT_EQ(d[static_cast<size_t>(i)], words[static_cast<size_t>(i)] * (5.0 * 0x1p-32) + -2.0);
    ASSERT_EQ(__rixsBRngMT2203(split.get(), 68, f.data(), 0.0f, 1.0f), 0);
    const auto rest = ints(split.get(), n - 68);
    EXPECT_EQ(f[67], static_cast<float>(words[67] * 0x1p-32));
    EXPECT_TRUE(std::equal(rest.begin(), rest.end(), words.begin() + 68));
}

TEST(Mt2203, SkipEqualsDrawingAndDiscarding) {
    // Vector boundaries and both sides of the stepping limit (2^20).
    for (uint64_t count : {1ull, 68ull, 69ull, 70ull, 1048576ull, 1048577ull, 5000000ull}) {
        for (int32_t drawn : {0, 30, 69}) {
            Stream a = drawn_stream(kLastMember, {11, 12}, drawn), b = copy_of(a);
            ASSERT_EQ(__rixSkipAheadStream(a.get(), count), 0);
            std::vector<uint32_t> sink(static_cast<size_t>(count));
            __rixiBRngMT2203(b.get(), static_cast<int32_t>(count), sink.data());
            ASSERT_EQ(ints(a.get(), 200), ints(b.get(), 200)) << "count " << count << " drawn " << drawn;
        }
    }
}

TEST(Mt2203, Refusals) {
    Stream s = drawn_stream(0, {}, 0);
    EXPECT_EQ(__rixLeapfrogStream(s.get(), 0, 2), QOR_RNG_STATUS_NO_LEAPFROG);
    EXPECT_EQ(__rixBRngMT2203InitStream(4, s.get(), 0, nullptr), QOR_RNG_STATUS_BAD_METHOD);
    const uint64_t two_words[2] = {0, 1};
    EXPECT_EQ(__rixSkipAheadStreamEx(s.get(), 2, two_words), QOR_RNG_STATUS_NO_SKIP_AHEAD_EX);
    if (kLastMember + 1 < 6024) {  // members beyond the parameter table
        qor_rng_stream* raw = nullptr;
        EXPECT_EQ(__rixNewStreamEx(&raw, QOR_RNG_BRNG_MT2203 + kLastMember + 1, 0, nullptr), QOR_RNG_STATUS_BAD_BRNG);
        __rixDeleteStream(&raw);
    }
}

}  // namespace
