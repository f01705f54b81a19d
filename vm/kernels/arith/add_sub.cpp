// Add and Sub, real.  Results are the IEEE sums, correctly rounded; an
// infinite sum of finite arguments reports overflow, inf - inf a domain
// error.  One kernel serves all three accuracy slots.
#include "../driver.h"
#include "../ieee_screen.h"
#include "../../frame/kernel_decls.h"

namespace qor::vm {
namespace {

template <class Real, bool Subtract>
struct AddOp {
    using T = Real;
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr bool reads_mode = true;
    static constexpr uint32_t flag_screen = kFlagInvalid | kFlagOverflow;
    V operator()(V a, V b) const { return Subtract ? S::sub(a, b) : S::add(a, b); }
    V special(V, V, V r) const { return S::isnonfinite(r); }
    int fix(T a, T b, T& r) const { return ieee_code(a, b, r); }
};

}  // namespace
}  // namespace qor::vm

QOR_VM_BINARY_KERNELS(s, Add, HA, float, (qor::vm::AddOp<float, false>{}))
QOR_VM_BINARY_KERNELS(d, Add, HA, double, (qor::vm::AddOp<double, false>{}))
QOR_VM_BINARY_KERNELS(s, Sub, HA, float, (qor::vm::AddOp<float, true>{}))
QOR_VM_BINARY_KERNELS(d, Sub, HA, double, (qor::vm::AddOp<double, true>{}))
