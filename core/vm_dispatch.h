// Choosing the kernel-table slot for a public vector-math call, and running
// one call under a mode of its own.
#pragma once

#include <cstdint>

#include "kernel_set.h"

namespace qor::core {

constexpr int kSlotLA = 0;
constexpr int kSlotHA = 1;
constexpr int kSlotEP = 2;

// Slot from a table index the kernel set computed from an accuracy field;
// anything but LA, HA or EP selects HA.
inline int checked_slot(int32_t index) { return static_cast<uint32_t>(index) <= kSlotEP ? index : kSlotHA; }

// Slot for the accuracy field of a mode word (LA 1, HA 2, EP 3).
inline int mode_slot(uint32_t mode) { return checked_slot(static_cast<int32_t>(mode & QOR_VM_ACCURACY_MASK) - 1); }

// Slot for the calling thread's mode.
inline int thread_slot(const KernelServices& s) { return checked_slot(s.GetTTableIndex()); }

// Reports a call refused for its arguments (status QOR_VM_STATUS_BADARG or
// QOR_VM_STATUS_BADMEM, the 1-based position of the argument at fault) the
// way the kernels report an element, under the thread's mode: nothing under
// "no error"; else the status, then the callback with a record that holds
// the code, the position as index and the call's name ("vdExp"), then errno
// and message 748 or 749 as the error mode asks.  No array is touched.
[[gnu::cold]] void report_bad_arguments(const KernelServices& s, int status, int position, const char* name);

// Applies a call's mode to the calling thread for the lifetime of the object
// (merged field by field, as SetMode does) and then stores the thread's
// previous mode word back exactly, trap bits and zero fields included.
class ScopedMode {
public:
    ScopedMode(const KernelServices& s, uint32_t mode)
        : services_(s), previous_(s.SetMode(mode)), slot_(mode_slot(mode & QOR_VM_ACCURACY_MASK ? mode : previous_)) {}
    ~ScopedMode() { services_.RestoreMode(previous_); }
    ScopedMode(const ScopedMode&) = delete;
    ScopedMode& operator=(const ScopedMode&) = delete;

    // The slot the call's mode selects (the thread's accuracy when the
    // mode's accuracy field is zero).
    int slot() const { return slot_; }

private:
    const KernelServices& services_;
    uint32_t previous_;
    int slot_;
};

}  // namespace qor::core
