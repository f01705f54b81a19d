/* qor: the one list of random-number distributions.
 *
 * Each line of QOR_RNG_DISTRIBUTIONS describes a distribution:
 *   X(Name, output, params, check, methods, accurate)
 *     output    the forms and their output type, QOR_RNG_DIST_FORMS_<output>:
 *                 real    a double form (prefix d) and a single form (s)
 *                 int     one form (prefix i) writing int32_t
 *                 bits32  one form (i) writing uint32_t words
 *                 bits64  one form (i) writing uint64_t words
 *     params    the parameters after the output array, QOR_RNG_DIST_PARAMS_<params>(T)
 *               with T the form's output type; the outputs per variate,
 *               QOR_RNG_DIST_WIDTH_<params> (1, or the dimension of a vector
 *               variate); and the arguments of the piece of a call that starts
 *               at variate `done`, QOR_RNG_DIST_ARGS_AT_<params>(done)
 *     check     the core library's validator of the parameters (below)
 *     methods   the methods are numbered 0 to methods - 1
 *     accurate  1 when QOR_RNG_METHOD_ACCURATE may be added to a method
 *
 * From the list come the kernel library's exports
 *   int32_t _rix<p>Rng<Name>(int32_t method, qor_rng_stream* stream, int32_t n, T* r, params...)
 * and the core library's public calls (qor_random.h)
 *   int qor_v<p>Rng<Name>(int method, qor_rng_stream* stream, int64_t n, T* r, params...)
 * which write n variates (n times the width values) to r.
 *
 * Validators (what the public call requires; otherwise QOR_RNG_STATUS_BAD_ARGUMENT):
 *   interval     a below b, b - a finite (integers: any a below b)
 *   scale        location finite, scale positive and finite
 *   shape_scale  shape and scale positive and finite, displacement finite
 *   log_scale    the logarithm's mean finite and its deviation positive, displacement
 *                finite, scale positive, all finite
 *   beta_shape   both shapes, the scale positive and finite, displacement finite
 *   degrees      at least one degree of freedom
 *   factor       dimension 1 or more, a known storage, mean and factor non-null, the
 *                factor's diagonal positive and every entry finite (a Cholesky factor
 *                of a positive-definite matrix)
 *   none         nothing to check
 *   probability  p in [0, 1]
 *   success      p in (0, 1]
 *   binomial     ntrial 0 or more, p in [0, 1]
 *   population   0 <= s <= l, 0 <= m <= l
 *   mean         lambda positive and at most QOR_RNG_POISSON_MEAN_MAX
 *   means        every lambda[i] as `mean`, lambda non-null when n is above 0
 *   neg_binomial a positive and finite, p in (0, 1], and (1 - p)/p (a + 40 sqrt(a) + 40)
 *                at most QOR_RNG_POISSON_MEAN_MAX, so that the mixture's means fit
 *   categories   ntrial 0 or more, k 1 or more, p non-null, every p[i] in [0, 1],
 *                their sum within 1e-12 k of 1 */
#ifndef QOR_RNG_DISTRIBUTIONS_H
#define QOR_RNG_DISTRIBUTIONS_H

/*  Name           output  params          check         methods accurate */
#define QOR_RNG_DISTRIBUTIONS(X)                     \
    X(Uniform,        real,   a_b,            interval,     1, 1) \
    X(Gaussian,       real,   a_sigma,        scale,        3, 0) \
    X(Exponential,    real,   a_beta,         scale,        1, 1) \
    X(Laplace,        real,   a_beta,         scale,        1, 0) \
    X(Weibull,        real,   alpha_a_beta,   shape_scale,  1, 1) \
    X(Cauchy,         real,   a_beta,         scale,        1, 0) \
    X(Rayleigh,       real,   a_beta,         scale,        1, 1) \
    X(Lognormal,      real,   a_sigma_b_beta, log_scale,    2, 1) \
    X(Gumbel,         real,   a_beta,         scale,        1, 0) \
    X(Gamma,          real,   alpha_a_beta,   shape_scale,  1, 1) \
    X(Beta,           real,   p_q_a_beta,     beta_shape,   1, 1) \
    X(ChiSquare,      real,   nu,             degrees,      1, 0) \
    X(GaussianMV,     real,   mv,             factor,       3, 0) \
    X(Uniform,        int,    a_b,            interval,     1, 0) \
    X(UniformBits,    bits32, none,           none,         1, 0) \
    X(UniformBits32,  bits32, none,           none,         1, 0) \
    X(UniformBits64,  bits64, none,           none,         1, 0) \
    X(Bernoulli,      int,    p,              probability,  1, 0) \
    X(Geometric,      int,    p,              success,      1, 0) \
    X(Binomial,       int,    ntrial_p,       binomial,     1, 0) \
    X(Hypergeometric, int,    l_s_m,          population,   1, 0) \
    X(Poisson,        int,    lambda,         mean,         1, 0) \
    X(PoissonV,       int,    lambdas,        means,        1, 0) \
    X(Multinomial,    int,    ntrial_k_p,     categories,   1, 0) \
    X(NegBinomial,    int,    a_p,            neg_binomial, 1, 0)

/* ---- Forms -------------------------------------------------------------------
 * F(prefix, type, list fields...) once per form of the output kind. */
#define QOR_RNG_DIST_FORMS_real(F, ...) F(d, double, __VA_ARGS__) F(s, float, __VA_ARGS__)
#define QOR_RNG_DIST_FORMS_int(F, ...) F(i, int32_t, __VA_ARGS__)
#define QOR_RNG_DIST_FORMS_bits32(F, ...) F(i, uint32_t, __VA_ARGS__)
#define QOR_RNG_DIST_FORMS_bits64(F, ...) F(i, uint64_t, __VA_ARGS__)

/* ---- Parameter lists ---------------------------------------------------------
 * PARAMS and ARGS_AT begin with their comma, so that an empty list is
 * empty.  Integer distributions fix their parameter types; real ones take
 * the form's type T. */
#define QOR_RNG_DIST_PARAMS_a_b(T) , T a, T b
#define QOR_RNG_DIST_ARGS_AT_a_b(done) , a, b
#define QOR_RNG_DIST_WIDTH_a_b 1

#define QOR_RNG_DIST_PARAMS_a_sigma(T) , T a, T sigma
#define QOR_RNG_DIST_ARGS_AT_a_sigma(done) , a, sigma
#define QOR_RNG_DIST_WIDTH_a_sigma 1

#define QOR_RNG_DIST_PARAMS_a_beta(T) , T a, T beta
#define QOR_RNG_DIST_ARGS_AT_a_beta(done) , a, beta
#define QOR_RNG_DIST_WIDTH_a_beta 1

#define QOR_RNG_DIST_PARAMS_alpha_a_beta(T) , T alpha, T a, T beta
#define QOR_RNG_DIST_ARGS_AT_alpha_a_beta(done) , alpha, a, beta
#define QOR_RNG_DIST_WIDTH_alpha_a_beta 1

#define QOR_RNG_DIST_PARAMS_a_sigma_b_beta(T) , T a, T sigma, T b, T beta
#define QOR_RNG_DIST_ARGS_AT_a_sigma_b_beta(done) , a, sigma, b, beta
#define QOR_RNG_DIST_WIDTH_a_sigma_b_beta 1

#define QOR_RNG_DIST_PARAMS_p_q_a_beta(T) , T p, T q, T a, T beta
#define QOR_RNG_DIST_ARGS_AT_p_q_a_beta(done) , p, q, a, beta
#define QOR_RNG_DIST_WIDTH_p_q_a_beta 1

#define QOR_RNG_DIST_PARAMS_nu(T) , int32_t v
#define QOR_RNG_DIST_ARGS_AT_nu(done) , v
#define QOR_RNG_DIST_WIDTH_nu 1

/* A vector variate of dimension dimen: mean a, Cholesky factor t stored as
 * mstorage tells (QOR_RNG_MATRIX_...). */
#define QOR_RNG_DIST_PARAMS_mv(T) , int32_t dimen, int32_t mstorage, const T* a, const T* t
#define QOR_RNG_DIST_ARGS_AT_mv(done) , dimen, mstorage, a, t
#define QOR_RNG_DIST_WIDTH_mv dimen

/* UniformBits writes the generator's words as they lie in memory, in
 * 32-bit units: n units, so ceil(n / 2) words of a 64-bit generator. */
#define QOR_RNG_DIST_PARAMS_none(T)
#define QOR_RNG_DIST_ARGS_AT_none(done)
#define QOR_RNG_DIST_WIDTH_none 1

#define QOR_RNG_DIST_PARAMS_p(T) , double p
#define QOR_RNG_DIST_ARGS_AT_p(done) , p
#define QOR_RNG_DIST_WIDTH_p 1

#define QOR_RNG_DIST_PARAMS_ntrial_p(T) , int32_t ntrial, double p
#define QOR_RNG_DIST_ARGS_AT_ntrial_p(done) , ntrial, p
#define QOR_RNG_DIST_WIDTH_ntrial_p 1

#define QOR_RNG_DIST_PARAMS_l_s_m(T) , int32_t l, int32_t s, int32_t m
#define QOR_RNG_DIST_ARGS_AT_l_s_m(done) , l, s, m
#define QOR_RNG_DIST_WIDTH_l_s_m 1

#define QOR_RNG_DIST_PARAMS_lambda(T) , double lambda
#define QOR_RNG_DIST_ARGS_AT_lambda(done) , lambda
#define QOR_RNG_DIST_WIDTH_lambda 1

/* One mean per variate. */
#define QOR_RNG_DIST_PARAMS_lambdas(T) , const double* lambda
#define QOR_RNG_DIST_ARGS_AT_lambdas(done) , lambda + (done)
#define QOR_RNG_DIST_WIDTH_lambdas 1

#define QOR_RNG_DIST_PARAMS_a_p(T) , double a, double p
#define QOR_RNG_DIST_ARGS_AT_a_p(done) , a, p
#define QOR_RNG_DIST_WIDTH_a_p 1

/* k counts per variate. */
#define QOR_RNG_DIST_PARAMS_ntrial_k_p(T) , int32_t ntrial, int32_t k, const double* p
#define QOR_RNG_DIST_ARGS_AT_ntrial_k_p(done) , ntrial, k, p
#define QOR_RNG_DIST_WIDTH_ntrial_k_p k

/* Storage of a multivariate Gaussian's Cholesky factor T (lower triangular,
 * so that the variate is a + T z): the full dimen x dimen matrix by rows,
 * the packed lower triangle by rows (dimen (dimen + 1) / 2 values), or the
 * diagonal alone (dimen values). */
enum { QOR_RNG_MATRIX_FULL = 0, QOR_RNG_MATRIX_PACKED = 1, QOR_RNG_MATRIX_DIAGONAL = 2 };

/* The largest Poisson mean: every variate then fits an int32_t. */
#define QOR_RNG_POISSON_MEAN_MAX 1073741824.0

#endif
