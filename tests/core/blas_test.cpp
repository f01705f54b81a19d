// The BLAS routines against naive products, in both precisions, with every
// transpose, side, triangle and diagonal option, padded leading dimensions
// and strided vectors.
#include <gtest/gtest.h>

#include "linalg_test_support.h"

namespace {

template <class T>
class Blas : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Blas, Precisions);

TYPED_TEST(Blas, GemmMatchesTheNaiveProductForEveryTranspose) {
    using T = TypeParam;
    const int m = 5, n = 4, k = 3;
    const T alpha = 1.5, beta = -0.5;
    for (char ta : {'N', 'T', 'c'}) {
        for (char tb : {'N', 't', 'C'}) {
            const char ua = ta == 'N' ? 'N' : 'T', ub = tb == 'N' ? 'N' : 'T';
            Matrix<T> a(ua == 'N' ? m : k, ua == 'N' ? k : m, 7), b(ub == 'N' ? k : n, ub == 'N' ? n : k, 6),
                c(m, n, 8);
            a.fill(1), b.fill(2), c.fill(3);
            const Matrix<T> c0 = c;
            Linalg<T>::gemm(&ta, &tb, &m, &n, &k, &alpha, a.data.data(), &a.ld, b.data.data(), &b.ld, &beta,
                            c.data.data(), &c.ld);
            for (int i = 0; i < m; ++i) {
                for (int j = 0; j < n; ++j) {
                    T sum = 0;
                    for (int l = 0; l < k; ++l) sum += op_at(a, ua, i, l) * op_at(b, ub, l, j);
                    EXPECT_NEAR(c.at(i, j), alpha * sum + beta * c0.at(i, j), tolerance<T>(k))
                        << ta << tb << " (" << i << "," << j << ")";
                }
            }
            EXPECT_TRUE(c.padding_untouched());
        }
    }
}

// Position of element i of a vector of length len with increment inc, as
// BLAS defines it (a negative increment walks from the end).
int vector_pos(int i, int len, int inc) { return inc > 0 ? i * inc : (len - 1 - i) * -inc; }

TYPED_TEST(Blas, GemvWithStridedAndReversedVectors) {
    using T = TypeParam;
    const int m = 6, n = 4;
    const T alpha = -2, beta = 0.25;
    Matrix<T> a(m, n, 9);
    a.fill(4);
    for (char trans : {'N', 'T'}) {
        const int lenx = trans == 'N' ? n : m, leny = trans == 'N' ? m : n;
        for (int incx : {1, 2, -3}) {
            for (int incy : {1, -1, 3}) {
                std::vector<T> x(static_cast<std::size_t>(lenx * std::abs(incx))),
                    y(static_cast<std::size_t>(leny * std::abs(incy)), Matrix<T>::sentinel());
                for (std::size_t i = 0; i < x.size(); ++i) x[i] = static_cast<T>(0.5 + 0.25 * i);
                for (int i = 0; i < leny; ++i) y[vector_pos(i, leny, incy)] = static_cast<T>(i - 2);
                const std::vector<T> y0 = y;
                Linalg<T>::gemv(&trans, &m, &n, &alpha, a.data.data(), &a.ld, x.data(), &incx, &beta, y.data(), &incy);
                for (int i = 0; i < leny; ++i) {
                    T sum = 0;
                    for (int l = 0; l < lenx; ++l) sum += op_at(a, trans, i, l) * x[vector_pos(l, lenx, incx)];
                    const int p = vector_pos(i, leny, incy);
                    EXPECT_NEAR(y[p], alpha * sum + beta * y0[p], 4 * tolerance<T>(lenx))
                        << trans << " incx " << incx << " incy " << incy << " i " << i;
                }
                int written = 0;
                for (T v : y) written += std::isnan(v) ? 0 : 1;
                EXPECT_EQ(written, leny);  // gaps between strided elements untouched
            }
        }
    }
}

TYPED_TEST(Blas, SyrkUpdatesOnlyTheChosenTriangle) {
    using T = TypeParam;
    const int n = 5, k = 3;
    const T alpha = 0.75, beta = 2;
    for (char uplo : {'U', 'L'}) {
        for (char trans : {'N', 'T'}) {
            Matrix<T> a(trans == 'N' ? n : k, trans == 'N' ? k : n, 6), c(n, n, 7);
            a.fill(5), c.fill(6);
            const Matrix<T> c0 = c;
            Linalg<T>::syrk(&uplo, &trans, &n, &k, &alpha, a.data.data(), &a.ld, &beta, c.data.data(), &c.ld);
            for (int i = 0; i < n; ++i) {
                for (int j = 0; j < n; ++j) {
                    const bool in_triangle = uplo == 'U' ? i <= j : i >= j;
                    if (!in_triangle) {
                        EXPECT_EQ(c.at(i, j), c0.at(i, j));
                        continue;
                    }
                    T sum = 0;  // (A A')(i,j) or (A' A)(i,j)
                    for (int l = 0; l < k; ++l) sum += op_at(a, trans, i, l) * op_at(a, trans, j, l);
                    EXPECT_NEAR(c.at(i, j), alpha * sum + beta * c0.at(i, j), tolerance<T>(k)) << uplo << trans;
                }
            }
            EXPECT_TRUE(c.padding_untouched());
        }
    }
}

TYPED_TEST(Blas, SyrAddsTheOuterProductToOneTriangle) {
    using T = TypeParam;
    const int n = 4, incx = 2;
    const T alpha = -1.5;
    const std::vector<T> x{1, 99, 2, 99, -3, 99, 0.5};
    for (char uplo : {'u', 'l'}) {
        Matrix<T> a(n, n, 5);
        a.fill(7);
        const Matrix<T> a0 = a;
        Linalg<T>::syr(&uplo, &n, &alpha, x.data(), &incx, a.data.data(), &a.ld);
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                const bool in_triangle = uplo == 'u' ? i <= j : i >= j;
                const T expected = in_triangle ? a0.at(i, j) + alpha * x[2 * i] * x[2 * j] : a0.at(i, j);
                EXPECT_NEAR(a.at(i, j), expected, tolerance<T>(1)) << uplo << " (" << i << "," << j << ")";
            }
        }
    }
}

TYPED_TEST(Blas, SymmReadsOnlyOneTriangleOfA) {
    using T = TypeParam;
    const int m = 4, n = 3;
    const T alpha = 2, beta = -1;
    for (char side : {'L', 'R'}) {
        for (char uplo : {'U', 'L'}) {
            const int na = side == 'L' ? m : n;
            Matrix<T> full(na, na), a(na, na, na + 2);
            for (int i = 0; i < na; ++i)
                for (int j = 0; j <= i; ++j) full.at(i, j) = full.at(j, i) = static_cast<T>(0.25 * (i + 1) - 0.5 * j);
            // Only the named triangle holds values; the other holds NaN.
            for (int i = 0; i < na; ++i)
                for (int j = 0; j < na; ++j)
                    a.at(i, j) = (uplo == 'U' ? i <= j : i >= j) ? full.at(i, j) : Matrix<T>::sentinel();
            Matrix<T> b(m, n), c(m, n);
            b.fill(8), c.fill(9);
            const Matrix<T> c0 = c;
            Linalg<T>::symm(&side, &uplo, &m, &n, &alpha, a.data.data(), &a.ld, b.data.data(), &b.ld, &beta,
                            c.data.data(), &c.ld);
            for (int i = 0; i < m; ++i) {
                for (int j = 0; j < n; ++j) {
                    T sum = 0;
                    if (side == 'L')
                        for (int l = 0; l < m; ++l) sum += full.at(i, l) * b.at(l, j);
                    else
                        for (int l = 0; l < n; ++l) sum += b.at(i, l) * full.at(l, j);
                    EXPECT_NEAR(c.at(i, j), alpha * sum + beta * c0.at(i, j), tolerance<T>(na)) << side << uplo;
                }
            }
        }
    }
}

TYPED_TEST(Blas, TrmmForEverySideTriangleTransposeAndDiagonal) {
    using T = TypeParam;
    const int m = 4, n = 3;
    const T alpha = 0.5;
    for (char side : {'L', 'R'}) {
        for (char uplo : {'U', 'L'}) {
            for (char trans : {'N', 'T'}) {
                for (char diag : {'N', 'U'}) {
                    const int na = side == 'L' ? m : n;
                    Matrix<T> tri(na, na), a(na, na);
                    for (int i = 0; i < na; ++i) {
                        for (int j = 0; j < na; ++j) {
                            const bool in_triangle = uplo == 'U' ? i <= j : i >= j;
                            tri.at(i, j) = in_triangle ? static_cast<T>(1 + i - 0.5 * j) : 0;
                            // Outside the triangle, and on a unit diagonal, A is never read.
                            a.at(i, j) = in_triangle ? tri.at(i, j) : Matrix<T>::sentinel();
                        }
                        if (diag == 'U') tri.at(i, i) = 1, a.at(i, i) = Matrix<T>::sentinel();
                    }
                    Matrix<T> b(m, n);
                    b.fill(10);
                    const Matrix<T> b0 = b;
                    Linalg<T>::trmm(&side, &uplo, &trans, &diag, &m, &n, &alpha, a.data.data(), &a.ld,
                                    b.data.data(), &b.ld);
                    for (int i = 0; i < m; ++i) {
                        for (int j = 0; j < n; ++j) {
                            T sum = 0;
                            if (side == 'L')
                                for (int l = 0; l < m; ++l) sum += op_at(tri, trans, i, l) * b0.at(l, j);
                            else
                                for (int l = 0; l < n; ++l) sum += b0.at(i, l) * op_at(tri, trans, l, j);
                            EXPECT_NEAR(b.at(i, j), alpha * sum, 4 * tolerance<T>(na))
                                << side << uplo << trans << diag << " (" << i << "," << j << ")";
                        }
                    }
                }
            }
        }
    }
}

TYPED_TEST(Blas, EmptyDimensionsTouchNothing) {
    using T = TypeParam;
    const int zero = 0, three = 3, one = 1;
    const T alpha = 1, beta = 0;
    T c[3] = {7, 7, 7};
    // m = 0: no array is read or written, null arrays are acceptable.
    Linalg<T>::gemm("N", "N", &zero, &three, &three, &alpha, nullptr, &one, nullptr, &three, &beta, nullptr, &one);
    // k = 0: C = beta C without reading A or B.
    Linalg<T>::gemm("N", "N", &three, &one, &zero, &alpha, nullptr, &three, nullptr, &one, &beta, c, &three);
    EXPECT_EQ(c[0], 0);
    EXPECT_EQ(c[2], 0);
}

}  // namespace
