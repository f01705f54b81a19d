// Binomial variates of ntrial trials with success probability p, one at a
// time from a UniformSource, for the binomial and multinomial kernels.
// With r = min(p, 1 - p) (p above 1/2 counts the failures and returns
// ntrial minus them):
//   ntrial r below 30  inversion by chop-down search from 0, one uniform
//   ntrial r 30 up     BTPE, Kachitvichyanukul and Schmeiser's triangle,
//                      parallelogram and exponential tails ("Binomial random
//                      variate generation", 1988): two uniforms per trial
//                      point, accepted at once in the triangle, else by the
//                      explicit ratio f(y) / f(M) near the mode M or by
//                      squeezes and Stirling's bound away from it
#pragma once

#include <cmath>
#include <cstdint>

#include "rng/dist/uniform_source.h"

namespace qor::rng::dist {

constexpr double kBtpeFrom = 30;

class BinomialDraw {
public:
    BinomialDraw(int32_t ntrial, double p) : n_(ntrial), flip_(p > 0.5) {
        r_ = flip_ ? 1 - p : p;  // exact: 1 - p for p in [1/2, 1]
        q_ = 1 - r_;
        nrq_ = n_ * r_ * q_;
        s_ = r_ / q_;
        a_ = (n_ + 1) * s_;
        if (n_ == 0 || r_ == 0)
            kind_ = kConstant;
        else if (n_ * r_ < kBtpeFrom) {
            kind_ = kInversion;
            p0_ = std::exp(n_ * std::log1p(-r_));
        } else {
            kind_ = kBtpe;
            set_up_btpe();
        }
    }

    bool uses_inversion() const { return kind_ == kInversion; }
    bool constant() const { return kind_ == kConstant; }
    // P(X = 0) and P(X = k) / P(X = k - 1) for an inversion table of the
    // unflipped count.
    double p0() const { return p0_; }
    double ratio(double k) const { return a_ / k - s_; }
    int32_t ntrial() const { return static_cast<int32_t>(n_); }
    // The variate for an unflipped count y.
    int32_t finish(int32_t y) const { return flip_ ? static_cast<int32_t>(n_) - y : y; }

    bool draw(UniformSource& source, int32_t& x) const {
        int32_t y = 0;
        if (kind_ == kInversion) {
            if (!chop_down(source, y)) return false;
        } else if (kind_ == kBtpe) {
            if (!btpe(source, y)) return false;
        }
        x = finish(y);
        return true;
    }

private:
    enum Kind { kConstant, kInversion, kBtpe };

    bool chop_down(UniformSource& source, int32_t& y) const {
        for (;;) {
            double u, p = p0_;
            if (!source.next(u)) return false;
            int32_t k = 0;
            while (u >= p && k < n_) {
                u -= p;
                ++k;
                p *= a_ / k - s_;
                if (p < 0x1p-60 && k > n_ * r_) break;  // past the mass: redraw
            }
            if (u < p || k == n_) {
                y = k;
                return true;
            }
        }
    }

    void set_up_btpe() {
        const double fm = n_ * r_ + r_;
        m_ = std::floor(fm);
        p1_ = std::floor(2.195 * std::sqrt(nrq_) - 4.6 * q_) + 0.5;
        xm_ = m_ + 0.5;
        xl_ = xm_ - p1_;
        xr_ = xm_ + p1_;
        c_ = 0.134 + 20.5 / (15.3 + m_);
        double a = (fm - xl_) / (fm - xl_ * r_);
        lambda_l_ = a * (1 + a / 2);
        a = (xr_ - fm) / (xr_ * q_);
        lambda_r_ = a * (1 + a / 2);
        p2_ = p1_ * (1 + 2 * c_);
        p3_ = p2_ + c_ / lambda_l_;
        p4_ = p3_ + c_ / lambda_r_;
    }

    // Stirling's correction ln x! - ((x + 1/2) ln x - x + ln sqrt(2 pi)) at x.
    static double correction(double x) {
        const double x2 = x * x;
        return (13860 - (462 - (132 - (99 - 140 / x2) / x2) / x2) / x2) / x / 166320;
    }

    bool btpe(UniformSource& source, int32_t& result) const {
        for (;;) {
            double u, v;
            if (!source.next(u) || !source.next(v)) return false;
            u *= p4_;
            double y;
            if (u <= p1_) {  // the triangle: accepted at once
                result = static_cast<int32_t>(std::floor(xm_ - p1_ * v + u));
                return true;
            }
            if (u <= p2_) {  // the parallelograms
                const double x = xl_ + (u - p1_) / c_;
                v = v * c_ + 1 - std::fabs(m_ - x + 0.5) / p1_;
                if (v > 1) continue;
                y = std::floor(x);
            } else if (u <= p3_) {  // the left exponential tail
                y = std::floor(xl_ + std::log(v) / lambda_l_);
                if (y < 0) continue;
                v *= (u - p2_) * lambda_l_;
            } else {  // the right one
                y = std::floor(xr_ - std::log(v) / lambda_r_);
                if (y > n_) continue;
                v *= (u - p3_) * lambda_r_;
            }
            if (accepted(v, y)) {
                result = static_cast<int32_t>(y);
                return true;
            }
        }
    }

    // v at most f(y) / f(M).
    bool accepted(double v, double y) const {
        const double k = std::fabs(y - m_);
        if (k <= 20 || k >= nrq_ / 2 - 1) {  // the ratio by its recurrence
            double f = 1;
            if (m_ < y)
                for (double i = m_ + 1; i <= y; ++i) f *= a_ / i - s_;
            else
                for (double i = y + 1; i <= m_; ++i) f /= a_ / i - s_;
            return v <= f;
        }
        const double rho = (k / nrq_) * ((k * (k / 3 + 0.625) + 0.1666666666666) / nrq_ + 0.5);
        const double t = -k * k / (2 * nrq_);
        const double lv = std::log(v);
        if (lv < t - rho) return true;
        if (lv > t + rho) return false;
        const double x1 = y + 1, f1 = m_ + 1, z = n_ + 1 - m_, w = n_ - y + 1;
        const double bound = xm_ * std::log(f1 / x1) + (n_ - m_ + 0.5) * std::log(z / w) +
                             (y - m_) * std::log(w * r_ / (x1 * q_)) + correction(f1) + correction(z) -
                             correction(x1) - correction(w);
        return lv <= bound;
    }

    double n_;
    bool flip_;
    Kind kind_;
    double r_, q_, nrq_, s_, a_, p0_ = 0;
    double m_ = 0, p1_ = 0, xm_ = 0, xl_ = 0, xr_ = 0, c_ = 0, lambda_l_ = 0, lambda_r_ = 0, p2_ = 0, p3_ = 0,
           p4_ = 0;
};

}  // namespace qor::rng::dist
