// The Ops of the complex functions, made kernels by driver.h over the
// element loop (loop.h):
//
//   struct Op {
//       using C = qor_complex8 or qor_complex16;
//       static constexpr bool reads_mode;   // false: never flush to zero
//       static constexpr bool screens;      // false: no screen, no reports
//       V operator()(V a[, V b]) const;     // vector path, every element
//       V special(V a, [V b,] V r) const;   // lanes whose element needs fixing
//       int fix(C a, [C b,] C& r) const;    // scalar routine: result, code
//   };                                      // (special and fix only if screens)
//
// One register holds one double or two single complex elements; a lone
// single complex element at the end fills both halves of its register.
#pragma once

#include "driver.h"

// ---- planar kernels ------------------------------------------------------------
// The transcendental complex kernels work on real and imaginary parts in
// separate registers.  Their arrays are read through the element types
// PlanarC and PlanarZ (the layouts of qor_complex8 and qor_complex16): a
// register pack of them holds four single or two double elements, already
// split into parts, so that every lane of the arithmetic does useful work.
// Masks of these kernels have one real lane per element (Op::Mask is the
// real type).
#include <array>

// Registers are held in Parts<V>; GCC notes that the vector types'
// may_alias attribute does not carry into template arguments, which the
// kernels never rely on.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-attributes"

namespace qor::vm {

struct PlanarC : qor_complex8 {};
struct PlanarZ : qor_complex16 {};

// The parts of a pack: re and im lanes of the same elements.
template <class V>
struct Parts {
    V re, im;
};

template <class E, class R, class V, int N>
struct PlanarLanes {
    using C = E;
    using V2 = Parts<V>;
    static constexpr int per_vector = N;
    using Base = std::conditional_t<N == 4, qor_complex8, qor_complex16>;
    using S = simd::CSimd<Base>;

    // Two registers of interleaved elements to parts and back.
    static Parts<V> split(V a, V b) {
        if constexpr (N == 4) return {_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0)), _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))};
        else return {_mm_unpacklo_pd(a, b), _mm_unpackhi_pd(a, b)};
    }
    static void join(Parts<V> x, V& a, V& b) {
        if constexpr (N == 4) { a = _mm_unpacklo_ps(x.re, x.im); b = _mm_unpackhi_ps(x.re, x.im); }
        else { a = _mm_unpacklo_pd(x.re, x.im); b = _mm_unpackhi_pd(x.re, x.im); }
    }
    static constexpr int half = N / 2;  // elements in one interleaved register

    static Parts<V> load(const E* p) { return split(S::load(p), S::load(p + half)); }
    static void store(E* p, Parts<V> x) {
        V a, b;
        join(x, a, b);
        S::store(p, a);
        S::store(p + half, b);
    }
    static Parts<V> gather(const E* p, std::ptrdiff_t inc) {
        return split(S::gather(p, inc), S::gather(p + half * inc, inc));
    }
    static void scatter(E* p, std::ptrdiff_t inc, Parts<V> x) {
        V a, b;
        join(x, a, b);
        S::scatter(p, inc, a);
        S::scatter(p + half * inc, inc, b);
    }
    static Parts<V> bit_or(Parts<V> x, Parts<V> y) { return {S::bit_or(x.re, y.re), S::bit_or(x.im, y.im)}; }
    static Parts<V> bit_andnot(Parts<V> m, Parts<V> x) { return {S::bit_andnot(m.re, x.re), S::bit_andnot(m.im, x.im)}; }
    // Elements i .. i + count - 1, padded with element i.
    template <class View>
    static Parts<V> padded(const View& v, std::ptrdiff_t i, int count) {
        alignas(16) E t[N];
        for (int k = 0; k < N; ++k) t[k] = v.at(i + (k < count ? k : 0));
        return load(t);
    }
};

template <>
struct Lanes<PlanarC> : PlanarLanes<PlanarC, float, simd::vf, 4> {
    using V = Parts<simd::vf>;
};
template <>
struct Lanes<PlanarZ> : PlanarLanes<PlanarZ, double, simd::vd, 2> {
    using V = Parts<simd::vd>;
};

// The reporters take the planar element types as the complex types they are.
#define QOR_PLANAR_REPORT(A, R, BaseA, BaseR)                                                                     \
    template <>                                                                                                   \
    inline void report<A, R>(CallContext & ctx, int code, std::ptrdiff_t index, const A* a, std::ptrdiff_t inca,  \
                             const A* b, std::ptrdiff_t incb, R* r1, std::ptrdiff_t incr1, R* r2,                 \
                             std::ptrdiff_t incr2, const char* name, const A* value_a, const A* value_b) {        \
        report<BaseA, BaseR>(ctx, code, index, a, inca, b, incb, r1, incr1, r2, incr2, name, value_a, value_b); \
    }
QOR_PLANAR_REPORT(PlanarC, PlanarC, qor_complex8, qor_complex8)
QOR_PLANAR_REPORT(PlanarZ, PlanarZ, qor_complex16, qor_complex16)
QOR_PLANAR_REPORT(PlanarC, float, qor_complex8, float)
QOR_PLANAR_REPORT(PlanarZ, double, qor_complex16, double)
QOR_PLANAR_REPORT(float, PlanarC, float, qor_complex8)
QOR_PLANAR_REPORT(double, PlanarZ, double, qor_complex16)
#undef QOR_PLANAR_REPORT

// Array arguments of complex type read as planar elements; everything else
// passed on as it is.
template <class T>
T planar(T x) { return x; }
inline PlanarC* planar(qor_complex8* p) { return static_cast<PlanarC*>(p); }
inline const PlanarC* planar(const qor_complex8* p) { return static_cast<const PlanarC*>(p); }
inline PlanarZ* planar(qor_complex16* p) { return static_cast<PlanarZ*>(p); }
inline const PlanarZ* planar(const qor_complex16* p) { return static_cast<const PlanarZ*>(p); }

template <class Op>
struct PlanarForm {
    Form<Op> form;
    template <class... A>
    [[gnu::always_inline]] inline void operator()(A... a) const { form(planar(a)...); }
};
template <class Op>
PlanarForm(Form<Op>) -> PlanarForm<Op>;

}  // namespace qor::vm

#pragma GCC diagnostic pop

#define QOR_VM_PLANAR_KERNEL(p, Fn, kind, slot, op)                                                      \
    QOR_EXTERN_C void qor_vmk_##p##Fn##_##slot QOR_VM_PARAMS(kind, p) {                                  \
        qor::vm::PlanarForm{qor::vm::Form(op, "v" #p #Fn)} QOR_VM_ARGS(kind);                            \
    }

#define QOR_VM_PLANAR_KERNEL_PAIR(p, Fn, kind, slot, op) \
    QOR_VM_PLANAR_KERNEL(p, Fn, kind, slot, op)          \
    QOR_VM_PLANAR_KERNEL(p, Fn##I, kind##_i, slot, op)
