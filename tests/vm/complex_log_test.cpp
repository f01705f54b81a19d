// Complex Sqrt, Ln, Log10, Pow, Powx, Abs, Arg, Div and CIS against MPC over
// wide sweeps (random exponents, near |z| = 1 and the negative real axis),
// Sqrt's and Ln's special-value tables of C bit for bit, C's division rules
// for zeros and infinities, the strided forms, and the codes reported.
#include "complex_sweeps.h"

namespace {

using namespace qor::test;
using namespace qor::test::sweeps;

template <class C>
std::vector<C> wide_args(unsigned seed) {
    const int e = sizeof(Real<C>) == 8 ? 1000 : 120;
    std::vector<C> v = random_complex<C>(3000, -e, e, seed);
    std::vector<C> near = random_complex<C>(1000, -4, 4, seed + 1);
    std::vector<C> unit = near_unit_circle<C>(1000, seed + 2);
    v.insert(v.end(), near.begin(), near.end());
    v.insert(v.end(), unit.begin(), unit.end());
    for (std::size_t i = 0; i < 100; ++i) v[i].im = Real<C>(i % 2 ? 0.0 : -0.0), v[i + 100].re = 0;  // axes and the cut
    return v;
}

int mpc_log10_ref(mpc_ptr r, mpc_srcptr a, mpc_rnd_t rnd) { return mpc_log10(r, a, rnd); }

TEST(ComplexLog, UnaryWithinOneUlpOfMpc) {
    const auto z = wide_args<qor_complex16>(3);
    const auto c = wide_args<qor_complex8>(4);
    struct Case {
        ComplexUnaryKernel<qor_complex16> kz;
        ComplexUnaryKernel<qor_complex8> kc;
        MpcUnary f;
        const char* name;
    };
    for (auto [kz, kc, f, name] : {Case{_lumzSqrt_HA, _lumcSqrt_HA, mpc_sqrt, "Sqrt"}, Case{_lumzLn_HA, _lumcLn_HA, mpc_log, "Ln"},
                                   Case{_lumzLog10_HA, _lumcLog10_HA, mpc_log10_ref, "Log10"}}) {
        const ComplexWorst wz = measure_complex<qor_complex16>(kz, f, z), wc = measure_complex<qor_complex8>(kc, f, c);
        EXPECT_LE(wz.score, 1.0) << "z" << name << " " << wz.describe();
        EXPECT_LE(wc.score, 1.0) << "c" << name << " " << wc.describe();
        std::printf("z%s %.3f  c%s %.3f\n", name, wz.score, name, wc.score);
    }
    const WorstCase az = measure_complex_to_real<qor_complex16>(_lumzAbs_HA, mpc_abs, z);
    const WorstCase ac = measure_complex_to_real<qor_complex8>(_lumcAbs_HA, mpc_abs, c);
    const WorstCase gz = measure_complex_to_real<qor_complex16>(_lumzArg_HA, mpc_arg, z);
    const WorstCase gc = measure_complex_to_real<qor_complex8>(_lumcArg_HA, mpc_arg, c);
    EXPECT_LE(az.ulps, 0.51);
    EXPECT_LE(ac.ulps, 0.51);
    EXPECT_LE(gz.ulps, 0.55);
    EXPECT_LE(gc.ulps, 0.51);
    std::printf("zAbs %.3f cAbs %.3f zArg %.3f cArg %.3f\n", az.ulps, ac.ulps, gz.ulps, gc.ulps);
}

TEST(ComplexLog, BinaryWithinOneUlpOfMpc) {
    const auto za = wide_args<qor_complex16>(5), zb = wide_args<qor_complex16>(6);
    const auto ca = wide_args<qor_complex8>(7), cb = wide_args<qor_complex8>(8);
    const ComplexWorst dz = measure_complex<qor_complex16>(_lumzDiv_HA, mpc_div, za, zb);
    const ComplexWorst dc = measure_complex<qor_complex8>(_lumcDiv_HA, mpc_div, ca, cb);
    EXPECT_LE(dz.score, 1.0) << dz.describe();
    EXPECT_LE(dc.score, 1.0) << dc.describe();
    // Exponents with |w ln z| below about 2^6: z over a wide range, w small.
    auto za2 = random_complex<qor_complex16>(4000, -60, 60, 9), zw = random_complex<qor_complex16>(4000, -8, 1, 10);
    auto ca2 = random_complex<qor_complex8>(4000, -20, 20, 11), cw = random_complex<qor_complex8>(4000, -8, 2, 12);
    auto pow_mpc = [](mpc_ptr r, mpc_srcptr a, mpc_srcptr b, mpc_rnd_t rnd) { return mpc_pow(r, a, b, rnd); };
    const ComplexWorst pz = measure_complex<qor_complex16>(_lumzPow_HA, pow_mpc, za2, zw);
    const ComplexWorst pc = measure_complex<qor_complex8>(_lumcPow_HA, pow_mpc, ca2, cw);
    EXPECT_LE(pz.score, 1.0) << pz.describe();
    EXPECT_LE(pc.score, 1.0) << pc.describe();
    std::printf("zDiv %.3f cDiv %.3f zPow %.3f cPow %.3f\n", dz.score, dc.score, pz.score, pc.score);
    // The EP kernels of double Abs, Div and Exp: plain formulas.
    const ComplexWorst de = measure_complex<qor_complex16>(_lumzDiv_26, mpc_div, za, zb);
    const WorstCase ae = measure_complex_to_real<qor_complex16>(_lumzAbs_26, mpc_abs, za);
    const auto ez = random_complex<qor_complex16>(4000, -30, 6, 16);
    const ComplexWorst ee = measure_complex<qor_complex16>(_lumzExp_26, mpc_exp, ez);
    EXPECT_LE(ae.ulps, 1.1);
    EXPECT_LE(ee.score, 1.5) << ee.describe();
    EXPECT_LE(de.score, 1.4) << de.describe();
    std::printf("EP: zAbs %.3f zDiv %.3f zExp %.3f\n", ae.ulps, de.score, ee.score);
    // Powx: one exponent for the whole call gives Pow's results bit for bit.
    const qor_complex16 w{-1.25, 0.375};
    std::vector<qor_complex16> ws(za2.size(), w), got(za2.size()), want(za2.size());
    _lumzPowx_HA(int(za2.size()), za2.data(), w, got.data());
    _lumzPow_HA(int(za2.size()), za2.data(), ws.data(), want.data());
    EXPECT_EQ(std::memcmp(got.data(), want.data(), got.size() * sizeof got[0]), 0);
}

// CIS has its own method in either precision: e^(iy) by MPC, y in the
// imaginary parts.
template <class C>
ComplexWorst cis_against_mpc(void (*kernel)(int, const Real<C>*, C*), unsigned seed) {
    static void (*k)(int, const Real<C>*, C*);
    k = kernel;
    auto cis = [](int n, const C* a, C* r) {
        std::vector<Real<C>> t(n);
        for (int i = 0; i < n; ++i) t[i] = a[i].im;
        k(n, t.data(), r);
    };
    std::mt19937 gen(seed);
    std::vector<C> c(2000);
    for (C& z : c) z = {0, Real<C>(std::ldexp(1.0 + gen() / 4294967296.0, int(gen() % 50) - 30))};
    return measure_complex<C>(cis, mpc_exp, c);
}

TEST(ComplexLog, CisWithinOneUlpOfMpc) {
    const ComplexWorst wz = cis_against_mpc<qor_complex16>(_lumzCIS_HA, 13), wc = cis_against_mpc<qor_complex8>(_lumcCIS_HA, 14);
    EXPECT_LE(wz.score, 1.0) << wz.describe();
    EXPECT_LE(wc.score, 1.0) << wc.describe();
    std::printf("zCIS %.3f cCIS %.3f\n", wz.score, wc.score);
}

TEST(ComplexLog, SpecialValuesOfSqrtAndLn) {
    const double pi = 0x1.921fb54442d18p+1;
    const std::vector<Row> sqrt_rows = {
        {0.0, 0.0, 0.0, 0.0}, {-0.0, 0.0, 0.0, 0.0}, {0.0, -0.0, 0.0, -0.0}, {-0.0, -0.0, 0.0, -0.0},
        {1.0, kInf, kInf, kInf}, {-kInf, kInf, kInf, kInf}, {kNaN, kInf, kInf, kInf}, {2.0, -kInf, kInf, -kInf},
        {1.0, kNaN, kNaN, kNaN}, {-kInf, 2.0, 0.0, kInf}, {-kInf, -2.0, 0.0, -kInf}, {kInf, 2.0, kInf, 0.0},
        {kInf, -2.0, kInf, -0.0}, {-kInf, kNaN, kNaN, kInf, false, true}, {kInf, kNaN, kInf, kNaN},
        {kNaN, 1.0, kNaN, kNaN}, {kNaN, kNaN, kNaN, kNaN}, {-4.0, 0.0, 0.0, 2.0}, {-4.0, -0.0, 0.0, -2.0}};
    const std::vector<Row> ln_rows = {
        {-0.0, 0.0, -kInf, pi}, {-0.0, -0.0, -kInf, -pi}, {0.0, 0.0, -kInf, 0.0}, {0.0, -0.0, -kInf, -0.0},
        {1.0, kInf, kInf, pi / 2}, {1.0, -kInf, kInf, -pi / 2}, {1.0, kNaN, kNaN, kNaN}, {-kInf, 1.0, kInf, pi},
        {-kInf, -1.0, kInf, -pi}, {kInf, 1.0, kInf, 0.0}, {kInf, -1.0, kInf, -0.0}, {-kInf, kInf, kInf, 3 * pi / 4},
        {kInf, kInf, kInf, pi / 4}, {kInf, kNaN, kInf, kNaN}, {-kInf, kNaN, kInf, kNaN}, {kNaN, 1.0, kNaN, kNaN},
        {kNaN, kInf, kInf, kNaN}, {kNaN, kNaN, kNaN, kNaN}, {-1.0, 0.0, 0.0, pi}, {-1.0, -0.0, 0.0, -pi}};
    expect_rows<qor_complex16>(_lumzSqrt_HA, sqrt_rows, "zSqrt");
    expect_rows<qor_complex8>(_lumcSqrt_HA, sqrt_rows, "cSqrt");
    expect_rows<qor_complex16>(_lumzLn_HA, ln_rows, "zLn");
    std::vector<Row> ln_rows_c = ln_rows;
    for (Row& r : ln_rows_c) r.v = double(float(r.v));
    expect_rows<qor_complex8>(_lumcLn_HA, ln_rows_c, "cLn");
}

TEST(ComplexLog, DivisionRecoversInfinitiesAndZeros) {
    struct Case { qor_complex16 a, b, want; };
    const Case cases[] = {{{1, 2}, {0, 0}, {kInf, kInf}},      {{-1, 0}, {-0.0, 0}, {kInf, kNaN}},
                          {{kInf, 1}, {2, 3}, {kInf, -kInf}},  {{1, 2}, {kInf, kNaN}, {0, 0}},
                          {{0x1p1000, 0x1p1000}, {0x1p-1000, 0x1p-1000}, {kInf, 0}},
                          {{0x1p-1070, 0}, {0x1p1000, 0x1p1000}, {0, -0.0}}, {{0, -0.0}, {-1, 0}, {-0.0, 0}}};
    for (const Case& c : cases) {
        qor_complex16 r;
        _lumzDiv_HA(1, &c.a, &c.b, &r);
        EXPECT_TRUE(same(r.re, c.want.re, false) && same(r.im, c.want.im, std::isnan(c.want.im)))
            << c.a.re << "," << c.a.im << " / " << c.b.re << "," << c.b.im << " = " << r.re << "," << r.im;
    }
}

TEST(ComplexLog, StridedFormsMatch) {
    const auto z = wide_args<qor_complex16>(14);
    const auto c = wide_args<qor_complex8>(15);
    expect_strided_same<qor_complex16, qor_complex16>(_lumzLn_HA, _lumzLnI_HA, z);
    expect_strided_same<qor_complex8, qor_complex8>(_lumcSqrt_HA, _lumcSqrtI_HA, c);
    expect_strided_same<qor_complex16, double>(_lumzAbs_HA, _lumzAbsI_HA, z);
    expect_strided_same<qor_complex8, float>(_lumcArg_HA, _lumcArgI_HA, c);
    expect_strided_same<qor_complex16, qor_complex16>(_lumzExp_HA, _lumzExpI_HA, z);
    expect_strided_same<qor_complex8, qor_complex8>(_lumcSin_HA, _lumcSinI_HA, c);
}

}  // namespace
