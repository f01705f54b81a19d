#include "stats/moments.h"

#include <algorithm>

namespace qor::ss {

void Moments::clear() const { std::fill(base_, base_ + doubles(q_, cross_), 0.0); }

void merge(const Moments& into, const Moments& from, const Tracked& tracked) {
    const double wa = into.w1(), wb = from.w1();
    into.w2() += from.w2();
    if (wb == 0) return;
    const int64_t q = into.q();
    for (int k = 1; k <= tracked.raw_order; ++k)
        for (int64_t v = 0; v < q; ++v) into.raw(k)[v] += from.raw(k)[v];
    const double w = wa + wb;
    into.w1() = w;
    if (wa == 0) {
        // The first observations: a copy (also when `into` held a mean that
        // was supplied, which `from` carries as well).
        std::copy(from.mean(), from.mean() + q, into.mean());
        for (int k = 2; k <= tracked.central_order; ++k) std::copy(from.central(k), from.central(k) + q, into.central(k));
        if (tracked.cross)
            for (int64_t j = 0; j < q; ++j)
                for (int64_t i = 0; i <= j; ++i) into.cross(i, j) = from.cross(i, j);
        return;
    }
    const double rw = 1.0 / w, ab = wa * wb * rw;  // Wa·Wb/W
    for (int64_t v = 0; v < q; ++v) {
        const double d = from.mean()[v] - into.mean()[v];
        if (tracked.central_order >= 2) {
            double& s2 = into.central(2)[v];
            const double s2b = from.central(2)[v];
            if (tracked.central_order >= 3) {
                double& s3 = into.central(3)[v];
                const double s3b = from.central(3)[v];
                if (tracked.central_order >= 4) {
                    into.central(4)[v] += from.central(4)[v] + d * d * d * d * ab * (wa * wa - wa * wb + wb * wb) * rw * rw +
                                          6 * d * d * (wa * wa * s2b + wb * wb * s2) * rw * rw +
                                          4 * d * (wa * s3b - wb * s3) * rw;
                }
                s3 += s3b + d * d * d * ab * (wa - wb) * rw + 3 * d * (wa * s2b - wb * s2) * rw;
            }
            s2 += s2b + d * d * ab;
        }
    }
    if (tracked.cross) {
        for (int64_t j = 0; j < q; ++j) {
            const double dj = (from.mean()[j] - into.mean()[j]) * ab;
            for (int64_t i = 0; i <= j; ++i)
                into.cross(i, j) += from.cross(i, j) + (from.mean()[i] - into.mean()[i]) * dj;
        }
    }
    for (int64_t v = 0; v < q; ++v) into.mean()[v] += (from.mean()[v] - into.mean()[v]) * (wb * rw);
}

}  // namespace qor::ss
