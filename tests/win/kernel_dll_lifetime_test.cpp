// The kernel DLL's per-thread state over the life of threads and of the DLL
// itself, seen from outside: the records live in a private heap of their
// own, a thread's record goes when the thread ends, and an unload at run
// time destroys the heap.
#include <gtest/gtest.h>

#include <windows.h>

#include <thread>
#include <vector>

#include "win/win_support.h"

using win_test::busy_blocks;
using win_test::KernelCopy;
using win_test::new_heaps;
using win_test::process_heaps;

namespace {

using GetModeFn = uint32_t (*)(void);

// A thread that touches the state, says so, and ends when told to.
struct Toucher {
    GetModeFn get_mode;
    HANDLE touched = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    HANDLE finish = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    ~Toucher() {
        CloseHandle(touched);
        CloseHandle(finish);
    }
};

DWORD WINAPI touch_state(void* arg) {
    auto* t = static_cast<Toucher*>(arg);
    t->get_mode();
    SetEvent(t->touched);
    WaitForSingleObject(t->finish, INFINITE);
    return 0;
}

}  // namespace

TEST(KernelDllLifetime, RecordsLiveInAPrivateHeapUntilTheirThreadEnds) {
    KernelCopy kernels;
    ASSERT_TRUE(kernels.loaded());
    const auto get_mode = kernels.get<GetModeFn>("qor_lum_kernel_GetMode");
    ASSERT_NE(get_mode, nullptr);

    // The heap is made on first need, not at load.
    const std::set<HANDLE> before = process_heaps();
    EXPECT_EQ(get_mode(), 0x1A02u);
    const std::vector<HANDLE> made = new_heaps(before, process_heaps());
    ASSERT_EQ(made.size(), 1u);
    const HANDLE heap = made[0];
    const long with_main = busy_blocks(heap);
    EXPECT_GE(with_main, 1);

    // Threads of the OS and of the C++ library alike: each thread's record
    // is freed when DllMain hears of its end.
    Toucher toucher{get_mode};
    const HANDLE t = CreateThread(nullptr, 0, touch_state, &toucher, 0, nullptr);
    ASSERT_NE(t, nullptr);
    WaitForSingleObject(toucher.touched, INFINITE);
    EXPECT_EQ(busy_blocks(heap), with_main + 1);
    SetEvent(toucher.finish);
    WaitForSingleObject(t, INFINITE);
    CloseHandle(t);
    EXPECT_EQ(busy_blocks(heap), with_main);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([&] { get_mode(); });
    for (std::thread& th : threads) th.join();
    EXPECT_EQ(busy_blocks(heap), with_main);
}

TEST(KernelDllLifetime, UnloadDestroysThePrivateHeap) {
    const std::set<HANDLE> before = process_heaps();
    {
        KernelCopy kernels;
        ASSERT_TRUE(kernels.loaded());
        kernels.get<GetModeFn>("qor_lum_kernel_GetMode")();
        EXPECT_EQ(new_heaps(before, process_heaps()).size(), 1u);
        kernels.unload();
        EXPECT_TRUE(new_heaps(before, process_heaps()).empty());
    }
    // Loaded again, the library starts afresh: new slot, new heap, the mode
    // from the environment.
    KernelCopy again;
    ASSERT_TRUE(again.loaded());
    EXPECT_EQ(again.get<GetModeFn>("qor_lum_kernel_GetMode")(), 0x1A02u);
    EXPECT_EQ(new_heaps(before, process_heaps()).size(), 1u);
}
