/* Vector math: the exported interface of the kernel library.
 *
 * Every function-and-form row of vm_rows.def exports four entry points,
 * _lum<p><Fn> and _lum<p><Fn>_HA (one address, the HA kernel), and the LA
 * and EP names (_50/_26 for d and z, _21/_11 for s and c), plus the kernel
 * table qor_lum_kernel_<p><Fn>_ttab (LA, HA, EP) and the cost table
 * qor_lum_kernel_<p><Fn>_ctab.  Only rows marked on are exported. */
#ifndef QOR_VM_H
#define QOR_VM_H

#include "qor_types.h"
#include "vm_kinds.h"

#ifdef QOR_BUILDING_KERNELS
#  define QOR_KERNEL_API QOR_EXPORT
#else
#  define QOR_KERNEL_API QOR_IMPORT
#endif

QOR_BEGIN_C

/* Mode word fields. */
enum {
    QOR_VM_ACCURACY_MASK = 0xF,
    QOR_VM_LA = 0x1,
    QOR_VM_HA = 0x2,
    QOR_VM_EP = 0x3,
    QOR_VM_CONSISTENCY_MASK = 0xF0,
    QOR_VM_ERRMODE_MASK = 0xFF00,
    QOR_VM_ERRMODE_IGNORE = 0x100,
    QOR_VM_ERRMODE_ERRNO = 0x200,
    QOR_VM_ERRMODE_STDERR = 0x400,
    QOR_VM_ERRMODE_EXCEPT = 0x800,
    QOR_VM_ERRMODE_CALLBACK = 0x1000,
    QOR_VM_ERRMODE_NOERR = 0x2000,
    QOR_VM_ERRMODE_DEFAULT = 0x1A00,
    QOR_VM_FIELD_30000 = 0x30000,
    QOR_VM_FTZDAZ_MASK = 0x3C0000,
    QOR_VM_FTZDAZ_ON = 0x280000,
    QOR_VM_FTZDAZ_OFF = 0x140000,
    QOR_VM_TRAP_MASK = 0xF000000,
    QOR_VM_TRAP_INVALID = 0x1000000,
    QOR_VM_TRAP_DIVBYZERO = 0x2000000,
    QOR_VM_TRAP_OVERFLOW = 0x4000000,
    QOR_VM_TRAP_UNDERFLOW = 0x8000000,
    QOR_VM_MODE_DEFAULT = 0x1A02
};

/* Status codes reported per element. */
enum {
    QOR_VM_STATUS_OK = 0,
    QOR_VM_STATUS_DOMAIN = 1,
    QOR_VM_STATUS_SING = 2,
    QOR_VM_STATUS_OVERFLOW = 3,
    QOR_VM_STATUS_UNDERFLOW = 4,
    QOR_VM_STATUS_BADARG = -1,
    QOR_VM_STATUS_BADMEM = -2
};

/* What a reporter hands to the callback and the default actions. */
typedef struct qor_vm_error_record {
    int32_t code;
    int32_t index;
    double arg1;
    double arg2;
    double res1;
    double res2;
    char name[64];
    int32_t name_length;
    /* Complex reporters only: imaginary parts. */
    double arg1_im;
    double arg2_im;
    double res1_im;
    double res2_im;
} qor_vm_error_record;

/* A callback that returns non-zero keeps the kernel's own result and skips
 * the default actions; one that returns 0 may replace res1/res2. */
typedef int32_t (*qor_vm_error_callback)(qor_vm_error_record* record);

/* Generic kernel address as stored in a _ttab. */
typedef void (*qor_vm_kernel)(void);

QOR_KERNEL_API int32_t dll_cpu_version(void);

/* Services on the calling thread's state.  SetMode merges the non-zero
 * fields of its argument into the mode; RestoreMode stores a whole word as
 * given and returns the word it replaces as stored (0 on a thread that has
 * not used its mode yet), so that a saved mode comes back exactly. */
#define QOR_VM_SERVICES(X) \
    X(uint32_t, SetMode, (uint32_t mode)) \
    X(uint32_t, RestoreMode, (uint32_t mode)) \
    X(uint32_t, GetMode, (void)) \
    X(int32_t, SetErrStatus, (int32_t status)) \
    X(int32_t, GetErrStatus, (void)) \
    X(int32_t, ClearErrStatus, (void)) \
    X(qor_vm_error_callback, SetErrorCallBack, (qor_vm_error_callback cb)) \
    X(qor_vm_error_callback, GetErrorCallBack, (void)) \
    X(qor_vm_error_callback, ClearErrorCallBack, (void)) \
    X(const void*, SetInterfInputVectorPointer, (const void* base)) \
    X(int32_t, GetTTableIndex, (void)) \
    X(int32_t, GetTTableIndexM, (const void* ignored, uint32_t mode))

#define QOR_VM_DECLARE_SERVICE(ret, op, params) \
    QOR_KERNEL_API ret qor_lum_kernel_##op params; \
    QOR_KERNEL_API ret _lum##op params;
QOR_VM_SERVICES(QOR_VM_DECLARE_SERVICE)
#undef QOR_VM_DECLARE_SERVICE

/* Entry points and tables of every row (declared whether on or not; only
 * rows that are on link). */
#define QOR_VM_ROW(p, Fn, kind, share, on, ...) \
    void _lum##p##Fn QOR_VM_PARAMS(kind, p); \
    void _lum##p##Fn##_HA QOR_VM_PARAMS(kind, p); \
    void QOR_VM_CAT(_lum##p##Fn, QOR_VM_LA_SUFFIX_##p) QOR_VM_PARAMS(kind, p); \
    void QOR_VM_CAT(_lum##p##Fn, QOR_VM_EP_SUFFIX_##p) QOR_VM_PARAMS(kind, p); \
    QOR_KERNEL_API extern const qor_vm_kernel qor_lum_kernel_##p##Fn##_ttab[3]; \
    QOR_KERNEL_API extern const float qor_lum_kernel_##p##Fn##_ctab[3];
#include "vm_rows.def"
#undef QOR_VM_ROW

QOR_END_C

#endif
