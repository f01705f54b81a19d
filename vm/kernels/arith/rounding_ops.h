// Ceil, Floor, Trunc, Rint, NearbyInt and Round, real.  Results are those of
// C: signed zeros, infinities and NaN pass through; Rint rounds half to even
// under the kernel's round-to-nearest control and may raise inexact,
// NearbyInt gives the same value without raising it, Round rounds half away
// from zero without raising it.  None of them reports an error.
#pragma once

#include <cmath>
#include <limits>

#include "../lane_bits.h"
#include "../quiet_op.h"

namespace qor::vm::arith {

// The five that are one SSE4.1 rounding instruction each.
template <class T, auto instruction>
struct InstructionFn {
    static typename simd::Simd<T>::V apply(typename simd::Simd<T>::V a) { return instruction(a); }
};

template <class T> using CeilFn = InstructionFn<T, simd::Simd<T>::ceil>;
template <class T> using FloorFn = InstructionFn<T, simd::Simd<T>::floor>;
template <class T> using TruncFn = InstructionFn<T, simd::Simd<T>::trunc>;
template <class T> using RintFn = InstructionFn<T, simd::Simd<T>::rint>;
template <class T> using NearbyIntFn = InstructionFn<T, simd::Simd<T>::nearbyint>;

// Round: t = trunc(a), and the exact fraction a - t tells whether to step
// away from zero by one, which is exact because a non-zero fraction means
// |t| < 2^52 (2^23 in single); other lanes add a zero of the sign of t.
// Infinities are masked out of the fraction (no inf - inf) and the test on
// |a - t| >= 1/2 compares bit patterns, so that no flag is raised: neither
// inexact nor invalid for infinities and quiet NaNs.
template <class T>
struct RoundFn {
    using S = simd::Simd<T>;
    using B = Bits<T>;
    using V = typename S::V;
    static V apply(V a) {
        V t = S::trunc(a);
        V finite = S::neq(S::abs(a), S::set1(std::numeric_limits<T>::infinity()));
        V fraction = S::abs(S::sub(S::bit_and(a, finite), S::bit_and(t, finite)));
        V away = B::int_greater(fraction, S::set1(std::nextafter(T(0.5), T(0))));
        return S::add(t, S::bit_or(S::bit_and(away, S::set1(T(1))), sign_of<T>(a)));
    }
};

}  // namespace qor::vm::arith
