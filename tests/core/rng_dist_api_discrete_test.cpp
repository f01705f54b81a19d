// The checked public calls of the integer distributions: for each, a bad
// method, count, stream, output or parameter gives its status with the
// output and the stream untouched, and a good call succeeds.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "qor/qor.h"
#include "rng_public_support.h"

namespace {

// A call with the method, stream, count and output given, the parameters fixed.
using Call = std::function<int(int method, qor_rng_stream* s, int64_t n, void* r)>;

struct Distribution {
    std::string name;
    Call good;
    std::vector<Call> bad;  // parameters out of range
};

template <class T>
T* as(void* r) {
    return static_cast<T*>(r);
}

std::vector<Distribution> distributions() {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    static const double means[3] = {1, 2, 3}, bad_means[3] = {1, 0, 3}, huge_means[3] = {1, 2, 2e9};
    static const double p3[3] = {0.2, 0.3, 0.5}, short_p3[3] = {0.2, 0.3, 0.4}, negative_p3[3] = {-0.1, 0.6, 0.5};
    auto uniform = [](int32_t a, int32_t b) {
        return [=](int m, qor_rng_stream* s, int64_t n, void* r) { return qor_viRngUniform(m, s, n, as<int32_t>(r), a, b); };
    };
    auto p_call = [](auto f, double p) {
        return [=](int m, qor_rng_stream* s, int64_t n, void* r) { return f(m, s, n, as<int32_t>(r), p); };
    };
    auto binomial = [](int32_t ntrial, double p) {
        return [=](int m, qor_rng_stream* s, int64_t n, void* r) {
            return qor_viRngBinomial(m, s, n, as<int32_t>(r), ntrial, p);
        };
    };
    auto hyper = [](int32_t l, int32_t ss, int32_t mm) {
        return [=](int m, qor_rng_stream* s, int64_t n, void* r) {
            return qor_viRngHypergeometric(m, s, n, as<int32_t>(r), l, ss, mm);
        };
    };
    auto poisson_v = [](const double* lambda) {
        return [=](int m, qor_rng_stream* s, int64_t n, void* r) { return qor_viRngPoissonV(m, s, n, as<int32_t>(r), lambda); };
    };
    auto multinomial = [](int32_t ntrial, int32_t k, const double* p) {
        return [=](int m, qor_rng_stream* s, int64_t n, void* r) {
            return qor_viRngMultinomial(m, s, n, as<int32_t>(r), ntrial, k, p);
        };
    };
    auto neg_binomial = [](double a, double p) {
        return [=](int m, qor_rng_stream* s, int64_t n, void* r) { return qor_viRngNegBinomial(m, s, n, as<int32_t>(r), a, p); };
    };
    auto bits = [](auto f, auto type) {
        return [=](int m, qor_rng_stream* s, int64_t n, void* r) { return f(m, s, n, static_cast<decltype(type)*>(r)); };
    };
    return {
        {"Uniform", uniform(-5, 5), {uniform(5, 5), uniform(6, 5)}},
        {"UniformBits", bits(qor_viRngUniformBits, uint32_t{}), {}},
        {"UniformBits32", bits(qor_viRngUniformBits32, uint32_t{}), {}},
        {"UniformBits64", bits(qor_viRngUniformBits64, uint64_t{}), {}},
        {"Bernoulli", p_call(qor_viRngBernoulli, 0.5),
         {p_call(qor_viRngBernoulli, -0.1), p_call(qor_viRngBernoulli, 1.1), p_call(qor_viRngBernoulli, nan)}},
        {"Geometric", p_call(qor_viRngGeometric, 1.0),
         {p_call(qor_viRngGeometric, 0.0), p_call(qor_viRngGeometric, 1.5), p_call(qor_viRngGeometric, nan)}},
        {"Binomial", binomial(10, 0.5), {binomial(-1, 0.5), binomial(10, -0.5), binomial(10, nan)}},
        {"Hypergeometric", hyper(10, 10, 0), {hyper(10, 11, 5), hyper(10, 5, 11), hyper(10, -1, 5), hyper(10, 5, -1)}},
        {"Poisson", p_call(qor_viRngPoisson, QOR_RNG_POISSON_MEAN_MAX),
         {p_call(qor_viRngPoisson, 0.0), p_call(qor_viRngPoisson, 2 * QOR_RNG_POISSON_MEAN_MAX),
          p_call(qor_viRngPoisson, nan)}},
        {"PoissonV", poisson_v(means), {poisson_v(nullptr), poisson_v(bad_means), poisson_v(huge_means)}},
        {"Multinomial", multinomial(7, 3, p3),
         {multinomial(-1, 3, p3), multinomial(7, 0, p3), multinomial(7, 3, nullptr), multinomial(7, 3, short_p3),
          multinomial(7, 3, negative_p3)}},
        {"NegBinomial", neg_binomial(2.5, 1e-7),
         {neg_binomial(0, 0.5), neg_binomial(nan, 0.5), neg_binomial(2.5, 0), neg_binomial(2.5, 1.5),
          neg_binomial(2.5, 1e-9)}},  // means beyond the Poisson range
    };
}

using rng_public::Stream;

Stream make(uint32_t seed) { return rng_public::make(QOR_RNG_BRNG_MCG31M1, seed); }
double next_uniform(qor_rng_stream* s) { return rng_public::draw(s, 1)[0]; }

}  // namespace

TEST(RngDistApiDiscrete, BadArgumentsLeaveOutputAndStreamAlone) {
    ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail();
    constexpr int64_t kN = 3;  // three variates of up to three values of 8 bytes fit
    for (const Distribution& d : distributions()) {
        Stream s = make(41);
        std::vector<unsigned char> out(72, 0xA5);
        const std::vector<unsigned char> untouched = out;
        void* r = out.data();
        const int bad_arg = QOR_RNG_STATUS_BAD_ARGUMENT, bad_method = QOR_RNG_STATUS_BAD_METHOD;
        EXPECT_EQ(d.good(1, s.get(), kN, r), bad_method) << d.name;
        EXPECT_EQ(d.good(-1, s.get(), kN, r), bad_method) << d.name;
        EXPECT_EQ(d.good(QOR_RNG_METHOD_ACCURATE, s.get(), kN, r), bad_method) << d.name;
        EXPECT_EQ(d.good(0, s.get(), -1, r), bad_arg) << d.name;
        EXPECT_EQ(d.good(0, nullptr, kN, r), bad_arg) << d.name;
        EXPECT_EQ(d.good(0, s.get(), kN, nullptr), bad_arg) << d.name;
        for (size_t i = 0; i < d.bad.size(); ++i) EXPECT_EQ(d.bad[i](0, s.get(), kN, r), bad_arg) << d.name << " " << i;
        EXPECT_EQ(out, untouched) << d.name;
        EXPECT_EQ(next_uniform(s.get()), next_uniform(make(41).get())) << d.name;
        EXPECT_EQ(d.good(0, s.get(), 0, nullptr), QOR_RNG_STATUS_OK) << d.name;
        EXPECT_EQ(d.good(0, s.get(), kN, r), QOR_RNG_STATUS_OK) << d.name;
        EXPECT_NE(out, untouched) << d.name;
    }
}
