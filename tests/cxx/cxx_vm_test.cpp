// The C++ vector-math layer: results against the standard library, the
// size checks before any call, per-call accuracy and the thread's mode.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <vector>

#include "qor/qor.hpp"

namespace {

template <class T>
void expect_near_ulps(T got, T want, int ulps) {
    EXPECT_NEAR(got, want, ulps * std::numeric_limits<T>::epsilon() * std::abs(want)) << "want " << want;
}

TEST(CxxVm, OverloadsOfEachPrecisionMatchTheStandardLibrary) {
    const std::vector<double> x = {-2.5, -0.5, 0.0, 0.75, 3.0};
    std::vector<double> y(x.size());
    qor::vm::exp(x, y);
    for (std::size_t i = 0; i < x.size(); ++i) expect_near_ulps(y[i], std::exp(x[i]), 1);

    const std::vector<float> xf = {0.25f, 1.5f, 9.0f};
    std::vector<float> yf(xf.size());
    qor::vm::sqrt(xf, yf, qor::vm::accuracy::la);
    for (std::size_t i = 0; i < xf.size(); ++i) expect_near_ulps(yf[i], std::sqrt(xf[i]), 1);

    // Complex in, real out (c2r), and a scalar argument.
    const std::vector<std::complex<double>> z = {{3, 4}, {-5, 12}};
    std::vector<double> modulus(2);
    qor::vm::abs(z, modulus);
    EXPECT_EQ(modulus, (std::vector<double>{5, 13}));
    std::vector<std::complex<double>> zz(2);
    qor::vm::powx(z, std::complex<double>(2, 0), zz);
    expect_near_ulps(zz[0].imag(), 24.0, 4);

    std::vector<double> s(x.size()), c(x.size());
    qor::vm::sincos(x, s, c);
    for (std::size_t i = 0; i < x.size(); ++i) EXPECT_NEAR(s[i] * s[i] + c[i] * c[i], 1.0, 4e-16);
}

TEST(CxxVm, StridedPackAndUnpackTouchOnlyTheirElements) {
    std::vector<double> a = {1, -1, 4, -1, 9, -1}, r(6, -7.0);
    qor::vm::sqrt(qor::vm::strided(a, 2), qor::vm::strided(r, 2));
    EXPECT_EQ(r, (std::vector<double>{1, -7, 2, -7, 3, -7}));

    const std::vector<std::int64_t> index = {4, 0}, mask = {0, 1, 0, 1, 0, 1};
    std::vector<double> picked(2), masked(3), back(6, 0.0);
    qor::vm::pack_indexed(a, index, picked);
    EXPECT_EQ(picked, (std::vector<double>{9, 1}));
    qor::vm::pack_masked(a, mask, masked);
    EXPECT_EQ(masked, (std::vector<double>{-1, -1, -1}));
    qor::vm::unpack_indexed(picked, back, index);
    EXPECT_EQ(back, (std::vector<double>{1, 0, 0, 0, 9, 0}));
}

TEST(CxxVm, UnequalSizesAreRefusedBeforeTheCall) {
    const std::vector<double> a(4, 1.0), b(3, 1.0);
    std::vector<double> r(4, 42.0);
    const auto refused = [&](auto call) {
        try {
            call();
            ADD_FAILURE() << "no exception";
        } catch (const qor::error& e) {
            EXPECT_EQ(e.status(), QOR_VM_STATUS_BADARG);
            EXPECT_EQ(e.family(), QOR_FAMILY_VM);
            EXPECT_NE(std::strstr(e.what(), qor_family_status_string(QOR_FAMILY_VM, QOR_VM_STATUS_BADARG)), nullptr)
                << e.what();
        }
        EXPECT_EQ(r, std::vector<double>(4, 42.0));  // untouched
    };
    refused([&] { qor::vm::add(a, b, r); });
    refused([&] { qor::vm::exp(b, r); });
    refused([&] { qor::vm::exp(qor::vm::strided(a, 2), qor::vm::strided(r, 1)); });
    refused([&] { qor::vm::exp(qor::vm::strided(a, 0), qor::vm::strided(r, 1)); });
    refused([&] { qor::vm::pack_indexed(a, std::vector<std::int64_t>{0, 4}, std::span(r).first(2)); });
    refused([&] { qor::vm::pack_masked(a, std::vector<std::int64_t>{1, 1, 0, 0}, std::span(r).first(3)); });
}

TEST(CxxVm, PerCallAccuracyLeavesTheThreadModeAndScopedModeRestoresIt) {
    const std::uint32_t before = qor_vm_get_mode();
    const std::vector<double> x = {0.5, 1.5};
    std::vector<double> y(2);
    qor::vm::ln(x, y, qor::vm::accuracy::ep);
    EXPECT_EQ(qor_vm_get_mode(), before);
    {
        qor::vm::scoped_mode ep(qor::vm::accuracy::ep);
        EXPECT_EQ(qor_vm_get_mode() & QOR_VM_ACCURACY_MASK, static_cast<std::uint32_t>(QOR_VM_EP));
    }
    EXPECT_EQ(qor_vm_get_mode(), before);
}

}  // namespace
