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

// Whether a state read from a saved image is one the generator's own
// operations can reach: values within their moduli, not the all-zero state
// of a linear recurrence, a member of its table.  Outside that set outputs
// could leave [0, 1) or stop changing, and a rejection loop over them
// would never end.  Generators whose every state is reachable, or which
// check their state as they run (the digital sequences), have none.
using StateCheck = bool (*)(const qor_rng_stream* stream);
extern const StateCheck kMcg31m1StateCheck;
extern const StateCheck kR250StateCheck;
extern const StateCheck kMrg32k3aStateCheck;
extern const StateCheck kMcg59StateCheck;
extern const StateCheck kWhStateCheck;
extern const StateCheck kMt19937StateCheck;
extern const StateCheck kMt2203StateCheck;
extern const StateCheck kSfmt19937StateCheck;
extern const StateCheck kArs5StateCheck;
extern const StateCheck kPhilox4x32x10StateCheck;

// The state check of the generator whose initialiser is `init`, or null.
StateCheck state_check_of(qor_rng_init_fn init);

// Member counts of the families: Wichmann-Hill and MT2203 parameter sets.
constexpr int32_t kWhMembers = 273;
constexpr int32_t kMt2203Members = 6024;

}  // namespace qor::rng
