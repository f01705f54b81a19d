// Inversion through a table of the distribution function, built for one
// call's parameters on the stack: cdf[k] = P(X <= k) for k from 0 while the
// probabilities matter, then a search for the first k with u < cdf[k].  A
// uniform beyond the last entry (a mass below 1e-17 or rounding of the
// sums) is redrawn.
#pragma once

#include <cstdint>

#include "qor/qor_rng.h"

namespace qor::rng::dist {

class InversionTable {
public:
    static constexpr int32_t kRoom = 192;

    // From P(X = 0) and the ratio P(X = k) / P(X = k - 1) = ratio(k), up to
    // `last` at most: the table ends where the probabilities, past their
    // peak, fall below 2^-60 (they no longer change the sums).
    template <class Ratio>
    InversionTable(double p0, int64_t last, Ratio ratio) {
        double p = p0, sum = p0;
        cdf_[0] = sum;
        size_ = 1;
        for (int64_t k = 1; k <= last && size_ < kRoom; ++k) {
            const double next = p * ratio(static_cast<double>(k));
            if (next < 0x1p-60 && next < p) break;
            p = next;
            sum += p;
            cdf_[size_++] = sum;
        }
    }

    // The k for u, or -1 when u lies beyond the table.
    int32_t find(double u) const {
        if (!(u < cdf_[size_ - 1])) return -1;
        int32_t k = 0;
        while (!(u < cdf_[k])) ++k;
        return k;
    }

    // n variates r[i] = finish(k), one uniform each (and a fresh one for a
    // uniform beyond the table), the uniforms drawn in blocks; a negative
    // status of the generator comes back at once.
    template <class Finish>
    int32_t fill(qor_rng_stream* stream, int32_t n, int32_t* r, Finish finish) const {
        constexpr int32_t kBlock = 1024;
        double u[kBlock];
        for (int32_t done = 0; done < n;) {
            const int32_t m = n - done < kBlock ? n - done : kBlock;
            int32_t status = _rixdRngUniform(0, stream, m, u, 0.0, 1.0);
            if (status < 0) return status;
            for (int32_t i = 0; i < m; ++i) {
                int32_t k = find(u[i]);
                while (k < 0) {
                    if ((status = _rixdRngUniform(0, stream, 1, u + i, 0.0, 1.0)) < 0) return status;
                    k = find(u[i]);
                }
                r[done + i] = finish(k);
            }
            done += m;
        }
        return QOR_RNG_STATUS_OK;
    }

private:
    double cdf_[kRoom];
    int32_t size_;
};

}  // namespace qor::rng::dist
