// Ln, Log2, Log10, Log1p and Logb in both precisions and all variants:
// accuracy against MPFR over edge sets and random arguments, special values
// and status codes.
#include "explog_support.h"

namespace explog_test {
namespace {

constexpr std::size_t kRandom = 120000;

std::vector<double> log_args_double(unsigned seed) {
    return join<double>({common_edges<double>(),
                         around<double>({0.75, 1.5, 1.0 - 0.009765625, 1.0 + 0.009765625, 0.5, 2.0, 4.0 / 3.0,
                                         std::sqrt(0.5), std::sqrt(2.0)},
                                        4),
                         random_args<double>(kRandom, 0.0, 4.0, -1074, 1024, seed)});
}

std::vector<float> log_args_single(unsigned seed) {
    return join<float>({common_edges<float>(), around<float>({0.75f, 1.5f, 0.5f, 2.0f}, 4),
                        random_args<float>(kRandom, 0.0, 4.0, -149, 128, seed)});
}

std::vector<double> log1p_args_double() {
    return join<double>({log_args_double(41),
                         around<double>({-1.0, -0.5, 1.0, 0.0017089843750000002, -0.0017089843750000002,
                                         std::ldexp(1.0, -53), -std::ldexp(1.0, -53)},
                                        4),
                         random_args<double>(kRandom / 4, -1.0, 1.0, -60, 0, 43)});
}

std::vector<float> log1p_args_single() {
    return join<float>({log_args_single(42),
                        around<float>({-1.0f, -0.5f, 1.0f, std::ldexp(1.0f, -24), std::ldexp(1.0f, -29), 16777216.0f}, 4),
                        random_args<float>(kRandom / 4, -1.0, 1.0, -30, 0, 44)});
}

// logb(x) = floor(log2 |x|), exact: MPFR's exponent less one.
int mpfr_logb(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t) {
    if (mpfr_nan_p(x)) return mpfr_set_nan(y), 0;
    if (mpfr_inf_p(x)) return mpfr_set_inf(y, 1), 0;
    if (mpfr_zero_p(x)) return mpfr_set_inf(y, -1), 0;
    return mpfr_set_si(y, long(mpfr_get_exp(x)) - 1, MPFR_RNDN);
}

TEST(LnAccuracy, DoubleVariants) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto args = log_args_double(31);
    expect_within<double>(_lumdLn, mpfr_log, args, 0.55, "dLn HA");
    expect_within<double>(_lumdLn_50, mpfr_log, args, 4.0, "dLn LA");
    expect_within<double>(_lumdLn_26, mpfr_log, args, bits_limit<double>(26), "dLn EP");
}

TEST(LnAccuracy, SingleVariants) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto args = log_args_single(32);
    expect_within<float>(_lumsLn, mpfr_log, args, 0.55, "sLn HA");
    expect_within<float>(_lumsLn_21, mpfr_log, args, 4.0, "sLn LA");
    expect_within<float>(_lumsLn_11, mpfr_log, args, bits_limit<float>(11), "sLn EP");
}

TEST(LogAccuracy, Log2) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    expect_within<double>(_lumdLog2, mpfr_log2, log_args_double(33), 0.55, "dLog2");
    expect_within<float>(_lumsLog2, mpfr_log2, log_args_single(34), 0.55, "sLog2");
}

TEST(LogAccuracy, Log10) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto d = log_args_double(35);
    const auto s = log_args_single(36);
    expect_within<double>(_lumdLog10, mpfr_log10, d, 0.55, "dLog10 HA");
    expect_within<double>(_lumdLog10_50, mpfr_log10, d, 4.0, "dLog10 LA");
    expect_within<double>(_lumdLog10_26, mpfr_log10, d, 4.0, "dLog10 EP (the LA kernel)");
    expect_within<float>(_lumsLog10, mpfr_log10, s, 0.55, "sLog10 HA");
    expect_within<float>(_lumsLog10_21, mpfr_log10, s, 4.0, "sLog10 LA");
    expect_within<float>(_lumsLog10_11, mpfr_log10, s, bits_limit<float>(11), "sLog10 EP");
}

TEST(LogAccuracy, Log1p) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto s = log1p_args_single();
    expect_within<double>(_lumdLog1p, mpfr_log1p, log1p_args_double(), 0.55, "dLog1p");
    expect_within<float>(_lumsLog1p, mpfr_log1p, s, 0.55, "sLog1p HA");
    expect_within<float>(_lumsLog1p_21, mpfr_log1p, s, 4.0, "sLog1p LA");
    expect_within<float>(_lumsLog1p_11, mpfr_log1p, s, bits_limit<float>(11), "sLog1p EP");
}

TEST(LogAccuracy, LogbIsExact) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    expect_within<double>(_lumdLogb, mpfr_logb, log_args_double(37), 0.0, "dLogb");
    expect_within<float>(_lumsLogb, mpfr_logb, log_args_single(38), 0.0, "sLogb");
}

template <class T>
std::vector<T> run(UnaryKernel<T> k, const std::vector<T>& args) {
    std::vector<T> out(args.size());
    k(int(args.size()), args.data(), out.data());
    return out;
}

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
