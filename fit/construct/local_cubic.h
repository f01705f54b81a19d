// Cubic kinds whose derivative at an inner breakpoint depends on a few
// neighbouring slopes only (Hermite, Bessel, Akima): the derivatives by a
// kind's rule, those at the ends by the boundary condition, then the
// Hermite form per interval.  Blocks of intervals run independently.
//
// A rule gives the derivative at breakpoint i either from the data of
// function j (Rule::derivative(job, j, i)) or by a formula,
// Rule::formula(m[-2], m[-1], m[0], m[1], h[-1], h[0]), of the slopes
// around it (m[0] the slope of interval i) and the widths of its two
// intervals, written once for a number and for a vector of them: a block
// applies it to a vector of breakpoints per step.  Past the ends the
// slopes are those of the other end under the periodic condition and
// otherwise continue linearly (m[-1] = 2m[0] - m[1], Akima's extension);
// the widths past the ends wrap under the periodic condition and repeat
// the end width otherwise.
//
// Ends: periodic and Akima's code 0 apply the rule at the end itself
// (periodic: one derivative for both ends); the other conditions set the
// end derivative from the one (not-a-knot: two) next to it, with
// not-a-knot over a single inner breakpoint making the two pieces one
// cubic.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>

#include "fit/construct/frame.h"
#include "fit/construct/hermite_form.h"

namespace qor::kp::spline {

// One SSE register of elements (GCC vector extensions), unaligned loads
// and stores, and the operations the formulas need on numbers and vectors
// alike.
template <class T>
struct Lanes;
template <>
struct Lanes<double> {
    typedef double V __attribute__((vector_size(16)));
};
template <>
struct Lanes<float> {
    typedef float V __attribute__((vector_size(16)));
};
template <class T>
constexpr int64_t kLanes = 16 / sizeof(T);

template <class T>
typename Lanes<T>::V load_lanes(const T* p) {
    typename Lanes<T>::V v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
template <class T>
void store_lanes(T* p, typename Lanes<T>::V v) {
    std::memcpy(p, &v, sizeof v);
}

inline double magnitude(double v) { return std::fabs(v); }
inline float magnitude(float v) { return std::fabs(v); }
template <class V>
V magnitude(V v) { return v < 0 ? -v : v; }
inline double choose(bool c, double a, double b) { return c ? a : b; }
inline float choose(bool c, float a, float b) { return c ? a : b; }
template <class M, class V>
V choose(M mask, V a, V b) { return mask ? a : b; }

// Element l of each of four vectors to the four consecutive elements
// p[4l .. 4l+3]: a transpose by unpacks, then whole-register stores.
inline void store_transposed(double* p, Lanes<double>::V a, Lanes<double>::V b, Lanes<double>::V c,
                             Lanes<double>::V d) {
    _mm_storeu_pd(p, _mm_unpacklo_pd(a, b));
    _mm_storeu_pd(p + 2, _mm_unpacklo_pd(c, d));
    _mm_storeu_pd(p + 4, _mm_unpackhi_pd(a, b));
    _mm_storeu_pd(p + 6, _mm_unpackhi_pd(c, d));
}
inline void store_transposed(float* p, Lanes<float>::V a, Lanes<float>::V b, Lanes<float>::V c, Lanes<float>::V d) {
    const __m128 ab_low = _mm_unpacklo_ps(a, b), cd_low = _mm_unpacklo_ps(c, d);
    const __m128 ab_high = _mm_unpackhi_ps(a, b), cd_high = _mm_unpackhi_ps(c, d);
    _mm_storeu_ps(p, _mm_movelh_ps(ab_low, cd_low));
    _mm_storeu_ps(p + 4, _mm_movehl_ps(cd_low, ab_low));
    _mm_storeu_ps(p + 8, _mm_movelh_ps(ab_high, cd_high));
    _mm_storeu_ps(p + 12, _mm_movehl_ps(cd_high, ab_high));
}

// The pieces of `count` consecutive intervals from contiguous values y,
// derivatives d and reciprocal widths r, as hermite_piece writes them
// (the same operations in the same order, so the same bits).
template <class T>
void hermite_pieces(T* c, const T* y, const T* d, const T* r, int64_t count) {
    int64_t i = 0;
    for (; i + kLanes<T> <= count; i += kLanes<T>) {
        const auto y0 = load_lanes(y + i), y1 = load_lanes(y + i + 1), d0 = load_lanes(d + i), d1 = load_lanes(d + i + 1);
        const auto ri = load_lanes(r + i), m = (y1 - y0) * ri;
        store_transposed(c + 4 * i, y0, d0, (T(3) * m - T(2) * d0 - d1) * ri, (d0 + d1 - T(2) * m) * ri * ri);
    }
    for (; i < count; ++i) hermite_piece(c + 4 * i, y[i], y[i + 1], d[i], d[i + 1], r[i]);
}

template <class T, bool Uniform>
T extended_slope(const Curve<T, Uniform>& f, const Ends<T>& ends, int64_t k) {
    const int64_t last = f.n - 2;
    if (k >= 0 && k <= last) return f.slope(k);
    if (ends.left == End::Periodic) return f.slope(k < 0 ? k + last + 1 : k - last - 1);
    if (k < 0) {
        const T m0 = f.slope(0);
        return m0 - T(k) * (m0 - f.slope(1));
    }
    const T ml = f.slope(last);
    return ml + T(k - last) * (ml - f.slope(last - 1));
}

template <class T, bool Uniform>
T extended_width(const Curve<T, Uniform>& f, const Ends<T>& ends, int64_t k) {
    const int64_t last = f.n - 2;
    if (k >= 0 && k <= last) return f.h(k);
    if (ends.left == End::Periodic) return f.h(k < 0 ? k + last + 1 : k - last - 1);
    return f.h(k < 0 ? 0 : last);
}

template <class T, bool Uniform, class Rule>
struct LocalCubic {
    static constexpr bool kLocal = true;

    // The rule at breakpoint i, its slopes and widths gathered one by one.
    static T rule_at(const Job<T, Uniform>& job, const Curve<T, Uniform>& f, int64_t j, int64_t i) {
        T m[4], h[2];
        for (int k = 0; k < 4; ++k) m[k] = extended_slope(f, job.ends, i - 2 + k);
        for (int k = 0; k < 2; ++k) h[k] = extended_width(f, job.ends, i - 1 + k);
        return point(job, j, i, m + 2, h + 1);
    }

    static T point(const Job<T, Uniform>& job, int64_t j, int64_t i, const T* m, const T* h) {
        if constexpr (Rule::kFormula) return Rule::formula(m[-2], m[-1], m[0], m[1], h[-1], h[0]);
        else return Rule::derivative(job, j, i);
    }

    // The derivative at x[0] (left) or x[n-1].
    static T end_derivative(const Job<T, Uniform>& job, const Curve<T, Uniform>& f, int64_t j, bool left) {
        const Ends<T>& e = job.ends;
        const int64_t n = f.n;
        if (e.left == End::Periodic || e.left == End::Extrapolated) return rule_at(job, f, j, left ? 0 : n - 1);
        const End end = left ? e.left : e.right;
        const int64_t a = left ? 0 : n - 2, b = left ? 1 : n - 3;  // end interval, its neighbour
        const T h0 = f.h(a), h1 = f.h(b), m0 = f.slope(a), m1 = f.slope(b);
        const T d1 = rule_at(job, f, j, left ? 1 : n - 2);
        if (end == End::NotAKnot && n == 3) {
            T d0, d2;
            single_cubic_ends(f.h(0), f.h(1), f.slope(0), f.slope(1), d1, d0, d2);
            return left ? d0 : d2;
        }
        const T d2 = end == End::NotAKnot ? rule_at(job, f, j, left ? 2 : n - 3) : T(0);
        return left ? left_end_derivative(end, e.left_value, h0, h1, m0, m1, d1, d2)
                    : right_end_derivative(end, e.right_value, h0, h1, m0, m1, d1, d2);
    }

    static void build(const Job<T, Uniform>& job, int64_t j, int64_t i0, int64_t i1) {
        const Curve<T, Uniform> f = job.curve(j);
        const int64_t n = f.n;
        T* c = job.coefficients(j);
        // Slopes of intervals i0-2 .. i1+1, widths of i0-1 .. i1, the
        // derivatives at breakpoints i0 .. i1, and the reciprocal widths of
        // the block's own intervals, which serve their slopes and pieces.
        // Every slope inside the partition is formed the same way, and a
        // vector step gives the same bits as single ones (no fused
        // operations), so the results do not depend on where blocks start.
        constexpr int64_t W = kLanes<T>;
        T m[kBlockIntervals + 4], h[kBlockIntervals + 2], d[kBlockIntervals + 1], r[kBlockIntervals];
        int64_t k = i0;
        if constexpr (!Uniform)
            for (; k + W <= i1; k += W) store_lanes(r + (k - i0), T(1) / (load_lanes(f.x + k + 1) - load_lanes(f.x + k)));
        for (; k < i1; ++k) r[k - i0] = f.inverse_h(k);
        k = i0;
        if (f.stride == 1)
            for (; k + W <= i1; k += W)
                store_lanes(m + (k - i0 + 2), (load_lanes(f.y + k + 1) - load_lanes(f.y + k)) * load_lanes(r + (k - i0)));
        for (; k < i1; ++k) m[k - i0 + 2] = (f.at(k + 1) - f.at(k)) * r[k - i0];
        for (int64_t e : {i0 - 2, i0 - 1, i1, i1 + 1})
            m[e - i0 + 2] = e >= 0 && e <= n - 2 ? (f.at(e + 1) - f.at(e)) * f.inverse_h(e) : extended_slope(f, job.ends, e);
        for (int64_t e = i0 - 1; e <= i1; ++e) h[e - i0 + 1] = e >= 0 && e <= n - 2 ? f.h(e) : extended_width(f, job.ends, e);
        const int64_t last = std::min(i1, n - 2);
        int64_t i = std::max<int64_t>(i0, 1);
        if constexpr (Rule::kFormula)
            for (; i + W - 1 <= last; i += W) {
                const T* mi = m + (i - i0 + 2);
                const T* hi = h + (i - i0 + 1);
                store_lanes(d + (i - i0), Rule::formula(load_lanes(mi - 2), load_lanes(mi - 1), load_lanes(mi),
                                                        load_lanes(mi + 1), load_lanes(hi - 1), load_lanes(hi)));
            }
        for (; i <= last; ++i) d[i - i0] = point(job, j, i, m + (i - i0 + 2), h + (i - i0 + 1));
        if (i0 == 0) d[0] = end_derivative(job, f, j, true);
        if (i1 == n - 1) d[i1 - i0] = end_derivative(job, f, j, false);
        if (f.stride == 1) return hermite_pieces(c + 4 * i0, f.y + i0, d, r, i1 - i0);
        for (int64_t q = i0; q < i1; ++q)
            hermite_piece(c + 4 * q, f.at(q), f.at(q + 1), d[q - i0], d[q - i0 + 1], r[q - i0]);
    }
};

}  // namespace qor::kp::spline
