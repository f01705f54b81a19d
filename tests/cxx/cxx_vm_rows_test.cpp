// Every generated vector-math overload against its C function: the same
// inputs give the same bits, so each overload forwards to the right C call
// with its arguments in the right places (contiguous forms in the thread's
// mode, strided forms under a per-call EP mode).
#include <gtest/gtest.h>

#include <complex>
#include <cstring>
#include <string>
#include <vector>

#include "qor/qor.hpp"

namespace {

using qor::vm::detail::c_ptr;
using qor::vm::detail::c_value;

constexpr int kN = 9;  // odd, to reach the tail of every loop

template <class T>
std::vector<T> values(std::size_t n, double shift) {
    std::vector<T> v(n);
    for (std::size_t i = 0; i < n; ++i) {
        const double x = 0.3 + shift + 0.07 * double(i);
        if constexpr (std::is_arithmetic_v<T>)
            v[i] = T(x);
        else
            v[i] = T(x, 0.2 - 0.03 * double(i));
    }
    return v;
}

template <class T>
bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

using s_t = float;
using d_t = double;
using c_t = std::complex<float>;
using z_t = std::complex<double>;
using s_r = float;
using d_r = double;
using c_r = float;
using z_r = double;

// Contiguous forms: In and Out element types of the kind.
#define QOR_TEST_ONE_IN(In, Out, p, Fn, ...)                                              \
    {                                                                                     \
        const auto a = values<In>(kN, 0);                                                 \
        std::vector<Out> r(kN), want(kN);                                                 \
        qor::vm::rows::Fn(a, __VA_ARGS__ r);                                              \
        qor_v##p##Fn(kN, c_ptr(a.data()), c_ptr(want.data()));                            \
        EXPECT_TRUE(same_bits(r, want)) << #p #Fn;                                        \
    }
#define QOR_TEST_unary(p, Fn) QOR_TEST_ONE_IN(p##_t, p##_t, p, Fn)
#define QOR_TEST_c2r(p, Fn) QOR_TEST_ONE_IN(p##_t, p##_r, p, Fn)
#define QOR_TEST_r2c(p, Fn) QOR_TEST_ONE_IN(p##_r, p##_t, p, Fn)
#define QOR_TEST_binary(p, Fn)                                                            \
    {                                                                                     \
        const auto a = values<p##_t>(kN, 0), b = values<p##_t>(kN, 0.5);                 \
        std::vector<p##_t> r(kN), want(kN);                                               \
        qor::vm::rows::Fn(a, b, r);                                                       \
        qor_v##p##Fn(kN, c_ptr(a.data()), c_ptr(b.data()), c_ptr(want.data()));          \
        EXPECT_TRUE(same_bits(r, want)) << #p #Fn;                                        \
    }
#define QOR_TEST_scalar(p, Fn)                                                            \
    {                                                                                     \
        const auto a = values<p##_t>(kN, 0);                                              \
        const p##_t b = values<p##_t>(1, 2.2)[0];                                         \
        std::vector<p##_t> r(kN), want(kN);                                               \
        qor::vm::rows::Fn(a, b, r);                                                       \
        qor_v##p##Fn(kN, c_ptr(a.data()), c_value(b), c_ptr(want.data()));               \
        EXPECT_TRUE(same_bits(r, want)) << #p #Fn;                                        \
    }
#define QOR_TEST_two_out(p, Fn)                                                           \
    {                                                                                     \
        const auto a = values<p##_t>(kN, 0);                                              \
        std::vector<p##_t> r1(kN), r2(kN), w1(kN), w2(kN);                                \
        qor::vm::rows::Fn(a, r1, r2);                                                     \
        qor_v##p##Fn(kN, a.data(), w1.data(), w2.data());                                 \
        EXPECT_TRUE(same_bits(r1, w1) && same_bits(r2, w2)) << #p #Fn;                    \
    }
// Strided forms: every second input, every third output, in EP.
#define QOR_TEST_ONE_IN_I(In, Out, p, Fn)                                                 \
    {                                                                                     \
        const auto a = values<In>(2 * kN, 0);                                             \
        std::vector<Out> r(3 * kN), want(3 * kN);                                         \
        qor::vm::rows::Fn(qor::vm::strided(a, 2), qor::vm::strided(r, 3), qor::vm::accuracy::ep); \
        qor_vm##p##Fn(kN, c_ptr(a.data()), 2, c_ptr(want.data()), 3, QOR_VM_EP);          \
        EXPECT_TRUE(same_bits(r, want)) << #p #Fn;                                        \
    }
#define QOR_TEST_unary_i(p, Fn) QOR_TEST_ONE_IN_I(p##_t, p##_t, p, Fn)
#define QOR_TEST_c2r_i(p, Fn) QOR_TEST_ONE_IN_I(p##_t, p##_r, p, Fn)
#define QOR_TEST_r2c_i(p, Fn) QOR_TEST_ONE_IN_I(p##_r, p##_t, p, Fn)
#define QOR_TEST_binary_i(p, Fn)                                                          \
    {                                                                                     \
        const auto a = values<p##_t>(2 * kN, 0), b = values<p##_t>(kN, 0.5);              \
        std::vector<p##_t> r(3 * kN), want(3 * kN);                                       \
        qor::vm::rows::Fn(qor::vm::strided(a, 2), qor::vm::strided(b, 1), qor::vm::strided(r, 3), \
                          qor::vm::accuracy::ep);                                         \
        qor_vm##p##Fn(kN, c_ptr(a.data()), 2, c_ptr(b.data()), 1, c_ptr(want.data()), 3, QOR_VM_EP); \
        EXPECT_TRUE(same_bits(r, want)) << #p #Fn;                                        \
    }
#define QOR_TEST_SKIP(p, Fn)  // checked by hand in cxx_vm_test.cpp
#define QOR_TEST_scalar_i QOR_TEST_SKIP
#define QOR_TEST_two_out_i QOR_TEST_SKIP
#define QOR_TEST_linfrac QOR_TEST_SKIP
#define QOR_TEST_linfrac_i QOR_TEST_SKIP
#define QOR_TEST_pack_i QOR_TEST_SKIP
#define QOR_TEST_pack_v QOR_TEST_SKIP
#define QOR_TEST_pack_m QOR_TEST_SKIP
#define QOR_TEST_unpack_i QOR_TEST_SKIP
#define QOR_TEST_unpack_v QOR_TEST_SKIP
#define QOR_TEST_unpack_m QOR_TEST_SKIP

TEST(CxxVmRows, EveryOverloadGivesTheBitsOfItsCFunction) {
    const std::uint32_t saved = qor_vm_get_mode();
    qor_vm_set_mode(QOR_VM_HA | QOR_VM_ERRMODE_IGNORE);
#define QOR_VM_ROW(p, Fn, kind, share, on, ...) QOR_VM_IF_ON(on, QOR_TEST_##kind(p, Fn))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
    qor_vm_set_mode(saved);
}

}  // namespace
