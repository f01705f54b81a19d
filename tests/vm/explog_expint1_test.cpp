// ExpInt1 in both precisions and its variants: accuracy against MPFR
// (E1(x) = -Ei(-x)), the pieces' boundaries, the subnormal range of the
// result and the special arguments.
#include "explog_support.h"

namespace explog_test {
namespace {

int mpfr_e1(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t rnd) {
    if (mpfr_nan_p(x) || mpfr_sgn(x) < 0) return mpfr_set_nan(y), 0;
    if (mpfr_zero_p(x)) return mpfr_set_inf(y, 1), 0;
    if (mpfr_inf_p(x)) return mpfr_set_zero(y, 1), 0;
    mpfr_t t;
    mpfr_init2(t, mpfr_get_prec(y) + 32);
    mpfr_neg(t, x, MPFR_RNDN);
    mpfr_eint(t, t, MPFR_RNDN);  // Ei(-x) = -E1(x)
    const int r = mpfr_neg(y, t, rnd);
    mpfr_clear(t);
    return r;
}

// Every piece boundary of [0.5, 1024) with neighbours, and the branch point.
template <class T>
std::vector<T> piece_edges() {
    std::vector<T> points;
    for (int e = -1; e <= 9; ++e)
        for (int j = 0; j < 4; ++j) points.push_back(std::ldexp(T(1) + T(j) / 4, e));
    std::vector<T> v;
    for (T p : points) {
        auto a = around<T>({p}, 2);
        v.insert(v.end(), a.begin(), a.end());
    }
    return v;
}

TEST(ExpInt1Accuracy, Double) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto args = join<double>({common_edges<double>(), piece_edges<double>(),
                                    around<double>({700.0, 701.5, 701.8, 739.0, 745.0}, 3),
                                    random_args<double>(16000, 0.0, 750.0, -1074, 4, 51)});
    expect_within<double>(_lumdExpInt1, mpfr_e1, args, 1.0, "dExpInt1 HA");
    expect_within<double>(_lumdExpInt1_26, mpfr_e1, args, bits_limit<double>(26), "dExpInt1 EP");
}

TEST(ExpInt1Accuracy, Single) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const auto args = join<float>({common_edges<float>(), piece_edges<float>(), around<float>({80.0f, 83.0f, 104.0f}, 3),
                                   random_args<float>(10000, 0.0, 110.0, -149, 4, 52)});
    expect_within<float>(_lumsExpInt1, mpfr_e1, args, 0.55, "sExpInt1 HA");
    expect_within<float>(_lumsExpInt1_11, mpfr_e1, args, bits_limit<float>(11), "sExpInt1 EP");
}

}  // namespace
}  // namespace explog_test

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
