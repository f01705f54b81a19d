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
        std::copy(from.mean_tail(), from.mean_tail() + q, into.mean_tail());
        for (int k = 2; k <= tracked.central_order; ++k) std::copy(from.central(k), from.central(k) + q, into.central(k));
        if (tracked.cross)
            for (int64_t j = 0; j < q; ++j)
                for (int64_t i = 0; i <= j; ++i) into.cross(i, j) = from.cross(i, j);
        return;
    }
    const double ab = wa * wb / w;
    const auto delta = [&](int64_t v) {
        return (from.mean()[v] - into.mean()[v]) + (from.mean_tail()[v] - into.mean_tail()[v]);
    };
    if (tracked.cross) {
        for (int64_t j = 0; j < q; ++j) {
            const double dj = delta(j) * ab;
            for (int64_t i = 0; i <= j; ++i) into.cross(i, j) += from.cross(i, j) + delta(i) * dj;
        }
    }
    const int order = tracked.central_order;
    for (int64_t v = 0; v < q; ++v) {
        double sa[3] = {}, sb[3] = {}, weight = wa;
        for (int k = 2; k <= order; ++k) sa[k - 2] = into.central(k)[v], sb[k - 2] = from.central(k)[v];
        merge_central(weight, into.mean()[v], into.mean_tail()[v], sa, wb, from.mean()[v], from.mean_tail()[v], sb,
                      order);
        for (int k = 2; k <= order; ++k) into.central(k)[v] = sa[k - 2];
    }
}

}  // namespace qor::ss
