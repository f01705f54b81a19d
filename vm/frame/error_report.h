// Error reporters: a kernel hands every offending element to the reporter
// after storing its own result there; the reporter records the status and
// runs the callback and default actions that the call's mode asks for.
#pragma once

#include <cstddef>
#include <cstdint>

#include "call_context.h"
#include "qor/qor_vm.h"

namespace qor::vm {

// Element `index` of arguments a, b (type A) and results r1, r2 (type R),
// element i of each array at i * inc.  A kernel of one argument passes its
// input twice, a kernel of one result its output twice.  The base
// adjustment of the index counts elements of a.  A kernel run in place has
// overwritten its arguments with results by then: it passes the values the
// arguments had as value_a and value_b, which the record takes instead.
template <class A, class R>
void report(CallContext& ctx, int code, std::ptrdiff_t index, const A* a, std::ptrdiff_t inca, const A* b,
            std::ptrdiff_t incb, R* r1, std::ptrdiff_t incr1, R* r2, std::ptrdiff_t incr2, const char* name,
            const A* value_a = nullptr, const A* value_b = nullptr);

// The eight reporters of one element type called on their own, outside a
// kernel run: they read the calling thread's state themselves.
template <class T>
void report(int code, int index, const T* a, const T* b, T* r1, T* r2, const char* name);
template <class T>
void report_strided(int code, int index, const T* a, int inca, const T* b, int incb, T* r1, int incr1, T* r2,
                    int incr2, const char* name);

// The default actions on a filled record (errno, stderr, except), as the
// mode selects them.  The except action is the only x87 environment load and
// goes through the call's context.
void run_default_actions(const qor_vm_error_record& record, uint32_t mode, CallContext& ctx);

}  // namespace qor::vm
