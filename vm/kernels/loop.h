// The one element loop of the kernels: run(op, n, name, views...) applies an
// Op to n elements of its input views and stores into its output views.
//
// The views (Contig, Strided) hold arrays of any element type, real or
// complex, so one definition serves contiguous and strided calls, and inputs
// and outputs of different types.  The loop steps over W elements at a time,
// W the largest count of elements one register holds among the views; a view
// of fewer elements per register moves several registers per step (a Pack).
//
// The shape of the Op is read from what it can be called with (x: input
// packs, y: output packs, m: a mask pack):
//
//   y = op(x...);  m = op.special(x..., y)        screened after: the mask
//                                                 is decided on the results
//   m = op.special(x);  y = op(x & ~m)            screened before: marked
//                                                 lanes enter the vector path
//                                                 as +0 (Op::block elements
//                                                 per block)
//   y = op(x..., m)                               the vector path marks
//   op(x, y1, y2);  m = op.special(x, y1, y2)     two results
//   y = op(x...)                                  no screen (Op::screens false)
//
// and `int fix(x..., y&...)`, the scalar routine of one marked element that
// returns its status code.  Blocks of four steps (or Op::block elements)
// share one test of the mask; marked elements go, in increasing index order
// and with their arguments as loaded (an output may be an input), to the
// scalar routine and, with a non-zero code, to the reporter.  The last
// n mod W elements run as one padded step.  An Op whose only exceptional
// results raise IEEE flags may declare `static constexpr uint32_t
// flag_screen`: then long contiguous calls whose outputs overlap no other
// array skip the per-block mask and judge each chunk by the flags it raised,
// rescanning only a chunk that raised one.  An Op with `exponent()` (Powx)
// reports that scalar as its second argument.  Masks are packs of the first
// view's element type unless the Op names another as `using Mask = E`.
//
// A call runs on a fast path while MXCSR holds the wanted control and no
// element is marked: no context, no environment to give back.  The first
// marked stretch, or a control to change, hands the rest of the call to the
// general path, which sets the environment, fixes and reports.
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

#include "../frame/call_context.h"
#include "../frame/error_report.h"
#include "../frame/fp_env.h"
#include "complex_simd.h"
#include "simd.h"

// Registers are held in std::array and std::tuple; GCC notes that the
// vector types' may_alias attribute does not carry into template arguments,
// which the loop never relies on.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-attributes"

// The loop's parts are inlined into each kernel entry, so that the views
// and the Op stay in registers: their addresses never reach a called
// function, and a store to an output cannot be taken to change them.
#define QOR_LOOP_INLINE [[gnu::always_inline]] inline

namespace qor::vm {

using std::ptrdiff_t;

// ---- registers of one element type ------------------------------------------
template <class E> struct Lanes;

// What the loop needs of the vector helpers S of element type E.
template <class S, class E>
struct LanesOf {
    using V = typename S::V;
    static V load(const E* p) { return S::load(p); }
    static void store(E* p, V x) { S::store(p, x); }
    static V gather(const E* p, ptrdiff_t inc) { return S::gather(p, inc); }
    static void scatter(E* p, ptrdiff_t inc, V x) { S::scatter(p, inc, x); }
    static V bit_or(V x, V y) { return S::bit_or(x, y); }
    static V bit_andnot(V m, V x) { return S::bit_andnot(m, x); }
};

template <class T>
    requires std::is_floating_point_v<T>
struct Lanes<T> : LanesOf<simd::Simd<T>, T> {
    using S = simd::Simd<T>;
    using V = typename S::V;
    static constexpr int per_vector = S::lanes;
    static unsigned bits(V m) { return unsigned(S::movemask(m)); }  // one per element
    // Elements i .. i + count - 1 of v, count < per_vector, in a register
    // padded with element i; built in registers, as a store of the parts and
    // a wide reload would stall.
    template <class View>
    static V padded(const View& v, ptrdiff_t i, int count) {
        const T e0 = v.at(i);
        if constexpr (per_vector == 2) {
            return V{e0, e0};
        } else {
            const T e1 = count > 1 ? v.at(i + 1) : e0, e2 = count > 2 ? v.at(i + 2) : e0;
            return V{e0, e1, e2, e0};
        }
    }
};

template <class C>
    requires std::is_same_v<C, qor_complex8> || std::is_same_v<C, qor_complex16>
struct Lanes<C> : LanesOf<simd::CSimd<C>, C> {
    using S = simd::CSimd<C>;
    using V = typename S::V;
    static constexpr int per_vector = S::per_vector;
    static unsigned bits(V m) { return S::element_bits(m); }
    // A lone single complex element fills both halves of its register.
    template <class View>
    static V padded(const View& v, ptrdiff_t i, int) { return S::load_one(&v.at(i)); }
};

// W elements of E in registers: one register, or an array of them.
template <class E, int W>
using Pack = std::conditional_t<W == Lanes<E>::per_vector, typename Lanes<E>::V,
                                std::array<typename Lanes<E>::V, std::size_t(W / Lanes<E>::per_vector)>>;

template <class E, int W>
constexpr int kRegisters = W / Lanes<E>::per_vector;

template <class P> constexpr bool kSeveral = false;
template <class V, std::size_t N> constexpr bool kSeveral<std::array<V, N>> = true;

// Register k of a pack.
template <class P>
QOR_LOOP_INLINE auto& reg(P& p, int k) {
    if constexpr (kSeveral<std::remove_const_t<P>>) return p[k]; else return p;
}

// ---- views -------------------------------------------------------------------
template <class E>
struct Contig {
    using Elem = E;
    using L = Lanes<E>;
    E* p;
    static constexpr ptrdiff_t inc = 1;
    explicit Contig(const E* q) : p(const_cast<E*>(q)) {}
    E& at(ptrdiff_t i) const { return p[i]; }
    typename L::V load(ptrdiff_t i) const { return L::load(p + i); }
    void store(ptrdiff_t i, typename L::V x) const { L::store(p + i, x); }
};

// Element i at p[i * inc]; increments count elements.
template <class E>
struct Strided {
    using Elem = E;
    using L = Lanes<E>;
    E* p;
    ptrdiff_t inc;
    Strided(const E* q, ptrdiff_t step) : p(const_cast<E*>(q)), inc(step) {}
    E& at(ptrdiff_t i) const { return p[i * inc]; }
    typename L::V load(ptrdiff_t i) const { return L::gather(p + i * inc, inc); }
    void store(ptrdiff_t i, typename L::V x) const { L::scatter(p + i * inc, inc, x); }
};

template <class View> constexpr bool kContig = false;
template <class E> constexpr bool kContig<Contig<E>> = true;

template <class Op>
concept FlagScreened = requires { Op::flag_screen; };

// Elements judged by one read of the flags.  Reading MXCSR waits for every
// computation before it, so a short call is cheaper on the masks of the
// block path: the flags judge only calls of kFlagMin elements or more, and
// a chunk is long enough that a call in cache reads them once; a chunk that
// raised a flag is scanned again.
constexpr ptrdiff_t kFlagChunk = 2048;
constexpr ptrdiff_t kFlagMin = 64;

inline bool disjoint(const void* x, std::size_t x_bytes, const void* y, std::size_t y_bytes) {
    auto px = reinterpret_cast<uintptr_t>(x), py = reinterpret_cast<uintptr_t>(y);
    return px + x_bytes <= py || py + y_bytes <= px;
}

// ---- moving packs --------------------------------------------------------------
namespace loop_detail {

// A tuple of trivially default-constructed members: registers that are
// about to be loaded are not zeroed first (std::tuple would).
template <std::size_t I, class T> struct Slot { T value; };
template <class Seq, class... T> struct SlotsOf;
template <std::size_t... I, class... T>
struct SlotsOf<std::index_sequence<I...>, T...> : Slot<I, T>... {};
template <class... T> using Slots = SlotsOf<std::index_sequence_for<T...>, T...>;

template <std::size_t I, class T>
QOR_LOOP_INLINE T& at(Slot<I, T>& s) { return s.value; }
template <std::size_t I, class T>
QOR_LOOP_INLINE const T& at(const Slot<I, T>& s) { return s.value; }

template <int W, class View>
QOR_LOOP_INLINE Pack<typename View::Elem, W> load(const View& v, ptrdiff_t i) {
    using E = typename View::Elem;
    Pack<E, W> x;
    #pragma GCC unroll 16
    for (int k = 0; k < kRegisters<E, W>; ++k) reg(x, k) = v.load(i + k * Lanes<E>::per_vector);
    return x;
}

template <int W, class View>
QOR_LOOP_INLINE void store(const View& v, ptrdiff_t i, const Pack<typename View::Elem, W>& x) {
    using E = typename View::Elem;
    #pragma GCC unroll 16
    for (int k = 0; k < kRegisters<E, W>; ++k) v.store(i + k * Lanes<E>::per_vector, reg(x, k));
}

template <int W, class E>
QOR_LOOP_INLINE void save(E* buffer, const Pack<E, W>& x) {
    #pragma GCC unroll 16
    for (int k = 0; k < kRegisters<E, W>; ++k) Lanes<E>::store(buffer + k * Lanes<E>::per_vector, reg(x, k));
}

// The last count < W elements, padded with the first of them so that the
// padding raises no flag of its own.
template <int W, class View>
QOR_LOOP_INLINE Pack<typename View::Elem, W> load_part(const View& v, ptrdiff_t i, int count) {
    using E = typename View::Elem;
    if constexpr (kRegisters<E, W> == 1) return Lanes<E>::padded(v, i, count);
    alignas(16) E t[W];
    #pragma GCC unroll 16
    for (int k = 0; k < W; ++k) t[k] = v.at(i + (k < count ? k : 0));
    Pack<E, W> x;
    #pragma GCC unroll 16
    for (int k = 0; k < kRegisters<E, W>; ++k) reg(x, k) = Lanes<E>::load(t + k * Lanes<E>::per_vector);
    return x;
}

template <int W, class View>
QOR_LOOP_INLINE void store_part(const View& v, ptrdiff_t i, int count, const Pack<typename View::Elem, W>& x) {
    using E = typename View::Elem;
    alignas(16) E t[W];
    save<W>(t, x);
    #pragma GCC unroll 16
    for (int k = 0; k < count; ++k) v.at(i + k) = t[k];
}

template <int W, class E>
QOR_LOOP_INLINE unsigned bits(const Pack<E, W>& m) {
    unsigned b = 0;
    #pragma GCC unroll 16
    for (int k = 0; k < kRegisters<E, W>; ++k)
        b |= Lanes<E>::bits(reg(m, k)) << (k * Lanes<E>::per_vector);
    return b;
}

template <int W, class E>
QOR_LOOP_INLINE Pack<E, W> either(Pack<E, W> x, const Pack<E, W>& y) {
    #pragma GCC unroll 16
    for (int k = 0; k < kRegisters<E, W>; ++k) reg(x, k) = Lanes<E>::bit_or(reg(x, k), reg(y, k));
    return x;
}

template <int W, class E>
QOR_LOOP_INLINE Pack<E, W> clear_marked(const Pack<E, W>& m, Pack<E, W> x) {
    #pragma GCC unroll 16
    for (int k = 0; k < kRegisters<E, W>; ++k) reg(x, k) = Lanes<E>::bit_andnot(reg(m, k), reg(x, k));
    return x;
}

// ---- the shape of an Op ------------------------------------------------------------
enum class Screen { after, before, marked, none };

struct Shape {
    int inputs;
    Screen screen;
};

template <class Op, class P, class M, std::size_t... I>
constexpr bool marks(std::index_sequence<I...>) {
    using Out = std::tuple_element_t<sizeof...(I), P>;
    return requires(const Op& op, const P& x, M& m) {
        { op(std::get<I>(x)..., m) } -> std::same_as<Out>;
    };
}

template <class Op, class P, std::size_t... I>
constexpr bool computes(std::index_sequence<I...>) {
    using Out = std::tuple_element_t<sizeof...(I), P>;
    return requires(const Op& op, const P& x) {
        { op(std::get<I>(x)...) } -> std::same_as<Out>;
    };
}

template <class Op, class P, std::size_t... I>
constexpr bool screens_before(std::index_sequence<I...>) {
    return requires(const Op& op, const P& x) { op.special(std::get<I>(x)...); };
}

template <class Op, class P, std::size_t... I>
constexpr bool computes_two(std::index_sequence<I...>) {
    constexpr std::size_t N = sizeof...(I);
    using Y1 = std::tuple_element_t<N, P>;
    using Y2 = std::tuple_element_t<N + 1, P>;
    return requires(const Op& op, const P& x, Y1& y1, Y2& y2) {
        { op(std::get<I>(x)..., y1, y2) } -> std::same_as<void>;
    };
}

template <class Op>
constexpr bool unscreened() {
    if constexpr (requires { Op::screens; }) return !Op::screens;
    else return false;
}

// P: the packs of all views, inputs first; M: the mask pack.
template <class Op, class P, class M>
constexpr Shape shape() {
    constexpr std::size_t K = std::tuple_size_v<P>;
    using Ins = std::make_index_sequence<K - 1>;
    if constexpr (marks<Op, P, M>(Ins{})) {
        return {int(K - 1), Screen::marked};
    } else if constexpr (computes<Op, P>(Ins{})) {
        if constexpr (unscreened<Op>()) return {int(K - 1), Screen::none};
        else if constexpr (screens_before<Op, P>(Ins{})) return {int(K - 1), Screen::before};
        else return {int(K - 1), Screen::after};
    } else {
        static_assert(K >= 3 && computes_two<Op, P>(std::make_index_sequence<K - 2>{}),
                      "the Op cannot be called with these views");
        return {int(K - 2), Screen::after};
    }
}

template <class Op> struct MaskElement { using type = void; };
template <class Op>
    requires requires { typename Op::Mask; }
struct MaskElement<Op> { using type = typename Op::Mask; };

}  // namespace loop_detail

// ---- the loop ------------------------------------------------------------------------
template <class Op, class... Views>
class Loop {
    static constexpr std::size_t K = sizeof...(Views);
    static constexpr int W = std::max({Lanes<typename Views::Elem>::per_vector...});
    using Packs = loop_detail::Slots<Pack<typename Views::Elem, W>...>;
    using First = typename std::tuple_element_t<0, std::tuple<Views...>>::Elem;
    using MaskE = std::conditional_t<std::is_void_v<typename loop_detail::MaskElement<Op>::type>, First,
                                     typename loop_detail::MaskElement<Op>::type>;
    using Mask = Pack<MaskE, W>;
    static constexpr loop_detail::Shape kShape =
        loop_detail::shape<Op, std::tuple<Pack<typename Views::Elem, W>...>, Mask>();
    static constexpr std::size_t NIn = std::size_t(kShape.inputs);
    static constexpr loop_detail::Screen kScreen = kShape.screen;
    static constexpr bool kMarks = kScreen != loop_detail::Screen::none;
    static constexpr int kSteps = [] {
        if constexpr (requires { Op::block; }) return Op::block / W;
        else return 4;
    }();
    static constexpr int kBlock = kSteps * W;
    static_assert(kBlock <= 32, "one bit per element of a block");

    using InSeq = std::make_index_sequence<NIn>;
    using OutSeq = std::make_index_sequence<K - NIn>;
    using AllSeq = std::make_index_sequence<K>;
    template <std::size_t J> using ElemOf = typename std::tuple_element_t<J, std::tuple<Views...>>::Elem;

public:
    Loop(const Op& op, CallContext* ctx, const char* name, Views... views)
        : op_(op), ctx_(ctx), name_(name), views_(views...) {}

    // The fast path of a call of n > 0 elements under the MXCSR control
    // `wanted`, given MXCSR as read on entry.  It runs while MXCSR already
    // holds that control and no element is marked, and hands the rest of
    // the call to the general path otherwise: a stretch is stored only after
    // its mask came out clear, so the general path can start over at that
    // stretch.  Every exit is a jump, never a call that returns here, so the
    // path keeps its values in registers that need no saving.
    QOR_LOOP_INLINE void fast(ptrdiff_t n, uint32_t wanted, uint32_t entry) const {
        if ((entry & kMxcsrControl) != wanted) [[unlikely]] return resume(0, n);
        ptrdiff_t i = 0;
        if constexpr (FlagScreened<Op> && (kContig<Views> && ...)) {
            if (n >= kFlagMin) {
                // Flags raised before the call would hide the call's own:
                // the general path clears them first.
                if ((entry & Op::flag_screen) || !outputs_apart(n, AllSeq{})) return resume(0, n);
                // The elements after the whole steps first, on masks, so
                // that nothing waits behind the last read of the flags.
                // The outputs overlap no input: the general path may
                // compute any stretch again.
                const ptrdiff_t whole = n - n % W;
                if (whole < n && !clear_step(whole, int(n - whole))) [[unlikely]] return resume(0, n);
                while (i < whole) {
                    const ptrdiff_t end = i + kFlagChunk < whole ? i + kFlagChunk : whole;
                    unmasked_steps(i, end);
                    if (FpEnvironment::flags() & Op::flag_screen) [[unlikely]] return resume(i, n);
                    i = end;
                }
                return;
            }
        }
        for (; i + kBlock <= n; i += kBlock)
            if (!clear_block(i)) [[unlikely]] return resume(i, n);
        for (; i + W <= n; i += W)
            if (!clear_step(i, W)) [[unlikely]] return resume(i, n);
        // Fewer than W left: one element when a register holds two.
        if (i < n && !clear_step(i, W == 2 ? 1 : int(n - i))) [[unlikely]] return resume(i, n);
    }

    // The general path over elements start .. n - 1: the floating-point
    // environment set and given back, masks fixed and reported.  Its own
    // function, so that the fast path never pays for its setup.
    [[gnu::noinline]] static void general(Op op, const char* name, ptrdiff_t start, ptrdiff_t n, Views... views) {
        CallContext ctx;
        Loop loop(op, &ctx, name, views...);
        FpEnvironment env(Op::reads_mode ? wanted_mxcsr(ctx.mode()) : kMxcsrPlain);
        ptrdiff_t i = start;
        if constexpr (FlagScreened<Op> && (kContig<Views> && ...)) {
            static_assert(kScreen == loop_detail::Screen::after);
            if (n - start >= kFlagMin && start % kBlock == 0 && loop.outputs_apart(n, AllSeq{}))
                i = loop.flag_screened(env, start, n);
        }
        for (; i + kBlock <= n; i += kBlock) loop.block(i);
        if (i < n) loop.tail(i, int(n - i));
    }

private:
    // Each output overlaps no other array.
    template <std::size_t... J>
    QOR_LOOP_INLINE bool outputs_apart(ptrdiff_t n, std::index_sequence<J...>) const {
        auto bytes = [n](const auto& v) { return std::size_t(n) * sizeof(*v.p); };
        auto apart = [&]<std::size_t O>(std::integral_constant<std::size_t, O>) {
            const auto& out = std::get<O>(views_);
            return ((J == O || disjoint(out.p, bytes(out), std::get<J>(views_).p, bytes(std::get<J>(views_)))) && ...);
        };
        return [&]<std::size_t... O>(std::index_sequence<O...>) {
            return (apart(std::integral_constant<std::size_t, NIn + O>{}) && ...);
        }(OutSeq{});
    }

    template <std::size_t... J>
    QOR_LOOP_INLINE void load_inputs(Packs& p, ptrdiff_t i, std::index_sequence<J...>) const {
        ((loop_detail::at<J>(p) = loop_detail::load<W>(std::get<J>(views_), i)), ...);
    }
    template <std::size_t... O>
    QOR_LOOP_INLINE void load_outputs(Packs& p, ptrdiff_t i, std::index_sequence<O...>) const {
        ((loop_detail::at<NIn + O>(p) = loop_detail::load<W>(std::get<NIn + O>(views_), i)), ...);
    }
    template <std::size_t... O>
    QOR_LOOP_INLINE void store_outputs(const Packs& p, ptrdiff_t i, std::index_sequence<O...>) const {
        (loop_detail::store<W>(std::get<NIn + O>(views_), i, loop_detail::at<NIn + O>(p)), ...);
    }
    template <std::size_t... J>
    QOR_LOOP_INLINE void load_inputs_part(Packs& p, ptrdiff_t i, int count, std::index_sequence<J...>) const {
        ((loop_detail::at<J>(p) = loop_detail::load_part<W>(std::get<J>(views_), i, count)), ...);
    }
    template <std::size_t... O>
    QOR_LOOP_INLINE void store_outputs_part(const Packs& p, ptrdiff_t i, int count, std::index_sequence<O...>) const {
        (loop_detail::store_part<W>(std::get<NIn + O>(views_), i, count, loop_detail::at<NIn + O>(p)), ...);
    }

    // The vector path over one step: the results, and the mask unless
    // WithMask is false (the flag-screened path computes results only).
    template <bool WithMask, std::size_t... J, std::size_t... A>
    QOR_LOOP_INLINE void compute(Packs& p, Mask& m, std::index_sequence<J...>, std::index_sequence<A...>) const {
        using loop_detail::Screen;
        if constexpr (kScreen == Screen::marked) {
            loop_detail::at<NIn>(p) = op_(loop_detail::at<J>(p)..., m);
        } else if constexpr (kScreen == Screen::before) {
            static_assert(NIn == 1);
            m = op_.special(loop_detail::at<0>(p));
            loop_detail::at<1>(p) = op_(loop_detail::clear_marked<W, MaskE>(m, loop_detail::at<0>(p)));
        } else {
            if constexpr (K - NIn == 1) loop_detail::at<NIn>(p) = op_(loop_detail::at<J>(p)...);
            else op_(loop_detail::at<J>(p)..., loop_detail::at<NIn>(p), loop_detail::at<NIn + 1>(p));
            if constexpr (WithMask && kScreen == Screen::after) m = op_.special(loop_detail::at<A>(p)...);
        }
    }
    template <bool WithMask>
    QOR_LOOP_INLINE void compute(Packs& p, Mask& m) const { compute<WithMask>(p, m, InSeq{}, AllSeq{}); }

    // The arguments of a stretch of elements, as the vector path saw them.
    template <std::size_t J> using Saved = std::array<ElemOf<J>, kBlock>;
    template <std::size_t... J>
    static auto saved_type(std::index_sequence<J...>) -> loop_detail::Slots<Saved<J>...>;
    using Arguments = decltype(saved_type(InSeq{}));

    template <std::size_t... J>
    QOR_LOOP_INLINE static void save(Arguments& args, int at, const Packs& p, std::index_sequence<J...>) {
        (loop_detail::save<W>(loop_detail::at<J>(args).data() + at, loop_detail::at<J>(p)), ...);
    }

    QOR_LOOP_INLINE void resume(ptrdiff_t i, ptrdiff_t n) const { resume(i, n, AllSeq{}); }
    template <std::size_t... J>
    QOR_LOOP_INLINE void resume(ptrdiff_t i, ptrdiff_t n, std::index_sequence<J...>) const {
        general(op_, name_, i, n, std::get<J>(views_)...);
    }

    // One block on the fast path: stored when no element is marked.
    QOR_LOOP_INLINE bool clear_block(ptrdiff_t i) const {
        Packs p[kSteps];
        Mask m[kSteps];
        #pragma GCC unroll 16
        for (int s = 0; s < kSteps; ++s) load_inputs(p[s], i + s * W, InSeq{});
        #pragma GCC unroll 16
        for (int s = 0; s < kSteps; ++s) compute<true>(p[s], m[s]);
        if constexpr (kMarks) {
            Mask any = m[0];
            #pragma GCC unroll 16
            for (int s = 1; s < kSteps; ++s) any = loop_detail::either<W, MaskE>(any, m[s]);
            if (loop_detail::bits<W, MaskE>(any)) return false;
        }
        #pragma GCC unroll 16
        for (int s = 0; s < kSteps; ++s) store_outputs(p[s], i + s * W, OutSeq{});
        return true;
    }

    // One step of count <= W elements on the fast path, likewise.
    QOR_LOOP_INLINE bool clear_step(ptrdiff_t i, int count) const {
        Packs p;
        Mask m;
        if (count == W) load_inputs(p, i, InSeq{}); else load_inputs_part(p, i, count, InSeq{});
        compute<true>(p, m);
        if constexpr (kMarks) {
            if (loop_detail::bits<W, MaskE>(m) & ((1u << count) - 1)) return false;
        }
        if (count == W) store_outputs(p, i, OutSeq{}); else store_outputs_part(p, i, count, OutSeq{});
        return true;
    }

    // Steps i .. end - 1 (whole steps) with no masks: the flags judge them
    // afterwards.
    QOR_LOOP_INLINE void unmasked_steps(ptrdiff_t i, ptrdiff_t end) const {
        auto step = [&](ptrdiff_t j) {
            Packs p;
            Mask m;
            load_inputs(p, j, InSeq{});
            compute<false>(p, m);
            store_outputs(p, j, OutSeq{});
        };
        for (; i + kBlock <= end; i += kBlock) {
            #pragma GCC unroll 16
            for (int s = 0; s < kSteps; ++s) step(i + s * W);
        }
        for (; i < end; i += W) step(i);
    }

    QOR_LOOP_INLINE void block(ptrdiff_t i) {
        Packs p[kSteps];
        Mask m[kSteps];
        #pragma GCC unroll 16
        for (int s = 0; s < kSteps; ++s) load_inputs(p[s], i + s * W, InSeq{});
        #pragma GCC unroll 16
        for (int s = 0; s < kSteps; ++s) compute<true>(p[s], m[s]);
        #pragma GCC unroll 16
        for (int s = 0; s < kSteps; ++s) store_outputs(p[s], i + s * W, OutSeq{});
        if constexpr (kMarks) {
            Mask any = m[0];
            #pragma GCC unroll 16
            for (int s = 1; s < kSteps; ++s) any = loop_detail::either<W, MaskE>(any, m[s]);
            if (loop_detail::bits<W, MaskE>(any)) {
                unsigned marked = 0;
                Arguments args;
                #pragma GCC unroll 16
                for (int s = 0; s < kSteps; ++s) {
                    marked |= loop_detail::bits<W, MaskE>(m[s]) << (s * W);
                    save(args, s * W, p[s], InSeq{});
                }
                fix(i, marked, args);
            }
        }
    }

    QOR_LOOP_INLINE void tail(ptrdiff_t i, int left) {
        for (; left > 0; i += W, left -= W) {
            const int count = left < W ? left : W;
            Packs p;
            Mask m;
            if (count == W) load_inputs(p, i, InSeq{}); else load_inputs_part(p, i, count, InSeq{});
            compute<true>(p, m);
            if (count == W) store_outputs(p, i, OutSeq{}); else store_outputs_part(p, i, count, OutSeq{});
            if constexpr (kMarks) {
                if (unsigned marked = loop_detail::bits<W, MaskE>(m) & ((1u << count) - 1)) {
                    Arguments args;
                    save(args, 0, p, InSeq{});
                    fix(i, marked, args);
                }
            }
        }
    }

    // Whole blocks from start (a block boundary) judged by the flags each
    // chunk raised; returns where the blocks end.
    QOR_LOOP_INLINE ptrdiff_t flag_screened(FpEnvironment& env, ptrdiff_t start, ptrdiff_t n) {
        const ptrdiff_t whole = n - n % kBlock;
        env.clear_entry_flags(Op::flag_screen);
        for (ptrdiff_t i = start; i < whole; i += kFlagChunk) {
            const ptrdiff_t end = i + kFlagChunk < whole ? i + kFlagChunk : whole;
            unmasked_steps(i, end);
            if (env.flags() & Op::flag_screen) {
                for (ptrdiff_t j = i; j < end; j += W) {
                    Packs p;
                    load_inputs(p, j, InSeq{});
                    load_outputs(p, j, OutSeq{});
                    const Mask m = [&]<std::size_t... A>(std::index_sequence<A...>) {
                        return op_.special(loop_detail::at<A>(p)...);
                    }(AllSeq{});
                    if (unsigned marked = loop_detail::bits<W, MaskE>(m)) {
                        Arguments args;
                        save(args, 0, p, InSeq{});
                        fix(j, marked, args);
                    }
                }
                env.clear_flags(Op::flag_screen);
            }
        }
        return whole;
    }

    QOR_LOOP_INLINE void fix(ptrdiff_t i, unsigned marked, const Arguments& args) const {
        fix_marked(op_, *ctx_, name_, views_, i, marked, args);
    }

    // The scalar routine for each marked element of the stretch at i, then
    // the reporter for each that returns a code.  Out of line, and given
    // copies, so that the hot path's Op and views never leave registers.
    [[gnu::noinline]] static void fix_marked(Op op, CallContext& ctx, const char* name, std::tuple<Views...> views,
                                             ptrdiff_t i, unsigned marked, const Arguments& args) {
        for (; marked; marked &= marked - 1) {
            const int k = __builtin_ctz(marked);
            const ptrdiff_t j = i + k;
            [&]<std::size_t... J, std::size_t... O>(std::index_sequence<J...>, std::index_sequence<O...>) {
                std::tuple<ElemOf<NIn + O>...> res{std::get<NIn + O>(views).at(j)...};
                const int code = op.fix(loop_detail::at<J>(args)[k]..., std::get<O>(res)...);
                ((std::get<NIn + O>(views).at(j) = std::get<O>(res)), ...);
                if (code) report_element(op, ctx, name, views, code, j, loop_detail::at<J>(args)[k]...);
            }(InSeq{}, OutSeq{});
        }
    }

    // The record takes the arguments' saved values: a run in place has
    // overwritten them.
    template <class... Saved>
    static void report_element(const Op& op, CallContext& ctx, const char* name, const std::tuple<Views...>& views,
                               int code, ptrdiff_t j, const Saved&... saved) {
        const auto& a = std::get<0>(views);
        const auto& r1 = std::get<NIn>(views);
        const auto& r2 = std::get<K - 1>(views);
        using A = ElemOf<0>;
        using R = ElemOf<NIn>;
        const A values[] = {static_cast<A>(saved)...};
        if constexpr (NIn == 2) {
            const auto& b = std::get<1>(views);
            static_assert(std::is_same_v<ElemOf<1>, A>, "both arguments of one type");
            report<A, R>(ctx, code, j, a.p, a.inc, b.p, b.inc, r1.p, r1.inc, r2.p, r2.inc, name, &values[0],
                         &values[1]);
        } else if constexpr (requires { op.exponent(); }) {
            const A b = op.exponent();
            report<A, R>(ctx, code, j, a.p, a.inc, &b, 0, r1.p, r1.inc, r2.p, r2.inc, name, &values[0], &b);
        } else {
            report<A, R>(ctx, code, j, a.p, a.inc, a.p, a.inc, r1.p, r1.inc, r2.p, r2.inc, name, &values[0],
                         &values[0]);
        }
    }

    const Op op_;
    CallContext* ctx_;
    const char* name_;
    std::tuple<Views...> views_;
};

// Runs op over n elements: inputs first, then outputs, under the MXCSR
// control `wanted`.
template <class Op, class... Views>
QOR_LOOP_INLINE void run_under(const Op& op, uint32_t wanted, ptrdiff_t n, const char* name, Views... views) {
    Loop<Op, Views...>(op, nullptr, name, views...).fast(n, wanted, read_mxcsr());
}

// Runs op over n elements: inputs first, then outputs.  The mode is read
// once, from the thread's cached record; without one the general path
// looks it up.
template <class Op, class... Views>
QOR_LOOP_INLINE void run(const Op& op, ptrdiff_t n, const char* name, Views... views) {
    if (n <= 0) return;
    const uint32_t entry = read_mxcsr();
    uint32_t wanted = kMxcsrPlain;
    if constexpr (Op::reads_mode) {
        const uint32_t mode = cached_mode();
        if (!mode) [[unlikely]] return Loop<Op, Views...>::general(op, name, 0, n, views...);
        wanted = wanted_mxcsr(mode);
    }
    Loop<Op, Views...>(op, nullptr, name, views...).fast(n, wanted, entry);
}

}  // namespace qor::vm

#undef QOR_LOOP_INLINE
#pragma GCC diagnostic pop
