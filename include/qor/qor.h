/* qor: the interface applications include.
 *
 * The core library (libqor_core) is the only library an application links.
 * On first use it checks the processor, loads the kernel library that suits
 * it and forwards the calls below to that library's kernels.  qor_init()
 * does this explicitly and tells whether it worked; every other call does
 * it implicitly.  When the kernels cannot be used, the first call that needs
 * them prints the reason once on standard error, and such calls do nothing:
 * those with a status result return the initialisation status, the others
 * return 0, a null pointer or a negative cost.  The information calls and
 * the BLAS/LAPACK routines (qor_linalg.h) do not need the kernels.
 *
 * Vector math: for every function-and-form row that this build exports,
 *   void qor_v<p><Fn>(args...)                  accuracy from the thread's mode
 *   void qor_vm<p><Fn>(args..., uint32_t mode)  one call under the given mode
 * with p one of s, d, c, z; qor_vm_functions.h lists every prototype, e.g.
 *   qor_vdAdd(n, a, b, r);  qor_vmsSubI(n, a, 2, b, 2, r, 1, QOR_VM_LA);
 * The mode word, status codes, error record and callback type are those of
 * qor_vm.h (QOR_VM_LA, QOR_VM_ERRMODE_..., QOR_VM_STATUS_..., ...).
 *
 * Counts and increments: every count (n) and increment (inc...) of the
 * core's public calls is an int64_t, in vector math and random numbers
 * alike.  The kernels take 32-bit ones, so a call of more than 2^31 - 1
 * elements runs as several kernel calls of at most that many, each pointer
 * advanced by the elements done times its increment; a call with an
 * increment beyond the 32-bit range runs element by element.  An error
 * record's index then counts from the start of the kernel call that found
 * the error, unless an input base is set (qor_vm_set_input_base), which
 * makes it relative to that base.  The BLAS/LAPACK routines (qor_linalg.h)
 * keep their published 32-bit interface.
 *
 * Bad arguments of a vector-math call: a negative count is reported as
 * QOR_VM_STATUS_BADARG, a null array while the count is positive as
 * QOR_VM_STATUS_BADMEM (a count of 0 touches no array and is no error).
 * Such a call runs no kernel and writes nothing; it reports like a kernel
 * reports an element, under the mode it runs with: the status (unless the
 * error mode is QOR_VM_ERRMODE_NOERR), then the callback with a record whose
 * index is the 1-based position of the argument at fault and whose name is
 * the call's ("vdExp"), then errno (EINVAL, EACCES) and a message as the
 * error mode asks.  Increments are taken as given, any sign.
 *
 * Random numbers: streams, generators and distributions, qor_random.h.
 * Summary statistics: tasks, edits and basic statistics, qor_stats.h.
 * Data fitting: spline tasks, construction and cell search, qor_fit.h. */
#ifndef QOR_H
#define QOR_H

#include "qor_fit.h"
#include "qor_random.h"
#include "qor_stats.h"
#include "qor_types.h"
#include "qor_vm.h"


QOR_BEGIN_C

/* ---- Initialisation and status -------------------------------------------- */

/* Results of qor_init; the vector-math status codes (QOR_VM_STATUS_...) are
 * distinct from these. */
enum {
    QOR_STATUS_OK = 0,
    QOR_STATUS_CPU_UNSUPPORTED = -901,   /* the processor lacks SSE4.2 */
    QOR_STATUS_KERNEL_NOT_FOUND = -902,  /* the kernel library could not be loaded */
    QOR_STATUS_KERNEL_VERSION = -903,    /* the kernel library is for another instruction set */
    QOR_STATUS_KERNEL_INCOMPLETE = -904  /* the kernel library lacks an entry this core needs */
};

/* Finds and loads the kernels once per process (thread-safe); later calls
 * return the same result.  0 on success, else a QOR_STATUS_ code above. */
QOR_CORE_API int qor_init(void);

/* Text of a qor_init status or of a vector-math status code
 * ("unknown status" for any other code). */
QOR_CORE_API const char* qor_status_string(int status);

/* The families whose calls return or record status codes.  Their codes
 * overlap (-3 is a bad random-number argument and an unknown statistics
 * parameter code), so a text is looked up in the family's own table. */
enum {
    QOR_FAMILY_VM = 1,     /* QOR_VM_STATUS_..., qor_vm_get_status */
    QOR_FAMILY_RNG = 2,    /* QOR_RNG_STATUS_..., qor_random.h */
    QOR_FAMILY_STATS = 3,  /* SS_..., qor_stats.h */
    QOR_FAMILY_FIT = 4     /* status..., qor_fit.h */
};

/* Text of a status that a call of `family` returned or recorded: the
 * family's own codes, the qor_init statuses and 0; "unknown status" for
 * anything else or an unknown family. */
QOR_CORE_API const char* qor_family_status_string(int family, int status);

/* Why initialisation failed, in detail (paths tried, the loader's own
 * message); "" after a success.  Runs qor_init if needed. */
QOR_CORE_API const char* qor_init_detail(void);

/* ---- Information ------------------------------------------------------------ */

/* Name of the loaded kernel set ("sse42"), "" when none could be loaded. */
QOR_CORE_API const char* qor_kernel_set_name(void);
/* Path the kernel library was loaded from, "" when none. */
QOR_CORE_API const char* qor_kernel_path(void);
/* Instruction-set level the kernel library reports (5 for SSE4.2), or the
 * negative qor_init status. */
QOR_CORE_API int qor_kernel_cpu_version(void);

/* Processor: vendor string, brand string (may be ""), feature bits. */
enum {
    QOR_CPU_SSE2 = 1 << 0,
    QOR_CPU_SSE3 = 1 << 1,
    QOR_CPU_SSSE3 = 1 << 2,
    QOR_CPU_SSE41 = 1 << 3,
    QOR_CPU_SSE42 = 1 << 4,
    QOR_CPU_POPCNT = 1 << 5,
    QOR_CPU_AVX = 1 << 6,
    QOR_CPU_AVX2 = 1 << 7,
    QOR_CPU_FMA = 1 << 8,
    QOR_CPU_AVX512F = 1 << 9,
    QOR_CPU_AES = 1 << 10,
    QOR_CPU_VAES = 1 << 11,
    QOR_CPU_RDRAND = 1 << 12,
    QOR_CPU_FEATURE_COUNT = 13
};
QOR_CORE_API const char* qor_cpu_vendor(void);
QOR_CORE_API const char* qor_cpu_brand(void);
QOR_CORE_API uint32_t qor_cpu_features(void);
/* Name of feature bit 1 << index ("sse4.2", ...), null outside the range. */
QOR_CORE_API const char* qor_cpu_feature_name(int index);

/* Most threads a parallel loop of the library uses for the calling thread:
 * the process limit (QOR_NUM_THREADS when it holds a positive number, at
 * most 1024, otherwise the processors this process may run on), lowered by
 * the thread's own qor_set_num_threads. */
QOR_CORE_API int qor_get_max_threads(void);
/* Caps the parallel loops that the calling thread starts (summary
 * statistics, data fitting) at n threads; n <= 0 removes the cap.  A cap
 * above the process limit has no effect.  Other threads keep their own. */
QOR_CORE_API void qor_set_num_threads(int n);

/* ---- Vector math: mode, status, callback ------------------------------------- */

/* The calling thread's mode word.  set returns the previous mode; a field
 * of the new mode that is zero leaves that field as it was. */
QOR_CORE_API uint32_t qor_vm_set_mode(uint32_t mode);
QOR_CORE_API uint32_t qor_vm_get_mode(void);

/* The calling thread's last vector-math status (QOR_VM_STATUS_...).  set and
 * clear return the previous status. */
QOR_CORE_API int qor_vm_set_status(int status);
QOR_CORE_API int qor_vm_get_status(void);
QOR_CORE_API int qor_vm_clear_status(void);

/* The calling thread's error callback; set and clear return the previous
 * one.  Setting a callback turns QOR_VM_ERRMODE_CALLBACK on. */
QOR_CORE_API qor_vm_error_callback qor_vm_set_error_callback(qor_vm_error_callback callback);
QOR_CORE_API qor_vm_error_callback qor_vm_get_error_callback(void);
QOR_CORE_API qor_vm_error_callback qor_vm_clear_error_callback(void);

/* Base of the caller's whole input vector: error records then give element
 * indices relative to it.  Set it (null to switch off) before calls that
 * may report errors.  Returns base. */
QOR_CORE_API const void* qor_vm_set_input_base(const void* base);

/* Relative cost per element of a row ("dExp", "sAddI", ...) in accuracy
 * slot 0 (LA), 1 (HA) or 2 (EP); negative for an unknown row or slot. */
QOR_CORE_API float qor_vm_cost(const char* row_name, int slot);

/* The rows this build exports, by index in [0, qor_vm_row_count()). */
QOR_CORE_API int qor_vm_row_count(void);
QOR_CORE_API const char* qor_vm_row_name(int index);

QOR_END_C

/* ---- Vector math: the functions ----------------------------------------------
 * One prototype per function, precision and form in qor_vm_functions.h.
 * qor_vm<p><Fn> merges the non-zero fields of mode into the thread's mode
 * for one call, as qor_vm_set_mode does, and then puts the thread's previous
 * mode word back exactly, trap bits and flush-to-zero included.  An
 * accuracy field that is zero uses the thread's accuracy; one outside LA,
 * HA, EP selects HA. */
#include "qor_vm_functions.h"

#endif
