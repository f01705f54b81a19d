// Uniform variates: the standard method returns exactly the generator's
// real fill; the accurate method clamps into [a, b]; a generator's status
// comes back unchanged.
#include <cstring>
#include <vector>

#include "rng_test_support.h"

using namespace rng_test;

namespace {

// A registered generator whose real fills step outside [a, b] on purpose:
// a - 1, b + 1, a, the midpoint, repeated; it answers `status`.
struct Overshoot {
    static inline int32_t status = 0;
    static int32_t init(uint32_t, qor_rng_stream*, int32_t, const uint32_t*) { return 0; }
    template <class T>
    static int32_t fill(qor_rng_stream*, int32_t n, T* r, T a, T b) {
        const T pattern[4] = {a - 1, b + 1, a, (a + b) / 2};
        for (int32_t i = 0; i < n; ++i) r[i] = pattern[i % 4];
        return status;
    }
    static int32_t fill_i(qor_rng_stream*, int32_t, void*) { return 0; }
    static int32_t brng() {
        static const int32_t id = [] {
            const qor_rng_brng_properties p = {24, 1, 1, 4, 32, init, fill<float>, fill<double>, fill_i};
            return __rixRegisterBrng(&p);
        }();
        return id;
    }
};

}  // namespace

TEST(Uniform, StandardMethodIsTheGeneratorsFillUnchanged) {
    for (int32_t brng : {int32_t{QOR_RNG_BRNG_MCG31M1}, int32_t{QOR_RNG_BRNG_MCG59}}) {
        Stream s = make_stream(brng, {321});
        Stream t = copy_of(s);
        std::vector<double> u(1001), g(1001);
        std::vector<float> uf(999), gf(999);
        qor_rng_brng_properties p;
        ASSERT_EQ(__rixGetBrngProperties(brng, &p), 0);
        ASSERT_EQ(_rixdRngUniform(0, s.get(), 1001, u.data(), -2.0, 7.0), 0);
        ASSERT_EQ(p.fill_double(t.get(), 1001, g.data(), -2.0, 7.0), 0);
        EXPECT_EQ(u, g);
        ASSERT_EQ(_rixsRngUniform(0, s.get(), 999, uf.data(), 0.5f, 1.5f), 0);
        ASSERT_EQ(p.fill_single(t.get(), 999, gf.data(), 0.5f, 1.5f), 0);
        EXPECT_EQ(uf, gf);
    }
}

TEST(Uniform, AccurateMethodStaysInsideTheBounds) {
    // MCG31m1 singles on [0, 1) can round up to 1: the accurate variant
    // still keeps every value inside [a, b], and values already inside are
    // untouched.
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {2147483646u});
    Stream t = copy_of(s);
    std::vector<float> acc(5003), std_(5003);
    ASSERT_EQ(_rixsRngUniform(QOR_RNG_METHOD_ACCURATE, s.get(), 5003, acc.data(), 0.0f, 1.0f), 0);
    ASSERT_EQ(_rixsRngUniform(0, t.get(), 5003, std_.data(), 0.0f, 1.0f), 0);
    EXPECT_EQ(acc, std_);
    EXPECT_EQ(acc[0], 1.0f);  // (2^31 - 2) / (2^31 - 1) rounds up in single precision
    for (float v : acc) {
        ASSERT_GE(v, 0.0f);
        ASSERT_LE(v, 1.0f);
    }
}

TEST(Uniform, AccurateMethodClampsValuesOutsideTheBounds) {
    const int32_t id = Overshoot::brng();
    ASSERT_GT(id, 0);
    Stream s = make_stream(id, {});
    Overshoot::status = 0;
    for (int32_t n : {1, 2, 7, 8, 9, 16, 21}) {
        std::vector<double> d(n);
        std::vector<float> f(n);
        ASSERT_EQ(_rixdRngUniform(QOR_RNG_METHOD_ACCURATE, s.get(), n, d.data(), 2.0, 4.0), 0);
        ASSERT_EQ(_rixsRngUniform(QOR_RNG_METHOD_ACCURATE, s.get(), n, f.data(), -1.0f, 1.0f), 0);
        const double want_d[4] = {2.0, 4.0, 2.0, 3.0};
        const float want_f[4] = {-1.0f, 1.0f, -1.0f, 0.0f};
        for (int32_t i = 0; i < n; ++i) {
            ASSERT_EQ(d[i], want_d[i % 4]) << n << " " << i;
            ASSERT_EQ(f[i], want_f[i % 4]) << n << " " << i;
        }
    }
    // Without the bit the generator's values pass through.
    double d[2];
    ASSERT_EQ(_rixdRngUniform(0, s.get(), 2, d, 2.0, 4.0), 0);
    EXPECT_EQ(d[0], 1.0);
    EXPECT_EQ(d[1], 5.0);
}

TEST(Uniform, GeneratorStatusIsReturned) {
    const int32_t id = Overshoot::brng();
    Stream s = make_stream(id, {});
    double d[4];
    // A failure stops before the clamp.
    Overshoot::status = -1234;
    EXPECT_EQ(_rixdRngUniform(QOR_RNG_METHOD_ACCURATE, s.get(), 4, d, 2.0, 4.0), -1234);
    EXPECT_EQ(d[0], 1.0);
    // A non-negative status comes back after the clamp.
    Overshoot::status = 5;
    EXPECT_EQ(_rixdRngUniform(QOR_RNG_METHOD_ACCURATE, s.get(), 4, d, 2.0, 4.0), 5);
    EXPECT_EQ(d[0], 2.0);
    Overshoot::status = 0;
}

TEST(Uniform, BadStreamsAreRefused) {
    double d = 3;
    float f = 3;
    EXPECT_EQ(_rixdRngUniform(0, nullptr, 1, &d, 0, 1), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(_rixsRngUniform(0, nullptr, 1, &f, 0, 1), QOR_RNG_STATUS_BAD_ARGUMENT);
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {1});
    const uint32_t saved = s->brng;
    s->brng = 0x7FF00000;
    EXPECT_EQ(_rixdRngUniform(0, s.get(), 1, &d, 0, 1), QOR_RNG_STATUS_BAD_BRNG);
    s->brng = saved;
    EXPECT_EQ(d, 3.0);
    EXPECT_EQ(_rixdRngUniform(QOR_RNG_METHOD_ACCURATE, s.get(), 0, &d, 0, 1), 0);
    EXPECT_EQ(_rixdRngUniform(QOR_RNG_METHOD_ACCURATE, s.get(), -5, &d, 0, 1), 0);
    EXPECT_EQ(d, 3.0);
}
