// Exp, Exp2, Exp10 and Expm1 in both precisions and all variants: the
// thresholds and status codes, and the scalar paths near overflow and in
// the subnormal range (accuracy over the whole range: accuracy_test.cpp).
#include <random>

#include "explog_support.h"

namespace explog_test {
namespace {

constexpr double kOverflow = 709.782712893384;
constexpr double kZeroBelow = -745.1332191019411;
constexpr double kSubnormalBelow = -708.3964185322641;

TEST(ExpSpecial, DoubleThresholdsAndCodes) {
    const double inf = std::numeric_limits<double>::infinity();
    const std::vector<double> args = {kOverflow,       next_up(kOverflow), kZeroBelow, next_down(kZeroBelow),
                                      kSubnormalBelow, next_down(kSubnormalBelow), -inf, inf,
                                      std::numeric_limits<double>::quiet_NaN(), 1e-300, -1e-300, 709.78,
                                      -740.0, 0.0, -0.0, 1.0};
    for (auto kernel : {_lumdExp, _lumdExp_50, _lumdExp_26}) {
        Reports reports;
        const auto y = run<double>(kernel, args);
        EXPECT_TRUE(std::isfinite(y[0]) && y[0] > 1.79e308) << y[0];
        EXPECT_EQ(y[1], inf);
        EXPECT_EQ(Reports::code_at(0), 0);
        EXPECT_EQ(Reports::code_at(1), QOR_VM_STATUS_OVERFLOW);
        EXPECT_EQ(y[2], std::numeric_limits<double>::denorm_min());  // e^x = 0.50000000000005 * 2^-1074
        EXPECT_EQ(Reports::code_at(2), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_EQ(bits_of(y[3]), bits_of(0.0));
        EXPECT_EQ(Reports::code_at(3), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_GE(y[4], std::numeric_limits<double>::min());
        EXPECT_EQ(Reports::code_at(4), 0);
        EXPECT_LT(y[5], std::numeric_limits<double>::min());
        EXPECT_GT(y[5], 0.0);
        EXPECT_EQ(Reports::code_at(5), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_EQ(bits_of(y[6]), bits_of(0.0));  // exp(-inf) = +0, quietly
        EXPECT_EQ(y[7], inf);
        EXPECT_TRUE(std::isnan(y[8]));
        EXPECT_EQ(y[9], 1.0 + 1e-300);  // |x| < 2^-52: exactly 1 + x
        EXPECT_EQ(y[10], 1.0);
        EXPECT_TRUE(std::isfinite(y[11]));  // M = 1024 inside the scalar path
        EXPECT_EQ(Reports::code_at(12), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_EQ(y[13], 1.0);
        EXPECT_EQ(y[14], 1.0);
        EXPECT_NEAR(y[15], 2.718281828459045, 1e-8);
        EXPECT_EQ(Reports::log().size(), 5u);  // elements 1, 2, 3, 5, 12
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), QOR_VM_STATUS_UNDERFLOW);
    }
}

TEST(ExpSpecial, SubnormalResultsAreRoundedOnce) {
    // Every result in the subnormal range against MPFR, including arguments
    // whose results fall next to a rounding boundary of the subnormal grid.
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    std::vector<double> args;
    std::mt19937_64 gen(5);
    std::uniform_real_distribution<double> d(kZeroBelow, kSubnormalBelow);
    for (int i = 0; i < 20000; ++i) args.push_back(d(gen));
    for (int m = 1022; m <= 1074; ++m) {  // ln of grid points and of midpoints
        const double x = -double(m) * 0.6931471805599453;
        for (double a : around<double>({x, x - 0.34657359027997264}, 3)) args.push_back(a);
    }
    const auto w = qor::test::measure_unary<double>(_lumdExp, mpfr_exp, args, 0.5005);
    EXPECT_EQ(w.above, 0u) << "dExp subnormal results: worst " << w.describe();
}

TEST(ExpSpecial, OtherBasesAndExpm1Codes) {
    const double inf = std::numeric_limits<double>::infinity();
    {
        Reports reports;
        const auto y = run<double>(_lumdExp2, {1024.0, next_down(1024.0), -1022.0, next_down(-1022.0), -1075.0,
                                              -1074.0, -inf, 3.0, -3.0, 0.5});
        EXPECT_EQ(y[0], inf);
        EXPECT_EQ(Reports::code_at(0), QOR_VM_STATUS_OVERFLOW);
        EXPECT_TRUE(std::isfinite(y[1]));
        EXPECT_EQ(Reports::code_at(1), 0);
        EXPECT_EQ(y[2], std::numeric_limits<double>::min());
        EXPECT_EQ(Reports::code_at(2), 0);
        EXPECT_EQ(Reports::code_at(3), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_EQ(y[4], 0.0);  // 2^-1075 ties to even
        EXPECT_EQ(Reports::code_at(4), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_EQ(y[5], std::numeric_limits<double>::denorm_min());
        EXPECT_EQ(y[6], 0.0);
        EXPECT_EQ(y[7], 8.0);
        EXPECT_EQ(y[8], 0.125);
        EXPECT_EQ(y[9], std::sqrt(2.0));
    }
    {
        Reports reports;
        const auto y = run<double>(_lumdExp10, {308.2547155599167, next_up(308.2547155599167), 2.0, 22.0, -330.0});
        EXPECT_TRUE(std::isfinite(y[0]));
        EXPECT_EQ(y[1], inf);
        EXPECT_EQ(Reports::code_at(1), QOR_VM_STATUS_OVERFLOW);
        EXPECT_EQ(y[2], 100.0);
        EXPECT_EQ(y[3], 1e22);
        EXPECT_EQ(y[4], 0.0);
        EXPECT_EQ(Reports::code_at(4), QOR_VM_STATUS_UNDERFLOW);
    }
    {
        Reports reports;
        const auto y = run<double>(_lumdExpm1, {-inf, -0.0, 1e-310, next_up(kOverflow), -800.0, inf});
        EXPECT_EQ(y[0], -1.0);
        EXPECT_EQ(bits_of(y[1]), bits_of(-0.0));
        EXPECT_EQ(y[2], 1e-310);
        EXPECT_EQ(y[3], inf);
        EXPECT_EQ(Reports::code_at(3), QOR_VM_STATUS_OVERFLOW);
        EXPECT_EQ(y[4], -1.0);
        EXPECT_EQ(y[5], inf);
        EXPECT_EQ(Reports::log().size(), 1u);
    }
    {
        Reports reports;
        const float last_finite = std::bit_cast<float>(0x42B17217u);  // 88.72283
        const auto y = run<float>(_lumsExp, {last_finite, next_up(last_finite), -90.0f, -104.0f, -0.0f});
        EXPECT_TRUE(std::isfinite(y[0]));
        EXPECT_EQ(Reports::code_at(0), 0);
        EXPECT_EQ(y[1], std::numeric_limits<float>::infinity());
        EXPECT_EQ(Reports::code_at(1), QOR_VM_STATUS_OVERFLOW);
        EXPECT_GT(y[2], 0.0f);
        EXPECT_EQ(Reports::code_at(2), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_EQ(y[3], 0.0f);
        EXPECT_EQ(Reports::code_at(3), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_EQ(y[4], 1.0f);
    }
    {
        Reports reports;
        const auto y = run<float>(_lumsExpm1, {-0.0f, 1e-40f, 89.0f, -std::numeric_limits<float>::infinity()});
        EXPECT_EQ(bits_of(y[0]), bits_of(-0.0f));
        EXPECT_EQ(y[1], 1e-40f);
        EXPECT_EQ(Reports::code_at(2), QOR_VM_STATUS_OVERFLOW);
        EXPECT_EQ(y[3], -1.0f);
    }
}

}  // namespace
}  // namespace explog_test
