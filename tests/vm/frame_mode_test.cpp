// The per-thread mode word, error status and callback services: the first
// mode of a thread from QOR_LUM_MODE, SetMode's field merging, the callback
// services' mode updates, both export names of every service, and the
// independence of threads.
#include <gtest/gtest.h>

#include <string>

#include "frame_support.h"
#include "qor/qor_vm.h"

using frame_test::on_fresh_thread;
using frame_test::ScopedEnv;

namespace {

// Mode a new thread starts with under the given QOR_LUM_MODE.
uint32_t first_mode_under(const char* value) {
    ScopedEnv env("QOR_LUM_MODE", value);
    uint32_t mode = 0;
    on_fresh_thread([&] { mode = qor_lum_kernel_GetMode(); });
    return mode;
}

int32_t any_callback(qor_vm_error_record*) { return 0; }
int32_t other_callback(qor_vm_error_record*) { return 1; }

class FrameMode : public ::testing::Test {
protected:
    ScopedEnv env_{"QOR_LUM_MODE", nullptr};
};

}  // namespace

// The parser's token table and limits are covered in the white-box tests;
// here the variable reaches a new thread's mode through the exports.
TEST(FrameEnvironmentMode, TokensAreMergedAndBadListsGiveTheDefault) {
    EXPECT_EQ(first_mode_under("LUM_TRAP_INVALID,LUM_TRAP_OVERFLOW,LUM_ERRMODE_EXCEPT"), 0x5000802u);
    EXPECT_EQ(first_mode_under("LUM_ERRMODE_ERRNO,LUM_ERRMODE_STDERR,LUM_LA"), 0x601u);
    EXPECT_EQ(first_mode_under("LUM_FLOAT_CONSISTENT"), 0x1A12u);
    for (const char* text : {"", "LUM_HA ", "lum_HA", "LUM_EP;LUM_ERRMODE_STDERR"})
        EXPECT_EQ(first_mode_under(text), 0x1A02u) << '"' << text << '"';
    EXPECT_EQ(first_mode_under(nullptr), 0x1A02u);
}

TEST(FrameEnvironmentMode, EveryThreadReadsTheVariableOnFirstUse) {
    ScopedEnv env("QOR_LUM_MODE", "LUM_LA");
    const uint32_t main_mode = qor_lum_kernel_GetMode();
    uint32_t first = 0, second = 0;
    on_fresh_thread([&] { first = qor_lum_kernel_GetMode(); });
    setenv("QOR_LUM_MODE", "LUM_EP,LUM_ERRMODE_ERRNO", 1);
    on_fresh_thread([&] { second = _lumGetMode(); });
    EXPECT_EQ(first, 0x1A01u);
    EXPECT_EQ(second, 0x203u);
    // A thread that already has its mode keeps it.
    EXPECT_EQ(qor_lum_kernel_GetMode(), main_mode);
}

TEST_F(FrameMode, SetModeReplacesOnlyTheFieldsItGives) {
    on_fresh_thread([] {
        EXPECT_EQ(qor_lum_kernel_SetMode(0), 0x1A02u);  // returns the initialised previous mode
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1A02u);
        EXPECT_EQ(qor_lum_kernel_SetMode(0x200), 0x1A02u);
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x202u);
        EXPECT_EQ(qor_lum_kernel_SetMode(0x6001A00), 0x202u);
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x6001A02u);
        qor_lum_kernel_SetMode(0x1000000);  // one trap bit replaces the whole trap field
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1001A02u);
        qor_lum_kernel_SetMode(0x280000 | 0x10000 | QOR_VM_EP);
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1291A03u);
        qor_lum_kernel_SetMode(0x140000 | 0x20000);
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1161A03u);
        // Bits outside the five fields are ignored, alone or with others.
        for (uint32_t outside : {0xF0u, 0xC00000u, 0xF0000000u}) {
            EXPECT_EQ(qor_lum_kernel_SetMode(outside), 0x1161A03u) << std::hex << outside;
            EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1161A03u) << std::hex << outside;
        }
        qor_lum_kernel_SetMode(0xF0C000F1u);
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1161A01u);
    });
}

TEST_F(FrameMode, SetModeKeepsTheConsistencyFieldFromTheEnvironment) {
    ScopedEnv env("QOR_LUM_MODE", "LUM_RESTORE,LUM_EP");
    on_fresh_thread([] {
        EXPECT_EQ(qor_lum_kernel_SetMode(0x31), 0x1A33u);
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1A31u);
    });
}

TEST_F(FrameMode, BothNamesOfEveryServiceActOnTheSameState) {
    on_fresh_thread([] {
        EXPECT_EQ(_lumSetMode(QOR_VM_LA), 0x1A02u);
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1A01u);
        EXPECT_EQ(qor_lum_kernel_SetMode(0x400), 0x1A01u);
        EXPECT_EQ(_lumGetMode(), 0x401u);

        EXPECT_EQ(qor_lum_kernel_SetErrStatus(-7), 0);
        EXPECT_EQ(_lumGetErrStatus(), -7);
        EXPECT_EQ(_lumSetErrStatus(3), -7);
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), 3);
        EXPECT_EQ(_lumClearErrStatus(), 3);
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), 0);
        qor_lum_kernel_SetErrStatus(42);
        EXPECT_EQ(qor_lum_kernel_ClearErrStatus(), 42);
        EXPECT_EQ(_lumGetErrStatus(), 0);
        EXPECT_EQ(qor_lum_kernel_ClearErrStatus(), 0);

        EXPECT_EQ(_lumSetErrorCallBack(any_callback), nullptr);
        EXPECT_EQ(qor_lum_kernel_GetErrorCallBack(), any_callback);
        EXPECT_EQ(qor_lum_kernel_SetErrorCallBack(other_callback), any_callback);
        EXPECT_EQ(_lumGetErrorCallBack(), other_callback);
        EXPECT_EQ(_lumClearErrorCallBack(), other_callback);
        EXPECT_EQ(qor_lum_kernel_GetErrorCallBack(), nullptr);
        EXPECT_EQ(qor_lum_kernel_ClearErrorCallBack(), nullptr);

        int x = 0;
        EXPECT_EQ(qor_lum_kernel_SetInterfInputVectorPointer(&x), &x);
        EXPECT_EQ(_lumSetInterfInputVectorPointer(nullptr), nullptr);
    });
}

TEST_F(FrameMode, CallbackServicesSetAndClearTheCallbackBit) {
    on_fresh_thread([] {
        qor_lum_kernel_SetMode(0x200);
        qor_lum_kernel_SetErrorCallBack(any_callback);
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1202u);
        qor_lum_kernel_ClearErrorCallBack();
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x202u);
        qor_lum_kernel_SetErrorCallBack(any_callback);
        qor_lum_kernel_SetErrorCallBack(nullptr);  // a null callback clears the bit too
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x202u);
        EXPECT_EQ(qor_lum_kernel_GetErrorCallBack(), nullptr);
    });
    on_fresh_thread([] {
        EXPECT_EQ(qor_lum_kernel_SetErrorCallBack(any_callback), nullptr);
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1A02u);
        qor_lum_kernel_ClearErrorCallBack();
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0xA02u);
    });
}

TEST_F(FrameMode, ErrorModeOfOnlyTheCallbackBitKeepsIt) {
    on_fresh_thread([] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_CALLBACK);
        qor_lum_kernel_SetErrorCallBack(any_callback);
        EXPECT_EQ(qor_lum_kernel_ClearErrorCallBack(), any_callback);
        // The cleared field would be 0, which SetMode leaves alone.
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1002u);
        EXPECT_EQ(qor_lum_kernel_GetErrorCallBack(), nullptr);
        qor_lum_kernel_SetErrorCallBack(nullptr);
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1002u);
    });
}

TEST_F(FrameMode, StateBelongsToOneThread) {
    on_fresh_thread([] {
        qor_lum_kernel_SetMode(0x4000403);
        qor_lum_kernel_SetErrStatus(5);
        qor_lum_kernel_SetErrorCallBack(any_callback);
        const uint32_t mode = qor_lum_kernel_GetMode();
        on_fresh_thread([] {
            EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1A02u);
            EXPECT_EQ(qor_lum_kernel_GetErrStatus(), 0);
            EXPECT_EQ(qor_lum_kernel_GetErrorCallBack(), nullptr);
            qor_lum_kernel_SetMode(QOR_VM_LA);
            qor_lum_kernel_SetErrStatus(-1);
            qor_lum_kernel_SetErrorCallBack(other_callback);
        });
        EXPECT_EQ(qor_lum_kernel_GetMode(), mode);
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), 5);
        EXPECT_EQ(qor_lum_kernel_GetErrorCallBack(), any_callback);
    });
}
