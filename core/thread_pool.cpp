#include "thread_pool.h"

#include <cstdlib>

#include "qor/qor_threading.h"

namespace qor::core {
namespace {
thread_local bool inside_pool_body = false;
}

ThreadPool::ThreadPool(int threads) {
    for (int i = 1; i < threads; ++i) workers_.emplace_back([this, i] { worker_loop(i); });
}

ThreadPool::~ThreadPool() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    for (auto& t : workers_) t.join();
}

void ThreadPool::run_indices(Job& job) {
    bool was_inside = inside_pool_body;
    inside_pool_body = true;
    for (int i; (i = job.next.fetch_add(1, std::memory_order_relaxed)) < job.count;) {
        (*job.body)(i);
        job.done.fetch_add(1, std::memory_order_release);
    }
    inside_pool_body = was_inside;
}

void ThreadPool::worker_loop(int id) {
    unsigned long seen = 0;
    for (;;) {
        Job* job;
        {
            std::unique_lock<std::mutex> lock(mutex_);
            wake_.wait(lock, [&] { return stopping_ || (job_ && generation_ != seen); });
            if (stopping_) return;
            seen = generation_;
            job = job_;
            if (id > job->helpers) continue;
            ++active_;
        }
        run_indices(*job);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            --active_;
        }
        finished_.notify_all();
    }
}

void ThreadPool::parallel_for(int count, int threads, const std::function<void(int)>& body) {
    if (count <= 0) return;
    if (threads <= 0 || threads > size()) threads = size();
    if (threads > count) threads = count;
    if (threads <= 1 || inside_pool_body || workers_.empty()) {
        for (int i = 0; i < count; ++i) body(i);
        return;
    }
    std::lock_guard<std::mutex> one_loop(submit_);
    Job job;
    job.body = &body;
    job.count = count;
    job.helpers = threads - 1;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        job_ = &job;
        ++generation_;
    }
    wake_.notify_all();
    run_indices(job);
    std::unique_lock<std::mutex> lock(mutex_);
    finished_.wait(lock, [&] { return job.done.load(std::memory_order_acquire) == count && active_ == 0; });
    job_ = nullptr;
}

int thread_limit() {
    static const int limit = [] {
        if (const char* env = std::getenv("QOR_NUM_THREADS")) {
            char* end = nullptr;
            long v = std::strtol(env, &end, 10);
            if (end != env && *end == '\0' && v > 0) return static_cast<int>(v > 1024 ? 1024 : v);
        }
        unsigned hw = std::thread::hardware_concurrency();
        return hw ? static_cast<int>(hw) : 1;
    }();
    return limit;
}

ThreadPool& global_pool() {
    static ThreadPool pool(thread_limit());
    return pool;
}

}  // namespace qor::core

QOR_EXTERN_C {

QOR_EXPORT void qor_rix_serv_threader_for(int count, int num_threads, void* context, qor_thread_worker worker) {
    if (!worker || count <= 0) return;
    std::function<void(int)> body = [&](int i) { worker(i, count, context); };
    qor::core::global_pool().parallel_for(count, num_threads, body);
}

QOR_EXPORT int qor_rix_serv_threader_get_num_threads_limit(void) { return qor::core::thread_limit(); }

}  // extern "C"
