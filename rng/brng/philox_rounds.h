// The vector group of Philox4x32-10 on its own, so that both of its forms
// (256-bit registers where the processor has AVX2, 128-bit ones anywhere)
// can be checked against the one-block path whatever processor runs the
// checks.
#pragma once

#include <cstdint>

namespace qor::rng {

constexpr int32_t kPhiloxGroupBlocks = 8;

// The blocks of counters counter, counter + 1, ..., 4 words each, into out
// (32 words); allow_wide false keeps to 128-bit registers.
void philox_group(const uint32_t* key, const uint32_t* counter, bool allow_wide, uint32_t* out);

}  // namespace qor::rng
