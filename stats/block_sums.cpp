#include "stats/block_sums.h"

#include "stats/moments.h"

#include <emmintrin.h>

#include <cstring>

namespace qor::ss {
namespace {

// Two consecutive values as two double lanes.
inline __m128d load2(const double* p) { return _mm_loadu_pd(p); }
inline __m128d load2(const float* p) {
    double bits;
    std::memcpy(&bits, p, sizeof bits);
    return _mm_cvtps_pd(_mm_castpd_ps(_mm_set_sd(bits)));
}
inline double lane_sum(__m128d v) { return _mm_cvtsd_f64(_mm_add_sd(v, _mm_unpackhi_pd(v, v))); }

// Runs step(acc, i) over pairs of elements i, i + 1 for i below an even
// bound, rotating over Chains independent accumulator sets so that the
// additions of one set overlap those of the others; returns where the
// vector part stopped.  Acc is a small struct of __m128d sums.
template <int Chains, class Acc, class Step>
int64_t pairs(int64_t count, Acc (&acc)[Chains], Step step) {
    int64_t i = 0;
    for (; i + 2 * Chains <= count; i += 2 * Chains) {
#pragma GCC unroll 8
        for (int c = 0; c < Chains; ++c) step(acc[c], i + 2 * c);
    }
    for (; i + 2 <= count; i += 2) step(acc[0], i);
    return i;
}

struct Sum1 {
    __m128d s = _mm_setzero_pd();
};
struct Sum4 {
    __m128d s1 = _mm_setzero_pd(), s2 = _mm_setzero_pd(), s3 = _mm_setzero_pd(), s4 = _mm_setzero_pd();
};

// Σ w (x − shift).
template <class T, bool Weighted>
double sum_impl(const T* x, const T* w, int64_t count, double shift = 0) {
    const __m128d k = _mm_set1_pd(shift);
    Sum1 acc[4];
    const int64_t done = pairs(count, acc, [&](Sum1& a, int64_t i) {
        __m128d v = _mm_sub_pd(load2(x + i), k);
        if constexpr (Weighted) v = _mm_mul_pd(v, load2(w + i));
        a.s = _mm_add_pd(a.s, v);
    });
    double s = lane_sum(_mm_add_pd(_mm_add_pd(acc[0].s, acc[1].s), _mm_add_pd(acc[2].s, acc[3].s)));
    for (int64_t i = done; i < count; ++i) s += (Weighted ? double(w[i]) : 1.0) * (double(x[i]) - shift);
    return s;
}

// d = x − centre; the sums of d, d², d³, d⁴ up to Order, weighted.
template <class T, bool Weighted, int Order, bool First = true>
void central_impl(const T* x, const T* w, int64_t count, double centre, double* sums) {
    const __m128d c = _mm_set1_pd(centre);
    Sum4 acc[2];
    const int64_t done = pairs(count, acc, [&](Sum4& a, int64_t i) {
        const __m128d d = _mm_sub_pd(load2(x + i), c);
        const __m128d wd = Weighted ? _mm_mul_pd(d, load2(w + i)) : d;
        if constexpr (First) a.s1 = _mm_add_pd(a.s1, wd);
        if constexpr (Order >= 2) {
            const __m128d wd2 = _mm_mul_pd(wd, d);
            a.s2 = _mm_add_pd(a.s2, wd2);
            if constexpr (Order >= 3) {
                const __m128d wd3 = _mm_mul_pd(wd2, d);
                a.s3 = _mm_add_pd(a.s3, wd3);
                if constexpr (Order >= 4) a.s4 = _mm_add_pd(a.s4, _mm_mul_pd(wd3, d));
            }
        }
    });
    double s[4] = {lane_sum(_mm_add_pd(acc[0].s1, acc[1].s1)), lane_sum(_mm_add_pd(acc[0].s2, acc[1].s2)),
                   lane_sum(_mm_add_pd(acc[0].s3, acc[1].s3)), lane_sum(_mm_add_pd(acc[0].s4, acc[1].s4))};
    for (int64_t i = done; i < count; ++i) {
        const double d = double(x[i]) - centre;
        double term = (Weighted ? double(w[i]) : 1.0) * d;
        for (int k = 0; k < Order; ++k, term *= d) s[k] += term;
    }
    for (int k = 0; k < Order; ++k) sums[k] = s[k];
}

template <class T, bool Weighted>
void central_dispatch(const T* x, const T* w, int64_t count, double centre, int max_order, double* sums) {
    switch (max_order) {
    case 1: return central_impl<T, Weighted, 1>(x, w, count, centre, sums);
    case 2: return central_impl<T, Weighted, 2>(x, w, count, centre, sums);
    case 3: return central_impl<T, Weighted, 3>(x, w, count, centre, sums);
    default: return central_impl<T, Weighted, 4>(x, w, count, centre, sums);
    }
}

// Chunks of the two-pass loop: the second pass reads the chunk from the
// first level cache.
constexpr int64_t kChunk = 1024;

// The chunks' statistics are merged relative to the block's first value,
// so that the differences between chunk means keep their digits when the
// data sit far from zero.
template <class T, bool Weighted>
void moments_impl(const T* x, const T* w, int64_t count, int order, VariableSums& out) {
    out = VariableSums{};
    const double shift = count > 0 ? double(x[0]) : 0.0;
    double shifted_mean = 0, shifted_tail = 0;
    for (int64_t i = 0; i < count; i += kChunk) {
        const int64_t n = count - i < kChunk ? count - i : kChunk;
        const T* wi = Weighted ? w + i : nullptr;
        const double sum = sum_impl<T, Weighted>(x + i, wi, n, shift);
        const double weight = Weighted ? sum_impl<T, false>(wi, nullptr, n) : double(n);
        if (weight == 0) continue;
        double mean = sum / weight, p[4] = {};
        if (order >= 2) {
            // The powers of the deviations from the nearest double to the
            // chunk mean, centre; they move onto the mean itself by
            // c = mean − (centre − shift), with S1 = c·W:
            //   S2 −= c·S1,  S3 −= 3c·S2 − 2c³·W,  S4 −= 4c·S3 − 6c²·S2 + 3c⁴·W.
            const double centre = shift + mean;
            if (order == 2) central_impl<T, Weighted, 2, false>(x + i, wi, n, centre, p);
            else if (order == 3) central_impl<T, Weighted, 3, false>(x + i, wi, n, centre, p);
            else central_impl<T, Weighted, 4, false>(x + i, wi, n, centre, p);
            const double c = mean - (centre - shift);
            p[0] = c * weight;
            if (order >= 4) p[3] -= 4 * c * p[2] - 6 * c * c * p[1] + 3 * c * c * c * c * weight;
            if (order >= 3) p[2] -= 3 * c * p[1] - 2 * c * c * c * weight;
            p[1] -= c * p[0];
        }
        merge_central(out.weight, shifted_mean, shifted_tail, out.central, weight, mean, 0.0, p + 1, order);
    }
    // shift + shifted_mean as a rounded mean and what the rounding dropped.
    out.mean = shift + shifted_mean;
    const double back = out.mean - shift;
    out.mean_tail = ((shift - (out.mean - back)) + (shifted_mean - back)) + shifted_tail;
    out.sum = out.weight * shift + out.weight * shifted_mean;
}

}  // namespace

template <class T>
double block_sum(const T* x, const T* w, int64_t count) {
    return w ? sum_impl<T, true>(x, w, count) : sum_impl<T, false>(x, w, count);
}

template <class T>
void block_central_sums(const T* x, const T* w, int64_t count, double centre, int max_order, double* sums) {
    if (w)
        central_dispatch<T, true>(x, w, count, centre, max_order, sums);
    else
        central_dispatch<T, false>(x, w, count, centre, max_order, sums);
}

template <class T>
void block_moments(const T* x, const T* w, int64_t count, int max_order, VariableSums& out) {
    if (w)
        moments_impl<T, true>(x, w, count, max_order, out);
    else
        moments_impl<T, false>(x, w, count, max_order, out);
}

template <class T>
void block_weights(const T* w, int64_t count, double& w1, double& w2) {
    if (!w) {
        w1 = w2 = static_cast<double>(count);
        return;
    }
    w1 = sum_impl<T, false>(w, nullptr, count);
    w2 = sum_impl<T, true>(w, w, count);
}

#define QOR_SS_BLOCK_SUMS(T)                                                                      \
    template double block_sum<T>(const T*, const T*, int64_t);                                    \
    template void block_central_sums<T>(const T*, const T*, int64_t, double, int, double*);      \
    template void block_weights<T>(const T*, int64_t, double&, double&);                          \
    template void block_moments<T>(const T*, const T*, int64_t, int, VariableSums&);
QOR_SS_BLOCK_SUMS(double)
QOR_SS_BLOCK_SUMS(float)
#undef QOR_SS_BLOCK_SUMS

}  // namespace qor::ss
