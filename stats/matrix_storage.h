// Where element (i, j) of a symmetric p × p result matrix lives in each
// storage form: the full matrix row by row, or one triangle packed row by
// row (upper: (0,0) (0,1) .. (0,p-1) (1,1) ..; lower: (0,0) (1,0) (1,1) ..).
#pragma once

#include <cstdint>
#include <utility>

#include "qor/qor_ss.h"

namespace qor::ss {

inline bool matrix_storage_valid(int64_t code) {
    return code == SS_MATRIX_STORAGE_FULL || code == SS_MATRIX_STORAGE_UPPER_PACKED ||
           code == SS_MATRIX_STORAGE_LOWER_PACKED;
}

inline int64_t matrix_offset(int64_t code, int64_t p, int64_t i, int64_t j) {
    if (code == SS_MATRIX_STORAGE_FULL) return i * p + j;
    if (code == SS_MATRIX_STORAGE_UPPER_PACKED) {
        if (i > j) std::swap(i, j);
        return i * p - i * (i - 1) / 2 + (j - i);
    }
    if (i < j) std::swap(i, j);
    return i * (i + 1) / 2 + j;
}

// Stores a symmetric pair: both (i, j) and (j, i) of a full matrix.
template <class T>
void put_symmetric(T* m, int64_t code, int64_t p, int64_t i, int64_t j, double value) {
    m[matrix_offset(code, p, i, j)] = static_cast<T>(value);
    if (code == SS_MATRIX_STORAGE_FULL) m[j * p + i] = static_cast<T>(value);
}

}  // namespace qor::ss
