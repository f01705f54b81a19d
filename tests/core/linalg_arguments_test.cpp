// Bad arguments to the BLAS/LAPACK routines: the position of the first bad
// argument is reported (printed for BLAS, in info for LAPACK), and nothing
// of the caller's is changed.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "linalg_test_support.h"
#include "stderr_capture.h"

namespace {

const double kOne = 1.0, kZero = 0.0;
const int i0 = 0, i1 = 1, i2 = 2, i3 = 3, i4 = 4, i_neg = -1;

std::string illegal(const char* routine, int position) {
    return std::string("qor: ") + routine + ": parameter " + std::to_string(position) + " has an illegal value\n";
}

TEST(BlasArguments, BadGemmArgumentsArePrintedAndCLeftAlone) {
    double a[16] = {}, b[16] = {}, c[16];
    std::fill(c, c + 16, 5.0);
    struct Case {
        const char *ta, *tb;
        const int *m, *n, *k, *lda, *ldb, *ldc;
        int position;
    } cases[] = {
        {"X", "N", &i2, &i2, &i2, &i2, &i2, &i2, 1},
        {"N", "Q", &i2, &i2, &i2, &i2, &i2, &i2, 2},
        {"N", "N", &i_neg, &i2, &i2, &i2, &i2, &i2, 3},
        {"N", "N", &i2, &i_neg, &i2, &i2, &i2, &i2, 4},
        {"N", "N", &i2, &i2, &i_neg, &i2, &i2, &i2, 5},
        {"N", "N", &i3, &i2, &i2, &i2, &i2, &i3, 8},   // lda < m
        {"T", "N", &i2, &i2, &i3, &i2, &i3, &i2, 8},   // lda < k for op(A) = A'
        {"N", "N", &i2, &i2, &i3, &i2, &i2, &i2, 10},  // ldb < k
        {"N", "N", &i3, &i2, &i2, &i3, &i2, &i2, 13},  // ldc < m
        {"N", "N", &i2, &i2, nullptr, &i2, &i2, &i2, 5},
    };
    for (const Case& c0 : cases) {
        StderrCapture capture;
        qor_dgemm(c0.ta, c0.tb, c0.m, c0.n, c0.k, &kOne, a, c0.lda, b, c0.ldb, &kZero, c, c0.ldc);
        EXPECT_EQ(capture.text(), illegal("qor_dgemm", c0.position));
        for (double v : c) ASSERT_EQ(v, 5.0);
    }
}

TEST(BlasArguments, OtherRoutinesNameTheirOwnPositions) {
    float x[8] = {}, y[8] = {}, a[16] = {}, b[16] = {};
    const float one = 1, zero = 0;
    StderrCapture capture;
    qor_sgemv("N", &i2, &i2, &one, a, &i2, x, &i0, &zero, y, &i1);                      // incx 0
    qor_sgemv("N", &i2, &i2, &one, a, &i2, x, &i1, &zero, y, &i0);                      // incy 0
    qor_ssyrk("U", "N", &i3, &i2, &one, a, &i2, &zero, b, &i3);                         // lda < n
    qor_ssyr("A", &i2, &one, x, &i1, a, &i2);                                           // uplo
    qor_ssymm("L", "U", &i3, &i2, &one, a, &i2, b, &i3, &zero, y, &i3);                 // lda < m
    qor_strmm("L", "U", "N", "X", &i2, &i2, &one, a, &i2, b, &i2);                      // diag
    qor_strmm("R", "U", "N", "N", &i2, &i3, &one, a, &i2, b, &i2);                      // lda < n, side R
    qor_ssymm("L", "U", &i2, &i2, &one, nullptr, &i2, b, &i2, &zero, y, &i2);           // null A
    EXPECT_EQ(capture.text(), illegal("qor_sgemv", 8) + illegal("qor_sgemv", 11) + illegal("qor_ssyrk", 7) +
                                  illegal("qor_ssyr", 1) + illegal("qor_ssymm", 7) + illegal("qor_strmm", 4) +
                                  illegal("qor_strmm", 9) + illegal("qor_ssymm", 6));
    for (float v : y) EXPECT_EQ(v, 0.0f);
}

TEST(BlasArguments, LowerCaseOptionsAreAccepted) {
    const double a[4] = {1, 2, 3, 4}, b[4] = {1, 0, 0, 1};
    double c[4] = {};
    StderrCapture capture;
    qor_dgemm("t", "n", &i2, &i2, &i2, &kOne, a, &i2, b, &i2, &kZero, c, &i2);
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(c[0], 1.0);  // A' : (1 3; 2 4) column-major (1 2; 3 4)'
    EXPECT_EQ(c[1], 3.0);
    EXPECT_EQ(c[2], 2.0);
    EXPECT_EQ(c[3], 4.0);
}

TEST(LapackArguments, InfoHoldsMinusThePositionAndTheMatrixIsUntouched) {
    double a[9] = {4, 1, 0, 1, 4, 1, 0, 1, 4}, w[3], work[16];
    const double a0[9] = {4, 1, 0, 1, 4, 1, 0, 1, 4};
    int info = 0;
    auto unchanged = [&] { return std::equal(a, a + 9, a0); };

    qor_dpotrf("X", &i3, a, &i3, &info);
    EXPECT_EQ(info, -1);
    qor_dpotrf("L", &i_neg, a, &i3, &info);
    EXPECT_EQ(info, -2);
    qor_dpotrf("L", &i3, a, &i2, &info);
    EXPECT_EQ(info, -4);
    qor_dpotri("U", &i3, nullptr, &i3, &info);
    EXPECT_EQ(info, -3);
    qor_dtrtri("U", "D", &i3, a, &i3, &info);
    EXPECT_EQ(info, -2);
    qor_dtrtri("U", "N", &i3, a, &i2, &info);
    EXPECT_EQ(info, -5);
    const int too_small = 7;  // 3n - 1 = 8
    qor_dsyev("V", "U", &i3, a, &i3, w, work, &too_small, &info);
    EXPECT_EQ(info, -8);
    qor_dsyev("A", "U", &i3, a, &i3, w, work, &too_small, &info);
    EXPECT_EQ(info, -1);
    EXPECT_TRUE(unchanged());
}

TEST(LapackArguments, SpevdChecksLeadingDimensionAndWorkspaces) {
    const double ap0[6] = {2, -1, 2, 0, -1, 2};
    double ap[6], w[3], z[9], work[64];
    std::copy(ap0, ap0 + 6, ap);
    int iwork[32], info = 0;
    const int lwork_v = 1 + 6 * 3 + 9, liwork_v = 3 + 5 * 3;
    const int short_lwork = lwork_v - 1, short_liwork = liwork_v - 1, lwork_n = 6;

    qor_dspevd("V", "U", &i3, ap, w, z, &i2, work, &lwork_v, iwork, &liwork_v, &info);  // ldz < n
    EXPECT_EQ(info, -7);
    qor_dspevd("N", "U", &i3, ap, w, nullptr, &i1, work, &lwork_n, iwork, &i1, &info);  // fine without vectors
    EXPECT_EQ(info, 0);
    std::copy(ap0, ap0 + 6, ap);  // that call overwrote the packed matrix
    qor_dspevd("V", "U", &i3, ap, w, z, &i3, work, &short_lwork, iwork, &liwork_v, &info);
    EXPECT_EQ(info, -9);
    qor_dspevd("V", "U", &i3, ap, w, z, &i3, work, &lwork_v, iwork, &short_liwork, &info);
    EXPECT_EQ(info, -11);
    qor_dspevd("V", "B", &i3, ap, w, z, &i3, work, &lwork_v, iwork, &liwork_v, &info);
    EXPECT_EQ(info, -2);
    EXPECT_TRUE(std::equal(ap, ap + 6, ap0));
}

TEST(LapackArguments, WithoutInfoTheProblemIsPrinted) {
    double a[4] = {1, 0, 0, 1};
    StderrCapture capture;
    qor_dpotrf("L", &i2, a, &i2, nullptr);
    qor_ssyev("N", "U", &i4, nullptr, &i4, nullptr, nullptr, &i1, nullptr);
    EXPECT_EQ(capture.text(), illegal("qor_dpotrf", 5) + illegal("qor_ssyev", 9));
    EXPECT_EQ(a[0], 1.0);
    EXPECT_EQ(a[1], 0.0);
}

}  // namespace
