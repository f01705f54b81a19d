// The constant tables of the exponential and logarithm kernels, recomputed
// with MPFR from their definitions, and the published rows and constants
// checked by bit pattern.
#include <mpfr.h>

#include "explog_support.h"
#include "vm/kernels/explog/exp_table.h"
#include "vm/kernels/explog/log_table.h"

namespace explog_test {
namespace {

// An MPFR number at 256 bits, freed at scope end.
struct Big {
    mpfr_t v;
    Big() { mpfr_init2(v, 256); }
    ~Big() { mpfr_clear(v); }
    Big(const Big&) = delete;
    Big& operator=(const Big&) = delete;
    double round() const { return mpfr_get_d(v, MPFR_RNDN); }
};

// value rounded to the nearest multiple of 2^-bits.
double round_to_grid(const Big& value, int bits) {
    Big t;
    mpfr_mul_2si(t.v, value.v, bits, MPFR_RNDN);
    mpfr_rint(t.v, t.v, MPFR_RNDN);
    mpfr_mul_2si(t.v, t.v, -bits, MPFR_RNDN);
    return t.round();
}

TEST(ExpLogTables, PowersOfTwoOverSixtyFour) {
    for (int j = 0; j < 64; ++j) {
        Big v, lo;
        mpfr_set_si(v.v, j, MPFR_RNDN);
        mpfr_div_ui(v.v, v.v, 64, MPFR_RNDN);
        mpfr_exp2(v.v, v.v, MPFR_RNDN);
        const double hi = v.round();
        mpfr_sub_d(lo.v, v.v, hi, MPFR_RNDN);  // exact at 256 bits
        mpfr_div_d(lo.v, lo.v, hi, MPFR_RNDN);
        EXPECT_EQ(bits_of(qor::vm::exp_table::kTable.v[j][0]), bits_of(hi)) << "hi, j = " << j;
        EXPECT_EQ(bits_of(qor::vm::exp_table::kTable.v[j][1]), bits_of(lo.round())) << "lo, j = " << j;
    }
    EXPECT_EQ(qor::vm::exp_table::kBits[1][0], 0x3FF02C9A3E778061ull);
    EXPECT_EQ(qor::vm::exp_table::kTable.v[1][1], -1.507066976926039e-17);
    EXPECT_EQ(qor::vm::exp_table::kBits[32][0], 0x3FF6A09E667F3BCDull);
    EXPECT_EQ(qor::vm::exp_table::kTable.v[32][1], -6.835808657661922e-17);
    EXPECT_EQ(qor::vm::exp_table::kBits[63][0], 0x3FFFA7C1819E90D8ull);
    EXPECT_EQ(qor::vm::exp_table::kTable.v[63][1], 2.0414278897578303e-17);
}

TEST(ExpLogTables, LogarithmsOfTheScalarReciprocals) {
    Big ln2;
    mpfr_const_log2(ln2.v, MPFR_RNDN);
    const double ln2_hi = round_to_grid(ln2, 42);
    for (int j = 0; j <= 64; ++j) {
        const double* row = qor::vm::log_table::kScalar.v[j];
        // rcp: 64/(64 + j) to a multiple of 2^-10.
        Big r;
        mpfr_set_ui(r.v, 64, MPFR_RNDN);
        mpfr_div_ui(r.v, r.v, 64 + j, MPFR_RNDN);
        EXPECT_EQ(row[0], round_to_grid(r, 10)) << "rcp, j = " << j;
        Big t, lo;
        mpfr_set_d(t.v, row[0], MPFR_RNDN);
        mpfr_log(t.v, t.v, MPFR_RNDN);
        mpfr_neg(t.v, t.v, MPFR_RNDN);
        const double hi = j == 64 ? ln2_hi : round_to_grid(t, 37);
        EXPECT_EQ(bits_of(row[1]), bits_of(hi + 0.0)) << "hi, j = " << j;  // -ln(1) as +0
        mpfr_sub_d(lo.v, t.v, row[1], MPFR_RNDN);
        EXPECT_EQ(bits_of(row[2]), bits_of(lo.round() + 0.0)) << "lo, j = " << j;
    }
    EXPECT_EQ(qor::vm::log_table::kScalar.v[1][0], 0.984375);
    EXPECT_EQ(qor::vm::log_table::kScalar.v[1][1], 0.01574835697101662);
    EXPECT_EQ(qor::vm::log_table::kScalar.v[1][2], -2.877450746936954e-12);
    EXPECT_EQ(qor::vm::log_table::kScalarBits[64][1], 0x3FE62E42FEFA3800ull);
    EXPECT_EQ(qor::vm::log_table::kScalarBits[64][2], 0x3D2EF35793C76730ull);
}

TEST(ExpLogTables, LogarithmsOfTheVectorReciprocals) {
    using qor::vm::log_table::kRcp;
    using qor::vm::log_table::kRcpFirst;
    for (int i = 0; i < qor::vm::log_table::kRcpRows; ++i) {
        Big t, lo;
        mpfr_set_si(t.v, i + kRcpFirst, MPFR_RNDN);
        mpfr_div_ui(t.v, t.v, 512, MPFR_RNDN);
        mpfr_log(t.v, t.v, MPFR_RNDN);
        mpfr_neg(t.v, t.v, MPFR_RNDN);
        EXPECT_EQ(bits_of(kRcp.v[i][0]), bits_of(round_to_grid(t, 42) + 0.0)) << "hi, i = " << i + kRcpFirst;
        mpfr_sub_d(lo.v, t.v, kRcp.v[i][0], MPFR_RNDN);
        EXPECT_EQ(bits_of(kRcp.v[i][1]), bits_of(lo.round() + 0.0)) << "lo, i = " << i + kRcpFirst;
    }
}

}  // namespace
}  // namespace explog_test
