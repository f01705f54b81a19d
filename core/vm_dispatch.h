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
inline int checked_slot(int32_t index) { return index >= kSlotLA && index <= kSlotEP ? index : kSlotHA; }

// Slot for the calling thread's mode.
inline int thread_slot(const KernelServices& s) { return checked_slot(s.GetTTableIndex()); }

// Applies a call's mode to the calling thread for the lifetime of the object
// and puts the previous mode back afterwards.
class ScopedMode {
public:
    ScopedMode(const KernelServices& s, uint32_t mode);
    ~ScopedMode();
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
