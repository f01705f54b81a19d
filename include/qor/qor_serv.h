/* Services of the core library that the kernel library imports. */
#ifndef QOR_SERV_H
#define QOR_SERV_H

#include "qor_types.h"

QOR_BEGIN_C

/* Aligned allocation; alignment is a power of two (0 means 64). Returns null
 * on failure, for size 0 and for a negative or non-power-of-two alignment.
 * Memory goes back through qor_serv_deallocate (null is ignored). */
QOR_CORE_API void* qor_serv_allocate(size_t size, int alignment);
QOR_CORE_API void qor_serv_deallocate(void* p);

/* Bounded copy: copies count bytes (overlap allowed) when they fit in
 * dest_size, else clears dest and returns 34 (ERANGE); a null dest, or a
 * null src (which clears dest), returns 22 (EINVAL).  count 0 returns 0. */
QOR_CORE_API int qor_serv_memcpy_s(void* dest, size_t dest_size, const void* src, size_t count);

/* Process-wide spin locks on a caller-owned word that starts at zero; not
 * recursive. */
QOR_CORE_API void qor_serv_lock(volatile int32_t* lock);
QOR_CORE_API void qor_serv_unlock(volatile int32_t* lock);

/* Copies the environment variable into buf (NUL-terminated, truncated to
 * size - 1 characters) and returns its full length; 0 when absent or empty.
 * With a null buf or size <= 0 only the length is returned. */
QOR_CORE_API int qor_serv_getenv(char* buf, int size, const char* name);

/* Prints catalogue message msg_id with its arguments to standard error.
 * Level 1 is an error line.  Arguments per message:
 *   748: name, index      749-754: name     755-766: index, value
 *   773: none */
QOR_CORE_API void qor_serv_print(int level, int msg_id, ...);

/* Ends the process with the given code, as exit() does: exit handlers
 * run and the C streams are flushed. */
QOR_CORE_API void qor_serv_exit(int code);

/* Address of a threading service by name ("qor_rix_serv_threader_for",
 * "qor_rix_serv_threader_get_num_threads_limit"); null when unknown. */
QOR_CORE_API void* qor_serv_load_thread_fun(const char* name);

/* Non-zero on processors with the vector AES instructions (and the AVX
 * register state they need enabled by the OS). */
QOR_CORE_API int qor_serv_cpuisicx(void);

QOR_END_C

#endif
