// The public gamma, beta, chi-square and multivariate Gaussian calls refuse
// bad parameters, methods and pointers before any variate is drawn: the
// output stays as it was, and good calls go through.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "qor/qor.h"

namespace {

constexpr double kNaN = NAN;
constexpr int kBad = QOR_RNG_STATUS_BAD_ARGUMENT, kBadMethod = QOR_RNG_STATUS_BAD_METHOD;

struct Case {
    const char* what;
    int status;
    std::function<int(qor_rng_stream*, double*, float*)> call;
};

}  // namespace

TEST(RngDistApiShapes, BadArgumentsLeaveTheOutputUntouched) {
    ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail();
    qor_rng_stream* stream = nullptr;
    ASSERT_EQ(qor_rng_new_stream(&stream, QOR_RNG_BRNG_MCG31M1, 1), QOR_RNG_STATUS_OK);
    const double full[4] = {1, 0, 0.5, 2}, packed[3] = {1, 0.5, 2}, zero_diag[3] = {1, 0.5, 0};
    const double negative_diag[4] = {1, 0, 0.5, -2}, nan_off[3] = {1, kNaN, 2}, mean[2] = {0, 1};
    const float full_s[4] = {1, 0, 0.5f, 2}, mean_s[2] = {0, 1}, mean_nan[2] = {0, NAN};
    const int acc = QOR_RNG_METHOD_ACCURATE;
    const Case cases[] = {
        {"gamma", 0, [](auto s, auto d, auto f) { return qor_vdRngGamma(acc, s, 2, d, 0.5, -1, 2) + qor_vsRngGamma(0, s, 2, f, 2e3f, 0, 1); }},
        {"gamma shape 0", kBad, [](auto s, auto d, auto) { return qor_vdRngGamma(0, s, 2, d, 0, 0, 1); }},
        {"gamma shape NaN", kBad, [](auto s, auto, auto f) { return qor_vsRngGamma(0, s, 2, f, NAN, 0, 1); }},
        {"gamma scale -1", kBad, [](auto s, auto d, auto) { return qor_vdRngGamma(0, s, 2, d, 1, 0, -1); }},
        {"gamma displacement inf", kBad, [](auto s, auto d, auto) { return qor_vdRngGamma(0, s, 2, d, 1, INFINITY, 1); }},
        {"gamma method 1", kBadMethod, [](auto s, auto d, auto) { return qor_vdRngGamma(1, s, 2, d, 1, 0, 1); }},
        {"gamma null output", kBad, [](auto s, auto, auto) { return qor_vdRngGamma(0, s, 2, nullptr, 1, 0, 1); }},
        {"gamma null stream", kBad, [](auto, auto d, auto) { return qor_vdRngGamma(0, nullptr, 2, d, 1, 0, 1); }},
        {"beta", 0, [](auto s, auto d, auto f) { return qor_vdRngBeta(acc, s, 2, d, 0.5, 3, 1, 2) + qor_vsRngBeta(0, s, 2, f, 2, 2, 0, 1); }},
        {"beta p 0", kBad, [](auto s, auto d, auto) { return qor_vdRngBeta(0, s, 2, d, 0, 1, 0, 1); }},
        {"beta q -1", kBad, [](auto s, auto, auto f) { return qor_vsRngBeta(0, s, 2, f, 1, -1, 0, 1); }},
        {"beta q NaN", kBad, [](auto s, auto d, auto) { return qor_vdRngBeta(0, s, 2, d, 1, kNaN, 0, 1); }},
        {"beta scale 0", kBad, [](auto s, auto d, auto) { return qor_vdRngBeta(0, s, 2, d, 1, 1, 0, 0); }},
        {"beta displacement NaN", kBad, [](auto s, auto d, auto) { return qor_vdRngBeta(0, s, 2, d, 1, 1, kNaN, 1); }},
        {"chi-square", 0, [](auto s, auto d, auto f) { return qor_vdRngChiSquare(0, s, 2, d, 1) + qor_vsRngChiSquare(0, s, 2, f, 7); }},
        {"chi-square 0 degrees", kBad, [](auto s, auto d, auto) { return qor_vdRngChiSquare(0, s, 2, d, 0); }},
        {"chi-square method accurate", kBadMethod, [](auto s, auto d, auto) { return qor_vdRngChiSquare(acc, s, 2, d, 3); }},
        {"mv", 0, [&](auto s, auto d, auto f) {
             return qor_vdRngGaussianMV(2, s, 1, d, 2, QOR_RNG_MATRIX_FULL, mean, full) +
                    qor_vsRngGaussianMV(0, s, 1, f, 2, QOR_RNG_MATRIX_FULL, mean_s, full_s) +
                    qor_vdRngGaussianMV(1, s, 1, d, 2, QOR_RNG_MATRIX_PACKED, mean, packed); }},
        {"mv storage 3", kBad, [&](auto s, auto d, auto) { return qor_vdRngGaussianMV(0, s, 1, d, 2, 3, mean, full); }},
        {"mv zero diagonal", kBad, [&](auto s, auto d, auto) { return qor_vdRngGaussianMV(0, s, 1, d, 2, QOR_RNG_MATRIX_PACKED, mean, zero_diag); }},
        {"mv negative diagonal", kBad, [&](auto s, auto d, auto) { return qor_vdRngGaussianMV(0, s, 1, d, 2, QOR_RNG_MATRIX_FULL, mean, negative_diag); }},
        {"mv NaN entry", kBad, [&](auto s, auto d, auto) { return qor_vdRngGaussianMV(0, s, 1, d, 2, QOR_RNG_MATRIX_PACKED, mean, nan_off); }},
        {"mv NaN mean", kBad, [&](auto s, auto, auto f) { return qor_vsRngGaussianMV(0, s, 1, f, 2, QOR_RNG_MATRIX_FULL, mean_nan, full_s); }},
        {"mv dimension 0", kBad, [&](auto s, auto d, auto) { return qor_vdRngGaussianMV(0, s, 1, d, 0, QOR_RNG_MATRIX_FULL, mean, full); }},
        {"mv null mean", kBad, [&](auto s, auto d, auto) { return qor_vdRngGaussianMV(0, s, 1, d, 2, QOR_RNG_MATRIX_FULL, nullptr, full); }},
        {"mv null factor", kBad, [&](auto s, auto d, auto) { return qor_vdRngGaussianMV(0, s, 1, d, 2, QOR_RNG_MATRIX_FULL, mean, nullptr); }},
        {"mv method 3", kBadMethod, [&](auto s, auto d, auto) { return qor_vdRngGaussianMV(3, s, 1, d, 2, QOR_RNG_MATRIX_FULL, mean, full); }},
    };
    for (const Case& c : cases) {
        std::vector<double> d(2, -42.0);
        std::vector<float> f(2, -42.0f);
        EXPECT_EQ(c.call(stream, d.data(), f.data()), c.status) << c.what;
        if (c.status != 0)
            EXPECT_TRUE(d[0] == -42 && d[1] == -42 && f[0] == -42 && f[1] == -42) << c.what;
        else
            EXPECT_TRUE(d[0] != -42 || f[0] != -42) << c.what;
    }
    qor_rng_delete_stream(&stream);
}
