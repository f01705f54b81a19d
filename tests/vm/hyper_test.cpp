// Sinh, Cosh, Tanh, Asinh, Acosh and Atanh in both precisions and every
// slot: special values, signed zeros, status codes, the overflow edges of
// sinh and cosh and the results just below them (accuracy over the whole
// range: accuracy_test.cpp).
#include <random>

#include "explog_support.h"

namespace explog_test {
namespace {

constexpr int kOver = QOR_VM_STATUS_OVERFLOW, kDomain = QOR_VM_STATUS_DOMAIN, kSing = QOR_VM_STATUS_SING;

TEST(HyperSpecial, SinhCoshOverflowEdgesAndSpecials) {
    // sinh and cosh of 0x1.633ce8fb9f87dp+9 lie below the overflow threshold
    // by 8e-14 relative, those of the next double above it by 3e-14.
    const double below = 0x1.633ce8fb9f87dp+9, above = 0x1.633ce8fb9f87ep+9, max = std::numeric_limits<double>::max();
    const double big = std::sinh(below);
    ASSERT_TRUE(std::isfinite(big) && big > 0.99 * max);
    expect_cases<double>({_lumdSinh, _lumdSinh_50, _lumdSinh_26},
                         {{0.0, 0.0, 0}, {-0.0, -0.0, 0}, {inf<double>, inf<double>, 0}, {-inf<double>, -inf<double>, 0},
                          {nan<double>, nan<double>, 0}, {above, inf<double>, kOver}, {-above, -inf<double>, kOver},
                          {1e300, inf<double>, kOver}, {0x1p-1074, 0x1p-1074, 0}, {-0x1p-1060, -0x1p-1060, 0}},
                         "dSinh");
    expect_cases<double>({_lumdCosh, _lumdCosh_50, _lumdCosh_26},
                         {{0.0, 1.0, 0}, {-0.0, 1.0, 0}, {inf<double>, inf<double>, 0}, {-inf<double>, inf<double>, 0},
                          {nan<double>, nan<double>, 0}, {above, inf<double>, kOver}, {-above, inf<double>, kOver},
                          {-1e300, inf<double>, kOver}, {0x1p-1074, 1.0, 0}},
                         "dCosh");
    const float below_f = 89.41598510742188f, above_f = 89.4159927368164f;
    expect_cases<float>({_lumsSinh, _lumsSinh_21, _lumsSinh_11},
                        {{0.0f, 0.0f, 0}, {-0.0f, -0.0f, 0}, {-inf<float>, -inf<float>, 0}, {nan<float>, nan<float>, 0},
                         {above_f, inf<float>, kOver}, {-above_f, -inf<float>, kOver}, {1e30f, inf<float>, kOver},
                         {0x1p-149f, 0x1p-149f, 0}},
                        "sSinh");
    expect_cases<float>({_lumsCosh, _lumsCosh_21, _lumsCosh_11},
                        {{-0.0f, 1.0f, 0}, {-inf<float>, inf<float>, 0}, {nan<float>, nan<float>, 0},
                         {-above_f, inf<float>, kOver}},
                        "sCosh");
    for (auto k : {_lumdSinh, _lumdCosh, _lumdSinh_26, _lumdCosh_26}) {
        Reports reports;
        const auto y = run<double>(k, {below, -below, 709.9, 704.0});
        EXPECT_TRUE(std::isfinite(y[0]) && std::fabs(y[1]) == y[0] && y[0] > 0.99 * max) << y[0];
        EXPECT_TRUE(std::isfinite(y[2]) && y[3] > 0.0);
        EXPECT_TRUE(Reports::log().empty());
    }
    for (auto k : {_lumsSinh, _lumsCosh}) {
        Reports reports;
        const auto y = run<float>(k, {below_f, 89.0f});
        EXPECT_TRUE(std::isfinite(y[0]) && y[0] > 3.4e38f) << y[0];
        EXPECT_TRUE(Reports::log().empty());
    }
}

TEST(HyperSpecial, SinhCoshNearOverflowAgainstMpfr) {
    // The scalar routine's range, which the sweeps visit only sparsely.
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    std::mt19937_64 gen(12);
    std::uniform_real_distribution<double> d(700.0, 0x1.633ce8fb9f87dp+9), f(85.0, 89.41598510742188);
    std::vector<double> args;
    std::vector<float> args_f;
    for (int i = 0; i < 3000; ++i) args.push_back((i & 1) ? d(gen) : -d(gen)), args_f.push_back(float(f(gen)));
    const auto sinh_d = qor::test::measure_unary<double>(_lumdSinh, mpfr_sinh, args, 0.55);
    const auto cosh_d = qor::test::measure_unary<double>(_lumdCosh, mpfr_cosh, args, 0.55);
    const auto sinh_s = qor::test::measure_unary<float>(_lumsSinh, mpfr_sinh, args_f, 0.501);
    const auto cosh_s = qor::test::measure_unary<float>(_lumsCosh, mpfr_cosh, args_f, 0.501);
    EXPECT_EQ(sinh_d.above, 0u) << "dSinh near overflow: worst " << sinh_d.describe();
    EXPECT_EQ(cosh_d.above, 0u) << "dCosh near overflow: worst " << cosh_d.describe();
    EXPECT_EQ(sinh_s.above, 0u) << "sSinh near overflow: worst " << sinh_s.describe();
    EXPECT_EQ(cosh_s.above, 0u) << "sCosh near overflow: worst " << cosh_s.describe();
}

TEST(HyperSpecial, TanhSaturatesWithoutCodes) {
    const std::vector<Case<double>> d = {{0.0, 0.0, 0},           {-0.0, -0.0, 0},      {inf<double>, 1.0, 0},
                                         {-inf<double>, -1.0, 0}, {nan<double>, nan<double>, 0}, {19.1, 1.0, 0},
                                         {-20.0, -1.0, 0},        {1e300, 1.0, 0},      {-0x1p-1074, -0x1p-1074, 0}};
    expect_cases<double>({_lumdTanh, _lumdTanh_50, _lumdTanh_26}, d, "dTanh");
    const std::vector<Case<float>> s = {{-0.0f, -0.0f, 0}, {inf<float>, 1.0f, 0}, {-inf<float>, -1.0f, 0},
                                        {nan<float>, nan<float>, 0}, {9.1f, 1.0f, 0}, {-3e38f, -1.0f, 0},
                                        {0x1p-149f, 0x1p-149f, 0}};
    expect_cases<float>({_lumsTanh, _lumsTanh_21, _lumsTanh_11}, s, "sTanh");
}

TEST(HyperSpecial, InverseFunctionsDomainsAndPoles) {
    const double max = std::numeric_limits<double>::max(), ln2max = 0x1.633ce8fb9f87ep+9;  // ln(2 max) rounded
    expect_cases<double>({_lumdAsinh, _lumdAsinh_50, _lumdAsinh_26},
                         {{-0.0, -0.0, 0}, {0.0, 0.0, 0}, {inf<double>, inf<double>, 0}, {-inf<double>, -inf<double>, 0},
                          {nan<double>, nan<double>, 0}, {max, ln2max, 0}, {-max, -ln2max, 0}, {-0x1p-1074, -0x1p-1074, 0}},
                         "dAsinh");
    expect_cases<double>({_lumdAcosh, _lumdAcosh_50, _lumdAcosh_26},
                         {{1.0, 0.0, 0}, {0.0, nan<double>, kDomain}, {-0.0, nan<double>, kDomain},
                          {0x1.fffffffffffffp-1, nan<double>, kDomain}, {-inf<double>, nan<double>, kDomain},
                          {inf<double>, inf<double>, 0}, {nan<double>, nan<double>, 0}, {max, ln2max, 0}},
                         "dAcosh");
    expect_cases<double>({_lumdAtanh, _lumdAtanh_50},
                         {{1.0, inf<double>, kSing}, {-1.0, -inf<double>, kSing}, {-0.0, -0.0, 0},
                          {0x1.0000000000001p0, nan<double>, kDomain}, {-inf<double>, nan<double>, kDomain},
                          {nan<double>, nan<double>, 0}, {0x1p-1074, 0x1p-1074, 0}},
                         "dAtanh");
    const float maxf = std::numeric_limits<float>::max(), ln2maxf = 89.41598629223294f;
    expect_cases<float>({_lumsAsinh, _lumsAsinh_21, _lumsAsinh_11},
                        {{-0.0f, -0.0f, 0}, {-inf<float>, -inf<float>, 0}, {nan<float>, nan<float>, 0}, {-maxf, -ln2maxf, 0}},
                        "sAsinh");
    expect_cases<float>({_lumsAcosh, _lumsAcosh_21, _lumsAcosh_11},
                        {{1.0f, 0.0f, 0}, {0.99999994f, nan<float>, kDomain}, {-2.0f, nan<float>, kDomain},
                         {inf<float>, inf<float>, 0}, {nan<float>, nan<float>, 0}, {maxf, ln2maxf, 0}},
                        "sAcosh");
    expect_cases<float>({_lumsAtanh, _lumsAtanh_21},
                        {{-1.0f, -inf<float>, kSing}, {1.0f, inf<float>, kSing}, {inf<float>, nan<float>, kDomain},
                         {-1.0000001f, nan<float>, kDomain}, {-0.0f, -0.0f, 0}, {nan<float>, nan<float>, 0}},
                        "sAtanh");
}

}  // namespace
}  // namespace explog_test
