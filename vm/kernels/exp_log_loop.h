// The element loop of the exponential and logarithm kernels, and the lane
// helpers they share.
//
// An Op of this family screens its input before computing:
//
//   struct Op {
//       using T = float or double;
//       static constexpr int block;        // elements per screened block
//       static constexpr bool reads_mode;  // flush to zero as the mode says
//       V operator()(V x) const;           // vector path, every lane
//       V special(V x) const;              // lanes for the scalar routine
//       int fix(T x, T& r) const;          // scalar routine: result, code
//   };
//
// The loop applies the floating-point protocol, computes a whole block,
// stores it, and only when the block's screen marked a lane sends the marked
// elements, in increasing index order, to the scalar routine and the
// reporter, each with its argument as loaded (the output may be the input).
// The last n mod block elements take the same path one vector at
// a time.  Marked lanes enter the vector path as +0, so that infinities,
// NaN and out-of-range values raise no flag there and index no table out of
// range; their results come from the scalar routine alone.
#pragma once

#include <cstdint>

#include "driver.h"
#include "lane_bits.h"

namespace qor::vm {

template <class Op, class A, class R>
void run_screened(const Op& op, int n, A a, R r, const char* name) {
    using T = typename Op::T;
    using S = simd::Simd<T>;
    using V = typename S::V;
    constexpr int L = S::lanes;
    constexpr int NV = Op::block / L;
    static_assert(Op::block % L == 0 && Op::block <= 32);
    FpEnvironment env(kernel_mxcsr<Op>());
    ptrdiff_t i = 0;
    for (; i + Op::block <= n; i += Op::block) {
        V x[NV], mark[NV];
        for (int v = 0; v < NV; ++v) {
            x[v] = a.load(i + v * L);
            mark[v] = op.special(x[v]);
        }
        for (int v = 0; v < NV; ++v) r.store(i + v * L, op(S::bit_andnot(mark[v], x[v])));
        V any = mark[0];
        for (int v = 1; v < NV; ++v) any = S::bit_or(any, mark[v]);
        if (S::movemask(any)) {
            unsigned bits = 0;
            alignas(16) T xs[Op::block];  // the arguments, in case r overwrote a
            for (int v = 0; v < NV; ++v) {
                bits |= unsigned(S::movemask(mark[v])) << (v * L);
                S::store(xs + v * L, x[v]);
            }
            fix_unary(op, i, bits, xs, a, r, name);
        }
    }
    for (; i < n; i += L) {
        const int count = n - i < L ? int(n - i) : L;
        V x = count == L ? a.load(i) : load_partial<T>(a, i, count);
        const V mark = op.special(x);
        V y = op(S::bit_andnot(mark, x));
        if (count == L) r.store(i, y); else store_partial<T>(r, i, count, y);
        if (unsigned bits = unsigned(S::movemask(mark)) & ((1u << count) - 1)) {
            alignas(16) T xs[L];
            S::store(xs, x);
            fix_unary(op, i, bits, xs, a, r, name);
        }
    }
}

}  // namespace qor::vm

// The contiguous and strided kernels of one function slot over run_screened.
#define QOR_VM_SCREENED_KERNELS(p, Fn, slot, T, op) \
    QOR_VM_UNARY_FORMS(qor::vm::run_screened, op, qor::vm::Contig, qor::vm::Strided, p, Fn, slot, T)
