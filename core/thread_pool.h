// A persistent pool of worker threads for parallel loops.  Threads start on
// first use and live for the rest of the process; a loop hands out indices
// from a shared counter, the calling thread taking part.  Workers run the
// bodies under the calling thread's vector-math mode and error callback,
// and a status they record becomes the caller's.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "vm_thread_context.h"

namespace qor::core {

class ThreadPool {
public:
    // A pool of `threads` threads in all: the caller plus threads - 1 workers.
    explicit ThreadPool(int threads);
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    int size() const { return static_cast<int>(workers_.size()) + 1; }

    // Runs body(i) once for every i in [0, count) on at most `threads`
    // threads (<= 0: all of the pool) and returns when all have finished.
    // A call made from inside a body, or while another thread's loop holds
    // the pool, runs serially on the calling thread instead of waiting, so
    // nesting cannot deadlock.  Bodies must not throw.
    void parallel_for(int count, int threads, const std::function<void(int)>& body);

private:
    struct Job {
        const std::function<void(int)>* body = nullptr;
        int count = 0;
        std::atomic<int> next{0};
        int helpers = 0;  // workers (by id 1..helpers) that may join
        VmThreadContext* vm = nullptr;
    };

    void worker_loop(int id);
    static void run_indices(Job& job);

    std::vector<std::thread> workers_;
    std::mutex mutex_;
    std::condition_variable wake_;      // a job was posted, or stopping
    std::condition_variable finished_;  // a worker left a job
    std::mutex submit_;                 // held by the loop that owns the pool
    Job* job_ = nullptr;
    unsigned long generation_ = 0;
    int active_ = 0;  // workers inside the current job
    bool stopping_ = false;
};

// The process-wide pool, sized by the thread limit.  It is never destroyed:
// worker threads stay parked until the process ends, so a body that ends the
// process (or a destructor that runs a loop at exit) cannot find it gone.
ThreadPool& global_pool();

// Thread count from a QOR_NUM_THREADS value: a positive decimal number,
// optionally surrounded by blanks, capped at kMaxThreads; 0 when the text is
// absent or unusable.
int parse_thread_count(const char* text);
constexpr int kMaxThreads = 1024;

// Thread limit: QOR_NUM_THREADS when usable, otherwise the processors this
// process may run on.  Read once.
int thread_limit();

// The calling thread's own cap on its parallel loops (qor_set_num_threads):
// n <= 0 removes it.  The limit a thread works under is the smaller of the
// cap and thread_limit().
void set_thread_cap(int n);
int calling_thread_limit();

}  // namespace qor::core
