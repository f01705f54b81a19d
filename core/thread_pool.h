// A persistent pool of worker threads for parallel loops.  Threads start on
// first use and live until the library is unloaded; a loop hands out indices
// from a shared counter, the calling thread taking part.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace qor::core {

class ThreadPool {
public:
    explicit ThreadPool(int threads);
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    int size() const { return static_cast<int>(workers_.size()) + 1; }

    // Runs body(i) for i in [0, count) on at most `threads` threads.
    // Nested calls from inside a body run serially on the calling thread.
    void parallel_for(int count, int threads, const std::function<void(int)>& body);

private:
    struct Job {
        const std::function<void(int)>* body = nullptr;
        int count = 0;
        std::atomic<int> next{0};
        std::atomic<int> done{0};
        int helpers = 0;  // workers that may join
    };

    void worker_loop(int id);
    static void run_indices(Job& job);

    std::vector<std::thread> workers_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable finished_;
    std::mutex submit_;         // one loop at a time
    Job* job_ = nullptr;
    unsigned long generation_ = 0;
    int joined_ = 0;
    int active_ = 0;
    bool stopping_ = false;
};

// The process-wide pool, sized by the thread limit.
ThreadPool& global_pool();

// Thread limit: QOR_NUM_THREADS when set to a positive number, otherwise the
// hardware's thread count.
int thread_limit();

}  // namespace qor::core
