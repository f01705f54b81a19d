// ErfInv, ErfcInv and CdfNormInv in both precisions and every slot: poles
// and domain errors with their codes, signed zeros, the smallest arguments,
// the flush-to-zero mode, and the table boundaries of the tails, which the
// random sweeps of accuracy_test.cpp visit only sparsely.
#include <cmath>
#include <vector>

#include "../support/mpfr_inverse_erf.h"
#include "explog_support.h"

namespace explog_test {
namespace {

constexpr int kDomain = QOR_VM_STATUS_DOMAIN, kSing = QOR_VM_STATUS_SING;

TEST(ErfInvSpecial, PolesDomainsZerosAndTinyArguments) {
    const double above1 = 0x1.0000000000001p0;
    expect_cases<double>({_lumdErfInv, _lumdErfInv_50, _lumdErfInv_26},
                         {{1.0, inf<double>, kSing}, {-1.0, -inf<double>, kSing}, {above1, nan<double>, kDomain},
                          {-inf<double>, nan<double>, kDomain}, {nan<double>, nan<double>, 0}, {0.0, 0.0, 0},
                          {-0.0, -0.0, 0}, {-0x1p-1074, -0x1p-1074, 0}, {0x1p-1020, 0x1p-1020 * 0.886226925452758, 0},
                          {1 - 0x1p-52, 5.8050186831934533, 0}},
                         "dErfInv");
    expect_cases<float>({_lumsErfInv, _lumsErfInv_21, _lumsErfInv_11},
                        {{1.0f, inf<float>, kSing}, {-1.0f, -inf<float>, kSing}, {1.0000001f, nan<float>, kDomain},
                         {inf<float>, nan<float>, kDomain}, {nan<float>, nan<float>, 0}, {-0.0f, -0.0f, 0},
                         {0x1p-149f, 0x1p-149f, 0}},
                        "sErfInv");
    expect_cases<double>({_lumdErfcInv},
                         {{0.0, inf<double>, kSing}, {-0.0, inf<double>, kSing}, {2.0, -inf<double>, kSing},
                          {-1e-300, nan<double>, kDomain}, {0x1.0000000000001p1, nan<double>, kDomain},
                          {inf<double>, nan<double>, kDomain}, {nan<double>, nan<double>, 0}, {1.0, 0.0, 0},
                          {1e-300, 26.209469960516124, 0}, {0x1p-1074, 27.213293210812949, 0},
                          {2 - 0x1p-52, -5.8050186831934533, 0}},
                         "dErfcInv");
    expect_cases<float>({_lumsErfcInv},
                        {{0.0f, inf<float>, kSing}, {2.0f, -inf<float>, kSing}, {-0x1p-149f, nan<float>, kDomain},
                         {1.0f, 0.0f, 0}, {0x1p-149f, 10.019834265884623f, 0}, {nan<float>, nan<float>, 0}},
                        "sErfcInv");
    expect_cases<double>({_lumdCdfNormInv},
                         {{0.0, -inf<double>, kSing}, {1.0, inf<double>, kSing}, {0.5, 0.0, 0},
                          {-0x1p-1074, nan<double>, kDomain}, {above1, nan<double>, kDomain},
                          {nan<double>, nan<double>, 0}, {0x1p-1074, -38.467405617144346, 0},
                          {1e-300, -37.047096299361199, 0}},
                         "dCdfNormInv");
    expect_cases<float>({_lumsCdfNormInv},
                        {{0.0f, -inf<float>, kSing}, {1.0f, inf<float>, kSing}, {0.5f, 0.0f, 0},
                         {0x1p-149f, -14.121426613350499f, 0}, {-inf<float>, nan<float>, kDomain}},
                        "sCdfNormInv");
}

TEST(ErfInvSpecial, FlushToZeroTakesSubnormalsForZeros) {
    const uint32_t ftz = QOR_VM_ERRMODE_CALLBACK | QOR_VM_HA | QOR_VM_FTZDAZ_ON;
    expect_cases<double>({_lumdErfcInv}, {{0x1p-1074, inf<double>, kSing}}, "dErfcInv", ftz);
    expect_cases<double>({_lumdCdfNormInv}, {{0x1p-1060, -inf<double>, kSing}}, "dCdfNormInv", ftz);
    expect_cases<float>({_lumsErfcInv}, {{0x1p-149f, inf<float>, kSing}}, "sErfcInv", ftz);
    expect_cases<double>({_lumdErfInv, _lumdErfInv_50}, {{-0x1p-1074, -0.0, 0}}, "dErfInv", ftz);
}

// Arguments next to the ends of the tails' table rows: the quarter binades
// of L = -ln q, the switch from q to L at 2^-53 and from the central form at
// q = 1/2 (high accuracy), and the half binades of q (ErfInv EP), where a
// wrong row or a rounding of the row's variable shows first.
TEST(ErfInvSpecial, TailRowBoundariesAgainstMpfr) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    std::vector<double> x, q, p, x_ep;
    for (int e = -1; e <= 9; ++e)
        for (int j = 0; j < 4; ++j) {
            const double edge = std::exp(-std::ldexp(1 + j / 4.0, e));
            for (double v : around<double>({edge}, 2)) {
                if (v > 0 && v <= 0.5) q.push_back(v), p.push_back(v / 2), x.push_back(-(1 - v));
            }
        }
    for (double v : around<double>({0.5, 0x1p-53, 0x1p-52}, 2)) q.push_back(v), p.push_back(v / 2);
    for (int k = 2; k <= 53; ++k)
        for (double m : {1.0, 1.5})
            for (double v : around<double>({1 - std::ldexp(m, -k)}, 2))
                if (v < 1) x_ep.push_back(v), x_ep.push_back(-v);
    using qor::test::measure_unary;
    const auto erfinv_ha = measure_unary<double>(_lumdErfInv, qor::test::mpfr_erfinv, x, 1);
    const auto erfcinv_ha = measure_unary<double>(_lumdErfcInv, qor::test::mpfr_erfcinv, q, 1);
    const auto quantile_ha = measure_unary<double>(_lumdCdfNormInv, qor::test::mpfr_cdfnorminv, p, 1);
    const auto erfinv_ep = measure_unary<double>(_lumdErfInv_26, qor::test::mpfr_erfinv, x_ep, bits_limit<double>(26));
    EXPECT_EQ(erfinv_ha.above, 0u) << "dErfInv: worst " << erfinv_ha.describe();
    EXPECT_EQ(erfcinv_ha.above, 0u) << "dErfcInv: worst " << erfcinv_ha.describe();
    EXPECT_EQ(quantile_ha.above, 0u) << "dCdfNormInv: worst " << quantile_ha.describe();
    EXPECT_EQ(erfinv_ep.above, 0u) << "dErfInv EP: worst " << erfinv_ep.describe();
}

}  // namespace
}  // namespace explog_test
