// Wichmann-Hill against a plain reference (four congruences stepped with
// 64-bit remainders, the output summed as defined), in every output kind
// and across split fills; skip-ahead and leapfrog against drawing and
// discarding; saving and copying; and the parameter table checked afresh:
// distinct primes below 2^24 and primitive-root multipliers.
#include <algorithm>
#include <cmath>
#include <utility>

#include "rng/brng/wh_params.h"
#include "rng_test_support.h"

using namespace rng_test;
using qor::rng::kWhParams;

namespace {

struct Reference {
    uint64_t x[4], a[4], m[4];
    Reference(int32_t member, std::vector<uint32_t> seed) {
        for (int c = 0; c < 4; ++c) {
            m[c] = kWhParams[member].m[c];
            a[c] = kWhParams[member].a[c];
            x[c] = (c < int(seed.size()) ? seed[size_t(c)] : 1) % m[c];
            if (x[c] == 0) x[c] = 1;
        }
    }
    double next() {
        double s = 0;
        for (int c = 0; c < 4; ++c) {
            s += double(x[c]) * (1.0 / double(m[c]));
            x[c] = x[c] * a[c] % m[c];
        }
        return s - std::floor(s);
    }
};

std::vector<uint32_t> words(qor_rng_stream* s, int32_t n) {
    std::vector<uint32_t> r(4 * size_t(n));
    EXPECT_EQ(__rixiBRngWH(s, n, r.data()), 0);
    return r;
}

std::vector<double> reals(qor_rng_stream* s, int32_t n) {
    std::vector<double> r(static_cast<size_t>(n));
    EXPECT_EQ(__rixdBRngWH(s, n, r.data(), 0.0, 1.0), 0);
    return r;
}

TEST(WichmannHill, EqualsTheDefinitionAcrossMembersKindsAndSplitFills) {
    const std::vector<std::vector<uint32_t>> seeds = {{}, {12345}, {0, 16777213, 7, 0xFFFFFFFF}};
    for (int32_t member : {0, 1, 272}) {
        for (const auto& seed : seeds) {
            SCOPED_TRACE(testing::Message() << "member " << member << " seed words " << seed.size());
            Stream d = make_stream(QOR_RNG_BRNG_WH + member, seed), f = copy_of(d), i = copy_of(d);
            Reference ref(member, seed);
            const int32_t n = 1000;
            std::vector<double> dv(n);
            std::vector<float> fv(n);
            std::vector<uint32_t> iv(4 * n, 9);
            int32_t at = 0;
            for (int32_t piece : {1, 3, 7, 8, 9, 16, 17, 100, n - 161}) {
                ASSERT_EQ(__rixdBRngWH(d.get(), piece, dv.data() + at, 2.0, 3.0), 0);
                ASSERT_EQ(__rixsBRngWH(f.get(), piece, fv.data() + at, 0.0f, 1.0f), 0);
                ASSERT_EQ(__rixiBRngWH(i.get(), piece, iv.data() + 4 * at), 0);
                at += piece;
            }
            for (int32_t k = 0; k < n; ++k) {
                const double u = ref.next();
                ASSERT_EQ(dv[k], u + 2.0) << k;
                ASSERT_EQ(fv[k], float(u)) << k;
                ASSERT_EQ(iv[4 * k], uint32_t(u * 0x1p24)) << k;
                ASSERT_EQ(iv[4 * k + 1] | iv[4 * k + 2] | iv[4 * k + 3], 0u) << k;
            }
        }
    }
    // A legacy identifier names the same member; seed words equal to a
    // modulus give no zero component.
    Stream legacy = make_stream(276, {5}), current = make_stream(QOR_RNG_BRNG_WH + 272, {5});
    EXPECT_EQ(words(legacy.get(), 50), words(current.get(), 50));
    const auto& p = kWhParams[3].m;
    Stream wrapped = make_stream(QOR_RNG_BRNG_WH + 3, {p[0], p[1], p[2], p[3]}), ones = make_stream(QOR_RNG_BRNG_WH + 3, {});
    EXPECT_EQ(reals(wrapped.get(), 20), reals(ones.get(), 20));
}

TEST(WichmannHill, SkipAheadAndLeapfrogEqualDrawing) {
    for (int32_t drawn : {0, 5}) {
        for (uint64_t count : {0ull, 1ull, 7ull, 8ull, 9ull, 1000ull}) {
            Stream a = make_stream(QOR_RNG_BRNG_WH + 1, {31, 32}), b = copy_of(a), c = copy_of(a);
            reals(a.get(), drawn);
            reals(b.get(), drawn + int32_t(count));
            reals(c.get(), drawn);
            ASSERT_EQ(__rixSkipAheadStream(a.get(), count), 0);
            const uint64_t two_words[2] = {count, 0};
            ASSERT_EQ(__rixSkipAheadStreamEx(c.get(), 2, two_words), 0);
            const auto expected = reals(b.get(), 40);
            ASSERT_EQ(reals(a.get(), 40), expected) << drawn << " + " << count;
            ASSERT_EQ(reals(c.get(), 40), expected) << drawn << " + " << count;
        }
    }
    // Each component returns after m - 1 steps: a skip by the product of
    // the four (a 96-bit count) is the identity.
    const auto& m = kWhParams[272].m;
    unsigned __int128 product = 1;
    for (int c = 0; c < 4; ++c) product *= m[c] - 1;
    const uint64_t period[2] = {uint64_t(product), uint64_t(product >> 64)};
    Stream full = make_stream(QOR_RNG_BRNG_WH + 272, {99}), start = copy_of(full);
    ASSERT_EQ(__rixSkipAheadStreamEx(full.get(), 2, period), 0);
    EXPECT_EQ(reals(full.get(), 30), reals(start.get(), 30));

    for (auto [k, n] : {std::pair{0, 1}, {2, 5}, {4, 5}, {1, 9}}) {
        Stream all = make_stream(QOR_RNG_BRNG_WH, {3, 4, 5}), part = copy_of(all);
        ASSERT_EQ(__rixLeapfrogStream(part.get(), k, n), 0);
        const auto every = reals(all.get(), 40 * n);
        const auto mine = reals(part.get(), 40);
        for (int32_t j = 0; j < 40; ++j) ASSERT_EQ(mine[size_t(j)], every[size_t(k + j * n)]) << k << " of " << n;
    }
}

TEST(WichmannHill, SavedAndCopiedStreamsContinue) {
    Stream s = make_stream(QOR_RNG_BRNG_WH + 200, {8, 9});
    ASSERT_EQ(__rixLeapfrogStream(s.get(), 1, 3), 0);  // the multipliers travel with the state
    reals(s.get(), 13);
    std::vector<char> image(size_t(__rixGetStreamSize(s.get())));
    ASSERT_EQ(__rixSaveStreamM(s.get(), image.data()), 0);
    qor_rng_stream* raw = nullptr;
    ASSERT_EQ(__rixLoadStreamM(&raw, image.data()), 0);
    Stream loaded(raw), target = make_stream(QOR_RNG_BRNG_WH + 200, {1});
    ASSERT_EQ(__rixCopyStreamState(target.get(), s.get()), 0);
    const auto expected = words(s.get(), 30);
    EXPECT_EQ(words(loaded.get(), 30), expected);
    EXPECT_EQ(words(target.get(), 30), expected);
    EXPECT_EQ(__rixBRngWHInitStream(4, s.get(), 0, nullptr), QOR_RNG_STATUS_BAD_METHOD);
    EXPECT_EQ(__rixBRngWHInitStream(1, s.get(), 2, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixBRngWHInitStream(0, s.get(), 1, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
}

// Checked with trial division, independently of the generating tool.
TEST(WichmannHill, TableHoldsDistinctPrimesAndPrimitiveRoots) {
    auto prime_factors = [](uint64_t n) {
        std::vector<uint64_t> f;
        for (uint64_t d = 2; d * d <= n; ++d)
            if (n % d == 0) {
                f.push_back(d);
                while (n % d == 0) n /= d;
            }
        if (n > 1) f.push_back(n);
        return f;
    };
    uint64_t previous = 1u << 24;
    for (int32_t j = 0; j < qor::rng::kWhParamCount; ++j) {
        for (int c = 0; c < 4; ++c) {
            const uint64_t m = kWhParams[j].m[c], a = kWhParams[j].a[c];
            ASSERT_LT(m, previous) << j;  // descending, so distinct
            previous = m;
            ASSERT_EQ(prime_factors(m), std::vector<uint64_t>{m}) << m;
            ASSERT_TRUE(a > 1 && a < m) << a;
            for (uint64_t q : prime_factors(m - 1)) ASSERT_NE(reference_pow_mod(a, (m - 1) / q, m), 1u) << a << " mod " << m;
        }
    }
}

// The two-dimensional spectral figure the table promises (at least 0.75),
// by Lagrange-Gauss reduction of the dual lattice {(s1, s2): s1 + s2 a = 0
// mod m}, a different method from the tool's exhaustive search.
TEST(WichmannHill, MultipliersPassTheTwoDimensionalSpectralTest) {
    for (int32_t j = 0; j < qor::rng::kWhParamCount; ++j) {
        for (int c = 0; c < 4; ++c) {
            const int64_t m = kWhParams[j].m[c], a = kWhParams[j].a[c];
            int64_t u[2] = {m, 0}, v[2] = {-a, 1};
            auto norm = [](const int64_t* w) { return w[0] * w[0] + w[1] * w[1]; };
            for (;;) {
                if (norm(u) < norm(v)) std::swap(u, v);
                const double dot = double(u[0] * v[0] + u[1] * v[1]);
                const int64_t q = std::llround(dot / double(norm(v)));
                if (q == 0) break;
                u[0] -= q * v[0], u[1] -= q * v[1];
                if (norm(u) >= norm(v)) break;
            }
            const double nu2 = std::sqrt(double(std::min(norm(u), norm(v))));
            ASSERT_GE(nu2 / (std::pow(4.0 / 3.0, 0.25) * std::sqrt(double(m))), 0.75) << a << " mod " << m;
        }
    }
}

}  // namespace
