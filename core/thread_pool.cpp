#include "thread_pool.h"

#include <cctype>
#include <cstdlib>

#include "loader.h"
#include "platform.h"
#include "qor/qor_threading.h"

namespace qor::core {
namespace {
// Set while this thread runs loop bodies; a loop started from a body runs
// serially.
thread_local bool inside_pool_body = false;
}  // namespace

ThreadPool::ThreadPool(int threads) {
    workers_.reserve(threads > 1 ? static_cast<std::size_t>(threads - 1) : 0);
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
    const bool was_inside = inside_pool_body;
    inside_pool_body = true;
    for (int i; (i = job.next.fetch_add(1, std::memory_order_relaxed)) < job.count;) (*job.body)(i);
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
            if (id > job_->helpers) continue;
            job = job_;
            // Counted under the lock that posts and retires jobs, so the
            // owner cannot retire this job while this worker still uses it.
            ++active_;
        }
        {
            VmThreadContext::Lent lent(*job->vm);
            run_indices(*job);
        }
        bool last;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            last = --active_ == 0;
        }
        if (last) finished_.notify_all();
    }
}

void ThreadPool::parallel_for(int count, int threads, const std::function<void(int)>& body) {
    if (count <= 0) return;
    if (threads <= 0 || threads > size()) threads = size();
    if (threads > count) threads = count;
    auto serial = [&] {
        for (int i = 0; i < count; ++i) body(i);
    };
    if (threads <= 1 || inside_pool_body) return serial();
    std::unique_lock<std::mutex> owner(submit_, std::try_to_lock);
    if (!owner.owns_lock()) return serial();

    const KernelSet* kernels = loaded_kernels.load(std::memory_order_acquire);
    VmThreadContext vm(kernels ? &kernels->services : nullptr);
    Job job;
    job.vm = &vm;
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
    // Every index is claimed now; the ones still running belong to workers
    // counted in active_.  Retire the job so that late wakers skip it.
    std::unique_lock<std::mutex> lock(mutex_);
    finished_.wait(lock, [&] { return active_ == 0; });
    job_ = nullptr;
    lock.unlock();
    vm.take_worker_status();
}

int parse_thread_count(const char* text) {
    if (!text) return 0;
    while (std::isspace(static_cast<unsigned char>(*text))) ++text;
    if (!std::isdigit(static_cast<unsigned char>(*text))) return 0;
    long value = 0;
    for (; std::isdigit(static_cast<unsigned char>(*text)); ++text) {
        value = value * 10 + (*text - '0');
        if (value > kMaxThreads) value = kMaxThreads + 1;  // saturate, keep scanning
    }
    while (std::isspace(static_cast<unsigned char>(*text))) ++text;
    if (*text != '\0' || value == 0) return 0;
    return value > kMaxThreads ? kMaxThreads : static_cast<int>(value);
}

int thread_limit() {
    static const int limit = [] {
        if (int n = parse_thread_count(std::getenv("QOR_NUM_THREADS"))) return n;
        int processors = available_processors();
        return processors > kMaxThreads ? kMaxThreads : processors;
    }();
    return limit;
}

namespace {
thread_local int thread_cap = 0;
}  // namespace

void set_thread_cap(int n) { thread_cap = n > 0 ? n : 0; }

int calling_thread_limit() {
    const int limit = thread_limit();
    return thread_cap > 0 && thread_cap < limit ? thread_cap : limit;
}

ThreadPool& global_pool() {
    static ThreadPool* pool = new ThreadPool(thread_limit());
    return *pool;
}

}  // namespace qor::core

QOR_EXTERN_C {

QOR_EXPORT void qor_rix_serv_threader_for(int count, int num_threads, void* context, qor_thread_worker worker) {
    if (!worker || count <= 0) return;
    const int limit = qor::core::calling_thread_limit();
    if (num_threads <= 0 || num_threads > limit) num_threads = limit;
    const std::function<void(int)> body = [&](int i) { worker(i, count, context); };
    qor::core::global_pool().parallel_for(count, num_threads, body);
}

QOR_EXPORT int qor_rix_serv_threader_get_num_threads_limit(void) { return qor::core::calling_thread_limit(); }

}  // extern "C"
