// The threading services handed to statistics and data-fitting entries:
// every index runs exactly once, on at most the threads asked for, also
// when loops nest, follow each other quickly or come from several threads;
// workers run vector math under the caller's mode and callback.
#include <gtest/gtest.h>

#include <atomic>
#include <cfloat>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "qor/qor.h"
#include "qor/qor_threading.h"

namespace {

struct Tally {
    explicit Tally(int count) : hits(static_cast<std::size_t>(count)) {}
    std::vector<std::atomic<int>> hits;
    std::atomic<int> wrong_count{0};
    std::mutex mutex;
    std::set<std::thread::id> threads;
};

void tally_worker(int index, int count, void* context) {
    auto* t = static_cast<Tally*>(context);
    if (count != static_cast<int>(t->hits.size())) t->wrong_count.fetch_add(1);
    t->hits[static_cast<std::size_t>(index)].fetch_add(1);
    std::lock_guard<std::mutex> lock(t->mutex);
    t->threads.insert(std::this_thread::get_id());
}

void expect_each_once(const Tally& t) {
    for (std::size_t i = 0; i < t.hits.size(); ++i) ASSERT_EQ(t.hits[i].load(), 1) << "index " << i;
}

TEST(ThreaderFor, RunsEveryIndexExactlyOnce) {
    for (int count : {1, 2, 3, 5, 17, 64, 1000}) {
        for (int threads : {-1, 0, 1, 2, 3, 8, 64}) {
            Tally t(count);
            qor_rix_serv_threader_for(count, threads, &t, tally_worker);
            expect_each_once(t);
            EXPECT_EQ(t.wrong_count.load(), 0);
            const int allowed = threads <= 0 ? qor_get_max_threads() : threads;
            EXPECT_LE(static_cast<int>(t.threads.size()), allowed) << count << " indices, " << threads << " threads";
        }
    }
}

TEST(ThreaderFor, OneThreadRunsOnTheCaller) {
    Tally t(40);
    qor_rix_serv_threader_for(40, 1, &t, tally_worker);
    expect_each_once(t);
    ASSERT_EQ(t.threads.size(), 1u);
    EXPECT_EQ(*t.threads.begin(), std::this_thread::get_id());
}

TEST(ThreaderFor, NothingToDoCallsNothing) {
    Tally t(1);
    qor_rix_serv_threader_for(0, 4, &t, tally_worker);
    qor_rix_serv_threader_for(-5, 4, &t, tally_worker);
    qor_rix_serv_threader_for(1, 4, &t, nullptr);
    EXPECT_EQ(t.hits[0].load(), 0);
}

struct Nest {
    Nest() : hits(12 * 9) {}
    std::vector<std::atomic<int>> hits;
};

void inner_worker(int index, int, void* context) {
    auto* cell = static_cast<std::pair<Nest*, int>*>(context);
    cell->first->hits[static_cast<std::size_t>(cell->second * 9 + index)].fetch_add(1);
}

void outer_worker(int index, int, void* context) {
    std::pair<Nest*, int> cell{static_cast<Nest*>(context), index};
    qor_rix_serv_threader_for(9, 0, &cell, inner_worker);
}

TEST(ThreaderFor, NestedLoopsCompleteWithoutDeadlock) {
    Nest nest;
    qor_rix_serv_threader_for(12, 0, &nest, outer_worker);
    for (std::size_t i = 0; i < nest.hits.size(); ++i) ASSERT_EQ(nest.hits[i].load(), 1) << "cell " << i;
}

void sum_worker(int index, int, void* context) {
    static_cast<std::atomic<long>*>(context)->fetch_add(index + 1);
}

TEST(ThreaderFor, ManySuccessiveLoopsEachFinishBeforeReturning) {
    for (int round = 0; round < 3000; ++round) {
        std::atomic<long> sum{0};
        const int count = 1 + round % 13;
        qor_rix_serv_threader_for(count, 0, &sum, sum_worker);
        ASSERT_EQ(sum.load(), long{count} * (count + 1) / 2) << "round " << round;
    }
}

TEST(ThreaderFor, LoopsFromSeveralApplicationThreadsAllComplete) {
    constexpr int kCallers = 4;
    std::vector<long> totals(kCallers, 0);
    std::vector<std::thread> callers;
    for (int c = 0; c < kCallers; ++c) {
        callers.emplace_back([&totals, c] {
            for (int round = 0; round < 300; ++round) {
                std::atomic<long> sum{0};
                qor_rix_serv_threader_for(20, 0, &sum, sum_worker);
                totals[static_cast<std::size_t>(c)] += sum.load();
            }
        });
    }
    for (auto& t : callers) t.join();
    for (long total : totals) EXPECT_EQ(total, 300L * 210);
}

// Each body waits (bounded) until both threads have started one, so the
// worker surely runs a body; the worker's body adds DBL_MAX to itself.
struct VmOnWorkers {
    std::thread::id caller = std::this_thread::get_id();
    std::mutex mutex;
    std::condition_variable cv;
    int started = 0;
    std::vector<uint32_t> modes;
    std::vector<double> flushed;
    std::set<std::thread::id> callback_threads;
};
VmOnWorkers* vm_on_workers = nullptr;

int32_t note_callback_thread(qor_vm_error_record*) {
    std::lock_guard<std::mutex> lock(vm_on_workers->mutex);
    vm_on_workers->callback_threads.insert(std::this_thread::get_id());
    return 1;
}

void vm_worker(int, int, void* context) {
    auto* t = static_cast<VmOnWorkers*>(context);
    {
        std::unique_lock<std::mutex> lock(t->mutex);
        ++t->started;
        t->cv.notify_all();
        t->cv.wait_for(lock, std::chrono::seconds(20), [&] { return t->started >= 2; });
    }
    const double tiny = 4.9406564584124654e-324;
    const bool on_worker = std::this_thread::get_id() != t->caller;
    double a[2] = {tiny, on_worker ? DBL_MAX : 1.0}, r[2];
    qor_vdAdd(2, a, a, r);  // subnormal in, then an overflow on the worker
    std::lock_guard<std::mutex> lock(t->mutex);
    t->modes.push_back(qor_vm_get_mode());
    t->flushed.push_back(r[0]);
}

TEST(ThreaderFor, WorkersRunVectorMathUnderTheCallersModeAndCallback) {
    if (qor_rix_serv_threader_get_num_threads_limit() < 2) GTEST_SKIP() << "one thread: no workers";
    ASSERT_EQ(qor_init(), QOR_STATUS_OK);
    VmOnWorkers t;
    vm_on_workers = &t;
    const uint32_t saved = qor_vm_get_mode();
    qor_vm_set_error_callback(note_callback_thread);
    qor_vm_set_mode(QOR_VM_EP | QOR_VM_FTZDAZ_ON);
    const uint32_t mode = qor_vm_get_mode();
    qor_vm_clear_status();

    qor_rix_serv_threader_for(2, 2, &t, vm_worker);
    EXPECT_EQ(t.modes, std::vector<uint32_t>(2, mode));
    EXPECT_EQ(t.flushed, std::vector<double>(2, 0.0));  // denormals read as zero
    ASSERT_EQ(t.callback_threads.size(), 1u);
    EXPECT_NE(*t.callback_threads.begin(), t.caller);
    EXPECT_EQ(qor_vm_get_status(), QOR_VM_STATUS_OVERFLOW);  // recorded on the worker

    qor_vm_clear_error_callback();
    qor_vm_set_mode(saved);
    qor_vm_set_mode(QOR_VM_FTZDAZ_OFF);
    qor_vm_clear_status();
    vm_on_workers = nullptr;
}

TEST(ThreaderFor, LimitIsPositiveAndPublic) {
    EXPECT_GE(qor_rix_serv_threader_get_num_threads_limit(), 1);
    EXPECT_LE(qor_rix_serv_threader_get_num_threads_limit(), 1024);
    EXPECT_EQ(qor_rix_serv_threader_get_num_threads_limit(), qor_get_max_threads());
}

}  // namespace
