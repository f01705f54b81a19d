/* qor: random numbers, as applications call them through the core library.
 *
 * A stream (qor_rng_stream) holds one basic generator's state; it is made
 * by qor_rng_new_stream or a loader, used by one thread at a time and ended
 * by qor_rng_delete_stream.  Distributions draw from a stream:
 *   qor_rng_stream* s;
 *   qor_rng_new_stream(&s, QOR_RNG_BRNG_MCG31M1, 777);
 *   qor_vdRngUniform(QOR_RNG_METHOD_UNIFORM_STD, s, n, r, 0.0, 1.0);
 *   qor_rng_delete_stream(&s);
 *
 * Generator identifiers (QOR_RNG_BRNG_...), the properties record, the
 * status codes (QOR_RNG_STATUS_...) and QOR_RNG_METHOD_ACCURATE are those
 * of qor_rng.h.  Every call returns 0 on success or a negative status.  The
 * core checks the arguments before the kernels see them: a null pointer, a
 * negative count or a parameter out of range gives QOR_RNG_STATUS_BAD_ARGUMENT
 * (a distribution method it does not know gives QOR_RNG_STATUS_BAD_METHOD)
 * and leaves the caller's streams and arrays as they were.
 *
 * When the kernels cannot be used (see qor_init in qor.h) every call here
 * returns the qor_init status (QOR_STATUS_KERNEL_NOT_FOUND and its
 * neighbours, -901 to -904, apart from every QOR_RNG_STATUS_ code), sets a
 * stream the call would have created to null and touches nothing else. */
#ifndef QOR_RANDOM_H
#define QOR_RANDOM_H

#include "qor_rng.h"
#include "qor_types.h"


QOR_BEGIN_C

/* ---- Streams ------------------------------------------------------------------
 * A call that creates a stream sets *stream to null when it fails, so there
 * is never a half-made stream to delete. */

/* A stream of generator brng seeded with one 32-bit word. */
QOR_CORE_API int qor_rng_new_stream(qor_rng_stream** stream, int brng, uint32_t seed);
/* A stream seeded with n words (n of 0: the generator's default seed; more
 * than 2^31 - 1 words give QOR_RNG_STATUS_BAD_ARGUMENT).  The abstract
 * generators are not made here (QOR_RNG_STATUS_BAD_BRNG), nor is a
 * generator this build does not provide.  SFMT19937 takes one word as its
 * authors' 32-bit seed and two or more as their key array; MT2203 and
 * MT19937 take the words as a key.  MT2203 has all 6024 members.
 *
 * Seed words of the counter-based, shift-register and hardware generators:
 * PHILOX4X32X10 takes its 64-bit key from words 0 and 1 and its 128-bit
 * counter from words 2 to 5 (least significant first; missing words 0), and
 * ARS5 its 128-bit key from words 0 to 3 and its counter from words 4 to 7;
 * both then hand out the four words of the block of each counter in turn,
 * the Random123 blocks of the same counter and key.  ARS5 needs the AES
 * instructions (QOR_RNG_STATUS_NO_AES without them).  R250 fills its 250
 * words from word 0 through the congruential generator s' = 69069 s + 1
 * mod 2^32, each word the high halves of two successive states, then sets
 * a diagonal of bits that makes the words independent.  NONDETERM (RDRAND) takes no
 * words, gives QOR_RNG_STATUS_NO_RDRAND on a processor without RDRAND, and
 * a fill whose requests keep failing returns QOR_RNG_STATUS_NO_RDRAND with
 * the outputs it could not get left untouched; it has no skip-ahead
 * (QOR_RNG_STATUS_NO_SKIP_AHEAD_EX) and no leapfrog.  WH (members 0 to
 * 272) takes words 0 to 3 as its four components, each modulo its prime
 * (a missing word, or a multiple of the prime, counts as 1); its uniforms
 * are the fractional part of the sum of the components over their moduli,
 * and its integer words are 16 bytes: that fraction's top 24 bits in the
 * first 32-bit word, zeros in the other three. */
QOR_CORE_API int qor_rng_new_stream_ex(qor_rng_stream** stream, int brng, int64_t n, const uint32_t* params);
/* A new stream with the source's generator, state and attached data. */
QOR_CORE_API int qor_rng_copy_stream(qor_rng_stream** copy, const qor_rng_stream* source);
/* Gives destination the source's state and attached data.  Both streams must
 * be of the same generator (QOR_RNG_STATUS_BAD_BRNG otherwise). */
QOR_CORE_API int qor_rng_copy_stream_state(qor_rng_stream* destination, const qor_rng_stream* source);
/* Frees the stream and sets *stream to null. */
QOR_CORE_API int qor_rng_delete_stream(qor_rng_stream** stream);

/* Turns the stream into the k-th of nstreams interleaved streams: it then
 * yields outputs k, k + nstreams, k + 2 nstreams, ... of the original.
 * nstreams below 1 gives QOR_RNG_STATUS_BAD_STREAM_COUNT, k outside
 * [0, nstreams) QOR_RNG_STATUS_BAD_ARGUMENT; a generator without leapfrog
 * answers QOR_RNG_STATUS_NO_LEAPFROG. */
QOR_CORE_API int qor_rng_leapfrog_stream(qor_rng_stream* stream, int k, int nstreams);
/* Advances the stream by nskip outputs. */
QOR_CORE_API int qor_rng_skip_ahead_stream(qor_rng_stream* stream, uint64_t nskip);
/* Advances the stream by the count held in n 64-bit words, least
 * significant first (more than 2^31 - 1 words: QOR_RNG_STATUS_BAD_ARGUMENT);
 * MRG32k3a, MT19937, R250, WH, PHILOX4X32X10 and ARS5 take any count (the
 * counter-based generators use its low 130 bits, a whole number of counter
 * periods above; MT19937 reduces it modulo its
 * period, so a skip costs at most as much as one of 2^19937: about 0.7 s;
 * 2^128 takes milliseconds); Sobol and Niederr take any count, reduced
 * modulo their period of 2^32 - 1 points; SFMT19937 takes counts below
 * 2^127 and MT2203 counts of one word; larger counts there, and any count
 * of the MCG generators, answer QOR_RNG_STATUS_NO_SKIP_AHEAD_EX. */
QOR_CORE_API int qor_rng_skip_ahead_stream_ex(qor_rng_stream* stream, int64_t n, const uint64_t* nskip);
/* The identifier the stream was made with (0 or more), or a status. */
QOR_CORE_API int qor_rng_get_stream_brng(const qor_rng_stream* stream);

/* ---- Saved streams ------------------------------------------------------------
 * An image holds the generator identifier, the whole state and the attached
 * data; a stream loaded from it continues exactly where the saved one
 * stood.  Files and memory images have the same layout. */

/* Writes the stream to the file at path (a zero-terminated name). */
QOR_CORE_API int qor_rng_save_stream_file(const qor_rng_stream* stream, const char* path);
QOR_CORE_API int qor_rng_load_stream_file(qor_rng_stream** stream, const char* path);
/* Bytes of the stream's image, or a status. */
QOR_CORE_API int qor_rng_get_stream_image_size(const qor_rng_stream* stream);
/* Writes the image into buffer, which holds size bytes; a buffer smaller
 * than the image gives QOR_RNG_STATUS_BAD_ARGUMENT and is left as it was. */
QOR_CORE_API int qor_rng_save_stream_memory(const qor_rng_stream* stream, char* buffer, size_t size);
/* Builds a stream from an image that qor_rng_save_stream_memory wrote; the
 * buffer must hold the whole image. */
QOR_CORE_API int qor_rng_load_stream_memory(qor_rng_stream** stream, const char* buffer);
/* The same for an image of untrusted origin in a buffer of size bytes: an
 * image whose header announces more than the buffer holds gives
 * QOR_RNG_STATUS_BAD_MEMORY_IMAGE, and nothing past the buffer is read. */
QOR_CORE_API int qor_rng_load_stream_memory_sized(qor_rng_stream** stream, const char* buffer, size_t size);

/* ---- Generators ---------------------------------------------------------------- */

/* The registry row of an identifier. */
QOR_CORE_API int qor_rng_get_brng_properties(int brng, qor_rng_brng_properties* properties);
/* Number of generator rows registered (the built-in ones included). */
QOR_CORE_API int qor_rng_get_brng_count(void);
/* Adds a generator and returns its identifier (above 0), or a status: a
 * state_size below the 16-byte stream header gives
 * QOR_RNG_STATUS_REG_BAD_STATE_SIZE, the other fields are checked as
 * qor_rng.h tells.  Registrations from several threads are serialised. */
QOR_CORE_API int qor_rng_register_brng(const qor_rng_brng_properties* properties);

/* ---- Distributions --------------------------------------------------------------
 * QOR_RNG_DISTRIBUTIONS (qor_rng_distributions.h) lists every distribution
 * with its forms, parameters, validator and methods.  A real distribution
 * has a double and a single form, an integer one a single form:
 *   int qor_vdRng<Name>(int method, qor_rng_stream* stream, int64_t n, double* r, params...)
 *   int qor_vsRng<Name>(int method, qor_rng_stream* stream, int64_t n, float* r, params...)
 *   int qor_viRng<Name>(int method, qor_rng_stream* stream, int64_t n, int32_t* r, params...)
 * writing n variates to r (which may be null when n is 0); a vector variate
 * takes several consecutive values.  Like every count of the core's calls,
 * n is 64-bit: above 2^31 - 1 the variates are drawn in several kernel
 * calls, in order, with the same stream, stopping at the first that fails.
 * Parameters outside the validator's range give QOR_RNG_STATUS_BAD_ARGUMENT
 * with r untouched.  The methods of each distribution follow. */

/* Uniform: on [a, b), a below b and b - a finite.  Its accurate method
 * keeps every value inside [a, b] where the generator's rounding could
 * reach b. */
enum {
    QOR_RNG_METHOD_UNIFORM_STD = 0,
    QOR_RNG_METHOD_UNIFORM_STD_ACCURATE = QOR_RNG_METHOD_UNIFORM_STD | QOR_RNG_METHOD_ACCURATE
};

/* Gaussian: mean a, standard deviation sigma above 0.
 *   BOXMULLER   one variate per pair of uniforms, sqrt(-2 ln u1) sin(2 pi u2)
 *   BOXMULLER2  both variates of each pair (sine and cosine); a variate left
 *               over by an odd count is kept with the stream (its copies and
 *               saved images too) and starts the next call, so that calls of
 *               n1 and n2 variates give what one call of n1 + n2 gives
 *   ICDF        the inverse distribution function, one uniform per variate */
enum {
    QOR_RNG_METHOD_GAUSSIAN_BOXMULLER = 0,
    QOR_RNG_METHOD_GAUSSIAN_BOXMULLER2 = 1,
    QOR_RNG_METHOD_GAUSSIAN_ICDF = 2
};

/* The following are transforms of uniform (or Gaussian) variates by the
 * inverse distribution function or a closed form, drawn with one
 * logarithm, exponential, tangent, square root or power over the whole
 * array.  An accurate method, where there is one, keeps every variate at
 * or above the displacement, which rounding could otherwise cross. */

/* Exponential: displacement a, scale beta above 0; a - beta ln u. */
enum {
    QOR_RNG_METHOD_EXPONENTIAL_ICDF = 0,
    QOR_RNG_METHOD_EXPONENTIAL_ICDF_ACCURATE = QOR_RNG_METHOD_EXPONENTIAL_ICDF | QOR_RNG_METHOD_ACCURATE
};

/* Laplace: mean a, scale beta above 0; a - sign(u) beta ln(1 - |u|) with u
 * uniform on [-1, 1), one uniform per variate. */
enum { QOR_RNG_METHOD_LAPLACE_ICDF = 0 };

/* Weibull: shape alpha above 0, displacement a, scale beta above 0;
 * a + beta (-ln u)^(1/alpha). */
enum {
    QOR_RNG_METHOD_WEIBULL_ICDF = 0,
    QOR_RNG_METHOD_WEIBULL_ICDF_ACCURATE = QOR_RNG_METHOD_WEIBULL_ICDF | QOR_RNG_METHOD_ACCURATE
};

/* Cauchy: location a, scale beta above 0; a + beta tan(u) with u uniform
 * on [-pi/2, pi/2). */
enum { QOR_RNG_METHOD_CAUCHY_ICDF = 0 };

/* Rayleigh: displacement a, scale beta above 0; a + beta sqrt(-ln u), so
 * beta is sqrt(2) times the usual sigma of the law. */
enum {
    QOR_RNG_METHOD_RAYLEIGH_ICDF = 0,
    QOR_RNG_METHOD_RAYLEIGH_ICDF_ACCURATE = QOR_RNG_METHOD_RAYLEIGH_ICDF | QOR_RNG_METHOD_ACCURATE
};

/* Lognormal: b + beta exp(g) with g Gaussian of mean a and deviation sigma
 * above 0, displacement b, scale beta above 0.
 *   BOXMULLER2  g by Gaussian BOXMULLER2
 *   ICDF        g by Gaussian ICDF
 * Either accurate method draws g by ICDF. */
enum {
    QOR_RNG_METHOD_LOGNORMAL_BOXMULLER2 = 0,
    QOR_RNG_METHOD_LOGNORMAL_ICDF = 1,
    QOR_RNG_METHOD_LOGNORMAL_BOXMULLER2_ACCURATE = QOR_RNG_METHOD_LOGNORMAL_BOXMULLER2 | QOR_RNG_METHOD_ACCURATE,
    QOR_RNG_METHOD_LOGNORMAL_ICDF_ACCURATE = QOR_RNG_METHOD_LOGNORMAL_ICDF | QOR_RNG_METHOD_ACCURATE
};

/* Gumbel (the law of the minimum): displacement a, scale beta above 0;
 * a + beta ln(-ln u). */
enum { QOR_RNG_METHOD_GUMBEL_ICDF = 0 };

/* Gamma: shape alpha, displacement a, scale beta (alpha and beta above 0),
 * x = a + beta G with G of shape alpha and scale 1.
 *   MARSAGLIA  Marsaglia and Tsang's squeeze over Gaussian (Box-Muller,
 *              both variates of each pair) and uniform variates for alpha above
 *              1; alpha below 1 as G(alpha + 1) U^(1/alpha); alpha equal
 *              to 1 by inversion, -ln(1 - u).  Outputs whose value lies
 *              below the smallest subnormal (shapes far below 1) are 0.
 * The accurate method keeps every output at or above a.  The single form
 * computes in double and rounds each output once. */
enum {
    QOR_RNG_METHOD_GAMMA_MARSAGLIA = 0,
    QOR_RNG_METHOD_GAMMA_MARSAGLIA_ACCURATE = QOR_RNG_METHOD_GAMMA_MARSAGLIA | QOR_RNG_METHOD_ACCURATE
};

/* Beta: shapes p and q, displacement a, scale beta (p, q, beta above 0),
 * x = a + beta B with B on [0, 1].
 *   CHENG_JOHNK  chosen by the shapes: Johnk's method in logarithms when
 *                both are below 1, Cheng's BB when both are above 1, Cheng's
 *                BC otherwise; a shape equal to 1 by inversion
 * The accurate method keeps every output inside [a, a + beta].  The single
 * form computes in double and rounds each output once. */
enum {
    QOR_RNG_METHOD_BETA_CHENG_JOHNK = 0,
    QOR_RNG_METHOD_BETA_CHENG_JOHNK_ACCURATE = QOR_RNG_METHOD_BETA_CHENG_JOHNK | QOR_RNG_METHOD_ACCURATE
};

/* Chi-square: v degrees of freedom (1 or more).
 *   GAMMA  the gamma variate of shape v/2 and scale 2; for one degree the
 *          square of a Gaussian (inverse distribution function)
 * The single form computes in double and rounds each output once. */
enum { QOR_RNG_METHOD_CHISQUARE_GAMMA = 0 };

/* Multivariate Gaussian: vectors of dimen values, x = a + T z with z
 * standard Gaussian and T the lower-triangular Cholesky factor of the
 * covariance, stored as mstorage tells (QOR_RNG_MATRIX_FULL, _PACKED or
 * _DIAGONAL); the diagonal of T positive.  The methods draw z by the
 * Gaussian's methods of the same names, dimen values per variate, and
 * each form computes in its own precision.  Full and packed storage of one
 * factor give the same variates, and a diagonal factor the same in all
 * three storages. */
enum {
    QOR_RNG_METHOD_GAUSSIANMV_BOXMULLER = 0,
    QOR_RNG_METHOD_GAUSSIANMV_BOXMULLER2 = 1,
    QOR_RNG_METHOD_GAUSSIANMV_ICDF = 2
};
/* Uniform (integer form): every integer of [a, b) equally likely, for any
 * a below b (up to 2^32 - 1 values), by rejection on uniform 32-bit words
 * (UniformBits32), exact as far as those words are uniform. */

/* UniformBits: the generator's integer words unchanged, written as 32-bit
 * units in memory order: a generator of 32-bit words gives one word per
 * unit; one of 64-bit words (MCG59) gives each word as two units, low half
 * first, n units taking ceil(n / 2) words (an odd n ends with a low half).
 * Only the word's significant bits vary (MCG31m1: [1, 2^31 - 2]; MCG59:
 * [1, 2^59 - 1]).
 * UniformBits32 / UniformBits64: words of 32 or 64 bits each uniform,
 * whatever the generator: the top min(bit_count, 32) significant bits of
 * successive generator words, concatenated and cut into 32-bit words (a
 * 64-bit word is two of them, low first); leftover bits of a call are
 * dropped.  A generator whose words do not cover a power of two (MCG31m1)
 * biases each bit by about 2^-31. */
enum { QOR_RNG_METHOD_UNIFORMBITS_STD = 0 };
enum { QOR_RNG_METHOD_UNIFORMBITS32_STD = 0 };
enum { QOR_RNG_METHOD_UNIFORMBITS64_STD = 0 };

/* Bernoulli: 1 with probability p in [0, 1], by inversion (u below p). */
enum { QOR_RNG_METHOD_BERNOULLI_ICDF = 0 };

/* Geometric: the failures before the first success, p in (0, 1], by
 * inversion, floor(ln u / ln(1 - p)); values beyond 2^31 - 1 (p below about
 * 1e-9) are clamped to it. */
enum { QOR_RNG_METHOD_GEOMETRIC_ICDF = 0 };

/* Binomial: ntrial trials of success probability p in [0, 1].
 *   BTPE  Kachitvichyanukul and Schmeiser's triangle-parallelogram-
 *         exponential rejection when ntrial min(p, 1 - p) is 30 or more,
 *         inversion below (p above 1/2 by symmetry). */
enum { QOR_RNG_METHOD_BINOMIAL_BTPE = 0 };

/* Hypergeometric: marked items in a sample of s drawn without replacement
 * from a lot of l items of which m are marked (0 <= s, m <= l).
 *   H2PE  Kachitvichyanukul and Schmeiser's rectangle-exponential rejection
 *         when the mode is 10 or more, inversion below. */
enum { QOR_RNG_METHOD_HYPERGEOMETRIC_H2PE = 0 };

/* Poisson: mean lambda in (0, QOR_RNG_POISSON_MEAN_MAX].
 *   PTRD  Hormann's transformed rejection with decomposition for lambda of
 *         10 or more, inversion below.
 * PoissonV: one mean per variate, lambda[i] for variate i, the same methods
 * per variate. */
enum { QOR_RNG_METHOD_POISSON_PTRD = 0 };
enum { QOR_RNG_METHOD_POISSONV_PTRD = 0 };

/* Multinomial: k counts per variate (r holds n k values), ntrial trials over
 * k categories of probabilities p[0..k-1] summing to 1.
 *   BINOMIAL  conditional binomials: count j is binomial with the trials
 *             left and p[j] over the probability left; counts sum to ntrial. */
enum { QOR_RNG_METHOD_MULTINOMIAL_BINOMIAL = 0 };

/* Negative binomial: the failures before the a-th success of trials that
 * succeed with probability p, a real and positive, p in (0, 1]; the mean
 * a (1 - p)/p is bounded as qor_rng_distributions.h tells.
 *   NBAR  the gamma-Poisson mixture: a Poisson variate (PTRD) of a mean
 *         drawn from the gamma of shape a and scale (1 - p)/p */
enum { QOR_RNG_METHOD_NEGBINOMIAL_NBAR = 0 };

/* The written-out declaration of every form of the list, for readers and
 * binding generators; the core's definitions are generated from the list. */
QOR_CORE_API int qor_vdRngUniform(int method, qor_rng_stream* stream, int64_t n, double* r, double a, double b);
QOR_CORE_API int qor_vsRngUniform(int method, qor_rng_stream* stream, int64_t n, float* r, float a, float b);
QOR_CORE_API int qor_vdRngGaussian(int method, qor_rng_stream* stream, int64_t n, double* r, double a, double sigma);
QOR_CORE_API int qor_vsRngGaussian(int method, qor_rng_stream* stream, int64_t n, float* r, float a, float sigma);
QOR_CORE_API int qor_vdRngExponential(int method, qor_rng_stream* stream, int64_t n, double* r, double a, double beta);
QOR_CORE_API int qor_vsRngExponential(int method, qor_rng_stream* stream, int64_t n, float* r, float a, float beta);
QOR_CORE_API int qor_vdRngLaplace(int method, qor_rng_stream* stream, int64_t n, double* r, double a, double beta);
QOR_CORE_API int qor_vsRngLaplace(int method, qor_rng_stream* stream, int64_t n, float* r, float a, float beta);
QOR_CORE_API int qor_vdRngWeibull(int method, qor_rng_stream* stream, int64_t n, double* r, double alpha, double a,
                                  double beta);
QOR_CORE_API int qor_vsRngWeibull(int method, qor_rng_stream* stream, int64_t n, float* r, float alpha, float a,
                                  float beta);
QOR_CORE_API int qor_vdRngCauchy(int method, qor_rng_stream* stream, int64_t n, double* r, double a, double beta);
QOR_CORE_API int qor_vsRngCauchy(int method, qor_rng_stream* stream, int64_t n, float* r, float a, float beta);
QOR_CORE_API int qor_vdRngRayleigh(int method, qor_rng_stream* stream, int64_t n, double* r, double a, double beta);
QOR_CORE_API int qor_vsRngRayleigh(int method, qor_rng_stream* stream, int64_t n, float* r, float a, float beta);
QOR_CORE_API int qor_vdRngLognormal(int method, qor_rng_stream* stream, int64_t n, double* r, double a, double sigma,
                                    double b, double beta);
QOR_CORE_API int qor_vsRngLognormal(int method, qor_rng_stream* stream, int64_t n, float* r, float a, float sigma,
                                    float b, float beta);
QOR_CORE_API int qor_vdRngGumbel(int method, qor_rng_stream* stream, int64_t n, double* r, double a, double beta);
QOR_CORE_API int qor_vsRngGumbel(int method, qor_rng_stream* stream, int64_t n, float* r, float a, float beta);
QOR_CORE_API int qor_vdRngGamma(int method, qor_rng_stream* stream, int64_t n, double* r, double alpha, double a,
                                double beta);
QOR_CORE_API int qor_vsRngGamma(int method, qor_rng_stream* stream, int64_t n, float* r, float alpha, float a,
                                float beta);
QOR_CORE_API int qor_vdRngBeta(int method, qor_rng_stream* stream, int64_t n, double* r, double p, double q, double a,
                               double beta);
QOR_CORE_API int qor_vsRngBeta(int method, qor_rng_stream* stream, int64_t n, float* r, float p, float q, float a,
                               float beta);
QOR_CORE_API int qor_vdRngChiSquare(int method, qor_rng_stream* stream, int64_t n, double* r, int32_t v);
QOR_CORE_API int qor_vsRngChiSquare(int method, qor_rng_stream* stream, int64_t n, float* r, int32_t v);
QOR_CORE_API int qor_vdRngGaussianMV(int method, qor_rng_stream* stream, int64_t n, double* r, int32_t dimen,
                                     int32_t mstorage, const double* a, const double* t);
QOR_CORE_API int qor_vsRngGaussianMV(int method, qor_rng_stream* stream, int64_t n, float* r, int32_t dimen,
                                     int32_t mstorage, const float* a, const float* t);
QOR_CORE_API int qor_viRngUniform(int method, qor_rng_stream* stream, int64_t n, int32_t* r, int32_t a, int32_t b);
QOR_CORE_API int qor_viRngUniformBits(int method, qor_rng_stream* stream, int64_t n, uint32_t* r);
QOR_CORE_API int qor_viRngUniformBits32(int method, qor_rng_stream* stream, int64_t n, uint32_t* r);
QOR_CORE_API int qor_viRngUniformBits64(int method, qor_rng_stream* stream, int64_t n, uint64_t* r);
QOR_CORE_API int qor_viRngBernoulli(int method, qor_rng_stream* stream, int64_t n, int32_t* r, double p);
QOR_CORE_API int qor_viRngGeometric(int method, qor_rng_stream* stream, int64_t n, int32_t* r, double p);
QOR_CORE_API int qor_viRngBinomial(int method, qor_rng_stream* stream, int64_t n, int32_t* r, int32_t ntrial, double p);
QOR_CORE_API int qor_viRngHypergeometric(int method, qor_rng_stream* stream, int64_t n, int32_t* r, int32_t l, int32_t s,
                                         int32_t m);
QOR_CORE_API int qor_viRngPoisson(int method, qor_rng_stream* stream, int64_t n, int32_t* r, double lambda);
QOR_CORE_API int qor_viRngPoissonV(int method, qor_rng_stream* stream, int64_t n, int32_t* r, const double* lambda);
QOR_CORE_API int qor_viRngMultinomial(int method, qor_rng_stream* stream, int64_t n, int32_t* r, int32_t ntrial, int32_t k,
                                      const double* p);
QOR_CORE_API int qor_viRngNegBinomial(int method, qor_rng_stream* stream, int64_t n, int32_t* r, double a, double p);

QOR_END_C

#endif
