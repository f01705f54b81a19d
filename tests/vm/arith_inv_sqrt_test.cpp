// InvSqrt: every entry point and form against MPFR within EP's bits (the
// ulp bounds of each slot are checked by accuracy_test.cpp), special values
// and reports.
#include "arith_support.h"

namespace {

using namespace arith_test;

// Every entry and form on a mix of positive values and specials: HA within
// one ulp of the correctly rounded value, EP within its bits.
template <class T>
void check_forms(const Row<Unary<T>, UnaryI<T>>& row, int ep_bits) {
    MpfrFormat<T> format;
    auto want = [](T x) -> T {
        if (x == 0) return std::copysign(std::numeric_limits<T>::infinity(), x);
        return mpfr_apply<T>(
            [](mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr, mpfr_rnd_t m) { return mpfr_rec_sqrt(r, a, m); }, x);
    };
    const int lo = std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits;
    auto x = random_log_uniform<T>(2000, lo, std::numeric_limits<T>::max_exponent - 1, 61);
    for (T& v : x) v = std::fabs(v);
    for (T e : edge_values<T>()) x.push_back(e);
    const int digits = std::numeric_limits<T>::digits;
    // Slots 0-2 are the HA kernel, slot 3 the EP one; check_unary cannot tell
    // them apart, so the tolerance is EP's, and HA is held to one ulp below.
    auto close = [&](T got, T expected, T) {
        if (!std::isfinite(expected) || expected == 0) return same(got, expected);
        const T ulp = std::nextafter(expected, std::numeric_limits<T>::infinity()) - expected;
        return std::fabs(got - expected) <= std::ldexp(ulp, digits - ep_bits);
    };
    ReportLog log;
    check_unary(row, x, want, close);
}

TEST(ArithInvSqrt, FormsAndSlots) {
    check_forms<double>(ARITH_UNARY_ROW(d, InvSqrt), 32);
    check_forms<float>(ARITH_UNARY_ROW(s, InvSqrt), 20);
}

// Within a relative 2^-30 (double) or 2^-20 (single): both variants.
template <class T>
bool close_to(T got, T want) {
    return std::fabs(got - want) <= std::ldexp(want, sizeof(T) == 8 ? -30 : -20);
}

TEST(ArithInvSqrt, SpecialValuesAndReports) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    const double x[] = {4, 0.0, -0.0, -1, inf, nan, 0x1p-1074, -inf, 0x1p-1022, DBL_MAX, 0x1p1000};
    for (auto k : {_lumdInvSqrt, _lumdInvSqrt_26}) {
        ReportLog log;
        double r[11];
        k(11, x, r);
        EXPECT_TRUE(close_to(r[0], 0.5));
        EXPECT_EQ(r[1], inf);
        EXPECT_EQ(r[2], -inf);
        EXPECT_TRUE(std::isnan(r[3]));
        EXPECT_TRUE(same(r[4], 0.0));
        EXPECT_TRUE(std::isnan(r[5]));
        EXPECT_TRUE(close_to(r[6], 0x1p537));
        EXPECT_TRUE(std::isnan(r[7]));
        EXPECT_TRUE(close_to(r[8], 0x1p511));
        EXPECT_TRUE(close_to(r[9], 0x1p-512));
        EXPECT_TRUE(close_to(r[10], 0x1p-500));
        const auto& rec = ReportLog::records();
        ASSERT_EQ(rec.size(), 4u);
        const int index[] = {1, 2, 3, 7}, code[] = {2, 2, 1, 1};
        for (int j = 0; j < 4; ++j) {
            EXPECT_EQ(rec[j].index, index[j]);
            EXPECT_EQ(rec[j].code, code[j]);
            EXPECT_STREQ(rec[j].name, "vdInvSqrt");
        }
    }
    const float xf[] = {0.0f, 0x1p-149f, 0x1p-126f, -2.0f, 0x1p126f};
    for (auto k : {_lumsInvSqrtI, _lumsInvSqrtI_11}) {
        ReportLog log;
        float a[10] = {}, r[10];
        for (int i = 0; i < 5; ++i) a[2 * i] = xf[i];
        k(5, a, 2, r, 2);
        EXPECT_EQ(r[0], std::numeric_limits<float>::infinity());
        EXPECT_TRUE(close_to(r[2], 0x1.6a09e6p+74f));
        EXPECT_TRUE(close_to(r[4], 0x1p63f));
        EXPECT_TRUE(std::isnan(r[6]));
        EXPECT_TRUE(close_to(r[8], 0x1p-63f));
        ASSERT_EQ(ReportLog::records().size(), 2u);
        EXPECT_STREQ(ReportLog::records()[0].name, "vsInvSqrtI");
        EXPECT_EQ(ReportLog::records()[1].index, 3);
    }
}

}  // namespace
