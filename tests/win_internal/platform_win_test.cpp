// The Windows platform layer of the vector-math frame, white-box: the module
// notifications that DllMain (or, in a program, the TLS callback) passes on,
// the private heap as a real Windows heap, the caller's last-error code kept
// across state access, errno, the standard-error check, and each status
// code's trap as a structured exception.
#include <gtest/gtest.h>

#include <windows.h>

#include <cerrno>
#include <set>
#include <string>
#include <vector>

#include "qor/qor_serv.h"
#include "qor/qor_vm.h"
#include "vm/frame/error_report.h"
#include "vm/frame/platform.h"
#include "vm/frame/platform_win.h"
#include "vm/frame/thread_state.h"
#include "vm/frame_support.h"
#include "win/win_support.h"

using frame_test::on_fresh_thread;
using qor::platform::heap_exists;
using qor::platform::heap_live_blocks;
using qor::platform::on_module_notification;
using qor::platform::slot_allocated;
using qor::platform::slot_get;

namespace {

DWORD WINAPI touch_state(void*) {
    qor_lum_kernel_GetMode();
    return 0;
}

}  // namespace

TEST(PlatformWin, ThreadDetachFreesOnlyThatThreadsRecord) {
    qor_lum_kernel_GetMode();
    const long before = heap_live_blocks();
    on_fresh_thread([&] {
        qor_lum_kernel_SetMode(QOR_VM_EP);
        EXPECT_EQ(heap_live_blocks(), before + 1);
        EXPECT_TRUE(on_module_notification(DLL_THREAD_DETACH, nullptr));
        EXPECT_EQ(heap_live_blocks(), before);
        EXPECT_EQ(slot_get(), nullptr);
        // A later use on the same thread starts a new record from the environment.
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1A02u);
        EXPECT_EQ(heap_live_blocks(), before + 1);
    });
    EXPECT_EQ(heap_live_blocks(), before);  // the real thread exit freed the second one
}

TEST(PlatformWin, ThreadsOfTheOsAreCleanedUpToo) {
    qor_lum_kernel_GetMode();
    const long before = heap_live_blocks();
    const HANDLE t = CreateThread(nullptr, 0, touch_state, nullptr, 0, nullptr);
    ASSERT_NE(t, nullptr);
    WaitForSingleObject(t, INFINITE);
    CloseHandle(t);
    EXPECT_EQ(heap_live_blocks(), before);
}

TEST(PlatformWin, ProcessTerminationFreesNothingButUnloadFreesAll) {
    qor_lum_kernel_GetMode();
    const long live = heap_live_blocks();
    ASSERT_GE(live, 1);
    int not_null = 0;
    // At process termination (reserved not null) the state is left as it is.
    EXPECT_TRUE(on_module_notification(DLL_PROCESS_DETACH, &not_null));
    EXPECT_EQ(heap_live_blocks(), live);
    EXPECT_TRUE(slot_allocated());
    EXPECT_TRUE(heap_exists());

    // An unload at run time releases the slot and destroys the heap, a real
    // heap of the process.
    const std::set<HANDLE> heaps = win_test::process_heaps();
    EXPECT_TRUE(on_module_notification(DLL_PROCESS_DETACH, nullptr));
    EXPECT_EQ(heap_live_blocks(), 0);
    EXPECT_FALSE(slot_allocated());
    EXPECT_FALSE(heap_exists());
    EXPECT_EQ(win_test::process_heaps().size() + 1, heaps.size());

    // Attaching again takes a slot; the heap comes back on first need.
    EXPECT_TRUE(on_module_notification(DLL_PROCESS_ATTACH, nullptr));
    EXPECT_TRUE(slot_allocated());
    EXPECT_FALSE(heap_exists());
    EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1A02u);
    EXPECT_TRUE(heap_exists());
    EXPECT_EQ(heap_live_blocks(), 1);
    EXPECT_EQ(win_test::process_heaps().size(), heaps.size());
}

TEST(PlatformWin, AttachFailsWhenNoThreadLocalSlotIsLeft) {
    ASSERT_TRUE(on_module_notification(DLL_PROCESS_DETACH, nullptr));  // as after an unload
    const std::string expected = frame_test::capture_stderr([] { qor_serv_print(1, 773); });
    bool attached = true;
    const std::string printed = frame_test::capture_stderr([&] {
        std::vector<DWORD> taken;
        for (DWORD index; (index = TlsAlloc()) != TLS_OUT_OF_INDEXES;) taken.push_back(index);
        attached = on_module_notification(DLL_PROCESS_ATTACH, nullptr);
        for (DWORD index : taken) TlsFree(index);
    });
    EXPECT_FALSE(attached);  // DllMain answers FALSE: the DLL does not load
    EXPECT_FALSE(slot_allocated());
    EXPECT_EQ(printed, expected);
    EXPECT_TRUE(on_module_notification(DLL_PROCESS_ATTACH, nullptr));
    EXPECT_TRUE(slot_allocated());
}

TEST(PlatformWin, StateAccessKeepsTheCallersLastError) {
    on_fresh_thread([] {
        SetLastError(0xBEEF);
        qor_lum_kernel_GetMode();  // creates the record
        EXPECT_EQ(GetLastError(), 0xBEEFu);
        SetLastError(0xCAFE);
        qor_lum_kernel_GetErrStatus();  // finds it
        EXPECT_EQ(GetLastError(), 0xCAFEu);
    });
}

TEST(PlatformWin, ErrnoAndStandardErrorOfTheProcess) {
    errno = 0;
    qor::platform::set_caller_errno(ERANGE);
    EXPECT_EQ(errno, ERANGE);
    const HANDLE saved = GetStdHandle(STD_ERROR_HANDLE);
    EXPECT_TRUE(qor::platform::stderr_available());
    SetStdHandle(STD_ERROR_HANDLE, nullptr);
    EXPECT_FALSE(qor::platform::stderr_available());
    SetStdHandle(STD_ERROR_HANDLE, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(qor::platform::stderr_available());
    SetStdHandle(STD_ERROR_HANDLE, saved);
    EXPECT_TRUE(qor::platform::stderr_available());
}

TEST(PlatformWin, EachStatusCodeTrapsAsItsOwnStructuredException) {
    win_test::FloatExceptionCatcher catcher;
    const struct {
        int code;
        uint32_t trap;
        DWORD exception;
    } table[] = {{QOR_VM_STATUS_DOMAIN, QOR_VM_TRAP_INVALID, win_test::kFltInvalid},
                 {QOR_VM_STATUS_SING, QOR_VM_TRAP_DIVBYZERO, win_test::kFltZeroDivide},
                 {QOR_VM_STATUS_OVERFLOW, QOR_VM_TRAP_OVERFLOW, win_test::kFltOverflow},
                 {QOR_VM_STATUS_UNDERFLOW, QOR_VM_TRAP_UNDERFLOW, win_test::kFltUnderflow}};
    for (const auto& row : table) {
        on_fresh_thread([&] {
            qor::vm::thread_state()->base = nullptr;
            qor_lum_kernel_SetMode(QOR_VM_ERRMODE_EXCEPT | row.trap);
            double x[1] = {1}, r[1] = {2};
            qor::vm::report<double>(row.code, 0, x, x, r, r, "vdTest");
            EXPECT_EQ(catcher.take(), std::vector<DWORD>{row.exception}) << "code " << row.code;
            // The flag stays raised, masked, after the handler resumed.
            const uint16_t flag = static_cast<uint16_t>(row.exception == win_test::kFltInvalid ? 0x01
                                                        : row.exception == win_test::kFltZeroDivide ? 0x04
                                                        : row.exception == win_test::kFltOverflow   ? 0x08
                                                                                                     : 0x10);
            EXPECT_EQ(frame_test::x87_status() & frame_test::kX87Flags, flag) << "code " << row.code;
            EXPECT_EQ(frame_test::x87_control() & 0x3F, 0x3F);
            frame_test::x87_clear();
        });
    }
}
