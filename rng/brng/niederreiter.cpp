// Niederreiter, the quasi-random sequence: registry row only; the recurrence is not part of this build.
#include "rng/brng/unavailable_brng.h"

QOR_RNG_UNAVAILABLE_BRNG(Niederr, kNiederrRow, 84288, 21056, 0, 4, 32)
