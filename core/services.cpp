// The services the kernel library imports: memory, bounded copy, locks,
// environment, messages, exit, threading lookup and a processor query.
#include <immintrin.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "cpu_features.h"
#include "messages.h"
#include "platform.h"
#include "qor/qor_threading.h"

namespace {

constexpr int kDefaultAlignment = 64;
// Spins with a pause before a waiting thread starts yielding its time slice.
constexpr int kSpinsBeforeYield = 64;

std::atomic_ref<int32_t> lock_word(volatile int32_t* lock) {
    // The word is only ever accessed atomically through these services;
    // volatile is part of the imported signature, not of the protocol.
    return std::atomic_ref<int32_t>(*const_cast<int32_t*>(lock));
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT void* qor_serv_allocate(size_t size, int alignment) {
    if (size == 0 || alignment < 0) return nullptr;
    if (alignment == 0) alignment = kDefaultAlignment;
    if (alignment & (alignment - 1)) return nullptr;
    // No object may span more than half the address space; refuse such a
    // size here rather than leave it to the system allocator.
    if (size > static_cast<size_t>(PTRDIFF_MAX) - static_cast<size_t>(alignment)) return nullptr;
    return qor::core::aligned_allocate(size, static_cast<size_t>(alignment));
}

QOR_EXPORT void qor_serv_deallocate(void* p) {
    if (p) qor::core::aligned_free(p);
}

QOR_EXPORT int qor_serv_memcpy_s(void* dest, size_t dest_size, const void* src, size_t count) {
    if (count == 0) return 0;
    if (!dest) return EINVAL;
    if (!src) {
        std::memset(dest, 0, dest_size);
        return EINVAL;
    }
    if (count > dest_size) {
        std::memset(dest, 0, dest_size);
        return ERANGE;
    }
    std::memmove(dest, src, count);
    return 0;
}

QOR_EXPORT void qor_serv_lock(volatile int32_t* lock) {
    auto word = lock_word(lock);
    for (int spins = 0;;) {
        int32_t expected = 0;
        if (word.compare_exchange_weak(expected, 1, std::memory_order_acquire, std::memory_order_relaxed)) return;
        // Wait on plain loads so that waiters do not fight over the line.
        while (word.load(std::memory_order_relaxed) != 0) {
            if (++spins < kSpinsBeforeYield) {
                _mm_pause();
            } else {
                std::this_thread::yield();
            }
        }
    }
}

QOR_EXPORT void qor_serv_unlock(volatile int32_t* lock) { lock_word(lock).store(0, std::memory_order_release); }

QOR_EXPORT int qor_serv_getenv(char* buf, int size, const char* name) {
    if (buf && size > 0) buf[0] = '\0';
    if (!name) return 0;
    const char* value = std::getenv(name);
    if (!value) return 0;
    const size_t len = std::strlen(value);
    if (buf && size > 0) {
        const size_t copy = len < static_cast<size_t>(size) ? len : static_cast<size_t>(size) - 1;
        std::memcpy(buf, value, copy);
        buf[copy] = '\0';
    }
    return static_cast<int>(len > 0x7FFFFFFF ? 0x7FFFFFFF : len);
}

QOR_EXPORT void qor_serv_print(int level, int msg_id, ...) {
    va_list args;
    va_start(args, msg_id);
    qor::core::print_message(level, msg_id, args);
    va_end(args);
}

QOR_EXPORT void qor_serv_exit(int code) { std::exit(code); }

QOR_EXPORT void* qor_serv_load_thread_fun(const char* name) {
    if (!name) return nullptr;
    if (std::strcmp(name, "qor_rix_serv_threader_for") == 0)
        return reinterpret_cast<void*>(&qor_rix_serv_threader_for);
    if (std::strcmp(name, "qor_rix_serv_threader_get_num_threads_limit") == 0)
        return reinterpret_cast<void*>(&qor_rix_serv_threader_get_num_threads_limit);
    return nullptr;
}

QOR_EXPORT int qor_serv_cpuisicx(void) { return qor::core::cpu_features().vaes ? 1 : 0; }

}  // extern "C"
