// Column-major matrices, naive reference products and the two precisions'
// routines under one name, for the BLAS/LAPACK tests.
#pragma once

#include <cmath>
#include <limits>
#include <vector>

#include "qor/qor_linalg.h"

template <class T>
struct Linalg;

#define QOR_TEST_LINALG_TRAITS(p, T)                   \
    template <>                                        \
    struct Linalg<T> {                                 \
        static constexpr auto gemm = &qor_##p##gemm;   \
        static constexpr auto gemv = &qor_##p##gemv;   \
        static constexpr auto syrk = &qor_##p##syrk;   \
        static constexpr auto syr = &qor_##p##syr;     \
        static constexpr auto symm = &qor_##p##symm;   \
        static constexpr auto trmm = &qor_##p##trmm;   \
        static constexpr auto potrf = &qor_##p##potrf; \
        static constexpr auto potri = &qor_##p##potri; \
        static constexpr auto trtri = &qor_##p##trtri; \
        static constexpr auto syev = &qor_##p##syev;   \
        static constexpr auto spevd = &qor_##p##spevd; \
    };
QOR_TEST_LINALG_TRAITS(d, double)
QOR_TEST_LINALG_TRAITS(s, float)
#undef QOR_TEST_LINALG_TRAITS

// A rows x cols matrix stored with leading dimension ld >= rows; the rows
// between rows and ld hold a sentinel a routine must neither read into its
// results nor overwrite.
template <class T>
struct Matrix {
    Matrix(int rows_, int cols_, int ld_ = 0)
        : rows(rows_), cols(cols_), ld(ld_ ? ld_ : (rows_ > 0 ? rows_ : 1)),
          data(static_cast<std::size_t>(ld * (cols_ > 0 ? cols_ : 1)), sentinel()) {
        for (int j = 0; j < cols; ++j)
            for (int i = 0; i < rows; ++i) at(i, j) = 0;
    }
    static T sentinel() { return std::numeric_limits<T>::quiet_NaN(); }
    T& at(int i, int j) { return data[static_cast<std::size_t>(i + j * ld)]; }
    T at(int i, int j) const { return data[static_cast<std::size_t>(i + j * ld)]; }
    bool padding_untouched() const {
        for (int j = 0; j < cols; ++j)
            for (int i = rows; i < ld; ++i)
                if (!std::isnan(at(i, j))) return false;
        return true;
    }
    // Deterministic entries in [-1, 1].
    void fill(int seed) {
        for (int j = 0; j < cols; ++j)
            for (int i = 0; i < rows; ++i)
                at(i, j) = static_cast<T>(((i * 7 + j * 13 + seed * 5) % 17) / 8.0 - 1.0);
    }
    int rows, cols, ld;
    std::vector<T> data;
};

// op(A)(i, j) for trans 'N' or 'T'.
template <class T>
T op_at(const Matrix<T>& a, char trans, int i, int j) {
    return trans == 'N' ? a.at(i, j) : a.at(j, i);
}

// Tolerance for sums of `terms` products of numbers of magnitude ~1.
template <class T>
T tolerance(int terms) {
    return static_cast<T>(8 * (terms + 1)) * std::numeric_limits<T>::epsilon();
}
