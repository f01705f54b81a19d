// Complex Asin, Acos, Asinh, Acosh, Atan, Atanh, Tan, Tanh: scores against
// MPC over wide sweeps, near the branch points and along the cuts, for huge
// and tiny parts; the strided forms against the contiguous ones; C's
// special values, bit for bit with the signs of zeros; and the reports of
// the poles and of tangents of an infinity.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <thread>
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
    return {FN(z, Asin, mpc_asin), FN(z, Acos, mpc_acos), FN(z, Asinh, mpc_asinh), FN(z, Acosh, mpc_acosh),
            FN(z, Atan, mpc_atan), FN(z, Atanh, mpc_atanh), FN(z, Tan, mpc_tan),     FN(z, Tanh, mpc_tanh)};
}
template <> std::vector<Function<qor_complex8>> functions() {
    return {FN(c, Asin, mpc_asin), FN(c, Acos, mpc_acos), FN(c, Asinh, mpc_asinh), FN(c, Acosh, mpc_acosh),
            FN(c, Atan, mpc_atan), FN(c, Atanh, mpc_atanh), FN(c, Tan, mpc_tan),     FN(c, Tanh, mpc_tanh)};
}

// Arguments of every kind the methods treat apart: random signs with
// exponents over the whole range, points near +-1 and +-i, both sides of
// the cuts on the axes, and huge and tiny parts mixed.
// Tangents are swept with parts below 2^cap: MPC slows down far out there.
template <class C>
std::vector<C> sweep(unsigned seed, int cap) {
    using R = Real<C>;
    const int emax = std::min(std::numeric_limits<R>::max_exponent - 1, cap), emin = std::numeric_limits<R>::min_exponent - 1;
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
        v.push_back({any(-30, std::min(30, emax)), any(emin, -30)});
        v.push_back({any(emin, -30), any(-30, std::min(30, emax))});
        v.push_back({any(-4, 2), any(-40, -8)});  // x moderate, y small: D and A - 1 lose bits in plain double
        v.push_back({any(-40, -8), any(-4, 2)});
    }
    return v;
}

// Limits: the inverse functions, then the tangents.
template <class C>
void check_accuracy(double limit, double tangent_limit) {
    const auto wide = sweep<C>(17, 1 << 12), near = sweep<C>(19, 9);
    for (const auto& fn : functions<C>()) {
        const bool tangent = std::string(fn.name).find("Tan") == 1;
        const auto& args = tangent ? near : wide;
        const double lim = tangent ? tangent_limit : limit;
        const auto worst = measure_complex<C>(fn.kernel, fn.reference, args, lim);
        EXPECT_LE(worst.score, lim) << fn.name << ": " << worst.describe();
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

// The double LA kernels of the inverse functions (they serve EP too).
std::vector<Function<qor_complex16>> low_accuracy() {
    return {{"zAsin", _lumzAsin_50, nullptr, mpc_asin},    {"zAcos", _lumzAcos_50, nullptr, mpc_acos},
            {"zAsinh", _lumzAsinh_50, nullptr, mpc_asinh}, {"zAcosh", _lumzAcosh_50, nullptr, mpc_acosh},
            {"zAtan", _lumzAtan_50, nullptr, mpc_atan},    {"zAtanh", _lumzAtanh_50, nullptr, mpc_atanh}};
}
constexpr double kLowAccuracyBound = 2;

// ---- special values --------------------------------------------------------------
constexpr double inf = INFINITY, nan = NAN, pi = 3.141592653589793116, h = pi / 2, q = pi / 4, q3 = 3 * pi / 4;
constexpr double kAnyInf = 42, kAnyZero = 43;  // result parts whose sign is free

struct Row {
    double x, y, re, im;
};

// NaN matches any NaN; all else bit for bit, save the free signs.
bool same(double got, double want) {
    if (std::isnan(want)) return std::isnan(got);
    if (want == kAnyInf) return std::isinf(got);
    if (want == kAnyZero) return got == 0;
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
            auto want = [](double v, double sign) { return v == kAnyInf || v == kAnyZero ? v : double(Real<C>(sign * v)); };
            EXPECT_TRUE(same(r[0].re, want(row.re, sx)) && same(r[0].im, want(row.im, sy)))
                << name << "(" << a.re << ", " << a.im << ") = (" << r[0].re << ", " << r[0].im << ")";
        }
    }
}

// asinh: odd and conjugate-symmetric, given for positive-signed x, y.
const std::vector<Row> kAsinhRows = {
    {0, 0, 0, 0},          {2, inf, inf, h},    {0, inf, inf, h},       {2, nan, nan, nan},  {0, nan, nan, nan},
    {inf, 2, inf, 0},      {inf, 0, inf, 0},    {inf, inf, inf, q},     {inf, nan, inf, nan}, {nan, 0, nan, 0},
    {nan, 2, nan, nan},    {nan, inf, kAnyInf, nan}, {nan, nan, nan, nan},
};
// acos: conjugate-symmetric only, given for positive-signed y.
const std::vector<Row> kAcosRows = {
    {0, 0, h, -0.0},     {-0.0, 0, h, -0.0},  {0, nan, h, nan},      {-0.0, nan, h, nan},    {2, inf, h, -inf},
    {-2, inf, h, -inf},  {0, inf, h, -inf},   {2, nan, nan, nan},    {-inf, 2, pi, -inf},    {-inf, 0, pi, -inf},
    {inf, 2, 0, -inf},   {inf, 0, 0, -inf},   {-inf, inf, q3, -inf}, {inf, inf, q, -inf},    {inf, nan, nan, kAnyInf},
    {-inf, nan, nan, kAnyInf}, {nan, 2, nan, nan}, {nan, 0, nan, nan}, {nan, inf, nan, -inf}, {nan, nan, nan, nan},
};
// acosh: conjugate-symmetric only.
const std::vector<Row> kAcoshRows = {
    {0, 0, 0, h},       {-0.0, 0, 0, h},     {2, inf, inf, h},       {-2, inf, inf, h},    {0, inf, inf, h},
    {2, nan, nan, nan}, {0, nan, nan, nan},  {-inf, 2, inf, pi},     {-inf, 0, inf, pi},   {inf, 2, inf, 0},
    {inf, 0, inf, 0},   {-inf, inf, inf, q3}, {inf, inf, inf, q},    {inf, nan, inf, nan}, {-inf, nan, inf, nan},
    {nan, 2, nan, nan}, {nan, 0, nan, nan},  {nan, inf, inf, nan},   {nan, nan, nan, nan},
};

// atanh: odd and conjugate-symmetric (the pole is checked with the reports).
const std::vector<Row> kAtanhRows = {
    {0, 0, 0, 0},     {0, nan, 0, nan},  {2, inf, 0, h},   {0, inf, 0, h},     {2, nan, nan, nan},
    {inf, 2, 0, h},   {inf, 0, 0, h},    {inf, inf, 0, h}, {inf, nan, 0, nan}, {nan, 2, nan, nan},
    {nan, 0, nan, nan}, {nan, inf, kAnyZero, h}, {nan, nan, nan, nan},
};

// tanh: odd and conjugate-symmetric; tanh(inf + iy) = 1 + i0 sin(2y).
const std::vector<Row> kTanhRows = {
    {0, 0, 0, 0},     {2, inf, nan, nan}, {0, inf, nan, nan},        {2, nan, nan, nan},  {0, nan, nan, nan},
    {inf, 2, 1, -0.0}, {inf, 1, 1, 0},    {inf, 0, 1, 0},            {inf, inf, 1, kAnyZero}, {inf, nan, 1, kAnyZero},
    {nan, 0, nan, 0}, {nan, 2, nan, nan}, {nan, inf, nan, nan},      {nan, nan, nan, nan},
};

// asin z = -i asinh(iz): the asinh rows with the parts swapped (atan from
// atanh likewise).
std::vector<Row> swapped(const std::vector<Row>& rows) {
    std::vector<Row> out;
    for (const Row& r : rows) out.push_back({r.y, r.x, r.im, r.re});
    return out;
}

template <class C>
void check_special_values(const std::vector<Function<C>>& f) {
    check_rows<C>(f[0].kernel, f[0].name, swapped(kAsinhRows), true);
    check_rows<C>(f[1].kernel, f[1].name, kAcosRows, false);
    check_rows<C>(f[2].kernel, f[2].name, kAsinhRows, true);
    check_rows<C>(f[3].kernel, f[3].name, kAcoshRows, false);
    check_rows<C>(f[4].kernel, f[4].name, swapped(kAtanhRows), true);
    check_rows<C>(f[5].kernel, f[5].name, kAtanhRows, true);
    if (f.size() < 8) return;
    check_rows<C>(f[6].kernel, f[6].name, swapped(kTanhRows), true);
    check_rows<C>(f[7].kernel, f[7].name, kTanhRows, true);
}

}  // namespace

TEST(ComplexInverse, AgainstMpc) {
    check_accuracy<qor_complex16>(0.51, 0.65);
    check_accuracy<qor_complex8>(0.51, 0.51);
}

// The double LA kernels (which serve EP too): plain double formulas.
TEST(ComplexInverse, DoubleLowAccuracyWithinItsBound) {
    const auto args = sweep<qor_complex16>(23, 1 << 12);
    for (const auto& fn : low_accuracy()) {
        const auto worst = measure_complex<qor_complex16>(fn.kernel, fn.reference, args, kLowAccuracyBound);
        EXPECT_LE(worst.score, kLowAccuracyBound) << fn.name << ": " << worst.describe();
    }
}

TEST(ComplexInverse, SpecialValues) {
    check_special_values(functions<qor_complex16>());
    check_special_values(functions<qor_complex8>());
    check_special_values(low_accuracy());
}

namespace {
struct Reports {
    static inline thread_local std::vector<qor_vm_error_record> seen;
    static int32_t callback(qor_vm_error_record* r) {
        seen.push_back(*r);
        return 1;
    }
};

// Only the poles report, once each, with both parts of the argument and
// the infinite result.
template <class C>
void check_poles(Kernel<C> atanh, Kernel<C> atan, const char* name_atanh, const char* name_atan) {
    const C a[] = {{0.5, 0.25}, {1, 0}, {2, 0}, {-1, -0.0}, {0, 1}, {0.75, -0.5}};
    C r[6];
    Reports::seen.clear();
    atanh(6, a, r);
    ASSERT_EQ(Reports::seen.size(), 2u);
    for (int k : {0, 1}) {
        const auto& rec = Reports::seen[k];
        EXPECT_EQ(rec.code, QOR_VM_STATUS_SING);
        EXPECT_EQ(rec.index, k ? 3 : 1);
        EXPECT_EQ(std::string(rec.name, rec.name_length), name_atanh);
        EXPECT_TRUE(rec.arg1 == a[rec.index].re && rec.arg1_im == a[rec.index].im);
        EXPECT_TRUE(rec.res1 == (k ? -INFINITY : INFINITY) && rec.res1_im == 0 && std::signbit(rec.res1_im) == (k == 1));
    }
    Reports::seen.clear();
    atan(6, a, r);
    ASSERT_EQ(Reports::seen.size(), 1u);
    EXPECT_EQ(Reports::seen[0].index, 4);
    EXPECT_EQ(std::string(Reports::seen[0].name, Reports::seen[0].name_length), name_atan);
    EXPECT_TRUE(r[4].re == 0 && r[4].im == INFINITY);
}

// An infinite imaginary part with a finite real part: NaN and the domain code.
template <class C>
void check_tanh_domain(Kernel<C> tanh, const char* name) {
    const C a[] = {{0.5, 0.25}, {1, -INFINITY}, {INFINITY, 2}};
    C r[3];
    Reports::seen.clear();
    tanh(3, a, r);
    ASSERT_EQ(Reports::seen.size(), 1u);
    EXPECT_EQ(Reports::seen[0].code, QOR_VM_STATUS_DOMAIN);
    EXPECT_EQ(Reports::seen[0].index, 1);
    EXPECT_TRUE(Reports::seen[0].arg1 == 1 && Reports::seen[0].arg1_im == -INFINITY);
    EXPECT_EQ(std::string(Reports::seen[0].name, Reports::seen[0].name_length), name);
    EXPECT_TRUE(std::isnan(r[1].re) && std::isnan(r[1].im));
}
}  // namespace

TEST(ComplexInverse, ArctangentPolesAndTangentsOfInfinityReport) {
    std::thread([] {
        _lumSetMode(QOR_VM_ERRMODE_CALLBACK);
        _lumSetErrorCallBack(Reports::callback);
        _lumSetInterfInputVectorPointer(nullptr);
        check_poles<qor_complex16>(_lumzAtanh, _lumzAtan, "vzAtanh", "vzAtan");
        check_poles<qor_complex8>(_lumcAtanh, _lumcAtan, "vcAtanh", "vcAtan");
        check_tanh_domain<qor_complex16>(_lumzTanh, "vzTanh");
        check_tanh_domain<qor_complex8>(_lumcTanh, "vcTanh");
    }).join();
}
