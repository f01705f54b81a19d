// Sind, Cosd, Tand, Sinpi, Cospi, Tanpi and SinCospi in both precisions and
// every slot: exact values and signed zeros at whole quarter turns, poles
// and their codes, non-finite arguments, arguments past the exact degree
// reduction of the vector path, and SinCospi against the two kernels it
// pairs (accuracy over the domains: accuracy_test.cpp).
#include <mpfr.h>

#include <random>

#include "explog_support.h"
#include "qor/qor_vm_functions.h"

namespace trigpi_test {
namespace {

using explog_test::bits_of;
using explog_test::Reports;

template <class T>
using Kernel = void (*)(int64_t, const T*, T*);

struct Case {
    double x, sin, cos, tan;  // expected bits; tan = +-inf is a pole (code 2)
};

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();  // not exact: the sweep's
constexpr uint32_t kSlots[3] = {QOR_VM_LA, QOR_VM_HA, QOR_VM_EP};

// Zeros of the sine have the sign of x, zeros of the cosine are +0, zeros
// and poles of the tangent the sign of their quotient.
const Case kDegrees[] = {
    {0.0, 0.0, 1, 0.0},    {-0.0, -0.0, 1, -0.0},    {30, 0.5, kNone, kNone}, {45, kNone, kNone, 1},
    {60, kNone, 0.5, kNone}, {90, 1, 0.0, kInf},     {-90, -1, 0.0, -kInf},   {135, kNone, kNone, -1},
    {150, 0.5, kNone, kNone}, {180, 0.0, -1, -0.0},  {-180, -0.0, -1, 0.0},   {270, -1, 0.0, -kInf},
    {-270, 1, 0.0, kInf},  {360, 0.0, 1, 0.0},       {-720, -0.0, 1, -0.0},
    {90 * (0x1p47 + 1), 1, 0.0, kInf},  // an odd multiple of 90 past 2^52
};
const Case kPi[] = {
    {0.0, 0.0, 1, 0.0},    {-0.0, -0.0, 1, -0.0},    {0.25, kNone, kNone, 1}, {0.5, 1, 0.0, kInf},
    {-0.5, -1, 0.0, -kInf}, {0.75, kNone, kNone, -1}, {1, 0.0, -1, -0.0},     {-1, -0.0, -1, 0.0},
    {1.5, -1, 0.0, -kInf}, {-1.5, 1, 0.0, kInf},     {2, 0.0, 1, 0.0},        {0x1p51 + 0.5, 1, 0.0, kInf},
    {0x1p52 + 1, 0.0, -1, -0.0}, {-0x1p60, -0.0, 1, -0.0},
    {std::numeric_limits<double>::max(), 0.0, 1, 0.0}, {-std::numeric_limits<double>::max(), -0.0, 1, -0.0},
};

int mpfr_tand(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_tanu(r, x, 360, m); }
int mpfr_sind(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_sinu(r, x, 360, m); }
int mpfr_cosd(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_cosu(r, x, 360, m); }

template <class T>
void expect_cases(std::span<const Case> cases, Kernel<T> sin, Kernel<T> cos, Kernel<T> tan) {
    std::vector<T> x;
    for (const Case& c : cases)
        if (double(T(c.x)) == c.x) x.push_back(T(c.x));  // the float cases are the exact ones
    const int n = int(x.size());
    for (uint32_t slot : kSlots) {
        Reports reports(QOR_VM_ERRMODE_CALLBACK | slot);
        std::vector<T> s(n), c(n), t(n);
        sin(n, x.data(), s.data());
        cos(n, x.data(), c.data());
        tan(n, x.data(), t.data());
        int poles = 0;
        for (int i = 0, k = 0; i < n; ++i, ++k) {
            while (double(T(cases[k].x)) != cases[k].x) ++k;
            const Case& e = cases[k];
            for (auto [got, want] : {std::pair{s[i], e.sin}, {c[i], e.cos}, {t[i], e.tan}})
                if (want == want) {
                    EXPECT_EQ(bits_of(got), bits_of(T(want))) << "x = " << e.x << " slot " << slot;
                }
            if (std::isinf(e.tan)) {
                EXPECT_EQ(Reports::code_at(i), QOR_VM_STATUS_SING) << "x = " << e.x;
                ++poles;
            }
        }
        EXPECT_EQ(int(Reports::log().size()), poles);  // sine and cosine report nothing here
    }
}

TEST(TrigpiSpecial, ExactValuesZerosAndPoles) {
    expect_cases<double>(kDegrees, qor_vdSind, qor_vdCosd, qor_vdTand);
    expect_cases<float>(kDegrees, qor_vsSind, qor_vsCosd, qor_vsTand);
    expect_cases<double>(kPi, qor_vdSinpi, qor_vdCospi, qor_vdTanpi);
    expect_cases<float>(kPi, qor_vsSinpi, qor_vsCospi, qor_vsTanpi);
}

template <class T>
void expect_non_finite(Kernel<T> k) {
    const std::vector<T> x = {std::numeric_limits<T>::quiet_NaN(), std::numeric_limits<T>::infinity(),
                              -std::numeric_limits<T>::infinity(), T(1)};
    for (uint32_t slot : kSlots) {
        Reports reports(QOR_VM_ERRMODE_CALLBACK | slot);
        std::vector<T> y(x.size());
        k(int64_t(x.size()), x.data(), y.data());
        for (int i = 0; i < 3; ++i) EXPECT_TRUE(std::isnan(y[i]));
        EXPECT_EQ(Reports::code_at(0), 0);
        EXPECT_EQ(Reports::code_at(1), QOR_VM_STATUS_DOMAIN);
        EXPECT_EQ(Reports::code_at(2), QOR_VM_STATUS_DOMAIN);
        EXPECT_EQ(Reports::log().size(), 2u);
    }
}

TEST(TrigpiSpecial, NanIsQuietAndInfinitiesAreDomainErrors) {
    for (auto k : {qor_vdSind, qor_vdCosd, qor_vdTand, qor_vdSinpi, qor_vdCospi, qor_vdTanpi}) expect_non_finite<double>(k);
    for (auto k : {qor_vsSind, qor_vsCosd, qor_vsTand, qor_vsSinpi, qor_vsCospi, qor_vsTanpi}) expect_non_finite<float>(k);
}

// Huge degree arguments take the scalar routine's exact remainder; every
// slot is held to the row's HA bound there.
TEST(TrigpiSpecial, HugeDegreesReduceExactly) {
    std::mt19937_64 gen(12);
    std::vector<double> x;
    for (int e = 52; e < 1024; e += 7) x.push_back(std::ldexp(1 + double(gen() >> 12) * 0x1p-52, e));
    for (uint32_t slot : kSlots) {
        Reports quiet(QOR_VM_ERRMODE_IGNORE | slot);
        const std::pair<Kernel<double>, qor::test::MpfrUnary> rows[] = {{qor_vdSind, mpfr_sind}, {qor_vdCosd, mpfr_cosd},
                                                                         {qor_vdTand, mpfr_tand}};
        for (auto [k, f] : rows) {
            std::vector<double> y(x.size());
            k(int64_t(x.size()), x.data(), y.data());
            for (std::size_t i = 0; i < x.size(); ++i) {
                mpfr_t a, r;
                mpfr_inits2(160, a, r, (mpfr_ptr)nullptr);
                mpfr_set_d(a, x[i], MPFR_RNDN);
                f(r, a, MPFR_RNDN);
                EXPECT_LE(qor::test::ulp_error<double>(y[i], r), 0.9) << "x = " << x[i];
                mpfr_clears(a, r, (mpfr_ptr)nullptr);
            }
        }
    }
}

// SinCospi gives the bits of Sinpi and Cospi HA, in every slot and form.
template <class T, class Two, class TwoI>
void expect_pairs_match(Kernel<T> sin, Kernel<T> cos, Two two, TwoI two_i) {
    std::mt19937_64 gen(7);
    std::uniform_real_distribution<double> d(-4, 4);
    std::vector<T> x = {T(0), -T(0), T(0.5), T(-1), T(1e-30), std::numeric_limits<T>::denorm_min(), T(3e7), T(1e20)};
    for (int i = 0; i < 500; ++i) x.push_back(T(d(gen)));
    const int n = int(x.size());
    std::vector<T> s(n), c(n);
    {
        Reports ha(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA);
        sin(n, x.data(), s.data());
        cos(n, x.data(), c.data());
    }
    for (uint32_t slot : kSlots) {
        Reports quiet(QOR_VM_ERRMODE_IGNORE | slot);
        std::vector<T> s2(n), c2(n), s3(2 * n), c3(3 * n);
        two(n, x.data(), s2.data(), c2.data());
        two_i(n, x.data(), 1, s3.data(), 2, c3.data(), 3);
        for (int i = 0; i < n; ++i) {
            EXPECT_EQ(bits_of(s2[i]), bits_of(s[i])) << "x = " << x[i];
            EXPECT_EQ(bits_of(c2[i]), bits_of(c[i])) << "x = " << x[i];
            EXPECT_EQ(bits_of(s3[2 * i]), bits_of(s[i])) << "x = " << x[i];
            EXPECT_EQ(bits_of(c3[3 * i]), bits_of(c[i])) << "x = " << x[i];
        }
    }
    const T bad[2] = {std::numeric_limits<T>::infinity(), std::numeric_limits<T>::quiet_NaN()};
    Reports reports(QOR_VM_ERRMODE_CALLBACK | QOR_VM_HA);
    T r1[2], r2[2];
    two(2, bad, r1, r2);
    EXPECT_TRUE(std::isnan(r1[0]) && std::isnan(r2[0]) && std::isnan(r1[1]) && std::isnan(r2[1]));
    ASSERT_EQ(Reports::log().size(), 1u);
    EXPECT_EQ(Reports::code_at(0), QOR_VM_STATUS_DOMAIN);
}

TEST(TrigpiSpecial, SinCospiEqualsSinpiAndCospi) {
    expect_pairs_match<double>(qor_vdSinpi, qor_vdCospi, qor_vdSinCospi, qor_vdSinCospiI);
    expect_pairs_match<float>(qor_vsSinpi, qor_vsCospi, qor_vsSinCospi, qor_vsSinCospiI);
}

}  // namespace
}  // namespace trigpi_test
