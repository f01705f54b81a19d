// The result arrays of one basic-statistics call, addressed by quantity and
// by the compact number of a selected variable (k-th of the q taking part).
#pragma once

#include <cstdint>

#include "stats/basic_plan.h"
#include "stats/matrix_storage.h"
#include "stats/task_internal.h"

namespace qor::ss {

template <class T>
class Results {
public:
    Results(const SSTask& task, int64_t p, const int64_t* vars = nullptr) : task_(task), p_(p), vars_(vars) {}
    void select(const int64_t* vars) { vars_ = vars; }

    // Reads the storage codes of the matrices in `needed`: a null pointer
    // gives SS_ERR_STORAGE, a code that names no storage form
    // SS_ERR_OBS_STORAGE.
    int32_t read_storage(QuantitySet needed) {
        for (int q : {kCov, kCor, kCp}) {
            if (!has(needed, q)) continue;
            int64_t code;
            if (!read_int(task_, storage_pointer(q), code)) return SS_ERR_STORAGE;
            if (!matrix_storage_valid(code)) return SS_ERR_OBS_STORAGE;
            storage_[q == kCov ? 0 : q == kCor ? 1 : 2] = code;
        }
        return SS_OK;
    }

    T* array(int q) const { return static_cast<T*>(quantity_array(task_, q)); }
    double get(int q, int64_t k) const { return array(q)[vars_[k]]; }
    void put(int q, int64_t k, double value) const { array(q)[vars_[k]] = static_cast<T>(value); }
    double get(int q, int64_t a, int64_t b) const {
        return array(q)[matrix_offset(storage(q), p_, vars_[a], vars_[b])];
    }
    void put(int q, int64_t a, int64_t b, double value) const {
        put_symmetric(array(q), storage(q), p_, vars_[a], vars_[b], value);
    }

private:
    const void* storage_pointer(int q) const {
        return q == kCov ? task_.cov_storage : q == kCor ? task_.cor_storage : task_.cp_storage;
    }
    int64_t storage(int q) const { return storage_[q == kCov ? 0 : q == kCor ? 1 : 2]; }

    const SSTask& task_;
    int64_t p_;
    const int64_t* vars_;
    int64_t storage_[3] = {};
};

}  // namespace qor::ss
