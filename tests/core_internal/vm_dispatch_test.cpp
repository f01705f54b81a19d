// Slot choice, per-call modes and the splitting of 64-bit counts, against
// a kernel set that merges modes field by field, as the real one does.
#include <gtest/gtest.h>

#include "fake_kernel_library.h"
#include "vm_dispatch.h"

namespace {

using qor::core::ScopedMode;

class Dispatch : public ::testing::Test {
protected:
    void SetUp() override { fake::mode = QOR_VM_MODE_DEFAULT; }
    const qor::core::KernelServices services = fake::services();
};

TEST_F(Dispatch, OnlyLaHaAndEpIndicesAreUsedAsSlots) {
    EXPECT_EQ(qor::core::checked_slot(0), 0);
    EXPECT_EQ(qor::core::checked_slot(1), 1);
    EXPECT_EQ(qor::core::checked_slot(2), 2);
    EXPECT_EQ(qor::core::checked_slot(-1), 1);
    EXPECT_EQ(qor::core::checked_slot(3), 1);
    EXPECT_EQ(qor::core::checked_slot(14), 1);
}

TEST_F(Dispatch, ThreadSlotFollowsTheThreadsAccuracy) {
    EXPECT_EQ(qor::core::thread_slot(services), 1);
    fake::mode = 0x1A01;
    EXPECT_EQ(qor::core::thread_slot(services), 0);
    fake::mode = 0x1A03;
    EXPECT_EQ(qor::core::thread_slot(services), 2);
    fake::mode = 0x1A07;  // an accuracy the kernel set has no slot for
    EXPECT_EQ(qor::core::thread_slot(services), 1);
}

TEST_F(Dispatch, CallModeAppliesDuringTheCallAndIsUndoneAfter) {
    const uint32_t call = QOR_VM_EP | QOR_VM_ERRMODE_IGNORE;
    {
        ScopedMode scope(services, call);
        EXPECT_EQ(scope.slot(), 2);
        EXPECT_EQ(fake::mode, uint32_t{0x0103});
    }
    EXPECT_EQ(fake::mode, uint32_t{QOR_VM_MODE_DEFAULT});
}

TEST_F(Dispatch, ZeroAccuracyUsesTheThreadsAccuracy) {
    fake::mode = 0x1A01;
    ScopedMode scope(services, QOR_VM_ERRMODE_STDERR);
    EXPECT_EQ(scope.slot(), 0);
}

TEST_F(Dispatch, UnknownAccuracyRunsHa) {
    ScopedMode scope(services, 0xE);
    EXPECT_EQ(scope.slot(), 1);
}

TEST_F(Dispatch, TheThreadsModeWordComesBackExactly) {
    // Fields the call sets where the thread has none (traps, flush-to-zero)
    // must go again, and the thread's own fields must return unchanged.
    const uint32_t with_fields = 0x4000000 | QOR_VM_FTZDAZ_ON | 0x10000 | 0x0403;
    const uint32_t calls[] = {QOR_VM_FTZDAZ_OFF, 0x1000000 | 0x20000 | 0x0201, 0, QOR_VM_FTZDAZ_ON | QOR_VM_LA,
                              QOR_VM_TRAP_INVALID | QOR_VM_TRAP_OVERFLOW};
    for (uint32_t thread : {uint32_t{QOR_VM_MODE_DEFAULT}, with_fields}) {
        for (uint32_t call : calls) {
            fake::mode = thread;
            { ScopedMode scope(services, call); }
            EXPECT_EQ(fake::mode, thread) << std::hex << thread << " " << call;
        }
    }
}

}  // namespace
