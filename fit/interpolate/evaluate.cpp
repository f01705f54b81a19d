// Horner's rule on the pieces of a spline.  Values of many sites go a vector
// at a time (two doubles or four floats): the coefficients of each site's
// interval are gathered into lanes, the cubic by loading each interval's
// four coefficients at once and transposing.  Without fused multiply-add the
// vector and scalar paths round alike, so a site's value does not depend on
// where in a batch it falls.
#include "fit/interpolate/evaluate.h"

#include <nmmintrin.h>

namespace qor::kp {
namespace {

template <class T>
struct Vec;
template <>
struct Vec<double> {
    using V = __m128d;
    static constexpr int kWidth = 2;
    static V load(const double* p) { return _mm_loadu_pd(p); }
    static V add(V a, V b) { return _mm_add_pd(a, b); }
    static V sub(V a, V b) { return _mm_sub_pd(a, b); }
    static V mul(V a, V b) { return _mm_mul_pd(a, b); }
    // Lane l from p[l][0].
    static V gather(const double* const* p, int64_t m) { return _mm_set_pd(p[1][m], p[0][m]); }
    template <class X>
    static V breaks(const X& x, const int64_t* i) { return _mm_set_pd(x[i[1]], x[i[0]]); }
    // Lanes 0..3 of the four coefficients of the intervals at p[0], p[1].
    static void cubic(const double* const* p, V* c) {
        const V a0 = _mm_loadu_pd(p[0]), b0 = _mm_loadu_pd(p[0] + 2);
        const V a1 = _mm_loadu_pd(p[1]), b1 = _mm_loadu_pd(p[1] + 2);
        c[0] = _mm_unpacklo_pd(a0, a1), c[1] = _mm_unpackhi_pd(a0, a1);
        c[2] = _mm_unpacklo_pd(b0, b1), c[3] = _mm_unpackhi_pd(b0, b1);
    }
    static void store(double* out, int64_t stride, V v) {
        if (stride == 1) return _mm_storeu_pd(out, v);
        _mm_storel_pd(out, v);
        _mm_storeh_pd(out + stride, v);
    }
};
template <>
struct Vec<float> {
    using V = __m128;
    static constexpr int kWidth = 4;
    static V load(const float* p) { return _mm_loadu_ps(p); }
    static V add(V a, V b) { return _mm_add_ps(a, b); }
    static V sub(V a, V b) { return _mm_sub_ps(a, b); }
    static V mul(V a, V b) { return _mm_mul_ps(a, b); }
    static V gather(const float* const* p, int64_t m) { return _mm_set_ps(p[3][m], p[2][m], p[1][m], p[0][m]); }
    template <class X>
    static V breaks(const X& x, const int64_t* i) { return _mm_set_ps(x[i[3]], x[i[2]], x[i[1]], x[i[0]]); }
    static void cubic(const float* const* p, V* c) {
        V r0 = _mm_loadu_ps(p[0]), r1 = _mm_loadu_ps(p[1]), r2 = _mm_loadu_ps(p[2]), r3 = _mm_loadu_ps(p[3]);
        _MM_TRANSPOSE4_PS(r0, r1, r2, r3);
        c[0] = r0, c[1] = r1, c[2] = r2, c[3] = r3;
    }
    static void store(float* out, int64_t stride, V v) {
        if (stride == 1) return _mm_storeu_ps(out, v);
        alignas(16) float lane[4];
        _mm_store_ps(lane, v);
        for (int l = 0; l < 4; ++l) out[l * stride] = lane[l];
    }
};

// The polynomial of p at distance d from its interval's start.
template <class T>
T horner(const T* p, int64_t order, T d) {
    T v = p[order - 1];
    for (int64_t m = order - 2; m >= 0; --m) v = v * d + p[m];
    return v;
}

// m! / (m-q)!, exact in T for the orders a spline has.
template <class T>
T falling(int64_t m, int64_t q) {
    T f = 1;
    for (int64_t r = 0; r < q; ++r) f *= static_cast<T>(m - r);
    return f;
}

// The sites of whole vectors; returns how many.  Order is the spline's
// order when fixed at compile time (the cubic), else 0 and order_rt counts.
// The breakpoints come by value, so that the stores through out cannot
// change them and they stay in registers.
template <int Order, class T, class X, class C>
int64_t vector_values(const X x, int64_t nx, int64_t order_rt, const T* c, int64_t n, const T* site, const C* cell,
                      T* out, int64_t stride) {
    using W = Vec<T>;
    constexpr int L = W::kWidth;
    const int64_t order = Order ? Order : order_rt;
    int64_t k = 0;
    for (; k + L <= n; k += L) {
        int64_t i[L];
        const T* p[L];
        for (int l = 0; l < L; ++l) i[l] = interval_of(cell[k + l], nx), p[l] = c + i[l] * order;
        const auto d = W::sub(W::load(site + k), W::breaks(x, i));
        typename W::V v;
        if constexpr (Order == 4) {
            typename W::V q[4];
            W::cubic(p, q);
            v = W::add(W::mul(W::add(W::mul(W::add(W::mul(q[3], d), q[2]), d), q[1]), d), q[0]);
        } else {
            v = W::gather(p, order - 1);
            for (int64_t m = order - 2; m >= 0; --m) v = W::add(W::mul(v, d), W::gather(p, m));
        }
        W::store(out + k * stride, stride, v);
    }
    return k;
}

}  // namespace

template <class T, bool Uniform, class C>
void evaluate_values(const Breaks<T, Uniform>& x, int64_t nx, int64_t order, const T* c, int64_t n, const T* site,
                     const C* cell, T* out, int64_t stride) {
    int64_t k = order == 4 ? vector_values<4>(x, nx, order, c, n, site, cell, out, stride)
                           : vector_values<0>(x, nx, order, c, n, site, cell, out, stride);
    for (; k < n; ++k) {
        const int64_t i = interval_of(cell[k], nx);
        out[k * stride] = horner(c + i * order, order, site[k] - x[i]);
    }
}

template <class T, bool Uniform, class C>
void evaluate_derivatives(const Breaks<T, Uniform>& x, int64_t nx, int64_t order, const T* c, int64_t n,
                          const T* site, const C* cell, const int64_t* dorder, int64_t ndorder, T* out,
                          int64_t stride) {
    for (int64_t k = 0; k < n; ++k) {
        const int64_t i = interval_of(cell[k], nx);
        const T* p = c + i * order;
        const T d = site[k] - x[i];
        T* o = out + k * stride;
        for (int64_t q = 0; q < ndorder; ++q) {
            if (!dorder[q]) continue;
            T v = 0;
            for (int64_t m = order - 1; m >= q; --m) v = v * d + p[m] * falling<T>(m, q);
            *o++ = v;
        }
    }
}

#define QOR_FIT_EVALUATE(T, U, C)                                                                              \
    template void evaluate_values(const Breaks<T, U>&, int64_t, int64_t, const T*, int64_t, const T*, const C*, \
                                  T*, int64_t);                                                                \
    template void evaluate_derivatives(const Breaks<T, U>&, int64_t, int64_t, const T*, int64_t, const T*,       \
                                       const C*, const int64_t*, int64_t, T*, int64_t);
#define QOR_FIT_EVALUATE_ALL(T) \
    QOR_FIT_EVALUATE(T, true, int32_t) QOR_FIT_EVALUATE(T, false, int32_t) QOR_FIT_EVALUATE(T, true, int64_t) \
    QOR_FIT_EVALUATE(T, false, int64_t)
QOR_FIT_EVALUATE_ALL(float)
QOR_FIT_EVALUATE_ALL(double)

}  // namespace qor::kp
