// The weighted median against a sort-based reference, and streaming
// quantiles against the exact ranks of everything fed so far.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "basic_support.h"
#include "qor/qor_ss.h"

namespace {

using ss_test::kFourThreads;

// A one-precision task over p variables of n observations, variables in rows.
template <class T>
struct Task {
    int64_t p, n, storage = SS_OBS_VARIABLES_IN_ROWS;
    std::vector<T> obs, weights, out;
    SSTask* task = nullptr;
    Task(int64_t p_, std::vector<T> x, std::vector<T> w = {})
        : p(p_), n(int64_t(x.size()) / p_), obs(std::move(x)), weights(std::move(w)), out(p, T(-7)) {
        if constexpr (sizeof(T) == 8)
            __rixdSSNewTask(&task, &p, &n, &storage, obs.data(), weights.empty() ? nullptr : weights.data(), nullptr, 1);
        else
            __rixsSSNewTask(&task, &p, &n, &storage, obs.data(), weights.empty() ? nullptr : weights.data(), nullptr, 1);
        task->quantiles = out.data();
    }
    ~Task() { __rixSSDeleteTask(&task); }
    int32_t wmedian(uint64_t est = SS_EST_WEIGHTED_MEDIAN, int method = SS_METHOD_OBS_1) {
        return sizeof(T) == 8 ? _rixdSSWMedian(task, est, method, &kFourThreads)
                              : _rixsSSWMedian(task, est, method, &kFourThreads);
    }
};

// By definition on sorted (value, weight) pairs of positive weight.
double reference_wmedian(const std::vector<double>& x, const std::vector<double>& w) {
    std::vector<std::pair<double, double>> a;
    double total = 0;
    for (size_t i = 0; i < x.size(); ++i)
        if (w[i] > 0) a.push_back({x[i], w[i]}), total += w[i];
    std::sort(a.begin(), a.end());
    double c = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        c += a[i].second;
        if (i + 1 < a.size() && a[i + 1].first == a[i].first) continue;
        if (c > total / 2 || i + 1 == a.size()) return a[i].first;
        if (c == total / 2) return (a[i].first + a[i + 1].first) / 2;
    }
    return NAN;
}

}  // namespace

TEST(WeightedMedian, SmallKnownAnswers) {
    const std::vector<double> x = {4, 1, 3, 2};
    struct Case { std::vector<double> w; double want; };
    const Case cases[] = {{{1, 1, 1, 1}, 2.5}, {{5, 1, 1, 1}, 4}, {{1, 3, 1, 1}, 1.5},
                          {{1, 0, 1, -2}, 3.5}, {{0, 0, 0, 0}, NAN}, {{}, 2.5}};
    for (const Case& c : cases) {
        Task<double> t(1, x, c.w);
        ASSERT_EQ(t.wmedian(), 0);
        if (std::isnan(c.want)) EXPECT_TRUE(std::isnan(t.out[0]));
        else EXPECT_EQ(t.out[0], c.want);
    }
}

template <class T>
void check_against_sorting() {
    std::mt19937_64 g(11);
    for (int64_t n : {1, 2, 30, 5001})
        for (int kind = 0; kind < 3; ++kind) {  // distinct values; ties; ties and integer weights
            std::vector<T> x(3 * n), w(n);
            for (auto& v : x) v = kind == 0 ? T(std::normal_distribution<double>()(g)) : T(g() % 9);
            for (auto& v : w) v = kind == 2 ? T(g() % 4) : T(std::uniform_real_distribution<double>(0, 2)(g));
            Task<T> t(3, x, w);
            ASSERT_EQ(t.wmedian(), 0);
            for (int64_t v = 0; v < 3; ++v) {
                std::vector<double> xv(x.begin() + v * n, x.begin() + v * n + n), wv(w.begin(), w.end());
                const double want = T(reference_wmedian(xv, wv));  // NaN: no positive weight
                ASSERT_TRUE(double(t.out[v]) == want || (std::isnan(want) && std::isnan(t.out[v]))) << n << " " << kind;
            }
        }
}
TEST(WeightedMedian, AgreesWithSortingInBothPrecisions) {
    check_against_sorting<double>();
    check_against_sorting<float>();
}

TEST(WeightedMedian, StatusPathsWriteNothing) {
    Task<double> t(2, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(t.wmedian(SS_EST_WEIGHTED_MEDIAN, SS_METHOD_OBS_2), SS_ERR_METHOD);
    t.storage = 0x30000;
    EXPECT_EQ(t.wmedian(), SS_ERR_OBS_STORAGE);
    t.storage = SS_OBS_VARIABLES_IN_ROWS, t.task->quantiles = nullptr;
    EXPECT_EQ(t.wmedian(), SS_ERR_QUANTILES);
    EXPECT_EQ(t.out, (std::vector<double>{-7, -7}));
}

namespace {

// A stream task over p variables whose observations are refilled per call.
template <class T>
struct Stream : Task<T> {
    int64_t m, one = 1;
    std::vector<T> orders, results;
    T eps;
    Stream(int64_t p, int64_t n, std::vector<T> q, T eps_) : Task<T>(p, std::vector<T>(p * n)), m(int64_t(q.size())),
          orders(std::move(q)), results(p * m, T(-7)), eps(eps_) {
        SSTask* t = this->task;
        t->sq_order_count = &m, t->sq_orders = orders.data(), t->sq_quantiles = results.data();
        t->sq_param_count = &one, t->sq_params = &eps;
    }
    int32_t run(int method = SS_METHOD_STREAM_1) {
        return sizeof(T) == 8 ? _rixdSSStreamQuantiles(this->task, SS_EST_STREAM_QUANTILES, method, &kFourThreads)
                              : _rixsSSStreamQuantiles(this->task, SS_EST_STREAM_QUANTILES, method, &kFourThreads);
    }
};

// Feeds portions of heavy-tailed values with ties; after each checkpoint
// every result's rank among all values so far is within eps*n of q(n-1),
// and while the sketch holds everything it is the exact quantile rule.
template <class T>
void check_stream(T eps, int64_t portion, int calls) {
    const int64_t p = 2;
    Stream<T> s(p, portion, {0, T(0.01), T(0.25), T(0.5), T(0.9), 1}, eps);
    std::mt19937_64 g(5);
    std::vector<std::vector<T>> seen(p);
    for (int c = 1; c <= calls; ++c) {
        for (int64_t v = 0; v < p; ++v)
            for (int64_t i = 0; i < portion; ++i) {
                const T x = v == 0 ? T(std::cauchy_distribution<double>()(g)) : T(g() % 100);
                s.obs[v * portion + i] = x, seen[v].push_back(x);
            }
        ASSERT_EQ(s.run(), 0);
        if (c % 10 != 1) continue;
        for (int64_t v = 0; v < p; ++v) {
            std::vector<T> sorted = seen[v];
            std::sort(sorted.begin(), sorted.end());
            const double n = double(sorted.size());
            for (int64_t j = 0; j < s.m; ++j) {
                const T y = s.results[v * s.m + j];
                const double target = double(s.orders[j]) * (n - 1);
                if (n < 24 / double(eps)) {  // exact while no compaction has happened
                    const double h = target, f = h - std::floor(h);
                    const size_t k = size_t(h), k1 = std::min(k + 1, sorted.size() - 1);
                    EXPECT_EQ(y, f == 0 ? sorted[k] : T(sorted[k] + (double(sorted[k1]) - sorted[k]) * f));
                    continue;
                }
                const double less = double(std::lower_bound(sorted.begin(), sorted.end(), y) - sorted.begin());
                const double upto = double(std::upper_bound(sorted.begin(), sorted.end(), y) - sorted.begin());
                EXPECT_GE(target, less - double(eps) * n) << c << " " << j;
                EXPECT_LE(target, upto - 1 + double(eps) * n) << c << " " << j;
            }
        }
    }
}
TEST(StreamQuantiles, WithinEpsOfTheExactRanksOverManyCalls) {
    check_stream<double>(0.01, 4000, 41);
    check_stream<double>(0.001, 1000, 31);
    check_stream<float>(0.02, 3000, 21);
}

TEST(StreamQuantiles, SecondMethodRestartsAndNoNewObservationsKeepsTheStream) {
    Stream<double> s(1, 5, {0.5, 1}, 0.05);
    s.obs = {9, 8, 7, 6, 5};
    ASSERT_EQ(s.run(), 0);
    s.n = 0;  // no observations: the same estimates again
    ASSERT_EQ(s.run(), 0);
    EXPECT_EQ(s.results, (std::vector<double>{7, 9}));
    s.n = 4, s.obs = {1, 2, 3, 4};
    ASSERT_EQ(s.run(SS_METHOD_STREAM_2), 0);
    EXPECT_EQ(s.results, (std::vector<double>{2.5, 4}));
}

TEST(StreamQuantiles, EntryChecksInTheirOrderWriteNothing) {
    using S = Stream<double>;
    struct Case { int32_t status; void (*edit)(S&); int method; };
    const Case cases[] = {
        {SS_ERR_OBS_COUNT, [](S& s) { s.n = -1; }, 64},
        {SS_ERR_OBS, [](S& s) { s.task->obs = nullptr, s.task->sq_quantiles = nullptr; }, 64},
        {SS_ERR_STORAGE, [](S& s) { s.task->obs_storage = nullptr; }, 64},
        {SS_ERR_OBS_STORAGE, [](S& s) { s.storage = 0x40000; }, 64},
        {SS_ERR_SQ_QUANTILES, [](S& s) { s.n = 0, s.task->obs = nullptr, s.task->sq_quantiles = nullptr; }, 64},
        {SS_ERR_SQ_ORDERS, [](S& s) { s.task->sq_orders = nullptr, s.m = -1; }, 64},
        {SS_ERR_SQ_ORDER_COUNT, [](S& s) { s.m = -1, s.task->sq_param_count = nullptr; }, 64},
        {SS_ERR_SQ_PARAM_COUNT_PTR, [](S& s) { s.task->sq_param_count = nullptr, s.orders[0] = 2; }, 64},
        {SS_ERR_SQ_PARAM_COUNT, [](S& s) { s.one = 2, s.orders[0] = 2; }, 64},
        {SS_ERR_SQ_ORDER_COUNT, [](S& s) { s.orders[1] = -0.5, s.task->sq_params = nullptr; }, 64},
        {SS_ERR_SQ_PARAMS, [](S& s) { s.task->sq_params = nullptr; }, 0},
        {SS_ERR_METHOD, [](S&) {}, 1},
        {SS_ERR_SQ_PARAMS, [](S& s) { s.eps = 0; }, 64},
        {SS_ERR_NO_MEMORY, [](S& s) { s.eps = 1e-12; }, 64},
    };
    for (const Case& c : cases) {
        S s(1, 3, {0.5, 1}, 0.1);
        c.edit(s);
        EXPECT_EQ(s.run(c.method), c.status);
        EXPECT_EQ(s.results, (std::vector<double>{-7, -7})) << c.status;
    }
}

}  // namespace
