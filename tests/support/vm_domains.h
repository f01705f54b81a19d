// Argument domains of the accuracy sweeps, one per token of the row list's
// domain column.  A domain is a set of edge values (thresholds with their
// neighbours, zeros, subnormals, infinities, NaN) and strata: intervals
// drawn uniformly, binades taken in turn with a random significand, and raw
// bit patterns.  draw() takes every edge, then fills the rest of the count
// from the strata in turn, from a fixed seed.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include <mpfr.h>

namespace qor::test {

enum class Domain { none, all, all2, reduce, exp, exp2, exp10, expm1, log, log1p, expint1, root, pow3o2, positive,
                    hypot, pow, powr, powx, trig, trigd, trigpi, hyper, unit, atan, acosh, atan2,
                    erf, erfc, erfcx, cdfnorm, erfinv, erfcinv, cdfnorminv, lgamma, tgamma, besseli, bessel, besseln };

// The arguments of a sweep; y is empty for functions of one argument.
template <class T>
struct Args {
    std::vector<T> x, y;
    void add(T a) { x.push_back(a); }
    void add(T a, T b) { x.push_back(a), y.push_back(b); }
};

namespace domain_detail {

template <class T>
using Bits = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
template <class T>
constexpr bool kDouble = sizeof(T) == 8;
template <class T>
constexpr int kMinBinade = std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits;  // subnormals
template <class T>
constexpr int kMaxBinade = std::numeric_limits<T>::max_exponent - 1;

template <class T>
T up(T x, int k = 1) {
    while (k-- > 0) x = std::nextafter(x, std::numeric_limits<T>::infinity());
    return x;
}
template <class T>
T down(T x, int k = 1) {
    while (k-- > 0) x = std::nextafter(x, -std::numeric_limits<T>::infinity());
    return x;
}

// Each point with its k neighbours either way.
template <class T>
void around(std::vector<T>& v, std::initializer_list<double> points, int k = 3) {
    for (double d : points) {
        const T p = T(d);
        v.push_back(p);
        for (int s = 1; s <= k; ++s) v.push_back(up(p, s)), v.push_back(down(p, s));
    }
}

// Zeros, subnormals, the normal limits, infinities, NaN, the neighbours of
// +-1 and powers of two over a modest range.
template <class T>
std::vector<T> common_edges() {
    using L = std::numeric_limits<T>;
    std::vector<T> v = {T(0), -T(0), L::denorm_min(), -L::denorm_min(), L::min(), -L::min(), down(L::min()),
                        -down(L::min()), L::max(), -L::max(), L::infinity(), -L::infinity(), L::quiet_NaN(),
                        T(2), T(0.5), T(10), L::epsilon(), -L::epsilon(), L::epsilon() / 2};
    around<T>(v, {1.0, -1.0}, 4);
    for (int e = -30; e <= 30; e += 3) v.push_back(std::ldexp(T(1), e));
    return v;
}

// The floats nearest to k pi/2 for k at every scale (exact to the float's
// last bit, through MPFR), with `near` neighbours either way: the arguments
// whose reduced argument is smallest, near zero and far out.
template <class T>
void near_multiples_of_half_pi(std::vector<T>& v, std::mt19937_64& gen, int near = 2) {
    mpfr_t half_pi, t;
    mpfr_inits2(2200, half_pi, t, (mpfr_ptr)nullptr);
    mpfr_const_pi(half_pi, MPFR_RNDN);
    mpfr_div_2ui(half_pi, half_pi, 1, MPFR_RNDN);
    std::uniform_real_distribution<double> unit(1.0, 2.0);
    for (int e = 0; e <= kMaxBinade<T>; e += (e < 64 ? 1 : 7)) {
        const double k = std::ldexp(unit(gen), e);  // huge k need not be exact: any integer will do
        mpfr_set_d(t, std::nearbyint(k), MPFR_RNDN);
        mpfr_mul(t, t, half_pi, MPFR_RNDN);
        const T x = kDouble<T> ? T(mpfr_get_d(t, MPFR_RNDN)) : T(mpfr_get_flt(t, MPFR_RNDN));
        if (!std::isfinite(x)) break;
        v.push_back(x), v.push_back(-x);
        for (int s = 1; s <= near; ++s) v.push_back(up(x, s)), v.push_back(down(x, s));
    }
    for (int k = 1; k <= 64; ++k) {
        mpfr_mul_ui(t, half_pi, unsigned(k), MPFR_RNDN);
        const T x = kDouble<T> ? T(mpfr_get_d(t, MPFR_RNDN)) : T(mpfr_get_flt(t, MPFR_RNDN));
        v.push_back(x), v.push_back(-x), v.push_back(up(x)), v.push_back(down(x));
    }
    mpfr_clears(half_pi, t, (mpfr_ptr)nullptr);
}

// One stratum: uniform on [lo, hi], binades 2^e for e in [lo, hi] in turn
// (sign random unless positive), or raw bit patterns.
struct Stratum {
    enum Kind { Linear, Binades, Patterns } kind;
    double lo = 0, hi = 0;
    bool positive = false;
};
inline Stratum linear(double lo, double hi) { return {Stratum::Linear, lo, hi}; }
inline Stratum binades(int lo, int hi, bool positive = false) { return {Stratum::Binades, double(lo), double(hi), positive}; }
inline Stratum patterns() { return {Stratum::Patterns}; }

template <class T>
T sample(const Stratum& s, std::size_t i, std::mt19937_64& gen) {
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    switch (s.kind) {
        case Stratum::Linear: return T(s.lo + (s.hi - s.lo) * unit(gen));
        case Stratum::Binades: {
            const int e = int(s.lo) + int(i % std::size_t(s.hi - s.lo + 1));
            const T m = T(std::ldexp(1.0 + unit(gen), e));
            return (!s.positive && (gen() & 1)) ? -m : m;
        }
        default: return std::bit_cast<T>(Bits<T>(gen()));
    }
}

// The edges, then n - edges values from the strata in turn.
template <class T>
std::vector<T> fill(std::vector<T> edges, std::initializer_list<Stratum> strata, std::size_t n, std::mt19937_64& gen) {
    std::vector<T> v = std::move(edges);
    const std::vector<Stratum> s(strata);
    for (std::size_t i = 0; v.size() < n; ++i) v.push_back(sample<T>(s[i % s.size()], i / s.size(), gen));
    return v;
}

template <class T>
std::vector<T> unary(Domain d, std::size_t n, std::mt19937_64& gen) {
    constexpr bool D = kDouble<T>;
    constexpr int lo = kMinBinade<T>, hi = kMaxBinade<T>;
    std::vector<T> e = common_edges<T>();
    switch (d) {
        case Domain::exp:
            if (D) around<T>(e, {709.782712893384, -745.1332191019411, -708.3964185322641, 708.3955, -708.3955, 709.7765, 0x1p-52, -0x1p-52, 0x1p-53}, 4);
            else around<T>(e, {0x1.62e42ep6, -87.33654, -103.97208, -103.27893, 87.3, 86.9, -86.9, -87.3}, 4);
            return fill<T>(e, {linear(D ? -746 : -105, D ? 710 : 90), binades(D ? -60 : -30, D ? 10 : 7), patterns()}, n, gen);
        case Domain::exp2:
            if (D) around<T>(e, {1024, -1022, -1074, -1075, 1021, -1021}, 4);
            else around<T>(e, {128, -126, -149, -150, 125.5}, 4);
            return fill<T>(e, {linear(D ? -1080 : -151, D ? 1025 : 129), binades(D ? -60 : -30, D ? 10 : 8), patterns()}, n, gen);
        case Domain::exp10:
            if (D) around<T>(e, {308.2547155599167, -307.6526555685887, -323.3062153431158, -323.60724533877976, 307, -307}, 4);
            else around<T>(e, {38.53184, -37.929779, -44.85346, 37.5}, 4);
            return fill<T>(e, {linear(D ? -325 : -46, D ? 309 : 39), binades(D ? -60 : -30, D ? 9 : 6), patterns()}, n, gen);
        case Domain::expm1:
            if (D) around<T>(e, {709.782712893384, 700, -700, 0.25, -0.25, -40, 1e-300}, 4);
            else around<T>(e, {0x1.62e42ep6, 88, -88, 0.25, -0.25}, 4);
            return fill<T>(e, {linear(D ? -50 : -20, D ? 710 : 89), binades(D ? -60 : -30, D ? 9 : 7), patterns()}, n, gen);
        case Domain::log:
        case Domain::log1p:
            around<T>(e, {0.75, 1.5, 1 - 0x1p-7, 1 + 0x1p-7, 0.5, 2, 4.0 / 3, std::sqrt(0.5), std::sqrt(2.0)}, 4);
            if (d == Domain::log)
                return fill<T>(e, {linear(0, 4), binades(lo, hi, true), binades(lo, hi), patterns()}, n, gen);
            if (D) around<T>(e, {-1, -0.5, 1, 0.0017089843750000002, -0.0017089843750000002, 0x1p-53, -0x1p-53}, 4);
            else around<T>(e, {-1, -0.5, 1, 0x1p-24, 0x1p-29, 16777216}, 4);
            return fill<T>(e, {linear(0, 4), binades(lo, hi, true), linear(-1, 1), binades(D ? -60 : -30, 0), patterns()}, n, gen);
        case Domain::expint1:
            for (int b = -1; b <= 9; ++b)
                for (int j = 0; j < 4; ++j) around<T>(e, {std::ldexp(1 + j / 4.0, b)}, 2);
            if (D) around<T>(e, {700, 701.5, 701.8, 739, 745});
            else around<T>(e, {80, 83, 104});
            return fill<T>(e, {linear(0, D ? 750 : 110), binades(lo, 4, true), binades(lo, 9), patterns()}, n, gen);
        case Domain::root:
        case Domain::pow3o2:
            for (int b = lo; b <= hi; b += 7) {
                const double p = std::ldexp(1.0, b);
                around<T>(e, {p, -p, p * 1.5, p * 3}, 2);
            }
            for (double c : {27.0, -27.0, 64.0, 0.125, 1000.0, 1e-3, 3.375}) e.push_back(T(c));
            if (d == Domain::pow3o2) {
                if (D) around<T>(e, {std::exp2(1024.0 * 2 / 3), std::exp2(-1022.0 * 2 / 3), std::exp2(-1074.0 * 2 / 3), 0x1p600, 0x1p-600}, 4);
                else around<T>(e, {std::exp2(128.0 * 2 / 3), std::exp2(-126.0 * 2 / 3), std::exp2(-149.0 * 2 / 3), 0x1p85, 0x1p-84}, 4);
            }
            return fill<T>(e, {linear(-1e6, 1e6), binades(lo, hi), patterns()}, n, gen);
        case Domain::positive: {
            // Next to powers of four 1/sqrt(x) lies within a tiny fraction of
            // an ulp of a midpoint.
            const double eps = std::numeric_limits<T>::epsilon();
            for (int k : {0, 7, -9})
                for (int j = 1; j <= 32; ++j)
                    e.push_back(T(std::ldexp(1 - j * eps / 2, 2 * k))), e.push_back(T(std::ldexp(1 + j * eps, 2 * k)));
            return fill<T>(e, {binades(lo, hi, true), binades(lo, hi, true), patterns()}, n, gen);
        }
        case Domain::trig:
            near_multiples_of_half_pi<T>(e, gen);
            // The double closest to a multiple of pi/2 (Kahan and McDonald).
            if (D) around<T>(e, {std::ldexp(6381956970095103.0, 797)}, 2);
            around<T>(e, {1e22, 1e300, 0x1p1023, 105414350, 0.785398, 2.35619, 1e6, 0x1p-27, 0x1p-13}, 2);
            return fill<T>(e, {linear(-10, 10), binades(lo, hi), binades(-30, D ? 30 : 20), patterns()}, n, gen);
        case Domain::trigd:
            for (int k = -16; k <= 16; ++k) around<T>(e, {k * 45.0, k * 30.0, k * 90.0 + 1e-4}, 2);
            around<T>(e, {0x1p20 * 90, 0x1p50 * 45, 1e300, 0x1p-60}, 2);
            return fill<T>(e, {linear(-720, 720), binades(lo, hi), binades(-30, D ? 60 : 30), patterns()}, n, gen);
        case Domain::trigpi:
            for (int k = -16; k <= 16; ++k) around<T>(e, {k * 0.5, k * 0.25, k / 6.0, k + 1e-3}, 2);
            around<T>(e, {D ? 0x1p52 : 0x1p23, D ? 0x1p53 : 0x1p24, D ? 0x1p51 + 0.5 : 0x1p22 + 0.5, 1e300, 0x1p-100}, 2);
            return fill<T>(e, {linear(-4, 4), binades(lo, hi), binades(-30, D ? 56 : 26), patterns()}, n, gen);
        case Domain::hyper:
            if (D) around<T>(e, {710.4758600739439, -710.4758600739439, 709.782712893384, 22, 19.06, 0x1p-28, 0x1p-54, 0.5, 1}, 4);
            else around<T>(e, {89.41598629223294, -89.41598629223294, 88.72283935546875, 9.01, 0x1p-12, 0x1p-25, 0.5, 1}, 4);
            return fill<T>(e, {linear(D ? -712 : -91, D ? 712 : 91), linear(-2, 2), binades(lo, D ? 10 : 7), patterns()}, n, gen);
        case Domain::unit:
            around<T>(e, {0.5, -0.5, 0.125, 0.25, 0.75, 0.9375, 0.99, -0.99, std::sqrt(0.5), 0x1p-26, 0x1p-12}, 4);
            for (int k = 1; k < std::numeric_limits<T>::digits; ++k) e.push_back(T(1 - std::ldexp(1.0, -k))), e.push_back(T(std::ldexp(1.0, -k) - 1));
            return fill<T>(e, {linear(-1, 1), binades(lo, -1), linear(0.9, 1), patterns()}, n, gen);
        case Domain::atan:
            around<T>(e, {0.4375, 0.6875, 1.1875, 2.4375, 7 / 16.0, 39 / 16.0, 0x1p26, 0x1p53, 0x1p-26, 1e300}, 4);
            return fill<T>(e, {linear(-4, 4), binades(lo, hi), binades(-30, 30), patterns()}, n, gen);
        case Domain::acosh:
            for (int k = 1; k < std::numeric_limits<T>::digits; ++k) e.push_back(T(1 + std::ldexp(1.0, -k)));
            around<T>(e, {2, 0x1p26, 0x1p28, 1e300, 0.5}, 4);
            return fill<T>(e, {linear(1, 3), binades(0, hi, true), binades(lo, hi), patterns()}, n, gen);
        case Domain::erf:
        case Domain::erfc:
        case Domain::erfcx:
        case Domain::cdfnorm: {
            // The pieces of the fits (eight per binade from 1/2 to 32), the
            // switch to the small-argument form, and the thresholds where the
            // result rounds to its limit, leaves the normal range or overflows.
            const double sc = d == Domain::cdfnorm ? -std::sqrt(2.0) : 1.0;
            for (int b = -1; b <= 4; ++b)
                for (int j = 0; j < 8; ++j) around<T>(e, {sc * std::ldexp(1 + j / 8.0, b), -sc * std::ldexp(1 + j / 8.0, b)}, 1);
            if (d == Domain::erf) {
                around<T>(e, {5.9215871957945073, 3.9192058, 6, -6, 4, 0x1p-28, 0x1p-60});
                return fill<T>(e, {linear(-6.5, 6.5), linear(-1, 1), binades(lo, 3), patterns()}, n, gen);
            }
            if (d == Domain::erfc) {
                if (D) around<T>(e, {26, 26.530207562276376, 26.543258454250981, 27.226017111108364, 27.3, -5.93, -26});
                else around<T>(e, {9, 9.1945494491346723, 10.054194928818095, -3.92, -9});
                return fill<T>(e, {linear(-6.5, D ? 27.5 : 10.5), linear(0, D ? 27.5 : 10.5), binades(lo, 5), patterns()}, n, gen);
            }
            if (d == Domain::erfcx) {
                if (D) around<T>(e, {-26.5, -26.628735713751490, 0x1p1000, 2.5355993527615762e307, 32, 0x1p26});
                else around<T>(e, {-9.25, -9.3824139698326428, 0x1p120, 4.7995941720442268e37, 32, 0x1p13});
                return fill<T>(e, {linear(D ? -27 : -9.5, 40), binades(lo, hi, true), binades(lo, 6), patterns()}, n, gen);
            }
            if (D) around<T>(e, {-36, 36, -37.519379347144500, -38.485408335567342, -38.6, 8.3, -8.3});
            else around<T>(e, {-12.75, 12.75, -12.949952701187203, -14.170185511544699, 5.5});
            return fill<T>(e, {linear(D ? -39 : -14.5, 9), linear(-3, 3), binades(lo, 6), patterns()}, n, gen);
        }
        case Domain::erfinv:
        case Domain::erfcinv:
        case Domain::cdfnorminv: {
            // The inverse error functions: the branch points of the central
            // form (|x| = 1/2, 3/4), 2^-1000, every 1 - 2^-k next to the
            // poles, arguments tiny down to the subnormals.
            const double c = d == Domain::erfinv ? 0 : d == Domain::erfcinv ? 1 : 0.5;  // centre
            const double s = d == Domain::cdfnorminv ? 0.5 : 1;                      // half-width scale
            around<T>(e, {c + 0.5 * s, c - 0.5 * s, c + 0.75 * s, c - 0.75 * s, c + 0.25 * s, c, 2 * c, 0x1p-1000}, 4);
            for (int k = 1; k <= std::numeric_limits<T>::digits; ++k) {
                const double h = std::ldexp(1.0, -k);
                around<T>(e, {c + s - h, c - s + h, h}, 1);
            }
            if (d == Domain::erfinv)
                return fill<T>(e, {linear(-1, 1), binades(lo, -1), linear(0.9, 1), linear(-1, -0.999), patterns()}, n, gen);
            return fill<T>(e, {linear(0, 2 * s), binades(lo, -1, true), linear(2 * s - 0.05, 2 * s), linear(0, 0.01),
                               patterns()}, n, gen);
        }
        case Domain::tgamma:
            for (int k = 1; k <= (D ? 185 : 45); k += (k < 12 ? 1 : 7)) around<T>(e, {-k + 0.5, -k - 1e-3, k - 0.5}, 2);
            if (D) around<T>(e, {171.62437695630272, 171, 10, -10, -170.5, -171.7, -177.7, -183.9, -190, 0x1p-60, 0x1p-1023, -0x1p-1023, 1e-300}, 4);
            else around<T>(e, {35.0401, 35, 10, -10, -35.5, -38.5, -41.9, -44.5, 0x1p-60, 0x1p-127, -0x1p-127}, 4);
            return fill<T>(e, {linear(0, D ? 172 : 36), linear(D ? -190 : -46, 0), linear(-10, 10), binades(lo, 7), patterns()}, n, gen);
        case Domain::lgamma:
            for (int k = 1; k <= 40; ++k) around<T>(e, {-k + 0.5, -k - 1e-3, -k + 1e-9}, 2);
            around<T>(e, {2, 1.5, 0.5, 3, -2.457024738220801, -2.7476826467274127, -3.1435808883499797, -3.9552942848585173,
                          10, -10, D ? 2.5599833278516384e305 : 4.085003e36, D ? 0x1p1000 : 0x1p100, D ? 0x1p52 : 0x1p23,
                          D ? -0x1p52 + 0.5 : -0x1p23 + 0.5}, 4);
            return fill<T>(e, {linear(0, 3), linear(-12, 12), linear(-200, 200), binades(lo, hi, true), binades(lo, hi), patterns()}, n, gen);
        case Domain::besseli:
            around<T>(e, {8, -8, 7.5, 700, D ? 713.9869085439683 : 91.90076, D ? 713.9876098185423 : 91.90626, D ? -713.9876098185423 : -91.90626}, 4);
            return fill<T>(e, {linear(-10, 10), linear(D ? -715 : -93, D ? 715 : 93), binades(lo, 10), patterns()}, n, gen);
        case Domain::bessel: {
            // Piece edges (32 per binade on [0.25, 64)), the method
            // limits, and the neighbourhoods of the zeros (McMahon's first
            // terms, (k + c) pi - (4 nu^2 - 1)/(8 (k + c) pi)).
            for (int b = -2; b < 6; ++b)
                for (int j = 0; j < 32; ++j) around<T>(e, {std::ldexp(1 + j / 32.0, b)}, 1);
            around<T>(e, {0.25, 64, 0x1p19, -0x1p19, 1e6, 1e15, 0x1p-1000, 0x1p-1021, 0x1p-125, 1e-300, 2e-38}, 4);
            const double pi = 3.141592653589793;
            for (int k = 1; k <= 60; ++k)
                for (double c : {-0.25, 0.25, -0.75}) {
                    const double b = (k + c) * pi;
                    around<T>(e, {b + 1 / (8 * b), b - 3 / (8 * b), b}, 2);
                }
            return fill<T>(e, {linear(-40, 40), linear(0, 2000), binades(lo, hi), patterns()}, n, gen);
        }
        default: {  // all
            const double mant = 1 / double(std::numeric_limits<T>::epsilon());  // from here on every value is an integer
            around<T>(e, {0.5, -0.5, 1.5, -1.5, 2.5, -2.5, 3.5, mant / 2, -mant / 2, mant, -mant, mant / 2 + 0.5, mant / 2 - 0.5}, 2);
            return fill<T>(e, {linear(-8, 8), binades(lo, hi), binades(-2, D ? 53 : 24), patterns()}, n, gen);
        }
    }
}

// A short list of edges for pairs: every combination is taken.
template <class T>
std::vector<T> pair_edges() {
    using L = std::numeric_limits<T>;
    return {T(0), -T(0), L::denorm_min(), L::min(), L::max(), -L::max(), L::infinity(), -L::infinity(),
            L::quiet_NaN(), T(1), T(-1), T(-3), T(0.5), T(2), T(10), L::epsilon(), T(1e-20), T(1e20)};
}

template <class T>
T log_max() { return T(kDouble<T> ? 709.782712893384 : 88.72283935546875); }
template <class T>
T log_min() { return T(kDouble<T> ? -745.1332191019411 : -103.97208); }

// Pairs for x^y: results over the whole range, bases next to 1 with large
// exponents, negative bases with integer exponents, small integer and
// half-integer exponents, raw patterns; the edge grid and threshold pairs.
template <class T>
void power_pairs(Args<T>& a, std::size_t n, bool negative_bases, std::mt19937_64& gen) {
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const double zlo = log_min<T>() - 2, zhi = log_max<T>() + 2;
    for (T x : pair_edges<T>())
        for (T y : pair_edges<T>()) a.add(x, y);
    for (double base : {2.0, 10.0, 0.5, 3.0, 1.0001, 0.9999})
        for (double z : {double(log_max<T>()), double(log_min<T>())}) {
            std::vector<T> ys;
            around<T>(ys, {z / std::log(base)}, 4);
            for (T y : ys) a.add(T(base), y);
        }
    for (std::size_t i = 0; a.x.size() < n; ++i) {
        T x, y;
        switch (i % 5) {
            case 0:
                x = T(std::exp2(kMinBinade<T> + (kMaxBinade<T> - kMinBinade<T>) * unit(gen)));
                y = T((zlo + (zhi - zlo) * unit(gen)) / (std::log(double(x)) == 0 ? 1 : std::log(double(x))));
                break;
            case 1: {
                const int k = 1 + int(unit(gen) * (std::numeric_limits<T>::digits - 1));
                x = T(1.0 + (2 * unit(gen) - 1) * std::ldexp(1.0, -k));
                const double l = std::log(double(x));
                y = T(l == 0 ? 3.0 : (zlo + (zhi - zlo) * unit(gen)) / l);
                break;
            }
            case 2: {
                x = -T(std::exp2(-40 + 80 * unit(gen)));
                const double l = std::max(std::fabs(std::log(-double(x))), 1e-3);
                y = T(std::nearbyint((2 * unit(gen) - 1) * std::max(1.0, std::min(1e6, zhi / l))));
                break;
            }
            case 3:
                x = T(std::exp2(-60 + 120 * unit(gen)));
                y = T(std::nearbyint((2 * unit(gen) - 1) * 40) / ((gen() & 1) ? 1 : 2));
                break;
            default:
                x = std::bit_cast<T>(Bits<T>(gen()));
                y = std::bit_cast<T>(Bits<T>(gen()));
                break;
        }
        a.add(negative_bases ? x : T(std::fabs(x)), y);
    }
}

template <class T>
Args<T> binary(Domain d, std::size_t n, std::mt19937_64& gen) {
    Args<T> a;
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    constexpr int lo = kMinBinade<T>, hi = kMaxBinade<T>;
    if (d == Domain::pow || d == Domain::powr) {
        power_pairs(a, n, d == Domain::pow, gen);
        return a;
    }
    if (d == Domain::powx) {
        // Runs of one exponent each: every method the exponent can pick.
        const double exponents[] = {0, 1, -1, 2, 3, -2, 4, 5, -3, 7, 8, 15, 16, 17, 31, 64, -64, 100, 1000, -1000,
                                    65537, 0.5, -0.5, 1.5, 2.5, 1.0 / 3, -1.0 / 3, 0.1, 123.456, -7.25, 1e-3, 1e6,
                                    1e7, 1e-7, std::numeric_limits<double>::infinity(),
                                    std::numeric_limits<double>::quiet_NaN()};
        const std::size_t per = n / std::size(exponents);
        for (double bd : exponents) {
            const T b = T(bd);
            std::vector<T> x = pair_edges<T>();
            if (b != 0 && std::isfinite(b))
                for (double z : {double(log_max<T>()), double(log_min<T>())}) {
                    const double t = std::exp(z / double(b));
                    if (t > 0 && t < double(std::numeric_limits<T>::max())) around<T>(x, {t, -t}, 2);
                }
            const double span = std::min(2.0 * log_max<T>() / std::max(std::fabs(double(b)), 1e-300), 1400.0);
            for (std::size_t i = 0; x.size() < per; ++i)
                x.push_back(T(std::exp((2 * unit(gen) - 1) * span / 2) * (i % 4 == 3 ? -1 : 1)));
            for (T v : x) a.add(v, b);
        }
        return a;
    }
    if (d == Domain::besseln) {
        // Runs of one order each: the orders 0 and 1 of their own kernels,
        // small and large integers of both signs, non-integers and
        // non-finite ones; x tiny to huge, near the order (where J turns
        // from the series and the backward recurrence to the forward one)
        // and negative.
        const double orders[] = {0, 1, -1, 2, -2, 3, 5, -7, 10, 17, 32, 50, 100, -100, 150, 200, 0.5, -1.5, 2.25,
                                 std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()};
        const std::size_t per = n / std::size(orders);
        for (double bd : orders) {
            const T b = T(bd);
            const double order = std::isfinite(bd) ? std::fabs(bd) : 1;
            std::vector<T> x = pair_edges<T>();
            around<T>(x, {order, order + 0.5, order / 2, 2 * order + 1, std::sqrt(order + 1), 0.25, 64, 0x1p19}, 2);
            // Large x from 2 n^2 on: MPFR takes seconds per value of Yn
            // between a few n and n^2 for orders in the hundreds.
            const double from = std::max(8.0, std::log2(2 * order * order));
            for (std::size_t i = 0; x.size() < per; ++i) {
                switch (i % 5) {
                    case 0: x.push_back(T(std::exp2(-20 + 28 * unit(gen)))); break;
                    case 1: x.push_back(T(2 * (order + 50) * unit(gen))); break;
                    case 2: x.push_back(T(order * (1 + 0.2 * (unit(gen) - 0.5)))); break;
                    case 3: x.push_back(T(std::exp2(from + (kDouble<T> ? 40 : 20) * unit(gen)))); break;
                    default: x.push_back(T(-(order + 20) * unit(gen))); break;
                }
            }
            for (T v : x) a.add(v, b);
        }
        return a;
    }
    for (T x : pair_edges<T>())
        for (T y : pair_edges<T>()) a.add(x, y);
    const Stratum wide = binades(lo, hi);
    for (std::size_t i = 0; a.x.size() < n; ++i) {
        if (d == Domain::hypot) {  // mostly nearby magnitudes, where the sum matters
            const double e = lo + (hi - lo) * unit(gen);
            const double far = i % 4 == 0 ? (hi - lo) * (unit(gen) - 0.5) : 30 * (unit(gen) - 0.5);
            a.add(T(std::exp2(e) * (gen() & 1 ? 1 : -1)),
                  T(std::exp2(std::clamp(e + far, double(lo), hi - 0.01)) * (gen() & 1 ? 1 : -1)));
            continue;
        }
        if (d == Domain::atan2) {  // signs in every quadrant, nearby and far magnitudes, the axes
            switch (i % 4) {
                case 0: a.add(sample<T>(binades(-30, 30), i, gen), sample<T>(binades(-30, 30), i / 3, gen)); break;
                case 1: {
                    const T x = sample<T>(binades(-60, 60), i, gen);
                    a.add(T(x * (1 + (unit(gen) - 0.5) * 1e-3)), (gen() & 1) ? x : -x);
                    break;
                }
                case 2: a.add(sample<T>(wide, i, gen), sample<T>(wide, i / 7, gen)); break;
                default: a.add(std::bit_cast<T>(Bits<T>(gen())), std::bit_cast<T>(Bits<T>(gen()))); break;
            }
            continue;
        }
        if (d == Domain::reduce) {  // x = k y or (k + 1/2) y nudged a few ulps, the top of the range, tiny divisors
            constexpr int digits = std::numeric_limits<T>::digits;
            switch (i % 4) {
                case 0: {
                    const T y = sample<T>(binades(-8, 8), i, gen);
                    T x = (T(gen() % (uint64_t(1) << (digits / 2 + 4))) + ((gen() & 1) ? T(0.5) : T(0))) * y;
                    const int step = int(gen() % 7) - 3;
                    a.add(step < 0 ? down(x, -step) : up(x, step), y);
                    break;
                }
                case 1: a.add(sample<T>(binades(hi - 3, hi), i, gen), sample<T>(binades(hi - 5, hi), i / 5, gen)); break;
                case 2: a.add(sample<T>(binades(lo, lo + 120), i, gen), sample<T>(binades(lo, lo + 60), i / 7, gen)); break;
                default: a.add(sample<T>(wide, i, gen), sample<T>(wide, i / 7, gen)); break;
            }
            continue;
        }
        switch (i % 4) {  // all2: wide pairs, products and quotients near overflow and underflow, patterns
            case 0: a.add(sample<T>(wide, i, gen), sample<T>(wide, i / 7, gen)); break;
            case 1: a.add(sample<T>(binades(hi / 2 - 8, hi / 2 + 8), i, gen), sample<T>(binades(hi / 2 - 8, hi / 2 + 8), i / 3, gen)); break;
            case 2: a.add(sample<T>(binades(-hi / 2 - 16, -hi / 2 + 8), i, gen), sample<T>(binades(-hi / 2 - 16, -hi / 2 + 8), i / 3, gen)); break;
            default: a.add(std::bit_cast<T>(Bits<T>(gen())), std::bit_cast<T>(Bits<T>(gen()))); break;
        }
    }
    return a;
}

}  // namespace domain_detail

// About n arguments of the domain (every edge is kept, so a few more when
// the edges alone exceed n), the same for the same seed.
template <class T>
Args<T> draw(Domain d, bool two_arguments, std::size_t n, uint64_t seed) {
    std::mt19937_64 gen(seed);
    if (two_arguments) return domain_detail::binary<T>(d, n, gen);
    Args<T> a;
    a.x = domain_detail::unary<T>(d, n, gen);
    return a;
}

}  // namespace qor::test
