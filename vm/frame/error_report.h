// Error reporters: a kernel hands every offending element to the reporter of
// its element type after storing its own result there; the reporter records
// the status and runs the callback and default actions that the mode asks for.
#pragma once

#include <cstdint>

#include "qor/qor_vm.h"

namespace qor::vm {

// Contiguous form: element index of a, b, r1, r2.  A kernel of one argument
// passes its input twice, a kernel of one result its output twice.
template <class T>
void report(int code, int index, const T* a, const T* b, T* r1, T* r2, const char* name);

// Strided form: element i of an array lives at i * inc.
template <class T>
void report_strided(int code, int index, const T* a, int inca, const T* b, int incb, T* r1, int incr1, T* r2,
                    int incr2, const char* name);

// The default actions on a filled record (errno, stderr, except), as the
// mode selects them.
void run_default_actions(const qor_vm_error_record& record, uint32_t mode);

}  // namespace qor::vm
