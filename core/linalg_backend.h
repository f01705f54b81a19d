// The seam between the exported BLAS/LAPACK routines and the library that
// computes them.  The exported routines check the arguments first; a
// backend receives only valid ones, by value, with characters already
// upper-cased.  One backend per build: OpenBLAS (with its LAPACK) here, Eigen
// where OpenBLAS is not available.
#pragma once

namespace qor::core::linalg {

#define QOR_LINALG_BACKEND_DECLS(T)                                                                          \
    void gemm(char transa, char transb, int m, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb, \
              T beta, T* c, int ldc);                                                                         \
    void gemv(char trans, int m, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y,      \
              int incy);                                                                                      \
    void syrk(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, T beta, T* c, int ldc);       \
    void syr(char uplo, int n, T alpha, const T* x, int incx, T* a, int lda);                                 \
    void symm(char side, char uplo, int m, int n, T alpha, const T* a, int lda, const T* b, int ldb, T beta,   \
              T* c, int ldc);                                                                                 \
    void trmm(char side, char uplo, char transa, char diag, int m, int n, T alpha, const T* a, int lda, T* b,  \
              int ldb);                                                                                       \
    /* The LAPACK routines return info (0, or > 0 for a numerical failure). */                               \
    int potrf(char uplo, int n, T* a, int lda);                                                               \
    int potri(char uplo, int n, T* a, int lda);                                                               \
    int trtri(char uplo, char diag, int n, T* a, int lda);                                                    \
    /* lwork -1: store the optimal size in work[0] and return 0. */                                          \
    int syev(char jobz, char uplo, int n, T* a, int lda, T* w, T* work, int lwork);                           \
    /* lwork or liwork -1: store the sizes in work[0] and iwork[0] and return 0. */                          \
    int spevd(char jobz, char uplo, int n, T* ap, T* w, T* z, int ldz, T* work, int lwork, int* iwork,         \
              int liwork);

QOR_LINALG_BACKEND_DECLS(double)
QOR_LINALG_BACKEND_DECLS(float)
#undef QOR_LINALG_BACKEND_DECLS

}  // namespace qor::core::linalg
