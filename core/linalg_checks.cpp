#include "linalg_checks.h"

#include <algorithm>

namespace qor::core::linalg {
namespace {

bool is_trans(char c) { return c == 'N' || c == 'T' || c == 'C'; }
bool is_uplo(char c) { return c == 'U' || c == 'L'; }
bool is_side(char c) { return c == 'L' || c == 'R'; }
bool is_diag(char c) { return c == 'U' || c == 'N'; }
bool is_job(char c) { return c == 'N' || c == 'V'; }

// A dimension argument: present and not negative.
bool bad_dim(iptr d) { return !d || *d < 0; }
// A leading dimension: present and at least max(1, rows).
bool bad_ld(iptr ld, int rows) { return !ld || *ld < std::max(1, rows); }
// An increment: present and not zero.
bool bad_inc(iptr inc) { return !inc || *inc == 0; }
// An array the call touches must be present.
bool bad_array(cptr p, bool touched) { return touched && !p; }

}  // namespace

char letter(const char* c) {
    if (!c) return 0;
    return (*c >= 'a' && *c <= 'z') ? static_cast<char>(*c - 'a' + 'A') : *c;
}

int check_gemm(sptr transa, sptr transb, iptr m, iptr n, iptr k, cptr alpha, cptr a, iptr lda, cptr b, iptr ldb,
               cptr beta, cptr c, iptr ldc) {
    const char ta = letter(transa), tb = letter(transb);
    if (!is_trans(ta)) return 1;
    if (!is_trans(tb)) return 2;
    if (bad_dim(m)) return 3;
    if (bad_dim(n)) return 4;
    if (bad_dim(k)) return 5;
    if (!alpha) return 6;
    const bool product = *m > 0 && *n > 0 && *k > 0;
    if (bad_array(a, product)) return 7;
    if (bad_ld(lda, ta == 'N' ? *m : *k)) return 8;
    if (bad_array(b, product)) return 9;
    if (bad_ld(ldb, tb == 'N' ? *k : *n)) return 10;
    if (!beta) return 11;
    if (bad_array(c, *m > 0 && *n > 0)) return 12;
    if (bad_ld(ldc, *m)) return 13;
    return 0;
}

int check_gemv(sptr trans, iptr m, iptr n, cptr alpha, cptr a, iptr lda, cptr x, iptr incx, cptr beta, cptr y,
               iptr incy) {
    if (!is_trans(letter(trans))) return 1;
    if (bad_dim(m)) return 2;
    if (bad_dim(n)) return 3;
    if (!alpha) return 4;
    const bool work = *m > 0 && *n > 0;
    if (bad_array(a, work)) return 5;
    if (bad_ld(lda, *m)) return 6;
    if (bad_array(x, work)) return 7;
    if (bad_inc(incx)) return 8;
    if (!beta) return 9;
    if (bad_array(y, work)) return 10;
    if (bad_inc(incy)) return 11;
    return 0;
}

int check_syrk(sptr uplo, sptr trans, iptr n, iptr k, cptr alpha, cptr a, iptr lda, cptr beta, cptr c, iptr ldc) {
    const char t = letter(trans);
    if (!is_uplo(letter(uplo))) return 1;
    if (!is_trans(t)) return 2;
    if (bad_dim(n)) return 3;
    if (bad_dim(k)) return 4;
    if (!alpha) return 5;
    if (bad_array(a, *n > 0 && *k > 0)) return 6;
    if (bad_ld(lda, t == 'N' ? *n : *k)) return 7;
    if (!beta) return 8;
    if (bad_array(c, *n > 0)) return 9;
    if (bad_ld(ldc, *n)) return 10;
    return 0;
}

int check_syr(sptr uplo, iptr n, cptr alpha, cptr x, iptr incx, cptr a, iptr lda) {
    if (!is_uplo(letter(uplo))) return 1;
    if (bad_dim(n)) return 2;
    if (!alpha) return 3;
    if (bad_array(x, *n > 0)) return 4;
    if (bad_inc(incx)) return 5;
    if (bad_array(a, *n > 0)) return 6;
    if (bad_ld(lda, *n)) return 7;
    return 0;
}

int check_symm(sptr side, sptr uplo, iptr m, iptr n, cptr alpha, cptr a, iptr lda, cptr b, iptr ldb, cptr beta,
               cptr c, iptr ldc) {
    const char s = letter(side);
    if (!is_side(s)) return 1;
    if (!is_uplo(letter(uplo))) return 2;
    if (bad_dim(m)) return 3;
    if (bad_dim(n)) return 4;
    if (!alpha) return 5;
    const bool work = *m > 0 && *n > 0;
    if (bad_array(a, work)) return 6;
    if (bad_ld(lda, s == 'L' ? *m : *n)) return 7;
    if (bad_array(b, work)) return 8;
    if (bad_ld(ldb, *m)) return 9;
    if (!beta) return 10;
    if (bad_array(c, work)) return 11;
    if (bad_ld(ldc, *m)) return 12;
    return 0;
}

int check_trmm(sptr side, sptr uplo, sptr transa, sptr diag, iptr m, iptr n, cptr alpha, cptr a, iptr lda, cptr b,
               iptr ldb) {
    const char s = letter(side);
    if (!is_side(s)) return 1;
    if (!is_uplo(letter(uplo))) return 2;
    if (!is_trans(letter(transa))) return 3;
    if (!is_diag(letter(diag))) return 4;
    if (bad_dim(m)) return 5;
    if (bad_dim(n)) return 6;
    if (!alpha) return 7;
    const bool work = *m > 0 && *n > 0;
    if (bad_array(a, work)) return 8;
    if (bad_ld(lda, s == 'L' ? *m : *n)) return 9;
    if (bad_array(b, work)) return 10;
    if (bad_ld(ldb, *m)) return 11;
    return 0;
}

int check_potrf(sptr uplo, iptr n, cptr a, iptr lda) {
    if (!is_uplo(letter(uplo))) return 1;
    if (bad_dim(n)) return 2;
    if (bad_array(a, *n > 0)) return 3;
    if (bad_ld(lda, *n)) return 4;
    return 0;
}

int check_trtri(sptr uplo, sptr diag, iptr n, cptr a, iptr lda) {
    if (!is_uplo(letter(uplo))) return 1;
    if (!is_diag(letter(diag))) return 2;
    if (bad_dim(n)) return 3;
    if (bad_array(a, *n > 0)) return 4;
    if (bad_ld(lda, *n)) return 5;
    return 0;
}

int syev_min_lwork(int n) { return std::max(1, 3 * n - 1); }

int spevd_min_lwork(char jobz, int n) {
    if (n <= 1) return 1;
    return jobz == 'V' ? 1 + 6 * n + n * n : 2 * n;
}

int spevd_min_liwork(char jobz, int n) { return (n <= 1 || jobz != 'V') ? 1 : 3 + 5 * n; }

int check_syev(sptr jobz, sptr uplo, iptr n, cptr a, iptr lda, cptr w, cptr work, iptr lwork) {
    if (!is_job(letter(jobz))) return 1;
    if (!is_uplo(letter(uplo))) return 2;
    if (bad_dim(n)) return 3;
    if (bad_array(a, *n > 0)) return 4;
    if (bad_ld(lda, *n)) return 5;
    if (bad_array(w, *n > 0)) return 6;
    if (!work) return 7;  // a workspace query answers in work[0]
    if (!lwork) return 8;
    if (*lwork != -1 && *lwork < syev_min_lwork(*n)) return 8;
    return 0;
}

int check_spevd(sptr jobz, sptr uplo, iptr n, cptr ap, cptr w, cptr z, iptr ldz, cptr work, iptr lwork,
                cptr iwork, iptr liwork) {
    const char job = letter(jobz);
    if (!is_job(job)) return 1;
    if (!is_uplo(letter(uplo))) return 2;
    if (bad_dim(n)) return 3;
    if (bad_array(ap, *n > 0)) return 4;
    if (bad_array(w, *n > 0)) return 5;
    const bool vectors = job == 'V';
    if (bad_array(z, vectors && *n > 0)) return 6;
    if (!ldz || *ldz < 1 || (vectors && *ldz < *n)) return 7;
    // Both sizes decide whether this is a query, so both must be present
    // before either value is judged.
    if (!work) return 8;
    if (!lwork) return 9;
    if (!iwork) return 10;
    if (!liwork) return 11;
    const bool query = *lwork == -1 || *liwork == -1;
    if (!query && *lwork < spevd_min_lwork(job, *n)) return 9;
    if (!query && *liwork < spevd_min_liwork(job, *n)) return 11;
    return 0;
}

}  // namespace qor::core::linalg
