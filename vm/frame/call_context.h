// What a kernel call needs from the calling thread, read once at its start:
// the thread's state record, the mode word, the MXCSR control the mode asks
// for and the error callback.  The loop and the reporters take it by
// reference, so an element that reports reaches the state without a second
// lookup.
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
    // `reads_mode`: the kernel honours the mode's flush-to-zero setting;
    // otherwise it runs under the plain control whatever the mode says.
    explicit CallContext(bool reads_mode) : state(thread_state()) {
        if (state->mode == 0) current_mode();
        mode = state->mode;
        callback = state->callback;
        mxcsr = reads_mode ? wanted_mxcsr(mode) : kMxcsrPlain;
    }
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

    ThreadState* state;
    uint32_t mode;
    uint32_t mxcsr;
    qor_vm_error_callback callback;

private:
    static constexpr uint16_t kX87Masks = 0x3F;
    uint16_t x87_control_ = 0;
    bool x87_saved_ = false;
};

}  // namespace qor::vm
