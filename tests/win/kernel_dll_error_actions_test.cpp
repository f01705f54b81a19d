// The default actions of the error path on Windows, through the kernel DLL:
// errno of the caller's C runtime (and of the Universal CRT when the process
// has it), a message on standard error only while the process has a
// standard-error handle, and a trap delivered as a structured exception.
#include <gtest/gtest.h>

#include <windows.h>

#include <cerrno>
#include <cfloat>
#include <cmath>
#include <limits>
#include <string>

#include "qor/qor_vm.h"
#include "vm/frame_support.h"
#include "win/win_support.h"

using frame_test::capture_stderr;
using frame_test::on_fresh_thread;
using win_test::FloatExceptionCatcher;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr int kEdom = 33, kErange = 34;

using ErrnoAccessor = int* (*)(void);
using SetModeFn = uint32_t (*)(uint32_t);
using BinaryFn = void (*)(int, const double*, const double*, double*);
using SetBaseFn = const void* (*)(const void*);

// A fresh thread with the input base set, so that reports index from 0.
template <class F>
void on_clean_thread(F&& f) {
    on_fresh_thread([&] {
        qor_lum_kernel_SetInterfInputVectorPointer(nullptr);
        f();
    });
}

}  // namespace

TEST(ErrnoAction, SetsErrnoWhereTheCallerReadsIt) {
    on_clean_thread([] {
        const double inf[1] = {kInf}, big[1] = {DBL_MAX}, one[1] = {1}, zero[1] = {0};
        double r[1];
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_ERRNO);
        errno = 0;
        _lumdSub(1, inf, inf, r);  // domain
        EXPECT_EQ(errno, kEdom);
        errno = 0;
        _lumdAdd(1, big, big, r);  // overflow
        EXPECT_EQ(errno, kErange);
        errno = 0;
        _lumdDiv(1, one, zero, r);  // pole
        EXPECT_EQ(errno, kErange);
        // Without the errno bit errno is left alone.
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_IGNORE);
        errno = 0;
        _lumdSub(1, inf, inf, r);
        EXPECT_EQ(errno, 0);
    });
}

TEST(ErrnoAction, SetsErrnoOfTheUniversalRuntimeWhenLoaded) {
    // A caller built on the Universal CRT reads errno from ucrtbase.dll.  A
    // kernel DLL loaded after it (a fresh copy: the runtimes are looked up
    // once per load) sets errno there as well as in MSVCRT.
    const HMODULE ucrt = LoadLibraryA("ucrtbase.dll");
    if (!ucrt) GTEST_SKIP() << "no ucrtbase.dll on this system";
    const auto ucrt_errno = reinterpret_cast<ErrnoAccessor>(reinterpret_cast<void*>(GetProcAddress(ucrt, "_errno")));
    ASSERT_NE(ucrt_errno, nullptr);
    {
        win_test::KernelCopy kernels;
        ASSERT_TRUE(kernels.loaded());
        const auto set_mode = kernels.get<SetModeFn>("qor_lum_kernel_SetMode");
        const auto set_base = kernels.get<SetBaseFn>("qor_lum_kernel_SetInterfInputVectorPointer");
        const auto sub = kernels.get<BinaryFn>("_lumdSub");
        const auto add = kernels.get<BinaryFn>("_lumdAdd");
        ASSERT_TRUE(set_mode && set_base && sub && add);
        on_fresh_thread([&] {
            const double inf[1] = {kInf}, big[1] = {DBL_MAX};
            double r[1];
            set_base(nullptr);
            set_mode(QOR_VM_ERRMODE_ERRNO);
            *ucrt_errno() = 0;
            errno = 0;
            sub(1, inf, inf, r);
            EXPECT_EQ(*ucrt_errno(), kEdom);
            EXPECT_EQ(errno, kEdom);
            add(1, big, big, r);
            EXPECT_EQ(*ucrt_errno(), kErange);
        });
    }
    FreeLibrary(ucrt);
}

TEST(ErrnoAction, AnOlderRuntimeEarlierInTheSearchWins) {
    // MSVCR100.DLL comes before MSVCRT.DLL in the search: a program on the
    // Visual C++ 2010 runtime gets errno there, and MSVCRT's is left alone.
    const HMODULE msvcr100 = LoadLibraryA("msvcr100.dll");
    if (!msvcr100) GTEST_SKIP() << "no msvcr100.dll on this system";
    const auto old_errno =
        reinterpret_cast<ErrnoAccessor>(reinterpret_cast<void*>(GetProcAddress(msvcr100, "_errno")));
    ASSERT_NE(old_errno, nullptr);
    {
        win_test::KernelCopy kernels;
        ASSERT_TRUE(kernels.loaded());
        const auto set_mode = kernels.get<SetModeFn>("qor_lum_kernel_SetMode");
        const auto set_base = kernels.get<SetBaseFn>("qor_lum_kernel_SetInterfInputVectorPointer");
        const auto sub = kernels.get<BinaryFn>("_lumdSub");
        ASSERT_TRUE(set_mode && set_base && sub);
        on_fresh_thread([&] {
            const double inf[1] = {kInf};
            double r[1];
            set_base(nullptr);
            set_mode(QOR_VM_ERRMODE_ERRNO);
            *old_errno() = 0;
            errno = 0;
            sub(1, inf, inf, r);
            EXPECT_EQ(*old_errno(), kEdom);
            EXPECT_EQ(errno, 0);
        });
    }
    FreeLibrary(msvcr100);
}

TEST(StderrAction, PrintsTheReportWhileStandardErrorExists) {
    on_clean_thread([] {
        const double big[1] = {DBL_MAX};
        double r[1];
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_STDERR);
        const std::string printed = capture_stderr([&] { _lumdAdd(1, big, big, r); });
        EXPECT_NE(printed.find("qor: vdAdd: overflow"), std::string::npos) << printed;
        EXPECT_NE(printed.find("a[0] = 1.7976931348623157e+308"), std::string::npos) << printed;
        EXPECT_TRUE(std::isinf(r[0]));
        // A process without a standard-error handle (a GUI program, say)
        // gets no message, even with the C runtime's descriptor 2 open.
        const std::string silent = capture_stderr([&] {
            const HANDLE saved = GetStdHandle(STD_ERROR_HANDLE);
            SetStdHandle(STD_ERROR_HANDLE, nullptr);
            _lumdAdd(1, big, big, r);
            SetStdHandle(STD_ERROR_HANDLE, INVALID_HANDLE_VALUE);
            _lumdAdd(1, big, big, r);
            SetStdHandle(STD_ERROR_HANDLE, saved);
        });
        EXPECT_EQ(silent, "");
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), QOR_VM_STATUS_OVERFLOW);  // still recorded
    });
}

TEST(ExceptAction, TrapBitsDeliverTheMatchingStructuredException) {
    FloatExceptionCatcher catcher;
    const double inf[1] = {kInf}, big[1] = {DBL_MAX}, one[1] = {1}, zero[1] = {0};
    on_clean_thread([&] {
        double r[1] = {0};
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_EXCEPT | QOR_VM_TRAP_INVALID);
        _lumdSub(1, inf, inf, r);
        EXPECT_EQ(catcher.take(), std::vector<DWORD>{win_test::kFltInvalid});
        EXPECT_TRUE(std::isnan(r[0]));  // the run goes on after the handler
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), QOR_VM_STATUS_DOMAIN);

        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_EXCEPT | QOR_VM_TRAP_DIVBYZERO);
        _lumdDiv(1, one, zero, r);
        EXPECT_EQ(catcher.take(), std::vector<DWORD>{win_test::kFltZeroDivide});
        _lumdSub(1, inf, inf, r);  // invalid is no longer trapped
        EXPECT_TRUE(catcher.take().empty());

        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_DEFAULT | QOR_VM_TRAP_OVERFLOW);
        _lumdAdd(1, big, big, r);
        EXPECT_EQ(catcher.take(), std::vector<DWORD>{win_test::kFltOverflow});
        EXPECT_TRUE(std::isinf(r[0]));
        // The caller's x87 exceptions stay masked afterwards.
        EXPECT_EQ(frame_test::x87_control() & 0x3F, 0x3F);
        frame_test::x87_clear();
    });
}

TEST(ExceptAction, WithoutATrapBitTheFlagIsRaisedQuietly) {
    FloatExceptionCatcher catcher;
    on_clean_thread([&] {
        const double inf[1] = {kInf};
        double r[1];
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_EXCEPT);
        frame_test::x87_clear();
        _lumdSub(1, inf, inf, r);
        EXPECT_TRUE(catcher.take().empty());
        EXPECT_EQ(frame_test::x87_status() & frame_test::kX87Flags, frame_test::kX87Invalid);
        frame_test::x87_clear();
    });
}
