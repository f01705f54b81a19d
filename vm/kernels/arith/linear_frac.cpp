// LinearFrac, real: r = (scalea*a + shifta) / (scaleb*b + shiftb), evaluated
// in the element precision as the C expression would be.  The kernel always
// runs with plain MXCSR (no flush to zero), whatever the mode says.  Reports:
// a NaN from non-NaN arguments and parameters (0/0, inf*0, inf/inf) is a
// domain error; an infinity from finite ones is a pole when the denominator
// is zero and an overflow otherwise.
#include <cmath>

#include "../../frame/kernel_decls.h"
#include "../driver.h"

namespace qor::vm {
namespace {

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

}  // namespace
}  // namespace qor::vm

// The loop is inlined whole into each kernel so that the op, a local whose
// address then never leaves the function, keeps its broadcast parameters in
// registers instead of reloading them after every store.
#define QOR_LINEAR_FRAC_FLATTEN __attribute__((flatten))

#define QOR_LINEAR_FRAC_KERNELS(p, T)                                                                         \
    QOR_EXTERN_C QOR_LINEAR_FRAC_FLATTEN void qor_vmk_##p##LinearFrac_HA(                                     \
        int n, const T* a, const T* b, T scalea, T shifta, T scaleb, T shiftb, T* r) {                         \
        qor::vm::run_binary(qor::vm::LinearFracOp<T>(scalea, shifta, scaleb, shiftb), n, qor::vm::Contig<T>(a), \
                            qor::vm::Contig<T>(b), qor::vm::Contig<T>(r), "v" #p "LinearFrac");                \
    }                                                                                                         \
    QOR_EXTERN_C QOR_LINEAR_FRAC_FLATTEN void qor_vmk_##p##LinearFracI_HA(                                    \
        int n, const T* a, int inca, const T* b, int incb, T scalea, T shifta, T scaleb, T shiftb, T* r,       \
        int incr) {                                                                                           \
        const qor::vm::LinearFracOp<T> op(scalea, shifta, scaleb, shiftb);                                    \
        if (inca == 1 && incb == 1 && incr == 1)                                                              \
            qor::vm::run_binary(op, n, qor::vm::Contig<T>(a), qor::vm::Contig<T>(b), qor::vm::Contig<T>(r),   \
                                "v" #p "LinearFracI");                                                        \
        else                                                                                                  \
            qor::vm::run_binary(op, n, qor::vm::Strided<T>(a, inca), qor::vm::Strided<T>(b, incb),            \
                                qor::vm::Strided<T>(r, incr), "v" #p "LinearFracI");                          \
    }

QOR_LINEAR_FRAC_KERNELS(s, float)
QOR_LINEAR_FRAC_KERNELS(d, double)
