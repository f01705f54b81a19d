// The C++ random-number layer: ownership of streams, the <random> adaptor,
// distribution objects against the C calls, and errors.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "qor/qor.hpp"

namespace {

using qor::random::brng;
using qor::random::stream;

std::vector<std::uint32_t> words(stream& s, std::size_t n) {
    std::vector<std::uint32_t> w(n);
    EXPECT_EQ(qor_viRngUniformBits32(QOR_RNG_METHOD_UNIFORMBITS32_STD, s.get(), static_cast<std::int64_t>(n), w.data()), 0);
    return w;
}

TEST(CxxRandom, CopiesMovesAndSavedImagesContinueTheSameSequence) {
    stream s(brng::mt19937, 5489);
    stream copy = s.copy();
    const std::vector<char> image = s.save();
    EXPECT_EQ(words(s, 8), words(copy, 8));

    stream loaded = stream::load(image);
    stream moved(std::move(copy));
    EXPECT_EQ(copy.get(), nullptr);
    EXPECT_EQ(loaded.generator(), brng::mt19937);
    const auto from_image = words(loaded, 16);
    EXPECT_EQ(std::vector<std::uint32_t>(from_image.begin() + 8, from_image.end()), words(moved, 8));

    stream skipped(brng::mrg32k3a, 1), stepped(brng::mrg32k3a, 1);
    skipped.skip_ahead(1000);
    words(stepped, 1000);
    EXPECT_EQ(words(skipped, 4), words(stepped, 4));
}

TEST(CxxRandom, BitGeneratorServesStandardDistributionsFromTheStreamsWords) {
    stream s(brng::philox4x32x10, 7);
    stream twin = s.copy();
    qor::random::bit_generator bits(s);
    const auto expected = words(twin, 100);
    for (std::size_t i = 0; i < 100; ++i) ASSERT_EQ(bits(), expected[i]) << i;

    std::uniform_int_distribution<int> die(1, 6);
    std::vector<int> counts(7, 0);
    for (int i = 0; i < 6000; ++i) ++counts[static_cast<std::size_t>(die(bits))];
    EXPECT_EQ(counts[0], 0);
    for (int face = 1; face <= 6; ++face) EXPECT_NEAR(counts[static_cast<std::size_t>(face)], 1000, 150);
}

TEST(CxxRandom, DistributionsDrawWhatTheCCallsDraw) {
    stream a(brng::mcg59, 3), b(brng::mcg59, 3);
    qor::random::gaussian<double> g(qor::random::gaussian_method::icdf, 2.0, 0.5);
    const auto bulk = g.generate(a, 5);
    std::vector<double> c(5);
    ASSERT_EQ(qor_vdRngGaussian(QOR_RNG_METHOD_GAUSSIAN_ICDF, b.get(), 5, c.data(), 2.0, 0.5), 0);
    EXPECT_EQ(bulk, c);

    stream d(brng::mcg59, 3);
    EXPECT_EQ(g(d), bulk[0]);
    const auto k = qor::random::poisson(4.0).generate(d, 1000);
    for (int v : k) EXPECT_GE(v, 0);
    const auto u = qor::random::uniform_int(-3, 3).generate(d, 1000);
    for (int v : u) EXPECT_TRUE(v >= -3 && v < 3) << v;
}

// Each alias hands its parameters to the C call in the order it documents.
TEST(CxxRandom, EveryAliasMatchesItsCCall) {
    const auto check = [](const char* name, auto dist, auto c_call) {
        using T = typename decltype(dist)::result_type;
        stream a(brng::mrg32k3a, 11), b(brng::mrg32k3a, 11);
        const std::vector<T> got = dist.generate(a, 64);
        std::vector<T> want(64);
        ASSERT_EQ(c_call(b.get(), want.data()), 0) << name;
        EXPECT_EQ(got, want) << name;
    };
    namespace r = qor::random;
    using S = qor_rng_stream*;
    check("uniform", r::uniform<float>(-1.f, 2.f), [](S s, float* o) { return qor_vsRngUniform(0, s, 64, o, -1.f, 2.f); });
    check("laplace", r::laplace<>(1.0, 2.0), [](S s, double* o) { return qor_vdRngLaplace(0, s, 64, o, 1.0, 2.0); });
    check("weibull", r::weibull<>(r::method::accurate, 1.5, 0.5, 2.0), [](S s, double* o) {
        return qor_vdRngWeibull(QOR_RNG_METHOD_WEIBULL_ICDF_ACCURATE, s, 64, o, 1.5, 0.5, 2.0);
    });
    check("lognormal", r::lognormal<>(r::lognormal_method::icdf, 0.1, 0.4, 1.0, 2.0), [](S s, double* o) {
        return qor_vdRngLognormal(QOR_RNG_METHOD_LOGNORMAL_ICDF, s, 64, o, 0.1, 0.4, 1.0, 2.0);
    });
    check("gamma", r::gamma<>(2.5, 1.0, 3.0), [](S s, double* o) { return qor_vdRngGamma(0, s, 64, o, 2.5, 1.0, 3.0); });
    check("beta", r::beta<>(0.5, 2.0, 1.0, 3.0), [](S s, double* o) { return qor_vdRngBeta(0, s, 64, o, 0.5, 2.0, 1.0, 3.0); });
    check("chi_square", r::chi_square<>(5), [](S s, double* o) { return qor_vdRngChiSquare(0, s, 64, o, 5); });
    check("binomial", r::binomial(20, 0.3), [](S s, std::int32_t* o) { return qor_viRngBinomial(0, s, 64, o, 20, 0.3); });
    check("hypergeometric", r::hypergeometric(100, 10, 40),
          [](S s, std::int32_t* o) { return qor_viRngHypergeometric(0, s, 64, o, 100, 10, 40); });
    check("negative_binomial", r::negative_binomial(2.5, 0.4),
          [](S s, std::int32_t* o) { return qor_viRngNegBinomial(0, s, 64, o, 2.5, 0.4); });
    check("uniform_bits64", r::uniform_bits64(), [](S s, std::uint64_t* o) { return qor_viRngUniformBits64(0, s, 64, o); });
}

TEST(CxxRandom, FailuresThrowTheCStatus) {
    qor_rng_stream* raw = nullptr;
    const int bad_brng = qor_rng_new_stream(&raw, 0x7F000000, 1);
    ASSERT_LT(bad_brng, 0);
    try {
        stream s(static_cast<brng>(0x7F000000), 1);
        ADD_FAILURE();
    } catch (const qor::error& e) {
        EXPECT_EQ(e.status(), bad_brng);
    }
    stream s(brng::mcg31m1, 1);
    std::vector<double> out(4, 9.0);
    try {
        qor::random::uniform<double>(1.0, 0.0)(s, out);  // bounds out of order
        ADD_FAILURE();
    } catch (const qor::error& e) {
        // -3 is also a statistics code: the text is the random-number one.
        EXPECT_EQ(e.status(), QOR_RNG_STATUS_BAD_ARGUMENT);
        EXPECT_EQ(e.family(), QOR_FAMILY_RNG);
        EXPECT_NE(std::strstr(e.what(), qor_family_status_string(QOR_FAMILY_RNG, QOR_RNG_STATUS_BAD_ARGUMENT)), nullptr)
            << e.what();
    }
    EXPECT_EQ(out, std::vector<double>(4, 9.0));
    EXPECT_THROW(s.leapfrog(0, 0), qor::error);
}

}  // namespace
