// Argument checks of the exported BLAS/LAPACK routines, shared by both
// precisions and independent of the backend.  Each returns the 1-based
// position of the first bad argument, or 0 when all are valid.  Positions
// are checked in increasing order, so for non-null arguments the answer is
// the one the reference implementation gives (a null pointer is reported at
// its own position; for spevd the workspace pointers are all tested before
// their sizes).  Array arguments are only tested for null, and only when the
// call would touch them.
#pragma once

namespace qor::core::linalg {

// First letter upper-cased; 0 for a null pointer.
char letter(const char* c);

using cptr = const void*;
using iptr = const int*;
using sptr = const char*;

int check_gemm(sptr transa, sptr transb, iptr m, iptr n, iptr k, cptr alpha, cptr a, iptr lda, cptr b, iptr ldb,
               cptr beta, cptr c, iptr ldc);
int check_gemv(sptr trans, iptr m, iptr n, cptr alpha, cptr a, iptr lda, cptr x, iptr incx, cptr beta, cptr y,
               iptr incy);
int check_syrk(sptr uplo, sptr trans, iptr n, iptr k, cptr alpha, cptr a, iptr lda, cptr beta, cptr c, iptr ldc);
int check_syr(sptr uplo, iptr n, cptr alpha, cptr x, iptr incx, cptr a, iptr lda);
int check_symm(sptr side, sptr uplo, iptr m, iptr n, cptr alpha, cptr a, iptr lda, cptr b, iptr ldb, cptr beta,
               cptr c, iptr ldc);
int check_trmm(sptr side, sptr uplo, sptr transa, sptr diag, iptr m, iptr n, cptr alpha, cptr a, iptr lda, cptr b,
               iptr ldb);
// potrf and potri take the same arguments.
int check_potrf(sptr uplo, iptr n, cptr a, iptr lda);
int check_trtri(sptr uplo, sptr diag, iptr n, cptr a, iptr lda);
int check_syev(sptr jobz, sptr uplo, iptr n, cptr a, iptr lda, cptr w, cptr work, iptr lwork);
int check_spevd(sptr jobz, sptr uplo, iptr n, cptr ap, cptr w, cptr z, iptr ldz, cptr work, iptr lwork,
                cptr iwork, iptr liwork);

// Smallest workspaces, as the published routines define them.
int syev_min_lwork(int n);
int spevd_min_lwork(char jobz, int n);
int spevd_min_liwork(char jobz, int n);

}  // namespace qor::core::linalg
