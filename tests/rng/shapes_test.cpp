// Gamma, beta, chi-square and multivariate Gaussian variates: goodness of
// fit against Boost.Math's distribution functions over shapes from near 0
// to very large, inversion cases against the same uniforms, the single
// forms against the double ones, the multivariate moments and a projection,
// and the state every call must leave as it found it.
#include <xmmintrin.h>

#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/gamma.hpp>
#include <boost/math/distributions/normal.hpp>

#include <cmath>
#include <limits>
#include <vector>

#include "goodness_of_fit.h"
#include "qor/qor_vm.h"
#include "rng_test_support.h"

using namespace rng_test;
namespace bm = boost::math;

namespace {

constexpr int32_t kN = 100000;

// Goodness of fit of x, of which the values below the type's smallest normal
// stand for the law's mass there (shapes near 0 put much of it below any
// floating-point number): their count against cdf(floor) by a normal
// bound, the rest by Kolmogorov-Smirnov against the law above the floor.
template <class T, class Cdf>
double fit_pvalue(const std::vector<T>& x, Cdf cdf) {
    const double floor = std::numeric_limits<T>::min(), below = cdf(floor), n = double(x.size());
    std::vector<T> above;
    for (T v : x)
        if (v >= floor) above.push_back(v);
    const double tiny = n - double(above.size());
    if (std::fabs(tiny - n * below) > 5 * std::sqrt(n * below * (1 - below)) + 1) return 0;
    if (above.size() < 100) return 1;
    return gof::ks_pvalue(above, [&](double v) { return (cdf(v) - below) / (1 - below); });
}

template <class T, class Draw>
std::vector<T> sample(int32_t n, Draw draw, uint32_t seed) {
    Stream s = make_stream(QOR_RNG_BRNG_MCG59, {seed});
    std::vector<T> x(n);
    EXPECT_EQ(draw(s.get(), n, x.data()), QOR_RNG_STATUS_OK);
    return x;
}

struct GammaCase {
    double alpha, a, beta;
    int32_t method;
};
constexpr GammaCase kGammaCases[] = {{1e-3, 0, 1, 0},
                                     {0.3, -1, 2, QOR_RNG_METHOD_ACCURATE},
                                     {1, 0.5, 3, 0},
                                     {2.5, 2, 0.5, QOR_RNG_METHOD_ACCURATE},
                                     {1e4, -3, 1e-3, 0},
                                     {1e6, 0, 1, 0}};

}  // namespace

TEST(Gamma, FitsTheGammaLawFromTinyToHugeShapes) {
    for (const GammaCase& c : kGammaCases) {
        const bm::gamma_distribution<double> law(c.alpha, c.beta);
        auto cdf = [&](double x) { return x <= c.a ? 0.0 : bm::cdf(law, x - c.a); };
        auto d = sample<double>(kN, [&](qor_rng_stream* s, int32_t n, double* r) {
            return _rixdRngGamma(c.method, s, n, r, c.alpha, c.a, c.beta);
        }, 11);
        auto f = sample<float>(kN / 4, [&](qor_rng_stream* s, int32_t n, float* r) {
            return _rixsRngGamma(c.method, s, n, r, float(c.alpha), float(c.a), float(c.beta));
        }, 12);
        if (c.alpha < 0.01) {  // mass below the smallest normal number
            EXPECT_GT(fit_pvalue(d, cdf), gof::kMinPValue) << c.alpha;
            EXPECT_GT(fit_pvalue(f, cdf), gof::kMinPValue) << c.alpha << " single";
        } else {
            EXPECT_GT(gof::ks_pvalue(d, cdf), gof::kMinPValue) << c.alpha;
            EXPECT_GT(gof::ks_pvalue(f, cdf), gof::kMinPValue) << c.alpha << " single";
        }
        const auto [mean, var] = gof::mean_variance(d);
        const double sd = std::sqrt(c.alpha) * c.beta;
        EXPECT_NEAR(mean, c.a + c.alpha * c.beta, 5 * sd / std::sqrt(kN)) << c.alpha;
        if (c.alpha >= 0.3) {
            EXPECT_NEAR(var / (sd * sd), 1, 0.05) << c.alpha;
        }
        for (double x : d) ASSERT_TRUE(x >= c.a || !(c.method & QOR_RNG_METHOD_ACCURATE)) << x;
    }
}

TEST(Beta, FitsTheBetaLawInEveryMethodsRange) {
    // Johnk, Cheng's BC with either shape the small one, inversion in p and
    // in q, Cheng's BB with either shape the larger and equal shapes.
    const double cases[][4] = {{0.2, 0.3, 0, 1},  {0.5, 5, -1, 2},  {3, 0.4, 0, 1}, {1, 3, 0, 1},
                               {2.5, 1, 1, 0.5},  {2, 2, 0, 1},     {50, 3, 0, 1},  {1e3, 1e3, 0, 1}};
    int32_t method = 0;
    for (const auto& c : cases) {
        const double p = c[0], q = c[1], a = c[2], beta = c[3];
        const bm::beta_distribution<double> law(p, q);
        auto cdf = [&](double x) { return bm::cdf(law, std::fmin(1.0, std::fmax(0.0, (x - a) / beta))); };
        method ^= QOR_RNG_METHOD_ACCURATE;
        auto d = sample<double>(kN, [&](qor_rng_stream* s, int32_t n, double* r) {
            return _rixdRngBeta(method, s, n, r, p, q, a, beta);
        }, 21);
        auto f = sample<float>(kN / 4, [&](qor_rng_stream* s, int32_t n, float* r) {
            return _rixsRngBeta(method, s, n, r, float(p), float(q), float(a), float(beta));
        }, 22);
        EXPECT_GT(gof::ks_pvalue(d, cdf), gof::kMinPValue) << p << " " << q;
        EXPECT_GT(gof::ks_pvalue(f, cdf), gof::kMinPValue) << p << " " << q << " single";
        const auto [mean, var] = gof::mean_variance(d);
        const double m = p / (p + q), v = m * (1 - m) / (p + q + 1);
        EXPECT_NEAR(mean, a + beta * m, 5 * beta * std::sqrt(v / kN)) << p << " " << q;
        EXPECT_NEAR(var / (beta * beta * v), 1, 0.05) << p << " " << q;
    }
}

TEST(Beta, TinyShapesEndAndKeepTheirMoments) {
    // Near-0 shapes put the variates within rounding of 0 and 1, where a
    // distribution function no longer tells them apart: the moments do.
    const double p = 1e-3, q = 2e-3;
    auto d = sample<double>(kN, [&](qor_rng_stream* s, int32_t n, double* r) {
        return _rixdRngBeta(0, s, n, r, p, q, 0.0, 1.0);
    }, 23);
    for (double x : d) ASSERT_TRUE(x >= 0 && x <= 1) << x;
    const auto [mean, var] = gof::mean_variance(d);
    const double m = p / (p + q), v = m * (1 - m) / (p + q + 1);
    EXPECT_NEAR(mean, m, 5 * std::sqrt(v / kN));
    EXPECT_NEAR(var / v, 1, 0.02);
}

TEST(ChiSquare, FitsTheChiSquareLaw) {
    for (int32_t v : {1, 3, 100}) {
        const bm::chi_squared_distribution<double> law(v);
        auto cdf = [&](double x) { return x <= 0 ? 0.0 : bm::cdf(law, x); };
        auto d = sample<double>(kN, [&](qor_rng_stream* s, int32_t n, double* r) {
            return _rixdRngChiSquare(0, s, n, r, v);
        }, 31);
        auto f = sample<float>(kN / 4, [&](qor_rng_stream* s, int32_t n, float* r) {
            return _rixsRngChiSquare(0, s, n, r, v);
        }, 32);
        EXPECT_GT(gof::ks_pvalue(d, cdf), gof::kMinPValue) << v;
        EXPECT_GT(gof::ks_pvalue(f, cdf), gof::kMinPValue) << v << " single";
    }
}

TEST(Shapes, InversionsMatchTheirFormulasOnTheSameUniforms) {
    // Gamma of shape 1, Beta(1, q), Beta(p, 1) and chi-square of one degree
    // take one uniform each.
    Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {77});
    Stream t = copy_of(s);
    std::vector<double> x(3000), u(3000);
    ASSERT_EQ(_rixdRngGamma(0, s.get(), 1000, x.data(), 1.0, 0.5, 2.0), 0);
    ASSERT_EQ(_rixdRngBeta(0, s.get(), 1000, x.data() + 1000, 1.0, 3.0, 0.0, 1.0), 0);
    ASSERT_EQ(_rixdRngBeta(0, s.get(), 1000, x.data() + 2000, 0.25, 1.0, 0.0, 1.0), 0);
    ASSERT_EQ(_rixdRngUniform(0, t.get(), 3000, u.data(), 0.0, 1.0), 0);
    for (int i = 0; i < 3000; ++i) {
        const double v = 1 - u[i];
        const double want = i < 1000 ? 0.5 - 2 * std::log(v) : i < 2000 ? -std::expm1(std::log(v) / 3) : std::pow(v, 4);
        ASSERT_NEAR(x[i], want, 1e-14 * std::fabs(want)) << i;
    }
    // One degree of freedom: the square of the Gaussian of the same uniform.
    ASSERT_EQ(_rixdRngChiSquare(0, s.get(), 500, x.data(), 1), 0);
    ASSERT_EQ(_rixdRngGaussian(2, t.get(), 500, u.data(), 0.0, 1.0), 0);
    for (int i = 0; i < 500; ++i) ASSERT_EQ(x[i], u[i] * u[i]) << i;
}

TEST(Shapes, SingleFormsRoundTheDoubleForms) {
    for (double alpha : {0.25, 1.0, 7.5}) {
        Stream s = make_stream(QOR_RNG_BRNG_MCG59, {5});
        Stream t = copy_of(s);
        std::vector<double> d(3000);
        std::vector<float> f(3000);
        ASSERT_EQ(_rixdRngGamma(0, s.get(), 3000, d.data(), alpha, 1.0, 0.5), 0);
        ASSERT_EQ(_rixsRngGamma(0, t.get(), 3000, f.data(), float(alpha), 1.0f, 0.5f), 0);
        ASSERT_EQ(_rixdRngBeta(0, s.get(), 1500, d.data() + 1500, alpha, 2.0, 1.0, 0.5), 0);
        ASSERT_EQ(_rixsRngBeta(0, t.get(), 1500, f.data() + 1500, float(alpha), 2.0f, 1.0f, 0.5f), 0);
        for (int i = 0; i < 3000; ++i) ASSERT_EQ(f[i], float(d[i])) << alpha << " " << i;
    }
}

namespace {

// A lower-triangular factor of dimension 3, full, packed and the covariance T T'.
constexpr double kFull[9] = {2, 0, 0, -1, 0.5, 0, 0.25, 3, 1};
constexpr double kPacked[6] = {2, -1, 0.5, 0.25, 3, 1};
constexpr double kMean[3] = {1, -2, 0.5};

double covariance(int i, int j) {
    double c = 0;
    for (int k = 0; k < 3; ++k) c += kFull[i * 3 + k] * kFull[j * 3 + k];
    return c;
}

}  // namespace

TEST(GaussianMV, MomentsAndAProjectionFitTheFactorInEveryMethod) {
    const double c[3] = {0.3, -1, 2};  // the projection c'x ~ N(c'a, |T'c|)
    double mu = 0, var = 0;
    for (int i = 0; i < 3; ++i) {
        mu += c[i] * kMean[i];
        for (int j = 0; j < 3; ++j) var += c[i] * c[j] * covariance(i, j);
    }
    const bm::normal_distribution<double> law(mu, std::sqrt(var));
    for (int32_t method : {0, 1, 2}) {
        std::vector<double> x(3 * size_t(kN));
        Stream s = make_stream(QOR_RNG_BRNG_MCG59, {41});
        ASSERT_EQ(_rixdRngGaussianMV(method, s.get(), kN, x.data(), 3, QOR_RNG_MATRIX_PACKED, kMean, kPacked), 0);
        std::vector<double> projection(kN);
        double mean[3] = {}, cov[3][3] = {};
        for (int32_t v = 0; v < kN; ++v) {
            const double* xv = &x[3 * size_t(v)];
            projection[v] = c[0] * xv[0] + c[1] * xv[1] + c[2] * xv[2];
            for (int i = 0; i < 3; ++i) {
                mean[i] += xv[i] / kN;
                for (int j = 0; j < 3; ++j) cov[i][j] += (xv[i] - kMean[i]) * (xv[j] - kMean[j]) / kN;
            }
        }
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(mean[i], kMean[i], 5 * std::sqrt(covariance(i, i) / kN)) << method;
            for (int j = 0; j < 3; ++j) {  // var of (x_i - a_i)(x_j - a_j) is S_ii S_jj + S_ij^2
                const double sd = std::sqrt((covariance(i, i) * covariance(j, j) + covariance(i, j) * covariance(i, j)) / kN);
                EXPECT_NEAR(cov[i][j], covariance(i, j), 5 * sd) << method << " " << i << j;
            }
        }
        EXPECT_GT(gof::ks_pvalue(projection, [&](double y) { return bm::cdf(law, y); }), gof::kMinPValue) << method;
    }
}

TEST(GaussianMV, StoragesAgreeAndSplitCallsContinueOneAnother) {
    const double diagonal[3] = {2, 0.5, 1};
    const double diagonal_full[9] = {2, 0, 0, 0, 0.5, 0, 0, 0, 1};
    const double diagonal_packed[6] = {2, 0, 0.5, 0, 0, 1};
    const float full_single[9] = {2, 0, 0, -1, 0.5, 0, 0.25, 3, 1}, packed_single[6] = {2, -1, 0.5, 0.25, 3, 1};
    const float mean_single[3] = {1, -2, 0.5};
    for (int32_t method : {0, 1, 2}) {
        auto run = [&](int32_t storage, const double* t, std::vector<int32_t> pieces) {
            Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {99});
            std::vector<double> x;
            for (int32_t n : pieces) {
                std::vector<double> part(3 * size_t(n));
                EXPECT_EQ(_rixdRngGaussianMV(method, s.get(), n, part.data(), 3, storage, kMean, t), 0);
                x.insert(x.end(), part.begin(), part.end());
            }
            return x;
        };
        const auto whole = run(QOR_RNG_MATRIX_FULL, kFull, {1001});
        EXPECT_EQ(run(QOR_RNG_MATRIX_PACKED, kPacked, {1001}), whole) << method;
        EXPECT_EQ(run(QOR_RNG_MATRIX_FULL, kFull, {1, 340, 660}), whole) << method;
        const auto diag = run(QOR_RNG_MATRIX_DIAGONAL, diagonal, {1001});
        EXPECT_EQ(run(QOR_RNG_MATRIX_FULL, diagonal_full, {1001}), diag) << method;
        EXPECT_EQ(run(QOR_RNG_MATRIX_PACKED, diagonal_packed, {1001}), diag) << method;
        std::vector<float> f(3003), g(3003);
        Stream s = make_stream(QOR_RNG_BRNG_MCG31M1, {99}), t = copy_of(s);
        ASSERT_EQ(_rixsRngGaussianMV(method, s.get(), 1001, f.data(), 3, QOR_RNG_MATRIX_FULL, mean_single, full_single), 0);
        ASSERT_EQ(_rixsRngGaussianMV(method, t.get(), 1001, g.data(), 3, QOR_RNG_MATRIX_PACKED, mean_single, packed_single), 0);
        EXPECT_EQ(f, g) << method;
    }
    // A unit factor above the stack buffer's size: the Gaussians themselves.
    const std::vector<double> zero(1100, 0.0), one(1100, 1.0);
    std::vector<double> x(3300), z(3300);
    Stream s = make_stream(QOR_RNG_BRNG_MCG59, {8}), t = copy_of(s);
    ASSERT_EQ(_rixdRngGaussianMV(1, s.get(), 3, x.data(), 1100, QOR_RNG_MATRIX_DIAGONAL, zero.data(), one.data()), 0);
    ASSERT_EQ(_rixdRngGaussian(1, t.get(), 3300, z.data(), 0.0, 1.0), 0);
    EXPECT_EQ(x, z);
}

namespace {

int32_t some_callback(qor_vm_error_record*) { return 0; }

}  // namespace

TEST(Shapes, CallsRestoreModeCallbackAndControlsAndPassFailuresOn) {
    Stream good = make_stream(QOR_RNG_BRNG_MCG59, {3});
    Stream bad = ScriptedGenerator::stream({0.5}, -7);
    const uint32_t mode = qor_lum_kernel_RestoreMode(qor_lum_kernel_GetMode());
    const float mean[3] = {1, 2, 3}, factor[3] = {1, 1, 1};
    qor_lum_kernel_SetMode(QOR_VM_ERRMODE_STDERR | QOR_VM_FTZDAZ_ON);
    qor_lum_kernel_SetErrorCallBack(some_callback);
    const uint32_t mxcsr = _mm_getcsr();
    _mm_setcsr((mxcsr & ~0x1F80u) | 0x1D80);  // divide-by-zero unmasked
    const ControlState before = ControlState::now();
    std::vector<double> d(3000);
    std::vector<float> f(3000);
    for (qor_rng_stream* s : {good.get(), bad.get()}) {
        const int32_t want = s == good.get() ? 0 : -7;
        EXPECT_EQ(_rixdRngGamma(0, s, 3000, d.data(), 0.001, 0, 1), want);
        EXPECT_EQ(_rixsRngGamma(0, s, 3000, f.data(), 3.5f, 0, 1), want);
        EXPECT_EQ(_rixdRngBeta(0, s, 3000, d.data(), 0.001, 0.5, 0, 1), want);
        EXPECT_EQ(_rixsRngBeta(0, s, 3000, f.data(), 0.5f, 30, 0, 1), want);
        EXPECT_EQ(_rixdRngChiSquare(0, s, 3000, d.data(), 4), want);
        EXPECT_EQ(_rixsRngGaussianMV(1, s, 1000, f.data(), 3, QOR_RNG_MATRIX_DIAGONAL, mean, factor), want);
        EXPECT_TRUE(ControlState::now() == before);
    }
    _mm_setcsr(mxcsr);
    qor_lum_kernel_SetErrorCallBack(nullptr);
    qor_lum_kernel_RestoreMode(mode);
}
