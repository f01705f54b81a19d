// Complex Conj: the imaginary part's sign bit flipped, every other bit kept
// (NaN payloads included).  Nothing can go wrong, so nothing is reported;
// one kernel serves all three accuracy slots.
#include "../../frame/kernel_decls.h"
#include "../complex_driver.h"

namespace qor::vm {
namespace {

template <class Complex>
struct ConjOp {
    using C = Complex;
    using S = simd::CSimd<C>;
    using V = typename S::V;
    static constexpr bool reads_mode = false;
    static constexpr bool screens = false;
    V operator()(V a) const { return S::bit_xor(a, S::im_sign()); }
};

}  // namespace
}  // namespace qor::vm

QOR_VM_COMPLEX_UNARY_KERNELS(c, Conj, HA, qor_complex8, qor::vm::ConjOp<qor_complex8>{})
QOR_VM_COMPLEX_UNARY_KERNELS(z, Conj, HA, qor_complex16, qor::vm::ConjOp<qor_complex16>{})
