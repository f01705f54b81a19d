// R250, the generalised feedback shift register generator: registry row only; the recurrence is not part of this build.
#include "rng/brng/unavailable_brng.h"

QOR_RNG_UNAVAILABLE_BRNG(R250, kR250Row, 1024, 252, 1, 4, 32)
