// Pack (gather selected elements into a dense vector) and Unpack (scatter a
// dense vector into selected positions), by constant increment, index vector
// or mask vector, for s, d, c and z.
//
// Elements are moved as raw units of 4, 8 or 16 bytes through integer
// registers: no arithmetic, so NaN payloads (signalling ones included),
// signed zeros and subnormals pass unchanged and no flag is raised.  The
// kernels touch neither the control registers nor the mode word nor the
// reporters.  A width argument of 1 selects 32-bit n, increment, indices and
// mask entries; any other value 64-bit ones.  Nothing but n < 1 is checked.
//
// The increment and index forms move blocks of 8 and then the last 0 to 7
// elements without a loop, from the highest down; the mask forms test
// blocks of 4 entries in order, then the last 0 to 3 in order.  The kernels
// depend only on the element size, so d and c share their code.
#include <cstdint>
#include <cstring>

#include "kernel_decls.h"

namespace qor::vm {
namespace {

using std::ptrdiff_t;

// An element of Bytes bytes as a unit of integer words.
template <int Bytes>
struct RawElement {
    unsigned char bytes[Bytes];
};

template <int Bytes>
inline void move_element(void* dst, const void* src) {
    RawElement<Bytes> e;
    std::memcpy(&e, src, Bytes);
    std::memcpy(dst, &e, Bytes);
}

template <int Bytes>
inline const unsigned char* element(const void* base, ptrdiff_t i) {
    return static_cast<const unsigned char*>(base) + i * Bytes;
}

template <int Bytes>
inline unsigned char* element(void* base, ptrdiff_t i) {
    return static_cast<unsigned char*>(base) + i * Bytes;
}

// n or an increment as the width's integer type Int (width 1 keeps only the
// low 32 bits of the 64-bit argument).
template <class Int>
inline ptrdiff_t in_width(int64_t x) {
    return static_cast<ptrdiff_t>(static_cast<Int>(x));
}

// Entry i of an index or mask vector of Int.
template <class Int>
inline ptrdiff_t entry(const void* table, ptrdiff_t i) {
    Int v;
    std::memcpy(&v, static_cast<const unsigned char*>(table) + i * static_cast<ptrdiff_t>(sizeof(Int)), sizeof v);
    return static_cast<ptrdiff_t>(v);
}

// Runs move(i) for i = 0 .. n-1: blocks of 8 in order, then the tail of 0
// to 7 from the highest element down, unrolled.
template <class Move>
inline void blocks_of_8(ptrdiff_t n, Move move) {
    ptrdiff_t i = 0;
    for (; i + 8 <= n; i += 8) {
        move(i);
        move(i + 1);
        move(i + 2);
        move(i + 3);
        move(i + 4);
        move(i + 5);
        move(i + 6);
        move(i + 7);
    }
    switch (n - i) {
        case 7: move(i + 6); [[fallthrough]];
        case 6: move(i + 5); [[fallthrough]];
        case 5: move(i + 4); [[fallthrough]];
        case 4: move(i + 3); [[fallthrough]];
        case 3: move(i + 2); [[fallthrough]];
        case 2: move(i + 1); [[fallthrough]];
        case 1: move(i); [[fallthrough]];
        default: break;
    }
}

// Runs step(i) for i = 0 .. n-1 in order: blocks of 4, then 0 to 3.
template <class Step>
inline void blocks_of_4(ptrdiff_t n, Step step) {
    ptrdiff_t i = 0;
    for (; i + 4 <= n; i += 4) {
        step(i);
        step(i + 1);
        step(i + 2);
        step(i + 3);
    }
    for (; i < n; ++i) step(i);
}

template <int Bytes, class Int>
void pack_by_increment(int64_t n64, const void* a, int64_t inc64, void* y) {
    const ptrdiff_t n = in_width<Int>(n64), inc = in_width<Int>(inc64);
    if (n < 1) return;
    blocks_of_8(n, [=](ptrdiff_t i) { move_element<Bytes>(element<Bytes>(y, i), element<Bytes>(a, i * inc)); });
}

template <int Bytes, class Int>
void pack_by_index(int64_t n64, const void* a, const void* ia, void* y) {
    const ptrdiff_t n = in_width<Int>(n64);
    if (n < 1) return;
    blocks_of_8(n, [=](ptrdiff_t i) {
        move_element<Bytes>(element<Bytes>(y, i), element<Bytes>(a, entry<Int>(ia, i)));
    });
}

template <int Bytes, class Int>
void pack_by_mask(int64_t n64, const void* a, const void* ma, void* y) {
    const ptrdiff_t n = in_width<Int>(n64);
    if (n < 1) return;
    ptrdiff_t k = 0;
    blocks_of_4(n, [&](ptrdiff_t i) {
        if (entry<Int>(ma, i) != 0) move_element<Bytes>(element<Bytes>(y, k++), element<Bytes>(a, i));
    });
}

template <int Bytes, class Int>
void unpack_by_increment(int64_t n64, const void* a, void* y, int64_t inc64) {
    const ptrdiff_t n = in_width<Int>(n64), inc = in_width<Int>(inc64);
    if (n < 1) return;
    blocks_of_8(n, [=](ptrdiff_t i) { move_element<Bytes>(element<Bytes>(y, i * inc), element<Bytes>(a, i)); });
}

template <int Bytes, class Int>
void unpack_by_index(int64_t n64, const void* a, void* y, const void* iy) {
    const ptrdiff_t n = in_width<Int>(n64);
    if (n < 1) return;
    blocks_of_8(n, [=](ptrdiff_t i) {
        move_element<Bytes>(element<Bytes>(y, entry<Int>(iy, i)), element<Bytes>(a, i));
    });
}

template <int Bytes, class Int>
void unpack_by_mask(int64_t n64, const void* a, void* y, const void* my) {
    const ptrdiff_t n = in_width<Int>(n64);
    if (n < 1) return;
    ptrdiff_t k = 0;
    blocks_of_4(n, [&](ptrdiff_t i) {
        if (entry<Int>(my, i) != 0) move_element<Bytes>(element<Bytes>(y, i), element<Bytes>(a, k++));
    });
}

constexpr bool narrow_width(int width) { return width == 1; }

}  // namespace
}  // namespace qor::vm

// The six kernels of one precision; Bytes is its element size.
#define QOR_VM_PACK_KERNELS(p, T, Bytes)                                                                   \
    QOR_EXTERN_C void qor_vmk_##p##PackI_HA(int64_t n, const T* a, int64_t inca, T* y, int width) {        \
        using namespace qor::vm;                                                                           \
        if (narrow_width(width)) pack_by_increment<Bytes, int32_t>(n, a, inca, y);                         \
        else pack_by_increment<Bytes, int64_t>(n, a, inca, y);                                             \
    }                                                                                                      \
    QOR_EXTERN_C void qor_vmk_##p##PackV_HA(int64_t n, const T* a, const void* ia, T* y, int width) {      \
        using namespace qor::vm;                                                                           \
        if (narrow_width(width)) pack_by_index<Bytes, int32_t>(n, a, ia, y);                               \
        else pack_by_index<Bytes, int64_t>(n, a, ia, y);                                                   \
    }                                                                                                      \
    QOR_EXTERN_C void qor_vmk_##p##PackM_HA(int64_t n, const T* a, const void* ma, T* y, int width) {      \
        using namespace qor::vm;                                                                           \
        if (narrow_width(width)) pack_by_mask<Bytes, int32_t>(n, a, ma, y);                                \
        else pack_by_mask<Bytes, int64_t>(n, a, ma, y);                                                    \
    }                                                                                                      \
    QOR_EXTERN_C void qor_vmk_##p##UnpackI_HA(int64_t n, const T* a, T* y, int64_t incy, int width) {      \
        using namespace qor::vm;                                                                           \
        if (narrow_width(width)) unpack_by_increment<Bytes, int32_t>(n, a, y, incy);                       \
        else unpack_by_increment<Bytes, int64_t>(n, a, y, incy);                                           \
    }                                                                                                      \
    QOR_EXTERN_C void qor_vmk_##p##UnpackV_HA(int64_t n, const T* a, T* y, const void* iy, int width) {    \
        using namespace qor::vm;                                                                           \
        if (narrow_width(width)) unpack_by_index<Bytes, int32_t>(n, a, y, iy);                             \
        else unpack_by_index<Bytes, int64_t>(n, a, y, iy);                                                 \
    }                                                                                                      \
    QOR_EXTERN_C void qor_vmk_##p##UnpackM_HA(int64_t n, const T* a, T* y, const void* my, int width) {    \
        using namespace qor::vm;                                                                           \
        if (narrow_width(width)) unpack_by_mask<Bytes, int32_t>(n, a, y, my);                              \
        else unpack_by_mask<Bytes, int64_t>(n, a, y, my);                                                  \
    }

QOR_VM_PACK_KERNELS(s, float, 4)
QOR_VM_PACK_KERNELS(d, double, 8)
QOR_VM_PACK_KERNELS(c, qor_complex8, 8)
QOR_VM_PACK_KERNELS(z, qor_complex16, 16)
