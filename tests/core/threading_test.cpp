// The threading services handed to statistics and data-fitting entries:
// every index runs exactly once, on at most the threads asked for, also
// when loops nest, follow each other quickly or come from several threads.
#include <gtest/gtest.h>

#include <atomic>
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

TEST(ThreaderFor, LimitIsPositiveAndPublic) {
    EXPECT_GE(qor_rix_serv_threader_get_num_threads_limit(), 1);
    EXPECT_LE(qor_rix_serv_threader_get_num_threads_limit(), 1024);
    EXPECT_EQ(qor_rix_serv_threader_get_num_threads_limit(), qor_get_max_threads());
}

}  // namespace
