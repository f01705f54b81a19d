// BLAS/LAPACK backend: OpenBLAS, whose library carries LAPACK as well.
// Its routines follow the Fortran calling convention, so every argument
// goes by address and each character argument has a hidden length.
//
// OpenBLAS runs single-threaded here: the statistics and fitting kernels
// already split their work over the core's thread pool and call these
// routines from its threads, so a second pool inside OpenBLAS would only
// oversubscribe the processors.  The setting is made once, when the core
// library is loaded, and applies to the process's OpenBLAS as a whole.
#if defined(QOR_LINALG_OPENBLAS)

#include <cstddef>

#include "linalg_backend.h"

namespace {
using Len = std::size_t;  // hidden length of a character argument
constexpr Len kOne = 1;
}  // namespace

#define QOR_OPENBLAS_DECLS(p, T)                                                                              \
    void p##gemm_(const char*, const char*, const int*, const int*, const int*, const T*, const T*, const int*, \
                  const T*, const int*, const T*, T*, const int*, Len, Len);                                  \
    void p##gemv_(const char*, const int*, const int*, const T*, const T*, const int*, const T*, const int*,    \
                  const T*, T*, const int*, Len);                                                             \
    void p##syrk_(const char*, const char*, const int*, const int*, const T*, const T*, const int*, const T*,  \
                  T*, const int*, Len, Len);                                                                  \
    void p##syr_(const char*, const int*, const T*, const T*, const int*, T*, const int*, Len);                 \
    void p##symm_(const char*, const char*, const int*, const int*, const T*, const T*, const int*, const T*,  \
                  const int*, const T*, T*, const int*, Len, Len);                                            \
    void p##trmm_(const char*, const char*, const char*, const char*, const int*, const int*, const T*,        \
                  const T*, const int*, T*, const int*, Len, Len, Len, Len);                                  \
    void p##potrf_(const char*, const int*, T*, const int*, int*, Len);                                       \
    void p##potri_(const char*, const int*, T*, const int*, int*, Len);                                       \
    void p##trtri_(const char*, const char*, const int*, T*, const int*, int*, Len, Len);                      \
    void p##syev_(const char*, const char*, const int*, T*, const int*, T*, T*, const int*, int*, Len, Len);  \
    void p##spevd_(const char*, const char*, const int*, T*, T*, T*, const int*, T*, const int*, int*,        \
                   const int*, int*, Len, Len);

extern "C" {
void openblas_set_num_threads(int num_threads);
QOR_OPENBLAS_DECLS(d, double)
QOR_OPENBLAS_DECLS(s, float)
}
#undef QOR_OPENBLAS_DECLS

namespace qor::core::linalg {

namespace {
[[maybe_unused]] const bool kOpenBlasSingleThreaded = (openblas_set_num_threads(1), true);
}  // namespace

#define QOR_OPENBLAS_FORWARD(p, T)                                                                            \
    void gemm(char transa, char transb, int m, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb, \
              T beta, T* c, int ldc) {                                                                        \
        p##gemm_(&transa, &transb, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc, kOne, kOne);         \
    }                                                                                                         \
    void gemv(char trans, int m, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y,      \
              int incy) {                                                                                     \
        p##gemv_(&trans, &m, &n, &alpha, a, &lda, x, &incx, &beta, y, &incy, kOne);                           \
    }                                                                                                         \
    void syrk(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, T beta, T* c, int ldc) {      \
        p##syrk_(&uplo, &trans, &n, &k, &alpha, a, &lda, &beta, c, &ldc, kOne, kOne);                         \
    }                                                                                                         \
    void syr(char uplo, int n, T alpha, const T* x, int incx, T* a, int lda) {                                \
        p##syr_(&uplo, &n, &alpha, x, &incx, a, &lda, kOne);                                                  \
    }                                                                                                         \
    void symm(char side, char uplo, int m, int n, T alpha, const T* a, int lda, const T* b, int ldb, T beta,   \
              T* c, int ldc) {                                                                                \
        p##symm_(&side, &uplo, &m, &n, &alpha, a, &lda, b, &ldb, &beta, c, &ldc, kOne, kOne);                 \
    }                                                                                                         \
    void trmm(char side, char uplo, char transa, char diag, int m, int n, T alpha, const T* a, int lda, T* b,  \
              int ldb) {                                                                                      \
        p##trmm_(&side, &uplo, &transa, &diag, &m, &n, &alpha, a, &lda, b, &ldb, kOne, kOne, kOne, kOne);     \
    }                                                                                                         \
    int potrf(char uplo, int n, T* a, int lda) {                                                              \
        int info = 0;                                                                                         \
        p##potrf_(&uplo, &n, a, &lda, &info, kOne);                                                           \
        return info;                                                                                          \
    }                                                                                                         \
    int potri(char uplo, int n, T* a, int lda) {                                                              \
        int info = 0;                                                                                         \
        p##potri_(&uplo, &n, a, &lda, &info, kOne);                                                           \
        return info;                                                                                          \
    }                                                                                                         \
    int trtri(char uplo, char diag, int n, T* a, int lda) {                                                   \
        int info = 0;                                                                                         \
        p##trtri_(&uplo, &diag, &n, a, &lda, &info, kOne, kOne);                                              \
        return info;                                                                                          \
    }                                                                                                         \
    int syev(char jobz, char uplo, int n, T* a, int lda, T* w, T* work, int lwork) {                          \
        int info = 0;                                                                                         \
        p##syev_(&jobz, &uplo, &n, a, &lda, w, work, &lwork, &info, kOne, kOne);                              \
        return info;                                                                                          \
    }                                                                                                         \
    int spevd(char jobz, char uplo, int n, T* ap, T* w, T* z, int ldz, T* work, int lwork, int* iwork,         \
              int liwork) {                                                                                   \
        int info = 0;                                                                                         \
        p##spevd_(&jobz, &uplo, &n, ap, w, z, &ldz, work, &lwork, iwork, &liwork, &info, kOne, kOne);         \
        return info;                                                                                          \
    }

QOR_OPENBLAS_FORWARD(d, double)
QOR_OPENBLAS_FORWARD(s, float)
#undef QOR_OPENBLAS_FORWARD

}  // namespace qor::core::linalg

#endif
