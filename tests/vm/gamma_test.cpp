// TGamma, LGamma, I0 and I1 in both precisions (one kernel serves every
// slot): poles, domain errors, overflow and underflow edges with their
// codes, signed zeros, the recurrence across the method boundaries at +-10
// and the strided forms (accuracy over the whole range: accuracy_test.cpp).
#include "explog_support.h"

namespace explog_test {
namespace {

template <class T>
struct Case {
    T x;
    T want;    // NaN: any NaN; zeros and infinities bit for bit; others within 4 ulp
    int code;  // the code reported for this element, 0 for none
};

template <class T>
void expect_cases(UnaryKernel<T> kernel, Strided<T> strided, const std::vector<Case<T>>& cases, const char* what) {
    std::vector<T> args;
    for (const auto& c : cases) args.push_back(c.x);
    Reports reports;
    const auto y = run<T>(kernel, args);
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const auto& c = cases[i];
        if (std::isnan(c.want)) EXPECT_TRUE(std::isnan(y[i])) << what << " x = " << c.x;
        else if (std::isfinite(c.want) && c.want != 0)
            EXPECT_NEAR(y[i], c.want, std::fabs(c.want) * 4 * std::numeric_limits<T>::epsilon()) << what << " x = " << c.x;
        else EXPECT_EQ(bits_of(y[i]), bits_of(c.want)) << what << " x = " << c.x << " got " << y[i];
        EXPECT_EQ(Reports::code_at(int(i)), c.code) << what << " x = " << c.x;
    }
    expect_strided_matches<T>(kernel, strided, args);
}

template <class T>
constexpr T inf = std::numeric_limits<T>::infinity();
template <class T>
constexpr T nan = std::numeric_limits<T>::quiet_NaN();
constexpr int kDomain = QOR_VM_STATUS_DOMAIN, kSing = QOR_VM_STATUS_SING, kOver = QOR_VM_STATUS_OVERFLOW,
              kUnder = QOR_VM_STATUS_UNDERFLOW;

TEST(GammaSpecial, TGammaPolesOverflowAndUnderflow) {
    expect_cases<double>(_lumdTGamma, _lumdTGammaI,
                         {{0.0, inf<double>, kSing}, {-0.0, -inf<double>, kSing}, {-1.0, nan<double>, kDomain},
                          {-171.0, nan<double>, kDomain}, {-0x1p60, nan<double>, kDomain}, {-inf<double>, nan<double>, kDomain},
                          {inf<double>, inf<double>, 0}, {nan<double>, nan<double>, 0}, {5.0, 24.0, 0},
                          {-0.5, -3.5449077018110320546, 0}, {1e-300, 1e300, 0}, {0x1p-1024, inf<double>, kOver},
                          {171.62437695630271, 1.7976931348622299e308, 0}, {171.62437695630275, inf<double>, kOver},
                          {-172.5, -1.1197835032876519e-312, kUnder}, {-180.5, -0.0, kUnder}, {-1e300, nan<double>, kDomain}},
                         "dTGamma");
    expect_cases<float>(_lumsTGamma, _lumsTGammaI,
                        {{0.0f, inf<float>, kSing}, {-0.0f, -inf<float>, kSing}, {-3.0f, nan<float>, kDomain},
                         {35.04f, 3.4016376e38f, 0}, {35.05f, inf<float>, kOver}, {-38.5f, -9.6491494e-46f, kUnder},
                         {-40.5f, -0.0f, kUnder}, {0x1p-130f, inf<float>, kOver}, {-0.5f, -3.5449077f, 0}},
                        "sTGamma");
}

TEST(GammaSpecial, LGammaZerosPolesAndOverflow) {
    expect_cases<double>(_lumdLGamma, _lumdLGammaI,
                         {{1.0, 0.0, 0}, {2.0, 0.0, 0}, {0.0, inf<double>, kSing}, {-0.0, inf<double>, kSing},
                          {-3.0, inf<double>, kSing}, {-0x1p60, inf<double>, kSing}, {-inf<double>, inf<double>, 0},
                          {inf<double>, inf<double>, 0}, {nan<double>, nan<double>, 0},
                          {0x1p-1074, 744.44007192138126, 0}, {-0.5, 1.2655121234846454, 0},
                          {1 + 0x1p-52, -0x1.2788cfc6fb617p-53, 0}, {2.55e305, 1.7906725941420033e308, 0},
                          {2.57e305, inf<double>, kOver}},
                         "dLGamma");
    expect_cases<float>(_lumsLGamma, _lumsLGammaI,
                        {{1.0f, 0.0f, 0}, {2.0f, 0.0f, 0}, {-2.0f, inf<float>, kSing}, {4.1e36f, inf<float>, kOver},
                         {0x1p-149f, 103.27893f, 0}},
                        "sLGamma");
}

TEST(GammaSpecial, BesselIParityAndOverflow) {
    expect_cases<double>(_lumdI0, _lumdI0I,
                         {{0.0, 1.0, 0}, {-0.0, 1.0, 0}, {1.0, 1.2660658777520083, 0}, {-8.0, 427.56411572180479, 0},
                          {inf<double>, inf<double>, 0}, {-inf<double>, inf<double>, 0}, {nan<double>, nan<double>, 0},
                          {713.98, 1.7853251347682291e308, 0}, {713.99, inf<double>, kOver}, {-1e300, inf<double>, kOver}},
                         "dI0");
    expect_cases<double>(_lumdI1, _lumdI1I,
                         {{0.0, 0.0, 0}, {-0.0, -0.0, 0}, {1.0, 0.56515910399248503, 0}, {-8.0, -399.87313678256010, 0},
                          {-inf<double>, -inf<double>, 0}, {-713.99, -inf<double>, kOver}, {1e-310, 5e-311, kUnder},
                          {0x1p-1074, 0.0, kUnder}},
                         "dI1");
    expect_cases<float>(_lumsI0, _lumsI0I, {{-0.0f, 1.0f, 0}, {91.91f, inf<float>, kOver}, {-1.0f, 1.2660659f, 0}}, "sI0");
    expect_cases<float>(_lumsI1, _lumsI1I,
                        {{-0.0f, -0.0f, 0}, {-91.91f, -inf<float>, kOver}, {0x1p-149f, 0.0f, kUnder}, {-1.0f, -0.5651591f, 0}},
                        "sI1");
}

// Gamma(x + 1) = x Gamma(x) and lgamma(x + 1) = lgamma(x) + ln|x| with x and
// x + 1 on either side of the boundaries at +-10 between the methods.
TEST(GammaSpecial, RecurrenceAcrossMethodBoundaries) {
    std::vector<double> x = {9.25, 9.5, 9.75, 9.999, -10.25, -10.5, -10.75, -10.001, 170.25};
    std::vector<double> x1;
    for (double v : x) x1.push_back(v + 1);
    const auto g = run<double>(_lumdTGamma, x), g1 = run<double>(_lumdTGamma, x1);
    const auto l = run<double>(_lumdLGamma, x), l1 = run<double>(_lumdLGamma, x1);
    for (std::size_t i = 0; i < x.size(); ++i) {
        EXPECT_NEAR(g1[i] / (x[i] * g[i]), 1.0, 4e-16) << x[i];
        EXPECT_NEAR(l1[i], l[i] + std::log(std::fabs(x[i])), 4e-16 * std::fabs(l1[i]) + 1e-15) << x[i];
    }
}

}  // namespace
}  // namespace explog_test
