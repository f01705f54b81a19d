// The array seeding of the Mersenne twisters, for any vector length n: the
// vector filled from 19650218 by the initialisation recurrence, mixed with
// the key words (cycled) max(n, key length) times, mixed once more over
// n - 1 words, and its first word set to 0x80000000 so that the state bits
// are never all zero.
#pragma once

#include <cstdint>

namespace qor::rng {

template <int32_t kN>
void mt_seed_by_array(uint32_t* mt, const uint32_t* key, int32_t length) {
    mt[0] = 19650218u;
    for (int32_t i = 1; i < kN; ++i) mt[i] = 1812433253u * (mt[i - 1] ^ (mt[i - 1] >> 30)) + static_cast<uint32_t>(i);
    int32_t i = 1, j = 0;
    for (int32_t k = kN > length ? kN : length; k > 0; --k) {
        mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1664525u)) + key[j] + static_cast<uint32_t>(j);
        if (++i >= kN) {
            mt[0] = mt[kN - 1];
            i = 1;
        }
        if (++j >= length) j = 0;
    }
    for (int32_t k = kN - 1; k > 0; --k) {
        mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1566083941u)) - static_cast<uint32_t>(i);
        if (++i >= kN) {
            mt[0] = mt[kN - 1];
            i = 1;
        }
    }
    mt[0] = 0x80000000u;
}

}  // namespace qor::rng
