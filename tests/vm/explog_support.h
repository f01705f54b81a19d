// Shared pieces of the exponential and logarithm tests: thresholds with
// their neighbours, the strided-against-contiguous check and a scoped mode
// with a recording callback.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "../support/ulp_oracle.h"
#include "qor/qor_vm.h"

namespace explog_test {

using qor::test::MpfrUnary;
using qor::test::UnaryKernel;

template <class T>
using Strided = void (*)(int, const T*, int, T*, int);

template <class T>
T next_up(T x) { return std::nextafter(x, std::numeric_limits<T>::infinity()); }
template <class T>
T next_down(T x) { return std::nextafter(x, -std::numeric_limits<T>::infinity()); }

// Each threshold with its neighbours, k steps either way.
template <class T>
std::vector<T> around(std::initializer_list<T> points, int k = 3) {
    std::vector<T> v;
    for (T p : points) {
        T up = p, down = p;
        v.push_back(p);
        for (int s = 0; s < k; ++s) {
            up = next_up(up);
            down = next_down(down);
            v.push_back(up);
            v.push_back(down);
        }
    }
    return v;
}

template <class T>
auto bits_of(T x) {
    return std::bit_cast<std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>(x);
}

// Ulp limits for "at least `bits` correct bits" in the precision of T.
template <class T>
constexpr double bits_limit(int bits) {
    return std::ldexp(1.0, std::numeric_limits<T>::digits - 1 - bits);
}

// Runs the kernel on the arguments and returns the results.
template <class T>
std::vector<T> run(UnaryKernel<T> k, const std::vector<T>& args) {
    std::vector<T> out(args.size());
    k(int(args.size()), args.data(), out.data());
    return out;
}

// A strided kernel must give, element by element, the contiguous kernel's
// results; elements between the strided ones stay untouched.
template <class T>
void expect_strided_matches(UnaryKernel<T> contiguous, Strided<T> strided, const std::vector<T>& args) {
    const int n = int(args.size());
    std::vector<T> want(n), spread(3 * n), out(2 * n, T(-7));
    contiguous(n, args.data(), want.data());
    for (int i = 0; i < n; ++i) spread[3 * i] = args[i];
    strided(n, spread.data(), 3, out.data(), 2);
    for (int i = 0; i < n; ++i) {
        EXPECT_EQ(bits_of(out[2 * i]), bits_of(want[i])) << "element " << i << " x = " << args[i];
        EXPECT_EQ(out[2 * i + 1], T(-7));
    }
    std::vector<T> unit(n);
    strided(n, args.data(), 1, unit.data(), 1);
    for (int i = 0; i < n; ++i)
        EXPECT_TRUE(unit[i] == want[i] || (std::isnan(unit[i]) && std::isnan(want[i]))) << "x = " << args[i];
}

// Sets the mode for the scope (callback-only reporting by default) and
// records every report through the callback.
class Reports {
public:
    explicit Reports(uint32_t mode = QOR_VM_ERRMODE_CALLBACK | QOR_VM_HA) {
        saved_mode_ = qor_lum_kernel_GetMode();
        saved_callback_ = qor_lum_kernel_SetErrorCallBack(&Reports::record);
        qor_lum_kernel_SetMode(mode);
        qor_lum_kernel_ClearErrStatus();
        qor_lum_kernel_SetInterfInputVectorPointer(nullptr);
        log().clear();
    }
    ~Reports() {
        qor_lum_kernel_SetErrorCallBack(saved_callback_);
        qor_lum_kernel_SetMode((saved_mode_ & QOR_VM_FTZDAZ_MASK) ? saved_mode_ : saved_mode_ | QOR_VM_FTZDAZ_OFF);
        qor_lum_kernel_ClearErrStatus();
    }
    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;

    static std::vector<qor_vm_error_record>& log() {
        static thread_local std::vector<qor_vm_error_record> records;
        return records;
    }
    // Code reported for element i, 0 when none.
    static int code_at(int i) {
        for (const auto& r : log())
            if (r.index == i) return r.code;
        return 0;
    }

private:
    static int32_t record(qor_vm_error_record* r) {
        log().push_back(*r);
        return 0;
    }
    uint32_t saved_mode_;
    qor_vm_error_callback saved_callback_;
};

template <class T>
constexpr T inf = std::numeric_limits<T>::infinity();
template <class T>
constexpr T nan = std::numeric_limits<T>::quiet_NaN();

// A special value: the argument, the result wanted and the code reported
// for it (0 for none).  A wanted NaN takes any NaN, kPositiveSubnormal any
// positive subnormal; zeros and infinities are compared bit for bit, other
// values within a relative tolerance.
constexpr double kPositiveSubnormal = -42;
template <class T>
struct Case {
    T x;
    T want;
    int code;
};

// Runs each kernel (the slots of a row) over the cases' arguments in one
// call under `mode` and checks every result and code.
template <class T>
void expect_cases(std::initializer_list<UnaryKernel<T>> kernels, const std::vector<Case<T>>& cases, const char* what,
                  uint32_t mode = QOR_VM_ERRMODE_CALLBACK | QOR_VM_HA, double tolerance = 1e-7) {
    std::vector<T> args;
    for (const auto& c : cases) args.push_back(c.x);
    int slot = 0;
    for (auto kernel : kernels) {
        Reports reports(mode);
        const auto y = run<T>(kernel, args);
        for (std::size_t i = 0; i < cases.size(); ++i) {
            const auto& c = cases[i];
            const auto where = [&] { return ::testing::Message() << what << " slot " << slot << " x = " << c.x << " got " << y[i]; };
            if (std::isnan(c.want)) EXPECT_TRUE(std::isnan(y[i])) << where();
            else if (c.want == T(kPositiveSubnormal)) EXPECT_TRUE(y[i] > 0 && y[i] < std::numeric_limits<T>::min()) << where();
            else if (std::isfinite(c.want) && c.want != 0) EXPECT_NEAR(y[i], c.want, std::fabs(c.want) * tolerance) << where();
            else EXPECT_EQ(bits_of(y[i]), bits_of(c.want)) << where();
            EXPECT_EQ(Reports::code_at(int(i)), c.code) << where();
        }
        ++slot;
    }
}

}  // namespace explog_test
