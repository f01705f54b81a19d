// qor for C++: summary statistics over a span of observations.
//
//   std::vector<double> x = {...};                 // p variables of n observations
//   qor::stats::task<double> t(x, p);              // variables in rows
//   auto m = t.moments();                          // m.mean[i], m.variance[i], ...
//   auto q = t.quantiles(std::vector<double>{0.25, 0.5, 0.75});   // q[i*3 + j]
//
// The task refers to the observations (and weights), which must outlive it;
// it owns the C task and frees it.  Results come back as vectors with one
// entry per variable.  Failed calls throw qor::error with the C status.
#ifndef QOR_STATS_HPP
#define QOR_STATS_HPP

#include <cstdint>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "error.hpp"
#include "qor.h"

namespace qor::stats {

enum class layout : std::int64_t {
    variables_in_rows = SS_OBS_VARIABLES_IN_ROWS,       // p rows of n observations
    observations_in_rows = SS_OBS_OBSERVATIONS_IN_ROWS  // n rows of p values
};

template <class T>
struct moment_summary {
    std::vector<T> mean, variance, skewness, kurtosis;  // variance unbiased, kurtosis excess
};

namespace detail {
// The C calls of one precision.
template <class T> struct calls;
#define QOR_SS_CXX_CALLS(T, pre)                                                     \
    template <> struct calls<T> {                                                    \
        static constexpr auto new_task = qor_##pre##_new_task;                       \
        static constexpr auto edit_task = qor_##pre##_edit_task;                     \
        static constexpr auto edit_moments = qor_##pre##_edit_moments;               \
        static constexpr auto edit_quantiles = qor_##pre##_edit_quantiles;           \
        static constexpr auto basic = qor_##pre##_basic;                             \
        static constexpr auto quantiles = qor_##pre##_quantiles;                     \
        static constexpr auto minmax = qor_##pre##_minmax;                           \
    };
QOR_SS_CXX_CALLS(double, dss)
QOR_SS_CXX_CALLS(float, sss)
#undef QOR_SS_CXX_CALLS
}  // namespace detail

template <class T>
class task {
    static_assert(std::is_same_v<T, double> || std::is_same_v<T, float>, "tasks are of float or double");
    using c = detail::calls<T>;

public:
    // p variables over x, x.size() a multiple of p; weights, when given, one
    // per observation.
    task(std::span<const T> x, std::int64_t p, layout l = layout::variables_in_rows,
         std::span<const T> weights = {})
        : d_(std::make_unique<dims>()) {
        if (p < 1) throw error(QOR_FAMILY_STATS, SS_ERR_DIM, "dimension below 1");
        if (x.empty() || x.size() % static_cast<std::size_t>(p) != 0)
            throw qor::error(QOR_FAMILY_STATS, SS_ERR_OBS_COUNT, "observations: " + std::to_string(x.size()) +
                                                   " values do not form a whole number of " +
                                                   std::to_string(p) + "-variable observations");
        d_->p = p;
        d_->n = static_cast<std::int64_t>(x.size()) / p;
        d_->storage = static_cast<std::int64_t>(l);
        if (!weights.empty()) qor::detail::check_sizes(QOR_FAMILY_STATS, weights.size(), static_cast<std::size_t>(d_->n), SS_ERR_WEIGHTS, "weights and observations");
        qor::detail::check(QOR_FAMILY_STATS, c::new_task(&t_, &d_->p, &d_->n, &d_->storage, x.data(),
                                       weights.empty() ? nullptr : weights.data(), nullptr));
    }
    task(task&& other) noexcept : d_(std::move(other.d_)), t_(std::exchange(other.t_, nullptr)) {}
    task& operator=(task&& other) noexcept {
        if (this != &other) {
            reset();
            d_ = std::move(other.d_);
            t_ = std::exchange(other.t_, nullptr);
        }
        return *this;
    }
    task(const task&) = delete;
    task& operator=(const task&) = delete;
    ~task() { reset(); }

    std::int64_t variables() const { return d_->p; }
    std::int64_t observations() const { return d_->n; }

    // Mean, unbiased variance, skewness and excess kurtosis of each variable.
    moment_summary<T> moments() {
        const std::size_t p = static_cast<std::size_t>(d_->p);
        moment_summary<T> m{std::vector<T>(p), std::vector<T>(p), std::vector<T>(p), std::vector<T>(p)};
        std::vector<T> raw(3 * p), central3(p), central4(p);
        qor::detail::check(QOR_FAMILY_STATS, c::edit_moments(t_, m.mean.data(), raw.data(), raw.data() + p, raw.data() + 2 * p,
                                           m.variance.data(), central3.data(), central4.data()));
        qor::detail::check(QOR_FAMILY_STATS, c::edit_task(t_, SS_PARAM_SKEWNESS, m.skewness.data()));
        qor::detail::check(QOR_FAMILY_STATS, c::edit_task(t_, SS_PARAM_KURTOSIS, m.kurtosis.data()));
        start_over();
        qor::detail::check(QOR_FAMILY_STATS, c::basic(t_, SS_EST_MEAN | SS_EST_CENTRAL_MOMENT2 | SS_EST_SKEWNESS | SS_EST_KURTOSIS,
                                    SS_METHOD_OBS_1));
        return m;
    }

    // Quantiles of every variable at the orders (each in [0, 1]): entry
    // v * orders.size() + j is variable v's quantile of order j.
    std::vector<T> quantiles(std::span<const T> orders) {
        std::vector<T> q(orders.begin(), orders.end());
        std::vector<T> out(static_cast<std::size_t>(d_->p) * orders.size());
        const std::int64_t m = static_cast<std::int64_t>(orders.size());
        qor::detail::check(QOR_FAMILY_STATS, c::edit_quantiles(t_, &m, q.data(), out.data(), nullptr, nullptr));
        qor::detail::check(QOR_FAMILY_STATS, c::quantiles(t_, SS_EST_QUANTILES, SS_METHOD_OBS_1));
        return out;
    }

    // Smallest and largest observation of each variable.
    std::pair<std::vector<T>, std::vector<T>> min_max() {
        std::vector<T> lo(static_cast<std::size_t>(d_->p)), hi(lo.size());
        qor::detail::check(QOR_FAMILY_STATS, c::edit_task(t_, SS_PARAM_MIN, lo.data()));
        qor::detail::check(QOR_FAMILY_STATS, c::edit_task(t_, SS_PARAM_MAX, hi.data()));
        start_over();
        qor::detail::check(QOR_FAMILY_STATS, c::minmax(t_, SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1));
        return {std::move(lo), std::move(hi)};
    }

    // The C task, for calls the C++ layer does not wrap; it stays owned.
    qor_ss_task* get() const noexcept { return t_; }

private:
    // What the C task points to, at a fixed address across moves.
    struct dims {
        std::int64_t p = 0, n = 0, storage = 0;
        T accumulated[2] = {0, 0};
    };

    // Each result of this class is of the whole data set: the accumulated
    // weights start from zero.
    void start_over() {
        d_->accumulated[0] = d_->accumulated[1] = 0;
        qor::detail::check(QOR_FAMILY_STATS, c::edit_task(t_, SS_PARAM_ACC_WEIGHTS, d_->accumulated));
    }
    void reset() noexcept {
        if (t_) qor_ss_delete_task(&t_);
    }

    std::unique_ptr<dims> d_;
    qor_ss_task* t_ = nullptr;
};

}  // namespace qor::stats

#endif
