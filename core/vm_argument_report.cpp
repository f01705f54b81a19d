// The error path of a vector-math call refused before any kernel ran.
#include <cerrno>
#include <cstring>

#include "qor/qor_serv.h"
#include "vm_dispatch.h"

namespace qor::core {

void report_bad_arguments(const KernelServices& s, int status, int position, const char* name) {
    const uint32_t mode = s.GetMode();
    const uint32_t errmode = mode & QOR_VM_ERRMODE_MASK;
    if (errmode == QOR_VM_ERRMODE_NOERR) return;
    s.SetErrStatus(status);
    if (errmode == QOR_VM_ERRMODE_IGNORE) return;
    if (mode & QOR_VM_ERRMODE_CALLBACK) {
        if (const qor_vm_error_callback callback = s.GetErrorCallBack()) {
            qor_vm_error_record record{};
            record.code = status;
            record.index = position;
            const std::size_t length = std::strlen(name) < 47 ? std::strlen(name) : 47;
            std::memcpy(record.name, name, length);
            record.name_length = static_cast<int32_t>(length);
            if (callback(&record) != 0) return;
        }
    }
    if (mode & QOR_VM_ERRMODE_ERRNO) errno = status == QOR_VM_STATUS_BADARG ? EINVAL : EACCES;
    if (mode & QOR_VM_ERRMODE_STDERR) {
        if (status == QOR_VM_STATUS_BADARG)
            qor_serv_print(1, 748, name, position);
        else
            qor_serv_print(1, 749, name);
    }
}

}  // namespace qor::core
