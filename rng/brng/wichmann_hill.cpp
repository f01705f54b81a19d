// Wichmann-Hill, the family of 273 combined congruential generators: registry row only; the recurrence is not part of this build.
#include "rng/brng/unavailable_brng.h"

QOR_RNG_UNAVAILABLE_BRNG(WH, kWhRow, 48, 4, 1, 16, 24)
