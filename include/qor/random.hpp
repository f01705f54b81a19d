// qor for C++: random-number streams and distributions.
//
//   qor::random::stream s(qor::random::brng::mt19937, 777);
//   std::vector<double> x(1000);
//   qor::random::gaussian<double> g(0.0, 1.0);           // mean, deviation
//   g(s, x);                                              // fills x in one call
//   qor::random::bit_generator bits(s);                   // for <random> code
//   std::uniform_int_distribution<int> die(1, 6);  int roll = die(bits);
//
// A stream owns its C stream and frees it; it moves but does not copy
// implicitly (copy() makes an independent copy through the C copy call).
// Every failed call throws qor::error with the C status.
#ifndef QOR_RANDOM_HPP
#define QOR_RANDOM_HPP

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "error.hpp"
#include "qor.h"

namespace qor::random {

enum class brng : int {
    mcg31m1 = QOR_RNG_BRNG_MCG31M1,
    r250 = QOR_RNG_BRNG_R250,
    mrg32k3a = QOR_RNG_BRNG_MRG32K3A,
    mcg59 = QOR_RNG_BRNG_MCG59,
    wh = QOR_RNG_BRNG_WH,
    sobol = QOR_RNG_BRNG_SOBOL,
    niederreiter = QOR_RNG_BRNG_NIEDERR,
    mt19937 = QOR_RNG_BRNG_MT19937,
    mt2203 = QOR_RNG_BRNG_MT2203,
    sfmt19937 = QOR_RNG_BRNG_SFMT19937,
    nondeterministic = QOR_RNG_BRNG_NONDETERM,
    ars5 = QOR_RNG_BRNG_ARS5,
    philox4x32x10 = QOR_RNG_BRNG_PHILOX4X32X10
};

class stream {
public:
    // A stream seeded with one word, or with several (none: the generator's
    // default seed).
    stream(brng generator, std::uint32_t seed) { qor::detail::check(QOR_FAMILY_RNG, qor_rng_new_stream(&s_, static_cast<int>(generator), seed)); }
    stream(brng generator, std::span<const std::uint32_t> seed) {
        qor::detail::check(QOR_FAMILY_RNG, qor_rng_new_stream_ex(&s_, static_cast<int>(generator), static_cast<std::int64_t>(seed.size()),
                                            seed.data()));
    }
    // A stream loaded from an image that save() wrote; the span must hold
    // the whole image.
    static stream load(std::span<const char> image) {
        if (image.empty()) throw error(QOR_FAMILY_RNG, QOR_RNG_STATUS_BAD_ARGUMENT, "empty stream image");
        stream s;
        qor::detail::check(QOR_FAMILY_RNG, qor_rng_load_stream_memory(&s.s_, image.data()));
        return s;
    }
    static stream load_file(const std::string& path) {
        stream s;
        qor::detail::check(QOR_FAMILY_RNG, qor_rng_load_stream_file(&s.s_, path.c_str()));
        return s;
    }

    stream(stream&& other) noexcept : s_(std::exchange(other.s_, nullptr)) {}
    stream& operator=(stream&& other) noexcept {
        if (this != &other) {
            reset();
            s_ = std::exchange(other.s_, nullptr);
        }
        return *this;
    }
    stream(const stream&) = delete;
    stream& operator=(const stream&) = delete;
    ~stream() { reset(); }

    // An independent stream with this one's generator, state and attached data.
    stream copy() const {
        stream c;
        qor::detail::check(QOR_FAMILY_RNG, qor_rng_copy_stream(&c.s_, s_));
        return c;
    }
    // Takes the state of another stream of the same generator.
    void assign_state(const stream& source) { qor::detail::check(QOR_FAMILY_RNG, qor_rng_copy_stream_state(s_, source.s_)); }

    void skip_ahead(std::uint64_t n) { qor::detail::check(QOR_FAMILY_RNG, qor_rng_skip_ahead_stream(s_, n)); }
    // A count of several 64-bit words, least significant first.
    void skip_ahead(std::span<const std::uint64_t> n) {
        qor::detail::check(QOR_FAMILY_RNG, qor_rng_skip_ahead_stream_ex(s_, static_cast<std::int64_t>(n.size()), n.data()));
    }
    // Becomes the k-th of nstreams interleaved streams.
    void leapfrog(int k, int nstreams) { qor::detail::check(QOR_FAMILY_RNG, qor_rng_leapfrog_stream(s_, k, nstreams)); }

    brng generator() const {
        const int id = qor_rng_get_stream_brng(s_);
        qor::detail::check(QOR_FAMILY_RNG, id);
        return static_cast<brng>(id);
    }

    std::vector<char> save() const {
        const int size = qor_rng_get_stream_image_size(s_);
        qor::detail::check(QOR_FAMILY_RNG, size);
        std::vector<char> image(static_cast<std::size_t>(size));
        qor::detail::check(QOR_FAMILY_RNG, qor_rng_save_stream_memory(s_, image.data(), image.size()));
        return image;
    }
    void save_file(const std::string& path) const { qor::detail::check(QOR_FAMILY_RNG, qor_rng_save_stream_file(s_, path.c_str())); }

    // The C stream, for calls the C++ layer does not wrap; it stays owned.
    qor_rng_stream* get() const noexcept { return s_; }

private:
    stream() = default;
    void reset() noexcept {
        if (s_) qor_rng_delete_stream(&s_);
    }

    qor_rng_stream* s_ = nullptr;
};

// A UniformRandomBitGenerator over a stream, for <random> distributions and
// algorithms: 32-bit words of UniformBits32, fetched 64 at a time, so the
// stream runs up to 63 words ahead of what was handed out.  It refers to the
// stream, which must outlive it.
class bit_generator {
public:
    using result_type = std::uint32_t;
    explicit bit_generator(stream& s) : stream_(&s) {}
    static constexpr result_type min() { return 0; }
    static constexpr result_type max() { return 0xFFFFFFFFu; }
    result_type operator()() {
        if (next_ == buffer_.size()) {
            qor::detail::check(QOR_FAMILY_RNG, qor_viRngUniformBits32(QOR_RNG_METHOD_UNIFORMBITS32_STD, stream_->get(),
                                                 static_cast<std::int64_t>(buffer_.size()), buffer_.data()));
            next_ = 0;
        }
        return buffer_[next_++];
    }

private:
    stream* stream_;
    std::array<std::uint32_t, 64> buffer_{};
    std::size_t next_ = buffer_.size();
};

// ---- Distributions ----------------------------------------------------------------

// Methods of the distributions with one method: the plain one, or the one
// that keeps every variate inside the support where rounding could leave it.
enum class method : int { standard = 0, accurate = QOR_RNG_METHOD_ACCURATE };
enum class gaussian_method : int {
    box_muller = QOR_RNG_METHOD_GAUSSIAN_BOXMULLER,
    box_muller2 = QOR_RNG_METHOD_GAUSSIAN_BOXMULLER2,
    icdf = QOR_RNG_METHOD_GAUSSIAN_ICDF
};
enum class lognormal_method : int {
    box_muller2 = QOR_RNG_METHOD_LOGNORMAL_BOXMULLER2,
    icdf = QOR_RNG_METHOD_LOGNORMAL_ICDF,
    box_muller2_accurate = QOR_RNG_METHOD_LOGNORMAL_BOXMULLER2_ACCURATE,
    icdf_accurate = QOR_RNG_METHOD_LOGNORMAL_ICDF_ACCURATE
};

// One tag per distribution of the list, and one draw overload per form,
// generated from QOR_RNG_DISTRIBUTIONS.
namespace laws {
#define QOR_RNG_CXX_TAG(Name, ...) struct Name;
QOR_RNG_DISTRIBUTIONS(QOR_RNG_CXX_TAG)
#undef QOR_RNG_CXX_TAG
}  // namespace laws

namespace detail {
#define QOR_RNG_CXX_DRAW(p, T, Name, params, ...)                                                       \
    inline int draw(laws::Name*, int method_code, qor_rng_stream* handle, std::int64_t count,           \
                    T* r QOR_RNG_DIST_PARAMS_##params(T)) {                                             \
        return qor_v##p##Rng##Name(method_code, handle, count, r QOR_RNG_DIST_ARGS_AT_##params(0));     \
    }
#define QOR_RNG_CXX_DRAWS(Name, output, params, check, methods, accurate) \
    QOR_RNG_DIST_FORMS_##output(QOR_RNG_CXX_DRAW, Name, params, check, methods, accurate)
QOR_RNG_DISTRIBUTIONS(QOR_RNG_CXX_DRAWS)
#undef QOR_RNG_CXX_DRAWS
#undef QOR_RNG_CXX_DRAW
}  // namespace detail

// A distribution with its parameters and method: fills a span of variates
// from a stream in one call, or draws a single one.
template <class Law, class T, class Method, class... P>
class distribution {
public:
    using result_type = T;

    explicit distribution(P... params) : params_(params...) {}
    distribution(Method m, P... params) : method_(m), params_(params...) {}

    void operator()(stream& s, std::span<T> out) const {
        const int status = std::apply(
            [&](P... p) {
                return detail::draw(static_cast<Law*>(nullptr), static_cast<int>(method_), s.get(),
                                    static_cast<std::int64_t>(out.size()), out.data(), p...);
            },
            params_);
        qor::detail::check(QOR_FAMILY_RNG, status);
    }
    T operator()(stream& s) const {
        T x{};
        (*this)(s, std::span<T>(&x, 1));
        return x;
    }
    std::vector<T> generate(stream& s, std::size_t n) const {
        std::vector<T> out(n);
        (*this)(s, std::span<T>(out));
        return out;
    }

    Method method_used() const { return method_; }
    const std::tuple<P...>& params() const { return params_; }

private:
    Method method_{};
    std::tuple<P...> params_;
};

// Real distributions (T float or double): parameters as in the C calls.
template <class T = double> using uniform = distribution<laws::Uniform, T, method, T, T>;           // a, b
template <class T = double> using gaussian = distribution<laws::Gaussian, T, gaussian_method, T, T>;  // mean, sigma
template <class T = double> using exponential = distribution<laws::Exponential, T, method, T, T>;     // a, beta
template <class T = double> using laplace = distribution<laws::Laplace, T, method, T, T>;             // a, beta
template <class T = double> using weibull = distribution<laws::Weibull, T, method, T, T, T>;          // alpha, a, beta
template <class T = double> using cauchy = distribution<laws::Cauchy, T, method, T, T>;               // a, beta
template <class T = double> using rayleigh = distribution<laws::Rayleigh, T, method, T, T>;           // a, beta
template <class T = double>                                                                           // a, sigma, b, beta
using lognormal = distribution<laws::Lognormal, T, lognormal_method, T, T, T, T>;
template <class T = double> using gumbel = distribution<laws::Gumbel, T, method, T, T>;               // a, beta
template <class T = double> using gamma = distribution<laws::Gamma, T, method, T, T, T>;              // alpha, a, beta
template <class T = double> using beta = distribution<laws::Beta, T, method, T, T, T, T>;             // p, q, a, beta
template <class T = double> using chi_square = distribution<laws::ChiSquare, T, method, std::int32_t>;  // degrees

// Integer distributions.
using uniform_int = distribution<laws::Uniform, std::int32_t, method, std::int32_t, std::int32_t>;  // [a, b)
using bernoulli = distribution<laws::Bernoulli, std::int32_t, method, double>;                          // p
using geometric = distribution<laws::Geometric, std::int32_t, method, double>;                          // p
using binomial = distribution<laws::Binomial, std::int32_t, method, std::int32_t, double>;              // ntrial, p
using hypergeometric =                                                                                  // l, s, m
    distribution<laws::Hypergeometric, std::int32_t, method, std::int32_t, std::int32_t, std::int32_t>;
using poisson = distribution<laws::Poisson, std::int32_t, method, double>;                               // lambda
using negative_binomial = distribution<laws::NegBinomial, std::int32_t, method, double, double>;         // a, p
using uniform_bits32 = distribution<laws::UniformBits32, std::uint32_t, method>;
using uniform_bits64 = distribution<laws::UniformBits64, std::uint64_t, method>;

}  // namespace qor::random

#endif
