// The running state of the basic statistics, kept in the task's own buffer
// (`work`, released when the task is deleted) between calls.
//
// The result arrays and acc_weights are the accumulation's public record,
// but they cannot always be turned back into sums: a variance normalised by
// W1 − W2/W1 is lost where that factor is 0 (after a first portion of one
// observation), a correlation does not carry the variances it was scaled
// by, and every division costs a rounding.  So the exact sums stay here,
// stamped with the acc_weights they belong to.  A call continues from them
// when acc_weights still hold the values this state wrote and the shape
// (dimension, selected variables, precision, method) is the same; otherwise
// it rebuilds the sums from the result arrays.
#pragma once

#include <cstddef>
#include <cstdint>

#include "stats/basic_plan.h"
#include "stats/moments.h"

namespace qor::ss {

struct StateShape {
    int64_t p = 0;
    int64_t q = 0;             // variables taking part
    const int64_t* vars = nullptr;  // their numbers, ascending
    int32_t precision = 0;
    MethodClass method = MethodClass::kObservations;
    bool cross = false;
};

class BasicState {
public:
    // The task's state if it has this shape, else a new zeroed one (the
    // task keeps its old buffer until install()).  False when the
    // allocation fails.
    bool open(const SSTask& task, const StateShape& shape);
    // Whether the sums continue the accumulation that acc_weights describe
    // (w1, w2 as read from them now); `tracked` then says which parts.
    bool continues(double w1, double w2) const;
    const Tracked& tracked() const;
    Moments moments() const;

    // Records what the sums now hold and makes the buffer the task's.
    void install(SSTask& task, const Tracked& tracked, double w1_written, double w2_written);
    // Drops a buffer that open() allocated and install() did not take.
    void abandon();

private:
    struct Header;
    Header* header_ = nullptr;
    bool owned_ = false;  // allocated by open(), not yet the task's
};

}  // namespace qor::ss
