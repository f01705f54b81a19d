// The mode, status and callback services, exported under two names each.
#include "qor/qor_vm.h"
#include "thread_state.h"

using qor::vm::current_mode;
using qor::vm::thread_state;

namespace {

// Fields that SetMode replaces as a whole when the new value has any bit
// of them; bits outside these fields are ignored.
constexpr uint32_t kMergedFields[] = {0xF, 0xFF00, 0x30000, 0x3C0000, 0xF000000};

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t dll_cpu_version(void) { return 5; }

QOR_EXPORT uint32_t qor_lum_kernel_SetMode(uint32_t x) {
    uint32_t previous = current_mode();
    uint32_t mode = previous;
    for (uint32_t field : kMergedFields)
        if (x & field) mode = (mode & ~field) | (x & field);
    thread_state()->mode = mode;
    return previous;
}

QOR_EXPORT uint32_t _lumSetMode(uint32_t x) { return qor_lum_kernel_SetMode(x); }

// No merge: the word is stored as given, so a caller can put back a mode
// it saved, trap bits and cleared fields included.
QOR_EXPORT uint32_t qor_lum_kernel_RestoreMode(uint32_t mode) {
    qor::vm::ThreadState* s = thread_state();
    const uint32_t previous = s->mode;
    s->mode = mode;
    return previous;
}

QOR_EXPORT uint32_t qor_lum_kernel_GetMode(void) { return current_mode(); }

QOR_EXPORT int32_t qor_lum_kernel_SetErrStatus(int32_t status) {
    qor::vm::ThreadState* s = thread_state();
    int32_t previous = s->status;
    s->status = status;
    return previous;
}

QOR_EXPORT int32_t qor_lum_kernel_GetErrStatus(void) { return thread_state()->status; }

QOR_EXPORT int32_t qor_lum_kernel_ClearErrStatus(void) { return qor_lum_kernel_SetErrStatus(0); }

QOR_EXPORT qor_vm_error_callback qor_lum_kernel_SetErrorCallBack(qor_vm_error_callback cb) {
    qor_vm_error_callback previous = thread_state()->callback;
    uint32_t m = (qor_lum_kernel_GetMode() & ~uint32_t{QOR_VM_ERRMODE_CALLBACK}) |
                 (cb ? uint32_t{QOR_VM_ERRMODE_CALLBACK} : 0u);
    thread_state()->callback = cb;
    qor_lum_kernel_SetMode(m);
    return previous;
}

QOR_EXPORT qor_vm_error_callback qor_lum_kernel_GetErrorCallBack(void) { return thread_state()->callback; }

QOR_EXPORT qor_vm_error_callback qor_lum_kernel_ClearErrorCallBack(void) {
    qor_vm_error_callback previous = thread_state()->callback;
    uint32_t m = qor_lum_kernel_GetMode();
    thread_state()->callback = nullptr;
    // SetMode keeps a field whose new value is 0, so an error mode of
    // exactly 0x1000 keeps its callback bit.
    qor_lum_kernel_SetMode(m & ~uint32_t{QOR_VM_ERRMODE_CALLBACK});
    return previous;
}

QOR_EXPORT const void* qor_lum_kernel_SetInterfInputVectorPointer(const void* base) {
    thread_state()->base = base;
    return base;
}

// Read by every public call: the cached record's mode without a call, the
// full lookup only for a thread that has none yet.
QOR_EXPORT int32_t qor_lum_kernel_GetTTableIndex(void) {
    uint32_t mode = qor::vm::cached_mode();
    if (mode == 0) [[unlikely]] mode = current_mode();
    return static_cast<int32_t>(mode & 15) - 1;
}

QOR_EXPORT int32_t qor_lum_kernel_GetTTableIndexM(const void*, uint32_t mode) {
    return static_cast<int32_t>(mode & 15) - 1;
}

}  // extern "C"

// The second names of the services are aliases of the first.
#define QOR_VM_SERVICE_ALIAS(ret, op, params) \
    QOR_EXTERN_C QOR_EXPORT ret _lum##op params __attribute__((alias("qor_lum_kernel_" #op)));
QOR_VM_SERVICE_ALIAS(uint32_t, RestoreMode, (uint32_t mode))
QOR_VM_SERVICE_ALIAS(uint32_t, GetMode, (void))
QOR_VM_SERVICE_ALIAS(int32_t, SetErrStatus, (int32_t status))
QOR_VM_SERVICE_ALIAS(int32_t, GetErrStatus, (void))
QOR_VM_SERVICE_ALIAS(int32_t, ClearErrStatus, (void))
QOR_VM_SERVICE_ALIAS(qor_vm_error_callback, SetErrorCallBack, (qor_vm_error_callback cb))
QOR_VM_SERVICE_ALIAS(qor_vm_error_callback, GetErrorCallBack, (void))
QOR_VM_SERVICE_ALIAS(qor_vm_error_callback, ClearErrorCallBack, (void))
QOR_VM_SERVICE_ALIAS(const void*, SetInterfInputVectorPointer, (const void* base))
QOR_VM_SERVICE_ALIAS(int32_t, GetTTableIndex, (void))
QOR_VM_SERVICE_ALIAS(int32_t, GetTTableIndexM, (const void* ignored, uint32_t mode))
