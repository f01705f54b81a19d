// The stream methods of the multiplicative congruential generators, whose
// state is the next output x and the multiplier a: seeding (by the
// generator's own rule), leapfrog (stream k of n: x * a^k with multiplier
// a^n), skip-ahead (x * a^count), and the multi-word skip-ahead they lack.
#pragma once

#include <cstdint>

#include "qor/qor_rng.h"
#include "rng/brng/mod_arith.h"

namespace qor::rng {

template <class Mod, class State, class Seed>
int32_t mcg_method(uint32_t method, State& s, int32_t n, const uint32_t* params, Seed seed) {
    using Word = typename Mod::Word;
    switch (method) {
    case 0:
        if (n >= 1 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        seed(s, n, params);
        return QOR_RNG_STATUS_OK;
    case 1: {
        if (!params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        const Word a = s.a;
        s.x = Mod::mul(s.x, Mod::pow(a, params[0]));
        s.a = Mod::pow(a, static_cast<uint32_t>(n));
        return QOR_RNG_STATUS_OK;
    }
    case 2: {  // the 64-bit count in params[0..1]
        if (!params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        const uint64_t count = params[0] | (uint64_t{params[1]} << 32);
        s.x = Mod::mul(s.x, Mod::pow(s.a, count));
        return QOR_RNG_STATUS_OK;
    }
    case 3:
        return QOR_RNG_STATUS_NO_SKIP_AHEAD_EX;
    default:
        return QOR_RNG_STATUS_BAD_METHOD;
    }
}

}  // namespace qor::rng
