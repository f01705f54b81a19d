// MT19937, the Mersenne twister: registry row only; the recurrence is not part of this build.
#include "rng/brng/unavailable_brng.h"

QOR_RNG_UNAVAILABLE_BRNG(MT19937, kMt19937Row, 2520, 625, 1, 4, 32)
