// ARS5, the counter-based generator over AES rounds: registry row only; the recurrence is not part of this build.
#include "rng/brng/unavailable_brng.h"

QOR_RNG_UNAVAILABLE_BRNG(ARS5, kArs5Row, 72, 13, 1, 4, 32)
