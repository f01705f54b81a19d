/* Threading services of the core library, handed to statistics and
 * data-fitting compute entries. */
#ifndef QOR_THREADING_H
#define QOR_THREADING_H

#include "qor_serv.h"

QOR_BEGIN_C

/* One unit of a parallel loop: index in [0, count), the count, the shared
 * argument block. */
typedef void (*qor_thread_worker)(int index, int count, void* context);

/* Runs worker(i, count, context) for every i in [0, count) on at most
 * num_threads threads (the caller's thread included) and returns when all
 * are done.  num_threads <= 0, or above the calling thread's limit
 * (qor_get_max_threads), means that limit.  The other threads
 * run their indices under the caller's vector-math mode word and error
 * callback and then get their own back; a vector-math status they record
 * becomes the caller's when the call returns. */
typedef void (*qor_threader_for_fn)(int count, int num_threads, void* context, qor_thread_worker worker);
typedef int (*qor_threader_limit_fn)(void);

typedef struct qor_threading {
    qor_threader_for_fn parallel_for;
    qor_threader_limit_fn get_num_threads_limit;
} qor_threading;

QOR_CORE_API void qor_rix_serv_threader_for(int count, int num_threads, void* context, qor_thread_worker worker);
QOR_CORE_API int qor_rix_serv_threader_get_num_threads_limit(void);

QOR_END_C

#endif
