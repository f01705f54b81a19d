// The registry rows of the built-in generators, one per generator source
// file, in the order of the current registry table.
#pragma once

#include "qor/qor_rng.h"

namespace qor::rng {

extern const qor_rng_brng_properties kMcg31m1Row;
extern const qor_rng_brng_properties kR250Row;
extern const qor_rng_brng_properties kMrg32k3aRow;
extern const qor_rng_brng_properties kMcg59Row;
extern const qor_rng_brng_properties kWhRow;
extern const qor_rng_brng_properties kSobolRow;
extern const qor_rng_brng_properties kNiederrRow;
extern const qor_rng_brng_properties kMt19937Row;
extern const qor_rng_brng_properties kMt2203Row;
extern const qor_rng_brng_properties kIAbstractRow;
extern const qor_rng_brng_properties kDAbstractRow;
extern const qor_rng_brng_properties kSAbstractRow;
extern const qor_rng_brng_properties kSfmt19937Row;
extern const qor_rng_brng_properties kTrngRow;
extern const qor_rng_brng_properties kArs5Row;
extern const qor_rng_brng_properties kPhilox4x32x10Row;

// Member counts of the families: Wichmann-Hill and MT2203 parameter sets.
constexpr int32_t kWhMembers = 273;
constexpr int32_t kMt2203Members = 6024;

}  // namespace qor::rng
