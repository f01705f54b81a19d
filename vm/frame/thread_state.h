// Per-thread vector-math state: mode word, last status, callback, base.
#pragma once

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
