// The pool itself, sized independently of the machine, and the parsing of
// QOR_NUM_THREADS.  Index coverage and nesting are checked through the
// exported service in the black-box suite.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "fake_kernel_library.h"
#include "thread_pool.h"

namespace {

using qor::core::parse_thread_count;
using qor::core::ThreadPool;

TEST(ThreadCount, AcceptsPositiveDecimalNumbers) {
    EXPECT_EQ(parse_thread_count("4"), 4);
    EXPECT_EQ(parse_thread_count("1"), 1);
    EXPECT_EQ(parse_thread_count(" 8 "), 8);
    EXPECT_EQ(parse_thread_count("\t16\n"), 16);
    EXPECT_EQ(parse_thread_count("007"), 7);
}

TEST(ThreadCount, CapsLargeValues) {
    EXPECT_EQ(parse_thread_count("1024"), 1024);
    EXPECT_EQ(parse_thread_count("1025"), 1024);
    EXPECT_EQ(parse_thread_count("99999999999999999999999"), 1024);
}

TEST(ThreadCount, RejectsEverythingElse) {
    for (const char* text : {"", " ", "0", "000", "-2", "+3", "abc", "4x", "3 4", "2.5", "0x10"})
        EXPECT_EQ(parse_thread_count(text), 0) << "'" << text << "'";
    EXPECT_EQ(parse_thread_count(nullptr), 0);
}

struct Record {
    explicit Record(int count) : hits(static_cast<std::size_t>(count)) {}
    std::vector<std::atomic<int>> hits;
    std::mutex mutex;
    std::set<std::thread::id> threads;
    void hit(int i) {
        hits[static_cast<std::size_t>(i)].fetch_add(1);
        std::lock_guard<std::mutex> lock(mutex);
        threads.insert(std::this_thread::get_id());
    }
    bool each_once() const {
        for (const auto& h : hits)
            if (h.load() != 1) return false;
        return true;
    }
};

TEST(Pool, WorkersReallyShareTheWork) {
    // Each body waits until two different threads have started a body, so
    // a pool that never hands work to its workers cannot finish this loop
    // by itself; the bounded wait turns that fault into a failure.
    ThreadPool pool(2);
    std::mutex mutex;
    std::condition_variable cv;
    std::set<std::thread::id> started;
    bool met = true;
    pool.parallel_for(2, 2, [&](int) {
        std::unique_lock<std::mutex> lock(mutex);
        started.insert(std::this_thread::get_id());
        cv.notify_all();
        if (!cv.wait_for(lock, std::chrono::seconds(20), [&] { return started.size() >= 2; })) met = false;
    });
    EXPECT_TRUE(met);
    EXPECT_EQ(started.size(), 2u);
}

TEST(Pool, ABusyPoolMakesOtherCallersRunTheirLoopsThemselves) {
    ThreadPool pool(2);
    std::mutex mutex;
    std::condition_variable cv;
    bool outer_running = false, other_done = false, other_ran_alone = false;
    std::thread other;
    pool.parallel_for(2, 2, [&](int i) {
        if (i != 0) return;
        // The pool is held by this loop until the other caller finishes.
        {
            std::lock_guard<std::mutex> lock(mutex);
            outer_running = true;
        }
        other = std::thread([&] {
            Record r(50);
            pool.parallel_for(50, 0, [&](int i) { r.hit(i); });
            std::lock_guard<std::mutex> lock(mutex);
            other_ran_alone = r.each_once() && r.threads.size() == 1 && *r.threads.begin() == std::this_thread::get_id();
            other_done = true;
            cv.notify_all();
        });
        std::unique_lock<std::mutex> lock(mutex);
        cv.wait_for(lock, std::chrono::seconds(20), [&] { return other_done; });
    });
    other.join();
    EXPECT_TRUE(outer_running);
    EXPECT_TRUE(other_done);
    EXPECT_TRUE(other_ran_alone);
}

TEST(Pool, ManyShortLoopsAndPoolLifetimes) {
    for (int life = 0; life < 20; ++life) {
        ThreadPool pool(1 + life % 4);
        for (int round = 0; round < 50; ++round) {
            std::atomic<int> sum{0};
            pool.parallel_for(round % 7 + 1, 0, [&](int i) { sum.fetch_add(i + 1); });
            const int n = round % 7 + 1;
            ASSERT_EQ(sum.load(), n * (n + 1) / 2);
        }
    }  // each pool joins its workers here
}

int32_t lent_callback(qor_vm_error_record*) { return 1; }

TEST(Pool, AWorkerRunsUnderTheLentVmStateAndThenGetsItsOwnBack) {
    const qor::core::KernelServices services = fake::services();
    const uint32_t caller_mode = QOR_VM_TRAP_OVERFLOW | QOR_VM_FTZDAZ_ON | QOR_VM_ERRMODE_STDERR | QOR_VM_EP;
    fake::mode = caller_mode;  // no callback bit: the lent word wins over the callback's
    fake::callback = lent_callback;
    fake::status = 0;
    qor::core::VmThreadContext context(&services);
    std::thread([&] {
        fake::mode = 0;  // a worker that has not used its mode yet
        fake::status = QOR_VM_STATUS_DOMAIN;
        {
            qor::core::VmThreadContext::Lent lent(context);
            EXPECT_EQ(fake::mode, caller_mode);
            EXPECT_EQ(fake::callback, &lent_callback);
            EXPECT_EQ(fake::status, 0);
            fake::status = QOR_VM_STATUS_OVERFLOW;
        }
        EXPECT_EQ(fake::mode, 0u);
        EXPECT_EQ(fake::callback, nullptr);
        EXPECT_EQ(fake::status, QOR_VM_STATUS_DOMAIN);
    }).join();
    context.take_worker_status();
    EXPECT_EQ(fake::status, QOR_VM_STATUS_OVERFLOW);
    fake::callback = nullptr;
    fake::status = 0;
    fake::mode = QOR_VM_MODE_DEFAULT;
}

TEST(Pool, ProcessPoolHasTheLimitsSize) {
    EXPECT_EQ(qor::core::global_pool().size(), qor::core::thread_limit());
}

}  // namespace
