// The vector-math state a parallel loop lends to the pool workers that run
// its bodies: the posting thread's mode word and error callback, and a way
// back for the statuses the workers record.
#pragma once

#include <atomic>
#include <cstdint>

#include "kernel_set.h"

namespace qor::core {

class VmThreadContext {
public:
    // Captures the calling thread's mode and callback; with no kernel set
    // (s null) there is no vector-math state to lend and nothing happens.
    explicit VmThreadContext(const KernelServices* s);

    // On a worker, for the lifetime of the object: the posting thread's mode
    // word (exactly) and callback, and a cleared status; afterwards a
    // non-zero status the bodies left is passed on to the context, and the
    // worker's own mode, callback and status come back.
    class Lent {
    public:
        explicit Lent(VmThreadContext& context);
        ~Lent();
        Lent(const Lent&) = delete;
        Lent& operator=(const Lent&) = delete;

    private:
        VmThreadContext& context_;
        uint32_t own_mode_ = 0;
        qor_vm_error_callback own_callback_ = nullptr;
        int32_t own_status_ = 0;
    };

    // On the posting thread after the loop: its status becomes the last
    // non-zero status a worker recorded, if any.
    void take_worker_status() const;

private:
    const KernelServices* services_;
    uint32_t mode_ = 0;
    qor_vm_error_callback callback_ = nullptr;
    std::atomic<int32_t> worker_status_{0};
};

}  // namespace qor::core
