// TRNG, the non-deterministic generator over the processor's RDRAND: registry row only; the recurrence is not part of this build.
#include "rng/brng/unavailable_brng.h"

QOR_RNG_UNAVAILABLE_BRNG(TRNG, kTrngRow, 24, 1, 1, 4, 32)
