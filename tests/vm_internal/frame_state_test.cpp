// Lifetime of the per-thread state records (created on first use, freed at
// thread exit and at unload), and the kernel tables holding exactly the
// kernels that each row's share column names.
#include <gtest/gtest.h>

#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "qor/qor_vm.h"
#include "vm/frame/kernel_decls.h"
#include "vm/frame/platform.h"
#include "vm/frame/thread_state.h"
#include "vm/frame_support.h"

using qor::platform::heap_live_blocks;

#define QOR_VM_ROW(p, Fn, kind, share, on, ...) \
    QOR_VM_IF_ON(on, extern "C" const qor_vm_kernel qor_vm_ttab_##p##Fn[3];)
#include "qor/vm_rows.def"
#undef QOR_VM_ROW

namespace {

int32_t no_callback(qor_vm_error_record*) { return 0; }

// A countdown latch on a mutex and a condition variable.  std::latch waits
// on an atomic, and MinGW's GCC 12 library can lose that wake-up when
// several threads wait at once.
class Latch {
public:
    explicit Latch(int count) : count_(count) {}
    void count_down() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (--count_ == 0) zero_.notify_all();
    }
    void wait() {
        std::unique_lock<std::mutex> lock(mutex_);
        zero_.wait(lock, [&] { return count_ <= 0; });
    }

private:
    std::mutex mutex_;
    std::condition_variable zero_;
    int count_;
};

// Each way of touching the state, one per thread.
void touch(int how) {
    static const double one[1] = {1.0};
    double r[1];
    switch (how % 8) {
        case 0: qor_lum_kernel_GetMode(); break;
        case 1: qor_lum_kernel_SetMode(QOR_VM_EP); break;
        case 2: qor_lum_kernel_SetErrStatus(3); break;
        case 3: qor_lum_kernel_GetErrorCallBack(); break;
        case 4: qor_lum_kernel_SetErrorCallBack(no_callback); break;
        case 5: qor_lum_kernel_SetInterfInputVectorPointer(one); break;
        case 6: qor_lum_kernel_GetTTableIndex(); break;
        case 7: _lumdAdd(1, one, one, r); break;  // the kernel reads the mode
    }
}

}  // namespace

TEST(FrameThreadState, EachThreadsRecordIsFreedWhenItEnds) {
    qor_lum_kernel_GetMode();  // the main thread's record exists already
    const long before = heap_live_blocks();
    constexpr int kThreads = 8;
    Latch touched(kThreads), release(1);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            touch(t);
            touched.count_down();
            release.wait();
        });
    touched.wait();
    EXPECT_EQ(heap_live_blocks(), before + kThreads);
    release.count_down();
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(heap_live_blocks(), before);
}

TEST(FrameThreadState, TableIndexOfAGivenModeCreatesNoRecord) {
    frame_test::on_fresh_thread([] {
        const long before = heap_live_blocks();
        EXPECT_EQ(qor_lum_kernel_GetTTableIndexM(nullptr, 0x1A03), 2);
        EXPECT_EQ(heap_live_blocks(), before);
        qor_lum_kernel_GetTTableIndex();
        EXPECT_EQ(heap_live_blocks(), before + 1);
    });
}

TEST(FrameThreadState, NewRecordStartsClearedAndTakesItsModeOnFirstUse) {
    frame_test::on_fresh_thread([] {
        qor::vm::ThreadState* s = qor::vm::thread_state();
        EXPECT_EQ(s->mode, 0u);
        EXPECT_EQ(s->status, 0);
        EXPECT_EQ(s->callback, nullptr);
        EXPECT_EQ(qor::vm::thread_state(), s);  // one record per thread
        EXPECT_EQ(qor::vm::current_mode(), 0x1A02u);
        EXPECT_EQ(s->mode, 0x1A02u);
    });
}

TEST(FrameThreadState, UnloadFreesEveryRecordAndStateComesBackOnNextUse) {
    qor_lum_kernel_SetMode(QOR_VM_LA);
    Latch touched(1), release(1);
    std::thread other([&] {
        touch(1);
        touched.count_down();
        release.wait();
    });
    touched.wait();
    EXPECT_GE(heap_live_blocks(), 2);
    qor::platform::on_detach();
    EXPECT_EQ(heap_live_blocks(), 0);
    EXPECT_FALSE(qor::platform::slot_allocated());
    release.count_down();
    other.join();
    EXPECT_EQ(heap_live_blocks(), 0);
    // Next use: a new slot, a new heap and a new record from the environment.
    frame_test::ScopedEnv env("QOR_LUM_MODE", nullptr);
    EXPECT_EQ(qor_lum_kernel_GetMode(), 0x1A02u);
    EXPECT_TRUE(qor::platform::slot_allocated());
    EXPECT_EQ(heap_live_blocks(), 1);
}

TEST(FrameTables, SlotsHoldTheKernelsTheShareColumnNames) {
    struct Expected {
        const char* row;
        const qor_vm_kernel* table;
        const qor_vm_kernel* exported;
        qor_vm_kernel slots[3];
    };
#define QOR_TEST_CAST(...) QOR_TEST_CAST_(__VA_ARGS__)
#define QOR_TEST_CAST_(k0, k1, k2) \
    {reinterpret_cast<qor_vm_kernel>(k0), reinterpret_cast<qor_vm_kernel>(k1), reinterpret_cast<qor_vm_kernel>(k2)}
#define QOR_VM_ROW(p, Fn, kind, share, on, ...)                                           \
    QOR_VM_IF_ON(on, {#p #Fn, qor_vm_ttab_##p##Fn, qor_lum_kernel_##p##Fn##_ttab,               \
                      QOR_TEST_CAST(QOR_VMK_SLOTS_##share(p, Fn))},)
    const Expected rows[] = {
#include "qor/vm_rows.def"
    };
#undef QOR_VM_ROW
#undef QOR_TEST_CAST_
#undef QOR_TEST_CAST
    for (const Expected& e : rows) {
        EXPECT_EQ(e.exported, e.table) << e.row;
        for (int slot = 0; slot < 3; ++slot) EXPECT_EQ(e.table[slot], e.slots[slot]) << e.row << " slot " << slot;
    }
}
