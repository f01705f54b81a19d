// Integer distributions: goodness of fit against Boost.Math's distribution
// functions for each method and several parameter sets, extreme ones
// included; the bit forms against the generator's own words; invariants of
// the multinomial and the uniform integers; a failing generator's status.
#include <boost/math/distributions/bernoulli.hpp>
#include <boost/math/distributions/binomial.hpp>
#include <boost/math/distributions/geometric.hpp>
#include <boost/math/distributions/hypergeometric.hpp>
#include <boost/math/distributions/negative_binomial.hpp>
#include <boost/math/distributions/poisson.hpp>

#include <xmmintrin.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "goodness_of_fit.h"
#include "qor/qor_vm.h"
#include "rng_test_support.h"

using namespace rng_test;
namespace bm = boost::math;

namespace {

constexpr int32_t kSample = 200000;

// n variates of a distribution drawn by `draw` into a vector.
template <class T = int32_t, class Draw>
std::vector<T> sample(Draw draw, int32_t n = kSample, uint32_t seed = 7) {
    std::vector<T> r(n);
    Stream s = make_stream(QOR_RNG_BRNG_MCG59, {seed});
    EXPECT_EQ(draw(s.get(), n, r.data()), QOR_RNG_STATUS_OK);
    return r;
}

template <class Dist>
std::function<double(double)> cdf_of(Dist d) {
    return [d](double k) { return bm::cdf(d, k); };
}

void expect_fit(const std::vector<int32_t>& x, const std::function<double(double)>& cdf, const std::string& what) {
    EXPECT_GT(gof::chi_square_pvalue(x, cdf), gof::kMinPValue) << what;
}

}  // namespace

TEST(Discrete, PoissonFitsFromTinyToHugeMeans) {
    for (double lambda : {1e-6, 0.5, 9.99, 10.0, 37.0, 1e4, 1073741824.0}) {
        const auto x = sample([&](auto s, int32_t n, int32_t* r) { return _rixiRngPoisson(0, s, n, r, lambda); });
        expect_fit(x, cdf_of(bm::poisson(lambda)), "lambda " + std::to_string(lambda));
        const auto [mean, var] = gof::mean_variance(x);
        EXPECT_NEAR(mean, lambda, 5 * std::sqrt(lambda / kSample)) << lambda;
    }
}

TEST(Discrete, PoissonVFollowsEachMean) {
    // Alternating means on both sides of the method switch; with one mean
    // of 10 or more throughout it gives what Poisson gives.
    std::vector<double> lambda(kSample);
    for (int32_t i = 0; i < kSample; ++i) lambda[i] = i % 2 ? 3.5 : 250.0;
    const auto x = sample([&](auto s, int32_t n, int32_t* r) { return _rixiRngPoissonV(0, s, n, r, lambda.data()); });
    std::vector<int32_t> even, odd;
    for (int32_t i = 0; i < kSample; ++i) (i % 2 ? odd : even).push_back(x[i]);
    expect_fit(even, cdf_of(bm::poisson(250.0)), "mean 250");
    expect_fit(odd, cdf_of(bm::poisson(3.5)), "mean 3.5");
    const std::vector<double> same(1000, 37.0);
    EXPECT_EQ(sample([&](auto s, int32_t n, int32_t* r) { return _rixiRngPoissonV(0, s, n, r, same.data()); }, 1000),
              sample([&](auto s, int32_t n, int32_t* r) { return _rixiRngPoisson(0, s, n, r, 37.0); }, 1000));
}

TEST(Discrete, NegativeBinomialFitsForRealAndExtremeShapes) {
    for (const auto& [a, p] : {std::pair{1.0, 0.5}, {0.3, 0.1}, {7.5, 0.9}, {1000.0, 0.3}, {0.01, 0.5}, {2.0, 1e-4}}) {
        const auto x = sample([&](auto s, int32_t n, int32_t* r) { return _rixiRngNegBinomial(0, s, n, r, a, p); });
        expect_fit(x, cdf_of(bm::negative_binomial(a, p)), "a " + std::to_string(a) + " p " + std::to_string(p));
    }
    const auto all_succeed = sample([](auto s, int32_t n, int32_t* r) { return _rixiRngNegBinomial(0, s, n, r, 3, 1); }, 100);
    EXPECT_EQ(all_succeed, std::vector<int32_t>(100, 0));
}

TEST(Discrete, BinomialFitsByInversionAndBtpe) {
    const struct {
        int32_t ntrial;
        double p;
    } cases[] = {{1, 0.5}, {20, 1e-9}, {10, 0.3}, {1000, 0.03}, {1000, 0.97}, {1000000, 0.5}, {2147483647, 1e-3}};
    for (const auto& c : cases) {
        const auto x = sample([&](auto s, int32_t n, int32_t* r) { return _rixiRngBinomial(0, s, n, r, c.ntrial, c.p); });
        expect_fit(x, cdf_of(bm::binomial(c.ntrial, c.p)), std::to_string(c.ntrial) + ", " + std::to_string(c.p));
        const double mean = c.ntrial * c.p, sd = std::sqrt(mean * (1 - c.p));
        EXPECT_NEAR(gof::mean_variance(x).first, mean, 5 * sd / std::sqrt(kSample) + 1e-9);
    }
    for (double p : {0.0, 1.0}) {
        const auto x = sample([&](auto s, int32_t n, int32_t* r) { return _rixiRngBinomial(0, s, n, r, 77, p); }, 100);
        EXPECT_EQ(x, std::vector<int32_t>(100, p == 0 ? 0 : 77));
    }
}

TEST(Discrete, HypergeometricFitsInEveryOrientation) {
    // Lot l, sample s, marked m: small modes (inversion), large ones (H2PE),
    // and each of the reductions (marked above half the lot, sample above half).
    const struct {
        int32_t l, s, m;
    } cases[] = {{10, 5, 3},       {1000, 100, 500},   {1000, 900, 950},      {1000, 30, 990},
                 {1000000, 100000, 300000}, {200000, 150000, 20000}, {40, 40, 17}};
    for (const auto& c : cases) {
        const auto x =
            sample([&](auto s, int32_t n, int32_t* r) { return _rixiRngHypergeometric(0, s, n, r, c.l, c.s, c.m); });
        expect_fit(x, cdf_of(bm::hypergeometric_distribution<double>(c.m, c.s, c.l)),
                   std::to_string(c.l) + " " + std::to_string(c.s) + " " + std::to_string(c.m));
        EXPECT_NEAR(gof::mean_variance(x).first, double(c.s) * c.m / c.l, 0.01 * (1 + double(c.s) * c.m / c.l));
    }
}

TEST(Discrete, GeometricAndBernoulliFitNearZeroAndOne) {
    for (double p : {1e-6, 0.3, 0.999999}) {
        const auto x = sample([&](auto s, int32_t n, int32_t* r) { return _rixiRngGeometric(0, s, n, r, p); });
        expect_fit(x, cdf_of(bm::geometric(p)), "geometric " + std::to_string(p));
        const auto b = sample([&](auto s, int32_t n, int32_t* r) { return _rixiRngBernoulli(0, s, n, r, p); });
        expect_fit(b, cdf_of(bm::bernoulli(p)), "bernoulli " + std::to_string(p));
    }
    // Certain outcomes, and a tiny p clamped to the largest int32_t.
    EXPECT_EQ(sample([](auto s, int32_t n, int32_t* r) { return _rixiRngGeometric(0, s, n, r, 1.0); }, 50),
              std::vector<int32_t>(50, 0));
    EXPECT_EQ(sample([](auto s, int32_t n, int32_t* r) { return _rixiRngBernoulli(0, s, n, r, 0.0); }, 50),
              std::vector<int32_t>(50, 0));
    EXPECT_EQ(sample([](auto s, int32_t n, int32_t* r) { return _rixiRngBernoulli(0, s, n, r, 1.0); }, 50),
              std::vector<int32_t>(50, 1));
    const auto far = sample([](auto s, int32_t n, int32_t* r) { return _rixiRngGeometric(0, s, n, r, 1e-300); }, 50);
    EXPECT_EQ(far, std::vector<int32_t>(50, INT32_MAX));
}

TEST(Discrete, UniformIntegersAreEvenOverSmallAndWideRanges) {
    for (int32_t brng : {int32_t{QOR_RNG_BRNG_MCG31M1}, int32_t{QOR_RNG_BRNG_MCG59}}) {
        Stream s = make_stream(brng, {99});
        std::vector<int32_t> x(kSample);
        ASSERT_EQ(_rixiRngUniform(0, s.get(), kSample, x.data(), -3, 4), 0);
        expect_fit(x, [](double k) { return std::clamp((k + 4) / 7, 0.0, 1.0); }, "[-3, 4)");
        constexpr double kWide = 3.0 * (1 << 29);  // 3 2^29: rejects a quarter of the words
        ASSERT_EQ(_rixiRngUniform(0, s.get(), kSample, x.data(), -5, int32_t(kWide - 5)), 0);
        expect_fit(x, [=](double k) { return std::clamp((k + 6) / kWide, 0.0, 1.0); }, "3 2^29");
        // A power-of-two range never rejects: the top bits of each word.
        Stream t = copy_of(s);
        std::vector<uint32_t> w(1000);
        ASSERT_EQ(_rixiRngUniform(0, s.get(), 1000, x.data(), 100, 100 + 64), 0);
        ASSERT_EQ(_rixiRngUniformBits32(0, t.get(), 1000, w.data()), 0);
        for (int i = 0; i < 1000; ++i) ASSERT_EQ(x[i], int32_t(100 + (w[i] >> 26)));
        // The whole int32_t range less one value.
        ASSERT_EQ(_rixiRngUniform(0, s.get(), 1000, x.data(), INT32_MIN, INT32_MAX), 0);
        EXPECT_LT(*std::min_element(x.begin(), x.end()), INT32_MIN / 2);
        EXPECT_GT(*std::max_element(x.begin(), x.end()), INT32_MAX / 2);
    }
}

TEST(Discrete, RawBitsAreTheGeneratorsWords) {
    for (int32_t brng : {int32_t{QOR_RNG_BRNG_MCG31M1}, int32_t{QOR_RNG_BRNG_MCG59}}) {
        Stream s = make_stream(brng, {5});
        Stream t = copy_of(s);
        qor_rng_brng_properties p;
        ASSERT_EQ(__rixGetBrngProperties(brng, &p), 0);
        std::vector<uint32_t> raw(3001), expected(3002);
        ASSERT_EQ(_rixiRngUniformBits(0, s.get(), 3001, raw.data()), 0);
        ASSERT_EQ(p.fill_int(t.get(), 3002 * 4 / p.word_size, expected.data()), 0);
        expected.pop_back();
        EXPECT_EQ(raw, expected);
    }
}

TEST(Discrete, BitWordsAreBalancedAndIndependentBitByBit) {
    // Every bit is one about half the time, and so is every pair of
    // neighbouring bits (within 5 standard deviations); the words are the
    // top bits of the generator's words.
    constexpr int32_t kWords = 100000;
    for (int32_t brng : {int32_t{QOR_RNG_BRNG_MCG31M1}, int32_t{QOR_RNG_BRNG_MCG59}}) {
        Stream s = make_stream(brng, {2024});
        Stream t = copy_of(s);
        std::vector<uint64_t> w(kWords);
        ASSERT_EQ(_rixiRngUniformBits64(0, s.get(), kWords, w.data()), 0);
        for (int bit = 0; bit < 64; ++bit) {
            const int next = (bit + 1) % 64;
            double ones = 0, pairs = 0;
            for (uint64_t v : w) {
                ones += (v >> bit) & 1;
                pairs += (v >> bit) & (v >> next) & 1;
            }
            EXPECT_NEAR(ones, kWords / 2.0, 5 * std::sqrt(kWords / 4.0)) << "bit " << bit;
            EXPECT_NEAR(pairs, kWords / 4.0, 5 * std::sqrt(kWords * 3 / 16.0)) << "bits " << bit << ", " << next;
        }
        std::vector<uint64_t> words(2);
        qor_rng_brng_properties p;
        ASSERT_EQ(__rixGetBrngProperties(brng, &p), 0);
        uint32_t expected[2];
        if (p.word_size == 8) {
            ASSERT_EQ(p.fill_int(t.get(), 2, words.data()), 0);
            expected[0] = uint32_t(words[0] >> 27), expected[1] = uint32_t(words[1] >> 27);
        } else {
            uint32_t x[3];
            ASSERT_EQ(p.fill_int(t.get(), 3, x), 0);  // 31 + 31 bits make two words
            expected[0] = x[0] << 1 | x[1] >> 30, expected[1] = x[1] << 2 | x[2] >> 29;
        }
        EXPECT_EQ(w[0], uint64_t{expected[0]} | uint64_t{expected[1]} << 32);
    }
}

TEST(Discrete, MultinomialCountsSumToTheTrialsWithBinomialMarginals) {
    const double p[5] = {0.1, 0.0, 0.25, 0.3, 0.35};
    constexpr int32_t kTrials = 60, kVariates = 100000;
    const auto x = sample(
        [&](auto s, int32_t n, int32_t* r) { return _rixiRngMultinomial(0, s, n / 5, r, kTrials, 5, p); },
        5 * kVariates);
    for (int j = 0; j < 5; ++j) {
        std::vector<int32_t> count(kVariates);
        for (int32_t i = 0; i < kVariates; ++i) count[i] = x[5 * i + j];
        if (p[j] == 0)
            EXPECT_EQ(count, std::vector<int32_t>(kVariates, 0));
        else
            expect_fit(count, cdf_of(bm::binomial(kTrials, p[j])), "category " + std::to_string(j));
    }
    for (int32_t i = 0; i < kVariates; ++i)
        ASSERT_EQ(x[5 * i] + x[5 * i + 1] + x[5 * i + 2] + x[5 * i + 3] + x[5 * i + 4], kTrials);
}

TEST(Discrete, InversionsUseOneUniformPerVariateAndBitWordsWhatTheyNeed) {
    // After the call the stream stands where a copy does after that many
    // uniforms (or, for the 32-bit words, generator words of 31 bits).
    const std::function<int32_t(qor_rng_stream*, int32_t*)> calls[] = {
        [](auto s, int32_t* r) { return _rixiRngBernoulli(0, s, 1500, r, 0.3); },
        [](auto s, int32_t* r) { return _rixiRngGeometric(0, s, 1500, r, 0.3); },
        [](auto s, int32_t* r) { return _rixiRngPoisson(0, s, 1500, r, 4.0); },
        [](auto s, int32_t* r) { return _rixiRngBinomial(0, s, 1500, r, 40, 0.3); },
        [](auto s, int32_t* r) { return _rixiRngUniformBits32(0, s, 1457, reinterpret_cast<uint32_t*>(r)); }};
    for (const auto& call : calls) {
        Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {17});
        Stream t = copy_of(s);
        std::vector<int32_t> r(1500);
        std::vector<double> u(1504);  // 32 * 1457 / 31 rounds up to 1504 words
        ASSERT_EQ(call(s.get(), r.data()), 0);
        ASSERT_EQ(_rixdRngUniform(0, t.get(), &call == &calls[4] ? 1504 : 1500, u.data(), 0.0, 1.0), 0);
        double a, b;
        ASSERT_EQ(_rixdRngUniform(0, s.get(), 1, &a, 0.0, 1.0), 0);
        ASSERT_EQ(_rixdRngUniform(0, t.get(), 1, &b, 0.0, 1.0), 0);
        EXPECT_EQ(a, b) << &call - calls;
    }
}

TEST(Discrete, FailingGeneratorStatusComesBackWithTheStateRestored) {
    // The vector-math mode and the floating-point control word are as they
    // were after a failing call and after a good one.
    const uint32_t mode = qor_lum_kernel_GetMode(), csr = _mm_getcsr() & ~0x3Fu;
    Stream s = ScriptedGenerator::stream({0.5}, -77);
    std::vector<int32_t> r(10);
    std::vector<uint64_t> w(10);
    const double lambda[10] = {1, 2, 3, 50, 50, 50, 1, 1, 1, 1}, p[2] = {0.5, 0.5};
    qor_rng_stream* g = s.get();
    const int32_t statuses[] = {
        _rixiRngUniform(0, g, 10, r.data(), 0, 10),
        _rixiRngUniformBits(0, g, 10, reinterpret_cast<uint32_t*>(w.data())),
        _rixiRngUniformBits32(0, g, 10, reinterpret_cast<uint32_t*>(w.data())),
        _rixiRngUniformBits64(0, g, 10, w.data()),
        _rixiRngBernoulli(0, g, 10, r.data(), 0.5),
        _rixiRngGeometric(0, g, 10, r.data(), 0.5),
        _rixiRngBinomial(0, g, 10, r.data(), 10, 0.5),
        _rixiRngBinomial(0, g, 10, r.data(), 1000, 0.5),
        _rixiRngHypergeometric(0, g, 10, r.data(), 100, 50, 50),
        _rixiRngHypergeometric(0, g, 10, r.data(), 100, 5, 5),
        _rixiRngPoisson(0, g, 10, r.data(), 2.0),
        _rixiRngPoisson(0, g, 10, r.data(), 200.0),
        _rixiRngPoissonV(0, g, 10, r.data(), lambda),
        _rixiRngMultinomial(0, g, 5, r.data(), 10, 2, p),
        _rixiRngNegBinomial(0, g, 10, r.data(), 2.5, 0.5),
    };
    for (int32_t status : statuses) EXPECT_EQ(status, -77);
    Stream good = make_stream(QOR_RNG_BRNG_MCG59, {1});
    EXPECT_EQ(_rixiRngGeometric(0, good.get(), 10, r.data(), 0.5), 0);
    EXPECT_EQ(qor_lum_kernel_GetMode(), mode);
    EXPECT_EQ(_mm_getcsr() & ~0x3Fu, csr);
}
