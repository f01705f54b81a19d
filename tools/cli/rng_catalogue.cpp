#include "rng_catalogue.h"

#include <algorithm>
#include <cctype>

#include "common.h"

namespace qor::cli {
namespace {

using K = ParamInfo::Kind;

bool same_name(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

template <class T>
std::vector<T> converted(const std::vector<double>& v) {
    return std::vector<T>(v.begin(), v.end());
}

// The real distributions have a double and a float form with the same
// parameter list.
#define QOR_CLI_REAL(Fn, ...)                                                                                \
    [](const Draw& d) {                                                                                      \
        auto F = [&](const char* name) { return float(d.values(name)); };                                    \
        auto D = [&](const char* name) { return d.values(name); };                                           \
        (void)F;                                                                                             \
        (void)D;                                                                                             \
        if (d.single) {                                                                                      \
            auto P = F;                                                                                      \
            (void)P;                                                                                         \
            return qor_vsRng##Fn(d.method, d.stream, d.n, static_cast<float*>(d.out), __VA_ARGS__);          \
        }                                                                                                    \
        auto P = D;                                                                                          \
        (void)P;                                                                                             \
        return qor_vdRng##Fn(d.method, d.stream, d.n, static_cast<double*>(d.out), __VA_ARGS__);             \
    }
#define QOR_CLI_INT(Fn, T, ...) \
    [](const Draw& d) { return qor_viRng##Fn(d.method, d.stream, d.n, static_cast<T*>(d.out) __VA_ARGS__); }

int draw_gaussian_mv(const Draw& d) {
    const std::vector<double>& a = d.values.list("a");
    const int32_t dimen = int32_t(a.size());
    std::vector<double> t = d.values.lists.count("t") ? d.values.list("t") : std::vector<double>(a.size(), 1.0);
    const std::size_t n = a.size();
    int32_t storage;
    if (t.size() == n) storage = QOR_RNG_MATRIX_DIAGONAL;
    else if (t.size() == n * (n + 1) / 2) storage = QOR_RNG_MATRIX_PACKED;
    else if (t.size() == n * n) storage = QOR_RNG_MATRIX_FULL;
    else
        throw Error("--param t: " + std::to_string(t.size()) + " values, where a factor of dimension " +
                    std::to_string(n) + " has " + std::to_string(n) + " (diagonal), " + std::to_string(n * (n + 1) / 2) +
                    " (packed lower triangle) or " + std::to_string(n * n) + " (full)");
    if (d.single)
        return qor_vsRngGaussianMV(d.method, d.stream, d.n, static_cast<float*>(d.out), dimen, storage,
                                   converted<float>(a).data(), converted<float>(t).data());
    return qor_vdRngGaussianMV(d.method, d.stream, d.n, static_cast<double*>(d.out), dimen, storage, a.data(), t.data());
}

// PoissonV: the means given are used in turn, variate i of the run taking
// mean i modulo their count.
int draw_poisson_v(const Draw& d) {
    const std::vector<double>& given = d.values.list("lambda");
    std::vector<double> lambda(static_cast<std::size_t>(d.n));
    for (int64_t i = 0; i < d.n; ++i) lambda[i] = given[static_cast<std::size_t>((d.first + i) % int64_t(given.size()))];
    return qor_viRngPoissonV(d.method, d.stream, d.n, static_cast<int32_t*>(d.out), lambda.data());
}

int draw_multinomial(const Draw& d) {
    const std::vector<double>& p = d.values.list("p");
    return qor_viRngMultinomial(d.method, d.stream, d.n, static_cast<int32_t*>(d.out), int32_t(d.values("ntrial")),
                                int32_t(p.size()), p.data());
}

const ParamInfo kLocation{"a", K::real, false, 0.0, "location (displacement)"};
const ParamInfo kScale{"beta", K::real, false, 1.0, "scale"};

}  // namespace

const std::vector<DistributionSpec>& distributions() {
    static const std::vector<DistributionSpec> list = {
        {"uniform", Variate::real, {{"a", K::real, false, 0.0, "lower bound"}, {"b", K::real, false, 1.0, "upper bound"}},
         {{"std", QOR_RNG_METHOD_UNIFORM_STD}}, true, nullptr, QOR_CLI_REAL(Uniform, P("a"), P("b")),
         "uniform on [a, b)"},
        {"gaussian", Variate::real, {{"a", K::real, false, 0.0, "mean"}, {"sigma", K::real, false, 1.0, "standard deviation"}},
         {{"boxmuller", QOR_RNG_METHOD_GAUSSIAN_BOXMULLER},
          {"boxmuller2", QOR_RNG_METHOD_GAUSSIAN_BOXMULLER2},
          {"icdf", QOR_RNG_METHOD_GAUSSIAN_ICDF}},
         false, nullptr, QOR_CLI_REAL(Gaussian, P("a"), P("sigma")), "normal of mean a and deviation sigma"},
        {"exponential", Variate::real, {kLocation, kScale}, {{"icdf", QOR_RNG_METHOD_EXPONENTIAL_ICDF}}, true, nullptr,
         QOR_CLI_REAL(Exponential, P("a"), P("beta")), "a - beta ln u"},
        {"laplace", Variate::real, {kLocation, kScale}, {{"icdf", QOR_RNG_METHOD_LAPLACE_ICDF}}, false, nullptr,
         QOR_CLI_REAL(Laplace, P("a"), P("beta")), "double exponential around a"},
        {"weibull", Variate::real, {{"alpha", K::real, false, 1.0, "shape"}, kLocation, kScale},
         {{"icdf", QOR_RNG_METHOD_WEIBULL_ICDF}}, true, nullptr, QOR_CLI_REAL(Weibull, P("alpha"), P("a"), P("beta")),
         "a + beta (-ln u)^(1/alpha)"},
        {"cauchy", Variate::real, {kLocation, kScale}, {{"icdf", QOR_RNG_METHOD_CAUCHY_ICDF}}, false, nullptr,
         QOR_CLI_REAL(Cauchy, P("a"), P("beta")), "a + beta tan(u)"},
        {"rayleigh", Variate::real, {kLocation, kScale}, {{"icdf", QOR_RNG_METHOD_RAYLEIGH_ICDF}}, true, nullptr,
         QOR_CLI_REAL(Rayleigh, P("a"), P("beta")), "a + beta sqrt(-ln u)"},
        {"lognormal", Variate::real,
         {{"a", K::real, false, 0.0, "mean of the logarithm"},
          {"sigma", K::real, false, 1.0, "deviation of the logarithm"},
          {"b", K::real, false, 0.0, "displacement"},
          kScale},
         {{"boxmuller2", QOR_RNG_METHOD_LOGNORMAL_BOXMULLER2}, {"icdf", QOR_RNG_METHOD_LOGNORMAL_ICDF}}, true, nullptr,
         QOR_CLI_REAL(Lognormal, P("a"), P("sigma"), P("b"), P("beta")), "b + beta exp(N(a, sigma))"},
        {"gumbel", Variate::real, {kLocation, kScale}, {{"icdf", QOR_RNG_METHOD_GUMBEL_ICDF}}, false, nullptr,
         QOR_CLI_REAL(Gumbel, P("a"), P("beta")), "a + beta ln(-ln u)"},
        {"gamma", Variate::real, {{"alpha", K::real, false, 1.0, "shape"}, kLocation, kScale},
         {{"marsaglia", QOR_RNG_METHOD_GAMMA_MARSAGLIA}}, true, nullptr,
         QOR_CLI_REAL(Gamma, P("alpha"), P("a"), P("beta")), "a + beta G(alpha)"},
        {"beta", Variate::real,
         {{"p", K::real, false, 1.0, "first shape"}, {"q", K::real, false, 1.0, "second shape"}, kLocation, kScale},
         {{"cheng-johnk", QOR_RNG_METHOD_BETA_CHENG_JOHNK}}, true, nullptr,
         QOR_CLI_REAL(Beta, P("p"), P("q"), P("a"), P("beta")), "a + beta B(p, q)"},
        {"chisquare", Variate::real, {{"v", K::integer, false, 1.0, "degrees of freedom"}},
         {{"gamma", QOR_RNG_METHOD_CHISQUARE_GAMMA}}, false, nullptr, QOR_CLI_REAL(ChiSquare, int32_t(D("v"))),
         "chi-square of v degrees"},
        {"gaussianmv", Variate::real,
         {{"a", K::list, true, 0.0, "mean vector (its length is the dimension)"},
          {"t", K::list, false, 0.0, "Cholesky factor: diagonal, packed lower triangle or full rows (default identity)"}},
         {{"boxmuller", QOR_RNG_METHOD_GAUSSIANMV_BOXMULLER},
          {"boxmuller2", QOR_RNG_METHOD_GAUSSIANMV_BOXMULLER2},
          {"icdf", QOR_RNG_METHOD_GAUSSIANMV_ICDF}},
         false, "a", draw_gaussian_mv, "multivariate normal a + T z"},
        {"uniform-int", Variate::integer, {{"a", K::integer, true, 0.0, "lower bound"}, {"b", K::integer, true, 0.0, "upper bound (excluded)"}},
         {{"std", 0}}, false, nullptr, QOR_CLI_INT(Uniform, int32_t, , int32_t(d.values("a")), int32_t(d.values("b"))),
         "integers of [a, b)"},
        {"bits", Variate::bits32, {}, {{"std", QOR_RNG_METHOD_UNIFORMBITS_STD}}, false, nullptr,
         QOR_CLI_INT(UniformBits, uint32_t), "the generator's words unchanged, in 32-bit units"},
        {"bits32", Variate::bits32, {}, {{"std", QOR_RNG_METHOD_UNIFORMBITS32_STD}}, false, nullptr,
         QOR_CLI_INT(UniformBits32, uint32_t), "uniform 32-bit words"},
        {"bits64", Variate::bits64, {}, {{"std", QOR_RNG_METHOD_UNIFORMBITS64_STD}}, false, nullptr,
         QOR_CLI_INT(UniformBits64, uint64_t), "uniform 64-bit words"},
        {"bernoulli", Variate::integer, {{"p", K::real, false, 0.5, "probability of 1"}},
         {{"icdf", QOR_RNG_METHOD_BERNOULLI_ICDF}}, false, nullptr, QOR_CLI_INT(Bernoulli, int32_t, , d.values("p")),
         "1 with probability p"},
        {"geometric", Variate::integer, {{"p", K::real, false, 0.5, "probability of success"}},
         {{"icdf", QOR_RNG_METHOD_GEOMETRIC_ICDF}}, false, nullptr, QOR_CLI_INT(Geometric, int32_t, , d.values("p")),
         "failures before the first success"},
        {"binomial", Variate::integer,
         {{"ntrial", K::integer, true, 0.0, "trials"}, {"p", K::real, false, 0.5, "probability of success"}},
         {{"btpe", QOR_RNG_METHOD_BINOMIAL_BTPE}}, false, nullptr,
         QOR_CLI_INT(Binomial, int32_t, , int32_t(d.values("ntrial")), d.values("p")), "successes in ntrial trials"},
        {"hypergeometric", Variate::integer,
         {{"l", K::integer, true, 0.0, "lot size"}, {"s", K::integer, true, 0.0, "sample size"},
          {"m", K::integer, true, 0.0, "marked items"}},
         {{"h2pe", QOR_RNG_METHOD_HYPERGEOMETRIC_H2PE}}, false, nullptr,
         QOR_CLI_INT(Hypergeometric, int32_t, , int32_t(d.values("l")), int32_t(d.values("s")), int32_t(d.values("m"))),
         "marked items in a sample of s from l"},
        {"poisson", Variate::integer, {{"lambda", K::real, false, 1.0, "mean"}}, {{"ptrd", QOR_RNG_METHOD_POISSON_PTRD}},
         false, nullptr, QOR_CLI_INT(Poisson, int32_t, , d.values("lambda")), "Poisson of mean lambda"},
        {"poissonv", Variate::integer, {{"lambda", K::list, true, 0.0, "means, used in turn"}},
         {{"ptrd", QOR_RNG_METHOD_POISSONV_PTRD}}, false, nullptr, draw_poisson_v, "Poisson of a mean per variate"},
        {"multinomial", Variate::integer,
         {{"ntrial", K::integer, true, 0.0, "trials"}, {"p", K::list, true, 0.0, "probabilities of the categories"}},
         {{"binomial", QOR_RNG_METHOD_MULTINOMIAL_BINOMIAL}}, false, "p", draw_multinomial,
         "counts of ntrial trials over the categories"},
        {"negbinomial", Variate::integer,
         {{"a", K::real, false, 1.0, "successes awaited"}, {"p", K::real, false, 0.5, "probability of success"}},
         {{"nbar", QOR_RNG_METHOD_NEGBINOMIAL_NBAR}}, false, nullptr,
         QOR_CLI_INT(NegBinomial, int32_t, , d.values("a"), d.values("p")), "failures before the a-th success"},
    };
    return list;
}

const DistributionSpec* find_distribution(std::string_view name) {
    for (const DistributionSpec& d : distributions())
        if (same_name(d.name, name)) return &d;
    return nullptr;
}

const std::vector<GeneratorSpec>& generators() {
    static const std::vector<GeneratorSpec> list = {
        {"mcg31m1", QOR_RNG_BRNG_MCG31M1, false},     {"r250", QOR_RNG_BRNG_R250, false},
        {"mrg32k3a", QOR_RNG_BRNG_MRG32K3A, false},   {"mcg59", QOR_RNG_BRNG_MCG59, false},
        {"wh", QOR_RNG_BRNG_WH, true},                {"sobol", QOR_RNG_BRNG_SOBOL, false},
        {"niederr", QOR_RNG_BRNG_NIEDERR, false},     {"mt19937", QOR_RNG_BRNG_MT19937, false},
        {"mt2203", QOR_RNG_BRNG_MT2203, true},        {"sfmt19937", QOR_RNG_BRNG_SFMT19937, false},
        {"nondeterm", QOR_RNG_BRNG_NONDETERM, false}, {"ars5", QOR_RNG_BRNG_ARS5, false},
        {"philox4x32x10", QOR_RNG_BRNG_PHILOX4X32X10, false},
    };
    return list;
}

int parse_generator(const std::string& text) {
    const std::size_t colon = text.find(':');
    const std::string name = text.substr(0, colon);
    for (const GeneratorSpec& g : generators()) {
        if (!same_name(g.name, name)) continue;
        if (colon == std::string::npos) return g.brng;
        if (!g.members) throw Error("--generator " + text + ": " + g.name + " has no members to choose with ':'");
        const int64_t member = parse_count(text.substr(colon + 1), "--generator " + text + " (member)");
        if (member >= (1 << 20)) throw Error("--generator " + text + ": member number too large");
        return g.brng + int(member);
    }
    std::string known;
    for (const GeneratorSpec& g : generators()) known += std::string(known.empty() ? "" : ", ") + g.name;
    throw Error("--generator: no generator '" + text + "' (known: " + known + ")");
}

}  // namespace qor::cli
