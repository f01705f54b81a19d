// Soak: ten thousand short-lived threads, a few dozen at a time, each with
// its own mode word and error callback making vector-math calls that report
// errors.  No thread may see another's mode or callback, and every thread's
// state record must be freed when the thread ends.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cmath>
#include <cstdlib>
#include <thread>
#include <vector>

#include "qor/qor_vm.h"
#include "vm/frame/platform.h"

using qor::platform::heap_live_blocks;

namespace {

#if defined(_WIN32)
constexpr int kThreads = 2000;  // under Wine a thread takes milliseconds to start
#else
constexpr int kThreads = 10000;
#endif
constexpr int kWave = 32;

// What a thread expects of its own state, and what its callbacks saw.
struct Expected {
    int id = -1;
    uint32_t mode = 0;
    int calls = 0;
    int mixups = 0;
};
thread_local Expected expected;

// Four distinct callbacks, so that a callback of another thread is told
// apart from the thread's own by its tag.
template <int Tag>
int32_t callback(qor_vm_error_record* r) {
    ++expected.calls;
    if (Tag != expected.id % 4 || qor_lum_kernel_GetMode() != expected.mode) ++expected.mixups;
    r->res1 = -expected.id;  // replaced result: the thread's own id
    return 0;
}
constexpr qor_vm_error_callback kCallbacks[] = {callback<0>, callback<1>, callback<2>, callback<3>};

// One thread's life: own mode and callback, two calls that each report a
// pole at element 1 and a domain error at element 3, checks, exit.
bool live(int id) {
    expected.id = id;
    const uint32_t accuracy = 1 + id % 3;
    const uint32_t ftz = id % 2 ? QOR_VM_FTZDAZ_ON : QOR_VM_FTZDAZ_OFF;
    qor_lum_kernel_SetMode(accuracy | QOR_VM_ERRMODE_IGNORE | ftz);
    qor_lum_kernel_SetErrorCallBack(kCallbacks[id % 4]);
    qor_lum_kernel_SetMode(QOR_VM_ERRMODE_CALLBACK);
    expected.mode = qor_lum_kernel_GetMode();
    if (expected.mode != (accuracy | QOR_VM_ERRMODE_CALLBACK | ftz)) return false;
    const double a[5] = {1.0, 0.0, 2.0, -1.0, 4.0};
    double r[5];
    for (int call = 0; call < 2; ++call) {
        const int slot = qor_lum_kernel_GetTTableIndex();
        if (slot != static_cast<int>(accuracy) - 1) return false;
        reinterpret_cast<void (*)(int, const double*, double*)>(qor_lum_kernel_dLn_ttab[slot])(5, a, r);
        if (r[0] != 0.0 || r[1] != -id || r[3] != -id || std::fabs(r[4] - std::log(4.0)) > 1e-9) return false;
    }
    return expected.calls == 4 && expected.mixups == 0 && qor_lum_kernel_GetErrStatus() == QOR_VM_STATUS_DOMAIN &&
           qor_lum_kernel_GetErrorCallBack() == kCallbacks[id % 4] && qor_lum_kernel_GetMode() == expected.mode;
}

TEST(ThreadSoak, TenThousandThreadsKeepTheirOwnStateAndLeaveNoRecordBehind) {
    if (std::getenv("QOR_LUM_MODE")) GTEST_SKIP() << "the modes below assume no trap bits from QOR_LUM_MODE";
    qor_lum_kernel_GetMode();  // this thread's record exists before counting
    const long before = heap_live_blocks();
    const auto start = std::chrono::steady_clock::now();
    std::atomic<int> failed{0};
    std::atomic<long> most_live{0};  // records alive as seen by the threads themselves
    for (int first = 0; first < kThreads; first += kWave) {
        std::vector<std::thread> wave;
        for (int id = first; id < first + kWave && id < kThreads; ++id)
            wave.emplace_back([id, before, &failed, &most_live] {
                if (!live(id)) failed.fetch_add(1);
                const long now = heap_live_blocks() - before;
                for (long seen = most_live.load(); now > seen && !most_live.compare_exchange_weak(seen, now);) {
                }
            });
        for (std::thread& t : wave) t.join();
        ASSERT_EQ(heap_live_blocks(), before) << "records left after the wave from thread " << first;
    }
    EXPECT_EQ(failed.load(), 0) << "threads that saw a mode, callback, status or result not their own";
    EXPECT_LE(most_live.load(), kWave);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    std::printf("%d threads in waves of %d: %.2f s, at most %ld records live at once, %ld left\n", kThreads, kWave,
                took.count(), most_live.load(), heap_live_blocks() - before);
}

}  // namespace
