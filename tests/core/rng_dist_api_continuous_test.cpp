// The checked public calls of the exponential, Laplace, Weibull, Cauchy,
// Rayleigh, lognormal and Gumbel distributions: an unknown method (or an
// accurate one where there is none) is refused, and so is every parameter
// outside its range, with the output and the stream untouched.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "qor/qor.h"
#include "rng_public_support.h"

namespace {

using rng_public::Stream;

Stream make(uint32_t seed) { return rng_public::make(QOR_RNG_BRNG_MCG59, seed); }
double next_uniform(qor_rng_stream* s) { return rng_public::draw(s, 1)[0]; }

// A distribution's public call over a parameter vector, and each
// parameter's kind: 'f' finite, 'p' positive and finite.
template <class T>
struct Distribution {
    const char* name;
    int methods;
    bool accurate;
    std::string kinds;
    std::function<int(int, qor_rng_stream*, int64_t, T*, const std::vector<T>&)> call;
};

#define CALL(p, Name, ...) [](int m, qor_rng_stream* s, int64_t n, auto* r, const auto& v) { \
    return qor_v##p##Rng##Name(m, s, n, r, __VA_ARGS__); }
#define TWO v[0], v[1]

template <class T, char p>
std::vector<Distribution<T>> distributions() {
    if constexpr (p == 'd')
        return {{"exponential", 1, true, "fp", CALL(d, Exponential, TWO)},
                {"laplace", 1, false, "fp", CALL(d, Laplace, TWO)},
                {"weibull", 1, true, "pfp", CALL(d, Weibull, v[0], v[1], v[2])},
                {"cauchy", 1, false, "fp", CALL(d, Cauchy, TWO)},
                {"rayleigh", 1, true, "fp", CALL(d, Rayleigh, TWO)},
                {"lognormal", 2, true, "fpfp", CALL(d, Lognormal, v[0], v[1], v[2], v[3])},
                {"gumbel", 1, false, "fp", CALL(d, Gumbel, TWO)}};
    else
        return {{"exponential", 1, true, "fp", CALL(s, Exponential, TWO)},
                {"laplace", 1, false, "fp", CALL(s, Laplace, TWO)},
                {"weibull", 1, true, "pfp", CALL(s, Weibull, v[0], v[1], v[2])},
                {"cauchy", 1, false, "fp", CALL(s, Cauchy, TWO)},
                {"rayleigh", 1, true, "fp", CALL(s, Rayleigh, TWO)},
                {"lognormal", 2, true, "fpfp", CALL(s, Lognormal, v[0], v[1], v[2], v[3])},
                {"gumbel", 1, false, "fp", CALL(s, Gumbel, TWO)}};
}

template <class T, char p>
void expect_checks() {
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    for (const Distribution<T>& d : distributions<T, p>()) {
        Stream s = make(31);
        const double first = next_uniform(make(31).get());
        std::vector<T> r(4, T(-9));
        const std::vector<T> good(d.kinds.size(), T(1.5));
        const auto refused = [&](int method, qor_rng_stream* st, int64_t n, T* out, const std::vector<T>& v,
                                 int status) {
            EXPECT_EQ(d.call(method, st, n, out, v), status) << d.name << " method " << method << " n " << n;
        };
        for (int method : {d.methods, -1, d.methods | QOR_RNG_METHOD_ACCURATE})
            refused(method, s.get(), 4, r.data(), good, QOR_RNG_STATUS_BAD_METHOD);
        if (!d.accurate) refused(QOR_RNG_METHOD_ACCURATE, s.get(), 4, r.data(), good, QOR_RNG_STATUS_BAD_METHOD);
        refused(0, s.get(), -1, r.data(), good, QOR_RNG_STATUS_BAD_ARGUMENT);
        refused(0, nullptr, 4, r.data(), good, QOR_RNG_STATUS_BAD_ARGUMENT);
        refused(0, s.get(), 4, nullptr, good, QOR_RNG_STATUS_BAD_ARGUMENT);
        for (size_t i = 0; i < d.kinds.size(); ++i) {
            std::vector<T> outside = {nan, inf, -inf};
            if (d.kinds[i] == 'p') outside.insert(outside.end(), {T(0), T(-0.0), T(-1)});
            for (T x : outside) {
                std::vector<T> v = good;
                v[i] = x;
                refused(0, s.get(), 4, r.data(), v, QOR_RNG_STATUS_BAD_ARGUMENT);
            }
        }
        EXPECT_EQ(r, std::vector<T>(4, T(-9))) << d.name;
        EXPECT_EQ(next_uniform(s.get()), first) << d.name;  // the stream did not move
        // Every method (accurate too, where there is one) is taken.
        refused(0, s.get(), 0, nullptr, good, QOR_RNG_STATUS_OK);
        for (int method = 0; method < d.methods; ++method) {
            refused(method, s.get(), 4, r.data(), good, QOR_RNG_STATUS_OK);
            if (d.accurate)
                refused(method | QOR_RNG_METHOD_ACCURATE, s.get(), 4, r.data(), good, QOR_RNG_STATUS_OK);
        }
        for (T x : r) EXPECT_TRUE(std::isfinite(x)) << d.name;
    }
}

TEST(RngDistApiContinuous, MethodsCountsOutputsAndParametersAreChecked) {
    ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail();
    expect_checks<double, 'd'>();
    expect_checks<float, 's'>();
}

}  // namespace
