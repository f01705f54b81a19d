// Helpers for the tests of the real arithmetic and rounding kernels: the
// entry points of a row in every slot, input sets (edge values, random bit
// patterns, wide-range numbers), a checker that runs a kernel through every
// entry point, both forms, odd lengths and strides and verifies results and
// untouched memory, and scoped mode and callback settings.
#pragma once

#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "qor/qor_vm.h"

namespace arith_test {

// ---- entry points -----------------------------------------------------------
template <class T> using Unary = void (*)(int, const T*, T*);
template <class T> using UnaryI = void (*)(int, const T*, int, T*, int);
template <class T> using Binary = void (*)(int, const T*, const T*, T*);
template <class T> using BinaryI = void (*)(int, const T*, int, const T*, int, T*, int);
template <class T> using TwoOut = void (*)(int, const T*, T*, T*);
template <class T> using TwoOutI = void (*)(int, const T*, int, T*, int, T*, int);

// The entry points of one row: HA by its plain name and by _HA, then LA, EP.
template <class F>
struct Entries {
    const char* name;
    F slot[4];
};

template <class C, class S>
struct Row {
    Entries<C> contiguous;
    Entries<S> strided;
};

#define ARITH_ENTRIES(p, Fn)                                                                        \
    {                                                                                               \
        "v" #p #Fn, {                                                                               \
            &_lum##p##Fn, &_lum##p##Fn##_HA, &QOR_VM_CAT(_lum##p##Fn, QOR_VM_LA_SUFFIX_##p),         \
                &QOR_VM_CAT(_lum##p##Fn, QOR_VM_EP_SUFFIX_##p)                                      \
        }                                                                                           \
    }
#define ARITH_UNARY_ROW(p, Fn)                                                                      \
    arith_test::Row<arith_test::Unary<QOR_VM_T_##p>, arith_test::UnaryI<QOR_VM_T_##p>> {           \
        ARITH_ENTRIES(p, Fn), ARITH_ENTRIES(p, Fn##I)                                               \
    }
#define ARITH_BINARY_ROW(p, Fn)                                                                     \
    arith_test::Row<arith_test::Binary<QOR_VM_T_##p>, arith_test::BinaryI<QOR_VM_T_##p>> {         \
        ARITH_ENTRIES(p, Fn), ARITH_ENTRIES(p, Fn##I)                                               \
    }
#define ARITH_TWO_OUT_ROW(p, Fn)                                                                    \
    arith_test::Row<arith_test::TwoOut<QOR_VM_T_##p>, arith_test::TwoOutI<QOR_VM_T_##p>> {         \
        ARITH_ENTRIES(p, Fn), ARITH_ENTRIES(p, Fn##I)                                               \
    }

// ---- values -----------------------------------------------------------------
template <class T> struct BitsOf;
template <> struct BitsOf<float> { using U = uint32_t; };
template <> struct BitsOf<double> { using U = uint64_t; };
template <class T> using UInt = typename BitsOf<T>::U;

template <class T>
UInt<T> bits(T x) {
    UInt<T> u;
    std::memcpy(&u, &x, sizeof u);
    return u;
}
template <class T>
T from_bits(UInt<T> u) {
    T x;
    std::memcpy(&x, &u, sizeof x);
    return x;
}

// Same value: equal bit patterns, or both NaN (payloads are not compared).
template <class T>
bool same(T x, T y) {
    return (std::isnan(x) && std::isnan(y)) || bits(x) == bits(y);
}

template <class T>
std::string show(T x) {
    std::ostringstream s;
    s << std::hexfloat << x << " [" << std::hex << bits(x) << "]";
    return s.str();
}

template <class T>
T denorm_min() {
    return std::numeric_limits<T>::denorm_min();
}

// Values around every threshold the kernels care about, both signs.
template <class T>
std::vector<T> edge_values() {
    using L = std::numeric_limits<T>;
    const T mant = T(1) / L::epsilon();  // 2^52 or 2^23: from here on every value is an integer
    std::vector<T> m = {T(0), L::denorm_min(), 3 * L::denorm_min(), L::min() - L::denorm_min(), L::min(),
                        L::min() * T(1.5), T(0.25), T(0.49999997), T(0.5), std::nextafter(T(0.5), T(0)),
                        std::nextafter(T(0.5), T(1)), T(1), std::nextafter(T(1), T(2)), std::nextafter(T(1), T(0)),
                        T(1.5), T(2), T(2.5), T(3), T(3.5), T(4), T(7.5), T(10), T(1e6), mant / 2 - T(0.5),
                        mant / 2 + T(0.5), mant - T(1), mant, mant + T(2), 2 * mant, L::max() / 2, L::max(),
                        L::infinity()};
    std::vector<T> v;
    for (T x : m) {
        v.push_back(x);
        v.push_back(-x);
    }
    v.push_back(L::quiet_NaN());
    v.push_back(-L::quiet_NaN());
    return v;
}

// Uniformly random bit patterns: every class, mostly huge or tiny numbers.
template <class T>
std::vector<T> random_bits(size_t n, uint64_t seed) {
    std::mt19937_64 g(seed);
    std::vector<T> v(n);
    for (T& x : v) x = from_bits<T>(UInt<T>(g()));
    return v;
}

// Random sign and significand with a binary exponent uniform in [lo, hi].
template <class T>
std::vector<T> random_log_uniform(size_t n, int lo, int hi, uint64_t seed) {
    std::mt19937_64 g(seed);
    std::uniform_real_distribution<T> significand(T(1), T(2));
    std::uniform_int_distribution<int> exponent(lo, hi);
    std::vector<T> v(n);
    for (T& x : v) x = std::ldexp(significand(g), exponent(g)) * ((g() & 1) ? T(-1) : T(1));
    return v;
}

// A mix for sweeps: a quarter random bit patterns, half numbers spread over
// the whole exponent range (subnormals included), a quarter edge values.
template <class T>
std::vector<T> random_mixed(size_t n, uint64_t seed) {
    const int lo = std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits - 1;
    const int hi = std::numeric_limits<T>::max_exponent - 1;
    auto wide = random_log_uniform<T>(n, lo, hi, seed);
    auto raw = random_bits<T>(n, seed + 1);
    auto edges = edge_values<T>();
    std::mt19937_64 g(seed + 2);
    std::vector<T> v(n);
    for (size_t i = 0; i < n; ++i) {
        switch (g() % 4) {
            case 0: v[i] = raw[i]; break;
            case 1: v[i] = edges[g() % edges.size()]; break;
            default: v[i] = wide[i]; break;
        }
    }
    return v;
}

// Every pair of edge values, as two parallel arrays.
template <class T>
void edge_pairs(std::vector<T>& a, std::vector<T>& b) {
    auto e = edge_values<T>();
    for (T x : e)
        for (T y : e) {
            a.push_back(x);
            b.push_back(y);
        }
}

// The Windows build's C runtime is no exact reference for these functions
// (its round(0x1.fffffffffffffp-2) is 1, fdim(-inf, -inf) NaN, modf(-1)'s
// fraction +0), so the comparisons with libm run where the C library is glibc.
#ifdef _WIN32
#define ARITH_NEEDS_EXACT_LIBM() GTEST_SKIP() << "the C runtime's libm is no exact reference here"
#else
#define ARITH_NEEDS_EXACT_LIBM() (void)0
#endif

// ---- running a kernel through all its entry points and forms --------------------
// Collects mismatches and reports the first few of each run.
template <class T>
struct Mismatches {
    explicit Mismatches(std::string what) : where(std::move(what)) {}
    std::string where;
    int count = 0;
    std::ostringstream first;
    void add(size_t i, const std::string& args, T got, T want) {
        if (count++ < 3) first << "\n  [" << i << "] " << args << ": got " << show(got) << ", want " << show(want);
    }
    void add_clobber(size_t i) {
        if (count++ < 3) first << "\n  memory at " << i << " outside the written range changed";
    }
    ~Mismatches() { EXPECT_EQ(count, 0) << where << first.str(); }
};

template <class T>
T sentinel() {
    return T(-12345.75);
}

// Lengths that exercise empty runs, lone tails, odd tails and the blocked
// path; strides for (input, output).
inline const int kLengths[] = {0, 1, 3, 17, 1001};
inline const int kStrides[][2] = {{2, 2}, {3, 2}, {1, 3}, {2, 1}};

// Checks results against want(i) of every element of the inputs.  The whole
// sweep goes through the plain HA entry; every entry point then runs the
// lengths above, contiguous and strided.  Memory outside the written range
// must keep its sentinel.
template <class T, class Want, class Equal>
void check_unary(const Row<Unary<T>, UnaryI<T>>& row, const std::vector<T>& x, Want want, Equal equal) {
    const size_t n = x.size();
    std::vector<T> expected(n);
    for (size_t i = 0; i < n; ++i) expected[i] = want(x[i]);
    auto verify = [&](Mismatches<T>& m, const T* r, ptrdiff_t inc, size_t len, size_t span) {
        for (size_t k = 0; k < span; ++k) {
            if (k % inc == 0 && k / inc < len) {
                size_t i = k / inc;
                if (!equal(r[k], expected[i], x[i])) m.add(i, show(x[i]), r[k], expected[i]);
            } else if (!same(r[k], sentinel<T>())) {
                m.add_clobber(k);
            }
        }
    };
    {
        std::vector<T> r(n + 4, sentinel<T>());
        row.contiguous.slot[0](int(n), x.data(), r.data());
        Mismatches<T> m{std::string(row.contiguous.name) + " sweep"};
        verify(m, r.data(), 1, n, n + 4);
    }
    for (int s = 0; s < 4; ++s) {
        for (int len : kLengths) {
            if (size_t(len) > n) continue;
            const size_t offset = (n - len) / 2;
            std::vector<T> r(len + 4, sentinel<T>());
            row.contiguous.slot[s](len, x.data() + offset, r.data());
            Mismatches<T> m{std::string(row.contiguous.name) + " slot " + std::to_string(s) + " n=" +
                            std::to_string(len)};
            for (size_t k = 0; k < r.size(); ++k) {
                if (k < size_t(len)) {
                    if (!equal(r[k], expected[offset + k], x[offset + k]))
                        m.add(offset + k, show(x[offset + k]), r[k], expected[offset + k]);
                } else if (!same(r[k], sentinel<T>())) {
                    m.add_clobber(k);
                }
            }
        }
        for (const auto& st : kStrides) {
            const size_t len = std::min<size_t>(n, 1001);
            std::vector<T> a(len * st[0] + 1, std::numeric_limits<T>::quiet_NaN());
            for (size_t i = 0; i < len; ++i) a[i * st[0]] = x[i];
            std::vector<T> r(len * st[1] + 3, sentinel<T>());
            row.strided.slot[s](int(len), a.data(), st[0], r.data(), st[1]);
            Mismatches<T> m{std::string(row.strided.name) + " slot " + std::to_string(s) + " strides " +
                            std::to_string(st[0]) + "," + std::to_string(st[1])};
            verify(m, r.data(), st[1], len, r.size());
        }
    }
}

// The entries may be any callables, e.g. kernels with bound parameters.
template <class T, class C, class S, class Want, class Equal>
void check_binary(const Row<C, S>& row, const std::vector<T>& x, const std::vector<T>& y, Want want, Equal equal) {
    const size_t n = x.size();
    std::vector<T> expected(n);
    for (size_t i = 0; i < n; ++i) expected[i] = want(x[i], y[i]);
    auto args = [&](size_t i) { return show(x[i]) + ", " + show(y[i]); };
    auto verify = [&](Mismatches<T>& m, const T* r, ptrdiff_t inc, size_t len, size_t span, size_t offset) {
        for (size_t k = 0; k < span; ++k) {
            if (k % inc == 0 && k / inc < len) {
                size_t i = offset + k / inc;
                if (!equal(r[k], expected[i], x[i], y[i])) m.add(i, args(i), r[k], expected[i]);
            } else if (!same(r[k], sentinel<T>())) {
                m.add_clobber(k);
            }
        }
    };
    {
        std::vector<T> r(n + 4, sentinel<T>());
        row.contiguous.slot[0](int(n), x.data(), y.data(), r.data());
        Mismatches<T> m{std::string(row.contiguous.name) + " sweep"};
        verify(m, r.data(), 1, n, n + 4, 0);
    }
    for (int s = 0; s < 4; ++s) {
        for (int len : kLengths) {
            if (size_t(len) > n) continue;
            const size_t offset = (n - len) / 2;
            std::vector<T> r(len + 4, sentinel<T>());
            row.contiguous.slot[s](len, x.data() + offset, y.data() + offset, r.data());
            Mismatches<T> m{std::string(row.contiguous.name) + " slot " + std::to_string(s) + " n=" +
                            std::to_string(len)};
            verify(m, r.data(), 1, len, r.size(), offset);
        }
        for (const auto& st : kStrides) {
            const size_t len = std::min<size_t>(n, 1001);
            std::vector<T> a(len * st[0] + 1, std::numeric_limits<T>::quiet_NaN());
            std::vector<T> b(len * st[1] + 1, std::numeric_limits<T>::quiet_NaN());
            for (size_t i = 0; i < len; ++i) {
                a[i * st[0]] = x[i];
                b[i * st[1]] = y[i];
            }
            std::vector<T> r(len * st[0] + 3, sentinel<T>());
            row.strided.slot[s](int(len), a.data(), st[0], b.data(), st[1], r.data(), st[0]);
            Mismatches<T> m{std::string(row.strided.name) + " slot " + std::to_string(s) + " strides " +
                            std::to_string(st[0]) + "," + std::to_string(st[1])};
            verify(m, r.data(), st[0], len, r.size(), 0);
        }
    }
}

// Exact agreement (NaN matches any NaN).
struct Exact {
    template <class T, class... Args>
    bool operator()(T got, T want, Args...) const {
        return same(got, want);
    }
};

// ---- scoped mode and callback ---------------------------------------------------
// Sets the given fields of the mode for the scope.  On exit the previous
// mode is set again; a flush-to-zero field that was 0 comes back as 0x140000
// (off), the only way to switch it off through SetMode.
class ScopedMode {
public:
    explicit ScopedMode(uint32_t fields) : previous_(_lumSetMode(fields)) {}
    ~ScopedMode() {
        uint32_t back = previous_;
        if ((back & QOR_VM_FTZDAZ_MASK) == 0) back |= QOR_VM_FTZDAZ_OFF;
        _lumSetMode(back);
    }
    ScopedMode(const ScopedMode&) = delete;
    ScopedMode& operator=(const ScopedMode&) = delete;

private:
    uint32_t previous_;
};

// Records every report of the scope; the error mode is callback only, so no
// errno, message or x87 flag is produced.
class ReportLog {
public:
    ReportLog() : mode_(QOR_VM_ERRMODE_CALLBACK) {
        records().clear();
        replacement() = std::numeric_limits<double>::quiet_NaN();
        previous_ = _lumSetErrorCallBack(&ReportLog::callback);
        _lumClearErrStatus();
        _lumSetInterfInputVectorPointer(nullptr);  // indices relative to the kernel's own arrays
    }
    ~ReportLog() { _lumSetErrorCallBack(previous_); }
    ReportLog(const ReportLog&) = delete;
    ReportLog& operator=(const ReportLog&) = delete;

    static std::vector<qor_vm_error_record>& records() {
        static thread_local std::vector<qor_vm_error_record> r;
        return r;
    }
    // When not NaN, the callback writes this as the result and returns 0.
    static double& replacement() {
        static thread_local double v;
        return v;
    }

private:
    static int32_t callback(qor_vm_error_record* record) {
        records().push_back(*record);
        if (std::isnan(replacement())) return 1;
        record->res1 = replacement();
        return 0;
    }
    ScopedMode mode_;
    qor_vm_error_callback previous_;
};

}  // namespace arith_test
