#include "stats/basic_from_sums.h"

#include <cmath>

#include "qor/qor_serv.h"
#include "stats/basic_results.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

template <class T>
void from_sums(const Results<T>& r, QuantitySet needed, int64_t q, double w1, double n) {
    const double rw = 1.0 / w1;
    auto scaled = [&](int out, int source, int64_t k, double factor) {
        if (has(needed, out) && has(needed, source)) r.put(out, k, r.get(source, k) * factor);
    };
    for (int64_t k = 0; k < q; ++k) {
        scaled(kMean, kSum, k, rw);
        for (int i = 0; i < 3; ++i) scaled(kRawMoment2 + i, kRawSum2 + i, k, rw);
        scaled(kCentralMoment2, kCentralSum2, k, n > 0 ? 1.0 / n : 0.0);
        scaled(kCentralMoment3, kCentralSum3, k, rw);
        scaled(kCentralMoment4, kCentralSum4, k, rw);
        if (has(needed, kKurtosis) || has(needed, kSkewness)) {
            const double variance = r.get(kCentralMoment2, k) * n * rw;  // normalised by W1
            if (has(needed, kKurtosis))
                r.put(kKurtosis, k, r.get(kCentralMoment4, k) / (variance * variance) - 3.0);
            if (has(needed, kSkewness))
                r.put(kSkewness, k, r.get(kCentralMoment3, k) / (variance * std::sqrt(variance)));
        }
        if (has(needed, kVariation)) r.put(kVariation, k, std::sqrt(r.get(kCentralMoment2, k)) / r.get(kMean, k));
    }
    if (!has(needed, kCp)) return;
    for (int64_t j = 0; j < q; ++j) {
        for (int64_t i = 0; i <= j; ++i) {
            const double c = r.get(kCp, i, j);
            if (has(needed, kCov)) r.put(kCov, i, j, n > 0 ? c / n : 0.0);
            if (has(needed, kCor))
                r.put(kCor, i, j, i == j ? 1.0 : c / std::sqrt(r.get(kCp, i, i) * r.get(kCp, j, j)));
        }
    }
}

}  // namespace

template <class T>
int32_t basic_from_sums(SSTask& task, const BasicPlan& plan) {
    int64_t p;
    if (!read_int(task, task.dim, p) || p < 1) return SS_ERR_DIM;
    double w1, w2;
    if (task.acc_weights) {
        w1 = static_cast<const T*>(task.acc_weights)[0];
        w2 = static_cast<const T*>(task.acc_weights)[1];
    } else {
        int64_t n;
        if (!task.obs_count || task.weights) return SS_ERR_ACC_WEIGHTS;
        if (!read_int(task, task.obs_count, n) || n < 1) return SS_ERR_OBS_COUNT;
        w1 = w2 = static_cast<double>(n);
    }
    Results<T> results(task, p);
    if (const int32_t status = results.read_storage(plan.needed); status != SS_OK) return status;
    if (!(w1 != 0)) return SS_OK;

    auto* vars = static_cast<int64_t*>(qor_serv_allocate(sizeof(int64_t) * static_cast<size_t>(p), 128));
    if (!vars) return SS_ERR_NO_MEMORY;
    const int64_t q = list_selected(task, p, vars);
    results.select(vars);
    from_sums(results, plan.needed, q, w1, plan.population_sums ? w1 : w1 - w2 / w1);
    qor_serv_deallocate(vars);
    return SS_OK;
}

template int32_t basic_from_sums<double>(SSTask&, const BasicPlan&);
template int32_t basic_from_sums<float>(SSTask&, const BasicPlan&);

}  // namespace qor::ss
