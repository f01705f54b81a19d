/* BLAS and LAPACK routines of the core library, with the published Fortran
 * interfaces: every argument by pointer, matrices column-major, characters
 * compared by their first letter in either case, no hidden string lengths.
 * Unlike the core's other calls, whose counts are 64-bit, these keep the
 * published 32-bit int dimensions, increments and leading dimensions: the
 * kernel library imports them with exactly that interface.  They run on the
 * calling thread only (the backend's own threading is switched off); the
 * core's thread pool is the one place where work is spread over threads.
 *
 * Arguments are checked before any work, in the published order.  A routine
 * with an info argument stores -i there for a bad i-th argument; one without
 * prints "qor: qor_<name>: parameter i has an illegal value" on standard
 * error.  Either way the caller's arrays are left untouched.  A null
 * pointer counts as an illegal value of its argument, except for an array
 * that the call does not touch (size zero, or eigenvectors not wanted). */
#ifndef QOR_LINALG_H
#define QOR_LINALG_H

#include "qor_types.h"


QOR_BEGIN_C

#define QOR_LINALG_DECLS(p, T)                                                                              \
    /* C = alpha op(A) op(B) + beta C */                                                                   \
    QOR_CORE_API void qor_##p##gemm(const char* transa, const char* transb, const int* m, const int* n,     \
                                    const int* k, const T* alpha, const T* a, const int* lda, const T* b,   \
                                    const int* ldb, const T* beta, T* c, const int* ldc);                   \
    /* y = alpha op(A) x + beta y */                                                                       \
    QOR_CORE_API void qor_##p##gemv(const char* trans, const int* m, const int* n, const T* alpha,          \
                                    const T* a, const int* lda, const T* x, const int* incx, const T* beta, \
                                    T* y, const int* incy);                                                 \
    /* C = alpha A A' + beta C, or alpha A' A + beta C; one triangle of C */                               \
    QOR_CORE_API void qor_##p##syrk(const char* uplo, const char* trans, const int* n, const int* k,        \
                                    const T* alpha, const T* a, const int* lda, const T* beta, T* c,        \
                                    const int* ldc);                                                        \
    /* A = alpha x x' + A; one triangle of A */                                                            \
    QOR_CORE_API void qor_##p##syr(const char* uplo, const int* n, const T* alpha, const T* x,              \
                                   const int* incx, T* a, const int* lda);                                  \
    /* C = alpha A B + beta C (side L) or alpha B A + beta C (side R), A symmetric */                      \
    QOR_CORE_API void qor_##p##symm(const char* side, const char* uplo, const int* m, const int* n,         \
                                    const T* alpha, const T* a, const int* lda, const T* b, const int* ldb, \
                                    const T* beta, T* c, const int* ldc);                                   \
    /* B = alpha op(A) B (side L) or alpha B op(A) (side R), A triangular */                               \
    QOR_CORE_API void qor_##p##trmm(const char* side, const char* uplo, const char* transa,                 \
                                    const char* diag, const int* m, const int* n, const T* alpha,           \
                                    const T* a, const int* lda, T* b, const int* ldb);                      \
    /* Cholesky factor of a symmetric positive definite A, in place */                                     \
    QOR_CORE_API void qor_##p##potrf(const char* uplo, const int* n, T* a, const int* lda, int* info);      \
    /* Inverse of A from its Cholesky factor, in place (one triangle) */                                   \
    QOR_CORE_API void qor_##p##potri(const char* uplo, const int* n, T* a, const int* lda, int* info);      \
    /* Inverse of a triangular matrix, in place */                                                         \
    QOR_CORE_API void qor_##p##trtri(const char* uplo, const char* diag, const int* n, T* a,                \
                                     const int* lda, int* info);                                            \
    /* Eigenvalues (ascending) and optionally eigenvectors of a symmetric A; lwork -1 asks for the \
     * optimal workspace size in work[0] */                                                                \
    QOR_CORE_API void qor_##p##syev(const char* jobz, const char* uplo, const int* n, T* a, const int* lda, \
                                    T* w, T* work, const int* lwork, int* info);                            \
    /* Eigenvalues and optionally eigenvectors of a symmetric A in packed storage, divide and \
     * conquer; lwork or liwork -1 asks for the workspace sizes in work[0] and iwork[0] */                 \
    QOR_CORE_API void qor_##p##spevd(const char* jobz, const char* uplo, const int* n, T* ap, T* w, T* z,  \
                                     const int* ldz, T* work, const int* lwork, int* iwork,                 \
                                     const int* liwork, int* info);

QOR_LINALG_DECLS(d, double)
QOR_LINALG_DECLS(s, float)
#undef QOR_LINALG_DECLS

QOR_END_C

#endif
