// Default actions of the error path: errno, a message on standard error,
// and a floating-point exception that traps when the mode enables it.
#include <cstring>

#include "error_report.h"
#include "platform.h"
#include "qor/qor_serv.h"

namespace qor::vm {
namespace {

struct CodeActions {
    int errno_value;
    int first_message;  // 0: nothing printed
    uint16_t x87_flag;  // raised by the except action
};

CodeActions actions_for(int code) {
    switch (code) {
        case 0: return {0, 0, 0};
        case 1: return {33, 750, 0x01};   // EDOM, invalid operation
        case 2: return {34, 751, 0x04};   // ERANGE, zero divide
        case 3: return {34, 752, 0x08};   // ERANGE, overflow
        case 4: return {34, 753, 0x10};   // ERANGE, underflow
        case -1: return {22, 748, 0};     // EINVAL
        case -2: return {13, 749, 0};     // EACCES
        default: return {14, 754, 0};     // EFAULT
    }
}

bool same_bits(double x, double y) { return std::memcmp(&x, &y, sizeof x) == 0; }

void print_record(const qor_vm_error_record& r) {
    if (r.code == 0 || !platform::stderr_available()) return;
    if (r.code == -1) { qor_serv_print(1, 748, r.name, r.index); return; }
    if (r.code == -2) { qor_serv_print(1, 749, r.name); return; }
    qor_serv_print(1, actions_for(r.code).first_message, r.name);
    const bool one_arg = same_bits(r.arg2, r.arg1) || r.arg2 == 0.0;
    const bool one_res = same_bits(r.res2, r.res1) || r.res2 == 0.0;
    if (one_arg && one_res) {
        qor_serv_print(1, 755, r.index, r.arg1);
        qor_serv_print(1, 756, r.index, r.res1);
    } else if (one_arg) {
        qor_serv_print(1, 757, r.index, r.arg1);
        qor_serv_print(1, 758, r.index, r.res1);
        qor_serv_print(1, 759, r.index, r.res2);
    } else if (one_res) {
        qor_serv_print(1, 760, r.index, r.arg1);
        qor_serv_print(1, 761, r.index, r.arg2);
        qor_serv_print(1, 762, r.index, r.res1);
    } else {
        qor_serv_print(1, 763, r.index, r.arg1);
        qor_serv_print(1, 764, r.index, r.arg2);
        qor_serv_print(1, 765, r.index, r.res1);
        qor_serv_print(1, 766, r.index, r.res2);
    }
}

// x87 environment as fnstenv stores it in 32-bit protected mode layout.
struct X87Environment {
    uint16_t control, pad0;
    uint16_t status, pad1;
    uint16_t tag, pad2;
    uint32_t rest[4];
};

void raise_x87(uint16_t flag, uint32_t mode, CallContext& ctx) {
    if (!flag) return;
    ctx.take_x87();
    X87Environment saved;
    asm volatile("fnstenv %0" : "=m"(saved));
    X87Environment copy = saved;
    copy.control = static_cast<uint16_t>(saved.control | 0x3F);
    if (mode & QOR_VM_TRAP_INVALID) copy.control &= ~0x01;
    if (mode & QOR_VM_TRAP_DIVBYZERO) copy.control &= ~0x04;
    if (mode & QOR_VM_TRAP_OVERFLOW) copy.control &= ~0x08;
    if (mode & QOR_VM_TRAP_UNDERFLOW) copy.control &= ~0x10;
    copy.status = static_cast<uint16_t>((saved.status & ~0x80BF) | flag);
    // An unmasked flag makes the exception pending (summary and busy bits),
    // to be delivered by the next waiting x87 instruction: the load below.
    if (flag & ~copy.control & 0x3F) copy.status |= 0x8080;
    asm volatile("fldenv %0" : : "m"(copy) : "memory");
    saved.control |= 0x3F;
    saved.status |= flag;
    asm volatile("fldenv %0" : : "m"(saved) : "memory");
}

}  // namespace

void run_default_actions(const qor_vm_error_record& record, uint32_t mode, CallContext& ctx) {
    const CodeActions act = actions_for(record.code);
    if (mode & QOR_VM_ERRMODE_ERRNO) platform::set_caller_errno(act.errno_value);
    if (mode & QOR_VM_ERRMODE_STDERR) print_record(record);
    if (mode & QOR_VM_ERRMODE_EXCEPT) raise_x87(act.x87_flag, mode, ctx);
}

}  // namespace qor::vm
