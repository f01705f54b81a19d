// Complex Exp, CIS, Cosh, Sinh, Cos and Sin: against MPC over wide sweeps
// (score <= 1: within an ulp per part, or two of the magnitude for a tiny
// part), on C's special-value tables bit for bit, strided as contiguous,
// and in the codes they report.
#include <thread>

#include "complex_sweeps.h"

namespace {

using namespace qor::test;
using namespace qor::test::sweeps;

template <class C>
std::vector<C> exp_args(unsigned seed) {
    std::vector<C> v = random_complex<C>(4000, -30, 6, seed);  // angles up to 2^7, e^x to overflow
    std::vector<C> far = random_complex<C>(500, -3, 25, seed + 1);  // huge angles, overflow and underflow
    v.insert(v.end(), far.begin(), far.end());
    for (std::size_t i = 0; i < 200; ++i) v[i].re = Real<C>(700 + i * 0.05), v[i + 200].re = -Real<C>(700 + i * 0.2);
    return v;
}

TEST(ComplexExp, WithinOneUlpOfMpc) {
    const auto z = exp_args<qor_complex16>(1);
    const auto c = exp_args<qor_complex8>(2);
    struct Case {
        ComplexUnaryKernel<qor_complex16> kz;
        ComplexUnaryKernel<qor_complex8> kc;
        MpcUnary f;
        const char* name;
    };
    for (auto [kz, kc, f, name] : {Case{_lumzExp_HA, _lumcExp_HA, mpc_exp, "Exp"}, Case{_lumzCosh_HA, _lumcCosh_HA, mpc_cosh, "Cosh"},
                                  Case{_lumzSinh_HA, _lumcSinh_HA, mpc_sinh, "Sinh"}, Case{_lumzCos_HA, _lumcCos_HA, mpc_cos, "Cos"},
                                  Case{_lumzSin_HA, _lumcSin_HA, mpc_sin, "Sin"}}) {
        const ComplexWorst wz = measure_complex<qor_complex16>(kz, f, z);
        const ComplexWorst wc = measure_complex<qor_complex8>(kc, f, c);
        EXPECT_LE(wz.score, 1.0) << "z" << name << " " << wz.describe();
        EXPECT_LE(wc.score, 1.0) << "c" << name << " " << wc.describe();
        std::printf("z%s %.3f  c%s %.3f\n", name, wz.score, name, wc.score);
    }
}

// C's tables of cexp, ccosh and csinh; ccos and csin are ccosh(iz) and
// -i csinh(iz), checked on the same rows turned.
TEST(ComplexExp, SpecialValueTablesBitForBit) {
    const double y = 1.0, c1 = std::cos(1.0), s1 = std::sin(1.0);
    const std::vector<Row> exp_rows = {
        {0.0, 0.0, 1.0, 0.0}, {-0.0, 0.0, 1.0, 0.0}, {0.0, -0.0, 1.0, -0.0}, {1.0, kInf, kNaN, kNaN},
        {1.0, kNaN, kNaN, kNaN}, {kInf, 0.0, kInf, 0.0}, {kInf, -0.0, kInf, -0.0}, {-kInf, y, 0.0 * c1, 0.0 * s1},
        {-kInf, -y, 0.0 * c1, -0.0}, {kInf, y, kInf, kInf}, {kInf, -2.0, -kInf, -kInf},
        {-kInf, kInf, 0.0, 0.0, true, true}, {kInf, kInf, kInf, kNaN, true}, {-kInf, kNaN, 0.0, 0.0, true, true},
        {kInf, kNaN, kInf, kNaN, true}, {kNaN, 0.0, kNaN, 0.0}, {kNaN, -0.0, kNaN, -0.0}, {kNaN, 1.0, kNaN, kNaN},
        {kNaN, kNaN, kNaN, kNaN}, {0.0, kInf, kNaN, kNaN}};
    const std::vector<Row> cosh_rows = {
        {0.0, 0.0, 1.0, 0.0}, {0.0, kInf, kNaN, 0.0, false, true}, {0.0, kNaN, kNaN, 0.0, false, true},
        {1.0, kInf, kNaN, kNaN}, {1.0, kNaN, kNaN, kNaN}, {kInf, 0.0, kInf, 0.0}, {kInf, y, kInf, kInf},
        {kInf, kInf, kInf, kNaN, true}, {kInf, kNaN, kInf, kNaN}, {kNaN, 0.0, kNaN, 0.0, false, true},
        {kNaN, 1.0, kNaN, kNaN}, {kNaN, kNaN, kNaN, kNaN}, {-0.0, 0.0, 1.0, -0.0}, {-kInf, -0.0, kInf, 0.0},
        {kInf, -2.0, -kInf, -kInf}};
    const std::vector<Row> sinh_rows = {
        {0.0, 0.0, 0.0, 0.0}, {0.0, kInf, 0.0, kNaN, true}, {0.0, kNaN, 0.0, kNaN, true}, {1.0, kInf, kNaN, kNaN},
        {1.0, kNaN, kNaN, kNaN}, {kInf, 0.0, kInf, 0.0}, {kInf, y, kInf, kInf}, {kInf, kInf, kInf, kNaN, true},
        {kInf, kNaN, kInf, kNaN, true}, {kNaN, 0.0, kNaN, 0.0}, {kNaN, -0.0, kNaN, -0.0}, {kNaN, 1.0, kNaN, kNaN},
        {kNaN, kNaN, kNaN, kNaN}, {-0.0, 0.0, -0.0, 0.0}, {-kInf, -0.0, -kInf, -0.0}, {-kInf, 2.0, kInf, kInf}};
    expect_rows<qor_complex16>(_lumzExp_HA, exp_rows, "zExp");
    expect_rows<qor_complex8>(_lumcExp_HA, exp_rows, "cExp");
    expect_rows<qor_complex16>(_lumzCosh_HA, cosh_rows, "zCosh");
    expect_rows<qor_complex8>(_lumcCosh_HA, cosh_rows, "cCosh");
    expect_rows<qor_complex16>(_lumzSinh_HA, sinh_rows, "zSinh");
    expect_rows<qor_complex8>(_lumcSinh_HA, sinh_rows, "cSinh");
    // cos(x + iy) = cosh(-y + ix); sin(x + iy) = -i sinh(-y + ix).
    std::vector<Row> cos_rows, sin_rows;
    for (const Row& r : cosh_rows) cos_rows.push_back({r.y, -r.x, r.u, r.v, r.any_sign_re, r.any_sign_im});
    for (const Row& r : sinh_rows) sin_rows.push_back({r.y, -r.x, r.v, -r.u, r.any_sign_im, r.any_sign_re});
    expect_rows<qor_complex16>(_lumzCos_HA, cos_rows, "zCos");
    expect_rows<qor_complex16>(_lumzSin_HA, sin_rows, "zSin");
}

int g_codes[8], g_calls;
qor_complex16 g_arg;
int32_t record(qor_vm_error_record* r) {
    ++g_calls;
    if (r->code >= 0 && r->code < 8) ++g_codes[r->code];
    g_arg = {r->arg1, r->arg1_im};
    return 1;
}

// Overflow of finite arguments, an infinite angle (domain), ln 0
// (singularity) and division by zero, each with both parts of its argument.
TEST(ComplexExp, ErrorsReachTheComplexReporter) {
    std::thread([] {  // a new thread: pristine vector-math state
    _lumSetMode(QOR_VM_ERRMODE_CALLBACK);
    _lumSetErrorCallBack(record);
    _lumSetInterfInputVectorPointer(nullptr);
    qor_complex16 a[2] = {{710.0, 0.5}, {1.0, 2.0}}, r[2];
    g_calls = 0;
    _lumzExp_HA(2, a, r);
    EXPECT_EQ(g_codes[QOR_VM_STATUS_OVERFLOW], 1);
    EXPECT_TRUE(g_arg.re == 710.0 && g_arg.im == 0.5);
    qor_complex8 b{1.0f, std::numeric_limits<float>::infinity()}, rb;
    _lumcSinh_HA(1, &b, &rb);
    EXPECT_EQ(g_codes[QOR_VM_STATUS_DOMAIN], 1);
    qor_complex16 zero{0.0, 0.0};
    _lumzLn_HA(1, &zero, r);
    _lumzDiv_HA(1, a + 1, &zero, r);
    EXPECT_EQ(g_codes[QOR_VM_STATUS_SING], 2);
    EXPECT_EQ(g_calls, 4);
    }).join();
}

}  // namespace
