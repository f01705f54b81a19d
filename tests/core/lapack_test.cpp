// The LAPACK routines on matrices with known answers: a Cholesky factor
// that reproduces A, an inverse that multiplies back to the identity, and
// the eigenvalues 2 - 2 cos(k pi / (n + 1)) of the second-difference matrix.
#include <gtest/gtest.h>

#include <algorithm>

#include "linalg_test_support.h"

namespace {

template <class T>
class Lapack : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Lapack, Precisions);

// A symmetric positive definite matrix: M M' + n I.
template <class T>
Matrix<T> spd_matrix(int n, int ld) {
    Matrix<T> m(n, n), a(n, n, ld);
    m.fill(11);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            T sum = i == j ? static_cast<T>(n) : 0;
            for (int l = 0; l < n; ++l) sum += m.at(i, l) * m.at(j, l);
            a.at(i, j) = sum;
        }
    }
    return a;
}

// The full symmetric matrix from the triangle `uplo` of a.
template <class T>
Matrix<T> symmetric_from(const Matrix<T>& a, char uplo) {
    Matrix<T> s(a.rows, a.cols);
    for (int i = 0; i < a.rows; ++i)
        for (int j = 0; j < a.cols; ++j)
            s.at(i, j) = (uplo == 'U' ? i <= j : i >= j) ? a.at(i, j) : a.at(j, i);
    return s;
}

template <class T>
T max_deviation_from_identity(const Matrix<T>& x, const Matrix<T>& y) {
    T worst = 0;
    for (int i = 0; i < x.rows; ++i) {
        for (int j = 0; j < y.cols; ++j) {
            T sum = 0;
            for (int l = 0; l < x.cols; ++l) sum += x.at(i, l) * y.at(l, j);
            worst = std::max(worst, std::abs(sum - (i == j ? T(1) : T(0))));
        }
    }
    return worst;
}

TYPED_TEST(Lapack, CholeskyFactorReproducesTheMatrix) {
    using T = TypeParam;
    const int n = 6;
    for (char uplo : {'U', 'L'}) {
        const Matrix<T> a0 = spd_matrix<T>(n, n + 1);
        Matrix<T> f = a0;
        int info = -99;
        Linalg<T>::potrf(&uplo, &n, f.data.data(), &f.ld, &info);
        ASSERT_EQ(info, 0);
        EXPECT_TRUE(f.padding_untouched());
        // U'U or L L' with the factor's triangle only.
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                T sum = 0;
                for (int l = 0; l < n; ++l) {
                    const T fi = uplo == 'U' ? (l <= i ? f.at(l, i) : 0) : (l <= i ? f.at(i, l) : 0);
                    const T fj = uplo == 'U' ? (l <= j ? f.at(l, j) : 0) : (l <= j ? f.at(j, l) : 0);
                    sum += fi * fj;
                }
                EXPECT_NEAR(sum, a0.at(i, j), tolerance<T>(n) * 4 * n) << uplo << " (" << i << "," << j << ")";
            }
        }
    }
}

TYPED_TEST(Lapack, PotrfThenPotriGivesTheInverse) {
    using T = TypeParam;
    const int n = 7;
    for (char uplo : {'U', 'L'}) {
        const Matrix<T> a0 = spd_matrix<T>(n, n);
        Matrix<T> inv = a0;
        int info = -99;
        Linalg<T>::potrf(&uplo, &n, inv.data.data(), &inv.ld, &info);
        ASSERT_EQ(info, 0);
        Linalg<T>::potri(&uplo, &n, inv.data.data(), &inv.ld, &info);
        ASSERT_EQ(info, 0);
        EXPECT_LT(max_deviation_from_identity(a0, symmetric_from(inv, uplo)), tolerance<T>(n) * 8 * n) << uplo;
    }
}

TYPED_TEST(Lapack, PotrfReportsTheFirstNonPositiveMinor) {
    using T = TypeParam;
    // Leading minors 1, 1 - 4 < 0: not positive definite at order 2.
    Matrix<T> a(3, 3);
    const T values[9] = {1, 2, 0, 2, 1, 0, 0, 0, 1};
    std::copy(values, values + 9, a.data.begin());
    const int n = 3;
    int info = 0;
    Linalg<T>::potrf("L", &n, a.data.data(), &a.ld, &info);
    EXPECT_EQ(info, 2);
}

TYPED_TEST(Lapack, TrtriInvertsTriangles) {
    using T = TypeParam;
    const int n = 5;
    for (char uplo : {'U', 'L'}) {
        for (char diag : {'N', 'U'}) {
            Matrix<T> t(n, n, n + 3);
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < n; ++j)
                    if (uplo == 'U' ? i <= j : i >= j) t.at(i, j) = static_cast<T>(i == j ? 2 + i : 0.5 - 0.25 * (i + j));
            Matrix<T> full = t;  // with zeros outside the triangle and the diagonal the routine assumes
            if (diag == 'U')
                for (int i = 0; i < n; ++i) full.at(i, i) = 1;
            Matrix<T> inv = t;
            int info = -99;
            Linalg<T>::trtri(&uplo, &diag, &n, inv.data.data(), &inv.ld, &info);
            ASSERT_EQ(info, 0);
            if (diag == 'U')
                for (int i = 0; i < n; ++i) {
                    EXPECT_EQ(inv.at(i, i), t.at(i, i));  // a unit diagonal is not referenced
                    inv.at(i, i) = 1;
                }
            EXPECT_LT(max_deviation_from_identity(full, inv), tolerance<T>(n) * 4) << uplo << diag;
            EXPECT_TRUE(inv.padding_untouched());
        }
    }
}

TYPED_TEST(Lapack, TrtriReportsASingularDiagonal) {
    using T = TypeParam;
    const int n = 3;
    Matrix<T> t(n, n);
    t.at(0, 0) = 1, t.at(1, 1) = 2, t.at(2, 2) = 0, t.at(0, 2) = 5;
    int info = 0;
    Linalg<T>::trtri("U", "N", &n, t.data.data(), &t.ld, &info);
    EXPECT_EQ(info, 3);
}

// The second-difference matrix tridiag(-1, 2, -1) of order n.
template <class T>
Matrix<T> second_difference(int n, int ld) {
    Matrix<T> a(n, n, ld);
    for (int i = 0; i < n; ++i) {
        a.at(i, i) = 2;
        if (i + 1 < n) a.at(i, i + 1) = a.at(i + 1, i) = -1;
    }
    return a;
}

template <class T>
T known_eigenvalue(int k, int n) {  // k = 1..n, ascending
    return static_cast<T>(2 - 2 * std::cos(k * 3.14159265358979323846 / (n + 1)));
}

// Eigenpairs: A v = lambda v and the vectors orthonormal.
template <class T>
void expect_eigenpairs(const Matrix<T>& a, const std::vector<T>& w, const T* vectors, int ldv) {
    const int n = a.rows;
    const T tol = tolerance<T>(n) * 16 * n;
    for (int k = 0; k < n; ++k) {
        for (int i = 0; i < n; ++i) {
            T av = 0;
            for (int l = 0; l < n; ++l) av += a.at(i, l) * vectors[l + k * ldv];
            EXPECT_NEAR(av, w[k] * vectors[i + k * ldv], tol) << "pair " << k;
        }
        for (int j = 0; j < n; ++j) {
            T dot = 0;
            for (int l = 0; l < n; ++l) dot += vectors[l + k * ldv] * vectors[l + j * ldv];
            EXPECT_NEAR(dot, k == j ? T(1) : T(0), tol);
        }
    }
}

TYPED_TEST(Lapack, SyevFindsTheKnownSpectrum) {
    using T = TypeParam;
    const int n = 8;
    for (char jobz : {'N', 'V'}) {
        for (char uplo : {'U', 'L'}) {
            const Matrix<T> a0 = second_difference<T>(n, n + 2);
            Matrix<T> a = a0;
            std::vector<T> w(n);
            int info = -99, query = -1;
            T optimal = 0;
            Linalg<T>::syev(&jobz, &uplo, &n, a.data.data(), &a.ld, w.data(), &optimal, &query, &info);
            ASSERT_EQ(info, 0);
            ASSERT_GE(optimal, static_cast<T>(3 * n - 1));
            const int lwork = static_cast<int>(optimal);
            std::vector<T> work(static_cast<std::size_t>(lwork));
            Linalg<T>::syev(&jobz, &uplo, &n, a.data.data(), &a.ld, w.data(), work.data(), &lwork, &info);
            ASSERT_EQ(info, 0);
            for (int k = 0; k < n; ++k)
                EXPECT_NEAR(w[k], known_eigenvalue<T>(k + 1, n), tolerance<T>(n) * 8) << jobz << uplo << k;
            if (jobz == 'V') expect_eigenpairs(a0, w, a.data.data(), a.ld);
        }
    }
}

TYPED_TEST(Lapack, SpevdFindsTheKnownSpectrumFromPackedStorage) {
    using T = TypeParam;
    const int n = 9;
    const Matrix<T> a0 = second_difference<T>(n, n);
    for (char jobz : {'N', 'V'}) {
        for (char uplo : {'U', 'L'}) {
            std::vector<T> ap;  // packed by columns: the upper or lower triangle
            for (int j = 0; j < n; ++j)
                for (int i = uplo == 'U' ? 0 : j; i < (uplo == 'U' ? j + 1 : n); ++i) ap.push_back(a0.at(i, j));
            std::vector<T> w(n), z(static_cast<std::size_t>(n * n));
            int info = -99, query = -1, iquery = -1, isize = 0;
            T size = 0;
            Linalg<T>::spevd(&jobz, &uplo, &n, ap.data(), w.data(), z.data(), &n, &size, &query, &isize, &iquery,
                             &info);
            ASSERT_EQ(info, 0);
            if (jobz == 'V') {
                EXPECT_GE(size, static_cast<T>(1 + 6 * n + n * n));
                EXPECT_GE(isize, 3 + 5 * n);
            }
            const int lwork = static_cast<int>(size), liwork = isize;
            std::vector<T> work(static_cast<std::size_t>(lwork));
            std::vector<int> iwork(static_cast<std::size_t>(liwork));
            Linalg<T>::spevd(&jobz, &uplo, &n, ap.data(), w.data(), z.data(), &n, work.data(), &lwork,
                             iwork.data(), &liwork, &info);
            ASSERT_EQ(info, 0);
            for (int k = 0; k < n; ++k)
                EXPECT_NEAR(w[k], known_eigenvalue<T>(k + 1, n), tolerance<T>(n) * 8) << jobz << uplo << k;
            if (jobz == 'V') expect_eigenpairs(a0, w, z.data(), n);
        }
    }
}

}  // namespace
