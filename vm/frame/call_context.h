// What the error path of a kernel call needs from the calling thread: its
// state record, looked up once.  A call whose elements all finish on the
// vector path never builds one; the reporters read the mode and the callback
// from the record when they run, so the fast path loads neither.
//
// The x87 unit is left alone unless an error's except action raises a flag:
// that action saves the caller's control word here before it first loads an
// environment (masking every exception for the rest of the run), and the
// context gives the caller its control word back when the call ends, with
// the raised flags kept.
#pragma once

#include <cstdint>

#include "fp_env.h"
#include "thread_state.h"

namespace qor::vm {

class CallContext {
public:
    CallContext() : state(thread_state()) {}
    ~CallContext() {
        if (x87_saved_ && (x87_control_ & kX87Masks) != kX87Masks) load_x87_control(x87_control_);
    }
    CallContext(const CallContext&) = delete;
    CallContext& operator=(const CallContext&) = delete;

    // Before the first x87 environment load of this call: saves the caller's
    // control word and, when it leaves an exception unmasked, clears the
    // flags and masks all six for the rest of the run.
    void take_x87() {
        if (x87_saved_) return;
        x87_saved_ = true;
        x87_control_ = read_x87_control();
        if ((x87_control_ & kX87Masks) != kX87Masks) {
            asm volatile("fnclex" ::: "memory");
            load_x87_control(static_cast<uint16_t>(x87_control_ | kX87Masks));
        }
    }

    // For a reporter called on its own, outside a kernel run: the x87 word
    // is used as the caller left it and not given back afterwards.
    void leave_x87_alone() { x87_saved_ = true; x87_control_ = kX87Masks; }

    // The thread's mode word, set from the environment on first use.
    uint32_t mode() const { return state->mode ? state->mode : current_mode(); }

    ThreadState* state;

private:
    static constexpr uint16_t kX87Masks = 0x3F;
    uint16_t x87_control_ = 0;
    bool x87_saved_ = false;
};

}  // namespace qor::vm
