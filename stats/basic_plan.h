// What a call of the basic-statistics entries has to compute: the method's
// class, and the set of result arrays the requested estimates need (the
// arrays they write and those they read or continue from).
#pragma once

#include <cstdint>

#include "qor/qor_ss.h"

namespace qor::ss {

// Result arrays of the basic statistics, numbered as in the requirement
// tables; kUncomputable marks an estimate the method cannot produce.
enum Quantity : int {
    kMean = 0,
    kRawMoment2 = 1,
    kRawMoment3 = 2,
    kRawMoment4 = 3,
    kCentralMoment2 = 4,
    kCentralMoment3 = 5,
    kCentralMoment4 = 6,
    kCov = 7,
    kCor = 8,
    kKurtosis = 9,
    kSkewness = 10,
    kVariation = 11,
    kSum = 12,
    kRawSum2 = 13,
    kRawSum3 = 14,
    kRawSum4 = 15,
    kCentralSum2 = 16,
    kCentralSum3 = 17,
    kCentralSum4 = 18,
    kCp = 19,
    kUncomputable = 20,
    kQuantityCount = 21
};

using QuantitySet = uint32_t;
constexpr QuantitySet bit(int q) { return QuantitySet{1} << q; }
constexpr bool has(QuantitySet s, int q) { return (s >> q) & 1u; }

enum class MethodClass { kObservations, kSuppliedMean, kSums };

struct BasicPlan {
    MethodClass method;
    bool population_sums;   // from-sums form 2: moments normalised by W1 alone
    QuantitySet needed;     // arrays to fill or update
};

// The method check, then the requirement check against the arrays the task
// holds.  Returns 0 and fills the plan, or the status of the first failure.
int32_t plan_basic(const SSTask& task, uint64_t estimates, int32_t method, BasicPlan& plan);

// The task's array of a quantity (null when not set, or for kUncomputable).
void* quantity_array(const SSTask& task, int q);

}  // namespace qor::ss
