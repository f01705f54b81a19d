// Cell search: every strategy in every integer form and both precisions
// against a reference on std::upper_bound, on uniform and strongly
// non-uniform partitions, with sites on and between breakpoints, outside the
// partition and NaN; the sorted strategy's running index, the user-defined
// protocol and its refinement tie, and the search entry's choices and checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "qor/qor_kp.h"

namespace {

#define FORMS(p, s)                                                                                       \
    std::make_tuple(qor_kp_kernel_##p##KP##s##Search1D32, qor_kp_kernel_##p##KP##s##Search1D64,           \
                    qor_kp_kernel_##p##KP##s##Search1D64Pack, qor_kp_kernel_##p##KP##s##Search1D)
#define KERNEL_SET(p)                                                                                       \
    static auto uniform() { return FORMS(p, Uniform); }                                                   \
    static auto quasi() { return FORMS(p, QuasiUniform); }                                                \
    static auto sorted() { return FORMS(p, Sorted); }                                                     \
    static auto peak() { return FORMS(p, Peak); }                                                         \
    static auto hybrid() { return FORMS(p, Hybrid); }                                                     \
    static auto user() { return FORMS(p, UserDef); }                                                      \
    static auto uni_user() { return FORMS(p, UniUserDef); }                                               \
    static constexpr auto make = qor_kp_kernel_##p##NewTask1D;
template <class T>
struct K;
template <>
struct K<float> { KERNEL_SET(s) };
template <>
struct K<double> { KERNEL_SET(d) };

// The cell rule: the number of breakpoints not greater than t, the last one in
// cell nx-1, NaN in cell 0.
template <class T>
int64_t reference(const std::vector<T>& x, T t) {
    if (t == x.back()) return int64_t(x.size()) - 1;
    if (!(t >= x[0])) return 0;
    return std::upper_bound(x.begin(), x.end(), t) - x.begin();
}
// The user-defined refinement of suggestion c: a site equal to x[c] keeps c.
template <class T>
int64_t refined(const std::vector<T>& x, T t, int64_t c) {
    c = std::clamp<int64_t>(c, 0, int64_t(x.size()));
    return (t != x.back() && c < int64_t(x.size()) && t == x[c]) ? c : reference(x, t);
}

template <class C, class T>
testing::AssertionResult same_cells(const std::vector<C>& got, const std::vector<int64_t>& want,
                                    const std::vector<T>& site) {
    for (size_t i = 0; i < want.size(); ++i)
        if (int64_t(got[i]) != want[i])
            return testing::AssertionFailure() << "site " << i << " = " << site[i] << ": cell " << int64_t(got[i])
                                               << ", expected " << want[i];
    return testing::AssertionSuccess();
}

// call(kernel, cells) for the forms 32, 64, 64Pack and the suffix-less kernel in
// both widths; each must return `status` and write `want`.
template <class T, class Forms, class Call>
void expect_forms(const Forms& forms, const std::vector<T>& site, const std::vector<int64_t>& want, Call call,
                  const std::string& what, int32_t status = 0) {
    const auto [k32, k64, k64p, kw] = forms;
    auto check = [&](auto kernel, auto element, const char* form) {
        std::vector<decltype(element)> c(want.size(), -7);
        EXPECT_EQ(call(kernel, c.data()), status) << what << " " << form;
        EXPECT_TRUE(same_cells(c, want, site)) << what << " " << form;
    };
    check(k32, int32_t{}, "32"), check(k64, int64_t{}, "64"), check(k64p, int64_t{}, "64Pack");
    check([&](auto... a) { return kw(0u, a...); }, int32_t{}, "width 0");
    check([&](auto... a) { return kw(1u, a...); }, int64_t{}, "width 1");
}

// The caller's search: suggests near[i] for site i, flags every third site,
// and returns `result`.
struct Suggestions { const void* base; std::vector<int64_t> near; int32_t result; };
template <class T>
int32_t suggest(int64_t* n, const T* site, int64_t* cell, int32_t* flag, FitSearchParams params) {
    const auto& s = *static_cast<const Suggestions*>(params.word[0]);
    const int64_t first = site - static_cast<const T*>(s.base);
    for (int64_t k = 0; k < *n; ++k) cell[k] = s.near[first + k], flag[k] = (first + k) % 3 == 0;
    return s.result;
}

// Every strategy over breakpoints x (explicit array) and sites; the uniform
// ones too when x is evenly spaced.
template <class T>
void expect_all(const std::vector<T>& x, std::vector<T> site, bool uniform, std::mt19937_64& rng) {
    const int64_t nx = x.size(), n = site.size();
    const std::string what = "nx " + std::to_string(nx);
    std::vector<int64_t> want(n);
    for (int64_t i = 0; i < n; ++i) want[i] = reference(x, site[i]);
    const T scale = T(nx - 1) / (x.back() - x[0]), ends[2] = {x[0], x.back()};
    auto plain = [&](int64_t count, const T* points, auto... param) {  // the first `count` sites
        return [=, &site](auto kernel, auto cell) { return kernel(nx, points, count, site.data(), param..., cell); };
    };
    if (uniform) expect_forms(K<T>::uniform(), site, want, plain(n, ends, scale), what + " uniform");
    FitTask* task = nullptr;
    ASSERT_EQ(K<T>::make(&task, nx, x.data(), 1, 0, nullptr, 0, 0), 0);
    const T bin_scale = sizeof(T) == 8 ? T(task->binScale.d) : T(task->binScale.s);
    expect_forms(K<T>::hybrid(), site, want, plain(n, x.data(), bin_scale, task->binTable), what + " hybrid");
    qor_kp_kernel_DeleteTask(&task);
    // Long walks on a large partition: peak (and quasi-uniform when uneven) take fewer sites there.
    const int64_t m = nx > 10000 ? 50 : n;
    const std::vector<T> few(site.begin(), site.begin() + m);
    const std::vector<int64_t> few_want(want.begin(), want.begin() + m);
    expect_forms(K<T>::quasi(), uniform ? site : few, uniform ? want : few_want,
                 plain(uniform ? n : m, x.data(), scale), what + " quasi-uniform");
    for (double p : {-3.0, 0.0, double(nx / 2), double(nx - 1), double(nx), nx + 5.5})
        expect_forms(K<T>::peak(), few, few_want, plain(m, x.data(), T(p)), what + " peak " + std::to_string(p));
    // User-defined: suggestions near the cell and some far outside, every third final.
    Suggestions s{site.data(), std::vector<int64_t>(n), 5};
    std::uniform_int_distribution<int64_t> off(-3, 3);
    for (int64_t i = 0; i < n; ++i)
        s.near[i] = i % 17 == 1 && i < 40 ? -5 : i % 17 == 2 && i < 40 ? nx + 3 : want[i] + off(rng);
    std::vector<int64_t> user_want(n);
    for (int64_t i = 0; i < n; ++i) user_want[i] = i % 3 == 0 ? s.near[i] : refined(x, site[i], s.near[i]);
    std::vector<int32_t> flag(n);
    const FitSearchParams params{{&s, nullptr}};
    auto user = [&](const T* at) {
        return [&, at](auto k, auto c) { return k(nx, at, n, site.data(), suggest<T>, params, flag.data(), c); };
    };
    expect_forms(K<T>::user(), site, user_want, user(x.data()), what + " user-defined", 5);
    if (uniform) expect_forms(K<T>::uni_user(), site, user_want, user(ends), what + " uniform user-defined", 5);
    // Sorted sites in two calls, the running index carried from one to the next (NaN sites anywhere).
    std::sort(site.begin(), site.end(), [](T a, T b) { return a < b || (!std::isnan(a) && std::isnan(b)); });
    std::rotate(site.begin() + n / 3, site.end() - 1, site.end());  // a NaN amid them
    for (int64_t i = 0; i < n; ++i) want[i] = reference(x, site[i]);
    const int64_t half = n / 2;
    expect_forms(K<T>::sorted(), site, want, [&](auto kernel, auto cell) {
        std::remove_pointer_t<decltype(cell)> start = 0;
        const int32_t status = kernel(nx, x.data(), half, site.data(), &start, cell) |
                               kernel(nx, x.data(), n - half, site.data() + half, &start, cell + half);
        int64_t last = 0;
        for (int64_t i = 0; i < n; ++i) last = (site[i] == x.back() || std::isnan(site[i])) ? last : want[i];
        EXPECT_EQ(int64_t(start), last) << what << " running index";
        return status;
    }, what + " sorted");
}

// Sites of a partition [x[0], x[nx-1]]: every breakpoint, random points of
// the grid `step` within and around it, the ends' neighbours, NaN last.
template <class T>
std::vector<T> sites_for(const std::vector<T>& x, T step, int64_t random, std::mt19937_64& rng) {
    std::vector<T> site(x);
    const T lo = x[0] - 4 * step, hi = x.back() + 4 * step;
    std::uniform_int_distribution<int64_t> k(0, int64_t((hi - lo) / step));
    for (int64_t i = 0; i < random; ++i) site.push_back(lo + T(k(rng)) * step);
    const T inf = std::numeric_limits<T>::infinity();
    for (T t : {x[0] - step, std::nextafter(x[0], -inf), std::nextafter(x.back(), inf), x.back() + 1e6f * step, inf,
                -inf, std::numeric_limits<T>::max()})
        site.push_back(t);
    std::shuffle(site.begin(), site.end(), rng);
    site.push_back(std::numeric_limits<T>::quiet_NaN());
    return site;
}

template <class T>
void expect_uniform_and_not() {
    std::mt19937_64 rng(7);
    // Even spacing on a binary grid, so that the uniform formula is exact: -4 + i/4 and -4 + i/1024.
    for (int64_t nx : {2, 3, 33, 1000, (1 << 20) + 1}) {
        const T step = nx > 1000 ? T(1) / 1024 : T(0.25);
        std::vector<T> x(nx);
        for (int64_t i = 0; i < nx; ++i) x[i] = T(-4) + T(i) * step;
        std::vector<T> site = sites_for(x, step / 4, nx > 1000 ? 3000 : 4 * nx + 50, rng);
        if (nx > 1000) site.erase(site.begin() + 2000, site.end() - 1);  // keep the large case quick
        expect_all(x, site, true, rng);
    }
    // Strongly non-uniform: gaps spread over six decades, crowded and empty bins.
    for (int64_t nx : {2, 5, 100, 20000}) {
        std::vector<T> x(nx);
        std::exponential_distribution<double> gap(1.0);
        for (int64_t i = 1; i < nx; ++i) x[i] = x[i - 1] + T(1e-3 + std::pow(gap(rng), 6));
        expect_all(x, sites_for(x, (x.back() - x[0]) / T(3000), 3000, rng), false, rng);
    }
}

}  // namespace

TEST(FitSearch, EveryStrategyAndFormFollowsTheCellRule) {
    expect_uniform_and_not<float>(), expect_uniform_and_not<double>();
}

TEST(FitSearch, SortedWalkNeverGoesDown) {  // from nx nothing is found; a smaller site keeps the last cell
    const double x[5] = {0, 1, 2, 3, 4}, site[3] = {2.5, 0.5, 1.5};
    int64_t start = 5, cell[3];
    EXPECT_TRUE(qor_kp_kernel_dKPSortedSearch1D64(5, x, 1, site, &start, cell) == 0 && cell[0] == 5 && start == 5);
    start = 0;
    EXPECT_TRUE(qor_kp_kernel_dKPSortedSearch1D64(5, x, 3, site, &start, cell) == 0 && cell[1] == 3 && cell[2] == 3);
}

TEST(FitSearch, UserDefinedStatusesAndFinalCells) {
    const float x[4] = {0, 1, 2, 3}, site[3] = {0.5f, 1, 2};
    for (int32_t result : {1000, -9, 0}) {
        Suggestions s{site, {12345, 1, 2}, result};  // 1000: even 12345 is final; -9: nothing written
        int32_t flag[3] = {}, cell[3] = {-7, -7, -7};
        EXPECT_EQ(qor_kp_kernel_sKPUserDefSearch1D32(4, x, 3, site, suggest<float>, {{&s, nullptr}}, flag, cell),
                  result == 1000 ? 0 : result);
        // Result 0: site 0 is flagged final, sites 1 and 2 at x[c] keep c (the refinement's tie).
        const auto want = result < 0 ? std::vector<int32_t>{-7, -7, -7} : std::vector<int32_t>{12345, 1, 2};
        EXPECT_EQ(std::vector<int32_t>(cell, cell + 3), want) << result;
    }
}

TEST(FitSearch, EntryChecksTheTaskAndPicksByHints) {
    const double x[6] = {0, 1, 2, 4, 8, 16}, ends[2] = {0, 15}, peak = 3;
    std::vector<double> site = {-1, 0, 0.5, 1, 3, 8, 9, 15, 16, 17};
    site.resize(39, 5.0);
    site.push_back(std::nan(""));
    FitTask* t = nullptr;
    int64_t cell[40];
    EXPECT_EQ(qor_kp_kernel_dKPSearch1D(nullptr, 0, 1, site.data(), 0, nullptr, cell), statusNullTask);
    ASSERT_EQ(qor_kp_kernel_dNewTask1D(&t, 6, x, 1, 0, nullptr, 0, 1), 0);
    EXPECT_EQ(qor_kp_kernel_dKPSearch1D(t, 0, -1, site.data(), 0, nullptr, cell), statusBadIndex);
    EXPECT_EQ(qor_kp_kernel_dKPSearch1D(t, 0, 3, site.data(), 0, nullptr, nullptr), statusNullOutput);
    EXPECT_EQ(qor_kp_kernel_sKPSearch1D(t, 0, 3, nullptr, 0, nullptr, cell), statusUnsupportedMethod);
    EXPECT_EQ(qor_kp_kernel_dKPSearch1D(t, 0, 0, nullptr, 0, nullptr, nullptr), 0);
    const std::vector<double> xs(x, x + 6), even = {0, 3, 6, 9, 12, 15};  // the uniform partition of ends
    for (int64_t xhint : {0, 1, 2, 4})
        for (int64_t hint : {0, 4, 64, 64 + 1}) {  // 65 has no dataHint: the partition decides
            ASSERT_EQ(qor_kp_kernel_iEditVal(t, attrPartitionHint, xhint), 0);
            if (xhint == 4) { ASSERT_EQ(qor_kp_kernel_dEditPtr(t, attrBreakpoints, ends), 0); }
            std::vector<double> s = site;
            if (hint == 4) std::sort(s.begin(), s.end() - 1);
            for (uint32_t width : {0u, 1u}) {
                t->indexWidth = width;
                std::fill(cell, cell + 40, -7);
                ASSERT_EQ(qor_kp_kernel_dKPSearch1D(t, 0, 40, s.data(), hint, hint == 64 ? &peak : nullptr, cell), 0);
                for (int i = 0; i < 40; ++i)
                    EXPECT_EQ(width ? cell[i] : ((int32_t*)cell)[i], reference(xhint == 4 ? even : xs, s[i]))
                        << "xhint " << xhint << " hint " << hint << " site " << s[i];
            }
            if (xhint == 4) { ASSERT_EQ(qor_kp_kernel_dEditPtr(t, attrBreakpoints, x), 0); }
        }
    int64_t* table = t->binTable;  // a task without a table (hint edited from 4) bisects the whole partition
    t->binTable = nullptr;
    t->indexWidth = 0;
    ASSERT_EQ(qor_kp_kernel_iEditVal(t, attrPartitionHint, 0), 0);
    ASSERT_EQ(qor_kp_kernel_dKPSearch1D(t, 0, 40, site.data(), 0, nullptr, cell), 0);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(reinterpret_cast<int32_t*>(cell)[i], reference(xs, site[i])) << site[i];
    t->binTable = table;
    qor_kp_kernel_DeleteTask(&t);
}
