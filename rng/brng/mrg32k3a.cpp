// MRG32k3a, the combined multiple recursive generator: registry row only; the recurrence is not part of this build.
#include "rng/brng/unavailable_brng.h"

QOR_RNG_UNAVAILABLE_BRNG(MRG32K3A, kMrg32k3aRow, 40, 6, 1, 4, 32)
