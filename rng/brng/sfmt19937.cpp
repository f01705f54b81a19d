// SFMT19937, the SIMD-oriented Mersenne twister: registry row only; the recurrence is not part of this build.
#include "rng/brng/unavailable_brng.h"

QOR_RNG_UNAVAILABLE_BRNG(SFMT19937, kSfmt19937Row, 2536, 625, 1, 4, 32)
