// Workspace minimums and query handling of the argument checks, which the
// backend relies on: a backend only ever sees arguments that passed; and
// OpenBLAS kept to one thread, so that the core's pool alone spreads work.
#include <gtest/gtest.h>

#include "linalg_checks.h"

#ifndef _WIN32
extern "C" int openblas_get_num_threads(void);
#endif

namespace {

using namespace qor::core::linalg;

#ifndef _WIN32
TEST(LinalgBackend, OpenBlasRunsOnTheCallingThreadOnly) { EXPECT_EQ(openblas_get_num_threads(), 1); }
#endif

TEST(LinalgChecks, MinimumWorkspaces) {
    EXPECT_EQ(syev_min_lwork(0), 1);
    EXPECT_EQ(syev_min_lwork(1), 2);
    EXPECT_EQ(syev_min_lwork(10), 29);
    EXPECT_EQ(spevd_min_lwork('V', 0), 1);
    EXPECT_EQ(spevd_min_lwork('V', 1), 1);
    EXPECT_EQ(spevd_min_lwork('N', 5), 10);
    EXPECT_EQ(spevd_min_lwork('V', 5), 56);
    EXPECT_EQ(spevd_min_liwork('N', 5), 1);
    EXPECT_EQ(spevd_min_liwork('V', 5), 28);
    EXPECT_EQ(spevd_min_liwork('V', 1), 1);
}

TEST(LinalgChecks, QueriesSkipTheSizeChecks) {
    double a[16] = {}, w[4] = {}, work[1] = {}, z[16] = {};
    int iwork[1] = {};
    const int n = 4, query = -1, one = 1, ldz = 4;
    EXPECT_EQ(check_syev("V", "L", &n, a, &n, w, work, &query), 0);
    EXPECT_EQ(check_syev("V", "L", &n, a, &n, w, work, &one), 8);
    // Either size at -1 makes a query, so the other may be anything.
    EXPECT_EQ(check_spevd("V", "U", &n, a, w, z, &ldz, work, &query, iwork, &one), 0);
    EXPECT_EQ(check_spevd("V", "U", &n, a, w, z, &ldz, work, &one, iwork, &query), 0);
    EXPECT_EQ(check_spevd("V", "U", &n, a, w, z, &ldz, work, &one, iwork, &one), 9);
    EXPECT_EQ(check_spevd("V", "U", &n, a, w, z, &ldz, nullptr, &query, iwork, &one), 8);
}

TEST(LinalgChecks, UntouchedArraysMayBeNull) {
    const int zero = 0, one = 1, two = 2;
    const double alpha = 1;
    EXPECT_EQ(check_gemv("N", &zero, &two, &alpha, nullptr, &one, nullptr, &one, &alpha, nullptr, &one), 0);
    EXPECT_EQ(check_gemv("N", &two, &two, &alpha, nullptr, &two, nullptr, &one, &alpha, nullptr, &one), 5);
    EXPECT_EQ(check_syrk("U", "N", &two, &zero, &alpha, nullptr, &two, &alpha, nullptr, &two), 9);
    EXPECT_EQ(check_potrf("U", &zero, nullptr, &one), 0);
    EXPECT_EQ(check_potrf("U", &zero, nullptr, &zero), 4);  // the leading dimension is at least 1
}

}  // namespace
