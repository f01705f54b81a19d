// How the public random-number calls reach the loaded kernel set.
#pragma once

#include "loader.h"

namespace qor::core {

// The kernel set's random-number functions; null, after the one-time report
// on standard error, when the kernels are unavailable.
inline const RngKernels* usable_rng() {
    const KernelSet* k = kernels_for_call();
    return k ? &k->rng : nullptr;
}

// The result of a call that finds the kernels unavailable: the qor_init
// status, which no random-number status code equals.
inline int unavailable_status() { return process_kernels().status; }

}  // namespace qor::core
