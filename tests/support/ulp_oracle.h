// Accuracy oracle for the real vector-math kernels: runs a kernel over a set
// of arguments and measures every result against MPFR, in ulps of the
// result's format.
//
// The ulp of an exact value v is 2^(max(e, emin) - p), where 2^(e-1) <= |v|
// < 2^e, p is the format's precision (24 or 53) and emin its minimum
// exponent in the same convention (-125 or -1021): subnormal results are
// measured in units of the smallest subnormal.  Exponents past the largest
// finite binade use the ulp of the largest finite number.
//
// Special values: a NaN reference wants a NaN result and an infinite one the
// same infinity; a NaN result for a non-NaN reference, an infinite result
// that is not the correct rounding, or a zero of the wrong sign against an
// exact zero count as an infinite error.
#pragma once

#include <mpfr.h>

#include <cstddef>
#include <span>
#include <string>

namespace qor::test {

// Reference functions in MPFR's calling convention.  Non-capturing lambdas
// convert to these, so a reference MPFR lacks can be composed in place.
using MpfrUnary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using MpfrBinary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);

template <class T>
using UnaryKernel = void (*)(int, const T*, T*);
template <class T>
using BinaryKernel = void (*)(int, const T*, const T*, T*);

// Error of `got` against the exact value, in ulps of T (float or double).
template <class T>
double ulp_error(T got, mpfr_srcptr exact);

// Error of a single-precision result against a double-precision reference
// that is itself within a double ulp of the exact value: the reference adds
// at most 2^-29 ulp of doubt.  For fast exhaustive sweeps.
double ulp_error_vs_double(float got, double reference);

// The worst error seen over a set of arguments.
struct WorstCase {
    double ulps = 0;          // largest error
    double arg = 0;           // argument that gave it
    double arg2 = 0;          // second argument (binary functions)
    double got = 0;           // result there
    double want = 0;          // exact value rounded to double
    std::size_t count = 0;    // results measured
    std::size_t above = 0;    // results whose error exceeded the limit asked for

    // Takes the other record's worst case if it is worse, and adds counts.
    void merge(const WorstCase& other);
    // One line: ulps, argument, result and exact value in hexadecimal.
    std::string describe() const;
};

// Runs the kernel over the arguments in chunks and compares each result
// with f computed at `precision` bits.  `limit` counts the results above it.
template <class T>
WorstCase measure_unary(UnaryKernel<T> kernel, MpfrUnary f, std::span<const T> args, double limit = 0,
                        int precision = 160);

// Error of one value: f(x, y) at `precision` bits against got.
template <class T>
double binary_error(MpfrBinary f, T x, T y, T got, int precision = 160);

}  // namespace qor::test
