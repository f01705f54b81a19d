// The logarithm table of the power kernels, recomputed: every row's
// reciprocal on its 2^-9 grid, hi + lo = -ln(rcp) to 2^-95 (MPFR), hi on
// the grid of ln2_hi, and the properties the double-double logarithm
// relies on: |m rcp - 1| < 2^-8.4 and exact for every mantissa of the row,
// and k ln2_hi + hi either zero or larger than any reduced argument.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <bit>
#include <cmath>
#include <cstdint>

#include "vm/kernels/pow/pow_log_table.h"

namespace {

using qor::vm::pow_log_table::kLn2HiBits;
using qor::vm::pow_log_table::kLn2LoBits;
using qor::vm::pow_log_table::kTable;

bool on_grid(double x, int bits_after_point) { return std::ldexp(x, bits_after_point) == std::trunc(std::ldexp(x, bits_after_point)); }

TEST(PowLogTable, RowsMatchMpfr) {
    mpfr_t exact;
    mpfr_init2(exact, 200);
    for (int j = 0; j <= 256; ++j) {
        const auto& row = kTable.v[j];
        EXPECT_TRUE(on_grid(row.rcp, 9)) << j;
        EXPECT_TRUE(row.rcp >= 0.5 && row.rcp <= 1.0) << j;
        EXPECT_TRUE(on_grid(row.hi, 42)) << j;
        // -ln(rcp) - hi - lo, in units of 2^-95.
        mpfr_set_d(exact, row.rcp, MPFR_RNDN);
        mpfr_log(exact, exact, MPFR_RNDN);
        mpfr_neg(exact, exact, MPFR_RNDN);
        mpfr_sub_d(exact, exact, row.hi, MPFR_RNDN);
        mpfr_sub_d(exact, exact, row.lo, MPFR_RNDN);
        mpfr_mul_2si(exact, exact, 95, MPFR_RNDN);
        EXPECT_LE(std::fabs(mpfr_get_d(exact, MPFR_RNDN)), 1.0) << "row " << j;
    }
    EXPECT_EQ(kTable.v[0].rcp, 1.0);
    EXPECT_EQ(kTable.v[0].hi, 0.0);
    EXPECT_EQ(kTable.v[256].rcp, 0.5);
    EXPECT_EQ(std::bit_cast<uint64_t>(kTable.v[256].hi), kLn2HiBits);
    EXPECT_EQ(std::bit_cast<uint64_t>(kTable.v[256].lo), kLn2LoBits);
    // ln 2 = hi + lo to 2^-95; hi has 42 significant bits.
    mpfr_const_log2(exact, MPFR_RNDN);
    mpfr_sub_d(exact, exact, std::bit_cast<double>(kLn2HiBits), MPFR_RNDN);
    mpfr_sub_d(exact, exact, std::bit_cast<double>(kLn2LoBits), MPFR_RNDN);
    mpfr_mul_2si(exact, exact, 95, MPFR_RNDN);
    EXPECT_LE(std::fabs(mpfr_get_d(exact, MPFR_RNDN)), 1.0);
    EXPECT_EQ(kLn2HiBits & 0x7FF, 0u);
    mpfr_clear(exact);
}

// The kernels pick row j = round(256 (m - 1)) for m in [1, 2).  At both ends
// of every row's range, and at a few mantissas inside, m rcp - 1 computed
// in long double (exact: 53 + 9 bits) must be below 2^-8.4 and survive the
// rounding to double unchanged.
TEST(PowLogTable, ReducedArgumentIsExactAndSmall) {
    const double limit = std::exp2(-8.4);
    double max_r = 0;
    for (int j = 0; j <= 256; ++j) {
        const double rcp = kTable.v[j].rcp;
        const double lo = j == 0 ? 1.0 : 1.0 + (2 * j - 1) / 512.0;
        const double hi = j == 256 ? std::nextafter(2.0, 0.0) : std::nextafter(1.0 + (2 * j + 1) / 512.0, 0.0);
        for (double m : {lo, std::nextafter(lo, 2.0), 1.0 + j / 256.0, std::nextafter(hi, 0.0), hi,
                         lo + (hi - lo) / 3}) {
            if (m < 1.0 || m >= 2.0) continue;
            const long double r = (long double)m * rcp - 1.0L;
            EXPECT_LT(std::fabs((double)r), limit) << "row " << j << " m = " << m;
            EXPECT_EQ((long double)(double)r, r) << "row " << j << " m = " << m;
            max_r = std::max(max_r, std::fabs((double)r));
        }
    }
    // Fast2Sum in the logarithm needs |k ln2_hi + hi_j| >= |r| when not 0.
    const double ln2_hi = std::bit_cast<double>(kLn2HiBits);
    for (int k = -1; k <= 1; ++k)
        for (int j = 0; j <= 256; ++j) {
            const double a = k * ln2_hi + kTable.v[j].hi;
            if (a != 0) {
                EXPECT_GT(std::fabs(a), max_r) << "k = " << k << " row " << j;
            }
        }
}

}  // namespace
