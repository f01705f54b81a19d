// Entry points: each is one indirect jump through its slot of the row's
// kernel table, with no frame, so every argument register and stack
// argument reaches the kernel as the caller passed it.
#include "qor/qor_vm.h"

#if defined(_WIN32)
#  define QOR_ASM_FUNCTION(name) ".globl " name "\n.def " name "; .scl 2; .type 32; .endef\n"
#  define QOR_ASM_EXPORT(name) ".section .drectve\n.ascii \" -export:" name "\"\n.text\n"
#else
#  define QOR_ASM_FUNCTION(name) ".globl " name "\n.type " name ", @function\n"
#  define QOR_ASM_EXPORT(name)
#endif

#define QOR_ASM_JUMP(table, slot) "\tjmp *" table "+" #slot "(%rip)\n"

#define QOR_VM_ENTRIES(p, Fn)                                                                  \
    asm(".text\n.p2align 4\n"                                                                  \
        QOR_ASM_FUNCTION("_lum" #p #Fn) QOR_ASM_FUNCTION("_lum" #p #Fn "_HA")                  \
        "_lum" #p #Fn ":\n_lum" #p #Fn "_HA:\n" QOR_ASM_JUMP("qor_vm_ttab_" #p #Fn, 8)          \
        ".p2align 3\n" QOR_ASM_FUNCTION(QOR_VM_LA_NAME(p, Fn))                                 \
        QOR_VM_LA_NAME(p, Fn) ":\n" QOR_ASM_JUMP("qor_vm_ttab_" #p #Fn, 0)                     \
        ".p2align 3\n" QOR_ASM_FUNCTION(QOR_VM_EP_NAME(p, Fn))                                 \
        QOR_VM_EP_NAME(p, Fn) ":\n" QOR_ASM_JUMP("qor_vm_ttab_" #p #Fn, 16)                    \
        QOR_ASM_EXPORT("_lum" #p #Fn) QOR_ASM_EXPORT("_lum" #p #Fn "_HA")                       \
        QOR_ASM_EXPORT(QOR_VM_LA_NAME(p, Fn)) QOR_ASM_EXPORT(QOR_VM_EP_NAME(p, Fn)));

#define QOR_VM_LA_NAME(p, Fn) QOR_VM_STR(QOR_VM_CAT(_lum##p##Fn, QOR_VM_LA_SUFFIX_##p))
#define QOR_VM_EP_NAME(p, Fn) QOR_VM_STR(QOR_VM_CAT(_lum##p##Fn, QOR_VM_EP_SUFFIX_##p))

#define QOR_VM_ROW(p, Fn, kind, share, on, ...) QOR_VM_IF_ON(on, QOR_VM_ENTRIES(p, Fn))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
