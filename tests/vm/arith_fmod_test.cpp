// Fmod and Remainder: known values (the exact sweep of every slot, with
// quotients next to integers and half-integers, is accuracy_test.cpp's) and
// the domain reports.
#include "arith_support.h"

namespace {

using namespace arith_test;

TEST(ArithFmod, KnownValues) {
    const double inf = std::numeric_limits<double>::infinity();
    const double x[] = {5.5, -5.5, 6, -6, 0x1.805dfa0f8p+94, 7.5, 1e300, -0.0, 3, 0x1p-1074};
    const double y[] = {2, 2, 3, 3, 0x1.a4p+68, -2, 3, 1, inf, 0x1p-1073};
    const double fmod[] = {1.5, -1.5, 0, -0.0, 0x1.a4p+67, 1.5, 0, -0.0, 3, 0x1p-1074};
    // 5.5/2 = 2.75 -> 3; 7.5/2 = 3.75 -> 4; the exact tie x/y = 61415331.5 goes to the even 61415332.
    const double remainder[] = {-0.5, 0.5, 0, -0.0, -0x1.a4p+67, -0.5, 0, -0.0, 3, 0x1p-1074};
    double r[10];
    _lumdFmod(10, x, y, r);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(same(r[i], fmod[i])) << "Fmod(" << x[i] << ", " << y[i] << ") = " << show(r[i]);
    _lumdRemainder(10, x, y, r);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(same(r[i], remainder[i])) << "Remainder(" << x[i] << ", " << y[i] << ") = " << show(r[i]);
}

TEST(ArithFmod, DomainReports) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    const double x[] = {1, 2, inf, -inf, nan, 1, 0, 7};
    const double y[] = {3, 0, 1, 0, 0, nan, -0.0, inf};
    const int domain_at[] = {1, 2, 3, 6};
    for (auto k : {_lumdFmod, _lumdRemainder}) {
        ReportLog log;
        double r[8];
        k(8, x, y, r);
        ASSERT_EQ(ReportLog::records().size(), 4u);
        for (int j = 0; j < 4; ++j) {
            EXPECT_EQ(ReportLog::records()[j].code, QOR_VM_STATUS_DOMAIN);
            EXPECT_EQ(ReportLog::records()[j].index, domain_at[j]);
            EXPECT_TRUE(std::isnan(r[domain_at[j]]));
        }
        EXPECT_TRUE(std::isnan(r[4]) && std::isnan(r[5]));
        EXPECT_EQ(r[7], 7.0);
    }
    float xf[5] = {1, 2, 3, 4, 5}, yf[5 * 3] = {}, rf[5 * 2];
    for (int i = 0; i < 5; ++i) yf[i * 3] = i == 3 ? 0.0f : 2.0f;
    ReportLog log;
    _lumsRemainderI(5, xf, 1, yf, 3, rf, 2);
    ASSERT_EQ(ReportLog::records().size(), 1u);
    EXPECT_EQ(ReportLog::records()[0].index, 3);
    EXPECT_STREQ(ReportLog::records()[0].name, "vsRemainderI");
    EXPECT_EQ(rf[0], 1.0f);
    EXPECT_EQ(rf[2], 0.0f);
}

}  // namespace
