// Gaussian variates: each method against the same transform recomputed
// from the same uniforms with the same kernels, the uniforms each method
// consumes, the pending variate of the pair method, the finite values that
// replace infinite logarithms and inverses, the caller's vector-math and
// floating-point state, and the fit to the normal law.
#include <xmmintrin.h>

#include <boost/math/distributions/normal.hpp>
#include <cmath>
#include <vector>

#include "goodness_of_fit.h"
#include "qor/qor_vm.h"
#include "rng_test_support.h"

using namespace rng_test;

namespace {

// EP kernels called as the distribution calls them, flush-to-zero off.
template <class T>
void ep(const qor_vm_kernel* d_table, const qor_vm_kernel* s_table, std::vector<T>& x) {
    const uint32_t saved = qor_lum_kernel_SetMode(QOR_VM_FTZDAZ_OFF);
    const qor_vm_kernel k = std::is_same_v<T, double> ? d_table[2] : s_table[2];
    reinterpret_cast<void (*)(int, const T*, T*)>(k)(static_cast<int>(x.size()), x.data(), x.data());
    qor_lum_kernel_RestoreMode(saved);
}

template <class T>
std::vector<T> uniforms(qor_rng_stream* s, int32_t n, T a, T b) {
    std::vector<T> u(n);
    if constexpr (std::is_same_v<T, double>)
        EXPECT_EQ(_rixdRngUniform(0, s, n, u.data(), a, b), 0);
    else
        EXPECT_EQ(_rixsRngUniform(0, s, n, u.data(), a, b), 0);
    return u;
}

template <class T>
int32_t gaussian(int32_t method, qor_rng_stream* s, int32_t n, T* r, T a, T sigma) {
    if constexpr (std::is_same_v<T, double>)
        return _rixdRngGaussian(method, s, n, r, a, sigma);
    else
        return _rixsRngGaussian(method, s, n, r, a, sigma);
}

// The three transforms, recomputed from a copy of the stream.
template <class T>
std::vector<T> expected(int32_t method, qor_rng_stream* s, int32_t n, T a, T sigma) {
    const T two_pi = T(6.283185307179586);
    std::vector<T> r;
    if (method == 2) {
        r = uniforms<T>(s, n, -1, 1);
        ep(qor_lum_kernel_dErfInv_ttab, qor_lum_kernel_sErfInv_ttab, r);
        for (T& x : r) x = x * (sigma * T(1.4142135623730951)) + a;
        return r;
    }
    const int32_t pairs = method == 0 ? n : (n + 1) / 2;
    const std::vector<T> u = uniforms<T>(s, 2 * pairs, 0, 1);
    std::vector<T> rho(pairs), sin(pairs), cos(pairs);
    for (int32_t i = 0; i < pairs; ++i) {
        rho[i] = u[2 * i];
        sin[i] = cos[i] = u[2 * i + 1] * two_pi;
    }
    ep(qor_lum_kernel_dLn_ttab, qor_lum_kernel_sLn_ttab, rho);
    for (T& x : rho) x = std::sqrt(T(-2) * x);
    ep(qor_lum_kernel_dSin_ttab, qor_lum_kernel_sSin_ttab, sin);
    ep(qor_lum_kernel_dCos_ttab, qor_lum_kernel_sCos_ttab, cos);
    for (int32_t i = 0; i < pairs; ++i) {
        if (method == 0) {
            r.push_back(rho[i] * sigma * sin[i] + a);
        } else {
            r.push_back(rho[i] * sin[i] * sigma + a);
            r.push_back(rho[i] * cos[i] * sigma + a);
        }
    }
    r.resize(n);
    return r;
}

template <class T>
void expect_transforms() {
    for (int32_t method : {0, 1, 2}) {
        for (int32_t n : {1, 2, 7, 1024, 2500}) {
            Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {(2654435761u * n + 40503u * method) >> 1});
            Stream t = copy_of(s);
            std::vector<T> r(n);
            ASSERT_EQ(gaussian<T>(method, s.get(), n, r.data(), T(3), T(0.25)), 0);
            const std::vector<T> want = expected<T>(method, t.get(), n, T(3), T(0.25));
            for (int32_t i = 0; i < n; ++i) ASSERT_EQ(r[i], want[i]) << method << " " << n << " " << i;
        }
    }
}

// Uniforms the call consumed: the stream's position against a reference.
int32_t consumed(const Stream& before, const Stream& after) {
    Stream probe = copy_of(before);
    double next, want;
    EXPECT_EQ(_rixdRngUniform(0, copy_of(after).get(), 1, &want, 0, 1), 0);
    for (int32_t k = 0; k < 100000; ++k) {
        _rixdRngUniform(0, probe.get(), 1, &next, 0, 1);
        if (next == want) return k;
    }
    return -1;
}

int32_t keep_result(qor_vm_error_record*) { return 1; }

}  // namespace

TEST(Gaussian, EachMethodIsItsTransformOfTheSameUniforms) {
    expect_transforms<double>();
    expect_transforms<float>();
}

TEST(Gaussian, MethodsConsumeTheUniformsTheyShould) {
    const struct {
        int32_t method, n, uniforms;
    } cases[] = {{2, 3, 3}, {0, 2500, 5000}, {1, 2500, 2500}, {1, 7, 8}, {0, 1, 2}};
    for (const auto& c : cases) {
        Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {99});
        Stream before = copy_of(s);
        std::vector<double> r(c.n);
        ASSERT_EQ(_rixdRngGaussian(c.method, s.get(), c.n, r.data(), 0, 1), 0);
        EXPECT_EQ(consumed(before, s), c.uniforms) << c.method << " " << c.n;
    }
}

TEST(Gaussian, PairMethodContinuesAcrossCallsCopiesAndImages) {
    Stream whole = make_stream(QOR_RNG_BRNG_MCG31M1, {5});
    Stream parts = copy_of(whole);
    std::vector<double> one(1031), pieces(1031);
    ASSERT_EQ(_rixdRngGaussian(1, whole.get(), 1031, one.data(), 1, 2), 0);
    int32_t at = 0;
    for (int32_t n : {3, 1, 0, 514, 1}) {
        ASSERT_EQ(_rixdRngGaussian(1, parts.get(), n, pieces.data() + at, 1, 2), 0);
        at += n;
    }
    // A copy and a saved image of a stream holding a pending variate go on
    // with it; the single form takes it too, rounded.
    Stream copy = copy_of(parts);
    std::vector<char> image(__rixGetStreamSize(parts.get()));
    ASSERT_EQ(__rixSaveStreamM(parts.get(), image.data()), 0);
    qor_rng_stream* loaded = nullptr;
    ASSERT_EQ(__rixLoadStreamM(&loaded, image.data()), 0);
    Stream back(loaded);
    const int32_t rest = 1031 - at;
    ASSERT_EQ(_rixdRngGaussian(1, parts.get(), rest, pieces.data() + at, 1, 2), 0);
    EXPECT_EQ(one, pieces);
    std::vector<double> from_copy(rest), from_image(rest);
    ASSERT_EQ(_rixdRngGaussian(1, copy.get(), rest, from_copy.data(), 1, 2), 0);
    ASSERT_EQ(_rixdRngGaussian(1, back.get(), rest, from_image.data(), 1, 2), 0);
    EXPECT_EQ(std::vector<double>(one.begin() + at, one.end()), from_copy);
    EXPECT_EQ(from_copy, from_image);
    Stream fresh = copy_of(whole);
    float f;
    double d[2];
    ASSERT_EQ(_rixdRngGaussian(1, whole.get(), 2, d, 0, 1), 0);
    ASSERT_EQ(_rixsRngGaussian(1, whole.get(), 1, &f, 0, 1), 0);
    ASSERT_EQ(_rixdRngGaussian(1, fresh.get(), 3, one.data(), 0, 1), 0);
    EXPECT_EQ(d[1], one[1]);
    EXPECT_EQ(f, static_cast<float>(one[2]));
}

TEST(Gaussian, UniformsAtTheEdgesGiveFiniteValues) {
    // ln 0 becomes ln of the smallest subnormal; erfinv(-1) its saturated value.
    Stream s = ScriptedGenerator::stream({0.0, 0.25});
    double r[2];
    ASSERT_EQ(_rixdRngGaussian(0, s.get(), 1, r, 1.0, 3.0), 0);
    EXPECT_EQ(r[0], std::sqrt(2 * 744.4400719213812) * 3.0 * 1.0 + 1.0);
    s = ScriptedGenerator::stream({0.0});
    ASSERT_EQ(_rixdRngGaussian(2, s.get(), 2, r, 1.0, 3.0), 0);
    EXPECT_EQ(r[0], -5.8635847487551676 * (3.0 * 1.4142135623730951) + 1.0);
    float f;
    ASSERT_EQ(_rixsRngGaussian(2, s.get(), 1, &f, 0.0f, 1.0f), 0);
    EXPECT_TRUE(std::isfinite(f));
}

TEST(Gaussian, CallersModeCallbackAndControlWordsComeBack) {
    const uint32_t csr = _mm_getcsr();
    _mm_setcsr((csr & ~0x3Fu & ~0x1F80u) | 0x1D80);  // divide-by-zero and invalid unmasked
    const uint32_t mine = _mm_getcsr();
    uint16_t x87, x87_after;
    asm volatile("fnstcw %0" : "=m"(x87));
    qor_lum_kernel_RestoreMode(0x00282201);
    const qor_vm_error_callback cb = qor_lum_kernel_SetErrorCallBack(keep_result);
    const uint32_t mode = qor_lum_kernel_GetMode();
    for (int32_t answer : {0, -1234}) {
        Stream s = ScriptedGenerator::stream({0.0, 0.5, 0.75}, answer);
        std::vector<double> r(10);
        for (int32_t method : {0, 1, 2}) {
            EXPECT_EQ(_rixdRngGaussian(method, s.get(), 10, r.data(), 0, 1), answer);
            EXPECT_EQ(qor_lum_kernel_GetMode(), mode);
            EXPECT_EQ(qor_lum_kernel_GetErrorCallBack(), keep_result);
            EXPECT_EQ(_mm_getcsr() & ~0x3Fu, mine & ~0x3Fu);
            asm volatile("fnstcw %0" : "=m"(x87_after));
            EXPECT_EQ(x87_after, x87);
        }
    }
    qor_lum_kernel_SetErrorCallBack(cb);
    qor_lum_kernel_RestoreMode(0);
    _mm_setcsr(csr);
}

TEST(Gaussian, EveryMethodFitsTheNormalLaw) {
    for (int32_t method : {0, 1, 2}) {
        Stream s = make_stream(QOR_RNG_BRNG_MCG59, {uint32_t(17 + method)});
        std::vector<double> d(200000);
        std::vector<float> f(100000);
        ASSERT_EQ(_rixdRngGaussian(method, s.get(), 200000, d.data(), -2.0, 0.5), 0);
        ASSERT_EQ(_rixsRngGaussian(method, s.get(), 100000, f.data(), 10.0f, 3.0f), 0);
        const boost::math::normal nd(-2.0, 0.5), nf(10.0, 3.0);
        EXPECT_GT(gof::ks_pvalue(d, [&](double x) { return cdf(nd, x); }), gof::kMinPValue) << method;
        EXPECT_GT(gof::ks_pvalue(f, [&](double x) { return cdf(nf, x); }), gof::kMinPValue) << method;
        const auto [mean, var] = gof::mean_variance(d);
        EXPECT_NEAR(mean, -2.0, 5 * 0.5 / std::sqrt(2e5)) << method;
        EXPECT_NEAR(var, 0.25, 5 * 0.25 * std::sqrt(2.0 / 2e5)) << method;
    }
}
