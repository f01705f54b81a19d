// The vector group of Philox4x32-10 on its own, so that it can be checked
// against the one-block path across counter carries.
#pragma once

#include <cstdint>

namespace qor::rng {

constexpr int32_t kPhiloxGroupBlocks = 8;

// The blocks of counters counter, counter + 1, ..., 4 words each, into out
// (32 words).
void philox_group(const uint32_t* key, const uint32_t* counter, uint32_t* out);

}  // namespace qor::rng
