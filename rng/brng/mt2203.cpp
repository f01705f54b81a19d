// MT2203, the family of 6024 Mersenne twisters: registry row only; the recurrence is not part of this build.
#include "rng/brng/unavailable_brng.h"

QOR_RNG_UNAVAILABLE_BRNG(MT2203, kMt2203Row, 312, 70, 1, 4, 32)
