// Order-based estimators: sort, selection, quantiles and order statistics,
// median and mean absolute deviations, against std::sort and direct formulas.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "basic_support.h"
#include "qor/qor_ss.h"

namespace {

using ss_test::kFourThreads;
enum { kQuantiles, kSort, kMad };
const double kInf = std::numeric_limits<double>::infinity(), kNaN = std::numeric_limits<double>::quiet_NaN();

// The documented order: -0 before +0, every NaN last.
template <class T>
bool ordered_before(T a, T b) {
    if (std::isnan(a) || std::isnan(b)) return !std::isnan(a) && std::isnan(b);
    return a < b || (a == b && std::signbit(a) && !std::signbit(b));
}

template <class T>
std::vector<T> reference_sorted(std::vector<T> v) {
    std::stable_sort(v.begin(), v.end(), ordered_before<T>);
    return v;
}
// Variable var of p variables of n values each, stored one after another.
template <class T>
std::vector<T> variable(const std::vector<T>& v, int64_t i, int64_t n) { return {v.begin() + i * n, v.begin() + i * n + n}; }
template <class T>
bool same_value(T a, T b) { return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0; }

// Random values, many ties, or a mix of every special value.
template <class T>
std::vector<T> make_values(int64_t n, int kind, unsigned seed) {
    std::mt19937_64 g(seed);
    std::normal_distribution<double> normal(0, 1e3);
    const double specials[] = {kInf, -kInf, kNaN, -kNaN, 0.0, -0.0, 1e-310, -1e-310, 2.5, -2.5};
    std::vector<T> v(n);
    for (auto& x : v)
        x = kind == 0 ? T(normal(g)) : kind == 1 ? T(double(g() % 5) - 2) : T(specials[g() % 10]);
    return v;
}

// A task over p variables of n observations with 64-bit integers.
template <class T>
struct OrderTask {
    static constexpr bool kDouble = sizeof(T) == 8;
    int64_t p, n, storage, m = 0, stats_storage = SS_OBS_VARIABLES_IN_ROWS, sorted_storage = SS_OBS_VARIABLES_IN_ROWS;
    std::vector<T> obs, weights, orders, quantiles, stats, sorted, mad, meanad, mean;
    SSTask* task = nullptr;

    OrderTask(int64_t p_, const std::vector<T>& by_variable, bool variables_in_rows)
        : p(p_), n(int64_t(by_variable.size()) / p_), storage(variables_in_rows ? 0x10000 : 0x20000), obs(p * n) {
        for (int64_t i = 0; i < p; ++i)
            for (int64_t j = 0; j < n; ++j) obs[variables_in_rows ? i * n + j : j * p + i] = by_variable[i * n + j];
        stats.assign(p * n, T(-7)), sorted.assign(p * n, T(-7)), mad.assign(p, T(-7)), meanad.assign(p, T(-7));
        if constexpr (kDouble) EXPECT_EQ(__rixdSSNewTask(&task, &p, &n, &storage, obs.data(), nullptr, nullptr, 1), 0);
        else EXPECT_EQ(__rixsSSNewTask(&task, &p, &n, &storage, obs.data(), nullptr, nullptr, 1), 0);
        task->order_stats = stats.data(), task->order_stats_storage = &stats_storage;
        task->sorted = sorted.data(), task->sorted_storage = &sorted_storage;
        task->median_abs_dev = mad.data(), task->mean_abs_dev = meanad.data();
    }
    ~OrderTask() { __rixSSDeleteTask(&task); }
    void set_orders(std::vector<T> q) {
        orders = std::move(q), m = int64_t(orders.size()), quantiles.assign(p * m, T(-7));
        task->quant_orders = orders.data(), task->quant_order_count = &m, task->quantiles = quantiles.data();
    }
    T at(const std::vector<T>& a, int64_t layout, int64_t v, int64_t i) const {
        return a[layout & SS_OBS_VARIABLES_IN_ROWS ? v * n + i : i * p + v];
    }
    int32_t run(int entry, uint64_t est, int method) {
        static constexpr decltype(&_rixdSSSort) kEntries[2][3] = {{_rixsSSQuantiles, _rixsSSSort, _rixsSSMAD},
                                                                  {_rixdSSQuantiles, _rixdSSSort, _rixdSSMAD}};
        return kEntries[kDouble][entry](task, est, method, &kFourThreads);
    }
    std::vector<T> outputs() const {
        std::vector<T> all = quantiles;
        for (const auto* a : {&stats, &sorted, &mad, &meanad, &obs}) all.insert(all.end(), a->begin(), a->end());
        return all;
    }
};

// The quantile rule on sorted values, in double as the estimator computes it.
template <class T>
T rule(const std::vector<T>& x, double q) {
    const double h = q * double(x.size() - 1);
    const size_t k = size_t(h), k1 = std::min(k + 1, x.size() - 1);
    const double f = h - double(k), a = double(x[k]), b = double(x[k1]);
    return T(f == 0 || a == b ? a : a + (b - a) * f);  // the ends exact, also when infinite
}

double select(double* v, int64_t n, int64_t k) { return __rixdQSortSelect(v, n, k); }
float select(float* v, int64_t n, int64_t k) { return __rixsQSortSelect(v, n, k); }

}  // namespace

TEST(Sort, EveryLayoutSelectionAndInPlace) {
    const int64_t p = 3, n = 500;
    const std::vector<double> v = make_values<double>(p * n, 2, 7);
    for (int64_t in : {0x10000, 0x20000})
        for (int64_t out : {0x10000, 0x20000, 0x30000})
            for (int mode = 0; mode < 2; ++mode) {  // 0: variable 1 left out; 1: in place
                OrderTask<double> t(p, v, in == SS_OBS_VARIABLES_IN_ROWS);
                t.sorted_storage = mode == 1 ? in : out;
                const int64_t indices[3] = {1, 0, 1};
                if (mode == 0) t.task->indices = indices;
                else t.task->sorted = t.obs.data();
                ASSERT_EQ(t.run(kSort, 0, SS_METHOD_SORT), 0);
                const std::vector<double>& got = mode == 1 ? t.obs : t.sorted;
                for (int64_t var = 0; var < p; ++var) {
                    const std::vector<double> want = reference_sorted(variable(v, var, n));
                    for (int64_t i = 0; i < n; ++i)
                        ASSERT_TRUE(mode == 0 && var == 1 ? t.at(got, t.sorted_storage, var, i) == -7
                                                          : same_value(t.at(got, t.sorted_storage, var, i), want[i]));
                }
            }
}

// Sort of one variable, and selection of every place (of every n/7-th on
// large arrays), against std::sort; both keep the values.
template <class T>
void check_sort_and_select() {
    for (int64_t n : {1, 2, 3, 17, 40, 255, 2000, 100000})
        for (int kind = 0; kind < 3; ++kind) {
            const std::vector<T> v = make_values<T>(n, kind, unsigned(3 * n + kind)), want = reference_sorted(v);
            OrderTask<T> t(1, v, true);
            ASSERT_EQ(t.run(kSort, 0, SS_METHOD_SORT), 0);
            ASSERT_TRUE(std::equal(want.begin(), want.end(), t.sorted.begin(), same_value<T>)) << n << " " << kind;
            for (int64_t k = 0; k < n; k += n > 40 ? n / 7 + 1 : 1) {
                std::vector<T> w = v;
                ASSERT_TRUE(same_value(select(w.data(), n, k), want[k]));
                for (int64_t i = 0; i < n; ++i) ASSERT_FALSE(i < k ? ordered_before(w[k], w[i]) : ordered_before(w[i], w[k]));
                std::sort(w.begin(), w.end(), ordered_before<T>);
                ASSERT_TRUE(std::equal(w.begin(), w.end(), want.begin(), same_value<T>));
            }
        }
}
TEST(SortAndSelect, MatchStdSortWithNaNsLastAndNegativeZeroFirst) {
    check_sort_and_select<double>();
    check_sort_and_select<float>();
}

template <class T>
void check_quantiles() {
    const std::vector<T> orders = {T(0), T(-0.0), T(0.1), T(0.25), T(0.5), T(0.75), T(0.9), T(1)};
    for (int64_t n : {1, 2, 7, 8, 5000})
        for (int kind = 0; kind < 3; ++kind)
            for (bool rows : {true, false}) {
                const std::vector<T> v = make_values<T>(3 * n, kind, unsigned(n + kind));
                for (uint64_t est : {SS_EST_QUANTILES, SS_EST_QUANTILES | SS_EST_ORDER_STATS}) {
                    OrderTask<T> t(3, v, rows);
                    t.set_orders(orders);
                    t.stats_storage = rows ? SS_OBS_OBSERVATIONS_IN_ROWS : SS_OBS_VARIABLES_IN_ROWS;
                    ASSERT_EQ(t.run(kQuantiles, est, SS_METHOD_OBS_1), 0);
                    for (int64_t var = 0; var < 3; ++var) {
                        const auto want = reference_sorted(variable(v, var, n));
                        for (size_t j = 0; j < orders.size(); ++j)
                            ASSERT_TRUE(same_value(t.quantiles[var * t.m + j], rule(want, orders[j]))) << n << " " << j;
                        for (int64_t i = 0; i < n; ++i)
                            ASSERT_TRUE(est == SS_EST_QUANTILES ? t.at(t.stats, t.stats_storage, var, i) == -7
                                                                : same_value(t.at(t.stats, t.stats_storage, var, i), want[i]));
                    }
                }
            }
}
TEST(Quantiles, AgreeWithTheRuleOnSortedValuesBySelectionAndBySort) {
    check_quantiles<double>();
    check_quantiles<float>();
}

TEST(Quantiles, SmallExactCases) {
    OrderTask<double> four(1, {4, 1, 3, 2}, true), ten(1, {3, 9, -kInf, 0, 5, kInf, 1, 7, 2, 8}, true);
    four.set_orders({0.25, 0.5}), ten.set_orders({1.0, 0.0});
    for (auto* t : {&four, &ten}) ASSERT_EQ(t->run(kQuantiles, SS_EST_QUANTILES, SS_METHOD_OBS_1), 0);
    EXPECT_EQ(four.quantiles, (std::vector<double>{1.75, 2.5}));
    EXPECT_EQ(ten.quantiles, (std::vector<double>{kInf, -kInf}));  // x(9) and x(0), also when infinite
}

TEST(MAD, MedianAndMeanAbsoluteDeviationsByDefinition) {
    const int64_t p = 2;
    for (int64_t n : {1, 6, 1001})
        for (int method : {SS_METHOD_OBS_1, SS_METHOD_OBS_3})
            for (bool weighted : {false, true}) {
                const std::vector<double> v = make_values<double>(p * n, 0, unsigned(n));
                OrderTask<double> t(p, v, weighted);
                for (int64_t i = 0; i < n; ++i) t.weights.push_back(weighted ? 1 + i % 5 : 1);
                if (weighted) t.task->weights = t.weights.data();
                t.mean = {0.5, -40}, t.task->mean = t.mean.data();
                ASSERT_EQ(t.run(kMad, SS_EST_MEDIAN_ABS_DEV | SS_EST_MEAN_ABS_DEV, method), 0);
                for (int64_t var = 0; var < p; ++var) {
                    std::vector<double> x = variable(v, var, n), dev = x;
                    const double median = rule(reference_sorted(x), 0.5);
                    for (double& d : dev) d = std::fabs(d - median);
                    // The median part needs SS_METHOD_OBS_1; its pending status gives way to the mean part's.
                    EXPECT_EQ(t.mad[var], method == SS_METHOD_OBS_1 ? rule(reference_sorted(dev), 0.5) : -7);
                    long double w1 = 0, sum = 0, centre = 0;
                    for (int64_t i = 0; i < n; ++i) w1 += t.weights[i], centre += t.weights[i] * x[i];
                    centre = method == SS_METHOD_OBS_3 ? t.mean[var] : centre / w1;
                    for (int64_t i = 0; i < n; ++i) sum += t.weights[i] * std::fabs(x[i] - centre);
                    EXPECT_NEAR(t.meanad[var], double(sum / w1), 1e-13 * double(sum / w1));
                }
            }
}

TEST(OrderEntries, ChecksReturnTheirStatusAndWriteNothing) {
    using T = OrderTask<double>;
    const uint64_t q = SS_EST_QUANTILES, o = SS_EST_ORDER_STATS, med = SS_EST_MEDIAN_ABS_DEV, mean = SS_EST_MEAN_ABS_DEV;
    const int sort = SS_METHOD_SORT;  // every estimator checks in its own order
    struct Case { int entry; uint64_t est; int method; int32_t status; void (*edit)(T&); };
    static const int64_t indices[2] = {1, 1};
    const Case cases[] = {
        {kQuantiles, q, 1, -4001, [](T& t) { t.p = 0; }}, {kQuantiles, q, 1, -4002, [](T& t) { t.n = 0; }},
        {kQuantiles, q, 1, -4003, [](T& t) { t.storage = 0x40000; }},
        {kQuantiles, q, 1, -4023, [](T& t) { t.task->quantiles = nullptr; }},
        {kQuantiles, q, 1, -4021, [](T& t) { t.task->quant_orders = nullptr; }},
        {kQuantiles, q, 1, -4022, [](T& t) { t.task->quant_order_count = nullptr; }},
        {kQuantiles, q, 1, -4022, [](T& t) { t.m = -1; }},
        {kQuantiles, q, 1, -4022, [](T& t) { t.orders[1] = 1.0000001; }},
        {kQuantiles, q | o, 1, -4024, [](T& t) { t.task->order_stats = nullptr; }},
        {kQuantiles, o, 1, -4044, [](T& t) { t.task->order_stats_storage = nullptr; }},
        {kQuantiles, o, 1, -4003, [](T& t) { t.stats_storage = 0; }}, {kQuantiles, q, 2, -4029, [](T&) {}},
        {kQuantiles, q, 1, -4000, [](T& t) { t.n = int64_t{1} << 61; }},
        {kSort, 0, sort, -4084, [](T& t) { t.task->sorted = nullptr; }},
        {kSort, 0, sort, -4044, [](T& t) { t.task->sorted_storage = nullptr; }},
        {kSort, 0, sort, -4044, [](T& t) { t.task->sorted = t.obs.data(), t.sorted_storage = 0x20000; }},
        {kSort, 0, sort, -4085, [](T& t) { t.task->sorted = t.obs.data(), t.task->indices = indices; }},
        {kSort, 0, sort, -4003, [](T& t) { t.sorted_storage = 0x40000; }}, {kSort, 0, 1, -4029, [](T&) {}},
        {kSort, 0, sort, -4000, [](T& t) { t.n = int64_t{1} << 61; }},
        {kMad, med, 1, -4003, [](T& t) { t.storage = 0x30000; }},
        {kMad, med | mean, 1, -4082, [](T& t) { t.task->median_abs_dev = nullptr; }},
        {kMad, med | mean, 1, -4083, [](T& t) { t.task->mean_abs_dev = nullptr; }}, {kMad, mean, 2, -4029, [](T&) {}},
        {kMad, med | mean, 256, -4006, [](T&) {}}, {kMad, med, 256, -4029, [](T&) {}},
        {kMad, med, 1, -4000, [](T& t) { t.n = int64_t{1} << 61; }},
    };
    for (const Case& c : cases) {
        T t(2, make_values<double>(16, 0, 3), true);
        t.set_orders({-0.0, 0.5, 1.0});
        c.edit(t);
        const std::vector<double> before = t.outputs();
        EXPECT_EQ(t.run(c.entry, c.est, c.method), c.status) << c.entry << " " << c.status;
        EXPECT_EQ(std::memcmp(before.data(), t.outputs().data(), before.size() * 8), 0) << c.status;
    }
}
