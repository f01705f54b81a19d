// How the exponential and logarithm kernels meet the frame: strided forms
// against contiguous ones, work in place, the index and record of each
// report wherever the element sits in a block, flush-to-zero by mode, and no
// floating-point flag raised for quiet NaN and infinite arguments.
#include <xmmintrin.h>

#include <string>

#include "explog_support.h"
#include "tests/support/vm_domains.h"

namespace explog_test {
namespace {

template <class T>
struct Case {
    const char* name;
    UnaryKernel<T> contiguous;
    Strided<T> strided;
};

const std::vector<Case<double>>& double_cases() {
    static const std::vector<Case<double>> cases = {
        {"dExp HA", _lumdExp, _lumdExpI},           {"dExp LA", _lumdExp_50, _lumdExpI_50},
        {"dExp EP", _lumdExp_26, _lumdExpI_26},     {"dExp2", _lumdExp2, _lumdExp2I},
        {"dExp10", _lumdExp10, _lumdExp10I},        {"dExpm1", _lumdExpm1, _lumdExpm1I},
        {"dLn HA", _lumdLn, _lumdLnI},              {"dLn LA", _lumdLn_50, _lumdLnI_50},
        {"dLn EP", _lumdLn_26, _lumdLnI_26},        {"dLog2", _lumdLog2, _lumdLog2I},
        {"dLog10 HA", _lumdLog10, _lumdLog10I},     {"dLog10 LA", _lumdLog10_50, _lumdLog10I_50},
        {"dLog1p", _lumdLog1p, _lumdLog1pI},        {"dLogb", _lumdLogb, _lumdLogbI},
        {"dExpInt1 HA", _lumdExpInt1, _lumdExpInt1I}, {"dExpInt1 EP", _lumdExpInt1_26, _lumdExpInt1I_26}};
    return cases;
}

const std::vector<Case<float>>& single_cases() {
    static const std::vector<Case<float>> cases = {
        {"sExp HA", _lumsExp, _lumsExpI},             {"sExp LA", _lumsExp_21, _lumsExpI_21},
        {"sExp EP", _lumsExp_11, _lumsExpI_11},       {"sExp2", _lumsExp2, _lumsExp2I},
        {"sExp10", _lumsExp10, _lumsExp10I},          {"sExpm1", _lumsExpm1, _lumsExpm1I},
        {"sLn HA", _lumsLn, _lumsLnI},                {"sLn LA", _lumsLn_21, _lumsLnI_21},
        {"sLn EP", _lumsLn_11, _lumsLnI_11},          {"sLog2", _lumsLog2, _lumsLog2I},
        {"sLog10 HA", _lumsLog10, _lumsLog10I},       {"sLog10 LA", _lumsLog10_21, _lumsLog10I_21},
        {"sLog10 EP", _lumsLog10_11, _lumsLog10I_11}, {"sLog1p HA", _lumsLog1p, _lumsLog1pI},
        {"sLog1p LA", _lumsLog1p_21, _lumsLog1pI_21}, {"sLog1p EP", _lumsLog1p_11, _lumsLog1pI_11},
        {"sLogb", _lumsLogb, _lumsLogbI},             {"sExpInt1 HA", _lumsExpInt1, _lumsExpInt1I},
        {"sExpInt1 EP", _lumsExpInt1_11, _lumsExpInt1I_11}};
    return cases;
}

// Ordinary values interleaved with every kind of special one, 77 in all, so
// that marked elements fall in whole blocks and in the tail.
template <class T>
std::vector<T> mixed_args() {
    auto v = qor::test::draw<T>(qor::test::Domain::exp, false, 77, 61).x;
    v.resize(77);
    return v;
}

TEST(ExpLogFrame, StridedFormsMatchContiguous) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    for (const auto& c : double_cases()) {
        SCOPED_TRACE(c.name);
        expect_strided_matches<double>(c.contiguous, c.strided, mixed_args<double>());
    }
    for (const auto& c : single_cases()) {
        SCOPED_TRACE(c.name);
        expect_strided_matches<float>(c.contiguous, c.strided, mixed_args<float>());
    }
}

// In place the scalar routine still sees each argument as loaded (the
// reporter, which reads the arrays, sees the stored result).
TEST(ExpLogFrame, InPlaceGivesTheSameResultsAndReports) {
    for (const auto& c : double_cases()) {
        SCOPED_TRACE(c.name);
        auto args = mixed_args<double>();
        std::vector<double> want(args.size());
        std::vector<qor_vm_error_record> separate;
        {
            Reports reports;
            c.contiguous(int(args.size()), args.data(), want.data());
            separate = Reports::log();
        }
        Reports reports;
        auto inout = args;
        c.contiguous(int(inout.size()), inout.data(), inout.data());
        for (std::size_t i = 0; i < args.size(); ++i)
            EXPECT_EQ(bits_of(inout[i]), bits_of(want[i])) << "element " << i;
        ASSERT_EQ(Reports::log().size(), separate.size());
        for (std::size_t k = 0; k < separate.size(); ++k) {
            EXPECT_EQ(Reports::log()[k].index, separate[k].index);
            EXPECT_EQ(Reports::log()[k].code, separate[k].code);
        }
    }
}

TEST(ExpLogFrame, ReportsCarryIndexArgumentAndResult) {
    // Overflows at the first and last element of a block of 16, in the next
    // block and in the tail; the callback's replacement is written back.
    std::vector<double> args(39, 1.0);
    for (int i : {0, 15, 16, 37}) args[std::size_t(i)] = 800.0 + i;
    std::vector<double> y(args.size());
    Reports reports;
    _lumdExp(int(args.size()), args.data(), y.data());
    ASSERT_EQ(Reports::log().size(), 4u);
    int k = 0;
    for (int i : {0, 15, 16, 37}) {
        const auto& r = Reports::log()[std::size_t(k++)];
        EXPECT_EQ(r.index, i);
        EXPECT_EQ(r.code, QOR_VM_STATUS_OVERFLOW);
        EXPECT_EQ(r.arg1, 800.0 + i);
        EXPECT_EQ(r.res1, std::numeric_limits<double>::infinity());
        EXPECT_EQ(std::string(r.name, std::size_t(r.name_length)), "vdExp");
    }
    for (int i = 1; i < 15; ++i) EXPECT_EQ(y[std::size_t(i)], std::exp(1.0));
    std::vector<float> fa(21, 2.0f), fy(21);
    fa[19] = -3.0f;
    _lumsLnI(21, fa.data(), 1, fy.data(), 1);
    ASSERT_EQ(Reports::log().size(), 5u);
    EXPECT_EQ(Reports::log()[4].index, 19);
    EXPECT_EQ(Reports::log()[4].code, QOR_VM_STATUS_DOMAIN);
    EXPECT_EQ(std::string(Reports::log()[4].name, std::size_t(Reports::log()[4].name_length)), "vsLnI");
}

TEST(ExpLogFrame, FlushToZeroFollowsTheMode) {
    const double tiny = 1e-310;
    const uint32_t before = _mm_getcsr();
    {
        Reports reports(QOR_VM_ERRMODE_CALLBACK | QOR_VM_HA | QOR_VM_FTZDAZ_ON);
        std::vector<double> a = {tiny, -720.0, 2.0}, y(3);
        _lumdLn(3, a.data(), y.data());
        EXPECT_EQ(y[0], -std::numeric_limits<double>::infinity());  // the subnormal is read as zero
        EXPECT_EQ(Reports::code_at(0), QOR_VM_STATUS_SING);
        _lumdExp(3, a.data(), y.data());
        EXPECT_EQ(y[0], 1.0);
        EXPECT_EQ(y[1], 0.0);  // the subnormal result is flushed
        EXPECT_EQ(y[2], std::exp(2.0));
        std::vector<float> fa = {1e-40f, -90.0f}, fy(2);
        _lumsExp(2, fa.data(), fy.data());
        EXPECT_EQ(fy[1], 0.0f);
        _lumsLogb(2, fa.data(), fy.data());
        EXPECT_EQ(fy[0], -std::numeric_limits<float>::infinity());
    }
    {
        Reports reports(QOR_VM_ERRMODE_CALLBACK | QOR_VM_HA | QOR_VM_FTZDAZ_OFF);
        std::vector<double> a = {tiny, -720.0}, y(2);
        _lumdLn(2, a.data(), y.data());
        EXPECT_NEAR(y[0], std::log(tiny), 1e-12);
        _lumdExp(2, a.data(), y.data());
        EXPECT_GT(y[1], 0.0);
        EXPECT_LT(y[1], std::numeric_limits<double>::min());
    }
    EXPECT_EQ(_mm_getcsr() & 0xFFC0u, before & 0xFFC0u);  // the caller's controls are back
}

// Runs the kernels cases[first, last) on args and expects no invalid flag.
template <class T>
void expect_no_invalid(const std::vector<Case<T>>& cases, std::size_t first, std::size_t last,
                       const std::vector<T>& args) {
    std::vector<T> y(args.size());
    for (std::size_t k = first; k < last; ++k) {
        _mm_setcsr(_mm_getcsr() & ~0x3Fu);
        cases[k].contiguous(int(args.size()), args.data(), y.data());
        EXPECT_EQ(_mm_getcsr() & 0x01u, 0u) << cases[k].name;
    }
    _mm_setcsr(_mm_getcsr() & ~0x3Fu);
}

TEST(ExpLogFrame, QuietNanAndInfinitiesRaiseNoInvalidFlag) {
    Reports quiet(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    // The first six kernels (exponentials): a quiet result at +-inf and NaN, without error.
    const std::vector<double> a = {nan, 1.0, inf, 2.0, -inf, 0.5, nan, 3.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, nan};
    expect_no_invalid(double_cases(), 0, 6, a);
    expect_no_invalid(single_cases(), 0, 6, std::vector<float>(a.begin(), a.end()));
    // Logarithms and E1 of +inf and NaN only (-inf is a domain error).
    const std::vector<double> b = {nan, 1.0, inf, 2.0, 0.25, 0.5, nan, 3.0, 1.0, inf};
    expect_no_invalid(double_cases(), 6, double_cases().size(), b);
    expect_no_invalid(single_cases(), 6, single_cases().size(), std::vector<float>(b.begin(), b.end()));
}

}  // namespace
}  // namespace explog_test
