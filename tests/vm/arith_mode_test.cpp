// The mode word and the floating-point protocol as the arithmetic kernels
// see them: with the flush-to-zero field at 0x280000 every kernel but
// LinearFrac treats subnormal inputs as zeros and flushes subnormal results
// (bit-operation kernels included), with 0x140000 none does; the caller's
// MXCSR comes back unchanged; a callback can replace a reported result; the
// status keeps the last code.
#include "arith_support.h"

namespace {

using namespace arith_test;

constexpr double kDen = 0x1.8p-1070;  // a double subnormal
constexpr float kDenF = 0x1.8p-140f;  // a single subnormal

struct Outcome {
    double plain;    // with flushing off
    double flushed;  // with flushing on
};

template <class T>
T run1(Unary<T> k, T a) {
    T r;
    k(1, &a, &r);
    return r;
}

template <class T>
T run2(Binary<T> k, T a, T b) {
    T r;
    k(1, &a, &b, &r);
    return r;
}

// The single or the double entry point, as T says.
template <class T, class S, class D>
auto pick(S single, D dbl) {
    if constexpr (sizeof(T) == 8)
        return dbl;
    else
        return single;
}
#define BY_TYPE(Fn) pick<T>(_lums##Fn, _lumd##Fn)

// Every kernel once in each setting; the results differ only by flushing.
template <class T>
void check_flushing(T den) {
    const T inf = std::numeric_limits<T>::infinity();
    const T tiny = std::numeric_limits<T>::min();                  // smallest normal
    std::vector<std::pair<std::string, std::pair<T, T>>> results;  // name -> (off, on)
    auto record = [&](const char* name, auto compute) {
        T off, on;
        {
            ScopedMode m(QOR_VM_FTZDAZ_OFF);
            off = compute();
        }
        {
            ScopedMode m(QOR_VM_FTZDAZ_ON);
            on = compute();
        }
        results.push_back({name, {off, on}});
    };
    const T huge = T(1.5) / tiny;  // its inverse is subnormal
    record("Mul", [&] { return run2<T>(BY_TYPE(Mul), den, T(1)); });
    record("Mul result", [&] { return run2<T>(BY_TYPE(Mul), tiny, T(0.25)); });
    record("Div", [&] { return run2<T>(BY_TYPE(Div), den, T(2)); });
    record("Inv", [&] { return run1<T>(BY_TYPE(Inv), huge); });
    record("Sqr", [&] { return run1<T>(BY_TYPE(Sqr), -std::sqrt(den)); });
    record("Sqrt", [&] { return run1<T>(BY_TYPE(Sqrt), den); });
    record("InvSqrt", [&] { return run1<T>(BY_TYPE(InvSqrt), den); });
    record("InvSqrt EP", [&] { return run1<T>(pick<T>(_lumsInvSqrt_11, _lumdInvSqrt_26), den); });
    record("Abs", [&] { return run1<T>(BY_TYPE(Abs), -den); });
    record("CopySign", [&] { return run2<T>(BY_TYPE(CopySign), den, T(-1)); });
    record("Floor", [&] { return run1<T>(BY_TYPE(Floor), -den); });
    record("Ceil", [&] { return run1<T>(BY_TYPE(Ceil), den); });
    record("Frac", [&] { return run1<T>(BY_TYPE(Frac), den); });
    record("Modf", [&] {
        T whole, frac;
        BY_TYPE(Modf)(1, &den, &whole, &frac);
        return frac;
    });
    record("NextAfter", [&] { return run2<T>(BY_TYPE(NextAfter), T(0), T(1)); });
    record("Fmax", [&] { return run2<T>(BY_TYPE(Fmax), den, T(-1)); });
    record("Fmin", [&] { return run2<T>(BY_TYPE(Fmin), den, T(1)); });
    record("MaxMag", [&] { return run2<T>(BY_TYPE(MaxMag), den, T(0)); });
    record("MinMag", [&] { return run2<T>(BY_TYPE(MinMag), den, T(1)); });
    record("Fdim", [&] { return run2<T>(BY_TYPE(Fdim), den, T(0)); });
    record("Fmod", [&] { return run2<T>(BY_TYPE(Fmod), den, T(1)); });
    record("Remainder", [&] { return run2<T>(BY_TYPE(Remainder), den, T(1)); });
    for (const auto& [name, r] : results) {
        const T off = r.first, on = r.second;
        if (name == "InvSqrt" || name == "InvSqrt EP") {
            EXPECT_TRUE(std::isfinite(off)) << name;
            EXPECT_EQ(on, inf) << name << ": a flushed argument is a zero";
            continue;
        }
        EXPECT_EQ(on, T(0)) << name << " with flushing on gave " << show(on);
        EXPECT_NE(off, T(0)) << name << " with flushing off gave " << show(off);
    }
}

TEST(ArithMode, FlushToZeroDouble) {
    ReportLog log;
    check_flushing<double>(kDen);
}

TEST(ArithMode, FlushToZeroSingle) {
    ReportLog log;
    check_flushing<float>(kDenF);
}

TEST(ArithMode, FlushedArgumentsReportAsZeros) {
    ReportLog log;
    ScopedMode m(QOR_VM_FTZDAZ_ON);
    const double one = 1, den = kDen;
    double r;
    _lumdDiv(1, &one, &den, &r);
    EXPECT_EQ(r, std::numeric_limits<double>::infinity());
    _lumdRemainder(1, &one, &den, &r);
    EXPECT_TRUE(std::isnan(r));
    ASSERT_EQ(ReportLog::records().size(), 2u);
    EXPECT_EQ(ReportLog::records()[0].code, QOR_VM_STATUS_SING);
    EXPECT_EQ(ReportLog::records()[1].code, QOR_VM_STATUS_DOMAIN);
}

// LinearFrac never flushes, and every kernel hands the caller's MXCSR back.
TEST(ArithMode, LinearFracIgnoresFlushingAndCallerControlComesBack) {
    ScopedMode m(QOR_VM_FTZDAZ_ON);
    const uint32_t caller = (_mm_getcsr() & ~0xFFC0u) | 0x9FC0 | 0x6000;  // FTZ, DAZ, round toward zero
    const double a[3] = {kDen, 0x1p-1060, 2}, b[3] = {1, 0x1p-1070, 4};
    double r[3];
    _mm_setcsr(caller & ~0x3Fu);
    _lumdLinearFrac(3, a, b, 1, 0, 1, 0, r);
    const uint32_t after = _mm_getcsr();
    _mm_setcsr(0x1F80);
    EXPECT_EQ(r[0], kDen);
    EXPECT_EQ(r[1], 1024.0);
    EXPECT_EQ(r[2], 0.5);
    EXPECT_EQ(after & 0xFFC0, caller & 0xFFC0);
    const float x[2] = {1.0f, 3.0f};
    float y[2];
    _mm_setcsr(caller);
    _lumsRint(2, x, y);
    const uint32_t after_rint = _mm_getcsr();
    _mm_setcsr(0x1F80);
    EXPECT_EQ(after_rint & 0xFFC0, caller & 0xFFC0);
}

TEST(ArithMode, CallbackReplacesResultAndStatusKeepsLastCode) {
    ReportLog log;
    ReportLog::replacement() = 42.0;
    std::vector<double> a(100, 4.0), r(100);
    a[10] = -1;    // domain
    a[77] = -0.0;  // pole
    _lumdInvSqrt(100, a.data(), r.data());
    EXPECT_EQ(r[10], 42.0);
    EXPECT_EQ(r[77], 42.0);
    EXPECT_EQ(r[11], 0.5);
    ASSERT_EQ(ReportLog::records().size(), 2u);
    EXPECT_EQ(ReportLog::records()[0].index, 10);
    EXPECT_EQ(ReportLog::records()[1].index, 77);
    EXPECT_EQ(_lumGetErrStatus(), QOR_VM_STATUS_SING);
    std::vector<float> x(9, 2.0f), y(9);
    x[4] = 0;
    _lumsInv(9, x.data(), y.data());
    EXPECT_EQ(y[4], 42.0f);
    EXPECT_EQ(_lumGetErrStatus(), QOR_VM_STATUS_SING);
}

// In-place calls (the result array is an argument) take the per-block path.
TEST(ArithMode, InPlaceCalls) {
    ReportLog log;
    std::vector<double> a = random_mixed<double>(1001, 71), b = random_mixed<double>(1001, 72);
    for (auto k : {_lumdMul, _lumdDiv, _lumdFmax, _lumdFmod, _lumdNextAfter}) {
        std::vector<double> want(a.size()), r = a;
        k(int(a.size()), a.data(), b.data(), want.data());
        k(int(a.size()), r.data(), b.data(), r.data());
        for (size_t i = 0; i < a.size(); ++i) ASSERT_TRUE(same(r[i], want[i])) << i;
    }
    std::vector<float> x = random_mixed<float>(1001, 73);
    for (auto k : {_lumsSqrt, _lumsRound, _lumsInvSqrt}) {
        std::vector<float> want(x.size()), r = x;
        k(int(x.size()), x.data(), want.data());
        k(int(x.size()), r.data(), r.data());
        for (size_t i = 0; i < x.size(); ++i) ASSERT_TRUE(same(r[i], want[i])) << i;
    }
}

}  // namespace
