// The ARS block function (AES rounds with a Weyl-sequence key schedule) of
// Salmon, Moraes, Dror and Shaw, for any number of rounds from 1 to 10:
// the ARS5 generator uses 5; other counts exist so that the round
// structure can be checked against the published 7- and 10-round answers.
// Callable only where the processor has AES instructions.
#pragma once

#include <cstdint>

namespace qor::rng {

// out = ARS-rounds(counter, key), four words each, word 0 the least
// significant 32 bits of the 128-bit block.
void ars_block(int rounds, const uint32_t* counter, const uint32_t* key, uint32_t* out);

}  // namespace qor::rng
