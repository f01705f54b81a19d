// Kernel definitions over the element loop (loop.h).  A real kernel is an
// Op:
//
//   struct Op {
//       using T = float or double;
//       static constexpr bool reads_mode;    // false: never flush to zero
//       V operator()(V a[, V b]) const;      // vector path, every element
//       V special(V a, [V b,] V r) const;    // lanes for the scalar routine
//       int fix(T a, [T b,] T& r) const;     // scalar routine: result, code
//   };
//
// or, with two results, `void operator()(V a, V& r1, V& r2)`,
// `V special(V a, V r1, V r2)` and `int fix(T a, T& r1, T& r2)`.  An Op
// whose only exceptional results come from IEEE exceptions may also declare
// `static constexpr uint32_t flag_screen` (MXCSR flag bits); see loop.h.
//
// A kernel's arguments are those of its kind in vm_kinds.h, and only there:
// the kernels are defined with QOR_VM_PARAMS and hand QOR_VM_ARGS to a Form,
// which makes views of the arrays and runs the loop.  A kind whose arguments
// carry scalars (Powx's exponent, LinearFrac's scales and shifts) takes a
// method instead of an Op: `method(go, scalars...)` picks the Op for those
// scalars and calls `go(op)`, once; a method without scalars picks its Op
// from something else, such as the caller's mode.
#pragma once

#include <tuple>
#include <type_traits>

#include "loop.h"
#include "qor/vm_kinds.h"

namespace qor::vm {

template <class E>
Contig<std::remove_const_t<E>> contig(E* p) { return Contig<std::remove_const_t<E>>(p); }
template <class E>
Strided<std::remove_const_t<E>> strided(E* p, int inc) { return Strided<std::remove_const_t<E>>(p, inc); }

// A scalar argument of a kind, as opposed to an array or an increment.
template <class S>
concept KindScalar = std::is_floating_point_v<S> || std::is_same_v<S, qor_complex8> ||
                     std::is_same_v<S, qor_complex16>;

// The arguments of one kernel call, in the order of its kind: arrays (const
// for inputs), each followed by its increment in a strided kind, and
// scalars.  Inputs come first, then outputs; a strided call whose
// increments are all 1 takes the contiguous path.
template <class Op>
class Form {
public:
    Form(const Op& op, const char* name) : op_(op), name_(name) {}

    // unary, binary, two results, complex to real, real to complex
    template <class... E>
    [[gnu::always_inline]] inline void operator()(int n, E*... p) const { go(n, contig(p)...); }

    template <class A, class R>
    [[gnu::always_inline]] inline void operator()(int n, A* a, int inca, R* r, int incr) const {
        if (inca == 1 && incr == 1) go(n, contig(a), contig(r));
        else go(n, strided(a, inca), strided(r, incr));
    }

    template <class A, class B, class R>
    [[gnu::always_inline]] inline void operator()(int n, A* a, int inca, B* b, int incb, R* r, int incr) const {
        if (inca == 1 && incb == 1 && incr == 1) go(n, contig(a), contig(b), contig(r));
        else go(n, strided(a, inca), strided(b, incb), strided(r, incr));
    }

    // One scalar after the argument array (Powx).
    template <class A, KindScalar S, class R>
    [[gnu::always_inline]] inline void operator()(int n, A* a, S b, R* r) const { go_with(n, std::tuple(b), contig(a), contig(r)); }

    template <class A, KindScalar S, class R>
    [[gnu::always_inline]] inline void operator()(int n, A* a, int inca, S b, R* r, int incr) const {
        if (inca == 1 && incr == 1) go_with(n, std::tuple(b), contig(a), contig(r));
        else go_with(n, std::tuple(b), strided(a, inca), strided(r, incr));
    }

    // Four scalars after the argument arrays (LinearFrac).  The loop is
    // inlined whole, so that the Op, made here from the scalars, keeps its
    // broadcast parameters in registers instead of reloading them after
    // every store.
    template <class A, class B, KindScalar S, class R>
    [[gnu::flatten, gnu::always_inline]] inline void operator()(int n, A* a, B* b, S s1, S s2, S s3, S s4, R* r) const {
        go_with(n, std::tuple(s1, s2, s3, s4), contig(a), contig(b), contig(r));
    }

    template <class A, class B, KindScalar S, class R>
    [[gnu::flatten, gnu::always_inline]] inline void operator()(int n, A* a, int inca, B* b, int incb, S s1, S s2, S s3, S s4, R* r,
                                     int incr) const {
        if (inca == 1 && incb == 1 && incr == 1)
            go_with(n, std::tuple(s1, s2, s3, s4), contig(a), contig(b), contig(r));
        else
            go_with(n, std::tuple(s1, s2, s3, s4), strided(a, inca), strided(b, incb), strided(r, incr));
    }

private:
    template <class... Views>
    [[gnu::always_inline]] inline void go(int n, Views... views) const {
        if constexpr (requires { Op::reads_mode; }) run(op_, n, name_, views...);
        else go_with(n, std::tuple(), views...);
    }

    template <class Scalars, class... Views>
    [[gnu::always_inline]] inline void go_with(int n, const Scalars& scalars, Views... views) const {
        // A method that already read the mode passes the MXCSR control with its Op.
        auto run_op = [&](const auto& op, auto... wanted) {
            if constexpr (sizeof...(wanted) == 0) run(op, n, name_, views...);
            else if (n > 0) run_under(op, wanted..., n, name_, views...);
        };
        std::apply([&](auto... s) { op_(run_op, s...); }, scalars);
    }

    const Op& op_;
    const char* name_;
};

// The method of a kind with scalars whose Op is made from them.
template <class Op>
struct MadeFrom {
    template <class Go, class... S>
    void operator()(Go&& go, S... s) const { go(Op(s...)); }
};

}  // namespace qor::vm

// The kernel qor_vmk_<p><Fn>_<slot> of one row of the given kind.
#define QOR_VM_KERNEL(p, Fn, kind, slot, op)                                                             \
    QOR_EXTERN_C void qor_vmk_##p##Fn##_##slot QOR_VM_PARAMS(kind, p) {                                  \
        qor::vm::Form(op, "v" #p #Fn) QOR_VM_ARGS(kind);                                                 \
    }

// The contiguous kernel of a row and that of its strided row (Fn with I,
// kind with _i) for one slot.
#define QOR_VM_KERNEL_PAIR(p, Fn, kind, slot, op) \
    QOR_VM_KERNEL(p, Fn, kind, slot, op)          \
    QOR_VM_KERNEL(p, Fn##I, kind##_i, slot, op)
