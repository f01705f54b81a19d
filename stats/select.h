// Selection on the integer images of values (sort.h): the k-th smallest of
// n keys moved to place k, smaller or equal keys before it, greater or equal
// ones after it.
#pragma once

#include <cstdint>

#include "stats/sort.h"

namespace qor::ss {

void select_key(KeyCell64* keys, int64_t n, int64_t k);
void select_key(KeyCell32* keys, int64_t n, int64_t k);

// Moves the keys of `count` places, ascending and distinct, to their places
// at once: the middle place first, then each side within its own part.
void select_places(KeyCell64* keys, int64_t n, const int64_t* places, int64_t count);
void select_places(KeyCell32* keys, int64_t n, const int64_t* places, int64_t count);

}  // namespace qor::ss
