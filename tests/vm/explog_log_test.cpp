// Ln, Log2, Log10, Log1p and Logb in both precisions and all variants:
// special values and status codes (accuracy: accuracy_test.cpp).
#include "explog_support.h"

namespace explog_test {
namespace {

// ln(-0) = -inf (2), ln(-1) = NaN (1), ln(1) = +0, ln of the smallest
// subnormal finite, ln(-inf) = NaN (1), ln(+inf) = +inf and ln(NaN) = NaN
// without a report; the same for the other logarithms of one argument.
template <class T>
void expect_log_specials(UnaryKernel<T> kernel, double ln_scale, const char* what) {
    using L = std::numeric_limits<T>;
    Reports reports;
    const std::vector<T> args = {-T(0), T(0), T(-1), T(1), L::denorm_min(), -L::infinity(), L::infinity(),
                                 L::quiet_NaN(), -L::denorm_min(), T(2)};
    const auto y = run<T>(kernel, args);
    EXPECT_EQ(y[0], -L::infinity()) << what;
    EXPECT_EQ(Reports::code_at(0), QOR_VM_STATUS_SING) << what;
    EXPECT_EQ(y[1], -L::infinity()) << what;
    EXPECT_EQ(Reports::code_at(1), QOR_VM_STATUS_SING) << what;
    EXPECT_TRUE(std::isnan(y[2])) << what;
    EXPECT_EQ(Reports::code_at(2), QOR_VM_STATUS_DOMAIN) << what;
    EXPECT_EQ(bits_of(y[3]), bits_of(T(0))) << what << ": log(1) must be +0";
    const double tiny_log = std::log(double(L::denorm_min())) * ln_scale;
    EXPECT_NEAR(double(y[4]), tiny_log, std::fabs(tiny_log) * 1e-6) << what;
    EXPECT_EQ(Reports::code_at(4), 0) << what;
    EXPECT_TRUE(std::isnan(y[5])) << what;
    EXPECT_EQ(Reports::code_at(5), QOR_VM_STATUS_DOMAIN) << what;
    EXPECT_EQ(y[6], L::infinity()) << what;
    EXPECT_TRUE(std::isnan(y[7])) << what;
    EXPECT_EQ(Reports::code_at(8), QOR_VM_STATUS_DOMAIN) << what;
    EXPECT_EQ(Reports::log().size(), 5u) << what;
}

TEST(LogSpecial, ValuesAndCodes) {
    const double to_log2 = 1.4426950408889634, to_log10 = 0.4342944819032518;
    expect_log_specials<double>(_lumdLn, 1.0, "dLn HA");
    expect_log_specials<double>(_lumdLn_50, 1.0, "dLn LA");
    expect_log_specials<double>(_lumdLn_26, 1.0, "dLn EP");
    expect_log_specials<float>(_lumsLn, 1.0, "sLn HA");
    expect_log_specials<float>(_lumsLn_21, 1.0, "sLn LA");
    expect_log_specials<float>(_lumsLn_11, 1.0, "sLn EP");
    expect_log_specials<double>(_lumdLog2, to_log2, "dLog2");
    expect_log_specials<float>(_lumsLog2, to_log2, "sLog2");
    expect_log_specials<double>(_lumdLog10, to_log10, "dLog10 HA");
    expect_log_specials<double>(_lumdLog10_50, to_log10, "dLog10 LA");
    expect_log_specials<float>(_lumsLog10, to_log10, "sLog10 HA");
    expect_log_specials<float>(_lumsLog10_21, to_log10, "sLog10 LA");
    expect_log_specials<float>(_lumsLog10_11, to_log10, "sLog10 EP");
    Reports reports;
    const auto y = run<double>(_lumdLn, {std::numeric_limits<double>::denorm_min(), 0x1p-1022, 0x1p1023});
    EXPECT_EQ(y[0], -744.4400719213812);  // prescaled by 2^60 in the scalar routine
    EXPECT_EQ(y[1], -708.3964185322641);
    EXPECT_EQ(y[2], 709.0895657128241);
}

TEST(LogSpecial, Log1pAndLogb) {
    using L = std::numeric_limits<double>;
    for (auto kernel : {_lumsLog1p, _lumsLog1p_21, _lumsLog1p_11}) {
        Reports reports;
        const auto y = run<float>(kernel, {-1.0f, -2.0f, -0.0f, 0.0f, 1e-40f, -std::numeric_limits<float>::infinity()});
        EXPECT_EQ(y[0], -std::numeric_limits<float>::infinity());
        EXPECT_EQ(Reports::code_at(0), QOR_VM_STATUS_SING);
        EXPECT_EQ(Reports::code_at(1), QOR_VM_STATUS_DOMAIN);
        EXPECT_EQ(bits_of(y[2]), bits_of(-0.0f));
        EXPECT_EQ(bits_of(y[3]), bits_of(0.0f));
        EXPECT_EQ(y[4], 1e-40f);
        EXPECT_EQ(Reports::code_at(5), QOR_VM_STATUS_DOMAIN);
        EXPECT_EQ(Reports::log().size(), 3u);
    }
    {
        Reports reports;
        const auto y = run<double>(_lumdLog1p, {-1.0, next_down(-1.0), -0.0, 1e-310, L::infinity(), next_up(-1.0)});
        EXPECT_EQ(y[0], -L::infinity());
        EXPECT_EQ(Reports::code_at(0), QOR_VM_STATUS_SING);
        EXPECT_EQ(Reports::code_at(1), QOR_VM_STATUS_DOMAIN);
        EXPECT_EQ(bits_of(y[2]), bits_of(-0.0));
        EXPECT_EQ(y[3], 1e-310);
        EXPECT_EQ(y[4], L::infinity());
        EXPECT_EQ(y[5], std::log(0x1p-53));
    }
    {
        Reports reports;
        const auto y = run<double>(_lumdLogb, {0.0, -0.0, L::denorm_min(), -3.0, L::infinity(), -L::infinity(),
                                              L::quiet_NaN(), 0.75, L::max()});
        EXPECT_EQ(y[0], -L::infinity());
        EXPECT_EQ(Reports::code_at(0), QOR_VM_STATUS_SING);
        EXPECT_EQ(Reports::code_at(1), QOR_VM_STATUS_SING);
        EXPECT_EQ(y[2], -1074.0);
        EXPECT_EQ(y[3], 1.0);
        EXPECT_EQ(y[4], L::infinity());
        EXPECT_EQ(y[5], L::infinity());
        EXPECT_TRUE(std::isnan(y[6]));
        EXPECT_EQ(y[7], -1.0);
        EXPECT_EQ(y[8], 1023.0);
        EXPECT_EQ(Reports::log().size(), 2u);
    }
    {
        Reports reports;
        const auto y = run<float>(_lumsLogb, {std::numeric_limits<float>::denorm_min(), -0.0f, 6.0f});
        EXPECT_EQ(y[0], -149.0f);
        EXPECT_EQ(Reports::code_at(1), QOR_VM_STATUS_SING);
        EXPECT_EQ(y[2], 2.0f);
    }
}

}  // namespace
}  // namespace explog_test
