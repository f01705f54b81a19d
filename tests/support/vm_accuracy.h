// The accuracy sweep of every vector-math row that has a test domain in the
// row list: the rows, their ulp bounds per slot and their MPFR references
// come from one table generated from the row list.  A sweep draws the
// row's arguments, runs the LA, HA and EP entry points of the contiguous
// and the strided form, computes each exact value once and measures the six
// results against it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "ulp_oracle.h"
#include "vm_domains.h"

namespace qor::test {

// Runs the entry point of one slot (0 LA, 1 HA, 2 EP), contiguous or
// strided, over n arguments (y unused for one-argument rows).
using SlotRunner = void (*)(int slot, bool strided, std::size_t n, const void* x, const void* y, void* r);

struct AccuracyRow {
    const char* name;      // e.g. "dExp"
    const char* function;  // e.g. "Exp"
    char precision;        // 's' or 'd'
    Domain domain;
    bool two_arguments;
    double bound[3];          // LA, HA, EP of the contiguous row
    double strided_bound[3];  // of its strided row
    SlotRunner run;
};

// Every row that is on, real, of a kind with one or two array arguments
// (or an array and a scalar), and has a domain.
std::span<const AccuracyRow> accuracy_rows();

// Whether the row's function has an MPFR reference in the table.
bool has_reference(const AccuracyRow& row);

// Worst cases per slot, contiguous and strided; `above` counts the results
// past the row's bound.
struct SlotWorst {
    WorstCase contiguous, strided;
};
using RowWorst = std::array<SlotWorst, 3>;

// About `count` arguments of the row's domain from `seed` (every slot
// counts as failed without a reference).  The caller sets the error mode
// (errors are expected and should not be reported).
RowWorst sweep(const AccuracyRow& row, std::size_t count, uint64_t seed);

// Whether the row can be swept over every float: single precision, one
// argument, and a double-precision reference besides the MPFR one.
bool has_double_reference(const AccuracyRow& row);

// Every float whose bit pattern lies in [first, last) through the
// contiguous entry point of each slot (0 LA, 1 HA, 2 EP), screened against
// the double reference (within about a double ulp of the exact value, so a
// few 2^-29 ulp of doubt); results near or past the bound and the worst of
// each slot are measured again against MPFR, whose verdict stands.  The
// caller sets the error mode.
std::array<WorstCase, 3> sweep_every_float(const AccuracyRow& row, uint64_t first, uint64_t last);

}  // namespace qor::test
