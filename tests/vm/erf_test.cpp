// Erf, Erfc, Erfcx and CdfNorm in both precisions and every slot: special
// values, signed zeros, status codes at the underflow and overflow edges,
// and the scalar routines' ranges against MPFR, which the sweeps visit only
// sparsely (accuracy over the whole range: accuracy_test.cpp).
#include <mpfr.h>

#include <random>

#include "explog_support.h"

namespace explog_test {
namespace {

constexpr int kOver = QOR_VM_STATUS_OVERFLOW, kUnder = QOR_VM_STATUS_UNDERFLOW;
constexpr double kSub = kPositiveSubnormal;

// The erf family's cases hold their wanted values to about seven digits.
template <class T>
void expect_erf_cases(std::initializer_list<UnaryKernel<T>> kernels, const std::vector<Case<T>>& cases, const char* what) {
    expect_cases(kernels, cases, what, QOR_VM_ERRMODE_CALLBACK | QOR_VM_HA, 1e-6);
}

TEST(ErfSpecial, LimitsSignedZerosAndCodes) {
    expect_erf_cases<double>({_lumdErf, _lumdErf_50, _lumdErf_26},
                             {{0.0, 0.0, 0}, {-0.0, -0.0, 0}, {inf<double>, 1.0, 0}, {-inf<double>, -1.0, 0},
                              {nan<double>, nan<double>, 0}, {-0x1p-1074, -0x1p-1074, 0}, {5.93, 1.0, 0}, {-1e300, -1.0, 0}},
                             "dErf");
    expect_erf_cases<float>({_lumsErf, _lumsErf_21, _lumsErf_11},
                            {{-0.0f, -0.0f, 0}, {-inf<float>, -1.0f, 0}, {nan<float>, nan<float>, 0}, {3.92f, 1.0f, 0},
                             {-0x1p-149f, -0x1p-149f, 0}},
                            "sErf");
    expect_erf_cases<double>({_lumdErfc, _lumdErfc_50, _lumdErfc_26},
                             {{-0.0, 1.0, 0}, {inf<double>, 0.0, 0}, {-inf<double>, 2.0, 0}, {nan<double>, nan<double>, 0},
                              {-30.0, 2.0, 0}, {26.5, 2.2109077e-307, 0}, {26.6, kSub, kUnder}, {27.3, 0.0, kUnder},
                              {1e300, 0.0, kUnder}},
                             "dErfc");
    expect_erf_cases<float>({_lumsErfc, _lumsErfc_21, _lumsErfc_11},
                            {{inf<float>, 0.0f, 0}, {-inf<float>, 2.0f, 0}, {9.1f, 6.6968537e-38f, 0},
                             {9.5f, float(kSub), kUnder}, {10.2f, 0.0f, kUnder}, {-9.5f, 2.0f, 0}},
                            "sErfc");
    expect_erf_cases<double>({_lumdCdfNorm, _lumdCdfNorm_50, _lumdCdfNorm_26},
                             {{0.0, 0.5, 0}, {-0.0, 0.5, 0}, {inf<double>, 1.0, 0}, {-inf<double>, 0.0, 0},
                              {nan<double>, nan<double>, 0}, {40.0, 1.0, 0}, {-37.5, 4.6053530e-308, 0},
                              {-38.0, kSub, kUnder}, {-38.6, 0.0, kUnder}},
                             "dCdfNorm");
    expect_erf_cases<float>({_lumsCdfNorm, _lumsCdfNorm_21, _lumsCdfNorm_11},
                            {{-inf<float>, 0.0f, 0}, {13.0f, 1.0f, 0}, {-13.5f, float(kSub), kUnder},
                             {-14.5f, 0.0f, kUnder}},
                            "sCdfNorm");
    // Erfcx: one kernel in every slot.
    expect_erf_cases<double>({_lumdErfcx},
                             {{0.0, 1.0, 0}, {inf<double>, 0.0, 0}, {-inf<double>, inf<double>, 0},
                              {nan<double>, nan<double>, 0}, {1.0, 0.42758357615580700, 0},
                              {-26.6, 3.8943377e307, 0}, {-26.63, inf<double>, kOver}, {-1e10, inf<double>, kOver},
                              {1e300, 5.6418958e-301, 0}, {1e308, kSub, kUnder}},
                             "dErfcx");
    expect_erf_cases<float>({_lumsErfcx},
                            {{-0.0f, 1.0f, 0}, {inf<float>, 0.0f, 0}, {-9.3f, 7.2972845e37f, 0},
                             {-9.39f, inf<float>, kOver}, {1e38f, float(kSub), kUnder}},
                            "sErfcx");
}

TEST(ErfSpecial, ScalarRangesAgainstMpfr) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    std::mt19937_64 gen(13);
    auto draw = [&](double lo, double hi) {
        std::uniform_real_distribution<double> u(lo, hi);
        std::vector<double> v(300);
        for (double& x : v) x = u(gen);
        return v;
    };
    auto to_float = [](const std::vector<double>& v) { return std::vector<float>(v.begin(), v.end()); };
    auto cdfnorm = [](mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t rnd) {
        mpfr_t t;
        mpfr_init2(t, 256);
        mpfr_sqrt_ui(t, 2, MPFR_RNDN);
        mpfr_div(t, x, t, MPFR_RNDN);
        mpfr_neg(t, t, MPFR_RNDN);
        mpfr_erfc(t, t, MPFR_RNDN);
        const int r = mpfr_div_2ui(y, t, 1, rnd);
        mpfr_clear(t);
        return r;
    };
    // The tails near and below the normal range, where the result is scaled
    // once from a pair, and the results just above it from the vector path.
    const auto erfc_d = qor::test::measure_unary<double>(_lumdErfc, mpfr_erfc, draw(25.5, 27.3), 0.7);
    const auto cdf_d = qor::test::measure_unary<double>(_lumdCdfNorm, cdfnorm, draw(-38.6, -35.5), 0.7);
    const auto erfc_s = qor::test::measure_unary<float>(_lumsErfc, mpfr_erfc, to_float(draw(8.5, 10.2)), 0.51);
    const auto cdf_s = qor::test::measure_unary<float>(_lumsCdfNorm, cdfnorm, to_float(draw(-14.3, -12.5)), 0.51);
    EXPECT_EQ(erfc_d.above, 0u) << "dErfc tail: worst " << erfc_d.describe();
    EXPECT_EQ(cdf_d.above, 0u) << "dCdfNorm tail: worst " << cdf_d.describe();
    EXPECT_EQ(erfc_s.above, 0u) << "sErfc tail: worst " << erfc_s.describe();
    EXPECT_EQ(cdf_s.above, 0u) << "sCdfNorm tail: worst " << cdf_s.describe();
}

}  // namespace
}  // namespace explog_test
