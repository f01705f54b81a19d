// The exported BLAS/LAPACK routines: check the arguments, then hand them by
// value to the backend.
#include <string>

#include "linalg_backend.h"
#include "linalg_checks.h"
#include "platform.h"
#include "qor/qor_linalg.h"

namespace qor::core::linalg {
namespace {

void report_illegal(const char* routine, int position) {
    const std::string line =
        std::string("qor: ") + routine + ": parameter " + std::to_string(position) + " has an illegal value\n";
    write_stderr(line.data(), line.size());
}

// BLAS routines have no status argument: a bad argument is reported on
// standard error and the call does nothing.
bool blas_arguments_ok(const char* routine, int bad) {
    if (bad) report_illegal(routine, bad);
    return bad == 0;
}

// LAPACK routines store -position in info; without an info to store into,
// the problem is printed instead.
bool lapack_arguments_ok(const char* routine, int bad, int* info, int info_position) {
    if (!info) {
        report_illegal(routine, info_position);
        return false;
    }
    *info = -bad;
    return bad == 0;
}

}  // namespace
}  // namespace qor::core::linalg

using namespace qor::core::linalg;

#define QOR_LINALG_EXPORTS(p, T)                                                                               \
    QOR_EXPORT void qor_##p##gemm(const char* transa, const char* transb, const int* m, const int* n,           \
                                  const int* k, const T* alpha, const T* a, const int* lda, const T* b,         \
                                  const int* ldb, const T* beta, T* c, const int* ldc) {                        \
        if (blas_arguments_ok("qor_" #p "gemm",                                                                 \
                              check_gemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc)))        \
            gemm(letter(transa), letter(transb), *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);         \
    }                                                                                                          \
    QOR_EXPORT void qor_##p##gemv(const char* trans, const int* m, const int* n, const T* alpha, const T* a,     \
                                  const int* lda, const T* x, const int* incx, const T* beta, T* y,             \
                                  const int* incy) {                                                            \
        if (blas_arguments_ok("qor_" #p "gemv", check_gemv(trans, m, n, alpha, a, lda, x, incx, beta, y, incy))) \
            gemv(letter(trans), *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);                            \
    }                                                                                                          \
    QOR_EXPORT void qor_##p##syrk(const char* uplo, const char* trans, const int* n, const int* k,              \
                                  const T* alpha, const T* a, const int* lda, const T* beta, T* c,              \
                                  const int* ldc) {                                                             \
        if (blas_arguments_ok("qor_" #p "syrk", check_syrk(uplo, trans, n, k, alpha, a, lda, beta, c, ldc)))    \
            syrk(letter(uplo), letter(trans), *n, *k, *alpha, a, *lda, *beta, c, *ldc);                         \
    }                                                                                                          \
    QOR_EXPORT void qor_##p##syr(const char* uplo, const int* n, const T* alpha, const T* x, const int* incx,    \
                                 T* a, const int* lda) {                                                        \
        if (blas_arguments_ok("qor_" #p "syr", check_syr(uplo, n, alpha, x, incx, a, lda)))                     \
            syr(letter(uplo), *n, *alpha, x, *incx, a, *lda);                                                   \
    }                                                                                                          \
    QOR_EXPORT void qor_##p##symm(const char* side, const char* uplo, const int* m, const int* n,               \
                                  const T* alpha, const T* a, const int* lda, const T* b, const int* ldb,       \
                                  const T* beta, T* c, const int* ldc) {                                        \
        if (blas_arguments_ok("qor_" #p "symm",                                                                 \
                              check_symm(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc)))               \
            symm(letter(side), letter(uplo), *m, *n, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);                 \
    }                                                                                                          \
    QOR_EXPORT void qor_##p##trmm(const char* side, const char* uplo, const char* transa, const char* diag,     \
                                  const int* m, const int* n, const T* alpha, const T* a, const int* lda, T* b, \
                                  const int* ldb) {                                                             \
        if (blas_arguments_ok("qor_" #p "trmm",                                                                 \
                              check_trmm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb)))               \
            trmm(letter(side), letter(uplo), letter(transa), letter(diag), *m, *n, *alpha, a, *lda, b, *ldb);   \
    }                                                                                                          \
    QOR_EXPORT void qor_##p##potrf(const char* uplo, const int* n, T* a, const int* lda, int* info) {           \
        if (lapack_arguments_ok("qor_" #p "potrf", check_potrf(uplo, n, a, lda), info, 5))                      \
            *info = potrf(letter(uplo), *n, a, *lda);                                                           \
    }                                                                                                          \
    QOR_EXPORT void qor_##p##potri(const char* uplo, const int* n, T* a, const int* lda, int* info) {           \
        if (lapack_arguments_ok("qor_" #p "potri", check_potrf(uplo, n, a, lda), info, 5))                      \
            *info = potri(letter(uplo), *n, a, *lda);                                                           \
    }                                                                                                          \
    QOR_EXPORT void qor_##p##trtri(const char* uplo, const char* diag, const int* n, T* a, const int* lda,      \
                                   int* info) {                                                                 \
        if (lapack_arguments_ok("qor_" #p "trtri", check_trtri(uplo, diag, n, a, lda), info, 6))                \
            *info = trtri(letter(uplo), letter(diag), *n, a, *lda);                                             \
    }                                                                                                          \
    QOR_EXPORT void qor_##p##syev(const char* jobz, const char* uplo, const int* n, T* a, const int* lda, T* w,  \
                                  T* work, const int* lwork, int* info) {                                       \
        if (lapack_arguments_ok("qor_" #p "syev", check_syev(jobz, uplo, n, a, lda, w, work, lwork), info, 9))  \
            *info = syev(letter(jobz), letter(uplo), *n, a, *lda, w, work, *lwork);                             \
    }                                                                                                          \
    QOR_EXPORT void qor_##p##spevd(const char* jobz, const char* uplo, const int* n, T* ap, T* w, T* z,         \
                                   const int* ldz, T* work, const int* lwork, int* iwork, const int* liwork,    \
                                   int* info) {                                                                 \
        if (lapack_arguments_ok("qor_" #p "spevd",                                                              \
                                check_spevd(jobz, uplo, n, ap, w, z, ldz, work, lwork, iwork, liwork), info,    \
                                12))                                                                            \
            *info = spevd(letter(jobz), letter(uplo), *n, ap, w, z, *ldz, work, *lwork, iwork, *liwork);        \
    }

QOR_EXTERN_C {
QOR_LINALG_EXPORTS(d, double)
QOR_LINALG_EXPORTS(s, float)
}
