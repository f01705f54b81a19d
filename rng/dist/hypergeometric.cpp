// Hypergeometric variates: the number of marked items in a sample of s
// items drawn without replacement from a lot of l items of which m are
// marked.  The problem is first reduced to n1 = min(m, l - m) marked among
// n1 + n2 = l, a sample of k = min(s, l - s), so that the count runs from 0
// to min(n1, k); the result is mapped back at the end.  Then, with M the
// mode:
//   M below 10  inversion by chop-down search from P(0), one uniform
//   M 10 up     H2PE, Kachitvichyanukul and Schmeiser's rectangle with
//               exponential tails ("Computer generation of hypergeometric
//               random variates", 1985): the rectangle spans the mode
//               +- 1.5 standard deviations at height f(M), the tails
//               decay at the pmf's own ratio at the rectangle's ends (the
//               pmf is log-concave, so they stay above it); a point is
//               accepted by the ratio f(y) / f(M), taken by its recurrence
//               near the mode and through ln-factorial ratios beyond.
#include <cmath>

#include "qor/qor_rng.h"
#include "rng/dist/log_factorial.h"
#include "rng/dist/uniform_source.h"

namespace {

using namespace qor::rng::dist;

constexpr double kH2peFrom = 10;
constexpr double kRecurrenceReach = 16;

class Hypergeometric {
public:
    Hypergeometric(int32_t l, int32_t s, int32_t m) : l_(l), s_(s), m_(m) {
        n1_ = m <= l - m ? m : l - m;
        n2_ = static_cast<double>(l) - n1_;
        k_ = s <= l - s ? s : l - s;
        const double tn = l;
        top_ = n1_ < k_ ? n1_ : k_;
        mode_ = std::floor((k_ + 1) * (n1_ + 1) / (tn + 2));
        h2pe_ = mode_ >= kH2peFrom;
        if (!h2pe_) {  // P(0) = C(n2, k) / C(tn, k)
            p0_ = std::exp(log_factorial_ratio(n2_, n2_ - k_) - log_factorial_ratio(tn, tn - k_));
            return;
        }
        const double sd = std::sqrt((tn - k_) * k_ * n1_ * n2_ / ((tn - 1) * tn * tn));
        const double d = std::floor(1.5 * sd) + 0.5;
        xl_ = mode_ - d + 0.5;
        xr_ = mode_ + d + 0.5;
        const double kl = std::exp(log_ratio(xl_)), kr = std::exp(log_ratio(xr_ - 1));
        lambda_l_ = -std::log(xl_ * (n2_ - k_ + xl_) / ((n1_ - xl_ + 1) * (k_ - xl_ + 1)));
        lambda_r_ = -std::log((n1_ - xr_ + 1) * (k_ - xr_ + 1) / (xr_ * (n2_ - k_ + xr_)));
        p1_ = 2 * d;
        p2_ = p1_ + kl / lambda_l_;
        p3_ = p2_ + kr / lambda_r_;
    }

    bool draw(UniformSource& source, int32_t& x) const {
        double y;
        if (top_ == 0) {
            y = 0;
        } else if (!(h2pe_ ? h2pe(source, y) : chop_down(source, y))) {
            return false;
        }
        // Back from the reduced problem: marked <-> unmarked, sample <-> rest.
        if (n1_ != m_) y = k_ - y;
        if (k_ != s_) y = m_ - y;
        x = static_cast<int32_t>(y);
        return true;
    }

private:
    // ln(f(y) / f(M)) for f(y) = C(n1, y) C(n2, k - y).
    double log_ratio(double y) const {
        return log_factorial_ratio(mode_, y) + log_factorial_ratio(n1_ - mode_, n1_ - y) +
               log_factorial_ratio(k_ - mode_, k_ - y) + log_factorial_ratio(n2_ - k_ + mode_, n2_ - k_ + y);
    }

    bool chop_down(UniformSource& source, double& y) const {
        for (;;) {
            double u, p = p0_;
            if (!source.next(u)) return false;
            double i = 0;
            while (u >= p && i < top_) {
                u -= p;
                p *= (n1_ - i) * (k_ - i) / ((i + 1) * (n2_ - k_ + i + 1));
                ++i;
                if (p < 0x1p-60 && i > mode_) break;  // past the mass: redraw
            }
            if (u < p || i == top_) {
                y = i;
                return true;
            }
        }
    }

    bool h2pe(UniformSource& source, double& y) const {
        for (;;) {
            double u, v;
            if (!source.next(u) || !source.next(v)) return false;
            u *= p3_;
            if (u < p1_) {  // the rectangle
                y = std::floor(xl_ + u);
            } else if (u <= p2_) {  // the left tail
                y = std::floor(xl_ + std::log(v) / lambda_l_);
                if (y < 0) continue;
                v *= (u - p1_) * lambda_l_;
            } else {  // the right tail
                y = std::floor(xr_ - std::log(v) / lambda_r_);
                if (y > top_) continue;
                v *= (u - p2_) * lambda_r_;
            }
            if (accepted(v, y)) return true;
        }
    }

    // v at most f(y) / f(M).
    bool accepted(double v, double y) const {
        if (std::fabs(y - mode_) > kRecurrenceReach) return std::log(v) <= log_ratio(y);
        double f = 1;
        if (mode_ < y)
            for (double i = mode_ + 1; i <= y; ++i) f *= (n1_ - i + 1) * (k_ - i + 1) / (i * (n2_ - k_ + i));
        else
            for (double i = y + 1; i <= mode_; ++i) f *= i * (n2_ - k_ + i) / ((n1_ - i + 1) * (k_ - i + 1));
        return v <= f;
    }

    double l_, s_, m_;
    double n1_, n2_, k_, top_, mode_;
    bool h2pe_;
    double p0_ = 0, xl_ = 0, xr_ = 0, lambda_l_ = 0, lambda_r_ = 0, p1_ = 0, p2_ = 0, p3_ = 0;
};

int32_t hypergeometric(qor_rng_stream* stream, int32_t n, int32_t* r, int32_t l, int32_t s, int32_t m) {
    const Hypergeometric draw(l, s, m);
    UniformSource source(stream, 2 * int64_t{n});
    for (int32_t i = 0; i < n; ++i)
        if (!draw.draw(source, r[i])) return source.status();
    return QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixiRngHypergeometric(int32_t, qor_rng_stream* stream, int32_t n, int32_t* r, int32_t l,
                                          int32_t s, int32_t m) {
    return hypergeometric(stream, n, r, l, s, m);
}

}  // extern "C"
