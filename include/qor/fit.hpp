// qor for C++: one-dimensional splines.
//
//   std::vector<double> x = {0, 1, 2, 3}, y = {0, 1, 0, 1};
//   qor::fit::spline<double> s(x, y, qor::fit::kind::natural_cubic);
//   std::vector<double> t = {0.5, 1.5}, v(2);
//   s.interpolate(t, v);                 // values at the sites
//   s.interpolate(t, v, 1);              // first derivatives
//   double area = s.integrate(0.0, 3.0);
//
// A spline keeps its own copies of the breakpoints and values, and its
// coefficients, so the caller's arrays may go away after construction.
// Failed calls throw qor::error with the C status.
#ifndef QOR_FIT_HPP
#define QOR_FIT_HPP

#include <cstdint>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "error.hpp"
#include "qor.h"

namespace qor::fit {

// Kinds of spline this layer builds from values alone: linear, and cubic
// ones with a free end (second derivative 0) at both ends; Bessel, Akima and
// Hyman set their end derivatives themselves.
enum class kind : int {
    linear = QOR_FIT_LINEAR,
    natural_cubic = QOR_FIT_NATURAL_CUBIC,
    bessel_cubic = QOR_FIT_BESSEL_CUBIC,
    hyman_cubic = QOR_FIT_HYMAN_CUBIC,
    akima_cubic = QOR_FIT_AKIMA_CUBIC
};

namespace detail {
template <class T> struct calls;
#define QOR_FIT_CXX_CALLS(T, pre)                                         \
    template <> struct calls<T> {                                         \
        static constexpr auto new_task = qor_##pre##_new_task;            \
        static constexpr auto edit_pp_spline = qor_##pre##_edit_pp_spline; \
        static constexpr auto construct = qor_##pre##_construct;          \
        static constexpr auto search = qor_##pre##_search;                \
        static constexpr auto interpolate = qor_##pre##_interpolate;      \
        static constexpr auto integrate = qor_##pre##_integrate;          \
    };
QOR_FIT_CXX_CALLS(double, dfit)
QOR_FIT_CXX_CALLS(float, sfit)
#undef QOR_FIT_CXX_CALLS
}  // namespace detail

template <class T>
class spline {
    static_assert(std::is_same_v<T, double> || std::is_same_v<T, float>, "splines are of float or double");
    using c = detail::calls<T>;

public:
    // Through the points (x[i], y[i]), x ascending, at least two points.
    spline(std::span<const T> x, std::span<const T> y, kind k = kind::natural_cubic)
        : d_(std::make_unique<data>()) {
        qor::detail::check_sizes(QOR_FAMILY_FIT, x.size(), y.size(), statusBadFunctionValues, "breakpoints and values");
        d_->x.assign(x.begin(), x.end());
        d_->y.assign(y.begin(), y.end());
        const std::int64_t nx = static_cast<std::int64_t>(x.size());
        order_ = k == kind::linear ? 2 : 4;
        d_->coeff.resize(static_cast<std::size_t>(order_) * (x.size() > 1 ? x.size() - 1 : 0));
        qor::detail::check(QOR_FAMILY_FIT, c::new_task(&t_, nx, d_->x.data(), hintPartitionNonUniform, 1, d_->y.data(),
                                       hintValuesDefault));
        const std::int64_t bc = k == kind::linear || k == kind::akima_cubic ? 0 : bcFreeEnd;
        qor::detail::check(QOR_FAMILY_FIT,
            c::edit_pp_spline(t_, order_, 0, bc, nullptr, 0, nullptr, d_->coeff.data(), hintValuesDefault));
        qor::detail::check(QOR_FAMILY_FIT, c::construct(t_, static_cast<int>(k), 0));
    }
    spline(spline&& other) noexcept
        : d_(std::move(other.d_)), t_(std::exchange(other.t_, nullptr)), order_(other.order_) {}
    spline& operator=(spline&& other) noexcept {
        if (this != &other) {
            reset();
            d_ = std::move(other.d_);
            t_ = std::exchange(other.t_, nullptr);
            order_ = other.order_;
        }
        return *this;
    }
    spline(const spline&) = delete;
    spline& operator=(const spline&) = delete;
    ~spline() { reset(); }

    // The spline's derivative of the given order (0: its value) at each site.
    void interpolate(std::span<const T> sites, std::span<T> out, int derivative = 0) const {
        qor::detail::check_sizes(QOR_FAMILY_FIT, sites.size(), out.size(), statusBadSiteCount, "sites and results");
        if (derivative < 0) throw error(QOR_FAMILY_FIT, statusBadDerivativeOrder, "negative derivative order");
        if (sites.empty()) return;
        std::vector<std::int64_t> flags(static_cast<std::size_t>(derivative) + 1, 0);
        flags.back() = 1;
        qor::detail::check(QOR_FAMILY_FIT, c::interpolate(t_, computeValues, 0, static_cast<std::int64_t>(sites.size()),
                                          sites.data(), hintSitesAny, static_cast<std::int64_t>(flags.size()),
                                          flags.data(), nullptr, out.data(), hintResultByFunction, nullptr));
    }
    std::vector<T> operator()(std::span<const T> sites, int derivative = 0) const {
        std::vector<T> out(sites.size());
        interpolate(sites, out, derivative);
        return out;
    }
    T operator()(T site, int derivative = 0) const {
        T out{};
        interpolate(std::span<const T>(&site, 1), std::span<T>(&out, 1), derivative);
        return out;
    }

    // The cell of each site: the number of breakpoints not above it (the
    // last breakpoint itself closes the last interval).
    void cells(std::span<const T> sites, std::span<std::int64_t> out) const {
        qor::detail::check_sizes(QOR_FAMILY_FIT, sites.size(), out.size(), statusBadSiteCount, "sites and cells");
        if (sites.empty()) return;
        qor::detail::check(QOR_FAMILY_FIT, c::search(t_, 0, static_cast<std::int64_t>(sites.size()), sites.data(), hintSitesAny,
                                     nullptr, out.data()));
    }

    // The integral from a to b (negative when b is below a).
    T integrate(T a, T b) const {
        T r{};
        qor::detail::check(QOR_FAMILY_FIT, c::integrate(t_, 0, 1, &a, hintSitesAny, &b, hintSitesAny, nullptr, nullptr, &r,
                                        hintResultByFunction));
        return r;
    }

    // Coefficients: `order` per interval, lowest power first, in powers of
    // (t - x[i]) on interval i.
    std::span<const T> coefficients() const { return d_->coeff; }
    int order() const { return static_cast<int>(order_); }

    // The C task, for calls the C++ layer does not wrap; it stays owned.
    qor_fit_task* get() const noexcept { return t_; }

private:
    // What the C task points to, at a fixed address across moves.
    struct data {
        std::vector<T> x, y, coeff;
    };
    void reset() noexcept {
        if (t_) qor_fit_delete_task(&t_);
    }

    std::unique_ptr<data> d_;
    qor_fit_task* t_ = nullptr;
    std::int64_t order_ = 0;
};

}  // namespace qor::fit

#endif
