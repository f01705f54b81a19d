// Sin, Cos, SinCos and Tan in both precisions and all slots: special values
// and their codes, SinCos against the one-result kernels bit for bit,
// arguments on both sides of the vector path's limit and next to pi/2, and
// the 2/pi table against MPFR (accuracy over the whole range:
// accuracy_test.cpp).
#include <mpfr.h>

#include <random>

#include "explog_support.h"
#include "vm/kernels/trig/two_over_pi_table.h"

namespace explog_test {
namespace {

template <class T>
using TwoOut = void (*)(int, const T*, T*, T*);
template <class T>
using TwoOutStrided = void (*)(int, const T*, int, T*, int, T*, int);

// The kernels of one slot.
template <class T>
struct Slot {
    UnaryKernel<T> sin, cos, tan;
    TwoOut<T> sincos;
    TwoOutStrided<T> sincos_strided;
};

const Slot<double> kDouble[] = {{_lumdSin, _lumdCos, _lumdTan, _lumdSinCos, _lumdSinCosI},
                                {_lumdSin_50, _lumdCos_50, _lumdTan_50, _lumdSinCos_50, _lumdSinCosI_50},
                                {_lumdSin_26, _lumdCos_26, _lumdTan_26, _lumdSinCos_26, _lumdSinCosI_26}};
const Slot<float> kSingle[] = {{_lumsSin, _lumsCos, _lumsTan, _lumsSinCos, _lumsSinCosI},
                               {_lumsSin_21, _lumsCos_21, _lumsTan_21, _lumsSinCos_21, _lumsSinCosI_21},
                               {_lumsSin_11, _lumsCos_11, _lumsTan_11, _lumsSinCos_11, _lumsSinCosI_11}};

template <class T>
void expect_special_values(const Slot<T>& k) {
    using L = std::numeric_limits<T>;
    const std::vector<T> args = {L::infinity(), -L::infinity(), L::quiet_NaN(), T(0), -T(0), T(1)};
    for (auto f : {k.sin, k.cos, k.tan}) {
        Reports reports;
        const auto y = run<T>(f, args);
        for (int i : {0, 1, 2}) EXPECT_TRUE(std::isnan(y[i]));
        EXPECT_EQ(Reports::code_at(0), QOR_VM_STATUS_DOMAIN);
        EXPECT_EQ(Reports::code_at(1), QOR_VM_STATUS_DOMAIN);
        EXPECT_EQ(Reports::log().size(), 2u);  // a NaN argument is quiet
        if (f == k.cos) {
            EXPECT_EQ(y[3], T(1));
            EXPECT_EQ(y[4], T(1));
        } else {
            EXPECT_EQ(bits_of(y[3]), bits_of(T(0)));
            EXPECT_EQ(bits_of(y[4]), bits_of(-T(0)));
        }
    }
}

TEST(TrigSpecial, InfinityIsADomainErrorAndZerosKeepTheirSign) {
    for (const auto& k : kDouble) expect_special_values(k);
    for (const auto& k : kSingle) expect_special_values(k);
}

// Arguments of every path: moderate, near multiples of pi/2, both sides of
// 2^19, huge, special.
template <class T>
std::vector<T> mixed_arguments() {
    std::mt19937_64 gen(12);
    std::uniform_real_distribution<double> moderate(-10, 10), mantissa(1, 2);
    std::vector<T> v = around<T>({T(0x1p19), T(-0x1p19), T(1.5707963267948966), T(3.141592653589793), T(1e30)}, 4);
    for (int i = 0; i < 200; ++i) v.push_back(T(moderate(gen)));
    for (int e = -30; e < (sizeof(T) == 8 ? 1020 : 125); e += 7) v.push_back(T(std::ldexp(mantissa(gen), e)));
    for (T s : {std::numeric_limits<T>::infinity(), std::numeric_limits<T>::quiet_NaN(), T(0), -T(0)}) v.push_back(s);
    return v;
}

template <class T>
void expect_sincos_is_sin_and_cos(const Slot<T>& k) {
    const auto x = mixed_arguments<T>();
    const int n = int(x.size());
    const auto s = run<T>(k.sin, x), c = run<T>(k.cos, x);
    std::vector<T> s2(n), c2(n), spread(2 * n), s3(3 * n), c3(3 * n);
    k.sincos(n, x.data(), s2.data(), c2.data());
    for (int i = 0; i < n; ++i) spread[2 * i] = x[i];
    k.sincos_strided(n, spread.data(), 2, s3.data(), 3, c3.data(), 3);
    for (int i = 0; i < n; ++i) {
        EXPECT_EQ(bits_of(s2[i]), bits_of(s[i])) << "x = " << x[i];
        EXPECT_EQ(bits_of(c2[i]), bits_of(c[i])) << "x = " << x[i];
        EXPECT_EQ(bits_of(s3[3 * i]), bits_of(s[i])) << "x = " << x[i];
        EXPECT_EQ(bits_of(c3[3 * i]), bits_of(c[i])) << "x = " << x[i];
    }
}

TEST(TrigSinCos, GivesTheBitsOfSinAndCosInEverySlot) {
    Reports reports;
    for (const auto& k : kDouble) expect_sincos_is_sin_and_cos(k);
    for (const auto& k : kSingle) expect_sincos_is_sin_and_cos(k);
}

// HA within 0.6 ulp where the reduction changes hands, next to pi/2 (tan
// large and finite) and at the double closest to a multiple of pi/2.
template <class T>
void expect_ha_edges(const Slot<T>& k, std::vector<T> x) {
    for (auto [f, ref] : {std::pair{k.sin, &mpfr_sin}, std::pair{k.cos, &mpfr_cos}, std::pair{k.tan, &mpfr_tan}}) {
        const auto worst = qor::test::measure_unary<T>(f, ref, x, 0.6);
        EXPECT_LE(worst.ulps, 0.6) << worst.describe();
    }
    const T half_pi = T(1.5707963267948966);
    const T t = run<T>(k.tan, {half_pi})[0];
    EXPECT_TRUE(std::isfinite(t) && std::fabs(t) > T(1e7)) << t;
}

TEST(TrigAccuracy, HighAccuracyAtTheReductionEdges) {
    auto d = around<double>({0x1p19, 0x1p20, 1.5707963267948966, 1e300, std::ldexp(6381956970095103.0, 797),
                             std::numeric_limits<double>::max()}, 8);
    expect_ha_edges(kDouble[0], d);
    expect_ha_edges(kSingle[0], around<float>({0x1p19f, 1.5707964f, 1e38f, 3.4e38f}, 8));
}

// Every word of the table: the bits of 2/pi recomputed with MPFR.
TEST(TrigTable, TwoOverPiBits) {
    using qor::vm::trig::kTwoOverPi;
    using qor::vm::trig::kTwoOverPiWords;
    mpfr_t v, w;
    mpfr_inits2(64 * kTwoOverPiWords + 64, v, w, nullptr);
    mpfr_const_pi(v, MPFR_RNDN);
    mpfr_ui_div(v, 2, v, MPFR_RNDN);
    for (int i = 0; i < kTwoOverPiWords; ++i) {
        mpfr_mul_2si(v, v, 32, MPFR_RNDN);
        mpfr_trunc(w, v);
        const uint64_t hi = mpfr_get_ui(w, MPFR_RNDZ);
        mpfr_sub(v, v, w, MPFR_RNDN);
        mpfr_mul_2si(v, v, 32, MPFR_RNDN);
        mpfr_trunc(w, v);
        const uint64_t lo = mpfr_get_ui(w, MPFR_RNDZ);
        mpfr_sub(v, v, w, MPFR_RNDN);
        EXPECT_EQ(kTwoOverPi[i], (hi << 32) | lo) << "word " << i;
    }
    mpfr_clears(v, w, nullptr);
}

}  // namespace
}  // namespace explog_test
