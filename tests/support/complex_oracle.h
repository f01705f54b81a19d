// Accuracy oracle for the complex vector-math kernels: runs a kernel over a
// set of complex arguments and measures every result against MPC.
//
// One number per result.  Each component is measured twice: in ulps of the
// exact component (ulp_error), and in ulps of the exact result's magnitude
// |w| = hypot(re, im), where a component much smaller than |w| may carry an
// error that is large relative to itself but tiny relative to the result.
// The score of a component is min(component ulps, magnitude ulps / 2), and
// the score of a result the larger of its two components: a kernel whose
// score is at most 1 is within 1 ulp in every component, or within 2 ulps
// of the magnitude where the component is tiny.
//
// Special values (NaN, infinite or zero components) follow ulp_error: a NaN
// component wants a NaN, an infinity the same infinity, an exact zero a
// zero of the same sign; anything else scores infinity.  Annex-style special
// value tables are tested bit for bit, not through this score.
#pragma once

#include <mpc.h>

#include <span>
#include <string>

#include "qor/qor_types.h"
#include "ulp_oracle.h"

namespace qor::test {

// References in MPC's calling convention (mpc_exp, mpc_log, ...; compose
// others in non-capturing lambdas).
using MpcUnary = int (*)(mpc_ptr, mpc_srcptr, mpc_rnd_t);
using MpcBinary = int (*)(mpc_ptr, mpc_srcptr, mpc_srcptr, mpc_rnd_t);
// A real result of a complex argument (mpc_abs, mpc_arg).
using MpcToReal = int (*)(mpfr_ptr, mpc_srcptr, mpfr_rnd_t);

template <class C>
using ComplexReal = decltype(C::re);  // float for qor_complex8, double for qor_complex16

// Score of `got` against the exact value (see the head comment).
template <class C>
double complex_error(const C& got, mpc_srcptr exact);

// The worst result over a set of arguments, with the argument(s) that gave it.
struct ComplexWorst {
    double score = 0;
    qor_complex16 arg{}, arg2{}, got{}, want{};
    std::size_t count = 0, above = 0;
    void merge(const ComplexWorst& other);
    std::string describe() const;
};

// Kernels in the vector-math calling convention.
template <class C>
using ComplexUnaryKernel = void (*)(int, const C*, C*);
template <class C>
using ComplexBinaryKernel = void (*)(int, const C*, const C*, C*);

// Runs the kernel over the arguments in chunks, compares each result with f
// at `precision` bits; `limit` counts the results scoring above it.
template <class C>
ComplexWorst measure_complex(ComplexUnaryKernel<C> kernel, MpcUnary f, std::span<const C> args, double limit = 0,
                             int precision = 192);
template <class C>
ComplexWorst measure_complex(ComplexBinaryKernel<C> kernel, MpcBinary f, std::span<const C> a,
                             std::span<const C> b, double limit = 0, int precision = 192);

// A real result (Abs, Arg) in ulps of its format, as ulp_error measures it.
template <class C>
WorstCase measure_complex_to_real(void (*kernel)(int, const C*, ComplexReal<C>*), MpcToReal f,
                                  std::span<const C> args, double limit = 0, int precision = 192);

}  // namespace qor::test
