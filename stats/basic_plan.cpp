#include "stats/basic_plan.h"

#include <initializer_list>

namespace qor::ss {
namespace {

constexpr QuantitySet set(std::initializer_list<int> qs) {
    QuantitySet s = 0;
    for (int q : qs) s |= bit(q);
    return s;
}

// One row per estimate: the arrays it needs with observation methods 2 and
// 256 (column A), with observation method 1 (column C, which differs only
// for the central sums: they are kept beside the raw moments there) and with
// the from-sums methods (column B, which turns sums into moments and cannot
// produce sums).
struct Requirement {
    int estimate_bit;
    QuantitySet a, c, b;
};

constexpr Requirement kRequirements[] = {
    {0, set({0}), set({0}), set({0, 12})},
    {1, set({1}), set({1}), set({1, 13})},
    {2, set({2}), set({2}), set({2, 14})},
    {3, set({3}), set({3}), set({3, 15})},
    {4, set({0, 1, 4}), set({0, 1, 4}), set({4, 16})},
    {5, set({0, 1, 2, 5}), set({0, 1, 2, 5}), set({5, 17})},
    {6, set({0, 1, 2, 3, 6}), set({0, 1, 2, 3, 6}), set({6, 18})},
    {12, set({0, 7}), set({0, 7}), set({7, 19})},
    {13, set({0, 8}), set({0, 8}), set({8, 19})},
    {7, set({0, 1, 2, 3, 4, 6, 9}), set({0, 1, 2, 3, 4, 6, 9}), set({0, 4, 6, 9})},
    {8, set({0, 1, 2, 4, 5, 10}), set({0, 1, 2, 4, 5, 10}), set({0, 4, 5, 10})},
    {9, set({0, 1, 4, 11}), set({0, 1, 4, 11}), set({0, 4, 11})},
    {25, set({12}), set({12}), set({20})},
    {26, set({13}), set({13}), set({20})},
    {27, set({14}), set({14}), set({20})},
    {28, set({15}), set({15}), set({20})},
    {29, set({0, 16}), set({0, 1, 16}), set({20})},
    {30, set({0, 17}), set({0, 1, 2, 17}), set({20})},
    {31, set({0, 18}), set({0, 1, 2, 3, 18}), set({20})},
    {32, set({0, 19}), set({0, 19}), set({20})},
};

// The status of a missing array, by quantity number.
constexpr int32_t kMissingStatus[kQuantityCount] = {
    SS_ERR_MEAN,          SS_ERR_RAW_MOMENT2,     SS_ERR_RAW_MOMENT3,     SS_ERR_RAW_MOMENT4,
    SS_ERR_CENTRAL_MOMENT2, SS_ERR_CENTRAL_MOMENT3, SS_ERR_CENTRAL_MOMENT4, SS_ERR_COV,
    SS_ERR_COR,           SS_ERR_KURTOSIS,        SS_ERR_SKEWNESS,        SS_ERR_VARIATION,
    SS_ERR_SUM,           SS_ERR_RAW_SUM2,        SS_ERR_RAW_SUM3,        SS_ERR_RAW_SUM4,
    SS_ERR_CENTRAL_SUM2,  SS_ERR_CENTRAL_SUM3,    SS_ERR_CENTRAL_SUM4,    SS_ERR_CP,
    SS_ERR_METHOD,
};

constexpr int32_t kObservationFlags[] = {SS_METHOD_OBS_1, SS_METHOD_OBS_2, SS_METHOD_OBS_3};

}  // namespace

void* quantity_array(const SSTask& t, int q) {
    void* const arrays[kQuantityCount] = {
        t.mean,    t.raw_moment2, t.raw_moment3, t.raw_moment4,  t.central_moment2, t.central_moment3, t.central_moment4,
        t.cov,     t.cor,         t.kurtosis,    t.skewness,     t.variation,       t.sum,             t.raw_sum2,
        t.raw_sum3, t.raw_sum4,   t.central_sum2, t.central_sum3, t.central_sum4,   t.cp,              nullptr,
    };
    return q >= 0 && q < kQuantityCount ? arrays[q] : nullptr;
}

int32_t plan_basic(const SSTask& task, uint64_t estimates, int32_t method, BasicPlan& plan) {
    int observation_flags = 0;
    for (int32_t flag : kObservationFlags) observation_flags += (method & flag) != 0;
    if (observation_flags > 1) return SS_ERR_METHOD;
    if (observation_flags == 0 && !(method & (SS_METHOD_SUMS_1 | SS_METHOD_SUMS_2))) return SS_ERR_METHOD;

    plan.method = observation_flags == 0          ? MethodClass::kSums
                  : (method & SS_METHOD_OBS_3)    ? MethodClass::kSuppliedMean
                                                  : MethodClass::kObservations;
    // With both from-sums flags the first form wins.
    plan.population_sums = plan.method == MethodClass::kSums && !(method & SS_METHOD_SUMS_1);
    plan.needed = 0;
    for (const Requirement& r : kRequirements) {
        if (!((estimates >> r.estimate_bit) & 1u)) continue;
        plan.needed |= plan.method == MethodClass::kSums ? r.b : (method & SS_METHOD_OBS_1) ? r.c : r.a;
    }
    for (int q = 0; q < kQuantityCount; ++q)
        if (has(plan.needed, q) && !quantity_array(task, q)) return kMissingStatus[q];
    return SS_OK;
}

}  // namespace qor::ss
