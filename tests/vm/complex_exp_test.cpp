// Complex Exp, CIS, Cosh, Sinh, Cos and Sin: against MPC over wide sweeps
// (score <= 1: within an ulp per part, or two of the magnitude for a tiny
// part), on C's special-value tables bit for bit, strided as contiguous,
// and in the codes they report.
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

}  // namespace
