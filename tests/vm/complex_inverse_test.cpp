// Complex Asin, Acos, Asinh, Acosh: scores against MPC over wide sweeps,
// near the branch points and along the cuts, for huge and tiny parts; the
// strided forms against the contiguous ones; and C's special values, bit
// for bit with the signs of zeros.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "qor/qor_vm.h"
#include "support/complex_oracle.h"

namespace {

using qor::test::measure_complex;

template <class C> using Real = decltype(C::re);
template <class C> using Kernel = void (*)(int, const C*, C*);
template <class C> using KernelI = void (*)(int, const C*, int, C*, int);

template <class C>
struct Function {
    const char* name;
    Kernel<C> kernel;
    KernelI<C> strided;
    qor::test::MpcUnary reference;
};

#define FN(p, Fn, mpc) {#p #Fn, _lum##p##Fn, _lum##p##Fn##I, mpc}

template <class C> std::vector<Function<C>> functions();
template <> std::vector<Function<qor_complex16>> functions() {
    return {FN(z, Asin, mpc_asin), FN(z, Acos, mpc_acos), FN(z, Asinh, mpc_asinh), FN(z, Acosh, mpc_acosh)};
}
template <> std::vector<Function<qor_complex8>> functions() {
    return {FN(c, Asin, mpc_asin), FN(c, Acos, mpc_acos), FN(c, Asinh, mpc_asinh), FN(c, Acosh, mpc_acosh)};
}

// Arguments of every kind the methods treat apart: random signs with
// exponents over the whole range, points near +-1 and +-i, both sides of
// the cuts on the axes, and huge and tiny parts mixed.
template <class C>
std::vector<C> sweep(unsigned seed) {
    using R = Real<C>;
    const int emax = std::numeric_limits<R>::max_exponent - 1, emin = std::numeric_limits<R>::min_exponent - 1;
    std::mt19937_64 gen(seed);
    auto unit = [&] { return 1.0 + double(gen() >> 11) * 0x1p-53; };
    auto sign = [&] { return gen() & 1 ? -1.0 : 1.0; };
    auto any = [&](int lo, int hi) { return R(sign() * std::ldexp(unit(), lo + int(gen() % unsigned(hi - lo + 1)))); };
    std::vector<C> v;
    for (int i = 0; i < 800; ++i) v.push_back({any(emin, emax), any(emin, emax)});
    for (int i = 0; i < 800; ++i) v.push_back({any(-8, 8), any(-8, 8)});
    for (int i = 0; i < 400; ++i) {
        // 1 +- d + i e with d, e tiny, and on the axes at +-1 and +-i
        const R d = any(-60, -1), e = any(emin, -1), one = R(sign());
        v.push_back({one + d, e});
        v.push_back({e, one + d});
        v.push_back({one, e});
        v.push_back({R(sign() * (1 + std::fabs(d))), R(sign() * 0.0)});  // on a cut
        v.push_back({R(sign() * 0.0), R(sign() * (1 + std::fabs(d)))});
        v.push_back({any(emin, emax), R(sign() * 0.0)});
        v.push_back({R(sign() * 0.0), any(emin, emax)});
        v.push_back({any(-30, 30), any(emin, -30)});
        v.push_back({any(emin, -30), any(-30, 30)});
    }
    return v;
}

template <class C>
void check_accuracy(double limit) {
    const auto args = sweep<C>(17);
    for (const auto& fn : functions<C>()) {
        const auto worst = measure_complex<C>(fn.kernel, fn.reference, args, limit);
        EXPECT_LE(worst.score, limit) << fn.name << ": " << worst.describe();
        // The strided forms and in-place runs give the same bits.
        const int n = 301;
        std::vector<C> want(n), got(3 * n), in(args.begin(), args.begin() + n), spread(2 * n);
        for (int i = 0; i < n; ++i) spread[2 * i] = in[i];
        fn.kernel(n, in.data(), want.data());
        fn.strided(n, spread.data(), 2, got.data(), 3);
        for (int i = 0; i < n; ++i) EXPECT_EQ(0, std::memcmp(&got[3 * i], &want[i], sizeof(C))) << fn.name << "I " << i;
        fn.kernel(n, in.data(), in.data());
        EXPECT_EQ(0, std::memcmp(in.data(), want.data(), n * sizeof(C))) << fn.name << " in place";
    }
}

// ---- special values --------------------------------------------------------------
constexpr double inf = INFINITY, nan = NAN, pi = 3.141592653589793116, h = pi / 2, q = pi / 4, q3 = 3 * pi / 4;
constexpr double kAnySign = 42;  // marks a result part whose sign is free (an infinity or zero)

struct Row {
    double x, y, re, im;
};

// Where the sign is free the magnitude must match; NaN matches any NaN.
bool same(double got, double want, bool free_sign) {
    if (std::isnan(want)) return std::isnan(got);
    if (free_sign) return std::fabs(got) == std::fabs(want);
    return std::memcmp(&got, &want, sizeof got) == 0;
}

// Each row for the given argument and, by the function's symmetries, for
// its conjugate and (odd functions) its negation.
template <class C>
void check_rows(Kernel<C> kernel, const char* name, const std::vector<Row>& rows, bool odd) {
    for (const Row& row : rows) {
        for (int k = 0; k < (odd ? 4 : 2); ++k) {
            const double sx = k >= 2 ? -1 : 1, sy = k % 2 ? -1 : 1;
            const C a{Real<C>(sx * row.x), Real<C>(sy * row.y)};
            C r[2];
            kernel(1, &a, r);
            // f(sx x + i sy y) = sx re + i sy im for these functions.
            const bool free_re = row.re == kAnySign, free_im = row.im == kAnySign;
            const double want_re = free_re ? inf : Real<C>(sx * row.re);
            const double want_im = free_im ? inf : Real<C>(sy * row.im);
            EXPECT_TRUE(same(r[0].re, want_re, free_re) && same(r[0].im, want_im, free_im))
                << name << "(" << a.re << ", " << a.im << ") = (" << r[0].re << ", " << r[0].im << ")";
        }
    }
}

// asinh: odd and conjugate-symmetric, given for positive-signed x, y.
const std::vector<Row> kAsinhRows = {
    {0, 0, 0, 0},          {2, inf, inf, h},    {0, inf, inf, h},       {2, nan, nan, nan},  {0, nan, nan, nan},
    {inf, 2, inf, 0},      {inf, 0, inf, 0},    {inf, inf, inf, q},     {inf, nan, inf, nan}, {nan, 0, nan, 0},
    {nan, 2, nan, nan},    {nan, inf, kAnySign, nan}, {nan, nan, nan, nan},
};
// acos: conjugate-symmetric only, given for positive-signed y.
const std::vector<Row> kAcosRows = {
    {0, 0, h, -0.0},     {-0.0, 0, h, -0.0},  {0, nan, h, nan},      {-0.0, nan, h, nan},    {2, inf, h, -inf},
    {-2, inf, h, -inf},  {0, inf, h, -inf},   {2, nan, nan, nan},    {-inf, 2, pi, -inf},    {-inf, 0, pi, -inf},
    {inf, 2, 0, -inf},   {inf, 0, 0, -inf},   {-inf, inf, q3, -inf}, {inf, inf, q, -inf},    {inf, nan, nan, kAnySign},
    {-inf, nan, nan, kAnySign}, {nan, 2, nan, nan}, {nan, 0, nan, nan}, {nan, inf, nan, -inf}, {nan, nan, nan, nan},
};
// acosh: conjugate-symmetric only.
const std::vector<Row> kAcoshRows = {
    {0, 0, 0, h},       {-0.0, 0, 0, h},     {2, inf, inf, h},       {-2, inf, inf, h},    {0, inf, inf, h},
    {2, nan, nan, nan}, {0, nan, nan, nan},  {-inf, 2, inf, pi},     {-inf, 0, inf, pi},   {inf, 2, inf, 0},
    {inf, 0, inf, 0},   {-inf, inf, inf, q3}, {inf, inf, inf, q},    {inf, nan, inf, nan}, {-inf, nan, inf, nan},
    {nan, 2, nan, nan}, {nan, 0, nan, nan},  {nan, inf, inf, nan},   {nan, nan, nan, nan},
};

// asin z = -i asinh(iz): the asinh rows with the parts swapped.
std::vector<Row> swapped(const std::vector<Row>& rows) {
    std::vector<Row> out;
    for (const Row& r : rows) out.push_back({r.y, r.x, r.im, r.re});
    return out;
}

template <class C>
void check_special_values() {
    const auto f = functions<C>();
    check_rows<C>(f[0].kernel, f[0].name, swapped(kAsinhRows), true);
    check_rows<C>(f[1].kernel, f[1].name, kAcosRows, false);
    check_rows<C>(f[2].kernel, f[2].name, kAsinhRows, true);
    check_rows<C>(f[3].kernel, f[3].name, kAcoshRows, false);
}

}  // namespace

TEST(ComplexInverse, ArcsinesAndArccosinesAgainstMpc) {
    check_accuracy<qor_complex16>(1.6);
    check_accuracy<qor_complex8>(0.51);
}

TEST(ComplexInverse, ArcsinesAndArccosinesSpecialValues) {
    check_special_values<qor_complex16>();
    check_special_values<qor_complex8>();
}
