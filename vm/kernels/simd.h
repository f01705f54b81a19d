// The vector abstraction of the kernels: SSE4.2 registers under names that
// spell their types (vd: 2 doubles, vf: 4 floats, vm: a lane mask of either,
// vi: 4 int32, vl: 2 int64), and Simd<T>, which maps one kernel source
// written over T to the helpers of T.  Another instruction set is added by
// another header with the same names.
#pragma once

#include <nmmintrin.h>
#include <smmintrin.h>

#include <cstdint>
#include <cstring>

namespace qor::simd {

using vd = __m128d;
using vf = __m128;
using vi = __m128i;

// ---- double ----------------------------------------------------------------
static inline vd vload_vd_p(const double* p) { return _mm_loadu_pd(p); }
static inline void vstore_p_vd(double* p, vd x) { _mm_storeu_pd(p, x); }
static inline vd vset1_vd_d(double x) { return _mm_set1_pd(x); }
static inline vd vgather_vd_p_i(const double* p, std::ptrdiff_t inc) { return _mm_set_pd(p[inc], p[0]); }
static inline void vscatter_p_i_vd(double* p, std::ptrdiff_t inc, vd x) {
    _mm_storel_pd(p, x);
    _mm_storeh_pd(p + inc, x);
}
static inline vd vadd_vd_vd_vd(vd x, vd y) { return _mm_add_pd(x, y); }
static inline vd vsub_vd_vd_vd(vd x, vd y) { return _mm_sub_pd(x, y); }
static inline vd vmul_vd_vd_vd(vd x, vd y) { return _mm_mul_pd(x, y); }
static inline vd vdiv_vd_vd_vd(vd x, vd y) { return _mm_div_pd(x, y); }
static inline vd vsqrt_vd_vd(vd x) { return _mm_sqrt_pd(x); }
static inline vd vmax_vd_vd_vd(vd x, vd y) { return _mm_max_pd(x, y); }
static inline vd vmin_vd_vd_vd(vd x, vd y) { return _mm_min_pd(x, y); }
static inline vd vand_vd_vd_vd(vd x, vd y) { return _mm_and_pd(x, y); }
static inline vd vandnot_vd_vd_vd(vd x, vd y) { return _mm_andnot_pd(x, y); }  // ~x & y
static inline vd vor_vd_vd_vd(vd x, vd y) { return _mm_or_pd(x, y); }
static inline vd vxor_vd_vd_vd(vd x, vd y) { return _mm_xor_pd(x, y); }
static inline vd vsel_vd_vd_vd_vd(vd m, vd x, vd y) { return _mm_blendv_pd(y, x, m); }  // m ? x : y
static inline vd vsignmask_vd() { return _mm_set1_pd(-0.0); }
static inline vd vabs_vd_vd(vd x) { return _mm_andnot_pd(vsignmask_vd(), x); }
static inline vd vneg_vd_vd(vd x) { return _mm_xor_pd(vsignmask_vd(), x); }
static inline vd vcopysign_vd_vd_vd(vd mag, vd sgn) {
    return _mm_or_pd(_mm_andnot_pd(vsignmask_vd(), mag), _mm_and_pd(vsignmask_vd(), sgn));
}
static inline vd veq_vd_vd_vd(vd x, vd y) { return _mm_cmpeq_pd(x, y); }
static inline vd vneq_vd_vd_vd(vd x, vd y) { return _mm_cmpneq_pd(x, y); }
static inline vd vlt_vd_vd_vd(vd x, vd y) { return _mm_cmplt_pd(x, y); }
static inline vd vle_vd_vd_vd(vd x, vd y) { return _mm_cmple_pd(x, y); }
static inline vd vgt_vd_vd_vd(vd x, vd y) { return _mm_cmpgt_pd(x, y); }
static inline vd vge_vd_vd_vd(vd x, vd y) { return _mm_cmpge_pd(x, y); }
// Ordered comparisons (lt, le, gt, ge, nge) raise the invalid flag on a quiet
// NaN; eq, neq and isnan do not.
static inline vd vnge_vd_vd_vd(vd x, vd y) { return _mm_cmpnge_pd(x, y); }  // !(x >= y), true on NaN
static inline vd visnan_vd_vd(vd x) { return _mm_cmpunord_pd(x, x); }
static inline vd vinf_vd() { return _mm_set1_pd(__builtin_inf()); }
// True for infinities and NaN; an integer compare, so quiet NaNs raise no flag.
static inline vd visnonfinite_vd_vd(vd x) {
    const vi exponent = _mm_set1_epi64x(0x7FF0000000000000);
    return _mm_castsi128_pd(_mm_cmpeq_epi64(_mm_and_si128(_mm_castpd_si128(x), exponent), exponent));
}
static inline vd vfloor_vd_vd(vd x) { return _mm_round_pd(x, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC); }
static inline vd vceil_vd_vd(vd x) { return _mm_round_pd(x, _MM_FROUND_TO_POS_INF | _MM_FROUND_NO_EXC); }
static inline vd vtrunc_vd_vd(vd x) { return _mm_round_pd(x, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC); }
static inline vd vrint_vd_vd(vd x) { return _mm_round_pd(x, _MM_FROUND_CUR_DIRECTION); }
static inline vd vnearbyint_vd_vd(vd x) { return _mm_round_pd(x, _MM_FROUND_CUR_DIRECTION | _MM_FROUND_NO_EXC); }
static inline int vmovemask_i_vd(vd m) { return _mm_movemask_pd(m); }
static inline vi vcast_vi_vd(vd x) { return _mm_castpd_si128(x); }
static inline vd vcast_vd_vi(vi x) { return _mm_castsi128_pd(x); }

// ---- float -----------------------------------------------------------------
static inline vf vload_vf_p(const float* p) { return _mm_loadu_ps(p); }
static inline void vstore_p_vf(float* p, vf x) { _mm_storeu_ps(p, x); }
static inline vf vset1_vf_f(float x) { return _mm_set1_ps(x); }
static inline vf vgather_vf_p_i(const float* p, std::ptrdiff_t inc) {
    return _mm_set_ps(p[3 * inc], p[2 * inc], p[inc], p[0]);
}
static inline void vscatter_p_i_vf(float* p, std::ptrdiff_t inc, vf x) {
    alignas(16) float t[4];
    _mm_store_ps(t, x);
    p[0] = t[0];
    p[inc] = t[1];
    p[2 * inc] = t[2];
    p[3 * inc] = t[3];
}
static inline vf vadd_vf_vf_vf(vf x, vf y) { return _mm_add_ps(x, y); }
static inline vf vsub_vf_vf_vf(vf x, vf y) { return _mm_sub_ps(x, y); }
static inline vf vmul_vf_vf_vf(vf x, vf y) { return _mm_mul_ps(x, y); }
static inline vf vdiv_vf_vf_vf(vf x, vf y) { return _mm_div_ps(x, y); }
static inline vf vsqrt_vf_vf(vf x) { return _mm_sqrt_ps(x); }
static inline vf vmax_vf_vf_vf(vf x, vf y) { return _mm_max_ps(x, y); }
static inline vf vmin_vf_vf_vf(vf x, vf y) { return _mm_min_ps(x, y); }
static inline vf vand_vf_vf_vf(vf x, vf y) { return _mm_and_ps(x, y); }
static inline vf vandnot_vf_vf_vf(vf x, vf y) { return _mm_andnot_ps(x, y); }
static inline vf vor_vf_vf_vf(vf x, vf y) { return _mm_or_ps(x, y); }
static inline vf vxor_vf_vf_vf(vf x, vf y) { return _mm_xor_ps(x, y); }
static inline vf vsel_vf_vf_vf_vf(vf m, vf x, vf y) { return _mm_blendv_ps(y, x, m); }
static inline vf vsignmask_vf() { return _mm_set1_ps(-0.0f); }
static inline vf vabs_vf_vf(vf x) { return _mm_andnot_ps(vsignmask_vf(), x); }
static inline vf vneg_vf_vf(vf x) { return _mm_xor_ps(vsignmask_vf(), x); }
static inline vf vcopysign_vf_vf_vf(vf mag, vf sgn) {
    return _mm_or_ps(_mm_andnot_ps(vsignmask_vf(), mag), _mm_and_ps(vsignmask_vf(), sgn));
}
static inline vf veq_vf_vf_vf(vf x, vf y) { return _mm_cmpeq_ps(x, y); }
static inline vf vneq_vf_vf_vf(vf x, vf y) { return _mm_cmpneq_ps(x, y); }
static inline vf vlt_vf_vf_vf(vf x, vf y) { return _mm_cmplt_ps(x, y); }
static inline vf vle_vf_vf_vf(vf x, vf y) { return _mm_cmple_ps(x, y); }
static inline vf vgt_vf_vf_vf(vf x, vf y) { return _mm_cmpgt_ps(x, y); }
static inline vf vge_vf_vf_vf(vf x, vf y) { return _mm_cmpge_ps(x, y); }
static inline vf vnge_vf_vf_vf(vf x, vf y) { return _mm_cmpnge_ps(x, y); }
static inline vf visnan_vf_vf(vf x) { return _mm_cmpunord_ps(x, x); }
static inline vf vinf_vf() { return _mm_set1_ps(__builtin_inff()); }
static inline vf visnonfinite_vf_vf(vf x) {
    const vi exponent = _mm_set1_epi32(0x7F800000);
    return _mm_castsi128_ps(_mm_cmpeq_epi32(_mm_and_si128(_mm_castps_si128(x), exponent), exponent));
}
static inline vf vfloor_vf_vf(vf x) { return _mm_round_ps(x, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC); }
static inline vf vceil_vf_vf(vf x) { return _mm_round_ps(x, _MM_FROUND_TO_POS_INF | _MM_FROUND_NO_EXC); }
static inline vf vtrunc_vf_vf(vf x) { return _mm_round_ps(x, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC); }
static inline vf vrint_vf_vf(vf x) { return _mm_round_ps(x, _MM_FROUND_CUR_DIRECTION); }
static inline vf vnearbyint_vf_vf(vf x) { return _mm_round_ps(x, _MM_FROUND_CUR_DIRECTION | _MM_FROUND_NO_EXC); }
static inline int vmovemask_i_vf(vf m) { return _mm_movemask_ps(m); }
static inline vi vcast_vi_vf(vf x) { return _mm_castps_si128(x); }
static inline vf vcast_vf_vi(vi x) { return _mm_castsi128_ps(x); }

// ---- one kernel source over float and double --------------------------------
template <class T> struct Simd;

#define QOR_SIMD_COMMON(t, s)                                                         \
    static constexpr auto load = vload_v##t##_p;                                       \
    static constexpr auto store = vstore_p_v##t;                                       \
    static constexpr auto set1 = vset1_v##t##_##s;                                     \
    static constexpr auto gather = vgather_v##t##_p_i;                                 \
    static constexpr auto scatter = vscatter_p_i_v##t;                                 \
    static constexpr auto add = vadd_v##t##_v##t##_v##t;                               \
    static constexpr auto sub = vsub_v##t##_v##t##_v##t;                               \
    static constexpr auto mul = vmul_v##t##_v##t##_v##t;                               \
    static constexpr auto div = vdiv_v##t##_v##t##_v##t;                               \
    static constexpr auto sqrt = vsqrt_v##t##_v##t;                                    \
    static constexpr auto max = vmax_v##t##_v##t##_v##t;                               \
    static constexpr auto min = vmin_v##t##_v##t##_v##t;                               \
    static constexpr auto bit_and = vand_v##t##_v##t##_v##t;                           \
    static constexpr auto bit_andnot = vandnot_v##t##_v##t##_v##t;                     \
    static constexpr auto bit_or = vor_v##t##_v##t##_v##t;                             \
    static constexpr auto bit_xor = vxor_v##t##_v##t##_v##t;                           \
    static constexpr auto select = vsel_v##t##_v##t##_v##t##_v##t;                     \
    static constexpr auto abs = vabs_v##t##_v##t;                                      \
    static constexpr auto neg = vneg_v##t##_v##t;                                      \
    static constexpr auto copysign = vcopysign_v##t##_v##t##_v##t;                     \
    static constexpr auto eq = veq_v##t##_v##t##_v##t;                                 \
    static constexpr auto neq = vneq_v##t##_v##t##_v##t;                               \
    static constexpr auto lt = vlt_v##t##_v##t##_v##t;                                 \
    static constexpr auto le = vle_v##t##_v##t##_v##t;                                 \
    static constexpr auto gt = vgt_v##t##_v##t##_v##t;                                 \
    static constexpr auto ge = vge_v##t##_v##t##_v##t;                                 \
    static constexpr auto nge = vnge_v##t##_v##t##_v##t;                               \
    static constexpr auto isnan = visnan_v##t##_v##t;                                  \
    static constexpr auto isnonfinite = visnonfinite_v##t##_v##t;                      \
    static constexpr auto floor = vfloor_v##t##_v##t;                                  \
    static constexpr auto ceil = vceil_v##t##_v##t;                                    \
    static constexpr auto trunc = vtrunc_v##t##_v##t;                                  \
    static constexpr auto rint = vrint_v##t##_v##t;                                    \
    static constexpr auto nearbyint = vnearbyint_v##t##_v##t;                          \
    static constexpr auto movemask = vmovemask_i_v##t;                                 \
    static constexpr auto to_bits = vcast_vi_v##t;                                     \
    static constexpr auto from_bits = vcast_v##t##_vi;

template <> struct Simd<double> {
    using T = double;
    using V = vd;
    static constexpr int lanes = 2;
    QOR_SIMD_COMMON(d, d)
};

template <> struct Simd<float> {
    using T = float;
    using V = vf;
    static constexpr int lanes = 4;
    QOR_SIMD_COMMON(f, f)
};

#undef QOR_SIMD_COMMON

}  // namespace qor::simd

// ---- integer lanes, width conversions and estimates -------------------------
// vl: 2 int64 lanes (the bit patterns of vd), vi2: 4 int32 lanes (of vf).
namespace qor::simd {

static inline vd vset1_vd_u64(uint64_t bits) { return _mm_castsi128_pd(_mm_set1_epi64x(int64_t(bits))); }
static inline vf vset1_vf_u32(uint32_t bits) { return _mm_castsi128_ps(_mm_set1_epi32(int32_t(bits))); }
static inline vi vzero_vi() { return _mm_setzero_si128(); }
static inline vi vand_vi_vi_vi(vi x, vi y) { return _mm_and_si128(x, y); }
static inline vi vor_vi_vi_vi(vi x, vi y) { return _mm_or_si128(x, y); }
static inline vi vxor_vi_vi_vi(vi x, vi y) { return _mm_xor_si128(x, y); }
static inline void vstorea_p_vi(void* p, vi x) { _mm_store_si128(static_cast<vi*>(p), x); }  // p 16-byte aligned
// int64 lanes
static inline vi vset1_vl_l(int64_t x) { return _mm_set1_epi64x(x); }
static inline vi vadd_vl_vl_vl(vi x, vi y) { return _mm_add_epi64(x, y); }
static inline vi vsub_vl_vl_vl(vi x, vi y) { return _mm_sub_epi64(x, y); }
static inline vi vsll_vl_vl_i(vi x, int count) { return _mm_slli_epi64(x, count); }
static inline vi vsrl_vl_vl_i(vi x, int count) { return _mm_srli_epi64(x, count); }
static inline vi veq_vl_vl_vl(vi x, vi y) { return _mm_cmpeq_epi64(x, y); }
static inline vi vgt_vl_vl_vl(vi x, vi y) { return _mm_cmpgt_epi64(x, y); }
static inline vi vunpackhi_vl_vl_vl(vi x, vi y) { return _mm_unpackhi_epi64(x, y); }  // {x1, y1}
template <int k> static inline int64_t vget_l_vl(vi x) {
    if constexpr (k == 0) return _mm_cvtsi128_si64(x);
    else return _mm_extract_epi64(x, k);
}
// int32 lanes
static inline vi vset1_vi2_i(int32_t x) { return _mm_set1_epi32(x); }
static inline vi vadd_vi2_vi2_vi2(vi x, vi y) { return _mm_add_epi32(x, y); }
static inline vi vsub_vi2_vi2_vi2(vi x, vi y) { return _mm_sub_epi32(x, y); }
static inline vi vmullo_vi2_vi2_vi2(vi x, vi y) { return _mm_mullo_epi32(x, y); }  // low 32 bits of x * y
static inline vi vmin_vi2_vi2_vi2(vi x, vi y) { return _mm_min_epi32(x, y); }
static inline vi vmax_vi2_vi2_vi2(vi x, vi y) { return _mm_max_epi32(x, y); }
static inline vi vsll_vi2_vi2_i(vi x, int count) { return _mm_slli_epi32(x, count); }
static inline vi vsrl_vi2_vi2_i(vi x, int count) { return _mm_srli_epi32(x, count); }
static inline vi vsra_vi2_vi2_i(vi x, int count) { return _mm_srai_epi32(x, count); }
static inline vi veq_vi2_vi2_vi2(vi x, vi y) { return _mm_cmpeq_epi32(x, y); }
static inline vi vgt_vi2_vi2_vi2(vi x, vi y) { return _mm_cmpgt_epi32(x, y); }
// Lanes of x rearranged: lane k of the result is lane (order >> 2k) & 3 of x.
template <int order> static inline vi vshuffle_vi2_vi2(vi x) { return _mm_shuffle_epi32(x, order); }
template <int k> static inline int32_t vget_i_vi2(vi x) {
    if constexpr (k == 0) return _mm_cvtsi128_si32(x);
    else return _mm_extract_epi32(x, k);
}
// Lanes and halves of the float and double vectors
static inline double vget0_d_vd(vd x) { return _mm_cvtsd_f64(x); }
static inline vd vloada_vd_p(const double* p) { return _mm_load_pd(p); }  // p 16-byte aligned
static inline vd vload_vd_p_p(const double* lo, const double* hi) { return _mm_loadh_pd(_mm_load_sd(lo), hi); }
static inline vd vunpacklo_vd_vd_vd(vd x, vd y) { return _mm_unpacklo_pd(x, y); }  // {x0, y0}
static inline vd vunpackhi_vd_vd_vd(vd x, vd y) { return _mm_unpackhi_pd(x, y); }  // {x1, y1}
static inline vf vmovelh_vf_vf_vf(vf x, vf y) { return _mm_movelh_ps(x, y); }      // {x0, x1, y0, y1}
// Two pairs of floats from memory, {lo[0], lo[1], hi[0], hi[1]}.
static inline vf vload_vf_p_p(const float* lo, const float* hi) {
    return _mm_loadh_pi(_mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(lo)),
                        reinterpret_cast<const __m64*>(hi));
}
static inline vf vevens_vf_vf_vf(vf x, vf y) { return _mm_shuffle_ps(x, y, _MM_SHUFFLE(2, 0, 2, 0)); }  // {x0, x2, y0, y2}
static inline vf vodds_vf_vf_vf(vf x, vf y) { return _mm_shuffle_ps(x, y, _MM_SHUFFLE(3, 1, 3, 1)); }   // {x1, x3, y1, y3}
// Two double lane masks as one float mask: the low 32 bits of each 64-bit
// lane of x (lanes 0, 1) and of y (lanes 2, 3).
static inline vf vnarrowmask_vf_vd_vd(vd x, vd y) {
    return _mm_shuffle_ps(_mm_castpd_ps(x), _mm_castpd_ps(y), _MM_SHUFFLE(2, 0, 2, 0));
}
// Conversions between int32 and floating lanes; the rounding ones follow MXCSR.
static inline vf vcvt_vf_vi2(vi x) { return _mm_cvtepi32_ps(x); }
static inline vd vcvt_vd_vi2_lo(vi x) { return _mm_cvtepi32_pd(x); }  // lanes 0, 1
static inline vi vrint_vi2_vf(vf x) { return _mm_cvtps_epi32(x); }
static inline vf vcvt_vf_vd(vd x) { return _mm_cvtpd_ps(x); }  // lanes 0, 1; lanes 2, 3 zero
// Hardware estimate of 1/x, relative error at most 1.5 * 2^-12.  Its bits
// differ between processor makers: for EP paths only.
static inline vf vrcp_vf_vf(vf x) { return _mm_rcp_ps(x); }
// Round to nearest even without raising inexact, whatever MXCSR says.
static inline vd vrne_vd_vd(vd x) { return _mm_round_pd(x, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC); }
static inline vf vrne_vf_vf(vf x) { return _mm_round_ps(x, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC); }
// The low and the high two floats widened; two double vectors narrowed into one.
static inline vd vcast_vd_vf_lo(vf x) { return _mm_cvtps_pd(x); }
static inline vd vcast_vd_vf_hi(vf x) { return _mm_cvtps_pd(_mm_movehl_ps(x, x)); }
static inline vf vcast_vf_vd_vd(vd lo, vd hi) { return _mm_movelh_ps(_mm_cvtpd_ps(lo), _mm_cvtpd_ps(hi)); }
// Hardware estimate of 1/sqrt(x), relative error at most 1.5 * 2^-12 for
// normal x; subnormal inputs give +inf.  Its bits differ between processor
// makers: for EP paths only.
static inline vf vrsqrt_vf_vf(vf x) { return _mm_rsqrt_ps(x); }

}  // namespace qor::simd
