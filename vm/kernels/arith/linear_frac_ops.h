// LinearFrac, real: r = (scalea*a + shifta) / (scaleb*b + shiftb), evaluated
// in the element precision as the C expression would be.  The kernel always
// runs with plain MXCSR (no flush to zero), whatever the mode says.  Reports:
// a NaN from non-NaN arguments and parameters (0/0, inf*0, inf/inf) is a
// domain error; an infinity from finite ones is a pole when the denominator
// is zero and an overflow otherwise.
#pragma once

#include <cmath>

#include "../driver.h"

namespace qor::vm::arith {

template <class Real>
struct LinearFracOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = false;
    static constexpr uint32_t flag_screen = kFlagInvalid | kFlagDivideByZero | kFlagOverflow;

    LinearFracOp(T scalea, T shifta, T scaleb, T shiftb)
        : sa(scalea), ta(shifta), sb(scaleb), tb(shiftb),
          vsa(S::set1(scalea)), vta(S::set1(shifta)), vsb(S::set1(scaleb)), vtb(S::set1(shiftb)) {}

    V operator()(V a, V b) const { return S::div(S::add(S::mul(vsa, a), vta), S::add(S::mul(vsb, b), vtb)); }
    V special(V, V, V r) const { return S::isnonfinite(r); }
    int fix(T a, T b, T& r) const {
        const T args[] = {a, b, sa, ta, sb, tb};
        bool any_nan = false, all_finite = true;
        for (T v : args) {
            any_nan |= std::isnan(v);
            all_finite &= std::isfinite(v);
        }
        if (std::isnan(r)) return any_nan ? QOR_VM_STATUS_OK : QOR_VM_STATUS_DOMAIN;
        if (!all_finite) return QOR_VM_STATUS_OK;
        return sb * b + tb == T(0) ? QOR_VM_STATUS_SING : QOR_VM_STATUS_OVERFLOW;
    }

    T sa, ta, sb, tb;
    V vsa, vta, vsb, vtb;
};

}  // namespace qor::vm::arith
