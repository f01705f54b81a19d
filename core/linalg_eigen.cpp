// BLAS/LAPACK backend over Eigen, for builds without OpenBLAS (Windows).
// Column-major arrays with a leading dimension are viewed as Eigen maps with
// an outer stride; each routine keeps the reference implementation's
// conventions: which triangle is read and written, a zero beta that clears
// the output instead of scaling it (so NaN there does not survive), quick
// returns on empty dimensions, negative vector increments, and info codes.
#if defined(QOR_LINALG_EIGEN)

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>

#include "linalg_backend.h"
#include "linalg_checks.h"

namespace qor::core::linalg {
namespace {

template <class T>
using Mat = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>;
template <class T>
using Vec = Eigen::Matrix<T, Eigen::Dynamic, 1>;
template <class T>
using MatMap = Eigen::Map<Mat<T>, 0, Eigen::OuterStride<>>;
template <class T>
using ConstMatMap = Eigen::Map<const Mat<T>, 0, Eigen::OuterStride<>>;
template <class T>
using VecMap = Eigen::Map<Vec<T>, 0, Eigen::InnerStride<>>;
template <class T>
using ConstVecMap = Eigen::Map<const Vec<T>, 0, Eigen::InnerStride<>>;

// Block size of the blocked Cholesky factorisation.
constexpr int kCholeskyBlock = 64;

template <class T>
MatMap<T> view(T* a, int rows, int cols, int ld) {
    return MatMap<T>(a, rows, cols, Eigen::OuterStride<>(ld));
}
template <class T>
ConstMatMap<T> view(const T* a, int rows, int cols, int ld) {
    return ConstMatMap<T>(a, rows, cols, Eigen::OuterStride<>(ld));
}

// A BLAS vector of length len with increment inc: a negative increment
// starts at the far end, so element 0 is the last one in memory.
template <class T>
Vec<T> load_vector(const T* x, int len, int inc) {
    const ConstVecMap<T> in(x, len, Eigen::InnerStride<>(std::abs(inc)));
    return inc > 0 ? Vec<T>(in) : Vec<T>(in.reverse());
}
template <class T>
void store_vector(const Vec<T>& v, T* y, int inc) {
    VecMap<T> out(y, v.size(), Eigen::InnerStride<>(std::abs(inc)));
    if (inc > 0) out = v;
    else out.reverse() = v;
}

// Scales the triangle `uplo` of c by beta (beta 0 clears it).
template <class T, class M>
void scale_triangle(M&& c, char uplo, T beta) {
    if (beta == T(1)) return;
    if (uplo == 'U') {
        if (beta == T(0)) c.template triangularView<Eigen::Upper>().setZero();
        else c.template triangularView<Eigen::Upper>() *= beta;
    } else {
        if (beta == T(0)) c.template triangularView<Eigen::Lower>().setZero();
        else c.template triangularView<Eigen::Lower>() *= beta;
    }
}

// C = beta C (beta 0 clears), the first step of every update.
template <class T, class M>
void scale(M&& c, T beta) {
    if (beta == T(0)) c.setZero();
    else if (beta != T(1)) c *= beta;
}

template <class T>
void gemm_impl(char transa, char transb, int m, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb,
               T beta, T* c, int ldc) {
    if (m == 0 || n == 0 || ((alpha == T(0) || k == 0) && beta == T(1))) return;
    MatMap<T> cm = view(c, m, n, ldc);
    scale(cm, beta);
    if (alpha == T(0) || k == 0) return;
    const bool ta = transa != 'N', tb = transb != 'N';
    const ConstMatMap<T> am = view(a, ta ? k : m, ta ? m : k, lda);
    const ConstMatMap<T> bm = view(b, tb ? n : k, tb ? k : n, ldb);
    if (!ta && !tb) cm.noalias() += alpha * am * bm;
    else if (!ta) cm.noalias() += alpha * am * bm.transpose();
    else if (!tb) cm.noalias() += alpha * am.transpose() * bm;
    else cm.noalias() += alpha * am.transpose() * bm.transpose();
}

template <class T>
void gemv_impl(char trans, int m, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y,
               int incy) {
    if (m == 0 || n == 0 || (alpha == T(0) && beta == T(1))) return;
    const bool t = trans != 'N';
    const int lenx = t ? m : n, leny = t ? n : m;
    Vec<T> yv = load_vector(y, leny, incy);
    scale(yv, beta);
    if (alpha != T(0)) {
        const Vec<T> xv = load_vector(x, lenx, incx);
        const ConstMatMap<T> am = view(a, m, n, lda);
        if (t) yv.noalias() += alpha * (am.transpose() * xv);
        else yv.noalias() += alpha * (am * xv);
    }
    store_vector(yv, y, incy);
}

template <class T>
void syrk_impl(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, T beta, T* c, int ldc) {
    if (n == 0 || ((alpha == T(0) || k == 0) && beta == T(1))) return;
    MatMap<T> cm = view(c, n, n, ldc);
    scale_triangle(cm, uplo, beta);
    if (alpha == T(0) || k == 0) return;
    const bool t = trans != 'N';
    const ConstMatMap<T> am = view(a, t ? k : n, t ? n : k, lda);
    // rankUpdate adds alpha u u' to the chosen triangle only.
    if (uplo == 'U') {
        if (t) cm.template selfadjointView<Eigen::Upper>().rankUpdate(am.transpose(), alpha);
        else cm.template selfadjointView<Eigen::Upper>().rankUpdate(am, alpha);
    } else {
        if (t) cm.template selfadjointView<Eigen::Lower>().rankUpdate(am.transpose(), alpha);
        else cm.template selfadjointView<Eigen::Lower>().rankUpdate(am, alpha);
    }
}

template <class T>
void syr_impl(char uplo, int n, T alpha, const T* x, int incx, T* a, int lda) {
    if (n == 0 || alpha == T(0)) return;
    const Vec<T> xv = load_vector(x, n, incx);
    MatMap<T> am = view(a, n, n, lda);
    if (uplo == 'U') am.template selfadjointView<Eigen::Upper>().rankUpdate(xv, alpha);
    else am.template selfadjointView<Eigen::Lower>().rankUpdate(xv, alpha);
}

template <class T>
void symm_impl(char side, char uplo, int m, int n, T alpha, const T* a, int lda, const T* b, int ldb, T beta, T* c,
               int ldc) {
    if (m == 0 || n == 0 || (alpha == T(0) && beta == T(1))) return;
    MatMap<T> cm = view(c, m, n, ldc);
    if (alpha == T(0)) {
        scale(cm, beta);
        return;
    }
    const int na = side == 'L' ? m : n;
    const ConstMatMap<T> am = view(a, na, na, lda);
    const ConstMatMap<T> bm = view(b, m, n, ldb);
    // Only the stored triangle of A is read.
    Mat<T> product;
    if (uplo == 'U') {
        if (side == 'L') product = am.template selfadjointView<Eigen::Upper>() * bm;
        else product = bm * am.template selfadjointView<Eigen::Upper>();
    } else {
        if (side == 'L') product = am.template selfadjointView<Eigen::Lower>() * bm;
        else product = bm * am.template selfadjointView<Eigen::Lower>();
    }
    scale(cm, beta);
    cm.noalias() += alpha * product;
}

// The triangle of a (n x n) that op(A) uses, as a dense matrix with zeros
// outside it and ones on a unit diagonal; nothing else of a is read.
template <class T>
Mat<T> dense_triangle(const T* a, int n, int lda, char uplo, char diag) {
    const ConstMatMap<T> am = view(a, n, n, lda);
    Mat<T> t = Mat<T>::Zero(n, n);
    if (diag == 'U') {
        if (uplo == 'U') t.template triangularView<Eigen::StrictlyUpper>() = am;
        else t.template triangularView<Eigen::StrictlyLower>() = am;
        t.diagonal().setOnes();
    } else {
        if (uplo == 'U') t.template triangularView<Eigen::Upper>() = am;
        else t.template triangularView<Eigen::Lower>() = am;
    }
    return t;
}

template <class T>
void trmm_impl(char side, char uplo, char transa, char diag, int m, int n, T alpha, const T* a, int lda, T* b,
               int ldb) {
    if (m == 0 || n == 0) return;
    MatMap<T> bm = view(b, m, n, ldb);
    if (alpha == T(0)) {
        bm.setZero();
        return;
    }
    const int na = side == 'L' ? m : n;
    const Mat<T> t = dense_triangle(a, na, lda, uplo, diag);
    // op(A) is upper triangular when exactly one of "upper" and "transposed" holds.
    Mat<T> product;
    const bool upper = (uplo == 'U') != (transa != 'N');
    if (transa == 'N') {
        if (upper) product = side == 'L' ? Mat<T>(t.template triangularView<Eigen::Upper>() * bm)
                                         : Mat<T>(bm * t.template triangularView<Eigen::Upper>());
        else product = side == 'L' ? Mat<T>(t.template triangularView<Eigen::Lower>() * bm)
                                   : Mat<T>(bm * t.template triangularView<Eigen::Lower>());
    } else {
        const Mat<T> tt = t.transpose();
        if (upper) product = side == 'L' ? Mat<T>(tt.template triangularView<Eigen::Upper>() * bm)
                                         : Mat<T>(bm * tt.template triangularView<Eigen::Upper>());
        else product = side == 'L' ? Mat<T>(tt.template triangularView<Eigen::Lower>() * bm)
                                   : Mat<T>(bm * tt.template triangularView<Eigen::Lower>());
    }
    bm = alpha * product;
}

// ---- Cholesky --------------------------------------------------------------

// Unblocked A = L L' on the lower triangle of a square block; returns the
// 1-based order of the first leading minor that is not positive definite
// (a NaN pivot counts as one), 0 on success.
template <class M>
int cholesky_lower_unblocked(M&& a) {
    using T = typename std::decay_t<M>::Scalar;
    const Eigen::Index n = a.rows();
    for (Eigen::Index j = 0; j < n; ++j) {
        T pivot = a(j, j) - a.row(j).head(j).squaredNorm();
        if (!(pivot > T(0))) {
            a(j, j) = pivot;
            return static_cast<int>(j + 1);
        }
        pivot = std::sqrt(pivot);
        a(j, j) = pivot;
        const Eigen::Index below = n - j - 1;
        if (below > 0) {
            if (j > 0) a.col(j).tail(below).noalias() -= a.bottomLeftCorner(below, j) * a.row(j).head(j).transpose();
            a.col(j).tail(below) /= pivot;
        }
    }
    return 0;
}

// Blocked right-looking A = L L' in place; only the lower triangle is read
// and written.  The upper case works on the transpose, U = L'.
template <class M>
int cholesky_lower(M&& a) {
    using T = typename std::decay_t<M>::Scalar;
    const Eigen::Index n = a.rows();
    for (Eigen::Index k = 0; k < n; k += kCholeskyBlock) {
        const Eigen::Index bs = std::min<Eigen::Index>(kCholeskyBlock, n - k);
        const Eigen::Index rest = n - k - bs;
        auto a11 = a.block(k, k, bs, bs);
        if (int info = cholesky_lower_unblocked(a11)) return static_cast<int>(k) + info;
        if (rest > 0) {
            auto a21 = a.block(k + bs, k, rest, bs);
            a11.template triangularView<Eigen::Lower>().transpose().template solveInPlace<Eigen::OnTheRight>(a21);
            a.block(k + bs, k + bs, rest, rest).template selfadjointView<Eigen::Lower>().rankUpdate(a21, T(-1));
        }
    }
    return 0;
}

template <class T>
int potrf_impl(char uplo, int n, T* a, int lda) {
    if (n == 0) return 0;
    MatMap<T> am = view(a, n, n, lda);
    if (uplo == 'L') return cholesky_lower(am);
    auto lower = am.transpose();
    return cholesky_lower(lower);
}

// First zero on the diagonal of a non-unit triangle (1-based), 0 if none.
template <class T>
int singular_diagonal(const T* a, int n, int lda, char diag) {
    if (diag == 'U') return 0;
    for (int i = 0; i < n; ++i)
        if (a[i + static_cast<std::ptrdiff_t>(i) * lda] == T(0)) return i + 1;
    return 0;
}

// Inverse of the triangle as a dense matrix (zeros outside the triangle).
template <class T>
Mat<T> triangle_inverse(const T* a, int n, int lda, char uplo, char diag) {
    Mat<T> inv = Mat<T>::Identity(n, n);
    const Mat<T> t = dense_triangle(a, n, lda, uplo, diag);
    if (uplo == 'U') t.template triangularView<Eigen::Upper>().solveInPlace(inv);
    else t.template triangularView<Eigen::Lower>().solveInPlace(inv);
    return inv;
}

template <class T>
int trtri_impl(char uplo, char diag, int n, T* a, int lda) {
    if (n == 0) return 0;
    if (int info = singular_diagonal(a, n, lda, diag)) return info;
    const Mat<T> inv = triangle_inverse(a, n, lda, uplo, diag);
    MatMap<T> am = view(a, n, n, lda);
    // A unit diagonal is neither read nor written.
    if (diag == 'U') {
        if (uplo == 'U') am.template triangularView<Eigen::StrictlyUpper>() = inv;
        else am.template triangularView<Eigen::StrictlyLower>() = inv;
    } else {
        if (uplo == 'U') am.template triangularView<Eigen::Upper>() = inv;
        else am.template triangularView<Eigen::Lower>() = inv;
    }
    return 0;
}

// Inverse of A from its Cholesky factor: inv(U) inv(U)' for A = U'U, and
// inv(L)' inv(L) for A = L L', written to the factor's triangle.
template <class T>
int potri_impl(char uplo, int n, T* a, int lda) {
    if (n == 0) return 0;
    if (int info = singular_diagonal(a, n, lda, 'N')) return info;
    const Mat<T> f = triangle_inverse(a, n, lda, uplo, 'N');
    MatMap<T> am = view(a, n, n, lda);
    if (uplo == 'U') {
        const Mat<T> inv = f * f.transpose();
        am.template triangularView<Eigen::Upper>() = inv;
    } else {
        const Mat<T> inv = f.transpose() * f;
        am.template triangularView<Eigen::Lower>() = inv;
    }
    return 0;
}

// ---- symmetric eigenproblems -----------------------------------------------

// Eigenvalues ascending into w and, when wanted, orthonormal eigenvectors
// into the columns of z (leading dimension ldz).  Returns 0, or 1 when the
// iteration did not converge.
template <class T>
int symmetric_eigen(const Mat<T>& s, bool vectors, T* w, T* z, int ldz) {
    const Eigen::SelfAdjointEigenSolver<Mat<T>> solver(s, vectors ? Eigen::ComputeEigenvectors
                                                                  : Eigen::EigenvaluesOnly);
    if (solver.info() != Eigen::Success) return 1;
    const Eigen::Index n = s.rows();
    Eigen::Map<Vec<T>>(w, n) = solver.eigenvalues();
    if (vectors) view(z, static_cast<int>(n), static_cast<int>(n), ldz) = solver.eigenvectors();
    return 0;
}

template <class T>
int syev_impl(char jobz, char uplo, int n, T* a, int lda, T* w, T* work, int lwork) {
    const T optimal = static_cast<T>(syev_min_lwork(n));
    work[0] = optimal;
    if (lwork == -1 || n == 0) return 0;
    const ConstMatMap<T> am = view(static_cast<const T*>(a), n, n, lda);
    Mat<T> s(n, n);
    if (uplo == 'U') s = am.template selfadjointView<Eigen::Upper>();
    else s = am.template selfadjointView<Eigen::Lower>();
    const int info = symmetric_eigen(s, jobz == 'V', w, a, lda);
    work[0] = optimal;
    return info;
}

template <class T>
int spevd_impl(char jobz, char uplo, int n, T* ap, T* w, T* z, int ldz, T* work, int lwork, int* iwork,
               int liwork) {
    work[0] = static_cast<T>(spevd_min_lwork(jobz, n));
    iwork[0] = spevd_min_liwork(jobz, n);
    if (lwork == -1 || liwork == -1 || n == 0) return 0;
    // Packed by columns: the upper triangle column j holds rows 0..j, the
    // lower one rows j..n-1.
    Mat<T> s(n, n);
    std::ptrdiff_t p = 0;
    for (int j = 0; j < n; ++j) {
        for (int i = uplo == 'U' ? 0 : j; i < (uplo == 'U' ? j + 1 : n); ++i) {
            s(i, j) = ap[p];
            s(j, i) = ap[p];
            ++p;
        }
    }
    return symmetric_eigen(s, jobz == 'V', w, z, ldz);
}

}  // namespace

#define QOR_EIGEN_FORWARD(T)                                                                                 \
    void gemm(char transa, char transb, int m, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb, \
              T beta, T* c, int ldc) {                                                                        \
        gemm_impl<T>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                           \
    }                                                                                                         \
    void gemv(char trans, int m, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y,      \
              int incy) {                                                                                     \
        gemv_impl<T>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);                                     \
    }                                                                                                         \
    void syrk(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, T beta, T* c, int ldc) {      \
        syrk_impl<T>(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);                                         \
    }                                                                                                         \
    void syr(char uplo, int n, T alpha, const T* x, int incx, T* a, int lda) {                                \
        syr_impl<T>(uplo, n, alpha, x, incx, a, lda);                                                         \
    }                                                                                                         \
    void symm(char side, char uplo, int m, int n, T alpha, const T* a, int lda, const T* b, int ldb, T beta,   \
              T* c, int ldc) {                                                                                \
        symm_impl<T>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);                                  \
    }                                                                                                         \
    void trmm(char side, char uplo, char transa, char diag, int m, int n, T alpha, const T* a, int lda, T* b,  \
              int ldb) {                                                                                      \
        trmm_impl<T>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);                                  \
    }                                                                                                         \
    int potrf(char uplo, int n, T* a, int lda) { return potrf_impl<T>(uplo, n, a, lda); }                     \
    int potri(char uplo, int n, T* a, int lda) { return potri_impl<T>(uplo, n, a, lda); }                     \
    int trtri(char uplo, char diag, int n, T* a, int lda) { return trtri_impl<T>(uplo, diag, n, a, lda); }    \
    int syev(char jobz, char uplo, int n, T* a, int lda, T* w, T* work, int lwork) {                          \
        return syev_impl<T>(jobz, uplo, n, a, lda, w, work, lwork);                                           \
    }                                                                                                         \
    int spevd(char jobz, char uplo, int n, T* ap, T* w, T* z, int ldz, T* work, int lwork, int* iwork,         \
              int liwork) {                                                                                   \
        return spevd_impl<T>(jobz, uplo, n, ap, w, z, ldz, work, lwork, iwork, liwork);                       \
    }

QOR_EIGEN_FORWARD(double)
QOR_EIGEN_FORWARD(float)
#undef QOR_EIGEN_FORWARD

}  // namespace qor::core::linalg

#endif
