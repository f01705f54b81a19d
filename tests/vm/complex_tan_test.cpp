// Complex Tan and Tanh against MPC: random exponents, next to the poles
// and zeros (where a part is tiny or huge), the real part where tanh
// flattens to +-1, tiny real parts beside poles, and huge angles; the
// strided forms as the contiguous ones; and the underflow reports of Exp,
// Tan and Tanh.
#include <numbers>
#include <thread>
#include <utility>

#include "complex_sweeps.h"

namespace {

using namespace qor::test;
using namespace qor::test::sweeps;

// Arguments of tanh; tan takes them turned (tan z = -i tanh(iz)).
template <class C>
std::vector<C> tanh_args(unsigned seed) {
    using R = Real<C>;
    const int emin = std::numeric_limits<R>::min_exponent - 53;
    std::vector<C> v = random_complex<C>(2000, emin, 9, seed);
    std::vector<C> moderate = random_complex<C>(1500, -6, 5, seed + 1);
    v.insert(v.end(), moderate.begin(), moderate.end());
    std::mt19937 gen(seed + 2);
    auto unit = [&] { return gen() / 4294967296.0; };
    for (int i = 0; i < 1500; ++i) {
        // y a few ulps from a multiple of pi/2 (zeros and poles), x tiny,
        // moderate, in the flat range or of any size
        const double k = std::floor(unit() * (i % 3 ? 8 : 300000)), h = k * std::numbers::pi / 2;
        R y = R(h);
        for (int s = int(gen() % 9) - 4; s; s += s > 0 ? -1 : 1) y = std::nextafter(y, R(s > 0 ? 1e30 : -1e30));
        const R x = R(std::ldexp(unit() + 0.5, i % 4 == 0 ? -int(gen() % 1060) : i % 4 == 1 ? -int(gen() % 30) : 0) *
                      (i % 4 == 2 ? 18 + 30 * unit() : 1) * (gen() % 2 ? -1 : 1));
        v.push_back({x, R(gen() % 2 ? y : -y)});
    }
    std::vector<C> huge = random_complex<C>(300, -4, 3, seed + 3);  // angles beyond the vector path
    for (C& z : huge) z.im = R(z.im * (sizeof(R) == 8 ? 0x1p21 : 0x1p18));
    v.insert(v.end(), huge.begin(), huge.end());
    for (std::size_t i = 0; i < 40; ++i) v[i].re = R(i % 2 ? 0.0 : -0.0), v[i + 40].im = R(i % 2 ? 0.0 : -0.0);
    return v;
}

template <class C>
std::vector<C> turned(std::vector<C> v) {
    for (C& z : v) z = {z.im, Real<C>(-z.re)};  // tan(iz') with z' = tanh's argument
    return v;
}

TEST(ComplexTan, WithinOneUlpOfMpc) {
    const auto z = tanh_args<qor_complex16>(11);
    const auto c = tanh_args<qor_complex8>(12);
    const ComplexWorst hz = measure_complex<qor_complex16>(_lumzTanh_HA, mpc_tanh, z);
    const ComplexWorst hc = measure_complex<qor_complex8>(_lumcTanh_HA, mpc_tanh, c);
    const ComplexWorst tz = measure_complex<qor_complex16>(_lumzTan_HA, mpc_tan, turned(z));
    const ComplexWorst tc = measure_complex<qor_complex8>(_lumcTan_HA, mpc_tan, turned(c));
    EXPECT_LE(hz.score, 1.0) << "zTanh " << hz.describe();
    EXPECT_LE(hc.score, 1.0) << "cTanh " << hc.describe();
    EXPECT_LE(tz.score, 1.0) << "zTan " << tz.describe();
    EXPECT_LE(tc.score, 1.0) << "cTan " << tc.describe();
    std::printf("zTanh %.3f cTanh %.3f zTan %.3f cTan %.3f\n", hz.score, hc.score, tz.score, tc.score);
    expect_strided_same<qor_complex16, qor_complex16>(_lumzTanh_HA, _lumzTanhI_HA, z);
    expect_strided_same<qor_complex8, qor_complex8>(_lumcTan_HA, _lumcTanI_HA, c);
}

std::vector<std::pair<int64_t, int>> g_reports;
int32_t record(qor_vm_error_record* r) {
    g_reports.push_back({r->index, r->code});
    return 1;
}

template <class C>
std::vector<std::pair<int64_t, int>> reports(void (*kernel)(int, const C*, C*), std::vector<C> args) {
    g_reports.clear();
    std::vector<C> r(args.size());
    kernel(int(args.size()), args.data(), r.data());
    return g_reports;
}

// A part below the normal range from normal arguments reports underflow,
// on the vector path and in the scalar routine; exact zeros (the imaginary
// part of a real argument) and tiny parts of subnormal angles do not.
TEST(ComplexTan, UnderflowReported) {
    std::thread([] {  // a new thread: pristine vector-math state
        _lumSetMode(QOR_VM_ERRMODE_CALLBACK);
        _lumSetErrorCallBack(record);
        _lumSetInterfInputVectorPointer(nullptr);
        using List = std::vector<std::pair<int64_t, int>>;
        const int u = QOR_VM_STATUS_UNDERFLOW;
        EXPECT_EQ(reports<qor_complex16>(_lumzExp_HA, {{-745.5, 0.0}, {-700.0, 0.0}, {-700.0, 1e-20}, {1.0, 2.0}, {-800.0, 1.0}}),
                  (List{{0, u}, {2, u}, {4, u}}));
        EXPECT_EQ(reports<qor_complex8>(_lumcExp_HA, {{-100.0f, 0.0f}, {-80.0f, 0.0f}, {-30.0f, 1e-30f}, {1.0f, 1e-30f}}),
                  (List{{0, u}, {2, u}}));
        EXPECT_EQ(reports<qor_complex16>(_lumzTanh_HA, {{400.0, 1.0}, {0.5, 1e-300}, {30.0, 1e-300}, {30.0, 0.0}, {0.5, 4e-320}}),
                  (List{{0, u}, {2, u}}));
        EXPECT_EQ(reports<qor_complex8>(_lumcTan_HA, {{1e-30f, 30.0f}, {1.0f, 1.0f}, {1.0f, 60.0f}}), (List{{0, u}, {2, u}}));
    }).join();
}

}  // namespace
