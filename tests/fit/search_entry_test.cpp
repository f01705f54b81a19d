// The search entry's two paths, the small batch searched in place and the
// batch workers (across their block boundary), against the kernel of the
// strategy the hints name, in both integer widths; the user-defined method
// with its function's statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include "qor/qor_kp.h"

namespace {

// Suggests the cell of the nearest breakpoint below by a coarse guess,
// marks every seventh site final, and returns the result asked for.
struct Guess { double scale; int32_t result; };
int32_t guess(int64_t* n, const double* site, int64_t* cell, int32_t* flag, FitSearchParams params) {
    const auto& g = *static_cast<const Guess*>(params.word[0]);
    for (int64_t k = 0; k < *n; ++k) {
        EXPECT_EQ(flag[k], 0);  // the entry hands over zeroed flags
        cell[k] = int64_t(site[k] * g.scale), flag[k] = k % 7 == 0;
    }
    return g.result;
}

TEST(FitSearchEntry, SmallAndBatchPathsEqualTheKernels) {
    std::mt19937_64 rng(32);
    std::uniform_real_distribution<double> u(-0.5, 10.5);
    std::vector<double> x(300), site(5000);
    for (size_t i = 0; i < x.size(); ++i) x[i] = 10.0 * i / (x.size() - 1) + (i % 3 ? 0.01 : 0);
    x.back() = 10;
    for (auto& t : site) t = u(rng);
    std::vector<double> sorted = site;
    std::sort(sorted.begin(), sorted.end());
    const int64_t nx = x.size();
    const double ends[2] = {0, 10}, scale = double(nx - 1) / 10, peak = 150;
    Guess g{scale, 5};
    const FitUserSearchD user{guess, {{&g, nullptr}}};
    FitTask* t = nullptr;
    ASSERT_EQ(qor_kp_kernel_dNewTask1D(&t, nx, x.data(), 1, 0, nullptr, 0, 0), 0);
    for (int64_t nsite : {5, 31, 32, 5000})
        for (uint32_t width : {0u, 1u}) {
            t->indexWidth = width;
            // Each case: partition hint, site hint, method, data hint, and the kernel's own call.
            using Kernel = std::function<int32_t(const double*, void*)>;
            std::vector<int32_t> flag(nsite);
            struct Case { int64_t xhint, hint, method; const double* data; const double* s; Kernel k; };
            const Case cases[] = {
                {1, 0, 0, nullptr, site.data(), [&](const double* s, void* c) {
                     return qor_kp_kernel_dKPHybridSearch1D(width, nx, x.data(), nsite, s, t->binScale.d, t->binTable,
                                                            c); }},
                {2, 0, 0, nullptr, site.data(), [&](const double* s, void* c) {
                     return qor_kp_kernel_dKPQuasiUniformSearch1D(width, nx, x.data(), nsite, s, scale, c); }},
                {1, 4, 0, nullptr, sorted.data(), [&](const double* s, void* c) {
                     int64_t start = 0;
                     return qor_kp_kernel_dKPSortedSearch1D(width, nx, x.data(), nsite, s, &start, c); }},
                {1, 64, 0, &peak, site.data(), [&](const double* s, void* c) {
                     return qor_kp_kernel_dKPPeakSearch1D(width, nx, x.data(), nsite, s, peak, c); }},
                {4, 64, 0, &peak, site.data(), [&](const double* s, void* c) {
                     return qor_kp_kernel_dKPUniformSearch1D(width, nx, ends, nsite, s, scale, c); }},
                {1, 0, searchMethodUserDefined, reinterpret_cast<const double*>(&user), site.data(),
                 [&](const double* s, void* c) {
                     return qor_kp_kernel_dKPUserDefSearch1D(width, nx, x.data(), nsite, s, guess, user.params,
                                                             flag.data(), c); }},
                {4, 0, searchMethodUserDefined, reinterpret_cast<const double*>(&user), site.data(),
                 [&](const double* s, void* c) {
                     return qor_kp_kernel_dKPUniUserDefSearch1D(width, nx, ends, nsite, s, guess, user.params,
                                                                flag.data(), c); }},
            };
            for (const Case& c : cases) {
                // The breakpoints first: hint 1 rebuilds the search table over them.
                ASSERT_EQ(qor_kp_kernel_dEditPtr(t, attrBreakpoints, c.xhint == 4 ? ends : x.data()), 0);
                ASSERT_EQ(qor_kp_kernel_iEditVal(t, attrPartitionHint, c.xhint), 0);
                std::vector<int64_t> got(nsite, -7), want(nsite, -7);
                std::fill(flag.begin(), flag.end(), 0);
                const int32_t status = c.k(c.s, want.data());
                EXPECT_EQ(qor_kp_kernel_dKPSearch1D(t, c.method, nsite, c.s, c.hint, c.data, got.data()), status);
                EXPECT_EQ(got, want) << "nsite " << nsite << " width " << width << " xhint " << c.xhint << " hint "
                                     << c.hint << " method " << c.method;
            }
        }
    // The interpolation entry locates sites by the same choice: its cells alone need no coefficients.
    std::vector<int64_t> by_search(5000), by_interpolation(5000);
    const auto* user_hint = reinterpret_cast<const double*>(&user);
    EXPECT_EQ(qor_kp_kernel_dKPSearch1D(t, searchMethodUserDefined, 5000, site.data(), 0, user_hint,
                                        by_search.data()),
              5);
    EXPECT_EQ(qor_kp_kernel_dInterpolate1D(t, computeCells, searchMethodUserDefined, 5000, site.data(), 0, 0, nullptr,
                                           user_hint, nullptr, 0, by_interpolation.data(), nullptr), 5);
    EXPECT_EQ(by_interpolation, by_search);
    g.result = -9;  // a failing user function's status comes back
    int64_t cell[40];
    EXPECT_EQ(qor_kp_kernel_dKPSearch1D(t, searchMethodUserDefined, 40, site.data(), 0,
                                        reinterpret_cast<const double*>(&user), cell), -9);
    EXPECT_EQ(qor_kp_kernel_dKPSearch1D(t, searchMethodUserDefined, 40, site.data(), 0, nullptr, cell),
              statusUnsupportedMethod);
    EXPECT_EQ(qor_kp_kernel_dKPSearch1D(t, 2, 40, site.data(), 0, nullptr, cell), statusUnsupportedMethod);
    qor_kp_kernel_DeleteTask(&t);
}

}  // namespace
