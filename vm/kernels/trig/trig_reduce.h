// Argument reduction of the sine, cosine and tangent kernels: |x| = k pi/2 + r
// with |r| <= pi/4 (a little more for the rounded k) and k mod 4 kept.
//
// Moderate arguments (|x| < 2^19) reduce in the vector path by Cody-Waite:
// pi/2 is split into pieces of 33 significant bits, so that k C1, k C2 and
// k C3 are exact for k < 2^20, and |x| - k C1 is exact as well (the two lie
// within a factor of two).  Two forms:
//   exact:  four pieces (152 bits of pi/2) summed with error-free
//           additions, r = hi + lo to about 2^-100 relative even for the
//           doubles closest to a multiple of pi/2 in the range (r near
//           2^-60);
//   three:  three plain steps (119 bits), relative error of r below 2^-42;
// Larger arguments go to the scalar routine, which reduces by the bits of
// 2/pi (Payne and Hanek): |x| 2/pi mod 4 from a 192-bit window of the
// table, exact to about 2^-137 absolutely, so r keeps about 75 correct bits
// even for 6381956970095103 * 2^797, the double closest to a multiple.
#pragma once

#include <bit>
#include <cstdint>

#include "../lane_bits.h"
#include "../lanes.h"
#include "two_over_pi_table.h"

namespace qor::vm::trig {

inline constexpr double kTwoOverPiD = dbl(0x3FE45F306DC9C883ull);
inline constexpr double kC1 = dbl(0x3FF921FB54400000ull);       // 33 bits
inline constexpr double kC2 = dbl(0x3DD0B4611A600000ull);       // 33 bits
inline constexpr double kC3 = dbl(0x3BA3198A2E000000ull);       // 33 bits
inline constexpr double kC4 = dbl(0x397B839A252049C1ull);       // the rest, rounded
inline constexpr double kC3Plain = dbl(0x3BA3198A2E037073ull);  // pi/2 - C1 - C2, rounded
inline constexpr double kPiOver2Hi = dbl(0x3FF921FB54442D18ull);
inline constexpr double kPiOver2Lo = dbl(0x3C91A62633145C07ull);
// 1.5 * 2^52: added to t in [0, 2^51) it rounds t to an integer held in
// the low bits of the sum.
inline constexpr double kRoundingShift = dbl(0x4338000000000000ull);

// |x| at or above 2^19 (and infinities, NaN) leave the vector path.
inline constexpr uint32_t kVectorLimitUpper = 0x411FFFFF;  // upper word below 2^19
inline constexpr uint32_t kVectorLimitSingle = 0x48FFFFFFu;  // below 2^19f

enum class Reduction { exact, three };

// r = hi + lo (lo zero unless exact) and k, whose low two bits are those
// of the 64-bit lanes of `k`.
struct Reduced {
    vd hi, lo;
    vi k;
};

// a - b = s + e for the reduction's steps: exact when |a| >= |b|, and
// when |a| < |b| the difference itself is exact (both are multiples of
// the last bit of k C, and their difference is small enough to hold all
// its bits), so that e = 0 is right.
QOR_KERNEL_INLINE void fast_two_sum(vd a, vd b, vd& s, vd& e) {
    s = SD::sub(a, b);
    e = SD::sub(SD::sub(a, s), b);
}

// a * b = p + e with the splitting of Dekker: heads of 26 bits by a mask,
// tails exact; the tail product's rounding (2^-106 relative) is the only
// error.
QOR_KERNEL_INLINE void two_prod(vd a, vd b, vd& p, vd& e) {
    const vd head = Bits<double>::pattern(Bits<double>::kSplitHead);
    const vd ah = SD::bit_and(a, head), al = SD::sub(a, ah);
    const vd bh = SD::bit_and(b, head), bl = SD::sub(b, bh);
    p = SD::mul(a, b);
    e = SD::add(SD::add(SD::add(SD::sub(SD::mul(ah, bh), p), SD::mul(ah, bl)), SD::mul(al, bh)), SD::mul(al, bl));
}

// ax = |x| < 2^19.
template <Reduction R>
QOR_KERNEL_INLINE Reduced reduce(vd ax) {
    const vd shift = SD::set1(kRoundingShift);
    const vd big = SD::add(SD::mul(ax, SD::set1(kTwoOverPiD)), shift);
    const vd k = SD::sub(big, shift);
    Reduced out;
    out.k = simd::vcast_vi_vd(big);
    const vd t1 = SD::sub(ax, SD::mul(k, SD::set1(kC1)));  // exact
    if constexpr (R == Reduction::exact) {
        vd s2, e2, s3, e3;
        fast_two_sum(t1, SD::mul(k, SD::set1(kC2)), s2, e2);
        fast_two_sum(s2, SD::mul(k, SD::set1(kC3)), s3, e3);
        // Left unnormalised: |low| stays within about an ulp of s3, which
        // the evaluations take as they take a normalised low part.
        out.hi = s3;
        out.lo = SD::sub(SD::add(e2, e3), SD::mul(k, SD::set1(kC4)));
    } else {
        out.hi = SD::sub(SD::sub(t1, SD::mul(k, SD::set1(kC2))), SD::mul(k, SD::set1(kC3Plain)));
        out.lo = SD::set1(0.0);
    }
    return out;
}

// ---- huge arguments, one at a time -----------------------------------------

// The 64 bits of 2/pi from the bit of weight 2^-(j+1) on (j may be negative:
// the bits of weight 2^0 and above are zero).
inline uint64_t two_over_pi_bits(int j) {
    const int w = j >= 0 ? j / 64 : -((63 - j) / 64);
    const int s = j - 64 * w;
    auto word = [](int i) { return i >= 0 && i < kTwoOverPiWords ? kTwoOverPi[i] : uint64_t(0); };
    return s == 0 ? word(w) : (word(w) << s) | (word(w + 1) >> (64 - s));
}

// a * b = p + e exactly, for the scalar routine.
inline void two_prod(double a, double b, double& p, double& e) {
    const uint64_t head = Bits<double>::kSplitHead;
    const double ah = std::bit_cast<double>(std::bit_cast<uint64_t>(a) & head), al = a - ah;
    const double bh = std::bit_cast<double>(std::bit_cast<uint64_t>(b) & head), bl = b - bh;
    p = a * b;
    e = (((ah * bh - p) + ah * bl) + al * bh) + al * bl;
}

// ax = |x| >= 2^-33 finite: r = hi + lo and k mod 4.  With ax = m 2^e (m an
// integer of 53 bits), ax 2/pi mod 4 depends only on the bits of 2/pi from
// weight 2^(1-e) on: the window N of 192 of them, read as 2 bits of integer
// and 190 of fraction, gives m N mod 2^192 = (ax 2/pi mod 4) 2^190.
inline void reduce_huge(double ax, double& hi, double& lo, int& k) {
    const uint64_t bits = std::bit_cast<uint64_t>(ax);
    const int biased = int(bits >> 52);
    const uint64_t m = (bits & 0x000FFFFFFFFFFFFFull) | (biased ? 0x0010000000000000ull : 0);
    const int e = (biased ? biased : 1) - 1075;
    const uint64_t n0 = two_over_pi_bits(e - 2), n1 = two_over_pi_bits(e + 62), n2 = two_over_pi_bits(e + 126);
    using u128 = unsigned __int128;
    const u128 p2 = u128(m) * n2;
    const u128 p1 = u128(m) * n1 + uint64_t(p2 >> 64);
    const uint64_t r0 = uint64_t(p2), r1 = uint64_t(p1);
    uint64_t r2 = m * n0 + uint64_t(p1 >> 64);
    // Round to the nearest quadrant: add a half, take the two integer bits,
    // and take the half back from what is left (a signed fraction).
    r2 += uint64_t(1) << 61;
    k = int(r2 >> 62);
    const int64_t top = int64_t((r2 & ((uint64_t(1) << 62) - 1)) - (uint64_t(1) << 61));
    const __int128 f = (__int128(top) << 64) | r1;  // fraction * 2^126
    const double fh = double(f);
    const double fl = double(f - __int128(fh)) + double(r0) * 0x1p-64;
    double p, pe;
    two_prod(fh, kPiOver2Hi, p, pe);
    const double tail = pe + (fh * kPiOver2Lo + fl * kPiOver2Hi);
    hi = (p + tail) * 0x1p-126;
    lo = ((p - (p + tail)) + tail) * 0x1p-126;
}

}  // namespace qor::vm::trig
