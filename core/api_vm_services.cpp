// The public vector-math mode, status, callback and table services: each
// forwards to the loaded kernel set, which keeps the per-thread state.
#include "kernel_set.h"
#include "loader.h"
#include "qor/qor.h"

using qor::core::KernelSet;
using qor::core::usable_kernels;

namespace {

// Result of a status call when the kernels are unavailable.
int init_status() { return qor::core::process_kernels().status; }

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT uint32_t qor_vm_set_mode(uint32_t mode) {
    const KernelSet* k = usable_kernels();
    return k ? k->services.SetMode(mode) : 0;
}

QOR_EXPORT uint32_t qor_vm_get_mode(void) {
    const KernelSet* k = usable_kernels();
    return k ? k->services.GetMode() : 0;
}

QOR_EXPORT int qor_vm_set_status(int status) {
    const KernelSet* k = usable_kernels();
    return k ? k->services.SetErrStatus(status) : init_status();
}

QOR_EXPORT int qor_vm_get_status(void) {
    const KernelSet* k = usable_kernels();
    return k ? k->services.GetErrStatus() : init_status();
}

QOR_EXPORT int qor_vm_clear_status(void) {
    const KernelSet* k = usable_kernels();
    return k ? k->services.ClearErrStatus() : init_status();
}

QOR_EXPORT qor_vm_error_callback qor_vm_set_error_callback(qor_vm_error_callback callback) {
    const KernelSet* k = usable_kernels();
    return k ? k->services.SetErrorCallBack(callback) : nullptr;
}

QOR_EXPORT qor_vm_error_callback qor_vm_get_error_callback(void) {
    const KernelSet* k = usable_kernels();
    return k ? k->services.GetErrorCallBack() : nullptr;
}

QOR_EXPORT qor_vm_error_callback qor_vm_clear_error_callback(void) {
    const KernelSet* k = usable_kernels();
    return k ? k->services.ClearErrorCallBack() : nullptr;
}

QOR_EXPORT const void* qor_vm_set_input_base(const void* base) {
    const KernelSet* k = usable_kernels();
    return k ? k->services.SetInterfInputVectorPointer(base) : nullptr;
}

QOR_EXPORT float qor_vm_cost(const char* row_name, int slot) {
    const KernelSet* k = usable_kernels();
    const qor::core::RowBinding* row = qor::core::find_row(row_name);
    if (!k || !row || slot < 0 || slot > 2) return -1.0f;
    return (k->costs.*row->cost)[slot];
}

QOR_EXPORT int qor_vm_row_count(void) { return qor::core::kRowCount; }

QOR_EXPORT const char* qor_vm_row_name(int index) {
    return index >= 0 && index < qor::core::kRowCount ? qor::core::kRowBindings[index].name : nullptr;
}

}  // extern "C"
