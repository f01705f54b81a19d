// InvSqrt: special values and reports (the ulp bounds of every slot and
// form are checked by accuracy_test.cpp).
#include "arith_support.h"

namespace {

using namespace arith_test;

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
