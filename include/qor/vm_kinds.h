/* Argument lists of the vector-math kernel kinds, and the element types of
 * the four precision letters.  Used with the rows of vm_rows.def:
 *   QOR_VM_PARAMS(kind, p)  expands to the parenthesised parameter list. */
#ifndef QOR_VM_KINDS_H
#define QOR_VM_KINDS_H

#include "qor_types.h"

#define QOR_VM_T_s float
#define QOR_VM_T_d double
#define QOR_VM_T_c qor_complex8
#define QOR_VM_T_z qor_complex16
/* Real type of a precision: the output of complex Abs/Arg, the input of CIS. */
#define QOR_VM_R_s float
#define QOR_VM_R_d double
#define QOR_VM_R_c float
#define QOR_VM_R_z double

#define QOR_VM_PARAMS(kind, p) QOR_VM_PARAMS_##kind(QOR_VM_T_##p, QOR_VM_R_##p)

#define QOR_VM_PARAMS_unary(T, R)      (int n, const T* a, T* r)
#define QOR_VM_PARAMS_unary_i(T, R)    (int n, const T* a, int inca, T* r, int incr)
#define QOR_VM_PARAMS_binary(T, R)     (int n, const T* a, const T* b, T* r)
#define QOR_VM_PARAMS_binary_i(T, R)   (int n, const T* a, int inca, const T* b, int incb, T* r, int incr)
#define QOR_VM_PARAMS_two_out(T, R)    (int n, const T* a, T* r1, T* r2)
#define QOR_VM_PARAMS_two_out_i(T, R)  (int n, const T* a, int inca, T* r1, int incr1, T* r2, int incr2)
#define QOR_VM_PARAMS_scalar(T, R)     (int n, const T* a, T b, T* r)
#define QOR_VM_PARAMS_scalar_i(T, R)   (int n, const T* a, int inca, T b, T* r, int incr)
#define QOR_VM_PARAMS_linfrac(T, R)    (int n, const T* a, const T* b, T scalea, T shifta, T scaleb, T shiftb, T* r)
#define QOR_VM_PARAMS_linfrac_i(T, R)  (int n, const T* a, int inca, const T* b, int incb, T scalea, T shifta, \
                                        T scaleb, T shiftb, T* r, int incr)
#define QOR_VM_PARAMS_c2r(T, R)        (int n, const T* a, R* r)
#define QOR_VM_PARAMS_c2r_i(T, R)      (int n, const T* a, int inca, R* r, int incr)
#define QOR_VM_PARAMS_r2c(T, R)        (int n, const R* a, T* r)
#define QOR_VM_PARAMS_r2c_i(T, R)      (int n, const R* a, int inca, T* r, int incr)
/* Pack and unpack: width 1 reads n, the increment, indices and mask entries
 * as 32-bit integers, any other width as 64-bit integers. */
#define QOR_VM_PARAMS_pack_i(T, R)     (int64_t n, const T* a, int64_t inca, T* y, int width)
#define QOR_VM_PARAMS_pack_v(T, R)     (int64_t n, const T* a, const void* ia, T* y, int width)
#define QOR_VM_PARAMS_pack_m(T, R)     (int64_t n, const T* a, const void* ma, T* y, int width)
#define QOR_VM_PARAMS_unpack_i(T, R)   (int64_t n, const T* a, T* y, int64_t incy, int width)
#define QOR_VM_PARAMS_unpack_v(T, R)   (int64_t n, const T* a, T* y, const void* iy, int width)
#define QOR_VM_PARAMS_unpack_m(T, R)   (int64_t n, const T* a, T* y, const void* my, int width)

/* Suffixes of the LA and EP entry points per precision. */
#define QOR_VM_LA_SUFFIX_s _21
#define QOR_VM_LA_SUFFIX_c _21
#define QOR_VM_LA_SUFFIX_d _50
#define QOR_VM_LA_SUFFIX_z _50
#define QOR_VM_EP_SUFFIX_s _11
#define QOR_VM_EP_SUFFIX_c _11
#define QOR_VM_EP_SUFFIX_d _26
#define QOR_VM_EP_SUFFIX_z _26

/* Expand the argument only for rows that are on. */
#define QOR_VM_IF_ON(on, ...) QOR_VM_IF_ON_##on(__VA_ARGS__)
#define QOR_VM_IF_ON_0(...)
#define QOR_VM_IF_ON_1(...) __VA_ARGS__

#define QOR_VM_CAT(a, b) QOR_VM_CAT_(a, b)
#define QOR_VM_CAT_(a, b) a##b
#define QOR_VM_STR(a) QOR_VM_STR_(a)
#define QOR_VM_STR_(a) #a

/* The cost column of a row: frozen(la, ha, ep) or measured.
 *   QOR_VM_FROZEN_OR(cost, fallback)  the frozen triple as a braced list,
 *                                     else the fallback;
 *   QOR_VM_IF_MEASURED(cost, ...)     the arguments for measured rows only. */
#define QOR_VM_FROZEN_OR(cost, ...) QOR_VM_CAT(QOR_VM_FROZEN_OR_, cost)(__VA_ARGS__)
#define QOR_VM_FROZEN_OR_frozen(la, ha, ep) {la, ha, ep} QOR_VM_EAT
#define QOR_VM_FROZEN_OR_measured(...) __VA_ARGS__
#define QOR_VM_IF_MEASURED(cost, ...) QOR_VM_CAT(QOR_VM_IF_MEASURED_, cost)(__VA_ARGS__)
#define QOR_VM_IF_MEASURED_frozen(la, ha, ep) QOR_VM_EAT
#define QOR_VM_IF_MEASURED_measured(...) __VA_ARGS__
#define QOR_VM_EAT(...)

/* Entry point of a row in each slot, by name. */
#define QOR_VM_LA_ENTRY(p, Fn) QOR_VM_CAT(_lum##p##Fn, QOR_VM_LA_SUFFIX_##p)
#define QOR_VM_HA_ENTRY(p, Fn) _lum##p##Fn##_HA
#define QOR_VM_EP_ENTRY(p, Fn) QOR_VM_CAT(_lum##p##Fn, QOR_VM_EP_SUFFIX_##p)



/* Argument names of each kind, for code that forwards a call. */
#define QOR_VM_ARGS(kind) QOR_VM_ARGS_##kind
#define QOR_VM_ARGS_unary (n, a, r)
#define QOR_VM_ARGS_unary_i (n, a, inca, r, incr)
#define QOR_VM_ARGS_binary (n, a, b, r)
#define QOR_VM_ARGS_binary_i (n, a, inca, b, incb, r, incr)
#define QOR_VM_ARGS_two_out (n, a, r1, r2)
#define QOR_VM_ARGS_two_out_i (n, a, inca, r1, incr1, r2, incr2)
#define QOR_VM_ARGS_scalar (n, a, b, r)
#define QOR_VM_ARGS_scalar_i (n, a, inca, b, r, incr)
#define QOR_VM_ARGS_linfrac (n, a, b, scalea, shifta, scaleb, shiftb, r)
#define QOR_VM_ARGS_linfrac_i (n, a, inca, b, incb, scalea, shifta, scaleb, shiftb, r, incr)
#define QOR_VM_ARGS_c2r (n, a, r)
#define QOR_VM_ARGS_c2r_i (n, a, inca, r, incr)
#define QOR_VM_ARGS_r2c (n, a, r)
#define QOR_VM_ARGS_r2c_i (n, a, inca, r, incr)
#define QOR_VM_ARGS_pack_i (n, a, inca, y, width)
#define QOR_VM_ARGS_pack_v (n, a, ia, y, width)
#define QOR_VM_ARGS_pack_m (n, a, ma, y, width)
#define QOR_VM_ARGS_unpack_i (n, a, y, incy, width)
#define QOR_VM_ARGS_unpack_v (n, a, y, iy, width)
#define QOR_VM_ARGS_unpack_m (n, a, y, my, width)
#endif
