// Per-thread vector-math state: mode word, last status, callback, base.
#pragma once

#include <atomic>
#include <cstdint>

#include "qor/qor_vm.h"

namespace qor::vm {

struct ThreadState {
    uint32_t mode;                  // 0 until first use on this thread
    int32_t status;                 // code of the last reported error
    qor_vm_error_callback callback;
    const void* base;               // input-vector base for error indices
};

// The calling thread's record, created on first access.  Failure to create
// it is fatal: message 773, then the process ends with code 3.
ThreadState* thread_state();

// The record through the slot, creating it when the thread has none.
ThreadState* slot_record();

#if !defined(_WIN32)
// The calling thread's record cached in front of the slot: an initial-exec
// thread-local is one load from the thread pointer, where the slot lookup is
// a library call.  The cache holds only while the slot's generation is the
// one it was taken under; releasing the slot (unload) starts a new
// generation, so that records freed with it are never reached.
struct CachedRecord {
    ThreadState* record;
    uint32_t generation;
};
extern __attribute__((tls_model("initial-exec"))) constinit thread_local CachedRecord cached_record;
extern std::atomic<uint32_t> slot_generation;

inline ThreadState* thread_state() {
    const uint32_t generation = slot_generation.load(std::memory_order_acquire);
    if (cached_record.record && cached_record.generation == generation) [[likely]]
        return cached_record.record;
    ThreadState* s = slot_record();
    cached_record = {s, generation};
    return s;
}

// The calling thread's mode word when its record is cached and the mode is
// set, 0 otherwise: no call, so that a kernel's fast path needs no saved
// registers; on 0 the caller takes its general path.
inline uint32_t cached_mode() {
    const uint32_t generation = slot_generation.load(std::memory_order_acquire);
    const ThreadState* s = cached_record.record;
    return s && cached_record.generation == generation ? s->mode : 0;
}
#else
inline uint32_t cached_mode() { return thread_state()->mode; }
#endif

// The calling thread's mode word, initialised from the environment on first
// use.
uint32_t current_mode();

// Mode value from a QOR_LUM_MODE string (all ones when unusable).
uint64_t parse_mode_string(const char* text);

// Mode a thread starts with, given the parsed environment value.
uint32_t initial_mode(uint64_t parsed);

// Creates the slot; called on attach and on any access that finds none.
bool ensure_slot();

// Frees the calling thread's record (thread exit, unload); every thread's
// cached record pointer is dropped with it.
void release_thread_state();

// Drops the calling thread's cached record pointer; its slot has been
// cleared and the record freed (thread exit).
void forget_thread_record();

}  // namespace qor::vm
