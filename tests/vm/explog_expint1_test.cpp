// ExpInt1 in both precisions and its variants: the subnormal range of the
// result and the special arguments (accuracy: accuracy_test.cpp).
#include "explog_support.h"

namespace explog_test {
namespace {

TEST(ExpInt1Special, ValuesAndCodes) {
    using L = std::numeric_limits<double>;
    for (auto kernel : {_lumdExpInt1, _lumdExpInt1_26}) {
        Reports reports;
        std::vector<double> args = {0.0, -0.0, -1.0, -L::infinity(), L::infinity(), L::quiet_NaN(), 701.0, 702.0,
                                    740.0, 760.0, L::denorm_min(), 1.0};
        std::vector<double> y(args.size());
        kernel(int(args.size()), args.data(), y.data());
        EXPECT_EQ(y[0], L::infinity());
        EXPECT_EQ(Reports::code_at(0), QOR_VM_STATUS_SING);
        EXPECT_EQ(Reports::code_at(1), QOR_VM_STATUS_SING);
        EXPECT_TRUE(std::isnan(y[2]));
        EXPECT_EQ(Reports::code_at(2), QOR_VM_STATUS_DOMAIN);
        EXPECT_EQ(Reports::code_at(3), QOR_VM_STATUS_DOMAIN);
        EXPECT_EQ(bits_of(y[4]), bits_of(0.0));
        EXPECT_TRUE(std::isnan(y[5]));
        EXPECT_GE(y[6], L::min());  // still normal
        EXPECT_EQ(Reports::code_at(6), 0);
        EXPECT_LT(y[7], L::min());
        EXPECT_GT(y[7], 0.0);
        EXPECT_EQ(Reports::code_at(7), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_EQ(Reports::code_at(8), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_EQ(y[9], 0.0);
        EXPECT_EQ(Reports::code_at(9), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_NEAR(y[10], 743.86285625647972, 1e-9);  // -ln(2^-1074) - gamma
        EXPECT_NEAR(y[11], 0.21938393439552028, 1e-9);
        EXPECT_EQ(Reports::log().size(), 7u);
    }
    for (auto kernel : {_lumsExpInt1, _lumsExpInt1_11}) {
        Reports reports;
        std::vector<float> args = {0.0f, -2.0f, 84.0f, 110.0f, std::numeric_limits<float>::denorm_min(), 80.0f};
        std::vector<float> y(args.size());
        kernel(int(args.size()), args.data(), y.data());
        EXPECT_EQ(Reports::code_at(0), QOR_VM_STATUS_SING);
        EXPECT_EQ(Reports::code_at(1), QOR_VM_STATUS_DOMAIN);
        EXPECT_GT(y[2], 0.0f);
        EXPECT_EQ(Reports::code_at(2), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_EQ(y[3], 0.0f);
        EXPECT_EQ(Reports::code_at(3), QOR_VM_STATUS_UNDERFLOW);
        EXPECT_NEAR(y[4], 102.7, 0.1);
        EXPECT_EQ(Reports::code_at(5), 0);
    }
}

}  // namespace
}  // namespace explog_test
