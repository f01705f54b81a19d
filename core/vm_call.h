// How a public vector-math call reaches its kernel.
//
// The public argument list is the kernel's with the count n and the
// increments inc... widened from int to int64_t.  A call whose count and
// increments fit the kernel's 32-bit arguments goes straight on; a larger
// one is split into pieces of at most 2^31 - 1 elements, each pointer
// advanced by the elements done times its increment, and a call with an
// increment beyond 32 bits runs element by element.
#pragma once

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

#include "qor/qor_vm.h"

namespace qor::core {

// What a kernel argument is, told by its name in the argument lists.
enum class ArgRole : unsigned char { count, increment, other };

constexpr ArgRole arg_role(const char* name) {
    if (name[0] == 'n' && name[1] == '\0') return ArgRole::count;
    if (name[0] == 'i' && name[1] == 'n' && name[2] == 'c') return ArgRole::increment;
    return ArgRole::other;
}

template <class Kernel>
struct KernelArgs;
template <class... A>
struct KernelArgs<void (*)(A...)> {
    using type = std::tuple<A...>;
};

template <class Kernel, std::size_t I>
using kernel_arg_t = std::tuple_element_t<I, typename KernelArgs<Kernel>::type>;

// Type of public argument I: int64_t where the kernel takes a count or an
// increment as int, the kernel's own type otherwise.
template <class Kernel, std::size_t I, ArgRole R>
using public_arg_t = std::conditional_t<R != ArgRole::other && std::is_same_v<kernel_arg_t<Kernel, I>, int>, int64_t,
                                        kernel_arg_t<Kernel, I>>;

constexpr int64_t kMaxKernelCount = INT32_MAX;

// What a call's arguments are worth before any kernel runs: the status of
// the first fault and the 1-based position of the argument at fault.  A
// negative count is a bad argument; a null array is inaccessible memory
// when there are elements to touch (a count of 0 touches none).
struct ArgumentCheck {
    int status = 0;  // 0, QOR_VM_STATUS_BADARG or QOR_VM_STATUS_BADMEM
    int position = 0;
};

template <class N, class... P>
constexpr ArgumentCheck check_arguments(N n, P... rest) {
    if (n < 0) return {QOR_VM_STATUS_BADARG, 1};
    if (n == 0) return {};
    ArgumentCheck found;
    int position = 1;
    auto look = [&](auto v) {
        ++position;
        if constexpr (std::is_pointer_v<decltype(v)>) {
            if (!v && found.status == 0) found = {QOR_VM_STATUS_BADMEM, position};
        }
    };
    (look(rest), ...);
    return found;
}

template <class Kernel>
struct Forward;

// Forward<K>{kernel}(public arguments...) calls the kernel.  A widened
// argument is one whose public type differs from the kernel's: the first
// is the count, the others are the increments of the pointers before them.
template <class... A>
struct Forward<void (*)(A...)> {
    void (*kernel)(A...);

    template <class... P>
    void operator()(P... args) const {
        static_assert(sizeof...(P) == sizeof...(A));
        if constexpr (std::is_same_v<std::tuple<P...>, std::tuple<A...>>) {
            return kernel(args...);  // the kernel's own counts are 64-bit
        } else {
            if ((fits<A>(args) && ...)) [[likely]] {
                return kernel(static_cast<A>(args)...);
            }
            split(kernel, std::index_sequence_for<A...>{}, args...);
        }
    }

private:
    template <class K, class V>
    static bool fits(V v) {
        if constexpr (std::is_same_v<K, V>) {
            return true;
        } else {
            return v == static_cast<K>(v);
        }
    }

    template <std::size_t I, class Tuple>
    static constexpr bool widened = !std::is_same_v<std::tuple_element_t<I, Tuple>, std::tuple_element_t<I, std::tuple<A...>>>;

    template <std::size_t I, class Tuple>
    static bool increment_fits(const Tuple& t) {
        if constexpr (I != 0 && widened<I, Tuple>) return fits<int>(std::get<I>(t));
        return true;
    }

    template <std::size_t I, class Tuple>
    static int64_t stride_after(const Tuple& t) {
        if constexpr (I + 1 < sizeof...(A)) {
            if constexpr (widened<I + 1, Tuple>) return std::get<I + 1>(t);
        }
        return 1;
    }

    // Argument I of the piece of `count` elements that starts at `done`.
    template <std::size_t I, class Tuple>
    static auto piece(const Tuple& t, int64_t done, int64_t count, bool one_by_one) {
        using K = std::tuple_element_t<I, std::tuple<A...>>;
        if constexpr (I == 0 && widened<I, Tuple>) {
            return static_cast<K>(count);
        } else if constexpr (widened<I, Tuple>) {
            return static_cast<K>(one_by_one ? 1 : std::get<I>(t));
        } else if constexpr (std::is_pointer_v<K>) {
            return std::get<I>(t) + done * stride_after<I>(t);
        } else {
            return std::get<I>(t);
        }
    }

    // Static and given its arguments as they came, so that the fast path
    // keeps the kernel in a register instead of building the object.
    template <std::size_t... I, class... P>
    [[gnu::noinline, gnu::cold]] static void split(void (*kernel)(A...), std::index_sequence<I...>, P... args) {
        using Tuple = std::tuple<P...>;
        const Tuple t(args...);
        static_assert(widened<0, Tuple>, "the first argument of a split call is its count");
        const int64_t n = std::get<0>(t);
        if (n <= 0) return;
        const bool one_by_one = !(increment_fits<I>(t) && ...);
        const int64_t most = one_by_one ? 1 : kMaxKernelCount;
        for (int64_t done = 0; done < n;) {
            const int64_t count = n - done < most ? n - done : most;
            kernel(piece<I>(t, done, count, one_by_one)...);
            done += count;
        }
    }
};

}  // namespace qor::core

// The public parameter list of a row, from the kernel type K and the
// argument names of its kind:
//   QOR_CORE_PUBLIC_PARAMS(K, QOR_VM_ARGS(kind))  ->  (int64_t n, const double* a, ...)
#define QOR_CORE_PUBLIC_PARAMS(K, names) (QOR_CORE_EACH_ARG_(QOR_CORE_PUBLIC_PARAM_, K, QOR_CORE_UNPAREN_ names))
#define QOR_CORE_PUBLIC_PARAM_(K, i, name) ::qor::core::public_arg_t<K, i, ::qor::core::arg_role(#name)> name

#define QOR_CORE_UNPAREN_(...) __VA_ARGS__
#define QOR_CORE_EACH_ARG_(F, K, ...) QOR_CORE_EACH_ARG_N_(QOR_CORE_ARG_COUNT_(__VA_ARGS__), F, K, __VA_ARGS__)
#define QOR_CORE_EACH_ARG_N_(n, F, K, ...) QOR_VM_CAT(QOR_CORE_EACH_, n)(F, K, 0, __VA_ARGS__)
#define QOR_CORE_ARG_COUNT_(...) QOR_CORE_ARG_COUNT_I_(__VA_ARGS__, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0)
#define QOR_CORE_ARG_COUNT_I_(a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, n, ...) n
#define QOR_CORE_EACH_1(F, K, i, x) F(K, i, x)
#define QOR_CORE_EACH_2(F, K, i, x, ...) F(K, i, x), QOR_CORE_EACH_1(F, K, i + 1, __VA_ARGS__)
#define QOR_CORE_EACH_3(F, K, i, x, ...) F(K, i, x), QOR_CORE_EACH_2(F, K, i + 1, __VA_ARGS__)
#define QOR_CORE_EACH_4(F, K, i, x, ...) F(K, i, x), QOR_CORE_EACH_3(F, K, i + 1, __VA_ARGS__)
#define QOR_CORE_EACH_5(F, K, i, x, ...) F(K, i, x), QOR_CORE_EACH_4(F, K, i + 1, __VA_ARGS__)
#define QOR_CORE_EACH_6(F, K, i, x, ...) F(K, i, x), QOR_CORE_EACH_5(F, K, i + 1, __VA_ARGS__)
#define QOR_CORE_EACH_7(F, K, i, x, ...) F(K, i, x), QOR_CORE_EACH_6(F, K, i + 1, __VA_ARGS__)
#define QOR_CORE_EACH_8(F, K, i, x, ...) F(K, i, x), QOR_CORE_EACH_7(F, K, i + 1, __VA_ARGS__)
#define QOR_CORE_EACH_9(F, K, i, x, ...) F(K, i, x), QOR_CORE_EACH_8(F, K, i + 1, __VA_ARGS__)
#define QOR_CORE_EACH_10(F, K, i, x, ...) F(K, i, x), QOR_CORE_EACH_9(F, K, i + 1, __VA_ARGS__)
#define QOR_CORE_EACH_11(F, K, i, x, ...) F(K, i, x), QOR_CORE_EACH_10(F, K, i + 1, __VA_ARGS__)
#define QOR_CORE_EACH_12(F, K, i, x, ...) F(K, i, x), QOR_CORE_EACH_11(F, K, i + 1, __VA_ARGS__)
