#include "stats/basic_rebuild.h"

#include <cmath>
#include <initializer_list>

namespace qor::ss {
namespace {

bool any_of(QuantitySet needed, std::initializer_list<int> qs) {
    for (int q : qs)
        if (has(needed, q)) return true;
    return false;
}

double normaliser(double w1, double w2) { return w1 - w2 / w1; }

// Divides where the divisor is positive; 0 otherwise (a spread over a
// single observation).
double spread(double sum, double n) { return n > 0 ? sum / n : 0.0; }

}  // namespace

Tracked tracked_for(QuantitySet needed) {
    Tracked t;
    t.central_order = any_of(needed, {6, 9, 18}) ? 4 : any_of(needed, {5, 10, 17}) ? 3 : any_of(needed, {4, 11, 16}) ? 2 : 0;
    t.raw_order = any_of(needed, {3, 15}) ? 4 : any_of(needed, {2, 14}) ? 3 : any_of(needed, {1, 13}) ? 2 : has(needed, kSum) ? 1 : 0;
    t.cross = any_of(needed, {kCov, kCor, kCp});
    return t;
}

template <class T>
int32_t rebuild_sums(const Results<T>& r, QuantitySet needed, const Tracked& have, const Tracked& want,
                     const Moments& m) {
    const int64_t q = m.q();
    const double w1 = m.w1(), n = normaliser(w1, m.w2());
    const bool fresh = have.central_order == 0 && have.raw_order == 0 && !have.cross;
    if (fresh && has(needed, kMean))
        for (int64_t k = 0; k < q; ++k) m.mean()[k] = r.get(kMean, k);
    for (int order = have.central_order + 1; order <= want.central_order; ++order) {
        if (order < 2) continue;
        const int moment = kCentralMoment2 + order - 2, sum = kCentralSum2 + order - 2;
        for (int64_t k = 0; k < q; ++k) {
            double s = 0;
            if (has(needed, sum)) s = r.get(sum, k);
            else if (has(needed, moment)) s = r.get(moment, k) * (order == 2 ? n : w1);
            else if (order == 2 && has(needed, kCp)) s = r.get(kCp, k, k);
            else if (order == 2 && has(needed, kCov)) s = r.get(kCov, k, k) * n;
            m.central(order)[k] = order == 2 && n <= 0 ? 0.0 : s;
        }
    }
    for (int order = have.raw_order + 1; order <= want.raw_order; ++order) {
        for (int64_t k = 0; k < q; ++k) {
            double s = 0;
            if (order == 1) s = has(needed, kSum) ? r.get(kSum, k) : m.mean()[k] * w1;
            else if (has(needed, kRawSum2 + order - 2)) s = r.get(kRawSum2 + order - 2, k);
            else if (has(needed, kRawMoment2 + order - 2)) s = r.get(kRawMoment2 + order - 2, k) * w1;
            m.raw(order)[k] = s;
        }
    }
    if (want.cross && !have.cross) {
        const bool from_cor = !has(needed, kCp) && !has(needed, kCov);
        if (from_cor && want.central_order < 2) return SS_ERR_COV;
        for (int64_t j = 0; j < q; ++j)
            for (int64_t i = 0; i <= j; ++i)
                m.cross(i, j) = has(needed, kCp)    ? r.get(kCp, i, j)
                                : has(needed, kCov) ? (n > 0 ? r.get(kCov, i, j) * n : 0.0)
                                                    : r.get(kCor, i, j) * std::sqrt(m.central(2)[i] * m.central(2)[j]);
    }
    return SS_OK;
}

template <class T>
void write_estimates(const Results<T>& r, QuantitySet needed, bool mean_supplied, const Moments& m) {
    const double w1 = m.w1();
    if (!(w1 != 0)) return;
    const double n = normaliser(w1, m.w2()), rw = 1.0 / w1;
    const int64_t q = m.q();
    auto central = [&](int order, int64_t k) { return m.central(order)[k]; };
    for (int64_t k = 0; k < q; ++k) {
        const double mean = m.mean()[k];
        if (has(needed, kMean) && !mean_supplied) r.put(kMean, k, mean);
        for (int order = 2; order <= 4; ++order) {
            if (has(needed, kRawMoment2 + order - 2)) r.put(kRawMoment2 + order - 2, k, m.raw(order)[k] * rw);
            if (has(needed, kRawSum2 + order - 2)) r.put(kRawSum2 + order - 2, k, m.raw(order)[k]);
            if (has(needed, kCentralSum2 + order - 2)) r.put(kCentralSum2 + order - 2, k, central(order, k));
        }
        if (has(needed, kSum)) r.put(kSum, k, m.raw(1)[k]);
        if (has(needed, kCentralMoment2)) r.put(kCentralMoment2, k, spread(central(2, k), n));
        if (has(needed, kCentralMoment3)) r.put(kCentralMoment3, k, central(3, k) * rw);
        if (has(needed, kCentralMoment4)) r.put(kCentralMoment4, k, central(4, k) * rw);
        if (has(needed, kVariation)) r.put(kVariation, k, std::sqrt(spread(central(2, k), n)) / mean);
        if (has(needed, kSkewness) || has(needed, kKurtosis)) {
            const double variance = central(2, k) * rw;
            if (has(needed, kSkewness)) r.put(kSkewness, k, central(3, k) * rw / (variance * std::sqrt(variance)));
            if (has(needed, kKurtosis)) r.put(kKurtosis, k, central(4, k) * rw / (variance * variance) - 3.0);
        }
    }
    if (!m.has_cross()) return;
    for (int64_t j = 0; j < q; ++j) {
        for (int64_t i = 0; i <= j; ++i) {
            const double c = m.cross(i, j);
            if (has(needed, kCp)) r.put(kCp, i, j, c);
            if (has(needed, kCov)) r.put(kCov, i, j, spread(c, n));
            if (has(needed, kCor)) r.put(kCor, i, j, i == j ? 1.0 : c / std::sqrt(m.cross(i, i) * m.cross(j, j)));
        }
    }
}

template int32_t rebuild_sums<double>(const Results<double>&, QuantitySet, const Tracked&, const Tracked&,
                                      const Moments&);
template int32_t rebuild_sums<float>(const Results<float>&, QuantitySet, const Tracked&, const Tracked&,
                                     const Moments&);
template void write_estimates<double>(const Results<double>&, QuantitySet, bool, const Moments&);
template void write_estimates<float>(const Results<float>&, QuantitySet, bool, const Moments&);

}  // namespace qor::ss
