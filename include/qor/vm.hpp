// qor for C++: vector math over spans.
//
//   std::vector<double> x(n), y(n);
//   qor::vm::exp(x, y);                          accuracy from the thread's mode
//   qor::vm::exp(x, y, qor::vm::accuracy::ep);   this call in EP
//   qor::vm::pow(x, x, y);  qor::vm::powx(x, 2.0, y);  qor::vm::sincos(x, s, c);
//   qor::vm::sqrt(qor::vm::strided(x, 2), qor::vm::strided(y, 2));   every other element
//
// Each function takes its arrays as spans of float, double,
// std::complex<float> or std::complex<double>, as the C rows of that
// function allow (a complex absolute value writes a real span).  Sizes are
// checked against each other before the C call: spans of unequal size throw
// qor::error with QOR_VM_STATUS_BADARG and leave every array untouched.
// The overloads are generated from the row list (vm_rows.def), so they
// follow the C interface row for row.  Errors of the values themselves
// (domain, singularity, overflow) are not exceptions: they are reported as
// the C interface reports them, through the thread's status and callback.
#ifndef QOR_VM_HPP
#define QOR_VM_HPP

#include <complex>
#include <cstdint>
#include <span>
#include <type_traits>
#include <utility>

#include "error.hpp"
#include "qor.h"

namespace qor::vm {

enum class accuracy : std::uint32_t { la = QOR_VM_LA, ha = QOR_VM_HA, ep = QOR_VM_EP };

// The mode of one call: none (the thread's mode), an accuracy, or a whole
// mode word merged into the thread's mode for that call.
struct call_mode {
    std::uint32_t word = 0;
    call_mode() = default;
    call_mode(accuracy a) : word(static_cast<std::uint32_t>(a)) {}
    explicit call_mode(std::uint32_t mode_word) : word(mode_word) {}
};

// Sets the calling thread's mode for the lifetime of the object, then puts
// the previous mode word back.
class scoped_mode {
public:
    explicit scoped_mode(call_mode mode) : previous_(qor_vm_get_mode()) { qor_vm_set_mode(mode.word); }
    ~scoped_mode() {
        qor_vm_set_mode(previous_);
    }
    scoped_mode(const scoped_mode&) = delete;
    scoped_mode& operator=(const scoped_mode&) = delete;

private:
    std::uint32_t previous_;
};

// Every increment-th element of a span, from the first: the count is
// ceil(size / increment).  The increment must be 1 or more.
template <class T>
struct strided {
    std::span<T> data;
    std::int64_t increment;

    template <class R>
    strided(R&& range, std::int64_t inc) : data(std::forward<R>(range)), increment(inc) {
        if (inc < 1) throw error(QOR_FAMILY_VM, QOR_VM_STATUS_BADARG, "increment below 1");
    }
    // A view of mutable elements is also a view of const ones.
    template <class U>
        requires std::is_convertible_v<U (*)[], T (*)[]>
    strided(const strided<U>& other) : data(other.data), increment(other.increment) {}

    std::int64_t count() const {
        return (static_cast<std::int64_t>(data.size()) + increment - 1) / increment;
    }
};
template <class R>
strided(R&&, std::int64_t) -> strided<std::remove_reference_t<decltype(*std::data(std::declval<R&>()))>>;

namespace detail {

// C element types of the C++ ones.
template <class T> struct c_type { using type = T; };
template <> struct c_type<std::complex<float>> { using type = qor_complex8; };
template <> struct c_type<std::complex<double>> { using type = qor_complex16; };
template <class T> struct c_type<const T> { using type = const typename c_type<T>::type; };

// std::complex<T> is laid out as T[2], real part first, as qor_complex8/16.
template <class T>
auto c_ptr(T* p) {
    return reinterpret_cast<typename c_type<T>::type*>(p);
}
template <class T>
auto c_value(T v) {
    if constexpr (std::is_arithmetic_v<T>) {
        return v;
    } else {
        return typename c_type<T>::type{v.real(), v.imag()};
    }
}

template <class S>
std::int64_t count(const S& s) {
    return static_cast<std::int64_t>(s.size());
}

inline void same(std::int64_t a, std::int64_t b) {
    if (a != b)
        throw error(QOR_FAMILY_VM, QOR_VM_STATUS_BADARG,
                    "element counts " + std::to_string(a) + " and " + std::to_string(b) + " differ");
}

// Calls the thread-mode entry, or the per-call mode entry when a mode is given.
template <class Plain, class Moded, class... A>
void invoke(call_mode m, Plain plain, Moded moded, A... args) {
    if (m.word != 0)
        moded(args..., m.word);
    else
        plain(args...);
}

inline void check_indices(std::span<const std::int64_t> index, std::size_t size) {
    for (std::int64_t i : index)
        if (i < 0 || static_cast<std::uint64_t>(i) >= size)
            throw error(QOR_FAMILY_VM, QOR_VM_STATUS_BADARG, "index " + std::to_string(i) + " outside an array of " +
                                                  std::to_string(size) + " elements");
}

inline std::int64_t set_entries(std::span<const std::int64_t> mask) {
    std::int64_t k = 0;
    for (std::int64_t v : mask) k += v != 0;
    return k;
}

}  // namespace detail

// ---- One overload per row, named as the C function (Exp, ExpI, ...). ----------
namespace rows {

#define QOR_VM_CXX_T_s float
#define QOR_VM_CXX_T_d double
#define QOR_VM_CXX_T_c std::complex<float>
#define QOR_VM_CXX_T_z std::complex<double>
#define QOR_VM_CXX_R_s float
#define QOR_VM_CXX_R_d double
#define QOR_VM_CXX_R_c float
#define QOR_VM_CXX_R_z double
#define QOR_VM_CXX_CALL(p, Fn, ...) detail::invoke(m, qor_v##p##Fn, qor_vm##p##Fn, __VA_ARGS__)
#define QOR_VM_CXX_unary_like(T, U, p, Fn)                                                          \
    inline void Fn(std::span<const T> a, std::span<U> r, call_mode m = {}) {                        \
        detail::same(detail::count(a), detail::count(r));                                           \
        if (!a.empty()) QOR_VM_CXX_CALL(p, Fn, detail::count(a), detail::c_ptr(a.data()), detail::c_ptr(r.data())); \
    }
#define QOR_VM_CXX_unary_i_like(T, U, p, Fn)                                                             \
    inline void Fn(strided<const T> a, strided<U> r, call_mode m = {}) {                                 \
        detail::same(a.count(), r.count());                                                              \
        if (a.count() > 0)                                                                               \
            QOR_VM_CXX_CALL(p, Fn, a.count(), detail::c_ptr(a.data.data()), a.increment,                 \
                            detail::c_ptr(r.data.data()), r.increment);                                  \
    }
#define QOR_VM_CXX_unary(p, Fn) QOR_VM_CXX_unary_like(QOR_VM_CXX_T_##p, QOR_VM_CXX_T_##p, p, Fn)
#define QOR_VM_CXX_c2r(p, Fn) QOR_VM_CXX_unary_like(QOR_VM_CXX_T_##p, QOR_VM_CXX_R_##p, p, Fn)
#define QOR_VM_CXX_r2c(p, Fn) QOR_VM_CXX_unary_like(QOR_VM_CXX_R_##p, QOR_VM_CXX_T_##p, p, Fn)
#define QOR_VM_CXX_unary_i(p, Fn) QOR_VM_CXX_unary_i_like(QOR_VM_CXX_T_##p, QOR_VM_CXX_T_##p, p, Fn)
#define QOR_VM_CXX_c2r_i(p, Fn) QOR_VM_CXX_unary_i_like(QOR_VM_CXX_T_##p, QOR_VM_CXX_R_##p, p, Fn)
#define QOR_VM_CXX_r2c_i(p, Fn) QOR_VM_CXX_unary_i_like(QOR_VM_CXX_R_##p, QOR_VM_CXX_T_##p, p, Fn)

#define QOR_VM_CXX_binary(p, Fn)                                                                             \
    inline void Fn(std::span<const QOR_VM_CXX_T_##p> a, std::span<const QOR_VM_CXX_T_##p> b,                \
                   std::span<QOR_VM_CXX_T_##p> r, call_mode m = {}) {                                        \
        detail::same(detail::count(a), detail::count(b));                                                    \
        detail::same(detail::count(a), detail::count(r));                                                    \
        if (!a.empty())                                                                                      \
            QOR_VM_CXX_CALL(p, Fn, detail::count(a), detail::c_ptr(a.data()), detail::c_ptr(b.data()),       \
                            detail::c_ptr(r.data()));                                                        \
    }
#define QOR_VM_CXX_binary_i(p, Fn)                                                                           \
    inline void Fn(strided<const QOR_VM_CXX_T_##p> a, strided<const QOR_VM_CXX_T_##p> b,                    \
                   strided<QOR_VM_CXX_T_##p> r, call_mode m = {}) {                                          \
        detail::same(a.count(), b.count());                                                                  \
        detail::same(a.count(), r.count());                                                                  \
        if (a.count() > 0)                                                                                   \
            QOR_VM_CXX_CALL(p, Fn, a.count(), detail::c_ptr(a.data.data()), a.increment,                     \
                            detail::c_ptr(b.data.data()), b.increment, detail::c_ptr(r.data.data()),         \
                            r.increment);                                                                    \
    }
#define QOR_VM_CXX_two_out(p, Fn)                                                                            \
    inline void Fn(std::span<const QOR_VM_CXX_T_##p> a, std::span<QOR_VM_CXX_T_##p> r1,                     \
                   std::span<QOR_VM_CXX_T_##p> r2, call_mode m = {}) {                                       \
        detail::same(detail::count(a), detail::count(r1));                                                   \
        detail::same(detail::count(a), detail::count(r2));                                                   \
        if (!a.empty())                                                                                      \
            QOR_VM_CXX_CALL(p, Fn, detail::count(a), detail::c_ptr(a.data()), detail::c_ptr(r1.data()),      \
                            detail::c_ptr(r2.data()));                                                       \
    }
#define QOR_VM_CXX_two_out_i(p, Fn)                                                                          \
    inline void Fn(strided<const QOR_VM_CXX_T_##p> a, strided<QOR_VM_CXX_T_##p> r1,                         \
                   strided<QOR_VM_CXX_T_##p> r2, call_mode m = {}) {                                         \
        detail::same(a.count(), r1.count());                                                                 \
        detail::same(a.count(), r2.count());                                                                 \
        if (a.count() > 0)                                                                                   \
            QOR_VM_CXX_CALL(p, Fn, a.count(), detail::c_ptr(a.data.data()), a.increment,                     \
                            detail::c_ptr(r1.data.data()), r1.increment, detail::c_ptr(r2.data.data()),      \
                            r2.increment);                                                                   \
    }
#define QOR_VM_CXX_scalar(p, Fn)                                                                             \
    inline void Fn(std::span<const QOR_VM_CXX_T_##p> a, QOR_VM_CXX_T_##p b, std::span<QOR_VM_CXX_T_##p> r, \
                   call_mode m = {}) {                                                                       \
        detail::same(detail::count(a), detail::count(r));                                                    \
        if (!a.empty())                                                                                      \
            QOR_VM_CXX_CALL(p, Fn, detail::count(a), detail::c_ptr(a.data()), detail::c_value(b),            \
                            detail::c_ptr(r.data()));                                                        \
    }
#define QOR_VM_CXX_scalar_i(p, Fn)                                                                           \
    inline void Fn(strided<const QOR_VM_CXX_T_##p> a, QOR_VM_CXX_T_##p b, strided<QOR_VM_CXX_T_##p> r,     \
                   call_mode m = {}) {                                                                       \
        detail::same(a.count(), r.count());                                                                  \
        if (a.count() > 0)                                                                                   \
            QOR_VM_CXX_CALL(p, Fn, a.count(), detail::c_ptr(a.data.data()), a.increment,                     \
                            detail::c_value(b), detail::c_ptr(r.data.data()), r.increment);                  \
    }
#define QOR_VM_CXX_linfrac(p, Fn)                                                                            \
    inline void Fn(std::span<const QOR_VM_CXX_T_##p> a, std::span<const QOR_VM_CXX_T_##p> b,                \
                   QOR_VM_CXX_T_##p scalea, QOR_VM_CXX_T_##p shifta, QOR_VM_CXX_T_##p scaleb,                \
                   QOR_VM_CXX_T_##p shiftb, std::span<QOR_VM_CXX_T_##p> r, call_mode m = {}) {               \
        detail::same(detail::count(a), detail::count(b));                                                    \
        detail::same(detail::count(a), detail::count(r));                                                    \
        if (!a.empty())                                                                                      \
            QOR_VM_CXX_CALL(p, Fn, detail::count(a), a.data(), b.data(), scalea, shifta, scaleb, shiftb,     \
                            r.data());                                                                       \
    }
#define QOR_VM_CXX_linfrac_i(p, Fn)                                                                          \
    inline void Fn(strided<const QOR_VM_CXX_T_##p> a, strided<const QOR_VM_CXX_T_##p> b,                    \
                   QOR_VM_CXX_T_##p scalea, QOR_VM_CXX_T_##p shifta, QOR_VM_CXX_T_##p scaleb,                \
                   QOR_VM_CXX_T_##p shiftb, strided<QOR_VM_CXX_T_##p> r, call_mode m = {}) {                 \
        detail::same(a.count(), b.count());                                                                  \
        detail::same(a.count(), r.count());                                                                  \
        if (a.count() > 0)                                                                                   \
            QOR_VM_CXX_CALL(p, Fn, a.count(), a.data.data(), a.increment, b.data.data(), b.increment,        \
                            scalea, shifta, scaleb, shiftb, r.data.data(), r.increment);                     \
    }
// Pack: the strided elements of a into y; the elements at the indices; the
// elements whose mask entry is non-zero.  Unpack is the reverse.  Indices
// and masks are 64-bit here; the C calls read them as such with width 2.
#define QOR_VM_CXX_pack_i(p, Fn)                                                                             \
    inline void Fn(strided<const QOR_VM_CXX_T_##p> a, std::span<QOR_VM_CXX_T_##p> y, call_mode m = {}) {    \
        detail::same(a.count(), detail::count(y));                                                           \
        if (a.count() > 0)                                                                                   \
            QOR_VM_CXX_CALL(p, Fn, a.count(), detail::c_ptr(a.data.data()), a.increment,                     \
                            detail::c_ptr(y.data()), 2);                                                     \
    }
#define QOR_VM_CXX_unpack_i(p, Fn)                                                                           \
    inline void Fn(std::span<const QOR_VM_CXX_T_##p> a, strided<QOR_VM_CXX_T_##p> y, call_mode m = {}) {    \
        detail::same(detail::count(a), y.count());                                                           \
        if (!a.empty())                                                                                      \
            QOR_VM_CXX_CALL(p, Fn, detail::count(a), detail::c_ptr(a.data()), detail::c_ptr(y.data.data()),  \
                            y.increment, 2);                                                                 \
    }
#define QOR_VM_CXX_pack_v(p, Fn)                                                                             \
    inline void Fn(std::span<const QOR_VM_CXX_T_##p> a, std::span<const std::int64_t> index,                \
                   std::span<QOR_VM_CXX_T_##p> y, call_mode m = {}) {                                        \
        detail::same(detail::count(index), detail::count(y));                                                \
        detail::check_indices(index, a.size());                                                              \
        if (!index.empty())                                                                                  \
            QOR_VM_CXX_CALL(p, Fn, detail::count(index), detail::c_ptr(a.data()), index.data(),              \
                            detail::c_ptr(y.data()), 2);                                                     \
    }
#define QOR_VM_CXX_unpack_v(p, Fn)                                                                           \
    inline void Fn(std::span<const QOR_VM_CXX_T_##p> a, std::span<QOR_VM_CXX_T_##p> y,                      \
                   std::span<const std::int64_t> index, call_mode m = {}) {                                  \
        detail::same(detail::count(a), detail::count(index));                                                \
        detail::check_indices(index, y.size());                                                              \
        if (!a.empty())                                                                                      \
            QOR_VM_CXX_CALL(p, Fn, detail::count(a), detail::c_ptr(a.data()), detail::c_ptr(y.data()),       \
                            index.data(), 2);                                                                \
    }
#define QOR_VM_CXX_pack_m(p, Fn)                                                                             \
    inline void Fn(std::span<const QOR_VM_CXX_T_##p> a, std::span<const std::int64_t> mask,                 \
                   std::span<QOR_VM_CXX_T_##p> y, call_mode m = {}) {                                        \
        detail::same(detail::count(a), detail::count(mask));                                                 \
        detail::same(detail::set_entries(mask), detail::count(y));                                           \
        if (!a.empty())                                                                                      \
            QOR_VM_CXX_CALL(p, Fn, detail::count(a), detail::c_ptr(a.data()), mask.data(),                   \
                            detail::c_ptr(y.data()), 2);                                                     \
    }
#define QOR_VM_CXX_unpack_m(p, Fn)                                                                           \
    inline void Fn(std::span<const QOR_VM_CXX_T_##p> a, std::span<QOR_VM_CXX_T_##p> y,                      \
                   std::span<const std::int64_t> mask, call_mode m = {}) {                                   \
        detail::same(detail::count(y), detail::count(mask));                                                 \
        detail::same(detail::count(a), detail::set_entries(mask));                                           \
        if (!y.empty())                                                                                      \
            QOR_VM_CXX_CALL(p, Fn, detail::count(y), detail::c_ptr(a.data()), detail::c_ptr(y.data()),       \
                            mask.data(), 2);                                                                 \
    }

#define QOR_VM_ROW(p, Fn, kind, share, on, ...) QOR_VM_IF_ON(on, QOR_VM_CXX_##kind(p, Fn))
#include "vm_rows.def"
#undef QOR_VM_ROW

}  // namespace rows

// ---- The public names: each forwards to the contiguous and the strided rows
// of its function, whichever the arguments fit. ----------------------------------
#define QOR_VM_CXX_FORWARD(Fn, name)                                                        \
    template <class... Args>                                                                \
        requires requires(Args&&... args) { rows::Fn(std::forward<Args>(args)...); }        \
    void name(Args&&... args) {                                                             \
        rows::Fn(std::forward<Args>(args)...);                                              \
    }
#define QOR_VM_CXX_NAME(Fn, name) QOR_VM_CXX_FORWARD(Fn, name) QOR_VM_CXX_FORWARD(Fn##I, name)

// Function names, C's in lower case.
#define QOR_VM_CXX_NAMES(X) \
    X(Abs, abs) X(Acos, acos) X(Acosh, acosh) X(Acospi, acospi) X(Add, add) X(Arg, arg) X(Asin, asin) \
    X(Asinh, asinh) X(Asinpi, asinpi) X(Atan, atan) X(Atan2, atan2) X(Atan2pi, atan2pi) X(Atanh, atanh) \
    X(Atanpi, atanpi) X(CIS, cis) X(Cbrt, cbrt) X(CdfNorm, cdfnorm) X(CdfNormInv, cdfnorminv) X(Ceil, ceil) \
    X(Conj, conj) X(CopySign, copysign) X(Cos, cos) X(Cosd, cosd) X(Cosh, cosh) X(Cospi, cospi) X(Div, div) \
    X(Erf, erf) X(ErfInv, erfinv) X(Erfc, erfc) X(ErfcInv, erfcinv) X(Erfcx, erfcx) X(Exp, exp) \
    X(Exp10, exp10) X(Exp2, exp2) X(ExpInt1, expint1) X(Expm1, expm1) X(Fdim, fdim) X(Floor, floor) \
    X(Fmax, fmax) X(Fmin, fmin) X(Fmod, fmod) X(Frac, frac) X(Hypot, hypot) X(I0, i0) X(I1, i1) X(Inv, inv) \
    X(InvCbrt, invcbrt) X(InvSqrt, invsqrt) X(J0, j0) X(J1, j1) X(Jn, jn) X(LGamma, lgamma) \
    X(LinearFrac, linearfrac) X(Ln, ln) X(Log10, log10) X(Log1p, log1p) X(Log2, log2) X(Logb, logb) \
    X(MaxMag, maxmag) X(MinMag, minmag) X(Modf, modf) X(Mul, mul) X(MulByConj, mulbyconj) \
    X(NearbyInt, nearbyint) X(NextAfter, nextafter) X(Pow, pow) X(Pow2o3, pow2o3) X(Pow3o2, pow3o2) \
    X(Powr, powr) X(Powx, powx) X(Remainder, remainder) X(Rint, rint) X(Round, round) X(Sin, sin) \
    X(SinCos, sincos) X(SinCospi, sincospi) X(Sind, sind) X(Sinh, sinh) X(Sinpi, sinpi) X(Sqr, sqr) \
    X(Sqrt, sqrt) X(Sub, sub) X(TGamma, tgamma) X(Tan, tan) X(Tand, tand) X(Tanh, tanh) X(Tanpi, tanpi) \
    X(Trunc, trunc) X(Y0, y0) X(Y1, y1) X(Yn, yn)
QOR_VM_CXX_NAMES(QOR_VM_CXX_NAME)

// Pack and unpack: strided, by index and by mask.
QOR_VM_CXX_FORWARD(PackI, pack)
QOR_VM_CXX_FORWARD(PackV, pack_indexed)
QOR_VM_CXX_FORWARD(PackM, pack_masked)
QOR_VM_CXX_FORWARD(UnpackI, unpack)
QOR_VM_CXX_FORWARD(UnpackV, unpack_indexed)
QOR_VM_CXX_FORWARD(UnpackM, unpack_masked)

}  // namespace qor::vm

#undef QOR_VM_CXX_T_s
#undef QOR_VM_CXX_T_d
#undef QOR_VM_CXX_T_c
#undef QOR_VM_CXX_T_z
#undef QOR_VM_CXX_R_s
#undef QOR_VM_CXX_R_d
#undef QOR_VM_CXX_R_c
#undef QOR_VM_CXX_R_z
#undef QOR_VM_CXX_CALL
#undef QOR_VM_CXX_unary_like
#undef QOR_VM_CXX_unary_i_like
#undef QOR_VM_CXX_unary
#undef QOR_VM_CXX_unary_i
#undef QOR_VM_CXX_c2r
#undef QOR_VM_CXX_c2r_i
#undef QOR_VM_CXX_r2c
#undef QOR_VM_CXX_r2c_i
#undef QOR_VM_CXX_binary
#undef QOR_VM_CXX_binary_i
#undef QOR_VM_CXX_two_out
#undef QOR_VM_CXX_two_out_i
#undef QOR_VM_CXX_scalar
#undef QOR_VM_CXX_scalar_i
#undef QOR_VM_CXX_linfrac
#undef QOR_VM_CXX_linfrac_i
#undef QOR_VM_CXX_pack_i
#undef QOR_VM_CXX_pack_v
#undef QOR_VM_CXX_pack_m
#undef QOR_VM_CXX_unpack_i
#undef QOR_VM_CXX_unpack_v
#undef QOR_VM_CXX_unpack_m
#undef QOR_VM_CXX_FORWARD
#undef QOR_VM_CXX_NAME
#undef QOR_VM_CXX_NAMES

#endif
